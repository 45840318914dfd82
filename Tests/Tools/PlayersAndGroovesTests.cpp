// The content compiler beyond the drummer: a bass player (and keys) built
// from pitched grids into libraries of their own, checked again after a
// save and load; the genre's grooves from their shorthand and as played,
// with every mistake's line; and the demo library's bass player and grooves.
#include "content/ContentCompiler.h"
#include "content/ContentError.h"
#include "Tools/ContentTestSupport.h"

#include "TestSupport/TempDir.h"

#include <Generator/CGenEv.h>
#include <Generator/CGenGenerator.h>
#include <Generator/CGenTypes.h>
#include <Generator/library/CGenGenreLib.h>
#include <Generator/library/CGenInstLib.h>
#include <Generator/patterns/CGenPattern.h>
#include <Generator/patterns/CGenPatternEdge.h>
#include <Generator/patterns/CGenPatternGraphBoost.h>
#include <Generator/shaping/CGenGroove.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using zkgen::cli::BuildContentBundle;
using zkgen::cli::CompileContent;
using zkgen::cli::TContentError;

using zkgtest::CompileError;
using zkgtest::ExpectAbstractNote;
using zkgtest::ManifestError;
using zkgtest::WriteFile;

namespace {

namespace fs = std::filesystem;

std::string MinimalStyle(const std::string& name, const std::string& id)
{
    return "name = \"" + name + "\"\nid = \"" + id + "\"\n\n[graphs.accent-family]\nmodules = [\n"
        "  { key = \"provider\", class = \"PatternProbProvider\" },\n"
        "  { key = \"consumer\", class = \"PatternProbConsumer\" },\n]\n"
        "connections = [\"provider.outputPatterns -> consumer.inputPatterns\"]\n";
}

const char* const kManifest = "genre = \"G\"\n"                            // 1
                              "\n"                                         // 2
                              "[drums]\n"                                  // 3
                              "styles = [\"drums/style.toml\"]\n"          // 4
                              "\n"                                         // 5
                              "[bass]\n"                                   // 6
                              "accent-families = [\"bass/lines.grid\"]\n"  // 7
                              "fills = \"bass/fills.grid\"\n"              // 8
                              "styles = [\"bass/style.toml\"]\n"           // 9
                              "range = \"E1-G3\"\n"                         // 10
                              "root-range = \"F1-E2\"\n"                    // 11
                              "\n"                                         // 12
                              "[bass.phrases]\n"                           // 13
                              "accent-families = \"bass/lines.phrases\"\n"; // 14

const char* const kLines = "pattern root.1\n"
                           "steps = 4\n"
                           "group = 0\n"
                           "{1} | x = = . |\n"
                           "\n"
                           "pattern root.2\n"
                           "steps = 4\n"
                           "group = 0\n"
                           "{1}       | x = . . |\n"
                           "{n1[c-1]} | . . p = |\n";

void WriteBassLibrary(const fs::path& root)
{
    WriteFile(root, "library.toml", kManifest);
    WriteFile(root, "drums/style.toml", MinimalStyle("Drummer", "d-1"));
    WriteFile(root, "bass/lines.grid", kLines);
    WriteFile(root, "bass/fills.grid", "pattern run\nsteps = 4\n{5} | X x x x |\n");
    WriteFile(root, "bass/lines.phrases", "root.1 root.2\n");
    WriteFile(root, "bass/style.toml", MinimalStyle("Bassist", "b-1"));
}

// What WriteBassLibrary gives, compiled or read back from its bundle.
void ExpectBassLibrary(const CGenGenreLib& genre)
{
    ASSERT_EQ(genre.mInstLibs.size(), 2u);
    EXPECT_EQ(genre.mInstLibs[0].mInstType, TGenInstType_Drums);
    EXPECT_EQ(genre.mInstLibs[0].mStyles.at(0).Name(), "Drummer");
    const CGenInstLib* bass = genre.FindInstLib(TGenInstType_Bass);
    ASSERT_NE(bass, nullptr);
    EXPECT_EQ(bass, &genre.mInstLibs[1]);
    EXPECT_FALSE(bass->mContainsUidEvents);
    EXPECT_TRUE(bass->mContainsAbstractNoteEvs);
    ASSERT_EQ(bass->mStyles.size(), 1u);
    EXPECT_EQ(bass->mStyles[0].Name(), "Bassist");
    EXPECT_EQ(bass->mStyles[0].UniqueID(), "b-1");

    const CGenPatternGraphBoost& lines = bass->PatternGraph(TPatternGraphType_AccentFamily);
    ASSERT_EQ(lines.PatternCount(), 2u);
    const CGenPattern& first = lines.PatternAtIx(lines.FindPatternWithName("root.1"));
    const CGenPattern& second = lines.PatternAtIx(lines.FindPatternWithName("root.2"));
    // 4 steps of 1 beat: x = = is 3 beats; x = 2 beats; p = from step 2.
    ASSERT_EQ(first.mEvs.size(), 1u);
    ExpectAbstractNote(first.mEvs[0], 0.0f, 3.0f, "{1}", 80);
    EXPECT_EQ(first.mEvs[0].NoteGroupID(), 0);
    ASSERT_EQ(second.mEvs.size(), 2u);
    ExpectAbstractNote(second.mEvs[0], 0.0f, 2.0f, "{1}", 80);
    ExpectAbstractNote(second.mEvs[1], 2.0f, 2.0f, "{n1[c-1]}", 55);
    EXPECT_EQ(second.mEvs[1].NoteGroupID(), 0);
    // The player's ranges, which every generation starts from: E1 = 28,
    // G3 = 55, F1 = 29, E2 = 40 (C4 = 60); the preference stays the bass's.
    const TConcretizeRange& r = bass->mConcretizer.mDefaultConcretizeRange;
    EXPECT_EQ(r.mMinNoteNr, 28);
    EXPECT_EQ(r.mMaxNoteNr, 55);
    EXPECT_EQ(r.mPatternRootMinNoteNr, 29);
    EXPECT_EQ(r.mPatternRootMaxNoteNr, 40);
    EXPECT_EQ(bass->mConcretizer.mConcretizeRange, r);
    // "root.1 root.2" repeats: each leads to the other, always.
    EXPECT_EQ(lines.EdgeCount(), 2u);
    const auto [edge, found] = lines.FindEdgeBetween(0, 1);
    ASSERT_TRUE(found);
    EXPECT_FLOAT_EQ(lines.Edge(edge).mProbHists.at(0).mProbability, 100.0f);

    const CGenPatternGraphBoost& fills = bass->PatternGraph(TPatternGraphType_Fill);
    ASSERT_EQ(fills.PatternCount(), 1u);
    ASSERT_EQ(fills.PatternAtIx(0).mEvs.size(), 4u);
    ExpectAbstractNote(fills.PatternAtIx(0).mEvs[3], 3.0f, 1.0f, "{5}", 80);
    EXPECT_EQ(bass->PatternGraph(TPatternGraphType_System).PatternCount(), 0u);
}

void ExpectElement(const CGenGrooveEl& el, float source, float end, float target, int velocity)
{
    EXPECT_FLOAT_EQ(el.mSourceBeatRange.mMin, source);
    EXPECT_FLOAT_EQ(el.mSourceBeatRange.mMax, end);
    EXPECT_FLOAT_EQ(el.mTargetBeatPos, target);
    EXPECT_EQ(el.mVelocity, velocity);
}

// A manifest of grooves alone; the mistake of a groove is told at its line.
std::string GrooveError(const std::string& grooves)
{
    return ManifestError("genre = \"G\"\n" + grooves);
}

const CGenGrooves& CompiledGrooves(CGenGenerator& generator, const std::string& grooves)
{
    zkgtest::TempDir dir("zkgen_players");
    WriteFile(dir.Path(), "library.toml", "genre = \"G\"\n" + grooves);
    CompileContent(dir.Path().string(), generator);
    return generator.GenreLibs().front().mGrooves;
}

} // namespace

