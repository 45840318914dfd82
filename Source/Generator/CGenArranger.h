#pragma once

#include "Generator/CGenEvsNameds.h"
#include "Generator/CGenGeneratorParams.h"

// The place in the pipeline for removing clashes between layers. Clashes are
// dealt with in the earlier stages (fills cut the other layers, the feet lose
// what the accents play), so nothing calls these during a generation and they
// change nothing.
class CGenArranger {
public:
    static void RemoveClashes(const CGenGeneratorParams& params, CGenEvsNameds& evs)
    {
        _RemoveClashesRhythmic(params, evs);
        _RemoveClashesHarmonic(params, evs);
    }
    static void _RemoveClashesRhythmic(const CGenGeneratorParams& /*params*/, CGenEvsNameds& /*evs*/) {}
    static void _RemoveClashesHarmonic(const CGenGeneratorParams& /*params*/, CGenEvsNameds& /*evs*/) {}
};
