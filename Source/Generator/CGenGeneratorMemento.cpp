// Seeds and memento of CGenGenerator: what makes a region come out the same on
// every regeneration until the user asks for something new, and what notices
// the user's edits of the region between two calls.

#include "Generator/CGenContext.h"
#include "Generator/CGenGenerator.h"
#include "Generator/CGenGeneratorDisableFillLockEvaluator.h"

namespace {
constexpr TPatternGraphType kAllLayers[] = {TPatternGraphType_AccentFamily, TPatternGraphType_AccentAddon,
    TPatternGraphType_System, TPatternGraphType_Fill, TPatternGraphType_Percussion};
}

TGenDict* CGenGenerator::_Seeds()
{
    auto& memento = mRuntimeData->mMemento;
    if (!memento)
        memento = std::make_shared<TGenDict>();
    return &memento->DictForKeyCreating(kMemento_Seeds);
}

void CGenGenerator::_Generate_Memento_Setup(TGenDict* memento)
{
    mRuntimeData->mMementoIn = std::make_shared<const TGenDict>(memento ? *memento : TGenDict());
    mRuntimeData->mMemento = std::make_shared<TGenDict>(*mRuntimeData->mMementoIn);
    const TGenDictValue* seeds = mRuntimeData->mMemento->ValueForKey(kMemento_Seeds);
    if (!seeds || !seeds->IsDict()) {
        mRuntimeData->mMemento->SetValueForKey(TGenDict(), kMemento_Seeds);
        _Generate_Memento_InitAllSeeds(0);
    }
}

void CGenGenerator::_Generate_Memento_InitAllSeeds(int seed)
{
    TGenDict* seeds = _Seeds();
    for (TPatternGraphType t : kAllLayers)
        seeds->SetValueForKey(int64_t(seed), t);
    seeds->SetValueForKey(int64_t(seed), kMemento_Seeds_StyleGraphGlobalToMerged);
    if (mRuntimeData->mContext)
        mRuntimeData->mContext->SetFillSeed(static_cast<uint32_t>(seed));
}

namespace {
// The seed a mode makes of the stored one; whether it is written back.
int64_t SeedForMode(TRandomSeedMode mode, int64_t stored, uint32_t clockSeed, bool& store)
{
    store = true;
    switch (mode) {
    case TRandomSeedMode_Reset: return 0;
    case TRandomSeedMode_Increment: return static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(stored) + 1u));
    case TRandomSeedMode_SystemClock: return static_cast<int64_t>(clockSeed);
    default: store = false; return stored;
    }
}
} // namespace

void CGenGenerator::_Generate_RandomSeedReadStoreAndSetForPatternGraphType(TRandomSeedMode seedMode, TPatternGraphType type)
{
    TGenDict* seeds = _Seeds();
    bool store = false;
    const int64_t seed = SeedForMode(seedMode, seeds->IntegerForKey(type, 0), mClockSeed, store);
    if (store)
        seeds->SetValueForKey(seed, type);
    const uint32_t word = static_cast<uint32_t>(seed);
    if (mRuntimeData->mInstLib)
        mRuntimeData->mInstLib->PatternGraph(type).Random().SetSeed(word);
    if (type == TPatternGraphType_Fill && mRuntimeData->mContext)
        mRuntimeData->mContext->SetFillSeed(word);
}

void CGenGenerator::_Generate_RandomSeedReadStoreAndSetForGlobalStyleGraphToMerged(TRandomSeedMode seedMode)
{
    TGenDict* seeds = _Seeds();
    bool store = false;
    const int64_t seed = SeedForMode(seedMode, seeds->IntegerForKey(kMemento_Seeds_StyleGraphGlobalToMerged, 0), mClockSeed, store);
    if (store)
        seeds->SetValueForKey(seed, kMemento_Seeds_StyleGraphGlobalToMerged);
    if (mRuntimeData->mContext)
        mRuntimeData->mContext->mRandom.SetSeed(static_cast<uint32_t>(seed));
}

