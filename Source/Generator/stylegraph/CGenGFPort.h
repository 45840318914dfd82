#pragma once

#include "Generator/stylegraph/foundation/ZKGFPort.h"
#include "Generator/stylegraph/foundation/ZKGFValue.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

class CGenGFContext;
class CGenGFModule;
class GenPatternModAndProbs;

// What kind of value a port hands out, for the connection test.
enum class TGenGFValueClass {
    Number,          // booleans, numbers, indices
    String,
    PatternAndProbs, // a candidate list
    Object,          // anything (a virtual port)
};

// The abstract typed port of a module. A port of a subclass (a multiplexer
// port) reports its family's base class, which decides the conversions.
//
// Values and conversions. Each typed port keeps its value natively; value()
// gives it as a value object and setValue() takes one, converting as the
// port kind says. takeValueFromPort() moves a value from another port by the
// source's base class (numbers to strings as "%0.16g", indices as "%lu", and
// so on).
//
// Change notices go to value observers only while there are any. A change of
// an input without a connection along its chain of proxies is a change of
// the stored state (stateUpdated of the module).
class CGenGFPort : public ZKGFPort {
public:
    static const ZKGFPortClass& Class();

    CGenGFPort(ZKGFNode& node, const ZKGFPortArguments& arguments, const ZKGFPortClass* baseClass);

    CGenGFModule& module() const;
    // 1 output, -1 input; raises "Direction was not set" before the node set it.
    int direction() const;
    bool IsInput() const { return mDirection < 0; }
    bool IsOutput() const { return mDirection > 0; }
    // The class that defines the value kind; raises "Base class was not set".
    const ZKGFPortClass& baseClass() const;
    virtual TGenGFValueClass valueClass() const;
    virtual bool acceptValuesOfClass(TGenGFValueClass valueClass) const;
    bool canConnectToPort(const CGenGFPort& other) const;

    // The source of the connection that ends here; raises "Inconsistent
    // state" on an output.
    CGenGFPort* connectedPort() const;
    CGenGFPort* connectedPortAlongProxies() const;
    void _setConnectedPort(CGenGFPort* port);
    CGenGFPort* proxyPort() const { return mProxyPort; }
    void _setProxyPort(CGenGFPort* port);

    // Values (the base raises "Function not implemented").
    virtual ZKGFValue value() const;
    // False when the value is refused.
    virtual bool setValue(const ZKGFValue& value);
    virtual ZKGFValue rawValue() const { return value(); }
    virtual void setRawValue(const ZKGFValue& value) { setValue(value); }
    // Moves the value of `source` here; false when refused.
    virtual bool takeValueFromPort(const CGenGFContext* context, const CGenGFPort& source);
    // The value as the stored state keeps it; nothing when it keeps none.
    virtual ZKGFValue stateValue() const { return value(); }
    // False for a value of the wrong kind.
    virtual bool setStateValue(const ZKGFValue& value) { return setValue(value); }

    // Typed access; the base raises "Function not implemented".
    virtual bool booleanValue() const;
    virtual void setBooleanValue(bool value);
    virtual double doubleValue() const;
    virtual void setDoubleValue(double value);
    virtual double minDoubleValue() const;
    virtual void setMinDoubleValue(double value);
    virtual double maxDoubleValue() const;
    virtual void setMaxDoubleValue(double value);
    virtual uint64_t indexValue() const;
    virtual void setIndexValue(uint64_t value);
    virtual uint64_t minIndexValue() const;
    virtual void setMinIndexValue(uint64_t value);
    virtual uint64_t maxIndexValue() const;
    virtual void setMaxIndexValue(uint64_t value);
    virtual std::string stringValue() const;
    virtual void setStringValue(const std::string& value);
    virtual GenPatternModAndProbs* patternAndProbsValue() const;
    virtual void setPatternAndProbsValue(const GenPatternModAndProbs* value);

    // Pulls the source of this input: runs its module (unless a consumer),
    // then takes the value. True without a connection.
    virtual bool _executeWithArguments(const TGenDict* arguments);

    // Notices.
    using TValueObserver = std::function<void(CGenGFPort& port, const std::string& key, bool willChange)>;
    // Observes "value" ("__rawValue__" on a virtual port); returns a token.
    uint64_t addValueObserver(TValueObserver observer);
    bool removeValueObserver(uint64_t token);
    size_t observerCount() const { return mObservers.size(); }
    void willChangeValue();
    void didChangeValue();

    // Update counters: a change steps the iteration; the module's run asks
    // wasUpdated() about the change since its previous run.
    bool wasUpdated() const { return mUpdated; }
    void _noteExecution();

    // Port state: "value" on an input with no connection along its chain of
    // proxies, of a module that stands in a graph.
    TGenDict state() const override;
    bool setState(const TGenDict& state) override;

