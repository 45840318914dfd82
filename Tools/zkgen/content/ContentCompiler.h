#pragma once

// The compiler of readable content sources into a bundle.
//
// A source folder holds "library.toml":
//
//   genre = "DefaultGenre"
//
//   [kit]                       # row names of the grids: instrument path expressions
//   kick = "Drums.Ki.note.s1"
//
//   [drum-map]                  # optional: note numbers where the sound set
//   HiHatOpen = 46              # differs from General MIDI, by kit piece
//
//   [drums]                     # the drummer: its graphs, phrases and styles
//   accent-families = ["drums/families.grid"]
//   accent-addons = ["drums/addons.grid"]
//   systems = ["drums/systems.grid"]
//   fills = ["drums/fills.grid"]
//   percussion = ["drums/percussion.grid"]
//   styles = ["drums/style.toml"]
//   [drums.phrases]             # example phrases that train each graph's edges
//   accent-families = "drums/families.phrases"
//
//   [bass]                      # a bass player: the same keys, its grids
//   accent-families = ["bass/lines.grid"]    # rows of abstract notes
//   styles = ["bass/style.toml"]
//   [bass.phrases]
//   accent-families = "bass/lines.phrases"
//                               # [keys] and [guitar] likewise
//
//   [[grooves]]                 # the genre's grooves, see GrooveSource.h
//   name = "swing 8ths"
//   tracks = [{ type = "All", grid = 0.5, swing = 0.6 }]
//
// Grid and phrase files are described in GridPatterns.h, style files in
// StyleSource.h. Paths are relative to the source folder. Style ids are
// unique across the players: their files share one folder of the bundle.

#include <string>

class CGenGenerator;

namespace zkgen::cli {

// Fills `generator` (which should be empty) from the sources in `sourceDir`.
// Throws TContentError naming the file and line of the first mistake.
void CompileContent(const std::string& sourceDir, CGenGenerator& generator);

// Compiles `sourceDir` and saves the result as a bundle at `bundlePath`
// (replacing a bundle there). The same sources give the same bytes. On
// failure returns false with one line in `error`.
bool BuildContentBundle(const std::string& sourceDir, const std::string& bundlePath, std::string& error);

} // namespace zkgen::cli
