#include "Generator/scripting/values/LuaValuesTestSupport.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenEv.h"

#include <gtest/gtest.h>

#include <cfloat>

using zkgen::test::GlobalObject;
using zkgen::test::LuaTestState;

namespace {

CGenEv* GlobalEv(LuaTestState& s, const char* name)
{
    return GlobalObject<CGenEv>(s.L, name, "tolvar.event");
}

} // namespace

TEST(LuaEventNew, PositionsUndefinedAndDefaults)
{
    LuaTestState s;
    s.Ok(R"(
        e = Event.New()
        bpType = type(e:BeatPos())
        bp = e:BeatPos(); bpn = e:BeatPosNoOffset(); len = e:BeatLength(); endp = e:EndBeatPos()
        conc = e:Concretize(); ng = e:NoteGroupID(); mb0 = e:MB0(); mb1 = e:MB1(); relVel = e:RelVel()
        deg = e:AbstractNote():Degree(); degUndef = e:AbstractNote():DegreeIsUndef()
        offset = e:RuntimeTimeTrafoInvariantBeatPosOffset()
    )");
    // An undefined position comes back as the undefined value plus 1 (which
    // a double at -3.4e38 cannot show), as a number, not nil.
    EXPECT_EQ(s.String("bpType"), "number");
    EXPECT_EQ(s.Number("bp"), static_cast<double>(-FLT_MAX) + 1.0);
    EXPECT_EQ(s.Number("bpn"), static_cast<double>(-FLT_MAX) + 1.0);
    EXPECT_EQ(s.Number("endp"), static_cast<double>(-FLT_MAX) + 1.0);
    // A length is never shifted.
    EXPECT_EQ(s.Number("len"), static_cast<double>(-FLT_MAX));
    EXPECT_EQ(s.Number("offset"), static_cast<double>(-FLT_MAX));
    EXPECT_TRUE(s.Bool("conc"));
    EXPECT_EQ(s.Number("ng"), 255.0);
    EXPECT_EQ(s.Number("mb0"), 144.0); // note on, 0x90
    EXPECT_EQ(s.Number("mb1"), -1.0);
    EXPECT_EQ(s.Number("relVel"), -1.0);
    EXPECT_EQ(s.Number("deg"), -1.0);
    EXPECT_TRUE(s.Bool("degUndef"));
    const CGenEv* ev = GlobalEv(s, "e");
    ASSERT_NE(ev, nullptr);
    EXPECT_EQ(ev->mBeatPos, TGenBeatPos_Undef);
    EXPECT_EQ(ev->mBeatLength, TGenBeatLength_Undef);
}

TEST(LuaEventNew, NotConcretizedInTheGraphOverMergedEvents)
{
    LuaTestState s;
    CGenContext context;
    context.mStyleGraphKey = kStyleGraphKey_GlobalToMerged;
    {
        zkgen::lua::TRunScope run(s.L);
        zkgen::lua::TStateData::Of(s.L).mContext = &context;
        s.Ok("merged = Event.New():Concretize(); l = LuaEvents.New(); added = l:Add():Concretize()");
    }
    EXPECT_FALSE(s.Bool("merged"));
    EXPECT_FALSE(s.Bool("added"));
    // The run is over: no context, so events are concretized again.
    s.Ok("later = Event.New():Concretize()");
    EXPECT_TRUE(s.Bool("later"));
}

