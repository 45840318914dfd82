#include "Generator/stylegraph/CGenGFModuleContextAcFamSeq.h"

#include "Generator/CGenContext.h"

namespace zkgen {

TPatternNamesInForce PatternNamesInForceAt(const CGenContext& context, TPatternGraphType type, float posAbs)
{
    TPatternNamesInForce names;
    if (GenIsUndef(posAbs))
        return names;
    const auto it = context.mPatternMap.find(type);
    if (it == context.mPatternMap.end())
        return names;
    // The sequence is in playing order; the first entry that starts after
    // the position ends the walk.
    const CGenPatternModAndProb* current = nullptr;
    const CGenPatternModAndProb* previous = nullptr;
    for (const CGenPatternModAndProb& el : it->second) {
        if (el.mBeatPosAbs > posAbs)
            break;
        previous = current;
        current = &el;
    }
    if (current)
        names.mCurrent = current->OriginalPattern().mName;
    if (previous)
        names.mPrevious = previous->OriginalPattern().mName;
    return names;
}

} // namespace zkgen

const CGenGFClassDescription& CGenGFModuleContextAcFamSeq::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleContextAcFamSeq", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleContextAcFamSeq>, TGenGFExecutionMode_Provider, false, {},
        {{"outputCurrentFamilyName", &CGenGFPortString::Class(), 1, "Current Family",
             "The accent family playing at the position; empty before the first"},
            {"outputPreviousFamilyName", &CGenGFPortString::Class(), 1, "Previous Family",
                "The accent family that played before the current one; empty at the first"},
            {"outputFamilyName", &CGenGFPortString::Class(), 1, "Family",
                "The accent family playing at the position, as Current Family"}});
    return d;
}

CGenGFModuleContextAcFamSeq::CGenGFModuleContextAcFamSeq() : CGenGFModule(ClassDescription())
{
    _bindPort(outputCurrentFamilyName, "outputCurrentFamilyName");
    _bindPort(outputPreviousFamilyName, "outputPreviousFamilyName");
    _bindPort(outputFamilyName, "outputFamilyName");
}

void CGenGFModuleContextAcFamSeq::_clearOutputs()
{
    outputCurrentFamilyName->setStringValue(std::string());
    outputPreviousFamilyName->setStringValue(std::string());
    outputFamilyName->setStringValue(std::string());
}

bool CGenGFModuleContextAcFamSeq::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    _clearOutputs();
    // Without a generation there is no sequence: the names stay empty and the
    // graph goes on.
    const CGenContext* gen = context.genContext();
    if (!gen)
        return true;
    const zkgen::TPatternNamesInForce names =
        zkgen::PatternNamesInForceAt(*gen, TPatternGraphType_AccentFamily, gen->GeneratePosAbs());
    outputFamilyName->setStringValue(names.mCurrent);
    outputCurrentFamilyName->setStringValue(names.mCurrent);
    outputPreviousFamilyName->setStringValue(names.mPrevious);
    return true;
}

void CGenGFModuleContextAcFamSeq::cleanup(const CGenGFContext& /*context*/)
{
    _clearOutputs();
}
