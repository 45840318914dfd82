#include "Generator/CGenEv.h"
#include "Generator/CGenEvsNameds.h"
#include "Generator/harmony/CAbstractNoteConcretizer.h"
#include "Generator/harmony/CAbstractNotesConcretizer.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CConcretizeRange.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/harmony/CHarmonicContext.h"
#include "Generator/timesig/CGenEvsSignKey.h"
#include "Platform/TGenDict.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

TConcretizeRange Range(int64_t min, int64_t max, int64_t rootMin, int64_t rootMax, int prefer = 0)
{
    TConcretizeRange r;
    r.mMinNoteNr = min;
    r.mMaxNoteNr = max;
    r.mPatternRootMinNoteNr = rootMin;
    r.mPatternRootMaxNoteNr = rootMax;
    r.mNotePrefer = prefer;
    return r;
}

TModNoteNr Mod(int64_t noteNr, TModNoteNr::TType type)
{
    TModNoteNr m;
    m.mNoteNr = noteNr;
    m.mType = type;
    return m;
}

CChordHeavy Chord(const std::string& name)
{
    CChordHeavy chord;
    EXPECT_TRUE(SetFromString(name, chord, CChordNamePrefs())) << name;
    return chord;
}

// Chords at positions, written in C major.
struct Song {
    CGenEvsChord chords;
    CGenEvsHarmCenter centers;
    CGenEvsSignKey keys;

    // Only the key.
    Song() { keys.push_back(CGenEvSignKey(0.0f, 0, false)); }
    explicit Song(std::initializer_list<std::pair<float, const char*>> chordList) : Song()
    {
        for (const auto& [pos, name] : chordList)
            chords.push_back(CGenEvChord(pos, Chord(name)));
    }

    CHarmonicContext At(float pos) const
    {
        CHarmonicContext ctx;
        ctx.FillFromEvsChordAndSignKeyAndSignTime(chords, centers, keys, nullptr, pos);
        return ctx;
    }
};

// One note, kept in range (obey 0), in no group.
int64_t One(const CAbstractNotesConcretizer& c, const char* text, const CHarmonicContext& ctx,
    const TConcretizeRange& range, int64_t referenced = -1, TObeyConcretizeRange obey = 0)
{
    return c.ConcretizeAbstractNote(CAbstractNote(text), ctx, range, range, nullptr, referenced,
        CGenEv::kNoteGroupID_None, obey, "test");
}

// The steps type of abstract scale set n.
TStepsType ScaleSet(int n) { return static_cast<TStepsType>(TStepsType_AbstractScaleSet0 + n); }

// Notes over the whole range; pattern roots from 60 to 71.
const TConcretizeRange kMiddle = Range(0, 127, 60, 71);

} // namespace

// ---------------------------------------------------------------- ranges

TEST(ConcretizeRange, RaiseLower)
{
    // 60 > 59: down one octave to 48, the first value <= 59.
    EXPECT_EQ(RaiseLowerToRange(60, 48, 59), 48);
    // Up while below min but only from below 116: 60 72 84 96 108 120.
    EXPECT_EQ(RaiseLowerToRange(60, 120, -1), 120);
    EXPECT_EQ(RaiseLowerToRange(60, 127, -1), 120);
    EXPECT_EQ(RaiseLowerToRange(115, 125, -1), 127);
    EXPECT_EQ(RaiseLowerToRange(116, 125, -1), 116);
    // Max runs last and wins: 40 -> 64 for min 60, then down to 40 for max 50.
    EXPECT_EQ(RaiseLowerToRange(40, 60, 50), 40);
    // Down only from 12 on: 30 18 6.
    EXPECT_EQ(RaiseLowerToRange(30, -1, 5), 6);
    // Unset limits leave the note.
    EXPECT_EQ(RaiseLowerToRange(200, -1, -1), 200);
    EXPECT_EQ(RaiseLowerToRange(-5, -1, -1), -5);
}

TEST(ConcretizeRange, NotePreference)
{
    // 4: up while an octave fits under max: 50 -> 62, and 62 > 72 - 12 stops.
    EXPECT_EQ(ApplyNotePrefer(50, 4, 48, 72), 62);
    EXPECT_EQ(ApplyNotePrefer(60, 4, 48, 72), 72);
    // ... and only from below 116: 110 -> 122.
    EXPECT_EQ(ApplyNotePrefer(110, 4, 0, 127), 122);
    // 2: down while an octave fits over min: 70 -> 58, 58 < 48 + 12 stops.
    EXPECT_EQ(ApplyNotePrefer(70, 2, 48, 72), 58);
    // ... and only from 12 on: 30 18 6.
    EXPECT_EQ(ApplyNotePrefer(30, 2, -1, 127), 6);
    for (int prefer : {0, 1, 3})
        EXPECT_EQ(ApplyNotePrefer(50, prefer, 48, 72), 50) << prefer;

    // Raise-lower, then the preference: 30 -> 54 (min 48), then 66.
    EXPECT_EQ(RaiseLowerAndPreferInNoteRange(30, Range(48, 72, 0, 0, 4)), 66);
    // The pattern-root form reads the pattern-root limits: 60 -> 36 (max 40),
    // and 36 < 28 + 12 keeps the preference 2 from moving it.
    EXPECT_EQ(RaiseLowerAndPreferInPatternRootRange(60, Range(0, 127, 28, 40, 2)), 36);
    EXPECT_EQ(RaiseLowerAndPreferInPatternRootRange(60, Range(0, 127, 28, 52, 2)), 36);
}

