#pragma once

#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/stylegraph/CGenGFModule.h"

#include <string>

class CGenContext;
class CGenRandom;

// The caller's side of a style graph: how a layer hands candidates in and
// takes one back.
//
// Made for one decision: it stores the graph's key in the context, finds the
// graph in the current style and starts its run (_setup). Each judging pass
// (ApplyStyleGraphToPatterns) copies the list into the context's input
// candidates, sets the generate position, pulls the graph and copies the
// output candidates back over the list. ChooseResult then takes the result:
// the whole list when a script made the choice, else one entry drawn as
// CGenPatternModAndProbs::ChooseRandomly draws. The run ends when the object
// goes. Exceptions of modules are caught here and logged; the pass then ends
// with what stands in the context.
class CGenStyleGraphRun {
public:
    // The graph of a layer ("kStyleGraphKey_AccentFam", ... for types 0 to 4;
    // no graph for any other type).
    CGenStyleGraphRun(CGenContext& context, TPatternGraphType type);
    CGenStyleGraphRun(CGenContext& context, const std::string& styleGraphKey);
    ~CGenStyleGraphRun();
    CGenStyleGraphRun(const CGenStyleGraphRun&) = delete;
    CGenStyleGraphRun& operator=(const CGenStyleGraphRun&) = delete;

    // The running graph, or null (no style, no such key, refused set-up).
    CGenGFModule* Graph() const { return mGraph; }

    // One judging pass at `posRelToLeftBar`; the list is left alone without
    // a running graph or when the graph has no modules.
    void ApplyStyleGraphToPatterns(CGenPatternModAndProbs& list, float posRelToLeftBar);

    struct TResult {
        // The chosen entries: all of them when the graph made the choice,
        // else none or the one drawn.
        CGenPatternModAndProbs mPatterns;
        // The graph made the choice and left nothing: the sequence ends.
        bool mFinished = false;
    };
    TResult ChooseResult(CGenPatternModAndProbs& list, CGenRandom& random) const;

private:
    void _start(const std::string& styleGraphKey);

    CGenContext& mContext;
    CGenGFModule* mGraph = nullptr;
};
