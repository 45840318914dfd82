#include "Generator/library/CGenPatternsPool.h"

#include "Generator/CGenArchiveIO.h"
#include "Generator/library/CGeneratorLibraryBundleLocations.h"
#include "Platform/ZKCompression.h"
#include "Platform/ZKLog.h"
#include "Platform/ZKNotificationCenter.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

void LogStorage(const std::string& text) { ZKLog(ZKLogCategory_GeneratorStorage, text); }

} // namespace

bool CGenPatternsPool::IsValidIdentifier(const std::string& identifier)
{
    return !identifier.empty() && identifier != "." && identifier != ".."
        && identifier.find('/') == std::string::npos && identifier.find('\0') == std::string::npos;
}

TGenUrl CGenPatternsPool::_FolderURL() const { return mLocations ? mLocations->PatternPoolFolderURL() : TGenUrl(); }

void CGenPatternsPool::_WillChange() const { ZKNotificationCenter::DefaultCenter().Post(kWillChangeNotification); }

void CGenPatternsPool::_DidChange() const { ZKNotificationCenter::DefaultCenter().Post(kDidChangeNotification); }

void CGenPatternsPool::_ReadFolderOnce() const
{
    if (mFolderRead)
        return;
    mFolderRead = true;
    const TGenUrl folder = _FolderURL();
    if (folder.empty() || !ZKFileIsDirectory(folder))
        return;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
        const TGenUrl url = entry.path();
        if (fileTypeForURL(url) == TFileType_Unknown)
            continue;
        const std::string identifier = ZKUrlLastPathComponent(ZKUrlByDeletingPathExtension(url));
        if (IsValidIdentifier(identifier) && mRemovedIdentifiers.count(identifier) == 0)
            mIdentifiers.insert(identifier);
    }
}

size_t CGenPatternsPool::count() const
{
    _ReadFolderOnce();
    return mIdentifiers.size();
}

std::vector<std::string> CGenPatternsPool::identifiers() const
{
    _ReadFolderOnce();
    return std::vector<std::string>(mIdentifiers.begin(), mIdentifiers.end());
}

bool CGenPatternsPool::hasPatternsForIdentifier(const std::string& identifier) const
{
    _ReadFolderOnce();
    return mIdentifiers.count(identifier) != 0;
}

CGenPatternsPool::TFileType CGenPatternsPool::fileTypeForURL(const TGenUrl& url)
{
    const std::string extension = ZKUrlPathExtension(url);
    if (extension == kCompressedExtension)
        return TFileType_Compressed;
    if (extension == kRawExtension)
        return TFileType_Raw;
    return TFileType_Unknown;
}

TGenData CGenPatternsPool::DataForPatterns(const CGenPatterns& patterns)
{
    return zkgen::SaveTextArchiveToData(patterns);
}

bool CGenPatternsPool::PatternsFromData(const TGenData& data, CGenPatterns& patterns)
{
    CGenPatterns read;
    if (!zkgen::LoadTextArchiveFromData(read, data))
        return false;
    patterns = std::move(read);
    return true;
}

std::optional<TGenData> CGenPatternsPool::dataForIdentifier(const std::string& identifier) const
{
    const TGenUrl folder = _FolderURL();
    if (folder.empty() || !IsValidIdentifier(identifier))
        return std::nullopt;
    const TGenUrl base = ZKUrlByAppendingPathComponent(folder, identifier);
    const TGenUrl compressed = ZKUrlByAppendingPathExtension(base, kCompressedExtension);
    if (ZKFileExists(compressed)) {
        std::string error;
        if (auto data = ZKFileRead(compressed, &error)) {
            if (auto plain = zkUncompressedData(*data, &error))
                return plain;
        }
        LogStorage("Pattern pool: '" + compressed.string() + "' can't be read: " + error);
        return std::nullopt;
    }
    const TGenUrl raw = ZKUrlByAppendingPathExtension(base, kRawExtension);
    if (ZKFileExists(raw))
        return ZKFileRead(raw);
    return std::nullopt;
}

std::shared_ptr<CGenPatterns> CGenPatternsPool::patternsForIdentifier(const std::string& identifier)
{
    const auto cached = mPatternsCache.find(identifier);
    if (cached != mPatternsCache.end())
        return cached->second;
    if (!hasPatternsForIdentifier(identifier))
        return nullptr;
    const auto data = dataForIdentifier(identifier);
    if (!data)
        return nullptr;
    auto patterns = std::make_shared<CGenPatterns>();
    if (!PatternsFromData(*data, *patterns)) {
        LogStorage("Pattern pool: the patterns of '" + identifier + "' are damaged");
        return nullptr;
    }
    mPatternsCache[identifier] = patterns;
    return patterns;
}

