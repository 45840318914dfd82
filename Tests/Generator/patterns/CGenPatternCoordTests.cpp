#include "Generator/CGenGeneratorParams.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/patterns/CGenComplIntMap.h"
#include "Generator/patterns/CGenPatternCoord.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace zkgtest;

namespace {

constexpr float U = TComplInt_Undef;

CGenPatternCoordConv Conv(float minC, float maxC, float minI, float maxI)
{
    CGenPatternCoordConv c;
    c.mMinComplInt = minC;
    c.mMaxComplInt = maxC;
    c.mMinIntnInt = minI;
    c.mMaxIntnInt = maxI;
    return c;
}

CGenEv Note(float pos, int noteNr, int velocity = 100) { return CGenEv(pos, 0.25f, st_NoteOn, noteNr, velocity); }

} // namespace

TEST(CGenPatternCoord, DistanceIgnoresUndefinedAxesAndIsCappedAtOne)
{
    const CGenPatternCoordInt origin(0.0f, 0.0f);
    EXPECT_FLOAT_EQ(origin.IntEuclideanDistDisregardingUndefPercent(CGenPatternCoordInt(100.0f, 100.0f)), 1.0f);
    EXPECT_FLOAT_EQ(origin.IntEuclideanDistDisregardingUndefPercent(CGenPatternCoordInt(100.0f, 0.0f)), std::sqrt(0.5f));
    // Complexity defined on one side only: that axis is no distance.
    EXPECT_FLOAT_EQ(CGenPatternCoordInt(U, 10.0f).IntEuclideanDistDisregardingUndefPercent(CGenPatternCoordInt(70.0f, 50.0f)),
        std::sqrt(0.5f * 0.16f));
    EXPECT_FLOAT_EQ(CGenPatternCoordInt(10.0f, U).IntEuclideanDistDisregardingUndefPercent(CGenPatternCoordInt(50.0f, 30.0f)),
        std::sqrt(0.08f));
    EXPECT_FLOAT_EQ(CGenPatternCoordInt().IntEuclideanDistDisregardingUndefPercent(origin), 0.0f);
    // Far beyond the scale the distance stays 1.
    EXPECT_FLOAT_EQ(origin.IntEuclideanDistDisregardingUndefPercent(CGenPatternCoordInt(300.0f, 300.0f)), 1.0f);

    // On the external scale each axis is measured against the graph's range.
    EXPECT_FLOAT_EQ(origin.ExtEuclideanDistDisregardingUndefPercent(CGenPatternCoordInt(25.0f, 100.0f), Conv(0, 50, 0, 200)),
        0.5f);
}

TEST(CGenPatternCoord, AddingRespectsUndefinedValuesAndClamps)
{
    CGenPatternCoordInt a(U, 90.0f);
    a.AddAndClampRegardingUndef(CGenPatternCoordInt(40.0f, 20.0f));
    EXPECT_EQ(a, CGenPatternCoordInt(40.0f, 100.0f));
    a = CGenPatternCoordInt(50.0f, U);
    a.AddAndClampRegardingUndef(CGenPatternCoordInt(U, 5.0f));
    EXPECT_EQ(a, CGenPatternCoordInt(50.0f, 5.0f));
    a = CGenPatternCoordInt(10.0f, 10.0f);
    a.AddAndClampRegardingUndef(CGenPatternCoordInt(-30.0f, 95.0f));
    EXPECT_EQ(a, CGenPatternCoordInt(0.0f, 100.0f));

    a = CGenPatternCoordInt(U, 10.0f);
    a.AddScaledAndClampRegardingUndef(CGenPatternCoordInt(40.0f, 80.0f), 0.5f, 2.0f);
    EXPECT_EQ(a, CGenPatternCoordInt(20.0f, 100.0f));

    // An undefined value becomes other * scale without a clamp.
    const CGenPatternCoordExt e(50.0f, U);
    const CGenPatternCoordExt sum = e.CalcAddScaledAndClampRegardingUndef(CGenPatternCoordExt(U, 150.0f), 1.0f, 2.0f);
    EXPECT_EQ(sum, CGenPatternCoordExt(50.0f, 300.0f));
    EXPECT_EQ(e, CGenPatternCoordExt(50.0f, U));
    CGenPatternCoordExt f(70.0f, 20.0f);
    f.AddScaledAndClampRegardingUndef(CGenPatternCoordExt(50.0f, -30.0f), 1.0f, 1.0f);
    EXPECT_EQ(f, CGenPatternCoordExt(100.0f, 0.0f));
}

