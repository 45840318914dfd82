// CGenGFModule: state keys, stored state and structure changes.

#include "Generator/stylegraph/CGenGFModule.h"

#include "Generator/stylegraph/CGenGFNodeManager.h"

namespace {

constexpr const char* kUserInfoName = "name";
constexpr const char* kUserInfoCustomizedName = ".customizedName";

[[noreturn]] void InconsistentState()
{
    ZKGFThrowException(ZKGFExceptionKind_InternalInconsistency, "Inconsistent state");
}

bool IsQuoted(const std::string& s)
{
    return s.size() >= 2 && s.front() == '"' && s.back() == '"';
}

} // namespace

// ----- state keys

ZKGFValue CGenGFModule::valueForStateKey(const std::string& key) const
{
    const CGenGFClassDescription::TStateKey* k = classDescription().stateKey(key);
    if (!k)
        InconsistentState();
    return k->mGet ? k->mGet(*this) : ZKGFValue();
}

bool CGenGFModule::validateValueForKeyError(const ZKGFValue& value, const std::string& key, std::string& error) const
{
    const CGenGFClassDescription::TStateKey* k = classDescription().stateKey(key);
    return !k || !k->mValidate || k->mValidate(*this, value, error);
}

void CGenGFModule::setValueForStateKey(const ZKGFValue& value, const std::string& key)
{
    const CGenGFClassDescription::TStateKey* k = classDescription().stateKey(key);
    if (!k)
        InconsistentState();
    std::string error;
    if (!validateValueForKeyError(value, key, error)) {
        if (_ZKGFLogErrors())
            ZKGFLog("<ERROR> %@: Validation for state key \"%@\" failed: %@", {ZKGFNameForNode(this), key, error});
        return;
    }
    if (k->mGet && k->mGet(*this) == value)
        return;
    if (k->mSet)
        k->mSet(*this, value);
    stateUpdated();
}

bool CGenGFModule::boolForStateKey(const std::string& key) const
{
    const ZKGFValue v = valueForStateKey(key);
    if (!v.IsNumber())
        InconsistentState();
    return v.Plist()->AsDouble() != 0.0;
}

void CGenGFModule::setBoolForStateKey(bool value, const std::string& key)
{
    setValueForStateKey(ZKGFValue::Bool(value), key);
}

int64_t CGenGFModule::integerForStateKey(const std::string& key) const
{
    const ZKGFValue v = valueForStateKey(key);
    if (!v.IsNumber())
        InconsistentState();
    return *v.IntegerValue();
}

void CGenGFModule::setIntegerForStateKey(int64_t value, const std::string& key)
{
    setValueForStateKey(ZKGFValue::Integer(value), key);
}

double CGenGFModule::doubleForStateKey(const std::string& key) const
{
    const ZKGFValue v = valueForStateKey(key);
    if (!v.IsNumber())
        InconsistentState();
    return v.Plist()->AsDouble();
}

void CGenGFModule::setDoubleForStateKey(double value, const std::string& key)
{
    setValueForStateKey(ZKGFValue::Double(value), key);
}

std::optional<TGenDictValue> CGenGFModule::serializedValueForStateKey(const std::string& key) const
{
    return ZKGFEncodeStateValue(valueForStateKey(key));
}

bool CGenGFModule::setSerializedValueForStateKey(const TGenDictValue& value, const std::string& key, std::string* outError)
{
    if (!isStateKey(key))
        InconsistentState();
    std::string error;
    const std::optional<ZKGFValue> decoded = ZKGFDecodeStateValue(value, nodeManager().objectClasses(), &error);
    if (!decoded) {
        const std::string message = "state key \"" + key + "\" cannot be decoded: " + error;
        logMessage("%@", {message});
        if (outError && outError->empty())
            *outError = ZKGFNameForNode(this) + ": " + message;
        return false;
    }
    setValueForStateKey(*decoded, key);
    return true;
}

