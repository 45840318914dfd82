#pragma once

#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/stylegraph/CGenGFMatrix.h"

#include <string>
#include <utility>
#include <vector>

// The rescaling the add-on and bass rating modules share: the candidates are
// rated by a complexity table, and a triangular window over the range of
// ratings found among the candidates themselves keeps those near the target
// complexity:
//
//   target = (max - min) * normalized + min,  window = target -/+ variance
//   t = (rating - low) / (high - low),  w = t up to 0.5, else 1 - t
//   new Prob = 2 w Prob, kept only above 0
//
// So complexity steers within what the candidates offer, not on an absolute
// scale. Candidates without a rating, and those outside or on the edge of the
// window, are dropped; the input list is only read.
class CGenGFAddOnComplexityRatingHelper {
public:
    // Which of the two strings is the family.
    enum TFamilyStringMode {
        // The port's string is the family, the pattern's name the add-on.
        TFamilyStringMode_Port = 0,
        // Swapped.
        TFamilyStringMode_PatternName = 1,
    };

    // `matrix` may be null: then no candidate has a rating.
    CGenGFAddOnComplexityRatingHelper(const CGenPatternModAndProbs& input, CGenPatternModAndProbs& output,
        const CGenGFComplexityTable* matrix, std::string familyName, TFamilyStringMode mode);

    // Both steps; the output is emptied first.
    void doIt(float normalizedComplexity, float variance);
    // Rates each candidate with a probability above 0, notes (entry, rating)
    // and the least and greatest rating (100 and 0 when none is found).
    void findMinAndMaxComplexityRatingAndFillHelperStruct();
    void calculateNewProbabilities(float normalizedComplexity, float variance);
    // The family and add-on strings of a candidate, by the mode.
    void getFamilyAndAddOnName(const CGenPatternModAndProb& entry, std::string& outFamily, std::string& outAddOn) const;

    float minRating() const { return mMin; }
    float maxRating() const { return mMax; }
    // Indices into the input with their ratings.
    const std::vector<std::pair<size_t, float>>& ratedEntries() const { return mRated; }

private:
    float mMin = 100.0f;
    float mMax = 0.0f;
    const CGenPatternModAndProbs& mInput;
    CGenPatternModAndProbs& mOutput;
    std::vector<std::pair<size_t, float>> mRated;
    const CGenGFComplexityTable* mMatrix;
    std::string mFamilyName;
    TFamilyStringMode mMode;
};
