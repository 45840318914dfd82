#pragma once

// What the generator keeps of a library beside the genre tree, and the form
// its archive takes on disk.

#include "Generator/CGenSerialization.h"
#include "Generator/library/CGenGenreLibs.h"

#include <string>

// An error of the library storage: the domain "zk.musicapps", a code and a
// description.
struct TGenStorageError {
    static constexpr const char* kDomain = "zk.musicapps";
    std::string mDomain;
    int mCode = 0;
    std::string mDescription;
};

// The global Lua script of libraries archived at class version 1, kept
// until the script pool takes it over under "__LegacyGlobalLuaScript__".
struct TGenLegacyGlobalLuaScript {
    static constexpr const char* kPoolIdentifier = "__LegacyGlobalLuaScript__";
    bool mPresent = false;
    std::string mSource;
};

namespace zkgen {

// The archive of a generator: "mGenreLibs"; at class version 1 a field
// "globalLuaScript" followed. Version 2 is current; a later version is
// refused with a log line naming the class.
struct TGenGeneratorArchive {
    static constexpr unsigned int kVersion = 2;
    CGenGenreLibs* mGenreLibs = nullptr;
    TGenLegacyGlobalLuaScript* mLegacyScript = nullptr;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("mGenreLibs", *mGenreLibs);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        ar& boost::serialization::make_nvp("mGenreLibs", *mGenreLibs);
        if (version == 1) {
            std::string script;
            ar& boost::serialization::make_nvp("globalLuaScript", script);
            if (mLegacyScript) {
                mLegacyScript->mPresent = true;
                mLegacyScript->mSource = std::move(script);
            }
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

} // namespace zkgen

BOOST_CLASS_VERSION(zkgen::TGenGeneratorArchive, zkgen::TGenGeneratorArchive::kVersion)
BOOST_CLASS_TRACKING(zkgen::TGenGeneratorArchive, boost::serialization::track_never)
