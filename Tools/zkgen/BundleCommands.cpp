#include "BundleCommands.h"

#include <Generator/CGenGenerator.h>

#include <iostream>
#include <memory>
#include <string>

namespace {

const char* const kLayerNames[] = {"AccentFamily", "AccentAddon", "System", "Fill", "Percussion"};

bool Load(CGenGenerator& generator, const std::string& path, const char* command, int& exitCode)
{
    if (!ZKFileExists(path)) {
        std::cerr << "zkgen bundle " << command << ": no bundle at '" << path << "'" << std::endl;
        exitCode = 1;
        return false;
    }
    if (!generator.LoadFromURL(path)) {
        std::cerr << "zkgen bundle " << command << ": '" << path
                  << "' can't be loaded: it is neither a bundle nor a readable library archive" << std::endl;
        exitCode = 1;
        return false;
    }
    return true;
}

void PrintInfo(CGenGenerator& generator)
{
    for (const CGenGenreLib& genre : generator.GenreLibs()) {
        std::cout << "Genre " << genre.mGenre << ": " << genre.mClaveLibs.size() << " clave libraries, "
                  << genre.mGrooves.size() << " grooves\n";
        for (const CGenInstLib& lib : genre.mInstLibs) {
            std::cout << "  " << lib.InstName() << ":";
            for (size_t i = 0; i < lib.mPatternGraphs.size(); ++i)
                std::cout << " " << kLayerNames[i] << " " << lib.mPatternGraphs[i].PatternCount();
            std::cout << "\n";
            for (const CGenStyle& style : lib.mStyles)
                std::cout << "    style " << style.Name() << " (" << style.UniqueID() << ")\n";
        }
    }
    const std::vector<std::string> pool = generator.PatternsPool().identifiers();
    std::cout << "Pattern pool: " << pool.size() << " lists";
    for (const std::string& identifier : pool)
        std::cout << " " << identifier;
    std::cout << "\n";
    const TGenDict* values = generator.ValuesForKeys();
    std::cout << "Values: " << (values ? values->size() : 0) << "\n";
}

} // namespace

void zkgen::cli::AddBundleCommands(CLI::App& app, int& exitCode)
{
    CLI::App* bundle = app.add_subcommand("bundle", "Content library bundles: make, show and check them");
    bundle->require_subcommand(1);
    auto path = std::make_shared<std::string>();

    CLI::App* create = bundle->add_subcommand("create", "Make a bundle holding the default genre (a drummer without patterns)");
    create->add_option("PATH", *path, "The bundle to make (extension \"glibb\")")->required();
    create->callback([path, &exitCode] {
        if (ZKFileExists(*path)) {
            std::cerr << "zkgen bundle create: '" << *path << "' exists already; nothing was changed" << std::endl;
            exitCode = 1;
            return;
        }
        CGenGenerator generator;
        generator.CreateDefaultGenre();
        TGenStorageError error;
        if (!generator.SaveToURL(*path, &error)) {
            std::cerr << "zkgen bundle create: '" << *path << "' can't be written: " << error.mDescription << std::endl;
            exitCode = 1;
            return;
        }
        exitCode = 0;
    });

    CLI::App* info = bundle->add_subcommand("info", "Show what a bundle holds");
    info->add_option("PATH", *path, "A bundle or library archive")->required();
    info->callback([path, &exitCode] {
        CGenGenerator generator;
        if (!Load(generator, *path, "info", exitCode))
            return;
        PrintInfo(generator);
        exitCode = 0;
    });

    CLI::App* check = bundle->add_subcommand("check", "Check a bundle's content and load every style");
    check->add_option("PATH", *path, "A bundle or library archive")->required();
    check->callback([path, &exitCode] {
        CGenGenerator generator;
        if (!Load(generator, *path, "check", exitCode))
            return;
        std::string text;
        bool good = generator.CheckContentSanity(text);
        std::cout << text;
        for (CGenGenreLib& genre : generator.GenreLibs())
            for (CGenInstLib& lib : genre.mInstLibs)
                for (size_t ix = 0; ix < lib.mStyles.size(); ++ix)
                    if (!lib.mStyles.LoadStyleGraphsIfNotCachedAlready(ix)) {
                        std::cout << genre.mGenre << " " << lib.InstName() << " style " << lib.mStyles[ix].Name()
                                  << ": its graphs can't be loaded\n";
                        good = false;
                    }
        std::cout << (good ? "No faults found.\n" : "Faults found.\n");
        exitCode = good ? 0 : 1;
    });
}
