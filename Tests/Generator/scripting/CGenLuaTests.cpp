// The script runtime: the constant tables, compiling and calling with their
// error texts, the sandbox, and the pool of global scripts.
#include "Generator/scripting/CGenGlobalLuaScriptsPool.h"
#include "Generator/scripting/CGenLua.h"
#include "Platform/ZKCompression.h"
#include "Platform/ZKUserDefaults.h"
#include "TestSupport/TempDir.h"
#include "Generator/scripting/LuaTestSupport.h"

#include <gtest/gtest.h>

using zkgen::test::LuaTestState;

namespace {

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(CGenLuaConstants, TablesAreComposedAsReadOnlyChunks)
{
    // 24 tables, in this order at both ends.
    const auto& tables = CGenLua::LuaEnums::enumEntries();
    ASSERT_EQ(tables.size(), 24u);
    EXPECT_EQ(tables.front().mName, "TSTDefaultOrTarget");
    EXPECT_EQ(tables.back().mName, "TQuantize");
    // The composed text of the smallest table, piece by piece.
    EXPECT_EQ(CGenLua::LuaEnums::ChunkForTable(tables[13]),
        "TComplInt = setmetatable({}, {__index = {Undef={value=-3.402823e+38,type=\"TComplInt\"},},"
        "__newindex = function(table, key, value) error(\"Attempt to modify read-only table\") end,"
        "__metatable = false});");
}

TEST(CGenLuaConstants, ValuesAsScriptsSeeThem)
{
    LuaTestState s;
    s.Ok("a = TQuantize.Closest.value; b = TQuantize.Closest.type; c = TBeatPos.Unit.value;"
         "d = TBeatPos.Undef.value; e = TRootRelation.Scale.value; f = TAbstractDegree.B1.value;"
         "g = CGenPatternPropertiesKeys.OverlayRangePercLength.value; h = TStepsType.AbstractScaleSet9.value");
    EXPECT_EQ(s.Number("a"), 5.0);
    EXPECT_EQ(s.String("b"), "TQuantize");
    // Six decimals in scientific notation: 1/3840 = 2.6041666e-4 -> 2.604167e-04.
    EXPECT_EQ(s.Number("c"), 2.604167e-04);
    // Not the exact undefined float (-3.4028235e38): the digits are lost.
    EXPECT_EQ(s.Number("d"), -3.402823e+38);
    EXPECT_EQ(s.Number("e"), 3.0);
    EXPECT_EQ(s.Number("f"), 0.0);
    EXPECT_EQ(s.String("g"), "FlOvPeLn");
    // AbstractScaleSet0 is 2, so set 9 is 11.
    EXPECT_EQ(s.Number("h"), 11.0);
}

TEST(CGenLuaConstants, RefuseWritesAndHideTheirMetatable)
{
    LuaTestState s;
    EXPECT_TRUE(Contains(s.Run("TQuantize.Closest = 1"), "Attempt to modify read-only table"));
    EXPECT_TRUE(Contains(s.Run("TKeyNr.NewEntry = 1"), "Attempt to modify read-only table"));
    s.Ok("m = getmetatable(TQuantize)");
    EXPECT_FALSE(s.Bool("m"));
    EXPECT_FALSE(s.IsNil("m"));
}

TEST(CGenLuaCalls, CompileAndCallReportTheirFailures)
{
    std::string err;
    EXPECT_TRUE(CGenLua::checkLuaString("x = 1", &err));
    EXPECT_FALSE(CGenLua::checkLuaString("x = = 1", &err));
    EXPECT_TRUE(Contains(err, "unexpected symbol near '='")) << err;
    EXPECT_FALSE(CGenLua::loadLuaString(nullptr, "x = 1", &err));
    EXPECT_EQ(err, "invalid lua state");
    EXPECT_FALSE(CGenLua::doLuaFunction(nullptr, "f", true, &err));
    EXPECT_EQ(err, "invalid lua state");

    LuaTestState s;
    EXPECT_FALSE(CGenLua::doLuaFunction(s.L, "", true, &err));
    EXPECT_EQ(err, "invalid luaFunctionName");
    EXPECT_FALSE(CGenLua::doLuaFunction(s.L, "missing", false, &err));
    EXPECT_EQ(err, "luaFunctionName not found");
    EXPECT_TRUE(CGenLua::doLuaFunction(s.L, "missing", true, &err));
    // The stack is as it was after each call.
    EXPECT_EQ(lua_gettop(s.L), 0);

    // A text error gets a traceback; a table without __tostring the fixed
    // text; one with __tostring its text; nil none at all.
    s.Ok("function textError() error('boom', 0) end "
         "function tableError() error({}) end "
         "function namedError() error(setmetatable({}, {__tostring = function() return 'named' end})) end "
         "function nilError() error(nil) end");
    EXPECT_FALSE(CGenLua::doLuaFunction(s.L, "textError", false, &err));
    EXPECT_TRUE(err.starts_with("boom\nstack traceback:")) << err;
    EXPECT_FALSE(CGenLua::doLuaFunction(s.L, "tableError", false, &err));
    EXPECT_EQ(err, "(no error message)");
    EXPECT_FALSE(CGenLua::doLuaFunction(s.L, "namedError", false, &err));
    EXPECT_EQ(err, "named");
    EXPECT_FALSE(CGenLua::doLuaFunction(s.L, "nilError", false, &err));
    EXPECT_EQ(err, "no error string available");
    EXPECT_EQ(lua_gettop(s.L), 0);
}

TEST(CGenLuaCalls, PreProcessBlockSeesEveryText)
{
    CGenLua::SetLuaStringPreProcessBlock([](const std::string& text) { return "y = 7\n" + text; });
    {
        LuaTestState s;
        s.Ok("x = y + 1");
        EXPECT_EQ(s.Number("x"), 8.0);
    }
    CGenLua::SetLuaStringPreProcessBlock({});
    EXPECT_FALSE(CGenLua::GetLuaStringPreProcessBlock());
}

TEST(CGenLuaCalls, PrecompiledChunksAreRefused)
{
    LuaTestState s;
    s.Ok("code = string.dump(function() return 1 end)");
    const std::string code = s.String("code");
    std::string err;
    EXPECT_FALSE(CGenLua::doLuaString(s.L, code, &err));
    EXPECT_TRUE(Contains(err, "attempt to load a binary chunk")) << err;
}

TEST(CGenLuaSandbox, FilesProcessesAndModulesAreGone)
{
    LuaTestState open(false);
    open.Ok("a = type(os.execute); b = type(io); c = type(require)");
    EXPECT_EQ(open.String("a"), "function");
    EXPECT_EQ(open.String("b"), "table");

    LuaTestState s(true);
    s.Ok("a = type(os.execute); b = type(io); c = type(require); d = type(dofile); e = type(loadfile);"
         "f = type(package); g = type(debug); h = type(os.getenv); i = type(os.time); j = type(string.format)");
    for (const char* name : {"a", "b", "c", "d", "e", "f", "g", "h"})
        EXPECT_EQ(s.String(name), "nil") << name;
    EXPECT_EQ(s.String("i"), "function");
    EXPECT_EQ(s.String("j"), "function");
    EXPECT_TRUE(Contains(s.Run("io.open('/etc/passwd')"), "attempt to index global 'io'"));
    // load takes text only.
    s.Ok("ok1 = load('return 3')(); f, err = load(string.dump(function() end))");
    EXPECT_EQ(s.Number("ok1"), 3.0);
    EXPECT_TRUE(s.IsNil("f"));
    EXPECT_TRUE(Contains(s.String("err"), "attempt to load a binary chunk"));
}

TEST(CGenLuaSandbox, EndlessLoopsEndWithinTheBudget)
{
    LuaTestState s(true, 100'000);
    EXPECT_EQ(s.Run("while true do end"), zkgen::lua::kBudgetExhaustedText);
    // pcall, xpcall and coroutines can't swallow it.
    EXPECT_TRUE(Contains(s.Run("while true do pcall(function() while true do end end) end"),
        zkgen::lua::kBudgetExhaustedText));
    EXPECT_TRUE(Contains(s.Run("xpcall(function() while true do end end, function(e) return e end) x = 1"),
        zkgen::lua::kBudgetExhaustedText));
    EXPECT_TRUE(s.IsNil("x"));
    EXPECT_TRUE(Contains(s.Run("local co = coroutine.create(function() while true do end end) "
                               "while true do coroutine.resume(co) end"),
        zkgen::lua::kBudgetExhaustedText));
    // Each call has a budget of its own: the next call runs.
    s.Ok("y = 0 for i = 1, 1000 do y = y + i end");
    EXPECT_EQ(s.Number("y"), 500500.0);
    // Without the sandbox there is no budget.
    LuaTestState open(false);
    open.Ok("z = 0 for i = 1, 200000 do z = z + 1 end");
    EXPECT_EQ(open.Number("z"), 200000.0);
}

TEST(CGenLuaSandbox, MemoryIsBounded)
{
    LuaTestState s(true, 50'000'000, size_t(16) << 20);
    const std::string err = s.Run("local t = {} for i = 1, 1e9 do t[i] = string.rep('x', 1e6) .. i end");
    EXPECT_TRUE(Contains(err, "not enough memory")) << err;
    s.Ok("ok = 1");
}

TEST(CGenLuaSandbox, RandomNumbersComeFromTheEngineGenerator)
{
    // Without a context the state's own generator, seeded with 1:
    // s1 = (1 * 1103515245 + 12345) & 0x7fffffff = 1103527590,
    // u = 1103527590 / 2^31 = 0.51387..., floor(0.51387 * 6) + 1 = 4.
    LuaTestState s(true);
    s.Ok("a = math.random(6)");
    EXPECT_EQ(s.Number("a"), 4.0);
    // After randomseed(1) the same draw comes again; a float lies in [0, 1).
    s.Ok("math.randomseed(1) b = math.random(6) c = math.random() d = math.random(10, 12)");
    EXPECT_EQ(s.Number("b"), 4.0);
    EXPECT_GE(s.Number("c"), 0.0);
    EXPECT_LT(s.Number("c"), 1.0);
    EXPECT_GE(s.Number("d"), 10.0);
    EXPECT_LE(s.Number("d"), 12.0);
    // Two states give the same numbers.
    LuaTestState t(true);
    t.Ok("a = math.random(6)");
    EXPECT_EQ(t.Number("a"), 4.0);
    EXPECT_TRUE(Contains(s.Run("math.random(0)"), "interval is empty"));
}

TEST(CGenLuaSandbox, PairsVisitsKeysInAFixedOrder)
{
    LuaTestState s(true);
    s.Ok("local t = {zeta = 1, alpha = 2, [3] = 3, [1] = 4, mid = 5, [true] = 6, [false] = 7} "
         "out = '' for k, v in pairs(t) do out = out .. tostring(k) .. '=' .. v .. ' ' end");
    EXPECT_EQ(s.String("out"), "1=4 3=3 alpha=2 mid=5 zeta=1 false=7 true=6 ");
    // __pairs is honoured.
    s.Ok("local t = setmetatable({}, {__pairs = function(t) return function(_, k) if not k then return 1, 'x' end end, t, nil end}) "
         "seen = '' for k, v in pairs(t) do seen = seen .. k .. v end");
    EXPECT_EQ(s.String("seen"), "1x");
}

TEST(CGenLuaSandbox, PrintGoesToTheDebugLog)
{
    ZKUserDefaultsSetOverride("FeatureAvailable_TolvarContent", "1");
    CGenLua::luaLogResetForTesting();
    ZKLogCapture log;
    LuaTestState s(true);
    s.Ok("print('hello', 3, nil)");
    bool found = false;
    for (const ZKLogRecord& r : log.Records())
        found = found || (r.mCategory == ZKLogCategory_LuaDebugPrint && r.mText == "hello\t3\tnil");
    EXPECT_TRUE(found);
    ZKUserDefaultsRemoveOverride("FeatureAvailable_TolvarContent");
    CGenLua::luaLogResetForTesting();
}

TEST(CGenGlobalLuaScript, ChangeCountsAndArchive)
{
    CGenGlobalLuaScript script;
    EXPECT_EQ(script.changeCount(), 1);
    script.setLuaScript("a = 1");
    EXPECT_EQ(script.changeCount(), 2);
    script.setLuaScript("a = 1");
    EXPECT_EQ(script.changeCount(), 2);
    script.setLuaScript("a = 2");
    EXPECT_EQ(script.changeCount(), 3);

    // Only the text is archived: a script read afresh counts 2.
    const TGenData bytes = zkgen::TGlobalLuaScriptsPoolCodec::Encode(script);
    CGenGlobalLuaScript read;
    ASSERT_TRUE(zkgen::TGlobalLuaScriptsPoolCodec::Decode(bytes, read));
    EXPECT_EQ(read.luaScript(), "a = 2");
    EXPECT_EQ(read.changeCount(), 2);
    // An empty script too.
    CGenGlobalLuaScript empty;
    ASSERT_TRUE(zkgen::TGlobalLuaScriptsPoolCodec::Decode(zkgen::TGlobalLuaScriptsPoolCodec::Encode(empty), read));
    EXPECT_EQ(read.luaScript(), "");
    EXPECT_EQ(read.changeCount(), 2);
    // Plain text reads as the script; bytes with a zero are refused.
    const std::string text = "function f() end";
    ASSERT_TRUE(zkgen::TGlobalLuaScriptsPoolCodec::Decode(TGenData(text.begin(), text.end()), read));
    EXPECT_EQ(read.luaScript(), text);
    EXPECT_FALSE(zkgen::TGlobalLuaScriptsPoolCodec::Decode(TGenData {'a', 0, 'b'}, read));
}

TEST(CGenGlobalLuaScriptsPool, FilesPreferCompressedAndSavesWriteThem)
{
    zkgtest::TempDir dir("zkgen_scripts_pool");
    CGeneratorLibraryBundleLocations places(dir.Path());
    const TGenUrl folder = places.GlobalLuaScriptsPoolFolderURL();
    ASSERT_TRUE(ZKFileCreateDirectory(folder));
    auto write = [&](const std::string& name, const std::string& source, bool compressed) {
        const TGenData plain = zkgen::TGlobalLuaScriptsPoolCodec::Encode(CGenGlobalLuaScript(source));
        const TGenData bytes = compressed ? *zkCompressedDataWithCompressionLevel(plain, -1) : plain;
        ASSERT_TRUE(ZKFileWriteAtomically(folder / name, bytes));
    };
    write("both.gls", "raw = 1", false);
    write("both.glsz", "packed = 1", true);
    write("helpers.gls", "helpers = 1", false);
    ASSERT_TRUE(ZKFileWriteAtomically(folder / "notes.txt", TGenData {'x'}));

    CGenGlobalLuaScriptsPool pool(&places);
    EXPECT_FALSE(pool.hasReadFilesFromDisc());
    EXPECT_EQ(pool.identifiers(), (std::vector<std::string> {"both", "helpers"}));
    EXPECT_TRUE(pool.hasReadFilesFromDisc());
    EXPECT_EQ(pool.objectForIdentifier("both")->luaScript(), "packed = 1");
    EXPECT_EQ(pool.objectForIdentifier("unknown"), nullptr);
    EXPECT_EQ(CGenGlobalLuaScriptsPool::fileTypeForURL("x/a.gls"), 1);
    EXPECT_EQ(CGenGlobalLuaScriptsPool::fileTypeForURL("x/a.glsz"), 2);
    EXPECT_EQ(CGenGlobalLuaScriptsPool::fileTypeForURL("x/a.lua"), 0);

    // A new text raises the count of the cached script; a save writes glsz
    // and drops the raw file of a saved script.
    ASSERT_TRUE(pool.setLuaScriptForIdentifier("helpers = 2", "helpers"));
    EXPECT_EQ(pool.objectForIdentifier("helpers")->changeCount(), 3);
    pool.removeObjectForIdentifier("both");
    ASSERT_TRUE(pool.saveToDisc());
    EXPECT_TRUE(ZKFileExists(folder / "helpers.glsz"));
    EXPECT_FALSE(ZKFileExists(folder / "helpers.gls"));
    EXPECT_FALSE(ZKFileExists(folder / "both.glsz"));
    EXPECT_FALSE(ZKFileExists(folder / "both.gls"));

    pool.purge();
    EXPECT_FALSE(pool.hasReadFilesFromDisc());
    EXPECT_EQ(pool.identifiers(), (std::vector<std::string> {"helpers"}));
    EXPECT_EQ(pool.objectForIdentifier("helpers")->luaScript(), "helpers = 2");
    EXPECT_FALSE(pool.setObjectForIdentifier(std::make_shared<CGenGlobalLuaScript>(), "a/b"));
}
