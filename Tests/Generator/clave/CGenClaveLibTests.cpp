#include "Generator/clave/CGenClaveLib.h"
#include "Generator/clave/CGenClaveLinks.h"

#include "Platform/ZKLog.h"
#include "TestSupport/ArchiveRoundTrip.h"

#include "TestSupport/ClaveTestData.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

// A small "Family" library: silence, the son clave's first bar, four on the floor.
CGenClaveLib FamilyLib()
{
    CGenClaveLib lib("Family");
    lib.push_back(CGenClavePattern("silent", Clave({})));
    lib.push_back(CGenClavePattern("son", Clave({0.0f, 1.5f, 3.0f})));
    lib.push_back(CGenClavePattern("four", Clave({0.0f, 1.0f, 2.0f, 3.0f})));
    lib.mInterestingPos = Grid(0.0f, 0.5f, 0.125f);
    lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    return lib;
}

} // namespace

TEST(CGenClaveLib, GridTypeFromTheInterestingPositions)
{
    CGenClaveLib lib = FamilyLib();
    EXPECT_EQ(lib.GridType(), CGenClaveLib::TGridType_8thOnBeat);
    EXPECT_EQ(lib.EvsAsBitsInBarToBestMatchingClaveIxTable().size(), 256u);

    lib.mInterestingPos = Grid(0.25f, 0.5f, 0.125f);
    lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    EXPECT_EQ(lib.GridType(), CGenClaveLib::TGridType_8thOffBeat);

    // Positions on both grids: no grid, no table, so matching takes the slow way.
    lib.mInterestingPos = Grid(0.0f, 0.25f, 0.1f);
    lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    EXPECT_EQ(lib.GridType(), CGenClaveLib::TGridType_None);
    EXPECT_TRUE(lib.EvsAsBitsInBarToBestMatchingClaveIxTable().empty());
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(73u), -1);
    EXPECT_EQ(lib.LookupBestMatchingClavePatternFromEvsAsBitsInBar(73u), lib.end());

    lib.mInterestingPos.clear();
    lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    EXPECT_EQ(lib.GridType(), CGenClaveLib::TGridType_None);
    lib.mInterestingPos = Grid(0.1f, 1.0f, 0.1f);
    lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    EXPECT_EQ(lib.GridType(), CGenClaveLib::TGridType_None);
}

TEST(CGenClaveLib, TableMapsEachBarToTheClosestPattern)
{
    const CGenClaveLib lib = FamilyLib();
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(0u), 0);
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(73u), 1);
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(85u), 2);
    // Only the downbeat: silence differs at 1 of 17 points, son at 2, four at 3.
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(1u), 0);
    // Every eighth: four on the floor is the closest.
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(255u), 2);
    // 0, 0.5, 1: silence and four tie at 14 of 17; the first wins.
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(7u), 0);
    EXPECT_EQ(lib.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(256u), -1);
    EXPECT_EQ(lib.LookupBestMatchingClavePatternFromEvsAsBitsInBar(73u)->mName, "son");

    // Patterns without a defined length take no part.
    CGenClaveLib noLength("AddOn");
    noLength.push_back(CGenClavePattern("open", Clave({0.0f}, TGenBeatLength_Undef)));
    noLength.mInterestingPos = Grid(0.0f, 0.5f, 0.125f);
    noLength.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    EXPECT_EQ(noLength.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(1u), -1);
}

TEST(CGenClaveLib, BestMatchByComparisonFromAPosition)
{
    const CGenClaveLib lib = FamilyLib();
    const CGenEvsClave song = Clave({4.0f, 5.5f, 7.0f}, 8.0f);
    EXPECT_EQ(lib.FindBestMatchingClaveIxPattern(song, 4.0f, 0.25f, 0.125f), std::make_pair(1, 1.0f));
    // The first bar is silent, but the walk through the pattern's length
    // includes 4.0, where the song has its next accent.
    EXPECT_EQ(lib.FindBestMatchingClaveIxPattern(song, 0.0f, 0.25f, 0.125f), std::make_pair(0, 16.0f / 17.0f));
    EXPECT_EQ(lib.FindBestMatchingClavePattern(song, 4.0f, 0.25f, 0.125f), lib.begin() + 1);
    EXPECT_EQ(CGenClaveLib().FindBestMatchingClaveIxPattern(song, 4.0f, 0.25f, 0.125f), std::make_pair(-1, TPercent_Undef));
    EXPECT_EQ(CGenClaveLib().FindBestMatchingClavePattern(song, 4.0f, 0.25f, 0.125f), CGenClaveLib().end());

    const CGenClaveRegions regions {{0.0f, 4.0f, Clave({0.0f, 1.5f, 3.0f})}, {16.0f, 4.0f, Clave({0.0f, 1.5f, 3.0f})},
        {32.0f, 4.0f, Clave({0.0f, 1.0f, 2.0f, 3.0f})}};
    const auto best = lib.FindBestMatchingClaveIxPattern(regions, 0.0f, 0.25f, 0.125f);
    EXPECT_EQ(best.first, 1);
    EXPECT_FLOAT_EQ(best.second, (2.0f + 14.0f / 17.0f) / 3.0f);
    EXPECT_EQ(lib.FindBestMatchingClavePattern(CGenClaveRegions(), 0.0f, 0.25f, 0.125f), lib.end());
}

