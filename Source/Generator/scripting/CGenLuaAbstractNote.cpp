#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/harmony/CAbstractNote.h"
#include "Generator/scripting/CGenLuaListSupport.h"

#include <string>

using namespace CGenLua;
using zkgen::lua::ArgInteger;
using zkgen::lua::TUserdata;

namespace {

struct TOffsetsTraits {
    using TList = CAbstractOffsets;
    static const char* Meta() { return LuaAbstractOffsets::metatableName; }
    static CAbstractOffsets* Check(lua_State* L, int idx) { return LuaAbstractOffsets::checkLuaAbstractOffsets(L, idx); }
    static void PushElement(lua_State* L, const TRef& ref) { LuaAbstractOffset::push(L, ref); }
};
using TOffsetsMethods = zkgen::lua::TListMethods<TOffsetsTraits>;

int PushNumber(lua_State* L, double v)
{
    lua_pushnumber(L, v);
    return 1;
}

// ----- LuaAbstractNote

TUserdata& NoteUserdata(lua_State* L, CAbstractNote*& note)
{
    note = LuaAbstractNote::checkLuaAbstractNote(L, 1);
    return *zkgen::lua::TestUserdata(L, 1, LuaAbstractNote::metatableName);
}

CAbstractNote& Note(lua_State* L)
{
    return *LuaAbstractNote::checkLuaAbstractNote(L, 1);
}

// The anchor of the note's offsets list: the one its views hold.
TRef OffsetsRef(lua_State* L, CAbstractNote& note, const TUserdata& u)
{
    return zkgen::lua::ObjectRef(L, &note.mOffsets, &u.mRef);
}

int NoteNew(lua_State* L)
{
    LuaAbstractNote::push(L, new CAbstractNote(), CollectGarbage::Yes);
    return 1;
}

int Degree(lua_State* L)
{
    return PushNumber(L, Note(L).mDegree);
}

int SetDegree(lua_State* L)
{
    CAbstractNote& note = Note(L);
    note.mDegree = static_cast<TAbstractDegree>(ArgInteger(L, 2, "SetDegree"));
    return 0;
}

int DegreeIsUndef(lua_State* L)
{
    lua_pushboolean(L, Note(L).IsUndef() ? 1 : 0);
    return 1;
}

int Offsets(lua_State* L)
{
    CAbstractNote* note = nullptr;
    const TUserdata& u = NoteUserdata(L, note);
    LuaAbstractOffsets::push(L, OffsetsRef(L, *note, u));
    return 1;
}

int SetOffsets(lua_State* L)
{
    CAbstractNote* note = nullptr;
    const TUserdata& u = NoteUserdata(L, note);
    // A copy first: the list may be this note's own.
    const CAbstractOffsets offsets = *LuaAbstractOffsets::checkLuaAbstractOffsets(L, 2);
    note->mOffsets = offsets;
    zkgen::lua::NoteChanged(OffsetsRef(L, *note, u));
    return 0;
}

// The first offset, as an element of the note's offsets list.
int Offset(lua_State* L)
{
    CAbstractNote* note = nullptr;
    const TUserdata& u = NoteUserdata(L, note);
    if (note->mOffsets.empty())
        return 0;
    LuaAbstractOffset::push(L, zkgen::lua::ElementRef(OffsetsRef(L, *note, u), &note->mOffsets.front()));
    return 1;
}

int SetOffset(lua_State* L)
{
    CAbstractNote* note = nullptr;
    const TUserdata& u = NoteUserdata(L, note);
    const CAbstractOffset offset = *LuaAbstractOffset::checkLuaAbstractOffset(L, 2);
    note->mOffsets.assign(1, offset);
    zkgen::lua::NoteChanged(OffsetsRef(L, *note, u));
    return 0;
}

int Where(lua_State* L)
{
    return PushNumber(L, Note(L).mWhere);
}

int SetWhere(lua_State* L)
{
    CAbstractNote& note = Note(L);
    note.mWhere = static_cast<TWhere>(ArgInteger(L, 2, "SetWhere"));
    return 0;
}

int Undef(lua_State* L)
{
    Note(L).mDegree = TAbstractDegree_Undef;
    return 0;
}

int NoteToString(lua_State* L)
{
    const std::string text = Note(L).ToString();
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

// ----- LuaAbstractOffsets

int OffsetsNew(lua_State* L)
{
    LuaAbstractOffsets::push(L, new CAbstractOffsets(), CollectGarbage::Yes);
    return 1;
}

// An offset, or its members octaves, steps, steps type, steps direction.
int OffsetsAdd(lua_State* L)
{
    CAbstractOffsets* list = nullptr;
    TUserdata& u = TOffsetsMethods::Self(L, list);
    const char* fn = "LuaAbstractOffsets::Add";
    CAbstractOffset offset;
    const int n = zkgen::lua::ArgCount(L) - 1;
    if (n == 1) {
        offset = *LuaAbstractOffset::checkLuaAbstractOffset(L, 2);
    } else if (n == 4) {
        offset.mOctaves = static_cast<int8_t>(ArgInteger(L, 2, fn));
        offset.mSteps = static_cast<int8_t>(ArgInteger(L, 3, fn));
        offset.mStepsType = static_cast<TStepsType>(ArgInteger(L, 4, fn));
        offset.mStepsDirection = static_cast<TStepsDirection>(ArgInteger(L, 5, fn));
    } else {
        zkgen::lua::FailIn(fn, "wrong number of parameters");
    }
    list->push_back(offset);
    zkgen::lua::NoteChanged(u.mRef);
    return 0;
}

// ----- LuaAbstractOffset

CAbstractOffset& Off(lua_State* L)
{
    return *LuaAbstractOffset::checkLuaAbstractOffset(L, 1);
}

int OffsetNew(lua_State* L)
{
    LuaAbstractOffset::push(L, new CAbstractOffset(), CollectGarbage::Yes);
    return 1;
}

int Octaves(lua_State* L)
{
    return PushNumber(L, Off(L).mOctaves);
}

int SetOctaves(lua_State* L)
{
    CAbstractOffset& offset = Off(L);
    offset.mOctaves = static_cast<int8_t>(ArgInteger(L, 2, "SetOctaves"));
    return 0;
}

int OctavesAreUndef(lua_State* L)
{
    lua_pushboolean(L, Off(L).mOctaves == CAbstractOffset::kOctavesUndef ? 1 : 0);
    return 1;
}

int OctavesWithUndefEquals0(lua_State* L)
{
    const CAbstractOffset& offset = Off(L);
    return PushNumber(L, offset.mOctaves == CAbstractOffset::kOctavesUndef ? 0 : offset.mOctaves);
}

int Steps(lua_State* L)
{
    return PushNumber(L, Off(L).mSteps);
}

int SetSteps(lua_State* L)
{
    CAbstractOffset& offset = Off(L);
    offset.mSteps = static_cast<int8_t>(ArgInteger(L, 2, "SetSteps"));
    return 0;
}

int StepsType(lua_State* L)
{
    return PushNumber(L, Off(L).mStepsType);
}

int SetStepsType(lua_State* L)
{
    CAbstractOffset& offset = Off(L);
    offset.mStepsType = static_cast<TStepsType>(ArgInteger(L, 2, "SetStepsType"));
    return 0;
}

int StepsDirection(lua_State* L)
{
    return PushNumber(L, Off(L).mStepsDirection);
}

int SetStepsDirection(lua_State* L)
{
    CAbstractOffset& offset = Off(L);
    offset.mStepsDirection = static_cast<TStepsDirection>(ArgInteger(L, 2, "SetStepsDirection"));
    return 0;
}

} // namespace

const luaL_Reg LuaAbstractNote::functions[] = {{"New", ZKG_LUA_FN(NoteNew)}, {nullptr, nullptr}};
const luaL_Reg LuaAbstractNote::methods[] = {
    {"Degree", ZKG_LUA_FN(Degree)},
    {"SetDegree", ZKG_LUA_FN(SetDegree)},
    {"DegreeIsUndef", ZKG_LUA_FN(DegreeIsUndef)},
    {"Offsets", ZKG_LUA_FN(Offsets)},
    {"SetOffsets", ZKG_LUA_FN(SetOffsets)},
    {"Offset", ZKG_LUA_FN(Offset)},
    {"SetOffset", ZKG_LUA_FN(SetOffset)},
    {"Where", ZKG_LUA_FN(Where)},
    {"SetWhere", ZKG_LUA_FN(SetWhere)},
    {"Undef", ZKG_LUA_FN(Undef)},
    {"__tostring", ZKG_LUA_FN(NoteToString)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaAbstractNote, "tolvar.LuaAbstractNote", "LuaAbstractNote")

const luaL_Reg LuaAbstractOffsets::functions[] = {{"New", ZKG_LUA_FN(OffsetsNew)}, {nullptr, nullptr}};
const luaL_Reg LuaAbstractOffsets::methods[] = {
    {"Size", ZKG_LUA_FN(TOffsetsMethods::Size)},
    {"Get", ZKG_LUA_FN(TOffsetsMethods::Get)},
    {"First", ZKG_LUA_FN(TOffsetsMethods::First)},
    {"Last", ZKG_LUA_FN(TOffsetsMethods::Last)},
    {"Remove", ZKG_LUA_FN(TOffsetsMethods::Remove)},
    {"Iterator", ZKG_LUA_FN(TOffsetsMethods::Iterator)},
    {"Add", ZKG_LUA_FN(OffsetsAdd)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaAbstractOffsets, "tolvar.LuaAbstractOffsets", "LuaAbstractOffsets")

// Scripts never make octaves undefined: no SetOctavesUndef here.
const luaL_Reg LuaAbstractOffset::functions[] = {{"New", ZKG_LUA_FN(OffsetNew)}, {nullptr, nullptr}};
const luaL_Reg LuaAbstractOffset::methods[] = {
    {"Octaves", ZKG_LUA_FN(Octaves)},
    {"SetOctaves", ZKG_LUA_FN(SetOctaves)},
    {"OctavesAreUndef", ZKG_LUA_FN(OctavesAreUndef)},
    {"OctavesWithUndefEquals0", ZKG_LUA_FN(OctavesWithUndefEquals0)},
    {"Steps", ZKG_LUA_FN(Steps)},
    {"SetSteps", ZKG_LUA_FN(SetSteps)},
    {"StepsType", ZKG_LUA_FN(StepsType)},
    {"SetStepsType", ZKG_LUA_FN(SetStepsType)},
    {"StepsDirection", ZKG_LUA_FN(StepsDirection)},
    {"SetStepsDirection", ZKG_LUA_FN(SetStepsDirection)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaAbstractOffset, "tolvar.LuaAbstractOffset", "LuaAbstractOffset")

ZKG_LUA_DEFINE_OBJECT_ACCESS(LuaAbstractNote, CAbstractNote, checkLuaAbstractNote)

ZKG_LUA_DEFINE_OBJECT_ACCESS(LuaAbstractOffsets, CAbstractOffsets, checkLuaAbstractOffsets)

ZKG_LUA_DEFINE_OBJECT_ACCESS(LuaAbstractOffset, CAbstractOffset, checkLuaAbstractOffset)
