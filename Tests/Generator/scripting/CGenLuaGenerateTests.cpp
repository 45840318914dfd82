// Scripts in whole generations: the state per style, global scripts and
// their hooks, reloads, the sandbox's budget, and determinism.
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/stylegraph/CGenGFModuleLua.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphUtilities.h"
#include "Platform/ZKFileOps.h"
#include "TestSupport/TempDir.h"
#include "Generator/stylegraph/StyleGraphTestModules.h"
#include "Generator/scripting/LuaTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

int Uid(const char* path)
{
    const TInstTreeUid uid = GenDrumInstTreeV1().FindUidWithPath(path);
    EXPECT_NE(uid, TInstTreeUid_Undef) << path;
    return GenInstTreeUidToMB1(uid);
}

CGenPattern Bar(const std::string& name, float mark)
{
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(CGenEv(0.0f, 0.25f, st_NoteOn, Uid("Drums.Ki"), 100));
    evs.InsertAtBeatPos(CGenEv(2.0f, 0.25f, st_NoteOn, Uid("Drums.Sn"), 90));
    evs.InsertAtBeatPos(CGenEv(mark, 0.25f, st_NoteOn, Uid("Drums.Ki"), 70));
    return CGenPattern(name, evs);
}

// A drummer of three one-bar patterns whose accent graph runs a script
// module between provider and consumer.
struct ScriptedDrummer {
    CGenGenerator generator;
    CGenGFModuleLua* module = nullptr;

    explicit ScriptedDrummer(const std::string& moduleScript)
    {
        generator.CreateDefaultGenre();
        Graph().AddPattern(Bar("A", 1.0f));
        Graph().AddPattern(Bar("B", 1.5f));
        Graph().AddPattern(Bar("C", 3.0f));
        // A time-keeping layer without a script.
        CGenEvs hats(4.0f);
        for (int i = 0; i < 8; ++i)
            hats.InsertAtBeatPos(CGenEv(0.5f * i, 0.25f, st_NoteOn, Uid("Drums.Hh.note.hit.move.static.stroke.s3r"), 80));
        Lib().PatternGraph(TPatternGraphType_System).AddPattern(CGenPattern("H", hats));
        auto graph = std::make_unique<CGenGFModule>();
        auto* provider = zkgtest::AddModule<CGenGFModulePatternProbProvider>(*graph, "provider");
        module = zkgtest::AddModule<CGenGFModuleLua>(*graph, "script");
        auto* consumer = zkgtest::AddModule<CGenGFModulePatternProbConsumer>(*graph, "consumer");
        module->setLuaScript(moduleScript);
        EXPECT_NE(graph->createConnectionFromPortToPortForKey(*provider->outputPatterns, *module->inputPortAt(1)), nullptr);
        EXPECT_NE(graph->createConnectionFromPortToPortForKey(*module->outputPortAt(1), *consumer->inputPatterns), nullptr);
        Style().StyleGraphs().SetStyleGraphForKey(std::move(graph), kStyleGraphKey_AccentFam);
    }
    CGenInstLib& Lib() { return *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums); }
    CGenPatternGraphBoost& Graph() { return Lib().PatternGraph(TPatternGraphType_AccentFamily); }
    CGenStyle& Style() { return Lib().mStyles[0]; }
    void Include(const std::string& id, const std::string& script)
    {
        generator.GlobalLuaScriptsPool().setLuaScriptForIdentifier(script, id);
        Style().StyleGraphs().SetPropertyForKey(TGenDictValue(id), kCGenStyleGraphsProperty_IncludeScript);
    }
    lua_State* State()
    {
        const CGenLuaCacheEntry* e = generator.LuaCacheEntryForStyle(Style());
        return e ? e->mState : nullptr;
    }
    double Global(const char* name)
    {
        lua_getglobal(State(), name);
        const double v = lua_tonumber(State(), -1);
        lua_pop(State(), 1);
        return v;
    }
    std::vector<std::string> Run(TGenDict& memento, float bars = 4.0f, TPatternGraphType layer = TPatternGraphType_AccentFamily)
    {
        CGenGeneratorParams p(4.0f * bars, -1);
        p.mGenerateStartPosAbs = 0.0f;
        p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
        p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
        p.mDbgKeepEvsNamedsSeparate = true;
        CGenEvsNameds evs;
        generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, &memento, evs);
        std::vector<std::string> names;
        for (const CGenEvsNamed& el : evs)
            if (el.mRenderingPatternGraphType == layer)
                names.push_back(el.mName);
        return names;
    }
};

