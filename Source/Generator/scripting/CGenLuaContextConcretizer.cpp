// The context's note concretizer: its ranges, its range modifications and
// the concretization of abstract notes.

#include "Generator/CGenContext.h"
#include "Generator/CGenEv.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/harmony/CAbstractNotesConcretizer.h"
#include "Generator/harmony/CHarmonicContext.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

namespace zkgen::lua::ctxapi {

namespace {

using CGenLua::LuaEvents;
using CGenLua::LuaPatterns;

// Far beyond any song: Concretize works on every event of a script's list.
constexpr float kWholeListStart = -1.0e30f;
constexpr float kWholeListEnd = 1.0e30f;

int GetRange(lua_State* L, const char* name, int64_t TConcretizeRange::*member)
{
    CGenContext& ctx = Self(L);
    const CAbstractNotesConcretizer& c = Concretizer(ctx, name);
    CheckArgCount(L, name, 1, 1);
    lua_pushinteger(L, static_cast<lua_Integer>(c.mConcretizeRange.*member));
    return 1;
}

int SetRange(lua_State* L, const char* name, int64_t TConcretizeRange::*member)
{
    CGenContext& ctx = Self(L);
    CAbstractNotesConcretizer& c = Concretizer(ctx, name);
    CheckArgCount(L, name, 2, 2);
    c.mConcretizeRange.*member = ArgInteger(L, 2, name);
    return 0;
}

CAbstractNote ReadAbstractNote(lua_State* L, int idx, const char* name)
{
    const std::string text = ArgString(L, idx, name);
    CAbstractNote note;
    if (!note.SetFromString(text))
        FailIn(name, "NoteToBeConcretized: no abstract note in '" + text + "'");
    return note;
}

// The position of the optional event at idx: events of script lists count
// from the generate position; without one the generate position itself.
float EventPosOrGeneratePos(lua_State* L, const CGenContext& ctx, int idx)
{
    if (IsNoneOrNil(L, idx))
        return ctx.GeneratePosAbs();
    const CGenEv* ev = CGenLua::LuaEvent::checkLuaEvent(L, idx);
    return GenAddRegardingUndef(ctx.GeneratePosAbs(), ev->mBeatPos);
}

// The note number of an abstract note at a position, in the concretizer's
// range as modified there; -1 when it has none.
int64_t NoteNrAt(const CAbstractNotesConcretizer& c, const CGenGeneratorParams& p, const CAbstractNote& note, float pos)
{
    if (GenIsUndef(pos))
        return -1;
    CHarmonicContext hc;
    hc.FillFromEvsChordAndSignKeyAndSignTime(p.mEvsChord, p.mEvsHarmCenter, p.mEvsSignKey, &p.mEvsSignTime, pos);
    const TConcretizeRange range = c.mConcretizeRangeModPosseds.CalcModifiedRangeAt(c.mConcretizeRange, pos);
    return c.ConcretizeAbstractNote(note, hc, range, range, nullptr, -1, CGenEv::kNoteGroupID_None,
        c.mObeyConcretizeRange, "NoteToBeConcretized");
}

bool InRange(const CAbstractNotesConcretizer& c, const CGenGeneratorParams& p, const CAbstractNote& note, float pos)
{
    return GenIsDef(pos)
        && c.IsNonGroupedAbstractNoteInNoteRange(pos, note, p.mEvsChord, p.mEvsHarmCenter, p.mEvsSignKey);
}

// (abstractNote, patternGraphType, st, barRel[, posInBar], events): the
// position of the triple. The events are the list the note would join; one
// note alone is worked out without its neighbours, so they are only checked.
float AtGenerateBarRelArgs(lua_State* L, const CGenContext& ctx, const char* name)
{
    CheckArgCount(L, name, 6, 7);
    const int last = ArgCount(L);
    LuaEvents::checkLuaEvents(L, last);
    ArgInteger(L, 3, name);
    TBarRelArgs a;
    a.mST = ReadST(L, 4, name);
    a.mBarRel = static_cast<int>(ArgInteger(L, 5, name));
    if (last == 7)
        a.mPosInBar = PosFromLua(ArgNumber(L, 6, name));
    return BarRelToBeatPosAbsSTTarget(CGenCharContext(const_cast<CGenContext*>(&ctx)), a);
}

} // namespace

int Reset(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CAbstractNotesConcretizer& c = Concretizer(ctx, "Reset");
    CheckArgCount(L, "Reset", 1, 1);
    c.Reset();
    return 0;
}

int Concretize(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "Concretize");
    CAbstractNotesConcretizer& c = Concretizer(ctx, "Concretize");
    CheckArgCount(L, "Concretize", 2, 2);
    CGenPatternModAndProbs* list = LuaPatterns::checkLuaPatterns(L, 2);
    if (list->STDefaultOrTarget() != TSTDefaultOrTarget::Target)
        FailIn("Concretize", "luaPatterns must be in TSTDefaultOrTarget::Target to be concretized. Call "
                             "context:ApplySignTimeTrafoDefaultToTarget(patterns)");
    TUserdata& ud = CheckUserdata(L, 2, LuaPatterns::metatableName, "'LuaPatterns' expected");
    c.Concretize(p.mEvsChord, p.mEvsHarmCenter, p.mEvsSignKey, &p.mEvsSignTime, kWholeListStart, kWholeListEnd, list);
    // Events that never resolve are erased: views into the lists must go.
    NoteChanged(ud.mRef);
    return 0;
}

