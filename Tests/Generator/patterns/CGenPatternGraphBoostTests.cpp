#include "Generator/library/CGenGenreLibs.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

CGenEvs Evs(std::initializer_list<float> positions, float length = 4.0f, int noteNr = 36)
{
    CGenEvs evs(length);
    for (float p : positions)
        evs.push_back(CGenEv(p, 0.25f, st_NoteOn, noteNr, 100));
    return evs;
}

const CGenEvsCompare kExact(0, CGenEvCompare(0));

// Three patterns, edges 0->1 (two entries), 1->2, 2->0, and a conversion.
CGenPatternGraphBoost SmallGraph()
{
    CGenPatternGraphBoost g(TPatternGraphType_System);
    g.AddPattern(CGenPattern("a", Evs({0.0f, 2.0f}), CGenPatternCoordInt(20.0f, 40.0f)));
    g.AddPattern(CGenPattern("b", Evs({0.0f, 1.0f, 2.0f, 3.0f}), CGenPatternCoordInt(60.0f, 10.0f)));
    g.AddPattern(CGenPattern("c", Evs({0.5f}, 2.0f), CGenPatternCoordInt(35.0f, 90.0f)));
    g.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(70.0f), CGenProbHist(30.0f, 2, 0)));
    g.AddEdge(1, 2, CGenPatternEdge(CGenProbHist(100.0f)));
    g.AddEdge(2, 0, CGenPatternEdge(CGenProbHist(50.0f)));
    g.UpdatePatternCoordConvToMinAndMax();
    return g;
}

CGenClavePattern ClavePattern(std::initializer_list<float> positions)
{
    CGenEvsClave evs(4.0f);
    for (float p : positions)
        evs.push_back(CGenEvClave(p, 100));
    return CGenClavePattern("clave", evs);
}

// The stored layouts of older class versions of the graph.
struct GraphV0 {
    TGenPatternGraphBoost mGraph;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("TGenPatternGraphBoost", mGraph);
    }
};

struct GraphV2 {
    TGenPatternGraphBoost mGraph;
    int mType = 0;
    CGenClaveLib mDummy {"dropped"};
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("TGenPatternGraphBoost", mGraph);
        ar& boost::serialization::make_nvp("mType", mType);
        ar& boost::serialization::make_nvp("dummyWeakClaveLib", mDummy);
    }
};

struct GraphV4 {
    TGenPatternGraphBoost mGraph;
    int mType = 0;
    CGenClaveLib mDummy {"dropped"};
    CGenPatternCoordConv mConv;
    CGenVaryIntns mVaryIntns;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("TGenPatternGraphBoost", mGraph);
        ar& boost::serialization::make_nvp("mType", mType);
        ar& boost::serialization::make_nvp("dummyWeakClaveLib", mDummy);
        ar& boost::serialization::make_nvp("mPatternCoordConv", mConv);
        ar& boost::serialization::make_nvp("mVaryIntns", mVaryIntns);
    }
};

