#pragma once

#include "Generator/stylegraph/foundation/ZKGFClassDescription.h"
#include "Generator/stylegraph/foundation/ZKGFException.h"
#include "Generator/stylegraph/foundation/ZKGFPort.h"
#include "Generator/stylegraph/foundation/ZKGFValue.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class ZKGFGraph;

// Keys of a stored node state and of its entries (see ZKGFNode and ZKGFGraph).
inline constexpr const char* kZKGFState_UserInfo = "userInfo";
inline constexpr const char* kZKGFState_Inputs = "@inputs";
inline constexpr const char* kZKGFState_Outputs = "@outputs";
inline constexpr const char* kZKGFState_Subpatches = "@subpatches";
inline constexpr const char* kZKGFState_Connections = "@connections";
inline constexpr const char* kZKGFEntry_Key = "key";
inline constexpr const char* kZKGFEntry_Class = "class";
inline constexpr const char* kZKGFEntry_Attributes = "attributes";
inline constexpr const char* kZKGFEntry_State = "state";
inline constexpr const char* kZKGFEntry_Node = "node";
inline constexpr const char* kZKGFEntry_Port = "port";
inline constexpr const char* kZKGFEntry_SourceNode = "sourceNode";
inline constexpr const char* kZKGFEntry_SourcePort = "sourcePort";
inline constexpr const char* kZKGFEntry_DestinationNode = "destinationNode";
inline constexpr const char* kZKGFEntry_DestinationPort = "destinationPort";

// Node flags. The node takes no part in state: its state holds only what the
// foundation itself writes.
inline constexpr unsigned kZKGFNodeFlag_NoState = 1u << 2;

// A node of a graph: ordered input and output ports, a user dictionary, a
// parent graph, and change notices that can be paused.
//
// Stored state. state() describes the node in a dictionary that setState()
// takes back:
//   "userInfo"  the user dictionary, when it is not empty;
//   "@inputs", "@outputs"  one entry per port that has something to keep, in
//       port order: "key"; for a port the node's class does not declare,
//       "class" and "attributes" (so it can be made again); for a proxy,
//       "node" and "port" (the published port, see ZKGFGraph); and the
//       port's own state, such as "value".
// setState() makes missing declared-by-state ports, gives every listed port
// its state and puts the listed custom ports in the stored order.
class ZKGFNode : public ZKGFObject {
public:
    explicit ZKGFNode(const ZKGFNodeClassDescription& description);
    ~ZKGFNode() override;
    ZKGFNode(const ZKGFNode&) = delete;
    ZKGFNode& operator=(const ZKGFNode&) = delete;

    const ZKGFNodeClassDescription& nodeClassDescription() const { return *mDescription; }
    const std::string& ClassName() const { return mDescription->Name(); }
    // The classes this node's graph may hold and its values decode from.
    virtual const ZKGFNodeManager& nodeManager() const = 0;

    // The parent graph, or null for a root.
    ZKGFGraph* graph() const { return mGraph; }
    // The root of the tree this node belongs to.
    const ZKGFNode& RootNode() const;
    TGenDict& userInfo() { return mUserInfo; }
    const TGenDict& userInfo() const { return mUserInfo; }
    unsigned nodeFlags() const { return mNodeFlags; }
    void setNodeFlags(unsigned flags) { mNodeFlags = flags; }

    // Ports in order.
    using TPorts = std::vector<std::unique_ptr<ZKGFPort>>;
    const TPorts& inputPorts() const { return mInputPorts; }
    const TPorts& outputPorts() const { return mOutputPorts; }
    ZKGFPort* inputPortForKey(const std::string& key) const;
    ZKGFPort* outputPortForKey(const std::string& key) const;
    // An input, else an output of that key; null for neither.
    ZKGFPort* portForKey(const std::string& key) const;
    // 1 output, -1 input, 0 not a port of this node.
    int directionOfPort(const ZKGFPort* port) const;

