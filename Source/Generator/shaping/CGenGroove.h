#pragma once

#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// Grooves as stored data: recordings of timing and dynamics, per instrument
// track, that a genre keeps. Applying them to events comes with the shaping
// work; the library holds, archives and checks them.

// One played note against the straight grid: the source range it captures
// (mMin is the source position), where it was played, how hard (255 none).
class CGenGrooveEl {
public:
    CGenRange<float> mSourceBeatRange {0.0f, 0.0f};
    float mTargetBeatPos = 0.0f;
    uint8_t mVelocity = 255;

    CGenGrooveEl() = default;
    CGenGrooveEl(float min, float max, float target, uint8_t velocity)
        : mSourceBeatRange(min, max), mTargetBeatPos(target), mVelocity(velocity)
    {
    }
    float TimeShift() const { return mTargetBeatPos - mSourceBeatRange.mMin; }
    bool operator==(const CGenGrooveEl& o) const
    {
        return mSourceBeatRange == o.mSourceBeatRange && mTargetBeatPos == o.mTargetBeatPos && mVelocity == o.mVelocity;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mSourceBeatRange", mSourceBeatRange);
        ar& boost::serialization::make_nvp("mTargetBeatPos", mTargetBeatPos);
        if (version >= 1) {
            ar& boost::serialization::make_nvp("mVelocity", mVelocity);
        } else {
            uint8_t dummy = 255;
            ar& boost::serialization::make_nvp("dummy", dummy);
            mVelocity = 255;
        }
    }
};
BOOST_CLASS_VERSION(CGenGrooveEl, 1)
std::ostream& operator<<(std::ostream& os, const CGenGrooveEl& el);

// The elements of one instrument track, sorted by source position.
class CGenGrooveTrack : public std::vector<CGenGrooveEl> {
public:
    using TBase = std::vector<CGenGrooveEl>;
    using TBase::TBase;

    enum TType : int {
        TType_Undef = 0,
        TType_All = 1,
        TType_AccentAndFillFoot,
        TType_AccentAndFillHand,
        TType_SystemFoot,
        TType_SystemHand,
        TType_Kick,
        TType_Snare,
        TType_Toms,
        TType_SystemAll,
        TType_SystemCymbals,
        TType_SystemNonCymbals,
        TType_OtherEvents,
        TType_Bass,
        TType_Percussion,
        TType_Guitar,
        TType_KeyAll,
        TType_KeyLH,
        TType_KeyRH,
        TType_PercussionTrack1,
        TType_PercussionTrack2,
    };
    // The display text of a type; "" outside 1..20.
    static const char* TypeText(int type);

    int mType = TType_All;
    // The loop length; 0 or below: derived from the elements.
    float mBeatLength = 0.0f;

    bool operator==(const CGenGrooveTrack& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o) && mType == o.mType
            && mBeatLength == o.mBeatLength;
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenGrooveTrack", static_cast<TBase&>(*this));
        ar& boost::serialization::make_nvp("mType", mType);
        ar& boost::serialization::make_nvp("mBeatLength", mBeatLength);
    }
};

// A named groove: its tracks.
class CGenGroove : public std::vector<CGenGrooveTrack>, public CGenTraceable<CGenGroove> {
public:
    static constexpr const char* kTraceClassName = "CGenGroove";
    using TBase = std::vector<CGenGrooveTrack>;

    std::string mName;

    CGenGroove() = default;
    explicit CGenGroove(std::string name) : mName(std::move(name)) {}

    // The first track of the type, or end().
    const_iterator TrackForType(int type) const;
    iterator TrackForType(int type);
    // Equally many tracks with equal elements, in order.
    bool HasSameEvs(const CGenGroove& o) const;
    // Appends a line per fault (unsorted elements, a velocity above 127
    // other than 255, an unknown track type); false when there is any.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    bool operator==(const CGenGroove& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o) && mName == o.mName;
    }
    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { os << "CGenGroove '" << mName << "' tracks " << size(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenGroove", static_cast<TBase&>(*this));
        ar& boost::serialization::make_nvp("mName", mName);
    }
};

// The grooves of a genre.
class CGenGrooves : public std::vector<CGenGroove>, public CGenTraceable<CGenGrooves> {
public:
    static constexpr const char* kTraceClassName = "CGenGrooves";
    using TBase = std::vector<CGenGroove>;
    using TBase::TBase;

    void Add(const CGenGroove& groove) { push_back(groove); }
    // Adds unless a groove with the same elements exists; its index either way.
    size_t AddIfUniqueEvs(const CGenGroove& groove);
    // Whether no groove has the same elements as this one.
    bool HasUniqueEvs(const CGenGroove& groove) const { return FindGrooveThatMatchesEvsOf(groove) == end(); }
    const_iterator FindGrooveThatMatchesEvsOf(const CGenGroove& groove) const;
    // One straight groove of one "All" track, for a genre made from nothing.
    void CreateDummy();
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    bool operator==(const CGenGrooves& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }
    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenGrooves", static_cast<TBase&>(*this));
    }
};
