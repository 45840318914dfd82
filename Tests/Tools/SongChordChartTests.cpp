// Keys and chord charts of song files: the key text read into a pitch class
// and a mode, charts laid out per bar and per beat (holds, repeated bars,
// a chart repeated through its section, odd metres), and every mistake on
// one line naming the section and the bar.
#include "song/SongFile.h"

#include <Generator/harmony/CChordHeavy.h>

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using zkgen::cli::ParseChordChart;
using zkgen::cli::ParseKeyText;
using zkgen::cli::ParseSongText;
using zkgen::cli::TChordChartError;
using zkgen::cli::TSong;
using zkgen::cli::TSongChord;
using zkgen::cli::TSongKey;
using zkgen::cli::TSongTimeSignature;

namespace {

TSongKey Key(const std::string& text)
{
    std::string error;
    const std::optional<TSongKey> key = ParseKeyText(text, error);
    EXPECT_TRUE(key.has_value()) << text << ": " << error;
    EXPECT_EQ(error, "");
    return key.value_or(TSongKey{"?", -1, false, {}});
}

std::string KeyError(const std::string& text)
{
    std::string error;
    EXPECT_FALSE(ParseKeyText(text, error).has_value()) << text;
    return error;
}

std::vector<TSongChord> Chart(const std::string& text, int bars, TSongTimeSignature signature = {4, 4})
{
    TChordChartError error;
    const auto chords = ParseChordChart(text, bars, signature, error);
    EXPECT_TRUE(chords.has_value()) << text << ": bar " << error.mBar << ": " << error.mMessage;
    return chords.value_or(std::vector<TSongChord>{});
}

// "bar N: message", or "chart: message" for the chart as a whole.
std::string ChartError(const std::string& text, int bars, TSongTimeSignature signature = {4, 4})
{
    TChordChartError error;
    EXPECT_FALSE(ParseChordChart(text, bars, signature, error).has_value()) << text;
    return (error.mBar > 0 ? "bar " + std::to_string(error.mBar) : std::string("chart")) + ": " + error.mMessage;
}

void ExpectChord(const TSongChord& c, double beat, const std::string& name, int bar, int beatInBar)
{
    EXPECT_DOUBLE_EQ(c.mBeat, beat) << name;
    EXPECT_EQ(c.mName, name);
    EXPECT_EQ(c.mBar, bar) << name;
    EXPECT_EQ(c.mBeatInBar, beatInBar) << name;
}

TSong Song(const std::string& text)
{
    std::string error;
    const std::optional<TSong> song = ParseSongText(text, "song.toml", error);
    EXPECT_TRUE(song.has_value()) << error;
    return song.value_or(TSong{});
}

std::string SongError(const std::string& text)
{
    std::string error;
    EXPECT_FALSE(ParseSongText(text, "song.toml", error).has_value()) << text;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    return error;
}

} // namespace

// ----- keys

