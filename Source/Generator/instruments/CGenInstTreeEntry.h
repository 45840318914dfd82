#pragma once

#include "Generator/CGenArchivePointers.h"

#include "Generator/CGenEv.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/instruments/CGenInstTreeEntryCollection.h"
#include "Generator/instruments/CGenInstTreeUid.h"

#include <boost/serialization/export.hpp>
#include <boost/serialization/level.hpp>
#include <boost/serialization/tracking.hpp>

#include <cstddef>
#include <iterator>
#include <list>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

class CGenInstTreeEntry;

// How the children of a vertex relate. Descriptive only: no search treats
// the two differently.
enum TEntriesAre : int {
    TEntriesAre_Explicit = 0,   // alternatives, exactly one is taken ("rimClick" or "rimShot")
    TEntriesAre_Combinable = 1, // independent parameters, one of each may be ORed ("pos" with "move")
};
const char* TEntriesAreName(TEntriesAre e);

// Kinds of entries as Type() gives them.
enum TInstTreeEntryType : int {
    TInstTreeEntryType_Entry = 0,
    TInstTreeEntryType_Vertex = 1,
    TInstTreeEntryType_Leaf = 2,
};

using TInstTreeEntryList = std::list<CGenInstTreeEntry*>;

class CGenInstTreeEntries_iterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = CGenInstTreeEntry*;
    using difference_type = std::ptrdiff_t;
    using pointer = CGenInstTreeEntry*;
    using reference = CGenInstTreeEntry*;

    CGenInstTreeEntries_iterator() = default;
    explicit CGenInstTreeEntries_iterator(TInstTreeEntryList::iterator it) : mIt(it) {}

    CGenInstTreeEntry* operator*() const { return *mIt; }
    CGenInstTreeEntry* operator->() const { return *mIt; }
    CGenInstTreeEntries_iterator& operator++()
    {
        ++mIt;
        return *this;
    }
    CGenInstTreeEntries_iterator operator++(int) { return CGenInstTreeEntries_iterator(mIt++); }
    CGenInstTreeEntries_iterator& operator--()
    {
        --mIt;
        return *this;
    }
    CGenInstTreeEntries_iterator operator--(int) { return CGenInstTreeEntries_iterator(mIt--); }
    friend bool operator==(const CGenInstTreeEntries_iterator& a, const CGenInstTreeEntries_iterator& b)
    {
        return a.mIt == b.mIt;
    }
    TInstTreeEntryList::iterator Base() const { return mIt; }

private:
    TInstTreeEntryList::iterator mIt {};
};

class CGenInstTreeEntries_const_iterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = const CGenInstTreeEntry*;
    using difference_type = std::ptrdiff_t;
    using pointer = const CGenInstTreeEntry*;
    using reference = const CGenInstTreeEntry*;

    CGenInstTreeEntries_const_iterator() = default;
    explicit CGenInstTreeEntries_const_iterator(TInstTreeEntryList::const_iterator it) : mIt(it) {}
    CGenInstTreeEntries_const_iterator(const CGenInstTreeEntries_iterator& it) : mIt(it.Base()) {}

    const CGenInstTreeEntry* operator*() const { return *mIt; }
    const CGenInstTreeEntry* operator->() const { return *mIt; }
    CGenInstTreeEntries_const_iterator& operator++()
    {
        ++mIt;
        return *this;
    }
    CGenInstTreeEntries_const_iterator operator++(int) { return CGenInstTreeEntries_const_iterator(mIt++); }
    CGenInstTreeEntries_const_iterator& operator--()
    {
        --mIt;
        return *this;
    }
    CGenInstTreeEntries_const_iterator operator--(int) { return CGenInstTreeEntries_const_iterator(mIt--); }
    friend bool operator==(const CGenInstTreeEntries_const_iterator& a, const CGenInstTreeEntries_const_iterator& b)
    {
        return a.mIt == b.mIt;
    }

private:
    TInstTreeEntryList::const_iterator mIt {};
};

// The owned, ordered children of a vertex. Copies clone every entry; the
// owner sets the parents of the copies (AssignWithNewParent, ReparentEntries).
class CGenInstTreeEntries {
public:
    using iterator = CGenInstTreeEntries_iterator;
    using const_iterator = CGenInstTreeEntries_const_iterator;

    CGenInstTreeEntries();
    CGenInstTreeEntries(const CGenInstTreeEntries& o);
    CGenInstTreeEntries(CGenInstTreeEntries&& o) noexcept;
    CGenInstTreeEntries& operator=(const CGenInstTreeEntries& o);
    CGenInstTreeEntries& operator=(CGenInstTreeEntries&& o) noexcept;
    ~CGenInstTreeEntries();

