#pragma once

// The clustering behind the similarity-matrix strategy of the average clave:
// a triangular matrix of bar matches and the tree of merged bars it builds.
// The linkage is described in CGenAvrgClave.h.

#include "Generator/clave/CGenAvrgClave.h"

#include <vector>

using TClusterableBarIt = TClusterableBars::const_iterator;

// A node of the cluster tree: a leaf is one bar; a merged node has the two
// clusters it was made of and the match at which they merged. A merged node
// stands for the bar of its first child.
struct THierachicalCluster {
    TClusterableBarIt mItBar {};
    std::vector<THierachicalCluster> mChildren;
    float mSimilarity = TPercent_Undef; // undefined for a leaf

    bool IsLeaf() const { return mChildren.empty(); }
    int LeafCount() const;
    bool ContainsItBar(TClusterableBarIt it) const;
    // Whether all leaves have the same bar length.
    bool LeavesHaveOneLength() const;
    // A cluster that merged at or above the threshold (and whose bars all
    // have one length) becomes one group; one below asks its children; a
    // leaf is a group of one.
    void RecursivelyGroupIntoSimilarBarss(float threshold, CGenAvrgClave::TSimilarBarss& out) const;
    void _RecursivelyAddChildrenToSimilarBars(CGenAvrgClave::TSimilarBars& out) const;
};

// The roots of the cluster forest.
class THierachicalClusters : public std::vector<THierachicalCluster> {
public:
    // One leaf per bar.
    void FillFrom(const TClusterableBars& bars);
    // The roots holding a and b become one node in the place of a's root;
    // false when either is missing or both are in one root.
    bool Merge(TClusterableBarIt a, TClusterableBarIt b, float similarity);
    // The root holding it, or null.
    const THierachicalCluster* RootContaining(TClusterableBarIt it) const;
    // The groups of all roots, sorted by their first bar.
    void RecursivelyGroupIntoSimilarBarss(float threshold, CGenAvrgClave::TSimilarBarss& out) const;
};

struct TSimilarityMatrixCol {
    TClusterableBarIt mItBar {};
    int32_t mBarNr = TGenBarNr_Undef;
    float mMatch = TPercent_Undef;
};
using TSimilarityMatrixCols = std::vector<TSimilarityMatrixCol>;

// A row holds the matches of its bar to every later bar still in the matrix.
struct TSimilarityMatrixRow {
    TClusterableBarIt mItBar {};
    int32_t mBarNr = TGenBarNr_Undef;
    TSimilarityMatrixCols mCols;
};

class TSimilarityMatrix {
public:
    // One merge, for reading the order of merges.
    struct TMergeStep {
        int32_t mBarNrA = TGenBarNr_Undef;
        int32_t mBarNrB = TGenBarNr_Undef;
        float mSimilarity = TPercent_Undef;
    };

    TSimilarityMatrix() = default;
    // Rows and clusters point into mBars: no copies.
    TSimilarityMatrix(const TSimilarityMatrix&) = delete;
    TSimilarityMatrix& operator=(const TSimilarityMatrix&) = delete;

    // Fills the matrix with the bars of [start, end) and merges the best pair
    // until one row is left or no match is defined.
    void DoHierarchicalClustering(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float start, float end,
        const CGenAvrgClave::TSimilarBarssParams& params);
    void _FillWithClusterableBars(const CGenEvsSignTime& signTime, const CGenEvsClave& clave, float start, float end,
        const CGenAvrgClave::TSimilarBarssParams& params);
    // The pair with the largest defined match, rows then columns in order,
    // the first of equals; false when none is defined.
    bool _FindElementForPairWithMaxMatch(size_t& row, size_t& col) const;
    void _UpdateMatrixForFoundPairWithMaxMatch(size_t row, size_t col);
    void _UpdateSimilarityMatrixForMergeOfBars(TClusterableBarIt a, TClusterableBarIt b, int countA, int countB);
    // The match of the merge of a and b (countA and countB bars) to other.
    float _CalcMatchOfMergedTwoColsToOtherCol(TClusterableBarIt a, TClusterableBarIt b, TClusterableBarIt other,
        int countA, int countB) const;

    // The stored match of two bars still in the matrix; undefined otherwise.
    float MatchOf(int32_t barNrA, int32_t barNrB) const;

    const TClusterableBars& Bars() const { return mBars; }
    const std::vector<TSimilarityMatrixRow>& Rows() const { return mRows; }
    const THierachicalClusters& Clusters() const { return mClusters; }
    const std::vector<TMergeStep>& MergeSteps() const { return mMergeSteps; }

private:
    const float* _Element(TClusterableBarIt a, TClusterableBarIt b) const;
    float* _Element(TClusterableBarIt a, TClusterableBarIt b);

    std::vector<TSimilarityMatrixRow> mRows;
    TClusterableBars mBars;
    THierachicalClusters mClusters;
    std::vector<TMergeStep> mMergeSteps;
    int mLinkage = CGenAvrgClave::TLinkage_Average;
};
