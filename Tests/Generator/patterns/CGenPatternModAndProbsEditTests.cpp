#include "Generator/CGenGeneratorParams.h"
#include "Generator/library/CGenGenreLibs.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/timesig/CGenEvsTempo.h"

#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

constexpr int kFoot = 0x21;
constexpr int kSnare = 0x36;
constexpr long long kTolerance = 150000000LL; // 150 ms

CGenEv Note(float pos, float length = 0.25f, int uid = 36) { return CGenEv(pos, length, st_NoteOn, uid, 100); }

CGenEv Layered(float pos, float length, uint64_t layers)
{
    CGenEv ev = Note(pos, length);
    ev.mRuntimeLayerBitmask = CGenBitmask(layers);
    return ev;
}

// Graph patterns in a row: 0 at 0, 1 at 4, 2 at 8, each 4 beats long.
struct Row {
    CGenPatternGraphBoost mGraph {TPatternGraphType_AccentFamily};
    CGenPatternModAndProbs mList;
    Row()
    {
        CGenEvs a(4.0f);
        a.push_back(Note(0.0f, 1.0f));
        a.push_back(Note(1.0f, 2.0f));
        a.push_back(Note(3.0f, 0.5f));
        CGenEvs b(4.0f);
        b.push_back(Note(0.0f));
        b.push_back(Note(2.0f));
        CGenEvs c(4.0f);
        c.push_back(Note(0.0f));
        c.push_back(Note(1.0f));
        for (const CGenEvs& evs : {a, b, c})
            mGraph.AddPattern(CGenPattern("p", evs));
        for (int i = 0; i < 3; ++i)
            mList.push_back(CGenPatternModAndProb(&mGraph, uint64_t(i), 10.0f, 4.0f * float(i)));
    }
};

std::vector<float> Positions(const CGenPatternModAndProbs& list)
{
    std::vector<float> r;
    for (const auto& el : list)
        r.push_back(el.mBeatPosAbs);
    return r;
}

// One element at 0, 4 beats long, with the given notes.
CGenPatternModAndProbs OneElement(const std::vector<CGenEv>& evs, float length = 4.0f)
{
    CGenEvs e(length);
    for (const CGenEv& ev : evs)
        e.InsertAtBeatPos(ev);
    CGenPatternModAndProbs list;
    list.push_back(CGenPatternModAndProb(0.0f, CGenPattern("one", e)));
    return list;
}

CGenEvsTempo Tempo(double bpm)
{
    CGenEvsTempo tempo;
    tempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, bpm));
    return tempo;
}

// Foot notes 100 ms (0.2 beats at 120 bpm) and then 200 ms apart.
CGenPatternModAndProbs FootNotes()
{
    return OneElement({Note(1.0f, 0.1f, kFoot), Note(1.2f, 0.1f, kFoot), Note(1.6f, 0.1f, kFoot)});
}

} // namespace

TEST(CGenPatternModAndProbsEdit, RangeEraseCutsElementsAtBothEnds)
{
    Row row;
    // [2, 5): the first element loses its event at 3 and ends at 2; the
    // second loses its first beat and starts at 5, its events where they sound.
    row.mList.EraseEvsAndShortenMembersInRange(2.0f, 3.0f);
    ASSERT_EQ(row.mList.size(), 3u);
    EXPECT_EQ(Positions(row.mList), (std::vector<float> {0.0f, 5.0f, 8.0f}));
    const CGenEvs& first = row.mList[0].PatternToBeRead().mEvs;
    EXPECT_EQ(EvPositions(first), (std::vector<float> {0.0f, 1.0f}));
    EXPECT_EQ(EvLengths(first), (std::vector<float> {1.0f, 2.0f}));
    EXPECT_FLOAT_EQ(first.mLength, 2.0f);
    EXPECT_EQ(EvPositions(row.mList[1].PatternToBeRead().mEvs), (std::vector<float> {1.0f}));
    EXPECT_FLOAT_EQ(row.mList[1].Length(), 3.0f);
    EXPECT_FALSE(row.mList[2].PatternIsModified());
    // The graph's patterns are untouched.
    EXPECT_EQ(row.mGraph.PatternAtIx(0).mEvs.size(), 3u);

    // With shortening, the event reaching into the range loses the overlap.
    Row shortened;
    shortened.mList.EraseAndShortenEvsAndShortenMembersInRange(2.0f, 3.0f);
    EXPECT_EQ(EvLengths(shortened.mList[0].PatternToBeRead().mEvs), (std::vector<float> {1.0f, 1.0f}));

    Row viaRange;
    viaRange.mList.EraseEvsAndShortenMembersInRange(CGenRange<float>(2.0f, 5.0f));
    EXPECT_EQ(Positions(viaRange.mList), (std::vector<float> {0.0f, 5.0f, 8.0f}));
}

