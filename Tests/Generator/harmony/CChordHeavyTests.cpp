#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/harmony/CHarmonySerializers.h"
#include "Generator/harmony/CScaleHeavy.h"
#include "Generator/harmony/CSignKey.h"
#include "Generator/timesig/CGenEvsSignKey.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

using namespace zkgtest;

namespace {

const CChordNamePrefs kPrefs;

CKeyEnh Key(int keyNr, TEnh enh = TEnh_Natural) { return CKeyEnh(keyNr, enh); }

CChordHeavy Parsed(const char* text)
{
    CChordHeavy chord;
    EXPECT_TRUE(SetFromString(text, chord, kPrefs)) << text;
    return chord;
}

} // namespace

// ---------------------------------------------------------------- reading names

TEST(ChordParsing, Vocabulary)
{
    struct Case {
        const char* text;
        int root;
        TEnh enh;
        int bass; // -1: the root
        uint32_t intervals;
        const char* name;
    };
    // Intervals as bits over two octaves, bit i = i semitones above the root.
    const Case cases[] = {
        {"C", 0, TEnh_Natural, -1, 0x91, "C"},                 // 0 4 7
        {"Am7", 9, TEnh_Natural, -1, 0x489, "Am7"},            // 0 3 7 10
        {"F#m7b5", 6, TEnh_Sharp, -1, 0x449, "F#m7b5"},        // 0 3 6 10
        {"G/B", 7, TEnh_Natural, 11, 0x91, "G/B"},
        {"Bbmaj7", 10, TEnh_Flat, -1, 0x891, "Bbmaj7"},        // 0 4 7 11
        {"Dsus4", 2, TEnh_Natural, -1, 0xA1, "Dsus4"},         // 0 5 7
        {"C6", 0, TEnh_Natural, -1, 0x291, "C6"},              // 0 4 7 9
        {"Cadd9", 0, TEnh_Natural, -1, 0x4091, "Cadd9"},       // 0 4 7 14
        {"Cdim7", 0, TEnh_Natural, -1, 0x249, "Cdim7"},        // 0 3 6 9
        {"Caug", 0, TEnh_Natural, -1, 0x111, "Caug"},          // 0 4 8
        {"C7b9", 0, TEnh_Natural, -1, 0x2491, "C7b9"},         // 0 4 7 10 13
        {"C7(#11)", 0, TEnh_Natural, -1, 0x40491, "C7#11"},    // 0 4 7 10 18
        {"Cm(maj7)", 0, TEnh_Natural, -1, 0x889, "CmMaj7"},    // 0 3 7 11
        {"C6/9", 0, TEnh_Natural, -1, 0x4291, "C6/9"},         // 0 4 7 9 14
        {"C6/9/E", 0, TEnh_Natural, 4, 0x4291, "C6/9/E"},
        // Aliases.
        {"CM7", 0, TEnh_Natural, -1, 0x891, "Cmaj7"},
        {"C-7", 0, TEnh_Natural, -1, 0x489, "Cm7"},
        {"C\xC3\xB8", 0, TEnh_Natural, -1, 0x449, "Cm7b5"},    // ø
        {"C\xC2\xB0" "7", 0, TEnh_Natural, -1, 0x249, "Cdim7"}, // °7
        {"C+", 0, TEnh_Natural, -1, 0x111, "Caug"},
        {"Cmaj", 0, TEnh_Natural, -1, 0x91, "C"},
        {"CM", 0, TEnh_Natural, -1, 0x91, "C"},
        {"Cmin", 0, TEnh_Natural, -1, 0x89, "Cm"},             // 0 3 7
        {"Cmi", 0, TEnh_Natural, -1, 0x89, "Cm"},
        {"C-", 0, TEnh_Natural, -1, 0x89, "Cm"},
        {"Cdim", 0, TEnh_Natural, -1, 0x49, "Cdim"},           // 0 3 6
        {"Co", 0, TEnh_Natural, -1, 0x49, "Cdim"},
        {"C\xC2\xB0", 0, TEnh_Natural, -1, 0x49, "Cdim"},
        {"Csus", 0, TEnh_Natural, -1, 0xA1, "Csus4"},
        {"Csus2", 0, TEnh_Natural, -1, 0x85, "Csus2"},         // 0 2 7
        {"C5", 0, TEnh_Natural, -1, 0x81, "C5"},               // 0 7
        {"Cm6", 0, TEnh_Natural, -1, 0x289, "Cm6"},            // 0 3 7 9
        {"C69", 0, TEnh_Natural, -1, 0x4291, "C6/9"},
        {"Cm6/9", 0, TEnh_Natural, -1, 0x4289, "Cm6/9"},       // 0 3 7 9 14
        {"C7", 0, TEnh_Natural, -1, 0x491, "C7"},              // 0 4 7 10
        {"Cma7", 0, TEnh_Natural, -1, 0x891, "Cmaj7"},
        {"Cj7", 0, TEnh_Natural, -1, 0x891, "Cmaj7"},
        {"C\xCE\x94", 0, TEnh_Natural, -1, 0x891, "Cmaj7"},    // Δ
        {"C\xCE\x94" "7", 0, TEnh_Natural, -1, 0x891, "Cmaj7"},
        {"Cmin7", 0, TEnh_Natural, -1, 0x489, "Cm7"},
        {"Cmi7", 0, TEnh_Natural, -1, 0x489, "Cm7"},
        {"C\xC3\xB8" "7", 0, TEnh_Natural, -1, 0x449, "Cm7b5"},
        {"C-7b5", 0, TEnh_Natural, -1, 0x449, "Cm7b5"},
        {"Cmin7b5", 0, TEnh_Natural, -1, 0x449, "Cm7b5"},
        {"Co7", 0, TEnh_Natural, -1, 0x249, "Cdim7"},
        {"CmM7", 0, TEnh_Natural, -1, 0x889, "CmMaj7"},
        {"CminMaj7", 0, TEnh_Natural, -1, 0x889, "CmMaj7"},
        {"C-maj7", 0, TEnh_Natural, -1, 0x889, "CmMaj7"},
        {"Caug7", 0, TEnh_Natural, -1, 0x511, "Caug7"},        // 0 4 8 10
        {"C+7", 0, TEnh_Natural, -1, 0x511, "Caug7"},
        {"C7#5", 0, TEnh_Natural, -1, 0x511, "Caug7"},
        {"Cmaj7#5", 0, TEnh_Natural, -1, 0x911, "Cmaj7#5"},    // 0 4 8 11
        {"CaugMaj7", 0, TEnh_Natural, -1, 0x911, "Cmaj7#5"},
        {"C+M7", 0, TEnh_Natural, -1, 0x911, "Cmaj7#5"},
        {"C7sus4", 0, TEnh_Natural, -1, 0x4A1, "C7sus4"},      // 0 5 7 10
        {"C7sus", 0, TEnh_Natural, -1, 0x4A1, "C7sus4"},
        {"C7b5", 0, TEnh_Natural, -1, 0x451, "C7b5"},          // 0 4 6 10
        {"C9", 0, TEnh_Natural, -1, 0x4491, "C9"},             // 0 4 7 10 14
        {"Cmaj9", 0, TEnh_Natural, -1, 0x4891, "Cmaj9"},       // 0 4 7 11 14
        {"CM9", 0, TEnh_Natural, -1, 0x4891, "Cmaj9"},
        {"Cm9", 0, TEnh_Natural, -1, 0x4489, "Cm9"},           // 0 3 7 10 14
        {"C-9", 0, TEnh_Natural, -1, 0x4489, "Cm9"},
        {"Cmin9", 0, TEnh_Natural, -1, 0x4489, "Cm9"},
        {"Cmadd9", 0, TEnh_Natural, -1, 0x4089, "Cmadd9"},     // 0 3 7 14
        {"C9sus4", 0, TEnh_Natural, -1, 0x44A1, "C9sus4"},     // 0 5 7 10 14
        {"C9sus", 0, TEnh_Natural, -1, 0x44A1, "C9sus4"},
        {"C7#9", 0, TEnh_Natural, -1, 0x8491, "C7#9"},         // 0 4 7 10 15
        {"C7#11", 0, TEnh_Natural, -1, 0x40491, "C7#11"},
        {"Cmaj7#11", 0, TEnh_Natural, -1, 0x40891, "Cmaj7#11"}, // 0 4 7 11 18
        {"C11", 0, TEnh_Natural, -1, 0x24481, "C11"},          // 0 7 10 14 17
        {"Cm11", 0, TEnh_Natural, -1, 0x24489, "Cm11"},        // 0 3 7 10 14 17
        {"C13", 0, TEnh_Natural, -1, 0x204491, "C13"},         // 0 4 7 10 14 21
        {"Cmaj13", 0, TEnh_Natural, -1, 0x204891, "Cmaj13"},   // 0 4 7 11 14 21
        {"Cm13", 0, TEnh_Natural, -1, 0x204489, "Cm13"},       // 0 3 7 10 14 21
        {"C7b13", 0, TEnh_Natural, -1, 0x100491, "C7b13"},     // 0 4 7 10 20
        {"C7alt", 0, TEnh_Natural, -1, 0x14A411, "C7alt"},     // 0 4 10 13 15 18 20
        // Alterations and additions after the quality.
        {"C7(b9,#11)", 0, TEnh_Natural, -1, 0x42491, "C7b9(#11)"}, // 0 4 7 10 13 18
        {"C7b9b13", 0, TEnh_Natural, -1, 0x102491, "C7b9(b13)"}, // 0 4 7 10 13 20
        {"Cm7(b5)", 0, TEnh_Natural, -1, 0x449, "Cm7b5"},
        {"Cmaj7(add13)", 0, TEnh_Natural, -1, 0x200891, "Cmaj7(add13)"}, // 0 4 7 11 21
        {"Cm7add11", 0, TEnh_Natural, -1, 0x20489, "Cm7(add11)"}, // 0 3 7 10 17
        {"Cadd11", 0, TEnh_Natural, -1, 0x20091, "C(add11)"},    // 0 4 7 17
        {"C7#5#9", 0, TEnh_Natural, -1, 0x8511, "Caug7(#9)"},    // 0 4 8 10 15
        {"C(no3)", 0, TEnh_Natural, -1, 0x81, "C5"},           // 0 7
        {"C7no5", 0, TEnh_Natural, -1, 0x411, "C7(no5)"},        // 0 4 10
        {"Cmb5", 0, TEnh_Natural, -1, 0x49, "Cdim"},           // 0 3 6
        // Roots and basses with accidentals; blanks around.
        {"Ebm7", 3, TEnh_Flat, -1, 0x489, "Ebm7"},
        {"C#dim", 1, TEnh_Sharp, -1, 0x49, "C#dim"},
        {"Ab/C", 8, TEnh_Flat, 0, 0x91, "Ab/C"},
        {"D/F#", 2, TEnh_Natural, 6, 0x91, "D/F#"},
        {"Cm/Eb", 0, TEnh_Natural, 3, 0x89, "Cm/Eb"},
        {"Cmaj7/B", 0, TEnh_Natural, 11, 0x891, "Cmaj7/B"},
        {" Am7 ", 9, TEnh_Natural, -1, 0x489, "Am7"},
    };
    for (const Case& c : cases) {
        CChordHeavy chord;
        ASSERT_TRUE(SetFromString(c.text, chord, kPrefs)) << c.text;
        EXPECT_EQ(chord.RootKeyEnh(), Key(c.root, c.enh)) << c.text;
        EXPECT_EQ(chord.mIntervals, c.intervals) << c.text;
        EXPECT_EQ(chord.BassKeyEnh().mKeyNr, c.bass < 0 ? c.root : c.bass) << c.text;
        EXPECT_EQ(chord.IsSlashChord(), c.bass >= 0) << c.text;
        EXPECT_EQ(chord.Name(kPrefs), c.name) << c.text;
        // The written name reads back as the same chord.
        CChordHeavy again;
        ASSERT_TRUE(SetFromString(chord.Name(kPrefs), again, kPrefs)) << c.name;
        EXPECT_EQ(again, chord) << c.name;
    }
}

