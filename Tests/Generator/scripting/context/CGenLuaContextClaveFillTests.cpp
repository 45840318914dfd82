#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/library/CGenGenreLib.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/scripting/LuaTestSupport.h"
#include "TestSupport/ClaveTestData.h"

#include <gtest/gtest.h>

namespace {

using zkgen::test::LuaTestState;

// 4/4 throughout; the generate range is the two bars at 4 and 8 (no pickup),
// and the generate position is the range's start, 4.
struct Region {
    CGenGeneratorParams params;
    CGenGenreLib genreLib;
    CGenContext context {&params, &genreLib, nullptr};
    LuaTestState state;

    Region()
    {
        params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}};
        params.mGenerateStartPosAbs = 4.0f;
        params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
        params.mGenerateLength = 8.0f;
        context.mGeneratePos = 0.0f;
        zkgen::lua::SetGlobalContext(state.L, &context);
    }
};

CGenClaveLib Lib(const std::string& name, const CGenEvs& grid, std::vector<CGenClavePattern> patterns)
{
    CGenClaveLib lib(name);
    lib.mInterestingPos = grid;
    for (auto& p : patterns)
        lib.push_back(std::move(p));
    lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    return lib;
}

// Two libraries: "Family" on the eighths on the beat (Son3: 0, 1.5, 3; Four:
// the four beats), "AddOn" off the beat (Off1: 0.75; Off2: 0.25, 2.25).
// The clave track: bar 4 holds 4, 4.75, 5.5 and 7 at weight 100 (velocity
// round(1 + 126 * 227 / 254) = round(113.6) = 114) and a soft accent at 5
// with weight -100 (round(1 + 126 * 27 / 254) = round(14.4) = 14); bar 8
// holds its four beats at weight 100. The timetables say Son3 then Four,
// and Off1.
struct ClaveRegion : Region {
    ClaveRegion()
    {
        genreLib.mClaveLibs.push_back(Lib("Family", zkgtest::Grid(0.0f, 0.5f, 0.125f),
            {CGenClavePattern("Son3", zkgtest::Clave({0.0f, 1.5f, 3.0f})),
                CGenClavePattern("Four", zkgtest::Clave({0.0f, 1.0f, 2.0f, 3.0f}))}));
        genreLib.mClaveLibs.push_back(Lib("AddOn", zkgtest::Grid(0.25f, 0.5f, 0.125f),
            {CGenClavePattern("Off1", zkgtest::Clave({0.75f})),
                CGenClavePattern("Off2", zkgtest::Clave({0.25f, 2.25f}))}));
        CGenEvsClave clave(12.0f);
        for (float p : {4.0f, 4.75f, 5.5f, 7.0f, 8.0f, 9.0f, 10.0f, 11.0f})
            clave.push_back(CGenEvClave(p, 100));
        clave.push_back(CGenEvClave(5.0f, -100));
        clave.SortByBeatPos();
        params.mEvsClave = clave;
        params.mEvsClave_FollowTrackEnabled = true;
        params.mEvsClaveClosestIxPatternHistForName["Family"] =
            CGenBeatedPatternIxs {CGenBeatedPatternIx(4.0f, 0), CGenBeatedPatternIx(8.0f, 1)};
        params.mEvsClaveClosestIxPatternHistForName["AddOn"] = CGenBeatedPatternIxs {CGenBeatedPatternIx(4.0f, 0)};
        context.mNearestClavePatternInfos.GatherInfosAtPos(&params, &genreLib.mClaveLibs, 0.0f);
    }
};

CChordHeavy Chord(const std::string& name)
{
    CChordHeavy chord;
    EXPECT_TRUE(SetFromString(name, chord, CChordNamePrefs())) << name;
    return chord;
}

} // namespace

TEST(LuaContextClaves, TimetableNamesAtOffsets)
{
    ClaveRegion r;
    r.state.Ok("a = context:ClaveFamilyName(0) b = context:ClaveFamilyName(1) c = context:ClaveFamilyName(-1) "
               "d = context:FamilyClaveString(1) e = context:ClaveAddOnName(0) f = context:AddOnClaveString(0) "
               "g = context:ClaveAddOnName(1)");
    EXPECT_EQ(r.state.String("a"), "Son3");
    EXPECT_EQ(r.state.String("b"), "Four");
    EXPECT_TRUE(r.state.IsNil("c")); // before the first entry
    EXPECT_EQ(r.state.String("d"), "Four");
    EXPECT_EQ(r.state.String("e"), "Off1");
    EXPECT_EQ(r.state.String("f"), "Off1");
    EXPECT_TRUE(r.state.IsNil("g"));
    EXPECT_EQ(r.state.Run("context:ClaveFamilyName()"), "ClaveFamilyName: wrong number of arguments");
}

