#include "Generator/CGenEvsNameds.h"

#include "TestSupport/ArchiveRoundTrip.h"
#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace zkgtest;

namespace {

// An element whose events are notes at the given (relative) positions, each of
// length `evLength`, numbered in MB1 from 36 on.
CGenEvsNamed El(const std::string& name, float start, float length, std::vector<float> evPositions = {},
    TPatternGraphType type = TPatternGraphType_Undef, float evLength = 0.5f)
{
    CGenEvsNamed el(name, start, CGenEvs(length), type, 0);
    int nr = 36;
    for (float p : evPositions)
        el.mEvs.push_back(CGenEv(p, evLength, 0x90, nr++, 100));
    return el;
}

std::vector<std::string> Names(const CGenEvsNameds& els)
{
    std::vector<std::string> r;
    for (const auto& el : els)
        r.push_back(el.mName);
    return r;
}

} // namespace

TEST(CGenEvsNamed, EndAndContainsRespectTheSentinel)
{
    CGenEvsNamed el = El("a", 4.0f, 2.0f);
    EXPECT_EQ(el.EndBeatPosAbs(), 6.0f);
    EXPECT_TRUE(el.ContainsBeatPosAbs(4.0f));
    EXPECT_TRUE(el.ContainsBeatPosAbs(5.99f));
    EXPECT_FALSE(el.ContainsBeatPosAbs(6.0f));
    EXPECT_FALSE(el.ContainsBeatPosAbs(3.99f));

    el.SetLength(TGenBeatLength_Undef);
    EXPECT_EQ(el.EndBeatPosAbs(), TGenBeatPosAbs_Undef);
    EXPECT_FALSE(el.ContainsBeatPosAbs(4.0f));

    CGenEvsNamed noStart = El("b", TGenBeatPosAbs_Undef, 2.0f);
    EXPECT_EQ(noStart.EndBeatPosAbs(), TGenBeatPosAbs_Undef);
    EXPECT_FALSE(noStart.ContainsBeatPosAbs(TGenBeatPosAbs_Undef));
    // A huge negative start is defined, and stays finite.
    CGenEvsNamed farAway = El("c", -1e38f, -1e38f);
    EXPECT_EQ(farAway.EndBeatPosAbs(), -2e38f);
}

TEST(CGenEvsNamed, SetEndBeatPosAbs)
{
    CGenEvsNamed el = El("a", 4.0f, 2.0f);
    el.SetEndBeatPosAbs(7.0f);
    EXPECT_EQ(el.Length(), 3.0f);
    el.SetEndBeatPosAbs(TGenBeatPosAbs_Undef);
    EXPECT_TRUE(GenIsUndef(el.Length()));

    CGenEvsNamed noStart = El("b", TGenBeatPosAbs_Undef, 2.0f);
    noStart.SetEndBeatPosAbs(7.0f);
    EXPECT_EQ(noStart.Length(), 2.0f);
}

TEST(CGenEvsNamed, MoveKeepsEventsInPlaceInTheSong)
{
    CGenEvsNamed el = El("a", 4.0f, 4.0f, {0.0f, 1.0f, 3.0f});
    el.mEvs.push_back(CGenEv(0xB0, 7, 1)); // undefined position
    el.MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(3.0f);
    EXPECT_EQ(el.BeatPosAbs(), 3.0f);
    EXPECT_EQ(EvPositions(el.mEvs), (std::vector<float> {1.0f, 2.0f, 4.0f, TGenBeatPos_Undef}));
    EXPECT_EQ(el.Length(), 5.0f);
    EXPECT_EQ(el.EndBeatPosAbs(), 8.0f);
    el.MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(5.0f);
    EXPECT_EQ(EvPositions(el.mEvs), (std::vector<float> {-1.0f, 0.0f, 2.0f, TGenBeatPos_Undef}));
    EXPECT_EQ(el.Length(), 3.0f);
    EXPECT_EQ(el.EndBeatPosAbs(), 8.0f);

    CGenEvsNamed open = El("b", 4.0f, TGenBeatLength_Undef, {1.0f});
    open.MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(6.0f);
    EXPECT_TRUE(GenIsUndef(open.Length()));
    EXPECT_EQ(open.mEvs[0].mBeatPos, -1.0f);
}

