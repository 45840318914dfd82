#include "content/GrooveSource.h"

#include "content/ContentError.h"
#include "content/TomlKeys.h"

#include <cmath>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

namespace zkgen::cli {

namespace {

constexpr double kDefaultLength = 1.0;
constexpr double kDefaultGrid = 0.25;
// A loop of 64 bars of 4/4 at most, and no finer than 1/64 beat.
constexpr double kMaxLength = 256.0;
constexpr double kMinGrid = 1.0 / 64.0;
constexpr int kVelocityNone = 255;

// "0.25", not "0.250000".
std::string NumberText(double v)
{
    std::ostringstream os;
    os << v;
    return os.str();
}

// Whether `v` is a whole number, allowing for the binary fractions of a
// decimal text (1.2 / 0.4).
bool IsWhole(double v)
{
    return std::fabs(v - std::round(v)) < 1e-6;
}

class TGrooveReader {
public:
    explicit TGrooveReader(const std::string& fileName) : mFile(fileName) {}

    CGenGrooves Read(const toml::node& n) const
    {
        const toml::array* grooves = n.as_array();
        if (!grooves)
            Fail(n, "grooves must be an array of tables ([[grooves]])");
        CGenGrooves result;
        std::set<std::string> names;
        for (const toml::node& g : *grooves) {
            CGenGroove groove = Groove(g);
            if (!names.insert(groove.mName).second)
                Fail(g, "groove '" + groove.mName + "' is named twice");
            std::string report;
            if (!groove.CheckContentSanity("", report))
                Fail(g, "groove '" + groove.mName + "' fails the library's check: "
                        + report.substr(0, report.find('\n')));
            result.Add(groove);
        }
        return result;
    }

private:
    [[noreturn]] void Fail(const toml::node& at, const std::string& message) const
    {
        throw TContentError(mFile, static_cast<int>(at.source().begin.line), message);
    }

    double Number(const toml::node& n, const std::string& what) const
    {
        const std::optional<double> v = n.value<double>();
        if (!v || !std::isfinite(*v))
            Fail(n, what + " must be a number");
        return *v;
    }

    int Velocity(const toml::node& n, const std::string& what) const
    {
        if (!n.is_integer() || n.as_integer()->get() < 0 || n.as_integer()->get() > 127)
            Fail(n, what + " must be a whole number 0 to 127");
        return static_cast<int>(n.as_integer()->get());
    }

    CGenGroove Groove(const toml::node& n) const
    {
        const toml::table* t = n.as_table();
        if (!t)
            Fail(n, "grooves must be an array of tables ([[grooves]])");
        std::string unknown;
        if (const toml::node* v = FirstUnknownKey(*t, {"name", "tracks"}, unknown))
            Fail(*v, "unknown key '" + unknown + "' in a groove; it knows name and tracks");
        const toml::node* name = t->get("name");
        if (!name || !name->is_string() || name->as_string()->get().empty())
            Fail(name ? *name : n, "a groove needs a name (name = \"...\")");
        CGenGroove groove(name->as_string()->get());
        const std::string where = " of groove '" + groove.mName + "'";
        const toml::node* tracks = t->get("tracks");
        if (!tracks || !tracks->is_array() || tracks->as_array()->empty())
            Fail(tracks ? *tracks : n, "groove '" + groove.mName + "' needs tracks = [{ type = \"All\", ... }]");
        for (const toml::node& tn : *tracks->as_array()) {
            CGenGrooveTrack track = Track(tn, where);
            if (groove.TrackForType(track.mType) != groove.end())
                Fail(tn, std::string("a second '") + CGenGrooveTrack::TypeText(track.mType) + "' track" + where);
            groove.push_back(std::move(track));
        }
        return groove;
    }

    int TrackType(const toml::node& n, const std::string& where) const
    {
        if (n.is_string())
            for (int type = 1; *CGenGrooveTrack::TypeText(type) != '\0'; ++type)
                if (n.as_string()->get() == CGenGrooveTrack::TypeText(type))
                    return type;
        std::string known;
        for (int type = 1; *CGenGrooveTrack::TypeText(type) != '\0'; ++type)
            known += std::string(type > 1 ? ", " : "") + CGenGrooveTrack::TypeText(type);
        Fail(n, "unknown track type" + where + " (one of " + known + ")");
    }