TEST(CGenPatternCoord, ConversionsBothWaysPassUndefinedValuesThrough)
{
    const CGenPatternCoordConv conv = Conv(20.0f, 60.0f, 0.0f, 200.0f);
    EXPECT_EQ(conv.IntToExt(CGenPatternCoordInt(30.0f, 50.0f)), CGenPatternCoordExt(25.0f, 25.0f));
    EXPECT_EQ(conv.ExtToInt(CGenPatternCoordExt(25.0f, 25.0f)), CGenPatternCoordInt(30.0f, 50.0f));
    EXPECT_EQ(conv.IntToExt(CGenPatternCoordInt(U, 100.0f)), CGenPatternCoordExt(U, 50.0f));
    EXPECT_EQ(conv.ExtToInt(CGenPatternCoordExt(U, 50.0f)), CGenPatternCoordInt(U, 100.0f));
    // A range of width 0 gives 0; an undefined range passes the value through.
    EXPECT_FLOAT_EQ(CGenPatternCoordConv::IntToExtComponent(30.0f, 30.0f, 30.0f), 0.0f);
    CGenPatternCoordConv undef;
    undef.SetToUndef();
    EXPECT_EQ(undef.IntToExt(CGenPatternCoordInt(33.0f, 44.0f)), CGenPatternCoordExt(33.0f, 44.0f));
    EXPECT_EQ(undef.ExtToInt(CGenPatternCoordExt(33.0f, 44.0f)), CGenPatternCoordInt(33.0f, 44.0f));
}

TEST(CGenPatternCoord, ConversionSanityNamesEachInvertedAxis)
{
    std::string report;
    EXPECT_TRUE(Conv(0, 100, 0, 100).CheckContentSanity("pre ", report));
    EXPECT_EQ(report, "");
    EXPECT_FALSE(Conv(60, 20, 0, 100).CheckContentSanity("pre ", report));
    EXPECT_EQ(report, "pre CGenPatternCoordConv : MinComplInt() > MaxComplInt()\n");
    report.clear();
    EXPECT_FALSE(Conv(60, 20, 5, 4).CheckContentSanity("", report));
    EXPECT_EQ(report, "CGenPatternCoordConv : MinComplInt() > MaxComplInt()\n"
                      "CGenPatternCoordConv : MinIntnInt() > MaxIntnInt()\n");
    // Both bounds undefined is no fault.
    CGenPatternCoordConv undef;
    undef.SetToUndef();
    report.clear();
    EXPECT_TRUE(undef.CheckContentSanity("", report));
}

TEST(CGenPatternCoord, ConversionArchivesItsFourValues)
{
    const CGenPatternCoordConv conv = Conv(1.5f, 80.0f, U, 99.0f);
    EXPECT_EQ(TextRoundTrip(conv), conv);
    EXPECT_EQ(BinaryRoundTrip(conv), conv);
    EXPECT_EQ(XmlRoundTrip(conv), conv);
}

