#include "Generator/CGenTypes.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

template <class T>
std::string Streamed(T v)
{
    std::ostringstream os;
    os << v;
    return os.str();
}

} // namespace

TEST(CGenTypesSentinels, AllPositionLikeUndefsShareOneBitPattern)
{
    EXPECT_EQ(std::bit_cast<uint32_t>(TGenBeatPos_Undef), 0xFF7FFFFFu);
    EXPECT_EQ(std::bit_cast<uint32_t>(TGenBeatPosAbs_Undef), 0xFF7FFFFFu);
    EXPECT_EQ(std::bit_cast<uint32_t>(TGenBeatPosRel_Undef), 0xFF7FFFFFu);
    EXPECT_EQ(std::bit_cast<uint32_t>(TGenBeatLength_Undef), 0xFF7FFFFFu);
    EXPECT_EQ(std::bit_cast<uint32_t>(TComplInt_Undef), 0xFF7FFFFFu);
    EXPECT_EQ(std::bit_cast<uint32_t>(TPercent_Undef), 0xFF7FFFFFu);
    EXPECT_EQ(TGenBeatPos_Undef, -3.4028235e38f);
    EXPECT_EQ(TGenBeatPos_Max, std::numeric_limits<float>::max());
    EXPECT_EQ(TGenBeatPos_Unit, 0.00026041668f);
    EXPECT_EQ(TGenBeatPos_Unit * 3840.0f, 1.0f);
}

TEST(CGenTypesSentinels, IntegerSentinels)
{
    EXPECT_EQ(static_cast<uint32_t>(TGenBarNr_Undef), 0x80000001u);
    EXPECT_EQ(static_cast<uint64_t>(TInstTreeUid_Undef), 0x8000000000000001ull);
    EXPECT_EQ(TNoteNrLarge_Undef, -1);
    EXPECT_EQ(TNoteNrLarge_Max, 127);
    EXPECT_EQ(TNoteNrLarge_Count, 128);
    EXPECT_EQ(TKeyNr_Undef, 15);
    EXPECT_EQ(TKeyNr_Max, 11);
    EXPECT_EQ(TKeyNr_Count, 12);
    EXPECT_EQ(TVelocity_Undef, 255);
    EXPECT_EQ(TVelocity_Default, 64);
    EXPECT_EQ(TVelocity_Count, 128);
}

TEST(CGenTypesSentinels, DefinednessIsAnExactComparison)
{
    EXPECT_TRUE(GenIsUndef(TGenBeatPos_Undef));
    EXPECT_FALSE(GenIsDef(TGenBeatLength_Undef));
    EXPECT_EQ(TGenBeatPos_Undef, TGenBeatLength_Undef);
    // A NaN is not the sentinel, so it counts as defined.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(GenIsDef(nan));
    EXPECT_FALSE(GenIsUndef(nan));
    // Values near the sentinel are defined.
    EXPECT_TRUE(GenIsDef(std::nextafter(-FLT_MAX, 0.0f)));
    EXPECT_TRUE(GenIsDef(-std::numeric_limits<float>::infinity()));
    EXPECT_TRUE(GenIsDef(0.0f));
}