    // Change notices. A disabled node sends none; a paused one keeps one
    // notice back and sends it when the last pause ends. Both nest.
    void disableNotifications() { ++mNotificationsDisabled; }
    void enableNotifications();
    void pauseNotifications() { ++mNotificationsPaused; }
    void resumeNotifications();
    bool notificationsDisabled() const { return mNotificationsDisabled > 0; }
    // The node's stored state changed: the notice goes to the observer and
    // up to the parent.
    virtual void stateUpdated();
    // The observer of state notices of this node and, through the parents,
    // of all below it.
    void setStateObserver(std::function<void(ZKGFNode& changed)> observer) { mStateObserver = std::move(observer); }

    // A line in the graph log, prefixed with the node's name.
    void logMessage(std::string_view format, std::initializer_list<ZKLogArg> args = {}) const;

    virtual TGenDict state() const;
    // False (with the first reason in `outError`) when a piece of the state
    // could not be restored; the rest is restored all the same.
    virtual bool setState(const TGenDict& state, std::string* outError = nullptr);

    // Called after the node joined a graph.
    virtual void nodeDidAddToGraph(ZKGFGraph* /*graph*/) {}

    // The object vocabulary: a node archives as its class name and state,
    // and copies through them.
    std::string CodingClassName() const override { return mDescription->Name(); }
    void EncodeWithCoder(TGenDict& coder) const override;
    std::shared_ptr<ZKGFObject> CopyObject() const override;
    std::string Description() const override;

protected:
    // Adds a port made from `arguments` under `key` (not empty, not in use)
    // at the end of its list, or at `index` when that lies inside it.
    ZKGFPort* _addPort(int direction, const std::string& key, const ZKGFPortArguments& arguments, bool fixed = false,
        size_t index = static_cast<size_t>(-1));
    // Deletes a port (after portWillDeleteFromNode); false when it is not one of ours.
    bool _deletePort(ZKGFPort* port);
    // Moves a port to `index` of its list.
    bool _movePort(ZKGFPort* port, size_t index);
    // "input_%d" / "output_%d" with the first free number from 1.
    std::string _uniqueInputPortKey() const;
    std::string _uniqueOutputPortKey() const;

    // Restoring ports from a state: the port of an entry that is missing is
    // made here (the base makes it from its class); null refuses the entry.
    virtual ZKGFPort* _restorePort(int direction, const std::string& key, const ZKGFPortClass& portClass,
        const TGenDict& attributes);
    // The stored entry of one port, without its key; empty when there is
    // nothing to keep.
    virtual TGenDict _savePortEntry(const ZKGFPort& port) const;
    void _savePortStates(int direction, TGenDict& state) const;
    // The pieces of setState, in the order a node takes them.
    void _restoreUserInfo(const TGenDict& state);
    // Entries of proxies ("node") are left to the graph.
    bool _restoreAllPortStates(const TGenDict& state, std::string* outError);
    bool _restorePortStates(int direction, const TGenArray& entries, std::string* outError);
    // Puts the custom ports of the lists in the stored order, behind the fixed ones.
    void _applyAllPortOrders(const TGenDict& state);
    void _applyPortOrder(int direction, const TGenArray& entries);

private:
    friend class ZKGFGraph;
    const ZKGFNodeClassDescription* mDescription;
    ZKGFGraph* mGraph = nullptr;
    TGenDict mUserInfo;
    unsigned mNodeFlags = 0;
    TPorts mInputPorts;
    TPorts mOutputPorts;
    int mNotificationsDisabled = 0;
    int mNotificationsPaused = 0;
    bool mPendingStateUpdate = false;
    std::function<void(ZKGFNode&)> mStateObserver;
};

// Pauses a node's notices for a scope.
class ZKGFNotificationPause {
public:
    explicit ZKGFNotificationPause(ZKGFNode& node) : mNode(node) { mNode.pauseNotifications(); }
    ~ZKGFNotificationPause() { mNode.resumeNotifications(); }
    ZKGFNotificationPause(const ZKGFNotificationPause&) = delete;
    ZKGFNotificationPause& operator=(const ZKGFNotificationPause&) = delete;

private:
    ZKGFNode& mNode;
};
