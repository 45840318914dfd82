#include "song/SongFile.h"
#include <Platform/ZKStrings.h>

#include <Generator/CGenGeneratorParams.h>

#include <toml++/toml.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace zkgen::cli {

namespace {

// The friendlier name users may write for kitpieceFocus.
constexpr const char* kFocusAlias = "focus";

constexpr double kMinTempo = 10.0;
constexpr double kMaxTempo = 999.0;
constexpr long long kMaxBars = 10000;

const std::vector<std::string> kTopLevelKeys = {"title", "genre", "tempo", "time-signature", "key", "controls",
    "section"};
const std::vector<std::string> kSectionKeys = {"name", "bars", "tempo", "time-signature", "tempo-scale", "style", "key",
    "super-pattern",
    "chords"};

// A mistake found while reading the parsed table; ParseSongText turns it into
// the one-line error. Throwing keeps the many readers below free of plumbing.
struct TSongMistake {
    int mLine = 0;
    std::string mMessage;
};

int LineOf(const toml::node& node)
{
    return static_cast<int>(node.source().begin.line);
}

[[noreturn]] void Fail(const toml::node& node, std::string message)
{
    throw TSongMistake{LineOf(node), std::move(message)};
}

std::string Trimmed(std::string_view text)
{
    return std::string(ZKTrimWhitespace(text));
}

std::string NumberText(double value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return std::string(buffer, result.ptr);
}

// A number as the user wrote it, for messages: integers stay integers.
std::string ValueText(const toml::node& node)
{
    if (const auto* integer = node.as_integer())
        return std::to_string(integer->get());
    if (const auto* real = node.as_floating_point())
        return NumberText(real->get());
    return "?";
}

std::optional<double> NumberOf(const toml::node& node)
{
    if (const auto* integer = node.as_integer())
        return static_cast<double>(integer->get());
    if (const auto* real = node.as_floating_point())
        return real->get();
    return std::nullopt;
}

// 4.0 counts as a whole number: TOML tells the two apart, users don't.
std::optional<long long> WholeNumberOf(const toml::node& node)
{
    if (const auto* integer = node.as_integer())
        return integer->get();
    if (const auto* real = node.as_floating_point()) {
        const double value = real->get();
        if (std::isfinite(value) && std::floor(value) == value && std::fabs(value) < 1e15)
            return static_cast<long long>(value);
    }
    return std::nullopt;
}

std::string TextOf(const toml::node& node, const std::string& what)
{
    const auto* text = node.as_string();
    if (text == nullptr)
        Fail(node, what + " must be text");
    std::string trimmed = Trimmed(text->get());
    if (trimmed.empty())
        Fail(node, what + " must not be empty");
    return trimmed;
}

double TempoOf(const toml::node& node, const std::string& where)
{
    const std::optional<double> tempo = NumberOf(node);
    if (!tempo)
        Fail(node, std::string("tempo") + where + " must be a number of beats per minute");
    if (!(*tempo >= kMinTempo && *tempo <= kMaxTempo))
        Fail(node, std::string("tempo ") + ValueText(node) + where + " must be 10 to 999");
    return *tempo;
}

TSongTimeSignature TimeSignatureOf(const toml::node& node, const std::string& where)
{
    const auto* text = node.as_string();
    if (text == nullptr)
        Fail(node, std::string("time-signature") + where + " must be text such as \"4/4\"");
    std::string error;
    const std::optional<TSongTimeSignature> signature = ParseTimeSignatureText(text->get(), error);
    if (!signature)
        Fail(node, error);
    return *signature;
}

TSongKey KeyOf(const toml::node& node)
{
    const auto* text = node.as_string();
    if (text == nullptr)
        Fail(node, "key must be text such as \"C\" or \"A minor\"");
    std::string error;
    const std::optional<TSongKey> key = ParseKeyText(text->get(), error);
    if (!key)
        Fail(node, error);
    return *key;
}

// Case-insensitive edit distance, for the "did you mean" of unknown keys.
size_t KeyDistance(const std::string& a, const std::string& b)
{
    std::vector<size_t> previous(b.size() + 1);
    std::vector<size_t> current(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        previous[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                              std::tolower(static_cast<unsigned char>(b[j - 1]));
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + (same ? 0 : 1)});
        }
        std::swap(previous, current);
    }
    return previous[b.size()];
}

