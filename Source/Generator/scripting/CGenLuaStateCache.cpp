#include "Generator/scripting/CGenLuaStateCache.h"

#include "Generator/scripting/CGenLua.h"

CGenLuaCacheEntry::~CGenLuaCacheEntry()
{
    zkgen::lua::CloseScriptState(mState);
}

void CGenLuaCacheEntry::ReplaceState(const zkgen::lua::TScriptSandbox& sandbox)
{
    zkgen::lua::CloseScriptState(mState);
    mState = zkgen::lua::NewScriptState(sandbox);
}
