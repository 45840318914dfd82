#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"

#include <ostream>

// A written key signature of the song from a position on. The key is kept as
// a root key number and a minor flag; the harmony primitives will replace
// these two fields by their full key type (root spelling, key type, scale).
// Until then this is what the position list of key changes needs.
class CGenEvSignKey : public CGenTraceable<CGenEvSignKey> {
public:
    static constexpr const char* kTraceClassName = "CGenEvSignKey";

    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    TKeyNr mKeyNr = TKeyNr_Undef;
    bool mMinor = false;

    constexpr CGenEvSignKey() = default;
    constexpr CGenEvSignKey(float pos, TKeyNr key, bool minor) : mBeatPosAbs(pos), mKeyNr(key), mMinor(minor) {}
    // Undefined when the key is.
    constexpr bool IsUndef() const { return mKeyNr == TKeyNr_Undef; }
    bool operator==(const CGenEvSignKey& o) const
    {
        return mBeatPosAbs == o.mBeatPosAbs && mKeyNr == o.mKeyNr && mMinor == o.mMinor;
    }

    void TraceStream(std::ostream& os) const
    {
        os << "CGenEvSignKey: BeatPosAbs " << mBeatPosAbs << ", KeyNr " << mKeyNr << (mMinor ? " minor" : " major");
    }
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mKeyNr", mKeyNr);
        ar& boost::serialization::make_nvp("mMinor", mMinor);
    }
};

inline constinit const CGenEvSignKey CGenEvSignKey_Undef {};

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
