// The song performer on the demo content: the demo song's golden output,
// takes and renewals, whole bars in odd metres, and the musical effect of
// the controls measured over many takes.

#include "TestSupport/TempDir.h"
#include "content/ContentCompiler.h"
#include "midi/MidiFile.h"
#include "song/DrumGrid.h"
#include "song/SongFile.h"
#include "song/SongHarmony.h"
#include "song/SongPerformer.h"

#include <Generator/CGenGenerator.h>
#include <Platform/ZKFileOps.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

using namespace zkgen::cli;

namespace {

const std::string kSourceDir = ZKGEN_SOURCE_DIR;
const std::string kGoldenDir = kSourceDir + "/Tests/Tools/Data";

// The demo content as the tool plays it: compiled into a bundle and loaded
// from disk, once for the whole program.
CGenGenerator& DemoGenerator()
{
    static zkgtest::TempDir dir("demo_bundle");
    static std::unique_ptr<CGenGenerator> generator = [] {
        std::string error;
        const std::string bundle = (dir.Path() / "Demo.glibb").string();
        if (!BuildContentBundle(kSourceDir + "/Content/Demo", bundle, error))
            ADD_FAILURE() << error;
        auto g = std::make_unique<CGenGenerator>();
        if (!g->LoadFromURL(bundle))
            ADD_FAILURE() << "the demo bundle does not load";
        return g;
    }();
    return *generator;
}

TSong DemoSong()
{
    std::string error;
    auto song = ReadSongFile(kSourceDir + "/Content/Songs/demo.toml", error);
    EXPECT_TRUE(song) << error;
    return song ? *song : TSong();
}

TSong OneSection(int bars, double complexity, double intensity, double fills)
{
    TSong song;
    song.mTitle = "t";
    TSongSection s;
    s.mName = "A";
    s.mBars = bars;
    s.mControls = {{"complexity", complexity}, {"intensity", intensity}, {"fills", fills}};
    song.mSections.push_back(s);
    return song;
}

TSongPerformance Perform(const TSong& song, TGenDict& take, TPerformRequest request = {})
{
    std::string error;
    auto result = PerformSong(DemoGenerator(), song, take, request, error);
    EXPECT_TRUE(result) << error;
    return result ? *result : TSongPerformance();
}

TSongPerformance PerformNewTake(const TSong& song, uint32_t seed)
{
    TGenDict take;
    TPerformRequest request;
    request.mRenewal = TRenewal::NewTake;
    request.mNewSeed = seed;
    request.mCollectPatterns = true;
    return Perform(song, take, request);
}

const std::vector<TNote>& Notes(const TSongPerformance& p)
{
    return p.mPerformance.mTracks.at(0).mNotes;
}

std::string ReadText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// ZKGEN_UPDATE_GOLDENS=1 writes the goldens anew: for a change that is meant
// to alter what the drummer plays.
void CheckGolden(const std::string& name, const std::string& actual)
{
    const std::string path = kGoldenDir + "/" + name;
    if (const char* update = std::getenv("ZKGEN_UPDATE_GOLDENS"); update && std::string(update) == "1") {
        std::filesystem::create_directories(kGoldenDir);
        std::ofstream(path, std::ios::binary) << actual;
        return;
    }
    ASSERT_TRUE(std::filesystem::exists(path)) << path << " is missing; run with ZKGEN_UPDATE_GOLDENS=1";
    EXPECT_TRUE(ReadText(path) == actual) << name << " differs from its golden; if the change is meant to alter "
                                                     "the music, run the tests with ZKGEN_UPDATE_GOLDENS=1";
}

} // namespace

