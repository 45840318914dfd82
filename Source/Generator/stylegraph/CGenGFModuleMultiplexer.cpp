#include "Generator/stylegraph/CGenGFModuleMultiplexer.h"

#include "Generator/stylegraph/CGenGFNodeManager.h"

#include <algorithm>
#include <tuple>

namespace {

constexpr int64_t kMinRoutedCount = 2;
constexpr int64_t kMaxRoutedCount = 128;

int64_t ClampCount(int64_t count)
{
    return std::clamp(count, kMinRoutedCount, kMaxRoutedCount);
}

// A non-negative index from a bound: fractions cut, negative 0, NaN `ifNaN`.
uint64_t IndexBound(double v, uint64_t ifNaN)
{
    if (std::isnan(v))
        return ifNaN;
    if (!(v > 0.0))
        return 0;
    return v >= 18446744073709551615.0 ? UINT64_MAX : static_cast<uint64_t>(v);
}

const ZKGFPortClass& MultiplexerVariant(const ZKGFPortClass& plain)
{
    if (&plain == &CGenGFPortBoolean::Class())
        return CGenGFModuleMultiplexerBooleanPort::Class();
    if (&plain == &CGenGFPortIndexed::Class())
        return CGenGFModuleMultiplexerIndexPort::Class();
    if (&plain == &CGenGFPortNumeric::Class())
        return CGenGFModuleMultiplexerNumberPort::Class();
    if (&plain == &CGenGFPortString::Class())
        return CGenGFModuleMultiplexerStringPort::Class();
    if (&plain == &CGenGFPortPatternAndProbs::Class())
        return CGenGFModuleMultiplexerPortPatternAndProbs::Class();
    return CGenGFModuleMultiplexerVirtualPort::Class();
}

ZKGFValue CountValue(size_t n)
{
    return ZKGFValue::Integer(static_cast<int64_t>(n));
}

// A bound as a state keeps it: none for NaN (no bound).
ZKGFValue BoundValue(double v)
{
    return std::isnan(v) ? ZKGFValue() : ZKGFValue::Double(v);
}

bool ValidateNumber(const CGenGFModule&, const ZKGFValue& v, std::string& error)
{
    if (v.IsNumber())
        return true;
    error = "a number is expected";
    return false;
}

} // namespace

