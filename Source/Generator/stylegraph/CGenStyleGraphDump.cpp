#include "Generator/stylegraph/CGenStyleGraphDump.h"

#include "Generator/stylegraph/CGenGFNodeManager.h"

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"

#include <sstream>

namespace {

const char* ModeName(TGenGFExecutionMode mode)
{
    switch (mode) {
    case TGenGFExecutionMode_Automatic: return "automatic";
    case TGenGFExecutionMode_Consumer: return "consumer";
    case TGenGFExecutionMode_Provider: return "provider";
    case TGenGFExecutionMode_Processor: return "processor";
    case TGenGFExecutionMode_AutomaticNeverConsumer: return "automatic, never consumer";
    }
    return "?";
}

// "node.port" of a port as its graph names it.
std::string PortPlace(const ZKGFPort& port, const ZKGFGraph& graph)
{
    const std::string node = graph.keyForNode(&port.node());
    return (node.empty() ? std::string("(self)") : node) + "." + port.key();
}

void WritePorts(std::ostream& os, const CGenGFModule& module, const std::string& pad)
{
    for (int direction : {-1, 1}) {
        for (const auto& p : direction < 0 ? module.inputPorts() : module.outputPorts()) {
            const auto& port = static_cast<const CGenGFPort&>(*p);
            os << pad << (direction < 0 ? "in  " : "out ") << port.key() << " (" << port.portClass().Name() << ")";
            const std::string name = port.attributes().StringForKey("name");
            if (!name.empty() && name != port.key())
                os << " \"" << name << "\"";
            if (port.IsProxy()) {
                const auto& original = static_cast<const CGenGFPort&>(*port.originalPort());
                os << " publishes " << PortPlace(original, module);
            }
            if (direction < 0) {
                if (const CGenGFPort* source = port.connectedPort(); source && module.graph())
                    os << " <- " << PortPlace(*source, *module.graph());
                else if (!port.IsProxy())
                    os << " = " << port.ValueDescription();
            }
            os << "\n";
        }
    }
}

void WriteModule(std::ostream& os, const CGenGFModule& module, const std::string& title, int indent)
{
    const std::string pad(static_cast<size_t>(indent) * 2, ' ');
    os << pad << title << ": " << module.ClassName() << " [" << ModeName(module.executionMode()) << "]";
    const std::string name = module.userInfo().StringForKey("name");
    if (!name.empty())
        os << " " << name;
    os << "\n";
    const std::string inner = pad + "  ";
    WritePorts(os, module, inner);
    for (const CGenGFClassDescription::TStateKey& k : module.classDescription().stateKeys()) {
        const ZKGFValue v = module.valueForStateKey(k.mKey);
        if (!v.IsNothing())
            os << inner << "state " << k.mKey << " = " << v.Description() << "\n";
    }
    for (const auto& entry : module.nodes())
        WriteModule(os, static_cast<const CGenGFModule&>(*entry.mNode), "module \"" + entry.mKey + "\"", indent + 1);
    for (const auto& c : module.connections())
        os << inner << "connection " << c->key() << ": " << PortPlace(c->sourcePort(), module) << " -> "
           << PortPlace(c->destinationPort(), module) << "\n";
}

std::string DotEscaped(const std::string& s)
{
    std::string out;
    for (char ch : s) {
        if (ch == '"' || ch == '\\')
            out += '\\';
        out += ch;
    }
    return out;
}

// Quoted pieces are appended one by one: g++ 12 warns falsely (-Wrestrict)
// on literal + string chains.
std::string DotId(const std::string& s)
{
    std::string out("\"");
    return out.append(DotEscaped(s)).append("\"");
}

// A quoted label of two lines, joined by Graphviz's line break.
std::string DotLabel(const std::string& first, const std::string& second)
{
    std::string out("\"");
    return out.append(DotEscaped(first)).append("\\n").append(DotEscaped(second)).append("\"");
}

void WriteDotModule(std::ostream& os, const CGenGFModule& module, const std::string& id, const std::string& label,
    int indent)
{
    const std::string pad(static_cast<size_t>(indent) * 2, ' ');
    if (module.nodes().empty()) {
        os << pad << DotId(id) << " [shape=box, label=" << DotLabel(label, module.ClassName()) << "];\n";
        return;
    }
    os << pad << "subgraph " << DotId("cluster_" + id) << " {\n";
    os << pad << "  label=" << DotId(label + " (" + module.ClassName() + ")") << ";\n";
    for (const auto& entry : module.nodes())
        WriteDotModule(os, static_cast<const CGenGFModule&>(*entry.mNode), id + "/" + entry.mKey, entry.mKey, indent + 1);
    for (const auto& c : module.connections()) {
        const std::string from = id + "/" + module.keyForNode(&c->sourcePort().node());
        const std::string to = id + "/" + module.keyForNode(&c->destinationPort().node());
        const auto endpoint = [](const std::string& node, const ZKGFNode& n) {
            // A module with sub-modules is a cluster; its edges end at an invisible anchor.
            return static_cast<const ZKGFGraph&>(n).nodes().empty() ? node : node + "/@";
        };
        os << pad << "  " << DotId(endpoint(from, c->sourcePort().node())) << " -> "
           << DotId(endpoint(to, c->destinationPort().node())) << " [label="
           << DotId(c->sourcePort().key() + " -> " + c->destinationPort().key()) << "];\n";
    }
    os << pad << "  " << DotId(id + "/@") << " [shape=point, style=invis];\n";
    os << pad << "}\n";
}

} // namespace