    CGenGrooveTrack Track(const toml::node& n, const std::string& where) const
    {
        const toml::table* t = n.as_table();
        if (!t)
            Fail(n, "a track" + where + " must be a table { type = ..., ... }");
        std::string unknown;
        if (const toml::node* v = FirstUnknownKey(
                *t, {"type", "length", "elements", "grid", "swing", "shift", "velocities"}, unknown))
            Fail(*v, "unknown key '" + unknown + "' in a track" + where
                    + "; it knows type, length, elements, grid, swing, shift and velocities");
        const toml::node* type = t->get("type");
        if (!type)
            Fail(n, "a track" + where + " needs a type (type = \"All\")");
        CGenGrooveTrack track;
        track.mType = TrackType(*type, where);
        const std::string inTrack = " in the '" + std::string(CGenGrooveTrack::TypeText(track.mType)) + "' track" + where;

        double length = kDefaultLength;
        if (const toml::node* l = t->get("length")) {
            length = Number(*l, "length" + inTrack);
            if (!(length > 0.0) || length > kMaxLength)
                Fail(*l, "length = " + NumberText(length) + inTrack + " lies outside 0 to " + NumberText(kMaxLength)
                        + " beats");
        }
        track.mBeatLength = static_cast<float>(length);

        const toml::node* elements = t->get("elements");
        if (elements) {
            for (const char* key : {"grid", "swing", "shift", "velocities"})
                if (const toml::node* other = t->get(key))
                    Fail(*other, std::string(key) + inTrack
                            + " belongs to the grid shorthand; a track takes elements or the shorthand");
            Elements(*elements, length, inTrack, track);
        } else {
            GridElements(*t, length, inTrack, track);
        }
        return track;
    }

    // The elements as written.
    void Elements(const toml::node& n, double length, const std::string& inTrack, CGenGrooveTrack& track) const
    {
        const toml::array* elements = n.as_array();
        if (!elements || elements->empty())
            Fail(n, "elements" + inTrack + " must be a list of { source = ..., target = ... }");
        // The ends given, kept apart until the next element's source is known.
        std::vector<std::optional<double>> ends;
        for (const toml::node& e : *elements) {
            const toml::table* t = e.as_table();
            if (!t)
                Fail(e, "an element" + inTrack + " must be a table { source = ..., target = ... }");
            std::string unknown;
            if (const toml::node* v = FirstUnknownKey(*t, {"source", "end", "target", "velocity"}, unknown))
                Fail(*v, "unknown key '" + unknown + "' in an element" + inTrack
                        + "; it knows source, end, target and velocity");
            const toml::node* source = t->get("source");
            const toml::node* target = t->get("target");
            if (!source || !target)
                Fail(e, "an element" + inTrack + " needs a source and a target");
            const double s = Number(*source, "source" + inTrack);
            if (s < 0.0 || s >= length)
                Fail(*source, "source " + NumberText(s) + inTrack + " lies outside its loop of "
                        + NumberText(length) + " beats");
            if (!track.empty() && s <= track.back().mSourceBeatRange.mMin)
                Fail(*source, "source " + NumberText(s) + inTrack + " does not follow the element before it");
            const double to = Number(*target, "target" + inTrack);
            if (std::fabs(to - s) >= length)
                Fail(*target, "target " + NumberText(to) + inTrack + " lies a whole loop from its source");
            std::optional<double> end;
            if (const toml::node* en = t->get("end")) {
                end = Number(*en, "end" + inTrack);
                if (*end < s || *end > length)
                    Fail(*en, "end " + NumberText(*end) + inTrack + " lies outside source " + NumberText(s)
                            + " to the loop's end " + NumberText(length));
            }
            const toml::node* v = t->get("velocity");
            const int velocity = v ? Velocity(*v, "velocity" + inTrack) : kVelocityNone;
            track.push_back(CGenGrooveEl(static_cast<float>(s), 0.0f, static_cast<float>(to),
                static_cast<uint8_t>(velocity)));
            ends.push_back(end);
        }
        SetEnds(ends, length, track);
    }

