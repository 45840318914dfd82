#include "Generator/CGenEv.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace zkgtest;

namespace {

constexpr float U = TGenBeatPos_Undef;

CGenEvsSignTime Map44Then78At8()
{
    return CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}, {8.0f, CGenSignTime(7, 3)}};
}

CGenEvsSignTime Map78()
{
    return CGenEvsSignTime {{0.0f, CGenSignTime(7, 3)}};
}

} // namespace

TEST(CGenEvsSignTime, EmptyMapAnswersWithItsFixedValues)
{
    const CGenEvsSignTime m;
    EXPECT_EQ(m.BeatPosToInternBarNr(5.0f), 1);
    EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(7, 1.0f), 0.0f);
    EXPECT_EQ(m.BarBeatLengthAt(0.0f), U);
    EXPECT_EQ(m.DenomBeatLengthAt(0.0f), U);
    EXPECT_EQ(m.FindBarStartPos(3.0f, 4), U);
    EXPECT_EQ(m.FirstSignTimeBeatPos(), U);
    EXPECT_FALSE(m.IsAtBarStart(0.0f));
    EXPECT_EQ(m.FindSignTimeAtOrBeforeExtendingFirstToLeft(1.0f), m.end());
    int bar = 0;
    float inBar = 0.0f, start = 0.0f;
    m.BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(1.0f, &bar, &inBar, &start);
    EXPECT_EQ(bar, TGenBarNr_Undef);
    EXPECT_EQ(inBar, U);
    EXPECT_EQ(start, U);
}

TEST(CGenEvsSignTime, Default44PlacesPositionsInBars)
{
    const CGenEvsSignTime& m = CGenEvsSignTime_Default44::Shared();
    EXPECT_FALSE(m.NeedsCompile());
    int bar = 0;
    float inBar = 0.0f, start = 0.0f;
    m.BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(9.5f, &bar, &inBar, &start);
    EXPECT_EQ(bar, 3);
    EXPECT_EQ(inBar, 1.5f);
    EXPECT_EQ(start, 8.0f);
    EXPECT_EQ(m.front().CompiledBarNr(), 1);
    // Bars extend to the left of the first element in its metre.
    EXPECT_EQ(m.BeatPosToInternBarNr(-0.5f), 0);
    EXPECT_EQ(m.BeatPosToInternBarNr(-4.0f), 0);
    EXPECT_EQ(m.BeatPosToInternBarNr(-4.5f), -1);
    EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(-1, 0.0f), -8.0f);
}

TEST(CGenEvsSignTime, SevenEightFromZero)
{
    const CGenEvsSignTime m = Map78();
    EXPECT_EQ(m.BarBeatLengthAt(0.0f), 3.5f);
    EXPECT_EQ(m.DenomBeatLengthAt(2.0f), 0.5f);
    EXPECT_TRUE(m.IsAtBarStart(7.0f));
    EXPECT_FALSE(m.IsAtBarStart(7.5f));
    EXPECT_EQ(m.BeatPosToInternBarNr(7.0f), 3);
    EXPECT_EQ(m.FindBeatStartPos(1.2f, 4), 1.0f);
    EXPECT_EQ(m.FindBeatPosInBar(8.0f), 1.0f);
    EXPECT_NEAR(m.FindBeatPosInBeat(8.2f), 0.2f, 1e-5f);
    EXPECT_EQ(m.FindBeatPosInBeat(8.25f), 0.25f);
}

