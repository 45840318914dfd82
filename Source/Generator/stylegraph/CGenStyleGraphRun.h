#pragma once

#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/stylegraph/CGenGFModule.h"

#include <string>

class CGenContext;
class CGenRandom;
class CGenStyle;
class CGenNearestClavePatternInfos;

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
    // The graph of a layer in `style` rather than in the context's style
    // (none for a null style).
    CGenStyleGraphRun(CGenContext& context, const CGenStyle* style, TPatternGraphType type);
    ~CGenStyleGraphRun();
    CGenStyleGraphRun(const CGenStyleGraphRun&) = delete;
    CGenStyleGraphRun& operator=(const CGenStyleGraphRun&) = delete;

    // The running graph, or null (no style, no such key, refused set-up).
    CGenGFModule* Graph() const { return mGraph; }
    // The graph found for the key, whether or not its set-up succeeded.
    CGenGFModule* Module() const { return mModule; }
    // A graph exists for the key and holds no modules: the one case in which
    // pattern choice relaxes its conditions when nothing is found.
    bool ModuleIsEmpty() const;

    // One judging pass at `posRelToLeftBar`; the list is left alone without
    // a running graph or when the graph has no modules.
    // The clave infos, when given, are what the modules see of the clave at
    // that position.
    void ApplyStyleGraphToPatterns(CGenPatternModAndProbs& list, float posRelToLeftBar,
        const CGenNearestClavePatternInfos* infos = nullptr);

    struct TResult {
        // The chosen entries: all of them when the graph made the choice,
        // else none or the one drawn.
        CGenPatternModAndProbs mPatterns;
        // The graph made the choice and left nothing: the sequence ends.
        bool mFinished = false;
    };
    TResult ChooseResult(CGenPatternModAndProbs& list, CGenRandom& random) const;

private:
    void _start(const std::string& styleGraphKey, const CGenStyle* style);

    CGenContext& mContext;
    CGenGFModule* mModule = nullptr;
    CGenGFModule* mGraph = nullptr;
};
