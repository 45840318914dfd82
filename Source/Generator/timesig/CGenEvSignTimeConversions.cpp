// CGenEv's conversions of its position through a signature map; they live
// with the map so that the event core does not depend on it.

#include "Generator/CGenEv.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include <algorithm>
#include <cmath>

namespace {

// posInGrid brought into [0, gridLength) by the option; undefined when it
// cannot be.
float ApplySetOption(float posInGrid, float gridLength, TSetBeatPosAbsOption option)
{
    if (GenIsUndef(posInGrid))
        return TGenBeatPos_Undef;
    if (option == TSetBeatPosAbsOption_Allow)
        return posInGrid;
    if (GenIsUndef(gridLength) || !(gridLength > 0.0f))
        return TGenBeatPos_Undef;
    if (option == TSetBeatPosAbsOption_Clamp)
        // The last step of a position that still lies in the grid cell.
        return std::clamp(posInGrid, 0.0f, gridLength - TGenBeatPos_Unit);
    float r = std::fmod(posInGrid, gridLength);
    if (r < 0.0f)
        r += gridLength;
    return r >= gridLength ? 0.0f : r;
}

// Puts the event at posInGrid in the bar (or beat) that holds it now.
void SetPosInGrid(CGenEv& ev, float evsNamedStart, const CGenEvsSignTime& signTimes, float posInGrid,
    TSetBeatPosAbsOption option, bool beatGrid)
{
    const float abs = GenAddRegardingUndef(evsNamedStart, ev.mBeatPos);
    if (GenIsUndef(abs))
        return;
    const float gridStart = beatGrid ? signTimes.FindBeatStartPos(abs, 4) : signTimes.FindBarStartPos(abs, 4);
    if (GenIsUndef(gridStart))
        return;
    const CGenSignTime& metre = signTimes.FindSignTimeAtOrBeforeExtendingFirstToLeft(abs)->mSignTime;
    const float p = ApplySetOption(posInGrid, beatGrid ? metre.DenomLength() : metre.BarLength(), option);
    if (GenIsDef(p))
        ev.mBeatPos = gridStart + p - evsNamedStart;
}

} // namespace

float CGenEv::BeatPosAbsInBar(float evsNamedStart, const CGenEvsSignTime& signTimes) const
{
    const float abs = GenAddRegardingUndef(evsNamedStart, mBeatPos);
    return GenIsUndef(abs) ? TGenBeatPos_Undef : signTimes.FindBeatPosInBar(abs);
}

void CGenEv::SetBeatPosAbsInBar(float evsNamedStart, const CGenEvsSignTime& signTimes, float posInBar,
    TSetBeatPosAbsOption option)
{
    SetPosInGrid(*this, evsNamedStart, signTimes, posInBar, option, false);
}

float CGenEv::BeatPosAbsInBeat(float evsNamedStart, const CGenEvsSignTime& signTimes) const
{
    const float abs = GenAddRegardingUndef(evsNamedStart, mBeatPos);
    return GenIsUndef(abs) ? TGenBeatPos_Undef : signTimes.FindBeatPosInBeat(abs);
}

void CGenEv::SetBeatPosAbsInBeat(float evsNamedStart, const CGenEvsSignTime& signTimes, float posInBeat,
    TSetBeatPosAbsOption option)
{
    SetPosInGrid(*this, evsNamedStart, signTimes, posInBeat, option, true);
}

float CGenEv::EndBeatPosAbsInBar(float evsNamedStart, const CGenEvsSignTime& signTimes) const
{
    // Measured in the bar where the event starts, so a note that ends on the
    // next bar line ends at the bar length, not at 0.
    return GenAddRegardingUndef(BeatPosAbsInBar(evsNamedStart, signTimes), mBeatLength);
}
