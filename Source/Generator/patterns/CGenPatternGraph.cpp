#include "Generator/patterns/CGenPatternGraph.h"

size_t CGenPatternGraph::PositionForIx(int ix) const
{
    const size_t count = mGraph ? mGraph->PatternCount() : 0;
    return (ix < 0 || size_t(ix) >= count) ? count : size_t(ix);
}

const CGenPattern& CGenPatternGraph::PatternAtIx(int ix) const
{
    static const CGenPattern kEmpty;
    return mGraph ? mGraph->PatternAtIx(PositionForIx(ix)) : kEmpty;
}

const CGenPatternEdge& CGenPatternGraph::EdgeAtIx(int ix) const
{
    static const CGenPatternEdge kEmpty;
    return (mGraph && ix >= 0) ? mGraph->EdgeAtIx(size_t(ix)) : kEmpty;
}

bool CGenPatternGraph::HasEdgeBetween(int from, int to) const
{
    return mGraph && mGraph->HasEdgeBetween(PositionForIx(from), PositionForIx(to));
}

int CGenPatternGraph::FindEdgeIxBetween(int from, int to) const
{
    return mGraph ? mGraph->FindEdgeIxBetween(PositionForIx(from), PositionForIx(to)) : -1;
}

int CGenPatternGraph::FindPatternWithName(const std::string& name) const
{
    return mGraph ? int(mGraph->FindPatternWithName(name)) : 0;
}

int CGenPatternGraph::FindPatternThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare) const
{
    return mGraph ? int(mGraph->FindPatternThatMatches(evs, compare)) : 0;
}

int CGenPatternGraph::AddPattern(const CGenPattern& pattern)
{
    return mGraph ? int(mGraph->AddPattern(pattern)) : -1;
}

int CGenPatternGraph::AddPatternIfUniqueEvs(const CGenPattern& pattern, const CGenEvsCompare& compare)
{
    return mGraph ? int(mGraph->AddPatternIfUniqueEvs(pattern, compare)) : -1;
}

bool CGenPatternGraph::AddEdge(int from, int to, const CGenPatternEdge& edge)
{
    if (!mGraph || from < 0 || to < 0)
        return false;
    mGraph->AddEdge(size_t(from), size_t(to), edge);
    return true;
}

void CGenPatternGraph::RemoveEdge(int from, int to)
{
    if (mGraph)
        mGraph->RemoveEdge(PositionForIx(from), PositionForIx(to));
}

bool CGenPatternGraph::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    if (!mGraph) {
        report += prefix + "no pattern graph\n";
        return false;
    }
    return mGraph->CheckContentSanity(prefix, report);
}
