// The content compiler: each kind of mistake in a source folder with its file
// and line, a small library compiled and checked through the engine (again
// after a save and load), repeatable bytes, and what a build does to the
// folder it writes.
#include "content/ContentCompiler.h"
#include "content/ContentError.h"
#include "Tools/ContentTestSupport.h"

#include "TestSupport/TempDir.h"

#include <Generator/CGenGenerator.h>
#include <Generator/CGenTypes.h>
#include <Generator/instruments/CGenDrumMap.h>
#include <Generator/library/CGenGenreLib.h>
#include <Generator/library/CGenInstLib.h>
#include <Generator/patterns/CGenPattern.h>
#include <Generator/patterns/CGenPatternEdge.h>
#include <Generator/patterns/CGenPatternGraphBoost.h>
#include <Generator/stylegraph/CGenGFModule.h>
#include <Generator/stylegraph/CGenGFModuleMultiplexer.h>
#include <Generator/stylegraph/CGenGFModuleStringSwitch.h>
#include <Generator/stylegraph/CGenGFPortPatternAndProbs.h>
#include <Generator/stylegraph/CGenStyle.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using zkgen::cli::BuildContentBundle;
using zkgen::cli::CompileContent;
using zkgen::cli::TContentError;

using zkgtest::CompileError;
using zkgtest::ManifestError;
using zkgtest::WriteFile;

namespace {

namespace fs = std::filesystem;

std::string ReadBytes(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::ostringstream os;
    os << in.rdbuf();
    return os.str();
}

// Every entry below `root` by relative path: a file with its bytes, a
// folder as "path/" with nothing.
std::map<std::string, std::string> TreeOf(const fs::path& root)
{
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string relative = fs::relative(entry.path(), root).string();
        if (entry.is_directory())
            tree[relative + "/"] = "";
        else
            tree[relative] = ReadBytes(entry.path());
    }
    return tree;
}

std::vector<std::string> NamesOf(const std::map<std::string, std::string>& tree)
{
    std::vector<std::string> names;
    for (const auto& [name, bytes] : tree)
        names.push_back(name);
    return names;
}

// Names in `folder` a build works with beside its bundle.
std::vector<std::string> BuildLeftovers(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.size() >= 9 && (name.ends_with(".building") || name.ends_with(".previous")))
            names.push_back(fs::relative(entry.path(), folder).string());
    }
    return names;
}

// A style file "s.toml" as the only source besides its manifest.
std::string StyleError(const std::string& style)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteFile(dir.Path(), "library.toml", "[drums]\nstyles = [\"s.toml\"]\n");
    WriteFile(dir.Path(), "s.toml", style);
    return CompileError(dir.Path());
}

// The head of a style file: lines 1 to 3.
const char* const kStyleHead = "name = \"S\"\n"
                               "id = \"s-1\"\n"
                               "\n";

std::string Style(const std::string& rest)
{
    return std::string(kStyleHead) + rest;
}

CGenInstLib& Drums(CGenGenerator& generator)
{
    return *generator.GenreLibs().front().FindInstLib(TGenInstType_Drums);
}

// ----- a small library

const char* const kManifest = "# A small library for the compiler's tests.\n"
                              "genre = \"Test Genre\"\n"
                              "\n"
                              "[kit]\n"
                              "kick = \"Drums.Ki.note.s1\"\n"
                              "snare = \"Drums.Sn.note.nrm.stroke.s1\"\n"
                              "hh = \"Drums.Hh.note.hit.move.static.open.o1\"\n"
                              "\n"
                              "[drum-map]\n"
                              "HiHatOpen = 26\n"
                              "\n"
                              "[drums]\n"
                              "accent-families = [\"drums/families.grid\"]\n"
                              "systems = \"drums/systems.grid\"\n"
                              "fills = [\"drums/fills.grid\"]\n"
                              "styles = [\"drums/style.toml\"]\n"
                              "\n"
                              "[drums.phrases]\n"
                              "accent-families = \"drums/families.phrases\"\n";

const char* const kFamilies = "pattern famA\n"
                              "steps = 8\n"
                              "complexity = 20\n"
                              "intensity = 30\n"
                              "kick  | X . . . x . . . |\n"
                              "snare | . . X . . . X . |\n" // line 6
                              "\n"
                              "pattern famB\n"
                              "steps = 8\n"
                              "complexity = 60\n"
                              "intensity = 70\n"
                              "kick  | X . x . x . . x |\n"
                              "snare | . . X . . . X ! |\n";

const char* const kSystems = "pattern hats\n"
                             "steps = 8\n"
                             "hh | x x x x x x x x |\n";

const char* const kFills = "pattern fillSnare\n"
                           "steps = 8\n"
                           "target = 4\n"
                           "overlay = accents systems\n"
                           "snare | . . . . x x X ! |\n";

