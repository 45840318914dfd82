// The library on disk through the generator: bundles saved and loaded again,
// raw libraries, Save-As, values for keys, every load failure with its log
// text, and saves killed half-way.
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Platform/ZKLog.h"
#include "TestSupport/TempDir.h"

#include <boost/archive/binary_oarchive.hpp>
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

int Uid(const char* path) { return GenInstTreeUidToMB1(GenDrumInstTreeV1().FindUidWithPath(path)); }

// "<prefix><i>", built by appending (gcc 12 warns falsely about "p" + string).
std::string Numbered(const char* prefix, int i)
{
    std::string name(prefix);
    name += std::to_string(i);
    return name;
}

CGenPattern Bar(const std::string& name, const char* path, int accent)
{
    CGenEvs evs(4.0f);
    for (int i = 0; i < 8; ++i)
        evs.InsertAtBeatPos(CGenEv(0.5f * i, 0.25f, st_NoteOn, Uid(path), i == accent ? 120 : 70));
    return CGenPattern(name, evs);
}

// A drummer of `count` patterns per layer, with a style whose accent graph
// is loaded (so a save writes its file).
void FillDrummer(CGenGenerator& generator, int count = 3)
{
    generator.CreateDefaultGenre();
    CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
    for (int i = 0; i < count; ++i) {
        lib.PatternGraph(TPatternGraphType_AccentFamily).AddPattern(Bar(Numbered("kick", i), "Drums.Ki", i % 8));
        lib.PatternGraph(TPatternGraphType_System)
            .AddPattern(Bar(Numbered("hat", i), "Drums.Hh.note.hit.move.static.stroke.s3r", (i + 3) % 8));
    }
    lib.mStyles[0].StyleGraphs().SetStyleGraphForKey(std::make_unique<CGenGFModule>(), kStyleGraphKey_AccentFam);
}

CGenEvsNameds Play(CGenGenerator& generator)
{
    CGenGeneratorParams p(32.0f, -1);
    p.mGenerateStartPosAbs = 0.0f;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    TGenDict memento;
    CGenEvsNameds evs;
    generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, &memento, evs);
    return evs;
}

std::vector<std::string> StorageLog(const ZKLogCapture& log) { return log.Texts(ZKLogCategory_GeneratorStorage); }

// The generator archive's text with its class version (2) replaced: the
// header "<n> serialization::archive <boost version> 0 2 ".
std::string WithArchiveVersion(std::string text, int version)
{
    const std::string signature = "serialization::archive ";
    const size_t at = text.find(signature);
    if (at == std::string::npos)
        return text;
    const size_t boostVersionEnd = text.find(' ', at + signature.size());
    if (boostVersionEnd == std::string::npos || text.compare(boostVersionEnd, 5, " 0 2 ") != 0)
        return text;
    return text.replace(boostVersionEnd + 3, 1, std::to_string(version));
}

bool Contains(const std::vector<std::string>& lines, const std::string& line)
{
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

} // namespace

