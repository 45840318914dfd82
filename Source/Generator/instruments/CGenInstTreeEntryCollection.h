#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/instruments/CGenInstTreeUid.h"

#include <ostream>
#include <vector>

class CGenInstTreeEntry;

// Borrowed pointers into one instrument tree, in order; must not outlive the
// tree. Archived pointers resolve into the tree when the tree is written to
// the same archive before the collection.
class CGenInstTreeEntryCollection : public std::vector<const CGenInstTreeEntry*>,
                                    public CGenTraceable<CGenInstTreeEntryCollection> {
public:
    static constexpr const char* kTraceClassName = "CGenInstTreeEntryCollection";
    using TBase = std::vector<const CGenInstTreeEntry*>;
    using TBase::TBase;

    // OR of the members' uids; undefined when empty.
    TInstTreeUid Uid() const;
    // Pointer identity; false for null.
    bool Contains(const CGenInstTreeEntry* entry) const;
    // True for the undefined uid; otherwise whether a member or one of its
    // ancestors has exactly this uid. A member whose walk to the root ends in an
    // undefined uid (the root itself, an unplaced entry) contains everything.
    bool Contains(TInstTreeUid uid) const;
    // True for the undefined uid; otherwise whether `uid` carries every
    // non-zero nibble of a member's uid (the member names a family of `uid`).
    // A member with an undefined uid contains everything, as above.
    bool ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(TInstTreeUid uid) const;

    bool operator==(const CGenInstTreeEntryCollection& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o);
    }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const;
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/);
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenInstTreeEntryCollection, 0)

std::ostream& operator<<(std::ostream& os, const CGenInstTreeEntryCollection& c);

// Archiving the members needs the complete entry classes.
#include "Generator/instruments/CGenInstTreeEntry.h"

#include "Generator/CGenArchivePointers.h"

#include <boost/serialization/collection_size_type.hpp>
#include <boost/serialization/item_version_type.hpp>

namespace zkgen {
// The members as archived: the form of a vector of entry pointers (as
// written by this Boost, whose library version always writes the item version). They
// point into a tree read earlier in the same archive; the collection owns none.
struct CGenInstTreeEntryCollectionArchiveList {
    CGenInstTreeEntryCollection* mCollection = nullptr;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        const boost::serialization::collection_size_type count(mCollection->size());
        ar& make_nvp("count", count);
        const boost::serialization::item_version_type itemVersion(0);
        ar& make_nvp("item_version", itemVersion);
        for (const CGenInstTreeEntry* e : *mCollection) {
            CGenInstTreeEntry* entry = const_cast<CGenInstTreeEntry*>(e);
            ar& make_nvp("item", entry);
        }
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        // Read element by element rather than as a vector, so that each
        // pointer is checked: an entry the archive had to make belongs to no
        // tree, and is refused (Borrowed).
        using boost::serialization::make_nvp;
        boost::serialization::collection_size_type count;
        ar& make_nvp("count", count);
        if (boost::serialization::library_version_type(3) < ar.get_library_version()) {
            boost::serialization::item_version_type itemVersion(0);
            ar& make_nvp("item_version", itemVersion);
        }
        mCollection->clear();
        for (std::size_t i = 0; i < count; ++i) {
            bool created = false;
            mCollection->push_back(
                LoadArchivePointer<CGenInstTreeEntry>(ar, "item", TArchivePointer::Borrowed, created));
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
} // namespace zkgen
BOOST_CLASS_IMPLEMENTATION(zkgen::CGenInstTreeEntryCollectionArchiveList, boost::serialization::object_serializable)
BOOST_CLASS_TRACKING(zkgen::CGenInstTreeEntryCollectionArchiveList, boost::serialization::track_never)

template <class Archive>
void CGenInstTreeEntryCollection::save(Archive& ar, const unsigned int /*version*/) const
{
    const zkgen::CGenInstTreeEntryCollectionArchiveList list {const_cast<CGenInstTreeEntryCollection*>(this)};
    ar& boost::serialization::make_nvp("TCGenInstTreeEntryCollection", list);
}

template <class Archive>
void CGenInstTreeEntryCollection::load(Archive& ar, const unsigned int /*version*/)
{
    zkgen::CGenInstTreeEntryCollectionArchiveList list {this};
    ar& boost::serialization::make_nvp("TCGenInstTreeEntryCollection", list);
}