constexpr const char* kPassThrough = "outputs[1] = inputs[1]";

} // namespace

TEST(CGenLuaGenerate, HooksRunOnceEachAtTheirPlaces)
{
    ScriptedDrummer d(kPassThrough);
    d.Include("hooks", "loaded = (loaded or 0) + 1\n"
                       "function runOnCharacterLoad() charLoads = (charLoads or 0) + 1 end\n"
                       "function runOnGenerateBegin() begins = (begins or 0) + 1;"
                       " bar = context:GenerateBarRel() end");
    TGenDict memento;
    d.Run(memento);
    ASSERT_NE(d.State(), nullptr);
    EXPECT_EQ(d.Global("loaded"), 1.0);
    EXPECT_EQ(d.Global("charLoads"), 1.0);
    EXPECT_EQ(d.Global("begins"), 1.0);
    // The hook runs at the generate position 0: bar 1.
    EXPECT_EQ(d.Global("bar"), 1.0);
    const lua_State* first = d.State();
    d.Run(memento);
    // The state is kept: the script is not run again, the load hook neither.
    EXPECT_EQ(d.State(), first);
    EXPECT_EQ(d.Global("loaded"), 1.0);
    EXPECT_EQ(d.Global("charLoads"), 1.0);
    EXPECT_EQ(d.Global("begins"), 2.0);
    // A new text reloads: a new state, the script and both hooks again.
    const int64_t counter = d.generator.LuaCacheEntryForStyle(d.Style())->mChangeCounter;
    d.generator.GlobalLuaScriptsPool().setLuaScriptForIdentifier(
        d.generator.GlobalLuaScriptsPool().objectForIdentifier("hooks")->luaScript() + "\n-- changed", "hooks");
    d.Run(memento);
    EXPECT_EQ(d.generator.LuaCacheEntryForStyle(d.Style())->mChangeCounter, counter + 1);
    EXPECT_EQ(d.Global("loaded"), 1.0);
    EXPECT_EQ(d.Global("charLoads"), 1.0);
    EXPECT_EQ(d.Global("begins"), 1.0);
    // The module compiled again in the new state and still plays.
    EXPECT_EQ(d.module->luaScriptRuntimeErrorString(), "");
}

TEST(CGenLuaGenerate, StylesOfOneNameKeepStatesOfTheirOwn)
{
    ScriptedDrummer d(kPassThrough);
    TGenDict memento;
    d.Run(memento);
    const CGenLuaCacheEntry* first = d.generator.LuaCacheEntryForStyle(d.Style());
    ASSERT_NE(first, nullptr);
    // The same name with another unique ID is another style.
    CGenStyle twin = d.Style();
    twin.SetUniqueID(CGenStyle::CreateUniqueID());
    EXPECT_EQ(d.generator.LuaCacheEntryForStyle(twin), nullptr);
    // ClearLuaStateCache ends every state.
    d.generator.ClearLuaStateCache();
    EXPECT_EQ(d.generator.LuaCacheEntryForStyle(d.Style()), nullptr);
}

TEST(CGenLuaGenerate, ClearedCacheLeavesTheModuleWithoutItsFunction)
{
    ScriptedDrummer d(kPassThrough);
    TGenDict memento;
    EXPECT_EQ(d.Run(memento).size(), 4u);
    EXPECT_EQ(d.module->luaScriptRuntimeErrorString(), "");
    d.generator.ClearLuaStateCache();
    // No global script raises the counter, so the module does not compile:
    // it reports the missing function and the graph goes on without it.
    const std::vector<std::string> names = d.Run(memento);
    EXPECT_TRUE(d.module->luaScriptRuntimeErrorString().ends_with("luaFunctionName not found"))
        << d.module->luaScriptRuntimeErrorString();
}

