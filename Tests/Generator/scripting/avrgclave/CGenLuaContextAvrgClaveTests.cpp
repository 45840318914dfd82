#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/library/CGenGenreLib.h"
#include "Generator/scripting/LuaTestSupport.h"

#include <gtest/gtest.h>

namespace {

using zkgen::test::LuaTestState;

// Five 4/4 bars in the generate range 0..20, every event at weight 100:
//   bar 1: 0 1 2 3   bar 2: 0 1.5 3   bar 3: as 1   bar 4: 0 1 2 3.5   bar 5: as 2
// With the default parameters (sixteenth grid, weight 1 at every point,
// equal velocities) a match is (16 - points that differ) / 16: 1-3 and 2-5
// are 1, 1-4 and 3-4 0.875, 1-2 0.8125, 2-4 0.6875. Average linkage merges
// (1,3), (2,5), then {1,3}+4 at 0.875, then the rest at
// (2 * 0.8125 + 0.6875) / 3 = 0.77.
struct AvrgRegion {
    CGenGeneratorParams params;
    CGenGenreLib genreLib;
    CGenContext context {&params, &genreLib, nullptr};
    LuaTestState state;

    AvrgRegion()
    {
        params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}};
        params.mGenerateStartPosAbs = 0.0f;
        params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
        params.mGenerateLength = 20.0f;
        CGenEvsClave clave(20.0f);
        auto add = [&clave](float start, std::initializer_list<float> rel) {
            for (float r : rel)
                clave.push_back(CGenEvClave(start + r, 100));
        };
        add(0.0f, {0.0f, 1.0f, 2.0f, 3.0f});
        add(4.0f, {0.0f, 1.5f, 3.0f});
        add(8.0f, {0.0f, 1.0f, 2.0f, 3.0f});
        add(12.0f, {0.0f, 1.0f, 2.0f, 3.5f});
        add(16.0f, {0.0f, 1.5f, 3.0f});
        clave.SortByBeatPos();
        params.mEvsClave = clave;
        zkgen::lua::SetGlobalContext(state.L, &context);
    }

    // "firstBar:bars:weight;" per row of ClaveGetSimilarBarsTable.
    std::string Table()
    {
        state.Ok("local t = context:ClaveGetSimilarBarsTable() tbl = '' "
                 "for _, row in ipairs(t) do tbl = tbl .. row[1] .. ':' .. table.concat(row[2], ',') .. ':' "
                 ".. string.format('%.2f', row[3]) .. ';' end");
        return state.String("tbl");
    }
};

} // namespace

TEST(LuaContextAvrgClave, DefaultsAndEmptyTable)
{
    AvrgRegion r;
    // Before any analysis: an empty table and a text with the three headings.
    EXPECT_EQ(r.Table(), "");
    r.state.Ok("dbg = context:ClaveDbgAvrgClaveSimilarBars()");
    const std::string before = r.state.String("dbg");
    EXPECT_EQ(before.rfind("SimilarBars:\nChronologicalSimilarBars:\nDetails:\n", 0), 0u) << before;

    // An empty table keeps every default and reports nothing.
    r.state.Ok("res = context:ClaveFindAvrgClave_SetParams({})");
    EXPECT_TRUE(r.state.IsNil("res"));
    r.state.Ok("dbg = context:ClaveDbgAvrgClaveSimilarBars()");
    EXPECT_EQ(r.state.String("dbg"), before);

    // Default threshold 0.8: {1,3,4} (merged at 0.875) and {2,5}; weights 3/5 and 2/5.
    r.state.Ok("e = context:ClaveFindAvrgClave() n = e:Size() len = e:Length() "
               "p4 = e:Get(4):BeatPos() v4 = e:Get(4):Velocity() p5 = e:Get(5):BeatPos() v5 = e:Get(5):Velocity()");
    EXPECT_EQ(r.Table(), "1:1,3,4:0.60;2:2,5:0.40;");
    // {1,3,4}: 0, 1, 2 at 300 / 3 = 100; 3 at 200 / 3 -> 67; 3.5 at 100 / 3 -> 33:
    // 5 events in each of 3 bars; {2,5}: 3 events in each of 2 bars: 21.
    EXPECT_EQ(r.state.Number("n"), 21.0);
    EXPECT_EQ(r.state.Number("len"), 20.0);
    // The 4th event is bar 1's beat 3 (Lua position 4), weight 67:
    // round(1 + 126 * 194 / 254) = round(97.24) = 97; the 5th at 3.5 (Lua 4.5),
    // weight 33: round(1 + 126 * 160 / 254) = round(80.37) = 80.
    EXPECT_EQ(r.state.Number("p4"), 4.0);
    EXPECT_EQ(r.state.Number("v4"), 97.0);
    EXPECT_EQ(r.state.Number("p5"), 4.5);
    EXPECT_EQ(r.state.Number("v5"), 80.0);
    r.state.Ok("local t = context:ClaveGetSimilarBarsTable() named = t[2].FirstBar .. '/' .. #t[2].Bars .. '/' .. t[2].Weight");
    EXPECT_EQ(r.state.String("named"), "2/2/0.4");

    r.state.Ok("dbg = context:ClaveDbgAvrgClaveSimilarBars()");
    const std::string dbg = r.state.String("dbg");
    EXPECT_EQ(dbg.rfind("SimilarBars:\nTSimilarBars: BarNrs 1 3 4, Length 4", 0), 0u) << dbg;
    EXPECT_NE(dbg.find("ChronologicalSimilarBars:\nTChronologicalSimilarBar: BarNr 1, BeatPosAbs 0, "
                       "IsFirstBarOfSimilarBarGroup 1, SimilarBarsIx 0\n"),
        std::string::npos)
        << dbg;
    EXPECT_NE(dbg.find("Details:\nTSimilarBarssParams: Strategy 1, Linkage 0, EvClaveOnChordChangeVelocity 100"),
        std::string::npos)
        << dbg;
    EXPECT_NE(dbg.find("CGenAvrgClave: SongParts 0, AvrgEvsClave "), std::string::npos) << dbg;
}

