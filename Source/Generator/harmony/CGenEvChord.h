#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CHarmonySerializers.h"

// A chord of the song's chord track from a position on, with the scale a
// player uses over it.
class CGenEvChord {
public:
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    CChordHeavy mChord;
    CScaleHeavy mScale;
    // The root was stated by the user and not derived.
    bool mRootNoteSpecified = false;

    CGenEvChord() = default;
    explicit CGenEvChord(float pos) : mBeatPosAbs(pos) {}
    CGenEvChord(float pos, const CChordHeavy& chord, const CScaleHeavy& scale = CScaleHeavy())
        : mBeatPosAbs(pos), mChord(chord), mScale(scale)
    {
    }
    bool IsUndef() const { return mChord.IsUndef(); }
    bool operator==(const CGenEvChord& o) const
    {
        return mBeatPosAbs == o.mBeatPosAbs && mChord == o.mChord && mScale == o.mScale
            && mRootNoteSpecified == o.mRootNoteSpecified;
    }

    // The scale over the chord: the one stated with it, else its scale in the key.
    CScaleHeavy ScaleInSignKey(const CSignKeyHeavy& key) const
    {
        return !mScale.IsUndef() ? mScale : mChord.ConstructScaleInSignKey(key);
    }

    void SetHarmChord(const CHarmAnlsChord& chord) { mChord.SetHarmChord(chord); }
    CHarmAnlsChord HarmChord() const { return mChord.HarmChord(); }

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        CChordHeavy chord = mChord;
        bool specified = mRootNoteSpecified;
        CChordSerializer c(chord, specified);
        ar& boost::serialization::make_nvp("chordSerializer", c);
        CScaleHeavy scale = mScale;
        CScaleSerializer s(scale);
        ar& boost::serialization::make_nvp("scaleSerializer", s);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        if (version >= 1) {
            CChordSerializer c(mChord, mRootNoteSpecified);
            ar& boost::serialization::make_nvp("chordSerializer", c);
            CScaleSerializer s(mScale);
            ar& boost::serialization::make_nvp("scaleSerializer", s);
        } else {
            // Older archives held the position and the flag only.
            mChord = CChordHeavy();
            mScale = CScaleHeavy();
            ar& boost::serialization::make_nvp("mRootNoteSpecified", mRootNoteSpecified);
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenEvChord, 1)

inline const CGenEvChord CGenEvChord_Undef {};

class CGenEvsChord : public CGenEvs_Templ<CGenEvChord> {
public:
    using TBase = CGenEvs_Templ<CGenEvChord>;
    using TBase::TBase;
    bool AtChordBegin(float pos) const { return GenIsDef(pos) && FindElWithBeatPos(pos, 0) != end(); }
    // The chord in force at pos: the last at or before it, else the undefined element.
    const CGenEvChord& FindEvChordValidAt(float pos) const
    {
        if (GenIsUndef(pos))
            return CGenEvChord_Undef;
        auto it = ElInForceAt(pos);
        return it == end() ? CGenEvChord_Undef : *it;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenEvsChord", boost::serialization::base_object<TBase>(*this));
    }
};
