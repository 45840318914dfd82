#include "Generator/stylegraph/CGenStyleGraphUtilities.h"

#include "Generator/CGenGenerator.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenStyle.h"

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
