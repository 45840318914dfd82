#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/library/CGenInstLib.h"
#include "Platform/ZKLog.h"
#include "Platform/ZKUserDefaults.h"
#include "Generator/scripting/LuaTestSupport.h"

#include <gtest/gtest.h>

namespace {

using zkgen::test::LuaTestState;

CChordHeavy Chord(const std::string& name)
{
    CChordHeavy chord;
    EXPECT_TRUE(SetFromString(name, chord, CChordNamePrefs())) << name;
    return chord;
}

// A song of 4/4 bars at 0 and 4, then 3/4 from 8: bars start at 0, 4, 8, 11,
// 14, 17. The generate range starts at 5 (one beat into the bar at 4, so that
// bar is a pickup and counts as generate bar 0) and is 10 beats long (to 15).
// The generate position is 4 beats after the left bar (4): 8, the first beat
// of generate bar 1. Tempo 120 up to 8, then 90. Chords C at 0, F at 8, G7 at
// 11; harmonic centre C major from 0, A minor from 11; key C major.
struct Song {
    CGenGeneratorParams params;
    CGenInstLib instLib {TGenInstType_Bass};
    CGenContext context {&params, nullptr, &instLib};
    LuaTestState state;

    Song()
    {
        params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}, {8.0f, CGenSignTime(3, 2)}};
        params.mGenerateStartPosAbs = 5.0f;
        params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
        params.mGenerateLength = 10.0f;
        params.mEvsTempo = CGenEvsTempo {{0.0f, 120.0}, {8.0f, 90.0}};
        params.mEvsChord.push_back(CGenEvChord(0.0f, Chord("C")));
        params.mEvsChord.push_back(CGenEvChord(8.0f, Chord("F")));
        params.mEvsChord.push_back(CGenEvChord(11.0f, Chord("G7")));
        params.mEvsHarmCenter.push_back(CGenEvHarmCenter(0.0f, 0, false));
        params.mEvsHarmCenter.push_back(CGenEvHarmCenter(11.0f, 9, true));
        params.mEvsSignKey.push_back(CGenEvSignKey(0.0f, 0, false));
        context.mGeneratePos = 4.0f;
        zkgen::lua::SetGlobalContext(state.L, &context);
    }
};

} // namespace

TEST(LuaContextRange, StartEndLengthAndBars)
{
    Song s;
    s.state.Ok("a = context:GenerateStartPosAbs() b = context:GenerateEndPosAbs() c = context:GenerateLength() "
               "d = context:PickupBarExists() e = context:FirstBarLengthInTargetTimeSign() "
               "f = context:IncompleteLastBarLengthInTargetTimeSign() g = context:GeneratePosRel() "
               "h = context:GenerateBarsTilEnd()");
    EXPECT_EQ(s.state.Number("a"), 6.0);  // 5 + 1
    EXPECT_EQ(s.state.Number("b"), 16.0); // 5 + 10 + 1
    EXPECT_EQ(s.state.Number("c"), 10.0);
    EXPECT_TRUE(s.state.Bool("d"));
    EXPECT_EQ(s.state.Number("e"), 3.0); // 5 up to the bar line at 8
    EXPECT_EQ(s.state.Number("f"), 1.0); // the bar at 14 up to the end at 15
    EXPECT_EQ(s.state.Number("g"), 5.0); // 4 after the left bar, 1-based
    EXPECT_EQ(s.state.Number("h"), 3.0); // the bars at 8, 11 and 14
}

TEST(LuaContextRange, GenerateBarRelCountsAPartlyCoveredFirstBarAsZero)
{
    Song s;
    // At 8: bar(8) - bar(4) + 1 = 2, less 1 because the start 5 is not on its bar's first beat.
    s.state.Ok("r = context:GenerateBarRel()");
    EXPECT_EQ(s.state.Number("r"), 1.0);
    // At 5 (the start itself): 1 - 1 = 0.
    s.context.mGeneratePos = 1.0f;
    s.state.Ok("r = context:GenerateBarRel()");
    EXPECT_EQ(s.state.Number("r"), 0.0);
    // A start on a bar line (4) is no pickup: at 8 it is bar(8) - bar(4) + 1 = 2.
    s.params.mGenerateStartPosAbs = 4.0f;
    s.context.mGeneratePos = 4.0f;
    s.state.Ok("r = context:GenerateBarRel()");
    EXPECT_EQ(s.state.Number("r"), 2.0);
}

