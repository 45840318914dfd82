#pragma once

#include "Generator/scripting/CGenLua.h"

#include <string>

namespace zkgen::test {

// A script state for tests, closed with the object.
class LuaTestState {
public:
    explicit LuaTestState(bool sandbox = false, uint64_t budget = 50'000'000, size_t memoryLimit = size_t(512) << 20)
    {
        zkgen::lua::TScriptSandbox s;
        s.mEnabled = sandbox;
        s.mInstructionBudget = budget;
        s.mMemoryLimit = memoryLimit;
        L = zkgen::lua::NewScriptState(s);
    }
    ~LuaTestState() { zkgen::lua::CloseScriptState(L); }
    LuaTestState(const LuaTestState&) = delete;
    LuaTestState& operator=(const LuaTestState&) = delete;

    // Runs the text: "" on success, else the error's first line (the
    // message without its traceback).
    std::string Run(const std::string& text)
    {
        std::string err;
        if (CGenLua::doLuaString(L, text, &err))
            return {};
        const size_t nl = err.find('\n');
        return nl == std::string::npos ? err : err.substr(0, nl);
    }
    // Runs the text and fails the test on an error.
    void Ok(const std::string& text);

    double Number(const char* global)
    {
        lua_getglobal(L, global);
        const double v = lua_tonumber(L, -1);
        lua_pop(L, 1);
        return v;
    }
    std::string String(const char* global)
    {
        lua_getglobal(L, global);
        const char* s = lua_tostring(L, -1);
        std::string v = s ? s : "";
        lua_pop(L, 1);
        return v;
    }
    bool Bool(const char* global)
    {
        lua_getglobal(L, global);
        const bool v = lua_toboolean(L, -1) != 0;
        lua_pop(L, 1);
        return v;
    }
    bool IsNil(const char* global)
    {
        lua_getglobal(L, global);
        const bool v = lua_isnil(L, -1);
        lua_pop(L, 1);
        return v;
    }

    lua_State* L = nullptr;
};

} // namespace zkgen::test

#include <gtest/gtest.h>

inline void zkgen::test::LuaTestState::Ok(const std::string& text)
{
    const std::string err = Run(text);
    EXPECT_EQ(err, "") << text;
}
