#pragma once

#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"

#include <ostream>
#include <string>

class CGenGeneratorParams;
class CGenPatternCoordConv;

// Pattern coordinates: a point in the plane of complexity and intensity. The
// internal scale is what analysis of a pattern's events measures; the external
// scale is the 0..100 of the user's controls. Each component can be undefined
// by itself.

using TIntnInt = float;
using TComplIntRange = CGenRange<float>;
using TIntnIntRange = CGenRange<float>;

class CGenPatternCoordInt : public CGenTraceable<CGenPatternCoordInt> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternCoordInt";

    TComplInt mComplInt = TComplInt_Undef;
    TIntnInt mIntnInt = TComplInt_Undef;

    CGenPatternCoordInt() = default;
    CGenPatternCoordInt(float complInt, float intnInt) : mComplInt(complInt), mIntnInt(intnInt) {}

    bool IsUndef() const { return GenIsUndef(mComplInt) && GenIsUndef(mIntnInt); }
    bool IsFullyDefined() const { return GenIsDef(mComplInt) && GenIsDef(mIntnInt); }
    // " Int", then "_C" with the value or "_CUndef", then "_I" likewise.
    std::string Name() const;

    // Distance in the plane, 0..1: per axis |difference| / 100 (an axis with
    // an undefined side counts 0), then min(1, sqrt(0.5 dc^2 + 0.5 di^2)).
    float IntEuclideanDistDisregardingUndefPercent(const CGenPatternCoordInt& other) const;
    // The same with each axis difference measured against the graph's range
    // of that axis: d / 100 / (max - min) * 100.
    float ExtEuclideanDistDisregardingUndefPercent(const CGenPatternCoordInt& other, const CGenPatternCoordConv& conv) const;
    // Per axis: an undefined value takes the other's, an undefined other
    // leaves it, otherwise the sum clamped to 0..100.
    void AddAndClampRegardingUndef(const CGenPatternCoordInt& other);
    // Adds other * scale per axis; an undefined value becomes other * scale
    // without a clamp.
    void AddScaledAndClampRegardingUndef(const CGenPatternCoordInt& other, float scaleCompl, float scaleIntn);

    bool operator==(const CGenPatternCoordInt&) const = default;
    bool operator<(const CGenPatternCoordInt& o) const
    {
        return mComplInt != o.mComplInt ? mComplInt < o.mComplInt : mIntnInt < o.mIntnInt;
    }

    void TraceStream(std::ostream& os) const { os << Name(); }
    void TraceStreamBrief(std::ostream& os) const { os << Name(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mComplInt", mComplInt);
        ar& boost::serialization::make_nvp("mIntnInt", mIntnInt);
    }
};

class CGenPatternCoordExt : public CGenTraceable<CGenPatternCoordExt> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternCoordExt";

    float mCompl = 0.0f;
    float mIntn = 0.0f;

    CGenPatternCoordExt() = default;
    CGenPatternCoordExt(float compl_, float intn) : mCompl(compl_), mIntn(intn) {}

    static CGenPatternCoordExt Undef() { return CGenPatternCoordExt(TComplInt_Undef, TComplInt_Undef); }
    // " Ext", then "_C" with the value or "_CUndef", then "_I" likewise.
    std::string Name() const;

    // As CGenPatternCoordInt::AddScaledAndClampRegardingUndef.
    void AddScaledAndClampRegardingUndef(const CGenPatternCoordExt& other, float scaleCompl, float scaleIntn);
    CGenPatternCoordExt CalcAddScaledAndClampRegardingUndef(const CGenPatternCoordExt& other, float scaleCompl,
        float scaleIntn) const
    {
        CGenPatternCoordExt r(*this);
        r.AddScaledAndClampRegardingUndef(other, scaleCompl, scaleIntn);
        return r;
    }

    bool operator==(const CGenPatternCoordExt&) const = default;

    void TraceStream(std::ostream& os) const { os << Name(); }
    void TraceStreamBrief(std::ostream& os) const { os << Name(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mCompl", mCompl);
        ar& boost::serialization::make_nvp("mIntn", mIntn);
    }
};

// A graph's range of its patterns on the internal scale: converts between the
// user's percentages and the graph's own values.
class CGenPatternCoordConv : public CGenTraceable<CGenPatternCoordConv> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternCoordConv";

    float mMinComplInt = TComplInt_Undef;
    float mMaxComplInt = TComplInt_Undef;
    float mMinIntnInt = TComplInt_Undef;
    float mMaxIntnInt = TComplInt_Undef;

    void SetToUndef() { mMinComplInt = mMaxComplInt = mMinIntnInt = mMaxIntnInt = TComplInt_Undef; }
    void SetToIdentity()
    {
        mMinComplInt = mMinIntnInt = 0.0f;
        mMaxComplInt = mMaxIntnInt = 100.0f;
    }

    // One component: (max - min) * (ext / 100) + min. An undefined external
    // stays undefined; an undefined min passes the external value through.
    static float ExtToIntComponent(float ext, float min, float max);
    CGenPatternCoordInt ExtToInt(const CGenPatternCoordExt& ext) const;
    // The way back: (int - min) / (max - min) * 100, 0 for a range of width
    // 0. An undefined internal stays undefined; an undefined min or max
    // passes the internal value through.
    static float IntToExtComponent(float intValue, float min, float max);
    CGenPatternCoordExt IntToExt(const CGenPatternCoordInt& coord) const;

    // A minimum above its maximum is a fault of the content: appends
    // prefix + "CGenPatternCoordConv : MinComplInt() > MaxComplInt()\n" (and
    // the same for the intensity axis) to report; false when there is any.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    bool operator==(const CGenPatternCoordConv&) const = default;

    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mMinComplInt", mMinComplInt);
        ar& boost::serialization::make_nvp("mMaxComplInt", mMaxComplInt);
        ar& boost::serialization::make_nvp("mMinIntnInt", mMinIntnInt);
        ar& boost::serialization::make_nvp("mMaxIntnInt", mMaxIntnInt);
    }
};

std::ostream& operator<<(std::ostream& os, const CGenPatternCoordInt& c);
std::ostream& operator<<(std::ostream& os, const CGenPatternCoordExt& c);

// How a rating combines a closeness a and an accepted variance b (both 0..1)
// into a factor 0..1, by strategy s (the parameters' mClosenessAndVarianceStrat):
// strategies other than 9, 10 and 11 give 1 for a >= 1 or b >= 1; 1 and 3
// give 0 for a < 1 and b <= 0; then 0 when 1 - a exceeds b, and otherwise the
// strategy's formula, limited to 1.
float ProbFactorForClosenessAndVariance(int strategy, float closeness, float variance);

// The rating of a pattern's coordinate against the coordinate the layer
// wants at `pos` (relative to the left bar of the region): 1 without params,
// with a threshold undefined or 0, or with nothing wanted; otherwise the
// closeness 1 - dist against the variance 1 - threshold. dist lowers
// `closest` when it is smaller.
float ProbFactorForPatternCoordIntAndArrangeMarkersInt(const CGenGeneratorParams* params, TPatternGraphType type,
    const CGenPatternCoordConv& conv, float threshold, float pos, const CGenPatternCoordInt& coord, float& closest);
