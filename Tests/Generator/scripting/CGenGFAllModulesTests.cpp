// A style that holds one module of every registered class: its file reads
// back to the same bytes, and its graph runs over candidates.
#include "Generator/CGenContext.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModuleLua.h"
#include "Generator/stylegraph/CGenGFNodeManager.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphRun.h"
#include "Platform/ZKCompression.h"

#include <gtest/gtest.h>

namespace {

// One module of each class, keyed by its class name, under a root graph;
// the provider feeds a chain of the pattern modules that ends in the consumer.
std::unique_ptr<CGenGFModule> EveryClassGraph(std::vector<std::string>& classes)
{
    auto root = std::make_unique<CGenGFModule>();
    const CGenGFNodeManager& manager = CGenGFNodeManager::setupDefaultNodeManager();
    for (const ZKGFNodeClassDescription* d : manager.nodeClasses()) {
        std::unique_ptr<ZKGFNode> node = d->CreateNode();
        auto* module = dynamic_cast<CGenGFModule*>(node.get());
        if (!module)
            continue;
        node.release();
        classes.push_back(d->Name());
        if (auto* lua = dynamic_cast<CGenGFModuleLua*>(module))
            lua->setLuaScript("outputs[1] = inputs[1]");
        EXPECT_NE(root->addSubpatch(std::unique_ptr<CGenGFModule>(module), d->Name()), nullptr) << d->Name();
    }
    auto* provider = static_cast<CGenGFModulePatternProbProvider*>(root->subpatchForKey("CGenGFModulePatternProbProvider"));
    auto* lua = static_cast<CGenGFModuleLua*>(root->subpatchForKey("CGenGFModuleLua"));
    auto* consumer = static_cast<CGenGFModulePatternProbConsumer*>(root->subpatchForKey("CGenGFModulePatternProbConsumer"));
    if (provider && lua && consumer) {
        EXPECT_NE(root->createConnectionFromPortToPortForKey(*provider->outputPatterns, *lua->inputPortAt(1)), nullptr);
        EXPECT_NE(root->createConnectionFromPortToPortForKey(*lua->outputPortAt(1), *consumer->inputPatterns), nullptr);
    }
    return root;
}

} // namespace

TEST(CGenGFAllModules, AStyleOfEveryClassRoundTripsAndRuns)
{
    std::vector<std::string> classes;
    CGenStyle style("Every class");
    style.StyleGraphs().SetStyleGraphForKey(EveryClassGraph(classes), kStyleGraphKey_System);
    // Every class of the registry but the root's own.
    EXPECT_EQ(classes.size(), CGenGFNodeManager::setupDefaultNodeManager().nodeClasses().size());
    EXPECT_EQ(classes.back(), "CGenGFModule2DMatrix");

    const auto bytes = style.StyleGraphs().EncodeToKeyedArchive();
    ASSERT_TRUE(bytes);
    CGenStyleGraphs read;
    std::string error;
    ASSERT_TRUE(read.DecodeFromFileData(*zkCompressedDataWithCompressionLevel(*bytes, -1), &error)) << error;
    const auto again = read.EncodeToKeyedArchive();
    ASSERT_TRUE(again);
    EXPECT_TRUE(*again == *bytes);

    // The read graph runs: candidates go through the script to the consumer.
    CGenStyle runStyle("Every class");
    runStyle.StyleGraphs() = read;
    CGenPatternGraphBoost graph(TPatternGraphType_System);
    graph.AddPattern(CGenPattern("a", CGenEvs(4.0f)));
    graph.AddPattern(CGenPattern("b", CGenEvs(4.0f)));
    zkgen::lua::TScriptSandbox sandbox;
    lua_State* L = zkgen::lua::NewScriptState(sandbox);
    CGenContext context;
    context.mStyle = &runStyle;
    context.mPatternGraph = &graph;
    context.mLuaState = L;
    CGenPatternModAndProbs list;
    list.emplace_back(&graph, 0, 50.0f, 0.0f);
    list.emplace_back(&graph, 1, 50.0f, 0.0f);
    {
        CGenStyleGraphRun run(context, TPatternGraphType_System);
        run.ApplyStyleGraphToPatterns(list, 0.0f);
    }
    EXPECT_EQ(list.size(), 2u);
    zkgen::lua::CloseScriptState(L);
}
