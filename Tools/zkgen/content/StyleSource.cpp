#include "content/StyleSource.h"
#include <Platform/ZKStrings.h>

#include "content/ContentError.h"
#include "content/TomlKeys.h"

#include <Generator/CGenTypes.h>
#include <Generator/stylegraph/CGenGFModule.h>
#include <Generator/scripting/CGenLuaCheck.h>
#include <Generator/stylegraph/CGenGFModuleLua.h>
#include <Generator/stylegraph/CGenGFModuleMultiplexer.h>
#include <Generator/stylegraph/CGenGFModuleStringSwitch.h>
#include <Generator/stylegraph/CGenGFNodeManager.h>
#include <Generator/stylegraph/CGenGFPort.h>
#include <Generator/stylegraph/CGenStyle.h>

#include <toml++/toml.h>

#include <cfloat>
#include <map>
#include <set>

namespace zkgen::cli {

namespace {

const std::map<std::string, const char*>& GraphKeys()
{
    static const std::map<std::string, const char*> keys = {{"accent-family", kStyleGraphKey_AccentFam},
        {"accent-addon", kStyleGraphKey_AccentAddon}, {"system", kStyleGraphKey_System}, {"fill", kStyleGraphKey_Fill},
        {"percussion", kStyleGraphKey_Percussion}, {"global", kStyleGraphKey_Global},
        {"global-to-merged", kStyleGraphKey_GlobalToMerged}};
    return keys;
}

std::string Join(const std::map<std::string, const char*>& m)
{
    std::string r;
    for (const auto& [k, v] : m)
        r += (r.empty() ? "" : ", ") + k;
    return r;
}

class TStyleReader {
public:
    TStyleReader(std::string fileName, TStyleFileReader readFile) : mFile(std::move(fileName)), mReadFile(std::move(readFile)) {}

    [[noreturn]] void Fail(const toml::node& at, const std::string& message) const
    {
        throw TContentError(mFile, static_cast<int>(at.source().begin.line), message);
    }

    std::string String(const toml::node& n, const std::string& what) const
    {
        if (!n.is_string())
            Fail(n, what + " must be a text");
        return n.as_string()->get();
    }

    double Number(const toml::node& n, const std::string& what) const
    {
        if (n.is_integer())
            return static_cast<double>(n.as_integer()->get());
        if (n.is_floating_point())
            return n.as_floating_point()->get();
        Fail(n, what + " must be a number");
    }

    void CheckKeys(const toml::table& t, const std::set<std::string>& known, const std::string& where) const
    {
        std::string key;
        if (const toml::node* v = FirstUnknownKey(t, known, key))
            Fail(*v, "unknown key '" + key + "' in " + where);
    }

