#include "Generator/scripting/CGenLua.h"

#include "Generator/CGenContext.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/scripting/CGenLuaClasses.h"
#include "Platform/ZKUserDefaults.h"

#include <atomic>
#include <cfloat>
#include <cstdio>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace CGenLua {

namespace {

std::mutex gPreProcessMutex;
TLuaStringPreProcessBlock& PreProcessSlot()
{
    static TLuaStringPreProcessBlock block;
    return block;
}

// -1 not read yet, 0 off, 1 on.
std::atomic<int> gLogsEnabled {-1};

std::string MessageAtTop(lua_State* L)
{
    const char* s = lua_tostring(L, -1);
    return s ? std::string(s) : std::string();
}

// The message handler of protected calls.
int Traceback(lua_State* L)
{
    if (const char* msg = lua_tostring(L, 1)) {
        luaL_traceback(L, L, msg, 1);
        return 1;
    }
    if (lua_isnil(L, 1))
        return 1; // stays nil: "no error string available"
    if (luaL_callmeta(L, 1, "__tostring") && lua_type(L, -1) == LUA_TSTRING)
        return 1;
    lua_pushliteral(L, "(no error message)");
    return 1;
}

void ResetBudget(lua_State* L)
{
    zkgen::lua::TStateData& d = zkgen::lua::TStateData::Of(L);
    d.mInstructionsUsed = 0;
    d.mBudgetExhausted = false;
}

// Runs the function on top of the stack without arguments or results.
bool ProtectedCall(lua_State* L, std::string* err)
{
    ResetBudget(L);
    const int base = lua_gettop(L);
    lua_pushcfunction(L, Traceback);
    lua_insert(L, base);
    const int status = lua_pcallk(L, 0, 0, base, 0, nullptr);
    lua_remove(L, base);
    if (status == LUA_OK)
        return true;
    const char* s = lua_tostring(L, -1);
    if (err)
        *err = s ? std::string(s) : std::string("no error string available");
    lua_pop(L, 1);
    return false;
}

std::string FormatNumber(const char* format, double v)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, v);
    return buffer;
}

} // namespace

// ----- constant tables

