#pragma once

#include "Generator/CGenAssert.h"
#include "Generator/CGenTypes.h"
#include "Generator/stylegraph/CGenGFPort.h"
#include "Generator/stylegraph/foundation/ZKGFGraph.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class CGenContext;

// How a module takes part in a pull evaluation.
enum TGenGFExecutionMode : int32_t {
    // Follows from the sub-modules: a consumer among them makes a consumer,
    // a provider a provider, else a processor.
    TGenGFExecutionMode_Automatic = 0,
    // A sink: it starts the evaluation and has no outputs.
    TGenGFExecutionMode_Consumer = 1,
    // A source: it needs no inputs.
    TGenGFExecutionMode_Provider = 2,
    // Input to output.
    TGenGFExecutionMode_Processor = 3,
    // As automatic, but a consumer among the sub-modules does not count.
    TGenGFExecutionMode_AutomaticNeverConsumer = 4,
};

// The execution context handed to every module of a run: the running
// generation's blackboard, not owned.
class CGenGFContext {
public:
    CGenGFContext() = default;
    static CGenGFContext contextWithGenContext(CGenContext* genContext);
    CGenContext* genContext() const { return mGenContext; }

private:
    CGenContext* mGenContext = nullptr;
};

class CGenGFModule;

// The per-class facts of a module class, in one static table per class:
// execution mode, whether it may hold sub-modules, its fixed ports with names
// and descriptions, and its state keys (the persistent properties) with how
// each is read and written.
class CGenGFClassDescription : public ZKGFNodeClassDescription {
public:
    struct TStateKey {
        std::string mKey;
        std::function<ZKGFValue(const CGenGFModule&)> mGet;
        std::function<void(CGenGFModule&, const ZKGFValue&)> mSet;
        // Empty: every value is valid. Otherwise false with a reason.
        std::function<bool(const CGenGFModule&, const ZKGFValue&, std::string& error)> mValidate;
        // Written into the stored state.
        bool mSerialized = true;
    };

    CGenGFClassDescription(std::string name, const CGenGFClassDescription* super, TFactory factory,
        TGenGFExecutionMode executionMode, bool allowsSubpatches, std::vector<TStateKey> stateKeys = {},
        std::vector<ZKGFPortSpec> ports = {}, TGenDict xmlAttributes = {});

    TGenGFExecutionMode executionMode() const { return mExecutionMode; }
    bool allowsSubpatches() const { return mAllowsSubpatches; }
    // The super class's keys, then this class's own.
    const std::vector<TStateKey>& stateKeys() const { return mStateKeys; }
    const TStateKey* stateKey(const std::string& key) const;
    std::vector<std::string> stateKeyNames() const;
    std::vector<std::string> serializedStateKeyNames() const;

private:
    TGenGFExecutionMode mExecutionMode;
    bool mAllowsSubpatches;
    std::vector<TStateKey> mStateKeys;
};

// The edge between two module ports; it tells the destination its source.
class CGenGFConnection : public ZKGFConnection {
public:
    using ZKGFConnection::ZKGFConnection;
    CGenGFPort& sourceGFPort() const { return static_cast<CGenGFPort&>(sourcePort()); }
    CGenGFPort& destinationGFPort() const { return static_cast<CGenGFPort&>(destinationPort()); }
    void connectionDidAddToGraph() override;
    void connectionWillDeleteFromGraph() override;
};

// A module of a style graph: a node that may hold sub-modules. Every module
// and every graph root is one.
//
// A run. _setup() empties the outputs, keeps the context and sets up the
// module and its sub-modules; _cleanup() ends it. In between, a pull
// (_executeWithArguments) runs a module at most once for each generate
// position: it first pulls the sources of its connected inputs, then calls
// executeArguments(). Pulls start at the consumers and at the published
// outputs (_executeSubpatchesWithArguments). An undefined position runs
// every pull.
//
// Errors of programming raise ZKGFException with fixed texts; the caller of
// a graph catches them.
class CGenGFModule : public ZKGFGraph {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModule();
    explicit CGenGFModule(const CGenGFClassDescription& description);
    ~CGenGFModule() override;

    const CGenGFClassDescription& classDescription() const
    {
        return static_cast<const CGenGFClassDescription&>(nodeClassDescription());
    }
    const ZKGFNodeManager& nodeManager() const override;

