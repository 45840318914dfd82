// The global stages of whole generations: the style's graph over each chosen
// pattern (which may drop or replace it), the merge of all rendered elements
// into one, the style's graph over the merged performance, and a style file
// that holds a fill module.
#include "Generator/CGenContext.h"
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/stylegraph/CGenGFModuleCreateFill.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"
#include "Platform/ZKFileOps.h"
#include "TestSupport/TempDir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

int Uid(const char* path)
{
    const TInstTreeUid uid = GenDrumInstTreeV1().FindUidWithPath(path);
    EXPECT_NE(uid, TInstTreeUid_Undef) << path;
    return GenInstTreeUidToMB1(uid);
}

constexpr const char* kKickPath = "Drums.Ki";
constexpr const char* kSnarePath = "Drums.Sn";
constexpr const char* kHatPath = "Drums.Hh.note.hit.move.static.stroke.s3r";
constexpr const char* kTambourinePath = "Percussion.Tambourine";
// The General MIDI notes the default drum map gives them.
constexpr int kKick = 36, kSnare = 38, kHat = 42, kTambourine = 54;

// One bar of 4/4 in eighths, 100 on the beats and 70 between them.
CGenPattern Eighths(const std::string& name, const char* path)
{
    CGenEvs evs(4.0f);
    for (int i = 0; i < 8; ++i)
        evs.InsertAtBeatPos(CGenEv(0.5f * i, 0.25f, st_NoteOn, Uid(path), i % 2 == 0 ? 100 : 70));
    return CGenPattern(name, evs);
}

// One bar of 4/4 with one note on each beat, all of one velocity.
CGenPattern Quarters(const std::string& name, const char* path, int velocity)
{
    CGenEvs evs(4.0f);
    for (int i = 0; i < 4; ++i)
        evs.InsertAtBeatPos(CGenEv(static_cast<float>(i), 0.25f, st_NoteOn, Uid(path), velocity));
    return CGenPattern(name, evs);
}

// A module that hands on what `mEdit` makes of its input (the input itself
// without one), and notes for every run the generate position, the number
// of entries and the number of their events.
class TestEdit : public CGenGFModule {
public:
    using TEdit = std::function<void(const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out)>;
    using TRun = std::tuple<float, size_t, size_t>;

    static const CGenGFClassDescription& ClassDescription()
    {
        static const CGenGFClassDescription d("TestEdit", &CGenGFModule::ClassDescription(),
            zkgen::MakeModule<TestEdit>, TGenGFExecutionMode_Processor, false, {},
            {zkgen::InputPatternsSpec(), zkgen::OutputPatternsSpec()});
        return d;
    }
    TestEdit() : CGenGFModule(ClassDescription())
    {
        _bindPort(inputPatterns, "inputPatterns");
        _bindPort(outputPatterns, "outputPatterns");
    }
    bool executeArguments(const CGenGFContext& context, const TGenDict*) override
    {
        const CGenPatternModAndProbs* in = inputPatterns->ConstList();
        if (!in)
            return true;
        size_t evs = 0;
        for (const CGenPatternModAndProb& entry : *in)
            evs += entry.PatternToBeRead().mEvs.size();
        const CGenContext* gen = context.genContext();
        mRuns.emplace_back(gen ? gen->mGeneratePos : TGenBeatPos_Undef, in->size(), evs);
        CGenPatternModAndProbs out;
        if (mEdit)
            mEdit(*in, out);
        else
            out = *in;
        outputPatterns->SetList(std::move(out));
        return true;
    }

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;
    TEdit mEdit;
    std::vector<TRun> mRuns;
};

template <class T>
T* Add(CGenGFModule& parent, const char* key)
{
    return static_cast<T*>(parent.addSubpatch(std::make_unique<T>(), key));
}

