// Pattern choice: the walk over a region and the decision at each bar.
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveMatchFactor.h"
#include "Generator/clave/CGenNearestClavePatternInfo.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphRun.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <sstream>

namespace {

// An infinite region plays this many beats.
constexpr float kInfiniteRegionLength = 32.0f;
// The history compares the first patterns of a sequence, at most this many.
constexpr size_t kHistoryLength = 8;

const char* const kClaveLibNameFamily = "Family";

float BarLengthOr4(const CGenEvsSignTime& signs, float pos)
{
    const float length = signs.BarBeatLengthAt(pos);
    return GenIsDef(length) ? length : 4.0f;
}

std::string NumberText(double v)
{
    std::ostringstream os;
    os << v;
    return os.str();
}

// The graph run of one decision: made only with a usable context, so that a
// decision without one sees no module.
struct TDecisionRun {
    std::optional<CGenStyleGraphRun> mRun;

    TDecisionRun(const CGenGFContext& gfContext, const CGenStyle* style, TPatternGraphType type)
    {
        if (CGenContext* context = gfContext.genContext())
            mRun.emplace(*context, style, type);
    }
    CGenStyleGraphRun* Get() { return mRun ? &*mRun : nullptr; }
};

} // namespace

void CGenPatternGraphBoost::ConvertToPatternIxs(const CGenPatternModAndProbs& list, CGenPatternIxs& ixs, size_t maxCount)
{
    ixs.clear();
    const size_t n = std::min(list.size(), maxCount);
    ixs.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        const uint64_t it = list[i].mItPattern;
        ixs.push_back(it == CGenPatternModAndProb::kItPattern_None ? -1 : static_cast<int32_t>(it));
    }
}

void CGenPatternGraphBoost::Generate_Evs(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
    _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext, CGenPatternModAndProbs* list,
    CGenEvsNameds& evsNameds) const
{
    Generate_PatternSeq(params, drumMap, instType, style, gfContext, list);
    Generate_RenderEvs(params, drumMap, instType, list, evsNameds);
}

void CGenPatternGraphBoost::Generate_PatternSeq(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
    _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
    CGenPatternModAndProbs* list) const
{
    if (!list)
        return;
    list->clear();
    const float start = params.mGenerateStartPosAbs;
    const float leftBar = params.mGenerateStartLeftBarPosAbs;
    const float length = params.mGenerateLength;
    float end = TGenBeatPos_Undef;
    if (GenIsDef(start) && GenIsDef(leftBar) && GenIsDef(length)) {
        end = std::max(0.0f, start - leftBar) + length;
        if (std::isinf(end))
            end = kInfiniteRegionLength;
    }
    if (params.mSuperPatterns_Active)
        Generate_PatternSeqUsingSuperPattern(params, drumMap, instType, style, gfContext, 0.0f, end, list);
    else
        _Generate_PatternSeqPlain(params, drumMap, style, gfContext, 0.0f, end, *list);
    // Abstract notes of modified patterns are normalised by the harmony work,
    // which defines what a single undefined entry becomes.
}