TEST(LuaEventFields, PositionsRoundTripOneBased)
{
    LuaTestState s;
    s.Ok(R"(
        e = Event.New()
        e:SetBeatPos(2.5); e:SetBeatLength(0.5)
        a = e:BeatPos(); b = e:BeatPosRel(); c = e:EndBeatPos()
        e:SetRuntimeTimeTrafoInvariantBeatPosOffset(0.25)
        d = e:BeatPosPlusOffset(); f = e:BeatPosNoOffset(); g = e:EndBeatPosPlusOffset(); h = e:EndBeatPosNoOffset()
        i = e:BeatPosRelNoOffset(); o = e:RuntimeTimeTrafoInvariantBeatPosOffset()
    )");
    const CGenEv* ev = GlobalEv(s, "e");
    ASSERT_NE(ev, nullptr);
    // Lua 2.5 is 1.5 inside; the length 0.5 as it is.
    EXPECT_EQ(ev->mBeatPos, 1.5f);
    EXPECT_EQ(ev->mBeatLength, 0.5f);
    EXPECT_EQ(ev->mRuntimeTimeTrafoInvariantBeatPosOffset, 0.25f);
    EXPECT_EQ(s.Number("a"), 2.5);
    EXPECT_EQ(s.Number("b"), 2.5);
    EXPECT_EQ(s.Number("c"), 3.0);  // end 1.5 + 0.5 = 2.0, plus 1
    EXPECT_EQ(s.Number("d"), 2.75); // 1.5 + 0.25 + 1
    EXPECT_EQ(s.Number("f"), 2.5);
    EXPECT_EQ(s.Number("g"), 3.25); // 2.0 + 0.25 + 1
    EXPECT_EQ(s.Number("h"), 3.0);
    EXPECT_EQ(s.Number("i"), 2.5);
    EXPECT_EQ(s.Number("o"), 0.25);
    s.Ok("e:SetBeatPosRel(1)");
    EXPECT_EQ(ev->mBeatPos, 0.0f);
}

TEST(LuaEventFields, MessageBytesAndAliases)
{
    LuaTestState s;
    s.Ok(R"(
        e = Event.New()
        e:SetMB0(176); e:SetMB1(7); e:SetMB2(100); e:SetMB3(3); e:SetRelVel(-5)
        isNote = e:IsNoteOn(); isCtr = e:IsCtrChange(); ctr = e:CtrNr(); vel = e:Velocity(); mb3 = e:MB3(); rel = e:RelVel()
    )");
    const CGenEv* ev = GlobalEv(s, "e");
    ASSERT_NE(ev, nullptr);
    EXPECT_EQ(ev->mMB0, 176);
    EXPECT_EQ(ev->mMB1, 7);
    EXPECT_EQ(ev->mMB2, 100);
    EXPECT_EQ(ev->mMB3, 3);
    EXPECT_EQ(ev->mRelVel, -5);
    EXPECT_FALSE(s.Bool("isNote"));
    EXPECT_TRUE(s.Bool("isCtr"));
    EXPECT_EQ(s.Number("ctr"), 7.0);
    EXPECT_EQ(s.Number("vel"), 100.0);
    EXPECT_EQ(s.Number("mb3"), 3.0);
    EXPECT_EQ(s.Number("rel"), -5.0);

    s.Ok(R"(
        e:SetMB0(144); e:SetNoteNr(62); nn = e:NoteNr(); e:SetVelocity(90); mb2 = e:MB2()
        e:SetCtrNr(11); mb1 = e:MB1()
        e:SetNoteNrUndef(); nnu = e:NoteNr()
        e:SetConcretize(false); conc = e:Concretize()
        e:SetNoteGroupID(3); ng = e:NoteGroupID()
        e:SetArrangerClavePitch(60); e:SetArrangerClaveWeight(7); cp = e:ArrangerClavePitch(); cw = e:ArrangerClaveWeight()
        e:SetNoteNrForDegreeNoteNr(64); nfd = e:NoteNrForDegreeNoteNr()
        isNote2 = e:IsNoteOn()
    )");
    EXPECT_EQ(s.Number("nn"), 62.0);
    EXPECT_EQ(s.Number("mb2"), 90.0);
    EXPECT_EQ(s.Number("mb1"), 11.0);
    EXPECT_EQ(s.Number("nnu"), -1.0);
    EXPECT_FALSE(s.Bool("conc"));
    EXPECT_EQ(s.Number("ng"), 3.0);
    EXPECT_EQ(s.Number("cp"), 60.0);
    EXPECT_EQ(s.Number("cw"), 7.0);
    EXPECT_EQ(s.Number("nfd"), 64.0);
    EXPECT_TRUE(s.Bool("isNote2"));
    EXPECT_FALSE(ev->mConcretize);
    EXPECT_EQ(ev->NoteGroupID(), 3);
    EXPECT_EQ(ev->mArrangerClavePitch, 60);
    EXPECT_EQ(ev->mArrangerClaveWeight, 7);
    EXPECT_EQ(ev->AbstractNoteConst().mNoteNrForDegreeNoteNr, 64);
}

