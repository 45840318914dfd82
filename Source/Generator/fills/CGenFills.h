#pragma once

#include "Generator/CGenArchivePointers.h"
#include "Generator/CGenEvs.h"
#include "Generator/CGenSerialization.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/clave/CGenClaveLinks.h"
#include "Generator/fills/CGenFillCoord.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/patterns/CGenPatternCoord.h"

#include <boost/serialization/base_object.hpp>
#include <boost/serialization/version.hpp>
#include <boost/serialization/vector.hpp>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// The older store of fills. The fill layer's pattern graph is what
// generation uses; this store stays for the library's archive, for
// authoring and for conversion into patterns. Its generation entry point
// (Generate_AddFills) does nothing.

// A fill's coordinate: the pattern coordinate and how spectacular it is.
class CGenFillCoordInt : public CGenPatternCoordInt {
public:
    CGenFillCoordInt() = default;
    CGenFillCoordInt(float complInt, float intnInt, float spectacularity)
        : CGenPatternCoordInt(complInt, intnInt), mSpectacularity(spectacularity)
    {
    }
    float mSpectacularity = TComplInt_Undef;

    bool operator==(const CGenFillCoordInt& o) const
    {
        return static_cast<const CGenPatternCoordInt&>(*this) == o && mSpectacularity == o.mSpectacularity;
    }
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("CGenPatternCoordInt", boost::serialization::base_object<CGenPatternCoordInt>(*this));
        ar& boost::serialization::make_nvp("mSpectacularity", mSpectacularity);
    }
};

class CGenFill {
public:
    std::string mName;
    CGenFillCoordInt mCoord;
    CGenEvs mEvs;
    CGenClaveLinks mClaveLinks;

    CGenFill() = default;
    CGenFill(std::string name, const CGenFillCoordInt& coord, const CGenEvs& evs)
        : mName(std::move(name)), mCoord(coord), mEvs(evs)
    {
    }
    float Length() const { return mEvs.mLength; }
    // The name, the coordinate, the events with their length and the clave links.
    void ConvertToPattern(CGenPattern& pattern) const;

    bool operator==(const CGenFill&) const = default;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mCoord", mCoord);
        ar& make_nvp("mEvs", mEvs);
        ar& make_nvp("mClaveLinks", mClaveLinks);
    }
};

// The fills of one length, sorted by coordinate.
class CGenFillsWithSameLength : public std::vector<CGenFill> {
public:
    float mLength = 0.0f;

    CGenFillsWithSameLength() = default;
    explicit CGenFillsWithSameLength(float length) : mLength(length) {}

    // Binary search: the probe is passed when the fill's complexity,
    // intensity and spectacularity are all at or above the probe's; the
    // fill goes in after its equals. The order is partial and taken as it
    // stands, so crossing coordinates leave the list partly unsorted.
    void AddFillSortedByCoord(const CGenFill& fill);
    // The first fill whose events equal these; size() when none does.
    size_t FindFillThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare = CGenEvsCompare()) const;
    void EraseAllClaveLinks();
    void EraseAllClaveLinksFor(int ixClavePattern);
    // Widens the running bounds by each fill's coordinate (undefined bounds
    // take the first value; undefined values are skipped).
    void FindPatternCoordIntMinAndMax(CGenPatternCoordConv& bounds) const;
    // Appends "length <n> " to the prefix and reports fills whose length
    // differs from the group's; false on a fault.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;

    bool operator==(const CGenFillsWithSameLength& o) const
    {
        return mLength == o.mLength && static_cast<const std::vector<CGenFill>&>(*this) == o;
    }
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenFillsWithSameLength", static_cast<std::vector<CGenFill>&>(*this));
        ar& boost::serialization::make_nvp("mLength", mLength);
    }
};

// The groups of fills by length, in the order they were made (not sorted
// by length), with the clave libraries their links refer to.
class CGenFills : public std::vector<CGenFillsWithSameLength> {
public:
    CGenFills() = default;
    CGenFills(const CGenFills& o);
    CGenFills& operator=(const CGenFills& o);

    CGenPatternCoordConv mPatternCoordConv;

    CGenClaveLibs* WeakClaveLibs() const { return mWeakClaveLibs; }
    void SetWeakClaveLibs(CGenClaveLibs* libs);

    // The fills numbered across the groups, in group order.
    size_t CalcTotalFillCount() const;
    // Null beyond the total count.
    const CGenFill* FillAtTotalIndex(size_t index) const;
    // Group and index in the group; (size(), 0) beyond the total count.
    std::pair<size_t, size_t> _FillsAtTotalIndex(size_t index) const;

