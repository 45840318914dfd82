#include "TestSupport/TempDir.h"

#include "midi/MidiFile.h"
#include "midi/WavRender.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

using namespace zkgen::cli;
namespace fs = std::filesystem;

namespace {

using TBytes = std::vector<uint8_t>;

TBytes ReadBytes(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return TBytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteText(const fs::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

uint32_t Le32(const TBytes& b, size_t at)
{
    return uint32_t(b[at]) | (uint32_t(b[at + 1]) << 8) | (uint32_t(b[at + 2]) << 16) | (uint32_t(b[at + 3]) << 24);
}

uint16_t Le16(const TBytes& b, size_t at)
{
    return uint16_t(b[at] | (b[at + 1] << 8));
}

// One bar of 4/4 at 120 bpm: 4 beats * 0.5 s = 2 s, the last note ending at
// beat 4.
TPerformance MakeOneBar()
{
    TPerformance p;
    p.mTitle = "One bar";
    p.mTempos = {{0.0, 120.0}};
    p.mMeters = {{0.0, 4, 4}};
    TTrack drums;
    drums.mName = "Drums";
    for (int beat = 0; beat < 4; ++beat)
        drums.mNotes.push_back({double(beat), 0.25, 9, uint8_t(beat % 2 == 0 ? 36 : 38), 110}); // kick, snare
    for (int eighth = 0; eighth < 8; ++eighth)
        drums.mNotes.push_back({eighth * 0.5, 0.5, 9, 42, 80}); // closed hi-hat
    drums.mNotes.push_back({0.0, 0.5, 9, 49, 120});              // crash
    drums.mNotes.push_back({3.5, 0.5, 9, 49, 120});              // and one ringing past the bar
    p.mTracks.push_back(drums);
    return p;
}

struct TWavInfo {
    uint16_t mFormat = 0;
    uint16_t mChannels = 0;
    uint32_t mRate = 0;
    uint32_t mByteRate = 0;
    uint16_t mBlockAlign = 0;
    uint16_t mBits = 0;
    size_t mDataOffset = 0;
    uint32_t mDataSize = 0;
};

// Walks the RIFF chunks; fails the test on a malformed file.
std::optional<TWavInfo> ParseWav(const TBytes& b)
{
    if (b.size() < 12 || std::memcmp(b.data(), "RIFF", 4) != 0 || std::memcmp(b.data() + 8, "WAVE", 4) != 0) {
        ADD_FAILURE() << "no RIFF/WAVE header";
        return std::nullopt;
    }
    EXPECT_EQ(Le32(b, 4), b.size() - 8); // the RIFF size covers the rest of the file
    TWavInfo info;
    bool fmt = false;
    bool data = false;
    for (size_t at = 12; at + 8 <= b.size();) {
        const uint32_t size = Le32(b, at + 4);
        if (std::memcmp(&b[at], "fmt ", 4) == 0 && size >= 16) {
            info.mFormat = Le16(b, at + 8);
            info.mChannels = Le16(b, at + 10);
            info.mRate = Le32(b, at + 12);
            info.mByteRate = Le32(b, at + 16);
            info.mBlockAlign = Le16(b, at + 20);
            info.mBits = Le16(b, at + 22);
            fmt = true;
        } else if (std::memcmp(&b[at], "data", 4) == 0) {
            info.mDataOffset = at + 8;
            info.mDataSize = size;
            data = true;
        }
        at += 8 + size + (size & 1);
    }
    if (!fmt || !data || info.mDataOffset + info.mDataSize > b.size()) {
        ADD_FAILURE() << "fmt or data chunk missing or cut short";
        return std::nullopt;
    }
    return info;
}

// Largest absolute 16-bit sample among the frames [from, to).
int Peak(const TBytes& b, const TWavInfo& info, size_t from, size_t to)
{
    int peak = 0;
    for (size_t frame = from; frame < to; ++frame) {
        for (int channel = 0; channel < 2; ++channel) {
            const size_t at = info.mDataOffset + frame * 4 + size_t(channel) * 2;
            const int sample = int16_t(Le16(b, at));
            peak = std::max(peak, std::abs(sample));
        }
    }
    return peak;
}

class TEnvGuard {
public:
    explicit TEnvGuard(const char* name) : mName(name)
    {
        if (const char* value = std::getenv(name))
            mOld = value;
    }
    ~TEnvGuard()
    {
        if (mOld)
            ::setenv(mName, mOld->c_str(), 1);
        else
            ::unsetenv(mName);
    }

private:
    const char* mName;
    std::optional<std::string> mOld;
};

} // namespace

TEST(WavRender, RendersOneBarWithTail)
{
    const std::string soundFont = FindGeneralMidiSoundFont();
    if (soundFont.empty())
        GTEST_SKIP() << "no General MIDI soundfont installed";

    zkgtest::TempDir dir;
    const std::string midi = (dir.Path() / "bar.mid").string();
    const std::string wav = (dir.Path() / "bar.wav").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeOneBar(), midi, error)) << error;
    WriteText(wav, "an older preview"); // replaced as a whole
    ASSERT_TRUE(RenderWav(midi, wav, soundFont, error)) << error;