TEST(SongKey, RootsAndModes)
{
    // C = 0, D = 2, E = 4, F = 5, G = 7, A = 9, B = 11; "#" +1, "b" -1.
    const TSongKey c = Key("C");
    EXPECT_EQ(c.mText, "C");
    EXPECT_EQ(c.mRoot, 0);
    EXPECT_FALSE(c.mMinor);
    const TSongKey am = Key("Am");
    EXPECT_EQ(am.mRoot, 9);
    EXPECT_TRUE(am.mMinor);
    EXPECT_EQ(Key("A minor").mRoot, 9);
    EXPECT_TRUE(Key("A minor").mMinor);
    EXPECT_EQ(Key("F# major").mRoot, 6);
    EXPECT_FALSE(Key("F# major").mMinor);
    EXPECT_EQ(Key("Bb minor").mRoot, 10);
    EXPECT_TRUE(Key("Bb minor").mMinor);
    // Lower-case letters; "bbm" is B flat minor, "b" alone B.
    EXPECT_EQ(Key("bbm").mRoot, 10);
    EXPECT_TRUE(Key("bbm").mMinor);
    EXPECT_EQ(Key("b").mRoot, 11);
    // Across C: Cb = -1 = 11, B# = 12 = 0.
    EXPECT_EQ(Key("Cb").mRoot, 11);
    EXPECT_EQ(Key("B#").mRoot, 0);
    // Short and long mode words in any case; blanks around are trimmed.
    const TSongKey e = Key("  e MINOR ");
    EXPECT_EQ(e.mText, "e MINOR");
    EXPECT_EQ(e.mRoot, 4);
    EXPECT_TRUE(e.mMinor);
    EXPECT_FALSE(Key("Gmaj").mMinor);
    EXPECT_EQ(Key("Gmaj").mRoot, 7);
    EXPECT_TRUE(Key("D min").mMinor);
    EXPECT_FALSE(Key("Eb Major").mMinor);
    EXPECT_EQ(Key("Eb Major").mRoot, 3);
    // The modes too, spelled as written: D dorian has a minor third.
    const TSongKey dorian = Key("D dorian");
    EXPECT_EQ(dorian.mRoot, 2);
    EXPECT_TRUE(dorian.mMinor);
    EXPECT_EQ(dorian.mSignKey.SignKeyType(), TSignKeyType_Dorian);
    EXPECT_EQ(Key("Bb mixolydian").mSignKey.Name(CChordNamePrefs()), "Bb mixolydian");
    EXPECT_FALSE(Key("Bb mixolydian").mMinor);
}

TEST(SongKey, WhatIsNoKey)
{
    const std::string want = "' is not a key (want e.g. \"C\", \"Am\", \"F# major\", \"Bb minor\", \"D dorian\")";
    EXPECT_EQ(KeyError("H"), "key 'H" + want);
    EXPECT_EQ(KeyError(""), "key '" + want);
    EXPECT_EQ(KeyError("Am7"), "key 'Am7" + want);
    // "M" is not read as either mode.
    EXPECT_EQ(KeyError("CM"), "key 'CM" + want);
    EXPECT_EQ(KeyError("C##"), "key 'C##" + want);
    EXPECT_EQ(KeyError("#C"), "key '#C" + want);
    EXPECT_EQ(KeyError("C major minor"), "key 'C major minor" + want);
}

// ----- charts

TEST(ChordChart, OneChordABar)
{
    const std::vector<TSongChord> c = Chart("C | Am7 | Fmaj7 | G7", 4);
    ASSERT_EQ(c.size(), 4u);
    // A 4/4 bar is 4 beats: bars start at 0, 4, 8, 12.
    ExpectChord(c[0], 0.0, "C", 1, 0);
    ExpectChord(c[1], 4.0, "Am7", 2, 0);
    ExpectChord(c[2], 8.0, "Fmaj7", 3, 0);
    ExpectChord(c[3], 12.0, "G7", 4, 0);
}

TEST(ChordChart, SharesOfABarAndHolds)
{
    // Bar 1: four tokens of 1 beat; "." holds C through beat 1 and G
    // through beat 3. Bar 2: two tokens of 2 beats.
    const std::vector<TSongChord> c = Chart("C . G . | F G/B", 2);
    ASSERT_EQ(c.size(), 4u);
    ExpectChord(c[0], 0.0, "C", 1, 0);
    ExpectChord(c[1], 2.0, "G", 1, 2);
    ExpectChord(c[2], 4.0, "F", 2, 0);
    ExpectChord(c[3], 6.0, "G/B", 2, 2);
    // A bar of holds only plays on; a bar may start with a hold.
    const std::vector<TSongChord> held = Chart("Am | . | . . Dm7 .", 3);
    ASSERT_EQ(held.size(), 2u);
    ExpectChord(held[0], 0.0, "Am", 1, 0);
    ExpectChord(held[1], 10.0, "Dm7", 3, 2); // bar 3 starts at 8, its third beat at 10
}

