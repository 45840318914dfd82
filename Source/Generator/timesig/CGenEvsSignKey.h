#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/harmony/CHarmonySerializers.h"
#include "Generator/harmony/CSignKey.h"

#include <ostream>

// A written key signature of the song from a position on.
class CGenEvSignKey : public CGenTraceable<CGenEvSignKey> {
public:
    static constexpr const char* kTraceClassName = "CGenEvSignKey";

    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    CSignKeyHeavy mSignKey;

    CGenEvSignKey() = default;
    CGenEvSignKey(float pos, const CSignKeyHeavy& key) : mBeatPosAbs(pos), mSignKey(key) {}
    // A major or natural minor key on a key number, spelled as lead sheets do.
    CGenEvSignKey(float pos, TKeyNr key, bool minor)
        : mBeatPosAbs(pos),
          mSignKey(CSignKeyLite(key, minor ? TSignKeyType_Minor : TSignKeyType_Major).ToSignKeyHeavy())
    {
    }
    // Undefined when the key is.
    bool IsUndef() const { return mSignKey.IsUndef(); }
    int KeyNr() const { return mSignKey.IsUndef() ? TKeyNr_Undef : mSignKey.mRoot.mKeyNr; }
    bool IsMinor() const { return SignKeyTypeIsMinorLike(mSignKey.mType); }
    bool operator==(const CGenEvSignKey& o) const { return mBeatPosAbs == o.mBeatPosAbs && mSignKey == o.mSignKey; }

    void TraceStream(std::ostream& os) const
    {
        os << "CGenEvSignKey: BeatPosAbs " << mBeatPosAbs << ", " << mSignKey.Name(CChordNamePrefs());
    }
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        CSignKeyHeavy key = mSignKey;
        CSignKeySerializer s(key);
        ar& boost::serialization::make_nvp("signKeySerializer", s);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        if (version >= 1) {
            CSignKeySerializer s(mSignKey);
            ar& boost::serialization::make_nvp("signKeySerializer", s);
        } else {
            // Older archives kept a key number and a minor flag.
            TKeyNr key = TKeyNr_Undef;
            bool minor = false;
            ar& boost::serialization::make_nvp("mKeyNr", key);
            ar& boost::serialization::make_nvp("mMinor", minor);
            *this = CGenEvSignKey(mBeatPosAbs, key, minor);
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenEvSignKey, 1)

inline const CGenEvSignKey CGenEvSignKey_Undef {};

// The key signatures of a song, ascending by position.
class CGenEvsSignKey : public CGenEvs_Templ<CGenEvSignKey>, public CGenTraceable<CGenEvsSignKey> {
public:
    static constexpr const char* kTraceClassName = "CGenEvsSignKey";
    using TBase = CGenEvs_Templ<CGenEvSignKey>;
    using TBase::TBase;

    // Whether a key change stands exactly at pos.
    bool AtSignKeyBegin(float pos) const { return GenIsDef(pos) && FindElWithBeatPos(pos, 0) != end(); }
    // The key in force at pos: the last element at or before it; the
    // undefined element before the first one, in an empty list or for an
    // undefined pos.
    const CGenEvSignKey& FindEvSignKeyValidAt(float pos) const
    {
        if (GenIsUndef(pos))
            return CGenEvSignKey_Undef;
        auto it = ElInForceAt(pos);
        return it == end() ? CGenEvSignKey_Undef : *it;
    }

    bool operator==(const CGenEvsSignKey& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }

    void TraceStream(std::ostream& os) const
    {
        os << "CGenEvsSignKey size " << size();
        for (const auto& el : *this)
            os << "\n  ", el.TraceStream(os);
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenEvsSignKey", boost::serialization::base_object<TBase>(*this));
    }
};
