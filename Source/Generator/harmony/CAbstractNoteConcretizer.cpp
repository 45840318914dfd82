#include "Generator/harmony/CAbstractNoteConcretizer.h"

#include "Generator/harmony/CAbstractNotesConcretizer.h"

#include <algorithm>
#include <mutex>

namespace {

// Notes without offsets are read through one offset that moves nothing and
// leaves the octave to the range.
const CAbstractOffsets& DefaultOffsets()
{
    static CAbstractOffsets offsets;
    static std::once_flag once;
    std::call_once(once, [] {
        CAbstractOffset o;
        o.mWhere = TWhere_CurrentChord;
        o.mOctaves = CAbstractOffset::kOctavesUndef;
        o.mSteps = 0;
        o.mStepsDirectionTowardsNoteNr = -1;
        offsets.push_back(o);
    });
    return offsets;
}

bool IsFailure(int64_t n) { return n == -1 || n == kNoteNrLargeUndef; }

// Chord intervals as degrees of the chord's scale.
TAbstractDegree DegreeForInterval(int intvl)
{
    switch (((intvl % 12) + 12) % 12) {
    case 0:
        return TAbstractDegree_Root;
    case 1:
    case 2:
        return TAbstractDegree__2;
    case 3:
    case 4:
        return TAbstractDegree__3;
    case 5:
        return TAbstractDegree__4;
    case 6:
    case 7:
    case 8:
        return TAbstractDegree__5;
    case 9:
        return TAbstractDegree__6;
    default:
        return TAbstractDegree__7;
    }
}

CAbstractScale ScaleOfIntervals(const CSemitones& s)
{
    CAbstractScale scale;
    for (int i = 0; i < 12; ++i)
        if (s.HasIntvl(i))
            scale.InsertIfNotContained(CAbstractNote(TWhere_CurrentChord, DegreeForInterval(i)));
    return scale;
}

// The recursion through abstract scales ends: an element names a scale step
// that again names a scale, at most this deep.
constexpr int kMaxDepth = 8;

} // namespace

CAbstractNoteConcretizer::CAbstractNoteConcretizer(const CAbstractNotesConcretizer& owner,
    const TMapWhereAndNoteGroupIDToRootNoteNr* rootMap, uint8_t groupID, TObeyConcretizeRange obey,
    int64_t referencedBassNoteNr, bool skipRange)
    : mOwner(owner), mRootMap(rootMap), mGroupID(groupID), mObeyConcretizeRange(obey),
      mReferencedBassNoteNr(referencedBassNoteNr), mSkipRange(skipRange)
{
}

int64_t CAbstractNoteConcretizer::ConcretizeOneNote(const CAbstractNote& note, const TConcretizeRange& range,
    const CHarmonicContext& ctx)
{
    return ConcretizeOneNote(note, range, range, ctx);
}

int64_t CAbstractNoteConcretizer::_BringIntoRangeAccordingToAbstractDegreeAndOffsetEvenIfUndef(int64_t n,
    const CAbstractNote& note, const TConcretizeRange& range) const
{
    if (n < 0)
        return n;
    const bool firstOctaveFree = note.mOffsets.empty() || note.mOffsets.front().mOctaves == CAbstractOffset::kOctavesUndef
        || note.mOffsets.front().mOctaves == 0;
    const bool noSteps = std::none_of(note.mOffsets.begin(), note.mOffsets.end(),
        [](const CAbstractOffset& o) { return o.mSteps != 0; });
    if (note.mDegree >= 0 && note.mDegree < TAbstractDegree__2 && firstOctaveFree && noSteps)
        n = RaiseLowerToRange(n, range.mPatternRootMinNoteNr, range.mPatternRootMaxNoteNr);
    return RaiseLowerToRange(n, range.mMinNoteNr, range.mMaxNoteNr);
}

