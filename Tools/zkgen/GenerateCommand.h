#pragma once

#include <CLI/CLI.hpp>

#include <string>

class CGenGenerator;

namespace zkgen::cli {

// Region and control options of `zkgen generate`.
struct GenerateOptions {
    std::string mLibrary;
    bool mBuiltinDefaultGenre = false;
    std::string mGenre = "DefaultGenre";
    std::string mInstrument = "drums";
    double mBars = 4.0;
    double mBeats = -1.0;
    double mStartBar = 1.0;
    double mStartBeat = -1.0;
    double mTempo = 120.0;
    std::string mTimeSignature = "4/4";
    double mComplexity = 50.0;
    double mIntensity = 50.0;
    std::string mSeedMode = "keep";
    std::string mWhat = "all";
    int mStyle = -1;
    double mTempoScale = 1.0;
    std::string mMementoPath;
    bool mJson = false;
    // The song mode.
    std::string mSongPath;
    std::string mOutput;
    std::string mTake = "keep";
    std::string mTakePath;
    std::string mRegenerate;
    std::string mSection;
    std::string mShow;
    int mGridBars = -1;
    std::string mWav;
    bool mNoPhrases = false;
    // Scripts of the library run in the sandbox unless the user trusts them.
    bool mTrustScripts = false;
    // A groove of the library by name, and how much of its timing to take (0..100).
    std::string mGroove;
    double mSwing = -1.0;
};

// Loads the library named by --library, or the demo library, into
// `generator`; on failure false with one line in `error`.
bool LoadLibrary(const GenerateOptions& options, CGenGenerator& generator, std::string& error);

// The bundled demo library: the build tree's, else the install tree's
// (found from the running program); empty when neither exists.
std::string DemoLibraryPath();

void AddGenerateCommand(CLI::App& app, GenerateOptions& options, int& exitCode);
// Runs the command; the exit code of the tool.
int RunGenerate(const GenerateOptions& options);
// The song mode: `zkgen generate SONG.toml`.
int RunSong(const GenerateOptions& options);

} // namespace zkgen::cli
