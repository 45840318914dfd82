#pragma once

#include "Generator/stylegraph/CGenGFModule.h"

// Tells a graph which accent add-on plays at the generate position and which
// played before it; both are empty while no add-on has started yet.
class CGenGFModuleContextAcAddonSeq : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleContextAcAddonSeq();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    void cleanup(const CGenGFContext& context) override;

    CGenGFPortString* outputCurrentAddonName = nullptr;
    CGenGFPortString* outputPreviousAddonName = nullptr;

private:
    void _clearOutputs();
};
