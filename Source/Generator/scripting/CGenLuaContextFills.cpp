// The context's fill calls: where the fill at the generate position starts
// and ends, and the ranges it takes over from the other layers, as positions
// in the bar of the default (4/4) frame.

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenSignTimeDefault.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

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

} // namespace

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
