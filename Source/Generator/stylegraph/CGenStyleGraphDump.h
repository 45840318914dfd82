#pragma once

#include "Platform/ZKFileOps.h"

#include <string>

class CGenGFModule;
class CGenStyleGraphs;

// What a style file holds, for authors: its graphs as an indented tree of
// modules with their ports, values, connections and state, or as Graphviz.
class CGenStyleGraphDump {
public:
    // The tree of all graphs in key order, then the properties:
    //   graph "kStyleGraphKey_System": CGenGFModule [consumer]
    //     module "filter": CGenGFModuleFilterPatternName [processor]
    //       in  inputPatterns (CGenGFPortPatternAndProbs) <- provider.outputPatterns
    //       in  inputMatchingFactor (CGenGFPortNumeric) = 1.5
    //       out outputPatterns (CGenGFPortPatternAndProbs)
    //       state regex = <CGenGFRegex "^a">
    //     connection connection_1: provider.outputPatterns -> filter.inputPatterns
    static std::string TextForStyleGraphs(const CGenStyleGraphs& graphs);
    static std::string TextForModule(const CGenGFModule& module, const std::string& title, int indent = 0);
    // A Graphviz digraph: one cluster per graph and per module with
    // sub-modules, one node per module, one edge per connection labelled
    // with its port keys.
    static std::string DotForStyleGraphs(const CGenStyleGraphs& graphs);

    // Every module class of the registry, in its order, as a module made
    // afresh shows it: ports with their defaults, and state.
    static std::string TextForModuleClasses();

    // Loads a style file; false with a one-line reason in `outError`.
    static bool LoadStyleFile(const TGenUrl& url, CGenStyleGraphs& graphs, std::string* outError);
};
