#pragma once

#include "Generator/stylegraph/CGenGFMatrix.h"
#include "Generator/stylegraph/CGenGFModule.h"

#include <memory>

// Looks up the complexity of a bass pattern (3-letter family, 4-letter bass
// pattern) and puts it on "outputValue"; without an answer the output stays
// as it was. "complexityMatrix" is a table of its own; without one it reads
// the generator's standard bass table.
class CGenGFModuleBassPatternComplexityRatingTable : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleBassPatternComplexityRatingTable();

    std::shared_ptr<CGenGFBassPatternComplexityMatrix> complexityMatrix() const { return mOwnMatrix; }
    void setComplexityMatrix(const CGenGFBassPatternComplexityMatrix& matrix);
    // Back to the standard table.
    void clearComplexityMatrix();

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortString* inputFamilyName = nullptr;
    CGenGFPortString* inputAddOnName = nullptr;
    CGenGFPortNumeric* outputValue = nullptr;

private:
    std::shared_ptr<CGenGFBassPatternComplexityMatrix> mOwnMatrix;
};
