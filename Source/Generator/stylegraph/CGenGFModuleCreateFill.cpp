#include "Generator/stylegraph/CGenGFModuleCreateFill.h"

#include "Generator/CGenCharContext.h"
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/fills/CGenCharCreateFill.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

#include <cmath>
#include <utility>

namespace {
ZKGFPortSpec NumericSpec(const char* key, const char* name, const char* description)
{
    return {key, &CGenGFPortNumeric::Class(), -1, name, description};
}
ZKGFPortSpec BooleanSpec(const char* key, const char* name, const char* description)
{
    return {key, &CGenGFPortBoolean::Class(), -1, name, description};
}

// -1 switches a limit off.
float LimitOrUndef(double v) { return v == -1.0 ? TGenBeatPos_Undef : static_cast<float>(v); }
} // namespace

const CGenGFClassDescription& CGenGFModuleCreateFill::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleCreateFill", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleCreateFill>, TGenGFExecutionMode_Processor, false, {},
        {zkgen::InputPatternsSpec(),
            NumericSpec("inputProbability", "Probability", "Chance of a fill at a bar the interval allows, 0 to 100"),
            NumericSpec("inputBarInterval", "Bar Interval", "A fill only at the end of every n-th bar"),
            NumericSpec("inputFillMinBeatLength", "Min Length", "Shortest wanted fill in beats; -1 for none"),
            NumericSpec("inputFillMaxBeatLength", "Max Length", "Longest wanted fill in beats; -1 for none"),
            NumericSpec("inputNonMatchingLengthProbFactor", "Length Factor",
                "Points added (a negative number) per beat outside the wanted length"),
            NumericSpec("inputFillMinCompl", "Min Complexity", "Lowest wanted complexity; -1 for none"),
            NumericSpec("inputFillMaxCompl", "Max Complexity", "Highest wanted complexity; -1 for none"),
            NumericSpec("inputNonMatchingComplProbFactor", "Complexity Factor",
                "Points added (a negative number) per point of complexity outside the wanted range"),
            NumericSpec("inputFillBelowSongTempoPercent", "Below Tempo %",
                "How far below the song tempo a fill's tempo range may end, in percent; -1 for any"),
            NumericSpec("inputFillAboveSongTempoPercent", "Above Tempo %",
                "How far above the song tempo a fill's tempo range may start, in percent; -1 for any"),
            NumericSpec("inputNonMatchingTempoProbFactor", "Tempo Factor",
                "Points added (a negative number) per BPM outside the tempo range"),
            NumericSpec("inputTopProbFilterMinRequiredPatterns", "Min Required",
                "The best bands of candidates are taken until this many passed"),
            NumericSpec("inputTopProbFilterStepCount", "Steps", "The number of probability bands"),
            BooleanSpec("inputRemainSilentIfNoFillWasMatching", "Silent If None Matched",
                "No fill when every candidate fell to 0 or below"),
            BooleanSpec("inputKeepSystems", "Keep Systems", "The fill plays over the systems instead of replacing them"),
            BooleanSpec("inputKeepPerc", "Keep Percussion", "The fill plays over the percussion instead of replacing it"),
            zkgen::OutputPatternsSpec("outputPatterns", "Fill")});
    return d;
}

