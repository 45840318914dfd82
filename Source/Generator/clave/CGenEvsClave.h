#pragma once

#include "Generator/CGenEv.h"
#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <vector>

class CGenEvsSignTime;

// Velocity of a clave weight, for showing a clave as notes and for the
// averaging of claves. The curve is linear over the whole signed weight range:
//   velocity = round(1 + 126 * (weight + 127) / 254), weight clamped to -127..127
// so weight -127 gives 1, weight 0 the default velocity 64 and weight 127 gives
// 127; it never decreases with the weight. The undefined weight (-128) is not
// a point of the curve: it gives the default velocity 64, so that a clave
// event without a weight still sounds.
int ClaveWeightToVelocity(int weight);

// One accent of a clave: a position (absolute, or relative to its pattern),
// a weight and a pitch.
class CGenEvClave : public CGenTraceable<CGenEvClave> {
public:
    static constexpr const char* kTraceClassName = "CGenEvClave";
    static constexpr int8_t kWeight_Undef = -128;
    static constexpr uint8_t kPitch_Undef = 128;

    float mBeatPos = TGenBeatPos_Undef;
    int8_t mWeight = kWeight_Undef;
    uint8_t mPitch = kPitch_Undef;

    CGenEvClave() = default;
    CGenEvClave(float pos, int8_t weight, uint8_t pitch = kPitch_Undef) : mBeatPos(pos), mWeight(weight), mPitch(pitch) {}

    bool WeightIsUndef() const { return mWeight == kWeight_Undef; }
    bool PitchIsUndef() const { return mPitch == kPitch_Undef; }
    // A note at the position, a sixteenth long, with the pitch as note number
    // (-1 when undefined) and the velocity of the weight.
    CGenEv ConvertToGenEv() const;

    bool operator==(const CGenEvClave& o) const
    {
        return mBeatPos == o.mBeatPos && mWeight == o.mWeight && mPitch == o.mPitch;
    }

    void TraceStream(std::ostream& os) const
    {
        os << "CGenEvClave: BeatPos " << mBeatPos << ", Weight " << int(mWeight) << ", Pitch " << int(mPitch);
    }
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPos", mBeatPos);
        ar& boost::serialization::make_nvp("mWeight", mWeight);
        ar& boost::serialization::make_nvp("mPitch", mPitch);
    }
};

// The clave list archives its element vector as "TCGenSeqTempl" followed by
// "mLength", unlike the other sorted lists.
template <>
template <class Archive>
void CGenEvs_Templ<CGenEvClave>::serialize(Archive& ar, const unsigned int /*version*/)
{
    ar& boost::serialization::make_nvp("TCGenSeqTempl", static_cast<TVec&>(*this));
    ar& boost::serialization::make_nvp("mLength", mLength);
}

// The bits of one bar: bit k stands for the k-th grid position of the bar
// that starts at mBeatPosAbs.
struct TEvAsBitsInBar {
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    uint64_t mBits = 0;

    bool operator==(const TEvAsBitsInBar&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mBits", mBits);
    }
};

// A clave as bits per bar, ascending by bar start.
class TEvsAsBitsInBars : public std::vector<TEvAsBitsInBar> {
public:
    using TBase = std::vector<TEvAsBitsInBar>;
    using TBase::TBase;

    // The record of the bar holding pos: the last one starting at or before
    // it; end() before the first or for an undefined pos.
    const_iterator FindIteratorForBeatPosAbs(float pos) const;
    // Same size and the same bits in order; positions are not compared.
    static bool Match(const TEvsAsBitsInBars& a, const TEvsAsBitsInBars& b);

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TEvsAsBitsInBars_BaseClass", static_cast<TBase&>(*this));
    }
};

// A clave track: accents sorted by position, with a length in beats.
class CGenEvsClave : public CGenEvs_Templ<CGenEvClave>, public CGenTraceable<CGenEvsClave> {
public:
    static constexpr const char* kTraceClassName = "CGenEvsClave";
    using TBase = CGenEvs_Templ<CGenEvClave>;
    using TBase::TBase;
    // The tolerance the generator reads the clave with.
    static constexpr float kDefaultTolerance = 0.125f;

    // Bits of one bar on the eighth-note grid on the beat (0, 0.5, 1, ...)
    // from startPos rounded to a multiple of 0.5. An event counts for a grid
    // point g when it lies in [max(g - tolerance, 0), g + tolerance] and at or
    // before mLength (so an undefined mLength gives no bits). At most 64 bits.
    uint64_t EvsAsBitsInBar8thOnBeat(float startPos, int bitCount, float tolerance) const;
    // The same off the beat (0.25, 0.75, ...): startPos rounded to a multiple
    // of 0.25, and moved up by 0.25 from a multiple of 0.5.
    uint64_t EvsAsBitsInBar8thOffBeat(float startPos, int bitCount, float tolerance) const;
    // Every bar from firstBar up to (not including) endBar, TGenBarNr_Undef
    // meaning no limit, until mLength; two bits per beat. Bars without a
    // metre are skipped.
    void EvsAsBitsInBars8thOnBeat(const CGenEvsSignTime& signTime, int firstBar, int endBar, float tolerance,
        TEvsAsBitsInBars& out) const;
    void EvsAsBitsInBars8thOffBeat(const CGenEvsSignTime& signTime, int firstBar, int endBar, float tolerance,
        TEvsAsBitsInBars& out) const;

