#pragma once

// State-key entries shared by the rating modules: booleans, the stored state
// version, and a table of the module's own kept as a value object.

#include "Generator/CGenContext.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFRatingTables.h"

#include <memory>
#include <string>
#include <vector>

namespace zkgen::rating {

// What "stateVersion" holds in states written now; states without it predate
// the tables of a module's own.
inline constexpr int64_t kStateVersion = 1;

inline bool ValidateNumber(const CGenGFModule&, const ZKGFValue& v, std::string& error)
{
    if (v.IsNumber())
        return true;
    error = "a number is expected";
    return false;
}

template <class M>
CGenGFClassDescription::TStateKey BoolKey(const char* key, bool (M::*get)() const, void (M::*set)(bool))
{
    return {key, [get](const CGenGFModule& m) { return ZKGFValue::Bool((static_cast<const M&>(m).*get)()); },
        [set](CGenGFModule& m, const ZKGFValue& v) { (static_cast<M&>(m).*set)(v.DoubleValue().value_or(0.0) != 0.0); },
        ValidateNumber};
}

// Written as kStateVersion; reading it changes nothing (setState looks at
// the stored state itself).
inline CGenGFClassDescription::TStateKey StateVersionKey()
{
    return {"stateVersion", [](const CGenGFModule&) { return ZKGFValue::Integer(kStateVersion); }, nullptr,
        ValidateNumber};
}

// A table object of class T: nothing while the module has none; setting
// stores a copy.
template <class M, class T>
CGenGFClassDescription::TStateKey TableKey(const char* key, std::shared_ptr<T> (M::*get)() const,
    void (M::*set)(const T&))
{
    return {key, [get](const CGenGFModule& m) { return ZKGFValue((static_cast<const M&>(m).*get)()); },
        [set](CGenGFModule& m, const ZKGFValue& v) {
            if (const T* table = v.ObjectAs<T>())
                (static_cast<M&>(m).*set)(*table);
        },
        [key](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
            if (v.ObjectAs<T>())
                return true;
            error = std::string("a ") + T::kClassName + " is expected for \"" + key + "\"";
            return false;
        }};
}

// The standard tables of the running generator, or null.
inline const CGenGFRatingTables* StandardTables(const CGenGFContext& context)
{
    return context.genContext() ? context.genContext()->mRatingTables : nullptr;
}

// The ports of the table modules: two strings in, the number out.
inline std::vector<ZKGFPortSpec> TablePorts(const char* familyDescription, const char* addOnDescription)
{
    return {{"inputFamilyName", &CGenGFPortString::Class(), -1, "Family", familyDescription},
        {"inputAddOnName", &CGenGFPortString::Class(), -1, "Add-on", addOnDescription},
        {"outputValue", &CGenGFPortNumeric::Class(), 1, "Complexity", "The complexity the table gives"}};
}

} // namespace zkgen::rating
