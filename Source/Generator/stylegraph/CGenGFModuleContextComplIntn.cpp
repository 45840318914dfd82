#include "Generator/stylegraph/CGenGFModuleContextComplIntn.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"

#include <algorithm>

namespace {

void SetIfDefined(CGenGFPortNumeric& port, float value)
{
    if (GenIsDef(value))
        port.setDoubleValue(static_cast<double>(value));
}

void SetClampedIfDefined(CGenGFPortNumeric& port, float value)
{
    if (GenIsDef(value))
        port.setDoubleValue(std::clamp(static_cast<double>(value), 0.0, 100.0));
}

} // namespace

const CGenGFClassDescription& CGenGFModuleContextComplIntn::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleContextComplIntn", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleContextComplIntn>, TGenGFExecutionMode_Provider, false, {},
        {{"outputAccCompl", &CGenGFPortNumeric::Class(), 1, "Accent Complexity",
             "The accent complexity the user set, 0 to 100"},
            {"outputAccIntn", &CGenGFPortNumeric::Class(), 1, "Accent Intensity",
                "The accent intensity the user set, 0 to 100"},
            {"outputSysCompl", &CGenGFPortNumeric::Class(), 1, "System Complexity",
                "The system complexity in force, 0 to 100"},
            {"outputSysIntn", &CGenGFPortNumeric::Class(), 1, "System Intensity",
                "The system intensity in force, 0 to 100"}});
    return d;
}

CGenGFModuleContextComplIntn::CGenGFModuleContextComplIntn() : CGenGFModule(ClassDescription())
{
    _bindPort(outputAccCompl, "outputAccCompl");
    _bindPort(outputAccIntn, "outputAccIntn");
    _bindPort(outputSysCompl, "outputSysCompl");
    _bindPort(outputSysIntn, "outputSysIntn");
}

bool CGenGFModuleContextComplIntn::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const CGenContext* gen = context.genContext();
    const CGenGeneratorParams* params = gen ? gen->mParams : nullptr;
    if (!params)
        return false;
    const CGenPatternCoordExt& accent = params->mPatternCoordStaticAcExt;
    SetIfDefined(*outputAccCompl, accent.mCompl);
    SetIfDefined(*outputAccIntn, accent.mIntn);

    CGenPatternCoordExt system = params->PatternCoordSystemExtAccordingToType();
    // A derived component is undefined when its offset is: the derivation
    // would turn it into an infinity, and the clamp into a false 0 or 100.
    if (params->mPatternCoordType != CGenGeneratorParams::kPatternCoordType_Separate) {
        if (GenIsUndef(params->mPatternCoordSyPercentOffsetCompl))
            system.mCompl = TComplInt_Undef;
        if (GenIsUndef(params->mPatternCoordSyPercentOffsetIntn))
            system.mIntn = TComplInt_Undef;
    }
    SetClampedIfDefined(*outputSysCompl, system.mCompl);
    SetClampedIfDefined(*outputSysIntn, system.mIntn);
    return true;
}
