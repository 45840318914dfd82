#include "Generator/stylegraph/CGenStyleGraphUtilities.h"

#include "Generator/CGenGenerator.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFModuleLua.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Platform/ZKFileOps.h"

#include <vector>

namespace {

bool WalkModule(CGenStyle& style, const std::string& key, CGenGFModule& module,
    const CGenStyleGraphUtilities::TBlock& block)
{
    bool stop = false;
    block(style, key, module, stop);
    if (stop)
        return false;
    for (CGenGFModule* sub : module.subpatches())
        if (!WalkModule(style, key, *sub, block))
            return false;
    return true;
}

} // namespace

void CGenStyleGraphUtilities::iterateAllModulesInAllStylesWithBlock(const TBlock& block) const
{
    if (!mGenerator)
        return;
    for (CGenGenreLib& genre : mGenerator->GenreLibs())
        for (CGenInstLib& lib : genre.mInstLibs)
            for (size_t i = 0; i < lib.mStyles.size(); ++i)
                if (!iterateModulesInStylesWithIndexWithBlock(lib.mStyles, i, block))
                    return;
}

bool CGenStyleGraphUtilities::iterateModulesInStylesWithIndexWithBlock(CGenStyles& styles, size_t index,
    const TBlock& block) const
{
    if (index >= styles.size())
        return true;
    CGenStyle& style = styles[index];
    styles.LoadStyleGraphsIfNotCachedAlready(style);
    const CGenStyleGraphs::TEntries* entries = style.StyleGraphs().Entries();
    if (!entries)
        return true;
    for (const auto& [key, graph] : *entries)
        if (!WalkModule(style, key, *graph, block))
            return false;
    return true;
}

std::string CGenStyleGraphUtilities::pathStringForModule(const CGenGFModule& module)
{
    std::vector<std::string> names;
    for (const CGenGFModule* m = &module; m; m = m->parentPatch()) {
        std::string name = m->userInfo().StringForKey("name");
        if (name.empty())
            name = m->parentPatch() ? m->parentPatch()->keyForSubpatch(m) : m->ClassName();
        names.push_back(std::move(name));
    }
    std::string path;
    for (auto it = names.rbegin(); it != names.rend(); ++it)
        path.append(path.empty() ? "" : " > ").append(*it);
    return path;
}

namespace {

// A name that any file system takes.
std::string FileNameFor(const std::string& text)
{
    std::string name;
    for (char c : text)
        name.push_back((c == '/' || c == '\\' || c == ':' || c == '\0') ? '_' : c);
    return name.empty() ? std::string("_") : name;
}

bool WriteText(const TGenUrl& url, const std::string& text, std::string* error)
{
    return ZKFileWriteAtomically(url, TGenData(text.begin(), text.end()), error);
}

} // namespace

bool CGenStyleGraphUtilities::writeLuaScriptsToURL(const std::string& folder, std::string* error) const
{
    if (!mGenerator || !ZKFileCreateDirectory(folder, error))
        return false;
    bool ok = true;
    iterateAllModulesInAllStylesWithBlock([&](CGenStyle& style, const std::string& key, CGenGFModule& module, bool& stop) {
        const auto* lua = dynamic_cast<const CGenGFModuleLua*>(&module);
        if (!lua)
            return;
        std::string name = style.Identifier();
        name.append(" - ").append(key).append(" - ").append(pathStringForModule(module)).append(".txt");
        if (!WriteText(ZKUrlByAppendingPathComponent(folder, FileNameFor(name)), lua->luaScript(), error)) {
            ok = false;
            stop = true;
        }
    });
    if (!ok)
        return false;
    CGenGlobalLuaScriptsPool& pool = mGenerator->GlobalLuaScriptsPool();
    const TGenUrl globals = ZKUrlByAppendingPathComponent(folder, "_GlobalLuaScripts");
    if (pool.count() != 0 && !ZKFileCreateDirectory(globals, error))
        return false;
    for (const std::string& id : pool.identifiers())
        if (auto script = pool.objectForIdentifier(id))
            if (!WriteText(ZKUrlByAppendingPathComponent(globals, FileNameFor(id + ".txt")), script->luaScript(), error))
                return false;
    return true;
}

void CGenStyleGraphUtilities::resetLuaSripts() const
{
    iterateAllModulesInAllStylesWithBlock([](CGenStyle&, const std::string&, CGenGFModule& module, bool&) {
        if (auto* lua = dynamic_cast<CGenGFModuleLua*>(&module))
            lua->resetLuaScript();
    });
}

CGenGFModule* CGenStyleGraphUtilities::findModule(
    const std::function<bool(const CGenStyle&, const std::string&, const CGenGFModule&)>& accept) const
{
    CGenGFModule* found = nullptr;
    iterateAllModulesInAllStylesWithBlock([&](CGenStyle& style, const std::string& key, CGenGFModule& module, bool& stop) {
        if (accept(style, key, module)) {
            found = &module;
            stop = true;
        }
    });
    return found;
}
