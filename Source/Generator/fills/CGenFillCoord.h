#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"

// How spectacular a fill should be; arrangement markers carry it beside the
// pattern coordinates.
class CGenFillCoord {
public:
    float mSpectacularity = -FLT_MAX;

    CGenFillCoord() = default;
    explicit CGenFillCoord(float spectacularity) : mSpectacularity(spectacularity) {}
    bool operator==(const CGenFillCoord&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mSpectacularity", mSpectacularity);
    }
};
