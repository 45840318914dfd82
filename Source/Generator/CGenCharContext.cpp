#include "Generator/CGenCharContext.h"
#include "Generator/fills/CGenCharCreateFill.h"

#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/harmony/CAbstractNotesConcretizer.h"
#include "Generator/library/CGenInstLib.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/stylegraph/CGenGFModuleFilterPatternName.h"

#include <algorithm>

bool CGenCharContext::GeneratorParamsValid() const
{
    return mContext && mContext->mParams;
}

CGenGeneratorParams* CGenCharContext::GeneratorParams() const
{
    return mContext ? mContext->mParams : nullptr;
}

bool CGenCharContext::InstLibValid() const
{
    return mContext && mContext->mInstLib;
}

CGenInstLib* CGenCharContext::InstLib() const
{
    return mContext ? mContext->mInstLib : nullptr;
}

namespace {

template <class TEls>
const typename TEls::value_type* InForce(const TEls& els, float pos)
{
    const auto it = els.ElInForceAt(pos);
    return it == els.end() ? nullptr : &*it;
}

} // namespace

const CGenEvSignKey* CGenCharContext::FindEvSignKeyValidAt(float pos) const
{
    return GeneratorParamsValid() ? InForce(mContext->mParams->mEvsSignKey, pos) : nullptr;
}

const CGenEvHarmCenter* CGenCharContext::FindEvHarmCenterValidAt(float pos) const
{
    return GeneratorParamsValid() ? InForce(mContext->mParams->mEvsHarmCenter, pos) : nullptr;
}

const CGenEvChord* CGenCharContext::FindEvChordValidAt(float pos) const
{
    return GeneratorParamsValid() ? InForce(mContext->mParams->mEvsChord, pos) : nullptr;
}

bool CGenCharContext::AbstractNoteConcretizerValid() const { return AbstractNoteConcretizer() != nullptr; }

CAbstractNotesConcretizer* CGenCharContext::AbstractNoteConcretizer() const
{
    return InstLibValid() ? &InstLib()->mConcretizer : nullptr;
}

CScaleHeavy CGenCharContext::FindEvScaleValidAt(float pos) const
{
    const CGenEvSignKey* key = FindEvSignKeyValidAt(pos);
    const CSignKeyHeavy signKey = key ? key->mSignKey : CSignKeyHeavy();
    const CGenEvChord* chord = FindEvChordValidAt(pos);
    if (chord && !chord->IsUndef())
        return chord->ScaleInSignKey(signKey);
    return signKey.IsUndef() ? CScaleHeavy() : signKey.Scale();
}

namespace {

// The concretizer for a range modification's id, or null with the reason.
CAbstractNotesConcretizer* ConcretizerForPropID(const CGenCharContext& cc, int id, std::string* error)
{
    CAbstractNotesConcretizer* c = cc.AbstractNoteConcretizer();
    const char* reason = nullptr;
    if (!c)
        reason = "!luaContext->AbstractNoteConcretizerValid()";
    if (c && (id < 0 || id > 3)) {
        if (error)
            *error = "propID " + std::to_string(id) + " out of range";
        return nullptr;
    }
    if (reason && error)
        *error = reason;
    return c;
}

} // namespace

bool CGenCharContext::GetModNoteNrPropIDAt(int id, float pos, TModNoteNr& mod, std::string* error) const
{
    const CAbstractNotesConcretizer* c = ConcretizerForPropID(*this, id, error);
    if (c)
        mod = c->mConcretizeRangeModPosseds.GetModNoteNrPropIDAt(id, pos, error);
    return c != nullptr;
}

bool CGenCharContext::SetModNoteNrPropIDAt(int id, float pos, const TModNoteNr& mod, std::string* error) const
{
    CAbstractNotesConcretizer* c = ConcretizerForPropID(*this, id, error);
    return c && c->mConcretizeRangeModPosseds.SetModNoteNrPropIDAt(id, pos, mod, error);
}

bool CGenCharContext::GeneratorParams_GetFirstBarLengthSTTarget(float& length) const
{
    length = TGenBeatLength_Undef;
    if (!GeneratorParamsValid())
        return false;
    const CGenGeneratorParams& p = *mContext->mParams;
    const float nextBar = p.mEvsSignTime.FindBarStartPos(p.mGenerateStartPosAbs, 1);
    if (GenIsUndef(nextBar))
        return false;
    length = nextBar - p.mGenerateStartPosAbs;
    return true;
}

