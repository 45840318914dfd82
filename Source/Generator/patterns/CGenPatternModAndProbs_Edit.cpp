// The changes of a candidate list: erasing in ranges, distributing overlays,
// erasing masked notes, and moving the list into the song's metre.

#include "Generator/patterns/CGenPatternModAndProbs.h"

#include "Generator/CGenGeneratorParams.h"
#include "Generator/library/CGenGenreLibs.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/timesig/CGenEvsTempo.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <set>

namespace {

// Erases the events with position in [from, to) (those meeting `layers`
// only, when given).
void EraseEvs(CGenEvs& evs, float from, float to, const CGenBitmask* layers)
{
    if (!layers) {
        evs.EraseEvsInRange(from, to);
        return;
    }
    evs.erase(std::remove_if(evs.begin(), evs.end(),
                  [&](const CGenEv& ev) {
                      return ev.mBeatPos >= from && ev.mBeatPos < to && ev.mRuntimeLayerBitmask.Intersects(*layers);
                  }),
        evs.end());
}

// Each event that starts before `to` and ends beyond `from` loses the part
// of its length inside [from, to); events without a length are left.
void ShortenEvsReachingInto(CGenEvs& evs, float from, float to, const CGenBitmask* layers)
{
    for (CGenEv& ev : evs) {
        if (GenIsUndef(ev.mBeatPos) || GenIsUndef(ev.mBeatLength))
            continue;
        if (layers && !ev.mRuntimeLayerBitmask.Intersects(*layers))
            continue;
        const float evEnd = ev.mBeatPos + ev.mBeatLength;
        if (ev.mBeatPos < to && evEnd > from)
            ev.mBeatLength -= std::min(to, evEnd) - std::max(from, ev.mBeatPos);
    }
}

void ShiftEvs(CGenEvs& evs, float delta)
{
    for (CGenEv& ev : evs)
        ev.mBeatPos = GenAddRegardingUndef(ev.mBeatPos, delta);
}

// Whether an element with a defined start and length is touched by the
// erase of [start, end): it starts inside, or the range starts inside it.
bool TouchedByRange(const CGenPatternModAndProb& el, float start, float end)
{
    const float pos = el.mBeatPosAbs;
    const float length = el.Length();
    if (GenIsUndef(pos) || GenIsUndef(length))
        return false;
    return (pos >= start && pos < end) || (pos <= start && pos + length > start);
}

// The one range erase behind all the public forms. A range that begins
// inside an element erases its events there and, with shortenMembers, cuts
// the element's length at the range; a range that begins at or before an
// element removes it when it covers it whole and otherwise moves its start
// to the range's end, keeping the remaining events at their absolute
// positions.
void EraseInRange(CGenPatternModAndProbs& list, float start, float length, bool shortenEvs, bool shortenMembers,
    const CGenBitmask* layers)
{
    if (GenIsUndef(start) || GenIsUndef(length) || length < 0.0f)
        return;
    const float end = start + length;
    for (size_t i = 0; i < list.size();) {
        CGenPatternModAndProb& el = list[i];
        if (!TouchedByRange(el, start, end)) {
            ++i;
            continue;
        }
        const float relStart = start - el.mBeatPosAbs;
        const float relEnd = relStart + length;
        if (relStart > 0.0f) {
            CGenEvs& evs = el.PatternToBeModified().mEvs;
            EraseEvs(evs, relStart, relEnd, layers);
            if (shortenEvs)
                ShortenEvsReachingInto(evs, relStart, relEnd, layers);
            if (shortenMembers && evs.mLength > relStart && evs.mLength <= relEnd)
                evs.mLength = relStart;
            ++i;
            continue;
        }
        if (shortenMembers && relEnd >= el.Length()) {
            list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
            continue;
        }
        CGenEvs& evs = el.PatternToBeModified().mEvs;
        EraseEvs(evs, relStart, relEnd, layers);
        if (shortenEvs)
            ShortenEvsReachingInto(evs, relStart, relEnd, layers);
        if (shortenMembers) {
            el.mBeatPosAbs = end;
            evs.mLength -= relEnd;
            ShiftEvs(evs, -relEnd);
        }
        ++i;
    }
}

void CopySTTargetToBeatPosAbs(CGenPatternModAndProbs& list)
{
    for (CGenPatternModAndProb& el : list)
        if (GenIsDef(el.mBeatPosAbsSTTarget))
            el.mBeatPosAbs = el.mBeatPosAbsSTTarget;
}

} // namespace

void CGenPatternModAndProbs::EraseAndOptionallyShortenEvsAndShortenMembersInRange(float start, float length,
    TShortenEvsLeftTouchingRange shortenMode)
{
    EraseInRange(*this, start, length, shortenMode == TShortenEvsLeftTouchingRange_Yes, true, nullptr);
}

