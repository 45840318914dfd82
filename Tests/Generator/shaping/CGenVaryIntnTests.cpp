// Intensity variations: which events a rule takes (velocity range,
// instruments), the uid rewrite by nibbles, the velocity types with their
// clamping, the order of rules, and the content check.
#include "Generator/CGenEvs.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/shaping/CGenVaryIntn.h"
#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Uids of the standard drum tree, by hand from its elements.
constexpr int kKick = 0x11000000;      // Drums 0x10000000 | Ki 0x1000000
constexpr int kSnare = 0x12000000;     // Drums | Sn 0x2000000
constexpr int kHatO1S3r = 0x14101130; // Drums | Hh | hit 0x100000 | static 0x1000 | o1 0x100 | s3r 0x30

const CGenInstTreeEntry* Entry(const char* path)
{
    const CGenInstTreeEntry* e = GenDrumInstTreeV1().FindEntryWithSinglePath(path);
    EXPECT_NE(e, nullptr) << path;
    return e;
}

const CGenInstTreeEntry* Root() { return &GenDrumInstTreeV1(); }

// A rule for all instruments and velocities 0 to 127 that changes nothing yet.
CGenVaryIntnEl Rule(int velType, double a, double b = 0.0)
{
    CGenVaryIntnEl el;
    el.mTrafoVelType = velType;
    el.mTrafoVelRange = CGenRange<double>(a, b);
    return el;
}

CGenEv Note(float pos, int uid, int velocity) { return CGenEv(pos, 0.25f, st_NoteOn, uid, velocity); }

// Notes of the given velocities, one per beat, all kicks.
CGenEvs Kicks(std::vector<int> velocities)
{
    CGenEvs evs(8.0f);
    for (size_t i = 0; i < velocities.size(); ++i)
        evs.InsertAtBeatPos(Note(static_cast<float>(i), kKick, velocities[i]));
    return evs;
}

std::vector<int> Applied(const CGenVaryIntnEl& el, std::vector<int> velocities)
{
    CGenEvs evs = Kicks(velocities);
    el.ApplyToUidEvs(evs);
    return zkgtest::EvVelocities(evs);
}

} // namespace

TEST(CGenVaryIntnEl, SourceInstruments)
{
    // Empty, or the root alone: all instruments (+10 each).
    CGenVaryIntnEl el = Rule(1, 10.0);
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(Note(0, kKick, 50));
    evs.InsertAtBeatPos(Note(1, kSnare, 60));
    evs.InsertAtBeatPos(Note(2, kHatO1S3r, 70));
    CGenEvs all = evs;
    el.ApplyToUidEvs(all);
    EXPECT_EQ(zkgtest::EvVelocities(all), (std::vector<int> {60, 70, 80}));
    el.mSourceTreeEntryCollection = {Root()};
    all = evs;
    el.ApplyToUidEvs(all);
    EXPECT_EQ(zkgtest::EvVelocities(all), (std::vector<int> {60, 70, 80}));
    // Drums.Hh takes the hit by its non-zero nibbles (0x14000000), not kick or snare.
    el.mSourceTreeEntryCollection = {Entry("Drums.Hh")};
    CGenEvs hats = evs;
    el.ApplyToUidEvs(hats);
    EXPECT_EQ(zkgtest::EvVelocities(hats), (std::vector<int> {50, 60, 80}));
}

TEST(CGenVaryIntnEl, SourceVelocityRange)
{
    CGenVaryIntnEl el = Rule(1, 10.0);
    el.mSourceVelRange = CGenRange<unsigned char>(40, 80);
    EXPECT_EQ(Applied(el, {30, 40, 80, 81}), (std::vector<int> {30, 50, 90, 81}));
    el.mSourceVelRange.mMinEnabled = false;
    EXPECT_EQ(Applied(el, {30, 40, 80, 81}), (std::vector<int> {40, 50, 90, 81}));
    el.mSourceVelRange.mMaxEnabled = false;
    EXPECT_EQ(Applied(el, {30, 40, 80, 81}), (std::vector<int> {40, 50, 90, 91}));
}

