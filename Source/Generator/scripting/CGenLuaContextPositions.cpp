// The context's generate range, positions, tempo and signatures.

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenSignTimeDefault.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

#include <cmath>

namespace zkgen::lua::ctxapi {

namespace {

// A method without arguments: the context and its params.
CGenGeneratorParams& NoArgs(lua_State* L, CGenContext*& ctx, const char* name)
{
    ctx = &Self(L);
    CGenGeneratorParams& p = Params(*ctx, name);
    CheckArgCount(L, name, 1, 1);
    return p;
}

int PushNumberIfDef(lua_State* L, float v)
{
    if (GenIsUndef(v))
        return 0;
    lua_pushnumber(L, static_cast<double>(v));
    return 1;
}

float GenerateEndPos(const CGenGeneratorParams& p)
{
    if (GenIsUndef(p.mGenerateStartPosAbs) || GenIsUndef(p.mGenerateLength))
        return TGenBeatPos_Undef;
    return p.mGenerateStartPosAbs + p.mGenerateLength;
}

// The tempo at a target position, or the failure of the lookup.
double TempoAt(const CGenGeneratorParams& p, float pos, const char* name, bool mentionNonEmpty)
{
    const double t = p.mEvsTempo.TempoAtOrBeforeBeatUseFirstTempoLeftOfIt(pos);
    if (t == kGenTempo_Undef) {
        std::string text = "TempoAtOrBeforeBeatUseFirstTempoLeftOfIt returned TTempoBPMAsDouble_Undef";
        if (mentionNonEmpty && !p.mEvsTempo.empty())
            text += " even though tempoSeq was not empty";
        FailIn(name, text);
    }
    return t;
}

} // namespace

float PosInBarDefault(CGenContext& ctx, float posAbsTarget)
{
    const float d = CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(posAbsTarget,
        TSTDefaultOrTarget::Target, CGenCharContext(&ctx));
    if (GenIsUndef(d))
        return TGenBeatPos_Undef;
    return d - std::floor(d / 4.0f) * 4.0f;
}

// ----- generate range and position

int GenerateStartPosAbs(lua_State* L)
{
    CGenContext* ctx = nullptr;
    return PushPos(L, NoArgs(L, ctx, "GenerateStartPosAbs").mGenerateStartPosAbs);
}

int GenerateStartPosInBarDefTimeSign(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "GenerateStartPosInBarDefTimeSign");
    return PushPos(L, PosInBarDefault(*ctx, p.mGenerateStartPosAbs));
}

int FirstBarLengthInTargetTimeSign(lua_State* L)
{
    CGenContext* ctx = nullptr;
    NoArgs(L, ctx, "FirstBarLengthInTargetTimeSign");
    float length = TGenBeatLength_Undef;
    CGenCharContext(ctx).GeneratorParams_GetFirstBarLengthCroppedbyGenerateLengthSTTarget(length);
    return PushNumberIfDef(L, length);
}

int PickupBarExists(lua_State* L)
{
    CGenContext* ctx = nullptr;
    NoArgs(L, ctx, "PickupBarExists");
    lua_pushboolean(L, CGenCharContext(ctx).GeneratorParams_PickupBarExists());
    return 1;
}

int GenerateEndPosAbs(lua_State* L)
{
    CGenContext* ctx = nullptr;
    return PushPos(L, GenerateEndPos(NoArgs(L, ctx, "GenerateEndPosAbs")));
}

int GenerateEndPosInBarDefTimeSign(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "GenerateEndPosInBarDefTimeSign");
    return PushPos(L, PosInBarDefault(*ctx, GenerateEndPos(p)));
}

int LastBarLengthInTargetTimeSign(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "LastBarLengthInTargetTimeSign");
    const float end = GenerateEndPos(p);
    // The bar line before the end (an end on a bar line closes the bar before).
    const float barStart = p.mEvsSignTime.FindBarStartPos(end, 3);
    if (GenIsUndef(end) || GenIsUndef(barStart))
        return 0;
    float length = end - barStart;
    if (length > p.mGenerateLength)
        length = p.mGenerateLength;
    lua_pushnumber(L, static_cast<double>(length));
    return 1;
}

int GenerateLength(lua_State* L)
{
    CGenContext* ctx = nullptr;
    return PushNumberIfDef(L, NoArgs(L, ctx, "GenerateLength").mGenerateLength);
}

int GeneratePosAbs(lua_State* L)
{
    CGenContext* ctx = nullptr;
    NoArgs(L, ctx, "GeneratePosAbs");
    const CGenCharContext cc(ctx);
    float pos = ctx->GeneratePosAbs();
    // Scripts outside the merged graph work in the authoring frame.
    if (!cc.InStyleGraphGlobalMerged())
        pos = CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(pos, TSTDefaultOrTarget::Target, cc);
    return PushPos(L, pos);
}

