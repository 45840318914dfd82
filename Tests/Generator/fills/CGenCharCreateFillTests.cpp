// Fill creation: the bar gate, the seed and draw of a place, the position a
// fill ends on, the cut of a fill longer than its region, the deductions and
// the overlay ranges.
//
// The random steps are worked out by hand: one step is
// state = (state * 1103515245 + 12345) & 0x7fffffff, the mask being mod 2^31.
#include "FillTestSupport.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace zkgtest;

// ----- the bar gate

TEST(CGenCharCreateFill, BarGateWithIntervalFourPassesAtTheFourthBars)
{
    // barsSince % 4 == 3: only 3 and 7 of 0..8, wherever the region starts.
    const std::vector<bool> expected {false, false, false, true, false, false, false, true, false};
    for (const float start : {0.0f, 2.0f}) {
        // On a bar line, and 2 beats into the bar.
        Song song(start, 64.0f);
        for (int barsSince = 0; barsSince <= 8; ++barsSince)
            EXPECT_EQ(CGenCharCreateFill::BarGatePasses(song.cc, Place(0.0f, barsSince, start, 0), 4.0),
                expected[static_cast<size_t>(barsSince)])
                << "start " << start << " barsSince " << barsSince;
    }
    // A region of one bar: its single bar counts no differently.
    Song single(0.0f, 4.0f);
    for (int barsSince = 0; barsSince <= 8; ++barsSince)
        EXPECT_EQ(CGenCharCreateFill::BarGatePasses(single.cc, Place(0.0f, barsSince, 0.0f, 0), 4.0),
            expected[static_cast<size_t>(barsSince)])
            << barsSince;
}

TEST(CGenCharCreateFill, BarGateKeepsTheOpeningWholeBarFreeOfFills)
{
    // With interval 2 barsSince 1 would pass (1 % 2 == 1); in a region that
    // starts on a bar line and runs longer than its first bar it doesn't, as
    // the fill would close the first bar played.
    Song onBar(0.0f, 64.0f);
    EXPECT_FALSE(CGenCharCreateFill::BarGatePasses(onBar.cc, Place(0.0f, 1, 0.0f, 0), 2.0));
    EXPECT_TRUE(CGenCharCreateFill::BarGatePasses(onBar.cc, Place(0.0f, 3, 0.0f, 0), 2.0));
    EXPECT_FALSE(CGenCharCreateFill::BarGatePasses(onBar.cc, Place(0.0f, 2, 0.0f, 0), 2.0));
    // Starting 2 beats into the bar: the first bar is a pickup, and it may.
    Song midBar(2.0f, 64.0f);
    EXPECT_TRUE(CGenCharCreateFill::BarGatePasses(midBar.cc, Place(0.0f, 1, 2.0f, 0), 2.0));
    // A region of a single bar (length 4 = the first bar's length) may too.
    Song single(0.0f, 4.0f);
    EXPECT_TRUE(CGenCharCreateFill::BarGatePasses(single.cc, Place(0.0f, 1, 0.0f, 0), 2.0));
}

TEST(CGenCharCreateFill, BarGateBelowTwoIsEveryBarAndTheIntervalIsTruncated)
{
    Song song(0.0f, 64.0f);
    for (const double interval : {0.0, 1.0, 1.9, -3.0})
        for (int barsSince = 0; barsSince <= 4; ++barsSince)
            EXPECT_TRUE(CGenCharCreateFill::BarGatePasses(song.cc, Place(0.0f, barsSince, 0.0f, 0), interval))
                << interval << " " << barsSince;
    // 4.9 acts as 4: barsSince 3 passes, 4 (4 % 4 = 0 != 3) doesn't.
    EXPECT_TRUE(CGenCharCreateFill::BarGatePasses(song.cc, Place(0.0f, 3, 0.0f, 0), 4.9));
    EXPECT_FALSE(CGenCharCreateFill::BarGatePasses(song.cc, Place(0.0f, 4, 0.0f, 0), 4.9));
}

// ----- the seed and the draw of a place