TEST(LuaContextPositions, BarRelToAbsAndBack)
{
    Song s;
    // Generate bar 1 is the first whole bar after the pickup: 8 (Lua 9); bar 2
    // starts at 11, and 1-based 2.5 in it is 11 + 1.5 = 12.5 (Lua 13.5).
    s.state.Ok("a = context:GenerateBarRelToBeatPosAbs(TSTDefaultOrTarget.Target.value, 1) "
               "b = context:GenerateBarRelToBeatPosAbs(TSTDefaultOrTarget.Target.value, 2, 2.5) "
               "c, d = context:BeatPosAbsToGenerateBarRel(TSTDefaultOrTarget.Target.value, b) "
               "e, f = context:BeatPosAbsToGenerateBarRel(TSTDefaultOrTarget.Target.value, 6)");
    EXPECT_EQ(s.state.Number("a"), 9.0);
    EXPECT_EQ(s.state.Number("b"), 13.5);
    EXPECT_EQ(s.state.Number("c"), 2.0);
    EXPECT_EQ(s.state.Number("d"), 2.5);
    // 6 is 5 inside: the pickup bar 0, one beat in (1-based 2).
    EXPECT_EQ(s.state.Number("e"), 0.0);
    EXPECT_EQ(s.state.Number("f"), 2.0);
    s.state.Ok("n = context:LuaNumberToBeatPos(0/0) m = context:LuaNumberToBeatPos(2.5)");
    EXPECT_TRUE(s.state.IsNil("n"));
    EXPECT_EQ(s.state.Number("m"), 2.5);
}

TEST(LuaContextPositions, WrongArgumentsAndFrames)
{
    Song s;
    EXPECT_EQ(s.state.Run("context:GenerateBarRelToBeatPosAbs(1)"),
        "GenerateBarRelToBeatPosAbs: wrong number of arguments");
    EXPECT_EQ(s.state.Run("context:GenerateBarRelToBeatPosAbs(1, 1, 1, 1)"),
        "GenerateBarRelToBeatPosAbs: wrong number of arguments");
    EXPECT_EQ(s.state.Run("context:GenerateStartPosAbs(1)"), "GenerateStartPosAbs: wrong number of arguments");
    EXPECT_EQ(s.state.Run("context:GenerateBarRelToBeatPosAbs(2, 1)"),
        "GenerateBarRelToBeatPosAbs: stDefaultOrTarget be <= 1");
    EXPECT_EQ(s.state.Run("context.GenerateStartPosAbs(5)"), "'LuaContext' expected");
    s.context.mParams = nullptr;
    EXPECT_EQ(s.state.Run("context:GenerateLength()"),
        "GenerateLength: luaContext->context->ExternParams() == nullptr");
}

