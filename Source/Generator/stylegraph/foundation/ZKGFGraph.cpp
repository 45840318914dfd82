#include "Generator/stylegraph/foundation/ZKGFGraph.h"

#include <algorithm>

namespace {

// The first reason wins; it names the graph it happened in.
void SetError(std::string* outError, const ZKGFNode& node, const std::string& message)
{
    if (outError && outError->empty())
        *outError = ZKGFNameForNode(&node) + ": " + message;
}

} // namespace

ZKGFConnection::ZKGFConnection(ZKGFGraph& graph, ZKGFPort& sourcePort, ZKGFPort& destinationPort, const TGenDict& /*arguments*/)
    : mGraph(&graph), mSourcePort(&sourcePort), mDestinationPort(&destinationPort)
{
}

ZKGFGraph::ZKGFGraph(const ZKGFNodeClassDescription& description) : ZKGFNode(description) {}

ZKGFGraph::~ZKGFGraph()
{
    // Tear-down touches nothing outside: connections and nodes go without
    // their notices.
    mFinalizing = true;
    mConnections.clear();
    mNodes.clear();
}

std::recursive_mutex* ZKGFGraph::_graphLock() const
{
    for (const ZKGFGraph* g = this; g; g = g->graph())
        if (g->mGraphLock)
            return g->mGraphLock.get();
    return nullptr;
}

std::unique_lock<std::recursive_mutex> ZKGFGraph::_lockGraph() const
{
    std::recursive_mutex* lock = _graphLock();
    return lock ? std::unique_lock<std::recursive_mutex>(*lock) : std::unique_lock<std::recursive_mutex>();
}

ZKGFNode* ZKGFGraph::nodeForKey(const std::string& key) const
{
    for (const TNodeEntry& e : mNodes)
        if (e.mKey == key)
            return e.mNode.get();
    return nullptr;
}

std::string ZKGFGraph::keyForNode(const ZKGFNode* node) const
{
    for (const TNodeEntry& e : mNodes)
        if (e.mNode.get() == node)
            return e.mKey;
    return {};
}

std::string ZKGFGraph::pathForNode(const ZKGFNode* node) const
{
    std::string path;
    for (const ZKGFNode* n = node; n && n != this; n = n->graph()) {
        if (!n->graph())
            return {};
        const std::string key = n->graph()->keyForNode(n);
        path = path.empty() ? key : key + "/" + path;
    }
    return node ? path : std::string();
}

ZKGFNode* ZKGFGraph::nodeForPath(const std::string& path) const
{
    const ZKGFGraph* graph = this;
    ZKGFNode* node = nullptr;
    size_t start = 0;
    while (graph) {
        const size_t slash = path.find('/', start);
        node = graph->nodeForKey(path.substr(start, slash == std::string::npos ? std::string::npos : slash - start));
        if (!node || slash == std::string::npos)
            return node;
        graph = dynamic_cast<const ZKGFGraph*>(node);
        start = slash + 1;
    }
    return nullptr;
}

bool ZKGFGraph::canAddNode(const ZKGFNode& node) const
{
    return !node.graph() && &node != this;
}

std::string ZKGFGraph::_uniqueKeyFromNode(const ZKGFNode& node) const
{
    const std::string base = _keyBaseForNode(node);
    for (int i = 1;; ++i) {
        std::string key = base + "_" + std::to_string(i);
        if (!nodeForKey(key))
            return key;
    }
}

std::string ZKGFGraph::addNodeForKey(std::unique_ptr<ZKGFNode> node, const std::string& key)
{
    if (!node)
        return {};
    auto lock = _lockGraph();
    if (!canAddNode(*node))
        return {};
    const std::string finalKey = (key.empty() || nodeForKey(key)) ? _uniqueKeyFromNode(*node) : key;
    node->mGraph = this;
    ZKGFNode* raw = node.get();
    mNodes.push_back({finalKey, std::move(node)});
    raw->nodeDidAddToGraph(this);
    _didAddNode(*raw);
    stateUpdated();
    return finalKey;
}

