#include "Generator/harmony/CSignKey.h"

#include "Generator/harmony/CChordHeavy.h"
#include "Platform/ZKStrings.h"

#include <cctype>
#include <sstream>

TScaleType FromSignKeyType(TSignKeyType type)
{
    switch (type) {
    case TSignKeyType_Major:
        return TScaleType_Ionian;
    case TSignKeyType_Minor:
        return TScaleType_Aeolian;
    case TSignKeyType_Dorian:
        return TScaleType_Dorian;
    case TSignKeyType_Phrygian:
        return TScaleType_Phrygian;
    case TSignKeyType_Lydian:
        return TScaleType_Lydian;
    case TSignKeyType_Mixolydian:
        return TScaleType_Mixolydian;
    case TSignKeyType_Locrian:
        return TScaleType_Locrian;
    case TSignKeyType_HarmonicMinor:
        return TScaleType_HarmonicMinor;
    case TSignKeyType_MelodicMinor:
        return TScaleType_MelodicMinor;
    default:
        return TScaleType_Undef;
    }
}

bool SignKeyTypeIsMinorLike(TSignKeyType type)
{
    const TScaleType scale = FromSignKeyType(type);
    return scale != TScaleType_Undef && ScaleDataForType(scale).mDegreeToRootOffsetIntvlArray[2] == 3;
}

const char* SignKeyTypeName(TSignKeyType type)
{
    static const char* const kNames[] = {"major", "minor", "dorian", "phrygian", "lydian", "mixolydian", "locrian",
        "harmonic minor", "melodic minor"};
    return type >= 0 && type <= TSignKeyType_MelodicMinor ? kNames[type] : "";
}

CSignKeyHeavy::CSignKeyHeavy(const CKeyEnh& root, TSignKeyType type)
{
    if (root.IsUndef() || FromSignKeyType(type) == TScaleType_Undef)
        return;
    mRoot = root;
    mType = type;
    mScale = CScaleHeavy(root, FromSignKeyType(type));
}

std::string CSignKeyHeavy::Name(const CChordNamePrefs& prefs) const
{
    if (IsUndef())
        return "";
    const CKeyEnh root(mRoot.mKeyNr, MakeSensefulEnhForKeyNr(mRoot.mKeyNr, mRoot.mEnh, prefs.mEnhPolicy));
    return root.Name() + " " + SignKeyTypeName(mType);
}

std::string CSignKeyHeavy::TraceForInitializerList() const
{
    std::ostringstream os;
    os << "CSignKeyHeavy(CKeyEnh(" << mRoot.mKeyNr << ", " << mRoot.mEnh << "), " << mType << ")";
    return os.str();
}

CSignKeyHeavy SignKeyFromString(const std::string& text)
{
    const std::string trimmed(ZKTrimWhitespace(text));
    size_t used = 0;
    const CKeyEnh root = KeyEnhFromString(trimmed, &used);
    if (root.IsUndef())
        return CSignKeyHeavy();
    const std::string rest(ZKTrimWhitespace(std::string_view(trimmed).substr(used)));
    std::string lower;
    for (char c : rest)
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (rest.empty() || lower == "major" || lower == "maj")
        return CSignKeyHeavy(root, TSignKeyType_Major);
    if (rest == "m" || lower == "minor" || lower == "min")
        return CSignKeyHeavy(root, TSignKeyType_Minor);
    for (int t = TSignKeyType_Dorian; t <= TSignKeyType_MelodicMinor; ++t)
        if (lower == SignKeyTypeName(static_cast<TSignKeyType>(t)))
            return CSignKeyHeavy(root, static_cast<TSignKeyType>(t));
    return CSignKeyHeavy();
}

CSignKeyLite::CSignKeyLite(const CSignKeyHeavy& key)
{
    if (key.IsUndef())
        return;
    mKeyNr = key.mRoot.mKeyNr;
    mType = key.mType;
    mEnh = key.mRoot.mEnh;
}