TEST(CGenGeneratorStorage, ABundleSavedAndLoadedPlaysTheSame)
{
    zkgtest::TempDir dir("zkgen_bundle");
    const TGenUrl url = dir.Path() / "Drums.glibb";
    CGenGenerator original;
    FillDrummer(original);
    auto pool = std::make_shared<CGenPatterns>();
    pool->push_back(Bar("pooled", "Drums.Sn", 2));
    ASSERT_TRUE(original.PatternsPool().addPatternsForIdentifier(pool, "snares"));
    ASSERT_TRUE(original.SetValueForKey(TGenDictValue(std::string("Straight Rock")), "title"));
    ZKLogCapture log;
    TGenStorageError error;
    ASSERT_TRUE(original.SaveToURL(url, &error)) << error.mDescription;
    EXPECT_TRUE(Contains(StorageLog(log), "Save BEGIN to '" + url.string() + "'"));
    EXPECT_TRUE(Contains(StorageLog(log), "Save FINISHED '" + url.string() + "'"));
    for (const char* folder : {"StyleGraphs", "Contents", "PatternPool", "GlobalScripts", "DemoWindow", "EmbeddedDemoWindow"})
        EXPECT_TRUE(ZKFileIsDirectory(url / folder)) << folder;
    EXPECT_TRUE(ZKFileExists(url / "library.glib"));
    EXPECT_TRUE(ZKFileExists(url / "PatternPool" / "snares.ppz"));
    EXPECT_TRUE(ZKFileExists(url / "values.bin"));
    const CGenStyle& style = original.GenreLibs().front().mInstLibs.front().mStyles[0];
    EXPECT_TRUE(ZKFileExists(url / "StyleGraphs" / (style.Identifier() + ".style")));

    CGenGenerator loaded;
    EXPECT_FALSE(loaded.GlibbWasLoaded());
    ASSERT_TRUE(loaded.LoadFromURL(url));
    EXPECT_TRUE(loaded.GlibbWasLoaded());
    EXPECT_EQ(loaded.LibraryBundleLocations().RootURL(), std::filesystem::canonical(url));
    const CGenEvsNameds a = Play(original);
    const CGenEvsNameds b = Play(loaded);
    ASSERT_FALSE(a.empty());
    ASSERT_FALSE(a.front().mEvs.empty());
    EXPECT_EQ(a, b);
    EXPECT_EQ(loaded.ValueForKey("title")->AsString(""), "Straight Rock");
    EXPECT_EQ(loaded.PatternsPool().identifiers(), (std::vector<std::string> {"snares"}));
    // The style's graphs come from its file on first use.
    CGenStyle& loadedStyle = loaded.GenreLibs().front().mInstLibs.front().mStyles[0];
    EXPECT_TRUE(loadedStyle.StyleGraphs().StyleGraphForKey(kStyleGraphKey_AccentFam) != nullptr);
}

TEST(CGenGeneratorStorage, RawLibrariesAndFolderChoice)
{
    zkgtest::TempDir dir("zkgen_raw");
    CGenGenerator original;
    FillDrummer(original);
    const TGenUrl raw = dir.Path() / "Drums.glib";
    ASSERT_TRUE(original.SerializeToPath(raw.string()));

    CGenGenerator loaded;
    ASSERT_TRUE(loaded.LoadFromURL(raw));
    EXPECT_TRUE(loaded.LibraryBundleLocations().RootURL().empty());
    EXPECT_EQ(Play(original), Play(loaded));

    // A folder without "StyleGraphs" is taken for a raw library and fails.
    ZKLogCapture log;
    const TGenUrl folder = dir.Path() / "NotABundle.glibb";
    std::filesystem::create_directories(folder);
    EXPECT_FALSE(loaded.LoadFromURL(folder));
    EXPECT_TRUE(Contains(StorageLog(log), "'LoadRawLibraryFromURL' FAILED because 'DeserializeFromPath' failed."));
    EXPECT_TRUE(Contains(StorageLog(log), "Load FAILED"));
    // Nothing there: false, and no load begins.
    log.Clear();
    EXPECT_FALSE(loaded.LoadFromURL(dir.Path() / "missing.glibb"));
    EXPECT_TRUE(StorageLog(log).empty());
    // The content that was there still plays.
    EXPECT_EQ(Play(original), Play(loaded));
    // Too short a path.
    EXPECT_FALSE(loaded.DeserializeFromPath("x"));

    // A binary archive of the library is read when the text reading fails.
    std::ostringstream os;
    {
        boost::archive::binary_oarchive oa(os);
        zkgen::TGenGeneratorArchive archive {&original.GenreLibs(), nullptr};
        oa << archive;
    }
    const std::string binary = os.str();
    const TGenUrl binaryPath = dir.Path() / "Binary.glib";
    ASSERT_TRUE(ZKFileWriteAtomically(binaryPath, TGenData(binary.begin(), binary.end())));
    CGenGenerator fromBinary;
    ASSERT_TRUE(fromBinary.LoadFromURL(binaryPath));
    EXPECT_EQ(Play(original), Play(fromBinary));
    // Cut short, it fails like any damaged archive.
    ASSERT_TRUE(ZKFileWriteAtomically(binaryPath, TGenData(binary.begin(), binary.begin() + binary.size() / 2)));
    EXPECT_FALSE(fromBinary.LoadFromURL(binaryPath));
    EXPECT_EQ(Play(original), Play(fromBinary));
}

