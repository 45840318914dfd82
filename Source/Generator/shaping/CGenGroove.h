#pragma once

#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/shaping/CGenGrooveApply.h"

#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

class CGenDrumMap;
class CGenEv;
class CGenEvs;
class CGenInstTree;

// Grooves: recordings of timing and dynamics, per instrument track, that a
// genre keeps, and their application to events (CGenGrooveApplyTo.cpp). An
// event is moved toward where the groove played it and its velocity scaled,
// each by a strength of CGenGrooveApply.

// The values of CGenGrooveApply::mBeatStrategy. The stored numbers are fixed.
// 0 and 1 interpolate the shifts of the elements before and after an event,
// and act alike; 1 is what new parameters start with.
inline constexpr int kBeatStrategy_Interpolate = 0;
inline constexpr int kBeatStrategy_InterpolateAlike = 1;
// The nearest element: the event moves by the distance from its loop position
// to the element's target, so onto where the element was played; an enabled
// bound of the element's source range keeps events beyond it in place.
inline constexpr int kBeatStrategy_NearestTarget = 2;
// The nearest element within half a source grid; the event snaps onto its
// source position.
inline constexpr int kBeatStrategy_NearestOnGrid = 3;

// The values of CGenGrooveApply::mVelocityStrategy. 0 to 2 scale the event's
// velocity by the groove's (velocity * groove / 255); 0 and 1 also ask for the
// statistics of the event list, which nothing gathers, so they act as 2.
inline constexpr int kVelocityStrategy_ScaleToList = 0;
inline constexpr int kVelocityStrategy_ScaleToListAlike = 1;
inline constexpr int kVelocityStrategy_Scale = 2;
// The groove's velocity itself is the goal.
inline constexpr int kVelocityStrategy_Take = 3;
// The groove's velocity is a signed deviation from kGrooveVelocityCenter,
// added to the event's.
inline constexpr int kVelocityStrategy_Deviate = 4;
inline constexpr int kGrooveVelocityCenter = 64;
// An element's velocity that says "none": the event keeps its own.
inline constexpr uint8_t kGrooveVelocity_None = 255;

// Velocity statistics of an event list (255 = not computed). Strategies 0
// and 1 ask for them, but no pass fills them: each pass starts a fresh,
// undefined record, and the scaling divisor stays 255.
struct TVelocityMinMaxAvrg {
    static constexpr uint8_t kUndef = 255;
    uint8_t mMin = kUndef;
    uint8_t mMax = kUndef;
    uint8_t mAvrg = kUndef;
};

// One played note against the straight grid: the source range it captures
// (mMin is the source position), where it was played, how hard (255 none).
class CGenGrooveEl {
public:
    CGenRange<float> mSourceBeatRange {0.0f, 0.0f};
    float mTargetBeatPos = 0.0f;
    uint8_t mVelocity = 255;

    CGenGrooveEl() = default;
    CGenGrooveEl(float min, float max, float target, uint8_t velocity)
        : mSourceBeatRange(min, max), mTargetBeatPos(target), mVelocity(velocity)
    {
    }
    float TimeShift() const { return mTargetBeatPos - mSourceBeatRange.mMin; }
    float SourceBeatPos() const { return mSourceBeatRange.mMin; }
    bool operator==(const CGenGrooveEl& o) const
    {
        return mSourceBeatRange == o.mSourceBeatRange && mTargetBeatPos == o.mTargetBeatPos && mVelocity == o.mVelocity;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mSourceBeatRange", mSourceBeatRange);
        ar& boost::serialization::make_nvp("mTargetBeatPos", mTargetBeatPos);
        if (version >= 1) {
            ar& boost::serialization::make_nvp("mVelocity", mVelocity);
        } else {
            uint8_t dummy = 255;
            ar& boost::serialization::make_nvp("dummy", dummy);
            mVelocity = 255;
        }
    }
};
BOOST_CLASS_VERSION(CGenGrooveEl, 1)
std::ostream& operator<<(std::ostream& os, const CGenGrooveEl& el);

// Lets the shared position searches (GenFindElWithBeatPos) run over a track's
// elements by their source positions.
inline float GenElBeatPos(const CGenGrooveEl& el) { return el.SourceBeatPos(); }

