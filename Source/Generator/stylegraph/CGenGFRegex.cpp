#include "Generator/stylegraph/CGenGFRegex.h"

CGenGFRegex::~CGenGFRegex()
{
    _free();
}

CGenGFRegex::CGenGFRegex(const CGenGFRegex& o) : mText(o.mText)
{
    if (o.mError != -1)
        _compile();
}

CGenGFRegex& CGenGFRegex::operator=(const CGenGFRegex& o)
{
    if (this != &o) {
        mText = o.mText;
        _free();
        mError = -1;
        if (o.mError != -1)
            _compile();
    }
    return *this;
}

void CGenGFRegex::_free()
{
    if (mCompiledValid)
        regfree(&mCompiled);
    mCompiledValid = false;
    mMatchCache.clear();
}

void CGenGFRegex::setRegexString(const std::string& text)
{
    if (text == mText)
        return;
    mText = text;
    _compile();
}

void CGenGFRegex::_compile()
{
    _free();
    mError = regcomp(&mCompiled, mText.c_str(), REG_EXTENDED | REG_NOSUB);
    mCompiledValid = mError == 0;
    mErrorBuffer[0] = '\0';
    if (mError != 0)
        regerror(mError, &mCompiled, mErrorBuffer, sizeof mErrorBuffer);
}

std::string CGenGFRegex::regexErrorCString() const
{
    if (mError == 0)
        return "Success";
    if (mError == -1)
        return "No expression compiled";
    return mErrorBuffer;
}

bool CGenGFRegex::doesMatchCString(const char* text) const
{
    if (!mCompiledValid || !text)
        return false;
    // Filters ask about the same few pattern names at every bar.
    std::string_view key(text);
    if (const auto it = mMatchCache.find(key); it != mMatchCache.end())
        return it->second;
    const bool match = regexec(&mCompiled, text, 0, nullptr, 0) == 0;
    if (mMatchCache.size() >= kMatchCacheLimit)
        mMatchCache.clear();
    mMatchCache.emplace(std::string(key), match);
    return match;
}

std::unique_ptr<ZKCoding> CGenGFRegex::DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry&, std::string*)
{
    auto regex = std::make_unique<CGenGFRegex>();
    if (coder.HasKey("regexString"))
        regex->setRegexString(coder.StringForKey("regexString"));
    return regex;
}

bool CGenGFRegex::IsEqualToObject(const ZKGFObject& other) const
{
    const auto* o = dynamic_cast<const CGenGFRegex*>(&other);
    return o && o->mText == mText;
}
