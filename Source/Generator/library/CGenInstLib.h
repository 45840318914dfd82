#pragma once

#include "Generator/harmony/CAbstractNotesConcretizer.h"
#include "Generator/CGenSerialization.h"
#include "Generator/fills/CGenFills.h"
#include "Generator/CGenTypes.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/patterns/CGenPatternCoord.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <boost/serialization/shared_ptr.hpp>

#include <array>
#include <memory>
#include <string>
#include <vector>

class CGenClaveLibs;

// The library of one instrument in a genre: its five pattern graphs (one per
// layer), its styles and the instrument tree its uid events are written in.
//
// The graphs live in a fixed array in the order of the layers
// (AccentFamily, AccentAddon, System, Fill, Percussion) and are archived
// under their own names.
class CGenInstLib {
public:
    explicit CGenInstLib(_TGenInstType type = TGenInstType_Drums);

    _TGenInstType mInstType = TGenInstType_Drums;
    // Works out abstract notes; its default ranges are content and archived,
    // all else is reset by every generation.
    CAbstractNotesConcretizer mConcretizer;
    std::array<CGenPatternGraphBoost, 5> mPatternGraphs;
    CGenStyles mStyles;
    // The older fill store and its placing rules: kept with the library for
    // authoring and conversion; generation uses the fill layer's graph.
    CGenFills mFills;
    CGenFillCreateRules mFillCreateRules;
    // Patterns carry instrument uids (converted to notes after rendering).
    bool mContainsUidEvents = true;
    // Patterns carry abstract notes (worked out against the chords).
    bool mContainsAbstractNoteEvs = false;

    // 1 to 4 select the graph of that value; anything else the accent family graph.
    CGenPatternGraphBoost& PatternGraph(TPatternGraphType type);
    const CGenPatternGraphBoost& PatternGraph(TPatternGraphType type) const;

    // The tree the uids of the patterns are written in; null when the library
    // has none (its events are then left as they are). A drum library starts
    // with the built-in drum tree, and so does one read from an archive that
    // stored none. Shared: trees are large and never change once built.
    const CGenInstTree* InstTree() const { return mInstTree.get(); }
    void SetInstTree(std::shared_ptr<const CGenInstTree> tree) { mInstTree = std::move(tree); }
    // The built-in tree of an instrument type: the drum tree for drums and
    // percussion, null for the others.
    static std::shared_ptr<const CGenInstTree> DefaultInstTreeForInstType(_TGenInstType type);

    std::string InstName() const { return ::InstName(mInstType); }

    // The graph's conversion, or one with all bounds undefined without a library.
    static CGenPatternCoordConv PatternCoordConvForType(const CGenInstLib* lib, TPatternGraphType type);
    // Widens the four bounds by the internal coordinates of every pattern of
    // every graph (undefined components are skipped; bounds start undefined).
    void FindPatternCoordIntMinAndMax(float& minCompl, float& maxCompl, float& minIntn, float& maxIntn) const;
    // The conversion spanning the extremes of the patterns.
    CGenPatternCoordConv CalcPatternCoordConv() const;
    void UpdatePatternCoordConvToMinAndMax() { SetAllPatternCoordConv(CalcPatternCoordConv()); }
    void SetAllPatternCoordConv(const CGenPatternCoordConv& conv);
    // Each graph's signature transformations for this instrument type.
    void InitSignTimeTrafosForThisInstType();
    // Seeds all five graphs.
    void RandomSeed(uint32_t seed);
    void SetWeakClaveLibs(CGenClaveLibs* libs);

    void EraseContent();
    void EraseAllClaveLinks();
    // Removes the links to clave pattern ix in all five graphs.
    void EraseAllClaveLinksFor(int ix);

    // Prefix, the type's number, a blank, its name and a blank, then each graph.
    bool CheckContentSanity(const std::string& prefix, std::string& text) const;

