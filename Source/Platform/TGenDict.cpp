#include "Platform/TGenDict.h"

#include <iomanip>
#include <sstream>

const std::string& TGenDictKey::String() const
{
    static const std::string kEmpty;
    return IsString() ? std::get<std::string>(mKey) : kEmpty;
}

std::string TGenDictKey::ToString() const { return IsString() ? String() : std::to_string(Integer()); }

TGenDictValue::TGenDictValue(const TGenDict& d) : mValue(std::make_unique<TGenDict>(d)) {}
TGenDictValue::TGenDictValue(TGenDict&& d) : mValue(std::make_unique<TGenDict>(std::move(d))) {}
TGenDictValue::~TGenDictValue() = default;

TGenDictValue::TGenDictValue(const TGenDictValue& o)
{
    if (const auto* p = std::get_if<std::unique_ptr<TGenDict>>(&o.mValue))
        mValue = std::make_unique<TGenDict>(**p);
    else
        std::visit(
            [this](const auto& v) {
                using V = std::decay_t<decltype(v)>;
                if constexpr (!std::is_same_v<V, std::unique_ptr<TGenDict>>)
                    mValue = v;
            },
            o.mValue);
}

TGenDictValue& TGenDictValue::operator=(const TGenDictValue& o)
{
    if (this != &o) {
        TGenDictValue copy(o);
        mValue = std::move(copy.mValue);
    }
    return *this;
}

int64_t TGenDictValue::AsInteger(int64_t def) const { return IntegerIfRepresentable().value_or(def); }

std::optional<int64_t> TGenDictValue::IntegerIfRepresentable() const
{
    switch (GetKind()) {
    case Kind::Integer: return std::get<int64_t>(mValue);
    case Kind::Real: {
        // Converting a double outside [-2^63, 2^63) is undefined; both bounds
        // are exact doubles, and NaN fails either test.
        const double d = std::get<double>(mValue);
        if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0))
            return std::nullopt;
        return static_cast<int64_t>(d);
    }
    case Kind::Bool: return std::get<bool>(mValue) ? 1 : 0;
    default: return std::nullopt;
    }
}

double TGenDictValue::AsDouble(double def) const
{
    switch (GetKind()) {
    case Kind::Integer: return static_cast<double>(std::get<int64_t>(mValue));
    case Kind::Real: return std::get<double>(mValue);
    case Kind::Bool: return std::get<bool>(mValue) ? 1.0 : 0.0;
    default: return def;
    }
}

bool TGenDictValue::AsBool(bool def) const
{
    switch (GetKind()) {
    case Kind::Bool: return std::get<bool>(mValue);
    case Kind::Integer: return std::get<int64_t>(mValue) != 0;
    case Kind::Real: return std::get<double>(mValue) != 0.0;
    default: return def;
    }
}

const std::string& TGenDictValue::AsString(const std::string& def) const
{
    return IsString() ? std::get<std::string>(mValue) : def;
}
const TGenData* TGenDictValue::AsData() const { return std::get_if<TGenData>(&mValue); }
const TGenDate* TGenDictValue::AsDate() const { return std::get_if<TGenDate>(&mValue); }
const TGenArray* TGenDictValue::AsArray() const { return std::get_if<TGenArray>(&mValue); }
TGenArray* TGenDictValue::AsArray() { return std::get_if<TGenArray>(&mValue); }
const TGenDict* TGenDictValue::AsDict() const
{
    const auto* p = std::get_if<std::unique_ptr<TGenDict>>(&mValue);
    return p ? p->get() : nullptr;
}
TGenDict* TGenDictValue::AsDict()
{
    auto* p = std::get_if<std::unique_ptr<TGenDict>>(&mValue);
    return p ? p->get() : nullptr;
}

bool TGenDictValue::operator==(const TGenDictValue& o) const
{
    if (mValue.index() != o.mValue.index())
        return false;
    if (IsDict())
        return *AsDict() == *o.AsDict();
    return std::visit(
        [&o](const auto& v) {
            using V = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<V, std::unique_ptr<TGenDict>>)
                return false;
            else
                return v == std::get<V>(o.mValue);
        },
        mValue);
}

