#include "Generator/timesig/CGenSignTime.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <boost/serialization/vector.hpp>
#include <boost/serialization/version.hpp>
#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

constexpr float U = TGenBeatPos_Undef;

CGenSignTime Simplified(CGenSignTime s)
{
    s.SimplifyByReducingOrExpanding();
    return s;
}

} // namespace

TEST(CGenSignTime, LengthsAndUndefinedMetres)
{
    EXPECT_EQ(CGenSignTime_Default44.BarLength(), 4.0f);
    EXPECT_EQ(CGenSignTime(7, 3).BarLength(), 3.5f);
    EXPECT_EQ(CGenSignTime(7, 3).DenomLength(), 0.5f);
    EXPECT_EQ(CGenSignTime(15, 4).BarLength(), 3.75f);
    EXPECT_EQ(CGenSignTime(3, 1).BarLength(), 6.0f);
    EXPECT_EQ(CGenSignTime(1, 0).BarLength(), 4.0f);
    EXPECT_EQ(CGenSignTime_Undef.BarLength(), U);
    EXPECT_EQ(CGenSignTime_Undef.DenomLength(), U);
    EXPECT_TRUE(CGenSignTime_Undef.IsUndef());
    EXPECT_TRUE(CGenSignTime(0, 2).IsUndef());
    EXPECT_FALSE(CGenSignTime(1, 2).IsUndef());
    // Setter rules: negative numerators are 0, denominators below -1 are 0.
    EXPECT_EQ(CGenSignTime(-3, 2).mNom, 0);
    EXPECT_EQ(CGenSignTime(3, -1).mDenom, -1);
    EXPECT_EQ(CGenSignTime(3, -5).mDenom, 0);
    const CGenSignTime compound({3, 2, 2}, 3);
    EXPECT_EQ(compound.mNom, 7);
    EXPECT_EQ(compound.BarLength(), 3.5f);
    EXPECT_NE(compound, CGenSignTime(7, 3));
    EXPECT_EQ(CGenSignTime(std::vector<uint8_t> {5}, 3), CGenSignTime(5, 3));
    EXPECT_EQ(compound.TraceString(), "3+2+2/8");
    EXPECT_EQ(CGenSignTime(12, 3).TraceString(), "12/8");
    EXPECT_EQ(CGenSignTime_Undef.TraceString(), "0/?");
    EXPECT_EQ(compound.TraceForInitializerList(), "{{3, 2, 2}, 3}");
    EXPECT_EQ(CGenSignTime_Default44.TraceForInitializerList(), "{4, 2}");
}

TEST(CGenSignTime, SimplifyGivesTheCanonicalForm)
{
    EXPECT_EQ(Simplified(CGenSignTime(2, 1)), CGenSignTime(4, 2));
    EXPECT_EQ(Simplified(CGenSignTime(4, 3)), CGenSignTime(2, 2));
    EXPECT_EQ(Simplified(CGenSignTime(3, 3)), CGenSignTime(3, 3));
    EXPECT_EQ(Simplified(CGenSignTime(1, 1)), CGenSignTime(2, 2));
    EXPECT_EQ(Simplified(CGenSignTime(6, 3)), CGenSignTime(6, 3));
    EXPECT_EQ(Simplified(CGenSignTime(12, 3)), CGenSignTime(12, 3));
    EXPECT_EQ(Simplified(CGenSignTime(8, 4)), CGenSignTime(2, 2));
    EXPECT_EQ(Simplified(CGenSignTime(8, 3)), CGenSignTime(4, 2));
    EXPECT_EQ(Simplified(CGenSignTime(1, 0)), CGenSignTime(4, 2));
    EXPECT_EQ(Simplified(CGenSignTime(7, 3)), CGenSignTime(7, 3));
    EXPECT_EQ(Simplified(CGenSignTime_Undef), CGenSignTime_Undef);
    EXPECT_EQ(Simplified(CGenSignTime(0, 3)), CGenSignTime(0, 3));
    // Compound parts halve together; a multiple of 6 doesn't protect them.
    EXPECT_EQ(Simplified(CGenSignTime({2, 2, 2}, 3)), CGenSignTime({1, 1, 1}, 2));
    EXPECT_EQ(Simplified(CGenSignTime({4, 2}, 4)), CGenSignTime({2, 1}, 3));
    EXPECT_EQ(Simplified(CGenSignTime({3, 2}, 1)), CGenSignTime({6, 4}, 2));
    // Doubling that would overflow gives 0.
    CGenSignTime huge(1 << 30, 1);
    huge.SimplifyByReducingOrExpanding();
    EXPECT_EQ(huge.mNom, 0);
    EXPECT_EQ(huge.mDenom, 2);
}

