#pragma once

#include "Generator/stylegraph/CGenGFModuleAddOnComplexityRating.h"

// Rates bass patterns as the add-on module rates add-ons, with the
// generator's standard bass pattern complexity table (the family string has
// 3 letters, the bass pattern's name 4). It has no table of its own.
class CGenGFModuleBassPatternComplexityRating : public CGenGFModuleComplexityRatingBase {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleBassPatternComplexityRating();

protected:
    const CGenGFComplexityTable* _complexityTable(const CGenGFContext& context) const override;
};
