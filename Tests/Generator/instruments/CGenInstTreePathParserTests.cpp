#include "Generator/instruments/CGenInstTreePathParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using TPaths = std::vector<std::string>;

TPaths Expand(const std::string& expression, CGenInstTreePathParser::TSort sort = CGenInstTreePathParser::TSort_Keep)
{
    CGenInstTreePathParser parser(expression, sort);
    return parser.results();
}

} // namespace

TEST(CGenInstTreePathParser, PlainPathsStayAsTheyAre)
{
    EXPECT_EQ(Expand("Drums.Hh.note.foot"), (TPaths { "Drums.Hh.note.foot" }));
    EXPECT_EQ(Expand("Drums.Hh.note.hit.move.closing fastsus1"), (TPaths { "Drums.Hh.note.hit.move.closing fastsus1" }));
    // Without brackets the separator means nothing.
    EXPECT_EQ(Expand("a;b"), (TPaths { "a;b" }));
    // No "[": taken as it stands; a lone "[" without any "]" likewise.
    EXPECT_EQ(Expand("a]b"), (TPaths { "a]b" }));
    EXPECT_EQ(Expand("a[b"), (TPaths { "a[b" }));
    EXPECT_EQ(Expand(""), TPaths {});
}

TEST(CGenInstTreePathParser, BracketsExpandToAUnionInWrittenOrder)
{
    EXPECT_EQ(Expand("Drums.Tm[pitch.1;stroke.s1]"), (TPaths { "Drums.Tm.pitch.1", "Drums.Tm.stroke.s1" }));
    EXPECT_EQ(Expand("a[b;c[d;e]]"), (TPaths { "a.b", "a.c.d", "a.c.e" }));
    EXPECT_EQ(Expand("a[b[c[d;e];f];g]"), (TPaths { "a.b.c.d", "a.b.c.e", "a.b.f", "a.g" }));
    EXPECT_EQ(Expand("a[x[1;2];y[3]]"), (TPaths { "a.x.1", "a.x.2", "a.y.3" }));
    EXPECT_EQ(Expand("[b;c]"), (TPaths { ".b", ".c" }));
    // Empty pieces expand to the parent path with its trailing dot.
    EXPECT_EQ(Expand("a[b;;c]"), (TPaths { "a.b", "a.", "a.c" }));
    EXPECT_EQ(Expand("a[;]"), (TPaths { "a.", "a." }));
    // Text after the last "]" is dropped.
    EXPECT_EQ(Expand("a[b]c"), (TPaths { "a.b" }));
    // Spaces belong to names.
    EXPECT_EQ(Expand("m[closing fastsus1; stop slow]"), (TPaths { "m.closing fastsus1", "m. stop slow" }));
}

TEST(CGenInstTreePathParser, MalformedExpressionsGiveNoPaths)
{
    EXPECT_EQ(Expand("a[b]]"), TPaths {});       // inner "b]" has an unbalanced "]"
    EXPECT_EQ(Expand("a[]"), TPaths {});         // empty brackets
    EXPECT_EQ(Expand("a]b[c"), TPaths {});       // "]" in front of the first "["
    EXPECT_EQ(Expand("a[b[c]"), TPaths {});      // "[" left open inside the list
    EXPECT_EQ(Expand("a[b;c[]]"), TPaths {});    // empty brackets deeper down
    EXPECT_EQ(Expand("a[b];c[d]"), TPaths {});   // two lists side by side are no sub-path
}

TEST(CGenInstTreePathParser, SortingAndReparsing)
{
    EXPECT_EQ(Expand("x[b;a]", CGenInstTreePathParser::TSort_Sorted), (TPaths { "x.a", "x.b" }));
    EXPECT_EQ(Expand("x[b;a]"), (TPaths { "x.b", "x.a" }));
    // Byte order: upper case sorts before lower case, "." before letters.
    EXPECT_EQ(Expand("x[b;B;a.c;a]", CGenInstTreePathParser::TSort_Sorted), (TPaths { "x.B", "x.a", "x.a.c", "x.b" }));

    CGenInstTreePathParser parser("p[q;r]");
    const TPaths& first = parser.results();
    EXPECT_EQ(&first, &parser.results());
    EXPECT_EQ(parser.results(), (TPaths { "p.q", "p.r" }));
    CGenInstTreePathParser copy = parser;
    EXPECT_EQ(copy.results(), (TPaths { "p.q", "p.r" }));
    CGenInstTreePathParser bad("p[]");
    EXPECT_TRUE(bad.results().empty());
    EXPECT_TRUE(bad.results().empty());
}

TEST(CGenInstTreePathParser, PiecesAndSeparatorPositions)
{
    CGenInstTreePathParserPimpl pimpl("", 0);
    EXPECT_EQ(pimpl.findSemicolonSeparatedPathElements("b;c[d;e];"), (TPaths { "b", "c[d;e]", "" }));
    EXPECT_EQ(pimpl.findSemicolonSeparatedPathElements("abc"), (TPaths { "abc" }));
    EXPECT_EQ(pimpl.findSemicolonSeparatedPathElements(""), (TPaths { "" }));
    EXPECT_EQ(pimpl.parseSubPath(""), (TPaths { "" }));
    EXPECT_THROW(pimpl.parseSubPath("a[]"), zkgen::wrong_syntax);
    EXPECT_THROW(pimpl.parseSubPath("a]x[b"), zkgen::wrong_syntax);

    const std::string text = ";a[;b];[c;]d;";
    zkgen::FindSeperatorPositionsHelper helper(&text);
    helper.findSeperatorPositions();
    EXPECT_EQ(helper.results(), (std::vector<std::size_t> { 0, 6, 12 }));
    const std::string open = "a[b;c";
    zkgen::FindSeperatorPositionsHelper unclosed(&open);
    EXPECT_THROW(unclosed.findSeperatorPositions(), zkgen::wrong_syntax);
    const std::string close = "a];b";
    zkgen::FindSeperatorPositionsHelper early(&close);
    EXPECT_THROW(early.findSeperatorPositions(), zkgen::wrong_syntax);
}

TEST(CGenInstTreePathBuilder, KeepsItsInputAndBuildsNothingYet)
{
    CGenInstTreePathBuilder builder({ "Drums.Tm.pitch.1", "Drums.Tm.stroke.s1" });
    builder.parseInput();
    builder.buildResult();
    EXPECT_EQ(builder.result(), "");
    EXPECT_STREQ(CGenInstTreePathBuilder::kWrongSyntaxMessage, "CGenInstTreePathBuilder: wrong syntax");
}
