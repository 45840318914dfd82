#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"

// A chord of the song's chord track from a position on. The chord itself and
// its scale join this element with the harmony primitives; until then the
// element carries its position and whether the user stated the root.
class CGenEvChord {
public:
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    bool mRootNoteSpecified = false;

    CGenEvChord() = default;
    explicit CGenEvChord(float pos) : mBeatPosAbs(pos) {}
    bool IsUndef() const { return GenIsUndef(mBeatPosAbs); }
    bool operator==(const CGenEvChord&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mRootNoteSpecified", mRootNoteSpecified);
    }
};

class CGenEvsChord : public CGenEvs_Templ<CGenEvChord> {
public:
    using TBase = CGenEvs_Templ<CGenEvChord>;
    bool AtChordBegin(float pos) const { return FindElWithBeatPos(pos, 0) != end(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenEvsChord", boost::serialization::base_object<TBase>(*this));
    }
};