    // Sum of weight[i] * weight[i + lag] over the events of [from, to), lag in
    // events; partners outside the range and undefined weights are skipped.
    double CalcWeightAutoCorrelationAtLag(int lag, const_iterator from, const_iterator to) const;
    // The same with lag in beats: the partner of an event at p is the event of
    // the range nearest to p + lag (the earlier when equal), when it lies
    // closer than tolerance.
    double CalcWeightAutoCorrelationAtLagBeatLength(float lag, float tolerance, const_iterator from, const_iterator to) const;

    bool operator==(const CGenEvsClave& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenEvsClave", boost::serialization::base_object<TBase>(*this));
    }

private:
    uint64_t _EvsAsBitsInBar(float roundedStart, int bitCount, float tolerance) const;
    void _EvsAsBitsInBars(bool onBeat, const CGenEvsSignTime& signTime, int firstBar, int endBar, float tolerance,
        TEvsAsBitsInBars& out) const;
};

std::ostream& operator<<(std::ostream& os, const CGenEvsClave& evs);

// One bar of 4 beats from bits: an event with the weight and the undefined
// pitch at each set bit, lowest first, on the eighth grid on the beat
// (0, 0.5, ...) or off it (0.25, 0.75, ...). out is cleared first.
void ClaveEvsFromEvsAsBitsInBar8thOnBeat(uint64_t bits, CGenEvsClave& out, int8_t weight);
void ClaveEvsFromEvsAsBitsInBar8thOffBeat(uint64_t bits, CGenEvsClave& out, int8_t weight);

namespace zkgen {

// Whether a list has an element within [max(g - tolerance, 0), g + tolerance]
// that lies at or before the list's length.
template <class TEvs>
bool GridPointHit(const TEvs& evs, float g, float tolerance)
{
    using T = typename TEvs::value_type;
    const float lo = std::max(g - tolerance, 0.0f);
    auto it = std::lower_bound(evs.begin(), evs.end(), lo, [](const T& el, float p) { return GenElBeatPos(el) < p; });
    return it != evs.end() && GenElBeatPos(*it) <= g + tolerance && GenElBeatPos(*it) <= evs.mLength;
}

// Grid points one match may walk; a longer walk is cut there.
inline constexpr long kMaxGridMatchSteps = 1L << 22;

} // namespace zkgen

// Similarity of two sorted lists on a grid: walks g from posA in a and h from
// posB in b by gridStep (1 for 0) while g <= endPos, and counts the points at
// which both or neither list has an event within the tolerance; the result is
// that count over the number of points. 0 when endPos < posA. A list whose
// length is not above 0 matches another such list with 1 and any other list
// undefined. With a defined abortThreshold the running ratio is returned as
// soon as it falls below it. Undefined for undefined arguments or a negative
// grid step.
template <class TEvsA, class TEvsB>
float GenEvsMatchByGrid(const TEvsA& a, float posA, const TEvsB& b, float posB, float endPos, float gridStep,
    float tolerance, float abortThreshold = TPercent_Undef)
{
    if (GenIsUndef(posA) || GenIsUndef(posB) || GenIsUndef(endPos) || GenIsUndef(tolerance))
        return TPercent_Undef;
    if (endPos < posA)
        return 0.0f;
    const bool aEmpty = !(a.mLength > 0.0f), bEmpty = !(b.mLength > 0.0f);
    if (aEmpty)
        return bEmpty ? 1.0f : TPercent_Undef;
    if (bEmpty)
        return TPercent_Undef;
    const float step = gridStep == 0.0f ? 1.0f : gridStep;
    if (!(step > 0.0f))
        return TPercent_Undef;
    long matches = 0, steps = 0;
    for (long k = 0; k < zkgen::kMaxGridMatchSteps; ++k) {
        const float g = posA + step * float(k);
        if (!(g <= endPos))
            break;
        const float h = posB + step * float(k);
        if (zkgen::GridPointHit(a, g, tolerance) == zkgen::GridPointHit(b, h, tolerance))
            ++matches;
        ++steps;
        if (GenIsDef(abortThreshold)) {
            const float running = float(matches) / float(steps);
            if (running < abortThreshold)
                return running;
        }
    }
    return steps == 0 ? 0.0f : float(matches) / float(steps);
}
