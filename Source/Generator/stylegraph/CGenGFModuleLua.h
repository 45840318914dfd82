#pragma once

#include "Generator/stylegraph/CGenGFModule.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class GenPatternModAndProbs;

struct lua_State;

// A module whose behaviour is a Lua script of the style. The script is the
// body of a function without parameters: it reads inputs[1..n] and writes
// outputs[1..m], and calls `context` methods. The function is compiled into
// the style's script state under a name of its own ("A" and a UUID without
// dashes, new for each load of the graph) and compiled again when the
// state was reloaded. Ports are virtual (any value), 1 to 64 of each, keyed
// "source_<n>" and "destination_<n>".
//
// A script that does not compile is a wire: the first input goes to the
// first output. A script that fails at run time leaves its outputs as they
// were (empty after setup); the error goes to luaScriptRuntimeErrorString()
// and the "lua.runtime-error" log, and the graph goes on.
class CGenGFModuleLua : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleLua();

    static constexpr int64_t kMaxPortCount = 64;

    const std::string& luaScript() const { return _luaScript; }
    // Stores the text, marks it for compilation and checks it.
    void setLuaScript(const std::string& script);
    bool luaScriptIsValid() const { return _luaScriptIsValid; }
    const std::string& luaScriptErrorString() const { return _luaScriptErrorString; }
    const std::string& luaScriptRuntimeErrorString() const { return _luaScriptRuntimeErrorString; }
    const std::string& uniqueID() const { return _uniqueID; }

    size_t inputCount() const;
    size_t outputCount() const;
    // Clamped to 1..64 (0 counts as 1).
    void setInputCount(int64_t count);
    void setOutputCount(int64_t count);
    CGenGFPort* inputPortAt(size_t number) const;
    CGenGFPort* outputPortAt(size_t number) const;

    bool setup(const CGenGFContext& context) override;
    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    // Compiles the script in a scratch state (without the function wrapper)
    // and sets the valid flag and the error text.
    void checkLuaScript();
    // Marks the script for compilation and checks it again.
    void resetLuaScript();
    void checkGlobalLuaScriptChangeCount(int64_t changeCount);
    void compileLuaScript();
    void handleLuaScriptRuntimeFailureWithLuaErrorString(const std::string& error);

private:
    void writePortsToLuaInputs();
    void writeLuaOutputsToPorts();
    void _makePort(int direction, size_t number);

    lua_State* L = nullptr;
    bool _luaScriptIsValid = false;
    bool _luaScriptNeedsCompilation = false;
    std::string _luaScript;
    std::string _luaScriptErrorString;
    std::string _luaScriptRuntimeErrorString;
    int64_t _globalLuaScriptChangeCount = 0;
    std::string _uniqueID;
    // The input lists the script sees during a run.
    std::vector<std::shared_ptr<GenPatternModAndProbs>> mInputCopies;
};
