// Grooves applied to events: the loop length, the search around an event's
// loop position with its wrapping, moving and scaling one event by each
// strategy and strength, the list forms, and the passes that pick a track per
// family of events.
#include "Generator/CGenEvs.h"
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/shaping/CGenGroove.h"
#include "TestSupport/EvsFields.h"
#include "TestSupport/GeneratorTestAccess.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using T = CGenGrooveTrack;

CGenGrooveApply Apply(int beatStrategy, int velocityStrategy, float beatStrength = 1.0f, float velStrength = 1.0f,
    float grid = 0.25f)
{
    CGenGrooveApply a;
    a.mSourceBeatGridLength = grid;
    a.mBeatStrategy = beatStrategy;
    a.mApplyBeatPos = beatStrength;
    a.mVelocityStrategy = velocityStrategy;
    a.mApplyVelocity = velStrength;
    return a;
}

CGenEv Note(float pos, int nr, int velocity) { return CGenEv(pos, 0.25f, st_NoteOn, nr, velocity); }

CGenGrooveTrack Track(int type, std::vector<CGenGrooveEl> els, float length = 0.0f)
{
    CGenGrooveTrack t;
    t.assign(els.begin(), els.end());
    t.mType = type;
    t.mBeatLength = length;
    return t;
}

// One element at 0 played `shift` later, loop of one beat: interpolating
// between it and its next loop's copy gives the same shift everywhere.
CGenGrooveTrack ShiftTrack(int type, float shift) { return Track(type, {CGenGrooveEl(0.0f, 0.25f, shift, 255)}, 1.0f); }

CGenGroove GrooveOf(std::vector<CGenGrooveTrack> tracks)
{
    CGenGroove g("test");
    g.assign(tracks.begin(), tracks.end());
    return g;
}

// Elements at 0, 1 and 2.5 played at 0.125, 1.125 and 2.375; a loop of 4.
CGenGrooveTrack ThreeEls()
{
    return Track(T::TType_All,
        {CGenGrooveEl(0.0f, 0.5f, 0.125f, 100), CGenGrooveEl(1.0f, 1.5f, 1.125f, 80),
            CGenGrooveEl(2.5f, 3.0f, 2.375f, 60)},
        4.0f);
}

// The element (by source position) and distance a search finds.
void ExpectFound(const CGenGrooveTrack& t, const CGenGrooveTrack::TWrappedEl& r, float source, float dist)
{
    ASSERT_NE(r.mEl, t.end());
    EXPECT_FLOAT_EQ(r.mEl->SourceBeatPos(), source);
    EXPECT_FLOAT_EQ(r.mDist, dist);
}

} // namespace

TEST(CGenGrooveTrack, UsableLength)
{
    EXPECT_FLOAT_EQ(Track(T::TType_All, {}).UsableLength(), 1.0f);
    // (floor(1 / 3.75) + 1) * 3.75 = (0 + 1) * 3.75.
    EXPECT_FLOAT_EQ(Track(T::TType_All, {CGenGrooveEl(0, 0, 0, 255), CGenGrooveEl(3.75f, 4, 3.75f, 255)}).UsableLength(),
        3.75f);
    // (floor(1 / 0.75) + 1) * 0.75 = 2 * 0.75; (floor(1 / 0.5) + 1) * 0.5 = 3 * 0.5.
    EXPECT_FLOAT_EQ(Track(T::TType_All, {CGenGrooveEl(0.75f, 1, 0.75f, 255)}).UsableLength(), 1.5f);
    EXPECT_FLOAT_EQ(Track(T::TType_All, {CGenGrooveEl(0.5f, 1, 0.5f, 255)}).UsableLength(), 1.5f);
    // A last element at 0 or before gives 1; mBeatLength above 0 wins.
    EXPECT_FLOAT_EQ(Track(T::TType_All, {CGenGrooveEl(0, 0, 0, 255)}).UsableLength(), 1.0f);
    EXPECT_FLOAT_EQ(Track(T::TType_All, {CGenGrooveEl(-0.5f, 0, 0, 255)}).UsableLength(), 1.0f);
    EXPECT_FLOAT_EQ(Track(T::TType_All, {CGenGrooveEl(3.75f, 4, 3.75f, 255)}, 8.0f).UsableLength(), 8.0f);
    EXPECT_FLOAT_EQ(Track(T::TType_All, {CGenGrooveEl(3.75f, 4, 3.75f, 255)}, -2.0f).UsableLength(), 3.75f);
}

TEST(CGenGrooveTrack, WrapsAtTheUsableLength)
{
    // A track ending at 3.75 loops every 3.75 beats: 4.0 is 0.25 into the
    // next loop, so the element at or before it is the one at 0 (distance -0.25).
    const CGenGrooveTrack t = Track(T::TType_All, {CGenGrooveEl(0, 0.25f, 0, 255), CGenGrooveEl(3.75f, 4, 3.75f, 255)});
    ExpectFound(t, t.DetermineWrappedGrooveEl(Apply(0, 3), 4.0f, 0, 0, 4), 0.0f, -0.25f);
}

TEST(CGenGrooveTrack, DistToClosestSourceBeatGrid)
{
    // 1.125 lies 0.125 past 1.0 and 0.125 before 1.25: exactly half goes down.
    EXPECT_FLOAT_EQ(T::_DistToClosestSourceBeatGrid(Apply(0, 3), 1.125f), -0.125f);
    // 1.2 is 0.05 before 1.25.
    EXPECT_NEAR(T::_DistToClosestSourceBeatGrid(Apply(0, 3), 1.2f), 0.05f, 1e-6f);
    EXPECT_FLOAT_EQ(T::_DistToClosestSourceBeatGrid(Apply(0, 3), 2.0f), 0.0f);
    EXPECT_EQ(T::_DistToClosestSourceBeatGrid(Apply(0, 3, 1, 1, 0.0f), 1.1f), TGenBeatPos_Undef);
    EXPECT_EQ(T::_DistToClosestSourceBeatGrid(Apply(0, 3), TGenBeatPos_Undef), TGenBeatPos_Undef);
}

