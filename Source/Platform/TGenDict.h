#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

// The keyed property dictionary of the host boundary (memento, out info,
// style properties). Values are numbers (integer and floating kept apart),
// strings, bools, data, dates, arrays and nested dictionaries; copying is a
// deep clone.

class TGenDict;
class TGenDictValue;

using TGenData = std::vector<uint8_t>;
using TGenArray = std::vector<TGenDictValue>;

// A point in time as seconds since 2001-01-01 00:00:00 UTC, the reference date
// of property lists.
struct TGenDate {
    double mSecondsSinceReferenceDate = 0.0;
    auto operator<=>(const TGenDate&) const = default;
};

// A dictionary key is a string or an integer: the memento's "Seeds" dictionary
// is keyed by the layer numbers 0 to 4 beside the string key of the merged
// stage. Integers order before strings.
class TGenDictKey {
public:
    TGenDictKey(const char* s) : mKey(std::string(s)) {}
    TGenDictKey(std::string s) : mKey(std::move(s)) {}
    TGenDictKey(std::string_view s) : mKey(std::string(s)) {}
    template <class TInt>
        requires(std::is_integral_v<TInt> || std::is_enum_v<TInt>)
    TGenDictKey(TInt i) : mKey(static_cast<int64_t>(i))
    {
    }

    bool IsInteger() const { return std::holds_alternative<int64_t>(mKey); }
    bool IsString() const { return std::holds_alternative<std::string>(mKey); }
    int64_t Integer() const { return IsInteger() ? std::get<int64_t>(mKey) : 0; }
    const std::string& String() const;
    // Printable form: the string, or the number in decimal.
    std::string ToString() const;

    auto operator<=>(const TGenDictKey&) const = default;
    bool operator==(const TGenDictKey&) const = default;

private:
    std::variant<int64_t, std::string> mKey;
};

class TGenDictValue {
public:
    enum class Kind { Integer, Real, String, Bool, Data, Date, Array, Dict };

    TGenDictValue() : mValue(int64_t(0)) {}
    template <class TInt>
        requires(std::is_integral_v<TInt> && !std::is_same_v<TInt, bool>)
    TGenDictValue(TInt i) : mValue(static_cast<int64_t>(i))
    {
    }
    TGenDictValue(bool b) : mValue(b) {}
    TGenDictValue(double d) : mValue(d) {}
    TGenDictValue(float f) : mValue(static_cast<double>(f)) {}
    TGenDictValue(const char* s) : mValue(std::string(s)) {}
    TGenDictValue(std::string s) : mValue(std::move(s)) {}
    TGenDictValue(TGenData d) : mValue(std::move(d)) {}
    TGenDictValue(TGenDate d) : mValue(d) {}
    TGenDictValue(TGenArray a) : mValue(std::move(a)) {}
    TGenDictValue(const TGenDict& d);
    TGenDictValue(TGenDict&& d);

    TGenDictValue(const TGenDictValue& o);
    TGenDictValue(TGenDictValue&& o) noexcept = default;
    TGenDictValue& operator=(const TGenDictValue& o);
    TGenDictValue& operator=(TGenDictValue&& o) noexcept = default;
    ~TGenDictValue();

    Kind GetKind() const { return static_cast<Kind>(mValue.index()); }
    bool IsNumber() const { return GetKind() == Kind::Integer || GetKind() == Kind::Real; }
    bool IsInteger() const { return GetKind() == Kind::Integer; }
    bool IsReal() const { return GetKind() == Kind::Real; }
    bool IsString() const { return GetKind() == Kind::String; }
    bool IsBool() const { return GetKind() == Kind::Bool; }
    bool IsData() const { return GetKind() == Kind::Data; }
    bool IsDate() const { return GetKind() == Kind::Date; }
    bool IsArray() const { return GetKind() == Kind::Array; }
    bool IsDict() const { return GetKind() == Kind::Dict; }

    // Numbers convert between integer and floating (a floating one truncated
    // toward zero); a bool reads as 0 or 1. Other kinds give the default, and
    // so do NaN and floating numbers outside int64_t's range, which have no
    // integer.
    int64_t AsInteger(int64_t def = 0) const;
    // The integer AsInteger reads, or none where it would fall back to the
    // default: for readers that must tell a damaged number from a missing one.
    std::optional<int64_t> IntegerIfRepresentable() const;
    double AsDouble(double def = 0.0) const;
    bool AsBool(bool def = false) const;
    // The string, or `def` for other kinds.
    const std::string& AsString(const std::string& def) const;
    const TGenData* AsData() const;
    const TGenDate* AsDate() const;
    const TGenArray* AsArray() const;
    TGenArray* AsArray();
    const TGenDict* AsDict() const;
    TGenDict* AsDict();

    bool operator==(const TGenDictValue& o) const;

    void TraceStream(std::ostream& os, int indent) const;

private:
    std::variant<int64_t, double, std::string, bool, TGenData, TGenDate, TGenArray, std::unique_ptr<TGenDict>> mValue;
};

class TGenDict {
public:
    using TMap = std::map<TGenDictKey, TGenDictValue>;
    using const_iterator = TMap::const_iterator;
    using iterator = TMap::iterator;

    TGenDict() = default;
    TGenDict(std::initializer_list<std::pair<const TGenDictKey, TGenDictValue>> init) : mMap(init) {}

    // A deep clone; the same as a copy.
    TGenDict Clone() const { return *this; }

    bool empty() const { return mMap.empty(); }
    size_t size() const { return mMap.size(); }
    void clear() { mMap.clear(); }
    const_iterator begin() const { return mMap.begin(); }
    const_iterator end() const { return mMap.end(); }
    iterator begin() { return mMap.begin(); }
    iterator end() { return mMap.end(); }

    bool HasKey(const TGenDictKey& key) const { return mMap.count(key) != 0; }
    const TGenDictValue* ValueForKey(const TGenDictKey& key) const;
    TGenDictValue* ValueForKey(const TGenDictKey& key);
    void SetValueForKey(TGenDictValue value, const TGenDictKey& key) { mMap.insert_or_assign(key, std::move(value)); }
    bool RemoveValueForKey(const TGenDictKey& key) { return mMap.erase(key) != 0; }

    // Typed reads: a missing key, or a value of another kind, gives `def`.
    int64_t IntegerForKey(const TGenDictKey& key, int64_t def = 0) const;
    double DoubleForKey(const TGenDictKey& key, double def = 0.0) const;
    bool BoolForKey(const TGenDictKey& key, bool def = false) const;
    std::string StringForKey(const TGenDictKey& key, const std::string& def = {}) const;
    const TGenDict* DictForKey(const TGenDictKey& key) const;
    TGenDict* DictForKey(const TGenDictKey& key);
    const TGenArray* ArrayForKey(const TGenDictKey& key) const;
    // The nested dictionary under `key`, created (replacing a value of another kind) if absent.
    TGenDict& DictForKeyCreating(const TGenDictKey& key);

    bool operator==(const TGenDict& o) const { return mMap == o.mMap; }

    void TraceStream(std::ostream& os, int indent = 0) const;
    std::string TraceString() const;

private:
    TMap mMap;
};

std::ostream& operator<<(std::ostream& os, const TGenDict& d);
