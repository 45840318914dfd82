#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenBeatedPatternIxs.h"

#include <boost/serialization/set.hpp>

#include <cstdint>
#include <ostream>
#include <set>
#include <vector>

class CGenPatternGraphBoost;

// The allowed pattern indices of one step; a set holding -1 allows every index.
using CGenPatternIxSet = std::set<int32_t>;

// The allowed indices step by step: position k is the set for step k.
class CGenPatternIxSets : public std::vector<CGenPatternIxSet> {
public:
    using TBase = std::vector<CGenPatternIxSet>;
    using TBase::TBase;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TPatternIxSets", static_cast<TBase&>(*this));
    }
};

// A history of played patterns, oldest first. In every comparison an index
// of -1 on either side is a wildcard that matches and counts as a match.
class CGenPatternIxs : public std::vector<int32_t>, public CGenTraceable<CGenPatternIxs> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternIxs";
    using TBase = std::vector<int32_t>;
    using TBase::TBase;

    // Positions from the start (from the end) until the first difference.
    size_t MatchConsecutiveLengthFromBegin(const CGenPatternIxs& other) const;
    size_t MatchConsecutiveLengthFromRBegin(const CGenPatternIxs& other) const;
    // Equal positions over the shorter length, aligned at the start (at the
    // end); a difference does not stop the count.
    size_t MatchCountFromBegin(const CGenPatternIxs& other) const;
    size_t MatchCountFromRBegin(const CGenPatternIxs& other) const;
    // Consecutive length against sets, this list from its start and the sets
    // from `offset`; an offset at or beyond the end of the sets gives 0.
    size_t MatchCountWithPatternIxSetsFromBegin(const CGenPatternIxSets& sets, size_t offset) const;
    // The same with both aligned at their ends.
    size_t MatchCountWithPatternIxSetsFromRBegin(const CGenPatternIxSets& sets) const;
    // Whether the two agree from the end over the shorter length.
    bool MatchesForShorterLength(const CGenPatternIxs& other) const;
    // Sum of the lengths of the patterns: undefined with a null graph or when
    // a pattern's length is undefined, 0 for an empty list.
    float CalcBeatLength(const CGenPatternGraphBoost* graph) const;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TPatternIxs", static_cast<TBase&>(*this));
    }
};

// The same comparisons for the beat-positioned form; only the indices are compared.
size_t GenMatchConsecutiveLengthFromBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b);
size_t GenMatchConsecutiveLengthFromRBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b);
size_t GenMatchCountFromBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b);
size_t GenMatchCountFromRBegin(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b);
size_t GenMatchCountWithPatternIxSetsFromBegin(const CGenBeatedPatternIxs& a, const CGenPatternIxSets& sets, size_t offset);
size_t GenMatchCountWithPatternIxSetsFromRBegin(const CGenBeatedPatternIxs& a, const CGenPatternIxSets& sets);
bool GenMatchesForShorterLength(const CGenBeatedPatternIxs& a, const CGenBeatedPatternIxs& b);
// From the first position to the end of the last pattern; undefined with a
// null graph, 0 for an empty list.
float GenCalcBeatLength(const CGenBeatedPatternIxs& a, const CGenPatternGraphBoost* graph);

// Whether two indices match: equal, or either one the wildcard -1.
inline bool GenPatternIxMatches(int32_t a, int32_t b) { return a == b || a == -1 || b == -1; }
// Whether an index passes a set: the index -1, a set holding -1, or a set holding the index.
inline bool GenPatternIxMatchesSet(int32_t ix, const CGenPatternIxSet& set)
{
    return ix == -1 || set.count(-1) != 0 || set.count(ix) != 0;
}

std::ostream& operator<<(std::ostream& os, const CGenPatternIxs& ixs);