    void portDidAddToNode(int direction) override;
    void portWillDeleteFromNode() override;
    std::string ValueDescription() const override;

protected:
    // The value kind's key for observers.
    virtual const char* _observedKey() const { return "value"; }
    // Sends the notices around a change; no notice without a change.
    template <class TField, class TNew>
    bool _changeValue(TField& field, const TNew& newValue)
    {
        if (field == newValue)
            return false;
        willChangeValue();
        field = newValue;
        didChangeValue();
        return true;
    }

private:
    const ZKGFPortClass* mBaseClass;
    CGenGFPort* mConnectedPort = nullptr;
    CGenGFPort* mProxyPort = nullptr;
    uint64_t mIteration = 0;
    uint64_t mPreviousIteration = 0;
    bool mUpdated = false;
    int mDirection = 0;
    std::map<uint64_t, TValueObserver> mObservers;
    uint64_t mNextObserverToken = 1;
};

// An untyped port that stores any value object as it is.
class CGenGFVirtualPort : public CGenGFPort {
public:
    static const ZKGFPortClass& Class();
    CGenGFVirtualPort(ZKGFNode& node, const ZKGFPortArguments& arguments);

    TGenGFValueClass valueClass() const override { return TGenGFValueClass::Object; }
    bool acceptValuesOfClass(TGenGFValueClass) const override { return true; }
    ZKGFValue value() const override { return mRawValue; }
    bool setValue(const ZKGFValue& value) override;
    ZKGFValue rawValue() const override { return mRawValue; }
    void setRawValue(const ZKGFValue& value) override;
    bool takeValueFromPort(const CGenGFContext* context, const CGenGFPort& source) override;
    // Only property-list values are kept in a state.
    ZKGFValue stateValue() const override;

protected:
    const char* _observedKey() const override { return "__rawValue__"; }

private:
    ZKGFValue mRawValue;
};

// The published port of a sub-module: everything is asked of the port it
// publishes. It cannot be subclassed.
class CGenGFProxyPort : public CGenGFPort {
public:
    static const ZKGFPortClass& Class();
    CGenGFProxyPort(ZKGFNode& node, const ZKGFPortArguments& arguments);

    CGenGFPort& original() const { return *mOriginal; }

    TGenGFValueClass valueClass() const override { return mOriginal->valueClass(); }
    bool acceptValuesOfClass(TGenGFValueClass c) const override { return mOriginal->acceptValuesOfClass(c); }
    ZKGFValue value() const override { return mOriginal->value(); }
    bool setValue(const ZKGFValue& v) override { return mOriginal->setValue(v); }
    ZKGFValue rawValue() const override { return mOriginal->rawValue(); }
    void setRawValue(const ZKGFValue& v) override { mOriginal->setRawValue(v); }
    bool takeValueFromPort(const CGenGFContext* c, const CGenGFPort& s) override { return mOriginal->takeValueFromPort(c, s); }
    ZKGFValue stateValue() const override { return mOriginal->stateValue(); }
    bool setStateValue(const ZKGFValue& v) override { return mOriginal->setStateValue(v); }
    bool booleanValue() const override { return mOriginal->booleanValue(); }
    void setBooleanValue(bool v) override { mOriginal->setBooleanValue(v); }
    double doubleValue() const override { return mOriginal->doubleValue(); }
    void setDoubleValue(double v) override { mOriginal->setDoubleValue(v); }
    double minDoubleValue() const override { return mOriginal->minDoubleValue(); }
    void setMinDoubleValue(double v) override { mOriginal->setMinDoubleValue(v); }
    double maxDoubleValue() const override { return mOriginal->maxDoubleValue(); }
    void setMaxDoubleValue(double v) override { mOriginal->setMaxDoubleValue(v); }
    uint64_t indexValue() const override { return mOriginal->indexValue(); }
    void setIndexValue(uint64_t v) override { mOriginal->setIndexValue(v); }
    uint64_t minIndexValue() const override { return mOriginal->minIndexValue(); }
    void setMinIndexValue(uint64_t v) override { mOriginal->setMinIndexValue(v); }
    uint64_t maxIndexValue() const override { return mOriginal->maxIndexValue(); }
    void setMaxIndexValue(uint64_t v) override { mOriginal->setMaxIndexValue(v); }
    std::string stringValue() const override { return mOriginal->stringValue(); }
    void setStringValue(const std::string& v) override { mOriginal->setStringValue(v); }
    GenPatternModAndProbs* patternAndProbsValue() const override { return mOriginal->patternAndProbsValue(); }
    void setPatternAndProbsValue(const GenPatternModAndProbs* v) override { mOriginal->setPatternAndProbsValue(v); }
    std::string ValueDescription() const override { return mOriginal->ValueDescription(); }