    // Version 1 dropped "dummyFills"; version 2 added "mInstTree"; version 3
    // the concretizer's default ranges (older archives take the instrument's);
    // version 4 the fill store and its rules (older archives have none).
    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        using boost::serialization::make_nvp;
        const int type = mInstType;
        ar& make_nvp("mInstType", type);
        ar& make_nvp("mPatternGraphAccentFamily", mPatternGraphs[0]);
        ar& make_nvp("mPatternGraphAccentAddon", mPatternGraphs[1]);
        ar& make_nvp("mPatternGraphSystem", mPatternGraphs[2]);
        ar& make_nvp("mPatternGraphFill", mPatternGraphs[3]);
        ar& make_nvp("mPatternGraphPercussion", mPatternGraphs[4]);
        ar& make_nvp("mStyles", static_cast<const std::vector<CGenStyle>&>(mStyles));
        ar& make_nvp("mContainsUidEvents", mContainsUidEvents);
        ar& make_nvp("mContainsAbstractNoteEvs", mContainsAbstractNoteEvs);
        const bool hasTree = mInstTree != nullptr;
        ar& make_nvp("mHasInstTree", hasTree);
        if (hasTree)
            ar& make_nvp("mInstTree", *mInstTree);
        ar& make_nvp("mDefaultConcretizeRange", mConcretizer.mDefaultConcretizeRange);
        ar& make_nvp("mFills", mFills);
        ar& make_nvp("mFillCreateRules", mFillCreateRules);
    }
    static constexpr unsigned int kClassVersion = 4;
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        using boost::serialization::make_nvp;
        int type = TGenInstType_Drums;
        ar& make_nvp("mInstType", type);
        zkgen::CheckArchiveRange(type, TGenInstType_Undef, TGenInstType_Max, "an instrument type");
        mInstType = static_cast<_TGenInstType>(type);
        ar& make_nvp("mPatternGraphAccentFamily", mPatternGraphs[0]);
        ar& make_nvp("mPatternGraphAccentAddon", mPatternGraphs[1]);
        ar& make_nvp("mPatternGraphSystem", mPatternGraphs[2]);
        if (version < 1) {
            // Fills were once a graph of their own kind; their place is kept.
            CGenPatternGraphBoost dummyFills(TPatternGraphType_Fill);
            ar& make_nvp("dummyFills", dummyFills);
        }
        ar& make_nvp("mPatternGraphFill", mPatternGraphs[3]);
        ar& make_nvp("mPatternGraphPercussion", mPatternGraphs[4]);
        ar& make_nvp("mStyles", static_cast<std::vector<CGenStyle>&>(mStyles));
        ar& make_nvp("mContainsUidEvents", mContainsUidEvents);
        ar& make_nvp("mContainsAbstractNoteEvs", mContainsAbstractNoteEvs);
        mInstTree = DefaultInstTreeForInstType(mInstType);
        if (version >= 2) {
            bool hasTree = false;
            ar& make_nvp("mHasInstTree", hasTree);
            if (hasTree) {
                auto tree = std::make_shared<CGenInstTree>();
                ar& make_nvp("mInstTree", *tree);
                mInstTree = std::move(tree);
            } else {
                mInstTree.reset();
            }
        }
        mConcretizer = CAbstractNotesConcretizer(mInstType);
        if (version >= 3) {
            TConcretizeRange& r = mConcretizer.mDefaultConcretizeRange;
            ar& make_nvp("mDefaultConcretizeRange", r);
            for (const int64_t limit : {r.mMinNoteNr, r.mMaxNoteNr, r.mPatternRootMinNoteNr, r.mPatternRootMaxNoteNr})
                zkgen::CheckArchiveRange(limit, -1, 127, "a concretize range's note");
            zkgen::CheckArchiveRange(r.mNotePrefer, 0, 4, "a concretize range's note preference");
            mConcretizer.Reset();
        }
        CGenClaveLibs* clave = mPatternGraphs[0].WeakClaveLibs();
        mFills = CGenFills();
        mFillCreateRules.clear();
        if (version >= 4) {
            ar& make_nvp("mFills", mFills);
            ar& make_nvp("mFillCreateRules", mFillCreateRules);
        }
        if (!mFills.WeakClaveLibs())
            mFills.SetWeakClaveLibs(clave);
        _FixLayerTypes();
        InitSignTimeTrafosForThisInstType();
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    // Each graph of the array is the layer of its place, whatever an archive said.
    void _FixLayerTypes();

    std::shared_ptr<const CGenInstTree> mInstTree;
};
BOOST_CLASS_VERSION(CGenInstLib, CGenInstLib::kClassVersion)

// The instrument libraries of a genre. Each change is bracketed by the
// notifications "GenToolInstLibsWillUpdateNotification" and
// "GenToolInstLibsDidUpdateNotification" of the default center, for the
// authoring views.
class CGenInstLibs : public std::vector<CGenInstLib> {
public:
    using TBase = std::vector<CGenInstLib>;
    static constexpr const char* kWillUpdateNotification = "GenToolInstLibsWillUpdateNotification";
    static constexpr const char* kDidUpdateNotification = "GenToolInstLibsDidUpdateNotification";

    // One drum library, its graphs pointing at `claveLibs`.
    explicit CGenInstLibs(CGenClaveLibs* claveLibs = nullptr);

    // Appends a copy pointed at this list's clave libraries.
    void AddInstLib(const CGenInstLib& lib);
    void EraseInstLib(iterator it);
    void EraseAll();
    // One library of the undefined type whose graphs each have a dummy
    // intensity variation.
    void EraseAllAndCreateDummy();

    CGenInstLib* FindInstLib(_TGenInstType type);
    const CGenInstLib* FindInstLib(_TGenInstType type) const;

    CGenClaveLibs* ClaveLibs() const { return mClaveLibs; }
    // Points every graph at `libs` (the owner's, after a copy, move or load).
    void SetClaveLibs(CGenClaveLibs* libs);

    // "CGenInstLib " after the prefix; an empty list is good.
    bool CheckContentSanity(const std::string& prefix, std::string& text) const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TCGenInstLibs", static_cast<TBase&>(*this));
    }

private:
    CGenClaveLibs* mClaveLibs = nullptr;
};
