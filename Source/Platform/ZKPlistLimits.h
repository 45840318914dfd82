#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Checks that keep hostile property-list bytes away from the parts of the
// property-list reader that recurse without a limit. Used by the keyed archive.

namespace zkgen {

// Validates the trailer, offset table and reachable objects of a binary
// property list: every reference in range, no reference cycle, containers
// nested at most `maxDepth` deep (the root counts as 1), no uid, set or null
// objects, no NUL inside strings, and a tree size after expanding shared
// objects that stays proportional to the input.
bool CheckBinaryPlistLimits(const uint8_t* bytes, size_t length, int maxDepth, std::string* outError);

// Scans XML property-list text for NUL characters and for <dict> and <array>
// nesting deeper than `maxDepth`, skipping comments, CDATA sections and
// declarations.
bool CheckXmlPlistDepth(const uint8_t* bytes, size_t length, int maxDepth, std::string* outError);

// Whether a parsed property-list tree (a plist_t) nests containers at most
// `maxDepth` deep; walks without recursion.
bool CheckPlistTreeDepth(void* root, int maxDepth);

// Frees a parsed tree of any depth without recursion.
void FreePlistTreeIteratively(void* root);

} // namespace zkgen
