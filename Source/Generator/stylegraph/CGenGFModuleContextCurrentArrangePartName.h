#pragma once

#include "Generator/stylegraph/CGenGFModule.h"

// The name of the arrangement part (verse, chorus...) the generate position
// lies in: the last arrangement marker of the parameters at or before it.
// Empty before the first marker and for an undefined position. Without
// generator parameters the pull stops.
class CGenGFModuleContextCurrentArrangePartName : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleContextCurrentArrangePartName();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    void cleanup(const CGenGFContext& context) override;

    CGenGFPortString* outputArrangePartName = nullptr;
};
