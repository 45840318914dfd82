#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"
#include "Platform/ZKLog.h"
#include "StyleGraphTestModules.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace zkgtest;

namespace {

// A module with one port of each kind in both directions.
struct Ports {
    CGenGFModule root;
    CGenGFModule* m = AddModule<CGenGFModule>(root, "m");
    CGenGFPort* boolean = m->createInputWithPortClassForKeyAttributes(CGenGFPortBoolean::Class(), "b", {});
    CGenGFPort* numeric = m->createInputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "n", {});
    CGenGFPort* indexed = m->createInputWithPortClassForKeyAttributes(CGenGFPortIndexed::Class(), "i", {});
    CGenGFPort* string = m->createInputWithPortClassForKeyAttributes(CGenGFPortString::Class(), "s", {});
    CGenGFPort* patterns = m->createInputWithPortClassForKeyAttributes(CGenGFPortPatternAndProbs::Class(), "p", {});
    CGenGFPort* virt = m->createInputWithPortClassForKeyAttributes(CGenGFVirtualPort::Class(), "v", {});
    CGenGFModule* src = AddModule<CGenGFModule>(root, "src");
    CGenGFPort* srcBoolean = src->createOutputWithPortClassForKeyAttributes(CGenGFPortBoolean::Class(), "b", {});
    CGenGFPort* srcNumeric = src->createOutputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "n", {});
    CGenGFPort* srcIndexed = src->createOutputWithPortClassForKeyAttributes(CGenGFPortIndexed::Class(), "i", {});
    CGenGFPort* srcString = src->createOutputWithPortClassForKeyAttributes(CGenGFPortString::Class(), "s", {});
    CGenGFPort* srcPatterns = src->createOutputWithPortClassForKeyAttributes(CGenGFPortPatternAndProbs::Class(), "p", {});
    CGenGFPort* srcVirtual = src->createOutputWithPortClassForKeyAttributes(CGenGFVirtualPort::Class(), "v", {});
};

std::string TextOf(CGenGFPort& destination, CGenGFPort& source)
{
    EXPECT_TRUE(destination.takeValueFromPort(nullptr, source));
    return destination.stringValue();
}

} // namespace

TEST(CGenGFPortConversion, ToIndexRoundsByTransferAndCutsBySetValue)
{
    Ports p;
    for (const auto& [from, rounded] : std::vector<std::pair<double, uint64_t>> {
             {2.5, 3}, {2.4999, 2}, {3.5, 4}, {-2.5, 0}, {0.5, 1}, {7.0, 7}}) {
        p.srcNumeric->setDoubleValue(from);
        EXPECT_TRUE(p.indexed->takeValueFromPort(nullptr, *p.srcNumeric));
        EXPECT_EQ(p.indexed->indexValue(), rounded) << from;
    }
    EXPECT_TRUE(p.indexed->setValue(ZKGFValue::Double(2.5)));
    EXPECT_EQ(p.indexed->indexValue(), 2u);
    EXPECT_TRUE(p.indexed->setValue(ZKGFValue::Double(-3.0)));
    EXPECT_EQ(p.indexed->indexValue(), 0u);
    EXPECT_TRUE(p.indexed->setValue(ZKGFValue::String("12abc")));
    EXPECT_EQ(p.indexed->indexValue(), 12u);
    EXPECT_TRUE(p.indexed->setValue(ZKGFValue::Bool(true)));
    EXPECT_EQ(p.indexed->indexValue(), 1u);
    EXPECT_TRUE(p.indexed->setValue(ZKGFValue()));
    EXPECT_EQ(p.indexed->indexValue(), 0u);
    EXPECT_FALSE(p.indexed->setValue(ZKGFValue(TGenDictValue(TGenArray {}))));

    p.srcString->setStringValue("-7");
    p.indexed->takeValueFromPort(nullptr, *p.srcString);
    EXPECT_EQ(p.indexed->indexValue(), 0u);
    p.srcString->setStringValue("  42 beats");
    p.indexed->takeValueFromPort(nullptr, *p.srcString);
    EXPECT_EQ(p.indexed->indexValue(), 42u);
    p.srcBoolean->setBooleanValue(true);
    p.indexed->takeValueFromPort(nullptr, *p.srcBoolean);
    EXPECT_EQ(p.indexed->indexValue(), 1u);
}

