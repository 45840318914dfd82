// The context's fill calls: a fill made from candidates at a place the
// script names; where the fill at the generate position starts and ends, and
// the ranges it takes over from the other layers, as positions in the bar of
// the default (4/4) frame.

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenSignTimeDefault.h"
#include "Generator/fills/CGenCharCreateFill.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

#include <cmath>
#include <cstdint>

namespace zkgen::lua::ctxapi {

namespace {

// The current fill: the entry of the chosen fill sequence (the Fill layer of
// the context's pattern map, which the fill layer fills first, so that the
// other layers' scripts see it) whose stretch holds the generate position.
// Entries are compared in the song's signature. The Fill layer is not only
// where the generator overlays fills from, it is also the one list every
// later graph run can see; a fill that a script makes during the fill graph
// itself is not there yet and so has no current fill.
struct TCurrentFill {
    const CGenPatternModAndProb* mEntry = nullptr;
    float mStartTarget = TGenBeatPos_Undef;
};

float TargetStart(const CGenContext& ctx, const CGenPatternModAndProbs& list, const CGenPatternModAndProb& el)
{
    if (list.STDefaultOrTarget() == TSTDefaultOrTarget::Target)
        return el.mBeatPosAbs;
    if (GenIsDef(el.mBeatPosAbsSTTarget))
        return el.mBeatPosAbsSTTarget;
    return CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(el.mBeatPosAbs, TSTDefaultOrTarget::Default,
        CGenCharContext(const_cast<CGenContext*>(&ctx)));
}

TCurrentFill CurrentFill(const CGenContext& ctx)
{
    TCurrentFill fill;
    const float pos = ctx.GeneratePosAbs();
    const auto it = ctx.mPatternMap.find(TPatternGraphType_Fill);
    if (GenIsUndef(pos) || it == ctx.mPatternMap.end())
        return fill;
    for (const CGenPatternModAndProb& el : it->second) {
        const float start = TargetStart(ctx, it->second, el);
        const float end = GenAddRegardingUndef(start, el.Length());
        if (GenIsDef(start) && GenIsDef(end) && start <= pos && pos < end) {
            fill.mEntry = &el;
            fill.mStartTarget = start;
            return fill;
        }
    }
    return fill;
}

// The current fill of a call without arguments.
TCurrentFill NoArgsFill(lua_State* L, CGenContext*& ctx, const char* name)
{
    ctx = &Self(L);
    Params(*ctx, name);
    CheckArgCount(L, name, 1, 1);
    return CurrentFill(*ctx);
}

// The fill's start in its bar plus `offset` beats; offsets that run past the
// bar are not wrapped, so an end on the next bar line reads as the bar's
// length (plus one in Lua).
int PushFromFillStart(lua_State* L, CGenContext& ctx, const TCurrentFill& fill, float offset)
{
    if (!fill.mEntry)
        return 0;
    return PushPos(L, GenAddRegardingUndef(PosInBarDefault(ctx, fill.mStartTarget), offset));
}

enum TBound { kStart, kEnd };

int PushOverlay(lua_State* L, const char* name, const CGenRange<float> CGenPatternModAndProb::*member, TBound bound)
{
    CGenContext* ctx = nullptr;
    const TCurrentFill fill = NoArgsFill(L, ctx, name);
    if (!fill.mEntry)
        return 0;
    const CGenRange<float>& range = fill.mEntry->*member;
    if (GenIsUndef(range.mMin))
        return 0;
    return PushFromFillStart(L, *ctx, fill, bound == kStart ? range.mMin : range.mMax);
}

// The range a fill takes over from one layer: the first overlay record whose
// mask holds the layer's bit, else the fixed range of the layer's kind.
const CGenRange<float>* OverlayForLayer(const CGenPatternModAndProb& fill, int64_t layer)
{
    for (const CGenLayerBitmaskAndBPRange& rec : fill.mOverlayLayerBitmaskAndBPRanges)
        if (rec.mLayerBitmask.IsBitSet(static_cast<unsigned>(layer)))
            return &rec.mBeatPosRelRange;
    switch (layer) {
    case TPatternGraphType_AccentFamily:
    case TPatternGraphType_AccentAddon: return &fill.mOverlayRangeAc;
    case TPatternGraphType_System: return &fill.mOverlayRangeSy;
    case TPatternGraphType_Percussion: return &fill.mOverlayRangePerc;
    default: return nullptr;
    }
}

int PushOverlayForLayer(lua_State* L, const char* name, TBound bound)
{
    CGenContext& ctx = Self(L);
    Params(ctx, name);
    CheckArgCount(L, name, 2, 2);
    const int64_t layer = ArgInteger(L, 2, name);
    if (layer < 0 || layer > 63)
        FailIn(name, "layer must be >= 0 and <= 63");
    const TCurrentFill fill = CurrentFill(ctx);
    const CGenRange<float>* range = fill.mEntry ? OverlayForLayer(*fill.mEntry, layer) : nullptr;
    if (!range || GenIsUndef(range->mMin))
        return 0;
    return PushFromFillStart(L, ctx, fill, bound == kStart ? range->mMin : range->mMax);
}

// ----- the parameter table of CreateFill

// The number under `key` of the table at idx; false (and the default kept)
// when the value is missing or no number.
bool FieldNumber(lua_State* L, int idx, const char* key, double& out)
{
    lua_getfield(L, idx, key);
    const bool isNumber = lua_isnumber(L, -1) != 0;
    if (isNumber)
        out = lua_tonumber(L, -1);
    lua_pop(L, 1);
    return isNumber;
}

// Saturated, so that an absurd number is no undefined conversion.
int32_t ToInt32(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= 2147483647.0)
        return INT32_MAX;
    if (v <= -2147483648.0)
        return INT32_MIN;
    return static_cast<int32_t>(v);
}

uint64_t ToUInt64(double v)
{
    if (!(v > 0.0))
        return 0;
    if (v >= 18446744073709551615.0)
        return UINT64_MAX;
    return static_cast<uint64_t>(v);
}

// A limit as a float; the scripts' undefined constant arrives rounded
// (-3.402823e+38), so anything that far down means "no limit".
float LimitOrUndef(double v)
{
    return v <= -3.4e38 ? TGenBeatPos_Undef : static_cast<float>(v);
}

// The parameters of the table at idx over the defaults of TCreateFillParams.
TCreateFillParams ReadCreateFillParams(lua_State* L, int idx)
{
    namespace K = zkgen::kCreateFillKey;
    TCreateFillParams p;
    double v = 0.0;
    if (FieldNumber(L, idx, K::FillEndGenerateBarRel, v))
        p.mFillEndGenerateBarRel = ToInt32(v);
    if (FieldNumber(L, idx, K::FillEndBeatPosRelInBar, v))
        p.mFillEndBeatPosRelInBar = PosFromLua(v);
    if (FieldNumber(L, idx, K::FillEndSTDefaultOrTarget, v))
        p.mFillEndSTDefaultOrTarget = ToInt32(v) == 1 ? TSTDefaultOrTarget::Target : TSTDefaultOrTarget::Default;
    if (FieldNumber(L, idx, K::Probability, v))
        p.mProbability = static_cast<float>(v);
    if (FieldNumber(L, idx, K::BarInterval, v))
        p.mBarInterval = v;
    if (FieldNumber(L, idx, K::RandomSeedAdd, v))
        p.mRandomSeedAdd = ToInt32(v);
    if (FieldNumber(L, idx, K::FillMinBeatLength, v))
        p.mFillMinBeatLength = LimitOrUndef(v);
    if (FieldNumber(L, idx, K::FillMaxBeatLength, v))
        p.mFillMaxBeatLength = LimitOrUndef(v);
    if (FieldNumber(L, idx, K::NonMatchingLengthProbDeduction, v))
        p.mNonMatchingLengthProbDeduction = static_cast<float>(v);
    if (FieldNumber(L, idx, K::FillMinCompl, v))
        p.mFillMinCompl = LimitOrUndef(v);
    if (FieldNumber(L, idx, K::FillMaxCompl, v))
        p.mFillMaxCompl = LimitOrUndef(v);
    if (FieldNumber(L, idx, K::NonMatchingComplProbDeduction, v))
        p.mNonMatchingComplProbDeduction = static_cast<float>(v);
    if (FieldNumber(L, idx, K::FillBelowSongTempoPercent, v))
        p.mFillBelowSongTempoPercent = LimitOrUndef(v);
    if (FieldNumber(L, idx, K::FillAboveSongTempoPercent, v))
        p.mFillAboveSongTempoPercent = LimitOrUndef(v);
    if (FieldNumber(L, idx, K::NonMatchingTempoProbDeduction, v))
        p.mNonMatchingTempoProbDeduction = static_cast<float>(v);
    if (FieldNumber(L, idx, K::TopProbFilterMinRequiredPatterns, v))
        p.mTopProbFilterMinRequiredPatterns = ToInt32(v);
    if (FieldNumber(L, idx, K::TopProbFilterStepCount, v))
        p.mTopProbFilterStepCount = ToUInt64(v);
    // Only a number counts here too, and any number (0 as well) is true:
    // a Lua boolean leaves the default.
    if (FieldNumber(L, idx, K::RemainSilentIfNoFillWasMatching, v))
        p.mRemainSilentIfNoFillWasMatching = true;
    if (FieldNumber(L, idx, K::KeepLayerBitmask, v))
        p.mKeepLayerBitmask = CGenBitmask(ToUInt64(v));
    return p;
}

} // namespace