TEST(ConcretizeRange, CopiesAndDefaults)
{
    const TConcretizeRange r = Range(1, 2, 3, 4, 4);
    const TConcretizeRange off = r.CopyWithNotePreferOff();
    EXPECT_EQ(off.mNotePrefer, 1);
    EXPECT_EQ(off.mMinNoteNr, 1);
    EXPECT_EQ(off.mPatternRootMaxNoteNr, 4);
    EXPECT_EQ(r.PatternRootRangeAsNoteRange(), Range(3, 4, 3, 4, 4));

    EXPECT_EQ(TConcretizeRange::DefaultForInstType(TGenInstType_Bass), Range(28, 55, 28, 40));
    EXPECT_EQ(TConcretizeRange::DefaultForInstType(TGenInstType_KeysA), Range(48, 84, 53, 65));
    EXPECT_EQ(TConcretizeRange::DefaultForInstType(TGenInstType_GuitarB), Range(40, 76, 48, 60));
    EXPECT_EQ(TConcretizeRange::DefaultForInstType(TGenInstType_Drums), Range(0, 127, 0, 127));
    EXPECT_EQ(TConcretizeRange::DefaultForInstType(-1), Range(0, 127, 0, 127));
    EXPECT_EQ(CAbstractNotesConcretizer(TGenInstType_Bass).mConcretizeRange, Range(28, 55, 28, 40));
}

// ---------------------------------------------------------------- range modifications

TEST(ConcretizeRangeMod, ModifiedNoteNr)
{
    EXPECT_EQ(TModNoteNr().CalcModifiedNoteNr(40), 40);
    EXPECT_EQ(Mod(50, TModNoteNr::Absolute).CalcModifiedNoteNr(40), 50);
    EXPECT_EQ(Mod(5, TModNoteNr::Relative).CalcModifiedNoteNr(40), 45);
    EXPECT_EQ(Mod(-12, TModNoteNr::Relative).CalcModifiedNoteNr(40), 28);

    TConcretizeRangeMod mod;
    mod.mMods[TConcretizeRangeMod::ModMinNoteNr] = Mod(60, TModNoteNr::Absolute);
    mod.mMods[TConcretizeRangeMod::ModMaxNoteNr] = Mod(-7, TModNoteNr::Relative);
    mod.mNotePrefer = 4;
    // 40 -> 60, 80 - 7 = 73, roots unchanged, preference 4.
    EXPECT_EQ(mod.CalcModifiedRange(Range(40, 80, 45, 57)), Range(60, 73, 45, 57, 4));
    // Without a preference of its own the range's stays.
    EXPECT_EQ(TConcretizeRangeMod().CalcModifiedRange(Range(40, 80, 45, 57, 2)), Range(40, 80, 45, 57, 2));
}

TEST(ConcretizeRangeMod, ReadFromEventDictionary)
{
    CGenEv ev(0.0f, 1.0f, "{1}");
    TConcretizeRangeMod mod;
    // No dictionary: nothing read, nothing changed.
    EXPECT_FALSE(mod.ReadFromEvDictionary(ev));
    EXPECT_EQ(mod, TConcretizeRangeMod());
    ev.Dictionary().SetValueForKey(7, "SomethingElse");
    EXPECT_FALSE(mod.ReadFromEvDictionary(ev));

    ev.Dictionary().SetValueForKey(60, "ModMinNoteNrAbs");
    ev.Dictionary().SetValueForKey(5, "ModMinNoteNrRel");
    ev.Dictionary().SetValueForKey(-7, "ModMaxNoteNrRel");
    ev.Dictionary().SetValueForKey(33.0, "ModPatternRootMaxNoteNrAbs");
    ev.Dictionary().SetValueForKey(9, "ModNotePrefer");
    ASSERT_TRUE(mod.ReadFromEvDictionary(ev));
    // Abs wins over Rel.
    EXPECT_EQ(mod.mMods[TConcretizeRangeMod::ModMinNoteNr], Mod(60, TModNoteNr::Absolute));
    EXPECT_EQ(mod.mMods[TConcretizeRangeMod::ModMaxNoteNr], Mod(-7, TModNoteNr::Relative));
    EXPECT_EQ(mod.mMods[TConcretizeRangeMod::ModPatternRootMinNoteNr], TModNoteNr());
    EXPECT_EQ(mod.mMods[TConcretizeRangeMod::ModPatternRootMaxNoteNr], Mod(33, TModNoteNr::Absolute));
    // 9 clamped to 4, -3 to 0.
    EXPECT_EQ(mod.mNotePrefer, 4);
    ev.Dictionary().SetValueForKey(-3, "ModNotePrefer");
    ASSERT_TRUE(mod.ReadFromEvDictionary(ev));
    EXPECT_EQ(mod.mNotePrefer, 0);
}

