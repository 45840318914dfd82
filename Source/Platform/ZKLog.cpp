#include "Platform/ZKLog.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <array>
#include <atomic>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace zkgen {
namespace {

const char* const kCategoryNames[kZKLogCategoryCount] = {
    "lua.generator-setup",
    "lua.debugPrint",
    "lua.runtime-error",
    "generator.storage",
    "generator.styles",
};

bool IsCategory(ZKLogCategory c) { return c >= 0 && c < kZKLogCategoryCount; }

spdlog::level::level_enum ToSpdlog(ZKLogLevel level)
{
    switch (level) {
    case ZKLogLevel_Trace: return spdlog::level::trace;
    case ZKLogLevel_Debug: return spdlog::level::debug;
    case ZKLogLevel_Info: return spdlog::level::info;
    case ZKLogLevel_Warn: return spdlog::level::warn;
    case ZKLogLevel_Error: return spdlog::level::err;
    case ZKLogLevel_Off: break;
    }
    return spdlog::level::off;
}

// Never destroyed, so that messages from static destructors elsewhere still
// find their loggers.
struct LogState {
    std::once_flag levelOnce;
    std::atomic<int> stderrLevel {ZKLogLevel_Warn};
    std::once_flag sinkOnce;
    std::shared_ptr<spdlog::sinks::stderr_sink_mt> stderrSink;
    std::array<std::once_flag, kZKLogCategoryCount> loggerOnce;
    std::array<std::shared_ptr<spdlog::logger>, kZKLogCategoryCount> loggers;
    std::mutex captureMutex;
    std::shared_ptr<const ZKLogSink> capture;
};

LogState& State()
{
    static LogState* state = new LogState;
    return *state;
}

int StderrLevelInitialised()
{
    LogState& s = State();
    std::call_once(s.levelOnce, [&s] {
        if (const char* env = std::getenv("ZKGEN_LOG_LEVEL")) {
            if (auto level = ZKLogLevelFromName(env))
                s.stderrLevel.store(*level);
        }
    });
    return s.stderrLevel.load(std::memory_order_relaxed);
}

spdlog::logger& Logger(ZKLogCategory category)
{
    LogState& s = State();
    std::call_once(s.sinkOnce, [&s] { s.stderrSink = std::make_shared<spdlog::sinks::stderr_sink_mt>(); });
    std::call_once(s.loggerOnce[category], [&s, category] {
        // Not registered with spdlog's global registry: a host may use spdlog itself.
        auto logger = std::make_shared<spdlog::logger>(ZKLogLoggerName(category), s.stderrSink);
        logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %n [%l] %v");
        logger->set_level(spdlog::level::trace);
        s.loggers[category] = std::move(logger);
    });
    return *s.loggers[category];
}

std::shared_ptr<const ZKLogSink> CurrentCapture()
{
    LogState& s = State();
    std::lock_guard<std::mutex> lock(s.captureMutex);
    return s.capture;
}

std::string ShortestDouble(double d)
{
    char buffer[64];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, d);
    return ec == std::errc() ? std::string(buffer, end) : std::string("nan");
}

std::string Printf(const std::string& printfFormat, auto value)
{
    char buffer[128];
    const int n = std::snprintf(buffer, sizeof buffer, printfFormat.c_str(), value);
    if (n < 0)
        return {};
    if (static_cast<size_t>(n) < sizeof buffer)
        return std::string(buffer, static_cast<size_t>(n));
    std::string big(static_cast<size_t>(n) + 1, '\0');
    std::snprintf(big.data(), big.size(), printfFormat.c_str(), value);
    big.resize(static_cast<size_t>(n));
    return big;
}

