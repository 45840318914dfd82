// The older fill store: groups by length, the sorted insert, numbering
// across groups, clave links, the coordinate range, and its archives alone
// and inside the instrument library.
#include "Generator/fills/CGenFills.h"
#include "Generator/library/CGenInstLib.h"
#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

namespace {

CGenEvs Evs(float length, std::initializer_list<float> positions)
{
    CGenEvs evs(length);
    for (float p : positions)
        evs.InsertAtBeatPos(CGenEv(p, 0.25f, st_NoteOn, 38, 100));
    return evs;
}

CGenFill Fill(const char* name, float length, float complexity, float intensity, float spect, std::initializer_list<float> at = {0.0f})
{
    return CGenFill(name, CGenFillCoordInt(complexity, intensity, spect), Evs(length, at));
}

std::vector<std::string> Names(const CGenFillsWithSameLength& g)
{
    std::vector<std::string> names;
    for (const CGenFill& f : g)
        names.push_back(f.mName);
    return names;
}

} // namespace

TEST(CGenFills, GroupsByLengthInTheOrderTheyCame)
{
    CGenFills fills;
    fills.AddFill(Fill("two", 2.0f, 50, 50, 50));
    fills.AddFill(Fill("four", 4.0f, 50, 50, 50));
    fills.AddFill(Fill("one", 1.0f, 50, 50, 50));
    fills.AddFill(Fill("two b", 2.0f, 60, 60, 60, {0.5f}));
    // A new length makes a group at the end: 2, 4, 1 (not sorted by length).
    ASSERT_EQ(fills.size(), 3u);
    EXPECT_EQ(fills[0].mLength, 2.0f);
    EXPECT_EQ(fills[1].mLength, 4.0f);
    EXPECT_EQ(fills[2].mLength, 1.0f);
    EXPECT_EQ(Names(fills[0]), (std::vector<std::string> {"two", "two b"}));

    // Numbered across the groups in group order: two, two b, four, one.
    EXPECT_EQ(fills.CalcTotalFillCount(), 4u);
    EXPECT_EQ(fills.FillAtTotalIndex(2)->mName, "four");
    EXPECT_EQ(fills.FillAtTotalIndex(3)->mName, "one");
    EXPECT_EQ(fills.FillAtTotalIndex(4), nullptr);
    EXPECT_EQ(fills._FillsAtTotalIndex(1), (std::pair<size_t, size_t> {0, 1}));
    EXPECT_EQ(fills._FillsAtTotalIndex(9), (std::pair<size_t, size_t> {3, 0}));

    // Erasing the last of a group takes the group.
    EXPECT_TRUE(fills.EraseFillAtTotalIndex(2));
    ASSERT_EQ(fills.size(), 2u);
    EXPECT_EQ(fills[1].mLength, 1.0f);
    EXPECT_FALSE(fills.EraseFillAtTotalIndex(7));
    EXPECT_FALSE(fills.EraseFill(0, 5));
}

TEST(CGenFills, SortedInsertTakesThePartialOrderAsItStands)
{
    CGenFillsWithSameLength g(2.0f);
    g.AddFillSortedByCoord(Fill("mid", 2.0f, 50, 50, 50));
    g.AddFillSortedByCoord(Fill("low", 2.0f, 10, 10, 10));
    g.AddFillSortedByCoord(Fill("high", 2.0f, 90, 90, 90));
    EXPECT_EQ(Names(g), (std::vector<std::string> {"low", "mid", "high"}));
    // Equals go after the ones there: insertion order is kept.
    g.AddFillSortedByCoord(Fill("mid 2", 2.0f, 50, 50, 50));
    EXPECT_EQ(Names(g), (std::vector<std::string> {"low", "mid", "mid 2", "high"}));
    // Crossing coordinates: (95, 5, 50) is not at or above "mid 2" (probe at
    // index 2 of 4: intensity 5 < 50), nor "mid" (index 1), nor even "low"
    // (index 0: intensity 5 < 10), so it goes first though its complexity
    // is the highest: the list is no longer sorted by complexity.
    g.AddFillSortedByCoord(Fill("cross", 2.0f, 95, 5, 50));
    EXPECT_EQ(Names(g), (std::vector<std::string> {"cross", "low", "mid", "mid 2", "high"}));
}

TEST(CGenFills, UniquenessAndFinding)
{
    CGenFills fills;
    EXPECT_TRUE(fills.AddIfUniqueEvsAndLength(Fill("a", 2.0f, 50, 50, 50, {0.0f, 1.0f})));
    // The same events and length: refused, whatever the name.
    EXPECT_FALSE(fills.AddIfUniqueEvsAndLength(Fill("b", 2.0f, 10, 10, 10, {0.0f, 1.0f})));
    // The same events in another length: a fill of its own.
    EXPECT_TRUE(fills.AddIfUniqueEvsAndLength(Fill("c", 4.0f, 10, 10, 10, {0.0f, 1.0f})));
    EXPECT_EQ(fills[0].FindFillThatMatches(Evs(2.0f, {0.0f, 1.0f})), 0u);
    EXPECT_EQ(fills[0].FindFillThatMatches(Evs(2.0f, {0.5f})), 1u);
}

