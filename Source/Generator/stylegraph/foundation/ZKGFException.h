#pragma once

#include "Platform/ZKLog.h"

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>

class ZKGFNode;
class ZKGFPort;

// Programming errors of graph modules (a port of the wrong class, a run that
// was never started) raise a ZKGFException with a fixed text. They are caught
// where a graph is driven, so none leaves a generation.

enum ZKGFExceptionKind {
    // The general kind: a misuse of the graph vocabulary.
    ZKGFExceptionKind_Generic,
    // A state that should not exist: state keys, connections on outputs.
    ZKGFExceptionKind_InternalInconsistency,
    // An argument that breaks the operation's precondition.
    ZKGFExceptionKind_InvalidArgument,
};

class ZKGFException : public std::runtime_error {
public:
    ZKGFException(ZKGFExceptionKind kind, const std::string& reason) : std::runtime_error(reason), mKind(kind) {}
    ZKGFExceptionKind Kind() const { return mKind; }
    // "Generic", "InternalInconsistency", "InvalidArgument".
    static const char* KindName(ZKGFExceptionKind kind);

private:
    ZKGFExceptionKind mKind;
};

// Raises a ZKGFException whose text is `format` with `args` (the formats of
// the log, "%s" and "%@" for texts).
[[noreturn]] void ZKGFThrowException(ZKGFExceptionKind kind, std::string_view format, std::initializer_list<ZKLogArg> args = {});

// Raises "Argument \"<name>\" does not verify \"<condition>\"" (invalid argument).
[[noreturn]] void ZKGFThrowArgumentException(const char* name, const char* condition);

// The graph log: lines of the node graph machinery in the "generator.styles"
// category, at warning level so that an author sees them.
void ZKGFLog(std::string_view format, std::initializer_list<ZKLogArg> args = {});

// Whether validation failures of state keys are logged; on in this engine.
bool _ZKGFLogErrors();

// How a node and a port are named in log lines and dumps: the class name and,
// for a node inside a graph, its path in double quotes,
// e.g. CGenGFModuleTopProbFilter "filter"; a port adds "." and its key.
std::string ZKGFNameForNode(const ZKGFNode* node);
std::string ZKGFNameForPort(const ZKGFPort* port);
