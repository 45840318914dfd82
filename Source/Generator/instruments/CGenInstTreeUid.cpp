#include "Generator/instruments/CGenInstTreeUid.h"

#include <bit>
#include <cctype>
#include <cstdio>
#include <limits>

bool GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(TInstTreeUid lhs, TInstTreeUid rhs, unsigned long compareNibbleCount)
{
    uint64_t mask = 0;
    if (compareNibbleCount > 0) {
        if (compareNibbleCount % 8 == 0 || compareNibbleCount >= 16)
            mask = ~uint64_t(0);
        else
            mask = (uint64_t(1) << (4 * compareNibbleCount)) - 1;
    }
    const uint64_t magnitude = rhs < 0 ? uint64_t(0) - static_cast<uint64_t>(rhs) : static_cast<uint64_t>(rhs);
    const int groups = (std::bit_width(magnitude) + 3) / 4;
    const unsigned long shift = 4 * compareNibbleCount;
    for (int g = 0; g < groups; ++g) {
        const uint64_t r = static_cast<uint64_t>(rhs) & mask;
        if (r != 0 && (static_cast<uint64_t>(lhs) & mask) != r)
            return false;
        // Arithmetic shifts: the sign spreads into the upper nibbles as it would
        // for the signed 64-bit values themselves.
        if (shift >= 64) {
            lhs = lhs < 0 ? -1 : 0;
            rhs = rhs < 0 ? -1 : 0;
        } else {
            lhs >>= shift;
            rhs >>= shift;
        }
    }
    return true;
}

std::string GenInstTreeUidHexString(TInstTreeUid uid)
{
    if (uid == TInstTreeUid_Undef)
        return "undefined";
    char buf[32];
    const auto u = static_cast<unsigned long long>(uid);
    if (u <= 0xFFFFFFFFull)
        std::snprintf(buf, sizeof buf, "0x%08llX", u);
    else
        std::snprintf(buf, sizeof buf, "0x%016llX", u);
    return buf;
}

bool GenInstTreeUidFromString(const std::string& text, TInstTreeUid& uid)
{
    if (text.empty())
        return false;
    int base = 10;
    size_t start = 0;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        start = 2;
    }
    unsigned long long value = 0;
    for (size_t i = start; i < text.size(); ++i) {
        const int c = std::tolower(static_cast<unsigned char>(text[i]));
        int digit = -1;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (base == 16 && c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        if (digit < 0)
            return false;
        if (value > (std::numeric_limits<unsigned long long>::max() - digit) / base)
            return false;
        value = value * base + digit;
    }
    uid = static_cast<TInstTreeUid>(value);
    return true;
}
