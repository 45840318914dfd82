#include "Platform/ZKUserDefaults.h"
#include "Platform/ZKStrings.h"

#include "Platform/ZKFileOps.h"

#include <cctype>
#include <cstdlib>
#include <mutex>

namespace zkgen {
namespace {

struct Overrides {
    std::mutex mutex;
    std::map<std::string, std::string> values;
};

Overrides& GetOverrides()
{
    static Overrides* overrides = new Overrides;
    return *overrides;
}

std::string_view Trim(std::string_view s)
{
    return ZKTrimWhitespace(s);
}

std::string Lower(std::string_view s)
{
    std::string out;
    for (char c : s)
        out.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    return out;
}

} // namespace
} // namespace zkgen

using namespace zkgen;

std::optional<bool> ZKUserDefaultsParseBool(std::string_view text)
{
    const std::string v = Lower(Trim(text));
    if (v == "1" || v == "true" || v == "yes")
        return true;
    if (v == "0" || v == "false" || v == "no")
        return false;
    return std::nullopt;
}

std::map<std::string, std::string> ZKUserDefaultsParseFile(std::string_view text)
{
    std::map<std::string, std::string> values;
    while (!text.empty()) {
        const size_t eol = text.find('\n');
        std::string_view line = text.substr(0, eol);
        text = eol == std::string_view::npos ? std::string_view() : text.substr(eol + 1);
        line = Trim(line);
        if (line.empty() || line.front() == '#')
            continue;
        const size_t eq = line.find('=');
        if (eq == std::string_view::npos)
            continue;
        const std::string_view key = Trim(line.substr(0, eq));
        std::string_view value = Trim(line.substr(eq + 1));
        if (key.empty())
            continue;
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        values[std::string(key)] = std::string(value);
    }
    return values;
}

std::string ZKUserDefaultsFilePath()
{
    if (const char* file = std::getenv("ZKGEN_DEFAULTS_FILE"); file && *file)
        return file;
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg)
        return std::string(xdg) + "/zkgen/defaults";
    if (const char* home = std::getenv("HOME"); home && *home)
        return std::string(home) + "/.config/zkgen/defaults";
    return {};
}

std::optional<std::string> ZKUserDefaultsStringForKey(const std::string& key)
{
    {
        Overrides& o = GetOverrides();
        std::lock_guard<std::mutex> lock(o.mutex);
        if (auto it = o.values.find(key); it != o.values.end())
            return it->second;
    }
    if (const char* env = std::getenv(("ZKGEN_DEFAULT_" + key).c_str()))
        return std::string(env);
    const std::string path = ZKUserDefaultsFilePath();
    if (path.empty() || !ZKFileExists(path))
        return std::nullopt;
    const auto bytes = ZKFileRead(path);
    if (!bytes)
        return std::nullopt;
    const auto values = ZKUserDefaultsParseFile(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()));
    if (auto it = values.find(key); it != values.end())
        return it->second;
    return std::nullopt;
}

bool ZKUserDefaultsBoolForKey(const std::string& key, bool def)
{
    const auto text = ZKUserDefaultsStringForKey(key);
    if (!text)
        return def;
    return ZKUserDefaultsParseBool(*text).value_or(def);
}

void ZKUserDefaultsSetOverride(const std::string& key, const std::string& value)
{
    Overrides& o = GetOverrides();
    std::lock_guard<std::mutex> lock(o.mutex);
    o.values[key] = value;
}

void ZKUserDefaultsRemoveOverride(const std::string& key)
{
    Overrides& o = GetOverrides();
    std::lock_guard<std::mutex> lock(o.mutex);
    o.values.erase(key);
}

void ZKUserDefaultsRemoveAllOverrides()
{
    Overrides& o = GetOverrides();
    std::lock_guard<std::mutex> lock(o.mutex);
    o.values.clear();
}
