#include "Platform/ZKKeyedArchive.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

TGenData Bytes(const std::string& s) { return TGenData(s.begin(), s.end()); }
std::string Text(const TGenData& d) { return std::string(d.begin(), d.end()); }

// Every kind, integer keys beside string keys that need escaping, nesting.
TGenDict MakeEverything()
{
    TGenDict seeds;
    for (int layer = 0; layer < 5; ++layer)
        seeds.SetValueForKey(int64_t(1000 + layer), layer);
    seeds.SetValueForKey(int64_t(-1), -7);
    seeds.SetValueForKey(int64_t(42), "Seeds_StyleGraphGlobalToMerged");

    TGenDict inner;
    inner.SetValueForKey("deep", std::numeric_limits<int64_t>::min());
    inner.SetValueForKey(TGenArray {}, "emptyArray");
    inner.SetValueForKey(TGenDict {}, "emptyDict");

    TGenDict d;
    d.SetValueForKey(seeds, "Seeds");
    d.SetValueForKey(inner, 3);
    d.SetValueForKey(std::numeric_limits<int64_t>::max(), "max");
    d.SetValueForKey(int64_t(0), "zero");
    d.SetValueForKey(0.1, "tenth");
    d.SetValueForKey(1.0 / 3.0, "third");
    d.SetValueForKey(-2.5e300, "huge");
    d.SetValueForKey(2.0, "realTwo");
    d.SetValueForKey(std::numeric_limits<double>::infinity(), "inf");
    d.SetValueForKey("<&>\"' Grüße \t tab", "text");
    d.SetValueForKey("", "");
    d.SetValueForKey(true, "yes");
    d.SetValueForKey(false, "no");
    d.SetValueForKey(TGenData {0x00, 0xFF, 0x10, 0x80}, "data");
    d.SetValueForKey(TGenData {}, "emptyData");
    d.SetValueForKey(TGenDate {0}, "refDate");
    d.SetValueForKey(TGenDate {-86400}, "dayBefore");
    d.SetValueForKey(TGenDate {700000000}, "later");
    d.SetValueForKey(TGenArray {int64_t(1), 2.0, "three", TGenArray {false, TGenData {1}}, inner}, "mixed");
    d.SetValueForKey("hash", "#tag");
    d.SetValueForKey("double hash", "##x");
    d.SetValueForKey("hash alone", "#");
    d.SetValueForKey("number text", "12");
    return d;
}

} // namespace

TEST(ZKKeyedArchive, RoundTripsEveryKindInBothFormats)
{
    const TGenDict original = MakeEverything();
    for (auto format : {ZKKeyedArchiveFormat_XML, ZKKeyedArchiveFormat_Binary}) {
        std::string error;
        const auto bytes = ZKKeyedArchiveEncode(original, format, &error);
        ASSERT_TRUE(bytes) << error;
        ZKKeyedArchiveFormat detected = format == ZKKeyedArchiveFormat_XML ? ZKKeyedArchiveFormat_Binary : ZKKeyedArchiveFormat_XML;
        const auto decoded = ZKKeyedArchiveDecode(*bytes, &error, &detected);
        ASSERT_TRUE(decoded) << error;
        EXPECT_EQ(detected, format);
        EXPECT_EQ(*decoded, original) << decoded->TraceString();
        // Kinds stay apart: an integral real is still a real, an integer key still an integer.
        EXPECT_TRUE(decoded->ValueForKey("realTwo")->IsReal());
        EXPECT_TRUE(decoded->ValueForKey(3)->IsDict());
        EXPECT_FALSE(decoded->HasKey("3"));
        EXPECT_EQ(decoded->DictForKey("Seeds")->IntegerForKey(-7), -1);
        EXPECT_EQ(decoded->StringForKey("12"), "number text");
    }
    EXPECT_EQ(std::memcmp(ZKKeyedArchiveEncode(original, ZKKeyedArchiveFormat_Binary)->data(), "bplist00", 8), 0);
}

