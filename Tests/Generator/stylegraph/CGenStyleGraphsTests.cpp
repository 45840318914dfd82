#include "Generator/CGenContext.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"
#include "Generator/stylegraph/CGenGFModuleRandomPatternPicker.h"
#include "Generator/stylegraph/CGenGFModuleMultiplexer.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFModuleStringSwitch.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphDump.h"
#include "Generator/stylegraph/CGenStyleGraphUtilities.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"
#include "Platform/ZKCompression.h"
#include "Platform/ZKKeyedArchive.h"
#include "Platform/ZKLog.h"
#include "StyleGraphTestModules.h"
#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <boost/serialization/version.hpp>

#include <filesystem>
#include <limits>
#include <optional>
#include <unistd.h>

using namespace zkgtest;

namespace {

class TempDir {
public:
    TempDir()
    {
        mPath = std::filesystem::temp_directory_path() / ("zkgen_style_" + std::to_string(::getpid()) + "_" + std::to_string(sCounter++));
        std::filesystem::create_directories(mPath);
    }
    ~TempDir() { std::filesystem::remove_all(mPath); }
    const std::filesystem::path& Path() const { return mPath; }

private:
    static inline int sCounter = 0;
    std::filesystem::path mPath;
};

// A graph that uses every kind of stored piece: state keys with value
// objects, port values, dynamic ports, a nested module with a published
// port, connections and names.
std::unique_ptr<CGenGFModule> MakeGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    auto* provider = AddModule<CGenGFModulePatternProbProvider>(*graph, "provider");
    provider->setPatternPoolIdentifiers({"pool A", "pool B"});
    auto* filter = AddModule<CGenGFModuleFilterPatternName>(*graph, "filter");
    filter->inputFilterString->setStringValue("^sys");
    filter->inputMatchingFactor->setDoubleValue(1.25);
    filter->setValueForStateKey(ZKGFValue(std::make_shared<CGenGFRegex>("^sys")), "regex");
    filter->setCustomizedName("System only");
    auto* sw = AddModule<CGenGFModuleStringSwitch>(*graph, "switch");
    sw->setOutputCount(3);
    sw->stringBins().addStringToBinAtIndex("verse", 0);
    sw->stringBins().addStringToBinAtIndex("chorus", 2);
    sw->stringBins().setNameForBinAtIndex("Calm", 0);
    sw->inputString->setStringValue("chorus");
    auto* box = AddModule<CGenGFModule>(*graph, "box");
    auto* mux = AddModule<CGenGFModuleMultiplexer>(*box, "mux");
    mux->setPortClass(CGenGFPortPatternAndProbs::Class());
    mux->setInputCount(3);
    mux->inputIndex->setIndexValue(2);
    box->publishPort(*mux->inputGFPortForKey("source_1"), "in");
    box->publishPort(*mux->outputGFPortForKey("output"), "out");
    auto* consumer = AddModule<CGenGFModulePatternProbConsumer>(*graph, "consumer");
    graph->createConnectionFromPortToPortForKey(*provider->outputPatterns, *filter->inputPatterns);
    graph->createConnectionFromPortToPortForKey(*filter->outputPatterns, *sw->inputPatterns);
    graph->createConnectionFromPortToPortForKey(*sw->outputDefault, *box->gfPortForKey("in"));
    graph->createConnectionFromPortToPortForKey(*box->gfPortForKey("out"), *consumer->inputPatterns);
    return graph;
}

CGenStyleGraphs MakeStyleGraphs()
{
    CGenStyleGraphs graphs;
    graphs.SetStyleGraphForKey(MakeGraph(), kStyleGraphKey_System);
    graphs.SetStyleGraphForKey(std::make_unique<CGenGFModule>(), kStyleGraphKey_Global);
    graphs.SetPropertyForKey(TGenDictValue("GlobalA\nGlobalB"), kCGenStyleGraphsProperty_IncludeScript);
    return graphs;
}

std::string ArchiveText(const TGenData& bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

TGenData FileData(const TGenDict& root)
{
    return *zkCompressedDataWithCompressionLevel(*ZKKeyedArchiveEncode(root, ZKKeyedArchiveFormat_XML), -1);
}

// The layout of a style record of class version 2: graphs, then the name.
struct StyleVersion2 {
    CGenStyleGraphs mStyleGraphs;
    std::string mName;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("mStyleGraphs", mStyleGraphs);
        ar& boost::serialization::make_nvp("mName", mName);
    }
};

