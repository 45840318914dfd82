#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProb.h"

#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

CGenEvs Evs(std::initializer_list<float> positions, float length = 4.0f)
{
    CGenEvs evs(length);
    for (float p : positions)
        evs.push_back(CGenEv(p, 0.25f, st_NoteOn, 36, 100));
    return evs;
}

CGenPatternGraphBoost Graph()
{
    CGenPatternGraphBoost g(TPatternGraphType_AccentAddon);
    g.AddPattern(CGenPattern("a", Evs({0.0f, 1.0f, 3.0f})));
    g.AddPattern(CGenPattern("b", Evs({0.5f}, 2.0f)));
    return g;
}

} // namespace

TEST(CGenPatternModAndProb, CopyOnFirstWriteNeverReachesTheStoredPattern)
{
    CGenPatternGraphBoost g = Graph();
    CGenPatternModAndProb el(&g, 0, 40.0f, 8.0f);
    EXPECT_EQ(el.PatternGraphType(), TPatternGraphType_AccentAddon);
    EXPECT_FALSE(el.PatternIsModified());
    EXPECT_EQ(&el.PatternToBeRead(), &g.PatternAtIx(0));

    el.PatternToBeModified().mEvs[0].mBeatPos = 0.5f;
    EXPECT_TRUE(el.PatternIsModified());
    EXPECT_NE(&el.PatternToBeRead(), &g.PatternAtIx(0));
    EXPECT_EQ(EvPositions(el.PatternToBeRead().mEvs), (std::vector<float> {0.5f, 1.0f, 3.0f}));
    EXPECT_EQ(EvPositions(g.PatternAtIx(0).mEvs), (std::vector<float> {0.0f, 1.0f, 3.0f}));
    // The copy is made once: a second writer sees the first one's change.
    el.PatternToBeModified().mName = "changed";
    EXPECT_FLOAT_EQ(el.PatternToBeModified().mEvs[0].mBeatPos, 0.5f);
    EXPECT_EQ(g.PatternAtIx(0).mName, "a");
    // The original is still reachable.
    EXPECT_EQ(el.OriginalPattern().mName, "a");

    // A new pattern is taken over without a copy.
    CGenPatternModAndProb fresh(&g, 1, 40.0f, 0.0f);
    fresh.NewPatternToBeModified();
    EXPECT_TRUE(fresh.PatternIsModified());
    EXPECT_EQ(fresh.PatternToBeRead(), CGenPattern());
}

TEST(CGenPatternModAndProb, WhatEachConstructorRefersTo)
{
    CGenPatternGraphBoost g = Graph();
    const CGenPatternModAndProb ref(&g, 1, 25.0f, 4.0f);
    EXPECT_TRUE(ref.HasValidPattern());
    EXPECT_FLOAT_EQ(ref.Length(), 2.0f);
    EXPECT_TRUE(GenIsUndef(ref.mOverlayRangeAc.mMin));
    EXPECT_TRUE(GenIsUndef(ref.mOverlayRangePerc.mMax));

    // An index beyond the graph reads as the shared empty pattern.
    const CGenPatternModAndProb beyond(&g, 7, 25.0f, 4.0f);
    EXPECT_FALSE(beyond.HasValidPattern());
    EXPECT_EQ(beyond.PatternToBeRead(), CGenPattern());
    const CGenPatternModAndProb noGraph(nullptr, 0, 25.0f, 4.0f);
    EXPECT_FALSE(noGraph.HasValidPattern());
    EXPECT_EQ(noGraph.PatternGraphType(), TPatternGraphType_Undef);
    EXPECT_EQ(noGraph.PatternToBeRead(), CGenPattern());

    // New events: modified from the start, at the graph's end position.
    const CGenPatternModAndProb fromEvs(&g, 2.0f, Evs({0.25f}, 1.0f));
    EXPECT_TRUE(fromEvs.PatternIsModified());
    EXPECT_TRUE(fromEvs.HasValidPattern());
    EXPECT_EQ(fromEvs.ItPattern(), 2u);
    EXPECT_EQ(fromEvs.PatternGraphType(), TPatternGraphType_AccentAddon);
    EXPECT_FLOAT_EQ(fromEvs.Length(), 1.0f);
    EXPECT_TRUE(GenIsUndef(fromEvs.mProb));

    // Pool references.
    auto pool = std::make_shared<CGenPatterns>(CGenPatterns {CGenPattern("p0"), CGenPattern("p1", Evs({}, 3.0f))});
    const CGenPatternModAndProb pooled(pool, 1, 0.0f, TPatternGraphType_System);
    EXPECT_TRUE(pooled.IsPatternPoolPattern());
    EXPECT_EQ(pooled.PatternToBeRead().mName, "p1");
    EXPECT_EQ(pooled.PatternGraphType(), TPatternGraphType_System);
    const CGenPatternModAndProb pooledBeyond(pool, 5, 0.0f, TPatternGraphType_System);
    EXPECT_TRUE(pooledBeyond.HasValidPattern());
    EXPECT_EQ(pooledBeyond.PatternToBeRead(), CGenPattern());

    // Copies: modified, overlay ranges zero.
    const CGenPatternModAndProb copy(4.0f, 12.0f, g.PatternAtIx(0));
    EXPECT_TRUE(copy.PatternIsModified());
    EXPECT_FLOAT_EQ(copy.mBeatPosAbs, 4.0f);
    EXPECT_FLOAT_EQ(copy.mBeatPosAbsSTTarget, 12.0f);
    EXPECT_EQ(copy.mOverlayRangeSy, CGenRange<float>(0.0f, 0.0f));
    EXPECT_TRUE(GenIsUndef(copy.mProb));
    EXPECT_EQ(copy.PatternGraphType(), TPatternGraphType_Undef);
    const CGenPatternModAndProb weighted(g.PatternAtIx(1), 60.0f);
    EXPECT_FLOAT_EQ(weighted.mProb, 60.0f);
    EXPECT_TRUE(GenIsUndef(weighted.mBeatPosAbs));
    EXPECT_EQ(weighted.PatternToBeRead().mName, "b");
}

