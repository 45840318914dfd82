#pragma once

#include "Generator/CGenBitmask.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/patterns/CGenPatternModAndProb.h"
#include "Generator/patterns/GenFindEvAcrossEls.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

class CGenEvsTempo;
class CGenGeneratorParams;
class CGenInstLib;
class CGenRandom;

// Which range of an element a range search tests: the whole pattern, or the
// overlay range of a fill for accents, systems or percussion (relative to
// the element's start). Any other value finds nothing.
enum TOverlapping : int {
    TOverlapping_Pattern = 0,
    TOverlapping_OverlayRangeAc = 1,
    TOverlapping_OverlayRangeSy = 2,
    TOverlapping_OverlayRangePerc = 3,
};

// Which border of that range a border search tests.
enum TOverlapBorder : int {
    TOverlapBorder_Start = 0,
    TOverlapBorder_End = 1,
};

// Whether an erase by layer also shortens or removes the patterns it cuts.
enum TShortenPatterns : int {
    TShortenPatterns_No = 0,
    TShortenPatterns_Yes = 1,
};

// Whether a signature transformation first moves each element to its
// position in the target metre (mBeatPosAbsSTTarget, where defined).
enum TTransformBeatPosAbs : int {
    TTransformBeatPosAbs_ToSTTarget = 0,
    TTransformBeatPosAbs_Keep = 1,
};

namespace zkgen {

// The draw of the choosers, of integer resolution on purpose: 0 without a
// step when max(0, total) is 0; otherwise one step of `random` and
// state % ceil(total).
float DrawBelowTotal(CGenRandom& random, float total);

// The first position below n whose running sum exceeds r: the range is
// halved and the search moves right when the probe's sum is not greater
// than r. n when there is none.
template <class TSumAt>
size_t UpperBoundByConsecProb(size_t n, float r, TSumAt sumAt)
{
    size_t first = 0;
    size_t count = n;
    while (count > 0) {
        const size_t step = count / 2;
        if (!(r < sumAt(first + step))) {
            first += step + 1;
            count -= step + 1;
        } else {
            count = step;
        }
    }
    return first;
}

// Whether `uid` carries, in its non-zero nibbles, one of `uids` (undefined
// entries match nothing).
bool UidMatchesAnyNonZeroNibbles(TInstTreeUid uid, const TInstTreeUids& uids);

} // namespace zkgen

