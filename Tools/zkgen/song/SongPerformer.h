#pragma once

// Performs a song: each section is one region of the generator with its own
// memento (the take), and all regions land in one performance.

#include "midi/Performance.h"
#include "song/SongFile.h"

#include <Generator/CGenTypes.h>
#include <Platform/TGenDict.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class CGenGenerator;

namespace zkgen::cli {

// What to renew against the take.
enum class TRenewal {
    None,     // play the take as it stands (sections without one get the song's first take)
    NewTake,  // new seeds for every layer
    Layer,    // new seed for one layer, the others kept
};

struct TPerformRequest {
    TRenewal mRenewal = TRenewal::None;
    TGenerateWhat mLayer = TGenerateWhat_All; // the layer of TRenewal::Layer
    std::string mOnlySection;                  // limits a renewal to this section
    uint32_t mNewSeed = 0;                     // the seed of a new take
    bool mEdgesAndHistory = true;              // phrases from the graphs' edges
    bool mCollectPatterns = false;             // which pattern played where (a second, separate run)
};

struct TPlayedPattern {
    double mBeat = 0.0;
    double mLength = 0.0;
    TPatternGraphType mLayer = TPatternGraphType_Undef;
    std::string mName;
};

struct TSectionPerformance {
    std::string mName;
    double mStartBeat = 0.0;
    double mLength = 0.0; // beats
    int mBars = 0;
    TSongTimeSignature mTimeSignature;
    double mTempo = 120.0;
    std::vector<TPlayedPattern> mPatterns; // with TPerformRequest::mCollectPatterns
};

struct TSongPerformance {
    TPerformance mPerformance;
    std::vector<TSectionPerformance> mSections;
};

// Key of the take file's dictionary of section mementos.
inline constexpr const char* kTake_Sections = "sections";

// Plays `song` with the loaded `generator`. `take` holds the mementos of the
// sections by name; it is updated with what this run used. On failure
// returns nullopt with one line in `error` (an unknown genre or style).
std::optional<TSongPerformance> PerformSong(CGenGenerator& generator, const TSong& song, TGenDict& take,
    const TPerformRequest& request, std::string& error);

// The first take's seed of a section: a function of its name, so that a song
// plays the same everywhere and its sections differ.
uint32_t FirstTakeSeed(const std::string& sectionName);

} // namespace zkgen::cli
