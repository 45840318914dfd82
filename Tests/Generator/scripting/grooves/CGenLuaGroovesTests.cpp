// The grooves as scripts see them: the list, a groove's tracks and
// elements, the strengths that belong to one groove object, and the
// application to events, worked out by hand.
//
// The groove "Swing" has a one-beat loop (mBeatLength 1) and, in both its
// "Bass" and its "Kick" track, the elements
//   source 0   -> target 0     velocity 64
//   source 0.5 -> target 0.625 velocity 96   (shift 0.125: the offbeat late)
// The region's apply parameters are the defaults: grid 0.25, interpolating
// (strategy 1), velocity as a deviation from 64 (strategy 4).
//
// Interpolation for an event at loop position x: e1 is the element at or
// before x (distance d1), e2 the next one after x, wrapping to the first
// element one loop on (distance d2); w1 = 1 - |d1| / s, w2 = 1 - |d2| / s with
// s = |d1| + |d2|. The target is x + shift1 * w1 + shift2 * w2, the groove
// velocity G = trunc(v2 * w2 + v1 * w1), and the event's velocity becomes
// V + trunc((G - 64) * velocity factor); the position moves by
// (target - x) * groove factor.
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/scripting/CGenLuaBinding.h"
#include "Generator/scripting/CGenLuaClasses.h"
#include "Generator/scripting/LuaTestSupport.h"
#include "Generator/shaping/CGenGroove.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using zkgen::test::LuaTestState;

CGenGrooveTrack Track(int type, float length, std::initializer_list<CGenGrooveEl> els)
{
    CGenGrooveTrack track(els);
    track.mType = type;
    track.mBeatLength = length;
    return track;
}

CGenGrooves TestGrooves()
{
    CGenGrooves grooves;
    CGenGroove straight("Straight");
    straight.push_back(Track(CGenGrooveTrack::TType_All, 1.0f, {CGenGrooveEl(0.0f, 0.0f, 0.0f, 255)}));
    grooves.Add(straight);
    CGenGroove swing("Swing");
    const auto swingEls = {CGenGrooveEl(0.0f, 0.0f, 0.0f, 64), CGenGrooveEl(0.5f, 0.5f, 0.625f, 96)};
    swing.push_back(Track(CGenGrooveTrack::TType_Bass, 1.0f, swingEls));
    swing.push_back(Track(CGenGrooveTrack::TType_Kick, 1.0f, swingEls));
    grooves.Add(swing);
    return grooves;
}

// 4/4 from 0, a region of 4 bars from 0, the generate position at its start;
// a bass part unless a test says otherwise.
struct Region {
    CGenGeneratorParams params;
    CGenGrooves grooves = TestGrooves();
    CGenContext context {&params};
    LuaTestState state;

    Region()
    {
        params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}};
        params.mGenerateStartPosAbs = 0.0f;
        params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
        params.mGenerateLength = 16.0f;
        params.mInstType = TGenInstType_Bass;
        context.mGeneratePos = 0.0f;
        context.mGrooves = &grooves;
        zkgen::lua::SetGlobalContext(state.L, &context);
        // Events from {pos, note, velocity} rows (positions 1-based), and a
        // text of pos/note/velocity per event in list order.
        state.Ok(R"(
            function Make(rows)
                local evs = LuaEvents.New()
                for _, r in ipairs(rows) do
                    local e = evs:Add()
                    e:SetBeatPos(r[1]) e:SetNoteNr(r[2]) e:SetVelocity(r[3])
                end
                return evs
            end
            function Dump(evs)
                local s = {}
                for _, e in evs:Iterator() do
                    s[#s + 1] = string.format("%g/%d/%d", e:BeatPos(), e:NoteNr(), e:Velocity())
                end
                return table.concat(s, " ")
            end)");
    }
};

} // namespace

// ----- the list

