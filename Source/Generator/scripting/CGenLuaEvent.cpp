#include "Generator/scripting/CGenLuaClasses.h"

#include "Generator/CGenCharContext.h"
#include "Generator/CGenContext.h"
#include "Generator/CGenEv.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLuaListSupport.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include <algorithm>
#include <string>

using namespace CGenLua;
using zkgen::lua::ArgCount;
using zkgen::lua::ArgInteger;
using zkgen::lua::ArgNumber;
using zkgen::lua::ArgString;
using zkgen::lua::Fail;
using zkgen::lua::FailIn;
using zkgen::lua::TUserdata;

CGenEv zkgen::lua::NewScriptEvent(lua_State* L)
{
    CGenEv ev;
    // Events of the graph over merged events are final: the concretizer
    // must leave what a script puts there.
    CGenContext* context = TStateData::Of(L).mContext;
    ev.mConcretize = !(context && CGenCharContext(context).InStyleGraphGlobalMerged());
    return ev;
}

namespace {

CGenEv& Ev(lua_State* L)
{
    return *LuaEvent::checkLuaEvent(L, 1);
}

TUserdata& EvUserdata(lua_State* L, CGenEv*& ev)
{
    ev = LuaEvent::checkLuaEvent(L, 1);
    return *zkgen::lua::TestUserdata(L, 1, LuaEvent::metatableName);
}

int PushNumber(lua_State* L, double v)
{
    lua_pushnumber(L, v);
    return 1;
}

int PushBool(lua_State* L, bool v)
{
    lua_pushboolean(L, v ? 1 : 0);
    return 1;
}

// The position with the run-time offset, unless that is undefined.
float WithOffset(const CGenEv& ev, float pos)
{
    const float offset = ev.mRuntimeTimeTrafoInvariantBeatPosOffset;
    return GenIsUndef(offset) ? pos : GenAddRegardingUndef(pos, offset);
}

float OffsetOrZero(const CGenEv& ev)
{
    const float offset = ev.mRuntimeTimeTrafoInvariantBeatPosOffset;
    return GenIsUndef(offset) ? 0.0f : offset;
}

// The song's signatures and the generate position the event's position is
// relative to; false without a generation.
bool TargetFrame(lua_State* L, float& start, const CGenEvsSignTime*& signs)
{
    CGenContext* context = zkgen::lua::TStateData::Of(L).mContext;
    if (!context || !context->GeneratorParams())
        return false;
    start = context->GeneratePosAbs();
    signs = &context->GeneratorParams()->mEvsSignTime;
    return GenIsDef(start);
}

// The uid of an instrument path in the generation's instrument tree;
// undefined without one.
TInstTreeUid UidForPath(lua_State* L, const std::string& path)
{
    CGenContext* context = zkgen::lua::TStateData::Of(L).mContext;
    if (!context || !context->InstLib() || !context->InstLib()->InstTree())
        return TInstTreeUid_Undef;
    return context->InstLib()->InstTree()->FindUidWithPath(path);
}

// A script's change of the abstract note may reallocate its offsets: views
// on them die.
void NoteAbstractNoteChanged(lua_State* L, CGenEv& ev, const TUserdata& u)
{
    zkgen::lua::NoteChanged(zkgen::lua::ObjectRef(L, &ev.AbstractNoteRef(), &u.mRef));
}

uint64_t ToBits(double v)
{
    if (!(v > 0.0))
        return 0;
    if (v >= 18446744073709551615.0)
        return UINT64_MAX;
    return static_cast<uint64_t>(v);
}

// ----- positions

int New(lua_State* L)
{
    LuaEvent::push(L, new CGenEv(zkgen::lua::NewScriptEvent(L)), CollectGarbage::Yes);
    return 1;
}

int BeatPos(lua_State* L)
{
    const CGenEv& ev = Ev(L);
    zkgen::lua::PushPosAlways(L, WithOffset(ev, ev.mBeatPos));
    return 1;
}

int BeatPosNoOffset(lua_State* L)
{
    zkgen::lua::PushPosAlways(L, Ev(L).mBeatPos);
    return 1;
}

int SetBeatPos(lua_State* L)
{
    CGenEv& ev = Ev(L);
    ev.mBeatPos = zkgen::lua::PosFromLua(ArgNumber(L, 2, "SetBeatPos"));
    return 0;
}

int PushBeatPosAbs(lua_State* L, bool plusOffset)
{
    CGenEv* ev = nullptr;
    const TUserdata& u = EvUserdata(L, ev);
    const float start = zkgen::lua::ContainerStartOfEventsList(L, u.mRef);
    if (GenIsUndef(start))
        FailIn("_LuaEventBeatPosAbs", "containerStartPosAbs != TGenBeatPosAbs_Undef");
    float pos = GenIsUndef(ev->mBeatPos) ? 0.0f : ev->mBeatPos;
    if (plusOffset)
        pos = WithOffset(*ev, pos);
    zkgen::lua::PushPosAlways(L, GenAddRegardingUndef(start, pos));
    return 1;
}

int BeatPosAbs(lua_State* L)
{
    return PushBeatPosAbs(L, true);
}

int BeatPosAbsNoOffset(lua_State* L)
{
    return PushBeatPosAbs(L, false);
}

// Positions in the song's frame: in the bar or in the beat, read and set
// through the same frame.
using TFrameGetter = float (CGenEv::*)(float, const CGenEvsSignTime&) const;
using TFrameSetter = void (CGenEv::*)(float, const CGenEvsSignTime&, float, TSetBeatPosAbsOption);

int PushInTargetFrame(lua_State* L, bool plusOffset, TFrameGetter get)
{
    const CGenEv& ev = Ev(L);
    float start = TGenBeatPos_Undef;
    const CGenEvsSignTime* signs = nullptr;
    if (!TargetFrame(L, start, signs))
        return 0;
    return zkgen::lua::PushPos(L, (ev.*get)(start + (plusOffset ? OffsetOrZero(ev) : 0.0f), *signs));
}

int SetInTargetFrame(lua_State* L, const char* function, TFrameSetter set)
{
    CGenEv& ev = Ev(L);
    const float pos = zkgen::lua::PosFromLua(ArgNumber(L, 2, function));
    float start = TGenBeatPos_Undef;
    const CGenEvsSignTime* signs = nullptr;
    if (TargetFrame(L, start, signs))
        (ev.*set)(start, *signs, pos, TSetBeatPosAbsOption_Allow);
    return 0;
}

int BeatPosAbsInBarTarget(lua_State* L)
{
    return PushInTargetFrame(L, true, &CGenEv::BeatPosAbsInBar);
}

int BeatPosAbsInBarTargetNoOffset(lua_State* L)
{
    return PushInTargetFrame(L, false, &CGenEv::BeatPosAbsInBar);
}

int SetBeatPosAbsInBarTarget(lua_State* L)
{
    return SetInTargetFrame(L, "SetBeatPosAbsInBarTarget", &CGenEv::SetBeatPosAbsInBar);
}

// The source frame is the one patterns are written in: 4/4 from the
// pattern's start.
int PushInBarSource(lua_State* L, bool plusOffset)
{
    const CGenEv& ev = Ev(L);
    const float start = plusOffset ? OffsetOrZero(ev) : 0.0f;
    return zkgen::lua::PushPos(L, ev.BeatPosAbsInBar(start, CGenEvsSignTime_Default44::Shared()));
}

int BeatPosAbsInBarSource(lua_State* L)
{
    return PushInBarSource(L, true);
}

int BeatPosAbsInBarSourceNoOffset(lua_State* L)
{
    return PushInBarSource(L, false);
}

int SetBeatPosAbsInBarSource(lua_State* L)
{
    CGenEv& ev = Ev(L);
    const float pos = zkgen::lua::PosFromLua(ArgNumber(L, 2, "SetBeatPosAbsInBarSource"));
    ev.SetBeatPosAbsInBar(0.0f, CGenEvsSignTime_Default44::Shared(), pos, TSetBeatPosAbsOption_Allow);
    return 0;
}

int BeatPosAbsInBeat(lua_State* L)
{
    return PushInTargetFrame(L, true, &CGenEv::BeatPosAbsInBeat);
}

int BeatPosAbsInBeatNoOffset(lua_State* L)
{
    return PushInTargetFrame(L, false, &CGenEv::BeatPosAbsInBeat);
}

int SetBeatPosAbsInBeat(lua_State* L)
{
    return SetInTargetFrame(L, "SetBeatPosAbsInBeat", &CGenEv::SetBeatPosAbsInBeat);
}

int EndBeatPos(lua_State* L)
{
    const CGenEv& ev = Ev(L);
    zkgen::lua::PushPosAlways(L, WithOffset(ev, ev.EndBeatPos()));
    return 1;
}

int EndBeatPosNoOffset(lua_State* L)
{
    zkgen::lua::PushPosAlways(L, Ev(L).EndBeatPos());
    return 1;
}

// ----- plain fields

#define ZKG_EV_NUMBER_FIELD(GET, SET, EXPR, TYPE)                                                                      \
    int GET(lua_State* L)                                                                                              \
    {                                                                                                                  \
        CGenEv& ev = Ev(L);                                                                                            \
        return PushNumber(L, static_cast<double>(EXPR));                                                               \
    }                                                                                                                  \
    int SET(lua_State* L)                                                                                              \
    {                                                                                                                  \
        CGenEv& ev = Ev(L);                                                                                            \
        EXPR = static_cast<TYPE>(ArgNumber(L, 2, #SET));                                                               \
        return 0;                                                                                                      \
    }
#define ZKG_EV_INTEGER_FIELD(GET, SET, EXPR, TYPE)                                                                     \
    int GET(lua_State* L)                                                                                              \
    {                                                                                                                  \
        CGenEv& ev = Ev(L);                                                                                            \
        return PushNumber(L, static_cast<double>(EXPR));                                                               \
    }                                                                                                                  \
    int SET(lua_State* L)                                                                                              \
    {                                                                                                                  \
        CGenEv& ev = Ev(L);                                                                                            \
        EXPR = static_cast<TYPE>(ArgInteger(L, 2, #SET));                                                              \
        return 0;                                                                                                      \
    }

ZKG_EV_NUMBER_FIELD(BeatLength, SetBeatLength, ev.mBeatLength, float)
ZKG_EV_NUMBER_FIELD(RuntimeOffset, SetRuntimeOffset, ev.mRuntimeTimeTrafoInvariantBeatPosOffset, float)
ZKG_EV_INTEGER_FIELD(MB0, SetMB0, ev.mMB0, uint8_t)
ZKG_EV_INTEGER_FIELD(MB1, SetMB1, ev.mMB1, int)
ZKG_EV_INTEGER_FIELD(MB2, SetMB2, ev.mMB2, int)
ZKG_EV_INTEGER_FIELD(MB3, SetMB3, ev.mMB3, int)
ZKG_EV_INTEGER_FIELD(RelVel, SetRelVel, ev.mRelVel, int)
ZKG_EV_INTEGER_FIELD(ArrangerClavePitch, SetArrangerClavePitch, ev.mArrangerClavePitch, uint8_t)
ZKG_EV_INTEGER_FIELD(ArrangerClaveWeight, SetArrangerClaveWeight, ev.mArrangerClaveWeight, uint8_t)

#undef ZKG_EV_NUMBER_FIELD
#undef ZKG_EV_INTEGER_FIELD

int IsNoteOn(lua_State* L)
{
    return PushBool(L, Ev(L).IsNote());
}

int IsCtrChange(lua_State* L)
{
    return PushBool(L, Ev(L).IsCtr());
}

int SetUid(lua_State* L)
{
    CGenEv& ev = Ev(L);
    ev.mMB1 = GenInstTreeUidToMB1(ArgInteger(L, 2, "SetUid"));
    return 0;
}

int SetUidFromPath(lua_State* L)
{
    CGenEv& ev = Ev(L);
    const TInstTreeUid uid = UidForPath(L, ArgString(L, 2, "SetUidFromPath"));
    if (uid != TInstTreeUid_Undef)
        ev.mMB1 = GenInstTreeUidToMB1(uid);
    return 0;
}

int SetNoteNrUndef(lua_State* L)
{
    Ev(L).mMB1 = -1;
    return 0;
}

int Concretize(lua_State* L)
{
    return PushBool(L, Ev(L).mConcretize);
}

int SetConcretize(lua_State* L)
{
    Ev(L).mConcretize = zkgen::lua::ArgBool(L, 2);
    return 0;
}

int EvMatchesPath(lua_State* L)
{
    const CGenEv& ev = Ev(L);
    const std::string path = ArgString(L, 2, "EvMatchesPath");
    if (path.empty())
        return PushBool(L, false);
    return PushBool(L, zkgen::UidMatchesAnyNonZeroNibbles(ev.Uid(), {UidForPath(L, path)}));
}

int EvMatchesUid(lua_State* L)
{
    const CGenEv& ev = Ev(L);
    return PushBool(L, zkgen::UidMatchesAnyNonZeroNibbles(ev.Uid(), {ArgInteger(L, 2, "EvMatchesUid")}));
}

// ----- abstract note

int AbstractNote(lua_State* L)
{
    CGenEv* ev = nullptr;
    const TUserdata& u = EvUserdata(L, ev);
    LuaAbstractNote::push(L, zkgen::lua::ObjectRef(L, &ev->AbstractNoteRef(), &u.mRef));
    return 1;
}

int SetAbstractNote(lua_State* L)
{
    CGenEv* ev = nullptr;
    const TUserdata& u = EvUserdata(L, ev);
    const CAbstractNote note = *LuaAbstractNote::checkLuaAbstractNote(L, 2);
    ev->AbstractNoteRef() = note;
    NoteAbstractNoteChanged(L, *ev, u);
    return 0;
}

int AbstractNoteString(lua_State* L)
{
    const std::string text = Ev(L).AbstractNoteConst().ToString();
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

int SetAbstractNoteFromString(lua_State* L)
{
    CGenEv* ev = nullptr;
    const TUserdata& u = EvUserdata(L, ev);
    ev->AbstractNoteRef().SetFromString(ArgString(L, 2, "SetAbstractNoteFromString"));
    NoteAbstractNoteChanged(L, *ev, u);
    return 0;
}

// The members in the order degree, where, then the first offset's octaves,
// steps, steps type and steps direction.
int GetAbstractNoteMembers(lua_State* L)
{
    const CAbstractNote& note = Ev(L).AbstractNoteConst();
    const CAbstractOffset offset = note.mOffsets.empty() ? CAbstractOffset() : note.mOffsets.front();
    lua_pushnumber(L, note.mDegree);
    lua_pushnumber(L, note.mWhere);
    lua_pushnumber(L, offset.mOctaves);
    lua_pushnumber(L, offset.mSteps);
    lua_pushnumber(L, offset.mStepsType);
    lua_pushnumber(L, offset.mStepsDirection);
    return 6;
}

int SetAbstractNoteFromMembers(lua_State* L)
{
    zkgen::lua::CheckArgCount(L, "SetAbstractNoteFromMembers", 2, 7);
    CGenEv* ev = nullptr;
    const TUserdata& u = EvUserdata(L, ev);
    const char* fn = "SetAbstractNoteFromMembers";
    const int n = ArgCount(L);
    // Read all before writing, so that a bad argument changes nothing.
    const auto degree = static_cast<TAbstractDegree>(ArgInteger(L, 2, fn));
    const int64_t where = n >= 3 ? ArgInteger(L, 3, fn) : 0;
    int64_t members[4] = {0, 0, 0, 0};
    for (int i = 4; i <= n; ++i)
        members[i - 4] = ArgInteger(L, i, fn);
    CAbstractNote& note = ev->AbstractNoteRef();
    note.mDegree = degree;
    if (n >= 3)
        note.mWhere = static_cast<TWhere>(where);
    if (n >= 4) {
        if (note.mOffsets.empty())
            note.mOffsets.emplace_back();
        CAbstractOffset& offset = note.mOffsets.front();
        offset.mOctaves = static_cast<int8_t>(members[0]);
        if (n >= 5)
            offset.mSteps = static_cast<int8_t>(members[1]);
        if (n >= 6)
            offset.mStepsType = static_cast<TStepsType>(members[2]);
        if (n >= 7)
            offset.mStepsDirection = static_cast<TStepsDirection>(members[3]);
    }
    NoteAbstractNoteChanged(L, *ev, u);
    return 0;
}

int NoteNrForDegreeNoteNr(lua_State* L)
{
    return PushNumber(L, static_cast<double>(Ev(L).AbstractNoteConst().mNoteNrForDegreeNoteNr));
}

int SetNoteNrForDegreeNoteNr(lua_State* L)
{
    CGenEv& ev = Ev(L);
    ev.AbstractNoteRef().mNoteNrForDegreeNoteNr = ArgInteger(L, 2, "SetNoteNrForDegreeNoteNr");
    return 0;
}

int NoteGroupID(lua_State* L)
{
    return PushNumber(L, Ev(L).NoteGroupID());
}

int SetNoteGroupID(lua_State* L)
{
    CGenEv& ev = Ev(L);
    ev.SetNoteGroupID(static_cast<uint8_t>(ArgInteger(L, 2, "SetNoteGroupID")));
    return 0;
}

// ----- tags and layers

int RuntimeTags(lua_State* L)
{
    return PushNumber(L, static_cast<double>(Ev(L).mRuntimeTags));
}

int SetRuntimeTags(lua_State* L)
{
    CGenEv& ev = Ev(L);
    ev.mRuntimeTags = ToBits(ArgNumber(L, 2, "SetRuntimeTags"));
    return 0;
}

// The bits a field of `count` bits from `from` covers, cut at bit 63.
uint64_t FieldMask(int64_t from, int64_t count)
{
    const int64_t width = std::min<int64_t>(count, 64 - from);
    return width >= 64 ? UINT64_MAX : ((uint64_t(1) << width) - 1);
}

void CheckFrom(int64_t from, const char* prefix)
{
    if (from < 0 || from > 63)
        Fail(std::string(prefix) + "fromBitIx needs to be in range 0 to 63");
}

void CheckCount(int64_t count, const char* prefix)
{
    if (count < 1 || count > 64)
        Fail(std::string(prefix) + "bitCount needs to be in range 1 to 64");
}

int RuntimeTagsFromBitIx(lua_State* L)
{
    const char* fn = "RuntimeTagsFromBitIx";
    const char* prefix = "LuaEvent::RuntimeTagsFromBitIx: ";
    const CGenEv& ev = Ev(L);
    const int n = ArgCount(L) - 1;
    if (n > 2)
        FailIn(fn, "wrong number of arguments");
    int64_t from = 0;
    int64_t count = 64;
    if (n >= 1) {
        from = ArgInteger(L, 2, fn);
        CheckFrom(from, prefix);
        count = 1;
    }
    if (n == 2) {
        count = ArgInteger(L, 3, fn);
        CheckCount(count, prefix);
    }
    return PushNumber(L, static_cast<double>((ev.mRuntimeTags >> from) & FieldMask(from, count)));
}

int SetRuntimeTagsFromBitIx(lua_State* L)
{
    const char* fn = "SetRuntimeTagsFromBitIx";
    CGenEv& ev = Ev(L);
    const int n = ArgCount(L) - 1;
    if (n < 1 || n > 3)
        FailIn(fn, "wrong number of arguments");
    int64_t from = 0;
    int64_t count = 64;
    if (n >= 2) {
        from = ArgInteger(L, 2, fn);
        CheckFrom(from, "");
        count = 1;
    }
    if (n == 3) {
        count = ArgInteger(L, 3, fn);
        CheckCount(count, "");
    }
    const uint64_t mask = FieldMask(from, count);
    const uint64_t value = ToBits(ArgNumber(L, n + 1, fn)) & mask;
    ev.mRuntimeTags = (ev.mRuntimeTags & ~(mask << from)) | (value << from);
    return 0;
}

int RuntimeLayerBitmask(lua_State* L)
{
    return PushNumber(L, static_cast<double>(Ev(L).mRuntimeLayerBitmask.Bits()));
}

int SetRuntimeLayerBitmask(lua_State* L)
{
    CGenEv& ev = Ev(L);
    ev.mRuntimeLayerBitmask = CGenBitmask(ToBits(ArgNumber(L, 2, "SetRuntimeLayerBitmask")));
    return 0;
}

unsigned LayerBitIx(lua_State* L, const char* fn)
{
    const int64_t ix = ArgInteger(L, 2, fn);
    if (ix < 0 || ix > 63)
        Fail("bitIx needs to be in range 0 to 63");
    return static_cast<unsigned>(ix);
}

int RuntimeLayerBitmaskForBitIx(lua_State* L)
{
    const CGenEv& ev = Ev(L);
    return PushNumber(L, ev.mRuntimeLayerBitmask.IsBitSet(LayerBitIx(L, "RuntimeLayerBitmaskForBitIx")) ? 1.0 : 0.0);
}

int SetRuntimeLayerBitmaskForBitIx(lua_State* L)
{
    CGenEv& ev = Ev(L);
    const unsigned ix = LayerBitIx(L, "SetRuntimeLayerBitmaskForBitIx");
    if (ArgNumber(L, 3, "SetRuntimeLayerBitmaskForBitIx") != 0.0)
        ev.mRuntimeLayerBitmask.SetBit(ix);
    else
        ev.mRuntimeLayerBitmask.ClearBit(ix);
    return 0;
}

// ----- dictionary

int SetDictionaryValue(lua_State* L)
{
    CGenEv& ev = Ev(L);
    const std::string key = ArgString(L, 2, "SetDictionaryValue");
    switch (lua_type(L, 3)) {
    case LUA_TNIL:
    case LUA_TNONE: ev.Dictionary().RemoveValueForKey(key); break;
    case LUA_TNUMBER: ev.Dictionary().SetValueForKey(TGenDictValue(lua_tonumber(L, 3)), key); break;
    case LUA_TSTRING: {
        size_t len = 0;
        const char* s = lua_tolstring(L, 3, &len);
        ev.Dictionary().SetValueForKey(TGenDictValue(std::string(s, len)), key);
        break;
    }
    default: Fail("_StoreFromLuaArgsToTGenDict: value type not supported (yet)");
    }
    return 0;
}

int GetDictionaryValue(lua_State* L)
{
    CGenEv& ev = Ev(L);
    const std::string key = ArgString(L, 2, "GetDictionaryValue");
    const TGenDictValue* v = ev.Dictionary().ValueForKey(key);
    if (!v)
        return 0;
    if (v->IsString()) {
        const std::string& s = v->AsString("");
        lua_pushlstring(L, s.data(), s.size());
        return 1;
    }
    if (v->IsNumber())
        return PushNumber(L, v->AsDouble());
    Fail("_PushFromTGenDictToLua: value type not supported (yet)");
}

int ToString(lua_State* L)
{
    const std::string text = Ev(L).TraceString();
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

} // namespace

const luaL_Reg LuaEvent::functions[] = {{"New", ZKG_LUA_FN(New)}, {nullptr, nullptr}};
const luaL_Reg LuaEvent::methods[] = {
    {"BeatPos", ZKG_LUA_FN(BeatPos)},
    {"BeatPosPlusOffset", ZKG_LUA_FN(BeatPos)},
    {"BeatPosRel", ZKG_LUA_FN(BeatPos)},
    {"BeatPosRelPlusOffset", ZKG_LUA_FN(BeatPos)},
    {"BeatPosNoOffset", ZKG_LUA_FN(BeatPosNoOffset)},
    {"BeatPosRelNoOffset", ZKG_LUA_FN(BeatPosNoOffset)},
    {"SetBeatPos", ZKG_LUA_FN(SetBeatPos)},
    {"SetBeatPosRel", ZKG_LUA_FN(SetBeatPos)},
    {"BeatPosAbs", ZKG_LUA_FN(BeatPosAbs)},
    {"BeatPosAbsPlusOffset", ZKG_LUA_FN(BeatPosAbs)},
    {"BeatPosAbsNoOffset", ZKG_LUA_FN(BeatPosAbsNoOffset)},
    {"BeatPosAbsInBarTarget", ZKG_LUA_FN(BeatPosAbsInBarTarget)},
    {"BeatPosAbsInBarTargetPlusOffset", ZKG_LUA_FN(BeatPosAbsInBarTarget)},
    {"BeatPosAbsInBarTargetNoOffset", ZKG_LUA_FN(BeatPosAbsInBarTargetNoOffset)},
    {"SetBeatPosAbsInBarTarget", ZKG_LUA_FN(SetBeatPosAbsInBarTarget)},
    {"BeatPosAbsInBarSource", ZKG_LUA_FN(BeatPosAbsInBarSource)},
    {"BeatPosAbsInBarSourcePlusOffset", ZKG_LUA_FN(BeatPosAbsInBarSource)},
    {"BeatPosAbsInBarSourceNoOffset", ZKG_LUA_FN(BeatPosAbsInBarSourceNoOffset)},
    {"SetBeatPosAbsInBarSource", ZKG_LUA_FN(SetBeatPosAbsInBarSource)},
    {"BeatPosAbsInBeat", ZKG_LUA_FN(BeatPosAbsInBeat)},
    {"BeatPosAbsInBeatPlusOffset", ZKG_LUA_FN(BeatPosAbsInBeat)},
    {"BeatPosAbsInBeatNoOffset", ZKG_LUA_FN(BeatPosAbsInBeatNoOffset)},
    {"SetBeatPosAbsInBeat", ZKG_LUA_FN(SetBeatPosAbsInBeat)},
    {"EndBeatPos", ZKG_LUA_FN(EndBeatPos)},
    {"EndBeatPosPlusOffset", ZKG_LUA_FN(EndBeatPos)},
    {"EndBeatPosNoOffset", ZKG_LUA_FN(EndBeatPosNoOffset)},
    {"BeatLength", ZKG_LUA_FN(BeatLength)},
    {"SetBeatLength", ZKG_LUA_FN(SetBeatLength)},
    {"RuntimeTimeTrafoInvariantBeatPosOffset", ZKG_LUA_FN(RuntimeOffset)},
    {"SetRuntimeTimeTrafoInvariantBeatPosOffset", ZKG_LUA_FN(SetRuntimeOffset)},
    {"MB0", ZKG_LUA_FN(MB0)},
    {"SetMB0", ZKG_LUA_FN(SetMB0)},
    {"MB1", ZKG_LUA_FN(MB1)},
    {"SetMB1", ZKG_LUA_FN(SetMB1)},
    {"MB2", ZKG_LUA_FN(MB2)},
    {"SetMB2", ZKG_LUA_FN(SetMB2)},
    {"MB3", ZKG_LUA_FN(MB3)},
    {"SetMB3", ZKG_LUA_FN(SetMB3)},
    {"IsNoteOn", ZKG_LUA_FN(IsNoteOn)},
    {"IsCtrChange", ZKG_LUA_FN(IsCtrChange)},
    {"Uid", ZKG_LUA_FN(MB1)},
    {"SetUid", ZKG_LUA_FN(SetUid)},
    {"SetUidFromPath", ZKG_LUA_FN(SetUidFromPath)},
    {"RelVel", ZKG_LUA_FN(RelVel)},
    {"SetRelVel", ZKG_LUA_FN(SetRelVel)},
    {"Velocity", ZKG_LUA_FN(MB2)},
    {"SetVelocity", ZKG_LUA_FN(SetMB2)},
    {"NoteNr", ZKG_LUA_FN(MB1)},
    {"SetNoteNr", ZKG_LUA_FN(SetMB1)},
    {"SetNoteNrUndef", ZKG_LUA_FN(SetNoteNrUndef)},
    {"CtrNr", ZKG_LUA_FN(MB1)},
    {"SetCtrNr", ZKG_LUA_FN(SetMB1)},
    {"Concretize", ZKG_LUA_FN(Concretize)},
    {"SetConcretize", ZKG_LUA_FN(SetConcretize)},
    {"EvMatchesPath", ZKG_LUA_FN(EvMatchesPath)},
    {"EvMatchesUid", ZKG_LUA_FN(EvMatchesUid)},
    {"AbstractNote", ZKG_LUA_FN(AbstractNote)},
    {"SetAbstractNote", ZKG_LUA_FN(SetAbstractNote)},
    {"AbstractNoteString", ZKG_LUA_FN(AbstractNoteString)},
    {"SetAbstractNoteFromString", ZKG_LUA_FN(SetAbstractNoteFromString)},
    {"SetAbstractNoteFromMembers", ZKG_LUA_FN(SetAbstractNoteFromMembers)},
    {"GetAbstractNoteMembers", ZKG_LUA_FN(GetAbstractNoteMembers)},
    {"NoteNrForDegreeNoteNr", ZKG_LUA_FN(NoteNrForDegreeNoteNr)},
    {"SetNoteNrForDegreeNoteNr", ZKG_LUA_FN(SetNoteNrForDegreeNoteNr)},
    {"NoteGroupID", ZKG_LUA_FN(NoteGroupID)},
    {"SetNoteGroupID", ZKG_LUA_FN(SetNoteGroupID)},
    {"ArrangerClavePitch", ZKG_LUA_FN(ArrangerClavePitch)},
    {"SetArrangerClavePitch", ZKG_LUA_FN(SetArrangerClavePitch)},
    {"ArrangerClaveWeight", ZKG_LUA_FN(ArrangerClaveWeight)},
    {"SetArrangerClaveWeight", ZKG_LUA_FN(SetArrangerClaveWeight)},
    {"RuntimeTags", ZKG_LUA_FN(RuntimeTags)},
    {"SetRuntimeTags", ZKG_LUA_FN(SetRuntimeTags)},
    {"RuntimeTagsFromBitIx", ZKG_LUA_FN(RuntimeTagsFromBitIx)},
    {"SetRuntimeTagsFromBitIx", ZKG_LUA_FN(SetRuntimeTagsFromBitIx)},
    {"RuntimeLayerBitmask", ZKG_LUA_FN(RuntimeLayerBitmask)},
    {"SetRuntimeLayerBitmask", ZKG_LUA_FN(SetRuntimeLayerBitmask)},
    {"RuntimeLayerBitmaskForBitIx", ZKG_LUA_FN(RuntimeLayerBitmaskForBitIx)},
    {"SetRuntimeLayerBitmaskForBitIx", ZKG_LUA_FN(SetRuntimeLayerBitmaskForBitIx)},
    {"SetDictionaryValue", ZKG_LUA_FN(SetDictionaryValue)},
    {"GetDictionaryValue", ZKG_LUA_FN(GetDictionaryValue)},
    {"__tostring", ZKG_LUA_FN(ToString)},
    {nullptr, nullptr}};
ZKG_LUA_DEFINE_CLASS(LuaEvent, "tolvar.event", "Event")

ZKG_LUA_DEFINE_OBJECT_ACCESS(LuaEvent, CGenEv, checkLuaEvent)
