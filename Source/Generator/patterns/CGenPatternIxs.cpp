#include "Generator/patterns/CGenPatternIxs.h"

#include "Generator/patterns/CGenPatternGraphBoost.h"

#include <algorithm>

namespace {

// Both list forms compare through these, reading an index with `ix`.
int32_t IxOf(int32_t v) { return v; }
int32_t IxOf(const CGenBeatedPatternIx& v) { return v.mPatternIx; }

// Compares position by position over the shorter length, aligned at the
// starts or at the ends; `consecutive` stops at the first difference.
template <class A, class B>
size_t CompareIxs(const A& a, const B& b, bool fromEnd, bool consecutive)
{
    const size_t n = std::min(a.size(), b.size());
    size_t count = 0;
    for (size_t i = 0; i < n; ++i) {
        const bool match = fromEnd ? GenPatternIxMatches(IxOf(a[a.size() - 1 - i]), IxOf(b[b.size() - 1 - i]))
                                   : GenPatternIxMatches(IxOf(a[i]), IxOf(b[i]));
        if (match)
            ++count;
        else if (consecutive)
            break;
    }
    return count;
}

template <class A, class B>
size_t ConsecutiveFromBegin(const A& a, const B& b) { return CompareIxs(a, b, false, true); }
template <class A, class B>
size_t ConsecutiveFromRBegin(const A& a, const B& b) { return CompareIxs(a, b, true, true); }
template <class A, class B>
size_t CountFromBegin(const A& a, const B& b) { return CompareIxs(a, b, false, false); }
template <class A, class B>
size_t CountFromRBegin(const A& a, const B& b) { return CompareIxs(a, b, true, false); }

template <class A>
size_t SetsFromBegin(const A& a, const CGenPatternIxSets& sets, size_t offset)
{
    if (offset >= sets.size())
        return 0;
    const size_t n = std::min(a.size(), sets.size() - offset);
    size_t i = 0;
    while (i < n && GenPatternIxMatchesSet(IxOf(a[i]), sets[offset + i]))
        ++i;
    return i;
}

template <class A>
size_t SetsFromRBegin(const A& a, const CGenPatternIxSets& sets)
{
    const size_t n = std::min(a.size(), sets.size());
    size_t i = 0;
    while (i < n && GenPatternIxMatchesSet(IxOf(a[a.size() - 1 - i]), sets[sets.size() - 1 - i]))
        ++i;
    return i;
}

float PatternLength(const CGenPatternGraphBoost& graph, int32_t ix)
{
    return graph.PatternAtIx(ix).mEvs.mLength;
}

} // namespace

size_t CGenPatternIxs::MatchConsecutiveLengthFromBegin(const CGenPatternIxs& other) const
{
    return ConsecutiveFromBegin(*this, other);
}
size_t CGenPatternIxs::MatchConsecutiveLengthFromRBegin(const CGenPatternIxs& other) const
{
    return ConsecutiveFromRBegin(*this, other);
}
size_t CGenPatternIxs::MatchCountFromBegin(const CGenPatternIxs& other) const { return CountFromBegin(*this, other); }
size_t CGenPatternIxs::MatchCountFromRBegin(const CGenPatternIxs& other) const { return CountFromRBegin(*this, other); }
size_t CGenPatternIxs::MatchCountWithPatternIxSetsFromBegin(const CGenPatternIxSets& sets, size_t offset) const
{
    return SetsFromBegin(*this, sets, offset);
}
size_t CGenPatternIxs::MatchCountWithPatternIxSetsFromRBegin(const CGenPatternIxSets& sets) const
{
    return SetsFromRBegin(*this, sets);
}
bool CGenPatternIxs::MatchesForShorterLength(const CGenPatternIxs& other) const
{
    return ConsecutiveFromRBegin(*this, other) == std::min(size(), other.size());
}

float CGenPatternIxs::CalcBeatLength(const CGenPatternGraphBoost* graph) const
{
    if (!graph)
        return TGenBeatLength_Undef;
    float sum = 0.0f;
    for (int32_t ix : *this)
        sum = GenAddRegardingUndef(sum, PatternLength(*graph, ix));
    return sum;
}

void CGenPatternIxs::TraceStream(std::ostream& os) const
{
    os << "CGenPatternIxs";
    for (int32_t ix : *this)
        os << " " << ix;
}

std::ostream& operator<<(std::ostream& os, const CGenPatternIxs& ixs)
{
    ixs.TraceStream(os);
    return os;
}

size_t GenMatchConsecutiveLengthFromBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b)
{
    return ConsecutiveFromBegin(a, b);
}
size_t GenMatchConsecutiveLengthFromRBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b)
{
    return ConsecutiveFromRBegin(a, b);
}
size_t GenMatchCountFromBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b) { return CountFromBegin(a, b); }
size_t GenMatchCountFromRBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b)
{
    return CountFromRBegin(a, b);
}
size_t GenMatchCountWithPatternIxSetsFromBegin(const CGenBeatedPatternIxs& a, const CGenPatternIxSets& sets, size_t offset)
{
    return SetsFromBegin(a, sets, offset);
}
size_t GenMatchCountWithPatternIxSetsFromRBegin(const CGenBeatedPatternIxs& a, const CGenPatternIxSets& sets)
{
    return SetsFromRBegin(a, sets);
}
bool GenMatchesForShorterLength(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b)
{
    return ConsecutiveFromRBegin(a, b) == std::min(a.size(), b.size());
}

float GenCalcBeatLength(const CGenBeatedPatternIxs& a, const CGenPatternGraphBoost* graph)
{
    if (!graph)
        return TGenBeatLength_Undef;
    if (a.empty())
        return 0.0f;
    const float end = GenAddRegardingUndef(a.back().mBeatPosAbs, PatternLength(*graph, a.back().mPatternIx));
    return GenSubRegardingUndef(end, a.front().mBeatPosAbs);
}
