#pragma once

#include "Generator/clave/CGenBeatedPatternIxs.h"

#include <cstdint>

class CGenGeneratorParams;
class CGenClaveLibs;
class CGenClaveLinks;

// The library whose clave steers the weight of candidates; the others are
// seen by the style graphs' modules only.
inline constexpr const char* kClaveLibName_Family = "Family";

// The clave factor of a candidate at pos (counting from the left bar of the
// region start): how well the candidate's stored links fit the clave pattern
// that plays there, turned into a factor by the params' closeness-and-variance
// strategy with the variance 1 - threshold.
// - Without the prototype clave, an undefined threshold or an empty timetable
//   the factor is 1 and the given index comes back.
// - A given index (not -1) is used as it stands when there are no libraries
//   or a relative position is given; otherwise the "Family" timetable is
//   searched at pos.
// - The link of the pair (index, relative position rounded half away from
//   zero and clamped to -127..127, or -128 when undefined) gives the match in
//   0..1; no link gives 0.
// Null params return at once and leave every output alone.
void ProbFactorAndIxPatternForEvsClave(const CGenGeneratorParams* params, const CGenClaveLibs* claveLibs,
    const CGenClaveLinks& claveLinks, float distThreshold, const CGenBeatedPatternIxs& beatedIxs, float pos,
    float& factor, int& ixClavePattern, float& match, int ixGiven, float relPosGiven);

// The offset a relative position has in a clave link.
int8_t ClaveLinkOffsetForRelPos(float relPos);
