#pragma once

#include "Generator/scripting/CGenLuaClasses.h"
#include "Generator/scripting/LuaTestSupport.h"

namespace zkgen::test {

// The native object behind a global userdata of the given metatable, or
// null; for reading back in C++ what a script did.
template <class T>
T* GlobalObject(lua_State* L, const char* global, const char* metatableName)
{
    lua_getglobal(L, global);
    zkgen::lua::TUserdata* u = zkgen::lua::TestUserdata(L, -1, metatableName);
    lua_pop(L, 1);
    return u ? static_cast<T*>(u->mRef.mObject) : nullptr;
}

} // namespace zkgen::test
