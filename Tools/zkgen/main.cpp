// zkgen: the command-line front end of the engine.

#include "BundleCommands.h"
#include "ContentCommands.h"
#include "GenerateCommand.h"
#include "InstCommands.h"
#include "StyleCommands.h"

#include <ZKGenEngine.h>

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv)
{
    TolvarInit();
    CLI::App app {"zkgen: performs a song region with a content library"};
    app.set_version_flag("--version", std::string("zkgen ") + ZKGENENGINE_VERSION_STRING);
    app.require_subcommand(1);

    int exitCode = 0;
    zkgen::cli::GenerateOptions generateOptions;
    zkgen::cli::AddGenerateCommand(app, generateOptions, exitCode);
    zkgen::cli::AddInstCommands(app, exitCode);
    zkgen::cli::AddStyleCommands(app, exitCode);
    zkgen::cli::AddBundleCommands(app, exitCode);
    zkgen::cli::AddContentCommands(app, exitCode);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    return exitCode;
}
