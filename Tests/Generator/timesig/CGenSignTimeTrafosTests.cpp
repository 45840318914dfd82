#include "Generator/CGenRandom.h"
#include "Generator/timesig/CGenSTTrafoCalcFallback.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using TPosNote = std::pair<float, int>;
using TPosNotes = std::vector<TPosNote>;

const CGenSignTime k34(3, 2), k54(5, 2), k68(6, 3), k78(7, 3), k128(12, 3);

// One 4/4 bar of eighth notes 36..43, each an eighth long.
CGenEvs BarOfEighths()
{
    CGenEvs evs(4.0f);
    for (int k = 0; k < 8; ++k)
        evs.InsertAtBeatPos(CGenEv(0.5f * float(k), 0.5f, st_NoteOn, 36 + k, 100));
    return evs;
}

TPosNotes PosNotes(const CGenEvs& evs)
{
    TPosNotes r;
    for (const CGenEv& ev : evs)
        r.emplace_back(ev.mBeatPos, ev.mMB1);
    return r;
}

CGenEvs Transformed(_TGenInstType inst, TPatternGraphType graph, const CGenSignTime& target, CGenEvs evs)
{
    CGenSignTimeTrafos(inst, graph).TransformFromTo(CGenSignTime_Default44, target, evs, TTransformEvsLength_Transform);
    return evs;
}

std::string StepsTrace(const CGenSignTimeTrafo& t) { return t.mSteps.TraceString(); }

} // namespace

TEST(CGenSignTimeTrafoSteps, TraceFormsAndEquality)
{
    EXPECT_EQ(CGenSignTimeTrafoStep_Erase(2.0f, 1.0f).TraceString(), "CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 2, ForLength 1");
    EXPECT_EQ(CGenSignTimeTrafoStep_InsertSilence(0.25f, 0.5f).TraceString(),
        "CGenSignTimeTrafoStep_InsertSilence: InsertAtBeatPos 0.25, ForLength 0.5");
    EXPECT_EQ(CGenSignTimeTrafoStep_CopyInsert(1.0f, 1.0f, 2.0f).TraceString(),
        "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 1, ForLength 1, InsertAtBeatPos  2");
    EXPECT_EQ(CGenSignTimeTrafoStep_Move(1.0f, 2.0f, 3.0f).TraceString(),
        "CGenSignTimeTrafoStep_Move: MoveFromBeatPos 1, ForLength 2, MoveToBeatPos  3");

    EXPECT_TRUE(CGenSignTimeTrafoStep_Erase(1.0f, 2.0f) == CGenSignTimeTrafoStep_Erase(1.0f, 2.0f));
    EXPECT_FALSE(CGenSignTimeTrafoStep_Erase(1.0f, 2.0f) == CGenSignTimeTrafoStep_InsertSilence(1.0f, 2.0f));
    EXPECT_FALSE(CGenSignTimeTrafoStep_Erase(1.0f, 2.0f) == CGenSignTimeTrafoStep_Erase(1.0f, 2.5f));

    CGenSignTimeTrafoSteps steps;
    steps.Add<CGenSignTimeTrafoStep_CopyInsert>(1.0f, 0.5f, 2.0f);
    steps.Add<CGenSignTimeTrafoStep_Erase>(3.0f, 1.0f);
    CGenSignTimeTrafoSteps copy = steps;
    EXPECT_EQ(copy, steps);
    copy.Offset(4.0f);
    EXPECT_NE(copy, steps);
    EXPECT_EQ(copy[0].TraceString(), "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 5, ForLength 0.5, InsertAtBeatPos  6");
    EXPECT_EQ(steps[1].TraceString(), "CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 3, ForLength 1");
    EXPECT_EQ(steps.TraceString(), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 1, ForLength 0.5, "
                                   "InsertAtBeatPos  2; CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 3, ForLength 1");
}

