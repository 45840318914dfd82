#include "Generator/CGenBitmask.h"
#include "Generator/CGenRange.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

using namespace zkgtest;

TEST(CGenRange, DisabledBoundsDoNotRestrict)
{
    const CGenRange<float> closed(1.0f, 2.0f);
    EXPECT_TRUE(closed.Contains(1.0f));
    EXPECT_TRUE(closed.Contains(2.0f));
    EXPECT_FALSE(closed.Contains(2.5f));
    EXPECT_EQ(closed.Clamp(0.0f), 1.0f);
    EXPECT_EQ(closed.Clamp(3.0f), 2.0f);

    const CGenRange<int> noMax(1, 2, true, false);
    EXPECT_TRUE(noMax.Contains(1000));
    EXPECT_FALSE(noMax.Contains(0));
    EXPECT_EQ(noMax.Clamp(1000), 1000);

    const CGenRange<unsigned char> noMin(10, 20, false, true);
    EXPECT_TRUE(noMin.Contains(0));
    EXPECT_EQ(noMin.Clamp(30), 20);
    EXPECT_EQ(noMin.TraceString(), "(10, 20]");
    EXPECT_EQ(closed.TraceString(), "[1, 2]");
}

TEST(CGenRangeArchive, RoundTripsInAllArchivesAtVersion1)
{
    const CGenRange<float> f(1.5f, -2.25f, false, true);
    EXPECT_EQ(TextRoundTrip(f), f);
    EXPECT_EQ(BinaryRoundTrip(f), f);
    EXPECT_EQ(XmlRoundTrip(f), f);

    const CGenRange<double> d(0.1, 1e300, true, false);
    EXPECT_EQ(TextRoundTrip(d), d);
    EXPECT_EQ(BinaryRoundTrip(d), d);
    const CGenRange<long long> ll(-(1LL << 40), 1LL << 41, false, false);
    EXPECT_EQ(TextRoundTrip(ll), ll);
    EXPECT_EQ(XmlRoundTrip(ll), ll);
    const CGenRange<unsigned char> uc(3, 250, true, false);
    EXPECT_EQ(TextRoundTrip(uc), uc);
    EXPECT_EQ(BinaryRoundTrip(uc), uc);

    // Field order: mMin, mMax, mMinEnabled, mMaxEnabled, under class version 1.
    EXPECT_EQ(ToTextArchive(CGenRange<int>(3, 7, false, true)), TextArchivePreamble() + " 0 1 3 7 0 1\n");
    const std::string xml = ToXmlArchive(CGenRange<int>(3, 7));
    const auto posMin = xml.find("<mMin>3</mMin>"), posMax = xml.find("<mMax>7</mMax>");
    const auto posMinEn = xml.find("<mMinEnabled>1</mMinEnabled>"), posMaxEn = xml.find("<mMaxEnabled>1</mMaxEnabled>");
    ASSERT_NE(posMaxEn, std::string::npos);
    EXPECT_LT(posMin, posMax);
    EXPECT_LT(posMax, posMinEn);
    EXPECT_LT(posMinEn, posMaxEn);
    EXPECT_NE(xml.find("version=\"1\""), std::string::npos);
}

TEST(CGenRangeArchive, Version0HoldsOnlyTheBoundsAndBothApply)
{
    CGenRange<float> r(9.0f, 9.0f, false, false);
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 0 1.5 2.5", r));
    EXPECT_EQ(r.mMin, 1.5f);
    EXPECT_EQ(r.mMax, 2.5f);
    EXPECT_TRUE(r.mMinEnabled);
    EXPECT_TRUE(r.mMaxEnabled);
}

TEST(CGenRangeArchive, TruncatedArchiveIsAnErrorNotACrash)
{
    CGenRange<int> r;
    EXPECT_FALSE(FromTextArchive(TextArchivePreamble() + " 0 1 3", r));
    EXPECT_FALSE(FromTextArchive("not an archive", r));
}

TEST(CGenRanges, ListArchivesUnderItsElementName)
{
    CGenRanges<float> rs;
    rs.emplace_back(0.0f, 1.0f);
    rs.emplace_back(2.0f, 3.0f, true, false);
    EXPECT_TRUE(rs.Contains(0.5f));
    EXPECT_TRUE(rs.Contains(100.0f));
    EXPECT_FALSE(rs.Contains(1.5f));
    EXPECT_EQ(TextRoundTrip(rs), rs);
    EXPECT_EQ(BinaryRoundTrip(rs), rs);
    EXPECT_EQ(XmlRoundTrip(rs), rs);
    EXPECT_NE(ToXmlArchive(rs).find("<TCGenRangesType"), std::string::npos);
    EXPECT_EQ(TextRoundTrip(CGenRanges<float>()).size(), 0u);
}

TEST(CGenBitmask, ConstantsBitsAndPrintForm)
{
    EXPECT_EQ(kGenLayerBitmask_None.Bits(), 0u);
    EXPECT_EQ(kGenLayerBitmask_All.Bits(), ~uint64_t(0));
    CGenBitmask m;
    EXPECT_EQ(m, kGenLayerBitmask_None);
    m.SetBit(0);
    m.SetBit(5);
    m.SetBit(63);
    m.SetBit(64); // beyond the word: ignored
    EXPECT_EQ(m.Bits(), 0x8000000000000021ull);
    EXPECT_TRUE(m.IsBitSet(5));
    EXPECT_FALSE(m.IsBitSet(64));
    EXPECT_EQ(m.LowestSetBitIx(), 0);
    m.ClearBit(0);
    EXPECT_EQ(m.LowestSetBitIx(), 5);
    EXPECT_EQ(kGenLayerBitmask_None.LowestSetBitIx(), -1);
    EXPECT_EQ(m.TraceString(), "0x8000000000000020");
    EXPECT_TRUE(m.Intersects(CGenBitmask(0x20)));
    EXPECT_FALSE(m.Intersects(CGenBitmask(0x40)));
}

TEST(CGenBitmask, ArchivesAsOneWord)
{
    const CGenBitmask m(0xFFFFFFFF00000001ull);
    EXPECT_EQ(TextRoundTrip(m), m);
    EXPECT_EQ(BinaryRoundTrip(m), m);
    EXPECT_EQ(XmlRoundTrip(m), m);
    EXPECT_NE(ToXmlArchive(m).find("<mBitmask>18446744069414584321</mBitmask>"), std::string::npos);

    const CGenLayerBitmaskAndBPRange lr(CGenBitmask(6), CGenRange<float>(0.5f, 3.5f, true, false));
    EXPECT_EQ(TextRoundTrip(lr), lr);
    EXPECT_EQ(BinaryRoundTrip(lr), lr);
    EXPECT_EQ(XmlRoundTrip(lr), lr);
    const std::string xml = ToXmlArchive(lr);
    EXPECT_LT(xml.find("<mLayerBitmask"), xml.find("<mBeatPosRelRange"));
}