    iterator begin();
    iterator end();
    const_iterator begin() const;
    const_iterator end() const;
    bool empty() const;
    std::size_t size() const;
    // Null on an empty list.
    CGenInstTreeEntry* front() const;
    CGenInstTreeEntry* back() const;
    // Walks the list; throws std::out_of_range on a bad index.
    CGenInstTreeEntry* at(std::size_t index) const;
    // Deletes every entry.
    void clear();
    // The list takes ownership.
    void push_back(std::unique_ptr<CGenInstTreeEntry> entry);
    iterator insert(iterator pos, std::unique_ptr<CGenInstTreeEntry> entry);
    // Replaces the content by clones of `source`'s entries, each parented to
    // `newParent`, and restores the parents down each subtree.
    void AssignWithNewParent(const CGenInstTreeEntries& source, CGenInstTreeEntry* newParent);

    // Pairwise until the shorter list ends: a list equals its own prefixes and
    // an empty list equals everything.
    bool operator==(const CGenInstTreeEntries& o) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int version) const;
    template <class Archive>
    void load(Archive& ar, const unsigned int version);
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    struct Pimpl;
    std::unique_ptr<Pimpl> mPimpl;
};
BOOST_CLASS_VERSION(CGenInstTreeEntries, 0)

namespace zkgen {
// The archived form of the entry list: "ptrCtr", then each pointer.
struct CGenInstTreeEntriesArchiveList {
    CGenInstTreeEntries* mEntries = nullptr;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const;
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/);
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
} // namespace zkgen
BOOST_CLASS_IMPLEMENTATION(zkgen::CGenInstTreeEntriesArchiveList, boost::serialization::object_serializable)
BOOST_CLASS_TRACKING(zkgen::CGenInstTreeEntriesArchiveList, boost::serialization::track_never)

// A node of an instrument tree: a named element of an instrument path whose
// uid element occupies its own nibbles. Entries are owned by their parent's
// list; the parent pointer is borrowed.
class CGenInstTreeEntry : public CGenTraceable<CGenInstTreeEntry> {
public:
    static constexpr const char* kTraceClassName = "CGenInstTreeEntry";

    std::string mName;
    CGenRange<int> mValueRange { 0, 0 };
    int mValueForCreate = 0;
    CGenRange<long long> mUidElRange { TInstTreeUidEl_Undef, TInstTreeUidEl_Undef };
    unsigned long mCompareNibbleCount = 1;
    CGenInstTreeEntry* mParent = nullptr;
    bool mIsRootParent = false;

    // The undefined entry.
    CGenInstTreeEntry() = default;
    CGenInstTreeEntry(const std::string& name, long long uidEl);
    CGenInstTreeEntry(const std::string& name, const CGenRange<long long>& uidElRange);
    // Copies leave the parent unset.
    CGenInstTreeEntry(const CGenInstTreeEntry& o);
    CGenInstTreeEntry& operator=(const CGenInstTreeEntry& o);
    virtual ~CGenInstTreeEntry();

    virtual CGenInstTreeEntry* Clone_Implement() const;
    // Type, name, the whole uid range, the nibble count and the root flag; not the parent.
    virtual bool operator==(const CGenInstTreeEntry& o) const;
    virtual int Type() const { return TInstTreeEntryType_Entry; }
    virtual std::size_t CountLeafs() const { return 1; }
    virtual bool HasEntries() const { return false; }
    virtual CGenInstTreeEntries* Entries() { return nullptr; }
    virtual const CGenInstTreeEntries* Entries() const { return nullptr; }
    virtual TEntriesAre EntriesAre() const { return TEntriesAre_Explicit; }
    virtual void SetEntriesAre(TEntriesAre /*entriesAre*/) {}
    virtual void EntriesAdd(const CGenInstTreeEntry& /*entry*/) {}
    virtual std::size_t RecursiveEntriesSize() const { return 0; }
    virtual CGenInstTreeEntry* FindEntryWithName(const std::string& /*name*/) { return nullptr; }
    virtual const CGenInstTreeEntry* FindEntryWithName(const std::string& /*name*/) const { return nullptr; }
    virtual CGenInstTreeEntry* FindEntryWithSinglePath(const std::string& /*path*/) { return nullptr; }
    virtual const CGenInstTreeEntry* FindEntryWithSinglePath(const std::string& /*path*/) const { return nullptr; }
    virtual CGenInstTreeEntryCollection FindEntryCollectionWithPath(const std::string& /*path*/) { return {}; }
    virtual CGenInstTreeEntryCollection FindEntryCollectionWithPath(const std::string& /*path*/) const { return {}; }
    virtual TInstTreeUid FindUidWithPath(const std::string& /*path*/) const { return TInstTreeUid_Undef; }
    // A copy of `ev` whose MB1 holds the low 32 bits of Uid().
    virtual CGenEv CreateEvWithUidFromEv(const CGenEv& ev) const;
    virtual CGenEv CreateEvWithUidFromUidEv(const CGenEv& ev) const;
    virtual void ReparentEntries() {}
    virtual std::string get_key() const { return mName; }

