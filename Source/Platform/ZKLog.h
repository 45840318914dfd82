#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

// The engine's log: one subsystem, kZKLogSubsystem, with five categories.
// Each category is a logger of its own, created on first use (once, also
// under concurrent first use) and named "<subsystem>/<category>", e.g.
// "zk.musicapps.generative-instruments/generator.storage".
//
// Every category has a default level: storage messages info, runtime errors
// error, style and Lua messages debug.
//
// Output. Messages at or above the stderr level go to standard error as
//   2024-05-01 12:00:00.000 zk.musicapps.generative-instruments/generator.storage [info] text
// The stderr level comes from the environment variable ZKGEN_LOG_LEVEL
// (trace, debug, info, warn, error or off; case does not matter), read once
// at the first message; without it, or with another value, it is warn, so
// that a command-line front end stays quiet. ZKLogSetStderrLevel changes it
// at run time.
//
// Capture. A capture sink, when set, receives every message of every level
// with its category, whatever the stderr level; tests use ZKLogCapture to
// assert exact log texts.

inline constexpr const char* kZKLogSubsystem = "zk.musicapps.generative-instruments";

enum ZKLogCategory {
    ZKLogCategory_LuaGeneratorSetup, // "lua.generator-setup"
    ZKLogCategory_LuaDebugPrint,     // "lua.debugPrint"
    ZKLogCategory_LuaRuntimeError,   // "lua.runtime-error"
    ZKLogCategory_GeneratorStorage,  // "generator.storage"
    ZKLogCategory_GeneratorStyles,   // "generator.styles"
};
inline constexpr int kZKLogCategoryCount = 5;

enum ZKLogLevel {
    ZKLogLevel_Trace,
    ZKLogLevel_Debug,
    ZKLogLevel_Info,
    ZKLogLevel_Warn,
    ZKLogLevel_Error,
    ZKLogLevel_Off,
};

// "generator.storage" and so on; "" for a value outside the enumeration.
const char* ZKLogCategoryName(ZKLogCategory category);
// "<subsystem>/<category>".
std::string ZKLogLoggerName(ZKLogCategory category);
ZKLogLevel ZKLogCategoryDefaultLevel(ZKLogCategory category);
// "trace", "debug", "info", "warn", "error", "off".
const char* ZKLogLevelName(ZKLogLevel level);
// The level of a name as ZKGEN_LOG_LEVEL takes it ("warning" too).
std::optional<ZKLogLevel> ZKLogLevelFromName(std::string_view name);

// Writes `message` in `category` at `level`, or at the category's default level.
void ZKLog(ZKLogCategory category, ZKLogLevel level, const std::string& message);
void ZKLog(ZKLogCategory category, const std::string& message);
// Whether a message would go anywhere; lets callers skip costly formatting.
bool ZKLogIsEnabled(ZKLogCategory category, ZKLogLevel level);

ZKLogLevel ZKLogStderrLevel();
void ZKLogSetStderrLevel(ZKLogLevel level);

// One argument of ZKLogFormat: text, an integer or a floating number.
class ZKLogArg {
public:
    ZKLogArg(const char* s) : mValue(std::string(s ? s : "(null)")) {}
    ZKLogArg(std::string s) : mValue(std::move(s)) {}
    ZKLogArg(std::string_view s) : mValue(std::string(s)) {}
    template <class T>
        requires std::is_integral_v<T>
    ZKLogArg(T v)
    {
        if constexpr (std::is_signed_v<T> || std::is_same_v<T, bool>)
            mValue = static_cast<int64_t>(v);
        else
            mValue = static_cast<uint64_t>(v);
    }
    template <class T>
        requires std::is_floating_point_v<T>
    ZKLogArg(T v) : mValue(static_cast<double>(v))
    {
    }

    // Text as is, integers in decimal, floating numbers in their shortest exact form.
    std::string ToString() const;
    const std::variant<std::string, int64_t, uint64_t, double>& Value() const { return mValue; }

private:
    std::variant<std::string, int64_t, uint64_t, double> mValue;
};

// printf-like formatting for the engine's log formats. A conversion is
//   % [{annotation}] [flags -+ #0] [width] [.precision] [length hh h l ll q z j t L] conversion
// The annotation ("public", "private", ...) is accepted and ignored. "%s" and
// "%@" print an argument's text; "%d" and "%i" a signed, "%u", "%x", "%X" and
// "%o" an unsigned integer; "%f", "%e", "%g" (and capitals) a floating number;
// "%c" a character; "%%" a percent sign. Arguments are used in order; an
// argument of another kind than the conversion expects prints its text (an
// integer converts to floating for "%f"). A missing argument prints "(null)",
// extra arguments are ignored, and an unknown conversion is copied as it
// stands. Example:
//   ZKLogFormat("Failed to load style %{public}@: %{public}s", {"A", "B"})
//   == "Failed to load style A: B"
std::string ZKLogFormat(std::string_view format, const std::vector<ZKLogArg>& args);
std::string ZKLogFormat(std::string_view format, std::initializer_list<ZKLogArg> args);

// ZKLog of a ZKLogFormat text; formats only when the message goes anywhere.
void ZKLogf(ZKLogCategory category, ZKLogLevel level, std::string_view format, std::initializer_list<ZKLogArg> args);
void ZKLogf(ZKLogCategory category, std::string_view format, std::initializer_list<ZKLogArg> args);

// The capture sink; an empty function removes it. Returns the sink it
// replaces. The sink is called on the logging thread, outside any lock of the
// log, and must not throw (an exception is swallowed).
using ZKLogSink = std::function<void(ZKLogCategory category, ZKLogLevel level, const std::string& text)>;
ZKLogSink ZKLogSetCaptureSink(ZKLogSink sink);

struct ZKLogRecord {
    ZKLogCategory mCategory;
    ZKLogLevel mLevel;
    std::string mText;
    bool operator==(const ZKLogRecord&) const = default;
};

// Collects every message while it lives, then puts the previous sink back.
class ZKLogCapture {
public:
    ZKLogCapture();
    ~ZKLogCapture();
    ZKLogCapture(const ZKLogCapture&) = delete;
    ZKLogCapture& operator=(const ZKLogCapture&) = delete;

    std::vector<ZKLogRecord> Records() const;
    // The texts of one category, in order.
    std::vector<std::string> Texts(ZKLogCategory category) const;
    void Clear();

private:
    mutable std::mutex mMutex;
    std::vector<ZKLogRecord> mRecords;
    ZKLogSink mPrevious;
};
