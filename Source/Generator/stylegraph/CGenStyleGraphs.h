#pragma once

#include "Generator/CGenSerialization.h"
#include "Platform/TGenDict.h"
#include "Platform/ZKFileOps.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CGenGFModule;

// Property keys of a style's graphs.
extern const char* const kCGenStyleGraphsProperty_IncludeScript;
extern const char* const kCGenStyleProperty_Includes;

// The version a style file is written with.
inline constexpr int64_t kCGenStyleGraphsSerializationVersion = 2;

// The keyed graphs of a style and their properties, with the style file.
//
// Style file. A keyed archive in XML property-list form, compressed with the
// content library's compression pair and written atomically. Its root
// dictionary holds
//   "m_entries"     graph key -> graph root, each an object dictionary
//                   {"$class": class name, "state": module state};
//   "m_properties"  the properties;
//   "styleGraphSerializationVersion"  2.
// A module state is the tree of ZKGFGraph/CGenGFModule state: sub-modules in
// order under "@subpatches" ({"key", "class", "state"}), connections by node
// and port keys under "@connections", ports with their values under
// "@inputs"/"@outputs", the module's state keys under their own names, and
// value objects of state keys as {"$class", ...} dictionaries. Every class
// name must be registered with the node manager; an unknown one makes the
// load fail with a message naming it.
//
// Loading also takes version-1 files (no properties) and the legacy form, a
// bare dictionary of graph key -> graph root. A missing or damaged file
// leaves the entries null.
class CGenStyleGraphs {
public:
    using TEntries = std::map<std::string, std::unique_ptr<CGenGFModule>>;

    CGenStyleGraphs();
    ~CGenStyleGraphs();
    // Copies hold copies of the graphs, made through their state.
    CGenStyleGraphs(const CGenStyleGraphs& o);
    CGenStyleGraphs& operator=(const CGenStyleGraphs& o);
    CGenStyleGraphs(CGenStyleGraphs&& o) noexcept;
    CGenStyleGraphs& operator=(CGenStyleGraphs&& o) noexcept;

    // The graph of a key, or null; null without entries.
    CGenGFModule* StyleGraphForKey(const std::string& key) const;
    // Makes the entries if needed; a null graph is ignored.
    void SetStyleGraphForKey(std::unique_ptr<CGenGFModule> graph, const std::string& key);
    // Null until a load or a SetStyleGraphForKey made them.
    const TEntries* Entries() const { return mEntries ? &*mEntries : nullptr; }
    // True once a load has made the entries, even empty ones.
    bool HasEntries() const { return mEntries.has_value(); }
    // Makes empty entries when there are none: a style without graphs yet,
    // which saves and loads as such.
    void MakeEntries();
    // Drops the entries (back to null) and empties the properties.
    void RemoveAllEntries();
    // Ends the run of every graph; a graph that isn't running raises
    // "Patch is not running", so this is for running graphs only.
    void CleanupAll();

    // A copy of the value, or none.
    std::optional<TGenDictValue> PropertyForKey(const std::string& key) const;
    // Stores a copy; no value removes the key.
    void SetPropertyForKey(const std::optional<TGenDictValue>& value, const std::string& key);
    const TGenDict& Properties() const { return mProperties; }

    bool LoadFromURL(const TGenUrl& url);
    // False (with a log line) when there are no entries or the file can't be written.
    bool SaveToURL(const TGenUrl& url) const;

    // The uncompressed keyed archive of the file and back; the load sets the
    // entries to null first and reports the reason of a failure.
    std::optional<TGenData> EncodeToKeyedArchive(std::string* outError = nullptr) const;
    bool DecodeFromKeyedArchive(const TGenData& bytes, std::string* outError = nullptr);
    // The file's bytes (compressed) and back.
    std::optional<TGenData> EncodeToFileData(std::string* outError = nullptr) const;
    bool DecodeFromFileData(const TGenData& bytes, std::string* outError = nullptr);

    // The archive of the old style records: a byte vector "vec" holding a
    // binary keyed archive with the one key "entries".
    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        std::vector<char> vec = _EntriesAsBinaryArchive();
        ar& boost::serialization::make_nvp("vec", vec);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        std::vector<char> vec;
        ar& boost::serialization::make_nvp("vec", vec);
        _LoadEntriesFromBinaryArchive(vec);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    std::vector<char> _EntriesAsBinaryArchive() const;
    bool _LoadEntriesFromBinaryArchive(const std::vector<char>& vec);

    std::optional<TEntries> mEntries;
    TGenDict mProperties;
};

namespace zkgen {

// The entries of a style file as a dictionary of graph key -> object
// dictionary, and back; the decode fails on the first graph that can't be
// made and names it.
TGenDict EncodeStyleGraphEntries(const CGenStyleGraphs::TEntries& entries);
std::optional<CGenStyleGraphs::TEntries> DecodeStyleGraphEntries(const TGenDict& dict, std::string* outError);

} // namespace zkgen
