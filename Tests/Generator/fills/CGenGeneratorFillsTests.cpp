// Fills in whole generations: a fill module in the style's fill graph, the
// fills it places at every fourth bar line, what they erase from the accents
// and systems, the probability, and the fill lock.
//
// The random steps are worked out by hand: one step is
// state = (state * 1103515245 + 12345) & 0x7fffffff, the mask being mod 2^31.
#include "Generator/CGenGenerator.h"
#include "Generator/fills/CGenCharCreateFill.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/stylegraph/CGenGFModuleCreateFill.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModuleRegionParameters.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

int Uid(const char* path)
{
    const TInstTreeUid uid = GenDrumInstTreeV1().FindUidWithPath(path);
    EXPECT_NE(uid, TInstTreeUid_Undef) << path;
    return GenInstTreeUidToMB1(uid);
}

// One bar of 4/4 in eighths of a kit piece.
CGenPattern Eighths(const std::string& name, const char* path)
{
    CGenEvs evs(4.0f);
    for (int i = 0; i < 8; ++i)
        evs.InsertAtBeatPos(CGenEv(0.5f * i, 0.25f, st_NoteOn, Uid(path), i % 2 == 0 ? 100 : 70));
    return CGenPattern(name, evs);
}

// A snare fill in sixteenths that takes the accents' and systems' place
// from its start to its end.
CGenPattern SnareFill(const std::string& name, float length, float complexity)
{
    CGenEvs evs(length);
    for (int i = 0; i < static_cast<int>(4 * length); ++i)
        evs.InsertAtBeatPos(CGenEv(0.25f * i, 0.125f, st_NoteOn, Uid("Drums.Sn"), 90));
    CGenPattern p(name, evs, CGenPatternCoordInt(complexity, 50.0f));
    p.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangeAcStart);
    p.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangeSyStart);
    return p;
}

template <class T>
T* Add(CGenGFModule& parent, const char* key)
{
    return static_cast<T*>(parent.addSubpatch(std::make_unique<T>(), key));
}

struct FillDrummer {
    CGenGenerator generator;
    CGenInstLib* lib = nullptr;
    CGenGFModuleCreateFill* fill = nullptr;

    // With `complexityDriven` the wanted complexity of the fill is the
    // region's complexity for fills, so that only the fill of that
    // complexity survives (every other one loses 200 points per point).
    explicit FillDrummer(bool complexityDriven = false)
    {
        generator.CreateDefaultGenre();
        lib = generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
        lib->PatternGraph(TPatternGraphType_AccentFamily).AddPattern(Eighths("kick", "Drums.Ki"));
        lib->PatternGraph(TPatternGraphType_System)
            .AddPattern(Eighths("hat", "Drums.Hh.note.hit.move.static.stroke.s3r"));
        lib->PatternGraph(TPatternGraphType_Percussion).AddPattern(Eighths("tam", "Percussion.Tambourine"));
        CGenPatternGraphBoost& fills = lib->PatternGraph(TPatternGraphType_Fill);
        fills.AddPattern(SnareFill("fill1", 1.0f, 30.0f));
        fills.AddPattern(SnareFill("fill2", 2.0f, 60.0f));
        fills.AddPattern(SnareFill("fill4", 4.0f, 90.0f));

        auto graph = std::make_unique<CGenGFModule>();
        auto* provider = Add<CGenGFModulePatternProbProvider>(*graph, "provider");
        fill = Add<CGenGFModuleCreateFill>(*graph, "fill");
        auto* consumer = Add<CGenGFModulePatternProbConsumer>(*graph, "consumer");
        EXPECT_NE(graph->createConnectionFromPortToPortForKey(*provider->outputPatterns, *fill->inputPatterns), nullptr);
        EXPECT_NE(graph->createConnectionFromPortToPortForKey(*fill->outputPatterns, *consumer->inputPatterns), nullptr);
        if (complexityDriven) {
            auto* region = Add<CGenGFModuleRegionParameters>(*graph, "region");
            CGenGFPort* forFills = region->createOutputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(),
                "outputComplexityForFills", TGenDict {{"name", "Complexity For Fills"}});
            EXPECT_NE(forFills, nullptr);
            if (forFills) {
                EXPECT_NE(graph->createConnectionFromPortToPortForKey(*forFills, *fill->inputFillMinCompl), nullptr);
                EXPECT_NE(graph->createConnectionFromPortToPortForKey(*forFills, *fill->inputFillMaxCompl), nullptr);
            }
            fill->inputNonMatchingComplProbFactor->setDoubleValue(-200.0);
        }
        lib->mStyles[0].StyleGraphs().SetStyleGraphForKey(std::move(graph), kStyleGraphKey_Fill);
    }

    CGenEvsNameds Run(CGenGeneratorParams p, TGenDict* memento)
    {
        CGenEvsNameds evs;
        generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, memento, evs);
        return evs;
    }
};

