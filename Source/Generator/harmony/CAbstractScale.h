#pragma once

#include "Generator/harmony/CAbstractNote.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CSemitones.h"
#include "Generator/harmony/CSignKey.h"

#include <map>
#include <vector>

// Abstract scales: one octave of abstract notes that a line steps through
// ("the pentatonic of the current chord"). An element's place is its step.
class CAbstractScale : public std::vector<CAbstractNote> {
public:
    using TBase = std::vector<CAbstractNote>;
    using TBase::TBase;

    bool Contains(const CAbstractNote& note) const;
    void InsertSorted(const CAbstractNote& note);
    // False when it was there already.
    bool InsertIfNotContained(const CAbstractNote& note);
    // The union, element by element, sorted.
    CAbstractScale operator+(const CAbstractScale& o) const;
    // steps / element count, rounded toward 0; 0 for an empty scale or no steps.
    int OctaveOffsetIfStepsExceedOctaveRange(int steps) const;
};

// A scale with the conditions under which it applies: chords it fits, and
// the chord's degree in the key, its root, bass and type (-1: any).
class CAbstractScaleWithConditions {
public:
    CAbstractScale mScale;
    CSemitonesMatches mSemitonesMatches;
    int mDegreeNrInKey = -1;
    int mRootKeyNr = -1;
    int mBassKeyNr = -1;
    int mChordType = -1;

    CAbstractScaleWithConditions() = default;
    explicit CAbstractScaleWithConditions(CAbstractScale scale, CSemitonesMatches matches = {})
        : mScale(std::move(scale)), mSemitonesMatches(std::move(matches))
    {
    }
};

class CAbstractScaleSet : public std::vector<CAbstractScaleWithConditions> {
public:
    using TBase = std::vector<CAbstractScaleWithConditions>;
    using TBase::TBase;

    // The first element whose conditions all hold, or null. The integers are
    // the chord root's interval above the key root, the root, the bass and
    // the chord type; -1 on either side skips that test.
    const CAbstractScale* FindAbstractScaleFor(const CSemitones& semitones, int degree1, int degree2, int degree3,
        int degree4) const;
    const CAbstractScale* FindAbstractScaleFor(const CChordHeavy& chord, const CSignKeyNoEnh& signKey,
        const CSignKeyLite& harmCenter) const;
    const CAbstractScale* FindAbstractScaleFor(const CHarmAnlsChord& chord, const CSignKeyNoEnh& signKey,
        const CSignKeyLite& harmCenter) const;
};

class CAbstractScaleSets : public std::map<TStepsType, CAbstractScaleSet> {
public:
    // Null when there is none for the type.
    const CAbstractScaleSet* FindAbstractScaleSetFor(TStepsType type) const;
};

struct CAbstractScaleDefs {
    // Root, then _2 to _7 at `where`, without offsets.
    static CAbstractScale Diatonic(TWhere where);
    // Root, _2, _3, _5, _6.
    static CAbstractScale PentatonicMajor(TWhere where);
    // Root, _3, _4, _5, _7: over a minor chord its scale gives the minor third
    // and seventh.
    static CAbstractScale PentatonicMinor(TWhere where);
    static CAbstractScale CurrentHarmCenter_Diatonic() { return Diatonic(TWhere_CurrentHarmCenter); }
    static CAbstractScale CurrentHarmCenter_PentatonicMajor() { return PentatonicMajor(TWhere_CurrentHarmCenter); }
    static CAbstractScale CurrentHarmCenter_PentatonicMinor() { return PentatonicMinor(TWhere_CurrentHarmCenter); }
};

// The abstract note a concrete note plays over a chord, for writing content:
// the root, a degree of the scale above the chord root, or the nearest
// degree with a chromatic step. Undefined for an undefined note or chord.
CAbstractNote AbstractNoteFrom(long noteNr, const CChordHeavy& chord, const CScaleHeavy& scale);
CAbstractNote AbstractNoteFrom(long noteNr, const CChordHeavy& chord, const CSignKeyHeavy& signKey);
CAbstractNote AbstractNoteFrom(long noteNr, const CChordHeavy& chord, TScaleType scaleType);
