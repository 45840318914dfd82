#pragma once

#include "Generator/patterns/CGenPattern.h"
#include "Platform/ZKFileOps.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

class IGeneratorLibraryBundleLocations;

// Pattern lists shared by styles, kept once in the bundle's "PatternPool"
// folder and loaded on need. A style names its lists by identifier.
//
// Files: "<identifier>.pp" is a Boost text archive of CGenPatterns;
// "<identifier>.ppz" is the same text compressed through the project's
// compression pair (zkCompressedDataWithCompressionLevel at level -1, zlib's
// default, behind a 4-byte length). A read prefers ".ppz"; a save writes
// ".ppz", atomically, for cached lists only, and removes the files of
// removed identifiers.
//
// Identifiers are kept sorted; an index is a position in that order. The
// cache holds lists by shared pointer, so a generation keeps a list alive
// even when the pool purges it. Changes are bracketed by the notifications
// "GenPatternsPoolWillChangeNotification" and "GenPatternsPoolDidChangeNotification".
class CGenPatternsPool {
public:
    static constexpr const char* kWillChangeNotification = "GenPatternsPoolWillChangeNotification";
    static constexpr const char* kDidChangeNotification = "GenPatternsPoolDidChangeNotification";
    static constexpr const char* kRawExtension = "pp";
    static constexpr const char* kCompressedExtension = "ppz";
    enum TFileType { TFileType_Unknown = 0, TFileType_Raw = 1, TFileType_Compressed = 2 };

    // The locations are the generator's and outlive the pool; null means none.
    explicit CGenPatternsPool(const IGeneratorLibraryBundleLocations* locations = nullptr) : mLocations(locations) {}
    void setLibraryBundleLocations(const IGeneratorLibraryBundleLocations* locations) { mLocations = locations; }

    size_t count() const;
    std::vector<std::string> identifiers() const;
    bool hasPatternsForIdentifier(const std::string& identifier) const;

    // From the cache; else read from the folder and cached. Null when there
    // is no such list or its file can't be read.
    std::shared_ptr<CGenPatterns> patternsForIdentifier(const std::string& identifier);
    std::vector<std::shared_ptr<CGenPatterns>> patternsForIdentifiers(const std::vector<std::string>& identifiers);
    std::vector<std::shared_ptr<CGenPatterns>> patternsForIndexes(const std::vector<size_t>& indexes);

    // False for a null list or an identifier that can't be a file name
    // (empty, ".", "..", or holding a '/' or a NUL).
    bool addPatternsForIdentifier(std::shared_ptr<CGenPatterns> patterns, const std::string& identifier);
    static bool IsValidIdentifier(const std::string& identifier);
    void removePatternsForIdentifier(const std::string& identifier);
    void removePatternsForIndexes(const std::vector<size_t>& indexes);
    // False when the old identifier is unknown, the new one is taken, or the
    // list can't be read.
    bool renameIdentifierToIdentifier(const std::string& from, const std::string& to);
    // Empties the cache and the identifier set; the folder counts as unread.
    void purge();
    // purge, then the identifiers from the folder.
    void updateFromDisc();
    void updateIdentifiersFromPatternsFilesOnDisc();
    // Writes every cached list, then removes the files of removed identifiers.
    bool saveToDisc();
    void cleanupPatternsFilesOnDisc();

    // The bytes of a list: "<identifier>.ppz" uncompressed, else "<identifier>.pp".
    std::optional<TGenData> dataForIdentifier(const std::string& identifier) const;
    static TFileType fileTypeForURL(const TGenUrl& url);
    // The text archive of a list, and the list of such a text (false for damage).
    static TGenData DataForPatterns(const CGenPatterns& patterns);
    static bool PatternsFromData(const TGenData& data, CGenPatterns& patterns);

private:
    TGenUrl _FolderURL() const;
    void _ReadFolderOnce() const;
    void _WillChange() const;
    void _DidChange() const;

    const IGeneratorLibraryBundleLocations* mLocations = nullptr;
    mutable std::set<std::string> mIdentifiers;
    mutable bool mFolderRead = false;
    std::map<std::string, std::shared_ptr<CGenPatterns>> mPatternsCache;
    // Removed since the last save, so that the save removes their files.
    std::set<std::string> mRemovedIdentifiers;
};
