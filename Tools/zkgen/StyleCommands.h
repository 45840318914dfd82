#pragma once

#include <CLI/CLI.hpp>

namespace zkgen::cli {

// Registers "style dump FILE [--dot]": prints the graphs of a style file as
// an indented tree of modules (ports, values, connections, state), or as
// Graphviz with --dot. A file that can't be read prints a one-line reason
// to stderr and sets `exitCode` to 1.
void AddStyleCommands(CLI::App& app, int& exitCode);

} // namespace zkgen::cli
