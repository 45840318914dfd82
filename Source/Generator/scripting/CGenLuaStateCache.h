#pragma once

#include "Generator/scripting/CGenScriptSandbox.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

struct lua_State;

// The script state of one style, kept across generations: the state, the
// change count of each global script it has loaded, and a counter that
// rises with each reload, by which script modules know to compile again.
struct CGenLuaCacheEntry {
    CGenLuaCacheEntry() = default;
    ~CGenLuaCacheEntry();
    CGenLuaCacheEntry(const CGenLuaCacheEntry&) = delete;
    CGenLuaCacheEntry& operator=(const CGenLuaCacheEntry&) = delete;

    // Closes the state and makes a new one.
    void ReplaceState(const zkgen::lua::TScriptSandbox& sandbox);

    lua_State* mState = nullptr;
    std::map<std::string, int64_t> mLoadedChangeCounts;
    int64_t mChangeCounter = 0;
};

// By style identifier (name and unique ID), so that two styles of one name
// never share a state.
using CGenLuaStateCache = std::unordered_map<std::string, std::unique_ptr<CGenLuaCacheEntry>>;
