#pragma once

#include "Generator/CGenBitmask.h"
#include "Generator/CGenEvs.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/CGenVariantMap.h"
#include "Generator/clave/CGenClaveLinks.h"
#include "Generator/patterns/CGenPatternCoord.h"
#include "Generator/timesig/CGenSignTime.h"
#include "Platform/TGenDict.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

// Keys of the fill properties in CGenPattern::mProperties.
extern const char* const kGenPatternProp_Fill_TargetEndBeatPos;       // "FlTarget"
extern const char* const kGenPatternProp_Fill_OverlayRangeAcStart;    // "FlOvAcSt"
extern const char* const kGenPatternProp_Fill_OverlayRangeAcLength;   // "FlOvAcLn"
extern const char* const kGenPatternProp_Fill_OverlayRangeSyStart;    // "FlOvSySt"
extern const char* const kGenPatternProp_Fill_OverlayRangeSyLength;   // "FlOvSyLn"
extern const char* const kGenPatternProp_Fill_OverlayRangePercStart;  // "FlOvPeSt"
extern const char* const kGenPatternProp_Fill_OverlayRangePercLength; // "FlOvPeLn"

namespace zkgen {
// The pattern dictionary as the keyed archive stores it (binary property
// list); empty bytes for no dictionary. A dictionary that cannot be encoded
// or bytes that cannot be decoded are logged and count as none.
std::vector<uint8_t> EncodePatternDictionary(const TGenDict* dict, const std::string& patternName);
std::unique_ptr<TGenDict> DecodePatternDictionary(const std::vector<uint8_t>& bytes, const std::string& patternName);
} // namespace zkgen

// A vertex of a pattern graph: a short piece of music (usually one or a few
// bars) with its coordinate, clave links and free properties. Event
// positions are relative to the pattern's start; mEvs.mLength is the
// pattern's length in beats.
class CGenPattern : public CGenTraceable<CGenPattern> {
public:
    static constexpr const char* kTraceClassName = "CGenPattern";

    std::string mName;
    CGenPatternCoordInt mCoord;
    float mMainPatternRating = 0.0f;
    CGenEvs mEvs;
    float mStartPos = TGenBeatPos_Undef;
    float mStartPosRepeatIntvl = TGenBeatPos_Undef;
    CGenSignTime mSignTime = CGenSignTime_Default44;
    CGenClaveLinks mClaveLinks;
    // Both bounds -1: valid at any tempo.
    CGenRange<float> mTempoBPMRange {-1.0f, -1.0f};
    CGenVariantMap mProperties;
    CGenLayerBitmaskAndBPRanges mOverlayLayerBitmaskAndBPRanges;
    std::string mInfo;

    CGenPattern() = default;
    explicit CGenPattern(std::string name, CGenEvs evs = CGenEvs(), CGenPatternCoordInt coord = CGenPatternCoordInt())
        : mName(std::move(name)), mCoord(coord), mEvs(std::move(evs))
    {
    }
    CGenPattern(const CGenPattern& o);
    CGenPattern(CGenPattern&& o) noexcept = default;
    CGenPattern& operator=(const CGenPattern& o);
    CGenPattern& operator=(CGenPattern&& o) noexcept = default;
    ~CGenPattern() = default;

    float Length() const { return mEvs.mLength; }

    // Free properties of scripts: null while there is none.
    const TGenDict* Dictionary() const { return mpDictionary.get(); }
    // Creates an empty dictionary on first use.
    TGenDict& Dictionary();

    // Merges overlay records with an equal range (both bounds and both
    // enable flags): later ones OR their mask into the first and go.
    void OverlayLayerBitmaskAndBPRanges_Consolidate();
    // The fill's target end in its bar: "FlTarget" as a float (0 when
    // missing); a target beyond the bar length counts as 0, deliberately a
    // reset and not a clamp. The bar length falls back to 4 for a metre
    // without a positive bar length.
    float Properties_Fill_TargetBeatPos_ReadAndCorrect() const;
    // A number property (float or integer) narrowed to a float; undefined
    // when the key is missing.
    float PropertyFloatOrUndef(const std::string& key) const;
    // Where in its bar the fill's events start so that it ends on its
    // target: target + bar length - pattern length.
    float Properties_Fill_CalcEvsStartAtBeatPosInBarInSourceSignTime() const;
    // mSignTime's bar length, or 4 when that is undefined or not above 0.
    float BarLengthOrDefault() const;

    // All stored fields, the dictionary by content.
    bool operator==(const CGenPattern& o) const;

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mCoord", mCoord);
        ar& make_nvp("mMainPatternRating", mMainPatternRating);
        ar& make_nvp("mEvs", mEvs);
        ar& make_nvp("mStartPos", mStartPos);
        ar& make_nvp("mStartPosRepeatIntvl", mStartPosRepeatIntvl);
        ar& make_nvp("mSignTime", mSignTime);
        ar& make_nvp("mClaveLinks", mClaveLinks);
        ar& make_nvp("mTempoBPMRange", mTempoBPMRange);
        ar& make_nvp("mProperties", mProperties);
        const std::vector<uint8_t> dictSerializer = zkgen::EncodePatternDictionary(mpDictionary.get(), mName);
        ar& make_nvp("dictSerializer", dictSerializer);
        ar& make_nvp("mOverlayLayerBitmaskAndBPRanges", mOverlayLayerBitmaskAndBPRanges);
        ar& make_nvp("mInfo", mInfo);
    }

    // Fields an older version lacks keep their defaults.
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        *this = CGenPattern();
        ar& make_nvp("mName", mName);
        ar& make_nvp("mCoord", mCoord);
        if (version >= 3)
            ar& make_nvp("mMainPatternRating", mMainPatternRating);
        ar& make_nvp("mEvs", mEvs);
        if (version >= 5) {
            ar& make_nvp("mStartPos", mStartPos);
            ar& make_nvp("mStartPosRepeatIntvl", mStartPosRepeatIntvl);
        }
        ar& make_nvp("mSignTime", mSignTime);
        if (version >= 1)
            ar& make_nvp("mClaveLinks", mClaveLinks);
        if (version >= 2)
            ar& make_nvp("mTempoBPMRange", mTempoBPMRange);
        if (version >= 4)
            ar& make_nvp("mProperties", mProperties);
        if (version >= 6) {
            std::vector<uint8_t> dictSerializer;
            ar& make_nvp("dictSerializer", dictSerializer);
            mpDictionary = zkgen::DecodePatternDictionary(dictSerializer, mName);
        }
        if (version >= 7)
            ar& make_nvp("mOverlayLayerBitmaskAndBPRanges", mOverlayLayerBitmaskAndBPRanges);
        if (version >= 2)
            ar& make_nvp("mInfo", mInfo);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    std::unique_ptr<TGenDict> mpDictionary;
};
BOOST_CLASS_VERSION(CGenPattern, 7)

std::ostream& operator<<(std::ostream& os, const CGenPattern& p);

// A list of patterns: what a shared pattern pool holds.
class CGenPatterns : public std::vector<CGenPattern>, public CGenTraceable<CGenPatterns> {
public:
    static constexpr const char* kTraceClassName = "CGenPatterns";
    using TBase = std::vector<CGenPattern>;
    using TBase::TBase;

    // Index of the first pattern whose events compare equal; size() when none.
    size_t FindPatternThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare) const;

    void TraceStream(std::ostream& os) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenPatterns", static_cast<TBase&>(*this));
    }
};