TEST(CGenSignTimeTrafos, PresetListsByInstrumentAndGraphType)
{
    EXPECT_TRUE(CGenSignTimeTrafos(TGenInstType_Drums, TPatternGraphType_Undef).empty());

    const CGenSignTimeTrafos accents(TGenInstType_Drums, TPatternGraphType_AccentFamily);
    ASSERT_EQ(accents.size(), 5u);
    const std::vector<CGenSignTime> targets {k34, k54, k68, k78, k128};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(accents[i].mSource, CGenSignTime_Default44);
        EXPECT_EQ(accents[i].mTarget, targets[i]);
        EXPECT_TRUE(accents[i].mLayerBitmask.IsEmpty());
    }
    EXPECT_EQ(accents[3].TraceString(), "CGenSignTimeTrafo: Source 4/4 -> Target 7/8: CGenSignTimeTrafoSteps: "
                                        "CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 3.5, ForLength 0.5");
    EXPECT_EQ(StepsTrace(accents[2]), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 2, ForLength 2; "
                                      "CGenSignTimeTrafoStep_InsertSilence: InsertAtBeatPos 1.25, ForLength 0.5; "
                                      "CGenSignTimeTrafoStep_InsertSilence: InsertAtBeatPos 0.25, ForLength 0.5");

    const CGenSignTimeTrafos percussion(TGenInstType_Drums, TPatternGraphType_Percussion);
    EXPECT_EQ(StepsTrace(percussion[2]), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 2, ForLength 2; "
                                         "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 1.25, ForLength 0.5, InsertAtBeatPos  1.75; "
                                         "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0.25, ForLength 0.5, InsertAtBeatPos  0.75");
    EXPECT_EQ(percussion[4].mSteps[0].TraceString(), "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 3.25, ForLength 0.5, InsertAtBeatPos  3.75");

    // Other instruments: 6/8 cuts the second half of beats 2 and 4; 12/8 follows the graph type.
    const CGenSignTimeTrafos bassSystem(TGenInstType_Bass, TPatternGraphType_System);
    EXPECT_EQ(StepsTrace(bassSystem[2]), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 3, ForLength 0.5; "
                                         "CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 1, ForLength 0.5");
    EXPECT_EQ(bassSystem[4].mSteps[3].TraceString(), "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0.25, ForLength 0.5, InsertAtBeatPos  0.75");
    const CGenSignTimeTrafos bassAccent(TGenInstType_Bass, TPatternGraphType_AccentFamily);
    EXPECT_EQ(bassAccent[4].mSteps[0].TraceString(), "CGenSignTimeTrafoStep_InsertSilence: InsertAtBeatPos 3.25, ForLength 0.5");
    EXPECT_EQ(bassAccent[1].mSteps[0].TraceString(), "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 1, ForLength 1, InsertAtBeatPos  2");
}

TEST(CGenSignTimeTrafos, PresetsRewriteABarForTheAccentLayer)
{
    const auto A = TPatternGraphType_AccentFamily;
    const auto D = TGenInstType_Drums;
    CGenEvs r = Transformed(D, A, k34, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 38}, {1.5f, 39}, {2, 42}, {2.5f, 43}}));
    EXPECT_EQ(r.mLength, 3.0f);

    r = Transformed(D, A, k54, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 38}, {1.5f, 39}, {2, 38}, {2.5f, 39}, {3, 40}, {3.5f, 41},
                               {4, 42}, {4.5f, 43}}));
    EXPECT_EQ(r.mLength, 5.0f);

    r = Transformed(D, A, k68, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {1, 37}, {1.5f, 38}, {2.5f, 39}}));
    EXPECT_EQ(r.mLength, 3.0f);

    r = Transformed(D, A, k78, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 38}, {1.5f, 39}, {2, 40}, {2.5f, 41}, {3, 42}}));
    EXPECT_EQ(r.mLength, 3.5f);

    r = Transformed(D, A, k128, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {1, 37}, {1.5f, 38}, {2.5f, 39}, {3, 40}, {4, 41}, {4.5f, 42}, {5.5f, 43}}));
    EXPECT_EQ(r.mLength, 6.0f);
    for (const CGenEv& ev : r)
        EXPECT_EQ(ev.mBeatLength, 0.5f);
}

