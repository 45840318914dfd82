// Pitched grids (bass, keys, guitar): rows of abstract notes whose sustain
// cells give each note its length and a note group for the
// whole pattern, and every mistake with its line.
#include "content/GridPatterns.h"
#include "Tools/ContentTestSupport.h"

#include <Generator/CGenEv.h>
#include <Generator/CGenTypes.h>
#include <Generator/harmony/CAbstractNote.h>
#include <Generator/patterns/CGenPattern.h>
#include <Platform/TGenDict.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using zkgen::cli::ParseGridPatterns;
using zkgen::cli::ParsePitchedGridPatterns;
using zkgen::cli::TContentError;
using zkgen::cli::ParseNoteRangeText;
using zkgen::cli::TDrumMapAliases;

using zkgtest::ExpectAbstractNote;

namespace {

std::vector<CGenPattern> Parse(const std::string& text)
{
    return ParsePitchedGridPatterns(text, "bass.grid");
}

std::string PitchedError(const std::string& text)
{
    try {
        Parse(text);
    } catch (const TContentError& e) {
        return e.what();
    }
    return "no error";
}

std::string DrumError(const std::string& text)
{
    const TDrumMapAliases aliases = {{"kick", "Drums.Ki.note.s1"}};
    try {
        ParseGridPatterns(text, "drums.grid", aliases);
    } catch (const TContentError& e) {
        return e.what();
    }
    return "no error";
}

} // namespace

TEST(PitchedGrid, NotesLengthsVelocitiesAndGroup)
{
    const std::vector<CGenPattern> patterns = Parse("pattern line\n"
                                                    "steps = 8\n"
                                                    "complexity = 60\n"
                                                    "group = 0\n"
                                                    "{1}       | X = = . x = . . |\n"
                                                    "{5}       | . . . x . . . . |\n"
                                                    "{n1[c-1]} | . . . . . . p = |\n");
    ASSERT_EQ(patterns.size(), 1u);
    const CGenPattern& p = patterns[0];
    EXPECT_EQ(p.mName, "line");
    EXPECT_EQ(p.mCoord, CGenPatternCoordInt(60.0f, 50.0f));
    EXPECT_FLOAT_EQ(p.mEvs.mLength, 4.0f);
    ASSERT_EQ(p.mEvs.size(), 4u);
    // A step is 4 / 8 = 0.5 beats; a note lasts its cell and its "=" cells.
    ExpectAbstractNote(p.mEvs[0], 0.0f, 1.5f, "{1}", 105);      // step 0, X = = : 3 cells
    ExpectAbstractNote(p.mEvs[1], 1.5f, 0.5f, "{5}", 80);       // step 3, x alone
    ExpectAbstractNote(p.mEvs[2], 2.0f, 1.0f, "{1}", 80);       // step 4, x = : 2 cells
    ExpectAbstractNote(p.mEvs[3], 3.0f, 1.0f, "{n1[c-1]}", 55); // step 6, p = : to the bar's end
    EXPECT_TRUE(p.mEvs.IsSortedByCompareEv());

    // The row's text read as the engine reads it: the next chord's root,
    // one chromatic step down, the octave left to the range.
    const CAbstractNote& approach = p.mEvs[3].AbstractNoteConst();
    EXPECT_EQ(approach.mWhere, TWhere_NextChord);
    EXPECT_EQ(approach.mDegree, TAbstractDegree_Root);
    ASSERT_EQ(approach.mOffsets.size(), 1u);
    EXPECT_EQ(approach.mOffsets[0].mOctaves, CAbstractOffset::kOctavesUndef);
    EXPECT_EQ(approach.mOffsets[0].mSteps, -1);
    EXPECT_EQ(approach.mOffsets[0].mStepsType, TStepsType_Chromatic);
    EXPECT_EQ(p.mEvs[1].AbstractNoteConst().mDegree, TAbstractDegree__5);

    // Every note: group 0, and no properties (the ranges are the player's).
    for (const CGenEv& ev : p.mEvs) {
        EXPECT_EQ(ev.NoteGroupID(), 0);
        EXPECT_EQ(ev.DictionaryConst(), nullptr);
    }
}