TEST(CGenSignTime, SetFromSignTimeNormalisesParts)
{
    CGenSignTime s(5, 3);
    s.SetFromSignTime(CGenSignTime({3, 2, 2}, 3));
    EXPECT_EQ(s.mNom, 7);
    EXPECT_EQ(s.mCompoundNoms, (std::vector<uint8_t> {3, 2, 2}));
    CGenSignTime single;
    single.mCompoundNoms = {9};
    single.mNom = 9;
    single.mDenom = -4;
    s.SetFromSignTime(single);
    EXPECT_EQ(s.mNom, 9);
    EXPECT_TRUE(s.mCompoundNoms.empty());
    EXPECT_EQ(s.mDenom, 0);
    CGenSignTime negative;
    negative.mNom = -2;
    negative.mDenom = -1;
    s.SetFromSignTime(negative);
    EXPECT_EQ(s.mNom, 0);
    EXPECT_EQ(s.mDenom, -1);
}

TEST(CGenSignTime, MultiplesOfBarLengthBringAPositionIntoTheBar)
{
    const CGenSignTime s78(7, 3);
    EXPECT_EQ(s78.MultiplesOfBarLengthToGetIntoBarRange(1.0f), 0.0f);
    EXPECT_EQ(s78.MultiplesOfBarLengthToGetIntoBarRange(3.5f), -3.5f);
    EXPECT_EQ(s78.MultiplesOfBarLengthToGetIntoBarRange(8.0f), -7.0f);
    EXPECT_EQ(s78.MultiplesOfBarLengthToGetIntoBarRange(-0.5f), 3.5f);
    EXPECT_EQ(s78.MultiplesOfBarLengthToGetIntoBarRange(-7.0f), 7.0f);
    EXPECT_EQ(CGenSignTime(0, 2).MultiplesOfBarLengthToGetIntoBarRange(1.0f), U);
    EXPECT_EQ(CGenSignTime_Undef.MultiplesOfBarLengthToGetIntoBarRange(1.0f), U);
    EXPECT_EQ(s78.MultiplesOfBarLengthToGetIntoBarRange(U), U);
}

namespace {

// The field layouts of the older class versions, for writing old archives.
struct SignTimeV0 {
    int mNom = 0, mDenom = 0;
    template <class A>
    void serialize(A& ar, unsigned)
    {
        ar& boost::serialization::make_nvp("mNom", mNom);
        ar& boost::serialization::make_nvp("mDenom", mDenom);
    }
};
struct SignTimeV1 {
    int mNom = 0;
    std::vector<int> convertNoms;
    int mDenom = 0;
    template <class A>
    void serialize(A& ar, unsigned)
    {
        ar& boost::serialization::make_nvp("mNom", mNom);
        ar& boost::serialization::make_nvp("convertNoms", convertNoms);
        ar& boost::serialization::make_nvp("mDenom", mDenom);
    }
};

} // namespace
BOOST_CLASS_VERSION(SignTimeV0, 0)
BOOST_CLASS_VERSION(SignTimeV1, 1)

TEST(CGenSignTimeArchive, RoundTripsAndReadsOlderVersions)
{
    for (const CGenSignTime& s : {CGenSignTime(7, 3), CGenSignTime({3, 2, 2}, 3), CGenSignTime_Undef}) {
        EXPECT_EQ(TextRoundTrip(s), s);
        EXPECT_EQ(BinaryRoundTrip(s), s);
        EXPECT_EQ(XmlRoundTrip(s), s);
    }
    // Version 2 writes mNom, mCompoundNoms, mDenom.
    EXPECT_EQ(ToTextArchive(CGenSignTime({3, 2}, 3)), TextArchivePreamble() + " 0 2 5 2 0 3 2 3\n");
    const std::string xml = ToXmlArchive(CGenSignTime(7, 3));
    EXPECT_LT(xml.find("<mNom>"), xml.find("<mCompoundNoms"));
    EXPECT_LT(xml.find("<mCompoundNoms"), xml.find("<mDenom>"));

    CGenSignTime r;
    ASSERT_TRUE(FromTextArchive(ToTextArchive(SignTimeV0 {6, 3}), r));
    EXPECT_EQ(r, CGenSignTime(6, 3));
    ASSERT_TRUE(FromTextArchive(ToTextArchive(SignTimeV1 {7, {3, 2, 2}, 3}), r));
    EXPECT_EQ(r, CGenSignTime({3, 2, 2}, 3));
    ASSERT_TRUE(FromTextArchive(ToTextArchive(SignTimeV1 {5, {}, 2}), r));
    EXPECT_EQ(r, CGenSignTime(5, 2));
}
