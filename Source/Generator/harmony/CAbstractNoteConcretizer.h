#pragma once

#include "Generator/harmony/CAbstractNote.h"
#include "Generator/harmony/CAbstractScale.h"
#include "Generator/harmony/CConcretizeRange.h"
#include "Generator/harmony/CHarmonicContext.h"

#include <string>
#include <vector>

class CAbstractNotesConcretizer;

// Works out one abstract note against one harmonic context: the root of the
// note's where, its degree, then its offsets, keeping the result in range.
// Made for one run; the owner lends its abstract scale sets.
class CAbstractNoteConcretizer {
public:
    CAbstractNoteConcretizer(const CAbstractNotesConcretizer& owner, const TMapWhereAndNoteGroupIDToRootNoteNr* rootMap,
        uint8_t groupID, TObeyConcretizeRange obey, int64_t referencedBassNoteNr = -1, bool skipRange = false);

    int64_t ConcretizeOneNote(const CAbstractNote& note, const TConcretizeRange& range, const CHarmonicContext& ctx);
    // rootRange guards the root, noteRange the result. With `octaveFixed` the
    // caller has fixed the octave, and no range step moves the note.
    int64_t ConcretizeOneNote(const CAbstractNote& note, const TConcretizeRange& rootRange,
        const TConcretizeRange& noteRange, const CHarmonicContext& ctx, bool octaveFixed = false);

    // Steps 5b and 5c of a note on a note number that a script gives.
    int64_t _BringIntoRangeAccordingToAbstractDegreeAndOffsetEvenIfUndef(int64_t noteNr, const CAbstractNote& note,
        const TConcretizeRange& range) const;

    // The pieces, public for tests and scripts.
    int64_t _ConcretizeAbstractDegree(const CAbstractNote& note, const TConcretizeRange& range, int64_t root,
        const THarmonicContextChosen& chosen) const;
    int64_t _ConcretizeAbstractOffsets(int64_t noteNr, const CAbstractNote& note, const TConcretizeRange& range,
        const THarmonicContextChosen& chosen, const CHarmonicContext& ctx);
    int _DecideStepsSignFromStepsDirection(int64_t noteNr, const CAbstractOffset& offset, const TConcretizeRange& range,
        const CHarmonicContext& ctx) const;
    int64_t _ApplyAbstractOffsetStepsAndStepsSign(int64_t noteNr, const CAbstractOffset& offset, int sign,
        const CAbstractNote& note, const TConcretizeRange& range, const THarmonicContextChosen& chosen,
        const CHarmonicContext& ctx);
    // The move through an abstract scale (Part of every scale-typed step).
    int64_t _ApplyAbstractOffsetSteps_AbstractScale(int64_t noteNr, int steps, const CAbstractScale& scale,
        const CAbstractNote& note, const TConcretizeRange& range, const CHarmonicContext& ctx);

    static CAbstractScale _AbstractScaleForChord(const CChordHeavy& chord);
    static CAbstractScale _AbstractScaleForChordTriad(const CChordHeavy& chord);
    static CAbstractScale _AbstractScaleForChordOptions(const CChordHeavy& chord);
    // The index of the scale note closest to key k in K: the direction of
    // `steps` decides between two neighbours on either side.
    static int _IndexInAbstractScaleForClosestScaleNote(int k, const std::vector<int>& keys, int steps);
    // Steps >= 0: d, but 0 with o < 1 is 12; steps < 0: d - 12 unless o < 0.
    static int _CalcIntvlWithinOctaveFromAbstractAndOctaveOffset(int d, int octaves, int steps);

private:
    const CAbstractNotesConcretizer& mOwner;
    const TMapWhereAndNoteGroupIDToRootNoteNr* mRootMap;
    uint8_t mGroupID;
    TObeyConcretizeRange mObeyConcretizeRange;
    int64_t mReferencedBassNoteNr;
    bool mSkipRange;
    int mDepth = 0;
};