// A graph of provider -> the given modules, in order -> consumer; each
// module joins the chain with its inputPatterns and outputPatterns.
struct Chain {
    std::unique_ptr<CGenGFModule> graph = std::make_unique<CGenGFModule>();
    CGenGFPortPatternAndProbs* last = nullptr;

    Chain() { last = Add<CGenGFModulePatternProbProvider>(*graph, "provider")->outputPatterns; }
    template <class T>
    T* Then(const char* key)
    {
        T* module = Add<T>(*graph, key);
        EXPECT_NE(graph->createConnectionFromPortToPortForKey(*last, *module->inputPatterns), nullptr);
        last = module->outputPatterns;
        return module;
    }
    std::unique_ptr<CGenGFModule> End()
    {
        auto* consumer = Add<CGenGFModulePatternProbConsumer>(*graph, "consumer");
        EXPECT_NE(graph->createConnectionFromPortToPortForKey(*last, *consumer->inputPatterns), nullptr);
        return std::move(graph);
    }
};

// A drummer with one pattern on each of the accent family, system and
// percussion layers, so that every bar plays all three.
struct Drummer {
    CGenGenerator generator;
    CGenInstLib* lib = nullptr;

    Drummer(const CGenPattern& accent, const CGenPattern& system, const CGenPattern& percussion)
    {
        generator.CreateDefaultGenre();
        lib = generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
        lib->PatternGraph(TPatternGraphType_AccentFamily).AddPattern(accent);
        lib->PatternGraph(TPatternGraphType_System).AddPattern(system);
        lib->PatternGraph(TPatternGraphType_Percussion).AddPattern(percussion);
    }
    Drummer() : Drummer(Eighths("kick", kKickPath), Eighths("hat", kHatPath), Eighths("tam", kTambourinePath)) {}

    void SetGraph(std::unique_ptr<CGenGFModule> graph, const char* key)
    {
        lib->mStyles[0].StyleGraphs().SetStyleGraphForKey(std::move(graph), key);
    }
    CGenEvsNameds Run(CGenGeneratorParams p)
    {
        CGenEvsNameds evs;
        TGenDict memento;
        generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, &memento, evs);
        return evs;
    }
};

CGenGeneratorParams Region(float start, float length, bool separate = false)
{
    CGenGeneratorParams p(length, -1);
    p.mGenerateStartPosAbs = start;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    p.mDbgKeepEvsNamedsSeparate = separate;
    return p;
}

using TNote = std::tuple<float, int, int>;

// (position, note, velocity) of each event, in list order.
std::vector<TNote> Notes(const CGenEvs& evs)
{
    std::vector<TNote> notes;
    for (const CGenEv& ev : evs)
        notes.emplace_back(ev.mBeatPos, ev.mMB1, ev.mMB2);
    return notes;
}

using TElement = std::tuple<TPatternGraphType, std::string, float>;

// (layer, name, position) of each element, in list order.
std::vector<TElement> Elements(const CGenEvsNameds& evs)
{
    std::vector<TElement> elements;
    for (const CGenEvsNamed& el : evs)
        elements.emplace_back(el.mRenderingPatternGraphType, el.mName, el.mBeatPosAbs);
    return elements;
}

} // namespace