TEST(CGenCharCreateFill, ProbabilityTestTakesOneStepOfThePlaceSeed)
{
    Song song(0.0f, 64.0f);
    // Seed 24: 24 * 1103515245 + 12345 = 26484378225; mod 2^31 = 714574449;
    // 714574449 % 100 = 49. A fill when 49 is not above the probability.
    for (const auto& [probability, expectFill] : std::vector<std::pair<float, bool>> {{49.0f, true}, {48.0f, false},
             {100.0f, true}, {0.0f, false}}) {
        TCreateFillParams params;
        params.mProbability = probability;
        CGenPatternModAndProbs out = TargetList();
        const auto it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc, Candidates({Fill("f", 2.0f)}), out,
            params, Place(16.0f, 3, 0.0f, 24), nullptr);
        EXPECT_EQ(Chosen(out, it), expectFill) << probability;
        EXPECT_EQ(out.size(), expectFill ? 1u : 0u) << probability;
    }
}

TEST(CGenCharCreateFill, TheDrawUsesTheSecondStepAndIsReported)
{
    Song song(0.0f, 64.0f);
    song.context.mStyleGraphKey = "key";
    song.context.mStyleGraphDebugFlags["key"] = true;
    TCreateFillParams params;
    params.mFillMaxBeatLength = 3.0f;
    params.mNonMatchingLengthProbDeduction = 10.0f;
    // "b" is 1 beat too long: 100 - 1 * 10 = 90; "a" keeps 100. Running
    // sums 90, 190. Second step of seed 24: 714574449 * 1103515245 + 12345
    // = 788543798158987350; mod 2^31 = 320507990; % ceil(190) = 30, below
    // 90: "b".
    CGenPatternModAndProbs out = TargetList();
    CGenPatternModAndProb chosen;
    const auto it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc,
        Candidates({Fill("b", 4.0f), Fill("a", 2.0f)}), out, params, Place(16.0f, 3, 0.0f, 24), &chosen);
    ASSERT_TRUE(Chosen(out, it));
    EXPECT_EQ(it->PatternToBeRead().mName, "b");
    EXPECT_EQ(it->mProb, 90.0f);
    EXPECT_EQ(chosen.PatternToBeRead().mName, "b");
    EXPECT_EQ(chosen.mBeatPosAbs, 12.0f);
    EXPECT_EQ(song.context.mStyleGraphReports["key"],
        "Create Fill (seed 24):\n"
        "ConsecProb 90: b (Prob 90)\n"
        "ConsecProb 190: a (Prob 100)\n"
        "consecutiveProbOfChosen: 30, ChosenPatternIx: 0, Name: b\n");

    // Without the flag nothing is reported.
    song.context.mStyleGraphReports.clear();
    song.context.mStyleGraphDebugFlags["key"] = false;
    CGenPatternModAndProbs out2 = TargetList();
    CGenCharCreateFill::ChooseAndPlace(song.context, song.cc, Candidates({Fill("b", 4.0f), Fill("a", 2.0f)}), out2,
        params, Place(16.0f, 3, 0.0f, 24), nullptr);
    EXPECT_TRUE(song.context.mStyleGraphReports.empty());
}

