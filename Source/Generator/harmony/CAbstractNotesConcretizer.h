#pragma once

#include "Generator/CGenEvsNameds.h"
#include "Generator/harmony/CAbstractNoteConcretizer.h"
#include "Generator/harmony/CAbstractScale.h"
#include "Generator/harmony/CConcretizeRange.h"
#include "Generator/harmony/CHarmonicContext.h"
#include "Generator/harmony/CNoteGroupInfos.h"

#include <map>
#include <vector>

class CGenEvsSignTime;
class CGenPatternModAndProbs;

// Turns the abstract notes of whole event lists into note numbers against a
// song's chords, centres and keys. Beyond one note, it keeps a note group of
// a pattern together: its notes are worked out around one pattern root, and
// the group then moves as a whole, in octaves, into the note range, so a
// line keeps its shape across chord changes instead of single notes jumping.
class CAbstractNotesConcretizer {
public:
    // 2: a note is concretized only when its where has a root here.
    enum TBehaviorForChordUndef : int { TBehaviorForChordUndef_Always = 0, TBehaviorForChordUndef_OnlyWithRoot = 2 };
    // Above 1 no note is concretized.
    enum TBehaviorForAbstractNotes : int { TBehaviorForAbstractNotes_Concretize = 0, TBehaviorForAbstractNotes_Skip = 2 };

    CAbstractScaleSets mAbstractScaleSets;
    // The ranges Reset restores: the instrument type's, or a library's own.
    TConcretizeRange mDefaultConcretizeRange;
    TConcretizeRange mConcretizeRange;
    CNoteGroupInfos mNoteGroupInfos;
    TConcretizeRangeModPosseds mConcretizeRangeModPosseds;
    int mBehaviorForChordUndef = 0;
    int mBehaviorForAbstractNotes = 0;
    TObeyConcretizeRange mObeyConcretizeRange = kObeyConcretizeRange;

    explicit CAbstractNotesConcretizer(int instType = -1)
        : mDefaultConcretizeRange(TConcretizeRange::DefaultForInstType(instType))
    {
        Reset();
    }

    // The default abstract scale sets, the default ranges, no range
    // modifications, no note-group infos.
    void Reset();
    // Sets 0..9: 0 the chord's diatonic scale; 1 the chord's pentatonic
    // (major over a major third, minor over a minor third); 2 the harmonic
    // centre's diatonic scale; 3 and 4 its major and minor pentatonics;
    // 5..9 the chord's diatonic scale.
    void InitDefaultAbstractScaleSets();

    // Concretizes the note-ons of `evs` whose absolute position (the
    // element's position plus the event's) lies in [startPos, endPos]; an
    // event past endPos ends the walk of its element. Events whose
    // reference never resolves are erased. `prevEvs` is not read.
    void Concretize(const CGenEvsChord& evsChord, const CGenEvsHarmCenter& evsHarmCenter,
        const CGenEvsSignKey& evsSignKey, const CGenEvsSignTime* evsSignTime, float startPos, float endPos,
        CGenEvsNameds& evs, CGenEvsNameds* prevEvs = nullptr);
    // The same over chosen patterns (their modified copies).
    void Concretize(const CGenEvsChord& evsChord, const CGenEvsHarmCenter& evsHarmCenter,
        const CGenEvsSignKey& evsSignKey, const CGenEvsSignTime* evsSignTime, float startPos, float endPos,
        CGenPatternModAndProbs* patterns, CGenPatternModAndProbs* prevPatterns = nullptr);

    // One note with a concretizer made for it; `name` is for diagnostics.
    int64_t ConcretizeAbstractNote(const CAbstractNote& note, const CHarmonicContext& ctx,
        const TConcretizeRange& rootRange, const TConcretizeRange& noteRange,
        const TMapWhereAndNoteGroupIDToRootNoteNr* rootMap, int64_t referencedBassNoteNr, uint8_t groupID,
        TObeyConcretizeRange obey, const char* name) const;
    // -1 when the current chord is undefined.
    int64_t FindInitialRootNoteWithoutRegardingNoteGroups(const CHarmonicContext& ctx, TWhere where) const;
    bool IsNonGroupedAbstractNoteInNoteRange(const CAbstractNote& note, const CHarmonicContext& ctx) const;
    bool IsNonGroupedAbstractNoteInNoteRange(float pos, const CAbstractNote& note, const CGenEvsChord& evsChord,
        const CGenEvsHarmCenter& evsHarmCenter, const CGenEvsSignKey& evsSignKey) const;
    bool IsNonGroupedAbstractNoteInPatternRootNoteRange(const CAbstractNote& note, const CHarmonicContext& ctx) const;

    // Notes and positions of one run, by group.
    struct CAlignEvPtr {
        float mBeatPos = 0.0f;
        CGenEv* mEv = nullptr;
        size_t mContextIx = 0;
        bool mNeedsRoot = false;
    };
    using CAlignEvPtrs = std::vector<CAlignEvPtr>;

private:
    struct TRun;
    // A note around the initial root of its where, with the whole note
    // scale as its range; -1 without a current chord.
    int64_t _ConcretizeNonGroupedAroundInitialRoot(const CAbstractNote& note, const CHarmonicContext& ctx,
        const char* name) const;
    bool _ShouldBeConcretized(const CGenEv& ev, const CHarmonicContext& ctx) const;
    TConcretizeRange _ModifyRangeFromRangeModsAndEvDictionary(const TConcretizeRange& range, const CGenEv& ev,
        float pos) const;
    void _Concretize(TRun& run);
    void _ConcretizePass1(TRun& run);
    int64_t _ConcretizePass1EvPtr(TRun& run, size_t group, size_t ix, int depth);
    void _ConcretizePass2ObeyingRange(TRun& run);
};

// Nearest concrete notes before and after a note of a group.
class CReferencedNotes {
public:
    // The index of the nearest note before or after `noteIx` in `notes`
    // (sorted by position), or -1.
    static int FindPrevNote(float pos, size_t noteIx, const CAbstractNotesConcretizer::CAlignEvPtrs& notes);
    static int FindNextNote(float pos, size_t noteIx, const CAbstractNotesConcretizer::CAlignEvPtrs& notes);
};