TEST(CGenEvsSignTime, ChangeTo78AtBeat8)
{
    const CGenEvsSignTime m = Map44Then78At8();
    m.Compile();
    EXPECT_EQ(m[0].CompiledBarNr(), 1);
    EXPECT_EQ(m[1].CompiledBarNr(), 3);
    EXPECT_EQ(m.BeatPosToInternBarNr(7.9f), 2);
    EXPECT_EQ(m.BeatPosToInternBarNr(8.0f), 3);
    EXPECT_EQ(m.BeatPosToInternBarNr(11.5f), 4);
    EXPECT_EQ(m.BeatPosToInternBarNr(15.0f), 5);
    // Stepping back from the first bar of the new metre uses the old bar length.
    EXPECT_EQ(m.FindBarStartPos(8.0f, 3), 4.0f);
    EXPECT_EQ(m.FindBarStartPos(11.5f, 3), 8.0f);
    // Stepping forward from the last 4/4 bar uses its own length.
    EXPECT_EQ(m.FindBarStartPos(5.0f, 1), 8.0f);
    for (int bar = 1; bar <= 6; ++bar) {
        const float expected = bar <= 3 ? 4.0f * float(bar - 1) : 8.0f + 3.5f * float(bar - 3);
        EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(bar, 0.0f), expected) << bar;
        EXPECT_EQ(m.BeatPosToInternBarNr(expected), bar) << bar;
    }
    EXPECT_EQ(m.DistanceInBars(1.0f, 16.0f), 4);
    EXPECT_EQ(m.DistanceInBars(16.0f, 1.0f), -4);
    EXPECT_EQ(m.DistanceInBars(U, 1.0f), TGenBarNr_Undef);
}

TEST(CGenEvsSignTime, FindBeatModesAtAndBetweenBarLines)
{
    const CGenEvsSignTime m = Map44Then78At8();
    struct Case {
        float pos;
        TFindBeat mode;
        float expected;
    };
    const Case cases[] = {
        // Exactly on a bar line.
        {4.0f, 0, 4.0f}, {4.0f, 1, 8.0f}, {4.0f, 2, 4.0f}, {4.0f, 3, 0.0f}, {4.0f, 4, 4.0f}, {4.0f, 5, 4.0f}, {4.0f, 6, 4.0f},
        // Inside a 4/4 bar, below half.
        {5.0f, 0, U}, {5.0f, 1, 8.0f}, {5.0f, 2, 8.0f}, {5.0f, 3, 4.0f}, {5.0f, 4, 4.0f}, {5.0f, 5, 4.0f}, {5.0f, 6, 4.0f},
        // Exactly half way goes down; above half goes up.
        {6.0f, 5, 4.0f}, {6.0f, 6, 4.0f}, {6.5f, 5, 8.0f}, {6.5f, 6, 8.0f},
        // In the 7/8 part (bar length 3.5).
        {9.75f, 5, 8.0f}, {9.76f, 5, 11.5f}, {11.5f, 3, 8.0f}, {12.0f, 1, 15.0f}, {12.0f, 0, U},
        // Modes outside 0..6.
        {5.0f, 7, U}, {5.0f, -1, U},
    };
    for (const Case& c : cases)
        EXPECT_EQ(m.FindBarStartPos(c.pos, c.mode), c.expected) << c.pos << " mode " << c.mode;
    EXPECT_EQ(m.FindBarStartPos(U, 4), U);
}

TEST(CGenEvsSignTime, FindBeatStartPosWalksTheDenominatorGrid)
{
    const CGenEvsSignTime m = Map44Then78At8();
    EXPECT_EQ(m.FindBeatStartPos(9.2f, 0), U);
    EXPECT_EQ(m.FindBeatStartPos(9.0f, 0), 9.0f);
    EXPECT_EQ(m.FindBeatStartPos(9.2f, 1), 9.5f);
    EXPECT_EQ(m.FindBeatStartPos(9.0f, 1), 9.5f);
    EXPECT_EQ(m.FindBeatStartPos(9.2f, 2), 9.5f);
    EXPECT_EQ(m.FindBeatStartPos(9.0f, 3), 8.5f);
    EXPECT_EQ(m.FindBeatStartPos(9.2f, 3), 9.0f);
    EXPECT_EQ(m.FindBeatStartPos(9.25f, 5), 9.0f);
    EXPECT_EQ(m.FindBeatStartPos(9.3f, 6), 9.5f);
    EXPECT_EQ(m.FindBeatStartPos(2.5f, 4), 2.0f);
    EXPECT_EQ(m.FindBeatStartPos(2.5f, 9), U);
}