TEST(LuaContextClaves, FilteredNamesAndUniversalAlphabet)
{
    ClaveRegion r;
    // Velocities 100..127 keep 4, 4.75, 5.5, 7 of bar 4. On the beat: bits 0
    // (4), 3 (5.5), 6 (7) = 1 + 8 + 64 = 73, "111" (73 & 7, 73 >> 3 & 7, 73 >> 6 & 3);
    // Son3 exactly. Off the beat from 4.25: 4.75 is bit 1 = 2, "bxxx"; Off1.
    r.state.Ok("a = context:ClaveFilteredFamilyName('Family', 0, 100, 127) "
               "b = context:ClaveUniAlphabetFamilyBits('Family', 0, 100, 127) "
               "c = context:ClaveUniAlphabetFamilyName('Family', 0, 100, 127) "
               "d = context:ClaveFilteredAddOnName('AddOn', 0, 100, 127) "
               "e = context:ClaveUniAlphabetAddOnBits('AddOn', 0, 100, 127) "
               "f = context:ClaveUniAlphabetAddOnName('AddOn', 0, 100, 127)");
    EXPECT_EQ(r.state.String("a"), "Son3");
    EXPECT_EQ(r.state.Number("b"), 73.0);
    EXPECT_EQ(r.state.String("c"), "111");
    EXPECT_EQ(r.state.String("d"), "Off1");
    EXPECT_EQ(r.state.Number("e"), 2.0);
    EXPECT_EQ(r.state.String("f"), "bxxx");
    // All velocities add the soft 5 (bit 2): 77 = "511". The table still
    // gives Son3: on a 0.25 grid over 0..4 (17 points) Son3 differs at 1.0
    // only (16/17), Four at 1.5 and 2.0 (15/17).
    // Bar 8 (offset 1): bits 0, 2, 4, 6 = 85, "521" (85 & 7 = 5, 10 & 7 = 2, 1): Four.
    r.state.Ok("a = context:ClaveUniAlphabetFamilyName('Family', 0, 0, 127) "
               "b = context:ClaveFilteredFamilyName('Family', 0, 0, 127) "
               "c = context:ClaveUniAlphabetFamilyName('Family', 1, 100, 127) "
               "d = context:ClaveFilteredFamilyName('Family', 1, 100, 127) "
               "e = context:ClaveUniAlphabetFamilyBits('Family', 0, 120, 127)");
    EXPECT_EQ(r.state.String("a"), "511");
    EXPECT_EQ(r.state.String("b"), "Son3");
    EXPECT_EQ(r.state.String("c"), "521");
    EXPECT_EQ(r.state.String("d"), "Four");
    EXPECT_EQ(r.state.Number("e"), 0.0); // 114 lies below 120: nothing is left
}

TEST(LuaContextClaves, FifthParameterIsTheReadingTolerance)
{
    ClaveRegion r;
    // With 0.3 beats, 4.75 lies within reach of 4.5 and of 5.0 (0.25 off
    // each): bits 0, 1, 2, 3, 6 = 79, "711" (79 & 7 = 7, 9 & 7 = 1, 1).
    r.state.Ok("a = context:ClaveUniAlphabetFamilyName('Family', 0, 100, 127, 0.3) "
               "b = context:ClaveUniAlphabetFamilyName('Family', 0, 100, 127, 0)");
    EXPECT_EQ(r.state.String("a"), "711");
    EXPECT_EQ(r.state.String("b"), "111"); // 0 takes the default 0.125
}

TEST(LuaContextClaves, BadArguments)
{
    ClaveRegion r;
    EXPECT_EQ(r.state.Run("context:ClaveFilteredFamilyName('Nope', 0, 0, 127)"),
        "ClaveFilteredFamilyName: claveLib with name 'Nope' does not exist");
    EXPECT_EQ(r.state.Run("context:ClaveUniAlphabetAddOnName('AddOn', 0, 0)"),
        "ClaveUniAlphabetAddOnName: wrong number of arguments");
    EXPECT_EQ(r.state.Run("context:ClaveEvsAsPattern('Family', 'x', 0, 127)"),
        "bad argument #3 to 'ClaveEvsAsPattern' (number expected, got string)");
    EXPECT_EQ(r.state.Run("context:ClaveEvsAllAsPatterns(0)"), "ClaveEvsAllAsPatterns: wrong number of arguments");
}

