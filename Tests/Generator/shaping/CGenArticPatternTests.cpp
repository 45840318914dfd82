// Articulation patterns laid over notes: the cycle of hits and strokes, a
// value that acts only where it changes, and the notes left alone.
#include "Generator/CGenEvs.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/shaping/CGenArticPattern.h"
#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::vector<int> kHats {42, 44, 46};

CGenArticPattern Pattern(std::vector<CGenArticEl> els)
{
    CGenArticPattern p;
    p.assign(els.begin(), els.end());
    return p;
}

CGenArticEl El(int hit, int stroke)
{
    CGenArticEl el;
    el.mHit = hit;
    el.mStroke = stroke;
    return el;
}

CGenEvs Notes(std::vector<int> noteNrs)
{
    CGenEvs evs(8.0f);
    for (size_t i = 0; i < noteNrs.size(); ++i)
        evs.InsertAtBeatPos(CGenEv(0.5f * static_cast<float>(i), 0.25f, st_NoteOn, noteNrs[i], 100));
    return evs;
}

std::vector<int> NoteNrs(const CGenEvs& evs)
{
    std::vector<int> r;
    for (const CGenEv& ev : evs)
        r.push_back(ev.mMB1);
    return r;
}

std::vector<int> Statuses(const CGenEvs& evs)
{
    std::vector<int> r;
    for (const CGenEv& ev : evs)
        r.push_back(ev.mMB0);
    return r;
}

// Strokes 1 to 3 on channels 1, 2 and 0x1A (whose low nibble A is taken).
CGenDrumMap StrokeMap()
{
    CGenDrumMap map;
    map.SetStrokeChannel(1, 1);
    map.SetStrokeChannel(2, 2);
    map.SetStrokeChannel(3, 0x1A);
    return map;
}

} // namespace

TEST(CGenArticPattern, CyclesOverTheListedNotes)
{
    // (closed, stroke 1), (open, stroke 2) over four hi-hats with a snare
    // between: the snare takes no element, the fourth hat the first again.
    CGenEvs evs = Notes({42, 42, 38, 42, 42});
    Pattern({El(1, 1), El(3, 2)}).ApplyTo(evs, kHats, StrokeMap());
    EXPECT_EQ(NoteNrs(evs), (std::vector<int> {42, 46, 38, 42, 46}));
    EXPECT_EQ(Statuses(evs), (std::vector<int> {0x91, 0x92, 0x90, 0x91, 0x92}));
}

TEST(CGenArticPattern, ActsOnlyWhereTheValueChanges)
{
    // One element (open, stroke 3): the first note takes it; afterwards the
    // hit and stroke equal the last ones and the notes stay as they are.
    CGenEvs evs = Notes({42, 44, 42});
    Pattern({El(3, 3)}).ApplyTo(evs, kHats, StrokeMap());
    EXPECT_EQ(NoteNrs(evs), (std::vector<int> {46, 44, 42}));
    EXPECT_EQ(Statuses(evs), (std::vector<int> {0x9A, 0x90, 0x90}));

    // A hit of 0 changes no note but is remembered, so the next 2 acts again:
    // (pedal, keep), (keep, keep).
    evs = Notes({46, 46, 46, 46});
    Pattern({El(2, 0), El(0, 0)}).ApplyTo(evs, kHats, StrokeMap());
    EXPECT_EQ(NoteNrs(evs), (std::vector<int> {44, 46, 44, 46}));
    EXPECT_EQ(Statuses(evs), (std::vector<int> {0x90, 0x90, 0x90, 0x90}));
}

TEST(CGenArticPattern, LeavesOtherEventsAlone)
{
    // A note-off (velocity 0), a controller on 42 and a note outside the list
    // take no element and don't advance the cycle.
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(CGenEv(0.0f, 0.25f, st_NoteOn, 42, 0));
    evs.InsertAtBeatPos(CGenEv(0.5f, 0.25f, 0xB0, 42, 100));
    evs.InsertAtBeatPos(CGenEv(1.0f, 0.25f, st_NoteOn, 36, 100));
    evs.InsertAtBeatPos(CGenEv(1.5f, 0.25f, st_NoteOn, 42, -1)); // velocity not set: sounds
    Pattern({El(3, 2), El(1, 1)}).ApplyTo(evs, kHats, StrokeMap());
    EXPECT_EQ(NoteNrs(evs), (std::vector<int> {42, 42, 36, 46}));
    EXPECT_EQ(Statuses(evs), (std::vector<int> {0x90, 0xB0, 0x90, 0x92}));
}

TEST(CGenArticPattern, EmptyPatternOrListDoesNothing)
{
    const CGenEvs before = Notes({42, 46});
    CGenEvs evs = before;
    Pattern({}).ApplyTo(evs, kHats, StrokeMap());
    EXPECT_EQ(evs, before);
    Pattern({El(3, 1)}).ApplyTo(evs, {}, StrokeMap());
    EXPECT_EQ(evs, before);
}

TEST(CGenArticPattern, GeneralMidiStrokesStayOnTheDrumChannel)
{
    CGenEvs evs = Notes({42, 42});
    Pattern({El(0, 1), El(0, 3)}).ApplyTo(evs, kHats, CGenDrumMap::GeneralMidi());
    // Channel byte 9 for every stroke: status 0x99.
    EXPECT_EQ(Statuses(evs), (std::vector<int> {0x99, 0x99}));
}

TEST(CGenArticPatterns, DummyAndContentCheck)
{
    CGenArticPatterns patterns;
    patterns.CreateDummy();
    ASSERT_EQ(patterns.size(), 1u);
    EXPECT_EQ(patterns[0], Pattern({El(0, 0)}));
    std::string report;
    EXPECT_TRUE(patterns.CheckContentSanity("g: ", report));
    EXPECT_EQ(report, "");
    patterns[0].push_back(El(4, 0));
    EXPECT_FALSE(patterns.CheckContentSanity("g: ", report));
    EXPECT_EQ(report, "g: CGenArticPattern 0 element 1: hit and stroke must lie in 0..3\n");
}