// ----- players

TEST(ContentPlayers, BassLibraryCompiled)
{
    zkgtest::TempDir dir("zkgen_players");
    WriteBassLibrary(dir.Path());
    CGenGenerator generator;
    CompileContent(dir.Path().string(), generator);
    ASSERT_EQ(generator.GenreLibs().size(), 1u);
    ExpectBassLibrary(generator.GenreLibs().front());
}

// Ranges belong to the players of notes, and are note ranges.
TEST(ContentPlayers, NoteRangesInTheManifest)
{
    EXPECT_EQ(ManifestError("[drums]\nrange = \"E1-G3\"\n"),
        "library.toml:2: 'range' belongs to the players of notes (bass, keys, guitar), not to drums");
    EXPECT_EQ(ManifestError("[bass]\nroot-range = \"E2-E1\"\n"),
        "library.toml:2: root-range of bass: 'E2-E1' runs downwards; give the lower note first");
    EXPECT_EQ(ManifestError("[keys]\nrange = \"C3\"\n"),
        "library.toml:2: range of keys: 'C3' is no note range (want LOW-HIGH, e.g. E1-G3 with C4 = 60)");
}

TEST(ContentPlayers, BassLibraryThroughABundle)
{
    zkgtest::TempDir dir("zkgen_players");
    WriteBassLibrary(dir.Path() / "src");
    const fs::path bundle = dir.Path() / "Bass.glibb";
    std::string error;
    ASSERT_TRUE(BuildContentBundle((dir.Path() / "src").string(), bundle.string(), error)) << error;
    // Both players' styles have their files in the bundle's one folder.
    EXPECT_TRUE(fs::exists(bundle / "StyleGraphs" / "Drummer - d-1.style"));
    EXPECT_TRUE(fs::exists(bundle / "StyleGraphs" / "Bassist - b-1.style"));

    CGenGenerator loaded;
    ASSERT_TRUE(loaded.LoadFromURL(bundle));
    ASSERT_EQ(loaded.GenreLibs().size(), 1u);
    ExpectBassLibrary(loaded.GenreLibs().front());
    std::string report;
    EXPECT_TRUE(loaded.CheckContentSanity(report)) << report;
}

