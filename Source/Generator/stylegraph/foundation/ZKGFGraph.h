#pragma once

#include "Generator/stylegraph/foundation/ZKGFNode.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

class ZKGFGraph;

// An edge of a graph from an output port to an input port of two of its
// nodes (or of proxies on them). The graph owns its connections.
class ZKGFConnection {
public:
    // initWithGraph:sourcePort:destinationPort:arguments:
    ZKGFConnection(ZKGFGraph& graph, ZKGFPort& sourcePort, ZKGFPort& destinationPort, const TGenDict& arguments);
    virtual ~ZKGFConnection() = default;
    ZKGFConnection(const ZKGFConnection&) = delete;
    ZKGFConnection& operator=(const ZKGFConnection&) = delete;

    ZKGFGraph& graph() const { return *mGraph; }
    ZKGFPort& sourcePort() const { return *mSourcePort; }
    ZKGFPort& destinationPort() const { return *mDestinationPort; }
    const std::string& key() const { return mKey; }

    // Called once the graph holds the connection, and before it deletes it.
    virtual void connectionDidAddToGraph() {}
    virtual void connectionWillDeleteFromGraph() {}

private:
    friend class ZKGFGraph;
    ZKGFGraph* mGraph;
    ZKGFPort* mSourcePort;
    ZKGFPort* mDestinationPort;
    std::string mKey;
};

// A node that holds nodes by key, in order, and the connections between
// their ports. It may publish a port of one of its nodes as a proxy port of
// its own.
//
// Stored state, beyond the node's:
//   "@subpatches"   the nodes in order, each {"key", "class", "state"};
//   "@connections"  each {"key", "sourceNode", "sourcePort",
//                   "destinationNode", "destinationPort"} by node and port keys;
//   proxy ports in "@inputs"/"@outputs" as {"key", "class", "node", "port"}.
// A restore with an unknown node class, or a connection or proxy whose ends
// are missing, leaves that piece out and says so in the graph log; the rest
// is restored.
//
// Structure changes take the graph lock when the tree has one (the lock of
// the nearest graph upward that has one).
class ZKGFGraph : public ZKGFNode {
public:
    explicit ZKGFGraph(const ZKGFNodeClassDescription& description);
    ~ZKGFGraph() override;

    struct TNodeEntry {
        std::string mKey;
        std::unique_ptr<ZKGFNode> mNode;
    };
    const std::vector<TNodeEntry>& nodes() const { return mNodes; }
    size_t nodeCount() const { return mNodes.size(); }
    const std::vector<std::unique_ptr<ZKGFConnection>>& connections() const { return mConnections; }

    ZKGFNode* nodeForKey(const std::string& key) const;
    // Empty for a node that is not ours.
    std::string keyForNode(const ZKGFNode* node) const;
    // The keys from this graph down to a node below it, joined by "/"; empty
    // when the node is not below this graph.
    std::string pathForNode(const ZKGFNode* node) const;
    ZKGFNode* nodeForPath(const std::string& path) const;

    // Whether the node may join; the base takes any node that is no graph's yet.
    virtual bool canAddNode(const ZKGFNode& node) const;
    // Adds a node under `key` (a key of its class made unique when empty or
    // taken) at the end; returns the key, empty when refused.
    std::string addNodeForKey(std::unique_ptr<ZKGFNode> node, const std::string& key);
    // Removes a node with its connections and the proxies that publish its
    // ports; false when it is not ours.
    bool removeNode(ZKGFNode* node);
    bool removeNodeForKey(const std::string& key);
    // "<class name without prefix>_<n>" with the first free number from 1.
    std::string _uniqueKeyFromNode(const ZKGFNode& node) const;
    bool _finalizing() const { return mFinalizing; }

    // Connections.
    virtual bool canCreateConnectionFromPortToPort(const ZKGFPort& source, const ZKGFPort& destination) const;
    // Null when refused. The key is made unique ("connection_<n>") when empty or taken.
    ZKGFConnection* createConnectionFromPortToPortForKey(ZKGFPort& source, ZKGFPort& destination, const std::string& key);
    ZKGFConnection* connectionForKey(const std::string& key) const;
    bool deleteConnectionForKey(const std::string& key);
    bool deleteConnection(ZKGFConnection* connection);
    // Deletes every connection that starts or ends at `port`.
    void deleteConnectionsOfPort(const ZKGFPort* port);
    // Before a port of one of our nodes goes: deletes its connections and
    // the proxy that publishes it (and so on upward).
    void detachPort(ZKGFPort* port);

    // Publishing: a proxy port on this graph for a port of one of its nodes.
    ZKGFPort* createProxyPortWithOriginalPortForKey(ZKGFPort& originalPort, const std::string& key);
    bool deleteProxyPortForKey(const std::string& key);
    // The proxy of this graph that publishes `originalPort`, or null.
    ZKGFPort* proxyPortForOriginalPort(const ZKGFPort* originalPort) const;

    // The graph lock. Setting one on a root makes all structure changes of
    // its tree take it.
    void setGraphLock(std::shared_ptr<std::recursive_mutex> lock) { mGraphLock = std::move(lock); }
    std::recursive_mutex* _graphLock() const;

    TGenDict state() const override;
    bool setState(const TGenDict& state, std::string* outError = nullptr) override;

protected:
    // The connection class of this graph; the base makes a plain one.
    virtual std::unique_ptr<ZKGFConnection> _makeConnection(ZKGFPort& source, ZKGFPort& destination);
    // The proxy port class; null refuses publishing.
    virtual const ZKGFPortClass* _proxyPortClass() const { return nullptr; }
    // Called after a node joined and before one leaves.
    virtual void _didAddNode(ZKGFNode& /*node*/) {}
    virtual void _willRemoveNode(ZKGFNode& /*node*/) {}
    virtual void _didRemoveNode() {}

    // The first part of a key made for a node; the base takes its class name.
    virtual std::string _keyBaseForNode(const ZKGFNode& node) const { return node.ClassName(); }

    TGenDict _savePortEntry(const ZKGFPort& port) const override;
    bool _restoreSubpatches(const TGenArray& entries, std::string* outError);
    bool _restoreProxies(int direction, const TGenArray& entries, std::string* outError);
    bool _restoreConnections(const TGenArray& entries, std::string* outError);

private:
    std::unique_lock<std::recursive_mutex> _lockGraph() const;

    std::vector<TNodeEntry> mNodes;
    std::vector<std::unique_ptr<ZKGFConnection>> mConnections;
    std::shared_ptr<std::recursive_mutex> mGraphLock;
    bool mFinalizing = false;
};
