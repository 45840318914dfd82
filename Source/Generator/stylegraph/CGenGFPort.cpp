#include "Generator/stylegraph/CGenGFPort.h"

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/foundation/ZKGFException.h"

#include <cmath>
#include <limits>

namespace {

[[noreturn]] void NotImplemented()
{
    ZKGFThrowException(ZKGFExceptionKind_Generic, "Function not implemented");
}

// The value a generic transfer hands over: the raw value of a virtual
// source, else its value.
ZKGFValue GenericValueOf(const CGenGFPort& source)
{
    return source.IsVirtual() ? source.rawValue() : source.value();
}

bool SameDouble(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

// A non-negative integer from a double: fractions cut, negative and NaN 0,
// saturated at the top.
uint64_t TruncatedIndex(double d)
{
    if (!(d > 0.0))
        return 0;
    if (d >= 18446744073709551615.0)
        return std::numeric_limits<uint64_t>::max();
    return static_cast<uint64_t>(d);
}

uint64_t NonNegativeIndex(int64_t i)
{
    return i < 0 ? 0 : static_cast<uint64_t>(i);
}

} // namespace

// ----- CGenGFPort

const ZKGFPortClass& CGenGFPort::Class()
{
    static const ZKGFPortClass c("CGenGFPort", nullptr, [](ZKGFNode& node, const ZKGFPortArguments& a) {
        return std::unique_ptr<ZKGFPort>(std::make_unique<CGenGFPort>(node, a, &CGenGFPort::Class()));
    });
    return c;
}

CGenGFPort::CGenGFPort(ZKGFNode& node, const ZKGFPortArguments& arguments, const ZKGFPortClass* baseClass)
    : ZKGFPort(node, arguments), mBaseClass(baseClass)
{
    if (arguments.mClass == &CGenGFPort::Class())
        ZKGFThrowException(ZKGFExceptionKind_Generic, "\"%@\" is an abstract class that cannot be instantiated",
            {CGenGFPort::Class().Name()});
}

CGenGFModule& CGenGFPort::module() const
{
    return static_cast<CGenGFModule&>(node());
}

int CGenGFPort::direction() const
{
    if (mDirection == 0)
        ZKGFThrowException(ZKGFExceptionKind_Generic, "Direction was not set");
    return mDirection;
}

const ZKGFPortClass& CGenGFPort::baseClass() const
{
    if (!mBaseClass)
        ZKGFThrowException(ZKGFExceptionKind_Generic, "Base class was not set");
    return *mBaseClass;
}

TGenGFValueClass CGenGFPort::valueClass() const
{
    return TGenGFValueClass::Object;
}

bool CGenGFPort::acceptValuesOfClass(TGenGFValueClass /*valueClass*/) const
{
    return false;
}

bool CGenGFPort::canConnectToPort(const CGenGFPort& other) const
{
    if (&other.baseClass() == &CGenGFVirtualPort::Class())
        return true;
    return acceptValuesOfClass(other.valueClass());
}

CGenGFPort* CGenGFPort::connectedPort() const
{
    if (mDirection > 0)
        ZKGFThrowException(ZKGFExceptionKind_InternalInconsistency, "Inconsistent state");
    return mConnectedPort;
}

CGenGFPort* CGenGFPort::connectedPortAlongProxies() const
{
    for (const CGenGFPort* p = this; p; p = p->mProxyPort)
        if (p->mConnectedPort)
            return p->mConnectedPort;
    return nullptr;
}

void CGenGFPort::_setConnectedPort(CGenGFPort* port)
{
    if (port && mConnectedPort)
        ZKGFThrowException(ZKGFExceptionKind_Generic, "There is already a connected port");
    mConnectedPort = port;
    if (IsVirtual())
        setRawValue(ZKGFValue());
}

void CGenGFPort::_setProxyPort(CGenGFPort* port)
{
    if (port && mProxyPort)
        ZKGFThrowException(ZKGFExceptionKind_Generic, "There is already a proxy port");
    mProxyPort = port;
}

ZKGFValue CGenGFPort::value() const { NotImplemented(); }
bool CGenGFPort::setValue(const ZKGFValue&) { NotImplemented(); }
bool CGenGFPort::takeValueFromPort(const CGenGFContext*, const CGenGFPort& source) { return setValue(GenericValueOf(source)); }
bool CGenGFPort::booleanValue() const { NotImplemented(); }
void CGenGFPort::setBooleanValue(bool) { NotImplemented(); }
double CGenGFPort::doubleValue() const { NotImplemented(); }
void CGenGFPort::setDoubleValue(double) { NotImplemented(); }
double CGenGFPort::minDoubleValue() const { NotImplemented(); }
void CGenGFPort::setMinDoubleValue(double) { NotImplemented(); }
double CGenGFPort::maxDoubleValue() const { NotImplemented(); }
void CGenGFPort::setMaxDoubleValue(double) { NotImplemented(); }
uint64_t CGenGFPort::indexValue() const { NotImplemented(); }
void CGenGFPort::setIndexValue(uint64_t) { NotImplemented(); }
uint64_t CGenGFPort::minIndexValue() const { NotImplemented(); }
void CGenGFPort::setMinIndexValue(uint64_t) { NotImplemented(); }
uint64_t CGenGFPort::maxIndexValue() const { NotImplemented(); }
void CGenGFPort::setMaxIndexValue(uint64_t) { NotImplemented(); }
std::string CGenGFPort::stringValue() const { NotImplemented(); }
void CGenGFPort::setStringValue(const std::string&) { NotImplemented(); }
GenPatternModAndProbs* CGenGFPort::patternAndProbsValue() const { NotImplemented(); }
void CGenGFPort::setPatternAndProbsValue(const GenPatternModAndProbs*) { NotImplemented(); }

bool CGenGFPort::_executeWithArguments(const TGenDict* arguments)
{
    CGenGFPort* connected = mConnectedPort;
    if (!connected)
        return true;
    CGenGFModule& owner = connected->module();
    if (owner.executionMode() != TGenGFExecutionMode_Consumer && !owner._executeWithArguments(arguments))
        return false;
    auto* source = static_cast<CGenGFPort*>(connected->rootPort());
    auto* destination = static_cast<CGenGFPort*>(rootPort());
    if (!destination->takeValueFromPort(destination->module()._context(), *source)) {
        module().logMessage("%@ could not take value from %@", {ZKGFNameForPort(this), ZKGFNameForPort(source)});
        return false;
    }
    return true;
}

uint64_t CGenGFPort::addValueObserver(TValueObserver observer)
{
    const uint64_t token = mNextObserverToken++;
    mObservers.emplace(token, std::move(observer));
    return token;
}

bool CGenGFPort::removeValueObserver(uint64_t token)
{
    return mObservers.erase(token) != 0;
}

void CGenGFPort::willChangeValue()
{
    if (mProxyPort)
        mProxyPort->willChangeValue();
    if (!mObservers.empty()) {
        const auto observers = mObservers;
        for (const auto& [token, observer] : observers)
            observer(*this, _observedKey(), true);
    }
}

void CGenGFPort::didChangeValue()
{
    ++mIteration;
    if (!mObservers.empty()) {
        const auto observers = mObservers;
        for (const auto& [token, observer] : observers)
            observer(*this, _observedKey(), false);
    }
    if (mProxyPort)
        mProxyPort->didChangeValue();
    // An unconnected input's value is part of the stored state.
    if (mDirection < 0 && !IsProxy() && !connectedPortAlongProxies())
        module().stateUpdated();
}

void CGenGFPort::_noteExecution()
{
    mUpdated = mIteration != mPreviousIteration;
    mPreviousIteration = mIteration;
}

TGenDict CGenGFPort::state() const
{
    TGenDict state;
    if (mDirection < 0 && module().graph() && !connectedPortAlongProxies())
        if (const auto stored = ZKGFEncodeStateValue(stateValue()))
            state.SetValueForKey(*stored, "value");
    return state;
}

bool CGenGFPort::setState(const TGenDict& state)
{
    const TGenDictValue* stored = state.ValueForKey("value");
    if (!stored)
        return true;
    const auto value = ZKGFDecodeStateValue(*stored, module().nodeManager().objectClasses());
    return value && setStateValue(*value);
}

void CGenGFPort::portDidAddToNode(int direction)
{
    mDirection = direction;
}

void CGenGFPort::portWillDeleteFromNode()
{
    mConnectedPort = nullptr;
    mProxyPort = nullptr;
}

std::string CGenGFPort::ValueDescription() const
{
    return value().Description();
}

// ----- CGenGFVirtualPort

const ZKGFPortClass& CGenGFVirtualPort::Class()
{
    static const ZKGFPortClass c("CGenGFVirtualPort", &CGenGFPort::Class(), zkgen::MakePort<CGenGFVirtualPort>);
    return c;
}

CGenGFVirtualPort::CGenGFVirtualPort(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : CGenGFPort(node, arguments, &CGenGFVirtualPort::Class())
{
    _setFlags(flags() | kZKGFPortFlag_Virtual);
}

bool CGenGFVirtualPort::setValue(const ZKGFValue& value)
{
    setRawValue(value);
    return true;
}

void CGenGFVirtualPort::setRawValue(const ZKGFValue& value)
{
    // Objects count as the same only when they are the same object; their
    // content is not compared on every transfer.
    const bool same = (value.IsObject() && mRawValue.IsObject()) ? value.Object() == mRawValue.Object()
                                                                 : value == mRawValue;
    if (same)
        return;
    willChangeValue();
    mRawValue = value;
    didChangeValue();
}

bool CGenGFVirtualPort::takeValueFromPort(const CGenGFContext* /*context*/, const CGenGFPort& source)
{
    return setValue(GenericValueOf(source));
}

ZKGFValue CGenGFVirtualPort::stateValue() const
{
    return mRawValue.IsPlist() ? mRawValue : ZKGFValue();
}

// ----- CGenGFProxyPort

const ZKGFPortClass& CGenGFProxyPort::Class()
{
    static const ZKGFPortClass c("CGenGFProxyPort", &CGenGFPort::Class(), zkgen::MakePort<CGenGFProxyPort>);
    return c;
}

namespace {

CGenGFPort* CheckedOriginal(const ZKGFPortArguments& arguments)
{
    if (arguments.mClass && arguments.mClass->IsProperSubclassOfClass(CGenGFProxyPort::Class()))
        ZKGFThrowException(ZKGFExceptionKind_Generic, "\"%@\" cannot be subclassed", {CGenGFProxyPort::Class().Name()});
    auto* original = dynamic_cast<CGenGFPort*>(arguments.mOriginalPort);
    if (!original)
        ZKGFThrowException(ZKGFExceptionKind_Generic, "This is not a proxy port");
    return original;
}

} // namespace

CGenGFProxyPort::CGenGFProxyPort(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : CGenGFPort(node, arguments, &CheckedOriginal(arguments)->baseClass()), mOriginal(CheckedOriginal(arguments))
{
    _setFlags(flags() | kZKGFPortFlag_Proxy);
    mOriginal->_setProxyPort(this);
}

TGenDict CGenGFProxyPort::state() const
{
    return mOriginal->state();
}

bool CGenGFProxyPort::setState(const TGenDict& state)
{
    return mOriginal->setState(state);
}

void CGenGFProxyPort::portWillDeleteFromNode()
{
    mOriginal->_setProxyPort(nullptr);
    CGenGFPort::portWillDeleteFromNode();
}

// ----- CGenGFPortBoolean

const ZKGFPortClass& CGenGFPortBoolean::Class()
{
    static const ZKGFPortClass c("CGenGFPortBoolean", &CGenGFPort::Class(), zkgen::MakePort<CGenGFPortBoolean>);
    return c;
}

CGenGFPortBoolean::CGenGFPortBoolean(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : CGenGFPort(node, arguments, &CGenGFPortBoolean::Class())
{
}

bool CGenGFPortBoolean::acceptValuesOfClass(TGenGFValueClass c) const
{
    return c == TGenGFValueClass::Number || c == TGenGFValueClass::String;
}

bool CGenGFPortBoolean::setValue(const ZKGFValue& value)
{
    bool b = false;
    if (value.IsNothing())
        b = false;
    else if (value.IsNumber())
        b = value.Plist()->AsDouble() != 0.0;
    else if (value.IsString())
        b = !value.Plist()->AsString(std::string()).empty();
    else if (const auto d = value.DoubleValue())
        b = *d != 0.0;
    else if (const auto f = value.FloatValue())
        b = *f != 0.0;
    else if (const auto i = value.IntegerValue())
        b = *i != 0;
    else
        b = true;
    setBooleanValue(b);
    return true;
}

bool CGenGFPortBoolean::takeValueFromPort(const CGenGFContext* /*context*/, const CGenGFPort& source)
{
    const ZKGFPortClass& base = source.baseClass();
    if (&base == &CGenGFPortBoolean::Class())
        setBooleanValue(source.booleanValue());
    else if (&base == &CGenGFPortNumeric::Class())
        setBooleanValue(source.doubleValue() != 0.0);
    else if (&base == &CGenGFPortIndexed::Class())
        setBooleanValue(source.indexValue() != 0);
    else if (&base == &CGenGFPortString::Class())
        setBooleanValue(!source.stringValue().empty());
    else
        return setValue(GenericValueOf(source));
    return true;
}

bool CGenGFPortBoolean::setStateValue(const ZKGFValue& value)
{
    return value.IsNumber() && setValue(value);
}

// ----- CGenGFPortNumeric

const ZKGFPortClass& CGenGFPortNumeric::Class()
{
    static const ZKGFPortClass c("CGenGFPortNumeric", &CGenGFPort::Class(), zkgen::MakePort<CGenGFPortNumeric>);
    return c;
}

CGenGFPortNumeric::CGenGFPortNumeric(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : CGenGFPort(node, arguments, &CGenGFPortNumeric::Class()), mMin(std::nan("")), mMax(std::nan(""))
{
}

bool CGenGFPortNumeric::acceptValuesOfClass(TGenGFValueClass c) const
{
    // Numbers, and strings, which answer a numeric accessor.
    return c == TGenGFValueClass::Number || c == TGenGFValueClass::String;
}

bool CGenGFPortNumeric::setValue(const ZKGFValue& value)
{
    if (value.IsNothing()) {
        setDoubleValue(0.0);
        return true;
    }
    std::optional<double> d = value.DoubleValue();
    if (!d)
        d = value.FloatValue();
    if (!d) {
        if (const auto i = value.IntegerValue())
            d = static_cast<double>(*i);
    }
    if (!d)
        return false;
    setDoubleValue(*d);
    return true;
}

bool CGenGFPortNumeric::takeValueFromPort(const CGenGFContext* /*context*/, const CGenGFPort& source)
{
    const ZKGFPortClass& base = source.baseClass();
    if (&base == &CGenGFPortBoolean::Class())
        setDoubleValue(source.booleanValue() ? 1.0 : 0.0);
    else if (&base == &CGenGFPortNumeric::Class())
        setDoubleValue(source.doubleValue());
    else if (&base == &CGenGFPortIndexed::Class())
        setDoubleValue(static_cast<double>(source.indexValue()));
    else if (&base == &CGenGFPortString::Class())
        setDoubleValue(zkgen::LeadingDouble(source.stringValue()));
    else
        return setValue(GenericValueOf(source));
    return true;
}

bool CGenGFPortNumeric::setStateValue(const ZKGFValue& value)
{
    return value.IsNumber() && setValue(value);
}

void CGenGFPortNumeric::setDoubleValue(double value)
{
    if (!std::isnan(mMin) && value < mMin)
        value = mMin;
    if (!std::isnan(mMax) && value > mMax)
        value = mMax;
    if (SameDouble(mValue, value))
        return;
    willChangeValue();
    mValue = value;
    didChangeValue();
}

void CGenGFPortNumeric::setMinDoubleValue(double value)
{
    if (!std::isnan(value) && !std::isnan(mMax) && value > mMax)
        ZKGFThrowArgumentException("min", "!(min > _max)");
    mMin = value;
    setDoubleValue(mValue);
}

void CGenGFPortNumeric::setMaxDoubleValue(double value)
{
    if (!std::isnan(value) && !std::isnan(mMin) && value < mMin)
        ZKGFThrowArgumentException("max", "!(max < _min)");
    mMax = value;
    setDoubleValue(mValue);
}

// ----- CGenGFPortIndexed

const ZKGFPortClass& CGenGFPortIndexed::Class()
{
    static const ZKGFPortClass c("CGenGFPortIndexed", &CGenGFPort::Class(), zkgen::MakePort<CGenGFPortIndexed>);
    return c;
}

CGenGFPortIndexed::CGenGFPortIndexed(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : CGenGFPort(node, arguments, &CGenGFPortIndexed::Class())
{
}

bool CGenGFPortIndexed::acceptValuesOfClass(TGenGFValueClass c) const
{
    return c == TGenGFValueClass::Number || c == TGenGFValueClass::String;
}

ZKGFValue CGenGFPortIndexed::value() const
{
    // Property lists hold signed integers; indices above that range do not occur in content.
    return ZKGFValue::Integer(static_cast<int64_t>(mValue));
}

bool CGenGFPortIndexed::setValue(const ZKGFValue& value)
{
    if (value.IsNothing()) {
        setIndexValue(0);
        return true;
    }
    if (const TGenDictValue* p = value.Plist(); p && p->IsReal()) {
        setIndexValue(TruncatedIndex(p->AsDouble()));
        return true;
    }
    if (const auto i = value.IntegerValue()) {
        setIndexValue(NonNegativeIndex(*i));
        return true;
    }
    std::optional<double> d = value.FloatValue();
    if (!d)
        d = value.DoubleValue();
    if (!d)
        return false;
    setIndexValue(TruncatedIndex(*d));
    return true;
}

bool CGenGFPortIndexed::takeValueFromPort(const CGenGFContext* /*context*/, const CGenGFPort& source)
{
    const ZKGFPortClass& base = source.baseClass();
    if (&base == &CGenGFPortBoolean::Class())
        setIndexValue(source.booleanValue() ? 1 : 0);
    else if (&base == &CGenGFPortNumeric::Class())
        setIndexValue(TruncatedIndex(std::round(source.doubleValue())));
    else if (&base == &CGenGFPortIndexed::Class())
        setIndexValue(source.indexValue());
    else if (&base == &CGenGFPortString::Class())
        setIndexValue(NonNegativeIndex(zkgen::LeadingInteger(source.stringValue())));
    else
        return setValue(GenericValueOf(source));
    return true;
}

bool CGenGFPortIndexed::setStateValue(const ZKGFValue& value)
{
    return value.IsNumber() && setValue(value);
}

void CGenGFPortIndexed::setIndexValue(uint64_t value)
{
    if (value < mMin)
        value = mMin;
    if (value > mMax)
        value = mMax;
    _changeValue(mValue, value);
}

void CGenGFPortIndexed::setMinIndexValue(uint64_t value)
{
    if (value > mMax) {
        ZKGFLog("%@: the minimum index %lu would lie above the maximum %lu", {ZKGFNameForPort(this), value, mMax});
        return;
    }
    mMin = value;
    setIndexValue(mValue);
}

void CGenGFPortIndexed::setMaxIndexValue(uint64_t value)
{
    if (value < mMin) {
        ZKGFLog("%@: the maximum index %lu would lie below the minimum %lu", {ZKGFNameForPort(this), value, mMin});
        return;
    }
    mMax = value;
    setIndexValue(mValue);
}

// ----- CGenGFPortString

const ZKGFPortClass& CGenGFPortString::Class()
{
    static const ZKGFPortClass c("CGenGFPortString", &CGenGFPort::Class(), zkgen::MakePort<CGenGFPortString>);
    return c;
}

CGenGFPortString::CGenGFPortString(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : CGenGFPort(node, arguments, &CGenGFPortString::Class())
{
}

bool CGenGFPortString::setValue(const ZKGFValue& value)
{
    if (value.IsNothing())
        setStringValue(std::string());
    else if (const auto s = value.StringValue())
        setStringValue(*s);
    else
        setStringValue(zkgen::AngleBracketed(value.ClassName()));
    return true;
}

bool CGenGFPortString::takeValueFromPort(const CGenGFContext* /*context*/, const CGenGFPort& source)
{
    const ZKGFPortClass& base = source.baseClass();
    if (&base == &CGenGFPortBoolean::Class())
        setStringValue(source.booleanValue() ? "1" : "0");
    else if (&base == &CGenGFPortNumeric::Class())
        setStringValue(zkgen::FormatDouble16g(source.doubleValue()));
    else if (&base == &CGenGFPortIndexed::Class())
        setStringValue(std::to_string(source.indexValue()));
    else if (&base == &CGenGFPortString::Class())
        setStringValue(source.stringValue());
    else
        return setValue(GenericValueOf(source));
    return true;
}

bool CGenGFPortString::setStateValue(const ZKGFValue& value)
{
    return value.IsString() && setValue(value);
}
