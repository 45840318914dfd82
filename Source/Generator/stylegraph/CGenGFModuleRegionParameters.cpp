#include "Generator/stylegraph/CGenGFModuleRegionParameters.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"

#include <cctype>

namespace {

constexpr size_t kOutputPrefixLength = 6; // "output"

ZKGFPortSpec NumericSpec(const char* key, const char* name, const char* description)
{
    return {key, &CGenGFPortNumeric::Class(), 1, name, description};
}

ZKGFPortSpec IndexedSpec(const char* key, const char* name, const char* description)
{
    return {key, &CGenGFPortIndexed::Class(), 1, name, description};
}

} // namespace

const CGenGFClassDescription& CGenGFModuleRegionParameters::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleRegionParameters", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleRegionParameters>, TGenGFExecutionMode_Provider, false, {},
        {NumericSpec("outputComplexity", "Complexity", "The region's complexity control"),
            NumericSpec("outputIntensity", "Intensity", "The region's intensity control"),
            NumericSpec("outputFills", "Fills", "The region's fill amount"),
            NumericSpec("outputSwing", "Swing", "The region's swing amount"),
            NumericSpec("outputSwingType", "Swing Type", "The region's kind of swing"),
            NumericSpec("outputGroove", "Groove", "The region's groove control"),
            NumericSpec("outputDynamics", "Dynamics", "The region's dynamics control"),
            NumericSpec("outputHiHat", "Hi-Hat", "The region's hi-hat opening"),
            IndexedSpec("outputAccentVariation", "Accent Variation", "The region's accent variation"),
            IndexedSpec("outputKitpieceFocus", "Kit Piece Focus", "The kit piece the region focuses on"),
            IndexedSpec("outputSystemVariation", "System Variation", "The region's system variation"),
            IndexedSpec("outputPercInstrument", "Percussion Instrument", "The region's percussion instrument"),
            IndexedSpec("outputPercVariation", "Percussion Variation", "The region's percussion variation"),
            IndexedSpec("outputHiHatAutomatic", "Hi-Hat Automatic", "1 when the hi-hat opening follows the music"),
            IndexedSpec("outputKickEnabled", "Kick Enabled", "1 when the kick plays"),
            IndexedSpec("outputSnareEnabled", "Snare Enabled", "1 when the snare plays"),
            IndexedSpec("outputSystemsEnabled", "Systems Enabled", "1 when the systems play")});
    return d;
}

CGenGFModuleRegionParameters::CGenGFModuleRegionParameters() : CGenGFModule(ClassDescription())
{
    _bindPort(outputComplexity, "outputComplexity");
    _bindPort(outputIntensity, "outputIntensity");
    _bindPort(outputFills, "outputFills");
    _bindPort(outputSwing, "outputSwing");
    _bindPort(outputSwingType, "outputSwingType");
    _bindPort(outputGroove, "outputGroove");
    _bindPort(outputDynamics, "outputDynamics");
    _bindPort(outputHiHat, "outputHiHat");
    _bindPort(outputAccentVariation, "outputAccentVariation");
    _bindPort(outputKitpieceFocus, "outputKitpieceFocus");
    _bindPort(outputSystemVariation, "outputSystemVariation");
    _bindPort(outputPercInstrument, "outputPercInstrument");
    _bindPort(outputPercVariation, "outputPercVariation");
    _bindPort(outputHiHatAutomatic, "outputHiHatAutomatic");
    _bindPort(outputKickEnabled, "outputKickEnabled");
    _bindPort(outputSnareEnabled, "outputSnareEnabled");
    _bindPort(outputSystemsEnabled, "outputSystemsEnabled");
}

std::string CGenGFModuleRegionParameters::ParameterKeyForPortKey(const std::string& portKey)
{
    if (portKey.size() <= kOutputPrefixLength)
        return {};
    std::string key = portKey.substr(kOutputPrefixLength);
    key[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(key[0])));
    return key;
}

bool CGenGFModuleRegionParameters::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const CGenContext* gen = context.genContext();
    const CGenGeneratorParams* params = gen ? gen->mParams : nullptr;
    if (!params)
        return false;
    for (const auto& port : outputPorts()) {
        const std::string key = ParameterKeyForPortKey(port->key());
        // RegionParameterFloat reads the float section alone, 0.0 for a missing key.
        static_cast<CGenGFPort&>(*port).setValue(ZKGFValue::Double(params->RegionParameterFloat(key)));
    }
    return true;
}