TEST(CGenGeneratorStorage, FailedLoadsKeepTheContentAndNameTheirCause)
{
    zkgtest::TempDir dir("zkgen_damage");
    const TGenUrl url = dir.Path() / "Drums.glibb";
    {
        CGenGenerator original;
        FillDrummer(original);
        ASSERT_TRUE(original.SaveToURL(url));
    }
    const auto whole = ZKFileRead(url / "library.glib");
    ASSERT_TRUE(whole.has_value());
    CGenGenerator generator;
    FillDrummer(generator, 2);
    const CGenEvsNameds before = Play(generator);
    const std::string path = (std::filesystem::canonical(url) / "library.glib").string();
    // Truncated at several places, and damaged.
    for (size_t cut : {size_t(10), whole->size() / 3, whole->size() - 5}) {
        ASSERT_TRUE(ZKFileWriteAtomically(url / "library.glib", TGenData(whole->begin(), whole->begin() + cut)));
        ZKLogCapture log;
        EXPECT_FALSE(generator.LoadFromURL(url)) << cut;
        const auto lines = StorageLog(log);
        EXPECT_TRUE(Contains(lines, "Load '" + path + "' FAILED")) << cut;
        EXPECT_TRUE(Contains(lines, "'LoadBundleFromURL' FAILED because 'DeserializeFromPath' failed.")) << cut;
        EXPECT_EQ(Play(generator), before) << cut;
    }
    // A newer class version of the archive is refused, naming the class.
    const std::string text = WithArchiveVersion(std::string(whole->begin(), whole->end()), 3);
    ASSERT_NE(text, std::string(whole->begin(), whole->end()));
    ASSERT_TRUE(ZKFileWriteAtomically(url / "library.glib", TGenData(text.begin(), text.end())));
    ZKLogCapture log;
    EXPECT_FALSE(generator.LoadFromURL(url));
    EXPECT_TRUE(Contains(StorageLog(log), "Archive of TGenGeneratorArchive has class version 3; this engine reads up to 2"));
    EXPECT_EQ(Play(generator), before);
}

TEST(CGenGeneratorStorage, AnArchiveOfVersionOneKeepsItsGlobalScript)
{
    zkgtest::TempDir dir("zkgen_v1");
    CGenGenerator original;
    FillDrummer(original);
    const TGenUrl raw = dir.Path() / "Old.glib";
    ASSERT_TRUE(original.SerializeToPath(raw.string()));
    const auto bytes = ZKFileRead(raw);
    std::string text = WithArchiveVersion(std::string(bytes->begin(), bytes->end()), 1);
    const std::string script = "function runOnCharacterLoad() end";
    text += " " + std::to_string(script.size()) + " " + script + "\n";
    ASSERT_TRUE(ZKFileWriteAtomically(raw, TGenData(text.begin(), text.end())));

    CGenGenerator loaded;
    ASSERT_TRUE(loaded.LoadFromURL(raw));
    const std::string legacy = CGenGlobalLuaScriptsPool::kLegacyGlobalLuaScriptIdentifier;
    ASSERT_TRUE(loaded.GlobalLuaScriptsPool().objectForIdentifier(legacy));
    EXPECT_EQ(loaded.GlobalLuaScriptsPool().objectForIdentifier(legacy)->luaScript(), script);
    // Saved as a bundle, the script moves to the scripts folder and comes back.
    const TGenUrl url = dir.Path() / "New.glibb";
    ASSERT_TRUE(loaded.SaveToURL(url));
    CGenGenerator again;
    ASSERT_TRUE(again.LoadFromURL(url));
    ASSERT_TRUE(again.GlobalLuaScriptsPool().objectForIdentifier(legacy));
    EXPECT_EQ(again.GlobalLuaScriptsPool().objectForIdentifier(legacy)->luaScript(), script);
    EXPECT_TRUE(ZKFileExists(url / "GlobalScripts" / (legacy + ".glsz")));
}