// Version 1: the graphs alone.
struct StyleVersion1 {
    CGenStyleGraphs mStyleGraphs;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("mStyleGraphs", mStyleGraphs);
    }
};

} // namespace

BOOST_CLASS_VERSION(StyleVersion2, 2)
BOOST_CLASS_VERSION(StyleVersion1, 1)

TEST(CGenStyleGraphsFile, RoundTripIsByteExact)
{
    TempDir dir;
    const TGenUrl url = dir.Path() / "Player - 1.style";
    const CGenStyleGraphs graphs = MakeStyleGraphs();
    ASSERT_TRUE(graphs.SaveToURL(url));

    CGenStyleGraphs loaded;
    ASSERT_TRUE(loaded.LoadFromURL(url));
    EXPECT_TRUE(loaded.HasEntries());
    EXPECT_EQ(loaded.Entries()->size(), 2u);
    EXPECT_EQ(loaded.PropertyForKey(kCGenStyleGraphsProperty_IncludeScript), TGenDictValue("GlobalA\nGlobalB"));
    const TGenUrl again = dir.Path() / "again.style";
    ASSERT_TRUE(loaded.SaveToURL(again));
    EXPECT_EQ(*ZKFileRead(url), *ZKFileRead(again));
    EXPECT_EQ(CGenStyleGraphDump::TextForStyleGraphs(loaded), CGenStyleGraphDump::TextForStyleGraphs(graphs));

    // What came back is the same graph, values and all.
    CGenGFModule* g = loaded.StyleGraphForKey(kStyleGraphKey_System);
    auto* filter = dynamic_cast<CGenGFModuleFilterPatternName*>(g->subpatchForKey("filter"));
    ASSERT_NE(filter, nullptr);
    EXPECT_EQ(filter->inputMatchingFactor->doubleValue(), 1.25);
    EXPECT_EQ(filter->regex()->regexString(), "^sys");
    EXPECT_TRUE(filter->regex()->isValid());
    EXPECT_EQ(filter->userInfo().StringForKey("name"), "\"System only\"");
    auto* sw = dynamic_cast<CGenGFModuleStringSwitch*>(g->subpatchForKey("switch"));
    EXPECT_EQ(sw->outputCount(), 3u);
    EXPECT_EQ(sw->stringBins().indexOfBinForString("chorus"), 2);
    EXPECT_EQ(sw->stringBins().nameForBinAtIndex(0), "Calm");
    auto* mux = dynamic_cast<CGenGFModuleMultiplexer*>(g->subpatchForPath("box/mux"));
    ASSERT_NE(mux, nullptr);
    EXPECT_EQ(&mux->portClass(), &CGenGFPortPatternAndProbs::Class());
    EXPECT_EQ(mux->inputCount(), 3u);
    EXPECT_EQ(mux->inputIndex->indexValue(), 2u);
    EXPECT_EQ(g->connections().size(), 4u);
    EXPECT_EQ(g->subpatchForKey("consumer")->inputGFPortForKey("inputPatterns")->connectedPort()->key(), "out");
    EXPECT_EQ(g->executionMode(), TGenGFExecutionMode_Consumer);
}

TEST(CGenStyleGraphsFile, ArchiveIsReadableXmlWithTheKeys)
{
    const CGenStyleGraphs graphs = MakeStyleGraphs();
    const std::string xml = ArchiveText(*graphs.EncodeToKeyedArchive());
    EXPECT_TRUE(xml.starts_with("<?xml"));
    const size_t entries = xml.find("<key>m_entries</key>");
    const size_t properties = xml.find("<key>m_properties</key>");
    const size_t version = xml.find("<key>styleGraphSerializationVersion</key>");
    ASSERT_NE(entries, std::string::npos);
    EXPECT_LT(entries, properties);
    EXPECT_LT(properties, version);
    EXPECT_NE(xml.find("<key>styleGraphSerializationVersion</key>\n\t<integer>2</integer>"), std::string::npos);
    EXPECT_NE(xml.find("<string>CGenGFModuleFilterPatternName</string>"), std::string::npos);
    EXPECT_NE(xml.find("<key>@connections</key>"), std::string::npos);
    EXPECT_NE(xml.find("<string>CGenGFRegex</string>"), std::string::npos);
    // The file is the archive compressed.
    EXPECT_EQ(*zkUncompressedData(*graphs.EncodeToFileData()), *graphs.EncodeToKeyedArchive());
}