TEST(CGenEvsNamed, PrintForm)
{
    const CGenEvsNamed el("Groove A", 4.0f, CGenEvs(4.0f), TPatternGraphType_System, 3);
    EXPECT_EQ(el.TraceBriefString(), "CGenEvsNamed 'Groove A' TPatternGraphType_System, PatternIx 3");
    const CGenEvsNamed plain;
    EXPECT_EQ(plain.TraceBriefString(), "CGenEvsNamed '' TPatternGraphType_Undef, PatternIx -1");
}

TEST(CGenEvsNamedsFind, TFindBeatModesOnElementStarts)
{
    CGenEvsNameds els;
    for (auto [name, pos] : std::vector<std::pair<std::string, float>> {{"a", 0.0f}, {"b", 4.0f}, {"c", 4.0f}, {"d", 8.0f}})
        els.push_back(El(name, pos, 4.0f));
    auto name = [&](CGenEvsNameds::const_iterator it) { return it == els.end() ? std::string("end") : it->mName; };
    struct Row {
        float pos;
        int mode;
        const char* expected;
    };
    const Row rows[] = {
        {4.0f, 0, "b"}, {5.0f, 0, "end"}, {4.0f, 1, "d"}, {8.0f, 1, "end"}, {4.0f, 2, "b"}, {5.0f, 2, "d"},
        {9.0f, 2, "end"}, {4.0f, 3, "c"}, {5.0f, 3, "c"}, {8.0f, 3, "end"}, {-1.0f, 3, "end"}, {4.0f, 4, "b"},
        {5.0f, 4, "c"}, {20.0f, 4, "d"}, {-1.0f, 4, "end"}, {4.0f, 9, "end"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(name(els.FindElWithBeatPosAbs(r.pos, r.mode)), r.expected) << "pos " << r.pos << " mode " << r.mode;
    EXPECT_EQ(name(els.FindElWithBeatPosAbs(4.0f, 0, els.begin() + 2)), "c");
    EXPECT_EQ(name(els.FindElWithBeatPosAbs(0.0f, 0, els.begin() + 1)), "end");
    EXPECT_EQ(name(els.FindElWithBeatPosAbs(2.0f, 4, els.begin() + 1)), "end");
}

TEST(CGenEvsNamedsFind, ContainingAndOverlapping)
{
    CGenEvsNameds els;
    els.push_back(El("A", 0.0f, 4.0f));
    els.push_back(El("B", 4.0f, 4.0f));
    els.push_back(El("C", 10.0f, TGenBeatLength_Undef));
    els.push_back(El("D", 12.0f, 2.0f));
    auto name = [&](CGenEvsNameds::const_iterator it) { return it == els.end() ? std::string("end") : it->mName; };

    EXPECT_EQ(name(els.FindElContainingBeatPosAbs(3.0f)), "A");
    EXPECT_EQ(name(els.FindElContainingBeatPosAbs(4.0f)), "B");
    EXPECT_EQ(name(els.FindElContainingBeatPosAbs(3.0f, els.begin() + 1)), "end");
    EXPECT_EQ(name(els.FindElContainingBeatPosAbs(11.0f)), "end") << "an undefined length contains nothing";
    EXPECT_EQ(name(els.FindElContainingBeatPosAbs(13.0f)), "D");
    EXPECT_EQ(name(els.FindElContainingBeatPosAbs(14.0f)), "end");

    const auto b = els.begin();
    EXPECT_EQ(name(els.FindElOverlappingWithRange(2.0f, 1.0f, b, TInclusiveBorders_None)), "A");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(3.5f, 1.0f, b, TInclusiveBorders_None)), "A");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(4.0f, 2.0f, b, TInclusiveBorders_None)), "B");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(4.0f, 2.0f, b, TInclusiveBorders_Left)), "A")
        << "A ends at the range's left border";
    EXPECT_EQ(name(els.FindElOverlappingWithRange(8.0f, 4.0f, b, TInclusiveBorders_None)), "end");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(8.0f, 4.0f, b, TInclusiveBorders_Left)), "B");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(8.0f, 4.0f, b, TInclusiveBorders_Right)), "D")
        << "D starts at the range's right border; C has no length";
    EXPECT_EQ(name(els.FindElOverlappingWithRange(8.0f, 4.0f, b, TInclusiveBorders_Both)), "B");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(8.0f, 4.0f, b + 2, TInclusiveBorders_Both)), "D");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(TGenBeatPosAbs_Undef, 4.0f, b, TInclusiveBorders_Both)), "end");
    EXPECT_EQ(name(els.FindElOverlappingWithRange(1.0f, TGenBeatLength_Undef, b, TInclusiveBorders_Both)), "end");
}

