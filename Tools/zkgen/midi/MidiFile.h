#pragma once

// Standard MIDI Files for a performance: the writer behind the tool's MIDI
// output (the bytes are made here), and a reader through libsmf that turns a
// file back into the same description, for the tests and for checking a
// written file with a second implementation of the format.

#include "Performance.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zkgen::cli {

// Pulses per quarter note of every file the tool writes.
inline constexpr int kMidiPpqn = 960;

// Meta texts (track names, markers) are cut to this many bytes, at a UTF-8
// character boundary: libsmf 1.3 reads a meta event's length as one byte, and
// the files we write must read back.
inline constexpr size_t kMidiMaxMetaText = 127;

// Writes `p` as a Standard MIDI File of type 1 at 960 pulses per quarter note:
// track 1 carries the title, tempo, meter and marker events, then one track per
// TTrack follows. A performance without tempo or meter changes gets 120 bpm and
// 4/4 at beat 0. At one pulse, note-offs come before controllers and those
// before note-ons; otherwise events keep the order they are given in, so the
// same performance always gives the same bytes. Every track ends at the last
// event of the song. The file is written beside `path` and renamed over it
// when complete. On bad values or a failed write returns false, leaves `path`
// as it was and sets `error` to one line naming the path and the reason.
bool WriteMidiFile(const TPerformance& p, const std::string& path, std::string& error);

// One event of a file as stored: its absolute pulse and its bytes (status
// byte first; meta events as FF type length data).
struct TMidiEvent {
    int mTick = 0;
    std::vector<uint8_t> mBytes;
};

// The header values and every track's events in file order, End Of Track
// included.
struct TMidiFileInfo {
    int mFormat = 0;
    int mPpqn = 0;
    std::vector<std::vector<TMidiEvent>> mTracks;
};

// Reads a file's header and events through libsmf. Files libsmf cannot read
// safely (broken chunks, a track without End Of Track, SMPTE time, format 2,
// meta events of 128 bytes or more) are refused with a reason, not passed on.
std::optional<TMidiFileInfo> ReadMidiFileInfo(const std::string& path, std::string& error);

// Reads a file into a performance: beats are pulses / ppqn; tempos, meters and
// markers are collected from all tracks; the first track's name is the title;
// notes pair each note-on with the next note-off of its channel and key (a
// note-on of velocity 0 ends a note too); a note left open ends with its track.
// The first track becomes a TTrack only if it holds notes or controllers.
std::optional<TPerformance> ReadMidiFile(const std::string& path, std::string& error);

// Seconds from the song start to the last event of any track, following the
// file's tempo changes (120 bpm until the first one).
double MidiFileSeconds(const TMidiFileInfo& info);

// Files are made beside their target and renamed over it only when complete,
// so that a failed write never leaves a damaged file behind. Creates an empty,
// unused temporary file in the target's folder; on failure sets `reason`.
bool CreateTempFileBeside(const std::string& target, std::string& tempPath, std::string& reason);

// Flushes `tempPath` to disk and renames it to `target`; removes it on failure.
bool ReplaceWithTempFile(const std::string& tempPath, const std::string& target, std::string& reason);

} // namespace zkgen::cli
