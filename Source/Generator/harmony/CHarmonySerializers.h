#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CNote.h"
#include "Generator/harmony/CScaleHeavy.h"
#include "Generator/harmony/CSignKey.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/serialization/tracking.hpp>

#include <vector>

// Archive wrappers of the harmony values: a value type stays free of the
// archive library, and the archive form is written in one place.

class TNoteSetSerializer {
public:
    TNoteSet& mNotes;
    explicit TNoteSetSerializer(TNoteSet& notes) : mNotes(notes) {}

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        uint64_t size = mNotes.size();
        ar& boost::serialization::make_nvp("noteSetSize", size);
        for (int64_t n : mNotes)
            ar& boost::serialization::make_nvp("note", n);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        uint64_t size = 0;
        ar& boost::serialization::make_nvp("noteSetSize", size);
        // A chord or a scale has a few dozen notes at most; more is damage.
        if (size > 128)
            throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error);
        mNotes.clear();
        for (uint64_t i = 0; i < size; ++i) {
            int64_t n = 0;
            ar& boost::serialization::make_nvp("note", n);
            mNotes.insert(n);
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

class CNoteSerializer {
public:
    CNote& mNote;
    explicit CNoteSerializer(CNote& note) : mNote(note) {}

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mNoteNr", mNote.mNoteNr);
        ar& boost::serialization::make_nvp("mEnh", mNote.mEnh);
    }
};

class CScaleSerializer {
public:
    CScaleHeavy& mScale;
    explicit CScaleSerializer(CScaleHeavy& scale) : mScale(scale) {}

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        Fields(ar, mScale);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        CScaleHeavy s;
        Fields(ar, s);
        // The table is the truth for a named type; the stored copy only
        // tells which one. A custom scale is rebuilt from its intervals.
        const int n = s.mActiveScaleData.degreesPerOctave;
        if (s.mScaleType == TScaleType_Undef || s.mKeyEnh.IsUndef()) {
            mScale = CScaleHeavy();
        } else if (s.mScaleType == TScaleType_Custom) {
            CSemitones semis;
            for (int o : s.mCustomScaleData.mDegreeToRootOffsetIntvlArray)
                semis.SetIntvl(o);
            mScale = CScaleHeavy(s.mKeyEnh, semis);
        } else if (s.mScaleType > TScaleType_Undef && s.mScaleType < TScaleType_Custom && n >= 0) {
            mScale = CScaleHeavy(s.mKeyEnh, s.mScaleType);
        } else {
            throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error);
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    template <class Archive, class Scale>
    static void Fields(Archive& ar, Scale& s)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mScaleType", s.mScaleType);
        ar& make_nvp("mKeyEnh", s.mKeyEnh);
        ar& make_nvp("mActiveScaleData.type", s.mActiveScaleData.type);
        ar& make_nvp("mActiveScaleData.name", s.mActiveScaleData.name);
        ar& make_nvp("mActiveScaleData.degreesPerOctave", s.mActiveScaleData.degreesPerOctave);
        ar& make_nvp("mActiveScaleData.mDegreeToRootOffsetIntvlArray", s.mActiveScaleData.mDegreeToRootOffsetIntvlArray);
        ar& make_nvp("mActiveScaleData.mode", s.mActiveScaleData.mode);
        ar& make_nvp("mCustomScaleData.type", s.mCustomScaleData.type);
        ar& make_nvp("mCustomScaleData.name", s.mCustomScaleData.name);
        ar& make_nvp("mCustomScaleData.degreesPerOctave", s.mCustomScaleData.degreesPerOctave);
        ar& make_nvp("mCustomScaleData.mDegreeToRootOffsetIntvlArray", s.mCustomScaleData.mDegreeToRootOffsetIntvlArray);
        ar& make_nvp("mCustomScaleData.mode", s.mCustomScaleData.mode);
        // A custom scale of more than an octave of degrees is damage.
        if (s.mCustomScaleData.mDegreeToRootOffsetIntvlArray.size() > 12)
            throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error);
    }
};

class CSignKeySerializer {
public:
    CSignKeyHeavy& mKey;
    explicit CSignKeySerializer(CSignKeyHeavy& key) : mKey(key) {}

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        CKeyEnh root = mKey.mRoot;
        int type = mKey.mType;
        ar& boost::serialization::make_nvp("mRoot", root);
        ar& boost::serialization::make_nvp("mType", type);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        CKeyEnh root;
        int type = TSignKeyType_Undef;
        ar& boost::serialization::make_nvp("mRoot", root);
        ar& boost::serialization::make_nvp("mType", type);
        mKey = CSignKeyHeavy(CKeyEnh(root.mKeyNr, root.mEnh), static_cast<TSignKeyType>(type));
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

class CHarmCenterLiteSerializer {
public:
    CHarmCenterLite& mCenter;
    explicit CHarmCenterLiteSerializer(CHarmCenterLite& center) : mCenter(center) {}

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        CSignKeyLite key = mCenter.mSignKey;
        ar& boost::serialization::make_nvp("mSignKey", key);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        CSignKeyLite key;
        ar& boost::serialization::make_nvp("mSignKey", key);
        // Through the checked constructor: a damaged key comes back undefined.
        CSignKeyLite checked(key.mKeyNr, static_cast<TSignKeyType>(key.mType));
        if (!checked.IsUndef())
            checked.mEnh = key.mEnh == TEnh_Natural || key.mEnh == TEnh_Sharp || key.mEnh == TEnh_Flat ? key.mEnh : checked.mEnh;
        mCenter = CHarmCenterLite(checked);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

// A chord as its note set, then whether the user stated the root.
class CChordSerializer {
public:
    CChordHeavy& mChord;
    bool& mRootNoteSpecified;
    CChordSerializer(CChordHeavy& chord, bool& rootNoteSpecified) : mChord(chord), mRootNoteSpecified(rootNoteSpecified) {}

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        TNoteSet notes = mChord.ToNoteSet();
        TNoteSetSerializer s(notes);
        ar& boost::serialization::make_nvp("noteSetSerializer", s);
        ar& boost::serialization::make_nvp("mRootNoteSpecified", mRootNoteSpecified);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        TNoteSet notes;
        TNoteSetSerializer s(notes);
        ar& boost::serialization::make_nvp("noteSetSerializer", s);
        ar& boost::serialization::make_nvp("mRootNoteSpecified", mRootNoteSpecified);
        if (!mChord.FromNoteSet(notes))
            throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

BOOST_CLASS_TRACKING(TNoteSetSerializer, boost::serialization::track_never)
BOOST_CLASS_TRACKING(CNoteSerializer, boost::serialization::track_never)
BOOST_CLASS_TRACKING(CScaleSerializer, boost::serialization::track_never)
BOOST_CLASS_TRACKING(CSignKeySerializer, boost::serialization::track_never)
BOOST_CLASS_TRACKING(CHarmCenterLiteSerializer, boost::serialization::track_never)
BOOST_CLASS_TRACKING(CChordSerializer, boost::serialization::track_never)
