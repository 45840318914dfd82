#include "Generator/CGenContext.h"
#include "Generator/CGenGenerator.h"
#include "Generator/CGenGeneratorDisableFillLockEvaluator.h"
#include "Generator/CGenGeneratorMementoUpdater.h"
#include "TestSupport/GeneratorTestAccess.h"

#include <gtest/gtest.h>

namespace {

CGenGeneratorParams Region(float start, float length)
{
    CGenGeneratorParams p(length, -1);
    p.mGenerateStartPosAbs = start;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    return p;
}

struct GeneratorWithDefaultGenre : ::testing::Test {
    CGenGenerator generator;
    CGenEvsNameds evs;
    void SetUp() override { generator.CreateDefaultGenre(); }

    std::shared_ptr<TGenDict> Run(TGenerateWhat what, TRandomSeedMode mode, CGenGeneratorParams p, TGenDict& memento)
    {
        return generator.Generate(what, mode, p, &memento, evs);
    }
};

int64_t Seed(const TGenDict& memento, const TGenDictKey& key)
{
    const TGenDict* seeds = memento.DictForKey(kMemento_Seeds);
    return seeds ? seeds->IntegerForKey(key, -999) : -999;
}

} // namespace

TEST(CGenGenerator, UnknownGenreGivesNullOutInfoAndLeavesEventsAlone)
{
    CGenGenerator generator;
    generator.CreateDefaultGenre();
    CGenGeneratorParams p = Region(0, 16);
    p.mGenre = "NoSuchGenre";
    CGenEvsNameds evs;
    evs.push_back(CGenEvsNamed("kept", 0.0f, CGenEvs(4.0f)));
    evs[0].mEvs.InsertAtBeatPos(CGenEv(0.0f, 1.0f, st_NoteOn, 36, 100));
    const CGenEvsNameds before = evs;
    TGenDict memento;
    EXPECT_EQ(generator.Generate(TGenerateWhat_All, TRandomSeedMode_Increment, p, &memento, evs), nullptr);
    EXPECT_EQ(evs, before);
    // No layer ran, so no seed moved.
    EXPECT_EQ(Seed(memento, 3), 0);

    CGenGenerator empty;
    EXPECT_EQ(empty.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, nullptr, evs), nullptr);
    std::string report;
    // An empty library is sound content.
    report = "left over";
    EXPECT_TRUE(empty.CheckContentSanity(report));
    EXPECT_EQ(report, "");
}

TEST_F(GeneratorWithDefaultGenre, EmptyMementoGivesSeedZeroEverywhere)
{
    TGenDict memento;
    auto out = Run(TGenerateWhat_All, TRandomSeedMode_Keep, Region(0, 16), memento);
    ASSERT_NE(out, nullptr);
    EXPECT_FALSE(out->HasKey(kOutInfo_DisableFillLock));
    for (int t = 0; t <= 4; ++t)
        EXPECT_EQ(Seed(memento, t), 0) << t;
    EXPECT_EQ(Seed(memento, kMemento_Seeds_StyleGraphGlobalToMerged), 0);
    EXPECT_TRUE(evs.empty());
    EXPECT_EQ(memento.DoubleForKey(kMemento_LastGenerateLength), 16.0);
    // The graphs' generators got the seeds.
    EXPECT_EQ(generator.GenreLibs().front().mInstLibs.front().PatternGraph(TPatternGraphType_Fill).Random().Seed(), 0u);
}

TEST_F(GeneratorWithDefaultGenre, SystemClockGivesOneSeedToAllLayers)
{
    TGenDict memento;
    Run(TGenerateWhat_All, TRandomSeedMode_SystemClock, Region(0, 16), memento);
    const int64_t s = static_cast<int64_t>(generator.ClockSeed());
    EXPECT_NE(s, 0);
    for (int t = 0; t <= 4; ++t)
        EXPECT_EQ(Seed(memento, t), s) << t;
    EXPECT_EQ(Seed(memento, kMemento_Seeds_StyleGraphGlobalToMerged), s);
    for (const auto& g : generator.GenreLibs().front().mInstLibs.front().mPatternGraphs)
        EXPECT_EQ(g.Random().Seed(), static_cast<uint32_t>(s));
}

