#pragma once

#include "Generator/CGenSerialization.h"

#include <cstdint>
#include <set>
#include <string>

// Notes and keys of the harmony library. Key numbers are pitch classes 0..11
// with 0 = C; note numbers are on the usual 0..127 scale with key 0 at every
// multiple of 12. Undefined values answer every query with an undefined value.

// How a key is spelled: the accidental written in front of the letter.
enum TEnh : int {
    TEnh_Undef = -1,
    TEnh_Natural = 0,
    TEnh_Sharp = 1,
    TEnh_Flat = 2,
};

// A policy for spelling a key number.
enum TMakeSensefulEnh : int {
    // Keep a spelling that names the key; else as _Common.
    TMakeSensefulEnh_Keep = 0,
    // Db, Eb, F#, Ab, Bb: what lead sheets write without a key.
    TMakeSensefulEnh_Common = 1,
    TMakeSensefulEnh_PreferSharp = 2,
    TMakeSensefulEnh_PreferFlat = 3,
};

inline constexpr int kKeyNrUndef = -1;
// The undefined root of the compact key forms.
inline constexpr int kKeyNrUndef15 = 15;

// Any integer wrapped into 0..11 by multiples of 12.
inline int KeyNrWrapped(int64_t keyOrNote) { return static_cast<int>(((keyOrNote % 12) + 12) % 12); }
inline bool KeyNrIsDef(int key) { return key >= 0 && key <= 11; }

// A spelling that makes sense for `key`: white keys are natural (but a given
// Cb, Fb, B# or E# is kept under _Keep), black keys sharp or flat after the
// policy (a given sharp or flat is kept under _Keep).
TEnh MakeSensefulEnhForKeyNr(int key, TEnh enh, TMakeSensefulEnh policy);

// A key number with its spelling.
class CKeyEnh {
public:
    int mKeyNr = kKeyNrUndef;
    TEnh mEnh = TEnh_Undef;

    CKeyEnh() = default;
    CKeyEnh(int key, TEnh enh) : mKeyNr(KeyNrIsDef(key) ? key : kKeyNrUndef), mEnh(KeyNrIsDef(key) ? enh : TEnh_Undef) {}

    bool IsUndef() const { return !KeyNrIsDef(mKeyNr); }
    bool operator==(const CKeyEnh&) const = default;
    // "C", "F#", "Bb"; "" for an undefined key.
    std::string Name() const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mKeyNr", mKeyNr);
        ar& boost::serialization::make_nvp("mEnh", mEnh);
    }
};

// Reads a key name: a letter A..G, then any of "#", "b" (one or two); the
// number of characters used goes to `used`. Undefined when there is no letter.
CKeyEnh KeyEnhFromString(const std::string& text, size_t* used = nullptr);

// A note: a note number (undefined when negative) with its spelling.
class CNote {
public:
    int64_t mNoteNr = -1;
    TEnh mEnh = TEnh_Undef;

    CNote() = default;
    CNote(long noteNr, TEnh enh) : mNoteNr(noteNr), mEnh(enh) {}

    TEnh Enh() const { return mEnh; }
    bool IsUndef() const { return mNoteNr < 0; }
    int KeyNr() const { return IsUndef() ? kKeyNrUndef : static_cast<int>(mNoteNr % 12); }
    CKeyEnh KeyEnh() const { return CKeyEnh(KeyNr(), mEnh); }
    bool operator==(const CNote&) const = default;
    // "C3" for 48 (C3 is 48, so that C4 is middle C at 60); "" when undefined.
    std::string Name() const;
};

bool operator<(const CNote& a, const CNote& b);

// Upward interval from a to b in semitones, 0..11; -1 if either is undefined.
int AbsKeyIntvlFromTo(const CNote& a, const CNote& b);
int AbsKeyIntvlFromTo(int a, int b);
// Shortest circular distance, 0..6; -1 if either is undefined.
int KeyDistanceBetween(int a, int b);
// Signed shortest interval from a to b, -5..6; 0 if either is undefined.
int SmallestKeyIntvlBetween(int a, int b);
// b - a; -129 if an argument is undefined (negative).
long IntvlFromToTolerateNoteNrSmallUndef(long a, long b);

// A sorted set of note numbers.
using TNoteSet = std::set<int64_t>;