// The elements of one instrument track, sorted by source position.
class CGenGrooveTrack : public std::vector<CGenGrooveEl> {
public:
    using TBase = std::vector<CGenGrooveEl>;
    using TBase::TBase;

    enum TType : int {
        TType_Undef = 0,
        TType_All = 1,
        TType_AccentAndFillFoot,
        TType_AccentAndFillHand,
        TType_SystemFoot,
        TType_SystemHand,
        TType_Kick,
        TType_Snare,
        TType_Toms,
        TType_SystemAll,
        TType_SystemCymbals,
        TType_SystemNonCymbals,
        TType_OtherEvents,
        TType_Bass,
        TType_Percussion,
        TType_Guitar,
        TType_KeyAll,
        TType_KeyLH,
        TType_KeyRH,
        TType_PercussionTrack1,
        TType_PercussionTrack2,
    };
    // The display text of a type; "" outside 1..20.
    static const char* TypeText(int type);

    int mType = TType_All;
    // The loop length; 0 or below: derived from the elements.
    float mBeatLength = 0.0f;

    // A found element and its distance from the event's loop position, in
    // beats: for strategies other than 2 the element's position minus the loop
    // position, for strategy 2 the loop position minus the target. Nothing
    // found: end() and TGenBeatPos_Undef.
    struct TWrappedEl {
        const_iterator mEl;
        float mDist = TGenBeatPos_Undef;
    };

    // The loop length: mBeatLength if above 0; else, with m the source
    // position of the last element, (floor(1 / m) + 1) * m for m > 0 (a track
    // ending at 3.75 wraps at 3.75), and 1 without elements or for m <= 0.
    float UsableLength() const;
    // Signed distance from pos to the nearest point of the source grid
    // (exactly half way counts as the lower point); Undef without a grid.
    static float _DistToClosestSourceBeatGrid(const CGenGrooveApply& apply, float pos);
    // The element found by `findBeat` (the modes of the bar grid: 0 at, 1 after,
    // 2 at or after, 3 before, 4 at or before, 5 and 6 nearest) around the loop
    // position fmod(pos + offset - extraOffset, UsableLength()), on the source
    // positions. A search that runs off an end wraps to the element one loop
    // away: modes 1 and 2 to the first element (distance usable length - local
    // + its position), modes 3 and 4 to the last (which then lies usable length
    // + local - its position before, a negative distance); mode 5 takes the
    // first element one loop on when that is strictly nearer than the one
    // found. Strategy 2 measures to the target position instead. Strategy 3
    // counts only an element within half a source grid (|distance| < grid *
    // 0.5), so it finds the nearest of those.
    TWrappedEl DetermineWrappedGrooveEl(const CGenGrooveApply& apply, float pos, float offset, float extraOffset,
        TFindBeat findBeat) const;
    // Whether the velocity strategy asks for the list's velocity statistics (0 and 1).
    static bool _CalcVelocityMinMaxAvrgNeeded(const CGenGrooveApply& apply);

    // Moves and scales one event by the strategies and strengths of `apply`.
    // A velocity of -1 (not set) or 0 stays; a changed velocity stays within 1 to 127.
    void ApplyTo(CGenEv& ev, float offset, float extraOffset, const CGenGrooveApply& apply,
        const TVelocityMinMaxAvrg& velocityMinMaxAvrg) const;
    // The list forms take sounding note-ons only (status 0x9n, velocity -1 or
    // at least 1) and leave the list sorted by position.
    // Notes whose number is in `noteNrs`.
    void ApplyTo(CGenEvs& evs, float offset, const std::vector<int>& noteNrs, const CGenGrooveApply& apply) const;
    // Notes whose number lies in `noteRange` where its bounds are enabled.
    void ApplyTo(CGenEvs& evs, float offset, const CGenRange<int>& noteRange, const CGenGrooveApply& apply) const;
    // Uid notes: with invert false those that match a uid of `uids` by its
    // non-zero nibbles, or all when `uids` is empty; with invert true those
    // that match none.
    void ApplyToUidEvs(CGenEvs& evs, float offset, const TInstTreeUids& uids, const CGenGrooveApply& apply,
        bool invert) const;

    bool operator==(const CGenGrooveTrack& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o) && mType == o.mType
            && mBeatLength == o.mBeatLength;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenGrooveTrack", static_cast<TBase&>(*this));
        ar& boost::serialization::make_nvp("mType", mType);
        ar& boost::serialization::make_nvp("mBeatLength", mBeatLength);
    }
};

