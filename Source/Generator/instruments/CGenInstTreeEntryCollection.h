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
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        std::vector<CGenInstTreeEntry*> entries;
        entries.reserve(size());
        for (const CGenInstTreeEntry* e : *this)
            entries.push_back(const_cast<CGenInstTreeEntry*>(e));
        ar& boost::serialization::make_nvp("TCGenInstTreeEntryCollection", entries);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        std::vector<CGenInstTreeEntry*> entries;
        ar& boost::serialization::make_nvp("TCGenInstTreeEntryCollection", entries);
        assign(entries.begin(), entries.end());
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenInstTreeEntryCollection, 0)

std::ostream& operator<<(std::ostream& os, const CGenInstTreeEntryCollection& c);

// Archiving the members needs the complete entry classes.
#include "Generator/instruments/CGenInstTreeEntry.h"
