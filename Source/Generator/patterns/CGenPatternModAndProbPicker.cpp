#include "Generator/patterns/CGenPatternModAndProbPicker.h"

#include "Generator/CGenRandom.h"

void CGenPatternModAndProbTopFilter::CalculateProbabilitySteps(int stepCount)
{
    mSteps.clear();
    if (stepCount <= 0)
        return;
    const float step = 100.0f / static_cast<float>(stepCount);
    for (int k = stepCount; k >= 1; --k)
        mSteps.push_back(static_cast<float>(k) * step);
    mSteps.push_back(0.0f);
}

void CGenPatternModAndProbTopFilter::FilterPatterns(float minRequired, int stepCount)
{
    if (mSource.empty())
        return;
    if (mOutputList)
        mOutputList->clear();
    if (mOutputIterators)
        mOutputIterators->clear();
    CalculateProbabilitySteps(stepCount);
    if (mSteps.empty())
        return;
    // The first pass asks for (100, 100] and is empty by construction; each
    // later one takes the next band down.
    float upper = 100.0f;
    size_t count = 0;
    for (size_t i = 0;; ++i) {
        for (auto it = mSource.begin(); it != mSource.end(); ++it) {
            if (!(it->mProb <= upper && it->mProb > mSteps[i]))
                continue;
            if (mOutputList)
                mOutputList->push_back(*it);
            if (mOutputIterators)
                mOutputIterators->push_back(it);
            ++count;
        }
        if (static_cast<float>(count) >= minRequired || i + 1 >= mSteps.size())
            return;
        upper = mSteps[i];
    }
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbRandomPicker::Pick(CGenRandom& random)
{
    if (mList.empty())
        return mList.begin();
    CGenPatternModAndProbTopFilter::TIterators passed;
    CGenPatternModAndProbTopFilter(mList, passed).FilterPatterns(mThreshold, kStepCount);
    mHelper.clear();
    float sum = 0.0f;
    for (auto it : passed) {
        float consec = TGenBeatPos_Undef;
        if (GenIsDef(it->mProb)) {
            sum += it->mProb;
            consec = sum;
        }
        mHelper.emplace_back(it, consec);
    }
    mTotal = sum;
    if (GenIsUndef(mTotal))
        return mList.end();
    const float r = zkgen::DrawBelowTotal(random, mTotal);
    const size_t ix = zkgen::UpperBoundByConsecProb(mHelper.size(), r, [this](size_t i) { return mHelper[i].second; });
    return ix < mHelper.size() ? mHelper[ix].first : mList.end();
}