TEST(CGenCharCreateFill, CreateFillSeedsWithTheFillEndAndItsPositionInTheBar)
{
    Song song(0.0f, 64.0f);
    song.context.SetFillSeed(7);
    song.context.mStyleGraphKey = "key";
    song.context.mStyleGraphDebugFlags["key"] = true;
    TCreateFillParams params;
    params.mBarInterval = 4.0;
    params.mRandomSeedAdd = 5;
    params.mFillEndGenerateBarRel = 4;
    params.mFillEndBeatPosRelInBar = 0.0f;

    // Bar 4 of the region starts at 12: fill end 12, 0 into its bar. The
    // gate counts bar 1 + 4 - 1 = 4 minus the start's bar 1: barsSince 3.
    // Seed lround(12 - 0) + lround(0) + 7 + 5 = 24, and 24 steps to 49 (see
    // above): a probability of 49 gives a fill, 48 none.
    params.mProbability = 49.0f;
    CGenPatternModAndProbs out;
    auto it = CGenCharCreateFill::CreateFill(&song.context, &song.cc, Candidates({Fill("f", 2.0f)}), out, params,
        nullptr);
    ASSERT_TRUE(Chosen(out, it));
    EXPECT_EQ(out.mSTDefaultOrTarget, TSTDefaultOrTarget::Target);
    // Target 0 is the bar line after the bar before the end (8..12): 8 + 4 - 2.
    EXPECT_EQ(it->mBeatPosAbs, 10.0f);
    EXPECT_EQ(it->mBeatPosAbsSTTarget, 10.0f);
    EXPECT_EQ(song.context.mStyleGraphReports["key"].rfind("Create Fill (seed 24):\n", 0), 0u);
    params.mProbability = 48.0f;
    CGenPatternModAndProbs none;
    EXPECT_FALSE(Chosen(none, CGenCharCreateFill::CreateFill(&song.context, &song.cc, Candidates({Fill("f", 2.0f)}),
                                  none, params, nullptr)));

    // In the target frame 2 beats into bar 4: fill end 14, seed 14 + 2 + 7 +
    // 5 = 28; 28 * 1103515245 + 12345 = 30898439205; mod 2^31 = 833668133;
    // % 100 = 33. The bar before 14 is 12..16, so the fill ends on 16.
    params.mFillEndSTDefaultOrTarget = TSTDefaultOrTarget::Target;
    params.mFillEndBeatPosRelInBar = 2.0f;
    params.mProbability = 33.0f;
    CGenPatternModAndProbs mid;
    it = CGenCharCreateFill::CreateFill(&song.context, &song.cc, Candidates({Fill("f", 2.0f)}), mid, params, nullptr);
    ASSERT_TRUE(Chosen(mid, it));
    EXPECT_EQ(it->mBeatPosAbs, 14.0f);
    EXPECT_EQ(song.context.mStyleGraphReports["key"].rfind("Create Fill (seed 28):\n", 0), 0u);
    params.mProbability = 32.0f;
    CGenPatternModAndProbs midNone;
    EXPECT_FALSE(Chosen(midNone, CGenCharCreateFill::CreateFill(&song.context, &song.cc,
                                     Candidates({Fill("f", 2.0f)}), midNone, params, nullptr)));
}

TEST(CGenCharCreateFill, CreateFillKeepsToTheBarIntervalAndNeedsItsContext)
{
    Song song(0.0f, 64.0f);
    TCreateFillParams params;
    params.mBarInterval = 4.0;
    params.mFillEndBeatPosRelInBar = 0.0f;
    // Bar 5: barsSince 4, 4 % 4 = 0, not 3.
    params.mFillEndGenerateBarRel = 5;
    CGenPatternModAndProbs out;
    EXPECT_FALSE(Chosen(out, song.cc.CreateFill(Candidates({Fill("f", 2.0f)}), out, params, nullptr)));
    // Bar 8: barsSince 7. Seed lround(28) + 0 + 0 + 0 = 28, whose 33 passes 100.
    params.mFillEndGenerateBarRel = 8;
    CGenPatternModAndProb chosen;
    const auto it = song.cc.CreateFill(Candidates({Fill("f", 2.0f)}), out, params, &chosen);
    ASSERT_TRUE(Chosen(out, it));
    // Ends on 28: 24 + 4 - 2.
    EXPECT_EQ(it->mBeatPosAbs, 26.0f);
    EXPECT_EQ(chosen.mBeatPosAbs, 26.0f);

    // No style, no params, no char context: nothing.
    song.context.mStyle = nullptr;
    CGenPatternModAndProbs noStyle;
    EXPECT_FALSE(Chosen(noStyle, song.cc.CreateFill(Candidates({Fill("f", 2.0f)}), noStyle, params, nullptr)));
    song.context.mStyle = &song.style;
    CGenPatternModAndProbs noChar;
    EXPECT_FALSE(Chosen(noChar, CGenCharCreateFill::CreateFill(&song.context, nullptr, Candidates({Fill("f", 2.0f)}),
                                    noChar, params, nullptr)));
    CGenCharContext empty;
    CGenPatternModAndProbs noContext;
    EXPECT_FALSE(Chosen(noContext, empty.CreateFill(Candidates({Fill("f", 2.0f)}), noContext, params, nullptr)));
    // No candidates: nothing.
    CGenPatternModAndProbs noCandidates;
    EXPECT_FALSE(Chosen(noCandidates, song.cc.CreateFill(CGenPatternModAndProbs(), noCandidates, params, nullptr)));
}

