#pragma once

#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenInstTree.h"

#include <string>

// The texts content authors read about instrument paths: how an expression
// expands and resolves, the tree with its uids, and the output events of a
// uid. Each call answers true with the text, or false with the reason.
class CGenInstTreeReport {
public:
    // Over the version-1 drum tree and the General MIDI drum map.
    CGenInstTreeReport();
    CGenInstTreeReport(const CGenInstTree& tree, const CGenDrumMap& drumMap);

    // One line per expanded path with its uid, then the combined uid. False
    // when the expression is empty or malformed, or nothing resolves.
    bool Resolve(const std::string& expression, std::string& text) const;
    // The tree, or the branch at `path`, one entry a line, indented by depth,
    // with uid and kind. False for a path that doesn't resolve.
    bool Tree(const std::string& path, std::string& text) const;
    // The events the mapping of `mappingKey` makes of a note with this uid
    // (hexadecimal "0x...", decimal, or a path expression). False for a text
    // that is no uid or path, an unknown mapping, or a uid without entries.
    bool Convert(const std::string& uidOrPath, const std::string& mappingKey, std::string& text) const;

private:
    const CGenInstTree& mTree;
    const CGenDrumMap& mDrumMap;
};