TEST(CGenClaveLib, HistoryFromBitsWithTheDefaultPatternBehind)
{
    CGenClaveLib lib = FamilyLib();
    TEvsAsBitsInBars bits;
    bits.push_back({0.0f, 73u});
    bits.push_back({4.0f, 0u});
    bits.push_back({8.0f, 85u});
    bits.push_back({12.0f, 7u});
    CGenBeatedPatternIxs hist;
    lib.CreateClosestIxPatternHistFromEvsAsBitsInBars(bits, 4.0f, 16.0f, hist);
    ASSERT_EQ(hist.size(), 3u);
    EXPECT_EQ(hist[0], CGenBeatedPatternIx(4.0f, 0));
    EXPECT_EQ(hist[1], CGenBeatedPatternIx(8.0f, 2));
    EXPECT_EQ(hist[2], CGenBeatedPatternIx(12.0f, 0));

    // The tail up to the end follows the default pattern.
    lib.mDefaultPatternIxForEmptyBar = 1;
    lib.CreateClosestIxPatternHistFromEvsAsBitsInBars(bits, 4.0f, 22.0f, hist);
    ASSERT_EQ(hist.size(), 5u);
    EXPECT_EQ(hist[3], CGenBeatedPatternIx(16.0f, 1));
    EXPECT_EQ(hist[4], CGenBeatedPatternIx(20.0f, 1));
    hist.clear();
    lib._AppendDefaultClavePatternUntilEndBeatPos(2.0f, 6.0f, hist);
    EXPECT_EQ(hist, (CGenBeatedPatternIxs {{2.0f, 1}}));
    lib._AppendDefaultClavePatternUntilEndBeatPos(2.0f, TGenBeatPos_Undef, hist);
    EXPECT_EQ(hist.size(), 1u);
}

TEST(CGenClaveLib, DefaultIndexBeyondTheLibraryIsLoggedNotUsed)
{
    EXPECT_EQ(CGenClaveLib::DefaultDefaultPatternIxForName("AddOn"), 0);
    EXPECT_EQ(CGenClaveLib::DefaultDefaultPatternIxForName("Family"), 24);
    EXPECT_EQ(CGenClaveLib::DefaultDefaultPatternIxForName("family"), -1);
    EXPECT_EQ(CGenClaveLib::DefaultDefaultPatternIxForName(""), -1);

    // A "Family" library of 3 patterns defaults to index 24.
    const CGenClaveLib lib = FamilyLib();
    EXPECT_EQ(lib.DefaultPatternIxForEmptyBar(), 24);
    ZKLogCapture capture;
    CGenBeatedPatternIxs hist;
    lib.CreateClosestIxPatternHistFromEvsAsBitsInBars(TEvsAsBitsInBars(), 0.0f, 16.0f, hist);
    EXPECT_TRUE(hist.empty());
    const auto texts = capture.Texts(ZKLogCategory_GeneratorStorage);
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0], "Clave library 'Family': default pattern index 24 for empty bars lies beyond its 3 patterns");

    std::string report;
    EXPECT_FALSE(lib.CheckContentSanity("Genre 'Pop': ", report));
    EXPECT_EQ(report, "Genre 'Pop': Clave library 'Family': default pattern index 24 for empty bars lies beyond its 3 patterns\n");

    // An AddOn library defaults to its first pattern.
    CGenClaveLib addOn("AddOn");
    addOn.push_back(CGenClavePattern("none", Clave({})));
    hist.clear();
    addOn._AppendDefaultClavePatternUntilEndBeatPos(0.0f, 8.0f, hist);
    EXPECT_EQ(hist, (CGenBeatedPatternIxs {{0.0f, 0}, {4.0f, 0}}));
    report.clear();
    EXPECT_TRUE(addOn.CheckContentSanity("", report));
    EXPECT_TRUE(report.empty());
    addOn.push_back(CGenClavePattern("bad", Clave({0.0f}, 0.0f)));
    EXPECT_FALSE(addOn.CheckContentSanity("", report));
    EXPECT_EQ(report, "Clave library 'AddOn': pattern 1 'bad' has no length\n");
}