TEST(CGenVaryIntnEl, VelocityTypes)
{
    // 0 keeps; 2 multiplies: 50 * 1.5 = 75, 101 * 1.5 = 151.5 gives 127.
    EXPECT_EQ(Applied(Rule(0, 30.0), {50, 127}), (std::vector<int> {50, 127}));
    EXPECT_EQ(Applied(Rule(2, 1.5), {50, 101}), (std::vector<int> {75, 127}));
    // 1 adds and truncates: 10 + 0.9 = 10.9 gives 10.
    EXPECT_EQ(Applied(Rule(1, 0.9), {10}), (std::vector<int> {10}));
    // An unknown type keeps, as 0 does.
    EXPECT_EQ(Applied(Rule(7, 30.0), {50}), (std::vector<int> {50}));
}

TEST(CGenVaryIntnEl, MapType)
{
    // Source [40, 80] onto [20, 120]: t = (V - 40) / 40; 20 + 100 * t.
    CGenVaryIntnEl el = Rule(3, 20.0, 120.0);
    el.mSourceVelRange = CGenRange<unsigned char>(40, 80);
    // 40: 20; 50: t 0.25, 45; 60: t 0.5, 70; 80: 120.
    EXPECT_EQ(Applied(el, {40, 50, 60, 80}), (std::vector<int> {20, 45, 70, 120}));
    // An open minimum reads as 0: [0, 100], 50 gives t 0.5, 70.
    el.mSourceVelRange = CGenRange<unsigned char>(40, 100, false, true);
    EXPECT_EQ(Applied(el, {50}), (std::vector<int> {70}));
    // Equal bounds: t = 0, so a.
    el.mSourceVelRange = CGenRange<unsigned char>(64, 64);
    EXPECT_EQ(Applied(el, {64}), (std::vector<int> {20}));
}

TEST(CGenVaryIntnEl, ClampsTo1Through127)
{
    EXPECT_EQ(Applied(Rule(1, 30.0), {100}), (std::vector<int> {127})); // 130
    EXPECT_EQ(Applied(Rule(1, -10.0), {10}), (std::vector<int> {1}));   // 0
    EXPECT_EQ(Applied(Rule(2, -2.0), {10}), (std::vector<int> {1}));    // -20
    EXPECT_EQ(Applied(Rule(2, 1e300), {10}), (std::vector<int> {127}));
}

TEST(CGenVaryIntnEl, UnsetAndZeroVelocitiesPassOn)
{
    // -1 (not set) passes an open minimum, 0 a minimum of 0; neither is a sounding velocity to change.
    CGenVaryIntnEl el = Rule(0, 0.0);
    el.mSourceVelRange.mMinEnabled = false;
    EXPECT_EQ(Applied(el, {-1, 0}), (std::vector<int> {-1, 0}));
    el = Rule(1, 10.0);
    el.mSourceVelRange.mMinEnabled = false;
    EXPECT_EQ(Applied(el, {-1, 0}), (std::vector<int> {-1, 0}));
}

TEST(CGenVaryIntnEl, UidNibbleSwap)
{
    // Drums.Hh.note.hit.move.static.open.o4 is 0x14101400: its non-zero nibbles
    // 1, 4, 1, 1, 4 (nibbles 7, 6, 5, 3, 2) replace the event's; the stroke
    // nibble 1 (0x30) stays: 0x14101130 becomes 0x14101430.
    CGenVaryIntnEl el = Rule(0, 0.0);
    el.mTrafoTreeEntryCollection = {Entry("Drums.Hh.note.hit.move.static.open.o4")};
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(Note(0, kHatO1S3r, 90));
    CGenEvs changed = evs;
    el.ApplyToUidEvs(changed);
    EXPECT_EQ(changed[0].mMB1, 0x14101430);
    EXPECT_EQ(changed[0].mMB2, 90);

    // Entries in order: Drums.Cr (0x16000000) after o4 writes 6 into nibble 6;
    // before it, o4 writes 4 back.
    el.mTrafoTreeEntryCollection = {Entry("Drums.Hh.note.hit.move.static.open.o4"), Entry("Drums.Cr")};
    changed = evs;
    el.ApplyToUidEvs(changed);
    EXPECT_EQ(changed[0].mMB1, 0x16101430);
    el.mTrafoTreeEntryCollection = {Entry("Drums.Cr"), Entry("Drums.Hh.note.hit.move.static.open.o4")};
    changed = evs;
    el.ApplyToUidEvs(changed);
    EXPECT_EQ(changed[0].mMB1, 0x14101430);

    // The root alone, an empty collection, or a missing entry: no change.
    for (const CGenInstTreeEntryCollection& c :
        {CGenInstTreeEntryCollection {Root()}, CGenInstTreeEntryCollection {},
            CGenInstTreeEntryCollection {nullptr}}) {
        el.mTrafoTreeEntryCollection = c;
        changed = evs;
        el.ApplyToUidEvs(changed);
        EXPECT_EQ(changed[0].mMB1, kHatO1S3r);
    }
}