    // Into the group of exactly the fill's length, or a new group at the end.
    void AddFill(const CGenFill& fill);
    bool HasUniqueEvsAndLength(const CGenFill& fill, const CGenEvsCompare& compare = CGenEvsCompare()) const;
    // Adds only a fill that no group of its length holds already; whether it did.
    bool AddIfUniqueEvsAndLength(const CGenFill& fill, const CGenEvsCompare& compare = CGenEvsCompare());
    // The clave pattern is looked up in the first clave library (and added
    // there when missing); the fill gets a link with the library index, the
    // offset and the match (truncated). The clave index, -1 without libraries
    // or for a fill that is not there.
    int LinkToClave(size_t group, size_t index, const CGenClavePattern& clavePattern, float matchPercent,
        signed char offset);
    // Adds when unique, then links the added fill; whether it was added.
    bool AddIfUniqueEvsAndLengthAndLinkToClave(const CGenFill& fill, const CGenClavePattern& clavePattern,
        float matchPercent, signed char offset);
    // A group left empty goes too; false when there is no such fill.
    bool EraseFill(size_t group, size_t index);
    bool EraseFillAtTotalIndex(size_t index);
    void EraseAllClaveLinks();
    void EraseAllClaveLinksFor(int ixClavePattern);
    CGenPatternCoordConv FindPatternCoordIntMinAndMax() const;
    void UpdatePatternCoordConvToMinAndMax() { mPatternCoordConv = FindPatternCoordIntMinAndMax(); }
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;
    // The fills were placed by an older selection; generation has no use
    // for the store, so this does nothing.
    void Generate_AddFills() const {}

    // Groups and the coordinate conversion; the clave libraries don't count.
    bool operator==(const CGenFills& o) const
    {
        return static_cast<const std::vector<CGenFillsWithSameLength>&>(*this) == o && mPatternCoordConv == o.mPatternCoordConv;
    }

    // Version 1 added "mPatternCoordConv", version 2 the clave libraries'
    // pointer in place of "dummyWeakClaveLib".
    static constexpr unsigned int kClassVersion = 2;
    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("TCGenFills", static_cast<const std::vector<CGenFillsWithSameLength>&>(*this));
        CGenClaveLibs* libs = mWeakClaveLibs;
        ar& make_nvp("mWeakClaveLibs", libs);
        ar& make_nvp("mPatternCoordConv", mPatternCoordConv);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("TCGenFills", static_cast<std::vector<CGenFillsWithSameLength>&>(*this));
        SetWeakClaveLibs(nullptr);
        if (version >= 2) {
            bool created = false;
            CGenClaveLibs* libs =
                zkgen::LoadArchivePointer<CGenClaveLibs>(ar, "mWeakClaveLibs", zkgen::TArchivePointer::MayBorrow, created);
            if (libs && created)
                mOwnedClaveLibs.reset(libs);
            mWeakClaveLibs = libs;
        } else {
            CGenClaveLib dummyWeakClaveLib;
            ar& make_nvp("dummyWeakClaveLib", dummyWeakClaveLib);
        }
        mPatternCoordConv.SetToUndef();
        if (version >= 1)
            ar& make_nvp("mPatternCoordConv", mPatternCoordConv);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    CGenClaveLibs* mWeakClaveLibs = nullptr;
    // Libraries that an archive read alone had to make.
    std::shared_ptr<CGenClaveLibs> mOwnedClaveLibs;
};

BOOST_CLASS_VERSION(CGenFills, CGenFills::kClassVersion)

// One rule for placing a fill, of the older selection; kept in the library.
class CGenFillCreateRule {
public:
    bool mActive = false;
    int32_t mPriority = 0;
    int32_t mBarInterval = 4;
    float mProbability = 100.0f;
    float mLengthMin = 0.0f;
    float mLengthMax = 4.0f;
    float mFillsDistHasToMatchLowerThanPercentPatternCoord = 100.0f;
    float mSpectacularityMin = 0.0f;
    float mSpectacularityMax = 100.0f;
    bool mAddCrash1After = false;
    bool mAddCrash2After = false;
    float mAddCrash2Probability = 0.0f;

    bool operator==(const CGenFillCreateRule&) const = default;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mActive", mActive);
        ar& make_nvp("mPriority", mPriority);
        ar& make_nvp("mBarInterval", mBarInterval);
        ar& make_nvp("mProbability", mProbability);
        ar& make_nvp("mLengthMin", mLengthMin);
        ar& make_nvp("mLengthMax", mLengthMax);
        ar& make_nvp("mFillsDistHasToMatchLowerThanPercentPatternCoord", mFillsDistHasToMatchLowerThanPercentPatternCoord);
        ar& make_nvp("mSpectacularityMin", mSpectacularityMin);
        ar& make_nvp("mSpectacularityMax", mSpectacularityMax);
        ar& make_nvp("mAddCrash1After", mAddCrash1After);
        ar& make_nvp("mAddCrash2After", mAddCrash2After);
        ar& make_nvp("mAddCrash2Probability", mAddCrash2Probability);
    }
};

class CGenFillCreateRules : public std::vector<CGenFillCreateRule> {
public:
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenFillCreateRules", static_cast<std::vector<CGenFillCreateRule>&>(*this));
    }
};
