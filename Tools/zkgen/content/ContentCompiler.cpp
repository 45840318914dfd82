#include "content/ContentCompiler.h"

#include "content/ContentError.h"
#include "content/GridPatterns.h"
#include "content/GrooveSource.h"
#include "content/StyleSource.h"
#include "content/TomlKeys.h"

#include <Generator/scripting/CGenLuaCheck.h>

#include <Generator/CGenGeneratorStorage.h>

#include <Generator/CGenGenerator.h>
#include <Generator/instruments/CGenDrumMap.h>
#include <Generator/library/CGenGenreLib.h>
#include <Generator/library/CGenInstLib.h>
#include <Generator/patterns/CGenPattern.h>
#include <Generator/patterns/CGenPatternGraphBoost.h>
#include <Generator/stylegraph/CGenStyle.h>
#include <Platform/ZKFileOps.h>

#include <toml++/toml.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

namespace zkgen::cli {

namespace {

namespace fs = std::filesystem;

const char* const kManifestName = "library.toml";

struct TLayer {
    const char* mKey;
    TPatternGraphType mType;
};
const TLayer kLayers[] = {{"accent-families", TPatternGraphType_AccentFamily},
    {"accent-addons", TPatternGraphType_AccentAddon}, {"systems", TPatternGraphType_System},
    {"fills", TPatternGraphType_Fill}, {"percussion", TPatternGraphType_Percussion}};

// The players a manifest can hold, each a table of the same layer keys. The
// drummer's grids name kit pieces, the others' abstract notes.
struct TInstrumentTable {
    const char* mKey;
    _TGenInstType mType;
};
const TInstrumentTable kInstrumentTables[] = {{"drums", TGenInstType_Drums}, {"bass", TGenInstType_Bass},
    {"keys", TGenInstType_KeysA}, {"guitar", TGenInstType_GuitarA}};

class TManifestReader {
public:
    TManifestReader(fs::path root) : mRoot(std::move(root)), mFile(kManifestName) {}

    [[noreturn]] void Fail(const toml::node& at, const std::string& message) const
    {
        throw TContentError(mFile, static_cast<int>(at.source().begin.line), message);
    }

    std::string ReadSource(const std::string& relative, const toml::node& at) const
    {
        std::string error;
        const auto bytes = ZKFileRead((mRoot / relative).string(), &error);
        if (!bytes)
            Fail(at, "cannot read '" + relative + "': " + error);
        return std::string(bytes->begin(), bytes->end());
    }

    std::string Text(const toml::node& n, const std::string& what) const
    {
        if (!n.is_string())
            Fail(n, what + " must be a text");
        return n.as_string()->get();
    }

    std::vector<std::pair<std::string, const toml::node*>> Files(const toml::node& n, const std::string& what) const
    {
        std::vector<std::pair<std::string, const toml::node*>> files;
        if (n.is_string()) {
            files.emplace_back(n.as_string()->get(), &n);
            return files;
        }
        if (!n.is_array())
            Fail(n, what + " must be a file or a list of files");
        for (const toml::node& f : *n.as_array())
            files.emplace_back(Text(f, what), &f);
        return files;
    }

