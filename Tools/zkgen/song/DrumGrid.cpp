#include "song/DrumGrid.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>
#include <sstream>

namespace zkgen::cli {

namespace {

// General MIDI drum notes in the order a drummer reads a chart: cymbals on
// top, kick at the bottom.
struct TRow {
    int mKey;
    const char* mName;
};
const TRow kRows[] = {{49, "Crash"}, {57, "Crash 2"}, {55, "Splash"}, {52, "China"}, {51, "Ride"}, {59, "Ride edge"},
    {53, "Ride bell"}, {46, "HH open"}, {42, "HH closed"}, {44, "HH pedal"}, {50, "Tom 1"}, {48, "Tom 2"},
    {47, "Tom 3"}, {45, "Tom 4"}, {43, "Floor 1"}, {41, "Floor 2"}, {40, "Rimshot"}, {38, "Snare"}, {37, "Side stick"},
    {39, "Clap"}, {54, "Tambourine"}, {70, "Maracas"}, {82, "Shaker"}, {56, "Cowbell"}, {75, "Claves"},
    {60, "Bongo hi"}, {61, "Bongo lo"}, {31, "Sticks"}, {36, "Kick"}, {35, "Kick 2"}};

std::string RowName(int key)
{
    for (const TRow& r : kRows)
        if (r.mKey == key)
            return r.mName;
    return "Note " + std::to_string(key);
}

int RowOrder(int key)
{
    for (size_t i = 0; i < std::size(kRows); ++i)
        if (kRows[i].mKey == key)
            return static_cast<int>(i);
    return static_cast<int>(std::size(kRows)) + key;
}

const char* LayerName(TPatternGraphType t)
{
    switch (t) {
    case TPatternGraphType_AccentFamily: return "family";
    case TPatternGraphType_AccentAddon: return "add-on";
    case TPatternGraphType_System: return "system";
    case TPatternGraphType_Fill: return "fill";
    case TPatternGraphType_Percussion: return "percussion";
    default: return "?";
    }
}

// The coarsest steps per beat on which every note of the bar lies.
int StepsPerBeat(const std::vector<const TNote*>& notes, double barStart)
{
    for (const int steps : {4, 3, 6, 8, 12, 16, 24}) {
        bool fits = true;
        for (const TNote* n : notes) {
            const double x = (n->mBeat - barStart) * steps;
            if (std::fabs(x - std::round(x)) > 0.02)
                fits = false;
        }
        if (fits)
            return steps;
    }
    return 24;
}

// Where the bar lines inside a bar go: after every quarter in a metre of
// quarters; in a metre of eighths after its groups as a drummer counts them
// (6/8 as 3+3, 7/8 as 2+2+3, 5/8 as 3+2).
std::set<int> GroupEnds(const TSongTimeSignature& sign, int perBeat, int steps)
{
    std::set<int> ends;
    if (sign.mDenominator == 8 && perBeat % 2 == 0) {
        const int perEighth = perBeat / 2;
        std::vector<int> groups;
        int n = sign.mNumerator;
        if (n % 3 == 0) {
            groups.assign(static_cast<size_t>(n / 3), 3);
        } else {
            for (; n > 3; n -= 2)
                groups.push_back(2);
            groups.push_back(n);
            if (sign.mNumerator == 5)
                groups = {3, 2};
        }
        int at = 0;
        for (const int g : groups)
            ends.insert(at += g * perEighth);
        return ends;
    }
    for (int i = perBeat; i <= steps; i += perBeat)
        ends.insert(i);
    ends.insert(steps);
    return ends;
}

std::string FormatNumber(double v)
{
    std::ostringstream s;
    s << v;
    return s.str();
}

} // namespace

char VelocityLetter(int velocity)
{
    if (velocity < 45)
        return 'g';
    if (velocity < 68)
        return 'p';
    if (velocity < 95)
        return 'x';
    if (velocity < 118)
        return 'X';
    return '!';
}

std::string DrumGridText(const TSongPerformance& performance, int maxBars)
{
    std::ostringstream out;
    std::vector<const TNote*> notes;
    // The kit's channel only: the bass plays on its own.
    for (const TTrack& t : performance.mPerformance.mTracks)
        for (const TNote& n : t.mNotes)
            if (n.mChannel == 9)
                notes.push_back(&n);
    std::stable_sort(notes.begin(), notes.end(), [](const TNote* a, const TNote* b) { return a->mBeat < b->mBeat; });

    int barNumber = 0;
    for (const TSectionPerformance& section : performance.mSections) {
        const double barLength = section.mTimeSignature.BarLength();
        for (int bar = 0; bar < section.mBars; ++bar) {
            if (maxBars >= 0 && barNumber >= maxBars)
                return out.str();
            ++barNumber;
            const double start = section.mStartBeat + bar * barLength;
            const double end = start + barLength;
            std::vector<const TNote*> inBar;
            for (const TNote* n : notes)
                if (n->mBeat >= start - 1e-6 && n->mBeat < end - 1e-6)
                    inBar.push_back(n);
            out << "Bar " << barNumber << "  " << section.mName << " " << bar + 1 << "/" << section.mBars << "  "
                << section.mTimeSignature.mNumerator << "/" << section.mTimeSignature.mDenominator << "  "
                << FormatNumber(section.mTempo) << " bpm\n";
            std::string played;
            for (const TPlayedPattern& p : section.mPatterns)
                if (p.mBeat < end - 1e-6 && p.mBeat + std::max(p.mLength, 1e-3) > start + 1e-6)
                    played += std::string(played.empty() ? "" : ", ") + LayerName(p.mLayer) + " " + p.mName;
            if (!played.empty())
                out << "  patterns: " << played << "\n";
            const int perBeat = StepsPerBeat(inBar, start);
            const int steps = static_cast<int>(std::lround(barLength * perBeat));
            const std::set<int> groupEnds = GroupEnds(section.mTimeSignature, perBeat, steps);
            std::map<int, std::string> rows; // row order -> cells
            std::map<int, int> keys;
            for (const TNote* n : inBar) {
                const int order = RowOrder(n->mKey);
                auto& cells = rows[order];
                if (cells.empty()) {
                    cells.assign(static_cast<size_t>(steps), '.');
                    keys[order] = n->mKey;
                }
                const int step = std::clamp(static_cast<int>(std::lround((n->mBeat - start) * perBeat)), 0, steps - 1);
                const char letter = VelocityLetter(n->mVelocity);
                // Of two notes on one cell the louder one shows.
                if (cells[static_cast<size_t>(step)] == '.' || std::string("gpxX!").find(letter)
                        > std::string("gpxX!").find(cells[static_cast<size_t>(step)]))
                    cells[static_cast<size_t>(step)] = letter;
            }
            for (const auto& [order, cells] : rows) {
                std::string name = RowName(keys[order]);
                name.resize(11, ' ');
                out << "  " << name << "|";
                for (int i = 0; i < steps; ++i) {
                    out << cells[static_cast<size_t>(i)];
                    if (groupEnds.count(i + 1))
                        out << "|";
                }
                out << "\n";
            }
            if (rows.empty())
                out << "  (silence)\n";
        }
    }
    return out.str();
}

} // namespace zkgen::cli