TEST(LuaEventFields, UidsAndTheirMatches)
{
    LuaTestState s;
    // 0x12110000 = 303104000: nibbles 1, 2, 1, 1 from the top.
    s.Ok(R"(
        e = Event.New(); e:SetUid(303104000); uid = e:Uid()
        m1 = e:EvMatchesUid(0x12000000)  -- both nibbles carried
        m2 = e:EvMatchesUid(0x13000000)  -- 3 where the event has 2
        m3 = e:EvMatchesUid(0)           -- a zero pattern matches all
        p1 = e:EvMatchesPath("")         -- an empty path never matches
        p2 = e:EvMatchesPath("Drums.Ki") -- no generation, no instrument tree
        e:SetUidFromPath("Drums.Ki"); uid2 = e:Uid()
    )");
    EXPECT_EQ(s.Number("uid"), 303104000.0);
    EXPECT_TRUE(s.Bool("m1"));
    EXPECT_FALSE(s.Bool("m2"));
    EXPECT_TRUE(s.Bool("m3"));
    EXPECT_FALSE(s.Bool("p1"));
    EXPECT_FALSE(s.Bool("p2"));
    EXPECT_EQ(s.Number("uid2"), 303104000.0) << "without an instrument tree the uid stays";
}

TEST(LuaEventTags, BitFieldsReadAndWrite)
{
    LuaTestState s;
    s.Ok(R"(
        e = Event.New()
        e:SetRuntimeTagsFromBitIx(60, 4, 15)
        top = e:RuntimeTagsFromBitIx(60, 8)  -- cut at bit 63: four bits
        b63 = e:RuntimeTagsFromBitIx(63)
        b59 = e:RuntimeTagsFromBitIx(59)
    )");
    const CGenEv* ev = GlobalEv(s, "e");
    ASSERT_NE(ev, nullptr);
    EXPECT_EQ(ev->mRuntimeTags, 0xF000000000000000ull);
    EXPECT_EQ(s.Number("top"), 15.0);
    EXPECT_EQ(s.Number("b63"), 1.0);
    EXPECT_EQ(s.Number("b59"), 0.0);

    // One value alone replaces all 64 bits.
    s.Ok("e:SetRuntimeTagsFromBitIx(5); all = e:RuntimeTagsFromBitIx(); tags = e:RuntimeTags()");
    EXPECT_EQ(ev->mRuntimeTags, 5u);
    EXPECT_EQ(s.Number("all"), 5.0);
    EXPECT_EQ(s.Number("tags"), 5.0);
    // 0b101 with bits 1..2 set to 3: 0b111; then bit 0 cleared: 0b110.
    s.Ok("e:SetRuntimeTagsFromBitIx(1, 2, 3)");
    EXPECT_EQ(ev->mRuntimeTags, 7u);
    s.Ok("e:SetRuntimeTagsFromBitIx(0, 0)");
    EXPECT_EQ(ev->mRuntimeTags, 6u);
    // A value wider than its field keeps to the field: 0xFF into bits 4..5 is 3.
    s.Ok("e:SetRuntimeTagsFromBitIx(4, 2, 255)");
    EXPECT_EQ(ev->mRuntimeTags, 6u + 0x30u);
    s.Ok("e:SetRuntimeTags(9)");
    EXPECT_EQ(ev->mRuntimeTags, 9u);
}

