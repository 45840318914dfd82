// Writes the seed corpora of the fuzz targets into the folder named on the
// command line, one sub-folder per target, through the engine's own save
// functions. Run it again when a stored format changes:
//   fuzz_make_seeds Fuzz/corpus

#include "Generator/CGenArchiveIO.h"
#include "Generator/CGenGenerator.h"
#include "Generator/CGenGeneratorStorage.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/library/CGenPatternsPool.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModuleMultiplexer.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModuleStringSwitch.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"
#include "Platform/ZKCompression.h"
#include "Platform/ZKKeyedArchive.h"
#include "Platform/ZKLog.h"

#ifdef ZKGEN_FUZZ_TOOL_SEEDS
#include "midi/MidiFile.h"
#endif

#include <boost/archive/binary_oarchive.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::filesystem::path gRoot;

void Write(const char* target, const char* name, const std::vector<uint8_t>& bytes)
{
    const std::filesystem::path folder = gRoot / target;
    std::filesystem::create_directories(folder);
    std::ofstream out(folder / name, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out) {
        std::fprintf(stderr, "can't write %s/%s\n", target, name);
        std::exit(1);
    }
}

void Write(const char* target, const char* name, const std::string& text)
{
    Write(target, name, std::vector<uint8_t>(text.begin(), text.end()));
}

template <class T>
std::vector<uint8_t> Required(const std::optional<T>& value, const char* what)
{
    if (!value) {
        std::fprintf(stderr, "can't make %s\n", what);
        std::exit(1);
    }
    return *value;
}

int Uid(const char* path) { return GenInstTreeUidToMB1(GenDrumInstTreeV1().FindUidWithPath(path)); }

CGenEvs Bar(const char* path, int accent, int steps = 4)
{
    CGenEvs evs(4.0f);
    for (int i = 0; i < steps; ++i)
        evs.InsertAtBeatPos(CGenEv(4.0f * i / steps, 0.25f, st_NoteOn, Uid(path), i == accent ? 120 : 70));
    return evs;
}

std::string Named(const char* prefix, int i)
{
    std::string name(prefix);
    name += std::to_string(i);
    return name;
}

// A drummer of two patterns per layer with an edge between them.
void FillLibrary(CGenGenerator& generator)
{
    generator.CreateDefaultGenre();
    CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
    for (int i = 0; i < 2; ++i) {
        lib.PatternGraph(TPatternGraphType_AccentFamily).AddPattern(CGenPattern(Named("kick", i), Bar("Drums.Ki", i)));
        lib.PatternGraph(TPatternGraphType_System)
            .AddPattern(CGenPattern(Named("hat", i), Bar("Drums.Hh.note.hit.move.static.stroke.s3r", i + 1)));
    }
    lib.PatternGraph(TPatternGraphType_System).AddEdge(0, 1, CGenPatternEdge(CGenProbHist(70.0f)));
}

void LibrarySeeds()
{
    CGenGenerator generator;
    const std::filesystem::path scratch = std::filesystem::temp_directory_path() / "zkgen_fuzz_seeds.glib";
    if (!generator.SerializeToPath(scratch.string()))
        std::exit(1);
    Write("library_archive", "empty.txt", Required(ZKFileRead(scratch), "an empty library"));
    FillLibrary(generator);
    if (!generator.SerializeToPath(scratch.string()))
        std::exit(1);
    Write("library_archive", "drummer.txt", Required(ZKFileRead(scratch), "a library"));
    std::filesystem::remove(scratch);
    std::ostringstream os;
    {
        boost::archive::binary_oarchive oa(os);
        zkgen::TGenGeneratorArchive archive {&generator.GenreLibs(), nullptr};
        oa << archive;
    }
    Write("library_archive", "drummer.bin", os.str());
}

CGenPatternGraphBoost SmallGraph()
{
    CGenPatternGraphBoost g(TPatternGraphType_System);
    g.AddPattern(CGenPattern("a", Bar("Drums.Ki", 0, 2), CGenPatternCoordInt(20.0f, 40.0f)));
    g.AddPattern(CGenPattern("b", Bar("Drums.Sn", 1), CGenPatternCoordInt(60.0f, 10.0f)));
    g.AddPattern(CGenPattern("c", Bar("Drums.Hh.note.foot", 3), CGenPatternCoordInt(35.0f, 90.0f)));
    g.AddEdge(0, 1, CGenPatternEdge(CGenProbHist(70.0f), CGenProbHist(30.0f, 2, 0)));
    g.AddEdge(1, 2, CGenPatternEdge(CGenProbHist(100.0f)));
    g.AddEdge(2, 0, CGenPatternEdge(CGenProbHist(50.0f)));
    g.UpdatePatternCoordConvToMinAndMax();
    return g;
}