TEST(CGenCharCreateFill, ProbabilityZeroGivesNoFill)
{
    Song song(0.0f, 64.0f);
    TCreateFillParams params;
    params.mProbability = 0.0f;
    params.mFillEndGenerateBarRel = 4;
    params.mFillEndBeatPosRelInBar = 0.0f;
    CGenPatternModAndProbs out;
    EXPECT_FALSE(Chosen(out, song.cc.CreateFill(Candidates({Fill("f", 2.0f)}), out, params, nullptr)));
    // Seed 60 would draw 5 (66210927045 mod 2^31 = 1786417605); a
    // probability of 0 gives none before any draw.
    CGenPatternModAndProbs out2 = TargetList();
    EXPECT_FALSE(Chosen(out2, CGenCharCreateFill::ChooseAndPlace(song.context, song.cc,
                                  Candidates({Fill("f", 2.0f)}), out2, params, Place(16.0f, 3, 0.0f, 60), nullptr)));
    EXPECT_TRUE(out2.empty());
}

// ----- the position

TEST(CGenCharCreateFill, TargetZeroEndsOnTheBarLineAfterTheBarBeforeTheEnd)
{
    // 4/4, fill end 16: bar start strictly before it 12, B = 4, P = 4;
    // r = 0 mod 4 = 0, not above 2: pos = 12 + (0 + 4) - 2 = 14.
    Song fourFour(0.0f, 64.0f);
    TCreateFillParams params;
    CGenPatternModAndProbs out = TargetList();
    auto it = CGenCharCreateFill::ChooseAndPlace(fourFour.context, fourFour.cc, Candidates({Fill("f", 2.0f)}), out,
        params, Place(16.0f, 3, 0.0f, 24), nullptr);
    ASSERT_TRUE(Chosen(out, it));
    EXPECT_EQ(it->mBeatPosAbs, 14.0f);
    EXPECT_EQ(it->mBeatPosAbsSTTarget, 14.0f);

    // 7/8 (bars of 3.5), fill end 7: bar start before it 3.5, B = 3.5, P = 4
    // (the pattern's 4/4); r = 0: pos = 3.5 + (0 + 3.5) - 2 = 5.
    Song sevenEight(0.0f, 28.0f, 7, 3);
    CGenPatternModAndProbs out78 = TargetList();
    it = CGenCharCreateFill::ChooseAndPlace(sevenEight.context, sevenEight.cc, Candidates({Fill("f", 2.0f)}), out78,
        params, Place(7.0f, 1, 0.0f, 24), nullptr);
    ASSERT_TRUE(Chosen(out78, it));
    EXPECT_EQ(it->mBeatPosAbsSTTarget, 5.0f);
    EXPECT_EQ(it->mBeatPosAbs, 5.0f);
}

TEST(CGenCharCreateFill, TargetInTheSecondHalfIsReachedWithinTheBar)
{
    Song song(0.0f, 64.0f);
    TCreateFillParams params;
    struct Case {
        double target;
        float pos;
    };
    // Fill end 16, bar start 12, B = P = 4, a fill of 2 beats.
    // Target 3: r = 3 > 2: pos = 12 + 3 - 2 = 13. Target 2 (half the bar)
    // counts as first half: 12 + 2 + 4 - 2 = 16. Target 5 lies beyond the
    // bar and is read as 0: 14.
    for (const Case c : {Case {3.0, 13.0f}, Case {2.0, 16.0f}, Case {5.0, 14.0f}}) {
        CGenPattern fill = Fill("f", 2.0f);
        fill.mProperties.SetFloatValueForKey(c.target, kGenPatternProp_Fill_TargetEndBeatPos);
        CGenPatternModAndProbs out = TargetList();
        const auto it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc, Candidates({fill}), out, params,
            Place(16.0f, 3, 0.0f, 24), nullptr);
        ASSERT_TRUE(Chosen(out, it)) << c.target;
        EXPECT_EQ(it->mBeatPosAbs, c.pos) << c.target;
    }
}

// ----- a fill longer than its region

