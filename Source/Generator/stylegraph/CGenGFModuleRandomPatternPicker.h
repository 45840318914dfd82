#pragma once

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

// Narrows the candidates to one, drawn among the best bands with the current
// pattern graph's random generator (CGenPatternModAndProbRandomPicker).
// Refuses to run without a context or a pattern graph in it.
class CGenGFModuleRandomPatternPicker : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleRandomPatternPicker();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortNumeric* inputThreshold = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;
};

// Keeps the best bands of the candidates until enough of them passed
// (CGenPatternModAndProbTopFilter).
class CGenGFModuleTopProbFilter : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleTopProbFilter();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortNumeric* inputMinRequiredPatterns = nullptr;
    CGenGFPortNumeric* inputStepCount = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;
};
