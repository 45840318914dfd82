// The application of grooves to events: the search of a track's elements
// around an event's loop position, moving and scaling one event, and the
// passes that pick a track for each family of events.
#include "Generator/shaping/CGenGroove.h"

#include "Generator/CGenEvs.h"
#include "Generator/CGenEvs_Templ.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

// The divisor of the scaling velocity strategies while the list's statistics
// are not gathered.
constexpr int kVelocityScaleDivisor = 255;

// Whether a search mode looks at or after the position (and so wraps to the next loop).
bool SearchesForward(TFindBeat mode) { return mode == 1 || mode == 2; }

// Applies the track to every sounding note-on of `evs` that `takes` accepts,
// then restores the order by position, which a shift may have broken.
template <class TTakes>
void ApplyToTakenNotes(const CGenGrooveTrack& track, CGenEvs& evs, float offset, const CGenGrooveApply& apply,
    TTakes takes)
{
    if (track.empty())
        return;
    const TVelocityMinMaxAvrg velocityMinMaxAvrg;
    for (CGenEv& ev : evs)
        if (ev.IsSoundingNote() && takes(ev))
            track.ApplyTo(ev, offset, 0.0f, apply, velocityMinMaxAvrg);
    if (!evs.IsSortedByBeatPos())
        evs.SortByBeatPos();
}

int ClampVelocity(int v, int lowest) { return std::clamp(v, lowest, 127); }

} // namespace

float CGenGrooveTrack::UsableLength() const
{
    if (mBeatLength > 0.0f)
        return mBeatLength;
    if (empty())
        return 1.0f;
    const float m = back().SourceBeatPos();
    if (!(m > 0.0f))
        return 1.0f;
    return (std::floor(1.0f / m) + 1.0f) * m;
}

float CGenGrooveTrack::_DistToClosestSourceBeatGrid(const CGenGrooveApply& apply, float pos)
{
    const float grid = apply.mSourceBeatGridLength;
    if (!(grid > 0.0f) || GenIsUndef(pos) || !std::isfinite(pos))
        return TGenBeatPos_Undef;
    const float r = pos - grid * std::floor(pos / grid);
    return r > grid * 0.5f ? grid - r : -r;
}

CGenGrooveTrack::TWrappedEl CGenGrooveTrack::DetermineWrappedGrooveEl(const CGenGrooveApply& apply, float pos,
    float offset, float extraOffset, TFindBeat findBeat) const
{
    const TWrappedEl none {end(), TGenBeatPos_Undef};
    const float songPos = GenSubRegardingUndef(GenAddRegardingUndef(pos, offset), extraOffset);
    if (empty() || GenIsUndef(songPos) || !std::isfinite(songPos))
        return none;
    const float length = UsableLength();
    float local = std::fmod(songPos, length);
    // A position before the loop start counts from the loop's end, as one after it does from its start.
    if (local < 0.0f)
        local += length;
    if (local >= length)
        local = 0.0f;

    const_iterator el = end();
    int loops = 0; // -1: the element one loop earlier, +1: one loop later
    switch (findBeat) {
    case 0:
        el = GenFindElWithBeatPos(begin(), end(), local, 0);
        break;
    case 1:
    case 2:
        el = GenFindElWithBeatPos(begin(), end(), local, findBeat);
        break;
    case 3: {
        const const_iterator atOrAfter = GenFindElWithBeatPos(begin(), end(), local, 2);
        el = atOrAfter == begin() ? end() : std::prev(atOrAfter);
        break;
    }
    case 4:
        el = GenFindElWithBeatPos(begin(), end(), local, 4);
        break;
    case 5:
    case 6: {
        // The nearer of the neighbours; exactly half way goes to the earlier.
        const const_iterator after = GenFindElWithBeatPos(begin(), end(), local, 2);
        const const_iterator before = after == begin() ? end() : std::prev(after);
        if (after == end())
            el = before;
        else if (before == end() || after->SourceBeatPos() == local)
            el = after;
        else
            el = after->SourceBeatPos() - local < local - before->SourceBeatPos() ? after : before;
        const float wrappedDist = length + front().SourceBeatPos() - local;
        if (wrappedDist < std::fabs(el->SourceBeatPos() - local)) {
            el = begin();
            loops = 1;
        }
        break;
    }
    default:
        return none;
    }
    if (el == end()) {
        if (findBeat == 0)
            return none;
        el = SearchesForward(findBeat) ? begin() : std::prev(end());
        loops = SearchesForward(findBeat) ? 1 : -1;
    }

    const float loopShift = static_cast<float>(loops) * length;
    float dist = 0.0f;
    if (apply.mBeatStrategy == kBeatStrategy_NearestTarget)
        dist = local - (el->mTargetBeatPos + loopShift);
    else
        dist = el->SourceBeatPos() + loopShift - local;
    if (apply.mBeatStrategy == kBeatStrategy_NearestOnGrid && !(std::fabs(dist) < apply.mSourceBeatGridLength * 0.5f))
        return none;
    return {el, dist};
}

