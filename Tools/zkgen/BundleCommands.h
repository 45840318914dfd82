#pragma once

#include <CLI/CLI.hpp>

namespace zkgen::cli {

// Registers "bundle create PATH" (a bundle holding the default genre, a
// drummer without patterns, to start content from), "bundle info PATH"
// (genres, instrument libraries, patterns per graph, styles, pool
// identifiers, values) and "bundle check PATH" (the content's faults and
// every style's graphs; exit 1 on any). A bundle that can't be read or
// written prints a one-line reason to stderr and exits 1.
void AddBundleCommands(CLI::App& app, int& exitCode);

} // namespace zkgen::cli
