#include "Generator/CGenRandom.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <vector>

using namespace zkgtest;

namespace {

// The generator's formula, written out independently in 64-bit arithmetic:
// state = (state * 1103515245 + 12345) mod 2^31.
std::vector<uint32_t> ReferenceStates(uint32_t seed, int n)
{
    std::vector<uint32_t> r;
    uint64_t s = seed;
    for (int i = 0; i < n; ++i) {
        s = (s * 1103515245ull + 12345ull) % 2147483648ull;
        r.push_back(static_cast<uint32_t>(s));
    }
    return r;
}

std::vector<uint32_t> Draws(CGenRandom& random, int n)
{
    std::vector<uint32_t> r;
    for (int i = 0; i < n; ++i)
        r.push_back(random.Next());
    return r;
}

} // namespace

TEST(CGenRandom, FirstStatesFromSeedsZeroAndOne)
{
    CGenRandom r0(0);
    EXPECT_EQ(Draws(r0, 5), (std::vector<uint32_t> {12345u, 1406932606u, 654583775u, 1449466924u, 229283573u}));
    CGenRandom r1(1);
    EXPECT_EQ(Draws(r1, 5), (std::vector<uint32_t> {1103527590u, 377401575u, 662824084u, 1147902781u, 2035015474u}));
    // A default generator starts from seed 0.
    CGenRandom def;
    EXPECT_EQ(def.Next(), 12345u);
}

TEST(CGenRandom, SequencesMatchTheFormulaFromSeveralSeeds)
{
    for (uint32_t seed : {0u, 1u, 2u, 42u, 12345u, 0x7fffffffu, 0x80000000u, 0xfffffffeu, 0xffffffffu}) {
        CGenRandom r(seed);
        EXPECT_EQ(Draws(r, 1000), ReferenceStates(seed, 1000)) << "seed " << seed;
        EXPECT_EQ(r.Seed(), seed);
    }
    // The high bit of a seed is lost in the first step.
    CGenRandom a(0xffffffffu), b(0x7fffffffu);
    EXPECT_EQ(a.Next(), b.Next());
}

TEST(CGenRandom, SeedingWritesBothWordsAndDrawingOnlyTheState)
{
    CGenRandom r(7);
    r.Next();
    r.Next();
    EXPECT_EQ(r.Seed(), 7u);
    EXPECT_NE(r.State(), 7u);
    r.SetSeed(1);
    EXPECT_EQ(r.State(), 1u);
    EXPECT_EQ(r.Seed(), 1u);
    EXPECT_EQ(r.Next(), 1103527590u);
}

TEST(CGenRandom, DerivedDrawsTakeTheStateModulo)
{
    const auto ref = ReferenceStates(42, 6);
    CGenRandom r(42);
    EXPECT_EQ(r.NextBelow(7), ref[0] % 7);
    EXPECT_EQ(r.NextIntBelow(3), static_cast<int>(ref[1] % 3));
    EXPECT_EQ(r.NextPercent(), ref[2] % 100);
    EXPECT_EQ(r.NextPercentBelow(50), ref[3] % 100 < 50);
    // A bound of zero still takes a number, so that the sequence stays in step.
    EXPECT_EQ(r.NextBelow(0), 0u);
    EXPECT_EQ(r.NextIntBelow(-4), 0);
    EXPECT_EQ(r.State(), ref[5]);
    CGenRandom u(0);
    EXPECT_EQ(u.NextUnitFloat(), 12345.0f / 2147483648.0f);
}

TEST(CGenRandom, SystemClockSeedIsCloseToTheTime)
{
    CGenRandom r;
    const uint32_t before = static_cast<uint32_t>(std::time(nullptr));
    r.SeedWithSystemClock();
    const uint32_t after = static_cast<uint32_t>(std::time(nullptr));
    EXPECT_EQ(r.Seed(), r.State());
    EXPECT_GE(r.Seed(), before);
    EXPECT_LE(r.Seed(), after + 1023u);
}

TEST(CGenRandom, ArchiveKeepsStateAndSeed)
{
    CGenRandom r(99);
    r.Next();
    r.Next();
    for (CGenRandom back : {TextRoundTrip(r), BinaryRoundTrip(r), XmlRoundTrip(r)}) {
        EXPECT_EQ(back, r);
        CGenRandom copy = r;
        EXPECT_EQ(Draws(back, 3), Draws(copy, 3));
    }
}
