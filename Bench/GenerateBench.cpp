// A whole Generate: five layers, each with 24 one-bar patterns and a style
// graph of ten modules, over 8, 64 and 512 bars of 4/4, so that the cost
// per bar shows. A second drummer plays fills of 1, 2 and 4 beats at every
// fourth bar line instead of the fifth layer of one-bar patterns, with the
// style's graphs over each pattern and over the merged performance.

#include "BenchStyleGraphs.h"
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <string>

#include <benchmark/benchmark.h>

namespace {

// 16 sixteenths of one kit piece, accents on the beats, and a name the
// graph's name filters sort.
CGenPattern BenchPattern(int layer, int i, int mb1)
{
    CGenEvs evs(4.0f);
    for (int step = 0; step < 16; ++step)
        if ((step + i) % 3 != 0)
            evs.InsertAtBeatPos(CGenEv(0.25f * step, 0.2f, st_NoteOn, mb1, step % 4 == 0 ? 110 : 70));
    const std::string name = std::string("sys_").append(1, char('a' + (i * 7 + layer) % 26)).append(std::to_string(i));
    return CGenPattern(name, evs);
}

void SetUpDrummer(CGenGenerator& generator)
{
    generator.CreateDefaultGenre();
    CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
    const char* paths[] = {"Drums.Ki", "Drums.Sn", "Drums.Hh.note.hit.move.static.stroke.s3r", "Drums.Tm",
        "Percussion.Tambourine"};
    CGenStyle& style = lib.mStyles[0];
    for (int layer = 0; layer <= 4; ++layer) {
        const auto type = static_cast<TPatternGraphType>(layer);
        const int mb1 = GenInstTreeUidToMB1(GenDrumInstTreeV1().FindUidWithPath(paths[layer]));
        for (int i = 0; i < 24; ++i)
            lib.PatternGraph(type).AddPattern(BenchPattern(layer, i, mb1));
        style.StyleGraphs().SetStyleGraphForKey(zkbench::MakeTenModuleGraph(), StyleGraphKeyForPatternGraphType(type));
    }
}

void BM_GenerateFiveLayersTenModuleGraphs(benchmark::State& state)
{
    const int bars = static_cast<int>(state.range(0));
    CGenGenerator generator;
    SetUpDrummer(generator);
    TGenDict memento;
    size_t events = 0;
    for (auto _ : state) {
        CGenGeneratorParams params(4.0f * bars, -1);
        params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
        params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
        CGenEvsNameds evs;
        generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, params, &memento, evs);
        events = evs.empty() ? 0 : evs.front().mEvs.size();
        benchmark::DoNotOptimize(evs.data());
    }
    if (events == 0)
        state.SkipWithError("nothing was played");
    state.counters["events"] = static_cast<double>(events);
    state.counters["per_bar"] = benchmark::Counter(static_cast<double>(bars),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_GenerateFiveLayersTenModuleGraphs)->Arg(8)->Arg(64)->Arg(512)->Unit(benchmark::kMillisecond);

// Sixteenths of one kit piece over `length` beats that take the accents' and
// systems' place from start to end, at a complexity the fill module may judge.
CGenPattern BenchFill(int i, float length, int mb1)
{
    CGenEvs evs(length);
    for (int step = 0; step < static_cast<int>(4 * length); ++step)
        evs.InsertAtBeatPos(CGenEv(0.25f * step, 0.2f, st_NoteOn, mb1, step % 4 == 0 ? 110 : 80 + 5 * (i % 4)));
    CGenPattern fill(std::string("fill").append(std::to_string(i)), evs, CGenPatternCoordInt(20.0f + 20.0f * (i % 4), 50.0f));
    fill.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangeAcStart);
    fill.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangeSyStart);
    return fill;
}

void SetUpDrummerWithFills(CGenGenerator& generator)
{
    SetUpDrummer(generator);
    CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
    CGenPatternGraphBoost& fills = lib.PatternGraph(TPatternGraphType_Fill);
    fills.EraseAllPatterns();
    const int mb1 = GenInstTreeUidToMB1(GenDrumInstTreeV1().FindUidWithPath("Drums.Tm"));
    int i = 0;
    for (const float length : {1.0f, 2.0f, 4.0f})
        for (int k = 0; k < 4; ++k, ++i)
            fills.AddPattern(BenchFill(i, length, mb1));
    CGenStyleGraphs& graphs = lib.mStyles[0].StyleGraphs();
    graphs.SetStyleGraphForKey(zkbench::MakeFillGraph(), kStyleGraphKey_Fill);
    graphs.SetStyleGraphForKey(zkbench::MakeGlobalGraph(), kStyleGraphKey_Global);
    graphs.SetStyleGraphForKey(zkbench::MakeGlobalToMergedGraph(), kStyleGraphKey_GlobalToMerged);
}

CGenGeneratorParams FillBenchParams(int bars)
{
    CGenGeneratorParams params(4.0f * bars, -1);
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    return params;
}

void BM_GenerateWithFillsAndGlobalStages(benchmark::State& state)
{
    const int bars = static_cast<int>(state.range(0));
    CGenGenerator generator;
    SetUpDrummerWithFills(generator);
    TGenDict memento;
    // One untimed run with the elements kept apart counts the fills played.
    size_t fills = 0;
    {
        CGenGeneratorParams params = FillBenchParams(bars);
        params.mDbgKeepEvsNamedsSeparate = true;
        CGenEvsNameds evs;
        generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, params, &memento, evs);
        for (const CGenEvsNamed& el : evs)
            fills += el.mRenderingPatternGraphType == TPatternGraphType_Fill ? 1 : 0;
    }
    size_t events = 0;
    for (auto _ : state) {
        CGenGeneratorParams params = FillBenchParams(bars);
        CGenEvsNameds evs;
        generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, params, &memento, evs);
        events = evs.empty() ? 0 : evs.front().mEvs.size();
        benchmark::DoNotOptimize(evs.data());
    }
    if (events == 0 || fills == 0)
        state.SkipWithError("nothing or no fill was played");
    state.counters["events"] = static_cast<double>(events);
    state.counters["fills"] = static_cast<double>(fills);
    state.counters["per_bar"] = benchmark::Counter(static_cast<double>(bars),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_GenerateWithFillsAndGlobalStages)->Arg(64)->Arg(512)->Unit(benchmark::kMillisecond);

} // namespace