TEST(ContentPlayers, KeysAndGuitarTakeTheSamePath)
{
    zkgtest::TempDir dir("zkgen_players");
    WriteFile(dir.Path(), "library.toml",
        "[guitar]\nsystems = \"g.grid\"\n[keys]\naccent-families = \"k.grid\"\n");
    WriteFile(dir.Path(), "k.grid", "pattern chord\nsteps = 1\n{1} | x |\n{3} | x |\n{5} | x |\n");
    WriteFile(dir.Path(), "g.grid", "pattern strum\nsteps = 2\n{5} | x x |\n");
    CGenGenerator generator;
    CompileContent(dir.Path().string(), generator);
    const CGenGenreLib& genre = generator.GenreLibs().front();
    // Drums from the default genre, then the players in the order drums,
    // bass, keys, guitar, whatever the manifest's order.
    ASSERT_EQ(genre.mInstLibs.size(), 3u);
    EXPECT_EQ(genre.mInstLibs[1].mInstType, TGenInstType_KeysA);
    EXPECT_EQ(genre.mInstLibs[2].mInstType, TGenInstType_GuitarA);
    const CGenPattern& chord = genre.mInstLibs[1].PatternGraph(TPatternGraphType_AccentFamily).PatternAtIx(0);
    // Three notes at 0, each the whole 4-beat bar.
    ASSERT_EQ(chord.mEvs.size(), 3u);
    for (const CGenEv& ev : chord.mEvs)
        EXPECT_FLOAT_EQ(ev.mBeatLength, 4.0f);
    EXPECT_TRUE(genre.mInstLibs[2].mContainsAbstractNoteEvs);
    EXPECT_EQ(genre.mInstLibs[2].PatternGraph(TPatternGraphType_System).PatternCount(), 1u);
    // No styles given: none (a default would share the drummer's file name).
    EXPECT_TRUE(genre.mInstLibs[2].mStyles.empty());
}

