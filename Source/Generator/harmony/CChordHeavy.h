#pragma once

#include "Generator/harmony/CNote.h"
#include "Generator/harmony/CScaleHeavy.h"
#include "Generator/harmony/CSemitones.h"
#include "Generator/harmony/CSignKey.h"

#include <cstdint>
#include <string>

// Chords: a root, a bass and the intervals above the root. Intervals are kept
// over two octaves (bit i for i semitones, 0..23) so that a ninth stays apart
// from a second and names come back as written.
//
// The chord vocabulary (names as read; the first is the one written):
//   major "" ("maj", "M"), minor "m" ("min", "mi", "-"), "dim" ("o", "°"),
//   "aug" ("+"), "sus4" ("sus"), "sus2", power "5",
//   "6", "m6", "6/9" ("69"), "m6/9",
//   "7", "maj7" ("M7", "ma7", "j7", "Δ", "Δ7"), "m7" ("min7", "mi7", "-7"),
//   "m7b5" ("ø", "ø7", "-7b5", "min7b5"), "dim7" ("o7", "°7"),
//   "mMaj7" ("m(maj7)", "mM7", "minMaj7", "-maj7"), "aug7" ("+7", "7#5"),
//   "maj7#5" ("augMaj7", "+M7"), "7sus4" ("7sus"), "7b5",
//   "9", "maj9" ("M9"), "m9" ("-9", "min9"), "add9", "madd9",
//   "9sus4" ("9sus"), "7b9", "7#9", "7#11", "maj7#11", "11", "m11",
//   "13", "maj13", "m13", "7b13", "7alt".
// After the quality, alterations and additions may follow, with or without
// parentheses: "b5", "#5", "b9", "#9", "#11", "b13", "add2", "add4",
// "add6", "add9", "add11", "add13", "sus2", "sus4", "no3", "no5" ("add2"
// is the second itself, "add9" the ninth). "/X" names a bass note; "N.C."
// is no chord. A chord that no entry holds is named by the nearest entry
// with its alterations in parentheses: "C(b5)", "C7(b9#11)".

class CScaleHeavy;

// Preferences for writing names.
class CChordNamePrefs {
public:
    TMakeSensefulEnh mEnhPolicy = TMakeSensefulEnh_Keep;
    // "maj7" or "M7"; "m" or "-" for minor.
    bool mMajorSevenAsM = false;
    bool mMinorAsDash = false;
};

// The triad family of a chord.
enum TBasicChord : int {
    TBasicChord_Undef = -1,
    TBasicChord_None = 0, // a single note or an interval without fifth
    TBasicChord_Major = 1,
    TBasicChord_Minor = 2,
    TBasicChord_Diminished = 3,
    TBasicChord_Augmented = 4,
    TBasicChord_Sus4 = 5,
    TBasicChord_Sus2 = 6,
    TBasicChord_Power = 7,
};

// The harmonic function of a chord in a key.
enum THarmFunc : int {
    THarmFunc_Undef = -1,
    THarmFunc_Tonic = 0,       // I, III, VI
    THarmFunc_Subdominant = 1, // II, IV
    THarmFunc_Dominant = 2,    // V, VII
};

// The kinds of no-chord: a stated "N.C." (the player stops) and an absent
// chord that leaves the player to go on.
enum TNoChord : int {
    TNoChord_None = 0,
    TNoChord_Force = 1,
    TNoChord_Yield = 2,
};

// The chord types of the table; Custom holds intervals that no entry has.
enum TChordType : int {
    TChordType_Undef = -1,
    TChordType_Major = 0,
    TChordType_Minor,
    TChordType_Dim,
    TChordType_Aug,
    TChordType_Sus4,
    TChordType_Sus2,
    TChordType_Power,
    TChordType_6,
    TChordType_m6,
    TChordType_69,
    TChordType_m69,
    TChordType_7,
    TChordType_Maj7,
    TChordType_m7,
    TChordType_m7b5,
    TChordType_Dim7,
    TChordType_mMaj7,
    TChordType_Aug7,
    TChordType_Maj7Sharp5,
    TChordType_7Sus4,
    TChordType_7b5,
    TChordType_9,
    TChordType_Maj9,
    TChordType_m9,
    TChordType_Add9,
    TChordType_mAdd9,
    TChordType_9Sus4,
    TChordType_7b9,
    TChordType_7Sharp9,
    TChordType_7Sharp11,
    TChordType_Maj7Sharp11,
    TChordType_11,
    TChordType_m11,
    TChordType_13,
    TChordType_Maj13,
    TChordType_m13,
    TChordType_7b13,
    TChordType_7Alt,
    TChordType_Custom,
    TChordType_Count
};

// The written suffix of a type ("m7"); "" for major and outside the table.
const char* ChordTypeSuffix(TChordType type);
// Its intervals over two octaves (bit i = i semitones); 0 outside the table.
uint32_t ChordTypeIntervals(TChordType type);
// The type with exactly these intervals, or Custom.
TChordType ChordTypeForIntervals(uint32_t intervals);

// A chord as the host's harmony analysis gives it.
class CHarmAnlsChord {
public:
    int mRootKeyNr = kKeyNrUndef;
    int mBassKeyNr = kKeyNrUndef;
    // Intervals above the root over two octaves.
    uint32_t mIntervals = 0;
    TNoChord mNoChord = TNoChord_None;
    bool operator==(const CHarmAnlsChord&) const = default;
};

