// The context's pattern calls: the chosen sequences, placeholders, the name
// filter and the signature transformation of script lists.

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

#include <memory>

namespace zkgen::lua::ctxapi {

namespace {

using CGenLua::CollectGarbage;
using CGenLua::LuaEvents;
using CGenLua::LuaPatterns;

// The entry of a sequence `offset` entries from the last one that starts at
// or before `pos`; null when none does or the offset leaves the sequence.
const CGenPatternModAndProb* EntryAt(const CGenPatternModAndProbs& seq, float pos, int64_t offset)
{
    if (GenIsUndef(pos))
        return nullptr;
    int64_t inForce = -1;
    for (size_t i = 0; i < seq.size(); ++i)
        if (GenIsDef(seq[i].mBeatPosAbs) && seq[i].mBeatPosAbs <= pos)
            inForce = static_cast<int64_t>(i);
    if (inForce < 0)
        return nullptr;
    const int64_t ix = inForce + offset;
    if (ix < 0 || ix >= static_cast<int64_t>(seq.size()))
        return nullptr;
    return &seq[static_cast<size_t>(ix)];
}

// The chosen pattern of a layer `offset` entries from the one in force at
// `pos`; null for a layer above Percussion, an empty layer or an offset
// that leaves the sequence.
const CGenPatternModAndProb* PatternAt(const CGenContext& ctx, int64_t type, float pos, int64_t offset)
{
    if (type < 0 || type > TPatternGraphType_Percussion || GenIsUndef(pos))
        return nullptr;
    const auto it = ctx.mPatternMap.find(static_cast<TPatternGraphType>(type));
    if (it == ctx.mPatternMap.end())
        return nullptr;
    return EntryAt(it->second, pos, offset);
}

// A list of one copied pattern, in the frame of the layer's sequence.
int PushOnePattern(lua_State* L, const CGenContext& ctx, int64_t type, const CGenPatternModAndProb* pattern)
{
    if (!pattern)
        return 0;
    auto list = std::make_unique<CGenPatternModAndProbs>();
    list->push_back(*pattern);
    list->mSTDefaultOrTarget = ctx.mPatternMap.at(static_cast<TPatternGraphType>(type)).mSTDefaultOrTarget;
    LuaPatterns::push(L, list.release(), CollectGarbage::Yes);
    return 1;
}

} // namespace

int GlobalOriginalEvsInGenerateRangeAsPatterns(lua_State* L)
{
    CGenContext& ctx = Self(L);
    Params(ctx, "GlobalOriginalEvsInGenerateRangeAsPatterns");
    CheckArgCount(L, "GlobalOriginalEvsInGenerateRangeAsPatterns", 1, 1);
    auto list = std::make_unique<CGenPatternModAndProbs>();
    if (!CGenCharContext(&ctx).GlobalOriginalEvsInGenerateRangeAsPatterns(*list))
        return 0;
    LuaPatterns::push(L, list.release(), CollectGarbage::Yes);
    return 1;
}

int PatternsWithPatternAtOffset(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "PatternsWithPatternAtOffset", 3, 3);
    const int64_t type = ArgInteger(L, 2, "PatternsWithPatternAtOffset");
    const int64_t offset = ArgInteger(L, 3, "PatternsWithPatternAtOffset");
    return PushOnePattern(L, ctx, type, PatternAt(ctx, type, ctx.GeneratePosAbs(), offset));
}

int PatternsWithPatternAtBarRel(lua_State* L)
{
    CGenContext& ctx = Self(L);
    Params(ctx, "PatternsWithPatternAtBarRel");
    CheckArgCount(L, "PatternsWithPatternAtBarRel", 3, 3);
    const int64_t type = ArgInteger(L, 2, "PatternsWithPatternAtBarRel");
    TBarRelArgs a;
    a.mBarRel = static_cast<int>(ArgInteger(L, 3, "PatternsWithPatternAtBarRel"));
    const float pos = BarRelToBeatPosAbsSTTarget(CGenCharContext(&ctx), a);
    return PushOnePattern(L, ctx, type, PatternAt(ctx, type, pos, 0));
}

int PatternNameAtOffset(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "PatternNameAtOffset", 3, 3);
    const int64_t type = ArgInteger(L, 2, "PatternNameAtOffset");
    const int64_t offset = ArgInteger(L, 3, "PatternNameAtOffset");
    const CGenPatternModAndProb* pattern = PatternAt(ctx, type, ctx.GeneratePosAbs(), offset);
    if (!pattern)
        return 0;
    const std::string& name = pattern->PatternToBeRead().mName;
    lua_pushlstring(L, name.data(), name.size());
    return 1;
}

// The merged events live where the graph over them receives its list: the
// stage that runs that graph hands each merged element in as the one entry
// of the context's input patterns, at the element's position (and the
// generate position is that position). So the entry in force at the generate
// position is the current merged element, and an offset walks the input list.
// The events are copied as they are (they count from the region, not from
// the entry). Outside that stage the input list is the current layer's
// candidates, which the same walk reads.
int MergedEvsAtOffset(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "MergedEvsAtOffset", 2, 2);
    const int64_t offset = ArgInteger(L, 2, "MergedEvsAtOffset");
    // The generate position was made relative to the left bar and back; a
    // rounding step must not lose the element that starts there.
    const float pos = GenAddRegardingUndef(ctx.GeneratePosAbs(), 1.0e-3f);
    const CGenPatternModAndProb* entry = EntryAt(ctx.mInputPatterns, pos, offset);
    if (!entry)
        return 0;
    LuaEvents::push(L, new CGenEvs(entry->PatternToBeRead().mEvs), CollectGarbage::Yes);
    return 1;
}

