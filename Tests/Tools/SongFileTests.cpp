// The song file of `zkgen generate`: values read exactly, and every mistake
// reported on one line with the line it stands on.
#include "song/SongFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>

using zkgen::cli::ParseSongText;
using zkgen::cli::ParseTimeSignatureText;
using zkgen::cli::ReadSongFile;
using zkgen::cli::SongControlKeys;
using zkgen::cli::TSong;
using zkgen::cli::TSongTimeSignature;

namespace {

using TControls = std::map<std::string, double>;

// Lines are numbered in the comments on the right.
const char* const kFullSong = R"(title = "  Demo song "
genre = "Rock"
tempo = 112.5
time-signature = " 3 / 4 "

[controls]
complexity = 40
intensity = 50
fills = 50
kickEnabled = true

[[section]]
name = "Intro"
bars = 4
complexity = 20
intensity = 35

[[section]]
name = " Verse "
bars = 8
tempo = 120
time-signature = "7/8"
fills = 0
focus = 30
tempo-scale = 2
style = 0
kickEnabled = false
swing = 12.5

[[section]]
name = "Chorus"
bars = 16.0
tempo-scale = 0.5
snareEnabled = 75
kitpieceFocus = 60
hiHatAutomatic = true
)";
// Line 1 title, 4 time-signature, 6 [controls], 12 first [[section]],
// 18 second, 30 third.

TSong ParseValid(const std::string& text, const std::string& source = "song.toml")
{
    std::string error;
    const std::optional<TSong> song = ParseSongText(text, source, error);
    EXPECT_TRUE(song.has_value()) << error;
    return song.value_or(TSong{});
}

// The error of a text that must not parse.
std::string MistakeIn(const std::string& text)
{
    std::string error;
    const std::optional<TSong> song = ParseSongText(text, "song.toml", error);
    EXPECT_FALSE(song.has_value()) << "parsed: " << text;
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    return error;
}

// A song with one section "A" of 4 bars at lines 1-3; `extra` follows at line 4.
std::string OneSection(const std::string& extra)
{
    return std::string("[[section]]\nname = \"A\"\nbars = 4\n") + extra;
}

// Top-level keys in `head`, then one section "A" of 4 bars.
std::string SectionAfter(const std::string& head)
{
    return head + OneSection("");
}

std::string TimeSignatureError(const std::string& text)
{
    std::string error;
    const std::optional<TSongTimeSignature> signature = ParseTimeSignatureText(text, error);
    EXPECT_FALSE(signature.has_value()) << text;
    return error;
}

class SongFileOnDisk : public ::testing::Test {
protected:
    void SetUp() override
    {
        mDir = std::filesystem::temp_directory_path() / (std::string("zkgen_song_") + std::to_string(::getpid()));
        std::filesystem::create_directories(mDir);
    }
    void TearDown() override
    {
        std::error_code ec;
        std::filesystem::remove_all(mDir, ec);
    }
    std::string Write(const std::string& name, const std::string& text)
    {
        const std::filesystem::path path = mDir / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }
    std::filesystem::path mDir;
};

} // namespace

// ---- Valid songs ------------------------------------------------------------