// Boost.Graph's layout with an edge whose end lies beyond the patterns.
struct GraphLayoutWithBadEdge {
    template <class Archive>
    void save(Archive& ar, const unsigned int) const
    {
        TGenPatternGraphBoost g;
        boost::add_edge(0, 0, CGenPatternEdge(CGenProbHist(1.0f)), g);
        const int V = 1, E = 1, u = 0, v = 5;
        ar << boost::serialization::make_nvp("V", V) << boost::serialization::make_nvp("E", E);
        ar << boost::serialization::make_nvp("vertex_property", boost::get(boost::vertex_all_t(), g, 0));
        ar << boost::serialization::make_nvp("u", u) << boost::serialization::make_nvp("v", v);
        ar << boost::serialization::make_nvp("edge_property",
            boost::get(boost::edge_all_t(), g, *boost::edges(g).first));
        const boost::no_property graphProperty;
        ar << boost::serialization::make_nvp("graph_property", graphProperty);
    }
    template <class Archive>
    void load(Archive&, const unsigned int)
    {
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

struct GraphV5WithBadEdge {
    template <class Archive>
    void save(Archive& ar, const unsigned int) const
    {
        const GraphLayoutWithBadEdge layout;
        const int type = 2;
        CGenClaveLibs* libs = nullptr;
        const CGenPatternCoordConv conv;
        const CGenVaryIntns varyIntns;
        ar << boost::serialization::make_nvp("TGenPatternGraphBoost", layout);
        ar << boost::serialization::make_nvp("mType", type);
        ar << boost::serialization::make_nvp("mWeakClaveLibs", libs);
        ar << boost::serialization::make_nvp("mPatternCoordConv", conv);
        ar << boost::serialization::make_nvp("mVaryIntns", varyIntns);
    }
    template <class Archive>
    void load(Archive&, const unsigned int)
    {
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

// Libraries archived ahead of the graph that points at them.
struct LibsAndGraph {
    CGenClaveLibs mLibs;
    CGenPatternGraphBoost mGraph;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("mLibs", mLibs);
        ar& boost::serialization::make_nvp("mGraph", mGraph);
    }
};

} // namespace

BOOST_CLASS_VERSION(GraphV2, 2)
BOOST_CLASS_VERSION(GraphV4, 4)
BOOST_CLASS_VERSION(GraphV5WithBadEdge, 5)
BOOST_CLASS_TRACKING(GraphV0, boost::serialization::track_never)
BOOST_CLASS_TRACKING(GraphLayoutWithBadEdge, boost::serialization::track_never)

TEST(CGenPatternGraphBoost, PatternsByNameAndByEvents)
{
    CGenPatternGraphBoost g = SmallGraph();
    EXPECT_EQ(g.PatternCount(), 3u);
    EXPECT_EQ(g.FindPatternWithName("b"), 1u);
    EXPECT_EQ(g.FindPatternWithName("x"), 3u);
    EXPECT_EQ(g.FindPatternThatMatches(Evs({0.5f}, 2.0f), kExact), 2u);
    EXPECT_FALSE(g.EvsAreUnique(Evs({0.5f}, 2.0f), kExact));
    EXPECT_TRUE(g.EvsAreUnique(Evs({0.75f}), kExact));
    // A duplicate isn't added; the answer is the vertex count, not the twin.
    EXPECT_EQ(g.AddPatternIfUniqueEvs(CGenPattern("twin", Evs({0.0f, 2.0f})), kExact), 3u);
    EXPECT_EQ(g.PatternCount(), 3u);
    EXPECT_EQ(g.AddPatternIfUniqueEvs(CGenPattern("d", Evs({1.5f})), kExact), 3u);
    EXPECT_EQ(g.PatternCount(), 4u);

    // By single notes: only sounding notes count, compared by position here.
    CGenEvs withCtr = Evs({0.0f, 2.0f}, 4.0f, 40);
    withCtr.insert(withCtr.begin(), CGenEv(0.0f, TGenBeatLength_Undef, st_CtrChange, 7, 100));
    EXPECT_EQ(g.FindPatternThatMatchesNotes(withCtr, CGenEvCompare(1)), 0u);
    EXPECT_EQ(g.FindPatternThatMatchesNotes(withCtr, CGenEvCompare(2)), 4u);
    std::set<int> ixs;
    g.FindPatternsMatchingNotes(Evs({0.0f, 1.0f, 2.0f, 3.0f}, 4.0f, 99), CGenEvCompare(1), ixs);
    EXPECT_EQ(ixs, (std::set<int> {1}));

    EXPECT_TRUE(g.ReplacePatternWithSameName(CGenPattern("c", Evs({1.0f}))));
    EXPECT_EQ(g.PatternAtIx(2).mEvs, Evs({1.0f}));
    EXPECT_FALSE(g.ReplacePatternWithSameName(CGenPattern("zz")));
    EXPECT_EQ(g.ReplacePatternWithSameNameOrAddPattern(CGenPattern("zz")), 4u);
    EXPECT_EQ(g.ReplacePatternWithSameNameOrAddPattern(CGenPattern("a", Evs({3.0f}))), 0u);
    EXPECT_EQ(g.PatternCount(), 5u);
    // Beyond the vertices: the shared empty pattern.
    EXPECT_EQ(g.PatternAtIx(99).mName, "");
    EXPECT_TRUE(GenIsUndef(g.PatternAtIx(99).Length()));
}

TEST(CGenPatternGraphBoost, EdgesInListOrder)
{
    CGenPatternGraphBoost g = SmallGraph();
    EXPECT_EQ(g.EdgeCount(), 3u);
    EXPECT_EQ(g.PatternsWithOutEdgesSize(), 3u);
    EXPECT_TRUE(g.HasEdgeBetween(0, 1));
    EXPECT_FALSE(g.HasEdgeBetween(1, 0));
    EXPECT_FALSE(g.HasEdgeBetween(0, 17));
    EXPECT_EQ(g.FindEdgeIxBetween(2, 0), 2);
    EXPECT_EQ(g.FindEdgeIxBetween(0, 2), -1);
    EXPECT_FLOAT_EQ(g.Edge(g.FindEdgeBetween(1, 2).first).ProbabilityForEmptyHist(), 100.0f);
    EXPECT_FLOAT_EQ(g.EdgeAtIx(0).MaxProbabilityForAllHistories(), 70.0f);
    EXPECT_TRUE(g.EdgeAtIx(3).empty());

    // An edge beyond the vertices grows them with empty patterns.
    g.AddEdge(1, 5, CGenPatternEdge(CGenProbHist(10.0f)));
    EXPECT_EQ(g.PatternCount(), 6u);
    EXPECT_EQ(g.PatternAtIx(4), CGenPattern());
    EXPECT_EQ(g.FindEdgeIxBetween(1, 5), 3);

    g.RemoveEdge(1, 2);
    EXPECT_FALSE(g.HasEdgeBetween(1, 2));
    EXPECT_EQ(g.FindEdgeIxBetween(1, 5), 2);
    g.RemoveEdge(g.FindEdgeBetween(2, 0).first);
    EXPECT_EQ(g.EdgeCount(), 2u);
    EXPECT_EQ(g.PatternsWithOutEdgesSize(), 2u);
    g.EraseAllEdges();
    EXPECT_EQ(g.EdgeCount(), 0u);
    EXPECT_EQ(g.PatternCount(), 6u);
    g.EraseAllPatterns();
    EXPECT_EQ(g.PatternCount(), 0u);
}

TEST(CGenPatternGraphBoost, ClaveLinksGoThroughTheFirstLibrary)
{
    CGenPatternGraphBoost g = SmallGraph();
    EXPECT_EQ(g.LinkToClave(0, ClavePattern({0.0f, 1.5f}), 80.0f, 0), -1);
    EXPECT_TRUE(g.PatternAtIx(0).mClaveLinks.empty());

    CGenClaveLibs libs;
    libs.push_back(CGenClaveLib("Family"));
    libs.front().push_back(ClavePattern({0.0f}));
    g.SetWeakClaveLibs(&libs);
    // A new clave pattern is appended; the percentage is truncated.
    EXPECT_EQ(g.LinkToClave(0, ClavePattern({0.0f, 1.5f}), 87.9f, -2), 1);
    EXPECT_EQ(libs.front().size(), 2u);
    EXPECT_EQ(g.PatternAtIx(0).mClaveLinks, CGenClaveLinks {CGenClaveLink(1, -2, 87)});
    // A known one is found by its events; a link with the same pair stays as it was.
    EXPECT_EQ(g.LinkToClave(0, ClavePattern({0.0f}), 50.0f, 0), 0);
    EXPECT_EQ(g.LinkToClave(0, ClavePattern({0.0f, 1.5f}), 10.0f, -2), 1);
    EXPECT_EQ(g.PatternAtIx(0).mClaveLinks, (CGenClaveLinks {CGenClaveLink(1, -2, 87), CGenClaveLink(0, 0, 50)}));

    EXPECT_EQ(g.AddPatternAndLinkToClave(CGenPattern("d"), ClavePattern({2.0f}), 60.0f, 1), 3u);
    EXPECT_EQ(g.PatternAtIx(3).mClaveLinks, CGenClaveLinks {CGenClaveLink(2, 1, 60)});
    EXPECT_EQ(g.AddPatternIfUniqueEvsAndLinkToClave(CGenPattern("e"), kExact, ClavePattern({3.0f}), 60.0f, 1), 4u);
    EXPECT_EQ(libs.front().size(), 3u);

    g.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(5.0f)));
    g.Edge(g.FindEdgeBetween(0, 1).first).mProbHists[0].mClaveLinks.AddLinkIfNew(1, 0, 40);
    g.EraseAllClaveLinksFor(1);
    EXPECT_EQ(g.PatternAtIx(0).mClaveLinks, CGenClaveLinks {CGenClaveLink(0, 0, 50)});
    EXPECT_TRUE(g.EdgeAtIx(0).mProbHists[1].mClaveLinks.empty());
    g.EraseAllClaveLinks();
    EXPECT_TRUE(g.PatternAtIx(0).mClaveLinks.empty());
    EXPECT_TRUE(g.PatternAtIx(3).mClaveLinks.empty());
}

