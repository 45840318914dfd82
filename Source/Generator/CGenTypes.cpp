#include "Generator/CGenTypes.h"

const char* const kStyleGraphKey_AccentFam = "kStyleGraphKey_AccentFam";
const char* const kStyleGraphKey_AccentAddon = "kStyleGraphKey_AccentAddon";
const char* const kStyleGraphKey_System = "kStyleGraphKey_System";
const char* const kStyleGraphKey_Fill = "kStyleGraphKey_Fill";
const char* const kStyleGraphKey_Percussion = "kStyleGraphKey_Percussion";
const char* const kStyleGraphKey_Global = "kStyleGraphKey_Global";
const char* const kStyleGraphKey_GlobalToMerged = "kStyleGraphKey_GlobalToMerged";

TPatternGraphType& operator++(TPatternGraphType& t)
{
    t = static_cast<TPatternGraphType>(static_cast<int>(t) + 1);
    return t;
}

std::string TPatternGraphTypeName(TPatternGraphType t)
{
    switch (t) {
    case TPatternGraphType_Undef: return "TPatternGraphType_Undef";
    case TPatternGraphType_AccentFamily: return "TPatternGraphType_AccentFamily";
    case TPatternGraphType_AccentAddon: return "TPatternGraphType_AccentAddon";
    case TPatternGraphType_System: return "TPatternGraphType_System";
    case TPatternGraphType_Fill: return "TPatternGraphType_Fill";
    case TPatternGraphType_Percussion: return "TPatternGraphType_Percussion";
    }
    return "unknown TPatternGraphType " + std::to_string(static_cast<int>(t));
}

std::ostream& operator<<(std::ostream& os, TPatternGraphType t) { return os << TPatternGraphTypeName(t); }

std::string StyleGraphKeyForPatternGraphType(TPatternGraphType t)
{
    switch (t) {
    case TPatternGraphType_AccentFamily: return kStyleGraphKey_AccentFam;
    case TPatternGraphType_AccentAddon: return kStyleGraphKey_AccentAddon;
    case TPatternGraphType_System: return kStyleGraphKey_System;
    case TPatternGraphType_Fill: return kStyleGraphKey_Fill;
    case TPatternGraphType_Percussion: return kStyleGraphKey_Percussion;
    default: return {};
    }
}

_TGenInstType& operator++(_TGenInstType& t)
{
    t = static_cast<_TGenInstType>(static_cast<int>(t) + 1);
    return t;
}

std::string TGenInstTypeName(_TGenInstType t)
{
    switch (t) {
    case TGenInstType_Undef: return "TGenInstType_Undef";
    case TGenInstType_Drums: return "TGenInstType_Drums";
    case TGenInstType_Bass: return "TGenInstType_Bass";
    case TGenInstType_Percussion: return "TGenInstType_Percussion";
    case TGenInstType_KeysA: return "TGenInstType_KeysA";
    case TGenInstType_KeysB: return "TGenInstType_KeysB";
    case TGenInstType_GuitarA: return "TGenInstType_GuitarA";
    case TGenInstType_GuitarB: return "TGenInstType_GuitarB";
    }
    return "unknown TGenInstType " + std::to_string(static_cast<int>(t));
}

std::ostream& operator<<(std::ostream& os, _TGenInstType t) { return os << TGenInstTypeName(t); }

std::string InstName(_TGenInstType t)
{
    switch (t) {
    case TGenInstType_Drums: return "Drums";
    case TGenInstType_Bass: return "Bass";
    case TGenInstType_Percussion: return "Percussion";
    case TGenInstType_KeysA: return "Keys A";
    case TGenInstType_KeysB: return "Keys B";
    case TGenInstType_GuitarA: return "Guitar A";
    case TGenInstType_GuitarB: return "Guitar B";
    default: return "Undefined";
    }
}

