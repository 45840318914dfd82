// The generator's script stage: a Lua state per style, kept across
// generations, with the global scripts the style includes and its hooks.
#include "Generator/CGenContext.h"
#include "Generator/CGenGenerator.h"
#include "Generator/scripting/CGenLua.h"

namespace {

constexpr const char* kRunOnCharacterLoad = "runOnCharacterLoad";
constexpr const char* kRunOnGenerateBegin = "runOnGenerateBegin";

void LogSetup(const std::string& text)
{
    CGenLua::luaLog(ZKLogCategory_LuaGeneratorSetup, text);
}

// The identifiers of the scripts a style includes, one on a line; an empty
// line gives an empty identifier, which no pool holds.
std::vector<std::string> IncludedScripts(const CGenStyle& style)
{
    std::vector<std::string> ids;
    const std::optional<TGenDictValue> v = style.StyleGraphs().PropertyForKey(kCGenStyleGraphsProperty_IncludeScript);
    if (!v || !v->IsString())
        return ids;
    const std::string text = v->AsString(std::string());
    size_t start = 0;
    while (true) {
        const size_t nl = text.find('\n', start);
        ids.push_back(text.substr(start, nl == std::string::npos ? std::string::npos : nl - start));
        if (nl == std::string::npos)
            break;
        start = nl + 1;
    }
    return ids;
}

} // namespace

bool CGenGenerator::_Generate_LuaScript_Setup()
{
    GenerateRuntimeData& rt = *mRuntimeData;
    CGenStyle* style = _CurrentStyle();
    if (!style || !rt.mContext || !rt.mInstLib)
        return false;
    rt.mInstLib->mStyles.LoadStyleGraphsIfNotCachedAlready(*style);
    CGenContext& context = *rt.mContext;
    context.mStyle = style;

    std::unique_ptr<CGenLuaCacheEntry>& slot = mLuaStateCache[style->Identifier()];
    const bool wasCached = slot != nullptr;
    if (!wasCached) {
        slot = std::make_unique<CGenLuaCacheEntry>();
        slot->ReplaceState(mScriptSandbox);
    }
    CGenLuaCacheEntry& entry = *slot;

    std::vector<std::pair<std::string, std::shared_ptr<CGenGlobalLuaScript>>> scripts;
    if (mGlobalLuaScriptsPool.hasObjectForIdentifier(CGenGlobalLuaScriptsPool::kLegacyGlobalLuaScriptIdentifier))
        if (auto s = mGlobalLuaScriptsPool.objectForIdentifier(CGenGlobalLuaScriptsPool::kLegacyGlobalLuaScriptIdentifier))
            scripts.emplace_back(CGenGlobalLuaScriptsPool::kLegacyGlobalLuaScriptIdentifier, s);
    for (const std::string& id : IncludedScripts(*style))
        if (auto s = mGlobalLuaScriptsPool.objectForIdentifier(id))
            scripts.emplace_back(id, s);

    bool reload = false;
    for (const auto& [id, script] : scripts) {
        int64_t& loaded = entry.mLoadedChangeCounts[id];
        if (loaded < script->changeCount()) {
            reload = true;
            loaded = script->changeCount();
            ++entry.mChangeCounter;
        }
    }
    if (reload)
        entry.ReplaceState(mScriptSandbox);
    lua_State* L = entry.mState;
    context.mLuaCacheEntry = &entry;
    context.mLuaState = L;
    context.mGlobalScriptChangeCount = static_cast<int>(entry.mChangeCounter);
    if (!L) {
        LogSetup("no script state could be made (out of memory)");
        return false;
    }

    // Views handed to the hooks live as long as the hooks run.
    zkgen::lua::TRunScope run(L);
    zkgen::lua::SetGlobalContext(L, &context);
    std::string err;
    if (reload)
        for (const auto& [id, script] : scripts)
            if (!CGenLua::doLuaString(L, script->luaScript(), &err))
                LogSetup(ZKLogFormat("global script '%@' failed: %@", {id, err}));

    if (!wasCached || reload) {
        if (!CGenLua::doLuaFunction(L, kRunOnCharacterLoad, true, &err)) {
            LogSetup(ZKLogFormat("%@ failed: %@", {kRunOnCharacterLoad, err}));
            rt.mScriptSetupStopped = true;
            return false;
        }
    }
    context.mStyleGraphKey = kStyleGraphKey_GlobalToMerged;
    const bool ok = CGenLua::doLuaFunction(L, kRunOnGenerateBegin, true, &err);
    if (!ok)
        LogSetup(ZKLogFormat("%@ failed: %@", {kRunOnGenerateBegin, err}));
    context.mStyleGraphKey.clear();
    return ok;
}

void CGenGenerator::ClearLuaStateCache()
{
    mLuaStateCache.clear();
}

void CGenGenerator::SetScriptSandbox(const zkgen::lua::TScriptSandbox& sandbox)
{
    if (sandbox == mScriptSandbox)
        return;
    mScriptSandbox = sandbox;
    ClearLuaStateCache();
}

const CGenLuaCacheEntry* CGenGenerator::LuaCacheEntryForStyle(const CGenStyle& style) const
{
    const auto it = mLuaStateCache.find(style.Identifier());
    return it == mLuaStateCache.end() ? nullptr : it->second.get();
}