class CChordHeavy {
public:
    CKeyEnh mRoot;
    CKeyEnh mBass;
    uint32_t mIntervals = 0;
    TChordType mType = TChordType_Undef;
    TNoChord mNoChord = TNoChord_None;

    CChordHeavy() = default;
    // An undefined chord that will take this type once it has a root.
    explicit CChordHeavy(int type);
    // A chord of a type on a root; the bass is the root.
    CChordHeavy(const CKeyEnh& root, TChordType type);
    // Root, bass (undefined: the root) and intervals; the type follows them.
    CChordHeavy(const CKeyEnh& root, const CKeyEnh& bass, uint32_t intervals);

    bool IsUndef() const { return mRoot.IsUndef(); }
    bool IsSlashChord() const { return !IsUndef() && !mBass.IsUndef() && mBass.mKeyNr != mRoot.mKeyNr; }
    bool IsNoChordForce() const { return mNoChord == TNoChord_Force; }
    bool IsNoChordYield() const { return mNoChord == TNoChord_Yield; }
    bool operator==(const CChordHeavy& o) const;

    // The root as a note in the octave from 48 (C3) up; undefined for an
    // undefined chord.
    CNote RootNote() const;
    // The bass as a note at or below the root note, within an octave.
    CNote BassNote() const;
    const CKeyEnh& RootKeyEnh() const { return mRoot; }
    CKeyEnh BassKeyEnh() const { return IsUndef() ? CKeyEnh() : (mBass.IsUndef() ? mRoot : mBass); }

    TBasicChord BasicChord() const;
    // The intervals within one octave.
    CSemitones Semitones() const;
    // The intervals of the chord that are not those of its basic triad.
    CSemitones OptionsSemitones() const;
    // A key relative to the root, and back; -1 when undefined.
    int ChordKeyNrFromKeyNr(int keyNr) const;
    int KeyNrFromChordKeyNr(int chordKeyNr) const;
    // The nearest note of the basic triad (root, third or its suspension,
    // fifth) in that direction; -1 when undefined.
    long QuantizeToBasicChord(long noteNr, TQuantizeDirection direction) const;

    // The scale a player uses over the chord in a key: a chord whose notes
    // all lie in the key's scale takes the key's mode on its root (Dm in C:
    // D dorian; G7 in C: G mixolydian); any other chord takes its own scale
    // by its quality (a dominant seventh on the fifth of a minor key takes
    // phrygian dominant). An undefined chord gives the key's scale.
    CScaleHeavy ConstructScaleInSignKey(const CSignKeyHeavy& key) const;
    CScaleHeavy ConstructScaleInSignKey(const CSignKeyNoEnh& key) const;
    // The chord's own scale, without a key.
    CScaleHeavy OwnScale() const;
    // The degree (0-based) of the bass or root in the key's scale; -1 if it
    // is not a scale note.
    int BassNoteDegreeNrInSignKey(const CSignKeyHeavy& key) const;
    int RootNoteDegreeNrInSignKey(const CSignKeyHeavy& key) const;
    THarmFunc HarmFuncIn(const CSignKeyHeavy& key) const;

    // Refreshes the cached chord-tone set and whether the bass is a note of
    // its own (C/D: D is heard only in the bass).
    void UpdateIntvlSetAndBassNoteHasIntvlAlone();
    // Interval (0..11 above the root) is a chord tone, the root included,
    // and not only the bass of a slash chord.
    bool HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(int intvl) const;

    // "Am7", "G/B", "F#m7b5"; "N.C." for a forced no-chord; "" undefined.
    std::string Name(const CChordNamePrefs& prefs) const;
    std::string TraceForInitializerList() const;

    // The chord as a set of note numbers: the bass below 48, the root as the
    // lowest note from 48 on, the other tones above it. This is the archive
    // form; FromNoteSet reads it back (spelling as the common policy).
    TNoteSet ToNoteSet() const;
    bool FromNoteSet(const TNoteSet& notes);

    CHarmAnlsChord HarmChord() const;
    void SetHarmChord(const CHarmAnlsChord& chord);

private:
    uint16_t mIntvlSetCache = 0;
    bool mBassNoteHasIntvlAlone = false;
};

// Parses a chord name of the vocabulary above; true on success, `chord`
// untouched on failure.
bool SetFromString(const std::string& text, CChordHeavy& chord, const CChordNamePrefs& prefs);

// The compact form of a chord.
class CChordLite {
public:
    int8_t mRootKeyNr = -1;
    int8_t mBassKeyNr = -1;
    TEnh mRootEnh = TEnh_Undef;
    TEnh mBassEnh = TEnh_Undef;
    uint32_t mIntervals = 0;
    TNoChord mNoChord = TNoChord_None;

    void SetFromChordHeavy(const CChordHeavy& chord);
    // The heavy form; spellings follow the policy (`enhPolicy` a TMakeSensefulEnh).
    CChordHeavy ToChordHeavy(int enhPolicy) const;
    bool IsSlashChord() const { return mRootKeyNr >= 0 && mBassKeyNr >= 0 && mRootKeyNr != mBassKeyNr; }
    CSemitones OptionsSemitones() const;
    // Signed shortest interval from root to bass, -5..6; 0 undefined.
    int SmallestKeyIntvlBetweenRootAndBass() const;
    bool operator==(const CChordLite&) const = default;
};
