#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <vector>

// Instrument path expressions: plain dotted paths, or a prefix with a
// bracketed list of sub-paths separated by ";" ("Drums.Tm[pitch.1;stroke.s1]").
// A bracket denotes the union of its pieces, each appended to the prefix.

namespace zkgen {

// Raised while expanding a malformed expression; never leaves the parser.
class wrong_syntax : public std::exception {
public:
    explicit wrong_syntax(const char* message = "CGenInstTreePathParser: wrong syntax") : mMessage(message) {}
    const char* what() const noexcept override { return mMessage; }

private:
    const char* mMessage;
};

// Positions of the top-level ";" of a string; throws wrong_syntax on
// unbalanced brackets.
class FindSeperatorPositionsHelper {
public:
    explicit FindSeperatorPositionsHelper(const std::string* text) : mText(text) {}

    void findSeperatorPositions();
    void foundSeperator();
    void foundOpenBrace();
    void foundClosingBrace();
    const std::vector<std::size_t>& results() const { return mPositions; }

private:
    const std::string* mText;
    std::vector<std::size_t> mPositions;
    std::size_t mCharPos = 0;
    int mOpenBraces = 0;
};

} // namespace zkgen

class CGenInstTreePathParserPimpl {
public:
    enum TSort : int { TSort_Keep = 0, TSort_Sorted = 1 };

    CGenInstTreePathParserPimpl(const std::string& input, int sort) : mInput(input), mSort(sort) {}

    // The pieces between top-level ";", empty pieces kept.
    std::vector<std::string> findSemicolonSeparatedPathElements(const std::string& text) const;
    // The plain paths of one sub-path, depth first in written order.
    std::vector<std::string> parseSubPath(const std::string& text) const;
    // Expands the input into the results; a malformed input leaves them empty.
    void parsePath();

    std::string mInput;
    int mSort = TSort_Keep;
    std::vector<std::string> mResults;
};

// Expands a path expression into plain paths on first use of results().
class CGenInstTreePathParser {
public:
    using TSort = int;
    static constexpr TSort TSort_Keep = 0;
    static constexpr TSort TSort_Sorted = 1;

    explicit CGenInstTreePathParser(const std::string& path, TSort sort = TSort_Keep);
    CGenInstTreePathParser(const CGenInstTreePathParser& o);
    CGenInstTreePathParser& operator=(const CGenInstTreePathParser& o);
    ~CGenInstTreePathParser();

    // Parses while the result is empty. An empty or malformed expression gives
    // no paths; unknown names are not this parser's concern.
    const std::vector<std::string>& results();

private:
    std::unique_ptr<CGenInstTreePathParserPimpl> mPimpl;
};

class CGenInstTreePathBuilderPimpl {
public:
    std::vector<std::string> mInput;
    std::string mResult;
};

// The way back from plain paths to one expression. It keeps its input and
// yields an empty expression for now; no caller relies on more.
class CGenInstTreePathBuilder {
public:
    static constexpr const char* kWrongSyntaxMessage = "CGenInstTreePathBuilder: wrong syntax";

    explicit CGenInstTreePathBuilder(const std::vector<std::string>& paths);
    ~CGenInstTreePathBuilder();

    void parseInput();
    void buildResult();
    const std::string& result() const;

private:
    std::unique_ptr<CGenInstTreePathBuilderPimpl> mPimpl;
};
