#include "Generator/patterns/CGenPatternEdge.h"

#include <algorithm>

CGenProbHist::CGenProbHist(float probability, int h0, int h1, int h2, int h3, int h4, int h5, int h6, int h7, int h8,
    int h9, int h10)
    : mProbability(probability)
{
    for (int h : {h0, h1, h2, h3, h4, h5, h6, h7, h8, h9, h10})
        if (h != -1)
            mHistory.push_back(h);
}

void CGenProbHist::TraceStream(std::ostream& os) const
{
    os << "CGenProbHist Prob " << mProbability << " Hist (";
    for (size_t i = 0; i < mHistory.size(); ++i)
        os << (i ? " " : "") << mHistory[i];
    os << ")";
    if (!mClaveLinks.empty())
        os << " " << mClaveLinks.TraceString();
}

std::ostream& operator<<(std::ostream& os, const CGenProbHist& p)
{
    p.TraceStream(os);
    return os;
}

CGenPatternEdge::CGenPatternEdge(const CGenProbHist& p0, const CGenProbHist& p1, const CGenProbHist& p2,
    const CGenProbHist& p3, const CGenProbHist& p4, const CGenProbHist& p5, const CGenProbHist& p6,
    const CGenProbHist& p7)
{
    for (const CGenProbHist* p : {&p0, &p1, &p2, &p3, &p4, &p5, &p6, &p7})
        if (GenIsDef(p->mProbability))
            mProbHists.push_back(*p);
}

int CGenPatternEdge::MatchLengthFromEnd(const std::vector<int32_t>& entryHistory, const CGenPatternIxs& history)
{
    const size_t n = std::min(entryHistory.size(), history.size());
    int count = 0;
    for (size_t i = 0; i < n; ++i) {
        const int32_t a = entryHistory[entryHistory.size() - 1 - i];
        const int32_t b = history[history.size() - 1 - i];
        if (!GenPatternIxMatches(a, b))
            break;
        ++count;
    }
    return count;
}

std::pair<float, int> CGenPatternEdge::ProbabilityForHistory(const CGenPatternIxs& history) const
{
    // The running best starts below zero, so that a first entry matching
    // nothing is still kept.
    int best = -1;
    float probability = 0.0f;
    for (const CGenProbHist& p : mProbHists) {
        const int count = MatchLengthFromEnd(p.mHistory, history);
        if (count > best) {
            best = count;
            probability = p.mProbability;
        }
    }
    return {probability, best < 0 ? 0 : best};
}

CGenPatternEdge::TProbHists::const_iterator CGenPatternEdge::FindProbHistWithHist(const CGenPatternIxs& history) const
{
    return std::find_if(mProbHists.begin(), mProbHists.end(), [&history](const CGenProbHist& p) {
        return p.mHistory == static_cast<const std::vector<int32_t>&>(history);
    });
}

CGenPatternEdge::TProbHists::iterator CGenPatternEdge::FindProbHistWithHist(const CGenPatternIxs& history)
{
    return std::find_if(mProbHists.begin(), mProbHists.end(), [&history](const CGenProbHist& p) {
        return p.mHistory == static_cast<const std::vector<int32_t>&>(history);
    });
}

float CGenPatternEdge::ProbabilityForEmptyHist() const
{
    auto it = FindProbHistWithHist(CGenPatternIxs());
    return it == mProbHists.end() ? TGenBeatPos_Undef : it->mProbability;
}

void CGenPatternEdge::SetProbabilityForEmptyHist(float probability)
{
    auto it = FindProbHistWithHist(CGenPatternIxs());
    if (it == mProbHists.end())
        mProbHists.push_back(CGenProbHist(probability));
    else
        it->mProbability = probability;
}

float CGenPatternEdge::MaxProbabilityForAllHistories() const
{
    float best = TGenBeatPos_Undef;
    for (const CGenProbHist& p : mProbHists)
        if (GenIsUndef(best) || p.mProbability > best)
            best = p.mProbability;
    return best;
}

std::pair<int, float> CGenPatternEdge::BestProbabilityForPatternIxSets(const CGenPatternIxSets& sets, size_t offset) const
{
    if (sets.empty()) {
        const float p = ProbabilityForEmptyHist();
        return {0, p};
    }
    const int setCount = static_cast<int>(sets.size());
    const CGenProbHist* best = nullptr;
    int bestCount = 0;
    for (const CGenProbHist& p : mProbHists) {
        if (p.mHistory.empty() || offset >= sets.size())
            continue;
        int count = 0;
        for (size_t i = 0; i < p.mHistory.size() && offset + i < sets.size(); ++i) {
            if (!GenPatternIxMatchesSet(p.mHistory[i], sets[offset + i]))
                break;
            ++count;
        }
        if (count == 0)
            continue;
        bool take = false;
        if (best && bestCount >= setCount)
            take = static_cast<int>(p.mHistory.size()) == setCount && p.mProbability > best->mProbability;
        else
            take = !best || count > bestCount || (count == bestCount && p.mProbability > best->mProbability);
        if (take) {
            best = &p;
            bestCount = count;
        }
    }
    return best ? std::pair<int, float>(bestCount, best->mProbability) : std::pair<int, float>(0, 0.0f);
}

void CGenPatternEdge::EraseAllClaveLinks()
{
    for (CGenProbHist& p : mProbHists)
        p.mClaveLinks.clear();
}

void CGenPatternEdge::EraseAllClaveLinksFor(int ixClavePattern)
{
    for (CGenProbHist& p : mProbHists)
        p.mClaveLinks.EraseAllClaveLinksFor(ixClavePattern);
}

void CGenPatternEdge::RemoveClavePattern(int ixClavePattern)
{
    for (CGenProbHist& p : mProbHists)
        p.mClaveLinks.RemoveClavePattern(ixClavePattern);
}

void CGenPatternEdge::TraceStream(std::ostream& os) const
{
    os << "CGenPatternEdge size " << mProbHists.size();
    for (const CGenProbHist& p : mProbHists)
        os << "\n  " << p;
}

void CGenPatternEdge::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenPatternEdge size " << mProbHists.size() << " MaxProb " << MaxProbabilityForAllHistories();
}

std::ostream& operator<<(std::ostream& os, const CGenPatternEdge& e)
{
    e.TraceStream(os);
    return os;
}
