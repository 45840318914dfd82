// Kit-piece transformations and context:CreateFill from scripts.
//
// Uids of the built-in drum tree (each a nibble, ORed along the path):
//   Drums.Ki.note.s1       0x11100000 = 286261248
//   Drums.Sn               0x12000000 = 301989888
//   Drums.Sn.note.rimClick 0x12200000 = 304087040
//   Drums.Hh.note.hit      0x14100000 = 336592896
// A target writes its non-zero nibbles over the event's: Drums.Sn onto the
// kick 0x11100000 gives 0x12100000 = 303038464.
//
// The fill draws are worked out by hand: one step of the generator is
// state = (state * 1103515245 + 12345) mod 2^31.
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLuaBinding.h"
#include "Generator/scripting/CGenLuaClasses.h"
#include "Generator/scripting/LuaTestSupport.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using zkgen::test::LuaTestState;

// ----- kit pieces

struct Kit {
    CGenGeneratorParams params;
    CGenInstLib instLib {TGenInstType_Drums};
    CGenContext context {&params, nullptr, &instLib};
    LuaTestState state;

    Kit()
    {
        zkgen::lua::SetGlobalContext(state.L, &context);
        state.Ok(R"(
            function Ev(path) local e = Event.New() e:SetUidFromPath(path) e:SetVelocity(100) return e end)");
    }
};

} // namespace

TEST(LuaKitPieceTransformation, KickBecomesSnare)
{
    Kit k;
    k.state.Ok(R"(
        t = KitPieceTransformation.New()
        kick = Ev("Drums.Ki.note.s1") hat = Ev("Drums.Hh.note.hit")
        kickUid = kick:Uid()
        t:SetSourcePath("Drums.Ki") t:SetTargetPath("Drums.Sn")
        t:ApplyToEv(kick) t:ApplyToEv(hat)
        kickAfter = kick:Uid() kickVel = kick:Velocity() hatAfter = hat:Uid())");
    EXPECT_EQ(k.state.Number("kickUid"), 286261248.0);
    EXPECT_EQ(k.state.Number("kickAfter"), 303038464.0);
    // The rule changes no velocity.
    EXPECT_EQ(k.state.Number("kickVel"), 100.0);
    EXPECT_EQ(k.state.Number("hatAfter"), 336592896.0);
}

TEST(LuaKitPieceTransformation, EvMatchesTheSource)
{
    Kit k;
    k.state.Ok(R"(
        t = KitPieceTransformation.New()
        kick = Ev("Drums.Ki.note.s1") snare = Ev("Drums.Sn") hat = Ev("Drums.Hh.note.hit")
        emptyMatchesAll = t:EvMatches(kick) and t:EvMatches(hat)
        t:SetSourcePath("Drums.Ki")
        kickMatches = t:EvMatches(kick) snareMatches = t:EvMatches(snare) hatMatches = t:EvMatches(hat)
        t:SetSourcePath("Drums.Nope")
        unknownMatches = t:EvMatches(kick)
        t:SetTargetPath("Drums.Sn") t:ApplyToEv(kick)
        unknownLeaves = kick:Uid())");
    EXPECT_TRUE(k.state.Bool("emptyMatchesAll"));
    EXPECT_TRUE(k.state.Bool("kickMatches"));
    EXPECT_FALSE(k.state.Bool("snareMatches"));
    EXPECT_FALSE(k.state.Bool("hatMatches"));
    // A source that names nothing in the tree matches nothing.
    EXPECT_FALSE(k.state.Bool("unknownMatches"));
    EXPECT_EQ(k.state.Number("unknownLeaves"), 286261248.0);
}

TEST(LuaKitPieceTransformation, ApplyToEvsTakesTheMatchingEventsOnly)
{
    Kit k;
    // The second kick has no velocity set (-1): it is swapped all the same,
    // and its velocity stays unset.
    k.state.Ok(R"(
        evs = LuaEvents.New()
        for _, p in ipairs({"Drums.Ki.note.s1", "Drums.Sn", "Drums.Hh.note.hit"}) do evs:Add():SetUidFromPath(p) end
        evs:Get(1):SetVelocity(90)
        unset = evs:Add() unset:SetUidFromPath("Drums.Ki.note.s1")
        t = KitPieceTransformation.New()
        t:SetSourcePath("Drums.Ki") t:SetTargetPath("Drums.Sn.note.rimClick")
        t:ApplyToEvs(evs)
        out = ""
        for _, e in evs:Iterator() do out = out .. e:Uid() .. "/" .. e:Velocity() .. " " end)");
    EXPECT_EQ(k.state.String("out"), "304087040/90 301989888/-1 336592896/-1 304087040/-1 ");
}