TEST(ChordChart, RepeatedBarsAndCharts)
{
    // "%" plays the bar before it again, holds included.
    const std::vector<TSongChord> c = Chart("C G | % | . . Em . | %", 4);
    ASSERT_EQ(c.size(), 6u);
    ExpectChord(c[0], 0.0, "C", 1, 0);
    ExpectChord(c[1], 2.0, "G", 1, 2);
    ExpectChord(c[2], 4.0, "C", 2, 0);
    ExpectChord(c[3], 6.0, "G", 2, 2);
    ExpectChord(c[4], 10.0, "Em", 3, 2);
    ExpectChord(c[5], 14.0, "Em", 4, 2);
    // A chart of 2 bars through 6: three times, bars counted through.
    const std::vector<TSongChord> r = Chart("F | G", 6);
    ASSERT_EQ(r.size(), 6u);
    for (int bar = 1; bar <= 6; ++bar)
        ExpectChord(r[static_cast<size_t>(bar - 1)], 4.0 * (bar - 1), bar % 2 == 1 ? "F" : "G", bar, 0);
}

TEST(ChordChart, OddMetresCountTheirDenominator)
{
    // 7/8: seven eighths of 0.5 beats, a bar of 3.5. Four and three: Em
    // on the fifth eighth, 4 * 0.5 = 2 beats in.
    const std::vector<TSongChord> seven = Chart("Dm . . . Em . . | F", 2, {7, 8});
    ASSERT_EQ(seven.size(), 3u);
    ExpectChord(seven[0], 0.0, "Dm", 1, 0);
    ExpectChord(seven[1], 2.0, "Em", 1, 4);
    ExpectChord(seven[2], 3.5, "F", 2, 0);
    // 6/8 in two: 3 eighths each, G at 1.5 beats; 3/4 in three quarters.
    const std::vector<TSongChord> six = Chart("C G", 1, {6, 8});
    ASSERT_EQ(six.size(), 2u);
    ExpectChord(six[1], 1.5, "G", 1, 3);
    const std::vector<TSongChord> three = Chart("C Dm Em | F", 2, {3, 4});
    ASSERT_EQ(three.size(), 4u);
    ExpectChord(three[2], 2.0, "Em", 1, 2);
    ExpectChord(three[3], 3.0, "F", 2, 0);
}

TEST(ChordChart, NoChordFramesLinesAndSigns)
{
    const std::vector<TSongChord> c = Chart("| N.C. | C |", 2);
    ASSERT_EQ(c.size(), 2u);
    ExpectChord(c[0], 0.0, "N.C.", 1, 0);
    EXPECT_TRUE(c[0].IsNoChord());
    EXPECT_FALSE(c[1].IsNoChord());
    // Line breaks are blanks; a chart may run over several lines.
    EXPECT_EQ(Chart("C | G\n| Am | F\n", 4).size(), 4u);
    // Names are not judged, only their characters: these all pass.
    const std::vector<TSongChord> signs =
        Chart("C\xC2\xB0" "7 | B\xC3\xB8 | C\xCE\x94" "7 | B\xE2\x99\xAD | C#m7b5 | C7(b9,#11) | C^7 | Csus4 C+", 8);
    ASSERT_EQ(signs.size(), 9u);
    EXPECT_EQ(signs[0].mName, "C\xC2\xB0" "7");
    EXPECT_EQ(signs[5].mName, "C7(b9,#11)");
    EXPECT_EQ(signs[8].mName, "C+");
}