TEST(CGenPatternModAndProbsEdit, RangeEraseRemovesCoveredElements)
{
    Row row;
    row.mList.EraseEvsAndShortenMembersInRange(4.0f, 4.0f);
    EXPECT_EQ(Positions(row.mList), (std::vector<float> {0.0f, 8.0f}));
    EXPECT_FALSE(row.mList[0].PatternIsModified());
    EXPECT_FALSE(row.mList[1].PatternIsModified());

    Row all;
    all.mList.EraseEvsAndShortenMembersInRange(-1.0f, 20.0f);
    EXPECT_TRUE(all.mList.empty());

    Row undefined;
    undefined.mList.EraseEvsAndShortenMembersInRange(2.0f, TGenBeatLength_Undef);
    undefined.mList.EraseEvsAndShortenMembersInRange(2.0f, -1.0f);
    EXPECT_EQ(Positions(undefined.mList), (std::vector<float> {0.0f, 4.0f, 8.0f}));
    EXPECT_FALSE(undefined.mList[0].PatternIsModified());

    Row overlay;
    overlay.mList.EraseEvsAndShortenMembersThatOverlay(overlay.mList[1]);
    EXPECT_EQ(Positions(overlay.mList), (std::vector<float> {0.0f, 8.0f}));
    Row overlays;
    overlays.mList.EraseEvsAndShortenMembersThatOverlay(CGenPatternModAndProbs(overlays.mList.begin(), overlays.mList.begin() + 2));
    EXPECT_EQ(Positions(overlays.mList), (std::vector<float> {8.0f}));
}

TEST(CGenPatternModAndProbsEdit, EraseByLayer)
{
    const std::vector<CGenEv> evs {Layered(0.0f, 0.5f, 1), Layered(0.5f, 2.0f, 1), Layered(1.0f, 0.5f, 2),
        Layered(2.0f, 0.5f, 1)};
    CGenPatternModAndProbs list = OneElement(evs);
    list.EraseAndShortenEvsInRangeMatchingLayerBitmask(1.0f, 2.0f, CGenBitmask(1), TShortenPatterns_No);
    const CGenEvs& left = list[0].PatternToBeRead().mEvs;
    EXPECT_EQ(EvPositions(left), (std::vector<float> {0.0f, 0.5f, 1.0f}));
    EXPECT_EQ(EvLengths(left), (std::vector<float> {0.5f, 0.5f, 0.5f}));
    EXPECT_FLOAT_EQ(left.mLength, 4.0f);

    // Covering the whole element: it stays unless patterns are shortened too.
    list = OneElement(evs);
    list.EraseAndShortenEvsInRangeMatchingLayerBitmask(0.0f, 4.0f, CGenBitmask(1), TShortenPatterns_No);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(EvPositions(list[0].PatternToBeRead().mEvs), (std::vector<float> {1.0f}));
    list.EraseAndShortenEvsInRangeMatchingLayerBitmask(0.0f, 4.0f, CGenBitmask(2), TShortenPatterns_Yes);
    EXPECT_TRUE(list.empty());

    // Shortening patterns cuts the element's length at the range.
    list = OneElement(evs);
    list.EraseAndShortenEvsInRangeMatchingLayerBitmask(3.0f, 1.0f, CGenBitmask(2), TShortenPatterns_Yes);
    EXPECT_FLOAT_EQ(list[0].Length(), 3.0f);
    EXPECT_EQ(list[0].PatternToBeRead().mEvs.size(), 4u);
}

TEST(CGenPatternModAndProbsEdit, OverlayEventsGoIntoTheElementsTheyOverlap)
{
    Row row;
    CGenEvs fill(2.0f);
    fill.push_back(Note(0.0f));
    fill.push_back(Note(0.5f));
    fill.push_back(Note(1.5f));
    CGenPatternModAndProbs source;
    source.push_back(CGenPatternModAndProb(3.0f, CGenPattern("fill", fill)));
    CGenEvs far(1.0f);
    far.push_back(Note(0.0f));
    source.push_back(CGenPatternModAndProb(20.0f, CGenPattern("far", far)));
    row.mList.DistributeEvsIntoOverlapping(source);
    EXPECT_EQ(EvPositions(row.mList[0].PatternToBeRead().mEvs), (std::vector<float> {0.0f, 1.0f, 3.0f, 3.0f, 3.5f}));
    EXPECT_EQ(EvPositions(row.mList[1].PatternToBeRead().mEvs), (std::vector<float> {0.0f, 0.5f, 2.0f}));
    EXPECT_FALSE(row.mList[2].PatternIsModified());
    EXPECT_EQ(row.mList.size(), 3u);

    // A list spread into itself doubles each event once.
    CGenPatternModAndProbs self = OneElement({Note(1.0f)});
    self.DistributeEvsIntoOverlapping(self);
    EXPECT_EQ(EvPositions(self[0].PatternToBeRead().mEvs), (std::vector<float> {1.0f, 1.0f}));
}

