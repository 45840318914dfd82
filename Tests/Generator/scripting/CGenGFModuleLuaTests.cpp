// The script module: its ports, its state, a run's inputs and outputs, the
// failures, and its life across script states.
#include "Generator/CGenContext.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/stylegraph/CGenGFModuleLua.h"
#include "Generator/stylegraph/CGenGFNodeManager.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"
#include "Generator/scripting/LuaTestSupport.h"

#include <gtest/gtest.h>

using zkgen::test::LuaTestState;

namespace {

// A module with a state to run in, outside of any graph.
struct ModuleRun {
    LuaTestState state;
    CGenContext context;
    CGenGFContext gf = CGenGFContext::contextWithGenContext(&context);
    CGenGFModuleLua module;

    explicit ModuleRun(const std::string& script, size_t inputs = 1, size_t outputs = 1)
    {
        context.mLuaState = state.L;
        module.setInputCount(static_cast<int64_t>(inputs));
        module.setOutputCount(static_cast<int64_t>(outputs));
        module.setLuaScript(script);
    }
    bool Run() { return module.executeArguments(gf, nullptr); }
    void SetInput(size_t n, const ZKGFValue& v) { module.inputPortAt(n)->setRawValue(v); }
    ZKGFValue Output(size_t n) const { return module.outputPortAt(n)->rawValue(); }
};

CGenPatternModAndProbs TwoPatterns()
{
    CGenPatternModAndProbs list;
    list.emplace_back(CGenPattern("one", CGenEvs(4.0f)), 50.0f);
    list.emplace_back(CGenPattern("two", CGenEvs(4.0f)), 70.0f);
    return list;
}

} // namespace

TEST(CGenGFModuleLua, PortsAreVirtualNumberedAndClamped)
{
    CGenGFModuleLua m;
    // Made with one of each.
    EXPECT_EQ(m.inputCount(), 1u);
    EXPECT_EQ(m.outputCount(), 1u);
    EXPECT_NE(m.inputGFPortForKey("source_1"), nullptr);
    EXPECT_NE(m.outputGFPortForKey("destination_1"), nullptr);
    EXPECT_EQ(m.inputPortAt(1)->valueClass(), TGenGFValueClass::Object);
    m.setInputCount(0);
    EXPECT_EQ(m.inputCount(), 1u);
    m.setInputCount(100);
    EXPECT_EQ(m.inputCount(), 64u);
    EXPECT_NE(m.inputGFPortForKey("source_64"), nullptr);
    m.setOutputCount(3);
    EXPECT_EQ(m.outputCount(), 3u);
    m.setOutputCount(2);
    EXPECT_EQ(m.outputGFPortForKey("destination_3"), nullptr);
    // The function names differ from module to module: "A" and 32 hex digits.
    CGenGFModuleLua other;
    EXPECT_EQ(m.uniqueID().size(), 33u);
    EXPECT_EQ(m.uniqueID()[0], 'A');
    EXPECT_NE(m.uniqueID(), other.uniqueID());
    EXPECT_EQ(m.uniqueID().find('-'), std::string::npos);
}

TEST(CGenGFModuleLua, StateKeepsScriptAndCounts)
{
    const CGenGFClassDescription& d = CGenGFModuleLua::ClassDescription();
    EXPECT_EQ(d.serializedStateKeyNames(), (std::vector<std::string> {"luaScript", "inputCount", "outputCount"}));
    CGenGFModuleLua m;
    m.setLuaScript("outputs[1] = inputs[1]");
    m.setInputCount(3);
    m.setOutputCount(2);
    const TGenDict state = m.state();
    CGenGFModuleLua copy;
    std::string error;
    ASSERT_TRUE(copy.setState(state, &error)) << error;
    EXPECT_EQ(copy.luaScript(), "outputs[1] = inputs[1]");
    EXPECT_EQ(copy.inputCount(), 3u);
    EXPECT_EQ(copy.outputCount(), 2u);
    EXPECT_TRUE(copy.luaScriptIsValid());
    // The module class stands after the fill module in the registry.
    const auto& manager = CGenGFNodeManager::setupDefaultNodeManager();
    ASSERT_NE(manager.classDescriptionForClass("CGenGFModuleLua"), nullptr);
}

