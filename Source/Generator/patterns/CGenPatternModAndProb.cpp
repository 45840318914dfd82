#include "Generator/patterns/CGenPatternModAndProb.h"

#include "Generator/patterns/CGenPatternGraphBoost.h"

#include <iomanip>

namespace {

const CGenRange<float> kZeroRange {0.0f, 0.0f};

} // namespace

CGenPatternModAndProb::CGenPatternModAndProb(CGenPatternGraphBoost* graph, uint64_t itPattern, float prob,
    float beatPosAbs)
    : mProb(prob), mBeatPosAbs(beatPosAbs), mItPattern(itPattern), mPatternGraph(graph),
      mPatternGraphType(graph ? graph->PatternGraphType() : TPatternGraphType_Undef)
{
}

CGenPatternModAndProb::CGenPatternModAndProb(CGenPatternGraphBoost* graph, float beatPosAbs, const CGenEvs& evs)
    : mBeatPosAbs(beatPosAbs), mItPattern(graph ? graph->PatternCount() : kItPattern_None), mPatternGraph(graph),
      mModified(true), mPatternGraphType(graph ? graph->PatternGraphType() : TPatternGraphType_Undef)
{
    mModifiedPattern.Mutable().mEvs = evs;
}

CGenPatternModAndProb::CGenPatternModAndProb(std::shared_ptr<CGenPatterns> pool, uint64_t poolIx, float beatPosAbs,
    TPatternGraphType type)
    : mBeatPosAbs(beatPosAbs), mPatternGraphType(type), mIsPatternPoolPattern(true), mPoolPatterns(std::move(pool)),
      mPoolPatternIx(poolIx)
{
}

CGenPatternModAndProb::CGenPatternModAndProb(float beatPosAbs, const CGenPattern& pattern)
    : mBeatPosAbs(beatPosAbs), mOverlayRangeAc(kZeroRange), mOverlayRangeSy(kZeroRange), mOverlayRangePerc(kZeroRange),
      mModifiedPattern(pattern), mModified(true)
{
}

CGenPatternModAndProb::CGenPatternModAndProb(float beatPosAbs, float beatPosAbsSTTarget, const CGenPattern& pattern)
    : CGenPatternModAndProb(beatPosAbs, pattern)
{
    mBeatPosAbsSTTarget = beatPosAbsSTTarget;
}

CGenPatternModAndProb::CGenPatternModAndProb(const CGenPattern& pattern)
    : CGenPatternModAndProb(TGenBeatPos_Undef, pattern)
{
}

CGenPatternModAndProb::CGenPatternModAndProb(const CGenPattern& pattern, float prob)
    : CGenPatternModAndProb(TGenBeatPos_Undef, pattern)
{
    mProb = prob;
}

const CGenPattern& CGenPatternModAndProb::OriginalPattern() const
{
    static const CGenPattern kEmpty;
    if (mIsPatternPoolPattern)
        return (mPoolPatterns && mPoolPatternIx < mPoolPatterns->size()) ? (*mPoolPatterns)[mPoolPatternIx] : kEmpty;
    if (mPatternGraph)
        return mPatternGraph->PatternAtIx(mItPattern);
    return kEmpty;
}

CGenPattern& CGenPatternModAndProb::PatternToBeModified()
{
    if (!mModified) {
        mModifiedPattern.Mutable() = OriginalPattern();
        mModified = true;
    }
    return mModifiedPattern.Mutable();
}

bool CGenPatternModAndProb::HasValidPattern() const
{
    return mModified || mIsPatternPoolPattern || (mPatternGraph && mItPattern < mPatternGraph->PatternCount());
}

bool CGenPatternModAndProb::ContainsBeatPosAbs(float pos) const
{
    const float end = EndBeatPosAbs();
    if (GenIsUndef(mBeatPosAbs) || GenIsUndef(end))
        return false;
    return mBeatPosAbs <= pos && pos < end;
}

void CGenPatternModAndProb::MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(float newPos)
{
    const float delta = GenSubRegardingUndef(newPos, mBeatPosAbs);
    mBeatPosAbs = newPos;
    if (GenIsUndef(delta))
        return;
    CGenEvs& evs = PatternToBeModified().mEvs;
    evs.mLength = GenSubRegardingUndef(evs.mLength, delta);
    for (CGenEv& ev : evs)
        ev.mBeatPos = GenSubRegardingUndef(ev.mBeatPos, delta);
}

bool CGenPatternModAndProb::operator==(const CGenPatternModAndProb& o) const
{
    return mPatternGraph == o.mPatternGraph && mItPattern == o.mItPattern && mProb == o.mProb
        && mModifiedPattern == o.mModifiedPattern && mModified == o.mModified
        && mIsPatternPoolPattern == o.mIsPatternPoolPattern && mPoolPatternIx == o.mPoolPatternIx;
}

namespace {

// Fixed with 2 digits in a field of 4; the sentinel by name.
void PrintValue(std::ostream& os, float v)
{
    if (GenIsUndef(v)) {
        os << "TGenBeatPos_Undef";
        return;
    }
    const auto flags = os.flags();
    const auto precision = os.precision();
    os << std::fixed << std::setprecision(2) << std::setw(4) << v;
    os.flags(flags);
    os.precision(precision);
}

} // namespace

void CGenPatternModAndProb::TraceStream(std::ostream& os) const
{
    const CGenPattern& p = PatternToBeRead();
    os << "DePattern (It " << mItPattern << ")\"" << p.mName << "\"";
    os << "Prob ";
    PrintValue(os, mProb);
    os << ", ConsecProb ";
    PrintValue(os, mConsecProb);
    os << ", BeatPosAbs ";
    PrintValue(os, mBeatPosAbs);
    os << ", BeatPosAbsSTTarget ";
    PrintValue(os, mBeatPosAbsSTTarget);
    os << ", Length ";
    PrintValue(os, p.mEvs.mLength);
    os << ", TempoBPMRange (";
    PrintValue(os, p.mTempoBPMRange.mMin);
    os << "..";
    PrintValue(os, p.mTempoBPMRange.mMax);
    os << ")";
    if (mModified)
        os << " Modified " << mModifiedPattern.Read();
}

std::ostream& operator<<(std::ostream& os, const CGenPatternModAndProb& el)
{
    el.TraceStream(os);
    return os;
}