TEST(CGenPatternModAndProbsEdit, MaskedFootNotesAt120Bpm)
{
    const CGenEvsTempo tempo = Tempo(120.0);
    const CGenPatternModAndProbs noMask;
    // An accent on the first foot note, which is 100 ms before the next one:
    // within the 150 ms tolerance, so the first foot note goes. The next is
    // 200 ms from the third and stays, as does the third.
    CGenPatternModAndProbs system = FootNotes();
    const CGenPatternModAndProbs accent = OneElement({Note(1.0f, 0.25f, kSnare)}, 8.0f);
    system.EraseMaskedNotes(accent, noMask, tempo, {}, kTolerance, {kFoot});
    EXPECT_EQ(EvPositions(system[0].PatternToBeRead().mEvs), (std::vector<float> {1.2f, 1.6f}));
    // The masks may come in either place; a negative tolerance counts the same.
    system = FootNotes();
    system.EraseMaskedNotes(noMask, accent, tempo, {}, -kTolerance, {kFoot});
    EXPECT_EQ(EvPositions(system[0].PatternToBeRead().mEvs), (std::vector<float> {1.2f, 1.6f}));

    // An accent on the second foot note: that one is 200 ms from the next, so nothing goes.
    system = FootNotes();
    system.EraseMaskedNotes(OneElement({Note(1.2f, 0.25f, kSnare)}, 8.0f), noMask, tempo, {}, kTolerance, {kFoot});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 3u);

    // The window is a quarter of the tolerance either side: 37.5 ms, 0.075 beats.
    system = FootNotes();
    system.EraseMaskedNotes(OneElement({Note(1.07f, 0.25f, kSnare)}, 8.0f), noMask, tempo, {}, kTolerance, {kFoot});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 2u);
    system = FootNotes();
    system.EraseMaskedNotes(OneElement({Note(1.08f, 0.25f, kSnare)}, 8.0f), noMask, tempo, {}, kTolerance, {kFoot});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 3u);

    // With mask uids only mask notes that are not of those uids count.
    system = FootNotes();
    system.EraseMaskedNotes(accent, noMask, tempo, {kSnare}, kTolerance, {kFoot});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 3u);
    system.EraseMaskedNotes(accent, noMask, tempo, {kFoot}, kTolerance, {kFoot});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 2u);
}

TEST(CGenPatternModAndProbsEdit, MaskedNotesNeedTempoAndOwnNotes)
{
    const CGenPatternModAndProbs noMask;
    const CGenPatternModAndProbs accent = OneElement({Note(1.0f, 0.25f, kSnare)}, 8.0f);
    CGenPatternModAndProbs system = FootNotes();
    system.EraseMaskedNotes(accent, noMask, CGenEvsTempo(), {}, kTolerance, {kFoot});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 3u);
    system.EraseMaskedNotes(accent, noMask, Tempo(120.0), {}, kTolerance, {});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 3u);
    // At 60 bpm the 0.2 beats are 200 ms: beyond the tolerance.
    system.EraseMaskedNotes(accent, noMask, Tempo(60.0), {}, kTolerance, {kFoot});
    EXPECT_EQ(system[0].PatternToBeRead().mEvs.size(), 3u);

    // An element with nothing to erase stays a reference to its graph pattern.
    CGenPatternGraphBoost graph(TPatternGraphType_System);
    graph.AddPattern(FootNotes()[0].PatternToBeRead());
    CGenPatternModAndProbs fromGraph;
    fromGraph.push_back(CGenPatternModAndProb(&graph, 0, 10.0f, 0.0f));
    fromGraph.EraseMaskedNotes(OneElement({Note(3.0f, 0.25f, kSnare)}, 8.0f), noMask, Tempo(120.0), {}, kTolerance,
        {kFoot});
    EXPECT_FALSE(fromGraph[0].PatternIsModified());
    fromGraph.EraseMaskedNotes(accent, noMask, Tempo(120.0), {}, kTolerance, {kFoot});
    EXPECT_TRUE(fromGraph[0].PatternIsModified());
    EXPECT_EQ(graph.PatternAtIx(0).mEvs.size(), 3u);
}

