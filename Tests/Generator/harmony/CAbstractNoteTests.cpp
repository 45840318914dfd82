#include "Generator/harmony/CAbstractNote.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace zkgtest;

namespace {

CAbstractOffset Offset(int octaves, int steps, TStepsType type = TStepsType_Diatonic,
    TStepsDirection direction = TStepsDirection_Normal, int64_t towardsNoteNr = -1, TWhere where = TWhere_CurrentChord)
{
    CAbstractOffset o;
    o.mWhere = where;
    o.mOctaves = static_cast<int8_t>(octaves);
    o.mSteps = static_cast<int8_t>(steps);
    o.mStepsType = type;
    o.mStepsDirection = direction;
    o.mStepsDirectionTowardsNoteNr = towardsNoteNr;
    return o;
}

} // namespace

TEST(CAbstractNoteEnums, WhereStrings)
{
    const char* texts[] = {"", "p", "n", "c", "pc", "nc", "C", "pC", "nC", "k", "pk", "nk", "a"};
    for (int w = 0; w <= 12; ++w)
        EXPECT_EQ(TWhereToString(static_cast<TWhere>(w)), texts[w]) << w;
    EXPECT_EQ(TWhereToString(TWhere_Undef), "TWhere_Undef");
    EXPECT_EQ(TWhereToString(static_cast<TWhere>(13)), "unknown TWhere 13");
    EXPECT_EQ(TWhere_Default, TWhere_CurrentChord);
}

TEST(CAbstractNoteEnums, DegreeTextsBothWays)
{
    const char* texts[] = {"B", "R", "0", "1", "2", "3", "4", "5", "6", "7", "M", "P", "N", "B2", "B3", "B4", "B5",
        "B6", "B7"};
    TAbstractDegree d = TAbstractDegree_BassNoteLow;
    for (int i = 0; i <= 18; ++i, ++d) {
        EXPECT_EQ(d, static_cast<TAbstractDegree>(i));
        EXPECT_EQ(TAbstractDegreeToString(d), texts[i]);
        EXPECT_EQ(TAbstractDegreeFromString(texts[i]), d);
    }
    EXPECT_EQ(TAbstractDegreeToString(TAbstractDegree_Undef), "Undef");
    EXPECT_EQ(TAbstractDegreeToString(static_cast<TAbstractDegree>(19)), "unknown TAbstractDegree 19");
    for (const char* bad : {"", "X", "8", "B8", "M60", "Undef", "b"})
        EXPECT_EQ(TAbstractDegreeFromString(bad), TAbstractDegree_Undef) << bad;
    EXPECT_EQ(TAbstractDegree_B1, TAbstractDegree_BassNoteLow);
    EXPECT_TRUE(IsReferencingDegree(static_cast<TAbstractDegree>(11)));
    EXPECT_TRUE(IsReferencingDegree(static_cast<TAbstractDegree>(12)));
    EXPECT_FALSE(IsReferencingDegree(TAbstractDegree_NoteNr));
    EXPECT_FALSE(IsReferencingDegree(TAbstractDegree_B2));
}

TEST(CAbstractNoteEnums, AproxChromaticSteps)
{
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree_Undef), 0.0);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree_BassNoteLow), 0.0);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree_BassNoteAboveRoot), 0.1);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree_Root), 0.0);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree__2), 1.75);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree__3), 3.5);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree__4), 5.0);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree__5), 7.0);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree__6), 8.5);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree__7), 10.5);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree_NoteNr), 0.0);
    EXPECT_EQ(DegreeToAproxChromaticSteps(TAbstractDegree_B5), 0.0);
}

TEST(CAbstractNoteEnums, StepsTypeAndDirectionTexts)
{
    const char* types[] = {"d", "c", "s0", "s1", "s2", "s3", "s4", "s5", "s6", "s7", "s8", "s9", "h", "t", "o"};
    for (int t = 0; t <= 14; ++t)
        EXPECT_EQ(TStepsTypeToString(static_cast<TStepsType>(t)), types[t]);
    EXPECT_EQ(TStepsTypeToString(static_cast<TStepsType>(15)), "unknown TStepsType 15");
    const char* directions[] = {"", "n", "p", "a", "nn", "np", "M"};
    for (int d = 0; d <= 6; ++d)
        EXPECT_EQ(TStepsDirectionToString(static_cast<TStepsDirection>(d)), directions[d]);
    EXPECT_EQ(TStepsDirectionToString(static_cast<TStepsDirection>(7)), "unknown TStepsDirection 7");
}

