#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/harmony/CHarmonySerializers.h"
#include "Generator/harmony/CNote.h"
#include "Generator/harmony/CScaleHeavy.h"
#include "Generator/harmony/CSemitones.h"
#include "Generator/harmony/CSignKey.h"
#include "Generator/timesig/CGenEvsSignKey.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <cstdint>
#include <string>
#include <vector>

using namespace zkgtest;

namespace {

const CChordNamePrefs kPrefs;

CKeyEnh Key(int keyNr, TEnh enh = TEnh_Natural) { return CKeyEnh(keyNr, enh); }

std::vector<int> KeysOfDegrees(const CScaleHeavy& scale)
{
    std::vector<int> keys;
    for (int d = 0; d < scale.DegreesPerOctave(); ++d)
        keys.push_back(scale.DegreeNrToKeyNr(d));
    return keys;
}

} // namespace

// ---------------------------------------------------------------- intervals

TEST(HarmonyIntervals, UpwardKeyInterval)
{
    // (0 - 11) mod 12 = 1: B up to C is a semitone.
    EXPECT_EQ(AbsKeyIntvlFromTo(11, 0), 1);
    EXPECT_EQ(AbsKeyIntvlFromTo(0, 11), 11);
    EXPECT_EQ(AbsKeyIntvlFromTo(4, 4), 0);
    // G (7) up to D (2): (2 - 7) mod 12 = 7.
    EXPECT_EQ(AbsKeyIntvlFromTo(7, 2), 7);
    // Notes: octaves drop out, 55 - 60 = -5, mod 12 = 7.
    EXPECT_EQ(AbsKeyIntvlFromTo(CNote(60, TEnh_Natural), CNote(55, TEnh_Natural)), 7);
    EXPECT_EQ(AbsKeyIntvlFromTo(CNote(47, TEnh_Natural), CNote(72, TEnh_Natural)), 1);
    EXPECT_EQ(AbsKeyIntvlFromTo(-1, 3), -1);
    EXPECT_EQ(AbsKeyIntvlFromTo(3, -1), -1);
    EXPECT_EQ(AbsKeyIntvlFromTo(CNote(), CNote(60, TEnh_Natural)), -1);
}

TEST(HarmonyIntervals, CircularDistanceAndSmallestInterval)
{
    // 0 -> 7 is 7 up or 5 down: distance 5, smallest signed -5.
    EXPECT_EQ(KeyDistanceBetween(0, 7), 5);
    EXPECT_EQ(SmallestKeyIntvlBetween(0, 7), -5);
    // The tritone: 6 both ways; the signed form takes +6.
    EXPECT_EQ(KeyDistanceBetween(0, 6), 6);
    EXPECT_EQ(SmallestKeyIntvlBetween(0, 6), 6);
    EXPECT_EQ(SmallestKeyIntvlBetween(6, 0), 6);
    EXPECT_EQ(SmallestKeyIntvlBetween(0, 5), 5);
    EXPECT_EQ(SmallestKeyIntvlBetween(11, 0), 1);
    EXPECT_EQ(SmallestKeyIntvlBetween(0, 11), -1);
    EXPECT_EQ(KeyDistanceBetween(7, 0), 5);
    EXPECT_EQ(KeyDistanceBetween(3, 3), 0);
    // Every result stays in its range.
    for (int a = 0; a < 12; ++a)
        for (int b = 0; b < 12; ++b) {
            EXPECT_GE(SmallestKeyIntvlBetween(a, b), -5);
            EXPECT_LE(SmallestKeyIntvlBetween(a, b), 6);
            EXPECT_GE(KeyDistanceBetween(a, b), 0);
            EXPECT_LE(KeyDistanceBetween(a, b), 6);
        }
    EXPECT_EQ(KeyDistanceBetween(-1, 4), -1);
    EXPECT_EQ(SmallestKeyIntvlBetween(-1, 4), 0);
}

TEST(HarmonyIntervals, NoteIntervalToleratesUndefined)
{
    EXPECT_EQ(IntvlFromToTolerateNoteNrSmallUndef(60, 67), 7);
    EXPECT_EQ(IntvlFromToTolerateNoteNrSmallUndef(67, 60), -7);
    EXPECT_EQ(IntvlFromToTolerateNoteNrSmallUndef(0, 0), 0);
    EXPECT_EQ(IntvlFromToTolerateNoteNrSmallUndef(-1, 5), -129);
    EXPECT_EQ(IntvlFromToTolerateNoteNrSmallUndef(5, -1), -129);
}

// 15 is the undefined key number of the engine's shared types (TKeyNr_Undef,
// and the root of an undefined compact key); a caller that hands it on gets
// an undefined answer, not the interval to key 3.
TEST(HarmonyIntervals, KeyNumber15IsUndefined)
{
    EXPECT_EQ(AbsKeyIntvlFromTo(TKeyNr_Undef, 0), -1);
    EXPECT_EQ(KeyDistanceBetween(TKeyNr_Undef, 0), -1);
    EXPECT_EQ(CSignKeyNoEnh(3, TSignKeyType_Minor).DistToSignKeyRoot(TKeyNr_Undef), -1);
    EXPECT_EQ(CSignKeyLite(3, TSignKeyType_Minor).KeyNrToSignKeyKeyNr(TKeyNr_Undef), -1);
}

// ---------------------------------------------------------------- key names

TEST(HarmonyKeyNames, ReadsLettersAndAccidentals)
{
    struct Case {
        const char* text;
        int key;
        TEnh enh;
        size_t used;
        const char* name;
    };
    const Case cases[] = {
        {"C", 0, TEnh_Natural, 1, "C"},
        {"C#", 1, TEnh_Sharp, 2, "C#"},
        {"Db", 1, TEnh_Flat, 2, "Db"},
        {"Bb", 10, TEnh_Flat, 2, "Bb"},
        {"F#m7", 6, TEnh_Sharp, 2, "F#"},
        // B# is key 0 and Cb key 11; white keys are named naturally.
        // The white keys a key signature may spell across a letter keep it.
        {"B#", 0, TEnh_Sharp, 2, "B#"},
        {"Cb", 11, TEnh_Flat, 2, "Cb"},
        {"E#", 5, TEnh_Sharp, 2, "E#"},
        {"Fb", 4, TEnh_Flat, 2, "Fb"},
        // Double accidentals: C## = D, Dbb = C (white keys, natural).
        {"C##", 2, TEnh_Natural, 3, "D"},
        {"Dbb", 0, TEnh_Natural, 3, "C"},
        // Unicode signs take three bytes each.
        {"C\xE2\x99\xAF", 1, TEnh_Sharp, 4, "C#"},
        {"B\xE2\x99\xAD", 10, TEnh_Flat, 4, "Bb"},
        // "#" then "b" is no accidental pair: only "C#" is read.
        {"C#b", 1, TEnh_Sharp, 2, "C#"},
    };
    for (const Case& c : cases) {
        size_t used = 99;
        const CKeyEnh k = KeyEnhFromString(c.text, &used);
        EXPECT_EQ(k.mKeyNr, c.key) << c.text;
        EXPECT_EQ(k.mEnh, c.enh) << c.text;
        EXPECT_EQ(used, c.used) << c.text;
        EXPECT_EQ(k.Name(), c.name) << c.text;
    }
    for (const char* bad : {"", "H", "c", "#", "b", " C", "7"}) {
        size_t used = 99;
        EXPECT_TRUE(KeyEnhFromString(bad, &used).IsUndef()) << bad;
        EXPECT_EQ(used, 0u) << bad;
    }
    EXPECT_TRUE(KeyEnhFromString("X").IsUndef());
}

