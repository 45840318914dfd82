#pragma once

// The input archives every loader of the library reads through.
//
// Boost's text and binary archives trust their input: a class id indexes a
// table unchecked, a length is allocated before the bytes behind it are
// known to exist, a bool is read as a raw byte, a reference to an earlier
// object may name an object of any class, and a chain of nested objects may
// recurse until the stack runs out. A library file is something users pass
// around, so these archives check each of those as it is read and throw
// TArchiveRefused, which the storage boundary turns into false and a log line:
//  - a class id in a pointer is the null tag, a class read through a pointer
//    before, or the next new class, named by a class this program knows;
//  - a class version above the one this program writes is refused, naming
//    the class;
//  - collection sizes and string lengths cannot exceed the bytes that remain;
//  - bools are 0 or 1;
//  - objects nest at most kArchiveMaxDepth deep (an object read through a
//    pointer counts as one level);
//  - a pointer that borrows an object read earlier gets one of its own class
//    (see LoadArchivePointer).
// They read from memory only, which is what makes "the bytes that remain"
// exact: loaders read the whole file first.

#include "Generator/CGenSerialization.h"

#include <boost/archive/binary_iarchive_impl.hpp>
#include <boost/archive/detail/register_archive.hpp>
#include <boost/archive/text_iarchive.hpp>
#include <boost/serialization/collection_size_type.hpp>
#include <boost/serialization/extended_type_info.hpp>
#include <boost/serialization/item_version_type.hpp>

#include <cstddef>
#include <cstdint>
#include <istream>
#include <map>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

namespace zkgen {

// Why an archive was refused; the message says what was wrong.
class TArchiveRefused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr int kArchiveMaxDepth = 200;

// A read-only stream buffer over bytes owned by the caller.
class TArchiveBytes : public std::streambuf {
public:
    TArchiveBytes(const void* data, std::size_t size);
    std::size_t Remaining() const { return static_cast<std::size_t>(egptr() - gptr()); }

protected:
    pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override;
    pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;
};

// The checks shared by both archives; they see the archive's reads through
// the hooks below.
class TArchiveGuard {
public:
    using TBasicISerializer = boost::archive::detail::basic_iserializer;
    using TBasicPointerISerializer = boost::archive::detail::basic_pointer_iserializer;
    using TFinder = const TBasicPointerISerializer* (*)(const boost::serialization::extended_type_info&);

    explicit TArchiveGuard(TArchiveBytes& bytes) : mSource(bytes) {}

    // Whether `address` holds an object of class `eti` (or of a class that
    // casts to it) that this archive has read; for pointers that borrow.
    bool HasReadObject(const void* address, const boost::serialization::extended_type_info& eti) const;

protected:
    // `perElement` is the fewest bytes one element can take in this format.
    void CheckCount(std::uint64_t count, std::size_t perElement, const char* what) const;
    void CheckBool(unsigned int raw) const;
    void CheckStringLength(std::uint64_t length) const;

    // Mirrors of the archive's class registration, in its order.
    void RegisterClass(const TBasicISerializer& bis);
    void BeginObject(void* address, const TBasicISerializer& bis, bool tracked);
    void BeginPointer(const TBasicPointerISerializer* staticPointer, TFinder finder);
    void OnClassId(int classId);
    void OnClassName(const char* key);
    void OnClassVersion(unsigned int version);