TEST(CAbstractOffsetText, PrintForms)
{
    EXPECT_EQ(Offset(1, 2).ToString(), "+1d+2");
    EXPECT_EQ(Offset(0, 0).ToString(), "+0");
    EXPECT_EQ(Offset(-2, 0).ToString(), "-2") << "zero plain steps print no step part";
    EXPECT_EQ(Offset(-2, 0, TStepsType_Chord).ToString(), "-2h+0") << "zero steps of another kind keep their kind";
    EXPECT_EQ(Offset(CAbstractOffset::kOctavesUndef, 1, TStepsType_Chord).ToString(), "h+1");
    EXPECT_EQ(Offset(CAbstractOffset::kOctavesUndef, 0, TStepsType_ChordOption).ToString(), "o+0");
    EXPECT_EQ(Offset(CAbstractOffset::kOctavesUndef, 0).ToString(), "d+0") << "no octaves: the step part is the text";
    EXPECT_EQ(Offset(1, 0, TStepsType_Diatonic, TStepsDirection_Normal, 7).ToString(), "+1d7+0");
    EXPECT_EQ(Offset(CAbstractOffset::kOctavesUndef, -2, TStepsType_Chromatic).ToString(), "c-2");
    EXPECT_EQ(Offset(0, 3, TStepsType_Chromatic, TStepsDirection_TowardsNoteNr, 60).ToString(), "+0cM60+3");
    EXPECT_EQ(Offset(CAbstractOffset::kOctavesUndef, -1, static_cast<TStepsType>(5), TStepsDirection_TowardsNoteNext)
                  .ToString(),
        "s3nn-1");
    EXPECT_EQ(Offset(1, 1, TStepsType_ChordTriad, TStepsDirection_TowardsNotePrev).ToString(), "+1tnp+1");
    EXPECT_EQ(Offset(-1, 4, TStepsType_Diatonic, TStepsDirection_FromPrevRoot).ToString(), "-1dp+4");
    EXPECT_EQ(Offset(0, -4, TStepsType_Diatonic, TStepsDirection_TowardsAbstractNote).ToString(), "+0da-4");
    EXPECT_EQ(Offset(0, 2, TStepsType_Diatonic, TStepsDirection_TowardsNextRoot).ToString(), "+0dn+2");
}

TEST(CAbstractOffsetText, ReadsWhatItPrints)
{
    const std::vector<CAbstractOffset> offsets = {
        Offset(1, 2), Offset(0, 0), Offset(-2, 0), Offset(CAbstractOffset::kOctavesUndef, 1, TStepsType_Chord),
        Offset(-2, 0, TStepsType_Chord), Offset(CAbstractOffset::kOctavesUndef, 0, TStepsType_ChordOption),
        Offset(CAbstractOffset::kOctavesUndef, 0), Offset(1, 0, TStepsType_Diatonic, TStepsDirection_Normal, 7),
        Offset(CAbstractOffset::kOctavesUndef, 0, TStepsType_Chromatic, TStepsDirection_TowardsNoteNr, 3),
        Offset(0, 3, TStepsType_Chromatic, TStepsDirection_TowardsNoteNr, 60),
        Offset(CAbstractOffset::kOctavesUndef, -1, static_cast<TStepsType>(11), TStepsDirection_TowardsNoteNext),
        Offset(1, 1, TStepsType_ChordTriad, TStepsDirection_TowardsNotePrev),
        Offset(-1, 4, TStepsType_Diatonic, TStepsDirection_FromPrevRoot),
        Offset(0, -4, TStepsType_ChordOption, TStepsDirection_TowardsAbstractNote),
        Offset(0, 2, TStepsType_Diatonic, TStepsDirection_TowardsNextRoot),
    };
    for (const auto& o : offsets) {
        CAbstractOffset back;
        size_t used = 0;
        const std::string text = o.ToString();
        ASSERT_TRUE(back.SetFromStringAndUsedStringLength(text + ",rest", &used)) << text;
        EXPECT_EQ(used, text.size()) << text;
        EXPECT_EQ(back, o) << text;
    }
    CAbstractOffset o = Offset(3, 3);
    for (const char* bad : {"", "x", ",", "d", "dn", "+1d"}) {
        EXPECT_FALSE(o.SetFromString(bad)) << bad;
        EXPECT_EQ(o, Offset(3, 3)) << bad;
    }
}