CGenGFModuleCreateFill::CGenGFModuleCreateFill() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
    _bindPort(inputProbability, "inputProbability");
    _bindPort(inputBarInterval, "inputBarInterval");
    _bindPort(inputFillMinBeatLength, "inputFillMinBeatLength");
    _bindPort(inputFillMaxBeatLength, "inputFillMaxBeatLength");
    _bindPort(inputNonMatchingLengthProbFactor, "inputNonMatchingLengthProbFactor");
    _bindPort(inputFillMinCompl, "inputFillMinCompl");
    _bindPort(inputFillMaxCompl, "inputFillMaxCompl");
    _bindPort(inputNonMatchingComplProbFactor, "inputNonMatchingComplProbFactor");
    _bindPort(inputFillBelowSongTempoPercent, "inputFillBelowSongTempoPercent");
    _bindPort(inputFillAboveSongTempoPercent, "inputFillAboveSongTempoPercent");
    _bindPort(inputNonMatchingTempoProbFactor, "inputNonMatchingTempoProbFactor");
    _bindPort(inputTopProbFilterMinRequiredPatterns, "inputTopProbFilterMinRequiredPatterns");
    _bindPort(inputTopProbFilterStepCount, "inputTopProbFilterStepCount");
    _bindPort(inputRemainSilentIfNoFillWasMatching, "inputRemainSilentIfNoFillWasMatching");
    _bindPort(inputKeepSystems, "inputKeepSystems");
    _bindPort(inputKeepPerc, "inputKeepPerc");
    _bindPort(outputPatterns, "outputPatterns");

    auto numeric = [](CGenGFPortNumeric* port, double value, double min, double max) {
        port->setMinDoubleValue(min);
        if (!std::isnan(max))
            port->setMaxDoubleValue(max);
        port->setDoubleValue(value);
    };
    const double none = std::nan("");
    numeric(inputProbability, 100.0, 0.0, 100.0);
    numeric(inputBarInterval, 4.0, 1.0, 256.0);
    numeric(inputFillMinBeatLength, -1.0, -1.0, 99.0);
    numeric(inputFillMaxBeatLength, -1.0, -1.0, 99.0);
    numeric(inputNonMatchingLengthProbFactor, -1.0, -200.0, 0.0);
    numeric(inputFillMinCompl, -1.0, -1.0, 99.0);
    numeric(inputFillMaxCompl, -1.0, -1.0, 99.0);
    numeric(inputNonMatchingComplProbFactor, 0.0, -200.0, 0.0);
    numeric(inputFillBelowSongTempoPercent, -1.0, -1.0, 400.0);
    numeric(inputFillAboveSongTempoPercent, -1.0, -1.0, 400.0);
    numeric(inputNonMatchingTempoProbFactor, -1.0, -200.0, 0.0);
    numeric(inputTopProbFilterMinRequiredPatterns, 5.0, 0.0, none);
    numeric(inputTopProbFilterStepCount, 5.0, 0.0, none);
}

bool CGenGFModuleCreateFill::setup(const CGenGFContext& context)
{
    mLastExecuteBeatPosAbs = TGenBeatPos_Undef;
    mLastExecuteChosenFillPattern = CGenPatternModAndProb();
    return CGenGFModule::setup(context);
}

uint32_t CGenGFModuleCreateFill::PlaceSeed(float generatePosAbs, float leftBarPosAbs, uint32_t fillSeed,
    float regionStart)
{
    const long a = std::lroundf(generatePosAbs - leftBarPosAbs);
    const long b = std::lroundf(regionStart);
    return static_cast<uint32_t>(a) + fillSeed + static_cast<uint32_t>(b);
}

