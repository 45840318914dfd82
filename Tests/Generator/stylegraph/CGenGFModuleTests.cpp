#include "Generator/CGenContext.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Platform/ZKLog.h"
#include "StyleGraphTestModules.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace zkgtest;

namespace {

// The exception text of `f`, or "" when it throws none.
template <class F>
std::string ExceptionText(F&& f)
{
    try {
        f();
    } catch (const ZKGFException& e) {
        return e.what();
    }
    return {};
}

// source -> doubler -> sink inside one root.
struct Chain {
    CGenGFModule root;
    TestSource* source = AddModule<TestSource>(root, "source");
    TestDoubler* doubler = AddModule<TestDoubler>(root, "doubler");
    TestSink* sink = AddModule<TestSink>(root, "sink");
    CGenContext genContext;
    CGenGFContext context = CGenGFContext::contextWithGenContext(&genContext);

    Chain()
    {
        root.createConnectionFromPortToPortForKey(*source->outputValue, *doubler->inputValue);
        root.createConnectionFromPortToPortForKey(*doubler->outputValue, *sink->inputValue);
    }
};

} // namespace

TEST(CGenGFModuleMode, InferredFromSubModules)
{
    CGenGFModule empty;
    EXPECT_EQ(empty.executionMode(), TGenGFExecutionMode_Processor);

    CGenGFModule onlyProvider;
    AddModule<TestSource>(onlyProvider, "s");
    EXPECT_EQ(onlyProvider.executionMode(), TGenGFExecutionMode_Provider);

    // A consumer wins at once, wherever it stands.
    CGenGFModule mixed;
    AddModule<TestSource>(mixed, "s");
    AddModule<TestSink>(mixed, "c");
    EXPECT_EQ(mixed.executionMode(), TGenGFExecutionMode_Consumer);

    // Nested: the inner container turns consumer, and so does the outer one.
    CGenGFModule outer;
    auto* inner = AddModule<CGenGFModule>(outer, "inner");
    EXPECT_EQ(outer.executionMode(), TGenGFExecutionMode_Processor);
    AddModule<TestSink>(*inner, "sink");
    EXPECT_EQ(inner->executionMode(), TGenGFExecutionMode_Consumer);
    EXPECT_EQ(outer.executionMode(), TGenGFExecutionMode_Consumer);
    inner->removeSubpatch(inner->subpatchForKey("sink"));
    EXPECT_EQ(inner->executionMode(), TGenGFExecutionMode_Processor);
    EXPECT_EQ(outer.executionMode(), TGenGFExecutionMode_Processor);

    // Mode 4: a consumer does not count, a provider does.
    TestNeverConsumer never;
    AddModule<TestSink>(never, "c");
    EXPECT_EQ(never.executionMode(), TGenGFExecutionMode_Processor);
    AddModule<TestSource>(never, "s");
    EXPECT_EQ(never.executionMode(), TGenGFExecutionMode_Provider);

    // A class with a fixed mode keeps it.
    TestSink sink;
    EXPECT_EQ(sink.executionMode(), TGenGFExecutionMode_Consumer);
}

TEST(CGenGFModuleRun, PullsFromConsumersOncePerPosition)
{
    Chain c;
    c.genContext.mGeneratePos = 1.0f;
    ASSERT_TRUE(c.root._setup(c.context));
    EXPECT_TRUE(c.root.executeSubModulesWithArguments(nullptr));
    EXPECT_EQ(c.sink->mSeen, std::vector<double>({3.0}));
    EXPECT_EQ(c.source->mRuns, 1);

    // Same defined position: nothing runs, outputs stay.
    c.source->mValue = 10.0;
    EXPECT_TRUE(c.root.executeSubModulesWithArguments(nullptr));
    EXPECT_EQ(c.sink->mSeen.size(), 1u);
    EXPECT_EQ(c.source->mRuns, 1);
    EXPECT_EQ(c.doubler->outputValue->doubleValue(), 3.0);

    // A new position runs everything again.
    c.genContext.mGeneratePos = 2.0f;
    EXPECT_TRUE(c.root.executeSubModulesWithArguments(nullptr));
    EXPECT_EQ(c.sink->mSeen, std::vector<double>({3.0, 20.0}));

    // Set-up again at the same position resets the gate.
    c.root._cleanup();
    ASSERT_TRUE(c.root._setup(c.context));
    c.source->mValue = 4.0;
    EXPECT_TRUE(c.root.executeSubModulesWithArguments(nullptr));
    EXPECT_EQ(c.sink->mSeen.back(), 8.0);
    c.root._cleanup();
}