bool CGenGrooveTrack::_CalcVelocityMinMaxAvrgNeeded(const CGenGrooveApply& apply)
{
    return apply.mVelocityStrategy == kVelocityStrategy_ScaleToList
        || apply.mVelocityStrategy == kVelocityStrategy_ScaleToListAlike;
}

void CGenGrooveTrack::ApplyTo(CGenEv& ev, float offset, float extraOffset, const CGenGrooveApply& apply,
    const TVelocityMinMaxAvrg& /*velocityMinMaxAvrg*/) const
{
    const float p = ev.mBeatPos;
    if (GenIsUndef(p))
        return;
    const int v = ev.mMB2;
    const int velStrategy = apply.mVelocityStrategy;
    const bool takesGrooveVelocity = velStrategy == kVelocityStrategy_Take || velStrategy == kVelocityStrategy_Deviate;
    float target = TGenBeatPos_Undef;
    int g = kGrooveVelocity_None;

    switch (apply.mBeatStrategy) {
    case kBeatStrategy_Interpolate:
    case kBeatStrategy_InterpolateAlike: {
        if (!(apply.mSourceBeatGridLength > 0.0f))
            return;
        const TWrappedEl e1 = DetermineWrappedGrooveEl(apply, p, offset, extraOffset, 4);
        const TWrappedEl e2 = DetermineWrappedGrooveEl(apply, p, offset, extraOffset, 1);
        if (e1.mEl == end() || e2.mEl == end())
            return;
        const float d1 = std::fabs(e1.mDist);
        const float d2 = std::fabs(e2.mDist);
        const float s = d1 + d2;
        const float w1 = s > 0.0f ? 1.0f - d1 / s : 1.0f;
        const float w2 = s > 0.0f ? 1.0f - d2 / s : 0.0f;
        target = p + e1.mEl->TimeShift() * w1 + e2.mEl->TimeShift() * w2;
        // An element without a velocity gives nothing to blend: the event keeps its own.
        if (e1.mEl->mVelocity != kGrooveVelocity_None && e2.mEl->mVelocity != kGrooveVelocity_None) {
            g = static_cast<int>(e2.mEl->mVelocity * w2 + e1.mEl->mVelocity * w1);
            g = ClampVelocity(g, velStrategy == kVelocityStrategy_Deviate ? 0 : 1);
            if (!takesGrooveVelocity)
                g = v * g / kVelocityScaleDivisor;
        }
        break;
    }
    case kBeatStrategy_NearestTarget:
    case kBeatStrategy_NearestOnGrid: {
        const TWrappedEl e = DetermineWrappedGrooveEl(apply, p, offset, extraOffset, 5);
        if (e.mEl == end())
            return;
        if (apply.mBeatStrategy == kBeatStrategy_NearestOnGrid) {
            // The search counted only elements within half a grid.
            target = p + e.mDist;
        } else {
            const CGenRange<float>& range = e.mEl->mSourceBeatRange;
            if (!(range.mMinEnabled && p < range.mMin) && !(range.mMaxEnabled && p > range.mMax))
                target = p - e.mDist;
        }
        if (e.mEl->mVelocity != kGrooveVelocity_None)
            g = takesGrooveVelocity ? e.mEl->mVelocity : v * e.mEl->mVelocity / kVelocityScaleDivisor;
        break;
    }
    default:
        return;
    }

    if (GenIsDef(target) && target != p)
        ev.mBeatPos = (target - p) * apply.mApplyBeatPos + p;
    // A velocity that isn't set, or a note-on of 0 (a note-off), is passed on.
    if (g == kGrooveVelocity_None || v < 1)
        return;
    if (velStrategy == kVelocityStrategy_Deviate) {
        ev.mMB2 = ClampVelocity(v + static_cast<int>((g - kGrooveVelocityCenter) * apply.mApplyVelocity), 1);
    } else if (g != v) {
        // Kept at 1 or more so that a soft note doesn't turn into a note-off.
        ev.mMB2 = ClampVelocity(static_cast<int>((g - v) * apply.mApplyVelocity + v), 1);
    }
}

