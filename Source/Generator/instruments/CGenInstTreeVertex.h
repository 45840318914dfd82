#pragma once

#include "Generator/instruments/CGenInstTreeEntry.h"
#include "Generator/instruments/CKCtr.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

// An entry with an ordered list of owned children.
class CGenInstTreeVertex : public CGenInstTreeEntry {
public:
    CKCtr mEntriesCtr = CKCtr_Undef;
    int mDefaultCtrValue = -1;
    CGenInstTreeEntries mEntries;
    TEntriesAre mEntriesAre = TEntriesAre_Explicit;

    CGenInstTreeVertex() = default;
    CGenInstTreeVertex(const std::string& name, TEntriesAre entriesAre, long long uidEl);
    CGenInstTreeVertex(const std::string& name, TEntriesAre entriesAre, const CGenRange<long long>& uidElRange);
    // Copies and moves point the children at the new vertex.
    CGenInstTreeVertex(const CGenInstTreeVertex& o);
    CGenInstTreeVertex(CGenInstTreeVertex&& o) noexcept;
    CGenInstTreeVertex& operator=(const CGenInstTreeVertex& o);
    CGenInstTreeVertex& operator=(CGenInstTreeVertex&& o) noexcept;
    ~CGenInstTreeVertex() override;

    CGenInstTreeEntry* Clone_Implement() const override { return new CGenInstTreeVertex(*this); }
    bool operator==(const CGenInstTreeEntry& o) const override;
    int Type() const override { return TInstTreeEntryType_Vertex; }
    // Sum over the children; 0 without children.
    std::size_t CountLeafs() const override;
    bool HasEntries() const override { return !mEntries.empty(); }
    CGenInstTreeEntries* Entries() override { return &mEntries; }
    const CGenInstTreeEntries* Entries() const override { return &mEntries; }
    TEntriesAre EntriesAre() const override { return mEntriesAre; }
    void SetEntriesAre(TEntriesAre entriesAre) override { mEntriesAre = entriesAre; }
    // Appends a clone of `entry` with this vertex as its parent.
    void EntriesAdd(const CGenInstTreeEntry& entry) override;
    // Number of entries below this vertex.
    std::size_t RecursiveEntriesSize() const override;
    // The first child whose name matches. A child named "RangeNumber(lo-hi)"
    // matches a name read as an integer within lo..hi inclusive.
    CGenInstTreeEntry* FindEntryWithName(const std::string& name) override;
    const CGenInstTreeEntry* FindEntryWithName(const std::string& name) const override;
    // The entry at one plain dotted path below this vertex, or null.
    CGenInstTreeEntry* FindEntryWithSinglePath(const std::string& path) override;
    const CGenInstTreeEntry* FindEntryWithSinglePath(const std::string& path) const override;
    // All entries a path expression denotes, in the order of its expansion,
    // duplicates kept; unresolved paths are skipped.
    CGenInstTreeEntryCollection FindEntryCollectionWithPath(const std::string& path) override;
    CGenInstTreeEntryCollection FindEntryCollectionWithPath(const std::string& path) const override;
    // OR of the uids a path expression resolves to; undefined if none does.
    TInstTreeUid FindUidWithPath(const std::string& path) const override;
    void ReparentEntries() override;

    virtual bool operator==(const CGenInstTreeVertex& o) const;
    virtual void EntriesClear();

    // Depth first, parent before children, starting with this vertex: every
    // entry with a non-zero uid whose non-zero nibbles all appear in `uid`.
    void FindEntriesForUid(TInstTreeUid uid, CGenInstTreeEntryCollection& collection) const;
    // Whether `entry` is this vertex or lies below it.
    bool ContainsEntryOrAncestor(const CGenInstTreeEntry* entry) const;
    // Whether FindEntriesForUid would find anything.
    bool ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(TInstTreeUid uid) const;
    // The child at `index`, or null.
    CGenInstTreeEntry* EntryAt(std::size_t index);
    const CGenInstTreeEntry* EntryAt(std::size_t index) const;

    // Calls `visit` on every entry below this vertex, depth first, parent
    // before children; `depth` is 0 for the children of this vertex.
    void VisitEntries(const std::function<void(const CGenInstTreeEntry& entry, int depth)>& visit) const;

    void TraceStream(std::ostream& os) const override;
    void TraceStreamBrief(std::ostream& os) const override;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("CGenInstTreeEntry", boost::serialization::base_object<CGenInstTreeEntry>(*this));
        ar& make_nvp("mEntries", mEntries);
        ar& make_nvp("mEntriesAre", mEntriesAre);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("CGenInstTreeEntry", boost::serialization::base_object<CGenInstTreeEntry>(*this));
        if (version == 0) {
            ar& make_nvp("mEntriesCtr", mEntriesCtr);
            ar& make_nvp("mDefaultCtrValue", mDefaultCtrValue);
        }
        ar& make_nvp("mEntries", mEntries);
        ar& make_nvp("mEntriesAre", mEntriesAre);
        ReparentEntries();
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    const CGenInstTreeEntry* _FindEntryWithName(std::string_view name) const;
    const CGenInstTreeEntry* _FindEntryWithSinglePath(std::string_view path) const;
    void _CollectEntriesForUid(TInstTreeUid uid, CGenInstTreeEntryCollection* collection, bool& found) const;
};
BOOST_CLASS_VERSION(CGenInstTreeVertex, 1)
BOOST_CLASS_EXPORT_KEY2(CGenInstTreeVertex, "CGenInstTreeVertex")
ZKG_ARCHIVE_NOTE_CREATED(CGenInstTreeVertex)