TEST(CGenTypesSentinels, ArithmeticPassesTheSentinelOn)
{
    // A naive sum would give -inf or a huge finite number instead of the sentinel.
    EXPECT_EQ(GenAddRegardingUndef(TGenBeatPos_Undef, -1e38f), TGenBeatPos_Undef);
    EXPECT_EQ(GenAddRegardingUndef(TGenBeatPos_Undef, 4.0f), TGenBeatPos_Undef);
    EXPECT_EQ(GenAddRegardingUndef(4.0f, TGenBeatLength_Undef), TGenBeatPos_Undef);
    EXPECT_EQ(GenSubRegardingUndef(TGenBeatPos_Undef, TGenBeatPos_Undef), TGenBeatPos_Undef);
    EXPECT_EQ(GenSubRegardingUndef(1.0f, TGenBeatPos_Undef), TGenBeatPos_Undef);
    EXPECT_EQ(GenMulRegardingUndef(TGenBeatPos_Undef, -1.0f), TGenBeatPos_Undef);
    EXPECT_EQ(GenMulRegardingUndef(0.0f, TGenBeatPos_Undef), TGenBeatPos_Undef);
    EXPECT_EQ(GenAddRegardingUndef(1.5f, 2.25f), 3.75f);
    EXPECT_EQ(GenSubRegardingUndef(1.5f, 2.25f), -0.75f);
    EXPECT_EQ(GenMulRegardingUndef(1.5f, 2.0f), 3.0f);
    // NaN is an ordinary (defined) operand.
    EXPECT_TRUE(std::isnan(GenAddRegardingUndef(std::numeric_limits<float>::quiet_NaN(), 1.0f)));
}

TEST(CGenTypes, BarLengthInBeats)
{
    EXPECT_EQ(GenBarLengthInBeats(4, 2), 4.0);
    EXPECT_EQ(GenBarLengthInBeats(3, 2), 3.0);
    EXPECT_EQ(GenBarLengthInBeats(6, 3), 3.0);
    EXPECT_EQ(GenBarLengthInBeats(7, 3), 3.5);
    EXPECT_EQ(GenBarLengthInBeats(2, 1), 4.0);
    EXPECT_EQ(GenBarLengthInBeats(5, 4), 1.25);
    EXPECT_EQ(GenBarLengthInBeats(1, 0), 4.0);
}

TEST(CGenTypesPrint, PatternGraphTypeIncrementNamesAndKeys)
{
    std::vector<std::string> names, keys;
    for (TPatternGraphType t = TPatternGraphType_Min; t <= TPatternGraphType_Max; ++t) {
        names.push_back(TPatternGraphTypeName(t));
        keys.push_back(StyleGraphKeyForPatternGraphType(t));
    }
    EXPECT_EQ(names, (std::vector<std::string> {"TPatternGraphType_AccentFamily", "TPatternGraphType_AccentAddon",
                         "TPatternGraphType_System", "TPatternGraphType_Fill", "TPatternGraphType_Percussion"}));
    EXPECT_EQ(keys, (std::vector<std::string> {"kStyleGraphKey_AccentFam", "kStyleGraphKey_AccentAddon",
                        "kStyleGraphKey_System", "kStyleGraphKey_Fill", "kStyleGraphKey_Percussion"}));
    EXPECT_EQ(Streamed(TPatternGraphType_Undef), "TPatternGraphType_Undef");
    EXPECT_EQ(StyleGraphKeyForPatternGraphType(TPatternGraphType_Undef), "");
    EXPECT_EQ(Streamed(static_cast<TPatternGraphType>(5)), "unknown TPatternGraphType 5");
    EXPECT_EQ(std::string(kStyleGraphKey_Global), "kStyleGraphKey_Global");
    EXPECT_EQ(std::string(kStyleGraphKey_GlobalToMerged), "kStyleGraphKey_GlobalToMerged");
    TPatternGraphType t = TPatternGraphType_Undef;
    EXPECT_EQ(++t, TPatternGraphType_AccentFamily);
}