TEST(LuaGrooves, GetByIndexOrNameAndTheEnds)
{
    Region r;
    r.state.Ok(R"(
        gs = context:Grooves()
        size = gs:Size()
        n1 = gs:Get(1):Name() n2 = gs:Get(2):Name() byName = gs:Get("Swing"):Name()
        first = gs:First():Name() last = gs:Last():Name()
        unknown = gs:Get("unknown") zero = gs:Get(0) past = gs:Get(3) negative = gs:Get(-1)
        numericName = gs:Get("2") fraction = gs:Get(1.9):Name())");
    EXPECT_EQ(r.state.Number("size"), 2.0);
    EXPECT_EQ(r.state.String("n1"), "Straight");
    EXPECT_EQ(r.state.String("n2"), "Swing");
    EXPECT_EQ(r.state.String("byName"), "Swing");
    EXPECT_EQ(r.state.String("first"), "Straight");
    EXPECT_EQ(r.state.String("last"), "Swing");
    EXPECT_TRUE(r.state.IsNil("unknown"));
    EXPECT_TRUE(r.state.IsNil("zero"));
    EXPECT_TRUE(r.state.IsNil("past"));
    EXPECT_TRUE(r.state.IsNil("negative"));
    // A string is always a name: no groove is called "2".
    EXPECT_TRUE(r.state.IsNil("numericName"));
    // An index is truncated, as everywhere in the lists: 1.9 is 1.
    EXPECT_EQ(r.state.String("fraction"), "Straight");
    EXPECT_EQ(r.state.Run("context:Grooves():Get()"),
        "bad argument #2 to 'Get' (number expected, got no value)");
}

TEST(LuaGrooves, EmptyListAndNoGrooves)
{
    Region r;
    CGenGrooves none;
    r.context.mGrooves = &none;
    r.state.Ok("gs = context:Grooves() size = gs:Size() first = gs:First() last = gs:Last() one = gs:Get(1)");
    EXPECT_EQ(r.state.Number("size"), 0.0);
    EXPECT_TRUE(r.state.IsNil("first"));
    EXPECT_TRUE(r.state.IsNil("last"));
    EXPECT_TRUE(r.state.IsNil("one"));
    r.context.mGrooves = nullptr;
    r.state.Ok("missing = context:Grooves()");
    EXPECT_TRUE(r.state.IsNil("missing"));
}

// ----- tracks and elements

TEST(LuaGrooves, TracksAndElements)
{
    Region r;
    r.state.Ok(R"(
        g = context:Grooves():Get("Swing")
        count = g:GetGrooveTrackCount()
        t = g:GetGrooveTrack(1)
        size = t:Size()
        pos1 = t:GetGrooveEvent(1):BeatPos() vel1 = t:GetGrooveEvent(1):Velocity()
        pos2 = t:GetGrooveEvent(2):BeatPos() vel2 = t:GetGrooveEvent(2):Velocity()
        firstPos = t:First():BeatPos() lastPos = t:Last():BeatPos()
        noEvent0 = t:GetGrooveEvent(0) noEvent3 = t:GetGrooveEvent(3)
        noTrack0 = g:GetGrooveTrack(0) noTrack3 = g:GetGrooveTrack(3)
        walk = ""
        for i, e in t:Iterator() do walk = walk .. i .. ":" .. e:BeatPos() .. "/" .. e:Velocity() .. " " end
        straightVel = context:Grooves():Get(1):GetGrooveTrack(1):First():Velocity())");
    EXPECT_EQ(r.state.Number("count"), 2.0);
    EXPECT_EQ(r.state.Number("size"), 2.0);
    // Positions are where the groove played the element, 1-based.
    EXPECT_EQ(r.state.Number("pos1"), 1.0);
    EXPECT_EQ(r.state.Number("vel1"), 64.0);
    EXPECT_EQ(r.state.Number("pos2"), 1.625);
    EXPECT_EQ(r.state.Number("vel2"), 96.0);
    EXPECT_EQ(r.state.Number("firstPos"), 1.0);
    EXPECT_EQ(r.state.Number("lastPos"), 1.625);
    EXPECT_TRUE(r.state.IsNil("noEvent0"));
    EXPECT_TRUE(r.state.IsNil("noEvent3"));
    EXPECT_TRUE(r.state.IsNil("noTrack0"));
    EXPECT_TRUE(r.state.IsNil("noTrack3"));
    EXPECT_EQ(r.state.String("walk"), "1:1/64 2:1.625/96 ");
    // 255: the element leaves velocities alone.
    EXPECT_EQ(r.state.Number("straightVel"), 255.0);
}