// context:CreateFill(inPatterns, outPatterns, params): the chosen fill is
// appended to outPatterns; its 1-based index there, or nothing.
int CreateFill(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenPatternModAndProbs& in = *CGenLua::LuaPatterns::checkLuaPatterns(L, 2);
    CGenPatternModAndProbs& out = *CGenLua::LuaPatterns::checkLuaPatterns(L, 3);
    const TUserdata& outUserdata = *TestUserdata(L, 3, CGenLua::LuaPatterns::metatableName);
    if (!lua_istable(L, 4))
        FailIn("CreateFill", "expected table as argument 3");
    const TCreateFillParams params = ReadCreateFillParams(L, 4);

    // A copy, as the two lists may be one.
    const CGenPatternModAndProbs candidates = in;
    const size_t sizeBefore = out.size();
    const auto it = CGenCharContext(&ctx).CreateFill(candidates, out, params, nullptr);
    // Appending may move the list's elements: their views die.
    if (out.size() != sizeBefore)
        NoteChanged(outUserdata.mRef);
    if (it == out.end())
        return 0;
    lua_pushnumber(L, static_cast<double>(it - out.begin()) + 1.0);
    return 1;
}

int FillStartPosInBarDefTimeSign(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const TCurrentFill fill = NoArgsFill(L, ctx, "FillStartPosInBarDefTimeSign");
    return PushFromFillStart(L, *ctx, fill, 0.0f);
}

