// The context's average clave calls: parameters, the analysis of the song's
// clave, its groups of similar bars as a table, and a debugging text.
//
// The parameters and the last result live in a scratch record of the
// `context` userdata (TUserdata::mScratch), not in the CGenContext: they
// belong to the script that set them, and die with the run, so one script's
// settings never leak into another's analysis. A script that calls
// ClaveFindAvrgClave without setting parameters gets the defaults of
// CGenAvrgClave::TSimilarBarssParams.

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenAvrgClave.h"
#include "Generator/scripting/CGenLuaContextPrivate.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <sstream>
#include <type_traits>

namespace zkgen::lua::ctxapi {

namespace {

using CGenLua::CollectGarbage;
using CGenLua::LuaContext;
using CGenLua::LuaEvents;

const char* const kSetParams = "LuaContext::ClaveFindAvrgClave_SetParams";

struct TAvrgClaveScratch {
    CGenAvrgClave mAvrgClave;
};
// The deleter's type marks the record among the userdata's scratch records.
struct TAvrgClaveScratchDeleter {
    void operator()(TAvrgClaveScratch* p) const { delete p; }
};

// The record of the context at argument 1, made on first use.
TAvrgClaveScratch& Scratch(lua_State* L)
{
    Self(L); // a dead or foreign context fails here
    TUserdata& u = CheckUserdata(L, 1, LuaContext::metatableName, "'LuaContext' expected");
    for (const std::shared_ptr<void>& p : u.mScratch)
        if (std::get_deleter<TAvrgClaveScratchDeleter>(p))
            return *static_cast<TAvrgClaveScratch*>(p.get());
    std::shared_ptr<TAvrgClaveScratch> rec(new TAvrgClaveScratch, TAvrgClaveScratchDeleter());
    u.mScratch.push_back(rec);
    return *rec;
}

// The number under key of the table at idx; a missing or non-number value
// keeps the old one.
template <class T>
void ReadNumber(lua_State* L, int idx, const char* key, T& value)
{
    lua_getfield(L, idx, key);
    if (lua_type(L, -1) == LUA_TNUMBER) {
        // Saturated, so that an absurd number from a script is no undefined
        // conversion.
        const lua_Number n = lua_tonumber(L, -1);
        if constexpr (std::is_enum_v<T> || std::is_integral_v<T>)
            value = static_cast<T>(static_cast<int>(std::isnan(n) ? 0.0 : std::clamp(n, -2147483648.0, 2147483647.0)));
        else if constexpr (std::is_same_v<T, float>)
            value = std::isnan(n) ? static_cast<float>(n) : static_cast<float>(std::clamp(n, -3.4028234663852886e38, 3.4028234663852886e38));
        else
            value = static_cast<T>(n);
    }
    lua_pop(L, 1);
}

// A list of {Pos = 1-based beat, Weight = number} under key; replaces the old
// list when present.
void ReadBeatPosAndWeights(lua_State* L, int idx, const char* key, CGenAvrgClave::TBeatPosAndWeights& out)
{
    lua_getfield(L, idx, key);
    if (lua_isnil(L, -1)) {
        lua_pop(L, 1);
        return;
    }
    if (!lua_istable(L, -1)) {
        lua_pop(L, 1);
        Fail(std::string("expected table for key '") + key + "'");
    }
    const int list = lua_gettop(L);
    CGenAvrgClave::TBeatPosAndWeights read;
    lua_pushnil(L);
    while (lua_next(L, list) != 0) {
        if (!lua_istable(L, -1)) {
            lua_pop(L, 3);
            Fail(std::string("expected table as entry in table with key '") + key + "'");
        }
        lua_getfield(L, -1, "Pos");
        lua_getfield(L, -2, "Weight");
        if (lua_type(L, -2) != LUA_TNUMBER) {
            lua_pop(L, 5);
            Fail(std::string("expected TGenBeatPos for key 'Pos' in table with key '") + key + "'");
        }
        if (lua_type(L, -1) != LUA_TNUMBER) {
            lua_pop(L, 5);
            Fail(std::string("expected number for key 'Weight' in table with key '") + key + "'");
        }
        read.push_back({PosFromLua(lua_tonumber(L, -2)), static_cast<float>(lua_tonumber(L, -1))});
        lua_pop(L, 3); // Pos, Weight, the entry; the key stays for lua_next
    }
    lua_pop(L, 1);
    // lua_next walks a table in no fixed order: sorted, the stored list is the same for the same table.
    std::stable_sort(read.begin(), read.end(),
        [](const CGenAvrgClave::TBeatPosAndWeight& a, const CGenAvrgClave::TBeatPosAndWeight& b) {
            return a.mBeatPos < b.mBeatPos;
        });
    out = std::move(read);
}

} // namespace

// Reads the keys in their documented order, then "Strategy" (0 similar to
// the first bar, 1 similarity matrix) and "SimilarityMatrix_Linkage" (see
// CGenAvrgClave.h). Parameters that are not sane are not taken: the reason
// is returned as a string; nothing is returned on success.
int ClaveFindAvrgClave_SetParams(lua_State* L)
{
    TAvrgClaveScratch& rec = Scratch(L);
    if (ArgCount(L) != 2 || !lua_istable(L, 2))
        Fail(std::string(kSetParams) + ": expected table as argument");
    CGenAvrgClave::TSimilarBarssParams p = rec.mAvrgClave.SimilarBarssParams();
    ReadNumber(L, 2, "EvClaveOnChordChangeVelocity", p.mEvClaveOnChordChangeVelocity);
    ReadNumber(L, 2, "CreateClaveInRange", p.mCreateClaveInRange);
    ReadNumber(L, 2, "SimilarToFirstBar_SimilarIsAboveThresh", p.mSimilarToFirstBar_SimilarIsAboveThresh);
    ReadNumber(L, 2, "SimilarityMatrix_SimilarIsAboveThresh", p.mSimilarityMatrix_SimilarIsAboveThresh);
    ReadNumber(L, 2, "MatchWeightForVelGridMatch", p.mMatchWeightForVelGridMatch);
    ReadNumber(L, 2, "MatchWeightForAvrgVelDiff", p.mMatchWeightForAvrgVelDiff);
    ReadNumber(L, 2, "MatchWeightForStdDevRatio", p.mMatchWeightForStdDevRatio);
    ReadNumber(L, 2, "VelGridMatch_MatchGridLength", p.mVelGridMatch_MatchGridLength);
    ReadNumber(L, 2, "VelGridMatch_MatchWithin", p.mVelGridMatch_MatchWithin);
    ReadBeatPosAndWeights(L, 2, "VelGridMatch_BeatPosAndWeightsAvrgVel", p.mVelGridMatch_BeatPosAndWeightsAvrgVel);
    ReadBeatPosAndWeights(L, 2, "VelGridMatch_BeatPosAndWeightsIfEvAbsentInBoth",
        p.mVelGridMatch_BeatPosAndWeightsIfEvAbsentInBoth);
    ReadBeatPosAndWeights(L, 2, "VelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne",
        p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne);
    ReadBeatPosAndWeights(L, 2, "VelGridMatch_BeatPosAndWeightsIfEvPresentInBoth",
        p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth);
    ReadNumber(L, 2, "Strategy", p.mStrategy);
    ReadNumber(L, 2, "SimilarityMatrix_Linkage", p.mLinkage);
    std::string failure;
    const std::string positive = p.PositiveValuesCheck();
    if (!positive.empty())
        failure = "parameters are not sane: " + positive;
    else if (!p.ParamsAreSane())
        failure = "parameters are not sane, avrgClave.SimilarBarssParams().ParamsAreSane() failed";
    if (!failure.empty()) {
        lua_pushlstring(L, failure.data(), failure.size());
        return 1;
    }
    rec.mAvrgClave.SimilarBarssParams() = p;
    return 0;
}

// The song's clave averaged over its groups of similar bars, as note events
// at absolute positions; nothing when no bar was found. The range is the
// generate range (or the whole song, by "CreateClaveInRange").
int ClaveFindAvrgClave(lua_State* L)
{
    static const char* const kName = "ClaveFindAvrgClave";
    CGenContext& ctx = Self(L);
    CheckArgCount(L, kName, 1, 1);
    const CGenGeneratorParams& p = Params(ctx, kName);
    TAvrgClaveScratch& rec = Scratch(L);
    const float start = p.mGenerateStartPosAbs;
    const float end = GenIsDef(p.mGenerateLength) ? start + p.mGenerateLength : TGenBeatPosAbs_Undef;
    if (!rec.mAvrgClave.FindSimilarBarssAndAvrgEvsClave(p.mEvsSignTime, p.mEvsChord, p.mEvsClave, start, end)
        || rec.mAvrgClave.SimilarBarss().empty())
        return 0;
    const CGenEvsClave& avrg = rec.mAvrgClave.AvrgEvsClave();
    auto evs = std::make_unique<CGenEvs>();
    evs->mLength = avrg.mLength;
    for (const CGenEvClave& ev : avrg)
        evs->push_back(ev.ConvertToGenEv());
    LuaEvents::push(L, evs.release(), CollectGarbage::Yes);
    return 1;
}

// One row per group of the last ClaveFindAvrgClave, by first bar:
// {firstBar, {bars...}, weight}, the bars as internal bar numbers (the bar
// at position 0 is bar 1) and the weight the group's share of all bars
// (0..1); the same under "FirstBar", "Bars" and "Weight". Empty before a run.
int ClaveGetSimilarBarsTable(lua_State* L)
{
    CheckArgCount(L, "ClaveGetSimilarBarsTable", 1, 1);
    const CGenAvrgClave& avrg = Scratch(L).mAvrgClave;
    const CGenAvrgClave::TSimilarBarss& barss = avrg.SimilarBarss();
    const double total = double(avrg.ChronologicalSimilarBars().size());
    lua_createtable(L, static_cast<int>(barss.size()), 0);
    for (size_t g = 0; g < barss.size(); ++g) {
        const CGenAvrgClave::TSimilarBars& bars = barss[g];
        lua_createtable(L, 3, 3);
        lua_pushinteger(L, bars.mBarNrs.empty() ? 0 : bars.mBarNrs.front());
        lua_pushvalue(L, -1);
        lua_rawseti(L, -3, 1);
        lua_setfield(L, -2, "FirstBar");
        lua_createtable(L, static_cast<int>(bars.mBarNrs.size()), 0);
        for (size_t i = 0; i < bars.mBarNrs.size(); ++i) {
            lua_pushinteger(L, bars.mBarNrs[i]);
            lua_rawseti(L, -2, static_cast<int>(i + 1));
        }
        lua_pushvalue(L, -1);
        lua_rawseti(L, -3, 2);
        lua_setfield(L, -2, "Bars");
        lua_pushnumber(L, total > 0.0 ? double(bars.mBarNrs.size()) / total : 0.0);
        lua_pushvalue(L, -1);
        lua_rawseti(L, -3, 3);
        lua_setfield(L, -2, "Weight");
        lua_rawseti(L, -2, static_cast<int>(g + 1));
    }
    return 1;
}

int ClaveDbgAvrgClaveSimilarBars(lua_State* L)
{
    CheckArgCount(L, "ClaveDbgAvrgClaveSimilarBars", 1, 1);
    const CGenAvrgClave& avrg = Scratch(L).mAvrgClave;
    std::ostringstream os;
    os << "SimilarBars:\n";
    for (const CGenAvrgClave::TSimilarBars& bars : avrg.SimilarBarss())
        os << bars << "\n";
    os << "ChronologicalSimilarBars:\n";
    for (const CGenAvrgClave::TChronologicalSimilarBar& bar : avrg.ChronologicalSimilarBars())
        os << bar << "\n";
    os << "Details:\n";
    avrg.SimilarBarssParams().TraceStream(os);
    os << "\n";
    avrg.TraceStream(os);
    os << "\n";
    const std::string text = os.str();
    lua_pushlstring(L, text.data(), text.size());
    return 1;
}

} // namespace zkgen::lua::ctxapi