TEST(LuaContextClaves, EventsAsPatterns)
{
    ClaveRegion r;
    // Bar 4 at velocities 100..127: 0, 0.75, 1.5, 3 from the bar line (Lua + 1).
    r.state.Ok("p = context:ClaveEvsAsPattern('Family', 0, 100, 127) pos = p:BeatPosAbs() len = p:Length() "
               "e = p:Events() n = e:Size() e2 = e:Get(2):BeatPos() v = e:Get(1):Velocity() "
               "e4 = e:Get(4):BeatPos()");
    EXPECT_EQ(r.state.Number("pos"), 5.0);
    EXPECT_EQ(r.state.Number("len"), 4.0);
    EXPECT_EQ(r.state.Number("n"), 4.0);
    EXPECT_EQ(r.state.Number("e2"), 1.75);
    EXPECT_EQ(r.state.Number("v"), 114.0);
    EXPECT_EQ(r.state.Number("e4"), 4.0);
    // The generate range: one stretch per bar (4 and 8), four accents each;
    // the soft one is filtered away. Making them is not the graph's choice.
    r.state.Ok("l = context:ClaveEvsAllAsPatterns(100, 127) n = l:Size() a = l:Get(1):Events():Size() "
               "b = l:Get(2):Events():Size() b3 = l:Get(2):Events():Get(3):BeatPos() p2 = l:Get(2):BeatPosAbs()");
    EXPECT_EQ(r.state.Number("n"), 2.0);
    EXPECT_EQ(r.state.Number("a"), 4.0);
    EXPECT_EQ(r.state.Number("b"), 4.0);
    EXPECT_EQ(r.state.Number("b3"), 3.0); // 10 - 8 = 2, Lua 3
    EXPECT_EQ(r.state.Number("p2"), 9.0);
    EXPECT_FALSE(r.context.mGraphMadeTheChoice);
    // Given stretches: one of two bars from the bar at 4 takes all eight.
    r.state.Ok("l = context:ClaveEvsAllAsPatterns(0, 127, 1, 2, 0, 0) n = l:Size() a = l:Get(1):Events():Size()");
    EXPECT_EQ(r.state.Number("n"), 1.0);
    EXPECT_EQ(r.state.Number("a"), 9.0);
    EXPECT_FALSE(r.context.mGraphMadeTheChoice);
}

namespace {

// A fill from 5 to 7 (target signature), covering the generate position 6.
// Accent overlay 0.5..1.5, system overlay 0..2 from the fill's start, no
// percussion range; a layer record for percussion (bit 4) of 1..2.
struct FillRegion : Region {
    FillRegion()
    {
        context.mGeneratePos = 2.0f;
        CGenPattern pattern;
        pattern.mName = "fill";
        pattern.mEvs = CGenEvs(2.0f);
        CGenPatternModAndProb fill(5.0f, 5.0f, pattern);
        fill.mOverlayRangeAc = CGenRange<float> {0.5f, 1.5f};
        fill.mOverlayRangeSy = CGenRange<float> {0.0f, 2.0f};
        fill.mOverlayRangePerc = CGenRange<float> {TGenBeatPos_Undef, TGenBeatPos_Undef};
        fill.mOverlayLayerBitmaskAndBPRanges.emplace_back(CGenBitmask(1u << TPatternGraphType_Percussion),
            CGenRange<float> {1.0f, 2.0f});
        CGenPatternModAndProbs& fills = context.mPatternMap[TPatternGraphType_Fill];
        fills.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
        fills.push_back(fill);
    }
};

} // namespace

TEST(LuaContextFills, StartEndAndOverlays)
{
    FillRegion r;
    // The fill starts 1 beat into its bar (4/4 both ways): Lua 2; it ends 2
    // beats later, Lua 4. Accents 1 + 0.5 and 1 + 1.5 (Lua 2.5, 3.5); systems
    // 1 + 0 and 1 + 2 (Lua 2, 4).
    r.state.Ok("s = context:FillStartPosInBarDefTimeSign() e = context:FillEndPosInBarDefTimeSign() "
               "as = context:FillOverlayAcStartPosInBarDefTimeSign() ae = context:FillOverlayAcEndPosInBarDefTimeSign() "
               "ss = context:FillOverlaySyStartPosInBarDefTimeSign() se = context:FillOverlaySyEndPosInBarDefTimeSign() "
               "ps = context:FillOverlayPercStartPosInBarDefTimeSign() pe = context:FillOverlayPercEndPosInBarDefTimeSign()");
    EXPECT_EQ(r.state.Number("s"), 2.0);
    EXPECT_EQ(r.state.Number("e"), 4.0);
    EXPECT_EQ(r.state.Number("as"), 2.5);
    EXPECT_EQ(r.state.Number("ae"), 3.5);
    EXPECT_EQ(r.state.Number("ss"), 2.0);
    EXPECT_EQ(r.state.Number("se"), 4.0);
    EXPECT_TRUE(r.state.IsNil("ps"));
    EXPECT_TRUE(r.state.IsNil("pe"));
}

