#include "Generator/CGenEvs.h"
#include "Generator/CGenRandom.h"
#include "Platform/ZKLog.h"

#include "TestSupport/ArchiveRoundTrip.h"
#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <vector>

#include <unistd.h>

using namespace zkgtest;

namespace {

CGenEv Note(float pos, int nr, int vel, float length = 0.5f, int channel = 0)
{
    return CGenEv(pos, length, 0x90 | channel, nr, vel);
}

// Events with many ties: coarse positions, few kinds; the velocity tells
// equal events apart. Bank selects are left out, so that the order is a strict
// weak ordering a standard stable sort can reproduce.
std::vector<CGenEv> TiedEvents(uint32_t seed, int n)
{
    CGenRandom r(seed);
    const int ctrs[] = {1, 7, 10, 64, 91, 100};
    const int statuses[] = {0x90, 0x90, 0x90, 0x91, 0xB0, 0xB1, 0xC0, 0x80, 0x12, 0xF8};
    std::vector<CGenEv> evs;
    for (int i = 0; i < n; ++i) {
        const float pos = static_cast<float>(r.NextBelow(8)) * 0.25f;
        const int status = statuses[r.NextBelow(10)];
        const int mb1 = (status & 0xF0) == 0xB0 ? ctrs[r.NextBelow(6)] : 36 + static_cast<int>(r.NextBelow(3));
        evs.emplace_back(pos, 0.25f, status, mb1, i);
    }
    return evs;
}

} // namespace

TEST(CGenEvsInsert, EqualEventsEndUpInReversedArrivalOrder)
{
    CGenEvs evs;
    evs.InsertAtBeatPos(Note(1.0f, 36, 1));
    evs.InsertAtBeatPos(Note(0.0f, 36, 10));
    evs.InsertAtBeatPos(Note(1.0f, 36, 2));
    evs.InsertAtBeatPos(Note(2.0f, 36, 20));
    evs.InsertAtBeatPos(Note(1.0f, 36, 3));
    EXPECT_EQ(EvPositions(evs), (std::vector<float> {0.0f, 1.0f, 1.0f, 1.0f, 2.0f}));
    EXPECT_EQ(EvVelocities(evs), (std::vector<int> {10, 3, 2, 1, 20}));
    EXPECT_TRUE(GenIsUndef(evs.mLength));

    // Two bank selects each order before the other, so they keep arrival order.
    CGenEvs banks;
    banks.InsertAtBeatPos(CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 0, 1));
    banks.InsertAtBeatPos(CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 0, 2));
    banks.InsertAtBeatPos(CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 0, 3));
    EXPECT_EQ(EvVelocities(banks), (std::vector<int> {1, 2, 3}));
}

TEST(CGenEvsInsert, InsertionEqualsAStableSortOfTheReversedArrivals)
{
    const auto arrivals = TiedEvents(7, 2000);
    CGenEvs inserted;
    for (const auto& ev : arrivals)
        inserted.InsertAtBeatPos(ev);
    std::vector<CGenEv> reference(arrivals.rbegin(), arrivals.rend());
    std::stable_sort(reference.begin(), reference.end(), Pred_CmpEv);
    ASSERT_EQ(inserted.size(), reference.size());
    EXPECT_EQ(static_cast<const std::vector<CGenEv>&>(inserted), reference);
    EXPECT_TRUE(inserted.IsSortedByCompareEv());
}

TEST(CGenEvsSort, StableMergeSortKeepsEqualEventsInOrder)
{
    for (int n : {0, 1, 2, 3, 17, 1000, 4097}) {
        std::vector<CGenEv> evs = TiedEvents(static_cast<uint32_t>(n), n);
        std::vector<CGenEv> reference = evs;
        std::stable_sort(reference.begin(), reference.end(), Pred_CmpEv);
        GenStableSortEvs(evs);
        EXPECT_EQ(evs, reference) << n;
    }
    // Bank selects that each "go first" stay where they were.
    CGenEvs banks;
    for (int v : {1, 2, 3})
        banks.push_back(CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 0, v));
    banks.push_back(Note(0.0f, 36, 4));
    banks.insert(banks.begin(), Note(0.0f, 36, 5));
    banks.SortStable();
    EXPECT_EQ(EvVelocities(banks), (std::vector<int> {1, 2, 3, 5, 4}));
}