TEST(CGenGFModuleRun, UndefinedPositionRunsEveryPull)
{
    Chain c;
    ASSERT_TRUE(GenIsUndef(c.genContext.mGeneratePos));
    ASSERT_TRUE(c.root._setup(c.context));
    c.root.executeSubModulesWithArguments(nullptr);
    c.root.executeSubModulesWithArguments(nullptr);
    c.root.executeSubModulesWithArguments(nullptr);
    EXPECT_EQ(c.source->mRuns, 3);
    EXPECT_EQ(c.sink->mSeen.size(), 3u);
    c.root._cleanup();
}

TEST(CGenGFModuleRun, ModuleReachedTwiceRunsOnce)
{
    // One source feeds two sinks.
    CGenGFModule root;
    auto* source = AddModule<TestSource>(root, "source");
    auto* a = AddModule<TestSink>(root, "a");
    auto* b = AddModule<TestSink>(root, "b");
    root.createConnectionFromPortToPortForKey(*source->outputValue, *a->inputValue);
    root.createConnectionFromPortToPortForKey(*source->outputValue, *b->inputValue);
    CGenContext gen;
    gen.mGeneratePos = 0.0f;
    ASSERT_TRUE(root._setup(CGenGFContext::contextWithGenContext(&gen)));
    root.executeSubModulesWithArguments(nullptr);
    EXPECT_EQ(source->mRuns, 1);
    EXPECT_EQ(a->mSeen, std::vector<double>({1.5}));
    EXPECT_EQ(b->mSeen, std::vector<double>({1.5}));
    root._cleanup();
}

TEST(CGenGFModuleRun, FailureStopsThePull)
{
    Chain c;
    c.source->mResult = false;
    ASSERT_TRUE(c.root._setup(c.context));
    EXPECT_FALSE(c.root.executeSubModulesWithArguments(nullptr));
    EXPECT_TRUE(c.sink->mSeen.empty());
    EXPECT_EQ(c.doubler->mRuns, 0);
    c.root._cleanup();
}

TEST(CGenGFModuleRun, SetupEmptiesOutputsAndRollsBackOnRefusal)
{
    Chain c;
    c.doubler->outputValue->setDoubleValue(7.0);
    ASSERT_TRUE(c.root._setup(c.context));
    EXPECT_EQ(c.doubler->outputValue->doubleValue(), 0.0);
    EXPECT_TRUE(c.root.isRunning());
    EXPECT_TRUE(c.sink->isRunning());
    c.root._cleanup();
    EXPECT_FALSE(c.root.isRunning());
    EXPECT_EQ(c.sink->mCleanups, 1);

    // The sink refuses: the modules set up before it are cleaned up, the root too.
    ZKLogCapture log;
    c.sink->mSetupResult = false;
    EXPECT_FALSE(c.root._setup(c.context));
    EXPECT_FALSE(c.root.isRunning());
    EXPECT_FALSE(c.source->isRunning());
    EXPECT_FALSE(c.doubler->isRunning());
    EXPECT_EQ(c.sink->mCleanups, 1);
    EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStyles),
        std::vector<std::string>({"TestSink \"sink\": Initialization failed"}));
}

TEST(CGenGFModuleRun, CleanupAndRestart)
{
    CGenGFModule root;
    EXPECT_EQ(ExceptionText([&] { root._cleanup(); }), "Patch is not running");
    EXPECT_FALSE(root.restart());
    Chain c;
    ASSERT_TRUE(c.root._setup(c.context));
    EXPECT_TRUE(c.root.restart());
    EXPECT_TRUE(c.root.isRunning());
    EXPECT_EQ(c.sink->mSetups, 2);
    EXPECT_EQ(c.sink->mCleanups, 1);
    c.root._cleanup();
}

