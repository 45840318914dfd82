#include "Generator/scripting/CGenLuaBinding.h"

#include "Generator/CGenTypes.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace zkgen::lua {

namespace {

// The registry key of the state's data: the address of this variable.
char kStateDataKey;

int CollectStateData(lua_State* L)
{
    auto* data = static_cast<TStateData*>(lua_touserdata(L, 1));
    if (data)
        data->~TStateData();
    return 0;
}

int CollectUserdata(lua_State* L)
{
    auto* u = static_cast<TUserdata*>(lua_touserdata(L, 1));
    if (!u)
        return 0;
    if (u->mRef.Owned() && u->mRef.mObject) {
        if (u->mRef.mAnchor)
            u->mRef.mAnchor->mAlive = false;
        TStateData::Of(L).ForgetObject(u->mRef.mObject);
        u->mRef.mDelete(u->mRef.mObject);
    }
    u->~TUserdata();
    return 0;
}

std::string TypeNameAt(lua_State* L, int idx)
{
    return lua_typename(L, lua_type(L, idx));
}

[[noreturn]] void FailArgument(int idx, const char* function, const char* expected, lua_State* L)
{
    Fail("bad argument #" + std::to_string(idx) + " to '" + function + "' (" + expected + " expected, got " +
        TypeNameAt(L, idx) + ")");
}

} // namespace

void Fail(std::string text)
{
    throw TLuaError {std::move(text)};
}

void FailIn(const char* function, const std::string& condition)
{
    std::string text(function);
    text.append(": ").append(condition);
    Fail(std::move(text));
}

bool TAnchor::Valid() const
{
    if (!mAlive)
        return false;
    return !mParent || (mParent->Valid() && mParent->mGeneration == mParentGeneration);
}

// ----- TStateData

TStateData& TStateData::Of(lua_State* L)
{
    lua_rawgetp(L, LUA_REGISTRYINDEX, &kStateDataKey);
    auto* data = static_cast<TStateData*>(lua_touserdata(L, -1));
    lua_pop(L, 1);
    if (data)
        return *data;
    // A userdata in the registry, so that the data goes with the state.
    void* block = lua_newuserdata(L, sizeof(TStateData));
    data = new (block) TStateData();
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, CollectStateData);
    lua_setfield(L, -2, "__gc");
    lua_setmetatable(L, -2);
    lua_rawsetp(L, LUA_REGISTRYINDEX, &kStateDataKey);
    return *data;
}

TStateData::TEntry* TStateData::_Find(const void* object)
{
    for (auto& e : mEntries)
        if (e.first == object)
            return &e.second;
    return nullptr;
}

TAnchorPtr TStateData::AnchorForObject(const void* object, const TRef* parent)
{
    TAnchorPtr parentAnchor = parent ? parent->mAnchor : nullptr;
    const uint64_t parentGeneration = parent ? (parent->mIsElement ? parent->mGeneration : parent->mAnchor->mGeneration) : 0;
    if (TEntry* e = _Find(object)) {
        TAnchorPtr a = e->mAnchor.lock();
        if (a && a->Valid() && a->mParent == parentAnchor && a->mParentGeneration == parentGeneration)
            return a;
        if (e->mOwned && a && a->Valid())
            return a; // an owner's own object, reached again through a view
    }
    auto a = std::make_shared<TAnchor>();
    a->mParent = parentAnchor;
    a->mParentGeneration = parentGeneration;
    if (TEntry* e = _Find(object))
        *e = TEntry {a, false};
    else
        mEntries.emplace_back(object, TEntry {a, false});
    if (!parent)
        mRunAnchors.push_back(a);
    // Drop entries whose anchors are gone, so that the table stays small.
    if (mEntries.size() > 64 && (mEntries.size() & 63) == 0)
        mEntries.erase(std::remove_if(mEntries.begin(), mEntries.end(),
                           [](const auto& x) { return x.second.mAnchor.expired(); }),
            mEntries.end());
    return a;
}

TAnchorPtr TStateData::OwnedAnchor(const void* object)
{
    auto a = std::make_shared<TAnchor>();
    if (TEntry* e = _Find(object))
        *e = TEntry {a, true};
    else
        mEntries.emplace_back(object, TEntry {a, true});
    return a;
}

void TStateData::ForgetObject(const void* object)
{
    mEntries.erase(std::remove_if(mEntries.begin(), mEntries.end(), [&](const auto& x) { return x.first == object; }),
        mEntries.end());
}

void TStateData::EndRun()
{
    for (auto& w : mRunAnchors)
        if (TAnchorPtr a = w.lock())
            a->mAlive = false;
    mRunAnchors.clear();
    mEntries.erase(std::remove_if(mEntries.begin(), mEntries.end(),
                       [](const auto& x) {
                           TAnchorPtr a = x.second.mAnchor.lock();
                           return !a || !a->Valid();
                       }),
        mEntries.end());
    mContext = nullptr;
}

