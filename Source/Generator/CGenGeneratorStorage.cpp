// The library on disk: loading and saving bundles and raw libraries, the
// archive itself, and the values for keys.
#include "Generator/CGenGenerator.h"
#include "Generator/CGenGeneratorStorage.h"
#include "Generator/library/CGeneratorLibraryBundleLocations.h"
#include "Platform/ZKKeyedArchive.h"
#include "Platform/ZKLog.h"
#include "Platform/ZKNotificationCenter.h"
#include "Platform/ZKTime.h"

#include <boost/archive/text_oarchive.hpp>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace {

// Below the bundle's "Contents" folder.
constexpr const char* kRatingTablesFolder = "RatingTables";

// Notification names and their detail keys.
constexpr const char* kWillLoad = "GenToolLibraryWillLoadNotification";
constexpr const char* kDidLoad = "GenToolLibraryDidLoadNotification";
constexpr const char* kLoadSender = "GenToolLibraryLoadNotification_Sender";
constexpr const char* kLoadURL = "GenToolLibraryLoadNotification_URL";
constexpr const char* kLoadDemoWindowURL = "GenToolLibraryLoadNotification_DemoWindowURL";
constexpr const char* kLoadEmbeddedDemoWindowURL = "GenToolLibraryLoadNotification_EmbeddedDemoWindowURL";
constexpr const char* kWillSave = "GenToolLibraryWillSaveNotification";
constexpr const char* kDidSave = "GenToolLibraryDidSaveNotification";
constexpr const char* kSaveSender = "GenToolLibrarySaveNotification_Sender";
constexpr const char* kSaveURL = "GenToolLibrarySaveNotification_URL";
constexpr const char* kSaveDemoWindowURL = "GenToolLibrarySaveNotification_DemoWindowURL";
constexpr const char* kSaveEmbeddedDemoWindowURL = "GenToolLibrarySaveNotification_EmbeddedDemoWindowURL";


void LogStorage(std::string_view format, std::initializer_list<ZKLogArg> args)
{
    ZKLogf(ZKLogCategory_GeneratorStorage, format, args);
}

// The details every load and save notice carries: who sent it and, when
// given, the place.
TGenDict NoticeDetails(const void* sender, const char* senderKey, const char* urlKey = nullptr,
    const TGenUrl& url = TGenUrl())
{
    TGenDict details;
    details.SetValueForKey(static_cast<int64_t>(reinterpret_cast<intptr_t>(sender)), senderKey);
    if (urlKey)
        details.SetValueForKey(url.string(), urlKey);
    return details;
}

void SetError(TGenStorageError* error, const std::string& description)
{
    if (error)
        *error = TGenStorageError {TGenStorageError::kDomain, -1, description};
}

std::string SaveFailedDescription(const char* what)
{
    return std::string("LogTolvarLibrayStorage Tolvar library 'Save' FAILED because '") + what + "' failed.";
}

// `inner` lies at or below `outer` (both absolute, links resolved as far as they exist).
bool IsAtOrBelow(const TGenUrl& inner, const TGenUrl& outer)
{
    const TGenUrl a = inner.lexically_normal();
    const TGenUrl b = outer.lexically_normal();
    auto ai = a.begin();
    for (auto bi = b.begin(); bi != b.end(); ++bi, ++ai) {
        if (bi->empty())
            continue;
        if (ai == a.end() || *ai != *bi)
            return false;
    }
    return true;
}

// The absolute location of `url` with every link resolved that exists: the
// item itself, or else its parent folder.
TGenUrl ResolvedURL(const TGenUrl& url)
{
    if (auto resolved = ZKFileResolveLinks(url))
        return *resolved;
    const TGenUrl parent = ZKUrlByDeletingLastPathComponent(std::filesystem::absolute(url));
    if (auto resolvedParent = ZKFileResolveLinks(parent))
        return ZKUrlByAppendingPathComponent(*resolvedParent, ZKUrlLastPathComponent(url));
    return std::filesystem::absolute(url).lexically_normal();
}

