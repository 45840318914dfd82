#pragma once

#include "Generator/harmony/CAbstractNote.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CConcretizeRange.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/harmony/CScaleHeavy.h"
#include "Generator/harmony/CSignKey.h"
#include "Generator/timesig/CGenEvsSignKey.h"

#include <utility>
#include <vector>

class CGenCharContext;
class CGenEvsSignTime;

// The harmony at one place of the song, with what comes before and after:
// the snapshot that every note concretization reads.

struct THarmonicContextChordSlot {
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    float mEndBeatPosAbs = TGenBeatPosAbs_Undef;
    CChordHeavy mChord;
    CScaleHeavy mScale;
    // The written key at the chord's start.
    CSignKeyNoEnh mSignKey;
};

struct THarmonicContextKeySlot {
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    CSignKeyLite mSignKey;
    float mEndBeatPosAbs = TGenBeatPosAbs_Undef;
};

// What was chosen for one note.
struct THarmonicContextChosen {
    CChordHeavy mChord;
    CScaleHeavy mScale = CScaleHeavy_Undef;
    CSignKeyNoEnh mSignKey1;
    CSignKeyNoEnh mSignKey2;
    int64_t mRootNoteNr = -1;
};

class CHarmonicContext {
public:
    enum TSlot : int { kPrev = 0, kCurrent = 1, kNext = 2 };

    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    THarmonicContextChordSlot mChords[3];
    THarmonicContextKeySlot mHarmCenters[3];
    THarmonicContextKeySlot mSignKeys[3];

    // Slots from the last element at or before pos, the one before it and
    // the one after it; a missing one stays undefined. A chord slot takes the
    // chord event's scale, or the chord's scale in the key of its position,
    // or for no chord the key's scale. Sign-time events are not needed by
    // this form of the lists and may be null.
    void FillFromEvsChordAndSignKeyAndSignTime(const CGenEvsChord& evsChord, const CGenEvsHarmCenter& evsHarmCenter,
        const CGenEvsSignKey& evsSignKey, const CGenEvsSignTime* evsSignTime, float pos);

    // The chord, scale and keys a note of this where reads, and its root:
    // from the root map under (where, group) if there, else the chord's root
    // note or the key's root key number brought into the pattern-root range
    // with the preference. The root stays -1 when there is none.
    THarmonicContextChosen ChoseHarmonicContextAndRootNoteNrForAbstractNote(const CAbstractNote& note,
        const TMapWhereAndNoteGroupIDToRootNoteNr* rootMap, uint8_t groupID, const TConcretizeRange& range,
        TObeyConcretizeRange obey) const;
    // The root of a where: a chord slot's root note number, a key slot's root
    // key number; -1 for none and above 11.
    int64_t RootNoteForTWhere(TWhere where) const;
    float BeatPosAbsFromWhere(TWhere where) const;
    // A copy whose current chord is the chord of where: the previous or next
    // chord, or the triad of a key's scale.
    CHarmonicContext ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere where) const;

    // The key slot of a key where (centre or sign key, as major when asked);
    // undefined for chord wheres.
    CSignKeyLite KeyForTWhere(TWhere where) const;
    const THarmonicContextChordSlot* ChordSlotForTWhere(TWhere where) const;
};

// Frames of reference for degrees and key numbers.
enum TRootRelation : int {
    TRootRelation_KeyNrC = 0,
    TRootRelation_SignKey = 1,
    TRootRelation_HarmCenter = 2,
    TRootRelation_Scale = 3,
    TRootRelation_Chord = 4,
    TRootRelation_ChordBass = 5,
};

// The root of a frame at pos, 15 when undefined; KeyNrC is 0.
int FindRootKeyNrForRootRelation(TRootRelation relation, float pos, const CGenCharContext& charContext);
int FindRootKeyNrForRootRelationSignKey(float pos, const CGenCharContext& charContext);
int FindRootKeyNrForRootRelationHarmCenterToKeyNrC(float pos, const CGenCharContext& charContext);
int FindRootKeyNrForRootRelationChordToKeyNrC(float pos, const CGenCharContext& charContext);
int FindRootKeyNrForRootRelationChordBassToKeyNrC(float pos, const CGenCharContext& charContext);
int FindRootKeyNrForRootRelationScaleToKeyNrC(float pos, const CGenCharContext& charContext);
// The root and the scale of a frame.
std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelation(TRootRelation relation, float pos,
    const CGenCharContext& charContext);
std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationSignKey(float pos, const CGenCharContext& charContext);
std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationHarmCenterToKeyNrC(float pos,
    const CGenCharContext& charContext);
std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationChordToKeyNrC(float pos,
    const CGenCharContext& charContext);
std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationChordBassToKeyNrC(float pos,
    const CGenCharContext& charContext);
std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationScaleToKeyNrC(float pos,
    const CGenCharContext& charContext);

// Key numbers between frames, through KeyNrC; -1 for an undefined frame.
int ConvertKeyNrBetweenRootRelations(int keyNr, TRootRelation from, TRootRelation to, float pos,
    const CGenCharContext& charContext);
int ConvertKeyNrFromRootRelationToKeyNrC(int keyNr, TRootRelation from, float pos, const CGenCharContext& charContext);
int ConvertKeyNrFromKeyNrCToRootRelation(int keyNr, TRootRelation to, float pos, const CGenCharContext& charContext);

// Degree numbers (0-based, counted in the frame's scale) between frames;
// -1 when the key is not a degree of the target frame.
int ConvertDegreeNrBetweenRootRelations(int degreeNr, TRootRelation from, TRootRelation to, float pos,
    const CGenCharContext& charContext);
int ConvertDegreeNrFromRootRelationToKeyNrC(int degreeNr, TRootRelation from, float pos,
    const CGenCharContext& charContext);
int ConvertDegreeNrFromKeyNrCToRootRelation(int keyNr, TRootRelation to, float pos, const CGenCharContext& charContext);
int ConvertDegreeNrFromKeyNrCToRootRelation_NormalRootRelation(int keyNr, TRootRelation to, float pos,
    const CGenCharContext& charContext);
int ConvertDegreeFromRootRelationToKeyNrC_NormalRootRelation(int degreeNr, TRootRelation from, float pos,
    const CGenCharContext& charContext);
int ConvertDegreeFromRootRelationToKeyNrC_RootRelationChordBass(int degreeNr, float pos,
    const CGenCharContext& charContext);
int ConvertDegreeNrFromKeyNrCToRootRelation_RootRelationChordBass(int keyNr, float pos,
    const CGenCharContext& charContext);
int ConvertDegreeNrToKeyNr(int degreeNr, TRootRelation relation, float pos, const CGenCharContext& charContext);
int ConvertKeyNrToDegreeNr(int keyNr, TRootRelation relation, float pos, const CGenCharContext& charContext);

// The degrees, counted from the chord's bass in the chord's scale, at which a
// key lies (a scale of the bass can hold it once; the array leaves room for
// scales that repeat a key), limited to degrees below `range`.
std::vector<int> BassDegreeNrsFromChordAndChordKeyNr(const CChordHeavy& chord, int keyNr, int range = 7);
// The key of a degree counted from the bass; -1 when undefined or >= range.
int ChordKeyNrFromChordAndBassDegreeNr(const CChordHeavy& chord, int degreeNr, int range = 7);
// 0..6 give B1..B7; others Undef.
TAbstractDegree AbstractDegreeForBassDegreeNr(int degreeNr);
