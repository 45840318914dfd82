#include "Generator/CGenRandom.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbPicker.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

// The first state of the generator after seeds 1, 2, 3.
constexpr uint32_t kFirstAfterSeed1 = 1103527590u;
constexpr uint32_t kFirstAfterSeed2 = 59559187u;

// Named candidates with the given weights.
CGenPatternModAndProbs Weighted(std::initializer_list<float> probs)
{
    CGenPatternModAndProbs list;
    char name = 'a';
    for (float p : probs)
        list.push_back(CGenPatternModAndProb(CGenPattern(std::string(1, name++)), p));
    return list;
}

std::vector<std::string> Names(const CGenPatternModAndProbs& list)
{
    std::vector<std::string> names;
    for (const auto& el : list)
        names.push_back(el.PatternToBeRead().mName);
    return names;
}

ptrdiff_t ChosenIx(CGenPatternModAndProbs& list, uint32_t seed)
{
    CGenRandom random(seed);
    return list.ChooseRandomly(random) - list.begin();
}

ptrdiff_t PickedIx(CGenPatternModAndProbs& list, uint32_t seed, float threshold = 5.0f)
{
    CGenRandom random(seed);
    return CGenPatternModAndProbRandomPicker(list, threshold).Pick(random) - list.begin();
}

CGenEv Note(float pos, int uid = 36) { return CGenEv(pos, 0.25f, st_NoteOn, uid, 100); }

// Three 4-beat patterns of a graph at 0, 4 and 8; the first has notes at 0 and 2.
struct ThreeInARow {
    CGenPatternGraphBoost mGraph {TPatternGraphType_System};
    CGenPatternModAndProbs mList;
    ThreeInARow()
    {
        CGenEvs a(4.0f);
        a.push_back(Note(0.0f, 0x21));
        a.push_back(Note(2.0f, 0x36));
        CGenEvs b(4.0f);
        b.push_back(Note(0.0f));
        mGraph.AddPattern(CGenPattern("a", a));
        mGraph.AddPattern(CGenPattern("b", b));
        mGraph.AddPattern(CGenPattern("c", CGenEvs(4.0f)));
        for (int i = 0; i < 3; ++i)
            mList.push_back(CGenPatternModAndProb(&mGraph, uint64_t(i), 10.0f, 4.0f * float(i)));
    }
};

} // namespace

TEST(CGenPatternModAndProbs, ChooseRandomlyDrawsOnlyWithSomethingToChoose)
{
    // One element: chosen without a draw, the sums untouched.
    CGenPatternModAndProbs one = Weighted({30.0f});
    CGenRandom random(1);
    EXPECT_EQ(one.ChooseRandomly(random), one.begin());
    EXPECT_EQ(random.State(), 1u);
    EXPECT_TRUE(GenIsUndef(one[0].mConsecProb));
    CGenPatternModAndProbs none;
    EXPECT_EQ(none.ChooseRandomly(random), none.end());
    EXPECT_EQ(random.State(), 1u);

    // All weights zero: no draw, and nothing is chosen.
    CGenPatternModAndProbs zeros = Weighted({0.0f, 0.0f, 0.0f});
    EXPECT_EQ(zeros.ChooseRandomly(random), zeros.end());
    EXPECT_EQ(random.State(), 1u);

    // Weights summing below 1: one draw, r = 0, the first positive sum wins.
    CGenPatternModAndProbs small = Weighted({0.0f, 0.3f, 0.3f});
    EXPECT_EQ(small.ChooseRandomly(random) - small.begin(), 1);
    EXPECT_EQ(random.State(), kFirstAfterSeed1);
    EXPECT_FLOAT_EQ(small[2].mConsecProb, 0.6f);
}

