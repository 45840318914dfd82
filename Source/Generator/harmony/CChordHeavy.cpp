#include "Generator/harmony/CChordHeavy.h"

#include "Platform/ZKStrings.h"

#include <algorithm>
#include <array>
#include <bit>
#include <sstream>
#include <vector>

namespace {

constexpr uint32_t Bits(std::initializer_list<int> intervals)
{
    uint32_t b = 0;
    for (int i : intervals)
        b |= 1u << i;
    return b;
}

struct TChordRow {
    TChordType type;
    const char* suffix;
    uint32_t intervals;
    std::vector<const char*> aliases;
};

const std::vector<TChordRow>& ChordTable()
{
    static const std::vector<TChordRow> table = {
        {TChordType_Major, "", Bits({0, 4, 7}), {"maj", "Maj", "M"}},
        {TChordType_Minor, "m", Bits({0, 3, 7}), {"min", "mi", "-"}},
        {TChordType_Dim, "dim", Bits({0, 3, 6}), {"o", "\xC2\xB0"}},
        {TChordType_Aug, "aug", Bits({0, 4, 8}), {"+"}},
        {TChordType_Sus4, "sus4", Bits({0, 5, 7}), {"sus"}},
        {TChordType_Sus2, "sus2", Bits({0, 2, 7}), {}},
        {TChordType_Power, "5", Bits({0, 7}), {}},
        {TChordType_6, "6", Bits({0, 4, 7, 9}), {}},
        {TChordType_m6, "m6", Bits({0, 3, 7, 9}), {"min6", "-6"}},
        {TChordType_69, "6/9", Bits({0, 4, 7, 9, 14}), {"69"}},
        {TChordType_m69, "m6/9", Bits({0, 3, 7, 9, 14}), {"m69", "-6/9", "-69"}},
        {TChordType_7, "7", Bits({0, 4, 7, 10}), {"dom7"}},
        {TChordType_Maj7, "maj7", Bits({0, 4, 7, 11}),
            {"M7", "Maj7", "ma7", "j7", "\xCE\x94", "\xCE\x94" "7"}},
        {TChordType_m7, "m7", Bits({0, 3, 7, 10}), {"min7", "mi7", "-7"}},
        {TChordType_m7b5, "m7b5", Bits({0, 3, 6, 10}), {"\xC3\xB8", "\xC3\xB8" "7", "-7b5", "min7b5"}},
        {TChordType_Dim7, "dim7", Bits({0, 3, 6, 9}), {"o7", "\xC2\xB0" "7"}},
        {TChordType_mMaj7, "mMaj7", Bits({0, 3, 7, 11}), {"mmaj7", "mM7", "minMaj7", "-maj7", "-Maj7"}},
        {TChordType_Aug7, "aug7", Bits({0, 4, 8, 10}), {"+7", "7#5", "7+"}},
        {TChordType_Maj7Sharp5, "maj7#5", Bits({0, 4, 8, 11}), {"augMaj7", "+M7", "+maj7", "M7#5"}},
        {TChordType_7Sus4, "7sus4", Bits({0, 5, 7, 10}), {"7sus"}},
        {TChordType_7b5, "7b5", Bits({0, 4, 6, 10}), {}},
        {TChordType_9, "9", Bits({0, 4, 7, 10, 14}), {}},
        {TChordType_Maj9, "maj9", Bits({0, 4, 7, 11, 14}), {"M9", "Maj9"}},
        {TChordType_m9, "m9", Bits({0, 3, 7, 10, 14}), {"-9", "min9"}},
        {TChordType_Add9, "add9", Bits({0, 4, 7, 14}), {}},
        {TChordType_mAdd9, "madd9", Bits({0, 3, 7, 14}), {"mAdd9", "minadd9"}},
        {TChordType_9Sus4, "9sus4", Bits({0, 5, 7, 10, 14}), {"9sus"}},
        {TChordType_7b9, "7b9", Bits({0, 4, 7, 10, 13}), {}},
        {TChordType_7Sharp9, "7#9", Bits({0, 4, 7, 10, 15}), {}},
        {TChordType_7Sharp11, "7#11", Bits({0, 4, 7, 10, 18}), {}},
        {TChordType_Maj7Sharp11, "maj7#11", Bits({0, 4, 7, 11, 18}), {"M7#11"}},
        // An eleventh chord is voiced without its third, which the eleventh would clash with.
        {TChordType_11, "11", Bits({0, 7, 10, 14, 17}), {}},
        {TChordType_m11, "m11", Bits({0, 3, 7, 10, 14, 17}), {"-11", "min11"}},
        {TChordType_13, "13", Bits({0, 4, 7, 10, 14, 21}), {}},
        {TChordType_Maj13, "maj13", Bits({0, 4, 7, 11, 14, 21}), {"M13", "Maj13"}},
        {TChordType_m13, "m13", Bits({0, 3, 7, 10, 14, 21}), {"-13", "min13"}},
        {TChordType_7b13, "7b13", Bits({0, 4, 7, 10, 20}), {}},
        {TChordType_7Alt, "7alt", Bits({0, 4, 10, 13, 15, 18, 20}), {"alt"}},
    };
    return table;
}

// Alterations and additions after the quality: what each does to the intervals.
struct TModifier {
    const char* text;
    uint32_t add;
    uint32_t remove;
};

const std::vector<TModifier>& Modifiers()
{
    static const std::vector<TModifier> mods = {
        {"b5", Bits({6}), Bits({7})},
        {"#5", Bits({8}), Bits({7})},
        {"+5", Bits({8}), Bits({7})},
        {"b9", Bits({13}), 0},
        {"#9", Bits({15}), 0},
        {"#11", Bits({18}), 0},
        {"b13", Bits({20}), 0},
        {"add2", Bits({2}), 0},
        {"add4", Bits({5}), 0},
        {"add6", Bits({9}), 0},
        {"add9", Bits({14}), 0},
        {"add11", Bits({17}), 0},
        {"add13", Bits({21}), 0},
        {"sus4", Bits({5}), Bits({3, 4})},
        {"sus2", Bits({2}), Bits({3, 4})},
        {"no3", 0, Bits({3, 4})},
        {"no5", 0, Bits({7})},
    };
    return mods;
}

// How an interval that a base type lacks is written after it.
const char* ExtraText(int interval)
{
    switch (interval) {
    case 2:
        return "add2";
    case 5:
        return "add4";
    case 6:
        return "b5";
    case 8:
        return "#5";
    case 9:
        return "add6";
    case 13:
        return "b9";
    case 14:
        return "add9";
    case 15:
        return "#9";
    case 17:
        return "add11";
    case 18:
        return "#11";
    case 20:
        return "b13";
    case 21:
        return "add13";
    default:
        return nullptr;
    }
}

bool StartsWith(const std::string& s, size_t at, const char* prefix)
{
    return s.compare(at, std::char_traits<char>::length(prefix), prefix) == 0;
}

// The suffix of a chord's intervals: the table's when it has them, else the
// nearest type with its alterations and omissions.
std::string SuffixForIntervals(uint32_t intervals, const CChordNamePrefs& prefs)
{
    const TChordType exact = ChordTypeForIntervals(intervals);
    if (exact != TChordType_Custom) {
        std::string s = ChordTypeSuffix(exact);
        if (prefs.mMajorSevenAsM && s.rfind("maj", 0) == 0)
            s = std::string("M").append(s, 3, std::string::npos);
        if (prefs.mMinorAsDash && s.rfind("m", 0) == 0 && s.rfind("mMaj", 0) != 0 && s.rfind("maj", 0) != 0)
            s = std::string("-").append(s, 1, std::string::npos);
        return s;
    }
    int bestScore = 1000;
    std::string best;
    for (const TChordRow& row : ChordTable()) {
        const uint32_t missing = row.intervals & ~intervals;
        const uint32_t extra = intervals & ~row.intervals;
        if (missing & ~Bits({3, 4, 7}))
            continue;
        std::string text = SuffixForIntervals(row.intervals, prefs);
        // Alterations go in parentheses: "C(b5)" is not read as a C flat.
        text += '(';
        bool ok = true;
        // A lowered or raised fifth replaces the fifth: no "no5" then.
        const bool fifthAltered = (extra & Bits({6, 8})) != 0;
        for (int i = 1; i < 24 && ok; ++i)
            if (extra & (1u << i)) {
                const char* t = ExtraText(i);
                ok = t != nullptr;
                if (ok)
                    text += t;
            }
        if (!ok)
            continue;
        if (missing & Bits({3, 4}))
            text += "no3";
        if ((missing & Bits({7})) && !fifthAltered)
            text += "no5";
        text += ')';
        const int score = std::popcount(missing) + std::popcount(extra);
        if (score < bestScore) {
            bestScore = score;
            best = text;
        }
    }
    if (bestScore == 1000) {
        best.assign(1, '(');
        for (int i = 1; i < 24; ++i)
            if (intervals & (1u << i)) {
                if (best.size() > 1)
                    best += ' ';
                best += std::to_string(i);
            }
        best += ")";
    }
    return best;
}


} // namespace