TEST(CGenStyleGraphsFile, OlderFormsLoad)
{
    const TGenDict entries = zkgen::EncodeStyleGraphEntries(*MakeStyleGraphs().Entries());

    // Version 1: the properties are not read.
    CGenStyleGraphs v1;
    ASSERT_TRUE(v1.DecodeFromFileData(FileData(TGenDict {{"m_entries", entries}, {"m_properties", TGenDict {{"x", 1}}},
        {"styleGraphSerializationVersion", 1}})));
    EXPECT_EQ(v1.Entries()->size(), 2u);
    EXPECT_TRUE(v1.Properties().empty());

    // Version 2 without properties: empty ones.
    CGenStyleGraphs noProperties;
    ASSERT_TRUE(noProperties.DecodeFromFileData(
        FileData(TGenDict {{"m_entries", entries}, {"styleGraphSerializationVersion", 2}})));
    EXPECT_TRUE(noProperties.Properties().empty());

    // The legacy form: the bare dictionary of graphs.
    CGenStyleGraphs legacy;
    ASSERT_TRUE(legacy.DecodeFromFileData(FileData(entries)));
    EXPECT_NE(legacy.StyleGraphForKey(kStyleGraphKey_System), nullptr);

    // An empty dictionary of graphs is a loaded, empty set.
    CGenStyleGraphs empty;
    ASSERT_TRUE(empty.DecodeFromFileData(FileData(TGenDict {{"m_entries", TGenDict {}}, {"styleGraphSerializationVersion", 2}})));
    EXPECT_TRUE(empty.HasEntries());
    EXPECT_EQ(empty.StyleGraphForKey(kStyleGraphKey_System), nullptr);
}