const std::vector<LuaEnums::TTable>& LuaEnums::enumEntries()
{
    static const std::vector<TTable> tables = [] {
        auto I = [](const char* name, double v) { return TEntry {name, 0, v, {}}; };
        auto F = [](const char* name, double v) { return TEntry {name, 1, v, {}}; };
        auto S = [](const char* name, const char* v) { return TEntry {name, 2, 0.0, v}; };
        const double undef = -3.4028235e38;
        const double unit = 1.0 / 3840.0;
        const double max = 3.4028235e38;
        std::vector<TTable> t;
        t.push_back({"TSTDefaultOrTarget", {I("Default", 0), I("Target", 1), I("Min", 0), I("Max", 1)}});
        t.push_back({"TBeatPos", {F("Undef", undef), F("Unit", unit), F("Max", max)}});
        t.push_back({"TBeatLength", {F("Undef", undef), F("Unit", unit), F("Max", max)}});
        t.push_back({"TPatternGraphType", {I("Undef", -1), I("AccentFamily", 0), I("AccentAddon", 1), I("System", 2),
                                              I("Fill", 3), I("Percussion", 4), I("Min", 0), I("Max", 4)}});
        t.push_back({"TAbstractDegree",
            {I("Undef", -1), I("BassNoteLow", 0), I("BassNoteCloseToRoot", 1), I("BassNoteAboveRoot", 2), I("Root", 3),
                I("_2", 4), I("_3", 5), I("_4", 6), I("_5", 7), I("_6", 8), I("_7", 9), I("NoteNr", 10), I("B1", 0),
                I("B2", 13), I("B3", 14), I("B4", 15), I("B5", 16), I("B6", 17), I("B7", 18), I("Min", 0),
                I("Max", 18)}});
        t.push_back({"TWhere", {I("CurrentChord", 0), I("PrevChord", 1), I("NextChord", 2), I("CurrentHarmCenter", 3),
                                   I("PrevHarmCenter", 4), I("NextHarmCenter", 5), I("CurrentHarmCenterAsMajor", 6),
                                   I("PrevHarmCenterAsMajor", 7), I("NextHarmCenterAsMajor", 8), I("CurrentSignKey", 9),
                                   I("PrevSignKey", 10), I("NextSignKey", 11), I("GetFromAbstractNote", 12),
                                   I("Default", 0)}});
        TTable steps {"TStepsType", {I("Diatonic", 0), I("Chromatic", 1)}};
        static const char* const kSets[] = {"AbstractScaleSet0", "AbstractScaleSet1", "AbstractScaleSet2",
            "AbstractScaleSet3", "AbstractScaleSet4", "AbstractScaleSet5", "AbstractScaleSet6", "AbstractScaleSet7",
            "AbstractScaleSet8", "AbstractScaleSet9"};
        for (int i = 0; i < 10; ++i)
            steps.mEntries.push_back(I(kSets[i], 2 + i));
        for (TEntry e : {I("Chord", 12), I("ChordTriad", 13), I("ChordOption", 14), I("AbstractScaleSet_Min", 2),
                 I("AbstractScaleSet_Max", 11), I("Min", 0), I("Max", 14)})
            steps.mEntries.push_back(e);
        t.push_back(steps);
        t.push_back({"TStepsDirection", {I("Normal", 0), I("TowardsNextRoot", 1), I("FromPrevRoot", 2),
                                            I("TowardsAbstractNote", 3), I("TowardsNoteNext", 4), I("TowardsNotePrev", 5),
                                            I("TowardsNoteNr", 6)}});
        t.push_back({"CGenPatternPropertiesKeys",
            {S("TargetEndBeatPos", "FlTarget"), S("OverlayRangeAcStart", "FlOvAcSt"), S("OverlayRangeAcLength", "FlOvAcLn"),
                S("OverlayRangeSyStart", "FlOvSySt"), S("OverlayRangeSyLength", "FlOvSyLn"),
                S("OverlayRangePercStart", "FlOvPeSt"), S("OverlayRangePercLength", "FlOvPeLn")}});
        t.push_back({"TCreateClaveInRange", {I("WholeSong", 0), I("GenerateRegion", 1)}});
        t.push_back({"TRootRelation", {I("KeyNrC", 0), I("SignKey", 1), I("HarmCenter", 2), I("Chord", 4),
                                          I("ChordBass", 5), I("Scale", 3)}});
        t.push_back({"TModNoteNrPropID", {I("ModMinNoteNr", 0), I("ModMaxNoteNr", 1), I("ModPatternRootMinNoteNr", 2),
                                             I("ModPatternRootMaxNoteNr", 3)}});
        t.push_back({"TModNoteNr", {I("Relative", 0), I("Absolute", 1)}});
        t.push_back({"TComplInt", {F("Undef", undef)}});
        t.push_back({"TPercent", {F("Undef", undef)}});
        t.push_back({"TSignKeyType", {I("major", 0), I("minor", 1)}});
        const std::vector<TEntry> degrees {I("Undef", -1), I("Min", 1), I("I", 1), I("II", 2), I("III", 3), I("IV", 4),
            I("V", 5), I("VI", 6), I("VII", 7), I("Max", 12), I("Count", 12)};
        t.push_back({"TDegreeNr", degrees});
        t.push_back({"TBassDegreeNr", degrees});
        t.push_back({"TBasicChord", {I("minimum", 0), I("undef", 0), I("maj", 1), I("min", 2), I("aug", 3), I("dim", 4),
                                        I("sus4", 5), I("sus2", 6), I("drone", 7), I("max", 7)}});
        t.push_back({"THarmFuncEnum", {I("undef", -1), I("I", 0), I("Im", 1), I("II", 2), I("IIm", 3), I("IIdim", 4),
                                          I("III", 5), I("IIIm", 6), I("IV", 7), I("IVm", 8), I("V", 9), I("Vm", 10),
                                          I("VI", 11), I("VIm", 12), I("bVII", 13), I("VIIdim", 14), I("min", 0),
                                          I("max", 14)}});
        t.push_back({"TNoteNrLarge", {I("Undef", -1), I("Min", 0), I("Max", 127), I("Count", 128)}});
        t.push_back({"TKeyNr", {I("Undef", 15), I("Min", 0), I("Max", 11), I("Count", 12)}});
        t.push_back({"TVelocity", {I("Undef", 255), I("Min", 0), I("Max", 127), I("Default", 64), I("Count", 128)}});
        t.push_back({"TQuantize", {I("Off", 0), I("Prev", 1), I("PrevOrAt", 2), I("Next", 3), I("NextOrAt", 4),
                                      I("Closest", 5)}});
        return t;
    }();
    return tables;
}