    std::unique_ptr<CGenGFModule> Graph(const toml::table& t, const std::string& graphName) const
    {
        CheckKeys(t, {"modules", "connections"}, "graph '" + graphName + "'");
        auto graph = std::make_unique<CGenGFModule>();
        if (const toml::node* modules = t.get("modules")) {
            if (!modules->is_array())
                Fail(*modules, "modules of graph '" + graphName + "' must be a list of tables");
            for (const toml::node& m : *modules->as_array()) {
                if (!m.is_table())
                    Fail(m, "a module of graph '" + graphName + "' must be a table { key = ..., class = ... }");
                Module(*graph, *m.as_table(), graphName);
            }
        }
        if (const toml::node* connections = t.get("connections")) {
            if (!connections->is_array())
                Fail(*connections, "connections of graph '" + graphName + "' must be a list of texts");
            for (const toml::node& c : *connections->as_array())
                Connection(*graph, c);
        }
        return graph;
    }

private:
    void Module(CGenGFModule& graph, const toml::table& t, const std::string& graphName) const
    {
        const toml::node* keyNode = t.get("key");
        const toml::node* classNode = t.get("class");
        if (!keyNode || !classNode)
            Fail(t, "a module of graph '" + graphName + "' needs a key and a class");
        const std::string key = String(*keyNode, "a module's key");
        const std::string where = "module '" + key + "'";
        CheckKeys(t, {"key", "class", "inputs", "state", "ranges", "bins", "regex", "port-class", "inputs-count",
                         "outputs-count", "script"},
            where);
        if (key.empty() || key.find('.') != std::string::npos)
            Fail(*keyNode, "module key '" + key + "' must be non-empty and without '.'");
        if (graph.subpatchForKey(key))
            Fail(*keyNode, "graph '" + graphName + "' already has a module '" + key + "'");
        std::string className = String(*classNode, "a module's class");
        const CGenGFNodeManager& manager = CGenGFNodeManager::setupDefaultNodeManager();
        const ZKGFNodeClassDescription* description = manager.classDescriptionForClass(className);
        if (!description)
            description = manager.classDescriptionForClass("CGenGFModule" + className);
        if (!description || description->Name() == "CGenGFModule")
            Fail(*classNode, "unknown module class '" + className + "'");
        std::unique_ptr<ZKGFNode> node = description->CreateNode();
        auto* module = dynamic_cast<CGenGFModule*>(node.get());
        if (!module)
            Fail(*classNode, "class '" + className + "' is not a module");
        node.release();
        CGenGFModule* added = graph.addSubpatch(std::unique_ptr<CGenGFModule>(module), key);

        Setup(*added, t, where);
        // State first: a state key may make ports (an optional input) that the inputs then set.
        if (const toml::node* state = t.get("state")) {
            if (!state->is_table())
                Fail(*state, "state of " + where + " must be a table");
            for (const auto& [stateKey, value] : *state->as_table()) {
                const std::string k(stateKey.str());
                if (!added->isStateKey(k))
                    Fail(value, "module '" + key + "' has no state key '" + k + "'");
                std::string error;
                if (!added->setSerializedValueForStateKey(Scalar(value, "state '" + k + "'"), k, &error))
                    Fail(value, "state '" + k + "' of " + where + ": " + error);
            }
        }
        if (const toml::node* inputs = t.get("inputs")) {
            if (!inputs->is_table())
                Fail(*inputs, "inputs of " + where + " must be a table of port values");
            for (const auto& [portKey, value] : *inputs->as_table())
                InputValue(*added, std::string(portKey.str()), value, where);
        }
    }

    TGenDictValue Scalar(const toml::node& n, const std::string& what) const
    {
        if (n.is_boolean())
            return TGenDictValue(n.as_boolean()->get());
        if (n.is_integer())
            return TGenDictValue(n.as_integer()->get());
        if (n.is_floating_point())
            return TGenDictValue(n.as_floating_point()->get());
        if (n.is_string())
            return TGenDictValue(n.as_string()->get());
        Fail(n, what + " must be a number, a boolean or a text");
    }

    void Setup(CGenGFModule& module, const toml::table& t, const std::string& where) const
    {
        auto* routing = dynamic_cast<CGenGFModuleRouting*>(&module);
        if (const toml::node* n = t.get("port-class")) {
            if (!routing)
                Fail(*n, where + " has no port class to set");
            const std::string name = String(*n, "port-class");
            const ZKGFPortClass* portClass = CGenGFNodeManager::setupDefaultNodeManager().portClassForName(name);
            if (!portClass)
                Fail(*n, "unknown port class '" + name + "'");
            routing->setPortClass(*portClass);
            if (&routing->portClass() != portClass)
                Fail(*n, "port class '" + name + "' cannot be switched to in " + where);
        }
        auto* lua = dynamic_cast<CGenGFModuleLua*>(&module);
        if (const toml::node* n = t.get("inputs-count")) {
            auto* mux = dynamic_cast<CGenGFModuleMultiplexer*>(&module);
            if (mux)
                mux->setInputCount(Count(*n, "inputs-count"));
            else if (lua)
                lua->setInputCount(ScriptPortCount(*n, "inputs-count"));
            else
                Fail(*n, where + " is not a multiplexer or a script");
        }
        if (const toml::node* n = t.get("script")) {
            if (!lua)
                Fail(*n, where + " is not a script module (class Lua)");
            lua->setLuaScript(Script(*n));
        }
        const toml::node* outputs = t.get("outputs-count");
        auto* stringSwitch = dynamic_cast<CGenGFModuleStringSwitch*>(&module);
        auto* valueSwitch = dynamic_cast<CGenGFModuleValueSwitch*>(&module);
        if (const toml::node* n = t.get("ranges")) {
            if (!valueSwitch)
                Fail(*n, where + " is not a value switch");
            if (!n->is_array())
                Fail(*n, "ranges must be a list of [min, max]");
            const toml::array& ranges = *n->as_array();
            valueSwitch->setOutputCount(static_cast<int64_t>(ranges.size()));
            for (size_t i = 0; i < ranges.size(); ++i)
                valueSwitch->setRangeAtIndex(Range(ranges[i]), i);
        }
        if (const toml::node* n = t.get("bins")) {
            if (!stringSwitch)
                Fail(*n, where + " is not a string switch");
            if (!n->is_array())
                Fail(*n, "bins must be a list of lists of texts");
            const toml::array& bins = *n->as_array();
            stringSwitch->setOutputCount(static_cast<int64_t>(bins.size()));
            for (size_t i = 0; i < bins.size(); ++i) {
                if (!bins[i].is_array())
                    Fail(bins[i], "a bin must be a list of texts");
                for (const toml::node& s : *bins[i].as_array())
                    stringSwitch->stringBins().addStringToBinAtIndex(String(s, "a bin's entry"), i);
            }
        }
        if (const toml::node* n = t.get("regex")) {
            if (!stringSwitch || !n->is_boolean())
                Fail(*n, "regex = true or false belongs to a string switch");
            stringSwitch->stringBins().setStringsAreRegularExpression(n->as_boolean()->get());
        }
        if (outputs) {
            const int64_t count = Count(*outputs, "outputs-count");
            if (stringSwitch)
                stringSwitch->setOutputCount(count);
            else if (valueSwitch)
                valueSwitch->setOutputCount(count);
            else if (auto* demux = dynamic_cast<CGenGFModuleDemultiplexer*>(&module))
                demux->setOutputCount(count);
            else if (lua)
                lua->setOutputCount(ScriptPortCount(*outputs, "outputs-count"));
            else
                Fail(*outputs, where + " has no output count to set");
        }
    }

