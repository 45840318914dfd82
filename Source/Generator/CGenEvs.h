#pragma once

#include "Generator/CGenEv.h"
#include "Generator/CGenEvs_Templ.h"
#include "Generator/harmony/CNoteGroupInfos.h"

#include <map>
#include <string>
#include <vector>

class CGenRandom;

// A position-sorted list of events (kept in CompareEv order) with a length and
// the note group infos of its melodic events.
class CGenEvs : public CGenEvs_Templ<CGenEv>, public CGenTraceable<CGenEvs> {
public:
    static constexpr const char* kTraceClassName = "CGenEvs";
    using TBase = CGenEvs_Templ<CGenEv>;
    using TBase::TBase;

    CNoteGroupInfos mNoteGroupInfos;

    CGenEvs() = default;

    // Binary search with CompareEv; inserts at the first place whose event does
    // not order before `ev`, so equal events end up in reversed arrival order.
    iterator InsertAtBeatPos(const CGenEv& ev);
    // As InsertAtBeatPos, then extends mLength to the event's end (its position
    // for an undefined length) when both are defined.
    iterator InsertAtBeatPosAndAdjustLength(const CGenEv& ev);
    // A note with status 0x90|channel, MB2 = velMin + one draw modulo
    // (velMax - velMin) when velMax > velMin, else velMin without a draw.
    iterator InsertNoteRandomVel(CGenRandom& random, float pos, int channel, int noteNr, int velMin, int velMax, float length);

    // Walks backward from `start` (inclusive) to the first match. Status 0x100
    // and channel 255 and MB1/MB2 -1 match anything; with a defined `pos` only
    // events exactly there count. Returns end() if nothing matches.
    const_iterator FindEvReverse(const_iterator start, float pos, int status, int channel, int mb1, int mb2) const;

    // Copies of the events from max(pos - distance, 0) to pos + distance inclusive.
    CGenEvs FindEvsNearPos(float pos, float distance) const;
    // Note numbers of sounding notes in that window, in list order, duplicates kept.
    std::vector<int> FindNoteNrsNearPos(float pos, float distance) const;

    bool HasAtLeastOneEvWithLayerBitmask() const;
    // Files a copy of each event under the index of its lowest set layer bit
    // (all ones for a mask of 0); each list gets this list's length.
    void SortIntoMapByLayerIx(std::map<unsigned long, CGenEvs>& map) const;

    // Erases events with position in [start, end).
    void EraseEvsInRange(float start, float end);
    // Stable merge sort in CompareEv order: an event moves ahead of an earlier
    // one only if that one sorts after it.
    void SortStable();
    bool IsSortedByCompareEv() const;

    bool SerializeToPath(const std::string& path) const;
    bool DeserializeFromPath(const std::string& path);

    bool operator==(const CGenEvs& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o) && mNoteGroupInfos == o.mNoteGroupInfos;
    }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("TGenEvs", boost::serialization::base_object<TBase>(*this));
        if (version == 0) {
            float length = mLength;
            ar& boost::serialization::make_nvp("length", length);
            mLength = length;
        }
        if (version >= 2)
            ar& boost::serialization::make_nvp("mNoteGroupInfos", mNoteGroupInfos);
        else
            mNoteGroupInfos.clear();
    }
};
BOOST_CLASS_VERSION(CGenEvs, 2)

std::ostream& operator<<(std::ostream& os, const CGenEvs& evs);

// Stable merge of event vectors in CompareEv order (the same rule as SortStable).
void GenStableSortEvs(std::vector<CGenEv>& evs);

// A compare rule for two event lists: mode 0 walks all events, mode 1 only
// sounding notes, mode 2 only controllers.
class CGenEvsCompare {
public:
    int mMode = 0;
    CGenEvCompare mEvCompare;

    CGenEvsCompare() = default;
    CGenEvsCompare(int mode, CGenEvCompare evCompare) : mMode(mode), mEvCompare(std::move(evCompare)) {}
    bool Equal(const CGenEvs& a, const CGenEvs& b) const;
};
