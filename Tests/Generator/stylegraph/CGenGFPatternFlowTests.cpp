#include "Generator/CGenContext.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModuleMultiplexer.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModulePatternsIterator.h"
#include "Generator/stylegraph/CGenGFModulePatternsMerger.h"
#include "Generator/stylegraph/CGenGFModuleRandomPatternPicker.h"
#include "Generator/stylegraph/CGenGFModuleStringSwitch.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphRun.h"
#include "StyleGraphTestModules.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

CGenPatternModAndProbs Candidates(std::initializer_list<std::pair<const char*, float>> items)
{
    CGenPatternModAndProbs list;
    for (const auto& [name, prob] : items)
        list.emplace_back(CGenPattern(name), prob);
    return list;
}

std::vector<std::pair<std::string, float>> Entries(const CGenPatternModAndProbs& list)
{
    std::vector<std::pair<std::string, float>> out;
    for (const CGenPatternModAndProb& el : list)
        out.emplace_back(el.PatternToBeRead().mName, el.mProb);
    return out;
}

using TEntries = std::vector<std::pair<std::string, float>>;

// provider -> [modules under test] -> consumer, driven as the caller drives a graph.
struct Flow {
    CGenGFModule root;
    CGenGFModulePatternProbProvider* provider = AddModule<CGenGFModulePatternProbProvider>(root, "provider");
    CGenGFModulePatternProbConsumer* consumer = AddModule<CGenGFModulePatternProbConsumer>(root, "consumer");
    CGenPatternGraphBoost graph {TPatternGraphType_System};
    CGenContext gen;
    CGenGFContext context = CGenGFContext::contextWithGenContext(&gen);

    Flow() { gen.mPatternGraph = &graph; }
    ~Flow()
    {
        if (root.isRunning())
            root._cleanup();
    }
    void Connect(CGenGFPort& from, CGenGFPort& to) { ASSERT_NE(root.createConnectionFromPortToPortForKey(from, to), nullptr); }
    void Around(CGenGFPort& in, CGenGFPort& out)
    {
        Connect(*provider->outputPatterns, in);
        Connect(out, *consumer->inputPatterns);
    }
    CGenPatternModAndProbs Run(const CGenPatternModAndProbs& list, float pos = 0.0f)
    {
        if (!root.isRunning()) {
            EXPECT_TRUE(root._setup(context));
        }
        gen.mInputPatterns = list;
        gen.mGeneratePos = pos;
        root.executeSubModulesWithArguments(nullptr);
        return gen.mOutputPatterns;
    }
};

} // namespace

TEST(CGenGFPatternFlow, ProviderAndConsumerPassTheListWithItsFields)
{
    Flow f;
    f.Connect(*f.provider->outputPatterns, *f.consumer->inputPatterns);
    CGenPatternModAndProbs list = Candidates({{"a", 10.0f}, {"b", 20.0f}});
    list.mComplete = true;
    list.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
    const CGenPatternModAndProbs out = f.Run(list);
    EXPECT_EQ(Entries(out), (TEntries {{"a", 10.0f}, {"b", 20.0f}}));
    EXPECT_TRUE(out.mComplete);
    EXPECT_EQ(out.mSTDefaultOrTarget, TSTDefaultOrTarget::Target);

    // The consumer's set-up clears the flag and the output.
    f.gen.mGraphMadeTheChoice = true;
    f.root._cleanup();
    EXPECT_TRUE(f.provider->outputPatterns->List()->empty());
    ASSERT_TRUE(f.root._setup(f.context));
    EXPECT_FALSE(f.gen.mGraphMadeTheChoice);
    EXPECT_TRUE(f.gen.mOutputPatterns.empty());
}

