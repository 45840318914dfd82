#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Platform/ZKStrings.h"

#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

#include <utility>

namespace {

std::string Trimmed(const std::string& s)
{
    return std::string(ZKTrimWhitespace(s));
}

} // namespace

const CGenGFClassDescription& CGenGFModuleFilterPatternName::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleFilterPatternName", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleFilterPatternName>, TGenGFExecutionMode_Processor, false,
        {{"regex",
            [](const CGenGFModule& m) {
                return ZKGFValue(static_cast<const CGenGFModuleFilterPatternName&>(m).mRegex);
            },
            [](CGenGFModule& m, const ZKGFValue& v) {
                auto& filter = static_cast<CGenGFModuleFilterPatternName&>(m);
                if (auto* regex = v.ObjectAs<CGenGFRegex>())
                    filter.mRegex = std::make_shared<CGenGFRegex>(*regex);
            },
            [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                if (v.ObjectAs<CGenGFRegex>())
                    return true;
                error = "a CGenGFRegex is expected";
                return false;
            }}},
        {zkgen::InputPatternsSpec(),
            {"inputFilterString", &CGenGFPortString::Class(), -1, "Filter",
                "A POSIX extended regular expression the pattern names are matched with"},
            {"inputMatchingFactor", &CGenGFPortNumeric::Class(), -1, "Matching Factor",
                "The factor of the probability of a matching pattern"},
            {"inputNonMatchingFactor", &CGenGFPortNumeric::Class(), -1, "Non-matching Factor",
                "The factor of the probability of any other pattern"},
            zkgen::OutputPatternsSpec()});
    return d;
}

CGenGFModuleFilterPatternName::CGenGFModuleFilterPatternName() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(inputFilterString, "inputFilterString");
    _bindPort(inputMatchingFactor, "inputMatchingFactor");
    _bindPort(inputNonMatchingFactor, "inputNonMatchingFactor");
    _bindPort(outputPatterns, "outputPatterns");
    for (CGenGFPortNumeric* factor : {inputMatchingFactor, inputNonMatchingFactor}) {
        factor->setMinDoubleValue(0.0);
        factor->setMaxDoubleValue(2.0);
        factor->setDoubleValue(1.0);
    }
}

bool CGenGFModuleFilterPatternName::setState(const TGenDict& state, std::string* outError)
{
    if (!state.HasKey("regex"))
        mRegex = std::make_shared<CGenGFRegex>();
    return CGenGFModule::setState(state, outError);
}

bool CGenGFModuleFilterPatternName::executeArguments(const CGenGFContext& /*context*/, const TGenDict* /*arguments*/)
{
    const std::string filter = Trimmed(inputFilterString->stringValue());
    const double matching = inputMatchingFactor->doubleValue();
    const double nonMatching = inputNonMatchingFactor->doubleValue();
    CGenPatternModAndProbs* input = inputPatterns->List();
    if (!input || !outputPatterns->ConstList())
        return true;
    mRegex->setRegexString(filter);
    CGenPatternModAndProbs output;
    FilterPatternsByName(*input, output, *mRegex, matching, nonMatching);
    outputPatterns->SetList(std::move(output));
    return true;
}

void CGenGFModuleFilterPatternName::FilterPatternsByName(CGenPatternModAndProbs& in, CGenPatternModAndProbs& out,
    const CGenGFRegex& regex, double matching, double nonMatching)
{
    for (CGenPatternModAndProb& entry : in) {
        const double factor = regex.doesMatch(entry.PatternToBeRead().mName) ? matching : nonMatching;
        const double prob = static_cast<double>(entry.mProb) * factor;
        entry.mProb = static_cast<float>(prob);
        if (prob > 0.0)
            out.push_back(entry);
    }
}
