#pragma once

#include <CLI/CLI.hpp>

namespace zkgen::cli {

// Registers "inst resolve EXPR", "inst tree [PATH]" and "inst convert UID
// [--mapping mb3|ctrl|KEY]" for content authors; a failing command prints its
// reason to stderr and sets `exitCode` to 1.
void AddInstCommands(CLI::App& app, int& exitCode);

} // namespace zkgen::cli
