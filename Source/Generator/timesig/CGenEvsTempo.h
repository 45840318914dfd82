#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include <cstdint>
#include <ostream>

inline constexpr double kGenTempo_Undef = -1.0;
inline constexpr double kGenTempo_Default = 120.0;
// Minutes per nanosecond: the factor between beats at a tempo and real time.
inline constexpr double kGenMinutesPerNano = 1.6666666666666667e-11;

// A tempo change: beats per minute from mBeatPosAbs on.
class CGenEvTempo : public CGenTraceable<CGenEvTempo> {
public:
    static constexpr const char* kTraceClassName = "CGenEvTempo";

    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    double mTempo = kGenTempo_Undef;

    CGenEvTempo() = default;
    CGenEvTempo(float pos, double tempo) : mBeatPosAbs(pos), mTempo(tempo) {}
    bool operator==(const CGenEvTempo& o) const { return mBeatPosAbs == o.mBeatPosAbs && mTempo == o.mTempo; }

    void TraceStream(std::ostream& os) const { os << "CGenEvTempo: BeatPosAbs " << mBeatPosAbs << ", Tempo " << mTempo; }
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mTempo", mTempo);
    }
};

// The tempo map of a song, ascending by position, and the conversions between
// beats and real time in integer nanoseconds. A stretch of d beats at tempo T
// lasts trunc(d / T / kGenMinutesPerNano) nanoseconds; sums over several
// stretches truncate each stretch on its own. Failures give
// TGenNanoLength_Undef or an undefined position.
class CGenEvsTempo : public CGenEvs_Templ<CGenEvTempo>, public CGenTraceable<CGenEvsTempo> {
public:
    static constexpr const char* kTraceClassName = "CGenEvsTempo";
    using TBase = CGenEvs_Templ<CGenEvTempo>;
    using TBase::TBase;

    // Element search by TFindBeat mode (as for any sorted list); end() for an
    // undefined pos.
    const_iterator FindTempoWithBeatPos(float pos, TFindBeat findBeat) const;
    // As above, but the first element instead of end() unless the map is empty.
    const_iterator FindTempoWithBeatPosUseFirstTempoLeftOfIt(float pos, TFindBeat findBeat) const;
    // A copy of the element found, its tempo replaced by 120 when the search
    // fails or finds the undefined tempo (then at pos).
    CGenEvTempo FindTempoWithBeatPosOrDefault(float pos, TFindBeat findBeat) const;

    // Tempo of the element at or before pos; -1 for an undefined pos, an
    // empty map or a pos before the first element.
    double TempoAtOrBeforeBeat(float pos) const;
    // As above with the first element's tempo instead of -1 (-1 only for an empty map).
    double TempoAtOrBeforeBeatUseFirstTempoLeftOfIt(float pos) const;
    // As above with 120 instead of -1.
    double TempoAtOrBeforeBeatOrDefault(float pos) const;

    // From position 0 to pos; a negative pos gives the negative distance.
    TGenNanoLength BeatPosAbsToNanoLength(float pos) const;
    // From a to b, with the sign of b - a. A stretch before the first element
    // runs at that element's tempo. Fails for an empty map, an undefined
    // position or a tempo of zero or below in a stretch that is crossed.
    TGenNanoLength BeatPosDistToNanoLength(float a, float b) const;
    // The inverse of BeatPosAbsToNanoLength; beyond the last element at its
    // tempo, before the first at the first element's tempo.
    float NanoPosToBeatPos(TGenNanoLength nano) const;
    // pos plus nano at the tempo in force at pos, crossing no change.
    float BeatPosAbsPlusNanoLength(float pos, TGenNanoLength nano) const;

    bool operator==(const CGenEvsTempo& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenEvsTempo", boost::serialization::base_object<TBase>(*this));
    }
};

std::ostream& operator<<(std::ostream& os, const CGenEvsTempo& m);
