#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

// A dictionary in three ordered parts (integers, floats, strings), keyed by
// string: the region parameters and other open key sets.
class CGenVariantMap : public CGenTraceable<CGenVariantMap> {
public:
    static constexpr const char* kTraceClassName = "CGenVariantMap";

    std::map<std::string, int64_t> intMap;
    std::map<std::string, double> floatMap;
    std::map<std::string, std::string> stringMap;

    void SetIntValueForKey(int64_t value, const std::string& key) { intMap[key] = value; }
    int64_t IntValueForKey(const std::string& key, int64_t def) const;
    bool HasIntValueForKey(const std::string& key) const { return intMap.count(key) != 0; }
    void RemoveIntValueForKey(const std::string& key) { intMap.erase(key); }

    void SetFloatValueForKey(double value, const std::string& key) { floatMap[key] = value; }
    double FloatValueForKey(const std::string& key, double def) const;
    bool HasFloatValueForKey(const std::string& key) const { return floatMap.count(key) != 0; }
    void RemoveFloatValueForKey(const std::string& key) { floatMap.erase(key); }

    void SetStringValueForKey(const std::string& value, const std::string& key) { stringMap[key] = value; }
    std::string StringValueForKey(const std::string& key, const std::string& def) const;
    bool HasStringValueForKey(const std::string& key) const { return stringMap.count(key) != 0; }
    void RemoveStringValueForKey(const std::string& key) { stringMap.erase(key); }

    void Clear()
    {
        intMap.clear();
        floatMap.clear();
        stringMap.clear();
    }
    bool empty() const { return intMap.empty() && floatMap.empty() && stringMap.empty(); }

    bool operator==(const CGenVariantMap&) const = default;
    bool operator<(const CGenVariantMap& o) const
    {
        if (intMap != o.intMap)
            return intMap < o.intMap;
        if (floatMap != o.floatMap)
            return floatMap < o.floatMap;
        return stringMap < o.stringMap;
    }

    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("intMap", intMap);
        ar& boost::serialization::make_nvp("floatMap", floatMap);
        ar& boost::serialization::make_nvp("stringMap", stringMap);
    }
};

// A variant map in force from a beat position on.
class CGenBeatedVariantMap {
public:
    float mBeatPos = TGenBeatPos_Undef;
    CGenVariantMap mVariantMap;

    CGenBeatedVariantMap() = default;
    CGenBeatedVariantMap(float pos, CGenVariantMap map) : mBeatPos(pos), mVariantMap(std::move(map)) {}
    bool operator==(const CGenBeatedVariantMap&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPos", mBeatPos);
        ar& boost::serialization::make_nvp("mVariantMap", mVariantMap);
    }
};

// The parameters of the regions of a track by position, so that a script can
// look at the previous and next region.
class CGenEvsBeatedVariantMaps : public CGenEvs_Templ<CGenBeatedVariantMap> {
public:
    using TBase = CGenEvs_Templ<CGenBeatedVariantMap>;

    CGenEvsBeatedVariantMaps() = default;
    // Up to three members (previous, current, next region); members whose map
    // is missing are left out, the others sorted by position.
    CGenEvsBeatedVariantMaps(const std::optional<CGenBeatedVariantMap>& a, const std::optional<CGenBeatedVariantMap>& b,
        const std::optional<CGenBeatedVariantMap>& c);

    // The member `offset` places from the one in force at `beatPos`; null if
    // none is in force there or the offset leaves the list.
    const CGenBeatedVariantMap* FindMemberAtOffset(float beatPos, int offset) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenEvsBeatedVariantMaps", boost::serialization::base_object<TBase>(*this));
    }
};
