#pragma once

class CGenGeneratorParams;
class CGenClaveLibs;

// The clave timetable of a region: for each clave library of the genre, the
// clave pattern index bar by bar (CGenGeneratorParams::
// mEvsClaveClosestIxPatternHistForName), derived before patterns are chosen.
//
// The host's say over it is TParamsClave::mClaveRecalcOnGenerate:
//   0 (default) the timetable is worked out on every generation;
//   1 a timetable the params already hold is used as it stands (a host that
//     analysed the song once hands it to many regions); an empty one is
//     worked out;
//   2 the clave is not analysed: every library gets an empty timetable.
// mRequestClaveRecalcOnGenerate asks for one analysis in mode 1 and is
// cleared by it.
inline constexpr int kClaveRecalcOnGenerate_Always = 0;
inline constexpr int kClaveRecalcOnGenerate_UseStored = 1;
inline constexpr int kClaveRecalcOnGenerate_Never = 2;

// Works the timetable out from `start` to `end` (absolute beats; an
// undefined end runs to the end of the clave track). Without either clave
// flag every library gets an empty timetable and the bit lists are cleared.
// Libraries on the eighth-note grid (on or off the beat) match each bar by
// their table and follow the default pattern beyond the clave's end;
// libraries of other grids compare the clave with every pattern from `start`
// on, pattern by pattern, up to the last clave event.
void CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, const CGenClaveLibs& libs, float start, float end);
// The same over the params' region: from its left bar to its end.
void CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, const CGenClaveLibs& libs);

// Gives every non-empty library with an empty timetable its first pattern
// throughout the region: ceil(length / first pattern's length) entries from
// the generate start, one pattern length apart.
void FillMissingPartsOfAllEvsClaveClosestIxPatternHist(CGenGeneratorParams& params, const CGenClaveLibs& libs);
