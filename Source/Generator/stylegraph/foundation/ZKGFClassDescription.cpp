#include "Generator/stylegraph/foundation/ZKGFClassDescription.h"

#include "Generator/stylegraph/foundation/ZKGFNode.h"
#include "Generator/stylegraph/foundation/ZKGFPort.h"

bool ZKGFPortClass::IsKindOfClass(const ZKGFPortClass& other) const
{
    for (const ZKGFPortClass* c = this; c; c = c->mSuper)
        if (c == &other)
            return true;
    return false;
}

std::unique_ptr<ZKGFPort> ZKGFPortClass::CreatePort(ZKGFNode& node, const ZKGFPortArguments& arguments) const
{
    return mFactory ? mFactory(node, arguments) : nullptr;
}

ZKGFNodeClassDescription::ZKGFNodeClassDescription(std::string name, const ZKGFNodeClassDescription* super,
    TFactory factory, std::vector<ZKGFPortSpec> ports, TGenDict xmlAttributes)
    : mName(std::move(name)), mSuper(super), mFactory(std::move(factory)), mXmlAttributes(std::move(xmlAttributes))
{
    if (mSuper)
        mPorts = mSuper->mPorts;
    for (ZKGFPortSpec& portSpec : ports)
        mPorts.push_back(std::move(portSpec));
}

bool ZKGFNodeClassDescription::IsKindOfClass(const ZKGFNodeClassDescription& other) const
{
    for (const ZKGFNodeClassDescription* c = this; c; c = c->mSuper)
        if (c == &other)
            return true;
    return false;
}

const ZKGFPortSpec* ZKGFNodeClassDescription::PortSpecForKey(const std::string& key) const
{
    for (const ZKGFPortSpec& portSpec : mPorts)
        if (portSpec.mKey == key)
            return &portSpec;
    return nullptr;
}

std::unique_ptr<ZKGFNode> ZKGFNodeClassDescription::CreateNode() const
{
    return mFactory ? mFactory() : nullptr;
}

namespace {

struct TManagers {
    std::mutex mMutex;
    std::map<std::string, std::unique_ptr<ZKGFNodeManager>> mByNamespace;
};

TManagers& Managers()
{
    static TManagers managers;
    return managers;
}

} // namespace

ZKGFNodeManager* ZKGFNodeManager::managerForNodeNamespace(const std::string& nodeNamespace)
{
    TManagers& m = Managers();
    std::lock_guard lock(m.mMutex);
    const auto it = m.mByNamespace.find(nodeNamespace);
    return it == m.mByNamespace.end() ? nullptr : it->second.get();
}

ZKGFNodeManager& ZKGFNodeManager::managerForNodeNamespaceCreating(
    const std::string& nodeNamespace, const std::function<std::unique_ptr<ZKGFNodeManager>()>& make)
{
    TManagers& m = Managers();
    std::lock_guard lock(m.mMutex);
    std::unique_ptr<ZKGFNodeManager>& slot = m.mByNamespace[nodeNamespace];
    if (!slot)
        slot = make();
    return *slot;
}

void ZKGFNodeManager::registerNodeWithClass(const ZKGFNodeClassDescription& description)
{
    if (mNodeClassByName.emplace(description.Name(), &description).second)
        mNodeClasses.push_back(&description);
}

void ZKGFNodeManager::registerPortClass(const ZKGFPortClass& portClass)
{
    if (mPortClassByName.emplace(portClass.Name(), &portClass).second)
        mPortClasses.push_back(&portClass);
}

void ZKGFNodeManager::registerObjectClass(const std::string& className, ZKCodingClassRegistry::TFactory factory)
{
    mObjectClasses.RegisterClass(className, std::move(factory));
}

const ZKGFNodeClassDescription* ZKGFNodeManager::classDescriptionForClass(const std::string& name) const
{
    const auto it = mNodeClassByName.find(name);
    return it == mNodeClassByName.end() ? nullptr : it->second;
}

const ZKGFPortClass* ZKGFNodeManager::portClassForName(const std::string& name) const
{
    const auto it = mPortClassByName.find(name);
    return it == mPortClassByName.end() ? nullptr : it->second;
}
