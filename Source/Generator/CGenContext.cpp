#include "Generator/CGenContext.h"

#include "Generator/CGenGeneratorParams.h"
#include "Generator/stylegraph/CGenStyle.h"

CGenContext::CGenContext(CGenGeneratorParams* params, CGenGenreLib* genreLib, CGenInstLib* instLib, const CGenDrumMap* drumMap)
    : mParams(params), mGenreLib(genreLib), mInstLib(instLib), mDrumMap(drumMap)
{
}

float CGenContext::GeneratePosAbs() const
{
    if (!mParams)
        return TGenBeatPosAbs_Undef;
    return GenAddRegardingUndef(mGeneratePos, mParams->mGenerateStartLeftBarPosAbs);
}

CGenGFModule* CGenContext::StyleGraphForStyleGraphKey() const
{
    return mStyle ? mStyle->StyleGraphs().StyleGraphForKey(mStyleGraphKey) : nullptr;
}
