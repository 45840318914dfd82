#include "Generator/patterns/CGenPatternEdge.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternIxs.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

// A: no history; B: after 5, 7; C: after 3, 9, 7; D: after 1, anything, 7.
CGenPatternEdge FourEntries()
{
    return CGenPatternEdge(CGenProbHist(10.0f), CGenProbHist(20.0f, 5, 7), CGenProbHist(30.0f, 3, 9, 7),
        CGenProbHist(40.0f, 1, 7));
}

// The wildcard can't be given through the constructor (-1 means "not given").
CGenProbHist Entry(float prob, std::vector<int32_t> history)
{
    CGenProbHist p(prob);
    p.mHistory = std::move(history);
    return p;
}

// The stored layout of the first class version: probability and history only.
struct ProbHistV0 {
    float mProbability = 0.0f;
    std::vector<int32_t> mHistory;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("mProbability", mProbability);
        ar& boost::serialization::make_nvp("mHistory", mHistory);
    }
};

} // namespace

TEST(CGenPatternEdge, ConstructorsLeaveOutWhatWasNotGiven)
{
    EXPECT_EQ(CGenProbHist(25.0f, 3, -1, 4).mHistory, (std::vector<int32_t> {3, 4}));
    EXPECT_TRUE(CGenProbHist(25.0f).mHistory.empty());
    EXPECT_TRUE(GenIsUndef(CGenProbHist().mProbability));

    const CGenPatternEdge e(CGenProbHist(10.0f), CGenProbHist(), CGenProbHist(TGenBeatPos_Undef, 5), CGenProbHist(20.0f, 1));
    ASSERT_EQ(e.size(), 2u);
    EXPECT_FLOAT_EQ(e.mProbHists[0].mProbability, 10.0f);
    EXPECT_EQ(e.mProbHists[1].mHistory, (std::vector<int32_t> {1}));
}

TEST(CGenPatternEdge, LongestHistoryMatchEarliestOfEquals)
{
    CGenPatternEdge e = FourEntries();
    e.mProbHists[3] = Entry(40.0f, {1, -1, 7});
    // C matches 9, 7; D matches 7 and the wildcard, then 1 against 2 fails:
    // equal lengths, the earlier C stays.
    EXPECT_EQ(e.ProbabilityForHistory(CGenPatternIxs {2, 9, 7}), std::make_pair(30.0f, 2));
    // D matches all three; B only its two (a longer history counts over the entry's length).
    EXPECT_EQ(e.ProbabilityForHistory(CGenPatternIxs {1, 5, 7}), std::make_pair(40.0f, 3));
    EXPECT_EQ(e.ProbabilityForHistory(CGenPatternIxs {4, 5, 7}), std::make_pair(20.0f, 2));
    // Nothing matches beyond count 0: the first entry is kept.
    EXPECT_EQ(e.ProbabilityForHistory(CGenPatternIxs {}), std::make_pair(10.0f, 0));
    EXPECT_EQ(e.ProbabilityForHistory(CGenPatternIxs {8}), std::make_pair(10.0f, 0));

    // An empty history wins over a later entry whose last element differs.
    const CGenPatternEdge f(CGenProbHist(10.0f), CGenProbHist(50.0f, 4));
    EXPECT_EQ(f.ProbabilityForHistory(CGenPatternIxs {3}), std::make_pair(10.0f, 0));
    // A first entry with a different last element is kept at count 0 too.
    const CGenPatternEdge g(CGenProbHist(50.0f, 4), CGenProbHist(10.0f));
    EXPECT_EQ(g.ProbabilityForHistory(CGenPatternIxs {3}), std::make_pair(50.0f, 0));
    EXPECT_EQ(CGenPatternEdge().ProbabilityForHistory(CGenPatternIxs {3}), std::make_pair(0.0f, 0));
}