std::string LuaEnums::ChunkForTable(const TTable& table)
{
    std::string s = table.mName + " = setmetatable({}, {" + "__index = {";
    for (const TEntry& e : table.mEntries) {
        s += e.mName;
        s += "={value=";
        switch (e.mKind) {
        case 0: s += FormatNumber("%.0f", e.mNumber); break;
        case 1: s += FormatNumber("%e", e.mNumber); break;
        default: s += "\"" + e.mText + "\""; break;
        }
        s += ",type=\"";
        s += table.mName;
        s += "\"},";
    }
    s += "},";
    s += "__newindex = function(table, key, value) error(\"Attempt to modify read-only table\") end,";
    s += "__metatable = false});";
    return s;
}

// ----- the state

int luaopen_CGenLua(lua_State* L)
{
    luaL_openlibs(L);
    for (const LuaEnums::TTable& table : LuaEnums::enumEntries()) {
        const std::string chunk = LuaEnums::ChunkForTable(table);
        if (luaL_loadbufferx(L, chunk.data(), chunk.size(), table.mName.c_str(), nullptr) != LUA_OK ||
            lua_pcallk(L, 0, 0, 0, 0, nullptr) != LUA_OK) {
            std::fprintf(stderr, "%s\n", MessageAtTop(L).c_str());
            lua_pop(L, 1);
        }
    }
    LuaContext::Register(L);
    LuaEvent::Register(L);
    LuaEvents::Register(L);
    LuaAbstractNote::Register(L);
    LuaAbstractOffsets::Register(L);
    LuaAbstractOffset::Register(L);
    LuaPattern::Register(L);
    LuaPatterns::Register(L);
    LuaKitPieceTransformation::Register(L);
    LuaGrooves::Register(L);
    LuaGroove::Register(L);
    LuaGrooveTrack::Register(L);
    LuaGrooveEvent::Register(L);
    LuaChord::Register(L);
    return 0;
}

CGenContext* LuaContextFromLuaState(lua_State* L)
{
    lua_getglobal(L, "context");
    zkgen::lua::TUserdata* u = zkgen::lua::TestUserdata(L, -1, LuaContext::metatableName);
    lua_pop(L, 1);
    if (!u) {
        luaL_argerror(L, 1, "'LuaContext' expected");
        return nullptr;
    }
    return u->mRef.Valid() ? static_cast<CGenContext*>(u->mRef.mObject) : nullptr;
}

// ----- compiling and calling

bool checkLuaString(const std::string& text, std::string* err)
{
    lua_State* L = luaL_newstate();
    if (!L) {
        if (err)
            *err = "not enough memory";
        return false;
    }
    const bool ok = loadLuaString(L, text, err);
    lua_close(L);
    return ok;
}

bool loadLuaString(lua_State* L, const std::string& text, std::string* err)
{
    if (!L) {
        if (err)
            *err = "invalid lua state";
        return false;
    }
    TLuaStringPreProcessBlock block = GetLuaStringPreProcessBlock();
    const std::string source = block ? block(text) : text;
    // Text only: a precompiled chunk could bring the interpreter down.
    if (luaL_loadbufferx(L, source.data(), source.size(), source.c_str(), "t") == LUA_OK)
        return true;
    if (err)
        *err = MessageAtTop(L);
    lua_pop(L, 1);
    return false;
}

bool doLuaString(lua_State* L, const std::string& text, std::string* err)
{
    if (!loadLuaString(L, text, err))
        return false;
    return ProtectedCall(L, err);
}

bool doLuaFunction(lua_State* L, const std::string& name, bool mayBeMissing, std::string* err)
{
    if (!L) {
        if (err)
            *err = "invalid lua state";
        return false;
    }
    if (name.empty()) {
        if (err)
            *err = "invalid luaFunctionName";
        return false;
    }
    lua_getglobal(L, name.c_str());
    if (lua_isnil(L, -1)) {
        lua_pop(L, 1);
        if (mayBeMissing)
            return true;
        if (err)
            *err = "luaFunctionName not found";
        return false;
    }
    return ProtectedCall(L, err);
}