// The list that carries candidates with their probabilities while a pattern
// is chosen, travels through style graphs and scripts, and holds the finished
// sequence of a layer afterwards.
class CGenPatternModAndProbs : public std::vector<CGenPatternModAndProb>, public CGenTraceable<CGenPatternModAndProbs> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternModAndProbs";
    using TBase = std::vector<CGenPatternModAndProb>;
    using TBase::TBase;

    // Probability of the chosen entry, for reports.
    float mChosenProb = TGenBeatPos_Undef;
    // The list is the whole remaining result of a graph decision.
    bool mComplete = false;
    // Which signature map the positions are in; goes to Target once.
    TSTDefaultOrTarget mSTDefaultOrTarget = TSTDefaultOrTarget::Default;

    TSTDefaultOrTarget STDefaultOrTarget() const { return mSTDefaultOrTarget; }

    // Choice. The running sum S of the defined weights; r = state % ceil(S)
    // after one step of `random` (no step, r = 0, when S is not above 0); the
    // first element whose running sum exceeds r, or end(). An empty list
    // gives end(); a one-element list that element, without a step.
    iterator ChooseRandomly(CGenRandom& random);
    // The same, also giving the drawn r.
    std::pair<iterator, float> _ChooseRandomlyAndReturnChosenProb(CGenRandom& random);
    // The same, with the text of the choice in `report`.
    iterator ChooseRandomlyAndReport(CGenRandom& random, std::string& report);
    // Writes the running sum into each element with a defined weight (others
    // keep their old sum); the total, 0 for an empty list.
    float _ConvertProbToConsecutiveProb();
    // An end iterator of a shared empty list, for "no element".
    static iterator iteratorNULL();

    // Range search (see TOverlapping); the range is [start, start + length).
    const_iterator FindElOverlappingWithRange(float start, float length, TOverlapping overlapping,
        TInclusiveBorders borders, const_iterator startIt) const;
    iterator FindElOverlappingWithRange(float start, float length, TOverlapping overlapping, TInclusiveBorders borders,
        iterator startIt);
    // The first element whose chosen border lies in [start, start + length).
    const_iterator FindElOverlappingBorderWithRange(float start, float length, TOverlapping overlapping,
        TOverlapBorder border, const_iterator startIt) const;
    // Whether an overlapping element has a note-on at or after
    // max(0, start - element start) and, with a defined length, not after
    // that plus length.
    bool ContainsAnyNoteWithinRange(float start, float length, TOverlapping overlapping, TInclusiveBorders borders) const;
    // The same, counting only notes whose uid matches (does not match) one
    // of `uids` in its non-zero nibbles.
    bool ContainsAnyNotesMatchingUidsNonZeroNibblesWithinRange(const TInstTreeUids& uids, float start, float length,
        TOverlapping overlapping, TInclusiveBorders borders) const;
    bool ContainsAnyNotesNotMatchingUidsNonZeroNibblesWithinRange(const TInstTreeUids& uids, float start, float length,
        TOverlapping overlapping, TInclusiveBorders borders) const;

    // An event found across elements, with its absolute position.
    using TEvRef = zkgen::TEvAcrossEls<const_iterator>;
    // By absolute event position across elements from `startIt`, with the
    // modes of TFindBeat (see zkgen::FindEvAcrossEls).
    TEvRef FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(float pos, TFindBeat mode, const_iterator startIt) const;
    // Sounding notes of a uid (any for TInstTreeUid_Undef or -1) on a
    // channel (any for 255); Prev is the last strictly before pos, Next the
    // first strictly after.
    TEvRef FindNoteInAnyEl(float pos, TFindBeat mode, TInstTreeUid uid, int channel) const;
    TEvRef FindPrevNoteInAnyEl(float pos, TInstTreeUid uid, int channel) const;
    TEvRef FindNextNoteInAnyEl(float pos, TInstTreeUid uid, int channel) const { return FindNoteInAnyEl(pos, 1, uid, channel); }

    // Puts an event (absolute position) into the first element that covers
    // it, relative to that element, in CompareEv order; without one a new
    // element holding the event alone is appended at its position.
    iterator InsertAtBeatPos(const CGenEv& ev);
    // The same, then extends the element's length to the event's end.
    iterator InsertAtBeatPosAndAdjustLength(const CGenEv& ev);

    // Range erase (see the algorithm in the source): elements covered whole
    // go, an element cut at the left keeps its remaining events at their
    // absolute positions, one cut at the right keeps its start. With
    // TShortenEvsLeftTouchingRange_Yes events reaching into the range from
    // the left are shortened. An undefined length changes nothing.
    void EraseAndOptionallyShortenEvsAndShortenMembersInRange(float start, float length,
        TShortenEvsLeftTouchingRange shortenMode);
    void EraseEvsAndShortenMembersInRange(float start, float length)
    {
        EraseAndOptionallyShortenEvsAndShortenMembersInRange(start, length, TShortenEvsLeftTouchingRange_No);
    }
    void EraseEvsAndShortenMembersInRange(const CGenRange<float>& range)
    {
        EraseEvsAndShortenMembersInRange(range.mMin, GenSubRegardingUndef(range.mMax, range.mMin));
    }
    void EraseAndShortenEvsAndShortenMembersInRange(float start, float length)
    {
        EraseAndOptionallyShortenEvsAndShortenMembersInRange(start, length, TShortenEvsLeftTouchingRange_Yes);
    }
    // Clears the whole range of the given element (of each element).
    void EraseEvsAndShortenMembersThatOverlay(const CGenPatternModAndProb& el)
    {
        EraseEvsAndShortenMembersInRange(el.mBeatPosAbs, el.Length());
    }
    void EraseEvsAndShortenMembersThatOverlay(const CGenPatternModAndProbs& els);
    // As the range erase with shortening, but only events whose layer mask
    // meets `layers` go; the patterns themselves are shortened or removed
    // only with TShortenPatterns_Yes.
    void EraseAndShortenEvsInRangeMatchingLayerBitmask(float start, float length, const CGenBitmask& layers,
        TShortenPatterns shortenPatterns);
    // Copies the events of each source element into the elements of this
    // list that they overlap, relative to those; events without one are dropped.
    void DistributeEvsIntoOverlapping(const CGenPatternModAndProbs& source);
    // Removes notes of this layer (uids matching `ownUids`) that follow
    // another of its notes within `toleranceNanos` while one of the masks
    // sounds a note (one not matching `maskUids`, when given) near them.
    void EraseMaskedNotes(const CGenPatternModAndProbs& maskA, const CGenPatternModAndProbs& maskB,
        const CGenEvsTempo& tempo, const TInstTreeUids& maskUids, long long toleranceNanos, const TInstTreeUids& ownUids);

    void ResetMatchedLastFilter();
    void EraseAllPatternsThatNotMatchedLastFilter();

    // Signature transformation into the song's metre, once: each element
    // (but fills and elements without position) from the pattern's metre to
    // the metre in force at its position. An element that begins inside a
    // bar (a pickup) is transformed from that bar's start and moved back.
    // Nothing without params or transformations, or when already in Target;
    // afterwards the list is in Target.
    // Here each element goes through its layer's graph in the library
    // (elements without layer are skipped)...
    void ApplySignTimeTrafo(const CGenGeneratorParams* params, const CGenInstLib* instLib, TTransformBeatPosAbs mode);
    // ...and here every element through the same transformations.
    void ApplySignTimeTrafo(const CGenGeneratorParams* params, const CGenSignTimeTrafos* trafos,
        TTransformBeatPosAbs mode);
    // Copies each defined target position to mBeatPosAbs, unless the list is
    // already in Target; the state stays.
    void TransformBeatPosAbs(const CGenGeneratorParams* params);
    // Cuts every element that starts before the region's start to that start.
    void ShortenPickupBarOnTheLeft(const CGenGeneratorParams* params);

    // Development check: events of an element of `type` (all for Undef)
    // that equal an earlier one at the same position; printed when `trace`.
    bool Dbg_CheckForDoubleEvents(TPatternGraphType type, bool trace) const;

    // One line per element.
    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

private:
    iterator _InsertAtBeatPos(const CGenEv& ev, bool adjustLength);
    // The chosen element and the report text of a choice.
    std::string _CreateReport(const_iterator chosen, float r) const;
    // The one walk of both transformation forms; a null answer skips the element.
    void _ApplySignTimeTrafo(const CGenGeneratorParams* params, TTransformBeatPosAbs mode,
        const std::function<const CGenSignTimeTrafos*(TPatternGraphType)>& trafosForType);
};

// The patterns of all layers of one generation, by layer.
using CGenPatternModAndProbsMap = std::map<TPatternGraphType, CGenPatternModAndProbs>;

std::ostream& operator<<(std::ostream& os, const CGenPatternModAndProbs& list);