    // The shorthand: an element at every grid step.
    void GridElements(const toml::table& t, double length, const std::string& inTrack, CGenGrooveTrack& track) const
    {
        double grid = kDefaultGrid;
        const toml::node* gridNode = t.get("grid");
        if (gridNode) {
            grid = Number(*gridNode, "grid" + inTrack);
            if (grid < kMinGrid || grid > length)
                Fail(*gridNode, "grid = " + NumberText(grid) + inTrack + " lies outside " + NumberText(kMinGrid)
                        + " to the loop's " + NumberText(length) + " beats");
        }
        const double stepsExact = length / grid;
        if (!IsWhole(stepsExact))
            Fail(gridNode ? *gridNode : t, "grid = " + NumberText(grid) + inTrack + " does not divide its loop of "
                    + NumberText(length) + " beats");
        const int steps = static_cast<int>(std::round(stepsExact));

        double swing = 0.5;
        if (const toml::node* s = t.get("swing")) {
            if (!gridNode)
                Fail(*s, "swing" + inTrack + " needs grid = 0.5 (eighths) or 0.25 (sixteenths)");
            swing = Number(*s, "swing" + inTrack);
            if (swing < 0.5 || swing >= 1.0)
                Fail(*s, "swing = " + NumberText(swing) + inTrack + " lies outside 0.5 (straight) to 1");
            if (steps % 2 != 0)
                Fail(*s, "swing" + inTrack + " pairs the grid's steps, and the loop holds " + std::to_string(steps)
                        + " of them");
        }
        double shift = 0.0;
        if (const toml::node* s = t.get("shift")) {
            shift = Number(*s, "shift" + inTrack);
            // More than half a step would be another grid position, not a feel.
            if (std::fabs(shift) >= grid / 2.0)
                Fail(*s, "shift = " + NumberText(shift) + inTrack + " is half a grid step or more");
        }
        std::vector<int> velocities;
        if (const toml::node* v = t.get("velocities")) {
            if (!v->is_array() || v->as_array()->empty())
                Fail(*v, "velocities" + inTrack + " must be a list of velocities 0 to 127");
            for (const toml::node& e : *v->as_array())
                velocities.push_back(Velocity(e, "a velocity" + inTrack));
            if (steps % static_cast<int>(velocities.size()) != 0)
                Fail(*v, std::to_string(velocities.size()) + " velocities" + inTrack + " do not divide the loop's "
                        + std::to_string(steps) + " steps");
        }

        std::vector<std::optional<double>> ends(static_cast<size_t>(steps));
        for (int k = 0; k < steps; ++k) {
            const double source = k * grid;
            // The second step of a pair lands at the swing ratio of the pair.
            const double played = k % 2 == 1 ? (k - 1) * grid + 2.0 * grid * swing : source;
            const int velocity = velocities.empty() ? kVelocityNone : velocities[static_cast<size_t>(k) % velocities.size()];
            track.push_back(CGenGrooveEl(static_cast<float>(source), 0.0f, static_cast<float>(played + shift),
                static_cast<uint8_t>(velocity)));
        }
        SetEnds(ends, length, track);
    }

    // An element captures up to its given end, or else up to the next
    // element's source, the last one to the loop's end.
    static void SetEnds(const std::vector<std::optional<double>>& ends, double length, CGenGrooveTrack& track)
    {
        for (size_t i = 0; i < track.size(); ++i) {
            const float next = i + 1 < track.size() ? track[i + 1].mSourceBeatRange.mMin : static_cast<float>(length);
            track[i].mSourceBeatRange.mMax = ends[i] ? static_cast<float>(*ends[i]) : next;
        }
    }

    std::string mFile;
};

} // namespace

CGenGrooves ReadGrooves(const toml::node& grooves, const std::string& fileName)
{
    return TGrooveReader(fileName).Read(grooves);
}

} // namespace zkgen::cli
