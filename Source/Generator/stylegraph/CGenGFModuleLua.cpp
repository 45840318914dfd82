#include "Generator/stylegraph/CGenGFModuleLua.h"

#include "Generator/CGenContext.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/scripting/CGenLuaClasses.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <algorithm>

namespace {

constexpr const char* kInputPrefix = "source_";
constexpr const char* kOutputPrefix = "destination_";

int64_t ClampPortCount(int64_t count)
{
    return std::clamp<int64_t>(count, 1, CGenGFModuleLua::kMaxPortCount);
}

ZKGFValue CountValue(size_t n)
{
    return ZKGFValue::Integer(static_cast<int64_t>(n));
}

bool ValidateNumber(const CGenGFModule&, const ZKGFValue& v, std::string& error)
{
    if (v.IsNumber())
        return true;
    error = "a number is expected";
    return false;
}

} // namespace

const CGenGFClassDescription& CGenGFModuleLua::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModuleLua", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModuleLua>, TGenGFExecutionMode_Processor, false,
        {{"luaScript", [](const CGenGFModule& m) { return ZKGFValue::String(static_cast<const CGenGFModuleLua&>(m).luaScript()); },
             [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleLua&>(m).setLuaScript(v.StringValue().value_or("")); },
             [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                 if (v.IsString())
                     return true;
                 error = "a text is expected";
                 return false;
             }},
            // Stored as numbers; a missing one reads as 1.
            {"inputCount", [](const CGenGFModule& m) { return CountValue(static_cast<const CGenGFModuleLua&>(m).inputCount()); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleLua&>(m).setInputCount(v.IntegerValue().value_or(1)); },
                ValidateNumber},
            {"outputCount", [](const CGenGFModule& m) { return CountValue(static_cast<const CGenGFModuleLua&>(m).outputCount()); },
                [](CGenGFModule& m, const ZKGFValue& v) { static_cast<CGenGFModuleLua&>(m).setOutputCount(v.IntegerValue().value_or(1)); },
                ValidateNumber}},
        {},
        TGenDict {{"_inputPortAttributes", TGenDict {{"name", "Input %ld"}, {"description", "A value for the script: inputs[n]"}}},
            {"_outputPortAttributes", TGenDict {{"name", "Output %ld"}, {"description", "A value of the script: outputs[n]"}}}});
    return d;
}

CGenGFModuleLua::CGenGFModuleLua() : CGenGFModule(ClassDescription())
{
    std::string id = CGenStyle::CreateUniqueID();
    id.erase(std::remove(id.begin(), id.end(), '-'), id.end());
    _uniqueID = "A" + id;
    setInputCount(1);
    setOutputCount(1);
}

void CGenGFModuleLua::_makePort(int direction, size_t number)
{
    const char* set = direction < 0 ? "_inputPortAttributes" : "_outputPortAttributes";
    const TGenDict* attributes = nodeClassDescription().xmlAttributes().DictForKey(set);
    TGenDict portAttributes;
    if (attributes) {
        portAttributes.SetValueForKey(ZKLogFormat(attributes->StringForKey("name", "%ld"), {number}), "name");
        portAttributes.SetValueForKey(attributes->StringForKey("description"), "description");
    }
    const std::string key = zkgen::NumberedKey(direction < 0 ? kInputPrefix : kOutputPrefix, number);
    if (direction < 0)
        createInputWithPortClassForKeyAttributes(CGenGFVirtualPort::Class(), key, portAttributes);
    else
        createOutputWithPortClassForKeyAttributes(CGenGFVirtualPort::Class(), key, portAttributes);
}

size_t CGenGFModuleLua::inputCount() const
{
    return zkgen::CountNumberedPorts(inputPorts(), kInputPrefix);
}

size_t CGenGFModuleLua::outputCount() const
{
    return zkgen::CountNumberedPorts(outputPorts(), kOutputPrefix);
}

void CGenGFModuleLua::setInputCount(int64_t count)
{
    const size_t n = static_cast<size_t>(ClampPortCount(count));
    ZKGFNotificationPause pause(*this);
    for (size_t i = inputCount(); i < n; ++i)
        _makePort(-1, i + 1);
    for (size_t i = inputCount(); i > n; --i)
        deleteInputPortForKey(zkgen::NumberedKey(kInputPrefix, i));
    stateUpdated();
}

void CGenGFModuleLua::setOutputCount(int64_t count)
{
    const size_t n = static_cast<size_t>(ClampPortCount(count));
    ZKGFNotificationPause pause(*this);
    for (size_t i = outputCount(); i < n; ++i)
        _makePort(1, i + 1);
    for (size_t i = outputCount(); i > n; --i)
        deleteOutputPortForKey(zkgen::NumberedKey(kOutputPrefix, i));
    stateUpdated();
}

CGenGFPort* CGenGFModuleLua::inputPortAt(size_t number) const
{
    return inputGFPortForKey(zkgen::NumberedKey(kInputPrefix, number));
}

CGenGFPort* CGenGFModuleLua::outputPortAt(size_t number) const
{
    return outputGFPortForKey(zkgen::NumberedKey(kOutputPrefix, number));
}

void CGenGFModuleLua::setLuaScript(const std::string& script)
{
    if (script == _luaScript && _luaScriptNeedsCompilation)
        return;
    _luaScript = script;
    _luaScriptNeedsCompilation = true;
    checkLuaScript();
    stateUpdated();
}

void CGenGFModuleLua::checkLuaScript()
{
    _luaScriptIsValid = false;
    if (_luaScript.empty())
        return; // stays invalid, with its old error text
    std::string err;
    _luaScriptIsValid = CGenLua::checkLuaString(_luaScript, &err);
    _luaScriptErrorString = _luaScriptIsValid ? std::string() : (err.empty() ? std::string("error") : err);
}