    void Compile(CGenGenerator& generator)
    {
        const std::string text = ReadSourceOrFail();
        toml::table root;
        try {
            root = toml::parse(text, mFile);
        } catch (const toml::parse_error& e) {
            throw TContentError(mFile, static_cast<int>(e.source().begin.line), std::string(e.description()));
        }
        std::string unknown;
        std::set<std::string> known = {"genre", "kit", "drum-map", "grooves", "scripts", "rating-tables"};
        for (const TInstrumentTable& instrument : kInstrumentTables)
            known.insert(instrument.mKey);
        if (const toml::node* v = FirstUnknownKey(root, known, unknown))
            Fail(*v, "unknown key '" + unknown
                    + "'; the manifest knows genre, kit, drum-map, drums, bass, keys, guitar, grooves, scripts and rating-tables");
        const toml::node* genreNode = root.get("genre");
        const std::string genre = genreNode ? Text(*genreNode, "genre") : std::string(kDefaultGenre);
        if (genre.empty())
            Fail(*genreNode, "the genre needs a name");

        TDrumMapAliases aliases;
        if (const toml::node* kit = root.get("kit")) {
            if (!kit->is_table())
                Fail(*kit, "kit must be a table of kit piece = \"instrument path\"");
            for (const auto& [k, v] : *kit->as_table())
                aliases[std::string(k.str())] = Text(v, "kit piece '" + std::string(k.str()) + "'");
        }

        generator.GenreLibs().clear();
        generator.CreateDefaultGenre();
        if (const toml::node* scripts = root.get("scripts"))
            GlobalScripts(generator, *scripts);
        if (const toml::node* ratings = root.get("rating-tables"))
            RatingTables(generator, *ratings);
        CGenGenreLib& genreLib = generator.GenreLibs().front();
        genreLib.mGenre = genre;
        if (const toml::node* map = root.get("drum-map"))
            DrumMap(genreLib, *map);

        for (const TInstrumentTable& instrument : kInstrumentTables) {
            const toml::node* n = root.get(instrument.mKey);
            if (!n)
                continue;
            if (!n->is_table())
                Fail(*n, std::string(instrument.mKey) + " must be a table");
            // The default genre brings its drummer; the other players join it.
            if (CGenInstLib* present = genreLib.FindInstLib(instrument.mType)) {
                InstLib(*present, instrument.mKey, *n->as_table(), aliases);
                continue;
            }
            CGenInstLib lib(instrument.mType);
            lib.mContainsUidEvents = false;
            lib.mContainsAbstractNoteEvs = true;
            InstLib(lib, instrument.mKey, *n->as_table(), aliases);
            genreLib.mInstLibs.AddInstLib(lib);
        }
        if (const toml::node* grooves = root.get("grooves"))
            genreLib.mGrooves = ReadGrooves(*grooves, mFile);
        // Coordinates are written on the 0..100 scale of the user's controls.
        CGenPatternCoordConv identity;
        identity.SetToIdentity();
        genreLib.SetAllPatternCoordConv(identity);
        genreLib.InitSignTimeTrafosForThisInstType();
        genreLib._SetWeakPointersToClaveLibs();
    }

private:
    std::string ReadSourceOrFail() const
    {
        std::string error;
        const auto bytes = ZKFileRead((mRoot / kManifestName).string(), &error);
        if (!bytes)
            throw TContentError(mFile, 0, "cannot read the manifest: " + error);
        return std::string(bytes->begin(), bytes->end());
    }

    void DrumMap(CGenGenreLib& genreLib, const toml::node& n) const
    {
        if (!n.is_table())
            Fail(n, "drum-map must be a table of kit piece = note number");
        CGenDrumMap map = *genreLib.DrumMap();
        for (const auto& [k, v] : *n.as_table()) {
            const std::string piece(k.str());
            int found = -1;
            for (int p = 0; p < static_cast<int>(TGenDrumPiece_Count); ++p)
                if (piece == TGenDrumPieceName(static_cast<TGenDrumPiece>(p)))
                    found = p;
            if (found < 0)
                Fail(v, "unknown kit piece '" + piece + "' in drum-map");
            if (!v.is_integer() || v.as_integer()->get() < 0 || v.as_integer()->get() > 127)
                Fail(v, "the note of '" + piece + "' must be a whole number 0 to 127");
            map.SetNoteNr(static_cast<TGenDrumPiece>(found), static_cast<int>(v.as_integer()->get()));
        }
        genreLib.SetDrumMap(map);
    }