std::string CGenStyleGraphDump::TextForModule(const CGenGFModule& module, const std::string& title, int indent)
{
    std::ostringstream os;
    WriteModule(os, module, title, indent);
    return os.str();
}

std::string CGenStyleGraphDump::TextForStyleGraphs(const CGenStyleGraphs& graphs)
{
    std::ostringstream os;
    const CGenStyleGraphs::TEntries* entries = graphs.Entries();
    if (!entries) {
        os << "no graphs\n";
        return os.str();
    }
    os << entries->size() << (entries->size() == 1 ? " graph\n" : " graphs\n");
    for (const auto& [key, graph] : *entries)
        WriteModule(os, *graph, "graph \"" + key + "\"", 0);
    if (!graphs.Properties().empty()) {
        os << "properties\n";
        for (const auto& [key, value] : graphs.Properties())
            os << "  " << key.ToString() << " = " << ZKGFValue(value).Description() << "\n";
    }
    return os.str();
}

std::string CGenStyleGraphDump::DotForStyleGraphs(const CGenStyleGraphs& graphs)
{
    std::ostringstream os;
    os << "digraph style {\n  compound=true;\n  node [fontname=\"Helvetica\"];\n";
    if (const CGenStyleGraphs::TEntries* entries = graphs.Entries())
        for (const auto& [key, graph] : *entries) {
            if (graph->nodes().empty())
                os << "  " << DotId(key) << " [shape=box, style=dashed, label=" << DotLabel(key, "(empty)") << "];\n";
            else
                WriteDotModule(os, *graph, key, key, 1);
        }
    os << "}\n";
    return os.str();
}

bool CGenStyleGraphDump::LoadStyleFile(const TGenUrl& url, CGenStyleGraphs& graphs, std::string* outError)
{
    std::string error;
    const std::optional<TGenData> bytes = ZKFileRead(url, &error);
    if (!bytes || !graphs.DecodeFromFileData(*bytes, &error)) {
        if (outError)
            *outError = error.empty() ? "unknown error" : error;
        return false;
    }
    return true;
}

std::string CGenStyleGraphDump::TextForModuleClasses()
{
    const CGenGFNodeManager& manager = CGenGFNodeManager::setupDefaultNodeManager();
    std::string text;
    for (const ZKGFNodeClassDescription* d : manager.nodeClasses()) {
        std::unique_ptr<ZKGFNode> node = d->CreateNode();
        if (const auto* module = dynamic_cast<const CGenGFModule*>(node.get()))
            text += TextForModule(*module, "class");
    }
    return text;
}