void PatternSeeds()
{
    Write("pattern_graph", "empty.txt", zkgen::SaveTextArchiveToData(CGenPatternGraphBoost()));
    Write("pattern_graph", "three.txt", zkgen::SaveTextArchiveToData(SmallGraph()));

    CGenPatterns patterns;
    patterns.push_back(CGenPattern("pooled", Bar("Drums.Sn", 2)));
    patterns.push_back(CGenPattern("ghost", Bar("Drums.Sn", 1, 8)));
    const TGenData plain = CGenPatternsPool::DataForPatterns(patterns);
    Write("patterns_pool", "two.pp", plain);
    Write("patterns_pool", "two.ppz", Required(zkCompressedDataWithCompressionLevel(plain, -1), "a pool file"));
    Write("patterns_pool", "empty.pp", CGenPatternsPool::DataForPatterns(CGenPatterns()));

    CGenEvs evs = Bar("Drums.Ki", 0);
    Write("evs_archive", "kick.txt", zkgen::SaveTextArchiveToData(evs));
    Write("evs_archive", "empty.txt", zkgen::SaveTextArchiveToData(CGenEvs()));
}

void InstTreeSeeds()
{
    CGenInstTree tree("Custom", TEntriesAre_Combinable, 4);
    CGenInstTreeVertex family("Fam", TEntriesAre_Explicit, CGenRange<long long>(0x100, 0x300, true, false));
    family.mCompareNibbleCount = 2;
    family.EntriesAdd(CGenInstTreeLeaf("RangeNumber(1-9)", 0x10));
    family.EntriesAdd(CGenInstTreeLeaf("rim", 0x20));
    tree.EntriesAdd(family);
    tree.EntriesAdd(CGenInstTreeEntry("plain", 0x5000));
    Write("inst_tree", "custom.txt", zkgen::SaveTextArchiveToData(tree));
    Write("inst_tree", "empty.txt", zkgen::SaveTextArchiveToData(CGenInstTree()));
}

template <class T>
T* Add(CGenGFModule& parent, const char* key)
{
    return static_cast<T*>(parent.addSubpatch(std::make_unique<T>(), key));
}

// Every kind of stored piece: state keys, port values, dynamic ports, a
// nested module with published ports, connections and a name.
std::unique_ptr<CGenGFModule> StyleGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    auto* provider = Add<CGenGFModulePatternProbProvider>(*graph, "provider");
    provider->setPatternPoolIdentifiers({"pool A", "pool B"});
    auto* filter = Add<CGenGFModuleFilterPatternName>(*graph, "filter");
    filter->inputFilterString->setStringValue("^sys");
    filter->inputMatchingFactor->setDoubleValue(1.25);
    filter->setCustomizedName("System only");
    auto* sw = Add<CGenGFModuleStringSwitch>(*graph, "switch");
    sw->setOutputCount(3);
    sw->stringBins().addStringToBinAtIndex("verse", 0);
    sw->stringBins().addStringToBinAtIndex("chorus", 2);
    sw->stringBins().setNameForBinAtIndex("Calm", 0);
    sw->inputString->setStringValue("chorus");
    auto* box = Add<CGenGFModule>(*graph, "box");
    auto* mux = Add<CGenGFModuleMultiplexer>(*box, "mux");
    mux->setPortClass(CGenGFPortPatternAndProbs::Class());
    mux->setInputCount(3);
    mux->inputIndex->setIndexValue(2);
    box->publishPort(*mux->inputGFPortForKey("source_1"), "in");
    box->publishPort(*mux->outputGFPortForKey("output"), "out");
    graph->createConnectionFromPortToPortForKey(*provider->outputPatterns, *filter->inputPatterns);
    graph->createConnectionFromPortToPortForKey(*filter->outputPatterns, *sw->inputPatterns);
    graph->createConnectionFromPortToPortForKey(*sw->outputDefault, *box->gfPortForKey("in"));
    return graph;
}

void StyleSeeds()
{
    CGenStyleGraphs graphs;
    graphs.SetStyleGraphForKey(StyleGraph(), kStyleGraphKey_System);
    graphs.SetStyleGraphForKey(std::make_unique<CGenGFModule>(), kStyleGraphKey_Global);
    graphs.SetPropertyForKey(TGenDictValue("GlobalA"), kCGenStyleGraphsProperty_IncludeScript);
    Write("style_file", "graphs.style", Required(graphs.EncodeToFileData(), "a style file"));
    Write("style_file", "graphs.plist", Required(graphs.EncodeToKeyedArchive(), "a style archive"));
    CGenStyleGraphs empty;
    empty.MakeEntries();
    Write("style_file", "empty.style", Required(empty.EncodeToFileData(), "an empty style file"));

    const TGenDict state = graphs.StyleGraphForKey(kStyleGraphKey_System)->state();
    Write("style_state", "system.plist", Required(ZKKeyedArchiveEncode(state, ZKKeyedArchiveFormat_XML), "a state"));
    Write("style_state", "system.bplist", Required(ZKKeyedArchiveEncode(state, ZKKeyedArchiveFormat_Binary), "a state"));
    const TGenDict box = graphs.StyleGraphForKey(kStyleGraphKey_System)->subpatchForKey("box")->state();
    Write("style_state", "box.plist", Required(ZKKeyedArchiveEncode(box, ZKKeyedArchiveFormat_XML), "a state"));
}