const char* const kStyle = "name = \"Test Style\"\n"
                           "id = \"test-style-1\"\n"
                           "\n"
                           "[graphs.accent-family]\n"
                           "modules = [\n"
                           "  { key = \"provider\", class = \"CGenGFModulePatternProbProvider\" },\n"
                           "  { key = \"coord\", class = \"ContextComplIntn\" },\n"
                           "  { key = \"band\", class = \"ValueSwitch\", ranges = [[\"none\", 33], [33, 66], [66, 100]] },\n"
                           "  { key = \"byBand\", class = \"Multiplexer\", port-class = \"CGenGFPortPatternAndProbs\", "
                           "inputs-count = 4 },\n"
                           "  { key = \"part\", class = \"ContextCurrentArrangePartName\" },\n"
                           "  { key = \"ending\", class = \"StringSwitch\", bins = [[\" end$\"]], regex = true },\n"
                           "  { key = \"picker\", class = \"RandomPatternPicker\" },\n"
                           "  { key = \"consumer\", class = \"PatternProbConsumer\" },\n"
                           "]\n"
                           "connections = [\n"
                           "  \"provider.outputPatterns -> band.inputPatterns\",\n"
                           "  \"coord.outputAccCompl -> band.inputValue\",\n"
                           "  \"band.outputDefault -> byBand.source_1\",\n"
                           "  \"band.index_1 -> byBand.source_2\",\n"
                           "  \"band.index_2 -> byBand.source_3\",\n"
                           "  \"band.index_3->byBand.source_4\",\n"
                           "  \"band.outputActiveIndex -> byBand.inputIndex\",\n"
                           "  \"byBand.output -> ending.inputPatterns\",\n"
                           "  \"part.outputArrangePartName -> ending.inputString\",\n"
                           "  \"ending.outputDefault -> picker.inputPatterns\",\n"
                           "  \"picker.outputPatterns -> consumer.inputPatterns\",\n"
                           "]\n"
                           "\n"
                           "[graphs.fill]\n"
                           "modules = [\n"
                           "  { key = \"provider\", class = \"PatternProbProvider\" },\n"
                           "  { key = \"consumer\", class = \"PatternProbConsumer\" },\n"
                           "]\n"
                           "connections = [\"provider.outputPatterns -> consumer.inputPatterns\"]\n";

void WriteSmallLibrary(const fs::path& root)
{
    WriteFile(root, "library.toml", kManifest);
    WriteFile(root, "drums/families.grid", kFamilies);
    WriteFile(root, "drums/families.phrases", "famA famA famB\n");
    WriteFile(root, "drums/systems.grid", kSystems);
    WriteFile(root, "drums/fills.grid", kFills);
    WriteFile(root, "drums/style.toml", kStyle);
}

std::vector<std::string> PatternNames(const CGenPatternGraphBoost& graph)
{
    std::vector<std::string> names;
    for (size_t i = 0; i < graph.PatternCount(); ++i)
        names.push_back(graph.PatternAtIx(i).mName);
    return names;
}

void ExpectEntry(const CGenProbHist& entry, float probability, const std::vector<int32_t>& history)
{
    EXPECT_FLOAT_EQ(entry.mProbability, probability);
    EXPECT_EQ(entry.mHistory, history);
}

const CGenPatternEdge& EdgeBetween(const CGenPatternGraphBoost& graph, size_t from, size_t to)
{
    const auto [edge, found] = graph.FindEdgeBetween(from, to);
    EXPECT_TRUE(found) << from << " -> " << to;
    return graph.Edge(edge);
}

void ExpectSmallLibraryPatterns(const CGenGenreLib& genre, const CGenInstLib& drums)
{
    EXPECT_EQ(genre.mGenre, "Test Genre");
    // The drum map moves the open hi-hat only; the kick keeps General MIDI's 36.
    EXPECT_EQ(genre.DrumMap()->NoteNr(TGenDrumPiece_HiHatOpen), 26);
    EXPECT_EQ(genre.DrumMap()->NoteNr(TGenDrumPiece_Kick), 36);

    const CGenPatternGraphBoost& families = drums.PatternGraph(TPatternGraphType_AccentFamily);
    EXPECT_EQ(PatternNames(families), (std::vector<std::string> {"famA", "famB"}));
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_AccentAddon).PatternCount(), 0u);
    EXPECT_EQ(PatternNames(drums.PatternGraph(TPatternGraphType_System)), (std::vector<std::string> {"hats"}));
    EXPECT_EQ(PatternNames(drums.PatternGraph(TPatternGraphType_Fill)), (std::vector<std::string> {"fillSnare"}));
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_Percussion).PatternCount(), 0u);
    // Only the families have phrases.
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_System).EdgeCount(), 0u);

    // "famA famA famB" repeats; famA = 0, famB = 1. Its transitions with the
    // patterns before each source (round the phrase):
    //   A(0) -> A   histories (A) (B A) (A B A) (A A B A)
    //   A(1) -> B   histories (A) (A A) (B A A) (A B A A)
    //   B(2) -> A   histories (B) (A B) (A A B) (B A A B)
    // From A: one of two transitions goes to B, 50; every longer history
    // saw one target, 100.
    ASSERT_EQ(families.EdgeCount(), 3u);
    const CGenPatternEdge& ab = EdgeBetween(families, 0, 1);
    ASSERT_EQ(ab.mProbHists.size(), 5u);
    ExpectEntry(ab.mProbHists[0], 50.0f, {});
    ExpectEntry(ab.mProbHists[1], 100.0f, {0, 1, 0, 0});
    ExpectEntry(ab.mProbHists[2], 100.0f, {1, 0, 0});
    ExpectEntry(ab.mProbHists[3], 100.0f, {0, 0});
    ExpectEntry(ab.mProbHists[4], 50.0f, {0});
    // B always leads back to A.
    const CGenPatternEdge& ba = EdgeBetween(families, 1, 0);
    ASSERT_EQ(ba.mProbHists.size(), 5u);
    ExpectEntry(ba.mProbHists[0], 100.0f, {});
    ExpectEntry(ba.mProbHists[1], 100.0f, {1, 0, 0, 1});
    EXPECT_FALSE(families.HasEdgeBetween(1, 1));
}

std::vector<std::string> ModuleKeys(const CGenGFModule& graph)
{
    std::vector<std::string> keys;
    for (const auto& node : graph.nodes())
        keys.push_back(node.mKey);
    return keys;
}

std::vector<std::string> Connections(const CGenGFModule& graph)
{
    std::vector<std::string> texts;
    for (const auto& c : graph.connections())
        texts.push_back(graph.keyForNode(&c->sourcePort().node()) + "." + c->sourcePort().key() + " -> "
            + graph.keyForNode(&c->destinationPort().node()) + "." + c->destinationPort().key());
    return texts;
}

