#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenSignTimeDefault.h"
#include "Generator/harmony/CAbstractNotesConcretizer.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

#include "Platform/ZKUserDefaults.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <optional>

using namespace CGenLua;

namespace zkgen::lua::ctxapi {

CGenContext& Self(lua_State* L)
{
    return *LuaContext::checkLuaContext(L, 1);
}

CGenGeneratorParams& Params(const CGenContext& ctx, const char* name)
{
    if (!ctx.mParams)
        FailIn(name, "luaContext->context->ExternParams() == nullptr");
    return *ctx.mParams;
}

CAbstractNotesConcretizer& Concretizer(const CGenContext& ctx, const char* name)
{
    CAbstractNotesConcretizer* c = CGenCharContext(const_cast<CGenContext*>(&ctx)).AbstractNoteConcretizer();
    if (!c)
        FailIn(name, "!luaContext->AbstractNoteConcretizerValid()");
    return *c;
}

TSTDefaultOrTarget ReadST(lua_State* L, int idx, const char* name)
{
    const int64_t st = ArgInteger(L, idx, name);
    if (st < 0)
        FailIn(name, "stDefaultOrTarget be >= 0");
    if (st > 1)
        FailIn(name, "stDefaultOrTarget be <= 1");
    return static_cast<TSTDefaultOrTarget>(st);
}

TBarRelArgs ReadBarRelArgs(lua_State* L, int idx, const char* name)
{
    if (ArgCount(L) < idx + 1)
        FailIn(name, "wrong number of arguments");
    TBarRelArgs a;
    a.mST = ReadST(L, idx, name);
    a.mBarRel = static_cast<int>(ArgInteger(L, idx + 1, name));
    a.mPosInBar = IsNoneOrNil(L, idx + 2) ? 0.0f : PosFromLua(ArgNumber(L, idx + 2, name));
    return a;
}

float BarRelToBeatPosAbsSTTarget(const CGenCharContext& cc, const TBarRelArgs& a)
{
    return CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(a.mBarRel, a.mPosInBar,
        a.mST, cc);
}

float BeatPosAbsSTTargetFromArgs(lua_State* L, const CGenCharContext& cc, int idx, const char* name)
{
    return BarRelToBeatPosAbsSTTarget(cc, ReadBarRelArgs(L, idx, name));
}

int GenerateBarRelOfPos(const CGenGeneratorParams& params, float posAbs)
{
    const CGenEvsSignTime& signs = params.mEvsSignTime;
    const int current = signs.BeatPosToInternBarNr(posAbs);
    int start = TGenBarNr_Undef;
    float startInBar = TGenBeatLength_Undef;
    float barStart = TGenBeatPos_Undef;
    signs.BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(params.mGenerateStartPosAbs, &start, &startInBar,
        &barStart);
    if (current == TGenBarNr_Undef || start == TGenBarNr_Undef)
        return TGenBarNr_Undef;
    int rel = current - start + 1;
    // A partly covered first bar counts as bar 0.
    if (GenIsDef(startInBar) && startInBar != 0.0f)
        --rel;
    return rel;
}

} // namespace zkgen::lua::ctxapi