TEST(CGenGeneratorGlobalStages, GlobalGraphDropsPatternsWithoutOutputAndTakesTheFirstOutputElement)
{
    Drummer d;
    Chain chain;
    // Factor 0 for every other name: the hats leave nothing.
    auto* filter = chain.Then<CGenGFModuleFilterPatternName>("name");
    filter->inputFilterString->setStringValue("^(kick|tam)$");
    filter->inputMatchingFactor->setDoubleValue(1.0);
    filter->inputNonMatchingFactor->setDoubleValue(0.0);
    // The first output element is the pattern cut down to its beats; the
    // untouched original comes second and must not be what plays.
    auto* edit = chain.Then<TestEdit>("beats");
    edit->mEdit = [](const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out) {
        for (const CGenPatternModAndProb& entry : in) {
            CGenPatternModAndProb beats = entry;
            CGenEvs& evs = beats.PatternToBeModified().mEvs;
            for (size_t i = evs.size(); i-- > 0;)
                if (evs[i].mBeatPos != std::floor(evs[i].mBeatPos))
                    evs.erase(evs.begin() + static_cast<ptrdiff_t>(i));
            out.push_back(beats);
        }
        for (const CGenPatternModAndProb& entry : in)
            out.push_back(entry);
    };
    d.SetGraph(chain.End(), kStyleGraphKey_Global);

    // Four bars from 0: one element per layer and bar, in the order of the
    // layers (accent family 0, system 2, percussion 4), at 0, 4, 8, 12.
    const CGenEvsNameds separate = d.Run(Region(0.0f, 16.0f, true));
    // The graph saw each of them alone, at its position relative to the left
    // bar (0): one entry of 8 eighths, and after the filter none for the hats.
    std::vector<TestEdit::TRun> runs;
    for (const size_t entries : {1u, 0u, 1u})
        for (const float pos : {0.0f, 4.0f, 8.0f, 12.0f})
            runs.emplace_back(pos, entries, entries * 8u);
    EXPECT_EQ(edit->mRuns, runs);
    EXPECT_EQ(Elements(separate),
        (std::vector<TElement> {{TPatternGraphType_AccentFamily, "kick", 0.0f},
            {TPatternGraphType_AccentFamily, "kick", 4.0f}, {TPatternGraphType_AccentFamily, "kick", 8.0f},
            {TPatternGraphType_AccentFamily, "kick", 12.0f}, {TPatternGraphType_Percussion, "tam", 0.0f},
            {TPatternGraphType_Percussion, "tam", 4.0f}, {TPatternGraphType_Percussion, "tam", 8.0f},
            {TPatternGraphType_Percussion, "tam", 12.0f}}));
    // Each keeps the eighths 0, 2, 4, 6 of its bar: beats 0 to 3, all at 100.
    for (const CGenEvsNamed& el : separate) {
        const int note = el.mRenderingPatternGraphType == TPatternGraphType_AccentFamily ? kKick : kTambourine;
        EXPECT_EQ(Notes(el.mEvs), (std::vector<TNote> {{0.0f, note, 100}, {1.0f, note, 100}, {2.0f, note, 100},
                                      {3.0f, note, 100}}))
            << el.mName << " " << el.mBeatPosAbs;
        EXPECT_EQ(el.mEvs.mLength, 4.0f);
    }

    // Merged: on each of the 16 beats the kick (36), then the tambourine
    // (54); no hat (42) at all, and nothing between the beats.
    edit->mRuns.clear();
    const CGenEvsNameds merged = d.Run(Region(0.0f, 16.0f));
    EXPECT_EQ(edit->mRuns.size(), 12u);
    ASSERT_EQ(merged.size(), 1u);
    std::vector<TNote> expected;
    for (int beat = 0; beat < 16; ++beat) {
        expected.emplace_back(static_cast<float>(beat), kKick, 100);
        expected.emplace_back(static_cast<float>(beat), kTambourine, 100);
    }
    EXPECT_EQ(Notes(merged[0].mEvs), expected);
    // From the first element's start (0) to the last one's end (12 + 4).
    EXPECT_EQ(merged[0].mBeatPosAbs, 0.0f);
    EXPECT_EQ(merged[0].mEvs.mLength, 16.0f);
}