TEST(CGenEvsSignTime, FirstElementAwayFromZeroGetsItsBarNumber)
{
    // A map that starts at bar 3 of a 4/4 song.
    const CGenEvsSignTime m {{8.0f, CGenSignTime(4, 2)}};
    m.Compile();
    EXPECT_EQ(m.front().CompiledBarNr(), 3);
    EXPECT_EQ(m.BeatPosToInternBarNr(0.0f), 1);
    EXPECT_EQ(m.BeatPosToInternBarNr(7.99f), 2);
    // Stepping back from the first element uses its own bar length.
    EXPECT_EQ(m.FindBarStartPos(8.0f, 3), 4.0f);
    EXPECT_EQ(m.FindSignTimeAtOrBefore(7.0f), m.end());
    EXPECT_EQ(m.FindSignTimeAtOrBeforeExtendingFirstToLeft(7.0f), m.begin());
    EXPECT_EQ(m.FindSignTimeAtOrBeforeExtendingFirstToLeft(U), m.end());
    EXPECT_EQ(m.BarBeatLengthAt(7.0f), U);
    EXPECT_FALSE(m.IsAtBarStart(4.0f));
    EXPECT_TRUE(m.IsAtBarStart(12.0f));
    EXPECT_FALSE(m.IsAtBarStart(-4.0f));
}

TEST(CGenEvsSignTime, PickupChangeRoundsToTheNearestBarCount)
{
    // 4/4 at 0, 3/4 at 9.5 (inside bar 3): 2.375 bars round to 2.
    const CGenEvsSignTime m {{0.0f, CGenSignTime(4, 2)}, {9.5f, CGenSignTime(3, 2)}, {12.5f, CGenSignTime(4, 2)}};
    m.Compile();
    EXPECT_EQ(m[1].CompiledBarNr(), 3);
    EXPECT_EQ(m[2].CompiledBarNr(), 4);
    EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(4, 0.0f), 12.5f);
}

TEST(CGenEvsSignTime, BarToPositionClampsTheLengthByTheNumerator)
{
    const CGenEvsSignTime m = Map78();
    // 7/8: the numerator (7) bounds the length, not the bar length (3.5).
    EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(2, 5.0f), 8.5f);
    EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(2, 9.0f), 10.5f);
    EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(2, -1.0f), 3.5f);
    EXPECT_EQ(m.InternBarNrAndBeatNrToBeatPos(2, 2), 4.5f);
    EXPECT_EQ(m.InternBarNrAndLengthInBarToBeatPos(TGenBarNr_Undef, 0.0f), U);
    EXPECT_EQ(m.FindBarStartPosThenIterateBarDist(4.0f, 4, 2), 10.5f);
    EXPECT_EQ(m.FindBarStartPosThenIterateBarDist(4.0f, 1, -1), 3.5f);
}

TEST(CGenEvsSignTime, IterHintIsUsedAndUpdated)
{
    const CGenEvsSignTime m = Map44Then78At8();
    CGenEvsSignTime::const_iterator hint = m.end();
    int bar = 0;
    float inBar = 0.0f;
    m.BeatPosToInternBarNrAndLengthInBar(1.0f, &bar, &inBar, &hint);
    EXPECT_EQ(hint, m.begin());
    // A sequential scan walks the hint forward across the change.
    m.BeatPosToInternBarNrAndLengthInBar(12.0f, &bar, &inBar, &hint);
    EXPECT_EQ(bar, 4);
    EXPECT_EQ(inBar, 0.5f);
    EXPECT_EQ(hint, m.begin() + 1);
    // A hint after the position is ignored.
    m.BeatPosToInternBarNrAndLengthInBar(5.0f, &bar, &inBar, &hint);
    EXPECT_EQ(bar, 2);
    EXPECT_EQ(hint, m.begin());
    // No output asked for: nothing happens.
    m.BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(5.0f, nullptr, nullptr, nullptr, &hint);
    int beat = 0;
    float start = 0.0f;
    m.BeatPosToInternBarNrAndInternBeatNrAndBarStartBeatPos(10.25f, &bar, &beat, &start);
    EXPECT_EQ(bar, 3);
    EXPECT_EQ(beat, 3);
    EXPECT_EQ(start, 8.0f);
}

