// The context's region parameters, instruments, random numbers, and the
// control and test calls.

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenRandom.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"
#include "Generator/stylegraph/CGenGFModule.h"

#include <cmath>
#include <filesystem>

namespace zkgen::lua::ctxapi {

namespace {

// The member of the track's region list `offset` places from this region.
const CGenBeatedVariantMap* Neighbour(const CGenGeneratorParams& p, int offset)
{
    return p.mEvsBeatedRegionParameters.FindMemberAtOffset(p.mGenerateStartPosAbs, offset);
}

} // namespace

// ----- region parameters

int SetRegionParameter(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CGenGeneratorParams& p = Params(ctx, "SetRegionParameter");
    CheckArgCount(L, "SetRegionParameter", 3, 3);
    const std::string key = ArgString(L, 2, "SetRegionParameter");
    CGenVariantMap& map = p.mRegionParameters;
    switch (lua_type(L, 3)) {
    case LUA_TSTRING: map.SetStringValueForKey(ArgString(L, 3, "SetRegionParameter"), key); break;
    case LUA_TNUMBER: map.SetFloatValueForKey(ArgNumber(L, 3, "SetRegionParameter"), key); break;
    case LUA_TNIL:
        map.RemoveIntValueForKey(key);
        map.RemoveFloatValueForKey(key);
        map.RemoveStringValueForKey(key);
        break;
    default: FailIn("SetRegionParameter", "value type not supported");
    }
    return 0;
}

int GetRegionParameter(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "RegionParameterFloat");
    CheckArgCount(L, "RegionParameterFloat", 2, 2);
    const std::string key = ArgString(L, 2, "RegionParameterFloat");
    if (!p.mRegionParameters.HasFloatValueForKey(key))
        return 0;
    lua_pushnumber(L, p.mRegionParameters.FloatValueForKey(key, 0.0));
    return 1;
}

int GetRegionParameterString(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "RegionParameterString");
    CheckArgCount(L, "RegionParameterString", 2, 2);
    const std::string key = ArgString(L, 2, "RegionParameterString");
    if (!p.mRegionParameters.HasStringValueForKey(key))
        return 0;
    const std::string v = p.mRegionParameters.StringValueForKey(key, std::string());
    lua_pushlstring(L, v.data(), v.size());
    return 1;
}

int NeighbourRegionParameterFloat(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "NeighbourRegionParameterFloat");
    CheckArgCount(L, "NeighbourRegionParameterFloat", 3, 3);
    const std::string key = ArgString(L, 2, "NeighbourRegionParameterFloat");
    const auto offset = static_cast<int>(ArgInteger(L, 3, "NeighbourRegionParameterFloat"));
    const CGenBeatedVariantMap* m = Neighbour(p, offset);
    if (!m || !m->mVariantMap.HasFloatValueForKey(key))
        return 0;
    lua_pushnumber(L, m->mVariantMap.FloatValueForKey(key, 0.0));
    return 1;
}

int NeighbourRegionParameterString(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "NeighbourRegionParameterString");
    CheckArgCount(L, "NeighbourRegionParameterString", 3, 3);
    const std::string key = ArgString(L, 2, "NeighbourRegionParameterString");
    const auto offset = static_cast<int>(ArgInteger(L, 3, "NeighbourRegionParameterString"));
    const CGenBeatedVariantMap* m = Neighbour(p, offset);
    if (!m || !m->mVariantMap.HasStringValueForKey(key))
        return 0;
    const std::string v = m->mVariantMap.StringValueForKey(key, std::string());
    lua_pushlstring(L, v.data(), v.size());
    return 1;
}

int IsFirstRegionOfTrack(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "IsFirstRegionOfTrack");
    CheckArgCount(L, "IsFirstRegionOfTrack", 1, 1);
    lua_pushboolean(L, Neighbour(p, -1) == nullptr);
    return 1;
}

int IsLastRegionOfTrack(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "IsLastRegionOfTrack");
    CheckArgCount(L, "IsLastRegionOfTrack", 1, 1);
    lua_pushboolean(L, Neighbour(p, 1) == nullptr);
    return 1;
}

int DistanceToNextRegion(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "DistanceToNextRegion");
    CheckArgCount(L, "DistanceToNextRegion", 1, 1);
    const CGenBeatedVariantMap* next = Neighbour(p, 1);
    if (!next || GenIsUndef(next->mBeatPos) || GenIsUndef(p.mGenerateLength))
        return 0;
    lua_pushnumber(L, static_cast<double>(next->mBeatPos - (p.mGenerateStartPosAbs + p.mGenerateLength)));
    return 1;
}