TEST(CGenEvsInsert, InsertAndAdjustLength)
{
    CGenEvs evs;
    evs.InsertAtBeatPosAndAdjustLength(Note(2.0f, 36, 1, 1.0f));
    EXPECT_EQ(evs.mLength, 3.0f);
    evs.InsertAtBeatPosAndAdjustLength(Note(1.0f, 36, 1, 0.5f));
    EXPECT_EQ(evs.mLength, 3.0f);
    // An undefined length counts with its position alone.
    evs.InsertAtBeatPosAndAdjustLength(CGenEv(std::string(), 5.0f, 0xB0, 7, 1));
    EXPECT_EQ(evs.mLength, 5.0f);
    // An undefined position changes nothing, but the event is inserted.
    evs.InsertAtBeatPosAndAdjustLength(CGenEv(0xB0, 7, 1));
    EXPECT_EQ(evs.mLength, 5.0f);
    EXPECT_EQ(evs.size(), 4u);
    EXPECT_TRUE(GenIsUndef(evs.front().mBeatPos));

    CGenEvs fixed(10.0f);
    fixed.InsertAtBeatPosAndAdjustLength(Note(9.0f, 36, 1, 0.5f));
    EXPECT_EQ(fixed.mLength, 10.0f);
    fixed.InsertAtBeatPosAndAdjustLength(Note(9.75f, 36, 1, 0.5f));
    EXPECT_EQ(fixed.mLength, 10.25f);

    CGenEvs minLen(4.0f);
    minLen.AssureMinLength(3.0f);
    EXPECT_EQ(minLen.mLength, 4.0f);
    minLen.AssureMinLength(TGenBeatLength_Undef);
    EXPECT_EQ(minLen.mLength, 4.0f);
    minLen.AssureMinLength(6.0f);
    EXPECT_EQ(minLen.mLength, 6.0f);
    CGenEvs undefLen;
    undefLen.AssureMinLength(0.0f);
    EXPECT_EQ(undefLen.mLength, 0.0f);
}

TEST(CGenEvsInsert, NoteWithRandomVelocity)
{
    CGenRandom reference(5);
    const uint32_t first = reference.Next();
    const uint32_t second = reference.Next();

    CGenRandom r(5);
    CGenEvs evs;
    auto it = evs.InsertNoteRandomVel(r, 1.0f, 3, 40, 60, 100, 0.25f);
    EXPECT_EQ(it->Status(), 0x93);
    EXPECT_EQ(it->mMB1, 40);
    EXPECT_EQ(it->mMB2, 60 + static_cast<int>(first % 40));
    EXPECT_EQ(it->mBeatLength, 0.25f);
    EXPECT_EQ(it->mBeatPos, 1.0f);
    EXPECT_EQ(r.State(), first);

    // Degenerate ranges take velMin and draw nothing.
    it = evs.InsertNoteRandomVel(r, 0.0f, 0, 41, 70, 70, 0.5f);
    EXPECT_EQ(it->mMB2, 70);
    it = evs.InsertNoteRandomVel(r, 0.0f, 0, 42, 90, 10, 0.5f);
    EXPECT_EQ(it->mMB2, 90);
    EXPECT_EQ(r.State(), first);

    // The upper bound is exclusive: a span of one always gives velMin, and draws.
    it = evs.InsertNoteRandomVel(r, 2.0f, 0, 43, 10, 11, 0.5f);
    EXPECT_EQ(it->mMB2, 10);
    EXPECT_EQ(r.State(), second);
    EXPECT_EQ(EvPositions(evs), (std::vector<float> {0.0f, 0.0f, 1.0f, 2.0f}));

    // Extreme bounds don't overflow.
    CGenRandom big(1);
    it = evs.InsertNoteRandomVel(big, 3.0f, 0, 44, INT32_MIN, INT32_MAX, 0.5f);
    EXPECT_EQ(it->mMB2, static_cast<int>(static_cast<int64_t>(INT32_MIN) + 1103527590ll));
}

namespace {

// 0: note 36 ch0 vel 100 at 0; 1: ctr 7 ch1 at 1; 2: note 38 ch0 vel 0 at 1
// (the lower channel first); 3: note 36 ch2 vel 90 at 1; 4: note 36 ch0 vel 80 at 2.
CGenEvs SearchList()
{
    CGenEvs evs;
    evs.InsertAtBeatPos(Note(0.0f, 36, 100));
    evs.InsertAtBeatPos(CGenEv(1.0f, TGenBeatLength_Undef, 0xB1, 7, 64));
    evs.InsertAtBeatPos(Note(1.0f, 38, 0));
    evs.InsertAtBeatPos(Note(1.0f, 36, 90, 0.5f, 2));
    evs.InsertAtBeatPos(Note(2.0f, 36, 80));
    return evs;
}

} // namespace

