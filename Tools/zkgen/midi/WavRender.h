#pragma once

// An audio preview of a MIDI file: rendered with FluidSynth and a General MIDI
// soundfont into a WAV file, faster than real time.

#include <string>

namespace zkgen::cli {

// Sample rate of the rendered preview.
inline constexpr int kPreviewSampleRate = 44100;

// Seconds rendered at least after the song's last event, so that cymbals
// and reverb ring out instead of being cut; longer while sounds still ring,
// up to kPreviewMaxRingSeconds.
inline constexpr double kPreviewTailSeconds = 2.0;
inline constexpr double kPreviewMaxRingSeconds = 20.0;

// The first existing file of: $ZKGEN_SOUNDFONT,
// /usr/share/sounds/sf2/FluidR3_GM.sf2, /usr/share/sounds/sf2/TimGM6mb.sf2,
// /usr/share/sounds/sf2/default-GM.sf2; empty if there is none.
std::string FindGeneralMidiSoundFont();

// Renders `midiPath` to a 16-bit stereo WAV file at 44100 Hz that lasts the
// song and its tail (see above). The same file and soundfont give the same
// bytes. The result is written beside `wavPath` and renamed over it when
// complete. On failure returns false, leaves `wavPath` as it was and sets
// `error` to one line naming the path and the reason; an empty `soundFont`
// is such a failure.
bool RenderWav(const std::string& midiPath, const std::string& wavPath, const std::string& soundFont,
    std::string& error);

} // namespace zkgen::cli
