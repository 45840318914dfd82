// The node/port/graph foundation on its own: a node and port class of the
// test's own, registered in a namespace of their own.

#include "Generator/stylegraph/foundation/ZKGFGraph.h"
#include "Platform/ZKLog.h"

#include <gtest/gtest.h>

namespace {

// A port holding one integer; its state is {"value": n} when n is not 0.
class TestPort : public ZKGFPort {
public:
    using ZKGFPort::ZKGFPort;
    TGenDict state() const override { return mValue ? TGenDict {{"value", mValue}} : TGenDict(); }
    bool setState(const TGenDict& state) override
    {
        mValue = state.IntegerForKey("value");
        return true;
    }
    int64_t mValue = 0;
};

const ZKGFPortClass& TestPortClass()
{
    static const ZKGFPortClass c("TestPort", nullptr,
        [](ZKGFNode& node, const ZKGFPortArguments& a) { return std::unique_ptr<ZKGFPort>(std::make_unique<TestPort>(node, a)); });
    return c;
}

const ZKGFPortClass& TestProxyClass()
{
    static const ZKGFPortClass c("TestProxy", &TestPortClass(), [](ZKGFNode& node, const ZKGFPortArguments& a) {
        auto port = std::make_unique<TestPort>(node, a);
        port->_setFlags(kZKGFPortFlag_Proxy);
        return std::unique_ptr<ZKGFPort>(std::move(port));
    });
    return c;
}

const ZKGFNodeManager& Manager();

class TestGraph : public ZKGFGraph {
public:
    static const ZKGFNodeClassDescription& ClassDescription()
    {
        static const ZKGFNodeClassDescription d("TestGraph", nullptr, [] { return std::unique_ptr<ZKGFNode>(std::make_unique<TestGraph>()); },
            {{"in", &TestPortClass(), -1, "In", "the fixed input"}, {"out", &TestPortClass(), 1, "Out", ""}});
        return d;
    }
    TestGraph() : ZKGFGraph(ClassDescription()) {}
    const ZKGFNodeManager& nodeManager() const override { return Manager(); }
    ZKGFPort* AddPort(int direction, const std::string& key)
    {
        ZKGFPortArguments a;
        a.mClass = &TestPortClass();
        a.mAttributes = TGenDict {{"name", key + " port"}};
        return _addPort(direction, key.empty() ? (direction < 0 ? _uniqueInputPortKey() : _uniqueOutputPortKey()) : key, a);
    }
    bool DeletePort(ZKGFPort* port) { return _deletePort(port); }

protected:
    const ZKGFPortClass* _proxyPortClass() const override { return &TestProxyClass(); }
};

const ZKGFNodeManager& Manager()
{
    return ZKGFNodeManager::managerForNodeNamespaceCreating("test.foundation", [] {
        auto m = std::make_unique<ZKGFNodeManager>("test.foundation");
        m->registerNodeWithClass(TestGraph::ClassDescription());
        m->registerPortClass(TestPortClass());
        m->registerPortClass(TestProxyClass());
        return m;
    });
}

TestGraph* Add(ZKGFGraph& graph, const std::string& key)
{
    auto node = std::make_unique<TestGraph>();
    TestGraph* raw = node.get();
    return graph.addNodeForKey(std::move(node), key).empty() ? nullptr : raw;
}

TestPort& Port(ZKGFNode& node, const std::string& key)
{
    return static_cast<TestPort&>(*node.portForKey(key));
}

} // namespace