void ExpectRange(const CGenRange<double>& r, double min, bool minEnabled, double max, bool maxEnabled)
{
    EXPECT_DOUBLE_EQ(r.mMin, min);
    EXPECT_EQ(r.mMinEnabled, minEnabled);
    EXPECT_DOUBLE_EQ(r.mMax, max);
    EXPECT_EQ(r.mMaxEnabled, maxEnabled);
}

// The graphs of kStyle, as compiled or as read back from the bundle.
void ExpectSmallLibraryStyle(const CGenStyle& style)
{
    EXPECT_EQ(style.Name(), "Test Style");
    EXPECT_EQ(style.UniqueID(), "test-style-1");
    ASSERT_NE(style.StyleGraphs().Entries(), nullptr);
    EXPECT_EQ(style.StyleGraphs().Entries()->size(), 2u);

    const CGenGFModule* graph = style.StyleGraphs().StyleGraphForKey(kStyleGraphKey_AccentFam);
    ASSERT_NE(graph, nullptr);
    EXPECT_EQ(ModuleKeys(*graph), (std::vector<std::string> {"provider", "coord", "band", "byBand", "part", "ending",
                                      "picker", "consumer"}));

    const auto* band = dynamic_cast<const CGenGFModuleValueSwitch*>(graph->subpatchForKey("band"));
    ASSERT_NE(band, nullptr);
    EXPECT_EQ(band->outputCount(), 3u);
    ASSERT_EQ(band->ranges().size(), 3u);
    // "none" leaves the bound out (stored as 0).
    ExpectRange(band->ranges()[0], 0.0, false, 33.0, true);
    ExpectRange(band->ranges()[1], 33.0, true, 66.0, true);
    ExpectRange(band->ranges()[2], 66.0, true, 100.0, true);
    // The first range that holds a value wins: -5 and 33 go to range 1, 80 to 3.
    EXPECT_EQ(band->indexOfRangeForValue(-5.0), std::optional<size_t>(0));
    EXPECT_EQ(band->indexOfRangeForValue(33.0), std::optional<size_t>(0));
    EXPECT_EQ(band->indexOfRangeForValue(80.0), std::optional<size_t>(2));
    EXPECT_EQ(band->indexOfRangeForValue(101.0), std::nullopt);

    const auto* mux = dynamic_cast<const CGenGFModuleMultiplexer*>(graph->subpatchForKey("byBand"));
    ASSERT_NE(mux, nullptr);
    EXPECT_EQ(mux->inputCount(), 4u);
    EXPECT_EQ(mux->portClass().Name(), "CGenGFPortPatternAndProbs");
    // The sources made by the count after the class carry it too.
    const CGenGFPort* lastSource = mux->inputGFPortForKey("source_4");
    ASSERT_NE(lastSource, nullptr);
    EXPECT_TRUE(lastSource->portClass().IsKindOfClass(CGenGFPortPatternAndProbs::Class()));

    const auto* ending = dynamic_cast<const CGenGFModuleStringSwitch*>(graph->subpatchForKey("ending"));
    ASSERT_NE(ending, nullptr);
    EXPECT_EQ(ending->outputCount(), 1u);
    ASSERT_EQ(ending->stringBins().binCount(), 1u);
    EXPECT_EQ(ending->stringBins().stringsInBinAtIndex(0), (std::vector<std::string> {" end$"}));
    EXPECT_TRUE(ending->stringBins().stringsAreRegularExpression());
    EXPECT_EQ(ending->stringBins().indexOfBinForString("chorus end"), 0);
    EXPECT_EQ(ending->stringBins().indexOfBinForString("chorus"), CGenGFStringBins::kNotFound);
    EXPECT_EQ(ending->stringBins().indexOfBinForString("ending"), CGenGFStringBins::kNotFound);

    // Written order; "band.index_3->byBand.source_4" needs no blanks.
    EXPECT_EQ(Connections(*graph), (std::vector<std::string> {"provider.outputPatterns -> band.inputPatterns",
                                       "coord.outputAccCompl -> band.inputValue",
                                       "band.outputDefault -> byBand.source_1", "band.index_1 -> byBand.source_2",
                                       "band.index_2 -> byBand.source_3", "band.index_3 -> byBand.source_4",
                                       "band.outputActiveIndex -> byBand.inputIndex",
                                       "byBand.output -> ending.inputPatterns",
                                       "part.outputArrangePartName -> ending.inputString",
                                       "ending.outputDefault -> picker.inputPatterns",
                                       "picker.outputPatterns -> consumer.inputPatterns"}));

    const CGenGFModule* fill = style.StyleGraphs().StyleGraphForKey(kStyleGraphKey_Fill);
    ASSERT_NE(fill, nullptr);
    EXPECT_EQ(ModuleKeys(*fill), (std::vector<std::string> {"provider", "consumer"}));
    EXPECT_EQ(Connections(*fill), (std::vector<std::string> {"provider.outputPatterns -> consumer.inputPatterns"}));
}

} // namespace

// ----- mistakes in the manifest

TEST(ContentCompilerErrors, ManifestSyntaxAndKeys)
{
    EXPECT_EQ(ManifestError("genre = \"Rock\"\n"
                            "[kit\n"
                            "kick = \"Drums.Ki.note.s1\"\n"),
        "library.toml:2: Error while parsing table header: expected ']', saw '\\n'");
    EXPECT_EQ(ManifestError("genre = \"Rock\"\n"
                            "\n"
                            "tempo = 120\n"),
        "library.toml:3: unknown key 'tempo'; the manifest knows genre, kit, drum-map, drums, bass, keys, guitar, "
        "grooves, scripts and rating-tables");
    EXPECT_EQ(ManifestError("[drums]\n"
                            "systems = []\n"
                            "loops = [\"x.grid\"]\n"),
        "library.toml:3: unknown key 'loops' in drums");
    EXPECT_EQ(ManifestError("genre = \"\"\n"), "library.toml:1: the genre needs a name");
    EXPECT_EQ(ManifestError("genre = \"Rock\"\n"
                            "[kit]\n"
                            "kick = 36\n"),
        "library.toml:3: kit piece 'kick' must be a text");
    EXPECT_EQ(ManifestError("[drums]\n"
                            "systems = 3\n"),
        "library.toml:2: systems must be a file or a list of files");
}

