#include "Generator/stylegraph/CGenGFModule.h"

#include "Generator/CGenContext.h"
#include "Generator/stylegraph/CGenGFNodeManager.h"

#include <algorithm>
#include <exception>

// ----- CGenGFContext, CGenGFClassDescription, CGenGFConnection

CGenGFContext CGenGFContext::contextWithGenContext(CGenContext* genContext)
{
    CGenGFContext c;
    c.mGenContext = genContext;
    return c;
}

CGenGFClassDescription::CGenGFClassDescription(std::string name, const CGenGFClassDescription* super,
    TFactory factory, TGenGFExecutionMode executionMode, bool allowsSubpatches, std::vector<TStateKey> stateKeys,
    std::vector<ZKGFPortSpec> ports, TGenDict xmlAttributes)
    : ZKGFNodeClassDescription(std::move(name), super, std::move(factory), std::move(ports), std::move(xmlAttributes)),
      mExecutionMode(executionMode), mAllowsSubpatches(allowsSubpatches)
{
    if (super)
        mStateKeys = super->mStateKeys;
    for (TStateKey& k : stateKeys)
        mStateKeys.push_back(std::move(k));
}

const CGenGFClassDescription::TStateKey* CGenGFClassDescription::stateKey(const std::string& key) const
{
    for (const TStateKey& k : mStateKeys)
        if (k.mKey == key)
            return &k;
    return nullptr;
}

std::vector<std::string> CGenGFClassDescription::stateKeyNames() const
{
    std::vector<std::string> names;
    for (const TStateKey& k : mStateKeys)
        names.push_back(k.mKey);
    return names;
}

std::vector<std::string> CGenGFClassDescription::serializedStateKeyNames() const
{
    std::vector<std::string> names;
    for (const TStateKey& k : mStateKeys)
        if (k.mSerialized)
            names.push_back(k.mKey);
    return names;
}

void CGenGFConnection::connectionDidAddToGraph()
{
    destinationGFPort()._setConnectedPort(&sourceGFPort());
}

void CGenGFConnection::connectionWillDeleteFromGraph()
{
    destinationGFPort()._setConnectedPort(nullptr);
}

// ----- CGenGFModule: class, mode

const CGenGFClassDescription& CGenGFModule::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModule", nullptr, zkgen::MakeModule<CGenGFModule>,
        TGenGFExecutionMode_Automatic, true);
    return d;
}

CGenGFModule::CGenGFModule() : CGenGFModule(ClassDescription()) {}

CGenGFModule::CGenGFModule(const CGenGFClassDescription& description) : ZKGFGraph(description)
{
    disableNotifications();
    _invalidateExecutionMode();
    enableNotifications();
}

CGenGFModule::~CGenGFModule() = default;

const ZKGFNodeManager& CGenGFModule::nodeManager() const
{
    return CGenGFNodeManager::setupDefaultNodeManager();
}

TGenGFExecutionMode CGenGFModule::_checkExecutionMode() const
{
    const TGenGFExecutionMode classMode = classDescription().executionMode();
    if (classMode != TGenGFExecutionMode_Automatic && classMode != TGenGFExecutionMode_AutomaticNeverConsumer)
        return classMode;
    TGenGFExecutionMode mode = TGenGFExecutionMode_Processor;
    for (const TNodeEntry& e : nodes()) {
        const TGenGFExecutionMode sub = static_cast<const CGenGFModule&>(*e.mNode).executionMode();
        if (sub == TGenGFExecutionMode_Consumer && classMode == TGenGFExecutionMode_Automatic)
            return TGenGFExecutionMode_Consumer;
        if (sub == TGenGFExecutionMode_Provider)
            mode = TGenGFExecutionMode_Provider;
    }
    return mode;
}

void CGenGFModule::_invalidateExecutionMode()
{
    const TGenGFExecutionMode mode = _checkExecutionMode();
    if (mode == mExecutionMode)
        return;
    mExecutionMode = mode;
    CGenGFModule* parent = parentPatch();
    if (!parent)
        return;
    const TGenGFExecutionMode parentClassMode = parent->classDescription().executionMode();
    if (parentClassMode == TGenGFExecutionMode_Automatic || parentClassMode == TGenGFExecutionMode_AutomaticNeverConsumer) {
        ZKGFNotificationPause pause(*parent);
        parent->_invalidateExecutionMode();
    }
}

void CGenGFModule::_didAddNode(ZKGFNode& /*node*/)
{
    const TGenGFExecutionMode classMode = classDescription().executionMode();
    if (classMode == TGenGFExecutionMode_Automatic || classMode == TGenGFExecutionMode_AutomaticNeverConsumer)
        _invalidateExecutionMode();
}

void CGenGFModule::_didRemoveNode()
{
    _didAddNode(*this);
}

// ----- CGenGFModule: a run

bool CGenGFModule::setup(const CGenGFContext& /*context*/)
{
    return true;
}