TEST(CGenStyleGraphsFile, UnknownClassesAndDamageLeaveNoGraphs)
{
    TGenDict entries = zkgen::EncodeStyleGraphEntries(*MakeStyleGraphs().Entries());
    // A module class this engine does not know, deep in a graph.
    TGenDict* graph = entries.DictForKey(kStyleGraphKey_System);
    TGenArray& subpatches = *graph->DictForKey("state")->ValueForKey("@subpatches")->AsArray();
    subpatches.front().AsDict()->SetValueForKey("CGenGFModuleFromTheFuture", "class");
    CGenStyleGraphs graphs;
    std::string error;
    EXPECT_FALSE(graphs.DecodeFromFileData(
        FileData(TGenDict {{"m_entries", entries}, {"styleGraphSerializationVersion", 2}}), &error));
    EXPECT_FALSE(graphs.HasEntries());
    EXPECT_EQ(error,
        "graph \"kStyleGraphKey_System\": CGenGFModule: unknown node class \"CGenGFModuleFromTheFuture\"");

    // A root of an unknown class.
    entries = zkgen::EncodeStyleGraphEntries(*MakeStyleGraphs().Entries());
    entries.DictForKey(kStyleGraphKey_Global)->SetValueForKey("NoSuchRoot", "$class");
    EXPECT_FALSE(graphs.DecodeFromFileData(FileData(TGenDict {{"m_entries", entries}, {"styleGraphSerializationVersion", 2}}), &error));
    EXPECT_EQ(error, "graph \"kStyleGraphKey_Global\": unknown module class \"NoSuchRoot\"");

    // A damaged file: the load fails with a log line and no graphs.
    TempDir dir;
    const TGenUrl url = dir.Path() / "broken.style";
    TGenData bytes = *MakeStyleGraphs().EncodeToFileData();
    bytes.resize(bytes.size() / 2);
    ASSERT_TRUE(ZKFileWriteAtomically(url, bytes));
    CGenStyleGraphs damaged = MakeStyleGraphs();
    ZKLogCapture log;
    EXPECT_FALSE(damaged.LoadFromURL(url));
    EXPECT_FALSE(damaged.HasEntries());
    EXPECT_TRUE(damaged.Properties().empty());
    EXPECT_EQ(damaged.StyleGraphForKey(kStyleGraphKey_System), nullptr);
    const auto texts = log.Texts(ZKLogCategory_GeneratorStorage);
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_TRUE(texts[0].starts_with("Failed to load style graphs from '" + url.string() + "': ")) << texts[0];

    EXPECT_FALSE(CGenStyleGraphDump::LoadStyleFile(dir.Path() / "missing.style", damaged, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(error.find('\n'), std::string::npos);
}

TEST(CGenStyleGraphsFile, DamagedConnectionsAndVersionsFailTheDecode)
{
    // Two connections into the filter's one input: the graph runtime raises,
    // the decode returns its failure with that text.
    TGenDict entries = zkgen::EncodeStyleGraphEntries(*MakeStyleGraphs().Entries());
    TGenArray& connections
        = *entries.DictForKey(kStyleGraphKey_System)->DictForKey("state")->ValueForKey("@connections")->AsArray();
    TGenDictValue again = connections.front();
    again.AsDict()->SetValueForKey("again", "key");
    connections.push_back(again);
    std::string error;
    EXPECT_FALSE(zkgen::DecodeStyleGraphEntries(entries, &error).has_value());
    EXPECT_EQ(error, "graph \"kStyleGraphKey_System\": There is already a connected port");
    CGenStyleGraphs graphs;
    EXPECT_FALSE(graphs.DecodeFromFileData(
        FileData(TGenDict {{"m_entries", entries}, {"styleGraphSerializationVersion", 2}}), &error));
    EXPECT_FALSE(graphs.HasEntries());
    EXPECT_EQ(error, "graph \"kStyleGraphKey_System\": There is already a connected port");

    // A version of 1e300, NaN or infinity has no integer: an error, not version 0.
    const TGenDict good = zkgen::EncodeStyleGraphEntries(*MakeStyleGraphs().Entries());
    for (const double version : {1e300, -1e300, std::numeric_limits<double>::quiet_NaN(),
             std::numeric_limits<double>::infinity()}) {
        error.clear();
        EXPECT_FALSE(graphs.DecodeFromFileData(
            FileData(TGenDict {{"m_entries", good}, {"styleGraphSerializationVersion", version}}), &error))
            << version;
        EXPECT_FALSE(graphs.HasEntries()) << version;
        EXPECT_EQ(error, "\"styleGraphSerializationVersion\" is out of range") << version;
    }
    // A floating version that is an integer still reads: 2.0 is version 2, properties and all.
    ASSERT_TRUE(graphs.DecodeFromFileData(FileData(TGenDict {{"m_entries", good},
        {"m_properties", TGenDict {{"x", 1}}}, {"styleGraphSerializationVersion", 2.0}})));
    EXPECT_EQ(graphs.Properties(), (TGenDict {{"x", 1}}));
}

TEST(CGenStyleGraphs, EntriesAndProperties)
{
    CGenStyleGraphs graphs;
    EXPECT_FALSE(graphs.HasEntries());
    EXPECT_EQ(graphs.StyleGraphForKey(kStyleGraphKey_System), nullptr);
    graphs.SetStyleGraphForKey(nullptr, kStyleGraphKey_System);
    EXPECT_FALSE(graphs.HasEntries());
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule* raw = graph.get();
    graphs.SetStyleGraphForKey(std::move(graph), kStyleGraphKey_System);
    graphs.SetStyleGraphForKey(nullptr, kStyleGraphKey_System); // leaves the old one
    EXPECT_EQ(graphs.StyleGraphForKey(kStyleGraphKey_System), raw);
    EXPECT_EQ(graphs.StyleGraphForKey("kStyleGraphKey_Other"), nullptr);

    graphs.SetPropertyForKey(TGenDictValue(3), "k");
    EXPECT_EQ(graphs.PropertyForKey("k"), TGenDictValue(3));
    graphs.SetPropertyForKey(std::nullopt, "k");
    EXPECT_EQ(graphs.PropertyForKey("k"), std::nullopt);

    // Copies hold graphs of their own.
    graphs.SetPropertyForKey(TGenDictValue("x"), kCGenStyleProperty_Includes);
    const CGenStyleGraphs copy = graphs;
    EXPECT_NE(copy.StyleGraphForKey(kStyleGraphKey_System), raw);
    EXPECT_EQ(copy.PropertyForKey(kCGenStyleProperty_Includes), TGenDictValue("x"));

    // Running graphs are cleaned up; one that is not running raises.
    CGenContext gen;
    raw->_setup(CGenGFContext::contextWithGenContext(&gen));
    graphs.CleanupAll();
    EXPECT_FALSE(raw->isRunning());
    EXPECT_THROW(graphs.CleanupAll(), ZKGFException);

    graphs.RemoveAllEntries();
    EXPECT_FALSE(graphs.HasEntries());
    EXPECT_TRUE(graphs.Properties().empty());
    EXPECT_FALSE(graphs.SaveToURL("/nonexistent/none.style"));
}

TEST(CGenStyle, IdentifierAndLoadPoint)
{
    CGenStyle style("Player");
    EXPECT_EQ(style.UniqueID().size(), 36u);
    EXPECT_NE(style.UniqueID(), CGenStyle("Player").UniqueID());
    EXPECT_EQ(style.Identifier(), "Player - " + style.UniqueID());
    CGenStyle nameless;
    nameless.SetUniqueID("");
    EXPECT_EQ(nameless.Identifier(), "");
    nameless.SetName("N");
    EXPECT_EQ(nameless.Identifier(), "N - ");

    TempDir dir;
    CGenStyles styles {style};
    CGenStyle& s = styles.front();
    {
        ZKLogCapture log;
        EXPECT_FALSE(styles.LoadStyleGraphsIfNotCachedAlready(s));
        EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStyles),
            std::vector<std::string>({"Style URL lookup FAILED for URL '" + s.Identifier() + "'"}));
    }
    styles.SetStyleGraphsFolderURL(dir.Path());
    const TGenUrl url = styles.StyleGraphsURLForStyle(s);
    EXPECT_EQ(url, dir.Path() / (s.Identifier() + ".style"));
    {
        ZKLogCapture log;
        EXPECT_FALSE(styles.LoadStyleGraphsIfNotCachedAlready(0));
        EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStyles),
            std::vector<std::string>({"Loading style " + s.Identifier() + " from '" + url.string() + "' FAILED"}));
    }
    ASSERT_TRUE(MakeStyleGraphs().SaveToURL(url));
    {
        ZKLogCapture log;
        EXPECT_TRUE(styles.LoadStyleGraphsIfNotCachedAlready(s));
        EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStyles),
            std::vector<std::string>({"Loading style " + s.Identifier() + " from '" + url.string() + "' SUCCESS"}));
    }
    // Cached: no second load, no log.
    ZKLogCapture log;
    EXPECT_TRUE(styles.LoadStyleGraphsIfNotCachedAlready(s));
    EXPECT_TRUE(log.Records().empty());
    EXPECT_TRUE(s.LoadStyleGraphsIfNotCachedAlready());
    EXPECT_EQ(styles.ChooseStyle(-3), &s);
    EXPECT_EQ(styles.ChooseStyle(1), nullptr);
}