TEST(CGenGFPatternFlow, UnconnectedConsumerOrNoConsumerGivesNothing)
{
    Flow f;
    EXPECT_TRUE(f.Run(Candidates({{"a", 10.0f}})).empty());

    // Without any consumer, a run of the caller yields an empty list.
    CGenStyle style("S");
    auto graph = std::make_unique<CGenGFModule>();
    AddModule<CGenGFModulePatternProbProvider>(*graph, "provider");
    style.StyleGraphs().SetStyleGraphForKey(std::move(graph), kStyleGraphKey_System);
    CGenContext gen;
    gen.mStyle = &style;
    gen.mOutputPatterns = Candidates({{"stale", 1.0f}});
    CGenStyleGraphRun run(gen, TPatternGraphType_System);
    CGenPatternModAndProbs list = Candidates({{"a", 10.0f}});
    run.ApplyStyleGraphToPatterns(list, 0.0f);
    EXPECT_TRUE(list.empty());
}

TEST(CGenGFPatternFlow, FilterPatternNameScalesAndDrops)
{
    Flow f;
    auto* filter = AddModule<CGenGFModuleFilterPatternName>(f.root, "filter");
    f.Around(*filter->inputPatterns, *filter->outputPatterns);
    EXPECT_EQ(filter->inputMatchingFactor->doubleValue(), 1.0);
    EXPECT_EQ(filter->inputNonMatchingFactor->maxDoubleValue(), 2.0);
    filter->inputFilterString->setStringValue("  ^ab\t");
    filter->inputMatchingFactor->setDoubleValue(1.5);
    filter->inputNonMatchingFactor->setDoubleValue(0.5);
    EXPECT_EQ(Entries(f.Run(Candidates({{"ab1", 50.0f}, {"xb2", 40.0f}, {"ab3", 30.0f}}))),
        (TEntries {{"ab1", 75.0f}, {"xb2", 20.0f}, {"ab3", 45.0f}}));
    EXPECT_EQ(filter->regex()->regexString(), "^ab");
    // The input entries carry the scaled probabilities as well.
    EXPECT_EQ(Entries(*filter->inputPatterns->List()), (TEntries {{"ab1", 75.0f}, {"xb2", 20.0f}, {"ab3", 45.0f}}));

    // A factor of 0 drops; the port keeps factors in [0, 2].
    filter->inputNonMatchingFactor->setDoubleValue(-1.0);
    EXPECT_EQ(filter->inputNonMatchingFactor->doubleValue(), 0.0);
    EXPECT_EQ(Entries(f.Run(Candidates({{"ab1", 50.0f}, {"xb2", 40.0f}}), 1.0f)), (TEntries {{"ab1", 75.0f}}));

    // An invalid expression matches nothing: everything gets the non-matching factor.
    filter->inputFilterString->setStringValue("(ab");
    filter->inputNonMatchingFactor->setDoubleValue(2.0);
    EXPECT_EQ(Entries(f.Run(Candidates({{"ab1", 50.0f}, {"xb2", 40.0f}}), 2.0f)),
        (TEntries {{"ab1", 100.0f}, {"xb2", 80.0f}}));
    EXPECT_FALSE(filter->regex()->isValid());
}

TEST(CGenGFPatternFlow, TopProbFilterTakesWholeBands)
{
    Flow f;
    auto* top = AddModule<CGenGFModuleTopProbFilter>(f.root, "top");
    f.Around(*top->inputPatterns, *top->outputPatterns);
    EXPECT_EQ(top->inputMinRequiredPatterns->doubleValue(), 5.0);
    EXPECT_EQ(top->inputStepCount->doubleValue(), 5.0);
    top->inputStepCount->setDoubleValue(10.0);
    CGenPatternModAndProbs seven;
    for (int i = 0; i < 7; ++i)
        seven.emplace_back(CGenPattern(std::string("p").append(std::to_string(i))), 95.0f);
    EXPECT_EQ(f.Run(seven).size(), 7u);

    top->inputMinRequiredPatterns->setDoubleValue(2.0);
    EXPECT_EQ(Entries(f.Run(Candidates({{"a", 55.0f}, {"b", 95.0f}, {"c", 120.0f}, {"d", 91.0f}, {"e", 0.0f}}), 1.0f)),
        (TEntries {{"b", 95.0f}, {"d", 91.0f}}));
    top->inputStepCount->setDoubleValue(0.0);
    EXPECT_TRUE(f.Run(Candidates({{"a", 55.0f}}), 2.0f).empty());
}