TEST(CGenClaveLib, InterestingPositionsFilterAndQuantize)
{
    const CGenClaveLib lib = FamilyLib();
    EXPECT_EQ(lib.FindInterestingPosForBeatPos(0.6f)->mBeatPos, 0.5f);
    EXPECT_TRUE(lib.IsInRangeAroundInterestingPos(3.625f));
    // Half way between two positions: the earlier one, which is too far.
    EXPECT_FALSE(lib.IsInRangeAroundInterestingPos(0.75f));
    // The test is against the position itself, so only the first loop pass matches.
    EXPECT_FALSE(lib.IsInRangeAroundInterestingPos(4.5f));
    EXPECT_EQ(lib.FindInterestingPosForBeatPos(TGenBeatPos_Undef), lib.mInterestingPos.end());

    CGenEvs evs(4.0f);
    for (float p : {0.1f, 0.75f, 1.4f, 2.0f, 4.5f})
        evs.InsertAtBeatPos(CGenEv(p, 0.25f, st_NoteOn, 36, 100));
    CGenEvs filtered = evs;
    lib.FilterEvsOnInterestingPos(filtered);
    ASSERT_EQ(filtered.size(), 3u);
    EXPECT_EQ(filtered[1].mBeatPos, 1.4f);
    CGenEvs quantized = evs;
    lib.QuantizeEvsOnInterestingPos(quantized);
    EXPECT_EQ(quantized[0].mBeatPos, 0.0f);
    EXPECT_EQ(quantized[1].mBeatPos, 0.75f);
    EXPECT_EQ(quantized[2].mBeatPos, 1.5f);
    lib.FilterAndQuantizeEvsOnInterestingPos(evs);
    ASSERT_EQ(evs.size(), 3u);
    EXPECT_EQ(evs[0].mBeatPos, 0.0f);
    EXPECT_EQ(evs[1].mBeatPos, 1.5f);
    EXPECT_EQ(evs[2].mBeatPos, 2.0f);
}

TEST(CGenClaveLib, UniquePatternsAndLibrariesByName)
{
    CGenClaveLib lib = FamilyLib();
    EXPECT_EQ(lib.AddIfUniqueEvs(CGenClavePattern("son again", Clave({0.0f, 1.5f, 3.0f}))), 1);
    EXPECT_EQ(lib.size(), 3u);
    EXPECT_EQ(lib.AddIfUniqueEvs(CGenClavePattern("rumba", Clave({0.0f, 1.5f, 3.5f}))), 3);
    EXPECT_EQ(lib.size(), 4u);
    EXPECT_EQ(lib.FindWithEvsEqual(CGenClavePattern("x", Clave({0.0f, 1.0f, 2.0f, 3.0f}))), lib.begin() + 2);
    EXPECT_EQ(lib.FindWithEvsEqual(CGenClavePattern("x", Clave({0.0f, 1.0f, 2.0f, 3.0f}, 8.0f))), lib.end());

    CGenClaveLibs libs(lib);
    ASSERT_EQ(libs.size(), 1u);
    libs.push_back(CGenClaveLib("AddOn"));
    EXPECT_EQ(libs.FindClaveLibForName("AddOn"), &libs[1]);
    EXPECT_EQ(libs.FindClaveLibForName("Family")->size(), 4u);
    EXPECT_EQ(libs.FindClaveLibForName("Other"), nullptr);
}

TEST(CGenClaveLinks, OneLinkPerPatternAndOffset)
{
    CGenClaveLinks links;
    EXPECT_TRUE(links.AddLinkIfNew(3, 0, 80));
    EXPECT_FALSE(links.AddLinkIfNew(3, 0, 20));
    EXPECT_TRUE(links.AddLinkIfNew(3, -4, 40));
    EXPECT_EQ(links.MatchToIxClavePatternPercent(3, 0), 80);
    EXPECT_EQ(links.MatchToIxClavePatternPercent(3, -4), 40);
    EXPECT_EQ(links.MatchToIxClavePatternPercent(4, 0), 0);
    EXPECT_TRUE(links.MatchToIxClavePatternAllowed(3, -4));
    EXPECT_FALSE(links.MatchToIxClavePatternAllowed(3, 4));

    links.ChangeLinkOrAddIfNew(3, 0, 60, true);
    EXPECT_EQ(links.MatchToIxClavePatternPercent(3, 0), 80);
    links.ChangeLinkOrAddIfNew(3, 0, 60, false);
    EXPECT_EQ(links.MatchToIxClavePatternPercent(3, 0), 60);
    links.ChangeLinkOrAddIfNew(5, 0, 250, false);
    EXPECT_EQ(links.MatchToIxClavePatternPercent(5, 0), 100);
    CGenClaveLink& added = links.FindOrAddLinkFor(7, 2);
    EXPECT_EQ(added.mMatchToClavePercentInt8, 0);
    EXPECT_EQ(links.size(), 4u);
    EXPECT_EQ(&links.FindOrAddLinkFor(3, 0), &links[0]);

    links.EraseAllClaveLinksFor(3);
    EXPECT_EQ(links.size(), 2u);
    EXPECT_EQ(links.FindLinkFor(3, -4), links.end());
}

