#pragma once

#include "Generator/CGenBitmask.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/patterns/CGenPattern.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <ostream>

class CGenPatternGraphBoost;

namespace zkgen {

// A value on the heap that is copied with its owner and is absent until the
// first write, so that owners holding nothing copy at the price of a pointer.
template <class T>
class TDeepCopyPtr {
public:
    TDeepCopyPtr() = default;
    explicit TDeepCopyPtr(const T& v) : mPtr(std::make_unique<T>(v)) {}
    TDeepCopyPtr(const TDeepCopyPtr& o) : mPtr(o.mPtr ? std::make_unique<T>(*o.mPtr) : nullptr) {}
    TDeepCopyPtr(TDeepCopyPtr&&) noexcept = default;
    TDeepCopyPtr& operator=(const TDeepCopyPtr& o)
    {
        if (this != &o)
            mPtr = o.mPtr ? std::make_unique<T>(*o.mPtr) : nullptr;
        return *this;
    }
    TDeepCopyPtr& operator=(TDeepCopyPtr&&) noexcept = default;

    // The value, made empty on first use.
    T& Mutable()
    {
        if (!mPtr)
            mPtr = std::make_unique<T>();
        return *mPtr;
    }
    // The value, or a shared empty one while absent.
    const T& Read() const
    {
        static const T kEmpty;
        return mPtr ? *mPtr : kEmpty;
    }
    bool operator==(const TDeepCopyPtr& o) const { return Read() == o.Read(); }

private:
    std::unique_ptr<T> mPtr;
};

} // namespace zkgen

// One candidate or one chosen pattern: a pattern at a position with a
// weight. It refers to its original (a graph vertex or a pool pattern) until
// the first write, then owns a private, modified copy and never goes back.
// Readers go through PatternToBeRead(), writers through PatternToBeModified().
class CGenPatternModAndProb : public CGenTraceable<CGenPatternModAndProb> {
public:
    static constexpr const char* kTraceClassName = "CGenPatternModAndProb";
    // The index of an element that refers to no vertex and has no graph.
    static constexpr uint64_t kItPattern_None = std::numeric_limits<uint64_t>::max();

    float mProb = TGenBeatPos_Undef;
    float mConsecProb = TGenBeatPos_Undef;
    bool mMatchedLastFilter = false;
    float mBeatPosAbs = TGenBeatPos_Undef;
    float mBeatPosAbsSTTarget = TGenBeatPos_Undef;
    CGenRange<float> mOverlayRangeAc {TGenBeatPos_Undef, TGenBeatPos_Undef};
    CGenRange<float> mOverlayRangeSy {TGenBeatPos_Undef, TGenBeatPos_Undef};
    CGenRange<float> mOverlayRangePerc {TGenBeatPos_Undef, TGenBeatPos_Undef};
    CGenLayerBitmaskAndBPRanges mOverlayLayerBitmaskAndBPRanges;
    uint64_t mItPattern = kItPattern_None;
    CGenPatternGraphBoost* mPatternGraph = nullptr;
    // The private copy; candidates that were never written carry none.
    zkgen::TDeepCopyPtr<CGenPattern> mModifiedPattern;
    bool mModified = false;
    TPatternGraphType mPatternGraphType = TPatternGraphType_Undef;
    bool mIsPatternPoolPattern = false;
    std::shared_ptr<CGenPatterns> mPoolPatterns;
    uint64_t mPoolPatternIx = 0;

    CGenPatternModAndProb() = default;
    // A reference to a vertex of a graph; the layer comes from the graph.
    CGenPatternModAndProb(CGenPatternGraphBoost* graph, uint64_t itPattern, float prob, float beatPosAbs);
    // A new pattern of the given events (and their length), modified from
    // the start; the graph is kept for the layer and transformations, and the
    // index is the graph's end position.
    CGenPatternModAndProb(CGenPatternGraphBoost* graph, float beatPosAbs, const CGenEvs& evs);
    // A reference to a pattern of a pool group.
    CGenPatternModAndProb(std::shared_ptr<CGenPatterns> pool, uint64_t poolIx, float beatPosAbs,
        TPatternGraphType type);
    // Copies of a pattern, modified from the start; their overlay ranges are zero.
    CGenPatternModAndProb(float beatPosAbs, const CGenPattern& pattern);
    CGenPatternModAndProb(float beatPosAbs, float beatPosAbsSTTarget, const CGenPattern& pattern);
    explicit CGenPatternModAndProb(const CGenPattern& pattern);
    CGenPatternModAndProb(const CGenPattern& pattern, float prob);

    // The referenced pattern; a shared empty pattern for an index out of
    // range or a missing owner.
    const CGenPattern& OriginalPattern() const;
    const CGenPattern& PatternToBeRead() const { return mModified ? mModifiedPattern.Read() : OriginalPattern(); }
    // Copies the original on first use.
    CGenPattern& PatternToBeModified();
    // Takes over the private copy without copying: the caller writes a new pattern.
    CGenPattern& NewPatternToBeModified()
    {
        mModified = true;
        return mModifiedPattern.Mutable();
    }

    const CGenPattern& ModifiedPattern() const { return mModifiedPattern.Read(); }
    bool PatternIsModified() const { return mModified; }
    uint64_t ItPattern() const { return mItPattern; }
    TPatternGraphType PatternGraphType() const { return mPatternGraphType; }
    bool IsPatternPoolPattern() const { return mIsPatternPoolPattern; }
    uint64_t PoolPatternIx() const { return mPoolPatternIx; }
    float BeatPos() const { return mBeatPosAbs; }
    float Length() const { return PatternToBeRead().mEvs.mLength; }

    // Modified, a pool pattern, or an index below the vertex count of a graph.
    bool HasValidPattern() const;
    // Undefined when the length is.
    float EndBeatPosAbs() const { return GenAddRegardingUndef(mBeatPosAbs, Length()); }
    // start <= pos < end; false when any of them is undefined.
    bool ContainsBeatPosAbs(float pos) const;
    // Moves the start and keeps every event where it sounds in the song: the
    // length and each event position decrease by the shift.
    void MoveBeatPosAbsAndShiftBeatPosOfAllEventsAccordingly(float newPos);

    // Graph, index, probability, private copy and its flag, pool flag and index.
    bool operator==(const CGenPatternModAndProb& o) const;

    // "DePattern (It 3)\"name\"Prob 0.50, ConsecProb ..., BeatPosAbs ...".
    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }
};

// Orders by the running sum, for the binary search of the choosers.
inline bool operator<(const CGenPatternModAndProb& el, float consecProb) { return el.mConsecProb < consecProb; }
inline bool operator<(float consecProb, const CGenPatternModAndProb& el) { return consecProb < el.mConsecProb; }

std::ostream& operator<<(std::ostream& os, const CGenPatternModAndProb& el);