// A binary archive begins with the 8-byte length 22 and the text
// "serialization::archive"; anything else is not tried as one, since the
// reader would take garbage for the length of that text.
bool LooksLikeBinaryArchive(const TGenData& bytes)
{
    static const std::string kSignature = "serialization::archive";
    if (bytes.size() < 8 + kSignature.size() || bytes[0] != kSignature.size())
        return false;
    for (size_t i = 1; i < 8; ++i)
        if (bytes[i] != 0)
            return false;
    return std::equal(kSignature.begin(), kSignature.end(), bytes.begin() + 8);
}

template <class TIArchive>
bool ReadGeneratorArchive(const TGenData& bytes, CGenGenreLibs& libs, TGenLegacyGlobalLuaScript& legacy,
    std::string& reason)
{
    try {
        TIArchive ia(bytes.data(), bytes.size());
        zkgen::TGenGeneratorArchive archive {&libs, &legacy};
        ia >> archive;
        return true;
    } catch (const std::exception& e) {
        reason = e.what();
    } catch (...) {
        reason = "unknown failure";
    }
    return false;
}

} // namespace

// ---- The archive

bool CGenGenerator::SerializeToPath(const std::string& path) const
{
    std::string reason;
    try {
        std::ostringstream os;
        {
            boost::archive::text_oarchive oa(os);
            zkgen::TGenGeneratorArchive archive {const_cast<CGenGenreLibs*>(&mGenreLibs), nullptr};
            oa << archive;
        }
        const std::string text = os.str();
        if (ZKFileWriteAtomically(path, TGenData(text.begin(), text.end()), &reason)) {
            LogStorage("SerializeToPath '%{public}s' %{public}@", {path, "FINISHED"});
            return true;
        }
    } catch (const std::exception& e) {
        reason = e.what();
    }
    LogStorage("SerializeToPath '%{public}s' %{public}@", {path, "failed with reason: " + reason});
    return false;
}

bool CGenGenerator::DeserializeFromPath(const std::string& path)
{
    if (path.size() <= 1)
        return false;
    std::string reason;
    const std::optional<TGenData> bytes = ZKFileRead(path, &reason);
    // Read into a tree of its own: the generator's content changes only when
    // the whole archive was read.
    CGenGenreLibs libs;
    TGenLegacyGlobalLuaScript legacy;
    bool ok = bytes && ReadGeneratorArchive<zkgen::TSafeTextIArchive>(*bytes, libs, legacy, reason);
    if (bytes && !ok) {
        libs.clear();
        legacy = TGenLegacyGlobalLuaScript();
        std::string binaryReason = "not a binary archive";
        if (LooksLikeBinaryArchive(*bytes))
            ok = ReadGeneratorArchive<zkgen::TSafeBinaryIArchive>(*bytes, libs, legacy, binaryReason);
        reason = "as text: " + reason + "; as binary: " + binaryReason;
    }
    if (ok) {
        mGenreLibs = std::move(libs);
        if (legacy.mPresent)
            mLegacyGlobalLuaScript = std::move(legacy);
    }
    LogStorage("Load '%{public}s' %{public}s", {path, ok ? "FINISHED" : "FAILED"});
    if (!ok)
        LogStorage("Load '%{public}s': %{public}s", {path, reason});
    return ok;
}

// ---- Locations

const IGeneratorLibraryBundleLocations& CGenGenerator::LibraryBundleLocations() const { return *mLibraryBundleLocations; }

void CGenGenerator::UpdateLibraryBundleLocationsWeakPointers()
{
    const TGenUrl styles = mLibraryBundleLocations->StyleGraphsFolderURL();
    for (CGenGenreLib& genre : mGenreLibs)
        for (CGenInstLib& lib : genre.mInstLibs)
            lib.mStyles.SetStyleGraphsFolderURL(styles);
}

