#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"
#include "Generator/harmony/CHarmonySerializers.h"
#include "Generator/harmony/CSignKey.h"

// A harmonic centre of the song from a position on: the key the music
// gravitates to, which may differ from the written key.
class CGenEvHarmCenter {
public:
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    CSignKeyLite mSignKey;

    CGenEvHarmCenter() = default;
    CGenEvHarmCenter(float pos, const CSignKeyLite& key) : mBeatPosAbs(pos), mSignKey(key) {}
    CGenEvHarmCenter(float pos, TKeyNr key, bool minor)
        : mBeatPosAbs(pos), mSignKey(key, minor ? TSignKeyType_Minor : TSignKeyType_Major)
    {
    }
    bool IsUndef() const { return mSignKey.IsUndef(); }
    bool operator==(const CGenEvHarmCenter& o) const { return mBeatPosAbs == o.mBeatPosAbs && mSignKey == o.mSignKey; }

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        CHarmCenterLite center(mSignKey);
        CHarmCenterLiteSerializer s(center);
        ar& boost::serialization::make_nvp("harmCenterSerializer", s);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        if (version >= 1) {
            CHarmCenterLite center;
            CHarmCenterLiteSerializer s(center);
            ar& boost::serialization::make_nvp("harmCenterSerializer", s);
            mSignKey = center.mSignKey;
        } else {
            // Older archives kept a key number and a minor flag.
            TKeyNr key = TKeyNr_Undef;
            bool minor = false;
            ar& boost::serialization::make_nvp("mKeyNr", key);
            ar& boost::serialization::make_nvp("mMinor", minor);
            mSignKey = CSignKeyLite(key, minor ? TSignKeyType_Minor : TSignKeyType_Major);
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenEvHarmCenter, 1)

inline const CGenEvHarmCenter CGenEvHarmCenter_Undef {};

class CGenEvsHarmCenter : public CGenEvs_Templ<CGenEvHarmCenter> {
public:
    using TBase = CGenEvs_Templ<CGenEvHarmCenter>;
    using TBase::TBase;
    bool AtHarmCenterBegin(float pos) const { return GenIsDef(pos) && FindElWithBeatPos(pos, 0) != end(); }
    const CGenEvHarmCenter& FindEvHarmCenterValidAt(float pos) const
    {
        if (GenIsUndef(pos))
            return CGenEvHarmCenter_Undef;
        auto it = ElInForceAt(pos);
        return it == end() ? CGenEvHarmCenter_Undef : *it;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenEvsHarmCenter", boost::serialization::base_object<TBase>(*this));
    }
};