TEST(CGenEvsSearch, FindEvReverseMatchingRules)
{
    const CGenEvs evs = SearchList();
    ASSERT_EQ(evs[2].mMB1, 38);
    ASSERT_EQ(evs[3].Channel(), 2);
    auto ix = [&](CGenEvs::const_iterator it) { return it == evs.end() ? -1 : static_cast<int>(it - evs.begin()); };
    const float undef = TGenBeatPos_Undef;

    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), undef, st_Undefined, 255, -1, -1)), 4);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), undef, 0x90, 2, -1, -1)), 3);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), undef, 0x9F, 255, 38, -1)), 2) << "high nibbles compared";
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), undef, 0x90, 255, -1, 0)), 2);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), undef, 0x90, 0x10, -1, 100)), 0) << "low nibbles of the channel";
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), undef, 0xB0, 255, -1, -1)), 1);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), undef, 0xC0, 255, -1, -1)), -1);
    // The start is included, and the walk goes backward from it.
    EXPECT_EQ(ix(evs.FindEvReverse(evs.begin() + 3, undef, 0x90, 255, 36, -1)), 3);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.begin() + 2, undef, 0x90, 255, 36, -1)), 0);
    // With a defined position only events exactly there count.
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), 1.0f, 0x90, 255, 36, -1)), 3);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), 1.0f, 0x90, 0, 36, -1)), -1);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), 1.0f, 0xB0, 255, -1, -1)), 1);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), 2.0f, 0xB0, 255, -1, -1)), -1) << "the walk stops behind the position";
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), 1.5f, st_Undefined, 255, -1, -1)), -1);
    EXPECT_EQ(ix(evs.FindEvReverse(evs.end(), 0.0f, st_Undefined, 255, -1, -1)), 0);

    const CGenEvs empty;
    EXPECT_EQ(empty.FindEvReverse(empty.end(), undef, st_Undefined, 255, -1, -1), empty.end());
}

TEST(CGenEvsSearch, EvAtOrAfterAndEvAfter)
{
    const CGenEvs evs = SearchList(); // positions 0, 1, 1, 1, 2
    auto ix = [&](CGenEvs::const_iterator it) { return it == evs.end() ? -1 : static_cast<int>(it - evs.begin()); };
    EXPECT_EQ(ix(evs.EvAtOrAfter(1.0f)), 1);
    EXPECT_EQ(ix(evs.EvAtOrAfter(0.5f)), 1);
    EXPECT_EQ(ix(evs.EvAtOrAfter(-3.0f)), 0);
    EXPECT_EQ(ix(evs.EvAtOrAfter(2.0f)), 4);
    EXPECT_EQ(ix(evs.EvAtOrAfter(2.5f)), -1);
    EXPECT_EQ(ix(evs.EvAfter(0.0f)), 1);
    EXPECT_EQ(ix(evs.EvAfter(1.0f)), 4);
    EXPECT_EQ(ix(evs.EvAfter(2.0f)), -1);
    EXPECT_EQ(ix(evs.EvAfter(-0.5f)), -1) << "a negative position yields end";
    EXPECT_EQ(ix(evs.EvAfter(TGenBeatPos_Undef)), -1);
    CGenEvs mutableEvs = evs;
    EXPECT_EQ(mutableEvs.EvAfter(-1.0f), mutableEvs.end());
    EXPECT_EQ(mutableEvs.EvAtOrAfter(1.5f) - mutableEvs.begin(), 4);
}