#define ZKG_DEFINE_PORT_CLASS(NAME, BASE)                                                  \
    const ZKGFPortClass& NAME::Class()                                                     \
    {                                                                                      \
        static const ZKGFPortClass c(#NAME, &BASE::Class(), zkgen::MakePort<NAME>);        \
        return c;                                                                          \
    }

ZKG_DEFINE_PORT_CLASS(CGenGFModuleMultiplexerVirtualPort, CGenGFVirtualPort)
ZKG_DEFINE_PORT_CLASS(CGenGFModuleMultiplexerBooleanPort, CGenGFPortBoolean)
ZKG_DEFINE_PORT_CLASS(CGenGFModuleMultiplexerIndexPort, CGenGFPortIndexed)
ZKG_DEFINE_PORT_CLASS(CGenGFModuleMultiplexerNumberPort, CGenGFPortNumeric)
ZKG_DEFINE_PORT_CLASS(CGenGFModuleMultiplexerStringPort, CGenGFPortString)
ZKG_DEFINE_PORT_CLASS(CGenGFModuleMultiplexerPortPatternAndProbs, CGenGFPortPatternAndProbs)
ZKG_DEFINE_PORT_CLASS(CGenGFPortSplitterIndexed, CGenGFPortIndexed)

#undef ZKG_DEFINE_PORT_CLASS

const std::vector<const ZKGFPortClass*>& CGenGFSwitchablePortClasses()
{
    static const std::vector<const ZKGFPortClass*> classes {&CGenGFVirtualPort::Class(), &CGenGFPortBoolean::Class(),
        &CGenGFPortIndexed::Class(), &CGenGFPortNumeric::Class(), &CGenGFPortString::Class(),
        &CGenGFPortPatternAndProbs::Class()};
    return classes;
}

std::string CGenGFPortClassDisplayName(const ZKGFPortClass& portClass)
{
    if (&portClass == &CGenGFVirtualPort::Class())
        return "Virtual";
    std::string name = portClass.Name();
    for (const std::string prefix : {"CGenGFPort", "CGenGF"})
        if (name.starts_with(prefix)) {
            name.erase(0, prefix.size());
            break;
        }
    if (name.ends_with("Port"))
        name.erase(name.size() - 4);
    return name;
}

// ----- CGenGFModuleRouting

const ZKGFPortClass& CGenGFModuleRouting::_classForDynamicPort(int /*direction*/, const std::string& /*key*/) const
{
    return *mPortClass;
}

TGenDict CGenGFModuleRouting::_numberedAttributes(size_t number) const
{
    const std::string format = nodeClassDescription().xmlAttributes().StringForKey("_nameFormat", "%ld");
    const std::string name = ZKLogFormat(format, {number});
    return TGenDict {{"name", name}, {"description", CGenGFPortClassDisplayName(*mPortClass) + " " + name}};
}

TGenDict CGenGFModuleRouting::_attributesNamed(const char* setKey) const
{
    const TGenDict* set = nodeClassDescription().xmlAttributes().DictForKey(setKey);
    TGenDict attributes;
    if (!set)
        return attributes;
    // The port sets of the class use "outName"/"outDescription" or "name"/"description".
    const std::string name = set->StringForKey("outName", set->StringForKey("name"));
    const std::string description = set->StringForKey("outDescription", set->StringForKey("description"));
    attributes.SetValueForKey(name, "name");
    attributes.SetValueForKey(description + " (" + CGenGFPortClassDisplayName(*mPortClass) + ")", "description");
    return attributes;
}

void CGenGFModuleRouting::setPortClass(const ZKGFPortClass& portClass)
{
    const auto& switchable = CGenGFSwitchablePortClasses();
    if (std::find(switchable.begin(), switchable.end(), &portClass) == switchable.end() || &portClass == mPortClass)
        return;
    ZKGFNotificationPause pause(*this);
    CGenGFModule* parent = parentPatch();
    // The far ends of the connections of each dynamic port, and its publication.
    struct TNoted {
        int mDirection;
        std::string mKey;
        std::vector<std::tuple<ZKGFPort*, std::string, bool>> mConnections; // far end, key, we are the source
        std::string mProxyKey;
    };
    std::vector<TNoted> noted;
    for (const auto& [direction, key] : _dynamicPorts()) {
        ZKGFPort* port = direction < 0 ? inputPortForKey(key) : outputPortForKey(key);
        TNoted n {direction, key, {}, {}};
        if (parent && port) {
            for (const auto& c : parent->connections()) {
                if (&c->sourcePort() == port)
                    n.mConnections.emplace_back(&c->destinationPort(), c->key(), true);
                else if (&c->destinationPort() == port)
                    n.mConnections.emplace_back(&c->sourcePort(), c->key(), false);
            }
            if (ZKGFPort* proxy = parent->proxyPortForOriginalPort(port))
                n.mProxyKey = proxy->key();
        }
        noted.push_back(std::move(n));
    }
    for (const TNoted& n : noted)
        n.mDirection < 0 ? deleteInputPortForKey(n.mKey) : deleteOutputPortForKey(n.mKey);
    mPortClass = &portClass;
    for (const TNoted& n : noted)
        _makeDynamicPort(n.mDirection, n.mKey);
    for (const TNoted& n : noted) {
        auto* port = static_cast<CGenGFPort*>(n.mDirection < 0 ? inputPortForKey(n.mKey) : outputPortForKey(n.mKey));
        if (!parent || !port)
            continue;
        for (const auto& [far, key, weAreSource] : n.mConnections) {
            auto& farPort = static_cast<CGenGFPort&>(*far);
            CGenGFConnection* made = nullptr;
            try {
                made = weAreSource ? parent->createConnectionFromPortToPortForKey(*port, farPort, key)
                                   : parent->createConnectionFromPortToPortForKey(farPort, *port, key);
            } catch (const ZKGFException& e) {
                logMessage("%@", {e.what()});
            }
            if (!made)
                logMessage("connection \"%@\" does not fit the port class %@ and is dropped",
                    {key, CGenGFPortClassDisplayName(portClass)});
        }
        if (!n.mProxyKey.empty())
            parent->publishPort(*port, n.mProxyKey);
    }
    stateUpdated();
}

ZKGFValue CGenGFModuleRouting::_portClassValue(const CGenGFModule& module)
{
    return ZKGFValue::String(static_cast<const CGenGFModuleRouting&>(module).mPortClass->Name());
}

void CGenGFModuleRouting::_setPortClassValue(CGenGFModule& module, const ZKGFValue& value)
{
    if (const ZKGFPortClass* c = module.nodeManager().portClassForName(value.StringValue().value_or("")))
        static_cast<CGenGFModuleRouting&>(module).setPortClass(*c);
}

bool CGenGFModuleRouting::_validatePortClassValue(const CGenGFModule& module, const ZKGFValue& value, std::string& error)
{
    const ZKGFPortClass* c = value.IsString() ? module.nodeManager().portClassForName(*value.StringValue()) : nullptr;
    const auto& switchable = CGenGFSwitchablePortClasses();
    if (c && std::find(switchable.begin(), switchable.end(), c) != switchable.end())
        return true;
    error = "\"" + value.Description() + "\" is no port class a value can be routed as";
    return false;
}

// ----- CGenGFModuleMultiplexer

const CGenGFClassDescription& CGenGFModuleMultiplexer::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleMultiplexer", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleMultiplexer>, TGenGFExecutionMode_Automatic, false,
        {{"portClass", _portClassValue, _setPortClassValue, _validatePortClassValue},
            {"inputCount", [](const CGenGFModule& m) { return CountValue(static_cast<const CGenGFModuleMultiplexer&>(m).inputCount()); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleMultiplexer&>(m).setInputCount(v.IntegerValue().value_or(2)); },
                ValidateNumber}},
        {{"inputIndex", &CGenGFPortIndexed::Class(), -1, "Index", "Selects the source, 0 for the first"}},
        TGenDict {{"_nameFormat", "Source %ld"},
            {"_portAttributes", TGenDict {{"outName", "Output"}, {"outDescription", "The value of the selected source"}}}});
    return d;
}

