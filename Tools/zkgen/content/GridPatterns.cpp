#include "content/GridPatterns.h"

#include <Generator/CGenEv.h>
#include <Generator/CGenEvs.h>
#include <Generator/CGenTypes.h>
#include <Generator/instruments/CGenInstTree.h>
#include <Generator/instruments/CGenInstTreeUid.h>
#include <Generator/patterns/CGenPattern.h>
#include <Generator/patterns/CGenPatternEdge.h>
#include <Generator/patterns/CGenPatternGraphBoost.h>
#include <Generator/timesig/CGenSignTime.h>
#include <Platform/ZKStrings.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

namespace zkgen::cli {

namespace {

// ----- text helpers

struct TSourceLine {
    int mNumber = 0;
    std::string mText;
};

// Bounds that keep a pattern within what the library archive loads again.
constexpr double kMaxBeats = 4096.0 * 4.0;
constexpr double kMaxRating = 1e6;
constexpr double kMaxTempo = 999.0;
constexpr int kMaxNumerator = CGenSignTime::kNom_ArchiveMax;
constexpr size_t kMaxCompoundParts = CGenSignTime::kCompoundParts_ArchiveMax;

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

std::string Trim(const std::string& s)
{
    return std::string(ZKTrimWhitespace(s));
}

// Lines with their comments cut off and blanks trimmed; empty lines stay, so
// that every line keeps its number. A comment starts with a "#" at the
// line's start or after a blank: the "#" of a sharp ("F#2") is no comment.
std::vector<TSourceLine> SplitLines(const std::string& text)
{
    std::vector<TSourceLine> lines;
    std::istringstream in(text);
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        size_t hash = line.find('#');
        while (hash != std::string::npos && hash > 0 && !IsBlank(line[hash - 1]))
            hash = line.find('#', hash + 1);
        if (hash != std::string::npos)
            line.erase(hash);
        lines.push_back({number, Trim(line)});
    }
    return lines;
}

std::vector<std::string> SplitWords(const std::string& s)
{
    std::vector<std::string> words;
    std::string word;
    for (const char c : s) {
        if (IsBlank(c)) {
            if (!word.empty())
                words.push_back(std::move(word));
            word.clear();
        } else {
            word += c;
        }
    }
    if (!word.empty())
        words.push_back(std::move(word));
    return words;
}

bool ParseInt(const std::string& s, int& out)
{
    if (s.empty())
        return false;
    const char* end = s.data() + s.size();
    const auto [ptr, ec] = std::from_chars(s.data(), end, out);
    return ec == std::errc() && ptr == end;
}

bool ParseNumber(const std::string& s, double& out)
{
    if (s.empty())
        return false;
    const char* end = s.data() + s.size();
    const auto [ptr, ec] = std::from_chars(s.data(), end, out);
    return ec == std::errc() && ptr == end && std::isfinite(out);
}

// "7.5", not "7.500000".
std::string NumberText(double v)
{
    std::ostringstream os;
    os << v;
    return os.str();
}

// ----- grid patterns

// What a row names: a kit piece (its hits one cell long) or an abstract note
// (its notes as long as their sustain cells).
enum class TGridKind { Drums, Pitched };

enum class THeaderKey {
    Time, Steps, Bars, Beats, Complexity, Intensity, Tempo, Rating, Target, Overlay, Info, Group
};

const std::pair<const char*, THeaderKey> kHeaderKeys[] = {{"time", THeaderKey::Time}, {"steps", THeaderKey::Steps},
    {"bars", THeaderKey::Bars}, {"beats", THeaderKey::Beats}, {"complexity", THeaderKey::Complexity},
    {"intensity", THeaderKey::Intensity}, {"tempo", THeaderKey::Tempo}, {"rating", THeaderKey::Rating},
    {"target", THeaderKey::Target}, {"overlay", THeaderKey::Overlay}, {"info", THeaderKey::Info},
    {"group", THeaderKey::Group}};

std::optional<THeaderKey> FindHeaderKey(const std::string& key)
{
    for (const auto& [name, k] : kHeaderKeys)
        if (key == name)
            return k;
    return std::nullopt;
}

// A pitched row's cell that holds the note begun before it one step longer.
constexpr char kSustainCell = '=';
constexpr int kSustainVelocity = -2;

// Velocity of a cell; 0 for a rest, -1 for a character that is no cell.
int CellVelocity(char c)
{
    switch (c) {
    case '.':
    case '-': return 0;
    case 'g': return 35;
    case 'p': return 55;
    case 'x': return 80;
    case 'X': return 105;
    case '!': return 125;
    default: return -1;
    }
}

struct TGridRow {
    int mLine = 0;
    std::string mLabel;
    int mMB1 = 0;           // drum rows: the kit piece's uid
    CAbstractNote mNote;    // pitched rows
    // Per cell: the velocity of a note beginning there, 0 for none.
    std::vector<int> mVelocities;
    // Per cell: the length in cells of the note beginning there; a drum hit
    // is one cell long, a pitched note as long as its sustains make it.
    std::vector<int> mLengths;
};


// One pattern while its lines are read.
struct TGridPatternDraft {
    std::string mName;
    int mLine = 0;
    std::set<THeaderKey> mGiven;
    CGenSignTime mSignTime = CGenSignTime(4, 2);
    int mSteps = 16;
    std::optional<int> mBars;
    std::optional<double> mBeats;
    int mBeatsLine = 0;
    float mComplexity = 50.0f;
    float mIntensity = 50.0f;
    std::optional<CGenRange<float>> mTempo;
    std::optional<float> mRating;
    std::optional<double> mTarget;
    int mTargetLine = 0;
    bool mOverlayAc = false;
    bool mOverlaySy = false;
    bool mOverlayPerc = false;
    std::string mInfo;
    uint8_t mGroup = CGenEv::kNoteGroupID_None;
    std::vector<TGridRow> mRows;
    // Cells every row holds; fixed by the first row when neither bars nor
    // beats give it.
    std::optional<size_t> mCellCount;

