#pragma once

// What the list bindings (events, patterns, abstract offsets) share: one
// implementation of indexing, marking, removing and iterating, so that the
// rules for 1-based indices and for views that die with a change of their
// list hold alike everywhere. Private to the scripting bindings.

#include "Generator/scripting/CGenLuaClasses.h"

#include <cstdint>

class CGenEv;

namespace zkgen::lua {

// An event as Event.New and LuaEvents:Add make it: positions and length
// undefined, an undefined abstract note, no note group, concretized unless
// the running graph works on final (merged) events.
CGenEv NewScriptEvent(lua_State* L);

// The start of the pattern whose events `eventsList` refers to, when the
// list was reached through LuaPattern:Events and that pattern is still
// there; undefined otherwise.
float ContainerStartOfEventsList(lua_State* L, const TRef& eventsList);
// Records that `eventsList` holds the events of the pattern `pattern`.
void RememberEventsContainer(lua_State* L, const TRef& eventsList, const TRef& pattern);

// TTraits gives:
//   using TList;                                  the vector type
//   static const char* Meta();                    the list's metatable name
//   static TList* Check(lua_State*, int);         the list of a userdata (or a Lua error)
//   static void PushElement(lua_State*, const TRef&);  pushes an element view
template <class TTraits>
struct TListMethods {
    using TList = typename TTraits::TList;

    // The list at argument 1 and its userdata.
    static TUserdata& Self(lua_State* L, TList*& list, int idx = 1)
    {
        list = TTraits::Check(L, idx);
        return *TestUserdata(L, idx, TTraits::Meta());
    }

    // The 0-based index of the 1-based integer argument at idx; false when it
    // does not name an element.
    static bool Index(lua_State* L, int idx, const char* function, size_t size, size_t& out)
    {
        const int64_t i = ArgInteger(L, idx, function);
        if (i < 1 || static_cast<uint64_t>(i) > size)
            return false;
        out = static_cast<size_t>(i - 1);
        return true;
    }

    static void PushElement(lua_State* L, const TUserdata& u, TList& list, size_t i)
    {
        TTraits::PushElement(L, ElementRef(u.mRef, &list[i]));
    }

    static int Size(lua_State* L)
    {
        TList* list = nullptr;
        Self(L, list);
        lua_pushnumber(L, static_cast<double>(list->size()));
        return 1;
    }

    static int Get(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        size_t i = 0;
        if (!Index(L, 2, "Get", list->size(), i))
            lua_pushnil(L);
        else
            PushElement(L, u, *list, i);
        return 1;
    }

    static int First(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        if (list->empty())
            lua_pushnil(L);
        else
            PushElement(L, u, *list, 0);
        return 1;
    }

    static int Last(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        if (list->empty())
            lua_pushnil(L);
        else
            PushElement(L, u, *list, list->size() - 1);
        return 1;
    }

    // Marks keep their indices: a script that mixes both asked for it.
    static int Remove(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        size_t i = 0;
        if (Index(L, 2, "Remove", list->size(), i)) {
            list->erase(list->begin() + static_cast<std::ptrdiff_t>(i));
            NoteChanged(u.mRef);
        }
        return 0;
    }

    static int Mark(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        size_t i = 0;
        if (Index(L, 2, "Mark", list->size(), i))
            u.mMarks.insert(i);
        return 0;
    }

    static int Unmark(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        size_t i = 0;
        if (Index(L, 2, "Unmark", list->size(), i))
            u.mMarks.erase(i);
        return 0;
    }

    static int MarkAll(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        for (size_t i = 0; i < list->size(); ++i)
            u.mMarks.insert(i);
        return 0;
    }

    static int UnmarkAll(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        u.mMarks.clear();
        return 0;
    }

    static int RemoveMarked(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list);
        bool removed = false;
        // From the back, so that the indices still to come stay valid.
        for (auto it = u.mMarks.rbegin(); it != u.mMarks.rend(); ++it) {
            if (*it < list->size()) {
                list->erase(list->begin() + static_cast<std::ptrdiff_t>(*it));
                removed = true;
            }
        }
        u.mMarks.clear();
        if (removed)
            NoteChanged(u.mRef);
        return 0;
    }

    // A step of the generic for: the next index and its element, or nil.
    // The list userdata is upvalue 1 (so that an owned list lives as long as
    // the loop), the running 1-based index upvalue 2.
    static int IteratorStep(lua_State* L)
    {
        TList* list = nullptr;
        TUserdata& u = Self(L, list, lua_upvalueindex(1));
        const double next = lua_tonumber(L, lua_upvalueindex(2)) + 1.0;
        if (next < 1.0 || next > static_cast<double>(list->size())) {
            lua_pushnil(L);
            return 1;
        }
        lua_pushnumber(L, next);
        lua_replace(L, lua_upvalueindex(2));
        lua_pushnumber(L, next);
        PushElement(L, u, *list, static_cast<size_t>(next) - 1);
        return 2;
    }

    static int Iterator(lua_State* L)
    {
        TList* list = nullptr;
        Self(L, list);
        lua_pushvalue(L, 1);
        lua_pushnumber(L, 0.0);
        lua_pushcclosure(L, ZKG_LUA_FN(IteratorStep), 2);
        return 1;
    }
};

} // namespace zkgen::lua