TEST(ChordParsing, NoChord)
{
    for (const char* text : {"N.C.", "NC", " N.C. "}) {
        CChordHeavy chord = Parsed("Am");
        ASSERT_TRUE(SetFromString(text, chord, kPrefs)) << text;
        EXPECT_TRUE(chord.IsUndef());
        EXPECT_TRUE(chord.IsNoChordForce());
        EXPECT_FALSE(chord.IsNoChordYield());
        EXPECT_EQ(chord.Name(kPrefs), "N.C.");
    }
}

TEST(ChordParsing, RejectsMalformedNamesAndLeavesChordAlone)
{
    for (const char* bad : {"", "H7", "Cx", "C/", "C/H", "Cmaj7/", "7", "c", "C7add", "Cm7b", "C/E/G", "Cmaj7/Bx",
             "N.C.x", "Csus3", "C7(b10)", "m7", "/C"}) {
        CChordHeavy chord = Parsed("F#m7");
        EXPECT_FALSE(SetFromString(bad, chord, kPrefs)) << bad;
        EXPECT_EQ(chord.Name(kPrefs), "F#m7") << bad;
    }
}

// "add2" adds the second itself, apart from the ninth of "add9": C D E G is
// 0 2 4 7 = 0x95, named with its alteration in parentheses.
TEST(ChordParsing, Add2IsTheSecondAdd9TheNinth)
{
    const CChordHeavy second = Parsed("Cadd2");
    EXPECT_EQ(second.mIntervals, 0x95u);
    EXPECT_EQ(second.Name(kPrefs), "C(add2)");
    // 0 4 7 14: bits 0, 4, 7 and 14 = 0x4091.
    EXPECT_EQ(Parsed("Cadd9").mIntervals, 0x4091u);
}