void CGenGrooveTrack::ApplyTo(CGenEvs& evs, float offset, const std::vector<int>& noteNrs,
    const CGenGrooveApply& apply) const
{
    ApplyToTakenNotes(*this, evs, offset, apply, [&noteNrs](const CGenEv& ev) {
        return std::find(noteNrs.begin(), noteNrs.end(), ev.mMB1) != noteNrs.end();
    });
}

void CGenGrooveTrack::ApplyTo(CGenEvs& evs, float offset, const CGenRange<int>& noteRange,
    const CGenGrooveApply& apply) const
{
    ApplyToTakenNotes(*this, evs, offset, apply, [&noteRange](const CGenEv& ev) { return noteRange.Contains(ev.mMB1); });
}

void CGenGrooveTrack::ApplyToUidEvs(CGenEvs& evs, float offset, const TInstTreeUids& uids,
    const CGenGrooveApply& apply, bool invert) const
{
    ApplyToTakenNotes(*this, evs, offset, apply, [&uids, invert](const CGenEv& ev) {
        const bool matches = zkgen::UidMatchesAnyNonZeroNibbles(ev.Uid(), uids);
        return invert ? !matches : (matches || uids.empty());
    });
}

CGenGroove::iterator CGenGroove::TrackForTypeCreateIfNeeded(int type)
{
    const iterator found = TrackForType(type);
    return found != end() ? found : CreateTrackForType(type);
}

CGenGroove::iterator CGenGroove::CreateTrackForType(int type)
{
    if (*CGenGrooveTrack::TypeText(type) == '\0')
        return end();
    CGenGrooveTrack track;
    if (const CGenGrooveTrack* model = FirstTrackOfTypes({CGenGrooveTrack::TType_All, CGenGrooveTrack::TType_OtherEvents}))
        track = *model;
    else if (!empty())
        track = front();
    track.mType = type;
    push_back(track);
    return std::prev(end());
}

const CGenGrooveTrack* CGenGroove::FirstTrackOfTypes(std::initializer_list<int> types) const
{
    for (int type : types) {
        const const_iterator found = TrackForType(type);
        if (found != end())
            return &*found;
    }
    return nullptr;
}

void CGenGroove::ApplyToInstType(CGenEvs& evs, float offset, const CGenGrooveApply& apply, int instType,
    const CGenDrumMap& drumMap, TPatternGraphType patternGraphType) const
{
    int trackType = CGenGrooveTrack::TType_Undef;
    switch (instType) {
    case TGenInstType_Undef: trackType = CGenGrooveTrack::TType_OtherEvents; break;
    case TGenInstType_Drums: ApplyToDrums(evs, offset, apply, drumMap, patternGraphType); return;
    case TGenInstType_Bass: trackType = CGenGrooveTrack::TType_Bass; break;
    case TGenInstType_Percussion: trackType = CGenGrooveTrack::TType_Percussion; break;
    case TGenInstType_KeysA:
    case TGenInstType_KeysB: trackType = CGenGrooveTrack::TType_KeyAll; break;
    case TGenInstType_GuitarA:
    case TGenInstType_GuitarB: trackType = CGenGrooveTrack::TType_Guitar; break;
    default: return;
    }
    ApplyToGrooveTrackType(evs, offset, apply, trackType, patternGraphType);
}

