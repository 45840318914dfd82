#include "Generator/patterns/CGenPatternGraph.h"

#include <gtest/gtest.h>

namespace {

CGenEvs Evs(float pos, float length = 4.0f)
{
    CGenEvs evs(length);
    evs.push_back(CGenEv(pos, 0.25f, st_NoteOn, 36, 100));
    return evs;
}

} // namespace

TEST(CGenPatternGraph, WithoutAGraphEveryAnswerIsNeutral)
{
    CGenPatternGraph none;
    EXPECT_FALSE(none.IsValid());
    EXPECT_EQ(none.Type(), -1);
    EXPECT_EQ(none.PatternCount(), 0);
    EXPECT_EQ(none.EdgeCount(), 0);
    EXPECT_EQ(none.PatternsWithOutEdgesSize(), 0);
    EXPECT_EQ(&none.PatternAtIx(0), &none.PatternAtIx(5));
    EXPECT_EQ(none.PatternAtIx(0), CGenPattern());
    EXPECT_TRUE(none.EdgeAtIx(0).empty());
    EXPECT_FALSE(none.HasEdgeBetween(0, 1));
    EXPECT_EQ(none.FindEdgeIxBetween(0, 1), -1);
    EXPECT_EQ(none.FindPatternWithName("a"), 0);
    EXPECT_EQ(none.AddPattern(CGenPattern("a")), -1);
    EXPECT_FALSE(none.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(1.0f))));
    std::string report;
    EXPECT_FALSE(none.CheckContentSanity("lib ", report));
    EXPECT_EQ(report, "lib no pattern graph\n");
    EXPECT_FALSE(CGenPatternGraph(none).IsValid());
}

TEST(CGenPatternGraph, IntIndicesAndDeepCopies)
{
    CGenPatternGraph g(TPatternGraphType_Percussion);
    EXPECT_EQ(g.Type(), int(TPatternGraphType_Percussion));
    EXPECT_EQ(g.AddPattern(CGenPattern("a", Evs(0.0f))), 0);
    EXPECT_EQ(g.AddPattern(CGenPattern("b", Evs(1.0f))), 1);
    EXPECT_EQ(g.AddPatternIfUniqueEvs(CGenPattern("c", Evs(1.0f)), CGenEvsCompare(0, CGenEvCompare(0))), 2);
    EXPECT_EQ(g.PatternCount(), 2);
    // -1 and indices beyond the last stand for the end position.
    EXPECT_EQ(g.PositionForIx(-1), 2u);
    EXPECT_EQ(g.PositionForIx(9), 2u);
    EXPECT_EQ(g.PatternAtIx(-1), CGenPattern());
    EXPECT_EQ(g.PatternAtIx(1).mName, "b");
    EXPECT_FALSE(g.AddEdge(-1, 0, CGenPatternEdge(CGenProbHist(1.0f))));
    EXPECT_TRUE(g.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(1.0f))));
    EXPECT_TRUE(g.HasEdgeBetween(0, 1));
    EXPECT_FALSE(g.HasEdgeBetween(0, -1));
    EXPECT_EQ(g.FindEdgeIxBetween(0, 1), 0);
    EXPECT_EQ(g.FindPatternWithName("b"), 1);
    EXPECT_EQ(g.FindPatternWithName("z"), 2);
    EXPECT_EQ(g.FindPatternThatMatches(Evs(0.0f), CGenEvsCompare(0, CGenEvCompare(0))), 0);

    CGenPatternGraph copy = g;
    EXPECT_NE(copy.Graph(), g.Graph());
    copy.AddPattern(CGenPattern("only in the copy"));
    copy.RemoveEdge(0, 1);
    EXPECT_EQ(g.PatternCount(), 2);
    EXPECT_EQ(g.EdgeCount(), 1);
    EXPECT_EQ(copy.PatternCount(), 3);
    EXPECT_EQ(copy.EdgeCount(), 0);
    g = copy;
    EXPECT_EQ(g.PatternCount(), 3);

    CGenPatternGraphs graphs;
    graphs.emplace_back(TPatternGraphType_AccentFamily);
    graphs.emplace_back();
    EXPECT_EQ(graphs[0].Type(), 0);
    EXPECT_EQ(graphs[1].Type(), -1);
}