bool CGenGenerator::CreateBundleStructureAtURL(const TGenUrl& url, std::string* error)
{
    if (ZKFileExists(url) && !ZKFileIsDirectory(url) && !ZKFileRemove(url, error))
        return false;
    if (!ZKFileCreateDirectory(url, error))
        return false;
    const CGeneratorLibraryBundleLocations places(url);
    for (const TGenUrl& folder : {places.StyleGraphsFolderURL(), places.ContentsFolderURL(),
             places.PatternPoolFolderURL(), places.GlobalLuaScriptsPoolFolderURL(), places.DemoWindowURL(),
             places.EmbeddedDemoWindowURL()})
        if (!ZKFileIsDirectory(folder) && !ZKFileCreateDirectory(folder, error))
            return false;
    return true;
}

// ---- Loading

bool CGenGenerator::LoadFromURL(const TGenUrl& url)
{
    if (url.empty() || !ZKFileExists(url))
        return false;
    const CGeneratorLibraryBundleLocations places(url);
    const bool bundle = ZKFileIsDirectory(url) && ZKFileIsDirectory(places.StyleGraphsFolderURL());
    LogStorage("Load BEGIN '%{public}@' ", {url.string()});
    const double start = static_cast<double>(ZKMonotonicNanoseconds()) * 1e-9;
    const bool ok = bundle ? LoadBundleFromURL(url) : LoadRawLibraryFromURL(url);
    LogStorage("Load %{public}s", {ok ? "FINISHED" : "FAILED"});
    if (ok) {
        mLoadTime1 = start;
        mLoadTime2 = static_cast<double>(ZKMonotonicNanoseconds()) * 1e-9;
        if (mLoadTime2 == mLoadTime1)
            mLoadTime2 += 1e-9;
    }
    return ok;
}

bool CGenGenerator::LoadBundleFromURL(const TGenUrl& url)
{
    ZKNotificationCenter::DefaultCenter().Post(kWillLoad, NoticeDetails(this, kLoadSender, kLoadURL, url));

    const CGeneratorLibraryBundleLocations places(url);
    const bool ok = DeserializeFromPath(places.DefaultRawLibraryURL().string());
    if (ok) {
        mLibraryBundleLocations->SetRootURL(url);
        mPatternsPool.updateFromDisc();
        // The values of the library; absent is null, never empty.
        mValuesForKeys.reset();
        if (auto bytes = ZKFileRead(places.ValuesForKeysFileURL())) {
            std::string error;
            if (auto dict = ZKKeyedArchiveDecode(*bytes, &error); dict && !dict->empty())
                mValuesForKeys = std::make_unique<TGenDict>(std::move(*dict));
            else if (!dict)
                LogStorage("Values of '%{public}@' not read: %{public}s", {url.string(), error});
        }
        mGlobalLuaScriptsPool.updateFromDisc();
        _AdoptLegacyGlobalLuaScript();
        mRatingTables = CGenGFRatingTables();
        const TGenUrl ratings = ZKUrlByAppendingPathComponent(places.ContentsFolderURL(), kRatingTablesFolder);
        if (ZKFileIsDirectory(ratings))
            mRatingTables.ImportFromFolder(ratings);
    } else {
        // The content that was there stays usable, with its own bundle.
        LogStorage("'LoadBundleFromURL' FAILED because 'DeserializeFromPath' failed.", {});
    }
    UpdateLibraryBundleLocationsWeakPointers();
    ClearLuaStateCache();
    ClearClaveCaches();

    TGenDict did = NoticeDetails(this, kLoadSender, kLoadURL, url);
    did.SetValueForKey(mLibraryBundleLocations->DemoWindowURL().string(), kLoadDemoWindowURL);
    did.SetValueForKey(mLibraryBundleLocations->EmbeddedDemoWindowURL().string(), kLoadEmbeddedDemoWindowURL);
    ZKNotificationCenter::DefaultCenter().Post(kDidLoad, did);
    return ok;
}