void CGenGroove::ApplyToDrums(CGenEvs& evs, float offset, const CGenGrooveApply& apply, const CGenDrumMap& /*drumMap*/,
    TPatternGraphType /*patternGraphType*/) const
{
    using T = CGenGrooveTrack;
    static const std::vector<int> kKick {36};
    static const std::vector<int> kSnare {38, 34, 37, 40, 32};
    static const std::vector<int> kToms {50, 48, 47, 45, 43, 41};
    static const std::vector<int> kHatsAndCymbals {42, 44, 46, 33, 31, 81};
    static const std::vector<int> kChinaAndRides {52, 51, 59, 53};
    static const std::vector<int> kCrashes {49, 57, 21, 29, 55};
    auto pass = [&](std::initializer_list<int> types, const std::vector<int>& noteNrs) {
        if (const CGenGrooveTrack* track = FirstTrackOfTypes(types))
            track->ApplyTo(evs, offset, noteNrs, apply);
    };
    pass({T::TType_Kick, T::TType_OtherEvents}, kKick);
    pass({T::TType_Snare, T::TType_OtherEvents}, kSnare);
    pass({T::TType_Toms, T::TType_OtherEvents}, kToms);
    for (const std::vector<int>* cymbals : {&kHatsAndCymbals, &kChinaAndRides, &kCrashes})
        pass({T::TType_SystemCymbals, T::TType_SystemAll, T::TType_OtherEvents}, *cymbals);
}

void CGenGroove::ApplyToDrumsUidEvs(CGenEvs& evs, float offset, const CGenGrooveApply& apply,
    const CGenInstTree& instTree, TPatternGraphType patternGraphType) const
{
    using T = CGenGrooveTrack;
    TInstTreeUids kick, snare, toms, cymbals, foot;
    instTree.CreateDrumsKickUids(kick);
    instTree.CreateDrumsSnareUids(snare);
    instTree.CreateDrumsTomUids(toms);
    instTree.CreateDrumsSystemCymbalUids(cymbals);
    instTree.CreateDrumsFootUids(foot);
    auto pass = [&](std::initializer_list<int> types, const TInstTreeUids& uids, bool invert) {
        if (const CGenGrooveTrack* track = FirstTrackOfTypes(types))
            track->ApplyToUidEvs(evs, offset, uids, apply, invert);
    };

    pass({T::TType_All, T::TType_OtherEvents}, {}, false);

    int footType = T::TType_Undef, handType = T::TType_Undef;
    switch (patternGraphType) {
    case TPatternGraphType_AccentFamily:
    case TPatternGraphType_AccentAddon:
    case TPatternGraphType_Fill:
        footType = T::TType_AccentAndFillFoot;
        handType = T::TType_AccentAndFillHand;
        break;
    case TPatternGraphType_System:
        footType = T::TType_SystemFoot;
        handType = T::TType_SystemHand;
        break;
    default: break;
    }
    if (footType != T::TType_Undef) {
        pass({footType, T::TType_OtherEvents}, foot, false);
        // The hand track takes everything that isn't played by foot.
        pass({handType, T::TType_OtherEvents}, foot, true);
    }

    pass({T::TType_Kick, T::TType_OtherEvents}, kick, false);
    pass({T::TType_Snare, T::TType_OtherEvents}, snare, false);
    pass({T::TType_Toms, T::TType_OtherEvents}, toms, false);
    // The non-cymbal system track has no pass of its own.
    pass({T::TType_SystemCymbals, T::TType_SystemAll, T::TType_OtherEvents}, cymbals, false);
}

void CGenGroove::ApplyToGrooveTrackType(CGenEvs& evs, float offset, const CGenGrooveApply& apply, int trackType,
    TPatternGraphType /*patternGraphType*/) const
{
    const const_iterator track = TrackForType(trackType);
    if (track != end())
        track->ApplyTo(evs, offset, CGenRange<int>(0, 127, false, true), apply);
}
