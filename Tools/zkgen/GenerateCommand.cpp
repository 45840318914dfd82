#include "GenerateCommand.h"

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

// "7/8" into numerator and denominator exponent; nullopt for anything else.
std::optional<std::pair<int, int>> ParseTimeSignature(const std::string& text)
{
    const auto slash = text.find('/');
    if (slash == std::string::npos)
        return std::nullopt;
    try {
        size_t used = 0;
        const int nom = std::stoi(text.substr(0, slash), &used);
        if (used != slash)
            return std::nullopt;
        const std::string d = text.substr(slash + 1);
        const int denom = std::stoi(d, &used);
        if (used != d.size() || nom < 1 || nom > 64)
            return std::nullopt;
        for (int ix = 0; ix <= 5; ++ix)
            if ((1 << ix) == denom)
                return std::make_pair(nom, ix);
    } catch (const std::exception&) {
    }
    return std::nullopt;
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
    CLI::App* cmd = app.add_subcommand("generate", "Perform a song region with a content library");
    cmd->add_option("--library,-l", o.mLibrary, "Content library (glibb bundle); the bundled demo content if omitted");
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
    cmd->callback([&o, &exitCode] { exitCode = RunGenerate(o); });
}

int RunGenerate(const GenerateOptions& o)
{
    const auto sign = ParseTimeSignature(o.mTimeSignature);
    if (!sign)
        return Fail("time signature '" + o.mTimeSignature + "' is not of the form N/D with D a power of two up to 32");
    const double barLength = GenBarLengthInBeats(sign->first, sign->second);
    const double length = o.mBeats >= 0.0 ? o.mBeats : o.mBars * barLength;
    const double start = o.mStartBeat >= 0.0 ? o.mStartBeat : (o.mStartBar - 1.0) * barLength;
    if (!(length > 0.0))
        return Fail("the region is empty: give a positive --bars or --beats");

    CGenGenerator generator;
    if (o.mBuiltinDefaultGenre) {
        generator.CreateDefaultGenre();
    } else {
        const std::string library = o.mLibrary.empty() ? std::string() : o.mLibrary;
        if (library.empty())
            return Fail("no content library: the demo bundle isn't part of this build yet; name one with --library, "
                        "or use --builtin-default-genre to check the set-up");
        if (!ZKFileExists(library))
            return Fail("content library not found: " + library);
        // The storage log says why a load failed; its line goes to stderr at
        // the warning level, so name the usual causes here.
        if (!generator.LoadFromURL(library))
            return Fail("content library " + library
                + " can't be loaded: it is neither a bundle (a folder with StyleGraphs) nor a readable library "
                  "archive");
        if (generator.GenreLibs().empty())
            return Fail("content library " + library + " holds no genres that this engine can play");
    }

    CGenGeneratorParams params(static_cast<float>(length), -1);
    params.mGenre = o.mGenre;
    params.mInstType = kInstruments.at(o.mInstrument);
    params.mGenerateStartPosAbs = static_cast<float>(start);
    params.mStyleIx = o.mStyle;
    params.mTempoScale = o.mTempoScale;
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
