#pragma once

#include "Generator/CGenSerialization.h"

#include <boost/serialization/array.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// A set of intervals above a root, one bit per semitone 0..11.
class CSemitones {
public:
    uint16_t mBits = 0;

    CSemitones() = default;
    CSemitones(bool s0, bool s1, bool s2, bool s3, bool s4, bool s5, bool s6, bool s7, bool s8, bool s9, bool s10,
        bool s11);
    static CSemitones FromBits(uint16_t bits)
    {
        CSemitones s;
        s.mBits = bits & 0xFFF;
        return s;
    }

    bool IsEmpty() const { return mBits == 0; }
    // The interval wrapped into 0..11.
    bool HasIntvl(int intvl) const { return (mBits >> (((intvl % 12) + 12) % 12)) & 1; }
    void SetIntvl(int intvl, bool on = true)
    {
        const int i = ((intvl % 12) + 12) % 12;
        mBits = static_cast<uint16_t>(on ? (mBits | (1u << i)) : (mBits & ~(1u << i)));
    }
    int Count() const;
    // The same set seen from a root `by` semitones higher.
    CSemitones RotatedDown(int by) const;
    bool operator==(const CSemitones&) const = default;
    // "0 4 7".
    std::string ToString() const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBits", mBits);
    }
};

// What a chord must have at one semitone.
enum TSemiMatch : int {
    TSemiMatch_DontCare = 0,
    TSemiMatch_Must = 1,
    TSemiMatch_MustNot = 2,
};

class CSemitonesMatch {
public:
    std::array<TSemiMatch, 12> mMatch {};

    CSemitonesMatch() = default;
    CSemitonesMatch(TSemiMatch s0, TSemiMatch s1, TSemiMatch s2, TSemiMatch s3, TSemiMatch s4, TSemiMatch s5,
        TSemiMatch s6, TSemiMatch s7, TSemiMatch s8, TSemiMatch s9, TSemiMatch s10, TSemiMatch s11);
    // Every Must present and every MustNot absent.
    bool Matches(const CSemitones& s) const;
    bool operator==(const CSemitonesMatch&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mMatch", mMatch);
    }
};

// True if any of the matches matches; an empty list matches nothing.
class CSemitonesMatches : public std::vector<CSemitonesMatch> {
public:
    using TBase = std::vector<CSemitonesMatch>;
    using TBase::TBase;
    bool Matches(const CSemitones& s) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCSemitonesMatches", static_cast<TBase&>(*this));
    }
};
