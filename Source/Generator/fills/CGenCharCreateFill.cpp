#include "Generator/fills/CGenCharCreateFill.h"

#include "Generator/CGenCharContext.h"
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenRandom.h"
#include "Generator/CGenSignTimeDefault.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/patterns/CGenPatternModAndProbPicker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// The distance of `value` outside [min, max]; a defined maximum wins over
// the minimum, as a value cannot lie below both.
double DistanceOutside(double value, float min, float max)
{
    double d = 0.0;
    if (GenIsDef(min) && value < min)
        d = std::fabs(value - min);
    if (GenIsDef(max) && value > max)
        d = std::fabs(value - max);
    return d;
}

// A defined minimum is at least 0, a defined maximum at least the minimum.
void OrderLimits(float& min, float& max)
{
    if (GenIsDef(min))
        min = std::max(min, 0.0f);
    if (GenIsDef(max) && GenIsDef(min))
        max = std::max(max, min);
}

float BarLengthAt(const CGenEvsSignTime& signs, float pos)
{
    const auto sign = signs.FindSignTimeAtOrBefore(pos);
    return sign == signs.end() ? TGenBeatLength_Undef : sign->mSignTime.BarLength();
}

} // namespace

bool CGenCharCreateFill::PlaceForFillEnd(const CGenCharContext& charContext, const TCreateFillParams& params,
    float fillEnd, TCreateFillPlace& place)
{
    const CGenGeneratorParams* gp = charContext.GeneratorParams();
    if (!gp || GenIsUndef(fillEnd))
        return false;
    const CGenEvsSignTime& signs = gp->mEvsSignTime;
    int bar = params.mFillEndGenerateBarRel;
    if (params.mFillEndSTDefaultOrTarget != TSTDefaultOrTarget::Target) {
        const int left = signs.BeatPosToInternBarNr(gp->mGenerateStartLeftBarPosAbs);
        bar = left + params.mFillEndGenerateBarRel - (charContext.GeneratorParams_PickupBarExists() ? 0 : 1);
    }
    place.mFillEnd = fillEnd;
    place.mBarsSince = bar - signs.BeatPosToInternBarNr(gp->mGenerateStartPosAbs);
    place.mStartInBar = gp->mGenerateStartPosAbs - gp->mGenerateStartLeftBarPosAbs;
    return true;
}

bool CGenCharCreateFill::BarGatePasses(const CGenCharContext& charContext, const TCreateFillPlace& place,
    double barInterval)
{
    const CGenGeneratorParams* gp = charContext.GeneratorParams();
    if (!gp)
        return false;
    // Truncated toward zero; a negative interval acts as 0 (every bar).
    const int interval = barInterval >= 2147483647.0 ? 2147483647 : std::max(0, static_cast<int>(barInterval));
    if (interval < 2)
        return true;
    // In a region that starts with one whole bar, the fill at its end would
    // come before anything was played; a region of a single bar keeps it.
    const float firstBarLength = BarLengthAt(gp->mEvsSignTime, gp->mGenerateStartPosAbs);
    const bool notTheOpeningBar = place.mBarsSince > 1 || place.mStartInBar != 0.0f
        || !(gp->mGenerateLength > firstBarLength);
    return notTheOpeningBar && place.mBarsSince % interval == interval - 1;
}

void CGenCharCreateFill::CutFromFront(CGenPatternModAndProb& el, float cut)
{
    if (!(cut > 0.0f))
        return;
    CGenPattern& pattern = el.PatternToBeModified();
    CGenEvs& evs = pattern.mEvs;
    CGenEvs kept;
    kept.mLength = evs.mLength;
    kept.mNoteGroupInfos = evs.mNoteGroupInfos;
    for (CGenEv& ev : evs) {
        if (ev.mBeatPos < cut) {
            const float end = ev.EndBeatPos();
            // What started before the cut and sounds on past it keeps its rest.
            if (GenIsUndef(end) || !(end > cut))
                continue;
            ev.mBeatLength = end - cut;
            ev.mBeatPos = 0.0f;
        } else {
            ev.mBeatPos -= cut;
        }
        kept.push_back(std::move(ev));
    }
    kept.mLength = GenSubRegardingUndef(evs.mLength, cut);
    evs = std::move(kept);
}