    double BarLength() const { return GenBarLengthInBeats(mSignTime.Nom(), mSignTime.Denom()); }
    double StepLength() const { return BarLength() / mSteps; }
};

// A row of cells rather than a header line: it starts with an abstract note,
// or its first bar line comes before any '=' (a sustain cell, or an info text
// that holds a bar line).
bool IsGridRowLine(const std::string& text)
{
    const size_t bar = text.find('|');
    return text.front() == '{' || (bar != std::string::npos && bar < text.find('='));
}

class TGridParser {
public:
    TGridParser(const std::string& fileName, const TDrumMapAliases& aliases, TGridKind kind)
        : mFileName(fileName), mAliases(aliases), mKind(kind)
    {
    }

    std::vector<CGenPattern> Parse(const std::string& text)
    {
        for (const TSourceLine& line : SplitLines(text)) {
            if (line.mText.empty())
                continue;
            const std::vector<std::string> words = SplitWords(line.mText);
            if (words.front() == "pattern" && line.mText.find('=') == std::string::npos)
                StartPattern(line, words);
            else if (IsGridRowLine(line.mText))
                ReadRow(line);
            else if (line.mText.find('=') != std::string::npos)
                ReadHeader(line);
            else
                ReadRow(line);
        }
        FinishPattern();
        return std::move(mPatterns);
    }

private:
    [[noreturn]] void Fail(int line, const std::string& message) const { throw TContentError(mFileName, line, message); }

