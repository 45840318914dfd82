#include "Generator/clave/CGenClaveUniAlphabet.h"
#include "Generator/clave/CGenEvsClave.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

CGenEvsClave Clave(std::initializer_list<float> positions, float length, int8_t weight = 100)
{
    CGenEvsClave c(length);
    for (float p : positions)
        c.push_back(CGenEvClave(p, weight));
    return c;
}

// The first bar of a son clave on the eighth grid: 0, 1.5 and 3.
const std::initializer_list<float> kSon {0.0f, 1.5f, 3.0f};

} // namespace

TEST(ClaveWeightToVelocity, LinearOverTheSignedRangeAndMonotonic)
{
    EXPECT_EQ(ClaveWeightToVelocity(-127), 1);
    EXPECT_EQ(ClaveWeightToVelocity(0), 64);
    EXPECT_EQ(ClaveWeightToVelocity(64), 96);
    EXPECT_EQ(ClaveWeightToVelocity(100), 114);
    EXPECT_EQ(ClaveWeightToVelocity(127), 127);
    EXPECT_EQ(ClaveWeightToVelocity(300), 127);
    EXPECT_EQ(ClaveWeightToVelocity(-300), 1);
    // The undefined weight is not on the curve: it sounds at the default velocity.
    EXPECT_EQ(ClaveWeightToVelocity(CGenEvClave::kWeight_Undef), TVelocity_Default);
    int previous = 0;
    for (int w = -127; w <= 127; ++w) {
        const int v = ClaveWeightToVelocity(w);
        EXPECT_GE(v, previous) << w;
        EXPECT_GE(v, 1);
        EXPECT_LE(v, 127);
        previous = v;
    }

    const CGenEv ev = CGenEvClave(1.5f, 100, 38).ConvertToGenEv();
    EXPECT_EQ(ev.mBeatPos, 1.5f);
    EXPECT_EQ(ev.mMB0, st_NoteOn);
    EXPECT_EQ(ev.mMB1, 38);
    EXPECT_EQ(ev.mMB2, 114);
    EXPECT_EQ(CGenEvClave(0.0f, 10).ConvertToGenEv().mMB1, TNoteNrLarge_Undef);
    EXPECT_TRUE(CGenEvClave().WeightIsUndef());
    EXPECT_TRUE(CGenEvClave().PitchIsUndef());
}

TEST(CGenEvsClave, BitsOfOneBarOnAndOffTheBeat)
{
    const CGenEvsClave son = Clave(kSon, 4.0f);
    EXPECT_EQ(son.EvsAsBitsInBar8thOnBeat(0.0f, 8, 0.125f), 73u);
    EXPECT_EQ(son.EvsAsBitsInBar8thOnBeat(0.0f, 0, 0.125f), 0u);
    EXPECT_EQ(CGenEvsClave(4.0f).EvsAsBitsInBar8thOnBeat(0.0f, 8, 0.125f), 0u);
    // Both tolerance bounds are inclusive.
    EXPECT_EQ(Clave({0.625f}, 4.0f).EvsAsBitsInBar8thOnBeat(0.0f, 8, 0.125f), 2u);
    EXPECT_EQ(Clave({0.375f}, 4.0f).EvsAsBitsInBar8thOnBeat(0.0f, 8, 0.125f), 2u);
    EXPECT_EQ(Clave({0.626f}, 4.0f).EvsAsBitsInBar8thOnBeat(0.0f, 8, 0.125f), 0u);
    // Events beyond the clave's length set no bit; one exactly at it does.
    EXPECT_EQ(Clave({1.0f, 3.0f, 3.5f}, 3.0f).EvsAsBitsInBar8thOnBeat(0.0f, 8, 0.125f), 4u + 64u);
    EXPECT_EQ(Clave({1.0f}, TGenBeatLength_Undef).EvsAsBitsInBar8thOnBeat(0.0f, 8, 0.125f), 0u);
    // The start is rounded to the eighth grid, half away from zero.
    EXPECT_EQ(son.EvsAsBitsInBar8thOnBeat(0.2f, 8, 0.125f), 73u);
    EXPECT_EQ(son.EvsAsBitsInBar8thOnBeat(1.25f, 4, 0.125f), 1u + 8u);
    // Off the beat: the start moves onto an off-beat sixteenth.
    const CGenEvsClave addOn = Clave({0.25f, 0.75f, 1.75f, 3.75f}, 4.0f);
    EXPECT_EQ(addOn.EvsAsBitsInBar8thOffBeat(0.0f, 8, 0.125f), 1u + 2u + 8u + 128u);
    EXPECT_EQ(addOn.EvsAsBitsInBar8thOffBeat(0.3f, 8, 0.125f), 1u + 2u + 8u + 128u);
    EXPECT_EQ(addOn.EvsAsBitsInBar8thOffBeat(0.5f, 4, 0.125f), 1u + 4u);
    EXPECT_EQ(son.EvsAsBitsInBar8thOffBeat(0.0f, 8, 0.125f), 0u);
}

