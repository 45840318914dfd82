#include "TestSupport/TempDir.h"

#include "midi/MidiFile.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

using namespace zkgen::cli;
namespace fs = std::filesystem;

namespace {

using TBytes = std::vector<uint8_t>;

// Two bars: 4/4 at 120 bpm, then 7/8 at 150 bpm from beat 4. The notes are
// given out of time order on purpose; the writer sorts them.
TPerformance MakeGroove()
{
    TPerformance p;
    p.mTitle = "Groove";
    p.mTempos = {{0.0, 120.0}, {4.0, 150.0}};
    p.mMeters = {{0.0, 4, 4}, {4.0, 7, 8}};
    p.mMarkers = {{0.0, "Intro"}, {4.0, "Verse"}};
    TTrack drums;
    drums.mName = "Drums";
    drums.mNotes = {
        {4.0, 1.0, 9, 36, 127},  // kick
        {0.0, 0.25, 9, 36, 100}, // kick
        {1.5, 0.5, 9, 42, 80},   // hi-hat, with the openness controller at the same beat
        {0.25, 0.25, 9, 42, 60}, // hi-hat starting where the first kick ends
        {1.0, 0.0, 9, 38, 90},   // snare of no length: gets one pulse
    };
    drums.mControllers = {{1.5, 9, 4, 90}};
    p.mTracks.push_back(drums);
    return p;
}

TBytes ReadBytes(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return TBytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteBytes(const fs::path& path, const TBytes& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

TBytes Text(const std::string& text)
{
    return TBytes(text.begin(), text.end());
}

TBytes Cat(std::initializer_list<TBytes> parts)
{
    TBytes all;
    for (const TBytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

// A file with the given header values and track bodies (events after the
// chunk header).
TBytes Smf(int format, int division, const std::vector<TBytes>& tracks)
{
    TBytes file = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, uint8_t(format), 0, uint8_t(tracks.size()),
        uint8_t(division >> 8), uint8_t(division & 0xFF)};
    for (const TBytes& body : tracks) {
        const size_t n = body.size();
        file.insert(file.end(), {'M', 'T', 'r', 'k', uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)});
        file.insert(file.end(), body.begin(), body.end());
    }
    return file;
}

std::vector<std::string> FolderEntries(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

// ---------------------------------------------------------------------------

TEST(MidiFileWrite, WritesExactBytes)
{
    zkgtest::TempDir dir;
    const std::string path = (dir.Path() / "groove.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeGroove(), path, error)) << error;

    // Pulses at 960 per quarter: beat 0.25 -> 240, 1.0 -> 960, 1.5 -> 1440,
    // 2.0 -> 1920, 4.0 -> 3840, 5.0 -> 4800 (the end of the song).
    // Delta times as variable-length quantities: 240 = 1*128+112 -> 81 70,
    // 480 = 3*128+96 -> 83 60, 479 -> 83 5F, 960 = 7*128+64 -> 87 40,
    // 1920 = 15*128 -> 8F 00, 3840 = 30*128 -> 9E 00.
    // Tempos: 60e6/120 = 500000 = 0x07A120, 60e6/150 = 400000 = 0x061A80.
    // Meters: 4/4 -> 04 02 (2^2), 7/8 -> 07 03 (2^3), then 24 clocks, 8 32nds.
    const TBytes conductor = Cat({
        {0x00, 0xFF, 0x03, 0x06}, Text("Groove"),         // 10 bytes
        {0x00, 0xFF, 0x58, 0x04, 0x04, 0x02, 0x18, 0x08}, // 8
        {0x00, 0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20},       // 7
        {0x00, 0xFF, 0x06, 0x05}, Text("Intro"),          // 9
        {0x9E, 0x00, 0xFF, 0x58, 0x04, 0x07, 0x03, 0x18, 0x08}, // 9, at 3840
        {0x00, 0xFF, 0x51, 0x03, 0x06, 0x1A, 0x80},       // 7
        {0x00, 0xFF, 0x06, 0x05}, Text("Verse"),          // 9
        {0x87, 0x40, 0xFF, 0x2F, 0x00},                   // 5, End Of Track at 4800
    }); // 64 bytes
    // Channel 9: note-on 0x99, note-off 0x89 with velocity 0x40, controller
    // 0xB9. Keys 36 = 0x24, 38 = 0x26, 42 = 0x2A; velocities 100 = 0x64,
    // 60 = 0x3C, 90 = 0x5A, 80 = 0x50, 127 = 0x7F.
    const TBytes drums = Cat({
        {0x00, 0xFF, 0x03, 0x05}, Text("Drums"), // 9
        {0x00, 0x99, 0x24, 0x64},                // 0: kick on
        {0x81, 0x70, 0x89, 0x24, 0x40},          // 240: kick off before ...
        {0x00, 0x99, 0x2A, 0x3C},                // 240: ... the hi-hat's note-on
        {0x81, 0x70, 0x89, 0x2A, 0x40},          // 480
        {0x83, 0x60, 0x99, 0x26, 0x5A},          // 960: snare on
        {0x01, 0x89, 0x26, 0x40},                // 961: one pulse later
        {0x83, 0x5F, 0xB9, 0x04, 0x5A},          // 1440: controller 4 before ...
        {0x00, 0x99, 0x2A, 0x50},                // 1440: ... its note
        {0x83, 0x60, 0x89, 0x2A, 0x40},          // 1920
        {0x8F, 0x00, 0x99, 0x24, 0x7F},          // 3840
        {0x87, 0x40, 0x89, 0x24, 0x40},          // 4800
        {0x00, 0xFF, 0x2F, 0x00},                // 4800
    }); // 64 bytes
    // Header: type 1, two tracks, 960 = 0x03C0 pulses per quarter.
    const TBytes expected = Smf(1, 960, {conductor, drums});
    ASSERT_EQ(expected.size(), 158u); // 14 + (8 + 64) + (8 + 64)
    EXPECT_EQ(ReadBytes(path), expected);
}

TEST(MidiFileWrite, SamePerformanceGivesSameBytes)
{
    zkgtest::TempDir dir;
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeGroove(), (dir.Path() / "a.mid").string(), error)) << error;
    ASSERT_TRUE(WriteMidiFile(MakeGroove(), (dir.Path() / "b.mid").string(), error)) << error;
    const TBytes a = ReadBytes(dir.Path() / "a.mid");
    EXPECT_FALSE(a.empty());
    EXPECT_EQ(a, ReadBytes(dir.Path() / "b.mid"));
}

TEST(MidiFileWrite, EmptyPerformanceGetsDefaultTempoAndMeter)
{
    zkgtest::TempDir dir;
    const std::string path = (dir.Path() / "empty.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(TPerformance{}, path, error)) << error;
    const auto info = ReadMidiFileInfo(path, error);
    ASSERT_TRUE(info) << error;
    // A lone conductor track still makes a type 1 file.
    EXPECT_EQ(info->mFormat, 1);
    EXPECT_EQ(info->mPpqn, 960);
    ASSERT_EQ(info->mTracks.size(), 1u);
    const std::vector<TMidiEvent>& events = info->mTracks[0];
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0].mBytes, TBytes({0xFF, 0x58, 0x04, 4, 2, 24, 8}));   // 4/4
    EXPECT_EQ(events[1].mBytes, TBytes({0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20})); // 500000 us = 120 bpm
    EXPECT_EQ(events[2].mBytes, TBytes({0xFF, 0x2F, 0x00}));
}

TEST(MidiFileWrite, CutsLongTextsAtACharacterBoundary)
{
    zkgtest::TempDir dir;
    const std::string path = (dir.Path() / "texts.mid").string();
    TPerformance p;
    p.mTitle = std::string(126, 'a') + "\xC3\xA9" + "b"; // 'é' spans bytes 126 and 127
    p.mMarkers = {{0.0, std::string(200, 'm')}};
    std::string error;
    ASSERT_TRUE(WriteMidiFile(p, path, error)) << error;
    const auto back = ReadMidiFile(path, error);
    ASSERT_TRUE(back) << error;
    // A cut at 127 bytes would split 'é', so the title keeps 126 bytes.
    EXPECT_EQ(back->mTitle, std::string(126, 'a'));
    ASSERT_EQ(back->mMarkers.size(), 1u);
    EXPECT_EQ(back->mMarkers[0].mText, std::string(127, 'm'));
}

TEST(MidiFileWrite, RefusesInvalidValuesAndKeepsTheExistingFile)
{
    struct TCase {
        const char* mExpected;
        void (*mBreak)(TPerformance&);
    };
    const TCase cases[] = {
        {"track 1 \"Drums\", note 2: channel 16 is outside 0..15",
            [](TPerformance& p) { p.mTracks[0].mNotes[1].mChannel = 16; }},
        {"velocity 0 is outside 1..127", [](TPerformance& p) { p.mTracks[0].mNotes[0].mVelocity = 0; }},
        {"velocity 128 is outside 1..127", [](TPerformance& p) { p.mTracks[0].mNotes[0].mVelocity = 128; }},
        {"key 128 is outside 0..127", [](TPerformance& p) { p.mTracks[0].mNotes[0].mKey = 128; }},
        {"length nan is not a number", [](TPerformance& p) { p.mTracks[0].mNotes[0].mLength = std::nan(""); }},
        {"beat -1 is not a position", [](TPerformance& p) { p.mTracks[0].mNotes[0].mBeat = -1.0; }},
        {"beat inf is not a position",
            [](TPerformance& p) { p.mTracks[0].mNotes[0].mBeat = std::numeric_limits<double>::infinity(); }},
        {"beat 1e+06 lies beyond", [](TPerformance& p) { p.mTracks[0].mNotes[0].mBeat = 1e6; }},
        {"controller event 1: channel 16", [](TPerformance& p) { p.mTracks[0].mControllers[0].mChannel = 16; }},
        {"controller number 128", [](TPerformance& p) { p.mTracks[0].mControllers[0].mNumber = 128; }},
        {"value 200 is outside 0..127", [](TPerformance& p) { p.mTracks[0].mControllers[0].mValue = 200; }},
        {"meter change 2: denominator 3 is not a power of two", [](TPerformance& p) { p.mMeters[1].mDenominator = 3; }},
        {"denominator 128 is not a power of two", [](TPerformance& p) { p.mMeters[1].mDenominator = 128; }},
        {"denominator 0 is not a power of two", [](TPerformance& p) { p.mMeters[1].mDenominator = 0; }},
        {"numerator 0 is outside 1..255", [](TPerformance& p) { p.mMeters[0].mNumerator = 0; }},
        {"numerator 256 is outside 1..255", [](TPerformance& p) { p.mMeters[0].mNumerator = 256; }},
        {"tempo change 1: 0 bpm is outside (0, 1000]", [](TPerformance& p) { p.mTempos[0].mBpm = 0.0; }},
        {"1000.5 bpm is outside (0, 1000]", [](TPerformance& p) { p.mTempos[1].mBpm = 1000.5; }},
        {"-60 bpm is outside", [](TPerformance& p) { p.mTempos[1].mBpm = -60.0; }},
        // 60e6 / 3 = 20000000 us > 0xFFFFFF = 16777215.
        {"3 bpm is slower than a MIDI file holds", [](TPerformance& p) { p.mTempos[1].mBpm = 3.0; }},
        {"marker 2: beat -0.5", [](TPerformance& p) { p.mMarkers[1].mBeat = -0.5; }},
    };

    zkgtest::TempDir dir;
    const fs::path path = dir.Path() / "song.mid";
    const TBytes old = Text("an older file");
    for (const TCase& c : cases) {
        SCOPED_TRACE(c.mExpected);
        WriteBytes(path, old);
        TPerformance p = MakeGroove();
        c.mBreak(p);
        std::string error;
        EXPECT_FALSE(WriteMidiFile(p, path.string(), error));
        EXPECT_EQ(error.rfind(std::string("cannot write ") + path.string() + ": ", 0), 0u) << error;
        EXPECT_NE(error.find(c.mExpected), std::string::npos) << error;
        EXPECT_EQ(ReadBytes(path), old);
        EXPECT_EQ(FolderEntries(dir.Path()), std::vector<std::string>{"song.mid"});
    }

    // At the limits the values are fine: 1000 bpm, 64ths, 255 beats per bar,
    // velocity 1 and 127, channel 15.
    TPerformance p = MakeGroove();
    p.mTempos[1].mBpm = 1000.0;
    p.mMeters[1] = {4.0, 255, 64};
    p.mTracks[0].mNotes[0].mVelocity = 1;
    p.mTracks[0].mNotes[1].mChannel = 15;
    std::string error;
    EXPECT_TRUE(WriteMidiFile(p, path.string(), error)) << error;
}

TEST(MidiFileWrite, FailedWriteNamesThePathAndLeavesNothingBehind)
{
    zkgtest::TempDir dir;
    std::string error;

    // A folder that is a regular file cannot hold the new file.
    WriteBytes(dir.Path() / "plain.txt", Text("x"));
    const std::string underFile = (dir.Path() / "plain.txt" / "song.mid").string();
    EXPECT_FALSE(WriteMidiFile(MakeGroove(), underFile, error));
    EXPECT_EQ(error, std::string("cannot write ") + underFile + ": Not a directory");

    const std::string missingFolder = (dir.Path() / "missing" / "song.mid").string();
    EXPECT_FALSE(WriteMidiFile(MakeGroove(), missingFolder, error));
    EXPECT_EQ(error, std::string("cannot write ") + missingFolder + ": No such file or directory");

    // A folder in the way is kept, with its content.
    fs::create_directory(dir.Path() / "taken.mid");
    WriteBytes(dir.Path() / "taken.mid" / "inside", Text("kept"));
    const std::string taken = (dir.Path() / "taken.mid").string();
    EXPECT_FALSE(WriteMidiFile(MakeGroove(), taken, error));
    EXPECT_EQ(error, std::string("cannot write ") + taken + ": Is a directory");
    EXPECT_EQ(ReadBytes(dir.Path() / "taken.mid" / "inside"), Text("kept"));

    EXPECT_EQ(FolderEntries(dir.Path()), (std::vector<std::string>{"plain.txt", "taken.mid"}));

    // Permissions stop only an unprivileged user.
    if (::geteuid() != 0) {
        fs::create_directory(dir.Path() / "locked");
        WriteBytes(dir.Path() / "locked" / "song.mid", Text("old"));
        fs::permissions(dir.Path() / "locked", fs::perms::owner_read | fs::perms::owner_exec);
        const std::string locked = (dir.Path() / "locked" / "song.mid").string();
        EXPECT_FALSE(WriteMidiFile(MakeGroove(), locked, error));
        EXPECT_EQ(error, std::string("cannot write ") + locked + ": Permission denied");
        EXPECT_EQ(ReadBytes(locked), Text("old"));
        fs::permissions(dir.Path() / "locked", fs::perms::owner_all);
    }
}

TEST(MidiFileWrite, ReplacesAnExistingFile)
{
    zkgtest::TempDir dir;
    const fs::path path = dir.Path() / "song.mid";
    WriteBytes(path, Text("an older file"));
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeGroove(), path.string(), error)) << error;
    EXPECT_EQ(ReadBytes(path).size(), 158u); // see WritesExactBytes
    EXPECT_EQ(FolderEntries(dir.Path()), std::vector<std::string>{"song.mid"});
}

