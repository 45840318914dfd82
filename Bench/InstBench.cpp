#include "Generator/instruments/CGenConvertCtrAndUid.h"
#include "Generator/instruments/CGenConvertMappingFactory.h"
#include "Generator/instruments/CGenDrumMap.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

constexpr std::size_t kPathCount = 10000;
constexpr std::size_t kEvCount = 100000;

// Every plain path of the tree and the bracket expressions content authors
// write, cycled to `count` expressions.
std::vector<std::string> Expressions(std::size_t count)
{
    std::vector<std::string> base;
    GenDrumInstTreeV1().VisitEntries([&](const CGenInstTreeEntry& e, int /*depth*/) { base.push_back(e.Path()); });
    base.insert(base.end(),
        { "Drums.Sn.note.nrm[eccentricity.center;stroke.s1]", "Drums.Hh.note.hit[pos.tt;move.static[open.o5;stroke.s3l]]",
            "Drums.Tm[pitch.3;stroke.s3r]", "Drums.Rd[pos.bell;stroke.s5]", "Drums.Cr[pitch.splash;length.stop fast]",
            "Percussion.Tambourine[articulation.hitLeft;tempo.120]", "Drums.Hh.note.foot[close;stop]", "Drums.Xx[a;b]" });
    std::vector<std::string> out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        out.push_back(base[i % base.size()]);
    return out;
}

// A drum part of uid notes on a sixteenth grid, cycling through the sounds of the tree.
CGenEvs UidEvents(std::size_t count)
{
    std::vector<int> uids;
    GenDrumInstTreeV1().VisitEntries([&](const CGenInstTreeEntry& e, int /*depth*/) {
        if (e.Type() == TInstTreeEntryType_Leaf)
            uids.push_back(GenInstTreeUidToMB1(e.Uid()));
    });
    CGenEvs evs;
    evs.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        evs.emplace_back(static_cast<float>(i / 2) * 0.25f, 0.25f, st_NoteOn, uids[(i * 7) % uids.size()], 40 + static_cast<int>(i % 80));
    evs.mLength = static_cast<float>(count / 2) * 0.25f;
    return evs;
}

void BM_InstResolvePaths(benchmark::State& state)
{
    const CGenInstTree& tree = GenDrumInstTreeV1();
    const std::vector<std::string> expressions = Expressions(kPathCount);
    for (auto _ : state) {
        TInstTreeUid acc = 0;
        for (const std::string& e : expressions)
            acc ^= tree.FindUidWithPath(e);
        benchmark::DoNotOptimize(acc);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPathCount));
}
BENCHMARK(BM_InstResolvePaths)->Unit(benchmark::kMillisecond);

// Argument 0: the MB3 mapping, 1: the controller mapping. The converter is made
// inside the loop, as the generate stage makes one per call.
void BM_InstConvertUidEvs(benchmark::State& state)
{
    const CGenInstTree& tree = GenDrumInstTreeV1();
    const CGenConvertMapping mapping =
        CGenConvertMappingFactory::MappingForKey(state.range(0) == 0 ? kConvertMappingKey_MB3 : kConvertMappingKey_CtrlEvs);
    const CGenEvs in = UidEvents(kEvCount);
    CGenEvs out;
    for (auto _ : state) {
        CGenConvertCtrAndUid converter(tree, mapping);
        converter.ConvertEvsWithUidToEvsWithCtr(in, out);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kEvCount));
    state.counters["outEvs"] = static_cast<double>(out.size());
}
BENCHMARK(BM_InstConvertUidEvs)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_InstBuildDrumTreeAndMappings(benchmark::State& state)
{
    for (auto _ : state) {
        CGenInstTree tree;
        BuildDrumInstTreeV1(tree, CGenDrumMap::GeneralMidi());
        CGenConvertMapping mb3 = CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_MB3);
        CGenConvertMapping ctrl = CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_CtrlEvs);
        benchmark::DoNotOptimize(tree.RecursiveEntriesSize() + mb3.PathCount() + ctrl.PathCount());
    }
}
BENCHMARK(BM_InstBuildDrumTreeAndMappings)->Unit(benchmark::kMicrosecond);

} // namespace