int FillEndPosInBarDefTimeSign(lua_State* L)
{
    CGenContext* ctx = nullptr;
    const TCurrentFill fill = NoArgsFill(L, ctx, "FillEndPosInBarDefTimeSign");
    return PushFromFillStart(L, *ctx, fill, fill.mEntry ? fill.mEntry->Length() : TGenBeatLength_Undef);
}

int FillOverlayAcStartPosInBarDefTimeSign(lua_State* L)
{
    return PushOverlay(L, "FillOverlayAcStartPosInBarDefTimeSign", &CGenPatternModAndProb::mOverlayRangeAc, kStart);
}

int FillOverlayAcEndPosInBarDefTimeSign(lua_State* L)
{
    return PushOverlay(L, "FillOverlayAcEndPosInBarDefTimeSign", &CGenPatternModAndProb::mOverlayRangeAc, kEnd);
}

int FillOverlaySyStartPosInBarDefTimeSign(lua_State* L)
{
    return PushOverlay(L, "FillOverlaySyStartPosInBarDefTimeSign", &CGenPatternModAndProb::mOverlayRangeSy, kStart);
}

int FillOverlaySyEndPosInBarDefTimeSign(lua_State* L)
{
    return PushOverlay(L, "FillOverlaySyEndPosInBarDefTimeSign", &CGenPatternModAndProb::mOverlayRangeSy, kEnd);
}

int FillOverlayPercStartPosInBarDefTimeSign(lua_State* L)
{
    return PushOverlay(L, "FillOverlayPercStartPosInBarDefTimeSign", &CGenPatternModAndProb::mOverlayRangePerc, kStart);
}

int FillOverlayPercEndPosInBarDefTimeSign(lua_State* L)
{
    return PushOverlay(L, "FillOverlayPercEndPosInBarDefTimeSign", &CGenPatternModAndProb::mOverlayRangePerc, kEnd);
}

int FillOverlayForLayerStartPosInBarSTDefault(lua_State* L)
{
    return PushOverlayForLayer(L, "FillOverlayForLayerStartPosInBarSTDefault", kStart);
}

int FillOverlayForLayerEndPosInBarSTDefault(lua_State* L)
{
    return PushOverlayForLayer(L, "FillOverlayForLayerEndPosInBarSTDefault", kEnd);
}

} // namespace zkgen::lua::ctxapi
