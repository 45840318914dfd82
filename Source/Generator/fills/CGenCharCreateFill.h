#pragma once

#include "Generator/CGenBitmask.h"
#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <cstdint>
#include <string>

class CGenContext;
class CGenCharContext;

// What a caller asks of a fill. Every field is optional: the defaults ask for
// a fill at every bar, of any length, complexity and tempo. Undefined floats
// (TGenBeatPos_Undef) switch a limit off.
struct TCreateFillParams {
    // Bar in which the fill ends, counted from the generate start (1 the first).
    int32_t mFillEndGenerateBarRel = -2147483647;
    // Position in that bar, from 0.
    float mFillEndBeatPosRelInBar = TGenBeatPos_Undef;
    // The signature map the two fields above count in.
    TSTDefaultOrTarget mFillEndSTDefaultOrTarget = TSTDefaultOrTarget::Default;
    // Chance of a fill at all, 0..100.
    float mProbability = 100.0f;
    // A fill only every n-th bar; below 2 means every bar. Truncated.
    double mBarInterval = 0.0;
    int32_t mRandomSeedAdd = 0;
    float mFillMinBeatLength = TGenBeatPos_Undef;
    float mFillMaxBeatLength = TGenBeatPos_Undef;
    // Points taken off per beat outside the length range (sign ignored).
    float mNonMatchingLengthProbDeduction = 0.0f;
    float mFillMinCompl = TGenBeatPos_Undef;
    float mFillMaxCompl = TGenBeatPos_Undef;
    float mNonMatchingComplProbDeduction = 0.0f;
    // Tempo tolerance as fractions of the song tempo (0.1 = 10 %).
    float mFillBelowSongTempoPercent = TGenBeatPos_Undef;
    float mFillAboveSongTempoPercent = TGenBeatPos_Undef;
    // Points taken off per BPM outside.
    float mNonMatchingTempoProbDeduction = 0.0f;
    int32_t mTopProbFilterMinRequiredPatterns = 1;
    uint64_t mTopProbFilterStepCount = 1;
    bool mRemainSilentIfNoFillWasMatching = false;
    // Layers (bit = pattern graph type) the fill leaves alone.
    CGenBitmask mKeepLayerBitmask;
};

// The keys under which scripts pass the fields, in the order above.
namespace zkgen::kCreateFillKey {
inline constexpr const char* FillEndGenerateBarRel = "FillEndGenerateBarRel";
inline constexpr const char* FillEndBeatPosRelInBar = "FillEndBeatPosRelInBar";
inline constexpr const char* FillEndSTDefaultOrTarget = "FillEndSTDefaultOrTarget";
inline constexpr const char* Probability = "Probability";
inline constexpr const char* BarInterval = "BarInterval";
inline constexpr const char* RandomSeedAdd = "RandomSeedAdd";
inline constexpr const char* FillMinBeatLength = "FillMinBeatLength";
inline constexpr const char* FillMaxBeatLength = "FillMaxBeatLength";
inline constexpr const char* NonMatchingLengthProbDeduction = "NonMatchingLengthProbDeduction";
inline constexpr const char* FillMinCompl = "FillMinCompl";
inline constexpr const char* FillMaxCompl = "FillMaxCompl";
inline constexpr const char* NonMatchingComplProbDeduction = "NonMatchingComplProbDeduction";
inline constexpr const char* FillBelowSongTempoPercent = "FillBelowSongTempoPercent";
inline constexpr const char* FillAboveSongTempoPercent = "FillAboveSongTempoPercent";
inline constexpr const char* NonMatchingTempoProbDeduction = "NonMatchingTempoProbDeduction";
inline constexpr const char* TopProbFilterMinRequiredPatterns = "TopProbFilterMinRequiredPatterns";
inline constexpr const char* TopProbFilterStepCount = "TopProbFilterStepCount";
inline constexpr const char* RemainSilentIfNoFillWasMatching = "RemainSilentIfNoFillWasMatching";
inline constexpr const char* KeepLayerBitmask = "KeepLayerBitmask";
} // namespace zkgen::kCreateFillKey

// Where a fill may go and how its draw is seeded: the part of a fill request
// that differs between callers. The selection and placing are shared.
struct TCreateFillPlace {
    // The absolute position the fill must end on, in the song's metre.
    float mFillEnd = TGenBeatPos_Undef;
    // Bars since the generate start (the bar gate's counter), and how far
    // the generate start lies into its bar.
    int mBarsSince = 0;
    float mStartInBar = 0.0f;
    // Before one step of the generator: the seed of the place.
    uint32_t mSeed = 0;
};

class CGenCharCreateFill {
public:
    // Chooses one of `candidates` (a copy, changed here) for the place the
    // params name and appends it to `out` at the position where it ends on
    // its target. Returns an iterator to the appended element, or out.end()
    // when no fill results (missing context, gate, draw or filters). `chosen`,
    // when given, receives a copy of the result.
    static CGenPatternModAndProbs::iterator CreateFill(CGenContext* context, const CGenCharContext* charContext,
        CGenPatternModAndProbs candidates, CGenPatternModAndProbs& out, const TCreateFillParams& params,
        CGenPatternModAndProb* chosen);

    // The place of a fill that ends at `fillEnd`: its bar counter from the
    // params' frame and bar, the start in the first bar, no seed yet.
    static bool PlaceForFillEnd(const CGenCharContext& charContext, const TCreateFillParams& params, float fillEnd,
        TCreateFillPlace& place);
    // The bar gate: true when a fill may end `barsSince` bars after the start.
    static bool BarGatePasses(const CGenCharContext& charContext, const TCreateFillPlace& place, double barInterval);

    // The shared rest, after gate and seed: the draw against "Probability",
    // the deductions, filters, choice, cut and position, and the overlays.
    static CGenPatternModAndProbs::iterator ChooseAndPlace(CGenContext& context, const CGenCharContext& charContext,
        CGenPatternModAndProbs candidates, CGenPatternModAndProbs& out, const TCreateFillParams& params,
        const TCreateFillPlace& place, CGenPatternModAndProb* chosen);

    // Takes `cut` beats off the front of the element's pattern: events that
    // end by then go, those that run past it keep their rest, the others move
    // left; the length shrinks by `cut`.
    static void CutFromFront(CGenPatternModAndProb& el, float cut);

    // The ranges a fill erases from the other layers (relative to its start)
    // from its pattern's properties, each undefined when its layer is kept
    // or the property is missing; an undefined length runs to the fill's end.
    static void SetOverlayRangesFromProperties(CGenPatternModAndProb& el, CGenBitmask keepLayerBitmask);
};
