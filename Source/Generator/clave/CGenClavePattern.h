#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenEvsClave.h"

#include <ostream>
#include <string>
#include <vector>

// A named clave pattern of a library, normally one bar of 4 beats.
class CGenClavePattern : public CGenTraceable<CGenClavePattern> {
public:
    static constexpr const char* kTraceClassName = "CGenClavePattern";

    std::string mName;
    CGenEvsClave mEvs;

    CGenClavePattern() = default;
    CGenClavePattern(std::string name, CGenEvsClave evs) : mName(std::move(name)), mEvs(std::move(evs)) {}

    float Length() const { return mEvs.mLength; }
    bool operator==(const CGenClavePattern& o) const { return mName == o.mName && mEvs == o.mEvs; }

    void TraceStream(std::ostream& os) const
    {
        os << "CGenClavePattern '" << mName << "': ";
        mEvs.TraceStreamBrief(os);
    }
    void TraceStreamBrief(std::ostream& os) const { os << "CGenClavePattern '" << mName << "'"; }

    // A clave is a figure of a few bars. Loading a library compares every
    // clave with 256 one-bar figures on a grid of sixteenths, so a damaged
    // length of millions of beats would stall the load.
    static constexpr float kLength_ArchiveMax = 256.0f;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mName", mName);
        ar& boost::serialization::make_nvp("mEvs", mEvs);
        if constexpr (Archive::is_loading::value)
            zkgen::CheckArchiveLength(mEvs.mLength, kLength_ArchiveMax, "a clave pattern's length");
    }
};

// A stretch of a song with a clave of its own: events relative to the
// region's start.
class CGenClaveRegion {
public:
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    float mLength = TGenBeatLength_Undef;
    CGenEvsClave mEvs;

    CGenClaveRegion() = default;
    CGenClaveRegion(float pos, float length, CGenEvsClave evs) : mBeatPosAbs(pos), mLength(length), mEvs(std::move(evs)) {}
    bool operator==(const CGenClaveRegion& o) const
    {
        return mBeatPosAbs == o.mBeatPosAbs && mLength == o.mLength && mEvs == o.mEvs;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mLength", mLength);
        ar& boost::serialization::make_nvp("mEvs", mEvs);
    }
};

using CGenClaveRegions = std::vector<CGenClaveRegion>;
