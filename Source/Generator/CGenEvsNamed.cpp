#include "Generator/CGenEvsNamed.h"

void CGenEvsNamed::SetEndBeatPosAbs(float end)
{
    if (GenIsUndef(mBeatPosAbs))
        return;
    mEvs.mLength = GenSubRegardingUndef(end, mBeatPosAbs);
}

void CGenEvsNamed::MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(float newPos)
{
    if (GenIsUndef(mBeatPosAbs) || GenIsUndef(newPos)) {
        mBeatPosAbs = newPos;
        return;
    }
    const float shift = newPos - mBeatPosAbs;
    mBeatPosAbs = newPos;
    for (auto& ev : mEvs)
        if (GenIsDef(ev.mBeatPos))
            ev.mBeatPos -= shift;
    if (GenIsDef(mEvs.mLength))
        mEvs.mLength -= shift;
}

bool CGenEvsNamed::ContainsBeatPosAbs(float pos) const
{
    const float end = EndBeatPosAbs();
    if (GenIsUndef(mBeatPosAbs) || GenIsUndef(mEvs.mLength) || GenIsUndef(end))
        return false;
    return mBeatPosAbs <= pos && pos < end;
}

void CGenEvsNamed::TraceStream(std::ostream& os) const
{
    TraceStreamBrief(os);
    os << ", pos ";
    if (GenIsUndef(mBeatPosAbs))
        os << "Undef";
    else
        os << mBeatPosAbs;
    os << "\n";
    mEvs.TraceStream(os);
}

void CGenEvsNamed::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenEvsNamed '" << mName << "' " << TPatternGraphTypeName(mRenderingPatternGraphType) << ", PatternIx "
       << mPatternIx;
}

std::ostream& operator<<(std::ostream& os, const CGenEvsNamed& el)
{
    el.TraceStream(os);
    return os;
}