    // A script module has 1 to 64 ports of each kind.
    int64_t ScriptPortCount(const toml::node& n, const std::string& what) const
    {
        if (!n.is_integer() || n.as_integer()->get() < 1 || n.as_integer()->get() > CGenGFModuleLua::kMaxPortCount)
            Fail(n, what + " of a script must be a whole number 1 to 64");
        return n.as_integer()->get();
    }

    // The text of a script file, checked as the engine compiles it.
    std::string Script(const toml::node& n) const
    {
        const std::string file = String(n, "script");
        std::string error;
        std::optional<std::string> text;
        if (mReadFile)
            text = mReadFile(file, error);
        else
            error = "no files can be read here";
        if (!text)
            Fail(n, "cannot read script '" + file + "': " + error);
        int line = 0;
        std::string message;
        if (!zkgen::lua::CheckLuaSyntax(*text, line, message))
            throw TContentError(file, line, message);
        return *text;
    }

    // Routing modules take 2 to 128 ports.
    int64_t Count(const toml::node& n, const std::string& what) const
    {
        if (!n.is_integer() || n.as_integer()->get() < 0 || n.as_integer()->get() > 128)
            Fail(n, what + " must be a whole number 0 to 128");
        return n.as_integer()->get();
    }

    CGenRange<double> Range(const toml::node& n) const
    {
        const toml::array* a = n.as_array();
        if (!a || a->size() != 2)
            Fail(n, "a range must be [min, max]");
        CGenRange<double> r(0.0, 0.0, true, true);
        for (int side = 0; side < 2; ++side) {
            const toml::node& b = (*a)[static_cast<size_t>(side)];
            const bool none = b.is_string() && b.as_string()->get() == "none";
            const double v = none ? 0.0 : Number(b, "a range's bound");
            (side == 0 ? r.mMin : r.mMax) = v;
            (side == 0 ? r.mMinEnabled : r.mMaxEnabled) = !none;
        }
        if (r.mMinEnabled && r.mMaxEnabled && r.mMin > r.mMax)
            Fail(n, "a range's minimum is above its maximum");
        return r;
    }

    void InputValue(CGenGFModule& module, const std::string& portKey, const toml::node& value,
        const std::string& where) const
    {
        CGenGFPort* port = module.inputGFPortForKey(portKey);
        if (!port)
            Fail(value, where + " has no input port '" + portKey + "'");
        // A port refuses a value of another kind by throwing; the author
        // gets the port and the kind instead.
        try {
            if (value.is_boolean())
                port->setBooleanValue(value.as_boolean()->get());
            else if (value.is_string())
                port->setStringValue(value.as_string()->get());
            else
                port->setDoubleValue(Number(value, "the value of port '" + portKey + "'"));
        } catch (const TContentError&) {
            throw;
        } catch (const std::exception&) {
            const char* kind = value.is_boolean() ? "a boolean" : value.is_string() ? "a text" : "a number";
            Fail(value, "port '" + portKey + "' of " + where + " does not take " + std::string(kind) + " (its class is "
                    + port->portClass().Name() + ")");
        }
    }

