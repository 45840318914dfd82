#pragma once

#include "Generator/stylegraph/CGenGFModule.h"

// The complexity and intensity the user asked for, on the 0 to 100 scale:
// the accent pair is the region's accent coordinate as set; the system pair
// is the system coordinate as set or, when the parameters derive it from the
// accent coordinate, as derived, and is kept inside 0 to 100. An undefined
// component leaves its port at 0, as the start of the run left it. Without
// generator parameters the pull stops.
class CGenGFModuleContextComplIntn : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleContextComplIntn();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortNumeric* outputAccCompl = nullptr;
    CGenGFPortNumeric* outputAccIntn = nullptr;
    CGenGFPortNumeric* outputSysCompl = nullptr;
    CGenGFPortNumeric* outputSysIntn = nullptr;
};
