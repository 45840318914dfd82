#pragma once

#include "Generator/stylegraph/foundation/ZKGFClassDescription.h"
#include "Generator/stylegraph/foundation/ZKGFValue.h"

#include <string>

class ZKGFNode;

// Port flags.
// The port publishes a port of a sub-node (a proxy).
inline constexpr unsigned kZKGFPortFlag_Proxy = 1u << 1;
// The port's value is held as a raw object of any class.
inline constexpr unsigned kZKGFPortFlag_Virtual = 1u << 16;
// A port of the system; the custom port lists leave it out.
inline constexpr unsigned kZKGFPortFlag_System = 1u << 17;

// An input or output of a node. The node owns its ports; a port knows its
// node, its key, its class and, when it is a proxy, the port it publishes.
class ZKGFPort {
public:
    // initWithNode:arguments:
    ZKGFPort(ZKGFNode& node, const ZKGFPortArguments& arguments);
    virtual ~ZKGFPort() = default;
    ZKGFPort(const ZKGFPort&) = delete;
    ZKGFPort& operator=(const ZKGFPort&) = delete;

    ZKGFNode& node() const { return *mNode; }
    const std::string& key() const { return mKey; }
    const ZKGFPortClass& portClass() const { return *mClass; }
    // The published port of a proxy, else null.
    ZKGFPort* originalPort() const { return mOriginalPort; }
    // The end of the chain of proxies; the port itself when it is no proxy.
    ZKGFPort* rootPort() const { return mRootPort; }

    unsigned flags() const { return mFlags; }
    void _setFlags(unsigned flags) { mFlags = flags; }
    bool IsProxy() const { return (mFlags & kZKGFPortFlag_Proxy) != 0; }
    bool IsVirtual() const { return (mFlags & kZKGFPortFlag_Virtual) != 0; }
    bool IsSystem() const { return (mFlags & kZKGFPortFlag_System) != 0; }
    // Declared by the node's class (made with every node of the class).
    bool IsFixed() const { return mFixed; }

    // "name" and "description" for the views and dumps.
    const TGenDict& attributes() const { return mAttributes; }
    void setAttributes(const TGenDict& attributes) { mAttributes = attributes; }
    // The "name" attribute, or the key without one.
    std::string DisplayName() const;

    // Called once the node has put the port in its list of `direction`
    // (1 output, -1 input).
    virtual void portDidAddToNode(int /*direction*/) {}
    // Called before the node deletes the port.
    virtual void portWillDeleteFromNode() {}

    // The stored state of the port, empty when it has none; the reverse
    // takes it back. The base port keeps no state.
    virtual TGenDict state() const { return {}; }
    virtual bool setState(const TGenDict& /*state*/) { return true; }

    // Text of the current value for traces and dumps.
    virtual std::string ValueDescription() const { return {}; }

private:
    friend class ZKGFNode;
    ZKGFNode* mNode;
    std::string mKey;
    const ZKGFPortClass* mClass;
    ZKGFPort* mOriginalPort = nullptr;
    ZKGFPort* mRootPort = nullptr;
    unsigned mFlags = 0;
    bool mFixed = false;
    TGenDict mAttributes;
};