    void StartPattern(const TSourceLine& line, const std::vector<std::string>& words)
    {
        FinishPattern();
        mCopy.reset();
        if (words.size() < 2)
            Fail(line.mNumber, "pattern without a name");
        // "pattern NAME like OTHER": the same music under a second name, for
        // a phrase that plays one bar at several places.
        if (words.size() == 4 && words[2] == "like") {
            StartCopy(line, words[1], words[3]);
            return;
        }
        // Phrases list names separated by blanks, so a name is one word.
        if (words.size() > 2)
            Fail(line.mNumber, std::string("pattern name '") + Trim(line.mText.substr(7)) + "' holds a blank");
        const std::string& name = words[1];
        const auto earlier = mNameLines.find(name);
        if (earlier != mNameLines.end())
            Fail(line.mNumber, std::string("pattern '") + name + "' is already defined in line "
                    + std::to_string(earlier->second));
        mNameLines[name] = line.mNumber;
        mDraft.emplace();
        mDraft->mName = name;
        mDraft->mLine = line.mNumber;
    }

    void StartCopy(const TSourceLine& line, const std::string& name, const std::string& original)
    {
        const auto earlier = mNameLines.find(name);
        if (earlier != mNameLines.end())
            Fail(line.mNumber, std::string("pattern '") + name + "' is already defined in line "
                    + std::to_string(earlier->second));
        const auto found = std::find_if(mPatterns.begin(), mPatterns.end(),
            [&](const CGenPattern& p) { return p.mName == original; });
        if (found == mPatterns.end())
            Fail(line.mNumber, std::string("pattern '") + name + "' is like '" + original
                    + "', which no earlier pattern of this file is called");
        mNameLines[name] = line.mNumber;
        CGenPattern copy = *found;
        copy.mName = name;
        mPatterns.push_back(std::move(copy));
        mCopy = name;
    }

    void RefuseLinesOfACopy(const TSourceLine& line) const
    {
        if (mCopy)
            Fail(line.mNumber, std::string("pattern '") + *mCopy + "' is a copy and takes no lines of its own");
    }

    void ReadHeader(const TSourceLine& line)
    {
        RefuseLinesOfACopy(line);
        const size_t eq = line.mText.find('=');
        const std::string key = Trim(line.mText.substr(0, eq));
        const std::string value = Trim(line.mText.substr(eq + 1));
        const std::optional<THeaderKey> k = FindHeaderKey(key);
        if (!k)
            Fail(line.mNumber, std::string("unknown header key '") + key + "'");
        if (!mDraft)
            Fail(line.mNumber, std::string("'") + key + "' comes before any pattern line");
        TGridPatternDraft& d = *mDraft;
        if (!d.mRows.empty())
            Fail(line.mNumber, std::string("header line '") + key + "' after the grid rows of pattern '" + d.mName
                    + "'");
        if (!d.mGiven.insert(*k).second)
            Fail(line.mNumber, std::string("'") + key + "' is given twice in pattern '" + d.mName + "'");
        if (*k == THeaderKey::Group && mKind != TGridKind::Pitched)
            Fail(line.mNumber, std::string("'") + key + "' belongs to pitched grids (bass, keys, guitar), not to drums");
        switch (*k) {
        case THeaderKey::Time: d.mSignTime = ParseSignTime(line.mNumber, value); break;
        case THeaderKey::Steps: d.mSteps = ParseCount(line.mNumber, key, value); break;
        case THeaderKey::Bars:
            if (d.mBeats)
                Fail(line.mNumber, "bars and beats exclude each other");
            d.mBars = ParseCount(line.mNumber, key, value);
            break;
        case THeaderKey::Beats: {
            if (d.mBars)
                Fail(line.mNumber, "bars and beats exclude each other");
            const double beats = ParseValue(line.mNumber, key, value);
            // The same bound as bars: 4096 bars of 4/4.
            if (!(beats > 0.0) || beats > kMaxBeats)
                Fail(line.mNumber, std::string("beats = ") + value + " lies outside 0 to " + NumberText(kMaxBeats));
            d.mBeats = beats;
            d.mBeatsLine = line.mNumber;
            break;
        }
        case THeaderKey::Complexity: d.mComplexity = ParsePercent(line.mNumber, key, value); break;
        case THeaderKey::Intensity: d.mIntensity = ParsePercent(line.mNumber, key, value); break;
        case THeaderKey::Tempo: d.mTempo = ParseTempo(line.mNumber, value); break;
        case THeaderKey::Rating: {
            // Stored as a float: a rating must stay a finite float to load again.
            const double rating = ParseValue(line.mNumber, key, value);
            if (!(std::fabs(rating) <= kMaxRating))
                Fail(line.mNumber, std::string("rating = ") + value + " lies outside -" + NumberText(kMaxRating) + " to "
                        + NumberText(kMaxRating));
            d.mRating = static_cast<float>(rating);
            break;
        }
        case THeaderKey::Target: {
            const double target = ParseValue(line.mNumber, key, value);
            if (target < 0.0)
                Fail(line.mNumber, std::string("target = ") + value + " lies before the bar");
            d.mTarget = target;
            d.mTargetLine = line.mNumber;
            break;
        }
        case THeaderKey::Overlay: ParseOverlay(line.mNumber, value, d); break;
        case THeaderKey::Info: d.mInfo = value; break;
        case THeaderKey::Group: {
            int group = 0;
            if (!ParseInt(value, group) || group < 0 || group > 255)
                Fail(line.mNumber, std::string("group = ") + value + " is no note group 0 to 255 (255: none)");
            d.mGroup = static_cast<uint8_t>(group);
            break;
        }
        }
    }