void CGenGFModule::cleanup(const CGenGFContext& /*context*/) {}

bool CGenGFModule::executeArguments(const CGenGFContext& /*context*/, const TGenDict* arguments)
{
    return nodes().empty() ? true : _executeSubpatchesWithArguments(arguments);
}

bool CGenGFModule::_setup(const CGenGFContext& context)
{
    // An output that nothing writes during the run reads as empty.
    for (const auto& port : outputPorts())
        static_cast<CGenGFPort&>(*port).setValue(ZKGFValue());
    mContext = context;
    if (!setup(context)) {
        mContext.reset();
        logMessage("Initialization failed");
        return false;
    }
    const auto& subs = nodes();
    for (size_t i = 0; i < subs.size(); ++i) {
        if (static_cast<CGenGFModule&>(*subs[i].mNode)._setup(context))
            continue;
        for (size_t j = 0; j < i; ++j)
            static_cast<CGenGFModule&>(*subs[j].mNode)._cleanup();
        cleanup(context);
        mContext.reset();
        return false;
    }
    mLastBeatPosRelToLeftBar = TGenBeatPos_Undef;
    return true;
}

void CGenGFModule::_cleanup()
{
    if (!mContext)
        ZKGFThrowException(ZKGFExceptionKind_Generic, "Patch is not running");
    // Whatever a module's clean-up throws, every other module is cleaned up
    // and this one leaves the running state, so the graph can run again; the
    // first exception is passed on at the end.
    std::exception_ptr first;
    for (const TNodeEntry& e : nodes()) {
        auto& sub = static_cast<CGenGFModule&>(*e.mNode);
        // A module added while the graph ran was never set up.
        if (!sub.isRunning())
            continue;
        try {
            sub._cleanup();
        } catch (...) {
            if (!first)
                first = std::current_exception();
        }
    }
    try {
        cleanup(*mContext);
    } catch (...) {
        if (!first)
            first = std::current_exception();
    }
    for (const auto& port : inputPorts()) {
        auto& p = static_cast<CGenGFPort&>(*port);
        if (p.IsVirtual() && p.connectedPort())
            p.setRawValue(ZKGFValue());
    }
    for (const auto& port : outputPorts()) {
        auto& p = static_cast<CGenGFPort&>(*port);
        if (p.IsVirtual())
            p.setRawValue(ZKGFValue());
    }
    mContext.reset();
    if (first)
        std::rethrow_exception(first);
}

bool CGenGFModule::restart()
{
    if (!mContext)
        return false;
    const CGenGFContext context = *mContext;
    _cleanup();
    return _setup(context);
}

float CGenGFModule::_generatePos() const
{
    const CGenContext* genContext = mContext ? mContext->genContext() : nullptr;
    return genContext ? genContext->mGeneratePos : TGenBeatPos_Undef;
}

bool CGenGFModule::_executeWithArguments(const TGenDict* arguments)
{
    const float pos = _generatePos();
    if (GenIsDef(pos) && pos == mLastBeatPosRelToLeftBar)
        return true;
    mLastBeatPosRelToLeftBar = pos;
    for (const auto& port : inputPorts()) {
        auto& p = static_cast<CGenGFPort&>(*port);
        if (p.connectedPort() && !p._executeWithArguments(arguments))
            return false;
        p._noteExecution();
    }
    static const CGenGFContext kNoContext;
    return executeArguments(mContext ? *mContext : kNoContext, arguments);
}

bool CGenGFModule::_executeSubpatchesWithArguments(const TGenDict* arguments)
{
    for (const TNodeEntry& e : nodes()) {
        auto& sub = static_cast<CGenGFModule&>(*e.mNode);
        if (sub.IsConsumer() && !sub._executeWithArguments(arguments))
            return false;
    }
    for (const auto& port : outputPorts()) {
        if (!port->IsProxy())
            continue;
        CGenGFModule& owner = static_cast<CGenGFPort*>(port->originalPort())->module();
        if (!owner.IsConsumer() && !owner._executeWithArguments(arguments))
            return false;
    }
    return true;
}

namespace zkgen {

size_t NumberOfKey(const std::string& key, const std::string& prefix)
{
    if (!key.starts_with(prefix) || key.size() == prefix.size())
        return 0;
    size_t n = 0;
    for (size_t i = prefix.size(); i < key.size(); ++i) {
        if (key[i] < '0' || key[i] > '9')
            return 0;
        n = n * 10 + static_cast<size_t>(key[i] - '0');
    }
    return n;
}

size_t CountNumberedPorts(const ZKGFNode::TPorts& ports, const std::string& prefix)
{
    return static_cast<size_t>(std::count_if(ports.begin(), ports.end(),
        [&](const auto& p) { return NumberOfKey(p->key(), prefix) != 0; }));
}

std::string NumberedKey(const char* prefix, size_t n)
{
    return std::string(prefix) + std::to_string(n);
}

} // namespace zkgen