int64_t CAbstractNoteConcretizer::ConcretizeOneNote(const CAbstractNote& note, const TConcretizeRange& rootRange,
    const TConcretizeRange& noteRange, const CHarmonicContext& ctx, bool octaveFixed)
{
    if (note.IsUndef())
        return -1;
    const THarmonicContextChosen chosen =
        ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(note, mRootMap, mGroupID, rootRange, mObeyConcretizeRange);
    int64_t root = chosen.mRootNoteNr;
    if (root == -1)
        return -1;
    if (mObeyConcretizeRange == kObeyConcretizeRange && !mSkipRange)
        root = RaiseLowerToRange(root, rootRange.mPatternRootMinNoteNr, rootRange.mPatternRootMaxNoteNr);
    int64_t n = _ConcretizeAbstractDegree(note, noteRange, root, chosen);
    if (IsFailure(n))
        return n;
    // Without obeying, the note keeps the register its root gives it: a
    // group's notes are moved together afterwards.
    const bool keepInRange = mObeyConcretizeRange == kObeyConcretizeRange;
    if (!octaveFixed) {
        if (mSkipRange)
            n += 1200;
        else if (keepInRange)
            n = _BringIntoRangeAccordingToAbstractDegreeAndOffsetEvenIfUndef(n, note, noteRange);
    }
    n = _ConcretizeAbstractOffsets(n, note, noteRange, chosen, ctx);
    if (IsFailure(n))
        return n;
    if (!octaveFixed && !mSkipRange && keepInRange)
        n = _BringIntoRangeAccordingToAbstractDegreeAndOffsetEvenIfUndef(n, note, noteRange);
    return n;
}

int64_t CAbstractNoteConcretizer::_ConcretizeAbstractDegree(const CAbstractNote& note, const TConcretizeRange& range,
    int64_t root, const THarmonicContextChosen& chosen) const
{
    const CChordHeavy& chord = chosen.mChord;
    const bool obey = mObeyConcretizeRange == kObeyConcretizeRange;
    auto bassInterval = [&chord]() {
        return chord.IsUndef() ? 0 : AbsKeyIntvlFromTo(chord.RootKeyEnh().mKeyNr, chord.BassKeyEnh().mKeyNr);
    };
    auto bassLow = [&]() {
        const int64_t bass = RaiseLowerToRange(root + bassInterval(), range.mPatternRootMinNoteNr, range.mPatternRootMaxNoteNr);
        return ApplyNotePrefer(bass, range.mNotePrefer, range.mPatternRootMinNoteNr, range.mPatternRootMaxNoteNr);
    };
    const TAbstractDegree d = note.mDegree;
    switch (d) {
    case TAbstractDegree_BassNoteLow:
        return bassLow();
    case TAbstractDegree_BassNoteCloseToRoot: {
        const int i = bassInterval();
        return i > 5 ? root + i - 12 : root + i;
    }
    case TAbstractDegree_BassNoteAboveRoot:
        return root + bassInterval();
    case TAbstractDegree_Root:
        return root;
    case TAbstractDegree__2:
    case TAbstractDegree__3:
    case TAbstractDegree__4:
    case TAbstractDegree__5:
    case TAbstractDegree__6:
    case TAbstractDegree__7:
        return chosen.mScale.MoveInScale(static_cast<long>(root), d - TAbstractDegree_Root, obey);
    case TAbstractDegree_NoteNr:
        return note.mNoteNrForDegreeNoteNr >= 0 ? note.mNoteNrForDegreeNoteNr : -1;
    case TAbstractDegree_RefPrev:
    case TAbstractDegree_RefNext:
        return mReferencedBassNoteNr >= 0 ? mReferencedBassNoteNr : kNoteNrLargeUndef;
    case TAbstractDegree_B2:
    case TAbstractDegree_B3:
    case TAbstractDegree_B4:
    case TAbstractDegree_B5:
    case TAbstractDegree_B6:
    case TAbstractDegree_B7: {
        int64_t bass = chord.IsSlashChord() ? bassLow() : RaiseLowerToRange(root, range.mPatternRootMinNoteNr, range.mPatternRootMaxNoteNr);
        // A bass outside the chord first goes to a chord tone below it.
        if (chord.IsSlashChord())
            bass = chord.QuantizeToBasicChord(static_cast<long>(bass), TQuantizeDirection_Down);
        if (bass < 0)
            return -1;
        return chosen.mScale.MoveInScale(static_cast<long>(bass), d - TAbstractDegree_B2 + 1, obey);
    }
    default:
        return -1;
    }
}