TEST(ConcretizeRangeMod, PropIDAccessAndBadIDs)
{
    TConcretizeRangeMod mod;
    std::string error;
    EXPECT_TRUE(mod.SetModNoteNrPropID(TConcretizeRangeMod::ModPatternRootMinNoteNr, Mod(30, TModNoteNr::Absolute), &error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(mod.GetModNoteNrPropID(2, &error), Mod(30, TModNoteNr::Absolute));
    EXPECT_EQ(mod.GetModNoteNrPropID(7, &error), TModNoteNr());
    EXPECT_EQ(error, "unknown TConcretizeRangeMod::TModNoteNrPropID 7");
    EXPECT_FALSE(mod.SetModNoteNrPropID(-1, Mod(30, TModNoteNr::Absolute), &error));
    EXPECT_EQ(error, "unknown TConcretizeRangeMod::TModNoteNrPropID -1");
    // Without a place for the message it still fails quietly.
    EXPECT_FALSE(mod.SetModNoteNrPropID(4, Mod(30, TModNoteNr::Absolute)));
    EXPECT_EQ(mod.GetModNoteNrPropID(4), TModNoteNr());
}

TEST(ConcretizeRangeMod, PossedsValidAtAndCreateFromPreceding)
{
    TConcretizeRangeModPosseds posseds;
    const TConcretizeRange range = Range(28, 55, 28, 40);
    EXPECT_EQ(posseds.ConcretizeRangeModValidAt(100.0f), nullptr);
    EXPECT_EQ(posseds.CalcModifiedRangeAt(range, 100.0f), range);

    ASSERT_TRUE(posseds.SetModNoteNrPropIDAt(TConcretizeRangeMod::ModMinNoteNr, 4.0f, Mod(40, TModNoteNr::Absolute)));
    EXPECT_EQ(posseds.ConcretizeRangeModValidAt(3.9f), nullptr);
    ASSERT_NE(posseds.ConcretizeRangeModValidAt(4.0f), nullptr);
    EXPECT_EQ(posseds.ConcretizeRangeModValidAt(100.0f), posseds.ConcretizeRangeModValidAt(4.0f));

    // A new element at 8 starts from the one at 4 and adds to it.
    ASSERT_TRUE(posseds.SetModNoteNrPropIDAt(TConcretizeRangeMod::ModMaxNoteNr, 8.0f, Mod(-5, TModNoteNr::Relative)));
    ASSERT_EQ(posseds.mEls.size(), 2u);
    EXPECT_EQ(posseds.GetModNoteNrPropIDAt(TConcretizeRangeMod::ModMinNoteNr, 9.0f), Mod(40, TModNoteNr::Absolute));
    EXPECT_EQ(posseds.GetModNoteNrPropIDAt(TConcretizeRangeMod::ModMaxNoteNr, 9.0f), Mod(-5, TModNoteNr::Relative));
    EXPECT_EQ(posseds.GetModNoteNrPropIDAt(TConcretizeRangeMod::ModMaxNoteNr, 5.0f), TModNoteNr());
    // From 8: min 40, max 55 - 5 = 50; before 4 the range as it is.
    EXPECT_EQ(posseds.CalcModifiedRangeAt(range, 8.0f), Range(40, 50, 28, 40));
    EXPECT_EQ(posseds.CalcModifiedRangeAt(range, 5.0f), Range(40, 55, 28, 40));
    EXPECT_EQ(posseds.CalcModifiedRangeAt(range, 0.0f), range);

    // The same place again changes that element; one before the first
    // starts empty; the elements stay sorted.
    posseds.CreateOrChangeConcretizeRangeModValidAt(8.0f).mNotePrefer = 2;
    EXPECT_EQ(posseds.mEls.size(), 2u);
    EXPECT_EQ(posseds.CreateOrChangeConcretizeRangeModValidAt(2.0f), TConcretizeRangeMod());
    ASSERT_EQ(posseds.mEls.size(), 3u);
    EXPECT_EQ(posseds.mEls[0].mBeatPos, 2.0f);
    EXPECT_EQ(posseds.mEls[2].mMod.mNotePrefer, 2);

    std::string error;
    EXPECT_FALSE(posseds.SetModNoteNrPropIDAt(7, 20.0f, Mod(1, TModNoteNr::Absolute), &error));
    EXPECT_EQ(error, "unknown TConcretizeRangeMod::TModNoteNrPropID 7");
    EXPECT_EQ(posseds.mEls.size(), 3u);
    error.clear();
    EXPECT_EQ(posseds.GetModNoteNrPropIDAt(7, 0.0f, &error), TModNoteNr());
    EXPECT_EQ(error, "unknown TConcretizeRangeMod::TModNoteNrPropID 7");
    error.clear();
    EXPECT_EQ(TConcretizeRangeModPosseds().GetModNoteNrPropIDAt(9, 0.0f, &error), TModNoteNr());
    EXPECT_EQ(error, "unknown TConcretizeRangeMod::TModNoteNrPropID 9");
}

TEST(ConcretizeRangeMod, ClampModNoteNrMessages)
{
    std::string message = "old";
    EXPECT_EQ(ClampModNoteNr(64, TModNoteNr::Absolute, message), 64);
    EXPECT_EQ(message, "");
    EXPECT_EQ(ClampModNoteNr(-127, TModNoteNr::Relative, message), -127);
    EXPECT_EQ(message, "");
    EXPECT_EQ(ClampModNoteNr(200, TModNoteNr::Relative, message), 127);
    EXPECT_EQ(message, "NoteNr 200 clamped, for TModNoteNr::TType::Relative it must be >= -127 and <= 127");
    EXPECT_EQ(ClampModNoteNr(-200, TModNoteNr::Relative, message), -127);
    EXPECT_EQ(message, "NoteNr -200 clamped, for TModNoteNr::TType::Relative it must be >= -127 and <= 127");
    EXPECT_EQ(ClampModNoteNr(-5, TModNoteNr::Absolute, message), 0);
    EXPECT_EQ(message, "NoteNr -5 clamped, for TModNoteNr::TType::Absolute it must be >= 0 and <= 127");
    EXPECT_EQ(ClampModNoteNr(128, TModNoteNr::Absolute, message), 127);
    EXPECT_EQ(message, "NoteNr 128 clamped, for TModNoteNr::TType::Absolute it must be >= 0 and <= 127");
    EXPECT_EQ(ClampModNoteNr(300, static_cast<TModNoteNr::TType>(5), message), 300);
    EXPECT_EQ(message, "unknown TModNoteNr::TType 5");
}

// ---------------------------------------------------------------- one note

TEST(NoteConcretizerOne, DegreesOverChords)
{
    const CAbstractNotesConcretizer c;
    const Song song({{0.0f, "C"}, {4.0f, "Am"}, {8.0f, "G/B"}, {12.0f, "G7"}});
    const CHarmonicContext onC = song.At(1.0f);
    // Root 48 into pattern roots 60..71: 60. The fifth is four steps of C ionian up: 67.
    EXPECT_EQ(One(c, "{5}", onC, kMiddle), 67);
    EXPECT_EQ(One(c, "{1}", onC, kMiddle), 60);
    EXPECT_EQ(One(c, "{3}", onC, kMiddle), 64);
    EXPECT_EQ(One(c, "{7}", onC, kMiddle), 71);

    // Am: 57 is raised to 69 for pattern roots 60..71; its third in A aeolian is 69 + 3.
    const CHarmonicContext onAm = song.At(5.0f);
    EXPECT_EQ(One(c, "{1}", onAm, kMiddle), 69);
    EXPECT_EQ(One(c, "{3}", onAm, kMiddle), 72);
    // With pattern roots over the whole range the root stays 57, its third 60.
    EXPECT_EQ(One(c, "{1}", onAm, Range(0, 127, 0, 127)), 57);
    EXPECT_EQ(One(c, "{3}", onAm, Range(0, 127, 0, 127)), 60);

    // G7 plays G mixolydian: root 55 -> 67, the seventh 67 + 10.
    EXPECT_EQ(One(c, "{7}", song.At(13.0f), kMiddle), 77);
}

TEST(NoteConcretizerOne, BassDegrees)
{
    const CAbstractNotesConcretizer c;
    const Song song({{0.0f, "G/B"}, {4.0f, "C/G"}});
    const CHarmonicContext gOverB = song.At(1.0f);
    // Root 55 -> 67; the bass B is 4 above: 71, inside the pattern roots.
    EXPECT_EQ(One(c, "{B}", gOverB, kMiddle), 71);
    // Close to the root: 4 <= 5, above it: 71.
    EXPECT_EQ(One(c, "{R}", gOverB, kMiddle), 71);
    // In a bass's range: root 55 -> 31 (max 40), bass 31 + 4 = 35.
    EXPECT_EQ(One(c, "{B}", gOverB, Range(28, 55, 28, 40)), 35);
    // B3: the bass B (71) is a chord tone of G; two steps of G mixolydian up: D, 74.
    EXPECT_EQ(One(c, "{B3}", gOverB, kMiddle), 74);

    // C/G with free pattern roots: root 48, G 7 above. Close to the root
    // takes the fourth below (7 > 5): 43; above the root 55.
    const TConcretizeRange free = Range(0, 127, 0, 127);
    const CHarmonicContext cOverG = song.At(5.0f);
    EXPECT_EQ(One(c, "{R}", cOverG, free), 43);
    EXPECT_EQ(One(c, "{0}", cOverG, free), 55);
    // A bass degree without offsets is kept in the pattern roots: 55 -> 67.
    EXPECT_EQ(One(c, "{R}", cOverG, kMiddle), 67);
}

TEST(NoteConcretizerOne, WheresAndLiterals)
{
    CAbstractNotesConcretizer c;
    Song song({{0.0f, "C"}, {4.0f, "Am"}});
    song.centers.push_back(CGenEvHarmCenter(0.0f, 9, true));
    const CHarmonicContext onC = song.At(1.0f);
    const CHarmonicContext onAm = song.At(5.0f);
    // The next chord's root from C: A, 57 -> 69; the previous from Am: C, 60.
    EXPECT_EQ(One(c, "{n1}", onC, kMiddle), 69);
    EXPECT_EQ(One(c, "{p1}", onAm, kMiddle), 60);
    // Key root 0 into 60..71: 60; the key's fifth 67.
    EXPECT_EQ(One(c, "{k1}", onAm, kMiddle), 60);
    EXPECT_EQ(One(c, "{k5}", onAm, kMiddle), 67);
    // Centre A minor: root 9 -> 69, minor third 72; as major the third is 73.
    EXPECT_EQ(One(c, "{c3}", onC, kMiddle), 72);
    EXPECT_EQ(One(c, "{C3}", onC, kMiddle), 73);
    // A literal note number is taken as it is; without a number it fails.
    EXPECT_EQ(One(c, "{M64}", onC, kMiddle), 64);
    EXPECT_EQ(One(c, "{M}", onC, kMiddle), -1);
    // ... but within the note range: 20 -> 56 for min 48.
    EXPECT_EQ(One(c, "{M20}", onC, Range(48, 127, 60, 71)), 56);
}

TEST(NoteConcretizerOne, OctavesAndSteps)
{
    const CAbstractNotesConcretizer c;
    const Song song({{0.0f, "C"}, {4.0f, "Am7"}});
    const CHarmonicContext onC = song.At(1.0f);
    EXPECT_EQ(One(c, "{1[+1]}", onC, kMiddle), 72);
    EXPECT_EQ(One(c, "{1[-1]}", onC, kMiddle), 48);
    // The range beats a stated octave: 72 > 60 goes back to 60.
    EXPECT_EQ(One(c, "{1[+1]}", onC, Range(0, 60, 60, 71)), 60);
    // Chromatic: 60 + 2; down: 60 - 1.
    EXPECT_EQ(One(c, "{1[c+2]}", onC, kMiddle), 62);
    EXPECT_EQ(One(c, "{1[c-1]}", onC, kMiddle), 59);
    // Diatonic in the chord's scale: C ionian 60 -> 62; A aeolian 69 -> 71, 69 -> 67.
    EXPECT_EQ(One(c, "{1[d+1]}", onC, kMiddle), 62);
    EXPECT_EQ(One(c, "{1[d+1]}", song.At(5.0f), kMiddle), 71);
    EXPECT_EQ(One(c, "{1[d-1]}", song.At(5.0f), kMiddle), 67);
    // Offsets in order: up an octave, then a fifth of steps: 72 + 7.
    EXPECT_EQ(One(c, "{1[+1,d+4]}", onC, kMiddle), 79);
}

TEST(NoteConcretizerOne, ChordAndTriadSteps)
{
    const CAbstractNotesConcretizer c;
    const Song song({{0.0f, "C"}, {4.0f, "G7"}, {8.0f, "Csus4"}, {12.0f, "Csus2"}});
    const CHarmonicContext onC = song.At(1.0f);
    // C's tones 0 4 7 from 60: one up 64, two up 67, three up the octave 72,
    // one down G below, 55.
    EXPECT_EQ(One(c, "{1[h+1]}", onC, kMiddle), 64);
    EXPECT_EQ(One(c, "{1[h+2]}", onC, kMiddle), 67);
    EXPECT_EQ(One(c, "{1[h+3]}", onC, kMiddle), 72);
    EXPECT_EQ(One(c, "{1[h-1]}", onC, kMiddle), 55);
    // G7 adds the seventh: 67 -> 71 -> 74 -> 77.
    EXPECT_EQ(One(c, "{1[h+3]}", song.At(5.0f), kMiddle), 77);
    // The triad: 60 + 7.
    EXPECT_EQ(One(c, "{1[t+2]}", onC, kMiddle), 67);
    // A seventh chord's triad leaves the seventh out: three up is the octave 79.
    EXPECT_EQ(One(c, "{1[t+3]}", song.At(5.0f), kMiddle), 79);
    // The suspended forms take the fourth or the second for the third.
    EXPECT_EQ(One(c, "{1[t+1]}", song.At(9.0f), kMiddle), 65);
    EXPECT_EQ(One(c, "{1[t+1]}", song.At(13.0f), kMiddle), 62);
}

TEST(NoteConcretizerOne, AbstractScaleSetSteps)
{
    const CAbstractNotesConcretizer c;
    const Song song({{0.0f, "C"}});
    const CHarmonicContext onC = song.At(1.0f);
    // Set 0 is the chord's diatonic scale, keys 0 2 4 5 7 9 11.
    EXPECT_EQ(One(c, "{1[s0+1]}", onC, kMiddle), 62);
    EXPECT_EQ(One(c, "{1[s0+2]}", onC, kMiddle), 64);
    // Down from C: index 6 (B), octave -1/7 = 0 less one for the negative
    // remainder: 60 + 11 - 12.
    EXPECT_EQ(One(c, "{1[s0-1]}", onC, kMiddle), 59);
    // Eight down: 60 + 11 - 24.
    EXPECT_EQ(One(c, "{1[s0-8]}", onC, kMiddle), 47);
    // From E (index 2): seven up is E an octave higher, six up D above.
    EXPECT_EQ(One(c, "{3[s0+7]}", onC, kMiddle), 76);
    EXPECT_EQ(One(c, "{3[s0+6]}", onC, kMiddle), 74);
    EXPECT_EQ(One(c, "{3[s0-1]}", onC, kMiddle), 62);
    // From C# (not in the scale): reaching D is the step, not E.
    EXPECT_EQ(One(c, "{1[c+1,s0+1]}", onC, kMiddle), 62);
    EXPECT_EQ(One(c, "{1[c+1,s0-1]}", onC, kMiddle), 60);
    EXPECT_EQ(One(c, "{1[c+1,s0+2]}", onC, kMiddle), 64);
    // Set 1 over a major chord: the major pentatonic 0 2 4 7 9; from E one up is G.
    EXPECT_EQ(One(c, "{3[s1+1]}", onC, kMiddle), 67);
}

TEST(NoteConcretizerOne, OneElementAbstractScale)
{
    CAbstractNotesConcretizer c;
    c.mAbstractScaleSets[ScaleSet(5)] =
        CAbstractScaleSet {CAbstractScaleWithConditions(CAbstractScale {CAbstractNote("{1}")})};
    c.mAbstractScaleSets[ScaleSet(6)] =
        CAbstractScaleSet {CAbstractScaleWithConditions(CAbstractScale {CAbstractNote("{5}")})};
    c.mAbstractScaleSets.erase(ScaleSet(7));
    const CHarmonicContext onC = Song({{0.0f, "C"}}).At(1.0f);
    // Every step keeps C: one up is the octave, two up two octaves, one down an octave below.
    EXPECT_EQ(One(c, "{1[s5+1]}", onC, kMiddle), 72);
    EXPECT_EQ(One(c, "{1[s5+2]}", onC, kMiddle), 84);
    EXPECT_EQ(One(c, "{1[s5-1]}", onC, kMiddle), 48);
    EXPECT_EQ(One(c, "{1[s5-2]}", onC, kMiddle), 36);
    // From C to the only element G: reaching it is the step, 60 + 7.
    EXPECT_EQ(One(c, "{1[s6+1]}", onC, kMiddle), 67);
    // An absent set leaves the note where it is.
    EXPECT_EQ(One(c, "{1[s7+1]}", onC, kMiddle), 60);
}

TEST(NoteConcretizerOne, ClosestScaleNoteAndIntervalWithinOctave)
{
    const std::vector<int> major = {0, 2, 4, 5, 7, 9, 11};
    // C# between C and D: the direction of the steps decides, a tie without steps takes the first.
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(1, major, 1), 1);
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(1, major, -1), 0);
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(1, major, 0), 0);
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(6, major, 1), 4);
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(7, major, 1), 4);
    // Both nearest above D (E 2 away, F 3): the nearer, whatever the direction.
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(2, {4, 5}, -1), 0);
    // The index is the one in the unsorted keys: 1 -> C at 1 or E at 2; up takes E.
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(1, {7, 0, 4}, 1), 2);
    EXPECT_EQ(CAbstractNoteConcretizer::_IndexInAbstractScaleForClosestScaleNote(3, {9}, 1), 0);

    // A zero interval with steps up and no octave is an octave.
    EXPECT_EQ(CAbstractNoteConcretizer::_CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(0, 0, 1), 12);
    EXPECT_EQ(CAbstractNoteConcretizer::_CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(0, 1, 1), 0);
    EXPECT_EQ(CAbstractNoteConcretizer::_CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(4, 0, 1), 4);
    // Steps down: the interval below, unless the octave already went down.
    EXPECT_EQ(CAbstractNoteConcretizer::_CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(7, 0, -1), -5);
    EXPECT_EQ(CAbstractNoteConcretizer::_CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(7, -1, -1), 7);
}