int MinNoteNr(lua_State* L) { return GetRange(L, "MinNoteNr", &TConcretizeRange::mMinNoteNr); }
int SetMinNoteNr(lua_State* L) { return SetRange(L, "SetMinNoteNr", &TConcretizeRange::mMinNoteNr); }
int MaxNoteNr(lua_State* L) { return GetRange(L, "MaxNoteNr", &TConcretizeRange::mMaxNoteNr); }
int SetMaxNoteNr(lua_State* L) { return SetRange(L, "SetMaxNoteNr", &TConcretizeRange::mMaxNoteNr); }
int PatternRootMinNoteNr(lua_State* L)
{
    return GetRange(L, "PatternRootMinNoteNr", &TConcretizeRange::mPatternRootMinNoteNr);
}
int SetPatternRootMinNoteNr(lua_State* L)
{
    return SetRange(L, "SetPatternRootMinNoteNr", &TConcretizeRange::mPatternRootMinNoteNr);
}
int PatternRootMaxNoteNr(lua_State* L)
{
    return GetRange(L, "PatternRootMaxNoteNr", &TConcretizeRange::mPatternRootMaxNoteNr);
}
int SetPatternRootMaxNoteNr(lua_State* L)
{
    return SetRange(L, "SetPatternRootMaxNoteNr", &TConcretizeRange::mPatternRootMaxNoteNr);
}

int GetModNoteNrPropIDAt(lua_State* L)
{
    static const char* const kName = "GetModNoteNrPropIDAt";
    CGenContext& ctx = Self(L);
    Params(ctx, kName);
    Concretizer(ctx, kName);
    CheckArgCount(L, kName, 4, 5);
    const auto id = static_cast<int>(ArgInteger(L, 2, kName));
    const CGenCharContext cc(&ctx);
    const float pos = BeatPosAbsSTTargetFromArgs(L, cc, 3, kName);
    if (GenIsUndef(pos))
        FailIn(kName, "paramsOK from _Get_BeatPosAbsSTTarget_FromLuaParamsGenerateBarRel failed");
    TModNoteNr mod;
    std::string error;
    if (!cc.GetModNoteNrPropIDAt(id, pos, mod, &error))
        FailIn(kName, error);
    lua_pushinteger(L, static_cast<lua_Integer>(mod.mNoteNr));
    lua_pushinteger(L, mod.mType);
    return 2;
}

