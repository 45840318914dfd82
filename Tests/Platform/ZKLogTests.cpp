#include "Platform/ZKLog.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

TEST(ZKLog, FormatsTheEngineFormats)
{
    const std::vector<std::tuple<std::string, std::vector<ZKLogArg>, std::string>> cases = {
        {"Failed to load style %{public}@: %{public}s", {"A", "B"}, "Failed to load style A: B"},
        {"%s and %@", {std::string("x"), std::string_view("y")}, "x and y"},
        {"%d|%i|%ld|%lld|%zu|%u", {-3, int64_t(4), 5L, -6LL, size_t(7), 8u}, "-3|4|5|-6|7|8"},
        {"%{public}d bars", {12}, "12 bars"},
        {"%f %.2f %5.1f|%g", {0.5, 1.0 / 3.0, 2.25, 1e20}, "0.500000 0.33   2.2|1e+20"},
        {"%f", {3}, "3.000000"},
        {"%03d|%-4d|%x|%X|%c", {7, 5, 255, 255, 'A'}, "007|5   |ff|FF|A"},
        {"100%% sure, %s%%", {"really"}, "100% sure, really%"},
        {"%@ is %@ (%@)", {1.5, int64_t(-2), uint64_t(3)}, "1.5 is -2 (3)"},
        {"%d is text", {"seven"}, "seven is text"},
        {"%s %s", {"one"}, "one (null)"},
        {"%s", {"one", "two"}, "one"},
        {"%y %k stay", {"unused"}, "%y %k stay"},
        {"ends with %", {}, "ends with %"},
        {"open %{public", {"x"}, "open %{public"},
        {"%{private}s", {"secret"}, "secret"},
        {"no conversions", {"x"}, "no conversions"},
        {"", {}, ""},
    };
    for (const auto& [format, args, expected] : cases)
        EXPECT_EQ(ZKLogFormat(format, args), expected) << format;
    EXPECT_EQ(ZKLogFormat("%{public}s", {std::numeric_limits<int64_t>::min()}), "-9223372036854775808");
    EXPECT_EQ(ZKLogFormat("%@", {0.1}), "0.1");
}

TEST(ZKLog, NamesCategoriesAndLevels)
{
    EXPECT_STREQ(kZKLogSubsystem, "zk.musicapps.generative-instruments");
    const std::vector<std::tuple<ZKLogCategory, std::string, ZKLogLevel>> categories = {
        {ZKLogCategory_LuaGeneratorSetup, "lua.generator-setup", ZKLogLevel_Debug},
        {ZKLogCategory_LuaDebugPrint, "lua.debugPrint", ZKLogLevel_Debug},
        {ZKLogCategory_LuaRuntimeError, "lua.runtime-error", ZKLogLevel_Error},
        {ZKLogCategory_GeneratorStorage, "generator.storage", ZKLogLevel_Info},
        {ZKLogCategory_GeneratorStyles, "generator.styles", ZKLogLevel_Debug},
    };
    for (const auto& [category, name, level] : categories) {
        EXPECT_EQ(ZKLogCategoryName(category), name);
        EXPECT_EQ(ZKLogLoggerName(category), "zk.musicapps.generative-instruments/" + name);
        EXPECT_EQ(ZKLogCategoryDefaultLevel(category), level) << name;
    }
    EXPECT_STREQ(ZKLogCategoryName(static_cast<ZKLogCategory>(9)), "");

    EXPECT_EQ(ZKLogLevelFromName("TRACE"), ZKLogLevel_Trace);
    EXPECT_EQ(ZKLogLevelFromName("Debug"), ZKLogLevel_Debug);
    EXPECT_EQ(ZKLogLevelFromName("info"), ZKLogLevel_Info);
    EXPECT_EQ(ZKLogLevelFromName("warning"), ZKLogLevel_Warn);
    EXPECT_EQ(ZKLogLevelFromName("error"), ZKLogLevel_Error);
    EXPECT_EQ(ZKLogLevelFromName("off"), ZKLogLevel_Off);
    EXPECT_FALSE(ZKLogLevelFromName("loud"));
}

