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

// Opens the FluidSynth library `library` (a name the dynamic loader looks
// up, or a path) and looks up every function the preview calls; a complete
// library stays loaded. RenderWav does this once, on its first call, with
// libfluidsynth.so.3 or else libfluidsynth.so, so that zkgen starts without
// loading FluidSynth. On failure returns false and sets `error` to
// "audio preview needs FluidSynth: apt-get install libfluidsynth3 (<the
// loader's reason>)".
bool LoadFluidSynth(const std::string& library, std::string& error);

// Renders `midiPath` to a 16-bit stereo WAV file at 44100 Hz that lasts the
// song and its tail (see above). The same file and soundfont give the same
// bytes. The result is written beside `wavPath` and renamed over it when
// complete. On failure returns false, leaves `wavPath` as it was and sets
// `error` to one line naming the path and the reason; an empty `soundFont`
// is such a failure, and so is a missing FluidSynth library.
bool RenderWav(const std::string& midiPath, const std::string& wavPath, const std::string& soundFont,
    std::string& error);

} // namespace zkgen::cli