int SetModNoteNrPropIDAt(lua_State* L)
{
    static const char* const kName = "SetModNoteNrPropIDAt";
    CGenContext& ctx = Self(L);
    Params(ctx, kName);
    Concretizer(ctx, kName);
    CheckArgCount(L, kName, 6, 7);
    const auto id = static_cast<int>(ArgInteger(L, 2, kName));
    int64_t noteNr = ArgInteger(L, 3, kName);
    const int64_t type = ArgInteger(L, 4, kName);
    if (type < TModNoteNr::Relative || type > TModNoteNr::Absolute)
        FailIn(kName, "modType must be >= " + std::to_string(TModNoteNr::Relative) + " and <= "
                + std::to_string(TModNoteNr::Absolute));
    const CGenCharContext cc(&ctx);
    const float pos = BeatPosAbsSTTargetFromArgs(L, cc, 5, kName);
    if (GenIsUndef(pos))
        FailIn(kName, "paramsOK from _Get_BeatPosAbsSTTarget_FromLuaParamsGenerateBarRel failed");
    // A relative change moves at most the whole note range; an absolute one stays on it.
    const int64_t lo = type == TModNoteNr::Relative ? -127 : 0;
    const int64_t hi = 127;
    if (noteNr < lo || noteNr > hi) {
        const char* typeName = type == TModNoteNr::Relative ? "Relative" : "Absolute";
        CGenLua::luaLog(ZKLogCategory_LuaRuntimeError,
            std::string(kName) + ": NoteNr " + std::to_string(noteNr) + " clamped, for TModNoteNr::TType::" + typeName
                + " it must be >= " + std::to_string(lo) + " and <= " + std::to_string(hi));
        noteNr = noteNr < lo ? lo : hi;
    }
    TModNoteNr mod;
    mod.mNoteNr = noteNr;
    mod.mType = static_cast<TModNoteNr::TType>(type);
    std::string error;
    if (!cc.SetModNoteNrPropIDAt(id, pos, mod, &error))
        FailIn(kName, error);
    return 0;
}

int IsAbstractNoteInNoteRange(lua_State* L)
{
    static const char* const kName = "IsAbstractNoteInNoteRange";
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, kName);
    const CAbstractNotesConcretizer& c = Concretizer(ctx, kName);
    CheckArgCount(L, kName, 2, 3);
    const CAbstractNote note = ReadAbstractNote(L, 2, kName);
    lua_pushboolean(L, InRange(c, p, note, EventPosOrGeneratePos(L, ctx, 3)));
    return 1;
}

int IsAbstractNoteInNoteRangeAtGenerateBarRel(lua_State* L)
{
    static const char* const kName = "IsAbstractNoteInNoteRangeAtGenerateBarRel";
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, kName);
    const CAbstractNotesConcretizer& c = Concretizer(ctx, kName);
    const float pos = AtGenerateBarRelArgs(L, ctx, kName);
    lua_pushboolean(L, InRange(c, p, ReadAbstractNote(L, 2, kName), pos));
    return 1;
}

int AbstractNoteToNoteNr(lua_State* L)
{
    static const char* const kName = "_PushAbstractNoteToNoteNr";
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, kName);
    const CAbstractNotesConcretizer& c = Concretizer(ctx, kName);
    CheckArgCount(L, kName, 2, 3);
    const CAbstractNote note = ReadAbstractNote(L, 2, kName);
    const int64_t n = NoteNrAt(c, p, note, EventPosOrGeneratePos(L, ctx, 3));
    if (n < 0)
        return 0;
    lua_pushinteger(L, static_cast<lua_Integer>(n));
    return 1;
}

int AbstractNoteToNoteNrAtGenerateBarRel(lua_State* L)
{
    static const char* const kName = "AbstractNoteToNoteNrAtGenerateBarRel";
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, kName);
    const CAbstractNotesConcretizer& c = Concretizer(ctx, kName);
    const float pos = AtGenerateBarRelArgs(L, ctx, kName);
    const int64_t n = NoteNrAt(c, p, ReadAbstractNote(L, 2, kName), pos);
    if (n < 0)
        return 0;
    lua_pushinteger(L, static_cast<lua_Integer>(n));
    return 1;
}

} // namespace zkgen::lua::ctxapi