    void ReadRow(const TSourceLine& line)
    {
        RefuseLinesOfACopy(line);
        // The label runs to the first bar line, so that a path with a blank
        // in a name can be written; without bar lines it is the first word.
        std::string label;
        std::string cells;
        const size_t bar = line.mText.find('|');
        if (bar != std::string::npos) {
            label = Trim(line.mText.substr(0, bar));
            cells = line.mText.substr(bar);
        } else {
            const std::vector<std::string> words = SplitWords(line.mText);
            label = words.front();
            cells = line.mText.substr(line.mText.find(label) + label.size());
        }
        const bool pitched = mKind == TGridKind::Pitched;
        if (label.empty())
            Fail(line.mNumber, pitched ? "grid row without an abstract note" : "grid row without a kit piece");
        const auto alias = mAliases.find(label);
        if ((pitched || alias == mAliases.end()) && FindHeaderKey(label))
            Fail(line.mNumber, std::string("header line '") + label + "' lacks '='");
        if (!mDraft)
            Fail(line.mNumber, "grid row before any pattern line");
        TGridPatternDraft& d = *mDraft;

        TGridRow row;
        row.mLine = line.mNumber;
        row.mLabel = label;
        if (pitched) {
            row.mNote = ParseAbstractNote(line.mNumber, label);
        } else {
            const std::string& path = alias != mAliases.end() ? alias->second : label;
            const TInstTreeUid uid = GenDrumInstTreeV1().FindUidWithPath(path);
            if (uid == TInstTreeUid_Undef)
                Fail(line.mNumber, std::string("unknown kit piece or instrument path '") + label + "'");
            row.mMB1 = GenInstTreeUidToMB1(uid);
        }
        // The note that a sustain cell lengthens: its index, none after a rest.
        std::optional<size_t> open;
        for (size_t i = 0; i < cells.size(); ++i) {
            const char c = cells[i];
            if (IsBlank(c) || c == '|')
                continue;
            const int velocity = pitched && c == kSustainCell ? kSustainVelocity : CellVelocity(c);
            if (velocity < 0 && velocity != kSustainVelocity) {
                // A multi-byte character is quoted whole, not as its first byte.
                size_t end = i + 1;
                while ((static_cast<unsigned char>(c) & 0x80) && end < cells.size()
                    && (static_cast<unsigned char>(cells[end]) & 0xC0) == 0x80)
                    ++end;
                Fail(line.mNumber, std::string("cell '") + cells.substr(i, end - i) + "' is not one of . - g p x X !"
                        + (pitched ? " =" : ""));
            }
            if (velocity == kSustainVelocity) {
                if (!open)
                    Fail(line.mNumber, std::string("'=' in cell ") + std::to_string(row.mVelocities.size() + 1)
                            + " of row '" + label + "' follows no note to sustain");
                ++row.mLengths[*open];
                row.mVelocities.push_back(0);
                row.mLengths.push_back(0);
                continue;
            }
            open.reset();
            if (velocity > 0 && pitched)
                open = row.mVelocities.size();
            row.mVelocities.push_back(velocity);
            row.mLengths.push_back(velocity > 0 ? 1 : 0);
        }

        if (!d.mCellCount) {
            d.mCellCount = ExpectedCellCount(d);
            if (!d.mCellCount) {
                if (row.mVelocities.empty())
                    Fail(line.mNumber, std::string("row '") + label + "' holds no cells");
                d.mCellCount = row.mVelocities.size();
            }
        }
        if (row.mVelocities.size() != *d.mCellCount)
            Fail(line.mNumber, std::string("row '") + label + "' holds " + std::to_string(row.mVelocities.size())
                    + " cells, expected " + std::to_string(*d.mCellCount) + " (" + CellCountReason(d) + ")");
        d.mRows.push_back(std::move(row));
    }

