#include "Generator/scripting/values/LuaValuesTestSupport.h"

#include "Generator/CGenEvs.h"

#include <gtest/gtest.h>

using zkgen::test::LuaTestState;

// A view that outlived what it points at raises a Lua error with the class
// of the view in front; it never reads freed memory.
namespace {

const char* const kStaleEvent = "LuaEvent: the list this view belongs to has changed or gone; fetch it again";
const char* const kStaleEvents = "LuaEvents: the list this view belongs to has changed or gone; fetch it again";
const char* const kStalePattern = "LuaPattern: the list this view belongs to has changed or gone; fetch it again";
const char* const kStaleNote = "LuaAbstractNote: the list this view belongs to has changed or gone; fetch it again";
const char* const kStaleOffsets =
    "LuaAbstractOffsets: the list this view belongs to has changed or gone; fetch it again";
const char* const kStaleOffset = "LuaAbstractOffset: the list this view belongs to has changed or gone; fetch it again";

} // namespace

TEST(LuaViewLifetime, ElementViewDiesWhenItsListChanges)
{
    LuaTestState s;
    s.Ok("l = LuaEvents.New(); l:Add(); l:Add(); v = l:Get(1); l:Add()");
    EXPECT_EQ(s.Run("v:BeatPos()"), kStaleEvent);
    EXPECT_EQ(s.Run("v:SetBeatPos(3)"), kStaleEvent);
    s.Ok("v = l:Get(1); l:Remove(3)");
    EXPECT_EQ(s.Run("v:BeatPos()"), kStaleEvent);
    s.Ok("v = l:Last(); l:Sort()");
    EXPECT_EQ(s.Run("v:BeatPos()"), kStaleEvent);
    s.Ok("v = l:First(); l:Mark(1); l:RemoveMarked()");
    EXPECT_EQ(s.Run("v:BeatPos()"), kStaleEvent);
    // What did not change the list keeps its views.
    s.Ok("v = l:Get(1); l:Remove(0); l:Mark(1); l:Unmark(1); l:RemoveMarked(); l:Quantize(1, 0.5); pos = v:BeatPos()");
    // A fresh view and the list itself work.
    s.Ok("size = l:Size(); l:Get(1):SetBeatPos(2)");
    EXPECT_EQ(s.Number("size"), 1.0);
    // So does a view handed out by the change itself.
    s.Ok("added = l:Add(); added:SetBeatPos(4); pos = added:BeatPos()");
    EXPECT_EQ(s.Number("pos"), 4.0);
}

TEST(LuaViewLifetime, PatternEventsDieWhenThePatternsListChanges)
{
    LuaTestState s;
    s.Ok(R"(
        ps = LuaPatterns.New(); ps:AppendPattern(LuaPattern.New())
        p = ps:Get(1); evs = p:Events(); e = evs:Add()
        ps:AppendPattern(LuaPattern.New())
    )");
    EXPECT_EQ(s.Run("evs:Size()"), kStaleEvents);
    EXPECT_EQ(s.Run("e:BeatPos()"), kStaleEvent);
    EXPECT_EQ(s.Run("p:Name()"), kStalePattern);
    s.Ok("p = ps:Get(1); evs = p:Events(); e = evs:Get(1); clone = ps:CloneAndAppendPatternAtIndex(1)");
    EXPECT_EQ(s.Run("evs:Size()"), kStaleEvents);
    s.Ok("p = ps:Get(1); evs = p:Events(); ps:Remove(2)");
    EXPECT_EQ(s.Run("evs:Size()"), kStaleEvents);
    s.Ok("evs = ps:Get(1):Events(); ps:OverlayAndMergePatterns(LuaPatterns.New())");
    EXPECT_EQ(s.Run("evs:Size()"), kStaleEvents);
    s.Ok("size = ps:Get(1):Events():Size()");
    EXPECT_EQ(s.Number("size"), 1.0);
}