void CGenPatternGraphBoost::_Generate_PatternSeqPlain(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
    const CGenStyle* style, const CGenGFContext& gfContext, float startPos, float endPos,
    CGenPatternModAndProbs& list) const
{
    const CGenEvsSignTime& signs = params.mEvsSignTime;
    const float leftBar = params.mGenerateStartLeftBarPosAbs;
    float cursor = startPos;
    while (GenIsDef(endPos) && cursor < endPos) {
        const float absPos = leftBar + cursor;
        CGenPatternModAndProbs decision = params.mEdgesAndHistory_Active
            ? _DecideNextPattern(params, drumMap, style, gfContext, cursor, &list)
            : _DecideNextPatternStyleGraph(params, drumMap, style, gfContext, cursor, &list);

        if (decision.empty() && !decision.mComplete) {
            // Nothing fits this bar: it stays silent and the walk goes on.
            const float nextBar = signs.FindBarStartPos(absPos, 1);
            if (GenIsUndef(nextBar) || !(nextBar - leftBar > cursor))
                return;
            cursor = nextBar - leftBar;
            continue;
        }
        if (decision.mComplete) {
            for (const CGenPatternModAndProb& el : decision)
                if (el.Length() != 0.0f || !el.PatternToBeRead().mEvs.empty())
                    list.push_back(el);
            return;
        }
        for (const CGenPatternModAndProb& el : decision) {
            float elLength = el.Length();
            if (elLength == 0.0f && el.PatternToBeRead().mEvs.empty())
                continue;
            list.push_back(el);
            float next;
            if (elLength > 0.0f) {
                // A pattern written in another metre advances by its length in
                // the song's metre.
                if (decision.mSTDefaultOrTarget == TSTDefaultOrTarget::Default && GenIsDef(el.mBeatPosAbs)) {
                    const auto sign = signs.FindSignTimeAtOrBefore(el.mBeatPosAbs);
                    if (sign != signs.end()) {
                        float width = elLength;
                        mSignTimeTrafos.TransformFromTo(el.PatternToBeRead().mSignTime, sign->mSignTime,
                            el.mBeatPosAbs, width);
                        if (GenIsDef(width))
                            elLength = width;
                    }
                }
                const float patternEnd = GenAddRegardingUndef(el.mBeatPosAbs, elLength);
                next = cursor + elLength;
                if (GenIsDef(patternEnd) && absPos < patternEnd && cursor < patternEnd - leftBar)
                    next = patternEnd - leftBar;
            } else {
                next = cursor + BarLengthOr4(signs, absPos);
            }
            // Every pattern ends on a bar line of the song, to the nearest bar.
            const float snapped = signs.FindBarStartPos(leftBar + next, 5);
            if (GenIsDef(snapped))
                next = snapped - leftBar;
            if (next > cursor)
                cursor = next;
            else
                cursor = next + BarLengthOr4(signs, GenIsDef(snapped) ? snapped : leftBar + next);
        }
    }
}

CGenPatternModAndProbs CGenPatternGraphBoost::_DecideNextPattern(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
    const CGenPatternModAndProbs* list) const
{
    CGenPatternModAndProbs result;
    if (PatternCount() == 0 || !list || !mWeakClaveLibs)
        return result;
    CGenNearestClavePatternInfos infos;
    infos.GatherInfosAtPos(&params, mWeakClaveLibs, pos);
    TDecisionRun decisionRun(gfContext, style, mType);
    CGenStyleGraphRun* run = decisionRun.Get();

    if (list->empty()) {
        CGenPatternModAndProb first = _FindFirstPattern(params, drumMap, run, gfContext, pos, infos);
        if (first.HasValidPattern())
            result.push_back(std::move(first));
        return result;
    }

    CGenPatternIxs history;
    ConvertToPatternIxs(*list, history, kHistoryLength);
    const uint64_t currentIt = list->back().mItPattern;
    const size_t current = currentIt < PatternCount() ? static_cast<size_t>(currentIt) : PatternCount();
    CGenPatternModAndProbs candidates;
    float closeness = 1.0f;
    _CreatePatternModAndProbsWithRelaxingObeyHistForCurrentPattern(params, drumMap, run, gfContext, current, history,
        pos, candidates, closeness, infos);
    if (candidates.empty())
        return result;
    const CGenContext* context = gfContext.genContext();
    if (context && context->mGraphMadeTheChoice)
        return candidates;
    const auto chosen = candidates.ChooseRandomly(mRandom);
    if (chosen != candidates.end())
        result.push_back(*chosen);
    return result;
}

CGenPatternModAndProbs CGenPatternGraphBoost::_DecideNextPatternStyleGraph(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, const CGenStyle* style, const CGenGFContext& gfContext, float pos,
    const CGenPatternModAndProbs* /*list*/) const
{
    CGenPatternModAndProbs result;
    const CGenContext* context = gfContext.genContext();
    if (!context)
        return result;
    CGenNearestClavePatternInfos infos;
    infos.GatherInfosAtPos(&params, mWeakClaveLibs, pos);
    TDecisionRun decisionRun(gfContext, style, mType);
    float closeness = 1.0f;
    CGenPatternModAndProbs candidates;
    _CreatePatternsModAndProbsWithoutHistFromAllPatterns(params, drumMap, decisionRun.Get(), gfContext, pos,
        candidates, closeness, infos);
    if (candidates.empty()) {
        // A graph that chose and left nothing has finished the sequence.
        if (context->mGraphMadeTheChoice)
            result.mComplete = true;
        return result;
    }
    if (context->mGraphMadeTheChoice)
        return candidates;
    const auto chosen = candidates.ChooseRandomly(mRandom);
    if (chosen != candidates.end())
        result.push_back(*chosen);
    return result;
}

