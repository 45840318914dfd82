#include "Generator/stylegraph/CGenStyleGraphs.h"

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFNodeManager.h"
#include "Platform/ZKCompression.h"
#include "Platform/ZKKeyedArchive.h"
#include "Platform/ZKLog.h"

const char* const kCGenStyleGraphsProperty_IncludeScript = "kCGenStyleGraphsProperty_IncludeScript";
const char* const kCGenStyleProperty_Includes = "kCGenStyleProperty_Includes";

namespace {

constexpr const char* kKeyEntries = "m_entries";
constexpr const char* kKeyProperties = "m_properties";
constexpr const char* kKeyVersion = "styleGraphSerializationVersion";
constexpr const char* kKeyLegacyEntries = "entries";

void SetError(std::string* outError, const std::string& message)
{
    if (outError)
        *outError = message;
}

// A graph made again from its class and state: an independent copy.
std::unique_ptr<CGenGFModule> CopyGraph(const CGenGFModule& graph)
{
    std::unique_ptr<ZKGFNode> node = graph.nodeClassDescription().CreateNode();
    auto* module = dynamic_cast<CGenGFModule*>(node.get());
    if (!module)
        return nullptr;
    node.release();
    std::unique_ptr<CGenGFModule> copy(module);
    copy->setState(graph.state());
    return copy;
}

// One graph of a style file; null with the reason in `error`, written to
// follow the graph's key (": ..." or " is no object").
std::unique_ptr<CGenGFModule> DecodeStyleGraph(const TGenDictValue& value, std::string& error)
{
    const TGenDict* object = value.AsDict();
    if (!object) {
        error = " is no object";
        return nullptr;
    }
    const std::string className = object->StringForKey(kZKCodingClassKey);
    const ZKGFNodeClassDescription* description
        = CGenGFNodeManager::setupDefaultNodeManager().classDescriptionForClass(className);
    std::unique_ptr<ZKGFNode> node = description ? description->CreateNode() : nullptr;
    auto* module = dynamic_cast<CGenGFModule*>(node.get());
    if (!module) {
        error = std::string(": unknown module class \"") + className + "\"";
        return nullptr;
    }
    node.release();
    std::unique_ptr<CGenGFModule> graph(module);
    const TGenDict* state = object->DictForKey(kZKGFEntry_State);
    std::string stateError;
    if (state && !graph->setState(*state, &stateError)) {
        error = std::string(": ") + stateError;
        return nullptr;
    }
    return graph;
}

} // namespace

namespace zkgen {

TGenDict EncodeStyleGraphEntries(const CGenStyleGraphs::TEntries& entries)
{
    TGenDict dict;
    for (const auto& [key, graph] : entries)
        dict.SetValueForKey(ZKCodingEncodeObject(*graph), key);
    return dict;
}

std::optional<CGenStyleGraphs::TEntries> DecodeStyleGraphEntries(const TGenDict& dict, std::string* outError)
{
    CGenStyleGraphs::TEntries entries;
    for (const auto& [key, value] : dict) {
        const std::string keyText = key.ToString();
        std::string error;
        std::unique_ptr<CGenGFModule> graph;
        // Damaged state can make the graph runtime raise (two connections
        // into one input, say); that is a failed decode like any other.
        try {
            graph = DecodeStyleGraph(value, error);
        } catch (const std::exception& e) {
            error = std::string(": ") + e.what();
        }
        if (!graph) {
            SetError(outError, std::string("graph \"") + keyText + "\"" + error);
            return std::nullopt;
        }
        entries.emplace(keyText, std::move(graph));
    }
    return entries;
}

} // namespace zkgen

CGenStyleGraphs::CGenStyleGraphs() = default;
CGenStyleGraphs::~CGenStyleGraphs() = default;
CGenStyleGraphs::CGenStyleGraphs(CGenStyleGraphs&& o) noexcept = default;
CGenStyleGraphs& CGenStyleGraphs::operator=(CGenStyleGraphs&& o) noexcept = default;

CGenStyleGraphs::CGenStyleGraphs(const CGenStyleGraphs& o) : mProperties(o.mProperties)
{
    if (o.mEntries) {
        mEntries.emplace();
        for (const auto& [key, graph] : *o.mEntries)
            if (auto copy = CopyGraph(*graph))
                mEntries->emplace(key, std::move(copy));
    }
}

CGenStyleGraphs& CGenStyleGraphs::operator=(const CGenStyleGraphs& o)
{
    if (this != &o)
        *this = CGenStyleGraphs(o);
    return *this;
}

CGenGFModule* CGenStyleGraphs::StyleGraphForKey(const std::string& key) const
{
    if (!mEntries)
        return nullptr;
    const auto it = mEntries->find(key);
    return it == mEntries->end() ? nullptr : it->second.get();
}

void CGenStyleGraphs::SetStyleGraphForKey(std::unique_ptr<CGenGFModule> graph, const std::string& key)
{
    if (!graph)
        return;
    if (!mEntries)
        mEntries.emplace();
    (*mEntries)[key] = std::move(graph);
}

void CGenStyleGraphs::MakeEntries()
{
    if (!mEntries)
        mEntries.emplace();
}

void CGenStyleGraphs::RemoveAllEntries()
{
    mEntries.reset();
    mProperties.clear();
}

void CGenStyleGraphs::CleanupAll()
{
    if (!mEntries)
        return;
    for (auto& [key, graph] : *mEntries)
        graph->_cleanup();
}

std::optional<TGenDictValue> CGenStyleGraphs::PropertyForKey(const std::string& key) const
{
    const TGenDictValue* v = mProperties.ValueForKey(key);
    return v ? std::optional<TGenDictValue>(*v) : std::nullopt;
}

