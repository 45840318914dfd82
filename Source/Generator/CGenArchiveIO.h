#pragma once

// Boost text archives of one stored object through memory or a file. Archive
// and file errors end as false, never as an exception.

#include <boost/archive/text_iarchive.hpp>
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
template <class T>
bool LoadTextArchiveFromData(T& object, const std::vector<uint8_t>& data)
{
    try {
        std::istringstream is(std::string(data.begin(), data.end()));
        boost::archive::text_iarchive ia(is);
        ia >> object;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// `outReason`, when given, receives why a call failed.
template <class T>
bool SaveTextArchiveToPath(const T& object, const std::string& path, std::string* outReason = nullptr)
{
    std::string reason = "the file can't be opened";
    try {
        std::ofstream os(path);
        if (os) {
            {
                boost::archive::text_oarchive oa(os);
                oa << object;
            }
            // Closing flushes: a full disk shows only here.
            os.close();
            if (!os.fail())
                return true;
            reason = "the file can't be written";
        }
    } catch (const std::exception& e) {
        reason = e.what();
    }
    if (outReason)
        *outReason = reason;
    return false;
}

template <class T>
bool LoadTextArchiveFromPath(T& object, const std::string& path, std::string* outReason = nullptr)
{
    std::string reason = "the file can't be opened";
    try {
        std::ifstream is(path);
        if (is) {
            boost::archive::text_iarchive ia(is);
            ia >> object;
            return true;
        }
    } catch (const std::exception& e) {
        reason = e.what();
    }
    if (outReason)
        *outReason = reason;
    return false;
}

} // namespace zkgen