TEST(CGenStyle, ArchiveVersions)
{
    CGenStyle style("Brushes");
    EXPECT_EQ(TextRoundTrip(style), style);
    EXPECT_EQ(BinaryRoundTrip(style), style);
    EXPECT_EQ(XmlRoundTrip(style), style);
    EXPECT_EQ(TextRoundTrip(style).UniqueID(), style.UniqueID());

    // Version 2 kept the graphs in the record and had no unique ID: the
    // graphs come back and a new ID is made.
    StyleVersion2 old;
    old.mName = "Old Player";
    old.mStyleGraphs = MakeStyleGraphs();
    for (const std::string& text : {ToTextArchive(old)}) {
        CGenStyle read;
        const std::string before = read.UniqueID();
        ASSERT_TRUE(FromTextArchive(text, read));
        EXPECT_EQ(read.Name(), "Old Player");
        EXPECT_NE(read.UniqueID(), before);
        EXPECT_EQ(read.UniqueID().size(), 36u);
        ASSERT_TRUE(read.StyleGraphs().HasEntries());
        EXPECT_EQ(CGenStyleGraphDump::TextForStyleGraphs(read.StyleGraphs()),
            CGenStyleGraphDump::TextForStyleGraphs(MakeStyleGraphs()).substr(0,
                CGenStyleGraphDump::TextForStyleGraphs(MakeStyleGraphs()).find("properties")));
    }

    StyleVersion1 first;
    first.mStyleGraphs = MakeStyleGraphs();
    CGenStyle read("Kept until read");
    ASSERT_TRUE(FromTextArchive(ToTextArchive(first), read));
    EXPECT_EQ(read.Name(), "Kept until read");
    EXPECT_NE(read.StyleGraphs().StyleGraphForKey(kStyleGraphKey_System), nullptr);

    // A damaged archive of version 2 fails the read and leaves no graphs.
    std::string text = ToTextArchive(old);
    text.resize(text.size() / 2);
    CGenStyle broken;
    EXPECT_FALSE(FromTextArchive(text, broken));
}