TEST(CGenEvsClave, BitsOfAllBarsFollowTheSignatureMap)
{
    // 4/4, then 3/4 from beat 8.
    const CGenEvsSignTime map {{0.0f, CGenSignTime(4, 2)}, {8.0f, CGenSignTime(3, 2)}};
    const CGenEvsClave clave = Clave({0.0f, 1.5f, 3.0f, 4.5f, 6.0f, 8.0f, 9.0f, 9.75f, 11.0f, 12.5f}, 12.0f);
    TEvsAsBitsInBars on;
    clave.EvsAsBitsInBars8thOnBeat(map, 1, TGenBarNr_Undef, 0.125f, on);
    ASSERT_EQ(on.size(), 4u);
    EXPECT_EQ(on[0], (TEvAsBitsInBar {0.0f, 73u}));
    EXPECT_EQ(on[1], (TEvAsBitsInBar {4.0f, 2u + 16u}));
    EXPECT_EQ(on[2], (TEvAsBitsInBar {8.0f, 1u + 4u}));
    EXPECT_EQ(on[3], (TEvAsBitsInBar {11.0f, 1u}));
    TEvsAsBitsInBars off;
    clave.EvsAsBitsInBars8thOffBeat(map, 1, TGenBarNr_Undef, 0.125f, off);
    ASSERT_EQ(off.size(), 4u);
    EXPECT_EQ(off[2], (TEvAsBitsInBar {8.0f, 8u}));
    EXPECT_EQ(off[0].mBits, 0u);

    TEvsAsBitsInBars some;
    clave.EvsAsBitsInBars8thOnBeat(map, 2, 4, 0.125f, some);
    ASSERT_EQ(some.size(), 2u);
    EXPECT_EQ(some[0].mBeatPosAbs, 4.0f);
    EXPECT_EQ(some[1].mBeatPosAbs, 8.0f);

    EXPECT_EQ(on.FindIteratorForBeatPosAbs(9.5f), on.begin() + 2);
    EXPECT_EQ(on.FindIteratorForBeatPosAbs(-1.0f), on.end());
    EXPECT_TRUE(TEvsAsBitsInBars::Match(on, on));
    EXPECT_FALSE(TEvsAsBitsInBars::Match(on, off));
    EXPECT_FALSE(TEvsAsBitsInBars::Match(on, some));
    EXPECT_TRUE(TEvsAsBitsInBars::Match(TEvsAsBitsInBars(), TEvsAsBitsInBars()));

    CGenEvsClave empty(0.0f);
    empty.push_back(CGenEvClave(1.0f, 100));
    empty.EvsAsBitsInBars8thOnBeat(map, 1, TGenBarNr_Undef, 0.125f, on);
    EXPECT_TRUE(on.empty());
}

TEST(CGenEvsClave, ClaveFromBitsAndUniversalNames)
{
    CGenEvsClave c;
    ClaveEvsFromEvsAsBitsInBar8thOnBeat(73u, c, 90);
    EXPECT_EQ(c, Clave(kSon, 4.0f, 90));
    EXPECT_TRUE(c[0].PitchIsUndef());
    ClaveEvsFromEvsAsBitsInBar8thOffBeat(73u, c, -1);
    EXPECT_EQ(c, Clave({0.25f, 1.75f, 3.25f}, 4.0f, -1));
    ClaveEvsFromEvsAsBitsInBar8thOnBeat(0u, c, 1);
    EXPECT_TRUE(c.empty());
    EXPECT_EQ(c.mLength, 4.0f);

    EXPECT_EQ(ClaveUniAlphabetFamilyName(73u), "111");
    EXPECT_EQ(ClaveUniAlphabetFamilyName(0u), "000");
    EXPECT_EQ(ClaveUniAlphabetFamilyName(255u), "773");
    EXPECT_EQ(ClaveUniAlphabetFamilyName(0x91u), "122");
    EXPECT_EQ(ClaveUniAlphabetAddOnName(153u), "abab");
    EXPECT_EQ(ClaveUniAlphabetAddOnName(0u), "xxxx");
    EXPECT_EQ(ClaveUniAlphabetAddOnName(255u), "cccc");
    EXPECT_EQ(ClaveUniAlphabetAddOnName(0x1Bu), "cbax");
    const CGenEvsClave song = Clave({4.0f, 4.25f, 4.75f, 5.5f, 7.0f}, 8.0f);
    EXPECT_EQ(ClaveUniAlphabetFamilyName(ClaveUniAlphabetFamilyBits(song, 4.0f)), "111");
    EXPECT_EQ(ClaveUniAlphabetAddOnName(ClaveUniAlphabetAddOnBits(song, 4.0f)), "cxxx");
}