TEST(CGenGFPatternFlow, RandomPatternPickerDrawsFromTheGraphsGenerator)
{
    Flow f;
    auto* picker = AddModule<CGenGFModuleRandomPatternPicker>(f.root, "picker");
    f.Around(*picker->inputPatterns, *picker->outputPatterns);
    EXPECT_EQ(picker->inputThreshold->doubleValue(), 5.0);
    picker->inputThreshold->setDoubleValue(2.0);
    f.graph.Random().SetSeed(12345);
    // Bands from the top: (90, 100] holds b and c, which is enough; sums 95, 187.
    // The state 1406932606 % 187 = 145 falls to c.
    EXPECT_EQ(Entries(f.Run(Candidates({{"a", 40.0f}, {"b", 95.0f}, {"c", 92.0f}, {"d", 60.0f}}))),
        (TEntries {{"c", 92.0f}}));
    EXPECT_EQ(f.graph.Random().State(), 1406932606u);

    // Without a pattern graph the picker refuses and the pull stops: what
    // stands in the context is the result, here the emptied output of a new set-up.
    f.gen.mPatternGraph = nullptr;
    EXPECT_EQ(Entries(f.Run(Candidates({{"a", 40.0f}}), 1.0f)), (TEntries {{"c", 92.0f}}));
    f.root._cleanup();
    EXPECT_TRUE(f.Run(Candidates({{"a", 40.0f}}), 2.0f).empty());
    EXPECT_EQ(f.graph.Random().State(), 1406932606u);
}

TEST(CGenGFPatternFlow, MergerJoinsOrMergesEvents)
{
    Flow f;
    auto* merger = AddModule<CGenGFModulePatternsMerger>(f.root, "merger");
    auto* second = AddModule<CGenGFModulePatternProbProvider>(f.root, "second");
    f.Around(*merger->inputPatterns1, *merger->outputPatterns);
    f.Connect(*second->outputPatterns, *merger->inputPatterns2);
    // Both inputs read the context's candidates: the list twice, no check for doubles.
    EXPECT_EQ(Entries(f.Run(Candidates({{"a", 1.0f}, {"b", 2.0f}}))),
        (TEntries {{"a", 1.0f}, {"b", 2.0f}, {"a", 1.0f}, {"b", 2.0f}}));

    merger->inputMergeEventsOfFirstPatterns->setBooleanValue(true);
    CGenEvs evsA;
    evsA.push_back(CGenEv(1.0f, 0.5f, st_NoteOn, 36, 100));
    evsA.mLength = 4.0f;
    CGenEvs evsB;
    evsB.push_back(CGenEv(0.5f, 0.5f, st_NoteOn, 38, 90));
    evsB.push_back(CGenEv(3.0f, 0.5f, st_NoteOn, 42, 80));
    CGenPatternModAndProbs list;
    list.emplace_back(CGenPattern("a", evsA), 10.0f);
    list.emplace_back(CGenPattern("b", evsB), 20.0f);
    // Both inputs read the same list: a's events merged with a's own.
    const CGenPatternModAndProbs out = f.Run(list, 1.0f);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out.front().PatternToBeRead().mName, "a");
    EXPECT_TRUE(out.front().PatternIsModified());
    const CGenEvs& merged = out.front().PatternToBeRead().mEvs;
    ASSERT_EQ(merged.size(), 2u);
    EXPECT_EQ(merged.mLength, 4.0f);

    // With a second list of its own: b's first events join a's, sorted.
    CGenGFModule root;
    auto* m = AddModule<CGenGFModulePatternsMerger>(root, "m");
    m->inputMergeEventsOfFirstPatterns->setBooleanValue(true);
    m->inputPatterns1->SetList(list);
    CGenPatternModAndProbs secondList;
    secondList.emplace_back(CGenPattern("b", evsB), 20.0f);
    m->inputPatterns2->SetList(secondList);
    ASSERT_TRUE(m->executeArguments(CGenGFContext(), nullptr));
    const CGenPatternModAndProbs& one = *m->outputPatterns->List();
    ASSERT_EQ(one.size(), 1u);
    const CGenEvs& evs = one.front().PatternToBeRead().mEvs;
    ASSERT_EQ(evs.size(), 3u);
    EXPECT_EQ(evs[0].mBeatPos, 0.5f);
    EXPECT_EQ(evs[1].mBeatPos, 1.0f);
    EXPECT_EQ(evs[2].mBeatPos, 3.0f);
    // The stored list is untouched: the entry got a copy of its own.
    EXPECT_EQ(m->inputPatterns1->List()->front().PatternToBeRead().mEvs.size(), 1u);
}

