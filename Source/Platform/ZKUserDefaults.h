#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

// User defaults: a few settings of the user, read by key.
//
// Where a value comes from, first match wins:
//   1. an in-process override (ZKUserDefaultsSetOverride), for tests and hosts;
//   2. the environment variable ZKGEN_DEFAULT_<key>, e.g.
//      ZKGEN_DEFAULT_FeatureAvailable_TolvarContent=1;
//   3. the defaults file: $ZKGEN_DEFAULTS_FILE if set, otherwise
//      $XDG_CONFIG_HOME/zkgen/defaults, otherwise ~/.config/zkgen/defaults.
// The file holds lines "key = value". Blank lines and lines whose first
// non-blank character is '#' are ignored, as are lines without '='. Key and
// value lose surrounding blanks; a value in double quotes loses the quotes
// (there are no escapes). A later line for the same key wins. The file is
// read at each query, so edits apply without a restart.
//
// Bools are 1/0, true/false or yes/no, in any case; any other text counts as
// absent, so the caller's default applies.

// Opens the content development aids.
inline constexpr const char* kZKUserDefault_FeatureAvailable_TolvarContent = "FeatureAvailable_TolvarContent";
// The folder that script debug output is written to.
inline constexpr const char* kZKUserDefault_TolvarContentDebugPrintToFileDirectory = "TolvarContentDebugPrintToFileDirectory";

// The raw text stored for `key`, from the first source that has it.
std::optional<std::string> ZKUserDefaultsStringForKey(const std::string& key);
// The bool stored for `key`, or `def` when it is absent or not a bool.
bool ZKUserDefaultsBoolForKey(const std::string& key, bool def = false);

void ZKUserDefaultsSetOverride(const std::string& key, const std::string& value);
void ZKUserDefaultsRemoveOverride(const std::string& key);
void ZKUserDefaultsRemoveAllOverrides();

// Parsing, exposed for tests and tools.
std::optional<bool> ZKUserDefaultsParseBool(std::string_view text);
std::map<std::string, std::string> ZKUserDefaultsParseFile(std::string_view text);
// The defaults file consulted now (see above); empty when no home is known.
std::string ZKUserDefaultsFilePath();
