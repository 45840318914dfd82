#include "Generator/harmony/CScaleHeavy.h"

#include "Generator/harmony/CChordHeavy.h"

#include <array>
#include <sstream>

namespace {

struct TScaleRow {
    TScaleType type;
    const char* name;
    std::vector<int> offsets;
    int mode;
};

const std::array<TScaleData, TScaleType_Count>& ScaleTable()
{
    static const std::array<TScaleData, TScaleType_Count> table = [] {
        const TScaleRow rows[] = {
            {TScaleType_Ionian, "major", {0, 2, 4, 5, 7, 9, 11}, 1},
            {TScaleType_Dorian, "dorian", {0, 2, 3, 5, 7, 9, 10}, 2},
            {TScaleType_Phrygian, "phrygian", {0, 1, 3, 5, 7, 8, 10}, 3},
            {TScaleType_Lydian, "lydian", {0, 2, 4, 6, 7, 9, 11}, 4},
            {TScaleType_Mixolydian, "mixolydian", {0, 2, 4, 5, 7, 9, 10}, 5},
            {TScaleType_Aeolian, "minor", {0, 2, 3, 5, 7, 8, 10}, 6},
            {TScaleType_Locrian, "locrian", {0, 1, 3, 5, 6, 8, 10}, 7},
            {TScaleType_HarmonicMinor, "harmonic minor", {0, 2, 3, 5, 7, 8, 11}, 1},
            {TScaleType_PhrygianDominant, "phrygian dominant", {0, 1, 4, 5, 7, 8, 10}, 5},
            {TScaleType_MelodicMinor, "melodic minor", {0, 2, 3, 5, 7, 9, 11}, 1},
            {TScaleType_LydianAugmented, "lydian augmented", {0, 2, 4, 6, 8, 9, 11}, 3},
            {TScaleType_LydianDominant, "lydian dominant", {0, 2, 4, 6, 7, 9, 10}, 4},
            {TScaleType_LocrianNatural2, "locrian natural 2", {0, 2, 3, 5, 6, 8, 10}, 6},
            {TScaleType_Altered, "altered", {0, 1, 3, 4, 6, 8, 10}, 7},
            {TScaleType_PentatonicMajor, "major pentatonic", {0, 2, 4, 7, 9}, 1},
            {TScaleType_PentatonicMinor, "minor pentatonic", {0, 3, 5, 7, 10}, 5},
            {TScaleType_Blues, "blues", {0, 3, 5, 6, 7, 10}, 0},
            {TScaleType_WholeTone, "whole tone", {0, 2, 4, 6, 8, 10}, 0},
            {TScaleType_DiminishedWholeHalf, "diminished whole-half", {0, 2, 3, 5, 6, 8, 9, 11}, 1},
            {TScaleType_DiminishedHalfWhole, "diminished half-whole", {0, 1, 3, 4, 6, 7, 9, 10}, 2},
            {TScaleType_Chromatic, "chromatic", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, 0},
        };
        std::array<TScaleData, TScaleType_Count> t {};
        for (const TScaleRow& r : rows)
            t[r.type] = TScaleData {r.type, r.name, static_cast<int>(r.offsets.size()), r.offsets, r.mode};
        return t;
    }();
    return table;
}

TScaleData CustomData(const CSemitones& semitones)
{
    TScaleData d;
    d.type = TScaleType_Custom;
    d.name = "custom";
    for (int i = 0; i < 12; ++i)
        if (semitones.HasIntvl(i))
            d.mDegreeToRootOffsetIntvlArray.push_back(i);
    d.degreesPerOctave = static_cast<int>(d.mDegreeToRootOffsetIntvlArray.size());
    return d;
}

// Floor division for the octave of a degree index.
int FloorDiv(int a, int b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

} // namespace

long PickNeighbour(long note, const TNeighbourNotes& n, TQuantizeDirection direction)
{
    switch (direction) {
    case TQuantizeDirection_Up:
        return n.mAbove;
    case TQuantizeDirection_Nearest:
        return n.mAbove - note < note - n.mBelow ? n.mAbove : n.mBelow;
    case TQuantizeDirection_NearestPreferUp:
        return n.mAbove - note <= note - n.mBelow ? n.mAbove : n.mBelow;
    case TQuantizeDirection_Down:
    default:
        return n.mBelow;
    }
}

const char* ScaleTypeName(TScaleType type)
{
    if (type < 0 || type >= TScaleType_Count)
        return "";
    if (type == TScaleType_Custom)
        return "custom";
    return ScaleTable()[type].name.c_str();
}

const TScaleData& ScaleDataForType(TScaleType type)
{
    static const TScaleData empty;
    if (type < 0 || type >= TScaleType_Count || type == TScaleType_Custom)
        return empty;
    return ScaleTable()[type];
}

CScaleHeavy::CScaleHeavy(const CKeyEnh& root, TScaleType type)
{
    // A custom scale needs its semitones: by type alone it stays undefined.
    if (root.IsUndef() || type < 0 || type >= TScaleType_Custom)
        return;
    mKeyEnh = root;
    mScaleType = type;
    mActiveScaleData = ScaleDataForType(type);
}

CScaleHeavy::CScaleHeavy(const CNote& root, TScaleType type) : CScaleHeavy(root.KeyEnh(), type) {}

CScaleHeavy::CScaleHeavy(const CKeyEnh& root, const CSemitones& semitones) : mKeyEnh(root)
{
    if (root.IsUndef() || semitones.IsEmpty())
        return;
    CSemitones withRoot = semitones;
    withRoot.SetIntvl(0);
    const TScaleData custom = CustomData(withRoot);
    for (int t = 0; t < TScaleType_Custom; ++t) {
        const TScaleData& d = ScaleDataForType(static_cast<TScaleType>(t));
        if (custom.mDegreeToRootOffsetIntvlArray == d.mDegreeToRootOffsetIntvlArray) {
            mScaleType = static_cast<TScaleType>(t);
            mActiveScaleData = d;
            return;
        }
    }
    mScaleType = TScaleType_Custom;
    mCustomScaleData = custom;
    mActiveScaleData = mCustomScaleData;
}

bool CScaleHeavy::operator==(const CScaleHeavy& o) const
{
    return mKeyEnh.mKeyNr == o.mKeyEnh.mKeyNr && mScaleType == o.mScaleType
        && mActiveScaleData.mDegreeToRootOffsetIntvlArray == o.mActiveScaleData.mDegreeToRootOffsetIntvlArray;
}

CSemitones CScaleHeavy::ToSemitones() const
{
    CSemitones s;
    if (IsUndef())
        return s;
    for (int o : mActiveScaleData.mDegreeToRootOffsetIntvlArray)
        s.SetIntvl(o);
    return s;
}

bool CScaleHeavy::HasIntvl(int intvl) const { return !IsUndef() && ToSemitones().HasIntvl(intvl); }

int CScaleHeavy::KeyNrToDegreeNr(int keyNr) const
{
    if (IsUndef() || !KeyNrIsDef(KeyNrWrapped(keyNr)) || keyNr < 0)
        return -1;
    const int intvl = AbsKeyIntvlFromTo(mKeyEnh.mKeyNr, KeyNrWrapped(keyNr));
    const auto& offsets = mActiveScaleData.mDegreeToRootOffsetIntvlArray;
    for (size_t i = 0; i < offsets.size(); ++i)
        if (offsets[i] == intvl)
            return static_cast<int>(i);
    return -1;
}

int CScaleHeavy::NoteToDegreeNr(const CNote& note) const { return note.IsUndef() ? -1 : KeyNrToDegreeNr(note.KeyNr()); }

int CScaleHeavy::NoteNrToDegreeNr(long noteNr) const { return noteNr < 0 ? -1 : KeyNrToDegreeNr(KeyNrWrapped(noteNr)); }

int CScaleHeavy::DegreeNrToKeyNr(int degreeNr) const
{
    if (IsUndef())
        return -1;
    const int n = DegreesPerOctave();
    const int i = ((degreeNr % n) + n) % n;
    return KeyNrWrapped(mKeyEnh.mKeyNr + mActiveScaleData.mDegreeToRootOffsetIntvlArray[i]);
}

long CScaleHeavy::MoveInScale(long noteNr, int degreeSteps, bool obeyRange) const
{
    if (IsUndef() || noteNr < 0)
        return -1;
    long n = noteNr;
    int steps = degreeSteps;
    if (NoteNrToDegreeNr(n) < 0) {
        // The first step, or a zero move, reaches the nearest scale note; it
        // may lie below 0, which obeyRange brings back.
        const TNeighbourNotes near = NeighbourNotesWithKey(n, [this](int key) { return KeyNrToDegreeNr(key) >= 0; });
        if (steps > 0) {
            n = near.mAbove;
            --steps;
        } else if (steps < 0) {
            n = near.mBelow;
            ++steps;
        } else {
            n = PickNeighbour(n, near, TQuantizeDirection_Nearest);
        }
    }
    const auto& offsets = mActiveScaleData.mDegreeToRootOffsetIntvlArray;
    const int count = DegreesPerOctave();
    const int degree = KeyNrToDegreeNr(KeyNrWrapped(n));
    const int target = degree + steps;
    const int octave = FloorDiv(target, count);
    const int index = target - octave * count;
    long result = n - offsets[degree] + offsets[index] + 12L * octave;
    if (obeyRange) {
        while (result < 0)
            result += 12;
        while (result > 127)
            result -= 12;
    }
    return result;
}

CNote CScaleHeavy::NoteQuantizeToScaleNote(const CNote& note, TQuantizeToScaleDirection direction) const
{
    if (IsUndef() || note.IsUndef())
        return CNote();
    if (NoteToDegreeNr(note) >= 0)
        return note;
    TNeighbourNotes near = NeighbourNotesWithKey(static_cast<long>(note.mNoteNr),
        [this](int key) { return KeyNrToDegreeNr(key) >= 0; });
    // Below the lowest note there is only the one above.
    if (near.mBelow < 0)
        near.mBelow = near.mAbove;
    const long result = PickNeighbour(static_cast<long>(note.mNoteNr), near, direction);
    // A note moved to another key keeps no spelling of the one it left.
    const int key = KeyNrWrapped(result);
    return CNote(result, MakeSensefulEnhForKeyNr(key, TEnh_Undef, TMakeSensefulEnh_Common));
}

CChordHeavy CScaleHeavy::ChordTriadForScale() const
{
    if (IsUndef())
        return CChordHeavy();
    const CSemitones s = ToSemitones();
    uint32_t intervals = 1u;
    if (s.HasIntvl(4))
        intervals |= 1u << 4;
    else if (s.HasIntvl(3))
        intervals |= 1u << 3;
    else if (s.HasIntvl(5))
        intervals |= 1u << 5;
    else if (s.HasIntvl(2))
        intervals |= 1u << 2;
    // Without a perfect fifth a major third stacks to the augmented one, a
    // minor third to the diminished one.
    const bool majorThird = (intervals & (1u << 4)) != 0;
    if (s.HasIntvl(7))
        intervals |= 1u << 7;
    else if (majorThird && s.HasIntvl(8))
        intervals |= 1u << 8;
    else if (s.HasIntvl(6))
        intervals |= 1u << 6;
    else if (s.HasIntvl(8))
        intervals |= 1u << 8;
    return CChordHeavy(mKeyEnh, CKeyEnh(), intervals);
}

std::string CScaleHeavy::FullName(const CChordNamePrefs& prefs) const
{
    if (IsUndef())
        return "";
    const CKeyEnh root(mKeyEnh.mKeyNr, MakeSensefulEnhForKeyNr(mKeyEnh.mKeyNr, mKeyEnh.mEnh, prefs.mEnhPolicy));
    std::string name = root.Name() + " " + mActiveScaleData.name;
    if (mScaleType == TScaleType_Custom)
        name += " (" + ToSemitones().ToString() + ")";
    return name;
}

std::string CScaleHeavy::TraceForInitializerList() const
{
    std::ostringstream os;
    os << "CScaleHeavy(CKeyEnh(" << mKeyEnh.mKeyNr << ", " << mKeyEnh.mEnh << "), " << mScaleType;
    if (mScaleType == TScaleType_Custom)
        os << ", \"" << ToSemitones().ToString() << "\"";
    os << ")";
    return os.str();
}

CScaleLite::CScaleLite(const CScaleHeavy& scale)
    : mKeyNr(scale.mKeyEnh.mKeyNr), mEnh(scale.mKeyEnh.mEnh), mScaleType(scale.mScaleType)
{
    if (mScaleType == TScaleType_Custom)
        mCustomSemitones = scale.ToSemitones();
}

CScaleHeavy CScaleLite::ToScaleHeavy() const
{
    const CKeyEnh root(mKeyNr, mEnh);
    if (mScaleType == TScaleType_Custom)
        return CScaleHeavy(root, mCustomSemitones);
    return CScaleHeavy(root, mScaleType);
}

void CScaleLite::RotateRootToKeyEnh(const CKeyEnh& root)
{
    mKeyNr = root.mKeyNr;
    mEnh = root.mEnh;
}
