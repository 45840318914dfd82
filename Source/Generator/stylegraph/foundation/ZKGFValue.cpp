#include "Generator/stylegraph/foundation/ZKGFValue.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <string_view>
#include <limits>
#include <sstream>

bool ZKGFObject::IsEqualToObject(const ZKGFObject& other) const
{
    return this == &other || (CodingClassName() == other.CodingClassName()
        && ZKCodingEncodeObject(*this) == ZKCodingEncodeObject(other));
}

std::string ZKGFObject::Description() const
{
    return zkgen::AngleBracketed(CodingClassName());
}

namespace zkgen {

std::string AngleBracketed(const std::string& text)
{
    // Built by appending: g++ 12 warns falsely (-Wrestrict) on "<" + text + ">".
    std::string out;
    out.reserve(text.size() + 2);
    out.append("<").append(text).append(">");
    return out;
}

namespace {

size_t SkipSpaceAndPlus(const std::string& text, bool& negative)
{
    size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
        ++i;
    negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    return i;
}

} // namespace

double LeadingDouble(const std::string& text)
{
    bool negative = false;
    const size_t i = SkipSpaceAndPlus(text, negative);
    if (i >= text.size() || !(std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.'))
        return 0.0;
    double v = 0.0;
    const auto [end, ec] = std::from_chars(text.data() + i, text.data() + text.size(), v, std::chars_format::general);
    if (ec == std::errc::result_out_of_range) {
        // from_chars leaves v alone here: a negative exponent underflows to
        // zero, anything else overflows to infinity.
        const std::string_view number(text.data() + i, static_cast<size_t>(end - (text.data() + i)));
        const size_t e = number.find_first_of("eE");
        v = (e != std::string_view::npos && e + 1 < number.size() && number[e + 1] == '-')
            ? 0.0
            : std::numeric_limits<double>::infinity();
    } else if (ec != std::errc()) {
        return 0.0;
    }
    return negative ? -v : v;
}

int64_t LeadingInteger(const std::string& text)
{
    bool negative = false;
    size_t i = SkipSpaceAndPlus(text, negative);
    uint64_t magnitude = 0;
    bool overflow = false;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
        const uint64_t digit = static_cast<uint64_t>(text[i] - '0');
        if (magnitude > (std::numeric_limits<uint64_t>::max() - digit) / 10)
            overflow = true;
        else
            magnitude = magnitude * 10 + digit;
    }
    constexpr uint64_t kMaxPositive = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    if (negative) {
        if (overflow || magnitude > kMaxPositive + 1)
            return std::numeric_limits<int64_t>::min();
        return magnitude == kMaxPositive + 1 ? std::numeric_limits<int64_t>::min() : -static_cast<int64_t>(magnitude);
    }
    if (overflow || magnitude > kMaxPositive)
        return std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(magnitude);
}

std::string FormatDouble16g(double v)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%0.16g", v);
    return buf;
}

} // namespace zkgen

namespace {

const std::shared_ptr<ZKGFObject> kNoObject;

void DescribePlist(std::ostream& os, const TGenDictValue& v)
{
    switch (v.GetKind()) {
    case TGenDictValue::Kind::Integer: os << v.AsInteger(); break;
    case TGenDictValue::Kind::Real: os << zkgen::FormatDouble16g(v.AsDouble()); break;
    case TGenDictValue::Kind::Bool: os << (v.AsBool() ? "true" : "false"); break;
    case TGenDictValue::Kind::String: os << '"' << v.AsString(std::string()) << '"'; break;
    case TGenDictValue::Kind::Data: os << "<data " << v.AsData()->size() << " bytes>"; break;
    case TGenDictValue::Kind::Date: os << "<date " << zkgen::FormatDouble16g(v.AsDate()->mSecondsSinceReferenceDate) << ">"; break;
    case TGenDictValue::Kind::Array: {
        os << '(';
        bool first = true;
        for (const TGenDictValue& el : *v.AsArray()) {
            os << (first ? "" : ", ");
            DescribePlist(os, el);
            first = false;
        }
        os << ')';
        break;
    }
    case TGenDictValue::Kind::Dict: {
        os << '{';
        bool first = true;
        for (const auto& [key, el] : *v.AsDict()) {
            os << (first ? "" : ", ") << key.ToString() << " = ";
            DescribePlist(os, el);
            first = false;
        }
        os << '}';
        break;
    }
    }
}

} // namespace

bool ZKGFValue::IsNumber() const
{
    const TGenDictValue* p = Plist();
    return p && (p->IsNumber() || p->IsBool());
}

bool ZKGFValue::IsString() const
{
    const TGenDictValue* p = Plist();
    return p && p->IsString();
}