TEST(PitchedGrid, DefaultsSustainAcrossBarsAndLiteralNotes)
{
    const std::vector<CGenPattern> patterns = Parse("pattern plain\n"
                                                    "steps = 4\n"
                                                    "bars = 2\n"
                                                    "{1[+1]} | x = = = | = = . g |\n"
                                                    "\n"
                                                    "pattern sharp\n"
                                                    "steps = 4\n"
                                                    "group = 255   # a comment\n"
                                                    "{B} x = - x\n"
                                                    "pattern numbers like plain\n"
                                                    "pattern ends\n"
                                                    "steps = 4\n"
                                                    "{M40}| ! = = = |\n");
    ASSERT_EQ(patterns.size(), 4u);
    // No group given: none (255); no properties. 4 steps of 1
    // beat; x and five "=" across the bar line make 6 beats.
    const CGenPattern& plain = patterns[0];
    EXPECT_FLOAT_EQ(plain.mEvs.mLength, 8.0f);
    ASSERT_EQ(plain.mEvs.size(), 2u);
    ExpectAbstractNote(plain.mEvs[0], 0.0f, 6.0f, "{1[+1]}", 80);
    ExpectAbstractNote(plain.mEvs[1], 7.0f, 1.0f, "{1[+1]}", 35); // step 7, g
    EXPECT_EQ(plain.mEvs[0].NoteGroupID(), CGenEv::kNoteGroupID_None);
    EXPECT_EQ(plain.mEvs[0].DictionaryConst(), nullptr);
    EXPECT_EQ(plain.mEvs[0].AbstractNoteConst().mOffsets.at(0).mOctaves, 1);

    // Without bar lines the label is the first word; "-" rests like ".".
    const CGenPattern& sharp = patterns[1];
    ASSERT_EQ(sharp.mEvs.size(), 2u);
    ExpectAbstractNote(sharp.mEvs[0], 0.0f, 2.0f, "{B}", 80);
    ExpectAbstractNote(sharp.mEvs[1], 3.0f, 1.0f, "{B}", 80);
    EXPECT_EQ(sharp.mEvs[0].NoteGroupID(), 255);

    // A copy keeps the notes and their lengths.
    EXPECT_EQ(patterns[2].mName, "numbers");
    ASSERT_EQ(patterns[2].mEvs.size(), 2u);
    EXPECT_FLOAT_EQ(patterns[2].mEvs[0].mBeatLength, 6.0f);

    // {M40} is the literal note 40.
    const CGenPattern& ends = patterns[3];
    ASSERT_EQ(ends.mEvs.size(), 1u);
    ExpectAbstractNote(ends.mEvs[0], 0.0f, 4.0f, "{M40}", 125);
    EXPECT_EQ(ends.mEvs[0].AbstractNoteConst().mDegree, TAbstractDegree_NoteNr);
    EXPECT_EQ(ends.mEvs[0].AbstractNoteConst().mNoteNrForDegreeNoteNr, 40);
}

// An info text may hold a bar line, a sharp or an equals sign: it is a
// header line all the same.
TEST(PitchedGrid, HeaderLinesWithBarLinesAndSharps)
{
    const std::vector<CGenPattern> patterns = Parse("pattern a   # the comment goes\n"
                                                    "info = C#m | F#m = minor\n"
                                                    "steps = 2\n"
                                                    "{5} | x . |\n");
    ASSERT_EQ(patterns.size(), 1u);
    EXPECT_EQ(patterns[0].mInfo, "C#m | F#m = minor");
    ASSERT_EQ(patterns[0].mEvs.size(), 1u);
    // 2 steps a bar: 2 beats each.
    ExpectAbstractNote(patterns[0].mEvs[0], 0.0f, 2.0f, "{5}", 80);
}

TEST(PitchedGridErrors, NotesAndCells)
{
    const std::string head = "pattern a\nsteps = 4\n"; // lines 1 and 2
    EXPECT_EQ(PitchedError(head + "{1x} | x . . . |\n"), "bass.grid:3: malformed abstract note '{1x}': it reads as {1}");
    EXPECT_EQ(PitchedError(head + "{B} {3} | x . . . |\n"),
        "bass.grid:3: malformed abstract note '{B} {3}': it reads as {B}");
    const std::string want = "' is no abstract note (want e.g. {1}, {5}, {n1}, {1[+1]}, {n1[c-1]})";
    EXPECT_EQ(PitchedError(head + "{Q} | x . . . |\n"), "bass.grid:3: '{Q}" + want);
    EXPECT_EQ(PitchedError(head + "{1[+1} | x . . . |\n"), "bass.grid:3: '{1[+1}" + want);
    EXPECT_EQ(PitchedError(head + "1 | x . . . |\n"), "bass.grid:3: '1" + want);
    EXPECT_EQ(PitchedError(head + "{} | x . . . |\n"), "bass.grid:3: '{}" + want);
    EXPECT_EQ(PitchedError(head + "| x . . . |\n"), "bass.grid:3: grid row without an abstract note");
    EXPECT_EQ(PitchedError(head + "{1} | x q . . |\n"), "bass.grid:3: cell 'q' is not one of . - g p x X ! =");
    // A sustain at the row's start, after a rest, and after a "-" rest.
    EXPECT_EQ(PitchedError(head + "{1} | = x . . |\n"),
        "bass.grid:3: '=' in cell 1 of row '{1}' follows no note to sustain");
    EXPECT_EQ(PitchedError(head + "{1} | x = . = |\n"),
        "bass.grid:3: '=' in cell 4 of row '{1}' follows no note to sustain");
    EXPECT_EQ(PitchedError(head + "{5} | x . . . |\n{1} | x - = . |\n"),
        "bass.grid:4: '=' in cell 3 of row '{1}' follows no note to sustain");
    // Every row holds as many cells as the first.
    EXPECT_EQ(PitchedError(head + "{5} | x . . . |\n{1} | x = = |\n"),
        "bass.grid:4: row '{1}' holds 3 cells, expected 4 (as the first row of pattern 'a')");
    EXPECT_EQ(PitchedError("{1} | x . |\n"), "bass.grid:1: grid row before any pattern line");
}

