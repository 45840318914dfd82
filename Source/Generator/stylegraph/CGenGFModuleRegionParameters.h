#pragma once

#include "Generator/stylegraph/CGenGFModule.h"

#include <string>

// The region's controls as numbers for a graph. Each output port reads the
// region parameter named by its key without the "output" prefix and with
// the first letter lower-cased: outputKitpieceFocus reads "kitpieceFocus"
// (CGenGeneratorParamsRegion::kKitPieceFocus). A port added under such a key
// reads that parameter too: the port list is the key list.
//
// For hosts: only the float section of the region's parameter map is read.
// A control stored as an integer or a string is not seen here and reads as
// 0.0, as does a key that is absent; store every control as a float. The
// Indexed ports take the value cut to a whole number, negatives as 0.
//
// Without a generation or its parameters the pull stops.
class CGenGFModuleRegionParameters : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleRegionParameters();

    // The parameter key an output port reads: "outputSwingType" gives
    // "swingType"; empty for a key of six letters or fewer.
    static std::string ParameterKeyForPortKey(const std::string& portKey);

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortNumeric* outputComplexity = nullptr;
    CGenGFPortNumeric* outputIntensity = nullptr;
    CGenGFPortNumeric* outputFills = nullptr;
    CGenGFPortNumeric* outputSwing = nullptr;
    CGenGFPortNumeric* outputSwingType = nullptr;
    CGenGFPortNumeric* outputGroove = nullptr;
    CGenGFPortNumeric* outputDynamics = nullptr;
    CGenGFPortNumeric* outputHiHat = nullptr;
    CGenGFPortIndexed* outputAccentVariation = nullptr;
    CGenGFPortIndexed* outputKitpieceFocus = nullptr;
    CGenGFPortIndexed* outputSystemVariation = nullptr;
    CGenGFPortIndexed* outputPercInstrument = nullptr;
    CGenGFPortIndexed* outputPercVariation = nullptr;
    CGenGFPortIndexed* outputHiHatAutomatic = nullptr;
    CGenGFPortIndexed* outputKickEnabled = nullptr;
    CGenGFPortIndexed* outputSnareEnabled = nullptr;
    CGenGFPortIndexed* outputSystemsEnabled = nullptr;
};
