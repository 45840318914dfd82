#include "Generator/clave/CGenAvrgClave.h"
#include "Generator/clave/CGenAvrgClaveMatrix.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <sstream>
#include <utility>
#include <vector>

namespace {

using TParams = CGenAvrgClave::TSimilarBarssParams;
using TBarss = CGenAvrgClave::TSimilarBarss;

CGenEvsSignTime FourFour()
{
    return CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}};
}

CGenEvsClave Evs(float length, std::initializer_list<std::pair<float, int>> evs)
{
    CGenEvsClave out(length);
    for (const auto& [pos, w] : evs)
        out.push_back(CGenEvClave(pos, static_cast<int8_t>(w)));
    out.SortByBeatPos();
    return out;
}

// Five 4/4 bars, every event at weight 100 (velocity 114):
//   bar 1 (0):  0 1 2 3      "Four"
//   bar 2 (4):  0 1.5 3      "Son"
//   bar 3 (8):  as bar 1
//   bar 4 (12): 0 1 2 3.5
//   bar 5 (16): as bar 2
// With the default lists (weight 1 at each sixteenth) and all velocities
// equal, every event has level 1 (m == a: 114 / 114), so a point costs 1
// when only one bar has an event there and 0 otherwise. A match is
// (16 - points that differ) / 16:
//   1-2: 1, 1.5, 2 differ -> 13/16 = 0.8125   1-3: 1      1-4: 3, 3.5 -> 0.875
//   1-5: 0.8125   2-3: 0.8125   2-4: 0, 1.5, 3 vs 0, 1, 2, 3.5 -> 5 differ -> 0.6875
//   2-5: 1        3-4: 0.875    3-5: 0.8125   4-5: 0.6875
CGenEvsClave FiveBars()
{
    CGenEvsClave c(20.0f);
    auto add = [&c](float start, std::initializer_list<float> rel) {
        for (float r : rel)
            c.push_back(CGenEvClave(start + r, 100));
    };
    add(0.0f, {0.0f, 1.0f, 2.0f, 3.0f});
    add(4.0f, {0.0f, 1.5f, 3.0f});
    add(8.0f, {0.0f, 1.0f, 2.0f, 3.0f});
    add(12.0f, {0.0f, 1.0f, 2.0f, 3.5f});
    add(16.0f, {0.0f, 1.5f, 3.0f});
    c.SortByBeatPos();
    return c;
}

std::vector<std::vector<int32_t>> Groups(const TBarss& barss)
{
    std::vector<std::vector<int32_t>> out;
    for (const auto& bars : barss)
        out.push_back(bars.mBarNrs);
    return out;
}

using TGroups = std::vector<std::vector<int32_t>>;

TGroups MatrixGroups(float threshold, int linkage = CGenAvrgClave::TLinkage_Average)
{
    TParams p;
    p.mSimilarityMatrix_SimilarIsAboveThresh = threshold;
    p.mLinkage = linkage;
    TBarss barss;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), FiveBars(), 0.0f, 20.0f, p);
    return Groups(barss);
}

CChordHeavy Chord(const std::string& name)
{
    CChordHeavy chord;
    EXPECT_TRUE(SetFromString(name, chord, CChordNamePrefs())) << name;
    return chord;
}

} // namespace

TEST(AvrgClaveLevels, EachCaseOfTheLevel)
{
    // m == a: integer division, 100 / 100 = 1 and 50 / 100 = 0.
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(100.0f, 100.0f, 100.0f), 1.0f);
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(50.0f, 100.0f, 100.0f), 0.0f);
    // m == a == 0: 1 for a non-zero v, else 0.
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(5.0f, 0.0f, 0.0f), 1.0f);
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(0.0f, 0.0f, 0.0f), 0.0f);
    // v <= a: 40 / 80 * 0.5 = 0.25; a = 0 gives 0.5.
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(40.0f, 80.0f, 120.0f), 0.25f);
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(0.0f, 0.0f, 10.0f), 0.5f);
    // v > a: (100 - 80) / (120 - 80) * 0.5 + 0.5 = 0.75; an undefined (255) maximum gives 1.
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(100.0f, 80.0f, 120.0f), 0.75f);
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelLevel(100.0f, 80.0f, 255.0f), 1.0f);
}

