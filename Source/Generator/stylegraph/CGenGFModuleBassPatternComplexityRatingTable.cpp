#include "Generator/stylegraph/CGenGFModuleBassPatternComplexityRatingTable.h"

#include "Generator/stylegraph/CGenGFRatingModuleSupport.h"

const CGenGFClassDescription& CGenGFModuleBassPatternComplexityRatingTable::ClassDescription()
{
    using M = CGenGFModuleBassPatternComplexityRatingTable;
    static const CGenGFClassDescription d("CGenGFModuleBassPatternComplexityRatingTable",
        &CGenGFModule::ClassDescription(), zkgen::MakeModule<M>, TGenGFExecutionMode_Processor, false,
        {zkgen::rating::TableKey<M, CGenGFBassPatternComplexityMatrix>(
            "complexityMatrix", &M::complexityMatrix, &M::setComplexityMatrix)},
        zkgen::rating::TablePorts("The family, 3 letters", "The bass pattern, 4 letters"));
    return d;
}

CGenGFModuleBassPatternComplexityRatingTable::CGenGFModuleBassPatternComplexityRatingTable()
    : CGenGFModule(ClassDescription())
{
    _bindPort(inputFamilyName, "inputFamilyName");
    _bindPort(inputAddOnName, "inputAddOnName");
    _bindPort(outputValue, "outputValue");
}

void CGenGFModuleBassPatternComplexityRatingTable::setComplexityMatrix(const CGenGFBassPatternComplexityMatrix& matrix)
{
    mOwnMatrix = std::make_shared<CGenGFBassPatternComplexityMatrix>(matrix);
    stateUpdated();
}

void CGenGFModuleBassPatternComplexityRatingTable::clearComplexityMatrix()
{
    if (!mOwnMatrix)
        return;
    mOwnMatrix = nullptr;
    stateUpdated();
}

bool CGenGFModuleBassPatternComplexityRatingTable::executeArguments(const CGenGFContext& context,
    const TGenDict* /*arguments*/)
{
    const CGenGFBassPatternComplexityMatrix* table = mOwnMatrix.get();
    if (!table) {
        const CGenGFRatingTables* tables = zkgen::rating::StandardTables(context);
        table = tables ? &tables->bassPatternComplexityMatrix() : nullptr;
    }
    float value = 0.0f;
    if (table
        && table->complexityForFamilyNameAddOnNameOutValue(inputFamilyName->stringValue(), inputAddOnName->stringValue(), value))
        outputValue->setDoubleValue(value);
    return true;
}
