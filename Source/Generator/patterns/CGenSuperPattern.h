#pragma once

#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternCoord.h"
#include "Generator/patterns/CGenPatternIxs.h"

#include <ostream>
#include <utility>
#include <vector>

class CGenPatternGraphBoost;

// A phrase of a song section: a short list of pattern indices of one graph
// that is played again and again, with variations, for as long as the
// section lasts, so that the section keeps its character instead of
// wandering from bar to bar. An index of -1 stands for a step without a
// graph pattern. The coordinate is the phrase's average, kept by CalcCoord.
class CGenSuperPattern : public CGenTraceable<CGenSuperPattern> {
public:
    static constexpr const char* kTraceClassName = "CGenSuperPattern";

    CGenPatternIxs mPatternIxs;
    CGenPatternCoordInt mCoord;

    CGenSuperPattern() = default;
    explicit CGenSuperPattern(CGenPatternIxs ixs) : mPatternIxs(std::move(ixs)) {}

    bool empty() const { return mPatternIxs.empty(); }
    size_t size() const { return mPatternIxs.size(); }

    // The average coordinate of the phrase's patterns: each axis starts at 0
    // and each pattern adds its value / count (an undefined value, or a step
    // without a pattern, adds nothing), then the sum is clamped to 0..100.
    // Undefined for an empty phrase or a null graph.
    void CalcCoord(const CGenPatternGraphBoost* graph);

    // How alike two phrases sound, 0..1: for each pair of patterns at the
    // same index, up to the shorter phrase, the grid comparison of their
    // events from position 0 over the longer of the two lengths (a grid step
    // of 0 counts as 1); a pair with both lengths 0 adds 1, with one of them
    // 0 adds 0. The sum is divided by the longer phrase's count. 0 when
    // either phrase is empty; undefined with a null graph.
    float GridMatch(const CGenPatternGraphBoost* graph, const CGenSuperPattern& other, float gridStep,
        float tolerance) const;

    bool operator==(const CGenSuperPattern&) const = default;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }
};

using CGenSuperPatterns = std::vector<CGenSuperPattern>;

std::ostream& operator<<(std::ostream& os, const CGenSuperPattern& sp);
