#include "Generator/patterns/CGenPatternGraphBoost.h"

#include "Generator/CGenAssert.h"

#include <algorithm>

CGenPatternGraphBoost::CGenPatternGraphBoost(TPatternGraphType type) : mType(type)
{
    mPatternCoordConv.SetToUndef();
    mRandom.SeedWithSystemClock();
}

CGenPatternGraphBoost::CGenPatternGraphBoost(const CGenPatternGraphBoost& o)
    : mGraph(o.mGraph), mType(o.mType), mWeakClaveLibs(o.mWeakClaveLibs), mPatternCoordConv(o.mPatternCoordConv),
      mVaryIntns(o.mVaryIntns), mSignTimeTrafos(o.mSignTimeTrafos), mRandom(o.mRandom)
{
    // Libraries the source owns are copied with it; borrowed ones stay borrowed.
    if (o.mOwnedClaveLibs) {
        mOwnedClaveLibs = std::make_unique<CGenClaveLibs>(*o.mOwnedClaveLibs);
        mWeakClaveLibs = mOwnedClaveLibs.get();
    }
}

CGenPatternGraphBoost& CGenPatternGraphBoost::operator=(const CGenPatternGraphBoost& o)
{
    if (this != &o) {
        CGenPatternGraphBoost copy(o);
        *this = std::move(copy);
    }
    return *this;
}

CGenPatternGraphBoost::~CGenPatternGraphBoost() = default;

void CGenPatternGraphBoost::SetWeakClaveLibs(CGenClaveLibs* libs)
{
    if (libs != mOwnedClaveLibs.get())
        mOwnedClaveLibs.reset();
    mWeakClaveLibs = libs;
}

void CGenPatternGraphBoost::_SetLoadedClaveLibs(CGenClaveLibs* libs, bool createdByArchive)
{
    if (libs && createdByArchive)
        mOwnedClaveLibs.reset(libs);
    mWeakClaveLibs = libs;
}

void CGenPatternGraphBoost::InitSignTimeTrafos(_TGenInstType instType)
{
    mSignTimeTrafos = CGenSignTimeTrafos(instType, mType);
}

size_t CGenPatternGraphBoost::PatternsWithOutEdgesSize() const
{
    size_t count = 0;
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        if (boost::out_degree(v, mGraph) > 0)
            ++count;
    return count;
}

const CGenPattern& CGenPatternGraphBoost::PatternAtIx(size_t ix) const
{
    static const CGenPattern kEmpty;
    return ix < PatternCount() ? mGraph[ix] : kEmpty;
}

CGenPattern& CGenPatternGraphBoost::PatternRefAtIx(size_t ix)
{
    ZKG_ASSERT(ix < PatternCount());
    return mGraph[ix];
}

const CGenPatternEdge& CGenPatternGraphBoost::EdgeAtIx(size_t ix) const
{
    static const CGenPatternEdge kEmpty;
    size_t i = 0;
    for (auto [it, end] = boost::edges(mGraph); it != end; ++it, ++i)
        if (i == ix)
            return mGraph[*it];
    return kEmpty;
}

std::pair<TGenPatternEdgeDesc, bool> CGenPatternGraphBoost::FindEdgeBetween(size_t from, size_t to) const
{
    if (from >= PatternCount() || to >= PatternCount())
        return {TGenPatternEdgeDesc(), false};
    return boost::edge(from, to, mGraph);
}

int CGenPatternGraphBoost::FindEdgeIxBetween(size_t from, size_t to) const
{
    if (from >= PatternCount() || to >= PatternCount())
        return -1;
    int i = 0;
    for (auto [it, end] = boost::edges(mGraph); it != end; ++it, ++i)
        if (boost::source(*it, mGraph) == from && boost::target(*it, mGraph) == to)
            return i;
    return -1;
}

size_t CGenPatternGraphBoost::FindPatternWithName(const std::string& name) const
{
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        if (mGraph[v].mName == name)
            return v;
    return PatternCount();
}

size_t CGenPatternGraphBoost::FindPatternThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare) const
{
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        if (compare.Equal(mGraph[v].mEvs, evs))
            return v;
    return PatternCount();
}

size_t CGenPatternGraphBoost::FindPatternThatMatchesNotes(const CGenEvs& evs, const CGenEvCompare& compare) const
{
    return FindPatternThatMatches(evs, CGenEvsCompare(1, compare));
}

void CGenPatternGraphBoost::FindPatternsMatchingNotes(const CGenEvs& evs, const CGenEvCompare& compare,
    std::set<int>& ixs) const
{
    const CGenEvsCompare notes(1, compare);
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        if (notes.Equal(mGraph[v].mEvs, evs))
            ixs.insert(static_cast<int>(v));
}

CGenPatternCoordConv CGenPatternGraphBoost::FindPatternCoordIntMinAndMax() const
{
    // Each value starts undefined, so that the first pattern sets it; an
    // undefined current value is replaced by the next pattern's.
    auto lower = [](float& cur, float v) {
        if (GenIsUndef(cur) || v < cur)
            cur = v;
    };
    auto upper = [](float& cur, float v) {
        if (GenIsUndef(cur) || v > cur)
            cur = v;
    };
    CGenPatternCoordConv c;
    c.SetToUndef();
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v) {
        const CGenPatternCoordInt& coord = mGraph[v].mCoord;
        lower(c.mMinComplInt, coord.mComplInt);
        upper(c.mMaxComplInt, coord.mComplInt);
        lower(c.mMinIntnInt, coord.mIntnInt);
        upper(c.mMaxIntnInt, coord.mIntnInt);
    }
    return c;
}

