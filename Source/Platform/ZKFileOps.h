#pragma once

#include "Platform/TGenDict.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

// Files and paths. TGenUrl, the engine's file location, is a plain
// std::filesystem::path: file locations are local paths only, and the alias
// keeps them usable with the standard library directly.
//
// Nothing here throws. Operations on the file system return false or an
// empty optional and, when `outError` is given, a message naming the path and
// the reason. The path helpers work on text alone and never touch the disk;
// they ignore trailing separators, so "Drums.glibb/" has the extension
// "glibb" and the last component "Drums.glibb".

using TGenUrl = std::filesystem::path;

// Whether something exists at `url` (links followed; a dangling link does not count).
bool ZKFileExists(const TGenUrl& url);
// Whether `url` is a directory (links followed).
bool ZKFileIsDirectory(const TGenUrl& url);

// Creates the directory and any missing parents; true when it exists as a
// directory afterwards, also when it did before.
bool ZKFileCreateDirectory(const TGenUrl& url, std::string* outError = nullptr);

// Removes a file, a link (not its target) or a whole directory tree; false
// when nothing is there.
bool ZKFileRemove(const TGenUrl& url, std::string* outError = nullptr);

// Copies a file or a directory tree (links copied as links) to `to`, which
// must not exist yet.
bool ZKFileCopy(const TGenUrl& from, const TGenUrl& to, std::string* outError = nullptr);

// The whole content of a regular file.
std::optional<TGenData> ZKFileRead(const TGenUrl& url, std::string* outError = nullptr);

// Writes `data` to a temporary file in the same directory, flushes it to the
// disk and renames it over `url`, so that readers see either the old or the
// new content. On failure the old file stays as it was and the temporary file
// is gone. A new file gets the usual permissions (0666 less the umask); a
// replaced one keeps its permission bits. A link at `url` is replaced by the
// file, not followed.
bool ZKFileWriteAtomically(const TGenUrl& url, const TGenData& data, std::string* outError = nullptr);

// The absolute path of an existing item with every link and "." or ".."
// resolved.
std::optional<TGenUrl> ZKFileResolveLinks(const TGenUrl& url, std::string* outError = nullptr);

// `url` with `component` appended; leading separators of `component` are
// dropped, so the result always lies below `url`.
TGenUrl ZKUrlByAppendingPathComponent(const TGenUrl& url, std::string_view component);
// `url` with ".extension" added to its last component.
TGenUrl ZKUrlByAppendingPathExtension(const TGenUrl& url, std::string_view extension);
// The extension of the last component without its dot: "gz" for
// "a/b.tar.gz", "" for "a/.profile" or "a/b".
std::string ZKUrlPathExtension(const TGenUrl& url);
// `url` without the extension of its last component (and without trailing separators).
TGenUrl ZKUrlByDeletingPathExtension(const TGenUrl& url);
// The last component: "b" for "/a/b/", "/" for "/", "" for "".
std::string ZKUrlLastPathComponent(const TGenUrl& url);
// `url` without its last component: "/a" for "/a/b", "/" for "/a", "" for "a".
TGenUrl ZKUrlByDeletingLastPathComponent(const TGenUrl& url);