    // The cells bars or beats ask for; none when neither is given.
    std::optional<size_t> ExpectedCellCount(const TGridPatternDraft& d) const
    {
        if (d.mBars)
            return static_cast<size_t>(d.mSteps) * static_cast<size_t>(*d.mBars);
        if (d.mBeats) {
            const double steps = *d.mBeats / d.StepLength();
            const double whole = std::round(steps);
            if (std::fabs(steps - whole) > 1e-6 || whole < 1.0)
                Fail(d.mBeatsLine, std::string("beats = ") + NumberText(*d.mBeats) + " is no whole number of steps of "
                        + NumberText(d.StepLength()) + " beats");
            return static_cast<size_t>(whole);
        }
        return std::nullopt;
    }

    std::string CellCountReason(const TGridPatternDraft& d) const
    {
        if (d.mBars)
            return std::to_string(d.mSteps) + " steps x " + std::to_string(*d.mBars) + " bars";
        if (d.mBeats)
            return NumberText(*d.mBeats) + " beats of " + std::to_string(d.mSteps) + " steps a bar";
        return std::string("as the first row of pattern '") + d.mName + "'";
    }

    void FinishPattern()
    {
        if (!mDraft)
            return;
        const TGridPatternDraft d = std::move(*mDraft);
        mDraft.reset();
        if (d.mRows.empty() && !d.mBars && !d.mBeats)
            Fail(d.mLine, std::string("pattern '") + d.mName + "' has no grid rows and no bars or beats to give its length");
        const double barLength = d.BarLength();
        if (d.mTarget && *d.mTarget > barLength)
            Fail(d.mTargetLine, std::string("target = ") + NumberText(*d.mTarget) + " lies beyond the bar of "
                    + NumberText(barLength) + " beats");
        const std::optional<size_t> cells = d.mCellCount ? d.mCellCount : ExpectedCellCount(d);
        const double length = d.mBars ? *d.mBars * barLength : (d.mBeats ? *d.mBeats : *cells * d.StepLength());

        CGenEvs evs(static_cast<float>(length));
        // InsertAtBeatPos keeps the list in the engine's event order: by
        // position, and notes at one position by their instrument code.
        for (const TGridRow& row : d.mRows)
            for (size_t step = 0; step < row.mVelocities.size(); ++step)
                if (row.mVelocities[step] > 0)
                    evs.InsertAtBeatPos(MakeEvent(d, row, step));

        CGenPattern pattern(d.mName, std::move(evs), CGenPatternCoordInt(d.mComplexity, d.mIntensity));
        pattern.mSignTime = d.mSignTime;
        if (d.mTempo)
            pattern.mTempoBPMRange = *d.mTempo;
        if (d.mRating)
            pattern.mMainPatternRating = *d.mRating;
        if (d.mTarget)
            pattern.mProperties.SetFloatValueForKey(*d.mTarget, kGenPatternProp_Fill_TargetEndBeatPos);
        // Start 0 without a length: the fill reader takes a missing length as
        // "to the fill's end", which stays right for a fill read shortened.
        if (d.mOverlayAc)
            pattern.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangeAcStart);
        if (d.mOverlaySy)
            pattern.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangeSyStart);
        if (d.mOverlayPerc)
            pattern.mProperties.SetFloatValueForKey(0.0, kGenPatternProp_Fill_OverlayRangePercStart);
        pattern.mInfo = d.mInfo;
        mPatterns.push_back(std::move(pattern));
    }

    CGenEv MakeEvent(const TGridPatternDraft& d, const TGridRow& row, size_t step) const
    {
        const float pos = static_cast<float>(static_cast<double>(step) * d.BarLength() / d.mSteps);
        const float length = static_cast<float>(row.mLengths[step] * d.StepLength());
        if (mKind == TGridKind::Drums)
            return CGenEv(pos, length, st_NoteOn, row.mMB1, row.mVelocities[step]);
        CGenEv ev(pos, length, row.mNote, d.mGroup);
        ev.mMB2 = row.mVelocities[step];
        return ev;
    }

    // The row label of a pitched grid. The note must read back as written, so
    // that a typo ("{1x}", "{5[+1}") is not played as some other note.
    CAbstractNote ParseAbstractNote(int line, const std::string& text) const
    {
        CAbstractNote note;
        const bool braced = text.size() >= 2 && text.front() == '{' && text.back() == '}';
        if (!braced || !note.SetFromString(text) || note.IsUndef())
            Fail(line, std::string("'") + text + "' is no abstract note (want e.g. {1}, {5}, {n1}, {1[+1]}, {n1[c-1]})");
        if (note.ToString() != text)
            Fail(line, std::string("malformed abstract note '") + text + "': it reads as " + note.ToString());
        return note;
    }

    CGenSignTime ParseSignTime(int line, const std::string& value) const
    {
        const auto bad = [&]() { Fail(line, std::string("bad time signature '") + value + "' (want e.g. 4/4, 7/8, 3+2+2/8)"); };
        const size_t slash = value.find('/');
        if (slash == std::string::npos)
            bad();
        int denom = 0;
        if (!ParseInt(Trim(value.substr(slash + 1)), denom))
            bad();
        int exponent = 0;
        while (exponent <= 6 && (1 << exponent) != denom)
            ++exponent;
        if (exponent > 6)
            bad();
        std::vector<uint8_t> parts;
        std::string rest = Trim(value.substr(0, slash));
        while (true) {
            const size_t plus = rest.find('+');
            int part = 0;
            if (!ParseInt(Trim(rest.substr(0, plus)), part) || part < 1 || part > 255)
                bad();
            parts.push_back(static_cast<uint8_t>(part));
            if (plus == std::string::npos)
                break;
            rest = rest.substr(plus + 1);
        }
        // The archive's bounds on a metre: a pattern that loads again.
        int numerator = 0;
        for (const uint8_t part : parts)
            numerator += part;
        if (numerator > kMaxNumerator || parts.size() > kMaxCompoundParts)
            Fail(line, std::string("time signature '") + value + "' has more than " + std::to_string(kMaxNumerator)
                    + " beats or " + std::to_string(kMaxCompoundParts) + " parts");
        if (parts.size() == 1)
            return CGenSignTime(parts.front(), exponent);
        return CGenSignTime(parts, exponent);
    }

    int ParseCount(int line, const std::string& key, const std::string& value) const
    {
        int n = 0;
        if (!ParseInt(value, n))
            Fail(line, std::string("bad number '") + value + "' for " + key);
        if (n < 1 || n > 4096)
            Fail(line, key + " = " + value + " lies outside 1..4096");
        return n;
    }

    double ParseValue(int line, const std::string& key, const std::string& value) const
    {
        double v = 0.0;
        if (!ParseNumber(value, v))
            Fail(line, std::string("bad number '") + value + "' for " + key);
        return v;
    }

    float ParsePercent(int line, const std::string& key, const std::string& value) const
    {
        const double v = ParseValue(line, key, value);
        if (v < 0.0 || v > 100.0)
            Fail(line, key + " = " + value + " lies outside 0..100");
        return static_cast<float>(v);
    }

    CGenRange<float> ParseTempo(int line, const std::string& value) const
    {
        const size_t dash = value.find('-');
        double lo = 0.0;
        double hi = 0.0;
        if (dash == std::string::npos || !ParseNumber(Trim(value.substr(0, dash)), lo)
            || !ParseNumber(Trim(value.substr(dash + 1)), hi) || !(lo > 0.0) || hi < lo || hi > kMaxTempo)
            Fail(line, std::string("bad tempo range '") + value + "' (want MIN-MAX in bpm up to "
                    + NumberText(kMaxTempo) + ", e.g. 60-180)");
        return CGenRange<float>(static_cast<float>(lo), static_cast<float>(hi));
    }

    void ParseOverlay(int line, const std::string& value, TGridPatternDraft& d) const
    {
        const std::vector<std::string> layers = SplitWords(value);
        if (layers.empty())
            Fail(line, "overlay names no layer (accents, systems, percussion)");
        for (const std::string& layer : layers) {
            if (layer == "accents")
                d.mOverlayAc = true;
            else if (layer == "systems")
                d.mOverlaySy = true;
            else if (layer == "percussion")
                d.mOverlayPerc = true;
            else
                Fail(line, std::string("unknown overlay layer '") + layer + "' (accents, systems, percussion)");
        }
    }

    const std::string& mFileName;
    const TDrumMapAliases& mAliases;
    const TGridKind mKind;
    std::optional<TGridPatternDraft> mDraft;
    // The name of the copy just made; lines after it belong to nothing.
    std::optional<std::string> mCopy;
    std::map<std::string, int> mNameLines;
    std::vector<CGenPattern> mPatterns;
};

