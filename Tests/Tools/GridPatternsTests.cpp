#include "content/GridPatterns.h"

#include <Generator/CGenEv.h>
#include <Generator/CGenTypes.h>
#include <Generator/fills/CGenCharCreateFill.h>
#include <Generator/patterns/CGenPattern.h>
#include <Generator/patterns/CGenPatternEdge.h>
#include <Generator/patterns/CGenPatternGraphBoost.h>
#include <Generator/patterns/CGenPatternModAndProb.h>
#include <Generator/timesig/CGenSignTime.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using zkgen::cli::ParseGridPatterns;
using zkgen::cli::TContentError;
using zkgen::cli::TDrumMapAliases;
using zkgen::cli::TrainEdgesFromPhrases;

namespace {

// Uids read off the printed drum tree (`zkgen inst tree`); all lie below
// 2^31, so MB1 (the uid's low 32 bits) is the uid itself.
constexpr int kKick = 0x11100000;    // Drums.Ki.note.s1
constexpr int kSnare = 0x12101000;   // Drums.Sn.note.nrm.stroke.s1
constexpr int kHhOpen1 = 0x14101100; // Drums.Hh.note.hit.move.static.open.o1

const TDrumMapAliases& Aliases()
{
    static const TDrumMapAliases aliases = {{"kick", "Drums.Ki.note.s1"}, {"snare", "Drums.Sn.note.nrm.stroke.s1"},
        {"hh", "Drums.Hh.note.hit.move.static.open.o1"}};
    return aliases;
}

std::vector<CGenPattern> Parse(const std::string& text)
{
    return ParseGridPatterns(text, "grid.txt", Aliases());
}

// The full message of the content error `text` raises, or "no error".
std::string GridError(const std::string& text)
{
    try {
        Parse(text);
    } catch (const TContentError& e) {
        return e.what();
    }
    return "no error";
}

void ExpectNote(const CGenEv& ev, float pos, float length, int mb1, int velocity)
{
    EXPECT_FLOAT_EQ(ev.mBeatPos, pos);
    EXPECT_FLOAT_EQ(ev.mBeatLength, length);
    EXPECT_EQ(ev.mMB0, st_NoteOn);
    EXPECT_EQ(ev.mMB1, mb1);
    EXPECT_EQ(ev.mMB2, velocity);
}

} // namespace

// ----- grids

TEST(GridPatterns, EventsOfASmallGrid)
{
    const std::vector<CGenPattern> patterns = Parse("# a groove\n"
                                                    "pattern groove\n"
                                                    "steps = 8\n"
                                                    "complexity = 30\n"
                                                    "intensity = 45\n"
                                                    "hh    | x . . p | . . . . |\n"
                                                    "snare | . . X . | . . g ! |\n"
                                                    "kick  | X . . . | x . . . |\n");
    ASSERT_EQ(patterns.size(), 1u);
    const CGenPattern& p = patterns[0];
    EXPECT_EQ(p.mName, "groove");
    EXPECT_EQ(p.mCoord, CGenPatternCoordInt(30.0f, 45.0f));
    EXPECT_EQ(p.mSignTime, CGenSignTime(4, 2));
    // 8 cells at 8 steps a bar: one 4/4 bar of 4 beats; a step is 4 / 8 = 0.5.
    EXPECT_FLOAT_EQ(p.mEvs.mLength, 4.0f);
    ASSERT_EQ(p.mEvs.size(), 7u);
    // Step 0 holds hh (row 1) and kick (row 3): the engine's event order puts
    // the smaller instrument code first, kick 0x11100000 < hh 0x14101100.
    ExpectNote(p.mEvs[0], 0.0f, 0.5f, kKick, 105);   // X
    ExpectNote(p.mEvs[1], 0.0f, 0.5f, kHhOpen1, 80); // x
    ExpectNote(p.mEvs[2], 1.0f, 0.5f, kSnare, 105);  // step 2 * 0.5, X
    ExpectNote(p.mEvs[3], 1.5f, 0.5f, kHhOpen1, 55); // step 3, p
    ExpectNote(p.mEvs[4], 2.0f, 0.5f, kKick, 80);    // step 4, x
    ExpectNote(p.mEvs[5], 3.0f, 0.5f, kSnare, 35);   // step 6, g
    ExpectNote(p.mEvs[6], 3.5f, 0.5f, kSnare, 125);  // step 7, !
    EXPECT_TRUE(p.mEvs.IsSortedByCompareEv());
    // Nothing given: any tempo, no rating, no properties.
    EXPECT_EQ(p.mTempoBPMRange, CGenRange<float>(-1.0f, -1.0f));
    EXPECT_EQ(p.mMainPatternRating, 0.0f);
    EXPECT_TRUE(GenIsUndef(p.PropertyFloatOrUndef(kGenPatternProp_Fill_TargetEndBeatPos)));
    EXPECT_TRUE(GenIsUndef(p.PropertyFloatOrUndef(kGenPatternProp_Fill_OverlayRangeAcStart)));
}