// A double accidental that lands on a black key keeps its direction: Cbb is
// Bb (flat), B## is C# (sharp), so that C# and not Db is written.
TEST(HarmonyKeyNames, DoubleAccidentalOnBlackKeyKeepsDirection)
{
    const CKeyEnh cbb = KeyEnhFromString("Cbb");
    EXPECT_EQ(cbb.mKeyNr, 10); // 0 - 2
    EXPECT_EQ(cbb.mEnh, TEnh_Flat);
    const CKeyEnh e = KeyEnhFromString("E##");
    EXPECT_EQ(e.mKeyNr, 6); // 4 + 2
    EXPECT_EQ(e.mEnh, TEnh_Sharp);
    const CKeyEnh b = KeyEnhFromString("B##");
    EXPECT_EQ(b.mKeyNr, 1); // 11 + 2 - 12
    EXPECT_EQ(b.Name(), "C#");
}

TEST(HarmonyKeyNames, SpellingPolicies)
{
    // White keys are natural, but under Keep a given B#, E#, Cb or Fb stays.
    EXPECT_EQ(MakeSensefulEnhForKeyNr(0, TEnh_Sharp, TMakeSensefulEnh_Keep), TEnh_Sharp);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(0, TEnh_Flat, TMakeSensefulEnh_Keep), TEnh_Natural);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(2, TEnh_Sharp, TMakeSensefulEnh_Keep), TEnh_Natural);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(4, TEnh_Flat, TMakeSensefulEnh_PreferFlat), TEnh_Natural);
    // Keep: a given sharp or flat stays; else the common spelling.
    EXPECT_EQ(MakeSensefulEnhForKeyNr(1, TEnh_Sharp, TMakeSensefulEnh_Keep), TEnh_Sharp);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(1, TEnh_Flat, TMakeSensefulEnh_Keep), TEnh_Flat);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(1, TEnh_Natural, TMakeSensefulEnh_Keep), TEnh_Flat);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(6, TEnh_Undef, TMakeSensefulEnh_Keep), TEnh_Sharp);
    // Common: Db Eb F# Ab Bb, whatever was given.
    const TEnh common[12] = {TEnh_Natural, TEnh_Flat, TEnh_Natural, TEnh_Flat, TEnh_Natural, TEnh_Natural, TEnh_Sharp,
        TEnh_Natural, TEnh_Flat, TEnh_Natural, TEnh_Flat, TEnh_Natural};
    for (int k = 0; k < 12; ++k) {
        EXPECT_EQ(MakeSensefulEnhForKeyNr(k, TEnh_Sharp, TMakeSensefulEnh_Common), common[k]) << k;
        EXPECT_EQ(MakeSensefulEnhForKeyNr(k, TEnh_Flat, TMakeSensefulEnh_Common), common[k]) << k;
    }
    EXPECT_EQ(MakeSensefulEnhForKeyNr(10, TEnh_Flat, TMakeSensefulEnh_PreferSharp), TEnh_Sharp);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(6, TEnh_Sharp, TMakeSensefulEnh_PreferFlat), TEnh_Flat);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(-1, TEnh_Sharp, TMakeSensefulEnh_Keep), TEnh_Undef);
    EXPECT_EQ(MakeSensefulEnhForKeyNr(12, TEnh_Sharp, TMakeSensefulEnh_Keep), TEnh_Undef);
}

TEST(HarmonyKeyNames, KeyEnhAndNote)
{
    EXPECT_TRUE(CKeyEnh().IsUndef());
    EXPECT_EQ(CKeyEnh().Name(), "");
    // Out of range: undefined, spelling dropped.
    EXPECT_TRUE(CKeyEnh(12, TEnh_Sharp).IsUndef());
    EXPECT_EQ(CKeyEnh(12, TEnh_Sharp).mEnh, TEnh_Undef);
    EXPECT_EQ(CKeyEnh(10, TEnh_Sharp).Name(), "A#");
    EXPECT_EQ(CKeyEnh(8, TEnh_Undef).Name(), "Ab");

    // C4 is middle C at 60: octave = 60 / 12 - 1.
    EXPECT_EQ(CNote(60, TEnh_Natural).Name(), "C4");
    EXPECT_EQ(CNote(48, TEnh_Natural).Name(), "C3");
    EXPECT_EQ(CNote(61, TEnh_Sharp).Name(), "C#4");
    EXPECT_EQ(CNote(61, TEnh_Flat).Name(), "Db4");
    EXPECT_EQ(CNote(11, TEnh_Natural).Name(), "B-1");
    EXPECT_EQ(CNote(70, TEnh_Flat).KeyNr(), 10);
    EXPECT_EQ(CNote(70, TEnh_Flat).Enh(), TEnh_Flat);
    EXPECT_TRUE(CNote().IsUndef());
    EXPECT_TRUE(CNote(-5, TEnh_Natural).IsUndef());
    EXPECT_EQ(CNote().KeyNr(), kKeyNrUndef);
    EXPECT_EQ(CNote().Name(), "");
    EXPECT_TRUE(CNote().KeyEnh().IsUndef());

    EXPECT_TRUE(CNote(60, TEnh_Sharp) < CNote(61, TEnh_Flat));
    EXPECT_FALSE(CNote(61, TEnh_Flat) < CNote(60, TEnh_Sharp));
    // The same note number: ordered by spelling, so a set keeps both.
    EXPECT_TRUE(CNote(61, TEnh_Sharp) < CNote(61, TEnh_Flat));
    EXPECT_FALSE(CNote(61, TEnh_Sharp) < CNote(61, TEnh_Sharp));
}

// ---------------------------------------------------------------- semitones

