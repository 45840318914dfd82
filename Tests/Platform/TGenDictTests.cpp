#include "Platform/TGenDict.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

TEST(TGenDict, IntegerAndStringKeysLiveSideBySide)
{
    TGenDict seeds;
    seeds.SetValueForKey(int64_t(5), 2);
    seeds.SetValueForKey(int64_t(9), "Seeds_StyleGraphGlobalToMerged");
    EXPECT_EQ(seeds.IntegerForKey(2), 5);
    EXPECT_EQ(seeds.IntegerForKey("Seeds_StyleGraphGlobalToMerged"), 9);
    EXPECT_FALSE(seeds.HasKey("2"));
    EXPECT_EQ(seeds.IntegerForKey(3, -1), -1);
}

TEST(TGenDict, CopiesAreDeepClones)
{
    TGenDict inner {{"gain", 0.5}};
    TGenDict original;
    original.SetValueForKey(inner, "module");
    original.SetValueForKey(TGenArray {int64_t(1), inner}, "list");

    TGenDict copy = original;
    TGenDict clone = original.Clone();
    copy.DictForKey("module")->SetValueForKey(0.75, "gain");
    clone.ValueForKey("list")->AsArray()->at(1).AsDict()->SetValueForKey("changed", "gain");
    copy.DictForKeyCreating("fresh").SetValueForKey(true, "x");

    EXPECT_EQ(original.DictForKey("module")->DoubleForKey("gain"), 0.5);
    EXPECT_EQ(original.ArrayForKey("list")->at(1).AsDict()->DoubleForKey("gain"), 0.5);
    EXPECT_FALSE(original.HasKey("fresh"));
    EXPECT_NE(copy, original);
    EXPECT_NE(clone, original);

    TGenDictValue value(original);
    TGenDictValue assigned;
    assigned = value;
    value.AsDict()->clear();
    EXPECT_EQ(*assigned.AsDict(), original);
}

TEST(TGenDict, KindsStayApart)
{
    TGenDict d {{"i", 1}, {"r", 1.0}, {"b", true}, {"s", "1"}};
    EXPECT_TRUE(d.ValueForKey("i")->IsInteger());
    EXPECT_TRUE(d.ValueForKey("r")->IsReal());
    EXPECT_TRUE(d.ValueForKey("i")->IsNumber() && d.ValueForKey("r")->IsNumber());
    EXPECT_FALSE(d.ValueForKey("b")->IsNumber());
    EXPECT_TRUE(TGenDictValue(2.5f).IsReal());
    EXPECT_TRUE(TGenDictValue(uint8_t(2)).IsInteger());
    // Equal numbers of different kinds are different values.
    EXPECT_FALSE(*d.ValueForKey("i") == *d.ValueForKey("r"));
    EXPECT_FALSE(*d.ValueForKey("i") == *d.ValueForKey("b"));
    EXPECT_NE((TGenDict {{"k", 1}}), (TGenDict {{"k", 1.0}}));
    // Integer keys and their decimal text are different keys; integers come first.
    TGenDict keys {{"1", "text"}, {1, "number"}, {"0", "z"}, {-5, "neg"}};
    std::vector<std::string> order;
    for (const auto& [k, v] : keys)
        order.push_back(k.ToString());
    EXPECT_EQ(order, (std::vector<std::string> {"-5", "1", "0", "1"}));
}