TEST_F(GeneratorWithDefaultGenre, IncrementOnFillsChangesTheFillSeedOnly)
{
    TGenDict memento;
    Run(TGenerateWhat_Fills, TRandomSeedMode_Increment, Region(0, 16), memento);
    EXPECT_EQ(Seed(memento, TPatternGraphType_Fill), 1);
    for (TPatternGraphType t : {TPatternGraphType_AccentFamily, TPatternGraphType_AccentAddon, TPatternGraphType_System,
             TPatternGraphType_Percussion})
        EXPECT_EQ(Seed(memento, t), 0) << t;
    Run(TGenerateWhat_Fills, TRandomSeedMode_Increment, Region(0, 16), memento);
    EXPECT_EQ(Seed(memento, TPatternGraphType_Fill), 2);
    EXPECT_EQ(Seed(memento, TPatternGraphType_System), 0);
    // Above 6 no layer is generated.
    Run(static_cast<TGenerateWhat>(7), TRandomSeedMode_Increment, Region(0, 16), memento);
    EXPECT_EQ(Seed(memento, TPatternGraphType_Fill), 2);
}

TEST_F(GeneratorWithDefaultGenre, ResetWritesZeroToEveryStoredSeedEvenForKeptLayers)
{
    TGenDict memento;
    TGenDict& seeds = memento.DictForKeyCreating(kMemento_Seeds);
    for (int t = 0; t <= 4; ++t)
        seeds.SetValueForKey(int64_t(10 + t), t);
    seeds.SetValueForKey(int64_t(99), kMemento_Seeds_StyleGraphGlobalToMerged);
    // Only the system layer is renewed, yet every stored seed becomes 0.
    Run(TGenerateWhat_Systems, TRandomSeedMode_Reset, Region(0, 16), memento);
    for (int t = 0; t <= 4; ++t)
        EXPECT_EQ(Seed(memento, t), 0) << t;
    EXPECT_EQ(Seed(memento, kMemento_Seeds_StyleGraphGlobalToMerged), 0);
}

TEST_F(GeneratorWithDefaultGenre, KeepRepeatsAndDraggingTheLeftCornerAddsToTheOffset)
{
    TGenDict memento;
    Run(TGenerateWhat_All, TRandomSeedMode_Keep, Region(8, 16), memento);
    EXPECT_EQ(memento.DoubleForKey(kMemento_RegionLeftCornerEditOffset, -1.0), -1.0);
    EXPECT_EQ(memento.DoubleForKey(kMemento_LastGenerateStartPosAbs), 8.0);
    // Start 2 beats earlier, 2 beats longer: the right end stayed.
    Run(TGenerateWhat_All, TRandomSeedMode_Keep, Region(6, 18), memento);
    EXPECT_EQ(memento.DoubleForKey(kMemento_RegionLeftCornerEditOffset), -2.0);
    Run(TGenerateWhat_All, TRandomSeedMode_Keep, Region(5, 19), memento);
    EXPECT_EQ(memento.DoubleForKey(kMemento_RegionLeftCornerEditOffset), -3.0);
    // A fresh roll forgets the history.
    Run(TGenerateWhat_All, TRandomSeedMode_Increment, Region(5, 19), memento);
    EXPECT_EQ(memento.DoubleForKey(kMemento_RegionLeftCornerEditOffset), 0.0);
    EXPECT_FALSE(memento.HasKey(kMemento_LastGenerateStartPosAbs));
}

