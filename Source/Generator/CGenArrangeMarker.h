#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/fills/CGenFillCoord.h"
#include "Generator/patterns/CGenPatternCoord.h"

#include <string>

// An arrangement marker: where a song part (verse, chorus...) begins, with the
// coordinate and fill spectacularity the user set for it. The external form is
// what the host gives, the internal one is on a graph's scale.
template <class TCoord>
class CGenArrangeMarker_Templ {
public:
    float mBeatPos = TGenBeatPos_Undef;
    TGenArrangeMarkerType mType = TGenArrangeMarkerType_Undef;
    TCoord mCoord;
    CGenFillCoord mFillCoord;
    std::string mName;

    CGenArrangeMarker_Templ() = default;
    CGenArrangeMarker_Templ(float pos, TGenArrangeMarkerType type, TCoord coord, CGenFillCoord fill = CGenFillCoord(),
        std::string name = {})
        : mBeatPos(pos), mType(type), mCoord(coord), mFillCoord(fill), mName(std::move(name))
    {
    }
    bool operator==(const CGenArrangeMarker_Templ&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPos", mBeatPos);
        ar& boost::serialization::make_nvp("mType", mType);
        ar& boost::serialization::make_nvp("mCoord", mCoord);
        ar& boost::serialization::make_nvp("mFillCoord", mFillCoord);
        ar& boost::serialization::make_nvp("mName", mName);
    }
};

using CGenArrangeMarkerExt = CGenArrangeMarker_Templ<CGenPatternCoordExt>;
using CGenArrangeMarkerInt = CGenArrangeMarker_Templ<CGenPatternCoordInt>;

template <class TMarker>
class CGenArrangeMarkers_Templ : public CGenEvs_Templ<TMarker> {
public:
    using TBase = CGenEvs_Templ<TMarker>;
    using typename TBase::const_iterator;

    // Whether a marker stands exactly at `beatPos`.
    bool AtArrangePartBegin(float beatPos) const { return this->FindElWithBeatPos(beatPos, 0) != this->end(); }
    // Distance to the next marker; to the list's end (mLength) for the last
    // one; undefined when that is unknown.
    float LengthOfMarker(const_iterator it) const
    {
        if (it == this->end())
            return TGenBeatLength_Undef;
        auto next = std::next(it);
        if (next != this->end())
            return GenSubRegardingUndef(next->mBeatPos, it->mBeatPos);
        return GenSubRegardingUndef(this->mLength, it->mBeatPos);
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenArrangeMarkers", boost::serialization::base_object<TBase>(*this));
    }
};

using CGenArrangeMarkersExt = CGenArrangeMarkers_Templ<CGenArrangeMarkerExt>;
using CGenArrangeMarkersInt = CGenArrangeMarkers_Templ<CGenArrangeMarkerInt>;
