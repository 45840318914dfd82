#pragma once

#include "Generator/CGenBitmask.h"
#include "Generator/CGenEvs.h"
#include "Generator/CGenRandom.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenNearestClavePatternInfo.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"

#include <map>
#include <string>

class CGenGeneratorParams;
class CGenGenreLib;
class CGenInstLib;
class CGenPatternGraphBoost;
class CGenDrumMap;
class CGenStyle;
class CGenGFModule;
class CGenGrooves;
class CGenPatternsPool;
class CGenGFRatingTables;
struct CGenLuaCacheEntry;
struct lua_State;

// The blackboard of one generation: what stages, style graphs and scripts see
// at the point where the generator stands. It lives in the generator's
// run-time record and is replaced by each pre stage; nothing may keep a
// pointer to it across generations. Pointers don't own, and nothing here is
// archived.
class CGenContext {
public:
    CGenContext(CGenGeneratorParams* params = nullptr, CGenGenreLib* genreLib = nullptr, CGenInstLib* instLib = nullptr,
        const CGenDrumMap* drumMap = nullptr);

    CGenGeneratorParams* mParams = nullptr;
    CGenGenreLib* mGenreLib = nullptr;
    CGenInstLib* mInstLib = nullptr;
    // Set before each layer and each style graph run.
    CGenPatternGraphBoost* mPatternGraph = nullptr;
    const CGenDrumMap* mDrumMap = nullptr;
    CGenStyle* mStyle = nullptr;
    // The key of the running graph; kStyleGraphKey_GlobalToMerged while the
    // script's "runOnGenerateBegin" runs.
    std::string mStyleGraphKey;
    // For scripts.
    const CGenGrooves* mGrooves = nullptr;
    // Set by the script set-up of the generate call.
    CGenLuaCacheEntry* mLuaCacheEntry = nullptr;
    lua_State* mLuaState = nullptr;
    // Counts changes of the global scripts, so that script modules reload theirs.
    int mGlobalScriptChangeCount = 0;
    // Set by the pattern stage.
    CGenPatternsPool* mPatternsPool = nullptr;
    // The generator's standard rating tables, or null when it has none.
    const CGenGFRatingTables* mRatingTables = nullptr;
    float mRegionLeftCornerEditOffset = 0.0f;
    // Relative to mGenerateStartLeftBarPosAbs; undefined at first, 0 after
    // the pre stage. Modules run once for each value of it.
    float mGeneratePos = TGenBeatPos_Undef;
    // What the clave does at the generate position, set with it before each
    // style graph run.
    CGenNearestClavePatternInfos mNearestClavePatternInfos;
    // Starts from the clock; the merged stage sets it from the memento.
    CGenRandom mRandom;
    uint32_t mFillSeed = 0;
    // What a style graph receives.
    CGenPatternModAndProbs mInputPatterns;
    // The chosen sequences of all layers.
    std::map<TPatternGraphType, CGenPatternModAndProbs> mPatternMap;
    // What a style graph leaves.
    CGenPatternModAndProbs mOutputPatterns;
    // Signature transformations set by scripts, each with its layer mask;
    // used when the current pattern graph brings none.
    CGenSignTimeTrafos mSignTimeTrafos;
    // The events the global stage started from, for scripts.
    CGenEvs mGlobalOriginalEvs;
    // Debugging aids, by style graph key: whether choices are reported, and
    // the last report (e.g. of a fill's draw).
    std::map<std::string, bool> mStyleGraphDebugFlags;
    std::map<std::string, std::string> mStyleGraphReports;
    // Set when a script made the patterns of the graph's result itself
    // (placeholders): the result is then taken whole, not drawn from.
    bool mGraphMadeTheChoice = false;

    CGenGeneratorParams* GeneratorParams() const { return mParams; }
    CGenInstLib* InstLib() const { return mInstLib; }
    CGenPatternGraphBoost* CurrentPatternGraph() const { return mPatternGraph; }
    float GeneratePos() const { return mGeneratePos; }
    void SetGeneratePos(float pos) { mGeneratePos = pos; }
    // The generate position plus the left bar; undefined if either is, or
    // without params.
    float GeneratePosAbs() const;
    uint32_t FillSeed() const { return mFillSeed; }
    void SetFillSeed(uint32_t seed) { mFillSeed = seed; }
    float RegionLeftCornerEditOffset() const { return mRegionLeftCornerEditOffset; }
    // The graph of the style graph key in the current style, or null
    // (no style, no graphs loaded, no such key).
    CGenGFModule* StyleGraphForStyleGraphKey() const;
};