TEST(LuaContextTempo, TempoAndSignatures)
{
    Song s;
    s.state.Ok("a = context:TempoBpmAtGeneratePos() b = context:TempoBpmAtBeatPos(0) "
               "c = context:SignTimeNomAtGeneratePos() d = context:SignTimeDenomIxAtGeneratePos() "
               "e, f = context:SignTimeAtGenerateBarRel(1, 0) g, h = context:SignTimeAtGenerateBarRel(1, 1) "
               "i = context:TempoScale()");
    EXPECT_EQ(s.state.Number("a"), 90.0);  // at 8
    EXPECT_EQ(s.state.Number("b"), 120.0); // Lua 0 is one beat before: 7
    EXPECT_EQ(s.state.Number("c"), 3.0);
    EXPECT_EQ(s.state.Number("d"), 2.0);   // a quarter: 2^2
    EXPECT_EQ(s.state.Number("e"), 4.0);   // the pickup bar at 4 is 4/4
    EXPECT_EQ(s.state.Number("f"), 2.0);
    EXPECT_EQ(s.state.Number("g"), 3.0);   // bar 1 at 8 is 3/4
    EXPECT_EQ(s.state.Number("h"), 2.0);
    EXPECT_EQ(s.state.Number("i"), 1.0);
    s.params.mEvsTempo.clear();
    EXPECT_EQ(s.state.Run("context:TempoBpmAtGeneratePos()"),
        "TempoBpmAtGeneratePos: TempoAtOrBeforeBeatUseFirstTempoLeftOfIt returned TTempoBPMAsDouble_Undef");
}

TEST(LuaContextRegion, SetGetAndRemove)
{
    Song s;
    s.state.Ok("context:SetRegionParameter('a', 0.25) context:SetRegionParameter('s', 'text') "
               "x = context:GetRegionParameter('a') y = context:GetRegionParameterString('s') "
               "z = context:GetRegionParameter('s') w = context:GetRegionParameterFloat('none')");
    EXPECT_EQ(s.state.Number("x"), 0.25);
    EXPECT_EQ(s.state.String("y"), "text");
    EXPECT_TRUE(s.state.IsNil("z")); // a string is not read as a number
    EXPECT_TRUE(s.state.IsNil("w"));
    s.params.mRegionParameters.SetIntValueForKey(3, "a");
    s.params.mRegionParameters.SetStringValueForKey("t", "a");
    s.state.Ok("context:SetRegionParameter('a', nil)");
    EXPECT_FALSE(s.params.mRegionParameters.HasIntValueForKey("a"));
    EXPECT_FALSE(s.params.mRegionParameters.HasFloatValueForKey("a"));
    EXPECT_FALSE(s.params.mRegionParameters.HasStringValueForKey("a"));
    EXPECT_TRUE(s.params.mRegionParameters.HasStringValueForKey("s"));
    EXPECT_EQ(s.state.Run("context:SetRegionParameter('b', true)"), "SetRegionParameter: value type not supported");
    EXPECT_EQ(s.state.Run("context:GetRegionParameter()"), "RegionParameterFloat: wrong number of arguments");
}

TEST(LuaContextRandom, SequenceFromASeed)
{
    Song s;
    // From seed 1, s = (s * 1103515245 + 12345) & 0x7fffffff gives
    // 1103527590, 377401575, 662824084, 1147902781; u = s / 2147483647:
    // 0.51387..., 0.17574..., 0.30865..., 0.53453...
    s.state.Ok("context:RandomSetSeed(1.7) a = context:Random() b = context:Random(10) c = context:Random(5, 8) "
               "d = context:Random(0) e = context:RandomGetSeed()");
    EXPECT_DOUBLE_EQ(s.state.Number("a"), 1103527590.0 / 2147483647.0);
    EXPECT_EQ(s.state.Number("b"), 2.0); // floor(1.7574) + 1
    EXPECT_EQ(s.state.Number("c"), 6.0); // 5 + floor(0.30865 * 4)
    EXPECT_EQ(s.state.Number("d"), 1.0); // floor(0) + 1
    EXPECT_EQ(s.state.Number("e"), 1.0); // the start seed, cut to an integer
    EXPECT_EQ(s.context.mRandom.State(), 1147902781u);
    EXPECT_EQ(s.state.Run("context:Random(1, 2, 3)"), "Random: wrong number of arguments");
}

