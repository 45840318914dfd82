#pragma once

#include "Generator/stylegraph/CGenGFMatrix.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

#include <memory>

// Weights candidates by a free table of percentages: the row is
// "inputRow", the column the pattern's name or, while "useColumn" is on,
// "inputColumn" (both lower-cased, as the table's labels are). A candidate
// with a cell has its probability multiplied by cell / 100; one without keeps
// it. Candidates that end at or below 0 are dropped.
class CGenGFModule2DMatrix : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModule2DMatrix();

    const std::shared_ptr<CGenGFMatrix>& matrix() const { return mMatrix; }
    // Stores a copy.
    void setMatrix(const CGenGFMatrix& matrix);
    bool useColumn() const { return mUseColumn; }
    // Makes or deletes the "inputColumn" port.
    void setUseColumn(bool on);
    CGenGFPortString* inputColumn() const;

    // The rule for one run; `column` null: each pattern's name.
    static void WeightByMatrix(const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out, const CGenGFMatrix& matrix,
        const std::string& row, const std::string* column);

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortString* inputRow = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

private:
    std::shared_ptr<CGenGFMatrix> mMatrix = std::make_shared<CGenGFMatrix>();
    bool mUseColumn = false;
};
