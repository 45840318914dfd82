#pragma once

// The methods of the `context` object, split by topic over several files;
// CGenLuaContext.cpp lists them all in the metatable. Private to the
// scripting bindings.

#include "Generator/CGenCharContext.h"
#include "Generator/scripting/CGenLuaClasses.h"
#include "Generator/timesig/CGenSignTimeTrafos.h"

class CGenContext;
class CGenGeneratorParams;

namespace zkgen::lua::ctxapi {

// The context of argument 1 (a dead or foreign value is a Lua error).
CGenContext& Self(lua_State* L);
// The context's params, or "<name>: luaContext->context->ExternParams() == nullptr".
CGenGeneratorParams& Params(const CGenContext& ctx, const char* name);
// The concretizer, or "<name>: !luaContext->AbstractNoteConcretizerValid()".
class CAbstractNotesConcretizer& Concretizer(const CGenContext& ctx, const char* name);

// A position triple (st, barRel[, posInBar]) starting at stack index idx:
// the frame, the bar relative to the generate start and the 0-based position
// in the bar (the bar's first beat when left out).
struct TBarRelArgs {
    TSTDefaultOrTarget mST = TSTDefaultOrTarget::Target;
    int mBarRel = 0;
    float mPosInBar = 0.0f;
};
TBarRelArgs ReadBarRelArgs(lua_State* L, int idx, const char* name);
// The triple as an absolute position in the song's signature (undefined
// when it can't be placed).
float BarRelToBeatPosAbsSTTarget(const CGenCharContext& cc, const TBarRelArgs& a);
// The triple at idx read and converted in one.
float BeatPosAbsSTTargetFromArgs(lua_State* L, const CGenCharContext& cc, int idx, const char* name);
// The frame argument at idx.
TSTDefaultOrTarget ReadST(lua_State* L, int idx, const char* name);

// The generate bar of an absolute target position: 1 for the bar that holds
// the generate start, 0 for that bar when the start lies inside it.
int GenerateBarRelOfPos(const CGenGeneratorParams& params, float posAbs);

// The position in its bar of the default (4/4) frame, of a target position
// (undefined when it can't be converted).
float PosInBarDefault(CGenContext& ctx, float posAbsTarget);

#define ZKG_LUA_CONTEXT_METHODS(X)                                                                                     \
    X(GenerateStartPosAbs)                                                                                             \
    X(GenerateStartPosInBarDefTimeSign)                                                                                \
    X(FirstBarLengthInTargetTimeSign)                                                                                  \
    X(PickupBarExists)                                                                                                 \
    X(GenerateEndPosAbs)                                                                                               \
    X(GenerateEndPosInBarDefTimeSign)                                                                                  \
    X(LastBarLengthInTargetTimeSign)                                                                                   \
    X(GenerateLength)                                                                                                  \
    X(GeneratePosAbs)                                                                                                  \
    X(GeneratePosRel)                                                                                                  \
    X(GenerateBar)                                                                                                     \
    X(GenerateBarRel)                                                                                                  \
    X(GenerateBarsTilEnd)                                                                                              \
    X(TempoBpmAtGeneratePos)                                                                                           \
    X(TempoBpmAtBeatPos)                                                                                               \
    X(TempoBpmAtBeatPosAbs)                                                                                            \
    X(TempoBpmAtGenerateBarRel)                                                                                        \
    X(SignTimeNomAtGeneratePos)                                                                                        \
    X(SignTimeDenomIxAtGeneratePos)                                                                                    \
    X(SignTimeAtGenerateBarRel)                                                                                        \
    X(TempoScale)                                                                                                      \
    X(GenerateBarRelToBeatPosAbs)                                                                                      \
    X(BeatPosAbsToGenerateBarRel)                                                                                      \
    X(RelPosInBarToSTTarget)                                                                                           \
    X(RelPosInBarToSTDefault)                                                                                          \
    X(AbsPosToSTTarget)                                                                                                \
    X(AbsPosToSTDefault)                                                                                               \
    X(LuaNumberToBeatPos)                                                                                              \
    X(SetRegionParameter)                                                                                              \
    X(GetRegionParameter)                                                                                              \
    X(GetRegionParameterString)                                                                                        \
    X(NeighbourRegionParameterFloat)                                                                                   \
    X(NeighbourRegionParameterString)                                                                                  \
    X(IsFirstRegionOfTrack)                                                                                            \
    X(IsLastRegionOfTrack)                                                                                             \
    X(DistanceToNextRegion)                                                                                            \
    X(DistanceToPrevRegion)                                                                                            \
    X(UidFromPath)                                                                                                     \
    X(Grooves)                                                                                                         \
    X(Random)                                                                                                          \
    X(RandomSetSeed)                                                                                                   \
    X(RandomGetSeed)                                                                                                   \
    X(GetLockableRandomSeedForFillsPost2017)                                                                           \
    X(GlobalOriginalEvsInGenerateRangeAsPatterns)                                                                      \
    X(PatternsWithPatternAtOffset)                                                                                     \
    X(PatternsWithPatternAtBarRel)                                                                                     \
    X(PatternNameAtOffset)                                                                                             \
    X(PatternsCreatePlaceholders)                                                                                      \
    X(FilterPatternsByName)                                                                                            \
    X(SetSignTimeTrafosPresetForLayerBitmask)                                                                          \
    X(ApplySignTimeTrafoDefaultToTarget)                                                                               \
    X(GraphContainsEvAtPos)                                                                                            \
    X(MergedEvsAtOffset)                                                                                               \
    X(ClaveFamilyName)                                                                                                 \
    X(ClaveAddOnName)                                                                                                  \
    X(ClaveFilteredFamilyName)                                                                                         \
    X(ClaveFilteredAddOnName)                                                                                          \
    X(ClaveUniAlphabetFamilyBits)                                                                                      \
    X(ClaveUniAlphabetFamilyName)                                                                                      \
    X(ClaveUniAlphabetAddOnBits)                                                                                       \
    X(ClaveUniAlphabetAddOnName)                                                                                       \
    X(ClaveEvsAsPattern)                                                                                               \
    X(ClaveEvsAllAsPatterns)                                                                                           \
    X(ClaveFindAvrgClave_SetParams)                                                                                    \
    X(ClaveFindAvrgClave)                                                                                              \
    X(ClaveGetSimilarBarsTable)                                                                                        \
    X(ClaveDbgAvrgClaveSimilarBars)                                                                                    \
    X(CreateFill)                                                                                                      \
    X(FillStartPosInBarDefTimeSign)                                                                                    \
    X(FillEndPosInBarDefTimeSign)                                                                                      \
    X(FillOverlayAcStartPosInBarDefTimeSign)                                                                           \
    X(FillOverlayAcEndPosInBarDefTimeSign)                                                                             \
    X(FillOverlaySyStartPosInBarDefTimeSign)                                                                           \
    X(FillOverlaySyEndPosInBarDefTimeSign)                                                                             \
    X(FillOverlayPercStartPosInBarDefTimeSign)                                                                         \
    X(FillOverlayPercEndPosInBarDefTimeSign)                                                                           \
    X(FillOverlayForLayerStartPosInBarSTDefault)                                                                       \
    X(FillOverlayForLayerEndPosInBarSTDefault)                                                                         \
    X(HarmonicContextAtBeatPosRel_Chord)                                                                               \
    X(HarmonicContextAtBeatPosRel_HarmCenter)                                                                          \
    X(HarmonicContextAtBeatPosRel_SignKey)                                                                             \
    X(HarmCenterAtBeatPos)                                                                                             \
    X(HarmCenterAtGenerateBarRel)                                                                                      \
    X(ChordAtBeatPos)                                                                                                  \
    X(ChordAtGenerateBarRel)                                                                                           \
    X(ToOctaveRange)                                                                                                   \
    X(AbsKeyIntvlFromTo)                                                                                               \
    X(ConvertKeyNrBetweenRootRelations)                                                                                \
    X(ConvertDegreeNrBetweenRootRelations)                                                                             \
    X(ConvertDegreeNrToKeyNr)                                                                                          \
    X(Reset)                                                                                                           \
    X(Concretize)                                                                                                      \
    X(MinNoteNr)                                                                                                       \
    X(SetMinNoteNr)                                                                                                    \
    X(MaxNoteNr)                                                                                                       \
    X(SetMaxNoteNr)                                                                                                    \
    X(PatternRootMinNoteNr)                                                                                            \
    X(SetPatternRootMinNoteNr)                                                                                         \
    X(PatternRootMaxNoteNr)                                                                                            \
    X(SetPatternRootMaxNoteNr)                                                                                         \
    X(GetModNoteNrPropIDAt)                                                                                            \
    X(SetModNoteNrPropIDAt)                                                                                            \
    X(IsAbstractNoteInNoteRange)                                                                                       \
    X(IsAbstractNoteInNoteRangeAtGenerateBarRel)                                                                       \
    X(AbstractNoteToNoteNr)                                                                                            \
    X(AbstractNoteToNoteNrAtGenerateBarRel)                                                                            \
    X(CharacterGraphRestart)                                                                                           \
    X(LoadTestContext)                                                                                                 \
    X(LoadTestGlibb)                                                                                                   \
    X(SetDebugSwitch)                                                                                                  \
    X(GetLastDebugOutputForSwitch)

#define ZKG_LUA_CONTEXT_DECLARE(N) int N(lua_State* L);
ZKG_LUA_CONTEXT_METHODS(ZKG_LUA_CONTEXT_DECLARE)
#undef ZKG_LUA_CONTEXT_DECLARE

} // namespace zkgen::lua::ctxapi
