#pragma once

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

#include <cmath>
#include <string>
#include <vector>

class CGenGFModuleMultiplexer;

// The ports whose value kind a multiplexer, demultiplexer or splitter can be
// switched to with setPortClass.
const std::vector<const ZKGFPortClass*>& CGenGFSwitchablePortClasses();
// How a port class is shown: "Virtual" for CGenGFVirtualPort, else the name
// without the prefix "CGenGFPort" or "CGenGF" and the suffix "Port".
std::string CGenGFPortClassDisplayName(const ZKGFPortClass& portClass);

// A source port of a multiplexer: it pulls its source only while it is the
// multiplexer's active port, so only the selected branch is evaluated.
template <class TBase>
class CGenGFMultiplexerPort : public TBase {
public:
    using TBase::TBase;
    bool _executeWithArguments(const TGenDict* arguments) override;
};

#define ZKG_MULTIPLEXER_PORT_CLASS(NAME, BASE)                                  \
    class NAME : public CGenGFMultiplexerPort<BASE> {                           \
    public:                                                                     \
        static const ZKGFPortClass& Class();                                    \
        NAME(ZKGFNode& node, const ZKGFPortArguments& arguments)                \
            : CGenGFMultiplexerPort<BASE>(node, arguments)                      \
        {                                                                       \
        }                                                                       \
    };

ZKG_MULTIPLEXER_PORT_CLASS(CGenGFModuleMultiplexerVirtualPort, CGenGFVirtualPort)
ZKG_MULTIPLEXER_PORT_CLASS(CGenGFModuleMultiplexerBooleanPort, CGenGFPortBoolean)
ZKG_MULTIPLEXER_PORT_CLASS(CGenGFModuleMultiplexerIndexPort, CGenGFPortIndexed)
ZKG_MULTIPLEXER_PORT_CLASS(CGenGFModuleMultiplexerNumberPort, CGenGFPortNumeric)
ZKG_MULTIPLEXER_PORT_CLASS(CGenGFModuleMultiplexerStringPort, CGenGFPortString)
ZKG_MULTIPLEXER_PORT_CLASS(CGenGFModuleMultiplexerPortPatternAndProbs, CGenGFPortPatternAndProbs)

#undef ZKG_MULTIPLEXER_PORT_CLASS

// The input port of a splitter of index values, with optional text labels.
class CGenGFPortSplitterIndexed : public CGenGFPortIndexed {
public:
    static const ZKGFPortClass& Class();
    CGenGFPortSplitterIndexed(ZKGFNode& node, const ZKGFPortArguments& arguments) : CGenGFPortIndexed(node, arguments) {}
    const std::vector<std::string>& labels() const { return mLabels; }
    void setLabels(const std::vector<std::string>& labels) { mLabels = labels; }

private:
    std::vector<std::string> mLabels;
};

// What the three value-routing modules share: a port class for their
// dynamic ports that setPortClass switches, keeping every connection that
// still fits.
class CGenGFModuleRouting : public CGenGFModule {
public:
    using CGenGFModule::CGenGFModule;

    // The plain class of the dynamic ports (one of CGenGFSwitchablePortClasses).
    const ZKGFPortClass& portClass() const { return *mPortClass; }
    // Ignores a class that is not switchable or is in use. The dynamic ports
    // are made again under the same keys and their connections remade.
    void setPortClass(const ZKGFPortClass& portClass);

protected:
    // The dynamic ports, as (direction, key) in their order.
    virtual std::vector<std::pair<int, std::string>> _dynamicPorts() const = 0;
    // Makes one dynamic port of the current class.
    virtual CGenGFPort* _makeDynamicPort(int direction, const std::string& key) = 0;
    // The class a dynamic port of `direction` and `key` is made of.
    virtual const ZKGFPortClass& _classForDynamicPort(int direction, const std::string& key) const;
    // The attributes of a numbered port from the class's "_nameFormat".
    TGenDict _numberedAttributes(size_t number) const;
    // An attribute set of the class's attribute dictionary, with the
    // port class's display name added to the description.
    TGenDict _attributesNamed(const char* setKey) const;

    static ZKGFValue _portClassValue(const CGenGFModule& module);
    static void _setPortClassValue(CGenGFModule& module, const ZKGFValue& value);
    static bool _validatePortClassValue(const CGenGFModule& module, const ZKGFValue& value, std::string& error);

    const ZKGFPortClass* mPortClass = &CGenGFVirtualPort::Class();
};

// Passes the value of the source ("source_1", ...) that inputIndex selects
// (0-based: index 0 is "source_1") to "output".
class CGenGFModuleMultiplexer : public CGenGFModuleRouting {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleMultiplexer();

    size_t inputCount() const;
    // Clamps to 2 to 128 and sets inputIndex's maximum to count - 1.
    void setInputCount(int64_t count);
    // The source at inputIndex, or null.
    CGenGFPort* _activePort() const;

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortIndexed* inputIndex = nullptr;

protected:
    std::vector<std::pair<int, std::string>> _dynamicPorts() const override;
    CGenGFPort* _makeDynamicPort(int direction, const std::string& key) override;
    const ZKGFPortClass& _classForDynamicPort(int direction, const std::string& key) const override;
};

// Passes "input" to the destination ("destination_1", ...) that inputIndex
// selects; with "resetOutputs" the others take "inputReset".
class CGenGFModuleDemultiplexer : public CGenGFModuleRouting {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleDemultiplexer();

    size_t outputCount() const;
    // Clamps to 2 to 128.
    void setOutputCount(int64_t count);
    bool resetOutputs() const { return inputPortForKey("inputReset") != nullptr; }
    // Makes or deletes "inputReset".
    void setResetOutputs(bool on);

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortIndexed* inputIndex = nullptr;

protected:
    std::vector<std::pair<int, std::string>> _dynamicPorts() const override;
    CGenGFPort* _makeDynamicPort(int direction, const std::string& key) override;
};

// Passes "input" to "output". It gives a published parameter a kind and a
// range: its bounds (NaN: none) go to a numeric or index input, and text
// labels to an index input, whose maximum then follows the labels.
class CGenGFModuleSplitter : public CGenGFModuleRouting {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModuleSplitter();

    double portMinValue() const { return mMin; }
    double portMaxValue() const { return mMax; }
    void setPortMinValue(double value);
    void setPortMaxValue(double value);
    const std::vector<std::string>& indexLabels() const { return mLabels; }
    void setIndexLabels(const std::vector<std::string>& labels);

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

protected:
    std::vector<std::pair<int, std::string>> _dynamicPorts() const override;
    CGenGFPort* _makeDynamicPort(int direction, const std::string& key) override;
    const ZKGFPortClass& _classForDynamicPort(int direction, const std::string& key) const override;

private:
    void _configurePort();
    void _updateMaxIndexFromLabels();

    double mMin = std::nan("");
    double mMax = std::nan("");
    std::vector<std::string> mLabels;
};

template <class TBase>
bool CGenGFMultiplexerPort<TBase>::_executeWithArguments(const TGenDict* arguments)
{
    const auto* multiplexer = dynamic_cast<const CGenGFModuleMultiplexer*>(&this->module());
    if (multiplexer && multiplexer->_activePort() != this)
        return true;
    return TBase::_executeWithArguments(arguments);
}