const char* ChordTypeSuffix(TChordType type)
{
    for (const TChordRow& row : ChordTable())
        if (row.type == type)
            return row.suffix;
    return "";
}

uint32_t ChordTypeIntervals(TChordType type)
{
    for (const TChordRow& row : ChordTable())
        if (row.type == type)
            return row.intervals;
    return 0;
}

TChordType ChordTypeForIntervals(uint32_t intervals)
{
    for (const TChordRow& row : ChordTable())
        if (row.intervals == intervals)
            return row.type;
    return TChordType_Custom;
}

CChordHeavy::CChordHeavy(int type) : mType(static_cast<TChordType>(type)) {}

CChordHeavy::CChordHeavy(const CKeyEnh& root, TChordType type)
{
    if (root.IsUndef() || ChordTypeIntervals(type) == 0)
        return;
    mRoot = root;
    mIntervals = ChordTypeIntervals(type);
    mType = type;
    UpdateIntvlSetAndBassNoteHasIntvlAlone();
}

CChordHeavy::CChordHeavy(const CKeyEnh& root, const CKeyEnh& bass, uint32_t intervals)
{
    if (root.IsUndef())
        return;
    mRoot = root;
    if (!bass.IsUndef() && bass.mKeyNr != root.mKeyNr)
        mBass = bass;
    mIntervals = (intervals | 1u) & 0xFFFFFFu;
    mType = ChordTypeForIntervals(mIntervals);
    UpdateIntvlSetAndBassNoteHasIntvlAlone();
}