TEST(CGenEvsNamedsFind, StepsAndNoteSearchesAcrossElements)
{
    CGenEvsNameds els;
    els.push_back(El("A", 0.0f, 4.0f, {0.0f, 2.0f}, TPatternGraphType_System));
    els.push_back(El("empty", 2.0f, 4.0f, {}, TPatternGraphType_System));
    els.push_back(El("F", 3.0f, 1.0f, {0.5f}, TPatternGraphType_Fill));
    els.push_back(El("B", 4.0f, 4.0f, {1.0f}, TPatternGraphType_System));

    auto el = els.cbegin();
    auto ev = el->mEvs.begin();
    std::vector<float> visited {el->mBeatPosAbs + ev->mBeatPos};
    while (els.IterateToNextEvInNextEl(el, ev))
        visited.push_back(el->mBeatPosAbs + ev->mBeatPos);
    EXPECT_EQ(visited, (std::vector<float> {0.0f, 2.0f, 3.5f, 5.0f}));

    el = els.cbegin();
    ev = el->mEvs.begin();
    visited = {el->mBeatPosAbs + ev->mBeatPos};
    while (els.IterateToNextEvInNextElOfRenderingPatternGraphType(TPatternGraphType_System, el, ev))
        visited.push_back(el->mBeatPosAbs + ev->mBeatPos);
    EXPECT_EQ(visited, (std::vector<float> {0.0f, 2.0f, 5.0f}));

    EXPECT_EQ(els.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(3.5f, 0, els.begin()).BeatPosAbs(), 3.5f);
    EXPECT_EQ(els.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(2.5f, 1, els.begin()).BeatPosAbs(), 3.5f);
    EXPECT_EQ(els.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(4.0f, 4, els.begin()).BeatPosAbs(), 3.5f);
    EXPECT_FALSE(els.FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(6.0f, 3, els.begin()).mFound);
    EXPECT_EQ(els.FindPrevNoteInAnyEl(3.5f, TInstTreeUid_Undef, 255).BeatPosAbs(), 2.0f);
    EXPECT_EQ(els.FindNextNoteInAnyEl(3.5f, TInstTreeUid_Undef, 255).BeatPosAbs(), 5.0f);
    EXPECT_EQ(els.FindNoteInAnyEl(0.0f, 2, 37, 255).BeatPosAbs(), 2.0f) << "MB1 carries the uid";
    EXPECT_FALSE(els.FindNoteInAnyEl(0.0f, 2, 37, 1).mFound);
}

TEST(CGenEvsNamedsInsert, EqualStartsKeepArrivalOrder)
{
    CGenEvsNameds els;
    els.InsertAtCorrectBeatPos(El("a", 4.0f, 1.0f));
    els.InsertAtCorrectBeatPos(El("b", 0.0f, 1.0f));
    els.InsertAtCorrectBeatPos(El("c", 4.0f, 1.0f));
    els.InsertAtCorrectBeatPos(El("d", 4.0f, 1.0f));
    els.InsertAtCorrectBeatPos(El("e", 2.0f, 1.0f));
    els.InsertAtCorrectBeatPos(El("u", TGenBeatPosAbs_Undef, 1.0f));
    EXPECT_EQ(Names(els), (std::vector<std::string> {"u", "b", "e", "a", "c", "d"}));

    CGenEvsNameds more;
    more.push_back(El("x", 4.0f, 1.0f));
    more.push_back(El("y", 0.0f, 1.0f));
    els.MergeAtCorrectBeatPos(more.begin(), more.end());
    EXPECT_EQ(Names(els), (std::vector<std::string> {"u", "b", "y", "e", "a", "c", "d", "x"}));
    EXPECT_TRUE(els.IsSortedByBeatPosAbs());
    EXPECT_TRUE(Pred_GenEvsNameds_CmpBeatPosAbs_LessEqual(1.0f, El("z", 2.0f, 1.0f)));
    EXPECT_FALSE(Pred_GenEvsNameds_CmpBeatPosAbs_LessEqual(2.0f, El("z", 2.0f, 1.0f)));
}