const std::vector<std::string>& ControlKeysWithAlias()
{
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> all = SongControlKeys();
        all.emplace_back(kFocusAlias);
        return all;
    }();
    return keys;
}

// " (did you mean 'x'?)" for a known key within a typo or two, else empty.
std::string DidYouMean(const std::string& key, const std::vector<const std::vector<std::string>*>& knownLists)
{
    // Short keys get less slack, or "bar" would suggest half the list.
    const size_t allowed = key.size() <= 4 ? 1 : 2;
    std::string best;
    size_t bestDistance = allowed + 1;
    for (const auto* known : knownLists) {
        for (const std::string& candidate : *known) {
            const size_t distance = KeyDistance(key, candidate);
            if (distance < bestDistance) {
                bestDistance = distance;
                best = candidate;
            }
        }
    }
    return best.empty() ? std::string() : std::string(" (did you mean '") + best + "'?)";
}

// The engine's key of a control key as written, or empty for an unknown key.
std::string ControlKeyFor(const std::string& key)
{
    if (key == kFocusAlias)
        return CGenGeneratorParamsRegion::kKitPieceFocus;
    const auto& keys = SongControlKeys();
    return std::find(keys.begin(), keys.end(), key) != keys.end() ? key : std::string();
}

// The on/off controls read true and false as 100 and 0.
bool IsSwitchKey(const std::string& key)
{
    auto endsWith = [&key](std::string_view suffix) {
        return key.size() >= suffix.size() && key.compare(key.size() - suffix.size(), suffix.size(), suffix) == 0;
    };
    return endsWith("Enabled") || endsWith("Automatic");
}

// Reads one control into `controls`; `where` is " in [controls]" or " of section 'X'".
void ReadControl(const std::string& writtenKey, const toml::node& node, const std::string& where,
                 std::map<std::string, double>& controls, std::map<std::string, std::string>& writtenAs)
{
    const std::string key = ControlKeyFor(writtenKey);
    const bool isSwitch = IsSwitchKey(key);
    double value = 0.0;
    if (const auto* flag = node.as_boolean(); flag != nullptr && isSwitch) {
        value = flag->get() ? 100.0 : 0.0;
    } else {
        const std::optional<double> number = NumberOf(node);
        if (!number)
            Fail(node, writtenKey + where + " must be a number from 0 to 100" + (isSwitch ? " or true/false" : ""));
        if (!(*number >= 0.0 && *number <= 100.0))
            Fail(node, writtenKey + " " + ValueText(node) + where + " must be 0 to 100");
        value = *number;
    }
    if (const auto earlier = writtenAs.find(key); earlier != writtenAs.end())
        Fail(node, earlier->second + " and " + writtenKey + where + " both set " + key + "; give only one");
    writtenAs[key] = writtenKey;
    controls[key] = value;
}

// A table's entries in the order of the file, so that the first mistake
// reported is the first one the user sees; toml++ keeps them sorted by key.
std::vector<std::pair<std::string, const toml::node*>> EntriesInFileOrder(const toml::table& table)
{
    std::vector<std::pair<std::string, const toml::node*>> entries;
    for (const auto& [key, node] : table)
        entries.emplace_back(std::string(key.str()), &node);
    std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        const toml::source_position& pa = a.second->source().begin;
        const toml::source_position& pb = b.second->source().begin;
        return pa.line != pb.line ? pa.line < pb.line : pa.column < pb.column;
    });
    return entries;
}