void ZKGFGraph::detachPort(ZKGFPort* port)
{
    if (!port)
        return;
    deleteConnectionsOfPort(port);
    if (ZKGFPort* proxy = proxyPortForOriginalPort(port))
        deleteProxyPortForKey(proxy->key());
}

bool ZKGFGraph::removeNode(ZKGFNode* node)
{
    auto lock = _lockGraph();
    const auto it = std::find_if(mNodes.begin(), mNodes.end(), [node](const TNodeEntry& e) { return e.mNode.get() == node; });
    if (it == mNodes.end())
        return false;
    _willRemoveNode(*node);
    for (const TPorts* list : {&node->inputPorts(), &node->outputPorts()})
        for (const auto& port : *list)
            detachPort(port.get());
    std::unique_ptr<ZKGFNode> owned = std::move(it->mNode);
    mNodes.erase(std::find_if(mNodes.begin(), mNodes.end(), [](const TNodeEntry& e) { return !e.mNode; }));
    owned->mGraph = nullptr;
    owned.reset();
    if (!mFinalizing)
        _didRemoveNode();
    stateUpdated();
    return true;
}

bool ZKGFGraph::removeNodeForKey(const std::string& key)
{
    return removeNode(nodeForKey(key));
}

bool ZKGFGraph::canCreateConnectionFromPortToPort(const ZKGFPort& source, const ZKGFPort& destination) const
{
    return source.node().graph() == this && destination.node().graph() == this;
}

ZKGFConnection* ZKGFGraph::createConnectionFromPortToPortForKey(ZKGFPort& source, ZKGFPort& destination,
    const std::string& key)
{
    auto lock = _lockGraph();
    if (!canCreateConnectionFromPortToPort(source, destination))
        return nullptr;
    std::string finalKey = key;
    for (int i = 1; finalKey.empty() || connectionForKey(finalKey); ++i)
        finalKey = "connection_" + std::to_string(i);
    std::unique_ptr<ZKGFConnection> connection = _makeConnection(source, destination);
    if (!connection)
        return nullptr;
    connection->mKey = finalKey;
    ZKGFConnection* raw = connection.get();
    mConnections.push_back(std::move(connection));
    try {
        raw->connectionDidAddToGraph();
    } catch (...) {
        mConnections.pop_back();
        throw;
    }
    stateUpdated();
    return raw;
}

std::unique_ptr<ZKGFConnection> ZKGFGraph::_makeConnection(ZKGFPort& source, ZKGFPort& destination)
{
    return std::make_unique<ZKGFConnection>(*this, source, destination, TGenDict());
}

ZKGFConnection* ZKGFGraph::connectionForKey(const std::string& key) const
{
    for (const auto& c : mConnections)
        if (c->key() == key)
            return c.get();
    return nullptr;
}

bool ZKGFGraph::deleteConnection(ZKGFConnection* connection)
{
    auto lock = _lockGraph();
    const auto it = std::find_if(mConnections.begin(), mConnections.end(),
        [connection](const auto& c) { return c.get() == connection; });
    if (it == mConnections.end())
        return false;
    connection->connectionWillDeleteFromGraph();
    mConnections.erase(it);
    stateUpdated();
    return true;
}

bool ZKGFGraph::deleteConnectionForKey(const std::string& key)
{
    return deleteConnection(connectionForKey(key));
}

void ZKGFGraph::deleteConnectionsOfPort(const ZKGFPort* port)
{
    auto lock = _lockGraph();
    for (size_t i = mConnections.size(); i-- > 0;) {
        ZKGFConnection* c = mConnections[i].get();
        if (&c->sourcePort() == port || &c->destinationPort() == port)
            deleteConnection(c);
    }
}

ZKGFPort* ZKGFGraph::createProxyPortWithOriginalPortForKey(ZKGFPort& originalPort, const std::string& key)
{
    auto lock = _lockGraph();
    const ZKGFPortClass* proxyClass = _proxyPortClass();
    const int direction = originalPort.node().directionOfPort(&originalPort);
    if (!proxyClass || originalPort.node().graph() != this || direction == 0)
        return nullptr;
    ZKGFPortArguments arguments;
    arguments.mClass = proxyClass;
    arguments.mAttributes = originalPort.attributes();
    arguments.mOriginalPort = &originalPort;
    const std::string finalKey = !key.empty() ? key : (direction < 0 ? _uniqueInputPortKey() : _uniqueOutputPortKey());
    ZKGFPort* proxy = _addPort(direction, finalKey, arguments);
    if (proxy)
        stateUpdated();
    return proxy;
}

