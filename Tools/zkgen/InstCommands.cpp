#include "InstCommands.h"

#include <Generator/instruments/CGenConvertMappingFactory.h>
#include <Generator/instruments/CGenInstTreeReport.h>

#include <iostream>
#include <memory>
#include <string>

namespace {

void Print(bool ok, const std::string& text, int& exitCode)
{
    (ok ? std::cout : std::cerr) << text << std::endl;
    exitCode = ok ? 0 : 1;
}

} // namespace

void zkgen::cli::AddInstCommands(CLI::App& app, int& exitCode)
{
    CLI::App* inst = app.add_subcommand("inst", "Instrument paths: expand and resolve them, show the tree, convert uids");
    inst->require_subcommand(1);

    auto expression = std::make_shared<std::string>();
    CLI::App* resolve = inst->add_subcommand("resolve", "Print each path an expression expands to, with its uid");
    resolve->add_option("EXPR", *expression, "Path expression, e.g. \"Drums.Sn.note.nrm[eccentricity.center;stroke.s1]\"")
        ->required();
    resolve->callback([expression, &exitCode] {
        std::string text;
        const bool ok = CGenInstTreeReport().Resolve(*expression, text);
        Print(ok, text, exitCode);
    });

    auto path = std::make_shared<std::string>();
    CLI::App* tree = inst->add_subcommand("tree", "Print the instrument tree, or the branch at PATH, with uids");
    tree->add_option("PATH", *path, "Plain dotted path of a branch, e.g. \"Drums.Hh\"");
    tree->callback([path, &exitCode] {
        std::string text;
        const bool ok = CGenInstTreeReport().Tree(*path, text);
        Print(ok, text, exitCode);
    });

    auto uid = std::make_shared<std::string>();
    auto mapping = std::make_shared<std::string>("mb3");
    CLI::App* convert = inst->add_subcommand("convert", "Print the output events a note with this uid becomes");
    convert->add_option("UID", *uid, "Uid in hexadecimal (0x14101400) or decimal, or a path expression")->required();
    convert->add_option("--mapping", *mapping, "Output form: mb3 (default), ctrl, or a mapping key");
    convert->callback([uid, mapping, &exitCode] {
        std::string key = *mapping;
        if (key == "mb3")
            key = kConvertMappingKey_MB3;
        else if (key == "ctrl")
            key = kConvertMappingKey_CtrlEvs;
        std::string text;
        const bool ok = CGenInstTreeReport().Convert(*uid, key, text);
        Print(ok, text, exitCode);
    });
}