// ----- strengths

TEST(LuaGrooves, FactorsBelongToOneObject)
{
    Region r;
    r.state.Ok(R"(
        a = context:Grooves():Get(2) b = context:Grooves():Get(2)
        va0 = a:VelocityFactor() ga0 = a:GrooveFactor()
        a:SetGrooveFactor(0.5) a:SetVelocityFactor(0.25)
        ga = a:GrooveFactor() va = a:VelocityFactor() gb = b:GrooveFactor() vb = b:VelocityFactor())");
    EXPECT_EQ(r.state.Number("va0"), 1.0);
    EXPECT_EQ(r.state.Number("ga0"), 1.0);
    EXPECT_EQ(r.state.Number("ga"), 0.5);
    EXPECT_EQ(r.state.Number("va"), 0.25);
    EXPECT_EQ(r.state.Number("gb"), 1.0);
    EXPECT_EQ(r.state.Number("vb"), 1.0);
    // The region's own strengths are not touched.
    EXPECT_EQ(r.params.mGrooveApply.mApplyBeatPos, 1.0f);
    EXPECT_EQ(r.params.mGrooveApply.mApplyVelocity, 1.0f);
    EXPECT_EQ(r.state.Run("context:Grooves():Get(2):SetGrooveFactor('x')"),
        "bad argument #2 to 'SetGrooveFactor' (number expected, got string)");
}

// ----- application

TEST(LuaGrooves, SwingMovesTheOffbeatsOfABassPart)
{
    Region r;
    // Events at 0, 0.25, 0.5, 1.5 (Lua 1, 1.25, 1.5, 2.5), velocity 80.
    //  0:    e1 = 0 (d1 0), e2 = 0.5 (d2 0.5): w1 1, w2 0; target 0, G 64: stays 0 / 80.
    //  0.25: e1 = 0 (d1 0.25), e2 = 0.5 (d2 0.25): w 0.5 each; target
    //        0.25 + 0.125 * 0.5 = 0.3125; G trunc(96 * 0.5 + 64 * 0.5) = 80: 80 + 16 = 96.
    //  0.5:  e1 = 0.5 (d1 0), e2 wraps to 0 one loop on (d2 0.5): w1 1; target
    //        0.625; G 96: 80 + 32 = 112.
    //  1.5:  loop position 0.5, as above: 1.625 / 112.
    // A note that is no note-on (status 0x80) and one of velocity 0 stay.
    r.state.Ok(R"(
        evs = Make({{1, 40, 80}, {1.25, 41, 80}, {1.5, 42, 80}, {2.5, 43, 80}, {1.75, 44, 0}})
        off = evs:Add() off:SetBeatPos(1.25) off:SetMB0(128) off:SetNoteNr(45) off:SetVelocity(80)
        g = context:Grooves():Get("Swing")
        g:ApplyToEvs(evs)
        full = Dump(evs))");
    // Sorted by position after the moves; the note-off (1.25) stands before
    // the moved 1.3125 and the velocity-0 note (1.75) after 1.625.
    EXPECT_EQ(r.state.String("full"), "1/40/80 1.25/45/80 1.3125/41/96 1.625/42/112 1.75/44/0 2.625/43/112");

    // Half strength on both: 0.25 + 0.0625 * 0.5 = 0.28125, 80 + trunc(16 * 0.5) = 88;
    // 0.5 + 0.125 * 0.5 = 0.5625, 80 + trunc(32 * 0.5) = 96.
    r.state.Ok(R"(
        evs = Make({{1.25, 41, 80}, {1.5, 42, 80}})
        g:SetGrooveFactor(0.5) g:SetVelocityFactor(0.5)
        g:ApplyToEvs(evs)
        half = Dump(evs)
        evs = Make({{1.25, 41, 80}, {1.5, 42, 80}})
        g:SetGrooveFactor(0) g:SetVelocityFactor(0)
        g:ApplyToEvs(evs)
        none = Dump(evs))");
    EXPECT_EQ(r.state.String("half"), "1.28125/41/88 1.5625/42/96");
    EXPECT_EQ(r.state.String("none"), "1.25/41/80 1.5/42/80");
}

