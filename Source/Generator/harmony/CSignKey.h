#pragma once

#include "Generator/harmony/CScaleHeavy.h"

#include <cstdint>
#include <string>

// Keys: the written key of a song (signature key) and, in the same form, its
// harmonic centres. A key is a root and a type; its scale follows the type.

enum TSignKeyType : int {
    TSignKeyType_Undef = -1,
    TSignKeyType_Major = 0,
    TSignKeyType_Minor = 1,
    TSignKeyType_Dorian = 2,
    TSignKeyType_Phrygian = 3,
    TSignKeyType_Lydian = 4,
    TSignKeyType_Mixolydian = 5,
    TSignKeyType_Locrian = 6,
    TSignKeyType_HarmonicMinor = 7,
    TSignKeyType_MelodicMinor = 8,
};
using TSignKeyTypeNoUndef = TSignKeyType;

// The scale type of a key type; Undef for Undef.
TScaleType FromSignKeyType(TSignKeyType type);
// Whether the key's third is minor.
bool SignKeyTypeIsMinorLike(TSignKeyType type);
// "major", "minor", "dorian", ...; "" for Undef.
const char* SignKeyTypeName(TSignKeyType type);

class CSignKeyHeavy {
public:
    CKeyEnh mRoot;
    TSignKeyType mType = TSignKeyType_Undef;
    CScaleHeavy mScale;

    CSignKeyHeavy() = default;
    CSignKeyHeavy(const CKeyEnh& root, TSignKeyType type);

    const CKeyEnh& RootKeyEnh() const { return mRoot; }
    TSignKeyType SignKeyType() const { return mType; }
    const CScaleHeavy& Scale() const { return mScale; }
    bool IsUndef() const { return mRoot.IsUndef() || mType == TSignKeyType_Undef; }
    bool operator==(const CSignKeyHeavy& o) const { return mRoot == o.mRoot && mType == o.mType; }
    // "C major", "F# minor"; "" when undefined.
    std::string Name(const CChordNamePrefs& prefs) const;
    std::string TraceForInitializerList() const;
};

// Reads a key: a root name ("C", "F#", "Bb"), then nothing or "major" for
// major, "m" or "minor" for minor, or a mode's name ("dorian"), with or
// without a blank. Undefined on anything else.
CSignKeyHeavy SignKeyFromString(const std::string& text);

// A compact key: root key number and type in 32 bits each.
class CSignKeyLite {
public:
    int32_t mKeyNr = kKeyNrUndef15;
    int32_t mType = TSignKeyType_Undef;
    TEnh mEnh = TEnh_Undef;

    CSignKeyLite() = default;
    explicit CSignKeyLite(const CSignKeyHeavy& key);
    CSignKeyLite(int keyNr, TSignKeyType type);

    bool IsUndef() const { return !KeyNrIsDef(mKeyNr) || mType == TSignKeyType_Undef; }
    bool IsMinorLike() const { return SignKeyTypeIsMinorLike(static_cast<TSignKeyType>(mType)); }
    CSignKeyHeavy ToSignKeyHeavy() const;
    // The key on the same root with the other third: minor-like keys give
    // major, the others natural minor.
    CSignKeyLite ParallelSignKey() const;
    // A key number relative to the key's root, and back; -1 when undefined.
    int KeyNrToSignKeyKeyNr(int keyNr) const;
    int SignKeyKeyNrToKeyNr(int keyNr) const;
    CScaleHeavy Scale() const;
    // "C", "Am", "D dorian".
    std::string NameShort(const CChordNamePrefs& prefs) const;
    std::string TraceForInitializerList() const;
    bool operator==(const CSignKeyLite& o) const { return mKeyNr == o.mKeyNr && mType == o.mType; }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mKeyNr", mKeyNr);
        ar& boost::serialization::make_nvp("mType", mType);
        ar& boost::serialization::make_nvp("mEnh", mEnh);
    }
};

// A key without spelling in one 64-bit value: root in the low 32 bits (15 is
// undefined), type in the high 32 bits.
class CSignKeyNoEnh {
public:
    uint64_t mValue = kUndefValue;
    static constexpr uint64_t kUndefValue = (static_cast<uint64_t>(static_cast<uint32_t>(-1)) << 32) | 15u;

    CSignKeyNoEnh() = default;
    explicit CSignKeyNoEnh(const CSignKeyLite& key);
    CSignKeyNoEnh(int key, TSignKeyTypeNoUndef type);

    int KeyNr() const { return static_cast<int>(static_cast<uint32_t>(mValue & 0xFFFFFFFFu)); }
    TSignKeyType Type() const { return static_cast<TSignKeyType>(static_cast<int32_t>(mValue >> 32)); }
    bool IsUndef() const { return !KeyNrIsDef(KeyNr()) || Type() == TSignKeyType_Undef; }
    CSignKeyNoEnh ParallelSignKey() const;
    // The interval of a key number above the root, 0..11; -1 when undefined.
    int DistToSignKeyRoot(int keyNr) const;
    CScaleHeavy Scale() const;
    CSignKeyLite SignKey() const;
    bool operator==(const CSignKeyNoEnh&) const = default;
};

// A harmonic centre as the host gives it: a key.
class CHarmCenterLite {
public:
    CSignKeyLite mSignKey;

    CHarmCenterLite() = default;
    explicit CHarmCenterLite(const CSignKeyLite& key) : mSignKey(key) {}
    bool IsUndef() const { return mSignKey.IsUndef(); }
    bool operator==(const CHarmCenterLite&) const = default;
};