TEST(SongFileParse, FullSongReadsEveryValue)
{
    const TSong song = ParseValid(kFullSong);
    EXPECT_EQ(song.mTitle, "Demo song"); // trimmed
    EXPECT_EQ(song.mGenre, "Rock");
    EXPECT_DOUBLE_EQ(song.mTempo, 112.5);
    EXPECT_EQ(song.mTimeSignature.mNumerator, 3);
    EXPECT_EQ(song.mTimeSignature.mDenominator, 4);
    ASSERT_EQ(song.mSections.size(), 3u);

    const auto& intro = song.mSections[0];
    EXPECT_EQ(intro.mName, "Intro");
    EXPECT_EQ(intro.mLine, 12);
    EXPECT_EQ(intro.mBars, 4);
    EXPECT_FALSE(intro.mTempo.has_value());
    EXPECT_FALSE(intro.mTimeSignature.has_value());
    EXPECT_DOUBLE_EQ(intro.mTempoScale, 1.0);
    EXPECT_EQ(intro.mStyle, -1);
    // Own complexity 20 and intensity 35 over the song's 40 and 50; fills 50
    // and kickEnabled true = 100 from [controls].
    EXPECT_EQ(intro.mControls, (TControls{{"complexity", 20}, {"intensity", 35}, {"fills", 50}, {"kickEnabled", 100}}));

    const auto& verse = song.mSections[1];
    EXPECT_EQ(verse.mName, "Verse"); // " Verse " trimmed
    EXPECT_EQ(verse.mLine, 18);
    EXPECT_EQ(verse.mBars, 8);
    ASSERT_TRUE(verse.mTempo.has_value());
    EXPECT_DOUBLE_EQ(*verse.mTempo, 120.0);
    ASSERT_TRUE(verse.mTimeSignature.has_value());
    EXPECT_EQ(verse.mTimeSignature->mNumerator, 7);
    EXPECT_EQ(verse.mTimeSignature->mDenominator, 8);
    EXPECT_DOUBLE_EQ(verse.mTempoScale, 2.0);
    EXPECT_EQ(verse.mStyle, 0);
    // complexity 40 and intensity 50 from [controls]; fills 0, focus 30 (as
    // kitpieceFocus), kickEnabled false = 0 and swing 12.5 its own.
    EXPECT_EQ(verse.mControls, (TControls{{"complexity", 40}, {"intensity", 50}, {"fills", 0}, {"kitpieceFocus", 30},
                                          {"kickEnabled", 0}, {"swing", 12.5}}));

    const auto& chorus = song.mSections[2];
    EXPECT_EQ(chorus.mName, "Chorus");
    EXPECT_EQ(chorus.mLine, 30);
    EXPECT_EQ(chorus.mBars, 16); // 16.0 is a whole number
    EXPECT_DOUBLE_EQ(chorus.mTempoScale, 0.5);
    EXPECT_EQ(chorus.mControls, (TControls{{"complexity", 40}, {"intensity", 50}, {"fills", 50}, {"kickEnabled", 100},
                                           {"snareEnabled", 75}, {"kitpieceFocus", 60}, {"hiHatAutomatic", 100}}));
}

TEST(SongFileParse, DefaultsForOptionalValues)
{
    const TSong song = ParseValid("[[section]]\nname = \"Only\"\nbars = 1\n", "songs/My Song.toml");
    EXPECT_EQ(song.mTitle, "My Song"); // the file's base name without extension
    EXPECT_EQ(song.mGenre, "DefaultGenre");
    EXPECT_DOUBLE_EQ(song.mTempo, 120.0);
    EXPECT_EQ(song.mTimeSignature.mNumerator, 4);
    EXPECT_EQ(song.mTimeSignature.mDenominator, 4);
    ASSERT_EQ(song.mSections.size(), 1u);
    EXPECT_EQ(song.mSections[0].mLine, 1);
    EXPECT_EQ(song.mSections[0].mBars, 1);
    EXPECT_TRUE(song.mSections[0].mControls.empty());
    EXPECT_DOUBLE_EQ(song.mSections[0].mTempoScale, 1.0);
    EXPECT_EQ(song.mSections[0].mStyle, -1);
}

TEST(SongFileParse, ControlsAfterTheSectionsStillMerge)
{
    const TSong song = ParseValid("[[section]]\nname = \"A\"\nbars = 2\nfocus = 10\n\n"
                                  "[controls]\nfocus = 70\ngroove = 5\n");
    ASSERT_EQ(song.mSections.size(), 1u);
    // The section's focus 10 wins over the song's 70; groove 5 comes from [controls].
    EXPECT_EQ(song.mSections[0].mControls, (TControls{{"kitpieceFocus", 10}, {"groove", 5}}));
}

