#pragma once

// Style files: TOML that describes a style's graphs.
//
//   name = "Demo"
//   id = "demo-drums"                   # the style's identifier, fixed so builds repeat
//
//   [graphs.accent-family]              # accent-family accent-addon system fill
//   modules = [                         # percussion global global-to-merged
//     { key = "provider", class = "PatternProbProvider" },
//     { key = "band", class = "ValueSwitch", ranges = [[0, 35], [35, 70], [70, 100]] },
//     { key = "name", class = "FilterPatternName",
//       inputs = { inputFilterString = "^fam", inputMatchingFactor = 2 } },
//     { key = "mux", class = "Multiplexer", port-class = "CGenGFPortPatternAndProbs", inputs-count = 3 },
//     { key = "sw", class = "StringSwitch", bins = [["verse"], ["chorus", "bridge"]], regex = false },
//     { key = "log", class = "Log", state = { someStateKey = 1 } },
//   ]
//   connections = [
//     "provider.outputPatterns -> band.inputPatterns",
//   ]
//
// A class is named with or without its "CGenGFModule" prefix. `inputs` set
// port values by port key (numbers, booleans, strings); `state` sets state
// keys; `ranges`, `bins`/`regex`, `port-class`, `inputs-count` and
// `outputs-count` set up switches, multiplexers and splitters. A range is
// [min, max]; either bound may be "none".

#include <memory>
#include <string>

class CGenStyle;

namespace zkgen::cli {

// Reads a style file into `style` (name, identifier and graphs). Throws
// TContentError with the file and line of a mistake.
void ParseStyleSource(const std::string& text, const std::string& fileName, CGenStyle& style);

} // namespace zkgen::cli
