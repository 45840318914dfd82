#include "Generator/stylegraph/foundation/ZKGFNode.h"

#include "Generator/stylegraph/foundation/ZKGFGraph.h"

#include <algorithm>
#include <sstream>

namespace {

std::string UniquePortKey(const ZKGFNode& node, const char* prefix)
{
    for (int i = 1;; ++i) {
        std::string key = std::string(prefix) + std::to_string(i);
        if (!node.portForKey(key))
            return key;
    }
}

} // namespace

std::string ZKGFPort::DisplayName() const
{
    const std::string name = mAttributes.StringForKey("name");
    return name.empty() ? mKey : name;
}

ZKGFPort::ZKGFPort(ZKGFNode& node, const ZKGFPortArguments& arguments)
    : mNode(&node), mClass(arguments.mClass), mOriginalPort(arguments.mOriginalPort), mAttributes(arguments.mAttributes)
{
    mRootPort = mOriginalPort ? mOriginalPort->rootPort() : this;
}

ZKGFNode::ZKGFNode(const ZKGFNodeClassDescription& description) : mDescription(&description)
{
    for (const ZKGFPortSpec& portSpec : description.Ports()) {
        ZKGFPortArguments arguments;
        arguments.mClass = portSpec.mClass;
        if (!portSpec.mName.empty())
            arguments.mAttributes.SetValueForKey(portSpec.mName, "name");
        if (!portSpec.mDescription.empty())
            arguments.mAttributes.SetValueForKey(portSpec.mDescription, "description");
        _addPort(portSpec.mDirection, portSpec.mKey, arguments, true);
    }
}

ZKGFNode::~ZKGFNode() = default;

const ZKGFNode& ZKGFNode::RootNode() const
{
    const ZKGFNode* n = this;
    while (n->mGraph)
        n = n->mGraph;
    return *n;
}

ZKGFPort* ZKGFNode::inputPortForKey(const std::string& key) const
{
    for (const auto& p : mInputPorts)
        if (p->key() == key)
            return p.get();
    return nullptr;
}

ZKGFPort* ZKGFNode::outputPortForKey(const std::string& key) const
{
    for (const auto& p : mOutputPorts)
        if (p->key() == key)
            return p.get();
    return nullptr;
}

ZKGFPort* ZKGFNode::portForKey(const std::string& key) const
{
    ZKGFPort* p = inputPortForKey(key);
    return p ? p : outputPortForKey(key);
}

int ZKGFNode::directionOfPort(const ZKGFPort* port) const
{
    if (!port || &port->node() != this)
        return 0;
    for (const auto& p : mInputPorts)
        if (p.get() == port)
            return -1;
    for (const auto& p : mOutputPorts)
        if (p.get() == port)
            return 1;
    return 0;
}

void ZKGFNode::enableNotifications()
{
    if (mNotificationsDisabled > 0)
        --mNotificationsDisabled;
}

void ZKGFNode::resumeNotifications()
{
    if (mNotificationsPaused > 0 && --mNotificationsPaused == 0 && mPendingStateUpdate) {
        mPendingStateUpdate = false;
        stateUpdated();
    }
}

void ZKGFNode::stateUpdated()
{
    if (mNotificationsDisabled > 0)
        return;
    if (mNotificationsPaused > 0) {
        mPendingStateUpdate = true;
        return;
    }
    if (mStateObserver)
        mStateObserver(*this);
    if (mGraph)
        mGraph->stateUpdated();
}

void ZKGFNode::logMessage(std::string_view format, std::initializer_list<ZKLogArg> args) const
{
    ZKGFLog("%@: %@", {ZKGFNameForNode(this), ZKLogFormat(format, args)});
}

ZKGFPort* ZKGFNode::_addPort(int direction, const std::string& key, const ZKGFPortArguments& arguments, bool fixed,
    size_t index)
{
    if (key.empty() || portForKey(key) || !arguments.mClass || (direction != 1 && direction != -1))
        return nullptr;
    std::unique_ptr<ZKGFPort> port = arguments.mClass->CreatePort(*this, arguments);
    if (!port)
        return nullptr;
    port->mKey = key;
    port->mFixed = fixed;
    ZKGFPort* raw = port.get();
    TPorts& list = direction < 0 ? mInputPorts : mOutputPorts;
    if (index < list.size())
        list.insert(list.begin() + static_cast<std::ptrdiff_t>(index), std::move(port));
    else
        list.push_back(std::move(port));
    raw->portDidAddToNode(direction);
    return raw;
}

bool ZKGFNode::_deletePort(ZKGFPort* port)
{
    for (TPorts* list : {&mInputPorts, &mOutputPorts}) {
        const auto it = std::find_if(list->begin(), list->end(), [port](const auto& p) { return p.get() == port; });
        if (it != list->end()) {
            port->portWillDeleteFromNode();
            list->erase(it);
            return true;
        }
    }
    return false;
}

bool ZKGFNode::_movePort(ZKGFPort* port, size_t index)
{
    for (TPorts* list : {&mInputPorts, &mOutputPorts}) {
        const auto it = std::find_if(list->begin(), list->end(), [port](const auto& p) { return p.get() == port; });
        if (it == list->end())
            continue;
        std::unique_ptr<ZKGFPort> owned = std::move(*it);
        list->erase(it);
        index = std::min(index, list->size());
        list->insert(list->begin() + static_cast<std::ptrdiff_t>(index), std::move(owned));
        return true;
    }
    return false;
}

std::string ZKGFNode::_uniqueInputPortKey() const
{
    return UniquePortKey(*this, "input_");
}