TEST(CGenPatternModAndProb, PositionsAndMoving)
{
    CGenPatternGraphBoost g = Graph();
    CGenPatternModAndProb el(&g, 0, 40.0f, 4.0f);
    EXPECT_FLOAT_EQ(el.EndBeatPosAbs(), 8.0f);
    EXPECT_TRUE(el.ContainsBeatPosAbs(4.0f));
    EXPECT_TRUE(el.ContainsBeatPosAbs(7.9f));
    EXPECT_FALSE(el.ContainsBeatPosAbs(8.0f));
    EXPECT_FALSE(el.ContainsBeatPosAbs(3.9f));

    // Later start: events keep their place in the song, those before it go negative.
    el.MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(6.0f);
    EXPECT_FLOAT_EQ(el.mBeatPosAbs, 6.0f);
    EXPECT_FLOAT_EQ(el.Length(), 2.0f);
    EXPECT_EQ(EvPositions(el.PatternToBeRead().mEvs), (std::vector<float> {-2.0f, -1.0f, 1.0f}));
    EXPECT_EQ(EvPositions(g.PatternAtIx(0).mEvs), (std::vector<float> {0.0f, 1.0f, 3.0f}));

    CGenPatternModAndProb undefLength(CGenPattern("u", CGenEvs()));
    undefLength.mBeatPosAbs = 0.0f;
    EXPECT_TRUE(GenIsUndef(undefLength.EndBeatPosAbs()));
    EXPECT_FALSE(undefLength.ContainsBeatPosAbs(0.0f));
}

TEST(CGenPatternModAndProb, EqualityAndTextForm)
{
    CGenPatternGraphBoost g = Graph();
    CGenPatternModAndProb a(&g, 1, 50.0f, 8.0f);
    CGenPatternModAndProb b(&g, 1, 50.0f, 2.0f);
    // The position is not part of equality.
    EXPECT_TRUE(a == b);
    b.mProb = 51.0f;
    EXPECT_FALSE(a == b);
    b = a;
    b.PatternToBeModified();
    EXPECT_FALSE(a == b);

    EXPECT_EQ(a.TraceString(), "DePattern (It 1)\"b\"Prob 50.00, ConsecProb TGenBeatPos_Undef, BeatPosAbs 8.00, "
                               "BeatPosAbsSTTarget TGenBeatPos_Undef, Length 2.00, TempoBPMRange (-1.00..-1.00)");
    a.mConsecProb = 0.5f;
    a.PatternToBeModified().mTempoBPMRange = CGenRange<float>(90.0f, 120.5f);
    const std::string text = a.TraceString();
    EXPECT_EQ(text.rfind("DePattern (It 1)\"b\"Prob 50.00, ConsecProb 0.50, BeatPosAbs 8.00, BeatPosAbsSTTarget "
                         "TGenBeatPos_Undef, Length 2.00, TempoBPMRange (90.00..120.50) Modified CGenPattern \"b\"",
                  0),
        0u);

    EXPECT_TRUE(a < 0.6f);
    EXPECT_FALSE(0.6f < a);
}