CGenPatternModAndProb CGenPatternGraphBoost::_InvalidElement() const
{
    CGenPatternModAndProb el(const_cast<CGenPatternGraphBoost*>(this), PatternCount(), TGenBeatPos_Undef,
        TGenBeatPos_Undef);
    return el;
}

CGenPatternModAndProb CGenPatternGraphBoost::_FindFirstPattern(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& gfContext, float pos,
    const CGenNearestClavePatternInfos& infos) const
{
    if (PatternCount() == 0)
        return _InvalidElement();
    // A forced first pattern still has to pass the clave; when it doesn't,
    // the choice falls through to the random one.
    if (params.mStartIxPattern >= 0 && static_cast<size_t>(params.mStartIxPattern) < PatternCount()) {
        float closeness = 1.0f;
        CGenPatternModAndProbs forced = _CalcProbAndRulesForTargetPattern(params, drumMap,
            static_cast<size_t>(params.mStartIxPattern), 50.0f, pos, closeness, infos);
        if (!forced.empty() && forced.front().HasValidPattern())
            return forced.front();
    }
    CGenPatternModAndProb chosen = _RandomlyChooseFirstPattern(params, drumMap, run, gfContext, pos, infos);
    return chosen.HasValidPattern() ? chosen : _InvalidElement();
}

CGenPatternModAndProb CGenPatternGraphBoost::_RandomlyChooseFirstPattern(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& gfContext, float pos,
    const CGenNearestClavePatternInfos& infos) const
{
    CGenPatternModAndProbs candidates;
    float closeness = 1.0f;
    _CreatePatternsModAndProbsWithoutHistFromAllPatterns(params, drumMap, run, gfContext, pos, candidates, closeness,
        infos);
    if (candidates.empty())
        return _InvalidElement();
    if (candidates.size() == 1)
        return candidates.front();
    const auto chosen = candidates.ChooseRandomly(mRandom);
    return chosen == candidates.end() ? _InvalidElement() : *chosen;
}

void CGenPatternGraphBoost::_LogRelaxation(const CGenGeneratorParams& params, float pos, const std::string& text) const
{
    params.AppendToDecisionLog(std::to_string(static_cast<int>(mType)) + " at generatePosRelToLeftBar "
        + NumberText(pos) + text);
}

bool CGenPatternGraphBoost::_CreatePatternsModAndProbs_RelaxParamsCopyIfPossible_EvsClavePatternsDistHasToMatchLowerThanPercent(
    const CGenGeneratorParams& params, CGenGeneratorParams& copy) const
{
    const bool accent = mType == TPatternGraphType_AccentFamily;
    const float t = accent ? params.mEvsClavePatternsAccentDistHasToMatchLowerThanPercent
                           : params.mEvsClavePatternsSystemDistHasToMatchLowerThanPercent;
    if (!params.mEvsClave_PrototypeClaveTrackEnabled || params.mEvsClave.empty() || !(t > 0.0f))
        return false;
    const float r = params.mRelaxedDistPercentToFindMorePatterns;
    const float relaxed = std::min(1.0f, std::max(1.0f / r, 1.0f) * t);
    if (accent)
        copy.mEvsClavePatternsAccentDistHasToMatchLowerThanPercent = relaxed;
    else
        copy.mEvsClavePatternsSystemDistHasToMatchLowerThanPercent = relaxed;
    return true;
}

float CGenPatternGraphBoost::_CreatePatternsModAndProbs_RelaxParamsCopy_PatternCoordPatternsDistExtHasToMatchLowerThanPercent(
    const CGenGeneratorParams& params, CGenGeneratorParams& copy, float closeness) const
{
    const float v = std::min(1.0f, std::max(params.mRelaxedDistPercentToFindMorePatterns, 1.0f) * closeness);
    copy.mPatternCoordPatternsDistExtHasToMatchLowerThanPercent = v;
    return v;
}

