#pragma once

#include "Generator/CGenEvs.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenBeatedPatternIxs.h"
#include "Generator/clave/CGenClavePattern.h"
#include "Generator/clave/CGenEvsClave.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

// A library of one-bar clave patterns with the grid positions it looks at.
// "Family" matches the main accents on the eighth-note grid on the beat,
// "AddOn" the additions off the beat.
//
// After a load (and after any change of patterns or interesting positions)
// SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable
// derives the grid type and the table that maps the 8 bits of a bar to the
// best matching pattern, so that a generation matches a bar by one look-up.
class CGenClaveLib : public std::vector<CGenClavePattern>, public CGenTraceable<CGenClaveLib> {
public:
    static constexpr const char* kTraceClassName = "CGenClaveLib";
    using TBase = std::vector<CGenClavePattern>;

    // Which grid the interesting positions lie on.
    enum TGridType : int {
        TGridType_None = 0,
        TGridType_8thOnBeat = 1,
        TGridType_8thOffBeat = 2,
    };
    static constexpr int kTableSize = 256;
    // The comparison the table is built with.
    static constexpr float kTableGridStep = 0.25f;
    static constexpr float kTableTolerance = 0.125f;
    static constexpr float kTableAbortFactor = 0.6f;

    std::string mName;
    // Positions the library looks at, each with its tolerance in the length
    // field; the list's length is the loop length.
    CGenEvs mInterestingPos;
    int32_t mDefaultPatternIxForEmptyBar = -1;

    CGenClaveLib() = default;
    explicit CGenClaveLib(std::string name) : mName(std::move(name)) {}

    TGridType GridType() const { return mGridType; }
    const std::vector<int>& EvsAsBitsInBarToBestMatchingClaveIxTable() const { return mTable; }

    // Grid type from the interesting positions, then the table (none for grid type 0).
    void SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    // Grid type only: 1 when every position is a multiple of 0.5, 2 when every
    // one is a multiple of 0.25 and none of 0.5, else 0 (within 1e-5).
    void _SetInterestingPos8thOnOrOffBeat();

    // The best pattern for evs from pos, each pattern compared from its start
    // through its length; the first of equals. (-1, undefined) without one.
    std::pair<int, float> FindBestMatchingClaveIxPattern(const CGenEvsClave& evs, float pos, float gridStep,
        float tolerance) const;
    const_iterator FindBestMatchingClavePattern(const CGenEvsClave& evs, float pos, float gridStep, float tolerance) const;
    // The best pattern over a set of regions: the highest mean match of the
    // regions' clave (relative to their start) from pos.
    std::pair<int, float> FindBestMatchingClaveIxPattern(const CGenClaveRegions& regions, float pos, float gridStep,
        float tolerance) const;
    const_iterator FindBestMatchingClavePattern(const CGenClaveRegions& regions, float pos, float gridStep,
        float tolerance) const;

    // Table look-up; bits beyond the table or an entry of -1 give -1 / end().
    int LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(uint64_t bits) const;
    const_iterator LookupBestMatchingClavePatternFromEvsAsBitsInBar(uint64_t bits) const;

    // The pattern index of each bar in [start, end) by the table, then the
    // default pattern up to end.
    void CreateClosestIxPatternHistFromEvsAsBitsInBars(const TEvsAsBitsInBars& bits, float start, float end,
        CGenBeatedPatternIxs& out) const;
    // Appends the default pattern for empty bars from the end of out (or
    // start) until end. An index beyond the library is content at fault: it
    // is logged and nothing is appended.
    void _AppendDefaultClavePatternUntilEndBeatPos(float start, float end, CGenBeatedPatternIxs& out) const;
    // mDefaultPatternIxForEmptyBar, or the default of the name when unset.
    int DefaultPatternIxForEmptyBar() const;
    // "AddOn" 0, "Family" 24, any other name -1.
    static int DefaultDefaultPatternIxForName(const std::string& name);

    // The interesting position that counts for pos: of the entries around
    // pos modulo the loop length, the nearer (the earlier when equal), if pos
    // itself lies within that entry's tolerance of it; end() otherwise.
    CGenEvs::const_iterator FindInterestingPosForBeatPos(float pos) const;
    bool IsInRangeAroundInterestingPos(float pos) const
    {
        return FindInterestingPosForBeatPos(pos) != mInterestingPos.end();
    }
    // Keeps only events near an interesting position / moves events onto it / both.
    void FilterEvsOnInterestingPos(CGenEvs& evs) const;
    void QuantizeEvsOnInterestingPos(CGenEvs& evs) const;
    void FilterAndQuantizeEvsOnInterestingPos(CGenEvs& evs) const;

    // Adds the pattern unless one with equal events exists; the index of the
    // pattern with those events.
    int AddIfUniqueEvs(const CGenClavePattern& pattern);
    const_iterator FindWithEvsEqual(const CGenClavePattern& pattern) const;

    // Appends a line per fault to report, each starting with prefix; false
    // when there is any.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    // Stored content only; the derived grid type and table are not compared.
    bool operator==(const CGenClaveLib& o) const
    {
        return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o) && mName == o.mName
            && mInterestingPos == o.mInterestingPos && mDefaultPatternIxForEmptyBar == o.mDefaultPatternIxForEmptyBar;
    }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("TCGenClaveLib", static_cast<const TBase&>(*this));
        ar& boost::serialization::make_nvp("mName", mName);
        ar& boost::serialization::make_nvp("mInterestingPos", mInterestingPos);
        ar& boost::serialization::make_nvp("mDefaultPatternIxForEmptyBar", mDefaultPatternIxForEmptyBar);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("TCGenClaveLib", static_cast<TBase&>(*this));
        mName.clear();
        if (version >= 1)
            ar& boost::serialization::make_nvp("mName", mName);
        ar& boost::serialization::make_nvp("mInterestingPos", mInterestingPos);
        mDefaultPatternIxForEmptyBar = -1;
        if (version >= 2)
            ar& boost::serialization::make_nvp("mDefaultPatternIxForEmptyBar", mDefaultPatternIxForEmptyBar);
        SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    TGridType mGridType = TGridType_None;
    std::vector<int> mTable;
};
BOOST_CLASS_VERSION(CGenClaveLib, 2)

std::ostream& operator<<(std::ostream& os, const CGenClaveLib& lib);

// The clave libraries of a genre library.
class CGenClaveLibs : public std::vector<CGenClaveLib>, public CGenTraceable<CGenClaveLibs> {
public:
    static constexpr const char* kTraceClassName = "CGenClaveLibs";
    using TBase = std::vector<CGenClaveLib>;

    CGenClaveLibs() = default;
    // A set of one library.
    explicit CGenClaveLibs(const CGenClaveLib& lib) : TBase {lib} {}

    // The first library of that name; null for an unknown name.
    const CGenClaveLib* FindClaveLibForName(const std::string& name) const;
    CGenClaveLib* FindClaveLibForName(const std::string& name);

    bool operator==(const CGenClaveLibs& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }

    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenClaveLibs", static_cast<TBase&>(*this));
    }
};