bool CChordHeavy::operator==(const CChordHeavy& o) const
{
    // Spelling aside: the same sounding chord.
    return mRoot.mKeyNr == o.mRoot.mKeyNr && BassKeyEnh().mKeyNr == o.BassKeyEnh().mKeyNr
        && mIntervals == o.mIntervals && mNoChord == o.mNoChord;
}

CNote CChordHeavy::RootNote() const
{
    if (IsUndef())
        return CNote();
    return CNote(48 + mRoot.mKeyNr, mRoot.mEnh);
}

CNote CChordHeavy::BassNote() const
{
    if (IsUndef())
        return CNote();
    if (!IsSlashChord())
        return RootNote();
    return CNote(48 + mRoot.mKeyNr - AbsKeyIntvlFromTo(mBass.mKeyNr, mRoot.mKeyNr), mBass.mEnh);
}

TBasicChord CChordHeavy::BasicChord() const
{
    if (IsUndef())
        return TBasicChord_Undef;
    const CSemitones s = Semitones();
    if (s.HasIntvl(4))
        return s.HasIntvl(8) && !s.HasIntvl(7) ? TBasicChord_Augmented : TBasicChord_Major;
    if (s.HasIntvl(3))
        return s.HasIntvl(7) || !s.HasIntvl(6) ? TBasicChord_Minor : TBasicChord_Diminished;
    if (s.HasIntvl(5))
        return TBasicChord_Sus4;
    if (s.HasIntvl(2))
        return TBasicChord_Sus2;
    if (s.HasIntvl(7))
        return TBasicChord_Power;
    return TBasicChord_None;
}

