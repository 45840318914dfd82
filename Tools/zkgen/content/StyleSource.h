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
//   include-scripts = ["drum-helpers"]   # global scripts of the manifest's [scripts]
//   { key = "phrase", class = "Lua", script = "drums/phrase.lua", inputs-count = 2 }
//
// A class is named with or without its "CGenGFModule" prefix. `inputs` set
// port values by port key (numbers, booleans, strings); `state` sets state
// keys; `ranges`, `bins`/`regex`, `port-class`, `inputs-count` and
// `outputs-count` set up switches, multiplexers, splitters and script
// modules; `script` names the Lua file of a script module (its body: it
// reads inputs[n] and writes outputs[n]), whose mistakes are reported with
// the script's file and line. A range is
// [min, max]; either bound may be "none".

#include <functional>
#include <memory>
#include <optional>
#include <string>

class CGenStyle;

namespace zkgen::cli {

// Reads a file that a style names (a script), relative to the content
// folder; nullopt with `error` set when it can't.
using TStyleFileReader = std::function<std::optional<std::string>(const std::string& file, std::string& error)>;

// Reads a style file into `style` (name, identifier, graphs and included
// scripts). Throws TContentError with the file and line of a mistake.
// Without a reader, a script file is a mistake.
void ParseStyleSource(const std::string& text, const std::string& fileName, CGenStyle& style,
    const TStyleFileReader& readFile = {});

} // namespace zkgen::cli
