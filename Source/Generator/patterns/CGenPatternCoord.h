#pragma once

#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"

#include <ostream>
#include <string>

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