TEST(NoteConcretizerOne, ReferencesUndefinedAndObey)
{
    const CAbstractNotesConcretizer c;
    const CHarmonicContext onC = Song({{0.0f, "C"}}).At(1.0f);
    // Referencing degrees without a referenced note tell the caller to drop the event.
    EXPECT_EQ(One(c, "{P}", onC, kMiddle), kNoteNrLargeUndef);
    EXPECT_EQ(One(c, "{N}", onC, kMiddle), kNoteNrLargeUndef);
    EXPECT_EQ(One(c, "{P}", onC, kMiddle, 64), 64);
    EXPECT_EQ(One(c, "{N[c+2]}", onC, kMiddle, 64), 66);
    // No chord: no root, -1, even for a literal; the key's root still works.
    const CHarmonicContext none = Song({{4.0f, "F"}}).At(1.0f);
    EXPECT_EQ(One(c, "{1}", none, kMiddle), -1);
    EXPECT_EQ(One(c, "{M64}", none, kMiddle), -1);
    EXPECT_EQ(One(c, "{k1}", none, kMiddle), 60);
    EXPECT_EQ(One(c, "{1}", Song().At(1.0f), kMiddle), -1);
    EXPECT_EQ(c.ConcretizeAbstractNote(CAbstractNote(), onC, kMiddle, kMiddle, nullptr, -1, 255, 0, "undef"), -1);

    // Max 60: obeying, the fifth 67 goes down to 55; with obey 1 it keeps
    // the register its root gives it.
    const TConcretizeRange low = Range(0, 60, 60, 71);
    EXPECT_EQ(One(c, "{5}", onC, low, -1, 0), 55);
    EXPECT_EQ(One(c, "{5}", onC, low, -1, 1), 67);
    EXPECT_EQ(One(c, "{1[+1]}", onC, low, -1, 1), 72);
    // Preferences: 4 lifts the fifth to 127, 2 lowers it to 7 (67 55 43 31 19 7).
    EXPECT_EQ(One(c, "{5}", onC, Range(0, 127, 60, 71, 4)), 127);
    EXPECT_EQ(One(c, "{5}", onC, Range(0, 127, 60, 71, 2)), 7);
    // A root degree without offsets returns into the pattern roots at the end: 60.
    EXPECT_EQ(One(c, "{1}", onC, Range(0, 127, 60, 71, 4)), 60);
}

