#include "Generator/CGenRandom.h"

#include <ctime>

void CGenRandom::SeedWithSystemClock()
{
    SetSeed(static_cast<uint32_t>(std::time(nullptr)) + (static_cast<uint32_t>(std::clock()) & 1023u));
}