TEST(SongFileParse, LimitsAreInclusive)
{
    const TSong song = ParseValid("tempo = 10\ntime-signature = \"64/32\"\n"
                                  "[[section]]\nname = \"A\"\nbars = 10000\ntempo = 999\ncomplexity = 0\n"
                                  "intensity = 100\nstyle = 7\ntempo-scale = 1\n");
    EXPECT_DOUBLE_EQ(song.mTempo, 10.0);
    EXPECT_EQ(song.mTimeSignature.mNumerator, 64);
    EXPECT_EQ(song.mTimeSignature.mDenominator, 32);
    ASSERT_EQ(song.mSections.size(), 1u);
    EXPECT_EQ(song.mSections[0].mBars, 10000);
    EXPECT_DOUBLE_EQ(*song.mSections[0].mTempo, 999.0);
    EXPECT_EQ(song.mSections[0].mStyle, 7);
    EXPECT_EQ(song.mSections[0].mControls, (TControls{{"complexity", 0}, {"intensity", 100}}));
}

TEST(SongFileParse, InlineSectionTables)
{
    const TSong song = ParseValid("title = \"T\"\nsection = [{name = \"A\", bars = 2}, {name = \"B\", bars = 3}]\n");
    ASSERT_EQ(song.mSections.size(), 2u);
    EXPECT_EQ(song.mSections[0].mName, "A");
    EXPECT_EQ(song.mSections[0].mLine, 2);
    EXPECT_EQ(song.mSections[1].mBars, 3);
}

TEST(SongFileParse, ControlKeysAreTheEnginesSpelling)
{
    const auto& keys = SongControlKeys();
    EXPECT_EQ(keys.size(), 21u);
    EXPECT_NE(std::find(keys.begin(), keys.end(), "kitpieceFocus"), keys.end());
    EXPECT_NE(std::find(keys.begin(), keys.end(), "masterInt"), keys.end());
    EXPECT_EQ(std::find(keys.begin(), keys.end(), "focus"), keys.end()); // an alias, not a key
}

// ---- Time signature text ----------------------------------------------------

TEST(SongTimeSignature, ValidTexts)
{
    std::string error;
    const auto spaced = ParseTimeSignatureText(" 7 / 8 ", error);
    ASSERT_TRUE(spaced.has_value()) << error;
    EXPECT_EQ(spaced->mNumerator, 7);
    EXPECT_EQ(spaced->mDenominator, 8);
    const auto whole = ParseTimeSignatureText("1/1", error);
    ASSERT_TRUE(whole.has_value()) << error;
    EXPECT_EQ(whole->mNumerator, 1);
    EXPECT_EQ(whole->mDenominator, 1);
    const auto leadingZero = ParseTimeSignatureText("05/016", error);
    ASSERT_TRUE(leadingZero.has_value()) << error;
    EXPECT_EQ(leadingZero->mNumerator, 5);
    EXPECT_EQ(leadingZero->mDenominator, 16);
}

TEST(SongTimeSignature, WrongNumerator)
{
    EXPECT_EQ(TimeSignatureError("65/4"), "time signature '65/4': the numerator must be 1 to 64");
    EXPECT_EQ(TimeSignatureError("0/4"), "time signature '0/4': the numerator must be 1 to 64");
    // Far beyond int: still the numerator, no overflow.
    EXPECT_EQ(TimeSignatureError(" 99999999999999999999/4 "),
              "time signature '99999999999999999999/4': the numerator must be 1 to 64");
}

TEST(SongTimeSignature, WrongDenominator)
{
    EXPECT_EQ(TimeSignatureError("4/5"), "time signature '4/5': the denominator must be 1, 2, 4, 8, 16 or 32");
    EXPECT_EQ(TimeSignatureError("4/0"), "time signature '4/0': the denominator must be 1, 2, 4, 8, 16 or 32");
    EXPECT_EQ(TimeSignatureError("4/64"), "time signature '4/64': the denominator must be 1, 2, 4, 8, 16 or 32");
}

TEST(SongTimeSignature, NotOfTheForm)
{
    for (const char* text : {"4-4", "x/4", "4/", "/4", "", "4/4/4", "-4/4", "4 4/4", "4.0/4", "+4/4"})
        EXPECT_EQ(TimeSignatureError(text), std::string("time signature '") + text + "' is not of the form N/D");
}

// ---- Mistakes ---------------------------------------------------------------

