// The main job over the demo content: loading the demo bundle, and
// performing a song of four-bar sections (the demo's metres, tempo changes
// and controls in turn) at 38 and 500 bars, so that the cost per bar shows.

#ifdef ZKGEN_BENCH_SONGS

#include "content/ContentCompiler.h"
#include "song/SongFile.h"
#include "song/SongPerformer.h"

#include <Generator/CGenGenerator.h>

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <filesystem>

namespace {

using namespace zkgen::cli;

struct TDemoBundle {
    std::filesystem::path mDir = std::filesystem::temp_directory_path() / ("zkgen_bench_demo_" + std::to_string(::getpid()));
    std::string mUrl = (mDir / "Demo.glibb").string();
    bool mOk = false;

    TDemoBundle()
    {
        std::filesystem::remove_all(mDir);
        std::filesystem::create_directories(mDir);
        std::string error;
        mOk = BuildContentBundle(std::string(ZKGEN_SOURCE_DIR) + "/Content/Demo", mUrl, error);
    }
    ~TDemoBundle() { std::filesystem::remove_all(mDir); }
};

const TDemoBundle& DemoBundle()
{
    static const TDemoBundle bundle;
    return bundle;
}

// The demo song's sections over and over up to `bars`.
TSong LongSong(int bars)
{
    std::string error;
    const auto demo = ReadSongFile(std::string(ZKGEN_SOURCE_DIR) + "/Content/Songs/demo.toml", error);
    TSong song = demo ? *demo : TSong();
    std::vector<TSongSection> sections = song.mSections;
    song.mSections.clear();
    int total = 0;
    for (size_t i = 0; total < bars && !sections.empty(); ++i) {
        TSongSection s = sections[i % sections.size()];
        s.mName += ' ';
        s.mName += std::to_string(i);
        s.mBars = std::min(s.mBars, bars - total);
        total += s.mBars;
        song.mSections.push_back(s);
    }
    return song;
}

void BM_DemoBundleLoad(benchmark::State& state)
{
    const TDemoBundle& bundle = DemoBundle();
    for (auto _ : state) {
        CGenGenerator generator;
        if (!generator.LoadFromURL(bundle.mUrl))
            state.SkipWithError("the demo bundle does not load");
        benchmark::DoNotOptimize(generator.GenreLibs().data());
    }
}
BENCHMARK(BM_DemoBundleLoad)->Unit(benchmark::kMillisecond);

void BM_DemoSongPerform(benchmark::State& state)
{
    const int bars = static_cast<int>(state.range(0));
    CGenGenerator generator;
    if (!generator.LoadFromURL(DemoBundle().mUrl)) {
        state.SkipWithError("the demo bundle does not load");
        return;
    }
    const TSong song = bars == 38 ? LongSong(38) : LongSong(bars);
    size_t notes = 0;
    for (auto _ : state) {
        TGenDict take;
        std::string error;
        const auto performance = PerformSong(generator, song, take, TPerformRequest(), error);
        notes = performance ? performance->mPerformance.mTracks.at(0).mNotes.size() : 0;
    }
    if (notes == 0)
        state.SkipWithError("nothing was played");
    state.counters["notes"] = static_cast<double>(notes);
    state.counters["per_bar"] = benchmark::Counter(static_cast<double>(bars),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_DemoSongPerform)->Arg(38)->Arg(500)->Unit(benchmark::kMillisecond);

// One Generate of the drummer over a region of `bars` 4/4 bars with the
// demo's scripted style (module scripts on the family and global graphs),
// in the sandbox as zkgen runs it. The script state is made by the first
// call and kept, as in a host.
void BM_DemoScriptedGenerate(benchmark::State& state)
{
    const int bars = static_cast<int>(state.range(0));
    CGenGenerator generator;
    zkgen::lua::TScriptSandbox sandbox;
    sandbox.mEnabled = true;
    generator.SetScriptSandbox(sandbox);
    if (!generator.LoadFromURL(DemoBundle().mUrl)) {
        state.SkipWithError("the demo bundle does not load");
        return;
    }
    CGenGeneratorParams params(4.0f * static_cast<float>(bars), -1);
    params.mGenerateStartPosAbs = 0.0f;
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 112.0));
    params.mEdgesAndHistory_Active = true;
    params.mPatternCoordStaticAcExt = CGenPatternCoordExt(60.0f, 80.0f);
    params.SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexity, 60.0);
    params.SetRegionParameterFloat(CGenGeneratorParamsRegion::kIntensity, 80.0);
    TGenDict memento;
    size_t notes = 0;
    for (auto _ : state) {
        CGenGeneratorParams p = params;
        CGenEvsNameds evs;
        generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, &memento, evs);
        notes = evs.empty() ? 0 : evs.front().mEvs.size();
    }
    if (notes == 0)
        state.SkipWithError("nothing was played");
    state.counters["notes"] = static_cast<double>(notes);
    state.counters["per_bar"] = benchmark::Counter(static_cast<double>(bars),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_DemoScriptedGenerate)->Arg(8)->Arg(64)->Unit(benchmark::kMillisecond);

} // namespace

#endif