void TGenDictValue::TraceStream(std::ostream& os, int indent) const
{
    switch (GetKind()) {
    case Kind::Integer: os << std::get<int64_t>(mValue); break;
    case Kind::Real: {
        std::ostringstream s;
        s << std::setprecision(17) << std::get<double>(mValue);
        os << s.str();
        break;
    }
    case Kind::String: os << '"' << std::get<std::string>(mValue) << '"'; break;
    case Kind::Bool: os << (std::get<bool>(mValue) ? "true" : "false"); break;
    case Kind::Data: os << "<data " << std::get<TGenData>(mValue).size() << " bytes>"; break;
    case Kind::Date: os << "<date " << std::get<TGenDate>(mValue).mSecondsSinceReferenceDate << ">"; break;
    case Kind::Array: {
        const auto& a = std::get<TGenArray>(mValue);
        os << "(";
        for (size_t i = 0; i < a.size(); ++i) {
            if (i)
                os << ", ";
            a[i].TraceStream(os, indent);
        }
        os << ")";
        break;
    }
    case Kind::Dict: AsDict()->TraceStream(os, indent); break;
    }
}

const TGenDictValue* TGenDict::ValueForKey(const TGenDictKey& key) const
{
    auto it = mMap.find(key);
    return it == mMap.end() ? nullptr : &it->second;
}

TGenDictValue* TGenDict::ValueForKey(const TGenDictKey& key)
{
    auto it = mMap.find(key);
    return it == mMap.end() ? nullptr : &it->second;
}

int64_t TGenDict::IntegerForKey(const TGenDictKey& key, int64_t def) const
{
    const auto* v = ValueForKey(key);
    return v ? v->AsInteger(def) : def;
}

double TGenDict::DoubleForKey(const TGenDictKey& key, double def) const
{
    const auto* v = ValueForKey(key);
    return v ? v->AsDouble(def) : def;
}

bool TGenDict::BoolForKey(const TGenDictKey& key, bool def) const
{
    const auto* v = ValueForKey(key);
    return v ? v->AsBool(def) : def;
}

std::string TGenDict::StringForKey(const TGenDictKey& key, const std::string& def) const
{
    const auto* v = ValueForKey(key);
    return v ? v->AsString(def) : def;
}

const TGenDict* TGenDict::DictForKey(const TGenDictKey& key) const
{
    const auto* v = ValueForKey(key);
    return v ? v->AsDict() : nullptr;
}

TGenDict* TGenDict::DictForKey(const TGenDictKey& key)
{
    auto* v = ValueForKey(key);
    return v ? v->AsDict() : nullptr;
}

const TGenArray* TGenDict::ArrayForKey(const TGenDictKey& key) const
{
    const auto* v = ValueForKey(key);
    return v ? v->AsArray() : nullptr;
}

TGenDict& TGenDict::DictForKeyCreating(const TGenDictKey& key)
{
    auto* v = ValueForKey(key);
    if (!v || !v->IsDict()) {
        SetValueForKey(TGenDict {}, key);
        v = ValueForKey(key);
    }
    return *v->AsDict();
}

void TGenDict::TraceStream(std::ostream& os, int indent) const
{
    const std::string pad(static_cast<size_t>(indent) * 2, ' ');
    os << "{\n";
    for (const auto& [k, v] : mMap) {
        os << pad << "  " << (k.IsInteger() ? k.ToString() : "\"" + k.String() + "\"") << " = ";
        v.TraceStream(os, indent + 1);
        os << ";\n";
    }
    os << pad << "}";
}

std::string TGenDict::TraceString() const
{
    std::ostringstream os;
    TraceStream(os);
    return os.str();
}

std::ostream& operator<<(std::ostream& os, const TGenDict& d)
{
    d.TraceStream(os);
    return os;
}
