#pragma once

#include "Generator/instruments/CGenInstTreeVertex.h"

#include <string>

class CGenDrumMap;

// The vocabulary of what a musician strikes: a tree of named entries whose
// dotted paths ("Drums.Hh.note.hit.move.static.open.o4") map to nibble-coded
// uids and back. The root contributes no element; its uid is undefined.
class CGenInstTree : public CGenInstTreeVertex {
public:
    int mInstTreeVersion = 0;

    CGenInstTree();
    CGenInstTree(const std::string& name, TEntriesAre entriesAre, int instTreeVersion);
    CGenInstTree(const CGenInstTree& o) = default;
    CGenInstTree(CGenInstTree&& o) noexcept = default;
    CGenInstTree& operator=(const CGenInstTree& o) = default;
    CGenInstTree& operator=(CGenInstTree&& o) noexcept = default;
    ~CGenInstTree() override;

    CGenInstTreeEntry* Clone_Implement() const override { return new CGenInstTree(*this); }

    // Uid lists of the groove and pattern stages; each clears `uids` first.
    // "Drums.Ki".
    void CreateDrumsKickUids(TInstTreeUids& uids) const;
    // "Drums.Sn".
    void CreateDrumsSnareUids(TInstTreeUids& uids) const;
    // "Drums.Tm".
    void CreateDrumsTomUids(TInstTreeUids& uids) const;
    // "Drums.Hh", "Drums.Cr", "Drums.Rd".
    void CreateDrumsSystemCymbalUids(TInstTreeUids& uids) const;
    // The cymbal list and no more.
    void CreateDrumsSystemAllUids(TInstTreeUids& uids) const;
    // "Drums.Ki", "Drums.Hh.note.foot".
    void CreateDrumsFootUids(TInstTreeUids& uids) const;

    void TraceStream(std::ostream& os) const override;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("CGenInstTreeVertex", boost::serialization::base_object<CGenInstTreeVertex>(*this));
        ar& boost::serialization::make_nvp("mInstTreeVersion", mInstTreeVersion);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("CGenInstTreeVertex", boost::serialization::base_object<CGenInstTreeVertex>(*this));
        mInstTreeVersion = 0;
        if (version >= 1)
            ar& boost::serialization::make_nvp("mInstTreeVersion", mInstTreeVersion);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    void _AppendUidForPath(const char* path, TInstTreeUids& uids) const;
};
BOOST_CLASS_VERSION(CGenInstTree, 1)
BOOST_CLASS_EXPORT_KEY2(CGenInstTree, "CGenInstTree")
ZKG_ARCHIVE_NOTE_CREATED(CGenInstTree)

// Replaces the content of `tree` by the fixed drum and percussion tree of
// version 1: name "InstTree", mInstTreeVersion 0. `drumMap` doesn't shape it.
void BuildDrumInstTreeV1(CGenInstTree& tree, const CGenDrumMap& drumMap);
// The version-1 tree, built once.
const CGenInstTree& GenDrumInstTreeV1();