TEST(CGenPatternGraphBoost, CoordinateRangeAndSanity)
{
    CGenPatternGraphBoost g = SmallGraph();
    const CGenPatternCoordConv c = g.PatternCoordConv();
    EXPECT_FLOAT_EQ(c.mMinComplInt, 20.0f);
    EXPECT_FLOAT_EQ(c.mMaxComplInt, 60.0f);
    EXPECT_FLOAT_EQ(c.mMinIntnInt, 10.0f);
    EXPECT_FLOAT_EQ(c.mMaxIntnInt, 90.0f);
    EXPECT_EQ(CGenPatternGraphBoost().FindPatternCoordIntMinAndMax(), CGenPatternCoordConv());

    std::string report;
    EXPECT_TRUE(g.CheckContentSanity("p ", report));
    EXPECT_EQ(report, "");
    CGenPatternCoordConv bad = c;
    bad.mMinIntnInt = 95.0f;
    g.SetPatternCoordConv(bad);
    EXPECT_FALSE(g.CheckContentSanity("p ", report));
    EXPECT_EQ(report, "p 2 CGenPatternCoordConv : MinIntnInt() > MaxIntnInt()\n");
}

TEST(CGenPatternGraphBoost, EqualityAndSeeds)
{
    const CGenPatternGraphBoost g = SmallGraph();
    CGenPatternGraphBoost h = g;
    EXPECT_TRUE(h == g);
    // The layer and the seeds don't count.
    h.SetPatternGraphType(TPatternGraphType_Fill);
    h.RandomSeed(77);
    EXPECT_TRUE(h == g);
    EXPECT_EQ(h.RandomSeedStart(), 77u);
    EXPECT_EQ(h.RandomSeedCurrent(), 77u);
    h.Random().Next();
    EXPECT_EQ(h.RandomSeedStart(), 77u);
    EXPECT_EQ(h.RandomSeedCurrent(), 1218823938u);

    h.Edge(h.FindEdgeBetween(0, 1).first).mProbHists[1].mHistory.push_back(1);
    EXPECT_FALSE(h == g);
    h = g;
    h.PatternRefAtIx(1).mInfo = "x";
    EXPECT_FALSE(h == g);
    h = g;
    CGenPatternCoordConv c = h.PatternCoordConv();
    c.mMaxIntnInt = 91.0f;
    h.SetPatternCoordConv(c);
    EXPECT_FALSE(h == g);
}