TEST(GridPatterns, DefaultsAndLengths)
{
    const std::vector<CGenPattern> patterns = Parse("pattern two_bars\n"
                                                    "kick | X . . . . . . . . . . . . . . . | . . . . . . . . . . . . . . . x |\n"
                                                    "pattern half\n"
                                                    "beats = 2\n"
                                                    "kick | . . . . . . . X |\n"
                                                    "pattern rest\n"
                                                    "bars = 2\n");
    ASSERT_EQ(patterns.size(), 3u);
    // Default 16 steps of 4 / 16 = 0.25 beats; 32 cells make two bars, 8 beats.
    EXPECT_EQ(patterns[0].mName, "two_bars");
    EXPECT_EQ(patterns[0].mCoord, CGenPatternCoordInt(50.0f, 50.0f));
    EXPECT_FLOAT_EQ(patterns[0].mEvs.mLength, 8.0f);
    ASSERT_EQ(patterns[0].mEvs.size(), 2u);
    ExpectNote(patterns[0].mEvs[0], 0.0f, 0.25f, kKick, 105);
    ExpectNote(patterns[0].mEvs[1], 7.75f, 0.25f, kKick, 80); // step 31 * 0.25
    // beats = 2: 2 / 0.25 = 8 cells; step 7 at 1.75.
    EXPECT_FLOAT_EQ(patterns[1].mEvs.mLength, 2.0f);
    ASSERT_EQ(patterns[1].mEvs.size(), 1u);
    ExpectNote(patterns[1].mEvs[0], 1.75f, 0.25f, kKick, 105);
    // A silent pattern of two bars: 8 beats, no events.
    EXPECT_FLOAT_EQ(patterns[2].mEvs.mLength, 8.0f);
    EXPECT_TRUE(patterns[2].mEvs.empty());
}

TEST(GridPatterns, TripletSteps)
{
    const std::vector<CGenPattern> patterns = Parse("pattern shuffle\n"
                                                    "steps = 12\n"
                                                    "hh | x x x | x x x | x x x | x x x |\n");
    ASSERT_EQ(patterns.size(), 1u);
    const CGenEvs& evs = patterns[0].mEvs;
    EXPECT_FLOAT_EQ(evs.mLength, 4.0f);
    ASSERT_EQ(evs.size(), 12u);
    // A step is 4 / 12 = 1/3 beat: step i at i / 3.
    const float expected[12] = {0.0f, 1.0f / 3, 2.0f / 3, 1.0f, 4.0f / 3, 5.0f / 3, 2.0f, 7.0f / 3, 8.0f / 3, 3.0f,
        10.0f / 3, 11.0f / 3};
    for (size_t i = 0; i < 12; ++i)
        ExpectNote(evs[i], expected[i], 1.0f / 3, kHhOpen1, 80);
}

