#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

#include "Generator/CGenContext.h"
#include "Generator/library/CGenPatternsPool.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"

#include <utility>

namespace zkgen {

ZKGFPortSpec InputPatternsSpec(const char* key, const char* name)
{
    return {key, &CGenGFPortPatternAndProbs::Class(), -1, name, "The candidate patterns with their probabilities"};
}

ZKGFPortSpec OutputPatternsSpec(const char* key, const char* name)
{
    return {key, &CGenGFPortPatternAndProbs::Class(), 1, name, "The resulting patterns with their probabilities"};
}

} // namespace zkgen

namespace {

ZKGFValue IdentifiersValue(const std::vector<std::string>& identifiers)
{
    TGenArray array;
    for (const std::string& s : identifiers)
        array.emplace_back(s);
    return ZKGFValue(TGenDictValue(std::move(array)));
}

} // namespace

const CGenGFClassDescription& CGenGFModulePatternProbProvider::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModulePatternProbProvider", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModulePatternProbProvider>, TGenGFExecutionMode_Provider, false,
        {{"patternPoolIdentifiers",
             [](const CGenGFModule& m) {
                 return IdentifiersValue(static_cast<const CGenGFModulePatternProbProvider&>(m).mPatternPoolIdentifiers);
             },
             [](CGenGFModule& m, const ZKGFValue& v) {
                 std::vector<std::string> ids;
                 if (const TGenDictValue* p = v.Plist(); p && p->AsArray())
                     for (const TGenDictValue& s : *p->AsArray())
                         ids.push_back(s.AsString(std::string()));
                 static_cast<CGenGFModulePatternProbProvider&>(m).setPatternPoolIdentifiers(ids);
             },
             [](const CGenGFModule&, const ZKGFValue& v, std::string& error) {
                 const TGenDictValue* p = v.Plist();
                 if (p && p->AsArray()) {
                     for (const TGenDictValue& s : *p->AsArray())
                         if (!s.IsString()) {
                             error = "the identifiers must be texts";
                             return false;
                         }
                     return true;
                 }
                 error = "an array of identifiers is expected";
                 return false;
             }}},
        {zkgen::OutputPatternsSpec()});
    return d;
}

CGenGFModulePatternProbProvider::CGenGFModulePatternProbProvider() : CGenGFModule(ClassDescription())
{
    _bindPort(outputPatterns, "outputPatterns");
}

bool CGenGFModulePatternProbProvider::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    CGenContext* gen = context.genContext();
    if (!gen)
        return true;
    // Without pool groups, or without a pool, the candidates come from the caller.
    if (mPatternPoolIdentifiers.empty() || !gen->mPatternsPool) {
        outputPatterns->SetList(gen->mInputPatterns);
        return true;
    }
    const float pos = gen->GeneratePosAbs();
    const TPatternGraphType type =
        gen->mPatternGraph ? gen->mPatternGraph->PatternGraphType() : TPatternGraphType_Undef;
    CGenPatternModAndProbs list;
    for (const std::shared_ptr<CGenPatterns>& group : gen->mPatternsPool->patternsForIdentifiers(mPatternPoolIdentifiers)) {
        if (!group)
            continue;
        for (size_t ix = 0; ix < group->size(); ++ix) {
            list.emplace_back(group, ix, pos, type);
            // Every pool pattern starts with the same weight; the graph's
            // modules rate them.
            list.back().mProb = 100.0f;
        }
    }
    outputPatterns->SetList(std::move(list));
    return true;
}

void CGenGFModulePatternProbProvider::cleanup(const CGenGFContext& /*context*/)
{
    outputPatterns->ClearList();
}

bool CGenGFModulePatternProbProvider::setState(const TGenDict& state, std::string* outError)
{
    if (!state.HasKey("patternPoolIdentifiers"))
        mPatternPoolIdentifiers.clear();
    return CGenGFModule::setState(state, outError);
}

const CGenGFClassDescription& CGenGFModulePatternProbConsumer::ClassDescription()
{
    static const CGenGFClassDescription d("CGenGFModulePatternProbConsumer", &CGenGFModule::ClassDescription(),
        zkgen::MakeModule<CGenGFModulePatternProbConsumer>, TGenGFExecutionMode_Consumer, false, {},
        {zkgen::InputPatternsSpec()});
    return d;
}

CGenGFModulePatternProbConsumer::CGenGFModulePatternProbConsumer() : CGenGFModule(ClassDescription())
{
    _bindPort(inputPatterns, "inputPatterns");
}

bool CGenGFModulePatternProbConsumer::setup(const CGenGFContext& context)
{
    if (CGenContext* gen = context.genContext()) {
        gen->mOutputPatterns = CGenPatternModAndProbs();
        gen->mGraphMadeTheChoice = false;
    }
    return true;
}

bool CGenGFModulePatternProbConsumer::executeArguments(const CGenGFContext& context, const TGenDict* /*arguments*/)
{
    CGenContext* gen = context.genContext();
    if (gen && inputPatterns->connectedPortAlongProxies())
        if (const CGenPatternModAndProbs* list = inputPatterns->ConstList())
            gen->mOutputPatterns = *list;
    return true;
}