TEST(CGenGrooveTrack, CalcVelocityMinMaxAvrgNeeded)
{
    EXPECT_TRUE(T::_CalcVelocityMinMaxAvrgNeeded(Apply(0, kVelocityStrategy_ScaleToList)));
    EXPECT_TRUE(T::_CalcVelocityMinMaxAvrgNeeded(Apply(0, kVelocityStrategy_ScaleToListAlike)));
    EXPECT_FALSE(T::_CalcVelocityMinMaxAvrgNeeded(Apply(0, kVelocityStrategy_Scale)));
    EXPECT_FALSE(T::_CalcVelocityMinMaxAvrgNeeded(Apply(0, kVelocityStrategy_Take)));
    EXPECT_FALSE(T::_CalcVelocityMinMaxAvrgNeeded(Apply(0, kVelocityStrategy_Deviate)));
}

TEST(CGenGrooveTrack, DetermineWrappedGrooveElDirectedModes)
{
    const CGenGrooveTrack t = ThreeEls();
    const CGenGrooveApply a = Apply(0, 3);
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 1.5f, 0, 0, 4), 1.0f, -0.5f);  // 1 - 1.5
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 1.5f, 0, 0, 1), 2.5f, 1.0f);   // 2.5 - 1.5
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 1.0f, 0, 0, 2), 1.0f, 0.0f);   // at
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 1.0f, 0, 0, 1), 2.5f, 1.5f);   // strictly after
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 1.0f, 0, 0, 3), 0.0f, -1.0f);  // strictly before
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 1.0f, 0, 0, 0), 1.0f, 0.0f);
    EXPECT_EQ(t.DetermineWrappedGrooveEl(a, 1.25f, 0, 0, 0).mEl, t.end());
    // The offsets: 0.5 + 4.5 = 5.0 is 1.0 into the second loop; minus an extra 1.0 it is 0.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 0.5f, 4.5f, 0, 2), 1.0f, 0.0f);
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 0.5f, 4.5f, 1.0f, 2), 0.0f, 0.0f);
    // Beyond the loop: fmod(9.5, 4) = 1.5.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 9.5f, 0, 0, 4), 1.0f, -0.5f);
    // Before the loop start: -0.5 is 3.5 of the loop before; 2.5 - 3.5 = -1.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, -0.5f, 0, 0, 4), 2.5f, -1.0f);
}

TEST(CGenGrooveTrack, DetermineWrappedGrooveElWrapsAtBothEnds)
{
    const CGenGrooveTrack t = ThreeEls();
    const CGenGrooveApply a = Apply(0, 3);
    // Nothing after 3.0: the first element one loop on, at 4 - 3 + 0 = 1.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 3.0f, 0, 0, 1), 0.0f, 1.0f);
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 3.0f, 0, 0, 2), 0.0f, 1.0f);
    // Nothing strictly before 0: the last element one loop back, 4 + 0 - 2.5 = 1.5 before.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 0.0f, 0, 0, 3), 2.5f, -1.5f);
    // Elements at 0.5 and 2: nothing at or before 0.25, so the one at 2 one loop
    // back, 4 + 0.25 - 2 = 2.25 before.
    const CGenGrooveTrack late = Track(T::TType_All, {CGenGrooveEl(0.5f, 1, 0.5f, 90), CGenGrooveEl(2, 3, 2, 90)}, 4.0f);
    ExpectFound(late, late.DetermineWrappedGrooveEl(a, 0.25f, 0, 0, 4), 2.0f, -2.25f);
}

TEST(CGenGrooveTrack, DetermineWrappedGrooveElNearest)
{
    const CGenGrooveTrack t = ThreeEls();
    const CGenGrooveApply a = Apply(0, 3);
    // 1.75 lies 0.75 from 1 and from 2.5: the tie goes to the earlier one.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 1.75f, 0, 0, 5), 1.0f, -0.75f);
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 2.0f, 0, 0, 5), 2.5f, 0.5f);
    // 3.5: 2.5 lies 1.0 before, the first element of the next loop 4 + 0 - 3.5 = 0.5 after.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 3.5f, 0, 0, 5), 0.0f, 0.5f);
    // 3.25: 0.75 either way; the element found keeps the tie.
    ExpectFound(t, t.DetermineWrappedGrooveEl(a, 3.25f, 0, 0, 5), 2.5f, -0.75f);
}

TEST(CGenGrooveTrack, DetermineWrappedGrooveElStrategy2MeasuresToTheTarget)
{
    const CGenGrooveTrack t = ThreeEls();
    // Found by source (1.0), measured as local - target: 1.0 - 1.125.
    ExpectFound(t, t.DetermineWrappedGrooveEl(Apply(2, 3), 1.0f, 0, 0, 5), 1.0f, -0.125f);
    // The first element one loop on: 3.75 - (0.125 + 4).
    ExpectFound(t, t.DetermineWrappedGrooveEl(Apply(2, 3), 3.75f, 0, 0, 5), 0.0f, -0.375f);
}

