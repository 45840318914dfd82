// Loading and saving a bundle: five graphs of 200 one-bar patterns, a style
// with ten-module graphs on every layer, and a pool of 20 lists of 50.

#include "BenchStyleGraphs.h"
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>

namespace {

CGenPattern BundlePattern(int i, int mb1)
{
    CGenEvs evs(4.0f);
    for (int step = 0; step < 16; ++step)
        if ((step + i) % 3 != 0)
            evs.InsertAtBeatPos(CGenEv(0.25f * step, 0.2f, st_NoteOn, mb1, step % 4 == 0 ? 110 : 70));
    std::string name("p");
    name += std::to_string(i);
    return CGenPattern(name, evs);
}

struct TBenchBundle {
    std::filesystem::path mDir = std::filesystem::temp_directory_path() / ("zkgen_bench_bundle_" + std::to_string(::getpid()));
    std::filesystem::path mUrl = mDir / "Bench.glibb";

    TBenchBundle()
    {
        std::filesystem::remove_all(mDir);
        CGenGenerator generator;
        generator.CreateDefaultGenre();
        CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
        const int mb1 = GenInstTreeUidToMB1(GenDrumInstTreeV1().FindUidWithPath("Drums.Sn"));
        for (int layer = 0; layer <= 4; ++layer) {
            const auto type = static_cast<TPatternGraphType>(layer);
            for (int i = 0; i < 200; ++i)
                lib.PatternGraph(type).AddPattern(BundlePattern(i, mb1));
            lib.mStyles[0].StyleGraphs().SetStyleGraphForKey(zkbench::MakeTenModuleGraph(),
                StyleGraphKeyForPatternGraphType(type));
        }
        for (int l = 0; l < 20; ++l) {
            auto list = std::make_shared<CGenPatterns>();
            for (int i = 0; i < 50; ++i)
                list->push_back(BundlePattern(i, mb1));
            generator.PatternsPool().addPatternsForIdentifier(list, std::string("list").append(std::to_string(l)));
        }
        generator.SaveToURL(mUrl);
    }
    ~TBenchBundle() { std::filesystem::remove_all(mDir); }
};

void BM_BundleLoad(benchmark::State& state)
{
    TBenchBundle bundle;
    for (auto _ : state) {
        CGenGenerator generator;
        if (!generator.LoadFromURL(bundle.mUrl))
            state.SkipWithError("the bundle does not load");
        // The style and the pool are read on need: read them here.
        CGenInstLib& lib = generator.GenreLibs().front().mInstLibs.front();
        lib.mStyles.LoadStyleGraphsIfNotCachedAlready(0);
        for (const std::string& identifier : generator.PatternsPool().identifiers())
            benchmark::DoNotOptimize(generator.PatternsPool().patternsForIdentifier(identifier));
    }
}
BENCHMARK(BM_BundleLoad)->Unit(benchmark::kMillisecond);

void BM_BundleSave(benchmark::State& state)
{
    TBenchBundle bundle;
    CGenGenerator generator;
    generator.LoadFromURL(bundle.mUrl);
    generator.GenreLibs().front().mInstLibs.front().mStyles.LoadStyleGraphsIfNotCachedAlready(0);
    for (const std::string& identifier : generator.PatternsPool().identifiers())
        generator.PatternsPool().patternsForIdentifier(identifier);
    for (auto _ : state)
        if (!generator.SaveToURL(bundle.mUrl))
            state.SkipWithError("the bundle does not save");
}
BENCHMARK(BM_BundleSave)->Unit(benchmark::kMillisecond);

} // namespace
