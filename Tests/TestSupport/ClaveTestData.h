#pragma once

// Clave material shared by the clave tests.

#include "Generator/CGenEvs.h"
#include "Generator/clave/CGenEvsClave.h"

#include <initializer_list>

namespace zkgtest {

// Clave events of weight 100 at the positions, in a list of the length.
inline CGenEvsClave Clave(std::initializer_list<float> positions, float length = 4.0f)
{
    CGenEvsClave c(length);
    for (float p : positions)
        c.push_back(CGenEvClave(p, 100));
    return c;
}

// Interesting positions every `step` from `first`, each with the given
// tolerance; loop length 4.
inline CGenEvs Grid(float first, float step, float tolerance)
{
    CGenEvs g(4.0f);
    for (float p = first; p < 4.0f; p += step)
        g.push_back(CGenEv(p, tolerance, st_NoteOn, -1, -1));
    return g;
}

} // namespace zkgtest
