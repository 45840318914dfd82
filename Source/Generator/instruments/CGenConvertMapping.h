#pragma once

#include "Generator/CGenTrace.h"
#include "Generator/instruments/CKCtr.h"

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <vector>

// A controller with the value a token gives it, and the two directions the
// row serves (both true in the built-in mappings).
struct TCKCtr {
    CKCtr mCtr;
    int mValue = kCKCtrValue_Undef;
    bool mConvertToCtr = true;
    bool mConvertToUid = true;

    bool operator==(const TCKCtr& o) const = default;
};

// The output form of instrument events for one key: tree paths name tokens,
// tokens name controllers with values.
class CGenConvertMapping : public CGenTraceable<CGenConvertMapping> {
public:
    static constexpr const char* kTraceClassName = "CGenConvertMapping";
    using TPathToToken = std::map<std::string, std::string>;
    using TTokenToTCKCtr = std::map<std::string, TCKCtr>;

    std::string mName;
    TPathToToken mPathToToken;
    TTokenToTCKCtr mTokenToTCKCtr;

    CGenConvertMapping() = default;
    explicit CGenConvertMapping(const std::string& name) : mName(name) {}

    // Expands the path expression and files every plain path under the token;
    // a later row for the same path replaces the token.
    void AddTokenForPath(const std::string& path, const std::string& token);
    void AddCKCtrForToken(const std::string& token, const CKCtr& ctr, int value, bool convertToCtr = true,
        bool convertToUid = true);

    // The row of the first plain path of the expression; end() if there is none.
    TPathToToken::const_iterator TokenIteratorForPath(const std::string& path) const;
    TPathToToken::const_iterator end() const { return mPathToToken.end(); }
    // Empty when the path has no token.
    std::string TokenForPath(const std::string& path) const;
    // The undefined controller with the undefined value when the path or its token is unknown.
    const TCKCtr& TCKCtrForPath(const std::string& path) const;
    const TCKCtr& TCKCtrForToken(const std::string& token) const;
    // A plain path looked up as it stands, without expansion.
    const TCKCtr& TCKCtrForPlainPath(const std::string& path) const;

    std::size_t PathCount() const { return mPathToToken.size(); }
    bool IsEmpty() const { return mPathToToken.empty() && mTokenToTCKCtr.empty(); }

    bool operator==(const CGenConvertMapping& o) const
    {
        return mName == o.mName && mPathToToken == o.mPathToToken && mTokenToTCKCtr == o.mTokenToTCKCtr;
    }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    static const TCKCtr& UndefTCKCtr();
};

// A list of mappings.
class CGenConvertMappings : public std::vector<CGenConvertMapping>, public CGenTraceable<CGenConvertMappings> {
public:
    static constexpr const char* kTraceClassName = "CGenConvertMappings";
    using std::vector<CGenConvertMapping>::vector;

    // Null when no mapping has this name.
    const CGenConvertMapping* MappingWithName(const std::string& name) const;

    bool operator==(const CGenConvertMappings& o) const
    {
        return static_cast<const std::vector<CGenConvertMapping>&>(*this) ==
            static_cast<const std::vector<CGenConvertMapping>&>(o);
    }
    void TraceStream(std::ostream& os) const;
};
