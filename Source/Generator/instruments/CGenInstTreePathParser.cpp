#include "Generator/instruments/CGenInstTreePathParser.h"

#include <algorithm>

namespace zkgen {

void FindSeperatorPositionsHelper::findSeperatorPositions()
{
    mPositions.clear();
    mCharPos = 0;
    mOpenBraces = 0;
    for (const char c : *mText) {
        if (c == '[')
            foundOpenBrace();
        else if (c == ']')
            foundClosingBrace();
        else if (c == ';')
            foundSeperator();
        ++mCharPos;
    }
    if (mOpenBraces != 0)
        throw wrong_syntax();
}

void FindSeperatorPositionsHelper::foundSeperator()
{
    if (mOpenBraces == 0)
        mPositions.push_back(mCharPos);
}

void FindSeperatorPositionsHelper::foundOpenBrace() { ++mOpenBraces; }

void FindSeperatorPositionsHelper::foundClosingBrace()
{
    if (mOpenBraces == 0)
        throw wrong_syntax();
    --mOpenBraces;
}

} // namespace zkgen

std::vector<std::string> CGenInstTreePathParserPimpl::findSemicolonSeparatedPathElements(const std::string& text) const
{
    zkgen::FindSeperatorPositionsHelper helper(&text);
    helper.findSeperatorPositions();
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (const std::size_t pos : helper.results()) {
        pieces.push_back(text.substr(start, pos - start));
        start = pos + 1;
    }
    pieces.push_back(text.substr(start));
    return pieces;
}

std::vector<std::string> CGenInstTreePathParserPimpl::parseSubPath(const std::string& text) const
{
    const std::size_t open = text.find('[');
    if (text.empty() || open == std::string::npos)
        return { text };
    // The closing bracket is the last "]"; whatever follows it is dropped.
    const std::size_t close = text.rfind(']');
    if (close == std::string::npos)
        return { text };
    if (close <= open)
        throw zkgen::wrong_syntax();
    const std::string prefix = text.substr(0, open);
    const std::string inner = text.substr(open + 1, close - open - 1);
    if (inner.empty())
        throw zkgen::wrong_syntax();
    std::vector<std::string> paths;
    for (const std::string& piece : findSemicolonSeparatedPathElements(inner))
        for (const std::string& sub : parseSubPath(piece))
            paths.push_back(prefix + "." + sub);
    return paths;
}

void CGenInstTreePathParserPimpl::parsePath()
{
    if (mInput.empty()) {
        mResults.clear();
        return;
    }
    std::vector<std::string> paths;
    try {
        paths = parseSubPath(mInput);
    } catch (const zkgen::wrong_syntax&) {
        mResults.clear();
        return;
    }
    mResults = std::move(paths);
    if (mSort == TSort_Sorted)
        std::sort(mResults.begin(), mResults.end());
}

CGenInstTreePathParser::CGenInstTreePathParser(const std::string& path, TSort sort)
    : mPimpl(std::make_unique<CGenInstTreePathParserPimpl>(path, sort))
{
}

CGenInstTreePathParser::CGenInstTreePathParser(const CGenInstTreePathParser& o)
    : mPimpl(std::make_unique<CGenInstTreePathParserPimpl>(*o.mPimpl))
{
}

CGenInstTreePathParser& CGenInstTreePathParser::operator=(const CGenInstTreePathParser& o)
{
    if (this != &o)
        *mPimpl = *o.mPimpl;
    return *this;
}

CGenInstTreePathParser::~CGenInstTreePathParser() = default;

const std::vector<std::string>& CGenInstTreePathParser::results()
{
    if (mPimpl->mResults.empty())
        mPimpl->parsePath();
    return mPimpl->mResults;
}

CGenInstTreePathBuilder::CGenInstTreePathBuilder(const std::vector<std::string>& paths)
    : mPimpl(std::make_unique<CGenInstTreePathBuilderPimpl>())
{
    mPimpl->mInput = paths;
}

CGenInstTreePathBuilder::~CGenInstTreePathBuilder() = default;

void CGenInstTreePathBuilder::parseInput() {}

void CGenInstTreePathBuilder::buildResult() { mPimpl->mResult.clear(); }

const std::string& CGenInstTreePathBuilder::result() const { return mPimpl->mResult; }