void CGenPatternModAndProbs::EraseEvsAndShortenMembersThatOverlay(const CGenPatternModAndProbs& els)
{
    for (const CGenPatternModAndProb& el : els)
        EraseEvsAndShortenMembersThatOverlay(el);
}

void CGenPatternModAndProbs::EraseAndShortenEvsInRangeMatchingLayerBitmask(float start, float length,
    const CGenBitmask& layers, TShortenPatterns shortenPatterns)
{
    EraseInRange(*this, start, length, true, shortenPatterns == TShortenPatterns_Yes, &layers);
}

void CGenPatternModAndProbs::DistributeEvsIntoOverlapping(const CGenPatternModAndProbs& sourceIn)
{
    // A list distributed into itself reads from a copy.
    const CGenPatternModAndProbs copy = &sourceIn == this ? sourceIn : CGenPatternModAndProbs();
    const CGenPatternModAndProbs& source = &sourceIn == this ? copy : sourceIn;
    for (const CGenPatternModAndProb& src : source) {
        const float srcStart = src.mBeatPosAbs;
        const float srcEnd = src.EndBeatPosAbs();
        const CGenEvs& srcEvs = src.PatternToBeRead().mEvs;
        std::set<size_t> targetsDone;
        for (const CGenEv& ev : srcEvs) {
            const float pos = GenAddRegardingUndef(srcStart, ev.mBeatPos);
            if (GenIsUndef(pos))
                continue;
            auto target = FindElOverlappingWithRange(pos, GenSubRegardingUndef(srcEnd, pos), TOverlapping_Pattern,
                TInclusiveBorders_None, begin());
            if (target == end() || !targetsDone.insert(static_cast<size_t>(target - begin())).second)
                continue;
            const float from = std::max(srcStart, target->mBeatPosAbs);
            const float to = std::min(srcEnd, target->EndBeatPosAbs());
            CGenEvs& targetEvs = target->PatternToBeModified().mEvs;
            for (const CGenEv& e : srcEvs) {
                const float p = GenAddRegardingUndef(srcStart, e.mBeatPos);
                if (GenIsUndef(p) || p < from || !(p < to))
                    continue;
                CGenEv moved(e);
                moved.mBeatPos = p - target->mBeatPosAbs;
                targetEvs.InsertAtBeatPos(moved);
            }
        }
    }
}

void CGenPatternModAndProbs::EraseMaskedNotes(const CGenPatternModAndProbs& maskA, const CGenPatternModAndProbs& maskB,
    const CGenEvsTempo& tempo, const TInstTreeUids& maskUids, long long toleranceNanos, const TInstTreeUids& ownUids)
{
    const long long tolerance = toleranceNanos == LLONG_MIN ? LLONG_MAX : std::llabs(toleranceNanos);
    const long long quarter = tolerance / 4;
    auto isOwn = [&ownUids](const CGenEv& ev) {
        return ev.StatusHighNibble() == st_NoteOn && zkgen::UidMatchesAnyNonZeroNibbles(ev.Uid(), ownUids);
    };
    for (CGenPatternModAndProb& el : *this) {
        CGenEvs evs = el.PatternToBeRead().mEvs;
        auto nextOwn = [&](size_t from) {
            while (from < evs.size() && !isOwn(evs[from]))
                ++from;
            return from;
        };
        bool changed = false;
        size_t n = nextOwn(0);
        while (n < evs.size()) {
            const size_t m = nextOwn(n + 1);
            // Positions as they stand in the list, relative to the element.
            const float to = m < evs.size() ? evs[m].mBeatPos : evs.mLength;
            const TGenNanoLength t = tempo.BeatPosDistToNanoLength(evs[n].mBeatPos, to);
            if (t == TGenNanoLength_Undef || t > tolerance) {
                n = m;
                continue;
            }
            const float at = GenAddRegardingUndef(el.mBeatPosAbs, evs[n].mBeatPos);
            const double tempoAt = tempo.TempoAtOrBeforeBeat(at);
            float windowStart = TGenBeatPos_Undef;
            float windowLength = TGenBeatLength_Undef;
            if (GenIsDef(at) && tempoAt != -1.0) {
                const double half = tempoAt * double(quarter) / 60000000000.0;
                windowStart = static_cast<float>(double(at) - half);
                windowLength = static_cast<float>(double(at) + half) - windowStart;
            }
            const bool masked = maskUids.empty()
                ? maskA.ContainsAnyNoteWithinRange(windowStart, windowLength, TOverlapping_Pattern, TInclusiveBorders_Both)
                    || maskB.ContainsAnyNoteWithinRange(windowStart, windowLength, TOverlapping_Pattern,
                        TInclusiveBorders_Both)
                : maskA.ContainsAnyNotesNotMatchingUidsNonZeroNibblesWithinRange(maskUids, windowStart, windowLength,
                      TOverlapping_Pattern, TInclusiveBorders_Both)
                    || maskB.ContainsAnyNotesNotMatchingUidsNonZeroNibblesWithinRange(maskUids, windowStart,
                        windowLength, TOverlapping_Pattern, TInclusiveBorders_Both);
            if (!masked) {
                n = m;
                continue;
            }
            evs.erase(evs.begin() + static_cast<std::ptrdiff_t>(n));
            changed = true;
            n = nextOwn(n);
        }
        if (changed)
            el.PatternToBeModified().mEvs = std::move(evs);
    }
}