int64_t CAbstractNoteConcretizer::_ConcretizeAbstractOffsets(int64_t n, const CAbstractNote& note,
    const TConcretizeRange& range, const THarmonicContextChosen& chosen, const CHarmonicContext& ctx)
{
    const CAbstractOffsets& offsets = note.mOffsets.empty() ? DefaultOffsets() : note.mOffsets;
    for (size_t i = 0; i < offsets.size(); ++i) {
        const CAbstractOffset& o = offsets[i];
        if (o.mOctaves == CAbstractOffset::kOctavesUndef) {
            if (!mSkipRange && i == 0 && mObeyConcretizeRange == kObeyConcretizeRange)
                n = RaiseLowerAndPreferInNoteRange(n, range);
        } else {
            n += 12 * static_cast<int64_t>(o.mOctaves);
        }
        if (o.mSteps != 0) {
            const int sign = _DecideStepsSignFromStepsDirection(n, o, range, ctx);
            n = _ApplyAbstractOffsetStepsAndStepsSign(n, o, sign, note, range, chosen, ctx);
            if (IsFailure(n))
                return n;
        }
    }
    return n;
}

int CAbstractNoteConcretizer::_DecideStepsSignFromStepsDirection(int64_t n, const CAbstractOffset& o,
    const TConcretizeRange& range, const CHarmonicContext& ctx) const
{
    auto rootOf = [&](TWhere where) {
        return ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote(where, TAbstractDegree_Root), mRootMap,
            mGroupID, range, mObeyConcretizeRange).mRootNoteNr;
    };
    switch (o.mStepsDirection) {
    case TStepsDirection_TowardsNoteNr:
        return o.mStepsDirectionTowardsNoteNr >= 0 && n >= 0 && o.mStepsDirectionTowardsNoteNr < n ? -1 : 1;
    case TStepsDirection_TowardsNextRoot: {
        const int64_t cur = rootOf(TWhere_CurrentChord), next = rootOf(TWhere_NextChord);
        return cur >= 0 && next >= 0 && next < cur ? -1 : 1;
    }
    case TStepsDirection_FromPrevRoot: {
        const int64_t prev = rootOf(TWhere_PrevChord), cur = rootOf(TWhere_CurrentChord);
        return prev >= 0 && cur >= 0 && cur < prev ? -1 : 1;
    }
    default:
        return 1;
    }
}

int64_t CAbstractNoteConcretizer::_ApplyAbstractOffsetStepsAndStepsSign(int64_t n, const CAbstractOffset& o, int sign,
    const CAbstractNote& note, const TConcretizeRange& range, const THarmonicContextChosen& chosen,
    const CHarmonicContext& ctx)
{
    const int steps = o.mSteps * sign;
    const TStepsType type = o.mStepsType;
    if (type == TStepsType_Diatonic) {
        if (steps < 0 && n < 12)
            n += 12;
        return chosen.mScale.MoveInScale(static_cast<long>(n), steps, mObeyConcretizeRange == kObeyConcretizeRange);
    }
    if (type == TStepsType_Chromatic)
        return n + steps;
    if (type >= TStepsType_AbstractScaleSet0 && type <= TStepsType_AbstractScaleSet9) {
        const CAbstractScaleSet* set = mOwner.mAbstractScaleSets.FindAbstractScaleSetFor(type);
        if (!set)
            return n;
        const CAbstractScale* scale =
            set->FindAbstractScaleFor(chosen.mChord, chosen.mSignKey1, ctx.mHarmCenters[CHarmonicContext::kCurrent].mSignKey);
        if (!scale || scale->empty())
            return n;
        return _ApplyAbstractOffsetSteps_AbstractScale(n, steps, *scale, note, range, ctx);
    }
    if (type == TStepsType_Chord)
        return _ApplyAbstractOffsetSteps_AbstractScale(n, steps, _AbstractScaleForChord(chosen.mChord), note, range, ctx);
    if (type == TStepsType_ChordTriad)
        return _ApplyAbstractOffsetSteps_AbstractScale(n, steps, _AbstractScaleForChordTriad(chosen.mChord), note, range, ctx);
    if (type == TStepsType_ChordOption)
        return _ApplyAbstractOffsetSteps_AbstractScale(n, steps, _AbstractScaleForChordOptions(chosen.mChord), note, range, ctx);
    return -1;
}

CAbstractScale CAbstractNoteConcretizer::_AbstractScaleForChord(const CChordHeavy& chord)
{
    return chord.IsUndef() ? CAbstractScale() : ScaleOfIntervals(chord.Semitones());
}