TEST(GridPatterns, SevenEightBars)
{
    const std::vector<CGenPattern> patterns = Parse("pattern odd\n"
                                                    "time = 7/8\n"
                                                    "steps = 14\n"
                                                    "bars = 2\n"
                                                    "kick | X . . . . . . . . . . . . x | X . . . . . . . . . . . . ! |\n");
    ASSERT_EQ(patterns.size(), 1u);
    const CGenPattern& p = patterns[0];
    EXPECT_EQ(p.mSignTime, CGenSignTime(7, 3));
    // A 7/8 bar is 7 * 4 / 8 = 3.5 beats; 14 steps make 3.5 / 14 = 0.25; two bars 7 beats.
    EXPECT_FLOAT_EQ(p.mEvs.mLength, 7.0f);
    ASSERT_EQ(p.mEvs.size(), 4u);
    ExpectNote(p.mEvs[0], 0.0f, 0.25f, kKick, 105);
    ExpectNote(p.mEvs[1], 3.25f, 0.25f, kKick, 80);   // step 13 * 0.25
    ExpectNote(p.mEvs[2], 3.5f, 0.25f, kKick, 105);   // step 14: the second bar
    ExpectNote(p.mEvs[3], 6.75f, 0.25f, kKick, 125);  // step 27 * 0.25
}

TEST(GridPatterns, OtherMetresAndPaths)
{
    const std::vector<CGenPattern> patterns = Parse("pattern compound\n"
                                                    "time = 3+2+2/8\n"
                                                    "steps = 7\n"
                                                    "Drums.Tm[pitch.1;stroke.s1] | X . . | . . | . . |\n"
                                                    "Drums.Hh.note.hit.move.closing fastsus1.open.o5 | . . . | x . | . . |\n"
                                                    "pattern twelve\n"
                                                    "time = 12/8\n"
                                                    "steps = 12\n"
                                                    "kick . . . . . . . . . . . X\n");
    ASSERT_EQ(patterns.size(), 2u);
    EXPECT_EQ(patterns[0].mSignTime, CGenSignTime(std::vector<uint8_t> {3, 2, 2}, 3));
    // 7 eighths = 3.5 beats, 7 steps of 0.5.
    EXPECT_FLOAT_EQ(patterns[0].mEvs.mLength, 3.5f);
    ASSERT_EQ(patterns[0].mEvs.size(), 2u);
    // A bracket joins its pieces: pitch.1 0x13100000 | stroke.s1 0x13010000.
    ExpectNote(patterns[0].mEvs[0], 0.0f, 0.5f, 0x13110000, 105);
    // A name with a blank reaches to the bar line; step 3 * 0.5.
    ExpectNote(patterns[0].mEvs[1], 1.5f, 0.5f, 0x14103500, 80);
    // 12/8: 12 * 0.5 = 6 beats, 12 steps of 0.5; a row without bar lines.
    EXPECT_EQ(patterns[1].mSignTime, CGenSignTime(12, 3));
    EXPECT_FLOAT_EQ(patterns[1].mEvs.mLength, 6.0f);
    ASSERT_EQ(patterns[1].mEvs.size(), 1u);
    ExpectNote(patterns[1].mEvs[0], 5.5f, 0.5f, kKick, 105);
}

