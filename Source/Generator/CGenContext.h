#pragma once

#include "Generator/CGenRandom.h"
#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <map>
#include <string>

class CGenGeneratorParams;
class CGenGenreLib;
class CGenInstLib;
class CGenPatternGraphBoost;
class CGenDrumMap;
class CGenStyle;

// The blackboard of one generation: what stages, style graphs and scripts see
// at the point where the generator stands. It lives in the generator's
// run-time record and is replaced by each pre stage. Pointers don't own.
class CGenContext {
public:
    CGenContext(CGenGeneratorParams* params, CGenGenreLib* genreLib, CGenInstLib* instLib, const CGenDrumMap* drumMap);

    CGenGeneratorParams* mParams = nullptr;
    CGenGenreLib* mGenreLib = nullptr;
    CGenInstLib* mInstLib = nullptr;
    CGenPatternGraphBoost* mPatternGraph = nullptr;
    const CGenDrumMap* mDrumMap = nullptr;
    CGenStyle* mStyle = nullptr;
    std::string mStyleGraphKey;
    float mRegionLeftCornerEditOffset = 0.0f;
    // Relative to mGenerateStartLeftBarPosAbs.
    float mGeneratePos = TGenBeatPos_Undef;
    CGenRandom mRandom;
    uint32_t mFillSeed = 0;
    CGenPatternModAndProbs mInputPatterns;
    std::map<TPatternGraphType, CGenPatternModAndProbs> mPatternMap;
    CGenPatternModAndProbs mOutputPatterns;

    CGenGeneratorParams* GeneratorParams() const { return mParams; }
    CGenInstLib* InstLib() const { return mInstLib; }
    float GeneratePos() const { return mGeneratePos; }
    void SetGeneratePos(float pos) { mGeneratePos = pos; }
    // The generate position plus the left bar; undefined if either is.
    float GeneratePosAbs() const;
    uint32_t FillSeed() const { return mFillSeed; }
    void SetFillSeed(uint32_t seed) { mFillSeed = seed; }
    float RegionLeftCornerEditOffset() const { return mRegionLeftCornerEditOffset; }
};