bool InstTypeIsConcretized(_TGenInstType t)
{
    switch (t) {
    case TGenInstType_Bass:
    case TGenInstType_KeysA:
    case TGenInstType_KeysB:
    case TGenInstType_GuitarA:
    case TGenInstType_GuitarB: return true;
    default: return false;
    }
}

int InstTypeGrooveTrackType(_TGenInstType t)
{
    switch (t) {
    case TGenInstType_Drums: return 0;
    case TGenInstType_Bass: return 13;
    case TGenInstType_Percussion: return 14;
    case TGenInstType_KeysA:
    case TGenInstType_KeysB: return 16;
    case TGenInstType_GuitarA:
    case TGenInstType_GuitarB: return 15;
    default: return 12;
    }
}

std::string TGenerateWhatName(TGenerateWhat w)
{
    switch (w) {
    case TGenerateWhat_PatternsOnly: return "TGenerateWhat_PatternsOnly";
    case TGenerateWhat_All: return "TGenerateWhat_All";
    case TGenerateWhat_Accents: return "TGenerateWhat_Accents";
    case TGenerateWhat_Systems: return "TGenerateWhat_Systems";
    case TGenerateWhat_Fills: return "TGenerateWhat_Fills";
    case TGenerateWhat_Percussion: return "TGenerateWhat_Percussion";
    case TGenerateWhat_RenderOnly: return "TGenerateWhat_RenderOnly";
    }
    return "unknown TGenerateWhat " + std::to_string(static_cast<int>(w));
}

std::ostream& operator<<(std::ostream& os, TGenerateWhat w) { return os << TGenerateWhatName(w); }

std::string TRandomSeedModeName(TRandomSeedMode m)
{
    switch (m) {
    case TRandomSeedMode_Passive: return "TRandomSeedMode_Passive";
    case TRandomSeedMode_SystemClock: return "TRandomSeedMode_SystemClock";
    case TRandomSeedMode_Keep: return "TRandomSeedMode_Keep";
    case TRandomSeedMode_Increment: return "TRandomSeedMode_Increment";
    case TRandomSeedMode_Reset: return "TRandomSeedMode_Reset";
    }
    return "unknown TRandomSeedMode " + std::to_string(static_cast<int>(m));
}

std::ostream& operator<<(std::ostream& os, TRandomSeedMode m) { return os << TRandomSeedModeName(m); }

TRandomSeedMode SeedModeForLayer(TGenerateWhat what, TRandomSeedMode mode, TPatternGraphType layer)
{
    switch (what) {
    case TGenerateWhat_PatternsOnly:
    case TGenerateWhat_All: return mode;
    case TGenerateWhat_Accents:
        return (layer == TPatternGraphType_AccentFamily || layer == TPatternGraphType_AccentAddon)
                   ? mode
                   : TRandomSeedMode_Keep;
    case TGenerateWhat_Systems: return layer == TPatternGraphType_System ? mode : TRandomSeedMode_Keep;
    case TGenerateWhat_Fills: return layer == TPatternGraphType_Fill ? mode : TRandomSeedMode_Keep;
    case TGenerateWhat_Percussion: return layer == TPatternGraphType_Percussion ? mode : TRandomSeedMode_Keep;
    default: return TRandomSeedMode_Keep;
    }
}

