#include "Generator/patterns/CGenPattern.h"

#include "Platform/ZKLog.h"
#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <utility>

using namespace zkgtest;

namespace {

CGenPattern FullPattern()
{
    CGenEvs evs(4.0f);
    evs.push_back(CGenEv(0.0f, 0.25f, st_NoteOn, 36, 100));
    evs.push_back(CGenEv(1.0f, 0.25f, st_NoteOn, 38, 90));
    CGenPattern p("Groove A", evs, CGenPatternCoordInt(35.0f, 60.0f));
    p.mMainPatternRating = 0.75f;
    p.mStartPos = 2.0f;
    p.mStartPosRepeatIntvl = 8.0f;
    p.mSignTime = CGenSignTime(3, 2);
    p.mClaveLinks.AddLinkIfNew(2, -1, 77);
    p.mTempoBPMRange = CGenRange<float>(80.0f, 140.0f);
    p.mProperties.SetFloatValueForKey(3.5, kGenPatternProp_Fill_TargetEndBeatPos);
    p.mProperties.SetStringValueForKey("soft", "feel");
    p.Dictionary().SetValueForKey(TGenDictValue(int64_t(7)), "takes");
    p.mOverlayLayerBitmaskAndBPRanges.push_back(
        CGenLayerBitmaskAndBPRange(CGenBitmask(3), CGenRange<float>(0.0f, 2.0f)));
    p.mInfo = "played with brushes";
    return p;
}

// The stored layouts of two older class versions.
struct PatternV0 {
    std::string mName;
    CGenPatternCoordInt mCoord;
    CGenEvs mEvs;
    CGenSignTime mSignTime;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mCoord", mCoord);
        ar& make_nvp("mEvs", mEvs);
        ar& make_nvp("mSignTime", mSignTime);
    }
};

struct PatternV6 {
    CGenPattern mPattern;
    std::vector<uint8_t> mDictBytes;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        using boost::serialization::make_nvp;
        CGenPattern& p = mPattern;
        ar& make_nvp("mName", p.mName);
        ar& make_nvp("mCoord", p.mCoord);
        ar& make_nvp("mMainPatternRating", p.mMainPatternRating);
        ar& make_nvp("mEvs", p.mEvs);
        ar& make_nvp("mStartPos", p.mStartPos);
        ar& make_nvp("mStartPosRepeatIntvl", p.mStartPosRepeatIntvl);
        ar& make_nvp("mSignTime", p.mSignTime);
        ar& make_nvp("mClaveLinks", p.mClaveLinks);
        ar& make_nvp("mTempoBPMRange", p.mTempoBPMRange);
        ar& make_nvp("mProperties", p.mProperties);
        ar& make_nvp("dictSerializer", mDictBytes);
        ar& make_nvp("mInfo", p.mInfo);
    }
};

} // namespace

BOOST_CLASS_VERSION(PatternV6, 6)