TEST_F(GeneratorWithDefaultGenre, FillLockKeepsTheFillAndARightCornerDragDisablesIt)
{
    TGenDict memento;
    CGenGeneratorParams p = Region(0, 16);
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexity, 42.0);
    Run(TGenerateWhat_Fills, TRandomSeedMode_Increment, p, memento);
    // While the lock is off the memento follows the current state.
    EXPECT_EQ(memento.DoubleForKey(kMemento_FillLock_ComplexityAtGenerate), 42.0);
    EXPECT_EQ(memento.IntegerForKey(kMemento_FillLock_FillSeedAtGenerate), 1);

    // The lock goes on: a new fill roll stores a new seed, but the fill graph
    // plays with the seed and complexity stored when the lock went on.
    CGenGeneratorParams locked = Region(0, 16);
    locked.SetRegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled, 1.0);
    locked.SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexity, 80.0);
    auto out = generator.Generate(TGenerateWhat_Fills, TRandomSeedMode_Increment, locked, &memento, evs);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(Seed(memento, TPatternGraphType_Fill), 2);
    const auto& fillGraph = generator.GenreLibs().front().mInstLibs.front().PatternGraph(TPatternGraphType_Fill);
    EXPECT_EQ(fillGraph.Random().Seed(), 1u);
    EXPECT_EQ(memento.DoubleForKey(kMemento_FillLock_ComplexityAtGenerate), 42.0);
    EXPECT_EQ(memento.IntegerForKey(kMemento_FillLock_FillSeedAtGenerate), 1);

    // The same region again keeps the lock.
    out = generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, locked, &memento, evs);
    out = generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, locked, &memento, evs);
    ASSERT_NE(out, nullptr);
    EXPECT_FALSE(out->HasKey(kOutInfo_DisableFillLock));

    // Dragging the right corner changes the length only: no offset, lock off.
    CGenGeneratorParams longer = Region(0, 20);
    longer.SetRegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled, 1.0);
    out = generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, longer, &memento, evs);
    ASSERT_NE(out, nullptr);
    EXPECT_TRUE(out->BoolForKey(kOutInfo_DisableFillLock));
    EXPECT_EQ(longer.RegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled), 0.0);
    EXPECT_EQ(memento.DoubleForKey(kMemento_RegionLeftCornerEditOffset, 0.0), 0.0);
}

TEST_F(GeneratorWithDefaultGenre, PreStageFillsDefaultsAndFindsTheLeftBar)
{
    CGenGeneratorParams p(8.0f, -1);
    p.mGenerateStartPosAbs = 6.0f;
    TGenDict memento;
    generator.Generate(TGenerateWhat_PatternsOnly, TRandomSeedMode_Keep, p, &memento, evs);
    const auto& rt = generator.RuntimeData();
    ASSERT_EQ(rt.mParams, &p);
    EXPECT_EQ(p.mEvsSignTime.size(), 1u);
    EXPECT_EQ(p.mEvsTempo.front().mTempo, -1.0);
    EXPECT_EQ(rt.mGenerateStartLeftBarPosAbs, 4.0f);
    EXPECT_EQ(rt.mGeneratePosInBar, 2.0f);
    ASSERT_NE(rt.mContext, nullptr);
    EXPECT_EQ(rt.mContext->GeneratePos(), 0.0f);
    // Each layer left its (empty) sequence in the context's map.
    EXPECT_EQ(rt.mContext->mPatternMap.size(), 5u);
}

TEST(CGenGeneratorTempoScale, HalfTimeStretchesAboutTheLeftBar)
{
    CGenGenerator generator;
    generator.CreateDefaultGenre();
    CGenGeneratorParams p(16.0f, -1);
    p.mGenerateStartPosAbs = 8.0f;
    p.mTempoScale = 0.5;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(12.0f, CGenSignTime(3, 2)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 100.0));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(12.0f, 120.0));
    ASSERT_TRUE(generator.Generate_PreTasksThatOnlyNeedParamsGlobal(p));
    // 12 becomes (12 - 8) * 0.5 + 8 = 10: 2 beats after the left bar are less
    // than a 4/4 bar, so the predecessor's denominator doubles.
    ASSERT_EQ(p.mEvsSignTime.size(), 2u);
    EXPECT_EQ(p.mEvsSignTime[1].mBeatPosAbs, 10.0f);
    EXPECT_EQ(p.mEvsSignTime[0].mSignTime.mDenom, 3);
    EXPECT_EQ(p.mEvsSignTime[1].mSignTime.mDenom, 2);
    EXPECT_EQ(p.mEvsTempo[1].mBeatPosAbs, 10.0f);
    EXPECT_EQ(p.mEvsTempo[1].mTempo, 60.0);
    EXPECT_EQ(p.mEvsTempo[0].mTempo, 50.0);
    EXPECT_EQ(p.mGenerateLength, 8.0f);
    EXPECT_EQ(p.mGenerateStartPosAbs, 8.0f);
    // The record keeps what the host passed.
    EXPECT_EQ(generator.RuntimeData().mGenerateLength, 16.0f);

    CGenEvsNameds evs;
    evs.push_back(CGenEvsNamed("a", 10.0f, CGenEvs(2.0f)));
    evs[0].mEvs.push_back(CGenEv(1.0f, 0.5f, st_NoteOn, 36, 90));
    CGenGeneratorTestAccess::TempoScalePost(generator, p, evs);
    EXPECT_EQ(evs[0].mBeatPosAbs, 20.0f);
    EXPECT_EQ(evs[0].mEvs[0].mBeatPos, 2.0f);
    EXPECT_EQ(evs[0].mEvs[0].mBeatLength, 1.0f);
    EXPECT_EQ(evs[0].mEvs.mLength, 2.0f);
    EXPECT_EQ(p.mGenerateLength, 16.0f);
}