TEST(HarmonySemitones, SetsAndMatches)
{
    // C E G: bits 0, 4, 7 = 0x001 + 0x010 + 0x080.
    const CSemitones major(true, false, false, false, true, false, false, true, false, false, false, false);
    EXPECT_EQ(major.mBits, 0x91);
    EXPECT_FALSE(major.IsEmpty());
    EXPECT_TRUE(major.HasIntvl(4));
    EXPECT_TRUE(major.HasIntvl(16)); // 16 - 12 = 4
    EXPECT_TRUE(major.HasIntvl(-5)); // -5 + 12 = 7
    EXPECT_FALSE(major.HasIntvl(3));
    EXPECT_EQ(major.Count(), 3);
    EXPECT_EQ(major.ToString(), "0 4 7");
    // Seen from E: E G C = 0, 3, 8.
    EXPECT_EQ(major.RotatedDown(4).ToString(), "0 3 8");
    EXPECT_TRUE(CSemitones().IsEmpty());
    EXPECT_EQ(CSemitones::FromBits(0xFFFF).mBits, 0xFFF);

    const auto M = TSemiMatch_Must, N = TSemiMatch_MustNot, D = TSemiMatch_DontCare;
    const CSemitonesMatch majorThird(M, D, D, N, M, D, D, D, D, D, D, D);
    const CSemitonesMatch minorThird(M, D, D, M, N, D, D, D, D, D, D, D);
    const CSemitones minor = CSemitones::FromBits(0x89); // 0 3 7
    EXPECT_TRUE(majorThird.Matches(major));
    EXPECT_FALSE(majorThird.Matches(minor));
    EXPECT_TRUE(minorThird.Matches(minor));
    EXPECT_TRUE(CSemitonesMatch().Matches(minor));
    EXPECT_FALSE(CSemitonesMatches().Matches(major));
    const CSemitonesMatches either {minorThird, majorThird};
    EXPECT_TRUE(either.Matches(major));
    EXPECT_TRUE(either.Matches(minor));
    EXPECT_FALSE(either.Matches(CSemitones::FromBits(0xA1))); // 0 5 7: no third
}

// ---------------------------------------------------------------- scales

TEST(HarmonyScales, TableDegreesOnD)
{
    struct Row {
        TScaleType type;
        const char* name;
        int mode;
        std::vector<int> keys; // the degrees from D (2), by hand
    };
    const Row rows[] = {
        {TScaleType_Ionian, "major", 1, {2, 4, 6, 7, 9, 11, 1}},        // D E F# G A B C#
        {TScaleType_Dorian, "dorian", 2, {2, 4, 5, 7, 9, 11, 0}},       // D E F G A B C
        {TScaleType_Phrygian, "phrygian", 3, {2, 3, 5, 7, 9, 10, 0}},   // D Eb F G A Bb C
        {TScaleType_Lydian, "lydian", 4, {2, 4, 6, 8, 9, 11, 1}},       // D E F# G# A B C#
        {TScaleType_Mixolydian, "mixolydian", 5, {2, 4, 6, 7, 9, 11, 0}},
        {TScaleType_Aeolian, "minor", 6, {2, 4, 5, 7, 9, 10, 0}},       // D E F G A Bb C
        {TScaleType_Locrian, "locrian", 7, {2, 3, 5, 7, 8, 10, 0}},     // D Eb F G Ab Bb C
        {TScaleType_HarmonicMinor, "harmonic minor", 1, {2, 4, 5, 7, 9, 10, 1}},
        {TScaleType_PhrygianDominant, "phrygian dominant", 5, {2, 3, 6, 7, 9, 10, 0}},
        {TScaleType_MelodicMinor, "melodic minor", 1, {2, 4, 5, 7, 9, 11, 1}},
        {TScaleType_LydianAugmented, "lydian augmented", 3, {2, 4, 6, 8, 10, 11, 1}},
        {TScaleType_LydianDominant, "lydian dominant", 4, {2, 4, 6, 8, 9, 11, 0}},
        {TScaleType_LocrianNatural2, "locrian natural 2", 6, {2, 4, 5, 7, 8, 10, 0}},
        {TScaleType_Altered, "altered", 7, {2, 3, 5, 6, 8, 10, 0}},     // D Eb F Gb Ab Bb C
        {TScaleType_PentatonicMajor, "major pentatonic", 1, {2, 4, 6, 9, 11}},
        {TScaleType_PentatonicMinor, "minor pentatonic", 5, {2, 5, 7, 9, 0}},
        {TScaleType_Blues, "blues", 0, {2, 5, 7, 8, 9, 0}},
        {TScaleType_WholeTone, "whole tone", 0, {2, 4, 6, 8, 10, 0}},
        {TScaleType_DiminishedWholeHalf, "diminished whole-half", 1, {2, 4, 5, 7, 8, 10, 11, 1}},
        {TScaleType_DiminishedHalfWhole, "diminished half-whole", 2, {2, 3, 5, 6, 8, 9, 11, 0}},
        {TScaleType_Chromatic, "chromatic", 0, {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0, 1}},
    };
    ASSERT_EQ(std::size(rows), static_cast<size_t>(TScaleType_Custom));
    for (const Row& r : rows) {
        const CScaleHeavy s(Key(2), r.type);
        ASSERT_FALSE(s.IsUndef()) << r.name;
        EXPECT_EQ(s.mScaleType, r.type) << r.name;
        EXPECT_EQ(ScaleTypeName(r.type), std::string(r.name));
        EXPECT_EQ(s.mActiveScaleData.mode, r.mode) << r.name;
        EXPECT_EQ(s.DegreesPerOctave(), static_cast<int>(r.keys.size())) << r.name;
        EXPECT_EQ(KeysOfDegrees(s), r.keys) << r.name;
        EXPECT_EQ(s.FullName(kPrefs), std::string("D ") + r.name);
        // Each degree's key leads back to the degree.
        for (int d = 0; d < s.DegreesPerOctave(); ++d)
            EXPECT_EQ(s.KeyNrToDegreeNr(r.keys[d]), d) << r.name << " degree " << d;
        // Keys outside the scale have no degree.
        for (int k = 0; k < 12; ++k) {
            if (std::find(r.keys.begin(), r.keys.end(), k) == r.keys.end()) {
                EXPECT_EQ(s.KeyNrToDegreeNr(k), -1) << r.name << " key " << k;
            }
        }
    }
    EXPECT_EQ(ScaleTypeName(TScaleType_Custom), std::string("custom"));
    EXPECT_EQ(ScaleTypeName(TScaleType_Undef), std::string(""));
    EXPECT_EQ(ScaleDataForType(TScaleType_Custom).degreesPerOctave, 0);
    EXPECT_EQ(ScaleDataForType(TScaleType_Undef).degreesPerOctave, 0);
}

