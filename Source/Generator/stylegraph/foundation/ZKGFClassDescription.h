#pragma once

#include "Platform/TGenDict.h"
#include "Platform/ZKCoding.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class ZKGFNode;
class ZKGFPort;
class ZKGFPortClass;

// Classes as values. A graph names the class of a port or a node at run time
// (a port created "of class X", a node read back from a file), so each class
// has one static descriptor: its name, its super class, how to make an
// instance and the per-class facts. Descriptors live as long as the process.

// What a port is made from: its class, the attributes dictionary ("name",
// "description") and, for a proxy port, the port it publishes.
struct ZKGFPortArguments {
    const ZKGFPortClass* mClass = nullptr;
    TGenDict mAttributes;
    ZKGFPort* mOriginalPort = nullptr;
};

class ZKGFPortClass {
public:
    using TFactory = std::function<std::unique_ptr<ZKGFPort>(ZKGFNode& node, const ZKGFPortArguments& arguments)>;

    ZKGFPortClass(std::string name, const ZKGFPortClass* super, TFactory factory)
        : mName(std::move(name)), mSuper(super), mFactory(std::move(factory))
    {
    }
    ZKGFPortClass(const ZKGFPortClass&) = delete;
    ZKGFPortClass& operator=(const ZKGFPortClass&) = delete;

    const std::string& Name() const { return mName; }
    const ZKGFPortClass* Super() const { return mSuper; }
    // This class or one derived from it.
    bool IsKindOfClass(const ZKGFPortClass& other) const;
    // Derived from `other`, and not `other` itself.
    bool IsProperSubclassOfClass(const ZKGFPortClass& other) const { return this != &other && IsKindOfClass(other); }
    // A new port of this class on `node`; the factory raises the class's own
    // refusal (abstract class, forbidden subclass).
    std::unique_ptr<ZKGFPort> CreatePort(ZKGFNode& node, const ZKGFPortArguments& arguments) const;

private:
    std::string mName;
    const ZKGFPortClass* mSuper;
    TFactory mFactory;
};

// A fixed port of a node class: made with every node of the class, in table
// order, inputs and outputs each in their own list.
struct ZKGFPortSpec {
    std::string mKey;
    const ZKGFPortClass* mClass = nullptr;
    // 1 output, -1 input.
    int mDirection = -1;
    std::string mName;
    std::string mDescription;
};

class ZKGFNodeClassDescription {
public:
    using TFactory = std::function<std::unique_ptr<ZKGFNode>()>;

    ZKGFNodeClassDescription(std::string name, const ZKGFNodeClassDescription* super, TFactory factory,
        std::vector<ZKGFPortSpec> ports = {}, TGenDict xmlAttributes = {});
    virtual ~ZKGFNodeClassDescription() = default;
    ZKGFNodeClassDescription(const ZKGFNodeClassDescription&) = delete;
    ZKGFNodeClassDescription& operator=(const ZKGFNodeClassDescription&) = delete;

    const std::string& Name() const { return mName; }
    const ZKGFNodeClassDescription* Super() const { return mSuper; }
    const ZKGFNodeClassDescription& nodeClass() const { return *this; }
    bool IsKindOfClass(const ZKGFNodeClassDescription& other) const;

    // The super class's fixed ports, then this class's own.
    const std::vector<ZKGFPortSpec>& Ports() const { return mPorts; }
    const ZKGFPortSpec* PortSpecForKey(const std::string& key) const;
    // The class's attribute dictionary (port attribute sets, name formats).
    const TGenDict& xmlAttributes() const { return mXmlAttributes; }
    // A new node of this class; null for a class without a factory.
    std::unique_ptr<ZKGFNode> CreateNode() const;

private:
    std::string mName;
    const ZKGFNodeClassDescription* mSuper;
    TFactory mFactory;
    std::vector<ZKGFPortSpec> mPorts;
    TGenDict mXmlAttributes;
};

// The classes of one namespace, by name, in the order of registration.
class ZKGFNodeManager {
public:
    explicit ZKGFNodeManager(std::string nodeNamespace) : mNamespace(std::move(nodeNamespace)) {}
    virtual ~ZKGFNodeManager() = default;
    ZKGFNodeManager(const ZKGFNodeManager&) = delete;
    ZKGFNodeManager& operator=(const ZKGFNodeManager&) = delete;

    // The manager of a namespace, or null; managers are made once and live
    // as long as the process.
    static ZKGFNodeManager* managerForNodeNamespace(const std::string& nodeNamespace);
    // The manager of a namespace, made by `make` (once, also under concurrent
    // first use) when there is none.
    static ZKGFNodeManager& managerForNodeNamespaceCreating(
        const std::string& nodeNamespace, const std::function<std::unique_ptr<ZKGFNodeManager>()>& make);

    const std::string& nodeNamespace() const { return mNamespace; }

    void registerNodeWithClass(const ZKGFNodeClassDescription& description);
    void registerPortClass(const ZKGFPortClass& portClass);
    // Value objects that state keys may hold (expressions, tables), for decoding.
    void registerObjectClass(const std::string& className, ZKCodingClassRegistry::TFactory factory);
    const ZKCodingClassRegistry& objectClasses() const { return mObjectClasses; }
    // Null for a name that is not registered.
    const ZKGFNodeClassDescription* classDescriptionForClass(const std::string& name) const;
    const ZKGFPortClass* portClassForName(const std::string& name) const;
    // In the order of registration.
    const std::vector<const ZKGFNodeClassDescription*>& nodeClasses() const { return mNodeClasses; }
    const std::vector<const ZKGFPortClass*>& portClasses() const { return mPortClasses; }

private:
    std::string mNamespace;
    std::vector<const ZKGFNodeClassDescription*> mNodeClasses;
    std::map<std::string, const ZKGFNodeClassDescription*> mNodeClassByName;
    std::vector<const ZKGFPortClass*> mPortClasses;
    std::map<std::string, const ZKGFPortClass*> mPortClassByName;
    ZKCodingClassRegistry mObjectClasses;
};