CGenGFModuleMultiplexer::CGenGFModuleMultiplexer() : CGenGFModuleRouting(ClassDescription())
{
    _bindPort(inputIndex, "inputIndex");
    _makeDynamicPort(1, "output");
    setInputCount(2);
}

std::vector<std::pair<int, std::string>> CGenGFModuleMultiplexer::_dynamicPorts() const
{
    std::vector<std::pair<int, std::string>> ports;
    for (const auto& p : inputPorts())
        if (zkgen::NumberOfKey(p->key(), "source_"))
            ports.emplace_back(-1, p->key());
    ports.emplace_back(1, "output");
    return ports;
}

const ZKGFPortClass& CGenGFModuleMultiplexer::_classForDynamicPort(int direction, const std::string& /*key*/) const
{
    return direction < 0 ? MultiplexerVariant(*mPortClass) : *mPortClass;
}

CGenGFPort* CGenGFModuleMultiplexer::_makeDynamicPort(int direction, const std::string& key)
{
    const ZKGFPortClass& c = _classForDynamicPort(direction, key);
    if (direction < 0)
        return createInputWithPortClassForKeyAttributes(c, key, _numberedAttributes(zkgen::NumberOfKey(key, "source_")));
    return createOutputWithPortClassForKeyAttributes(c, key, _attributesNamed("_portAttributes"));
}

size_t CGenGFModuleMultiplexer::inputCount() const
{
    return zkgen::CountNumberedPorts(inputPorts(), "source_");
}

void CGenGFModuleMultiplexer::setInputCount(int64_t count)
{
    const size_t n = static_cast<size_t>(ClampCount(count));
    ZKGFNotificationPause pause(*this);
    for (size_t i = inputCount(); i < n; ++i)
        _makeDynamicPort(-1, zkgen::NumberedKey("source_", i + 1));
    for (size_t i = inputCount(); i > n; --i)
        deleteInputPortForKey(zkgen::NumberedKey("source_", i));
    inputIndex->setMaxIndexValue(n - 1);
    stateUpdated();
}

CGenGFPort* CGenGFModuleMultiplexer::_activePort() const
{
    const uint64_t index = inputIndex->indexValue();
    return index >= kMaxRoutedCount ? nullptr : inputGFPortForKey(zkgen::NumberedKey("source_", static_cast<size_t>(index) + 1));
}

bool CGenGFModuleMultiplexer::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    CGenGFPort* active = _activePort();
    CGenGFPort* output = outputGFPortForKey("output");
    return active && output && output->takeValueFromPort(&context, *active);
}

// ----- CGenGFModuleDemultiplexer

