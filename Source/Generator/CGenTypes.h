#pragma once

#include <cfloat>
#include <cstdint>
#include <ostream>
#include <string>

// Musical time: every position and length is a 32-bit float in beats (quarter
// notes). The undefined value is the most negative finite float, shared by all
// position-like scalars so that one test covers them all.

using TGenBeatPos = float;
using TGenBeatPosAbs = float;
using TGenBeatPosRel = float;
using TGenBeatLength = float;
using TComplInt = float;
using TPercent = float;

inline constexpr TGenBeatPos TGenBeatPos_Undef = -FLT_MAX;
inline constexpr TGenBeatPosAbs TGenBeatPosAbs_Undef = -FLT_MAX;
inline constexpr TGenBeatPosRel TGenBeatPosRel_Undef = -FLT_MAX;
inline constexpr TGenBeatLength TGenBeatLength_Undef = -FLT_MAX;
inline constexpr TGenBeatPos TGenBeatPos_Max = FLT_MAX;
inline constexpr TGenBeatPos TGenBeatPos_Unit = 1.0f / 3840.0f;
inline constexpr TComplInt TComplInt_Undef = -FLT_MAX;
inline constexpr TPercent TPercent_Undef = -FLT_MAX;

// A test for a defined value is an exact comparison with the sentinel; a NaN
// therefore counts as defined.
inline constexpr bool GenIsUndef(float v) { return v == -FLT_MAX; }
inline constexpr bool GenIsDef(float v) { return v != -FLT_MAX; }

// Sentinel-respecting arithmetic: an undefined operand makes the result undefined.
inline constexpr float GenAddRegardingUndef(float a, float b)
{
    return (GenIsUndef(a) || GenIsUndef(b)) ? -FLT_MAX : a + b;
}
inline constexpr float GenSubRegardingUndef(float a, float b)
{
    return (GenIsUndef(a) || GenIsUndef(b)) ? -FLT_MAX : a - b;
}
inline constexpr float GenMulRegardingUndef(float a, float b)
{
    return (GenIsUndef(a) || GenIsUndef(b)) ? -FLT_MAX : a * b;
}

// Length in beats of a bar: 4 / 2^denomIx * nom.
inline constexpr double GenBarLengthInBeats(int nom, int denomIx)
{
    // Past 1100 halvings or doublings a double is 0 or infinite already, so
    // the loop stops there: a damaged metre cannot make it run for seconds.
    const int steps = denomIx > 1100 ? 1100 : (denomIx < -1100 ? -1100 : denomIx);
    double denom = 1.0;
    for (int i = 0; i < steps; ++i)
        denom *= 2.0;
    for (int i = 0; i > steps; --i)
        denom /= 2.0;
    return 4.0 / denom * nom;
}

// Note-like scalars.
using TNoteNrLarge = int;
inline constexpr TNoteNrLarge TNoteNrLarge_Min = 0;
inline constexpr TNoteNrLarge TNoteNrLarge_Max = 127;
inline constexpr TNoteNrLarge TNoteNrLarge_Undef = -1;
inline constexpr int TNoteNrLarge_Count = 128;

using TKeyNr = int;
inline constexpr TKeyNr TKeyNr_Min = 0;
inline constexpr TKeyNr TKeyNr_Max = 11;
inline constexpr TKeyNr TKeyNr_Undef = 15;
inline constexpr int TKeyNr_Count = 12;

using TVelocity = int;
inline constexpr TVelocity TVelocity_Min = 0;
inline constexpr TVelocity TVelocity_Max = 127;
inline constexpr TVelocity TVelocity_Undef = 255;
inline constexpr TVelocity TVelocity_Default = 64;
inline constexpr int TVelocity_Count = 128;

inline constexpr int32_t TGenBarNr_Undef = static_cast<int32_t>(0x80000001u);

