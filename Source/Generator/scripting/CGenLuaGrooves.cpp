// The grooves of the content as scripts see them: the list, a groove with
// its own two strengths, a groove's tracks and their elements. All are views
// of library data that die with the run that handed the grooves in.
#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenEvs.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/scripting/CGenLuaListSupport.h"
#include "Generator/shaping/CGenGroove.h"

#include <memory>
#include <string>

using namespace CGenLua;
using zkgen::lua::ArgInteger;
using zkgen::lua::ArgNumber;
using zkgen::lua::CheckArgCount;
using zkgen::lua::FailIn;
using zkgen::lua::TUserdata;

namespace {

// The strengths a LuaGroove applies with. They start at full strength, as a
// fresh CGenGrooveApply does, and belong to the one userdata: two userdata
// of the same groove keep their own.
struct TGrooveFactors {
    double mVelocity = 1.0;
    double mGroove = 1.0;
};

TGrooveFactors& Factors(TUserdata& u)
{
    if (u.mScratch.empty() || !u.mScratch.front())
        u.mScratch.assign(1, std::make_shared<TGrooveFactors>());
    return *static_cast<TGrooveFactors*>(u.mScratch.front().get());
}

TUserdata& Userdata(lua_State* L, int idx, const char* meta, const char* expected)
{
    return zkgen::lua::CheckUserdata(L, idx, meta, expected);
}

struct TGroovesTraits {
    using TList = CGenGrooves;
    static const char* Meta() { return LuaGrooves::metatableName; }
    static CGenGrooves* Check(lua_State* L, int idx) { return LuaGrooves::checkLuaGrooves(L, idx); }
    static void PushElement(lua_State* L, const TRef& ref) { LuaGroove::push(L, ref); }
};
using TGroovesMethods = zkgen::lua::TListMethods<TGroovesTraits>;

struct TTrackTraits {
    using TList = CGenGrooveTrack;
    static const char* Meta() { return LuaGrooveTrack::metatableName; }
    static CGenGrooveTrack* Check(lua_State* L, int idx) { return LuaGrooveTrack::checkLuaGrooveTrack(L, idx); }
    static void PushElement(lua_State* L, const TRef& ref) { LuaGrooveEvent::push(L, ref); }
};
using TTrackMethods = zkgen::lua::TListMethods<TTrackTraits>;

// ----- LuaGrooves

// By 1-based index, or by name (the first groove of that name).
int GroovesGet(lua_State* L)
{
    CGenGrooves* grooves = nullptr;
    TUserdata& u = TGroovesMethods::Self(L, grooves);
    if (lua_type(L, 2) == LUA_TSTRING) {
        const std::string name = zkgen::lua::ArgString(L, 2, "Get");
        for (size_t i = 0; i < grooves->size(); ++i) {
            if ((*grooves)[i].mName == name) {
                TGroovesMethods::PushElement(L, u, *grooves, i);
                return 1;
            }
        }
        lua_pushnil(L);
        return 1;
    }
    size_t i = 0;
    if (!TGroovesMethods::Index(L, 2, "Get", grooves->size(), i))
        lua_pushnil(L);
    else
        TGroovesMethods::PushElement(L, u, *grooves, i);
    return 1;
}

// ----- LuaGroove

int GrooveName(lua_State* L)
{
    const CGenGroove& groove = *LuaGroove::checkLuaGroove(L, 1);
    lua_pushlstring(L, groove.mName.data(), groove.mName.size());
    return 1;
}

int VelocityFactor(lua_State* L)
{
    LuaGroove::checkLuaGroove(L, 1);
    lua_pushnumber(L, Factors(Userdata(L, 1, LuaGroove::metatableName, "'LuaGroove' expected")).mVelocity);
    return 1;
}

int SetVelocityFactor(lua_State* L)
{
    LuaGroove::checkLuaGroove(L, 1);
    const double v = ArgNumber(L, 2, "SetVelocityFactor");
    Factors(Userdata(L, 1, LuaGroove::metatableName, "'LuaGroove' expected")).mVelocity = v;
    return 0;
}

int GrooveFactor(lua_State* L)
{
    LuaGroove::checkLuaGroove(L, 1);
    lua_pushnumber(L, Factors(Userdata(L, 1, LuaGroove::metatableName, "'LuaGroove' expected")).mGroove);
    return 1;
}

int SetGrooveFactor(lua_State* L)
{
    LuaGroove::checkLuaGroove(L, 1);
    const double v = ArgNumber(L, 2, "SetGrooveFactor");
    Factors(Userdata(L, 1, LuaGroove::metatableName, "'LuaGroove' expected")).mGroove = v;
    return 0;
}

int GetGrooveTrackCount(lua_State* L)
{
    lua_pushnumber(L, static_cast<double>(LuaGroove::checkLuaGroove(L, 1)->size()));
    return 1;
}

int GetGrooveTrack(lua_State* L)
{
    CGenGroove& groove = *LuaGroove::checkLuaGroove(L, 1);
    const TUserdata& u = Userdata(L, 1, LuaGroove::metatableName, "'LuaGroove' expected");
    const int64_t i = ArgInteger(L, 2, "GetGrooveTrack");
    if (i < 1 || static_cast<uint64_t>(i) > groove.size()) {
        lua_pushnil(L);
        return 1;
    }
    LuaGrooveTrack::push(L, zkgen::lua::ElementRef(u.mRef, &groove[static_cast<size_t>(i - 1)]));
    return 1;
}

// Where the events' positions lie against the groove's loop, which starts
// at the region's start (as the generator aligns it): the start of the
// pattern the list belongs to, else the generate position the script's
// events count from. 0 when neither is known.
float LoopOffset(lua_State* L, const TRef& eventsList, const CGenContext& ctx, const CGenGeneratorParams& params)
{
    float start = zkgen::lua::ContainerStartOfEventsList(L, eventsList);
    if (GenIsUndef(start))
        start = ctx.GeneratePosAbs();
    const float offset = GenSubRegardingUndef(start, params.mGenerateStartPosAbs);
    return GenIsUndef(offset) ? 0.0f : offset;
}

int ApplyToEvs(lua_State* L)
{
    CheckArgCount(L, "ApplyToEvs", 2, 2);
    const CGenGroove& groove = *LuaGroove::checkLuaGroove(L, 1);
    const TGrooveFactors factors = Factors(Userdata(L, 1, LuaGroove::metatableName, "'LuaGroove' expected"));
    CGenEvs& evs = *LuaEvents::checkLuaEvents(L, 2);
    const TUserdata& evsUserdata = *zkgen::lua::TestUserdata(L, 2, LuaEvents::metatableName);

    // The instrument, the grid and the strategies come from the generation.
    const CGenContext* ctx = zkgen::lua::TStateData::Of(L).mContext;
    if (!ctx)
        FailIn("ApplyToEvs", "genContext == nullptr");
    if (!ctx->mParams)
        FailIn("ApplyToEvs", "luaContext->context->ExternParams() == nullptr");
    const CGenGeneratorParams& params = *ctx->mParams;
    CGenGrooveApply apply = params.mGrooveApply;
    apply.mApplyBeatPos = static_cast<float>(factors.mGroove);
    apply.mApplyVelocity = static_cast<float>(factors.mVelocity);
    const float offset = LoopOffset(L, evsUserdata.mRef, *ctx, params);
    const TPatternGraphType graphType =
        ctx->mPatternGraph ? ctx->mPatternGraph->PatternGraphType() : TPatternGraphType_Undef;

    // Drum events carry uids until the last stage: with a tree to read them,
    // the uid passes apply; without one the events are General MIDI notes.
    const CGenInstTree* tree = ctx->mInstLib && ctx->mInstLib->mContainsUidEvents ? ctx->mInstLib->InstTree() : nullptr;
    if (params.mInstType == TGenInstType_Drums && tree) {
        groove.ApplyToDrumsUidEvs(evs, offset, apply, *tree, graphType);
    } else {
        const CGenDrumMap& drumMap = ctx->mDrumMap ? *ctx->mDrumMap : CGenDrumMap::GeneralMidi();
        groove.ApplyToInstType(evs, offset, apply, params.mInstType, drumMap, graphType);
    }
    // The passes sort the list by position: views of its events die.
    zkgen::lua::NoteChanged(evsUserdata.mRef);
    return 0;
}

// ----- LuaGrooveTrack

int GetGrooveEvent(lua_State* L)
{
    CGenGrooveTrack* track = nullptr;
    TUserdata& u = TTrackMethods::Self(L, track);
    size_t i = 0;
    if (!TTrackMethods::Index(L, 2, "GetGrooveEvent", track->size(), i))
        lua_pushnil(L);
    else
        TTrackMethods::PushElement(L, u, *track, i);
    return 1;
}

// ----- LuaGrooveEvent

// Where the groove played the element (its target, not the straight grid
// position it stands for), 1-based.
int GrooveEventBeatPos(lua_State* L)
{
    zkgen::lua::PushPosAlways(L, LuaGrooveEvent::checkLuaGrooveEvent(L, 1)->mTargetBeatPos);
    return 1;
}

// 0 to 127; 255 for an element that leaves velocities alone.
int GrooveEventVelocity(lua_State* L)
{
    lua_pushnumber(L, LuaGrooveEvent::checkLuaGrooveEvent(L, 1)->mVelocity);
    return 1;
}

} // namespace