TEST(CGenTypesPrint, InstTypeNamesConcretisationAndGrooveTracks)
{
    struct Row {
        _TGenInstType type;
        const char* name;
        bool concretized;
        int grooveTrack;
    };
    const Row rows[] = {
        {TGenInstType_Undef, "TGenInstType_Undef", false, 12},
        {TGenInstType_Drums, "TGenInstType_Drums", false, 0},
        {TGenInstType_Bass, "TGenInstType_Bass", true, 13},
        {TGenInstType_Percussion, "TGenInstType_Percussion", false, 14},
        {TGenInstType_KeysA, "TGenInstType_KeysA", true, 16},
        {TGenInstType_KeysB, "TGenInstType_KeysB", true, 16},
        {TGenInstType_GuitarA, "TGenInstType_GuitarA", true, 15},
        {TGenInstType_GuitarB, "TGenInstType_GuitarB", true, 15},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(Streamed(r.type), r.name);
        EXPECT_EQ(InstTypeIsConcretized(r.type), r.concretized) << r.name;
        EXPECT_EQ(InstTypeGrooveTrackType(r.type), r.grooveTrack) << r.name;
        EXPECT_FALSE(InstName(r.type).empty());
    }
    EXPECT_EQ(Streamed(static_cast<_TGenInstType>(7)), "unknown TGenInstType 7");
    _TGenInstType t = TGenInstType_Undef;
    int n = 0;
    for (++t; t <= TGenInstType_Max; ++t)
        ++n;
    EXPECT_EQ(n, 7);
}

TEST(CGenTypesPrint, GenerateWhatAndSeedModeNames)
{
    const char* what[] = {"TGenerateWhat_PatternsOnly", "TGenerateWhat_All", "TGenerateWhat_Accents",
        "TGenerateWhat_Systems", "TGenerateWhat_Fills", "TGenerateWhat_Percussion", "TGenerateWhat_RenderOnly"};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(Streamed(static_cast<TGenerateWhat>(i)), what[i]);
    EXPECT_EQ(Streamed(static_cast<TGenerateWhat>(7)), "unknown TGenerateWhat 7");
    const char* modes[] = {"TRandomSeedMode_Passive", "TRandomSeedMode_SystemClock", "TRandomSeedMode_Keep",
        "TRandomSeedMode_Increment", "TRandomSeedMode_Reset"};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Streamed(static_cast<TRandomSeedMode>(i)), modes[i]);
    EXPECT_EQ(Streamed(static_cast<TRandomSeedMode>(-1)), "unknown TRandomSeedMode -1");
}

TEST(CGenTypes, SeedModeForEachLayerFollowsTheGenerateWhatTable)
{
    // Columns in the order Fill, AccentFamily, AccentAddon, System, Percussion;
    // true = the mode passed to the call, false = keep.
    const TPatternGraphType layers[] = {TPatternGraphType_Fill, TPatternGraphType_AccentFamily,
        TPatternGraphType_AccentAddon, TPatternGraphType_System, TPatternGraphType_Percussion};
    const bool table[8][5] = {
        {true, true, true, true, true},        // PatternsOnly
        {true, true, true, true, true},        // All
        {false, true, true, false, false},     // Accents
        {false, false, false, true, false},    // Systems
        {true, false, false, false, false},    // Fills
        {false, false, false, false, true},    // Percussion
        {false, false, false, false, false},   // RenderOnly
        {false, false, false, false, false},   // above 6: nothing
    };
    for (int w = 0; w < 8; ++w)
        for (int l = 0; l < 5; ++l)
            EXPECT_EQ(SeedModeForLayer(static_cast<TGenerateWhat>(w), TRandomSeedMode_Increment, layers[l]),
                table[w][l] ? TRandomSeedMode_Increment : TRandomSeedMode_Keep)
                << "what " << w << " layer " << layers[l];
}