TEST(CGenPatternCoord, ClosenessAndVarianceStrategies)
{
    // Outside 9 to 11 a full closeness or variance gives 1.
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(0, 1.0f, 0.2f), 1.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(4, 0.1f, 1.0f), 1.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(1, 0.5f, 0.0f), 0.0f);
    // A closeness below 1 - variance is rejected.
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(9, 0.4f, 0.5f), 0.0f);
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(9, 0.7f, 0.5f), 0.7002004f, 1e-6);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(9, 1.0f, 0.5f), 1.0f);
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(2, 0.6f, 0.6f), 0.7589466f, 1e-6);
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(6, 0.8f, 0.5f), 0.3f, 1e-6);
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(7, 0.8f, 0.5f), 0.46f, 1e-6);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(5, 0.8f, 0.5f), 0.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(5, 0.5f, 0.5f), 1.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(12, 0.6f, 0.5f), 1.0f);
    // Strategy 0 is limited to 1.
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(0, 0.9f, 0.9f), 1.0f);
    // 3 is 2 with the zero-variance rejection of 1: sqrt(0.8 * 0.36 * 2) = 0.7589466.
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(3, 0.6f, 0.6f), 0.7589466f, 1e-6);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(3, 0.5f, 0.0f), 0.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(2, 0.5f, 0.0f), 0.0f); // d 0.5 > b 0
    // 8: b - d^10 = 0.5 - 0.2^10 = 0.4999999.
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(8, 0.8f, 0.5f), 0.4999999f, 1e-6);
    // 10 and 11: (0.7^16 + 0.5^16) = 0.0033385519, to the 1/8 = 0.4902807,
    // to the 1/4 = 0.2403751.
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(10, 0.7f, 0.5f), 0.4902807f, 1e-6);
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(11, 0.7f, 0.5f), 0.2403751f, 1e-6);
    // 9 to 11 skip the early 1 and still reject and cap.
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(10, 0.4f, 0.5f), 0.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(11, 1.0f, 0.5f), 1.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(9, 0.3f, 1.0f), 1.0f); // (0.3^16 + 1)^(1/16) capped
    // 4 is 1 once the rejection passed; 1 rejects a zero variance.
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(4, 0.8f, 0.5f), 1.0f);
    EXPECT_FLOAT_EQ(ProbFactorForClosenessAndVariance(4, 0.4f, 0.5f), 0.0f);
    EXPECT_NEAR(ProbFactorForClosenessAndVariance(1, 0.6f, 0.5f), 0.7810250f, 1e-6); // sqrt(0.36 + 0.25)
}

TEST(CGenPatternCoord, RatingAgainstTheWantedCoordinate)
{
    CGenGeneratorParams params;
    params.mGenerateStartLeftBarPosAbs = 0.0f;
    params.mPatternCoordStaticAcInt = CGenPatternCoordInt(50.0f, 50.0f);
    const CGenPatternCoordConv identity = Conv(0, 100, 0, 100);
    float closest = 1.0f;
    // dist = sqrt(0.5 * 0.3^2), closeness 1 - dist against the variance 0.5, strategy 9.
    EXPECT_NEAR(ProbFactorForPatternCoordIntAndArrangeMarkersInt(&params, TPatternGraphType_AccentFamily, identity, 0.5f,
                    0.0f, CGenPatternCoordInt(80.0f, 50.0f), closest),
        0.787902f, 1e-5);
    EXPECT_NEAR(closest, 0.2121320f, 1e-6);
    // A closer candidate lowers `closest`, a farther one leaves it.
    ProbFactorForPatternCoordIntAndArrangeMarkersInt(&params, TPatternGraphType_AccentFamily, identity, 0.5f, 0.0f,
        CGenPatternCoordInt(90.0f, 90.0f), closest);
    EXPECT_NEAR(closest, 0.2121320f, 1e-6);
    // dist 0.5 against a variance of 0.3: rejected.
    EXPECT_FLOAT_EQ(ProbFactorForPatternCoordIntAndArrangeMarkersInt(&params, TPatternGraphType_AccentFamily, identity,
                        0.7f, 0.0f, CGenPatternCoordInt(0.0f, 0.0f), closest),
        0.0f);

    EXPECT_FLOAT_EQ(ProbFactorForPatternCoordIntAndArrangeMarkersInt(nullptr, TPatternGraphType_AccentFamily, identity,
                        0.5f, 0.0f, CGenPatternCoordInt(0.0f, 0.0f), closest),
        1.0f);
    EXPECT_FLOAT_EQ(ProbFactorForPatternCoordIntAndArrangeMarkersInt(&params, TPatternGraphType_AccentFamily, identity,
                        0.0f, 0.0f, CGenPatternCoordInt(0.0f, 0.0f), closest),
        1.0f);
    params.mPatternCoordStaticAcInt = CGenPatternCoordInt();
    EXPECT_FLOAT_EQ(ProbFactorForPatternCoordIntAndArrangeMarkersInt(&params, TPatternGraphType_AccentFamily, identity,
                        0.5f, 0.0f, CGenPatternCoordInt(0.0f, 0.0f), closest),
        1.0f);
}

