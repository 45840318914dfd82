#pragma once

#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <ostream>
#include <string>
#include <vector>

class CGenDrumMap;
class CGenEvs;

// Articulation patterns: cycles of hi-hat openings (hit) and hands (stroke)
// that a genre keeps, laid over the notes of a performance.
class CGenArticEl {
public:
    // 0 keep; 1 to 3 closed, pedal, open.
    int mHit = 0;
    // 0 keep; 1 to 3 one of the drum map's three channels.
    int mStroke = 0;

    bool operator==(const CGenArticEl&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mHit", mHit);
        ar& boost::serialization::make_nvp("mStroke", mStroke);
    }
};

class CGenArticPattern : public std::vector<CGenArticEl> {
public:
    using TBase = std::vector<CGenArticEl>;
    using TBase::TBase;

    // The internal intensities the pattern suits.
    CGenRange<float> mIntnIntRange {0.0f, 0.0f};

    // Cycles the elements over the sounding note-ons of `evs` (status 0x9n,
    // velocity -1 or at least 1) whose note number is in `noteNrs`. An element
    // acts only where it changes what the one before set (both start at 0): a
    // hit of 1 to 3 makes the note 42, 44 or 46, a stroke of 1 to 3 gives it
    // the channel of that stroke in `drumMap`.
    void ApplyTo(CGenEvs& evs, const std::vector<int>& noteNrs, const CGenDrumMap& drumMap) const;

    bool operator==(const CGenArticPattern& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o) && mIntnIntRange == o.mIntnIntRange;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenArticPattern", static_cast<TBase&>(*this));
        ar& boost::serialization::make_nvp("mIntnIntRange", mIntnIntRange);
    }
};

class CGenArticPatterns : public std::vector<CGenArticPattern>, public CGenTraceable<CGenArticPatterns> {
public:
    static constexpr const char* kTraceClassName = "CGenArticPatterns";
    using TBase = std::vector<CGenArticPattern>;
    using TBase::TBase;

    // One pattern of one element that keeps everything.
    void CreateDummy();
    // Appends a line per element with a hit or stroke outside 0..3; false when there is any.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    bool operator==(const CGenArticPatterns& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }
    void TraceStream(std::ostream& os) const { os << "CGenArticPatterns size " << size(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenArticPatterns", static_cast<TBase&>(*this));
    }
};