TEST(SongFileMistakes, SyntaxErrorUsesTheParsersPositionAndText)
{
    EXPECT_EQ(MistakeIn("title = \"x\"\ntempo = \n"),
              "song.toml:2: Error while parsing key-value pair: expected value, saw '\\n'");
    EXPECT_EQ(MistakeIn(OneSection("bars = 5\n")),
              "song.toml:4: Error while parsing key-value pair: cannot redefine existing integer 'bars'");
}

TEST(SongFileMistakes, UnknownKeys)
{
    EXPECT_EQ(MistakeIn("title = \"x\"\ncolour = \"red\"\n"), "song.toml:2: unknown top-level key 'colour'");
    EXPECT_EQ(MistakeIn("title = \"x\"\n\n[controls]\ncomplexity = 3\nbars = 4\n"),
              "song.toml:5: unknown key 'bars' in [controls]");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"Verse\"\nbars = 4\nloudness = 3\n"),
              "song.toml:4: unknown key 'loudness' in section 'Verse'");
    // Section-only keys are not controls.
    EXPECT_EQ(MistakeIn("[controls]\ntempo = 100\n"), "song.toml:2: unknown key 'tempo' in [controls]");
}

TEST(SongFileMistakes, UnknownKeysSuggestACloseSpelling)
{
    EXPECT_EQ(MistakeIn("[controls]\nkitPieceFocus = 3\n"),
              "song.toml:2: unknown key 'kitPieceFocus' in [controls] (did you mean 'kitpieceFocus'?)");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\nbar = 4\n"),
              "song.toml:3: unknown key 'bar' in section 'A' (did you mean 'bars'?)");
    EXPECT_EQ(MistakeIn(OneSection("tempo_scale = 2\n")),
              "song.toml:4: unknown key 'tempo_scale' in section 'A' (did you mean 'tempo-scale'?)");
    EXPECT_EQ(MistakeIn("timesignature = \"4/4\"\n"),
              "song.toml:1: unknown top-level key 'timesignature' (did you mean 'time-signature'?)");
}

TEST(SongFileMistakes, FirstMistakeInFileOrder)
{
    // "zeta" sorts after "alpha" but stands first in the file.
    EXPECT_EQ(MistakeIn(OneSection("zeta = 1\nalpha = 2\n")), "song.toml:4: unknown key 'zeta' in section 'A'");
}

TEST(SongFileMistakes, MissingOrEmptySections)
{
    EXPECT_EQ(MistakeIn(""), "song.toml:1: the song has no sections ([[section]])");
    EXPECT_EQ(MistakeIn("title = \"x\"\ntempo = 100\n"), "song.toml:1: the song has no sections ([[section]])");
    EXPECT_EQ(MistakeIn("title = \"x\"\nsection = []\n"), "song.toml:2: the song has no sections ([[section]])");
    EXPECT_EQ(MistakeIn("title = \"x\"\nsection = 5\n"),
              "song.toml:2: section must be an array of tables ([[section]])");
    EXPECT_EQ(MistakeIn("title = \"x\"\n[section]\nname = \"A\"\n"),
              "song.toml:2: section must be an array of tables ([[section]])");
    EXPECT_EQ(MistakeIn("section = [\n  {name = \"A\", bars = 1},\n  3,\n]\n"),
              "song.toml:3: section must be an array of tables ([[section]])");
}

TEST(SongFileMistakes, SectionNames)
{
    EXPECT_EQ(MistakeIn("title = \"x\"\n\n[[section]]\nbars = 4\n"),
              "song.toml:3: the section has no name (name = \"...\")");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"   \"\nbars = 4\n"),
              "song.toml:2: the name of a section must not be empty");
    EXPECT_EQ(MistakeIn("[[section]]\nname = 3\nbars = 4\n"), "song.toml:2: the name of a section must be text");
    // Lines 1 and 5 hold the tables; " Verse " is "Verse" once trimmed.
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"Verse\"\nbars = 4\n\n[[section]]\nname = \" Verse \"\nbars = 2\n"),
              "song.toml:5: section 'Verse' is named twice, at lines 1 and 5");
}