TEST(CGenPattern, FillTargetIsResetBeyondTheBar)
{
    CGenPattern p("fill", CGenEvs(1.5f));
    EXPECT_FLOAT_EQ(p.Properties_Fill_TargetBeatPos_ReadAndCorrect(), 0.0f);
    p.mProperties.SetFloatValueForKey(3.5, "FlTarget");
    EXPECT_FLOAT_EQ(p.Properties_Fill_TargetBeatPos_ReadAndCorrect(), 3.5f);
    // Start in the bar so that the fill ends on its target: 3.5 + 4 - 1.5.
    EXPECT_FLOAT_EQ(p.Properties_Fill_CalcEvsStartAtBeatPosInBarInSourceSignTime(), 6.0f);
    // Beyond the bar length the target counts as 0, not as the bar's end.
    p.mProperties.SetFloatValueForKey(5.0, "FlTarget");
    EXPECT_FLOAT_EQ(p.Properties_Fill_TargetBeatPos_ReadAndCorrect(), 0.0f);
    EXPECT_FLOAT_EQ(p.Properties_Fill_CalcEvsStartAtBeatPosInBarInSourceSignTime(), 2.5f);
    p.mProperties.SetFloatValueForKey(3.5, "FlTarget");
    p.mSignTime = CGenSignTime(3, 2);
    EXPECT_FLOAT_EQ(p.Properties_Fill_TargetBeatPos_ReadAndCorrect(), 0.0f);
    // A metre without a bar length falls back to 4 beats.
    p.mSignTime = CGenSignTime_Undef;
    EXPECT_FLOAT_EQ(p.Properties_Fill_TargetBeatPos_ReadAndCorrect(), 3.5f);
    p.mProperties.Clear();
    p.mProperties.SetIntValueForKey(2, "FlTarget");
    EXPECT_FLOAT_EQ(p.Properties_Fill_TargetBeatPos_ReadAndCorrect(), 2.0f);
    p.mEvs.mLength = TGenBeatLength_Undef;
    EXPECT_TRUE(GenIsUndef(p.Properties_Fill_CalcEvsStartAtBeatPosInBarInSourceSignTime()));

    EXPECT_STREQ(kGenPatternProp_Fill_OverlayRangeAcStart, "FlOvAcSt");
    EXPECT_STREQ(kGenPatternProp_Fill_OverlayRangeAcLength, "FlOvAcLn");
    EXPECT_STREQ(kGenPatternProp_Fill_OverlayRangeSyStart, "FlOvSySt");
    EXPECT_STREQ(kGenPatternProp_Fill_OverlayRangeSyLength, "FlOvSyLn");
    EXPECT_STREQ(kGenPatternProp_Fill_OverlayRangePercStart, "FlOvPeSt");
    EXPECT_STREQ(kGenPatternProp_Fill_OverlayRangePercLength, "FlOvPeLn");
}

TEST(CGenPattern, OverlayRecordsWithEqualRangesMerge)
{
    CGenPattern p;
    auto& r = p.mOverlayLayerBitmaskAndBPRanges;
    r.push_back(CGenLayerBitmaskAndBPRange(CGenBitmask(1), CGenRange<float>(0.0f, 1.0f)));
    r.push_back(CGenLayerBitmaskAndBPRange(CGenBitmask(2), CGenRange<float>(1.0f, 2.0f)));
    r.push_back(CGenLayerBitmaskAndBPRange(CGenBitmask(4), CGenRange<float>(0.0f, 1.0f)));
    r.push_back(CGenLayerBitmaskAndBPRange(CGenBitmask(8), CGenRange<float>(0.0f, 1.0f, true, false)));
    r.push_back(CGenLayerBitmaskAndBPRange(CGenBitmask(16), CGenRange<float>(1.0f, 2.0f)));
    p.OverlayLayerBitmaskAndBPRanges_Consolidate();
    ASSERT_EQ(r.size(), 3u);
    EXPECT_EQ(r[0].mLayerBitmask.Bits(), 5u);
    EXPECT_EQ(r[1].mLayerBitmask.Bits(), 18u);
    EXPECT_EQ(r[2].mLayerBitmask.Bits(), 8u);
    EXPECT_FALSE(r[2].mBeatPosRelRange.mMaxEnabled);
}

TEST(CGenPattern, DictionaryIsMadeOnFirstWriteAndCopiedDeep)
{
    CGenPattern p("a");
    const CGenPattern& cp = p;
    EXPECT_EQ(cp.Dictionary(), nullptr);
    p.Dictionary().SetValueForKey(TGenDictValue(int64_t(1)), "k");
    ASSERT_NE(cp.Dictionary(), nullptr);
    CGenPattern copy(p);
    copy.Dictionary().SetValueForKey(TGenDictValue(int64_t(2)), "k");
    EXPECT_EQ(cp.Dictionary()->IntegerForKey("k"), 1);
    EXPECT_FALSE(copy == p);
    copy = p;
    EXPECT_TRUE(copy == p);
}