    // ----- execution mode
    TGenGFExecutionMode executionMode() const { return mExecutionMode; }
    bool IsConsumer() const { return mExecutionMode == TGenGFExecutionMode_Consumer; }
    TGenGFExecutionMode _checkExecutionMode() const;
    void _invalidateExecutionMode();

    // ----- life of a run; the first group is what a module class overrides
    // False refuses the run.
    virtual bool setup(const CGenGFContext& context);
    virtual void enable(const CGenGFContext& /*context*/) {}
    // False stops the pull. The base runs the sub-modules if there are any.
    virtual bool executeArguments(const CGenGFContext& context, const TGenDict* arguments);
    virtual void disable(const CGenGFContext& /*context*/) {}
    virtual void cleanup(const CGenGFContext& context);

    bool _setup(const CGenGFContext& context);
    // Raises "Patch is not running" when not running.
    void _cleanup();
    // _cleanup and _setup with the same context; false when not running.
    bool restart();
    bool _executeWithArguments(const TGenDict* arguments);
    bool _executeSubpatchesWithArguments(const TGenDict* arguments);
    bool executeSubModulesWithArguments(const TGenDict* arguments) { return _executeSubpatchesWithArguments(arguments); }
    bool isRunning() const { return mContext.has_value(); }
    // The context of the run, or null.
    const CGenGFContext* _context() const { return mContext ? &*mContext : nullptr; }
    float _lastBeatPosRelToLeftBar() const { return mLastBeatPosRelToLeftBar; }

    // ----- state keys
    bool isStateKey(const std::string& key) const { return classDescription().stateKey(key) != nullptr; }
    // Raises "Inconsistent state" for a key that is no state key.
    ZKGFValue valueForStateKey(const std::string& key) const;
    // Validates, stores and reports the change; an invalid value is logged
    // and dropped, an equal one changes nothing.
    void setValueForStateKey(const ZKGFValue& value, const std::string& key);
    // Raise "Inconsistent state" when the stored value is no number.
    bool boolForStateKey(const std::string& key) const;
    void setBoolForStateKey(bool value, const std::string& key);
    int64_t integerForStateKey(const std::string& key) const;
    void setIntegerForStateKey(int64_t value, const std::string& key);
    double doubleForStateKey(const std::string& key) const;
    void setDoubleForStateKey(double value, const std::string& key);
    std::optional<TGenDictValue> serializedValueForStateKey(const std::string& key) const;
    bool setSerializedValueForStateKey(const TGenDictValue& value, const std::string& key, std::string* outError = nullptr);
    virtual bool validateValueForKeyError(const ZKGFValue& value, const std::string& key, std::string& error) const;

    // The node's state plus each serialized state key that has a value.
    TGenDict state() const override;
    // State keys first (they may make ports), then the node's state.
    bool setState(const TGenDict& state, std::string* outError = nullptr) override;

    // ----- structure
    // The "class" of the arguments must be a kind of CGenGFPort.
    CGenGFPort* createInputPortWithArgumentsForKey(const ZKGFPortArguments& arguments, const std::string& key);
    CGenGFPort* createOutputPortWithArgumentsForKey(const ZKGFPortArguments& arguments, const std::string& key);
    bool deleteInputPortForKey(const std::string& key);
    bool deleteOutputPortForKey(const std::string& key);
    CGenGFConnection* createConnectionFromPortToPortForKey(CGenGFPort& source, CGenGFPort& destination,
        const std::string& key = {});
    bool canCreateConnectionFromPortToPort(const ZKGFPort& source, const ZKGFPort& destination) const override;
    bool canAddNode(const ZKGFNode& node) const override;
    // The ports that are neither declared by the class nor system ports.
    std::vector<CGenGFPort*> customInputPorts() const;
    std::vector<CGenGFPort*> customOutputPorts() const;
    // Moves a custom port to `order` in its list; raises for a missing or system port.
    void setInputPortOrderForKey(size_t order, const std::string& key);
    void setOutputPortOrderForKey(size_t order, const std::string& key);
    int directionForPort(const ZKGFPort* port) const { return directionOfPort(port); }
    CGenGFPort* inputGFPortForKey(const std::string& key) const { return static_cast<CGenGFPort*>(inputPortForKey(key)); }
    CGenGFPort* outputGFPortForKey(const std::string& key) const { return static_cast<CGenGFPort*>(outputPortForKey(key)); }

