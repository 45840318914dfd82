// Whole generations over small libraries built here: which patterns a layer
// chooses, where they go, and what comes out.
#include "Generator/CGenGenerator.h"
#include "Generator/clave/CGenClaveIxPatternHist.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/StyleGraphTestModules.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using TNames = std::vector<std::string>;

int Uid(const char* path)
{
    const TInstTreeUid uid = GenDrumInstTreeV1().FindUidWithPath(path);
    EXPECT_NE(uid, TInstTreeUid_Undef) << path;
    return GenInstTreeUidToMB1(uid);
}

// One bar of 4/4: a kick on 1, a snare on 3 and one more note that tells the
// patterns apart (its position is `mark`).
CGenPattern Bar(const char* name, float mark)
{
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(CGenEv(0.0f, 0.25f, st_NoteOn, Uid("Drums.Ki"), 100));
    evs.InsertAtBeatPos(CGenEv(2.0f, 0.25f, st_NoteOn, Uid("Drums.Sn"), 90));
    evs.InsertAtBeatPos(CGenEv(mark, 0.25f, st_NoteOn, Uid("Drums.Ki"), 70));
    return CGenPattern(name, evs);
}

struct SmallDrummer {
    CGenGenerator generator;
    SmallDrummer() { generator.CreateDefaultGenre(); }

    CGenInstLib& Lib() { return *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums); }
    CGenPatternGraphBoost& Graph(TPatternGraphType t = TPatternGraphType_AccentFamily) { return Lib().PatternGraph(t); }
    CGenStyle& Style() { return Lib().mStyles[0]; }

    CGenEvsNameds Run(CGenGeneratorParams p, TGenDict& memento, TRandomSeedMode mode = TRandomSeedMode_Keep,
        TGenerateWhat what = TGenerateWhat_All)
    {
        CGenEvsNameds evs;
        generator.Generate(what, mode, p, &memento, evs);
        mLastDecisionLog = p.DecisionLog();
        return evs;
    }
    std::vector<std::string> mLastDecisionLog;
};

CGenGeneratorParams Region(float start, float length, int nom = 4, int denomIx = 2)
{
    CGenGeneratorParams p(length, -1);
    p.mGenerateStartPosAbs = start;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(nom, denomIx)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    p.mDbgKeepEvsNamedsSeparate = true;
    return p;
}

TNames Names(const CGenEvsNameds& evs)
{
    TNames names;
    for (const CGenEvsNamed& el : evs)
        names.push_back(el.mName);
    return names;
}

std::vector<float> Positions(const CGenEvsNameds& evs)
{
    std::vector<float> positions;
    for (const CGenEvsNamed& el : evs)
        positions.push_back(el.mBeatPosAbs);
    return positions;
}

// The seeded generator's states from seed 0, for the draws worked out below:
// state = (state * 1103515245 + 12345) & 0x7fffffff gives
// 12345, 1406932606, 654583775, 1449466924, ...

} // namespace

TEST(CGenPatternSeq, GraphDrivenChoiceDrawsFromAllPatternsEachBar)
{
    SmallDrummer d;
    d.Graph().AddPattern(Bar("A", 1.0f));
    d.Graph().AddPattern(Bar("B", 1.5f));
    d.Graph().AddPattern(Bar("C", 3.0f));
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(Region(0.0f, 16.0f), memento);
    // All three weigh 100: running sums 100, 200, 300, and r = state % 300.
    // 12345 % 300 = 45 -> A; 1406932606 % 300 = 106 -> B;
    // 654583775 % 300 = 275 -> C; 1449466924 % 300 = 124 -> B.
    EXPECT_EQ(Names(evs), (TNames {"A", "B", "C", "B"}));
    EXPECT_EQ(Positions(evs), (std::vector<float> {0.0f, 4.0f, 8.0f, 12.0f}));
    for (const CGenEvsNamed& el : evs) {
        EXPECT_EQ(el.mRenderingPatternGraphType, TPatternGraphType_AccentFamily);
        EXPECT_EQ(el.mEvs.mLength, 4.0f);
    }
    EXPECT_EQ(evs[1].mPatternIx, 1);
    // The graph's generator made exactly four draws.
    EXPECT_EQ(d.Graph().Random().State(), 1449466924u);
    EXPECT_TRUE(d.mLastDecisionLog.empty());
}

