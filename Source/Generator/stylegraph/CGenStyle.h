#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"
#include "Platform/ZKFileOps.h"

#include <boost/serialization/version.hpp>

#include <string>
#include <vector>

// The extension of a style file.
inline constexpr const char* kCGenStyleFileExtension = "style";

// A player's personality: a name, a unique ID and the keyed graphs that
// decide pattern choice, loaded from the style's own file on first use.
class CGenStyle {
public:
    CGenStyle() : mUniqueID(CreateUniqueID()) {}
    explicit CGenStyle(std::string name) : mName(std::move(name)), mUniqueID(CreateUniqueID()) {}

    const std::string& Name() const { return mName; }
    void SetName(const std::string& name) { mName = name; }
    const std::string& UniqueID() const { return mUniqueID; }
    void SetUniqueID(const std::string& uniqueID) { mUniqueID = uniqueID; }
    CGenStyleGraphs& StyleGraphs() { return mStyleGraphs; }
    const CGenStyleGraphs& StyleGraphs() const { return mStyleGraphs; }

    // Whether the graphs are there. Loading needs the folder of the style
    // files, which the style list knows: CGenStyles::LoadStyleGraphsIfNotCachedAlready.
    bool LoadStyleGraphsIfNotCachedAlready() const { return mStyleGraphs.HasEntries(); }

    // A new process-unique text (32 hexadecimal digits in the 8-4-4-4-12
    // groups of a UUID).
    static std::string CreateUniqueID();
    // "<name> - <unique ID>" when either is not empty, else empty. It names
    // the style's file and its script state, so a rename makes new ones.
    std::string Identifier() const;

    // Name and unique ID; graphs are not compared.
    bool operator==(const CGenStyle& o) const { return mName == o.mName && mUniqueID == o.mUniqueID; }

    // Version 4: "mName", "mUniqueID". Versions 1 and 2 kept the graphs
    // ("mStyleGraphs") first; version 1 had no name; below 4 a load makes a
    // new unique ID.
    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("mName", mName);
        ar& boost::serialization::make_nvp("mUniqueID", mUniqueID);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        if (version <= 2)
            ar& boost::serialization::make_nvp("mStyleGraphs", mStyleGraphs);
        if (version >= 2)
            ar& boost::serialization::make_nvp("mName", mName);
        if (version >= 4)
            ar& boost::serialization::make_nvp("mUniqueID", mUniqueID);
        else
            mUniqueID = CreateUniqueID();
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    std::string mName;
    std::string mUniqueID;
    CGenStyleGraphs mStyleGraphs;
};

BOOST_CLASS_VERSION(CGenStyle, 4)

// The styles of an instrument library, with the folder that holds their
// style files (set by the library's loader).
class CGenStyles : public std::vector<CGenStyle> {
public:
    using std::vector<CGenStyle>::vector;

    const TGenUrl& StyleGraphsFolderURL() const { return mStyleGraphsFolderURL; }
    void SetStyleGraphsFolderURL(const TGenUrl& url) { mStyleGraphsFolderURL = url; }
    // "<folder>/<identifier>.style"; empty without a folder or an identifier.
    TGenUrl StyleGraphsURLForStyle(const CGenStyle& style) const;

    // The load point of every user: loads the style's graphs from its file
    // unless they are there; true when the style has graphs afterwards.
    bool LoadStyleGraphsIfNotCachedAlready(CGenStyle& style) const;
    bool LoadStyleGraphsIfNotCachedAlready(size_t ix) { return ix < size() && LoadStyleGraphsIfNotCachedAlready((*this)[ix]); }
    // The style of a parameter's style index (a negative index meaning 0); null when there is none.
    CGenStyle* ChooseStyle(int styleIx);

    // Saves the style's graphs to its file, atomically; false without graphs or a place.
    bool WriteBackStyle(const CGenStyle& style) const;
    // Every style whose graphs are loaded.
    void WriteBackCachedStyles() const;
    // Notes the style at ix (about to be removed), so that the next clean-up
    // removes its file.
    void RememberStyleIdentifierAtIxForCleanupOnNextWriteBack(size_t ix);
    // Removes the files of the styles noted, unless a style of that
    // identifier is back in the list.
    void CleanUpStoredStyles();
    // Drops the loaded graphs of the style at ix, so that its next use reads
    // its file again; nothing for an index outside the list.
    void PurgeStyleAtIndex(size_t ix);

private:
    TGenUrl mStyleGraphsFolderURL;
    std::vector<std::string> mIdentifiersForCleanup;
};