TEST(CGenGrooveTrack, DetermineWrappedGrooveElStrategy3CountsHalfAGrid)
{
    const CGenGrooveTrack t = ThreeEls();
    // Grid 0.25, half 0.125: 1.0625 is 0.0625 past 1.0.
    ExpectFound(t, t.DetermineWrappedGrooveEl(Apply(3, 3), 1.0625f, 0, 0, 5), 1.0f, -0.0625f);
    // 1.125 is exactly half a grid away: not within.
    EXPECT_EQ(t.DetermineWrappedGrooveEl(Apply(3, 3), 1.125f, 0, 0, 5).mEl, t.end());
    // A grid of 1: half is 0.5, and 1.375 lies 0.375 from 1.0.
    ExpectFound(t, t.DetermineWrappedGrooveEl(Apply(3, 3, 1, 1, 1.0f), 1.375f, 0, 0, 5), 1.0f, -0.375f);
    // Without a grid nothing is within.
    EXPECT_EQ(t.DetermineWrappedGrooveEl(Apply(3, 3, 1, 1, 0.0f), 1.0f, 0, 0, 5).mEl, t.end());
}

TEST(CGenGrooveTrack, DetermineWrappedGrooveElFindsNothing)
{
    const CGenGrooveTrack empty = Track(T::TType_All, {}, 4.0f);
    const CGenGrooveTrack::TWrappedEl r = empty.DetermineWrappedGrooveEl(Apply(0, 3), 1.0f, 0, 0, 4);
    EXPECT_EQ(r.mEl, empty.end());
    EXPECT_EQ(r.mDist, TGenBeatPos_Undef);
    const CGenGrooveTrack t = ThreeEls();
    EXPECT_EQ(t.DetermineWrappedGrooveEl(Apply(0, 3), TGenBeatPos_Undef, 0, 0, 4).mEl, t.end());
    EXPECT_EQ(t.DetermineWrappedGrooveEl(Apply(0, 3), 1.0f, TGenBeatPos_Undef, 0, 4).mEl, t.end());
    EXPECT_EQ(t.DetermineWrappedGrooveEl(Apply(0, 3), 1.0f, 0, 0, 7).mEl, t.end());
    EXPECT_EQ(t.DetermineWrappedGrooveEl(Apply(0, 3), 1.0f, 0, 0, -1).mEl, t.end());
}

// Interpolation on a loop of 2: A at 0 played at 0.125 (shift +0.125, v 100),
// B at 1 played at 0.75 (shift -0.25, v 40).
class GrooveInterpolation : public ::testing::Test {
protected:
    CGenGrooveTrack mTrack = Track(T::TType_All, {CGenGrooveEl(0, 0.5f, 0.125f, 100), CGenGrooveEl(1, 1.5f, 0.75f, 40)}, 2.0f);
    TVelocityMinMaxAvrg mStats;

    CGenEv Applied(float pos, int velocity, const CGenGrooveApply& apply) const
    {
        CGenEv ev = Note(pos, 36, velocity);
        mTrack.ApplyTo(ev, 0.0f, 0.0f, apply, mStats);
        return ev;
    }
};

TEST_F(GrooveInterpolation, EqualDistancesWeighHalfEach)
{
    // 0.5: d1 = -0.5 (A), d2 = 0.5 (B); s = 1, w1 = w2 = 0.5.
    // Position 0.5 + 0.125 * 0.5 - 0.25 * 0.5 = 0.4375; G = trunc(40 * 0.5 + 100 * 0.5) = 70.
    const CGenEv ev = Applied(0.5f, 90, Apply(0, kVelocityStrategy_Take));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.4375f);
    EXPECT_EQ(ev.mMB2, 70);
}

TEST_F(GrooveInterpolation, UnequalDistances)
{
    // 0.25: d1 = -0.25, d2 = 0.75; w1 = 1 - 0.25 = 0.75, w2 = 0.25.
    // Position 0.25 + 0.125 * 0.75 - 0.25 * 0.25 = 0.28125; G = trunc(40 * 0.25 + 100 * 0.75) = 85.
    const CGenEv ev = Applied(0.25f, 90, Apply(0, kVelocityStrategy_Take));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.28125f);
    EXPECT_EQ(ev.mMB2, 85);
}

TEST_F(GrooveInterpolation, OnAnElementAndAcrossTheLoopEnd)
{
    // 1.0 lies on B: w1 = 1, w2 = 0; 1.0 - 0.25 = 0.75, velocity 40.
    CGenEv ev = Applied(1.0f, 90, Apply(1, kVelocityStrategy_Take));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.75f);
    EXPECT_EQ(ev.mMB2, 40);
    // 1.5: B 0.5 before, A one loop on at 2 - 1.5 + 0 = 0.5 after; half each:
    // 1.5 - 0.25 * 0.5 + 0.125 * 0.5 = 1.4375.
    ev = Applied(1.5f, 90, Apply(1, kVelocityStrategy_Take));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 1.4375f);
    EXPECT_EQ(ev.mMB2, 70);
}

TEST_F(GrooveInterpolation, BeatStrength)
{
    // Target 0.4375 from 0.5: half the way is 0.5 - 0.0625 * 0.5 = 0.46875.
    EXPECT_FLOAT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Take, 0.5f)).mBeatPos, 0.46875f);
    EXPECT_FLOAT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Take, 0.0f)).mBeatPos, 0.5f);
}