TEST(CGenGeneratorTempoScale, HalfTimeGivesARemainderABarOfItsOwn)
{
    CGenGenerator generator;
    generator.CreateDefaultGenre();
    CGenGeneratorParams p(16.0f, -1);
    p.mGenerateStartPosAbs = 8.0f;
    p.mTempoScale = 0.5;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(18.0f, CGenSignTime(3, 2)));
    ASSERT_TRUE(generator.Generate_PreTasksThatOnlyNeedParamsGlobal(p));
    // 18 becomes 13: 5 beats after the left bar, one 4/4 bar and a remainder,
    // which becomes a 4/8 bar ending at the change.
    ASSERT_EQ(p.mEvsSignTime.size(), 3u);
    EXPECT_EQ(p.mEvsSignTime[0].mSignTime.mDenom, 2);
    EXPECT_EQ(p.mEvsSignTime[1].mBeatPosAbs, 11.0f);
    EXPECT_EQ(p.mEvsSignTime[1].mSignTime.mNom, 4);
    EXPECT_EQ(p.mEvsSignTime[1].mSignTime.mDenom, 3);
    EXPECT_EQ(p.mEvsSignTime[2].mBeatPosAbs, 13.0f);
}

TEST(CGenGeneratorTempoScale, ScaleOneOrZeroLeavesPositionsAlone)
{
    for (double s : {1.0, 0.0}) {
        CGenGenerator generator;
        generator.CreateDefaultGenre();
        CGenGeneratorParams p(16.0f, -1);
        p.mGenerateStartPosAbs = 8.0f;
        p.mTempoScale = s;
        p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(12.0f, 120.0));
        generator.Generate_PreTasksThatOnlyNeedParamsGlobal(p);
        EXPECT_EQ(p.mEvsTempo.back().mBeatPosAbs, 12.0f);
        EXPECT_EQ(p.mEvsTempo.back().mTempo, 120.0);
        EXPECT_EQ(p.mGenerateLength, 16.0f);
    }
}

TEST(CGenGeneratorMerge, MergesIntoOneSortedElementRelativeToTheRegionStart)
{
    CGenGenerator generator;
    CGenEvsNameds evs;
    evs.push_back(CGenEvsNamed("a", 4.0f, CGenEvs(4.0f), TPatternGraphType_AccentFamily, 0));
    evs.push_back(CGenEvsNamed("b", 6.0f, CGenEvs(4.0f), TPatternGraphType_System, 1));
    evs[0].mEvs.push_back(CGenEv(2.0f, 1.0f, st_NoteOn, 36, 100));
    evs[1].mEvs.push_back(CGenEv(0.0f, 1.0f, st_NoteOn, 35, 100));
    evs[1].mEvs.push_back(CGenEv(0.0f, TGenBeatLength_Undef, st_CtrChange, 4, 20));
    CGenGeneratorTestAccess::MergeAllEvsNameds(generator, evs, 4.0f);
    ASSERT_EQ(evs.size(), 1u);
    EXPECT_EQ(evs[0].mBeatPosAbs, 4.0f);
    EXPECT_EQ(evs[0].mEvs.mLength, 6.0f);
    ASSERT_EQ(evs[0].mEvs.size(), 3u);
    // At one position: the controller, then the notes in MB1 order.
    EXPECT_EQ(evs[0].mEvs[0].mMB0, st_CtrChange);
    EXPECT_EQ(evs[0].mEvs[1].mMB1, 35);
    EXPECT_EQ(evs[0].mEvs[2].mMB1, 36);
    EXPECT_EQ(evs[0].mEvs[2].mBeatPos, 2.0f);
}

