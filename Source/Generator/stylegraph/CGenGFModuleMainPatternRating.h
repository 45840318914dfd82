#pragma once

#include "Generator/stylegraph/CGenGFMatrix.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

#include <memory>

// Weights candidate main patterns by how well they fit a family: a rating r
// from the main pattern rating table (0 best, 5 worst) gives the factor
// (5 - r) / 4, and 0.1 for exactly 5 so that a bad fit keeps a trace. A
// rating above 5, or none at all, drops the candidate.
//
// The table is the generator's standard one while "useStandardRatingTables"
// is on (none when the generator has no tables), else the module's own,
// which is kept in its state.
class CGenGFModuleMainPatternRating : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleMainPatternRating();

    bool useStandardRatingTables() const { return mUseStandardRatingTables; }
    // On drops the module's own table; off gives it an empty one to fill.
    void setUseStandardRatingTables(bool on);
    // The module's own table, null while it uses the standard ones.
    std::shared_ptr<CGenGFMainPatternRatingMatrix> mainPatternRatingMatrix() const { return mOwnMatrix; }
    // Stores a copy; ignored while the standard tables are in use.
    void setMainPatternRatingMatrix(const CGenGFMainPatternRatingMatrix& matrix);

    // The rule: each entry of `in` with a probability above 0 and a rating
    // is appended to `out` with its probability times the factor, if that
    // stays above 0. `table` may be null (nothing is rated).
    static void RateMainPatterns(const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out,
        const CGenGFMainPatternRatingMatrix* table, const std::string& familyName);

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    // A state without "stateVersion" predates own tables: standard tables.
    bool setState(const TGenDict& state, std::string* outError = nullptr) override;

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortString* inputFamilyName = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

private:
    bool mUseStandardRatingTables = true;
    std::shared_ptr<CGenGFMainPatternRatingMatrix> mOwnMatrix;
};
