#include "Generator/stylegraph/CGenGFModuleBassPatternComplexityRating.h"

#include "Generator/stylegraph/CGenGFRatingModuleSupport.h"

const CGenGFClassDescription& CGenGFModuleBassPatternComplexityRating::ClassDescription()
{
    using M = CGenGFModuleBassPatternComplexityRating;
    static const CGenGFClassDescription d("CGenGFModuleBassPatternComplexityRating", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<M>, TGenGFExecutionMode_Processor, false,
        {zkgen::rating::StateVersionKey(),
            zkgen::rating::BoolKey<M>("useRatingVariance", &M::useRatingVariance, &M::setUseRatingVariance),
            zkgen::rating::BoolKey<M>("flipFamilyAndAddOnStrings", &M::flipFamilyAndAddOnStrings,
                &M::setFlipFamilyAndAddOnStrings)},
        _ports(), _xmlAttributes());
    return d;
}

CGenGFModuleBassPatternComplexityRating::CGenGFModuleBassPatternComplexityRating()
    : CGenGFModuleComplexityRatingBase(ClassDescription())
{
}

const CGenGFComplexityTable* CGenGFModuleBassPatternComplexityRating::_complexityTable(const CGenGFContext& context) const
{
    const CGenGFRatingTables* tables = zkgen::rating::StandardTables(context);
    return tables ? &tables->bassPatternComplexityMatrix() : nullptr;
}