bool ZKGFGraph::deleteProxyPortForKey(const std::string& key)
{
    auto lock = _lockGraph();
    ZKGFPort* proxy = portForKey(key);
    if (!proxy || !proxy->IsProxy())
        return false;
    if (graph())
        graph()->detachPort(proxy);
    _deletePort(proxy);
    stateUpdated();
    return true;
}

ZKGFPort* ZKGFGraph::proxyPortForOriginalPort(const ZKGFPort* originalPort) const
{
    for (const TPorts* list : {&inputPorts(), &outputPorts()})
        for (const auto& port : *list)
            if (port->IsProxy() && port->originalPort() == originalPort)
                return port.get();
    return nullptr;
}

TGenDict ZKGFGraph::_savePortEntry(const ZKGFPort& port) const
{
    if (!port.IsProxy())
        return ZKGFNode::_savePortEntry(port);
    TGenDict entry;
    const ZKGFPort* original = port.originalPort();
    entry.SetValueForKey(port.portClass().Name(), kZKGFEntry_Class);
    entry.SetValueForKey(keyForNode(&original->node()), kZKGFEntry_Node);
    entry.SetValueForKey(original->key(), kZKGFEntry_Port);
    if (!port.attributes().empty() && !(port.attributes() == original->attributes()))
        entry.SetValueForKey(port.attributes(), kZKGFEntry_Attributes);
    return entry;
}

TGenDict ZKGFGraph::state() const
{
    TGenDict state = ZKGFNode::state();
    if (!mNodes.empty()) {
        TGenArray subpatches;
        for (const TNodeEntry& e : mNodes) {
            TGenDict entry;
            entry.SetValueForKey(e.mKey, kZKGFEntry_Key);
            entry.SetValueForKey(e.mNode->ClassName(), kZKGFEntry_Class);
            entry.SetValueForKey(e.mNode->state(), kZKGFEntry_State);
            subpatches.push_back(std::move(entry));
        }
        state.SetValueForKey(std::move(subpatches), kZKGFState_Subpatches);
    }
    if (!mConnections.empty()) {
        TGenArray connections;
        for (const auto& c : mConnections) {
            TGenDict entry;
            entry.SetValueForKey(c->key(), kZKGFEntry_Key);
            entry.SetValueForKey(keyForNode(&c->sourcePort().node()), kZKGFEntry_SourceNode);
            entry.SetValueForKey(c->sourcePort().key(), kZKGFEntry_SourcePort);
            entry.SetValueForKey(keyForNode(&c->destinationPort().node()), kZKGFEntry_DestinationNode);
            entry.SetValueForKey(c->destinationPort().key(), kZKGFEntry_DestinationPort);
            connections.push_back(std::move(entry));
        }
        state.SetValueForKey(std::move(connections), kZKGFState_Connections);
    }
    return state;
}

bool ZKGFGraph::_restoreSubpatches(const TGenArray& entries, std::string* outError)
{
    bool ok = true;
    for (const TGenDictValue& value : entries) {
        const TGenDict* entry = value.AsDict();
        const std::string className = entry ? entry->StringForKey(kZKGFEntry_Class) : std::string();
        const ZKGFNodeClassDescription* description = nodeManager().classDescriptionForClass(className);
        std::unique_ptr<ZKGFNode> node = description ? description->CreateNode() : nullptr;
        if (!node) {
            const std::string message = "unknown node class \"" + className + "\"";
            logMessage("%@", {message});
            SetError(outError, *this, message);
            ok = false;
            continue;
        }
        const TGenDict* nodeState = entry->DictForKey(kZKGFEntry_State);
        if (nodeState && !node->setState(*nodeState, outError))
            ok = false;
        if (addNodeForKey(std::move(node), entry->StringForKey(kZKGFEntry_Key)).empty()) {
            const std::string message = "node \"" + entry->StringForKey(kZKGFEntry_Key) + "\" of class \"" + className
                + "\" cannot join";
            logMessage("%@", {message});
            SetError(outError, *this, message);
            ok = false;
        }
    }
    return ok;
}