void CGenGenerator::_Generate_Memento_Update(TRandomSeedMode seedMode)
{
    _Generate_Memento_RegionLeftCornerEditOffset_OutInfo_FillLock_Update(seedMode);
    CGenGeneratorParams* params = mRuntimeData->mParams;
    if (!params)
        return;
    if (params->RegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled) == 0.0) {
        TGenDict& memento = *mRuntimeData->mMemento;
        memento.SetValueForKey(params->RegionParameterFloat(CGenGeneratorParamsRegion::kComplexity),
            kMemento_FillLock_ComplexityAtGenerate);
        memento.SetValueForKey(_Seeds()->IntegerForKey(TPatternGraphType_Fill, 0), kMemento_FillLock_FillSeedAtGenerate);
    }
}

void CGenGenerator::_Generate_Memento_RegionLeftCornerEditOffset_Reset()
{
    TGenDict& memento = *mRuntimeData->mMemento;
    memento.SetValueForKey(0.0, kMemento_RegionLeftCornerEditOffset);
    memento.RemoveValueForKey(kMemento_LastGenerateStartPosAbs);
    memento.RemoveValueForKey(kMemento_LastGenerateLength);
    memento.RemoveValueForKey(kMemento_LastGenerateStartPosInBar);
}

void CGenGenerator::_Generate_Memento_RegionLeftCornerEditOffset_OutInfo_FillLock_Update(TRandomSeedMode seedMode)
{
    CGenGeneratorParams* params = mRuntimeData->mParams;
    if (!params)
        return;
    // A fresh roll forgets all history of edits.
    if (seedMode != TRandomSeedMode_Keep) {
        _Generate_Memento_RegionLeftCornerEditOffset_Reset();
        return;
    }
    GenerateRuntimeData& rt = *mRuntimeData;
    TGenDict& memento = *rt.mMemento;
    if (memento.HasKey(kMemento_LastGenerateStartPosAbs) && memento.HasKey(kMemento_LastGenerateLength)) {
        const float lastStart = static_cast<float>(memento.DoubleForKey(kMemento_LastGenerateStartPosAbs));
        const float lastLength = static_cast<float>(memento.DoubleForKey(kMemento_LastGenerateLength));
        const float lastPosInBar = memento.HasKey(kMemento_LastGenerateStartPosInBar)
            ? static_cast<float>(memento.DoubleForKey(kMemento_LastGenerateStartPosInBar))
            : TGenBeatPos_Undef;
        const float startDelta = rt.mGenerateStartPosAbs - lastStart;
        const float lengthDelta = rt.mGenerateLength - lastLength;
        // The left corner was dragged: the right end stayed where it was.
        if (startDelta == -lengthDelta && startDelta != 0.0f && lengthDelta != 0.0f)
            memento.SetValueForKey(memento.DoubleForKey(kMemento_RegionLeftCornerEditOffset, 0.0) + startDelta,
                kMemento_RegionLeftCornerEditOffset);

        CGenGeneratorDisableFillLockEvaluator::Parameters p;
        p.mStartPosAbs = rt.mGenerateStartPosAbs;
        p.mLength = rt.mGenerateLength;
        p.mStartPosInBar = rt.mGeneratePosInBar;
        p.mLastStartPosAbs = lastStart;
        p.mLastLength = lastLength;
        p.mLastStartPosInBar = lastPosInBar;
        p.mEvsSignTime = &params->mEvsSignTime;
        p.mEvsTempo = &params->mEvsTempo;
        if (CGenGeneratorDisableFillLockEvaluator(p).shouldDisableFillLock()) {
            params->SetRegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled, 0.0);
            if (rt.mOutInfo)
                rt.mOutInfo->SetValueForKey(true, kOutInfo_DisableFillLock);
        }
    }
    memento.SetValueForKey(static_cast<double>(rt.mGenerateStartPosAbs), kMemento_LastGenerateStartPosAbs);
    memento.SetValueForKey(static_cast<double>(rt.mGenerateLength), kMemento_LastGenerateLength);
    memento.SetValueForKey(static_cast<double>(rt.mGeneratePosInBar), kMemento_LastGenerateStartPosInBar);
}