TEST(CGenGeneratorGlobalStages, MergedGraphWithoutOutputLeavesNoEventsAndLengthZero)
{
    // Both factors 0: nothing reaches the consumer.
    auto silence = [] {
        Chain chain;
        auto* filter = chain.Then<CGenGFModuleFilterPatternName>("name");
        filter->inputFilterString->setStringValue(".*");
        filter->inputMatchingFactor->setDoubleValue(0.0);
        filter->inputNonMatchingFactor->setDoubleValue(0.0);
        return chain.End();
    };
    Drummer d;
    d.SetGraph(silence(), kStyleGraphKey_GlobalToMerged);
    // Four bars from beat 4; the merged element starts where the first
    // pattern does (4), and keeps that.
    const CGenEvsNameds merged = d.Run(Region(4.0f, 16.0f));
    ASSERT_EQ(merged.size(), 1u);
    EXPECT_TRUE(merged[0].mEvs.empty());
    EXPECT_EQ(merged[0].mEvs.mLength, 0.0f);
    EXPECT_EQ(merged[0].mBeatPosAbs, 4.0f);

    // Kept apart: 3 layers times 4 bars, each emptied where it stands.
    const CGenEvsNameds separate = d.Run(Region(4.0f, 16.0f, true));
    ASSERT_EQ(separate.size(), 12u);
    for (size_t i = 0; i < separate.size(); ++i) {
        EXPECT_TRUE(separate[i].mEvs.empty()) << i;
        EXPECT_EQ(separate[i].mEvs.mLength, 0.0f) << i;
        EXPECT_EQ(separate[i].mBeatPosAbs, 4.0f + 4.0f * static_cast<float>(i % 4)) << i;
    }

    // A graph that hands the element back as it came changes nothing.
    Drummer plain;
    Drummer through;
    through.SetGraph(Chain().End(), kStyleGraphKey_GlobalToMerged);
    const CGenEvsNameds expected = plain.Run(Region(4.0f, 16.0f));
    ASSERT_EQ(expected.size(), 1u);
    // Three layers of eighths over four bars.
    EXPECT_EQ(expected[0].mEvs.size(), 3u * 8u * 4u);
    EXPECT_EQ(through.Run(Region(4.0f, 16.0f)), expected);
}

TEST(CGenGeneratorGlobalStages, NotesOfOnePositionInSeveralLayersKeepTheLayerOrder)
{
    // The same snare on every beat in three layers; the events compare equal
    // (same position, status and note), so only the stable sort decides:
    // accent family (120), system (50), percussion (80), the order of the
    // layers, which is neither rising nor falling in velocity.
    Drummer d(Quarters("acc", kSnarePath, 120), Quarters("sys", kSnarePath, 50), Quarters("perc", kSnarePath, 80));
    const CGenEvsNameds merged = d.Run(Region(0.0f, 8.0f));
    ASSERT_EQ(merged.size(), 1u);
    std::vector<TNote> expected;
    for (int beat = 0; beat < 8; ++beat)
        for (const int velocity : {120, 50, 80})
            expected.emplace_back(static_cast<float>(beat), kSnare, velocity);
    EXPECT_EQ(Notes(merged[0].mEvs), expected);
    // Two bars: 0 to 4 + 4.
    EXPECT_EQ(merged[0].mEvs.mLength, 8.0f);
}

TEST(CGenGeneratorGlobalStages, MergedLengthIsNeverNegative)
{
    // The style gives every pattern the length -5: the elements at 0 and 4
    // end at -5 and -1, so the latest end (-1) lies before the earliest start
    // (0), and -1 - 0 = -1 becomes 0.
    Drummer d;
    Chain chain;
    chain.Then<TestEdit>("length")->mEdit = [](const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out) {
        out = in;
        for (CGenPatternModAndProb& entry : out)
            entry.PatternToBeModified().mEvs.mLength = -5.0f;
    };
    d.SetGraph(chain.End(), kStyleGraphKey_Global);
    const CGenEvsNameds merged = d.Run(Region(0.0f, 8.0f));
    ASSERT_EQ(merged.size(), 1u);
    EXPECT_EQ(merged[0].mBeatPosAbs, 0.0f);
    EXPECT_EQ(merged[0].mEvs.mLength, 0.0f);
    // The events themselves stay: three layers of eighths over two bars.
    EXPECT_EQ(merged[0].mEvs.size(), 3u * 8u * 2u);
}