bool CGenGenerator::LoadRawLibraryFromURL(const TGenUrl& url)
{
    const TGenDict details = NoticeDetails(this, kLoadSender);
    ZKNotificationCenter::DefaultCenter().Post(kWillLoad, details);
    const bool ok = DeserializeFromPath(url.string());
    if (ok) {
        // A single-file library has no bundle: no styles on disk, no pools.
        mLibraryBundleLocations->SetRootURL(TGenUrl());
        mPatternsPool.purge();
        mGlobalLuaScriptsPool.purge();
        _AdoptLegacyGlobalLuaScript();
        mRatingTables = CGenGFRatingTables();
        mValuesForKeys.reset();
    } else {
        LogStorage("'LoadRawLibraryFromURL' FAILED because 'DeserializeFromPath' failed.", {});
    }
    UpdateLibraryBundleLocationsWeakPointers();
    ClearLuaStateCache();
    ClearClaveCaches();
    ZKNotificationCenter::DefaultCenter().Post(kDidLoad, details);
    return ok;
}

void CGenGenerator::_AdoptLegacyGlobalLuaScript()
{
    if (!mLegacyGlobalLuaScript.mPresent)
        return;
    mGlobalLuaScriptsPool.setLuaScriptForIdentifier(
        mLegacyGlobalLuaScript.mSource, CGenGlobalLuaScriptsPool::kLegacyGlobalLuaScriptIdentifier);
    mLegacyGlobalLuaScript = TGenLegacyGlobalLuaScript();
}

// ---- Saving

