// Scripts: one run of a script module over 50 candidates, as pattern choice
// runs it for each position: the script walks the list, reads each name and
// weighs it, and hands the list on.

#include "Generator/CGenContext.h"
#include "Generator/scripting/CGenLua.h"
#include "Generator/stylegraph/CGenGFModuleLua.h"
#include "Generator/stylegraph/CGenGFPortPatternAndProbs.h"

#include <benchmark/benchmark.h>

namespace {

CGenPatternModAndProbs FiftyCandidates()
{
    CGenPatternModAndProbs list;
    for (int i = 0; i < 50; ++i)
        list.emplace_back(CGenPattern(std::string(i % 2 ? "fam.c2.i2.rock." : "fam.c3.i1.funk.").append(std::to_string(i % 4 + 1))),
            static_cast<float>(10 + (i * 37) % 85));
    return list;
}

void BM_ScriptModule50Candidates(benchmark::State& state)
{
    zkgen::lua::TScriptSandbox sandbox;
    sandbox.mEnabled = state.range(0) != 0;
    lua_State* L = zkgen::lua::NewScriptState(sandbox);
    CGenContext context;
    context.mLuaState = L;
    const CGenGFContext gf = CGenGFContext::contextWithGenContext(&context);
    CGenGFModuleLua module;
    module.setLuaScript("local l = inputs[1]\n"
                        "for _, p in l:Iterator() do\n"
                        "  if string.sub(p:Name(), 1, 15) ~= 'fam.c2.i2.rock.' then p:SetProb(p:Prob() * 0.5) end\n"
                        "end\n"
                        "outputs[1] = l");
    const ZKGFValue input = CGenGFPatternAndProbsObject::ValueWithList(FiftyCandidates());
    module.inputPortAt(1)->setRawValue(input);
    size_t out = 0;
    for (auto _ : state) {
        module.executeArguments(gf, nullptr);
        const auto* list = module.outputPortAt(1)->rawValue().ObjectAs<CGenGFPatternAndProbsObject>();
        out = list ? list->Holder()->data().size() : 0;
    }
    if (out != 50 || !module.luaScriptRuntimeErrorString().empty())
        state.SkipWithError("the script did not hand the list on");
    zkgen::lua::CloseScriptState(L);
    state.SetItemsProcessed(state.iterations());
}
// 0: without the sandbox, 1: with it (budget hook and all).
BENCHMARK(BM_ScriptModule50Candidates)->Arg(0)->Arg(1);

} // namespace
