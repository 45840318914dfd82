#include "Platform/ZKTime.h"

#include <chrono>

std::time_t ZKTime() { return std::time(nullptr); }

std::clock_t ZKClock() { return std::clock(); }

uint64_t ZKMonotonicNanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

uint32_t ZKClockSeed()
{
    return static_cast<uint32_t>(static_cast<uint64_t>(ZKTime()) + (static_cast<uint64_t>(ZKClock()) & 1023));
}