// Two bars of 2 beats on a grid of 0.5 (points 0, 0.5, 1, 1.5), tolerance 0.125:
//   A: 0 weight 127 (velocity 127), 1 weight 0 (velocity 64): a = 95.5, m = 127
//   B: 0 and 0.5 at weight 127: a = m = 127
// Lists: both {0: 1}, only one {0.5: 1, 1: 0.5}, none {1.5: 0.25}.
//   0   both: levelA (127 - 95.5) / (127 - 95.5) * 0.5 + 0.5 = 1, levelB 127 / 127 = 1; cost 0 -> 1
//   0.5 only B: |0 - 1| * 1 = 1 -> 0
//   1   only A: levelA 64 / 95.5 * 0.5 = 0.3350785; cost * 0.5 = 0.1675393 -> 0.8324607
//   1.5 none: cost 1 - 0.25 -> 0.25
// (1 + 0 + 0.8324607 + 0.25) / 4 = 0.5206152
TEST(AvrgClaveMatch, GridMatchByHand)
{
    TParams p;
    p.mVelGridMatch_MatchGridLength = 0.5f;
    p.mVelGridMatch_MatchWithin = 0.125f;
    p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth = {{0.0f, 1.0f}};
    p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne = {{0.5f, 1.0f}, {1.0f, 0.5f}};
    p.mVelGridMatch_BeatPosAndWeightsIfEvAbsentInBoth = {{1.5f, 0.25f}};
    const CGenEvsClave a = Evs(2.0f, {{0.0f, 127}, {1.0f, 0}});
    const CGenEvsClave b = Evs(2.0f, {{0.0f, 127}, {0.5f, 127}});
    float avrgA = 0.0f, avrgB = 0.0f;
    EXPECT_NEAR(CGenAvrgClave::VelGridMatch(a, 0.0f, b, 0.0f, 2.0f, p, TPercent_Undef, &avrgA, &avrgB), 0.5206152f, 1e-6);
    EXPECT_FLOAT_EQ(avrgA, 95.5f);
    EXPECT_FLOAT_EQ(avrgB, 127.0f);
    // The same bars inside longer tracks at other positions.
    CGenEvsClave a2 = Evs(10.0f, {{6.0f, 127}, {7.0f, 0}});
    CGenEvsClave b2 = Evs(10.0f, {{2.0f, 127}, {2.5f, 127}});
    EXPECT_NEAR(CGenAvrgClave::VelGridMatch(a2, 6.0f, b2, 2.0f, 2.0f, p), 0.5206152f, 1e-6);
    // Abort threshold 0.6: after the first point 1/1, after the second 1/2 = 0.5 < 0.6.
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelGridMatch(a, 0.0f, b, 0.0f, 2.0f, p, 0.6f), 0.5f);

    // The bar match adds the velocity term 0.5 * (1 - |95.5 - 127| / 127) = 0.3759843;
    // B has no spread and A has, so the ratio term is 0.
    p.mMatchWeightForAvrgVelDiff = 0.5f;
    p.mMatchWeightForStdDevRatio = 0.2f;
    EXPECT_NEAR(CGenAvrgClave::BarMatch(a, 0.0f, 2.0f, b, 0.0f, 2.0f, p), 0.5206152f + 0.3759843f, 1e-6);
    // An undefined grid weight counts 1, a weight of 2 doubles the grid part.
    p.mMatchWeightForVelGridMatch = TPercent_Undef;
    EXPECT_NEAR(CGenAvrgClave::BarMatch(a, 0.0f, 2.0f, b, 0.0f, 2.0f, p), 0.5206152f + 0.3759843f, 1e-6);
    p.mMatchWeightForVelGridMatch = 2.0f;
    EXPECT_NEAR(CGenAvrgClave::BarMatch(a, 0.0f, 2.0f, b, 0.0f, 2.0f, p), 2.0f * 0.5206152f + 0.3759843f, 1e-6);
    // Different lengths: 0 whatever the content.
    EXPECT_FLOAT_EQ(CGenAvrgClave::BarMatch(a, 0.0f, 2.0f, a, 0.0f, 3.0f, p), 0.0f);
}

