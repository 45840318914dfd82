#include "GenerateCommand.h"
#include "song/SongFile.h"

#include <ZKGenEngine.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>

namespace zkgen::cli {

namespace {

const std::map<std::string, TRandomSeedMode> kSeedModes = {{"passive", TRandomSeedMode_Passive},
    {"clock", TRandomSeedMode_SystemClock}, {"keep", TRandomSeedMode_Keep}, {"increment", TRandomSeedMode_Increment},
    {"reset", TRandomSeedMode_Reset}};

const std::map<std::string, TGenerateWhat> kWhats = {{"patterns-only", TGenerateWhat_PatternsOnly},
    {"all", TGenerateWhat_All}, {"accents", TGenerateWhat_Accents}, {"systems", TGenerateWhat_Systems},
    {"fills", TGenerateWhat_Fills}, {"percussion", TGenerateWhat_Percussion}, {"render-only", TGenerateWhat_RenderOnly}};

const std::map<std::string, _TGenInstType> kInstruments = {{"drums", TGenInstType_Drums}, {"bass", TGenInstType_Bass},
    {"percussion", TGenInstType_Percussion}, {"keys-a", TGenInstType_KeysA}, {"keys-b", TGenInstType_KeysB},
    {"guitar-a", TGenInstType_GuitarA}, {"guitar-b", TGenInstType_GuitarB}};

template <class T>
std::vector<std::string> Keys(const std::map<std::string, T>& m)
{
    std::vector<std::string> r;
    for (const auto& [k, v] : m)
        r.push_back(k);
    return r;
}

int Fail(const std::string& message, int code = 2)
{
    std::cerr << "zkgen: " << message << "\n";
    return code;
}

std::optional<TGenDict> ReadMemento(const std::string& path, std::string& error)
{
    if (!ZKFileExists(path))
        return TGenDict();
    auto bytes = ZKFileRead(path, &error);
    if (!bytes)
        return std::nullopt;
    return ZKKeyedArchiveDecode(*bytes, &error);
}

} // namespace

void AddGenerateCommand(CLI::App& app, GenerateOptions& o, int& exitCode)
{
    CLI::App* cmd = app.add_subcommand("generate", "Perform a song file (or one region) with a content library");
    cmd->add_option("SONG", o.mSongPath, "Song file (TOML): title, tempo, time signature and sections; without it "
                                         "one region is played from the flags below")
        ->check(CLI::ExistingFile);
    cmd->add_option("--library,-l", o.mLibrary, "Content library (glibb bundle); the bundled demo content if omitted");
    cmd->add_option("--output,-o", o.mOutput, "MIDI file to write (song mode; default: the song's name with .mid)");
    cmd->add_option("--take", o.mTake, "keep: play the take file beside the MIDI file (made on first use); "
                                       "new: a new take, written back")
        ->check(CLI::IsMember({"keep", "new"}))->capture_default_str();
    cmd->add_option("--take-file", o.mTakePath, "Take file (default: the MIDI file's name with .take)");
    cmd->add_option("--regenerate", o.mRegenerate, "Renew one layer of the take and keep the others")
        ->check(CLI::IsMember({"accents", "systems", "fills", "percussion"}));
    cmd->add_option("--section", o.mSection, "Limit --take new or --regenerate to this section");
    cmd->add_option("--show", o.mShow, "grid: print a drum grid per bar and the patterns played")
        ->check(CLI::IsMember({"grid"}));
    cmd->add_option("--grid-bars", o.mGridBars, "With --show grid: only the first N bars")->check(CLI::Range(0, 100000));
    cmd->add_option("--groove", o.mGroove,
        "Shape the timing and dynamics with this groove of the library (e.g. \"swing 16ths\", \"laid back\")");
    cmd->add_option("--swing", o.mSwing,
        "How much of the groove's timing to take, 0..100 (default 100); without --groove the library's "
        "\"swing 16ths\"")
        ->check(CLI::Range(0.0, 100.0));
    cmd->add_option("--wav", o.mWav, "Also render the MIDI file to this WAV file (General MIDI soundfont)");
    cmd->add_flag("--no-phrases", o.mNoPhrases,
        "Choose each bar's pattern afresh instead of following the phrases the library learnt (the pattern graphs' "
        "edges and histories, on by default, so that a groove holds through a phrase)");
    cmd->add_flag("--trust-scripts", o.mTrustScripts,
        "Run the library's Lua scripts without the sandbox (files, processes and modules reachable, no "
        "instruction budget): only for content you know");
    cmd->add_flag("--builtin-default-genre", o.mBuiltinDefaultGenre,
        "Play the engine's built-in default genre instead of a library (an empty drummer: for checking the set-up)");
    cmd->add_option("--genre,-g", o.mGenre, "Genre name")->capture_default_str();
    cmd->add_option("--instrument,-i", o.mInstrument, "Instrument")->check(CLI::IsMember(Keys(kInstruments)))->capture_default_str();
    auto* bars = cmd->add_option("--bars,-b", o.mBars, "Region length in bars")->check(CLI::Range(0.0, 10000.0))->capture_default_str();
    cmd->add_option("--beats", o.mBeats, "Region length in beats (instead of --bars)")->check(CLI::Range(0.0, 40000.0))->excludes(bars);
    auto* startBar = cmd->add_option("--start-bar", o.mStartBar, "Region start, bar number from 1")->check(CLI::Range(1.0, 10000.0))->capture_default_str();
    cmd->add_option("--start-beat", o.mStartBeat, "Region start in beats from the song start (instead of --start-bar)")
        ->check(CLI::Range(0.0, 40000.0))->excludes(startBar);
    cmd->add_option("--tempo,-t", o.mTempo, "Tempo in beats per minute")->check(CLI::Range(10.0, 999.0))->capture_default_str();
    cmd->add_option("--time-signature,-s", o.mTimeSignature, "Time signature, e.g. 4/4, 7/8")->capture_default_str();
    cmd->add_option("--complexity,-c", o.mComplexity, "Complexity, 0 to 100")->check(CLI::Range(0.0, 100.0))->capture_default_str();
    cmd->add_option("--intensity,-n", o.mIntensity, "Intensity, 0 to 100")->check(CLI::Range(0.0, 100.0))->capture_default_str();
    cmd->add_option("--seed-mode", o.mSeedMode, "What happens to the stored seeds")->check(CLI::IsMember(Keys(kSeedModes)))->capture_default_str();
    cmd->add_option("--what", o.mWhat, "Which layers to renew")->check(CLI::IsMember(Keys(kWhats)))->capture_default_str();
    cmd->add_option("--style", o.mStyle, "Style index in the instrument library (-1: the first)")->capture_default_str();
    cmd->add_option("--tempo-scale", o.mTempoScale, "Play the style at half (0.5) or double (2) time")->capture_default_str();
    cmd->add_option("--memento,-m", o.mMementoPath, "Memento file of the region: read if present, written back after the call");
    cmd->add_flag("--json", o.mJson, "Print the result as JSON");
    cmd->footer("Exit codes: 0 done; 1 an output could not be written (the files you had are left as they were); "
                "2 bad input: a song file, flag, library, take or memento that can't be used.");
    cmd->callback([&o, &exitCode] { exitCode = o.mSongPath.empty() ? RunGenerate(o) : RunSong(o); });
}

static zkgen::lua::TScriptSandbox ScriptSandboxFor(const GenerateOptions& o)
{
    zkgen::lua::TScriptSandbox sandbox;
    sandbox.mEnabled = !o.mTrustScripts;
    return sandbox;
}

bool LoadLibrary(const GenerateOptions& o, CGenGenerator& generator, std::string& error)
{
    error.clear();
    generator.SetScriptSandbox(ScriptSandboxFor(o));
    const std::string library = o.mLibrary.empty() ? DemoLibraryPath() : o.mLibrary;
    if (library.empty())
        error = "no content library: the demo bundle was not found; name one with --library, or use "
                "--builtin-default-genre to check the set-up";
    else if (!ZKFileExists(library))
        error = "content library not found: " + library;
    // The storage log says why a load failed; its line goes to stderr at
    // the warning level, so name the usual causes here.
    else if (!generator.LoadFromURL(library))
        error = "content library " + library
            + " can't be loaded: it is neither a bundle (a folder with StyleGraphs) nor a readable library archive";
    else if (generator.GenreLibs().empty())
        error = "content library " + library + " holds no genres that this engine can play";
    return error.empty();
}

int RunGenerate(const GenerateOptions& o)
{
    if (!o.mGroove.empty() || o.mSwing >= 0.0)
        return Fail("--groove and --swing shape a song's performance: give a song file");
    std::string signError;
    const auto parsed = ParseTimeSignatureText(o.mTimeSignature, signError);
    if (!parsed)
        return Fail(signError);
    const auto sign = std::make_optional(std::make_pair(parsed->mNumerator, parsed->DenominatorExponent()));
    const double barLength = GenBarLengthInBeats(sign->first, sign->second);
    const double length = o.mBeats >= 0.0 ? o.mBeats : o.mBars * barLength;
    const double start = o.mStartBeat >= 0.0 ? o.mStartBeat : (o.mStartBar - 1.0) * barLength;
    if (!(length > 0.0))
        return Fail("the region is empty: give a positive --bars or --beats");

    CGenGenerator generator;
    if (o.mBuiltinDefaultGenre) {
        generator.CreateDefaultGenre();
        generator.SetScriptSandbox(ScriptSandboxFor(o));
    } else {
        std::string error;
        if (!LoadLibrary(o, generator, error))
            return Fail(error);
    }

    CGenGeneratorParams params(static_cast<float>(length), -1);
    params.mGenre = o.mGenre;
    params.mInstType = kInstruments.at(o.mInstrument);
    params.mGenerateStartPosAbs = static_cast<float>(start);
    params.mStyleIx = o.mStyle;
    params.mTempoScale = o.mTempoScale;
    params.mEdgesAndHistory_Active = !o.mNoPhrases;
    params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(sign->first, sign->second)));
    params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, o.mTempo));
    params.mPatternCoordStaticAcExt = CGenPatternCoordExt(static_cast<float>(o.mComplexity), static_cast<float>(o.mIntensity));
    params.SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexity, o.mComplexity);
    params.SetRegionParameterFloat(CGenGeneratorParamsRegion::kIntensity, o.mIntensity);

    std::string error;
    TGenDict memento;
    if (!o.mMementoPath.empty()) {
        auto read = ReadMemento(o.mMementoPath, error);
        if (!read)
            return Fail("memento " + o.mMementoPath + " is unreadable (" + error + "); it was left as it is");
        memento = std::move(*read);
    }

    CGenEvsNameds evs;
    auto outInfo = generator.Generate(kWhats.at(o.mWhat), kSeedModes.at(o.mSeedMode), params, &memento, evs);
    if (!outInfo)
        return Fail("genre '" + o.mGenre + "' has no " + InstName(params.mInstType) + " library in this content");

    if (!o.mMementoPath.empty()) {
        auto bytes = ZKKeyedArchiveEncode(memento, ZKKeyedArchiveFormat_XML, &error);
        if (!bytes || !ZKFileWriteAtomically(o.mMementoPath, *bytes, &error))
            return Fail("could not write the memento " + o.mMementoPath + ": " + error);
    }

    const TGenDict* seeds = memento.DictForKey(kMemento_Seeds);
    if (o.mJson) {
        std::cout << "{\"events\":" << evs.EvCount() << ",\"elements\":" << evs.size() << ",\"seeds\":[";
        for (int t = TPatternGraphType_Min; t <= TPatternGraphType_Max; ++t)
            std::cout << (t ? "," : "") << (seeds ? seeds->IntegerForKey(t) : 0);
        std::cout << "],\"disableFillLock\":" << (outInfo->BoolForKey(kOutInfo_DisableFillLock) ? "true" : "false") << "}\n";
        return 0;
    }
    std::cout << "Region: " << o.mTimeSignature << " at " << o.mTempo << " bpm, start beat " << start << ", " << length
              << " beats\n";
    std::cout << "Seeds:";
    for (TPatternGraphType t = TPatternGraphType_Min; t <= TPatternGraphType_Max; ++t)
        std::cout << " " << TPatternGraphTypeName(t).substr(std::string("TPatternGraphType_").size()) << "="
                  << (seeds ? seeds->IntegerForKey(t) : 0);
    std::cout << "\n";
    std::cout << "Performance: " << evs.EvCount() << " events in " << evs.size() << " elements\n";
    for (const auto& el : evs) {
        std::cout << "  " << el.TraceBriefString() << " at " << el.mBeatPosAbs << "\n";
        for (const auto& ev : el.mEvs)
            std::cout << "    " << ev.TraceBriefString() << "\n";
    }
    if (outInfo->BoolForKey(kOutInfo_DisableFillLock))
        std::cout << "The region's fill lock should be switched off.\n";
    return 0;
}

} // namespace zkgen::cli