void startTraceExecution(lua_State* L, void* /*stream*/)
{
    if (!L)
        return;
    zkgen::lua::TStateData::Of(L).mTracing = true;
    zkgen::lua::UpdateHook(L);
}

void stopTraceExecution(lua_State* L)
{
    if (!L)
        return;
    zkgen::lua::TStateData::Of(L).mTracing = false;
    zkgen::lua::UpdateHook(L);
}

void SetLuaStringPreProcessBlock(TLuaStringPreProcessBlock block)
{
    std::lock_guard<std::mutex> lock(gPreProcessMutex);
    PreProcessSlot() = std::move(block);
}

TLuaStringPreProcessBlock GetLuaStringPreProcessBlock()
{
    std::lock_guard<std::mutex> lock(gPreProcessMutex);
    return PreProcessSlot();
}

// ----- logs

bool luaLogIsEnabled(ZKLogCategory category)
{
    int enabled = gLogsEnabled.load();
    if (enabled < 0) {
        enabled = ZKUserDefaultsBoolForKey(kZKUserDefault_FeatureAvailable_TolvarContent, false) ? 1 : 0;
        gLogsEnabled.store(enabled);
    }
    return enabled == 1 && ZKLogIsEnabled(category, ZKLogLevel_Debug);
}

void luaLog(ZKLogCategory category, const std::string& message)
{
    if (luaLogIsEnabled(category))
        ZKLogf(category, ZKLogLevel_Debug, "%{public}@", {message});
}

void luaLogResetForTesting()
{
    gLogsEnabled.store(-1);
}

} // namespace CGenLua

// ----- the sandbox