TEST(CGenCharCreateFill, CutFromFrontDropsMovesAndShortens)
{
    CGenEvs evs(8.0f);
    evs.InsertAtBeatPos(CGenEv(0.0f, 1.0f, st_NoteOn, 38, 1)); // ends at 1, before the cut: goes
    evs.InsertAtBeatPos(CGenEv(1.0f, 2.0f, st_NoteOn, 38, 2)); // ends exactly at the cut 3: goes
    evs.InsertAtBeatPos(CGenEv(2.0f, 2.0f, st_NoteOn, 38, 3)); // 2..4 runs past 3: keeps 3..4
    evs.InsertAtBeatPos(CGenEv(3.0f, 0.5f, st_NoteOn, 38, 4)); // at the cut: to 0
    evs.InsertAtBeatPos(CGenEv(5.0f, 0.25f, st_NoteOn, 38, 5)); // to 5 - 3 = 2
    CGenPatternModAndProb el(CGenPattern("long", evs));
    CGenCharCreateFill::CutFromFront(el, 3.0f);
    const CGenEvs& cut = el.PatternToBeRead().mEvs;
    EXPECT_EQ(cut.mLength, 5.0f); // 8 - 3
    ASSERT_EQ(cut.size(), 3u);
    EXPECT_EQ(cut[0].mMB2, 3);
    EXPECT_EQ(cut[0].mBeatPos, 0.0f);
    EXPECT_EQ(cut[0].mBeatLength, 1.0f);
    EXPECT_EQ(cut[1].mMB2, 4);
    EXPECT_EQ(cut[1].mBeatPos, 0.0f);
    EXPECT_EQ(cut[1].mBeatLength, 0.5f);
    EXPECT_EQ(cut[2].mMB2, 5);
    EXPECT_EQ(cut[2].mBeatPos, 2.0f);

    // Nothing to cut: unchanged.
    CGenPatternModAndProb same(CGenPattern("long", evs));
    CGenCharCreateFill::CutFromFront(same, 0.0f);
    EXPECT_EQ(same.PatternToBeRead().mEvs, evs);
}

TEST(CGenCharCreateFill, FillLongerThanTheRegionIsCutSoThatItsEndStays)
{
    // The region 1..4 (3 beats); a 4-beat fill ending on 4 loses 4 - 3 = 1
    // beat at its front. Bar start before 4 is 0: pos = 0 + 4 - 3 = 1.
    Song song(1.0f, 3.0f);
    TCreateFillParams params;
    CGenPatternModAndProbs out = TargetList();
    const auto it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc, Candidates({Fill("f", 4.0f)}), out,
        params, Place(4.0f, 0, 1.0f, 24), nullptr);
    ASSERT_TRUE(Chosen(out, it));
    EXPECT_EQ(it->Length(), 3.0f);
    EXPECT_EQ(it->mBeatPosAbs, 1.0f);
    // The notes at 1, 2, 3 now sit at 0, 1, 2; the one at 0 is gone.
    const CGenEvs& evs = it->PatternToBeRead().mEvs;
    ASSERT_EQ(evs.size(), 3u);
    EXPECT_EQ(evs[0].mBeatPos, 0.0f);
    EXPECT_EQ(evs[2].mBeatPos, 2.0f);
}

// ----- the deductions

namespace {

// The weight a single candidate leaves with; a one-entry list is chosen
// without a draw, so the weight is exactly what the deductions left.
float ProbAfterDeductions(Song& song, const CGenPattern& pattern, const TCreateFillParams& params,
    float prob = TGenBeatPos_Undef)
{
    CGenPatternModAndProbs candidates;
    candidates.emplace_back(pattern, prob);
    CGenPatternModAndProbs out = TargetList();
    const auto it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc, candidates, out, params,
        Place(16.0f, 3, 0.0f, 24), nullptr);
    return it == out.end() ? -1000.0f : it->mProb;
}

CGenPattern WithCompl(float complexity)
{
    CGenPattern p = Fill("c", 2.0f);
    p.mCoord = CGenPatternCoordInt(complexity, 50.0f);
    return p;
}

CGenPattern WithTempo(float min, float max)
{
    CGenPattern p = Fill("t", 2.0f);
    p.mTempoBPMRange = CGenRange<float>(min, max);
    return p;
}

} // namespace