    struct TDepth {
        explicit TDepth(TArchiveGuard& guard);
        ~TDepth() { --mGuard.mDepth; }
        TArchiveGuard& mGuard;
    };

private:
    TArchiveBytes& mSource;
    std::vector<const TBasicISerializer*> mClasses;
    std::map<const boost::serialization::extended_type_info*, int> mClassIds;
    // Several objects share an address: an object and its first member.
    std::multimap<const void*, const boost::serialization::extended_type_info*> mObjects;
    const TBasicISerializer* mLastClass = nullptr;
    const TBasicISerializer* mVersionOf = nullptr;
    const TBasicPointerISerializer* mPointerStatic = nullptr;
    TFinder mPointerFinder = nullptr;
    bool mExpectPointerClassId = false;
    bool mExpectNewClassName = false;
    int mDepth = 0;
};

namespace detail {
// Base-from-member: the bytes and stream exist before the archive reads its header.
struct TArchiveSource {
    TArchiveSource(const void* data, std::size_t size) : mBytes(data, size), mStream(&mBytes) {}
    TArchiveBytes mBytes;
    std::istream mStream;
};
} // namespace detail

class TSafeTextIArchive : private detail::TArchiveSource,
                          public boost::archive::text_iarchive_impl<TSafeTextIArchive>,
                          public TArchiveGuard {
    using TBase = boost::archive::text_iarchive_impl<TSafeTextIArchive>;
    friend class boost::archive::detail::interface_iarchive<TSafeTextIArchive>;
    friend class boost::archive::basic_text_iarchive<TSafeTextIArchive>;
    friend class boost::archive::load_access;

public:
    TSafeTextIArchive(const void* data, std::size_t size, unsigned int flags = 0);
    ~TSafeTextIArchive() override;

    // Called by Boost's loaders for this archive type; each checks, then reads.
    void load_object(void* t, const TBasicISerializer& bis);
    const TBasicPointerISerializer* load_pointer(void*& t, const TBasicPointerISerializer* bpis, TFinder finder);
    void register_basic_serializer(const TBasicISerializer& bis);

protected:
    using TBase::load;
    void load(std::string& s);
    void load(bool& t);

    template <class T>
    void load_override(T& t)
    {
        TBase::load_override(t);
    }
    void load_override(boost::archive::class_id_type& t);
    void load_override(boost::archive::class_name_type& t);
    void load_override(boost::archive::version_type& t);
    void load_override(boost::serialization::collection_size_type& t);
};

class TSafeBinaryIArchive : private detail::TArchiveSource,
                            public boost::archive::binary_iarchive_impl<TSafeBinaryIArchive, char, std::char_traits<char>>,
                            public TArchiveGuard {
    using TBase = boost::archive::binary_iarchive_impl<TSafeBinaryIArchive, char, std::char_traits<char>>;
    friend class boost::archive::detail::interface_iarchive<TSafeBinaryIArchive>;
    friend class boost::archive::basic_binary_iarchive<TSafeBinaryIArchive>;
    friend class boost::archive::basic_binary_iprimitive<TSafeBinaryIArchive, char, std::char_traits<char>>;
    friend class boost::archive::load_access;

public:
    TSafeBinaryIArchive(const void* data, std::size_t size, unsigned int flags = 0);
    ~TSafeBinaryIArchive() override;

    void load_object(void* t, const TBasicISerializer& bis);
    const TBasicPointerISerializer* load_pointer(void*& t, const TBasicPointerISerializer* bpis, TFinder finder);
    void register_basic_serializer(const TBasicISerializer& bis);

    // Kept from the base so that arrays of primitives still read in one go.
    using TBase::load_binary;

protected:
    using TBase::load;
    void load(std::string& s);
    void load(bool& t);
    void load(boost::archive::tracking_type& t);

    template <class T>
    void load_override(T& t)
    {
        TBase::load_override(t);
    }
    void load_override(boost::archive::class_id_type& t);
    void load_override(boost::archive::class_name_type& t);
    void load_override(boost::archive::version_type& t);
    void load_override(boost::serialization::collection_size_type& t);
};

} // namespace zkgen

BOOST_SERIALIZATION_REGISTER_ARCHIVE(zkgen::TSafeTextIArchive)
BOOST_SERIALIZATION_REGISTER_ARCHIVE(zkgen::TSafeBinaryIArchive)
BOOST_SERIALIZATION_USE_ARRAY_OPTIMIZATION(zkgen::TSafeBinaryIArchive)
