#include "Generator/CGenSignTimeDefault.h"

#include "Generator/CGenCharContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/timesig/CGenEvsSignTime.h"

namespace {

constexpr float kDefaultBarLength = 4.0f;

// The signature in force at pos, extending the first to the left; null for
// none.
const CGenSignTime* SignTimeInForce(const CGenEvsSignTime* evsSignTime, float pos)
{
    if (!evsSignTime || GenIsUndef(pos))
        return nullptr;
    const auto it = evsSignTime->FindSignTimeAtOrBeforeExtendingFirstToLeft(pos);
    return it == evsSignTime->end() ? nullptr : &it->mSignTime;
}

float FromDefault44(const CGenSignTimeTrafos& trafos, const CGenSignTime& target, float posInBar)
{
    float length = TGenBeatLength_Undef;
    return trafos.TransformFromTo(CGenSignTime_Default44, target, posInBar, length);
}

float IntoDefault44(const CGenSignTimeTrafos& trafos, const CGenSignTime& target, float posInBar)
{
    CGenRange<float> range(posInBar, posInBar, true, true);
    trafos.InverseTransformFromTo(CGenSignTime_Default44, target, range);
    return range.mMin;
}

// What the char-context conversions need: the signature map, the
// transformations, and the bar shift L + p.
struct TFrames {
    const CGenEvsSignTime* mEvsSignTime = nullptr;
    const CGenSignTimeTrafos* mTrafos = nullptr;
    int mShift = TGenBarNr_Undef;
};

bool Frames(const CGenCharContext& cc, TFrames& f)
{
    const CGenGeneratorParams* params = cc.GeneratorParams();
    if (!params || params->mEvsSignTime.empty())
        return false;
    f.mEvsSignTime = &params->mEvsSignTime;
    f.mTrafos = cc.SignTimeTrafosFromPatternGraphOrContext();
    const int left = params->mEvsSignTime.BeatPosToInternBarNr(params->mGenerateStartLeftBarPosAbs);
    if (left == TGenBarNr_Undef || !f.mTrafos)
        return false;
    f.mShift = left + (cc.GeneratorParams_PickupBarExists() ? 1 : 0);
    return true;
}

} // namespace

float CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(float posInBar, TSTDefaultOrTarget frame,
    float beatPos, const CGenEvsSignTime* evsSignTime, const CGenSignTimeTrafos* trafos)
{
    if (GenIsUndef(posInBar))
        return TGenBeatPos_Undef;
    if (frame == TSTDefaultOrTarget::Target)
        return posInBar;
    const CGenSignTime* signTime = SignTimeInForce(evsSignTime, beatPos);
    if (!signTime || !trafos || !(posInBar >= 0.0f && posInBar < kDefaultBarLength))
        return TGenBeatPos_Undef;
    return FromDefault44(*trafos, *signTime, posInBar);
}

float CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(float posInBar, TSTDefaultOrTarget frame,
    float beatPos, const CGenEvsSignTime* evsSignTime, const CGenSignTimeTrafos* trafos)
{
    if (GenIsUndef(posInBar))
        return TGenBeatPos_Undef;
    if (frame == TSTDefaultOrTarget::Default)
        return posInBar;
    const CGenSignTime* signTime = SignTimeInForce(evsSignTime, beatPos);
    if (!signTime || !trafos)
        return TGenBeatPos_Undef;
    const float shift = signTime->MultiplesOfBarLengthToGetIntoBarRange(posInBar);
    const float barLength = signTime->BarLength();
    if (GenIsUndef(shift) || !(barLength > 0.0f))
        return TGenBeatPos_Undef;
    const float inBar = posInBar + shift;
    if (!(inBar >= 0.0f && inBar <= barLength))
        return TGenBeatPos_Undef;
    const float bars = shift / barLength;
    return IntoDefault44(*trafos, *signTime, inBar) - bars * kDefaultBarLength;
}

float CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(float pos, TSTDefaultOrTarget frame,
    const CGenCharContext& charContext)
{
    if (GenIsUndef(pos))
        return TGenBeatPos_Undef;
    if (frame == TSTDefaultOrTarget::Default)
        return pos;
    TFrames f;
    if (!Frames(charContext, f))
        return TGenBeatPos_Undef;
    int bar = TGenBarNr_Undef;
    float inBar = TGenBeatLength_Undef;
    f.mEvsSignTime->BeatPosToInternBarNrAndLengthInBar(pos, &bar, &inBar);
    const CGenSignTime* signTime = SignTimeInForce(f.mEvsSignTime, pos);
    if (bar == TGenBarNr_Undef || GenIsUndef(inBar) || !signTime)
        return TGenBeatPos_Undef;
    return static_cast<float>(bar - f.mShift) * kDefaultBarLength + IntoDefault44(*f.mTrafos, *signTime, inBar);
}

float CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(float pos, TSTDefaultOrTarget frame,
    const CGenCharContext& charContext)
{
    if (GenIsUndef(pos))
        return TGenBeatPos_Undef;
    if (frame == TSTDefaultOrTarget::Target)
        return pos;
    TFrames f;
    if (!Frames(charContext, f))
        return TGenBeatPos_Undef;
    int defaultBar = TGenBarNr_Undef;
    float inBar = TGenBeatLength_Undef;
    CGenEvsSignTime_Default44::Shared().BeatPosToInternBarNrAndLengthInBar(pos, &defaultBar, &inBar);
    if (defaultBar == TGenBarNr_Undef || GenIsUndef(inBar))
        return TGenBeatPos_Undef;
    const float barStart = f.mEvsSignTime->InternBarNrAndLengthInBarToBeatPos(defaultBar - 1 + f.mShift, 0.0f);
    const CGenSignTime* signTime = SignTimeInForce(f.mEvsSignTime, barStart);
    if (GenIsUndef(barStart) || !signTime)
        return TGenBeatPos_Undef;
    return GenAddRegardingUndef(barStart, FromDefault44(*f.mTrafos, *signTime, inBar));
}

int CGenSignTimeDefault::ConvertBarNrInternFromSTTargetToSTDefault(const CGenCharContext& charContext, int barNr)
{
    TFrames f;
    if (barNr == TGenBarNr_Undef || !Frames(charContext, f))
        return TGenBarNr_Undef;
    return barNr - f.mShift + 1;
}

int CGenSignTimeDefault::ConvertBarNrInternFromSTDefaultToSTTarget(const CGenCharContext& charContext, int barNr)
{
    TFrames f;
    if (barNr == TGenBarNr_Undef || !Frames(charContext, f))
        return TGenBarNr_Undef;
    return barNr - 1 + f.mShift;
}

float CGenSignTimeDefault::BarStartPosAbsSTDefault(int barNr, const CGenCharContext& /*charContext*/)
{
    return barNr == TGenBarNr_Undef ? TGenBeatPos_Undef : static_cast<float>(barNr - 1) * kDefaultBarLength;
}

float CGenSignTimeDefault::BarStartPosAbsSTTarget(int barNr, const CGenCharContext& charContext)
{
    return BeatPosAbsFromSTDefaultOrTargetToSTTarget(BarStartPosAbsSTDefault(barNr, charContext),
        TSTDefaultOrTarget::Default, charContext);
}

float CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTDefault(int barRel, float posInBar,
    TSTDefaultOrTarget frame, const CGenCharContext& charContext)
{
    const float barStart = BarStartPosAbsSTDefault(barRel, charContext);
    const float targetBarStart = BarStartPosAbsSTTarget(barRel, charContext);
    const CGenGeneratorParams* params = charContext.GeneratorParams();
    if (GenIsUndef(barStart) || GenIsUndef(targetBarStart) || !params)
        return TGenBeatPos_Undef;
    return GenAddRegardingUndef(barStart,
        RelPosInBarFromSTDefaultOrTargetToSTDefault(posInBar, frame, targetBarStart, &params->mEvsSignTime,
            charContext.SignTimeTrafosFromPatternGraphOrContext()));
}

float CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(int barRel, float posInBar,
    TSTDefaultOrTarget frame, const CGenCharContext& charContext)
{
    const float barStart = BarStartPosAbsSTTarget(barRel, charContext);
    const CGenGeneratorParams* params = charContext.GeneratorParams();
    if (GenIsUndef(barStart) || !params)
        return TGenBeatPos_Undef;
    return GenAddRegardingUndef(barStart,
        RelPosInBarFromSTDefaultOrTargetToSTTarget(posInBar, frame, barStart, &params->mEvsSignTime,
            charContext.SignTimeTrafosFromPatternGraphOrContext()));
}

float CGenSignTimeDefault::FirstCompleteBarBPAbs(float pos, const CGenEvsSignTime& evsSignTime)
{
    return evsSignTime.FindBarStartPos(pos, 2);
}
