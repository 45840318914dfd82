#include "Generator/clave/CGenClaveUniAlphabet.h"

uint64_t ClaveUniAlphabetFamilyBits(const CGenEvsClave& clave, float barStartPos, float tolerance)
{
    return clave.EvsAsBitsInBar8thOnBeat(barStartPos, 8, tolerance);
}

std::string ClaveUniAlphabetFamilyName(uint64_t bits)
{
    std::string name;
    name += char('0' + (bits & 7));
    name += char('0' + ((bits >> 3) & 7));
    name += char('0' + ((bits >> 6) & 3));
    return name;
}

uint64_t ClaveUniAlphabetAddOnBits(const CGenEvsClave& clave, float barStartPos, float tolerance)
{
    return clave.EvsAsBitsInBar8thOffBeat(barStartPos, 8, tolerance);
}

std::string ClaveUniAlphabetAddOnName(uint64_t bits)
{
    static const char kLetters[] = {'x', 'a', 'b', 'c'};
    std::string name;
    for (int pair = 0; pair < 4; ++pair)
        name += kLetters[(bits >> (2 * pair)) & 3];
    return name;
}