TEST(SongPerformerGolden, DemoSongGridAndMidiBytes)
{
    TGenDict take;
    TPerformRequest request;
    request.mCollectPatterns = true;
    const TSongPerformance p = Perform(DemoSong(), take, request);
    CheckGolden("demo-song.grid", DrumGridText(p));
    zkgtest::TempDir dir;
    const std::string midi = (dir.Path() / "demo.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(p.mPerformance, midi, error)) << error;
    CheckGolden("demo-song.mid", ReadText(midi));
}

TEST(SongPerformerTakes, TheTakeRepeatsTheSongAndANewTakeChangesIt)
{
    const TSong song = DemoSong();
    TGenDict take;
    const TSongPerformance first = Perform(song, take);
    // The take now holds one memento per section.
    const TGenDict* sections = take.DictForKey(kTake_Sections);
    ASSERT_NE(sections, nullptr);
    for (const TSongSection& s : song.mSections)
        EXPECT_NE(sections->DictForKey(s.mName), nullptr) << s.mName;

    TGenDict again = take;
    const TSongPerformance second = Perform(song, again);
    ASSERT_EQ(Notes(first).size(), Notes(second).size());
    for (size_t i = 0; i < Notes(first).size(); ++i) {
        EXPECT_EQ(Notes(first)[i].mBeat, Notes(second)[i].mBeat);
        EXPECT_EQ(Notes(first)[i].mKey, Notes(second)[i].mKey);
        EXPECT_EQ(Notes(first)[i].mVelocity, Notes(second)[i].mVelocity);
    }

    TPerformRequest renew;
    renew.mRenewal = TRenewal::NewTake;
    renew.mNewSeed = 987654u;
    TGenDict newTake = take;
    const TSongPerformance fresh = Perform(song, newTake, renew);
    bool differs = Notes(fresh).size() != Notes(first).size();
    for (size_t i = 0; !differs && i < Notes(first).size(); ++i)
        differs = Notes(fresh)[i].mBeat != Notes(first)[i].mBeat || Notes(fresh)[i].mKey != Notes(first)[i].mKey;
    EXPECT_TRUE(differs) << "a new take played the old one";
}

// Renewing the fills keeps every other layer: the patterns of the families,
// add-ons, systems and percussion stay where they were, and only notes in
// the range of a fill (old or new) may change.
TEST(SongPerformerTakes, RegeneratingFillsChangesOnlyTheFills)
{
    const TSong song = DemoSong();
    TGenDict take;
    TPerformRequest collect;
    collect.mCollectPatterns = true;
    const TSongPerformance before = Perform(song, take, collect);

    TPerformRequest fills = collect;
    fills.mRenewal = TRenewal::Layer;
    fills.mLayer = TGenerateWhat_Fills;
    bool fillsChanged = false;
    for (int round = 0; round < 4 && !fillsChanged; ++round) {
        TGenDict renewed = take;
        const TSongPerformance after = Perform(song, renewed, fills);
        std::vector<std::pair<double, double>> fillRanges;
        for (const TSongPerformance* p : {&before, &after})
            for (const TSectionPerformance& s : p->mSections)
                for (const TPlayedPattern& pp : s.mPatterns)
                    if (pp.mLayer == TPatternGraphType_Fill)
                        fillRanges.emplace_back(pp.mBeat, pp.mBeat + pp.mLength);
        const auto inFill = [&](double beat) {
            for (const auto& [a, b] : fillRanges)
                if (beat >= a - 1e-6 && beat < b - 1e-6)
                    return true;
            return false;
        };
        ASSERT_EQ(before.mSections.size(), after.mSections.size());
        for (size_t s = 0; s < before.mSections.size(); ++s) {
            std::vector<std::string> kept[2];
            std::vector<std::string> fillNames[2];
            for (int side = 0; side < 2; ++side)
                for (const TPlayedPattern& pp : (side ? after : before).mSections[s].mPatterns) {
                    const std::string text = std::to_string(pp.mBeat) + " " + pp.mName;
                    if (pp.mLayer == TPatternGraphType_Fill)
                        fillNames[side].push_back(text);
                    else if (!inFill(pp.mBeat)) // a whole-bar fill takes the bar's patterns away
                        kept[side].push_back(text);
                }
            EXPECT_EQ(kept[0], kept[1]) << "section " << before.mSections[s].mName;
            fillsChanged = fillsChanged || fillNames[0] != fillNames[1];
        }
        std::multiset<std::tuple<double, int, int>> outside[2];
        for (int side = 0; side < 2; ++side)
            for (const TNote& n : Notes(side ? after : before))
                if (!inFill(n.mBeat))
                    outside[side].insert({n.mBeat, n.mKey, n.mVelocity});
        EXPECT_EQ(outside[0], outside[1]);
        take = renewed;
    }
    EXPECT_TRUE(fillsChanged) << "four renewals of the fills played the same fills";
}

// Intro 4 x 4/4 = 16 beats, Verse 8 x 4 = 32 (to 48), Chorus 32 (to 80),
// Bridge 6 x 7/8 = 6 x 3.5 = 21 (to 101), Last chorus 32 (to 133), Outro
// 4 x 6/8 = 4 x 3 = 12 (to 145): read back from the MIDI file.
TEST(SongPerformerMidi, OddMetresHoldWholeBarsInTheFile)
{
    TGenDict take;
    const TSongPerformance p = Perform(DemoSong(), take);
    zkgtest::TempDir dir;
    const std::string path = (dir.Path() / "demo.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(p.mPerformance, path, error)) << error;
    const auto read = ReadMidiFile(path, error);
    ASSERT_TRUE(read) << error;
    ASSERT_EQ(read->mMeters.size(), 4u);
    const double meterBeats[] = {0.0, 80.0, 101.0, 133.0};
    const int numerators[] = {4, 7, 4, 6};
    const int denominators[] = {4, 8, 4, 8};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_DOUBLE_EQ(read->mMeters[i].mBeat, meterBeats[i]);
        EXPECT_EQ(read->mMeters[i].mNumerator, numerators[i]);
        EXPECT_EQ(read->mMeters[i].mDenominator, denominators[i]);
    }
    ASSERT_EQ(read->mTempos.size(), 2u);
    EXPECT_DOUBLE_EQ(read->mTempos[1].mBeat, 101.0);
    // The file keeps microseconds per quarter: 60e6 / 118 = 508474.6, stored 508475.
    EXPECT_NEAR(read->mTempos[1].mBpm, 118.0, 1e-3);
    ASSERT_EQ(read->mMarkers.size(), 6u);
    const double markerBeats[] = {0, 16, 48, 80, 101, 133};
    for (size_t i = 0; i < 6; ++i)
        EXPECT_DOUBLE_EQ(read->mMarkers[i].mBeat, markerBeats[i]) << read->mMarkers[i].mText;
    EXPECT_EQ(read->mMarkers[3].mText, "Bridge");
    // The drums, and the bass on the demo's chords with its program.
    ASSERT_EQ(read->mTracks.size(), 2u);
    EXPECT_EQ(read->mTracks[1].mName, "Bass");
    EXPECT_EQ(read->mTracks[1].mProgram, 33);
    EXPECT_EQ(read->mTracks[1].mProgramChannel, 1);
    int bridgeDownbeats = 0;
    for (const TNote& n : read->mTracks[0].mNotes) {
        EXPECT_LT(n.mBeat, 145.0);
        EXPECT_EQ(n.mChannel, 9);
        // The bridge's bars start at 80 + 3.5 k: each has a note on its one.
        for (int bar = 0; bar < 6; ++bar)
            bridgeDownbeats += std::abs(n.mBeat - (80.0 + 3.5 * bar)) < 1e-6 && n.mKey == 36 ? 1 : 0;
    }
    EXPECT_GE(bridgeDownbeats, 5) << "the kick lost the bridge's bar lines";
}

// Over ten takes of eight bars: a busier groove for more complexity, louder
// playing for more intensity.
TEST(SongPerformerMusic, ComplexityRaisesDensityAndIntensityRaisesVelocity)
{
    const auto average = [](double complexity, double intensity, bool velocity) {
        double sum = 0.0;
        double count = 0.0;
        for (uint32_t take = 1; take <= 10; ++take) {
            const TSongPerformance p = PerformNewTake(OneSection(8, complexity, intensity, 0.0), take * 7919u);
            for (const TNote& n : Notes(p))
                sum += velocity ? n.mVelocity : 0.0;
            count += velocity ? static_cast<double>(Notes(p).size()) : 8.0;
            if (!velocity)
                sum += static_cast<double>(Notes(p).size());
        }
        return sum / count;
    };
    const double sparse = average(10, 50, false);
    const double medium = average(50, 50, false);
    const double busy = average(90, 50, false);
    EXPECT_LT(sparse, medium);
    EXPECT_LT(medium, busy);
    const double soft = average(50, 15, true);
    const double middle = average(50, 50, true);
    const double loud = average(50, 90, true);
    EXPECT_LT(soft, middle);
    EXPECT_LT(middle, loud);
}

// Two sections of six bars: with fills on, the first section's last bar
// (beats 20 to 24) always ends in a fill; with fills off no fill plays.
TEST(SongPerformerMusic, FillsLeadIntoTheNextSectionOnlyWhenOn)
{
    for (const double fills : {0.0, 30.0}) {
        TSong song = OneSection(6, 50, 60, fills);
        TSongSection second = song.mSections[0];
        second.mName = "B";
        song.mSections.push_back(second);
        for (uint32_t take = 1; take <= 8; ++take) {
            const TSongPerformance p = PerformNewTake(song, take * 104729u);
            int fillsPlayed = 0;
            bool intoB = false;
            for (const TPlayedPattern& pp : p.mSections[0].mPatterns)
                if (pp.mLayer == TPatternGraphType_Fill) {
                    ++fillsPlayed;
                    intoB = intoB || std::abs(pp.mBeat + pp.mLength - 24.0) < 1e-4;
                }
            if (fills == 0.0)
                EXPECT_EQ(fillsPlayed, 0) << "take " << take;
            else
                EXPECT_TRUE(intoB) << "take " << take << ": no fill ends on the next section's downbeat";
        }
    }
}

// Bar lines of an eighth metre follow its groups; velocities print with the
// grids' alphabet; the louder of two notes on one cell shows.
TEST(SongPerformerGrid, ReadableGridOfSevenEight)
{
    TSongPerformance p;
    TSectionPerformance s;
    s.mName = "Bridge";
    s.mBars = 1;
    s.mTimeSignature = {7, 8};
    s.mTempo = 100;
    s.mPatterns = {{0.0, 4.0, TPatternGraphType_AccentFamily, "fam.x"}};
    p.mSections.push_back(s);
    TTrack t;
    // 16th steps: beat 0 -> step 0, beat 1 -> step 4, beat 2.5 -> step 10.
    t.mNotes = {{0.0, 0.25, 9, 36, 110}, {1.0, 0.25, 9, 38, 120}, {2.5, 0.25, 9, 36, 30}, {2.5, 0.25, 9, 36, 90},
        {0.5, 0.25, 9, 42, 60}};
    p.mPerformance.mTracks.push_back(t);
    // 7/8 = 2+2+3 eighths = 4+4+6 sixteenths.
    EXPECT_EQ(DrumGridText(p), "Bar 1  Bridge 1/1  7/8  100 bpm\n"
                               "  patterns: family fam.x\n"
                               "  HH closed  |..p.|....|......|\n"
                               "  Snare      |....|!...|......|\n"
                               "  Kick       |X...|....|..x...|\n");
}

// ---------------------------------------------------------------- the bass

namespace {

const TTrack* TrackNamed(const TSongPerformance& p, const std::string& name)
{
    for (const TTrack& t : p.mPerformance.mTracks)
        if (t.mName == name)
            return &t;
    return nullptr;
}

} // namespace

// The demo bass over the demo song's charts: every note within the bass
// range (E1 28 to G3 55), and where a chord begins the bass plays one of
// its triad's tones (root, third or its suspension, fifth) in at least 90%
// of the chords it plays on, the root in most; that includes the chords that
// change in the middle of a bridge bar (7/8: "Dm . . . Em . ." changes after
// four eighths, two beats).
TEST(SongPerformerBass, FollowsTheChordsInRange)
{
    const TSong song = DemoSong();
    TGenDict take;
    const TSongPerformance p = Perform(song, take);
    const TTrack* bass = TrackNamed(p, "Bass");
    ASSERT_NE(bass, nullptr);
    ASSERT_FALSE(bass->mNotes.empty());
    for (const TNote& n : bass->mNotes) {
        EXPECT_GE(n.mKey, 28) << n.mBeat;
        EXPECT_LE(n.mKey, 55) << n.mBeat;
        EXPECT_EQ(n.mChannel, kBassChannel);
    }
    std::vector<double> starts;
    for (const TSectionPerformance& s : p.mSections)
        starts.push_back(s.mStartBeat);
    std::string error;
    const auto harmony = BuildSongHarmony(song, starts, "demo.toml", error);
    ASSERT_TRUE(harmony) << error;
    int chords = 0, played = 0, tones = 0, roots = 0, midBar = 0, midBarTones = 0;
    for (const CGenEvChord& c : harmony->mChords) {
        if (c.IsUndef())
            continue;
        ++chords;
        const TNote* note = nullptr;
        for (const TNote& n : bass->mNotes)
            if (std::abs(n.mBeat - c.mBeatPosAbs) < 1e-4)
                note = &n;
        if (!note)
            continue;
        ++played;
        const int intvl = AbsKeyIntvlFromTo(c.mChord.RootKeyEnh().mKeyNr, note->mKey % 12);
        const bool triadTone = (intvl == 0 || intvl == 3 || intvl == 4 || intvl == 5 || intvl == 6 || intvl == 7
                                   || intvl == 8)
            && c.mChord.Semitones().HasIntvl(intvl);
        tones += triadTone ? 1 : 0;
        roots += intvl == 0 ? 1 : 0;
    }
    // The bridge (beats 80 to 101) changes chords after two beats of each
    // 3.5-beat bar; the notes that follow such a change up to the next chord
    // are worked out against the new chord: each lies in its scale in the key.
    for (auto c = harmony->mChords.begin(); c != harmony->mChords.end(); ++c) {
        const double inBridge = c->mBeatPosAbs - 80.0;
        if (c->IsUndef() || inBridge <= 0 || inBridge >= 21.0 || std::abs(std::fmod(inBridge, 3.5) - 2.0) > 1e-4)
            continue;
        const double next = std::next(c) == harmony->mChords.end() ? 1e9 : std::next(c)->mBeatPosAbs;
        const CScaleHeavy scale = c->mChord.ConstructScaleInSignKey(harmony->mKeys.FindEvSignKeyValidAt(c->mBeatPosAbs).mSignKey);
        for (const TNote& n : bass->mNotes)
            if (n.mBeat >= c->mBeatPosAbs - 1e-4 && n.mBeat < next - 1e-4) {
                ++midBar;
                midBarTones += scale.HasIntvl(AbsKeyIntvlFromTo(scale.RootKeyNr(), n.mKey % 12)) ? 1 : 0;
            }
    }
    EXPECT_GE(played * 10, chords * 8) << played << " of " << chords << " chords get a note on their first beat";
    EXPECT_GE(tones * 10, played * 9) << tones << " chord tones of " << played;
    EXPECT_GT(roots * 2, played) << roots << " roots of " << played;
    EXPECT_GT(midBar, 0);
    EXPECT_EQ(midBarTones, midBar);
}

// An unknown chord name is one line naming the section and the bar.
TEST(SongPerformerBass, UnknownChordNamesTheSectionAndBar)
{
    TSong song = OneSection(2, 50, 50, 0);
    song.mSections[0].mChords = {{0.0, "C", 1, 0}, {4.0, "Hm7", 2, 0}};
    std::string error;
    const auto harmony = BuildSongHarmony(song, {0.0}, "song.toml", error);
    EXPECT_FALSE(harmony);
    EXPECT_EQ(error, "song.toml:0: section 'A' bar 2: 'Hm7' is not a chord name (write e.g. C, Am7, F#m7b5, G/B)");
}