// The erase in a range, walked through the three cases on known lists.
TEST(CGenEvsNamedsErase, RangeStartingInsideAnElement)
{
    // Events of A: 0 (len 1), 1 (len 2), 1.5 (undefined length), 1.75 (len 4),
    // 2.5 (len 1), 3.5 (len 1), 5 (len 1).
    auto make = [] {
        CGenEvsNameds els;
        CGenEvsNamed a = El("A", 10.0f, 8.0f);
        const std::pair<float, float> evs[] = {
            {0.0f, 1.0f}, {1.0f, 2.0f}, {1.5f, TGenBeatLength_Undef}, {1.75f, 4.0f}, {2.5f, 1.0f}, {3.5f, 1.0f}, {5.0f, 1.0f}};
        for (auto [p, l] : evs)
            a.mEvs.push_back(CGenEv(p, l, 0x90, 36, 100));
        els.push_back(a);
        return els;
    };
    const float undef = TGenBeatLength_Undef;

    CGenEvsNameds keep = make();
    keep.EraseEvsAndShortenMembersInRange(12.0f, 2.0f, TPatternGraphType_Undef);
    ASSERT_EQ(keep.size(), 1u);
    EXPECT_EQ(EvPositions(keep[0].mEvs), (std::vector<float> {0.0f, 1.0f, 1.5f, 1.75f, 5.0f}));
    EXPECT_EQ(EvLengths(keep[0].mEvs), (std::vector<float> {1.0f, 2.0f, undef, 4.0f, 1.0f}));
    EXPECT_EQ(keep[0].Length(), 8.0f);
    EXPECT_EQ(keep[0].BeatPosAbs(), 10.0f);

    CGenEvsNameds shorten = make();
    shorten.EraseAndShortenEvsAndShortenMembersInRange(12.0f, 2.0f, TPatternGraphType_Undef);
    EXPECT_EQ(EvPositions(shorten[0].mEvs), (std::vector<float> {0.0f, 1.0f, 1.5f, 1.75f, 5.0f}));
    // 1 (len 2) loses its overlap of 1; 1.75 (len 4) loses the whole range, 2.
    EXPECT_EQ(EvLengths(shorten[0].mEvs), (std::vector<float> {1.0f, 1.0f, undef, 2.0f, 1.0f}));

    // A range that reaches over the element's end shortens the element.
    CGenEvsNameds tail = make();
    tail.EraseAndOptionallyShortenEvsAndShortenMembersInRange(14.5f, 10.0f, TShortenEvsLeftTouchingRange_Yes,
        TPatternGraphType_Undef);
    EXPECT_EQ(tail[0].Length(), 4.5f);
    EXPECT_EQ(EvPositions(tail[0].mEvs), (std::vector<float> {0.0f, 1.0f, 1.5f, 1.75f, 2.5f, 3.5f}));
    EXPECT_EQ(EvLengths(tail[0].mEvs), (std::vector<float> {1.0f, 2.0f, undef, 2.75f, 1.0f, 1.0f}));
}

TEST(CGenEvsNamedsErase, CoveringAndCuttingTheFront)
{
    auto make = [] {
        CGenEvsNameds els;
        els.push_back(El("A", 0.0f, 4.0f, {0.0f, 1.0f, 2.0f, 3.0f}, TPatternGraphType_System, 2.0f));
        els.push_back(El("B", 4.0f, 4.0f, {0.0f, 2.0f}, TPatternGraphType_Fill));
        els.push_back(El("C", 8.0f, 4.0f, {0.0f, 0.5f, 1.0f, 2.5f}, TPatternGraphType_AccentFamily));
        return els;
    };

    // Exactly B's span: B goes, its neighbours stay.
    CGenEvsNameds exact = make();
    exact.EraseEvsAndShortenMembersInRange(4.0f, 4.0f, TPatternGraphType_Undef);
    EXPECT_EQ(Names(exact), (std::vector<std::string> {"A", "C"}));
    EXPECT_EQ(exact[0].mEvs.size(), 4u);
    EXPECT_EQ(exact[1].mEvs.size(), 4u);

    // [3, 9): A is shortened to 3, B is covered, C loses its front.
    CGenEvsNameds wide = make();
    wide.EraseEvsAndShortenMembersInRange(3.0f, 6.0f, TPatternGraphType_Undef);
    ASSERT_EQ(Names(wide), (std::vector<std::string> {"A", "C"}));
    EXPECT_EQ(wide[0].Length(), 3.0f);
    EXPECT_EQ(EvPositions(wide[0].mEvs), (std::vector<float> {0.0f, 1.0f, 2.0f}));
    EXPECT_EQ(EvLengths(wide[0].mEvs), (std::vector<float> {2.0f, 2.0f, 2.0f})) << "mode 1 shortens no event";
    EXPECT_EQ(wide[1].BeatPosAbs(), 9.0f);
    EXPECT_EQ(wide[1].Length(), 3.0f);
    EXPECT_EQ(wide[1].EndBeatPosAbs(), 12.0f);
    EXPECT_EQ(EvPositions(wide[1].mEvs), (std::vector<float> {0.0f, 1.5f}));
    EXPECT_EQ(wide[1].mEvs[0].mMB1, 38);

    // The same in mode 0 shortens what reaches in from the left.
    CGenEvsNameds wideShort = make();
    wideShort.EraseAndShortenEvsAndShortenMembersInRange(3.0f, 6.0f, TPatternGraphType_Undef);
    EXPECT_EQ(EvLengths(wideShort[0].mEvs), (std::vector<float> {2.0f, 2.0f, 1.0f}));

    // Elements of the given layer are skipped.
    CGenEvsNameds skipFill = make();
    skipFill.EraseEvsAndShortenMembersInRange(3.0f, 6.0f, TPatternGraphType_Fill);
    ASSERT_EQ(Names(skipFill), (std::vector<std::string> {"A", "B", "C"}));
    EXPECT_EQ(skipFill[0].Length(), 3.0f);
    EXPECT_EQ(skipFill[1].mEvs.size(), 2u);
    EXPECT_EQ(skipFill[1].Length(), 4.0f);
    EXPECT_EQ(skipFill[2].BeatPosAbs(), 9.0f);
    CGenEvsNameds skipSystem = make();
    skipSystem.EraseEvsAndShortenMembersInRange(3.0f, 6.0f, TPatternGraphType_System);
    EXPECT_EQ(Names(skipSystem), (std::vector<std::string> {"A", "C"}));
    EXPECT_EQ(skipSystem[0].Length(), 4.0f);
    EXPECT_EQ(skipSystem[0].mEvs.size(), 4u);
}