TEST(CGenEvsSignTime, ChangesMarkTheMapForCompilation)
{
    CGenEvsSignTime m = Map44Then78At8();
    EXPECT_EQ(m.BeatPosToInternBarNr(11.5f), 4);
    EXPECT_FALSE(m.NeedsCompile());
    m[1].mBeatPosAbs = 12.0f;
    EXPECT_TRUE(m.NeedsCompile());
    EXPECT_EQ(m.BeatPosToInternBarNr(12.0f), 4);
    m.InsertAtCorrectBeatPos(CGenEvSignTime(4.0f, CGenSignTime(3, 2)));
    EXPECT_TRUE(m.NeedsCompile());
    EXPECT_EQ(m.BeatPosToInternBarNr(7.0f), 3);
    EXPECT_EQ(m.BeatPosToInternBarNr(12.0f), 5);
    const CGenEvsSignTime copy = m;
    EXPECT_FALSE(copy.NeedsCompile());
    EXPECT_EQ(copy, m);
    m.ClearAndSetNeedsCompile();
    EXPECT_TRUE(m.empty());
    EXPECT_TRUE(m.NeedsCompile());
}

TEST(CGenEvsSignTime, ConcurrentReadersOfAnUncompiledMapAgree)
{
    const CGenEvsSignTime m = Map44Then78At8();
    ASSERT_TRUE(m.NeedsCompile());
    std::vector<int> results(8, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&m, &results, t] { results[t] = m.BeatPosToInternBarNr(11.5f + 3.5f * float(t)); });
    for (auto& th : threads)
        th.join();
    for (int t = 0; t < 8; ++t)
        EXPECT_EQ(results[t], 4 + t);
}

TEST(CGenEvsSignTime, BeatPosStringsRoundTrip)
{
    const CGenEvsSignTime m = Map44Then78At8();
    EXPECT_EQ(m.BeatPosString(9.5f), "b3.2.5");
    EXPECT_EQ(m.BeatPosString(4.0f), "b2.1");
    EXPECT_EQ(m.BeatPosString(0.125f), "b1.1.125");
    EXPECT_EQ(m.BeatPosString(-1.0f), "b0.4");
    EXPECT_EQ(m.BeatPosString(U), "Undef");
    for (float p : {0.0f, 1.25f, 4.0f, 8.5f, 13.75f, -1.0f})
        EXPECT_EQ(m.BeatPosStringToBeatPos(m.BeatPosString(p)), p) << p;
    EXPECT_EQ(m.BeatPosStringToBeatPos("b3 2.5"), 9.5f);
    EXPECT_EQ(m.BeatPosStringToBeatPos("b3"), 8.0f);
    EXPECT_EQ(m.BeatPosStringToBeatPos("3.2"), U);
    EXPECT_EQ(m.BeatPosStringToBeatPos("bx.2"), U);
    EXPECT_EQ(m.BeatPosStringToBeatPos("b3.2x"), U);
    EXPECT_EQ(m.BeatPosStringToBeatPos(""), U);

    EXPECT_EQ(m.BeatLengthString(2.0f, 9.5f), "2:1.5");
    EXPECT_EQ(m.BeatLengthString(0.0f, 4.0f), "1:0");
    EXPECT_EQ(m.BeatLengthString(0.0f, -1.0f), "Undef");
    EXPECT_EQ(m.BeatLengthStringToBeatLength("2:1.5", 2.0f), 9.5f);
    EXPECT_EQ(m.BeatLengthStringToBeatLength("2:0", 8.0f), 7.0f);
    EXPECT_EQ(m.BeatLengthStringToBeatLength("2.5", 8.0f), U);
}

