#include "WavRender.h"

#include "MidiFile.h"

// Only the types and constants: the functions are looked up at run time.
#include <fluidsynth.h>
#include <dlfcn.h>
#include <glib.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace zkgen::cli {
namespace {

// FluidSynth is opened when the first preview is rendered rather than linked:
// it pulls in some sixty audio and desktop libraries (SDL, PulseAudio, JACK,
// X11...) whose loading would slow down every start of zkgen, although only
// `generate --wav` needs them. Every function the preview calls is listed
// here once; the pointer types are those of <fluidsynth.h>.
#define ZKGEN_FLUID_FUNCTIONS(X)                                                                                 \
    X(fluid_set_log_function)                                                                                    \
    X(new_fluid_settings)                                                                                        \
    X(delete_fluid_settings)                                                                                     \
    X(fluid_settings_setstr)                                                                                     \
    X(fluid_settings_setint)                                                                                     \
    X(fluid_settings_setnum)                                                                                     \
    X(fluid_settings_getint)                                                                                     \
    X(new_fluid_synth)                                                                                           \
    X(delete_fluid_synth)                                                                                        \
    X(fluid_synth_sfload)                                                                                        \
    X(new_fluid_player)                                                                                          \
    X(delete_fluid_player)                                                                                       \
    X(fluid_player_add_mem)                                                                                      \
    X(fluid_player_play)                                                                                         \
    X(fluid_player_stop)                                                                                         \
    X(fluid_player_join)                                                                                         \
    X(fluid_player_get_status)                                                                                   \
    X(new_fluid_file_renderer)                                                                                   \
    X(delete_fluid_file_renderer)                                                                                \
    X(fluid_file_renderer_process_block)

struct TFluidApi {
#define ZKGEN_FLUID_POINTER(name) decltype(&::name) name = nullptr;
    ZKGEN_FLUID_FUNCTIONS(ZKGEN_FLUID_POINTER)
#undef ZKGEN_FLUID_POINTER
};

std::string FluidSynthMissing(const std::string& why)
{
    return std::string("audio preview needs FluidSynth: apt-get install libfluidsynth3 (") + why + ")";
}

template <typename TFunction>
bool Resolve(void* handle, const char* name, TFunction& function, std::string& error)
{
    ::dlerror();
    void* symbol = ::dlsym(handle, name);
    if (symbol == nullptr) {
        const char* why = ::dlerror();
        error = FluidSynthMissing(why != nullptr ? why : std::string(name) + " is null");
        return false;
    }
    function = reinterpret_cast<TFunction>(symbol);
    return true;
}

// Fills `api` from `library`. A complete library is never closed: its
// functions may be called until the process ends.
bool OpenFluidApi(const char* library, TFluidApi& api, std::string& error)
{
    void* handle = ::dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* why = ::dlerror();
        error = FluidSynthMissing(why != nullptr ? why : std::string("cannot open ") + library);
        return false;
    }
#define ZKGEN_FLUID_RESOLVE(name) && Resolve(handle, #name, api.name, error)
    const bool complete = true ZKGEN_FLUID_FUNCTIONS(ZKGEN_FLUID_RESOLVE);
#undef ZKGEN_FLUID_RESOLVE
    if (!complete) {
        ::dlclose(handle);
        api = TFluidApi();
    }
    return complete;
}

// The process-wide library, opened on first use; null and `error` set if it
// is missing. The versioned name is the runtime package's; the plain one is
// a development install's.
const TFluidApi* FluidSynth(std::string& error)
{
    struct TLoaded {
        TFluidApi mApi;
        bool mOk = false;
        std::string mError;
    };
    static const TLoaded loaded = [] {
        TLoaded result;
        std::string fallbackError;
        result.mOk = OpenFluidApi("libfluidsynth.so.3", result.mApi, result.mError)
            || OpenFluidApi("libfluidsynth.so", result.mApi, fallbackError);
        return result;
    }();
    if (!loaded.mOk) {
        error = loaded.mError;
        return nullptr;
    }
    return &loaded.mApi;
}

// FluidSynth logs to stdout and stderr from a process-wide table, and the
// library it loads soundfonts with complains through glib without a log
// domain. While a render runs, warnings and notes are dropped and errors are
// collected for the error text; renders are serialized because the tables
// are shared.
std::mutex sFluidMutex;