TEST(CGenGeneratorStorage, SaveAsCopiesTheOldBundleAndRefusesToNestIt)
{
    zkgtest::TempDir dir("zkgen_saveas");
    const TGenUrl first = dir.Path() / "First.glibb";
    {
        CGenGenerator original;
        FillDrummer(original);
        auto pool = std::make_shared<CGenPatterns>();
        pool->push_back(Bar("pooled", "Drums.Sn", 2));
        original.PatternsPool().addPatternsForIdentifier(pool, "snares");
        ASSERT_TRUE(original.SaveToURL(first));
    }
    CGenGenerator generator;
    ASSERT_TRUE(generator.LoadFromURL(first));
    // "snares" is never read: only the copy of the old bundle keeps it.
    const TGenUrl second = dir.Path() / "Second.glibb";
    ZKLogCapture log;
    ASSERT_TRUE(generator.SaveToURL(second));
    EXPECT_TRUE(Contains(StorageLog(log), "Save (As) BEGIN '" + second.string() + "'"));
    EXPECT_TRUE(ZKFileExists(second / "PatternPool" / "snares.ppz"));
    EXPECT_EQ(generator.LibraryBundleLocations().RootURL(), std::filesystem::canonical(second));

    // Into the bundle itself: refused, and the bundle is whole.
    TGenStorageError error;
    EXPECT_FALSE(generator.SaveToURL(second / "Contents" / "Inner.glibb", &error));
    EXPECT_EQ(error.mDomain, "zk.musicapps");
    EXPECT_EQ(error.mCode, -1);
    EXPECT_TRUE(ZKFileExists(second / "library.glib"));
    CGenGenerator check;
    EXPECT_TRUE(check.LoadFromURL(second));

    // Saving somewhere else without moving the library's own place.
    const TGenUrl third = dir.Path() / "Third.glibb";
    ASSERT_TRUE(generator.SaveToURLWithoutChangingLibraryBundleLocation(third));
    EXPECT_EQ(generator.LibraryBundleLocations().RootURL(), std::filesystem::canonical(second));
    EXPECT_TRUE(ZKFileExists(third / "library.glib"));
}

TEST(CGenGeneratorStorage, ValuesForKeysAreNullUntilSetAndGoWithTheLastKey)
{
    zkgtest::TempDir dir("zkgen_values");
    const TGenUrl url = dir.Path() / "Values.glibb";
    CGenGenerator generator;
    FillDrummer(generator);
    EXPECT_EQ(generator.ValuesForKeys(), nullptr);
    EXPECT_FALSE(generator.SetValueForKey(TGenDictValue(1), ""));
    ASSERT_TRUE(generator.SetValueForKey(TGenDictValue(3), "count"));
    ASSERT_TRUE(generator.SaveToURL(url));
    EXPECT_TRUE(ZKFileExists(url / "values.bin"));
    ASSERT_TRUE(generator.SetValueForKey(std::nullopt, "count"));
    EXPECT_EQ(generator.ValuesForKeys(), nullptr);
    ASSERT_TRUE(generator.SaveToURL(url));
    EXPECT_FALSE(ZKFileExists(url / "values.bin"));
    CGenGenerator loaded;
    ASSERT_TRUE(loaded.LoadFromURL(url));
    EXPECT_EQ(loaded.ValuesForKeys(), nullptr);
    EXPECT_FALSE(loaded.ValueForKey("count").has_value());
}