TEST(HarmonyScales, DegreeAndNoteConversions)
{
    const CScaleHeavy dMajor(CNote(62, TEnh_Natural), TScaleType_Ionian);
    // Degrees wrap by octaves: 7 is degree 0, -1 is degree 6 (C#).
    EXPECT_EQ(dMajor.DegreeNrToKeyNr(7), 2);
    EXPECT_EQ(dMajor.DegreeNrToKeyNr(-1), 1);
    EXPECT_EQ(dMajor.DegreeNrToKeyNr(9), 6);
    EXPECT_EQ(dMajor.NoteNrToDegreeNr(62), 0);
    EXPECT_EQ(dMajor.NoteNrToDegreeNr(73), 6); // C#5
    EXPECT_EQ(dMajor.NoteNrToDegreeNr(72), -1);
    EXPECT_EQ(dMajor.NoteNrToDegreeNr(-2), -1);
    EXPECT_EQ(dMajor.NoteToDegreeNr(CNote(66, TEnh_Sharp)), 2);
    EXPECT_EQ(dMajor.NoteToDegreeNr(CNote()), -1);
    EXPECT_EQ(dMajor.KeyNrToDegreeNr(-1), -1);
    EXPECT_EQ(dMajor.ToSemitones().ToString(), "0 2 4 5 7 9 11");
    EXPECT_TRUE(dMajor.HasIntvl(11));
    EXPECT_FALSE(dMajor.HasIntvl(10));
    EXPECT_EQ(dMajor.RootKeyNr(), 2);
    EXPECT_EQ(dMajor.TraceForInitializerList(), "CScaleHeavy(CKeyEnh(2, 0), 0)");
    CChordNamePrefs sharp;
    sharp.mEnhPolicy = TMakeSensefulEnh_PreferSharp;
    EXPECT_EQ(CScaleHeavy(Key(10, TEnh_Flat), TScaleType_MelodicMinor).FullName(kPrefs), "Bb melodic minor");
    EXPECT_EQ(CScaleHeavy(Key(10, TEnh_Flat), TScaleType_MelodicMinor).FullName(sharp), "A# melodic minor");
    // Spelling aside, the same scale.
    EXPECT_EQ(CScaleHeavy(Key(1, TEnh_Sharp), TScaleType_Dorian), CScaleHeavy(Key(1, TEnh_Flat), TScaleType_Dorian));
    EXPECT_FALSE(CScaleHeavy(Key(1), TScaleType_Dorian) == CScaleHeavy(Key(1), TScaleType_Aeolian));
}

TEST(HarmonyScales, FromSemitones)
{
    // D F G A C seen from D: 0 3 5 7 10, the minor pentatonic.
    const CScaleHeavy pent(Key(2), CSemitones::FromBits(0x4A9));
    EXPECT_EQ(pent.mScaleType, TScaleType_PentatonicMinor);
    // No root bit given: the root is added. E G# B as 4 7 alone becomes 0 4 7.
    const CScaleHeavy triad(Key(0), CSemitones::FromBits(0x90));
    EXPECT_EQ(triad.mScaleType, TScaleType_Custom);
    EXPECT_EQ(triad.DegreesPerOctave(), 3);
    EXPECT_EQ(triad.ToSemitones().ToString(), "0 4 7");
    // 0 1 5 7 8 is no table scale.
    const CScaleHeavy custom(Key(0), CSemitones::FromBits(0x1A3));
    EXPECT_EQ(custom.mScaleType, TScaleType_Custom);
    EXPECT_EQ(custom.mCustomScaleData.mDegreeToRootOffsetIntvlArray, (std::vector<int> {0, 1, 5, 7, 8}));
    EXPECT_EQ(custom.FullName(kPrefs), "C custom (0 1 5 7 8)");
    EXPECT_EQ(custom.TraceForInitializerList(), "CScaleHeavy(CKeyEnh(0, 0), 21, \"0 1 5 7 8\")");
    EXPECT_EQ(KeysOfDegrees(custom), (std::vector<int> {0, 1, 5, 7, 8}));
    EXPECT_TRUE(CScaleHeavy(Key(0), CSemitones()).IsUndef());
    EXPECT_TRUE(CScaleHeavy(CKeyEnh(), CSemitones::FromBits(0x91)).IsUndef());
    // Custom by type alone has no semitones.
    EXPECT_TRUE(CScaleHeavy(Key(0), TScaleType_Custom).IsUndef());
}

TEST(HarmonyScales, MoveInScaleFromScaleNotes)
{
    const CScaleHeavy cMajor(Key(0), TScaleType_Ionian);
    for (long n : {60L, 62L, 64L, 71L, 0L, 127L})
        EXPECT_EQ(cMajor.MoveInScale(n, 0, false), n) << n;
    // Seven steps make an octave: 60 + 12.
    EXPECT_EQ(cMajor.MoveInScale(60, 7, false), 72);
    // One step down from C4 is B3.
    EXPECT_EQ(cMajor.MoveInScale(60, -1, false), 59);
    // Nine steps: octave (7) then D, E: 72 + 4.
    EXPECT_EQ(cMajor.MoveInScale(60, 9, false), 76);
    // Eight down: an octave to 48, then B2 = 47.
    EXPECT_EQ(cMajor.MoveInScale(60, -8, false), 47);
    EXPECT_EQ(cMajor.MoveInScale(60, -7, false), 48);
    EXPECT_EQ(cMajor.MoveInScale(60, 14, false), 84);
    // From E: up 3 is A (69), down 3 is B (59).
    EXPECT_EQ(cMajor.MoveInScale(64, 3, false), 69);
    EXPECT_EQ(cMajor.MoveInScale(64, -3, false), 59);

    // The pentatonic: five steps an octave, one down from C4 is A3.
    const CScaleHeavy pent(Key(0), TScaleType_PentatonicMajor);
    EXPECT_EQ(pent.MoveInScale(60, 5, false), 72);
    EXPECT_EQ(pent.MoveInScale(60, 6, false), 74);
    EXPECT_EQ(pent.MoveInScale(60, -1, false), 57);
    // D dorian from D4 three up: D E F G.
    EXPECT_EQ(CScaleHeavy(Key(2), TScaleType_Dorian).MoveInScale(62, 3, false), 67);
}

TEST(HarmonyScales, MoveInScaleFromOtherNotes)
{
    const CScaleHeavy cMajor(Key(0), TScaleType_Ionian);
    // C# 61: the first step up reaches D, the first down C.
    EXPECT_EQ(cMajor.MoveInScale(61, 1, false), 62);
    EXPECT_EQ(cMajor.MoveInScale(61, -1, false), 60);
    EXPECT_EQ(cMajor.MoveInScale(61, 2, false), 64);
    EXPECT_EQ(cMajor.MoveInScale(61, -2, false), 59);
    // No move: the nearer, C and D tie, down wins.
    EXPECT_EQ(cMajor.MoveInScale(61, 0, false), 60);
    EXPECT_EQ(cMajor.MoveInScale(66, 0, false), 65);
    // In C major pentatonic (C D E G A): F 65 is 1 above E and 2 below G;
    // F# 66 is 2 above E and 1 below G.
    const CScaleHeavy pent(Key(0), TScaleType_PentatonicMajor);
    EXPECT_EQ(pent.MoveInScale(65, 0, false), 64);
    EXPECT_EQ(pent.MoveInScale(66, 0, false), 67);
    EXPECT_EQ(pent.MoveInScale(65, 1, false), 67);
    EXPECT_EQ(pent.MoveInScale(66, -1, false), 64);
}

