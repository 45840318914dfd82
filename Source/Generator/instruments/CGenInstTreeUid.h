#pragma once

#include "Generator/CGenTypes.h"

#include <cstdint>
#include <string>
#include <vector>

// Instrument uids: a uid is the bitwise OR of the elements along a tree path,
// each element occupying its own nibbles (family, kit piece, technique, ...).

// One element's contribution to a uid; same width as a uid.
using TInstTreeUidEl = int64_t;
// Its low bit keeps it apart from every nibble code; it is no combination of elements.
inline constexpr TInstTreeUidEl TInstTreeUidEl_Undef = static_cast<TInstTreeUidEl>(0x8000000000000001ull);

// Uids in insertion order.
using TInstTreeUids = std::vector<TInstTreeUid>;

// Whether `lhs` (the candidate) carries every non-zero nibble group of `rhs`
// (the pattern), groups of `compareNibbleCount` nibbles compared as one unit.
// A zero pattern matches everything; callers treat TInstTreeUid_Undef before
// they ask, since as a pattern it matches nothing real.
bool GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(TInstTreeUid lhs, TInstTreeUid rhs, unsigned long compareNibbleCount = 1);

// The low 32 bits of a uid as events carry them in MB1.
inline int GenInstTreeUidToMB1(TInstTreeUid uid)
{
    return static_cast<int>(static_cast<uint32_t>(static_cast<uint64_t>(uid)));
}

// "0x14101400"; uids beyond 32 bits print all 16 digits, the undefined uid prints "undefined".
std::string GenInstTreeUidHexString(TInstTreeUid uid);

// Reads hex with prefix ("0x14101400") or a decimal number; false (uid
// untouched) when the text is no number.
bool GenInstTreeUidFromString(const std::string& text, TInstTreeUid& uid);
