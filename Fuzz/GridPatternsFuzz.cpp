// Drum grids, pitched grids (an input starting with "~") and the phrases
// that train a graph's edges, as the content compiler reads them. Up to the
// last form feed the input is a grid file,
// after it a phrases file; without one the phrase plays every pattern read
// in written order. Mistakes end as TContentError; anything else that leaves
// the readers is a fault. A graph built from what read must hold the
// probabilities a style runs on and survive the library's archive.

#include "FuzzSupport.h"

#include "content/GridPatterns.h"

#include "Generator/CGenArchiveIO.h"
#include "Generator/CGenEv.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/patterns/CGenPatternEdge.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"

#include <cmath>
#include <set>

namespace {

// The rows of the demo library's kit that the seeds use.
const zkgen::cli::TDrumMapAliases& Aliases()
{
    static const zkgen::cli::TDrumMapAliases aliases = {
        {"kick", "Drums.Ki.note.s1"},
        {"snare", "Drums.Sn.note.nrm[eccentricity.center;stroke.s1]"},
        {"hh", "Drums.Hh.note.hit.move.static.open.o1"},
        {"hhopen", "Drums.Hh.note.hit.move.static.open.o6"},
        {"pedal", "Drums.Hh.note.foot.close"},
        {"tom1", "Drums.Tm.pitch.1"},
        {"floor", "Drums.Tm.pitch.5"},
    };
    return aliases;
}

bool IsCellVelocity(int velocity)
{
    return velocity == 35 || velocity == 55 || velocity == 80 || velocity == 105 || velocity == 125;
}

void CheckPatterns(const std::vector<CGenPattern>& patterns)
{
    std::set<std::string> names;
    for (const CGenPattern& pattern : patterns) {
        // Phrases name patterns by blank-separated words.
        if (pattern.mName.empty() || pattern.mName.find_first_of(" \t") != std::string::npos)
            zkfuzz::Fail("a pattern reads with a name no phrase can give");
        if (!names.insert(pattern.mName).second)
            zkfuzz::Fail("two patterns read with one name");
        for (const CGenEv& ev : pattern.mEvs) {
            if (!IsCellVelocity(ev.mMB2))
                zkfuzz::Fail("a grid note has a velocity no cell gives");
            if (!(ev.BeatPos() >= 0.0f && ev.BeatPos() < pattern.Length()))
                zkfuzz::Fail("a grid note lies outside its pattern");
            // A pitched note is an abstract note whose sustain stays in the pattern.
            if (ev.mpMelodyVariationInformation
                && (ev.AbstractNoteConst().IsUndef() || !(ev.mBeatLength > 0.0f)
                    || ev.BeatPos() + ev.mBeatLength > pattern.Length() * 1.0001f))
                zkfuzz::Fail("a pitched grid note has no note or runs past its pattern");
        }
    }
}

// Each pattern's history-free probabilities of going on are one whole.
void CheckEdges(const CGenPatternGraphBoost& graph)
{
    std::vector<double> sums(graph.PatternCount(), 0.0);
    for (auto [e, end] = boost::edges(graph.Graph()); e != end; ++e) {
        const CGenPatternEdge& edge = graph.Edge(*e);
        if (edge.mProbHists.empty() || !edge.mProbHists.front().mHistory.empty())
            zkfuzz::Fail("a trained edge starts without its history-free probability");
        for (const CGenProbHist& entry : edge.mProbHists)
            if (!(entry.mProbability > 0.0f && entry.mProbability <= 100.0f))
                zkfuzz::Fail("a trained probability lies outside (0, 100]");
        sums[boost::source(*e, graph.Graph())] += edge.mProbHists.front().mProbability;
    }
    for (size_t v = 0; v < sums.size(); ++v)
        if (boost::out_degree(v, graph.Graph()) > 0 && std::fabs(sums[v] - 100.0) > 0.01)
            zkfuzz::Fail("a pattern's trained probabilities don't add up to 100");
}

void Train(const std::vector<CGenPattern>& patterns, const std::string& phrases)
{
    CGenPatternGraphBoost graph(TPatternGraphType_System);
    for (const CGenPattern& pattern : patterns)
        graph.AddPattern(pattern);
    try {
        zkgen::cli::TrainEdgesFromPhrases(phrases, "fuzz.phrases", graph);
    } catch (const zkgen::cli::TContentError&) {
        if (graph.EdgeCount() != 0)
            zkfuzz::Fail("refused phrases left edges behind");
        return;
    }
    CheckEdges(graph);

    // The same phrases again clash with the edges they made, and change nothing.
    const size_t edges = graph.EdgeCount();
    try {
        zkgen::cli::TrainEdgesFromPhrases(phrases, "fuzz.phrases", graph);
        if (edges != 0)
            zkfuzz::Fail("phrases trained twice into one graph");
    } catch (const zkgen::cli::TContentError&) {
        if (graph.EdgeCount() != edges)
            zkfuzz::Fail("refused phrases changed the edges");
    }

    // The bundle stores the graph as a text archive; what the compiler made
    // must load again as it was.
    graph.UpdatePatternCoordConvToMinAndMax();
    CGenPatternGraphBoost loaded;
    std::string reason;
    if (!zkgen::LoadTextArchiveFromData(loaded, zkgen::SaveTextArchiveToData(graph), &reason))
        zkfuzz::Fail("a graph of grid patterns doesn't load from its archive");
    if (!(loaded == graph))
        zkfuzz::Fail("a graph of grid patterns loads from its archive as another graph");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    std::string input(reinterpret_cast<const char*>(data), size);
    const bool pitched = !input.empty() && input[0] == '~';
    if (pitched)
        input.erase(0, 1);
    const size_t separator = input.rfind('\f');
    const std::string grid = input.substr(0, separator);

    std::vector<CGenPattern> patterns;
    try {
        patterns = pitched ? zkgen::cli::ParsePitchedGridPatterns(grid, "fuzz.grid")
                           : zkgen::cli::ParseGridPatterns(grid, "fuzz.grid", Aliases());
    } catch (const zkgen::cli::TContentError&) {
        return 0;
    }
    CheckPatterns(patterns);

    std::string phrases;
    if (separator != std::string::npos) {
        phrases = input.substr(separator + 1);
    } else {
        for (const CGenPattern& pattern : patterns)
            phrases += pattern.mName + " ";
    }
    Train(patterns, phrases);
    return 0;
}
