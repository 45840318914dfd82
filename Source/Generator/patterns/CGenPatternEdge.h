#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenClaveLinks.h"
#include "Generator/patterns/CGenPatternIxs.h"

#include <cstdint>
#include <ostream>
#include <utility>
#include <vector>

// One probability of an edge, valid after a particular history of patterns.
class CGenProbHist : public CGenTraceable<CGenProbHist> {
public:
    static constexpr const char* kTraceClassName = "CGenProbHist";

    // Kind of entry, for the authoring tool; generation doesn't read it.
    int32_t mType = 0;
    // 0..100; undefined marks an entry that an edge constructor leaves out.
    float mProbability = TGenBeatPos_Undef;
    // Pattern indices played before, oldest first, the last being the
    // edge's source; -1 is a wildcard; empty means valid after any history.
    std::vector<int32_t> mHistory;
    CGenClaveLinks mClaveLinks;

    CGenProbHist() = default;
    // Every index other than -1 is appended to the history in the order
    // given: -1 here means "not given", not a wildcard.
    explicit CGenProbHist(float probability, int h0 = -1, int h1 = -1, int h2 = -1, int h3 = -1, int h4 = -1,
        int h5 = -1, int h6 = -1, int h7 = -1, int h8 = -1, int h9 = -1, int h10 = -1);

    // Probability, history, and each clave link by index, percentage and offset.
    bool operator==(const CGenProbHist& o) const
    {
        return mProbability == o.mProbability && mHistory == o.mHistory && mClaveLinks == o.mClaveLinks;
    }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mType", mType);
        ar& make_nvp("mProbability", mProbability);
        ar& make_nvp("mHistory", mHistory);
        ar& make_nvp("mClaveLinks", mClaveLinks);
    }
    // Fields an older version lacks take their defaults.
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        mType = 0;
        mClaveLinks.clear();
        if (version >= 2)
            ar& make_nvp("mType", mType);
        ar& make_nvp("mProbability", mProbability);
        ar& make_nvp("mHistory", mHistory);
        if (version >= 1)
            ar& make_nvp("mClaveLinks", mClaveLinks);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenProbHist, 2)

// An edge from pattern A to pattern B: its probabilities, each for the
// history that led to A.
class CGenPatternEdge : public CGenTraceable<CGenPatternEdge> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternEdge";
    using TProbHists = std::vector<CGenProbHist>;

    TProbHists mProbHists;

    CGenPatternEdge() = default;
    // Keeps the entries whose probability is defined, in the order given.
    explicit CGenPatternEdge(const CGenProbHist& p0, const CGenProbHist& p1 = CGenProbHist(),
        const CGenProbHist& p2 = CGenProbHist(), const CGenProbHist& p3 = CGenProbHist(),
        const CGenProbHist& p4 = CGenProbHist(), const CGenProbHist& p5 = CGenProbHist(),
        const CGenProbHist& p6 = CGenProbHist(), const CGenProbHist& p7 = CGenProbHist());

    // The longest match between `history` and an entry's history, both read
    // from their ends: (probability, matched length). Of equal lengths the
    // earliest entry wins; an empty edge gives (0, 0).
    std::pair<float, int> ProbabilityForHistory(const CGenPatternIxs& history) const;
    // The matched length of one entry's history against `history`, read from
    // the ends, wildcards counting.
    static int MatchLengthFromEnd(const std::vector<int32_t>& entryHistory, const CGenPatternIxs& history);
    // The first entry with exactly this history, or end().
    TProbHists::const_iterator FindProbHistWithHist(const CGenPatternIxs& history) const;
    TProbHists::iterator FindProbHistWithHist(const CGenPatternIxs& history);
    // The probability of the first entry without history; undefined when none.
    float ProbabilityForEmptyHist() const;
    // Sets that entry, appending it when missing.
    void SetProbabilityForEmptyHist(float probability);
    // The largest probability of all entries; undefined for an empty edge.
    float MaxProbabilityForAllHistories() const;
    // The entry that matches most steps of `sets` from `offset`:
    // (matched count, probability), (0, 0) when none matches.
    std::pair<int, float> BestProbabilityForPatternIxSets(const CGenPatternIxSets& sets, size_t offset) const;

    void EraseAllClaveLinks();
    void EraseAllClaveLinksFor(int ixClavePattern);
    void RemoveClavePattern(int ixClavePattern);

    bool empty() const { return mProbHists.empty(); }
    size_t size() const { return mProbHists.size(); }

    bool operator==(const CGenPatternEdge& o) const { return mProbHists == o.mProbHists; }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    // The element name is not a valid XML name, so edges (and graphs) have
    // text and binary archives only.
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("vector<CGenProbHist>", mProbHists);
    }
};

std::ostream& operator<<(std::ostream& os, const CGenProbHist& p);
std::ostream& operator<<(std::ostream& os, const CGenPatternEdge& e);
