#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// Abstract notes: symbolic recipes ("root of the next chord, two scale steps
// up") that stay valid against any chord progression; they are worked out
// into note numbers against the song's harmony.

// Where the harmonic reference of a note is taken from.
enum TWhere : int {
    TWhere_Undef = -1,
    TWhere_CurrentChord = 0,
    TWhere_Default = 0,
    TWhere_PrevChord = 1,
    TWhere_NextChord = 2,
    TWhere_CurrentHarmCenter = 3,
    TWhere_PrevHarmCenter = 4,
    TWhere_NextHarmCenter = 5,
    TWhere_CurrentHarmCenterAsMajor = 6,
    TWhere_PrevHarmCenterAsMajor = 7,
    TWhere_NextHarmCenterAsMajor = 8,
    TWhere_CurrentSignKey = 9,
    TWhere_PrevSignKey = 10,
    TWhere_NextSignKey = 11,
    TWhere_GetFromAbstractNote = 12,
};
// Text of a TWhere inside a note ("" for the current chord); values outside the
// table give "unknown TWhere " and the number.
std::string TWhereToString(TWhere w);

// Starting point of a note in the chord or scale chosen by TWhere.
enum TAbstractDegree : int {
    TAbstractDegree_Undef = -1,
    TAbstractDegree_BassNoteLow = 0,
    TAbstractDegree_B1 = 0,
    TAbstractDegree_BassNoteCloseToRoot = 1,
    TAbstractDegree_BassNoteAboveRoot = 2,
    TAbstractDegree_Root = 3,
    TAbstractDegree__2 = 4,
    TAbstractDegree__3 = 5,
    TAbstractDegree__4 = 6,
    TAbstractDegree__5 = 7,
    TAbstractDegree__6 = 8,
    TAbstractDegree__7 = 9,
    TAbstractDegree_NoteNr = 10,
    TAbstractDegree_RefPrev = 11,
    TAbstractDegree_RefNext = 12,
    TAbstractDegree_B2 = 13,
    TAbstractDegree_B3 = 14,
    TAbstractDegree_B4 = 15,
    TAbstractDegree_B5 = 16,
    TAbstractDegree_B6 = 17,
    TAbstractDegree_B7 = 18,
};
std::string TAbstractDegreeToString(TAbstractDegree d);
// Reads the forms TAbstractDegreeToString writes (without the note number of
// NoteNr); anything else gives Undef.
TAbstractDegree TAbstractDegreeFromString(const std::string& text);
bool IsReferencingDegree(TAbstractDegree d);
TAbstractDegree& operator++(TAbstractDegree& d);
// Approximate size of a degree in semitones.
double DegreeToAproxChromaticSteps(TAbstractDegree d);

enum TStepsType : int {
    TStepsType_Diatonic = 0,
    TStepsType_Chromatic = 1,
    TStepsType_AbstractScaleSet0 = 2,
    TStepsType_AbstractScaleSet9 = 11,
    TStepsType_Chord = 12,
    TStepsType_ChordTriad = 13,
    TStepsType_ChordOption = 14,
};
std::string TStepsTypeToString(TStepsType t);

enum TStepsDirection : int {
    TStepsDirection_Normal = 0,
    TStepsDirection_TowardsNextRoot = 1,
    TStepsDirection_FromPrevRoot = 2,
    TStepsDirection_TowardsAbstractNote = 3,
    TStepsDirection_TowardsNoteNext = 4,
    TStepsDirection_TowardsNotePrev = 5,
    TStepsDirection_TowardsNoteNr = 6,
};
std::string TStepsDirectionToString(TStepsDirection d);

// One move of an abstract note.
class CAbstractOffset : public CGenTraceable<CAbstractOffset> {
public:
    static constexpr const char* kTraceClassName = "CAbstractOffset";
    static constexpr int8_t kOctavesUndef = -128;

    TWhere mWhere = TWhere_CurrentChord;
    int8_t mOctaves = 0;
    int8_t mSteps = 0;
    TStepsType mStepsType = TStepsType_Diatonic;
    TStepsDirection mStepsDirection = TStepsDirection_Normal;
    int64_t mStepsDirectionTowardsNoteNr = -1;

    bool operator==(const CAbstractOffset& o) const = default;
    bool operator<(const CAbstractOffset& o) const;