TEST(CGenSignTimeTrafos, PresetsRewriteABarForTheSystemLayer)
{
    const auto S = TPatternGraphType_System;
    const auto D = TGenInstType_Drums;
    CGenEvs r = Transformed(D, S, k34, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 38}, {1.5f, 39}, {2, 42}, {2.5f, 43}}));

    r = Transformed(D, S, k68, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 37}, {1.5f, 38}, {2, 39}, {2.5f, 39}}));
    EXPECT_EQ(r.mLength, 3.0f);

    r = Transformed(D, S, k78, BarOfEighths());
    EXPECT_EQ(r.size(), 7u);
    EXPECT_EQ(r.mLength, 3.5f);

    r = Transformed(D, S, k128, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 37}, {1.5f, 38}, {2, 39}, {2.5f, 39}, {3, 40}, {3.5f, 41},
                               {4, 41}, {4.5f, 42}, {5, 43}, {5.5f, 43}}));
    EXPECT_EQ(r.mLength, 6.0f);

    // A bass 6/8 cuts the off-beats of beats 2 and 4.
    r = Transformed(TGenInstType_Bass, S, k68, BarOfEighths());
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 39}, {1.5f, 40}, {2, 41}, {2.5f, 43}}));
}

TEST(CGenSignTimeTrafos, SevenEightCutsTheLastEighthOfEachBar)
{
    CGenEvs evs(8.0f);
    evs.InsertAtBeatPos(CGenEv(0.0f, 0.25f, st_NoteOn, 36, 100));
    evs.InsertAtBeatPos(CGenEv(3.0f, 1.0f, st_NoteOn, 38, 100));
    evs.InsertAtBeatPos(CGenEv(3.25f, 0.25f, st_NoteOn, 42, 100));
    evs.InsertAtBeatPos(CGenEv(3.5f, 0.25f, st_NoteOn, 44, 100));
    evs.InsertAtBeatPos(CGenEv(4.0f, 0.25f, st_NoteOn, 36, 100));
    evs.InsertAtBeatPos(CGenEv(7.75f, 0.25f, st_NoteOn, 46, 100));
    const CGenEvs r = Transformed(TGenInstType_Drums, TPatternGraphType_AccentFamily, k78, evs);
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {3, 38}, {3.25f, 42}, {3.5f, 36}}));
    EXPECT_EQ(r[1].mBeatLength, 0.5f);
    EXPECT_EQ(r.mLength, 7.0f);

    // Keeping the length: the list length stays 8, events stay inside 7.
    CGenEvs kept = evs;
    CGenSignTimeTrafos(TGenInstType_Drums, TPatternGraphType_AccentFamily)
        .TransformFromTo(CGenSignTime_Default44, k78, kept, TTransformEvsLength_Keep);
    EXPECT_EQ(kept.mLength, 8.0f);
    EXPECT_EQ(PosNotes(kept), PosNotes(r));
}

TEST(CGenSignTimeTrafos, OpenEndedListsKeepWhatLiesBehind)
{
    // No list length: bars are walked up to the last event, nothing is cut.
    CGenEvs evs;
    evs.InsertAtBeatPos(CGenEv(1.0f, 0.5f, st_NoteOn, 36, 100));
    evs.InsertAtBeatPos(CGenEv(3.5f, 0.5f, st_NoteOn, 37, 100));
    evs.InsertAtBeatPos(CGenEv(5.0f, 0.5f, st_NoteOn, 38, 100));
    evs.InsertAtBeatPos(CGenEv(9.0f, 0.5f, st_NoteOn, 39, 100));
    const CGenEvs r = Transformed(TGenInstType_Drums, TPatternGraphType_AccentFamily, k34, evs);
    EXPECT_EQ(PosNotes(r), (TPosNotes {{1, 36}, {2.5f, 37}, {4, 38}, {7, 39}}));
    EXPECT_TRUE(GenIsUndef(r.mLength));
}

TEST(CGenSignTimeTrafos, EqualMetresOnlyFoldTheSecondaryOffsets)
{
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(CGenEv(1.0f, 0.5f, st_NoteOn, 36, 100));
    evs.InsertAtBeatPos(CGenEv(2.0f, 0.5f, st_NoteOn, 38, 100));
    evs[0].mRuntimeTimeTrafoInvariantBeatPosOffset = 1.5f;
    CGenSignTimeTrafos(TGenInstType_Drums, TPatternGraphType_AccentFamily)
        .TransformFromTo(CGenSignTime_Default44, CGenSignTime_Undef, evs, TTransformEvsLength_Transform);
    EXPECT_EQ(PosNotes(evs), (TPosNotes {{2, 38}, {2.5f, 36}}));
    EXPECT_TRUE(GenIsUndef(evs[1].mRuntimeTimeTrafoInvariantBeatPosOffset));
    EXPECT_EQ(evs.mLength, 4.0f);

    // In a real transformation the offset is folded after the edits.
    CGenEvs moved(4.0f);
    moved.InsertAtBeatPos(CGenEv(2.0f, 0.5f, st_NoteOn, 36, 100));
    moved[0].mRuntimeTimeTrafoInvariantBeatPosOffset = 0.25f;
    const CGenEvs r = Transformed(TGenInstType_Drums, TPatternGraphType_AccentFamily, k54, moved);
    EXPECT_EQ(PosNotes(r), (TPosNotes {{3.25f, 36}}));
}