TEST_F(GrooveInterpolation, VelocityStrategies)
{
    // G before scaling is 70 at 0.5 (see above); V = 90.
    // Take: trunc((70 - 90) * s + 90): 70 at 1, 80 at 0.5, 90 at 0.
    EXPECT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Take, 1, 1.0f)).mMB2, 70);
    EXPECT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Take, 1, 0.5f)).mMB2, 80);
    EXPECT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Take, 1, 0.0f)).mMB2, 90);
    // Scale: G = 90 * 70 / 255 = 6300 / 255 = 24; at 0.5: trunc((24 - 90) * 0.5 + 90) = 57.
    for (int strategy : {kVelocityStrategy_ScaleToList, kVelocityStrategy_ScaleToListAlike, kVelocityStrategy_Scale}) {
        EXPECT_EQ(Applied(0.5f, 90, Apply(0, strategy, 1, 1.0f)).mMB2, 24) << strategy;
        EXPECT_EQ(Applied(0.5f, 90, Apply(0, strategy, 1, 0.5f)).mMB2, 57) << strategy;
        EXPECT_EQ(Applied(0.5f, 90, Apply(0, strategy, 1, 0.0f)).mMB2, 90) << strategy;
    }
    // Deviate: 90 + trunc((70 - 64) * s): 96 at 1, 93 at 0.5, 90 at 0.
    EXPECT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Deviate, 1, 1.0f)).mMB2, 96);
    EXPECT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Deviate, 1, 0.5f)).mMB2, 93);
    EXPECT_EQ(Applied(0.5f, 90, Apply(0, kVelocityStrategy_Deviate, 1, 0.0f)).mMB2, 90);
}

TEST(CGenGrooveTrack, DeviateReadsTheGrooveAsSignedAround64)
{
    TVelocityMinMaxAvrg stats;
    auto applied = [&](uint8_t grooveVelocity, int velocity, float strength) {
        const CGenGrooveTrack t = Track(T::TType_All, {CGenGrooveEl(0, 0.5f, 0, grooveVelocity)}, 1.0f);
        CGenEv ev = Note(0.0f, 36, velocity);
        t.ApplyTo(ev, 0, 0, Apply(0, kVelocityStrategy_Deviate, 1, strength), stats);
        return ev.mMB2;
    };
    EXPECT_EQ(applied(64, 90, 1.0f), 90);
    // 90 + (20 - 64) = 46; at 0.5: 90 + trunc(-22) = 68.
    EXPECT_EQ(applied(20, 90, 1.0f), 46);
    EXPECT_EQ(applied(20, 90, 0.5f), 68);
    // G may be 0 here (elsewhere at least 1): 100 - 64 = 36, not 37.
    EXPECT_EQ(applied(0, 100, 1.0f), 36);
    // Clamped: 120 + 63 = 183 gives 127; 10 - 64 gives 1.
    EXPECT_EQ(applied(127, 120, 1.0f), 127);
    EXPECT_EQ(applied(0, 10, 1.0f), 1);
}

TEST(CGenGrooveTrack, TakeKeepsAtLeastVelocity1)
{
    // Both elements 0: G is clamped to 1 outside strategy 4.
    const CGenGrooveTrack t = Track(T::TType_All, {CGenGrooveEl(0, 0.5f, 0, 0)}, 1.0f);
    CGenEv ev = Note(0.5f, 36, 90);
    t.ApplyTo(ev, 0, 0, Apply(0, kVelocityStrategy_Take), TVelocityMinMaxAvrg());
    EXPECT_EQ(ev.mMB2, 1);
    // Scale: 2 * 1 / 255 = 0, yet a note-on stays at 1 or more.
    ev = Note(0.5f, 36, 2);
    t.ApplyTo(ev, 0, 0, Apply(0, kVelocityStrategy_Scale), TVelocityMinMaxAvrg());
    EXPECT_EQ(ev.mMB2, 1);
}

TEST_F(GrooveInterpolation, UnsetVelocitiesAndNoGridLeaveThingsAlone)
{
    // Velocity -1 (not set): the position moves, the velocity stays.
    CGenEv ev = Applied(0.5f, -1, Apply(0, kVelocityStrategy_Take));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.4375f);
    EXPECT_EQ(ev.mMB2, -1);
    // No grid: strategies 0 and 1 do nothing at all.
    ev = Applied(0.5f, 90, Apply(0, kVelocityStrategy_Take, 1, 1, 0.0f));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.5f);
    EXPECT_EQ(ev.mMB2, 90);
    ev = Applied(0.5f, 90, Apply(1, kVelocityStrategy_Take, 1, 1, TGenBeatLength_Undef));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.5f);
    // An unknown beat strategy does nothing either.
    ev = Applied(0.5f, 90, Apply(9, kVelocityStrategy_Take));
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.5f);
    EXPECT_EQ(ev.mMB2, 90);
}

TEST(CGenGrooveTrack, ElementsWithoutVelocityKeepTheEventsVelocity)
{
    const CGenGrooveTrack t = Track(T::TType_All, {CGenGrooveEl(0, 0.5f, 0.125f, 100), CGenGrooveEl(1, 1.5f, 1, 255)}, 2.0f);
    CGenEv ev = Note(0.5f, 36, 90);
    t.ApplyTo(ev, 0, 0, Apply(0, kVelocityStrategy_Deviate), TVelocityMinMaxAvrg());
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.5625f); // 0.5 + 0.125 * 0.5
    EXPECT_EQ(ev.mMB2, 90);
    ev = Note(1.0f, 36, 90);
    t.ApplyTo(ev, 0, 0, Apply(2, kVelocityStrategy_Take), TVelocityMinMaxAvrg());
    EXPECT_EQ(ev.mMB2, 90);
}

// Strategy 2 on a loop of 4: X with source range [1, 1.25] played at 1.125
// (v 80), Y with [2, 2.5], only its minimum enabled, played at 1.875 (v 60).
class GrooveNearestTarget : public ::testing::Test {
protected:
    CGenGrooveTrack mTrack = Track(T::TType_All,
        {CGenGrooveEl(1.0f, 1.25f, 1.125f, 80), CGenGrooveEl(2.0f, 2.5f, 1.875f, 60)}, 4.0f);

    void SetUp() override { mTrack[1].mSourceBeatRange.mMaxEnabled = false; }