int GeneratePosRel(lua_State* L)
{
    CGenContext* ctx = nullptr;
    NoArgs(L, ctx, "GeneratePosRel");
    return PushPos(L, ctx->GeneratePos());
}

int GenerateBar(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "GenerateBar");
    const int bar = p.mEvsSignTime.BeatPosToInternBarNr(ctx->GeneratePosAbs());
    if (bar == TGenBarNr_Undef)
        return 0;
    lua_pushinteger(L, bar);
    return 1;
}

int GenerateBarRel(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "GenerateBarRel");
    const int rel = GenerateBarRelOfPos(p, ctx->GeneratePosAbs());
    if (rel == TGenBarNr_Undef)
        return 0;
    lua_pushinteger(L, rel);
    return 1;
}

int GenerateBarsTilEnd(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "GenerateBarsTilEnd");
    const float pos = ctx->GeneratePosAbs();
    const float end = GenerateEndPos(p);
    const int bars = p.mEvsSignTime.DistanceInBars(pos, end);
    if (bars == TGenBarNr_Undef)
        return 0;
    // A bar that the end cuts still counts.
    lua_pushinteger(L, bars + (p.mEvsSignTime.IsAtBarStart(end) ? 0 : 1));
    return 1;
}

// ----- tempo and signatures

int TempoBpmAtGeneratePos(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "TempoBpmAtGeneratePos");
    lua_pushnumber(L, TempoAt(p, ctx->GeneratePosAbs(), "TempoBpmAtGeneratePos", false));
    return 1;
}

int TempoBpmAtBeatPos(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "TempoBpmAtBeatPos");
    CheckArgCount(L, "TempoBpmAtBeatPos", 1, 2);
    const float rel = IsNoneOrNil(L, 2) ? 0.0f : PosFromLua(ArgNumber(L, 2, "TempoBpmAtBeatPos"));
    lua_pushnumber(L, TempoAt(p, GenAddRegardingUndef(ctx.GeneratePosAbs(), rel), "TempoBpmAtBeatPos", true));
    return 1;
}

int TempoBpmAtBeatPosAbs(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "TempoBpmAtBeatPosAbs");
    CheckArgCount(L, "TempoBpmAtBeatPosAbs", 3, 3);
    const TSTDefaultOrTarget st = ReadST(L, 2, "TempoBpmAtBeatPosAbs");
    const float pos = CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(
        PosFromLua(ArgNumber(L, 3, "TempoBpmAtBeatPosAbs")), st, CGenCharContext(&ctx));
    lua_pushnumber(L, TempoAt(p, pos, "TempoBpmAtBeatPosAbs", true));
    return 1;
}

int TempoBpmAtGenerateBarRel(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "TempoBpmAtGenerateBarRel");
    CheckArgCount(L, "TempoBpmAtGenerateBarRel", 3, 4);
    const float pos = BeatPosAbsSTTargetFromArgs(L, CGenCharContext(&ctx), 2, "TempoBpmAtGenerateBarRel");
    lua_pushnumber(L, TempoAt(p, pos, "TempoBpmAtGenerateBarRel", true));
    return 1;
}

int SignTimeNomAtGeneratePos(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "SignTimeNomAtGeneratePos");
    lua_pushinteger(L, p.mEvsSignTime.SignTimeAt(ctx->GeneratePosAbs()).Nom());
    return 1;
}

int SignTimeDenomIxAtGeneratePos(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const CGenGeneratorParams& p = NoArgs(L, ctx, "SignTimeDenomIxAtGeneratePos");
    lua_pushinteger(L, p.mEvsSignTime.SignTimeAt(ctx->GeneratePosAbs()).Denom());
    return 1;
}

int SignTimeAtGenerateBarRel(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "SignTimeAtGenerateBarRel");
    CheckArgCount(L, "SignTimeAtGenerateBarRel", 3, 4);
    const float pos = BeatPosAbsSTTargetFromArgs(L, CGenCharContext(&ctx), 2, "SignTimeAtGenerateBarRel");
    const auto it = p.mEvsSignTime.FindSignTimeAtOrBeforeExtendingFirstToLeft(pos);
    if (it == p.mEvsSignTime.end())
        return 0;
    lua_pushinteger(L, it->mSignTime.Nom());
    lua_pushinteger(L, it->mSignTime.Denom());
    return 2;
}

int TempoScale(lua_State* L)
{
    CGenContext* ctx = nullptr;
    lua_pushnumber(L, NoArgs(L, ctx, "TempoScale").mTempoScale);
    return 1;
}

// ----- position conversion