CAbstractScale CAbstractNoteConcretizer::_AbstractScaleForChordTriad(const CChordHeavy& chord)
{
    const TBasicChord basic = chord.BasicChord();
    const TAbstractDegree third = basic == TBasicChord_Sus4 ? TAbstractDegree__4
        : basic == TBasicChord_Sus2                          ? TAbstractDegree__2
                                                             : TAbstractDegree__3;
    return CAbstractScale {CAbstractNote(TWhere_CurrentChord, TAbstractDegree_Root), CAbstractNote(TWhere_CurrentChord, third),
        CAbstractNote(TWhere_CurrentChord, TAbstractDegree__5)};
}

CAbstractScale CAbstractNoteConcretizer::_AbstractScaleForChordOptions(const CChordHeavy& chord)
{
    return chord.IsUndef() ? CAbstractScale() : ScaleOfIntervals(chord.OptionsSemitones());
}

int CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(int k, const std::vector<int>& keys, int steps)
{
    std::vector<int> order(keys.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<int>(i);
    std::stable_sort(order.begin(), order.end(),
        [&](int a, int b) { return KeyDistanceBetween(k, keys[a]) < KeyDistanceBetween(k, keys[b]); });
    const int a = order[0];
    if (order.size() == 1 || KeyDistanceBetween(k, keys[a]) == 0)
        return a;
    const int b = order[1];
    const int da = KeyDistanceBetween(k, keys[a]), db = KeyDistanceBetween(k, keys[b]);
    if (steps != 0) {
        const int sa = SmallestKeyIntvlBetween(k, keys[a]), sb = SmallestKeyIntvlBetween(k, keys[b]);
        if ((sa > 0) != (sb > 0))
            return (steps > 0) == (sa > 0) ? a : b;
    }
    return db < da ? b : a;
}

int CAbstractNoteConcretizer::_CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(int d, int octaves, int steps)
{
    if (steps >= 0)
        return d == 0 && octaves < 1 ? 12 : d;
    return octaves < 0 ? d : d - 12;
}

int64_t CAbstractNoteConcretizer::_ApplyAbstractOffsetSteps_AbstractScale(int64_t n, int steps,
    const CAbstractScale& scale, const CAbstractNote& note, const TConcretizeRange& range, const CHarmonicContext& ctx)
{
    if (n < 0 || mDepth >= kMaxDepth)
        return -1;
    // Every element is read relative to the note's own context.
    const CHarmonicContext copy = ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(note.mWhere);
    std::vector<int> keys;
    const TConcretizeRange preferOff = range.CopyWithNotePreferOff();
    for (const CAbstractNote& el : scale) {
        CAbstractNote element = el;
        for (CAbstractOffset& o : element.mOffsets)
            o.mOctaves = CAbstractOffset::kOctavesUndef;
        CAbstractNoteConcretizer inner(mOwner, mRootMap, mGroupID, mObeyConcretizeRange, mReferencedBassNoteNr, true);
        inner.mDepth = mDepth + 1;
        const int64_t r = inner.ConcretizeOneNote(element, preferOff, preferOff, copy);
        if (IsFailure(r))
            continue;
        keys.push_back(KeyNrWrapped(r));
    }
    if (keys.empty())
        return -1;
    const int len = static_cast<int>(keys.size());
    const int k = KeyNrWrapped(n);
    int index = static_cast<int>(std::find(keys.begin(), keys.end(), k) - keys.begin());
    int s = steps;
    if (index == len) {
        // Reaching the closest scale note counts as a step.
        index = _IndexInAbstractScaleForClosestScaleNote(k, keys, steps);
        s = steps > 0 ? steps - 1 : (steps < 0 ? steps + 1 : 0);
    }
    const int newIndex = ((index + s) % len + len) % len;
    int octaves = s / len;
    if (s % len < 0)
        --octaves;
    int d = static_cast<int>(IntvlFromToTolerateNoteNrSmallUndef(static_cast<long>(k), keys[newIndex]));
    if (d == -129)
        d = 0;
    d = KeyNrWrapped(d);
    // The direction of the move is that of the steps asked for, also when
    // reaching the closest scale note used them up.
    d = _CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(d, octaves, steps);
    return n + d + 12 * static_cast<int64_t>(octaves);
}
