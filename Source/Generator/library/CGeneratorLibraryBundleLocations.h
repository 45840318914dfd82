#pragma once

#include "Platform/ZKFileOps.h"

#include <memory>

// The places inside a library bundle: a folder with the extension "glibb"
// holding the archive of the genre tree ("library.glib") and, beside it, the
// pools that are loaded on need.
//
//   <root>.glibb/
//     StyleGraphs/         one "<style identifier>.style" per style
//     Contents/            folder made with the structure
//     library.glib         the generator's archive
//     PatternPool/         "<identifier>.ppz" (or ".pp") per pattern list
//     GlobalScripts/       global Lua scripts
//     values.bin           keyed archive of the library's values for keys
//     DemoWindow/, EmbeddedDemoWindow/   folders for the authoring window
//
// Every place is the root plus one component; without a root every place is
// empty (the null location).

inline constexpr const char* kLibraryExtension = "glib";
inline constexpr const char* kLibraryBundleExtension = "glibb";

class IGeneratorLibraryBundleLocations {
public:
    virtual TGenUrl RootURL() const = 0;
    virtual TGenUrl StyleGraphsFolderURL() const = 0;
    virtual TGenUrl ContentsFolderURL() const = 0;
    virtual TGenUrl DefaultRawLibraryURL() const = 0;
    virtual TGenUrl PatternPoolFolderURL() const = 0;
    virtual TGenUrl GlobalLuaScriptsPoolFolderURL() const = 0;
    virtual TGenUrl ValuesForKeysFileURL() const = 0;
    virtual TGenUrl DemoWindowURL() const = 0;
    virtual TGenUrl EmbeddedDemoWindowURL() const = 0;
    virtual ~IGeneratorLibraryBundleLocations() = default;
};

// The locations the generator itself holds: their root can be set.
class IGeneratorLibraryBundleLocationsInternal : public IGeneratorLibraryBundleLocations {
public:
    // An empty url clears the root; any other is resolved through its links
    // when it exists (a bundle reached through a link keeps one identity).
    virtual void SetRootURL(const TGenUrl& url) = 0;
};

class CGeneratorLibraryBundleLocations : public IGeneratorLibraryBundleLocationsInternal {
public:
    explicit CGeneratorLibraryBundleLocations(const TGenUrl& root = TGenUrl()) { SetRootURL(root); }

    TGenUrl RootURL() const override { return mRoot; }
    TGenUrl StyleGraphsFolderURL() const override { return _Place("StyleGraphs"); }
    TGenUrl ContentsFolderURL() const override { return _Place("Contents"); }
    TGenUrl DefaultRawLibraryURL() const override { return _Place("library.glib"); }
    TGenUrl PatternPoolFolderURL() const override { return _Place("PatternPool"); }
    TGenUrl GlobalLuaScriptsPoolFolderURL() const override { return _Place("GlobalScripts"); }
    TGenUrl ValuesForKeysFileURL() const override { return _Place("values.bin"); }
    TGenUrl DemoWindowURL() const override { return _Place("DemoWindow"); }
    TGenUrl EmbeddedDemoWindowURL() const override { return _Place("EmbeddedDemoWindow"); }
    void SetRootURL(const TGenUrl& url) override;

private:
    TGenUrl _Place(const char* component) const
    {
        return mRoot.empty() ? TGenUrl() : ZKUrlByAppendingPathComponent(mRoot, component);
    }

    TGenUrl mRoot;
};

namespace GeneratorLibraryBundleLocations {
// Locations over `url` (none for an empty url), for readers.
std::shared_ptr<IGeneratorLibraryBundleLocations> createGeneratorBundleLocations(const TGenUrl& url);
// The same with a settable root, for the generator.
std::shared_ptr<IGeneratorLibraryBundleLocationsInternal> createGeneratorBundleLocationsInternal(const TGenUrl& url);
} // namespace GeneratorLibraryBundleLocations