TEST(CGenFills, ClaveLinksAndCoordinateRange)
{
    CGenFills fills;
    fills.AddFill(Fill("a", 2.0f, 20, 70, 10));
    fills.AddFill(Fill("b", 4.0f, 60, 30, 90));
    // Without clave libraries nothing is linked.
    CGenClavePattern clave;
    EXPECT_EQ(fills.LinkToClave(0, 0, clave, 80.0f, 0), -1);
    CGenClaveLibs libs;
    libs.emplace_back();
    fills.SetWeakClaveLibs(&libs);
    // The clave is added to the first library (index 0), and the link
    // carries the truncated match: 80.7 -> 80.
    EXPECT_EQ(fills.LinkToClave(1, 0, clave, 80.7f, 1), 0);
    ASSERT_EQ(fills[1][0].mClaveLinks.size(), 1u);
    EXPECT_EQ(fills[1][0].mClaveLinks.MatchToIxClavePatternPercent(0, 1), 80);
    EXPECT_EQ(fills.LinkToClave(5, 0, clave, 80.0f, 0), -1);
    fills.EraseAllClaveLinksFor(0);
    EXPECT_TRUE(fills[1][0].mClaveLinks.empty());

    // Complexity 20..60, intensity 30..70.
    const CGenPatternCoordConv c = fills.FindPatternCoordIntMinAndMax();
    EXPECT_EQ(c.mMinComplInt, 20.0f);
    EXPECT_EQ(c.mMaxComplInt, 60.0f);
    EXPECT_EQ(c.mMinIntnInt, 30.0f);
    EXPECT_EQ(c.mMaxIntnInt, 70.0f);
    EXPECT_TRUE(GenIsUndef(CGenFills().FindPatternCoordIntMinAndMax().mMinComplInt));

    CGenPattern pattern;
    fills[0][0].ConvertToPattern(pattern);
    EXPECT_EQ(pattern.mName, "a");
    EXPECT_EQ(pattern.mCoord, CGenPatternCoordInt(20, 70));
    EXPECT_EQ(pattern.mEvs, fills[0][0].mEvs);
    EXPECT_EQ(pattern.Length(), 2.0f);
}

TEST(CGenFills, SanityReportsFillsOfAnotherLength)
{
    CGenFills fills;
    std::string none;
    EXPECT_TRUE(fills.CheckContentSanity("x ", none));
    fills.AddFill(Fill("a", 2.0f, 20, 70, 10));
    fills.UpdatePatternCoordConvToMinAndMax();
    std::string report;
    EXPECT_TRUE(fills.CheckContentSanity("x ", report)) << report;
    fills[0][0].mEvs.mLength = 3.0f;
    EXPECT_FALSE(fills.CheckContentSanity("x ", report));
    EXPECT_NE(report.find("x fills length 2 fill 'a' is 3 beats long"), std::string::npos) << report;
}

TEST(CGenFills, ArchivesKeepGroupsRulesAndTheLibrarysFills)
{
    CGenFills fills;
    fills.AddFill(Fill("a", 2.0f, 20, 70, 10, {0.0f, 0.5f}));
    fills.AddFill(Fill("b", 4.0f, 60, 30, 90));
    fills.UpdatePatternCoordConvToMinAndMax();
    EXPECT_EQ(zkgtest::TextRoundTrip(fills), fills);
    EXPECT_EQ(zkgtest::BinaryRoundTrip(fills), fills);

    CGenFillCreateRules rules;
    CGenFillCreateRule rule;
    rule.mActive = true;
    rule.mPriority = 3;
    rule.mSpectacularityMax = 70.0f;
    rule.mAddCrash2After = true;
    rules.push_back(rule);
    EXPECT_EQ(zkgtest::TextRoundTrip(rules), rules);

    // In the instrument library (class version 4).
    CGenInstLib lib;
    lib.mFills = fills;
    lib.mFillCreateRules = rules;
    const CGenInstLib read = zkgtest::TextRoundTrip(lib);
    EXPECT_EQ(read.mFills, fills);
    EXPECT_EQ(read.mFillCreateRules, rules);

    // An archive of version 3 has neither: the root object's version is the
    // fifth field of the header ("<n> serialization::archive <v> 0 4").
    std::string text = zkgtest::ToTextArchive(lib);
    const size_t at = text.find("serialization::archive");
    ASSERT_NE(at, std::string::npos);
    const size_t version = text.find(" 0 4 ", at);
    ASSERT_NE(version, std::string::npos);
    text[version + 3] = '3';
    CGenInstLib old;
    ASSERT_TRUE(zkgtest::FromTextArchive(text, old));
    EXPECT_TRUE(old.mFills.empty());
    EXPECT_TRUE(old.mFillCreateRules.empty());
}
