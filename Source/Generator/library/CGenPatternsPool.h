#pragma once

#include "Generator/library/CGenFilePool.h"
#include "Generator/patterns/CGenPattern.h"

#include <memory>
#include <string>
#include <vector>

namespace zkgen {

// A pattern list as the pool keeps it: a Boost text archive of CGenPatterns.
struct TPatternsPoolCodec {
    static constexpr const char* kRawExtension = "pp";
    static constexpr const char* kCompressedExtension = "ppz";
    static constexpr const char* kWillChangeNotification = "GenPatternsPoolWillChangeNotification";
    static constexpr const char* kDidChangeNotification = "GenPatternsPoolDidChangeNotification";
    static constexpr const char* kLogName = "Pattern pool";
    static TGenUrl FolderURL(const IGeneratorLibraryBundleLocations& locations) { return locations.PatternPoolFolderURL(); }
    static TGenData Encode(const CGenPatterns& patterns);
    static bool Decode(const TGenData& data, CGenPatterns& patterns);
};

} // namespace zkgen

// Pattern lists shared by styles, kept once in the bundle's "PatternPool"
// folder and loaded on need. A style names its lists by identifier.
// Files: "<identifier>.pp" is a Boost text archive of CGenPatterns;
// "<identifier>.ppz" the same compressed (see TGenFilePool).
class CGenPatternsPool : public zkgen::TGenFilePool<CGenPatterns, zkgen::TPatternsPoolCodec> {
public:
    using TBase = zkgen::TGenFilePool<CGenPatterns, zkgen::TPatternsPoolCodec>;
    static constexpr const char* kWillChangeNotification = zkgen::TPatternsPoolCodec::kWillChangeNotification;
    static constexpr const char* kDidChangeNotification = zkgen::TPatternsPoolCodec::kDidChangeNotification;
    static constexpr const char* kRawExtension = zkgen::TPatternsPoolCodec::kRawExtension;
    static constexpr const char* kCompressedExtension = zkgen::TPatternsPoolCodec::kCompressedExtension;

    using TBase::TBase;

    bool hasPatternsForIdentifier(const std::string& identifier) const { return hasObjectForIdentifier(identifier); }
    std::shared_ptr<CGenPatterns> patternsForIdentifier(const std::string& identifier) { return objectForIdentifier(identifier); }
    std::vector<std::shared_ptr<CGenPatterns>> patternsForIdentifiers(const std::vector<std::string>& identifiers)
    {
        return objectsForIdentifiers(identifiers);
    }
    std::vector<std::shared_ptr<CGenPatterns>> patternsForIndexes(const std::vector<size_t>& indexes)
    {
        return objectsForIndexes(indexes);
    }
    bool addPatternsForIdentifier(std::shared_ptr<CGenPatterns> patterns, const std::string& identifier)
    {
        return setObjectForIdentifier(std::move(patterns), identifier);
    }
    void removePatternsForIdentifier(const std::string& identifier) { removeObjectForIdentifier(identifier); }
    void removePatternsForIndexes(const std::vector<size_t>& indexes) { removeObjectsForIndexes(indexes); }
    void updateIdentifiersFromPatternsFilesOnDisc() { _ReadFolderOnce(); }
    void cleanupPatternsFilesOnDisc() { cleanupFilesOnDisc(); }

    // The text archive of a list, and the list of such a text (false for damage).
    static TGenData DataForPatterns(const CGenPatterns& patterns) { return zkgen::TPatternsPoolCodec::Encode(patterns); }
    static bool PatternsFromData(const TGenData& data, CGenPatterns& patterns)
    {
        return zkgen::TPatternsPoolCodec::Decode(data, patterns);
    }
};