TEST(CGenPatternModAndProbsEdit, PickupIsCutToTheRegionStart)
{
    CGenGeneratorParams params;
    params.mGenerateStartPosAbs = 2.0f;
    Row row;
    row.mList.ShortenPickupBarOnTheLeft(nullptr);
    EXPECT_FALSE(row.mList[0].PatternIsModified());
    row.mList.ShortenPickupBarOnTheLeft(&params);
    EXPECT_EQ(Positions(row.mList), (std::vector<float> {2.0f, 4.0f, 8.0f}));
    EXPECT_EQ(EvPositions(row.mList[0].PatternToBeRead().mEvs), (std::vector<float> {1.0f}));
    EXPECT_FLOAT_EQ(row.mList[0].Length(), 2.0f);
    EXPECT_FALSE(row.mList[1].PatternIsModified());
}

TEST(CGenPatternModAndProbsEdit, SignatureTransformationRunsOnce)
{
    CGenInstLib lib(TGenInstType_Drums);
    CGenPatternGraphBoost& accents = lib.PatternGraph(TPatternGraphType_AccentFamily);
    CGenEvs evs(4.0f);
    for (float p : {0.0f, 1.0f, 2.0f, 3.0f, 3.5f})
        evs.push_back(Note(p));
    accents.AddPattern(CGenPattern("four", evs));
    lib.PatternGraph(TPatternGraphType_Fill).AddPattern(CGenPattern("fill", evs));

    CGenGeneratorParams params;
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(3, 2)));
    CGenPatternModAndProbs list;
    list.push_back(CGenPatternModAndProb(&accents, 0, 10.0f, 0.0f));
    list.back().mBeatPosAbsSTTarget = 3.0f;
    list.push_back(CGenPatternModAndProb(&lib.PatternGraph(TPatternGraphType_Fill), 0, 10.0f, 4.0f));

    CGenEvs expected = evs;
    accents.SignTimeTrafos().TransformFromTo(CGenSignTime(4, 2), CGenSignTime(3, 2), expected,
        TTransformEvsLength_Transform);
    ASSERT_NE(expected, evs);

    list.ApplySignTimeTrafo(nullptr, &lib, TTransformBeatPosAbs_ToSTTarget);
    EXPECT_EQ(list.STDefaultOrTarget(), TSTDefaultOrTarget::Default);
    list.ApplySignTimeTrafo(&params, &lib, TTransformBeatPosAbs_ToSTTarget);
    EXPECT_EQ(list.STDefaultOrTarget(), TSTDefaultOrTarget::Target);
    EXPECT_FLOAT_EQ(list[0].mBeatPosAbs, 3.0f);
    EXPECT_EQ(list[0].PatternToBeRead().mEvs, expected);
    EXPECT_FALSE(list[1].PatternIsModified());
    EXPECT_EQ(accents.PatternAtIx(0).mEvs, evs);

    // A second application changes nothing.
    list.push_back(CGenPatternModAndProb(&accents, 0, 10.0f, 8.0f));
    list.ApplySignTimeTrafo(&params, &lib, TTransformBeatPosAbs_ToSTTarget);
    EXPECT_FALSE(list[2].PatternIsModified());

    // Keeping positions leaves the target positions alone.
    CGenPatternModAndProbs kept;
    kept.push_back(CGenPatternModAndProb(&accents, 0, 10.0f, 0.0f));
    kept.back().mBeatPosAbsSTTarget = 3.0f;
    kept.ApplySignTimeTrafo(&params, &lib, TTransformBeatPosAbs_Keep);
    EXPECT_FLOAT_EQ(kept[0].mBeatPosAbs, 0.0f);
}