    // One player's table: its layers' grids, their phrases and its styles.
    void InstLib(CGenInstLib& lib, const std::string& name, const toml::table& t, const TDrumMapAliases& aliases)
    {
        std::set<std::string> known = {"styles", "phrases", "range", "root-range"};
        for (const TLayer& layer : kLayers)
            known.insert(layer.mKey);
        std::string unknown;
        if (const toml::node* v = FirstUnknownKey(t, known, unknown))
            Fail(*v, "unknown key '" + unknown + "' in " + name);
        NoteRanges(lib, name, t);

        for (const TLayer& layer : kLayers) {
            const toml::node* n = t.get(layer.mKey);
            if (!n)
                continue;
            CGenPatternGraphBoost& graph = lib.PatternGraph(layer.mType);
            for (const auto& [file, at] : Files(*n, layer.mKey)) {
                const std::string text = ReadSource(file, *at);
                const std::vector<CGenPattern> patterns = lib.mInstType == TGenInstType_Drums
                    ? ParseGridPatterns(text, file, aliases)
                    : ParsePitchedGridPatterns(text, file);
                for (const CGenPattern& pattern : patterns) {
                    if (graph.FindPatternWithName(pattern.mName) != graph.PatternCount())
                        Fail(*at, "pattern '" + pattern.mName + "' of '" + file + "' is already in " + layer.mKey);
                    graph.AddPattern(pattern);
                }
            }
        }
        if (const toml::node* phrases = t.get("phrases")) {
            if (!phrases->is_table())
                Fail(*phrases, "phrases must be a table of layer = file");
            for (const auto& [k, v] : *phrases->as_table()) {
                const TLayer* layer = nullptr;
                for (const TLayer& l : kLayers)
                    if (k.str() == l.mKey)
                        layer = &l;
                if (!layer)
                    Fail(v, "unknown layer '" + std::string(k.str()) + "' in phrases");
                for (const auto& [file, at] : Files(v, "phrases"))
                    TrainEdgesFromPhrases(ReadSource(file, *at), file, lib.PatternGraph(layer->mType));
            }
        }
        if (const toml::node* styles = t.get("styles")) {
            lib.mStyles.clear();
            for (const auto& [file, at] : Files(*styles, "styles")) {
                CGenStyle style;
                ParseStyleSource(ReadSource(file, *at), file, style,
                    [this](const std::string& script, std::string& error) -> std::optional<std::string> {
                        const auto bytes = ZKFileRead((mRoot / script).string(), &error);
                        if (!bytes)
                            return std::nullopt;
                        return std::string(bytes->begin(), bytes->end());
                    });
                IncludedScriptsExist(style, *at, file);
                if (!mStyleIDs.insert(style.UniqueID()).second)
                    Fail(*at, "style id '" + style.UniqueID() + "' of '" + file + "' is used twice");
                lib.mStyles.push_back(std::move(style));
            }
        }
    }

    // A player's note ranges: its notes', and its patterns' roots'. They are
    // the concretizer's defaults, which every generation starts from.
    void NoteRanges(CGenInstLib& lib, const std::string& name, const toml::table& t) const
    {
        TConcretizeRange& ranges = lib.mConcretizer.mDefaultConcretizeRange;
        const std::pair<const char*, std::pair<int64_t*, int64_t*>> keys[] = {
            {"range", {&ranges.mMinNoteNr, &ranges.mMaxNoteNr}},
            {"root-range", {&ranges.mPatternRootMinNoteNr, &ranges.mPatternRootMaxNoteNr}}};
        for (const auto& [key, limits] : keys) {
            const toml::node* n = t.get(key);
            if (!n)
                continue;
            if (lib.mInstType == TGenInstType_Drums)
                Fail(*n, std::string("'") + key + "' belongs to the players of notes (bass, keys, guitar), not to drums");
            std::pair<int, int> range;
            std::string error;
            if (!ParseNoteRangeText(Text(*n, std::string(name) + "." + key), range, error))
                Fail(*n, std::string(key) + " of " + name + ": " + error);
            *limits.first = range.first;
            *limits.second = range.second;
        }
        lib.mConcretizer.Reset();
    }

    // The global scripts: name = "file.lua", into the library's pool; each
    // is checked as the engine compiles it.
    void GlobalScripts(CGenGenerator& generator, const toml::node& n)
    {
        if (!n.is_table())
            Fail(n, "scripts must be a table of name = \"file.lua\"");
        for (const auto& [k, v] : *n.as_table()) {
            const std::string name(k.str());
            if (!CGenGlobalLuaScriptsPool::IsValidIdentifier(name))
                Fail(v, "'" + name + "' can't name a script (a file name without '/')");
            const std::string file = Text(v, "script '" + name + "'");
            const std::string text = ReadSource(file, v);
            int line = 0;
            std::string message;
            if (!zkgen::lua::CheckLuaSyntax(text, line, message))
                throw TContentError(file, line, message);
            generator.GlobalLuaScriptsPool().setLuaScriptForIdentifier(text, name);
            mScriptNames.insert(name);
        }
    }