TGenDict CGenGFModule::state() const
{
    TGenDict state = ZKGFGraph::state();
    if (nodeFlags() & kZKGFNodeFlag_NoState)
        return state;
    for (const CGenGFClassDescription::TStateKey& k : classDescription().stateKeys()) {
        if (!k.mSerialized)
            continue;
        if (const auto stored = serializedValueForStateKey(k.mKey))
            state.SetValueForKey(*stored, k.mKey);
    }
    return state;
}

bool CGenGFModule::setState(const TGenDict& state, std::string* outError)
{
    ZKGFNotificationPause pause(*this);
    bool ok = true;
    for (const CGenGFClassDescription::TStateKey& k : classDescription().stateKeys())
        if (const TGenDictValue* stored = state.ValueForKey(k.mKey); stored && k.mSerialized)
            ok = setSerializedValueForStateKey(*stored, k.mKey, outError) && ok;
    return ZKGFGraph::setState(state, outError) && ok;
}

// ----- ports

CGenGFPort* CGenGFModule::_createPort(int direction, const ZKGFPortArguments& arguments, const std::string& key)
{
    if (!arguments.mClass || !arguments.mClass->IsProperSubclassOfClass(CGenGFPort::Class()))
        ZKGFThrowException(ZKGFExceptionKind_Generic, "\"class\" for the port must be a subclass of CGenGFPort");
    if (direction > 0 && graph() && IsConsumer())
        ZKGFThrowException(ZKGFExceptionKind_Generic, "A consumer patch cannot have output ports");
    std::unique_lock<std::recursive_mutex> lock;
    if (std::recursive_mutex* m = _graphLock())
        lock = std::unique_lock<std::recursive_mutex>(*m);
    const std::string finalKey = !key.empty() ? key : (direction < 0 ? _uniqueInputPortKey() : _uniqueOutputPortKey());
    ZKGFNotificationPause pause(*this);
    auto* port = static_cast<CGenGFPort*>(_addPort(direction, finalKey, arguments));
    if (port)
        stateUpdated();
    return port;
}

CGenGFPort* CGenGFModule::createInputPortWithArgumentsForKey(const ZKGFPortArguments& arguments, const std::string& key)
{
    return _createPort(-1, arguments, key);
}

CGenGFPort* CGenGFModule::createOutputPortWithArgumentsForKey(const ZKGFPortArguments& arguments, const std::string& key)
{
    return _createPort(1, arguments, key);
}

ZKGFPort* CGenGFModule::_restorePort(int direction, const std::string& key, const ZKGFPortClass& portClass,
    const TGenDict& attributes)
{
    ZKGFPortArguments arguments;
    arguments.mClass = &portClass;
    arguments.mAttributes = attributes;
    try {
        return _createPort(direction, arguments, key);
    } catch (const ZKGFException& e) {
        logMessage("%@", {e.what()});
        return nullptr;
    }
}

bool CGenGFModule::_deletePortForKey(int direction, const std::string& key)
{
    std::unique_lock<std::recursive_mutex> lock;
    if (std::recursive_mutex* m = _graphLock())
        lock = std::unique_lock<std::recursive_mutex>(*m);
    ZKGFPort* port = direction < 0 ? inputPortForKey(key) : outputPortForKey(key);
    if (!port)
        return false;
    ZKGFNotificationPause pause(*this);
    // Its connections and publications go first, so nothing points at it.
    if (graph())
        graph()->detachPort(port);
    _deletePort(port);
    stateUpdated();
    return true;
}

bool CGenGFModule::deleteInputPortForKey(const std::string& key)
{
    return _deletePortForKey(-1, key);
}

bool CGenGFModule::deleteOutputPortForKey(const std::string& key)
{
    return _deletePortForKey(1, key);
}