TEST(ContentCompilerErrors, TheErrorCarriesFileAndLine)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteFile(dir.Path(), "library.toml", "genre = \"Rock\"\n\n\nkit = 5\n");
    CGenGenerator generator;
    try {
        CompileContent(dir.Path().string(), generator);
        FAIL() << "no error";
    } catch (const TContentError& e) {
        EXPECT_EQ(e.File(), "library.toml");
        EXPECT_EQ(e.Line(), 4);
        EXPECT_EQ(std::string(e.what()), "library.toml:4: kit must be a table of kit piece = \"instrument path\"");
    }
}

TEST(ContentCompilerErrors, MissingManifest)
{
    zkgtest::TempDir dir("zkgen_cc");
    // Line 0: the manifest as a whole.
    EXPECT_EQ(CompileError(dir.Path()), std::string("library.toml:0: cannot read the manifest: cannot read ")
            + (dir.Path() / "library.toml").string() + ": No such file or directory");
}

TEST(ContentCompilerErrors, LayerFiles)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteFile(dir.Path(), "library.toml", "[kit]\n"                    // 1
                                          "hh = \"Drums.Hh.note.hit.move.static.open.o1\"\n"
                                          "[drums]\n"                  // 3
                                          "systems = [\n"              // 4
                                          "  \"drums/a.grid\",\n"      // 5
                                          "  \"drums/b.grid\",\n"      // 6: missing
                                          "]\n");
    WriteFile(dir.Path(), "drums/a.grid", "pattern a\nhh | x x x x |\n");
    // The line of the list entry, not of the key.
    EXPECT_EQ(CompileError(dir.Path()), std::string("library.toml:6: cannot read 'drums/b.grid': cannot read ")
            + (dir.Path() / "drums" / "b.grid").string() + ": No such file or directory");

    // A folder where a file belongs.
    WriteFile(dir.Path(), "library.toml", "[drums]\nfills = \"drums\"\n");
    EXPECT_EQ(CompileError(dir.Path()), std::string("library.toml:2: cannot read 'drums': cannot read ")
            + (dir.Path() / "drums").string() + ": is a directory");

    // A mistake inside a grid file names that file.
    WriteFile(dir.Path(), "drums/bad.grid", "pattern a\n\nhh | x q x x |\n");
    WriteFile(dir.Path(), "library.toml", "[kit]\n"
                                          "hh = \"Drums.Hh.note.hit.move.static.open.o1\"\n"
                                          "[drums]\n"
                                          "systems = \"drums/bad.grid\"\n");
    EXPECT_EQ(CompileError(dir.Path()), "drums/bad.grid:3: cell 'q' is not one of . - g p x X !");
}

TEST(ContentCompilerErrors, PatternNameInTwoFilesOfOneLayer)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteFile(dir.Path(), "one.grid", "pattern groove\nkick | X . x . |\n\npattern other\nkick | x . . . |\n");
    WriteFile(dir.Path(), "two.grid", "pattern groove\nkick | X X . . |\n");
    WriteFile(dir.Path(), "library.toml", "[kit]\n"
                                          "kick = \"Drums.Ki.note.s1\"\n"
                                          "[drums]\n"
                                          "accent-families = [\"one.grid\",\n"
                                          "                   \"two.grid\"]\n");
    EXPECT_EQ(CompileError(dir.Path()), "library.toml:5: pattern 'groove' of 'two.grid' is already in accent-families");

    // The same name in two layers is two patterns.
    WriteFile(dir.Path(), "library.toml", "[kit]\n"
                                          "kick = \"Drums.Ki.note.s1\"\n"
                                          "[drums]\n"
                                          "accent-families = [\"one.grid\"]\n"
                                          "systems = [\"two.grid\"]\n");
    EXPECT_EQ(CompileError(dir.Path()), "no error");
    CGenGenerator generator;
    CompileContent(dir.Path().string(), generator);
    EXPECT_EQ(Drums(generator).PatternGraph(TPatternGraphType_AccentFamily).PatternCount(), 2u);
    EXPECT_EQ(Drums(generator).PatternGraph(TPatternGraphType_System).PatternCount(), 1u);
}

TEST(ContentCompilerErrors, DrumMap)
{
    EXPECT_EQ(ManifestError("[drum-map]\n"
                            "HiHatOpen = 46\n"
                            "Cowbel = 56\n"),
        "library.toml:3: unknown kit piece 'Cowbel' in drum-map");
    EXPECT_EQ(ManifestError("[drum-map]\n"
                            "HiHatOpen = 128\n"),
        "library.toml:2: the note of 'HiHatOpen' must be a whole number 0 to 127");
    // Below 0, not whole, not a number.
    for (const char* bad : {"-1", "35.5", "\"35\""})
        EXPECT_EQ(ManifestError(std::string("[drum-map]\nKick = ") + bad + "\n"),
            "library.toml:2: the note of 'Kick' must be a whole number 0 to 127")
            << bad;
    // Both ends of the range are notes.
    EXPECT_EQ(ManifestError("[drum-map]\nKick = 0\nCowbell = 127\n"), "no error");
}