TEST(CGenEvsSearch, FindElWithBeatPosModesOnAPlainList)
{
    CGenEvs_Templ<CGenEvPossed> els {CGenEvPossed(0.0f), CGenEvPossed(1.0f), CGenEvPossed(1.0f), CGenEvPossed(3.0f)};
    auto ix = [&](auto it) { return it == els.cend() ? -1 : static_cast<int>(it - els.cbegin()); };
    const auto& c = els;
    struct Row {
        float pos;
        int mode, expected;
    };
    const Row rows[] = {
        {1.0f, 0, 1}, {2.0f, 0, -1}, {1.0f, 1, 3}, {3.0f, 1, -1}, {1.0f, 2, 1}, {1.5f, 2, 3},
        {1.0f, 3, 2}, {2.0f, 3, 2}, {3.0f, 3, -1}, {-1.0f, 3, -1}, {1.0f, 4, 1}, {2.0f, 4, 2},
        {5.0f, 4, 3}, {-1.0f, 4, -1}, {1.0f, 7, -1},
    };
    for (const auto& r : rows)
        EXPECT_EQ(ix(c.FindElWithBeatPos(r.pos, r.mode)), r.expected) << "pos " << r.pos << " mode " << r.mode;
    EXPECT_EQ(ix(c.FindElWithBeatPos(1.0f, 0, c.begin() + 2)), 2);
    EXPECT_EQ(ix(c.ElInForceAt(2.0f)), 2);
    EXPECT_EQ(ix(c.ElInForceAt(-1.0f)), -1);
}

TEST(CGenEvsSearch, FindEvsNearPosClampsAtZero)
{
    CGenEvs evs;
    for (float p : {-0.25f, 0.0f, 0.5f, 1.0f, 2.0f, 3.0f})
        evs.InsertAtBeatPos(Note(p, 36, 100));
    evs.front().SetNoteGroupID(3);
    evs[1].SetNoteGroupID(4);
    CGenEvs near = evs.FindEvsNearPos(0.5f, 1.0f);
    EXPECT_EQ(EvPositions(near), (std::vector<float> {0.0f, 0.5f, 1.0f}));
    EXPECT_EQ(EvPositions(evs.FindEvsNearPos(2.0f, 1.0f)), (std::vector<float> {1.0f, 2.0f, 3.0f}));
    EXPECT_EQ(EvPositions(evs.FindEvsNearPos(2.0f, 0.0f)), (std::vector<float> {2.0f}));
    EXPECT_TRUE(evs.FindEvsNearPos(5.0f, 1.0f).empty());
    EXPECT_TRUE(evs.FindEvsNearPos(TGenBeatPos_Undef, 1.0f).empty());
    EXPECT_TRUE(evs.FindEvsNearPos(1.0f, TGenBeatLength_Undef).empty());
    // The result holds copies.
    near.front().SetNoteGroupID(9);
    EXPECT_EQ(evs[1].NoteGroupID(), 4);
}

TEST(CGenEvsSearch, FindNoteNrsNearPosTakesSoundingNotesOnly)
{
    CGenEvs evs;
    evs.push_back(Note(0.0f, 35, -1));                                    // sounding
    evs.push_back(Note(0.0f, 36, 0));                                     // silent
    evs.push_back(Note(0.5f, 38, 1));                                     // sounding
    evs.push_back(CGenEv(0.5f, TGenBeatLength_Undef, 0xB0, 7, 100));      // controller
    evs.push_back(CGenEv(0.5f, 0.5f, 0x80, 40, 100));                     // note off
    evs.push_back(Note(1.0f, 38, -5));                                    // silent
    evs.push_back(Note(1.0f, 38, 127, 0.5f, 9));                          // sounding, duplicate number
    evs.push_back(Note(4.0f, 42, 100));                                   // outside
    EXPECT_EQ(evs.FindNoteNrsNearPos(0.5f, 0.5f), (std::vector<int> {35, 38, 38}));
    EXPECT_EQ(evs.FindNoteNrsNearPos(0.0f, 10.0f), (std::vector<int> {35, 38, 38, 42}));
    EXPECT_TRUE(evs.FindNoteNrsNearPos(TGenBeatPos_Undef, 10.0f).empty());
}

