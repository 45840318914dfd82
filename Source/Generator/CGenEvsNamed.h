#pragma once

#include "Generator/CGenEvs.h"

#include <string>

// An event list with a name and a place in the song: one rendered pattern.
// Event positions are relative to mBeatPosAbs; the events' mLength is the
// length of the element.
class CGenEvsNamed : public CGenTraceable<CGenEvsNamed> {
public:
    static constexpr const char* kTraceClassName = "CGenEvsNamed";

    std::string mName;
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    CGenEvs mEvs;
    TPatternGraphType mRenderingPatternGraphType = TPatternGraphType_Undef;
    int mPatternIx = -1;

    CGenEvsNamed() = default;
    CGenEvsNamed(std::string name, float beatPosAbs, CGenEvs evs = CGenEvs(),
        TPatternGraphType type = TPatternGraphType_Undef, int patternIx = -1)
        : mName(std::move(name)), mBeatPosAbs(beatPosAbs), mEvs(std::move(evs)), mRenderingPatternGraphType(type),
          mPatternIx(patternIx)
    {
    }

    const std::string& Name() const { return mName; }
    float BeatPosAbs() const { return mBeatPosAbs; }
    float Length() const { return mEvs.mLength; }
    void SetLength(float l) { mEvs.mLength = l; }
    TPatternGraphType RenderingPatternGraphType() const { return mRenderingPatternGraphType; }
    int PatternIx() const { return mPatternIx; }

    // Undefined if start or length is undefined.
    float EndBeatPosAbs() const { return GenAddRegardingUndef(mBeatPosAbs, mEvs.mLength); }
    // Does nothing when the start is undefined.
    void SetEndBeatPosAbs(float end);
    // Moves the start and keeps every event at its place in the song.
    void MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(float newPos);
    // start <= pos < end; false if start, length or end is undefined.
    bool ContainsBeatPosAbs(float pos) const;

    bool operator==(const CGenEvsNamed& o) const = default;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mName", mName);
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("mEvs", mEvs);
        ar& boost::serialization::make_nvp("mRenderingPatternGraphType", mRenderingPatternGraphType);
        ar& boost::serialization::make_nvp("mPatternIx", mPatternIx);
    }
};

std::ostream& operator<<(std::ostream& os, const CGenEvsNamed& el);