TEST(ZKGFFoundation, FixedPortsKeysAndPaths)
{
    TestGraph g;
    ASSERT_EQ(g.inputPorts().size(), 1u);
    EXPECT_TRUE(g.inputPorts().front()->IsFixed());
    EXPECT_EQ(g.inputPorts().front()->attributes(), (TGenDict {{"name", "In"}, {"description", "the fixed input"}}));
    EXPECT_EQ(g.outputPorts().front()->DisplayName(), "Out");
    EXPECT_EQ(g.directionOfPort(g.portForKey("in")), -1);
    EXPECT_EQ(g.directionOfPort(g.portForKey("out")), 1);
    EXPECT_EQ(g.AddPort(-1, "")->key(), "input_1");
    EXPECT_EQ(g.AddPort(-1, "")->key(), "input_2");
    EXPECT_EQ(g.AddPort(1, "in"), nullptr); // keys are unique across both lists
    EXPECT_EQ(g.AddPort(1, "")->key(), "output_1");

    TestGraph* a = Add(g, "");
    TestGraph* b = Add(g, "TestGraph_1");
    EXPECT_EQ(g.keyForNode(a), "TestGraph_1");
    EXPECT_EQ(g.keyForNode(b), "TestGraph_2"); // a taken key gets a new one
    TestGraph* deep = Add(*b, "deep");
    EXPECT_EQ(g.pathForNode(deep), "TestGraph_2/deep");
    EXPECT_EQ(g.nodeForPath("TestGraph_2/deep"), deep);
    EXPECT_EQ(g.nodeForPath("TestGraph_2/none"), nullptr);
    EXPECT_EQ(g.nodeForPath("TestGraph_1/deep"), nullptr);
    EXPECT_EQ(b->pathForNode(&g), "");
    EXPECT_EQ(&deep->RootNode(), &g);
    EXPECT_EQ(ZKGFNameForNode(deep), "TestGraph \"TestGraph_2/deep\"");
    EXPECT_EQ(ZKGFNameForNode(&g), "TestGraph");
    EXPECT_EQ(ZKGFNameForPort(deep->portForKey("in")), "TestGraph \"TestGraph_2/deep\".in");
    // A node of another graph cannot join a second one.
    EXPECT_FALSE(g.canAddNode(*deep));
}

TEST(ZKGFFoundation, RemovingANodeTakesItsConnectionsAndPublications)
{
    TestGraph g;
    TestGraph* a = Add(g, "a");
    TestGraph* b = Add(g, "b");
    ASSERT_NE(g.createConnectionFromPortToPortForKey(*a->portForKey("out"), *b->portForKey("in"), ""), nullptr);
    ASSERT_NE(g.createConnectionFromPortToPortForKey(*b->portForKey("out"), *a->portForKey("in"), "back"), nullptr);
    EXPECT_EQ(g.connections().front()->key(), "connection_1");
    ZKGFPort* proxy = g.createProxyPortWithOriginalPortForKey(*b->portForKey("out"), "");
    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->key(), "output_1");
    EXPECT_EQ(proxy->originalPort(), b->portForKey("out"));
    EXPECT_EQ(proxy->rootPort(), b->portForKey("out"));
    EXPECT_EQ(proxy->attributes().StringForKey("name"), "Out");
    // A port of a node elsewhere is not published.
    TestGraph other;
    EXPECT_EQ(g.createProxyPortWithOriginalPortForKey(*other.portForKey("out"), "x"), nullptr);

    EXPECT_TRUE(g.removeNodeForKey("b"));
    EXPECT_TRUE(g.connections().empty());
    EXPECT_EQ(g.outputPortForKey("output_1"), nullptr);
    EXPECT_EQ(g.nodeCount(), 1u);
    EXPECT_FALSE(g.removeNodeForKey("b"));
    EXPECT_FALSE(g.deleteConnectionForKey("back"));
}