TEST(AvrgClaveMatch, StdDevRatioAndEdges)
{
    // A: 127, 64 -> average 95.5, deviations 31.5 -> s 31.5. C: 127, 1 ->
    // average 64, deviations 63 -> s 63. q = 31.5 / 63 = 0.5; 0.2 * 0.5 = 0.1.
    // No list entries at all: every point costs 0, the grid match is 1.
    TParams p;
    p.mVelGridMatch_BeatPosAndWeightsIfEvAbsentInBoth.clear();
    p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne.clear();
    p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth.clear();
    p.mMatchWeightForStdDevRatio = 0.2f;
    const CGenEvsClave a = Evs(4.0f, {{0.0f, 127}, {1.0f, 0}});
    const CGenEvsClave c = Evs(4.0f, {{0.0f, 127}, {2.0f, -127}});
    EXPECT_NEAR(CGenAvrgClave::BarMatch(a, 0.0f, 4.0f, c, 0.0f, 4.0f, p), 1.1f, 1e-6);
    EXPECT_NEAR(CGenAvrgClave::BarMatch(c, 0.0f, 4.0f, a, 0.0f, 4.0f, p), 1.1f, 1e-6);

    // Lengths of the lists: both 0 match 1, one alone 0.
    const CGenEvsClave none(0.0f);
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelGridMatch(none, 0.0f, none, 0.0f, 4.0f, p), 1.0f);
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelGridMatch(none, 0.0f, a, 0.0f, 4.0f, p), 0.0f);
    // Tolerance not above 0, a negative step, an empty range: 0.
    TParams bad = p;
    bad.mVelGridMatch_MatchWithin = 0.0f;
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelGridMatch(a, 0.0f, a, 0.0f, 4.0f, bad), 0.0f);
    bad = p;
    bad.mVelGridMatch_MatchGridLength = -1.0f;
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelGridMatch(a, 0.0f, a, 0.0f, 4.0f, bad), 0.0f);
    EXPECT_FLOAT_EQ(CGenAvrgClave::VelGridMatch(a, 0.0f, a, 0.0f, 0.0f, p), 0.0f);
    // A step of 0 walks whole beats: A {0, 1} against B {0} on 0, 1, 2, 3 with
    // "only one" weight 1 everywhere: the point 1 costs levelA. A's 64 lies
    // below its average 95.5: 64 / 95.5 * 0.5 = 0.3350785, so (1 + 0.6649215 + 1 + 1) / 4.
    TParams zero = p;
    zero.mVelGridMatch_MatchGridLength = 0.0f;
    zero.mVelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne = {{0.0f, 1.0f}, {1.0f, 1.0f}, {2.0f, 1.0f}, {3.0f, 1.0f}};
    const CGenEvsClave b = Evs(4.0f, {{0.0f, 127}});
    EXPECT_NEAR(CGenAvrgClave::VelGridMatch(a, 0.0f, b, 0.0f, 4.0f, zero), (3.0f + 0.6649215f) / 4.0f, 1e-6);
}

TEST(AvrgClaveParams, SanityAndDefaults)
{
    TParams p;
    EXPECT_TRUE(p.ParamsAreSane());
    EXPECT_EQ(p.PositiveValuesCheck(), "");
    EXPECT_EQ(p.mStrategy, CGenAvrgClave::TStrategy_SimilarityMatrix);
    EXPECT_EQ(p.mLinkage, CGenAvrgClave::TLinkage_Average);
    ASSERT_EQ(p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth.size(), 32u);
    EXPECT_FLOAT_EQ(p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth.back().mBeatPos, 7.75f);
    EXPECT_TRUE(p.mVelGridMatch_BeatPosAndWeightsAvrgVel.empty());

    TParams q = p;
    q.mVelGridMatch_MatchGridLength = 0.0f;
    EXPECT_EQ(q.PositiveValuesCheck(), "VelGridMatch_MatchGridLength must be > 0");
    EXPECT_FALSE(q.ParamsAreSane());
    q = p;
    q.mVelGridMatch_MatchWithin = -0.1f;
    EXPECT_EQ(q.PositiveValuesCheck(), "VelGridMatch_MatchWithin must be > 0");
    EXPECT_FALSE(q.ParamsAreSane());
    q = p;
    q.mStrategy = 2;
    EXPECT_EQ(q.PositiveValuesCheck(), "");
    EXPECT_FALSE(q.ParamsAreSane());
    q = p;
    q.mCreateClaveInRange = static_cast<TCreateClaveInRange>(2);
    EXPECT_FALSE(q.ParamsAreSane());
    q = p;
    q.mEvClaveOnChordChangeVelocity = 128;
    EXPECT_FALSE(q.ParamsAreSane());

    // Insane parameters run nothing.
    CGenAvrgClave avrg;
    avrg.SimilarBarssParams().mVelGridMatch_MatchWithin = 0.0f;
    EXPECT_FALSE(avrg.FindSimilarBarssAndAvrgEvsClave(FourFour(), CGenEvsChord(), FiveBars(), 0.0f, 20.0f));
    EXPECT_TRUE(avrg.SimilarBarss().empty());
    TBarss barss;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), FiveBars(), 0.0f, 20.0f, avrg.SimilarBarssParams());
    EXPECT_TRUE(barss.empty());
}