CSemitones CChordHeavy::Semitones() const
{
    CSemitones s;
    if (IsUndef())
        return s;
    for (int i = 0; i < 24; ++i)
        if (mIntervals & (1u << i))
            s.SetIntvl(i);
    return s;
}

namespace {

// Root, third (or its suspension) and fifth of a basic chord family.
CSemitones BasicTriad(TBasicChord basic, const CSemitones& s)
{
    CSemitones t;
    t.SetIntvl(0);
    switch (basic) {
    case TBasicChord_Major:
        t.SetIntvl(4);
        t.SetIntvl(s.HasIntvl(7) ? 7 : (s.HasIntvl(6) ? 6 : 7));
        break;
    case TBasicChord_Minor:
        t.SetIntvl(3);
        t.SetIntvl(7);
        break;
    case TBasicChord_Diminished:
        t.SetIntvl(3);
        t.SetIntvl(6);
        break;
    case TBasicChord_Augmented:
        t.SetIntvl(4);
        t.SetIntvl(8);
        break;
    case TBasicChord_Sus4:
        t.SetIntvl(5);
        t.SetIntvl(7);
        break;
    case TBasicChord_Sus2:
        t.SetIntvl(2);
        t.SetIntvl(7);
        break;
    case TBasicChord_Power:
        t.SetIntvl(7);
        break;
    default:
        break;
    }
    return t;
}

} // namespace

CSemitones CChordHeavy::OptionsSemitones() const
{
    const CSemitones s = Semitones();
    return CSemitones::FromBits(s.mBits & ~BasicTriad(BasicChord(), s).mBits);
}

int CChordHeavy::ChordKeyNrFromKeyNr(int keyNr) const
{
    return IsUndef() || keyNr < 0 ? -1 : AbsKeyIntvlFromTo(mRoot.mKeyNr, KeyNrWrapped(keyNr));
}

int CChordHeavy::KeyNrFromChordKeyNr(int chordKeyNr) const
{
    return IsUndef() || chordKeyNr < 0 ? -1 : KeyNrWrapped(static_cast<int64_t>(chordKeyNr) + mRoot.mKeyNr);
}

long CChordHeavy::QuantizeToBasicChord(long noteNr, TQuantizeDirection direction) const
{
    if (IsUndef() || noteNr < 0)
        return -1;
    const CSemitones triad = BasicTriad(BasicChord(), Semitones());
    const TNeighbourNotes near =
        NeighbourNotesWithKey(noteNr, [&](int key) { return triad.HasIntvl(key - mRoot.mKeyNr); });
    // Below the lowest note there is only the one above.
    return near.mBelow < 0 ? near.mAbove : PickNeighbour(noteNr, near, direction);
}

CScaleHeavy CChordHeavy::OwnScale() const
{
    if (IsUndef())
        return CScaleHeavy();
    const uint32_t b = mIntervals;
    auto has = [b](int i) { return (b & (1u << i)) != 0; };
    const CSemitones s = Semitones();
    TScaleType type = TScaleType_Ionian;
    if (s.HasIntvl(4)) {
        if (has(10)) {
            const bool alteredFifth = has(8) || has(20);
            if (mType == TChordType_7Alt || (alteredFifth && (has(13) || has(15)) && !has(7)))
                type = TScaleType_Altered;
            else if (has(13) && has(20) && !has(15) && !has(18))
                type = TScaleType_PhrygianDominant;
            else if (has(13) || has(15))
                type = TScaleType_DiminishedHalfWhole;
            else if (has(18) || has(6))
                type = TScaleType_LydianDominant;
            else if (has(8) && !has(7))
                type = TScaleType_WholeTone;
            else if (has(20))
                // Mixolydian with a lowered sixth: the fifth mode of melodic minor.
                return CScaleHeavy(mRoot, CSemitones(true, false, true, false, true, true, false, true, true, false, true, false));
            else
                type = TScaleType_Mixolydian;
        } else if (has(8) && !has(7)) {
            type = has(11) ? TScaleType_LydianAugmented : TScaleType_WholeTone;
        } else if (has(18) || has(6)) {
            type = TScaleType_Lydian;
        } else {
            type = TScaleType_Ionian;
        }
    } else if (s.HasIntvl(3)) {
        if (has(6) && has(9) && !has(7) && !has(10))
            type = TScaleType_DiminishedWholeHalf;
        else if (has(6) && !has(7))
            type = has(14) ? TScaleType_LocrianNatural2 : TScaleType_Locrian;
        else if (has(11))
            type = TScaleType_MelodicMinor;
        else if (has(8) || has(20))
            type = TScaleType_Aeolian;
        else if (has(13))
            type = TScaleType_Phrygian;
        else
            type = TScaleType_Dorian;
    } else if (s.HasIntvl(5)) {
        type = TScaleType_Mixolydian;
    }
    return CScaleHeavy(mRoot, type);
}