const CGenGFClassDescription& CGenGFModuleDemultiplexer::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleDemultiplexer", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleDemultiplexer>, TGenGFExecutionMode_Automatic, false,
        {{"portClass", _portClassValue, _setPortClassValue, _validatePortClassValue},
            {"outputCount", [](const CGenGFModule& m) { return CountValue(static_cast<const CGenGFModuleDemultiplexer&>(m).outputCount()); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleDemultiplexer&>(m).setOutputCount(v.IntegerValue().value_or(2)); },
                ValidateNumber},
            {"resetOutputs", [](const CGenGFModule& m) { return ZKGFValue::Bool(static_cast<const CGenGFModuleDemultiplexer&>(m).resetOutputs()); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleDemultiplexer&>(m).setResetOutputs(v.DoubleValue().value_or(0.0) != 0.0); },
                ValidateNumber}},
        {{"inputIndex", &CGenGFPortIndexed::Class(), -1, "Index", "Selects the destination, 0 for the first"}},
        TGenDict {{"_nameFormat", "Destination %ld"},
            {"_inputPortAttributes", TGenDict {{"name", "Input"}, {"description", "The value passed to the selected destination"}}},
            {"_resetAttributes", TGenDict {{"name", "Reset"}, {"description", "The value the other destinations take"}}}});
    return d;
}

CGenGFModuleDemultiplexer::CGenGFModuleDemultiplexer() : CGenGFModuleRouting(ClassDescription())
{
    _bindPort(inputIndex, "inputIndex");
    _makeDynamicPort(-1, "input");
    setOutputCount(4);
}

std::vector<std::pair<int, std::string>> CGenGFModuleDemultiplexer::_dynamicPorts() const
{
    std::vector<std::pair<int, std::string>> ports {{-1, "input"}};
    if (resetOutputs())
        ports.emplace_back(-1, "inputReset");
    for (const auto& p : outputPorts())
        if (zkgen::NumberOfKey(p->key(), "destination_"))
            ports.emplace_back(1, p->key());
    return ports;
}

CGenGFPort* CGenGFModuleDemultiplexer::_makeDynamicPort(int direction, const std::string& key)
{
    if (direction > 0)
        return createOutputWithPortClassForKeyAttributes(*mPortClass, key,
            _numberedAttributes(zkgen::NumberOfKey(key, "destination_")));
    return createInputWithPortClassForKeyAttributes(*mPortClass, key,
        _attributesNamed(key == "inputReset" ? "_resetAttributes" : "_inputPortAttributes"));
}

size_t CGenGFModuleDemultiplexer::outputCount() const
{
    return zkgen::CountNumberedPorts(outputPorts(), "destination_");
}

void CGenGFModuleDemultiplexer::setOutputCount(int64_t count)
{
    const size_t n = static_cast<size_t>(ClampCount(count));
    ZKGFNotificationPause pause(*this);
    for (size_t i = outputCount(); i < n; ++i)
        _makeDynamicPort(1, zkgen::NumberedKey("destination_", i + 1));
    for (size_t i = outputCount(); i > n; --i)
        deleteOutputPortForKey(zkgen::NumberedKey("destination_", i));
    inputIndex->setMaxIndexValue(n - 1);
    stateUpdated();
}

void CGenGFModuleDemultiplexer::setResetOutputs(bool on)
{
    if (on == resetOutputs())
        return;
    if (on)
        _makeDynamicPort(-1, "inputReset");
    else
        deleteInputPortForKey("inputReset");
    stateUpdated();
}

bool CGenGFModuleDemultiplexer::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    const uint64_t index = inputIndex->indexValue();
    CGenGFPort* input = inputGFPortForKey("input");
    CGenGFPort* reset = inputGFPortForKey("inputReset");
    std::vector<CGenGFPort*> destinations;
    for (const auto& p : outputPorts())
        if (zkgen::NumberOfKey(p->key(), "destination_"))
            destinations.push_back(static_cast<CGenGFPort*>(p.get()));
    if (reset && !destinations.empty())
        for (size_t i = 0; i < destinations.size(); ++i)
            if (i != index && !destinations[i]->takeValueFromPort(&context, *reset))
                return false;
    return input && index < destinations.size() && destinations[index]->takeValueFromPort(&context, *input);
}

// ----- CGenGFModuleSplitter