TEST(CGenPatternModAndProbs, ChooseRandomlyHasIntegerResolution)
{
    // Weights 1 and 1: r = state % 2.
    CGenPatternModAndProbs even = Weighted({1.0f, 1.0f});
    EXPECT_EQ(ChosenIx(even, 1), 0);
    EXPECT_EQ(ChosenIx(even, 2), 1);
    // Weights 0.5 and 2: r in {0, 1, 2}, the first wins only for r = 0.
    CGenPatternModAndProbs skewed = Weighted({0.5f, 2.0f});
    CGenRandom random(1);
    auto [it, r] = skewed._ChooseRandomlyAndReturnChosenProb(random);
    EXPECT_EQ(it, skewed.begin());
    EXPECT_FLOAT_EQ(r, float(kFirstAfterSeed1 % 3));
    random.SetSeed(2);
    std::tie(it, r) = skewed._ChooseRandomlyAndReturnChosenProb(random);
    EXPECT_EQ(it - skewed.begin(), 1);
    EXPECT_FLOAT_EQ(r, 1.0f);
    EXPECT_EQ(random.State(), kFirstAfterSeed2);

    // An undefined weight keeps its stale sum, and the search reads it as it stands.
    CGenPatternModAndProbs stale = Weighted({1.0f, TGenBeatPos_Undef, 1.0f});
    stale[1].mConsecProb = 50.0f;
    EXPECT_EQ(ChosenIx(stale, 2), 1);
    EXPECT_FLOAT_EQ(stale[1].mConsecProb, 50.0f);
    EXPECT_FLOAT_EQ(stale[2].mConsecProb, 2.0f);
    EXPECT_FLOAT_EQ(stale._ConvertProbToConsecutiveProb(), 2.0f);
    EXPECT_FLOAT_EQ(CGenPatternModAndProbs()._ConvertProbToConsecutiveProb(), 0.0f);
}

TEST(CGenPatternModAndProbs, ChoiceReport)
{
    CGenPatternModAndProbs even = Weighted({1.0f, 1.0f});
    CGenRandom random(2);
    std::string report;
    EXPECT_EQ(even.ChooseRandomlyAndReport(random, report) - even.begin(), 1);
    EXPECT_EQ(report, "ConsecProb 1: a (Prob 1)\nConsecProb 2: b (Prob 1)\n"
                      "consecutiveProbOfChosen: 1, ChosenPatternIx: 1, Name: b\n");
    CGenPatternModAndProbs zeros = Weighted({0.0f, 0.0f});
    zeros.ChooseRandomlyAndReport(random, report);
    EXPECT_EQ(report, "ConsecProb 0: a (Prob 0)\nConsecProb 0: b (Prob 0)\nend() was chosen\n");
    EXPECT_EQ(CGenPatternModAndProbs::iteratorNULL(), CGenPatternModAndProbs::iteratorNULL());
}

TEST(CGenPatternModAndProbs, TopFilterTakesWholeBandsFromTheTop)
{
    CGenPatternModAndProbs seven = Weighted({95, 95, 95, 95, 95, 95, 95});
    CGenPatternModAndProbs out;
    CGenPatternModAndProbTopFilter(seven, out).FilterPatterns(5, 10);
    EXPECT_EQ(out.size(), 7u);

    // 0, above 100 and undefined never pass; bands keep list order.
    CGenPatternModAndProbs mixed = Weighted({95, 85, 50, 91, 0, 101, TGenBeatPos_Undef, 100});
    CGenPatternModAndProbTopFilter(mixed, out).FilterPatterns(2, 10);
    EXPECT_EQ(Names(out), (std::vector<std::string> {"a", "d", "h"}));
    CGenPatternModAndProbTopFilter(mixed, out).FilterPatterns(4, 10);
    EXPECT_EQ(Names(out), (std::vector<std::string> {"a", "d", "h", "b"}));
    CGenPatternModAndProbTopFilter(mixed, out).FilterPatterns(100, 10);
    EXPECT_EQ(Names(out), (std::vector<std::string> {"a", "d", "h", "b", "c"}));
    // Two bands of 50: the first holds everything above 50.
    CGenPatternModAndProbTopFilter(mixed, out).FilterPatterns(1, 2);
    EXPECT_EQ(Names(out), (std::vector<std::string> {"a", "b", "d", "h"}));

    CGenPatternModAndProbTopFilter::TIterators its;
    CGenPatternModAndProbTopFilter(mixed, its).FilterPatterns(4, 10);
    ASSERT_EQ(its.size(), 4u);
    EXPECT_EQ(its[3] - mixed.begin(), 1);

    // No bands: the output is cleared and stays empty.
    CGenPatternModAndProbTopFilter(mixed, out).FilterPatterns(4, 0);
    EXPECT_TRUE(out.empty());
    // An empty source leaves the output as it was.
    out = Weighted({40});
    CGenPatternModAndProbs empty;
    CGenPatternModAndProbTopFilter(empty, out).FilterPatterns(4, 10);
    EXPECT_EQ(out.size(), 1u);

    CGenPatternModAndProbTopFilter steps(mixed, out);
    steps.CalculateProbabilitySteps(4);
    EXPECT_EQ(steps.ProbabilitySteps(), (std::vector<float> {100.0f, 75.0f, 50.0f, 25.0f, 0.0f}));
    steps.CalculateProbabilitySteps(0);
    EXPECT_TRUE(steps.ProbabilitySteps().empty());
}