CScaleHeavy CChordHeavy::ConstructScaleInSignKey(const CSignKeyHeavy& key) const
{
    if (IsUndef())
        return key.IsUndef() ? CScaleHeavy() : key.Scale();
    if (key.IsUndef())
        return OwnScale();
    const CScaleHeavy& keyScale = key.Scale();
    const CSemitones keyTones = keyScale.ToSemitones();
    // The chord's notes, and a slash chord's bass, as intervals above the key root.
    const int rootInKey = AbsKeyIntvlFromTo(key.mRoot.mKeyNr, mRoot.mKeyNr);
    bool diatonic = keyTones.HasIntvl(AbsKeyIntvlFromTo(key.mRoot.mKeyNr, BassKeyEnh().mKeyNr));
    const CSemitones tones = Semitones();
    for (int i = 0; i < 12 && diatonic; ++i)
        if (tones.HasIntvl(i) && !keyTones.HasIntvl(rootInKey + i))
            diatonic = false;
    if (diatonic) {
        const TScaleType keyType = keyScale.mScaleType;
        if (keyType >= TScaleType_Ionian && keyType <= TScaleType_Locrian) {
            const int degree = keyScale.KeyNrToDegreeNr(mRoot.mKeyNr);
            return CScaleHeavy(mRoot, static_cast<TScaleType>((keyType + degree) % 7));
        }
        return CScaleHeavy(mRoot, keyTones.RotatedDown(rootInKey));
    }
    // V7 of a minor key borrows the raised seventh of harmonic minor.
    if (key.Scale().HasIntvl(3) && rootInKey == 7 && tones.HasIntvl(4) && tones.HasIntvl(10)
        && (mIntervals & Bits({14, 15, 17, 18, 21})) == 0)
        return CScaleHeavy(mRoot, TScaleType_PhrygianDominant);
    return OwnScale();
}

CScaleHeavy CChordHeavy::ConstructScaleInSignKey(const CSignKeyNoEnh& key) const
{
    return ConstructScaleInSignKey(key.SignKey().ToSignKeyHeavy());
}

int CChordHeavy::BassNoteDegreeNrInSignKey(const CSignKeyHeavy& key) const
{
    return IsUndef() ? -1 : key.Scale().KeyNrToDegreeNr(BassKeyEnh().mKeyNr);
}

int CChordHeavy::RootNoteDegreeNrInSignKey(const CSignKeyHeavy& key) const
{
    return IsUndef() ? -1 : key.Scale().KeyNrToDegreeNr(mRoot.mKeyNr);
}

THarmFunc CChordHeavy::HarmFuncIn(const CSignKeyHeavy& key) const
{
    if (key.Scale().DegreesPerOctave() != 7)
        return THarmFunc_Undef;
    switch (RootNoteDegreeNrInSignKey(key)) {
    case 0:
    case 2:
    case 5:
        return THarmFunc_Tonic;
    case 1:
    case 3:
        return THarmFunc_Subdominant;
    case 4:
    case 6:
        return THarmFunc_Dominant;
    default:
        return THarmFunc_Undef;
    }
}

void CChordHeavy::UpdateIntvlSetAndBassNoteHasIntvlAlone()
{
    mIntvlSetCache = Semitones().mBits;
    mBassNoteHasIntvlAlone = IsSlashChord() && !Semitones().HasIntvl(AbsKeyIntvlFromTo(mRoot.mKeyNr, mBass.mKeyNr));
}

