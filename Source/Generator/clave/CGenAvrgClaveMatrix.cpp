#include "Generator/clave/CGenAvrgClaveMatrix.h"

#include <algorithm>

// ----- clusters

int THierachicalCluster::LeafCount() const
{
    if (IsLeaf())
        return 1;
    int n = 0;
    for (const THierachicalCluster& c : mChildren)
        n += c.LeafCount();
    return n;
}

bool THierachicalCluster::ContainsItBar(TClusterableBarIt it) const
{
    if (IsLeaf())
        return mItBar == it;
    return std::any_of(mChildren.begin(), mChildren.end(), [it](const THierachicalCluster& c) { return c.ContainsItBar(it); });
}

bool THierachicalCluster::LeavesHaveOneLength() const
{
    // A merged node stands for the bar of its first child, so each child's
    // bar must share this node's length, all the way down.
    return std::all_of(mChildren.begin(), mChildren.end(), [this](const THierachicalCluster& c) {
        return c.mItBar->mLength == mItBar->mLength && c.LeavesHaveOneLength();
    });
}

void THierachicalCluster::RecursivelyGroupIntoSimilarBarss(float threshold, CGenAvrgClave::TSimilarBarss& out) const
{
    if (IsLeaf()) {
        CGenAvrgClave::TSimilarBars bars;
        bars.AddBar(*mItBar);
        out.push_back(std::move(bars));
        return;
    }
    if (GenIsDef(mSimilarity) && mSimilarity >= threshold && LeavesHaveOneLength()) {
        CGenAvrgClave::TSimilarBars bars;
        _RecursivelyAddChildrenToSimilarBars(bars);
        out.push_back(std::move(bars));
        return;
    }
    for (const THierachicalCluster& c : mChildren)
        c.RecursivelyGroupIntoSimilarBarss(threshold, out);
}

void THierachicalCluster::_RecursivelyAddChildrenToSimilarBars(CGenAvrgClave::TSimilarBars& out) const
{
    if (IsLeaf()) {
        out.AddBar(*mItBar);
        return;
    }
    for (const THierachicalCluster& c : mChildren)
        c._RecursivelyAddChildrenToSimilarBars(out);
}

void THierachicalClusters::FillFrom(const TClusterableBars& bars)
{
    clear();
    for (auto it = bars.begin(); it != bars.end(); ++it) {
        THierachicalCluster leaf;
        leaf.mItBar = it;
        push_back(std::move(leaf));
    }
}

bool THierachicalClusters::Merge(TClusterableBarIt a, TClusterableBarIt b, float similarity)
{
    auto findRoot = [this](TClusterableBarIt it) {
        return std::find_if(begin(), end(), [it](const THierachicalCluster& c) { return c.ContainsItBar(it); });
    };
    const auto ia = findRoot(a), ib = findRoot(b);
    if (ia == end() || ib == end() || ia == ib)
        return false;
    THierachicalCluster node;
    node.mItBar = ia->mItBar;
    node.mSimilarity = similarity;
    node.mChildren.push_back(std::move(*ia));
    node.mChildren.push_back(std::move(*ib));
    *ia = std::move(node);
    erase(ib);
    return true;
}

const THierachicalCluster* THierachicalClusters::RootContaining(TClusterableBarIt it) const
{
    for (const THierachicalCluster& c : *this)
        if (c.ContainsItBar(it))
            return &c;
    return nullptr;
}

void THierachicalClusters::RecursivelyGroupIntoSimilarBarss(float threshold, CGenAvrgClave::TSimilarBarss& out) const
{
    for (const THierachicalCluster& c : *this)
        c.RecursivelyGroupIntoSimilarBarss(threshold, out);
    std::stable_sort(out.begin(), out.end(), [](const CGenAvrgClave::TSimilarBars& x, const CGenAvrgClave::TSimilarBars& y) {
        return !x.mBarNrs.empty() && (y.mBarNrs.empty() || x.mBarNrs.front() < y.mBarNrs.front());
    });
}

// ----- the matrix

void TSimilarityMatrix::DoHierarchicalClustering(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float start,
    float end, const CGenAvrgClave::TSimilarBarssParams& params)
{
    mLinkage = params.mLinkage;
    mMergeSteps.clear();
    _FillWithClusterableBars(signTime, clave, start, end, params);
    mClusters.FillFrom(mBars);
    while (mRows.size() > 1) {
        size_t row = 0, col = 0;
        if (!_FindElementForPairWithMaxMatch(row, col))
            break;
        _UpdateMatrixForFoundPairWithMaxMatch(row, col);
    }
}