int GenerateBarRelToBeatPosAbs(lua_State* L)
{
    CGenContext& ctx = Self(L);
    Params(ctx, "GenerateBarRelToBeatPosAbs");
    CheckArgCount(L, "GenerateBarRelToBeatPosAbs", 3, 4);
    const TBarRelArgs a = ReadBarRelArgs(L, 2, "GenerateBarRelToBeatPosAbs");
    const CGenCharContext cc(&ctx);
    const float pos = a.mST == TSTDefaultOrTarget::Target
        ? CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(a.mBarRel, a.mPosInBar, a.mST, cc)
        : CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTDefault(a.mBarRel, a.mPosInBar, a.mST, cc);
    return PushPos(L, pos);
}

int BeatPosAbsToGenerateBarRel(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "BeatPosAbsToGenerateBarRel");
    CheckArgCount(L, "BeatPosAbsToGenerateBarRel", 3, 3);
    const TSTDefaultOrTarget st = ReadST(L, 2, "BeatPosAbsToGenerateBarRel");
    const CGenCharContext cc(&ctx);
    const float target = CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(
        PosFromLua(ArgNumber(L, 3, "BeatPosAbsToGenerateBarRel")), st, cc);
    const int rel = GenerateBarRelOfPos(p, target);
    int bar = TGenBarNr_Undef;
    float inBar = TGenBeatLength_Undef;
    float barStart = TGenBeatPos_Undef;
    p.mEvsSignTime.BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(target, &bar, &inBar, &barStart);
    if (rel == TGenBarNr_Undef || GenIsUndef(inBar))
        return 0;
    if (st == TSTDefaultOrTarget::Default)
        inBar = CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(inBar, TSTDefaultOrTarget::Target,
            barStart, &p.mEvsSignTime, cc.SignTimeTrafosFromPatternGraphOrContext());
    if (GenIsUndef(inBar))
        return 0;
    lua_pushinteger(L, rel);
    PushPosAlways(L, inBar);
    return 2;
}

namespace {

// The start of a generate bar in the song, for the in-bar conversions.
float TargetBarStart(const CGenCharContext& cc, int barRel)
{
    return CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(barRel, 0.0f,
        TSTDefaultOrTarget::Target, cc);
}

} // namespace

int RelPosInBarToSTTarget(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "RelPosInBarToSTTarget");
    CheckArgCount(L, "RelPosInBarToSTTarget", 4, 4);
    const TBarRelArgs a = ReadBarRelArgs(L, 2, "RelPosInBarToSTTarget");
    const CGenCharContext cc(&ctx);
    return PushPos(L, CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(a.mPosInBar, a.mST,
        TargetBarStart(cc, a.mBarRel), &p.mEvsSignTime, cc.SignTimeTrafosFromPatternGraphOrContext()));
}

int RelPosInBarToSTDefault(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "RelPosInBarToSTDefault");
    CheckArgCount(L, "RelPosInBarToSTDefault", 4, 4);
    const TBarRelArgs a = ReadBarRelArgs(L, 2, "RelPosInBarToSTDefault");
    const CGenCharContext cc(&ctx);
    const float r = CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(a.mPosInBar, a.mST,
        TargetBarStart(cc, a.mBarRel), &p.mEvsSignTime, cc.SignTimeTrafosFromPatternGraphOrContext());
    if (GenIsDef(a.mPosInBar) && GenIsUndef(r))
        Fail(std::string("RelPosInBarToSTDefault")
            + " call to _RelPosInBarFromSTDefaultOrTargetToSTDefault failed: converted beatPosRelInBarSTDefaultOrTarget"
              " != Undef to beatPosRelInBarSTDefault == Undef");
    return PushPos(L, r);
}

int AbsPosToSTTarget(lua_State* L)
{
    CGenContext& ctx = Self(L);
    Params(ctx, "AbsPosToSTTarget");
    CheckArgCount(L, "AbsPosToSTTarget", 3, 3);
    const TSTDefaultOrTarget st = ReadST(L, 2, "AbsPosToSTTarget");
    return PushPos(L, CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(
                          PosFromLua(ArgNumber(L, 3, "AbsPosToSTTarget")), st, CGenCharContext(&ctx)));
}

int AbsPosToSTDefault(lua_State* L)
{
    CGenContext& ctx = Self(L);
    Params(ctx, "AbsPosToSTDefault");
    CheckArgCount(L, "AbsPosToSTDefault", 3, 3);
    const TSTDefaultOrTarget st = ReadST(L, 2, "AbsPosToSTDefault");
    return PushPos(L, CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(
                          PosFromLua(ArgNumber(L, 3, "AbsPosToSTDefault")), st, CGenCharContext(&ctx)));
}

int LuaNumberToBeatPos(lua_State* L)
{
    Self(L);
    CheckArgCount(L, "LuaNumberToBeatPos", 2, 2);
    const double n = ArgNumber(L, 2, "LuaNumberToBeatPos");
    if (std::isnan(n))
        return 0;
    lua_pushnumber(L, static_cast<double>(static_cast<float>(n - 1.0)) + 1.0);
    return 1;
}

} // namespace zkgen::lua::ctxapi