// Sixteen bars of 4/4 from 0. The fill graph has no edges, so choice by
// edges and history stays off: every fill is a candidate at every place.
CGenGeneratorParams SixteenBars()
{
    CGenGeneratorParams p(64.0f, -1);
    p.mGenerateStartPosAbs = 0.0f;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    p.mEdgesAndHistory_Active = false;
    return p;
}

// (name, start) of the fills played.
std::vector<std::pair<std::string, float>> FillsPlayed(const CGenEvsNameds& evs)
{
    std::vector<std::pair<std::string, float>> fills;
    for (const CGenEvsNamed& el : evs)
        if (el.mRenderingPatternGraphType == TPatternGraphType_Fill)
            fills.emplace_back(el.mName, el.mBeatPosAbs);
    return fills;
}

// The positions of a note in the merged performance.
std::vector<float> NotePositions(const CGenEvsNameds& evs, int note)
{
    std::vector<float> positions;
    for (const CGenEvsNamed& el : evs)
        for (const CGenEv& ev : el.mEvs)
            if (ev.mMB1 == note)
                positions.push_back(el.mBeatPosAbs + ev.mBeatPos);
    return positions;
}

// Eighths from 0 to 64 without those in the given ranges.
std::vector<float> EighthsOutside(const std::vector<std::pair<float, float>>& ranges)
{
    std::vector<float> positions;
    for (int i = 0; i < 128; ++i) {
        const float pos = 0.5f * i;
        bool inside = false;
        for (const auto& [a, b] : ranges)
            inside = inside || (pos >= a && pos < b);
        if (!inside)
            positions.push_back(pos);
    }
    return positions;
}

std::vector<float> SixteenthsInside(const std::vector<std::pair<float, float>>& ranges)
{
    std::vector<float> positions;
    for (const auto& [a, b] : ranges)
        for (float pos = a; pos < b; pos += 0.25f)
            positions.push_back(pos);
    return positions;
}

constexpr int kKick = 36, kSnare = 38, kHat = 42, kTambourine = 54;

} // namespace

TEST(CGenGeneratorFills, EveryFourthBarEndsWithAFillThatReplacesAccentsAndSystems)
{
    FillDrummer d;
    TGenDict memento;
    // The fill seed of the region is stored under the fill layer: 3.
    memento.DictForKeyCreating(kMemento_Seeds).SetValueForKey(int64_t(3), TPatternGraphType_Fill);
    CGenGeneratorParams p = SixteenBars();
    p.mDbgKeepEvsNamedsSeparate = true;
    // Positions 12, 28, 44, 60 lie in bars 4, 8, 12, 16 (barsSince 3, 7,
    // 11, 15); the fills end on the bar lines 16, 32, 48, 64. Place seeds
    // pos + 3 + 0, two steps each (% 100 for the probability, % 300 for the
    // draw among three weights of 100):
    //  15: 15 * 1103515245 + 12345 = 16552741020, mod 2^31 = 1520355484 (84);
    //      1520355484 * 1103515245 + 12345 = 1677735454413365925,
    //      mod 2^31 = 996352677, % 300 = 177: fill2.
    //  31: 34208984940, mod 2^31 = 1996730220 (20); then
    //      2203422237922216245, mod 2^31 = 1703725365, % 300 = 165: fill2.
    //  47: 51865228860, mod 2^31 = 325621308 (8); then
    //      359328077474852805, mod 2^31 = 263614405, % 300 = 205: fill4.
    //  63: 69521472780, mod 2^31 = 801996044 (44); then
    //      885014860983703125, mod 2^31 = 970987093, % 300 = 193: fill2.
    const CGenEvsNameds separate = d.Run(p, &memento);
    EXPECT_EQ(FillsPlayed(separate), (std::vector<std::pair<std::string, float>> {
                                         {"fill2", 14.0f}, {"fill2", 30.0f}, {"fill4", 44.0f}, {"fill2", 62.0f}}));
    // Locked, the same seed (3) decides: the graph keeps it, so the same
    // fills come back although the context's word is 0 for a drummer.
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled, 1.0);
    EXPECT_EQ(FillsPlayed(d.Run(p, &memento)), FillsPlayed(separate));
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled, 0.0);

    const std::vector<std::pair<float, float>> ranges {{14.0f, 16.0f}, {30.0f, 32.0f}, {44.0f, 48.0f}, {62.0f, 64.0f}};
    p.mDbgKeepEvsNamedsSeparate = false;
    TGenDict memento2;
    memento2.DictForKeyCreating(kMemento_Seeds).SetValueForKey(int64_t(3), TPatternGraphType_Fill);
    const CGenEvsNameds merged = d.Run(p, &memento2);
    ASSERT_EQ(merged.size(), 1u);
    EXPECT_EQ(NotePositions(merged, kKick), EighthsOutside(ranges));
    EXPECT_EQ(NotePositions(merged, kHat), EighthsOutside(ranges));
    // The percussion has no range in the fills: all of it plays.
    EXPECT_EQ(NotePositions(merged, kTambourine), EighthsOutside({}));
    EXPECT_EQ(NotePositions(merged, kSnare), SixteenthsInside(ranges));
}