TEST(HarmonyScales, MoveInScaleRangeAndUndefined)
{
    const CScaleHeavy cMajor(Key(0), TScaleType_Ionian);
    // C9 120 up an octave is 132; brought into range by an octave: 120.
    EXPECT_EQ(cMajor.MoveInScale(120, 7, false), 132);
    EXPECT_EQ(cMajor.MoveInScale(120, 7, true), 120);
    // G9 127 up a step is A 129, in range 117.
    EXPECT_EQ(cMajor.MoveInScale(127, 1, true), 117);
    // D0 2 down seven is D-1 at -10; in range 2.
    EXPECT_EQ(cMajor.MoveInScale(2, -7, false), -10);
    EXPECT_EQ(cMajor.MoveInScale(2, -7, true), 2);
    EXPECT_EQ(CScaleHeavy().MoveInScale(60, 1, true), -1);
    EXPECT_EQ(CScaleHeavy_Undef.MoveInScale(60, 0, false), -1);
    EXPECT_EQ(cMajor.MoveInScale(-1, 1, false), -1);
}

// Down from C0 in D major: the scale note below is B-1 (-1), which the range
// brings up an octave to B0 11; two steps reach A-1 (-3), in range A0 9. C#0
// above the start is the wrong direction.
TEST(HarmonyScales, MoveInScaleDownBelowTheLowestScaleNote)
{
    const CScaleHeavy dMajor(Key(2), TScaleType_Ionian);
    EXPECT_EQ(dMajor.MoveInScale(0, -1, true), 11);
    EXPECT_EQ(dMajor.MoveInScale(0, -2, true), 9);
}

TEST(HarmonyScales, QuantizeToScaleNote)
{
    const CScaleHeavy cMajor(Key(0), TScaleType_Ionian);
    const CNote cSharp(61, TEnh_Sharp);
    EXPECT_EQ(cMajor.NoteQuantizeToScaleNote(cSharp, TQuantizeDirection_Down), CNote(60, TEnh_Natural));
    EXPECT_EQ(cMajor.NoteQuantizeToScaleNote(cSharp, TQuantizeDirection_Up), CNote(62, TEnh_Natural));
    // A tie (1 each way): down for Nearest, up for NearestPreferUp.
    EXPECT_EQ(cMajor.NoteQuantizeToScaleNote(cSharp, TQuantizeDirection_Nearest), CNote(60, TEnh_Natural));
    EXPECT_EQ(cMajor.NoteQuantizeToScaleNote(cSharp, TQuantizeDirection_NearestPreferUp), CNote(62, TEnh_Natural));
    // A scale note stays as it is, spelling included.
    EXPECT_EQ(cMajor.NoteQuantizeToScaleNote(CNote(64, TEnh_Natural), TQuantizeDirection_Up), CNote(64, TEnh_Natural));

    // C major pentatonic, F# 66: E is 2 below, G 1 above.
    const CScaleHeavy pent(Key(0), TScaleType_PentatonicMajor);
    const CNote fSharp(66, TEnh_Sharp);
    EXPECT_EQ(pent.NoteQuantizeToScaleNote(fSharp, TQuantizeDirection_Down).mNoteNr, 64);
    EXPECT_EQ(pent.NoteQuantizeToScaleNote(fSharp, TQuantizeDirection_Up).mNoteNr, 67);
    EXPECT_EQ(pent.NoteQuantizeToScaleNote(fSharp, TQuantizeDirection_Nearest).mNoteNr, 67);
    EXPECT_EQ(pent.NoteQuantizeToScaleNote(fSharp, TQuantizeDirection_NearestPreferUp).mNoteNr, 67);
    EXPECT_EQ(pent.NoteQuantizeToScaleNote(CNote(65, TEnh_Natural), TQuantizeDirection_NearestPreferUp).mNoteNr, 64);

    // C minor, E 64: down is Eb (a black key: flat), up F.
    const CScaleHeavy cMinor(Key(0), TScaleType_Aeolian);
    EXPECT_EQ(cMinor.NoteQuantizeToScaleNote(CNote(64, TEnh_Natural), TQuantizeDirection_Down), CNote(63, TEnh_Flat));
    EXPECT_EQ(cMinor.NoteQuantizeToScaleNote(CNote(64, TEnh_Natural), TQuantizeDirection_Up), CNote(65, TEnh_Natural));

    EXPECT_TRUE(CScaleHeavy().NoteQuantizeToScaleNote(cSharp, TQuantizeDirection_Up).IsUndef());
    EXPECT_TRUE(cMajor.NoteQuantizeToScaleNote(CNote(), TQuantizeDirection_Up).IsUndef());
}

TEST(HarmonyScales, TriadForScale)
{
    struct Case {
        TScaleType type;
        int root;
        uint32_t intervals;
        const char* name;
    };
    const Case cases[] = {
        {TScaleType_Ionian, 0, 0x91, "C"},            // C E G: 0 4 7
        {TScaleType_Aeolian, 9, 0x89, "Am"},          // A C E: 0 3 7
        {TScaleType_Dorian, 2, 0x89, "Dm"},           // D F A
        {TScaleType_PentatonicMajor, 0, 0x91, "C"},   // C D E G A: third 4, fifth 7
        {TScaleType_PentatonicMinor, 9, 0x89, "Am"},  // A C D E G: third 3, fifth 7
        {TScaleType_Locrian, 11, 0x49, "Bdim"},       // B D F: 0 3 6
        {TScaleType_Blues, 0, 0x89, "Cm"},
    };
    for (const Case& c : cases) {
        const CChordHeavy triad = CScaleHeavy(Key(c.root), c.type).ChordTriadForScale();
        EXPECT_EQ(triad.mRoot.mKeyNr, c.root) << c.name;
        EXPECT_EQ(triad.mIntervals, c.intervals) << c.name;
        EXPECT_EQ(triad.Name(kPrefs), c.name);
        EXPECT_FALSE(triad.IsSlashChord());
    }
    EXPECT_TRUE(CScaleHeavy().ChordTriadForScale().IsUndef());
}

// Thirds stacked on the root of C D E F# G# A#: C E G#, the augmented triad
// (0 4 8 = 0x111); the scale has no fifth of 7.
TEST(HarmonyScales, TriadOfWholeToneIsAugmented)
{
    const CChordHeavy triad = CScaleHeavy(Key(0), TScaleType_WholeTone).ChordTriadForScale();
    EXPECT_EQ(triad.mIntervals, 0x111u) << triad.Name(kPrefs);
    EXPECT_EQ(triad.BasicChord(), TBasicChord_Augmented);
}