TEST(AvrgClaveMatrix, MatchesAndMergeOrder)
{
    TSimilarityMatrix m;
    m._FillWithClusterableBars(FourFour(), FiveBars(), 0.0f, 20.0f, TParams());
    ASSERT_EQ(m.Bars().size(), 5u);
    EXPECT_EQ(m.Bars()[4].mBarNr, 5);
    EXPECT_FLOAT_EQ(m.Bars()[4].mBeatPosAbs, 16.0f);
    EXPECT_FLOAT_EQ(m.Bars()[4].mLength, 4.0f);
    EXPECT_FLOAT_EQ(m.MatchOf(1, 2), 0.8125f);
    EXPECT_FLOAT_EQ(m.MatchOf(3, 1), 1.0f);
    EXPECT_FLOAT_EQ(m.MatchOf(1, 4), 0.875f);
    EXPECT_FLOAT_EQ(m.MatchOf(2, 4), 0.6875f);
    EXPECT_FLOAT_EQ(m.MatchOf(2, 5), 1.0f);
    // Triangular: row i holds the 5 - i later bars.
    ASSERT_EQ(m.Rows().size(), 5u);
    EXPECT_EQ(m.Rows()[0].mCols.size(), 4u);
    EXPECT_EQ(m.Rows()[4].mCols.size(), 0u);

    // Average linkage: (1,3) at 1 first (row 1 comes before row 2), then (2,5)
    // at 1. Then {1,3}-4 = (0.875 + 0.875) / 2 = 0.875 beats {1,3}-{2,5} =
    // 0.8125 and {2,5}-4 = 0.6875. Last {1,3,4}-{2,5} = (2 * 0.8125 + 1 * 0.6875) / 3 = 0.7708333.
    TSimilarityMatrix full;
    full.DoHierarchicalClustering(FourFour(), FiveBars(), 0.0f, 20.0f, TParams());
    const auto& steps = full.MergeSteps();
    ASSERT_EQ(steps.size(), 4u);
    EXPECT_EQ(std::make_pair(steps[0].mBarNrA, steps[0].mBarNrB), std::make_pair(1, 3));
    EXPECT_FLOAT_EQ(steps[0].mSimilarity, 1.0f);
    EXPECT_EQ(std::make_pair(steps[1].mBarNrA, steps[1].mBarNrB), std::make_pair(2, 5));
    EXPECT_EQ(std::make_pair(steps[2].mBarNrA, steps[2].mBarNrB), std::make_pair(1, 4));
    EXPECT_FLOAT_EQ(steps[2].mSimilarity, 0.875f);
    EXPECT_EQ(std::make_pair(steps[3].mBarNrA, steps[3].mBarNrB), std::make_pair(1, 2));
    EXPECT_NEAR(steps[3].mSimilarity, 2.3125f / 3.0f, 1e-6);
    ASSERT_EQ(full.Clusters().size(), 1u);
    EXPECT_EQ(full.Clusters()[0].LeafCount(), 5);
    EXPECT_EQ(full.Rows().size(), 1u);
}

