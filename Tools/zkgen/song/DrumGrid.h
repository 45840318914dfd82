#pragma once

// A readable drum grid of a performance: per bar, one row per kit piece that
// plays in it, one cell per step, with the velocity alphabet of the content's
// grids (g p x X !), and the patterns that played in the bar.

#include "song/SongPerformer.h"

#include <string>

namespace zkgen::cli {

// Bars from the first one up to `maxBars` (all with a negative number).
std::string DrumGridText(const TSongPerformance& performance, int maxBars = -1);

// The velocity letter of the grids: g below 45, p below 68, x below 95, X
// below 118, ! above.
char VelocityLetter(int velocity);

} // namespace zkgen::cli
