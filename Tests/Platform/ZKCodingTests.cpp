#include "Platform/ZKCoding.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

// A small node graph: nodes with children, and a connection list that names
// nodes by key, as the style graphs will.
class TestNode : public ZKCoding {
public:
    std::string mKey;
    double mGain = 1.0;
    std::vector<std::unique_ptr<TestNode>> mChildren;

    std::string CodingClassName() const override { return "TestNode"; }
    void EncodeWithCoder(TGenDict& coder) const override
    {
        coder.SetValueForKey(mKey, "key");
        coder.SetValueForKey(mGain, "gain");
        TGenArray children;
        for (const auto& c : mChildren)
            children.push_back(ZKCodingEncodeObject(*c));
        coder.SetValueForKey(std::move(children), "children");
    }
};

class TestGraph : public ZKCoding {
public:
    std::unique_ptr<TestNode> mRoot;
    std::vector<std::pair<std::string, std::string>> mConnections;

    std::string CodingClassName() const override { return "TestGraph"; }
    void EncodeWithCoder(TGenDict& coder) const override
    {
        coder.SetValueForKey(ZKCodingEncodeObject(*mRoot), "root");
        TGenArray connections;
        for (const auto& [from, to] : mConnections)
            connections.push_back(TGenArray {from, to});
        coder.SetValueForKey(std::move(connections), "connections");
    }
};

ZKCodingClassRegistry MakeRegistry()
{
    ZKCodingClassRegistry registry;
    registry.RegisterClass("TestNode", [](const TGenDict& coder, const ZKCodingClassRegistry& r, std::string* error) {
        auto node = std::make_unique<TestNode>();
        node->mKey = coder.StringForKey("key");
        node->mGain = coder.DoubleForKey("gain", 1.0);
        if (const TGenArray* children = coder.ArrayForKey("children")) {
            for (const auto& c : *children) {
                auto child = c.AsDict() ? r.DecodeObjectOfClass<TestNode>(*c.AsDict(), error) : nullptr;
                if (!child)
                    return std::unique_ptr<ZKCoding>();
                node->mChildren.push_back(std::move(child));
            }
        }
        return std::unique_ptr<ZKCoding>(std::move(node));
    });
    registry.RegisterClass("TestGraph", [](const TGenDict& coder, const ZKCodingClassRegistry& r, std::string* error) {
        auto graph = std::make_unique<TestGraph>();
        const TGenDict* root = coder.DictForKey("root");
        graph->mRoot = root ? r.DecodeObjectOfClass<TestNode>(*root, error) : nullptr;
        if (!graph->mRoot)
            return std::unique_ptr<ZKCoding>();
        for (const auto& c : *coder.ArrayForKey("connections")) {
            const TGenArray& pair = *c.AsArray();
            graph->mConnections.emplace_back(pair[0].AsString({}), pair[1].AsString({}));
        }
        return std::unique_ptr<ZKCoding>(std::move(graph));
    });
    registry.RegisterClass("Thrower", [](const TGenDict&, const ZKCodingClassRegistry&, std::string*) -> std::unique_ptr<ZKCoding> {
        throw std::runtime_error("bad state");
    });
    return registry;
}

TestGraph MakeGraph()
{
    TestGraph g;
    g.mRoot = std::make_unique<TestNode>();
    g.mRoot->mKey = "out";
    for (const char* key : {"rate", "filter"}) {
        auto child = std::make_unique<TestNode>();
        child->mKey = key;
        child->mGain = 0.5;
        g.mRoot->mChildren.push_back(std::move(child));
    }
    g.mConnections = {{"rate", "filter"}, {"filter", "out"}};
    return g;
}

void ExpectSameGraph(const TestGraph& a, const TestGraph& b)
{
    ASSERT_TRUE(b.mRoot);
    EXPECT_EQ(b.mRoot->mKey, a.mRoot->mKey);
    ASSERT_EQ(b.mRoot->mChildren.size(), a.mRoot->mChildren.size());
    for (size_t i = 0; i < a.mRoot->mChildren.size(); ++i) {
        EXPECT_EQ(b.mRoot->mChildren[i]->mKey, a.mRoot->mChildren[i]->mKey);
        EXPECT_EQ(b.mRoot->mChildren[i]->mGain, a.mRoot->mChildren[i]->mGain);
    }
    EXPECT_EQ(b.mConnections, a.mConnections);
}

} // namespace

TEST(ZKCoding, ObjectGraphsRoundTripThroughBothFormats)
{
    const TestGraph graph = MakeGraph();
    const ZKCodingClassRegistry registry = MakeRegistry();

    const TGenDict encoded = ZKCodingEncodeObject(graph);
    EXPECT_EQ(encoded.StringForKey(kZKCodingClassKey), "TestGraph");
    EXPECT_EQ(encoded.DictForKey("root")->StringForKey("$class"), "TestNode");

    for (auto format : {ZKKeyedArchiveFormat_XML, ZKKeyedArchiveFormat_Binary}) {
        std::string error;
        const auto bytes = ZKKeyedArchiveEncodeObject(graph, format, &error);
        ASSERT_TRUE(bytes) << error;
        auto decoded = ZKKeyedArchiveDecodeObject(*bytes, registry, &error);
        ASSERT_TRUE(decoded) << error;
        auto* typed = dynamic_cast<TestGraph*>(decoded.get());
        ASSERT_TRUE(typed);
        ExpectSameGraph(graph, *typed);
    }

    auto clone = ZKCodingCloneObject(graph, registry);
    ASSERT_TRUE(clone);
    ExpectSameGraph(graph, *dynamic_cast<TestGraph*>(clone.get()));
}

TEST(ZKCoding, DecodesOnlyAllowedClasses)
{
    const ZKCodingClassRegistry registry = MakeRegistry();
    std::string error;

    EXPECT_FALSE(registry.DecodeObject(TGenDict {{"key", "x"}}, &error));
    EXPECT_EQ(error, "keyed archive: object without a class name");

    EXPECT_FALSE(registry.DecodeObject(TGenDict {{"$class", "Intruder"}}, &error));
    EXPECT_EQ(error, "keyed archive: class \"Intruder\" is not allowed here");

    // A nested object of an unknown class fails the whole graph.
    TGenDict graph = ZKCodingEncodeObject(MakeGraph());
    TGenDict& root = *graph.DictForKey("root");
    TGenArray children = *root.ArrayForKey("children");
    children[1].AsDict()->SetValueForKey("Intruder", "$class");
    root.SetValueForKey(children, "children");
    EXPECT_FALSE(registry.DecodeObject(graph, &error));
    EXPECT_EQ(error, "keyed archive: class \"Intruder\" is not allowed here");

    EXPECT_FALSE(registry.DecodeObject(TGenDict {{"$class", "Thrower"}}, &error));
    EXPECT_EQ(error, "keyed archive: cannot decode an object of class \"Thrower\": bad state");

    EXPECT_FALSE(registry.DecodeObjectOfClass<TestGraph>(ZKCodingEncodeObject(*MakeGraph().mRoot), &error));
    EXPECT_EQ(error, "keyed archive: object of class \"TestNode\" is not of the expected class");

    EXPECT_FALSE(ZKKeyedArchiveDecodeObject(TGenData {'x'}, registry, &error));
    EXPECT_EQ(error, "keyed archive: damaged XML property list");
}