TRunScope::~TRunScope()
{
    if (mL)
        TStateData::Of(mL).EndRun();
}

// ----- references

TRef ObjectRef(lua_State* L, void* object, const TRef* parent)
{
    TRef r;
    r.mObject = object;
    r.mAnchor = TStateData::Of(L).AnchorForObject(object, parent);
    return r;
}

TRef ElementRef(const TRef& list, void* element)
{
    TRef r;
    r.mObject = element;
    r.mAnchor = list.mAnchor;
    r.mGeneration = list.mAnchor ? list.mAnchor->mGeneration : 0;
    r.mIsElement = true;
    return r;
}

void NoteChanged(const TRef& ref)
{
    if (ref.mAnchor)
        ++ref.mAnchor->mGeneration;
}

// ----- userdata

void RegisterClass(lua_State* L, const char* metatableName, const luaL_Reg* methods, const char* globalName,
    const luaL_Reg* functions)
{
    luaL_newmetatable(L, metatableName);
    lua_pushvalue(L, -1);
    lua_setfield(L, -2, "__index");
    if (methods)
        luaL_setfuncs(L, methods, 0);
    lua_pushcfunction(L, CollectUserdata);
    lua_setfield(L, -2, "__gc");
    lua_pop(L, 1);
    if (globalName) {
        lua_newtable(L);
        if (functions)
            luaL_setfuncs(L, functions, 0);
        lua_setglobal(L, globalName);
    }
}

TUserdata& PushRef(lua_State* L, const char* metatableName, TRef ref)
{
    void* block = lua_newuserdata(L, sizeof(TUserdata));
    auto* u = new (block) TUserdata();
    u->mRef = std::move(ref);
    luaL_setmetatable(L, metatableName);
    return *u;
}

TUserdata* TestUserdata(lua_State* L, int idx, const char* metatableName)
{
    return static_cast<TUserdata*>(luaL_testudata(L, idx, metatableName));
}

TUserdata& CheckUserdata(lua_State* L, int idx, const char* metatableName, const char* expected)
{
    TUserdata* u = TestUserdata(L, idx, metatableName);
    if (!u)
        Fail(expected);
    return *u;
}

void* Resolve(const TUserdata& u, const char* what)
{
    if (!u.mRef.Valid())
        FailIn(what, "the list this view belongs to has changed or gone; fetch it again");
    return u.mRef.mObject;
}

// ----- arguments

int ArgCount(lua_State* L)
{
    return lua_gettop(L);
}

bool IsNoneOrNil(lua_State* L, int idx)
{
    return lua_isnoneornil(L, idx);
}

double ArgNumber(lua_State* L, int idx, const char* function)
{
    int ok = 0;
    const double v = lua_tonumberx(L, idx, &ok);
    if (!ok)
        FailArgument(idx, function, "number", L);
    return v;
}

int64_t ArgInteger(lua_State* L, int idx, const char* function)
{
    const double v = ArgNumber(L, idx, function);
    // Saturated, so that an absurd number is no undefined conversion.
    if (std::isnan(v))
        return 0;
    if (v >= 9.2233720368547758e18)
        return INT64_MAX;
    if (v <= -9.2233720368547758e18)
        return INT64_MIN;
    return static_cast<int64_t>(v);
}

std::string ArgString(lua_State* L, int idx, const char* function)
{
    if (lua_type(L, idx) != LUA_TSTRING && lua_type(L, idx) != LUA_TNUMBER)
        FailArgument(idx, function, "string", L);
    size_t n = 0;
    const char* s = lua_tolstring(L, idx, &n);
    return std::string(s, n);
}

bool ArgBool(lua_State* L, int idx)
{
    return lua_toboolean(L, idx) != 0;
}

double OptNumber(lua_State* L, int idx, const char* function, double def)
{
    return IsNoneOrNil(L, idx) ? def : ArgNumber(L, idx, function);
}

int64_t OptInteger(lua_State* L, int idx, const char* function, int64_t def)
{
    return IsNoneOrNil(L, idx) ? def : ArgInteger(L, idx, function);
}

void CheckArgCount(lua_State* L, const char* function, int min, int max)
{
    const int n = ArgCount(L);
    if (n < min || n > max)
        FailIn(function, "wrong number of arguments");
}

// ----- positions

float PosFromLua(double value)
{
    const float v = static_cast<float>(value);
    if (GenIsUndef(v))
        return TGenBeatPos_Undef;
    return static_cast<float>(value - 1.0);
}

int PushPos(lua_State* L, float pos)
{
    if (GenIsUndef(pos))
        return 0;
    lua_pushnumber(L, static_cast<double>(pos) + 1.0);
    return 1;
}

void PushPosAlways(lua_State* L, float pos)
{
    lua_pushnumber(L, static_cast<double>(pos) + 1.0);
}

} // namespace zkgen::lua