TEST(CGenGFPortConversion, ToString)
{
    Ports p;
    p.srcNumeric->setDoubleValue(0.1);
    EXPECT_EQ(TextOf(*p.string, *p.srcNumeric), "0.1");
    p.srcNumeric->setDoubleValue(1.0 / 3.0);
    EXPECT_EQ(TextOf(*p.string, *p.srcNumeric), "0.3333333333333333");
    p.srcNumeric->setDoubleValue(1e20);
    EXPECT_EQ(TextOf(*p.string, *p.srcNumeric), "1e+20");
    p.srcNumeric->setDoubleValue(-2.0);
    EXPECT_EQ(TextOf(*p.string, *p.srcNumeric), "-2");
    p.srcIndexed->setIndexValue(4294967295u);
    EXPECT_EQ(TextOf(*p.string, *p.srcIndexed), "4294967295");
    p.srcBoolean->setBooleanValue(true);
    EXPECT_EQ(TextOf(*p.string, *p.srcBoolean), "1");
    p.srcBoolean->setBooleanValue(false);
    EXPECT_EQ(TextOf(*p.string, *p.srcBoolean), "0");

    // setValue: numbers by their text, other objects by their class name.
    p.string->setValue(ZKGFValue::Double(2.5));
    EXPECT_EQ(p.string->stringValue(), "2.5");
    p.string->setValue(ZKGFValue::Integer(7));
    EXPECT_EQ(p.string->stringValue(), "7");
    p.string->setValue(ZKGFValue(TGenDictValue(TGenArray {1, 2})));
    EXPECT_EQ(p.string->stringValue(), "<Array>");
    p.string->setValue(ZKGFValue(TGenDictValue(TGenDict {})));
    EXPECT_EQ(p.string->stringValue(), "<Dictionary>");
    p.string->setValue(CGenGFPatternAndProbsObject::ValueWithList({}));
    EXPECT_EQ(p.string->stringValue(), "<GenPatternModAndProbs>");
    p.string->setValue(ZKGFValue());
    EXPECT_EQ(p.string->stringValue(), "");
}

TEST(CGenGFPortConversion, ToBooleanOnlyEmptinessCountsForTexts)
{
    Ports p;
    p.srcString->setStringValue("0");
    EXPECT_TRUE(p.boolean->takeValueFromPort(nullptr, *p.srcString));
    EXPECT_TRUE(p.boolean->booleanValue());
    p.srcString->setStringValue("");
    p.boolean->takeValueFromPort(nullptr, *p.srcString);
    EXPECT_FALSE(p.boolean->booleanValue());
    EXPECT_TRUE(p.boolean->setValue(ZKGFValue::String("0")));
    EXPECT_TRUE(p.boolean->booleanValue());
    p.boolean->setValue(ZKGFValue::String(""));
    EXPECT_FALSE(p.boolean->booleanValue());

    p.srcNumeric->setDoubleValue(0.0);
    p.boolean->takeValueFromPort(nullptr, *p.srcNumeric);
    EXPECT_FALSE(p.boolean->booleanValue());
    p.srcNumeric->setDoubleValue(-0.25);
    p.boolean->takeValueFromPort(nullptr, *p.srcNumeric);
    EXPECT_TRUE(p.boolean->booleanValue());
    p.srcIndexed->setIndexValue(0);
    p.boolean->takeValueFromPort(nullptr, *p.srcIndexed);
    EXPECT_FALSE(p.boolean->booleanValue());

    // Objects without a numeric accessor are true, nothing is false.
    p.boolean->setValue(ZKGFValue(TGenDictValue(TGenData {0})));
    EXPECT_TRUE(p.boolean->booleanValue());
    p.boolean->setValue(ZKGFValue());
    EXPECT_FALSE(p.boolean->booleanValue());
    p.boolean->setValue(ZKGFValue::Integer(0));
    EXPECT_FALSE(p.boolean->booleanValue());
}

