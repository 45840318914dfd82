#pragma once

#include "Generator/CGenSerialization.h"

#include <cstdint>
#include <vector>

// The engine's random generator: a linear congruential generator whose exact
// sequence is part of the product. Stored seeds only reproduce a performance if
// every consumer takes its numbers in a fixed order from this sequence.
class CGenRandom {
public:
    CGenRandom() = default;
    explicit CGenRandom(uint32_t seed) { SetSeed(seed); }

    // Writes both the state and the remembered seed.
    void SetSeed(uint32_t seed)
    {
        mState = seed;
        mSeed = seed;
    }
    uint32_t Seed() const { return mSeed; }
    uint32_t State() const { return mState; }
    void SetState(uint32_t state) { mState = state; }
    // Both words from time(NULL) + (clock() & 1023).
    void SeedWithSystemClock();

    // One step: state = (state * 1103515245 + 12345) & 0x7fffffff, in wrapping
    // 32-bit arithmetic. Returns the new state.
    uint32_t Next()
    {
        mState = (mState * 1103515245u + 12345u) & 0x7fffffffu;
        return mState;
    }
    // A number below n (0 for n <= 0, which still draws).
    uint32_t NextBelow(uint32_t n) { return n == 0 ? (Next(), 0u) : Next() % n; }
    int NextIntBelow(int n) { return n <= 0 ? (Next(), 0) : static_cast<int>(Next() % static_cast<uint32_t>(n)); }
    // A percent decision: state % 100.
    uint32_t NextPercent() { return Next() % 100u; }
    // True with the given chance in percent.
    bool NextPercentBelow(uint32_t percent) { return NextPercent() < percent; }
    // A float in [0, 1) with the resolution of the generator.
    float NextUnitFloat() { return static_cast<float>(Next()) / 2147483648.0f; }

    bool operator==(const CGenRandom&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mState", mState);
        ar& boost::serialization::make_nvp("mSeed", mSeed);
    }

private:
    uint32_t mState = 0;
    uint32_t mSeed = 0;
};

using CGenRandoms = std::vector<CGenRandom>;