// ----- phrases

constexpr size_t kMaxHistoryLength = 4;

// How often each target followed one history (oldest first, the last being
// the source).
using THistoryCounts = std::map<std::vector<int32_t>, std::map<int32_t, int>>;

} // namespace

std::vector<CGenPattern> ParseGridPatterns(const std::string& text, const std::string& fileName,
    const TDrumMapAliases& aliases)
{
    return TGridParser(fileName, aliases, TGridKind::Drums).Parse(text);
}

std::vector<CGenPattern> ParsePitchedGridPatterns(const std::string& text, const std::string& fileName)
{
    static const TDrumMapAliases none;
    return TGridParser(fileName, none, TGridKind::Pitched).Parse(text);
}

void TrainEdgesFromPhrases(const std::string& text, const std::string& fileName, CGenPatternGraphBoost& graph)
{
    std::vector<std::vector<int32_t>> phrases;
    // The line where each pattern first appears, for the error below.
    std::map<int32_t, int> firstLines;
    for (const TSourceLine& line : SplitLines(text)) {
        const std::vector<std::string> names = SplitWords(line.mText);
        if (names.empty())
            continue;
        std::vector<int32_t> phrase;
        for (const std::string& name : names) {
            const size_t ix = graph.FindPatternWithName(name);
            if (ix >= graph.PatternCount())
                throw TContentError(fileName, line.mNumber, std::string("unknown pattern '") + name + "'");
            phrase.push_back(static_cast<int32_t>(ix));
            firstLines.emplace(static_cast<int32_t>(ix), line.mNumber);
        }
        phrases.push_back(std::move(phrase));
    }

    // A phrase repeats, so one pass over it with indices taken modulo its
    // length sees every transition once with each of its histories; a
    // history longer than the phrase wraps round it more than once.
    THistoryCounts counts;
    for (const std::vector<int32_t>& phrase : phrases) {
        const size_t n = phrase.size();
        for (size_t i = 0; i < n; ++i) {
            const int32_t target = phrase[(i + 1) % n];
            for (size_t len = 1; len <= kMaxHistoryLength; ++len) {
                std::vector<int32_t> history(len);
                for (size_t k = 0; k < len; ++k)
                    history[k] = phrase[(i + n * kMaxHistoryLength + k + 1 - len) % n];
                ++counts[history][target];
            }
        }
    }
    std::map<std::vector<int32_t>, int> totals;
    for (const auto& [history, targets] : counts)
        for (const auto& [target, count] : targets)
            totals[history] += count;

    // Per (source, target): the history-free entry (the one-pattern history
    // without its pattern), then the histories longest first, each length in
    // ascending order of indices.
    std::map<std::pair<int32_t, int32_t>, CGenPatternEdge> edges;
    for (size_t len = kMaxHistoryLength; len >= 1; --len)
        for (const auto& [history, targets] : counts) {
            if (history.size() != len)
                continue;
            for (const auto& [target, count] : targets) {
                CGenProbHist entry;
                entry.mProbability = static_cast<float>(100.0 * count / totals[history]);
                entry.mHistory = history;
                CGenPatternEdge& edge = edges[{history.back(), target}];
                if (len == 1) {
                    CGenProbHist free = entry;
                    free.mHistory.clear();
                    edge.mProbHists.insert(edge.mProbHists.begin(), free);
                }
                edge.mProbHists.push_back(std::move(entry));
            }
        }

    // The probabilities of a pattern's out-edges only add up when one file's
    // counts made them all: a pattern that already leads somewhere (from an
    // earlier phrases file) can't take more edges from this one, and the
    // graph stays as it was.
    int clashLine = 0;
    int32_t clash = -1;
    for (const auto& [ix, firstLine] : firstLines)
        if (boost::out_degree(static_cast<size_t>(ix), graph.Graph()) > 0 && (clash < 0 || firstLine < clashLine)) {
            clash = ix;
            clashLine = firstLine;
        }
    if (clash >= 0)
        throw TContentError(fileName, clashLine, std::string("pattern '")
                + graph.PatternAtIx(static_cast<size_t>(clash)).mName
                + "' already has edges from another phrases file; give all phrases through it in one file");

    for (const auto& [ends, edge] : edges)
        graph.AddEdge(static_cast<size_t>(ends.first), static_cast<size_t>(ends.second), edge);
}

