#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"

// A harmonic centre of the song from a position on: the key root and mode
// the music gravitates to, which may differ from the written key.
class CGenEvHarmCenter {
public:
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    TKeyNr mKeyNr = TKeyNr_Undef;
    bool mMinor = false;

    CGenEvHarmCenter() = default;
    CGenEvHarmCenter(float pos, TKeyNr key, bool minor) : mBeatPosAbs(pos), mKeyNr(key), mMinor(minor) {}
    bool IsUndef() const { return mKeyNr == TKeyNr_Undef; }
    bool operator==(const CGenEvHarmCenter&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mKeyNr", mKeyNr);
        ar& boost::serialization::make_nvp("mMinor", mMinor);
    }
};

class CGenEvsHarmCenter : public CGenEvs_Templ<CGenEvHarmCenter> {
public:
    using TBase = CGenEvs_Templ<CGenEvHarmCenter>;
    bool AtHarmCenterBegin(float pos) const { return FindElWithBeatPos(pos, 0) != end(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenEvsHarmCenter", boost::serialization::base_object<TBase>(*this));
    }
};