// A modifier after a quality whose longer alias begins the same way: "7+5" is
// the seventh with a raised fifth (0 4 8 10 = 0x511, aug7); "7sus2" the
// seventh with the second for the third (0 2 7 10 = 0x485). Both modifiers
// are in the table; the aliases "7+" and "7sus" must not shut them out.
TEST(ChordParsing, ModifierAfterAPrefixOfALongerAlias)
{
    CChordHeavy raisedFifth;
    EXPECT_TRUE(SetFromString("C7+5", raisedFifth, kPrefs));
    EXPECT_EQ(raisedFifth.mIntervals, 0x511u);
    CChordHeavy second;
    EXPECT_TRUE(SetFromString("C7sus2", second, kPrefs));
    EXPECT_EQ(second.mIntervals, 0x485u);
}

// ---------------------------------------------------------------- writing names

TEST(ChordNames, Preferences)
{
    CChordNamePrefs m;
    m.mMajorSevenAsM = true;
    CChordNamePrefs dash;
    dash.mMinorAsDash = true;
    CChordNamePrefs sharp;
    sharp.mEnhPolicy = TMakeSensefulEnh_PreferSharp;
    CChordNamePrefs flat;
    flat.mEnhPolicy = TMakeSensefulEnh_PreferFlat;
    EXPECT_EQ(Parsed("Cmaj7").Name(m), "CM7");
    EXPECT_EQ(Parsed("Cmaj9").Name(m), "CM9");
    EXPECT_EQ(Parsed("Cm7").Name(dash), "C-7");
    EXPECT_EQ(Parsed("Cm").Name(dash), "C-");
    EXPECT_EQ(Parsed("CmMaj7").Name(dash), "CmMaj7");
    EXPECT_EQ(Parsed("Bbmaj7").Name(sharp), "A#maj7");
    EXPECT_EQ(Parsed("D/F#").Name(flat), "D/Gb");
    // Keep: as written, C flat too (a white key spelled across a letter).
    EXPECT_EQ(Parsed("C#7").Name(kPrefs), "C#7");
    EXPECT_EQ(Parsed("Db7").Name(kPrefs), "Db7");
    EXPECT_EQ(Parsed("Cb").Name(kPrefs), "Cb");
    EXPECT_EQ(Parsed("Cb").Name(sharp), "B");
    EXPECT_EQ(Parsed("G/B").TraceForInitializerList(), "CChordHeavy(\"G/B\")");
}

// Whatever the preferences, the name the library writes is one it reads.
TEST(ChordNames, EveryTableTypeReadsBackUnderEveryPreference)
{
    for (int p = 0; p < 4; ++p) {
        CChordNamePrefs prefs;
        prefs.mMajorSevenAsM = (p & 1) != 0;
        prefs.mMinorAsDash = (p & 2) != 0;
        for (int t = TChordType_Major; t < TChordType_Custom; ++t) {
            const CChordHeavy chord(Key(3, TEnh_Flat), static_cast<TChordType>(t));
            const std::string name = chord.Name(prefs);
            CChordHeavy back;
            EXPECT_TRUE(SetFromString(name, back, prefs)) << name;
            EXPECT_TRUE(back == chord) << name << ": read back as " << back.Name(CChordNamePrefs());
        }
    }
}

// A chord outside the table is named as a table chord with alterations. The
// alteration must not read as the root's accidental: C E Gb (0 4 6 = 0x51)
// written "Cb5" reads as the power chord on Cb, C E G D# (0 4 7 15 = 0x8091)
// written "C#9" as a ninth chord on C#.
TEST(ChordNames, CustomNamesReadBack)
{
    const uint32_t customs[] = {0x51, 0x8091, 0x42491, 0x200891, 0x411};
    for (int root : {0, 2})
        for (uint32_t intervals : customs) {
            const CChordHeavy chord(Key(root), CKeyEnh(), intervals);
            ASSERT_EQ(chord.mType, TChordType_Custom) << intervals;
            const std::string name = chord.Name(kPrefs);
            CChordHeavy back;
            EXPECT_TRUE(SetFromString(name, back, kPrefs)) << name;
            EXPECT_TRUE(back == chord) << name << ": read back as " << back.Name(kPrefs);
        }
}

TEST(ChordNames, TypeTable)
{
    EXPECT_EQ(ChordTypeSuffix(TChordType_m7b5), std::string("m7b5"));
    EXPECT_EQ(ChordTypeSuffix(TChordType_Major), std::string(""));
    EXPECT_EQ(ChordTypeSuffix(TChordType_Custom), std::string(""));
    EXPECT_EQ(ChordTypeIntervals(TChordType_Dim7), 0x249u);
    EXPECT_EQ(ChordTypeIntervals(TChordType_Undef), 0u);
    EXPECT_EQ(ChordTypeForIntervals(0x91), TChordType_Major);
    EXPECT_EQ(ChordTypeForIntervals(0x95), TChordType_Custom); // 0 2 4 7
    // Every table type has its own intervals.
    for (int a = TChordType_Major; a < TChordType_Custom; ++a)
        EXPECT_EQ(ChordTypeForIntervals(ChordTypeIntervals(static_cast<TChordType>(a))), a) << a;
}

// ---------------------------------------------------------------- notes and tones

TEST(ChordTones, RootAndBassNotes)
{
    const CChordHeavy gOverB = Parsed("G/B");
    // The root from 48 on: 48 + 7; the bass B below it: 55 - 8 = 47.
    EXPECT_EQ(gOverB.RootNote(), CNote(55, TEnh_Natural));
    EXPECT_EQ(gOverB.BassNote(), CNote(47, TEnh_Natural));
    EXPECT_EQ(gOverB.BassKeyEnh(), Key(11));
    // C6/9/E: the bass E 8 below C3 48 = 40.
    EXPECT_EQ(Parsed("C6/9/E").BassNote().mNoteNr, 40);
    EXPECT_EQ(Parsed("Bb").RootNote(), CNote(58, TEnh_Flat));
    EXPECT_EQ(Parsed("Bb").BassNote(), CNote(58, TEnh_Flat));
    EXPECT_EQ(Parsed("B").RootNote().mNoteNr, 59);
    // Spelling aside the same chord; a slash chord is another.
    EXPECT_EQ(Parsed("C#m"), Parsed("Dbm"));
    EXPECT_FALSE(Parsed("C") == Parsed("C/E"));
    EXPECT_FALSE(Parsed("N.C.") == CChordHeavy());
    // A bass on the root is no slash chord.
    EXPECT_FALSE(Parsed("C/C").IsSlashChord());
    EXPECT_EQ(Parsed("C/C").Name(kPrefs), "C");
}