    // ----- the patch vocabulary
    CGenGFModule* parentPatch() const;
    std::vector<CGenGFModule*> subpatches() const;
    CGenGFModule* subpatchAt(size_t index) const;
    bool canAddSubpatch(const CGenGFModule& module) const { return canAddNode(module); }
    // Adds under a key made from the class; null when refused.
    CGenGFModule* addSubpatch(std::unique_ptr<CGenGFModule> module, const std::string& key = {});
    bool removeSubpatch(CGenGFModule* module) { return removeNode(module); }
    CGenGFModule* subpatchForKey(const std::string& key) const;
    std::string keyForSubpatch(const CGenGFModule* module) const { return keyForNode(module); }
    std::string pathForSubpatch(const CGenGFModule* module) const { return pathForNode(module); }
    CGenGFModule* subpatchForPath(const std::string& path) const;
    // A port of a direct sub-module that is not published yet.
    bool canPublishPort(const CGenGFPort& port) const;
    CGenGFPort* publishPort(CGenGFPort& port, const std::string& key = {});
    bool unpublishPort(CGenGFPort& port);
    bool isPortPublished(const CGenGFPort& port) const { return proxyPortForOriginalPort(&port) != nullptr; }
    CGenGFPort* gfPortForKey(const std::string& key) const { return static_cast<CGenGFPort*>(portForKey(key)); }
    CGenGFPort* createInputWithPortClassForKeyAttributes(const ZKGFPortClass& portClass, const std::string& key,
        const TGenDict& attributes);
    CGenGFPort* createOutputWithPortClassForKeyAttributes(const ZKGFPortClass& portClass, const std::string& key,
        const TGenDict& attributes);
    // The same, then moved to `order` in the list of custom ports.
    CGenGFPort* createInputWithPortClassForKeyAttributesArgumentsOrder(const ZKGFPortClass& portClass,
        const std::string& key, const TGenDict& attributes, const TGenDict& arguments, size_t order);
    CGenGFPort* createOutputWithPortClassForKeyAttributesArgumentsOrder(const ZKGFPortClass& portClass,
        const std::string& key, const TGenDict& attributes, const TGenDict& arguments, size_t order);
    bool deleteInputForKey(const std::string& key) { return deleteInputPortForKey(key); }
    bool deleteOutputForKey(const std::string& key) { return deleteOutputPortForKey(key); }

    // The name shown in a graph: cut at the first line break (with an
    // ellipsis) and quoted, kept under ".customizedName" in the user
    // dictionary; it replaces "name" unless an author set that by hand.
    void setCustomizedName(const std::string& name);

protected:
    // Binds a fixed port of the class table to a typed member.
    template <class TPort>
    void _bindPort(TPort*& member, const char* key)
    {
        member = dynamic_cast<TPort*>(portForKey(key));
        ZKG_ASSERT(member != nullptr);
    }

    std::unique_ptr<ZKGFConnection> _makeConnection(ZKGFPort& source, ZKGFPort& destination) override;
    const ZKGFPortClass* _proxyPortClass() const override { return &CGenGFProxyPort::Class(); }
    std::string _keyBaseForNode(const ZKGFNode& node) const override;
    void _didAddNode(ZKGFNode& node) override;
    void _didRemoveNode() override;
    ZKGFPort* _restorePort(int direction, const std::string& key, const ZKGFPortClass& portClass,
        const TGenDict& attributes) override;

private:
    CGenGFPort* _createPort(int direction, const ZKGFPortArguments& arguments, const std::string& key);
    bool _deletePortForKey(int direction, const std::string& key);
    void _setPortOrder(int direction, size_t order, const std::string& key);
    // The generate position of the run, or undefined.
    float _generatePos() const;

    std::optional<CGenGFContext> mContext;
    TGenGFExecutionMode mExecutionMode = TGenGFExecutionMode_Automatic;
    float mLastBeatPosRelToLeftBar = TGenBeatPos_Undef;
};

// The factory of a module class C for its class table.
namespace zkgen {
template <class C>
std::unique_ptr<ZKGFNode> MakeModule()
{
    return std::make_unique<C>();
}

// Numbered port keys ("source_1", "destination_2"): the number behind the
// prefix (0 when the key has another form), the key of a number, and how
// many of the ports carry such keys.
size_t NumberOfKey(const std::string& key, const std::string& prefix);
std::string NumberedKey(const char* prefix, size_t n);
size_t CountNumberedPorts(const ZKGFNode::TPorts& ports, const std::string& prefix);
} // namespace zkgen
