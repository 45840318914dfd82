#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/CGenEvs.h"
#include "Generator/scripting/CGenLuaListSupport.h"

#include <cmath>

using namespace CGenLua;
using zkgen::lua::ArgCount;
using zkgen::lua::ArgInteger;
using zkgen::lua::ArgNumber;
using zkgen::lua::TUserdata;

namespace {

struct TEventsTraits {
    using TList = CGenEvs;
    static const char* Meta() { return LuaEvents::metatableName; }
    static CGenEvs* Check(lua_State* L, int idx) { return LuaEvents::checkLuaEvents(L, idx); }
    static void PushElement(lua_State* L, const TRef& ref) { LuaEvent::push(L, ref); }
};
using TMethods = zkgen::lua::TListMethods<TEventsTraits>;

enum TQuantize : int64_t {
    TQuantize_Off = 0,
    TQuantize_Prev = 1,
    TQuantize_PrevOrAt = 2,
    TQuantize_Next = 3,
    TQuantize_NextOrAt = 4,
    TQuantize_Closest = 5,
};

int New(lua_State* L)
{
    LuaEvents::push(L, new CGenEvs(), CollectGarbage::Yes);
    return 1;
}

int Length(lua_State* L)
{
    lua_pushnumber(L, LuaEvents::checkLuaEvents(L, 1)->mLength);
    return 1;
}

int SetLength(lua_State* L)
{
    CGenEvs* evs = LuaEvents::checkLuaEvents(L, 1);
    evs->mLength = static_cast<float>(ArgNumber(L, 2, "SetLength"));
    return 0;
}

// Appends, or inserts before event i (i may be one past the end).
int Add(lua_State* L)
{
    CGenEvs* evs = nullptr;
    TUserdata& u = TMethods::Self(L, evs);
    size_t at = evs->size();
    if (!zkgen::lua::IsNoneOrNil(L, 2)) {
        const int64_t i = ArgInteger(L, 2, "Add");
        if (i < 1 || static_cast<uint64_t>(i) > evs->size() + 1) {
            lua_pushnil(L);
            lua_pushnil(L);
            return 2;
        }
        at = static_cast<size_t>(i - 1);
    }
    CGenEv ev = zkgen::lua::NewScriptEvent(L);
    evs->insert(evs->begin() + static_cast<std::ptrdiff_t>(at), std::move(ev));
    zkgen::lua::NoteChanged(u.mRef);
    TMethods::PushElement(L, u, *evs, at);
    lua_pushnumber(L, static_cast<double>(at + 1));
    return 2;
}

int Sort(lua_State* L)
{
    CGenEvs* evs = nullptr;
    TUserdata& u = TMethods::Self(L, evs);
    evs->SortStable();
    zkgen::lua::NoteChanged(u.mRef);
    return 0;
}

// A note that still sounds when the next one of its channel and number
// starts ends there.
int RemoveOverlapsBetweenSameNotes(lua_State* L)
{
    CGenEvs& evs = *LuaEvents::checkLuaEvents(L, 1);
    for (CGenEv& a : evs) {
        if (!a.IsNote() || GenIsUndef(a.mBeatPos) || GenIsUndef(a.mBeatLength))
            continue;
        float next = TGenBeatPos_Undef;
        for (const CGenEv& b : evs) {
            if (&b == &a || b.mMB0 != a.mMB0 || b.mMB1 != a.mMB1 || GenIsUndef(b.mBeatPos) || !(b.mBeatPos > a.mBeatPos))
                continue;
            if (GenIsUndef(next) || b.mBeatPos < next)
                next = b.mBeatPos;
        }
        if (GenIsDef(next) && a.mBeatPos + a.mBeatLength > next)
            a.mBeatLength = next - a.mBeatPos;
    }
    return 0;
}

float QuantizedPos(float p, float grid, int64_t type)
{
    const bool onGrid = std::fmod(p, grid) == 0.0f;
    const float below = std::floor(p / grid) * grid;
    switch (type) {
    case TQuantize_Prev: return onGrid ? p - grid : below;
    case TQuantize_PrevOrAt: return below;
    case TQuantize_Next: return onGrid ? p + grid : below + grid;
    case TQuantize_NextOrAt: return onGrid ? p : below + grid;
    case TQuantize_Closest:
        if (onGrid)
            return p;
        // Halfway goes to the later point.
        return p - below < below + grid - p ? below : below + grid;
    default: return p;
    }
}

int Quantize(lua_State* L)
{
    CGenEvs& evs = *LuaEvents::checkLuaEvents(L, 1);
    if (ArgCount(L) != 3)
        zkgen::lua::Fail("Quantize: Must have 2 arguments");
    const int64_t type = ArgInteger(L, 2, "Quantize");
    const float grid = static_cast<float>(ArgNumber(L, 3, "Quantize"));
    if (evs.empty() || type == TQuantize_Off || !(grid > 0.0f))
        return 0;
    for (CGenEv& ev : evs)
        if (GenIsDef(ev.mBeatPos))
            ev.mBeatPos = QuantizedPos(ev.mBeatPos, grid, type);
    return 0;
}

} // namespace

const luaL_Reg LuaEvents::functions[] = {{"New", ZKG_LUA_FN(New)}, {nullptr, nullptr}};
const luaL_Reg LuaEvents::methods[] = {
    {"Length", ZKG_LUA_FN(Length)},
    {"SetLength", ZKG_LUA_FN(SetLength)},
    {"Size", ZKG_LUA_FN(TMethods::Size)},
    {"Get", ZKG_LUA_FN(TMethods::Get)},
    {"First", ZKG_LUA_FN(TMethods::First)},
    {"Last", ZKG_LUA_FN(TMethods::Last)},
    {"Add", ZKG_LUA_FN(Add)},
    {"Remove", ZKG_LUA_FN(TMethods::Remove)},
    {"Sort", ZKG_LUA_FN(Sort)},
    {"Mark", ZKG_LUA_FN(TMethods::Mark)},
    {"Unmark", ZKG_LUA_FN(TMethods::Unmark)},
    {"MarkAll", ZKG_LUA_FN(TMethods::MarkAll)},
    {"UnmarkAll", ZKG_LUA_FN(TMethods::UnmarkAll)},
    {"RemoveMarked", ZKG_LUA_FN(TMethods::RemoveMarked)},
    {"RemoveOverlapsBetweenSameNotes", ZKG_LUA_FN(RemoveOverlapsBetweenSameNotes)},
    {"Iterator", ZKG_LUA_FN(TMethods::Iterator)},
    {"Quantize", ZKG_LUA_FN(Quantize)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaEvents, "tolvar.events", "LuaEvents")

ZKG_LUA_DEFINE_OBJECT_ACCESS(LuaEvents, CGenEvs, checkLuaEvents)
