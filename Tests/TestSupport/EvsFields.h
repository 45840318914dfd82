#pragma once

// One field of every event of a list, in list order, for exact comparisons.

#include "Generator/CGenEvs.h"

#include <vector>

namespace zkgtest {

inline std::vector<float> EvPositions(const CGenEvs& evs)
{
    std::vector<float> r;
    for (const auto& ev : evs)
        r.push_back(ev.mBeatPos);
    return r;
}

inline std::vector<float> EvLengths(const CGenEvs& evs)
{
    std::vector<float> r;
    for (const auto& ev : evs)
        r.push_back(ev.mBeatLength);
    return r;
}

inline std::vector<int> EvVelocities(const CGenEvs& evs)
{
    std::vector<int> r;
    for (const auto& ev : evs)
        r.push_back(ev.mMB2);
    return r;
}

} // namespace zkgtest