TEST(SongFileMistakes, Bars)
{
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\ntempo = 90\n"),
              "song.toml:1: section 'A' has no bars (bars = 1 to 10000)");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\nbars = 0\n"),
              "song.toml:3: bars 0 of section 'A' must be 1 to 10000");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\nbars = 10001\n"),
              "song.toml:3: bars 10001 of section 'A' must be 1 to 10000");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\nbars = -2\n"),
              "song.toml:3: bars -2 of section 'A' must be 1 to 10000");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\nbars = 4.5\n"),
              "song.toml:3: bars of section 'A' must be a whole number");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\nbars = \"4\"\n"),
              "song.toml:3: bars of section 'A' must be a whole number");
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"A\"\nbars = inf\n"),
              "song.toml:3: bars of section 'A' must be a whole number");
}

TEST(SongFileMistakes, Tempo)
{
    EXPECT_EQ(MistakeIn(SectionAfter("tempo = 9.5\n")), "song.toml:1: tempo 9.5 must be 10 to 999");
    EXPECT_EQ(MistakeIn(SectionAfter("tempo = 1000\n")), "song.toml:1: tempo 1000 must be 10 to 999");
    EXPECT_EQ(MistakeIn(SectionAfter("tempo = nan\n")), "song.toml:1: tempo nan must be 10 to 999");
    EXPECT_EQ(MistakeIn(SectionAfter("tempo = \"fast\"\n")), "song.toml:1: tempo must be a number of beats per minute");
    EXPECT_EQ(MistakeIn(OneSection("tempo = 5\n")), "song.toml:4: tempo 5 of section 'A' must be 10 to 999");
    EXPECT_EQ(MistakeIn(OneSection("tempo = true\n")),
              "song.toml:4: tempo of section 'A' must be a number of beats per minute");
}

TEST(SongFileMistakes, TimeSignatures)
{
    EXPECT_EQ(MistakeIn(SectionAfter("time-signature = \"65/4\"\n")),
              "song.toml:1: time signature '65/4': the numerator must be 1 to 64");
    EXPECT_EQ(MistakeIn(OneSection("time-signature = \"4/5\"\n")),
              "song.toml:4: time signature '4/5': the denominator must be 1, 2, 4, 8, 16 or 32");
    EXPECT_EQ(MistakeIn(OneSection("time-signature = \"4-4\"\n")),
              "song.toml:4: time signature '4-4' is not of the form N/D");
    EXPECT_EQ(MistakeIn(SectionAfter("time-signature = 4\n")),
              "song.toml:1: time-signature must be text such as \"4/4\"");
}

TEST(SongFileMistakes, TempoScaleAndStyle)
{
    EXPECT_EQ(MistakeIn("[[section]]\nname = \"Verse\"\nbars = 8\ntempo-scale = 3\n"),
              "song.toml:4: tempo-scale 3 of section 'Verse' must be 0.5, 1 or 2");
    EXPECT_EQ(MistakeIn(OneSection("tempo-scale = 1.5\n")),
              "song.toml:4: tempo-scale 1.5 of section 'A' must be 0.5, 1 or 2");
    EXPECT_EQ(MistakeIn(OneSection("tempo-scale = \"2\"\n")),
              "song.toml:4: tempo-scale of section 'A' must be 0.5, 1 or 2");
    EXPECT_EQ(MistakeIn(OneSection("style = -1\n")), "song.toml:4: style -1 of section 'A' must be 0 or more");
    EXPECT_EQ(MistakeIn(OneSection("style = 1.5\n")), "song.toml:4: style of section 'A' must be a whole number");
}

TEST(SongFile, SuperPatternSwitch)
{
    // Off unless a section asks; only true or false.
    const TSong song = ParseValid(OneSection("super-pattern = true\n"));
    ASSERT_EQ(song.mSections.size(), 1u);
    EXPECT_TRUE(song.mSections[0].mSuperPattern);
    EXPECT_FALSE(ParseValid(OneSection("")).mSections[0].mSuperPattern);
    EXPECT_EQ(MistakeIn(OneSection("super-pattern = 1\n")),
              "song.toml:4: super-pattern of section 'A' must be true or false");
}