void CGenCharCreateFill::SetOverlayRangesFromProperties(CGenPatternModAndProb& el, CGenBitmask keepLayerBitmask)
{
    const CGenPattern& pattern = el.PatternToBeRead();
    const float length = std::max(0.0f, pattern.Length());
    auto range = [&](const char* startKey, const char* lengthKey, bool kept) {
        const float start = pattern.PropertyFloatOrUndef(startKey);
        if (kept || GenIsUndef(start))
            return CGenRange<float> {TGenBeatPos_Undef, TGenBeatPos_Undef};
        const float len = pattern.PropertyFloatOrUndef(lengthKey);
        return CGenRange<float> {start, GenIsDef(len) ? start + len : length};
    };
    // These are the ranges the post stage erases by: without them a fill
    // would sound on top of the accents and systems instead of replacing them.
    // The accent range covers both accent layers and is kept with the family's bit.
    el.mOverlayRangeAc = range(kGenPatternProp_Fill_OverlayRangeAcStart, kGenPatternProp_Fill_OverlayRangeAcLength,
        keepLayerBitmask.IsBitSet(TPatternGraphType_AccentFamily));
    el.mOverlayRangeSy = range(kGenPatternProp_Fill_OverlayRangeSyStart, kGenPatternProp_Fill_OverlayRangeSyLength,
        keepLayerBitmask.IsBitSet(TPatternGraphType_System));
    el.mOverlayRangePerc = range(kGenPatternProp_Fill_OverlayRangePercStart,
        kGenPatternProp_Fill_OverlayRangePercLength, keepLayerBitmask.IsBitSet(TPatternGraphType_Percussion));
}

CGenPatternModAndProbs::iterator CGenCharCreateFill::CreateFill(CGenContext* context,
    const CGenCharContext* charContext, CGenPatternModAndProbs candidates, CGenPatternModAndProbs& out,
    const TCreateFillParams& params, CGenPatternModAndProb* chosen)
{
    if (!context || !context->mParams || !context->mStyle || !charContext || !charContext->GeneratorParams())
        return out.end();
    out.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
    const float fillEnd = CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(
        params.mFillEndGenerateBarRel, params.mFillEndBeatPosRelInBar, params.mFillEndSTDefaultOrTarget, *charContext);
    if (!(params.mProbability > 0.0f) || candidates.empty())
        return out.end();
    TCreateFillPlace place;
    if (!PlaceForFillEnd(*charContext, params, fillEnd, place) || !BarGatePasses(*charContext, place, params.mBarInterval))
        return out.end();
    // The seed of the place: the same song position under the same fill seed
    // always decides the same way, and a fill lock (which keeps the fill
    // seed) brings the same fill back.
    const CGenGeneratorParams& gp = *charContext->GeneratorParams();
    const float posInBar = GenSubRegardingUndef(fillEnd, gp.mEvsSignTime.FindBarStartPos(fillEnd, 4));
    const long a = std::lroundf(fillEnd - gp.mGenerateStartPosAbs);
    const long b = GenIsDef(posInBar) ? std::lroundf(posInBar) : 0;
    place.mSeed = static_cast<uint32_t>(a) + static_cast<uint32_t>(b) + context->FillSeed()
        + static_cast<uint32_t>(params.mRandomSeedAdd);
    return ChooseAndPlace(*context, *charContext, std::move(candidates), out, params, place, chosen);
}