TEST(CGenGFModuleRun, CleanupAfterAModuleJoinedTheRunningGraphLeavesItRunnable)
{
    Chain c;
    ASSERT_TRUE(c.root._setup(c.context));
    // Added while the graph runs: it was never set up.
    TestSink* late = AddModule<TestSink>(c.root, "late");
    EXPECT_FALSE(late->isRunning());
    EXPECT_EQ(ExceptionText([&] { c.root._cleanup(); }), "");
    EXPECT_FALSE(c.root.isRunning());
    EXPECT_FALSE(c.sink->isRunning());
    EXPECT_EQ(late->mCleanups, 0);
    // The next run sets up every module, the late one included.
    ASSERT_TRUE(c.root._setup(c.context));
    EXPECT_TRUE(late->isRunning());
    EXPECT_EQ(late->mSetups, 1);
    c.root._cleanup();
    EXPECT_FALSE(c.root.isRunning());
}

TEST(CGenGFModuleRun, PublishedOutputPullsItsModule)
{
    // A container publishes the doubler's output; a sink outside pulls it.
    CGenGFModule root;
    auto* box = AddModule<CGenGFModule>(root, "box");
    auto* source = AddModule<TestSource>(*box, "source");
    auto* doubler = AddModule<TestDoubler>(*box, "doubler");
    box->createConnectionFromPortToPortForKey(*source->outputValue, *doubler->inputValue);
    CGenGFPort* published = box->publishPort(*doubler->outputValue, "doubled");
    ASSERT_NE(published, nullptr);
    EXPECT_TRUE(published->IsProxy());
    EXPECT_EQ(&published->baseClass(), &CGenGFPortNumeric::Class());
    EXPECT_EQ(box->executionMode(), TGenGFExecutionMode_Provider);
    auto* sink = AddModule<TestSink>(root, "sink");
    ASSERT_NE(root.createConnectionFromPortToPortForKey(*published, *sink->inputValue), nullptr);

    CGenContext gen;
    ASSERT_TRUE(root._setup(CGenGFContext::contextWithGenContext(&gen)));
    EXPECT_TRUE(root.executeSubModulesWithArguments(nullptr));
    EXPECT_EQ(sink->mSeen, std::vector<double>({3.0}));
    root._cleanup();

    // Unpublishing removes the outer connection with the proxy.
    EXPECT_TRUE(box->unpublishPort(*doubler->outputValue));
    EXPECT_TRUE(root.connections().empty());
    EXPECT_EQ(sink->inputValue->connectedPort(), nullptr);
}

