#include "Generator/stylegraph/CGenGFModulePatternsMerger.h"

#include "Generator/CGenEvs.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

#include <utility>

const CGenGFClassDescription& CGenGFModulePatternsMerger::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModulePatternsMerger", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModulePatternsMerger>, TGenGFExecutionMode_Processor, false, {},
        {zkgen::InputPatternsSpec("inputPatterns1", "Patterns 1"), zkgen::InputPatternsSpec("inputPatterns2", "Patterns 2"),
            {"inputMergeEventsOfFirstPatterns", &CGenGFPortBoolean::Class(), -1, "Merge Events",
                "Merge the events of the first pattern of both lists into one pattern"},
            zkgen::OutputPatternsSpec()});
    return d;
}

CGenGFModulePatternsMerger::CGenGFModulePatternsMerger() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns1, "inputPatterns1");
    _bindPort(inputPatterns2, "inputPatterns2");
    _bindPort(inputMergeEventsOfFirstPatterns, "inputMergeEventsOfFirstPatterns");
    _bindPort(outputPatterns, "outputPatterns");
}

bool CGenGFModulePatternsMerger::executeArguments(const CGenGFContext& /*context*/, const TGenDict* /*arguments*/)
{
    if (!outputPatterns->ConstList())
        return true;
    const CGenPatternModAndProbs* list1 = inputPatterns1->ConstList();
    const CGenPatternModAndProbs* list2 = inputPatterns2->ConstList();
    if (!list1 || !list2) {
        if (!list1 && !list2)
            outputPatterns->ClearList();
        else
            outputPatterns->SetList(list1 ? *list1 : *list2);
        return true;
    }
    if (inputMergeEventsOfFirstPatterns->booleanValue() && !list1->empty() && !list2->empty()) {
        CGenPatternModAndProbs merged;
        merged.push_back(list1->front());
        CGenPatternModAndProb& first = merged.front();
        CGenEvs& evs = first.PatternToBeModified().mEvs;
        const CGenEvs& added = list2->front().PatternToBeRead().mEvs;
        evs.insert(evs.end(), added.begin(), added.end());
        evs.SortStable();
        outputPatterns->SetList(std::move(merged));
        return true;
    }
    CGenPatternModAndProbs joined = *list1;
    joined.insert(joined.end(), list2->begin(), list2->end());
    outputPatterns->SetList(std::move(joined));
    return true;
}
