#include "Generator/scripting/values/LuaValuesTestSupport.h"

#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using zkgen::test::GlobalObject;
using zkgen::test::LuaTestState;

namespace {

CGenPatternModAndProb* GlobalPattern(LuaTestState& s, const char* name)
{
    return GlobalObject<CGenPatternModAndProb>(s.L, name, "tolvar.pattern");
}

CGenPatternModAndProbs* GlobalPatterns(LuaTestState& s, const char* name)
{
    return GlobalObject<CGenPatternModAndProbs>(s.L, name, "tolvar.patterns");
}

CGenEv Layered(float pos, float length, uint64_t layers)
{
    CGenEv ev(pos, length, st_NoteOn, 36, 100);
    ev.mRuntimeLayerBitmask = CGenBitmask(layers);
    return ev;
}

std::vector<float> Positions(const CGenEvs& evs)
{
    std::vector<float> out;
    for (const CGenEv& ev : evs)
        out.push_back(ev.mBeatPos);
    return out;
}

// A pool of one pattern with one event at 0, 4 beats long, and an entry
// that refers to it (no copy of its own yet).
struct PoolEntry {
    std::shared_ptr<CGenPatterns> mPool = std::make_shared<CGenPatterns>();
    CGenPatternModAndProb mEntry;
    PoolEntry()
    {
        CGenEvs evs(4.0f);
        evs.push_back(Layered(0.0f, 1.0f, 1));
        mPool->push_back(CGenPattern("pool", evs));
        mEntry = CGenPatternModAndProb(mPool, 0, 8.0f, TPatternGraphType_AccentFamily);
    }
};

} // namespace

TEST(LuaPatternBinding, NewNameLengthAndEvents)
{
    LuaTestState s;
    s.Ok(R"(
        p = LuaPattern.New()
        name = p:Name(); startCount = select('#', p:BeatPosAbs()); type = p:PatternGraphType()
        p:SetName("Groove A"); p:SetBeatPosAbs(5); p:SetLength(4); p:SetProb(0.5)
        evs = p:Events(); e1 = evs:Add(); e1:SetBeatPos(2)
        start = p:BeatPosAbs(); len = p:Length(); prob = p:Prob(); count = p:Events():Size()
        abs = e1:BeatPosAbs()
        e1:SetRuntimeTimeTrafoInvariantBeatPosOffset(0.5)
        absPlus = e1:BeatPosAbsPlusOffset(); absNo = e1:BeatPosAbsNoOffset()
        e2 = evs:Add(); absUndef = e2:BeatPosAbs()
    )");
    EXPECT_EQ(s.String("name"), "");
    EXPECT_EQ(s.Number("startCount"), 0.0) << "an undefined start is no result";
    EXPECT_EQ(s.Number("type"), -1.0);
    EXPECT_EQ(s.Number("start"), 5.0);
    EXPECT_EQ(s.Number("len"), 4.0);
    EXPECT_EQ(s.Number("prob"), 0.5);
    EXPECT_EQ(s.Number("count"), 1.0);
    // Start 4 (inside) plus the event's 1, plus 1 for Lua.
    EXPECT_EQ(s.Number("abs"), 6.0);
    EXPECT_EQ(s.Number("absPlus"), 6.5);
    EXPECT_EQ(s.Number("absNo"), 6.0);
    // An undefined position counts as 0: 4 + 0 + 1.
    EXPECT_EQ(s.Number("absUndef"), 5.0);
    const CGenPatternModAndProb* p = GlobalPattern(s, "p");
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->PatternIsModified());
    EXPECT_EQ(p->mBeatPosAbs, 4.0f);
    EXPECT_EQ(p->mProb, 0.5f);
    EXPECT_EQ(p->PatternToBeRead().mName, "Groove A");
    EXPECT_EQ(p->PatternToBeRead().mSignTime, CGenSignTime_Default44);
    EXPECT_EQ(p->PatternToBeRead().mEvs.mLength, 4.0f);
    ASSERT_EQ(p->PatternToBeRead().mEvs.size(), 2u);
    EXPECT_EQ(p->PatternToBeRead().mEvs[0].mBeatPos, 1.0f);

    // An event outside a pattern, or in a pattern without a start, has no
    // absolute position.
    EXPECT_EQ(s.Run("Event.New():BeatPosAbs()"), "_LuaEventBeatPosAbs: containerStartPosAbs != TGenBeatPosAbs_Undef");
    EXPECT_EQ(s.Run("LuaPattern.New():Events():Add():BeatPosAbs()"),
        "_LuaEventBeatPosAbs: containerStartPosAbs != TGenBeatPosAbs_Undef");
}