TEST(LuaEventTags, BitIndicesOutOfRange)
{
    LuaTestState s;
    s.Ok("e = Event.New()");
    EXPECT_EQ(s.Run("e:RuntimeTagsFromBitIx(64)"), "LuaEvent::RuntimeTagsFromBitIx: fromBitIx needs to be in range 0 to 63");
    EXPECT_EQ(s.Run("e:RuntimeTagsFromBitIx(-1, 1)"), "LuaEvent::RuntimeTagsFromBitIx: fromBitIx needs to be in range 0 to 63");
    EXPECT_EQ(s.Run("e:RuntimeTagsFromBitIx(0, 65)"), "LuaEvent::RuntimeTagsFromBitIx: bitCount needs to be in range 1 to 64");
    EXPECT_EQ(s.Run("e:RuntimeTagsFromBitIx(0, 0)"), "LuaEvent::RuntimeTagsFromBitIx: bitCount needs to be in range 1 to 64");
    EXPECT_EQ(s.Run("e:SetRuntimeTagsFromBitIx(64, 1)"), "fromBitIx needs to be in range 0 to 63");
    EXPECT_EQ(s.Run("e:SetRuntimeTagsFromBitIx(0, 0, 1)"), "bitCount needs to be in range 1 to 64");
    EXPECT_EQ(s.Run("e:RuntimeLayerBitmaskForBitIx(64)"), "bitIx needs to be in range 0 to 63");
    EXPECT_EQ(s.Run("e:SetRuntimeLayerBitmaskForBitIx(-1, 1)"), "bitIx needs to be in range 0 to 63");
    EXPECT_EQ(s.Run("e:SetRuntimeTagsFromBitIx()"), "SetRuntimeTagsFromBitIx: wrong number of arguments");
    // Nothing was written by the failed calls.
    EXPECT_EQ(GlobalEv(s, "e")->mRuntimeTags, 0u);
}

TEST(LuaEventTags, LayerBits)
{
    LuaTestState s;
    s.Ok(R"(
        e = Event.New()
        e:SetRuntimeLayerBitmaskForBitIx(3, 1); e:SetRuntimeLayerBitmaskForBitIx(0, 1); e:SetRuntimeLayerBitmaskForBitIx(0, 0)
        mask = e:RuntimeLayerBitmask(); b3 = e:RuntimeLayerBitmaskForBitIx(3); b2 = e:RuntimeLayerBitmaskForBitIx(2)
    )");
    EXPECT_EQ(s.Number("mask"), 8.0);
    EXPECT_EQ(s.Number("b3"), 1.0);
    EXPECT_EQ(s.Number("b2"), 0.0);
    s.Ok("e:SetRuntimeLayerBitmask(5)");
    EXPECT_EQ(GlobalEv(s, "e")->mRuntimeLayerBitmask.Bits(), 5u);
}

TEST(LuaEventDictionary, StoreReadRemove)
{
    LuaTestState s;
    s.Ok("e = Event.New(); n = select('#', e:GetDictionaryValue('a'))");
    EXPECT_EQ(s.Number("n"), 0.0);
    const CGenEv* ev = GlobalEv(s, "e");
    ASSERT_NE(ev, nullptr);
    // Asking made an empty dictionary.
    ASSERT_NE(ev->DictionaryConst(), nullptr);
    EXPECT_TRUE(ev->DictionaryConst()->empty());

    s.Ok(R"(
        e:SetDictionaryValue("n", 2.5); e:SetDictionaryValue("s", "text")
        n = e:GetDictionaryValue("n"); str = e:GetDictionaryValue("s")
    )");
    EXPECT_EQ(s.Number("n"), 2.5);
    EXPECT_EQ(s.String("str"), "text");
    EXPECT_EQ(ev->DictionaryConst()->DoubleForKey("n"), 2.5);
    EXPECT_EQ(ev->DictionaryConst()->StringForKey("s"), "text");
    s.Ok("e:SetDictionaryValue('n', nil)");
    EXPECT_FALSE(ev->DictionaryConst()->HasKey("n"));
    EXPECT_EQ(s.Run("e:SetDictionaryValue('b', true)"), "_StoreFromLuaArgsToTGenDict: value type not supported (yet)");
    EXPECT_FALSE(ev->DictionaryConst()->HasKey("b"));
    GlobalEv(s, "e")->Dictionary().SetValueForKey(TGenDictValue(true), "flag");
    EXPECT_EQ(s.Run("e:GetDictionaryValue('flag')"), "_PushFromTGenDictToLua: value type not supported (yet)");
}