TEST(CGenPatternGraphBoost, ArchiveRoundTrips)
{
    const CGenPatternGraphBoost g = SmallGraph();
    CGenPatternGraphBoost t(TPatternGraphType_Undef);
    ASSERT_TRUE(FromTextArchive(ToTextArchive(g), t));
    EXPECT_TRUE(t == g);
    EXPECT_EQ(t.PatternGraphType(), TPatternGraphType_System);
    EXPECT_EQ(t.WeakClaveLibs(), nullptr);
    EXPECT_EQ(t.PatternAtIx(1).mName, "b");
    EXPECT_EQ(t.FindEdgeIxBetween(2, 0), 2);
    EXPECT_EQ(t.EdgeAtIx(0), g.EdgeAtIx(0));

    const CGenPatternGraphBoost b = BinaryRoundTrip(g);
    EXPECT_TRUE(b == g);
    EXPECT_EQ(b.PatternGraphType(), TPatternGraphType_System);

    // Reading replaces what a graph held.
    CGenPatternGraphBoost full = SmallGraph();
    ASSERT_TRUE(FromTextArchive(ToTextArchive(CGenPatternGraphBoost()), full));
    EXPECT_EQ(full.PatternCount(), 0u);
    EXPECT_EQ(full.EdgeCount(), 0u);
}

TEST(CGenPatternGraphBoost, ClaveLibrariesThroughThePointer)
{
    // Archived ahead of the graph: the graph points at the loaded libraries.
    LibsAndGraph both;
    both.mLibs.push_back(CGenClaveLib("Family"));
    both.mLibs.front().push_back(ClavePattern({0.0f}));
    both.mGraph = SmallGraph();
    both.mGraph.SetWeakClaveLibs(&both.mLibs);
    LibsAndGraph loaded;
    ASSERT_TRUE(FromTextArchive(ToTextArchive(both), loaded));
    EXPECT_EQ(loaded.mGraph.WeakClaveLibs(), &loaded.mLibs);
    EXPECT_EQ(loaded.mLibs, both.mLibs);

    // Alone, the graph reads its own copy of the libraries and keeps it;
    // a copy of the graph gets a copy of them.
    CGenPatternGraphBoost alone;
    ASSERT_TRUE(FromTextArchive(ToTextArchive(both.mGraph), alone));
    ASSERT_NE(alone.WeakClaveLibs(), nullptr);
    EXPECT_EQ(*alone.WeakClaveLibs(), both.mLibs);
    const CGenPatternGraphBoost copy = alone;
    ASSERT_NE(copy.WeakClaveLibs(), nullptr);
    EXPECT_NE(copy.WeakClaveLibs(), alone.WeakClaveLibs());
    EXPECT_EQ(*copy.WeakClaveLibs(), both.mLibs);
    // Pointing it elsewhere drops the own copy.
    alone.SetWeakClaveLibs(&both.mLibs);
    EXPECT_EQ(alone.WeakClaveLibs(), &both.mLibs);
    // A borrowed pointer is copied as it is.
    const CGenPatternGraphBoost borrowed = alone;
    EXPECT_EQ(borrowed.WeakClaveLibs(), &both.mLibs);
}