    CGenEv Applied(float pos, int velocity, int velocityStrategy = kVelocityStrategy_Take, float strength = 1.0f) const
    {
        CGenEv ev = Note(pos, 36, velocity);
        mTrack.ApplyTo(ev, 0, 0, Apply(2, velocityStrategy, strength), TVelocityMinMaxAvrg());
        return ev;
    }
};

TEST_F(GrooveNearestTarget, MovesToTheTargetWithinTheEnabledBounds)
{
    // 1.0: X, d = 1.0 - 1.125; 1.0 - d = 1.125. Velocity 80 is taken.
    CGenEv ev = Applied(1.0f, 100);
    EXPECT_FLOAT_EQ(ev.mBeatPos, 1.125f);
    EXPECT_EQ(ev.mMB2, 80);
    // Half strength: 1.0 + 0.125 * 0.5.
    EXPECT_FLOAT_EQ(Applied(1.0f, 100, kVelocityStrategy_Take, 0.5f).mBeatPos, 1.0625f);
    // 2.75: Y (0.75 away; X one loop on 2.25), d = 2.75 - 1.875 = 0.875; Y's
    // maximum is off, so 2.75 - 0.875 = 1.875.
    EXPECT_FLOAT_EQ(Applied(2.75f, 100).mBeatPos, 1.875f);
}

TEST_F(GrooveNearestTarget, StaysOutsideTheEnabledBounds)
{
    // 0.75 < X's minimum 1.0: it stays, but still takes the velocity.
    CGenEv ev = Applied(0.75f, 100);
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.75f);
    EXPECT_EQ(ev.mMB2, 80);
    // 1.5: a tie between X and Y goes to X; 1.5 > its maximum 1.25.
    EXPECT_FLOAT_EQ(Applied(1.5f, 100).mBeatPos, 1.5f);
    // 1.75: Y, below its minimum 2.0 ...
    EXPECT_FLOAT_EQ(Applied(1.75f, 100).mBeatPos, 1.75f);
    // ... which moves once that bound is off: 1.75 - (1.75 - 1.875).
    mTrack[1].mSourceBeatRange.mMinEnabled = false;
    EXPECT_FLOAT_EQ(Applied(1.75f, 100).mBeatPos, 1.875f);
}

TEST_F(GrooveNearestTarget, ScalesByTheElementsVelocity)
{
    // 100 * 80 / 255 = 8000 / 255 = 31.
    EXPECT_EQ(Applied(1.0f, 100, kVelocityStrategy_Scale).mMB2, 31);
    // 64 + (80 - 64).
    EXPECT_EQ(Applied(1.0f, 64, kVelocityStrategy_Deviate).mMB2, 80);
}

TEST(CGenGrooveTrack, NearestOnGridSnapsWithinHalfAGrid)
{
    // Elements at 0 (v 100) and 0.5 (v 50), loop 1, grid 0.25.
    const CGenGrooveTrack t = Track(T::TType_All, {CGenGrooveEl(0, 0.25f, 0.0625f, 100), CGenGrooveEl(0.5f, 0.75f, 0.5625f, 50)}, 1.0f);
    auto applied = [&](float pos) {
        CGenEv ev = Note(pos, 36, 90);
        t.ApplyTo(ev, 0, 0, Apply(3, kVelocityStrategy_Take), TVelocityMinMaxAvrg());
        return ev;
    };
    // 0.5625 is 0.0625 past 0.5: onto the source position 0.5, velocity 50.
    CGenEv ev = applied(0.5625f);
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.5f);
    EXPECT_EQ(ev.mMB2, 50);
    // 0.375 is 0.125 from 0.5, not less than half a grid: untouched.
    ev = applied(0.375f);
    EXPECT_FLOAT_EQ(ev.mBeatPos, 0.375f);
    EXPECT_EQ(ev.mMB2, 90);
    // 0.9375: the element at 0 one loop on is 1 + 0 - 0.9375 = 0.0625 away.
    ev = applied(0.9375f);
    EXPECT_FLOAT_EQ(ev.mBeatPos, 1.0f);
    EXPECT_EQ(ev.mMB2, 100);
}

TEST(CGenGrooveTrack, ListFormsTakeSoundingNotesOnly)
{
    const CGenGrooveTrack t = ShiftTrack(T::TType_All, 0.125f);
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(Note(1.0f, 36, 100));
    evs.InsertAtBeatPos(Note(2.0f, 38, 100));
    evs.InsertAtBeatPos(Note(3.0f, 36, 0));                   // a note-off
    evs.InsertAtBeatPos(CGenEv(3.5f, 0.25f, 0xB0, 36, 100)); // a controller
    evs.InsertAtBeatPos(Note(4.0f, 36, -1));
    t.ApplyTo(evs, 0, std::vector<int> {36}, Apply(0, kVelocityStrategy_Take));
    EXPECT_EQ(zkgtest::EvPositions(evs), (std::vector<float> {1.125f, 2.0f, 3.0f, 3.5f, 4.125f}));
}

TEST(CGenGrooveTrack, NoteRangeForm)
{
    const CGenGrooveTrack t = ShiftTrack(T::TType_All, 0.125f);
    CGenEvs evs(8.0f);
    for (int i = 0; i < 4; ++i)
        evs.InsertAtBeatPos(Note(static_cast<float>(i + 1), std::vector<int> {36, 42, 50, 51}[i], 100));
    t.ApplyTo(evs, 0, CGenRange<int>(40, 50), Apply(0, kVelocityStrategy_Take));
    EXPECT_EQ(zkgtest::EvPositions(evs), (std::vector<float> {1.0f, 2.125f, 3.125f, 4.0f}));
    // Without its minimum the range takes 36 too.
    t.ApplyTo(evs, 0, CGenRange<int>(40, 50, false, true), Apply(0, kVelocityStrategy_Take));
    EXPECT_EQ(zkgtest::EvPositions(evs), (std::vector<float> {1.125f, 2.25f, 3.25f, 4.0f}));
}