TEST(ZKGFFoundation, StateRoundTripKeepsOrderValuesAndWiring)
{
    TestGraph g;
    g.userInfo().SetValueForKey("Main", "name");
    TestGraph* a = Add(g, "a");
    TestGraph* b = Add(g, "b");
    Port(*a, "in").mValue = 7;
    a->AddPort(-1, "extra1");
    a->AddPort(-1, "extra2");
    Port(*a, "extra2").mValue = 9;
    g.createConnectionFromPortToPortForKey(*a->portForKey("out"), *b->portForKey("in"), "wire");
    g.createProxyPortWithOriginalPortForKey(*a->portForKey("extra1"), "published");
    const TGenDict state = g.state();

    TestGraph copy;
    std::string error;
    ASSERT_TRUE(copy.setState(state, &error)) << error;
    EXPECT_EQ(copy.state(), state);
    EXPECT_EQ(copy.userInfo().StringForKey("name"), "Main");
    auto* ca = static_cast<TestGraph*>(copy.nodeForKey("a"));
    ASSERT_NE(ca, nullptr);
    EXPECT_EQ(Port(*ca, "in").mValue, 7);
    EXPECT_EQ(Port(*ca, "extra2").mValue, 9);
    ASSERT_EQ(ca->inputPorts().size(), 3u);
    EXPECT_EQ(ca->inputPorts()[1]->key(), "extra1");
    EXPECT_EQ(ca->inputPorts()[1]->attributes().StringForKey("name"), "extra1 port");
    EXPECT_EQ(copy.connectionForKey("wire")->destinationPort().key(), "in");
    EXPECT_EQ(copy.inputPortForKey("published")->originalPort(), ca->portForKey("extra1"));

    // The stored form names what it holds.
    const TGenArray& subpatches = *state.ArrayForKey(kZKGFState_Subpatches);
    EXPECT_EQ(subpatches[0].AsDict()->StringForKey(kZKGFEntry_Class), "TestGraph");
    const TGenDict& wire = *state.ArrayForKey(kZKGFState_Connections)->front().AsDict();
    EXPECT_EQ(wire, (TGenDict {{"key", "wire"}, {"sourceNode", "a"}, {"sourcePort", "out"}, {"destinationNode", "b"},
                        {"destinationPort", "in"}}));
    EXPECT_EQ(*state.ArrayForKey(kZKGFState_Inputs)->front().AsDict(),
        (TGenDict {{"key", "published"}, {"class", "TestProxy"}, {"node", "a"}, {"port", "extra1"}}));
}

TEST(ZKGFFoundation, RestoreReportsWhatItCannotMake)
{
    TestGraph g;
    Add(g, "a");
    Add(g, "b");
    g.createConnectionFromPortToPortForKey(*g.nodeForKey("a")->portForKey("out"), *g.nodeForKey("b")->portForKey("in"), "");
    TGenDict state = g.state();
    state.ValueForKey(kZKGFState_Subpatches)->AsArray()->front().AsDict()->SetValueForKey("Nope", kZKGFEntry_Class);
    TestGraph copy;
    std::string error;
    ZKLogCapture log;
    EXPECT_FALSE(copy.setState(state, &error));
    EXPECT_EQ(error, "TestGraph: unknown node class \"Nope\"");
    // The rest is restored; the connection to the missing node is not.
    EXPECT_NE(copy.nodeForKey("b"), nullptr);
    EXPECT_TRUE(copy.connections().empty());
    EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStyles),
        std::vector<std::string>({"TestGraph: unknown node class \"Nope\"",
            "TestGraph: connection \"connection_1\" from a.out to b.in cannot be made"}));
}

TEST(ZKGFFoundation, NoticesPauseNestAndDisable)
{
    TestGraph g;
    TestGraph* a = Add(g, "a");
    std::vector<std::string> seen;
    g.setStateObserver([&](ZKGFNode& n) { seen.push_back(n.ClassName()); });
    a->stateUpdated();
    EXPECT_EQ(seen.size(), 1u);
    a->pauseNotifications();
    a->pauseNotifications();
    a->stateUpdated();
    a->stateUpdated();
    a->resumeNotifications();
    EXPECT_EQ(seen.size(), 1u);
    a->resumeNotifications();
    EXPECT_EQ(seen.size(), 2u);
    a->disableNotifications();
    a->stateUpdated();
    a->enableNotifications();
    a->resumeNotifications(); // an extra resume changes nothing
    EXPECT_EQ(seen.size(), 2u);
    // Structure changes report too.
    Add(g, "b");
    EXPECT_EQ(seen.size(), 3u);
}