std::vector<CGenGFPort*> CGenGFModule::customInputPorts() const
{
    std::vector<CGenGFPort*> ports;
    for (const auto& p : inputPorts())
        if (!p->IsFixed() && !p->IsSystem())
            ports.push_back(static_cast<CGenGFPort*>(p.get()));
    return ports;
}

std::vector<CGenGFPort*> CGenGFModule::customOutputPorts() const
{
    std::vector<CGenGFPort*> ports;
    for (const auto& p : outputPorts())
        if (!p->IsFixed() && !p->IsSystem())
            ports.push_back(static_cast<CGenGFPort*>(p.get()));
    return ports;
}

void CGenGFModule::_setPortOrder(int direction, size_t order, const std::string& key)
{
    ZKGFPort* port = direction < 0 ? inputPortForKey(key) : outputPortForKey(key);
    if (!port || port->IsSystem())
        ZKGFThrowArgumentException("port", "port && !CGenGFIsSystemPort(port)");
    // The order counts among the custom ports, which follow the fixed ones.
    size_t fixedCount = 0;
    for (const auto& p : direction < 0 ? inputPorts() : outputPorts())
        if (p->IsFixed())
            ++fixedCount;
    if (_movePort(port, port->IsFixed() ? order : fixedCount + order))
        stateUpdated();
}

void CGenGFModule::setInputPortOrderForKey(size_t order, const std::string& key)
{
    _setPortOrder(-1, order, key);
}

void CGenGFModule::setOutputPortOrderForKey(size_t order, const std::string& key)
{
    _setPortOrder(1, order, key);
}

CGenGFPort* CGenGFModule::createInputWithPortClassForKeyAttributes(const ZKGFPortClass& portClass,
    const std::string& key, const TGenDict& attributes)
{
    ZKGFPortArguments arguments;
    arguments.mClass = &portClass;
    arguments.mAttributes = attributes;
    return createInputPortWithArgumentsForKey(arguments, key);
}

CGenGFPort* CGenGFModule::createOutputWithPortClassForKeyAttributes(const ZKGFPortClass& portClass,
    const std::string& key, const TGenDict& attributes)
{
    ZKGFPortArguments arguments;
    arguments.mClass = &portClass;
    arguments.mAttributes = attributes;
    return createOutputPortWithArgumentsForKey(arguments, key);
}

CGenGFPort* CGenGFModule::createInputWithPortClassForKeyAttributesArgumentsOrder(const ZKGFPortClass& portClass,
    const std::string& key, const TGenDict& attributes, const TGenDict& /*arguments*/, size_t order)
{
    CGenGFPort* port = createInputWithPortClassForKeyAttributes(portClass, key, attributes);
    if (port)
        setInputPortOrderForKey(order, port->key());
    return port;
}

CGenGFPort* CGenGFModule::createOutputWithPortClassForKeyAttributesArgumentsOrder(const ZKGFPortClass& portClass,
    const std::string& key, const TGenDict& attributes, const TGenDict& /*arguments*/, size_t order)
{
    CGenGFPort* port = createOutputWithPortClassForKeyAttributes(portClass, key, attributes);
    if (port)
        setOutputPortOrderForKey(order, port->key());
    return port;
}

// ----- connections and sub-modules

std::unique_ptr<ZKGFConnection> CGenGFModule::_makeConnection(ZKGFPort& source, ZKGFPort& destination)
{
    return std::make_unique<CGenGFConnection>(*this, source, destination, TGenDict());
}

CGenGFConnection* CGenGFModule::createConnectionFromPortToPortForKey(CGenGFPort& source, CGenGFPort& destination,
    const std::string& key)
{
    return static_cast<CGenGFConnection*>(ZKGFGraph::createConnectionFromPortToPortForKey(source, destination, key));
}