TEST(ContentPlayersErrors, ManifestAndGrids)
{
    EXPECT_EQ(ManifestError("bass = 3\n"), "library.toml:1: bass must be a table");
    EXPECT_EQ(ManifestError("[keys]\nsystems = []\nloops = 1\n"), "library.toml:3: unknown key 'loops' in keys");

    zkgtest::TempDir dir("zkgen_players");
    WriteBassLibrary(dir.Path());
    // A drum row in a bass grid is no abstract note.
    WriteFile(dir.Path(), "bass/fills.grid", "pattern run\nsteps = 4\nkick | X x x x |\n");
    EXPECT_EQ(CompileError(dir.Path()), "bass/fills.grid:3: 'kick' is no abstract note (want e.g. {1}, {5}, {n1}, "
                                        "{1[+1]}, {n1[c-1]})");
    // One style id for two players: their files would clash.
    WriteBassLibrary(dir.Path());
    WriteFile(dir.Path(), "bass/style.toml", MinimalStyle("Bassist", "d-1"));
    EXPECT_EQ(CompileError(dir.Path()), "library.toml:9: style id 'd-1' of 'bass/style.toml' is used twice");
    // Phrases name the bass's own patterns.
    WriteBassLibrary(dir.Path());
    WriteFile(dir.Path(), "bass/lines.phrases", "root.1 root.3\n");
    EXPECT_EQ(CompileError(dir.Path()), "bass/lines.phrases:1: unknown pattern 'root.3'");
}

// ----- grooves

TEST(ContentGrooves, ShorthandAndElementsAsPlayed)
{
    CGenGenerator generator;
    const CGenGrooves& grooves = CompiledGrooves(generator,
        "[[grooves]]\n"
        "name = \"swing\"\n"
        "tracks = [\n"
        "  { type = \"All\", grid = 0.5, swing = 0.6 },\n"
        "  { type = \"Bass\", grid = 0.25, swing = 0.6, shift = -0.02, velocities = [100, 70] },\n"
        "]\n"
        "\n"
        "[[grooves]]\n"
        "name = \"played\"\n"
        "[[grooves.tracks]]\n"
        "type = \"Kick\"\n"
        "length = 4\n"
        "elements = [\n"
        "  { source = 0, target = -0.01, velocity = 118 },\n"
        "  { source = 1.5, end = 1.75, target = 1.52 },\n"
        "  { source = 2, target = 2 },\n"
        "]\n"
        "[[grooves.tracks]]\n"
        "type = \"System (cymbals)\"\n"
        "shift = 0.01\n");
    ASSERT_EQ(grooves.size(), 2u);
    const CGenGroove& swing = grooves[0];
    EXPECT_EQ(swing.mName, "swing");
    ASSERT_EQ(swing.size(), 2u);

    // Eighths over the default loop of 1 beat: steps at 0 and 0.5, each
    // capturing up to the next; the off-beat moves to 0.6 * 1.0 = 0.6.
    const CGenGrooveTrack& all = swing[0];
    EXPECT_EQ(all.mType, CGenGrooveTrack::TType_All);
    EXPECT_FLOAT_EQ(all.mBeatLength, 1.0f);
    ASSERT_EQ(all.size(), 2u);
    ExpectElement(all[0], 0.0f, 0.5f, 0.0f, 255);
    ExpectElement(all[1], 0.5f, 1.0f, 0.6f, 255);

    // Sixteenths: 0.25 -> 0.5 * 0.6 = 0.3, 0.75 -> 0.5 + 0.3 = 0.8; all 0.02
    // early; velocities 100, 70 repeated.
    const CGenGrooveTrack& bass = swing[1];
    EXPECT_EQ(bass.mType, CGenGrooveTrack::TType_Bass);
    ASSERT_EQ(bass.size(), 4u);
    ExpectElement(bass[0], 0.0f, 0.25f, -0.02f, 100);
    ExpectElement(bass[1], 0.25f, 0.5f, 0.28f, 70);
    ExpectElement(bass[2], 0.5f, 0.75f, 0.48f, 100);
    ExpectElement(bass[3], 0.75f, 1.0f, 0.78f, 70);

    // As written; an end not given reaches to the next source, the last
    // one's to the loop's end, 4.
    const CGenGroove& played = grooves[1];
    ASSERT_EQ(played.size(), 2u);
    const CGenGrooveTrack& kick = played[0];
    EXPECT_EQ(kick.mType, CGenGrooveTrack::TType_Kick);
    EXPECT_FLOAT_EQ(kick.mBeatLength, 4.0f);
    ASSERT_EQ(kick.size(), 3u);
    ExpectElement(kick[0], 0.0f, 1.5f, -0.01f, 118);
    ExpectElement(kick[1], 1.5f, 1.75f, 1.52f, 255);
    ExpectElement(kick[2], 2.0f, 4.0f, 2.0f, 255);

    // A shift alone: the default grid of 0.25 over 1 beat, all 0.01 late.
    const CGenGrooveTrack& cymbals = played[1];
    EXPECT_EQ(cymbals.mType, CGenGrooveTrack::TType_SystemCymbals);
    ASSERT_EQ(cymbals.size(), 4u);
    ExpectElement(cymbals[0], 0.0f, 0.25f, 0.01f, 255);
    ExpectElement(cymbals[3], 0.75f, 1.0f, 0.76f, 255);
}