TEST(CGenGrooveTrack, UidFormAndInvert)
{
    const CGenGrooveTrack t = ShiftTrack(T::TType_All, 0.125f);
    const TInstTreeUids kick {0x11000000};
    auto positions = [&](const TInstTreeUids& uids, bool invert) {
        CGenEvs evs(4.0f);
        evs.InsertAtBeatPos(Note(1.0f, 0x11000000, 100)); // Drums.Ki
        evs.InsertAtBeatPos(Note(2.0f, 0x12000000, 100)); // Drums.Sn
        evs.InsertAtBeatPos(Note(3.0f, 0x14101030, 100)); // a hi-hat hit
        t.ApplyToUidEvs(evs, 0, uids, Apply(0, kVelocityStrategy_Take), invert);
        return zkgtest::EvPositions(evs);
    };
    EXPECT_EQ(positions(kick, false), (std::vector<float> {1.125f, 2.0f, 3.0f}));
    EXPECT_EQ(positions(kick, true), (std::vector<float> {1.0f, 2.125f, 3.125f}));
    // Drums.Hh (0x14000000) matches the hit by its non-zero nibbles.
    EXPECT_EQ(positions({0x14000000}, false), (std::vector<float> {1.0f, 2.0f, 3.125f}));
    EXPECT_EQ(positions({}, false), (std::vector<float> {1.125f, 2.125f, 3.125f}));
    EXPECT_EQ(positions({}, true), (std::vector<float> {1.125f, 2.125f, 3.125f}));
    // An undefined uid matches nothing.
    EXPECT_EQ(positions({TInstTreeUid_Undef}, false), (std::vector<float> {1.0f, 2.0f, 3.0f}));
}

TEST(CGenGrooveTrack, ListStaysSortedAndEmptyTrackChangesNothing)
{
    // The kick at 0.5 moves by 0.25 behind the snare at 0.625.
    CGenEvs evs(1.0f);
    evs.InsertAtBeatPos(Note(0.5f, 36, 100));
    evs.InsertAtBeatPos(Note(0.625f, 38, 100));
    ShiftTrack(T::TType_All, 0.25f).ApplyTo(evs, 0, std::vector<int> {36}, Apply(0, kVelocityStrategy_Take));
    EXPECT_EQ(zkgtest::EvPositions(evs), (std::vector<float> {0.625f, 0.75f}));
    EXPECT_EQ(evs[1].mMB1, 36);

    const CGenEvs before = evs;
    Track(T::TType_All, {}, 4.0f).ApplyToUidEvs(evs, 0, {}, Apply(0, kVelocityStrategy_Take), false);
    EXPECT_EQ(evs, before);
}

TEST(CGenGroove, TrackForTypeCreateIfNeeded)
{
    const CGenGrooveTrack kick = ShiftTrack(T::TType_Kick, 0.125f);
    const CGenGrooveTrack all = ShiftTrack(T::TType_All, 0.25f);
    const CGenGrooveTrack other = ShiftTrack(T::TType_OtherEvents, 0.375f);

    CGenGroove g = GrooveOf({kick, other, all});
    CGenGroove::iterator made = g.TrackForTypeCreateIfNeeded(T::TType_Snare);
    ASSERT_EQ(g.size(), 4u);
    EXPECT_EQ(made, g.begin() + 3);
    EXPECT_EQ(made->mType, T::TType_Snare);
    EXPECT_FLOAT_EQ(made->front().mTargetBeatPos, 0.25f); // from "All"
    // Present already: no new track.
    EXPECT_EQ(g.TrackForTypeCreateIfNeeded(T::TType_Kick), g.begin());
    EXPECT_EQ(g.size(), 4u);

    g = GrooveOf({kick, other});
    EXPECT_FLOAT_EQ(g.CreateTrackForType(T::TType_Toms)->front().mTargetBeatPos, 0.375f); // from "Other events"
    g = GrooveOf({kick});
    EXPECT_FLOAT_EQ(g.CreateTrackForType(T::TType_Toms)->front().mTargetBeatPos, 0.125f); // the first track
    g = GrooveOf({});
    made = g.CreateTrackForType(T::TType_Bass);
    ASSERT_EQ(g.size(), 1u);
    EXPECT_TRUE(made->empty());
    EXPECT_EQ(made->mType, T::TType_Bass);
    // Not a track type.
    EXPECT_EQ(g.CreateTrackForType(0), g.end());
    EXPECT_EQ(g.CreateTrackForType(21), g.end());
    EXPECT_EQ(g.size(), 1u);
}

TEST(CGenGroove, FirstTrackOfTypes)
{
    const CGenGroove g = GrooveOf({ShiftTrack(T::TType_Kick, 0.125f), ShiftTrack(T::TType_OtherEvents, 0.25f)});
    EXPECT_EQ(g.FirstTrackOfTypes({T::TType_Snare, T::TType_OtherEvents}), &g[1]);
    EXPECT_EQ(g.FirstTrackOfTypes({T::TType_Kick, T::TType_OtherEvents}), &g[0]);
    EXPECT_EQ(g.FirstTrackOfTypes({T::TType_Toms}), nullptr);
}

