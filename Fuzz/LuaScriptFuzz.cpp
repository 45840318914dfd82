// A script as content brings it: any text, run in a sandboxed state with a
// context over a small song, with two lists of the engine handed in as
// views. Lua errors are the script's business; a crash, a sanitizer report
// or a hang (the budget ends every loop) is a fault of the bindings.

#include "FuzzSupport.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/scripting/CGenLuaClasses.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);
    zkgen::lua::TScriptSandbox sandbox;
    sandbox.mEnabled = true;
    sandbox.mInstructionBudget = 200'000;
    sandbox.mMemoryLimit = size_t(64) << 20;
    lua_State* L = zkgen::lua::NewScriptState(sandbox);
    if (!L)
        return 0;

    CGenGeneratorParams params(16.0f, -1);
    params.mGenerateStartPosAbs = 2.0f;
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(8.0f, CGenSignTime(3, 2)));
    params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
    CGenContext context(&params);
    context.mLuaState = L;
    context.SetGeneratePos(0.0f);

    CGenEvs evs(4.0f);
    for (int i = 0; i < 8; ++i)
        evs.InsertAtBeatPos(CGenEv(0.5f * static_cast<float>(i), 0.25f, st_NoteOn, 36 + i, 64 + i));
    CGenPatternModAndProbs patterns;
    patterns.emplace_back(CGenPattern("a", evs), 50.0f);
    patterns.emplace_back(CGenPattern("b", CGenEvs(4.0f)), 70.0f);
    {
        zkgen::lua::TRunScope run(L);
        zkgen::lua::SetGlobalContext(L, &context);
        CGenLua::LuaEvents::push(L, &evs, CGenLua::CollectGarbage::No);
        lua_setglobal(L, "events");
        CGenLua::LuaPatterns::push(L, &patterns, CGenLua::CollectGarbage::No);
        lua_setglobal(L, "patterns");
        CGenLua::doLuaString(L, text, nullptr);
        // A second call finds what the first left behind.
        CGenLua::doLuaString(L, text, nullptr);
    }
    // After the run every view of it is dead; a script that kept one must
    // get an error, not the freed lists.
    CGenLua::doLuaString(L, "if keep then pcall(function() return keep:Size() end) end", nullptr);
    lua_gc(L, LUA_GCCOLLECT, 0);
    zkgen::lua::CloseScriptState(L);
    return 0;
}