TEST(CGenGeneratorGlobalStages, SeparateElementsRunTheMergedGraphOncePerElement)
{
    // The merged-stage graph keeps the first event of what it gets.
    Drummer d;
    Chain chain;
    auto* edit = chain.Then<TestEdit>("first");
    edit->mEdit = [](const CGenPatternModAndProbs& in, CGenPatternModAndProbs& out) {
        out = in;
        for (CGenPatternModAndProb& entry : out) {
            CGenEvs& evs = entry.PatternToBeModified().mEvs;
            if (!evs.empty())
                evs.erase(evs.begin() + 1, evs.end());
        }
    };
    d.SetGraph(chain.End(), kStyleGraphKey_GlobalToMerged);

    // Two bars from beat 4 (the left bar): kick, hat and tambourine at 4 and
    // 8 in layer order, each run at its start minus 4 with its 8 eighths.
    const CGenEvsNameds separate = d.Run(Region(4.0f, 8.0f, true));
    EXPECT_EQ(edit->mRuns, (std::vector<TestEdit::TRun> {{0.0f, 1u, 8u}, {4.0f, 1u, 8u}, {0.0f, 1u, 8u},
                               {4.0f, 1u, 8u}, {0.0f, 1u, 8u}, {4.0f, 1u, 8u}}));
    ASSERT_EQ(separate.size(), 6u);
    const int notes[] = {kKick, kKick, kHat, kHat, kTambourine, kTambourine};
    for (size_t i = 0; i < separate.size(); ++i) {
        EXPECT_EQ(separate[i].mBeatPosAbs, i % 2 == 0 ? 4.0f : 8.0f) << i;
        EXPECT_EQ(Notes(separate[i].mEvs), (std::vector<TNote> {{0.0f, notes[i], 100}})) << i;
        EXPECT_EQ(separate[i].mEvs.mLength, 4.0f) << i;
    }

    // Merged, one run at 4 - 4 = 0 with 3 * 8 * 2 = 48 events; the first of
    // them is the kick at 0 (36 before 42 and 54).
    edit->mRuns.clear();
    const CGenEvsNameds merged = d.Run(Region(4.0f, 8.0f));
    EXPECT_EQ(edit->mRuns, (std::vector<TestEdit::TRun> {{0.0f, 1u, 48u}}));
    ASSERT_EQ(merged.size(), 1u);
    EXPECT_EQ(Notes(merged[0].mEvs), (std::vector<TNote> {{0.0f, kKick, 100}}));
    EXPECT_EQ(merged[0].mEvs.mLength, 8.0f);
}

