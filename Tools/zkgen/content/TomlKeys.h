#pragma once

#include <toml++/toml.h>

#include <set>
#include <string>

namespace zkgen::cli {

// The first key of `t` in the order of the file that `known` lacks, with its
// value; null when every key is known. A TOML table iterates by key, so that
// without this a file with two mistakes would be told of the later one.
inline const toml::node* FirstUnknownKey(const toml::table& t, const std::set<std::string>& known, std::string& key)
{
    const toml::node* first = nullptr;
    for (const auto& [k, v] : t) {
        if (known.count(std::string(k.str())))
            continue;
        const auto& at = v.source().begin;
        if (first == nullptr || at.line < first->source().begin.line
            || (at.line == first->source().begin.line && at.column < first->source().begin.column)) {
            first = &v;
            key = std::string(k.str());
        }
    }
    return first;
}

} // namespace zkgen::cli
