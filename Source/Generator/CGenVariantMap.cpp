#include "Generator/CGenVariantMap.h"

int64_t CGenVariantMap::IntValueForKey(const std::string& key, int64_t def) const
{
    auto it = intMap.find(key);
    return it == intMap.end() ? def : it->second;
}

double CGenVariantMap::FloatValueForKey(const std::string& key, double def) const
{
    auto it = floatMap.find(key);
    return it == floatMap.end() ? def : it->second;
}

std::string CGenVariantMap::StringValueForKey(const std::string& key, const std::string& def) const
{
    auto it = stringMap.find(key);
    return it == stringMap.end() ? def : it->second;
}

void CGenVariantMap::TraceStream(std::ostream& os) const
{
    os << "CGenVariantMap";
    for (const auto& [k, v] : intMap)
        os << " " << k << "=" << v;
    for (const auto& [k, v] : floatMap)
        os << " " << k << "=" << v;
    for (const auto& [k, v] : stringMap)
        os << " " << k << "='" << v << "'";
}

CGenEvsBeatedVariantMaps::CGenEvsBeatedVariantMaps(const std::optional<CGenBeatedVariantMap>& a,
    const std::optional<CGenBeatedVariantMap>& b, const std::optional<CGenBeatedVariantMap>& c)
{
    for (const auto* m : {&a, &b, &c})
        if (m->has_value())
            InsertAtCorrectBeatPos(**m);
}

const CGenBeatedVariantMap* CGenEvsBeatedVariantMaps::FindMemberAtOffset(float beatPos, int offset) const
{
    auto it = ElInForceAt(beatPos);
    if (it == end())
        return nullptr;
    const auto ix = static_cast<long long>(it - begin()) + offset;
    if (ix < 0 || ix >= static_cast<long long>(size()))
        return nullptr;
    return &(*this)[static_cast<size_t>(ix)];
}
