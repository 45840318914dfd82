#include "Generator/library/CGenPatternsPool.h"
#include "Generator/library/CGeneratorLibraryBundleLocations.h"
#include "Platform/ZKCompression.h"
#include "Platform/ZKNotificationCenter.h"
#include "TestSupport/TempDir.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

std::shared_ptr<CGenPatterns> Patterns(std::initializer_list<const char*> names)
{
    auto patterns = std::make_shared<CGenPatterns>();
    float mark = 0.0f;
    for (const char* name : names) {
        CGenEvs evs(4.0f);
        evs.push_back(CGenEv(mark, 0.25f, st_NoteOn, 36, 100));
        mark += 0.5f;
        patterns->push_back(CGenPattern(name, evs));
    }
    return patterns;
}

std::vector<std::string> Names(const std::shared_ptr<CGenPatterns>& patterns)
{
    std::vector<std::string> names;
    if (patterns)
        for (const CGenPattern& p : *patterns)
            names.push_back(p.mName);
    return names;
}

bool WriteFile(const TGenUrl& url, const TGenData& data) { return ZKFileWriteAtomically(url, data); }

} // namespace

TEST(CGeneratorLibraryBundleLocations, PlacesBelowTheRootAndNoneWithout)
{
    CGeneratorLibraryBundleLocations none;
    EXPECT_TRUE(none.RootURL().empty());
    EXPECT_TRUE(none.StyleGraphsFolderURL().empty());
    EXPECT_TRUE(none.ValuesForKeysFileURL().empty());

    zkgtest::TempDir dir("zkgen_locations");
    const TGenUrl root = dir.Path() / "Drums.glibb";
    auto locations = GeneratorLibraryBundleLocations::createGeneratorBundleLocationsInternal(root);
    EXPECT_EQ(locations->RootURL(), root);
    EXPECT_EQ(locations->StyleGraphsFolderURL(), root / "StyleGraphs");
    EXPECT_EQ(locations->ContentsFolderURL(), root / "Contents");
    EXPECT_EQ(locations->DefaultRawLibraryURL(), root / "library.glib");
    EXPECT_EQ(locations->PatternPoolFolderURL(), root / "PatternPool");
    EXPECT_EQ(locations->GlobalLuaScriptsPoolFolderURL(), root / "GlobalScripts");
    EXPECT_EQ(locations->ValuesForKeysFileURL(), root / "values.bin");
    EXPECT_EQ(locations->DemoWindowURL(), root / "DemoWindow");
    EXPECT_EQ(locations->EmbeddedDemoWindowURL(), root / "EmbeddedDemoWindow");

    // A root reached through a link is the link's target.
    std::filesystem::create_directories(root);
    const TGenUrl link = dir.Path() / "Link.glibb";
    std::filesystem::create_directory_symlink(root, link);
    locations->SetRootURL(link);
    EXPECT_EQ(locations->RootURL(), std::filesystem::canonical(root));
    locations->SetRootURL(TGenUrl());
    EXPECT_TRUE(locations->PatternPoolFolderURL().empty());
    EXPECT_TRUE(GeneratorLibraryBundleLocations::createGeneratorBundleLocations(TGenUrl())->RootURL().empty());
}

TEST(CGenPatternsPool, CachesSavesAndReadsCompressedFiles)
{
    zkgtest::TempDir dir("zkgen_pool");
    CGeneratorLibraryBundleLocations locations(dir.Path());
    CGenPatternsPool pool(&locations);
    EXPECT_EQ(pool.count(), 0u);
    EXPECT_EQ(pool.patternsForIdentifier("grooves"), nullptr);

    int notices = 0;
    const auto token = ZKNotificationCenter::DefaultCenter().AddObserver("",
        [&notices](const std::string& name, const TGenDict&) {
            if (name == CGenPatternsPool::kWillChangeNotification || name == CGenPatternsPool::kDidChangeNotification)
                ++notices;
        });
    EXPECT_TRUE(pool.addPatternsForIdentifier(Patterns({"a", "b"}), "grooves"));
    EXPECT_TRUE(pool.addPatternsForIdentifier(Patterns({"c"}), "fills"));
    EXPECT_FALSE(pool.addPatternsForIdentifier(Patterns({"x"}), "../escape"));
    EXPECT_FALSE(pool.addPatternsForIdentifier(nullptr, "none"));
    ZKNotificationCenter::DefaultCenter().RemoveObserver(token);
    EXPECT_EQ(notices, 4);
    // Sorted identifiers; indexes count in that order.
    EXPECT_EQ(pool.identifiers(), (std::vector<std::string> {"fills", "grooves"}));
    EXPECT_EQ(Names(pool.patternsForIndexes({1, 7}).front()), (std::vector<std::string> {"a", "b"}));
    EXPECT_EQ(pool.patternsForIndexes({1, 7}).back(), nullptr);

    ASSERT_TRUE(pool.saveToDisc());
    const TGenUrl folder = locations.PatternPoolFolderURL();
    EXPECT_TRUE(ZKFileExists(folder / "grooves.ppz"));
    EXPECT_TRUE(ZKFileExists(folder / "fills.ppz"));
    // The file is the compressed text archive of the list.
    const auto plain = zkUncompressedData(*ZKFileRead(folder / "grooves.ppz"));
    ASSERT_TRUE(plain.has_value());
    CGenPatterns read;
    ASSERT_TRUE(CGenPatternsPool::PatternsFromData(*plain, read));
    EXPECT_EQ(read.size(), 2u);

    // Another pool over the same folder reads on need.
    CGenPatternsPool other(&locations);
    EXPECT_EQ(other.identifiers(), (std::vector<std::string> {"fills", "grooves"}));
    EXPECT_EQ(Names(other.patternsForIdentifier("grooves")), (std::vector<std::string> {"a", "b"}));
    // The cache hands out the same list again.
    EXPECT_EQ(other.patternsForIdentifier("grooves"), other.patternsForIdentifier("grooves"));
}