    TGenDict state() const override;
    bool setState(const TGenDict& state) override;
    void portWillDeleteFromNode() override;

private:
    CGenGFPort* mOriginal;
};

class CGenGFPortBoolean : public CGenGFPort {
public:
    static const ZKGFPortClass& Class();
    CGenGFPortBoolean(ZKGFNode& node, const ZKGFPortArguments& arguments);

    TGenGFValueClass valueClass() const override { return TGenGFValueClass::Number; }
    bool acceptValuesOfClass(TGenGFValueClass c) const override;
    ZKGFValue value() const override { return ZKGFValue::Bool(mValue); }
    bool setValue(const ZKGFValue& value) override;
    bool takeValueFromPort(const CGenGFContext* context, const CGenGFPort& source) override;
    bool setStateValue(const ZKGFValue& value) override;
    bool booleanValue() const override { return mValue; }
    void setBooleanValue(bool value) override { _changeValue(mValue, value); }
    std::string ValueDescription() const override { return mValue ? "true" : "false"; }

private:
    bool mValue = false;
};

// A 64-bit float with optional bounds (NaN: no bound); setDoubleValue clamps.
class CGenGFPortNumeric : public CGenGFPort {
public:
    static const ZKGFPortClass& Class();
    CGenGFPortNumeric(ZKGFNode& node, const ZKGFPortArguments& arguments);

    TGenGFValueClass valueClass() const override { return TGenGFValueClass::Number; }
    bool acceptValuesOfClass(TGenGFValueClass c) const override;
    ZKGFValue value() const override { return ZKGFValue::Double(mValue); }
    bool setValue(const ZKGFValue& value) override;
    bool takeValueFromPort(const CGenGFContext* context, const CGenGFPort& source) override;
    bool setStateValue(const ZKGFValue& value) override;
    double doubleValue() const override { return mValue; }
    void setDoubleValue(double value) override;
    double minDoubleValue() const override { return mMin; }
    // Raises "Argument "min" does not verify "!(min > _max)"" above the maximum.
    void setMinDoubleValue(double value) override;
    double maxDoubleValue() const override { return mMax; }
    void setMaxDoubleValue(double value) override;
    std::string ValueDescription() const override { return zkgen::FormatDouble16g(mValue); }

private:
    double mValue = 0.0;
    double mMin;
    double mMax;
};

// An unsigned 64-bit index with bounds (0 and 4294967295 when made);
// setIndexValue clamps.
class CGenGFPortIndexed : public CGenGFPort {
public:
    static const ZKGFPortClass& Class();
    CGenGFPortIndexed(ZKGFNode& node, const ZKGFPortArguments& arguments);

    TGenGFValueClass valueClass() const override { return TGenGFValueClass::Number; }
    bool acceptValuesOfClass(TGenGFValueClass c) const override;
    ZKGFValue value() const override;
    bool setValue(const ZKGFValue& value) override;
    bool takeValueFromPort(const CGenGFContext* context, const CGenGFPort& source) override;
    bool setStateValue(const ZKGFValue& value) override;
    uint64_t indexValue() const override { return mValue; }
    void setIndexValue(uint64_t value) override;
    uint64_t minIndexValue() const override { return mMin; }
    // Logs and changes nothing when the bound would cross the other.
    void setMinIndexValue(uint64_t value) override;
    uint64_t maxIndexValue() const override { return mMax; }
    void setMaxIndexValue(uint64_t value) override;
    std::string ValueDescription() const override { return std::to_string(mValue); }

private:
    uint64_t mValue = 0;
    uint64_t mMin = 0;
    uint64_t mMax = 4294967295u;
};

class CGenGFPortString : public CGenGFPort {
public:
    static const ZKGFPortClass& Class();
    CGenGFPortString(ZKGFNode& node, const ZKGFPortArguments& arguments);

    TGenGFValueClass valueClass() const override { return TGenGFValueClass::String; }
    bool acceptValuesOfClass(TGenGFValueClass c) const override { return c != TGenGFValueClass::PatternAndProbs; }
    ZKGFValue value() const override { return ZKGFValue::String(mValue); }
    bool setValue(const ZKGFValue& value) override;
    bool takeValueFromPort(const CGenGFContext* context, const CGenGFPort& source) override;
    bool setStateValue(const ZKGFValue& value) override;
    std::string stringValue() const override { return mValue; }
    void setStringValue(const std::string& value) override { _changeValue(mValue, value); }
    std::string ValueDescription() const override { return "\"" + mValue + "\""; }

private:
    std::string mValue;
};

namespace zkgen {

// The factory of a port class C: a new C on the node.
template <class C>
std::unique_ptr<ZKGFPort> MakePort(ZKGFNode& node, const ZKGFPortArguments& arguments)
{
    return std::make_unique<C>(node, arguments);
}

} // namespace zkgen
