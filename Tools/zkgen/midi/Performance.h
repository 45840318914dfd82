#pragma once

// A performance as the tool writes it: plain MIDI-level data in beats (quarter
// notes from the song start), independent of the engine's event classes, so
// that the file writer, the reader used by the tests and the audio preview
// share one description.

#include <cstdint>
#include <string>
#include <vector>

namespace zkgen::cli {

struct TTempoChange {
    double mBeat = 0.0;
    double mBpm = 120.0; // quarter notes per minute
};

struct TMeterChange {
    double mBeat = 0.0;
    int mNumerator = 4;
    int mDenominator = 4; // a power of two
};

struct TMarker {
    double mBeat = 0.0;
    std::string mText;
};

struct TNote {
    double mBeat = 0.0;
    double mLength = 0.0; // beats; the note-off comes at mBeat + mLength
    uint8_t mChannel = 9; // 0..15; 9 is the General MIDI drum channel
    uint8_t mKey = 0;
    uint8_t mVelocity = 100; // 1..127
};

struct TController {
    double mBeat = 0.0;
    uint8_t mChannel = 9;
    uint8_t mNumber = 0;
    uint8_t mValue = 0;
};

struct TTrack {
    std::string mName;
    // A General MIDI program (0..127) sent on mProgramChannel at the start;
    // -1 for none (drums need none).
    int mProgram = -1;
    uint8_t mProgramChannel = 0;
    std::vector<TNote> mNotes;
    std::vector<TController> mControllers;
};

struct TPerformance {
    std::string mTitle;
    std::vector<TTempoChange> mTempos;  // sorted by beat; the first at beat 0
    std::vector<TMeterChange> mMeters;  // sorted by beat; the first at beat 0
    std::vector<TMarker> mMarkers;      // sorted by beat
    std::vector<TTrack> mTracks;
};

} // namespace zkgen::cli