// One conversion, formatted from the collected flags, width and precision.
std::string Convert(char conversion, const std::string& flagsWidthPrecision, const ZKLogArg* arg)
{
    if (!arg)
        return "(null)";
    const auto& v = arg->Value();
    const std::string printfFormat = "%" + flagsWidthPrecision;
    switch (conversion) {
    case 'd':
    case 'i':
        if (const auto* i = std::get_if<int64_t>(&v))
            return Printf(printfFormat + "lld", static_cast<long long>(*i));
        if (const auto* u = std::get_if<uint64_t>(&v))
            return Printf(printfFormat + "llu", static_cast<unsigned long long>(*u));
        break;
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        if (const auto* i = std::get_if<int64_t>(&v))
            return Printf(printfFormat + "ll" + conversion, static_cast<unsigned long long>(*i));
        if (const auto* u = std::get_if<uint64_t>(&v))
            return Printf(printfFormat + "ll" + conversion, static_cast<unsigned long long>(*u));
        break;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        if (const auto* d = std::get_if<double>(&v))
            return Printf(printfFormat + conversion, *d);
        if (const auto* i = std::get_if<int64_t>(&v))
            return Printf(printfFormat + conversion, static_cast<double>(*i));
        if (const auto* u = std::get_if<uint64_t>(&v))
            return Printf(printfFormat + conversion, static_cast<double>(*u));
        break;
    case 'c':
        if (const auto* i = std::get_if<int64_t>(&v))
            return Printf(printfFormat + "c", static_cast<int>(*i));
        if (const auto* u = std::get_if<uint64_t>(&v))
            return Printf(printfFormat + "c", static_cast<int>(*u));
        break;
    default: break;
    }
    const std::string text = arg->ToString();
    return flagsWidthPrecision.empty() ? text : Printf(printfFormat + "s", text.c_str());
}

} // namespace
} // namespace zkgen

using namespace zkgen;

const char* ZKLogCategoryName(ZKLogCategory category) { return IsCategory(category) ? kCategoryNames[category] : ""; }

std::string ZKLogLoggerName(ZKLogCategory category)
{
    return std::string(kZKLogSubsystem) + "/" + ZKLogCategoryName(category);
}

ZKLogLevel ZKLogCategoryDefaultLevel(ZKLogCategory category)
{
    switch (category) {
    case ZKLogCategory_GeneratorStorage: return ZKLogLevel_Info;
    case ZKLogCategory_LuaRuntimeError: return ZKLogLevel_Error;
    case ZKLogCategory_LuaGeneratorSetup:
    case ZKLogCategory_LuaDebugPrint:
    case ZKLogCategory_GeneratorStyles: return ZKLogLevel_Debug;
    }
    return ZKLogLevel_Info;
}

const char* ZKLogLevelName(ZKLogLevel level)
{
    static const char* const kNames[] = {"trace", "debug", "info", "warn", "error", "off"};
    return level >= ZKLogLevel_Trace && level <= ZKLogLevel_Off ? kNames[level] : "";
}

std::optional<ZKLogLevel> ZKLogLevelFromName(std::string_view name)
{
    std::string lower;
    for (char c : name)
        lower.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    if (lower == "warning")
        return ZKLogLevel_Warn;
    for (int l = ZKLogLevel_Trace; l <= ZKLogLevel_Off; ++l) {
        if (lower == ZKLogLevelName(static_cast<ZKLogLevel>(l)))
            return static_cast<ZKLogLevel>(l);
    }
    return std::nullopt;
}

ZKLogLevel ZKLogStderrLevel() { return static_cast<ZKLogLevel>(StderrLevelInitialised()); }

void ZKLogSetStderrLevel(ZKLogLevel level)
{
    StderrLevelInitialised(); // so that a later first message does not read the environment over it
    State().stderrLevel.store(level);
}

bool ZKLogIsEnabled(ZKLogCategory category, ZKLogLevel level)
{
    if (!IsCategory(category) || level < ZKLogLevel_Trace || level >= ZKLogLevel_Off)
        return false;
    return level >= StderrLevelInitialised() || CurrentCapture() != nullptr;
}

void ZKLog(ZKLogCategory category, ZKLogLevel level, const std::string& message)
{
    if (!IsCategory(category) || level < ZKLogLevel_Trace || level >= ZKLogLevel_Off)
        return;
    if (auto capture = CurrentCapture()) {
        try {
            (*capture)(category, level, message);
        } catch (...) {
        }
    }
    if (level >= StderrLevelInitialised())
        Logger(category).log(ToSpdlog(level), spdlog::string_view_t(message.data(), message.size()));
}

void ZKLog(ZKLogCategory category, const std::string& message)
{
    ZKLog(category, ZKLogCategoryDefaultLevel(category), message);
}