TEST(CGenStyleGraphDump, TextAndDot)
{
    CGenStyleGraphs graphs;
    auto graph = std::make_unique<CGenGFModule>();
    auto* provider = AddModule<CGenGFModulePatternProbProvider>(*graph, "provider");
    auto* top = AddModule<CGenGFModuleTopProbFilter>(*graph, "top");
    auto* consumer = AddModule<CGenGFModulePatternProbConsumer>(*graph, "consumer");
    graph->createConnectionFromPortToPortForKey(*provider->outputPatterns, *top->inputPatterns);
    graph->createConnectionFromPortToPortForKey(*top->outputPatterns, *consumer->inputPatterns);
    top->inputStepCount->setDoubleValue(10.0);
    graphs.SetStyleGraphForKey(std::move(graph), kStyleGraphKey_Fill);
    EXPECT_EQ(CGenStyleGraphDump::TextForStyleGraphs(graphs),
        "1 graph\n"
        "graph \"kStyleGraphKey_Fill\": CGenGFModule [consumer]\n"
        "  module \"provider\": CGenGFModulePatternProbProvider [provider]\n"
        "    out outputPatterns (CGenGFPortPatternAndProbs) \"Patterns\"\n"
        "    state patternPoolIdentifiers = ()\n"
        "  module \"top\": CGenGFModuleTopProbFilter [processor]\n"
        "    in  inputPatterns (CGenGFPortPatternAndProbs) \"Patterns\" <- provider.outputPatterns\n"
        "    in  inputMinRequiredPatterns (CGenGFPortNumeric) \"Min Required\" = 5\n"
        "    in  inputStepCount (CGenGFPortNumeric) \"Steps\" = 10\n"
        "    out outputPatterns (CGenGFPortPatternAndProbs) \"Patterns\"\n"
        "  module \"consumer\": CGenGFModulePatternProbConsumer [consumer]\n"
        "    in  inputPatterns (CGenGFPortPatternAndProbs) \"Patterns\" <- top.outputPatterns\n"
        "  connection connection_1: provider.outputPatterns -> top.inputPatterns\n"
        "  connection connection_2: top.outputPatterns -> consumer.inputPatterns\n");
    const std::string dot = CGenStyleGraphDump::DotForStyleGraphs(graphs);
    EXPECT_TRUE(dot.starts_with("digraph style {\n"));
    EXPECT_NE(dot.find("subgraph \"cluster_kStyleGraphKey_Fill\" {"), std::string::npos);
    EXPECT_NE(dot.find("\"kStyleGraphKey_Fill/top\" -> \"kStyleGraphKey_Fill/consumer\" "
                       "[label=\"outputPatterns -> inputPatterns\"];"),
        std::string::npos);
    EXPECT_NE(dot.find("\"kStyleGraphKey_Fill/top\" [shape=box, label=\"top\\nCGenGFModuleTopProbFilter\"];"),
        std::string::npos);
    EXPECT_EQ(CGenStyleGraphDump::TextForStyleGraphs(CGenStyleGraphs()), "no graphs\n");
}

TEST(CGenStyleGraphUtilities, WalksModulesAndNamesTheirPaths)
{
    CGenStyles styles {CGenStyle("A")};
    styles.front().StyleGraphs() = MakeStyleGraphs();
    std::vector<std::string> seen;
    CGenStyleGraphUtilities utilities;
    EXPECT_TRUE(utilities.iterateModulesInStylesWithIndexWithBlock(styles, 0,
        [&](CGenStyle& style, const std::string& key, CGenGFModule& module, bool&) {
            EXPECT_EQ(style.Name(), "A");
            seen.push_back(key + ": " + CGenStyleGraphUtilities::pathStringForModule(module));
        }));
    EXPECT_EQ(seen,
        std::vector<std::string>({"kStyleGraphKey_Global: CGenGFModule", "kStyleGraphKey_System: CGenGFModule",
            "kStyleGraphKey_System: CGenGFModule > provider", "kStyleGraphKey_System: CGenGFModule > \"System only\"",
            "kStyleGraphKey_System: CGenGFModule > switch", "kStyleGraphKey_System: CGenGFModule > box",
            "kStyleGraphKey_System: CGenGFModule > box > mux", "kStyleGraphKey_System: CGenGFModule > consumer"}));
    size_t visited = 0;
    EXPECT_FALSE(utilities.iterateModulesInStylesWithIndexWithBlock(styles, 0,
        [&](CGenStyle&, const std::string&, CGenGFModule&, bool& stop) { stop = ++visited == 3; }));
    EXPECT_EQ(visited, 3u);
    EXPECT_TRUE(utilities.iterateModulesInStylesWithIndexWithBlock(styles, 5, nullptr));
}
