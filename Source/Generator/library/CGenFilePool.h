#pragma once

#include "Generator/library/CGeneratorLibraryBundleLocations.h"
#include "Platform/ZKCompression.h"
#include "Platform/ZKFileOps.h"
#include "Platform/ZKLog.h"
#include "Platform/ZKNotificationCenter.h"

#include <filesystem>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace zkgen {

// The store behind the bundle's pools: objects kept one file each in a
// folder of the bundle, by identifier, read on need and cached.
//
// Files: "<identifier>.<raw>" holds the object's bytes; "<identifier>.<compressed>"
// the same compressed through the project's compression pair (level -1,
// zlib's default, behind a 4-byte length). A read prefers the compressed
// file; a save writes compressed files, atomically, for cached objects only,
// and removes the files of removed identifiers.
//
// Identifiers are kept sorted; an index is a position in that order. The
// cache holds objects by shared pointer, so that a user keeps an object
// alive through a purge. Changes are bracketed by the codec's will-change
// and did-change notifications.
//
// The codec gives: kRawExtension, kCompressedExtension, kWillChangeNotification,
// kDidChangeNotification, kLogName, static TGenUrl FolderURL(locations),
// static TGenData Encode(const T&), static bool Decode(const TGenData&, T&).
template <class T, class Codec>
class TGenFilePool {
public:
    enum TFileType { TFileType_Unknown = 0, TFileType_Raw = 1, TFileType_Compressed = 2 };

    explicit TGenFilePool(const IGeneratorLibraryBundleLocations* locations = nullptr) : mLocations(locations) {}
    void setLibraryBundleLocations(const IGeneratorLibraryBundleLocations* locations) { mLocations = locations; }

    static bool IsValidIdentifier(const std::string& identifier)
    {
        return !identifier.empty() && identifier != "." && identifier != ".." &&
            identifier.find('/') == std::string::npos && identifier.find('\0') == std::string::npos;
    }
    static TFileType fileTypeForURL(const TGenUrl& url)
    {
        const std::string extension = ZKUrlPathExtension(url);
        if (extension == Codec::kCompressedExtension)
            return TFileType_Compressed;
        if (extension == Codec::kRawExtension)
            return TFileType_Raw;
        return TFileType_Unknown;
    }

    size_t count() const
    {
        _ReadFolderOnce();
        return mIdentifiers.size();
    }
    std::vector<std::string> identifiers() const
    {
        _ReadFolderOnce();
        return std::vector<std::string>(mIdentifiers.begin(), mIdentifiers.end());
    }
    std::vector<std::string> identifiersAtIndexes(const std::vector<size_t>& indexes) const
    {
        const std::vector<std::string> all = identifiers();
        std::vector<std::string> result;
        for (size_t ix : indexes)
            if (ix < all.size())
                result.push_back(all[ix]);
        return result;
    }
    // Whether the folder was listed since the last purge.
    bool hasReadFilesFromDisc() const { return mFolderRead; }
    bool hasObjectForIdentifier(const std::string& identifier) const
    {
        _ReadFolderOnce();
        return mIdentifiers.count(identifier) != 0;
    }

    // From the cache; else read from the folder and cached. Null when there
    // is no such object or its file can't be read.
    std::shared_ptr<T> objectForIdentifier(const std::string& identifier)
    {
        const auto cached = mCache.find(identifier);
        if (cached != mCache.end())
            return cached->second;
        if (!hasObjectForIdentifier(identifier))
            return nullptr;
        const auto data = dataForIdentifier(identifier);
        if (!data)
            return nullptr;
        auto object = std::make_shared<T>();
        if (!Codec::Decode(*data, *object)) {
            _Log({"'", identifier, "' is damaged"});
            return nullptr;
        }
        mCache[identifier] = object;
        return object;
    }
    std::vector<std::shared_ptr<T>> objectsForIdentifiers(const std::vector<std::string>& identifiers)
    {
        std::vector<std::shared_ptr<T>> result;
        result.reserve(identifiers.size());
        for (const std::string& identifier : identifiers)
            result.push_back(objectForIdentifier(identifier));
        return result;
    }
    std::vector<std::shared_ptr<T>> objectsForIndexes(const std::vector<size_t>& indexes)
    {
        const std::vector<std::string> all = identifiers();
        std::vector<std::shared_ptr<T>> result;
        result.reserve(indexes.size());
        for (size_t ix : indexes)
            result.push_back(ix < all.size() ? objectForIdentifier(all[ix]) : nullptr);
        return result;
    }

