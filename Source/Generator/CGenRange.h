#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <ostream>
#include <vector>

// A closed interval whose bounds can each be switched off.
template <class T>
class CGenRange : public CGenTraceable<CGenRange<T>> {
public:
    static constexpr const char* kTraceClassName = "CGenRange";

    T mMin {};
    T mMax {};
    bool mMinEnabled = true;
    bool mMaxEnabled = true;

    CGenRange() = default;
    CGenRange(T min, T max, bool minEnabled = true, bool maxEnabled = true)
        : mMin(min), mMax(max), mMinEnabled(minEnabled), mMaxEnabled(maxEnabled)
    {
    }

    // A disabled bound doesn't restrict.
    bool Contains(T v) const { return (!mMinEnabled || v >= mMin) && (!mMaxEnabled || v <= mMax); }
    T Clamp(T v) const
    {
        if (mMinEnabled && v < mMin)
            return mMin;
        if (mMaxEnabled && v > mMax)
            return mMax;
        return v;
    }
    T Width() const { return mMax - mMin; }

    bool operator==(const CGenRange& o) const = default;
    bool operator<(const CGenRange& o) const
    {
        if (mMin != o.mMin)
            return mMin < o.mMin;
        if (mMax != o.mMax)
            return mMax < o.mMax;
        if (mMinEnabled != o.mMinEnabled)
            return mMinEnabled < o.mMinEnabled;
        return mMaxEnabled < o.mMaxEnabled;
    }

    void TraceStream(std::ostream& os) const
    {
        os << (mMinEnabled ? "[" : "(") << +mMin << ", " << +mMax << (mMaxEnabled ? "]" : ")");
    }
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mMin", mMin);
        ar& boost::serialization::make_nvp("mMax", mMax);
        if (version >= 1) {
            ar& boost::serialization::make_nvp("mMinEnabled", mMinEnabled);
            ar& boost::serialization::make_nvp("mMaxEnabled", mMaxEnabled);
        } else {
            // Before the flags existed both bounds always applied.
            mMinEnabled = true;
            mMaxEnabled = true;
        }
    }
};
ZKG_TEMPLATE_CLASS_VERSION(CGenRange, 1)

template <class T>
std::ostream& operator<<(std::ostream& os, const CGenRange<T>& r)
{
    r.TraceStream(os);
    return os;
}

// An ordered list of ranges.
template <class T>
class CGenRanges : public std::vector<CGenRange<T>>, public CGenTraceable<CGenRanges<T>> {
public:
    static constexpr const char* kTraceClassName = "CGenRanges";
    using TCGenRangesType = std::vector<CGenRange<T>>;
    using TCGenRangesType::TCGenRangesType;

    bool Contains(T v) const
    {
        for (const auto& r : *this)
            if (r.Contains(v))
                return true;
        return false;
    }
    void TraceStream(std::ostream& os) const
    {
        os << "CGenRanges size " << this->size();
        for (const auto& r : *this)
            os << " " << r;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenRangesType", static_cast<TCGenRangesType&>(*this));
    }
};