class TFluidLogCapture {
public:
    explicit TFluidLogCapture(const TFluidApi& api) : mApi(api)
    {
        for (int level = FLUID_PANIC; level < LAST_LOG_LEVEL; ++level) {
            const bool error = level == FLUID_PANIC || level == FLUID_ERR;
            mPrevious[level] = mApi.fluid_set_log_function(level, error ? &TFluidLogCapture::Keep : nullptr, this);
        }
        mGlibId = g_log_set_handler(nullptr,
            GLogLevelFlags(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION), &TFluidLogCapture::KeepGlib,
            this);
    }
    ~TFluidLogCapture()
    {
        g_log_remove_handler(nullptr, mGlibId);
        for (int level = FLUID_PANIC; level < LAST_LOG_LEVEL; ++level)
            mApi.fluid_set_log_function(level, mPrevious[level], nullptr);
    }
    TFluidLogCapture(const TFluidLogCapture&) = delete;
    TFluidLogCapture& operator=(const TFluidLogCapture&) = delete;

    // `what`, followed by FluidSynth's own words if it gave any.
    std::string Reason(const std::string& what) const
    {
        return mMessages.empty() ? what : what + " (fluidsynth: " + mMessages + ")";
    }

private:
    static void Keep(int, const char* message, void* self)
    {
        auto* capture = static_cast<TFluidLogCapture*>(self);
        if (message == nullptr)
            return;
        if (!capture->mMessages.empty())
            capture->mMessages += "; ";
        capture->mMessages += message;
    }
    static void KeepGlib(const gchar*, GLogLevelFlags level, const gchar* message, gpointer self)
    {
        if (level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING))
            Keep(FLUID_ERR, message, self);
    }

    const TFluidApi& mApi;
    fluid_log_function_t mPrevious[LAST_LOG_LEVEL] = {};
    guint mGlibId = 0;
    std::string mMessages;
};

// `Delete` is the table entry that frees a T.
template <typename T, void (*TFluidApi::*Delete)(T*)>
struct TFluidDeleter {
    const TFluidApi* mApi = nullptr;
    void operator()(T* object) const { (mApi->*Delete)(object); }
};
using TSettingsPtr
    = std::unique_ptr<fluid_settings_t, TFluidDeleter<fluid_settings_t, &TFluidApi::delete_fluid_settings>>;
using TSynthPtr = std::unique_ptr<fluid_synth_t, TFluidDeleter<fluid_synth_t, &TFluidApi::delete_fluid_synth>>;
using TRendererPtr = std::unique_ptr<fluid_file_renderer_t,
    TFluidDeleter<fluid_file_renderer_t, &TFluidApi::delete_fluid_file_renderer>>;

// Stops a running player before it is deleted, as FluidSynth asks.
struct TPlayerDeleter {
    const TFluidApi* mApi = nullptr;
    void operator()(fluid_player_t* player) const
    {
        mApi->fluid_player_stop(player);
        mApi->fluid_player_join(player);
        mApi->delete_fluid_player(player);
    }
};
using TPlayerPtr = std::unique_ptr<fluid_player_t, TPlayerDeleter>;

bool FileExists(const std::string& path)
{
    std::error_code ec;
    return !path.empty() && std::filesystem::is_regular_file(path, ec);
}

// Removes the temporary file unless the render got through.
class TTempFileGuard {
public:
    explicit TTempFileGuard(std::string path) : mPath(std::move(path)) { }
    ~TTempFileGuard()
    {
        if (!mPath.empty())
            ::unlink(mPath.c_str());
    }
    TTempFileGuard(const TTempFileGuard&) = delete;
    TTempFileGuard& operator=(const TTempFileGuard&) = delete;
    void Release() { mPath.clear(); }

private:
    std::string mPath;
};