std::map<std::string, double> ReadControlsTable(const toml::node& node)
{
    const auto* table = node.as_table();
    if (table == nullptr)
        Fail(node, "controls must be a table ([controls])");
    std::map<std::string, double> controls;
    std::map<std::string, std::string> writtenAs;
    for (const auto& [key, value] : EntriesInFileOrder(*table)) {
        if (ControlKeyFor(key).empty())
            Fail(*value, std::string("unknown key '") + key + "' in [controls]" +
                             DidYouMean(key, {&ControlKeysWithAlias()}));
        ReadControl(key, *value, " in [controls]", controls, writtenAs);
    }
    return controls;
}

// The section's chart against its metre, repeated through its bars.
std::vector<TSongChord> ChordsOf(const toml::node& node, const TSongSection& section,
    const TSongTimeSignature& signature)
{
    const auto* text = node.as_string();
    if (text == nullptr)
        Fail(node, std::string("chords of section '") + section.mName + "' must be text such as \"C | Am | F | G\"");
    if (!section.mKey)
        Fail(node, std::string("section '") + section.mName
                + "' has chords but no key (set key = \"C\" in the song or the section)");
    TChordChartError error;
    std::optional<std::vector<TSongChord>> chords = ParseChordChart(text->get(), section.mBars, signature, error);
    if (!chords)
        Fail(node, std::string("section '") + section.mName + "'"
                + (error.mBar > 0 ? " bar " + std::to_string(error.mBar) : std::string()) + ": " + error.mMessage);
    return std::move(*chords);
}

// `signature` is the metre in force where the section starts.
TSongSection ReadSection(const toml::table& table, const std::map<std::string, double>& songControls,
    const std::optional<TSongKey>& songKey, const TSongTimeSignature& signature)
{
    TSongSection section;
    section.mLine = LineOf(table);
    const toml::node* nameNode = table.get("name");
    if (nameNode == nullptr)
        Fail(table, "the section has no name (name = \"...\")");
    section.mName = TextOf(*nameNode, "the name of a section");

    const std::string where = std::string(" of section '") + section.mName + "'";
    std::map<std::string, double> ownControls;
    std::map<std::string, std::string> writtenAs;
    bool hasBars = false;
    const toml::node* chordsNode = nullptr;
    for (const auto& [key, value] : EntriesInFileOrder(table)) {
        const toml::node& node = *value;
        if (key == "name")
            continue;
        if (key == "bars") {
            const std::optional<long long> bars = WholeNumberOf(node);
            if (!bars)
                Fail(node, std::string("bars") + where + " must be a whole number");
            if (*bars < 1 || *bars > kMaxBars)
                Fail(node, std::string("bars ") + std::to_string(*bars) + where + " must be 1 to 10000");
            section.mBars = static_cast<int>(*bars);
            hasBars = true;
        } else if (key == "tempo") {
            section.mTempo = TempoOf(node, where);
        } else if (key == "time-signature") {
            section.mTimeSignature = TimeSignatureOf(node, where);
        } else if (key == "tempo-scale") {
            const std::optional<double> scale = NumberOf(node);
            if (!scale)
                Fail(node, std::string("tempo-scale") + where + " must be 0.5, 1 or 2");
            if (*scale != 0.5 && *scale != 1.0 && *scale != 2.0)
                Fail(node, std::string("tempo-scale ") + ValueText(node) + where + " must be 0.5, 1 or 2");
            section.mTempoScale = *scale;
        } else if (key == "style") {
            const std::optional<long long> style = WholeNumberOf(node);
            if (!style)
                Fail(node, std::string("style") + where + " must be a whole number");
            if (*style < 0 || *style > INT_MAX)
                Fail(node, std::string("style ") + std::to_string(*style) + where + " must be 0 or more");
            section.mStyle = static_cast<int>(*style);
        } else if (key == "super-pattern") {
            if (!node.is_boolean())
                Fail(node, std::string("super-pattern") + where + " must be true or false");
            section.mSuperPattern = node.as_boolean()->get();
        } else if (key == "key") {
            section.mKey = KeyOf(node);
        } else if (key == "chords") {
            chordsNode = &node;
        } else if (!ControlKeyFor(key).empty()) {
            ReadControl(key, node, where, ownControls, writtenAs);
        } else {
            Fail(node, std::string("unknown key '") + key + "' in section '" + section.mName + "'" +
                           DidYouMean(key, {&kSectionKeys, &ControlKeysWithAlias()}));
        }
    }
    if (!hasBars)
        Fail(table, std::string("section '") + section.mName + "' has no bars (bars = 1 to 10000)");
    if (!section.mKey)
        section.mKey = songKey;
    // The chart waits for the bars and the key, wherever they stand.
    if (chordsNode != nullptr)
        section.mChords = ChordsOf(*chordsNode, section, section.mTimeSignature.value_or(signature));

    // The section's own values win over the song's defaults.
    section.mControls = songControls;
    for (const auto& [key, value] : ownControls)
        section.mControls[key] = value;
    return section;
}

