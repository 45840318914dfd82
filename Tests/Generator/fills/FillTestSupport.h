#pragma once

// What the fill tests share: a small song with a region, fills, candidate
// lists and places.

#include "Generator/CGenCharContext.h"
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/fills/CGenCharCreateFill.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <algorithm>
#include <initializer_list>
#include <string>

namespace zkgtest {

// A song of one metre with a tempo of 120, and a region in it.
struct Song {
    CGenGeneratorParams params;
    CGenContext context {&params};
    CGenCharContext cc {&context};
    CGenStyle style {"S"};

    Song(float start, float length, int nom = 4, int denomIx = 2)
    {
        params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(nom, denomIx)}};
        params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
        params.mGenerateStartPosAbs = start;
        params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
        params.mGenerateLength = length;
        context.mStyle = &style;
    }
};

inline TCreateFillPlace Place(float fillEnd, int barsSince, float startInBar, uint32_t seed)
{
    TCreateFillPlace place;
    place.mFillEnd = fillEnd;
    place.mBarsSince = barsSince;
    place.mStartInBar = startInBar;
    place.mSeed = seed;
    return place;
}

// A fill of `length` beats with one note per beat (at least one), in 4/4.
inline CGenPattern Fill(const std::string& name, float length)
{
    CGenEvs evs(length);
    for (int i = 0; i < std::max(1, static_cast<int>(length)); ++i)
        evs.InsertAtBeatPos(CGenEv(static_cast<float>(i), 0.25f, st_NoteOn, 38, 100));
    return CGenPattern(name, evs);
}

inline CGenPatternModAndProbs Candidates(std::initializer_list<CGenPattern> patterns)
{
    CGenPatternModAndProbs list;
    for (const CGenPattern& p : patterns)
        list.emplace_back(p);
    return list;
}

// The list positions are in the song's metre, as the callers hand them on.
inline CGenPatternModAndProbs TargetList()
{
    CGenPatternModAndProbs out;
    out.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
    return out;
}

// Whether a call gave a fill.
inline bool Chosen(const CGenPatternModAndProbs& out, CGenPatternModAndProbs::iterator it)
{
    return it != out.end();
}

} // namespace zkgtest