TEST(LuaContextFills, OverlayForLayer)
{
    FillRegion r;
    // Percussion (4) from its record: 1 + 1, 1 + 2 (Lua 3, 4). The accent
    // add-on layer (1) and the system (2) have no record: their fixed ranges.
    // The fill layer itself (3) has none.
    r.state.Ok("a = context:FillOverlayForLayerStartPosInBarSTDefault(4) "
               "b = context:FillOverlayForLayerEndPosInBarSTDefault(4) "
               "c = context:FillOverlayForLayerStartPosInBarSTDefault(1) "
               "d = context:FillOverlayForLayerEndPosInBarSTDefault(2) "
               "e = context:FillOverlayForLayerStartPosInBarSTDefault(3)");
    EXPECT_EQ(r.state.Number("a"), 3.0);
    EXPECT_EQ(r.state.Number("b"), 4.0);
    EXPECT_EQ(r.state.Number("c"), 2.5);
    EXPECT_EQ(r.state.Number("d"), 4.0);
    EXPECT_TRUE(r.state.IsNil("e"));
    EXPECT_EQ(r.state.Run("context:FillOverlayForLayerStartPosInBarSTDefault(64)"),
        "FillOverlayForLayerStartPosInBarSTDefault: layer must be >= 0 and <= 63");
    EXPECT_EQ(r.state.Run("context:FillOverlayForLayerEndPosInBarSTDefault()"),
        "FillOverlayForLayerEndPosInBarSTDefault: wrong number of arguments");
    EXPECT_EQ(r.state.Run("context:FillStartPosInBarDefTimeSign(1)"),
        "FillStartPosInBarDefTimeSign: wrong number of arguments");
}

TEST(LuaContextFills, NoFillOutsideItsStretch)
{
    FillRegion r;
    // At 4 (before the fill) and at 7 (its end, which it doesn't hold).
    r.context.mGeneratePos = 0.0f;
    r.state.Ok("a = context:FillStartPosInBarDefTimeSign()");
    EXPECT_TRUE(r.state.IsNil("a"));
    r.context.mGeneratePos = 3.0f;
    r.state.Ok("a = context:FillEndPosInBarDefTimeSign() b = context:FillOverlayForLayerStartPosInBarSTDefault(4)");
    EXPECT_TRUE(r.state.IsNil("a"));
    EXPECT_TRUE(r.state.IsNil("b"));
    r.context.mPatternMap.clear();
    r.context.mGeneratePos = 2.0f;
    r.state.Ok("a = context:FillStartPosInBarDefTimeSign()");
    EXPECT_TRUE(r.state.IsNil("a"));
}

TEST(LuaContextPatterns, MergedEvsAtOffset)
{
    Region r;
    // The merged elements at 4 (two events) and at 8 (one); the position is 4.
    CGenEvs first(4.0f);
    first.push_back(CGenEv(0.5f, 0.25f, st_NoteOn, 36, 100));
    first.push_back(CGenEv(1.0f, 0.25f, st_NoteOn, 38, 90));
    CGenEvs second(4.0f);
    second.push_back(CGenEv(2.0f, 0.25f, st_NoteOn, 42, 80));
    CGenPattern a;
    a.mEvs = first;
    CGenPattern b;
    b.mEvs = second;
    r.context.mInputPatterns.push_back(CGenPatternModAndProb(4.0f, a));
    r.context.mInputPatterns.push_back(CGenPatternModAndProb(8.0f, b));
    r.state.Ok("e = context:MergedEvsAtOffset(0) n = e:Size() p = e:Get(1):BeatPos() k = e:Get(2):NoteNr() "
               "f = context:MergedEvsAtOffset(1) m = f:Size() q = f:Get(1):Velocity() "
               "g = context:MergedEvsAtOffset(-1) h = context:MergedEvsAtOffset(2) e:Remove(1)");
    EXPECT_EQ(r.state.Number("n"), 2.0);
    EXPECT_EQ(r.state.Number("p"), 1.5);
    EXPECT_EQ(r.state.Number("k"), 38.0);
    EXPECT_EQ(r.state.Number("m"), 1.0);
    EXPECT_EQ(r.state.Number("q"), 80.0);
    EXPECT_TRUE(r.state.IsNil("g"));
    EXPECT_TRUE(r.state.IsNil("h"));
    // A copy: the script's removal leaves the merged list alone.
    EXPECT_EQ(r.context.mInputPatterns[0].PatternToBeRead().mEvs.size(), 2u);
    EXPECT_EQ(r.state.Run("context:MergedEvsAtOffset()"), "MergedEvsAtOffset: wrong number of arguments");
}