TEST(CGenGeneratorGlobalStages, StyleFileWithAFillModuleRoundTripsByteExact)
{
    CGenStyleGraphs graphs;
    Chain fillChain;
    auto* fill = fillChain.Then<CGenGFModuleCreateFill>("fill");
    // Every port away from its default.
    fill->inputProbability->setDoubleValue(75.0);
    fill->inputBarInterval->setDoubleValue(2.0);
    fill->inputFillMinBeatLength->setDoubleValue(1.0);
    fill->inputFillMaxBeatLength->setDoubleValue(2.0);
    fill->inputNonMatchingLengthProbFactor->setDoubleValue(-50.0);
    fill->inputFillMinCompl->setDoubleValue(20.0);
    fill->inputFillMaxCompl->setDoubleValue(80.0);
    fill->inputNonMatchingComplProbFactor->setDoubleValue(-10.0);
    fill->inputFillBelowSongTempoPercent->setDoubleValue(10.0);
    fill->inputFillAboveSongTempoPercent->setDoubleValue(15.0);
    fill->inputNonMatchingTempoProbFactor->setDoubleValue(-5.0);
    fill->inputTopProbFilterMinRequiredPatterns->setDoubleValue(3.0);
    fill->inputTopProbFilterStepCount->setDoubleValue(4.0);
    fill->inputRemainSilentIfNoFillWasMatching->setBooleanValue(true);
    fill->inputKeepSystems->setBooleanValue(true);
    fill->inputKeepPerc->setBooleanValue(true);
    graphs.SetStyleGraphForKey(fillChain.End(), kStyleGraphKey_Fill);
    Chain globalChain;
    auto* filter = globalChain.Then<CGenGFModuleFilterPatternName>("name");
    filter->inputFilterString->setStringValue("^fill[12]$");
    filter->inputNonMatchingFactor->setDoubleValue(0.5);
    graphs.SetStyleGraphForKey(globalChain.End(), kStyleGraphKey_Global);

    zkgtest::TempDir dir;
    const TGenUrl url = dir.Path() / "Fills.style";
    ASSERT_TRUE(graphs.SaveToURL(url));
    CGenStyleGraphs loaded;
    ASSERT_TRUE(loaded.LoadFromURL(url));
    const TGenUrl again = dir.Path() / "again.style";
    ASSERT_TRUE(loaded.SaveToURL(again));
    const auto first = ZKFileRead(url);
    const auto second = ZKFileRead(again);
    ASSERT_TRUE(first.has_value());
    ASSERT_TRUE(second.has_value());
    EXPECT_EQ(*first, *second);

    // The values came back, not the defaults.
    CGenGFModule* g = loaded.StyleGraphForKey(kStyleGraphKey_Fill);
    ASSERT_NE(g, nullptr);
    auto* back = dynamic_cast<CGenGFModuleCreateFill*>(g->subpatchForKey("fill"));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->inputProbability->doubleValue(), 75.0);
    EXPECT_EQ(back->inputBarInterval->doubleValue(), 2.0);
    EXPECT_EQ(back->inputFillMinBeatLength->doubleValue(), 1.0);
    EXPECT_EQ(back->inputFillMaxBeatLength->doubleValue(), 2.0);
    EXPECT_EQ(back->inputNonMatchingLengthProbFactor->doubleValue(), -50.0);
    EXPECT_EQ(back->inputFillMinCompl->doubleValue(), 20.0);
    EXPECT_EQ(back->inputFillMaxCompl->doubleValue(), 80.0);
    EXPECT_EQ(back->inputNonMatchingComplProbFactor->doubleValue(), -10.0);
    EXPECT_EQ(back->inputFillBelowSongTempoPercent->doubleValue(), 10.0);
    EXPECT_EQ(back->inputFillAboveSongTempoPercent->doubleValue(), 15.0);
    EXPECT_EQ(back->inputNonMatchingTempoProbFactor->doubleValue(), -5.0);
    EXPECT_EQ(back->inputTopProbFilterMinRequiredPatterns->doubleValue(), 3.0);
    EXPECT_EQ(back->inputTopProbFilterStepCount->doubleValue(), 4.0);
    EXPECT_TRUE(back->inputRemainSilentIfNoFillWasMatching->booleanValue());
    EXPECT_TRUE(back->inputKeepSystems->booleanValue());
    EXPECT_TRUE(back->inputKeepPerc->booleanValue());
    // Still wired provider -> fill -> consumer.
    EXPECT_EQ(g->executionMode(), TGenGFExecutionMode_Consumer);
    EXPECT_NE(back->inputPatterns->connectedPortAlongProxies(), nullptr);
    CGenGFModule* global = loaded.StyleGraphForKey(kStyleGraphKey_Global);
    ASSERT_NE(global, nullptr);
    auto* name = dynamic_cast<CGenGFModuleFilterPatternName*>(global->subpatchForKey("name"));
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(name->inputFilterString->stringValue(), "^fill[12]$");
    EXPECT_EQ(name->inputNonMatchingFactor->doubleValue(), 0.5);
}