    const TBytes bytes = ReadBytes(wav);
    const auto info = ParseWav(bytes);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->mFormat, 1); // PCM
    EXPECT_EQ(info->mChannels, 2);
    EXPECT_EQ(info->mRate, 44100u);
    EXPECT_EQ(info->mBits, 16);
    EXPECT_EQ(info->mBlockAlign, 4);       // 2 channels * 2 bytes
    EXPECT_EQ(info->mByteRate, 176400u);   // 44100 * 4
    // The bar lasts 2 s and the tail at least 2 s more: 4 s * 176400
    // bytes/s. The crash rings longer in most soundfonts, which the preview
    // follows up to 20 s after the song: 22 s * 176400, plus at most one
    // block of 64 frames * 4 bytes.
    EXPECT_GE(info->mDataSize, 705600u);
    EXPECT_LT(info->mDataSize, 3880800u + 256u);
    EXPECT_EQ(info->mDataSize % 4, 0u);

    // The drums sound during the bar (the first 2 s = 88200 frames), and the
    // last crash, struck at 1.75 s, still rings loudly in the first half
    // second after it (frames 88200 to 110250).
    EXPECT_GT(Peak(bytes, *info, 0, 88200), 1000);
    EXPECT_GT(Peak(bytes, *info, 88200, 110250), 200);

    // Rendering again gives the same bytes.
    const std::string again = (dir.Path() / "again.wav").string();
    ASSERT_TRUE(RenderWav(midi, again, soundFont, error)) << error;
    EXPECT_EQ(ReadBytes(again), bytes);

    // Only the results remain in the folder, no temporary files.
    size_t files = 0;
    for (const auto& entry : fs::directory_iterator(dir.Path())) {
        (void)entry;
        ++files;
    }
    EXPECT_EQ(files, 3u); // bar.mid, bar.wav, again.wav
}

TEST(WavRender, CutsANoteThatNeverEnds)
{
    const std::string soundFont = FindGeneralMidiSoundFont();
    if (soundFont.empty())
        GTEST_SKIP() << "no General MIDI soundfont installed";
    // Type 0 at 480 pulses per quarter: an organ (program 16) note-on on
    // channel 0 without note-off, the track ending at pulse 480.
    const TBytes track = {0x00, 0xC0, 0x10, 0x00, 0x90, 0x3C, 0x64, 0x83, 0x60, 0xFF, 0x2F, 0x00};
    TBytes file = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1, 0x01, 0xE0, 'M', 'T', 'r', 'k', 0, 0, 0,
        uint8_t(track.size())};
    file.insert(file.end(), track.begin(), track.end());
    zkgtest::TempDir dir;
    const fs::path midi = dir.Path() / "stuck.mid";
    std::ofstream(midi, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()), std::streamsize(file.size()));
    const std::string wav = (dir.Path() / "stuck.wav").string();
    std::string error;
    ASSERT_TRUE(RenderWav(midi.string(), wav, soundFont, error)) << error;
    const TBytes bytes = ReadBytes(wav);
    const auto info = ParseWav(bytes);
    ASSERT_TRUE(info);
    // The song lasts 480 pulses = 1 beat = 0.5 s at 120 bpm; the player would
    // wait for the note forever, so the preview stops 20 s later:
    // ceil(20.5 s * 44100) = 904050 frames, rendered in blocks of up to 64.
    EXPECT_GE(info->mDataSize, 904050u * 4u);
    EXPECT_LT(info->mDataSize, (904050u + 64u) * 4u);
}

