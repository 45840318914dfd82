#pragma once

#include "Generator/CGenRandom.h"
#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternCoord.h"

class CGenGeneratorParams;
class CGenPatternModAndProbs;
class CGenEvsNameds;
class CGenContext;

// One layer's probabilistic graph of short patterns. What the generate
// pipeline needs of a graph is here: its layer, its random generator (whose
// seed the memento keeps), its coordinate conversion, and the two entry points
// of sequence choice and rendering. The patterns, edges and their archive
// arrive with the pattern-graph work; until then a graph is empty, chooses
// nothing and renders nothing.
class CGenPatternGraphBoost {
public:
    explicit CGenPatternGraphBoost(TPatternGraphType type = TPatternGraphType_AccentFamily) : mPatternGraphType(type)
    {
        mPatternCoordConv.SetToUndef();
    }

    TPatternGraphType PatternGraphType() const { return mPatternGraphType; }
    CGenRandom& Random() { return mRandom; }
    const CGenRandom& Random() const { return mRandom; }
    const CGenPatternCoordConv& PatternCoordConv() const { return mPatternCoordConv; }
    void SetPatternCoordConv(const CGenPatternCoordConv& c) { mPatternCoordConv = c; }
    size_t PatternCount() const { return 0; }

    // Chooses the layer's pattern sequence over the region into `mods`.
    void Generate_PatternSeq(CGenGeneratorParams& /*params*/, _TGenInstType /*instType*/, CGenContext& /*context*/,
        CGenPatternModAndProbs& /*mods*/)
    {
    }
    // Renders a chosen sequence to named event lists.
    void Generate_RenderEvs(const CGenGeneratorParams& /*params*/, _TGenInstType /*instType*/,
        const CGenPatternModAndProbs& /*mods*/, CGenEvsNameds& /*evs*/) const
    {
    }

private:
    TPatternGraphType mPatternGraphType;
    CGenRandom mRandom;
    CGenPatternCoordConv mPatternCoordConv;
};