bool CChordHeavy::HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(int intvl) const
{
    // The chord tones alone: a bass outside them is heard only below.
    return !IsUndef() && Semitones().HasIntvl(intvl);
}

std::string CChordHeavy::Name(const CChordNamePrefs& prefs) const
{
    if (mNoChord == TNoChord_Force)
        return "N.C.";
    if (IsUndef())
        return "";
    auto spelled = [&prefs](const CKeyEnh& k) {
        return CKeyEnh(k.mKeyNr, MakeSensefulEnhForKeyNr(k.mKeyNr, k.mEnh, prefs.mEnhPolicy)).Name();
    };
    std::string name = spelled(mRoot) + SuffixForIntervals(mIntervals, prefs);
    if (IsSlashChord()) {
        name += '/';
        name += spelled(mBass);
    }
    return name;
}

std::string CChordHeavy::TraceForInitializerList() const
{
    std::ostringstream os;
    os << "CChordHeavy(\"" << Name(CChordNamePrefs()) << "\")";
    return os.str();
}

TNoteSet CChordHeavy::ToNoteSet() const
{
    TNoteSet notes;
    if (IsUndef()) {
        // A stated no-chord is kept as note 0, a yielding one as note 1.
        if (mNoChord != TNoChord_None)
            notes.insert(mNoChord == TNoChord_Force ? 0 : 1);
        return notes;
    }
    if (IsSlashChord())
        notes.insert(36 + mBass.mKeyNr);
    for (int i = 0; i < 24; ++i)
        if (mIntervals & (1u << i))
            notes.insert(48 + mRoot.mKeyNr + i);
    return notes;
}

bool CChordHeavy::FromNoteSet(const TNoteSet& notes)
{
    CChordHeavy chord;
    auto root = notes.lower_bound(48);
    if (root == notes.end()) {
        if (notes.size() == 1 && (*notes.begin() == 0 || *notes.begin() == 1))
            chord.mNoChord = *notes.begin() == 0 ? TNoChord_Force : TNoChord_Yield;
        else if (!notes.empty())
            return false;
        *this = chord;
        return true;
    }
    uint32_t intervals = 0;
    for (auto it = root; it != notes.end(); ++it) {
        const int64_t i = *it - *root;
        if (i >= 24)
            return false;
        intervals |= 1u << i;
    }
    const int rootKey = KeyNrWrapped(*root);
    CKeyEnh bass;
    if (root != notes.begin()) {
        const int bassKey = KeyNrWrapped(*notes.begin());
        bass = CKeyEnh(bassKey, MakeSensefulEnhForKeyNr(bassKey, TEnh_Undef, TMakeSensefulEnh_Common));
    }
    *this = CChordHeavy(CKeyEnh(rootKey, MakeSensefulEnhForKeyNr(rootKey, TEnh_Undef, TMakeSensefulEnh_Common)), bass,
        intervals);
    return true;
}

CHarmAnlsChord CChordHeavy::HarmChord() const
{
    CHarmAnlsChord c;
    c.mNoChord = mNoChord;
    if (IsUndef())
        return c;
    c.mRootKeyNr = mRoot.mKeyNr;
    c.mBassKeyNr = BassKeyEnh().mKeyNr;
    c.mIntervals = mIntervals;
    return c;
}

void CChordHeavy::SetHarmChord(const CHarmAnlsChord& chord)
{
    CChordHeavy out;
    if (KeyNrIsDef(chord.mRootKeyNr)) {
        const auto common = [](int k) {
            return KeyNrIsDef(k) ? CKeyEnh(k, MakeSensefulEnhForKeyNr(k, TEnh_Undef, TMakeSensefulEnh_Common)) : CKeyEnh();
        };
        out = CChordHeavy(common(chord.mRootKeyNr), common(chord.mBassKeyNr), chord.mIntervals);
    }
    out.mNoChord = chord.mNoChord;
    *this = out;
}