namespace {

struct ClaveLinkV0 {
    int32_t mIxClavePattern = 0;
    int8_t mMatchToClavePercentInt8 = 0;
    template <class A>
    void serialize(A& ar, unsigned)
    {
        ar& boost::serialization::make_nvp("mIxClavePattern", mIxClavePattern);
        ar& boost::serialization::make_nvp("mMatchToClavePercentInt8", mMatchToClavePercentInt8);
    }
};

// Class version 1 of a library: patterns, name, interesting positions.
struct ClaveLibV1 {
    std::vector<CGenClavePattern> mPatterns;
    std::string mName;
    CGenEvs mInterestingPos;
    template <class A>
    void serialize(A& ar, unsigned)
    {
        ar& boost::serialization::make_nvp("TCGenClaveLib", mPatterns);
        ar& boost::serialization::make_nvp("mName", mName);
        ar& boost::serialization::make_nvp("mInterestingPos", mInterestingPos);
    }
};
// Class version 0: no name either.
struct ClaveLibV0 {
    std::vector<CGenClavePattern> mPatterns;
    CGenEvs mInterestingPos;
    template <class A>
    void serialize(A& ar, unsigned)
    {
        ar& boost::serialization::make_nvp("TCGenClaveLib", mPatterns);
        ar& boost::serialization::make_nvp("mInterestingPos", mInterestingPos);
    }
};

} // namespace
BOOST_CLASS_VERSION(ClaveLinkV0, 0)
BOOST_CLASS_VERSION(ClaveLibV1, 1)
BOOST_CLASS_VERSION(ClaveLibV0, 0)

TEST(CGenClaveArchive, LibrariesAndLinksRoundTripAndReadOlderVersions)
{
    CGenClaveLib lib = FamilyLib();
    lib.mDefaultPatternIxForEmptyBar = 2;
    const CGenClaveLibs libs(lib);
    for (const CGenClaveLibs& r : {TextRoundTrip(libs), BinaryRoundTrip(libs), XmlRoundTrip(libs)}) {
        ASSERT_EQ(r, libs);
        // The derived table is rebuilt on load.
        EXPECT_EQ(r[0].GridType(), CGenClaveLib::TGridType_8thOnBeat);
        EXPECT_EQ(r[0].LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(73u), 1);
    }
    const std::string xml = ToXmlArchive(libs);
    const size_t base = xml.find("<TCGenClaveLib "), name = xml.find("<mName>Family</mName>"),
                 interesting = xml.find("<mInterestingPos"), def = xml.find("<mDefaultPatternIxForEmptyBar>2<");
    ASSERT_NE(def, std::string::npos);
    EXPECT_NE(xml.find("<TCGenClaveLibs"), std::string::npos);
    EXPECT_LT(base, name);
    EXPECT_LT(name, interesting);
    EXPECT_LT(interesting, def);

    CGenClaveLib old;
    ASSERT_TRUE(FromTextArchive(ToTextArchive(ClaveLibV1 {lib, "AddOn", lib.mInterestingPos}), old));
    EXPECT_EQ(old.mName, "AddOn");
    EXPECT_EQ(old.mDefaultPatternIxForEmptyBar, -1);
    EXPECT_EQ(old.size(), 3u);
    EXPECT_EQ(old.LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(85u), 2);
    ASSERT_TRUE(FromTextArchive(ToTextArchive(ClaveLibV0 {lib, lib.mInterestingPos}), old));
    EXPECT_EQ(old.mName, "");
    EXPECT_EQ(old.mInterestingPos, lib.mInterestingPos);

    CGenClaveLinks links;
    links.AddLinkIfNew(2, -3, 75);
    EXPECT_EQ(TextRoundTrip(links), links);
    EXPECT_EQ(BinaryRoundTrip(links), links);
    EXPECT_EQ(XmlRoundTrip(links), links);
    EXPECT_NE(ToXmlArchive(links).find("<TCGenClaveLinks"), std::string::npos);
    CGenClaveLink link;
    ASSERT_TRUE(FromTextArchive(ToTextArchive(ClaveLinkV0 {9, 55}), link));
    EXPECT_EQ(link, CGenClaveLink(9, CGenClaveLink::kOffset_Undef, 55));
}