TEST(GridPatterns, FillProperties)
{
    const std::vector<CGenPattern> patterns = Parse("pattern tom_run\n"
                                                    "beats = 2\n"
                                                    "tempo = 80-160   # bpm\n"
                                                    "rating = 1\n"
                                                    "target = 0\n"
                                                    "overlay = accents systems\n"
                                                    "info = a run down the toms\n"
                                                    "Drums.Tm.pitch.1 | X x x x | x x x ! |\n");
    ASSERT_EQ(patterns.size(), 1u);
    const CGenPattern& p = patterns[0];
    EXPECT_EQ(p.mTempoBPMRange, CGenRange<float>(80.0f, 160.0f));
    EXPECT_EQ(p.mMainPatternRating, 1.0f);
    EXPECT_EQ(p.mInfo, "a run down the toms");
    EXPECT_EQ(p.PropertyFloatOrUndef(kGenPatternProp_Fill_TargetEndBeatPos), 0.0f);
    // The whole fill: start 0 and no length, which the fill reader takes as
    // "to the fill's end".
    EXPECT_EQ(p.PropertyFloatOrUndef(kGenPatternProp_Fill_OverlayRangeAcStart), 0.0f);
    EXPECT_EQ(p.PropertyFloatOrUndef(kGenPatternProp_Fill_OverlayRangeSyStart), 0.0f);
    EXPECT_TRUE(GenIsUndef(p.PropertyFloatOrUndef(kGenPatternProp_Fill_OverlayRangeAcLength)));
    EXPECT_TRUE(GenIsUndef(p.PropertyFloatOrUndef(kGenPatternProp_Fill_OverlayRangeSyLength)));
    EXPECT_TRUE(GenIsUndef(p.PropertyFloatOrUndef(kGenPatternProp_Fill_OverlayRangePercStart)));
    // What the fill module makes of it: accents and systems over [0, 2], the
    // two beats of the fill; percussion untouched.
    CGenPatternModAndProb el(p);
    CGenCharCreateFill::SetOverlayRangesFromProperties(el, CGenBitmask());
    EXPECT_EQ(el.mOverlayRangeAc.mMin, 0.0f);
    EXPECT_EQ(el.mOverlayRangeAc.mMax, 2.0f);
    EXPECT_EQ(el.mOverlayRangeSy.mMin, 0.0f);
    EXPECT_EQ(el.mOverlayRangeSy.mMax, 2.0f);
    EXPECT_TRUE(GenIsUndef(el.mOverlayRangePerc.mMin));
    // 8 steps of 0.25 from Drums.Tm.pitch.1 (0x13100000); the last at 1.75.
    ASSERT_EQ(p.mEvs.size(), 8u);
    ExpectNote(p.mEvs[7], 1.75f, 0.25f, 0x13100000, 125);
}

TEST(GridPatternErrors, HeaderMistakes)
{
    EXPECT_EQ(GridError("pattern a\n# colours are for later\ncolour = red\nkick | X |\n"),
        "grid.txt:3: unknown header key 'colour'");
    EXPECT_EQ(GridError("pattern a\nsteps = 4\nkick | X . . . |\nbars = 1\n"),
        "grid.txt:4: header line 'bars' after the grid rows of pattern 'a'");
    EXPECT_EQ(GridError("pattern a\nsteps = sixteen\n"), "grid.txt:2: bad number 'sixteen' for steps");
    EXPECT_EQ(GridError("pattern a\nbars = 1.5\n"), "grid.txt:2: bad number '1.5' for bars");
    EXPECT_EQ(GridError("pattern a\nsteps = 0\n"), "grid.txt:2: steps = 0 lies outside 1..4096");
    EXPECT_EQ(GridError("pattern a\ncomplexity = 120\n"), "grid.txt:2: complexity = 120 lies outside 0..100");
    EXPECT_EQ(GridError("pattern a\ntime = 7/9\n"), "grid.txt:2: bad time signature '7/9' (want e.g. 4/4, 7/8, 3+2+2/8)");
    EXPECT_EQ(GridError("pattern a\ntime = four\n"), "grid.txt:2: bad time signature 'four' (want e.g. 4/4, 7/8, 3+2+2/8)");
    EXPECT_EQ(GridError("pattern a\ntempo = 180-60\n"),
        "grid.txt:2: bad tempo range '180-60' (want MIN-MAX in bpm up to 999, e.g. 60-180)");
    EXPECT_EQ(GridError("pattern a\ntempo = 120\n"),
        "grid.txt:2: bad tempo range '120' (want MIN-MAX in bpm up to 999, e.g. 60-180)");
    // Values that parse but would not load again from the library archive
    // (found by fuzzing): a float rating or tempo beyond float range, a metre
    // beyond the archive's 1024 beats, and beats beyond any cell count.
    EXPECT_EQ(GridError("pattern a\ntempo = 1-1e300\n"),
        "grid.txt:2: bad tempo range '1-1e300' (want MIN-MAX in bpm up to 999, e.g. 60-180)");
    EXPECT_EQ(GridError("pattern a\nrating = 1e300\n"), "grid.txt:2: rating = 1e300 lies outside -1e+06 to 1e+06");
    EXPECT_EQ(GridError("pattern a\ntime = 255+255+255+255+255/1\n"),
        "grid.txt:2: time signature '255+255+255+255+255/1' has more than 1024 beats or 64 parts");
    EXPECT_EQ(GridError("pattern a\nbeats = 1e300\n"), "grid.txt:2: beats = 1e300 lies outside 0 to 16384");
    EXPECT_EQ(GridError("pattern a\nsteps = 4\nsteps = 8\n"), "grid.txt:3: 'steps' is given twice in pattern 'a'");
    EXPECT_EQ(GridError("pattern a\nbars = 1\nbeats = 2\n"), "grid.txt:3: bars and beats exclude each other");
    // 4 / 16 = 0.25 a step: 1.1 beats are 4.4 steps.
    EXPECT_EQ(GridError("pattern a\nbeats = 1.1\nkick | X |\n"),
        "grid.txt:2: beats = 1.1 is no whole number of steps of 0.25 beats");
    EXPECT_EQ(GridError("pattern a\noverlay = accents toms\nbars = 1\n"),
        "grid.txt:2: unknown overlay layer 'toms' (accents, systems, percussion)");
    // A 4/4 bar is 4 beats long: a target of 5 lies beyond it.
    EXPECT_EQ(GridError("pattern a\ntarget = 5\nbars = 1\n"), "grid.txt:2: target = 5 lies beyond the bar of 4 beats");
    EXPECT_EQ(GridError("steps = 8\npattern a\n"), "grid.txt:1: 'steps' comes before any pattern line");
    EXPECT_EQ(GridError("pattern a\ntempo 60-180\n"), "grid.txt:2: header line 'tempo' lacks '='");
}