bool Render(const TFluidApi& api, const std::vector<char>& midi, double songSeconds, const std::string& soundFont,
    const std::string& outPath, std::string& reason)
{
    std::lock_guard<std::mutex> lock(sFluidMutex);
    TFluidLogCapture log(api);

    TSettingsPtr settings(api.new_fluid_settings(), {&api});
    if (!settings) {
        reason = log.Reason("FluidSynth could not start");
        return false;
    }
    // A file renderer driven by the sample clock runs as fast as the CPU
    // allows and gives the same samples every time; memory locking would only
    // need privileges.
    fluid_settings_t* s = settings.get();
    if (api.fluid_settings_setstr(s, "audio.file.name", outPath.c_str()) != FLUID_OK
        || api.fluid_settings_setstr(s, "audio.file.type", "wav") != FLUID_OK
        || api.fluid_settings_setstr(s, "audio.file.format", "s16") != FLUID_OK
        || api.fluid_settings_setstr(s, "player.timing-source", "sample") != FLUID_OK
        || api.fluid_settings_setint(s, "synth.lock-memory", 0) != FLUID_OK
        || api.fluid_settings_setnum(s, "synth.sample-rate", double(kPreviewSampleRate)) != FLUID_OK) {
        reason = log.Reason("FluidSynth refused the render settings (built without WAV output?)");
        return false;
    }
    int periodSize = 0;
    if (api.fluid_settings_getint(s, "audio.period-size", &periodSize) != FLUID_OK || periodSize <= 0) {
        reason = log.Reason("FluidSynth has no period size");
        return false;
    }

    TSynthPtr synth(api.new_fluid_synth(s), {&api});
    if (!synth) {
        reason = log.Reason("FluidSynth could not make a synthesizer");
        return false;
    }
    if (api.fluid_synth_sfload(synth.get(), soundFont.c_str(), 1) == FLUID_FAILED) {
        reason = log.Reason(std::string("cannot load the soundfont ") + soundFont);
        return false;
    }
    TPlayerPtr player(api.new_fluid_player(synth.get()), {&api});
    if (!player || api.fluid_player_add_mem(player.get(), midi.data(), midi.size()) != FLUID_OK) {
        reason = log.Reason("FluidSynth could not take the MIDI file");
        return false;
    }
    TRendererPtr renderer(api.new_fluid_file_renderer(synth.get()), {&api});
    if (!renderer) {
        reason = log.Reason("FluidSynth could not open its output file");
        return false;
    }
    if (api.fluid_player_play(player.get()) != FLUID_OK) {
        reason = log.Reason("FluidSynth could not play the MIDI file");
        return false;
    }

    // The player keeps going after the last event until its sounds have died
    // away. Render at least the song plus the tail whatever the player does,
    // and cut a sound that would never end (a note without note-off).
    const long long wanted = std::llround(std::ceil((songSeconds + kPreviewTailSeconds) * kPreviewSampleRate));
    const long long limit = std::llround(std::ceil((songSeconds + kPreviewMaxRingSeconds) * kPreviewSampleRate));
    long long frames = 0;
    while (frames < wanted || (frames < limit && api.fluid_player_get_status(player.get()) == FLUID_PLAYER_PLAYING)) {
        if (api.fluid_file_renderer_process_block(renderer.get()) != FLUID_OK) {
            reason = log.Reason("FluidSynth could not write the audio");
            return false;
        }
        frames += periodSize;
    }
    // Closing the renderer completes the WAV header.
    player.reset();
    renderer.reset();
    return true;
}

} // namespace

bool LoadFluidSynth(const std::string& library, std::string& error)
{
    TFluidApi api;
    return OpenFluidApi(library.c_str(), api, error);
}

std::string FindGeneralMidiSoundFont()
{
    if (const char* env = std::getenv("ZKGEN_SOUNDFONT"); env != nullptr && FileExists(env))
        return env;
    for (const char* candidate : {"/usr/share/sounds/sf2/FluidR3_GM.sf2", "/usr/share/sounds/sf2/TimGM6mb.sf2",
             "/usr/share/sounds/sf2/default-GM.sf2"}) {
        if (FileExists(candidate))
            return candidate;
    }
    return {};
}

bool RenderWav(const std::string& midiPath, const std::string& wavPath, const std::string& soundFont,
    std::string& error)
{
    const std::string prefix = std::string("cannot write ") + wavPath + ": ";
    if (soundFont.empty()) {
        error = prefix + "no General MIDI soundfont: install timgm6mb-soundfont or set ZKGEN_SOUNDFONT";
        return false;
    }
    if (!FileExists(soundFont)) {
        error = prefix + "soundfont " + soundFont + " is not a readable file";
        return false;
    }
    // Checked and measured first: FluidSynth plays a broken or missing file
    // as silence without failing.
    std::string reason;
    const std::optional<TMidiFileInfo> info = ReadMidiFileInfo(midiPath, reason);
    if (!info) {
        error = prefix + reason;
        return false;
    }
    std::ifstream in(midiPath, std::ios::binary);
    std::vector<char> midi((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof()) {
        error = prefix + "cannot read " + midiPath;
        return false;
    }

    const TFluidApi* api = FluidSynth(reason);
    if (api == nullptr) {
        error = prefix + reason;
        return false;
    }

    std::string tempPath;
    if (!CreateTempFileBeside(wavPath, tempPath, reason)) {
        error = prefix + reason;
        return false;
    }
    TTempFileGuard guard(tempPath);
    if (!Render(*api, midi, MidiFileSeconds(*info), soundFont, tempPath, reason)) {
        error = prefix + reason;
        return false;
    }
    guard.Release();
    if (!ReplaceWithTempFile(tempPath, wavPath, reason)) {
        error = prefix + reason;
        return false;
    }
    return true;
}

} // namespace zkgen::cli