TEST(CGenGFPatternFlow, IteratorRunsItsSubModulesPerCandidateOnlyWithoutPosition)
{
    Flow f;
    auto* iterator = AddModule<CGenGFModulePatternsIterator>(f.root, "iterator");
    f.Around(*iterator->inputPatterns, *iterator->outputPatterns);
    auto* inner = AddModule<CGenGFModulePatternsIteratorProvider>(*iterator, "each");
    auto* filter = AddModule<CGenGFModuleFilterPatternName>(*iterator, "filter");
    auto* collect = AddModule<CGenGFModulePatternsIteratorConsumer>(*iterator, "collect");
    iterator->createConnectionFromPortToPortForKey(*inner->outputPatterns, *filter->inputPatterns);
    iterator->createConnectionFromPortToPortForKey(*filter->outputPatterns, *collect->inputPatterns);
    filter->inputMatchingFactor->setDoubleValue(2.0);
    filter->inputFilterString->setStringValue(".");
    EXPECT_EQ(iterator->executionMode(), TGenGFExecutionMode_Processor);

    const auto list = Candidates({{"a", 10.0f}, {"b", 0.0f}, {"c", 30.0f}});
    // Undefined position: one pass per candidate above 0.
    EXPECT_EQ(Entries(f.Run(list, TGenBeatPos_Undef)), (TEntries {{"a", 20.0f}, {"c", 60.0f}}));
    // A defined position: the gate lets the sub-modules run for the first candidate only.
    f.root._cleanup();
    EXPECT_EQ(Entries(f.Run(list, 0.0f)), (TEntries {{"a", 20.0f}}));
    EXPECT_EQ(inner->iterator(), iterator);
}

TEST(CGenGFPatternFlow, SwitchesRouteAndReportTheIndex)
{
    Flow f;
    auto* sw = AddModule<CGenGFModuleStringSwitch>(f.root, "sw");
    f.Around(*sw->inputPatterns, *sw->outputDefault);
    EXPECT_EQ(sw->outputCount(), 2u);
    sw->stringBins().addStringToBinAtIndex("verse", 0);
    sw->stringBins().addStringToBinAtIndex("chorus", 1);
    sw->inputString->setStringValue("verse");
    EXPECT_TRUE(f.Run(Candidates({{"a", 1.0f}})).empty()); // went to index_1, not to the default
    EXPECT_EQ(sw->outputActiveIndex->indexValue(), 1u);
    EXPECT_EQ(Entries(*static_cast<CGenGFPortPatternAndProbs*>(sw->outputGFPortForKey("index_1"))->List()),
        (TEntries {{"a", 1.0f}}));
    sw->inputString->setStringValue("bridge");
    EXPECT_EQ(Entries(f.Run(Candidates({{"a", 1.0f}}), 1.0f)), (TEntries {{"a", 1.0f}}));
    EXPECT_EQ(sw->outputActiveIndex->indexValue(), 0u);
    // The output the switch did not write this run is empty after set-up.
    f.root._cleanup();
    f.Run(Candidates({{"a", 1.0f}}), 1.0f);
    EXPECT_TRUE(static_cast<CGenGFPortPatternAndProbs*>(sw->outputGFPortForKey("index_1"))->List()->empty());
    sw->setOutputCount(500);
    EXPECT_EQ(sw->outputCount(), 128u);
    EXPECT_EQ(sw->stringBins().binCount(), 128u);
}

