#include "Generator/stylegraph/foundation/ZKGFException.h"

#include "Generator/stylegraph/foundation/ZKGFGraph.h"

const char* ZKGFException::KindName(ZKGFExceptionKind kind)
{
    switch (kind) {
    case ZKGFExceptionKind_Generic: return "Generic";
    case ZKGFExceptionKind_InternalInconsistency: return "InternalInconsistency";
    case ZKGFExceptionKind_InvalidArgument: return "InvalidArgument";
    }
    return "Generic";
}

void ZKGFThrowException(ZKGFExceptionKind kind, std::string_view format, std::initializer_list<ZKLogArg> args)
{
    throw ZKGFException(kind, ZKLogFormat(format, args));
}

void ZKGFThrowArgumentException(const char* name, const char* condition)
{
    ZKGFThrowException(ZKGFExceptionKind_InvalidArgument, "Argument \"%s\" does not verify \"%s\"", {name, condition});
}

void ZKGFLog(std::string_view format, std::initializer_list<ZKLogArg> args)
{
    ZKLogf(ZKLogCategory_GeneratorStyles, ZKLogLevel_Warn, format, args);
}

bool _ZKGFLogErrors()
{
    return true;
}

std::string ZKGFNameForNode(const ZKGFNode* node)
{
    if (!node)
        return "(null)";
    std::string name = node->ClassName();
    if (node->graph()) {
        const auto* root = dynamic_cast<const ZKGFGraph*>(&node->RootNode());
        if (root) {
            // Appended piece by piece: g++ 12 warns falsely (-Wrestrict) on
            // a literal + string chain here.
            name.append(" \"").append(root->pathForNode(node)).append("\"");
        }
    }
    return name;
}

std::string ZKGFNameForPort(const ZKGFPort* port)
{
    if (!port)
        return "(null)";
    std::string name = ZKGFNameForNode(&port->node());
    name.append(".").append(port->key());
    return name;
}