TEST(LuaEventAbstractNote, TextRoundTripAndMembers)
{
    LuaTestState s;
    s.Ok(R"(
        e = Event.New()
        e:SetAbstractNoteFromString("{nB3[-1,c-2]}")
        text = e:AbstractNoteString()
        d, w, o, st, t, dir = e:GetAbstractNoteMembers()
    )");
    EXPECT_EQ(s.String("text"), "{nB3[-1,c-2]}");
    // B3 is degree 14, "n" the next chord (2); the first offset one octave down.
    EXPECT_EQ(s.Number("d"), 14.0);
    EXPECT_EQ(s.Number("w"), 2.0);
    EXPECT_EQ(s.Number("o"), -1.0);
    EXPECT_EQ(s.Number("st"), 0.0);
    EXPECT_EQ(s.Number("t"), 0.0);
    EXPECT_EQ(s.Number("dir"), 0.0);
    const CGenEv* ev = GlobalEv(s, "e");
    ASSERT_NE(ev, nullptr);
    ASSERT_EQ(ev->AbstractNoteConst().mOffsets.size(), 2u);

    // The degree alone: where and offsets stay.
    s.Ok("e:SetAbstractNoteFromMembers(3); text = e:AbstractNoteString()");
    EXPECT_EQ(s.String("text"), "{n1[-1,c-2]}");
    // Degree, where, and the first offset's octaves and steps.
    s.Ok("e:SetAbstractNoteFromMembers(3, 0, 1, 2); text = e:AbstractNoteString()");
    EXPECT_EQ(s.String("text"), "{1[+1d+2,c-2]}");
    EXPECT_EQ(s.Run("e:SetAbstractNoteFromMembers()"), "SetAbstractNoteFromMembers: wrong number of arguments");
}

TEST(LuaAbstractNoteBinding, BuildAndCopyIntoAnEvent)
{
    LuaTestState s;
    s.Ok(R"(
        n = LuaAbstractNote.New(); fresh = n:DegreeIsUndef()
        n:SetDegree(TAbstractDegree.Root.value); n:SetWhere(TWhere.PrevChord.value)
        os = LuaAbstractOffsets.New()
        os:Add(1, 2, TStepsType.Chromatic.value, TStepsDirection.Normal.value)
        o = LuaAbstractOffset.New(); o:SetOctaves(-1); o:SetSteps(3); o:SetStepsType(TStepsType.Chord.value)
        o:SetStepsDirection(TStepsDirection.TowardsNextRoot.value)
        os:Add(o)
        size = os:Size()
        n:SetOffsets(os)
        e = Event.New(); e:SetAbstractNote(n)
        deg = n:Degree(); where = n:Where()
        secondSteps = n:Offsets():Get(2):Steps(); firstOct = n:Offset():Octaves()
        lastType = n:Offsets():Last():StepsType(); lastDir = n:Offsets():Last():StepsDirection()
    )");
    EXPECT_TRUE(s.Bool("fresh"));
    EXPECT_EQ(s.Number("size"), 2.0);
    EXPECT_EQ(s.Number("deg"), 3.0);
    EXPECT_EQ(s.Number("where"), 1.0);
    EXPECT_EQ(s.Number("secondSteps"), 3.0);
    EXPECT_EQ(s.Number("firstOct"), 1.0);
    EXPECT_EQ(s.Number("lastType"), 12.0);
    EXPECT_EQ(s.Number("lastDir"), 1.0);

    CAbstractNote expected(TWhere_PrevChord, TAbstractDegree_Root);
    CAbstractOffset a;
    a.mOctaves = 1;
    a.mSteps = 2;
    a.mStepsType = TStepsType_Chromatic;
    CAbstractOffset b;
    b.mOctaves = -1;
    b.mSteps = 3;
    b.mStepsType = TStepsType_Chord;
    b.mStepsDirection = TStepsDirection_TowardsNextRoot;
    expected.mOffsets = {a, b};
    const CGenEv* ev = GlobalEv(s, "e");
    ASSERT_NE(ev, nullptr);
    EXPECT_EQ(ev->AbstractNoteConst(), expected);

    s.Ok("n:Offsets():Remove(1); left = n:Offsets():Size(); n:Undef(); undef = n:DegreeIsUndef()");
    EXPECT_EQ(s.Number("left"), 1.0);
    EXPECT_TRUE(s.Bool("undef"));
    EXPECT_EQ(GlobalObject<CAbstractNote>(s.L, "n", "tolvar.LuaAbstractNote")->mOffsets.front(), b);
}