TEST(CGenGFPatternFlow, ValueSwitchRangesAreInclusive)
{
    CGenGFModuleValueSwitch sw;
    sw.setRanges({CGenRange<double>(0.0, 0.5), CGenRange<double>(0.5, 1.0), });
    EXPECT_EQ(sw.indexOfRangeForValue(0.5), std::optional<size_t>(0));
    EXPECT_EQ(sw.indexOfRangeForValue(0.75), std::optional<size_t>(1));
    EXPECT_EQ(sw.indexOfRangeForValue(1.0), std::optional<size_t>(1));
    EXPECT_EQ(sw.indexOfRangeForValue(1.5), std::nullopt);
    EXPECT_EQ(sw.indexOfRangeForValue(std::nan("")), std::nullopt);
    sw.setRangeAtIndex(CGenRange<double>(2.0, 0.0, true, false), 1);
    EXPECT_EQ(sw.indexOfRangeForValue(7.0), std::optional<size_t>(1));
    sw.setRangeAtIndex(CGenRange<double>(0.0, 0.0, false, false), 0);
    EXPECT_EQ(sw.indexOfRangeForValue(std::nan("")), std::optional<size_t>(0)); // no bound in force

    Flow f;
    auto* vs = AddModule<CGenGFModuleValueSwitch>(f.root, "vs");
    f.Around(*vs->inputPatterns, *vs->outputDefault);
    vs->setRanges({CGenRange<double>(0.0, 0.5), CGenRange<double>(0.5, 1.0)});
    vs->inputValue->setDoubleValue(0.75);
    EXPECT_TRUE(f.Run(Candidates({{"a", 1.0f}})).empty());
    EXPECT_EQ(vs->outputActiveIndex->indexValue(), 2u);
    EXPECT_EQ(vs->outputNormalizedValue->doubleValue(), 0.5);
    vs->inputValue->setDoubleValue(3.0);
    EXPECT_EQ(Entries(f.Run(Candidates({{"a", 1.0f}}), 1.0f)), (TEntries {{"a", 1.0f}}));
    EXPECT_EQ(vs->outputActiveIndex->indexValue(), 0u);
    EXPECT_EQ(vs->outputNormalizedValue->doubleValue(), 0.0);
}

// A stored state lists "ranges" before "outputCount": restoring three ranges
// into a new switch (two outputs) must keep the third, not cut it to two
// and then pad a default [0, 1] back in.
TEST(CGenGFPatternFlow, ValueSwitchStateRestoresMoreRangesThanANewSwitchHas)
{
    CGenGFModuleValueSwitch stored;
    stored.setOutputCount(3);
    stored.setRanges({CGenRange<double>(0.0, 33.0), CGenRange<double>(33.0, 66.0), CGenRange<double>(66.0, 100.0)});
    CGenGFModuleValueSwitch restored;
    ASSERT_EQ(restored.outputCount(), 2u);
    std::string error;
    ASSERT_TRUE(restored.setState(stored.state(), &error)) << error;
    ASSERT_EQ(restored.outputCount(), 3u);
    ASSERT_EQ(restored.ranges().size(), 3u);
    EXPECT_EQ(restored.ranges()[2].mMin, 66.0);
    EXPECT_EQ(restored.ranges()[2].mMax, 100.0);
    EXPECT_EQ(restored.indexOfRangeForValue(80.0), std::optional<size_t>(2));
    EXPECT_NE(restored.outputGFPortForKey("index_3"), nullptr);
}