// The five layers of a performance; each has its own graph and seed.
enum TPatternGraphType : int {
    TPatternGraphType_Undef = -1,
    TPatternGraphType_AccentFamily = 0,
    TPatternGraphType_AccentAddon = 1,
    TPatternGraphType_System = 2,
    TPatternGraphType_Fill = 3,
    TPatternGraphType_Percussion = 4,
    TPatternGraphType_Min = 0,
    TPatternGraphType_Max = 4,
};
TPatternGraphType& operator++(TPatternGraphType& t);
std::string TPatternGraphTypeName(TPatternGraphType t);
std::ostream& operator<<(std::ostream& os, TPatternGraphType t);

// The style graph key of a layer; empty for TPatternGraphType_Undef.
std::string StyleGraphKeyForPatternGraphType(TPatternGraphType t);
extern const char* const kStyleGraphKey_AccentFam;
extern const char* const kStyleGraphKey_AccentAddon;
extern const char* const kStyleGraphKey_System;
extern const char* const kStyleGraphKey_Fill;
extern const char* const kStyleGraphKey_Percussion;
extern const char* const kStyleGraphKey_Global;
extern const char* const kStyleGraphKey_GlobalToMerged;

enum _TGenInstType : int {
    TGenInstType_Undef = -1,
    TGenInstType_Drums = 0,
    TGenInstType_Bass = 1,
    TGenInstType_Percussion = 2,
    TGenInstType_KeysA = 3,
    TGenInstType_KeysB = 4,
    TGenInstType_GuitarA = 5,
    TGenInstType_GuitarB = 6,
    TGenInstType_Min = 0,
    TGenInstType_Max = 6,
};
using TGenInstType = _TGenInstType;
_TGenInstType& operator++(_TGenInstType& t);
std::string TGenInstTypeName(_TGenInstType t);
std::ostream& operator<<(std::ostream& os, _TGenInstType t);
// Display name of an instrument type.
std::string InstName(_TGenInstType t);
// Whether abstract notes of this instrument are worked out against the chords.
bool InstTypeIsConcretized(_TGenInstType t);
// Groove track type a generated part of this instrument follows; 0 for drums,
// which follow a track per kit piece.
int InstTypeGrooveTrackType(_TGenInstType t);

enum TGenerateWhat : int {
    TGenerateWhat_PatternsOnly = 0,
    TGenerateWhat_All = 1,
    TGenerateWhat_Accents = 2,
    TGenerateWhat_Systems = 3,
    TGenerateWhat_Fills = 4,
    TGenerateWhat_Percussion = 5,
    TGenerateWhat_RenderOnly = 6,
};
std::string TGenerateWhatName(TGenerateWhat w);
std::ostream& operator<<(std::ostream& os, TGenerateWhat w);

enum TRandomSeedMode : int {
    TRandomSeedMode_Passive = 0,
    TRandomSeedMode_SystemClock = 1,
    TRandomSeedMode_Keep = 2,
    TRandomSeedMode_Increment = 3,
    TRandomSeedMode_Reset = 4,
};
std::string TRandomSeedModeName(TRandomSeedMode m);
std::ostream& operator<<(std::ostream& os, TRandomSeedMode m);

// The seed mode a layer receives for a call with `what` and `mode`; above 6 the
// layer is not generated and TRandomSeedMode_Keep is returned.
TRandomSeedMode SeedModeForLayer(TGenerateWhat what, TRandomSeedMode mode, TPatternGraphType layer);

// Status byte of an event; values at 0x80 and above are MIDI statuses.
enum TStatus : int {
    st_AllStati = -1,
    st_Deleted = 0x00,
    st_Jump = 0x10,
    st_Marker = 0x12,
    st_LaunchMidi = 0x20,
    st_LaunchAudio = 0x24,
    st_SignTime = 0x30,
    st_SignKey = 0x32,
    st_40 = 0x40,
    st_Fader = 0x50,
    st_MetaTrue = 0x60,
    st_Meta = 0x70,
    st_NoteOff = 0x80,
    st_NoteOn = 0x90,
    st_PolyTouch = 0xA0,
    st_CtrChange = 0xB0,
    st_PrgChange = 0xC0,
    st_Aftertouch = 0xD0,
    st_PitchBend = 0xE0,
    st_Sysex = 0xF0,
    st_MTC = 0xF1,
    st_SongPos = 0xF2,
    st_SongSel = 0xF3,
    st_UndefF4 = 0xF4,
    st_UndefF5 = 0xF5,
    st_Tune = 0xF6,
    st_EOX = 0xF7,
    st_Clock = 0xF8,
    st_UndefF9 = 0xF9,
    st_Start = 0xFA,
    st_Continue = 0xFB,
    st_Stop = 0xFC,
    st_UndefFD = 0xFD,
    st_Sense = 0xFE,
    st_Reset = 0xFF,
    st_Undefined = 0x100,
};
// Print form of a status; a status with a channel is named by its high nibble.
std::string TStatusName(int status);