TEST(CGenEvsLayers, SortIntoMapByLowestLayerBit)
{
    CGenEvs evs(8.0f);
    auto layered = [](float pos, uint64_t mask) {
        CGenEv ev(pos, 0.5f, 0x90, 36, 100);
        ev.SetRuntimeLayerBitmask(CGenBitmask(mask));
        return ev;
    };
    EXPECT_FALSE(evs.HasAtLeastOneEvWithLayerBitmask());
    evs.push_back(layered(0.0f, 0));
    EXPECT_FALSE(evs.HasAtLeastOneEvWithLayerBitmask());
    evs.push_back(layered(1.0f, 0x1));
    evs.push_back(layered(2.0f, 0x6));
    evs.push_back(layered(3.0f, 0x2));
    evs.push_back(layered(4.0f, 0x8000000000000000ull));
    evs.push_back(layered(5.0f, 0));
    EXPECT_TRUE(evs.HasAtLeastOneEvWithLayerBitmask());

    std::map<unsigned long, CGenEvs> map;
    map[5].push_back(layered(9.0f, 0x20));
    evs.SortIntoMapByLayerIx(map);
    std::vector<unsigned long> keys;
    for (const auto& [k, v] : map)
        keys.push_back(k);
    EXPECT_EQ(keys, (std::vector<unsigned long> {0ul, 1ul, 63ul, ~0ul}));
    EXPECT_EQ(EvPositions(map[~0ul]), (std::vector<float> {0.0f, 5.0f}));
    EXPECT_EQ(EvPositions(map[0]), (std::vector<float> {1.0f}));
    EXPECT_EQ(EvPositions(map[1]), (std::vector<float> {2.0f, 3.0f}));
    EXPECT_EQ(EvPositions(map[63]), (std::vector<float> {4.0f}));
    for (const auto& [k, v] : map)
        EXPECT_EQ(v.mLength, 8.0f) << k;
}

TEST(CGenEvsCompare, ModesEmptyListsAndRunningOut)
{
    const CGenEvsCompare all(0, CGenEvCompare(0));
    const CGenEvsCompare notes(1, CGenEvCompare(2));
    const CGenEvsCompare ctrs(2, CGenEvCompare(0));
    const CGenEvs empty;
    for (const auto* c : {&all, &notes, &ctrs})
        EXPECT_TRUE(c->Equal(empty, empty));

    CGenEvs a;
    a.push_back(Note(0.0f, 36, 100));
    a.push_back(CGenEv(0.5f, TGenBeatLength_Undef, 0xB0, 7, 100));
    a.push_back(Note(1.0f, 38, 0)); // silent
    CGenEvs b = a;
    EXPECT_TRUE(all.Equal(a, b));
    b.push_back(Note(2.0f, 40, 0));
    EXPECT_FALSE(all.Equal(a, b)) << "one side runs out first";
    EXPECT_FALSE(all.Equal(b, a));
    EXPECT_TRUE(notes.Equal(a, b)) << "silent notes are skipped";
    EXPECT_TRUE(ctrs.Equal(a, b));
    b.back().mMB2 = -1; // now it sounds
    EXPECT_FALSE(notes.Equal(a, b));
    EXPECT_TRUE(ctrs.Equal(a, b));

    // Controllers only on one side: invisible to mode 1, decisive for mode 2.
    CGenEvs onlyNote;
    onlyNote.push_back(Note(0.0f, 36, 100));
    CGenEvs noteAndCtr = onlyNote;
    noteAndCtr.push_back(CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 1, 1));
    EXPECT_TRUE(notes.Equal(onlyNote, noteAndCtr));
    EXPECT_FALSE(ctrs.Equal(onlyNote, noteAndCtr));
    EXPECT_FALSE(ctrs.Equal(empty, noteAndCtr));
    EXPECT_TRUE(ctrs.Equal(empty, onlyNote));
    EXPECT_FALSE(notes.Equal(empty, onlyNote));
    // The element rule applies to each pair.
    CGenEvs moved = onlyNote;
    moved.front().mMB2 = 50;
    EXPECT_TRUE(notes.Equal(onlyNote, moved));
    EXPECT_FALSE(all.Equal(onlyNote, moved));
}

namespace {

CGenEvs ArchiveSample()
{
    CGenEvs evs(8.0f);
    evs.InsertAtBeatPos(Note(0.0f, 36, 100));
    evs.InsertAtBeatPos(CGenEv(1.0f, 2.0f, CAbstractNote("{nB3[-1,c-2]}"), 4, 0.5f));
    evs.InsertAtBeatPos(CGenEv(1.0f, 1.0f, 0x90, 38, 90, -1, TTransposeEv_Abstract));
    evs.InsertAtBeatPos(CGenEv(2.0f, TGenBeatLength_Undef, 0xB0, 7, 100));
    CNoteGroupInfo info;
    info.mMode = CNoteGroupInfo::TMode_Arpeggio;
    evs.mNoteGroupInfos.SetNoteGroupInfoForID(4, info);
    return evs;
}

} // namespace