bool ParseNoteRangeText(const std::string& value, std::pair<int, int>& range, std::string& error)
{
    // The dash between the notes follows a digit (blanks between them
    // aside); one after a letter is the sign of an octave ("C-1").
    size_t dash = std::string::npos;
    for (size_t i = 1; i < value.size() && dash == std::string::npos; ++i) {
        size_t before = i;
        while (before > 0 && IsBlank(value[before - 1]))
            --before;
        if (value[i] == '-' && before > 0 && std::isdigit(static_cast<unsigned char>(value[before - 1])))
            dash = i;
    }
    if (dash == std::string::npos) {
        error = "'" + value + "' is no note range (want LOW-HIGH, e.g. E1-G3 with C4 = 60)";
        return false;
    }
    const std::pair<std::string, int*> ends[] = {{Trim(value.substr(0, dash)), &range.first},
        {Trim(value.substr(dash + 1)), &range.second}};
    for (const auto& [name, nr] : ends) {
        *nr = CGenEv::NoteNrFromNoteName(name, TShowNoteAs_NameC4);
        if (*nr < 0) {
            error = "unknown note '" + name + "' (want a name such as E1, F#2, Bb3 with C4 = 60, or a number 0 to 127)";
            return false;
        }
    }
    if (range.first > range.second) {
        error = "'" + value + "' runs downwards; give the lower note first";
        return false;
    }
    return true;
}

} // namespace zkgen::cli
