#pragma once

#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

#include <string>
#include <vector>

// The source of a pattern graph's style graph: the candidates the caller
// handed into the context, or, with pool identifiers and a patterns pool in
// the context, the patterns of those pool groups.
class CGenGFModulePatternProbProvider : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModulePatternProbProvider();

    const std::vector<std::string>& patternPoolIdentifiers() const { return mPatternPoolIdentifiers; }
    void setPatternPoolIdentifiers(const std::vector<std::string>& identifiers) { mPatternPoolIdentifiers = identifiers; }

    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;
    void cleanup(const CGenGFContext& context) override;
    bool setState(const TGenDict& state, std::string* outError = nullptr) override;

    CGenGFPortPatternAndProbs* outputPatterns = nullptr;

private:
    std::vector<std::string> mPatternPoolIdentifiers;
};

// The sink of a style graph: what reaches its input is the graph's result.
class CGenGFModulePatternProbConsumer : public CGenGFModule {
public:
    static const CGenGFClassDescription& ClassDescription();
    CGenGFModulePatternProbConsumer();

    // Empties the context's output candidates and clears the
    // graph-made-the-choice flag.
    bool setup(const CGenGFContext& context) override;
    // Copies a connected input's list into the context's output candidates.
    bool executeArguments(const CGenGFContext& context, const TGenDict* arguments) override;

    CGenGFPortPatternAndProbs* inputPatterns = nullptr;
};

namespace zkgen {

// The fixed pattern ports most modules share.
ZKGFPortSpec InputPatternsSpec(const char* key = "inputPatterns", const char* name = "Patterns");
ZKGFPortSpec OutputPatternsSpec(const char* key = "outputPatterns", const char* name = "Patterns");

} // namespace zkgen
