#include "Generator/CGenGeneratorDisableFillLockEvaluator.h"

#include "Generator/timesig/CGenEvsSignTime.h"
#include "Generator/timesig/CGenEvsTempo.h"

namespace {

// True when the list can't vouch that both spans see the same element: no or
// an empty list, undefined starts or starts before the first element, a
// different element in force at the two starts, or a change inside either span.
template <class TList, class TSame>
bool DiffersBetweenSpans(const TList* list, const CGenGeneratorDisableFillLockEvaluator::Parameters& p, TSame same)
{
    if (!list || list->empty())
        return true;
    const float first = GenElBeatPos(list->front());
    if (GenIsUndef(p.mStartPosAbs) || GenIsUndef(p.mLastStartPosAbs) || p.mStartPosAbs < first
        || p.mLastStartPosAbs < first)
        return true;
    auto now = list->ElInForceAt(p.mStartPosAbs);
    auto last = list->ElInForceAt(p.mLastStartPosAbs);
    if (now == list->end() || last == list->end() || !same(*now, *last))
        return true;
    auto changeInside = [&](float start, float length) {
        if (GenIsUndef(length))
            return false;
        const float end = start + length;
        for (const auto& el : *list) {
            const float pos = GenElBeatPos(el);
            if (pos > start && pos <= end)
                return true;
        }
        return false;
    };
    return changeInside(p.mStartPosAbs, p.mLength) || changeInside(p.mLastStartPosAbs, p.mLastLength);
}

} // namespace

bool CGenGeneratorDisableFillLockEvaluator::shouldDisableFillLock() const
{
    return regionDidMoveToNewRelativeStartPosition() || regionDidChangeLength() || regionMovedSomewhereWithDifferentSignTime()
        || regionMovedSomewhereWithDifferentTempo();
}

bool CGenGeneratorDisableFillLockEvaluator::regionDidMoveToNewRelativeStartPosition() const
{
    return mParameters.mStartPosInBar != mParameters.mLastStartPosInBar;
}

bool CGenGeneratorDisableFillLockEvaluator::regionDidChangeLength() const
{
    return mParameters.mLength != mParameters.mLastLength;
}

bool CGenGeneratorDisableFillLockEvaluator::regionMovedSomewhereWithDifferentSignTime() const
{
    return DiffersBetweenSpans(mParameters.mEvsSignTime, mParameters,
        [](const CGenEvSignTime& a, const CGenEvSignTime& b) { return a.mSignTime == b.mSignTime; });
}

bool CGenGeneratorDisableFillLockEvaluator::regionMovedSomewhereWithDifferentTempo() const
{
    return DiffersBetweenSpans(mParameters.mEvsTempo, mParameters,
        [](const CGenEvTempo& a, const CGenEvTempo& b) { return a.mTempo == b.mTempo; });
}
