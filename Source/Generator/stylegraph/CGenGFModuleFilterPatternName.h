#pragma once

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"
#include "Generator/stylegraph/CGenGFRegex.h"

#include <memory>

// Scales each candidate's probability by whether its pattern name matches a
// regular expression, and drops those that end at or below 0.
class CGenGFModuleFilterPatternName : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleFilterPatternName();

    const std::shared_ptr<CGenGFRegex>& regex() const { return mRegex; }

    // The rule: each entry of `in`, in order, has its probability multiplied
    // (in `in` as well) by `matching` when `regex` matches its pattern's name,
    // else by `nonMatching`; those above 0 are appended to `out`.
    static void FilterPatternsByName(CGenPatternModAndProbs& in, CGenPatternModAndProbs& out, const CGenGFRegex& regex,
        double matching, double nonMatching);

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    // A state without "regex" gives a new empty expression.
    bool setState(const TGenDict& state, std::string* outError = nullptr) override;

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortString* inputFilterString = nullptr;
    CGenGFPortNumeric* inputMatchingFactor = nullptr;
    CGenGFPortNumeric* inputNonMatchingFactor = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

private:
    std::shared_ptr<CGenGFRegex> mRegex = std::make_shared<CGenGFRegex>();
};