TEST(CGenPatternGraphBoost, OlderVersions)
{
    const CGenPatternGraphBoost g = SmallGraph();

    // Version 0: the graph alone; the layer stays as constructed.
    GraphV0 v0 {g.Graph()};
    CGenPatternGraphBoost r0(TPatternGraphType_Percussion);
    r0.SetPatternCoordConv(g.PatternCoordConv());
    r0.VaryIntns().push_back(CGenVaryIntn());
    ASSERT_TRUE(FromTextArchive(ToTextArchive(v0), r0));
    EXPECT_EQ(r0.PatternGraphType(), TPatternGraphType_Percussion);
    EXPECT_EQ(r0.PatternCount(), 3u);
    EXPECT_EQ(r0.EdgeCount(), 3u);
    EXPECT_EQ(r0.PatternCoordConv(), CGenPatternCoordConv());
    EXPECT_TRUE(r0.VaryIntns().empty());

    // Version 2: with the layer and a clave library that is read and dropped.
    GraphV2 v2 {g.Graph(), 3};
    CGenPatternGraphBoost r2;
    ASSERT_TRUE(FromTextArchive(ToTextArchive(v2), r2));
    EXPECT_EQ(r2.PatternGraphType(), TPatternGraphType_Fill);
    EXPECT_EQ(r2.WeakClaveLibs(), nullptr);
    EXPECT_EQ(r2.PatternAtIx(2).mName, "c");
    EXPECT_EQ(r2.PatternCoordConv(), CGenPatternCoordConv());

    // Version 4: with the conversion and the intensity variations.
    GraphV4 v4 {g.Graph(), 4, CGenClaveLib("dropped"), g.PatternCoordConv(), CGenVaryIntns(1)};
    v4.mVaryIntns.front().mName = "soft";
    CGenPatternGraphBoost r4;
    ASSERT_TRUE(FromTextArchive(ToTextArchive(v4), r4));
    EXPECT_TRUE(r4 == g);
    EXPECT_EQ(r4.PatternGraphType(), TPatternGraphType_Percussion);
    ASSERT_EQ(r4.VaryIntns().size(), 1u);
    EXPECT_EQ(r4.VaryIntns().front().mName, "soft");
}

TEST(CGenPatternGraphBoost, BadArchivesFailWithoutHarm)
{
    CGenPatternGraphBoost g;
    EXPECT_FALSE(FromTextArchive(ToTextArchive(GraphV5WithBadEdge()), g));
    const std::string text = ToTextArchive(SmallGraph());
    EXPECT_FALSE(FromTextArchive(text.substr(0, text.size() / 2), g));
    EXPECT_FALSE(FromTextArchive("22 serialization::archive 18 0 5 0 0 4000000000 7", g));
    // The graph stays usable.
    g = SmallGraph();
    EXPECT_EQ(g.PatternCount(), 3u);
}

TEST(CGenPatternGraphBoost, TheGenrePointsItsGraphsAtItsOwnClaveLibraries)
{
    CGenGenreLib genre("Rock");
    ASSERT_EQ(genre.mClaveLibs.size(), 1u);
    EXPECT_EQ(genre.mClaveLibs.front().mName, "DefaultClaveLib from ctor");
    EXPECT_TRUE(genre.AssertWeakClaveLibs());
    EXPECT_EQ(genre.mInstLibs.front().PatternGraph(TPatternGraphType_Fill).WeakClaveLibs(), &genre.mClaveLibs);

    const CGenGenreLib copy = genre;
    EXPECT_TRUE(copy.AssertWeakClaveLibs());
    EXPECT_EQ(copy.mInstLibs.front().PatternGraph(TPatternGraphType_System).WeakClaveLibs(), &copy.mClaveLibs);
    CGenGenreLibs genres;
    genres.push_back(genre);
    genres.CreateDefaultGenre();
    for (const CGenGenreLib& g : genres)
        EXPECT_TRUE(g.AssertWeakClaveLibs());
    genre.mInstLibs.front().PatternGraph(TPatternGraphType_System).SetWeakClaveLibs(nullptr);
    EXPECT_FALSE(genre.AssertWeakClaveLibs());
}