TEST(ZKLog, CaptureSeesEveryLevelInOrder)
{
    ZKLogSetStderrLevel(ZKLogLevel_Off);
    {
        ZKLogCapture capture;
        EXPECT_TRUE(ZKLogIsEnabled(ZKLogCategory_GeneratorStyles, ZKLogLevel_Trace));
        ZKLog(ZKLogCategory_GeneratorStorage, "Loaded bundle");
        ZKLogf(ZKLogCategory_GeneratorStyles, "Failed to load style %{public}@: %{public}s", {"Rock", "missing file"});
        ZKLog(ZKLogCategory_LuaRuntimeError, ZKLogLevel_Warn, "slow script");
        ZKLogf(ZKLogCategory_LuaDebugPrint, ZKLogLevel_Trace, "%d", {1});
        ZKLog(ZKLogCategory_GeneratorStorage, ZKLogLevel_Off, "never");
        ZKLog(static_cast<ZKLogCategory>(42), ZKLogLevel_Error, "never either");

        const std::vector<ZKLogRecord> expected = {
            {ZKLogCategory_GeneratorStorage, ZKLogLevel_Info, "Loaded bundle"},
            {ZKLogCategory_GeneratorStyles, ZKLogLevel_Debug, "Failed to load style Rock: missing file"},
            {ZKLogCategory_LuaRuntimeError, ZKLogLevel_Warn, "slow script"},
            {ZKLogCategory_LuaDebugPrint, ZKLogLevel_Trace, "1"},
        };
        EXPECT_EQ(capture.Records(), expected);
        EXPECT_EQ(capture.Texts(ZKLogCategory_GeneratorStyles),
            std::vector<std::string> {"Failed to load style Rock: missing file"});

        {
            ZKLogCapture inner; // the innermost capture receives
            ZKLog(ZKLogCategory_GeneratorStorage, "inner");
            EXPECT_EQ(inner.Texts(ZKLogCategory_GeneratorStorage), std::vector<std::string> {"inner"});
        }
        capture.Clear();
        ZKLog(ZKLogCategory_GeneratorStorage, "outer again");
        EXPECT_EQ(capture.Texts(ZKLogCategory_GeneratorStorage), std::vector<std::string> {"outer again"});
    }
    EXPECT_FALSE(ZKLogIsEnabled(ZKLogCategory_LuaRuntimeError, ZKLogLevel_Error));

    // A sink that throws does not disturb the caller.
    ZKLogSetCaptureSink([](ZKLogCategory, ZKLogLevel, const std::string&) { throw 1; });
    EXPECT_NO_THROW(ZKLog(ZKLogCategory_GeneratorStorage, "x"));
    ZKLogSetCaptureSink({});
}

TEST(ZKLog, WritesToStderrFromItsLevelUp)
{
    ZKLogSetStderrLevel(ZKLogLevel_Info);
    EXPECT_EQ(ZKLogStderrLevel(), ZKLogLevel_Info);
    testing::internal::CaptureStderr();
    ZKLog(ZKLogCategory_GeneratorStorage, "Saved library");
    ZKLog(ZKLogCategory_GeneratorStyles, "style detail");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find(" zk.musicapps.generative-instruments/generator.storage [info] Saved library\n"), std::string::npos)
        << err;
    EXPECT_EQ(err.find("style detail"), std::string::npos) << err;
    ZKLogSetStderrLevel(ZKLogLevel_Off);
}

namespace {

// Runs in a fresh process: the environment is read once, at the first use.
[[noreturn]] void ExitWithStderrLevelFor(const char* env)
{
    if (env)
        setenv("ZKGEN_LOG_LEVEL", env, 1);
    else
        unsetenv("ZKGEN_LOG_LEVEL");
    std::exit(static_cast<int>(ZKLogStderrLevel()));
}

} // namespace

TEST(ZKLog, StderrLevelComesFromTheEnvironment)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(ExitWithStderrLevelFor(nullptr), testing::ExitedWithCode(ZKLogLevel_Warn), "");
    EXPECT_EXIT(ExitWithStderrLevelFor("DEBUG"), testing::ExitedWithCode(ZKLogLevel_Debug), "");
    EXPECT_EXIT(ExitWithStderrLevelFor("off"), testing::ExitedWithCode(ZKLogLevel_Off), "");
    EXPECT_EXIT(ExitWithStderrLevelFor("chatty"), testing::ExitedWithCode(ZKLogLevel_Warn), "");
}
