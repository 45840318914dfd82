#include "Generator/scripting/values/LuaValuesTestSupport.h"

#include "Generator/CGenEvs.h"

#include <gtest/gtest.h>

#include <vector>

using zkgen::test::GlobalObject;
using zkgen::test::LuaTestState;

namespace {

CGenEvs* GlobalEvs(LuaTestState& s, const char* name)
{
    return GlobalObject<CGenEvs>(s.L, name, "tolvar.events");
}

std::vector<float> Positions(const CGenEvs& evs)
{
    std::vector<float> out;
    for (const CGenEv& ev : evs)
        out.push_back(ev.mBeatPos);
    return out;
}

CGenEv Note(float pos, float length, int status, int noteNr)
{
    CGenEv ev;
    ev.mBeatPos = pos;
    ev.mBeatLength = length;
    ev.mMB0 = static_cast<uint8_t>(status);
    ev.mMB1 = noteNr;
    return ev;
}

// A list that C++ owns, handed to the script for one run as the global "l".
class NativeList {
public:
    NativeList(LuaTestState& s, CGenEvs& evs) : mRun(s.L)
    {
        CGenLua::LuaEvents::push(s.L, &evs, CGenLua::CollectGarbage::No);
        lua_setglobal(s.L, "l");
    }

private:
    zkgen::lua::TRunScope mRun;
};

} // namespace

TEST(LuaEventsList, AddGetSizeAndIndicesFromOne)
{
    LuaTestState s;
    s.Ok(R"(
        l = LuaEvents.New()
        e1, i1 = l:Add(); e1:SetBeatPos(3)
        e2, i2 = l:Add(); e2:SetBeatPos(1)
        e0, i0 = l:Add(1); e0:SetBeatPos(2)       -- before the first
        e3, i3 = l:Add(4); e3:SetBeatPos(5)       -- one past the end appends
        bad, badIx = l:Add(6)                      -- size 4: 6 is out of range
        bad0, bad0Ix = l:Add(0)
        size = l:Size()
        g0 = l:Get(0); g5 = l:Get(5); g2 = l:Get(2):BeatPos()
        first = l:First():BeatPos(); last = l:Last():BeatPos()
        l:Remove(0); l:Remove(9); sizeAfter = l:Size()
        empty = LuaEvents.New(); ef = empty:First(); el = empty:Last()
    )");
    EXPECT_EQ(s.Number("i1"), 1.0);
    EXPECT_EQ(s.Number("i2"), 2.0);
    EXPECT_EQ(s.Number("i0"), 1.0);
    EXPECT_EQ(s.Number("i3"), 4.0);
    EXPECT_TRUE(s.IsNil("bad"));
    EXPECT_TRUE(s.IsNil("badIx"));
    EXPECT_TRUE(s.IsNil("bad0"));
    EXPECT_TRUE(s.IsNil("bad0Ix"));
    EXPECT_EQ(s.Number("size"), 4.0);
    EXPECT_TRUE(s.IsNil("g0"));
    EXPECT_TRUE(s.IsNil("g5"));
    // Order of insertion: [2, 3, 1, 5] in Lua positions.
    EXPECT_EQ(s.Number("g2"), 3.0);
    EXPECT_EQ(s.Number("first"), 2.0);
    EXPECT_EQ(s.Number("last"), 5.0);
    EXPECT_EQ(s.Number("sizeAfter"), 4.0);
    EXPECT_TRUE(s.IsNil("ef"));
    EXPECT_TRUE(s.IsNil("el"));
    const CGenEvs* evs = GlobalEvs(s, "l");
    ASSERT_NE(evs, nullptr);
    EXPECT_EQ(Positions(*evs), (std::vector<float> {1.0f, 2.0f, 0.0f, 4.0f}));

    s.Ok("l:Remove(2); l:Sort(); l:SetLength(8); len = l:Length()");
    // [2, 1, 5] sorted: [1, 2, 5], inside 0, 1, 4.
    EXPECT_EQ(Positions(*evs), (std::vector<float> {0.0f, 1.0f, 4.0f}));
    EXPECT_EQ(evs->mLength, 8.0f);
    EXPECT_EQ(s.Number("len"), 8.0);
}