TEST(ChordTones, BasicChord)
{
    struct Case {
        const char* text;
        TBasicChord basic;
    };
    const Case cases[] = {
        {"C", TBasicChord_Major}, {"Cm", TBasicChord_Minor}, {"Cdim", TBasicChord_Diminished},
        {"Caug", TBasicChord_Augmented}, {"Csus4", TBasicChord_Sus4}, {"Csus2", TBasicChord_Sus2},
        {"C5", TBasicChord_Power}, {"C7", TBasicChord_Major}, {"Cm7b5", TBasicChord_Diminished},
        {"Cdim7", TBasicChord_Diminished}, {"C7sus4", TBasicChord_Sus4}, {"C9sus4", TBasicChord_Sus4},
        // The eleventh without third: the fourth (17 - 12 = 5) suspends.
        {"C11", TBasicChord_Sus4},
        // The sharp ninth (15) is no minor third beside the major one.
        {"C7#9", TBasicChord_Major}, {"Cm(maj7)", TBasicChord_Minor}, {"C6/9", TBasicChord_Major},
        {"Cadd9", TBasicChord_Major}, {"G/B", TBasicChord_Major},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Parsed(c.text).BasicChord(), c.basic) << c.text;
    EXPECT_EQ(static_cast<int>(TBasicChord_Sus4), 5);
    EXPECT_EQ(static_cast<int>(TBasicChord_Sus2), 6);
    EXPECT_EQ(CChordHeavy(Key(0), CKeyEnh(), 0x1).BasicChord(), TBasicChord_None);
    EXPECT_EQ(CChordHeavy().BasicChord(), TBasicChord_Undef);
}

TEST(ChordTones, SemitonesAndOptions)
{
    EXPECT_EQ(Parsed("Cadd9").Semitones().ToString(), "0 2 4 7");  // 14 - 12 = 2
    EXPECT_EQ(Parsed("C13").Semitones().ToString(), "0 2 4 7 9 10"); // 14 -> 2, 21 -> 9
    EXPECT_EQ(Parsed("G/B").Semitones().ToString(), "0 4 7");
    struct Case {
        const char* text;
        const char* options;
    };
    // The tones beyond the basic triad (root, third or suspension, fifth).
    const Case cases[] = {
        {"C", ""}, {"C7", "10"}, {"C6/9", "2 9"}, {"Csus4", ""}, {"C7sus4", "10"}, {"Cdim7", "9"},
        {"Cm7b5", "10"}, {"C7b9", "1 10"}, {"C7#9", "3 10"}, {"Caug", ""}, {"C5", ""},
        // The flat fifth stands for the fifth of the major triad.
        {"C7b5", "10"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Parsed(c.text).OptionsSemitones().ToString(), c.options) << c.text;
        CChordLite lite;
        lite.SetFromChordHeavy(Parsed(c.text));
        EXPECT_EQ(lite.OptionsSemitones().ToString(), c.options) << c.text;
    }
}

TEST(ChordTones, ChordKeyNumbers)
{
    const CChordHeavy am = Parsed("Am");
    // C is 3 above A ((0 - 9) mod 12), E is 7.
    EXPECT_EQ(am.ChordKeyNrFromKeyNr(0), 3);
    EXPECT_EQ(am.ChordKeyNrFromKeyNr(9), 0);
    EXPECT_EQ(am.ChordKeyNrFromKeyNr(4), 7);
    EXPECT_EQ(am.KeyNrFromChordKeyNr(3), 0); // 9 + 3 - 12
    EXPECT_EQ(am.KeyNrFromChordKeyNr(7), 4);
    EXPECT_EQ(am.KeyNrFromChordKeyNr(10), 7);
    for (int k = 0; k < 12; ++k)
        EXPECT_EQ(am.KeyNrFromChordKeyNr(am.ChordKeyNrFromKeyNr(k)), k);
    EXPECT_EQ(am.ChordKeyNrFromKeyNr(-1), -1);
    EXPECT_EQ(am.KeyNrFromChordKeyNr(-1), -1);
    EXPECT_EQ(CChordHeavy().ChordKeyNrFromKeyNr(0), -1);
    EXPECT_EQ(CChordHeavy().KeyNrFromChordKeyNr(0), -1);
}

TEST(ChordTones, QuantizeToBasicChord)
{
    const CChordHeavy c = Parsed("C7");
    // C# 61: C 1 below, E 3 above.
    EXPECT_EQ(c.QuantizeToBasicChord(61, TQuantizeDirection_Down), 60);
    EXPECT_EQ(c.QuantizeToBasicChord(61, TQuantizeDirection_Up), 64);
    EXPECT_EQ(c.QuantizeToBasicChord(61, TQuantizeDirection_Nearest), 60);
    // D 62: 2 either way; down for Nearest, up for NearestPreferUp.
    EXPECT_EQ(c.QuantizeToBasicChord(62, TQuantizeDirection_Nearest), 60);
    EXPECT_EQ(c.QuantizeToBasicChord(62, TQuantizeDirection_NearestPreferUp), 64);
    // The seventh Bb 70 is no triad tone: G 3 below, C 2 above.
    EXPECT_EQ(c.QuantizeToBasicChord(70, TQuantizeDirection_Nearest), 72);
    EXPECT_EQ(c.QuantizeToBasicChord(67, TQuantizeDirection_Down), 67);
    // G/B: G B D around C 60: B 1 below, D 2 above.
    EXPECT_EQ(Parsed("G/B").QuantizeToBasicChord(60, TQuantizeDirection_Nearest), 59);
    EXPECT_EQ(Parsed("G/B").QuantizeToBasicChord(64, TQuantizeDirection_Up), 67);
    // The suspension stands for the third: E 64 goes to F in Csus4, to D in Csus2.
    EXPECT_EQ(Parsed("Csus4").QuantizeToBasicChord(64, TQuantizeDirection_Nearest), 65);
    EXPECT_EQ(Parsed("Csus2").QuantizeToBasicChord(64, TQuantizeDirection_Nearest), 62);
    EXPECT_EQ(CChordHeavy().QuantizeToBasicChord(60, TQuantizeDirection_Down), -1);
    EXPECT_EQ(c.QuantizeToBasicChord(-1, TQuantizeDirection_Down), -1);
}