TEST(CGenGFPatternFlow, MultiplexerPullsOnlyTheActiveSource)
{
    CGenGFModule root;
    auto* a = AddModule<TestSource>(root, "a");
    auto* b = AddModule<TestSource>(root, "b");
    auto* mux = AddModule<CGenGFModuleMultiplexer>(root, "mux");
    auto* sink = AddModule<TestSink>(root, "sink");
    EXPECT_EQ(&mux->portClass(), &CGenGFVirtualPort::Class());
    EXPECT_EQ(mux->inputCount(), 2u);
    mux->setPortClass(CGenGFPortNumeric::Class());
    EXPECT_EQ(&mux->inputGFPortForKey("source_1")->portClass(), &CGenGFModuleMultiplexerNumberPort::Class());
    EXPECT_EQ(&mux->inputGFPortForKey("source_1")->baseClass(), &CGenGFPortNumeric::Class());
    EXPECT_EQ(mux->inputGFPortForKey("source_2")->attributes().StringForKey("name"), "Source 2");
    EXPECT_EQ(mux->outputGFPortForKey("output")->attributes().StringForKey("description"),
        "The value of the selected source (Numeric)");
    a->mValue = 1.0;
    b->mValue = 2.0;
    root.createConnectionFromPortToPortForKey(*a->outputValue, *mux->inputGFPortForKey("source_1"));
    root.createConnectionFromPortToPortForKey(*b->outputValue, *mux->inputGFPortForKey("source_2"));
    root.createConnectionFromPortToPortForKey(*mux->outputGFPortForKey("output"), *sink->inputValue);

    CGenContext gen;
    ASSERT_TRUE(root._setup(CGenGFContext::contextWithGenContext(&gen)));
    mux->inputIndex->setIndexValue(1);
    root.executeSubModulesWithArguments(nullptr);
    EXPECT_EQ(sink->mSeen, std::vector<double>({2.0}));
    EXPECT_EQ(a->mRuns, 0);
    EXPECT_EQ(b->mRuns, 1);
    mux->inputIndex->setIndexValue(5); // clamped to count - 1
    EXPECT_EQ(mux->inputIndex->indexValue(), 1u);
    root._cleanup();

    // A new port class keeps the connections that fit; a list class drops number sources.
    mux->setPortClass(CGenGFPortString::Class());
    EXPECT_EQ(root.connections().size(), 3u);
    EXPECT_EQ(mux->inputGFPortForKey("source_1")->connectedPort(), a->outputValue);
    mux->setPortClass(CGenGFPortPatternAndProbs::Class());
    EXPECT_EQ(root.connections().size(), 0u);
    mux->setPortClass(CGenGFPort::Class()); // not switchable: ignored
    EXPECT_EQ(&mux->portClass(), &CGenGFPortPatternAndProbs::Class());

    mux->setInputCount(1);
    EXPECT_EQ(mux->inputCount(), 2u);
    mux->setInputCount(200);
    EXPECT_EQ(mux->inputCount(), 128u);
    EXPECT_EQ(mux->inputIndex->maxIndexValue(), 127u);
    EXPECT_NE(mux->inputGFPortForKey("source_128"), nullptr);
}