TEST(TGenDict, TypedReadsFallBackToTheDefault)
{
    const TGenDict d {{"i", 7}, {"r", 2.9}, {"neg", -2.9}, {"b", true}, {"s", "text"}, {"a", TGenArray {}}, {"d", TGenDict {}}};
    EXPECT_EQ(d.IntegerForKey("i", -1), 7);
    EXPECT_EQ(d.IntegerForKey("r", -1), 2); // truncates
    EXPECT_EQ(d.IntegerForKey("neg", 0), -2);
    EXPECT_EQ(d.IntegerForKey("b", -1), 1);
    EXPECT_EQ(d.IntegerForKey("s", -1), -1);
    EXPECT_EQ(d.IntegerForKey("missing", -1), -1);
    EXPECT_EQ(d.DoubleForKey("i"), 7.0);
    EXPECT_EQ(d.DoubleForKey("a", 0.25), 0.25);
    EXPECT_TRUE(d.BoolForKey("i"));
    EXPECT_TRUE(d.BoolForKey("s", true));
    EXPECT_FALSE(d.BoolForKey("s", false));
    EXPECT_EQ(d.StringForKey("s"), "text");
    EXPECT_EQ(d.StringForKey("i", "none"), "none");
    EXPECT_EQ(d.StringForKey("missing"), "");
    EXPECT_NE(d.DictForKey("d"), nullptr);
    EXPECT_EQ(d.DictForKey("a"), nullptr);
    EXPECT_NE(d.ArrayForKey("a"), nullptr);
    EXPECT_EQ(d.ArrayForKey("d"), nullptr);
    EXPECT_EQ(d.ValueForKey("missing"), nullptr);

    TGenDict m {{"x", 1}};
    m.DictForKeyCreating("x").SetValueForKey(2, "y"); // replaces a value of another kind
    EXPECT_EQ(m.DictForKey("x")->IntegerForKey("y"), 2);
    EXPECT_TRUE(m.RemoveValueForKey("x"));
    EXPECT_FALSE(m.RemoveValueForKey("x"));
    EXPECT_TRUE(m.empty());
}

TEST(TGenDict, FloatingNumbersWithoutAnIntegerReadAsTheDefault)
{
    // int64_t holds [-2^63, 2^63 - 1]; -2^63 = -9223372036854775808 is a
    // double, 2^63 = 9223372036854775808 is the first one past the top.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const TGenDict d {{"huge", 1e300}, {"-huge", -1e300}, {"nan", nan}, {"inf", inf}, {"-inf", -inf},
        {"2^63", 9223372036854775808.0}, {"-2^63", -9223372036854775808.0}, {"2^62", 4611686018427387904.0}};
    for (const char* key : {"huge", "-huge", "nan", "inf", "-inf", "2^63"}) {
        EXPECT_EQ(d.IntegerForKey(key, 7), 7) << key;
        EXPECT_EQ(d.ValueForKey(key)->AsInteger(-3), -3) << key;
        EXPECT_EQ(d.ValueForKey(key)->IntegerIfRepresentable(), std::nullopt) << key;
    }
    EXPECT_EQ(d.IntegerForKey("-2^63", 7), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(d.IntegerForKey("2^62", 7), int64_t(4611686018427387904));
    // Representable ones truncate toward zero as before: 2.9 -> 2, -2.9 -> -2.
    EXPECT_EQ(TGenDictValue(2.9).IntegerIfRepresentable(), std::optional<int64_t>(2));
    EXPECT_EQ(TGenDictValue(-2.9).IntegerIfRepresentable(), std::optional<int64_t>(-2));
    EXPECT_EQ(TGenDictValue(true).IntegerIfRepresentable(), std::optional<int64_t>(1));
    EXPECT_EQ(TGenDictValue("12").IntegerIfRepresentable(), std::nullopt);
}

TEST(TGenDict, EqualityIsDeepAndIndependentOfInsertionOrder)
{
    TGenDict a, b;
    a.SetValueForKey(1, "x");
    a.SetValueForKey(TGenData {1, 2}, 3);
    a.SetValueForKey(TGenDate {5}, "when");
    b.SetValueForKey(TGenDate {5}, "when");
    b.SetValueForKey(TGenData {1, 2}, 3);
    b.SetValueForKey(1, "x");
    EXPECT_EQ(a, b);
    b.SetValueForKey(TGenDate {6}, "when");
    EXPECT_NE(a, b);

    TGenDict nestedA {{"n", TGenDict {{"deep", TGenArray {1, "x"}}}}};
    TGenDict nestedB {{"n", TGenDict {{"deep", TGenArray {1, "y"}}}}};
    EXPECT_NE(nestedA, nestedB);
    nestedB.DictForKey("n")->SetValueForKey(TGenArray {1, "x"}, "deep");
    EXPECT_EQ(nestedA, nestedB);
}
