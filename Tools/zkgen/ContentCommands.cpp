#include "ContentCommands.h"

#include "content/ContentCompiler.h"

#include <iostream>
#include <memory>
#include <string>

void zkgen::cli::AddContentCommands(CLI::App& app, int& exitCode)
{
    CLI::App* content = app.add_subcommand("content", "Content sources: compile them into a bundle");
    content->require_subcommand(1);
    auto source = std::make_shared<std::string>();
    auto bundle = std::make_shared<std::string>();
    CLI::App* build = content->add_subcommand("build", "Compile a source folder (with library.toml) into a bundle; "
                                                       "the same sources always give the same bytes");
    build->add_option("SRC", *source, "Source folder")->required()->check(CLI::ExistingDirectory);
    build->add_option("OUT", *bundle, "Bundle to write (a folder ending in .glibb); an existing bundle is replaced")
        ->required();
    build->callback([source, bundle, &exitCode] {
        std::string error;
        if (!BuildContentBundle(*source, *bundle, error)) {
            std::cerr << "zkgen content build: " << error << "\n";
            exitCode = 2;
            return;
        }
        exitCode = 0;
    });
}