TEST(ContentCompilerErrors, PhrasesAndStylesInTheManifest)
{
    EXPECT_EQ(ManifestError("[drums]\n"
                            "[drums.phrases]\n"
                            "fill = \"drums/fills.phrases\"\n"),
        "library.toml:3: unknown layer 'fill' in phrases");

    zkgtest::TempDir dir("zkgen_cc");
    WriteFile(dir.Path(), "a.toml", "name = \"A\"\nid = \"same-id\"\n");
    WriteFile(dir.Path(), "b.toml", "name = \"B\"\nid = \"same-id\"\n");
    WriteFile(dir.Path(), "library.toml", "[drums]\n"
                                          "styles = [\"a.toml\", \"b.toml\"]\n");
    EXPECT_EQ(CompileError(dir.Path()), "library.toml:2: style id 'same-id' of 'b.toml' is used twice");
}

// ----- mistakes in a style file

TEST(ContentCompilerErrors, StyleFileHead)
{
    EXPECT_EQ(StyleError("name = \"S\"\n"), "s.toml:1: a style needs a name and an id");
    EXPECT_EQ(StyleError("# no name\n\nid = \"x\"\n"), "s.toml:1: a style needs a name and an id");
    EXPECT_EQ(StyleError(Style("colour = \"red\"\n")), "s.toml:4: unknown key 'colour' in the style file");
    // Of two mistakes the first in the file is told, though TOML keeps the
    // table's keys in alphabetical order.
    EXPECT_EQ(StyleError(Style("zebra = 1\napple = 2\n")), "s.toml:4: unknown key 'zebra' in the style file");
    EXPECT_EQ(ManifestError("genre = \"G\"\nzebra = 1\napple = 2\n"),
        "library.toml:2: unknown key 'zebra'; the manifest knows genre, kit, drum-map, drums, bass, keys, guitar, "
        "grooves, scripts and rating-tables");
    EXPECT_EQ(StyleError(Style("[graphs\n")), "s.toml:4: Error while parsing table header: expected ']', saw '\\n'");
    EXPECT_EQ(StyleError(Style("[graphs.accent-families]\n"
                               "modules = []\n")),
        "s.toml:4: unknown graph 'accent-families'; the graphs are accent-addon, accent-family, fill, global, "
        "global-to-merged, percussion, system");
}

TEST(ContentCompilerErrors, StyleModules)
{
    const std::string graph = "[graphs.fill]\n"                                                   // 4
                              "modules = [\n"                                                     // 5
                              "  { key = \"provider\", class = \"PatternProbProvider\" },\n";    // 6
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"odd\", class = \"Nonesuch\" },\n]\n")),
        "s.toml:7: unknown module class 'Nonesuch'");
    // The base of all modules is no module to place.
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"odd\", class = \"CGenGFModule\" },\n]\n")),
        "s.toml:7: unknown module class 'CGenGFModule'");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"provider\", class = \"PatternProbConsumer\" },\n]\n")),
        "s.toml:7: graph 'fill' already has a module 'provider'");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"name\", class = \"FilterPatternName\", "
                                       "inputs = { inputFilterString = \"^a\", inputFactor = 2 } },\n]\n")),
        "s.toml:7: module 'name' has no input port 'inputFactor'");
    // TOML keeps an inline table on one line.
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"name\", class = \"FilterPatternName\",\n"
                                       "    inputs = { inputFilterString = \"^a\" } },\n]\n")),
        "s.toml:7: Error while parsing inline table: expected key or closing '}', saw '\\n'");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"band\", class = \"ValueSwitch\", state = { colour = \"red\" } },\n]\n")),
        "s.toml:7: module 'band' has no state key 'colour'");
    EXPECT_EQ(StyleError(Style(graph + "  { class = \"ValueSwitch\" },\n]\n")),
        "s.toml:7: a module of graph 'fill' needs a key and a class");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"a.b\", class = \"ValueSwitch\" },\n]\n")),
        "s.toml:7: module key 'a.b' must be non-empty and without '.'");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"band\", class = \"ValueSwitch\", colour = 1 },\n]\n")),
        "s.toml:7: unknown key 'colour' in module 'band'");
    // A value of the wrong kind for its port (found by fuzzing: the port's
    // refusal used to end the program), and a count beyond the routing range.
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"name\", class = \"FilterPatternName\", "
                                       "inputs = { inputFilterString = 0 } },\n]\n")),
        "s.toml:7: port 'inputFilterString' of module 'name' does not take a number (its class is CGenGFPortString)");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"mux\", class = \"Multiplexer\", inputs-count = 1e300 },\n]\n")),
        "s.toml:7: inputs-count must be a whole number 0 to 128");
}

TEST(ContentCompilerErrors, StyleRangesAndSetup)
{
    const std::string graph = "[graphs.system]\n"   // 4
                              "modules = [\n";      // 5
    // The line of the range itself.
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"band\", class = \"ValueSwitch\", ranges = [\n"   // 6
                                       "      [0, 50],\n"                                          // 7
                                       "      [70, 60],\n"                                         // 8
                                       "  ] },\n]\n")),
        "s.toml:8: a range's minimum is above its maximum");
    // Equal bounds are a range of one value.
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"band\", class = \"ValueSwitch\", ranges = [[50, 50]] },\n]\n")),
        "no error");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"band\", class = \"ValueSwitch\", ranges = [[0, 50, 100]] },\n]\n")),
        "s.toml:6: a range must be [min, max]");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"mux\", class = \"Multiplexer\", ranges = [[0, 1]] },\n]\n")),
        "s.toml:6: module 'mux' is not a value switch");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"band\", class = \"ValueSwitch\", inputs-count = 3 },\n]\n")),
        "s.toml:6: module 'band' is not a multiplexer or a script");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"band\", class = \"ValueSwitch\", bins = [[\"a\"]] },\n]\n")),
        "s.toml:6: module 'band' is not a string switch");
    EXPECT_EQ(StyleError(Style(graph + "  { key = \"mux\", class = \"Multiplexer\", port-class = \"Nonesuch\" },\n]\n")),
        "s.toml:6: unknown port class 'Nonesuch'");
}