TEST(GridPatternErrors, PatternAndRowMistakes)
{
    EXPECT_EQ(GridError("pattern a\nsteps = 4\ncowbell | X . . . |\n"),
        "grid.txt:3: unknown kit piece or instrument path 'cowbell'");
    EXPECT_EQ(GridError("pattern a\nsteps = 4\nDrums.Xy.note | X . . . |\n"),
        "grid.txt:3: unknown kit piece or instrument path 'Drums.Xy.note'");
    EXPECT_EQ(GridError("pattern a\nsteps = 4\nkick | X q . . |\n"), "grid.txt:3: cell 'q' is not one of . - g p x X !");
    EXPECT_EQ(GridError("pattern a\nsteps = 4\nkick | X \xC2\xB7 . . |\n"),
        "grid.txt:3: cell '\xC2\xB7' is not one of . - g p x X !");
    EXPECT_EQ(GridError("pattern a\nkick | X |\n\npattern a\nkick | X |\n"),
        "grid.txt:4: pattern 'a' is already defined in line 1");
    EXPECT_EQ(GridError("# rows first\nkick | X . |\n"), "grid.txt:2: grid row before any pattern line");
    EXPECT_EQ(GridError("pattern   # unnamed\nkick | X |\n"), "grid.txt:1: pattern without a name");
    EXPECT_EQ(GridError("pattern rock a\n"), "grid.txt:1: pattern name 'rock a' holds a blank");
    EXPECT_EQ(GridError("pattern a\n| X . |\n"), "grid.txt:2: grid row without a kit piece");
    // Without rows only bars or beats give a length; at the end of the file too.
    EXPECT_EQ(GridError("pattern a\npattern b\nbars = 1\n"),
        "grid.txt:1: pattern 'a' has no grid rows and no bars or beats to give its length");
    EXPECT_EQ(GridError("pattern a\nbars = 1\npattern b\n"),
        "grid.txt:3: pattern 'b' has no grid rows and no bars or beats to give its length");
    EXPECT_EQ(GridError("pattern a\nkick | |\n"), "grid.txt:2: row 'kick' holds no cells");
    // 4 steps x 2 bars = 8 cells.
    EXPECT_EQ(GridError("pattern a\nsteps = 4\nbars = 2\nkick | X . . . | X . . |\n"),
        "grid.txt:4: row 'kick' holds 7 cells, expected 8 (4 steps x 2 bars)");
    // beats = 2 at 0.25 a step = 8 cells.
    EXPECT_EQ(GridError("pattern a\nbeats = 2\nkick | X . . . . . . . . |\n"),
        "grid.txt:3: row 'kick' holds 9 cells, expected 8 (2 beats of 16 steps a bar)");
    EXPECT_EQ(GridError("pattern a\nkick | X . . . |\nsnare | . . X |\n"),
        "grid.txt:3: row 'snare' holds 3 cells, expected 4 (as the first row of pattern 'a')");
    EXPECT_EQ(GridError(""), "no error");
    EXPECT_TRUE(Parse("# nothing but comments\n\n").empty());
}