TSong ReadSong(const toml::table& root, const std::string& sourceName)
{
    TSong song;
    song.mTitle = std::filesystem::path(sourceName).stem().string();
    std::map<std::string, double> songControls;
    const toml::node* sectionsNode = nullptr;

    for (const auto& [key, value] : EntriesInFileOrder(root)) {
        const toml::node& node = *value;
        if (key == "title")
            song.mTitle = TextOf(node, "title");
        else if (key == "genre")
            song.mGenre = TextOf(node, "genre");
        else if (key == "tempo")
            song.mTempo = TempoOf(node, "");
        else if (key == "time-signature")
            song.mTimeSignature = TimeSignatureOf(node, "");
        else if (key == "key")
            song.mKey = KeyOf(node);
        else if (key == "controls")
            songControls = ReadControlsTable(node);
        else if (key == "section")
            sectionsNode = &node;
        else
            Fail(node, std::string("unknown top-level key '") + key + "'" + DidYouMean(key, {&kTopLevelKeys}));
    }

    // Sections come last: they merge the song's [controls], wherever that
    // table stands in the file.
    if (sectionsNode == nullptr)
        throw TSongMistake{1, "the song has no sections ([[section]])"};
    const auto* sections = sectionsNode->as_array();
    if (sections == nullptr)
        Fail(*sectionsNode, "section must be an array of tables ([[section]])");
    if (sections->empty())
        Fail(*sectionsNode, "the song has no sections ([[section]])");

    std::map<std::string, int> lineOfName;
    // A metre change holds until the next one.
    TSongTimeSignature signature = song.mTimeSignature;
    for (const toml::node& element : *sections) {
        const auto* table = element.as_table();
        if (table == nullptr)
            Fail(element, "section must be an array of tables ([[section]])");
        TSongSection section = ReadSection(*table, songControls, song.mKey, signature);
        signature = section.mTimeSignature.value_or(signature);
        const auto [earlier, isNew] = lineOfName.emplace(section.mName, section.mLine);
        if (!isNew)
            Fail(*table, std::string("section '") + section.mName + "' is named twice, at lines " +
                             std::to_string(earlier->second) + " and " + std::to_string(section.mLine));
        song.mSections.push_back(std::move(section));
    }
    return song;
}

// The digits of a time signature's part; nullopt for anything else. Large
// values stop growing at a bound far above every valid one.
std::optional<int> TimeSignaturePart(const std::string& text)
{
    if (text.empty())
        return std::nullopt;
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = std::min(value * 10 + (c - '0'), 1000000);
    }
    return value;
}

// ----- chord charts

constexpr const char* kHold = ".";
constexpr const char* kRepeatBar = "%";

