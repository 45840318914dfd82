#pragma once

#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"

#include <memory>
#include <string>
#include <vector>

// A value wrapper around an owned graph: copying copies the graph. It speaks
// in int indices: -1 and an index beyond the last pattern stand for the end
// position, and a wrapper without a graph answers every query neutrally
// (layer -1, sizes 0, shared empty patterns and edges, nothing found).
class CGenPatternGraph {
public:
    CGenPatternGraph() = default;
    explicit CGenPatternGraph(TPatternGraphType type) : mGraph(std::make_unique<CGenPatternGraphBoost>(type)) {}
    explicit CGenPatternGraph(std::unique_ptr<CGenPatternGraphBoost> graph) : mGraph(std::move(graph)) {}
    CGenPatternGraph(const CGenPatternGraph& o)
        : mGraph(o.mGraph ? std::make_unique<CGenPatternGraphBoost>(*o.mGraph) : nullptr)
    {
    }
    CGenPatternGraph(CGenPatternGraph&&) noexcept = default;
    CGenPatternGraph& operator=(const CGenPatternGraph& o)
    {
        if (this != &o)
            mGraph = o.mGraph ? std::make_unique<CGenPatternGraphBoost>(*o.mGraph) : nullptr;
        return *this;
    }
    CGenPatternGraph& operator=(CGenPatternGraph&&) noexcept = default;

    CGenPatternGraphBoost* Graph() const { return mGraph.get(); }
    bool IsValid() const { return mGraph != nullptr; }

    int Type() const { return mGraph ? int(mGraph->PatternGraphType()) : int(TPatternGraphType_Undef); }
    int PatternCount() const { return mGraph ? int(mGraph->PatternCount()) : 0; }
    int EdgeCount() const { return mGraph ? int(mGraph->EdgeCount()) : 0; }
    int PatternsWithOutEdgesSize() const { return mGraph ? int(mGraph->PatternsWithOutEdgesSize()) : 0; }

    // The graph's position for an index: the end position for -1 or beyond.
    size_t PositionForIx(int ix) const;
    const CGenPattern& PatternAtIx(int ix) const;
    const CGenPatternEdge& EdgeAtIx(int ix) const;

    bool HasEdgeBetween(int from, int to) const;
    int FindEdgeIxBetween(int from, int to) const;
    // The index found, or the pattern count.
    int FindPatternWithName(const std::string& name) const;
    int FindPatternThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare) const;

    // -1 without a graph.
    int AddPattern(const CGenPattern& pattern);
    int AddPatternIfUniqueEvs(const CGenPattern& pattern, const CGenEvsCompare& compare);
    // Negative indices add nothing; indices beyond the patterns grow the graph.
    bool AddEdge(int from, int to, const CGenPatternEdge& edge);
    void RemoveEdge(int from, int to);

    void InitSignTimeTrafos(_TGenInstType instType)
    {
        if (mGraph)
            mGraph->InitSignTimeTrafos(instType);
    }
    // A wrapper without a graph is a fault of the content.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

private:
    std::unique_ptr<CGenPatternGraphBoost> mGraph;
};

// The graphs of one instrument library, owned.
using CGenPatternGraphs = std::vector<CGenPatternGraph>;
using CGenPatternGraphBoosts = std::vector<std::unique_ptr<CGenPatternGraphBoost>>;