namespace {

// Key C major and harmonic center C major throughout. Chords: C at 0 (with
// C lydian stated as its scale), G7 at 4, G/B at 8, Am at 12. The generate
// range starts at 0 and the position is 0.
struct ChordRegion : Region {
    ChordRegion()
    {
        params.mGenerateStartPosAbs = 0.0f;
        params.mGenerateStartLeftBarPosAbs = 0.0f;
        params.mGenerateLength = 16.0f;
        params.mEvsChord.push_back(CGenEvChord(0.0f, Chord("C"), CScaleHeavy(CKeyEnh(0, TEnh_Natural), TScaleType_Lydian)));
        params.mEvsChord.push_back(CGenEvChord(4.0f, Chord("G7")));
        params.mEvsChord.push_back(CGenEvChord(8.0f, Chord("G/B")));
        params.mEvsChord.push_back(CGenEvChord(12.0f, Chord("Am")));
        params.mEvsHarmCenter.push_back(CGenEvHarmCenter(0.0f, 0, false));
        params.mEvsSignKey.push_back(CGenEvSignKey(0.0f, 0, false));
    }
};

} // namespace

TEST(LuaChordDegrees, SignKeyDegreesAndHarmonicFunction)
{
    ChordRegion r;
    // Lua beat 1 is the position (0), 5 is 4 beats on, and so on.
    r.state.Ok("c = context:ChordAtBeatPos(1) g = context:ChordAtBeatPos(5) gb = context:ChordAtBeatPos(9) "
               "am = context:ChordAtBeatPos(13) "
               "a = c:RootNoteSignKeyDegreeNr() b = g:RootNoteSignKeyDegreeNr() b2 = g:RootNoteDegreeInLocalSignKey() "
               "d = gb:BassNoteSignKeyDegreeNr() d2 = gb:BassNoteDegreeInLocalSignKey() d3 = gb:RootNoteSignKeyDegreeNr() "
               "h1 = c:HarmFunc() h5 = g:HarmFunc() h6 = am:HarmFunc()");
    EXPECT_EQ(r.state.Number("a"), 1.0);
    EXPECT_EQ(r.state.Number("b"), 5.0);
    EXPECT_EQ(r.state.Number("b2"), 5.0);
    EXPECT_EQ(r.state.Number("d"), 7.0); // B in C major
    EXPECT_EQ(r.state.Number("d2"), 7.0);
    EXPECT_EQ(r.state.Number("d3"), 5.0);
    EXPECT_EQ(r.state.Number("h1"), 0.0);  // THarmFuncEnum.I
    EXPECT_EQ(r.state.Number("h5"), 9.0);  // V: G7's triad is major
    EXPECT_EQ(r.state.Number("h6"), 12.0); // VIm
}