TEST(LuaContextHarmony, KeysAndCentres)
{
    Song s;
    s.state.Ok("a = context:ToOctaveRange(-1) b = context:ToOctaveRange(25) c = context:AbsKeyIntvlFromTo(0, 7) c2 = context:AbsKeyIntvlFromTo(7, 0) "
               "d, e = context:HarmCenterAtBeatPos() f, g = context:HarmCenterAtBeatPos(4)");
    EXPECT_EQ(s.state.Number("a"), 11.0);
    EXPECT_EQ(s.state.Number("b"), 1.0);
    EXPECT_EQ(s.state.Number("c"), 7.0); // C up to G
    EXPECT_EQ(s.state.Number("c2"), 5.0); // G up to C
    EXPECT_EQ(s.state.Number("d"), 0.0); // C major at 8
    EXPECT_EQ(s.state.Number("e"), 0.0);
    EXPECT_EQ(s.state.Number("f"), 9.0); // Lua 4 is 3 beats on: 11, A minor
    EXPECT_EQ(s.state.Number("g"), 1.0);
}

TEST(LuaContextHarmony, ChordAtBeatPos)
{
    Song s;
    // At 8: F from 8 to 11, asked at its start.
    s.state.Ok("c = context:ChordAtBeatPos() a = c:RootNoteKeyNr() b = c:BeatPosAbs() e = c:EndBeatPosAbs() "
               "l = c:BeatLength() r = c:RemainingChordLength() g = c:BeatPosRelToGeneratePos() "
               "k = c:BasicChord() h4 = c:HasInterval(4) h3 = c:HasInterval(3) u = c:IsUndef()");
    EXPECT_EQ(s.state.Number("a"), 5.0);
    EXPECT_EQ(s.state.Number("b"), 9.0);
    EXPECT_EQ(s.state.Number("e"), 12.0);
    EXPECT_EQ(s.state.Number("l"), 3.0);
    EXPECT_EQ(s.state.Number("r"), 3.0);
    EXPECT_EQ(s.state.Number("g"), 1.0);
    EXPECT_EQ(s.state.Number("k"), 1.0); // maj
    EXPECT_TRUE(s.state.Bool("h4"));
    EXPECT_FALSE(s.state.Bool("h3"));
    EXPECT_FALSE(s.state.Bool("u"));
    // Lua 2 is one beat on: 2 beats of F remain. One chord on: G7 from 11 up
    // to the generate end 15; one back: C at 0, 8 before the generate position.
    s.state.Ok("r = context:ChordAtBeatPos(2):RemainingChordLength() "
               "n = context:ChordAtBeatPos(1, 1) nk = n:RootNoteKeyNr() nl = n:BeatLength() n7 = n:HasInterval(10) "
               "p = context:ChordAtBeatPos(1, -1):BeatPosRelToGeneratePos() none = context:ChordAtBeatPos(1, 5)");
    EXPECT_EQ(s.state.Number("r"), 2.0);
    EXPECT_EQ(s.state.Number("nk"), 7.0);
    EXPECT_EQ(s.state.Number("nl"), 4.0);
    EXPECT_TRUE(s.state.Bool("n7"));
    EXPECT_EQ(s.state.Number("p"), -7.0); // -8 + 1
    EXPECT_TRUE(s.state.IsNil("none"));
    s.state.Ok("t = tostring(context:ChordAtBeatPos())");
    EXPECT_EQ(s.state.String("t").substr(s.state.String("t").size() - 16), "(SignTimeTarget)");
}