std::string TStatusName(int status)
{
    switch (status) {
    case st_AllStati: return "st_AllStati";
    case st_Deleted: return "st_Deleted";
    case st_Jump: return "st_Jump";
    case st_Marker: return "st_Marker";
    case st_LaunchMidi: return "st_LaunchMidi";
    case st_LaunchAudio: return "st_LaunchAudio";
    case st_SignTime: return "st_SignTime";
    case st_SignKey: return "st_SignKey";
    case st_40: return "st_40";
    case st_Fader: return "st_Fader";
    case st_MetaTrue: return "st_MetaTrue";
    case st_Meta: return "st_Meta";
    case st_Sysex: return "st_Sysex";
    case st_MTC: return "st_MTC";
    case st_SongPos: return "st_SongPos";
    case st_SongSel: return "st_SongSel";
    case st_UndefF4: return "st_UndefF4";
    case st_UndefF5: return "st_UndefF5";
    case st_Tune: return "st_Tune";
    case st_EOX: return "st_EOX";
    case st_Clock: return "st_Clock";
    case st_UndefF9: return "st_UndefF9";
    case st_Start: return "st_Start";
    case st_Continue: return "st_Continue";
    case st_Stop: return "st_Stop";
    case st_UndefFD: return "st_UndefFD";
    case st_Sense: return "st_Sense";
    case st_Reset: return "st_Reset";
    case st_Undefined: return "st_Undefined";
    default: break;
    }
    if (status >= 0x80 && status < 0xF0) {
        switch (status & 0xF0) {
        case st_NoteOff: return "st_NoteOff";
        case st_NoteOn: return "st_NoteOn";
        case st_PolyTouch: return "st_PolyTouch";
        case st_CtrChange: return "st_CtrChange";
        case st_PrgChange: return "st_PrgChange";
        case st_Aftertouch: return "st_Aftertouch";
        case st_PitchBend: return "st_PitchBend";
        default: break;
        }
    }
    return "unknown TStatus " + std::to_string(status);
}

std::string TGenArrangeMarkerTypeName(TGenArrangeMarkerType t)
{
    switch (t) {
    case TGenArrangeMarkerType_Undef: return "Type_Undef";
    case TGenArrangeMarkerType_Intro: return "Type_Intro";
    case TGenArrangeMarkerType_Verse: return "Type_Verse";
    case TGenArrangeMarkerType_Climb: return "Type_Climb";
    case TGenArrangeMarkerType_Chorus: return "Type_Chorus";
    case TGenArrangeMarkerType_Bridge: return "Type_Bridge";
    case TGenArrangeMarkerType_Instrumental: return "Type_Instrumental";
    case TGenArrangeMarkerType_Mellow: return "Type_Mellow";
    case TGenArrangeMarkerType_Outro: return "Type_Outro";
    }
    return "unknown TGenArrangeMarkerType: " + std::to_string(static_cast<int>(t));
}

std::ostream& operator<<(std::ostream& os, TGenArrangeMarkerType t) { return os << TGenArrangeMarkerTypeName(t); }

std::string TTransposeEvName(TTransposeEv t)
{
    switch (t) {
    case TTransposeEv_Dont: return "TTransposeEv_Dont";
    case TTransposeEv_Abstract: return "TTransposeEv_Abstract";
    case TTransposeEv_ToScaleKeepShapeOfLine: return "TTransposeEv_ToScaleKeepShapeOfLine";
    case TTransposeEv_RelToRootNote_Diatonic: return "TTransposeEv_RelToRootNote_Diatonic";
    case TTransposeEv_RelToRootNote_Chromatic: return "TTransposeEv_RelToRootNote_Chromatic";
    case TTransposeEv_RelToNextRootNote_Diatonic: return "TTransposeEv_RelToNextRootNote_Diatonic";
    case TTransposeEv_RelToNextRootNote_Chromatic: return "TTransposeEv_RelToNextRootNote_Chromatic";
    case TTransposeEv_PlayOnlyIfContains7: return "TTransposeEv_PlayOnlyIfContains7";
    case TTransposeEv_PlayOnlyIfContains9: return "TTransposeEv_PlayOnlyIfContains9";
    case TTransposeEv_PlayOnlyIfContains11: return "TTransposeEv_PlayOnlyIfContains11";
    case TTransposeEv_PlayOnlyIfContains13: return "TTransposeEv_PlayOnlyIfContains13";
    }
    return "unknown TTransposeEv " + std::to_string(static_cast<int>(t));
}

std::ostream& operator<<(std::ostream& os, TTransposeEv t) { return os << TTransposeEvName(t); }
