#pragma once

#include "Generator/CGenGenerator.h"

// The generator's stages are private; tests reach the ones they check one by
// one through here.
struct CGenGeneratorTestAccess {
    static void TempoScalePost(CGenGenerator& g, CGenGeneratorParams& params, CGenEvsNameds& evs)
    {
        g._Generate_TempoScalePost(params, evs);
    }
    static void MergeAllEvsNameds(CGenGenerator& g, CGenEvsNameds& evs, float generateStartPosAbs)
    {
        g._Generate_MergeAllEvsNameds(evs, generateStartPosAbs);
    }
    static void ApplyGroove(CGenGenerator& g, CGenGeneratorParams& params, CGenGenreLib* genreLib, CGenEvsNameds& evs)
    {
        g._Generate_ApplyGroove(params, genreLib, evs);
    }
    static void ReplaceSlashChordsWithEquivalents(CGenGenerator& g, CGenGeneratorParams& params)
    {
        g._Generate_Pre_ReplaceSlashChordsWithEquivalents(params);
    }
};