TEST(LuaContextConcretizer, RangesAndModifications)
{
    Song s;
    // The bass defaults: notes 28..55, pattern roots 28..40.
    s.state.Ok("a = context:MinNoteNr() b = context:MaxNoteNr() c = context:PatternRootMinNoteNr() "
               "d = context:PatternRootMaxNoteNr() context:SetMinNoteNr(30) e = context:MinNoteNr() "
               "context:Reset() f = context:MinNoteNr()");
    EXPECT_EQ(s.state.Number("a"), 28.0);
    EXPECT_EQ(s.state.Number("b"), 55.0);
    EXPECT_EQ(s.state.Number("c"), 28.0);
    EXPECT_EQ(s.state.Number("d"), 40.0);
    EXPECT_EQ(s.state.Number("e"), 30.0);
    EXPECT_EQ(s.state.Number("f"), 28.0);
    EXPECT_EQ(s.state.Run("context:GetModNoteNrPropIDAt(7, 1, 1)"), "GetModNoteNrPropIDAt: propID 7 out of range");
    EXPECT_EQ(s.state.Run("context:SetModNoteNrPropIDAt(0, 5, 2, 1, 1)"),
        "SetModNoteNrPropIDAt: modType must be >= 0 and <= 1");
    s.state.Ok("context:SetModNoteNrPropIDAt(1, 50, 1, 1, 1) n, t = context:GetModNoteNrPropIDAt(1, 1, 1)");
    EXPECT_EQ(s.state.Number("n"), 50.0);
    EXPECT_EQ(s.state.Number("t"), 1.0);
    s.context.mInstLib = nullptr;
    EXPECT_EQ(s.state.Run("context:MinNoteNr()"), "MinNoteNr: !luaContext->AbstractNoteConcretizerValid()");
}

TEST(LuaContextConcretizer, AbstractNoteToNoteNr)
{
    Song s;
    // At 8 the chord is F. Its root into the pattern-root range 28..40 is F1
    // (29); the fifth, four steps up the C major scale from F, is C2 (36);
    // the third, A1 (33).
    s.state.Ok("r = context:AbstractNoteToNoteNr('1') f = context:AbstractNoteToNoteNr('5') "
               "t = context:AbstractNoteToNoteNr('3')");
    EXPECT_EQ(s.state.Number("r"), 29.0);
    EXPECT_EQ(s.state.Number("f"), 36.0);
    EXPECT_EQ(s.state.Number("t"), 33.0);
}

TEST(LuaContextLifetime, DeadContextAndDebugPrint)
{
    Song s;
    zkgen::lua::TStateData::Of(s.state.L).EndRun();
    EXPECT_EQ(s.state.Run("context:GenerateBarRel()"),
        "context: the list this view belongs to has changed or gone; fetch it again");

    ZKUserDefaultsSetOverride("FeatureAvailable_TolvarContent", "1");
    CGenLua::luaLogResetForTesting();
    {
        ZKLogCapture capture;
        s.state.Ok("Context.DebugPrint('dropped') Context:DebugPrint(1, 'two')");
        const std::vector<std::string> texts = capture.Texts(ZKLogCategory_LuaDebugPrint);
        ASSERT_EQ(texts.size(), 1u);
        EXPECT_EQ(texts[0], "1\ttwo");
    }
    s.state.Ok("p = Context.Platform() t = Context.OSTimeInSeconds()");
    EXPECT_EQ(s.state.String("p"), "DeskOS");
    EXPECT_GT(s.state.Number("t"), 0.0);
    ZKUserDefaultsRemoveOverride("FeatureAvailable_TolvarContent");
    CGenLua::luaLogResetForTesting();
}

TEST(LuaContextControl, TestLoadersAndDebugSwitches)
{
    Song s;
    EXPECT_EQ(s.state.Run("context:LoadTestGlibb('/no/such/file.glibb')"), "invalid URL: /no/such/file.glibb");
    s.state.Ok("a = context:LoadTestContext('x') b = context:LoadTestGlibb('/')");
    EXPECT_FALSE(s.state.Bool("a"));
    EXPECT_FALSE(s.state.Bool("b"));
    s.context.mStyleGraphReports["fills"] = "drew 3";
    s.state.Ok("context:SetDebugSwitch('fills', true) r = context:GetLastDebugOutputForSwitch('fills') "
               "n = context:GetLastDebugOutputForSwitch('other')");
    EXPECT_TRUE(s.context.mStyleGraphDebugFlags["fills"]);
    EXPECT_EQ(s.state.String("r"), "drew 3");
    EXPECT_TRUE(s.state.IsNil("n"));
    EXPECT_EQ(s.state.Run("context:CharacterGraphRestart()"),
        "CharacterGraphRestart: luaContext->GenContext()->StyleGraphForStyleGraphKey() == nullptr");
}