TEST(CGenGeneratorFills, ProbabilityDecidesPerPlaceAndZeroGivesNoFill)
{
    // Fill seed 0: place seeds 12, 28, 44, 60 step to 97, 33, 69, 5 (see
    // the hand steps of 12: 12 * 1103515245 + 12345 = 13242195285, mod 2^31
    // = 357293397, % 100 = 97; 28: 833668133 (33); 44: 48554683125, mod
    // 2^31 = 1310042869 (69); 60: 66210927045, mod 2^31 = 1786417605 (5)).
    // With 50 only the second and the fourth place get a fill; the draws
    // (second steps 497351162 % 300 = 62 and 1912096538 % 300 = 38) both
    // take fill1.
    FillDrummer d;
    d.fill->inputProbability->setDoubleValue(50.0);
    CGenGeneratorParams p = SixteenBars();
    p.mDbgKeepEvsNamedsSeparate = true;
    TGenDict memento;
    EXPECT_EQ(FillsPlayed(d.Run(p, &memento)),
        (std::vector<std::pair<std::string, float>> {{"fill1", 31.0f}, {"fill1", 63.0f}}));

    d.fill->inputProbability->setDoubleValue(0.0);
    p.mDbgKeepEvsNamedsSeparate = false;
    TGenDict memento2;
    const CGenEvsNameds merged = d.Run(p, &memento2);
    EXPECT_TRUE(NotePositions(merged, kSnare).empty());
    EXPECT_EQ(NotePositions(merged, kKick), EighthsOutside({}));
    EXPECT_EQ(NotePositions(merged, kHat), EighthsOutside({}));
}

TEST(CGenGeneratorFills, FillLockKeepsTheFillWhenTheComplexityChanges)
{
    FillDrummer d(true);
    CGenGeneratorParams p = SixteenBars();
    p.mDbgKeepEvsNamedsSeparate = true;
    using TFills = std::vector<std::pair<std::string, float>>;
    // A new region: its fill seed is 0, the one the lock gives a drummer.
    // Complexity 30 wants fill1 alone (fill2 and fill4 are 30 and 60 points
    // off: 100 - 6000 and 100 - 12000).
    TGenDict memento;
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexity, 30.0);
    const TFills at30 = FillsPlayed(d.Run(p, &memento));
    EXPECT_EQ(at30, (TFills {{"fill1", 15.0f}, {"fill1", 31.0f}, {"fill1", 47.0f}, {"fill1", 63.0f}}));

    // Locked, then the complexity raised to 90: the fills of 30 stay.
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled, 1.0);
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexity, 90.0);
    EXPECT_EQ(FillsPlayed(d.Run(p, &memento)), at30);

    // Unlocked, the same change brings fill4.
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled, 0.0);
    EXPECT_EQ(FillsPlayed(d.Run(p, &memento)),
        (TFills {{"fill4", 12.0f}, {"fill4", 28.0f}, {"fill4", 44.0f}, {"fill4", 60.0f}}));
}
