#pragma once

#include "Generator/scripting/CGenLuaBinding.h"
#include "Platform/ZKLog.h"

#include <functional>
#include <string>
#include <vector>

class CGenContext;
class CGenRandom;

// The Lua runtime of the engine: what a state holds at start (the standard
// libraries, the read-only constant tables, the binding classes), how text
// is compiled and called, and how failures come back. Nothing here throws:
// every failure is a false result with the Lua message in `err`.
namespace CGenLua {

// Opens the standard libraries, defines the constant tables and registers
// the binding classes in their fixed order. Returns 0 (nothing pushed).
int luaopen_CGenLua(lua_State* L);

// The record of the global "context"; raises the Lua error "'LuaContext'
// expected" when there is none.
CGenContext* LuaContextFromLuaState(lua_State* L);

// Whether the text compiles (in a scratch state without libraries).
bool checkLuaString(const std::string& text, std::string* err = nullptr);
// Compiles the text (after the preprocess block) and leaves the chunk on the stack.
bool loadLuaString(lua_State* L, const std::string& text, std::string* err = nullptr);
// Compiles and runs the text.
bool doLuaString(lua_State* L, const std::string& text, std::string* err = nullptr);
// Calls the global function `name` without arguments; a missing one is a
// success when `mayBeMissing`, else "luaFunctionName not found".
bool doLuaFunction(lua_State* L, const std::string& name, bool mayBeMissing, std::string* err = nullptr);

// Prints each call and return to the standard output, indented by depth.
// The stream argument is not used.
void startTraceExecution(lua_State* L, void* stream = nullptr);
void stopTraceExecution(lua_State* L);

// A text-to-text function applied to every script before it is compiled
// (process-wide; set by a host at start).
using TLuaStringPreProcessBlock = std::function<std::string(const std::string&)>;
void SetLuaStringPreProcessBlock(TLuaStringPreProcessBlock block);
TLuaStringPreProcessBlock GetLuaStringPreProcessBlock();

// The read-only constant tables (TQuantize, TBeatPos, ...).
class LuaEnums {
public:
    struct TEntry {
        std::string mName;
        // 0 integer, 1 floating point, 2 string.
        int mKind = 0;
        double mNumber = 0.0;
        std::string mText;
    };
    struct TTable {
        std::string mName;
        std::vector<TEntry> mEntries;
    };
    static const std::vector<TTable>& enumEntries();
    // The Lua source that defines one table.
    static std::string ChunkForTable(const TTable& table);
};

// The three log channels of scripts. Each is real only when the user default
// "FeatureAvailable_TolvarContent" is true (read once); otherwise writing to
// it costs nothing.
bool luaLogIsEnabled(ZKLogCategory category);
void luaLog(ZKLogCategory category, const std::string& message);
// Reads the user default again (tests).
void luaLogResetForTesting();

} // namespace CGenLua

namespace zkgen::lua {

// A new state with the engine's libraries, sandboxed as asked; null when
// there is no memory. Close it with CloseScriptState.
lua_State* NewScriptState(const TScriptSandbox& sandbox);
void CloseScriptState(lua_State* L);
// Sets the global "context" to a new context userdata (null: nil), and
// makes the context the source of the scripts' random numbers.
void SetGlobalContext(lua_State* L, CGenContext* context);
// One step of the random state that scripts draw from: the running pattern
// graph's, else the context's, else the state's own (context:Random and the
// sandbox's math.random share it).
uint32_t NextScriptRandomState(lua_State* L);
// The random generator scripts of this context draw from: the running
// pattern graph's, else the context's own.
CGenRandom& ScriptRandom(CGenContext& context);
// Installs or removes the state's hook after a change of tracing or budget.
void UpdateHook(lua_State* L);

// The text of the budget's error.
inline constexpr const char* kBudgetExhaustedText = "script stopped: instruction budget exhausted";

} // namespace zkgen::lua