void CGenPatternGraphBoost::_CreatePatternModAndProbsWithRelaxingObeyHistForCurrentPattern(
    const CGenGeneratorParams& params, const CGenDrumMap* drumMap, CGenStyleGraphRun* run,
    const CGenGFContext& gfContext, size_t current, const CGenPatternIxs& history, float pos,
    CGenPatternModAndProbs& list, float& closeness, const CGenNearestClavePatternInfos& infos) const
{
    auto attempt = [&](const CGenGeneratorParams& p) {
        list.clear();
        closeness = 1.0f;
        _CreatePatternsModAndProbsDecideAboutHist(p, drumMap, run, gfContext, current, history, pos, list, closeness,
            infos);
    };
    attempt(params);
    // Intended: only a style graph that exists and holds no modules relaxes.
    // A graph with modules, or no graph at all, takes what it got, even nothing.
    if (!run || !run->ModuleIsEmpty())
        return;
    // Fills are never relaxed: no fill is better than a wrong one.
    if (!list.empty() || mType == TPatternGraphType_Fill)
        return;

    CGenGeneratorParams copy = params;
    if (_CreatePatternsModAndProbs_RelaxParamsCopyIfPossible_EvsClavePatternsDistHasToMatchLowerThanPercent(params, copy)) {
        _LogRelaxation(params, pos,
            ": Not enough training data (a)! Try with relaxed EvsClavePatternsDistHasToMatchLowerThanPercent");
        attempt(copy);
    }
    if (!list.empty())
        return;

    // Intended: closeness stays 1, so the relaxed value is always 1.
    const float v =
        _CreatePatternsModAndProbs_RelaxParamsCopy_PatternCoordPatternsDistExtHasToMatchLowerThanPercent(params, copy, closeness);
    _LogRelaxation(params, pos,
        ": Not enough training data (c)! Try with PatternCoordPatternsExtDistHasToMatchLowerThanPercent " + NumberText(v)
            + " (" + NumberText(closeness) + " relaxed by " + NumberText(params.mRelaxedDistPercentToFindMorePatterns)
            + ")");
    attempt(copy);
    if (!list.empty())
        return;

    _LogRelaxation(params, pos,
        ": Not enough training data (d)! Allowed patterns are empty even after calcing again with relaxed condition "
        "for PatternCoordStaticAcInt -> too few out_edges defined, using "
        "_CreatePatternsModAndProbsWithoutHistFromAllPatterns");
    _CreatePatternsModAndProbsWithoutHistFromAllPatterns(params, drumMap, run, gfContext, pos, list, closeness, infos);
    if (!list.empty())
        return;

    _LogRelaxation(params, pos,
        ": Not enough training data (e)! Try all patterns (and not restricted by edges to connected patterns) with "
        "relaxed PatternCoordPatternsDistExtHasToMatchLowerThanPercent (TBD: we could try to obey clave here first)");
    auto* self = const_cast<CGenPatternGraphBoost*>(this);
    // Intended: this path writes pos without the left bar, unlike all others.
    for (size_t v2 = 0; v2 < PatternCount(); ++v2)
        list.emplace_back(self, v2, 1.0f, pos);
    if (!list.empty())
        return;

    _LogRelaxation(params, pos,
        ": Not enough training data (f)! Even starting from scratch with "
        "_CreatePatternsModAndProbsWithoutHistFromAllPatterns, last ressort: use all patterns without any params...");
    for (size_t v2 = 0; v2 < PatternCount(); ++v2)
        list.emplace_back(self, v2, 100.0f, TGenBeatPos_Undef);
}

void CGenPatternGraphBoost::_CreatePatternsModAndProbsDecideAboutHist(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& gfContext, size_t current,
    const CGenPatternIxs& history, float pos, CGenPatternModAndProbs& list, float& closeness,
    const CGenNearestClavePatternInfos& infos) const
{
    if (params.mEdgesAndHistory_Active && EdgeCount() > 0)
        _CreatePatternsModAndProbsObeyHistForCurrentPattern(params, drumMap, run, gfContext, current, history, pos,
            list, closeness, infos);
    else
        _CreatePatternsModAndProbsWithoutHistFromAllPatterns(params, drumMap, run, gfContext, pos, list, closeness,
            infos);
}

