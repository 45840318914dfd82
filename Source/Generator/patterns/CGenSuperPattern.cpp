#include "Generator/patterns/CGenSuperPattern.h"

#include "Generator/clave/CGenEvsClave.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"

#include <algorithm>

namespace {

// A step without a graph pattern reads as the graph's shared empty pattern.
const CGenPattern& PatternOfIx(const CGenPatternGraphBoost& graph, int32_t ix)
{
    return graph.PatternAtIx(ix < 0 ? graph.PatternCount() : static_cast<size_t>(ix));
}

} // namespace

void CGenSuperPattern::CalcCoord(const CGenPatternGraphBoost* graph)
{
    mCoord = CGenPatternCoordInt();
    if (!graph || mPatternIxs.empty())
        return;
    const float weight = 1.0f / static_cast<float>(mPatternIxs.size());
    float compl_ = 0.0f;
    float intn = 0.0f;
    for (int32_t ix : mPatternIxs) {
        const CGenPatternCoordInt& c = PatternOfIx(*graph, ix).mCoord;
        if (GenIsDef(c.mComplInt))
            compl_ += c.mComplInt * weight;
        if (GenIsDef(c.mIntnInt))
            intn += c.mIntnInt * weight;
    }
    mCoord = CGenPatternCoordInt(std::clamp(compl_, 0.0f, 100.0f), std::clamp(intn, 0.0f, 100.0f));
}

float CGenSuperPattern::GridMatch(const CGenPatternGraphBoost* graph, const CGenSuperPattern& other, float gridStep,
    float tolerance) const
{
    if (!graph)
        return TPercent_Undef;
    if (mPatternIxs.empty() || other.mPatternIxs.empty())
        return 0.0f;
    const size_t shorter = std::min(mPatternIxs.size(), other.mPatternIxs.size());
    const size_t longer = std::max(mPatternIxs.size(), other.mPatternIxs.size());
    float sum = 0.0f;
    for (size_t i = 0; i < shorter; ++i) {
        const CGenEvs& a = PatternOfIx(*graph, mPatternIxs[i]).mEvs;
        const CGenEvs& b = PatternOfIx(*graph, other.mPatternIxs[i]).mEvs;
        const bool aEmpty = !(a.mLength > 0.0f);
        const bool bEmpty = !(b.mLength > 0.0f);
        if (aEmpty || bEmpty) {
            // Two silent steps are alike; a silent step and a played one are not.
            sum += (aEmpty && bEmpty) ? 1.0f : 0.0f;
            continue;
        }
        const float match =
            GenEvsMatchByGrid(a, 0.0f, b, 0.0f, std::max(a.mLength, b.mLength), gridStep, tolerance);
        if (GenIsDef(match))
            sum += match;
    }
    return sum / static_cast<float>(longer);
}

void CGenSuperPattern::TraceStream(std::ostream& os) const
{
    os << "CGenSuperPattern: PatternIxs";
    for (int32_t ix : mPatternIxs)
        os << " " << ix;
    os << ", Coord" << mCoord.Name();
}

std::ostream& operator<<(std::ostream& os, const CGenSuperPattern& sp)
{
    sp.TraceStream(os);
    return os;
}