CSignKeyLite::CSignKeyLite(int keyNr, TSignKeyType type)
{
    if (!KeyNrIsDef(keyNr) || FromSignKeyType(type) == TScaleType_Undef)
        return;
    mKeyNr = keyNr;
    mType = type;
    // Minor keys on black keys are written with the fewer accidentals:
    // C#m, Ebm, F#m, G#m, Bbm.
    const bool sharpMinor = SignKeyTypeIsMinorLike(type) && (keyNr == 1 || keyNr == 6 || keyNr == 8);
    mEnh = sharpMinor ? TEnh_Sharp : MakeSensefulEnhForKeyNr(keyNr, TEnh_Undef, TMakeSensefulEnh_Common);
}

CSignKeyHeavy CSignKeyLite::ToSignKeyHeavy() const
{
    if (IsUndef())
        return CSignKeyHeavy();
    return CSignKeyHeavy(CKeyEnh(mKeyNr, mEnh), static_cast<TSignKeyType>(mType));
}

CSignKeyLite CSignKeyLite::ParallelSignKey() const
{
    if (IsUndef())
        return CSignKeyLite();
    CSignKeyLite out = *this;
    out.mType = IsMinorLike() ? TSignKeyType_Major : TSignKeyType_Minor;
    return out;
}

int CSignKeyLite::KeyNrToSignKeyKeyNr(int keyNr) const
{
    return IsUndef() || keyNr < 0 || keyNr == kKeyNrUndef15 ? -1 : AbsKeyIntvlFromTo(mKeyNr, KeyNrWrapped(keyNr));
}

int CSignKeyLite::SignKeyKeyNrToKeyNr(int keyNr) const
{
    return IsUndef() || keyNr < 0 ? -1 : KeyNrWrapped(static_cast<int64_t>(keyNr) + mKeyNr);
}

CScaleHeavy CSignKeyLite::Scale() const
{
    if (IsUndef())
        return CScaleHeavy();
    return CScaleHeavy(CKeyEnh(mKeyNr, mEnh), FromSignKeyType(static_cast<TSignKeyType>(mType)));
}

std::string CSignKeyLite::NameShort(const CChordNamePrefs& prefs) const
{
    if (IsUndef())
        return "";
    const CKeyEnh root(mKeyNr, MakeSensefulEnhForKeyNr(mKeyNr, mEnh, prefs.mEnhPolicy));
    if (mType == TSignKeyType_Major)
        return root.Name();
    if (mType == TSignKeyType_Minor)
        return root.Name() + "m";
    return root.Name() + " " + SignKeyTypeName(static_cast<TSignKeyType>(mType));
}

std::string CSignKeyLite::TraceForInitializerList() const
{
    std::ostringstream os;
    os << "CSignKeyLite(" << mKeyNr << ", " << mType << ")";
    return os.str();
}

CSignKeyNoEnh::CSignKeyNoEnh(const CSignKeyLite& key)
    : CSignKeyNoEnh(key.IsUndef() ? kKeyNrUndef15 : key.mKeyNr, static_cast<TSignKeyType>(key.mType))
{
}

CSignKeyNoEnh::CSignKeyNoEnh(int key, TSignKeyTypeNoUndef type)
{
    if (!KeyNrIsDef(key) || FromSignKeyType(type) == TScaleType_Undef)
        return;
    mValue = (static_cast<uint64_t>(static_cast<uint32_t>(type)) << 32) | static_cast<uint32_t>(key);
}

CSignKeyNoEnh CSignKeyNoEnh::ParallelSignKey() const { return CSignKeyNoEnh(SignKey().ParallelSignKey()); }

int CSignKeyNoEnh::DistToSignKeyRoot(int keyNr) const
{
    return IsUndef() || keyNr < 0 || keyNr == kKeyNrUndef15 ? -1 : AbsKeyIntvlFromTo(KeyNr(), KeyNrWrapped(keyNr));
}

CScaleHeavy CSignKeyNoEnh::Scale() const { return SignKey().Scale(); }

CSignKeyLite CSignKeyNoEnh::SignKey() const
{
    return IsUndef() ? CSignKeyLite() : CSignKeyLite(KeyNr(), Type());
}