bool CGenGFModule::canCreateConnectionFromPortToPort(const ZKGFPort& source, const ZKGFPort& destination) const
{
    if (!ZKGFGraph::canCreateConnectionFromPortToPort(source, destination) || &source.node() == &destination.node())
        return false;
    const auto* s = dynamic_cast<const CGenGFPort*>(&source);
    const auto* d = dynamic_cast<const CGenGFPort*>(&destination);
    return s && d && s->IsOutput() && d->IsInput() && d->canConnectToPort(*s);
}

bool CGenGFModule::canAddNode(const ZKGFNode& node) const
{
    const auto* module = dynamic_cast<const CGenGFModule*>(&node);
    if (!classDescription().allowsSubpatches() || !module || !ZKGFGraph::canAddNode(node))
        return false;
    if (module->IsConsumer()) {
        if (!module->outputPorts().empty())
            return false;
        if (graph() && classDescription().executionMode() == TGenGFExecutionMode_Automatic && !outputPorts().empty())
            return false;
    }
    return true;
}

std::string CGenGFModule::_keyBaseForNode(const ZKGFNode& node) const
{
    const std::string& name = node.ClassName();
    for (const char* prefix : {"CGenGFModule", "CGenGF"})
        if (name.starts_with(prefix) && name.size() > std::char_traits<char>::length(prefix))
            return name.substr(std::char_traits<char>::length(prefix));
    return name;
}

CGenGFModule* CGenGFModule::parentPatch() const
{
    return static_cast<CGenGFModule*>(graph());
}

std::vector<CGenGFModule*> CGenGFModule::subpatches() const
{
    std::vector<CGenGFModule*> subs;
    subs.reserve(nodes().size());
    for (const TNodeEntry& e : nodes())
        subs.push_back(static_cast<CGenGFModule*>(e.mNode.get()));
    return subs;
}

CGenGFModule* CGenGFModule::subpatchAt(size_t index) const
{
    return index < nodes().size() ? static_cast<CGenGFModule*>(nodes()[index].mNode.get()) : nullptr;
}

CGenGFModule* CGenGFModule::addSubpatch(std::unique_ptr<CGenGFModule> module, const std::string& key)
{
    CGenGFModule* raw = module.get();
    return addNodeForKey(std::move(module), key).empty() ? nullptr : raw;
}

CGenGFModule* CGenGFModule::subpatchForKey(const std::string& key) const
{
    return static_cast<CGenGFModule*>(nodeForKey(key));
}

CGenGFModule* CGenGFModule::subpatchForPath(const std::string& path) const
{
    return static_cast<CGenGFModule*>(nodeForPath(path));
}

bool CGenGFModule::canPublishPort(const CGenGFPort& port) const
{
    return port.node().graph() == this && !isPortPublished(port);
}

CGenGFPort* CGenGFModule::publishPort(CGenGFPort& port, const std::string& key)
{
    if (!canPublishPort(port))
        return nullptr;
    return static_cast<CGenGFPort*>(createProxyPortWithOriginalPortForKey(port, key));
}

bool CGenGFModule::unpublishPort(CGenGFPort& port)
{
    ZKGFPort* proxy = proxyPortForOriginalPort(&port);
    return proxy && deleteProxyPortForKey(proxy->key());
}

// ----- names

void CGenGFModule::setCustomizedName(const std::string& name)
{
    std::string shown;
    if (!name.empty()) {
        const size_t lineBreak = name.find_first_of("\r\n");
        shown = lineBreak == std::string::npos ? name : name.substr(0, lineBreak) + "\u2026";
        shown = "\"" + shown + "\"";
    }
    TGenDict& info = userInfo();
    if (shown.empty())
        info.RemoveValueForKey(kUserInfoCustomizedName);
    else
        info.SetValueForKey(shown, kUserInfoCustomizedName);
    const std::string oldName = info.StringForKey(kUserInfoName);
    if (oldName.empty() || IsQuoted(oldName)) {
        if (shown.empty())
            info.RemoveValueForKey(kUserInfoName);
        else
            info.SetValueForKey(shown, kUserInfoName);
        stateUpdated();
    }
}
