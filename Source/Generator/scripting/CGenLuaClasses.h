#pragma once

#include "Generator/scripting/CGenLuaBinding.h"

class CGenContext;
class CGenEv;
class CGenEvs;
class CGenEvChord;
class CGenPatternModAndProb;
class CGenPatternModAndProbs;
class CAbstractNote;
class CAbstractOffsets;
class CAbstractOffset;
class CGenGrooves;
class CGenGroove;
class CGenGrooveTrack;
class CGenGrooveEl;
class CGenVaryIntnEl;

// The binding classes: each registers a metatable of its name (and a global
// table of its functions, where it has one) and makes userdata that own or
// view a native object. Every method goes through zkgen::lua::Protected, so
// a misuse is a Lua error in the form "<function>: <condition>".
namespace CGenLua {

using zkgen::lua::TRef;

#define ZKG_LUA_BINDING_CLASS_COMMON()                                                                                 \
    static const char* const metatableName;                                                                            \
    static const luaL_Reg functions[];                                                                                 \
    static const luaL_Reg methods[];                                                                                   \
    static const int functionsCount;                                                                                   \
    static const int methodsCount;                                                                                     \
    static void Register(lua_State* L)

// The `context` object: a record of the generation's context (not owned)
// and per-script scratch records. It dies with the run that made it.
class LuaContext {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CGenContext* context);
    // The context of the userdata at idx; "'LuaContext' expected" for
    // another value, an error for a context whose run has ended.
    static CGenContext* checkLuaContext(lua_State* L, int idx);
};

class LuaEvent {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CGenEv* ev, CollectGarbage gc);
    static void push(lua_State* L, const TRef& ref);
    static CGenEv* checkLuaEvent(lua_State* L, int idx);
};

class LuaEvents {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CGenEvs* evs, CollectGarbage gc);
    static void push(lua_State* L, const TRef& ref);
    static CGenEvs* checkLuaEvents(lua_State* L, int idx);
};

class LuaAbstractNote {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CAbstractNote* note, CollectGarbage gc);
    static void push(lua_State* L, const TRef& ref);
    static CAbstractNote* checkLuaAbstractNote(lua_State* L, int idx);
};

class LuaAbstractOffsets {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CAbstractOffsets* offsets, CollectGarbage gc);
    static void push(lua_State* L, const TRef& ref);
    static CAbstractOffsets* checkLuaAbstractOffsets(lua_State* L, int idx);
};

class LuaAbstractOffset {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CAbstractOffset* offset, CollectGarbage gc);
    static void push(lua_State* L, const TRef& ref);
    static CAbstractOffset* checkLuaAbstractOffset(lua_State* L, int idx);
};

class LuaPattern {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CGenPatternModAndProb* pattern, CollectGarbage gc);
    static void push(lua_State* L, const TRef& ref);
    static CGenPatternModAndProb* checkLuaPattern(lua_State* L, int idx);
};

// A list of patterns also knows the signature its patterns stand in
// (TSTDefaultOrTarget); it is kept in CGenPatternModAndProbs itself.
class LuaPatterns {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, CGenPatternModAndProbs* patterns, CollectGarbage gc);
    static void push(lua_State* L, const TRef& ref);
    static CGenPatternModAndProbs* checkLuaPatterns(lua_State* L, int idx);
};

// An owned rule with a source and a target instrument path. The paths are
// kept as text and resolved in the running generation's instrument tree at
// each use, so that the rule never holds pointers into a tree that is gone.
class LuaKitPieceTransformation {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    // The rule of the userdata at idx; "'LuaKitPieceTransformation' expected" for another value.
    static CGenVaryIntnEl* checkLuaKitPieceTransformation(lua_State* L, int idx);
};

// The groove classes are views on the content's grooves: they die with the
// run that handed the grooves in. Scripts can't change a groove.
class LuaGrooves {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, const CGenGrooves* grooves);
    static CGenGrooves* checkLuaGrooves(lua_State* L, int idx);
};

// A groove also carries its own two strengths (timing and velocity), which
// belong to the userdata, not to the groove.
class LuaGroove {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, const TRef& ref);
    static CGenGroove* checkLuaGroove(lua_State* L, int idx);
};

class LuaGrooveTrack {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, const TRef& ref);
    static CGenGrooveTrack* checkLuaGrooveTrack(lua_State* L, int idx);
};

class LuaGrooveEvent {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, const TRef& ref);
    static CGenGrooveEl* checkLuaGrooveEvent(lua_State* L, int idx);
};

// A chord at a place: the chord event (owned copy) and the query position,
// the chord's start and its end, relative to the generate position.
class LuaChord {
public:
    ZKG_LUA_BINDING_CLASS_COMMON();
    static void push(lua_State* L, const CGenEvChord& chord, float queryPos, float startRel, float endRel);
};

#undef ZKG_LUA_BINDING_CLASS_COMMON

} // namespace CGenLua

// Defines push (an owner or a view of the run), push of a reference, and
// the check function of a binding class whose userdata refer to a T.
#define ZKG_LUA_DEFINE_OBJECT_ACCESS(CLASS, T, CHECK)                                                                  \
    void CGenLua::CLASS::push(lua_State* L, T* object, CollectGarbage gc)                                              \
    {                                                                                                                  \
        zkgen::lua::PushRef(L, metatableName,                                                                          \
            gc == CollectGarbage::Yes ? zkgen::lua::OwnedRef(L, object) : zkgen::lua::ObjectRef(L, object));          \
    }                                                                                                                  \
    void CGenLua::CLASS::push(lua_State* L, const TRef& ref)                                                           \
    {                                                                                                                  \
        zkgen::lua::PushRef(L, metatableName, ref);                                                                    \
    }                                                                                                                  \
    T* CGenLua::CLASS::CHECK(lua_State* L, int idx)                                                                    \
    {                                                                                                                  \
        return zkgen::lua::CheckObject<T>(L, idx, metatableName, "'" #CLASS "' expected", #CLASS);                     \
    }

// Defines the name, the counts and Register of a binding class; stands after
// the definitions of its `functions` and `methods` (each ends with {nullptr,
// nullptr}). GLOBAL is the global table's name, or nullptr for none.
#define ZKG_LUA_DEFINE_CLASS(CLASS, META, GLOBAL)                                                                      \
    const char* const CGenLua::CLASS::metatableName = META;                                                           \
    const int CGenLua::CLASS::functionsCount = static_cast<int>(sizeof(CLASS::functions) / sizeof(luaL_Reg)) - 1;      \
    const int CGenLua::CLASS::methodsCount = static_cast<int>(sizeof(CLASS::methods) / sizeof(luaL_Reg)) - 1;          \
    void CGenLua::CLASS::Register(lua_State* L)                                                                        \
    {                                                                                                                  \
        zkgen::lua::RegisterClass(L, metatableName, methods, GLOBAL, functions);                                       \
    }