TEST(CGenEvsArchive, RoundTripsInAllArchives)
{
    const CGenEvs evs = ArchiveSample();
    for (const CGenEvs& back : {TextRoundTrip(evs), BinaryRoundTrip(evs), XmlRoundTrip(evs)}) {
        EXPECT_EQ(back, evs);
        EXPECT_EQ(back.mLength, 8.0f);
        EXPECT_FALSE(back[0].HasMelodyVariationInformation());
        EXPECT_EQ(back[1].AbstractNoteConst().ToString(), "{nB3[-1,c-2]}");
        EXPECT_EQ(back.mNoteGroupInfos.GetNoteGroupInfoForID(4).mMode, CNoteGroupInfo::TMode_Arpeggio);
    }
    // Blocks of different events stay apart after a load.
    CGenEvs back = TextRoundTrip(evs);
    back[1].SetNoteGroupID(7);
    EXPECT_EQ(back[2].NoteGroupID(), 255);
    EXPECT_EQ(TextRoundTrip(CGenEvs()), CGenEvs());

    const std::string xml = ToXmlArchive(evs);
    EXPECT_NE(xml.find("<TGenEvs"), std::string::npos);
    EXPECT_LT(xml.find("<mLength>"), xml.find("<mEvs"));
    EXPECT_LT(xml.find("<mEvs"), xml.find("<mNoteGroupInfos"));
}

TEST(CGenEvsArchive, ReadsVersions0And1)
{
    // Version 0: the base (header 0 0, mLength, the events), then "length".
    // The one event is a CGenEv of version 0: pos, length, MB0, MB1, MB2,
    // relative velocity, transposeEv.
    CGenEvs v0 = ArchiveSample();
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble()
            + " 0 0 0 0 4.000000000e+00 0 0 1 0 0 0 1.000000000e+00 5.000000000e-01 144 36 100 -1 0 5.000000000e+00",
        v0));
    ASSERT_EQ(v0.size(), 1u);
    EXPECT_EQ(v0.mLength, 5.0f);
    EXPECT_EQ(v0[0].mBeatPos, 1.0f);
    EXPECT_EQ(v0[0].mMB1, 36);
    EXPECT_EQ(v0[0].mMB3, -1);
    EXPECT_TRUE(v0.mNoteGroupInfos.empty());

    // Version 1: the base only.
    CGenEvs v1;
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 1 0 0 2.500000000e+00 0 0 0 0", v1));
    EXPECT_TRUE(v1.empty());
    EXPECT_EQ(v1.mLength, 2.5f);
}

TEST(CGenEvsArchive, PathsAndBadFiles)
{
    const auto dir = std::filesystem::temp_directory_path() / ("zkgen_evs_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const std::string path = (dir / "evs.txt").string();
    const CGenEvs evs = ArchiveSample();
    ZKLogCapture log;
    ASSERT_TRUE(evs.SerializeToPath(path));
    CGenEvs back;
    ASSERT_TRUE(back.DeserializeFromPath(path));
    EXPECT_EQ(back, evs);
    EXPECT_TRUE(log.Records().empty());

    const std::string missingDir = (dir / "missing" / "evs.txt").string();
    EXPECT_FALSE(evs.SerializeToPath(missingDir));
    CGenEvs untouched = evs;
    const std::string nothing = (dir / "nothing-here.txt").string();
    EXPECT_FALSE(untouched.DeserializeFromPath(nothing));
    EXPECT_EQ(untouched, evs);
    const std::string garbage = (dir / "garbage.txt").string();
    {
        std::ofstream os(garbage);
        os << TextArchivePreamble() << " 0 2 0 0 not-a-number";
    }
    EXPECT_FALSE(untouched.DeserializeFromPath(garbage));
    EXPECT_EQ(untouched, evs);

    const auto texts = log.Texts(ZKLogCategory_GeneratorStorage);
    ASSERT_EQ(texts.size(), 3u);
    // The reasons name the path and what the system said.
    EXPECT_EQ(texts[0], "CGenEvs SerializeToPath '" + missingDir + "' failed with reason: cannot write " + missingDir
            + ": No such file or directory");
    EXPECT_EQ(texts[1], "CGenEvs DeserializeFromPath '" + nothing + "' failed with reason: cannot read " + nothing
            + ": No such file or directory");
    EXPECT_EQ(texts[2], "CGenEvs DeserializeFromPath '" + garbage
            + "' failed with reason: the archive is damaged or of another kind: input stream error");
    std::filesystem::remove_all(dir);
}
