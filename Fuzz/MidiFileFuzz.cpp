// A Standard MIDI File read back by the tool, through its structure check
// and libsmf. libsmf asserts on some damaged files, so the check must keep
// every such file from it: an abort here is a fault of the check. What
// reads must describe a file the tool can write again, and that file must
// read as the same performance in number of tracks, notes and meta events.

#include "FuzzSupport.h"

#include "midi/MidiFile.h"

#include <cmath>

namespace {

// The writer syncs its file to disk before renaming it into place; with a
// disk-backed $TMPDIR that sync took nine tenths of every run. Its copy goes
// to a folder in memory where there is one.
class WrittenFolder {
public:
    static const std::filesystem::path& Path()
    {
        static const WrittenFolder folder;
        return folder.mPath;
    }

private:
    WrittenFolder()
    {
        std::error_code ec;
        const std::filesystem::path memory("/dev/shm");
        if (std::filesystem::is_directory(memory, ec)) {
            std::string name("zkgen_fuzz_");
            name += std::to_string(::getpid());
            mPath = memory / name;
            std::filesystem::create_directories(mPath, ec);
            mOwn = !ec;
        }
        if (!mOwn)
            mPath = zkfuzz::ScratchFolder::Path();
    }
    ~WrittenFolder()
    {
        std::error_code ec;
        if (mOwn)
            std::filesystem::remove_all(mPath, ec);
    }
    std::filesystem::path mPath;
    bool mOwn = false;
};

void CheckInfo(const zkgen::cli::TMidiFileInfo& info)
{
    if (info.mFormat != 0 && info.mFormat != 1)
        zkfuzz::Fail("a MIDI file reads with a format other than 0 or 1");
    if (info.mPpqn <= 0)
        zkfuzz::Fail("a MIDI file reads without pulses per quarter note");
    if (info.mTracks.empty())
        zkfuzz::Fail("a MIDI file reads without tracks");
    for (const auto& track : info.mTracks) {
        int last = 0;
        for (const zkgen::cli::TMidiEvent& event : track) {
            if (event.mTick < last)
                zkfuzz::Fail("a MIDI track's events go back in time");
            last = event.mTick;
            if (event.mBytes.empty() || event.mBytes.front() < 0x80)
                zkfuzz::Fail("a MIDI event reads without its status byte");
        }
    }
    const double seconds = zkgen::cli::MidiFileSeconds(info);
    if (!(std::isfinite(seconds) && seconds >= 0.0))
        zkfuzz::Fail("a MIDI file lasts no number of seconds");
}

size_t NoteCount(const zkgen::cli::TPerformance& p)
{
    size_t n = 0;
    for (const zkgen::cli::TTrack& track : p.mTracks)
        n += track.mNotes.size();
    return n;
}

// The writer refuses values no file holds (a tempo above 1000 bpm, say);
// what it writes must read again.
void WriteAgain(const zkgen::cli::TPerformance& p)
{
    const std::string path = (WrittenFolder::Path() / "again.mid").string();
    std::string error;
    if (!zkgen::cli::WriteMidiFile(p, path, error))
        return;
    const std::optional<zkgen::cli::TPerformance> back = zkgen::cli::ReadMidiFile(path, error);
    if (!back)
        zkfuzz::Fail("a MIDI file the tool wrote doesn't read");
    // The writer adds 120 bpm and 4/4 at the start when none are given.
    const size_t tempos = p.mTempos.empty() ? 1 : p.mTempos.size();
    const size_t meters = p.mMeters.empty() ? 1 : p.mMeters.size();
    if (back->mTracks.size() != p.mTracks.size() || NoteCount(*back) != NoteCount(p)
        || back->mTempos.size() != tempos || back->mMeters.size() != meters
        || back->mMarkers.size() != p.mMarkers.size() || back->mTitle != p.mTitle)
        zkfuzz::Fail("a MIDI file the tool wrote reads as another performance");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string path = (zkfuzz::ScratchFolder::Path() / "fuzz.mid").string();
    zkfuzz::WriteFile(path, data, size);

    std::string error;
    const std::optional<zkgen::cli::TMidiFileInfo> info = zkgen::cli::ReadMidiFileInfo(path, error);
    if (!info) {
        if (error.empty())
            zkfuzz::Fail("a MIDI file is refused without a message");
        return 0;
    }
    CheckInfo(*info);
    const std::optional<zkgen::cli::TPerformance> performance = zkgen::cli::ReadMidiFile(path, error);
    if (!performance)
        zkfuzz::Fail("a MIDI file's events read but its performance doesn't");
    WriteAgain(*performance);
    return 0;
}
