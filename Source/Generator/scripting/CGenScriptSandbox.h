#pragma once

#include <cstddef>
#include <cstdint>

namespace zkgen::lua {

// What a host allows the scripts of untrusted content. With the sandbox on,
// scripts cannot reach files, processes or other modules (io, os.execute,
// os.remove, os.rename, os.tmpname, os.exit, os.getenv, require, dofile,
// loadfile, package, debug are gone; load takes text only), every protected
// call is bounded by an instruction budget (pcall, xpcall and
// coroutine.resume cannot swallow the budget's error), the state's memory is
// bounded, math.random draws from the engine's seeded generator and pairs
// visits keys in a fixed order (numbers, then strings, then booleans), so
// that a script's output depends on the seed alone.
struct TScriptSandbox {
    bool mEnabled = false;
    // Lua VM instructions per protected call; 0 for no limit.
    uint64_t mInstructionBudget = 50'000'000;
    size_t mMemoryLimit = size_t(512) << 20;
    bool operator==(const TScriptSandbox&) const = default;
};

} // namespace zkgen::lua
