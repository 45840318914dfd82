#pragma once

#include "Generator/stylegraph/foundation/ZKGFClassDescription.h"

// The namespace of the style-graph module classes.
inline constexpr const char* kCGenGFNodeManager_DefaultNamespace = "zk.generator.stylegraph";

// The registry of module classes, port classes and the value objects their
// state keys hold.
class CGenGFNodeManager : public ZKGFNodeManager {
public:
    using ZKGFNodeManager::ZKGFNodeManager;

    // The manager of kCGenGFNodeManager_DefaultNamespace, made and filled by
    // registerBuiltInNodes on first use (once, also under concurrent first use).
    static const CGenGFNodeManager& setupDefaultNodeManager();

    // The module classes in their fixed order, then the port classes and value objects.
    void registerBuiltInNodes();
};