void KeyedArchiveSeeds()
{
    const TGenDict dict {{"integer", -12}, {"real", 0.25}, {"text", "Straight Rock"}, {"yes", true},
        {"data", TGenData {0, 1, 254, 255}}, {"when", TGenDate {86400.5}},
        {"list", TGenArray {int64_t(1), "two", TGenDict {{"three", 3.0}}}}, {4, "layer four"}, {"#hash", false},
        {"nested", TGenDict {{"deeper", TGenDict {{"empty", TGenDict {}}}}}}};
    Write("keyed_archive", "kinds.plist", Required(ZKKeyedArchiveEncode(dict, ZKKeyedArchiveFormat_XML), "XML"));
    Write("keyed_archive", "kinds.bplist", Required(ZKKeyedArchiveEncode(dict, ZKKeyedArchiveFormat_Binary), "binary"));
    Write("keyed_archive", "empty.bplist", Required(ZKKeyedArchiveEncode(TGenDict(), ZKKeyedArchiveFormat_Binary), "empty"));
}

void TextSeeds()
{
    const char* paths[] = {"Drums.Tm[pitch.1;stroke.s1]", "Drums.Hh.note.hit.move.static.open.o4", "Drums.Ki",
        "Drums[Hh.note.foot;Ki;Sn[note.hit;note.rim]]", "Drums.Cr[;]"};
    int i = 0;
    for (const char* path : paths)
        Write("inst_path", Named("path", i++).c_str(), std::string(path));
    const char* notes[] = {"{n5[cM3-0cn64+3]}", "{pc5[+1d+2]}", "{M60}", "{nB3[-1,c-2]}", "{cN[+0s9nn-3]}",
        "{kM127[-2]}", "  ({aP[+1tnp+1,-1dp+4]})", "[+0cM60+3,o+0]"};
    i = 0;
    for (const char* note : notes)
        Write("abstract_note", Named("note", i++).c_str(), std::string(note));
}

#ifdef ZKGEN_FUZZ_TOOL_SEEDS
// MIDI files as the tool writes them: the reader's first job is to read these.
void WriteMidi(const char* name, const zkgen::cli::TPerformance& p)
{
    const std::filesystem::path scratch = std::filesystem::temp_directory_path() / "zkgen_fuzz_seeds.mid";
    std::string error;
    if (!zkgen::cli::WriteMidiFile(p, scratch.string(), error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::exit(1);
    }
    Write("midi_file", name, Required(ZKFileRead(scratch), "a MIDI file"));
    std::filesystem::remove(scratch);
}

// A bar of kick, snare and hi-hat on the drum channel, the hi-hat's
// openness set by its pedal controller.
zkgen::cli::TTrack DrumBar(double start)
{
    zkgen::cli::TTrack track;
    track.mName = "Drums";
    for (int i = 0; i < 8; ++i) {
        const double beat = start + 0.5 * i;
        track.mNotes.push_back({beat, 0.25, 9, 42, uint8_t(i % 2 ? 60 : 90)});
        if (i % 4 == 0)
            track.mNotes.push_back({beat, 0.25, 9, 36, 110});
        if (i % 4 == 2)
            track.mNotes.push_back({beat, 0.25, 9, 38, 100});
    }
    track.mControllers.push_back({start, 9, 4, 100});
    return track;
}

void MidiSeeds()
{
    WriteMidi("empty.mid", zkgen::cli::TPerformance());

    zkgen::cli::TPerformance beat;
    beat.mTitle = "Beat";
    beat.mTempos = {{0.0, 112.0}};
    beat.mTracks = {DrumBar(0.0)};
    WriteMidi("beat.mid", beat);

    // Tempo and metre changes, markers and a second track on another channel.
    zkgen::cli::TPerformance song;
    song.mTitle = "Song";
    song.mTempos = {{0.0, 100.0}, {4.0, 132.5}};
    song.mMeters = {{0.0, 4, 4}, {4.0, 7, 8}};
    song.mMarkers = {{0.0, "Verse"}, {4.0, "Bridge"}};
    song.mTracks = {DrumBar(0.0), zkgen::cli::TTrack()};
    song.mTracks[1].mName = "Percussion";
    song.mTracks[1].mNotes.push_back({4.0, 3.5, 0, 54, 80});
    WriteMidi("song.mid", song);
}
#endif

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    ZKLogSetStderrLevel(ZKLogLevel_Off);
    gRoot = argv[1];
    LibrarySeeds();
    PatternSeeds();
    InstTreeSeeds();
    StyleSeeds();
    KeyedArchiveSeeds();
    TextSeeds();
#ifdef ZKGEN_FUZZ_TOOL_SEEDS
    MidiSeeds();
#endif
    return 0;
}