TEST(CGenGeneratorStorage, APurgedStyleReloadsFromItsFile)
{
    zkgtest::TempDir dir("zkgen_purge");
    const TGenUrl url = dir.Path() / "Purge.glibb";
    CGenGenerator generator;
    FillDrummer(generator);
    ASSERT_TRUE(generator.SaveToURL(url));
    const CGenEvsNameds before = Play(generator);
    std::vector<std::string> asked;
    generator.PurgeStylesForWhichBlockReturnsYes(
        [&asked](const std::string& genre, _TGenInstType type, size_t ix, const std::string& name) {
            asked.push_back(genre + " " + std::to_string(int(type)) + " " + std::to_string(ix) + " " + name);
            return true;
        });
    EXPECT_EQ(asked, (std::vector<std::string> {"DefaultGenre 0 0 Default"}));
    const CGenStyle& style = generator.GenreLibs().front().mInstLibs.front().mStyles[0];
    EXPECT_FALSE(style.StyleGraphs().HasEntries());
    EXPECT_EQ(Play(generator), before);
    EXPECT_TRUE(style.StyleGraphs().HasEntries());
    EXPECT_THROW(generator.PurgeStylesForWhichBlockReturnsYes({}), std::bad_function_call);
}

TEST(CGenGeneratorStorage, ASaveKilledAtAnyMomentLeavesALoadableBundle)
{
    zkgtest::TempDir dir("zkgen_kill");
    const TGenUrl url = dir.Path() / "Big.glibb";
    CGenGenerator generator;
    FillDrummer(generator, 200);
    for (int i = 0; i < 20; ++i) {
        auto list = std::make_shared<CGenPatterns>();
        for (int j = 0; j < 50; ++j)
            list->push_back(Bar(Numbered("p", j), "Drums.Sn", j % 8));
        generator.PatternsPool().addPatternsForIdentifier(list, Numbered("list", i));
    }
    ASSERT_TRUE(generator.SaveToURL(url));
    std::mt19937 random(12345);
    for (int round = 0; round < 12; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (;;)
                generator.SaveToURL(url);
        }
        // Somewhere inside a save (one takes a few milliseconds).
        usleep(1000 + random() % 40000);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        CGenGenerator loaded;
        ASSERT_TRUE(loaded.LoadFromURL(url)) << round;
        EXPECT_EQ(loaded.PatternsPool().count(), 20u) << round;
        EXPECT_EQ(loaded.GenreLibs().front().mInstLibs.front().PatternGraph(TPatternGraphType_System).PatternCount(),
            200u);
    }
}

TEST(CGenGeneratorStorage, RatingTablesTravelWithTheBundle)
{
    zkgtest::TempDir dir("zkgen_ratings");
    CGenGenerator original;
    FillDrummer(original);
    CGenGFComplexityMatrixImmutable& complexity = original.RatingTables().mutableComplexityMatrix();
    complexity.setCanBeMutated(true);
    ASSERT_TRUE(complexity.importCSVForFamily("x;front;mid;back\nc;10;0;0\ng;0;20;0\nn;0;0;0\n", "demo"));
    complexity.setCanBeMutated(false);
    const TGenUrl url = dir.Path() / "Ratings.glibb";
    ASSERT_TRUE(original.SaveToURL(url));
    EXPECT_TRUE(ZKFileExists(url / "Contents" / "RatingTables" / "Complexity" / "demo.csv"));

    CGenGenerator loaded;
    ASSERT_TRUE(loaded.LoadFromURL(url));
    // "cgn": c front 10 + g mid 20 + n back 0 = 30.
    float value = 0.0f;
    ASSERT_TRUE(loaded.RatingTables().complexityMatrix().complexityForFamilyNameAddOnNameOutValue("demo", "cgn", value));
    EXPECT_EQ(value, 30.0f);
    // A library saved without tables leaves none behind in the bundle.
    CGenGenerator empty;
    FillDrummer(empty);
    ASSERT_TRUE(empty.SaveToURL(url));
    EXPECT_FALSE(ZKFileExists(url / "Contents" / "RatingTables"));
    ASSERT_TRUE(loaded.LoadFromURL(url));
    EXPECT_TRUE(loaded.RatingTables().IsEmpty());
}
