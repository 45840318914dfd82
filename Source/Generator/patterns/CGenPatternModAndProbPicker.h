#pragma once

#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <utility>
#include <vector>

class CGenRandom;

// Takes the best bands of a candidate list: the probability scale 0..100 is
// cut into stepCount bands of equal width, and whole bands are taken from
// the top, in list order within a band, until at least minRequired elements
// are out (so the output can hold more). Elements with a probability of 0 or
// less, above 100 or undefined never pass.
class CGenPatternModAndProbTopFilter {
public:
    using TIterators = std::vector<CGenPatternModAndProbs::iterator>;

    // Exactly one output: copies of the elements, or iterators to them.
    CGenPatternModAndProbTopFilter(CGenPatternModAndProbs& source, CGenPatternModAndProbs& outputList)
        : mSource(source), mOutputList(&outputList)
    {
    }
    CGenPatternModAndProbTopFilter(CGenPatternModAndProbs& source, TIterators& outputIterators)
        : mSource(source), mOutputIterators(&outputIterators)
    {
    }

    // An empty source returns at once and leaves the output as it was;
    // otherwise the output is cleared first.
    void FilterPatterns(float minRequired, int stepCount);
    // The band bounds, falling: n * step, ..., 1 * step, 0 with
    // step = 100 / n; none for n <= 0.
    void CalculateProbabilitySteps(int stepCount);
    const std::vector<float>& ProbabilitySteps() const { return mSteps; }

private:
    CGenPatternModAndProbs& mSource;
    CGenPatternModAndProbs* mOutputList = nullptr;
    TIterators* mOutputIterators = nullptr;
    std::vector<float> mSteps;
};

// A weighted draw among the best bands of a list: the top filter with the
// threshold as minRequired and 10 bands, then the draw of ChooseRandomly
// over what passed. Unlike ChooseRandomly, a single passing element still
// takes a step of the random generator.
class CGenPatternModAndProbRandomPicker {
public:
    static constexpr float kDefaultThreshold = 5.0f;
    static constexpr int kStepCount = 10;

    explicit CGenPatternModAndProbRandomPicker(CGenPatternModAndProbs& list, float threshold = kDefaultThreshold)
        : mThreshold(threshold), mList(list)
    {
    }

    // An iterator into the list; end() when nothing passes or the draw runs off the end.
    CGenPatternModAndProbs::iterator Pick(CGenRandom& random);

    float Threshold() const { return mThreshold; }
    float Total() const { return mTotal; }
    const std::vector<std::pair<CGenPatternModAndProbs::iterator, float>>& Helper() const { return mHelper; }

private:
    float mThreshold;
    CGenPatternModAndProbs& mList;
    // The passing elements with their running sums.
    std::vector<std::pair<CGenPatternModAndProbs::iterator, float>> mHelper;
    float mTotal = TGenBeatPos_Undef;
};