TEST(LuaContextAvrgClave, KeysChangeTheAnalysis)
{
    AvrgRegion r;
    // 0.9 leaves bar 4 alone.
    r.state.Ok("res = context:ClaveFindAvrgClave_SetParams({SimilarityMatrix_SimilarIsAboveThresh = 0.9}) "
               "context:ClaveFindAvrgClave()");
    EXPECT_TRUE(r.state.IsNil("res"));
    EXPECT_EQ(r.Table(), "1:1,3:0.40;2:2,5:0.40;4:4:0.20;");
    // The first-bar strategy at 0.85: bar 2 misses bar 1 (0.8125), bar 4 joins it (0.875).
    r.state.Ok("context:ClaveFindAvrgClave_SetParams({Strategy = 0, SimilarToFirstBar_SimilarIsAboveThresh = 0.85}) "
               "context:ClaveFindAvrgClave()");
    EXPECT_EQ(r.Table(), "1:1,3,4:0.60;2:2,5:0.40;");
    // The range of the region only (bars 2 and 3, 0.8125 apart, below 0.85).
    r.state.Ok("context:ClaveFindAvrgClave_SetParams({CreateClaveInRange = 1})");
    r.params.mGenerateStartPosAbs = 4.0f;
    r.params.mGenerateLength = 8.0f;
    r.state.Ok("context:ClaveFindAvrgClave()");
    EXPECT_EQ(r.Table(), "2:2:0.50;3:3:0.50;");
    // Complete linkage through its key: back to the whole song, the root of
    // the tree merges at min(0.8125, 0.6875) = 0.6875, below 0.7.
    r.state.Ok("context:ClaveFindAvrgClave_SetParams({CreateClaveInRange = 0, Strategy = 1, "
               "SimilarityMatrix_Linkage = 2, SimilarityMatrix_SimilarIsAboveThresh = 0.7}) context:ClaveFindAvrgClave()");
    EXPECT_EQ(r.Table(), "1:1,3,4:0.60;2:2,5:0.40;");
}

TEST(LuaContextAvrgClave, BeatPosListsAreOneBased)
{
    AvrgRegion r;
    r.state.Ok("context:ClaveFindAvrgClave_SetParams({VelGridMatch_BeatPosAndWeightsIfEvPresentInBoth = "
               "{{Pos = 2.5, Weight = 1}, {Pos = 1, Weight = 0.5}}, "
               "VelGridMatch_BeatPosAndWeightsAvrgVel = {{Pos = 1, Weight = 2}}})");
    r.state.Ok("dbg = context:ClaveDbgAvrgClaveSimilarBars()");
    const std::string dbg = r.state.String("dbg");
    // Pos - 1, sorted; the other lists keep their defaults.
    EXPECT_NE(dbg.find(", AvrgVel {0:2}"), std::string::npos) << dbg;
    EXPECT_NE(dbg.find(", IfEvPresentInBoth {0:0.5, 1.5:1}"), std::string::npos) << dbg;
    EXPECT_NE(dbg.find(", IfEvAbsentInBoth {0:1, 0.25:1,"), std::string::npos) << dbg;
}