TEST(HarmonyScales, UndefinedScaleAnswersUndefined)
{
    const CScaleHeavy& u = CScaleHeavy_Undef;
    EXPECT_TRUE(u.IsUndef());
    EXPECT_EQ(u.DegreesPerOctave(), 0);
    EXPECT_EQ(u.DegreeNrToKeyNr(0), -1);
    EXPECT_EQ(u.DegreeNrToKeyNr(5), -1);
    EXPECT_EQ(u.KeyNrToDegreeNr(0), -1);
    EXPECT_EQ(u.NoteNrToDegreeNr(60), -1);
    EXPECT_TRUE(u.ToSemitones().IsEmpty());
    EXPECT_FALSE(u.HasIntvl(0));
    EXPECT_EQ(u.FullName(kPrefs), "");
    EXPECT_TRUE(CScaleHeavy(CKeyEnh(), TScaleType_Ionian).IsUndef());
    EXPECT_TRUE(CScaleHeavy(Key(0), TScaleType_Undef).IsUndef());
}

TEST(HarmonyScales, LiteFormRotates)
{
    CScaleLite lite(CScaleHeavy(Key(2), TScaleType_Dorian));
    EXPECT_EQ(lite.mKeyNr, 2);
    EXPECT_EQ(lite.mScaleType, TScaleType_Dorian);
    EXPECT_EQ(lite.ToScaleHeavy(), CScaleHeavy(Key(2), TScaleType_Dorian));
    lite.RotateRootToKeyEnh(Key(7));
    EXPECT_EQ(lite.ToScaleHeavy(), CScaleHeavy(Key(7), TScaleType_Dorian));

    CScaleLite custom(CScaleHeavy(Key(0), CSemitones::FromBits(0x1A3)));
    custom.RotateRootToKeyEnh(Key(10, TEnh_Flat));
    const CScaleHeavy back = custom.ToScaleHeavy();
    EXPECT_EQ(back.mScaleType, TScaleType_Custom);
    EXPECT_EQ(back.FullName(kPrefs), "Bb custom (0 1 5 7 8)");
    EXPECT_TRUE(CScaleLite().ToScaleHeavy().IsUndef());
}

// ---------------------------------------------------------------- keys

TEST(HarmonyKeys, FromString)
{
    struct Case {
        const char* text;
        int key;
        TEnh enh;
        TSignKeyType type;
    };
    const Case cases[] = {
        {"C", 0, TEnh_Natural, TSignKeyType_Major},
        {"Am", 9, TEnh_Natural, TSignKeyType_Minor},
        {"A minor", 9, TEnh_Natural, TSignKeyType_Minor},
        {"A  Minor", 9, TEnh_Natural, TSignKeyType_Minor},
        {"F# major", 6, TEnh_Sharp, TSignKeyType_Major},
        {"Bb dorian", 10, TEnh_Flat, TSignKeyType_Dorian},
        {"Ebm", 3, TEnh_Flat, TSignKeyType_Minor},
        {"  D  ", 2, TEnh_Natural, TSignKeyType_Major},
        {"Gmaj", 7, TEnh_Natural, TSignKeyType_Major},
        {"Cmin", 0, TEnh_Natural, TSignKeyType_Minor},
        {"Emixolydian", 4, TEnh_Natural, TSignKeyType_Mixolydian},
        {"C harmonic minor", 0, TEnh_Natural, TSignKeyType_HarmonicMinor},
        {"B locrian", 11, TEnh_Natural, TSignKeyType_Locrian},
    };
    for (const Case& c : cases) {
        const CSignKeyHeavy k = SignKeyFromString(c.text);
        ASSERT_FALSE(k.IsUndef()) << c.text;
        EXPECT_EQ(k.RootKeyEnh(), Key(c.key, c.enh)) << c.text;
        EXPECT_EQ(k.SignKeyType(), c.type) << c.text;
        EXPECT_EQ(k.Scale(), CScaleHeavy(Key(c.key), FromSignKeyType(c.type))) << c.text;
    }
    for (const char* bad : {"", "   ", "H", "c", "am", "X major", "C foo", "Cm7", "C#b", "CM", "m", "C major!"})
        EXPECT_TRUE(SignKeyFromString(bad).IsUndef()) << bad;
}

TEST(HarmonyKeys, TypesAndScales)
{
    const TScaleType scales[] = {TScaleType_Ionian, TScaleType_Aeolian, TScaleType_Dorian, TScaleType_Phrygian,
        TScaleType_Lydian, TScaleType_Mixolydian, TScaleType_Locrian, TScaleType_HarmonicMinor,
        TScaleType_MelodicMinor};
    // Minor third (3) in minor, dorian, phrygian, locrian and both minors.
    const bool minorLike[] = {false, true, true, true, false, false, true, true, true};
    for (int t = 0; t <= TSignKeyType_MelodicMinor; ++t) {
        EXPECT_EQ(FromSignKeyType(static_cast<TSignKeyType>(t)), scales[t]) << t;
        EXPECT_EQ(SignKeyTypeIsMinorLike(static_cast<TSignKeyType>(t)), minorLike[t]) << t;
    }
    EXPECT_EQ(FromSignKeyType(TSignKeyType_Undef), TScaleType_Undef);
    EXPECT_EQ(FromSignKeyType(static_cast<TSignKeyType>(9)), TScaleType_Undef);
    EXPECT_FALSE(SignKeyTypeIsMinorLike(TSignKeyType_Undef));
    EXPECT_EQ(SignKeyTypeName(TSignKeyType_HarmonicMinor), std::string("harmonic minor"));
    EXPECT_EQ(SignKeyTypeName(TSignKeyType_Undef), std::string(""));
}

TEST(HarmonyKeys, HeavyNames)
{
    CChordNamePrefs flat;
    flat.mEnhPolicy = TMakeSensefulEnh_PreferFlat;
    CChordNamePrefs common;
    common.mEnhPolicy = TMakeSensefulEnh_Common;
    const CSignKeyHeavy fSharp(Key(6, TEnh_Sharp), TSignKeyType_Major);
    EXPECT_EQ(fSharp.Name(kPrefs), "F# major");
    EXPECT_EQ(fSharp.Name(flat), "Gb major");
    EXPECT_EQ(CSignKeyHeavy(Key(1, TEnh_Sharp), TSignKeyType_Minor).Name(kPrefs), "C# minor");
    EXPECT_EQ(CSignKeyHeavy(Key(1, TEnh_Sharp), TSignKeyType_Minor).Name(common), "Db minor");
    EXPECT_EQ(SignKeyFromString("A minor").TraceForInitializerList(), "CSignKeyHeavy(CKeyEnh(9, 0), 1)");
    const CSignKeyHeavy undef(Key(0), TSignKeyType_Undef);
    EXPECT_TRUE(undef.IsUndef());
    EXPECT_TRUE(undef.Scale().IsUndef());
    EXPECT_EQ(undef.Name(kPrefs), "");
    EXPECT_TRUE(CSignKeyHeavy(CKeyEnh(), TSignKeyType_Major).IsUndef());
}