TEST(LuaGrooves, TheLoopCountsFromTheRegionStart)
{
    Region r;
    // The generate position lies half a beat into the region: a script's
    // event at 0 is at loop position 0.5, and moves by the full 0.125.
    r.context.mGeneratePos = 0.5f;
    r.state.Ok(R"(
        evs = Make({{1, 40, 80}})
        context:Grooves():Get("Swing"):ApplyToEvs(evs)
        moved = Dump(evs))");
    EXPECT_EQ(r.state.String("moved"), "1.125/40/112");
}

TEST(LuaGrooves, OtherInstrumentTypesTakeTheirOwnTrack)
{
    Region r;
    // Keys look for "Key (all)", which "Swing" hasn't: nothing moves.
    r.params.mInstType = TGenInstType_KeysA;
    r.state.Ok(R"(
        evs = Make({{1.5, 60, 80}})
        context:Grooves():Get("Swing"):ApplyToEvs(evs)
        keys = Dump(evs))");
    EXPECT_EQ(r.state.String("keys"), "1.5/60/80");
}

TEST(LuaGrooves, DrumNotesWithoutATreeUseTheGeneralMidiKick)
{
    Region r;
    r.params.mInstType = TGenInstType_Drums;
    // Note 36 is the kick: its track moves it from 0.5 to 0.625 with G 96
    // (80 + 32); the snare (38) has no track of its own nor "Other events".
    r.state.Ok(R"(
        evs = Make({{1.5, 36, 80}, {1.5, 38, 80}})
        context:Grooves():Get("Swing"):ApplyToEvs(evs)
        drums = Dump(evs))");
    EXPECT_EQ(r.state.String("drums"), "1.5/38/80 1.625/36/112");
}

TEST(LuaGrooves, DrumUidsGoThroughTheInstrumentTree)
{
    Region r;
    CGenInstLib instLib(TGenInstType_Drums);
    r.context.mInstLib = &instLib;
    r.params.mInstType = TGenInstType_Drums;
    // "Drums.Ki.note.s1" = 0x11100000 = 286261248 matches the kick list
    // ("Drums.Ki" = 0x11000000); "Drums.Sn" = 0x12000000 = 301989888 doesn't.
    // Note 36 is no uid of a kick here.
    r.state.Ok(R"(
        evs = Make({{1.5, 0, 80}, {1.5, 301989888, 80}, {1.5, 36, 80}})
        evs:Get(1):SetUidFromPath("Drums.Ki.note.s1")
        kickUid = evs:Get(1):Uid()
        context:Grooves():Get("Swing"):ApplyToEvs(evs)
        drums = Dump(evs))");
    EXPECT_EQ(r.state.Number("kickUid"), 286261248.0);
    EXPECT_EQ(r.state.String("drums"), "1.5/301989888/80 1.5/36/80 1.625/286261248/112");
}

TEST(LuaGrooves, ApplyingKillsTheViewsOfTheEvents)
{
    Region r;
    r.state.Ok(R"(
        evs = Make({{1.5, 40, 80}})
        e = evs:Get(1)
        context:Grooves():Get("Swing"):ApplyToEvs(evs))");
    EXPECT_EQ(r.state.Run("return e:BeatPos()"),
        "LuaEvent: the list this view belongs to has changed or gone; fetch it again");
}