TEST(AvrgClaveMatrix, LinkageOfTheLastMerge)
{
    // Complete: {1,3,4}-{2,5} = min(0.8125, 0.6875); single: the max, 0.8125.
    using TCase = std::pair<int, float>;
    for (const auto& [linkage, expected] : {TCase {CGenAvrgClave::TLinkage_Complete, 0.6875f},
             TCase {CGenAvrgClave::TLinkage_Single, 0.8125f}, TCase {7, 2.3125f / 3.0f}}) {
        TParams p;
        p.mLinkage = linkage;
        TSimilarityMatrix m;
        m.DoHierarchicalClustering(FourFour(), FiveBars(), 0.0f, 20.0f, p);
        ASSERT_EQ(m.MergeSteps().size(), 4u);
        EXPECT_NEAR(m.MergeSteps()[3].mSimilarity, expected, 1e-6) << linkage;
    }
}

TEST(AvrgClaveMatrix, ClustersMergeAndGroup)
{
    TClusterableBars bars;
    bars.FillFromRange(FourFour(), 0.0f, 12.0f);
    ASSERT_EQ(bars.size(), 3u);
    THierachicalClusters c;
    c.FillFrom(bars);
    ASSERT_EQ(c.size(), 3u);
    EXPECT_TRUE(c.Merge(bars.begin() + 2, bars.begin(), 0.9f));
    ASSERT_EQ(c.size(), 2u);
    // The new node takes the place of the first argument's root.
    EXPECT_EQ(c[1].mItBar, bars.begin() + 2);
    EXPECT_TRUE(c[1].ContainsItBar(bars.begin()));
    EXPECT_FALSE(c[1].ContainsItBar(bars.begin() + 1));
    EXPECT_FALSE(c.Merge(bars.begin(), bars.begin() + 2, 0.5f)); // one root already
    TBarss out;
    c.RecursivelyGroupIntoSimilarBarss(0.9f, out);
    EXPECT_EQ(Groups(out), (TGroups {{1, 3}, {2}}));
    out.clear();
    c.RecursivelyGroupIntoSimilarBarss(0.95f, out);
    EXPECT_EQ(Groups(out), (TGroups {{1}, {2}, {3}}));
}

TEST(AvrgClaveGroups, MatrixStrategyByThreshold)
{
    // See the merges above: 0.9 keeps {1,3} and {2,5} and leaves 4 alone;
    // 0.8 adds 4 to {1,3} (0.875); 0.5 takes the whole tree (0.77).
    EXPECT_EQ(MatrixGroups(0.9f), (TGroups {{1, 3}, {2, 5}, {4}}));
    EXPECT_EQ(MatrixGroups(0.8f), (TGroups {{1, 3, 4}, {2, 5}}));
    EXPECT_EQ(MatrixGroups(0.5f), (TGroups {{1, 2, 3, 4, 5}}));
    // Above every match: one group per bar.
    EXPECT_EQ(MatrixGroups(1.5f), (TGroups {{1}, {2}, {3}, {4}, {5}}));
    // Complete linkage at 0.7: the root (0.6875) splits.
    EXPECT_EQ(MatrixGroups(0.7f, CGenAvrgClave::TLinkage_Complete), (TGroups {{1, 3, 4}, {2, 5}}));
}

TEST(AvrgClaveGroups, SingleBarAndEmptyRange)
{
    TParams p;
    TSimilarityMatrix m;
    m.DoHierarchicalClustering(FourFour(), FiveBars(), 4.0f, 8.0f, p);
    EXPECT_TRUE(m.MergeSteps().empty());
    TBarss barss;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), FiveBars(), 4.0f, 8.0f, p);
    EXPECT_EQ(Groups(barss), (TGroups {{2}}));
    // A single bar averages to itself.
    ASSERT_EQ(barss[0].mAvrgEvs.size(), 3u);
    EXPECT_FLOAT_EQ(barss[0].mAvrgEvs[1].mBeatPos, 1.5f);
    EXPECT_EQ(barss[0].mAvrgEvs[1].mWeight, 100);
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), FiveBars(), 8.0f, 8.0f, p);
    EXPECT_TRUE(barss.empty());
    p.mStrategy = CGenAvrgClave::TStrategy_SimilarToFirstBar;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), FiveBars(), 8.0f, 8.0f, p);
    EXPECT_TRUE(barss.empty());
}