TEST(LuaChordDegrees, ChordKeysAndScaleDegrees)
{
    ChordRegion r;
    // G7 in C takes G mixolydian (G A B C D E F): degree 3 is B, 4 above G;
    // degree 7 is F, chord key 10; chord key 10 is degree 7 in its own scale
    // (mixolydian too) and in the key's mode. Chord key 1 (G#) is no degree.
    r.state.Ok("g = context:ChordAtBeatPos(5) "
               "a = g:ChordKeyNrFromDegreeNr(3) b = g:AbstractKeyNrFromDegreeNr(7) c = g:ScaleDegreeNrFromChordKeyNr(10) "
               "d = g:ChordDegreeNrFromChordKeyNr(10) e = g:DegreeNrFromAbstractKeyNr(10) f = g:ScaleDegreeNrFromChordKeyNr(1) "
               "z = g:ChordKeyNrFromDegreeNr(0) "
               "h = g:ScaleDegreeNrFromHarmCenterKeyNr(5) i = g:HarmCenterKeyNrFromScaleDegreeNr(1) "
               "j = g:DegreeNrFromHarmCenterKeyNr(7) k = g:HarmCenterKeyNrFromDegreeNr(7)");
    EXPECT_EQ(r.state.Number("a"), 4.0);
    EXPECT_EQ(r.state.Number("b"), 10.0);
    EXPECT_EQ(r.state.Number("c"), 7.0);
    EXPECT_EQ(r.state.Number("d"), 7.0);
    EXPECT_EQ(r.state.Number("e"), 7.0);
    EXPECT_EQ(r.state.Number("f"), -1.0); // TDegreeNr.Undef
    EXPECT_EQ(r.state.Number("z"), 15.0); // TKeyNr.Undef
    EXPECT_EQ(r.state.Number("h"), 7.0);  // F above C is the seventh of G mixolydian
    EXPECT_EQ(r.state.Number("i"), 7.0);  // G is 7 above C
    EXPECT_EQ(r.state.Number("j"), 1.0);
    EXPECT_EQ(r.state.Number("k"), 5.0);  // F
    // C with C lydian stated: degree 3 of lydian is E (4); F# (chord key 6)
    // is degree 4 of the stated scale, but no degree of the chord's own
    // scale (ionian for a triad) nor of the key's mode on C (ionian).
    r.state.Ok("c = context:ChordAtBeatPos(1) a = c:ChordKeyNrFromDegreeNr(3) b = c:ScaleDegreeNrFromChordKeyNr(6) "
               "d = c:ChordDegreeNrFromChordKeyNr(6) e = c:ChordModalScaleInSignKeyDegreeNrFromChordKeyNr(6) "
               "f = c:ChordDegreeNrFromAbstractKeyNr(5) g = c:ScaleDegreeNrFromAbstractKeyNr(5)");
    EXPECT_EQ(r.state.Number("a"), 4.0);
    EXPECT_EQ(r.state.Number("b"), 4.0);
    EXPECT_EQ(r.state.Number("d"), -1.0);
    EXPECT_EQ(r.state.Number("e"), -1.0);
    EXPECT_EQ(r.state.Number("f"), 4.0);  // F in C ionian
    EXPECT_EQ(r.state.Number("g"), -1.0); // F is not in C lydian
}

TEST(LuaChordDegrees, BassDegrees)
{
    ChordRegion r;
    // G/B: the chord's own scale is G ionian (G A B C D E F#), the bass B its
    // degree 3. D (chord key 7) is degree 5: (5 - 3) + 1 = 3 from the bass;
    // G (chord key 0) is degree 1: (1 - 3) mod 7 + 1 = 6. Back: bass degree
    // 1 is B, 4 above G; 3 is D, 7 above G.
    r.state.Ok("gb = context:ChordAtBeatPos(9) t = gb:BassDegreeNrsFromChordKeyNr(7) u = gb:BassDegreeNrsFromAbstractKeyNr(0) "
               "n = #t t1 = t[1] u1 = u[1] a = gb:ChordKeyNrFromBassDegreeNr(1) b = gb:AbstractKeyNrFromBassDegreeNr(3) "
               "z = gb:ChordKeyNrFromBassDegreeNr(8) e = #gb:BassDegreeNrsFromChordKeyNr(1)");
    EXPECT_EQ(r.state.Number("n"), 1.0);
    EXPECT_EQ(r.state.Number("t1"), 3.0);
    EXPECT_EQ(r.state.Number("u1"), 6.0);
    EXPECT_EQ(r.state.Number("a"), 4.0);
    EXPECT_EQ(r.state.Number("b"), 7.0);
    EXPECT_EQ(r.state.Number("z"), 15.0); // beyond the seven degrees
    EXPECT_EQ(r.state.Number("e"), 0.0);  // G# is no note of G ionian
    // C: E (chord key 4) is degree 3 from the bass C.
    r.state.Ok("t = context:ChordAtBeatPos(1):BassDegreeNrsFromChordKeyNr(4) t1 = t[1]");
    EXPECT_EQ(r.state.Number("t1"), 3.0);
    EXPECT_EQ(r.state.Run("context:ChordAtBeatPos(1):ChordKeyNrFromDegreeNr()"),
        "ChordKeyNrFromDegreeNr: wrong number of arguments");
}
