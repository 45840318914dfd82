#pragma once

#include <CLI/CLI.hpp>

namespace zkgen::cli {

// `zkgen content build SRC OUT.glibb`.
void AddContentCommands(CLI::App& app, int& exitCode);

} // namespace zkgen::cli