TEST(ChordTones, BassAloneAndNoteSets)
{
    // C/D: D is heard only in the bass.
    const CChordHeavy cOverD = Parsed("C/D");
    EXPECT_FALSE(cOverD.HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(2));
    EXPECT_TRUE(cOverD.HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(0));
    EXPECT_TRUE(cOverD.HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(4));
    EXPECT_TRUE(Parsed("C9/D").HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(2));
    EXPECT_TRUE(Parsed("G/B").HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(4));
    EXPECT_FALSE(CChordHeavy().HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(0));

    // G/B: bass 36 + 11, root 48 + 7 with 4 and 7 above.
    EXPECT_EQ(Parsed("G/B").ToNoteSet(), (TNoteSet {47, 55, 59, 62}));
    EXPECT_EQ(Parsed("C6/9/E").ToNoteSet(), (TNoteSet {40, 48, 52, 55, 57, 62}));
    EXPECT_EQ(Parsed("N.C.").ToNoteSet(), (TNoteSet {0}));
    EXPECT_TRUE(CChordHeavy().ToNoteSet().empty());
    CChordHeavy back;
    ASSERT_TRUE(back.FromNoteSet({47, 55, 59, 62}));
    EXPECT_EQ(back.Name(kPrefs), "G/B");
    ASSERT_TRUE(back.FromNoteSet({}));
    EXPECT_TRUE(back.IsUndef());
    EXPECT_FALSE(back.FromNoteSet({48, 100})); // 52 semitones: more than two octaves
    EXPECT_FALSE(back.FromNoteSet({5}));
}

TEST(ChordTones, HarmonicFunctionAndDegrees)
{
    const CSignKeyHeavy c = SignKeyFromString("C");
    struct Case {
        const char* text;
        THarmFunc func;
        int rootDegree;
    };
    const Case inC[] = {
        {"C", THarmFunc_Tonic, 0}, {"Dm", THarmFunc_Subdominant, 1}, {"Em", THarmFunc_Tonic, 2},
        {"F", THarmFunc_Subdominant, 3}, {"G7", THarmFunc_Dominant, 4}, {"Am", THarmFunc_Tonic, 5},
        {"Bdim", THarmFunc_Dominant, 6}, {"Bb", THarmFunc_Undef, -1}, {"C#m", THarmFunc_Undef, -1},
    };
    for (const Case& k : inC) {
        EXPECT_EQ(Parsed(k.text).HarmFuncIn(c), k.func) << k.text;
        EXPECT_EQ(Parsed(k.text).RootNoteDegreeNrInSignKey(c), k.rootDegree) << k.text;
    }
    // In A minor: D is the fourth degree (3), E the fifth (4), F the sixth (5).
    const CSignKeyHeavy am = SignKeyFromString("Am");
    EXPECT_EQ(Parsed("Dm").HarmFuncIn(am), THarmFunc_Subdominant);
    EXPECT_EQ(Parsed("E7").HarmFuncIn(am), THarmFunc_Dominant);
    EXPECT_EQ(Parsed("F").HarmFuncIn(am), THarmFunc_Tonic);
    // G/B in C: root G degree 4, bass B degree 6; D/F# has its bass outside.
    EXPECT_EQ(Parsed("G/B").RootNoteDegreeNrInSignKey(c), 4);
    EXPECT_EQ(Parsed("G/B").BassNoteDegreeNrInSignKey(c), 6);
    EXPECT_EQ(Parsed("C/E").BassNoteDegreeNrInSignKey(c), 2);
    EXPECT_EQ(Parsed("D/F#").BassNoteDegreeNrInSignKey(c), -1);
    EXPECT_EQ(Parsed("Am").BassNoteDegreeNrInSignKey(c), 5);
    EXPECT_EQ(Parsed("C").HarmFuncIn(CSignKeyHeavy()), THarmFunc_Undef);
    EXPECT_EQ(Parsed("C").RootNoteDegreeNrInSignKey(CSignKeyHeavy()), -1);
    EXPECT_EQ(CChordHeavy().HarmFuncIn(c), THarmFunc_Undef);
    EXPECT_EQ(CChordHeavy().BassNoteDegreeNrInSignKey(c), -1);
}

// ---------------------------------------------------------------- chord scales

TEST(ChordScales, InAKeyAndOutside)
{
    struct Case {
        const char* chord;
        const char* key;
        int root;
        TScaleType type;
    };
    const Case cases[] = {
        // Inside C major: the key's mode on the chord's degree.
        {"Dm", "C", 2, TScaleType_Dorian},
        {"G7", "C", 7, TScaleType_Mixolydian},
        {"Em", "C", 4, TScaleType_Phrygian},
        {"F", "C", 5, TScaleType_Lydian},
        {"Bm7b5", "C", 11, TScaleType_Locrian},
        {"Am", "C", 9, TScaleType_Aeolian},
        {"Cmaj7", "C", 0, TScaleType_Ionian},
        {"G/B", "C", 7, TScaleType_Mixolydian},
        // A minor has C major's notes: G is its seventh degree, mode 5 + 6 - 7.
        {"G7", "Am", 7, TScaleType_Mixolydian},
        {"Dm", "Am", 2, TScaleType_Dorian},
        // D dorian has C major's notes too: G on its fourth degree.
        {"G", "D dorian", 7, TScaleType_Mixolydian},
        // Outside the key: the chord's own scale.
        {"D7", "C", 2, TScaleType_Mixolydian},
        {"Bb", "C", 10, TScaleType_Ionian},
        {"E7", "Am", 4, TScaleType_PhrygianDominant},
        {"C7alt", "C", 0, TScaleType_Altered},
        {"Cdim7", "C", 0, TScaleType_DiminishedWholeHalf},
        // Harmonic minor: its fifth mode, E F G# A B C D from E.
        {"E7", "A harmonic minor", 4, TScaleType_PhrygianDominant},
        // No key: the own scale.
        {"Dm", "", 2, TScaleType_Dorian},
        {"G7", "", 7, TScaleType_Mixolydian},
        {"Cmaj7", "", 0, TScaleType_Ionian},
    };
    for (const Case& c : cases) {
        const CScaleHeavy s = Parsed(c.chord).ConstructScaleInSignKey(SignKeyFromString(c.key));
        EXPECT_EQ(s.RootKeyNr(), c.root) << c.chord << " in " << c.key;
        EXPECT_EQ(s.mScaleType, c.type) << c.chord << " in " << c.key << ": " << s.FullName(kPrefs);
    }
    // The key's notes from G#: G# A B C D E F = 0 1 3 4 6 8 9, no table scale.
    const CScaleHeavy g = Parsed("G#dim7").ConstructScaleInSignKey(SignKeyFromString("A harmonic minor"));
    EXPECT_EQ(g.mScaleType, TScaleType_Custom);
    EXPECT_EQ(g.FullName(kPrefs), "G# custom (0 1 3 4 6 8 9)");
    // Undefined chord: the key's scale; undefined both: undefined.
    EXPECT_EQ(CChordHeavy().ConstructScaleInSignKey(SignKeyFromString("Am")), CScaleHeavy(Key(9), TScaleType_Aeolian));
    EXPECT_TRUE(CChordHeavy().ConstructScaleInSignKey(CSignKeyHeavy()).IsUndef());
    // The key without spelling gives the same.
    EXPECT_EQ(Parsed("Dm").ConstructScaleInSignKey(CSignKeyNoEnh(0, TSignKeyType_Major)),
        CScaleHeavy(Key(2), TScaleType_Dorian));
    EXPECT_EQ(Parsed("E7").ConstructScaleInSignKey(CSignKeyNoEnh(9, TSignKeyType_Minor)),
        CScaleHeavy(Key(4), TScaleType_PhrygianDominant));
    EXPECT_EQ(Parsed("Dm").ConstructScaleInSignKey(CSignKeyNoEnh()), CScaleHeavy(Key(2), TScaleType_Dorian));
}