const luaL_Reg LuaGrooves::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGrooves::methods[] = {
    {"Get", ZKG_LUA_FN(GroovesGet)},
    {"First", ZKG_LUA_FN(TGroovesMethods::First)},
    {"Last", ZKG_LUA_FN(TGroovesMethods::Last)},
    {"Size", ZKG_LUA_FN(TGroovesMethods::Size)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGrooves, "tolvar.grooves", nullptr)

const luaL_Reg LuaGroove::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGroove::methods[] = {
    {"Name", ZKG_LUA_FN(GrooveName)},
    {"ApplyToEvs", ZKG_LUA_FN(ApplyToEvs)},
    {"VelocityFactor", ZKG_LUA_FN(VelocityFactor)},
    {"SetVelocityFactor", ZKG_LUA_FN(SetVelocityFactor)},
    {"GrooveFactor", ZKG_LUA_FN(GrooveFactor)},
    {"SetGrooveFactor", ZKG_LUA_FN(SetGrooveFactor)},
    {"GetGrooveTrack", ZKG_LUA_FN(GetGrooveTrack)},
    {"GetGrooveTrackCount", ZKG_LUA_FN(GetGrooveTrackCount)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGroove, "tolvar.groove", nullptr)

const luaL_Reg LuaGrooveTrack::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGrooveTrack::methods[] = {
    {"GetGrooveEvent", ZKG_LUA_FN(GetGrooveEvent)},
    {"First", ZKG_LUA_FN(TTrackMethods::First)},
    {"Last", ZKG_LUA_FN(TTrackMethods::Last)},
    {"Size", ZKG_LUA_FN(TTrackMethods::Size)},
    {"Iterator", ZKG_LUA_FN(TTrackMethods::Iterator)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGrooveTrack, "tolvar.groovetrack", nullptr)

const luaL_Reg LuaGrooveEvent::functions[] = {{nullptr, nullptr}};
const luaL_Reg LuaGrooveEvent::methods[] = {
    {"BeatPos", ZKG_LUA_FN(GrooveEventBeatPos)},
    {"Velocity", ZKG_LUA_FN(GrooveEventVelocity)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaGrooveEvent, "tolvar.grooveEvent", nullptr)

void LuaGrooves::push(lua_State* L, const CGenGrooves* grooves)
{
    // Library data, read only through the methods above.
    zkgen::lua::PushRef(L, metatableName, zkgen::lua::ObjectRef(L, const_cast<CGenGrooves*>(grooves)));
}

CGenGrooves* LuaGrooves::checkLuaGrooves(lua_State* L, int idx)
{
    return zkgen::lua::CheckObject<CGenGrooves>(L, idx, metatableName, "'LuaGrooves' expected", "LuaGrooves");
}

void LuaGroove::push(lua_State* L, const TRef& ref)
{
    Factors(zkgen::lua::PushRef(L, metatableName, ref));
}

CGenGroove* LuaGroove::checkLuaGroove(lua_State* L, int idx)
{
    return zkgen::lua::CheckObject<CGenGroove>(L, idx, metatableName, "'LuaGroove' expected", "LuaGroove");
}

void LuaGrooveTrack::push(lua_State* L, const TRef& ref)
{
    zkgen::lua::PushRef(L, metatableName, ref);
}

CGenGrooveTrack* LuaGrooveTrack::checkLuaGrooveTrack(lua_State* L, int idx)
{
    return zkgen::lua::CheckObject<CGenGrooveTrack>(L, idx, metatableName, "'LuaGrooveTrack' expected",
        "LuaGrooveTrack");
}

void LuaGrooveEvent::push(lua_State* L, const TRef& ref)
{
    zkgen::lua::PushRef(L, metatableName, ref);
}

CGenGrooveEl* LuaGrooveEvent::checkLuaGrooveEvent(lua_State* L, int idx)
{
    return zkgen::lua::CheckObject<CGenGrooveEl>(L, idx, metatableName, "'LuaGrooveEvent' expected",
        "LuaGrooveEvent");
}