TEST(CGenEvsClave, WeightAutoCorrelation)
{
    CGenEvsClave c(4.0f);
    c.push_back(CGenEvClave(0.0f, 100));
    c.push_back(CGenEvClave(1.0f, 50));
    c.push_back(CGenEvClave(2.0f, 100));
    c.push_back(CGenEvClave(3.0f, 50));
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLag(2, c.begin(), c.end()), 12500.0);
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLag(1, c.begin(), c.end()), 15000.0);
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLag(1, c.begin() + 1, c.end()), 10000.0);
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLag(0, c.begin(), c.end()), 25000.0);
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLagBeatLength(2.0f, 0.1f, c.begin(), c.end()), 12500.0);
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLagBeatLength(1.1f, 0.2f, c.begin(), c.end()), 15000.0);
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLagBeatLength(1.5f, 0.2f, c.begin(), c.end()), 0.0);
    // Half way between two events: the earlier one is the partner.
    EXPECT_EQ(c.CalcWeightAutoCorrelationAtLagBeatLength(0.5f, 0.6f, c.begin(), c.end()), 100.0 * 100 + 50 * 50 + 100 * 100 + 50 * 50);
}

TEST(GenEvsMatchByGrid, CountsMatchingGridPoints)
{
    const CGenEvsClave son = Clave(kSon, 4.0f);
    EXPECT_EQ(GenEvsMatchByGrid(son, 0.0f, son, 0.0f, 4.0f, 0.25f, 0.125f), 1.0f);
    // One of 17 grid points differs.
    EXPECT_EQ(GenEvsMatchByGrid(son, 0.0f, Clave({1.5f, 3.0f}, 4.0f), 0.0f, 4.0f, 0.25f, 0.125f), 16.0f / 17.0f);
    // Two silences match.
    EXPECT_EQ(GenEvsMatchByGrid(CGenEvsClave(4.0f), 0.0f, CGenEvsClave(4.0f), 0.0f, 4.0f, 0.25f, 0.125f), 1.0f);
    // Lists without length.
    EXPECT_EQ(GenEvsMatchByGrid(CGenEvsClave(0.0f), 0.0f, CGenEvsClave(0.0f), 0.0f, 4.0f, 0.25f, 0.125f), 1.0f);
    EXPECT_EQ(GenEvsMatchByGrid(CGenEvsClave(0.0f), 0.0f, son, 0.0f, 4.0f, 0.25f, 0.125f), TPercent_Undef);
    EXPECT_EQ(GenEvsMatchByGrid(son, 0.0f, CGenEvsClave(), 0.0f, 4.0f, 0.25f, 0.125f), TPercent_Undef);
    EXPECT_EQ(GenEvsMatchByGrid(son, 5.0f, son, 0.0f, 4.0f, 0.25f, 0.125f), 0.0f);
    // A grid step of 0 counts as 1: points 0..4, the son differs from silence at 0 and 3.
    EXPECT_EQ(GenEvsMatchByGrid(son, 0.0f, CGenEvsClave(4.0f), 0.0f, 4.0f, 0.0f, 0.125f), 3.0f / 5.0f);
    EXPECT_EQ(GenEvsMatchByGrid(son, 0.0f, son, 0.0f, 4.0f, -1.0f, 0.125f), TPercent_Undef);
    // Positions in A and B are walked in step: the second bar of a song against a pattern.
    const CGenEvsClave song = Clave({4.0f, 5.5f, 7.0f}, 8.0f);
    EXPECT_EQ(GenEvsMatchByGrid(song, 4.0f, son, 0.0f, 7.75f, 0.25f, 0.125f), 1.0f);
    // The abort threshold returns the running ratio once it falls below.
    const CGenEvsClave all = Clave({0, 0.5f, 1, 1.5f, 2, 2.5f, 3, 3.5f}, 4.0f);
    EXPECT_EQ(GenEvsMatchByGrid(son, 0.0f, all, 0.0f, 4.0f, 0.5f, 0.125f, 0.6f), 0.5f);
    EXPECT_EQ(GenEvsMatchByGrid(son, 0.0f, all, 0.0f, 4.0f, 0.5f, 0.125f), 4.0f / 9.0f);
}

TEST(CGenEvsClaveArchive, RoundTripsWithTheListNames)
{
    CGenEvsClave c = Clave(kSon, 4.0f, -5);
    c[1].mPitch = 37;
    EXPECT_EQ(TextRoundTrip(c), c);
    EXPECT_EQ(BinaryRoundTrip(c), c);
    EXPECT_EQ(XmlRoundTrip(c), c);
    const std::string xml = ToXmlArchive(c);
    const auto outer = xml.find("<TGenEvsClave"), seq = xml.find("<TCGenSeqTempl"), len = xml.find("<mLength>4.000000000e+00</mLength>");
    ASSERT_NE(len, std::string::npos);
    EXPECT_LT(outer, seq);
    EXPECT_LT(seq, len);
    EXPECT_NE(xml.find("<mWeight>-5</mWeight>"), std::string::npos);
    EXPECT_NE(xml.find("<mPitch>37</mPitch>"), std::string::npos);

    TEvsAsBitsInBars bits;
    bits.push_back({0.0f, 73u});
    bits.push_back({4.0f, 0xFFFFFFFFFFull});
    EXPECT_EQ(TextRoundTrip(bits), bits);
    EXPECT_EQ(BinaryRoundTrip(bits), bits);
    EXPECT_EQ(XmlRoundTrip(bits), bits);
    EXPECT_NE(ToXmlArchive(bits).find("<TEvsAsBitsInBars_BaseClass"), std::string::npos);
}