TEST(CGenSignTimeTrafos, LayerBitmasksChooseTheTransformationPerLayer)
{
    CGenSignTimeTrafos trafos;
    EXPECT_FALSE(trafos.AppendPresetForLayerBitmask(CGenBitmask(1), "Drums"));
    EXPECT_TRUE(trafos.empty());
    ASSERT_TRUE(trafos.AppendPresetForLayerBitmask(CGenBitmask(1), "DrumsAccents"));
    ASSERT_TRUE(trafos.AppendPresetForLayerBitmask(CGenBitmask(2), "DrumsSystems"));
    EXPECT_EQ(trafos.size(), 10u);
    EXPECT_EQ(trafos[9].mLayerBitmask, CGenBitmask(2));
    EXPECT_EQ(trafos.FindTransformFromTo(CGenSignTime_Default44, k128), trafos.end());
    EXPECT_EQ(trafos.FindTransformForLayerIxFromTo(1, CGenSignTime_Default44, k128), trafos.begin() + 9);
    EXPECT_EQ(trafos.FindTransformForLayerIxFromTo(0, CGenSignTime(2, 1), k128), trafos.begin() + 4);

    auto note = [](float pos, int nr, uint64_t mask) {
        CGenEv ev(pos, 0.25f, st_NoteOn, nr, 100);
        ev.mRuntimeLayerBitmask = CGenBitmask(mask);
        return ev;
    };
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(note(2.5f, 36, 1)); // accent layer: 12/8 by silence
    evs.InsertAtBeatPos(note(2.5f, 42, 2)); // system layer: 12/8 by copies
    evs.InsertAtBeatPos(note(2.5f, 46, 6)); // lowest bit 1: the system layer
    evs.InsertAtBeatPos(note(0.5f, 49, 0)); // no layer: the fallback repeats [0, 2) at 4
    trafos.TransformFromTo(CGenSignTime_Default44, k128, evs, TTransformEvsLength_Transform);
    // The system copies repeat the second eighth of beat 3 as well.
    EXPECT_EQ(PosNotes(evs), (TPosNotes {{0.5f, 49}, {3.5f, 42}, {3.5f, 46}, {4, 36}, {4, 42}, {4, 46}, {4.5f, 49}}));
    EXPECT_TRUE(evs.IsSortedByCompareEv());
    EXPECT_EQ(evs.mLength, 6.0f);
    EXPECT_EQ(evs[6].mRuntimeLayerBitmask, kGenLayerBitmask_None);
    EXPECT_EQ(evs[5].mRuntimeLayerBitmask, CGenBitmask(6));
}

