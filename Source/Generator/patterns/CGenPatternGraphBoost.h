#pragma once

#include "Generator/CGenArchivePointers.h"

#include "Generator/CGenArrangeMarker.h"
#include "Generator/CGenRandom.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/patterns/CGenPatternCoord.h"
#include "Generator/patterns/CGenPatternEdge.h"
#include "Generator/patterns/CGenSuperPattern.h"
#include "Generator/shaping/CGenVaryIntn.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"

#include <boost/graph/adj_list_serialize.hpp>
#include <boost/graph/adjacency_list.hpp>
#include <boost/serialization/tracking.hpp>

#include <cstdint>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

class CGenGeneratorParams;
class CGenPatternModAndProb;
class CGenPatternModAndProbs;
class CGenEvsNameds;
class CGenContext;
class CGenDrumMap;
class CGenStyle;
class CGenGFContext;
class CGenNearestClavePatternInfos;
class CGenStyleGraphRun;

// Patterns as vertices in a vector, edges in a list, out-edges in vectors,
// both directions walkable.
using TGenPatternGraphBoost = boost::adjacency_list<boost::vecS, boost::vecS, boost::bidirectionalS, CGenPattern,
    CGenPatternEdge, boost::no_property, boost::listS>;
using TGenPatternVertex = boost::graph_traits<TGenPatternGraphBoost>::vertex_descriptor;
using TGenPatternEdgeDesc = boost::graph_traits<TGenPatternGraphBoost>::edge_descriptor;

namespace zkgen {

// Reads the graph in the very layout Boost.Graph writes it ("V", "E", the
// vertex properties, then "u", "v" and the property of each edge, then the
// graph property), but refuses edge ends beyond the vertices instead of
// indexing past them. The layout's class information matches the
// adjacency_list's (object with class info, never tracked, version 0).
struct TGenPatternGraphBoostLoader {
    TGenPatternGraphBoost* mGraph = nullptr;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        TGenPatternGraphBoost& g = *mGraph;
        g.clear();
        unsigned int V = 0;
        unsigned int E = 0;
        ar& make_nvp("V", V);
        ar& make_nvp("E", E);
        for (unsigned int i = 0; i < V; ++i) {
            const TGenPatternVertex v = boost::add_vertex(g);
            ar& make_nvp("vertex_property", boost::get(boost::vertex_all_t(), g, v));
        }
        for (unsigned int i = 0; i < E; ++i) {
            int u = 0;
            int v = 0;
            ar& make_nvp("u", u);
            ar& make_nvp("v", v);
            if (u < 0 || v < 0 || static_cast<unsigned int>(u) >= V || static_cast<unsigned int>(v) >= V)
                throw zkgen::TArchiveRefused("the archive gives a pattern graph edge whose end lies beyond its patterns");
            const TGenPatternEdgeDesc e = boost::add_edge(static_cast<TGenPatternVertex>(u),
                static_cast<TGenPatternVertex>(v), g).first;
            ar& make_nvp("edge_property", boost::get(boost::edge_all_t(), g, e));
        }
        boost::no_property graphProperty;
        ar& make_nvp("graph_property", graphProperty);
    }
};

} // namespace zkgen

BOOST_CLASS_TRACKING(zkgen::TGenPatternGraphBoostLoader, boost::serialization::track_never)

// Clave libraries read through a graph's pointer are noted, so that the
// graph can tell them from libraries it merely points at.
ZKG_ARCHIVE_NOTE_CREATED(CGenClaveLibs)