namespace {

// Uid notes of the standard drum tree, one per beat: kick, snare, tom, a
// hi-hat hit, a hi-hat foot close, ride, sticks.
CGenEvs KitUidEvs()
{
    CGenEvs evs(8.0f);
    const int uids[] = {0x11000000, 0x12000000, 0x13100000, 0x14101030, 0x14210000, 0x15000000, 0x1F000000};
    for (int i = 0; i < 7; ++i)
        evs.InsertAtBeatPos(Note(static_cast<float>(i + 1), uids[i], 100));
    return evs;
}

std::vector<float> DrumUidPositions(const CGenGroove& groove, TPatternGraphType type)
{
    CGenEvs evs = KitUidEvs();
    groove.ApplyToDrumsUidEvs(evs, 0, Apply(0, kVelocityStrategy_Take), GenDrumInstTreeV1(), type);
    return zkgtest::EvPositions(evs);
}

// General MIDI notes, one per beat: kick, snare, tom, closed hi-hat, ride,
// crash, and 60, which no drum list holds.
std::vector<float> DrumNotePositions(const CGenGroove& groove)
{
    CGenEvs evs(8.0f);
    const int notes[] = {36, 38, 45, 42, 51, 49, 60};
    for (int i = 0; i < 7; ++i)
        evs.InsertAtBeatPos(Note(static_cast<float>(i + 1), notes[i], 100));
    groove.ApplyToDrums(evs, 0, Apply(0, kVelocityStrategy_Take), CGenDrumMap::GeneralMidi(), TPatternGraphType_Undef);
    return zkgtest::EvPositions(evs);
}

} // namespace

TEST(CGenGrooveDrumPasses, OtherEventsAloneActsOncePerFamily)
{
    // Each pass adds 0.125. Without a foot/hand pair: the first pass moves
    // everything, then kick, snare, toms and the cymbals (hi-hat, foot, ride)
    // once more; the sticks belong to no family.
    const CGenGroove g = GrooveOf({ShiftTrack(T::TType_OtherEvents, 0.125f)});
    EXPECT_EQ(DrumUidPositions(g, TPatternGraphType_Undef),
        (std::vector<float> {1.25f, 2.25f, 3.25f, 4.25f, 5.25f, 6.25f, 7.125f}));
    // With the accent pair, the foot pass (kick, foot hi-hat) and the hand pass
    // (all else) add one more move to each.
    EXPECT_EQ(DrumUidPositions(g, TPatternGraphType_AccentFamily),
        (std::vector<float> {1.375f, 2.375f, 3.375f, 4.375f, 5.375f, 6.375f, 7.25f}));
}

TEST(CGenGrooveDrumPasses, FootAndHandTracksByLayer)
{
    // System foot +0.25, system hand +0.5, system (all) +0.125; no "All" and
    // no "Other events", so the kick, snare and tom passes find nothing.
    const CGenGroove g = GrooveOf({ShiftTrack(T::TType_SystemFoot, 0.25f), ShiftTrack(T::TType_SystemHand, 0.5f),
        ShiftTrack(T::TType_SystemAll, 0.125f)});
    // Kick and foot hi-hat by foot, the rest by hand; hi-hat, foot hi-hat and ride +0.125 as cymbals.
    EXPECT_EQ(DrumUidPositions(g, TPatternGraphType_System),
        (std::vector<float> {1.25f, 2.5f, 3.5f, 4.625f, 5.375f, 6.625f, 7.5f}));
    // Other layers have no system pair.
    EXPECT_EQ(DrumUidPositions(g, TPatternGraphType_Percussion),
        (std::vector<float> {1.0f, 2.0f, 3.0f, 4.125f, 5.125f, 6.125f, 7.0f}));
    EXPECT_EQ(DrumUidPositions(g, TPatternGraphType_AccentFamily),
        (std::vector<float> {1.0f, 2.0f, 3.0f, 4.125f, 5.125f, 6.125f, 7.0f}));

    const CGenGroove accent = GrooveOf({ShiftTrack(T::TType_AccentAndFillFoot, 0.25f),
        ShiftTrack(T::TType_AccentAndFillHand, 0.5f)});
    for (TPatternGraphType type : {TPatternGraphType_AccentFamily, TPatternGraphType_AccentAddon, TPatternGraphType_Fill})
        EXPECT_EQ(DrumUidPositions(accent, type), (std::vector<float> {1.25f, 2.5f, 3.5f, 4.5f, 5.25f, 6.5f, 7.5f}))
            << type;
    EXPECT_EQ(DrumUidPositions(accent, TPatternGraphType_System),
        (std::vector<float> {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 7.0f}));
}

TEST(CGenGrooveDrumPasses, OwnTracksBeforeTheFallBack)
{
    // "All" +0.125, kick +0.25, system (cymbals) +0.375 before system (all)
    // +0.5, and "Other events" +0.0625 for snare and toms.
    const CGenGroove g = GrooveOf({ShiftTrack(T::TType_OtherEvents, 0.0625f), ShiftTrack(T::TType_SystemAll, 0.5f),
        ShiftTrack(T::TType_SystemCymbals, 0.375f), ShiftTrack(T::TType_Kick, 0.25f), ShiftTrack(T::TType_All, 0.125f)});
    EXPECT_EQ(DrumUidPositions(g, TPatternGraphType_Undef),
        (std::vector<float> {1.375f, 2.1875f, 3.1875f, 4.5f, 5.5f, 6.5f, 7.125f}));
}

