#include "Generator/CGenRandom.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbPicker.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <benchmark/benchmark.h>

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/archive/text_iarchive.hpp>
#include <boost/archive/text_oarchive.hpp>

#include <sstream>
#include <string>

namespace {

// A graph of `count` one-bar patterns of 16 sixteenth notes each, every
// pattern with edges to the next four, each edge with an entry without
// history and one after two patterns.
CGenPatternGraphBoost BenchGraph(int count)
{
    CGenPatternGraphBoost g(TPatternGraphType_System);
    for (int i = 0; i < count; ++i) {
        CGenEvs evs(4.0f);
        for (int k = 0; k < 16; ++k)
            evs.push_back(CGenEv(0.25f * float(k), 0.25f, st_NoteOn, 42 + (i + k) % 5, 60 + (i * 7 + k * 13) % 60));
        CGenPattern p("pattern " + std::to_string(i), evs, CGenPatternCoordInt(float(i % 100), float((i * 37) % 100)));
        p.mClaveLinks.AddLinkIfNew(i % 24, 0, 50 + i % 50);
        g.AddPattern(p);
    }
    for (int i = 0; i < count; ++i)
        for (int d = 1; d <= 4; ++d)
            g.AddEdge(size_t(i), size_t((i + d) % count),
                CGenPatternEdge(CGenProbHist(float(10 * d)), CGenProbHist(float(20 + d), (i + count - 1) % count, i)));
    g.UpdatePatternCoordConvToMinAndMax();
    return g;
}

// Candidates referring to every pattern of a graph, weights 1 to 100.
CGenPatternModAndProbs Candidates(CGenPatternGraphBoost& g)
{
    CGenPatternModAndProbs list;
    list.reserve(g.PatternCount());
    for (size_t i = 0; i < g.PatternCount(); ++i)
        list.push_back(CGenPatternModAndProb(&g, i, float(1 + (i * 37) % 100), 0.0f));
    return list;
}

// The seeded draw among the candidates of one decision.
void BM_PatternChooseRandomly(benchmark::State& state)
{
    CGenPatternGraphBoost g = BenchGraph(int(state.range(0)));
    CGenPatternModAndProbs list = Candidates(g);
    CGenRandom random(12345);
    for (auto _ : state)
        benchmark::DoNotOptimize(list.ChooseRandomly(random));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PatternChooseRandomly)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

// The banded picker: filter into bands, then the draw.
void BM_PatternPickerPick(benchmark::State& state)
{
    CGenPatternGraphBoost g = BenchGraph(int(state.range(0)));
    CGenPatternModAndProbs list = Candidates(g);
    CGenRandom random(12345);
    for (auto _ : state) {
        CGenPatternModAndProbRandomPicker picker(list);
        benchmark::DoNotOptimize(picker.Pick(random));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PatternPickerPick)->Arg(1000)->Unit(benchmark::kMicrosecond);

template <class IArchive, class OArchive>
void LoadGraph(benchmark::State& state)
{
    std::stringstream saved;
    {
        OArchive oa(saved);
        const CGenPatternGraphBoost g = BenchGraph(int(state.range(0)));
        oa << g;
    }
    const std::string bytes = saved.str();
    for (auto _ : state) {
        std::istringstream is(bytes);
        IArchive ia(is);
        CGenPatternGraphBoost g;
        ia >> g;
        benchmark::DoNotOptimize(g.PatternCount());
    }
    state.SetBytesProcessed(state.iterations() * int64_t(bytes.size()));
    state.counters["archive_bytes"] = double(bytes.size());
}

// Loading a graph as a library load does, at several sizes.
void BM_PatternGraphLoadText(benchmark::State& state)
{
    LoadGraph<boost::archive::text_iarchive, boost::archive::text_oarchive>(state);
}
BENCHMARK(BM_PatternGraphLoadText)->Arg(100)->Arg(500)->Arg(2000)->Unit(benchmark::kMillisecond);

void BM_PatternGraphLoadBinary(benchmark::State& state)
{
    LoadGraph<boost::archive::binary_iarchive, boost::archive::binary_oarchive>(state);
}
BENCHMARK(BM_PatternGraphLoadBinary)->Arg(100)->Arg(500)->Arg(2000)->Unit(benchmark::kMillisecond);

} // namespace