TEST(NoteConcretizerOne, InitialRootAndRangeQueries)
{
    const CAbstractNotesConcretizer bass(TGenInstType_Bass);
    const Song song({{0.0f, "C"}, {4.0f, "F"}});
    // C: 48 -> 36 in 28..40; F: 53 -> 41 -> 29.
    EXPECT_EQ(bass.FindInitialRootNoteWithoutRegardingNoteGroups(song.At(1.0f), TWhere_CurrentChord), 36);
    EXPECT_EQ(bass.FindInitialRootNoteWithoutRegardingNoteGroups(song.At(5.0f), TWhere_CurrentChord), 29);
    EXPECT_EQ(bass.FindInitialRootNoteWithoutRegardingNoteGroups(Song().At(1.0f), TWhere_CurrentChord), -1);
    // The fifth 43 lies in 28..55 but above the pattern roots 28..40.
    const CHarmonicContext onC = song.At(1.0f);
    EXPECT_TRUE(bass.IsNonGroupedAbstractNoteInNoteRange(CAbstractNote("{5}"), onC));
    EXPECT_FALSE(bass.IsNonGroupedAbstractNoteInPatternRootNoteRange(CAbstractNote("{5}"), onC));
    EXPECT_TRUE(bass.IsNonGroupedAbstractNoteInPatternRootNoteRange(CAbstractNote("{1}"), onC));
    // Two octaves up: 36 + 24 = 60 > 55.
    EXPECT_FALSE(bass.IsNonGroupedAbstractNoteInNoteRange(CAbstractNote("{1[+2]}"), onC));
    EXPECT_TRUE(bass.IsNonGroupedAbstractNoteInNoteRange(1.0f, CAbstractNote("{3}"), song.chords, song.centers, song.keys));
    EXPECT_FALSE(bass.IsNonGroupedAbstractNoteInNoteRange(CAbstractNote("{1}"), Song().At(1.0f)));
}

