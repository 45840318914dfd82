#include "Generator/scripting/CGenLuaClasses.h"

using namespace CGenLua;

const luaL_Reg LuaKitPieceTransformation::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaKitPieceTransformation::methods[] = {{nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaKitPieceTransformation, "tolvar.kitPieceTransformation", "KitPieceTransformation")

const luaL_Reg LuaGrooves::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGrooves::methods[] = {{nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGrooves, "tolvar.grooves", nullptr)

const luaL_Reg LuaGroove::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGroove::methods[] = {{nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGroove, "tolvar.groove", nullptr)

const luaL_Reg LuaGrooveTrack::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGrooveTrack::methods[] = {{nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGrooveTrack, "tolvar.groovetrack", nullptr)

const luaL_Reg LuaGrooveEvent::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGrooveEvent::methods[] = {{nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGrooveEvent, "tolvar.grooveEvent", nullptr)

void LuaGrooves::push(lua_State* L, const CGenGrooves* grooves)
{
    zkgen::lua::PushRef(L, metatableName, zkgen::lua::ObjectRef(L, const_cast<CGenGrooves*>(grooves)));
}
