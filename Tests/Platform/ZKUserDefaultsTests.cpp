#include "Platform/ZKUserDefaults.h"

#include "Platform/ZKFileOps.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <unistd.h>

TEST(ZKUserDefaults, ParsesBools)
{
    for (const char* yes : {"1", "true", "TRUE", "Yes", " yes "})
        EXPECT_EQ(ZKUserDefaultsParseBool(yes), true) << yes;
    for (const char* no : {"0", "false", "False", "NO"})
        EXPECT_EQ(ZKUserDefaultsParseBool(no), false) << no;
    for (const char* neither : {"", "2", "on", "truthy", "y"})
        EXPECT_FALSE(ZKUserDefaultsParseBool(neither)) << neither;
}

TEST(ZKUserDefaults, ParsesTheDefaultsFile)
{
    const auto values = ZKUserDefaultsParseFile(
        "# content aids\n"
        "FeatureAvailable_TolvarContent = yes\r\n"
        "\n"
        "   # indented comment = ignored\n"
        "TolvarContentDebugPrintToFileDirectory=\"/tmp/with # hash \"\n"
        "no equals sign here\n"
        " = no key\n"
        "Empty =\n"
        "Twice = first\n"
        "Twice = second");
    const std::map<std::string, std::string> expected = {
        {"FeatureAvailable_TolvarContent", "yes"},
        {"TolvarContentDebugPrintToFileDirectory", "/tmp/with # hash "},
        {"Empty", ""},
        {"Twice", "second"},
    };
    EXPECT_EQ(values, expected);
}

TEST(ZKUserDefaults, OverridesBeatEnvironmentBeatsFile)
{
    const std::string key = kZKUserDefault_FeatureAvailable_TolvarContent;
    const std::string dirKey = kZKUserDefault_TolvarContentDebugPrintToFileDirectory;
    const std::string envName = "ZKGEN_DEFAULT_" + key;
    const TGenUrl file = std::filesystem::temp_directory_path() / ("zkgen-defaults-" + std::to_string(getpid()));
    const std::string text = key + " = false\n" + dirKey + " = /var/tmp/prints\nBroken = maybe\n";
    ASSERT_TRUE(ZKFileWriteAtomically(file, TGenData(text.begin(), text.end())));
    setenv("ZKGEN_DEFAULTS_FILE", file.c_str(), 1);
    unsetenv(envName.c_str());
    ZKUserDefaultsRemoveAllOverrides();

    EXPECT_EQ(ZKUserDefaultsFilePath(), file.string());
    EXPECT_FALSE(ZKUserDefaultsBoolForKey(key, true));
    EXPECT_EQ(ZKUserDefaultsStringForKey(dirKey), "/var/tmp/prints");
    EXPECT_TRUE(ZKUserDefaultsBoolForKey("Broken", true)); // not a bool: the default
    EXPECT_FALSE(ZKUserDefaultsBoolForKey("Broken", false));
    EXPECT_FALSE(ZKUserDefaultsStringForKey("Absent"));

    setenv(envName.c_str(), "1", 1);
    EXPECT_TRUE(ZKUserDefaultsBoolForKey(key));
    ZKUserDefaultsSetOverride(key, "no");
    EXPECT_FALSE(ZKUserDefaultsBoolForKey(key, true));
    ZKUserDefaultsRemoveOverride(key);
    EXPECT_TRUE(ZKUserDefaultsBoolForKey(key));
    unsetenv(envName.c_str());
    EXPECT_FALSE(ZKUserDefaultsBoolForKey(key, true));

    // A missing file means no values, not an error.
    ZKFileRemove(file);
    EXPECT_FALSE(ZKUserDefaultsStringForKey(dirKey));
    EXPECT_TRUE(ZKUserDefaultsBoolForKey(key, true));
    unsetenv("ZKGEN_DEFAULTS_FILE");
}

TEST(ZKUserDefaults, FindsTheFileInTheUsualPlaces)
{
    const char* savedHome = std::getenv("HOME");
    const std::string home = savedHome ? savedHome : "";
    unsetenv("ZKGEN_DEFAULTS_FILE");
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", "/home/drummer", 1);
    EXPECT_EQ(ZKUserDefaultsFilePath(), "/home/drummer/.config/zkgen/defaults");
    setenv("XDG_CONFIG_HOME", "/cfg", 1);
    EXPECT_EQ(ZKUserDefaultsFilePath(), "/cfg/zkgen/defaults");
    setenv("ZKGEN_DEFAULTS_FILE", "/etc/zk", 1);
    EXPECT_EQ(ZKUserDefaultsFilePath(), "/etc/zk");
    unsetenv("ZKGEN_DEFAULTS_FILE");
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("HOME");
    EXPECT_EQ(ZKUserDefaultsFilePath(), "");
    if (savedHome)
        setenv("HOME", home.c_str(), 1);
}