TEST(ChordChartErrors, EachMistakeWithItsBar)
{
    EXPECT_EQ(ChartError("C | C G A", 2), "bar 2: 3 chords do not divide the bar's 4 beats");
    EXPECT_EQ(ChartError("Dm Em", 1, {7, 8}), "bar 1: 2 chords do not divide the bar's 7 beats");
    EXPECT_EQ(ChartError("C | | G", 3), "bar 2: the bar holds no chord (write % to repeat the bar before it)");
    EXPECT_EQ(ChartError("% | C", 2), "bar 1: % has no bar before it to repeat");
    EXPECT_EQ(ChartError("C | % G", 2), "bar 2: % repeats a whole bar and stands alone in it");
    EXPECT_EQ(ChartError(". C", 1), "bar 1: . holds the chord before it, and the chart has none yet");
    EXPECT_EQ(ChartError("C | G | C$7", 3), "bar 3: 'C$7' holds '$', which no chord name has");
    EXPECT_EQ(ChartError("C\xC2\xB7", 1), "bar 1: 'C\xC2\xB7' holds '\xC2\xB7', which no chord name has");
    EXPECT_EQ(ChartError("C. G", 1), "bar 1: 'C.' holds '.', which no chord name has");
    EXPECT_EQ(ChartError("C | G | F", 8), "chart: the chart's 3 bars do not divide the section's 8 bars");
    EXPECT_EQ(ChartError("C | G | F | G", 2), "chart: the chart's 4 bars do not divide the section's 2 bars");
    EXPECT_EQ(ChartError("", 4), "chart: the chord chart holds no bar");
    EXPECT_EQ(ChartError(" | | ", 4), "chart: the chord chart holds no bar");
}

// ----- in the song file

TEST(SongChords, KeysChartsAndMetresOfASong)
{
    const TSong song = Song("key = \"Am\"\n"                    // 1
                            "[[section]]\n"                     // 2
                            "name = \"A\"\n"                    // 3
                            "chords = \"Am | F\"\n"             // 4: before bars and key
                            "bars = 4\n"                        // 5
                            "[[section]]\n"                     // 6
                            "name = \"B\"\n"                    // 7
                            "bars = 2\n"                        // 8
                            "key = \"C\"\n"                     // 9
                            "time-signature = \"7/8\"\n"        // 10
                            "chords = \"C . . . G . .\"\n"      // 11
                            "[[section]]\n"                     // 12
                            "name = \"C\"\n"                    // 13
                            "bars = 1\n"                        // 14
                            "chords = \"F\"\n");                // 15
    ASSERT_TRUE(song.mKey.has_value());
    EXPECT_EQ(song.mKey->mRoot, 9);
    ASSERT_EQ(song.mSections.size(), 3u);

    const auto& a = song.mSections[0];
    ASSERT_TRUE(a.mKey.has_value());
    EXPECT_EQ(a.mKey->mText, "Am"); // the song's
    ASSERT_EQ(a.mChords.size(), 4u);
    ExpectChord(a.mChords[3], 12.0, "F", 4, 0);

    // Its own key; two 7/8 bars of 3.5 beats, G on the fifth eighth.
    const auto& b = song.mSections[1];
    EXPECT_EQ(b.mKey->mText, "C");
    EXPECT_FALSE(b.mKey->mMinor);
    ASSERT_EQ(b.mChords.size(), 4u);
    ExpectChord(b.mChords[1], 2.0, "G", 1, 4);
    ExpectChord(b.mChords[2], 3.5, "C", 2, 0);

    // Section C keeps the 7/8 of B (a metre change holds), and the song's key.
    const auto& c = song.mSections[2];
    EXPECT_EQ(c.mKey->mText, "Am");
    EXPECT_FALSE(c.mTimeSignature.has_value());
    ASSERT_EQ(c.mChords.size(), 1u);
    ExpectChord(c.mChords[0], 0.0, "F", 1, 0);

    // No key and no chords: nothing.
    const TSong plain = Song("[[section]]\nname = \"A\"\nbars = 1\n");
    EXPECT_FALSE(plain.mKey.has_value());
    EXPECT_FALSE(plain.mSections[0].mKey.has_value());
    EXPECT_TRUE(plain.mSections[0].mChords.empty());
}