TEST(ZKGFFoundation, ValuesAnswerTheirAccessors)
{
    EXPECT_EQ(ZKGFValue::String("3.5abc").DoubleValue(), 3.5);
    EXPECT_EQ(ZKGFValue::String("3.5abc").IntegerValue(), 3);
    EXPECT_EQ(ZKGFValue::Double(2.9).IntegerValue(), 2);
    EXPECT_EQ(ZKGFValue::Double(-2.9).IntegerValue(), -2);
    EXPECT_EQ(ZKGFValue::Double(0.1).FloatValue(), static_cast<double>(0.1f));
    EXPECT_EQ(ZKGFValue::Bool(true).StringValue(), "1");
    EXPECT_EQ(ZKGFValue::Integer(-4).StringValue(), "-4");
    EXPECT_EQ(ZKGFValue(TGenDictValue(TGenData {1})).DoubleValue(), std::nullopt);
    EXPECT_EQ(ZKGFValue().ClassName(), "nil");
    EXPECT_EQ(ZKGFValue(TGenDictValue(TGenArray {1, "a"})).Description(), "(1, \"a\")");
    EXPECT_EQ(ZKGFValue(TGenDictValue(TGenDict {{"k", 2.5}})).Description(), "{k = 2.5}");
    EXPECT_EQ(ZKGFValue::Integer(1), ZKGFValue::Integer(1));
    EXPECT_FALSE(ZKGFValue::Integer(1) == ZKGFValue::Double(1.0));
    EXPECT_FALSE(ZKGFValue() == ZKGFValue::Integer(0));

    // A node as an object: encoded with its class name, decoded only where allowed.
    auto node = std::make_shared<TestGraph>();
    Port(*node, "in").mValue = 3;
    const auto stored = ZKGFEncodeStateValue(ZKGFValue(node));
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->AsDict()->StringForKey(kZKCodingClassKey), "TestGraph");
    ZKCodingClassRegistry none;
    std::string error;
    EXPECT_EQ(ZKGFDecodeStateValue(*stored, none, &error), std::nullopt);
    EXPECT_EQ(error, "keyed archive: class \"TestGraph\" is not allowed here");
    EXPECT_EQ(ZKGFEncodeStateValue(ZKGFValue()), std::nullopt);
    EXPECT_EQ(ZKGFDecodeStateValue(TGenDictValue(5), none), ZKGFValue::Integer(5));

    std::shared_ptr<ZKGFObject> copy = node->CopyObject();
    EXPECT_NE(copy, node);
    EXPECT_TRUE(copy->IsEqualToObject(*node));
    EXPECT_EQ(Port(static_cast<TestGraph&>(*copy), "in").mValue, 3);
}

TEST(ZKGFFoundation, ExceptionTexts)
{
    try {
        ZKGFThrowException(ZKGFExceptionKind_InternalInconsistency, "\"%@\" cannot be subclassed", {"X"});
        ADD_FAILURE();
    } catch (const ZKGFException& e) {
        EXPECT_STREQ(e.what(), "\"X\" cannot be subclassed");
        EXPECT_STREQ(ZKGFException::KindName(e.Kind()), "InternalInconsistency");
    }
    try {
        ZKGFThrowArgumentException("min", "!(min > _max)");
        ADD_FAILURE();
    } catch (const ZKGFException& e) {
        EXPECT_STREQ(e.what(), "Argument \"min\" does not verify \"!(min > _max)\"");
    }
    ZKLogCapture log;
    ZKGFLog("%@ could not take value from %@", {"a.in", "b.out"});
    EXPECT_EQ(log.Records(), std::vector<ZKLogRecord>({{ZKLogCategory_GeneratorStyles, ZKLogLevel_Warn,
                                 "a.in could not take value from b.out"}}));
    EXPECT_TRUE(_ZKGFLogErrors());
}