const CGenGFClassDescription& CGenGFModuleSplitter::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleSplitter", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleSplitter>, TGenGFExecutionMode_Automatic, false,
        {{"portClass", _portClassValue, _setPortClassValue, _validatePortClassValue},
            {"portMinValue", [](const CGenGFModule& m) { return BoundValue(static_cast<const CGenGFModuleSplitter&>(m).mMin); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleSplitter&>(m).setPortMinValue(*v.DoubleValue()); },
                ValidateNumber},
            {"portMaxValue", [](const CGenGFModule& m) { return BoundValue(static_cast<const CGenGFModuleSplitter&>(m).mMax); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleSplitter&>(m).setPortMaxValue(*v.DoubleValue()); },
                ValidateNumber},
            {"indexLabels",
                [](const CGenGFModule& m) {
                    TGenArray labels;
                    for (const std::string& s : static_cast<const CGenGFModuleSplitter&>(m).mLabels)
                        labels.emplace_back(s);
                    return ZKGFValue(TGenDictValue(std::move(labels)));
                },
                [](CGenGFModule& m, const ZKGFValue& v) {
                    std::vector<std::string> labels;
                    if (const TGenDictValue* p = v.Plist(); p && p->AsArray())
                        for (const TGenDictValue& s : *p->AsArray())
                            labels.push_back(s.AsString(std::string()));
                    static_cast<CGenGFModuleSplitter&>(m).setIndexLabels(labels);
                },
                [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                    if (v.Plist() && v.Plist()->AsArray())
                        return true;
                    error = "an array of labels is expected";
                    return false;
                }}},
        {},
        TGenDict {{"_inputAttributes", TGenDict {{"name", "Input"}, {"description", "The value to pass on"}}},
            {"_outputPortAttributes", TGenDict {{"name", "Output"}, {"description", "The value passed on"}}}});
    return d;
}

CGenGFModuleSplitter::CGenGFModuleSplitter() : CGenGFModuleRouting(ClassDescription())
{
    _makeDynamicPort(-1, "input");
    _makeDynamicPort(1, "output");
}

std::vector<std::pair<int, std::string>> CGenGFModuleSplitter::_dynamicPorts() const
{
    return {{-1, "input"}, {1, "output"}};
}

const ZKGFPortClass& CGenGFModuleSplitter::_classForDynamicPort(int direction, const std::string& /*key*/) const
{
    if (direction < 0 && mPortClass == &CGenGFPortIndexed::Class())
        return CGenGFPortSplitterIndexed::Class();
    return *mPortClass;
}

CGenGFPort* CGenGFModuleSplitter::_makeDynamicPort(int direction, const std::string& key)
{
    const ZKGFPortClass& c = _classForDynamicPort(direction, key);
    CGenGFPort* port = direction < 0
        ? createInputWithPortClassForKeyAttributes(c, key, _attributesNamed("_inputAttributes"))
        : createOutputWithPortClassForKeyAttributes(c, key, _attributesNamed("_outputPortAttributes"));
    if (direction < 0)
        _configurePort();
    return port;
}

void CGenGFModuleSplitter::setPortMinValue(double value)
{
    mMin = value;
    _configurePort();
    stateUpdated();
}

void CGenGFModuleSplitter::setPortMaxValue(double value)
{
    mMax = value;
    _configurePort();
    stateUpdated();
}

void CGenGFModuleSplitter::setIndexLabels(const std::vector<std::string>& labels)
{
    mLabels = labels;
    _configurePort();
    stateUpdated();
}

void CGenGFModuleSplitter::_configurePort()
{
    CGenGFPort* input = inputGFPortForKey("input");
    if (!input)
        return;
    if (&input->baseClass() == &CGenGFPortNumeric::Class()) {
        // Open both bounds first, so that the new pair never crosses the old one.
        input->setMinDoubleValue(std::nan(""));
        input->setMaxDoubleValue(std::nan(""));
        try {
            input->setMinDoubleValue(mMin);
            input->setMaxDoubleValue(mMax);
        } catch (const ZKGFException& e) {
            logMessage("%@", {e.what()});
        }
    } else if (&input->baseClass() == &CGenGFPortIndexed::Class()) {
        input->setMinIndexValue(0);
        input->setMaxIndexValue(IndexBound(mMax, 4294967295u));
        input->setMinIndexValue(IndexBound(mMin, 0));
        _updateMaxIndexFromLabels();
    }
}

void CGenGFModuleSplitter::_updateMaxIndexFromLabels()
{
    auto* input = dynamic_cast<CGenGFPortSplitterIndexed*>(inputGFPortForKey("input"));
    if (!input)
        return;
    input->setLabels(mLabels);
    if (!mLabels.empty()) {
        input->setMinIndexValue(0);
        input->setMaxIndexValue(mLabels.size() - 1);
    }
}

bool CGenGFModuleSplitter::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    CGenGFPort* input = inputGFPortForKey("input");
    CGenGFPort* output = outputGFPortForKey("output");
    return input && output && output->takeValueFromPort(&context, *input);
}
