#pragma once

// Invariants of the engine stop the program with the text of the expression,
// in every build type: a broken invariant would otherwise corrupt a performance
// silently.

namespace zkgen {
[[noreturn]] void AssertionFailed(const char* expr, const char* file, int line) noexcept;
}

#define ZKG_ASSERT(expr) \
    ((expr) ? static_cast<void>(0) : ::zkgen::AssertionFailed(#expr, __FILE__, __LINE__))
