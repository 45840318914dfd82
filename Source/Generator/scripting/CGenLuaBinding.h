#pragma once

#include "Generator/scripting/CGenScriptSandbox.h"

#include <lua.hpp>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

class CGenContext;

namespace CGenLua {

// Whether a userdata's __gc deletes the native object (the userdata owns it)
// or leaves it (the native side owns it).
enum class CollectGarbage { No = 0, Yes = 1 };

} // namespace CGenLua

// The machinery every binding class shares: failures that unwind C++ before
// Lua's longjmp, argument readers, and userdata that never dangle.
//
// Views. A userdata either owns its object or is a view into native data
// (an element of a list, a list inside a pattern, a list the engine handed
// in for one run). Each object a view can reach is guarded by an anchor: an
// anchor dies when its object goes (a collected owner, the end of the run
// that handed native data in) and its generation rises whenever its list
// reallocates or reorders. A view remembers its anchor and the generation it
// saw, so that a stale view raises a clean Lua error instead of touching
// freed memory.
namespace zkgen::lua {

// A binding's failure; Protected turns it into a Lua error once the C++
// stack has unwound.
struct TLuaError {
    std::string mText;
};
[[noreturn]] void Fail(std::string text);
// "<function>: <condition>", the form of every binding failure.
[[noreturn]] void FailIn(const char* function, const std::string& condition);

// The wrapper every binding function goes through: runs F, and raises what
// it threw as a Lua error after its destructors ran.
template <int (*F)(lua_State*)>
int Protected(lua_State* L)
{
    {
        std::string message;
        try {
            return F(L);
        } catch (const TLuaError& e) {
            message = e.mText;
        } catch (const std::bad_alloc&) {
            message = "not enough memory";
        } catch (const std::exception& e) {
            message = e.what();
        }
        lua_pushlstring(L, message.data(), message.size());
    }
    return lua_error(L);
}
#define ZKG_LUA_FN(F) ::zkgen::lua::Protected<F>

// ----- anchors

struct TAnchor {
    bool mAlive = true;
    uint64_t mGeneration = 0;
    // The object this one lives inside, and the generation it had then.
    std::shared_ptr<TAnchor> mParent;
    uint64_t mParentGeneration = 0;

    bool Valid() const;
};
using TAnchorPtr = std::shared_ptr<TAnchor>;

// What a userdata refers to.
struct TRef {
    void* mObject = nullptr;
    TAnchorPtr mAnchor;
    // Element views hold the generation of their list's anchor.
    uint64_t mGeneration = 0;
    bool mIsElement = false;
    // Owners delete through this; views have none.
    void (*mDelete)(void*) = nullptr;

    bool Valid() const { return mObject && mAnchor && mAnchor->Valid() && (!mIsElement || mAnchor->mGeneration == mGeneration); }
    bool Owned() const { return mDelete != nullptr; }
};

// The record inside every binding userdata.
struct TUserdata {
    TRef mRef;
    // Marked indices of a list (0-based), per userdata.
    std::set<size_t> mMarks;
    // Per-script scratch records of a context.
    std::vector<std::shared_ptr<void>> mScratch;
};

// ----- the per-state data (kept in the registry, freed with the state)

class TStateData {
public:
    // The data of L, made on first use.
    static TStateData& Of(lua_State* L);

    // The anchor of a list: the existing one while it is valid and sits in
    // the same parent, else a new one. `parent` null: native data of the
    // current run (or an owner's list, see OwnedAnchor).
    TAnchorPtr AnchorForObject(const void* object, const TRef* parent);
    // An owned object's anchor; ForgetObject when it is collected.
    TAnchorPtr OwnedAnchor(const void* object);
    void ForgetObject(const void* object);
    // Ends the run: every anchor of native run data dies.
    void EndRun();