// The length of the UTF-8 sequence that starts at `i` (1 for a lone byte).
size_t Utf8Length(const std::string& text, size_t i)
{
    size_t end = i + 1;
    while ((static_cast<unsigned char>(text[i]) & 0x80) && end < text.size()
        && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        ++end;
    return end - i;
}

// The first character of `token` that no chord name has, or empty. Names
// use letters, digits, # b + - / ( ) ^ , and the signs of diminished,
// half-diminished, major seventh, flat and sharp.
std::string ForeignCharacterOf(const std::string& token)
{
    static const std::string kSigns[] = {"\u00B0", "\u00F8", "\u0394", "\u266D", "\u266F"};
    for (size_t i = 0; i < token.size();) {
        const size_t length = Utf8Length(token, i);
        const std::string c = token.substr(i, length);
        const unsigned char first = static_cast<unsigned char>(c[0]);
        const bool ascii = length == 1 && first < 0x80
            && (std::isalnum(first) || std::string_view("#+-/()^,").find(c[0]) != std::string_view::npos);
        if (!ascii && std::find(std::begin(kSigns), std::end(kSigns), c) == std::end(kSigns))
            return c;
        i += length;
    }
    return {};
}

std::vector<std::string> SplitBlanks(const std::string& text)
{
    std::vector<std::string> words;
    std::istringstream in(text);
    std::string word;
    while (in >> word)
        words.push_back(word);
    return words;
}

} // namespace

const std::vector<std::string>& SongControlKeys()
{
    using P = CGenGeneratorParamsRegion;
    static const std::vector<std::string> keys = {
        P::kComplexity,     P::kComplexityForFills, P::kIntensity,      P::kAccentVariation,
        P::kKitPieceFocus,  P::kSystemVariation,    P::kPercInstrument, P::kPercVariation,
        P::kFills,          P::kSwing,              P::kSwingType,      P::kGroove,
        P::kDynamics,       P::kHiHat,              P::kHiHatAutomatic, P::kKickEnabled,
        P::kSnareEnabled,   P::kSystemsEnabled,     P::kFillLockEnabled, P::kMasterComplexity,
        P::kMasterIntensity,
    };
    return keys;
}

std::optional<TSongTimeSignature> ParseTimeSignatureText(const std::string& text, std::string& error)
{
    const std::string shown = Trimmed(text);
    const std::string prefix = std::string("time signature '") + shown + "'";
    const size_t slash = shown.find('/');
    std::optional<int> numerator;
    std::optional<int> denominator;
    if (slash != std::string::npos) {
        numerator = TimeSignaturePart(Trimmed(std::string_view(shown).substr(0, slash)));
        denominator = TimeSignaturePart(Trimmed(std::string_view(shown).substr(slash + 1)));
    }
    if (!numerator || !denominator) {
        error = prefix + " is not of the form N/D";
        return std::nullopt;
    }
    if (*numerator < 1 || *numerator > 64) {
        error = prefix + ": the numerator must be 1 to 64";
        return std::nullopt;
    }
    const int d = *denominator;
    if (d != 1 && d != 2 && d != 4 && d != 8 && d != 16 && d != 32) {
        error = prefix + ": the denominator must be 1, 2, 4, 8, 16 or 32";
        return std::nullopt;
    }
    return TSongTimeSignature{*numerator, *denominator};
}

std::optional<TSongKey> ParseKeyText(const std::string& text, std::string& error)
{
    const std::string shown = Trimmed(text);
    error = std::string("key '") + shown
        + "' is not a key (want e.g. \"C\", \"Am\", \"F# major\", \"Bb minor\", \"D dorian\")";
    // The engine reads keys with an upper-case letter; a song may write "bbm".
    std::string upper = shown;
    if (!upper.empty())
        upper[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(upper[0])));
    TSongKey key;
    key.mSignKey = SignKeyFromString(upper);
    // A key's root has one accidental at most: "C##" is no key signature.
    size_t rootLength = 0;
    KeyEnhFromString(upper, &rootLength);
    if (key.mSignKey.IsUndef() || rootLength > 2)
        return std::nullopt;
    key.mText = shown;
    key.mRoot = key.mSignKey.RootKeyEnh().mKeyNr;
    key.mMinor = SignKeyTypeIsMinorLike(key.mSignKey.SignKeyType());
    error.clear();
    return key;
}