// Scripts: global ones in the manifest, module scripts in style files; a
// mistake in a script is told with the script's file and line.
TEST(ContentCompilerErrors, Scripts)
{
    zkgtest::TempDir dir("zkgen_cc");
    auto compile = [&](const std::string& manifest, const std::string& style, const std::string& script) {
        WriteFile(dir.Path(), "library.toml", manifest);
        WriteFile(dir.Path(), "s.toml", style);
        WriteFile(dir.Path(), "m.lua", script);
        WriteFile(dir.Path(), "g.lua", "function runOnGenerateBegin()\n  x = 1\nend\n");
        return CompileError(dir.Path());
    };
    const std::string manifest = "[scripts]\nhelpers = \"g.lua\"\n[drums]\nstyles = [\"s.toml\"]\n";
    const std::string graph = std::string(kStyleHead) + "include-scripts = [\"helpers\"]\n"
                                                        "[graphs.system]\n"
                                                        "modules = [\n"; // lines 4 to 6
    const std::string lua = "  { key = \"s\", class = \"Lua\", script = \"m.lua\", inputs-count = 2 },\n]\n";
    EXPECT_EQ(compile(manifest, graph + lua, "outputs[1] = inputs[1]\n"), "no error");
    // Line 3 of the module's script.
    EXPECT_EQ(compile(manifest, graph + lua, "local a = 1\nlocal b = = 2\n"), "m.lua:2: unexpected symbol near '='");
    EXPECT_EQ(compile(manifest, graph + lua, "local a = 1\nif a then\n"),
        "m.lua:3: 'end' expected (to close 'if' at line 2) near <eof>");
    EXPECT_EQ(compile(manifest, graph + "  { key = \"s\", class = \"Lua\", script = \"none.lua\" },\n]\n", ""),
        std::string("s.toml:7: cannot read script 'none.lua': cannot read ") + (dir.Path() / "none.lua").string() +
            ": No such file or directory");
    EXPECT_EQ(compile(manifest, graph + "  { key = \"s\", class = \"Log\", script = \"m.lua\" },\n]\n", ""),
        "s.toml:7: module 's' is not a script module (class Lua)");
    EXPECT_EQ(compile(manifest, graph + "  { key = \"s\", class = \"Lua\", outputs-count = 65 },\n]\n", ""),
        "s.toml:7: outputs-count of a script must be a whole number 1 to 64");
    // A global script's mistake, and an include the manifest lacks.
    WriteFile(dir.Path(), "bad.lua", "x = = 1\n");
    EXPECT_EQ(compile("[scripts]\nhelpers = \"bad.lua\"\n[drums]\nstyles = [\"s.toml\"]\n", graph + lua, ""),
        "bad.lua:1: unexpected symbol near '='");
    EXPECT_EQ(compile("[drums]\nstyles = [\"s.toml\"]\n", graph + lua, ""),
        "library.toml:2: style 's.toml' includes the script 'helpers', which [scripts] does not have");
    EXPECT_EQ(compile("[scripts]\n\"a/b\" = \"g.lua\"\n", graph + lua, ""),
        "library.toml:2: 'a/b' can't name a script (a file name without '/')");
}

TEST(ContentCompilerErrors, StyleConnections)
{
    const std::string graph = "[graphs.percussion]\n"                                             // 4
                              "modules = [\n"                                                     // 5
                              "  { key = \"provider\", class = \"PatternProbProvider\" },\n"      // 6
                              "  { key = \"consumer\", class = \"PatternProbConsumer\" },\n"      // 7
                              "]\n"                                                               // 8
                              "connections = [\n";                                                // 9
    EXPECT_EQ(StyleError(Style(graph + "  \"provider.outputPatterns => consumer.inputPatterns\",\n]\n")),
        "s.toml:10: connection 'provider.outputPatterns => consumer.inputPatterns' is not of the form "
        "\"module.port -> module.port\"");
    EXPECT_EQ(StyleError(Style(graph + "  \"provider -> consumer.inputPatterns\",\n]\n")),
        "s.toml:10: 'provider' is not of the form module.port");
    EXPECT_EQ(StyleError(Style(graph + "  \"provider.outputPatterns -> consumer.inputPatterns\",\n"
                                       "  \"ghost.outputPatterns -> consumer.inputPatterns\",\n]\n")),
        "s.toml:11: no module 'ghost' in this graph");
    EXPECT_EQ(StyleError(Style(graph + "  \"provider.outputPatterns -> consumer.inputStuff\",\n]\n")),
        "s.toml:10: module 'consumer' has no input port 'inputStuff'");
    EXPECT_EQ(StyleError(Style(graph + "  \"provider.patterns -> consumer.inputPatterns\",\n]\n")),
        "s.toml:10: module 'provider' has no output port 'patterns'");
    // The ends are looked up by direction: an input is no source.
    EXPECT_EQ(StyleError(Style(graph + "  \"consumer.inputPatterns -> provider.outputPatterns\",\n]\n")),
        "s.toml:10: module 'consumer' has no output port 'inputPatterns'");
    EXPECT_EQ(StyleError(Style(graph + "  \"provider.outputPatterns -> consumer.inputPatterns\",\n"
                                       "  \"provider.outputPatterns -> consumer.inputPatterns\",\n]\n")),
        "s.toml:11: connection 'provider.outputPatterns -> consumer.inputPatterns' cannot be made: "
        "There is already a connected port");
}

