#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLuaListSupport.h"

using namespace CGenLua;
using zkgen::lua::TUserdata;

namespace {

struct TPatternsTraits {
    using TList = CGenPatternModAndProbs;
    static const char* Meta() { return LuaPatterns::metatableName; }
    static CGenPatternModAndProbs* Check(lua_State* L, int idx) { return LuaPatterns::checkLuaPatterns(L, idx); }
    static void PushElement(lua_State* L, const TRef& ref) { LuaPattern::push(L, ref); }
};
using TMethods = zkgen::lua::TListMethods<TPatternsTraits>;

int New(lua_State* L)
{
    LuaPatterns::push(L, new CGenPatternModAndProbs(), CollectGarbage::Yes);
    return 1;
}

int STDefaultOrTarget(lua_State* L)
{
    lua_pushnumber(L, static_cast<int>(LuaPatterns::checkLuaPatterns(L, 1)->STDefaultOrTarget()));
    return 1;
}

int AppendPattern(lua_State* L)
{
    CGenPatternModAndProbs* list = nullptr;
    TUserdata& u = TMethods::Self(L, list);
    // A copy first: the entry may be one of this list.
    const CGenPatternModAndProb entry = *LuaPattern::checkLuaPattern(L, 2);
    list->push_back(entry);
    zkgen::lua::NoteChanged(u.mRef);
    return 0;
}

int CloneAndAppendPatternAtIndex(lua_State* L)
{
    CGenPatternModAndProbs* list = nullptr;
    TUserdata& u = TMethods::Self(L, list);
    size_t i = 0;
    if (!TMethods::Index(L, 2, "CloneAndAppendPatternAtIndex", list->size(), i))
        return 0;
    CGenPatternModAndProb clone = (*list)[i];
    // The clone's edits must not reach the original's pattern.
    clone.PatternToBeModified();
    list->push_back(std::move(clone));
    zkgen::lua::NoteChanged(u.mRef);
    TMethods::PushElement(L, u, *list, list->size() - 1);
    lua_pushnumber(L, static_cast<double>(list->size()));
    return 2;
}

int OverlayAndMergePatterns(lua_State* L)
{
    CGenPatternModAndProbs* list = nullptr;
    TUserdata& u = TMethods::Self(L, list);
    // A copy: the overlay may be this list, which the erase changes.
    const CGenPatternModAndProbs overlay = *LuaPatterns::checkLuaPatterns(L, 2);
    for (const CGenPatternModAndProb& entry : overlay) {
        for (const CGenLayerBitmaskAndBPRange& range : entry.mOverlayLayerBitmaskAndBPRanges) {
            if (range.mLayerBitmask == kGenLayerBitmask_None || GenIsUndef(range.mBeatPosRelRange.mMin))
                continue;
            list->EraseAndShortenEvsInRangeMatchingLayerBitmask(
                GenAddRegardingUndef(entry.mBeatPosAbs, range.mBeatPosRelRange.mMin),
                GenSubRegardingUndef(range.mBeatPosRelRange.mMax, range.mBeatPosRelRange.mMin), range.mLayerBitmask,
                TShortenPatterns_No);
        }
    }
    list->DistributeEvsIntoOverlapping(overlay);
    zkgen::lua::NoteChanged(u.mRef);
    return 0;
}

} // namespace

const luaL_Reg LuaPatterns::functions[] = {{"New", ZKG_LUA_FN(New)}, {nullptr, nullptr}};
const luaL_Reg LuaPatterns::methods[] = {
    {"Size", ZKG_LUA_FN(TMethods::Size)},
    {"STDefaultOrTarget", ZKG_LUA_FN(STDefaultOrTarget)},
    {"Get", ZKG_LUA_FN(TMethods::Get)},
    {"Remove", ZKG_LUA_FN(TMethods::Remove)},
    {"Mark", ZKG_LUA_FN(TMethods::Mark)},
    {"Unmark", ZKG_LUA_FN(TMethods::Unmark)},
    {"MarkAll", ZKG_LUA_FN(TMethods::MarkAll)},
    {"UnmarkAll", ZKG_LUA_FN(TMethods::UnmarkAll)},
    {"RemoveMarked", ZKG_LUA_FN(TMethods::RemoveMarked)},
    {"Iterator", ZKG_LUA_FN(TMethods::Iterator)},
    {"AppendPattern", ZKG_LUA_FN(AppendPattern)},
    {"CloneAndAppendPatternAtIndex", ZKG_LUA_FN(CloneAndAppendPatternAtIndex)},
    {"OverlayAndMergePatterns", ZKG_LUA_FN(OverlayAndMergePatterns)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaPatterns, "tolvar.patterns", "LuaPatterns")

ZKG_LUA_DEFINE_OBJECT_ACCESS(LuaPatterns, CGenPatternModAndProbs, checkLuaPatterns)