TEST(CGenGFModuleLua, OutputsTakeWhatTheScriptLeaves)
{
    ModuleRun r("outputs[1] = true; outputs[2] = false; outputs[3] = {}; outputs[4] = inputs[1] * 2;"
                "outputs[5] = 'text'; outputs[6] = inputs[2]",
        2, 7);
    r.SetInput(1, ZKGFValue::Double(21.0));
    r.SetInput(2, ZKGFValue::String("abc"));
    ASSERT_TRUE(r.Run());
    EXPECT_EQ(r.module.luaScriptRuntimeErrorString(), "");
    EXPECT_EQ(r.Output(1).DoubleValue(), 1.0);
    EXPECT_EQ(r.Output(2).DoubleValue(), 0.0);
    EXPECT_TRUE(r.Output(3).IsNothing());
    EXPECT_EQ(r.Output(4).DoubleValue(), 42.0);
    EXPECT_EQ(r.Output(5).StringValue(), "text");
    EXPECT_EQ(r.Output(6).StringValue(), "abc");
    // Nothing set: nothing on the port.
    EXPECT_TRUE(r.Output(7).IsNothing());
    // The globals of a run: the context is gone afterwards.
    EXPECT_TRUE(r.state.IsNil("context"));
}

TEST(CGenGFModuleLua, PatternListsTravelAsCopies)
{
    ModuleRun r("local l = inputs[1]; l:Get(1):SetProb(0); outputs[1] = l; outputs[2] = l:Size()", 1, 2);
    const ZKGFValue in = CGenGFPatternAndProbsObject::ValueWithList(TwoPatterns());
    r.SetInput(1, in);
    ASSERT_TRUE(r.Run());
    ASSERT_EQ(r.module.luaScriptRuntimeErrorString(), "");
    auto* out = r.Output(1).ObjectAs<CGenGFPatternAndProbsObject>();
    ASSERT_NE(out, nullptr);
    ASSERT_EQ(out->Holder()->data().size(), 2u);
    EXPECT_EQ(out->Holder()->data()[0].mProb, 0.0f);
    EXPECT_EQ(r.Output(2).DoubleValue(), 2.0);
    // The list upstream is untouched.
    EXPECT_EQ(in.ObjectAs<CGenGFPatternAndProbsObject>()->Holder()->data()[0].mProb, 50.0f);
}

TEST(CGenGFModuleLua, BrokenScriptsAreWiresAndFailuresAreReported)
{
    // Does not compile: the first input passes.
    ModuleRun bad("outputs[1] = = 2");
    EXPECT_FALSE(bad.module.luaScriptIsValid());
    EXPECT_NE(bad.module.luaScriptErrorString().find("unexpected symbol near '='"), std::string::npos);
    bad.SetInput(1, ZKGFValue::Double(5.0));
    ASSERT_TRUE(bad.Run());
    EXPECT_EQ(bad.Output(1).DoubleValue(), 5.0);

    // An empty script stays invalid and keeps its old error text.
    bad.module.setLuaScript("");
    EXPECT_FALSE(bad.module.luaScriptIsValid());
    EXPECT_NE(bad.module.luaScriptErrorString(), "");

    // A run-time error: the text, outputs as they stood, and the run goes on.
    ModuleRun failing("outputs[1] = 1; error('the snare is missing', 0)");
    ASSERT_TRUE(failing.Run());
    EXPECT_TRUE(failing.module.luaScriptRuntimeErrorString().starts_with(
        "Lua Script ''No Name'' had this error:\n the snare is missing"))
        << failing.module.luaScriptRuntimeErrorString();
    EXPECT_TRUE(failing.Output(1).IsNothing());
    // A compiled body allows return and keeps locals to one run.
    ModuleRun early("local n = (count or 0) + 1; count = n; outputs[1] = n; if n > 0 then return end; outputs[1] = -1");
    ASSERT_TRUE(early.Run());
    ASSERT_TRUE(early.Run());
    EXPECT_EQ(early.Output(1).DoubleValue(), 2.0);
}

TEST(CGenGFModuleLua, ANewStateWithoutReloadLosesTheFunction)
{
    ModuleRun r("outputs[1] = 7");
    ASSERT_TRUE(r.Run());
    EXPECT_EQ(r.Output(1).DoubleValue(), 7.0);
    // A cleared cache gives a new state whose counter starts at 0 again:
    // the module does not compile, and says so.
    LuaTestState fresh;
    r.context.mLuaState = fresh.L;
    r.context.mGlobalScriptChangeCount = 0;
    ASSERT_TRUE(r.Run());
    EXPECT_TRUE(r.module.luaScriptRuntimeErrorString().ends_with("luaFunctionName not found"))
        << r.module.luaScriptRuntimeErrorString();
    // The outputs stand as they were (no set-up between these runs).
    EXPECT_EQ(r.Output(1).DoubleValue(), 7.0);
    // A raised counter (a reload) compiles again.
    r.context.mGlobalScriptChangeCount = 1;
    ASSERT_TRUE(r.Run());
    EXPECT_EQ(r.module.luaScriptRuntimeErrorString(), "");
    EXPECT_EQ(r.Output(1).DoubleValue(), 7.0);
    // Without a state the run is refused.
    r.context.mLuaState = nullptr;
    EXPECT_FALSE(r.Run());
}