TEST(CGenGFPortConversion, ToNumericAndVirtual)
{
    Ports p;
    p.srcBoolean->setBooleanValue(true);
    p.numeric->takeValueFromPort(nullptr, *p.srcBoolean);
    EXPECT_EQ(p.numeric->doubleValue(), 1.0);
    p.srcIndexed->setIndexValue(9);
    p.numeric->takeValueFromPort(nullptr, *p.srcIndexed);
    EXPECT_EQ(p.numeric->doubleValue(), 9.0);
    p.srcString->setStringValue(" 2.75xyz");
    p.numeric->takeValueFromPort(nullptr, *p.srcString);
    EXPECT_EQ(p.numeric->doubleValue(), 2.75);
    p.srcString->setStringValue("abc");
    p.numeric->takeValueFromPort(nullptr, *p.srcString);
    EXPECT_EQ(p.numeric->doubleValue(), 0.0);

    // Generic path through a virtual source: its raw value is set.
    p.srcVirtual->setRawValue(ZKGFValue::String("5"));
    EXPECT_TRUE(p.numeric->takeValueFromPort(nullptr, *p.srcVirtual));
    EXPECT_EQ(p.numeric->doubleValue(), 5.0);
    p.srcVirtual->setRawValue(ZKGFValue(TGenDictValue(TGenArray {1})));
    EXPECT_FALSE(p.numeric->takeValueFromPort(nullptr, *p.srcVirtual));
    EXPECT_EQ(p.numeric->doubleValue(), 5.0);

    // A virtual destination copies a virtual source's raw value, else the value.
    p.srcNumeric->setDoubleValue(2.5);
    p.virt->takeValueFromPort(nullptr, *p.srcNumeric);
    EXPECT_EQ(p.virt->rawValue(), ZKGFValue::Double(2.5));
    p.virt->takeValueFromPort(nullptr, *p.srcVirtual);
    EXPECT_EQ(p.virt->rawValue(), ZKGFValue(TGenDictValue(TGenArray {1})));
    p.srcIndexed->setIndexValue(3);
    p.virt->takeValueFromPort(nullptr, *p.srcIndexed);
    EXPECT_EQ(p.virt->rawValue(), ZKGFValue::Integer(3));

    // A pattern port takes lists only and ignores the rest.
    EXPECT_TRUE(p.patterns->takeValueFromPort(nullptr, *p.srcNumeric));
    EXPECT_TRUE(p.patterns->patternAndProbsValue()->data().empty());
}

TEST(CGenGFPortConversion, PatternListsAreCopiedNotShared)
{
    Ports p;
    CGenPatternModAndProbs list;
    list.emplace_back(CGenPattern("a"), 50.0f);
    list.mComplete = true;
    static_cast<CGenGFPortPatternAndProbs*>(p.srcPatterns)->SetList(list);
    EXPECT_TRUE(p.patterns->takeValueFromPort(nullptr, *p.srcPatterns));
    // Shared until one side asks to write.
    auto* receiver = static_cast<CGenGFPortPatternAndProbs*>(p.patterns);
    auto* sender = static_cast<CGenGFPortPatternAndProbs*>(p.srcPatterns);
    EXPECT_EQ(receiver->ConstList(), sender->ConstList());
    GenPatternModAndProbs* copy = p.patterns->patternAndProbsValue();
    EXPECT_NE(receiver->ConstList(), sender->ConstList());
    ASSERT_EQ(copy->data().size(), 1u);
    EXPECT_TRUE(copy->data().mComplete);
    EXPECT_NE(copy, p.srcPatterns->patternAndProbsValue());
    copy->data().front().mProb = 1.0f;
    EXPECT_EQ(p.srcPatterns->patternAndProbsValue()->data().front().mProb, 50.0f);
    // Nothing empties the list.
    p.patterns->setValue(ZKGFValue());
    EXPECT_TRUE(p.patterns->patternAndProbsValue()->data().empty());
    EXPECT_FALSE(p.patterns->patternAndProbsValue()->data().mComplete);
}

