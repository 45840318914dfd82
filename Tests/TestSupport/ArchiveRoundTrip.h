#pragma once

// Round trips of stored classes through the three Boost archive kinds, and the
// pieces needed to hand-write an old text archive.

#include "Generator/CGenSafeArchive.h"

#include <boost/archive/binary_oarchive.hpp>
#include <boost/archive/text_oarchive.hpp>
#include <boost/archive/xml_iarchive.hpp>
#include <boost/archive/xml_oarchive.hpp>
#include <boost/serialization/nvp.hpp>

#include <exception>
#include <sstream>
#include <string>

namespace zkgtest {

template <class T>
std::string ToTextArchive(const T& v)
{
    std::ostringstream os;
    {
        boost::archive::text_oarchive oa(os);
        oa << v;
    }
    return os.str();
}

// Reads `text` into `v` through the archive the library reads with; false
// (and `v` as far as it got) on an archive error.
template <class T>
bool FromTextArchive(const std::string& text, T& v)
{
    try {
        zkgen::TSafeTextIArchive ia(text.data(), text.size());
        ia >> v;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

template <class T>
T TextRoundTrip(const T& v)
{
    T r;
    FromTextArchive(ToTextArchive(v), r);
    return r;
}

template <class T>
T BinaryRoundTrip(const T& v)
{
    std::stringstream ss;
    {
        boost::archive::binary_oarchive oa(ss);
        oa << v;
    }
    const std::string bytes = ss.str();
    T r;
    zkgen::TSafeBinaryIArchive ia(bytes.data(), bytes.size());
    ia >> r;
    return r;
}

template <class T>
std::string ToXmlArchive(const T& v)
{
    std::ostringstream os;
    {
        boost::archive::xml_oarchive oa(os);
        oa << boost::serialization::make_nvp("value", v);
    }
    return os.str();
}

template <class T>
T XmlRoundTrip(const T& v)
{
    std::istringstream is(ToXmlArchive(v));
    T r;
    boost::archive::xml_iarchive ia(is);
    ia >> boost::serialization::make_nvp("value", r);
    return r;
}

// The signature and library version a text archive of this Boost starts with,
// e.g. "22 serialization::archive 18", so that a hand-written old class version
// reads as if this library had written it.
inline std::string TextArchivePreamble()
{
    std::istringstream is(ToTextArchive(0));
    std::string len, sig, ver;
    is >> len >> sig >> ver;
    return len + " " + sig + " " + ver;
}

} // namespace zkgtest