TEST(CGenCharCreateFill, LengthOutsideTheRangeIsDeductedPerBeat)
{
    Song song(0.0f, 64.0f);
    TCreateFillParams params;
    params.mFillMinBeatLength = 2.0f;
    params.mFillMaxBeatLength = 3.0f;
    // The sign of the deduction doesn't count.
    params.mNonMatchingLengthProbDeduction = -10.0f;
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 1.0f), params), 90.0f);  // 1 short: 100 - 10
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 2.5f), params), 100.0f); // inside
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 4.0f), params), 90.0f);  // 1 long
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 6.0f), params), 70.0f);  // 3 long: 100 - 30
    // A defined weight is the start: 50 - 10.
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 1.0f), params, 50.0f), 40.0f);
    // A maximum below the minimum follows it: [2, 2], so 3 is 1 long.
    params.mFillMaxBeatLength = 1.0f;
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 3.0f), params), 90.0f);
    // A negative minimum is 0; without a maximum nothing is too long.
    params.mFillMinBeatLength = -5.0f;
    params.mFillMaxBeatLength = TGenBeatPos_Undef;
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 6.0f), params), 100.0f);
    // 10 beats too long at 10 points each leaves 0: no fill.
    params.mFillMaxBeatLength = 1.0f;
    params.mFillMinBeatLength = TGenBeatPos_Undef;
    EXPECT_EQ(ProbAfterDeductions(song, Fill("f", 11.0f), params), -1000.0f);
}

TEST(CGenCharCreateFill, ComplexityOutsideTheRangeIsDeductedPerPoint)
{
    Song song(0.0f, 64.0f);
    TCreateFillParams params;
    params.mFillMinCompl = 40.0f;
    params.mFillMaxCompl = 60.0f;
    params.mNonMatchingComplProbDeduction = 2.0f;
    EXPECT_EQ(ProbAfterDeductions(song, WithCompl(30.0f), params), 80.0f); // 10 below: 100 - 20
    EXPECT_EQ(ProbAfterDeductions(song, WithCompl(50.0f), params), 100.0f);
    EXPECT_EQ(ProbAfterDeductions(song, WithCompl(75.0f), params), 70.0f); // 15 above: 100 - 30
}

TEST(CGenCharCreateFill, TempoOutsideTheToleranceIsDeductedPerBPM)
{
    Song song(0.0f, 64.0f);
    TCreateFillParams params;
    // Song tempo 120: lower 0.75 * 120 = 90, upper 1.5 * 120 = 180 BPM.
    params.mFillBelowSongTempoPercent = 0.25f;
    params.mFillAboveSongTempoPercent = 0.5f;
    params.mNonMatchingTempoProbDeduction = 1.5f;
    EXPECT_EQ(ProbAfterDeductions(song, WithTempo(60.0f, 80.0f), params), 85.0f);   // 80 is 10 below 90: 100 - 15
    EXPECT_EQ(ProbAfterDeductions(song, WithTempo(100.0f, 170.0f), params), 100.0f); // overlaps
    EXPECT_EQ(ProbAfterDeductions(song, WithTempo(200.0f, 240.0f), params), 70.0f); // 200 is 20 above 180: 100 - 30
    // No tempo range (-1 to -1) suits any tempo: nothing is taken off.
    EXPECT_EQ(ProbAfterDeductions(song, WithTempo(-1.0f, -1.0f), params), 100.0f);
    // Without the below limit a slow fill is fine.
    params.mFillBelowSongTempoPercent = TGenBeatPos_Undef;
    EXPECT_EQ(ProbAfterDeductions(song, WithTempo(60.0f, 80.0f), params), 100.0f);
}

TEST(CGenCharCreateFill, RemainSilentIfNoFillWasMatching)
{
    Song song(0.0f, 64.0f);
    TCreateFillParams params;
    params.mFillMaxBeatLength = 2.0f;
    params.mNonMatchingLengthProbDeduction = 60.0f;
    // "long" is 2 beats too long: 100 - 120 = -20, no match; "short" keeps 100.
    for (const bool silent : {false, true}) {
        params.mRemainSilentIfNoFillWasMatching = silent;
        CGenPatternModAndProbs out = TargetList();
        auto it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc,
            Candidates({Fill("long", 4.0f), Fill("short", 1.0f)}), out, params, Place(16.0f, 3, 0.0f, 24), nullptr);
        ASSERT_TRUE(Chosen(out, it)) << silent;
        EXPECT_EQ(it->PatternToBeRead().mName, "short") << silent;
        // When every candidate was deducted to 0 or below, no fill either way.
        CGenPatternModAndProbs none = TargetList();
        it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc,
            Candidates({Fill("long", 4.0f), Fill("longer", 5.0f)}), none, params, Place(16.0f, 3, 0.0f, 24), nullptr);
        EXPECT_FALSE(Chosen(none, it)) << silent;
        EXPECT_TRUE(none.empty()) << silent;
    }
}

// ----- the overlay ranges