TEST(CGenGeneratorFillLockEvaluator, TestsInOrder)
{
    CGenEvsSignTime signs;
    signs.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    signs.InsertAtCorrectBeatPos(CGenEvSignTime(32.0f, CGenSignTime(3, 2)));
    CGenEvsTempo tempo;
    tempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    CGenGeneratorDisableFillLockEvaluator::Parameters p;
    p.mStartPosAbs = 16.0f;
    p.mLength = 8.0f;
    p.mStartPosInBar = 0.0f;
    p.mLastStartPosAbs = 0.0f;
    p.mLastLength = 8.0f;
    p.mLastStartPosInBar = 0.0f;
    p.mEvsSignTime = &signs;
    p.mEvsTempo = &tempo;
    // Moved to a bar with the same metre and tempo, same place in the bar, same length: the lock stays.
    EXPECT_FALSE(CGenGeneratorDisableFillLockEvaluator(p).shouldDisableFillLock());

    auto moved = p;
    moved.mStartPosInBar = 1.0f;
    EXPECT_TRUE(CGenGeneratorDisableFillLockEvaluator(moved).regionDidMoveToNewRelativeStartPosition());
    auto longer = p;
    longer.mLength = 12.0f;
    EXPECT_TRUE(CGenGeneratorDisableFillLockEvaluator(longer).regionDidChangeLength());
    // A signature change inside the span.
    auto acrossChange = p;
    acrossChange.mStartPosAbs = 28.0f;
    EXPECT_TRUE(CGenGeneratorDisableFillLockEvaluator(acrossChange).regionMovedSomewhereWithDifferentSignTime());
    EXPECT_FALSE(CGenGeneratorDisableFillLockEvaluator(acrossChange).regionMovedSomewhereWithDifferentTempo());
    auto otherMetre = p;
    otherMetre.mStartPosAbs = 40.0f;
    EXPECT_TRUE(CGenGeneratorDisableFillLockEvaluator(otherMetre).regionMovedSomewhereWithDifferentSignTime());
    auto noTempo = p;
    noTempo.mEvsTempo = nullptr;
    EXPECT_TRUE(CGenGeneratorDisableFillLockEvaluator(noTempo).regionMovedSomewhereWithDifferentTempo());
    auto undefStart = p;
    undefStart.mLastStartPosAbs = TGenBeatPosAbs_Undef;
    EXPECT_TRUE(CGenGeneratorDisableFillLockEvaluator(undefStart).shouldDisableFillLock());
}

TEST(CGenGeneratorMementoUpdater, AddsThePositionInTheBarOnce)
{
    CGenEvsSignTime signs;
    signs.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(3, 2)));
    CGenGeneratorMementoUpdater updater(signs);
    TGenDict memento;
    EXPECT_FALSE(updater.updateMemento(memento));
    memento.SetValueForKey(7.0, kMemento_LastGenerateStartPosAbs);
    EXPECT_TRUE(updater.updateMemento(memento));
    EXPECT_EQ(memento.DoubleForKey(kMemento_LastGenerateStartPosInBar), 1.0);
    EXPECT_FALSE(updater.updateMemento(memento));
}

TEST(TolvarInit, RunsOnce)
{
    TolvarInit();
    TolvarInit();
    EXPECT_EQ(TolvarInitCount(), 1);
}

TEST(CGenGenerator, SlashChordsWithAForeignBassTakeItAsATone)
{
    CGenGenerator generator;
    CGenGeneratorParams params(16.0f, -1);
    const CChordNamePrefs prefs;
    auto chordAt = [&](float pos, const char* name) {
        CChordHeavy chord;
        ASSERT_TRUE(SetFromString(name, chord, prefs)) << name;
        params.mEvsChord.push_back(CGenEvChord(pos, chord, CScaleHeavy()));
    };
    chordAt(0.0f, "C/B");  // B is the major seventh of C
    chordAt(4.0f, "Am/G"); // G the minor seventh of A
    chordAt(8.0f, "F/G");  // G the ninth of F
    chordAt(12.0f, "C/E"); // an inversion: E is a tone already
    CGenGeneratorTestAccess::ReplaceSlashChordsWithEquivalents(generator, params);
    std::vector<std::string> names;
    for (const CGenEvChord& ev : params.mEvsChord)
        names.push_back(ev.mChord.Name(prefs));
    EXPECT_EQ(names, (std::vector<std::string> {"Cmaj7/B", "Am7/G", "Fadd9/G", "C/E"}));
}