// ----- a library that compiles

TEST(ContentCompiler, SmallLibrary)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteSmallLibrary(dir.Path());
    CGenGenerator generator;
    CompileContent(dir.Path().string(), generator);
    ASSERT_EQ(generator.GenreLibs().size(), 1u);
    CGenInstLib& drums = Drums(generator);
    ExpectSmallLibraryPatterns(generator.GenreLibs().front(), drums);
    ASSERT_EQ(drums.mStyles.size(), 1u);
    ExpectSmallLibraryStyle(drums.mStyles[0]);
}

TEST(ContentCompiler, SmallLibraryThroughABundle)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteSmallLibrary(dir.Path() / "src");
    const fs::path bundle = dir.Path() / "Small.glibb";
    std::string error;
    ASSERT_TRUE(BuildContentBundle((dir.Path() / "src").string(), bundle.string(), error)) << error;
    EXPECT_EQ(error, "");

    CGenGenerator loaded;
    ASSERT_TRUE(loaded.LoadFromURL(bundle));
    ASSERT_EQ(loaded.GenreLibs().size(), 1u);
    CGenInstLib& drums = Drums(loaded);
    ExpectSmallLibraryPatterns(loaded.GenreLibs().front(), drums);
    ASSERT_EQ(drums.mStyles.size(), 1u);
    // The graphs come from the style's own file in the bundle, on first use.
    EXPECT_FALSE(drums.mStyles[0].StyleGraphs().HasEntries());
    ASSERT_TRUE(drums.mStyles.LoadStyleGraphsIfNotCachedAlready(0));
    ExpectSmallLibraryStyle(drums.mStyles[0]);
}

// ----- the same sources, the same bytes

TEST(ContentCompiler, SameSourcesSameBytes)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteSmallLibrary(dir.Path() / "src");
    std::string error;
    ASSERT_TRUE(BuildContentBundle((dir.Path() / "src").string(), (dir.Path() / "a.glibb").string(), error)) << error;
    ASSERT_TRUE(BuildContentBundle((dir.Path() / "src").string(), (dir.Path() / "second.glibb").string(), error))
        << error;
    const auto a = TreeOf(dir.Path() / "a.glibb");
    const auto b = TreeOf(dir.Path() / "second.glibb");
    // The bundle's folders, the archive and one file per style, named
    // "<name> - <id>.style".
    EXPECT_EQ(NamesOf(a), (std::vector<std::string> {"Contents/", "DemoWindow/", "EmbeddedDemoWindow/",
                              "GlobalScripts/", "PatternPool/", "StyleGraphs/",
                              "StyleGraphs/Test Style - test-style-1.style", "library.glib"}));
    EXPECT_FALSE(a.at("library.glib").empty());
    EXPECT_TRUE(a == b);
}

TEST(ContentCompiler, DemoLibrary)
{
    const std::string demo = ZKGEN_SOURCE_DIR "/Content/Demo";
    CGenGenerator generator;
    CompileContent(demo, generator);
    const CGenInstLib& drums = Drums(generator);
    // Counted in the grid files, "pattern" lines (copies by "like" included).
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_AccentFamily).PatternCount(), 44u);
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_AccentAddon).PatternCount(), 20u);
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_System).PatternCount(), 18u);
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_Fill).PatternCount(), 12u);
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_Percussion).PatternCount(), 6u);
    ASSERT_EQ(drums.mStyles.size(), 1u);
    EXPECT_EQ(drums.mStyles[0].Name(), "Demo");
    EXPECT_EQ(drums.mStyles[0].UniqueID(), "zkgen-demo-drums-1");
    ASSERT_NE(drums.mStyles[0].StyleGraphs().Entries(), nullptr);
    // The five layers and the global graph of the scripts.
    EXPECT_EQ(drums.mStyles[0].StyleGraphs().Entries()->size(), 6u);
    ASSERT_NE(generator.GlobalLuaScriptsPool().objectForIdentifier("drum-helpers"), nullptr);
    // The add-on openers' ratings: "cgn" is c front 10 + g mid 25 + n back 0
    // in the demo table, and 10 + 10 + 0 in the funk table.
    float rating = 0.0f;
    ASSERT_TRUE(generator.RatingTables().complexityMatrix().complexityForFamilyNameAddOnNameOutValue("demo", "cgn", rating));
    EXPECT_EQ(rating, 35.0f);
    ASSERT_TRUE(generator.RatingTables().complexityMatrix().complexityForFamilyNameAddOnNameOutValue("funk", "cgn", rating));
    EXPECT_EQ(rating, 20.0f);

    zkgtest::TempDir dir("zkgen_cc");
    std::string error;
    ASSERT_TRUE(BuildContentBundle(demo, (dir.Path() / "one.glibb").string(), error)) << error;
    ASSERT_TRUE(BuildContentBundle(demo, (dir.Path() / "two.glibb").string(), error)) << error;
    const auto one = TreeOf(dir.Path() / "one.glibb");
    EXPECT_EQ(one.count("StyleGraphs/Demo - zkgen-demo-drums-1.style"), 1u);
    EXPECT_EQ(one.count("GlobalScripts/drum-helpers.glsz"), 1u);
    EXPECT_EQ(one.count("Contents/RatingTables/Complexity/demo.csv"), 1u);
    EXPECT_TRUE(one == TreeOf(dir.Path() / "two.glibb"));
}

// ----- the folder a build writes