namespace zkgen::lua {

namespace {

struct TAllocState {
    size_t mUsed = 0;
    size_t mLimit = 0;
};

void* BoundedAlloc(void* ud, void* ptr, size_t osize, size_t nsize)
{
    auto* a = static_cast<TAllocState*>(ud);
    const size_t old = ptr ? osize : 0;
    if (nsize == 0) {
        std::free(ptr);
        a->mUsed -= old;
        return nullptr;
    }
    if (a->mLimit != 0 && nsize > old && a->mUsed - old + nsize > a->mLimit)
        return nullptr;
    void* p = std::realloc(ptr, nsize);
    if (p)
        a->mUsed = a->mUsed - old + nsize;
    return p;
}

int Panic(lua_State* L)
{
    std::fprintf(stderr, "PANIC: unprotected error in call to Lua API (%s)\n", lua_tostring(L, -1));
    return 0;
}

// pcall, xpcall and coroutine.resume of the sandbox: the original (upvalue
// 1) runs; an exhausted budget is raised again, so that no script can catch it.
int RethrowingCall(lua_State* L)
{
    const int n = lua_gettop(L);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_callk(L, n, LUA_MULTRET, 0, nullptr);
    if (TStateData::Of(L).mBudgetExhausted)
        return luaL_error(L, kBudgetExhaustedText);
    return lua_gettop(L);
}

void WrapRethrowing(lua_State* L, const char* table, const char* name)
{
    if (table) {
        lua_getglobal(L, table);
        if (!lua_istable(L, -1)) {
            lua_pop(L, 1);
            return;
        }
        lua_getfield(L, -1, name);
        lua_pushcclosure(L, RethrowingCall, 1);
        lua_setfield(L, -2, name);
        lua_pop(L, 1);
        return;
    }
    lua_getglobal(L, name);
    lua_pushcclosure(L, RethrowingCall, 1);
    lua_setglobal(L, name);
}

} // namespace

CGenRandom& ScriptRandom(CGenContext& context)
{
    return context.mPatternGraph ? context.mPatternGraph->Random() : context.mRandom;
}

namespace {

// The random state scripts draw from: the running graph's, else the
// context's, else the state's own.
uint32_t NextState(lua_State* L)
{
    TStateData& d = TStateData::Of(L);
    if (d.mContext)
        return ScriptRandom(*d.mContext).Next();
    d.mFallbackRandomState = (d.mFallbackRandomState * 1103515245u + 12345u) & 0x7fffffffu;
    return d.mFallbackRandomState;
}

// math.random as the standard library defines it (a float in [0, 1), an
// integer in [1, m] or [m, n]), from the engine's generator.
int SandboxRandom(lua_State* L)
{
    const double u = static_cast<double>(NextState(L)) / 2147483648.0;
    switch (lua_gettop(L)) {
    case 0: lua_pushnumber(L, u); return 1;
    case 1: {
        const double m = luaL_checknumber(L, 1);
        luaL_argcheck(L, 1.0 <= m, 1, "interval is empty");
        lua_pushnumber(L, std::floor(u * m) + 1.0);
        return 1;
    }
    case 2: {
        const double m = luaL_checknumber(L, 1);
        const double n = luaL_checknumber(L, 2);
        luaL_argcheck(L, m <= n, 2, "interval is empty");
        lua_pushnumber(L, std::floor(u * (n - m + 1.0)) + m);
        return 1;
    }
    default: return luaL_error(L, "wrong number of arguments");
    }
}

int SandboxRandomSeed(lua_State* L)
{
    const double seed = luaL_checknumber(L, 1);
    const auto s = static_cast<uint32_t>(static_cast<int64_t>(seed));
    TStateData& d = TStateData::Of(L);
    if (d.mContext) {
        ScriptRandom(*d.mContext).SetSeed(s);
    } else {
        d.mFallbackRandomState = s;
    }
    return 0;
}

// print goes to the scripts' debug log, not to the host's output.
int SandboxPrint(lua_State* L)
{
    const int n = lua_gettop(L);
    std::string text;
    lua_getglobal(L, "tostring");
    for (int i = 1; i <= n; ++i) {
        lua_pushvalue(L, -1);
        lua_pushvalue(L, i);
        lua_call(L, 1, 1);
        if (const char* s = lua_tostring(L, -1)) {
            if (i > 1)
                text += '\t';
            text += s;
        }
        lua_pop(L, 1);
    }
    lua_pop(L, 1);
    CGenLua::luaLog(ZKLogCategory_LuaDebugPrint, text);
    return 0;
}

constexpr const char* kSandboxChunk = R"LUA(
local next, type, sort, rawget, getmetatable, select = next, type, table.sort, rawget, getmetatable, select
local rank = { number = 1, string = 2, boolean = 3 }
local function less(a, b)
  local ra, rb = rank[type(a)] or 4, rank[type(b)] or 4
  if ra ~= rb then return ra < rb end
  if ra == 1 or ra == 2 then return a < b end
  if ra == 3 then return (not a) and b end
  return false
end
pairs = function(t)
  local mt = getmetatable(t)
  if type(mt) == "table" and mt.__pairs then return mt.__pairs(t) end
  local keys, n = {}, 0
  for k in next, t do n = n + 1; keys[n] = k end
  sort(keys, less)
  local i = 0
  return function(tbl)
    i = i + 1
    local k = keys[i]
    if k == nil then return nil end
    return k, rawget(tbl, k)
  end, t, nil
end
local baseLoad = load
load = function(...)
  local chunk, name, _, env = ...
  if select("#", ...) >= 4 then return baseLoad(chunk, name, "t", env) end
  return baseLoad(chunk, name, "t")
end
io, package, debug, require, dofile, loadfile = nil, nil, nil, nil, nil, nil
os.execute, os.exit, os.remove, os.rename, os.tmpname, os.getenv = nil, nil, nil, nil, nil, nil
)LUA";

void ApplySandbox(lua_State* L)
{
    // The Lua part first: it needs the library functions it removes.
    if (luaL_loadbufferx(L, kSandboxChunk, std::strlen(kSandboxChunk), "sandbox", "t") != LUA_OK ||
        lua_pcallk(L, 0, 0, 0, 0, nullptr) != LUA_OK) {
        std::fprintf(stderr, "%s\n", lua_tostring(L, -1));
        lua_pop(L, 1);
    }
    WrapRethrowing(L, nullptr, "pcall");
    WrapRethrowing(L, nullptr, "xpcall");
    WrapRethrowing(L, "coroutine", "resume");
    lua_getglobal(L, "math");
    lua_pushcfunction(L, SandboxRandom);
    lua_setfield(L, -2, "random");
    lua_pushcfunction(L, SandboxRandomSeed);
    lua_setfield(L, -2, "randomseed");
    lua_pop(L, 1);
    lua_pushcfunction(L, SandboxPrint);
    lua_setglobal(L, "print");
}

} // namespace