TEST(CGenTypesPrint, StatusNames)
{
    struct Row {
        int status;
        const char* name;
    };
    const Row rows[] = {
        {-1, "st_AllStati"}, {0x00, "st_Deleted"}, {0x10, "st_Jump"}, {0x12, "st_Marker"},
        {0x20, "st_LaunchMidi"}, {0x24, "st_LaunchAudio"}, {0x30, "st_SignTime"}, {0x32, "st_SignKey"},
        {0x40, "st_40"}, {0x50, "st_Fader"}, {0x60, "st_MetaTrue"}, {0x70, "st_Meta"},
        {0x80, "st_NoteOff"}, {0x90, "st_NoteOn"}, {0xA0, "st_PolyTouch"}, {0xB0, "st_CtrChange"},
        {0xC0, "st_PrgChange"}, {0xD0, "st_Aftertouch"}, {0xE0, "st_PitchBend"}, {0xF0, "st_Sysex"},
        {0xF1, "st_MTC"}, {0xF2, "st_SongPos"}, {0xF3, "st_SongSel"}, {0xF4, "st_UndefF4"},
        {0xF5, "st_UndefF5"}, {0xF6, "st_Tune"}, {0xF7, "st_EOX"}, {0xF8, "st_Clock"},
        {0xF9, "st_UndefF9"}, {0xFA, "st_Start"}, {0xFB, "st_Continue"}, {0xFC, "st_Stop"},
        {0xFD, "st_UndefFD"}, {0xFE, "st_Sense"}, {0xFF, "st_Reset"}, {0x100, "st_Undefined"},
        // Channel statuses are named by their high nibble.
        {0x9F, "st_NoteOn"}, {0xB3, "st_CtrChange"}, {0x8A, "st_NoteOff"}, {0xE1, "st_PitchBend"},
        // Kinds of the sequencer's own that have no name.
        {0x11, "unknown TStatus 17"}, {0x7F, "unknown TStatus 127"}, {0x101, "unknown TStatus 257"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(TStatusName(r.status), r.name) << std::hex << r.status;
}

TEST(CGenTypesPrint, ArrangeMarkerTypeNames)
{
    const char* names[] = {"Type_Undef", "Type_Intro", "Type_Verse", "Type_Climb", "Type_Chorus", "Type_Bridge",
        "Type_Instrumental", "Type_Mellow", "Type_Outro"};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(Streamed(static_cast<TGenArrangeMarkerType>(i)), names[i]);
    EXPECT_EQ(Streamed(static_cast<TGenArrangeMarkerType>(9)), "unknown TGenArrangeMarkerType: 9");
    EXPECT_EQ(TGenArrangeMarkerTypeName(static_cast<TGenArrangeMarkerType>(-3)), "unknown TGenArrangeMarkerType: -3");
}

TEST(CGenTypesPrint, TransposeEvNames)
{
    const char* names[] = {"TTransposeEv_Dont", "TTransposeEv_Abstract", "TTransposeEv_ToScaleKeepShapeOfLine",
        "TTransposeEv_RelToRootNote_Diatonic", "TTransposeEv_RelToRootNote_Chromatic",
        "TTransposeEv_RelToNextRootNote_Diatonic", "TTransposeEv_RelToNextRootNote_Chromatic",
        "TTransposeEv_PlayOnlyIfContains7", "TTransposeEv_PlayOnlyIfContains9", "TTransposeEv_PlayOnlyIfContains11",
        "TTransposeEv_PlayOnlyIfContains13"};
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(Streamed(static_cast<TTransposeEv>(i)), names[i]);
    EXPECT_EQ(Streamed(static_cast<TTransposeEv>(11)), "unknown TTransposeEv 11");
    EXPECT_EQ(Streamed(static_cast<TTransposeEv>(-1)), "unknown TTransposeEv -1");
}

TEST(CGenTypes, QuantizeAndShortenNumbers)
{
    EXPECT_EQ(TQuantize_Off, 0);
    EXPECT_EQ(TQuantize_Prev, 1);
    EXPECT_EQ(TQuantize_PrevOrAt, 2);
    EXPECT_EQ(TQuantize_Next, 3);
    EXPECT_EQ(TQuantize_NextOrAt, 4);
    EXPECT_EQ(TQuantize_Closest, 5);
    // Mode 0 of the erase in a range shortens, mode 1 does not.
    EXPECT_EQ(TShortenEvsLeftTouchingRange_Yes, 0);
    EXPECT_EQ(TShortenEvsLeftTouchingRange_No, 1);
}