TEST(LuaEventsList, MarksAndRemoveMarked)
{
    LuaTestState s;
    s.Ok(R"(
        l = LuaEvents.New()
        for i = 1, 4 do local e = l:Add(); e:SetBeatPos(i) end
        l:Mark(2); l:Mark(2); l:Mark(4); l:Mark(0); l:Mark(9)
    )");
    lua_getglobal(s.L, "l");
    const zkgen::lua::TUserdata* u = zkgen::lua::TestUserdata(s.L, -1, "tolvar.events");
    lua_pop(s.L, 1);
    ASSERT_NE(u, nullptr);
    // Marking twice keeps one entry; out of range marks nothing.
    EXPECT_EQ(u->mMarks, (std::set<size_t> {1, 3}));
    s.Ok("l:RemoveMarked(); size = l:Size()");
    EXPECT_EQ(s.Number("size"), 2.0);
    EXPECT_TRUE(u->mMarks.empty());
    EXPECT_EQ(Positions(*GlobalEvs(s, "l")), (std::vector<float> {0.0f, 2.0f}));
    s.Ok("l:RemoveMarked(); l:Mark(1); l:Unmark(1); l:RemoveMarked(); size = l:Size()");
    EXPECT_EQ(s.Number("size"), 2.0);
    s.Ok("l:MarkAll(); l:UnmarkAll(); l:RemoveMarked(); size = l:Size()");
    EXPECT_EQ(s.Number("size"), 2.0);
    s.Ok("l:MarkAll(); l:RemoveMarked(); size = l:Size()");
    EXPECT_EQ(s.Number("size"), 0.0);
}

TEST(LuaEventsList, IteratorSkipsTheEventAfterARemove)
{
    LuaTestState s;
    s.Ok(R"(
        l = LuaEvents.New()
        for i = 1, 4 do local e = l:Add(); e:SetBeatPos(i) end
        out = ""
        for i, e in l:Iterator() do out = out .. i .. ":" .. e:BeatPos() .. " " end
        seen = ""
        for i, e in l:Iterator() do
            seen = seen .. e:BeatPos() .. " "
            if i == 2 then l:Remove(2) end
        end
        empty = 0
        for i, e in LuaEvents.New():Iterator() do empty = empty + 1 end
    )");
    EXPECT_EQ(s.String("out"), "1:1 2:2 3:3 4:4 ");
    // After removing the second, index 3 holds what was the fourth.
    EXPECT_EQ(s.String("seen"), "1 2 4 ");
    EXPECT_EQ(s.Number("empty"), 0.0);
}

TEST(LuaEventsList, IteratorKeepsAnOwnedListAlive)
{
    LuaTestState s;
    s.Ok(R"(
        local l = LuaEvents.New(); l:Add():SetBeatPos(7)
        it = l:Iterator()
        l = nil
        collectgarbage(); collectgarbage()
        i, e = it()
        pos = e:BeatPos()
    )");
    EXPECT_EQ(s.Number("i"), 1.0);
    EXPECT_EQ(s.Number("pos"), 7.0);
}

TEST(LuaEventsList, EditsOfANativeListReachCpp)
{
    LuaTestState s;
    CGenEvs evs;
    evs.push_back(Note(0.0f, 1.0f, 0x90, 36));
    evs.push_back(Note(1.0f, 1.0f, 0x90, 38));
    {
        NativeList list(s, evs);
        s.Ok(R"(
            l:Get(2):SetNoteNr(40)
            local e = l:Add(); e:SetBeatPos(3); e:SetNoteNr(42)
            l:Remove(1)
        )");
    }
    ASSERT_EQ(evs.size(), 2u);
    EXPECT_EQ(evs[0].mMB1, 40);
    EXPECT_EQ(evs[0].mBeatPos, 1.0f);
    EXPECT_EQ(evs[1].mMB1, 42);
    EXPECT_EQ(evs[1].mBeatPos, 2.0f);
}