// A named groove: its tracks.
class CGenGroove : public std::vector<CGenGrooveTrack>, public CGenTraceable<CGenGroove> {
public:
    static constexpr const char* kTraceClassName = "CGenGroove";
    using TBase = std::vector<CGenGrooveTrack>;

    std::string mName;

    CGenGroove() = default;
    explicit CGenGroove(std::string name) : mName(std::move(name)) {}

    // The first track of the type, or end().
    const_iterator TrackForType(int type) const;
    iterator TrackForType(int type);
    // The first track of the type; a missing one is made by CreateTrackForType.
    iterator TrackForTypeCreateIfNeeded(int type);
    // Appends a track of the type built from those present: a copy of "All",
    // else of "Other events", else of the first track; an empty track when
    // there is none. A type outside 1..20 makes nothing and gives end().
    iterator CreateTrackForType(int type);
    // The first track of the first of `types` that the groove has, or null.
    const CGenGrooveTrack* FirstTrackOfTypes(std::initializer_list<int> types) const;

    // The application to the events of one instrument type: -1 "Other
    // events", 0 the drum passes (ApplyToDrums), 1 "Bass", 2 "Percussion", 3
    // and 4 "Key (all)", 5 and 6 "Guitar"; other types are left alone.
    void ApplyToInstType(CGenEvs& evs, float offset, const CGenGrooveApply& apply, int instType,
        const CGenDrumMap& drumMap, TPatternGraphType patternGraphType) const;
    // The drum passes on General MIDI note numbers, in order: kick, snare,
    // toms and three lists of system cymbals, each by its own track or else
    // "Other events" (the cymbals by "System (cymbals)", "System (all)", then
    // "Other events"). The note lists are fixed; the map doesn't shape them.
    void ApplyToDrums(CGenEvs& evs, float offset, const CGenGrooveApply& apply, const CGenDrumMap& drumMap,
        TPatternGraphType patternGraphType) const;
    // The drum passes on uid events, in order: "All" on every note; the
    // foot/hand pair of the layer (accent family, add-on and fill: 2 and 3;
    // system: 4 and 5) on the foot uids and on all else; kick; snare; toms;
    // system cymbals ("System (cymbals)", else "System (all)"). Each pass
    // falls back to "Other events", so an event can be moved more than once.
    void ApplyToDrumsUidEvs(CGenEvs& evs, float offset, const CGenGrooveApply& apply, const CGenInstTree& instTree,
        TPatternGraphType patternGraphType) const;
    // The track of `trackType`, if present, on every note numbered below 128.
    void ApplyToGrooveTrackType(CGenEvs& evs, float offset, const CGenGrooveApply& apply, int trackType,
        TPatternGraphType patternGraphType) const;
    // Equally many tracks with equal elements, in order.
    bool HasSameEvs(const CGenGroove& o) const;
    // Appends a line per fault (unsorted elements, a velocity above 127
    // other than 255, an unknown track type); false when there is any.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    bool operator==(const CGenGroove& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o) && mName == o.mName;
    }
    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { os << "CGenGroove '" << mName << "' tracks " << size(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenGroove", static_cast<TBase&>(*this));
        ar& boost::serialization::make_nvp("mName", mName);
    }
};

// The grooves of a genre.
class CGenGrooves : public std::vector<CGenGroove>, public CGenTraceable<CGenGrooves> {
public:
    static constexpr const char* kTraceClassName = "CGenGrooves";
    using TBase = std::vector<CGenGroove>;
    using TBase::TBase;

    void Add(const CGenGroove& groove) { push_back(groove); }
    // Adds unless a groove with the same elements exists; its index either way.
    size_t AddIfUniqueEvs(const CGenGroove& groove);
    // Whether no groove has the same elements as this one.
    bool HasUniqueEvs(const CGenGroove& groove) const { return FindGrooveThatMatchesEvsOf(groove) == end(); }
    const_iterator FindGrooveThatMatchesEvsOf(const CGenGroove& groove) const;
    // One straight groove of one "All" track, for a genre made from nothing.
    void CreateDummy();
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    bool operator==(const CGenGrooves& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }
    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenGrooves", static_cast<TBase&>(*this));
    }
};