TEST(CGenPatternSeq, EdgeDrivenChoiceFollowsWeightedEdges)
{
    SmallDrummer d;
    CGenPatternGraphBoost& g = d.Graph();
    g.AddPattern(Bar("A", 1.0f));
    g.AddPattern(Bar("B", 1.5f));
    g.AddPattern(Bar("C", 3.0f));
    g.AddPattern(Bar("D", 3.5f)); // no out-edges: never a candidate
    g.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(30.0f)));
    g.AddEdge(0, 2, CGenPatternEdge(CGenProbHist(70.0f)));
    g.AddEdge(1, 0, CGenPatternEdge(CGenProbHist(100.0f)));
    g.AddEdge(2, 0, CGenPatternEdge(CGenProbHist(100.0f)));
    g.AddEdge(2, 3, CGenPatternEdge(CGenProbHist(100.0f)));
    CGenGeneratorParams p = Region(0.0f, 20.0f);
    p.mEdgesAndHistory_Active = true;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(p, memento);
    // First bar: A, B, C weigh 100 each (D has no out-edge): 12345 % 300 = 45 -> A.
    // From A: B 30, C 70 (both histories match 0 entries), sums 30, 100:
    // 1406932606 % 100 = 6 -> B. From B only A: no draw.
    // From A again: 654583775 % 100 = 75 -> C.
    // From C: A 100 and D 100, sums 100, 200: 1449466924 % 200 = 124 -> D.
    EXPECT_EQ(Names(evs), (TNames {"A", "B", "A", "C", "D"}));
    EXPECT_EQ(Positions(evs), (std::vector<float> {0.0f, 4.0f, 8.0f, 12.0f, 16.0f}));
}

TEST(CGenPatternSeq, LongestMatchingHistoryWins)
{
    SmallDrummer d;
    CGenPatternGraphBoost& g = d.Graph();
    g.AddPattern(Bar("A", 1.0f));
    g.AddPattern(Bar("B", 1.5f));
    g.AddPattern(Bar("C", 3.0f));
    // From A: B is trained after a history ending in A (match 1), C only
    // without history (match 0), so C drops out however heavy it is.
    g.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(5.0f, 0)));
    g.AddEdge(0, 2, CGenPatternEdge(CGenProbHist(95.0f)));
    g.AddEdge(1, 0, CGenPatternEdge(CGenProbHist(100.0f)));
    g.AddEdge(2, 0, CGenPatternEdge(CGenProbHist(100.0f)));
    CGenGeneratorParams p = Region(0.0f, 16.0f);
    p.mEdgesAndHistory_Active = true;
    p.mStartIxPattern = 0; // forced first pattern: no draw
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(p, memento);
    EXPECT_EQ(Names(evs), (TNames {"A", "B", "A", "B"}));
    // Every decision had a single candidate: the generator never stepped.
    EXPECT_EQ(d.Graph().Random().State(), 0u);
}

