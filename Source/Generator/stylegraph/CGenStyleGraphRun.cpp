#include "Generator/stylegraph/CGenStyleGraphRun.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenRandom.h"
#include "Generator/clave/CGenNearestClavePatternInfo.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Platform/ZKLog.h"

namespace {

void LogModuleException(const std::string& key, const char* stage, const std::exception& e)
{
    ZKLogf(ZKLogCategory_GeneratorStyles, ZKLogLevel_Error, "Style graph %{public}s failed at %{public}s: %{public}s",
        {key, stage, e.what()});
}

} // namespace

CGenStyleGraphRun::CGenStyleGraphRun(CGenContext& context, TPatternGraphType type) : mContext(context)
{
    _start(StyleGraphKeyForPatternGraphType(type), context.mStyle);
}

CGenStyleGraphRun::CGenStyleGraphRun(CGenContext& context, const std::string& styleGraphKey) : mContext(context)
{
    _start(styleGraphKey, context.mStyle);
}

CGenStyleGraphRun::CGenStyleGraphRun(CGenContext& context, const CGenStyle* style, TPatternGraphType type)
    : mContext(context)
{
    _start(StyleGraphKeyForPatternGraphType(type), style);
}

bool CGenStyleGraphRun::ModuleIsEmpty() const { return mModule && mModule->nodes().empty(); }

void CGenStyleGraphRun::_start(const std::string& styleGraphKey, const CGenStyle* style)
{
    mContext.mStyleGraphKey = styleGraphKey;
    CGenGFModule* graph = (style && !styleGraphKey.empty()) ? style->StyleGraphs().StyleGraphForKey(styleGraphKey) : nullptr;
    mModule = graph;
    if (!graph)
        return;
    // A graph without a consumer leaves nothing, not what an earlier graph left.
    mContext.mOutputPatterns = CGenPatternModAndProbs();
    try {
        if (graph->isRunning())
            graph->_cleanup();
        if (graph->_setup(CGenGFContext::contextWithGenContext(&mContext)))
            mGraph = graph;
    } catch (const std::exception& e) {
        LogModuleException(styleGraphKey, "setup", e);
    }
}

CGenStyleGraphRun::~CGenStyleGraphRun()
{
    if (!mGraph)
        return;
    try {
        mGraph->_cleanup();
    } catch (const std::exception& e) {
        LogModuleException(mContext.mStyleGraphKey, "cleanup", e);
    }
}

void CGenStyleGraphRun::ApplyStyleGraphToPatterns(CGenPatternModAndProbs& list, float posRelToLeftBar,
    const CGenNearestClavePatternInfos* infos)
{
    if (!mGraph || mGraph->nodes().empty())
        return;
    mContext.mInputPatterns = list;
    mContext.mGeneratePos = posRelToLeftBar;
    if (infos)
        mContext.mNearestClavePatternInfos = *infos;
    try {
        mGraph->executeSubModulesWithArguments(nullptr);
    } catch (const std::exception& e) {
        LogModuleException(mContext.mStyleGraphKey, "execution", e);
    }
    list = mContext.mOutputPatterns;
}

CGenStyleGraphRun::TResult CGenStyleGraphRun::ChooseResult(CGenPatternModAndProbs& list, CGenRandom& random) const
{
    TResult result;
    if (mContext.mGraphMadeTheChoice) {
        result.mPatterns = list;
        result.mFinished = list.empty();
        return result;
    }
    const auto chosen = list.ChooseRandomly(random);
    if (chosen != list.end())
        result.mPatterns.push_back(*chosen);
    return result;
}