TEST(CGenEvsNamedsErase, UndefinedLengthsAndStarts)
{
    // An element without a length is never touched.
    CGenEvsNameds els;
    els.push_back(El("U", 2.0f, TGenBeatLength_Undef, {0.0f, 1.0f}));
    els.push_back(El("A", 4.0f, 4.0f, {0.0f, 0.5f, 2.0f}, TPatternGraphType_Undef, 1.0f));
    CGenEvsNameds all = els;
    all.EraseAndShortenEvsAndShortenMembersInRange(0.0f, 20.0f, TPatternGraphType_Undef);
    ASSERT_EQ(Names(all), (std::vector<std::string> {"U"}));
    EXPECT_EQ(all[0].mEvs.size(), 2u);
    EXPECT_EQ(all[0].BeatPosAbs(), 2.0f);

    // An undefined range length starts the walk at the last element and runs
    // to its end.
    CGenEvsNameds open = els;
    open.EraseAndShortenEvsAndShortenMembersInRange(5.0f, TGenBeatLength_Undef, TPatternGraphType_Undef);
    ASSERT_EQ(Names(open), (std::vector<std::string> {"U", "A"}));
    EXPECT_EQ(open[1].Length(), 1.0f);
    EXPECT_EQ(EvPositions(open[1].mEvs), (std::vector<float> {0.0f, 0.5f}));
    EXPECT_EQ(EvLengths(open[1].mEvs), (std::vector<float> {1.0f, 0.5f}));

    // Earlier elements are not visited, even if they hold the start.
    CGenEvsNameds early;
    early.push_back(El("A", 0.0f, 4.0f, {0.0f, 3.0f}));
    early.push_back(El("B", 4.0f, 4.0f, {0.0f}));
    const CGenEvsNameds before = early;
    early.EraseEvsAndShortenMembersInRange(2.0f, TGenBeatLength_Undef, TPatternGraphType_Undef);
    ASSERT_EQ(Names(early), Names(before));
    EXPECT_EQ(early[0].mEvs.size(), 2u);
    EXPECT_EQ(early[0].Length(), 4.0f);
    EXPECT_EQ(early[1].mEvs.size(), 1u);

    // An undefined start, or an empty list, changes nothing.
    CGenEvsNameds same = els;
    same.EraseEvsAndShortenMembersInRange(TGenBeatPosAbs_Undef, 4.0f, TPatternGraphType_Undef);
    EXPECT_EQ(same, els);
    CGenEvsNameds empty;
    empty.EraseEvsAndShortenMembersInRange(0.0f, TGenBeatLength_Undef, TPatternGraphType_Undef);
    EXPECT_TRUE(empty.empty());
}

