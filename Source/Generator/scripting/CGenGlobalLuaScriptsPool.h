#pragma once

#include "Generator/library/CGenFilePool.h"
#include "Platform/ZKCoding.h"

#include <cstdint>
#include <memory>
#include <string>

// A global script of the library: Lua text that styles include by
// identifier, with a count of its changes (1 when made, +1 for each new
// text), by which a style's script state knows that it must reload.
class CGenGlobalLuaScript : public ZKCoding {
public:
    static constexpr const char* kCodingClassName = "CGenGlobalLuaScript";
    static constexpr const char* kKey_LuaScript = "luaScript";

    CGenGlobalLuaScript() = default;
    explicit CGenGlobalLuaScript(std::string script) { setLuaScript(std::move(script)); }

    const std::string& luaScript() const { return mLuaScript; }
    // A new text raises the change count; the same text changes nothing.
    void setLuaScript(std::string script);
    int64_t changeCount() const { return mChangeCount; }

    // The keyed archive holds the text only, so that a script read afresh
    // counts 2 (made, then its text set).
    std::string CodingClassName() const override { return kCodingClassName; }
    void EncodeWithCoder(TGenDict& coder) const override;
    static std::unique_ptr<CGenGlobalLuaScript> DecodeWithCoder(const TGenDict& coder, std::string* outError);

private:
    std::string mLuaScript;
    int64_t mChangeCount = 1;
};

namespace zkgen {

// A global script as the pool keeps it: a binary keyed archive. A file that
// holds plain text (written before scripts were archived) reads as the
// script's text.
struct TGlobalLuaScriptsPoolCodec {
    static constexpr const char* kRawExtension = "gls";
    static constexpr const char* kCompressedExtension = "glsz";
    static constexpr const char* kWillChangeNotification = "GenGlobalLuaScriptsPoolWillChangeNotification";
    static constexpr const char* kDidChangeNotification = "GenGlobalLuaScriptsPoolDidChangeNotification";
    static constexpr const char* kLogName = "Global script pool";
    static TGenUrl FolderURL(const IGeneratorLibraryBundleLocations& locations)
    {
        return locations.GlobalLuaScriptsPoolFolderURL();
    }
    static TGenData Encode(const CGenGlobalLuaScript& script);
    static bool Decode(const TGenData& data, CGenGlobalLuaScript& script);
};

} // namespace zkgen

// The library's global scripts, one file each in the bundle's
// "GlobalScripts" folder: "<identifier>.glsz" (compressed) or
// "<identifier>.gls". The global script that old library archives carried
// lives here under kLegacyGlobalLuaScriptIdentifier.
class CGenGlobalLuaScriptsPool : public zkgen::TGenFilePool<CGenGlobalLuaScript, zkgen::TGlobalLuaScriptsPoolCodec> {
public:
    static constexpr const char* kLegacyGlobalLuaScriptIdentifier = "__LegacyGlobalLuaScript__";
    using TBase = zkgen::TGenFilePool<CGenGlobalLuaScript, zkgen::TGlobalLuaScriptsPoolCodec>;
    using TBase::TBase;

    // Sets the text of a script, making it when it is new.
    bool setLuaScriptForIdentifier(const std::string& script, const std::string& identifier);
};
