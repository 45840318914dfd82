#pragma once

#include "Generator/clave/CGenEvsClave.h"

#include <cstdint>
#include <string>

// The universal clave alphabet: names for the bits of a bar that hold in any
// library, for scripts.

// The 8 bits of the bar from barStartPos on the eighth grid on the beat.
uint64_t ClaveUniAlphabetFamilyBits(const CGenEvsClave& clave, float barStartPos,
    float tolerance = CGenEvsClave::kDefaultTolerance);
// Three digits: bits & 7, (bits >> 3) & 7, (bits >> 6) & 3; "111" for a son clave's first bar.
std::string ClaveUniAlphabetFamilyName(uint64_t bits);
// The 8 bits of the bar off the beat.
uint64_t ClaveUniAlphabetAddOnBits(const CGenEvsClave& clave, float barStartPos,
    float tolerance = CGenEvsClave::kDefaultTolerance);
// Four letters, one per pair of bits from the lowest: 0 "x", 1 "a", 2 "b", 3 "c".
std::string ClaveUniAlphabetAddOnName(uint64_t bits);