TEST(LuaPatternBinding, WritesMakeAnOwnCopyFirst)
{
    LuaTestState s;
    PoolEntry pool;
    {
        zkgen::lua::TRunScope run(s.L);
        CGenLua::LuaPattern::push(s.L, &pool.mEntry, CGenLua::CollectGarbage::No);
        lua_setglobal(s.L, "p");
        s.Ok("name = p:Name(); count = p:Events():Size(); p:Events():Add(); p:SetName('mine')");
        EXPECT_EQ(s.String("name"), "pool");
        EXPECT_EQ(s.Number("count"), 1.0);
    }
    EXPECT_TRUE(pool.mEntry.PatternIsModified());
    EXPECT_EQ(pool.mEntry.PatternToBeRead().mEvs.size(), 2u);
    EXPECT_EQ(pool.mEntry.PatternToBeRead().mName, "mine");
    // The pool's pattern is as it was.
    EXPECT_EQ((*pool.mPool)[0].mEvs.size(), 1u);
    EXPECT_EQ((*pool.mPool)[0].mName, "pool");
}

TEST(LuaPatternBinding, SetEventsCopiesListAndLength)
{
    LuaTestState s;
    PoolEntry pool;
    {
        zkgen::lua::TRunScope run(s.L);
        CGenLua::LuaPattern::push(s.L, &pool.mEntry, CGenLua::CollectGarbage::No);
        lua_setglobal(s.L, "p");
        s.Ok(R"(
            l = LuaEvents.New(); l:Add():SetBeatPos(1); l:Add():SetBeatPos(3); l:SetLength(8)
            p:SetEvents(l)
            l:Add()   -- the pattern holds a copy
        )");
    }
    EXPECT_TRUE(pool.mEntry.PatternIsModified());
    EXPECT_EQ(Positions(pool.mEntry.PatternToBeRead().mEvs), (std::vector<float> {0.0f, 2.0f}));
    EXPECT_EQ(pool.mEntry.Length(), 8.0f);
    EXPECT_EQ((*pool.mPool)[0].mEvs.size(), 1u);
}

TEST(LuaPatternBinding, MergeEvsFromPattern)
{
    LuaTestState s;
    s.Ok(R"(
        a = LuaPattern.New(); a:SetLength(8); a:Events():Add():SetBeatPos(1)
        b = LuaPattern.New(); b:SetLength(6); b:Events():Add():SetBeatPos(2); b:Events():Add():SetBeatPos(3)
        a:MergeEvsFromPattern(b)
        c = LuaPattern.New(); c:SetLength(2); c:MergeEvsFromPattern(b)
        a:MergeEvsFromPattern(a)
    )");
    const CGenPatternModAndProb* a = GlobalPattern(s, "a");
    const CGenPatternModAndProb* c = GlobalPattern(s, "c");
    ASSERT_NE(a, nullptr);
    ASSERT_NE(c, nullptr);
    // [0] + [1, 2] appended, then itself once more; the longer length wins.
    EXPECT_EQ(Positions(a->PatternToBeRead().mEvs), (std::vector<float> {0.0f, 1.0f, 2.0f, 0.0f, 1.0f, 2.0f}));
    EXPECT_EQ(a->Length(), 8.0f);
    EXPECT_EQ(Positions(c->PatternToBeRead().mEvs), (std::vector<float> {1.0f, 2.0f}));
    EXPECT_EQ(c->Length(), 6.0f);
    EXPECT_EQ(GlobalPattern(s, "b")->PatternToBeRead().mEvs.size(), 2u);
}

TEST(LuaPatternBinding, Properties)
{
    LuaTestState s;
    s.Ok(R"(
        p = LuaPattern.New()
        p:SetPropertiesFloatValueForKey(CGenPatternPropertiesKeys.TargetEndBeatPos.value, 2.5)
        p:SetPropertiesIntValueForKey("count", 3); p:SetPropertiesStringValueForKey("tag", "fill")
        f = p:PropertiesFloatValueForKey("FlTarget"); i = p:PropertiesIntValueForKey("count")
        str = p:PropertiesStringValueForKey("tag")
        missing = select('#', p:PropertiesIntValueForKey("nope")) + select('#', p:PropertiesFloatValueForKey("count"))
            + select('#', p:PropertiesStringValueForKey("count"))
    )");
    EXPECT_EQ(s.Number("f"), 2.5);
    EXPECT_EQ(s.Number("i"), 3.0);
    EXPECT_EQ(s.String("str"), "fill");
    EXPECT_EQ(s.Number("missing"), 0.0);
    const CGenPatternModAndProb* p = GlobalPattern(s, "p");
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->PatternToBeRead().mProperties.FloatValueForKey("FlTarget", 0.0), 2.5);
}

