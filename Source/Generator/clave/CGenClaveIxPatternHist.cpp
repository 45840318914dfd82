#include "Generator/clave/CGenClaveIxPatternHist.h"

#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveLib.h"

#include <cmath>

namespace {

// The grid and tolerance of the slow walk for libraries off the eighth grid.
constexpr float kSlowWalkGridStep = 0.25f;
constexpr float kSlowWalkTolerance = 0.125f;
// The tolerance of the bits per bar.
constexpr float kBitsTolerance = 0.125f;
// An end this far into its bar counts that bar.
constexpr float kEndBarCountsAfterBeats = 1.0f;
// EvsAsBitsInBars: no limit.
constexpr int kNoEndBar = -0x7fffffff;
// A timetable never gets more entries than this; a clave of tiny patterns
// over a long song is content at fault, not a reason to exhaust memory.
constexpr size_t kMaxEntries = 1u << 20;

void SetEmptyHistories(CGenGeneratorParams& params, const CGenClaveLibs& libs)
{
    params.mEvsClaveClosestIxPatternHistForName.clear();
    for (const CGenClaveLib& lib : libs)
        params.mEvsClaveClosestIxPatternHistForName[lib.mName];
}

void SlowWalk(const CGenClaveLib& lib, const CGenEvsClave& clave, float start, CGenBeatedPatternIxs& out)
{
    out.clear();
    if (clave.empty() || GenIsUndef(start))
        return;
    const float last = clave.back().mBeatPos + kSlowWalkGridStep;
    for (float pos = start; pos < last && out.size() < kMaxEntries;) {
        const int ix = lib.FindBestMatchingClaveIxPattern(clave, pos, kSlowWalkGridStep, kSlowWalkTolerance).first;
        if (ix < 0)
            return;
        out.push_back(CGenBeatedPatternIx(pos, ix));
        const float length = lib[static_cast<size_t>(ix)].Length();
        if (!(length > 0.0f))
            return;
        pos += length;
    }
}

} // namespace

void CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, const CGenClaveLibs& libs, float start, float end)
{
    if (!params.mEvsClave_FollowTrackEnabled && !params.mEvsClave_PrototypeClaveTrackEnabled) {
        SetEmptyHistories(params, libs);
        params.mEvsClaveEvsAsBitsInBars8thOnBeat.clear();
        params.mEvsClaveEvsAsBitsInBars8thOffBeat.clear();
        return;
    }
    TParamsClave& request = params.mParamsClave;
    if (request.mClaveRecalcOnGenerate == kClaveRecalcOnGenerate_UseStored && !request.mRequestClaveRecalcOnGenerate
        && !params.mEvsClaveClosestIxPatternHistForName.empty())
        return;
    request.mRequestClaveRecalcOnGenerate = false;
    if (request.mClaveRecalcOnGenerate == kClaveRecalcOnGenerate_Never) {
        SetEmptyHistories(params, libs);
        return;
    }

    // An endless region (pattern choice plays a fixed stretch of it) has no
    // end for the timetable either: it runs to the end of the clave track.
    if (!std::isfinite(end))
        end = TGenBeatPos_Undef;
    const CGenEvsSignTime& signs = params.mEvsSignTime;
    const int firstBar = signs.BeatPosToInternBarNr(start);
    int endBar = kNoEndBar;
    if (GenIsDef(end)) {
        int bar = TGenBarNr_Undef;
        float inBar = TGenBeatPos_Undef;
        signs.BeatPosToInternBarNrAndLengthInBar(end, &bar, &inBar);
        if (bar != TGenBarNr_Undef)
            endBar = (GenIsDef(inBar) && inBar > kEndBarCountsAfterBeats) ? bar + 1 : bar;
    }
    params.mEvsClave.EvsAsBitsInBars8thOnBeat(signs, firstBar, endBar, kBitsTolerance,
        params.mEvsClaveEvsAsBitsInBars8thOnBeat);
    params.mEvsClave.EvsAsBitsInBars8thOffBeat(signs, firstBar, endBar, kBitsTolerance,
        params.mEvsClaveEvsAsBitsInBars8thOffBeat);

    params.mEvsClaveClosestIxPatternHistForName.clear();
    for (const CGenClaveLib& lib : libs) {
        CGenBeatedPatternIxs& out = params.mEvsClaveClosestIxPatternHistForName[lib.mName];
        switch (lib.GridType()) {
        case CGenClaveLib::TGridType_8thOnBeat:
            lib.CreateClosestIxPatternHistFromEvsAsBitsInBars(params.mEvsClaveEvsAsBitsInBars8thOnBeat, start, end, out);
            break;
        case CGenClaveLib::TGridType_8thOffBeat:
            lib.CreateClosestIxPatternHistFromEvsAsBitsInBars(params.mEvsClaveEvsAsBitsInBars8thOffBeat, start, end, out);
            break;
        default: SlowWalk(lib, params.mEvsClave, start, out); break;
        }
    }
}

void CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, const CGenClaveLibs& libs)
{
    const float start = params.mGenerateStartLeftBarPosAbs;
    const float end = GenAddRegardingUndef(params.mGenerateStartPosAbs, params.mGenerateLength);
    CreateEvsClaveIxPatternHist(params, libs, start, end);
}

void FillMissingPartsOfAllEvsClaveClosestIxPatternHist(CGenGeneratorParams& params, const CGenClaveLibs& libs)
{
    const float start = params.mGenerateStartPosAbs;
    const float length = params.mGenerateLength;
    if (GenIsUndef(start) || GenIsUndef(length))
        return;
    for (const CGenClaveLib& lib : libs) {
        if (lib.empty())
            continue;
        CGenBeatedPatternIxs& hist = params.mEvsClaveClosestIxPatternHistForName[lib.mName];
        const float patternLength = lib.front().Length();
        if (!hist.empty() || !(patternLength > 0.0f))
            continue;
        const double n = std::ceil(static_cast<double>(length) / patternLength);
        for (double i = 0; i < n && hist.size() < kMaxEntries; ++i)
            hist.push_back(CGenBeatedPatternIx(start + static_cast<float>(i) * patternLength, 0));
    }
}
