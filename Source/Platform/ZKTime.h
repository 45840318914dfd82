#pragma once

#include <cstdint>
#include <ctime>

// Clocks. Wall time and processor time as the C library gives them, and a
// monotonic clock for measuring intervals.

// Seconds since 1970-01-01 UTC: time(NULL).
std::time_t ZKTime();
// Processor time used by the process, in CLOCKS_PER_SEC units: clock().
std::clock_t ZKClock();
// Nanoseconds of a clock that never goes back; the origin is arbitrary.
uint64_t ZKMonotonicNanoseconds();
// A seed for random generators that changes from run to run:
// time(NULL) + (clock() & 1023), truncated to 32 bits.
uint32_t ZKClockSeed();