std::string ZKGFNode::_uniqueOutputPortKey() const
{
    return UniquePortKey(*this, "output_");
}

ZKGFPort* ZKGFNode::_restorePort(int direction, const std::string& key, const ZKGFPortClass& portClass,
    const TGenDict& attributes)
{
    ZKGFPortArguments arguments;
    arguments.mClass = &portClass;
    arguments.mAttributes = attributes;
    return _addPort(direction, key, arguments);
}

TGenDict ZKGFNode::_savePortEntry(const ZKGFPort& port) const
{
    TGenDict entry = port.state();
    if (!port.IsFixed()) {
        entry.SetValueForKey(port.portClass().Name(), kZKGFEntry_Class);
        if (!port.attributes().empty())
            entry.SetValueForKey(port.attributes(), kZKGFEntry_Attributes);
    }
    return entry;
}

void ZKGFNode::_savePortStates(int direction, TGenDict& state) const
{
    TGenArray entries;
    for (const auto& port : direction < 0 ? mInputPorts : mOutputPorts) {
        TGenDict entry = _savePortEntry(*port);
        if (entry.empty())
            continue;
        entry.SetValueForKey(port->key(), kZKGFEntry_Key);
        entries.push_back(std::move(entry));
    }
    if (!entries.empty())
        state.SetValueForKey(std::move(entries), direction < 0 ? kZKGFState_Inputs : kZKGFState_Outputs);
}

TGenDict ZKGFNode::state() const
{
    TGenDict state;
    if (!mUserInfo.empty())
        state.SetValueForKey(mUserInfo, kZKGFState_UserInfo);
    _savePortStates(-1, state);
    _savePortStates(1, state);
    return state;
}

bool ZKGFNode::_restorePortStates(int direction, const TGenArray& entries, std::string* outError)
{
    bool ok = true;
    for (const TGenDictValue& value : entries) {
        const TGenDict* entry = value.AsDict();
        if (!entry || entry->HasKey(kZKGFEntry_Node))
            continue;
        const std::string key = entry->StringForKey(kZKGFEntry_Key);
        ZKGFPort* port = direction < 0 ? inputPortForKey(key) : outputPortForKey(key);
        if (!port && entry->HasKey(kZKGFEntry_Class)) {
            const std::string className = entry->StringForKey(kZKGFEntry_Class);
            const ZKGFPortClass* portClass = nodeManager().portClassForName(className);
            const TGenDict* attributes = entry->DictForKey(kZKGFEntry_Attributes);
            if (portClass)
                port = _restorePort(direction, key, *portClass, attributes ? *attributes : TGenDict());
        }
        if (!port || !port->setState(*entry)) {
            const std::string message = "port \"" + key + "\" of class \"" + entry->StringForKey(kZKGFEntry_Class)
                + "\" cannot be restored";
            logMessage("%@", {message});
            if (outError && outError->empty())
                *outError = ZKGFNameForNode(this) + ": " + message;
            ok = false;
        }
    }
    return ok;
}

void ZKGFNode::_applyPortOrder(int direction, const TGenArray& entries)
{
    size_t next = 0;
    TPorts& list = direction < 0 ? mInputPorts : mOutputPorts;
    // The fixed ports keep their places at the front; the custom ones follow
    // in the stored order.
    while (next < list.size() && list[next]->IsFixed())
        ++next;
    for (const TGenDictValue& value : entries) {
        const TGenDict* entry = value.AsDict();
        if (!entry)
            continue;
        ZKGFPort* port = direction < 0 ? inputPortForKey(entry->StringForKey(kZKGFEntry_Key))
                                       : outputPortForKey(entry->StringForKey(kZKGFEntry_Key));
        if (port && !port->IsFixed() && _movePort(port, next))
            ++next;
    }
}

void ZKGFNode::_restoreUserInfo(const TGenDict& state)
{
    if (const TGenDict* userInfo = state.DictForKey(kZKGFState_UserInfo))
        mUserInfo = *userInfo;
}

bool ZKGFNode::_restoreAllPortStates(const TGenDict& state, std::string* outError)
{
    bool ok = true;
    if (const TGenArray* inputs = state.ArrayForKey(kZKGFState_Inputs))
        ok = _restorePortStates(-1, *inputs, outError) && ok;
    if (const TGenArray* outputs = state.ArrayForKey(kZKGFState_Outputs))
        ok = _restorePortStates(1, *outputs, outError) && ok;
    return ok;
}

void ZKGFNode::_applyAllPortOrders(const TGenDict& state)
{
    if (const TGenArray* inputs = state.ArrayForKey(kZKGFState_Inputs))
        _applyPortOrder(-1, *inputs);
    if (const TGenArray* outputs = state.ArrayForKey(kZKGFState_Outputs))
        _applyPortOrder(1, *outputs);
}

bool ZKGFNode::setState(const TGenDict& state, std::string* outError)
{
    ZKGFNotificationPause pause(*this);
    _restoreUserInfo(state);
    const bool ok = _restoreAllPortStates(state, outError);
    _applyAllPortOrders(state);
    return ok;
}

void ZKGFNode::EncodeWithCoder(TGenDict& coder) const
{
    coder.SetValueForKey(state(), "state");
}

std::shared_ptr<ZKGFObject> ZKGFNode::CopyObject() const
{
    std::unique_ptr<ZKGFNode> copy = mDescription->CreateNode();
    if (!copy)
        return nullptr;
    copy->setState(state());
    return std::shared_ptr<ZKGFObject>(std::move(copy));
}

std::string ZKGFNode::Description() const
{
    return ZKGFNameForNode(this);
}