TEST(CGenGFPatternFlow, DemultiplexerAndSplitter)
{
    CGenGFModule root;
    auto* source = AddModule<TestSource>(root, "source");
    auto* demux = AddModule<CGenGFModuleDemultiplexer>(root, "demux");
    EXPECT_EQ(demux->outputCount(), 4u);
    demux->setPortClass(CGenGFPortNumeric::Class());
    demux->setResetOutputs(true);
    ASSERT_NE(demux->inputGFPortForKey("inputReset"), nullptr);
    demux->inputGFPortForKey("inputReset")->setDoubleValue(-1.0);
    root.createConnectionFromPortToPortForKey(*source->outputValue, *demux->inputGFPortForKey("input"));
    auto* sink = AddModule<TestSink>(root, "sink");
    root.createConnectionFromPortToPortForKey(*demux->outputGFPortForKey("destination_3"), *sink->inputValue);
    demux->inputIndex->setIndexValue(2);
    CGenContext gen;
    ASSERT_TRUE(root._setup(CGenGFContext::contextWithGenContext(&gen)));
    root.executeSubModulesWithArguments(nullptr);
    EXPECT_EQ(sink->mSeen, std::vector<double>({1.5}));
    EXPECT_EQ(demux->outputGFPortForKey("destination_1")->doubleValue(), -1.0);
    EXPECT_EQ(demux->outputGFPortForKey("destination_4")->doubleValue(), -1.0);
    root._cleanup();
    demux->setResetOutputs(false);
    EXPECT_EQ(demux->inputGFPortForKey("inputReset"), nullptr);

    CGenGFModuleSplitter splitter;
    splitter.setPortClass(CGenGFPortNumeric::Class());
    splitter.setPortMinValue(1.0);
    splitter.setPortMaxValue(3.0);
    CGenGFPort* in = splitter.inputGFPortForKey("input");
    in->setDoubleValue(9.0);
    EXPECT_EQ(in->doubleValue(), 3.0);
    splitter.setPortClass(CGenGFPortIndexed::Class());
    in = splitter.inputGFPortForKey("input");
    EXPECT_EQ(&in->portClass(), &CGenGFPortSplitterIndexed::Class());
    EXPECT_EQ(in->minIndexValue(), 1u);
    EXPECT_EQ(in->maxIndexValue(), 3u);
    splitter.setIndexLabels({"soft", "medium"});
    EXPECT_EQ(in->minIndexValue(), 0u);
    EXPECT_EQ(in->maxIndexValue(), 1u);
    EXPECT_EQ(static_cast<CGenGFPortSplitterIndexed*>(in)->labels(), std::vector<std::string>({"soft", "medium"}));
    EXPECT_EQ(CGenGFPortClassDisplayName(CGenGFVirtualPort::Class()), "Virtual");
    EXPECT_EQ(CGenGFPortClassDisplayName(CGenGFPortPatternAndProbs::Class()), "PatternAndProbs");
    EXPECT_EQ(CGenGFPortClassDisplayName(CGenGFModuleMultiplexerNumberPort::Class()), "ModuleMultiplexerNumber");
}