bool SetFromString(const std::string& textIn, CChordHeavy& chord, const CChordNamePrefs& /*prefs*/)
{
    const std::string text(ZKTrimWhitespace(textIn));
    if (text == "N.C." || text == "NC" || text == "N.C" || text == "nc") {
        chord = CChordHeavy();
        chord.mNoChord = TNoChord_Force;
        return true;
    }
    size_t used = 0;
    const CKeyEnh root = KeyEnhFromString(text, &used);
    if (root.IsUndef())
        return false;
    std::string rest = text.substr(used);
    // The bass: the last "/" that a note letter follows ("6/9" is a quality).
    CKeyEnh bass;
    for (size_t slash = rest.rfind('/'); slash != std::string::npos;
         slash = slash == 0 ? std::string::npos : rest.rfind('/', slash - 1)) {
        size_t bassUsed = 0;
        const CKeyEnh b = KeyEnhFromString(rest.substr(slash + 1), &bassUsed);
        if (!b.IsUndef()) {
            if (slash + 1 + bassUsed != rest.size())
                return false;
            bass = b;
            rest.erase(slash);
            break;
        }
    }
    std::string s;
    for (char c : rest)
        if (c != '(' && c != ')' && c != ',' && c != ' ')
            s += c;
    // The quality: the longest written form that starts the rest and leaves
    // only alterations ("C7sus2" is 7 with sus2, not "7sus" and a stray 2).
    std::vector<std::pair<size_t, const TChordRow*>> bases;
    for (const TChordRow& row : ChordTable()) {
        std::vector<const char*> forms = row.aliases;
        forms.push_back(row.suffix);
        for (const char* f : forms)
            if (StartsWith(s, 0, f))
                bases.emplace_back(std::char_traits<char>::length(f), &row);
    }
    std::stable_sort(bases.begin(), bases.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    bool parsed = false;
    uint32_t intervals = 0;
    for (const auto& [baseLength, base] : bases) {
        intervals = base->intervals;
        size_t at = baseLength;
        while (at < s.size()) {
            const TModifier* mod = nullptr;
            size_t modLength = 0;
            for (const TModifier& m : Modifiers()) {
                const size_t n = std::char_traits<char>::length(m.text);
                if (n > modLength && StartsWith(s, at, m.text)) {
                    mod = &m;
                    modLength = n;
                }
            }
            if (mod == nullptr)
                break;
            intervals = (intervals & ~mod->remove) | mod->add;
            at += modLength;
        }
        if (at == s.size()) {
            parsed = true;
            break;
        }
    }
    if (!parsed)
        return false;
    chord = CChordHeavy(root, bass, intervals);
    return true;
}

void CChordLite::SetFromChordHeavy(const CChordHeavy& chord)
{
    *this = CChordLite();
    mNoChord = chord.mNoChord;
    if (chord.IsUndef())
        return;
    mRootKeyNr = static_cast<int8_t>(chord.mRoot.mKeyNr);
    mRootEnh = chord.mRoot.mEnh;
    mBassKeyNr = static_cast<int8_t>(chord.BassKeyEnh().mKeyNr);
    mBassEnh = chord.BassKeyEnh().mEnh;
    mIntervals = chord.mIntervals;
}

CChordHeavy CChordLite::ToChordHeavy(int enhPolicy) const
{
    CChordHeavy chord;
    if (mRootKeyNr >= 0) {
        const auto policy = static_cast<TMakeSensefulEnh>(enhPolicy);
        const CKeyEnh root(mRootKeyNr, MakeSensefulEnhForKeyNr(mRootKeyNr, mRootEnh, policy));
        const CKeyEnh bass = mBassKeyNr >= 0 ? CKeyEnh(mBassKeyNr, MakeSensefulEnhForKeyNr(mBassKeyNr, mBassEnh, policy))
                                             : CKeyEnh();
        chord = CChordHeavy(root, bass, mIntervals);
    }
    chord.mNoChord = mNoChord;
    return chord;
}

CSemitones CChordLite::OptionsSemitones() const { return ToChordHeavy(TMakeSensefulEnh_Keep).OptionsSemitones(); }

int CChordLite::SmallestKeyIntvlBetweenRootAndBass() const
{
    return mRootKeyNr < 0 || mBassKeyNr < 0 ? 0 : SmallestKeyIntvlBetween(mRootKeyNr, mBassKeyNr);
}