TEST(LuaEventsQuantize, EachTypeOnAHalfBeatGrid)
{
    // Inside positions 0, 0.2, 0.25, 0.5, 0.8, 1.3 and one undefined; grid 0.5.
    const std::vector<float> in {0.0f, 0.2f, 0.25f, 0.5f, 0.8f, 1.3f};
    struct TCase {
        const char* type;
        std::vector<float> out;
    };
    const TCase cases[] = {
        // Strictly before: a point at p does not count (0 -> -0.5, 0.5 -> 0).
        {"Prev", {-0.5f, 0.0f, 0.0f, 0.0f, 0.5f, 1.0f}},
        // floor(p / 0.5) * 0.5.
        {"PrevOrAt", {0.0f, 0.0f, 0.0f, 0.5f, 0.5f, 1.0f}},
        // Strictly after.
        {"Next", {0.5f, 0.5f, 0.5f, 1.0f, 1.0f, 1.5f}},
        {"NextOrAt", {0.0f, 0.5f, 0.5f, 0.5f, 1.0f, 1.5f}},
        // 0.2 is 0.2 from 0 and 0.3 from 0.5; 0.25 is halfway and goes to
        // 0.5; 0.8 is 0.2 from 1.0; 1.3 is 0.2 from 1.5.
        {"Closest", {0.0f, 0.0f, 0.5f, 0.5f, 1.0f, 1.5f}},
        {"Off", in},
    };
    for (const TCase& c : cases) {
        LuaTestState s;
        CGenEvs evs;
        for (float p : in)
            evs.push_back(Note(p, 0.1f, 0x90, 36));
        evs.push_back(Note(TGenBeatPos_Undef, 0.1f, 0x90, 36));
        {
            NativeList list(s, evs);
            s.Ok(std::string("l:Quantize(TQuantize.") + c.type + ".value, 0.5)");
        }
        std::vector<float> expected = c.out;
        expected.push_back(TGenBeatPos_Undef);
        EXPECT_EQ(Positions(evs), expected) << c.type;
    }
}

TEST(LuaEventsQuantize, NothingForABadGridAndTextForBadArguments)
{
    LuaTestState s;
    CGenEvs evs;
    evs.push_back(Note(0.3f, 0.1f, 0x90, 36));
    NativeList list(s, evs);
    s.Ok("l:Quantize(TQuantize.Closest.value, 0); l:Quantize(TQuantize.Closest.value, -1)");
    EXPECT_EQ(evs[0].mBeatPos, 0.3f);
    EXPECT_EQ(s.Run("l:Quantize(1)"), "Quantize: Must have 2 arguments");
    EXPECT_EQ(s.Run("l:Quantize(1, 0.5, 3)"), "Quantize: Must have 2 arguments");
    s.Ok("LuaEvents.New():Quantize(TQuantize.Next.value, 1)");
}

TEST(LuaEventsList, RemoveOverlapsBetweenSameNotes)
{
    LuaTestState s;
    CGenEvs evs;
    evs.push_back(Note(0.0f, 2.0f, 0x90, 60));  // the next 60 starts at 1: shortened to 1
    evs.push_back(Note(0.25f, 2.0f, 0x91, 60)); // another channel: no partner
    evs.push_back(Note(0.5f, 3.0f, 0x90, 62));  // alone
    evs.push_back(Note(0.5f, 4.0f, 0xB0, 60));  // a controller is no note
    evs.push_back(Note(1.0f, 1.0f, 0x90, 60));  // ends at 2, the next starts at 3: stays
    evs.push_back(Note(3.0f, 1.0f, 0x90, 60));
    {
        NativeList list(s, evs);
        s.Ok("l:RemoveOverlapsBetweenSameNotes()");
    }
    ASSERT_EQ(evs.size(), 6u);
    EXPECT_EQ(evs[0].mBeatLength, 1.0f);
    EXPECT_EQ(evs[1].mBeatLength, 2.0f);
    EXPECT_EQ(evs[2].mBeatLength, 3.0f);
    EXPECT_EQ(evs[3].mBeatLength, 4.0f);
    EXPECT_EQ(evs[4].mBeatLength, 1.0f);
    EXPECT_EQ(evs[5].mBeatLength, 1.0f);
}