namespace {

using namespace zkgen::lua;

// The arguments after the leading value (Context.X or Context:X), each
// through the global tostring; a value whose conversion fails is left out.
std::string JoinedArguments(lua_State* L, int from)
{
    std::string text;
    bool first = true;
    const int n = lua_gettop(L);
    for (int i = from; i <= n; ++i) {
        lua_getglobal(L, "tostring");
        lua_pushvalue(L, i);
        if (lua_pcall(L, 1, 1, 0) != LUA_OK) {
            lua_pop(L, 1);
            continue;
        }
        size_t len = 0;
        const char* s = lua_tolstring(L, -1, &len);
        if (s) {
            if (!first)
                text += '\t';
            text.append(s, len);
            first = false;
        }
        lua_pop(L, 1);
    }
    return text;
}

int DebugPrint(lua_State* L)
{
    if (!CGenLua::luaLogIsEnabled(ZKLogCategory_LuaDebugPrint) || lua_gettop(L) <= 1)
        return 0;
    CGenLua::luaLog(ZKLogCategory_LuaDebugPrint, JoinedArguments(L, 2));
    return 0;
}

// The text goes to <folder>/<date>_<suffix>, the folder from the user
// default; nothing without the debug log, a folder or a text.
int DebugPrintToFile(lua_State* L)
{
    if (!CGenLua::luaLogIsEnabled(ZKLogCategory_LuaDebugPrint) || lua_gettop(L) < 3)
        return 0;
    const std::optional<std::string> folder = ZKUserDefaultsStringForKey("TolvarContentDebugPrintToFileDirectory");
    if (!folder || folder->empty())
        return 0;
    size_t len = 0;
    const char* s = lua_tolstring(L, 2, &len);
    const std::string suffix = s ? std::string(s, len) : std::string();
    const std::string text = JoinedArguments(L, 3);
    std::string path = *folder;
    if (path.back() != '/')
        path += '/';
    const auto now = std::chrono::system_clock::now();
    const std::time_t t = std::chrono::system_clock::to_time_t(now);
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm tm {};
    localtime_r(&t, &tm);
    char date[64];
    std::strftime(date, sizeof date, "%Y-%m-%d__%I_%M_%S", &tm);
    char msText[8];
    std::snprintf(msText, sizeof msText, "_%03d", static_cast<int>(ms));
    path += std::string(date) + msText + "_" + suffix;
    std::ofstream out(path, std::ios::binary);
    out << text;
    return 0;
}

int Platform(lua_State* L)
{
    lua_pushstring(L, "DeskOS");
    return 1;
}

int OSTimeInSeconds(lua_State* L)
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    lua_pushnumber(L, std::chrono::duration<double>(now).count());
    return 1;
}

} // namespace

const luaL_Reg LuaContext::functions[] = {
    {"DebugPrint", ZKG_LUA_FN(DebugPrint)},
    {"DebugPrintToFile", ZKG_LUA_FN(DebugPrintToFile)},
    {"Platform", ZKG_LUA_FN(Platform)},
    {"OSTimeInSeconds", ZKG_LUA_FN(OSTimeInSeconds)},
    {nullptr, nullptr},
};

#define ZKG_LUA_CONTEXT_ENTRY(N) {#N, ZKG_LUA_FN(zkgen::lua::ctxapi::N)},
const luaL_Reg LuaContext::methods[] = {
    ZKG_LUA_CONTEXT_METHODS(ZKG_LUA_CONTEXT_ENTRY)
    // Second names that scripts use for the same calls.
    {"IncompleteFirstBarLengthInTargetTimeSign", ZKG_LUA_FN(zkgen::lua::ctxapi::FirstBarLengthInTargetTimeSign)},
    {"IncompleteLastBarLengthInTargetTimeSign", ZKG_LUA_FN(zkgen::lua::ctxapi::LastBarLengthInTargetTimeSign)},
    {"GeneratePosRelToLeftBar", ZKG_LUA_FN(zkgen::lua::ctxapi::GeneratePosRel)},
    {"GetRegionParameterFloat", ZKG_LUA_FN(zkgen::lua::ctxapi::GetRegionParameter)},
    {"FamilyClaveString", ZKG_LUA_FN(zkgen::lua::ctxapi::ClaveFamilyName)},
    {"AddOnClaveString", ZKG_LUA_FN(zkgen::lua::ctxapi::ClaveAddOnName)},
    {nullptr, nullptr},
};
#undef ZKG_LUA_CONTEXT_ENTRY
ZKG_LUA_DEFINE_CLASS(LuaContext, "tolvar.context", "Context")

void LuaContext::push(lua_State* L, CGenContext* context)
{
    // A view for the run: the context userdata dies when the run ends.
    zkgen::lua::PushRef(L, metatableName, zkgen::lua::ObjectRef(L, context));
}

CGenContext* LuaContext::checkLuaContext(lua_State* L, int idx)
{
    zkgen::lua::TUserdata& u = zkgen::lua::CheckUserdata(L, idx, metatableName, "'LuaContext' expected");
    return static_cast<CGenContext*>(zkgen::lua::Resolve(u, "context"));
}