TEST(ContentGroovesErrors, GroovesAndTracks)
{
    EXPECT_EQ(GrooveError("grooves = 3\n"), "library.toml:2: grooves must be an array of tables ([[grooves]])");
    EXPECT_EQ(GrooveError("[[grooves]]\ntracks = [{ type = \"All\" }]\n"),
        "library.toml:2: a groove needs a name (name = \"...\")");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\n"), "library.toml:2: groove 'a' needs tracks = [{ type = \"All\", ... }]");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\ntracks = []\n"),
        "library.toml:4: groove 'a' needs tracks = [{ type = \"All\", ... }]");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\nswing = 0.6\n"),
        "library.toml:4: unknown key 'swing' in a groove; it knows name and tracks");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\ntracks = [{ type = \"All\" }]\n"
                          "[[grooves]]\nname = \"a\"\ntracks = [{ type = \"All\" }]\n"),
        "library.toml:5: groove 'a' is named twice");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\ntracks = [{ type = \"Cowbell\" }]\n"),
        "library.toml:4: unknown track type of groove 'a' (one of All, AccentAndFillFoot, AccentAndFillHand, "
        "SystemFoot, SystemHand, Kick, Snare, Toms, System (all), System (cymbals), System (non-cymbals), Other "
        "events, Bass, Percussion, Guitar, Key (all), Key (LH), Key (RH), Percussion Track 1, Percussion Track 2)");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\ntracks = [{ grid = 0.5 }]\n"),
        "library.toml:4: a track of groove 'a' needs a type (type = \"All\")");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\ntracks = [\n{ type = \"Kick\" },\n{ type = \"Kick\" }]\n"),
        "library.toml:6: a second 'Kick' track of groove 'a'");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\ntracks = [{ type = \"All\", feel = 1 }]\n"),
        "library.toml:4: unknown key 'feel' in a track of groove 'a'; it knows type, length, elements, grid, swing, "
        "shift and velocities");
    EXPECT_EQ(GrooveError("[[grooves]]\nname = \"a\"\ntracks = [{ type = \"All\", length = 0 }]\n"),
        "library.toml:4: length = 0 in the 'All' track of groove 'a' lies outside 0 to 256 beats");
}

