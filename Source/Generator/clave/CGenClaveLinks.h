#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"

#include <cstdint>
#include <ostream>
#include <vector>

// A link from a pattern or fill to a clave pattern of a library: how well
// the pattern fits the clave, at an offset between the two starts.
class CGenClaveLink {
public:
    static constexpr int8_t kOffset_Undef = -128;

    int32_t mIxClavePattern = -1;
    int8_t mMatchToClavePercentInt8 = 0;
    int8_t mOffsetToClaveStartBeats = kOffset_Undef;

    CGenClaveLink() = default;
    CGenClaveLink(int32_t ix, int8_t offset, int8_t percent)
        : mIxClavePattern(ix), mMatchToClavePercentInt8(percent), mOffsetToClaveStartBeats(offset)
    {
    }
    bool operator==(const CGenClaveLink&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mIxClavePattern", mIxClavePattern);
        ar& boost::serialization::make_nvp("mMatchToClavePercentInt8", mMatchToClavePercentInt8);
        if (version >= 1)
            ar& boost::serialization::make_nvp("mOffsetToClaveStartBeats", mOffsetToClaveStartBeats);
    }
};
BOOST_CLASS_VERSION(CGenClaveLink, 1)

// The clave links of one pattern; a (pattern index, offset) pair has at most
// one link.
class CGenClaveLinks : public std::vector<CGenClaveLink>, public CGenTraceable<CGenClaveLinks> {
public:
    static constexpr const char* kTraceClassName = "CGenClaveLinks";
    using TBase = std::vector<CGenClaveLink>;
    using TBase::TBase;

    const_iterator FindLinkFor(int ix, int offset) const;
    iterator FindLinkFor(int ix, int offset);
    // The link of the pair, added with 0 percent when missing.
    CGenClaveLink& FindOrAddLinkFor(int ix, int offset);
    // Adds a link; a link with the same pair keeps its value. True when added.
    bool AddLinkIfNew(int ix, int offset, int percent);
    // Sets the percentage of the pair's link, adding it when missing. With
    // onlyIfHigher an existing link changes only to a higher percentage.
    void ChangeLinkOrAddIfNew(int ix, int offset, int percent, bool onlyIfHigher);
    // The percentage of the pair's link; 0 without a link.
    int MatchToIxClavePatternPercent(int ix, int offset) const;
    // Whether the pair has a link.
    bool MatchToIxClavePatternAllowed(int ix, int offset) const { return FindLinkFor(ix, offset) != end(); }
    // Removes every link to the clave pattern ix.
    void EraseAllClaveLinksFor(int ix);
    // For the removal of clave pattern ix from its library: its links go,
    // links to later patterns move down by one.
    void RemoveClavePattern(int ix);

    bool operator==(const CGenClaveLinks& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }

    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenClaveLinks", static_cast<TBase&>(*this));
    }
};
