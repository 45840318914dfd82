#pragma once

namespace CLI {
class App;
}

// Registers "inst resolve EXPR", "inst tree [PATH]" and "inst convert UID"
// for content authors; a failing command sets `exitCode` to 1.
void AddInstCommands(CLI::App& app, int& exitCode);