TEST(CGenGrooveDrumPasses, NoteForm)
{
    // One move per list, the first being the kick; 60 is in none.
    EXPECT_EQ(DrumNotePositions(GrooveOf({ShiftTrack(T::TType_OtherEvents, 0.125f)})),
        (std::vector<float> {1.125f, 2.125f, 3.125f, 4.125f, 5.125f, 6.125f, 7.0f}));
    // The note form has no "All" pass.
    EXPECT_EQ(DrumNotePositions(GrooveOf({ShiftTrack(T::TType_All, 0.125f)})),
        (std::vector<float> {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 7.0f}));
    // Cymbals: "System (cymbals)" before "System (all)" before "Other events".
    EXPECT_EQ(DrumNotePositions(GrooveOf({ShiftTrack(T::TType_OtherEvents, 0.125f), ShiftTrack(T::TType_SystemAll, 0.5f),
                  ShiftTrack(T::TType_SystemCymbals, 0.25f)})),
        (std::vector<float> {1.125f, 2.125f, 3.125f, 4.25f, 5.25f, 6.25f, 7.0f}));
    EXPECT_EQ(DrumNotePositions(GrooveOf({ShiftTrack(T::TType_OtherEvents, 0.125f), ShiftTrack(T::TType_SystemAll, 0.5f)})),
        (std::vector<float> {1.125f, 2.125f, 3.125f, 4.5f, 5.5f, 6.5f, 7.0f}));
    // Own tracks for kick, snare and toms.
    EXPECT_EQ(DrumNotePositions(GrooveOf({ShiftTrack(T::TType_Kick, 0.25f), ShiftTrack(T::TType_Snare, 0.375f),
                  ShiftTrack(T::TType_Toms, 0.5f)})),
        (std::vector<float> {1.25f, 2.375f, 3.5f, 4.0f, 5.0f, 6.0f, 7.0f}));
}

TEST(CGenGroove, ApplyToInstTypeRows)
{
    const CGenGroove g = GrooveOf({ShiftTrack(T::TType_OtherEvents, 0.125f), ShiftTrack(T::TType_Bass, 0.25f),
        ShiftTrack(T::TType_Percussion, 0.375f), ShiftTrack(T::TType_KeyAll, 0.5f), ShiftTrack(T::TType_Guitar, 0.625f)});
    struct Row {
        int mInstType;
        std::vector<float> mPositions; // note 60, note 36, a uid note
    };
    const Row rows[] = {
        {-1, {1.125f, 2.125f, 3.0f}},
        {0, {1.0f, 2.125f, 3.0f}}, // drums: only the kick list, by "Other events"
        {1, {1.25f, 2.25f, 3.0f}},
        {2, {1.375f, 2.375f, 3.0f}},
        {3, {1.5f, 2.5f, 3.0f}},
        {4, {1.5f, 2.5f, 3.0f}},
        {5, {1.625f, 2.625f, 3.0f}},
        {6, {1.625f, 2.625f, 3.0f}},
        {7, {1.0f, 2.0f, 3.0f}},
        {-2, {1.0f, 2.0f, 3.0f}},
    };
    for (const Row& row : rows) {
        CGenEvs evs(4.0f);
        evs.InsertAtBeatPos(Note(1.0f, 60, 100));
        evs.InsertAtBeatPos(Note(2.0f, 36, 100));
        evs.InsertAtBeatPos(Note(3.0f, 0x11000000, 100));
        g.ApplyToInstType(evs, 0, Apply(0, kVelocityStrategy_Take), row.mInstType, CGenDrumMap::GeneralMidi(),
            TPatternGraphType_System);
        EXPECT_EQ(zkgtest::EvPositions(evs), row.mPositions) << "instType " << row.mInstType;
    }
    // A track type the groove lacks: nothing.
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(Note(1.0f, 60, 100));
    g.ApplyToGrooveTrackType(evs, 0, Apply(0, kVelocityStrategy_Take), T::TType_KeyRH, TPatternGraphType_Undef);
    EXPECT_FLOAT_EQ(evs[0].mBeatPos, 1.0f);
}

TEST(CGenGenerator, ApplyGrooveToNamedEventSets)
{
    // A bass groove looping every 4 beats: on time at 0, 0.25 late at 2.
    CGenGenreLib lib;
    lib.mGrooves.push_back(GrooveOf({Track(T::TType_Bass, {CGenGrooveEl(0, 1, 0, 255), CGenGrooveEl(2, 3, 2.25f, 255)}, 4.0f)}));
    CGenGeneratorParams params;
    params.mInstType = TGenInstType_Bass;
    params.mGenerateStartPosAbs = 8.0f;
    params.mGrooveApply = Apply(0, kVelocityStrategy_Take);
    auto performance = [] {
        CGenEvs a(2.0f), b(2.0f);
        a.InsertAtBeatPos(Note(0.0f, 40, 100));
        b.InsertAtBeatPos(Note(0.0f, 40, 100));
        return CGenEvsNameds {CGenEvsNamed("a", 8.0f, a), CGenEvsNamed("b", 10.0f, b)};
    };
    CGenGenerator generator;

    // Out of the list, negative, or without a library: nothing.
    for (int ix : {1, -1}) {
        params.mGrooveIx = ix;
        CGenEvsNameds evs = performance();
        CGenGeneratorTestAccess::ApplyGroove(generator, params, &lib, evs);
        EXPECT_EQ(evs, performance()) << ix;
    }
    params.mGrooveIx = 0;
    CGenEvsNameds evs = performance();
    CGenGeneratorTestAccess::ApplyGroove(generator, params, nullptr, evs);
    EXPECT_EQ(evs, performance());
    CGenEvsNameds none;
    CGenGeneratorTestAccess::ApplyGroove(generator, params, &lib, none);
    EXPECT_TRUE(none.empty());

    // Element "a" starts with the region (offset 0): its note lies on the
    // element at 0 and stays. "b" starts 2 beats in: its note lies on the
    // element at 2, weight 1, and moves 0.25.
    CGenGeneratorTestAccess::ApplyGroove(generator, params, &lib, evs);
    EXPECT_FLOAT_EQ(evs[0].mEvs[0].mBeatPos, 0.0f);
    EXPECT_FLOAT_EQ(evs[1].mEvs[0].mBeatPos, 0.25f);
}