std::vector<std::shared_ptr<CGenPatterns>> CGenPatternsPool::patternsForIdentifiers(
    const std::vector<std::string>& identifiers)
{
    std::vector<std::shared_ptr<CGenPatterns>> result;
    result.reserve(identifiers.size());
    for (const std::string& identifier : identifiers)
        result.push_back(patternsForIdentifier(identifier));
    return result;
}

std::vector<std::shared_ptr<CGenPatterns>> CGenPatternsPool::patternsForIndexes(const std::vector<size_t>& indexes)
{
    const std::vector<std::string> all = identifiers();
    std::vector<std::shared_ptr<CGenPatterns>> result;
    result.reserve(indexes.size());
    for (size_t ix : indexes)
        result.push_back(ix < all.size() ? patternsForIdentifier(all[ix]) : nullptr);
    return result;
}

bool CGenPatternsPool::addPatternsForIdentifier(std::shared_ptr<CGenPatterns> patterns, const std::string& identifier)
{
    if (!patterns || !IsValidIdentifier(identifier))
        return false;
    _ReadFolderOnce();
    _WillChange();
    mPatternsCache[identifier] = std::move(patterns);
    mIdentifiers.insert(identifier);
    mRemovedIdentifiers.erase(identifier);
    _DidChange();
    return true;
}

void CGenPatternsPool::removePatternsForIdentifier(const std::string& identifier)
{
    _ReadFolderOnce();
    if (mIdentifiers.count(identifier) == 0 && mPatternsCache.count(identifier) == 0)
        return;
    _WillChange();
    mPatternsCache.erase(identifier);
    mIdentifiers.erase(identifier);
    mRemovedIdentifiers.insert(identifier);
    _DidChange();
}

void CGenPatternsPool::removePatternsForIndexes(const std::vector<size_t>& indexes)
{
    const std::vector<std::string> all = identifiers();
    for (size_t ix : indexes)
        if (ix < all.size())
            removePatternsForIdentifier(all[ix]);
}

bool CGenPatternsPool::renameIdentifierToIdentifier(const std::string& from, const std::string& to)
{
    if (!IsValidIdentifier(to) || !hasPatternsForIdentifier(from) || hasPatternsForIdentifier(to))
        return false;
    // The list moves in memory; its old file goes with the next save.
    std::shared_ptr<CGenPatterns> patterns = patternsForIdentifier(from);
    if (!patterns)
        return false;
    removePatternsForIdentifier(from);
    return addPatternsForIdentifier(std::move(patterns), to);
}

void CGenPatternsPool::purge()
{
    _WillChange();
    mPatternsCache.clear();
    mIdentifiers.clear();
    mRemovedIdentifiers.clear();
    mFolderRead = false;
    _DidChange();
}

void CGenPatternsPool::updateFromDisc()
{
    purge();
    updateIdentifiersFromPatternsFilesOnDisc();
}

void CGenPatternsPool::updateIdentifiersFromPatternsFilesOnDisc() { _ReadFolderOnce(); }

bool CGenPatternsPool::saveToDisc()
{
    const TGenUrl folder = _FolderURL();
    if (folder.empty())
        return mPatternsCache.empty();
    std::string error;
    if (!mPatternsCache.empty() && !ZKFileCreateDirectory(folder, &error)) {
        LogStorage("Pattern pool: folder '" + folder.string() + "' can't be made: " + error);
        return false;
    }
    for (const auto& [identifier, patterns] : mPatternsCache) {
        const TGenUrl base = ZKUrlByAppendingPathComponent(folder, identifier);
        const auto compressed = zkCompressedDataWithCompressionLevel(DataForPatterns(*patterns), -1, &error);
        const TGenUrl url = ZKUrlByAppendingPathExtension(base, kCompressedExtension);
        if (!compressed || !ZKFileWriteAtomically(url, *compressed, &error)) {
            LogStorage("Pattern pool: '" + url.string() + "' can't be written: " + error);
            return false;
        }
        // A raw file of the same list would be read no more; it goes.
        const TGenUrl raw = ZKUrlByAppendingPathExtension(base, kRawExtension);
        if (ZKFileExists(raw))
            ZKFileRemove(raw);
    }
    cleanupPatternsFilesOnDisc();
    return true;
}

void CGenPatternsPool::cleanupPatternsFilesOnDisc()
{
    const TGenUrl folder = _FolderURL();
    if (!folder.empty())
        for (const std::string& identifier : mRemovedIdentifiers) {
            const TGenUrl base = ZKUrlByAppendingPathComponent(folder, identifier);
            for (const char* extension : {kCompressedExtension, kRawExtension}) {
                const TGenUrl url = ZKUrlByAppendingPathExtension(base, extension);
                if (ZKFileExists(url))
                    ZKFileRemove(url);
            }
        }
    mRemovedIdentifiers.clear();
}
