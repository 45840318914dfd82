#pragma once

#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternModAndProb.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

// Decides whether a fill ends at the next bar line of the song and which:
// the candidates on `inputPatterns` (usually the fill graph's provider) are
// judged by length, complexity and tempo, filtered and drawn as
// CGenCharCreateFill does, and the chosen fill leaves on `outputPatterns`
// placed so that it lands on that bar line (or its target within the bar).
//
// The draw is seeded by the place, not by the random stream: the generate
// position, the fill graph's seed (which the fill lock keeps) and the
// region's start, so a locked fill comes back identical. A value of -1 on a
// limit or percentage port switches it off.
class CGenGFModuleCreateFill : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleCreateFill();

    bool setup(const CGenGFContext& context) override;
    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    // The seed of the place before its first step: round(pos - left bar) +
    // graph seed + round(region start), in 32-bit wrapping arithmetic.
    static uint32_t PlaceSeed(float generatePosAbs, float leftBarPosAbs, uint32_t fillSeed, float regionStart);

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
    CGenGFPortNumeric* inputProbability = nullptr;
    CGenGFPortNumeric* inputBarInterval = nullptr;
    CGenGFPortNumeric* inputFillMinBeatLength = nullptr;
    CGenGFPortNumeric* inputFillMaxBeatLength = nullptr;
    CGenGFPortNumeric* inputNonMatchingLengthProbFactor = nullptr;
    CGenGFPortNumeric* inputFillMinCompl = nullptr;
    CGenGFPortNumeric* inputFillMaxCompl = nullptr;
    CGenGFPortNumeric* inputNonMatchingComplProbFactor = nullptr;
    CGenGFPortNumeric* inputFillBelowSongTempoPercent = nullptr;
    CGenGFPortNumeric* inputFillAboveSongTempoPercent = nullptr;
    CGenGFPortNumeric* inputNonMatchingTempoProbFactor = nullptr;
    CGenGFPortNumeric* inputTopProbFilterMinRequiredPatterns = nullptr;
    CGenGFPortNumeric* inputTopProbFilterStepCount = nullptr;
    CGenGFPortBoolean* inputRemainSilentIfNoFillWasMatching = nullptr;
    CGenGFPortBoolean* inputKeepSystems = nullptr;
    CGenGFPortBoolean* inputKeepPerc = nullptr;
    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

    // The last choice of this run, handed out again to later pulls.
    float mLastExecuteBeatPosAbs = TGenBeatPos_Undef;
    CGenPatternModAndProb mLastExecuteChosenFillPattern;
};
