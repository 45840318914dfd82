#include "Generator/stylegraph/CGenGFModuleRandomPatternPicker.h"

#include "Generator/CGenContext.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbPicker.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

#include <cmath>
#include <utility>

const CGenGFClassDescription& CGenGFModuleRandomPatternPicker::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleRandomPatternPicker", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleRandomPatternPicker>, TGenGFExecutionMode_Processor, false, {},
        {zkgen::InputPatternsSpec(),
            {"inputThreshold", &CGenGFPortNumeric::Class(), -1, "Threshold",
                "How many of the best candidates at least take part in the draw"},
            zkgen::OutputPatternsSpec("outputPatterns", "Pattern")});
    return d;
}

CGenGFModuleRandomPatternPicker::CGenGFModuleRandomPatternPicker() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(inputThreshold, "inputThreshold");
    _bindPort(outputPatterns, "outputPatterns");
    inputThreshold->setDoubleValue(5.0);
}

bool CGenGFModuleRandomPatternPicker::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    CGenContext* gen = context.genContext();
    if (!gen || !gen->mPatternGraph)
        return false;
    CGenPatternModAndProbs* input = inputPatterns->List();
    if (!input || !outputPatterns->ConstList())
        return true;
    CGenPatternModAndProbs picked;
    CGenPatternModAndProbRandomPicker picker(*input, static_cast<float>(inputThreshold->doubleValue()));
    const auto it = picker.Pick(gen->mPatternGraph->Random());
    if (it != input->end())
        picked.push_back(*it);
    outputPatterns->SetList(std::move(picked));
    return true;
}

const CGenGFClassDescription& CGenGFModuleTopProbFilter::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleTopProbFilter", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleTopProbFilter>, TGenGFExecutionMode_Processor, false, {},
        {zkgen::InputPatternsSpec(),
            {"inputMinRequiredPatterns", &CGenGFPortNumeric::Class(), -1, "Min Required",
                "The filter takes bands of probability until this many candidates passed"},
            {"inputStepCount", &CGenGFPortNumeric::Class(), -1, "Steps",
                "The number of bands the probability range 0 to 100 is cut into"},
            zkgen::OutputPatternsSpec()});
    return d;
}

CGenGFModuleTopProbFilter::CGenGFModuleTopProbFilter() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(inputMinRequiredPatterns, "inputMinRequiredPatterns");
    _bindPort(inputStepCount, "inputStepCount");
    _bindPort(outputPatterns, "outputPatterns");
    inputMinRequiredPatterns->setMinDoubleValue(0.0);
    inputMinRequiredPatterns->setDoubleValue(5.0);
    inputStepCount->setMinDoubleValue(0.0);
    inputStepCount->setDoubleValue(5.0);
}

bool CGenGFModuleTopProbFilter::executeArguments(const CGenGFContext& /*context*/, const TGenDict* /*arguments*/)
{
    CGenPatternModAndProbs* input = inputPatterns->List();
    if (!input || !outputPatterns->ConstList())
        return true;
    // The step count is a whole count; the port's minimum keeps it from going below zero.
    const double steps = inputStepCount->doubleValue();
    const int stepCount = steps >= 2147483647.0 ? 2147483647 : (steps > 0.0 ? static_cast<int>(steps) : 0);
    CGenPatternModAndProbs filtered;
    CGenPatternModAndProbTopFilter filter(*input, filtered);
    filter.FilterPatterns(static_cast<float>(inputMinRequiredPatterns->doubleValue()), stepCount);
    outputPatterns->SetList(std::move(filtered));
    return true;
}