TEST(WavRender, ReportsMissingInputs)
{
    zkgtest::TempDir dir;
    const std::string midi = (dir.Path() / "bar.mid").string();
    const std::string wav = (dir.Path() / "bar.wav").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeOneBar(), midi, error)) << error;

    EXPECT_FALSE(RenderWav(midi, wav, "", error));
    EXPECT_EQ(error, std::string("cannot write ") + wav
            + ": no General MIDI soundfont: install timgm6mb-soundfont or set ZKGEN_SOUNDFONT");

    const std::string noFont = (dir.Path() / "none.sf2").string();
    EXPECT_FALSE(RenderWav(midi, wav, noFont, error));
    EXPECT_EQ(error, std::string("cannot write ") + wav + ": soundfont " + noFont + " is not a readable file");

    // The MIDI file is checked before FluidSynth sees the soundfont, so any
    // file stands in for one here.
    const std::string fakeFont = (dir.Path() / "fake.sf2").string();
    WriteText(fakeFont, "not a soundfont");
    const std::string missingMidi = (dir.Path() / "missing.mid").string();
    EXPECT_FALSE(RenderWav(missingMidi, wav, fakeFont, error));
    EXPECT_EQ(error,
        std::string("cannot write ") + wav + ": cannot read " + missingMidi + ": No such file or directory");

    const std::string notMidi = (dir.Path() / "text.mid").string();
    WriteText(notMidi, "hello");
    EXPECT_FALSE(RenderWav(notMidi, wav, fakeFont, error));
    EXPECT_NE(error.find("not a Standard MIDI File"), std::string::npos) << error;

    EXPECT_FALSE(fs::exists(wav));
}

TEST(WavRender, ReportsAMissingFluidSynth)
{
    const std::string hint = "audio preview needs FluidSynth: apt-get install libfluidsynth3 (";
    std::string error;

    // No library of that name: the loader's own words follow the hint.
    EXPECT_FALSE(LoadFluidSynth("libzkgen-no-such-synth.so.9", error));
    EXPECT_EQ(error,
        hint + "libzkgen-no-such-synth.so.9: cannot open shared object file: No such file or directory)");

    // A library without FluidSynth's functions fails on the first one looked
    // up; the loader names the library by its full path, which differs
    // between systems.
    error.clear();
    EXPECT_FALSE(LoadFluidSynth("libm.so.6", error));
    EXPECT_EQ(error.rfind(hint, 0), 0u) << error;
    const std::string missing = "libm.so.6: undefined symbol: fluid_set_log_function)";
    ASSERT_GE(error.size(), missing.size()) << error;
    EXPECT_EQ(error.substr(error.size() - missing.size()), missing) << error;

    // The library the preview uses has them all, and the error stays as it
    // was.
    error = "untouched";
    EXPECT_TRUE(LoadFluidSynth("libfluidsynth.so.3", error)) << error;
    EXPECT_EQ(error, "untouched");
}

TEST(WavRender, ReportsBadOutputAndSoundFont)
{
    const std::string soundFont = FindGeneralMidiSoundFont();
    if (soundFont.empty())
        GTEST_SKIP() << "no General MIDI soundfont installed";
    zkgtest::TempDir dir;
    const std::string midi = (dir.Path() / "bar.mid").string();
    std::string error;
    ASSERT_TRUE(WriteMidiFile(MakeOneBar(), midi, error)) << error;

    // A folder that is a regular file cannot hold the preview.
    const std::string underFile = (dir.Path() / "bar.mid" / "bar.wav").string();
    EXPECT_FALSE(RenderWav(midi, underFile, soundFont, error));
    EXPECT_EQ(error, std::string("cannot write ") + underFile + ": Not a directory");

    // A file that is no soundfont fails in FluidSynth, and the old preview
    // stays.
    const std::string fakeFont = (dir.Path() / "fake.sf2").string();
    WriteText(fakeFont, "not a soundfont");
    const std::string wav = (dir.Path() / "bar.wav").string();
    WriteText(wav, "old");
    EXPECT_FALSE(RenderWav(midi, wav, fakeFont, error));
    EXPECT_EQ(error.rfind(std::string("cannot write ") + wav + ": cannot load the soundfont " + fakeFont, 0), 0u)
        << error;
    EXPECT_EQ(ReadBytes(wav), TBytes({'o', 'l', 'd'}));
    size_t files = 0;
    for (const auto& entry : fs::directory_iterator(dir.Path())) {
        (void)entry;
        ++files;
    }
    EXPECT_EQ(files, 3u); // bar.mid, fake.sf2, bar.wav
}

TEST(WavRender, FindsTheSoundFontNamedByTheEnvironment)
{
    TEnvGuard guard("ZKGEN_SOUNDFONT");
    zkgtest::TempDir dir;
    const std::string font = (dir.Path() / "mine.sf2").string();
    WriteText(font, "x");
    ::setenv("ZKGEN_SOUNDFONT", font.c_str(), 1);
    EXPECT_EQ(FindGeneralMidiSoundFont(), font);

    // A variable naming no file falls back to the system's soundfonts.
    ::setenv("ZKGEN_SOUNDFONT", (dir.Path() / "gone.sf2").string().c_str(), 1);
    const std::string found = FindGeneralMidiSoundFont();
    EXPECT_TRUE(found.empty() || found.rfind("/usr/share/sounds/sf2/", 0) == 0) << found;
    ::unsetenv("ZKGEN_SOUNDFONT");
    EXPECT_EQ(FindGeneralMidiSoundFont(), found);
}