TEST(GridPatternErrors, ErrorCarriesFileAndLine)
{
    try {
        ParseGridPatterns("pattern a\nkick | z |\n", "drums/grooves.grid", Aliases());
        FAIL() << "no error";
    } catch (const TContentError& e) {
        EXPECT_EQ(e.File(), "drums/grooves.grid");
        EXPECT_EQ(e.Line(), 2);
    }
}

// ----- phrases

namespace {

CGenPatternGraphBoost GraphOf(const std::vector<std::string>& names)
{
    CGenPatternGraphBoost graph;
    for (const std::string& name : names)
        graph.AddPattern(CGenPattern(name, CGenEvs(4.0f)));
    return graph;
}

const CGenPatternEdge& EdgeBetween(const CGenPatternGraphBoost& graph, size_t from, size_t to)
{
    static const CGenPatternEdge none;
    const auto [desc, found] = graph.FindEdgeBetween(from, to);
    EXPECT_TRUE(found) << from << " -> " << to;
    return found ? graph.Edge(desc) : none;
}

void ExpectEntry(const CGenProbHist& entry, float probability, const std::vector<int32_t>& history)
{
    EXPECT_FLOAT_EQ(entry.mProbability, probability);
    EXPECT_EQ(entry.mHistory, history);
}

} // namespace

