// The state of a style graph: a keyed archive whose dictionary becomes the
// state of a root module, decoded as a style file's graphs are. Without the
// compression and the file's wrapping the fuzzer spends its effort on the
// graph runtime: sub-modules of any class, ports, published ports,
// connections and state keys.

#include "FuzzSupport.h"

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenStyleGraphDump.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"
#include "Platform/ZKCoding.h"
#include "Platform/ZKKeyedArchive.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    std::optional<TGenDict> state = ZKKeyedArchiveDecode(data, size);
    if (!state)
        return 0;
    TGenDict graph;
    graph.SetValueForKey("CGenGFModule", kZKCodingClassKey);
    graph.SetValueForKey(std::move(*state), kZKGFEntry_State);
    TGenDict entries;
    entries.SetValueForKey(std::move(graph), "graph");
    std::string error;
    auto decoded = zkgen::DecodeStyleGraphEntries(entries, &error);
    if (!decoded)
        return 0;
    CGenStyleGraphs graphs;
    for (auto& [key, module] : *decoded)
        graphs.SetStyleGraphForKey(std::move(module), key);
    // Copies are made from the state of the original, and a copy's copy
    // from the copy's state: none of it may fail. They need not show the
    // same: a damaged multiplexer (inputs source_1, source_2, source_6 with
    // an input count of 3) gains inputs on every copy.
    const CGenStyleGraphs copy(graphs);
    const CGenStyleGraphs copyOfCopy(copy);
    CGenStyleGraphDump::TextForStyleGraphs(copyOfCopy);
    CGenStyleGraphDump::DotForStyleGraphs(graphs);
    return 0;
}
