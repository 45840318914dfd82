#pragma once

#include "Generator/CGenSerialization.h"

// How a groove is applied to a region: the grid it was measured on, and the
// strategies and strengths for timing and velocity.
class CGenGrooveApply {
public:
    float mSourceBeatGridLength = 0.25f;
    int mBeatStrategy = 1;
    float mApplyBeatPos = 1.0f;
    int mVelocityStrategy = 4;
    float mApplyVelocity = 1.0f;

    bool operator==(const CGenGrooveApply&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mSourceBeatGridLength", mSourceBeatGridLength);
        ar& boost::serialization::make_nvp("mBeatStrategy", mBeatStrategy);
        ar& boost::serialization::make_nvp("mApplyBeatPos", mApplyBeatPos);
        ar& boost::serialization::make_nvp("mVelocityStrategy", mVelocityStrategy);
        ar& boost::serialization::make_nvp("mApplyVelocity", mApplyVelocity);
    }
};