TEST(PhraseTraining, ThreeTimesAThenB)
{
    CGenPatternGraphBoost graph = GraphOf({"a", "b"});
    TrainEdgesFromPhrases("# the phrase repeats\n\na a a b\n", "phrases.txt", graph);
    // a = 0, b = 1. The phrase repeats: ...b | a a a b | a a a b... Its four
    // transitions, each with the patterns before its source (cyclically):
    //   a(0) -> a   histories (a) (b a) (a b a) (a a b a)
    //   a(1) -> a   histories (a) (a a) (b a a) (a b a a)
    //   a(2) -> b   histories (a) (a a) (a a a) (b a a a)
    //   b(3) -> a   histories (b) (a b) (a a b) (a a a b)
    ASSERT_EQ(graph.EdgeCount(), 3u);

    // a -> a: 2 of the 3 transitions from a: 66.67. History (a a) went on
    // to a once and to b once: 50 each; every other history saw one target.
    const CGenPatternEdge& aa = EdgeBetween(graph, 0, 0);
    ASSERT_EQ(aa.size(), 8u);
    ExpectEntry(aa.mProbHists[0], 200.0f / 3, {});
    ExpectEntry(aa.mProbHists[1], 100.0f, {0, 0, 1, 0});
    ExpectEntry(aa.mProbHists[2], 100.0f, {0, 1, 0, 0});
    ExpectEntry(aa.mProbHists[3], 100.0f, {0, 1, 0});
    ExpectEntry(aa.mProbHists[4], 100.0f, {1, 0, 0});
    ExpectEntry(aa.mProbHists[5], 50.0f, {0, 0});
    ExpectEntry(aa.mProbHists[6], 100.0f, {1, 0});
    ExpectEntry(aa.mProbHists[7], 200.0f / 3, {0});

    // a -> b: 1 of 3.
    const CGenPatternEdge& ab = EdgeBetween(graph, 0, 1);
    ASSERT_EQ(ab.size(), 5u);
    ExpectEntry(ab.mProbHists[0], 100.0f / 3, {});
    ExpectEntry(ab.mProbHists[1], 100.0f, {1, 0, 0, 0});
    ExpectEntry(ab.mProbHists[2], 100.0f, {0, 0, 0});
    ExpectEntry(ab.mProbHists[3], 50.0f, {0, 0});
    ExpectEntry(ab.mProbHists[4], 100.0f / 3, {0});

    // b -> a: b is always followed by a.
    const CGenPatternEdge& ba = EdgeBetween(graph, 1, 0);
    ASSERT_EQ(ba.size(), 5u);
    ExpectEntry(ba.mProbHists[0], 100.0f, {});
    ExpectEntry(ba.mProbHists[1], 100.0f, {0, 0, 0, 1});
    ExpectEntry(ba.mProbHists[2], 100.0f, {0, 0, 1});
    ExpectEntry(ba.mProbHists[3], 100.0f, {0, 1});
    ExpectEntry(ba.mProbHists[4], 100.0f, {1});
    EXPECT_FALSE(graph.HasEdgeBetween(1, 1));

    // Generation keeps the out-edges whose history matches longest (read
    // from the end). After "b a a" a -> a matches 3 (its (a b a a) entry up
    // to "b a a"), a -> b only 2 ((a a)): a follows. After "a a a" a -> b has
    // (a a a) itself, 3, while a -> a matches no more than 2: b follows.
    EXPECT_EQ(aa.ProbabilityForHistory(CGenPatternIxs {1, 0, 0}), std::make_pair(100.0f, 3));
    EXPECT_EQ(ab.ProbabilityForHistory(CGenPatternIxs {1, 0, 0}).second, 2);
    EXPECT_EQ(ab.ProbabilityForHistory(CGenPatternIxs {0, 0, 0}), std::make_pair(100.0f, 3));
    EXPECT_EQ(aa.ProbabilityForHistory(CGenPatternIxs {0, 0, 0}).second, 2);
}

TEST(PhraseTraining, EdgesComeInOrderOfTheirEnds)
{
    CGenPatternGraphBoost graph = GraphOf({"a", "b", "c"});
    TrainEdgesFromPhrases("c b a\n", "phrases.txt", graph);
    // c -> b, b -> a, a -> c, added by (source, target): (0,2) (1,0) (2,1).
    ASSERT_EQ(graph.EdgeCount(), 3u);
    EXPECT_EQ(graph.FindEdgeIxBetween(0, 2), 0);
    EXPECT_EQ(graph.FindEdgeIxBetween(1, 0), 1);
    EXPECT_EQ(graph.FindEdgeIxBetween(2, 1), 2);
}