TEST(CGenGFPortConnection, WhoAcceptsWhom)
{
    Ports p;
    // Numbers and texts go into the numeric kinds; lists only into lists.
    EXPECT_TRUE(p.numeric->canConnectToPort(*p.srcString));
    EXPECT_TRUE(p.boolean->canConnectToPort(*p.srcIndexed));
    EXPECT_FALSE(p.numeric->canConnectToPort(*p.srcPatterns));
    EXPECT_TRUE(p.string->canConnectToPort(*p.srcNumeric));
    EXPECT_FALSE(p.string->canConnectToPort(*p.srcPatterns));
    EXPECT_TRUE(p.patterns->canConnectToPort(*p.srcPatterns));
    EXPECT_FALSE(p.patterns->canConnectToPort(*p.srcNumeric));
    // A virtual source connects anywhere.
    EXPECT_TRUE(p.patterns->canConnectToPort(*p.srcVirtual));
    EXPECT_TRUE(p.virt->canConnectToPort(*p.srcPatterns));
    EXPECT_EQ(p.root.createConnectionFromPortToPortForKey(*p.srcNumeric, *p.patterns), nullptr);
    EXPECT_NE(p.root.createConnectionFromPortToPortForKey(*p.srcPatterns, *p.patterns), nullptr);
}

TEST(CGenGFPortBounds, NumericClampsAndRaises)
{
    Ports p;
    EXPECT_TRUE(std::isnan(p.numeric->minDoubleValue()));
    EXPECT_TRUE(std::isnan(p.numeric->maxDoubleValue()));
    p.numeric->setDoubleValue(5.0);
    p.numeric->setMaxDoubleValue(2.0);
    EXPECT_EQ(p.numeric->doubleValue(), 2.0);
    p.numeric->setMinDoubleValue(1.0);
    p.numeric->setDoubleValue(-4.0);
    EXPECT_EQ(p.numeric->doubleValue(), 1.0);
    try {
        p.numeric->setMinDoubleValue(3.0);
        ADD_FAILURE();
    } catch (const ZKGFException& e) {
        EXPECT_STREQ(e.what(), "Argument \"min\" does not verify \"!(min > _max)\"");
        EXPECT_EQ(e.Kind(), ZKGFExceptionKind_InvalidArgument);
    }
    try {
        p.numeric->setMaxDoubleValue(0.5);
        ADD_FAILURE();
    } catch (const ZKGFException& e) {
        EXPECT_STREQ(e.what(), "Argument \"max\" does not verify \"!(max < _min)\"");
    }
    EXPECT_EQ(p.numeric->minDoubleValue(), 1.0);
    EXPECT_EQ(p.numeric->maxDoubleValue(), 2.0);
}

TEST(CGenGFPortBounds, IndexedClampsAndLogsCrossedBounds)
{
    Ports p;
    EXPECT_EQ(p.indexed->minIndexValue(), 0u);
    EXPECT_EQ(p.indexed->maxIndexValue(), 4294967295u);
    p.indexed->setIndexValue(10);
    p.indexed->setMaxIndexValue(3);
    EXPECT_EQ(p.indexed->indexValue(), 3u);
    ZKLogCapture log;
    p.indexed->setMinIndexValue(4);
    EXPECT_EQ(p.indexed->minIndexValue(), 0u);
    EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStyles),
        std::vector<std::string>({"CGenGFModule \"m\".i: the minimum index 4 would lie above the maximum 3"}));
}

