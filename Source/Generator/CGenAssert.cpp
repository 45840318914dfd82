#include "Generator/CGenAssert.h"

#include <cstdio>
#include <cstdlib>

namespace zkgen {

void AssertionFailed(const char* expr, const char* file, int line) noexcept
{
    std::fprintf(stderr, "ZKGenEngine assertion failed: %s (%s:%d)\n", expr, file, line);
    std::fflush(stderr);
    std::abort();
}

} // namespace zkgen