TEST(CAbstractOffsetsText, ListPunctuation)
{
    EXPECT_EQ(std::string(CAbstractOffsets::kStartCharacter), "[");
    EXPECT_EQ(std::string(CAbstractOffsets::kSeparatorCharacter), ",");
    EXPECT_EQ(std::string(CAbstractOffsets::kEndCharacter), "]");
    CAbstractOffsets list {Offset(-1, 0), Offset(CAbstractOffset::kOctavesUndef, -2, TStepsType_Chromatic)};
    EXPECT_EQ(list.ToString(), "[-1,c-2]");
    EXPECT_EQ(CAbstractOffsets().ToString(), "");
    CAbstractOffsets back;
    size_t used = 0;
    ASSERT_TRUE(back.SetFromString("[-1,c-2]}", &used));
    EXPECT_EQ(used, 8u);
    EXPECT_EQ(back, list);
    for (const char* bad : {"-1,c-2]", "[-1,c-2", "[x]", ""}) {
        EXPECT_FALSE(back.SetFromString(bad)) << bad;
        EXPECT_EQ(back, list) << bad;
    }
    EXPECT_TRUE(back.SetFromString("[]"));
    EXPECT_TRUE(back.empty());
}

TEST(CAbstractOffsetsText, Queries)
{
    const CAbstractOffsets zero {Offset(1, 0), Offset(-1, 0, TStepsType_Chord)};
    EXPECT_TRUE(zero.ContainOnlyZeroSteps());
    EXPECT_TRUE(CAbstractOffsets().ContainOnlyZeroSteps());
    const CAbstractOffsets mixed {Offset(0, 1, static_cast<TStepsType>(3), TStepsDirection_TowardsNextRoot),
        Offset(0, 2, static_cast<TStepsType>(4))};
    EXPECT_FALSE(mixed.ContainOnlyZeroSteps());
    EXPECT_TRUE(mixed.ContainStepsDirection(TStepsDirection_TowardsNextRoot));
    EXPECT_FALSE(mixed.ContainStepsDirection(TStepsDirection_FromPrevRoot));
    EXPECT_TRUE(mixed.ContainStepsDirectionOtherThan(TStepsDirection_Normal));
    EXPECT_FALSE(zero.ContainStepsDirectionOtherThan(TStepsDirection_Normal));
    EXPECT_TRUE(mixed.ContainOnlyAbstractScaleSetSmallerThan(static_cast<TStepsType>(5)));
    EXPECT_FALSE(mixed.ContainOnlyAbstractScaleSetSmallerThan(static_cast<TStepsType>(4)));
    EXPECT_FALSE(zero.ContainOnlyAbstractScaleSetSmallerThan(TStepsType_AbstractScaleSet9));
}