void CGenPatternGraphBoost::_CreatePatternsModAndProbsObeyHistForCurrentPattern(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& /*gfContext*/, size_t current,
    const CGenPatternIxs& history, float pos, CGenPatternModAndProbs& list, float& closeness,
    const CGenNearestClavePatternInfos& infos) const
{
    closeness = 1.0f;
    if (current >= PatternCount())
        return;
    int bestMatch = 0;
    for (auto [it, end] = boost::out_edges(current, mGraph); it != end; ++it) {
        const auto [p, m] = mGraph[*it].ProbabilityForHistory(history);
        const size_t target = boost::target(*it, mGraph);
        for (const CGenPatternModAndProb& e :
            _CalcProbAndRulesForTargetPattern(params, drumMap, target, p, pos, closeness, infos)) {
            if (GenIsUndef(e.mProb))
                continue;
            // Only the targets reached with the longest matching history survive.
            if (e.mProb > 0.0f && bestMatch < m) {
                list.clear();
                bestMatch = m;
            }
            if (e.mProb > 0.0f && bestMatch <= m)
                list.push_back(e);
        }
        // Intended: the graph judges what has been collected after each edge.
        // Its modules run once per position, so later passes at this position
        // hand back what the first one left.
        _ApplyStyleGraphToPatterns(run, pos, list, infos);
    }
}

void CGenPatternGraphBoost::_CreatePatternsModAndProbsWithoutHistFromAllPatterns(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, CGenStyleGraphRun* run, const CGenGFContext& /*gfContext*/, float pos,
    CGenPatternModAndProbs& list, float& closeness, const CGenNearestClavePatternInfos& infos) const
{
    list.clear();
    list.reserve(PatternCount());
    closeness = 1.0f;
    for (size_t v = 0; v < PatternCount(); ++v) {
        if (params.mEdgesAndHistory_Active && boost::out_degree(v, mGraph) == 0)
            continue;
        for (const CGenPatternModAndProb& e :
            _CalcProbAndRulesForTargetPattern(params, drumMap, v, 100.0f, pos, closeness, infos))
            if (GenIsDef(e.mProb) && e.mProb > 0.0f)
                list.push_back(e);
    }
    _ApplyStyleGraphToPatterns(run, pos, list, infos);
}

CGenPatternModAndProbs CGenPatternGraphBoost::_CalcProbAndRulesForTargetPattern(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, size_t target, float prob, float pos, float& /*closeness*/,
    const CGenNearestClavePatternInfos& infos) const
{
    CGenPatternModAndProbs result;
    const float p = _CalcProbForTargetPatternPreRuleGraph(params, drumMap, target, prob, pos, infos);
    if (GenIsUndef(p) || !(p > 0.0f))
        return result;
    result.emplace_back(const_cast<CGenPatternGraphBoost*>(this), target, p,
        GenAddRegardingUndef(pos, params.mGenerateStartLeftBarPosAbs));
    return result;
}

float CGenPatternGraphBoost::_CalcProbForTargetPatternPreRuleGraph(const CGenGeneratorParams& params,
    const CGenDrumMap* /*drumMap*/, size_t target, float prob, float pos,
    const CGenNearestClavePatternInfos& infos) const
{
    if (std::isnan(prob))
        return prob;
    const float q = std::clamp(prob, 0.0f, 100.0f);
    if (!params.mEvsClave_PrototypeClaveTrackEnabled)
        return q;
    // Only the "Family" clave steers the weight here; the others are for the
    // style graph's modules.
    const float threshold = mType == TPatternGraphType_AccentFamily
        ? params.mEvsClavePatternsAccentDistHasToMatchLowerThanPercent
        : params.mEvsClavePatternsSystemDistHasToMatchLowerThanPercent;
    const CGenNearestClavePatternInfo info = infos.GetInfo(kClaveLibNameFamily);
    static const CGenBeatedPatternIxs kNoHistory;
    const auto hist = params.mEvsClaveClosestIxPatternHistForName.find(kClaveLibNameFamily);
    const CGenBeatedPatternIxs& beatedIxs =
        hist == params.mEvsClaveClosestIxPatternHistForName.end() ? kNoHistory : hist->second;
    float factor = 1.0f;
    int ixClavePattern = -1;
    float match = 0.0f;
    ProbFactorAndIxPatternForEvsClave(&params, mWeakClaveLibs, PatternAtIx(target).mClaveLinks, threshold, beatedIxs,
        pos, factor, ixClavePattern, match, info.mIxClavePattern, info.mRelPos);
    return std::clamp(q * factor, 0.0f, 100.0f);
}

void CGenPatternGraphBoost::_ApplyStyleGraphToPatterns(CGenStyleGraphRun* run, float pos, CGenPatternModAndProbs& list,
    const CGenNearestClavePatternInfos& infos) const
{
    if (run)
        run->ApplyStyleGraphToPatterns(list, pos, &infos);
}