TEST(LuaKitPieceTransformation, ArgumentCountsAndWrongUserdata)
{
    Kit k;
    k.state.Ok("t = KitPieceTransformation.New() e = Ev('Drums.Ki') evs = LuaEvents.New()");
    EXPECT_EQ(k.state.Run("t:ApplyToEv()"), "applytoev: wrong number of arguments");
    EXPECT_EQ(k.state.Run("t:ApplyToEv(e, e)"), "applytoev: wrong number of arguments");
    EXPECT_EQ(k.state.Run("t:ApplyToEvs()"), "applytoevs: wrong number of arguments");
    EXPECT_EQ(k.state.Run("t:ApplyToEvs(evs, 1)"), "applytoevs: wrong number of arguments");
    EXPECT_EQ(k.state.Run("t:EvMatches()"), "evmatches: wrong number of arguments");
    EXPECT_EQ(k.state.Run("t:EvMatches(e, e)"), "evmatches: wrong number of arguments");
    EXPECT_EQ(k.state.Run("t.EvMatches(e, e)"), "'LuaKitPieceTransformation' expected");
    EXPECT_EQ(k.state.Run("t.ApplyToEv(evs, e)"), "'LuaKitPieceTransformation' expected");
    EXPECT_EQ(k.state.Run("t.SetSourcePath(e, 'Drums.Ki')"), "'LuaKitPieceTransformation' expected");
    EXPECT_EQ(k.state.Run("t:ApplyToEv(evs)"), "'LuaEvent' expected");
    EXPECT_EQ(k.state.Run("t:ApplyToEvs(e)"), "'LuaEvents' expected");
    EXPECT_EQ(k.state.Run("t:SetTargetPath()"), "bad argument #2 to 'SetTargetPath' (string expected, got no value)");
}

TEST(LuaKitPieceTransformation, OutlivesTheRunAndResolvesInTheNextOne)
{
    Kit k;
    k.state.Ok(R"(
        t = KitPieceTransformation.New() t:SetSourcePath("Drums.Ki") t:SetTargetPath("Drums.Sn")
        kick = Ev("Drums.Ki.note.s1"))");
    zkgen::lua::TStateData::Of(k.state.L).EndRun();
    // Between runs there is no tree: the source names nothing.
    k.state.Ok("between = t:EvMatches(kick) t:ApplyToEv(kick) uidBetween = kick:Uid()");
    EXPECT_FALSE(k.state.Bool("between"));
    EXPECT_EQ(k.state.Number("uidBetween"), 286261248.0);
    zkgen::lua::SetGlobalContext(k.state.L, &k.context);
    k.state.Ok("again = t:EvMatches(kick) t:ApplyToEv(kick) uidAgain = kick:Uid()");
    EXPECT_TRUE(k.state.Bool("again"));
    EXPECT_EQ(k.state.Number("uidAgain"), 303038464.0);
}

// ----- fills

namespace {

// A fill of `length` beats, one snare note per beat.
CGenPattern FillPattern(const std::string& name, float length)
{
    CGenEvs evs(length);
    for (int i = 0; i < static_cast<int>(length); ++i)
        evs.InsertAtBeatPos(CGenEv(static_cast<float>(i), 0.25f, st_NoteOn, 38, 100));
    return CGenPattern(name, evs);
}

// 4/4 at 120 from 0, a region of 16 bars from 0, fill seed 7. The script
// sees the candidates "b" (4 beats; its overlay takes layers 0 and 2, mask
// 5, over its first two beats) and "a" (2 beats) as `cands`, and a list
// that already holds one pattern as `out`.
struct FillRegion {
    CGenGeneratorParams params;
    CGenStyle style {"S"};
    CGenContext context {&params};
    CGenPatternModAndProbs candidates;
    CGenPatternModAndProbs out;
    LuaTestState state;