TEST(ContentGroovesErrors, Shorthand)
{
    const auto track = [](const std::string& keys) {
        return GrooveError("[[grooves]]\nname = \"a\"\ntracks = [\n{ type = \"All\", " + keys + " }]\n");
    };
    const std::string in = " in the 'All' track of groove 'a'";
    EXPECT_EQ(track("swing = 0.6"), "library.toml:5: swing" + in + " needs grid = 0.5 (eighths) or 0.25 (sixteenths)");
    EXPECT_EQ(track("grid = 0.5, swing = 0.4"), "library.toml:5: swing = 0.4" + in + " lies outside 0.5 (straight) to 1");
    EXPECT_EQ(track("grid = 0.5, swing = 1"), "library.toml:5: swing = 1" + in + " lies outside 0.5 (straight) to 1");
    // 1.5 beats of eighths are 3 steps: no pairs.
    EXPECT_EQ(track("length = 1.5, grid = 0.5, swing = 0.6"),
        "library.toml:5: swing" + in + " pairs the grid's steps, and the loop holds 3 of them");
    EXPECT_EQ(track("grid = 0.3"), "library.toml:5: grid = 0.3" + in + " does not divide its loop of 1 beats");
    EXPECT_EQ(track("grid = 2"), "library.toml:5: grid = 2" + in + " lies outside 0.015625 to the loop's 1 beats");
    // Half of the default grid 0.25 is 0.125.
    EXPECT_EQ(track("shift = 0.125"), "library.toml:5: shift = 0.125" + in + " is half a grid step or more");
    EXPECT_EQ(track("shift = \"late\""), "library.toml:5: shift" + in + " must be a number");
    EXPECT_EQ(track("velocities = [100, 128]"),
        "library.toml:5: a velocity" + in + " must be a whole number 0 to 127");
    // 4 sixteenths, 3 velocities.
    EXPECT_EQ(track("velocities = [100, 80, 90]"),
        "library.toml:5: 3 velocities" + in + " do not divide the loop's 4 steps");
    EXPECT_EQ(track("velocities = []"), "library.toml:5: velocities" + in + " must be a list of velocities 0 to 127");
}

TEST(ContentGroovesErrors, Elements)
{
    const auto elements = [](const std::string& list, const std::string& more = "") {
        return GrooveError("[[grooves]]\nname = \"a\"\n[[grooves.tracks]]\ntype = \"Snare\"\nlength = 2\n" + more
            + "elements = [\n" + list + "]\n");
    };
    const std::string in = " in the 'Snare' track of groove 'a'";
    // Line 7 holds "elements = [" when nothing more comes before it.
    EXPECT_EQ(elements("{ source = 0, target = 0 },\n", "grid = 0.5\n"),
        "library.toml:7: grid" + in + " belongs to the grid shorthand; a track takes elements or the shorthand");
    EXPECT_EQ(elements(""), "library.toml:7: elements" + in + " must be a list of { source = ..., target = ... }");
    EXPECT_EQ(elements("{ source = 0 },\n"), "library.toml:8: an element" + in + " needs a source and a target");
    EXPECT_EQ(elements("{ source = 0, target = 0, at = 1 },\n"),
        "library.toml:8: unknown key 'at' in an element" + in + "; it knows source, end, target and velocity");
    EXPECT_EQ(elements("{ source = 2, target = 2 },\n"),
        "library.toml:8: source 2" + in + " lies outside its loop of 2 beats");
    EXPECT_EQ(elements("{ source = 1, target = 1 },\n{ source = 0.5, target = 0.5 },\n"),
        "library.toml:9: source 0.5" + in + " does not follow the element before it");
    EXPECT_EQ(elements("{ source = 1, target = 1 },\n{ source = 1, target = 1 },\n"),
        "library.toml:9: source 1" + in + " does not follow the element before it");
    EXPECT_EQ(elements("{ source = 0.5, end = 0.25, target = 0.5 },\n"),
        "library.toml:8: end 0.25" + in + " lies outside source 0.5 to the loop's end 2");
    EXPECT_EQ(elements("{ source = 0, target = 2 },\n"), "library.toml:8: target 2" + in + " lies a whole loop from its source");
    EXPECT_EQ(elements("{ source = 0, target = 0, velocity = 255 },\n"),
        "library.toml:8: velocity" + in + " must be a whole number 0 to 127");
    EXPECT_EQ(elements("3,\n"), "library.toml:8: an element" + in + " must be a table { source = ..., target = ... }");
}

