#pragma once

#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <cstdint>
#include <ostream>

// One 64-bit word of flags; bit i stands for layer i of a pattern. Only the low
// 32 bits are reachable from scripts.
class CGenBitmask : public CGenTraceable<CGenBitmask> {
public:
    static constexpr const char* kTraceClassName = "CGenBitmask";

    uint64_t mBitmask = 0;

    constexpr CGenBitmask() = default;
    constexpr explicit CGenBitmask(uint64_t bits) : mBitmask(bits) {}

    constexpr uint64_t Bits() const { return mBitmask; }
    constexpr bool IsEmpty() const { return mBitmask == 0; }
    constexpr bool IsBitSet(unsigned i) const { return i < 64 && ((mBitmask >> i) & 1u); }
    constexpr void SetBit(unsigned i) { if (i < 64) mBitmask |= (uint64_t(1) << i); }
    constexpr void ClearBit(unsigned i) { if (i < 64) mBitmask &= ~(uint64_t(1) << i); }
    constexpr bool Intersects(const CGenBitmask& o) const { return (mBitmask & o.mBitmask) != 0; }
    // Index of the lowest set bit, -1 for an empty mask.
    int LowestSetBitIx() const { return mBitmask == 0 ? -1 : __builtin_ctzll(mBitmask); }

    constexpr CGenBitmask operator|(const CGenBitmask& o) const { return CGenBitmask(mBitmask | o.mBitmask); }
    constexpr CGenBitmask operator&(const CGenBitmask& o) const { return CGenBitmask(mBitmask & o.mBitmask); }
    constexpr bool operator==(const CGenBitmask& o) const = default;
    constexpr bool operator<(const CGenBitmask& o) const { return mBitmask < o.mBitmask; }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBitmask", mBitmask);
    }
};

inline constexpr CGenBitmask kGenLayerBitmask_None {0};
inline constexpr CGenBitmask kGenLayerBitmask_All {~uint64_t(0)};

std::ostream& operator<<(std::ostream& os, const CGenBitmask& m);

// A stretch of a pattern (relative to its start) where events of the given
// layers may be overlaid.
class CGenLayerBitmaskAndBPRange : public CGenTraceable<CGenLayerBitmaskAndBPRange> {
public:
    static constexpr const char* kTraceClassName = "CGenLayerBitmaskAndBPRange";

    CGenBitmask mLayerBitmask;
    CGenRange<float> mBeatPosRelRange;

    CGenLayerBitmaskAndBPRange() = default;
    CGenLayerBitmaskAndBPRange(CGenBitmask mask, CGenRange<float> range) : mLayerBitmask(mask), mBeatPosRelRange(range) {}

    bool operator==(const CGenLayerBitmaskAndBPRange& o) const = default;

    void TraceStream(std::ostream& os) const { os << "mask " << mLayerBitmask << " range " << mBeatPosRelRange; }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mLayerBitmask", mLayerBitmask);
        ar& boost::serialization::make_nvp("mBeatPosRelRange", mBeatPosRelRange);
    }
};
using CGenLayerBitmaskAndBPRanges = std::vector<CGenLayerBitmaskAndBPRange>;