TEST(CGenEvsSignTimeArchive, RoundTripsAndNeedsCompileAfterLoad)
{
    CGenEvsSignTime m {{0.0f, CGenSignTime(4, 2)}, {8.0f, CGenSignTime({3, 2, 2}, 3)}};
    m.Compile();
    for (const CGenEvsSignTime& r : {TextRoundTrip(m), BinaryRoundTrip(m), XmlRoundTrip(m)}) {
        EXPECT_EQ(r, m);
        EXPECT_TRUE(r.NeedsCompile());
        EXPECT_EQ(r.BeatPosToInternBarNr(11.5f), 4);
    }
    const std::string xml = ToXmlArchive(m);
    EXPECT_NE(xml.find("<TGenEvsSignTime"), std::string::npos);
    EXPECT_NE(xml.find("<CGenSignTime"), std::string::npos);
    EXPECT_NE(xml.find("<mCompoundNoms"), std::string::npos);
}

TEST(CGenEvPosInBar, ConvertsThroughTheMap)
{
    const CGenEvsSignTime m = Map44Then78At8();
    // An event at 1.5 in a list that starts at 8: absolute 9.5, in the 7/8 bar from 8.
    CGenEv ev(1.5f, 1.0f, st_NoteOn, 36, 100);
    EXPECT_EQ(ev.BeatPosAbsInBar(8.0f, m), 1.5f);
    EXPECT_EQ(ev.BeatPosAbsInBeat(8.0f, m), 0.0f);
    EXPECT_EQ(ev.EndBeatPosAbsInBar(8.0f, m), 2.5f);
    EXPECT_EQ(ev.BeatPosAbsInBar(U, m), U);

    ev.SetBeatPosAbsInBar(8.0f, m, 3.0f, TSetBeatPosAbsOption_Allow);
    EXPECT_EQ(ev.mBeatPos, 3.0f);
    ev.SetBeatPosAbsInBar(8.0f, m, 4.0f, TSetBeatPosAbsOption_Wrap);
    EXPECT_EQ(ev.mBeatPos, 0.5f);
    ev.SetBeatPosAbsInBar(8.0f, m, 4.0f, TSetBeatPosAbsOption_Clamp);
    EXPECT_EQ(ev.mBeatPos, 3.5f - TGenBeatPos_Unit);
    ev.SetBeatPosAbsInBar(8.0f, m, 5.0f, TSetBeatPosAbsOption_Allow);
    EXPECT_EQ(ev.mBeatPos, 5.0f);
    // Now in the bar from 11.5: beat grid of eighths.
    ev.SetBeatPosAbsInBeat(8.0f, m, 0.25f, TSetBeatPosAbsOption_Allow);
    EXPECT_EQ(ev.mBeatPos, 5.25f);
    ev.SetBeatPosAbsInBeat(8.0f, m, 0.75f, TSetBeatPosAbsOption_Wrap);
    EXPECT_EQ(ev.mBeatPos, 5.25f);
    ev.SetBeatPosAbsInBeat(8.0f, m, -1.0f, TSetBeatPosAbsOption_Clamp);
    EXPECT_EQ(ev.mBeatPos, 5.0f);

    CGenEv noLength(2.0f, TGenBeatLength_Undef, st_NoteOn, 36, 100);
    EXPECT_EQ(noLength.EndBeatPosAbsInBar(0.0f, m), U);
    CGenEv undefPos(U, 1.0f, st_NoteOn, 36, 100);
    undefPos.SetBeatPosAbsInBar(0.0f, m, 1.0f, TSetBeatPosAbsOption_Allow);
    EXPECT_EQ(undefPos.mBeatPos, U);
}