TEST(CGenPatternEdge, EntryLookUpsAndTheEmptyHistory)
{
    CGenPatternEdge e = FourEntries();
    EXPECT_EQ(e.FindProbHistWithHist(CGenPatternIxs {5, 7}) - e.mProbHists.begin(), 1);
    EXPECT_EQ(e.FindProbHistWithHist(CGenPatternIxs {7}), e.mProbHists.end());
    EXPECT_FLOAT_EQ(e.ProbabilityForEmptyHist(), 10.0f);
    EXPECT_FLOAT_EQ(e.MaxProbabilityForAllHistories(), 40.0f);
    e.SetProbabilityForEmptyHist(15.0f);
    EXPECT_FLOAT_EQ(e.mProbHists[0].mProbability, 15.0f);
    EXPECT_EQ(e.size(), 4u);

    CGenPatternEdge f(CGenProbHist(30.0f, 2));
    EXPECT_TRUE(GenIsUndef(f.ProbabilityForEmptyHist()));
    f.SetProbabilityForEmptyHist(5.0f);
    ASSERT_EQ(f.size(), 2u);
    EXPECT_TRUE(f.mProbHists[1].mHistory.empty());
    EXPECT_FLOAT_EQ(f.ProbabilityForEmptyHist(), 5.0f);
    EXPECT_TRUE(GenIsUndef(CGenPatternEdge().MaxProbabilityForAllHistories()));
}

TEST(CGenPatternEdge, BestProbabilityForPatternIxSets)
{
    CGenPatternEdge e = FourEntries();
    e.mProbHists[3] = Entry(40.0f, {1, -1, 7});
    // No sets: the entry without history.
    EXPECT_EQ(e.BestProbabilityForPatternIxSets(CGenPatternIxSets {}, 0), std::make_pair(0, 10.0f));
    EXPECT_TRUE(GenIsUndef(CGenPatternEdge(CGenProbHist(1.0f, 3)).BestProbabilityForPatternIxSets({}, 0).second));

    const CGenPatternIxSets sets {{1, 2}, {9}, {7}};
    EXPECT_EQ(e.BestProbabilityForPatternIxSets(sets, 0), std::make_pair(3, 40.0f));
    // Once all sets matched, only a history of exactly that length with a
    // higher probability replaces the best.
    e.mProbHists.push_back(Entry(90.0f, {2, 9, 7, 8}));
    EXPECT_EQ(e.BestProbabilityForPatternIxSets(sets, 0), std::make_pair(3, 40.0f));
    e.mProbHists.push_back(Entry(50.0f, {-1, -1, -1}));
    EXPECT_EQ(e.BestProbabilityForPatternIxSets(sets, 0), std::make_pair(3, 50.0f));

    // One wildcard set: every history matches one step; later entries are
    // all longer than one, so the first (B) stays.
    EXPECT_EQ(FourEntries().BestProbabilityForPatternIxSets(CGenPatternIxSets {{-1}}, 0), std::make_pair(1, 20.0f));
    // The sets from an offset, the histories from their start.
    EXPECT_EQ(FourEntries().BestProbabilityForPatternIxSets(CGenPatternIxSets {{0}, {3}, {9}}, 1),
        std::make_pair(2, 30.0f));
    EXPECT_EQ(FourEntries().BestProbabilityForPatternIxSets(sets, 3), std::make_pair(0, 0.0f));
    EXPECT_EQ(FourEntries().BestProbabilityForPatternIxSets(CGenPatternIxSets {{6}}, 0), std::make_pair(0, 0.0f));
}

TEST(CGenPatternEdge, ArchivesAndTheFirstEntryVersion)
{
    CGenProbHist p(42.5f, 3, 4);
    p.mType = 2;
    p.mClaveLinks.AddLinkIfNew(1, -2, 80);
    const CGenProbHist t = TextRoundTrip(p);
    EXPECT_EQ(t, p);
    EXPECT_EQ(t.mType, 2);
    EXPECT_EQ(BinaryRoundTrip(p), p);
    EXPECT_EQ(XmlRoundTrip(p), p);

    CGenPatternEdge e = FourEntries();
    e.mProbHists[1].mClaveLinks.AddLinkIfNew(0, 0, 100);
    EXPECT_EQ(TextRoundTrip(e), e);
    EXPECT_EQ(BinaryRoundTrip(e), e);

    // Version 0 had neither the type nor clave links.
    ProbHistV0 old {12.0f, {7, 8}};
    CGenProbHist r(99.0f, 1);
    r.mType = 5;
    r.mClaveLinks.AddLinkIfNew(1, 1, 1);
    ASSERT_TRUE(FromTextArchive(ToTextArchive(old), r));
    EXPECT_FLOAT_EQ(r.mProbability, 12.0f);
    EXPECT_EQ(r.mHistory, (std::vector<int32_t> {7, 8}));
    EXPECT_EQ(r.mType, 0);
    EXPECT_TRUE(r.mClaveLinks.empty());
}

