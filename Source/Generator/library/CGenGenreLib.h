#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/shaping/CGenArticPattern.h"
#include "Generator/shaping/CGenGroove.h"

#include <memory>
#include <string>
#include <vector>

// One genre of the content: its clave libraries, instrument libraries,
// grooves, articulation patterns and drum map.
//
// The graphs of the instrument libraries point weakly at mClaveLibs; every
// copy, move and load points them at this genre's libraries again, so that a
// copy never reads (or outlives) the source's claves.
class CGenGenreLib {
public:
    explicit CGenGenreLib(std::string genre = "DefaultGenre");
    CGenGenreLib(const CGenGenreLib& o);
    CGenGenreLib(CGenGenreLib&& o) noexcept;
    CGenGenreLib& operator=(const CGenGenreLib& o);
    CGenGenreLib& operator=(CGenGenreLib&& o) noexcept;
    ~CGenGenreLib();

    std::string mGenre;
    // One library named "DefaultClaveLib from ctor" at first.
    CGenClaveLibs mClaveLibs;
    CGenInstLibs mInstLibs;
    CGenGrooves mGrooves;
    CGenArticPatterns mArticPatterns;

    // The genre's drum map: General MIDI unless the content brings its own.
    const CGenDrumMap* DrumMap() const;
    void SetDrumMap(const CGenDrumMap& drumMap);

    // Points every graph at mClaveLibs; due after each copy, move and load.
    void _SetWeakPointersToClaveLibs();
    // Whether every graph points at mClaveLibs.
    bool AssertWeakClaveLibs() const;

    CGenInstLib* FindInstLib(_TGenInstType type) { return mInstLibs.FindInstLib(type); }
    const CGenInstLib* FindInstLib(_TGenInstType type) const { return mInstLibs.FindInstLib(type); }
    std::vector<std::string> InstNames() const;

    void RandomSeed(uint32_t seed);
    // One coordinate conversion for every graph of every instrument library.
    void SetAllPatternCoordConv(const CGenPatternCoordConv& conv);
    void FindPatternCoordIntMinAndMax(float& minCompl, float& maxCompl, float& minIntn, float& maxIntn) const;
    CGenPatternCoordConv CalcPatternCoordConv() const;
    void UpdatePatternCoordConvToMinAndMax() { SetAllPatternCoordConv(CalcPatternCoordConv()); }
    void InitSignTimeTrafosForThisInstType();

    // Dummy instrument libraries, grooves and articulation patterns.
    void CreateDummy();
    void EraseContent();
    // Empties every clave library and drops every link to them.
    void EraseAllClavePatternsAndAllClaveLinks();
    void EraseAllClaveLinks();
    // Removes pattern ix of the "Family" clave library; links to it go, links
    // to later patterns move down by one, so that every index stays right.
    void RemoveClavePattern(int ix);

    // Prefix plus the name and a blank; then the claves, the instrument
    // libraries, each groove ("CGenGroove " added) and the articulation patterns.
    bool CheckContentSanity(const std::string& prefix, std::string& text) const;

    // Version 1 added "mGrooves", 2 "mArticPatterns", 3 dropped
    // "patternCoordConv", 4 added "pimpl", 5 stores all clave libraries
    // ("mClaveLibs") instead of one ("claveLib").
    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mGenre", mGenre);
        ar& make_nvp("pimpl", *mPimpl);
        ar& make_nvp("mClaveLibs", mClaveLibs);
        ar& make_nvp("mInstLibs", mInstLibs);
        ar& make_nvp("mGrooves", mGrooves);
        ar& make_nvp("mArticPatterns", mArticPatterns);
    }
    static constexpr unsigned int kClassVersion = 5;
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mGenre", mGenre);
        *mPimpl = Pimpl();
        if (version >= 4)
            ar& make_nvp("pimpl", *mPimpl);
        if (version >= 5) {
            ar& make_nvp("mClaveLibs", mClaveLibs);
        } else {
            CGenClaveLib claveLib;
            ar& make_nvp("claveLib", claveLib);
            mClaveLibs = CGenClaveLibs(claveLib);
        }
        ar& make_nvp("mInstLibs", mInstLibs);
        if (version < 3) {
            CGenPatternCoordConv patternCoordConv;
            ar& make_nvp("patternCoordConv", patternCoordConv);
            SetAllPatternCoordConv(patternCoordConv);
        }
        mGrooves.clear();
        if (version >= 1)
            ar& make_nvp("mGrooves", mGrooves);
        mArticPatterns.clear();
        if (version >= 2)
            ar& make_nvp("mArticPatterns", mArticPatterns);
        _SetWeakPointersToClaveLibs();
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

    // What the genre keeps apart from its public members.
    struct Pimpl {
        std::shared_ptr<CGenDrumMap> mDrumMap = std::make_shared<CGenDrumMap>();

        template <class Archive>
        void serialize(Archive& ar, const unsigned int /*version*/)
        {
            ar& boost::serialization::make_nvp("mDrumMap", *mDrumMap);
        }
    };

private:
    std::unique_ptr<Pimpl> mPimpl;
};
BOOST_CLASS_VERSION(CGenGenreLib, CGenGenreLib::kClassVersion)

// The genres of the loaded content, searched by exact name.
class CGenGenreLibs : public std::vector<CGenGenreLib> {
public:
    using TBase = std::vector<CGenGenreLib>;

    // The first genre of that exact name (case counts), and whether there is one.
    std::pair<iterator, bool> FindGenreLibFor(const std::string& name);
    std::pair<const_iterator, bool> FindGenreLibFor(const std::string& name) const;
    // The instrument library of the type in that genre, and whether there is one.
    std::pair<CGenInstLib*, bool> FindInstLibFor(const std::string& name, _TGenInstType instType);
    std::pair<const CGenInstLib*, bool> FindInstLibFor(const std::string& name, _TGenInstType instType) const;
    // The same as pointers, null when absent.
    CGenGenreLib* FindGenreLib(const std::string& name);
    const CGenGenreLib* FindGenreLib(const std::string& name) const;
    CGenInstLib* FindInstLib(const std::string& name, _TGenInstType instType) { return FindInstLibFor(name, instType).first; }

    std::vector<std::string> GenreNames() const;
    // "<genre> <instrument>" for every instrument library of every genre.
    std::vector<std::string> GenreAndInstNames() const;

    void RandomSeed(uint32_t seed);
    // One clock seed drawn here, handed to every graph.
    void RandomSeedWithSystemClock();
    // Appends a new genre named "DefaultGenre": one drum library with one
    // style ("Default", no graphs yet) and no patterns.
    CGenGenreLib& CreateDefaultGenre();

    // "GenreLib " after the prefix; each genre with ", ix", its index and a
    // blank; true when nothing was found (an empty list is good).
    bool CheckContentSanity(const std::string& prefix, std::string& text) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenGenreLibs", static_cast<TBase&>(*this));
    }
};
