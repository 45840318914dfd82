#pragma once

#include "Generator/CGenSerialization.h"

#include <cstdint>
#include <map>

// How the notes of one note group behave when they are worked out together.
class CNoteGroupInfo {
public:
    enum TMode : int {
        TMode_Undef = -1,
        TMode_Chord = 0,
        TMode_Arpeggio = 1,
        TMode_Line = 2,
    };

    TMode mMode = TMode_Undef;

    bool operator==(const CNoteGroupInfo& o) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mMode", mMode);
    }
};

// Note group infos keyed by group ID (255 means "no group" and is never stored).
class CNoteGroupInfos {
public:
    std::map<uint8_t, CNoteGroupInfo> mInfos;

    bool empty() const { return mInfos.empty(); }
    bool HasNoteGroupInfoForID(uint8_t id) const { return mInfos.count(id) != 0; }
    // The stored info, or a default one.
    CNoteGroupInfo GetNoteGroupInfoForID(uint8_t id) const
    {
        auto it = mInfos.find(id);
        return it == mInfos.end() ? CNoteGroupInfo {} : it->second;
    }
    void SetNoteGroupInfoForID(uint8_t id, const CNoteGroupInfo& info) { mInfos[id] = info; }
    void clear() { mInfos.clear(); }

    bool operator==(const CNoteGroupInfos& o) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mInfos", mInfos);
    }
};
