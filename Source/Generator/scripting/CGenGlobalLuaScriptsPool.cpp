#include "Generator/scripting/CGenGlobalLuaScriptsPool.h"

void CGenGlobalLuaScript::setLuaScript(std::string script)
{
    if (script == mLuaScript)
        return;
    mLuaScript = std::move(script);
    ++mChangeCount;
}

void CGenGlobalLuaScript::EncodeWithCoder(TGenDict& coder) const
{
    coder.SetValueForKey(mLuaScript, kKey_LuaScript);
}

std::unique_ptr<CGenGlobalLuaScript> CGenGlobalLuaScript::DecodeWithCoder(const TGenDict& coder, std::string* /*outError*/)
{
    auto script = std::make_unique<CGenGlobalLuaScript>();
    // A missing text is the empty text, as a null script is.
    script->mLuaScript.clear();
    script->setLuaScript(coder.StringForKey(kKey_LuaScript));
    if (script->mChangeCount == 1)
        ++script->mChangeCount;
    return script;
}

namespace zkgen {

TGenData TGlobalLuaScriptsPoolCodec::Encode(const CGenGlobalLuaScript& script)
{
    return ZKKeyedArchiveEncodeObject(script, ZKKeyedArchiveFormat_Binary).value_or(TGenData());
}

bool TGlobalLuaScriptsPoolCodec::Decode(const TGenData& data, CGenGlobalLuaScript& script)
{
    static const ZKCodingClassRegistry registry = [] {
        ZKCodingClassRegistry r;
        r.RegisterClass(CGenGlobalLuaScript::kCodingClassName,
            [](const TGenDict& coder, const ZKCodingClassRegistry&, std::string* error) -> std::unique_ptr<ZKCoding> {
                return CGenGlobalLuaScript::DecodeWithCoder(coder, error);
            });
        return r;
    }();
    std::string error;
    if (auto object = ZKKeyedArchiveDecodeObject(data, registry, &error)) {
        if (auto* read = dynamic_cast<CGenGlobalLuaScript*>(object.get())) {
            script = *read;
            return true;
        }
        return false;
    }
    // Plain text: no archive, no binary zero.
    for (uint8_t b : data)
        if (b == 0)
            return false;
    script = CGenGlobalLuaScript(std::string(data.begin(), data.end()));
    return true;
}

} // namespace zkgen

bool CGenGlobalLuaScriptsPool::setLuaScriptForIdentifier(const std::string& script, const std::string& identifier)
{
    if (std::shared_ptr<CGenGlobalLuaScript> existing = objectForIdentifier(identifier)) {
        existing->setLuaScript(script);
        return true;
    }
    return setObjectForIdentifier(std::make_shared<CGenGlobalLuaScript>(script), identifier);
}
