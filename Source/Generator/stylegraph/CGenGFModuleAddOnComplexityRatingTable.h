#pragma once

#include "Generator/stylegraph/CGenGFMatrix.h"
#include "Generator/stylegraph/CGenGFModule.h"

#include <memory>

// Looks up the complexity of an add-on in its family's table and puts it on
// "outputValue"; without an answer the output stays as it was. The table is
// the generator's standard one while "useStandardRatingTables" is on, else
// the module's own, which is kept in its state.
class CGenGFModuleAddOnComplexityRatingTable : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleAddOnComplexityRatingTable();

    bool useStandardRatingTables() const { return mUseStandardRatingTables; }
    // On drops the module's own table; off gives it an empty one to fill.
    void setUseStandardRatingTables(bool on);
    std::shared_ptr<CGenGFComplexityMatrix> complexityMatrix() const { return mOwnMatrix; }
    // Stores a copy; ignored while the standard tables are in use.
    void setComplexityMatrix(const CGenGFComplexityMatrix& matrix);

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortString* inputFamilyName = nullptr;
    CGenGFPortString* inputAddOnName = nullptr;
    CGenGFPortNumeric* outputValue = nullptr;

private:
    bool mUseStandardRatingTables = true;
    std::shared_ptr<CGenGFComplexityMatrix> mOwnMatrix;
};