    // The rating tables of a folder (layout of CGenGFRatingTables); every
    // table file must read as one.
    void RatingTables(CGenGenerator& generator, const toml::node& n) const
    {
        const std::string folder = Text(n, "rating-tables");
        const fs::path path = mRoot / folder;
        std::string error;
        if (!fs::is_directory(path) || !generator.RatingTables().ImportFromFolder(path.string(), &error))
        {
            std::string message = "rating-tables: '" + folder + "' is no folder of rating tables";
            if (!error.empty())
                message.append(": ").append(error);
            Fail(n, message);
        }
        const fs::path complexity = path / CGenGFRatingTables::kComplexityFolder;
        std::error_code ec;
        if (!fs::is_directory(complexity, ec))
            return;
        const std::vector<std::string> families = generator.RatingTables().complexityMatrix().familyNames();
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(complexity, ec))
            if (entry.path().extension() == ".csv")
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        for (const fs::path& file : files)
            if (std::find(families.begin(), families.end(), file.stem().string()) == families.end())
                throw TContentError((fs::path(folder) / CGenGFRatingTables::kComplexityFolder / file.filename()).string(), 1,
                    "not a rating table: a header line of column names and rows of \"label; number; ...\"");
    }

    // A style that includes a script the manifest doesn't have is a mistake
    // (the engine would skip it without a word).
    void IncludedScriptsExist(const CGenStyle& style, const toml::node& at, const std::string& file) const
    {
        const auto v = style.StyleGraphs().PropertyForKey(kCGenStyleGraphsProperty_IncludeScript);
        if (!v || !v->IsString())
            return;
        const std::string lines = v->AsString(std::string());
        size_t start = 0;
        while (start <= lines.size()) {
            const size_t nl = std::min(lines.find('\n', start), lines.size());
            const std::string name = lines.substr(start, nl - start);
            if (mScriptNames.count(name) == 0)
                Fail(at, "style '" + file + "' includes the script '" + name + "', which [scripts] does not have");
            start = nl + 1;
        }
    }

    fs::path mRoot;
    std::string mFile;
    std::set<std::string> mScriptNames;
    // The players' styles share the bundle's folder of style files, named
    // by name and id: an id serves one style of the whole library.
    std::set<std::string> mStyleIDs;
};

} // namespace

void CompileContent(const std::string& sourceDir, CGenGenerator& generator)
{
    TManifestReader(sourceDir).Compile(generator);
}

bool BuildContentBundle(const std::string& sourceDir, const std::string& bundlePath, std::string& error)
{
    CGenGenerator generator;
    try {
        CompileContent(sourceDir, generator);
    } catch (const TContentError& e) {
        error = e.what();
        return false;
    }
    // Built beside the target and swapped in, so that a failed build leaves
    // the previous bundle as it was, and the save starts from an empty folder
    // (nothing of an older build remains in the result).
    std::error_code ec;
    // "out.glibb/" is the folder itself: the siblings below belong beside
    // it, not inside it.
    fs::path target = fs::path(bundlePath).lexically_normal();
    if (!target.has_filename() && target.has_relative_path())
        target = target.parent_path();
    const bool emptyFolder = fs::is_directory(target, ec) && fs::is_empty(target, ec);
    if (fs::exists(target, ec) && !emptyFolder && !fs::is_directory(target / "StyleGraphs", ec)) {
        error = bundlePath + " exists and is not a bundle; it was left as it is";
        return false;
    }
    const fs::path fresh = target.string() + ".building";
    const fs::path old = target.string() + ".previous";
    fs::remove_all(fresh, ec);
    fs::remove_all(old, ec);
    TGenStorageError storageError;
    if (!generator.SaveToURLWithoutChangingLibraryBundleLocation(fresh.string(), &storageError)) {
        error = "cannot save the bundle " + bundlePath + ": " + storageError.mDescription;
        fs::remove_all(fresh, ec);
        return false;
    }
    if (fs::exists(target, ec))
        fs::rename(target, old, ec);
    if (!ec)
        fs::rename(fresh, target, ec);
    if (ec) {
        error = "cannot put the bundle in place at " + bundlePath + ": " + ec.message();
        return false;
    }
    fs::remove_all(old, ec);
    return true;
}

} // namespace zkgen::cli