bool CGenGenerator::SaveToURL(const TGenUrl& target, TGenStorageError* error)
{
    const TGenUrl url = ResolvedURL(target);
    ZKNotificationCenter::DefaultCenter().Post(kWillSave, NoticeDetails(this, kSaveSender, kSaveURL, url));

    std::string reason;
    const TGenUrl oldRoot = mLibraryBundleLocations->RootURL();
    if (!oldRoot.empty() && oldRoot != url) {
        // A save under a new name starts from a copy of the old bundle, so
        // that pool files not in the cache survive. A target inside the
        // bundle would be removed with its source: refused.
        if (IsAtOrBelow(url, oldRoot) || IsAtOrBelow(oldRoot, url)) {
            const std::string why = "the new place and the bundle '" + oldRoot.string() + "' lie inside one another";
            LogStorage("Save (As) to '%{public}@' FAILED because %{public}s", {url.string(), why});
            SetError(error, "LogTolvarLibrayStorage Tolvar library 'Save' FAILED because " + why + ".");
            return false;
        }
        LogStorage("Save (As) BEGIN '%{public}@'", {url.string()});
        if (ZKFileExists(url))
            ZKFileRemove(url);
        if (!ZKFileCopy(oldRoot, url, &reason)) {
            LogStorage("Save (As) to '%{public}@' FAILED because 'fileManager copyItemAtURL' failed. (%{public}@)",
                {url.string(), reason});
            SetError(error, reason);
            return false;
        }
        if (!CreateBundleStructureAtURL(url, &reason)) {
            LogStorage("Save (As) to '%{public}@' FAILED because 'CreateBundleStructureAtURL' failed. (%{public}@)",
                {url.string(), reason});
            SetError(error, reason);
            return false;
        }
    } else {
        LogStorage("Save BEGIN to '%{public}@'", {url.string()});
        if (!CreateBundleStructureAtURL(url, &reason)) {
            LogStorage("Save to '%{public}@' FAILED because 'CreateBundleStructureAtURL' failed. (%{public}@)",
                {url.string(), reason});
            SetError(error, reason);
            return false;
        }
    }
    mLibraryBundleLocations->SetRootURL(url);
    UpdateLibraryBundleLocationsWeakPointers();

    // The styles' graphs live in their own files beside the archive.
    for (CGenGenreLib& genre : mGenreLibs)
        for (CGenInstLib& lib : genre.mInstLibs) {
            lib.mStyles.WriteBackCachedStyles();
            lib.mStyles.CleanUpStoredStyles();
        }
    if (!SerializeToPath(mLibraryBundleLocations->DefaultRawLibraryURL().string())) {
        LogStorage("Save to '%{public}@' FAILED because 'SerializeToPath' failed.", {url.string()});
        SetError(error, SaveFailedDescription("SerializeToPath"));
        return false;
    }
    if (!mPatternsPool.saveToDisc()) {
        LogStorage("Save to '%{public}@' FAILED because '[mPatternsPool saveToDisc]' failed.", {url.string()});
        SetError(error, SaveFailedDescription("[mPatternsPool saveToDisc]"));
        return false;
    }
    // The tables are written whole: an older set must not leave files behind.
    const TGenUrl ratings =
        ZKUrlByAppendingPathComponent(mLibraryBundleLocations->ContentsFolderURL(), kRatingTablesFolder);
    std::error_code removeError;
    std::filesystem::remove_all(ratings, removeError);
    if (!mRatingTables.IsEmpty() && !mRatingTables.WriteToFolder(ratings, &reason)) {
        LogStorage("Save to '%{public}@' FAILED because the rating tables can't be written. (%{public}@)",
            {url.string(), reason});
        SetError(error, reason);
        return false;
    }
    if (!mGlobalLuaScriptsPool.saveToDisc()) {
        LogStorage("Save to '%{public}@' FAILED because '[mGlobalLuaScriptsPool saveToDisc]' failed.", {url.string()});
        SetError(error, SaveFailedDescription("[mGlobalLuaScriptsPool saveToDisc]"));
        return false;
    }
    const TGenUrl valuesFile = mLibraryBundleLocations->ValuesForKeysFileURL();
    if (mValuesForKeys && !mValuesForKeys->empty()) {
        const auto bytes = ZKKeyedArchiveEncode(*mValuesForKeys, ZKKeyedArchiveFormat_Binary, &reason);
        if (!bytes || !ZKFileWriteAtomically(valuesFile, *bytes, &reason)) {
            LogStorage("Save to '%{public}@' FAILED because the values can't be written. (%{public}@)",
                {url.string(), reason});
            SetError(error, reason);
            return false;
        }
    } else if (ZKFileExists(valuesFile)) {
        ZKFileRemove(valuesFile);
    }
    LogStorage("Save FINISHED '%{public}@'", {url.string()});
    TGenDict did = NoticeDetails(this, kSaveSender, kSaveURL, url);
    did.SetValueForKey(mLibraryBundleLocations->DemoWindowURL().string(), kSaveDemoWindowURL);
    did.SetValueForKey(mLibraryBundleLocations->EmbeddedDemoWindowURL().string(), kSaveEmbeddedDemoWindowURL);
    ZKNotificationCenter::DefaultCenter().Post(kDidSave, did);
    return true;
}

bool CGenGenerator::SaveToURLWithoutChangingLibraryBundleLocation(const TGenUrl& url, TGenStorageError* error)
{
    const TGenUrl root = mLibraryBundleLocations->RootURL();
    const bool ok = SaveToURL(url, error);
    mLibraryBundleLocations->SetRootURL(root);
    UpdateLibraryBundleLocationsWeakPointers();
    return ok;
}

// ---- Values for keys

bool CGenGenerator::SetValueForKey(const std::optional<TGenDictValue>& value, const std::string& key)
{
    if (key.empty())
        return false;
    if (!value) {
        if (mValuesForKeys) {
            mValuesForKeys->RemoveValueForKey(key);
            // An empty dictionary is never kept, so never saved.
            if (mValuesForKeys->empty())
                mValuesForKeys.reset();
        }
        return true;
    }
    if (!mValuesForKeys)
        mValuesForKeys = std::make_unique<TGenDict>();
    mValuesForKeys->SetValueForKey(*value, key);
    return true;
}

std::optional<TGenDictValue> CGenGenerator::ValueForKey(const std::string& key) const
{
    const TGenDictValue* value = mValuesForKeys ? mValuesForKeys->ValueForKey(key) : nullptr;
    return value ? std::optional<TGenDictValue>(*value) : std::nullopt;
}