// ---------------------------------------------------------------- event lists

namespace {

// One pattern at 0 whose notes are concretized against a song.
struct Pattern {
    Song song;
    CGenEvsNameds evs;

    explicit Pattern(std::initializer_list<std::pair<float, const char*>> chordList) : song(chordList)
    {
        evs.push_back(CGenEvsNamed("bass", 0.0f));
    }

    void Add(float pos, const char* text, uint8_t group)
    {
        CGenEv ev(pos, 0.5f, text, group);
        ev.mMB2 = 100;
        evs[0].mEvs.push_back(std::move(ev));
    }

    void Run(CAbstractNotesConcretizer& c, float start = 0.0f, float end = 16.0f)
    {
        c.Concretize(song.chords, song.centers, song.keys, nullptr, start, end, evs);
    }

    std::vector<int> Notes() const
    {
        std::vector<int> out;
        for (const CGenEv& ev : evs[0].mEvs)
            out.push_back(ev.mMB1);
        return out;
    }
};

} // namespace

TEST(NotesConcretizerRun, BassGroupOverFourChords)
{
    CAbstractNotesConcretizer bass(TGenInstType_Bass);
    Pattern p({{0.0f, "C"}, {4.0f, "F"}, {8.0f, "G"}, {12.0f, "C"}});
    for (float bar : {0.0f, 4.0f, 8.0f, 12.0f}) {
        p.Add(bar, "{1}", 0);
        p.Add(bar + 1.0f, "{5}", 0);
        p.Add(bar + 2.0f, "{1[+1]}", 0);
        p.Add(bar + 3.0f, "{3}", 0);
    }
    p.Run(bass);
    // Roots in 28..40: C 36, F 53 -> 29, G 55 -> 31. Then fifth, octave and
    // third (F lydian: A, 33). Lowest 29 and highest 48 lie in 28..55: no shift.
    EXPECT_EQ(p.Notes(), std::vector<int>({36, 43, 48, 40, 29, 36, 41, 33, 31, 38, 43, 35, 36, 43, 48, 40}));
    for (const CGenEv& ev : p.evs[0].mEvs) {
        EXPECT_GE(ev.mMB1, 28);
        EXPECT_LE(ev.mMB1, 55);
        EXPECT_FALSE(ev.mConcretize);
    }
}