bool ZKGFGraph::_restoreProxies(int direction, const TGenArray& entries, std::string* outError)
{
    bool ok = true;
    for (const TGenDictValue& value : entries) {
        const TGenDict* entry = value.AsDict();
        if (!entry || !entry->HasKey(kZKGFEntry_Node))
            continue;
        const std::string key = entry->StringForKey(kZKGFEntry_Key);
        ZKGFNode* node = nodeForKey(entry->StringForKey(kZKGFEntry_Node));
        ZKGFPort* original = !node ? nullptr
            : direction < 0        ? node->inputPortForKey(entry->StringForKey(kZKGFEntry_Port))
                                   : node->outputPortForKey(entry->StringForKey(kZKGFEntry_Port));
        ZKGFPort* proxy = original ? createProxyPortWithOriginalPortForKey(*original, key) : nullptr;
        if (!proxy) {
            const std::string message = "published port \"" + key + "\" has no port \"" + entry->StringForKey(kZKGFEntry_Port)
                + "\" of node \"" + entry->StringForKey(kZKGFEntry_Node) + "\" to publish";
            logMessage("%@", {message});
            SetError(outError, *this, message);
            ok = false;
            continue;
        }
        if (const TGenDict* attributes = entry->DictForKey(kZKGFEntry_Attributes))
            proxy->setAttributes(*attributes);
    }
    return ok;
}

bool ZKGFGraph::_restoreConnections(const TGenArray& entries, std::string* outError)
{
    bool ok = true;
    for (const TGenDictValue& value : entries) {
        const TGenDict* entry = value.AsDict();
        if (!entry)
            continue;
        ZKGFNode* sourceNode = nodeForKey(entry->StringForKey(kZKGFEntry_SourceNode));
        ZKGFNode* destinationNode = nodeForKey(entry->StringForKey(kZKGFEntry_DestinationNode));
        ZKGFPort* source = sourceNode ? sourceNode->outputPortForKey(entry->StringForKey(kZKGFEntry_SourcePort)) : nullptr;
        ZKGFPort* destination
            = destinationNode ? destinationNode->inputPortForKey(entry->StringForKey(kZKGFEntry_DestinationPort)) : nullptr;
        if (!source || !destination
            || !createConnectionFromPortToPortForKey(*source, *destination, entry->StringForKey(kZKGFEntry_Key))) {
            const std::string message = "connection \"" + entry->StringForKey(kZKGFEntry_Key) + "\" from "
                + entry->StringForKey(kZKGFEntry_SourceNode) + "." + entry->StringForKey(kZKGFEntry_SourcePort) + " to "
                + entry->StringForKey(kZKGFEntry_DestinationNode) + "." + entry->StringForKey(kZKGFEntry_DestinationPort)
                + " cannot be made";
            logMessage("%@", {message});
            SetError(outError, *this, message);
            ok = false;
        }
    }
    return ok;
}

bool ZKGFGraph::setState(const TGenDict& state, std::string* outError)
{
    ZKGFNotificationPause pause(*this);
    bool ok = true;
    _restoreUserInfo(state);
    if (const TGenArray* subpatches = state.ArrayForKey(kZKGFState_Subpatches))
        ok = _restoreSubpatches(*subpatches, outError) && ok;
    ok = _restoreAllPortStates(state, outError) && ok;
    if (const TGenArray* inputs = state.ArrayForKey(kZKGFState_Inputs))
        ok = _restoreProxies(-1, *inputs, outError) && ok;
    if (const TGenArray* outputs = state.ArrayForKey(kZKGFState_Outputs))
        ok = _restoreProxies(1, *outputs, outError) && ok;
    _applyAllPortOrders(state);
    if (const TGenArray* connections = state.ArrayForKey(kZKGFState_Connections))
        ok = _restoreConnections(*connections, outError) && ok;
    return ok;
}