    void Connection(CGenGFModule& graph, const toml::node& n) const
    {
        const std::string text = String(n, "a connection");
        const auto arrow = text.find("->");
        if (arrow == std::string::npos)
            Fail(n, "connection '" + text + "' is not of the form \"module.port -> module.port\"");
        CGenGFPort* from = Port(graph, n, Trim(text.substr(0, arrow)), false);
        CGenGFPort* to = Port(graph, n, Trim(text.substr(arrow + 2)), true);
        std::string why = "port kinds that don't fit, or the input is taken";
        bool made = false;
        try {
            made = graph.createConnectionFromPortToPortForKey(*from, *to) != nullptr;
        } catch (const std::exception& e) {
            why = e.what();
        }
        if (!made)
            Fail(n, "connection '" + text + "' cannot be made: " + why);
    }

    CGenGFPort* Port(CGenGFModule& graph, const toml::node& n, const std::string& ref, bool input) const
    {
        const auto dot = ref.find('.');
        if (dot == std::string::npos)
            Fail(n, "'" + ref + "' is not of the form module.port");
        const std::string moduleKey = ref.substr(0, dot);
        const std::string portKey = ref.substr(dot + 1);
        CGenGFModule* module = graph.subpatchForKey(moduleKey);
        if (!module)
            Fail(n, "no module '" + moduleKey + "' in this graph");
        CGenGFPort* port = input ? module->inputGFPortForKey(portKey) : module->outputGFPortForKey(portKey);
        if (!port)
            Fail(n, "module '" + moduleKey + "' has no " + (input ? "input" : "output") + " port '" + portKey + "'");
        return port;
    }

    static std::string Trim(const std::string& s) { return std::string(ZKTrimWhitespace(s)); }

    std::string mFile;
    TStyleFileReader mReadFile;
};

} // namespace

void ParseStyleSource(const std::string& text, const std::string& fileName, CGenStyle& style,
    const TStyleFileReader& readFile)
{
    toml::table root;
    try {
        root = toml::parse(text, fileName);
    } catch (const toml::parse_error& e) {
        throw TContentError(fileName, static_cast<int>(e.source().begin.line), std::string(e.description()));
    }
    TStyleReader reader(fileName, readFile);
    reader.CheckKeys(root, {"name", "id", "graphs", "include-scripts"}, "the style file");
    const toml::node* name = root.get("name");
    const toml::node* id = root.get("id");
    if (!name || !id)
        throw TContentError(fileName, 1, "a style needs a name and an id");
    style.SetName(reader.String(*name, "name"));
    style.SetUniqueID(reader.String(*id, "id"));
    if (const toml::node* includes = root.get("include-scripts")) {
        if (!includes->is_array())
            reader.Fail(*includes, "include-scripts must be a list of script names");
        std::string lines;
        for (const toml::node& n : *includes->as_array()) {
            const std::string name = reader.String(n, "an included script's name");
            if (name.empty() || name.find('\n') != std::string::npos)
                reader.Fail(n, "an included script's name must be one line, not empty");
            if (!lines.empty())
                lines += '\n';
            lines += name;
        }
        style.StyleGraphs().SetPropertyForKey(TGenDictValue(lines), kCGenStyleGraphsProperty_IncludeScript);
    }
    const toml::node* graphs = root.get("graphs");
    if (!graphs)
        return;
    if (!graphs->is_table())
        reader.Fail(*graphs, "graphs must be a table of graphs");
    for (const auto& [k, v] : *graphs->as_table()) {
        const std::string graphName(k.str());
        const auto found = GraphKeys().find(graphName);
        if (found == GraphKeys().end())
            reader.Fail(v, "unknown graph '" + graphName + "'; the graphs are " + Join(GraphKeys()));
        if (!v.is_table())
            reader.Fail(v, "graph '" + graphName + "' must be a table");
        style.StyleGraphs().SetStyleGraphForKey(reader.Graph(*v.as_table(), graphName), found->second);
    }
}

} // namespace zkgen::cli