TEST(CGenLuaGenerate, FailingHooks)
{
    // A failing load hook stops the generation: nothing is played.
    ScriptedDrummer d(kPassThrough);
    d.Include("bad", "function runOnCharacterLoad() error('no kit') end");
    TGenDict memento;
    ZKLogCapture log;
    EXPECT_TRUE(d.Run(memento).empty());

    // A failing begin hook or global script is logged; the drummer plays.
    ScriptedDrummer e(kPassThrough);
    e.Include("bad", "x = = 1\nfunction runOnGenerateBegin() error('late') end");
    EXPECT_EQ(e.Run(memento).size(), 4u);
}

TEST(CGenLuaGenerate, SandboxEndsEndlessLoopsAndTheDrummerPlays)
{
    ScriptedDrummer d("while true do end");
    zkgen::lua::TScriptSandbox sandbox;
    sandbox.mEnabled = true;
    sandbox.mInstructionBudget = 200'000;
    d.generator.SetScriptSandbox(sandbox);
    TGenDict memento;
    const std::vector<std::string> hats = d.Run(memento, 4.0f, TPatternGraphType_System);
    EXPECT_NE(d.module->luaScriptRuntimeErrorString().find(zkgen::lua::kBudgetExhaustedText), std::string::npos)
        << d.module->luaScriptRuntimeErrorString();
    // The layer of the broken script stays silent (its outputs are empty);
    // the generation goes on and the other layers play.
    EXPECT_TRUE(d.Run(memento).empty());
    EXPECT_EQ(hats, (std::vector<std::string> {"H", "H", "H", "H"}));
}

TEST(CGenLuaGenerate, ScriptRandomNumbersFollowTheSeed)
{
    // The script keeps one of the candidates by math.random: the same
    // memento gives the same choice, bar by bar.
    const char* script = "local l = inputs[1]\n"
                         "local keep = math.random(l:Size())\n"
                         "for i, p in l:Iterator() do if i ~= keep then p:SetProb(0) end end\n"
                         "outputs[1] = l";
    ScriptedDrummer a(script);
    ScriptedDrummer b(script);
    for (ScriptedDrummer* d : {&a, &b}) {
        zkgen::lua::TScriptSandbox sandbox;
        sandbox.mEnabled = true;
        d->generator.SetScriptSandbox(sandbox);
    }
    TGenDict memento;
    a.Run(memento); // seeds the memento
    TGenDict copy = memento;
    const std::vector<std::string> first = a.Run(memento, 8.0f);
    const std::vector<std::string> second = b.Run(copy, 8.0f);
    EXPECT_EQ(first.size(), 8u);
    EXPECT_EQ(first, second);
    EXPECT_EQ(a.module->luaScriptRuntimeErrorString(), "");
}

TEST(CGenLuaGenerate, ScriptsAreWrittenOutForReading)
{
    ScriptedDrummer d(kPassThrough);
    d.Include("hooks", "function runOnGenerateBegin() end");
    zkgtest::TempDir dir("zkgen_lua_out");
    const CGenStyleGraphUtilities utilities(&d.generator);
    std::string error;
    ASSERT_TRUE(utilities.writeLuaScriptsToURL((dir.Path() / "out").string(), &error)) << error;
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.Path() / "out"))
        if (entry.is_regular_file())
            files.push_back(std::filesystem::relative(entry.path(), dir.Path() / "out").string());
    std::sort(files.begin(), files.end());
    // The module's file: style identifier, graph key, path from the root.
    const std::string moduleFile =
        d.Style().Identifier() + " - " + kStyleGraphKey_AccentFam + " - CGenGFModule > script.txt";
    EXPECT_EQ(files, (std::vector<std::string> {moduleFile, "_GlobalLuaScripts/hooks.txt"}));
    const auto text = ZKFileRead(dir.Path() / "out" / moduleFile);
    ASSERT_TRUE(text);
    EXPECT_EQ(std::string(text->begin(), text->end()), kPassThrough);
    // findModule finds it; resetLuaSripts marks it for compilation, and the
    // next generation runs it.
    EXPECT_EQ(utilities.findModule([](const CGenStyle&, const std::string&, const CGenGFModule& m) {
        return dynamic_cast<const CGenGFModuleLua*>(&m) != nullptr;
    }),
        d.module);
    utilities.resetLuaSripts();
    TGenDict memento;
    EXPECT_EQ(d.Run(memento).size(), 4u);
    EXPECT_EQ(d.module->luaScriptRuntimeErrorString(), "");
}
