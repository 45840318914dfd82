#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/patterns/CGenPatternModAndProb.h"
#include "Generator/scripting/CGenLuaListSupport.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

using namespace CGenLua;
using zkgen::lua::ArgNumber;
using zkgen::lua::ArgString;
using zkgen::lua::TUserdata;

// ----- which pattern an events list belongs to

namespace {

// Kept in the registry, freed with the state: the events lists handed out
// by LuaPattern:Events, each with a reference to its pattern, so that an
// event can tell its absolute position while the pattern is still there.
struct TContainers {
    std::vector<std::pair<std::weak_ptr<zkgen::lua::TAnchor>, TRef>> mEntries;
};

char kContainersKey;

int CollectContainers(lua_State* L)
{
    if (auto* c = static_cast<TContainers*>(lua_touserdata(L, 1)))
        c->~TContainers();
    return 0;
}

TContainers& Containers(lua_State* L)
{
    lua_rawgetp(L, LUA_REGISTRYINDEX, &kContainersKey);
    auto* c = static_cast<TContainers*>(lua_touserdata(L, -1));
    lua_pop(L, 1);
    if (c)
        return *c;
    c = new (lua_newuserdata(L, sizeof(TContainers))) TContainers();
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, CollectContainers);
    lua_setfield(L, -2, "__gc");
    lua_setmetatable(L, -2);
    lua_rawsetp(L, LUA_REGISTRYINDEX, &kContainersKey);
    return *c;
}

} // namespace

void zkgen::lua::RememberEventsContainer(lua_State* L, const TRef& eventsList, const TRef& pattern)
{
    auto& entries = Containers(L).mEntries;
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                      [](const auto& e) { return e.first.expired() || !e.second.Valid(); }),
        entries.end());
    for (auto& e : entries) {
        if (e.first.lock() == eventsList.mAnchor) {
            e.second = pattern;
            return;
        }
    }
    entries.emplace_back(eventsList.mAnchor, pattern);
}

float zkgen::lua::ContainerStartOfEventsList(lua_State* L, const TRef& eventsList)
{
    for (const auto& e : Containers(L).mEntries)
        if (eventsList.mAnchor && e.first.lock() == eventsList.mAnchor && e.second.Valid())
            return static_cast<const CGenPatternModAndProb*>(e.second.mObject)->mBeatPosAbs;
    return TGenBeatPosAbs_Undef;
}

// ----- the binding