TEST(LuaAbstractNoteBinding, OffsetsAddAndOctaves)
{
    LuaTestState s;
    s.Ok("os = LuaAbstractOffsets.New()");
    EXPECT_EQ(s.Run("os:Add(1, 2)"), "LuaAbstractOffsets::Add: wrong number of parameters");
    EXPECT_EQ(s.Run("os:Add()"), "LuaAbstractOffsets::Add: wrong number of parameters");
    EXPECT_EQ(s.Run("os:Add(1, 2, 3, 4, 5)"), "LuaAbstractOffsets::Add: wrong number of parameters");
    EXPECT_EQ(s.Run("os:Add(Event.New())"), "'LuaAbstractOffset' expected");
    s.Ok("size = os:Size(); first = os:First(); g0 = os:Get(0)");
    EXPECT_EQ(s.Number("size"), 0.0);
    EXPECT_TRUE(s.IsNil("first"));
    EXPECT_TRUE(s.IsNil("g0"));

    // "d+2": two diatonic steps, octaves undefined.
    s.Ok(R"(
        e = Event.New(); e:SetAbstractNoteFromString("{1[d+2]}")
        off = e:AbstractNote():Offset()
        und = off:OctavesAreUndef(); oct = off:Octaves(); oct0 = off:OctavesWithUndefEquals0()
        hasSetter = off.SetOctavesUndef ~= nil
        off:SetOctaves(2); und2 = off:OctavesAreUndef(); text = e:AbstractNoteString()
    )");
    EXPECT_TRUE(s.Bool("und"));
    EXPECT_EQ(s.Number("oct"), -128.0);
    EXPECT_EQ(s.Number("oct0"), 0.0);
    EXPECT_FALSE(s.Bool("hasSetter"));
    EXPECT_FALSE(s.Bool("und2"));
    // The view wrote into the event's note.
    EXPECT_EQ(s.String("text"), "{1[+2d+2]}");
    s.Ok("out = '' for i, o in e:AbstractNote():Offsets():Iterator() do out = out .. i .. ':' .. o:Steps() .. ' ' end");
    EXPECT_EQ(s.String("out"), "1:2 ");
}

TEST(LuaEventBinding, WrongUserdata)
{
    LuaTestState s;
    EXPECT_EQ(s.Run("Event.New().BeatPos(LuaEvents.New())"), "'LuaEvent' expected");
    EXPECT_EQ(s.Run("LuaEvents.New().Size(Event.New())"), "'LuaEvents' expected");
    EXPECT_EQ(s.Run("LuaPattern.New():SetEvents(Event.New())"), "'LuaEvents' expected");
    EXPECT_EQ(s.Run("LuaPatterns.New():AppendPattern(5)"), "'LuaPattern' expected");
    EXPECT_EQ(s.Run("LuaPatterns.New():OverlayAndMergePatterns(LuaPattern.New())"), "'LuaPatterns' expected");
    EXPECT_EQ(s.Run("Event.New():SetAbstractNote(LuaAbstractOffset.New())"), "'LuaAbstractNote' expected");
    EXPECT_EQ(s.Run("LuaAbstractNote.New():SetOffsets(LuaAbstractNote.New())"), "'LuaAbstractOffsets' expected");
    EXPECT_EQ(s.Run("Event.New():SetBeatPos('x')"), "bad argument #2 to 'SetBeatPos' (number expected, got string)");
    s.Ok("text = tostring(Event.New()):sub(1, 5)");
    EXPECT_FALSE(s.String("text").empty());
}
