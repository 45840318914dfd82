// Style graphs: one evaluation of a 10-module graph over 50 candidates, as
// pattern choice runs it for each position, and the load of a style file.

#include "Generator/CGenContext.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModuleMultiplexer.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModulePatternsMerger.h"
#include "Generator/stylegraph/CGenGFModuleRandomPatternPicker.h"
#include "Generator/stylegraph/CGenGFModuleStringSwitch.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphRun.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <unistd.h>

namespace {

template <class T>
T* Add(CGenGFModule& parent, const std::string& key)
{
    return static_cast<T*>(parent.addSubpatch(std::make_unique<T>(), key));
}

void Connect(CGenGFModule& g, CGenGFPort* from, CGenGFPort* to)
{
    g.createConnectionFromPortToPortForKey(*from, *to);
}

// provider -> name filter -> top filter -> string switch -> multiplexer ->
// name filter -> splitter -> merger (with the top filter's list) -> picker
// -> consumer.
std::unique_ptr<CGenGFModule> MakeTenModuleGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule& g = *graph;
    auto* provider = Add<CGenGFModulePatternProbProvider>(g, "provider");
    auto* name = Add<CGenGFModuleFilterPatternName>(g, "name");
    auto* top = Add<CGenGFModuleTopProbFilter>(g, "top");
    auto* sw = Add<CGenGFModuleStringSwitch>(g, "switch");
    auto* mux = Add<CGenGFModuleMultiplexer>(g, "mux");
    auto* name2 = Add<CGenGFModuleFilterPatternName>(g, "name2");
    auto* splitter = Add<CGenGFModuleSplitter>(g, "splitter");
    auto* merger = Add<CGenGFModulePatternsMerger>(g, "merger");
    auto* picker = Add<CGenGFModuleRandomPatternPicker>(g, "picker");
    auto* consumer = Add<CGenGFModulePatternProbConsumer>(g, "consumer");
    name->inputFilterString->setStringValue("^sys_[a-m]");
    name->inputMatchingFactor->setDoubleValue(1.5);
    name->inputNonMatchingFactor->setDoubleValue(0.5);
    top->inputMinRequiredPatterns->setDoubleValue(20.0);
    top->inputStepCount->setDoubleValue(10.0);
    sw->stringBins().addStringToBinAtIndex("verse", 0);
    sw->stringBins().addStringToBinAtIndex("chorus", 1);
    sw->inputString->setStringValue("chorus");
    mux->setPortClass(CGenGFPortPatternAndProbs::Class());
    mux->setInputCount(3);
    name2->inputFilterString->setStringValue("[02468]$");
    name2->inputNonMatchingFactor->setDoubleValue(0.8);
    splitter->setPortClass(CGenGFPortPatternAndProbs::Class());
    Connect(g, provider->outputPatterns, name->inputPatterns);
    Connect(g, name->outputPatterns, top->inputPatterns);
    Connect(g, top->outputPatterns, sw->inputPatterns);
    Connect(g, sw->outputDefault, mux->inputGFPortForKey("source_1"));
    Connect(g, sw->outputGFPortForKey("index_1"), mux->inputGFPortForKey("source_2"));
    Connect(g, sw->outputGFPortForKey("index_2"), mux->inputGFPortForKey("source_3"));
    Connect(g, sw->outputActiveIndex, mux->inputIndex);
    Connect(g, mux->outputGFPortForKey("output"), name2->inputPatterns);
    Connect(g, name2->outputPatterns, splitter->inputGFPortForKey("input"));
    Connect(g, splitter->outputGFPortForKey("output"), merger->inputPatterns1);
    Connect(g, top->outputPatterns, merger->inputPatterns2);
    Connect(g, merger->outputPatterns, picker->inputPatterns);
    Connect(g, picker->outputPatterns, consumer->inputPatterns);
    return graph;
}

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