TEST(CAbstractNoteText, FormsBothWays)
{
    struct Row {
        const char* text;
        TWhere where;
        TAbstractDegree degree;
        int64_t noteNr;
        size_t offsets;
    };
    const Row rows[] = {
        {"{1}", TWhere_CurrentChord, TAbstractDegree_Root, -1, 0},
        {"{pc5[+1d+2]}", TWhere_PrevHarmCenter, TAbstractDegree__5, -1, 1},
        {"{M60}", TWhere_CurrentChord, TAbstractDegree_NoteNr, 60, 0},
        {"{nB3[-1,c-2]}", TWhere_NextChord, TAbstractDegree_B3, -1, 2},
        {"{R[h+1]}", TWhere_CurrentChord, TAbstractDegree_BassNoteCloseToRoot, -1, 1},
        {"{B}", TWhere_CurrentChord, TAbstractDegree_BassNoteLow, -1, 0},
        {"{pCB7}", TWhere_PrevHarmCenterAsMajor, TAbstractDegree_B7, -1, 0},
        {"{nk0}", TWhere_NextSignKey, TAbstractDegree_BassNoteAboveRoot, -1, 0},
        {"{aP}", TWhere_GetFromAbstractNote, TAbstractDegree_RefPrev, -1, 0},
        {"{cN[+0s9nn-3]}", TWhere_CurrentHarmCenter, TAbstractDegree_RefNext, -1, 1},
        {"{C7}", TWhere_CurrentHarmCenterAsMajor, TAbstractDegree__7, -1, 0},
        {"{kM127[-2]}", TWhere_CurrentSignKey, TAbstractDegree_NoteNr, 127, 1},
    };
    for (const auto& r : rows) {
        CAbstractNote n;
        ASSERT_TRUE(n.SetFromString(r.text)) << r.text;
        EXPECT_EQ(n.mWhere, r.where) << r.text;
        EXPECT_EQ(n.mDegree, r.degree) << r.text;
        EXPECT_EQ(n.mNoteNrForDegreeNoteNr, r.noteNr) << r.text;
        EXPECT_EQ(n.mOffsets.size(), r.offsets) << r.text;
        EXPECT_EQ(n.ToString(), r.text);
        EXPECT_EQ(CAbstractNote(r.text), n);
    }
    const CAbstractNote n("{nB3[-1,c-2]}");
    EXPECT_EQ(n.mOffsets[0], Offset(-1, 0));
    EXPECT_EQ(n.mOffsets[1], Offset(CAbstractOffset::kOctavesUndef, -2, TStepsType_Chromatic));
}

TEST(CAbstractNoteText, EdgesOfPrinting)
{
    CAbstractNote n(TWhere_CurrentChord, TAbstractDegree_Root);
    n.mOffsets.push_back(Offset(1, 0));
    EXPECT_EQ(n.ToString(), "{1[+1]}");
    n.mOffsets[0] = Offset(1, 0, TStepsType_Chord);
    EXPECT_EQ(n.ToString(), "{1[+1h+0]}");
    n.mOffsets[0] = Offset(CAbstractOffset::kOctavesUndef, 2);
    EXPECT_EQ(n.ToString(), "{1[d+2]}");
    EXPECT_EQ(CAbstractNote().ToString(), "{Undef}");
    EXPECT_TRUE(CAbstractNote().IsUndef());
}

TEST(CAbstractNoteText, ZeroStepsOfAKindReadBackAsPrinted)
{
    // "cM3-0": no octaves, chromatic, towards note number 3, steps -0 = 0.
    // "cn64+3" follows without a comma: chromatic, towards the next root,
    // note number 64, steps +3. The first offset has nothing but its step
    // part, so that part must be printed (with the sign of 0, "+0") or the
    // list would read "[,cn64+3]".
    CAbstractNote n;
    ASSERT_TRUE(n.SetFromString("{n5[cM3-0cn64+3]}"));
    EXPECT_EQ(n.mWhere, TWhere_NextChord);
    EXPECT_EQ(n.mDegree, TAbstractDegree__5);
    ASSERT_EQ(n.mOffsets.size(), 2u);
    EXPECT_EQ(n.mOffsets[0],
        Offset(CAbstractOffset::kOctavesUndef, 0, TStepsType_Chromatic, TStepsDirection_TowardsNoteNr, 3));
    EXPECT_EQ(n.mOffsets[1],
        Offset(CAbstractOffset::kOctavesUndef, 3, TStepsType_Chromatic, TStepsDirection_TowardsNextRoot, 64));
    EXPECT_EQ(n.ToString(), "{n5[cM3+0,cn64+3]}");
    CAbstractNote back;
    ASSERT_TRUE(back.SetFromString("{n5[cM3+0,cn64+3]}"));
    EXPECT_EQ(back, n);
    EXPECT_EQ(back.ToString(), "{n5[cM3+0,cn64+3]}");

    // Plain zero steps without octaves: "d+0" both ways.
    ASSERT_TRUE(n.SetFromString("{1[d-0]}"));
    ASSERT_EQ(n.mOffsets.size(), 1u);
    EXPECT_EQ(n.mOffsets[0], Offset(CAbstractOffset::kOctavesUndef, 0));
    EXPECT_EQ(n.ToString(), "{1[d+0]}");
}

TEST(CAbstractNoteText, ReadingSkipsBlanksAndOpeners)
{
    CAbstractNote n;
    ASSERT_TRUE(n.SetFromString("  ({n3})"));
    EXPECT_EQ(n.ToString(), "{n3}");
    ASSERT_TRUE(n.SetFromString("\t5"));
    EXPECT_EQ(n.ToString(), "{5}");
}