TEST(CGenGFModuleStructure, RefusalsAndExceptionTexts)
{
    CGenGFModule root;
    auto* a = AddModule<TestSource>(root, "a");
    auto* b = AddModule<TestSource>(root, "b");
    auto* sink = AddModule<TestSink>(root, "sink");
    ASSERT_NE(root.createConnectionFromPortToPortForKey(*a->outputValue, *sink->inputValue), nullptr);
    // Outputs cannot end a connection, inputs cannot start one.
    EXPECT_EQ(root.createConnectionFromPortToPortForKey(*sink->inputValue, *b->outputValue), nullptr);
    EXPECT_EQ(ExceptionText([&] { root.createConnectionFromPortToPortForKey(*b->outputValue, *sink->inputValue); }),
        "There is already a connected port");
    EXPECT_EQ(root.connections().size(), 1u);

    EXPECT_EQ(ExceptionText([&] { sink->createOutputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "x", {}); }),
        "A consumer patch cannot have output ports");
    EXPECT_EQ(ExceptionText([&] { root.createInputWithPortClassForKeyAttributes(CGenGFPort::Class(), "x", {}); }),
        "\"class\" for the port must be a subclass of CGenGFPort");
    EXPECT_EQ(ExceptionText([&] {
        ZKGFPortArguments args;
        args.mClass = &CGenGFPort::Class();
        CGenGFPort::Class().CreatePort(root, args);
    }),
        "\"CGenGFPort\" is an abstract class that cannot be instantiated");
    EXPECT_EQ(ExceptionText([&] { root.createInputWithPortClassForKeyAttributes(CGenGFProxyPort::Class(), "p", {}); }),
        "This is not a proxy port");
    static const ZKGFPortClass kProxySubclass("TestProxySubclass", &CGenGFProxyPort::Class(),
        zkgen::MakePort<CGenGFProxyPort>);
    EXPECT_EQ(ExceptionText([&] { root.createInputWithPortClassForKeyAttributes(kProxySubclass, "p", {}); }),
        "\"CGenGFProxyPort\" cannot be subclassed");
    EXPECT_EQ(ExceptionText([&] { (void)a->outputValue->connectedPort(); }), "Inconsistent state");
    EXPECT_EQ(ExceptionText([&] { (void)a->outputValue->indexValue(); }), "Function not implemented");

    auto* port = root.createInputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "n", {});
    ASSERT_NE(port, nullptr);
    EXPECT_EQ(ExceptionText([&] { port->_setProxyPort(port); port->_setProxyPort(port); }), "There is already a proxy port");
    port->_setProxyPort(nullptr);
    port->_setFlags(port->flags() | kZKGFPortFlag_System);
    EXPECT_EQ(ExceptionText([&] { root.setInputPortOrderForKey(0, "n"); }),
        "Argument \"port\" does not verify \"port && !CGenGFIsSystemPort(port)\"");
    EXPECT_EQ(ExceptionText([&] { root.setInputPortOrderForKey(0, "missing"); }),
        "Argument \"port\" does not verify \"port && !CGenGFIsSystemPort(port)\"");
    EXPECT_TRUE(root.customInputPorts().empty());

    // A consumer cannot join a container that has outputs.
    CGenGFModule box;
    box.createOutputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "out", {});
    root.addSubpatch(std::make_unique<CGenGFModule>(), "x");
    auto* x = root.subpatchForKey("x");
    x->createOutputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "out", {});
    EXPECT_FALSE(x->canAddSubpatch(TestSink()));
    EXPECT_TRUE(box.canAddSubpatch(TestSink())); // a root may hold one
    EXPECT_FALSE(a->canAddSubpatch(TestSink()));  // a source takes no sub-modules
}

TEST(CGenGFModuleStructure, KeysPathsAndDeletion)
{
    CGenGFModule root;
    auto* box = AddModule<CGenGFModule>(root, "");
    EXPECT_EQ(root.keyForSubpatch(box), "Module_1");
    auto* d1 = AddModule<TestDoubler>(*box, "");
    auto* d2 = AddModule<TestDoubler>(*box, "");
    EXPECT_EQ(box->keyForSubpatch(d1), "TestDoubler_1");
    EXPECT_EQ(box->keyForSubpatch(d2), "TestDoubler_2");
    EXPECT_EQ(root.pathForSubpatch(d2), "Module_1/TestDoubler_2");
    EXPECT_EQ(root.subpatchForPath("Module_1/TestDoubler_2"), d2);
    EXPECT_EQ(root.subpatchForPath("Module_1/none"), nullptr);
    EXPECT_EQ(ZKGFNameForPort(d2->outputValue), "TestDoubler \"Module_1/TestDoubler_2\".outputValue");

    box->createConnectionFromPortToPortForKey(*d1->outputValue, *d2->inputValue);
    EXPECT_EQ(box->connections().front()->key(), "connection_1");
    box->publishPort(*d1->inputValue, "in");
    // Removing the node takes its connection and publication along.
    EXPECT_TRUE(box->removeSubpatch(d1));
    EXPECT_TRUE(box->connections().empty());
    EXPECT_EQ(box->inputPortForKey("in"), nullptr);
    EXPECT_EQ(d2->inputValue->connectedPort(), nullptr);

    // Custom ports: made, ordered, deleted.
    auto* p1 = box->createInputWithPortClassForKeyAttributes(CGenGFPortString::Class(), "", {});
    auto* p2 = box->createInputWithPortClassForKeyAttributes(CGenGFPortString::Class(), "", {});
    EXPECT_EQ(p1->key(), "input_1");
    EXPECT_EQ(p2->key(), "input_2");
    box->setInputPortOrderForKey(0, "input_2");
    EXPECT_EQ(box->customInputPorts(), std::vector<CGenGFPort*>({p2, p1}));
    EXPECT_TRUE(box->deleteInputForKey("input_2"));
    EXPECT_EQ(box->customInputPorts(), std::vector<CGenGFPort*>({p1}));
}

