#pragma once

// Boost text archives of one stored object through memory or a file. Archive
// and file errors end as false, never as an exception.

#include "Generator/CGenSafeArchive.h"
#include "Platform/ZKFileOps.h"

#include <boost/archive/text_oarchive.hpp>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zkgen {

template <class T>
std::vector<uint8_t> SaveTextArchiveToData(const T& object)
{
    std::ostringstream os;
    {
        boost::archive::text_oarchive oa(os);
        oa << object;
    }
    const std::string s = os.str();
    return std::vector<uint8_t>(s.begin(), s.end());
}

// Reads into `object` directly: after a failure it holds what was read so far.
// `outReason`, when given, receives why the archive was refused.
template <class T>
bool LoadTextArchiveFromData(T& object, const std::vector<uint8_t>& data, std::string* outReason = nullptr)
{
    try {
        TSafeTextIArchive ia(data.data(), data.size());
        ia >> object;
        return true;
    } catch (const std::exception& e) {
        if (outReason)
            *outReason = std::string("the archive is damaged or of another kind: ") + e.what();
        return false;
    } catch (...) {
        if (outReason)
            *outReason = "the archive is damaged or of another kind";
        return false;
    }
}

// `outReason`, when given, receives why a call failed. The file is written
// atomically: readers see the old content or the new, never a part.
template <class T>
bool SaveTextArchiveToPath(const T& object, const std::string& path, std::string* outReason = nullptr)
{
    std::string reason;
    try {
        if (ZKFileWriteAtomically(path, SaveTextArchiveToData(object), &reason))
            return true;
    } catch (const std::exception& e) {
        reason = e.what();
    }
    if (outReason)
        *outReason = reason;
    return false;
}

// Reads into `object` directly: callers that must not see half a read load
// into an object of their own.
template <class T>
bool LoadTextArchiveFromPath(T& object, const std::string& path, std::string* outReason = nullptr)
{
    std::string reason;
    if (const auto data = ZKFileRead(path, &reason)) {
        if (LoadTextArchiveFromData(object, *data, &reason))
            return true;
    }
    if (outReason)
        *outReason = reason;
    return false;
}

} // namespace zkgen
