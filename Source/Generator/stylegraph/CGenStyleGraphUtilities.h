#pragma once

#include <functional>
#include <string>

class CGenGenerator;
class CGenGFModule;
class CGenStyle;
class CGenStyles;

// A walker over all modules of all styles of a generator's library, for tools.
class CGenStyleGraphUtilities {
public:
    // Called for each module, depth first in node order, the graph root
    // first; setting `stop` ends the walk.
    using TBlock = std::function<void(CGenStyle& style, const std::string& graphKey, CGenGFModule& module, bool& stop)>;

    // initWithGenerator:
    explicit CGenStyleGraphUtilities(CGenGenerator* generator = nullptr) : mGenerator(generator) {}
    CGenGenerator* generator() const { return mGenerator; }
    void setGenerator(CGenGenerator* generator) { mGenerator = generator; }

    // Every style of every instrument library of every genre; graphs not
    // loaded yet are loaded first.
    void iterateAllModulesInAllStylesWithBlock(const TBlock& block) const;
    // The style at `index` of a list; false when the walk was stopped.
    bool iterateModulesInStylesWithIndexWithBlock(CGenStyles& styles, size_t index, const TBlock& block) const;
    // The names from the root to the module, joined by " > ": the "name" the
    // module carries in its user dictionary, else its key (the class name for
    // a root).
    static std::string pathStringForModule(const CGenGFModule& module);

    // Writes the script of every script module as "<style> - <graph> - <path>.txt"
    // (characters a file name can't hold become "_") into the folder, and
    // the global scripts as "_GlobalLuaScripts/<identifier>.txt", so that
    // a library's code can be read and diffed. False with `error` on the
    // first file that can't be written.
    bool writeLuaScriptsToURL(const std::string& folder, std::string* error = nullptr) const;
    // Marks every script module for compilation and checks its text again
    // (after the script states were cleared, for instance).
    void resetLuaSripts() const;
    // The first module the predicate accepts, or null.
    CGenGFModule* findModule(const std::function<bool(const CGenStyle&, const std::string& graphKey, const CGenGFModule&)>& accept) const;

private:
    CGenGenerator* mGenerator;
};