// provider -> filter -> value switch -> multiplexer -> picker -> consumer, run
// as pattern choice runs it, with a fixed seed.
TEST(CGenGFPatternFlow, WholeGraphThroughTheCallerProtocol)
{
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule& g = *graph;
    auto* provider = AddModule<CGenGFModulePatternProbProvider>(g, "provider");
    auto* filter = AddModule<CGenGFModuleFilterPatternName>(g, "filter");
    auto* sw = AddModule<CGenGFModuleValueSwitch>(g, "switch");
    auto* mux = AddModule<CGenGFModuleMultiplexer>(g, "mux");
    auto* picker = AddModule<CGenGFModuleRandomPatternPicker>(g, "picker");
    auto* consumer = AddModule<CGenGFModulePatternProbConsumer>(g, "consumer");
    filter->inputFilterString->setStringValue("^sys");
    filter->inputMatchingFactor->setDoubleValue(1.5);
    filter->inputNonMatchingFactor->setDoubleValue(0.0);
    sw->setRanges({CGenRange<double>(0.0, 0.5), CGenRange<double>(0.5, 1.0)});
    sw->inputValue->setDoubleValue(0.75);
    mux->setPortClass(CGenGFPortPatternAndProbs::Class());
    mux->setInputCount(3);
    auto connect = [&](CGenGFPort* from, CGenGFPort* to) { ASSERT_NE(g.createConnectionFromPortToPortForKey(*from, *to), nullptr); };
    connect(provider->outputPatterns, filter->inputPatterns);
    connect(filter->outputPatterns, sw->inputPatterns);
    connect(sw->outputDefault, mux->inputGFPortForKey("source_1"));
    connect(sw->outputGFPortForKey("index_1"), mux->inputGFPortForKey("source_2"));
    connect(sw->outputGFPortForKey("index_2"), mux->inputGFPortForKey("source_3"));
    connect(sw->outputActiveIndex, mux->inputIndex);
    connect(mux->outputGFPortForKey("output"), picker->inputPatterns);
    connect(picker->outputPatterns, consumer->inputPatterns);
    EXPECT_EQ(g.executionMode(), TGenGFExecutionMode_Consumer);

    CGenStyle style("Player");
    style.StyleGraphs().SetStyleGraphForKey(std::move(graph), kStyleGraphKey_System);
    CGenPatternGraphBoost patternGraph(TPatternGraphType_System);
    patternGraph.Random().SetSeed(777);
    CGenContext gen;
    gen.mStyle = &style;
    gen.mPatternGraph = &patternGraph;

    const auto candidates = Candidates({{"sys_a", 40.0f}, {"sys_b", 80.0f}, {"fill_c", 70.0f}, {"sys_d", 20.0f}});
    {
        CGenStyleGraphRun run(gen, TPatternGraphType_System);
        ASSERT_EQ(run.Graph(), style.StyleGraphs().StyleGraphForKey(kStyleGraphKey_System));
        EXPECT_EQ(gen.mStyleGraphKey, "kStyleGraphKey_System");
        // After the filter: sys_a 60, sys_b 120, sys_d 30. The switch sends them
        // to index_2 (active index 2), which the multiplexer reads as source_3.
        // The picker's bands hold sys_a and sys_d (sys_b lies above 100): sums
        // 60 and 90; the state after 777 is 585382158, % 90 = 18: sys_a.
        CGenPatternModAndProbs list = candidates;
        run.ApplyStyleGraphToPatterns(list, 0.0f);
        EXPECT_EQ(Entries(list), (TEntries {{"sys_a", 60.0f}}));
        EXPECT_EQ(sw->outputActiveIndex->indexValue(), 2u);
        CGenStyleGraphRun::TResult result = run.ChooseResult(list, patternGraph.Random());
        EXPECT_EQ(Entries(result.mPatterns), (TEntries {{"sys_a", 60.0f}}));
        EXPECT_FALSE(result.mFinished);
        EXPECT_EQ(patternGraph.Random().State(), 585382158u); // one element: no draw

        // The same position again runs nothing and draws nothing.
        list = candidates;
        run.ApplyStyleGraphToPatterns(list, 0.0f);
        EXPECT_EQ(Entries(list), (TEntries {{"sys_a", 60.0f}}));
        EXPECT_EQ(patternGraph.Random().State(), 585382158u);

        // The next position draws again: 325238575 % 90 = 85 falls to sys_d.
        list = candidates;
        run.ApplyStyleGraphToPatterns(list, 4.0f);
        EXPECT_EQ(Entries(list), (TEntries {{"sys_d", 30.0f}}));
        EXPECT_EQ(patternGraph.Random().State(), 325238575u);

        // A script that made the choice: the list is taken whole; empty means finished.
        gen.mGraphMadeTheChoice = true;
        CGenPatternModAndProbs none;
        EXPECT_TRUE(run.ChooseResult(none, patternGraph.Random()).mFinished);
    }
    EXPECT_FALSE(style.StyleGraphs().StyleGraphForKey(kStyleGraphKey_System)->isRunning());

    // Another layer finds no graph and leaves the list alone.
    CGenStyleGraphRun fill(gen, TPatternGraphType_Fill);
    EXPECT_EQ(fill.Graph(), nullptr);
    CGenPatternModAndProbs list = candidates;
    fill.ApplyStyleGraphToPatterns(list, 0.0f);
    EXPECT_EQ(list.size(), 4u);
    CGenStyleGraphRun undefinedType(gen, TPatternGraphType_Undef);
    EXPECT_EQ(gen.mStyleGraphKey, "");
}