TEST(CGenVaryIntnEl, NonNoteEventsChangeUidButNotValue)
{
    // A controller whose MB1 holds the hit: its uid is rewritten, its value
    // (MB2 64) is no velocity and stays.
    CGenVaryIntnEl el = Rule(1, 10.0);
    el.mTrafoTreeEntryCollection = {Entry("Drums.Hh.note.hit.move.static.open.o4")};
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(CGenEv(0.0f, 0.25f, 0xB0, kHatO1S3r, 64));
    el.ApplyToUidEvs(evs);
    EXPECT_EQ(evs[0].mMB1, 0x14101430);
    EXPECT_EQ(evs[0].mMB2, 64);
}

TEST(CGenVaryIntnEl, Helpers)
{
    CGenVaryIntnEl el;
    el.mSourceVelRange = CGenRange<unsigned char>(10, 90);
    EXPECT_EQ(el._WildcardedSourceVelRange(), CGenRange<unsigned char>(10, 90));
    el.mSourceVelRange = CGenRange<unsigned char>(10, 90, false, false);
    EXPECT_EQ(el._WildcardedSourceVelRange(), CGenRange<unsigned char>(0, 127));
    // The position ranges filter nothing in this version.
    el.mSourceBeatPosRanges.push_back(CGenRange<float>(5.0f, 6.0f));
    const CGenEvs evs = Kicks({100});
    EXPECT_TRUE(el._IsInSourceBeatPosRanges(evs.begin(), evs));
    el.mTrafoVelType = 1;
    el.mTrafoVelRange = CGenRange<double>(5.0, 0.0);
    el.mSourceVelRange = CGenRange<unsigned char>(0, 127);
    CGenEvs changed = evs;
    el.ApplyToUidEvs(changed);
    EXPECT_EQ(changed[0].mMB2, 105);
}

TEST(CGenVaryIntn, RunsRulesInOrder)
{
    // 30 * 2 + 10 = 70; the other way (30 + 10) * 2 = 80.
    CGenVaryIntn v;
    v.push_back(Rule(2, 2.0));
    v.push_back(Rule(1, 10.0));
    CGenEvs evs = Kicks({30});
    v.ApplyToUidEvs(evs);
    EXPECT_EQ(evs[0].mMB2, 70);
    std::swap(v[0], v[1]);
    evs = Kicks({30});
    v.ApplyToUidEvs(evs);
    EXPECT_EQ(evs[0].mMB2, 80);
    // No rules: nothing changes.
    evs = Kicks({30});
    CGenVaryIntn().ApplyToUidEvs(evs);
    EXPECT_EQ(evs[0].mMB2, 30);
}

TEST(CGenVaryIntns, CheckContentSanity)
{
    CGenVaryIntns vs;
    vs.CreateDummy();
    vs.front().push_back(Rule(3, 20.0, 100.0));
    std::string report;
    EXPECT_TRUE(vs.CheckContentSanity("g: ", report));
    EXPECT_EQ(report, "");

    CGenVaryIntnEl bad = Rule(4, 0.0);
    bad.mSourceVelRange = CGenRange<unsigned char>(90, 200);
    bad.mTrafoTreeEntryCollection = {nullptr};
    vs.front().push_back(bad);
    CGenVaryIntnEl reversed = Rule(0, 0.0);
    reversed.mSourceVelRange = CGenRange<unsigned char>(90, 80);
    vs.front().push_back(reversed);
    EXPECT_FALSE(vs.CheckContentSanity("g: ", report));
    EXPECT_EQ(report,
        "g: CGenVaryIntn Dummy element 1: velocity type 4 is not 0 to 3\n"
        "g: CGenVaryIntn Dummy element 1: source velocity range 90 to 200 goes beyond 127\n"
        "g: CGenVaryIntn Dummy element 1: an instrument entry is missing\n"
        "g: CGenVaryIntn Dummy element 2: source velocity minimum 90 is above the maximum 80\n");
}
