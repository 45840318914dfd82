#pragma once

#include "Platform/TGenDict.h"
#include "Platform/ZKCoding.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

// Value objects of the node graph: what a port holds, what a state key holds
// and what flows between ports. A value is nothing, a property-list value
// (number, string, bool, data, date, array, dictionary) or a shared object.
//
// Conversions ask a value what it answers to, the way ports and state keys
// need it: DoubleValue, FloatValue, IntegerValue and StringValue give a
// result only where the value has such an accessor. Numbers answer all four;
// a string answers the numeric ones by parsing its leading number (0 when it
// has none) and StringValue with itself; an object answers what its class
// provides.

// A shared object on a port or under a state key. Objects archive through the
// keyed archive; their class name is the name under which a decode finds them.
class ZKGFObject : public ZKCoding {
public:
    ~ZKGFObject() override = default;

    virtual std::optional<double> DoubleValue() const { return std::nullopt; }
    virtual std::optional<double> FloatValue() const { return std::nullopt; }
    virtual std::optional<int64_t> IntegerValue() const { return std::nullopt; }
    virtual std::optional<std::string> StringValue() const { return std::nullopt; }
    // An independent copy; values that a port keeps are copied in.
    virtual std::shared_ptr<ZKGFObject> CopyObject() const = 0;
    virtual bool IsEqualToObject(const ZKGFObject& other) const;
    // Text for traces and dumps.
    // "<class name>" unless the class says more.
    virtual std::string Description() const;
};

class ZKGFValue {
public:
    ZKGFValue() = default;
    ZKGFValue(TGenDictValue v) : mValue(std::move(v)) {}
    ZKGFValue(std::shared_ptr<ZKGFObject> object)
    {
        if (object)
            mValue = std::move(object);
    }
    template <class TObject>
        requires std::is_base_of_v<ZKGFObject, TObject>
    ZKGFValue(std::shared_ptr<TObject> object) : ZKGFValue(std::shared_ptr<ZKGFObject>(std::move(object)))
    {
    }

    static ZKGFValue Nothing() { return {}; }
    static ZKGFValue Bool(bool b) { return ZKGFValue(TGenDictValue(b)); }
    static ZKGFValue Integer(int64_t i) { return ZKGFValue(TGenDictValue(i)); }
    static ZKGFValue Double(double d) { return ZKGFValue(TGenDictValue(d)); }
    static ZKGFValue String(std::string s) { return ZKGFValue(TGenDictValue(std::move(s))); }

    bool IsNothing() const { return std::holds_alternative<std::monostate>(mValue); }
    bool IsPlist() const { return std::holds_alternative<TGenDictValue>(mValue); }
    bool IsObject() const { return std::holds_alternative<std::shared_ptr<ZKGFObject>>(mValue); }
    // A number: integer, real or bool.
    bool IsNumber() const;
    bool IsString() const;

    const TGenDictValue* Plist() const { return std::get_if<TGenDictValue>(&mValue); }
    const std::shared_ptr<ZKGFObject>& Object() const;
    template <class T>
    T* ObjectAs() const
    {
        return IsObject() ? dynamic_cast<T*>(Object().get()) : nullptr;
    }

    std::optional<double> DoubleValue() const;
    std::optional<double> FloatValue() const;
    std::optional<int64_t> IntegerValue() const;
    std::optional<std::string> StringValue() const;

    // "Number", "String", "Bool", "Data", "Date", "Array", "Dictionary", an
    // object's class name, or "nil" for nothing.
    std::string ClassName() const;
    // Readable text: numbers in their shortest form, strings quoted,
    // containers in a compact bracketed form, objects by their description.
    std::string Description() const;

    // A copy that shares nothing with this value: objects are copied.
    ZKGFValue DeepCopy() const;

    // Same kind and equal content; objects by IsEqualToObject.
    bool operator==(const ZKGFValue& o) const;

private:
    std::variant<std::monostate, TGenDictValue, std::shared_ptr<ZKGFObject>> mValue;
};

// A value as a stored state holds it: property-list values as they are,
// objects as their keyed-archive dictionary (with their class name under
// "$class"), nothing as no value at all (empty result).
std::optional<TGenDictValue> ZKGFEncodeStateValue(const ZKGFValue& value);
// The reverse: a dictionary with a "$class" entry is decoded as an object of
// a class that `objectClasses` allows; nothing (and a message in `outError`)
// when it can't be.
std::optional<ZKGFValue> ZKGFDecodeStateValue(
    const TGenDictValue& stored, const ZKCodingClassRegistry& objectClasses, std::string* outError = nullptr);

namespace zkgen {

// The leading number of a text as a double: white space skipped, an optional
// sign, digits with a decimal point and exponent; 0 when there is none.
double LeadingDouble(const std::string& text);
// The leading integer of a text: white space skipped, an optional sign and
// digits; 0 when there is none; saturated at the 64-bit bounds.
int64_t LeadingInteger(const std::string& text);
// printf-style "%0.16g".
std::string FormatDouble16g(double v);
// "<text>".
std::string AngleBracketed(const std::string& text);

} // namespace zkgen