CGenPatternModAndProbs::iterator CGenCharCreateFill::ChooseAndPlace(CGenContext& context,
    const CGenCharContext& charContext, CGenPatternModAndProbs candidates, CGenPatternModAndProbs& out,
    const TCreateFillParams& params, const TCreateFillPlace& place, CGenPatternModAndProb* chosen)
{
    const CGenGeneratorParams* gpPtr = charContext.GeneratorParams();
    if (!gpPtr || !(params.mProbability > 0.0f) || candidates.empty() || GenIsUndef(place.mFillEnd))
        return out.end();
    const CGenGeneratorParams& gp = *gpPtr;
    const auto flag = context.mStyleGraphDebugFlags.find(context.mStyleGraphKey);
    const bool debug = flag != context.mStyleGraphDebugFlags.end() && flag->second;

    CGenRandom random(place.mSeed);
    if (static_cast<float>(random.Next() % 100u) > params.mProbability)
        return out.end();

    // Tempo limits as BPM around the song tempo at the fill's end.
    const double tempo = gp.mEvsTempo.TempoAtOrBeforeBeat(place.mFillEnd);
    const bool below = GenIsDef(params.mFillBelowSongTempoPercent);
    const bool above = GenIsDef(params.mFillAboveSongTempoPercent);
    const double lowerBPM = below ? (1.0 - params.mFillBelowSongTempoPercent) * tempo : -1.0;
    const double upperBPM = above ? (1.0 + params.mFillAboveSongTempoPercent) * tempo : -1.0;
    float minLength = params.mFillMinBeatLength, maxLength = params.mFillMaxBeatLength;
    OrderLimits(minLength, maxLength);
    float minCompl = params.mFillMinCompl, maxCompl = params.mFillMaxCompl;
    OrderLimits(minCompl, maxCompl);

    for (CGenPatternModAndProb& c : candidates) {
        const CGenPattern& pattern = c.PatternToBeRead();
        if (GenIsUndef(c.mProb))
            c.mProb = 100.0f;
        const double dLength = DistanceOutside(pattern.Length(), minLength, maxLength);
        if (dLength > 0.0)
            c.mProb -= static_cast<float>(dLength * std::fabs(params.mNonMatchingLengthProbDeduction));
        const double dCompl = DistanceOutside(pattern.mCoord.mComplInt, minCompl, maxCompl);
        if (dCompl > 0.0)
            c.mProb -= static_cast<float>(dCompl * std::fabs(params.mNonMatchingComplProbDeduction));
        // A fill without a tempo range (stored as -1 to -1) suits any tempo.
        const bool hasTempoRange = pattern.mTempoBPMRange.mMin >= 0.0f && pattern.mTempoBPMRange.mMax >= 0.0f;
        if (tempo > -1.0 && hasTempoRange) {
            double d = 0.0;
            if (below && pattern.mTempoBPMRange.mMax < lowerBPM)
                d = std::fabs(pattern.mTempoBPMRange.mMax - lowerBPM);
            if (above && pattern.mTempoBPMRange.mMin > upperBPM)
                d = std::fabs(pattern.mTempoBPMRange.mMin - upperBPM);
            if (d > 0.0)
                c.mProb = static_cast<float>(c.mProb - d * std::fabs(static_cast<double>(params.mNonMatchingTempoProbDeduction)));
        }
        c.mMatchedLastFilter = c.mProb > 0.0f;
    }

    CGenPatternModAndProbs filtered;
    const int stepCount = params.mTopProbFilterStepCount > 2147483647u ? 2147483647
                                                                        : static_cast<int>(params.mTopProbFilterStepCount);
    CGenPatternModAndProbTopFilter(candidates, filtered)
        .FilterPatterns(static_cast<float>(params.mTopProbFilterMinRequiredPatterns), stepCount);
    filtered.mChosenProb = candidates.mChosenProb;
    filtered.mComplete = candidates.mComplete;
    filtered.mSTDefaultOrTarget = candidates.mSTDefaultOrTarget;
    candidates = std::move(filtered);
    if (params.mRemainSilentIfNoFillWasMatching)
        candidates.erase(std::remove_if(candidates.begin(), candidates.end(),
                             [](const CGenPatternModAndProb& c) { return !c.mMatchedLastFilter; }),
            candidates.end());

    std::string report;
    const auto pick = candidates.ChooseRandomlyAndReport(random, report);
    if (debug)
        context.mStyleGraphReports[context.mStyleGraphKey] =
            "Create Fill (seed " + std::to_string(place.mSeed) + "):\n" + report;
    if (pick == candidates.end())
        return out.end();
    CGenPatternModAndProb el = *pick;

    // Longer than the region: the front goes, so that the end stays on its target.
    if (GenIsDef(gp.mGenerateLength) && el.Length() > gp.mGenerateLength)
        CutFromFront(el, el.Length() - gp.mGenerateLength);

    // A target in the second half of the bar is reached within the bar before
    // the fill's end, any other in the bar after it: a target of 0 is the
    // bar line that ends that bar.
    const CGenPattern& pattern = el.PatternToBeRead();
    const float target = pattern.Properties_Fill_TargetBeatPos_ReadAndCorrect();
    const float length = std::max(0.0f, pattern.Length());
    const CGenEvsSignTime& signs = gp.mEvsSignTime;
    const float barStart = signs.FindBarStartPos(place.mFillEnd, 3);
    const float barLength = BarLengthAt(signs, barStart);
    if (GenIsUndef(barStart) || GenIsUndef(barLength) || !(barLength > 0.0f))
        return out.end();
    const float patternBarLength = pattern.mSignTime.BarLength();
    const float r = std::fmod(target, barLength);
    const float pos = barStart + (r > patternBarLength / 2.0f ? target : target + barLength) - length;
    el.mBeatPosAbsSTTarget = pos;
    el.mBeatPosAbs = out.mSTDefaultOrTarget == TSTDefaultOrTarget::Default
        ? CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(pos, TSTDefaultOrTarget::Target, charContext)
        : pos;

    // The overlay record, with the layers the caller keeps taken out.
    const bool inFirstIncompleteBar = place.mBarsSince <= 1 && place.mStartInBar != 0.0f;
    const CGenLayerBitmaskAndBPRanges records = pattern.mOverlayLayerBitmaskAndBPRanges;
    for (const CGenLayerBitmaskAndBPRange& rec : records) {
        const CGenBitmask mask(rec.mLayerBitmask.Bits() & ~params.mKeepLayerBitmask.Bits());
        const float start = rec.mBeatPosRelRange.mMin;
        float len = GenIsUndef(rec.mBeatPosRelRange.mMax) ? length - start : rec.mBeatPosRelRange.mMax - start;
        if (inFirstIncompleteBar) {
            const float at = pos + start;
            const float fromBar = GenSubRegardingUndef(at, signs.FindBarStartPos(at, 4));
            if (GenIsDef(fromBar) && fromBar < place.mStartInBar)
                len -= place.mStartInBar - fromBar;
        }
        CGenRange<float> range {start, start + len};
        range.mMinEnabled = true;
        range.mMaxEnabled = true;
        el.mOverlayLayerBitmaskAndBPRanges.emplace_back(mask, range);
    }
    SetOverlayRangesFromProperties(el, params.mKeepLayerBitmask);

    out.push_back(std::move(el));
    if (chosen)
        *chosen = out.back();
    return std::prev(out.end());
}
