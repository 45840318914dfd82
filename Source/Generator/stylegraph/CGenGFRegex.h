#pragma once

#include "Generator/stylegraph/foundation/ZKGFValue.h"

#include <regex.h>

#include <string>
#include <string_view>
#include <unordered_map>

// A POSIX extended regular expression (case-sensitive, no capture) as a
// value object of a module's state. It compiles when its text changes; an
// expression that is invalid, or that never compiled, matches nothing.
// Keyed archive: "regexString".
class CGenGFRegex : public ZKGFObject {
public:
    static constexpr const char* kClassName = "CGenGFRegex";

    CGenGFRegex() = default;
    explicit CGenGFRegex(const std::string& text) { setRegexString(text); }
    ~CGenGFRegex() override;
    CGenGFRegex(const CGenGFRegex& o);
    CGenGFRegex& operator=(const CGenGFRegex& o);

    // Nothing happens for an unchanged text (also before the first
    // compilation: the empty text of a new expression compiles nothing).
    void setRegexString(const std::string& text);
    const std::string& regexString() const { return mText; }
    void setRegexCString(const char* text) { setRegexString(text ? text : ""); }
    const char* regexCString() const { return mText.c_str(); }

    bool isValid() const { return mError == 0; }
    // The code of the last compilation (0 on success, -1 before the first).
    int regexError() const { return mError; }
    // "Success" when valid, else the reason the compilation gave.
    std::string regexErrorCString() const;
    // A match anywhere in the text.
    bool doesMatch(const std::string& text) const { return doesMatchCString(text.c_str()); }
    bool doesMatchCString(const char* text) const;

    std::string CodingClassName() const override { return kClassName; }
    void EncodeWithCoder(TGenDict& coder) const override { coder.SetValueForKey(mText, "regexString"); }
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry&, std::string*);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFRegex>(*this); }
    bool IsEqualToObject(const ZKGFObject& other) const override;
    std::string Description() const override { return "<CGenGFRegex \"" + mText + "\">"; }

private:
    void _compile();
    void _free();

    // Answers for texts already asked about, forgotten with the expression;
    // bounded, since the texts come from content.
    struct TTextHash {
        using is_transparent = void;
        size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    static constexpr size_t kMatchCacheLimit = 4096;
    mutable std::unordered_map<std::string, bool, TTextHash, std::equal_to<>> mMatchCache;

    std::string mText;
    regex_t mCompiled {};
    bool mCompiledValid = false;
    int mError = -1;
    char mErrorBuffer[256] = {};
};