TEST(CGenPattern, ArchivesEveryField)
{
    const CGenPattern p = FullPattern();
    const CGenPattern t = TextRoundTrip(p);
    EXPECT_EQ(t, p);
    ASSERT_NE(t.Dictionary(), nullptr);
    EXPECT_EQ(t.Dictionary()->IntegerForKey("takes"), 7);
    EXPECT_EQ(BinaryRoundTrip(p), p);
    EXPECT_EQ(XmlRoundTrip(p), p);
    EXPECT_EQ(TextRoundTrip(CGenPattern()), CGenPattern());

    CGenPatterns pool {FullPattern(), CGenPattern("other", CGenEvs(2.0f))};
    const CGenPatterns back = TextRoundTrip(pool);
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(back[0], pool[0]);
    EXPECT_EQ(back[1], pool[1]);
    EXPECT_EQ(pool.FindPatternThatMatches(CGenEvs(2.0f), CGenEvsCompare(0, CGenEvCompare(0))), 1u);
    EXPECT_EQ(pool.FindPatternThatMatches(CGenEvs(3.0f), CGenEvsCompare(0, CGenEvCompare(0))), 1u);
    EXPECT_EQ(pool.FindPatternThatMatches(p.mEvs, CGenEvsCompare(0, CGenEvCompare(0))), 0u);
    CGenEvs other(4.0f);
    other.push_back(CGenEv(3.0f, 0.25f, st_NoteOn, 36, 100));
    EXPECT_EQ(pool.FindPatternThatMatches(other, CGenEvsCompare(0, CGenEvCompare(0))), 2u);
}

TEST(CGenPattern, OlderVersionsLeaveTheLaterFieldsAtTheirDefaults)
{
    PatternV0 old;
    old.mName = "old";
    old.mCoord = CGenPatternCoordInt(10.0f, 20.0f);
    old.mEvs = CGenEvs(4.0f);
    old.mEvs.push_back(CGenEv(0.5f, 0.25f, st_NoteOn, 42, 64));
    old.mSignTime = CGenSignTime(6, 3);
    CGenPattern r = FullPattern();
    ASSERT_TRUE(FromTextArchive(ToTextArchive(old), r));
    EXPECT_EQ(r.mName, "old");
    EXPECT_EQ(r.mCoord, CGenPatternCoordInt(10.0f, 20.0f));
    EXPECT_EQ(r.mEvs, old.mEvs);
    EXPECT_EQ(r.mSignTime, CGenSignTime(6, 3));
    EXPECT_FLOAT_EQ(r.mMainPatternRating, 0.0f);
    EXPECT_TRUE(GenIsUndef(r.mStartPos));
    EXPECT_TRUE(r.mClaveLinks.empty());
    EXPECT_EQ(r.mTempoBPMRange, CGenRange<float>(-1.0f, -1.0f));
    EXPECT_TRUE(r.mProperties.empty());
    EXPECT_EQ(std::as_const(r).Dictionary(), nullptr);
    EXPECT_TRUE(r.mOverlayLayerBitmaskAndBPRanges.empty());
    EXPECT_EQ(r.mInfo, "");

    // Version 6: every field but the overlay records, and the dictionary as bytes.
    PatternV6 v6 {FullPattern(), {}};
    CGenPattern expected = FullPattern();
    expected.mOverlayLayerBitmaskAndBPRanges.clear();
    const CGenPattern full = FullPattern();
    v6.mDictBytes = zkgen::EncodePatternDictionary(full.Dictionary(), "");
    ASSERT_TRUE(FromTextArchive(ToTextArchive(v6), r));
    EXPECT_EQ(r, expected);

    // Bytes that are no keyed archive: no dictionary, and the storage log says why.
    ZKLogCapture log;
    v6.mDictBytes = {1, 2, 3};
    ASSERT_TRUE(FromTextArchive(ToTextArchive(v6), r));
    EXPECT_EQ(std::as_const(r).Dictionary(), nullptr);
    const auto texts = log.Texts(ZKLogCategory_GeneratorStorage);
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0].rfind("CGenPattern 'Groove A': dictionary not read: ", 0), 0u);
}