TEST(PhraseTraining, OnePatternPhraseAndCombinedPhrases)
{
    CGenPatternGraphBoost single = GraphOf({"a", "b"});
    TrainEdgesFromPhrases("b\n", "phrases.txt", single);
    // "b" repeats as b b b b ...: one self-edge, every history all b.
    ASSERT_EQ(single.EdgeCount(), 1u);
    const CGenPatternEdge& bb = EdgeBetween(single, 1, 1);
    ASSERT_EQ(bb.size(), 5u);
    ExpectEntry(bb.mProbHists[0], 100.0f, {});
    ExpectEntry(bb.mProbHists[1], 100.0f, {1, 1, 1, 1});
    ExpectEntry(bb.mProbHists[4], 100.0f, {1});

    // "a b" gives a -> b (history b a) and b -> a; "a a" gives a -> a twice
    // (history a a). From a: 1 of 3 to b, 2 of 3 to a.
    CGenPatternGraphBoost graph = GraphOf({"a", "b"});
    TrainEdgesFromPhrases("a b\na a\n", "phrases.txt", graph);
    ASSERT_EQ(graph.EdgeCount(), 3u);
    const CGenPatternEdge& ab = EdgeBetween(graph, 0, 1);
    EXPECT_FLOAT_EQ(ab.mProbHists.at(0).mProbability, 100.0f / 3);
    EXPECT_TRUE(ab.mProbHists.at(0).mHistory.empty());
    ASSERT_NE(ab.FindProbHistWithHist(CGenPatternIxs {1, 0}), ab.mProbHists.end());
    EXPECT_FLOAT_EQ(ab.FindProbHistWithHist(CGenPatternIxs {1, 0})->mProbability, 100.0f);
    const CGenPatternEdge& aa = EdgeBetween(graph, 0, 0);
    EXPECT_FLOAT_EQ(aa.mProbHists.at(0).mProbability, 200.0f / 3);
    EXPECT_EQ(aa.FindProbHistWithHist(CGenPatternIxs {1, 0}), aa.mProbHists.end());
    EXPECT_FLOAT_EQ(aa.FindProbHistWithHist(CGenPatternIxs {0, 0})->mProbability, 100.0f);
    EXPECT_FLOAT_EQ(EdgeBetween(graph, 1, 0).mProbHists.at(0).mProbability, 100.0f);

}

TEST(PhraseTraining, SecondFileThroughTrainedPatterns)
{
    CGenPatternGraphBoost graph = GraphOf({"a", "b", "c", "d"});
    TrainEdgesFromPhrases("a b\n", "one.txt", graph);
    ASSERT_EQ(graph.EdgeCount(), 2u);
    // Patterns without edges yet may be trained by another file.
    TrainEdgesFromPhrases("c d d\n", "two.txt", graph);
    EXPECT_EQ(graph.EdgeCount(), 5u); // c -> d, d -> d, d -> c
    // c, d and b all lead somewhere already: their probabilities would no
    // longer add up. The error names the earliest line, c in line 1.
    try {
        TrainEdgesFromPhrases("c\n\nd b\n", "three.txt", graph);
        FAIL() << "no error";
    } catch (const TContentError& e) {
        EXPECT_STREQ(e.what(), "three.txt:1: pattern 'c' already has edges from another phrases file; "
                               "give all phrases through it in one file");
    }
    EXPECT_EQ(graph.EdgeCount(), 5u);
    // Here only b clashes (c is new), first met in line 3; nothing is added.
    CGenPatternGraphBoost fresh = GraphOf({"a", "b", "c"});
    TrainEdgesFromPhrases("a b\n", "one.txt", fresh);
    try {
        TrainEdgesFromPhrases("c\n# b again\nc b\n", "two.txt", fresh);
        FAIL() << "no error";
    } catch (const TContentError& e) {
        EXPECT_STREQ(e.what(), "two.txt:3: pattern 'b' already has edges from another phrases file; "
                               "give all phrases through it in one file");
    }
    EXPECT_EQ(fresh.EdgeCount(), 2u);
    EXPECT_FALSE(fresh.HasEdgeBetween(2, 2));
}

TEST(PhraseTraining, UnknownPatternName)
{
    CGenPatternGraphBoost graph = GraphOf({"a", "b"});
    try {
        TrainEdgesFromPhrases("a b\n# more\n\na zz b\n", "phrases.txt", graph);
        FAIL() << "no error";
    } catch (const TContentError& e) {
        EXPECT_STREQ(e.what(), "phrases.txt:4: unknown pattern 'zz'");
        EXPECT_EQ(e.Line(), 4);
    }
    // Nothing was added before the mistake was found.
    EXPECT_EQ(graph.EdgeCount(), 0u);
    // Comments and blank lines alone train nothing.
    TrainEdgesFromPhrases("# none\n\n", "phrases.txt", graph);
    EXPECT_EQ(graph.EdgeCount(), 0u);
}