TEST(CGenGFPortState, StoredOnlyForUnconnectedInputsInAGraph)
{
    Ports p;
    p.numeric->setDoubleValue(2.5);
    p.string->setStringValue("x");
    EXPECT_EQ(p.numeric->state(), (TGenDict {{"value", 2.5}}));
    EXPECT_EQ(p.string->state(), (TGenDict {{"value", "x"}}));
    EXPECT_TRUE(p.patterns->state().empty()); // lists are never stored
    EXPECT_TRUE(p.srcNumeric->state().empty());
    p.root.createConnectionFromPortToPortForKey(*p.srcNumeric, *p.numeric);
    EXPECT_TRUE(p.numeric->state().empty());

    // Wrong kinds are refused.
    EXPECT_FALSE(p.string->setStateValue(ZKGFValue::Double(1.0)));
    EXPECT_FALSE(p.numeric->setStateValue(ZKGFValue::String("1")));
    EXPECT_FALSE(p.patterns->setStateValue(ZKGFValue::Integer(1)));
    EXPECT_TRUE(p.indexed->setState(TGenDict {{"value", 6}}));
    EXPECT_EQ(p.indexed->indexValue(), 6u);

    // A root's own inputs keep no state.
    CGenGFModule root;
    auto* port = root.createInputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "n", {});
    port->setDoubleValue(3.0);
    EXPECT_TRUE(port->state().empty());
}

TEST(CGenGFPortNotices, ObserversSeeRealChangesOnly)
{
    Ports p;
    std::vector<std::string> seen;
    const uint64_t token = p.numeric->addValueObserver(
        [&](CGenGFPort&, const std::string& key, bool will) { seen.push_back((will ? "will " : "did ") + key); });
    EXPECT_EQ(p.numeric->observerCount(), 1u);
    p.numeric->setDoubleValue(1.0);
    p.numeric->setDoubleValue(1.0);
    EXPECT_EQ(seen, std::vector<std::string>({"will value", "did value"}));
    EXPECT_TRUE(p.numeric->removeValueObserver(token));
    p.numeric->setDoubleValue(2.0);
    EXPECT_EQ(seen.size(), 2u);

    std::vector<std::string> raw;
    p.virt->addValueObserver([&](CGenGFPort&, const std::string& key, bool will) {
        if (!will)
            raw.push_back(key);
    });
    p.virt->setRawValue(ZKGFValue::Integer(1));
    EXPECT_EQ(raw, std::vector<std::string>({"__rawValue__"}));
    // A connection empties a virtual port's raw value.
    p.root.createConnectionFromPortToPortForKey(*p.srcVirtual, *p.virt);
    EXPECT_TRUE(p.virt->rawValue().IsNothing());
}

TEST(CGenGFPortConversion, ValueTexts)
{
    EXPECT_EQ(zkgen::LeadingDouble("  -1.5e2x"), -150.0);
    EXPECT_EQ(zkgen::LeadingDouble(".5"), 0.5);
    EXPECT_EQ(zkgen::LeadingDouble("x1"), 0.0);
    EXPECT_EQ(zkgen::LeadingDouble("1e999"), INFINITY);
    EXPECT_EQ(zkgen::LeadingDouble("1e-999"), 0.0);
    EXPECT_EQ(zkgen::LeadingInteger("+17.9"), 17);
    EXPECT_EQ(zkgen::LeadingInteger("-99999999999999999999"), INT64_MIN);
    EXPECT_EQ(zkgen::LeadingInteger("99999999999999999999"), INT64_MAX);
    EXPECT_EQ(zkgen::LeadingInteger("- 3"), 0);
    EXPECT_EQ(zkgen::FormatDouble16g(0.1 + 0.2), "0.3");
    EXPECT_EQ(zkgen::FormatDouble16g(123456789012345678.0), "1.234567890123457e+17");
}
