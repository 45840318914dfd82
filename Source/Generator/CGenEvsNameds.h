#pragma once

#include "Generator/CGenEvsNamed.h"

#include <vector>

// Order of elements: by start position, equal positions kept in arrival order.
inline bool Pred_GenEvsNameds_CmpBeatPosAbs_LessEqual(float pos, const CGenEvsNamed& el) { return pos < el.mBeatPosAbs; }

// A performance in flight: one element per rendered pattern, sorted by start.
class CGenEvsNameds : public std::vector<CGenEvsNamed>, public CGenTraceable<CGenEvsNameds> {
public:
    static constexpr const char* kTraceClassName = "CGenEvsNameds";
    using TVec = std::vector<CGenEvsNamed>;
    using TVec::TVec;

    // An event found across elements.
    struct TEvRef {
        const_iterator mEl;
        CGenEvs::const_iterator mEv;
        bool mFound = false;
        float BeatPosAbs() const { return mFound ? mEl->mBeatPosAbs + mEv->mBeatPos : TGenBeatPosAbs_Undef; }
    };

    // Search by element start (see GenFindElWithBeatPos for the modes).
    const_iterator FindElWithBeatPosAbs(float pos, TFindBeat mode, const_iterator start) const;
    const_iterator FindElWithBeatPosAbs(float pos, TFindBeat mode) const { return FindElWithBeatPosAbs(pos, mode, begin()); }
    // First element from `start` that contains `pos`.
    const_iterator FindElContainingBeatPosAbs(float pos, const_iterator start) const;
    const_iterator FindElContainingBeatPosAbs(float pos) const { return FindElContainingBeatPosAbs(pos, begin()); }
    // First element from `start` overlapping [rangeStart, rangeStart + length);
    // an inclusive border also counts an element that only touches it.
    const_iterator FindElOverlappingWithRange(float rangeStart, float length, const_iterator start,
        TInclusiveBorders borders) const;

    // Steps `ev` to the next event, crossing into later elements as needed.
    // False (iterators at the end) when there is none.
    bool IterateToNextEvInNextEl(const_iterator& el, CGenEvs::const_iterator& ev) const;
    // The same, staying in elements rendered by `type`.
    bool IterateToNextEvInNextElOfRenderingPatternGraphType(TPatternGraphType type, const_iterator& el,
        CGenEvs::const_iterator& ev) const;

    // Event by absolute position across elements from `elStart`, with the modes
    // of TFindBeat applied to absolute event positions.
    TEvRef FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(float pos, TFindBeat mode, const_iterator elStart) const;
    // Sounding notes (any uid for TInstTreeUid_Undef or -1, any channel for 255).
    TEvRef FindNoteInAnyEl(float pos, TFindBeat mode, TInstTreeUid uid, int channel) const;
    TEvRef FindPrevNoteInAnyEl(float pos, TInstTreeUid uid, int channel) const;
    TEvRef FindNextNoteInAnyEl(float pos, TInstTreeUid uid, int channel) const;

    // Inserts behind all elements at or before the element's start.
    iterator InsertAtCorrectBeatPos(const CGenEvsNamed& el);
    template <class It>
    void MergeAtCorrectBeatPos(It first, It last)
    {
        for (; first != last; ++first)
            InsertAtCorrectBeatPos(*first);
    }

    // Clears [start, start + length) from every overlapping element not
    // rendered by `type` (-1 touches all). In TShortenEvsLeftTouchingRange_Yes
    // mode events reaching into the range from the left are shortened.
    void EraseAndOptionallyShortenEvsAndShortenMembersInRange(float start, float length,
        TShortenEvsLeftTouchingRange mode, TPatternGraphType type);
    void EraseEvsAndShortenMembersInRange(float start, float length, TPatternGraphType type)
    {
        EraseAndOptionallyShortenEvsAndShortenMembersInRange(start, length, TShortenEvsLeftTouchingRange_No, type);
    }
    void EraseAndShortenEvsAndShortenMembersInRange(float start, float length, TPatternGraphType type)
    {
        EraseAndOptionallyShortenEvsAndShortenMembersInRange(start, length, TShortenEvsLeftTouchingRange_Yes, type);
    }

    // Clears the range and inserts a new element of the given name there with
    // copies of [firstEv, lastEv) (positions relative to `start`).
    iterator CreateOverlayEvs(float start, float length, CGenEvs::const_iterator firstEv, CGenEvs::const_iterator lastEv,
        const std::string& name, TPatternGraphType type = TPatternGraphType_Undef);
    iterator CreateOverlayEvsNamed(const CGenEvsNamed& el);
    void CreateOverlayEvsForAll(const CGenEvsNameds& els);

    // Clears the space of each given element from this list.
    void EraseEvsAndShortenMembersToLeaveSpaceForAll(const CGenEvsNameds& els, TPatternGraphType type);
    // As above, but events with one of `noteNrs` in the last beat of each range stay.
    void EraseEvsAndShortenMembersToLeaveSpaceForAllButExcludeNoteNrsAtEnd(const CGenEvsNameds& els,
        const std::vector<int>& noteNrs, TPatternGraphType type);
    void EraseEvsAndShortenMembersThatOverlay(const CGenEvsNamed& el);
    void EraseEvsAndShortenMembersThatOverlay(const CGenEvsNameds& els);

    // Diagnostic: true when every defined event length is above 0; with
    // `assertOnFailure` a failure stops the program.
    bool AssertEvBeatLengthLargerThanZero(bool assertOnFailure) const;

    bool IsSortedByBeatPosAbs() const;
    size_t EvCount() const;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { os << "CGenEvsNameds size " << size(); }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenEvsNameds", static_cast<TVec&>(*this));
    }
};

std::ostream& operator<<(std::ostream& os, const CGenEvsNameds& els);