    TScriptSandbox mSandbox;
    // Bytes the state holds (counted by the bounded allocator).
    size_t mMemoryUsed = 0;
    // Depth of the call trace.
    bool mTracing = false;
    int mTraceDepth = 0;
    // Instructions used by the protected call that runs; set when the budget ran out.
    uint64_t mInstructionsUsed = 0;
    bool mBudgetExhausted = false;
    // The generation the state serves (for the context userdata and scripts' random numbers).
    CGenContext* mContext = nullptr;
    // Draws of math.random without a context.
    uint32_t mFallbackRandomState = 1;

private:
    struct TEntry {
        std::weak_ptr<TAnchor> mAnchor;
        bool mOwned = false;
    };
    std::vector<std::pair<const void*, TEntry>> mEntries;
    std::vector<std::weak_ptr<TAnchor>> mRunAnchors;
    TEntry* _Find(const void* object);
};

// Ends a run when it goes out of scope (a hook call, a module's run).
class TRunScope {
public:
    explicit TRunScope(lua_State* L) : mL(L) {}
    ~TRunScope();
    TRunScope(const TRunScope&) = delete;
    TRunScope& operator=(const TRunScope&) = delete;

private:
    lua_State* mL;
};

// ----- references

// An owned object: the userdata deletes it through T's destructor.
template <class T>
TRef OwnedRef(lua_State* L, T* object)
{
    TRef r;
    r.mObject = object;
    r.mAnchor = TStateData::Of(L).OwnedAnchor(object);
    r.mDelete = [](void* p) { delete static_cast<T*>(p); };
    return r;
}
// A list or object that the engine owns: lives inside `parent` or, without
// one, for the current run.
TRef ObjectRef(lua_State* L, void* object, const TRef* parent = nullptr);
// An element of the list that `list` refers to; dies when that list changes.
TRef ElementRef(const TRef& list, void* element);
// The list that `ref` refers to has reallocated or reordered: its element
// views (and the lists inside its elements) die.
void NoteChanged(const TRef& ref);

// ----- userdata

// Registers the metatable: "__index" to itself, the methods and a "__gc"
// that releases the record (deleting an owned object); with a global name a
// table of the functions as that global.
void RegisterClass(lua_State* L, const char* metatableName, const luaL_Reg* methods, const char* globalName,
    const luaL_Reg* functions);
// Pushes a new userdata of the metatable for `ref`.
TUserdata& PushRef(lua_State* L, const char* metatableName, TRef ref);
// The record at idx if it is a userdata of that metatable, else null.
TUserdata* TestUserdata(lua_State* L, int idx, const char* metatableName);
// The record, or Fail(expected) ("'LuaEvent' expected").
TUserdata& CheckUserdata(lua_State* L, int idx, const char* metatableName, const char* expected);
// The object of a record; a stale view fails with "<what>: the list this
// view belongs to has changed or gone; fetch it again".
void* Resolve(const TUserdata& u, const char* what);
template <class T>
T* CheckObject(lua_State* L, int idx, const char* metatableName, const char* expected, const char* what)
{
    return static_cast<T*>(Resolve(CheckUserdata(L, idx, metatableName, expected), what));
}

// ----- arguments (1-based Lua stack indices; failures in luaL's words)

int ArgCount(lua_State* L);
bool IsNoneOrNil(lua_State* L, int idx);
double ArgNumber(lua_State* L, int idx, const char* function);
int64_t ArgInteger(lua_State* L, int idx, const char* function);
std::string ArgString(lua_State* L, int idx, const char* function);
bool ArgBool(lua_State* L, int idx);
double OptNumber(lua_State* L, int idx, const char* function, double def);
int64_t OptInteger(lua_State* L, int idx, const char* function, int64_t def);
// "<function>: wrong number of arguments" unless the count lies in [min, max].
void CheckArgCount(lua_State* L, const char* function, int min, int max);

// ----- positions across the boundary: 1-based in Lua, 0-based inside

// value - 1 as a float; an undefined position stays undefined.
float PosFromLua(double value);
// value + 1, or nothing (returns 0 results) when undefined.
int PushPos(lua_State* L, float pos);
// value + 1 even when undefined (for getters that return a plain number).
void PushPosAlways(lua_State* L, float pos);

} // namespace zkgen::lua