TEST(AvrgClaveGroups, DifferentLengthsNeverGroup)
{
    // Bars 1 (0) and 2 (4) of 4 beats, bars 3 (8) and 4 (11) of 3 beats, all
    // empty: equal lengths match 1 (every point "absent in both" at weight 1),
    // different lengths 0.
    const CGenEvsSignTime st {{0.0f, CGenSignTime(4, 2)}, {8.0f, CGenSignTime(3, 2)}};
    const CGenEvsClave clave(14.0f);
    TParams p;
    TSimilarityMatrix m;
    m._FillWithClusterableBars(st, clave, 0.0f, 14.0f, p);
    ASSERT_EQ(m.Bars().size(), 4u);
    EXPECT_FLOAT_EQ(m.Bars()[3].mLength, 3.0f);
    EXPECT_FLOAT_EQ(m.MatchOf(1, 2), 1.0f);
    EXPECT_FLOAT_EQ(m.MatchOf(3, 4), 1.0f);
    EXPECT_FLOAT_EQ(m.MatchOf(2, 3), 0.0f);
    for (float threshold : {0.5f, 0.0f, -1.0f}) {
        p.mSimilarityMatrix_SimilarIsAboveThresh = threshold;
        TBarss barss;
        barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(st, clave, 0.0f, 14.0f, p);
        EXPECT_EQ(Groups(barss), (TGroups {{1, 2}, {3, 4}})) << threshold;
    }
    // The first-bar strategy neither: a bar of 3 beats never matches one of 4.
    p.mStrategy = CGenAvrgClave::TStrategy_SimilarToFirstBar;
    p.mSimilarToFirstBar_SimilarIsAboveThresh = 0.0f;
    TBarss barss;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(st, clave, 0.0f, 14.0f, p);
    EXPECT_EQ(Groups(barss).size(), 2u);
}

TEST(AvrgClaveGroups, FirstBarStrategy)
{
    TParams p;
    p.mStrategy = CGenAvrgClave::TStrategy_SimilarToFirstBar;
    // 0.85: bar 2 misses bar 1 (0.8125) and starts a group; 3 (1) and 4
    // (0.875) join bar 1; 5 misses bar 1 and matches bar 2 (1).
    p.mSimilarToFirstBar_SimilarIsAboveThresh = 0.85f;
    TBarss barss;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), FiveBars(), 0.0f, 20.0f, p);
    EXPECT_EQ(Groups(barss), (TGroups {{1, 3, 4}, {2, 5}}));
    ASSERT_EQ(barss[1].mFirstBarEvs.size(), 3u);
    EXPECT_FLOAT_EQ(barss[1].mFirstBarEvs[2].mBeatPos, 3.0f);
    // 0.8: bar 2 joins bar 1 at 0.8125, and so does everything else.
    p.mSimilarToFirstBar_SimilarIsAboveThresh = 0.8f;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), FiveBars(), 0.0f, 20.0f, p);
    EXPECT_EQ(Groups(barss), (TGroups {{1, 2, 3, 4, 5}}));

    // Empty bars 1 and 3 around bar 2: with a threshold no match reaches,
    // bar 3 still joins the one group with an empty first bar.
    const CGenEvsClave clave = Evs(12.0f, {{4.0f, 100}, {5.0f, 100}});
    p.mSimilarToFirstBar_SimilarIsAboveThresh = 1.5f;
    barss.FindSimilarBarssAndCalcTheirAvrgEvsClave(FourFour(), clave, 0.0f, 12.0f, p);
    EXPECT_EQ(Groups(barss), (TGroups {{1, 3}, {2}}));
}

