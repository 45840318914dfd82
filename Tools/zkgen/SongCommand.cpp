// The song mode of `zkgen generate`: a song file in, a MIDI file and a take
// file out.

#include "GenerateCommand.h"
#include "midi/MidiFile.h"
#include "midi/WavRender.h"
#include "song/DrumGrid.h"
#include "song/SongFile.h"
#include "song/SongPerformer.h"

#include <ZKGenEngine.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <map>

namespace zkgen::cli {

namespace {

namespace fs = std::filesystem;

int Fail(const std::string& message, int code)
{
    std::cerr << "zkgen: " << message << "\n";
    return code;
}

const std::map<std::string, TGenerateWhat> kLayers = {{"accents", TGenerateWhat_Accents},
    {"systems", TGenerateWhat_Systems}, {"fills", TGenerateWhat_Fills}, {"percussion", TGenerateWhat_Percussion}};

nlohmann::json PerformanceJson(const TSongPerformance& song)
{
    nlohmann::json j;
    const TPerformance& p = song.mPerformance;
    j["title"] = p.mTitle;
    for (const TTempoChange& t : p.mTempos)
        j["tempos"].push_back({{"beat", t.mBeat}, {"bpm", t.mBpm}});
    for (const TMeterChange& m : p.mMeters)
        j["meters"].push_back({{"beat", m.mBeat}, {"numerator", m.mNumerator}, {"denominator", m.mDenominator}});
    for (const TSectionPerformance& s : song.mSections) {
        nlohmann::json js = {{"name", s.mName}, {"beat", s.mStartBeat}, {"length", s.mLength}, {"bars", s.mBars}};
        for (const TPlayedPattern& pp : s.mPatterns)
            js["patterns"].push_back(
                {{"beat", pp.mBeat}, {"length", pp.mLength}, {"layer", static_cast<int>(pp.mLayer)}, {"name", pp.mName}});
        j["sections"].push_back(js);
    }
    for (const TTrack& t : p.mTracks) {
        nlohmann::json jt = {{"name", t.mName}, {"notes", nlohmann::json::array()}, {"controllers", nlohmann::json::array()}};
        for (const TNote& n : t.mNotes)
            jt["notes"].push_back({{"beat", n.mBeat}, {"length", n.mLength}, {"channel", n.mChannel + 1},
                {"key", n.mKey}, {"velocity", n.mVelocity}});
        for (const TController& c : t.mControllers)
            jt["controllers"].push_back(
                {{"beat", c.mBeat}, {"channel", c.mChannel + 1}, {"number", c.mNumber}, {"value", c.mValue}});
        j["tracks"].push_back(jt);
    }
    return j;
}

} // namespace

int RunSong(const GenerateOptions& o)
{
    std::string error;
    const std::optional<TSong> song = ReadSongFile(o.mSongPath, error);
    if (!song)
        return Fail(error, 2);

    if (o.mTake != "keep" && o.mTake != "new")
        return Fail("--take is 'keep' or 'new', not '" + o.mTake + "'", 2);
    TPerformRequest request;
    request.mSourceName = o.mSongPath;
    request.mGroove = o.mGroove;
    request.mSwing = o.mSwing;
    if (o.mTake == "new") {
        request.mRenewal = TRenewal::NewTake;
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        request.mNewSeed = static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
    }
    if (!o.mRegenerate.empty()) {
        if (request.mRenewal == TRenewal::NewTake)
            return Fail("--take new already renews every layer; leave out --regenerate", 2);
        request.mRenewal = TRenewal::Layer;
        request.mLayer = kLayers.at(o.mRegenerate);
    }
    if (!o.mSection.empty() && request.mRenewal == TRenewal::None)
        return Fail("--section limits a renewal: give --take new or --regenerate LAYER with it", 2);
    request.mOnlySection = o.mSection;
    request.mEdgesAndHistory = !o.mNoPhrases;
    request.mCollectPatterns = o.mShow == "grid" || o.mJson;

    CGenGenerator generator;
    if (!LoadLibrary(o, generator, error))
        return Fail(error, 2);

    const std::string output = !o.mOutput.empty() ? o.mOutput : fs::path(o.mSongPath).stem().string() + ".mid";
    const std::string takePath = !o.mTakePath.empty() ? o.mTakePath : fs::path(output).replace_extension(".take").string();
    TGenDict take;
    if (ZKFileExists(takePath)) {
        auto bytes = ZKFileRead(takePath, &error);
        std::optional<TGenDict> read = bytes ? ZKKeyedArchiveDecode(*bytes, &error) : std::nullopt;
        if (!read)
            return Fail("take file " + takePath + " is unreadable (" + error + "); it was left as it is", 2);
        take = std::move(*read);
    }

    const std::optional<TSongPerformance> performance = PerformSong(generator, *song, take, request, error);
    if (!performance)
        return Fail(error, 2);

    if (!WriteMidiFile(performance->mPerformance, output, error))
        return Fail(error, 1);
    auto takeBytes = ZKKeyedArchiveEncode(take, ZKKeyedArchiveFormat_XML, &error);
    if (!takeBytes || !ZKFileWriteAtomically(takePath, *takeBytes, &error))
        return Fail("could not write the take " + takePath + ": " + error, 1);
    if (!o.mWav.empty()) {
        const std::string soundFont = FindGeneralMidiSoundFont();
        if (!RenderWav(output, o.mWav, soundFont, error))
            return Fail(error, 1);
    }

    if (o.mJson) {
        std::cout << PerformanceJson(*performance).dump() << "\n";
        return 0;
    }
    size_t notes = 0;
    for (const TTrack& t : performance->mPerformance.mTracks)
        notes += t.mNotes.size();
    int bars = 0;
    for (const TSectionPerformance& s : performance->mSections)
        bars += s.mBars;
    std::cout << "\"" << song->mTitle << "\": " << performance->mSections.size() << " sections, " << bars << " bars, "
              << notes << " notes -> " << output << " (take " << takePath << ")\n";
    if (!o.mWav.empty())
        std::cout << "Audio -> " << o.mWav << "\n";
    if (o.mShow == "grid")
        std::cout << DrumGridText(*performance, o.mGridBars);
    return 0;
}

std::string DemoLibraryPath()
{
    // The install tree's copy when this program is installed, so that an
    // installed tool never reads a build folder that happens to remain.
    std::error_code ec;
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (!ec) {
        const fs::path installed = exe.parent_path().parent_path() / ZKGEN_INSTALL_DEMO_BUNDLE;
        if (fs::is_directory(installed, ec))
            return installed.string();
    }
    if (fs::is_directory(ZKGEN_BUILD_DEMO_BUNDLE, ec))
        return ZKGEN_BUILD_DEMO_BUNDLE;
    return {};
}

} // namespace zkgen::cli
