#include "Generator/clave/CGenClaveMatchFactor.h"

#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/clave/CGenClaveLinks.h"
#include "Generator/clave/CGenNearestClavePatternInfo.h"
#include "Generator/patterns/CGenPatternCoord.h"

#include <algorithm>
#include <cmath>

int8_t ClaveLinkOffsetForRelPos(float relPos)
{
    if (GenIsUndef(relPos) || std::isnan(relPos))
        return static_cast<int8_t>(-128);
    return static_cast<int8_t>(std::round(std::clamp(relPos, -127.0f, 127.0f)));
}

void ProbFactorAndIxPatternForEvsClave(const CGenGeneratorParams* params, const CGenClaveLibs* claveLibs,
    const CGenClaveLinks& claveLinks, float distThreshold, const CGenBeatedPatternIxs& beatedIxs, float pos,
    float& factor, int& ixClavePattern, float& match, int ixGiven, float relPosGiven)
{
    if (!params)
        return;
    match = 0.0f;
    if (!params->mEvsClave_PrototypeClaveTrackEnabled || GenIsUndef(distThreshold) || beatedIxs.empty()) {
        factor = 1.0f;
        ixClavePattern = ixGiven;
        return;
    }
    int ix = -1;
    float relPos = TGenBeatPos_Undef;
    if (ixGiven != -1 && (!claveLibs || GenIsDef(relPosGiven))) {
        ix = ixGiven;
        relPos = relPosGiven;
    } else if (claveLibs) {
        CGenNearestClavePatternInfo info;
        FindNearestClavePatternIxAndRelPos(beatedIxs, params, claveLibs->FindClaveLibForName(kClaveLibName_Family), pos,
            info);
        ix = info.mIxClavePattern;
        relPos = info.mRelPos;
    }
    ixClavePattern = ix;
    const auto link = claveLinks.FindLinkFor(ix, ClaveLinkOffsetForRelPos(relPos));
    if (link != claveLinks.end())
        match = static_cast<float>(link->mMatchToClavePercentInt8) / 100.0f;
    factor = ProbFactorForClosenessAndVariance(params->mClosenessAndVarianceStrat, match, 1.0f - distThreshold);
}