std::optional<std::vector<TSongChord>> ParseChordChart(const std::string& text, int bars,
    const TSongTimeSignature& signature, TChordChartError& error)
{
    const auto fail = [&error](int bar, std::string message) {
        error = TChordChartError{bar, std::move(message)};
        return std::nullopt;
    };
    // Bar lines at the chart's ends only frame it.
    const size_t first = text.find_first_not_of(" \t\r\n|");
    if (first == std::string::npos)
        return fail(0, "the chord chart holds no bar");
    const std::string framed = text.substr(first, text.find_last_not_of(" \t\r\n|") + 1 - first);

    // Each bar's tokens with "%" resolved.
    std::vector<std::vector<std::string>> chart;
    size_t start = 0;
    while (start <= framed.size()) {
        const size_t end = std::min(framed.find('|', start), framed.size());
        const int bar = static_cast<int>(chart.size()) + 1;
        std::vector<std::string> tokens = SplitBlanks(framed.substr(start, end - start));
        start = end + 1;
        if (tokens.empty())
            return fail(bar, "the bar holds no chord (write % to repeat the bar before it)");
        if (std::find(tokens.begin(), tokens.end(), kRepeatBar) != tokens.end()) {
            if (tokens.size() > 1)
                return fail(bar, "% repeats a whole bar and stands alone in it");
            if (chart.empty())
                return fail(bar, "% has no bar before it to repeat");
            tokens = chart.back();
        }
        const int units = signature.mNumerator;
        const int count = static_cast<int>(tokens.size());
        if (units % count != 0)
            return fail(bar, std::to_string(count) + " chords do not divide the bar's " + std::to_string(units)
                    + " beats");
        for (const std::string& token : tokens) {
            if (token == kHold || token == kSongNoChord)
                continue;
            const std::string foreign = ForeignCharacterOf(token);
            if (!foreign.empty())
                return fail(bar, std::string("'") + token + "' holds '" + foreign + "', which no chord name has");
        }
        if (chart.empty() && tokens.front() == kHold)
            return fail(bar, ". holds the chord before it, and the chart has none yet");
        chart.push_back(std::move(tokens));
    }

    const int chartBars = static_cast<int>(chart.size());
    if (bars % chartBars != 0)
        return fail(0, std::string("the chart's ") + std::to_string(chartBars) + " bars do not divide the section's "
                + std::to_string(bars) + " bars");
    std::vector<TSongChord> chords;
    const double unitBeats = 4.0 / signature.mDenominator;
    for (int bar = 0; bar < bars; ++bar) {
        const std::vector<std::string>& tokens = chart[static_cast<size_t>(bar % chartBars)];
        const int share = signature.mNumerator / static_cast<int>(tokens.size());
        for (size_t k = 0; k < tokens.size(); ++k) {
            if (tokens[k] == kHold)
                continue;
            const int unit = static_cast<int>(k) * share;
            chords.push_back(
                TSongChord{bar * signature.BarLength() + unit * unitBeats, tokens[k], bar + 1, unit});
        }
    }
    return chords;
}

std::optional<TSong> ParseSongText(const std::string& text, const std::string& sourceName, std::string& error)
{
    try {
        const toml::table root = toml::parse(text, sourceName);
        return ReadSong(root, sourceName);
    } catch (const toml::parse_error& e) {
        // toml++ descriptions are one line as a rule; keep it so regardless.
        std::string description(e.description());
        std::replace(description.begin(), description.end(), '\n', ' ');
        error = sourceName + ":" + std::to_string(e.source().begin.line) + ": " + description;
    } catch (const TSongMistake& mistake) {
        error = sourceName + ":" + std::to_string(mistake.mLine) + ": " + mistake.mMessage;
    }
    return std::nullopt;
}

std::optional<TSong> ReadSongFile(const std::string& path, std::string& error)
{
    const std::string prefix = std::string("cannot read song file ") + path + ": ";
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
        error = prefix + "it is a directory";
        return std::nullopt;
    }
    errno = 0;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        const int code = errno;
        error = prefix + (code != 0 ? std::generic_category().message(code) : std::string("cannot open it"));
        return std::nullopt;
    }
    std::ostringstream content;
    content << in.rdbuf();
    if (in.bad()) {
        error = prefix + "reading failed";
        return std::nullopt;
    }
    return ParseSongText(content.str(), path, error);
}

} // namespace zkgen::cli