TEST(CGenGFModuleState, StateKeysValidateAndNotify)
{
    CGenGFModule root;
    auto* d = AddModule<TestDoubler>(root, "d");
    int notices = 0;
    root.setStateObserver([&](ZKGFNode&) { ++notices; });

    EXPECT_TRUE(d->isStateKey("factor"));
    EXPECT_FALSE(d->isStateKey("missing"));
    EXPECT_EQ(ExceptionText([&] { d->valueForStateKey("missing"); }), "Inconsistent state");
    EXPECT_EQ(ExceptionText([&] { d->setValueForStateKey(ZKGFValue::Double(1), "missing"); }), "Inconsistent state");

    d->setDoubleForStateKey(3.0, "factor");
    EXPECT_EQ(d->doubleForStateKey("factor"), 3.0);
    EXPECT_EQ(notices, 1);
    d->setDoubleForStateKey(3.0, "factor"); // no change, no notice
    EXPECT_EQ(notices, 1);

    ZKLogCapture log;
    d->setValueForStateKey(ZKGFValue::Double(-1.0), "factor");
    EXPECT_EQ(d->doubleForStateKey("factor"), 3.0);
    EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStyles),
        std::vector<std::string>(
            {"<ERROR> TestDoubler \"d\": Validation for state key \"factor\" failed: the factor must be a number at or above 0"}));

    // Paused notices collapse into one at the end of the pause.
    root.pauseNotifications();
    d->setDoubleForStateKey(4.0, "factor");
    d->setDoubleForStateKey(5.0, "factor");
    EXPECT_EQ(notices, 1);
    root.resumeNotifications();
    EXPECT_EQ(notices, 2);
    root.disableNotifications();
    d->setDoubleForStateKey(6.0, "factor");
    root.enableNotifications();
    EXPECT_EQ(notices, 2);

    // An unconnected input's value is state; a connected one is not.
    d->inputValue->setDoubleValue(2.5);
    EXPECT_EQ(notices, 3);
    EXPECT_EQ(d->state().ArrayForKey("@inputs")->front().AsDict()->DoubleForKey("value"), 2.5);
}

TEST(CGenGFModuleState, CustomizedName)
{
    CGenGFModule m;
    m.setCustomizedName("Fill chooser\nsecond line");
    EXPECT_EQ(m.userInfo().StringForKey(".customizedName"), "\"Fill chooser\u2026\"");
    EXPECT_EQ(m.userInfo().StringForKey("name"), "\"Fill chooser\u2026\"");
    m.setCustomizedName("Other");
    EXPECT_EQ(m.userInfo().StringForKey("name"), "\"Other\"");
    m.userInfo().SetValueForKey("Hand made", "name");
    m.setCustomizedName("Third");
    EXPECT_EQ(m.userInfo().StringForKey("name"), "Hand made");
    EXPECT_EQ(m.userInfo().StringForKey(".customizedName"), "\"Third\"");
    m.userInfo().SetValueForKey("\"Third\"", "name");
    m.setCustomizedName("");
    EXPECT_FALSE(m.userInfo().HasKey("name"));
    EXPECT_FALSE(m.userInfo().HasKey(".customizedName"));
}

TEST(CGenGFModuleStructure, GraphLockGuardsStructureChanges)
{
    CGenGFModule root;
    auto lock = std::make_shared<std::recursive_mutex>();
    root.setGraphLock(lock);
    auto* box = AddModule<CGenGFModule>(root, "box");
    EXPECT_EQ(box->_graphLock(), lock.get());
    // Held by another thread, a structure change waits; here the same thread
    // may hold it already, as nested structure changes do.
    std::lock_guard held(*lock);
    EXPECT_NE(box->createInputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "n", {}), nullptr);
    EXPECT_NE(AddModule<TestSource>(*box, "s"), nullptr);
}
