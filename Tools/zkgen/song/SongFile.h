#pragma once

// The song file of `zkgen generate`: TOML with a title, a tempo, a time
// signature, a key and the sections that are performed one region each,
// with their chord charts.

#include <Generator/harmony/CSignKey.h>

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

// A key as written ("C", "Am", "A minor", "F# major", "Bb dorian").
struct TSongKey {
    std::string mText;   // as written, trimmed
    int mRoot = 0;       // pitch class, C = 0 to B = 11
    bool mMinor = false; // a minor third: minor and its modes
    CSignKeyHeavy mSignKey;
};

// The chart's mark of a stretch without harmony.
inline constexpr const char* kSongNoChord = "N.C.";

// A chord of a section's chart, where it begins.
struct TSongChord {
    double mBeat = 0.0;  // quarter-note beats from the section's start
    std::string mName;   // as written ("Am7"; kSongNoChord for none), not checked against a vocabulary
    int mBar = 1;        // the section's bar, from 1
    int mBeatInBar = 0;  // from 0, in beats of the bar's denominator (eighths in 7/8)

    bool IsNoChord() const { return mName == kSongNoChord; }
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
    // The section is played as a fixed phrase of four bars, repeated with
    // variations at its odd places, instead of bar by bar.
    bool mSuperPattern = false;
    std::optional<TSongKey> mKey;  // its own key, else the song's
    // The chart played through the whole section: each bar's chords in
    // order, a chart shorter than the section repeated.
    std::vector<TSongChord> mChords;
};

struct TSong {
    std::string mTitle;
    std::string mGenre = "DefaultGenre";
    double mTempo = 120.0;
    TSongTimeSignature mTimeSignature;
    std::optional<TSongKey> mKey;
    std::vector<TSongSection> mSections;
};

// Parses a song. On failure returns nullopt and sets `error` to one line that
// names the source, the line and what is wrong ("song.toml:12: ...").
std::optional<TSong> ParseSongText(const std::string& text, const std::string& sourceName, std::string& error);
std::optional<TSong> ReadSongFile(const std::string& path, std::string& error);

// The region control keys a song accepts in [controls] and in its sections,
// in the engine's spelling. "focus" is read as another name of kitpieceFocus.
const std::vector<std::string>& SongControlKeys();

// "Am", "F# major", "Bb minor", "C", "D dorian" into a key: a letter A to G
// (either case), "#" or "b", then nothing or "major"/"maj" for major, "m",
// "minor"/"min" for minor, or a mode's name. On failure nullopt with
// `error` set.
std::optional<TSongKey> ParseKeyText(const std::string& text, std::string& error);

// A mistake in a chord chart: the bar of the chart it is in (from 1), or 0
// for the chart as a whole.
struct TChordChartError {
    int mBar = 0;
    std::string mMessage;
};

// A chord chart over `bars` bars of `signature`: "C | Am7 . G7 . | % | N.C.".
// "|" separates bars; a bar's chords share it equally and their count must
// divide its beats (counted in its denominator: 4 in 4/4, 7 in 7/8); "."
// holds the chord before it for its share, "%" repeats the bar before, and
// "N.C." is no chord. A chart of fewer bars repeats when their count divides
// the section's. Chord names are taken as written: only characters that no
// chord name has are refused.
std::optional<std::vector<TSongChord>> ParseChordChart(const std::string& text, int bars,
    const TSongTimeSignature& signature, TChordChartError& error);

// "7/8" into a time signature; on failure nullopt and `error` names the part
// that is wrong ("65/4": the numerator). Whitespace around the parts is accepted.
std::optional<TSongTimeSignature> ParseTimeSignatureText(const std::string& text, std::string& error);

} // namespace zkgen::cli
