#pragma once

#include "Generator/CGenEvs.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/instruments/CGenInstTreeEntryCollection.h"

#include <ostream>
#include <string>
#include <vector>

// Intensity variations: rules that swap kit pieces and change velocities of
// uid events so that one pattern can be played harder or softer. A pattern
// graph keeps its own list and archives it.

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

    // Rewrites every event that passes the velocity, position and instrument
    // filters: first its uid, then, for a note-on with a velocity of at
    // least 1, its velocity (clamped to 1 to 127).
    void ApplyToUidEvs(CGenEvs& evs) const;
    // Writes the non-zero nibbles of each trafo entry's uid over the same
    // nibbles of the event's uid; the other nibbles stay.
    void _ApplyTrafoTreeEntryCollection(CGenEv& ev) const;
    // With V the velocity, a and b the operands and [lo, hi] = `range`: type 1
    // V + a, 2 V * a, 3 a + (b - a) * (V - lo) / (hi - lo) (a when hi equals
    // lo), else V; truncated and clamped to 1 to 127.
    void _ApplyTrafoVel(CGenEv& ev, const CGenRange<unsigned char>& range) const;
    // mSourceVelRange with an open end read as 0 or 127.
    CGenRange<unsigned char> _WildcardedSourceVelRange() const;
    // mSourceBeatPosRanges is kept and archived but filters nothing yet.
    bool _IsInSourceBeatPosRanges(CGenEvs::const_iterator ev, const CGenEvs& evs) const;

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

    // Runs each rule over the events, in order.
    void ApplyToUidEvs(CGenEvs& evs) const;

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

    // Appends a line per fault (a velocity type outside 0 to 3, a source
    // velocity bound above 127 or a minimum above the maximum, a missing tree
    // entry); false when there is any.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

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