void TSimilarityMatrix::_FillWithClusterableBars(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float start,
    float end, const CGenAvrgClave::TSimilarBarssParams& params)
{
    mRows.clear();
    mBars.FillFromRange(signTime, start, end);
    // Each bar's events once, relative to its start, for all its pairs.
    std::vector<CGenEvsClave> evs;
    evs.reserve(mBars.size());
    for (const TClusterableBar& bar : mBars)
        evs.push_back(CGenAvrgClave::EvsOfBar(clave, bar.mBeatPosAbs, bar.mLength));
    mRows.reserve(mBars.size());
    for (auto a = mBars.cbegin(); a != mBars.cend(); ++a) {
        TSimilarityMatrixRow row;
        row.mItBar = a;
        row.mBarNr = a->mBarNr;
        const size_t ia = size_t(a - mBars.cbegin());
        for (auto b = a + 1; b != mBars.cend(); ++b) {
            const size_t ib = size_t(b - mBars.cbegin());
            const float match = a->mLength != b->mLength
                ? 0.0f
                : CGenAvrgClave::BarMatch(evs[ia], 0.0f, a->mLength, evs[ib], 0.0f, b->mLength, params);
            row.mCols.push_back({b, b->mBarNr, match});
        }
        mRows.push_back(std::move(row));
    }
}

bool TSimilarityMatrix::_FindElementForPairWithMaxMatch(size_t& row, size_t& col) const
{
    bool found = false;
    float best = TPercent_Undef;
    for (size_t r = 0; r < mRows.size(); ++r)
        for (size_t c = 0; c < mRows[r].mCols.size(); ++c) {
            const float m = mRows[r].mCols[c].mMatch;
            if (GenIsDef(m) && (!found || m > best)) {
                best = m, row = r, col = c, found = true;
            }
        }
    return found;
}

void TSimilarityMatrix::_UpdateMatrixForFoundPairWithMaxMatch(size_t row, size_t col)
{
    const TClusterableBarIt a = mRows[row].mItBar, b = mRows[row].mCols[col].mItBar;
    const float similarity = mRows[row].mCols[col].mMatch;
    const THierachicalCluster* ca = mClusters.RootContaining(a);
    const THierachicalCluster* cb = mClusters.RootContaining(b);
    const int countA = ca ? ca->LeafCount() : 1, countB = cb ? cb->LeafCount() : 1;
    mMergeSteps.push_back({a->mBarNr, b->mBarNr, similarity});
    mClusters.Merge(a, b, similarity);
    _UpdateSimilarityMatrixForMergeOfBars(a, b, countA, countB);
}

void TSimilarityMatrix::_UpdateSimilarityMatrixForMergeOfBars(TClusterableBarIt a, TClusterableBarIt b, int countA,
    int countB)
{
    // The new matches first, while b's row and column still hold the old ones.
    std::vector<std::pair<TClusterableBarIt, float>> updated;
    for (const TSimilarityMatrixRow& row : mRows)
        if (row.mItBar != a && row.mItBar != b)
            updated.emplace_back(row.mItBar, _CalcMatchOfMergedTwoColsToOtherCol(a, b, row.mItBar, countA, countB));
    for (const auto& [other, match] : updated)
        if (float* e = _Element(a, other))
            *e = match;
    for (TSimilarityMatrixRow& row : mRows)
        std::erase_if(row.mCols, [b](const TSimilarityMatrixCol& c) { return c.mItBar == b; });
    std::erase_if(mRows, [b](const TSimilarityMatrixRow& r) { return r.mItBar == b; });
}

float TSimilarityMatrix::_CalcMatchOfMergedTwoColsToOtherCol(TClusterableBarIt a, TClusterableBarIt b,
    TClusterableBarIt other, int countA, int countB) const
{
    const float* pa = _Element(a, other);
    const float* pb = _Element(b, other);
    const float ma = pa ? *pa : TPercent_Undef, mb = pb ? *pb : TPercent_Undef;
    if (GenIsUndef(ma) || GenIsUndef(mb))
        return GenIsUndef(ma) ? mb : ma;
    switch (mLinkage) {
    case CGenAvrgClave::TLinkage_Complete: return std::min(ma, mb);
    case CGenAvrgClave::TLinkage_Single: return std::max(ma, mb);
    default: {
        const double na = std::max(countA, 1), nb = std::max(countB, 1);
        return float((na * ma + nb * mb) / (na + nb));
    }
    }
}

const float* TSimilarityMatrix::_Element(TClusterableBarIt a, TClusterableBarIt b) const
{
    if (a == b)
        return nullptr;
    const TClusterableBarIt first = a < b ? a : b, second = a < b ? b : a;
    for (const TSimilarityMatrixRow& row : mRows) {
        if (row.mItBar != first)
            continue;
        for (const TSimilarityMatrixCol& col : row.mCols)
            if (col.mItBar == second)
                return &col.mMatch;
        return nullptr;
    }
    return nullptr;
}

float* TSimilarityMatrix::_Element(TClusterableBarIt a, TClusterableBarIt b)
{
    return const_cast<float*>(static_cast<const TSimilarityMatrix&>(*this)._Element(a, b));
}

float TSimilarityMatrix::MatchOf(int32_t barNrA, int32_t barNrB) const
{
    auto find = [this](int32_t nr) {
        return std::find_if(mBars.begin(), mBars.end(), [nr](const TClusterableBar& b) { return b.mBarNr == nr; });
    };
    const auto a = find(barNrA), b = find(barNrB);
    if (a == mBars.end() || b == mBars.end())
        return TPercent_Undef;
    const float* e = _Element(a, b);
    return e ? *e : TPercent_Undef;
}