// ----- tracing and the budget share the one hook of a state

namespace {

constexpr int kHookInterval = 1000;

void Hook(lua_State* L, lua_Debug* ar)
{
    zkgen::lua::TStateData& d = zkgen::lua::TStateData::Of(L);
    if (ar->event == LUA_HOOKCOUNT) {
        d.mInstructionsUsed += kHookInterval;
        if (d.mSandbox.mInstructionBudget != 0 && d.mInstructionsUsed > d.mSandbox.mInstructionBudget) {
            d.mBudgetExhausted = true;
            luaL_error(L, zkgen::lua::kBudgetExhaustedText);
        }
        return;
    }
    if (!d.mTracing)
        return;
    if (ar->event == LUA_HOOKCALL) {
        d.mTraceDepth += 2;
        lua_getinfo(L, "nS", ar);
        std::printf("%*s %s %s\n", d.mTraceDepth, "", ar->source ? ar->source : "", ar->name ? ar->name : "");
    } else if (ar->event == LUA_HOOKRET || ar->event == LUA_HOOKTAILCALL) {
        d.mTraceDepth -= 2;
    }
}

} // namespace

void UpdateHook(lua_State* L)
{
    zkgen::lua::TStateData& d = zkgen::lua::TStateData::Of(L);
    int mask = 0;
    if (d.mTracing)
        mask |= LUA_MASKCALL | LUA_MASKRET;
    const bool budget = d.mSandbox.mEnabled && d.mSandbox.mInstructionBudget != 0;
    if (budget)
        mask |= LUA_MASKCOUNT;
    lua_sethook(L, mask ? Hook : nullptr, mask, budget ? kHookInterval : 0);
}




lua_State* NewScriptState(const TScriptSandbox& sandbox)
{
    lua_State* L = nullptr;
    if (sandbox.mEnabled) {
        auto* a = new TAllocState {0, sandbox.mMemoryLimit};
        L = lua_newstate(BoundedAlloc, a);
        if (!L) {
            delete a;
            return nullptr;
        }
        lua_atpanic(L, Panic);
    } else {
        L = luaL_newstate();
        if (!L)
            return nullptr;
    }
    TStateData::Of(L).mSandbox = sandbox;
    CGenLua::luaopen_CGenLua(L);
    if (sandbox.mEnabled)
        ApplySandbox(L);
    UpdateHook(L);
    return L;
}

void CloseScriptState(lua_State* L)
{
    if (!L)
        return;
    void* ud = nullptr;
    const lua_Alloc alloc = lua_getallocf(L, &ud);
    lua_close(L);
    if (alloc == BoundedAlloc)
        delete static_cast<TAllocState*>(ud);
}

void SetGlobalContext(lua_State* L, CGenContext* context)
{
    TStateData::Of(L).mContext = context;
    if (context)
        CGenLua::LuaContext::push(L, context);
    else
        lua_pushnil(L);
    lua_setglobal(L, "context");
}

uint32_t NextScriptRandomState(lua_State* L)
{
    return NextState(L);
}

} // namespace zkgen::lua

#include "Generator/scripting/CGenLuaCheck.h"

namespace zkgen::lua {

bool CheckLuaSyntax(const std::string& text, int& line, std::string& message)
{
    line = 0;
    message.clear();
    std::string err;
    lua_State* L = luaL_newstate();
    if (!L) {
        message = "not enough memory";
        return false;
    }
    // "=script" names the chunk "script", so that the message reads "script:LINE: ...".
    const bool ok = luaL_loadbufferx(L, text.data(), text.size(), "=script", "t") == LUA_OK;
    if (!ok) {
        const char* s = lua_tostring(L, -1);
        err = s ? s : "";
    }
    lua_close(L);
    if (ok)
        return true;
    message = err;
    const std::string prefix = "script:";
    if (err.rfind(prefix, 0) == 0) {
        size_t i = prefix.size();
        int n = 0;
        while (i < err.size() && err[i] >= '0' && err[i] <= '9')
            n = n * 10 + (err[i++] - '0');
        if (i < err.size() && err[i] == ':') {
            line = n;
            message = err.substr(i + 1);
            if (!message.empty() && message.front() == ' ')
                message.erase(0, 1);
        }
    }
    return false;
}

} // namespace zkgen::lua
