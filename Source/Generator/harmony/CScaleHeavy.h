#pragma once

#include "Generator/harmony/CNote.h"
#include "Generator/harmony/CSemitones.h"

#include <string>
#include <vector>

class CChordHeavy;
class CChordNamePrefs;

// The scale table. The seven modes of the major scale come first, in mode
// order, so that a diatonic chord's mode is the key's mode moved by the
// chord's degree; then the minor scales with their useful modes, the
// pentatonics and the symmetric scales. Custom is a set of semitones that no
// named type describes.
enum TScaleType : int {
    TScaleType_Undef = -1,
    TScaleType_Ionian = 0, // major
    TScaleType_Dorian,
    TScaleType_Phrygian,
    TScaleType_Lydian,
    TScaleType_Mixolydian,
    TScaleType_Aeolian, // natural minor
    TScaleType_Locrian,
    TScaleType_HarmonicMinor,
    TScaleType_PhrygianDominant, // fifth mode of harmonic minor: V7 in minor
    TScaleType_MelodicMinor,
    TScaleType_LydianAugmented, // third mode of melodic minor
    TScaleType_LydianDominant,  // fourth mode of melodic minor: 7#11
    TScaleType_LocrianNatural2, // sixth mode of melodic minor: m7b5 with 9
    TScaleType_Altered,         // seventh mode of melodic minor: 7alt
    TScaleType_PentatonicMajor,
    TScaleType_PentatonicMinor,
    TScaleType_Blues,
    TScaleType_WholeTone,
    TScaleType_DiminishedWholeHalf, // dim7
    TScaleType_DiminishedHalfWhole, // 7b9
    TScaleType_Chromatic,
    TScaleType_Custom,
    TScaleType_Count
};

// The table's name of a type ("major", "dorian"); "" outside it.
const char* ScaleTypeName(TScaleType type);

// Rounding of a note onto a scale or a chord.
enum TQuantizeDirection : int {
    TQuantizeDirection_Down = 0,
    TQuantizeDirection_Up = 1,
    // The nearer; down in a tie.
    TQuantizeDirection_Nearest = 2,
    // The nearer; up in a tie.
    TQuantizeDirection_NearestPreferUp = 3,
};

// The nearest notes at or below and at or above a note whose key `isKey`
// accepts (the note itself when it is one); the one below may be negative.
// A set that accepts no key gives the note itself on both sides.
struct TNeighbourNotes {
    long mBelow;
    long mAbove;
};
template <class TIsKey>
TNeighbourNotes NeighbourNotesWithKey(long note, TIsKey isKey)
{
    TNeighbourNotes n {note, note};
    for (int i = 0; i < 12 && !isKey(KeyNrWrapped(n.mAbove)); ++i)
        ++n.mAbove;
    for (int i = 0; i < 12 && !isKey(KeyNrWrapped(n.mBelow)); ++i)
        --n.mBelow;
    return isKey(KeyNrWrapped(n.mAbove)) ? n : TNeighbourNotes {note, note};
}
// The neighbour the direction asks for.
long PickNeighbour(long note, const TNeighbourNotes& n, TQuantizeDirection direction);

// One scale's definition: the intervals of its degrees above the root.
struct TScaleData {
    TScaleType type = TScaleType_Undef;
    std::string name;
    int degreesPerOctave = 0;
    std::vector<int> mDegreeToRootOffsetIntvlArray;
    // The mode within its family, 1-based (dorian is 2); 0 when it has none.
    int mode = 0;

    bool operator==(const TScaleData&) const = default;
};

// The table's data of a named type; an empty record for Undef and Custom.
const TScaleData& ScaleDataForType(TScaleType type);

class CScaleHeavy {
public:
    using TQuantizeToScaleDirection = TQuantizeDirection;

    CKeyEnh mKeyEnh;
    TScaleType mScaleType = TScaleType_Undef;
    TScaleData mActiveScaleData;
    TScaleData mCustomScaleData;

    CScaleHeavy() = default;
    CScaleHeavy(const CNote& root, TScaleType type);
    CScaleHeavy(const CKeyEnh& root, TScaleType type);
    // A named type when one has exactly these semitones, else Custom.
    CScaleHeavy(const CKeyEnh& root, const CSemitones& semitones);

    bool IsUndef() const { return mKeyEnh.IsUndef() || mActiveScaleData.degreesPerOctave == 0; }
    bool operator==(const CScaleHeavy& o) const;

    const CKeyEnh& RootKeyEnh() const { return mKeyEnh; }
    int RootKeyNr() const { return mKeyEnh.mKeyNr; }
    CSemitones ToSemitones() const;
    bool HasIntvl(int intvl) const;
    int DegreesPerOctave() const { return IsUndef() ? 0 : mActiveScaleData.degreesPerOctave; }

    // The degree (0-based) of a key or note in the scale; -1 if it is not a
    // scale note or the scale is undefined.
    int KeyNrToDegreeNr(int keyNr) const;
    int NoteToDegreeNr(const CNote& note) const;
    int NoteNrToDegreeNr(long noteNr) const;
    // The key of a degree; degrees outside one octave wrap. -1 when undefined.
    int DegreeNrToKeyNr(int degreeNr) const;

    // The note moved by `degreeSteps` scale steps. A note that is not in the
    // scale first goes to the nearest scale note in the direction of the
    // movement, and that counts as the first step; with 0 steps it goes to
    // the nearer (down in a tie). With `obeyRange` the result is brought into
    // 0..127 by octaves. -1 for an undefined note or scale.
    long MoveInScale(long noteNr, int degreeSteps, bool obeyRange) const;
    // The scale note in that direction; the note itself when it is one.
    CNote NoteQuantizeToScaleNote(const CNote& note, TQuantizeToScaleDirection direction) const;

    // The triad stacked in thirds on the scale root (root, third, fifth of
    // the scale; a missing fifth takes the scale's nearest).
    CChordHeavy ChordTriadForScale() const;

    // "C major", "D dorian"; "" when undefined.
    std::string FullName(const CChordNamePrefs& prefs) const;
    std::string TraceForInitializerList() const;
};

inline const CScaleHeavy CScaleHeavy_Undef {};

// The small form of a scale: root and type (semitones for Custom).
class CScaleLite {
public:
    int mKeyNr = kKeyNrUndef;
    TEnh mEnh = TEnh_Undef;
    TScaleType mScaleType = TScaleType_Undef;
    CSemitones mCustomSemitones;

    CScaleLite() = default;
    explicit CScaleLite(const CScaleHeavy& scale);
    CScaleHeavy ToScaleHeavy() const;
    // The same scale type on another root.
    void RotateRootToKeyEnh(const CKeyEnh& root);
    bool operator==(const CScaleLite&) const = default;
};
