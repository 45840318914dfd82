// A whole Generate: five layers, each with 24 one-bar patterns and a style
// graph of ten modules, over 8, 64 and 512 bars of 4/4, so that the cost
// per bar shows.

#include "BenchStyleGraphs.h"
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/stylegraph/CGenStyle.h"

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

} // namespace