bool CGenGFModuleCreateFill::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    CGenContext* gen = context.genContext();
    if (!gen || !gen->mParams || !outputPatterns->ConstList())
        return true;
    const CGenGeneratorParams& gp = *gen->mParams;
    const float posAbs = gen->GeneratePosAbs();
    CGenPatternModAndProbs result;
    result.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
    if (GenIsDef(mLastExecuteBeatPosAbs) && !(mLastExecuteBeatPosAbs > posAbs)) {
        result.push_back(mLastExecuteChosenFillPattern);
        outputPatterns->SetList(std::move(result));
        return true;
    }

    // The ports, in the units of the fill request.
    TCreateFillParams params;
    params.mProbability = static_cast<float>(inputProbability->doubleValue());
    params.mBarInterval = inputBarInterval->doubleValue();
    params.mFillMinBeatLength = LimitOrUndef(inputFillMinBeatLength->doubleValue());
    params.mFillMaxBeatLength = LimitOrUndef(inputFillMaxBeatLength->doubleValue());
    params.mNonMatchingLengthProbDeduction = static_cast<float>(inputNonMatchingLengthProbFactor->doubleValue());
    params.mFillMinCompl = LimitOrUndef(inputFillMinCompl->doubleValue());
    params.mFillMaxCompl = LimitOrUndef(inputFillMaxCompl->doubleValue());
    params.mNonMatchingComplProbDeduction = static_cast<float>(inputNonMatchingComplProbFactor->doubleValue());
    const double below = inputFillBelowSongTempoPercent->doubleValue();
    const double above = inputFillAboveSongTempoPercent->doubleValue();
    params.mFillBelowSongTempoPercent = below == -1.0 ? TGenBeatPos_Undef : static_cast<float>(below / 100.0);
    params.mFillAboveSongTempoPercent = above == -1.0 ? TGenBeatPos_Undef : static_cast<float>(above / 100.0);
    params.mNonMatchingTempoProbDeduction = static_cast<float>(inputNonMatchingTempoProbFactor->doubleValue());
    const double minRequired = inputTopProbFilterMinRequiredPatterns->doubleValue();
    params.mTopProbFilterMinRequiredPatterns = minRequired >= 2147483647.0 ? 2147483647 : static_cast<int32_t>(minRequired);
    const double steps = inputTopProbFilterStepCount->doubleValue();
    params.mTopProbFilterStepCount = steps >= 2147483647.0 ? 2147483647u : static_cast<uint64_t>(steps);
    params.mRemainSilentIfNoFillWasMatching = inputRemainSilentIfNoFillWasMatching->booleanValue();
    if (inputKeepSystems->booleanValue())
        params.mKeepLayerBitmask.SetBit(TPatternGraphType_System);
    if (inputKeepPerc->booleanValue())
        params.mKeepLayerBitmask.SetBit(TPatternGraphType_Percussion);

    const CGenPatternModAndProbs* input = inputPatterns->List();
    if (!input || input->empty() || GenIsUndef(posAbs)) {
        outputPatterns->SetList(std::move(result));
        return true;
    }

    // The fill ends on the next bar line of the song; the bar that holds the
    // position is the one the interval counts.
    const CGenEvsSignTime& signs = gp.mEvsSignTime;
    const CGenCharContext charContext(gen);
    TCreateFillPlace place;
    place.mFillEnd = signs.FindBarStartPos(posAbs, 1);
    place.mBarsSince = signs.BeatPosToInternBarNr(posAbs) - signs.BeatPosToInternBarNr(gp.mGenerateStartPosAbs);
    place.mStartInBar = gp.mGenerateStartPosAbs - gp.mGenerateStartLeftBarPosAbs;
    // The fill graph's seed: it is the stored fill seed, also under a fill
    // lock (where the context's word is 0 for drums).
    const uint32_t graphSeed = gen->mPatternGraph ? gen->mPatternGraph->Random().Seed() : gen->FillSeed();
    place.mSeed = PlaceSeed(posAbs, gp.mGenerateStartLeftBarPosAbs, graphSeed, gp.mGenerateStartPosAbs);
    if (GenIsUndef(place.mFillEnd) || !CGenCharCreateFill::BarGatePasses(charContext, place, params.mBarInterval)) {
        outputPatterns->SetList(std::move(result));
        return true;
    }

    // A fill longer than what is left of the region has no room.
    CGenPatternModAndProbs candidates = *input;
    const float regionEnd = GenAddRegardingUndef(gp.mGenerateStartPosAbs, gp.mGenerateLength);
    for (CGenPatternModAndProb& c : candidates)
        if (GenIsDef(regionEnd) && c.Length() > regionEnd - posAbs)
            c.mProb = 0.0f;

    CGenPatternModAndProb chosen;
    const auto it = CGenCharCreateFill::ChooseAndPlace(*gen, charContext, std::move(candidates), result, params,
        place, &chosen);
    if (it != result.end()) {
        mLastExecuteChosenFillPattern = chosen;
        mLastExecuteBeatPosAbs = chosen.mBeatPosAbs;
    }
    outputPatterns->SetList(std::move(result));
    return true;
}