    // OR of the elements from this entry up to, not including, the root.
    TInstTreeUid Uid() const;
    // Dotted path below the root; empty for the root.
    std::string Path() const;
    // Empty name with both uid ends undefined.
    bool IsUndef() const;
    TInstTreeUidEl UidEl() const { return mUidElRange.mMin; }
    // A deep copy whose parent is not set.
    std::unique_ptr<CGenInstTreeEntry> Clone() const { return std::unique_ptr<CGenInstTreeEntry>(Clone_Implement()); }
    // Whether `uid` is undefined, or names this entry or an ancestor below the root.
    bool ThisOrAncestorUidEquals(TInstTreeUid uid) const;
    // The same walk with the nibble match: whether `uid` is undefined, or its
    // non-zero nibbles all appear in the uid of this entry or an ancestor.
    bool ThisOrAncestorUidMatchForRhsNonZeroNibblesToLhsUid(TInstTreeUid uid) const;
    // Uid of the last entry on the walk towards the root (the entry itself for a root).
    TInstTreeUid TopUid() const;

    virtual void TraceStream(std::ostream& os) const;
    virtual void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mUidElRange", mUidElRange);
        ar& make_nvp("mCompareNibbleCount", mCompareNibbleCount);
        ar& make_nvp("mIsRootParent", mIsRootParent);
        CGenInstTreeEntry* parent = mParent;
        ar& make_nvp("mParent", parent);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        if (version == 0) {
            ar& make_nvp("mValueRange", mValueRange);
            ar& make_nvp("mValueForCreate", mValueForCreate);
        }
        ar& make_nvp("mUidElRange", mUidElRange);
        if (version >= 2)
            ar& make_nvp("mCompareNibbleCount", mCompareNibbleCount);
        else
            mCompareNibbleCount = 1;
        ar& make_nvp("mIsRootParent", mIsRootParent);
        // The parent is read before its children; a parent the archive had
        // to make is damage, and the parent's own read sets it again anyway.
        bool created = false;
        mParent = zkgen::LoadArchivePointer<CGenInstTreeEntry>(ar, "mParent", zkgen::TArchivePointer::MayBorrow, created);
        if (created) {
            delete mParent;
            mParent = nullptr;
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenInstTreeEntry, 2)
BOOST_CLASS_EXPORT_KEY2(CGenInstTreeEntry, "CGenInstTreeEntry")
ZKG_ARCHIVE_NOTE_CREATED(CGenInstTreeEntry)

std::ostream& operator<<(std::ostream& os, const CGenInstTreeEntry& entry);

// An entry without children.
class CGenInstTreeLeaf : public CGenInstTreeEntry {
public:
    using CGenInstTreeEntry::CGenInstTreeEntry;
    CGenInstTreeLeaf() = default;

    CGenInstTreeEntry* Clone_Implement() const override { return new CGenInstTreeLeaf(*this); }
    int Type() const override { return TInstTreeEntryType_Leaf; }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("CGenInstTreeEntry", boost::serialization::base_object<CGenInstTreeEntry>(*this));
    }
};
BOOST_CLASS_VERSION(CGenInstTreeLeaf, 0)
BOOST_CLASS_EXPORT_KEY2(CGenInstTreeLeaf, "CGenInstTreeLeaf")
ZKG_ARCHIVE_NOTE_CREATED(CGenInstTreeLeaf)

template <class Archive>
void CGenInstTreeEntries::save(Archive& ar, const unsigned int /*version*/) const
{
    const zkgen::CGenInstTreeEntriesArchiveList list { const_cast<CGenInstTreeEntries*>(this) };
    ar& boost::serialization::make_nvp("mPimpl", list);
}

template <class Archive>
void CGenInstTreeEntries::load(Archive& ar, const unsigned int /*version*/)
{
    zkgen::CGenInstTreeEntriesArchiveList list { this };
    ar& boost::serialization::make_nvp("mPimpl", list);
}

template <class Archive>
void zkgen::CGenInstTreeEntriesArchiveList::save(Archive& ar, const unsigned int /*version*/) const
{
    const unsigned int count = static_cast<unsigned int>(mEntries->size());
    ar& boost::serialization::make_nvp("ptrCtr", count);
    for (CGenInstTreeEntry* entry : *mEntries)
        ar& boost::serialization::make_nvp("ptr", entry);
}

template <class Archive>
void zkgen::CGenInstTreeEntriesArchiveList::load(Archive& ar, const unsigned int /*version*/)
{
    mEntries->clear();
    unsigned int count = 0;
    ar& boost::serialization::make_nvp("ptrCtr", count);
    for (unsigned int i = 0; i < count; ++i) {
        // Each entry belongs to one parent: a damaged archive that names an
        // entry twice, or an ancestor as a child, is refused.
        bool created = false;
        CGenInstTreeEntry* entry =
            zkgen::LoadArchivePointer<CGenInstTreeEntry>(ar, "ptr", zkgen::TArchivePointer::Owned, created);
        if (entry != nullptr)
            mEntries->push_back(std::unique_ptr<CGenInstTreeEntry>(entry));
    }
}