namespace {

CGenPatternModAndProb& Pattern(lua_State* L, int idx = 1)
{
    return *LuaPattern::checkLuaPattern(L, idx);
}

TUserdata& PatternUserdata(lua_State* L, CGenPatternModAndProb*& pattern)
{
    pattern = LuaPattern::checkLuaPattern(L, 1);
    return *zkgen::lua::TestUserdata(L, 1, LuaPattern::metatableName);
}

// The events of the pattern's own copy have been replaced or grown: views
// on them die.
void NoteEventsChanged(lua_State* L, CGenPatternModAndProb& pattern, const TUserdata& u)
{
    zkgen::lua::NoteChanged(zkgen::lua::ObjectRef(L, &pattern.PatternToBeModified().mEvs, &u.mRef));
}

int PushString(lua_State* L, const std::string& s)
{
    lua_pushlstring(L, s.data(), s.size());
    return 1;
}

int New(lua_State* L)
{
    auto* pattern = new CGenPatternModAndProb();
    pattern->NewPatternToBeModified();
    LuaPattern::push(L, pattern, CollectGarbage::Yes);
    return 1;
}

int Name(lua_State* L)
{
    return PushString(L, Pattern(L).PatternToBeRead().mName);
}

int SetName(lua_State* L)
{
    CGenPatternModAndProb& pattern = Pattern(L);
    pattern.PatternToBeModified().mName = ArgString(L, 2, "SetName");
    return 0;
}

int BeatPosAbs(lua_State* L)
{
    return zkgen::lua::PushPos(L, Pattern(L).mBeatPosAbs);
}

int SetBeatPosAbs(lua_State* L)
{
    CGenPatternModAndProb& pattern = Pattern(L);
    pattern.mBeatPosAbs = zkgen::lua::PosFromLua(ArgNumber(L, 2, "SetBeatPosAbs"));
    return 0;
}

int Length(lua_State* L)
{
    lua_pushnumber(L, Pattern(L).Length());
    return 1;
}

int SetLength(lua_State* L)
{
    CGenPatternModAndProb& pattern = Pattern(L);
    pattern.PatternToBeModified().mEvs.mLength = static_cast<float>(ArgNumber(L, 2, "SetLength"));
    return 0;
}

int Prob(lua_State* L)
{
    lua_pushnumber(L, Pattern(L).mProb);
    return 1;
}

int SetProb(lua_State* L)
{
    CGenPatternModAndProb& pattern = Pattern(L);
    pattern.mProb = static_cast<float>(ArgNumber(L, 2, "SetProb"));
    return 0;
}

int Events(lua_State* L)
{
    CGenPatternModAndProb* pattern = nullptr;
    const TUserdata& u = PatternUserdata(L, pattern);
    const TRef events = zkgen::lua::ObjectRef(L, &pattern->PatternToBeModified().mEvs, &u.mRef);
    zkgen::lua::RememberEventsContainer(L, events, u.mRef);
    LuaEvents::push(L, events);
    return 1;
}

int SetEvents(lua_State* L)
{
    CGenPatternModAndProb* pattern = nullptr;
    const TUserdata& u = PatternUserdata(L, pattern);
    // A copy first: the list may be this pattern's own.
    const CGenEvs evs = *LuaEvents::checkLuaEvents(L, 2);
    pattern->PatternToBeModified().mEvs = evs;
    NoteEventsChanged(L, *pattern, u);
    return 0;
}

int PatternGraphType(lua_State* L)
{
    lua_pushnumber(L, Pattern(L).mPatternGraphType);
    return 1;
}

int OrigComplInt(lua_State* L)
{
    lua_pushnumber(L, Pattern(L).PatternToBeRead().mCoord.mComplInt);
    return 1;
}

int OrigIntnInt(lua_State* L)
{
    lua_pushnumber(L, Pattern(L).PatternToBeRead().mCoord.mIntnInt);
    return 1;
}

int PropertiesIntValueForKey(lua_State* L)
{
    const CGenVariantMap& map = Pattern(L).PatternToBeRead().mProperties;
    const std::string key = ArgString(L, 2, "PropertiesIntValueForKey");
    if (!map.HasIntValueForKey(key))
        return 0;
    lua_pushnumber(L, static_cast<double>(map.IntValueForKey(key, 0)));
    return 1;
}

int SetPropertiesIntValueForKey(lua_State* L)
{
    CGenPatternModAndProb& pattern = Pattern(L);
    const std::string key = ArgString(L, 2, "SetPropertiesIntValueForKey");
    const int64_t value = zkgen::lua::ArgInteger(L, 3, "SetPropertiesIntValueForKey");
    pattern.PatternToBeModified().mProperties.SetIntValueForKey(value, key);
    return 0;
}

int PropertiesFloatValueForKey(lua_State* L)
{
    const CGenVariantMap& map = Pattern(L).PatternToBeRead().mProperties;
    const std::string key = ArgString(L, 2, "PropertiesFloatValueForKey");
    if (!map.HasFloatValueForKey(key))
        return 0;
    lua_pushnumber(L, map.FloatValueForKey(key, 0.0));
    return 1;
}

int SetPropertiesFloatValueForKey(lua_State* L)
{
    CGenPatternModAndProb& pattern = Pattern(L);
    const std::string key = ArgString(L, 2, "SetPropertiesFloatValueForKey");
    const double value = ArgNumber(L, 3, "SetPropertiesFloatValueForKey");
    pattern.PatternToBeModified().mProperties.SetFloatValueForKey(value, key);
    return 0;
}

int PropertiesStringValueForKey(lua_State* L)
{
    const CGenVariantMap& map = Pattern(L).PatternToBeRead().mProperties;
    const std::string key = ArgString(L, 2, "PropertiesStringValueForKey");
    if (!map.HasStringValueForKey(key))
        return 0;
    return PushString(L, map.StringValueForKey(key, ""));
}

int SetPropertiesStringValueForKey(lua_State* L)
{
    CGenPatternModAndProb& pattern = Pattern(L);
    const std::string key = ArgString(L, 2, "SetPropertiesStringValueForKey");
    const std::string value = ArgString(L, 3, "SetPropertiesStringValueForKey");
    pattern.PatternToBeModified().mProperties.SetStringValueForKey(value, key);
    return 0;
}

int MergeEvsFromPattern(lua_State* L)
{
    CGenPatternModAndProb* pattern = nullptr;
    const TUserdata& u = PatternUserdata(L, pattern);
    // A copy first: the other pattern may be this one.
    const CGenEvs other = Pattern(L, 2).PatternToBeRead().mEvs;
    CGenEvs& evs = pattern->PatternToBeModified().mEvs;
    for (const CGenEv& ev : other)
        evs.push_back(ev);
    evs.AssureMinLength(other.mLength);
    NoteEventsChanged(L, *pattern, u);
    return 0;
}

int ToString(lua_State* L)
{
    return PushString(L, Pattern(L).TraceString());
}

} // namespace