TEST(CGenCharCreateFill, OverlayRangesFromTheProperties)
{
    CGenPattern pattern = Fill("f", 4.0f);
    pattern.mProperties.SetFloatValueForKey(1.0, kGenPatternProp_Fill_OverlayRangeAcStart);
    pattern.mProperties.SetFloatValueForKey(2.0, kGenPatternProp_Fill_OverlayRangeAcLength);
    pattern.mProperties.SetFloatValueForKey(0.5, kGenPatternProp_Fill_OverlayRangeSyStart);
    CGenPatternModAndProb el(pattern);
    CGenCharCreateFill::SetOverlayRangesFromProperties(el, CGenBitmask());
    // Start 1, length 2: [1, 3].
    EXPECT_EQ(el.mOverlayRangeAc.mMin, 1.0f);
    EXPECT_EQ(el.mOverlayRangeAc.mMax, 3.0f);
    // No length: to the fill's end, [0.5, 4].
    EXPECT_EQ(el.mOverlayRangeSy.mMin, 0.5f);
    EXPECT_EQ(el.mOverlayRangeSy.mMax, 4.0f);
    // No property: undefined.
    EXPECT_TRUE(GenIsUndef(el.mOverlayRangePerc.mMin));
    EXPECT_TRUE(GenIsUndef(el.mOverlayRangePerc.mMax));

    // A kept layer (its bit = its pattern graph type) gets no range.
    CGenBitmask keep;
    keep.SetBit(TPatternGraphType_System);
    CGenCharCreateFill::SetOverlayRangesFromProperties(el, keep);
    EXPECT_EQ(el.mOverlayRangeAc.mMin, 1.0f);
    EXPECT_TRUE(GenIsUndef(el.mOverlayRangeSy.mMin));
    EXPECT_TRUE(GenIsUndef(el.mOverlayRangeSy.mMax));
    keep.SetBit(TPatternGraphType_AccentFamily);
    CGenCharCreateFill::SetOverlayRangesFromProperties(el, keep);
    EXPECT_TRUE(GenIsUndef(el.mOverlayRangeAc.mMin));

    // An integer property counts as well: percussion from 2 to the end.
    pattern.mProperties.SetIntValueForKey(2, kGenPatternProp_Fill_OverlayRangePercStart);
    CGenPatternModAndProb el2(pattern);
    CGenCharCreateFill::SetOverlayRangesFromProperties(el2, CGenBitmask());
    EXPECT_EQ(el2.mOverlayRangePerc.mMin, 2.0f);
    EXPECT_EQ(el2.mOverlayRangePerc.mMax, 4.0f);
}

TEST(CGenCharCreateFill, PlacedFillCarriesItsRangesAndLayerRecords)
{
    Song song(0.0f, 64.0f);
    CGenPattern pattern = Fill("f", 2.0f);
    pattern.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangeAcStart);
    CGenBitmask both;
    both.SetBit(TPatternGraphType_AccentFamily);
    both.SetBit(TPatternGraphType_System);
    // Upper bound undefined: runs to the fill's length, 2 - 0.5.
    pattern.mOverlayLayerBitmaskAndBPRanges.emplace_back(both, CGenRange<float>(0.5f, TGenBeatPos_Undef));
    TCreateFillParams params;
    params.mKeepLayerBitmask.SetBit(TPatternGraphType_System);
    CGenPatternModAndProbs out = TargetList();
    const auto it = CGenCharCreateFill::ChooseAndPlace(song.context, song.cc, Candidates({pattern}), out, params,
        Place(16.0f, 3, 0.0f, 24), nullptr);
    ASSERT_TRUE(Chosen(out, it));
    EXPECT_EQ(it->mOverlayRangeAc.mMin, 0.0f);
    EXPECT_EQ(it->mOverlayRangeAc.mMax, 2.0f);
    ASSERT_EQ(it->mOverlayLayerBitmaskAndBPRanges.size(), 1u);
    const CGenLayerBitmaskAndBPRange& rec = it->mOverlayLayerBitmaskAndBPRanges[0];
    // The kept system bit is taken out.
    EXPECT_EQ(rec.mLayerBitmask.Bits(), uint64_t(1) << TPatternGraphType_AccentFamily);
    EXPECT_EQ(rec.mBeatPosRelRange.mMin, 0.5f);
    EXPECT_EQ(rec.mBeatPosRelRange.mMax, 2.0f);
}
