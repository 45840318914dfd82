#pragma once

// Style graphs shared by the benchmarks.

#include "Generator/stylegraph/CGenGFModuleCreateFill.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModuleMultiplexer.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModulePatternsMerger.h"
#include "Generator/stylegraph/CGenGFModuleRandomPatternPicker.h"
#include "Generator/stylegraph/CGenGFModuleStringSwitch.h"

#include <memory>
#include <string>

namespace zkbench {

template <class T>
inline T* Add(CGenGFModule& parent, const std::string& key)
{
    return static_cast<T*>(parent.addSubpatch(std::make_unique<T>(), key));
}

inline void Connect(CGenGFModule& g, CGenGFPort* from, CGenGFPort* to)
{
    g.createConnectionFromPortToPortForKey(*from, *to);
}

// provider -> name filter -> top filter -> string switch -> multiplexer ->
// name filter -> splitter -> merger (with the top filter's list) -> picker
// -> consumer.
inline std::unique_ptr<CGenGFModule> MakeTenModuleGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule& g = *graph;
    auto* provider = Add<CGenGFModulePatternProbProvider>(g, "provider");
    auto* name = Add<CGenGFModuleFilterPatternName>(g, "name");
    auto* top = Add<CGenGFModuleTopProbFilter>(g, "top");
    auto* sw = Add<CGenGFModuleStringSwitch>(g, "switch");
    auto* mux = Add<CGenGFModuleMultiplexer>(g, "mux");
    auto* name2 = Add<CGenGFModuleFilterPatternName>(g, "name2");
    auto* splitter = Add<CGenGFModuleSplitter>(g, "splitter");
    auto* merger = Add<CGenGFModulePatternsMerger>(g, "merger");
    auto* picker = Add<CGenGFModuleRandomPatternPicker>(g, "picker");
    auto* consumer = Add<CGenGFModulePatternProbConsumer>(g, "consumer");
    name->inputFilterString->setStringValue("^sys_[a-m]");
    name->inputMatchingFactor->setDoubleValue(1.5);
    name->inputNonMatchingFactor->setDoubleValue(0.5);
    top->inputMinRequiredPatterns->setDoubleValue(20.0);
    top->inputStepCount->setDoubleValue(10.0);
    sw->stringBins().addStringToBinAtIndex("verse", 0);
    sw->stringBins().addStringToBinAtIndex("chorus", 1);
    sw->inputString->setStringValue("chorus");
    mux->setPortClass(CGenGFPortPatternAndProbs::Class());
    mux->setInputCount(3);
    name2->inputFilterString->setStringValue("[02468]$");
    name2->inputNonMatchingFactor->setDoubleValue(0.8);
    splitter->setPortClass(CGenGFPortPatternAndProbs::Class());
    Connect(g, provider->outputPatterns, name->inputPatterns);
    Connect(g, name->outputPatterns, top->inputPatterns);
    Connect(g, top->outputPatterns, sw->inputPatterns);
    Connect(g, sw->outputDefault, mux->inputGFPortForKey("source_1"));
    Connect(g, sw->outputGFPortForKey("index_1"), mux->inputGFPortForKey("source_2"));
    Connect(g, sw->outputGFPortForKey("index_2"), mux->inputGFPortForKey("source_3"));
    Connect(g, sw->outputActiveIndex, mux->inputIndex);
    Connect(g, mux->outputGFPortForKey("output"), name2->inputPatterns);
    Connect(g, name2->outputPatterns, splitter->inputGFPortForKey("input"));
    Connect(g, splitter->outputGFPortForKey("output"), merger->inputPatterns1);
    Connect(g, top->outputPatterns, merger->inputPatterns2);
    Connect(g, merger->outputPatterns, picker->inputPatterns);
    Connect(g, picker->outputPatterns, consumer->inputPatterns);
    return graph;
}

// provider -> fill creation -> consumer: a fill at the end of every fourth
// bar, always.
inline std::unique_ptr<CGenGFModule> MakeFillGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule& g = *graph;
    auto* provider = Add<CGenGFModulePatternProbProvider>(g, "provider");
    auto* fill = Add<CGenGFModuleCreateFill>(g, "fill");
    auto* consumer = Add<CGenGFModulePatternProbConsumer>(g, "consumer");
    fill->inputProbability->setDoubleValue(100.0);
    fill->inputBarInterval->setDoubleValue(4.0);
    Connect(g, provider->outputPatterns, fill->inputPatterns);
    Connect(g, fill->outputPatterns, consumer->inputPatterns);
    return graph;
}

// The graph over each chosen pattern: provider -> name filter -> top filter
// -> consumer. Every pattern keeps a weight above 0, so none is dropped and
// each one's cost is the graph's run.
inline std::unique_ptr<CGenGFModule> MakeGlobalGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule& g = *graph;
    auto* provider = Add<CGenGFModulePatternProbProvider>(g, "provider");
    auto* name = Add<CGenGFModuleFilterPatternName>(g, "name");
    auto* top = Add<CGenGFModuleTopProbFilter>(g, "top");
    auto* consumer = Add<CGenGFModulePatternProbConsumer>(g, "consumer");
    name->inputFilterString->setStringValue("^sys_[a-m]");
    name->inputMatchingFactor->setDoubleValue(1.5);
    name->inputNonMatchingFactor->setDoubleValue(1.0);
    top->inputMinRequiredPatterns->setDoubleValue(1.0);
    top->inputStepCount->setDoubleValue(5.0);
    Connect(g, provider->outputPatterns, name->inputPatterns);
    Connect(g, name->outputPatterns, top->inputPatterns);
    Connect(g, top->outputPatterns, consumer->inputPatterns);
    return graph;
}

// The graph over the merged performance: provider -> string switch ->
// multiplexer -> splitter -> consumer. Routing only, since the merged
// element carries no weight that a filter could judge.
inline std::unique_ptr<CGenGFModule> MakeGlobalToMergedGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule& g = *graph;
    auto* provider = Add<CGenGFModulePatternProbProvider>(g, "provider");
    auto* sw = Add<CGenGFModuleStringSwitch>(g, "switch");
    auto* mux = Add<CGenGFModuleMultiplexer>(g, "mux");
    auto* splitter = Add<CGenGFModuleSplitter>(g, "splitter");
    auto* consumer = Add<CGenGFModulePatternProbConsumer>(g, "consumer");
    sw->stringBins().addStringToBinAtIndex("verse", 0);
    sw->stringBins().addStringToBinAtIndex("chorus", 1);
    sw->inputString->setStringValue("chorus");
    mux->setPortClass(CGenGFPortPatternAndProbs::Class());
    mux->setInputCount(3);
    splitter->setPortClass(CGenGFPortPatternAndProbs::Class());
    Connect(g, provider->outputPatterns, sw->inputPatterns);
    Connect(g, sw->outputDefault, mux->inputGFPortForKey("source_1"));
    Connect(g, sw->outputGFPortForKey("index_1"), mux->inputGFPortForKey("source_2"));
    Connect(g, sw->outputGFPortForKey("index_2"), mux->inputGFPortForKey("source_3"));
    Connect(g, sw->outputActiveIndex, mux->inputIndex);
    Connect(g, mux->outputGFPortForKey("output"), splitter->inputGFPortForKey("input"));
    Connect(g, splitter->outputGFPortForKey("output"), consumer->inputPatterns);
    return graph;
}

} // namespace zkbench