TEST(LuaContextAvrgClave, BadArgumentsAndInsaneParameters)
{
    AvrgRegion r;
    EXPECT_EQ(r.state.Run("context:ClaveFindAvrgClave_SetParams(5)"),
        "LuaContext::ClaveFindAvrgClave_SetParams: expected table as argument");
    EXPECT_EQ(r.state.Run("context:ClaveFindAvrgClave_SetParams()"),
        "LuaContext::ClaveFindAvrgClave_SetParams: expected table as argument");
    EXPECT_EQ(r.state.Run("context:ClaveFindAvrgClave_SetParams({VelGridMatch_BeatPosAndWeightsAvrgVel = "
                          "{{Pos = 'x', Weight = 1}}})"),
        "expected TGenBeatPos for key 'Pos' in table with key 'VelGridMatch_BeatPosAndWeightsAvrgVel'");
    EXPECT_EQ(r.state.Run("context:ClaveFindAvrgClave_SetParams({VelGridMatch_BeatPosAndWeightsIfEvPresentInBoth = "
                          "{{Weight = 1}}})"),
        "expected TGenBeatPos for key 'Pos' in table with key 'VelGridMatch_BeatPosAndWeightsIfEvPresentInBoth'");
    EXPECT_EQ(r.state.Run("context.ClaveFindAvrgClave_SetParams(5, {})"), "'LuaContext' expected");

    r.state.Ok("a = context:ClaveFindAvrgClave_SetParams({VelGridMatch_MatchGridLength = 0}) "
               "b = context:ClaveFindAvrgClave_SetParams({VelGridMatch_MatchWithin = -1}) "
               "c = context:ClaveFindAvrgClave_SetParams({Strategy = 3}) "
               "d = context:ClaveFindAvrgClave_SetParams({CreateClaveInRange = 2})");
    EXPECT_EQ(r.state.String("a"), "parameters are not sane: VelGridMatch_MatchGridLength must be > 0");
    EXPECT_EQ(r.state.String("b"), "parameters are not sane: VelGridMatch_MatchWithin must be > 0");
    EXPECT_EQ(r.state.String("c"), "parameters are not sane, avrgClave.SimilarBarssParams().ParamsAreSane() failed");
    EXPECT_EQ(r.state.String("d"), "parameters are not sane, avrgClave.SimilarBarssParams().ParamsAreSane() failed");
    // Rejected parameters are not taken: the analysis runs with the defaults.
    r.state.Ok("context:ClaveFindAvrgClave()");
    EXPECT_EQ(r.Table(), "1:1,3,4:0.60;2:2,5:0.40;");

    EXPECT_EQ(r.state.Run("context:ClaveFindAvrgClave(1)"), "ClaveFindAvrgClave: wrong number of arguments");
    // Without params nothing can be analysed.
    r.context.mParams = nullptr;
    EXPECT_EQ(r.state.Run("context:ClaveFindAvrgClave()"),
        "ClaveFindAvrgClave: luaContext->context->ExternParams() == nullptr");
}

TEST(LuaContextAvrgClave, ParametersBelongToTheContextObject)
{
    AvrgRegion r;
    r.state.Ok("context:ClaveFindAvrgClave_SetParams({SimilarityMatrix_SimilarIsAboveThresh = 0.9}) "
               "context:ClaveFindAvrgClave()");
    EXPECT_EQ(r.Table(), "1:1,3:0.40;2:2,5:0.40;4:4:0.20;");
    // A new run gets a new context object with the defaults and no result.
    zkgen::lua::SetGlobalContext(r.state.L, &r.context);
    EXPECT_EQ(r.Table(), "");
    r.state.Ok("context:ClaveFindAvrgClave()");
    EXPECT_EQ(r.Table(), "1:1,3,4:0.60;2:2,5:0.40;");
    // An empty song gives no events and an empty table.
    r.params.mEvsClave = CGenEvsClave(20.0f);
    r.params.mEvsSignTime.clear();
    r.state.Ok("e = context:ClaveFindAvrgClave()");
    EXPECT_TRUE(r.state.IsNil("e"));
    EXPECT_EQ(r.Table(), "");
}
