#pragma once

#include "Generator/timesig/CGenSignTime.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"

#include <vector>

namespace zkgen {

// Longest target bar, in beats, that a fallback builds steps for; longer
// bars are left as they are rather than filled by thousands of steps.
inline constexpr float kMaxFallbackBarLength = 256.0f;
// Copies a fallback makes at most to fill a longer bar; the rest is silence.
inline constexpr int kMaxFallbackCopies = 64;

} // namespace zkgen

// The transformation from 4/4 into a compound metre (one with parts, such as
// 2+2+3/8) that no preset covers. The target's numerator is split into groups
// of 3, 2 and 1 denominators, the groups are combined into segments of about
// a quarter or a dotted quarter, and segment i is made from quarter i of the
// 4/4 bar:
//   - a segment shorter than a quarter keeps the quarter's beginning (the
//     rest of the quarter is cut);
//   - a longer one repeats the stretch just before the quarter's last
//     sixteenth, so a dotted quarter is "1 e & e & a", as the 12/8 preset
//     for systems does;
//   - quarters without a segment are cut, and segments beyond the fourth
//     repeat the segment four places earlier (with silence where it is
//     shorter).
// Steps go from the end of the bar to the front, so that their positions
// are those of the 4/4 bar.
class CGenSTTrafoCalcFallback {
public:
    // Source 4/4, the given target, the steps; no steps for an undefined
    // target or one longer than the fallback's limit.
    static CGenSignTimeTrafo CalcFallbackSTTrafoForSTTarget(const CGenSignTime& target);

    // A numerator up to 3 stays; an even one is two halves; an odd one
    // divisible by 3 is three thirds; any other odd one n is n/2 and n - n/2
    // (rounded down first). Each part is split again.
    static std::vector<int> _RecursivelySplitNomInto321(int nom);
    // For denominators of an eighth or shorter: consecutive groups are joined
    // until the segment reaches a quarter; a shorter rest at the end stays a
    // segment of its own. Lengths in beats.
    static std::vector<float> _CombineNomsIntoQuarterOrDottedQuarterSegments(const std::vector<int>& noms,
        float denomLength);
    // For denominators of a quarter or longer: every quarter is a segment.
    static std::vector<float> _SplitNomsIntoQuarterSegments(const std::vector<int>& noms, float denomLength);
    static CGenSignTimeTrafoSteps _CreateSTTrafoByMatchingSegmentsToSTDefault44(const std::vector<float>& segments);
};