// One layer's probabilistic graph of short patterns: a vertex is a
// CGenPattern, an edge from A to B a CGenPatternEdge with probabilities per
// history. Beside the graph it holds the layer, a non-owning pointer to the
// genre's clave libraries (fixed by the owner after each copy and load), the
// coordinate conversion, the intensity variations, the signature
// transformations (rebuilt by InitSignTimeTrafos, not archived) and the two
// seed words of its random generator (not archived; they change during
// generation through const operations).
//
// A pattern position is an index into the vertex vector; "end" is the
// vertex count.
class CGenPatternGraphBoost : public CGenTraceable<CGenPatternGraphBoost> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternGraphBoost";

    explicit CGenPatternGraphBoost(TPatternGraphType type = TPatternGraphType_AccentFamily);
    CGenPatternGraphBoost(const CGenPatternGraphBoost& o);
    CGenPatternGraphBoost(CGenPatternGraphBoost&& o) noexcept = default;
    CGenPatternGraphBoost& operator=(const CGenPatternGraphBoost& o);
    CGenPatternGraphBoost& operator=(CGenPatternGraphBoost&& o) noexcept = default;
    ~CGenPatternGraphBoost();

    const TGenPatternGraphBoost& Graph() const { return mGraph; }
    TPatternGraphType PatternGraphType() const { return mType; }
    void SetPatternGraphType(TPatternGraphType type) { mType = type; }

    // The genre's clave libraries; null generates nothing.
    CGenClaveLibs* WeakClaveLibs() const { return mWeakClaveLibs; }
    void SetWeakClaveLibs(CGenClaveLibs* libs);

    const CGenPatternCoordConv& PatternCoordConv() const { return mPatternCoordConv; }
    void SetPatternCoordConv(const CGenPatternCoordConv& c) { mPatternCoordConv = c; }
    const CGenVaryIntns& VaryIntns() const { return mVaryIntns; }
    CGenVaryIntns& VaryIntns() { return mVaryIntns; }
    const CGenSignTimeTrafos& SignTimeTrafos() const { return mSignTimeTrafos; }
    // The stored transformations for this instrument and this graph's layer.
    void InitSignTimeTrafos(_TGenInstType instType);

    // The random generator of pattern choice: its state is the current seed
    // word, its seed the start word.
    CGenRandom& Random() const { return mRandom; }
    uint32_t RandomSeedCurrent() const { return mRandom.State(); }
    uint32_t RandomSeedStart() const { return mRandom.Seed(); }
    void RandomSeed(uint32_t seed) const { mRandom.SetSeed(seed); }
    // Both words from the current time in seconds plus clock() & 1023.
    void RandomSeedWithSystemClock() const { mRandom.SeedWithSystemClock(); }

    // Sizes.
    size_t PatternCount() const { return boost::num_vertices(mGraph); }
    size_t EdgeCount() const { return boost::num_edges(mGraph); }
    // Vertices with at least one out-edge.
    size_t PatternsWithOutEdgesSize() const;

    // The pattern at a position; a shared empty pattern beyond the vertices.
    const CGenPattern& PatternAtIx(size_t ix) const;
    // Writable access; the position must be valid.
    CGenPattern& PatternRefAtIx(size_t ix);
    // The edge at a position of the edge list; a shared empty edge beyond it.
    const CGenPatternEdge& EdgeAtIx(size_t ix) const;
    const CGenPatternEdge& Edge(const TGenPatternEdgeDesc& e) const { return mGraph[e]; }
    CGenPatternEdge& Edge(const TGenPatternEdgeDesc& e) { return mGraph[e]; }

    // Edge look-ups between two positions; positions beyond the vertices find nothing.
    std::pair<TGenPatternEdgeDesc, bool> FindEdgeBetween(size_t from, size_t to) const;
    // The edge's position in the edge list, -1 when none.
    int FindEdgeIxBetween(size_t from, size_t to) const;
    bool HasEdgeBetween(size_t from, size_t to) const { return FindEdgeBetween(from, to).second; }

    // The first vertex of that name, or the vertex count.
    size_t FindPatternWithName(const std::string& name) const;
    // The first vertex whose events compare equal, or the vertex count.
    size_t FindPatternThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare) const;
    size_t FindPatternThatMatches(const CGenPattern& pattern, const CGenEvsCompare& compare) const
    {
        return FindPatternThatMatches(pattern.mEvs, compare);
    }
    bool EvsAreUnique(const CGenEvs& evs, const CGenEvsCompare& compare) const
    {
        return FindPatternThatMatches(evs, compare) == PatternCount();
    }
    // The same by single notes: the sounding notes pair by pair under `compare`.
    size_t FindPatternThatMatchesNotes(const CGenEvs& evs, const CGenEvCompare& compare) const;
    // Every vertex that matches so, inserted into `ixs`.
    void FindPatternsMatchingNotes(const CGenEvs& evs, const CGenEvCompare& compare, std::set<int>& ixs) const;

    // The range of the patterns' internal coordinates: the running minimum
    // and maximum per axis, each starting undefined so that the first pattern
    // sets it; all undefined without patterns.
    CGenPatternCoordConv FindPatternCoordIntMinAndMax() const;
    void UpdatePatternCoordConvToMinAndMax() { mPatternCoordConv = FindPatternCoordIntMinAndMax(); }

    // Appends a vertex; its position.
    size_t AddPattern(const CGenPattern& pattern);
    // Appends only a pattern with unique events; otherwise the vertex count.
    size_t AddPatternIfUniqueEvs(const CGenPattern& pattern, const CGenEvsCompare& compare);
    // The clave pattern is looked up in the first clave library (by length
    // and every event's position, weight and pitch) and appended there when
    // missing; the vertex gets a link with the library index, the offset and
    // the match percentage (truncated to an integer). The clave index, -1
    // without libraries (then nothing is linked).
    int LinkToClave(size_t ix, const CGenClavePattern& clavePattern, float matchPercent, signed char offset);
    size_t AddPatternAndLinkToClave(const CGenPattern& pattern, const CGenClavePattern& clavePattern,
        float matchPercent, signed char offset);
    // Links only when the pattern was added; the vertex count otherwise.
    size_t AddPatternIfUniqueEvsAndLinkToClave(const CGenPattern& pattern, const CGenEvsCompare& compare,
        const CGenClavePattern& clavePattern, float matchPercent, signed char offset);
    // Replaces the first pattern of the same name; false when there is none.
    bool ReplacePatternWithSameName(const CGenPattern& pattern);
    // The position of the replaced or appended pattern.
    size_t ReplacePatternWithSameNameOrAddPattern(const CGenPattern& pattern);

    // Adds an edge; positions beyond the vertices create empty vertices up to them.
    TGenPatternEdgeDesc AddEdge(size_t from, size_t to, const CGenPatternEdge& edge);
    // Removes every edge between the two.
    void RemoveEdge(size_t from, size_t to);
    void RemoveEdge(const TGenPatternEdgeDesc& e) { boost::remove_edge(e, mGraph); }
    void EraseAllEdges();
    void EraseAllPatterns() { mGraph.clear(); }

    // Clave links of all patterns and edge entries.
    void EraseAllClaveLinks();
    void EraseAllClaveLinksFor(int ixClavePattern);
    // Links of patterns and edges after clave pattern ix left its library.
    void RemoveClavePattern(int ixClavePattern);

    // Appends the layer and a blank to the prefix and checks the coordinate
    // conversion; false on a fault.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    // Sequence generation: walks the region bar by bar from the left bar of
    // its start and fills `list` with the patterns to play, each chosen from
    // the candidates the graph allows (by edges and history, or from all
    // vertices), weighted by the clave and judged by the layer's style graph.
    // Changes only the list, the seed words and the params' decision log.
    void Generate_PatternSeq(const CGenGeneratorParams& params, const CGenDrumMap* drumMap, _TGenInstType instType,
        const CGenStyle* style, const CGenGFContext& gfContext, CGenPatternModAndProbs* list) const;
    // Sequence generation through super-patterns (used by Generate_PatternSeq
    // while params.mSuperPatterns_Active is on). For each arrange marker of
    // this graph's layer (accents for both accent layers, systems for system
    // and percussion, fills for fills) that lies before endPos, a phrase of
    // the section is made by the bar loop and then repeated, with variations,
    // over the section. Positions are relative to the left bar of the region
    // start, like everything of the bar loop.
    //
    // Every appended element gets an absolute position (mBeatPosAbs in the
    // frame of the bar loop: left bar of the region + relative position):
    // the first element of a section sits at its marker, and each later one
    // follows where the pattern before it ends (a step without a graph
    // pattern advances by nothing). The chosen phrases are thus laid out one
    // after the other from the marker on, in the song's beats, with no snap
    // to bar lines.
    //
    // Random draws, from the graph's generator, in this order: the phrase
    // length in bars (only when mSuperPatterns_LengthStrategy is not 1),
    // then per section those of the bar loop that makes the phrase, then one
    // draw per repeated chunk while the section has variations.
    void Generate_PatternSeqUsingSuperPattern(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float startPos, float endPos,
        CGenPatternModAndProbs* list) const;
    // One section: the marker at markers[markerIx], a phrase of superLength
    // beats, repeated over min(the section's length, length) beats.
    void Generate_PatternSeqAddPatternsForArrangeMarkerUsingSuperPattern(const CGenGeneratorParams& params,
        const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
        const CGenArrangeMarkersInt& markers, size_t markerIx, float superLength, float length,
        CGenPatternModAndProbs* list) const;
    // The phrase at pos over length beats, by the bar loop. With
    // mSuperPatterns_Variation 1 the loop covers one bar and its first
    // pattern is repeated up to the phrase's length, so that the variation
    // of the last step is the only change.
    void Generate_StyleSuperPattern(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float pos, float length,
        CGenSuperPattern* superPattern) const;
    // Variations of a phrase: for each index, every candidate the graph
    // offers there (after the phrase's entries before it, from its last
    // pattern) that has exactly the length of the pattern it replaces gives
    // a copy of the phrase with that candidate at the index, in candidate
    // order. Appended to `out`; nothing without a style-graph context.
    void _SuperPatternFindVariationsAtIx(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
        const CGenSuperPattern* superPattern, size_t ix, CGenSuperPatterns* out) const;
    void _SuperPatternFindVariationsAtOddIxs(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
        const CGenSuperPattern* superPattern, CGenSuperPatterns* out) const;
    void _SuperPatternFindVariationsAtAllIxs(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
        const CGenSuperPattern* superPattern, CGenSuperPatterns* out) const;
    void _SuperPatternFindVariationsAtLastIx(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
        const CGenSuperPattern* superPattern, CGenSuperPatterns* out) const;
    // The steps all of them share: one index (limited to the last one), and
    // a list of indices in turn.
    void _SuperPatternFindVariationsByVaryingOnePattern(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
        const CGenSuperPattern* superPattern, size_t ix, CGenSuperPatterns* out) const;
    void _SuperPatternFindVariationsAtIxs(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
        const CGenSuperPattern* superPattern, const std::vector<size_t>& ixs, CGenSuperPatterns* out) const;
    // Appends the phrase's patterns, in order, until `length` beats are
    // used up (the last one may run past it); a step without a graph
    // pattern only uses up its length. The elements carry an undefined
    // weight and position; nothing for a null phrase or a length not above 0.
    void _SuperPatternAddToPatternSeq(const CGenSuperPattern* superPattern, float length,
        CGenPatternModAndProbs* list) const;
    // Generate_PatternSeq, then Generate_RenderEvs.
    void Generate_Evs(const CGenGeneratorParams& params, const CGenDrumMap* drumMap, _TGenInstType instType,
        const CGenStyle* style, const CGenGFContext& gfContext, CGenPatternModAndProbs* list,
        CGenEvsNameds& evsNameds) const;
    // For a fill pattern of this (fill) graph at `pos`: a marker note for
    // each overlay range of its properties ("FlOvAcSt"/"FlOvAcLn" and so on),
    // so that the ranges show in the rendered events, then the events
    // transformed into the signature in force at `pos`. Nothing for a
    // negative index or another kind of graph.
    void AddOverlayNotesAndTransformSignTimeForFills(int ixPattern, float pos, const CGenEvsSignTime& signTime,
        CGenEvs& evs) const;
    // One named event list per element of `list`, appended to `evsNameds`;
    // nothing is cut to the region here.
    void Generate_RenderEvs(const CGenGeneratorParams& params, const CGenDrumMap* drumMap, _TGenInstType instType,
        const CGenPatternModAndProbs* list, CGenEvsNameds& evsNameds) const;
    // The display name of a rendered element, with the debug additions the
    // params ask for.
    std::string _Generate_RenderEvs_PatternName(const CGenGeneratorParams& params, const CGenPatternModAndProb& el) const;

    // The indices of the first `maxCount` elements of `list` (-1 for an
    // element without one): the history that pattern choice compares.
    static void ConvertToPatternIxs(const CGenPatternModAndProbs& list, CGenPatternIxs& ixs, size_t maxCount);

    // Vertex and edge counts, every vertex, every edge in list order, then
    // the coordinate conversion; the layer and the seeds don't count.
    bool operator==(const CGenPatternGraphBoost& o) const;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("TGenPatternGraphBoost", mGraph);
        const int type = mType;
        ar& make_nvp("mType", type);
        CGenClaveLibs* libs = mWeakClaveLibs;
        ar& make_nvp("mWeakClaveLibs", libs);
        ar& make_nvp("mPatternCoordConv", mPatternCoordConv);
        ar& make_nvp("mVaryIntns", mVaryIntns);
    }

    // An older archive leaves the layer as constructed, no clave libraries,
    // an undefined conversion and no intensity variations.
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        zkgen::TGenPatternGraphBoostLoader loader {&mGraph};
        ar& make_nvp("TGenPatternGraphBoost", loader);
        if (version >= 1) {
            int type = mType;
            ar& make_nvp("mType", type);
            zkgen::CheckArchiveRange(type, TPatternGraphType_Undef, TPatternGraphType_Max, "a pattern graph type");
            mType = static_cast<TPatternGraphType>(type);
        }
        SetWeakClaveLibs(nullptr);
        if (version >= 2 && version <= 4) {
            CGenClaveLib dummyWeakClaveLib;
            ar& make_nvp("dummyWeakClaveLib", dummyWeakClaveLib);
        } else if (version >= 5) {
            // Read with a genre, the pointer names the genre's libraries;
            // read alone, the archive makes them and the graph owns them.
            bool created = false;
            CGenClaveLibs* libs =
                zkgen::LoadArchivePointer<CGenClaveLibs>(ar, "mWeakClaveLibs", zkgen::TArchivePointer::MayBorrow, created);
            _SetLoadedClaveLibs(libs, created);
        }
        mPatternCoordConv.SetToUndef();
        if (version >= 3)
            ar& make_nvp("mPatternCoordConv", mPatternCoordConv);
        mVaryIntns.clear();
        if (version >= 4)
            ar& make_nvp("mVaryIntns", mVaryIntns);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    // One decision of the bar loop and its steps; pos counts from the left
    // bar of the region start. `run` is the layer's style graph for this
    // decision, null without one.
    void _Generate_PatternSeqPlain(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        const CGenStyle* style, const CGenGFContext& gfContext, float startPos, float endPos,
        CGenPatternModAndProbs& list) const;
    CGenPatternModAndProbs _DecideNextPattern(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        const CGenStyle* style, const CGenGFContext& gfContext, float pos, const CGenPatternModAndProbs* list) const;
    CGenPatternModAndProbs _DecideNextPatternStyleGraph(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        const CGenStyle* style, const CGenGFContext& gfContext, float pos, const CGenPatternModAndProbs* list) const;
    CGenPatternModAndProb _FindFirstPattern(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        CGenStyleGraphRun* run, const CGenGFContext& gfContext, float pos, const CGenNearestClavePatternInfos& infos) const;
    CGenPatternModAndProb _RandomlyChooseFirstPattern(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        CGenStyleGraphRun* run, const CGenGFContext& gfContext, float pos, const CGenNearestClavePatternInfos& infos) const;
    void _CreatePatternModAndProbsWithRelaxingObeyHistForCurrentPattern(const CGenGeneratorParams& params,
        const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& gfContext, size_t current,
        const CGenPatternIxs& history, float pos, CGenPatternModAndProbs& list, float& closeness,
        const CGenNearestClavePatternInfos& infos) const;
    void _CreatePatternsModAndProbsDecideAboutHist(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        CGenStyleGraphRun* run, const CGenGFContext& gfContext, size_t current, const CGenPatternIxs& history, float pos,
        CGenPatternModAndProbs& list, float& closeness, const CGenNearestClavePatternInfos& infos) const;
    void _CreatePatternsModAndProbsObeyHistForCurrentPattern(const CGenGeneratorParams& params,
        const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& gfContext, size_t current,
        const CGenPatternIxs& history, float pos, CGenPatternModAndProbs& list, float& closeness,
        const CGenNearestClavePatternInfos& infos) const;
    void _CreatePatternsModAndProbsWithoutHistFromAllPatterns(const CGenGeneratorParams& params,
        const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& gfContext, float pos,
        CGenPatternModAndProbs& list, float& closeness, const CGenNearestClavePatternInfos& infos) const;
    // The relaxed copies: the clave threshold of this layer, and the
    // coordinate threshold; false when (a) does not apply.
    bool _CreatePatternsModAndProbs_RelaxParamsCopyIfPossible_EvsClavePatternsDistHasToMatchLowerThanPercent(
        const CGenGeneratorParams& params, CGenGeneratorParams& copy) const;
    float _CreatePatternsModAndProbs_RelaxParamsCopy_PatternCoordPatternsDistExtHasToMatchLowerThanPercent(
        const CGenGeneratorParams& params, CGenGeneratorParams& copy, float closeness) const;
    // At most one candidate: the target at pos with its weight after the clave factor.
    CGenPatternModAndProbs _CalcProbAndRulesForTargetPattern(const CGenGeneratorParams& params,
        const CGenDrumMap* drumMap, size_t target, float prob, float pos, float& closeness,
        const CGenNearestClavePatternInfos& infos) const;
    float _CalcProbForTargetPatternPreRuleGraph(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
        size_t target, float prob, float pos, const CGenNearestClavePatternInfos& infos) const;
    void _ApplyStyleGraphToPatterns(CGenStyleGraphRun* run, float pos, CGenPatternModAndProbs& list,
        const CGenNearestClavePatternInfos& infos) const;
    // The invalid element: the end position, no weight, no position.
    CGenPatternModAndProb _InvalidElement() const;
    // Appends a relaxation message to the decision log.
    void _LogRelaxation(const CGenGeneratorParams& params, float pos, const std::string& text) const;

    // Points at loaded libraries, owning them when the archive created them.
    void _SetLoadedClaveLibs(CGenClaveLibs* libs, bool createdByArchive);

    TGenPatternGraphBoost mGraph;
    TPatternGraphType mType;
    CGenClaveLibs* mWeakClaveLibs = nullptr;
    // Set only when an archive created the libraries the graph points at.
    std::unique_ptr<CGenClaveLibs> mOwnedClaveLibs;
    CGenPatternCoordConv mPatternCoordConv;
    CGenVaryIntns mVaryIntns;
    CGenSignTimeTrafos mSignTimeTrafos;
    mutable CGenRandom mRandom;
};
BOOST_CLASS_VERSION(CGenPatternGraphBoost, 5)

std::ostream& operator<<(std::ostream& os, const CGenPatternGraphBoost& g);