TEST(HarmonyKeys, LiteForm)
{
    const CSignKeyLite bbDorian(SignKeyFromString("Bb dorian"));
    EXPECT_EQ(bbDorian.mKeyNr, 10);
    EXPECT_EQ(bbDorian.mType, TSignKeyType_Dorian);
    EXPECT_EQ(bbDorian.mEnh, TEnh_Flat);
    EXPECT_EQ(bbDorian.ToSignKeyHeavy(), SignKeyFromString("Bb dorian"));
    EXPECT_EQ(bbDorian.Scale(), CScaleHeavy(Key(10, TEnh_Flat), TScaleType_Dorian));
    EXPECT_EQ(bbDorian.NameShort(kPrefs), "Bb dorian");
    EXPECT_EQ(CSignKeyLite(0, TSignKeyType_Major).NameShort(kPrefs), "C");
    EXPECT_EQ(CSignKeyLite(9, TSignKeyType_Minor).NameShort(kPrefs), "Am");
    // By key number: the common spelling, F# and Eb.
    EXPECT_EQ(CSignKeyLite(6, TSignKeyType_Minor).NameShort(kPrefs), "F#m");
    EXPECT_EQ(CSignKeyLite(3, TSignKeyType_Major).mEnh, TEnh_Flat);
    EXPECT_EQ(CSignKeyLite(9, TSignKeyType_Minor).TraceForInitializerList(), "CSignKeyLite(9, 1)");

    // D major: C is 10 above the root ((0 - 2) mod 12), A is 7.
    const CSignKeyLite d(2, TSignKeyType_Major);
    EXPECT_EQ(d.KeyNrToSignKeyKeyNr(0), 10);
    EXPECT_EQ(d.KeyNrToSignKeyKeyNr(2), 0);
    EXPECT_EQ(d.KeyNrToSignKeyKeyNr(9), 7);
    EXPECT_EQ(d.SignKeyKeyNrToKeyNr(10), 0); // 10 + 2 - 12
    EXPECT_EQ(d.SignKeyKeyNrToKeyNr(7), 9);
    EXPECT_EQ(d.KeyNrToSignKeyKeyNr(-1), -1);
    EXPECT_EQ(d.SignKeyKeyNrToKeyNr(-1), -1);
    for (int k = 0; k < 12; ++k)
        EXPECT_EQ(d.SignKeyKeyNrToKeyNr(d.KeyNrToSignKeyKeyNr(k)), k);

    const CSignKeyLite undef;
    EXPECT_TRUE(undef.IsUndef());
    EXPECT_EQ(undef.mKeyNr, 15);
    EXPECT_EQ(undef.KeyNrToSignKeyKeyNr(0), -1);
    EXPECT_EQ(undef.SignKeyKeyNrToKeyNr(0), -1);
    EXPECT_TRUE(undef.Scale().IsUndef());
    EXPECT_TRUE(undef.ToSignKeyHeavy().IsUndef());
    EXPECT_EQ(undef.NameShort(kPrefs), "");
    EXPECT_TRUE(CSignKeyLite(12, TSignKeyType_Major).IsUndef());
    EXPECT_TRUE(CSignKeyLite(0, TSignKeyType_Undef).IsUndef());
    EXPECT_TRUE(CSignKeyLite(CSignKeyHeavy()).IsUndef());
}

// A minor key by number is spelled as its key signature exists: C# minor
// (4 sharps; Db minor would need 8 flats) and G# minor (5 sharps rather than
// Ab minor's 7 flats); Eb, F# and Bb minor as in major.
TEST(HarmonyKeys, MinorKeysByNumberSpelledAsWritten)
{
    EXPECT_EQ(CSignKeyLite(1, TSignKeyType_Minor).NameShort(kPrefs), "C#m");
    EXPECT_EQ(CSignKeyLite(8, TSignKeyType_Minor).NameShort(kPrefs), "G#m");
    EXPECT_EQ(CSignKeyLite(3, TSignKeyType_Minor).NameShort(kPrefs), "Ebm");
    EXPECT_EQ(CSignKeyLite(6, TSignKeyType_Minor).NameShort(kPrefs), "F#m");
    EXPECT_EQ(CSignKeyLite(10, TSignKeyType_Minor).NameShort(kPrefs), "Bbm");
    EXPECT_EQ(CGenEvSignKey(0.0f, 1, true).mSignKey.Name(kPrefs), "C# minor");
}

TEST(HarmonyKeys, ParallelKeys)
{
    EXPECT_EQ(CSignKeyLite(0, TSignKeyType_Major).ParallelSignKey(), CSignKeyLite(0, TSignKeyType_Minor));
    EXPECT_EQ(CSignKeyLite(9, TSignKeyType_Minor).ParallelSignKey(), CSignKeyLite(9, TSignKeyType_Major));
    // Minor third: dorian, harmonic minor give major; lydian, mixolydian minor.
    EXPECT_EQ(CSignKeyLite(2, TSignKeyType_Dorian).ParallelSignKey(), CSignKeyLite(2, TSignKeyType_Major));
    EXPECT_EQ(CSignKeyLite(2, TSignKeyType_HarmonicMinor).ParallelSignKey(), CSignKeyLite(2, TSignKeyType_Major));
    EXPECT_EQ(CSignKeyLite(5, TSignKeyType_Lydian).ParallelSignKey(), CSignKeyLite(5, TSignKeyType_Minor));
    EXPECT_EQ(CSignKeyLite(7, TSignKeyType_Mixolydian).ParallelSignKey(), CSignKeyLite(7, TSignKeyType_Minor));
    // The spelling stays with the root.
    EXPECT_EQ(CSignKeyLite(SignKeyFromString("Gb")).ParallelSignKey().mEnh, TEnh_Flat);
    EXPECT_TRUE(CSignKeyLite().ParallelSignKey().IsUndef());
}