    FillRegion()
    {
        params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}};
        params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
        params.mGenerateStartPosAbs = 0.0f;
        params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
        params.mGenerateLength = 64.0f;
        context.mStyle = &style;
        context.mGeneratePos = 0.0f;
        context.SetFillSeed(7);
        CGenPattern b = FillPattern("b", 4.0f);
        b.mOverlayLayerBitmaskAndBPRanges.emplace_back(CGenBitmask(5), CGenRange<float>(0.0f, 2.0f));
        candidates.emplace_back(b);
        candidates.emplace_back(FillPattern("a", 2.0f));
        out.emplace_back(FillPattern("pre", 1.0f));
        zkgen::lua::SetGlobalContext(state.L, &context);
        CGenLua::LuaPatterns::push(state.L, &candidates, CGenLua::CollectGarbage::No);
        lua_setglobal(state.L, "cands");
        CGenLua::LuaPatterns::push(state.L, &out, CGenLua::CollectGarbage::No);
        lua_setglobal(state.L, "out");
    }
};

// The fill at the end of region bar 4 (12, 0 into its bar), every fourth
// bar, seed added 5, a probability of 49, and one beat too long costs 10.
const char* const kParams = R"({FillEndGenerateBarRel = 4, FillEndBeatPosRelInBar = 1, BarInterval = 4,
    RandomSeedAdd = 5, Probability = 49, FillMaxBeatLength = 3, NonMatchingLengthProbDeduction = 10})";

} // namespace

TEST(LuaCreateFill, ChoosesPlacesAndReturnsTheIndexInTheOutputList)
{
    FillRegion r;
    const float probBefore = r.candidates.front().mProb;
    // Bar 4 of the region ends at 12: barsSince 3 passes the interval of 4
    // (3 % 4 = 3). Seed lround(12 - 0) + lround(0) + 7 + 5 = 24; one step
    // gives 24 * 1103515245 + 12345 = 26484378225, mod 2^31 = 714574449, and
    // 714574449 % 100 = 49 is not above 49: a fill. Weights: "b" 100 - (4 -
    // 3) * 10 = 90, "a" 100; sums 90, 190. The second step gives 320507990,
    // % 190 = 30, below 90: "b". Its target 0 is the bar line at 12, so it
    // starts at 12 - 4 = 8 (Lua 9). Its overlay keeps mask 5.
    r.state.Ok(std::string("ix = context:CreateFill(cands, out, ") + kParams + R"()
        size = out:Size() name = out:Get(ix):Name() pos = out:Get(ix):BeatPosAbs())");
    EXPECT_EQ(r.state.Number("ix"), 2.0);
    EXPECT_EQ(r.state.Number("size"), 2.0);
    EXPECT_EQ(r.state.String("name"), "b");
    EXPECT_EQ(r.state.Number("pos"), 9.0);
    ASSERT_EQ(r.out.size(), 2u);
    EXPECT_EQ(r.out.mSTDefaultOrTarget, TSTDefaultOrTarget::Target);
    ASSERT_EQ(r.out.back().mOverlayLayerBitmaskAndBPRanges.size(), 1u);
    EXPECT_EQ(r.out.back().mOverlayLayerBitmaskAndBPRanges.back().mLayerBitmask.Bits(), 5u);
    // The candidates stay as they were.
    EXPECT_EQ(r.candidates.size(), 2u);
    EXPECT_EQ(r.candidates.front().mProb, probBefore);
}

TEST(LuaCreateFill, KeepLayerBitmaskTakesLayersOutOfTheOverlay)
{
    FillRegion r;
    // The same draw as above; keeping layer 2 (bit value 4) leaves 5 & ~4 = 1.
    r.state.Ok(std::string("p = ") + kParams + " p.KeepLayerBitmask = 4 ix = context:CreateFill(cands, out, p)");
    EXPECT_EQ(r.state.Number("ix"), 2.0);
    ASSERT_EQ(r.out.size(), 2u);
    ASSERT_EQ(r.out.back().mOverlayLayerBitmaskAndBPRanges.size(), 1u);
    EXPECT_EQ(r.out.back().mOverlayLayerBitmaskAndBPRanges.back().mLayerBitmask.Bits(), 1u);
}

