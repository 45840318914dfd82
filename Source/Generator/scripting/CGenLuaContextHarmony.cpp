// The context's harmony calls and the note concretizer.

#include "Generator/CGenContext.h"
#include "Generator/CGenEv.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/harmony/CAbstractNotesConcretizer.h"
#include "Generator/harmony/CHarmonicContext.h"
#include "Generator/harmony/CNote.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

namespace zkgen::lua::ctxapi {

namespace {

using CGenLua::LuaChord;

// A position relative to the generate position (1-based in Lua, the
// generate position itself when left out) as an absolute one.
float RelArgToAbs(lua_State* L, const CGenContext& ctx, int idx, const char* name)
{
    const float rel = IsNoneOrNil(L, idx) ? 0.0f : PosFromLua(ArgNumber(L, idx, name));
    return GenAddRegardingUndef(ctx.GeneratePosAbs(), rel);
}

float Rel(float abs, float genPos)
{
    return GenIsUndef(abs) || GenIsUndef(genPos) ? TGenBeatPos_Undef : abs - genPos;
}

// The chord `offset` chords from the one in force at pos, with its end (the
// next chord's start, or the end of the generate range for the last one).
int PushChordAt(lua_State* L, const CGenContext& ctx, const CGenGeneratorParams& p, float pos, int64_t offset)
{
    const CGenEvsChord& chords = p.mEvsChord;
    const auto it = chords.ElInForceAt(pos);
    if (GenIsUndef(pos) || it == chords.end())
        return 0;
    const int64_t ix = (it - chords.begin()) + offset;
    if (ix < 0 || ix >= static_cast<int64_t>(chords.size()))
        return 0;
    const CGenEvChord& chord = chords[static_cast<size_t>(ix)];
    float end = TGenBeatPos_Undef;
    if (ix + 1 < static_cast<int64_t>(chords.size()))
        end = chords[static_cast<size_t>(ix + 1)].mBeatPosAbs;
    else if (GenIsDef(p.mGenerateLength) && GenIsDef(p.mGenerateStartPosAbs))
        end = p.mGenerateStartPosAbs + p.mGenerateLength;
    const float genPos = ctx.GeneratePosAbs();
    LuaChord::push(L, chord, Rel(pos, genPos), Rel(chord.mBeatPosAbs, genPos), Rel(end, genPos));
    return 1;
}

CHarmonicContext HarmonyAt(const CGenGeneratorParams& p, float pos)
{
    CHarmonicContext hc;
    hc.FillFromEvsChordAndSignKeyAndSignTime(p.mEvsChord, p.mEvsHarmCenter, p.mEvsSignKey, &p.mEvsSignTime, pos);
    return hc;
}

int PushKey(lua_State* L, const CSignKeyLite& key)
{
    if (key.IsUndef())
        return 0;
    lua_pushinteger(L, key.mKeyNr);
    lua_pushinteger(L, key.mType);
    return 2;
}

// A key slot of the harmonic context: (beatPosRel[, where]).
int HarmonicContextKey(lua_State* L, const char* name, TWhere defaultWhere)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, name);
    CheckArgCount(L, name, 1, 3);
    const float pos = RelArgToAbs(L, ctx, 2, name);
    const auto where = static_cast<TWhere>(OptInteger(L, 3, name, defaultWhere));
    return PushKey(L, HarmonyAt(p, pos).KeyForTWhere(where));
}

// (st, barRel[, posInBar]) followed by an integer offset, at idx.
float BarRelArgsThenOffset(lua_State* L, const CGenContext& ctx, int idx, const char* name, int64_t& offset)
{
    const int last = ArgCount(L);
    offset = ArgInteger(L, last, name);
    TBarRelArgs a;
    a.mST = ReadST(L, idx, name);
    a.mBarRel = static_cast<int>(ArgInteger(L, idx + 1, name));
    if (last - idx == 3)
        a.mPosInBar = PosFromLua(ArgNumber(L, idx + 2, name));
    return BarRelToBeatPosAbsSTTarget(CGenCharContext(const_cast<CGenContext*>(&ctx)), a);
}

TRootRelation ReadRelation(lua_State* L, int idx, const char* name)
{
    const int64_t r = ArgInteger(L, idx, name);
    if (r < TRootRelation_KeyNrC || r > TRootRelation_ChordBass)
        FailIn(name, "unknown TRootRelation " + std::to_string(r));
    return static_cast<TRootRelation>(r);
}

int PushIntegerIfDef(lua_State* L, int v)
{
    if (v < 0)
        return 0;
    lua_pushinteger(L, v);
    return 1;
}

} // namespace

// ----- harmony

int HarmonicContextAtBeatPosRel_Chord(lua_State* L)
{
    static const char* const kName = "HarmonicContextAtBeatPosRel_Chord";
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, kName);
    CheckArgCount(L, kName, 1, 3);
    const float pos = RelArgToAbs(L, ctx, 2, kName);
    const auto where = static_cast<TWhere>(OptInteger(L, 3, kName, TWhere_CurrentChord));
    const CHarmonicContext hc = HarmonyAt(p, pos);
    const THarmonicContextChordSlot* slot = hc.ChordSlotForTWhere(where);
    if (!slot || GenIsUndef(slot->mBeatPosAbs))
        Fail("LuaContext::HarmonicContextAtBeatPosRel_Chord: resultIxChord < 0");
    const float genPos = ctx.GeneratePosAbs();
    LuaChord::push(L, CGenEvChord(slot->mBeatPosAbs, slot->mChord, slot->mScale), Rel(pos, genPos),
        Rel(slot->mBeatPosAbs, genPos), Rel(slot->mEndBeatPosAbs, genPos));
    return 1;
}