int GraphContainsEvAtPos(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "GraphContainsEvAtPos", 4, 4);
    const int64_t type = ArgInteger(L, 2, "GraphContainsEvAtPos");
    const int64_t offset = ArgInteger(L, 3, "GraphContainsEvAtPos");
    // A position inside the pattern, 1-based like every position.
    const float pos = PosFromLua(ArgNumber(L, 4, "GraphContainsEvAtPos"));
    const CGenPatternModAndProb* pattern = PatternAt(ctx, type, ctx.GeneratePosAbs(), offset);
    bool found = false;
    if (pattern)
        for (const CGenEv& ev : pattern->PatternToBeRead().mEvs)
            found = found || ev.mBeatPos == pos;
    lua_pushboolean(L, found);
    return 1;
}

int PatternsCreatePlaceholders(lua_State* L)
{
    static const char* const kName = "PatternsCreatePlaceholders";
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, kName);
    const int n = ArgCount(L) - 1;
    if (n != 0 && n != 4)
        FailIn(kName, "wrong number of arguments");
    const CGenCharContext cc(&ctx);
    auto list = std::make_unique<CGenPatternModAndProbs>();
    std::string error;
    if (n == 0) {
        if (!(p.mGenerateStartPosAbs >= 0.0f))
            FailIn(kName, "GenerateStartPosAbs should be >= 0, information is needed if PatternsCreatePlaceholders is "
                          "called with 0 params");
        if (!(p.mGenerateLength >= 0.0f))
            FailIn(kName, "GenerateLength should be >= 0, information is needed if PatternsCreatePlaceholders is "
                          "called with 0 params");
        error = cc.CreatePlaceholderPatternsFromGenerateRange(*list, true);
    } else {
        const auto count = static_cast<int>(ArgInteger(L, 2, kName));
        const auto bars = static_cast<int>(ArgInteger(L, 3, kName));
        const auto pickup = static_cast<float>(ArgNumber(L, 4, kName));
        const auto last = static_cast<float>(ArgNumber(L, 5, kName));
        error = cc.CreatePlaceholderPatternsFromParams(*list, count, bars, pickup, last);
    }
    if (!error.empty())
        FailIn(kName, error);
    LuaPatterns::push(L, list.release(), CollectGarbage::Yes);
    return 1;
}

int FilterPatternsByName(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "FilterPatternsByName", 6, 6);
    CGenPatternModAndProbs* in = LuaPatterns::checkLuaPatterns(L, 2);
    CGenPatternModAndProbs* out = LuaPatterns::checkLuaPatterns(L, 3);
    const std::string regex = ArgString(L, 4, "FilterPatternsByName");
    const double match = ArgNumber(L, 5, "FilterPatternsByName");
    const double nonMatch = ArgNumber(L, 6, "FilterPatternsByName");
    TUserdata& outUd = CheckUserdata(L, 3, LuaPatterns::metatableName, "'LuaPatterns' expected");
    const size_t capacity = out->capacity();
    CGenCharContext(&ctx).FilterPatternsByName(*in, *out, regex, match, nonMatch);
    // Views into the output list die if it had to grow.
    if (out->capacity() != capacity)
        NoteChanged(outUd.mRef);
    return 0;
}

int SetSignTimeTrafosPresetForLayerBitmask(lua_State* L)
{
    CGenContext& ctx = Self(L);
    CheckArgCount(L, "SetSignTimeTrafosPresetForLayerBitmask", 3, 3);
    const auto mask = static_cast<uint64_t>(ArgInteger(L, 2, "SetSignTimeTrafosPresetForLayerBitmask"));
    const std::string name = ArgString(L, 3, "SetSignTimeTrafosPresetForLayerBitmask");
    CGenCharContext cc(&ctx);
    lua_pushboolean(L, cc.SetSignTimeTrafosPresetForLayerBitmask(CGenBitmask(mask), name));
    return 1;
}

int ApplySignTimeTrafoDefaultToTarget(lua_State* L)
{
    CGenContext& ctx = Self(L);
    const CGenGeneratorParams& p = Params(ctx, "ApplySignTimeTrafoDefaultToTarget");
    CheckArgCount(L, "ApplySignTimeTrafoDefaultToTarget", 2, 2);
    CGenPatternModAndProbs* list = LuaPatterns::checkLuaPatterns(L, 2);
    if (list->STDefaultOrTarget() == TSTDefaultOrTarget::Target)
        Fail("LuaContext::ApplySignTimeTrafoDefaultToTarget has already been called for these LuaPatterns, should not "
             "be called twice (ask zq if you think this error should be removed)");
    TUserdata& ud = CheckUserdata(L, 2, LuaPatterns::metatableName, "'LuaPatterns' expected");
    list->ApplySignTimeTrafo(&p, CGenCharContext(&ctx).SignTimeTrafosFromPatternGraphOrContext(),
        TTransformBeatPosAbs_ToSTTarget);
    // Events move and their lists are rebuilt: views into them must be fetched again.
    NoteChanged(ud.mRef);
    return 0;
}

} // namespace zkgen::lua::ctxapi
