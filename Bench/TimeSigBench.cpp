#include "Generator/timesig/CGenEvsSignTime.h"
#include "Generator/timesig/CGenEvsTempo.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

// A drum part of `bars` 4/4 bars: sixteenth hi-hats, kick and snare on the
// beats, an accent layer and a system layer.
CGenEvs DrumBars(int bars)
{
    CGenEvs evs(4.0f * float(bars));
    for (int bar = 0; bar < bars; ++bar) {
        for (int s = 0; s < 16; ++s) {
            const float pos = 4.0f * float(bar) + 0.25f * float(s);
            CGenEv hat(pos, 0.25f, st_NoteOn, 42, 60 + (s % 4) * 10);
            hat.mRuntimeLayerBitmask = CGenBitmask(2);
            evs.InsertAtBeatPos(hat);
            if (s % 4 == 0) {
                CGenEv beat(pos, 0.5f, st_NoteOn, (s / 4) % 2 ? 38 : 36, 100);
                beat.mRuntimeLayerBitmask = CGenBitmask(1);
                evs.InsertAtBeatPos(beat);
            }
        }
    }
    return evs;
}

// Bars of 4/4, 7/8 and 3/4 in turn, a change every 8 bars.
CGenEvsSignTime ChangingMap(int changes)
{
    CGenEvsSignTime map;
    const CGenSignTime metres[] = {CGenSignTime(4, 2), CGenSignTime(7, 3), CGenSignTime(3, 2)};
    float pos = 0.0f;
    for (int i = 0; i < changes; ++i) {
        const CGenSignTime& m = metres[i % 3];
        map.push_back(CGenEvSignTime(pos, m));
        pos += 8.0f * m.BarLength();
    }
    map.Compile();
    return map;
}

void BM_TimeSigTransform64BarsTo78(benchmark::State& state)
{
    const CGenEvs source = DrumBars(64);
    const CGenSignTimeTrafos trafos(TGenInstType_Drums, TPatternGraphType_System);
    const CGenSignTime target(7, 3);
    for (auto _ : state) {
        CGenEvs evs = source;
        trafos.TransformFromTo(CGenSignTime_Default44, target, evs, TTransformEvsLength_Transform);
        benchmark::DoNotOptimize(evs.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(source.size()));
}
BENCHMARK(BM_TimeSigTransform64BarsTo78)->Unit(benchmark::kMicrosecond);

void BM_TimeSigTransform64BarsTo128Layered(benchmark::State& state)
{
    const CGenEvs source = DrumBars(64);
    CGenSignTimeTrafos trafos;
    trafos.AppendPresetForLayerBitmask(CGenBitmask(1), "DrumsAccents");
    trafos.AppendPresetForLayerBitmask(CGenBitmask(2), "DrumsSystems");
    const CGenSignTime target(12, 3);
    for (auto _ : state) {
        CGenEvs evs = source;
        trafos.TransformFromTo(CGenSignTime_Default44, target, evs, TTransformEvsLength_Transform);
        benchmark::DoNotOptimize(evs.data());
    }
    state.SetItemsProcessed(state.iterations() * int64_t(source.size()));
}
BENCHMARK(BM_TimeSigTransform64BarsTo128Layered)->Unit(benchmark::kMicrosecond);

// Bar number and position in bar of 100k ascending positions; with a hint the
// scan walks the map forward instead of searching it again.
void BeatToBar(benchmark::State& state, bool withHint)
{
    const CGenEvsSignTime map = ChangingMap(int(state.range(0)));
    const int count = 100000;
    std::vector<float> positions(count);
    for (int i = 0; i < count; ++i)
        positions[size_t(i)] = 0.0625f * float(i);
    for (auto _ : state) {
        CGenEvsSignTime::const_iterator hint = map.end();
        int64_t sum = 0;
        for (float p : positions) {
            int bar = 0;
            float inBar = 0.0f;
            map.BeatPosToInternBarNrAndLengthInBar(p, &bar, &inBar, withHint ? &hint : nullptr);
            sum += bar;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
void BM_TimeSigBeatToBar100k(benchmark::State& state) { BeatToBar(state, false); }
void BM_TimeSigBeatToBar100kHint(benchmark::State& state) { BeatToBar(state, true); }
BENCHMARK(BM_TimeSigBeatToBar100k)->Arg(1)->Arg(64)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TimeSigBeatToBar100kHint)->Arg(1)->Arg(64)->Unit(benchmark::kMicrosecond);

void BM_TimeSigBeatToNano100k(benchmark::State& state)
{
    CGenEvsTempo tempo;
    for (int i = 0; i < 64; ++i)
        tempo.push_back(CGenEvTempo(64.0f * float(i), 90.0 + double(i % 7) * 10.0));
    const int count = 100000;
    for (auto _ : state) {
        int64_t sum = 0;
        for (int i = 0; i < count; ++i)
            sum += tempo.BeatPosAbsToNanoLength(0.0390625f * float(i));
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(BM_TimeSigBeatToNano100k)->Unit(benchmark::kMicrosecond);

} // namespace
