#pragma once

#include "Generator/CGenTypes.h"
#include "Generator/stylegraph/CGenGFModule.h"

#include <string>

class CGenContext;

namespace zkgen {

// The pattern names around a position in one layer's chosen sequence.
struct TPatternNamesInForce {
    std::string mCurrent;
    std::string mPrevious;
};

// In the context's sequence of `type`: the last entry that starts at or
// before `posAbs` (current) and the entry before it (previous). Names are
// those of the original patterns, so a private copy that was renamed on the
// way still reports what the library calls it. Empty where there is no such
// entry, for an undefined position and for a layer without a sequence.
TPatternNamesInForce PatternNamesInForceAt(const CGenContext& context, TPatternGraphType type, float posAbs);

} // namespace zkgen

// Tells a graph which accent family plays at the generate position and which
// played before it, so that authors can route by family. The current name is
// given twice (outputFamilyName and outputCurrentFamilyName); graphs use
// either. All three are empty while no family has started yet.
class CGenGFModuleContextAcFamSeq : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleContextAcFamSeq();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    void cleanup(const CGenGFContext& context) override;

    CGenGFPortString* outputCurrentFamilyName = nullptr;
    CGenGFPortString* outputPreviousFamilyName = nullptr;
    CGenGFPortString* outputFamilyName = nullptr;

private:
    void _clearOutputs();
};