TEST(LuaPatternsBinding, AppendCloneAndIndices)
{
    LuaTestState s;
    s.Ok(R"(
        ps = LuaPatterns.New(); size0 = ps:Size(); st = ps:STDefaultOrTarget()
        p = LuaPattern.New(); p:SetName("A"); ps:AppendPattern(p)
        p:SetName("B"); ps:AppendPattern(p)
        p:SetName("C")
        n1 = ps:Get(1):Name(); n2 = ps:Get(2):Name(); g0 = ps:Get(0); g3 = ps:Get(3)
        clone, size = ps:CloneAndAppendPatternAtIndex(1)
        clone:SetName("A2")
        none = select('#', ps:CloneAndAppendPatternAtIndex(9))
        names = ""
        for i, q in ps:Iterator() do names = names .. i .. q:Name() .. " " end
    )");
    EXPECT_EQ(s.Number("size0"), 0.0);
    EXPECT_EQ(s.Number("st"), 0.0);
    EXPECT_EQ(s.String("n1"), "A");
    EXPECT_EQ(s.String("n2"), "B");
    EXPECT_TRUE(s.IsNil("g0"));
    EXPECT_TRUE(s.IsNil("g3"));
    EXPECT_EQ(s.Number("size"), 3.0);
    EXPECT_EQ(s.Number("none"), 0.0);
    EXPECT_EQ(s.String("names"), "1A 2B 3A2 ");
    const CGenPatternModAndProbs* ps = GlobalPatterns(s, "ps");
    ASSERT_NE(ps, nullptr);
    ASSERT_EQ(ps->size(), 3u);
    EXPECT_EQ((*ps)[0].PatternToBeRead().mName, "A");
    EXPECT_EQ((*ps)[2].PatternToBeRead().mName, "A2");

    s.Ok("ps:Mark(1); ps:Mark(3); ps:RemoveMarked(); left = ps:Get(1):Name(); ps:Remove(1); size = ps:Size()");
    EXPECT_EQ(s.String("left"), "B");
    EXPECT_EQ(s.Number("size"), 0.0);
}

TEST(LuaPatternsBinding, CloneOfAReferenceGetsItsOwnCopy)
{
    LuaTestState s;
    PoolEntry pool;
    CGenPatternModAndProbs list;
    list.push_back(pool.mEntry);
    list.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
    {
        zkgen::lua::TRunScope run(s.L);
        CGenLua::LuaPatterns::push(s.L, &list, CGenLua::CollectGarbage::No);
        lua_setglobal(s.L, "ps");
        s.Ok("st = ps:STDefaultOrTarget(); clone = ps:CloneAndAppendPatternAtIndex(1); clone:Events():Add()");
    }
    EXPECT_EQ(s.Number("st"), 1.0);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_FALSE(list[0].PatternIsModified());
    EXPECT_TRUE(list[1].PatternIsModified());
    EXPECT_EQ(list[1].PatternToBeRead().mEvs.size(), 2u);
    EXPECT_EQ((*pool.mPool)[0].mEvs.size(), 1u);
}

TEST(LuaPatternsBinding, OverlayAndMergePatterns)
{
    // This list: one pattern at 0, 4 beats, events at 0 (layer 0), 0.5
    // (layer 0, 1 long), 1 (layer 0), 2 (layer 1), 3 (layer 0).
    CGenEvs evs(4.0f);
    evs.push_back(Layered(0.0f, 0.5f, 1));
    evs.push_back(Layered(0.5f, 1.0f, 1));
    evs.push_back(Layered(1.0f, 0.5f, 1));
    evs.push_back(Layered(2.0f, 0.5f, 2));
    evs.push_back(Layered(3.0f, 0.5f, 1));
    CGenPatternModAndProbs list;
    list.push_back(CGenPatternModAndProb(0.0f, CGenPattern("base", evs)));
    // The overlay: a pattern at 1, 2 beats, one event at 0.5 (1.5 in the
    // song), erasing layer 0 in its range 0..2, i.e. [1, 3) in the song.
    CGenEvs fillEvs(2.0f);
    fillEvs.push_back(Layered(0.5f, 0.25f, 4));
    CGenPatternModAndProbs overlay;
    overlay.push_back(CGenPatternModAndProb(1.0f, CGenPattern("fill", fillEvs)));
    CGenRange<float> range {0.0f, 2.0f};
    overlay[0].mOverlayLayerBitmaskAndBPRanges.emplace_back(CGenBitmask(1), range);
    overlay[0].mOverlayLayerBitmaskAndBPRanges.emplace_back(kGenLayerBitmask_None, range);

    LuaTestState s;
    {
        zkgen::lua::TRunScope run(s.L);
        CGenLua::LuaPatterns::push(s.L, &list, CGenLua::CollectGarbage::No);
        lua_setglobal(s.L, "ps");
        CGenLua::LuaPatterns::push(s.L, &overlay, CGenLua::CollectGarbage::No);
        lua_setglobal(s.L, "ov");
        s.Ok("ps:OverlayAndMergePatterns(ov)");
    }
    // Gone: the layer-0 event at 1. Kept: the layer-1 event at 2 and the
    // event at 3 (the range ends before it). The event at 0.5 reached 0.5
    // into the range and is cut to 0.5. The fill's event arrives at 1.5.
    const CGenEvs& out = list[0].PatternToBeRead().mEvs;
    EXPECT_EQ(Positions(out), (std::vector<float> {0.0f, 0.5f, 1.5f, 2.0f, 3.0f}));
    ASSERT_EQ(out.size(), 5u);
    EXPECT_EQ(out[1].mBeatLength, 0.5f);
    EXPECT_EQ(out[2].mRuntimeLayerBitmask.Bits(), 4u);
    EXPECT_EQ(overlay[0].PatternToBeRead().mEvs.size(), 1u);
}
