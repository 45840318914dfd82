#include "Platform/ZKTime.h"

#include <gtest/gtest.h>

TEST(ZKTime, ClockSeedIsWallTimePlusClockBits)
{
    const std::time_t before = ZKTime();
    const uint32_t seed = ZKClockSeed();
    const std::time_t after = ZKTime();
    EXPECT_GE(seed, static_cast<uint32_t>(before));
    EXPECT_LE(seed, static_cast<uint32_t>(after) + 1023);
    EXPECT_GE(ZKClock(), 0);

    uint64_t last = ZKMonotonicNanoseconds();
    for (int i = 0; i < 1000; ++i) {
        const uint64_t now = ZKMonotonicNanoseconds();
        EXPECT_GE(now, last);
        last = now;
    }
}
