#include "Generator/stylegraph/CGenGFModulePatternsIterator.h"

#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

namespace {

CGenGFModulePatternsIterator* NearestIterator(const CGenGFModule& module)
{
    for (CGenGFModule* m = module.parentPatch(); m; m = m->parentPatch())
        if (auto* iterator = dynamic_cast<CGenGFModulePatternsIterator*>(m))
            return iterator;
    return nullptr;
}

} // namespace

const CGenGFClassDescription& CGenGFModulePatternsIterator::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModulePatternsIterator", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModulePatternsIterator>, TGenGFExecutionMode_Processor, true, {},
        {zkgen::InputPatternsSpec(), zkgen::OutputPatternsSpec()});
    return d;
}

CGenGFModulePatternsIterator::CGenGFModulePatternsIterator() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(outputPatterns, "outputPatterns");
}

bool CGenGFModulePatternsIterator::executeArguments(const CGenGFContext& /*context*/, const TGenDict* arguments)
{
    const CGenPatternModAndProbs* input = inputPatterns->ConstList();
    if (!input || !outputPatterns->ConstList())
        return true;
    outputPatterns->ClearList();
    for (const CGenPatternModAndProb& entry : *input) {
        if (!(entry.mProb > 0.0f))
            continue;
        mCurrentPatterns = CGenPatternModAndProbs();
        mCurrentPatterns.push_back(entry);
        // A failing sub-module ends nothing here: the next candidate gets its pass.
        _executeSubpatchesWithArguments(arguments);
    }
    return true;
}

const CGenGFClassDescription& CGenGFModulePatternsIteratorProvider::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModulePatternsIteratorProvider", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModulePatternsIteratorProvider>, TGenGFExecutionMode_Provider, false, {},
        {zkgen::OutputPatternsSpec()});
    return d;
}

CGenGFModulePatternsIteratorProvider::CGenGFModulePatternsIteratorProvider() : CGenGFModule(ClassDescription())
{
    _bindPort(outputPatterns, "outputPatterns");
}

bool CGenGFModulePatternsIteratorProvider::setup(const CGenGFContext& /*context*/)
{
    mIterator = NearestIterator(*this);
    return true;
}

bool CGenGFModulePatternsIteratorProvider::executeArguments(const CGenGFContext& /*context*/, const TGenDict* /*arguments*/)
{
    if (mIterator)
        outputPatterns->SetList(mIterator->currentPatterns());
    return true;
}

const CGenGFClassDescription& CGenGFModulePatternsIteratorConsumer::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModulePatternsIteratorConsumer", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModulePatternsIteratorConsumer>, TGenGFExecutionMode_Consumer, false, {},
        {zkgen::InputPatternsSpec()});
    return d;
}

CGenGFModulePatternsIteratorConsumer::CGenGFModulePatternsIteratorConsumer() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
}

bool CGenGFModulePatternsIteratorConsumer::setup(const CGenGFContext& /*context*/)
{
    mIterator = NearestIterator(*this);
    return true;
}

bool CGenGFModulePatternsIteratorConsumer::executeArguments(const CGenGFContext& /*context*/, const TGenDict* /*arguments*/)
{
    const CGenPatternModAndProbs* input = inputPatterns->ConstList();
    CGenPatternModAndProbs* output = mIterator ? mIterator->outputPatterns->List() : nullptr;
    if (!input || !output)
        return true;
    mIterator->outputPatterns->willChangeValue();
    output->insert(output->end(), input->begin(), input->end());
    mIterator->outputPatterns->didChangeValue();
    return true;
}