TEST(CAbstractNoteText, EmptyOrUnreadableTextLeavesTheNote)
{
    const CAbstractNote original("{pc5[+1d+2]}");
    CAbstractNote n = original;
    EXPECT_TRUE(n.SetFromString(""));
    EXPECT_EQ(n, original);
    for (const char* bad : {"{X}", "{pc}", "{", "   ", "{1[+1d}", "{1[x]}", "{nn1}", "{9}"}) {
        EXPECT_FALSE(n.SetFromString(bad)) << bad;
        EXPECT_EQ(n, original) << bad;
    }
}

TEST(CAbstractNote, DegreeTextAndWhereQueries)
{
    CAbstractNote n;
    EXPECT_TRUE(n.SetDegreeAndNoteNrForDegreeNoteNrFromString("M64"));
    EXPECT_EQ(n.mDegree, TAbstractDegree_NoteNr);
    EXPECT_EQ(n.mNoteNrForDegreeNoteNr, 64);
    EXPECT_TRUE(n.SetDegreeAndNoteNrForDegreeNoteNrFromString("B4"));
    EXPECT_EQ(n.mDegree, TAbstractDegree_B4);
    EXPECT_FALSE(n.SetDegreeAndNoteNrForDegreeNoteNrFromString("Q"));
    EXPECT_EQ(n.mDegree, TAbstractDegree_B4);

    CAbstractNote w("{n1}");
    w.mOffsets.push_back(Offset(0, 1, TStepsType_Diatonic, TStepsDirection_Normal, -1, TWhere_CurrentSignKey));
    EXPECT_FALSE(w.HasWhereOtherThan({TWhere_NextChord, TWhere_CurrentSignKey}));
    EXPECT_TRUE(w.HasWhereOtherThan({TWhere_NextChord}));
    EXPECT_TRUE(w.HasWhereOtherThan({TWhere_CurrentSignKey}));
}

TEST(CAbstractNoteArchive, RoundTripsAndFieldOrder)
{
    CAbstractNote n("{nB3[-1,c-2]}");
    n.mOffsets[1].mWhere = TWhere_NextSignKey;
    n.mOffsets.push_back(Offset(0, 3, TStepsType_Chromatic, TStepsDirection_TowardsNoteNr, 60));
    EXPECT_EQ(TextRoundTrip(n), n);
    EXPECT_EQ(BinaryRoundTrip(n), n);
    EXPECT_EQ(XmlRoundTrip(n), n);
    EXPECT_EQ(TextRoundTrip(CAbstractNote()), CAbstractNote());
    const CAbstractNote nr("{M60}");
    EXPECT_EQ(XmlRoundTrip(nr), nr);

    const std::string xml = ToXmlArchive(n);
    const char* order[] = {"<mDegree>", "<mNoteNrForDegreeNoteNr>", "<mOffsets", "<TCAbstractOffsets", "<item",
        "<mWhere>", "<mStepsType>", "<mOctaves>", "<mSteps>", "<mStepsDirection>", "<mStepsDirectionTowardsNoteNr>"};
    size_t at = 0;
    for (const char* tag : order) {
        const size_t p = xml.find(tag, at);
        ASSERT_NE(p, std::string::npos) << tag << "\n" << xml;
        at = p + 1;
    }
    // The note's own mWhere comes last, after the offsets.
    EXPECT_GT(xml.rfind("<mWhere>2</mWhere>"), xml.rfind("</TCAbstractOffsets>"));
}

TEST(CAbstractNoteArchive, Version0HoldsOneOffset)
{
    // Header 0 0, mDegree 7, mNoteNrForDegreeNoteNr -1, "deserializedOffset"
    // (header 0 0, mWhere 0, mStepsType 0, mOctaves 1, mSteps 2,
    // mStepsDirection 0, number -1), mWhere 4.
    CAbstractNote n("{M60[+5,+6]}");
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 0 7 -1 0 0 0 0 1 2 0 -1 4", n));
    EXPECT_EQ(n.ToString(), "{pc5[+1d+2]}");
    EXPECT_EQ(n.mNoteNrForDegreeNoteNr, -1);
}