TEST(ChordScales, OwnScaleByQuality)
{
    struct Case {
        const char* chord;
        TScaleType type;
    };
    const Case cases[] = {
        {"C7#11", TScaleType_LydianDominant}, {"C7b9", TScaleType_DiminishedHalfWhole},
        {"C7alt", TScaleType_Altered}, {"Cm(maj7)", TScaleType_MelodicMinor},
        {"Cmaj7#5", TScaleType_LydianAugmented}, {"Caug", TScaleType_WholeTone}, {"Cm7b5", TScaleType_Locrian},
        {"Csus4", TScaleType_Mixolydian}, {"Cmaj7#11", TScaleType_Lydian}, {"Cm6", TScaleType_Dorian},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Parsed(c.chord).OwnScale().mScaleType, c.type) << c.chord;
    EXPECT_TRUE(CChordHeavy().OwnScale().IsUndef());
}

// A chord's own scale holds every tone of the chord. C7#9 (D# = 3) and C7b13
// (Ab = 8) must not get mixolydian (0 2 4 5 7 9 10), which has neither;
// C7b9b13 (0 4 7 10 13 20) not altered (0 1 3 4 6 8 10), which lacks the
// fifth G: phrygian dominant (0 1 4 5 7 8 10) holds it.
TEST(ChordScales, OwnScaleHoldsEveryChordTone)
{
    std::vector<CChordHeavy> chords;
    for (int t = TChordType_Major; t < TChordType_Custom; ++t)
        chords.emplace_back(Key(0), static_cast<TChordType>(t));
    chords.push_back(Parsed("C7b9b13"));
    chords.push_back(Parsed("C7#9#11"));
    chords.push_back(Parsed("Cm7add11"));
    for (const CChordHeavy& chord : chords) {
        const CScaleHeavy scale = chord.OwnScale();
        const int missing = chord.Semitones().mBits & ~scale.ToSemitones().mBits;
        EXPECT_EQ(missing, 0) << chord.Name(kPrefs) << " in " << scale.FullName(kPrefs);
    }
}

// ---------------------------------------------------------------- undefined, compact forms

TEST(ChordUndefined, AnswersUndefined)
{
    const CChordHeavy u;
    EXPECT_TRUE(u.IsUndef());
    EXPECT_TRUE(u.RootNote().IsUndef());
    EXPECT_TRUE(u.BassNote().IsUndef());
    EXPECT_TRUE(u.RootKeyEnh().IsUndef());
    EXPECT_TRUE(u.BassKeyEnh().IsUndef());
    EXPECT_FALSE(u.IsSlashChord());
    EXPECT_FALSE(u.IsNoChordForce());
    EXPECT_FALSE(u.IsNoChordYield());
    EXPECT_EQ(u.Name(kPrefs), "");
    EXPECT_TRUE(u.Semitones().IsEmpty());
    EXPECT_TRUE(u.OptionsSemitones().IsEmpty());
    EXPECT_EQ(u.TraceForInitializerList(), "CChordHeavy(\"\")");
    // A type waiting for its root.
    const CChordHeavy typed(TChordType_m7);
    EXPECT_TRUE(typed.IsUndef());
    EXPECT_EQ(typed.mType, TChordType_m7);
    EXPECT_TRUE(typed.RootNote().IsUndef());
    EXPECT_TRUE(CChordHeavy(CKeyEnh(), TChordType_Major).IsUndef());
    EXPECT_TRUE(CChordHeavy(Key(0), TChordType_Custom).IsUndef());
    EXPECT_TRUE(CChordHeavy(Key(0), TChordType_Undef).IsUndef());
    EXPECT_TRUE(CChordHeavy(CKeyEnh(), Key(4), 0x91).IsUndef());
}

