#pragma once

#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/patterns/CGenPatternCoord.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

// The content tree the generator works from: genres, each with its instrument
// libraries, each with five pattern graphs and styles. This is the part of the
// tree the generate pipeline walks; claves, grooves, articulation, the drum
// map and the archive join with the library-storage work.
class CGenInstLib {
public:
    explicit CGenInstLib(_TGenInstType type = TGenInstType_Drums);

    _TGenInstType mInstType = TGenInstType_Drums;
    std::array<CGenPatternGraphBoost, 5> mPatternGraphs;
    // Null until styles are attached.
    std::shared_ptr<CGenStyles> mStyles;
    bool mContainsUidEvents = true;
    bool mContainsAbstractNoteEvs = false;

    // 1 to 4 select the graph of that value; anything else the accent family graph.
    CGenPatternGraphBoost& PatternGraph(TPatternGraphType type);
    const CGenPatternGraphBoost& PatternGraph(TPatternGraphType type) const;
    // The graph's conversion, or one with all bounds undefined without a library.
    static CGenPatternCoordConv PatternCoordConvForType(const CGenInstLib* lib, TPatternGraphType type);
    void SetAllPatternCoordConv(const CGenPatternCoordConv& conv);
    // Each graph's signature transformations for this instrument type.
    void InitSignTimeTrafosForThisInstType();
    // Seeds all five graphs.
    void RandomSeed(uint32_t seed);
    void CheckContentSanity(const std::string& prefix, std::string& report) const;
};

class CGenGenreLib {
public:
    explicit CGenGenreLib(std::string genre = kDefaultGenreName);
    // Copies and moves point the graphs at their own genre's clave libraries.
    CGenGenreLib(const CGenGenreLib& o);
    CGenGenreLib(CGenGenreLib&& o) noexcept;
    CGenGenreLib& operator=(const CGenGenreLib& o);
    CGenGenreLib& operator=(CGenGenreLib&& o) noexcept;

    static constexpr const char* kDefaultGenreName = "DefaultGenre";

    std::string mGenre;
    // One library named "DefaultClaveLib from ctor" at first.
    CGenClaveLibs mClaveLibs;
    std::vector<CGenInstLib> mInstLibs;

    // Points every graph at mClaveLibs; due after each copy, move and load.
    void _SetWeakPointersToClaveLibs();
    // Whether every graph points at mClaveLibs.
    bool AssertWeakClaveLibs() const;

    CGenInstLib* FindInstLib(_TGenInstType type);
    const CGenInstLib* FindInstLib(_TGenInstType type) const;
    void RandomSeed(uint32_t seed);
    // One coordinate conversion for every graph of every instrument library.
    void SetAllPatternCoordConv(const CGenPatternCoordConv& conv);
    void CheckContentSanity(const std::string& prefix, std::string& report) const;
};

class CGenGenreLibs : public std::vector<CGenGenreLib> {
public:
    CGenGenreLib* FindGenreLib(const std::string& genre);
    const CGenGenreLib* FindGenreLib(const std::string& genre) const;
    CGenInstLib* FindInstLib(const std::string& genre, _TGenInstType type);
    void RandomSeed(uint32_t seed);
    // One clock seed drawn here, handed to every graph.
    void RandomSeedWithSystemClock();
    // A genre named "DefaultGenre" with one drum library and one style, if absent.
    CGenGenreLib& CreateDefaultGenre();
    // Clears `report`-independent text: appends one line per problem found;
    // true when nothing was found.
    bool CheckContentSanity(const std::string& prefix, std::string& report) const;
};