    // Octaves, then the step part; SetFromString reads it back as the same
    // offset (the where of an offset has no text).
    std::string ToString() const;
    bool SetFromString(const std::string& text);
    // Reads one offset from the front of `text`; `used` receives the number of
    // characters read. Returns false (and reads nothing) if the text holds none.
    bool SetFromStringAndUsedStringLength(const std::string& text, size_t* used);

    void TraceStream(std::ostream& os) const { os << ToString(); }
    void TraceStreamBrief(std::ostream& os) const { os << ToString(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mWhere", mWhere);
        ar& boost::serialization::make_nvp("mStepsType", mStepsType);
        ar& boost::serialization::make_nvp("mOctaves", mOctaves);
        ar& boost::serialization::make_nvp("mSteps", mSteps);
        ar& boost::serialization::make_nvp("mStepsDirection", mStepsDirection);
        ar& boost::serialization::make_nvp("mStepsDirectionTowardsNoteNr", mStepsDirectionTowardsNoteNr);
    }
};

class CAbstractOffsets : public std::vector<CAbstractOffset>, public CGenTraceable<CAbstractOffsets> {
public:
    static constexpr const char* kTraceClassName = "CAbstractOffsets";
    static constexpr const char* kStartCharacter = "[";
    static constexpr const char* kSeparatorCharacter = ",";
    static constexpr const char* kEndCharacter = "]";
    using TCAbstractOffsets = std::vector<CAbstractOffset>;
    using TCAbstractOffsets::TCAbstractOffsets;

    // Empty text for an empty list.
    std::string ToString() const;
    // Reads "[o1,o2,...]" from the front of `text`; `used` receives the length read.
    bool SetFromString(const std::string& text, size_t* used = nullptr);

    bool ContainOnlyZeroSteps() const;
    bool ContainStepsDirection(TStepsDirection d) const;
    bool ContainStepsDirectionOtherThan(TStepsDirection d) const;
    bool ContainOnlyAbstractScaleSetSmallerThan(TStepsType t) const;

    void TraceStream(std::ostream& os) const { os << ToString(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCAbstractOffsets", static_cast<TCAbstractOffsets&>(*this));
    }
};

// A note in harmonic terms.
class CAbstractNote : public CGenTraceable<CAbstractNote> {
public:
    static constexpr const char* kTraceClassName = "CAbstractNote";

    TWhere mWhere = TWhere_CurrentChord;
    TAbstractDegree mDegree = TAbstractDegree_Undef;
    int64_t mNoteNrForDegreeNoteNr = -1;
    CAbstractOffsets mOffsets;

    CAbstractNote() = default;
    explicit CAbstractNote(const std::string& text) { SetFromString(text); }
    CAbstractNote(TWhere where, TAbstractDegree degree) : mWhere(where), mDegree(degree) {}

    bool IsUndef() const { return mDegree == TAbstractDegree_Undef; }
    bool IsDef() const { return !IsUndef(); }
    bool operator==(const CAbstractNote& o) const = default;
    bool operator<(const CAbstractNote& o) const;

    // "{", where, degree, note number for NoteNr, offsets, "}".
    std::string ToString() const;
    // Reads the text form; an empty text leaves the note as it is. Returns
    // false when the text holds no degree.
    bool SetFromString(const std::string& text);
    bool SetDegreeAndNoteNrForDegreeNoteNrFromString(const std::string& text);
    bool HasWhereOtherThan(const std::vector<TWhere>& wheres) const;

    void TraceStream(std::ostream& os) const { os << ToString(); }
    void TraceStreamBrief(std::ostream& os) const { os << ToString(); }

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("mDegree", mDegree);
        ar& boost::serialization::make_nvp("mNoteNrForDegreeNoteNr", mNoteNrForDegreeNoteNr);
        ar& boost::serialization::make_nvp("mOffsets", mOffsets);
        ar& boost::serialization::make_nvp("mWhere", mWhere);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mDegree", mDegree);
        ar& boost::serialization::make_nvp("mNoteNrForDegreeNoteNr", mNoteNrForDegreeNoteNr);
        mOffsets.clear();
        if (version >= 1) {
            ar& boost::serialization::make_nvp("mOffsets", mOffsets);
        } else {
            // Older archives held exactly one offset.
            CAbstractOffset single;
            ar& boost::serialization::make_nvp("deserializedOffset", single);
            mOffsets.push_back(single);
        }
        ar& boost::serialization::make_nvp("mWhere", mWhere);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CAbstractNote, 1)

std::ostream& operator<<(std::ostream& os, const CAbstractNote& n);

using CAbstractNotes = std::vector<CAbstractNote>;
