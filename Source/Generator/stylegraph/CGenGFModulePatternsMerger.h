#pragma once

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

// Joins two candidate lists: one after the other, or, with
// inputMergeEventsOfFirstPatterns, the events of the first entry of the
// second list into (a private copy of) the first entry of the first list,
// which is then the only entry.
class CGenGFModulePatternsMerger : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModulePatternsMerger();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortPatternAndProbs* inputPatterns1 = nullptr;
    CGenGFPortPatternAndProbs* inputPatterns2 = nullptr;
    CGenGFPortBoolean* inputMergeEventsOfFirstPatterns = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;
};