TEST(CGenComplIntMap, DefaultWeightsAndClampedWrites)
{
    const CGenComplIntMap& map = CGenComplIntMap::defaultMap();
    EXPECT_FLOAT_EQ(map.Scale(), 2.020202f);
    const float expected[31] = {0, 0, 0.1f, 0.1f, 1, 7, 4, 14, 8, 21, 1, 6, 3, 4, 0, 5, 2, 4, 1, 4, 2, 3, 0, 3, 1, 2, 2,
        1, 1, 2, 2};
    for (int i = 0; i < 31; ++i)
        EXPECT_FLOAT_EQ(map.ValueOfMember(i), expected[i]) << i;
    EXPECT_FLOAT_EQ(map.ValueOfMember(31), 0.0f);

    CGenComplIntMap m;
    EXPECT_FLOAT_EQ(m.Scale(), 1.0f);
    EXPECT_FLOAT_EQ(m.ValueOfMember(9), 0.0f);
    m.SetValueOfMember(9, 150.0f);
    m.SetValueOfMember(10, -3.0f);
    m.SetValueOfMember(31, 5.0f);
    EXPECT_FLOAT_EQ(m.ValueOfMember(9), 100.0f);
    EXPECT_FLOAT_EQ(m.ValueOfMember(10), 0.0f);
    EXPECT_EQ(TextRoundTrip(map), map);
}

TEST(CGenComplIntMap, BeatComplexityByPlaceWithNeighbourBonuses)
{
    const CGenComplIntMap& map = CGenComplIntMap::defaultMap();
    const float s = map.Scale();
    // Hi-hats on the second beat's first three sixteenths: places 4, 5, 6
    // (1 + 7 + 4); the "e" has the same note before (1) and after (2) and so
    // on both sides (2).
    CGenEvs hats(4.0f);
    for (float p : {1.0f, 1.25f, 1.5f})
        hats.push_back(Note(p, 42));
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(hats, s, 0.0f, 1.0f, 1.0f), 17.0f * s);
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(hats, s, 0.0f, 2.0f, 1.0f), 0.0f);

    // A kick on the bar's last sixteenth leads into the next downbeat; a snare there doesn't.
    CGenEvs kick(4.0f);
    kick.push_back(Note(3.75f, 36));
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(kick, s, 0.0f, 3.0f, 1.0f), 7.0f * s);
    CGenEvs snare(4.0f);
    snare.push_back(Note(3.75f, 38));
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(snare, s, 0.0f, 3.0f, 1.0f), 5.0f * s);

    // A triplet eighth and a place off every grid.
    CGenEvs odd(4.0f);
    odd.push_back(Note(1.0f + 1.0f / 3.0f, 38));
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(odd, 1.0f, 0.0f, 1.0f, 1.0f), 1.0f);
    odd[0].mBeatPos = 1.1f;
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(odd, 1.0f, 0.0f, 1.0f, 1.0f), 1.0f);
    odd[0].mBeatPos = 1.9f;
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(odd, 1.0f, 0.0f, 1.0f, 1.0f), 2.0f);
    // A silent note adds nothing.
    odd[0].mMB2 = 0;
    EXPECT_FLOAT_EQ(map.ComplIntInOneBeat(odd, 1.0f, 0.0f, 1.0f, 1.0f), 0.0f);
}

