// The song file of zkgen generate: TOML read into sections. Whatever reads
// must hold values the performer can play without checking them again; a
// refused text must say why. The same bytes also go to the time-signature
// reader alone, which the command line uses for its own option.

#include "FuzzSupport.h"

#include "song/SongFile.h"
#include "song/SongHarmony.h"

#include <set>

namespace {

void CheckSignature(const zkgen::cli::TSongTimeSignature& signature, const char* what)
{
    const int d = signature.mDenominator;
    if (signature.mNumerator < 1 || signature.mNumerator > 64)
        zkfuzz::Fail(what);
    if (d != 1 && d != 2 && d != 4 && d != 8 && d != 16 && d != 32)
        zkfuzz::Fail(what);
    // The exponent the engine is given must name the same denominator.
    if ((1 << signature.DenominatorExponent()) != d)
        zkfuzz::Fail("a time signature's denominator has no exponent of its own");
}

bool IsTempo(double bpm) { return bpm >= 10.0 && bpm <= 999.0; }

void CheckSong(const zkgen::cli::TSong& song)
{
    if (song.mGenre.empty())
        zkfuzz::Fail("a song has an empty genre");
    if (!IsTempo(song.mTempo))
        zkfuzz::Fail("a song's tempo lies outside 10..999");
    CheckSignature(song.mTimeSignature, "a song's time signature is out of range");
    if (song.mSections.empty())
        zkfuzz::Fail("a song reads without sections");
    std::set<std::string> names;
    for (const zkgen::cli::TSongSection& section : song.mSections) {
        if (section.mName.empty())
            zkfuzz::Fail("a section reads without a name");
        if (!names.insert(section.mName).second)
            zkfuzz::Fail("two sections read with one name");
        if (section.mBars < 1 || section.mBars > 10000)
            zkfuzz::Fail("a section's bars lie outside 1..10000");
        if (section.mTempoScale != 0.5 && section.mTempoScale != 1.0 && section.mTempoScale != 2.0)
            zkfuzz::Fail("a section's tempo scale is not 0.5, 1 or 2");
        if (section.mTempo && !IsTempo(*section.mTempo))
            zkfuzz::Fail("a section's tempo lies outside 10..999");
        if (section.mTimeSignature)
            CheckSignature(*section.mTimeSignature, "a section's time signature is out of range");
        if (section.mStyle < -1)
            zkfuzz::Fail("a section's style index is negative");
        for (const auto& [key, value] : section.mControls)
            if (!(value >= 0.0 && value <= 100.0))
                zkfuzz::Fail("a section's control lies outside 0..100");
        double last = -1.0;
        for (const zkgen::cli::TSongChord& chord : section.mChords) {
            if (!(chord.mBeat > last) || chord.mBar < 1 || chord.mBar > section.mBars)
                zkfuzz::Fail("a section's chords don't rise through its bars");
            last = chord.mBeat;
        }
        if (!section.mChords.empty() && !section.mKey)
            zkfuzz::Fail("a section with chords reads without a key");
    }

    // The harmony the players read: chords by name, keys at the sections.
    std::vector<double> starts;
    double start = 0.0;
    zkgen::cli::TSongTimeSignature signature = song.mTimeSignature;
    for (const zkgen::cli::TSongSection& section : song.mSections) {
        starts.push_back(start);
        if (section.mTimeSignature)
            signature = *section.mTimeSignature;
        start += section.mBars * signature.BarLength();
    }
    std::string error;
    const auto harmony = zkgen::cli::BuildSongHarmony(song, starts, "fuzz.toml", error);
    if (!harmony && error.empty())
        zkfuzz::Fail("a song's harmony is refused without a message");
    if (harmony)
        for (size_t i = 1; i < harmony->mChords.size(); ++i)
            if (!(harmony->mChords[i - 1].mBeatPosAbs < harmony->mChords[i].mBeatPosAbs))
                zkfuzz::Fail("a song's chords don't rise");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);

    std::string error;
    if (const std::optional<zkgen::cli::TSong> song = zkgen::cli::ParseSongText(text, "fuzz.toml", error))
        CheckSong(*song);
    else if (error.empty())
        zkfuzz::Fail("a song is refused without a message");

    error.clear();
    if (const auto signature = zkgen::cli::ParseTimeSignatureText(text, error))
        CheckSignature(*signature, "a time signature reads out of range");
    else if (error.empty())
        zkfuzz::Fail("a time signature is refused without a message");
    return 0;
}