TEST(HarmonyKeys, NoEnhForm)
{
    // Type in the high 32 bits, root in the low: (1 << 32) | 3.
    const CSignKeyNoEnh ebMinor(3, TSignKeyType_Minor);
    EXPECT_EQ(ebMinor.mValue, 0x100000003ull);
    EXPECT_EQ(ebMinor.KeyNr(), 3);
    EXPECT_EQ(ebMinor.Type(), TSignKeyType_Minor);
    EXPECT_FALSE(ebMinor.IsUndef());
    EXPECT_EQ(ebMinor.ParallelSignKey(), CSignKeyNoEnh(3, TSignKeyType_Major));
    // C is 9 above Eb ((0 - 3) mod 12), Bb 7.
    EXPECT_EQ(ebMinor.DistToSignKeyRoot(0), 9);
    EXPECT_EQ(ebMinor.DistToSignKeyRoot(10), 7);
    EXPECT_EQ(ebMinor.DistToSignKeyRoot(3), 0);
    EXPECT_EQ(ebMinor.DistToSignKeyRoot(-1), -1);
    EXPECT_EQ(ebMinor.Scale(), CScaleHeavy(Key(3, TEnh_Flat), TScaleType_Aeolian));
    EXPECT_EQ(ebMinor.SignKey(), CSignKeyLite(3, TSignKeyType_Minor));
    EXPECT_EQ(CSignKeyNoEnh(CSignKeyLite(10, TSignKeyType_Dorian)).mValue, 0x20000000Aull);

    // Undefined: root 15, type -1 in the high half.
    const CSignKeyNoEnh undef;
    EXPECT_EQ(undef.mValue, 0xFFFFFFFF0000000Full);
    EXPECT_EQ(undef.KeyNr(), 15);
    EXPECT_EQ(undef.Type(), TSignKeyType_Undef);
    EXPECT_TRUE(undef.IsUndef());
    EXPECT_EQ(undef.DistToSignKeyRoot(0), -1);
    EXPECT_TRUE(undef.Scale().IsUndef());
    EXPECT_TRUE(undef.SignKey().IsUndef());
    EXPECT_TRUE(undef.ParallelSignKey().IsUndef());
    EXPECT_EQ(CSignKeyNoEnh(CSignKeyLite()).KeyNr(), 15);
    EXPECT_EQ(CSignKeyNoEnh(12, TSignKeyType_Major), undef);
    EXPECT_EQ(CSignKeyNoEnh(0, TSignKeyType_Undef), undef);
}

TEST(HarmonyKeys, HarmCenter)
{
    const CHarmCenterLite center(CSignKeyLite(9, TSignKeyType_Minor));
    EXPECT_FALSE(center.IsUndef());
    EXPECT_EQ(center.mSignKey.NameShort(kPrefs), "Am");
    EXPECT_TRUE(CHarmCenterLite().IsUndef());
    const CGenEvsHarmCenter centers {{0.0f, 0, false}, {8.0f, 9, true}};
    EXPECT_TRUE(centers.AtHarmCenterBegin(8.0f));
    EXPECT_FALSE(centers.AtHarmCenterBegin(4.0f));
    EXPECT_EQ(centers.FindEvHarmCenterValidAt(7.5f).mSignKey, CSignKeyLite(0, TSignKeyType_Major));
    EXPECT_EQ(centers.FindEvHarmCenterValidAt(9.0f).mSignKey, CSignKeyLite(9, TSignKeyType_Minor));
    EXPECT_TRUE(centers.FindEvHarmCenterValidAt(-1.0f).IsUndef());
    EXPECT_TRUE(centers.FindEvHarmCenterValidAt(TGenBeatPosAbs_Undef).IsUndef());
}

// ---------------------------------------------------------------- archives
// (chords, old class versions and damaged archives: in CChordHeavyTests)

namespace {

bool Has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A note alone has no event of its own: this holder stores one through its wrapper.
struct TNoteHolder {
    CNote mNote;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        CNoteSerializer s(mNote);
        ar& boost::serialization::make_nvp("noteSerializer", s);
    }
};

} // namespace

TEST(HarmonyArchive, NoteRoundTrips)
{
    for (const CNote& n : {CNote(61, TEnh_Flat), CNote(0, TEnh_Natural), CNote()}) {
        const TNoteHolder h {n};
        EXPECT_EQ(TextRoundTrip(h).mNote, n) << n.Name();
        EXPECT_EQ(BinaryRoundTrip(h).mNote, n) << n.Name();
        EXPECT_EQ(XmlRoundTrip(h).mNote, n) << n.Name();
    }
    const std::string xml = ToXmlArchive(TNoteHolder {CNote(61, TEnh_Flat)});
    EXPECT_TRUE(Has(xml, "<noteSerializer")) << xml;
    EXPECT_TRUE(Has(xml, "<mNoteNr>61</mNoteNr>")) << xml;
    EXPECT_TRUE(Has(xml, "<mEnh>2</mEnh>")) << xml;
}

TEST(HarmonyArchive, KeyAndCenterRoundTrip)
{
    const char* const version1 = "<value class_id=\"0\" tracking_level=\"0\" version=\"1\">";
    const CGenEvSignKey key(2.0f, SignKeyFromString("Bb dorian"));
    EXPECT_EQ(TextRoundTrip(key), key);
    EXPECT_EQ(BinaryRoundTrip(key), key);
    EXPECT_EQ(XmlRoundTrip(key), key);
    const CGenEvSignKey back = XmlRoundTrip(key);
    EXPECT_EQ(back.mSignKey.RootKeyEnh(), Key(10, TEnh_Flat));
    EXPECT_EQ(back.mSignKey.Scale(), CScaleHeavy(Key(10), TScaleType_Dorian));
    EXPECT_TRUE(TextRoundTrip(CGenEvSignKey(3.0f, CSignKeyHeavy())).IsUndef());
    const std::string keyXml = ToXmlArchive(key);
    EXPECT_TRUE(Has(keyXml, version1)) << keyXml;
    EXPECT_TRUE(Has(keyXml, "<signKeySerializer")) << keyXml;

    const CGenEvsSignKey keys {{0.0f, SignKeyFromString("F# major")}, {8.0f, SignKeyFromString("C harmonic minor")}};
    EXPECT_EQ(TextRoundTrip(keys), keys);
    EXPECT_EQ(BinaryRoundTrip(keys), keys);
    EXPECT_EQ(XmlRoundTrip(keys), keys);

    // Gb keeps its flat through the compact form.
    const CGenEvHarmCenter center(2.0f, CSignKeyLite(SignKeyFromString("Gb")));
    EXPECT_EQ(TextRoundTrip(center), center);
    EXPECT_EQ(BinaryRoundTrip(center), center);
    EXPECT_EQ(XmlRoundTrip(center), center);
    EXPECT_EQ(XmlRoundTrip(center).mSignKey.mEnh, TEnh_Flat);
    EXPECT_TRUE(TextRoundTrip(CGenEvHarmCenter(1.0f, CSignKeyLite())).IsUndef());
    const std::string centerXml = ToXmlArchive(center);
    EXPECT_TRUE(Has(centerXml, version1)) << centerXml;
    EXPECT_TRUE(Has(centerXml, "<harmCenterSerializer")) << centerXml;
    const CGenEvsHarmCenter centers {{0.0f, 0, false}, {8.0f, 9, true}};
    EXPECT_EQ(XmlRoundTrip(centers), centers);
    EXPECT_EQ(BinaryRoundTrip(centers), centers);
}