// ---------------------------------------------------------------------------

TEST(MidiFileRead, ReadsTheWrittenPerformanceBack)
{
    zkgtest::TempDir dir;
    const std::string path = (dir.Path() / "groove.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeGroove(), path, error)) << error;

    const auto info = ReadMidiFileInfo(path, error);
    ASSERT_TRUE(info) << error;
    EXPECT_EQ(info->mFormat, 1);
    EXPECT_EQ(info->mPpqn, 960);
    ASSERT_EQ(info->mTracks.size(), 2u);
    // At pulse 1440 (beat 1.5 * 960) the controller precedes the note-on.
    const std::vector<TMidiEvent>& drums = info->mTracks[1];
    ASSERT_EQ(drums.size(), 13u);
    EXPECT_EQ(drums[7].mTick, 1440);
    EXPECT_EQ(drums[7].mBytes, TBytes({0xB9, 4, 90}));
    EXPECT_EQ(drums[8].mTick, 1440);
    EXPECT_EQ(drums[8].mBytes, TBytes({0x99, 42, 80}));
    EXPECT_EQ(drums[12].mTick, 4800); // End Of Track at beat 5
    EXPECT_EQ(drums[12].mBytes, TBytes({0xFF, 0x2F, 0x00}));

    const auto p = ReadMidiFile(path, error);
    ASSERT_TRUE(p) << error;
    EXPECT_EQ(p->mTitle, "Groove");
    ASSERT_EQ(p->mTempos.size(), 2u);
    EXPECT_EQ(p->mTempos[0].mBeat, 0.0);
    EXPECT_EQ(p->mTempos[0].mBpm, 120.0); // 60e6 / 500000
    EXPECT_EQ(p->mTempos[1].mBeat, 4.0);  // 3840 / 960
    EXPECT_EQ(p->mTempos[1].mBpm, 150.0); // 60e6 / 400000
    ASSERT_EQ(p->mMeters.size(), 2u);
    EXPECT_EQ(p->mMeters[0].mNumerator, 4);
    EXPECT_EQ(p->mMeters[0].mDenominator, 4);
    EXPECT_EQ(p->mMeters[1].mBeat, 4.0);
    EXPECT_EQ(p->mMeters[1].mNumerator, 7);
    EXPECT_EQ(p->mMeters[1].mDenominator, 8);
    ASSERT_EQ(p->mMarkers.size(), 2u);
    EXPECT_EQ(p->mMarkers[0].mBeat, 0.0);
    EXPECT_EQ(p->mMarkers[0].mText, "Intro");
    EXPECT_EQ(p->mMarkers[1].mBeat, 4.0);
    EXPECT_EQ(p->mMarkers[1].mText, "Verse");

    ASSERT_EQ(p->mTracks.size(), 1u); // the conductor holds no notes
    const TTrack& t = p->mTracks[0];
    EXPECT_EQ(t.mName, "Drums");
    // In note-on order; lengths in pulses / 960.
    struct TExpect {
        double mBeat, mLength;
        int mKey, mVelocity;
    };
    const TExpect notes[] = {
        {0.0, 0.25, 36, 100},        // 0..240
        {0.25, 0.25, 42, 60},        // 240..480
        {1.0, 1.0 / 960.0, 38, 90},  // 960..961, the minimum of one pulse
        {1.5, 0.5, 42, 80},          // 1440..1920
        {4.0, 1.0, 36, 127},         // 3840..4800
    };
    ASSERT_EQ(t.mNotes.size(), std::size(notes));
    for (size_t i = 0; i < std::size(notes); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(t.mNotes[i].mBeat, notes[i].mBeat);
        EXPECT_DOUBLE_EQ(t.mNotes[i].mLength, notes[i].mLength);
        EXPECT_EQ(t.mNotes[i].mKey, notes[i].mKey);
        EXPECT_EQ(t.mNotes[i].mVelocity, notes[i].mVelocity);
        EXPECT_EQ(t.mNotes[i].mChannel, 9);
    }
    ASSERT_EQ(t.mControllers.size(), 1u);
    EXPECT_EQ(t.mControllers[0].mBeat, 1.5);
    EXPECT_EQ(t.mControllers[0].mChannel, 9);
    EXPECT_EQ(t.mControllers[0].mNumber, 4);
    EXPECT_EQ(t.mControllers[0].mValue, 90);
}

TEST(MidiFileRead, ReadsFilesOfOtherWriters)
{
    // Type 0 at 480 pulses per quarter with running status, a note-on of
    // velocity 0 as note-off and a note never ended.
    const TBytes track = Cat({
        {0x00, 0xFF, 0x03, 0x01, 'T'},
        {0x00, 0x90, 0x3C, 0x64}, // key 60 on
        {0x00, 0x40, 0x50},       // running status: key 64 on, velocity 80
        {0x83, 0x60, 0x3C, 0x00}, // 480: key 60 off (velocity 0)
        {0x00, 0xB0, 0x07, 0x64}, // 480: controller 7 = 100
        {0x00, 0xFF, 0x2F, 0x00},
    });
    zkgtest::TempDir dir;
    const fs::path path = dir.Path() / "other.mid";
    WriteBytes(path, Smf(0, 480, {track}));
    std::string error;
    const auto p = ReadMidiFile(path.string(), error);
    ASSERT_TRUE(p) << error;
    EXPECT_EQ(p->mTitle, "T");
    EXPECT_TRUE(p->mTempos.empty());
    EXPECT_TRUE(p->mMeters.empty());
    // The only track holds notes, so it is a track as well as the title.
    ASSERT_EQ(p->mTracks.size(), 1u);
    const TTrack& t = p->mTracks[0];
    EXPECT_EQ(t.mName, "T");
    ASSERT_EQ(t.mNotes.size(), 2u);
    EXPECT_EQ(t.mNotes[0].mKey, 60);
    EXPECT_EQ(t.mNotes[0].mChannel, 0);
    EXPECT_EQ(t.mNotes[0].mVelocity, 100);
    EXPECT_EQ(t.mNotes[0].mLength, 1.0); // 480 / 480
    EXPECT_EQ(t.mNotes[1].mKey, 64);
    EXPECT_EQ(t.mNotes[1].mVelocity, 80);
    EXPECT_EQ(t.mNotes[1].mLength, 1.0); // ends with its track at 480
    ASSERT_EQ(t.mControllers.size(), 1u);
    EXPECT_EQ(t.mControllers[0].mBeat, 1.0);
    EXPECT_EQ(t.mControllers[0].mNumber, 7);
    EXPECT_EQ(t.mControllers[0].mValue, 100);
}

TEST(MidiFileRead, PairsNotesOfOneKeyFirstInFirstOut)
{
    TPerformance p;
    TTrack t;
    // Overlapping notes of one key: 0..2 and 1..3 beats.
    t.mNotes = {{0.0, 2.0, 9, 49, 100}, {1.0, 2.0, 9, 49, 50}};
    p.mTracks.push_back(t);
    zkgtest::TempDir dir;
    const std::string path = (dir.Path() / "fifo.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(p, path, error)) << error;
    const auto back = ReadMidiFile(path, error);
    ASSERT_TRUE(back) << error;
    ASSERT_EQ(back->mTracks.size(), 1u);
    ASSERT_EQ(back->mTracks[0].mNotes.size(), 2u);
    EXPECT_EQ(back->mTracks[0].mNotes[0].mVelocity, 100);
    EXPECT_EQ(back->mTracks[0].mNotes[0].mLength, 2.0);
    EXPECT_EQ(back->mTracks[0].mNotes[1].mVelocity, 50);
    EXPECT_EQ(back->mTracks[0].mNotes[1].mLength, 2.0);
}

TEST(MidiFileRead, RefusesBrokenFilesWithAReason)
{
    zkgtest::TempDir dir;
    const TBytes eot = {0x00, 0xFF, 0x2F, 0x00};
    TBytes missingTrack = Smf(1, 960, {eot});
    missingTrack[11] = 2; // declares two tracks, holds one
    struct TCase {
        const char* mName;
        TBytes mBytes;
        const char* mExpected;
    };
    const TCase cases[] = {
        {"text", Text("hello, world"), "not a Standard MIDI File"},
        {"empty", {}, "not a Standard MIDI File"},
        {"smpte", Smf(1, 0xE728, {eot}), "SMPTE time is not supported"},
        {"format2", Smf(2, 960, {eot}), "format 2 is not supported"},
        {"noeot", Smf(1, 960, {{0x00, 0x90, 0x3C, 0x64}}), "track 1: ends without End Of Track"},
        {"emptytrack", Smf(1, 960, {eot, {}}), "track 2: ends without End Of Track"},
        {"nostatus", Smf(1, 960, {Cat({{0x00, 0x3C, 0x64}, eot})}), "data byte without a status byte"},
        {"longmeta", Smf(1, 960, {Cat({{0x00, 0xFF, 0x01, 0x81, 0x00}, TBytes(128, 'x'), eot})}),
            "a meta event of 128 bytes is longer than libsmf reads"},
        {"missingtrack", missingTrack, "declares 2 tracks but holds 1"},
    };
    for (const TCase& c : cases) {
        SCOPED_TRACE(c.mName);
        const fs::path path = dir.Path() / (std::string(c.mName) + ".mid");
        WriteBytes(path, c.mBytes);
        std::string error;
        EXPECT_FALSE(ReadMidiFile(path.string(), error));
        EXPECT_EQ(error.rfind(std::string("cannot read ") + path.string() + ": ", 0), 0u) << error;
        EXPECT_NE(error.find(c.mExpected), std::string::npos) << error;
    }

    std::string error;
    const std::string missing = (dir.Path() / "missing.mid").string();
    EXPECT_FALSE(ReadMidiFile(missing, error));
    EXPECT_EQ(error, std::string("cannot read ") + missing + ": No such file or directory");
    EXPECT_FALSE(ReadMidiFile(dir.Path().string(), error));
    EXPECT_EQ(error, std::string("cannot read ") + dir.Path().string() + ": not a regular file");
}

TEST(MidiFileRead, SurvivesDamagedFiles)
{
    // libsmf aborts the program on some damaged files; none may get to it.
    zkgtest::TempDir dir;
    const fs::path good = dir.Path() / "good.mid";
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeGroove(), good.string(), error)) << error;
    const TBytes bytes = ReadBytes(good);
    const fs::path path = dir.Path() / "damaged.mid";

    // Every cut short file misses part of its last track.
    for (size_t n = 0; n < bytes.size(); ++n) {
        WriteBytes(path, TBytes(bytes.begin(), bytes.begin() + std::ptrdiff_t(n)));
        EXPECT_FALSE(ReadMidiFile(path.string(), error)) << n;
        EXPECT_FALSE(error.empty());
    }
    // Any damaged byte is refused or read; the test gets here either way.
    for (size_t i = 0; i < bytes.size(); ++i) {
        for (uint8_t flip : {uint8_t(0xFF), uint8_t(0x80), uint8_t(0x01)}) {
            TBytes damaged = bytes;
            damaged[i] ^= flip;
            WriteBytes(path, damaged);
            (void)ReadMidiFile(path.string(), error);
        }
    }
}

TEST(MidiFileRead, SecondsFollowTheTempoChanges)
{
    zkgtest::TempDir dir;
    const std::string path = (dir.Path() / "groove.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeGroove(), path, error)) << error;
    const auto info = ReadMidiFileInfo(path, error);
    ASSERT_TRUE(info) << error;
    // Beats 0..4 at 120 bpm: 4 * 0.5 s = 2 s; beats 4..5 at 150 bpm: 0.4 s.
    EXPECT_DOUBLE_EQ(MidiFileSeconds(*info), 2.4);

    // Without a tempo event a file plays at 120 bpm: 3 beats = 1.5 s.
    TMidiFileInfo plain;
    plain.mPpqn = 480;
    plain.mTracks = {{TMidiEvent{1440, {0xFF, 0x2F, 0x00}}}};
    EXPECT_DOUBLE_EQ(MidiFileSeconds(plain), 1.5);
}