TEST(CGenPatternModAndProbsEdit, ExplicitTransformationsStartAPickupAtItsBar)
{
    CGenPatternGraphBoost accents(TPatternGraphType_AccentFamily);
    CGenEvs evs(3.0f);
    for (float p : {0.0f, 1.0f, 2.5f})
        evs.push_back(Note(p));
    accents.AddPattern(CGenPattern("pickup", evs));
    const CGenSignTimeTrafos trafos(TGenInstType_Drums, TPatternGraphType_AccentFamily);

    CGenGeneratorParams params;
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(7, 3)));
    CGenPatternModAndProbs list;
    list.push_back(CGenPatternModAndProb(&accents, 0, 10.0f, 1.0f));
    list.push_back(CGenPatternModAndProb(nullptr, 0, 10.0f, 0.0f));
    CGenEvs bar(4.0f);
    for (float p : {0.0f, 1.0f, 3.75f})
        bar.push_back(Note(p));
    list.back().NewPatternToBeModified() = CGenPattern("no layer", bar);
    list.ApplySignTimeTrafo(&params, &trafos, TTransformBeatPosAbs_Keep);

    // Moved to the bar start by 1, transformed as a whole bar, moved back.
    CGenEvs expected = evs;
    for (CGenEv& ev : expected)
        ev.mBeatPos += 1.0f;
    expected.mLength += 1.0f;
    trafos.TransformFromTo(CGenSignTime(4, 2), CGenSignTime(7, 3), expected, TTransformEvsLength_Transform);
    for (CGenEv& ev : expected)
        ev.mBeatPos -= 1.0f;
    expected.mLength -= 1.0f;
    EXPECT_FLOAT_EQ(list[0].mBeatPosAbs, 1.0f);
    EXPECT_EQ(EvPositions(list[0].PatternToBeRead().mEvs), EvPositions(expected));
    EXPECT_NE(EvPositions(expected), EvPositions(evs));
    EXPECT_FLOAT_EQ(list[0].Length(), expected.mLength);
    // Here an element without a layer is transformed too; it starts on its bar.
    CGenEvs expectedNoLayer = bar;
    trafos.TransformFromTo(CGenSignTime(4, 2), CGenSignTime(7, 3), expectedNoLayer, TTransformEvsLength_Transform);
    ASSERT_NE(EvPositions(expectedNoLayer), EvPositions(bar));
    EXPECT_EQ(EvPositions(list[1].PatternToBeRead().mEvs), EvPositions(expectedNoLayer));
    EXPECT_EQ(list.STDefaultOrTarget(), TSTDefaultOrTarget::Target);

    CGenPatternModAndProbs moved;
    moved.push_back(CGenPatternModAndProb(&accents, 0, 10.0f, 0.0f));
    moved.back().mBeatPosAbsSTTarget = 6.0f;
    moved.TransformBeatPosAbs(nullptr);
    EXPECT_FLOAT_EQ(moved[0].mBeatPosAbs, 0.0f);
    moved.TransformBeatPosAbs(&params);
    EXPECT_FLOAT_EQ(moved[0].mBeatPosAbs, 6.0f);
    EXPECT_EQ(moved.STDefaultOrTarget(), TSTDefaultOrTarget::Default);
}

TEST(CGenPatternModAndProbsEdit, TheGeneratorsTransformationStartsAPickupAtItsBarToo)
{
    // The generator transforms through the library's graphs; a pattern that
    // starts one beat into a 7/8 bar is a pickup there as well.
    CGenInstLib lib(TGenInstType_Drums);
    CGenPatternGraphBoost& accents = lib.PatternGraph(TPatternGraphType_AccentFamily);
    CGenEvs evs(3.0f);
    for (float p : {0.0f, 1.0f, 2.5f})
        evs.push_back(Note(p));
    accents.AddPattern(CGenPattern("pickup", evs));
    CGenGeneratorParams params;
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(7, 3)));
    CGenPatternModAndProbs list;
    list.push_back(CGenPatternModAndProb(&accents, 0, 10.0f, 1.0f));
    list.ApplySignTimeTrafo(&params, &lib, TTransformBeatPosAbs_Keep);

    // Events at 0, 1, 2.5 of the element are 1, 2, 3.5 of its bar: the bar
    // is transformed from its start, then the element moves back by 1.
    CGenEvs expected = evs;
    for (CGenEv& ev : expected)
        ev.mBeatPos += 1.0f;
    expected.mLength += 1.0f;
    accents.SignTimeTrafos().TransformFromTo(CGenSignTime(4, 2), CGenSignTime(7, 3), expected,
        TTransformEvsLength_Transform);
    for (CGenEv& ev : expected)
        ev.mBeatPos -= 1.0f;
    expected.mLength -= 1.0f;
    // Transformed as if it started the bar, the last event would land elsewhere.
    CGenEvs asBarStart = evs;
    accents.SignTimeTrafos().TransformFromTo(CGenSignTime(4, 2), CGenSignTime(7, 3), asBarStart,
        TTransformEvsLength_Transform);
    ASSERT_NE(EvPositions(expected), EvPositions(asBarStart));
    EXPECT_FLOAT_EQ(list[0].mBeatPosAbs, 1.0f);
    EXPECT_EQ(EvPositions(list[0].PatternToBeRead().mEvs), EvPositions(expected));
    EXPECT_FLOAT_EQ(list[0].Length(), expected.mLength);
}