bool CGenCharContext::GeneratorParams_GetFirstBarLengthCroppedbyGenerateLengthSTTarget(float& length) const
{
    if (!GeneratorParams_GetFirstBarLengthSTTarget(length))
        return false;
    const float generateLength = mContext->mParams->mGenerateLength;
    if (GenIsDef(generateLength) && generateLength < length)
        length = std::max(0.0f, generateLength);
    return true;
}

bool CGenCharContext::GeneratorParams_PickupBarExists() const
{
    if (!GeneratorParamsValid())
        return false;
    const CGenGeneratorParams& p = *mContext->mParams;
    return GenIsDef(p.mGenerateStartPosAbs) && GenIsDef(p.mGenerateStartLeftBarPosAbs)
        && p.mGenerateStartPosAbs > p.mGenerateStartLeftBarPosAbs;
}

namespace {

// Appends one empty pattern of the current layer; nothing for a length not above 0.
void AppendPlaceholder(CGenPatternModAndProbs& mods, CGenPatternGraphBoost* graph, float pos, float length)
{
    if (!(length > 0.0f))
        return;
    mods.emplace_back(graph, pos, CGenEvs(length));
    mods.back().mProb = 100.0f;
}

} // namespace

std::string CGenCharContext::CreatePlaceholderPatternsFromParams(CGenPatternModAndProbs& mods, int patternCount,
    int lengthInBars, float pickupBeatLength, float lastPatternBeatLength) const
{
    if (!(lastPatternBeatLength >= 0.0f))
        return "lastPatternBeatLength should be >= 0";
    if (!(pickupBeatLength >= 0.0f))
        return "pickupBeatLength should be >= 0";
    if (patternCount < 0)
        return "numberOfPatternsExceptPickup should be >= 0";
    if (lengthInBars <= 0)
        return "createdPatternLengthInBars should be > 0";
    if (!GeneratorParamsValid())
        return "GenerateStartPosAbs should be >= 0, information is needed if PatternsCreatePlaceholders is called with 0 params";
    const CGenGeneratorParams& p = *mContext->mParams;
    const float start = p.mGenerateStartPosAbs;
    if (!(start >= 0.0f))
        return "GenerateStartPosAbs should be >= 0, information is needed if PatternsCreatePlaceholders is called with 0 params";
    CGenPatternGraphBoost* graph = mContext->mPatternGraph;
    CGenPatternModAndProbs made;
    made.mSTDefaultOrTarget = TSTDefaultOrTarget::Default;
    AppendPlaceholder(made, graph, start, pickupBeatLength);
    float bar = pickupBeatLength > 0.0f ? p.mEvsSignTime.FindBarStartPos(start, 1) : p.mEvsSignTime.FindBarStartPos(start, 2);
    if (GenIsUndef(bar))
        bar = start + pickupBeatLength;
    for (int i = 0; i < patternCount; ++i) {
        AppendPlaceholder(made, graph, bar, 4.0f * static_cast<float>(lengthInBars));
        const float next = p.mEvsSignTime.FindBarStartPosThenIterateBarDist(bar, 4, lengthInBars);
        bar = GenIsDef(next) ? next : bar + 4.0f * static_cast<float>(lengthInBars);
    }
    AppendPlaceholder(made, graph, bar, lastPatternBeatLength);
    mods = std::move(made);
    mContext->mGraphMadeTheChoice = true;
    return std::string();
}