TEST(CGenEvsNamedsOverlay, ClearsTheRangeAndInsertsTheOverlay)
{
    CGenEvsNameds els;
    els.push_back(El("A", 0.0f, 4.0f, {0.0f, 1.0f, 2.0f, 3.0f}, TPatternGraphType_System, 2.0f));
    els.push_back(El("B", 4.0f, 4.0f, {0.0f, 1.0f, 2.0f, 3.0f}, TPatternGraphType_AccentFamily));
    CGenEvs fill;
    fill.push_back(CGenEv(0.0f, 0.5f, 0x90, 49, 120));
    fill.push_back(CGenEv(1.0f, 0.5f, 0x90, 38, 100));
    fill.push_back(CGenEv(1.5f, 0.5f, 0x90, 38, 90));

    auto it = els.CreateOverlayEvs(3.0f, 2.0f, fill.begin(), fill.begin() + 2, "Fill", TPatternGraphType_Fill);
    ASSERT_EQ(Names(els), (std::vector<std::string> {"A", "Fill", "B"}));
    EXPECT_EQ(it - els.begin(), 1);
    EXPECT_EQ(els[0].Length(), 3.0f);
    EXPECT_EQ(EvLengths(els[0].mEvs), (std::vector<float> {2.0f, 2.0f, 2.0f})) << "the overlay doesn't shorten";
    EXPECT_EQ(els[1].BeatPosAbs(), 3.0f);
    EXPECT_EQ(els[1].Length(), 2.0f);
    EXPECT_EQ(els[1].PatternIx(), -1);
    EXPECT_EQ(els[1].RenderingPatternGraphType(), TPatternGraphType_Fill);
    EXPECT_EQ(EvPositions(els[1].mEvs), (std::vector<float> {0.0f, 1.0f}));
    EXPECT_EQ(els[2].BeatPosAbs(), 5.0f);
    EXPECT_EQ(EvPositions(els[2].mEvs), (std::vector<float> {0.0f, 1.0f, 2.0f}));

    // The named and the list forms do the same with the element's own fields.
    CGenEvsNameds overlays;
    overlays.push_back(El("F1", 0.0f, 1.0f, {0.0f}, TPatternGraphType_Fill));
    overlays.push_back(El("F2", 7.0f, 1.0f, {0.5f}, TPatternGraphType_Fill));
    els.CreateOverlayEvsForAll(overlays);
    EXPECT_EQ(Names(els), (std::vector<std::string> {"F1", "A", "Fill", "B", "F2"}));
    EXPECT_EQ(els[1].BeatPosAbs(), 1.0f);
    EXPECT_EQ(els[3].Length(), 2.0f);
    EXPECT_EQ(els[4].PatternIx(), -1);
    EXPECT_TRUE(els.IsSortedByBeatPosAbs());
    EXPECT_EQ(els.EvCount(), 1u + 2u + 2u + 2u + 1u);
}

TEST(CGenEvsNamedsArchive, RoundTripsInAllArchives)
{
    CGenEvsNameds els;
    els.push_back(El("Groove A", 0.0f, 4.0f, {0.0f, 1.0f}, TPatternGraphType_System));
    CGenEvsNamed melodic = El("Bass", 4.0f, TGenBeatLength_Undef);
    melodic.mPatternIx = 12;
    melodic.mEvs.push_back(CGenEv(0.5f, 1.0f, CAbstractNote("{nB3[-1,c-2]}"), 2));
    els.push_back(melodic);
    els.push_back(CGenEvsNamed());

    for (const CGenEvsNameds& back : {TextRoundTrip(els), BinaryRoundTrip(els), XmlRoundTrip(els)}) {
        EXPECT_EQ(back, els);
        ASSERT_EQ(back.size(), 3u);
        EXPECT_EQ(back[1].mEvs[0].AbstractNoteConst().ToString(), "{nB3[-1,c-2]}");
        EXPECT_EQ(back[1].PatternIx(), 12);
        EXPECT_TRUE(GenIsUndef(back[1].Length()));
        EXPECT_TRUE(GenIsUndef(back[2].BeatPosAbs()));
    }
    for (const CGenEvsNamed& back : {TextRoundTrip(melodic), BinaryRoundTrip(melodic), XmlRoundTrip(melodic)})
        EXPECT_EQ(back, melodic);
    CGenEvsNameds broken;
    EXPECT_FALSE(FromTextArchive(TextArchivePreamble() + " 0 0 0 0 2 0 0 0 5 Groove", broken));
}