TEST(LuaGrooves, ApplyNeedsAGenerationAndOneList)
{
    Region r;
    EXPECT_EQ(r.state.Run("context:Grooves():Get(2):ApplyToEvs()"), "ApplyToEvs: wrong number of arguments");
    EXPECT_EQ(r.state.Run("g = context:Grooves():Get(2) g:ApplyToEvs(g)"), "'LuaEvents' expected");

    // Grooves handed to a state that serves no generation.
    LuaTestState bare;
    CGenGrooves grooves = TestGrooves();
    CGenLua::LuaGrooves::push(bare.L, &grooves);
    lua_setglobal(bare.L, "gs");
    EXPECT_EQ(bare.Run("gs:Get(2):ApplyToEvs(LuaEvents.New())"), "ApplyToEvs: genContext == nullptr");
    CGenContext noParams;
    zkgen::lua::SetGlobalContext(bare.L, &noParams);
    EXPECT_EQ(bare.Run("gs:Get(2):ApplyToEvs(LuaEvents.New())"),
        "ApplyToEvs: luaContext->context->ExternParams() == nullptr");
}

// ----- misuse and lifetime

TEST(LuaGrooves, WrongUserdata)
{
    Region r;
    r.state.Ok(R"(
        gs = context:Grooves() g = gs:Get(2) t = g:GetGrooveTrack(1) ge = t:First() evs = LuaEvents.New())");
    EXPECT_EQ(r.state.Run("gs.Size(g)"), "'LuaGrooves' expected");
    EXPECT_EQ(r.state.Run("gs.Get(evs, 1)"), "'LuaGrooves' expected");
    EXPECT_EQ(r.state.Run("g.Name(gs)"), "'LuaGroove' expected");
    EXPECT_EQ(r.state.Run("g.GrooveFactor(t)"), "'LuaGroove' expected");
    EXPECT_EQ(r.state.Run("g.ApplyToEvs(evs, evs)"), "'LuaGroove' expected");
    EXPECT_EQ(r.state.Run("t.Size(g)"), "'LuaGrooveTrack' expected");
    EXPECT_EQ(r.state.Run("t.GetGrooveEvent(ge, 1)"), "'LuaGrooveTrack' expected");
    EXPECT_EQ(r.state.Run("ge.BeatPos(t)"), "'LuaGrooveEvent' expected");
    EXPECT_EQ(r.state.Run("ge.Velocity(nil)"), "'LuaGrooveEvent' expected");
    // No global tables: the groove classes have no constructor.
    r.state.Ok("hasGlobals = LuaGrooves ~= nil or LuaGroove ~= nil or LuaGrooveTrack ~= nil");
    EXPECT_FALSE(r.state.Bool("hasGlobals"));
}

TEST(LuaGrooves, ViewsDieWithTheRun)
{
    Region r;
    r.state.Ok(R"(
        gs = context:Grooves() g = gs:Get(2) t = g:GetGrooveTrack(1) ge = t:First()
        g:SetGrooveFactor(0.5))");
    zkgen::lua::TStateData::Of(r.state.L).EndRun();
    const std::string gone = ": the list this view belongs to has changed or gone; fetch it again";
    EXPECT_EQ(r.state.Run("return gs:Size()"), std::string("LuaGrooves") + gone);
    EXPECT_EQ(r.state.Run("return g:Name()"), std::string("LuaGroove") + gone);
    EXPECT_EQ(r.state.Run("return g:GrooveFactor()"), std::string("LuaGroove") + gone);
    EXPECT_EQ(r.state.Run("return t:Size()"), std::string("LuaGrooveTrack") + gone);
    EXPECT_EQ(r.state.Run("return ge:BeatPos()"), std::string("LuaGrooveEvent") + gone);
    // The next run hands the grooves in again, with fresh strengths.
    zkgen::lua::SetGlobalContext(r.state.L, &r.context);
    r.state.Ok("again = context:Grooves():Get(2):GrooveFactor()");
    EXPECT_EQ(r.state.Number("again"), 1.0);
}