void CGenGFModuleLua::resetLuaScript()
{
    _luaScriptNeedsCompilation = true;
    checkLuaScript();
}

void CGenGFModuleLua::checkGlobalLuaScriptChangeCount(int64_t changeCount)
{
    if (_globalLuaScriptChangeCount < changeCount) {
        _globalLuaScriptChangeCount = changeCount;
        _luaScriptNeedsCompilation = true;
    }
}

void CGenGFModuleLua::compileLuaScript()
{
    if (!_luaScriptNeedsCompilation)
        return;
    _luaScriptNeedsCompilation = false;
    if (_luaScript.empty() || !_luaScriptIsValid || !L)
        return;
    std::string source = "function ";
    source.append(_uniqueID).append("()\n").append(_luaScript).append("\nend");
    // A failure shows at the call ("luaFunctionName not found").
    CGenLua::doLuaString(L, source, nullptr);
}

bool CGenGFModuleLua::setup(const CGenGFContext& context)
{
    return context.genContext() != nullptr;
}

void CGenGFModuleLua::writePortsToLuaInputs()
{
    lua_getglobal(L, "inputs");
    const size_t n = inputCount();
    for (size_t i = 1; i <= n; ++i) {
        CGenGFPort* port = inputPortAt(i);
        const ZKGFValue v = port ? port->rawValue() : ZKGFValue();
        if (auto* patterns = v.ObjectAs<CGenGFPatternAndProbsObject>()) {
            // A copy of its own: the holder is shared with other ports, which
            // the script's edits must not reach.
            mInputCopies.push_back(patterns->Holder() ? patterns->Holder()->copy() : std::make_shared<GenPatternModAndProbs>());
            CGenLua::LuaPatterns::push(L, &mInputCopies.back()->data(), CGenLua::CollectGarbage::No);
        }
        else if (v.IsString())
            lua_pushstring(L, v.StringValue()->c_str());
        else if (auto d = v.DoubleValue())
            lua_pushnumber(L, *d);
        else
            lua_pushnil(L);
        lua_rawseti(L, -2, static_cast<int>(i));
    }
    lua_pop(L, 1);
}

void CGenGFModuleLua::writeLuaOutputsToPorts()
{
    lua_getglobal(L, "outputs");
    const bool isTable = lua_istable(L, -1);
    const size_t n = outputCount();
    for (size_t i = 1; i <= n; ++i) {
        CGenGFPort* port = outputPortAt(i);
        if (!port)
            continue;
        ZKGFValue value;
        if (isTable) {
            lua_rawgeti(L, -1, static_cast<int>(i));
            switch (lua_type(L, -1)) {
            case LUA_TBOOLEAN: value = ZKGFValue::Double(lua_toboolean(L, -1) ? 1.0 : 0.0); break;
            case LUA_TNUMBER: value = ZKGFValue::Double(lua_tonumber(L, -1)); break;
            case LUA_TSTRING: {
                size_t len = 0;
                const char* s = lua_tolstring(L, -1, &len);
                value = ZKGFValue::String(std::string(s, len));
                break;
            }
            case LUA_TUSERDATA:
                if (zkgen::lua::TUserdata* u = zkgen::lua::TestUserdata(L, -1, CGenLua::LuaPatterns::metatableName))
                    if (u->mRef.Valid())
                        value = CGenGFPatternAndProbsObject::ValueWithList(
                            *static_cast<const CGenPatternModAndProbs*>(u->mRef.mObject));
                break;
            default: break;
            }
            lua_pop(L, 1);
        }
        port->setRawValue(value);
    }
    lua_pop(L, 1);
}

void CGenGFModuleLua::handleLuaScriptRuntimeFailureWithLuaErrorString(const std::string& error)
{
    std::string name = userInfo().StringForKey("name");
    if (name.empty())
        if (const CGenGFModule* parent = parentPatch())
            name = parent->keyForSubpatch(this);
    if (name.empty())
        name = "'No Name'";
    _luaScriptRuntimeErrorString = ZKLogFormat("Lua Script '%@' had this error:\n %@", {name, error});
    CGenLua::luaLog(ZKLogCategory_LuaRuntimeError, _luaScriptRuntimeErrorString);
}

bool CGenGFModuleLua::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    _luaScriptRuntimeErrorString.clear();
    CGenContext* genContext = context.genContext();
    L = genContext ? genContext->mLuaState : nullptr;
    if (!L)
        return false;
    checkGlobalLuaScriptChangeCount(genContext->mGlobalScriptChangeCount);
    compileLuaScript();
    lua_newtable(L);
    lua_setglobal(L, "inputs");
    lua_newtable(L);
    lua_setglobal(L, "outputs");
    if (_luaScriptIsValid) {
        // The views handed to the script live for this run only.
        zkgen::lua::TRunScope run(L);
        writePortsToLuaInputs();
        zkgen::lua::SetGlobalContext(L, genContext);
        std::string err;
        if (CGenLua::doLuaFunction(L, _uniqueID, false, &err))
            writeLuaOutputsToPorts();
        else
            handleLuaScriptRuntimeFailureWithLuaErrorString(err);
        zkgen::lua::SetGlobalContext(L, nullptr);
        mInputCopies.clear();
    } else if (inputCount() != 0 && outputCount() != 0) {
        if (CGenGFPort* in = inputPortAt(1))
            if (CGenGFPort* out = outputPortAt(1))
                out->takeValueFromPort(&context, *in);
    }
    return true;
}