const luaL_Reg LuaPattern::functions[] = {{"New", ZKG_LUA_FN(New)}, {nullptr, nullptr}};
const luaL_Reg LuaPattern::methods[] = {
    {"Name", ZKG_LUA_FN(Name)},
    {"SetName", ZKG_LUA_FN(SetName)},
    {"BeatPosAbs", ZKG_LUA_FN(BeatPosAbs)},
    {"SetBeatPosAbs", ZKG_LUA_FN(SetBeatPosAbs)},
    {"Length", ZKG_LUA_FN(Length)},
    {"SetLength", ZKG_LUA_FN(SetLength)},
    {"Prob", ZKG_LUA_FN(Prob)},
    {"SetProb", ZKG_LUA_FN(SetProb)},
    {"Events", ZKG_LUA_FN(Events)},
    {"SetEvents", ZKG_LUA_FN(SetEvents)},
    {"PatternGraphType", ZKG_LUA_FN(PatternGraphType)},
    {"OrigComplInt", ZKG_LUA_FN(OrigComplInt)},
    {"OrigIntnInt", ZKG_LUA_FN(OrigIntnInt)},
    {"PropertiesIntValueForKey", ZKG_LUA_FN(PropertiesIntValueForKey)},
    {"SetPropertiesIntValueForKey", ZKG_LUA_FN(SetPropertiesIntValueForKey)},
    {"PropertiesFloatValueForKey", ZKG_LUA_FN(PropertiesFloatValueForKey)},
    {"SetPropertiesFloatValueForKey", ZKG_LUA_FN(SetPropertiesFloatValueForKey)},
    {"PropertiesStringValueForKey", ZKG_LUA_FN(PropertiesStringValueForKey)},
    {"SetPropertiesStringValueForKey", ZKG_LUA_FN(SetPropertiesStringValueForKey)},
    {"MergeEvsFromPattern", ZKG_LUA_FN(MergeEvsFromPattern)},
    {"__tostring", ZKG_LUA_FN(ToString)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaPattern, "tolvar.pattern", "LuaPattern")

ZKG_LUA_DEFINE_OBJECT_ACCESS(LuaPattern, CGenPatternModAndProb, checkLuaPattern)
