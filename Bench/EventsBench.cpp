#include "Generator/CGenEvs.h"
#include "Generator/CGenRandom.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

// Events as a drum performance has them: positions on a sixteenth grid over
// `count / 8` beats, mostly notes, some controllers and program changes, so
// that many events share a position and the order at one position matters.
std::vector<CGenEv> RandomEvents(size_t count)
{
    CGenRandom random(20240501u);
    const uint32_t gridSteps = static_cast<uint32_t>(count / 2 + 1);
    std::vector<CGenEv> evs;
    evs.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        const float pos = static_cast<float>(random.NextBelow(gridSteps)) * 0.25f;
        const uint32_t kind = random.NextBelow(10);
        if (kind < 8)
            evs.emplace_back(pos, 0.25f, 0x90 | static_cast<int>(random.NextBelow(2)), 35 + static_cast<int>(random.NextBelow(20)),
                1 + static_cast<int>(random.NextBelow(127)));
        else if (kind == 8)
            evs.emplace_back(pos, TGenBeatLength_Undef, 0xB0, static_cast<int>(random.NextBelow(128)),
                static_cast<int>(random.NextBelow(128)));
        else
            evs.emplace_back(pos, TGenBeatLength_Undef, 0xC0, static_cast<int>(random.NextBelow(128)), -1);
    }
    return evs;
}

void BM_CGenEvs_InsertAtBeatPos(benchmark::State& state)
{
    const auto evs = RandomEvents(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        CGenEvs list;
        list.reserve(evs.size());
        for (const auto& ev : evs)
            list.InsertAtBeatPos(ev);
        benchmark::DoNotOptimize(list.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_CGenEvs_InsertAtBeatPos)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_CGenEvs_SortStable(benchmark::State& state)
{
    const auto evs = RandomEvents(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        CGenEvs list;
        list.assign(evs.begin(), evs.end());
        state.ResumeTiming();
        list.SortStable();
        benchmark::DoNotOptimize(list.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_CGenEvs_SortStable)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The merge of an already sorted list: the common case of a list that is
// sorted again after a stage kept it in order.
void BM_GenStableSortEvs_Presorted(benchmark::State& state)
{
    auto sorted = RandomEvents(static_cast<size_t>(state.range(0)));
    GenStableSortEvs(sorted);
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<CGenEv> evs = sorted;
        state.ResumeTiming();
        GenStableSortEvs(evs);
        benchmark::DoNotOptimize(evs.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_GenStableSortEvs_Presorted)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace
