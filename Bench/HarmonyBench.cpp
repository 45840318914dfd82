#include <Generator/CGenEvsNameds.h>
#include <Generator/harmony/CAbstractNotesConcretizer.h>
#include <Generator/harmony/CChordHeavy.h>

#include <benchmark/benchmark.h>

// A bass region of 64 bars: eighth notes of one note group (root, fifth,
// octave, approach to the next root) over a chord per bar in C major.
static void BM_ConcretizeBassRegion64Bars(benchmark::State& state)
{
    const char* names[] = {"C", "Am7", "Fmaj7", "G7", "Em", "Dm7", "G/B", "C7"};
    CGenEvsChord chords;
    for (int bar = 0; bar < 64; ++bar) {
        CChordHeavy chord;
        SetFromString(names[bar % 8], chord, CChordNamePrefs());
        chords.InsertAtCorrectBeatPos(CGenEvChord(4.0f * bar, chord));
    }
    CGenEvsSignKey keys {{0.0f, 0, false}};
    CGenEvsHarmCenter centres;
    const char* notes[] = {"{1}", "{1}", "{5}", "{1}", "{1[+1]}", "{5}", "{3}", "{n1[c-1]}"};
    CGenEvsNamed region;
    region.mBeatPosAbs = 0.0f;
    for (int i = 0; i < 64 * 8; ++i) {
        CGenEv ev(0.5f * i, 0.5f, notes[i % 8], 0);
        ev.mMB2 = 90;
        region.mEvs.push_back(ev);
    }
    CAbstractNotesConcretizer concretizer(TGenInstType_Bass);
    for (auto _ : state) {
        CGenEvsNameds evs {region};
        concretizer.Concretize(chords, centres, keys, nullptr, 0.0f, 256.0f, evs);
        benchmark::DoNotOptimize(evs);
    }
    state.SetItemsProcessed(state.iterations() * 64 * 8);
}
BENCHMARK(BM_ConcretizeBassRegion64Bars)->Unit(benchmark::kMicrosecond);
