#include "Generator/clave/CGenClaveLib.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

// A library of `count` distinct one-bar patterns on the eighth grid.
CGenClaveLib FamilyLib(int count)
{
    CGenClaveLib lib("Family");
    for (int i = 0; i < count; ++i) {
        CGenEvsClave evs;
        ClaveEvsFromEvsAsBitsInBar8thOnBeat(uint64_t(37 * i + 1) & 0xFF, evs, 100);
        std::string name("p");
        name += std::to_string(i);
        lib.push_back(CGenClavePattern(name, evs));
    }
    lib.mInterestingPos.mLength = 4.0f;
    for (int k = 0; k < 8; ++k)
        lib.mInterestingPos.push_back(CGenEv(0.5f * float(k), 0.125f, st_NoteOn, -1, -1));
    return lib;
}

// Building the 256-entry table at load time.
void BM_ClaveLibBuildTable(benchmark::State& state)
{
    CGenClaveLib lib = FamilyLib(int(state.range(0)));
    for (auto _ : state) {
        lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
        benchmark::DoNotOptimize(lib.EvsAsBitsInBarToBestMatchingClaveIxTable().data());
    }
}
BENCHMARK(BM_ClaveLibBuildTable)->Arg(8)->Arg(32)->Unit(benchmark::kMicrosecond);

// A song's clave as bits per bar, then the closest pattern of each bar.
void BM_ClaveBitsAndHistory(benchmark::State& state)
{
    const int bars = int(state.range(0));
    CGenClaveLib lib = FamilyLib(32);
    lib.mDefaultPatternIxForEmptyBar = 0;
    lib.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    CGenEvsClave clave(4.0f * float(bars));
    for (int bar = 0; bar < bars; ++bar)
        for (float p : {0.0f, 1.5f, 3.0f})
            clave.push_back(CGenEvClave(4.0f * float(bar) + p + (bar % 3 == 0 ? 0.0625f : 0.0f), 100));
    const CGenEvsSignTime_Default44 map;
    for (auto _ : state) {
        TEvsAsBitsInBars bits;
        clave.EvsAsBitsInBars8thOnBeat(map, 1, TGenBarNr_Undef, CGenEvsClave::kDefaultTolerance, bits);
        CGenBeatedPatternIxs hist;
        lib.CreateClosestIxPatternHistFromEvsAsBitsInBars(bits, 0.0f, clave.mLength, hist);
        benchmark::DoNotOptimize(hist.data());
    }
    state.SetItemsProcessed(state.iterations() * bars);
}
BENCHMARK(BM_ClaveBitsAndHistory)->Arg(16)->Arg(256)->Unit(benchmark::kMicrosecond);

} // namespace