size_t CGenPatternGraphBoost::AddPattern(const CGenPattern& pattern) { return boost::add_vertex(pattern, mGraph); }

size_t CGenPatternGraphBoost::AddPatternIfUniqueEvs(const CGenPattern& pattern, const CGenEvsCompare& compare)
{
    if (!EvsAreUnique(pattern.mEvs, compare))
        return PatternCount();
    return AddPattern(pattern);
}

int CGenPatternGraphBoost::LinkToClave(size_t ix, const CGenClavePattern& clavePattern, float matchPercent,
    signed char offset)
{
    if (!mWeakClaveLibs || mWeakClaveLibs->empty() || ix >= PatternCount())
        return -1;
    const int claveIx = mWeakClaveLibs->front().AddIfUniqueEvs(clavePattern);
    mGraph[ix].mClaveLinks.AddLinkIfNew(claveIx, offset, static_cast<int>(matchPercent));
    return claveIx;
}

size_t CGenPatternGraphBoost::AddPatternAndLinkToClave(const CGenPattern& pattern, const CGenClavePattern& clavePattern,
    float matchPercent, signed char offset)
{
    const size_t ix = AddPattern(pattern);
    LinkToClave(ix, clavePattern, matchPercent, offset);
    return ix;
}

size_t CGenPatternGraphBoost::AddPatternIfUniqueEvsAndLinkToClave(const CGenPattern& pattern,
    const CGenEvsCompare& compare, const CGenClavePattern& clavePattern, float matchPercent, signed char offset)
{
    const size_t ix = AddPatternIfUniqueEvs(pattern, compare);
    if (ix < PatternCount())
        LinkToClave(ix, clavePattern, matchPercent, offset);
    return ix;
}

bool CGenPatternGraphBoost::ReplacePatternWithSameName(const CGenPattern& pattern)
{
    const size_t ix = FindPatternWithName(pattern.mName);
    if (ix >= PatternCount())
        return false;
    mGraph[ix] = pattern;
    return true;
}

size_t CGenPatternGraphBoost::ReplacePatternWithSameNameOrAddPattern(const CGenPattern& pattern)
{
    const size_t ix = FindPatternWithName(pattern.mName);
    if (ix >= PatternCount())
        return AddPattern(pattern);
    mGraph[ix] = pattern;
    return ix;
}

TGenPatternEdgeDesc CGenPatternGraphBoost::AddEdge(size_t from, size_t to, const CGenPatternEdge& edge)
{
    // With vertices in a vector, Boost.Graph grows the vertices up to the larger end.
    return boost::add_edge(from, to, edge, mGraph).first;
}

void CGenPatternGraphBoost::RemoveEdge(size_t from, size_t to)
{
    if (from < PatternCount() && to < PatternCount())
        boost::remove_edge(from, to, mGraph);
}

void CGenPatternGraphBoost::EraseAllEdges()
{
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        boost::clear_vertex(v, mGraph);
}

void CGenPatternGraphBoost::EraseAllClaveLinks()
{
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        mGraph[v].mClaveLinks.clear();
    for (auto [it, end] = boost::edges(mGraph); it != end; ++it)
        mGraph[*it].EraseAllClaveLinks();
}

void CGenPatternGraphBoost::EraseAllClaveLinksFor(int ixClavePattern)
{
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        mGraph[v].mClaveLinks.EraseAllClaveLinksFor(ixClavePattern);
    for (auto [it, end] = boost::edges(mGraph); it != end; ++it)
        mGraph[*it].EraseAllClaveLinksFor(ixClavePattern);
}

void CGenPatternGraphBoost::RemoveClavePattern(int ixClavePattern)
{
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        mGraph[v].mClaveLinks.RemoveClavePattern(ixClavePattern);
    for (auto [it, end] = boost::edges(mGraph); it != end; ++it)
        mGraph[*it].RemoveClavePattern(ixClavePattern);
}

bool CGenPatternGraphBoost::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    return mPatternCoordConv.CheckContentSanity(prefix + std::to_string(static_cast<int>(mType)) + " ", report);
}

bool CGenPatternGraphBoost::operator==(const CGenPatternGraphBoost& o) const
{
    if (PatternCount() != o.PatternCount() || EdgeCount() != o.EdgeCount())
        return false;
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v)
        if (!(mGraph[v] == o.mGraph[v]))
            return false;
    auto [a, aEnd] = boost::edges(mGraph);
    auto b = boost::edges(o.mGraph).first;
    for (; a != aEnd; ++a, ++b)
        if (!(mGraph[*a] == o.mGraph[*b]))
            return false;
    return mPatternCoordConv == o.mPatternCoordConv;
}

void CGenPatternGraphBoost::TraceStream(std::ostream& os) const
{
    TraceStreamBrief(os);
    for (TGenPatternVertex v = 0; v < PatternCount(); ++v) {
        os << "\n  " << v << ": ";
        mGraph[v].TraceStreamBrief(os);
    }
    for (auto [it, end] = boost::edges(mGraph); it != end; ++it) {
        os << "\n  " << boost::source(*it, mGraph) << " -> " << boost::target(*it, mGraph) << ": ";
        mGraph[*it].TraceStreamBrief(os);
    }
}

void CGenPatternGraphBoost::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenPatternGraphBoost " << mType << ", Patterns " << PatternCount() << ", Edges " << EdgeCount() << ", ";
    mPatternCoordConv.TraceStream(os);
}

std::ostream& operator<<(std::ostream& os, const CGenPatternGraphBoost& g)
{
    g.TraceStream(os);
    return os;
}
