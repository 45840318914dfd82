#pragma once

#include "Generator/CGenTypes.h"

#include <vector>

class CGenEvsTempo;
class CGenEvsSignTime;

// The list that carries candidate patterns and finished sequences between
// pattern choice, style graphs and scripts. This is the shape the generate
// pipeline drives; the candidates themselves, their probabilities and the
// operations on them arrive with the candidate-list work, and until then a
// list is always empty and every operation leaves it so.
class CGenPatternModAndProbs {
public:
    bool empty() const { return mSize == 0; }
    size_t size() const { return mSize; }

    bool IsSignTimeTrafoApplied() const { return mSignTimeTrafoApplied; }
    // Rewrites the sequence into the song's metre once.
    void ApplySignTimeTrafo(const CGenEvsSignTime& /*signTimes*/, float /*leftBarPosAbs*/) { mSignTimeTrafoApplied = true; }
    // Erases events in [start, start + length); `shorten` also shortens events
    // reaching into the range.
    void EraseEvsInRange(float /*start*/, float /*length*/, bool /*shorten*/) {}
    // Cuts a pattern placed before `start` to the start.
    void ShortenPickupBarOnTheLeft(float /*start*/) {}
    // Removes notes of this layer that the masks make unplayable.
    void EraseMaskedNotes(const CGenPatternModAndProbs& /*mask1*/, const CGenPatternModAndProbs& /*mask2*/,
        const CGenEvsTempo& /*tempo*/, const std::vector<TInstTreeUid>& /*uids1*/,
        const std::vector<TInstTreeUid>& /*uids2*/, long long /*toleranceNs*/)
    {
    }

private:
    size_t mSize = 0;
    bool mSignTimeTrafoApplied = false;
};