std::string ZKLogArg::ToString() const
{
    if (const auto* s = std::get_if<std::string>(&mValue))
        return *s;
    if (const auto* i = std::get_if<int64_t>(&mValue))
        return std::to_string(*i);
    if (const auto* u = std::get_if<uint64_t>(&mValue))
        return std::to_string(*u);
    return ShortestDouble(std::get<double>(mValue));
}

std::string ZKLogFormat(std::string_view format, const std::vector<ZKLogArg>& args)
{
    std::string out;
    out.reserve(format.size() + 16 * args.size());
    size_t next = 0;
    const size_t n = format.size();
    for (size_t i = 0; i < n; ++i) {
        const char c = format[i];
        if (c != '%') {
            out.push_back(c);
            continue;
        }
        if (i + 1 < n && format[i + 1] == '%') {
            out.push_back('%');
            ++i;
            continue;
        }
        size_t j = i + 1;
        if (j < n && format[j] == '{') {
            const size_t close = format.find('}', j);
            if (close == std::string_view::npos) {
                out.append(format.substr(i));
                break;
            }
            j = close + 1;
        }
        std::string printfFormat;
        while (j < n && std::string_view("-+ #0").find(format[j]) != std::string_view::npos)
            printfFormat.push_back(format[j++]);
        while (j < n && std::isdigit(static_cast<unsigned char>(format[j])))
            printfFormat.push_back(format[j++]);
        if (j < n && format[j] == '.') {
            printfFormat.push_back(format[j++]);
            while (j < n && std::isdigit(static_cast<unsigned char>(format[j])))
                printfFormat.push_back(format[j++]);
        }
        while (j < n && std::string_view("hlqzjtL").find(format[j]) != std::string_view::npos)
            ++j;
        if (j >= n) {
            out.append(format.substr(i));
            break;
        }
        const char conversion = format[j];
        if (std::string_view("s@diuxXofFeEgGaAc").find(conversion) == std::string_view::npos) {
            out.append(format.substr(i, j + 1 - i));
            i = j;
            continue;
        }
        const ZKLogArg* arg = next < args.size() ? &args[next] : nullptr;
        ++next;
        out += Convert(conversion, printfFormat, arg);
        i = j;
    }
    return out;
}

std::string ZKLogFormat(std::string_view format, std::initializer_list<ZKLogArg> args)
{
    return ZKLogFormat(format, std::vector<ZKLogArg>(args));
}

void ZKLogf(ZKLogCategory category, ZKLogLevel level, std::string_view format, std::initializer_list<ZKLogArg> args)
{
    if (ZKLogIsEnabled(category, level))
        ZKLog(category, level, ZKLogFormat(format, args));
}

void ZKLogf(ZKLogCategory category, std::string_view format, std::initializer_list<ZKLogArg> args)
{
    ZKLogf(category, ZKLogCategoryDefaultLevel(category), format, args);
}

ZKLogSink ZKLogSetCaptureSink(ZKLogSink sink)
{
    LogState& s = State();
    auto replacement = sink ? std::make_shared<const ZKLogSink>(std::move(sink)) : nullptr;
    std::lock_guard<std::mutex> lock(s.captureMutex);
    ZKLogSink previous = s.capture ? *s.capture : ZKLogSink();
    s.capture = std::move(replacement);
    return previous;
}

ZKLogCapture::ZKLogCapture()
{
    mPrevious = ZKLogSetCaptureSink([this](ZKLogCategory category, ZKLogLevel level, const std::string& text) {
        std::lock_guard<std::mutex> lock(mMutex);
        mRecords.push_back({category, level, text});
    });
}

ZKLogCapture::~ZKLogCapture() { ZKLogSetCaptureSink(std::move(mPrevious)); }

std::vector<ZKLogRecord> ZKLogCapture::Records() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mRecords;
}

std::vector<std::string> ZKLogCapture::Texts(ZKLogCategory category) const
{
    std::lock_guard<std::mutex> lock(mMutex);
    std::vector<std::string> texts;
    for (const auto& r : mRecords) {
        if (r.mCategory == category)
            texts.push_back(r.mText);
    }
    return texts;
}

void ZKLogCapture::Clear()
{
    std::lock_guard<std::mutex> lock(mMutex);
    mRecords.clear();
}