TEST(AvrgClaveAverage, WeightsByHand)
{
    // Two bars at 0 and 4, tolerance 0.125. Relative positions x become
    // floor(4x)/4 plus the rest when the rest is below the tolerance:
    //   bar 1: 0 w100, 0.5 undefined (counts 0), 1 w-50, 2.05 w40 (rest 0.05 kept), 3 w1
    //   bar 2: 0 w50, 1 w-50, 2.5 w3, 3 w-1, 3.9 w10 (rest 0.15 dropped -> 3.75)
    // Sums / 2 bars: 0 150 -> 75; 0.5 0 -> none; 1 -100 -> -50; 2.05 40 -> 20;
    // 2.5 3 -> 1.5 -> 2 (half away from zero); 3 0 -> none; 3.75 10 -> 5.
    CGenEvsClave clave(8.0f);
    clave.push_back(CGenEvClave(0.0f, 100));
    clave.push_back(CGenEvClave(0.5f, CGenEvClave::kWeight_Undef));
    clave.push_back(CGenEvClave(1.0f, -50));
    clave.push_back(CGenEvClave(2.05f, 40));
    clave.push_back(CGenEvClave(3.0f, 1));
    clave.push_back(CGenEvClave(4.0f, 50));
    clave.push_back(CGenEvClave(5.0f, -50));
    clave.push_back(CGenEvClave(6.5f, 3));
    clave.push_back(CGenEvClave(7.0f, -1));
    clave.push_back(CGenEvClave(7.9f, 10));
    CGenAvrgClave::TSimilarBars bars;
    bars.AddBar({2, 4.0f, 4.0f});
    bars.AddBar({1, 0.0f, 4.0f});
    EXPECT_EQ(bars.mBarNrs, (std::vector<int32_t> {1, 2}));
    bars.CalcAvrgEvsClave(FourFour(), clave, TParams());
    const std::vector<std::pair<float, int>> expected {{0.0f, 75}, {1.0f, -50}, {2.05f, 20}, {2.5f, 2}, {3.75f, 5}};
    ASSERT_EQ(bars.mAvrgEvs.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(bars.mAvrgEvs[i].mBeatPos, expected[i].first, 1e-5) << i;
        EXPECT_EQ(int(bars.mAvrgEvs[i].mWeight), expected[i].second) << i;
        EXPECT_TRUE(bars.mAvrgEvs[i].PitchIsUndef());
    }
    EXPECT_FLOAT_EQ(bars.mAvrgEvs.mLength, 4.0f);
}

TEST(AvrgClaveEntry, WholeAnalysisAndRanges)
{
    CGenAvrgClave avrg;
    avrg.SimilarBarssParams().mSimilarityMatrix_SimilarIsAboveThresh = 0.9f;
    // WholeSong (default): the range 4..12 is widened to 0..20, the clave's length.
    ASSERT_TRUE(avrg.FindSimilarBarssAndAvrgEvsClave(FourFour(), CGenEvsChord(), FiveBars(), 4.0f, 12.0f));
    EXPECT_EQ(Groups(avrg.SimilarBarss()), (TGroups {{1, 3}, {2, 5}, {4}}));
    const auto& chrono = avrg.ChronologicalSimilarBars();
    ASSERT_EQ(chrono.size(), 5u);
    const std::vector<std::pair<int, bool>> firsts {{0, true}, {1, true}, {0, false}, {2, true}, {1, false}};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(chrono[i].mBarNr, int(i + 1));
        EXPECT_EQ(chrono[i].mSimilarBarsIx, firsts[i].first) << i;
        EXPECT_EQ(chrono[i].mIsFirstBarOfSimilarBarGroup, firsts[i].second) << i;
    }
    // Identical bars average to themselves: 4 + 3 + 4 + 4 + 3 events, all weight 100.
    EXPECT_EQ(avrg.AvrgEvsClave().size(), 18u);
    EXPECT_FLOAT_EQ(avrg.AvrgEvsClave().mLength, 20.0f);
    EXPECT_FLOAT_EQ(avrg.AvrgEvsClave().back().mBeatPos, 19.0f);
    EXPECT_EQ(avrg.AvrgEvsClave().back().mWeight, 100);

    // GenerateRegion keeps 4..12: bars 2 and 3, 0.8125 apart.
    avrg.SimilarBarssParams().mCreateClaveInRange = TCreateClaveInRange_GenerateRegion;
    ASSERT_TRUE(avrg.FindSimilarBarssAndAvrgEvsClave(FourFour(), CGenEvsChord(), FiveBars(), 4.0f, 12.0f));
    EXPECT_EQ(Groups(avrg.SimilarBarss()), (TGroups {{2}, {3}}));
    EXPECT_FLOAT_EQ(avrg.AvrgEvsClave().front().mBeatPos, 4.0f);
}