TEST(CGenComplIntMap, PatternComplexityHearsTheLayersOwnKitPieces)
{
    const CGenDrumMap& gm = CGenDrumMap::GeneralMidi();
    const CGenComplIntMap& map = CGenComplIntMap::defaultMap();
    const float s = map.Scale();
    CGenEvs evs(4.0f);
    evs.push_back(Note(0.0f, 36));
    for (float p : {1.0f, 1.25f, 1.5f})
        evs.push_back(Note(p, 42));
    const CGenSignTime fourFour(4, 2);
    EXPECT_FLOAT_EQ(ComplIntForDrumEvs(gm, TPatternCoordComplAnalysis_PerBar, TPatternGraphType_System, evs, s, fourFour),
        17.0f * s);
    EXPECT_FLOAT_EQ(
        ComplIntForDrumEvs(gm, TPatternCoordComplAnalysis_PerBar, TPatternGraphType_AccentFamily, evs, s, fourFour), 0.0f);
    // Per beat: the mean over the one beat that holds something.
    EXPECT_FLOAT_EQ(ComplIntForDrumEvs(gm, TPatternCoordComplAnalysis_PerBeatWithoutKitPieces, TPatternGraphType_System,
                        evs, s, fourFour),
        17.0f * s);
    // Two bars: each bar's complexity times length / bar length.
    evs.mLength = 8.0f;
    EXPECT_FLOAT_EQ(ComplIntForDrumEvs(gm, TPatternCoordComplAnalysis_PerBar, TPatternGraphType_System, evs, s, fourFour),
        34.0f * s);
    // Degenerate metres and lengths.
    EXPECT_TRUE(GenIsUndef(
        ComplIntForDrumEvs(gm, TPatternCoordComplAnalysis_PerBar, TPatternGraphType_System, evs, s, CGenSignTime(0, 2))));
    evs.mLength = 0.0f;
    EXPECT_FLOAT_EQ(ComplIntForDrumEvs(gm, TPatternCoordComplAnalysis_PerBar, TPatternGraphType_System, evs, s, fourFour),
        0.0f);
    EXPECT_TRUE(GenDrumNoteCountsForPatternGraphType(gm, TPatternGraphType_Percussion, 54));
    EXPECT_FALSE(GenDrumNoteCountsForPatternGraphType(gm, TPatternGraphType_Percussion, 42));
    EXPECT_TRUE(GenDrumNoteCountsForPatternGraphType(gm, TPatternGraphType_Fill, 42));
}

TEST(CGenComplIntMap, IntensityOfNotesAndPatterns)
{
    const CGenDrumMap& gm = CGenDrumMap::GeneralMidi();
    EXPECT_FLOAT_EQ(IntnIntForDrumNote(gm, TPatternCoordIntnAnalysis_GridBins, Note(0, 36, 40), 36), 40.5f);
    EXPECT_FLOAT_EQ(IntnIntForDrumNote(gm, TPatternCoordIntnAnalysis_GridBins, Note(0, 36, 80), 36), 81.0f);
    EXPECT_FLOAT_EQ(IntnIntForDrumNote(gm, TPatternCoordIntnAnalysis_GridBins, Note(0, 36, 110), 36), 94.5f);
    EXPECT_FLOAT_EQ(IntnIntForDrumNote(gm, TPatternCoordIntnAnalysis_GridBins, Note(0, 49, 127), 49), 100.0f);

    CGenEvs evs(2.0f);
    evs.push_back(Note(0.0f, 36, 80));
    evs.push_back(Note(0.0f, 42, 80));
    evs.push_back(Note(1.0f, 42, 40));
    // Bin 0: 81 + 45 limited to 100; bin 1: 22.5.
    EXPECT_NEAR(IntnIntForDrumEvs(gm, TPatternCoordIntnAnalysis_GridBins, evs, 1.0f), 61.25f, 1e-4);
    // Without counting: the strongest note of each bin.
    EXPECT_NEAR(IntnIntForDrumEvs(gm, TPatternCoordIntnAnalysis_NoCount, evs, 1.0f), 51.75f, 1e-4);
    EXPECT_FLOAT_EQ(IntnIntForDrumEvs(gm, TPatternCoordIntnAnalysis_NoCount, evs, 0.0f), 0.0f);
    EXPECT_FLOAT_EQ(IntnIntForDrumEvs(gm, TPatternCoordIntnAnalysis_NoCount, CGenEvs(2.0f), 1.0f), 0.0f);

    const CGenPatternCoordInt coord = AnalyzePatternCoordIntForDrums(gm, TPatternCoordComplAnalysis_PerBar,
        TPatternCoordIntnAnalysis_NoCount, TPatternGraphType_AccentFamily, evs, CGenSignTime(4, 2), 1.0f);
    EXPECT_FLOAT_EQ(coord.mComplInt, 0.0f);
    EXPECT_NEAR(coord.mIntnInt, 81.0f, 1e-4);
}