TEST(CGenSignTimeTrafos, FallbackStepsForMetresWithoutPreset)
{
    auto fallback = [](const CGenSignTime& target) {
        return CGenSignTimeTrafos::CreateFallbackTransformFromTo(kGenLayerIx_NoLayer, CGenSignTime_Default44, target);
    };
    EXPECT_EQ(StepsTrace(fallback(CGenSignTime(5, 3))), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 2.5, ForLength 1.5");
    EXPECT_EQ(StepsTrace(fallback(CGenSignTime(2, 2))), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 2, ForLength 2");
    EXPECT_EQ(StepsTrace(fallback(CGenSignTime(15, 4))), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 3.75, ForLength 0.25");
    EXPECT_EQ(StepsTrace(fallback(CGenSignTime(9, 3))), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0, ForLength 0.5, InsertAtBeatPos  4");
    EXPECT_EQ(StepsTrace(fallback(CGenSignTime(11, 3))), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0, ForLength 1.5, InsertAtBeatPos  4");
    EXPECT_EQ(StepsTrace(fallback(CGenSignTime(9, 2))), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0, ForLength 4, InsertAtBeatPos  4; "
                                                        "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0, ForLength 1, InsertAtBeatPos  8");
    EXPECT_TRUE(fallback(CGenSignTime_Default44).mSteps.empty());
    EXPECT_TRUE(fallback(CGenSignTime_Undef).mSteps.empty());
    EXPECT_EQ(fallback(CGenSignTime_Undef).mTarget, CGenSignTime_Default44);
    // A compound source aligns the copied chunk with its parts.
    const CGenSignTimeTrafo fromCompound =
        CGenSignTimeTrafos::CreateFallbackTransformFromTo(3, CGenSignTime({3, 2, 2}, 3), CGenSignTime(6, 2));
    EXPECT_EQ(StepsTrace(fromCompound), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0, ForLength 2.5, InsertAtBeatPos  3.5");
    EXPECT_EQ(fromCompound.mLayerBitmask, CGenBitmask(8));

    // The preset list is searched first, the fallback made only without a match.
    const CGenSignTimeTrafos presets(TGenInstType_Drums, TPatternGraphType_AccentFamily);
    EXPECT_EQ(presets.FindTransformOrFallbackFromTo(CGenSignTime_Default44, CGenSignTime(5, 3)), fallback(CGenSignTime(5, 3)));
    EXPECT_EQ(presets.FindTransformOrFallbackFromTo(CGenSignTime(8, 3), k78), presets[3]);
    EXPECT_EQ(presets.FindTransformOrFallbackFromTo(CGenSignTime_Undef, k78), presets[3]);
}

TEST(CGenSTTrafoCalcFallback, CompoundTargetsBySegments)
{
    using F = CGenSTTrafoCalcFallback;
    EXPECT_EQ(F::_RecursivelySplitNomInto321(1), (std::vector<int> {1}));
    EXPECT_EQ(F::_RecursivelySplitNomInto321(7), (std::vector<int> {3, 2, 2}));
    EXPECT_EQ(F::_RecursivelySplitNomInto321(9), (std::vector<int> {3, 3, 3}));
    EXPECT_EQ(F::_RecursivelySplitNomInto321(11), (std::vector<int> {2, 3, 3, 3}));
    EXPECT_EQ(F::_RecursivelySplitNomInto321(12), (std::vector<int> {3, 3, 3, 3}));
    EXPECT_TRUE(F::_RecursivelySplitNomInto321(0).empty());
    EXPECT_EQ(F::_CombineNomsIntoQuarterOrDottedQuarterSegments({3, 2, 2}, 0.5f), (std::vector<float> {1.5f, 1, 1}));
    EXPECT_EQ(F::_CombineNomsIntoQuarterOrDottedQuarterSegments({2, 3, 2, 3, 2, 3}, 0.25f), (std::vector<float> {1.25f, 1.25f, 1.25f}));
    EXPECT_EQ(F::_CombineNomsIntoQuarterOrDottedQuarterSegments({2, 2, 1}, 0.25f), (std::vector<float> {1, 0.25f}));
    EXPECT_EQ(F::_SplitNomsIntoQuarterSegments({3, 2}, 1.0f), (std::vector<float> {1, 1, 1, 1, 1}));

    const CGenSignTimeTrafo t223 = CGenSignTimeTrafos::CreateFallbackTransformFromTo(kGenLayerIx_NoLayer, CGenSignTime_Default44,
        CGenSignTime({2, 2, 3}, 3));
    EXPECT_EQ(StepsTrace(t223), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 3, ForLength 1; "
                                "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 2.25, ForLength 0.5, InsertAtBeatPos  2.75");
    const CGenSignTimeTrafo t332 = F::CalcFallbackSTTrafoForSTTarget(CGenSignTime({3, 3, 2}, 3));
    EXPECT_EQ(StepsTrace(t332), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_Erase: EraseAtBeatPos 3, ForLength 1; "
                                "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 1.25, ForLength 0.5, InsertAtBeatPos  1.75; "
                                "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0.25, ForLength 0.5, InsertAtBeatPos  0.75");
    // More than four segments repeat earlier quarters at the end.
    const CGenSignTimeTrafo t43 = F::CalcFallbackSTTrafoForSTTarget(CGenSignTime({4, 3}, 2));
    EXPECT_EQ(StepsTrace(t43), "CGenSignTimeTrafoSteps: CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 0, ForLength 1, InsertAtBeatPos  4; "
                               "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 1, ForLength 1, InsertAtBeatPos  5; "
                               "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos 2, ForLength 1, InsertAtBeatPos  6");
    EXPECT_TRUE(F::CalcFallbackSTTrafoForSTTarget(CGenSignTime_Undef).mSteps.empty());

    CGenEvs r = BarOfEighths();
    t223.Transform(r);
    EXPECT_EQ(PosNotes(r), (TPosNotes {{0, 36}, {0.5f, 37}, {1, 38}, {1.5f, 39}, {2, 40}, {2.5f, 41}, {3, 41}}));
    EXPECT_EQ(r.mLength, 3.5f);
}

TEST(CGenSignTimeTrafos, RangesPositionsAndTheirInverse)
{
    const zkgen::TSTEdit erase {zkgen::TSTEditKind::Erase, 0.0f, 0.5f, 3.5f};
    auto edited = [&](float s, float e) {
        CGenRange<float> r(s, e);
        zkgen::ApplySTEdit(r, erase, 0.0f);
        return std::make_pair(r.mMin, r.mMax);
    };
    EXPECT_EQ(edited(3.6f, 5.0f), std::make_pair(3.5f, 4.5f));
    EXPECT_EQ(edited(1.0f, 3.8f), std::make_pair(1.0f, 3.5f));
    EXPECT_EQ(edited(3.6f, 3.9f), std::make_pair(3.5f, 3.5f));
    EXPECT_EQ(edited(1.0f, 6.0f), std::make_pair(1.0f, 5.5f));
    EXPECT_EQ(edited(5.0f, 6.0f), std::make_pair(4.5f, 5.5f));
    EXPECT_EQ(edited(0.5f, 1.0f), std::make_pair(0.5f, 1.0f));
    CGenRange<float> none(0.0f, 0.0f, false, false);
    zkgen::ApplySTEdit(none, {zkgen::TSTEditKind::InsertSilence, 0.0f, 1.0f, 0.0f}, 0.0f);
    EXPECT_EQ(none, CGenRange<float>(0.0f, 0.0f, false, false));
    CGenRange<float> ins(1.0f, 2.0f);
    zkgen::ApplySTEdit(ins, {zkgen::TSTEditKind::CopyInsert, 0.0f, 0.5f, 1.0f}, 0.0f);
    EXPECT_EQ(ins, CGenRange<float>(1.5f, 2.5f));

    const CGenSignTimeTrafos system(TGenInstType_Drums, TPatternGraphType_System);
    float length = 0.5f;
    EXPECT_EQ(system.TransformFromTo(CGenSignTime_Default44, k128, 2.5f, length), 3.5f);
    EXPECT_EQ(length, 1.0f);
    CGenRange<float> twoBars(0.0f, 8.0f);
    system.TransformFromTo(CGenSignTime_Default44, k34, twoBars);
    EXPECT_EQ(twoBars, CGenRange<float>(0.0f, 6.0f));
    system.InverseTransformFromTo(CGenSignTime_Default44, k34, twoBars);
    EXPECT_EQ(twoBars, CGenRange<float>(0.0f, 8.0f));
    CGenRange<float> inBar(0.5f, 3.25f);
    system.TransformFromTo(CGenSignTime_Default44, k78, inBar);
    system.InverseTransformFromTo(CGenSignTime_Default44, k78, inBar);
    EXPECT_EQ(inBar, CGenRange<float>(0.5f, 3.25f));

    // Back from the song's metre into the pattern's 4/4 frame.
    const CGenEvsSignTime map {{0.0f, CGenSignTime_Default44}, {8.0f, k78}};
    EXPECT_EQ(system.AbsPosFromSTTargetToSTDefault(map, 12.5f, 8.0f), 13.0f);
    EXPECT_EQ(system.AbsPosFromSTTargetToSTDefault(map, 11.25f, 8.0f), 11.25f);
    EXPECT_EQ(system.AbsPosFromSTTargetToSTDefault(map, 8.0f, 8.0f), 8.0f);
    const CGenEvsSignTime map34 {{0.0f, k34}};
    EXPECT_EQ(system.AbsPosFromSTTargetToSTDefault(map34, 5.5f, 0.0f), 7.5f);
    EXPECT_EQ(system.AbsPosFromSTTargetToSTDefault(CGenEvsSignTime(), 5.5f, 0.0f), TGenBeatPos_Undef);
}

namespace {

// A chord-like element: a position named mBeatPosAbs and a payload.
struct TestChordEl {
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    int mRoot = 0;
};
using TestChords = CGenEvs_Templ<TestChordEl>;

} // namespace

TEST(CGenSignTimeTrafos, ChordAndClaveListsFollowTheSameRules)
{
    const CGenSignTimeTrafos trafos(TGenInstType_Drums, TPatternGraphType_AccentFamily);
    TestChords chords(8.0f);
    for (float p : {0.0f, 2.0f, 2.5f, 4.0f, 7.0f})
        chords.push_back(TestChordEl {p, int(p * 2)});
    trafos.TransformElsFromTo(CGenSignTime_Default44, k34, chords);
    std::vector<std::pair<float, int>> got;
    for (const auto& c : chords)
        got.emplace_back(c.mBeatPosAbs, c.mRoot);
    EXPECT_EQ(got, (std::vector<std::pair<float, int>> {{0, 0}, {3, 8}, {5, 14}}));
    EXPECT_EQ(chords.mLength, 6.0f);
    trafos.InverseTransformElsFromTo(CGenSignTime_Default44, k34, chords);
    got.clear();
    for (const auto& c : chords)
        got.emplace_back(c.mBeatPosAbs, c.mRoot);
    EXPECT_EQ(got, (std::vector<std::pair<float, int>> {{0, 0}, {4, 8}, {7, 14}}));
    EXPECT_EQ(chords.mLength, 8.0f);

    CGenEvsClave clave(4.0f);
    for (float p : {0.0f, 1.5f, 3.0f, 3.5f})
        clave.push_back(CGenEvClave(p, 100));
    trafos.TransformFromTo(CGenSignTime_Default44, k78, clave);
    ASSERT_EQ(clave.size(), 3u);
    EXPECT_EQ(clave.back().mBeatPos, 3.0f);
    EXPECT_EQ(clave.mLength, 3.5f);
    trafos.InverseTransformFromTo(CGenSignTime_Default44, k78, clave);
    EXPECT_EQ(clave.mLength, 4.0f);
    EXPECT_EQ(clave.size(), 3u);
}

TEST(CGenSignTimeTrafos, RandomListsGiveWholeTargetBarsForEveryMetre)
{
    const std::vector<CGenSignTime> targets {k34, k54, k68, k78, k128, CGenSignTime(2, 2), CGenSignTime(5, 3),
        CGenSignTime(9, 3), CGenSignTime(11, 3), CGenSignTime(15, 4), CGenSignTime({2, 2, 3}, 3), CGenSignTime(6, 2)};
    const std::pair<_TGenInstType, TPatternGraphType> kinds[] = {{TGenInstType_Drums, TPatternGraphType_AccentFamily},
        {TGenInstType_Drums, TPatternGraphType_System}, {TGenInstType_Bass, TPatternGraphType_AccentFamily}};
    CGenRandom random(20240501u);
    for (int round = 0; round < 40; ++round) {
        const int bars = 1 + random.NextIntBelow(8);
        CGenEvs evs(4.0f * float(bars));
        const int count = random.NextIntBelow(12 * bars + 1);
        for (int i = 0; i < count; ++i) {
            const float pos = 0.25f * float(random.NextIntBelow(16 * bars));
            const float len = random.NextIntBelow(4) == 0 ? TGenBeatLength_Undef : 0.25f * float(1 + random.NextIntBelow(8));
            CGenEv ev(pos, len, st_NoteOn, 36 + random.NextIntBelow(12), 1 + random.NextIntBelow(127));
            ev.mRuntimeLayerBitmask = CGenBitmask(random.NextIntBelow(3) == 0 ? uint64_t(1 + random.NextIntBelow(6)) : 0u);
            evs.InsertAtBeatPos(ev);
        }
        for (const auto& [inst, graph] : kinds) {
            for (const CGenSignTime& target : targets) {
                CGenEvs r = evs;
                CGenSignTimeTrafos(inst, graph).TransformFromTo(CGenSignTime_Default44, target, r, TTransformEvsLength_Transform);
                SCOPED_TRACE(::testing::Message() << "round " << round << " target " << target << " graph " << graph);
                EXPECT_EQ(r.mLength, float(bars) * target.BarLength());
                EXPECT_TRUE(r.IsSortedByCompareEv());
                for (const CGenEv& ev : r) {
                    EXPECT_GE(ev.mBeatPos, 0.0f);
                    EXPECT_LT(ev.mBeatPos, r.mLength);
                    if (GenIsDef(ev.mBeatLength)) {
                        EXPECT_GT(ev.mBeatLength, 0.0f);
                    }
                }
            }
        }
    }
}

TEST(CGenSignTimeTrafoSteps, EditsKeepLengthsInStep)
{
    auto evsWith = [](std::initializer_list<std::pair<float, float>> posLengths, float length) {
        CGenEvs evs(length);
        int nr = 36;
        for (const auto& [pos, len] : posLengths)
            evs.InsertAtBeatPos(CGenEv(pos, len, st_NoteOn, nr++, 100));
        return evs;
    };
    auto lengths = [](const CGenEvs& evs) {
        std::vector<float> r;
        for (const CGenEv& ev : evs)
            r.push_back(ev.mBeatLength);
        return r;
    };
    // Silence at 1 for 0.5: a note across the whole gap grows, one ending inside it doesn't.
    CGenEvs evs = evsWith({{0.0f, 2.0f}, {0.5f, 0.75f}, {1.0f, 0.5f}}, 4.0f);
    CGenSignTimeTrafoStep_InsertSilence(1.0f, 0.5f).Transform(evs, 0.0f);
    EXPECT_EQ(lengths(evs), (std::vector<float> {2.5f, 0.75f, 0.5f}));
    EXPECT_EQ(evs[2].mBeatPos, 1.5f);
    EXPECT_EQ(evs.mLength, 4.5f);

    // Erase [1, 1.5) in the bar from 4: a note reaching into it loses the overlap only.
    evs = evsWith({{4.5f, 2.0f}, {4.75f, 0.5f}, {5.25f, 1.0f}, {6.0f, TGenBeatLength_Undef}}, 8.0f);
    CGenSignTimeTrafoStep_Erase(1.0f, 0.5f).Transform(evs, 4.0f);
    EXPECT_EQ(PosNotes(evs), (TPosNotes {{4.5f, 36}, {4.75f, 37}, {5.5f, 39}}));
    EXPECT_EQ(lengths(evs)[0], 1.5f);
    EXPECT_EQ(lengths(evs)[1], 0.25f);
    EXPECT_TRUE(GenIsUndef(lengths(evs)[2]));
    EXPECT_EQ(evs.mLength, 7.5f);
    // A list that ends before the stretch keeps its length; one ending inside it ends at its start.
    evs.mLength = 4.5f;
    CGenSignTimeTrafoStep_Erase(1.0f, 0.5f).Transform(evs, 4.0f);
    EXPECT_EQ(evs.mLength, 4.5f);
    evs.mLength = 5.25f;
    CGenSignTimeTrafoStep_Erase(1.0f, 0.5f).Transform(evs, 4.0f);
    EXPECT_EQ(evs.mLength, 5.0f);

    // Copies carry every field of their source.
    evs = evsWith({{0.0f, 0.25f}, {1.25f, 0.25f}, {2.0f, 0.25f}}, 4.0f);
    evs[1].mRelVel = 77;
    evs[1].mRuntimeLayerBitmask = CGenBitmask(4);
    CGenSignTimeTrafoStep_CopyInsert(1.0f, 0.5f, 1.5f).Transform(evs, 0.0f);
    ASSERT_EQ(evs.size(), 4u);
    EXPECT_EQ(evs[2].mBeatPos, 1.75f);
    EXPECT_EQ(evs[2].mRelVel, 77);
    EXPECT_EQ(evs[2].mRuntimeLayerBitmask, CGenBitmask(4));
    EXPECT_EQ(evs[3].mBeatPos, 2.5f);
    EXPECT_EQ(evs.mLength, 4.5f);

    // The move step names a stretch but edits nothing.
    CGenEvs before = evs;
    CGenSignTimeTrafoStep_Move(0.0f, 1.0f, 2.0f).Transform(evs, 0.0f);
    EXPECT_EQ(evs, before);
}
