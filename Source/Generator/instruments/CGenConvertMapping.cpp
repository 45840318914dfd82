#include "Generator/instruments/CGenConvertMapping.h"

#include "Generator/instruments/CGenInstTreePathParser.h"

const TCKCtr& CGenConvertMapping::UndefTCKCtr()
{
    static const TCKCtr kUndef { CKCtr_Undef, kCKCtrValue_Undef, true, true };
    return kUndef;
}

void CGenConvertMapping::AddTokenForPath(const std::string& path, const std::string& token)
{
    CGenInstTreePathParser parser(path);
    for (const std::string& plain : parser.results())
        mPathToToken[plain] = token;
}

void CGenConvertMapping::AddCKCtrForToken(const std::string& token, const CKCtr& ctr, int value, bool convertToCtr,
    bool convertToUid)
{
    mTokenToTCKCtr[token] = TCKCtr { ctr, value, convertToCtr, convertToUid };
}

CGenConvertMapping::TPathToToken::const_iterator CGenConvertMapping::TokenIteratorForPath(const std::string& path) const
{
    CGenInstTreePathParser parser(path);
    for (const std::string& plain : parser.results()) {
        auto it = mPathToToken.find(plain);
        if (it != mPathToToken.end())
            return it;
    }
    return mPathToToken.end();
}

std::string CGenConvertMapping::TokenForPath(const std::string& path) const
{
    auto it = TokenIteratorForPath(path);
    return it == mPathToToken.end() ? std::string() : it->second;
}

const TCKCtr& CGenConvertMapping::TCKCtrForToken(const std::string& token) const
{
    auto it = mTokenToTCKCtr.find(token);
    return it == mTokenToTCKCtr.end() ? UndefTCKCtr() : it->second;
}

const TCKCtr& CGenConvertMapping::TCKCtrForPath(const std::string& path) const
{
    auto it = TokenIteratorForPath(path);
    return it == mPathToToken.end() ? UndefTCKCtr() : TCKCtrForToken(it->second);
}

const TCKCtr& CGenConvertMapping::TCKCtrForPlainPath(const std::string& path) const
{
    auto it = mPathToToken.find(path);
    return it == mPathToToken.end() ? UndefTCKCtr() : TCKCtrForToken(it->second);
}

void CGenConvertMapping::TraceStream(std::ostream& os) const
{
    os << "CGenConvertMapping " << mName << " paths " << mPathToToken.size() << " tokens " << mTokenToTCKCtr.size();
    for (const auto& [path, token] : mPathToToken) {
        const TCKCtr& t = TCKCtrForToken(token);
        os << "\n  " << path << " -> " << token << ": " << t.mCtr << " value ";
        if (t.mValue == kCKCtrValue_Undef)
            os << "undef";
        else
            os << t.mValue;
    }
}

void CGenConvertMapping::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenConvertMapping " << mName << " paths " << mPathToToken.size() << " tokens " << mTokenToTCKCtr.size();
}

const CGenConvertMapping* CGenConvertMappings::MappingWithName(const std::string& name) const
{
    for (const CGenConvertMapping& m : *this)
        if (m.mName == name)
            return &m;
    return nullptr;
}

void CGenConvertMappings::TraceStream(std::ostream& os) const
{
    os << "CGenConvertMappings size " << size();
    for (const CGenConvertMapping& m : *this)
        os << "\n  " << m.TraceBriefString();
}
