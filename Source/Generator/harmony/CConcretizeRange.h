#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/harmony/CAbstractNote.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class CGenEv;

// The note ranges a concretizer keeps notes in: the whole range of the
// notes, and the narrower range of a pattern's root, with a preference for
// the top or the bottom.

inline constexpr int64_t kNoteNrUndef = -1;
// Tells the caller to drop the event: it waits for a note that never came.
inline constexpr int64_t kNoteNrLargeUndef = -2147483648LL;

struct TConcretizeRange {
    int64_t mMinNoteNr = -1;
    int64_t mMaxNoteNr = -1;
    int64_t mPatternRootMinNoteNr = -1;
    int64_t mPatternRootMaxNoteNr = -1;
    // 4 lifts a note as near to the top of the range as it goes, 2 lowers it
    // to the bottom, 1 is off (CopyWithNotePreferOff), others do nothing.
    int mNotePrefer = 0;

    TConcretizeRange CopyWithNotePreferOff() const
    {
        TConcretizeRange r = *this;
        r.mNotePrefer = 1;
        return r;
    }
    // All four limits the pattern-root limits, the preference kept.
    TConcretizeRange PatternRootRangeAsNoteRange() const
    {
        TConcretizeRange r = *this;
        r.mMinNoteNr = r.mPatternRootMinNoteNr;
        r.mMaxNoteNr = r.mPatternRootMaxNoteNr;
        return r;
    }
    // The defaults of an instrument type: a bass from E1 (28) to G3 (55)
    // with its pattern roots in the lowest octave E1..E2; keys and guitar
    // around middle C; everything else the whole note range.
    static TConcretizeRange DefaultForInstType(int instType);
    bool operator==(const TConcretizeRange&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mMinNoteNr", mMinNoteNr);
        ar& boost::serialization::make_nvp("mMaxNoteNr", mMaxNoteNr);
        ar& boost::serialization::make_nvp("mPatternRootMinNoteNr", mPatternRootMinNoteNr);
        ar& boost::serialization::make_nvp("mPatternRootMaxNoteNr", mPatternRootMaxNoteNr);
        ar& boost::serialization::make_nvp("mNotePrefer", mNotePrefer);
    }
};

// The two moves of note ranges, both in whole octaves. Raise-lower: up while
// below min (and below 116), then down while above max (and from 12 on): max
// wins. Preference: with 4 up while an octave still fits under max, with 2
// down while an octave still fits over min.
int64_t RaiseLowerToRange(int64_t note, int64_t min, int64_t max);
int64_t ApplyNotePrefer(int64_t note, int notePrefer, int64_t min, int64_t max);
// Both, with the note range or the pattern-root range of `range`.
int64_t RaiseLowerAndPreferInNoteRange(int64_t note, const TConcretizeRange& range);
int64_t RaiseLowerAndPreferInPatternRootRange(int64_t note, const TConcretizeRange& range);

// obey is 0: notes are kept in range; other values let them leave 0..127
// (for interval calculations).
using TObeyConcretizeRange = int;
inline constexpr TObeyConcretizeRange kObeyConcretizeRange = 0;

class TModNoteNr {
public:
    enum TType : int { Relative = 0, Absolute = 1 };

    int64_t mNoteNr = -1;
    TType mType = Relative;

    int64_t CalcModifiedNoteNr(int64_t noteNr) const
    {
        if (mNoteNr == -1)
            return noteNr;
        return mType == Absolute ? mNoteNr : noteNr + mNoteNr;
    }
    // Reads "<name>Abs", else "<name>Rel" from an event's dictionary.
    bool ReadFromEvDictionary(const CGenEv& ev, const std::string& name);
    bool operator==(const TModNoteNr&) const = default;
};

class TConcretizeRangeMod {
public:
    enum TModNoteNrPropID : int {
        ModMinNoteNr = 0,
        ModMaxNoteNr = 1,
        ModPatternRootMinNoteNr = 2,
        ModPatternRootMaxNoteNr = 3,
    };

    TModNoteNr mMods[4];
    // 0..4 as TConcretizeRange::mNotePrefer; -1 keeps the range's.
    int mNotePrefer = -1;

    TConcretizeRange CalcModifiedRange(const TConcretizeRange& range) const;
    // The keys "ModMinNoteNrAbs", "ModMinNoteNrRel", ... "ModNotePrefer"; an
    // Abs key wins over its Rel key. False when the event has none.
    bool ReadFromEvDictionary(const CGenEv& ev);
    // A bad id gives an unset value and writes "unknown
    // TConcretizeRangeMod::TModNoteNrPropID " and the id to `error`.
    TModNoteNr GetModNoteNrPropID(int id, std::string* error = nullptr) const;
    bool SetModNoteNrPropID(int id, const TModNoteNr& mod, std::string* error = nullptr);
    bool operator==(const TConcretizeRangeMod& o) const;
};

// Range modifications from positions on.
class TConcretizeRangeModPosseds {
public:
    struct TEl {
        float mBeatPos = 0.0f;
        TConcretizeRangeMod mMod;
    };
    std::vector<TEl> mEls;

    // The last at or before pos, or null.
    const TConcretizeRangeMod* ConcretizeRangeModValidAt(float pos) const;
    // One at pos, starting from the values of the one before it.
    TConcretizeRangeMod& CreateOrChangeConcretizeRangeModValidAt(float pos);
    bool SetModNoteNrPropIDAt(int id, float pos, const TModNoteNr& mod, std::string* error = nullptr);
    TModNoteNr GetModNoteNrPropIDAt(int id, float pos, std::string* error = nullptr) const;
    TConcretizeRange CalcModifiedRangeAt(const TConcretizeRange& range, float pos) const;
    void clear() { mEls.clear(); }
    bool empty() const { return mEls.empty(); }
};

// Clamps a note number of a modifier into what its type allows (relative:
// -127..127, absolute: 0..127); the message says what happened, "" if nothing.
int64_t ClampModNoteNr(int64_t noteNr, TModNoteNr::TType type, std::string& message);

// Root note numbers already chosen, by where and note group.
using TMapWhereAndNoteGroupIDToRootNoteNr = std::map<TWhere, std::map<uint8_t, int64_t>>;