TEST(ChordLite, CompactForm)
{
    CChordLite lite;
    lite.SetFromChordHeavy(Parsed("G/B"));
    EXPECT_EQ(lite.mRootKeyNr, 7);
    EXPECT_EQ(lite.mBassKeyNr, 11);
    EXPECT_EQ(lite.mIntervals, 0x91u);
    EXPECT_TRUE(lite.IsSlashChord());
    // G (7) to B (11): 4 up.
    EXPECT_EQ(lite.SmallestKeyIntvlBetweenRootAndBass(), 4);
    EXPECT_EQ(lite.ToChordHeavy(TMakeSensefulEnh_Keep), Parsed("G/B"));
    // C to G: 7 up is 5 down.
    lite.SetFromChordHeavy(Parsed("C/G"));
    EXPECT_EQ(lite.SmallestKeyIntvlBetweenRootAndBass(), -5);
    lite.SetFromChordHeavy(Parsed("C"));
    EXPECT_FALSE(lite.IsSlashChord());
    EXPECT_EQ(lite.mBassKeyNr, 0);
    EXPECT_EQ(lite.SmallestKeyIntvlBetweenRootAndBass(), 0);
    lite.SetFromChordHeavy(Parsed("Bbmaj7"));
    EXPECT_EQ(lite.ToChordHeavy(TMakeSensefulEnh_PreferSharp).Name(kPrefs), "A#maj7");
    EXPECT_EQ(lite.ToChordHeavy(TMakeSensefulEnh_Keep).Name(kPrefs), "Bbmaj7");
    lite.SetFromChordHeavy(Parsed("N.C."));
    EXPECT_EQ(lite.mRootKeyNr, -1);
    EXPECT_TRUE(lite.ToChordHeavy(TMakeSensefulEnh_Keep).IsNoChordForce());
    EXPECT_EQ(lite.ToChordHeavy(TMakeSensefulEnh_Keep).Name(kPrefs), "N.C.");
    const CChordLite empty;
    EXPECT_TRUE(empty.ToChordHeavy(TMakeSensefulEnh_Keep).IsUndef());
    EXPECT_EQ(empty.SmallestKeyIntvlBetweenRootAndBass(), 0);
    EXPECT_FALSE(empty.IsSlashChord());

    const CHarmAnlsChord h = Parsed("G/B").HarmChord();
    EXPECT_EQ(h.mRootKeyNr, 7);
    EXPECT_EQ(h.mBassKeyNr, 11);
    EXPECT_EQ(h.mIntervals, 0x91u);
    CChordHeavy fromHost;
    fromHost.SetHarmChord(h);
    EXPECT_EQ(fromHost, Parsed("G/B"));
    fromHost.SetHarmChord(Parsed("N.C.").HarmChord());
    EXPECT_TRUE(fromHost.IsNoChordForce());
    EXPECT_EQ(Parsed("N.C.").HarmChord().mRootKeyNr, kKeyNrUndef);
}

// ---------------------------------------------------------------- archives
// (notes, keys and centres round trip in CHarmonyPrimitivesTests; their old
// class versions are read here with the chord's)

namespace {

// Reads an XML archive the way XmlRoundTrip does; throws what the archive throws.
template <class T>
void ReadXml(const std::string& xml, T& v)
{
    std::istringstream is(xml);
    boost::archive::xml_iarchive ia(is);
    ia >> boost::serialization::make_nvp("value", v);
}

// The envelope the current code writes around `current`, holding `object`
// instead: an older class version, written by hand, in the form this Boost reads.
template <class T>
std::string XmlWithTopObject(const T& current, const std::string& object)
{
    const std::string xml = ToXmlArchive(current);
    return xml.substr(0, xml.find("<value ")) + object + "\n</boost_serialization>\n";
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos)
        text.replace(at, from.size(), to);
    return text;
}

const char* const kVersion1Header = "<value class_id=\"0\" tracking_level=\"0\" version=\"1\">";

} // namespace

TEST(HarmonyArchive, ChordEventRoundTrips)
{
    CGenEvChord slash(4.0f, Parsed("G/B"), CScaleHeavy(Key(7), TScaleType_Mixolydian));
    slash.mRootNoteSpecified = true;
    const CGenEvChord noChord(8.0f, Parsed("N.C."));
    // 0 1 13 = 0x2003 names no table type; nor does the scale 0 1 5 7 8.
    const CGenEvChord custom(12.0f, CChordHeavy(Key(2), CKeyEnh(), 0x2003),
        CScaleHeavy(Key(2), CSemitones::FromBits(0x1A3)));
    CChordHeavy yield;
    yield.mNoChord = TNoChord_Yield;
    const CGenEvChord yielding(14.0f, yield);
    for (const CGenEvChord& ev : {slash, noChord, custom, yielding, CGenEvChord(16.0f), CGenEvChord()}) {
        EXPECT_EQ(TextRoundTrip(ev), ev) << ev.mChord.Name(kPrefs);
        EXPECT_EQ(BinaryRoundTrip(ev), ev) << ev.mChord.Name(kPrefs);
        EXPECT_EQ(XmlRoundTrip(ev), ev) << ev.mChord.Name(kPrefs);
    }
    const CGenEvChord back = TextRoundTrip(slash);
    EXPECT_EQ(back.mChord.Name(kPrefs), "G/B");
    EXPECT_TRUE(back.mRootNoteSpecified);
    EXPECT_EQ(back.mScale.mScaleType, TScaleType_Mixolydian);
    EXPECT_TRUE(TextRoundTrip(noChord).mChord.IsNoChordForce());
    EXPECT_TRUE(BinaryRoundTrip(yielding).mChord.IsNoChordYield());
    const CGenEvChord customBack = XmlRoundTrip(custom);
    EXPECT_EQ(customBack.mChord.mIntervals, 0x2003u);
    EXPECT_EQ(customBack.mScale.mScaleType, TScaleType_Custom);
    EXPECT_EQ(customBack.mScale.ToSemitones().ToString(), "0 1 5 7 8");
    // The note set keeps no spelling: the common one comes back.
    EXPECT_EQ(TextRoundTrip(CGenEvChord(0.0f, Parsed("A#7"))).mChord.Name(kPrefs), "Bb7");
    EXPECT_EQ(TextRoundTrip(CGenEvChord(0.0f, Parsed("Gb/Db"))).mChord.Name(kPrefs), "F#/Db");
}

TEST(HarmonyArchive, ChordEventXmlForm)
{
    CGenEvChord slash(4.0f, Parsed("G/B"), CScaleHeavy(Key(7), TScaleType_Mixolydian));
    const std::string xml = ToXmlArchive(slash);
    EXPECT_TRUE(Has(xml, kVersion1Header)) << xml;
    for (const char* tag : {"<chordSerializer", "<noteSetSerializer", "<mRootNoteSpecified>", "<scaleSerializer",
             "<mActiveScaleData.type>", "<mCustomScaleData.mode>"})
        EXPECT_TRUE(Has(xml, tag)) << tag << "\n" << xml;
    // G/B as notes: the bass B2 47 below 48, then G3 55, B3 59, D4 62.
    EXPECT_TRUE(Has(xml, "<noteSetSize>4</noteSetSize>")) << xml;
    EXPECT_TRUE(Has(xml, "<note>47</note>")) << xml;
    EXPECT_TRUE(Has(xml, "<note>62</note>")) << xml;
    EXPECT_LT(xml.find("<noteSetSerializer"), xml.find("<mRootNoteSpecified>"));
    EXPECT_LT(xml.find("<chordSerializer"), xml.find("<scaleSerializer"));
}