TEST(CGenPatternModAndProbs, PickerDrawsOverTheBestBands)
{
    // Threshold 5 takes all four: sums a 95, c 187, b 237, d 247.
    CGenPatternModAndProbs list = Weighted({95, 50, 92, 10});
    EXPECT_EQ(PickedIx(list, 1), 0); // r = 9
    EXPECT_EQ(PickedIx(list, 4), 2); // r = 159
    EXPECT_EQ(PickedIx(list, 36), 1); // r = 236
    EXPECT_EQ(PickedIx(list, 30), 3); // r = 237
    EXPECT_EQ(PickedIx(list, 6), 3); // r = 241
    // Threshold 2 stops after the top band: sums a 95, c 187.
    EXPECT_EQ(PickedIx(list, 4, 2.0f), 2); // r = 119
    EXPECT_EQ(PickedIx(list, 1, 2.0f), 0); // r = 11
    CGenRandom random(4);
    CGenPatternModAndProbRandomPicker picker(list);
    picker.Pick(random);
    EXPECT_FLOAT_EQ(picker.Total(), 247.0f);
    ASSERT_EQ(picker.Helper().size(), 4u);
    EXPECT_FLOAT_EQ(picker.Helper()[1].second, 187.0f);
    // The list's own sums are not written.
    EXPECT_TRUE(GenIsUndef(list[0].mConsecProb));

    // Unlike ChooseRandomly, one element with a positive weight draws.
    CGenPatternModAndProbs one = Weighted({30});
    random.SetSeed(1);
    EXPECT_EQ(CGenPatternModAndProbRandomPicker(one).Pick(random), one.begin());
    EXPECT_EQ(random.State(), kFirstAfterSeed1);
    // Nothing passes: no draw, end().
    CGenPatternModAndProbs zeros = Weighted({0, 0});
    random.SetSeed(1);
    EXPECT_EQ(CGenPatternModAndProbRandomPicker(zeros).Pick(random), zeros.end());
    EXPECT_EQ(random.State(), 1u);
    CGenPatternModAndProbs none;
    EXPECT_EQ(CGenPatternModAndProbRandomPicker(none).Pick(random), none.begin());
}

TEST(CGenPatternModAndProbs, RangeSearches)
{
    ThreeInARow t;
    auto& list = t.mList;
    const auto& clist = list;
    EXPECT_EQ(clist.FindElOverlappingWithRange(3.0f, 2.0f, TOverlapping_Pattern, TInclusiveBorders_None, clist.begin()),
        clist.begin());
    // Touching borders count only when inclusive.
    EXPECT_EQ(clist.FindElOverlappingWithRange(4.0f, 0.5f, TOverlapping_Pattern, TInclusiveBorders_None, clist.begin())
            - clist.begin(),
        1);
    EXPECT_EQ(clist.FindElOverlappingWithRange(4.0f, 0.5f, TOverlapping_Pattern, TInclusiveBorders_Left, clist.begin()),
        clist.begin());
    EXPECT_EQ(clist.FindElOverlappingWithRange(6.0f, 2.0f, TOverlapping_Pattern, TInclusiveBorders_None, clist.begin() + 2),
        clist.end());
    EXPECT_EQ(clist.FindElOverlappingWithRange(6.0f, 2.0f, TOverlapping_Pattern, TInclusiveBorders_Right,
                  clist.begin() + 2)
            - clist.begin(),
        2);
    EXPECT_EQ(clist.FindElOverlappingWithRange(6.0f, TGenBeatLength_Undef, TOverlapping_Pattern, TInclusiveBorders_Both,
                  clist.begin()),
        clist.end());
    EXPECT_EQ(list.FindElOverlappingWithRange(5.0f, 1.0f, TOverlapping_Pattern, TInclusiveBorders_None, list.begin())
            - list.begin(),
        1);

    // Overlay ranges lie relative to the element's start.
    list[2].mOverlayRangeAc = CGenRange<float>(1.0f, 3.0f);
    EXPECT_EQ(clist.FindElOverlappingWithRange(10.0f, 0.5f, TOverlapping_OverlayRangeAc, TInclusiveBorders_None,
                  clist.begin())
            - clist.begin(),
        2);
    EXPECT_EQ(clist.FindElOverlappingWithRange(10.0f, 0.5f, TOverlapping_OverlayRangeSy, TInclusiveBorders_None,
                  clist.begin()),
        clist.end());
    EXPECT_EQ(clist.FindElOverlappingWithRange(10.0f, 0.5f, TOverlapping(7), TInclusiveBorders_Both, clist.begin()),
        clist.end());

    EXPECT_EQ(clist.FindElOverlappingBorderWithRange(3.5f, 1.0f, TOverlapping_Pattern, TOverlapBorder_Start, clist.begin())
            - clist.begin(),
        1);
    EXPECT_EQ(clist.FindElOverlappingBorderWithRange(7.5f, 1.0f, TOverlapping_Pattern, TOverlapBorder_End, clist.begin())
            - clist.begin(),
        1);
    EXPECT_EQ(clist.FindElOverlappingBorderWithRange(8.5f, 0.5f, TOverlapping_Pattern, TOverlapBorder_Start, clist.begin()),
        clist.end());
}

