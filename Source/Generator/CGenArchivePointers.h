#pragma once

// Pointer members of stored classes, read so that a damaged archive can
// neither leak nor share what it allocates.
//
// Boost makes an object for a pointer member and hands it over; when the
// object's own read throws half-way, the object is left behind, and when a
// damaged archive names an object read earlier, two members receive one
// object. Every pointer member therefore reads through LoadArchivePointer:
// the objects the archive makes during that read are noted (through the
// load_construct_data of their class, see ZKG_ARCHIVE_NOTE_CREATED), the
// caller takes over the one it receives, and when the read fails the scope
// deletes what nobody took. A member that owns its object refuses an object
// read earlier (a shared or cyclic reference); a member that merely points
// (a graph at its genre's clave libraries) may take one.

#include "Generator/CGenSafeArchive.h"

#include <boost/serialization/nvp.hpp>
#include <boost/serialization/singleton.hpp>
#include <boost/serialization/type_info_implementation.hpp>

#include <cstddef>
#include <exception>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

namespace zkgen {

class TArchiveCreatedScope {
public:
    TArchiveCreatedScope();
    ~TArchiveCreatedScope();
    TArchiveCreatedScope(const TArchiveCreatedScope&) = delete;
    TArchiveCreatedScope& operator=(const TArchiveCreatedScope&) = delete;

    // Whether the archive made the object at `address` (its most-derived
    // address) during this scope; if so, the caller owns it from now on.
    bool Take(const void* address);
    // Whether the archive made the object at `address` during this scope.
    bool Has(const void* address) const;

    // Called by the construction of an object the archive makes for a
    // pointer; outside a scope nothing is noted.
    template <class T>
    static void Note(T* object)
    {
        NoteErased(object, [](void* p) { delete static_cast<T*>(p); });
    }
    static void NoteErased(void* object, void (*deleter)(void*));
    // Objects noted by the scopes open on this thread (0 outside a read).
    static std::size_t RecordedCount();

private:
    struct TCreated {
        void* mObject;
        void (*mDelete)(void*);
    };
    std::vector<TCreated> mCreated;
    TArchiveCreatedScope* mOuter = nullptr;
    int mUncaughtAtStart = 0;
};

// The address an object was noted and tracked under. The stored classes
// derive along one line only, so a pointer to any of their bases holds the
// object's own address; the pointer is never dereferenced here, since a
// damaged archive can hand back the address of an object of another class.
template <class T>
const void* ArchiveObjectAddress(const T* p)
{
    return static_cast<const void*>(p);
}

enum class TArchivePointer {
    // The member owns its object: only an object made by this read is taken.
    Owned,
    // The member points at an object someone else owns, or owns one made here.
    MayBorrow,
    // The member only points: an object this read had to make is damage.
    Borrowed,
};

// Reads the pointer member `name`. `created` tells whether the caller now
// owns the object. An owned member given an object read earlier throws, as
// any damaged archive does, and nothing is leaked; a borrowing member given
// an object read earlier gets it only when that object is of its class (the
// archive's references name objects by number, whatever their class).
template <class T, class Archive>
T* LoadArchivePointer(Archive& ar, const char* name, TArchivePointer kind, bool& created)
{
    TArchiveCreatedScope scope;
    T* p = nullptr;
    ar& boost::serialization::make_nvp(name, p);
    // Left untaken, the scope deletes the object when the throw leaves it.
    if (kind == TArchivePointer::Borrowed && scope.Has(ArchiveObjectAddress(p)))
        throw TArchiveRefused(std::string("the pointer ") + name + " names an object that nothing read before");
    created = scope.Take(ArchiveObjectAddress(p));
    if (p && !created) {
        if (kind == TArchivePointer::Owned)
            throw TArchiveRefused(std::string("the owned pointer ") + name + " refers to an object read before");
        if constexpr (std::is_base_of_v<TArchiveGuard, Archive>) {
            const auto& eti = boost::serialization::singleton<
                typename boost::serialization::type_info_implementation<T>::type>::get_const_instance();
            if (!ar.HasReadObject(ArchiveObjectAddress(p), eti))
                throw TArchiveRefused(std::string("the pointer ") + name + " refers to an object of another class");
        }
    }
    return p;
}

} // namespace zkgen

// Lets the archive's construction of T note the object for the read in
// progress. Use at namespace scope, after T is complete.
#define ZKG_ARCHIVE_NOTE_CREATED(T)                                                          \
    namespace boost::serialization {                                                         \
    template <class Archive>                                                                 \
    inline void load_construct_data(Archive& /*ar*/, T* object, const unsigned int /*v*/)    \
    {                                                                                        \
        ::new (object) T();                                                                  \
        zkgen::TArchiveCreatedScope::Note(object);                                           \
    }                                                                                        \
    }
