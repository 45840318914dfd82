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
// Grid and phrase files are described in GridPatterns.h, style files in
// StyleSource.h. Paths are relative to the source folder.

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