TEST(CGenPatternSeq, StyleGraphFiltersByName)
{
    SmallDrummer d;
    d.Graph().AddPattern(Bar("A", 1.0f));
    d.Graph().AddPattern(Bar("B", 1.5f));
    d.Graph().AddPattern(Bar("C", 3.0f));
    auto graph = std::make_unique<CGenGFModule>();
    auto* provider = zkgtest::AddModule<CGenGFModulePatternProbProvider>(*graph, "provider");
    auto* filter = zkgtest::AddModule<CGenGFModuleFilterPatternName>(*graph, "filter");
    auto* consumer = zkgtest::AddModule<CGenGFModulePatternProbConsumer>(*graph, "consumer");
    filter->inputFilterString->setStringValue("^[AB]$");
    filter->inputMatchingFactor->setDoubleValue(1.0);
    filter->inputNonMatchingFactor->setDoubleValue(0.0);
    ASSERT_NE(graph->createConnectionFromPortToPortForKey(*provider->outputPatterns, *filter->inputPatterns), nullptr);
    ASSERT_NE(graph->createConnectionFromPortToPortForKey(*filter->outputPatterns, *consumer->inputPatterns), nullptr);
    d.Style().StyleGraphs().SetStyleGraphForKey(std::move(graph), kStyleGraphKey_AccentFam);
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(Region(0.0f, 16.0f), memento);
    // C is dropped; A and B weigh 100: sums 100, 200, r = state % 200.
    // 12345 % 200 = 145 -> B; 1406932606 % 200 = 6 -> A;
    // 654583775 % 200 = 175 -> B; 1449466924 % 200 = 124 -> B.
    EXPECT_EQ(Names(evs), (TNames {"B", "A", "B", "B"}));
    EXPECT_FALSE(d.Style().StyleGraphs().StyleGraphForKey(kStyleGraphKey_AccentFam)->isRunning());
}

TEST(CGenPatternSeq, EmptyStyleGraphRelaxesWithItsMessages)
{
    SmallDrummer d;
    CGenPatternGraphBoost& g = d.Graph();
    g.AddPattern(Bar("A", 1.0f));
    g.AddPattern(Bar("B", 1.5f));
    // An edge between the others keeps the edge path on; A has none.
    g.AddPattern(Bar("C", 3.0f));
    g.AddEdge(1, 2, CGenPatternEdge(CGenProbHist(100.0f)));
    d.Style().StyleGraphs().SetStyleGraphForKey(std::make_unique<CGenGFModule>(), kStyleGraphKey_AccentFam);
    CGenGeneratorParams p = Region(0.0f, 8.0f);
    p.mEdgesAndHistory_Active = true;
    p.mStartIxPattern = 0;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(p, memento);
    // Bar 2 from A: no out-edge, so (a) doesn't apply (no clave), (c) finds
    // nothing, (d) offers B only (the one vertex with an out-edge):
    // one candidate, no draw.
    EXPECT_EQ(Names(evs), (TNames {"A", "B"}));
    EXPECT_EQ(d.mLastDecisionLog,
        (std::vector<std::string> {
            "0 at generatePosRelToLeftBar 4: Not enough training data (c)! Try with "
            "PatternCoordPatternsExtDistHasToMatchLowerThanPercent 1 (1 relaxed by 1.4)",
            "0 at generatePosRelToLeftBar 4: Not enough training data (d)! Allowed patterns are empty even after "
            "calcing again with relaxed condition for PatternCoordStaticAcInt -> too few out_edges defined, using "
            "_CreatePatternsModAndProbsWithoutHistFromAllPatterns",
        }));
}

TEST(CGenPatternSeq, LastResortTakesAllPatternsAtTheRelativePosition)
{
    SmallDrummer d;
    CGenPatternGraphBoost& g = d.Graph();
    g.AddPattern(Bar("A", 1.0f));
    g.AddPattern(Bar("B", 1.5f));
    d.Style().StyleGraphs().SetStyleGraphForKey(std::make_unique<CGenGFModule>(), kStyleGraphKey_AccentFam);
    CGenGeneratorParams p = Region(8.0f, 8.0f);
    p.mEdgesAndHistory_Active = true;
    p.mStartIxPattern = 0;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(p, memento);
    // Without any edge no vertex qualifies in the edge path, so bar 2 falls
    // through (c) and (d) to (e): A and B at weight 1, sums 1 and 2,
    // 12345 % 2 = 1 -> B. (e) places it at the position relative to the left
    // bar (4), not at 8 + 4: it lies before the region, so the cut of what
    // lies before the start moves it to 8 with nothing left of it.
    EXPECT_EQ(Names(evs), (TNames {"A", "B"}));
    EXPECT_EQ(Positions(evs), (std::vector<float> {8.0f, 8.0f}));
    EXPECT_FALSE(evs[0].mEvs.empty());
    EXPECT_TRUE(evs[1].mEvs.empty());
    const std::string at = "0 at generatePosRelToLeftBar 4: Not enough training data ";
    ASSERT_EQ(d.mLastDecisionLog.size(), 3u);
    EXPECT_EQ(d.mLastDecisionLog[0].rfind(at + "(c)!", 0), 0u);
    EXPECT_EQ(d.mLastDecisionLog[1].rfind(at + "(d)!", 0), 0u);
    EXPECT_EQ(d.mLastDecisionLog[2],
        at + "(e)! Try all patterns (and not restricted by edges to connected patterns) with relaxed "
             "PatternCoordPatternsDistExtHasToMatchLowerThanPercent (TBD: we could try to obey clave here first)");
}

