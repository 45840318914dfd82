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
class CGenGroove;
class CGenGrooves;

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
    std::string mSourceName = "song";          // names the song file in messages
    std::string mGroove;                       // a groove of the library by name; "" none
    double mSwing = -1.0;                      // its timing strength 0..100; -1: 100
};

// The groove a request names: --groove, or for --swing alone the library's
// "swing 16ths". Null with nothing asked; null with `error` set for a name
// the library lacks.
const CGenGroove* RequestedGroove(const CGenGrooves& grooves, const TPerformRequest& request, std::string& error);

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

// Keys of the take file's dictionaries of section mementos: the drummer's
// and the bass player's.
inline constexpr const char* kTake_Sections = "sections";
inline constexpr const char* kTake_BassSections = "bass sections";

// The bass track's channel (the second) and General MIDI program
// (Electric Bass, finger).
inline constexpr uint8_t kBassChannel = 1;
inline constexpr int kBassProgram = 33;

// Plays `song` with the loaded `generator`: the drummer, and the bass
// player when the genre has one and the song has chords. `take` holds the mementos of the
// sections by name; it is updated with what this run used. On failure
// returns nullopt with one line in `error` (an unknown genre or style).
std::optional<TSongPerformance> PerformSong(CGenGenerator& generator, const TSong& song, TGenDict& take,
    const TPerformRequest& request, std::string& error);

// The first take's seed of a section: a function of its name, so that a song
// plays the same everywhere and its sections differ.
uint32_t FirstTakeSeed(const std::string& sectionName);

} // namespace zkgen::cli