TEST(CGenPatternsPool, PrefersCompressedFilesAndSkipsDamage)
{
    zkgtest::TempDir dir("zkgen_pool");
    CGeneratorLibraryBundleLocations locations(dir.Path());
    const TGenUrl folder = locations.PatternPoolFolderURL();
    ASSERT_TRUE(ZKFileCreateDirectory(folder));
    // Both files: ".ppz" wins.
    ASSERT_TRUE(WriteFile(folder / "both.pp", CGenPatternsPool::DataForPatterns(*Patterns({"raw"}))));
    ASSERT_TRUE(WriteFile(folder / "both.ppz",
        *zkCompressedDataWithCompressionLevel(CGenPatternsPool::DataForPatterns(*Patterns({"packed"})), -1)));
    ASSERT_TRUE(WriteFile(folder / "raw.pp", CGenPatternsPool::DataForPatterns(*Patterns({"only raw"}))));
    ASSERT_TRUE(WriteFile(folder / "bad.ppz", TGenData {1, 2, 3}));
    ASSERT_TRUE(WriteFile(folder / "bad2.pp", TGenData {'x', 'y'}));
    ASSERT_TRUE(WriteFile(folder / "notes.txt", TGenData {'x'}));

    CGenPatternsPool pool(&locations);
    EXPECT_EQ(pool.identifiers(), (std::vector<std::string> {"bad", "bad2", "both", "raw"}));
    EXPECT_EQ(Names(pool.patternsForIdentifier("both")), (std::vector<std::string> {"packed"}));
    EXPECT_EQ(Names(pool.patternsForIdentifier("raw")), (std::vector<std::string> {"only raw"}));
    EXPECT_EQ(pool.patternsForIdentifier("bad"), nullptr);
    EXPECT_EQ(pool.patternsForIdentifier("bad2"), nullptr);
    EXPECT_EQ(CGenPatternsPool::fileTypeForURL("a/b.ppz"), CGenPatternsPool::TFileType_Compressed);
    EXPECT_EQ(CGenPatternsPool::fileTypeForURL("a/b.pp"), CGenPatternsPool::TFileType_Raw);
    EXPECT_EQ(CGenPatternsPool::fileTypeForURL("a/b.ppzz"), CGenPatternsPool::TFileType_Unknown);
}

TEST(CGenPatternsPool, SavesOnlyCachedListsAndRemovesTheFilesOfRemovedOnes)
{
    zkgtest::TempDir dir("zkgen_pool");
    CGeneratorLibraryBundleLocations locations(dir.Path());
    {
        CGenPatternsPool pool(&locations);
        pool.addPatternsForIdentifier(Patterns({"a"}), "keep");
        pool.addPatternsForIdentifier(Patterns({"b"}), "drop");
        pool.addPatternsForIdentifier(Patterns({"c"}), "old");
        ASSERT_TRUE(pool.saveToDisc());
    }
    const TGenUrl folder = locations.PatternPoolFolderURL();
    const auto keptBytes = ZKFileRead(folder / "keep.ppz");
    CGenPatternsPool pool(&locations);
    pool.updateFromDisc();
    pool.removePatternsForIdentifier("drop");
    ASSERT_TRUE(pool.renameIdentifierToIdentifier("old", "new"));
    EXPECT_FALSE(pool.renameIdentifierToIdentifier("missing", "other"));
    EXPECT_FALSE(pool.renameIdentifierToIdentifier("keep", "new"));
    ASSERT_TRUE(pool.saveToDisc());
    // "keep" was never read, so its file stays as it was.
    EXPECT_EQ(ZKFileRead(folder / "keep.ppz"), keptBytes);
    EXPECT_FALSE(ZKFileExists(folder / "drop.ppz"));
    EXPECT_FALSE(ZKFileExists(folder / "old.ppz"));
    EXPECT_TRUE(ZKFileExists(folder / "new.ppz"));
    pool.updateFromDisc();
    EXPECT_EQ(pool.identifiers(), (std::vector<std::string> {"keep", "new"}));
    EXPECT_EQ(Names(pool.patternsForIdentifier("new")), (std::vector<std::string> {"c"}));
    // A pool without a bundle holds lists in memory only.
    CGenPatternsPool loose;
    loose.addPatternsForIdentifier(Patterns({"z"}), "z");
    EXPECT_FALSE(loose.saveToDisc());
    EXPECT_EQ(Names(loose.patternsForIdentifier("z")), (std::vector<std::string> {"z"}));
}