TEST(CGenPatternSeq, NoStyleGraphMeansNoRelaxation)
{
    SmallDrummer d;
    d.Graph().AddPattern(Bar("A", 1.0f));
    d.Graph().AddPattern(Bar("B", 1.5f));
    CGenGeneratorParams p = Region(0.0f, 8.0f);
    p.mEdgesAndHistory_Active = true;
    p.mStartIxPattern = 0;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(p, memento);
    // Bar 2 finds nothing and stays silent; nothing is logged.
    EXPECT_EQ(Names(evs), (TNames {"A"}));
    EXPECT_TRUE(d.mLastDecisionLog.empty());
}

TEST(CGenPatternSeq, ClaveRejectionRelaxesFromTheClaveThresholdOn)
{
    SmallDrummer d;
    CGenGenreLib& genre = *d.generator.GenreLibs().FindGenreLib(kDefaultGenre);
    CGenClaveLib family("Family");
    CGenEvsClave clavePattern(4.0f);
    clavePattern.push_back(CGenEvClave(0.0f, 100));
    family.push_back(CGenClavePattern("one", clavePattern));
    genre.mClaveLibs.push_back(family);
    CGenPatternGraphBoost& g = d.Graph();
    // A fits the clave fully at its start; B has no link at all.
    CGenPattern a = Bar("A", 1.0f);
    a.mClaveLinks.push_back(CGenClaveLink(0, 0, 100));
    g.AddPattern(a);
    g.AddPattern(Bar("B", 1.5f));
    g.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(100.0f)));
    d.Style().StyleGraphs().SetStyleGraphForKey(std::make_unique<CGenGFModule>(), kStyleGraphKey_AccentFam);

    CGenGeneratorParams p = Region(0.0f, 8.0f);
    p.mEdgesAndHistory_Active = true;
    p.mStartIxPattern = 0;
    p.mEvsClave_PrototypeClaveTrackEnabled = true;
    p.mEvsClave = clavePattern;
    // The host's timetable: the one clave pattern in every bar.
    p.mParamsClave.mClaveRecalcOnGenerate = kClaveRecalcOnGenerate_UseStored;
    p.mEvsClaveClosestIxPatternHistForName["Family"] = {{0.0f, 0}, {4.0f, 0}};
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(p, memento);
    // Bar 1: A forced at 50 * F(9, match 1, variance 1 - 1) = 50 * 1.
    // Bar 2 from A: B has no link, match 0: 1 - 0 > 0 rejects it. (a)
    // repeats with min(1, max(1 / 1.4, 1) * 1) = 1, the same threshold; (c)
    // finds nothing; (d) takes the vertices with out-edges, and only A
    // passes the clave (at 4 + 0, relative position 0 into the clave).
    EXPECT_EQ(Names(evs), (TNames {"A", "A"}));
    ASSERT_EQ(d.mLastDecisionLog.size(), 3u);
    EXPECT_EQ(d.mLastDecisionLog[0],
        "0 at generatePosRelToLeftBar 4: Not enough training data (a)! Try with relaxed "
        "EvsClavePatternsDistHasToMatchLowerThanPercent");
    EXPECT_EQ(d.mLastDecisionLog[1].rfind("0 at generatePosRelToLeftBar 4: Not enough training data (c)!", 0), 0u);
    EXPECT_EQ(d.mLastDecisionLog[2].rfind("0 at generatePosRelToLeftBar 4: Not enough training data (d)!", 0), 0u);
}