TEST(SongChords, MistakesNameSourceLineSectionAndBar)
{
    // Lines: 1 [[section]], 2 name, 3 bars, 4 and on as given.
    const auto section = [](const std::string& rest) { return "[[section]]\nname = \"Verse\"\nbars = 4\n" + rest; };
    EXPECT_EQ(SongError(section("key = \"C\"\nchords = \"C | Am | F G A | G\"\n")),
        "song.toml:5: section 'Verse' bar 3: 3 chords do not divide the bar's 4 beats");
    EXPECT_EQ(SongError(section("key = \"C\"\nchords = \"C | Am | F\"\n")),
        "song.toml:5: section 'Verse': the chart's 3 bars do not divide the section's 4 bars");
    EXPECT_EQ(SongError(section("chords = \"C | Am\"\n")),
        "song.toml:4: section 'Verse' has chords but no key (set key = \"C\" in the song or the section)");
    EXPECT_EQ(SongError(section("key = \"C\"\nchords = [\"C\"]\n")),
        "song.toml:5: chords of section 'Verse' must be text such as \"C | Am | F | G\"");
    EXPECT_EQ(SongError(section("key = \"H\"\n")),
        "song.toml:4: key 'H' is not a key (want e.g. \"C\", \"Am\", \"F# major\", \"Bb minor\", \"D dorian\")");
    EXPECT_EQ(SongError("key = 5\n" + section("")), "song.toml:1: key must be text such as \"C\" or \"A minor\"");
    EXPECT_EQ(SongError(section("chord = \"C\"\n")),
        "song.toml:4: unknown key 'chord' in section 'Verse' (did you mean 'chords'?)");
    // The metre the bar is counted in is the one in force: 3/4 from the song.
    EXPECT_EQ(SongError("time-signature = \"3/4\"\nkey = \"G\"\n" + section("chords = \"G D\"\n")),
        "song.toml:6: section 'Verse' bar 1: 2 chords do not divide the bar's 3 beats");
}

TEST(SongChords, TheDemoSong)
{
    std::string error;
    std::optional<TSong> song;
    {
        std::ifstream in(ZKGEN_SOURCE_DIR "/Content/Songs/demo.toml", std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        song = ParseSongText(text.str(), "demo.toml", error);
    }
    ASSERT_TRUE(song.has_value()) << error;
    ASSERT_EQ(song->mSections.size(), 6u);
    EXPECT_EQ(song->mKey->mText, "C");
    // Every section has chords through all its bars, the first on its one.
    for (const auto& s : song->mSections) {
        ASSERT_FALSE(s.mChords.empty()) << s.mName;
        EXPECT_EQ(s.mChords.front().mBeat, 0.0) << s.mName;
        EXPECT_EQ(s.mChords.back().mBar, s.mBars) << s.mName;
    }
    // The bridge in A minor, 6 bars of 7/8 with two chords each: the second
    // on the fifth eighth, 2 beats in; bar 6 starts at 5 * 3.5 = 17.5.
    const auto& bridge = song->mSections[3];
    EXPECT_EQ(bridge.mName, "Bridge");
    EXPECT_EQ(bridge.mKey->mRoot, 9);
    EXPECT_TRUE(bridge.mKey->mMinor);
    ASSERT_EQ(bridge.mChords.size(), 12u);
    ExpectChord(bridge.mChords[1], 2.0, "Em", 1, 4);
    ExpectChord(bridge.mChords[11], 19.5, "E", 6, 4);
    // The 6/8 outro: "F | G . . C . . | C | %" in bars of 3 beats.
    const auto& outro = song->mSections[5];
    EXPECT_EQ(outro.mKey->mText, "C");
    ASSERT_EQ(outro.mChords.size(), 5u);
    ExpectChord(outro.mChords[2], 4.5, "C", 2, 3);
    ExpectChord(outro.mChords[4], 9.0, "C", 4, 0);
}