// ----- the demo library

TEST(ContentPlayers, DemoBassPlayerAndGrooves)
{
    CGenGenerator generator;
    CompileContent(ZKGEN_SOURCE_DIR "/Content/Demo", generator);
    const CGenGenreLib& genre = generator.GenreLibs().front();
    const CGenInstLib* bass = genre.FindInstLib(TGenInstType_Bass);
    ASSERT_NE(bass, nullptr);
    ASSERT_EQ(bass->mStyles.size(), 1u);
    EXPECT_EQ(bass->mStyles[0].UniqueID(), "zkgen-demo-bass-1");
    // E1 = 28 to G3 = 55, roots F1 = 29 to E2 = 40 (C4 = 60).
    const TConcretizeRange& r = bass->mConcretizer.mDefaultConcretizeRange;
    EXPECT_EQ(r.mMinNoteNr, 28);
    EXPECT_EQ(r.mMaxNoteNr, 55);
    EXPECT_EQ(r.mPatternRootMinNoteNr, 29);
    EXPECT_EQ(r.mPatternRootMaxNoteNr, 40);
    const CGenPatternGraphBoost& lines = bass->PatternGraph(TPatternGraphType_AccentFamily);
    // Nine four-bar phrases: 36 patterns, each leading to one next bar.
    ASSERT_EQ(lines.PatternCount(), 36u);
    EXPECT_EQ(lines.EdgeCount(), 36u);
    for (size_t i = 0; i < lines.PatternCount(); ++i) {
        const CGenPattern& p = lines.PatternAtIx(i);
        // Every line starts on the root on beat 1, so that the change is
        // heard, and keeps all notes in group 0.
        ASSERT_FALSE(p.mEvs.empty()) << p.mName;
        EXPECT_EQ(p.mEvs[0].mBeatPos, 0.0f) << p.mName;
        EXPECT_EQ(p.mEvs[0].AbstractNoteConst().ToString(), "{1}") << p.mName;
        EXPECT_FLOAT_EQ(p.mEvs.mLength, 4.0f) << p.mName;
        for (const CGenEv& ev : p.mEvs) {
            EXPECT_EQ(ev.NoteGroupID(), 0) << p.mName;
        }
    }

    ASSERT_EQ(genre.mGrooves.size(), 6u);
    const std::vector<std::string> names = {"straight", "swing 8ths", "swing 16ths", "shuffle", "laid back", "pushed"};
    for (size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(genre.mGrooves[i].mName, names[i]);
    std::string report;
    EXPECT_TRUE(genre.mGrooves.CheckContentSanity("", report)) << report;
    // Shuffle: the off-beat eighth at 2 * 0.5 * 0.667 = 0.667, the beat
    // louder than its off-beat.
    const CGenGrooveTrack& shuffle = *genre.mGrooves[3].TrackForType(CGenGrooveTrack::TType_All);
    ASSERT_EQ(shuffle.size(), 2u);
    ExpectElement(shuffle[0], 0.0f, 0.5f, 0.0f, 112);
    ExpectElement(shuffle[1], 0.5f, 1.0f, 0.667f, 84);
    // Laid back: the kick on time, the snare 0.03 late.
    const CGenGroove& laidBack = genre.mGrooves[4];
    EXPECT_FLOAT_EQ(laidBack.TrackForType(CGenGrooveTrack::TType_Kick)->at(1).TimeShift(), 0.0f);
    EXPECT_FLOAT_EQ(laidBack.TrackForType(CGenGrooveTrack::TType_Snare)->at(1).TimeShift(), 0.03f);
    // Pushed: kick and snare early.
    const CGenGroove& pushed = genre.mGrooves[5];
    EXPECT_LT(pushed.TrackForType(CGenGrooveTrack::TType_Kick)->at(0).TimeShift(), 0.0f);
    EXPECT_LT(pushed.TrackForType(CGenGrooveTrack::TType_Snare)->at(0).TimeShift(), 0.0f);
}