std::string CGenCharContext::CreatePlaceholderPatternsFromGenerateRange(CGenPatternModAndProbs& mods,
    bool markGraphMadeTheChoice) const
{
    if (!GeneratorParamsValid() || !(mContext->mParams->mGenerateStartPosAbs >= 0.0f))
        return "GenerateStartPosAbs should be >= 0, information is needed if PatternsCreatePlaceholders is called with 0 params";
    const CGenGeneratorParams& p = *mContext->mParams;
    if (!(p.mGenerateLength >= 0.0f))
        return "GenerateLength should be >= 0, information is needed if PatternsCreatePlaceholders is called with 0 params";
    const float start = p.mGenerateStartPosAbs;
    const float end = start + p.mGenerateLength;
    float pickup = 0.0f;
    if (GeneratorParams_PickupBarExists())
        GeneratorParams_GetFirstBarLengthCroppedbyGenerateLengthSTTarget(pickup);
    if (GenIsUndef(pickup))
        pickup = 0.0f;
    // Whole bars from the first bar line on, then what the region's end leaves of a bar.
    int bars = 0;
    float bar = p.mEvsSignTime.FindBarStartPos(start + pickup, 2);
    while (GenIsDef(bar) && bars < 100000) {
        const float next = p.mEvsSignTime.FindBarStartPos(bar, 1);
        if (GenIsUndef(next) || next > end)
            break;
        bar = next;
        ++bars;
    }
    const float last = GenIsDef(bar) && end > bar ? end - bar : 0.0f;
    const bool wasMarked = mContext->mGraphMadeTheChoice;
    std::string error = CreatePlaceholderPatternsFromParams(mods, bars, 1, pickup, last);
    if (!markGraphMadeTheChoice)
        mContext->mGraphMadeTheChoice = wasMarked;
    return error;
}

const CGenNearestClavePatternInfos* CGenCharContext::NearestClavePatternInfos() const
{
    return mContext ? &mContext->mNearestClavePatternInfos : nullptr;
}

bool CGenCharContext::InStyleGraphGlobalMerged() const
{
    return mContext && mContext->mStyleGraphKey == kStyleGraphKey_GlobalToMerged;
}

const CGenSignTimeTrafos* CGenCharContext::SignTimeTrafosFromPatternGraphOrContext() const
{
    if (!mContext)
        return nullptr;
    if (mContext->mPatternGraph && !mContext->mPatternGraph->SignTimeTrafos().empty())
        return &mContext->mPatternGraph->SignTimeTrafos();
    return &mContext->mSignTimeTrafos;
}

void CGenCharContext::SetSignTimeTrafosForLayerBitmask(CGenBitmask layerBitmask, const CGenSignTimeTrafos& trafos)
{
    if (!mContext)
        return;
    // Appended behind what is there: a look-up takes the first match, so
    // what was set first for a layer keeps winning.
    mContext->mSignTimeTrafos.AppendForLayerBitmask(layerBitmask, trafos);
}

bool CGenCharContext::SetSignTimeTrafosPresetForLayerBitmask(CGenBitmask layerBitmask, const std::string& presetName)
{
    CGenSignTimeTrafos preset;
    if (!mContext || !preset.AppendPresetForLayerBitmask(layerBitmask, presetName))
        return false;
    SetSignTimeTrafosForLayerBitmask(layerBitmask, preset);
    return true;
}

const CGenEvs* CGenCharContext::GlobalOriginalEvs() const
{
    return mContext ? &mContext->mGlobalOriginalEvs : nullptr;
}

bool CGenCharContext::GlobalOriginalEvsInGenerateRangeAsPatterns(CGenPatternModAndProbs& mods) const
{
    if (!GeneratorParamsValid())
        return false;
    const CGenGeneratorParams& p = *mContext->mParams;
    const float start = p.mGenerateStartPosAbs;
    const float length = p.mGenerateLength;
    if (GenIsUndef(start) || GenIsUndef(length) || length < 0.0f)
        return false;
    CGenPattern pattern("GlobalOriginalEvs");
    for (const CGenEv& ev : mContext->mGlobalOriginalEvs) {
        if (ev.mBeatPos < start || !(ev.mBeatPos < start + length))
            continue;
        CGenEv moved(ev);
        moved.mBeatPos -= start;
        pattern.mEvs.push_back(moved);
    }
    pattern.mEvs.mLength = length;
    mods.emplace_back(start, start, pattern);
    mods.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;
    return true;
}

void CGenCharContext::FilterPatternsByName(CGenPatternModAndProbs& in, CGenPatternModAndProbs& out,
    const std::string& regex, double matchFactor, double nonMatchFactor) const
{
    CGenGFRegex expression(regex);
    CGenGFModuleFilterPatternName::FilterPatternsByName(in, out, expression, matchFactor, nonMatchFactor);
}

CGenPatternModAndProbs::iterator CGenCharContext::CreateFill(const CGenPatternModAndProbs& candidates,
    CGenPatternModAndProbs& out, const TCreateFillParams& params, CGenPatternModAndProb* chosen) const
{
    // The vector copy carries the list's own fields along.
    return CGenCharCreateFill::CreateFill(mContext, this, candidates, out, params, chosen);
}
