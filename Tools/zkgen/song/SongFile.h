#pragma once

// The song file of `zkgen generate`: TOML with a title, a tempo, a time
// signature and the sections that are performed one region each.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zkgen::cli {

struct TSongTimeSignature {
    int mNumerator = 4;
    int mDenominator = 4;

    // The engine writes the denominator as a power of two: 8 is 3.
    int DenominatorExponent() const
    {
        int e = 0;
        while ((1 << e) < mDenominator)
            ++e;
        return e;
    }
    double BarLength() const { return 4.0 / mDenominator * mNumerator; }
};

struct TSongSection {
    std::string mName;
    int mLine = 0;  // line of the section's table in the file
    int mBars = 0;  // whole bars of the section's time signature
    std::optional<double> mTempo;                     // a tempo change at the section's start
    std::optional<TSongTimeSignature> mTimeSignature; // a metre change at the section's start
    // Region parameters by the engine's keys ("complexity", "intensity",
    // "fills", "swing", "kitpieceFocus", ...), the song's defaults merged
    // under the section's own values.
    std::map<std::string, double> mControls;
    double mTempoScale = 1.0; // 0.5, 1 or 2
    int mStyle = -1;          // style index; -1 is the first style
};

struct TSong {
    std::string mTitle;
    std::string mGenre = "DefaultGenre";
    double mTempo = 120.0;
    TSongTimeSignature mTimeSignature;
    std::vector<TSongSection> mSections;
};

// Parses a song. On failure returns nullopt and sets `error` to one line that
// names the source, the line and what is wrong ("song.toml:12: ...").
std::optional<TSong> ParseSongText(const std::string& text, const std::string& sourceName, std::string& error);
std::optional<TSong> ReadSongFile(const std::string& path, std::string& error);

// The region control keys a song accepts in [controls] and in its sections,
// in the engine's spelling. "focus" is read as another name of kitpieceFocus.
const std::vector<std::string>& SongControlKeys();

// "7/8" into a time signature; on failure nullopt and `error` names the part
// that is wrong ("65/4": the numerator). Whitespace around the parts is accepted.
std::optional<TSongTimeSignature> ParseTimeSignatureText(const std::string& text, std::string& error);

} // namespace zkgen::cli