TEST(NotesConcretizerRun, GroupCrossingAChordChangeSharesOneShift)
{
    const std::vector<std::pair<float, const char*>> notes = {
        {0.0f, "{1}"}, {2.0f, "{5}"}, {4.0f, "{1}"}, {5.0f, "{3}"}, {6.0f, "{5}"}};
    CAbstractNotesConcretizer c;
    c.mConcretizeRange = Range(30, 45, 12, 59);
    Pattern grouped({{0.0f, "C"}, {4.0f, "F"}});
    for (const auto& [pos, text] : notes)
        grouped.Add(pos, text, 0);
    grouped.Run(c);
    // Pass 1 around the roots C 48 and F 53: 48 55 53 57 60. Highest 60 >
    // 45: root 48 -> 36 (60 -> 48), and 36 < 30 + 12 stops. All move -12,
    // the last keeps its place above the max.
    EXPECT_EQ(grouped.Notes(), std::vector<int>({36, 43, 41, 45, 48}));

    // Without a group each note finds its own octave: F's fifth 60 -> 36.
    Pattern single({{0.0f, "C"}, {4.0f, "F"}});
    for (const auto& [pos, text] : notes)
        single.Add(pos, text, CGenEv::kNoteGroupID_None);
    single.Run(c);
    EXPECT_EQ(single.Notes(), std::vector<int>({36, 43, 41, 45, 36}));
}

TEST(NotesConcretizerRun, GroupsMoveAsAWholeInOctaves)
{
    // Above the range: 48 55 52 over C; root 48 -> 36 -> 24 while the
    // highest exceeds 33: two octaves down.
    CAbstractNotesConcretizer c;
    c.mConcretizeRange = Range(20, 33, 12, 59);
    Pattern above({{0.0f, "C"}});
    above.Add(0.0f, "{1}", 0);
    above.Add(1.0f, "{5}", 0);
    above.Add(2.0f, "{3}", 0);
    above.Run(c);
    EXPECT_EQ(above.Notes(), std::vector<int>({24, 31, 28}));

    // Below the range: 48 55 for min 60; the root goes up while it stays
    // <= 84 - 12: 60 67.
    c.mConcretizeRange = Range(60, 84, 28, 84);
    Pattern below({{0.0f, "C"}});
    below.Add(0.0f, "{1}", 1);
    below.Add(1.0f, "{5}", 1);
    below.Run(c);
    EXPECT_EQ(below.Notes(), std::vector<int>({60, 67}));

    // Bass: the group keeps its fifth 43 above max 40, where a single note
    // folds down to 31.
    c.mConcretizeRange = Range(28, 40, 28, 40);
    Pattern shape({{0.0f, "C"}});
    shape.Add(0.0f, "{1}", 2);
    shape.Add(1.0f, "{5}", 2);
    shape.Add(2.0f, "{5}", CGenEv::kNoteGroupID_None);
    shape.Run(c);
    EXPECT_EQ(shape.Notes(), std::vector<int>({36, 43, 31}));
}