TEST(LuaCreateFill, NoFillGivesNothing)
{
    FillRegion r;
    // Probability 48: 49 is above it.
    r.state.Ok(std::string("p = ") + kParams + " p.Probability = 48 n = select('#', context:CreateFill(cands, out, p))");
    EXPECT_EQ(r.state.Number("n"), 0.0);
    EXPECT_EQ(r.out.size(), 1u);
    // Bar 3 (barsSince 2, 2 % 4 != 3) fails the interval.
    r.state.Ok(std::string("p = ") + kParams + " p.FillEndGenerateBarRel = 3 n = select('#', context:CreateFill(cands, out, p))");
    EXPECT_EQ(r.state.Number("n"), 0.0);
    // No candidates.
    r.state.Ok(std::string("n = select('#', context:CreateFill(LuaPatterns.New(), out, ") + kParams + "))");
    EXPECT_EQ(r.state.Number("n"), 0.0);
    EXPECT_EQ(r.out.size(), 1u);
}

TEST(LuaCreateFill, ValuesThatAreNoNumbersKeepTheDefaults)
{
    FillRegion r;
    // Probability not a number: the default 100, and 49 passes.
    r.state.Ok(std::string("p = ") + kParams + " p.Probability = 'often' a = context:CreateFill(cands, out, p)");
    EXPECT_EQ(r.state.Number("a"), 2.0);
    r.state.Ok(std::string("p = ") + kParams + " p.Probability = true b = context:CreateFill(cands, out, p)");
    EXPECT_EQ(r.state.Number("b"), 3.0);
    // A numeric string is a number to Lua: 48, and no fill.
    r.state.Ok(std::string("p = ") + kParams + " p.Probability = '48' c = context:CreateFill(cands, out, p)");
    EXPECT_TRUE(r.state.IsNil("c"));
    // RandomSeedAdd not a number: 0, so the seed is 19: 19 * 1103515245 +
    // 12345 = 20966802000, mod 2^31 = 1639449168, % 100 = 68 > 49: no fill.
    r.state.Ok(std::string("p = ") + kParams + " p.RandomSeedAdd = {} d = context:CreateFill(cands, out, p)");
    EXPECT_TRUE(r.state.IsNil("d"));
    // Without the length limit (a string) both weigh 100: sums 100, 200;
    // 320507990 % 200 = 190 is past 100: "a".
    r.state.Ok(std::string("p = ") + kParams + " p.FillMaxBeatLength = 'x' e = context:CreateFill(cands, out, p)"
                                               " name = out:Get(e):Name()");
    EXPECT_EQ(r.state.Number("e"), 4.0);
    EXPECT_EQ(r.state.String("name"), "a");
}

TEST(LuaCreateFill, ParamsMustBeATable)
{
    FillRegion r;
    EXPECT_EQ(r.state.Run("context:CreateFill(cands, out)"), "CreateFill: expected table as argument 3");
    EXPECT_EQ(r.state.Run("context:CreateFill(cands, out, 5)"), "CreateFill: expected table as argument 3");
    EXPECT_EQ(r.state.Run("context:CreateFill(cands, 5, {})"), "'LuaPatterns' expected");
    EXPECT_EQ(r.state.Run("context:CreateFill(nil, out, {})"), "'LuaPatterns' expected");
    // An empty table asks with the defaults: the bar far before the song
    // places nothing.
    r.state.Ok("n = select('#', context:CreateFill(cands, out, {}))");
    EXPECT_EQ(r.state.Number("n"), 0.0);
}

TEST(LuaCreateFill, AFillKillsTheViewsOfTheOutputList)
{
    FillRegion r;
    r.state.Ok(std::string("pre = out:Get(1) p = ") + kParams
        + " p.Probability = 48 context:CreateFill(cands, out, p) kept = pre:Name()");
    EXPECT_EQ(r.state.String("kept"), "pre");
    r.state.Ok(std::string("context:CreateFill(cands, out, ") + kParams + ")");
    EXPECT_EQ(r.state.Run("return pre:Name()"),
        "LuaPattern: the list this view belongs to has changed or gone; fetch it again");
    r.state.Ok("again = out:Get(1):Name()");
    EXPECT_EQ(r.state.String("again"), "pre");
}