TEST(AvrgClaveEntry, ClaveFromChordChanges)
{
    // Velocity 100 is reached first by weight 72: round(1 + 126 * 199 / 254) =
    // round(99.72) = 100, while 71 gives round(99.22) = 99.
    CGenEvsChord chords;
    chords.push_back(CGenEvChord(0.0f, Chord("C")));
    chords.push_back(CGenEvChord(2.0f, Chord("C"))); // the same chord again: no change
    chords.push_back(CGenEvChord(4.0f, Chord("G")));
    chords.push_back(CGenEvChord(6.0f)); // undefined chord
    chords.push_back(CGenEvChord(8.0f, Chord("C")));
    CGenAvrgClave avrg;
    CGenEvsClave made = avrg._CreateEvClaveOnEachChordChange(chords, 0.0f, 12.0f);
    ASSERT_EQ(made.size(), 3u);
    EXPECT_FLOAT_EQ(made[0].mBeatPos, 0.0f);
    EXPECT_FLOAT_EQ(made[1].mBeatPos, 4.0f);
    EXPECT_FLOAT_EQ(made[2].mBeatPos, 8.0f);
    EXPECT_EQ(made[0].mWeight, 72);
    EXPECT_FLOAT_EQ(made.mLength, 12.0f);
    made = avrg._CreateEvClaveOnEachChordChange(chords, 3.0f, 8.0f);
    ASSERT_EQ(made.size(), 1u);
    EXPECT_FLOAT_EQ(made[0].mBeatPos, 4.0f);

    // An empty clave is replaced: three bars with a downbeat each, all alike.
    avrg.SimilarBarssParams().mCreateClaveInRange = TCreateClaveInRange_GenerateRegion;
    ASSERT_TRUE(avrg.FindSimilarBarssAndAvrgEvsClave(FourFour(), chords, CGenEvsClave(), 0.0f, 12.0f));
    EXPECT_EQ(Groups(avrg.SimilarBarss()), (TGroups {{1, 2, 3}}));
    ASSERT_EQ(avrg.AvrgEvsClave().size(), 3u);
    EXPECT_EQ(avrg.AvrgEvsClave()[2].mWeight, 72);
}

TEST(AvrgClaveText, FormsAndSongParts)
{
    CGenAvrgClave avrg;
    avrg.SimilarBarssParams().mSimilarityMatrix_SimilarIsAboveThresh = 0.9f;
    ASSERT_TRUE(avrg.FindSimilarBarssAndAvrgEvsClave(FourFour(), CGenEvsChord(), FiveBars(), 0.0f, 20.0f));
    std::ostringstream os;
    os << avrg.SimilarBarss()[0];
    EXPECT_EQ(os.str().rfind("TSimilarBars: BarNrs 1 3, Length 4, AvrgEvs ", 0), 0u) << os.str();
    os.str("");
    os << avrg.ChronologicalSimilarBars()[2];
    EXPECT_EQ(os.str(), "TChronologicalSimilarBar: BarNr 3, BeatPosAbs 8, IsFirstBarOfSimilarBarGroup 0, SimilarBarsIx 0");
    EXPECT_EQ(avrg.TraceString().rfind("CGenAvrgClave: SongParts 0, AvrgEvsClave ", 0), 0u);

    // The song-part analysis is an interface only.
    EXPECT_FALSE(avrg.FindSongPartsAndAvrgEvsClave(FourFour(), FiveBars(), 0.0f, 20.0f));
    EXPECT_TRUE(avrg.SongParts().empty());
    EXPECT_TRUE(avrg._FindSongPartsStart(FourFour(), FiveBars(), 0.0f, 20.0f).empty());
    EXPECT_TRUE(GenIsUndef(avrg._FindAveragingLoopLengthForSongPart(FiveBars(), 0.0f, 20.0f)));
    EXPECT_TRUE(avrg._FindAvrgEvsClave(FourFour(), FiveBars(), 20.0f).empty());
    EXPECT_TRUE(avrg._FindAvrgEvsClaveForSongPart(FiveBars(), 0.0f, 20.0f, 4.0f).empty());
    EXPECT_FLOAT_EQ(avrg._SongPartEndBeatPosAbs(0, 20.0f), 20.0f);
}