int HarmonicContextAtBeatPosRel_HarmCenter(lua_State* L)
{
    return HarmonicContextKey(L, "HarmonicContextAtBeatPosRel_HarmCenter", TWhere_CurrentHarmCenter);
}

int HarmonicContextAtBeatPosRel_SignKey(lua_State* L)
{
    return HarmonicContextKey(L, "HarmonicContextAtBeatPosRel_SignKey", TWhere_CurrentSignKey);
}

int HarmCenterAtBeatPos(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "HarmCenterAtBeatPos");
    CheckArgCount(L, "HarmCenterAtBeatPos", 1, 2);
    const float pos = RelArgToAbs(L, ctx, 2, "HarmCenterAtBeatPos");
    return PushKey(L, p.mEvsHarmCenter.FindEvHarmCenterValidAt(pos).mSignKey);
}

int HarmCenterAtGenerateBarRel(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "HarmCenterAtGenerateBarRel");
    CheckArgCount(L, "HarmCenterAtGenerateBarRel", 4, 5);
    int64_t offset = 0;
    const float pos = BarRelArgsThenOffset(L, ctx, 2, "HarmCenterAtGenerateBarRel", offset);
    const auto it = p.mEvsHarmCenter.ElInForceAt(pos);
    if (GenIsUndef(pos) || it == p.mEvsHarmCenter.end())
        return 0;
    const int64_t ix = (it - p.mEvsHarmCenter.begin()) + offset;
    if (ix < 0 || ix >= static_cast<int64_t>(p.mEvsHarmCenter.size()))
        return 0;
    return PushKey(L, p.mEvsHarmCenter[static_cast<size_t>(ix)].mSignKey);
}

int ChordAtBeatPos(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "ChordAtBeatPos");
    CheckArgCount(L, "ChordAtBeatPos", 1, 3);
    const float pos = RelArgToAbs(L, ctx, 2, "ChordAtBeatPos");
    return PushChordAt(L, ctx, p, pos, OptInteger(L, 3, "ChordAtBeatPos", 0));
}

int ChordAtGenerateBarRel(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "ChordAtGenerateBarRel");
    CheckArgCount(L, "ChordAtGenerateBarRel", 4, 5);
    int64_t offset = 0;
    const float pos = BarRelArgsThenOffset(L, ctx, 2, "ChordAtGenerateBarRel", offset);
    return PushChordAt(L, ctx, p, pos, offset);
}

int ToOctaveRange(lua_State* L)
{
    Self(L);
    CheckArgCount(L, "ToOctaveRange", 2, 2);
    const int64_t k = ArgInteger(L, 2, "ToOctaveRange");
    lua_pushinteger(L, static_cast<lua_Integer>(((k % 12) + 12) % 12));
    return 1;
}

int AbsKeyIntvlFromTo(lua_State* L)
{
    Self(L);
    CheckArgCount(L, "AbsKeyIntvlFromTo", 3, 3);
    const auto from = static_cast<int>(ArgInteger(L, 2, "AbsKeyIntvlFromTo"));
    const auto to = static_cast<int>(ArgInteger(L, 3, "AbsKeyIntvlFromTo"));
    lua_pushinteger(L, ::AbsKeyIntvlFromTo(from, to));
    return 1;
}

int ConvertKeyNrBetweenRootRelations(lua_State* L)
{
    static const char* const kName = "ConvertKeyNrBetweenRootRelations";
    CGenContext& ctx = Self(L);
    Params(ctx, kName);
    CheckArgCount(L, kName, 6, 7);
    const auto key = static_cast<int>(ArgInteger(L, 2, kName));
    const TRootRelation from = ReadRelation(L, 3, kName);
    const TRootRelation to = ReadRelation(L, 4, kName);
    const CGenCharContext cc(&ctx);
    const float pos = BeatPosAbsSTTargetFromArgs(L, cc, 5, kName);
    return PushIntegerIfDef(L, ::ConvertKeyNrBetweenRootRelations(key, from, to, pos, cc));
}

// Degrees are 1-based in scripts. The second result is the key number of the
// converted degree, so that a script need not convert it again.
int ConvertDegreeNrBetweenRootRelations(lua_State* L)
{
    static const char* const kName = "ConvertDegreeNrBetweenRootRelations";
    CGenContext& ctx = Self(L);
    Params(ctx, kName);
    CheckArgCount(L, kName, 6, 7);
    const auto degree = static_cast<int>(ArgInteger(L, 2, kName)) - 1;
    const TRootRelation from = ReadRelation(L, 3, kName);
    const TRootRelation to = ReadRelation(L, 4, kName);
    const CGenCharContext cc(&ctx);
    const float pos = BeatPosAbsSTTargetFromArgs(L, cc, 5, kName);
    const int converted = ::ConvertDegreeNrBetweenRootRelations(degree, from, to, pos, cc);
    if (converted < 0)
        return 0;
    lua_pushinteger(L, converted + 1);
    lua_pushinteger(L, ::ConvertDegreeNrToKeyNr(converted, to, pos, cc));
    return 2;
}

int ConvertDegreeNrToKeyNr(lua_State* L)
{
    static const char* const kName = "ConvertDegreeNrToKeyNr";
    CGenContext& ctx = Self(L);
    Params(ctx, kName);
    CheckArgCount(L, kName, 5, 6);
    const auto degree = static_cast<int>(ArgInteger(L, 2, kName)) - 1;
    const TRootRelation relation = ReadRelation(L, 3, kName);
    const CGenCharContext cc(&ctx);
    const float pos = BeatPosAbsSTTargetFromArgs(L, cc, 4, kName);
    return PushIntegerIfDef(L, ::ConvertDegreeNrToKeyNr(degree, relation, pos, cc));
}

} // namespace zkgen::lua::ctxapi