TEST(CGenPatternIxs, MatchesWithWildcards)
{
    const CGenPatternIxs a {1, 2, 3, 4};
    const CGenPatternIxs b {1, 2, 9, 4, 5};
    EXPECT_EQ(a.MatchConsecutiveLengthFromBegin(b), 2u);
    EXPECT_EQ(a.MatchConsecutiveLengthFromRBegin(b), 0u);
    EXPECT_EQ(a.MatchCountFromBegin(b), 3u);
    EXPECT_EQ(a.MatchCountFromRBegin(b), 0u);
    EXPECT_EQ(a.MatchCountFromRBegin(CGenPatternIxs {0, 3, 4}), 2u);
    EXPECT_EQ(a.MatchCountFromRBegin(CGenPatternIxs {0, 3, 9}), 1u);

    const CGenPatternIxs w {-1, 7};
    EXPECT_EQ(w.MatchConsecutiveLengthFromBegin(CGenPatternIxs {3, 7}), 2u);
    EXPECT_TRUE(w.MatchesForShorterLength(CGenPatternIxs {5, 3, 7}));
    EXPECT_FALSE(CGenPatternIxs({9, 7}).MatchesForShorterLength(CGenPatternIxs {5, 3, 7}));
    EXPECT_TRUE(CGenPatternIxs().MatchesForShorterLength(CGenPatternIxs {5}));

    const CGenPatternIxs c {1, 2, 3};
    EXPECT_EQ(c.MatchCountWithPatternIxSetsFromBegin(CGenPatternIxSets {{1}, {-1}, {4}}, 0), 2u);
    EXPECT_EQ(c.MatchCountWithPatternIxSetsFromBegin(CGenPatternIxSets {{1}, {-1}, {4}}, 1), 1u);
    EXPECT_EQ(c.MatchCountWithPatternIxSetsFromBegin(CGenPatternIxSets {{1}, {-1}, {4}}, 3), 0u);
    EXPECT_EQ(c.MatchCountWithPatternIxSetsFromRBegin(CGenPatternIxSets {{1}, {-1}, {4}}), 0u);
    EXPECT_EQ(c.MatchCountWithPatternIxSetsFromRBegin(CGenPatternIxSets {{2, 5}, {3}}), 2u);

    // The beated form compares its indices only.
    const CGenBeatedPatternIxs x {CGenBeatedPatternIx(0.0f, 1), CGenBeatedPatternIx(4.0f, 2)};
    const CGenBeatedPatternIxs y {CGenBeatedPatternIx(8.0f, 2)};
    EXPECT_EQ(GenMatchConsecutiveLengthFromRBegin(x, y), 1u);
    EXPECT_EQ(GenMatchConsecutiveLengthFromBegin(x, y), 0u);
    EXPECT_TRUE(GenMatchesForShorterLength(x, y));
    EXPECT_EQ(GenMatchCountWithPatternIxSetsFromBegin(x, CGenPatternIxSets {{1}, {2}}, 0), 2u);
}

TEST(CGenPatternIxs, BeatLengthsThroughTheGraph)
{
    CGenPatternGraphBoost g;
    g.AddPattern(CGenPattern("four", CGenEvs(4.0f)));
    g.AddPattern(CGenPattern("two", CGenEvs(2.0f)));
    EXPECT_FLOAT_EQ(CGenPatternIxs({0, 1, 0}).CalcBeatLength(&g), 10.0f);
    EXPECT_FLOAT_EQ(CGenPatternIxs().CalcBeatLength(&g), 0.0f);
    EXPECT_TRUE(GenIsUndef(CGenPatternIxs({0}).CalcBeatLength(nullptr)));
    EXPECT_TRUE(GenIsUndef(CGenPatternIxs({0, 5}).CalcBeatLength(&g)));

    const CGenBeatedPatternIxs x {CGenBeatedPatternIx(1.0f, 0), CGenBeatedPatternIx(5.0f, 1)};
    EXPECT_FLOAT_EQ(GenCalcBeatLength(x, &g), 6.0f);
    EXPECT_FLOAT_EQ(GenCalcBeatLength(CGenBeatedPatternIxs(), &g), 0.0f);
    EXPECT_TRUE(GenIsUndef(GenCalcBeatLength(x, nullptr)));
}