TEST(CGenPatternModAndProbs, NotesWithinRanges)
{
    ThreeInARow t;
    const auto& list = t.mList;
    EXPECT_TRUE(list.ContainsAnyNoteWithinRange(1.5f, 1.0f, TOverlapping_Pattern, TInclusiveBorders_None));
    EXPECT_FALSE(list.ContainsAnyNoteWithinRange(2.5f, 1.0f, TOverlapping_Pattern, TInclusiveBorders_None));
    // The end of the window is inclusive.
    EXPECT_TRUE(list.ContainsAnyNoteWithinRange(1.5f, 0.5f, TOverlapping_Pattern, TInclusiveBorders_None));
    // A window starting before an element is measured from the element's start.
    EXPECT_TRUE(list.ContainsAnyNoteWithinRange(3.5f, 1.0f, TOverlapping_Pattern, TInclusiveBorders_None));

    const TInstTreeUids hat {0x21};
    EXPECT_TRUE(list.ContainsAnyNotesMatchingUidsNonZeroNibblesWithinRange(hat, 0.0f, 1.0f, TOverlapping_Pattern,
        TInclusiveBorders_None));
    EXPECT_FALSE(list.ContainsAnyNotesNotMatchingUidsNonZeroNibblesWithinRange(hat, 0.0f, 1.0f, TOverlapping_Pattern,
        TInclusiveBorders_None));
    EXPECT_FALSE(list.ContainsAnyNotesMatchingUidsNonZeroNibblesWithinRange(hat, 1.5f, 1.0f, TOverlapping_Pattern,
        TInclusiveBorders_None));
    EXPECT_TRUE(list.ContainsAnyNotesNotMatchingUidsNonZeroNibblesWithinRange(hat, 1.5f, 1.0f, TOverlapping_Pattern,
        TInclusiveBorders_None));
}

TEST(CGenPatternModAndProbs, InsertingEventsAtAbsolutePositions)
{
    ThreeInARow t;
    auto& list = t.mList;
    auto it = list.InsertAtBeatPos(Note(5.5f));
    EXPECT_EQ(it - list.begin(), 1);
    EXPECT_EQ(EvPositions(list[1].PatternToBeRead().mEvs), (std::vector<float> {0.0f, 1.5f}));
    EXPECT_EQ(EvPositions(t.mGraph.PatternAtIx(1).mEvs), (std::vector<float> {0.0f}));
    EXPECT_FALSE(list[0].PatternIsModified());

    // Nothing covers 20: a new element holds the event alone.
    it = list.InsertAtBeatPos(Note(20.0f));
    ASSERT_EQ(list.size(), 4u);
    EXPECT_FLOAT_EQ(list[3].mBeatPosAbs, 20.0f);
    EXPECT_EQ(EvPositions(list[3].PatternToBeRead().mEvs), (std::vector<float> {0.0f}));
    EXPECT_FLOAT_EQ(list[3].Length(), 0.0f);
    EXPECT_EQ(list[3].PatternGraphType(), TPatternGraphType_System);
    it = list.InsertAtBeatPosAndAdjustLength(Note(30.0f));
    EXPECT_FLOAT_EQ(it->Length(), 0.25f);
    // An event reaching beyond its element extends it.
    CGenEv longNote(5.0f, 10.0f, st_NoteOn, 38, 100);
    list.InsertAtBeatPosAndAdjustLength(longNote);
    EXPECT_FLOAT_EQ(list[1].Length(), 11.0f);
    EXPECT_EQ(list.InsertAtBeatPos(Note(TGenBeatPos_Undef)), list.end());
}