void CGenPatternModAndProbs::ApplySignTimeTrafo(const CGenGeneratorParams* params, const CGenInstLib* instLib,
    TTransformBeatPosAbs mode)
{
    if (!instLib)
        return;
    // Each layer through its own graph's transformations; a layerless
    // element has no graph.
    _ApplySignTimeTrafo(params, mode, [instLib](TPatternGraphType type) -> const CGenSignTimeTrafos* {
        return type == TPatternGraphType_Undef ? nullptr : &instLib->PatternGraph(type).SignTimeTrafos();
    });
}

void CGenPatternModAndProbs::ApplySignTimeTrafo(const CGenGeneratorParams* params, const CGenSignTimeTrafos* trafos,
    TTransformBeatPosAbs mode)
{
    if (!trafos)
        return;
    _ApplySignTimeTrafo(params, mode, [trafos](TPatternGraphType) { return trafos; });
}

void CGenPatternModAndProbs::_ApplySignTimeTrafo(const CGenGeneratorParams* params, TTransformBeatPosAbs mode,
    const std::function<const CGenSignTimeTrafos*(TPatternGraphType)>& trafosForType)
{
    if (!params || mSTDefaultOrTarget == TSTDefaultOrTarget::Target)
        return;
    if (mode == TTransformBeatPosAbs_ToSTTarget)
        CopySTTargetToBeatPosAbs(*this);
    const CGenEvsSignTime& signTimes = params->mEvsSignTime;
    for (CGenPatternModAndProb& el : *this) {
        // Fills keep their metre: they are cut to fit where they land.
        if (el.mPatternGraphType == TPatternGraphType_Fill || GenIsUndef(el.mBeatPosAbs))
            continue;
        const CGenSignTimeTrafos* trafos = trafosForType(el.mPatternGraphType);
        if (!trafos)
            continue;
        auto signTime = signTimes.FindSignTimeAtOrBefore(el.mBeatPosAbs);
        if (signTime == signTimes.end())
            continue;
        // A pickup is transformed from the start of its bar, then moved back,
        // so that its events keep their place in the bar.
        const float barStart = signTimes.FindBarStartPos(el.mBeatPosAbs, 4);
        const float d = GenIsDef(barStart) ? el.mBeatPosAbs - barStart : 0.0f;
        CGenPattern& pattern = el.PatternToBeModified();
        if (d > 0.0f) {
            ShiftEvs(pattern.mEvs, d);
            el.mBeatPosAbs -= d;
            el.mBeatPosAbsSTTarget = GenSubRegardingUndef(el.mBeatPosAbsSTTarget, d);
            pattern.mEvs.mLength = GenAddRegardingUndef(pattern.mEvs.mLength, d);
        }
        trafos->TransformFromTo(pattern.mSignTime, signTime->SignTime(), pattern.mEvs, TTransformEvsLength_Transform,
            CGenSignTime_Default44);
        if (d > 0.0f) {
            ShiftEvs(pattern.mEvs, -d);
            el.mBeatPosAbs += d;
            el.mBeatPosAbsSTTarget = GenAddRegardingUndef(el.mBeatPosAbsSTTarget, d);
            pattern.mEvs.mLength = GenSubRegardingUndef(pattern.mEvs.mLength, d);
        }
    }
    mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
}

void CGenPatternModAndProbs::TransformBeatPosAbs(const CGenGeneratorParams* params)
{
    if (!params || mSTDefaultOrTarget == TSTDefaultOrTarget::Target)
        return;
    CopySTTargetToBeatPosAbs(*this);
}

void CGenPatternModAndProbs::ShortenPickupBarOnTheLeft(const CGenGeneratorParams* params)
{
    if (!params || GenIsUndef(params->mGenerateStartPosAbs))
        return;
    const float start = params->mGenerateStartPosAbs;
    for (CGenPatternModAndProb& el : *this) {
        if (GenIsUndef(el.mBeatPosAbs) || !(el.mBeatPosAbs < start))
            continue;
        const float d = start - el.mBeatPosAbs;
        CGenEvs& evs = el.PatternToBeModified().mEvs;
        evs.EraseEvsInRange(0.0f, d);
        ShiftEvs(evs, -d);
        evs.mLength = GenSubRegardingUndef(evs.mLength, d);
        el.mBeatPosAbs = start;
    }
}