    // False for a null object or an identifier that can't be a file name.
    bool setObjectForIdentifier(std::shared_ptr<T> object, const std::string& identifier)
    {
        if (!object || !IsValidIdentifier(identifier))
            return false;
        _ReadFolderOnce();
        _WillChange();
        mCache[identifier] = std::move(object);
        mIdentifiers.insert(identifier);
        mRemovedIdentifiers.erase(identifier);
        _DidChange();
        return true;
    }
    void removeObjectForIdentifier(const std::string& identifier)
    {
        _ReadFolderOnce();
        if (mIdentifiers.count(identifier) == 0 && mCache.count(identifier) == 0)
            return;
        _WillChange();
        mCache.erase(identifier);
        mIdentifiers.erase(identifier);
        mRemovedIdentifiers.insert(identifier);
        _DidChange();
    }
    void removeObjectsForIndexes(const std::vector<size_t>& indexes)
    {
        for (const std::string& identifier : identifiersAtIndexes(indexes))
            removeObjectForIdentifier(identifier);
    }
    // False when the old identifier is unknown, the new one is taken, or the
    // object can't be read. The old file goes with the next save.
    bool renameIdentifierToIdentifier(const std::string& from, const std::string& to)
    {
        if (!IsValidIdentifier(to) || !hasObjectForIdentifier(from) || hasObjectForIdentifier(to))
            return false;
        std::shared_ptr<T> object = objectForIdentifier(from);
        if (!object)
            return false;
        removeObjectForIdentifier(from);
        return setObjectForIdentifier(std::move(object), to);
    }
    // Empties the cache and the identifier set; the folder counts as unread.
    void purge()
    {
        _WillChange();
        mCache.clear();
        mIdentifiers.clear();
        mRemovedIdentifiers.clear();
        mFolderRead = false;
        _DidChange();
    }
    void updateFromDisc()
    {
        purge();
        _ReadFolderOnce();
    }
    // Writes every cached object, then removes the files of removed identifiers.
    bool saveToDisc()
    {
        const TGenUrl folder = _FolderURL();
        if (folder.empty())
            return mCache.empty();
        std::string error;
        if (!mCache.empty() && !ZKFileCreateDirectory(folder, &error)) {
            _Log({"folder '", folder.string(), "' can't be made: ", error});
            return false;
        }
        for (const auto& [identifier, object] : mCache) {
            const TGenUrl base = ZKUrlByAppendingPathComponent(folder, identifier);
            const auto compressed = zkCompressedDataWithCompressionLevel(Codec::Encode(*object), -1, &error);
            const TGenUrl url = ZKUrlByAppendingPathExtension(base, Codec::kCompressedExtension);
            if (!compressed || !ZKFileWriteAtomically(url, *compressed, &error)) {
                _Log({"'", url.string(), "' can't be written: ", error});
                return false;
            }
            // A raw file of the same object would be read no more; it goes.
            const TGenUrl raw = ZKUrlByAppendingPathExtension(base, Codec::kRawExtension);
            if (ZKFileExists(raw))
                ZKFileRemove(raw);
        }
        cleanupFilesOnDisc();
        return true;
    }
    void cleanupFilesOnDisc()
    {
        const TGenUrl folder = _FolderURL();
        if (!folder.empty())
            for (const std::string& identifier : mRemovedIdentifiers) {
                const TGenUrl base = ZKUrlByAppendingPathComponent(folder, identifier);
                for (const char* extension : {Codec::kCompressedExtension, Codec::kRawExtension}) {
                    const TGenUrl url = ZKUrlByAppendingPathExtension(base, extension);
                    if (ZKFileExists(url))
                        ZKFileRemove(url);
                }
            }
        mRemovedIdentifiers.clear();
    }

    // The bytes of an object: the compressed file uncompressed, else the raw file.
    std::optional<TGenData> dataForIdentifier(const std::string& identifier) const
    {
        const TGenUrl folder = _FolderURL();
        if (folder.empty() || !IsValidIdentifier(identifier))
            return std::nullopt;
        const TGenUrl base = ZKUrlByAppendingPathComponent(folder, identifier);
        const TGenUrl compressed = ZKUrlByAppendingPathExtension(base, Codec::kCompressedExtension);
        if (ZKFileExists(compressed)) {
            std::string error;
            if (auto data = ZKFileRead(compressed, &error)) {
                if (auto plain = zkUncompressedData(*data, &error))
                    return plain;
            }
            _Log({"'", compressed.string(), "' can't be read: ", error});
            return std::nullopt;
        }
        const TGenUrl raw = ZKUrlByAppendingPathExtension(base, Codec::kRawExtension);
        if (ZKFileExists(raw))
            return ZKFileRead(raw);
        return std::nullopt;
    }

protected:
    void _ReadFolderOnce() const
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

private:
    TGenUrl _FolderURL() const { return mLocations ? Codec::FolderURL(*mLocations) : TGenUrl(); }
    void _WillChange() const { ZKNotificationCenter::DefaultCenter().Post(Codec::kWillChangeNotification); }
    void _DidChange() const { ZKNotificationCenter::DefaultCenter().Post(Codec::kDidChangeNotification); }
    static void _Log(std::initializer_list<std::string> parts)
    {
        std::string text = Codec::kLogName;
        text.append(": ");
        for (const std::string& part : parts)
            text.append(part);
        ZKLog(ZKLogCategory_GeneratorStorage, text);
    }

    const IGeneratorLibraryBundleLocations* mLocations = nullptr;
    mutable std::set<std::string> mIdentifiers;
    mutable bool mFolderRead = false;
    std::map<std::string, std::shared_ptr<T>> mCache;
    // Removed since the last save, so that the save removes their files.
    std::set<std::string> mRemovedIdentifiers;
};

} // namespace zkgen