void CGenStyleGraphs::SetPropertyForKey(const std::optional<TGenDictValue>& value, const std::string& key)
{
    if (value)
        mProperties.SetValueForKey(*value, key);
    else
        mProperties.RemoveValueForKey(key);
}

std::optional<TGenData> CGenStyleGraphs::EncodeToKeyedArchive(std::string* outError) const
{
    if (!mEntries) {
        SetError(outError, "no style graphs to write");
        return std::nullopt;
    }
    TGenDict root;
    root.SetValueForKey(zkgen::EncodeStyleGraphEntries(*mEntries), kKeyEntries);
    root.SetValueForKey(mProperties, kKeyProperties);
    root.SetValueForKey(kCGenStyleGraphsSerializationVersion, kKeyVersion);
    return ZKKeyedArchiveEncode(root, ZKKeyedArchiveFormat_XML, outError);
}

bool CGenStyleGraphs::DecodeFromKeyedArchive(const TGenData& bytes, std::string* outError)
{
    mEntries.reset();
    mProperties.clear();
    std::string error;
    const std::optional<TGenDict> root = ZKKeyedArchiveDecode(bytes, &error);
    if (!root) {
        SetError(outError, error);
        return false;
    }
    try {
        // A version number that is no integer at all (1e300, NaN) comes from
        // damage; reading it as 0 would load the file as something it isn't.
        const TGenDictValue* versionValue = root->ValueForKey(kKeyVersion);
        const int64_t version = versionValue ? versionValue->AsInteger(0) : 0;
        if (versionValue && versionValue->IsNumber() && !versionValue->IntegerIfRepresentable()) {
            error = std::string("\"") + kKeyVersion + "\" is out of range";
        } else if (const TGenDict* entries = root->DictForKey(kKeyEntries)) {
            if (auto decoded = zkgen::DecodeStyleGraphEntries(*entries, &error))
                mEntries = std::move(*decoded);
            if (mEntries && version >= 2)
                if (const TGenDict* properties = root->DictForKey(kKeyProperties))
                    mProperties = *properties;
        } else if (!root->HasKey(kKeyVersion)) {
            // The legacy form: the root itself is the dictionary of graphs.
            if (auto decoded = zkgen::DecodeStyleGraphEntries(*root, &error))
                mEntries = std::move(*decoded);
        } else {
            error = "no \"m_entries\" in the archive";
        }
    } catch (const std::exception& e) {
        mEntries.reset();
        error = e.what();
    }
    if (!mEntries) {
        mProperties.clear();
        SetError(outError, error);
    }
    return mEntries.has_value();
}

std::optional<TGenData> CGenStyleGraphs::EncodeToFileData(std::string* outError) const
{
    const std::optional<TGenData> archive = EncodeToKeyedArchive(outError);
    if (!archive)
        return std::nullopt;
    return zkCompressedDataWithCompressionLevel(*archive, -1, outError);
}

bool CGenStyleGraphs::DecodeFromFileData(const TGenData& bytes, std::string* outError)
{
    mEntries.reset();
    mProperties.clear();
    const std::optional<TGenData> archive = zkUncompressedData(bytes, outError);
    return archive && DecodeFromKeyedArchive(*archive, outError);
}

bool CGenStyleGraphs::LoadFromURL(const TGenUrl& url)
{
    mEntries.reset();
    mProperties.clear();
    std::string error;
    const std::optional<TGenData> bytes = ZKFileRead(url, &error);
    if (!bytes || !DecodeFromFileData(*bytes, &error)) {
        ZKLogf(ZKLogCategory_GeneratorStorage, "Failed to load style graphs from '%{public}@': %{public}s",
            {url.string(), error});
        return false;
    }
    return true;
}

bool CGenStyleGraphs::SaveToURL(const TGenUrl& url) const
{
    if (!mEntries)
        return false;
    std::string error;
    const std::optional<TGenData> bytes = EncodeToFileData(&error);
    if (!bytes || !ZKFileWriteAtomically(url, *bytes, &error)) {
        ZKLogf(ZKLogCategory_GeneratorStorage, "Failed to save style graphs to '%{public}@': %{public}s",
            {url.string(), error});
        return false;
    }
    return true;
}

std::vector<char> CGenStyleGraphs::_EntriesAsBinaryArchive() const
{
    TGenDict root;
    if (mEntries)
        root.SetValueForKey(zkgen::EncodeStyleGraphEntries(*mEntries), kKeyLegacyEntries);
    std::string error;
    const std::optional<TGenData> bytes = ZKKeyedArchiveEncode(root, ZKKeyedArchiveFormat_Binary, &error);
    if (!bytes) {
        ZKLogf(ZKLogCategory_GeneratorStorage, "Failed to archive style graphs: %{public}s", {error});
        return {};
    }
    return std::vector<char>(bytes->begin(), bytes->end());
}

bool CGenStyleGraphs::_LoadEntriesFromBinaryArchive(const std::vector<char>& vec)
{
    mEntries.reset();
    std::string error;
    const std::optional<TGenDict> root = ZKKeyedArchiveDecode(reinterpret_cast<const uint8_t*>(vec.data()), vec.size(), &error);
    const TGenDict* entries = root ? root->DictForKey(kKeyLegacyEntries) : nullptr;
    if (entries) {
        if (auto decoded = zkgen::DecodeStyleGraphEntries(*entries, &error))
            mEntries = std::move(*decoded);
    } else if (root) {
        error = "no \"entries\" in the archive";
    }
    if (!mEntries && !vec.empty())
        ZKLogf(ZKLogCategory_GeneratorStorage, "Failed to read archived style graphs: %{public}s", {error});
    return mEntries.has_value();
}
