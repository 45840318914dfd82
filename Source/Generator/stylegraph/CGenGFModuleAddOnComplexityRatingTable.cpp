#include "Generator/stylegraph/CGenGFModuleAddOnComplexityRatingTable.h"

#include "Generator/stylegraph/CGenGFRatingModuleSupport.h"

const CGenGFClassDescription& CGenGFModuleAddOnComplexityRatingTable::ClassDescription()
{
    using M = CGenGFModuleAddOnComplexityRatingTable;
    static const CGenGFClassDescription d("CGenGFModuleAddOnComplexityRatingTable", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<M>, TGenGFExecutionMode_Processor, false,
        {zkgen::rating::BoolKey<M>("useStandardRatingTables", &M::useStandardRatingTables, &M::setUseStandardRatingTables),
            zkgen::rating::TableKey<M, CGenGFComplexityMatrix>("complexityMatrix", &M::complexityMatrix, &M::setComplexityMatrix)},
        zkgen::rating::TablePorts("The pattern family", "The add-on, 3 letters"));
    return d;
}

CGenGFModuleAddOnComplexityRatingTable::CGenGFModuleAddOnComplexityRatingTable() : CGenGFModule(ClassDescription())
{
    _bindPort(inputFamilyName, "inputFamilyName");
    _bindPort(inputAddOnName, "inputAddOnName");
    _bindPort(outputValue, "outputValue");
}

void CGenGFModuleAddOnComplexityRatingTable::setUseStandardRatingTables(bool on)
{
    if (on == mUseStandardRatingTables)
        return;
    mUseStandardRatingTables = on;
    mOwnMatrix = on ? nullptr : std::make_shared<CGenGFComplexityMatrix>();
    stateUpdated();
}

void CGenGFModuleAddOnComplexityRatingTable::setComplexityMatrix(const CGenGFComplexityMatrix& matrix)
{
    if (mUseStandardRatingTables)
        return;
    mOwnMatrix = std::make_shared<CGenGFComplexityMatrix>(matrix);
    stateUpdated();
}

bool CGenGFModuleAddOnComplexityRatingTable::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const CGenGFComplexityMatrix* table = mOwnMatrix.get();
    if (mUseStandardRatingTables) {
        const CGenGFRatingTables* tables = zkgen::rating::StandardTables(context);
        table = tables ? &tables->complexityMatrix() : nullptr;
    }
    float value = 0.0f;
    if (table
        && table->complexityForFamilyNameAddOnNameOutValue(inputFamilyName->stringValue(), inputAddOnName->stringValue(), value))
        outputValue->setDoubleValue(value);
    return true;
}