TEST(HarmonyArchive, ChordListRoundTrips)
{
    CGenEvsChord chords {{0.0f, Parsed("C")}, {4.0f, Parsed("G/B")}, {8.0f, Parsed("N.C.")}};
    chords.mLength = 16.0f;
    EXPECT_EQ(TextRoundTrip(chords), chords);
    EXPECT_EQ(BinaryRoundTrip(chords), chords);
    EXPECT_EQ(XmlRoundTrip(chords), chords);
    EXPECT_TRUE(Has(ToXmlArchive(chords), "<TCGenEvsChord"));
    EXPECT_TRUE(chords.AtChordBegin(4.0f));
    EXPECT_FALSE(chords.AtChordBegin(5.0f));
    EXPECT_EQ(chords.FindEvChordValidAt(5.0f).mChord.Name(kPrefs), "G/B");
    EXPECT_TRUE(chords.FindEvChordValidAt(9.0f).mChord.IsNoChordForce());
    EXPECT_TRUE(chords.FindEvChordValidAt(-1.0f).IsUndef());
    EXPECT_TRUE(chords.FindEvChordValidAt(TGenBeatPosAbs_Undef).IsUndef());
}

// Version 0 of the three events: the key as a key number and a minor flag,
// the chord as its flag alone.
TEST(HarmonyArchive, ReadsVersion0)
{
    auto v0 = [](const std::string& fields) {
        return "<value class_id=\"0\" tracking_level=\"0\" version=\"0\">" + fields + "</value>";
    };
    CGenEvSignKey key;
    ASSERT_NO_THROW(ReadXml(XmlWithTopObject(CGenEvSignKey(),
                                v0("<mBeatPosAbs>4</mBeatPosAbs><mKeyNr>6</mKeyNr><mMinor>1</mMinor>")),
        key));
    EXPECT_EQ(key.mBeatPosAbs, 4.0f);
    EXPECT_EQ(key.mSignKey.RootKeyEnh(), Key(6, TEnh_Sharp));
    EXPECT_EQ(key.mSignKey.SignKeyType(), TSignKeyType_Minor);
    EXPECT_EQ(key.mSignKey.Name(kPrefs), "F# minor");
    ASSERT_NO_THROW(ReadXml(XmlWithTopObject(CGenEvSignKey(),
                                v0("<mBeatPosAbs>0</mBeatPosAbs><mKeyNr>10</mKeyNr><mMinor>0</mMinor>")),
        key));
    EXPECT_EQ(key.mSignKey.Name(kPrefs), "Bb major");
    // The old undefined key number 15.
    ASSERT_NO_THROW(ReadXml(XmlWithTopObject(CGenEvSignKey(),
                                v0("<mBeatPosAbs>2</mBeatPosAbs><mKeyNr>15</mKeyNr><mMinor>0</mMinor>")),
        key));
    EXPECT_TRUE(key.IsUndef());
    EXPECT_EQ(key.mBeatPosAbs, 2.0f);
    // The text form of the same: header "tracking version", then the fields.
    CGenEvSignKey fromText;
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 0 4.5 9 1", fromText));
    EXPECT_EQ(fromText.mBeatPosAbs, 4.5f);
    EXPECT_EQ(fromText.mSignKey.Name(kPrefs), "A minor");

    CGenEvHarmCenter center;
    ASSERT_NO_THROW(ReadXml(XmlWithTopObject(CGenEvHarmCenter(),
                                v0("<mBeatPosAbs>8</mBeatPosAbs><mKeyNr>3</mKeyNr><mMinor>1</mMinor>")),
        center));
    EXPECT_EQ(center.mBeatPosAbs, 8.0f);
    EXPECT_EQ(center.mSignKey, CSignKeyLite(3, TSignKeyType_Minor));
    EXPECT_EQ(center.mSignKey.mEnh, TEnh_Flat);
    ASSERT_NO_THROW(ReadXml(XmlWithTopObject(CGenEvHarmCenter(),
                                v0("<mBeatPosAbs>8</mBeatPosAbs><mKeyNr>15</mKeyNr><mMinor>0</mMinor>")),
        center));
    EXPECT_TRUE(center.IsUndef());

    CGenEvChord chord(1.0f, Parsed("Am7"));
    ASSERT_NO_THROW(ReadXml(XmlWithTopObject(CGenEvChord(),
                                v0("<mBeatPosAbs>6</mBeatPosAbs><mRootNoteSpecified>1</mRootNoteSpecified>")),
        chord));
    EXPECT_EQ(chord.mBeatPosAbs, 6.0f);
    EXPECT_TRUE(chord.mRootNoteSpecified);
    EXPECT_TRUE(chord.mChord.IsUndef());
    EXPECT_TRUE(chord.mScale.IsUndef());
}

TEST(HarmonyArchive, DamagedArchiveIsRefused)
{
    // C E G as notes: 3 of them, 48 52 55.
    const CGenEvChord c(1.0f, Parsed("C"), CScaleHeavy(Key(0), TScaleType_Ionian));
    const std::string xml = ToXmlArchive(c);
    CGenEvChord r;
    EXPECT_THROW(ReadXml(Replaced(xml, "<noteSetSize>3</noteSetSize>", "<noteSetSize>100000</noteSetSize>"), r),
        boost::archive::archive_exception);
    // A tone 32 semitones above the root is beyond the two octaves of a chord.
    EXPECT_THROW(ReadXml(Replaced(xml, "<note>55</note>", "<note>80</note>"), r), boost::archive::archive_exception);
    EXPECT_THROW(ReadXml(Replaced(xml, "<mScaleType>0</mScaleType>", "<mScaleType>99</mScaleType>"), r),
        boost::archive::archive_exception);

    const std::string text = ToTextArchive(c);
    EXPECT_FALSE(FromTextArchive(Replaced(text, " 3 48 52 55 ", " 100000 48 52 55 "), r));
    EXPECT_TRUE(FromTextArchive(text, r));
    EXPECT_EQ(r, c);

    std::ostringstream os;
    {
        boost::archive::binary_oarchive oa(os);
        oa << c;
    }
    std::string bytes = os.str();
    const uint64_t size = 3, damagedSize = 100000;
    const int64_t first = 48;
    std::string pattern(16, '\0');
    std::memcpy(pattern.data(), &size, 8);
    std::memcpy(pattern.data() + 8, &first, 8);
    const size_t at = bytes.find(pattern);
    ASSERT_NE(at, std::string::npos);
    std::memcpy(bytes.data() + at, &damagedSize, 8);
    EXPECT_THROW(
        {
            zkgen::TSafeBinaryIArchive ia(bytes.data(), bytes.size());
            ia >> r;
        },
        std::exception);

    // A key number out of range comes back as an undefined centre.
    const CGenEvHarmCenter center(2.0f, CSignKeyLite(9, TSignKeyType_Minor));
    CGenEvHarmCenter centerBack;
    ASSERT_NO_THROW(ReadXml(Replaced(ToXmlArchive(center), "<mKeyNr>9</mKeyNr>", "<mKeyNr>20</mKeyNr>"), centerBack));
    EXPECT_TRUE(centerBack.IsUndef());
}
