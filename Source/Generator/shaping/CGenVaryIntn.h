#pragma once

#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/instruments/CGenInstTreeEntryCollection.h"

#include <ostream>
#include <string>
#include <vector>

// The stored form of intensity variations: rules that swap kit pieces and
// change velocities so that one pattern can be played harder or softer. A
// pattern graph keeps its own list and archives it.

// One rule: which events it applies to, and what it writes onto them.
class CGenVaryIntnEl {
public:
    // Instruments the rule applies to; a single root entry means all.
    CGenInstTreeEntryCollection mSourceTreeEntryCollection;
    CGenRanges<float> mSourceBeatPosRanges;
    // Velocities the rule applies to; a disabled bound leaves that end open.
    CGenRange<unsigned char> mSourceVelRange {0, 127};
    // Instrument elements written onto matching events; a single root entry means no change.
    CGenInstTreeEntryCollection mTrafoTreeEntryCollection;
    // 0 leave the velocity, 1 add, 2 multiply, 3 map.
    int mTrafoVelType = 0;
    // The operands of mTrafoVelType.
    CGenRange<double> mTrafoVelRange {0.0, 0.0};

    bool operator==(const CGenVaryIntnEl& o) const
    {
        using TRanges = CGenRanges<float>::TCGenRangesType;
        return mSourceTreeEntryCollection == o.mSourceTreeEntryCollection
            && static_cast<const TRanges&>(mSourceBeatPosRanges) == static_cast<const TRanges&>(o.mSourceBeatPosRanges)
            && mSourceVelRange == o.mSourceVelRange && mTrafoTreeEntryCollection == o.mTrafoTreeEntryCollection
            && mTrafoVelType == o.mTrafoVelType && mTrafoVelRange == o.mTrafoVelRange;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mSourceTreeEntryCollection", mSourceTreeEntryCollection);
        ar& make_nvp("mSourceBeatPosRanges", mSourceBeatPosRanges);
        ar& make_nvp("mSourceVelRange", mSourceVelRange);
        ar& make_nvp("mTrafoTreeEntryCollection", mTrafoTreeEntryCollection);
        ar& make_nvp("mTrafoVelType", mTrafoVelType);
        ar& make_nvp("velValue", mTrafoVelRange);
    }
};

// A named list of rules, applied in order.
class CGenVaryIntn : public std::vector<CGenVaryIntnEl> {
public:
    using TBase = std::vector<CGenVaryIntnEl>;
    using TBase::TBase;

    std::string mName;

    bool operator==(const CGenVaryIntn& o) const
    {
        return mName == o.mName && static_cast<const TBase&>(*this) == static_cast<const TBase&>(o);
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenVaryIntn", static_cast<TBase&>(*this));
        ar& boost::serialization::make_nvp("mName", mName);
    }
};

// The intensity variations of one pattern graph.
class CGenVaryIntns : public std::vector<CGenVaryIntn>, public CGenTraceable<CGenVaryIntns> {
public:
    static constexpr const char* kTraceClassName = "CGenVaryIntns";
    using TBase = std::vector<CGenVaryIntn>;
    using TBase::TBase;

    bool operator==(const CGenVaryIntns& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }

    // One empty variation named "Dummy": a library made from nothing.
    void CreateDummy()
    {
        clear();
        emplace_back();
        back().mName = "Dummy";
    }

    void TraceStream(std::ostream& os) const
    {
        os << "CGenVaryIntns size " << size();
        for (const CGenVaryIntn& v : *this)
            os << " '" << v.mName << "' (" << v.size() << ")";
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenVaryIntns", static_cast<TBase&>(*this));
    }
};