TEST(ZKKeyedArchive, WritesTheExpectedXmlText)
{
    TGenDict d;
    d.SetValueForKey(int64_t(7), 1);
    d.SetValueForKey("x", "#a");
    d.SetValueForKey(true, "b");
    d.SetValueForKey(TGenDict {}, "e");
    d.SetValueForKey(2.5, "r");
    const std::string xml = Text(*ZKKeyedArchiveEncode(d, ZKKeyedArchiveFormat_XML));
    EXPECT_EQ(xml.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", 0), 0u);
    const size_t body = xml.find("<plist version=\"1.0\">");
    ASSERT_NE(body, std::string::npos);
    EXPECT_EQ(xml.substr(body),
        "<plist version=\"1.0\">\n"
        "<dict>\n"
        "\t<key>#1</key>\n"
        "\t<integer>7</integer>\n"
        "\t<key>##a</key>\n"
        "\t<string>x</string>\n"
        "\t<key>b</key>\n"
        "\t<true/>\n"
        "\t<key>e</key>\n"
        "\t<dict/>\n"
        "\t<key>r</key>\n"
        "\t<real>2.5</real>\n"
        "</dict>\n"
        "</plist>\n");
}

TEST(ZKKeyedArchive, EscapesKeysOneToOne)
{
    EXPECT_EQ(ZKKeyedArchiveEscapeKey(0), "#0");
    EXPECT_EQ(ZKKeyedArchiveEscapeKey(-12), "#-12");
    EXPECT_EQ(ZKKeyedArchiveEscapeKey(std::numeric_limits<int64_t>::min()), "#-9223372036854775808");
    EXPECT_EQ(ZKKeyedArchiveEscapeKey("#a"), "##a");
    EXPECT_EQ(ZKKeyedArchiveEscapeKey("#"), "##");
    EXPECT_EQ(ZKKeyedArchiveEscapeKey("a#"), "a#");
    EXPECT_EQ(ZKKeyedArchiveEscapeKey("4"), "4");
    EXPECT_EQ(ZKKeyedArchiveEscapeKey(""), "");

    EXPECT_EQ(*ZKKeyedArchiveUnescapeKey("#4"), TGenDictKey(4));
    EXPECT_EQ(*ZKKeyedArchiveUnescapeKey("#-9223372036854775808"), TGenDictKey(std::numeric_limits<int64_t>::min()));
    EXPECT_EQ(*ZKKeyedArchiveUnescapeKey("###"), TGenDictKey("##"));
    EXPECT_EQ(*ZKKeyedArchiveUnescapeKey("4"), TGenDictKey("4"));
    for (const char* bad : {"#", "#01", "#-0", "#+1", "#-", "#1a", "#abc", "# 1", "#9223372036854775808"})
        EXPECT_FALSE(ZKKeyedArchiveUnescapeKey(bad)) << bad;
}

TEST(ZKKeyedArchive, DatesKeepWhatEachFormatCanHold)
{
    TGenDict d;
    d.SetValueForKey(TGenDate {12.5}, "half");
    d.SetValueForKey(TGenDate {-99.75}, "before");
    const auto binary = ZKKeyedArchiveDecode(*ZKKeyedArchiveEncode(d, ZKKeyedArchiveFormat_Binary));
    ASSERT_TRUE(binary);
    EXPECT_EQ(binary->ValueForKey("half")->AsDate()->mSecondsSinceReferenceDate, 12.5);
    EXPECT_EQ(binary->ValueForKey("before")->AsDate()->mSecondsSinceReferenceDate, -99.75);
    // XML dates hold whole seconds.
    const auto xml = ZKKeyedArchiveDecode(*ZKKeyedArchiveEncode(d, ZKKeyedArchiveFormat_XML));
    ASSERT_TRUE(xml);
    EXPECT_EQ(xml->ValueForKey("half")->AsDate()->mSecondsSinceReferenceDate, 12);
    const std::string text = Text(*ZKKeyedArchiveEncode(d, ZKKeyedArchiveFormat_XML));
    EXPECT_NE(text.find("<date>2001-01-01T00:00:12Z</date>"), std::string::npos);
}

TEST(ZKKeyedArchive, RefusesValuesItCannotWrite)
{
    const std::vector<std::pair<TGenDict, std::string>> cases = {
        {TGenDict {{"s", std::string("a\0b", 3)}}, "cannot encode /s: string is not valid UTF-8"},
        {TGenDict {{"s", "\xC3\x28"}}, "cannot encode /s: string is not valid UTF-8"},
        {TGenDict {{"\xFF", 1}}, "cannot encode /\xFF: key is not valid UTF-8"},
        {TGenDict {{"a", TGenArray {TGenDate {NAN}}}}, "cannot encode /a[0]: date is not a finite"},
        {TGenDict {{"d", TGenDate {1e10}}}, "cannot encode /d: date lies more than 2^31 seconds"},
        {TGenDict {{"o", TGenDict {{"CF$UID", 3}}}}, "cannot encode /o: a dictionary with the single integer key"},
    };
    for (const auto& [dict, message] : cases) {
        for (auto format : {ZKKeyedArchiveFormat_XML, ZKKeyedArchiveFormat_Binary}) {
            std::string error;
            EXPECT_FALSE(ZKKeyedArchiveEncode(dict, format, &error));
            EXPECT_EQ(error.rfind("keyed archive: " + message, 0), 0u) << error;
        }
    }
    // A "CF$UID" key beside others, or with a string value, is plain data.
    EXPECT_TRUE(ZKKeyedArchiveEncode(TGenDict {{"CF$UID", "x"}}, ZKKeyedArchiveFormat_XML));

    TGenDict deep;
    for (int i = 0; i < kZKKeyedArchiveMaxDepth; ++i)
        deep = TGenDict {{"n", deep}};
    std::string error;
    EXPECT_FALSE(ZKKeyedArchiveEncode(deep, ZKKeyedArchiveFormat_Binary, &error));
    EXPECT_NE(error.find("nested deeper than 512"), std::string::npos) << error;
    EXPECT_TRUE(ZKKeyedArchiveEncode(*deep.DictForKey("n"), ZKKeyedArchiveFormat_Binary));
}

namespace {

// A binary property list from raw objects (one-byte offsets and references).
TGenData BinaryPlist(const std::vector<std::vector<uint8_t>>& objects, uint8_t top = 0)
{
    TGenData b = Bytes("bplist00");
    std::vector<uint8_t> offsets;
    for (const auto& o : objects) {
        offsets.push_back(static_cast<uint8_t>(b.size()));
        b.insert(b.end(), o.begin(), o.end());
    }
    const auto table = static_cast<uint8_t>(b.size());
    b.insert(b.end(), offsets.begin(), offsets.end());
    const uint8_t trailer[32] = {0, 0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(objects.size()),
        0, 0, 0, 0, 0, 0, 0, top, 0, 0, 0, 0, 0, 0, 0, table};
    b.insert(b.end(), trailer, trailer + 32);
    return b;
}

std::string DecodeError(const TGenData& bytes)
{
    std::string error;
    const auto decoded = ZKKeyedArchiveDecode(bytes, &error);
    return decoded ? "decoded" : error;
}

} // namespace

TEST(ZKKeyedArchive, DecodesOnlyTheClassesWeUse)
{
    // {a: 1} decodes; the same with a uid in place of the integer does not.
    const auto plain = ZKKeyedArchiveDecode(BinaryPlist({{0xD1, 1, 2}, {0x51, 'a'}, {0x10, 0x01}}));
    ASSERT_TRUE(plain);
    EXPECT_EQ(*plain, (TGenDict {{"a", 1}}));
    EXPECT_EQ(DecodeError(BinaryPlist({{0xD1, 1, 2}, {0x51, 'a'}, {0x80, 0x01}})),
        "keyed archive: damaged binary property list: uid objects are not an allowed class");
    EXPECT_EQ(DecodeError(BinaryPlist({{0xD1, 1, 2}, {0x51, 'a'}, {0xC0}})),
        "keyed archive: damaged binary property list: sets are not an allowed class");
    EXPECT_EQ(DecodeError(BinaryPlist({{0xD1, 1, 2}, {0x10, 0x01}, {0x10, 0x01}})),
        "keyed archive: damaged binary property list: dictionary key is not a string");
    EXPECT_EQ(DecodeError(BinaryPlist({{0xA1, 1}, {0x10, 0x01}})), "keyed archive: the root object is not a dictionary");

    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
    EXPECT_EQ(DecodeError(Bytes(head + "<dict><key>o</key><dict><key>CF$UID</key><integer>1</integer></dict></dict></plist>")),
        "keyed archive: cannot decode /o: object reference (CF$UID) is not an allowed class");
    EXPECT_EQ(DecodeError(Bytes(head + "<dict><key>#x</key><true/></dict></plist>")),
        "keyed archive: cannot decode /#x: key \"#x\" begins with '#' but is no integer key");
    EXPECT_EQ(DecodeError(Bytes(head + "<string>x</string></plist>")), "keyed archive: the root object is not a dictionary");
    EXPECT_EQ(DecodeError(Bytes(head + "<dict><key>a</key><string>\xC3\x28</string></dict></plist>")),
        "keyed archive: cannot decode /a: string is not valid UTF-8 text without NUL characters");
}

TEST(ZKKeyedArchive, RefusesGarbageAndTruncatedBytes)
{
    EXPECT_EQ(DecodeError({}), "keyed archive: no bytes");
    EXPECT_EQ(DecodeError(Bytes("garbage bytes")), "keyed archive: damaged XML property list");
    EXPECT_EQ(DecodeError(Bytes("bplist00 and then nonsense that is long enough for a trailer")).rfind(
                  "keyed archive: damaged binary property list: ", 0),
        0u);

    const TGenDict original = MakeEverything();
    const TGenData binary = *ZKKeyedArchiveEncode(original, ZKKeyedArchiveFormat_Binary);
    for (size_t n = 0; n < binary.size(); ++n)
        EXPECT_FALSE(ZKKeyedArchiveDecode(binary.data(), n)) << n;
    const TGenData xml = *ZKKeyedArchiveEncode(original, ZKKeyedArchiveFormat_XML);
    const size_t end = Text(xml).rfind("</plist>");
    for (size_t n = 0; n < end; n += 7)
        EXPECT_FALSE(ZKKeyedArchiveDecode(xml.data(), n)) << n;

    // Every single-byte change of the binary form either decodes or fails cleanly.
    for (size_t i = 0; i < binary.size(); ++i) {
        TGenData damaged = binary;
        damaged[i] ^= 0x5A;
        (void)ZKKeyedArchiveDecode(damaged);
    }
}

TEST(ZKKeyedArchive, RefusesHostileNesting)
{
    // XML nested far beyond the limit.
    std::string xml = "<plist version=\"1.0\"><dict><key>a</key>";
    for (int i = 0; i < 100000; ++i)
        xml += "<array>";
    EXPECT_EQ(DecodeError(Bytes(xml)), "keyed archive: containers nested deeper than 512");

    // A binary chain of 600 arrays, each holding the next; two-byte references.
    const int chain = 600;
    TGenData b = Bytes("bplist00");
    std::vector<uint16_t> offsets;
    offsets.push_back(static_cast<uint16_t>(b.size()));
    b.insert(b.end(), {0xD1, 0x00, 0x01, 0x00, 0x02}); // {"k": object 2}
    offsets.push_back(static_cast<uint16_t>(b.size()));
    b.insert(b.end(), {0x51, 'k'});
    for (int i = 0; i < chain; ++i) {
        offsets.push_back(static_cast<uint16_t>(b.size()));
        if (i + 1 < chain)
            b.insert(b.end(), {0xA1, static_cast<uint8_t>((i + 3) >> 8), static_cast<uint8_t>(i + 3)});
        else
            b.push_back(0xA0);
    }
    const size_t table = b.size();
    for (uint16_t o : offsets)
        b.insert(b.end(), {static_cast<uint8_t>(o >> 8), static_cast<uint8_t>(o)});
    const size_t count = offsets.size();
    b.insert(b.end(), {0, 0, 0, 0, 0, 0, 2, 2, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(count >> 8), static_cast<uint8_t>(count)});
    b.insert(b.end(), {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(table >> 8), static_cast<uint8_t>(table)});
    EXPECT_EQ(DecodeError(b), "keyed archive: damaged binary property list: containers nested deeper than 512");

    // An array that holds itself.
    EXPECT_EQ(DecodeError(BinaryPlist({{0xD1, 1, 2}, {0x51, 'a'}, {0xA1, 2}})),
        "keyed archive: damaged binary property list: object reference cycle");
    // Forty arrays, each holding the next one twice: 2^40 nodes once expanded.
    std::vector<std::vector<uint8_t>> doubling = {{0xD1, 1, 2}, {0x51, 'a'}};
    for (uint8_t i = 0; i < 40; ++i)
        doubling.push_back({0xA2, static_cast<uint8_t>(i + 3), static_cast<uint8_t>(i + 3)});
    doubling.push_back({0xA0});
    EXPECT_EQ(DecodeError(BinaryPlist(doubling)),
        "keyed archive: damaged binary property list: shared objects expand beyond a sensible size");
    // A reference past the object table.
    EXPECT_EQ(DecodeError(BinaryPlist({{0xD1, 1, 9}, {0x51, 'a'}})),
        "keyed archive: damaged binary property list: object reference out of range");
}

TEST(ZKKeyedArchive, ClonesThroughTheArchive)
{
    const TGenDict original = MakeEverything();
    auto clone = ZKCodingClone(original);
    ASSERT_TRUE(clone);
    EXPECT_EQ(*clone, original);
    clone->DictForKey("Seeds")->SetValueForKey(int64_t(5), 0);
    EXPECT_EQ(original.DictForKey("Seeds")->IntegerForKey(0), 1000);

    std::string error;
    EXPECT_FALSE(ZKCodingClone(TGenDict {{"d", TGenDate {INFINITY}}}, &error));
    EXPECT_EQ(error, "keyed archive: cannot encode /d: date is not a finite number of seconds");
}