TEST(SongFileMistakes, ControlValues)
{
    EXPECT_EQ(MistakeIn("[controls]\ncomplexity = 101\n"),
              "song.toml:2: complexity 101 in [controls] must be 0 to 100");
    EXPECT_EQ(MistakeIn(OneSection("intensity = -0.5\n")),
              "song.toml:4: intensity -0.5 of section 'A' must be 0 to 100");
    EXPECT_EQ(MistakeIn(OneSection("focus = 120\n")), "song.toml:4: focus 120 of section 'A' must be 0 to 100");
    // true/false only for the on/off controls.
    EXPECT_EQ(MistakeIn(OneSection("complexity = true\n")),
              "song.toml:4: complexity of section 'A' must be a number from 0 to 100");
    EXPECT_EQ(MistakeIn("[controls]\nkickEnabled = \"yes\"\n"),
              "song.toml:2: kickEnabled in [controls] must be a number from 0 to 100 or true/false");
    EXPECT_EQ(MistakeIn(SectionAfter("controls = 5\n")), "song.toml:1: controls must be a table ([controls])");
}

TEST(SongFileMistakes, AliasAndKeyTogether)
{
    // kitpieceFocus on line 4 comes first, focus on line 5 repeats it.
    EXPECT_EQ(MistakeIn(OneSection("kitpieceFocus = 10\nfocus = 20\n")),
              "song.toml:5: kitpieceFocus and focus of section 'A' both set kitpieceFocus; give only one");
    EXPECT_EQ(MistakeIn("[controls]\nfocus = 1\nkitpieceFocus = 2\n"),
              "song.toml:3: focus and kitpieceFocus in [controls] both set kitpieceFocus; give only one");
}

TEST(SongFileMistakes, TitleAndGenre)
{
    EXPECT_EQ(MistakeIn(SectionAfter("title = 5\n")), "song.toml:1: title must be text");
    EXPECT_EQ(MistakeIn(SectionAfter("title = \" \"\n")), "song.toml:1: title must not be empty");
    EXPECT_EQ(MistakeIn(SectionAfter("title = \"x\"\ngenre = \"\"\n")), "song.toml:2: genre must not be empty");
}

TEST(SongFileMistakes, ErrorNamesTheSource)
{
    std::string error;
    EXPECT_FALSE(ParseSongText("x = 1\n", "songs/demo.toml", error).has_value());
    EXPECT_EQ(error, "songs/demo.toml:1: unknown top-level key 'x'");
}

// ---- Files ------------------------------------------------------------------

TEST_F(SongFileOnDisk, ReadsAFileAndLeavesItAlone)
{
    const std::string path = Write("Ballad.toml", "tempo = 70\n[[section]]\nname = \"A\"\nbars = 2\n");
    const auto before = std::filesystem::last_write_time(path);
    std::string error;
    const std::optional<TSong> song = ReadSongFile(path, error);
    ASSERT_TRUE(song.has_value()) << error;
    EXPECT_EQ(song->mTitle, "Ballad");
    EXPECT_DOUBLE_EQ(song->mTempo, 70.0);
    ASSERT_EQ(song->mSections.size(), 1u);
    EXPECT_EQ(song->mSections[0].mBars, 2);

    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    EXPECT_EQ(content.str(), "tempo = 70\n[[section]]\nname = \"A\"\nbars = 2\n");
    EXPECT_EQ(std::filesystem::last_write_time(path), before);
}

TEST_F(SongFileOnDisk, MistakesNameThePath)
{
    const std::string path = Write("bad.toml", "[[section]]\nname = \"A\"\nbars = 0\n");
    std::string error;
    EXPECT_FALSE(ReadSongFile(path, error).has_value());
    EXPECT_EQ(error, path + ":3: bars 0 of section 'A' must be 1 to 10000");
}

TEST_F(SongFileOnDisk, MissingOrUnreadableFile)
{
    std::string error;
    const std::string missing = (mDir / "missing.toml").string();
    EXPECT_FALSE(ReadSongFile(missing, error).has_value());
    EXPECT_EQ(error, std::string("cannot read song file ") + missing + ": No such file or directory");

    error.clear();
    EXPECT_FALSE(ReadSongFile(mDir.string(), error).has_value());
    EXPECT_EQ(error, std::string("cannot read song file ") + mDir.string() + ": it is a directory");
}
