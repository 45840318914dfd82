#include "Generator/stylegraph/CGenGFAddOnComplexityRatingHelper.h"

#include <algorithm>

CGenGFAddOnComplexityRatingHelper::CGenGFAddOnComplexityRatingHelper(const CGenPatternModAndProbs& input,
    CGenPatternModAndProbs& output, const CGenGFComplexityTable* matrix, std::string familyName, TFamilyStringMode mode)
    : mInput(input), mOutput(output), mMatrix(matrix), mFamilyName(std::move(familyName)), mMode(mode)
{
}

void CGenGFAddOnComplexityRatingHelper::doIt(float normalizedComplexity, float variance)
{
    findMinAndMaxComplexityRatingAndFillHelperStruct();
    calculateNewProbabilities(normalizedComplexity, variance);
}

void CGenGFAddOnComplexityRatingHelper::getFamilyAndAddOnName(const CGenPatternModAndProb& entry,
    std::string& outFamily, std::string& outAddOn) const
{
    const std::string& patternName = entry.PatternToBeRead().mName;
    if (mMode == TFamilyStringMode_PatternName) {
        outFamily = patternName;
        outAddOn = mFamilyName;
    } else {
        outFamily = mFamilyName;
        outAddOn = patternName;
    }
}

void CGenGFAddOnComplexityRatingHelper::findMinAndMaxComplexityRatingAndFillHelperStruct()
{
    mMin = 100.0f;
    mMax = 0.0f;
    mRated.clear();
    if (!mMatrix)
        return;
    for (size_t i = 0; i < mInput.size(); ++i) {
        if (!(mInput[i].mProb > 0.0f))
            continue;
        std::string family;
        std::string addOn;
        getFamilyAndAddOnName(mInput[i], family, addOn);
        float rating = 0.0f;
        if (!mMatrix->complexityForFamilyNameAddOnNameOutValue(family, addOn, rating))
            continue;
        mMin = std::min(mMin, rating);
        mMax = std::max(mMax, rating);
        mRated.emplace_back(i, rating);
    }
}

void CGenGFAddOnComplexityRatingHelper::calculateNewProbabilities(float normalizedComplexity, float variance)
{
    mOutput.clear();
    const float target = (mMax - mMin) * normalizedComplexity + mMin;
    const float low = target - variance;
    const float high = target + variance;
    const float width = high - low;
    for (const auto& [index, rating] : mRated) {
        if (rating < low || rating > high)
            continue;
        const CGenPatternModAndProb& entry = mInput[index];
        float prob = entry.mProb * 0.0f;
        if (width != 0.0f) {
            const float t = (rating - low) / width;
            const float w = t <= 0.5f ? t : 1.0f - t;
            prob = (w + w) * entry.mProb;
        }
        if (prob > 0.0f) {
            mOutput.push_back(entry);
            mOutput.back().mProb = prob;
        }
    }
}