// The track's list knows where regions start, not where they end, so the
// distance back is measured to the previous region's start.
int DistanceToPrevRegion(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "DistanceToPrevRegion");
    CheckArgCount(L, "DistanceToPrevRegion", 1, 1);
    const CGenBeatedVariantMap* prev = Neighbour(p, -1);
    if (!prev || GenIsUndef(prev->mBeatPos))
        return 0;
    lua_pushnumber(L, static_cast<double>(p.mGenerateStartPosAbs - prev->mBeatPos));
    return 1;
}

// ----- instruments, random numbers

int UidFromPath(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "UidFromPath", 2, 2);
    const std::string path = ArgString(L, 2, "UidFromPath");
    TInstTreeUid uid = TInstTreeUid_Undef;
    if (ctx.mInstLib && ctx.mInstLib->InstTree())
        uid = ctx.mInstLib->InstTree()->FindUidWithPath(path);
    lua_pushnumber(L, static_cast<double>(uid));
    return 1;
}

int Grooves(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "Grooves", 1, 1);
    if (!ctx.mGrooves)
        return 0;
    CGenLua::LuaGrooves::push(L, ctx.mGrooves);
    return 1;
}

int Random(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const int n = ArgCount(L) - 1;
    if (n < 0 || n > 2)
        FailIn("Random", "wrong number of arguments");
    double a = 0.0;
    double b = 0.0;
    if (n >= 1)
        a = ArgNumber(L, 2, "Random");
    if (n == 2)
        b = ArgNumber(L, 3, "Random");
    const double u = static_cast<double>(ScriptRandom(ctx).Next()) / 2147483647.0;
    if (n == 0)
        lua_pushnumber(L, u);
    else if (n == 1)
        lua_pushnumber(L, std::floor(u * a) + 1.0);
    else
        lua_pushnumber(L, a + std::floor(u * (b - a + 1.0)));
    return 1;
}

int RandomSetSeed(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "RandomSetSeed", 2, 2);
    ScriptRandom(ctx).SetSeed(static_cast<uint32_t>(ArgInteger(L, 2, "RandomSetSeed")));
    return 0;
}

int RandomGetSeed(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "RandomGetSeed", 1, 1);
    lua_pushnumber(L, static_cast<double>(ScriptRandom(ctx).Seed()));
    return 1;
}

int GetLockableRandomSeedForFillsPost2017(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "GetLockableRandomSeedForFillsPost2017", 1, 1);
    lua_pushnumber(L, static_cast<double>(ctx.FillSeed()));
    return 1;
}

// ----- control and test

int CharacterGraphRestart(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "CharacterGraphRestart", 1, 1);
    CGenGFModule* graph = ctx.StyleGraphForStyleGraphKey();
    if (!graph)
        FailIn("CharacterGraphRestart", "luaContext->GenContext()->StyleGraphForStyleGraphKey() == nullptr");
    graph->restart();
    return 0;
}

// Loading a test context belongs to a test runner, which this engine does not
// have; the call answers that nothing was loaded.
int LoadTestContext(lua_State* L)
{
    Self(L);
    if (ArgCount(L) < 2)
        FailIn("LoadTestContext", "wrong number of arguments");
    ArgString(L, 2, "LoadTestContext");
    lua_pushboolean(L, 0);
    return 1;
}

// The same for a test library: the path is checked so that a script learns of
// a typo, but without a test runner nothing is loaded.
int LoadTestGlibb(lua_State* L)
{
    Self(L);
    if (ArgCount(L) < 2)
        FailIn("LoadTestGlibb", "wrong number of arguments");
    const std::string path = ArgString(L, 2, "LoadTestGlibb");
    std::error_code ec;
    if (path.empty() || !std::filesystem::exists(path, ec))
        Fail(std::string("invalid URL: ") + path);
    lua_pushboolean(L, 0);
    return 1;
}

int SetDebugSwitch(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "SetDebugSwitch", 3, 3);
    const std::string name = ArgString(L, 2, "SetDebugSwitch");
    ctx.mStyleGraphDebugFlags[name] = ArgBool(L, 3);
    return 0;
}

int GetLastDebugOutputForSwitch(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "GetLastDebugOutputForSwitch", 2, 2);
    const std::string name = ArgString(L, 2, "GetLastDebugOutputForSwitch");
    const auto it = ctx.mStyleGraphReports.find(name);
    if (it == ctx.mStyleGraphReports.end())
        return 0;
    lua_pushlstring(L, it->second.data(), it->second.size());
    return 1;
}

} // namespace zkgen::lua::ctxapi