TEST(NotesConcretizerRun, ReferencesWithinAGroup)
{
    CAbstractNotesConcretizer bass(TGenInstType_Bass);
    Pattern p({{0.0f, "C"}, {4.0f, "G"}});
    p.Add(0.0f, "{1}", 0);
    p.Add(1.0f, "{P[c+2]}", 0);
    p.Add(2.0f, "{N}", 0);
    p.Add(4.0f, "{5}", 0);
    p.Run(bass);
    // The previous note 36, two semitones up; the next note G's fifth 31 + 7.
    EXPECT_EQ(p.Notes(), std::vector<int>({36, 38, 38, 38}));

    // A reference that never resolves erases its event; so does a cycle.
    Pattern lost({{0.0f, "C"}});
    lost.Add(0.0f, "{P}", 0);
    lost.Add(1.0f, "{1}", 0);
    lost.Add(2.0f, "{N}", 1);
    lost.Add(3.0f, "{P}", 1);
    lost.Add(3.5f, "{N}", 3);
    lost.Add(3.75f, "{P}", 3);
    lost.Run(bass);
    ASSERT_EQ(lost.evs[0].mEvs.size(), 1u);
    EXPECT_EQ(lost.evs[0].mEvs[0].mBeatPos, 1.0f);
    EXPECT_EQ(lost.evs[0].mEvs[0].mMB1, 36);
}

TEST(NotesConcretizerRun, WindowAndVelocity)
{
    CAbstractNotesConcretizer bass(TGenInstType_Bass);
    Pattern p({{0.0f, "C"}, {4.0f, "F"}});
    for (float pos : {0.0f, 2.0f, 4.0f, 8.0f, 5.0f})
        p.Add(pos, "{1}", CGenEv::kNoteGroupID_None);
    for (CGenEv& ev : p.evs[0].mEvs)
        ev.mMB1 = 99;
    p.evs[0].mEvs[2].mMB2 = 0;
    p.Run(bass, 1.0f, 6.0f);
    // Only the note at 2 is taken: 0 lies before the start, 4 is silent, 8
    // lies past the end and ends the walk, so 5 behind it stays too.
    EXPECT_EQ(p.Notes(), std::vector<int>({99, 36, 99, 99, 99}));
    std::vector<bool> concretize;
    for (const CGenEv& ev : p.evs[0].mEvs)
        concretize.push_back(ev.mConcretize);
    EXPECT_EQ(concretize, std::vector<bool>({true, false, true, true, true}));

    // Pattern at 2: event positions count from there; F from 4 gives 29.
    Pattern shifted({{0.0f, "C"}, {4.0f, "F"}});
    shifted.evs[0].mBeatPosAbs = 2.0f;
    shifted.Add(1.0f, "{1}", CGenEv::kNoteGroupID_None);
    shifted.Add(2.0f, "{1}", CGenEv::kNoteGroupID_None);
    shifted.Run(bass);
    EXPECT_EQ(shifted.Notes(), std::vector<int>({36, 29}));
}

TEST(NotesConcretizerRun, RangeModsFromPositionsAndEvents)
{
    CAbstractNotesConcretizer bass(TGenInstType_Bass);
    bass.mConcretizeRangeModPosseds.SetModNoteNrPropIDAt(TConcretizeRangeMod::ModMinNoteNr, 4.0f,
        Mod(40, TModNoteNr::Absolute));
    Pattern p({{0.0f, "C"}, {4.0f, "F"}, {8.0f, "G"}});
    p.Add(0.0f, "{1}", CGenEv::kNoteGroupID_None);
    p.Add(4.0f, "{1}", CGenEv::kNoteGroupID_None);
    p.Add(8.0f, "{1}", CGenEv::kNoteGroupID_None);
    p.evs[0].mEvs[2].Dictionary().SetValueForKey(2, "ModMinNoteNrRel");
    p.Run(bass);
    // C 36 before the mod; F 29 below min 40 -> 41; G 31 below 40 + 2 -> 43.
    EXPECT_EQ(p.Notes(), std::vector<int>({36, 41, 43}));
}

TEST(NotesConcretizerRun, BehavioursAndUndefinedChords)
{
    auto make = [] {
        Pattern p({{4.0f, "F"}});
        p.Add(0.0f, "{1}", CGenEv::kNoteGroupID_None);
        p.Add(4.0f, "{1}", CGenEv::kNoteGroupID_None);
        for (CGenEv& ev : p.evs[0].mEvs)
            ev.mMB1 = 99;
        return p;
    };
    // No chord at 0: the note gets -1.
    CAbstractNotesConcretizer bass(TGenInstType_Bass);
    Pattern always = make();
    always.Run(bass);
    EXPECT_EQ(always.Notes(), std::vector<int>({-1, 29}));
    // 2: only where the note's where has a root.
    bass.mBehaviorForChordUndef = 2;
    Pattern onlyWithRoot = make();
    onlyWithRoot.Run(bass);
    EXPECT_EQ(onlyWithRoot.Notes(), std::vector<int>({99, 29}));
    // Abstract notes off: all stay.
    bass.mBehaviorForChordUndef = 0;
    bass.mBehaviorForAbstractNotes = 2;
    Pattern off = make();
    off.Run(bass);
    EXPECT_EQ(off.Notes(), std::vector<int>({99, 99}));
    // An event already concretized is left alone.
    bass.mBehaviorForAbstractNotes = 0;
    Pattern done = make();
    done.evs[0].mEvs[1].mConcretize = false;
    done.Run(bass);
    EXPECT_EQ(done.Notes(), std::vector<int>({-1, 99}));
}