TEST(LuaViewLifetime, EventViewsOfAPatternDieWithSetEventsAndMerge)
{
    LuaTestState s;
    s.Ok(R"(
        p = LuaPattern.New(); evs = p:Events(); e = evs:Add()
        p:SetEvents(LuaEvents.New())
    )");
    EXPECT_EQ(s.Run("e:BeatPos()"), kStaleEvent);
    // The list view itself stays: the list is the same, with new content.
    s.Ok("size = evs:Size(); e = evs:Add(); p:MergeEvsFromPattern(p)");
    EXPECT_EQ(s.Number("size"), 0.0);
    EXPECT_EQ(s.Run("e:BeatPos()"), kStaleEvent);
    s.Ok("size = evs:Size()");
    EXPECT_EQ(s.Number("size"), 2.0);
}

TEST(LuaViewLifetime, ViewsOfACollectedOwnerDie)
{
    LuaTestState s;
    s.Ok(R"(
        l = LuaEvents.New(); l:Add(); v = l:Get(1)
        e = Event.New(); n = e:AbstractNote()
        p = LuaPattern.New(); evs = p:Events()
        l = nil; e = nil; p = nil
        collectgarbage(); collectgarbage()
    )");
    EXPECT_EQ(s.Run("v:BeatPos()"), kStaleEvent);
    EXPECT_EQ(s.Run("n:Degree()"), kStaleNote);
    EXPECT_EQ(s.Run("evs:Size()"), kStaleEvents);
}

TEST(LuaViewLifetime, OffsetViewsDieWhenTheNoteChanges)
{
    LuaTestState s;
    s.Ok(R"(
        e = Event.New(); e:SetAbstractNoteFromString("{1[+1,c-2]}")
        n = e:AbstractNote(); offs = n:Offsets(); first = n:Offset(); second = offs:Get(2)
        n:SetOffsets(LuaAbstractOffsets.New())
    )");
    EXPECT_EQ(s.Run("first:Octaves()"), kStaleOffset);
    EXPECT_EQ(s.Run("second:Steps()"), kStaleOffset);
    s.Ok("size = offs:Size(); offs:Add(0, 1, 0, 0); o = offs:First(); offs:Add(0, 2, 0, 0)");
    EXPECT_EQ(s.Number("size"), 0.0);
    EXPECT_EQ(s.Run("o:Steps()"), kStaleOffset);
    s.Ok("o = offs:First(); n:SetOffset(LuaAbstractOffset.New())");
    EXPECT_EQ(s.Run("o:Steps()"), kStaleOffset);
    // A new note text for the event replaces the whole note: the offsets
    // list view dies with it, the note view stays.
    s.Ok("offs = n:Offsets(); e:SetAbstractNoteFromString('{3}'); deg = n:Degree()");
    EXPECT_EQ(s.Run("offs:Size()"), kStaleOffsets);
    EXPECT_EQ(s.Number("deg"), 5.0);
    s.Ok("offs = n:Offsets(); e:SetAbstractNote(LuaAbstractNote.New())");
    EXPECT_EQ(s.Run("offs:Size()"), kStaleOffsets);
    // The event was in a list that changed: its note view dies too.
    s.Ok("l = LuaEvents.New(); x = l:Add(); xn = x:AbstractNote(); l:Add()");
    EXPECT_EQ(s.Run("xn:Degree()"), kStaleNote);
}

TEST(LuaViewLifetime, NativeDataDiesWithTheRun)
{
    LuaTestState s;
    CGenEvs evs;
    evs.push_back(CGenEv(0.0f, 1.0f, st_NoteOn, 36, 100));
    {
        zkgen::lua::TRunScope run(s.L);
        CGenLua::LuaEvents::push(s.L, &evs, CGenLua::CollectGarbage::No);
        lua_setglobal(s.L, "l");
        s.Ok("v = l:Get(1); n = v:AbstractNote(); it = l:Iterator(); v:SetNoteNr(40)");
    }
    EXPECT_EQ(evs[0].mMB1, 40);
    EXPECT_EQ(s.Run("l:Size()"), kStaleEvents);
    EXPECT_EQ(s.Run("v:BeatPos()"), kStaleEvent);
    EXPECT_EQ(s.Run("n:Degree()"), kStaleNote);
    EXPECT_EQ(s.Run("it()"), kStaleEvents);
    EXPECT_EQ(s.Run("l:Add()"), kStaleEvents);
    EXPECT_EQ(evs.size(), 1u);
}
