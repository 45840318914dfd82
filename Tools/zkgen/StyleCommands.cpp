#include "StyleCommands.h"

#include <Generator/stylegraph/CGenStyleGraphDump.h>
#include <Generator/stylegraph/CGenStyleGraphs.h>

#include <iostream>
#include <memory>
#include <string>

void zkgen::cli::AddStyleCommands(CLI::App& app, int& exitCode)
{
    CLI::App* style = app.add_subcommand("style", "Style files: show the graphs they hold");
    style->require_subcommand(1);

    auto file = std::make_shared<std::string>();
    auto dot = std::make_shared<bool>(false);
    auto classes = std::make_shared<bool>(false);
    CLI::App* dump = style->add_subcommand("dump", "Print the graphs of a style file with their modules, ports, "
                                                   "values, connections and state");
    dump->add_option("FILE", *file, "A style file (extension \"style\")");
    dump->add_flag("--dot", *dot, "Print Graphviz instead of the indented tree");
    dump->add_flag("--classes", *classes, "Print every module class a style can use, with its ports and state");
    dump->callback([file, dot, classes, &exitCode] {
        if (*classes) {
            std::cout << CGenStyleGraphDump::TextForModuleClasses();
            exitCode = 0;
            return;
        }
        if (file->empty()) {
            std::cerr << "zkgen style dump: name a style file, or give --classes" << std::endl;
            exitCode = 2;
            return;
        }
        CGenStyleGraphs graphs;
        std::string error;
        if (!CGenStyleGraphDump::LoadStyleFile(*file, graphs, &error)) {
            std::cerr << "zkgen style dump: cannot read '" << *file << "': " << error << std::endl;
            exitCode = 1;
            return;
        }
        std::cout << (*dot ? CGenStyleGraphDump::DotForStyleGraphs(graphs) : CGenStyleGraphDump::TextForStyleGraphs(graphs));
        exitCode = 0;
    });
}