const std::shared_ptr<ZKGFObject>& ZKGFValue::Object() const
{
    const auto* o = std::get_if<std::shared_ptr<ZKGFObject>>(&mValue);
    return o ? *o : kNoObject;
}

std::optional<double> ZKGFValue::DoubleValue() const
{
    if (const TGenDictValue* p = Plist()) {
        if (p->IsNumber() || p->IsBool())
            return p->AsDouble();
        if (p->IsString())
            return zkgen::LeadingDouble(p->AsString(std::string()));
        return std::nullopt;
    }
    if (IsObject())
        return Object()->DoubleValue();
    return std::nullopt;
}

std::optional<double> ZKGFValue::FloatValue() const
{
    if (const TGenDictValue* p = Plist()) {
        if (p->IsNumber() || p->IsBool() || p->IsString())
            return static_cast<double>(static_cast<float>(*DoubleValue()));
        return std::nullopt;
    }
    if (IsObject())
        return Object()->FloatValue();
    return std::nullopt;
}

std::optional<int64_t> ZKGFValue::IntegerValue() const
{
    if (const TGenDictValue* p = Plist()) {
        if (p->IsInteger() || p->IsBool())
            return p->AsInteger();
        if (p->IsReal()) {
            const double d = p->AsDouble();
            if (d != d)
                return 0;
            if (d >= 9.2233720368547758e18)
                return std::numeric_limits<int64_t>::max();
            if (d <= -9.2233720368547758e18)
                return std::numeric_limits<int64_t>::min();
            return static_cast<int64_t>(d);
        }
        if (p->IsString())
            return zkgen::LeadingInteger(p->AsString(std::string()));
        return std::nullopt;
    }
    if (IsObject())
        return Object()->IntegerValue();
    return std::nullopt;
}

std::optional<std::string> ZKGFValue::StringValue() const
{
    if (const TGenDictValue* p = Plist()) {
        switch (p->GetKind()) {
        case TGenDictValue::Kind::Integer: return std::to_string(p->AsInteger());
        case TGenDictValue::Kind::Real: return zkgen::FormatDouble16g(p->AsDouble());
        case TGenDictValue::Kind::Bool: return std::string(p->AsBool() ? "1" : "0");
        case TGenDictValue::Kind::String: return p->AsString(std::string());
        default: return std::nullopt;
        }
    }
    if (IsObject())
        return Object()->StringValue();
    return std::nullopt;
}

std::string ZKGFValue::ClassName() const
{
    if (IsNothing())
        return "nil";
    if (IsObject())
        return Object()->CodingClassName();
    switch (Plist()->GetKind()) {
    case TGenDictValue::Kind::Integer:
    case TGenDictValue::Kind::Real: return "Number";
    case TGenDictValue::Kind::Bool: return "Bool";
    case TGenDictValue::Kind::String: return "String";
    case TGenDictValue::Kind::Data: return "Data";
    case TGenDictValue::Kind::Date: return "Date";
    case TGenDictValue::Kind::Array: return "Array";
    case TGenDictValue::Kind::Dict: return "Dictionary";
    }
    return "nil";
}

std::string ZKGFValue::Description() const
{
    if (IsNothing())
        return "nil";
    if (IsObject())
        return Object()->Description();
    std::ostringstream os;
    DescribePlist(os, *Plist());
    return os.str();
}

ZKGFValue ZKGFValue::DeepCopy() const
{
    if (IsObject())
        return ZKGFValue(Object()->CopyObject());
    return *this;
}

bool ZKGFValue::operator==(const ZKGFValue& o) const
{
    if (mValue.index() != o.mValue.index())
        return false;
    if (IsNothing())
        return true;
    if (IsPlist())
        return *Plist() == *o.Plist();
    return Object()->IsEqualToObject(*o.Object());
}

std::optional<TGenDictValue> ZKGFEncodeStateValue(const ZKGFValue& value)
{
    if (value.IsNothing())
        return std::nullopt;
    if (const TGenDictValue* p = value.Plist())
        return *p;
    return TGenDictValue(ZKCodingEncodeObject(*value.Object()));
}

std::optional<ZKGFValue> ZKGFDecodeStateValue(
    const TGenDictValue& stored, const ZKCodingClassRegistry& objectClasses, std::string* outError)
{
    const TGenDict* dict = stored.AsDict();
    if (!dict || !dict->HasKey(kZKCodingClassKey))
        return ZKGFValue(stored);
    std::unique_ptr<ZKCoding> decoded = objectClasses.DecodeObject(*dict, outError);
    auto* object = dynamic_cast<ZKGFObject*>(decoded.get());
    if (!object) {
        if (decoded && outError)
            *outError = "keyed archive: object of class \"" + decoded->CodingClassName() + "\" is no value object";
        return std::nullopt;
    }
    decoded.release();
    return ZKGFValue(std::shared_ptr<ZKGFObject>(object));
}