TEST(PitchedGridErrors, Groups)
{
    const std::string head = "pattern a\n"; // line 1
    EXPECT_EQ(PitchedError(head + "group = 256\n"), "bass.grid:2: group = 256 is no note group 0 to 255 (255: none)");
    EXPECT_EQ(PitchedError(head + "group = -1\n"), "bass.grid:2: group = -1 is no note group 0 to 255 (255: none)");
    EXPECT_EQ(PitchedError(head + "group = one\n"), "bass.grid:2: group = one is no note group 0 to 255 (255: none)");
    EXPECT_EQ(PitchedError(head + "group = 1\ngroup = 2\n"), "bass.grid:3: 'group' is given twice in pattern 'a'");
    EXPECT_EQ(PitchedError(head + "bars = 1\n{1} | x . . . . . . . . . . . . . . . |\ngroup = 0\n"),
        "bass.grid:4: header line 'group' after the grid rows of pattern 'a'");
    // Ranges are the player's, in the manifest, not a pattern's.
    EXPECT_EQ(PitchedError(head + "range = E1-G3\n"), "bass.grid:2: unknown header key 'range'");
}

// Note ranges as the manifest writes them: names with C4 = 60 or numbers.
TEST(PitchedGridErrors, NoteRangeText)
{
    std::pair<int, int> r;
    std::string error;
    // E1 = 2 * 12 + 4 = 28, G3 = 4 * 12 + 7 = 55.
    ASSERT_TRUE(ParseNoteRangeText("E1-G3", r, error)) << error;
    EXPECT_EQ(r, std::make_pair(28, 55));
    // F#1 = 24 + 6 = 30, Bb2 = 36 + 10 = 46.
    ASSERT_TRUE(ParseNoteRangeText("F#1 - Bb2", r, error)) << error;
    EXPECT_EQ(r, std::make_pair(30, 46));
    // C-1 = 0 and G9 = 10 * 12 + 7 = 127: the dash after the digit of "-1" splits.
    ASSERT_TRUE(ParseNoteRangeText("C-1 - G9", r, error)) << error;
    EXPECT_EQ(r, std::make_pair(0, 127));
    ASSERT_TRUE(ParseNoteRangeText("28-55", r, error)) << error;
    EXPECT_EQ(r, std::make_pair(28, 55));
    const std::string names = " (want a name such as E1, F#2, Bb3 with C4 = 60, or a number 0 to 127)";
    const std::pair<const char*, std::string> bad[] = {{"H1-G3", "unknown note 'H1'" + names},
        {"E1-G", "unknown note 'G'" + names}, {"0-128", "unknown note '128'" + names},
        {"G3-E1", "'G3-E1' runs downwards; give the lower note first"},
        {"E1", "'E1' is no note range (want LOW-HIGH, e.g. E1-G3 with C4 = 60)"},
        {"E-G", "'E-G' is no note range (want LOW-HIGH, e.g. E1-G3 with C4 = 60)"}};
    for (const auto& [text, message] : bad) {
        EXPECT_FALSE(ParseNoteRangeText(text, r, error)) << text;
        EXPECT_EQ(error, message);
    }
}

TEST(PitchedGridErrors, DrumGridsKeepTheirOwnForm)
{
    // The keys of pitched grids are no drum header keys, and "=" no drum cell.
    EXPECT_EQ(DrumError("pattern a\ngroup = 0\n"),
        "drums.grid:2: 'group' belongs to pitched grids (bass, keys, guitar), not to drums");
    EXPECT_EQ(DrumError("pattern a\nsteps = 2\nkick | X = |\n"), "drums.grid:3: cell '=' is not one of . - g p x X !");
    EXPECT_EQ(DrumError("pattern a\nsteps = 2\n{1} | X . |\n"),
        "drums.grid:3: unknown kit piece or instrument path '{1}'");
    // A comment after a blank still ends a drum row.
    EXPECT_EQ(DrumError("pattern a\nsteps = 2\nkick | X . | # two cells\n"), "no error");
}