TEST(ContentBundleBuild, RefusesWhatIsNoBundle)
{
    zkgtest::TempDir dir("zkgen_cc");
    WriteSmallLibrary(dir.Path() / "src");
    const fs::path out = dir.Path() / "out";
    WriteFile(out, "notes.txt", "keep me\n");
    WriteFile(out, "sub/more.txt", "and me\n");
    const auto before = TreeOf(out);
    std::string error;
    EXPECT_FALSE(BuildContentBundle((dir.Path() / "src").string(), out.string(), error));
    EXPECT_EQ(error, out.string() + " exists and is not a bundle; it was left as it is");
    EXPECT_TRUE(TreeOf(out) == before);
    EXPECT_EQ(BuildLeftovers(dir.Path()), std::vector<std::string> {});

    // A file is no bundle either.
    const fs::path file = dir.Path() / "file.glibb";
    WriteFile(dir.Path(), "file.glibb", "text\n");
    EXPECT_FALSE(BuildContentBundle((dir.Path() / "src").string(), file.string(), error));
    EXPECT_EQ(error, file.string() + " exists and is not a bundle; it was left as it is");
    EXPECT_EQ(ReadBytes(file), "text\n");
    EXPECT_EQ(BuildLeftovers(dir.Path()), std::vector<std::string> {});

    // An empty folder takes the bundle.
    const fs::path empty = dir.Path() / "empty.glibb";
    fs::create_directories(empty);
    EXPECT_TRUE(BuildContentBundle((dir.Path() / "src").string(), empty.string(), error)) << error;
    EXPECT_EQ(TreeOf(empty).count("library.glib"), 1u);
}

TEST(ContentBundleBuild, ReplacesABundle)
{
    zkgtest::TempDir dir("zkgen_cc");
    const fs::path src = dir.Path() / "src";
    WriteSmallLibrary(src);
    const fs::path out = dir.Path() / "out.glibb";
    std::string error;
    ASSERT_TRUE(BuildContentBundle(src.string(), out.string(), error)) << error;
    ASSERT_EQ(TreeOf(out).count("StyleGraphs/Test Style - test-style-1.style"), 1u);

    // A renamed style and a third family.
    std::string style = kStyle;
    style.replace(style.find("Test Style"), 10, "Other Style");
    WriteFile(src, "drums/style.toml", style);
    WriteFile(src, "drums/families.grid", std::string(kFamilies) + "\npattern famC\nkick | X X X X |\n");
    ASSERT_TRUE(BuildContentBundle(src.string(), out.string(), error)) << error;
    const auto replaced = TreeOf(out);
    // Nothing of the first build remains: the result is what a fresh build gives.
    EXPECT_EQ(replaced.count("StyleGraphs/Test Style - test-style-1.style"), 0u);
    EXPECT_EQ(replaced.count("StyleGraphs/Other Style - test-style-1.style"), 1u);
    ASSERT_TRUE(BuildContentBundle(src.string(), (dir.Path() / "fresh.glibb").string(), error)) << error;
    EXPECT_TRUE(replaced == TreeOf(dir.Path() / "fresh.glibb"));
    EXPECT_EQ(BuildLeftovers(dir.Path()), std::vector<std::string> {});

    CGenGenerator loaded;
    ASSERT_TRUE(loaded.LoadFromURL(out));
    EXPECT_EQ(Drums(loaded).PatternGraph(TPatternGraphType_AccentFamily).PatternCount(), 3u);
    EXPECT_EQ(Drums(loaded).mStyles.at(0).Name(), "Other Style");
}

TEST(ContentBundleBuild, FailedCompileKeepsTheBundle)
{
    zkgtest::TempDir dir("zkgen_cc");
    const fs::path src = dir.Path() / "src";
    WriteSmallLibrary(src);
    const fs::path out = dir.Path() / "out.glibb";
    std::string error;
    ASSERT_TRUE(BuildContentBundle(src.string(), out.string(), error)) << error;
    const auto before = TreeOf(out);

    // Line 6 of the families: a cell that is none.
    std::string families = kFamilies;
    families.replace(families.find("snare | . . X ."), 15, "snare | . . X q");
    WriteFile(src, "drums/families.grid", families);
    EXPECT_FALSE(BuildContentBundle(src.string(), out.string(), error));
    EXPECT_EQ(error, "drums/families.grid:6: cell 'q' is not one of . - g p x X !");
    EXPECT_TRUE(TreeOf(out) == before);
    EXPECT_EQ(BuildLeftovers(dir.Path()), std::vector<std::string> {});

    // No sources at all.
    EXPECT_FALSE(BuildContentBundle((dir.Path() / "none").string(), out.string(), error));
    EXPECT_EQ(error, std::string("library.toml:0: cannot read the manifest: cannot read ")
            + (dir.Path() / "none" / "library.toml").string() + ": No such file or directory");
    EXPECT_TRUE(TreeOf(out) == before);
    EXPECT_EQ(BuildLeftovers(dir.Path()), std::vector<std::string> {});
}

TEST(ContentBundleBuild, PathWithATrailingSlash)
{
    zkgtest::TempDir dir("zkgen_cc");
    const fs::path src = dir.Path() / "src";
    WriteSmallLibrary(src);
    std::string error;
    ASSERT_TRUE(BuildContentBundle(src.string(), (dir.Path() / "plain.glibb").string(), error)) << error;
    const auto plain = TreeOf(dir.Path() / "plain.glibb");

    // "out.glibb/" names the same folder as "out.glibb": new, then replaced.
    const std::string out = (dir.Path() / "out.glibb").string() + "/";
    EXPECT_TRUE(BuildContentBundle(src.string(), out, error)) << error;
    EXPECT_TRUE(TreeOf(dir.Path() / "out.glibb") == plain);
    EXPECT_EQ(BuildLeftovers(dir.Path()), std::vector<std::string> {});
    EXPECT_TRUE(BuildContentBundle(src.string(), out, error)) << error;
    EXPECT_TRUE(TreeOf(dir.Path() / "out.glibb") == plain);
    EXPECT_EQ(BuildLeftovers(dir.Path()), std::vector<std::string> {});
}
