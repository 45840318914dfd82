// Style graphs: one evaluation of a 10-module graph over 50 candidates, as
// pattern choice runs it for each position, and the load of a style file.

#include "Generator/CGenContext.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphRun.h"
#include "BenchStyleGraphs.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <unistd.h>

namespace {

using zkbench::MakeTenModuleGraph;

CGenPatternModAndProbs FiftyCandidates()
{
    CGenPatternModAndProbs list;
    for (int i = 0; i < 50; ++i)
        list.emplace_back(CGenPattern(std::string("sys_").append(1, char('a' + i % 26)).append(std::to_string(i))),
            static_cast<float>(10 + (i * 37) % 85));
    return list;
}

void BM_StyleGraphEvaluation10Modules50Candidates(benchmark::State& state)
{
    CGenStyle style("Bench");
    style.StyleGraphs().SetStyleGraphForKey(MakeTenModuleGraph(), kStyleGraphKey_System);
    CGenPatternGraphBoost patternGraph(TPatternGraphType_System);
    patternGraph.Random().SetSeed(1);
    CGenContext context;
    context.mStyle = &style;
    context.mPatternGraph = &patternGraph;
    const CGenPatternModAndProbs candidates = FiftyCandidates();
    CGenStyleGraphRun run(context, TPatternGraphType_System);
    float pos = 0.0f;
    size_t chosen = 0;
    for (auto _ : state) {
        CGenPatternModAndProbs list = candidates;
        run.ApplyStyleGraphToPatterns(list, pos);
        pos += 4.0f; // a new position each time, so that every module runs
        chosen += list.size();
        benchmark::DoNotOptimize(list.data());
    }
    if (chosen == 0)
        state.SkipWithError("the graph chose nothing");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_StyleGraphEvaluation10Modules50Candidates);

void BM_StyleFileLoad(benchmark::State& state)
{
    const int graphCount = static_cast<int>(state.range(0));
    CGenStyleGraphs graphs;
    for (int i = 0; i < graphCount; ++i)
        graphs.SetStyleGraphForKey(MakeTenModuleGraph(), std::string("graph_").append(std::to_string(i)));
    const std::filesystem::path path = std::filesystem::temp_directory_path()
        / ("zkgen_bench_" + std::to_string(::getpid()) + "_" + std::to_string(graphCount) + ".style");
    if (!graphs.SaveToURL(path)) {
        state.SkipWithError("cannot write the style file");
        return;
    }
    for (auto _ : state) {
        CGenStyleGraphs loaded;
        if (!loaded.LoadFromURL(path)) {
            state.SkipWithError("cannot load the style file");
            break;
        }
        benchmark::DoNotOptimize(loaded.Entries());
    }
    state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
    state.counters["modules"] = graphCount * 10;
    std::filesystem::remove(path);
}
BENCHMARK(BM_StyleFileLoad)->Arg(1)->Arg(7)->Unit(benchmark::kMillisecond);

} // namespace