enum TQuantize : int {
    TQuantize_Off = 0,
    TQuantize_Prev = 1,
    TQuantize_PrevOrAt = 2,
    TQuantize_Next = 3,
    TQuantize_NextOrAt = 4,
    TQuantize_Closest = 5,
};

// Mode of a search by position; callers pass the numbers (see the search functions).
using TFindBeat = int;

enum TGenArrangeMarkerType : int {
    TGenArrangeMarkerType_Undef = 0,
    TGenArrangeMarkerType_Intro = 1,
    TGenArrangeMarkerType_Verse = 2,
    TGenArrangeMarkerType_Climb = 3,
    TGenArrangeMarkerType_Chorus = 4,
    TGenArrangeMarkerType_Bridge = 5,
    TGenArrangeMarkerType_Instrumental = 6,
    TGenArrangeMarkerType_Mellow = 7,
    TGenArrangeMarkerType_Outro = 8,
};
std::string TGenArrangeMarkerTypeName(TGenArrangeMarkerType t);
std::ostream& operator<<(std::ostream& os, TGenArrangeMarkerType t);

// How an event follows harmony.
enum TTransposeEv : int {
    TTransposeEv_Dont = 0,
    TTransposeEv_Abstract = 1,
    TTransposeEv_ToScaleKeepShapeOfLine = 2,
    TTransposeEv_RelToRootNote_Diatonic = 3,
    TTransposeEv_RelToRootNote_Chromatic = 4,
    TTransposeEv_RelToNextRootNote_Diatonic = 5,
    TTransposeEv_RelToNextRootNote_Chromatic = 6,
    TTransposeEv_PlayOnlyIfContains7 = 7,
    TTransposeEv_PlayOnlyIfContains9 = 8,
    TTransposeEv_PlayOnlyIfContains11 = 9,
    TTransposeEv_PlayOnlyIfContains13 = 10,
};
std::string TTransposeEvName(TTransposeEv t);
std::ostream& operator<<(std::ostream& os, TTransposeEv t);

// Whether a range's borders count as inside for overlap tests.
enum TInclusiveBorders : int {
    TInclusiveBorders_None = 0,
    TInclusiveBorders_Left = 1,
    TInclusiveBorders_Right = 2,
    TInclusiveBorders_Both = 3,
};

// Whether an erase in a range also shortens events reaching into it from the left.
enum TShortenEvsLeftTouchingRange : int {
    TShortenEvsLeftTouchingRange_Yes = 0,
    TShortenEvsLeftTouchingRange_No = 1,
};

// 64-bit nibble-coded instrument code; events carry its low 32 bits in mMB1.
using TInstTreeUid = int64_t;
inline constexpr TInstTreeUid TInstTreeUid_Undef = static_cast<TInstTreeUid>(0x8000000000000001ull);

// How note numbers print as text.
enum TShowNoteAs : int {
    TShowNoteAs_Number = 0,    // "60"
    TShowNoteAs_NameC3 = 1,    // "c3" for 60: octave numbers from -2
    TShowNoteAs_NameC4 = 2,    // "c4" for 60: octave numbers from -1
};

// How a setter treats a position in a bar that lies beyond the bar.
enum TSetBeatPosAbsOption : int {
    TSetBeatPosAbsOption_Allow = 0,      // take it as it is, reaching into later bars
    TSetBeatPosAbsOption_Clamp = 1,      // clamp into the bar
    TSetBeatPosAbsOption_Wrap = 2,       // wrap around the bar length
};