TEST(CGenPatternModAndProbs, MarksOfTheLastFilter)
{
    CGenPatternModAndProbs list = Weighted({1, 2, 3});
    list[1].mMatchedLastFilter = true;
    CGenPatternModAndProbs copy = list;
    copy.EraseAllPatternsThatNotMatchedLastFilter();
    EXPECT_EQ(Names(copy), (std::vector<std::string> {"b"}));
    list.ResetMatchedLastFilter();
    list.EraseAllPatternsThatNotMatchedLastFilter();
    EXPECT_TRUE(list.empty());
}

TEST(CGenPatternModAndProbs, EventsAcrossElements)
{
    ThreeInARow t;
    auto& list = t.mList;
    // Notes: a at 0 (uid 0x21) and 2 (0x36), b at 4 (36); b overlaps a from 3 on.
    list[1].mBeatPosAbs = 3.0f;
    const auto& c = list;
    auto r = c.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(2.5f, 1, c.begin());
    ASSERT_TRUE(r.mFound);
    EXPECT_FLOAT_EQ(r.mBeatPosAbs, 3.0f);
    EXPECT_EQ(r.mEl - c.begin(), 1);
    r = c.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(2.5f, 3, c.begin());
    EXPECT_FLOAT_EQ(r.mBeatPosAbs, 2.0f);
    r = c.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(2.0f, 0, c.begin());
    EXPECT_EQ(r.mEl, c.begin());
    EXPECT_FALSE(c.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(2.5f, 0, c.begin()).mFound);
    // Mode 3 needs an event behind the position.
    EXPECT_FALSE(c.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(9.0f, 3, c.begin()).mFound);
    EXPECT_FLOAT_EQ(c.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(9.0f, 4, c.begin()).mBeatPosAbs, 3.0f);
    EXPECT_FALSE(c.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(0.5f, 1, c.begin() + 2).mFound);

    EXPECT_FLOAT_EQ(c.FindNoteInAnyEl(0.0f, 2, 0x36, 255).mBeatPosAbs, 2.0f);
    EXPECT_FALSE(c.FindNoteInAnyEl(0.0f, 2, 0x36, 3).mFound);
    EXPECT_FLOAT_EQ(c.FindNextNoteInAnyEl(0.0f, TInstTreeUid_Undef, 255).mBeatPosAbs, 2.0f);
    EXPECT_FLOAT_EQ(c.FindPrevNoteInAnyEl(3.0f, TInstTreeUid_Undef, 255).mBeatPosAbs, 2.0f);
    EXPECT_FLOAT_EQ(c.FindPrevNoteInAnyEl(3.5f, 36, 255).mBeatPosAbs, 3.0f);
    EXPECT_FALSE(c.FindPrevNoteInAnyEl(0.0f, TInstTreeUid_Undef, 255).mFound);
}

TEST(CGenPatternModAndProbs, ADrawnElementIsWrittenAsItsOwnCopy)
{
    ThreeInARow t;
    CGenRandom random(2);
    // Weights 10, 10, 10: r = 59559187 % 30 = 7, the first element.
    auto chosen = t.mList.ChooseRandomly(random);
    ASSERT_EQ(chosen, t.mList.begin());
    chosen->PatternToBeModified().mEvs.clear();
    chosen->MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(chosen->mBeatPosAbs + 1.0f);
    EXPECT_EQ(t.mGraph.PatternAtIx(0).mEvs.size(), 2u);
    EXPECT_FLOAT_EQ(t.mGraph.PatternAtIx(0).Length(), 4.0f);
    EXPECT_TRUE(chosen->PatternToBeRead().mEvs.empty());
    EXPECT_FLOAT_EQ(chosen->Length(), 3.0f);
}

TEST(CGenPatternModAndProbs, DoubleEventsCheck)
{
    ThreeInARow t;
    EXPECT_FALSE(t.mList.Dbg_CheckForDoubleEvents(TPatternGraphType_Undef, false));
    t.mList[1].PatternToBeModified().mEvs.push_back(Note(0.0f));
    EXPECT_TRUE(t.mList.Dbg_CheckForDoubleEvents(TPatternGraphType_Undef, false));
    EXPECT_TRUE(t.mList.Dbg_CheckForDoubleEvents(TPatternGraphType_System, false));
    EXPECT_FALSE(t.mList.Dbg_CheckForDoubleEvents(TPatternGraphType_Fill, false));
    // The same position with another note is no double.
    t.mList[1].PatternToBeModified().mEvs.back().mMB1 = 38;
    EXPECT_FALSE(t.mList.Dbg_CheckForDoubleEvents(TPatternGraphType_Undef, false));
}
