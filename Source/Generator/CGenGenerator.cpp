#include "Generator/CGenGenerator.h"

#include "Generator/CGenContext.h"
#include "Generator/clave/CGenClaveIxPatternHist.h"
#include "Generator/instruments/CGenConvertCtrAndUid.h"
#include "Generator/instruments/CGenConvertMappingFactory.h"
#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/stylegraph/CGenStyleGraphRun.h"
#include "Platform/ZKLog.h"
#include "Platform/ZKTime.h"

#include <algorithm>
#include <cmath>
#include <mutex>

CGenGenerator::GenerateRuntimeData::GenerateRuntimeData() = default;
CGenGenerator::GenerateRuntimeData::~GenerateRuntimeData() = default;

void CGenGenerator::GenerateRuntimeData::Reset()
{
    mContext.reset();
    mGFContext = CGenGFContext();
    mMementoIn.reset();
    mMemento.reset();
    mOutInfo.reset();
    mGenreLib = nullptr;
    mInstLib = nullptr;
    mDrumMap = nullptr;
    mDrumMapForScripts = nullptr;
    mParams = nullptr;
    mGenerateStartPosAbs = 0.0f;
    mGenerateStartLeftBarPosAbs = 0.0f;
    mGenerateLength = 0.0f;
    mGeneratePosInBar = 0.0f;
    mScriptSetupStopped = false;
}

CGenGenerator::CGenGenerator()
    : mRuntimeData(std::make_unique<GenerateRuntimeData>()),
      mLibraryBundleLocations(std::make_unique<CGeneratorLibraryBundleLocations>()),
      mPatternsPool(mLibraryBundleLocations.get()),
      mGlobalLuaScriptsPool(mLibraryBundleLocations.get())
{
}
CGenGenerator::~CGenGenerator() = default;

std::shared_ptr<TGenDict> CGenGenerator::Generate(TGenerateWhat what, TRandomSeedMode seedMode, CGenGeneratorParams& params,
    TGenDict* memento, CGenEvsNameds& evs)
{
    // The pre stage's result isn't examined: later stages find missing state
    // and return on their own.
    _Generate_Pre(params, what, memento);
    if (mRuntimeData->mScriptSetupStopped) {
        // A style whose scripts can't load would play without its personality.
        evs.clear();
        if (memento && mRuntimeData->mMemento)
            *memento = *mRuntimeData->mMemento;
        return mRuntimeData->mOutInfo ? std::make_shared<TGenDict>(*mRuntimeData->mOutInfo) : nullptr;
    }
    if (seedMode == TRandomSeedMode_Reset)
        _Generate_Memento_InitAllSeeds(0);
    else if (seedMode == TRandomSeedMode_SystemClock)
        mClockSeed = ZKClockSeed();
    _Generate_AllPatternGraphs(what, seedMode);
    _Generate_Post(evs, seedMode);
    if (memento && mRuntimeData->mMemento)
        *memento = *mRuntimeData->mMemento;
    if (!mRuntimeData->mOutInfo)
        return nullptr;
    return std::make_shared<TGenDict>(*mRuntimeData->mOutInfo);
}

bool CGenGenerator::_Generate_Pre(CGenGeneratorParams& params, TGenerateWhat what, TGenDict* memento)
{
    const bool ok = _Generate_Pre_WithoutActnAndMemento(params);
    _Generate_Memento_Setup(memento);
    mGenerateWhat = what;
    return ok;
}

bool CGenGenerator::Generate_PreTasksThatOnlyNeedParamsGlobal(CGenGeneratorParams& params)
{
    return _Generate_Pre_WithoutActnAndMemento(params);
}

void CGenGenerator::Generate_PerformIncrementalPreTasks(CGenGeneratorParams&, float, float) {}

bool CGenGenerator::_Generate_Pre_WithoutActnAndMemento(CGenGeneratorParams& params)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    rt.Reset();
    params.ClearDecisionLog();
    if (std::isnan(params.mGenerateLength) || std::isnan(params.mGenerateStartPosAbs)
        || (GenIsDef(params.mGenerateLength) && (params.mGenerateLength < 0.0f
               || (params.mGenerateLength > kMaxGenerateLength && !std::isinf(params.mGenerateLength))))
        || (GenIsDef(params.mGenerateStartPosAbs) && std::fabs(params.mGenerateStartPosAbs) > kMaxGenerateLength)) {
        ZKLogf(ZKLogCategory_GeneratorStorage, ZKLogLevel_Warn,
            "Generate: region start %{public}s, length %{public}s is out of range; nothing is generated",
            {std::to_string(params.mGenerateStartPosAbs), std::to_string(params.mGenerateLength)});
        return false;
    }
    CGenGenreLib* genreLib = mGenreLibs.FindGenreLib(params.mGenre);
    CGenInstLib* instLib = genreLib ? genreLib->FindInstLib(params.mInstType) : nullptr;
    if (!genreLib || !instLib)
        return false;
    // Each generation starts from the default scale sets and the library's
    // ranges; scripts change them for this generation only.
    instLib->mConcretizer.Reset();

    if (params.mEvsSignTime.empty())
        params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    if (params.mEvsTempo.empty())
        params.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, -1.0));

    params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
    _Generate_TempoScalePre(params);

    rt.mGenreLib = genreLib;
    rt.mInstLib = instLib;
    rt.mDrumMap = genreLib->DrumMap();
    rt.mDrumMapForScripts = rt.mDrumMap;
    rt.mParams = &params;

    rt.mContext = std::make_unique<CGenContext>(&params, genreLib, instLib, rt.mDrumMap);
    CGenContext& context = *rt.mContext;
    context.mRatingTables = &mRatingTables;
    context.mRandom.SetSeed(ZKClockSeed());
    const CGenInstLib& firstInstLib = mGenreLibs.front().mInstLibs.empty() ? *instLib : mGenreLibs.front().mInstLibs.front();
    context.SetFillSeed(firstInstLib.PatternGraph(TPatternGraphType_AccentFamily).Random().State());

    rt.mOutInfo = std::make_shared<TGenDict>();
    rt.mGFContext = CGenGFContext::contextWithGenContext(&context);
    context.SetGeneratePos(0.0f);

    // Only a failure of "runOnCharacterLoad" stops the generation; others are logged.
    if (!_Generate_LuaScript_Setup() && rt.mScriptSetupStopped)
        return false;

    _Generate_ConvertPatternCoordExtToInt(params, instLib);
    const float endPos = GenAddRegardingUndef(params.mGenerateStartPosAbs, params.mGenerateLength);
    _Generate_CreateEvsClaveIxPatternHist(params, genreLib, params.mGenerateStartLeftBarPosAbs, endPos);
    return true;
}

void CGenGenerator::_Generate_TempoScalePre(CGenGeneratorParams& params)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    rt.mGenerateStartPosAbs = params.mGenerateStartPosAbs;
    rt.mGenerateStartLeftBarPosAbs = params.mGenerateStartLeftBarPosAbs;
    rt.mGenerateLength = params.mGenerateLength;
    rt.mGeneratePosInBar = GenSubRegardingUndef(params.mGenerateStartPosAbs, params.mGenerateStartLeftBarPosAbs);

    const double s = params.mTempoScale;
    if (s == 1.0 || s == 0.0)
        return;
    const float L = params.mGenerateStartLeftBarPosAbs;
    // Positions after the left bar stretch about it; positions at or before stay.
    auto scale = [L, s](float p) -> float {
        if (GenIsUndef(p) || GenIsUndef(L) || p <= L)
            return p;
        return static_cast<float>((static_cast<double>(p) - L) * s + L);
    };

    CGenEvsSignTime& signs = params.mEvsSignTime;
    for (size_t i = 0; i < signs.size(); ++i) {
        const float thisPos = signs[i].mBeatPosAbs;
        signs[i].mBeatPosAbs = scale(thisPos);
        // At half time every signature change must still start a whole bar of
        // the compressed grid: the predecessor's denominator doubles, or the
        // remainder becomes a bar of its own.
        if (s == 0.5 && i > 0 && GenIsDef(L) && thisPos >= L) {
            CGenEvSignTime& prev = signs[i - 1];
            const float newPos = signs[i].mBeatPosAbs;
            const double d = newPos - std::max(L, prev.mBeatPosAbs);
            const double bar = GenBarLengthInBeats(prev.mSignTime.mNom, prev.mSignTime.mDenom);
            if (bar > d) {
                prev.mSignTime.mDenom += 1;
            } else if (std::fmod(d, bar) > 0.0001) {
                CGenEvSignTime inserted = prev;
                inserted.mSignTime.mDenom += 1;
                inserted.mBeatPosAbs = static_cast<float>(newPos - GenBarLengthInBeats(prev.mSignTime.mNom, inserted.mSignTime.mDenom));
                signs.insert(signs.begin() + static_cast<ptrdiff_t>(i), inserted);
                ++i;
            }
        }
    }
    signs.SetNeedsCompile();
    for (auto& t : params.mEvsTempo) {
        t.mBeatPosAbs = scale(t.mBeatPosAbs);
        if (t.mTempo != -1.0)
            t.mTempo *= s;
    }
    for (auto& m : params.mEvsBeatedRegionParameters)
        m.mBeatPos = scale(m.mBeatPos);
    for (auto& c : params.mEvsChord)
        c.mBeatPosAbs = scale(c.mBeatPosAbs);
    for (auto& c : params.mEvsClave)
        c.mBeatPos = scale(c.mBeatPos);
    signs.Compile();

    params.mGenerateStartPosAbs = scale(params.mGenerateStartPosAbs);
    params.mGenerateLength = GenIsDef(params.mGenerateLength) ? static_cast<float>(params.mGenerateLength * s) : params.mGenerateLength;
    params.mGenerateStartLeftBarPosAbs = params.mGenerateStartPosAbs;
    if (GenIsDef(params.mGenerateStartPosAbs)) {
        const float bar = signs.FindBarStartPos(params.mGenerateStartPosAbs, 4);
        if (GenIsDef(bar))
            params.mGenerateStartLeftBarPosAbs = bar;
    }
}

CGenStyle* CGenGenerator::_CurrentStyle()
{
    GenerateRuntimeData& rt = *mRuntimeData;
    if (!rt.mParams || !rt.mInstLib)
        return nullptr;
    const size_t ix = static_cast<size_t>(rt.mParams->StyleIxOrFirst());
    return ix < rt.mInstLib->mStyles.size() ? &rt.mInstLib->mStyles[ix] : nullptr;
}

void CGenGenerator::_Generate_ConvertPatternCoordExtToInt(CGenGeneratorParams& params, const CGenInstLib* instLib)
{
    params.CalcPatternCoordStaticIntFromExt(instLib);
    params.ConvertArrangeMarkersExtToInt(CGenInstLib::PatternCoordConvForType(instLib, TPatternGraphType_AccentFamily),
        CGenInstLib::PatternCoordConvForType(instLib, TPatternGraphType_System),
        CGenInstLib::PatternCoordConvForType(instLib, TPatternGraphType_Fill));
}

void CGenGenerator::_Generate_CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, CGenGenreLib* genreLib,
    float leftBarPos, float endPos)
{
    if (genreLib)
        CreateEvsClaveIxPatternHist(params, genreLib->mClaveLibs, leftBarPos, endPos);
}

void CGenGenerator::_Generate_CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, CGenGenreLib* genreLib)
{
    if (genreLib)
        CreateEvsClaveIxPatternHist(params, genreLib->mClaveLibs);
}

void CGenGenerator::_Generate_FillMissingPartsOfAllEvsClaveClosestIxPatternHist(CGenGeneratorParams& params,
    CGenGenreLib* genreLib)
{
    if (genreLib)
        FillMissingPartsOfAllEvsClaveClosestIxPatternHist(params, genreLib->mClaveLibs);
}

void CGenGenerator::_Generate_AllPatternGraphs(TGenerateWhat what, TRandomSeedMode seedMode)
{
    if (static_cast<int>(what) > static_cast<int>(TGenerateWhat_RenderOnly))
        return;
    constexpr TPatternGraphType kOrder[] = {TPatternGraphType_Fill, TPatternGraphType_AccentFamily,
        TPatternGraphType_AccentAddon, TPatternGraphType_System, TPatternGraphType_Percussion};
    for (TPatternGraphType type : kOrder)
        _Generate_PatternGraph(type, SeedModeForLayer(what, seedMode, type));
}

void CGenGenerator::_Generate_PatternGraph(TPatternGraphType type, TRandomSeedMode seedMode)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    CGenGeneratorParams* params = rt.mParams;
    CGenContext* context = rt.mContext.get();
    CGenStyle* style = _CurrentStyle();
    if (!params || !context || !style)
        return;
    mRuntimeData->mInstLib->mStyles.LoadStyleGraphsIfNotCachedAlready(*style);
    CGenPatternGraphBoost& graph = rt.mInstLib->PatternGraph(type);
    context->mPatternGraph = &graph;
    context->mPatternsPool = &mPatternsPool;
    // Stored for scripts and the authoring side; pattern choice does not read it.
    context->mRegionLeftCornerEditOffset =
        static_cast<float>(rt.mMemento->DoubleForKey(kMemento_RegionLeftCornerEditOffset, 0.0));

    _Generate_RandomSeedReadStoreAndSetForPatternGraphType(seedMode, type);
    _Generate_Memento_Update(seedMode);

    // Fill lock: while it is on, fills are generated with the complexity and
    // seed stored when it was switched on.
    const TGenDict& memento = *rt.mMemento;
    const bool lockApplies = type == TPatternGraphType_Fill || params->mInstType != TGenInstType_Drums;
    if (lockApplies && params->RegionParameterFloat(CGenGeneratorParamsRegion::kFillLockEnabled) != 0.0) {
        if (memento.HasKey(kMemento_FillLock_ComplexityAtGenerate))
            params->SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexityForFills,
                memento.DoubleForKey(kMemento_FillLock_ComplexityAtGenerate));
        if (memento.HasKey(kMemento_FillLock_FillSeedAtGenerate)) {
            const uint32_t fillSeed = static_cast<uint32_t>(memento.IntegerForKey(kMemento_FillLock_FillSeedAtGenerate));
            if (type == TPatternGraphType_Fill)
                graph.Random().SetSeed(fillSeed);
            context->SetFillSeed(params->mInstType == TGenInstType_Drums ? 0u : fillSeed);
        }
    } else {
        params->SetRegionParameterFloat(CGenGeneratorParamsRegion::kComplexityForFills,
            params->RegionParameterFloat(CGenGeneratorParamsRegion::kComplexity));
    }

    CGenPatternModAndProbs& mods = context->mPatternMap[type];
    mods = CGenPatternModAndProbs();
    graph.Generate_PatternSeq(*params, rt.mDrumMap, params->mInstType, style, rt.mGFContext, &mods);
}

void CGenGenerator::_Generate_Post(CGenEvsNameds& evs, TRandomSeedMode seedMode)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    if (mGenerateWhat == TGenerateWhat_PatternsOnly || !rt.mContext || !rt.mParams)
        return;
    CGenGeneratorParams& params = *rt.mParams;
    _Generate_ApplySignTimeTrafos();
    _Generate_OverlayFillsFromPatternGraphFill();
    _Generate_ShortenIncompleteFirstBar();
    _Generate_ApplyGlobalStyleGraphToSinglePatternModAndProbs();
    if (params.mEraseUnplayableNotes)
        _Generate_EraseUnplayableNotes();
    _Generate_ShortenPickupBarOnTheLeft();
    if (rt.mDrumMap && rt.mInstLib)
        for (auto& [type, mods] : rt.mContext->mPatternMap)
            rt.mInstLib->PatternGraph(type).Generate_RenderEvs(params, rt.mDrumMap, params.mInstType, &mods, evs);
    _Generate_CutRenderedEvsAtRegionEnd(evs);
    _Generate_ApplyEvsChordToAbstractNotes(evs, 0, 0);
    _Generate_ConvertEvsNamedFromUid(evs);
    if (!params.mDbgKeepEvsNamedsSeparate)
        _Generate_MergeAllEvsNameds(evs, params.mGenerateStartPosAbs);
    _Generate_ApplyGlobalStyleGraphToMerged(evs, seedMode);
    _Generate_ApplyEvsChordToAbstractNotes(evs, 2, 1);
    _Generate_TempoScalePost(params, evs);
    mGenerateWhat = TGenerateWhat_PatternsOnly;
}

void CGenGenerator::_Generate_ApplySignTimeTrafos()
{
    GenerateRuntimeData& rt = *mRuntimeData;
    for (auto& [type, mods] : rt.mContext->mPatternMap)
        if (mods.STDefaultOrTarget() != TSTDefaultOrTarget::Target)
            mods.ApplySignTimeTrafo(rt.mParams, rt.mInstLib, TTransformBeatPosAbs_ToSTTarget);
}

void CGenGenerator::_OverlayFillInAllPatternsMatchingTypes(const CGenPatternModAndProb& fill,
    const CGenRange<float>& range, const std::vector<TPatternGraphType>& types,
    std::map<TPatternGraphType, CGenPatternModAndProbs>& map)
{
    if (GenIsUndef(range.mMin))
        return;
    const float start = GenAddRegardingUndef(fill.mBeatPosAbs, range.mMin);
    const float length = GenSubRegardingUndef(range.mMax, range.mMin);
    for (auto& [type, list] : map)
        if (std::find(types.begin(), types.end(), type) != types.end())
            list.EraseAndOptionallyShortenEvsAndShortenMembersInRange(start, length, TShortenEvsLeftTouchingRange_Yes);
}

void CGenGenerator::_Generate_OverlayFillsFromPatternGraphFill()
{
    auto& map = mRuntimeData->mContext->mPatternMap;
    const auto fills = map.find(TPatternGraphType_Fill);
    if (fills == map.end())
        return;
    // Each fill element carries, relative to its position, the ranges it
    // takes over from the accents, the systems and the percussion.
    for (const CGenPatternModAndProb& fill : fills->second) {
        if (GenIsUndef(fill.mBeatPosAbs))
            continue;
        _OverlayFillInAllPatternsMatchingTypes(fill, fill.mOverlayRangeAc,
            {TPatternGraphType_AccentFamily, TPatternGraphType_AccentAddon}, map);
        _OverlayFillInAllPatternsMatchingTypes(fill, fill.mOverlayRangeSy, {TPatternGraphType_System}, map);
        _OverlayFillInAllPatternsMatchingTypes(fill, fill.mOverlayRangePerc, {TPatternGraphType_Percussion}, map);
    }
}

void CGenGenerator::_Generate_ShortenIncompleteFirstBar()
{
    GenerateRuntimeData& rt = *mRuntimeData;
    const float start = rt.mParams->mGenerateStartPosAbs;
    const float leftBar = rt.mParams->mGenerateStartLeftBarPosAbs;
    if (GenIsUndef(start) || GenIsUndef(leftBar) || !(start > leftBar))
        return;
    for (auto& [type, mods] : rt.mContext->mPatternMap)
        mods.EraseAndOptionallyShortenEvsAndShortenMembersInRange(leftBar - 4.0f, start - leftBar + 4.0f,
            TShortenEvsLeftTouchingRange_No);
}

CGenGFModule* CGenGenerator::_GlobalStyleGraph(const char* key)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    if (!rt.mGenreLib || !rt.mInstLib || !rt.mContext || !rt.mParams)
        return nullptr;
    CGenStyle* style = _CurrentStyle();
    if (!style)
        return nullptr;
    rt.mInstLib->mStyles.LoadStyleGraphsIfNotCachedAlready(*style);
    return style->StyleGraphs().StyleGraphForKey(key);
}

void CGenGenerator::_Generate_ApplyGlobalStyleGraphToSinglePatternModAndProbs()
{
    GenerateRuntimeData& rt = *mRuntimeData;
    const CGenGFModule* graph = _GlobalStyleGraph(kStyleGraphKey_Global);
    // No graph, or one of no modules, is the normal case of a style without
    // post-processing.
    if (!graph || graph->nodes().empty())
        return;
    CGenContext& context = *rt.mContext;
    const CGenGeneratorParams& params = *rt.mParams;
    for (auto& [type, mods] : context.mPatternMap) {
        if (type == TPatternGraphType_Undef)
            continue;
        context.mPatternGraph = &rt.mInstLib->PatternGraph(type);
        for (size_t i = 0; i < mods.size();) {
            const float relPos = GenSubRegardingUndef(mods[i].mBeatPosAbs, params.mGenerateStartLeftBarPosAbs);
            CGenNearestClavePatternInfos infos;
            infos.GatherInfosAtPos(&params, &rt.mGenreLib->mClaveLibs, relPos);
            CGenPatternModAndProbs list;
            list.push_back(mods[i]);
            {
                CGenStyleGraphRun run(context, kStyleGraphKey_Global);
                run.ApplyStyleGraphToPatterns(list, relPos, &infos);
            }
            // An empty answer is how a style drops a pattern.
            if (list.empty()) {
                mods.erase(mods.begin() + static_cast<ptrdiff_t>(i));
                continue;
            }
            mods[i] = list.front();
            ++i;
        }
    }
}

void CGenGenerator::_Generate_EraseUnplayableNotes()
{
    GenerateRuntimeData& rt = *mRuntimeData;
    if (rt.mParams->mInstType != TGenInstType_Drums)
        return;
    auto& map = rt.mContext->mPatternMap;
    auto system = map.find(TPatternGraphType_System);
    if (system == map.end())
        return;
    const CGenPatternModAndProbs empty;
    auto layer = [&](TPatternGraphType t) -> const CGenPatternModAndProbs& {
        auto it = map.find(t);
        return it == map.end() ? empty : it->second;
    };
    // The feet can't play what the accents already play with them.
    TInstTreeUids footUids;
    GenDrumInstTreeV1().CreateDrumsFootUids(footUids);
    system->second.EraseMaskedNotes(layer(TPatternGraphType_AccentFamily), layer(TPatternGraphType_AccentAddon),
        rt.mParams->mEvsTempo, footUids, kEraseUnplayableNotesToleranceNs, footUids);
}

void CGenGenerator::_Generate_CutRenderedEvsAtRegionEnd(CGenEvsNameds& evs)
{
    // Patterns end on the song's bar lines and may run past a region that
    // ends mid-bar; the host asked for the region, so nothing sounds beyond it.
    const CGenGeneratorParams& params = *mRuntimeData->mParams;
    const float end = GenAddRegardingUndef(params.mGenerateStartPosAbs, params.mGenerateLength);
    if (GenIsDef(end))
        evs.EraseAndShortenEvsAndShortenMembersInRange(end, 4.0f * kMaxGenerateLength, TPatternGraphType_Undef);
}

void CGenGenerator::_Generate_ShortenPickupBarOnTheLeft()
{
    GenerateRuntimeData& rt = *mRuntimeData;
    for (auto& [type, mods] : rt.mContext->mPatternMap)
        mods.ShortenPickupBarOnTheLeft(rt.mParams);
}

void CGenGenerator::_Generate_ApplyEvsChordToAbstractNotes(
    CGenEvsNameds& evs, int behaviorForChordUndef, int behaviorForAbstractNotes)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    if (!rt.mInstLib || !rt.mParams || !InstTypeIsConcretized(rt.mInstLib->mInstType))
        return;
    const CGenGeneratorParams& params = *rt.mParams;
    CAbstractNotesConcretizer& concretizer = rt.mInstLib->mConcretizer;
    concretizer.mBehaviorForChordUndef = behaviorForChordUndef;
    concretizer.mBehaviorForAbstractNotes = behaviorForAbstractNotes;
    const float end = GenAddRegardingUndef(params.mGenerateStartPosAbs, params.mGenerateLength);
    concretizer.Concretize(params.mEvsChord, params.mEvsHarmCenter, params.mEvsSignKey, &params.mEvsSignTime,
        params.mGenerateStartLeftBarPosAbs, end, evs, nullptr);
}

void CGenGenerator::_Generate_ConvertEvsNamedFromUid(CGenEvsNameds& evs)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    if (!rt.mInstLib || !rt.mParams)
        return;
    const CGenInstTree* tree = rt.mInstLib->InstTree();
    const int convertTo = rt.mParams->mConvertUidEvsTo;
    if (!tree || (convertTo != 1 && convertTo != 2))
        return;
    const char* key = convertTo == 1 ? kConvertMappingKey_CtrlEvs : kConvertMappingKey_MB3;
    // The genre's drum map decides the notes and channels the kit plays on.
    const CGenConvertMapping mapping = rt.mDrumMap ? CGenConvertMappingFactory::MappingForKeyAndDrumMap(key, *rt.mDrumMap)
                                                   : CGenConvertMappingFactory::MappingForKey(key);
    CGenConvertCtrAndUid convert(*tree, mapping);
    CGenEvs out;
    for (CGenEvsNamed& el : evs) {
        convert.ConvertEvsWithUidToEvsWithCtr(el.mEvs, out);
        el.mEvs.swap(out);
        el.mEvs.mLength = out.mLength;
    }
}

void CGenGenerator::_Generate_MergeAllEvsNameds(CGenEvsNameds& evs, float generateStartPosAbs)
{
    if (evs.empty())
        return;
    CGenEvsNamed merged;
    float start = TGenBeatPosAbs_Undef, end = TGenBeatPosAbs_Undef;
    std::string names;
    for (const auto& el : evs) {
        const float shift = GenSubRegardingUndef(el.mBeatPosAbs, generateStartPosAbs);
        for (const auto& ev : el.mEvs) {
            CGenEv copy = ev;
            copy.mBeatPos = GenAddRegardingUndef(copy.mBeatPos, shift);
            merged.mEvs.push_back(std::move(copy));
        }
        if (GenIsDef(el.mBeatPosAbs) && (GenIsUndef(start) || el.mBeatPosAbs < start))
            start = el.mBeatPosAbs;
        const float elEnd = el.EndBeatPosAbs();
        if (GenIsDef(elEnd) && (GenIsUndef(end) || elEnd > end))
            end = elEnd;
        names += " " + el.mName;
    }
    if (mRuntimeData->mParams && mRuntimeData->mParams->mDbgAddPatternAndFillIxToGenEvsNameds)
        merged.mName = names;
    // Stable, so that events comparing equal keep the order of layers and patterns.
    merged.mEvs.SortStable();
    merged.mBeatPosAbs = start;
    merged.mEvs.mLength = (GenIsDef(start) && GenIsDef(end)) ? std::max(end - start, 0.0f) : TGenBeatLength_Undef;
    // The events stay relative to the region start, not to mBeatPosAbs.
    CGenEvsNameds result;
    result.push_back(std::move(merged));
    evs.swap(result);
}

void CGenGenerator::_Generate_ApplyGlobalStyleGraphToMerged(CGenEvsNameds& evs, TRandomSeedMode seedMode)
{
    GenerateRuntimeData& rt = *mRuntimeData;
    if (!rt.mGenreLib || !rt.mInstLib || !rt.mContext || !rt.mParams || !_CurrentStyle())
        return;
    const CGenGFModule* graph = _GlobalStyleGraph(kStyleGraphKey_GlobalToMerged);
    CGenContext& context = *rt.mContext;
    context.mStyleGraphKey = kStyleGraphKey_GlobalToMerged;
    CGenPatternGraphBoost* accents = &rt.mInstLib->PatternGraph(TPatternGraphType_AccentFamily);
    context.mPatternGraph = accents;
    // The seed moves with the take even when the style has no such graph.
    _Generate_RandomSeedReadStoreAndSetForGlobalStyleGraphToMerged(seedMode);
    if (!graph || graph->nodes().empty() || evs.empty())
        return;
    const CGenGeneratorParams& params = *rt.mParams;
    for (CGenEvsNamed& el : evs) {
        const float relPos = GenSubRegardingUndef(el.mBeatPosAbs, params.mGenerateStartLeftBarPosAbs);
        CGenNearestClavePatternInfos infos;
        infos.GatherInfosAtPos(&params, &rt.mGenreLib->mClaveLibs, relPos);
        CGenPatternModAndProbs list;
        list.emplace_back(accents, el.mBeatPosAbs, el.mEvs);
        {
            CGenStyleGraphRun run(context, kStyleGraphKey_GlobalToMerged);
            run.ApplyStyleGraphToPatterns(list, relPos, &infos);
        }
        if (list.empty()) {
            el.mEvs.clear();
            el.mEvs.mLength = 0.0f;
        } else {
            el.mEvs = list.front().PatternToBeRead().mEvs;
        }
    }
}

void CGenGenerator::_Generate_TempoScalePost(CGenGeneratorParams& params, CGenEvsNameds& evs)
{
    const double s = params.mTempoScale;
    if (s == 1.0 || s == 0.0)
        return;
    const double r = 1.0 / s;
    auto scale = [r](float v) { return GenIsUndef(v) ? v : static_cast<float>(v * r); };
    for (auto& el : evs) {
        el.mBeatPosAbs = scale(el.mBeatPosAbs);
        for (auto& ev : el.mEvs) {
            ev.mBeatPos = scale(ev.mBeatPos);
            ev.mBeatLength = scale(ev.mBeatLength);
        }
    }
    params.mGenerateLength = scale(params.mGenerateLength);
}

void CGenGenerator::_Generate_ApplyGroove(CGenGeneratorParams& params, CGenGenreLib* genreLib, CGenEvsNameds& evs)
{
    // No stage calls this; it offers the scripts' groove over a whole performance.
    if (genreLib == nullptr || evs.empty() || params.mGrooveIx < 0
        || static_cast<size_t>(params.mGrooveIx) >= genreLib->mGrooves.size())
        return;
    const CGenGroove& groove = genreLib->mGrooves[static_cast<size_t>(params.mGrooveIx)];
    const CGenDrumMap& drumMap = genreLib->DrumMap() ? *genreLib->DrumMap() : CGenDrumMap::GeneralMidi();
    for (CGenEvsNamed& el : evs) {
        // Each element's events count from its own start; the groove's loop from the region's.
        const float offset = GenSubRegardingUndef(el.mBeatPosAbs, params.mGenerateStartPosAbs);
        groove.ApplyToInstType(el.mEvs, offset, params.mGrooveApply, params.mInstType, drumMap,
            el.mRenderingPatternGraphType);
    }
}

void CGenGenerator::_Generate_Pre_ReplaceSlashChordsWithEquivalents(CGenGeneratorParams& params)
{
    // No stage calls this; a host may. A bass that is no tone of its chord
    // joins the chord as a tone (C/B -> Cmaj7/B, Am/G -> Am7/G, F/G ->
    // Fadd9/G), so that the chord's scale and the degrees counted in it
    // hold the note the bass plays. Inversions (C/E) stay as they are.
    for (CGenEvChord& ev : params.mEvsChord) {
        CChordHeavy& chord = ev.mChord;
        if (!chord.IsSlashChord())
            continue;
        const int intvl = ((chord.mBass.mKeyNr - chord.mRoot.mKeyNr) % 12 + 12) % 12;
        if (chord.HasIntvlInAnyOctaveOrRootButNotInBassNoteAlone(intvl))
            continue;
        // The flat ninth, ninth and eleventh above the octave; the rest in it.
        const int place = (intvl == 1 || intvl == 2 || intvl == 5) ? intvl + 12 : intvl;
        chord = CChordHeavy(chord.mRoot, chord.mBass, chord.mIntervals | (1u << place));
    }
}

bool CGenGenerator::CheckContentSanity(std::string& text) const
{
    text.clear();
    return mGenreLibs.CheckContentSanity("", text);
}

void CGenGenerator::CreateDefaultGenre()
{
    mGenreLibs.CreateDefaultGenre();
    UpdateLibraryBundleLocationsWeakPointers();
}

void CGenGenerator::ClearCaches()
{
    ClearLuaStateCache();
    ClearClaveCaches();
}

void CGenGenerator::ClearClaveCaches()
{
    if (mClaveCaches)
        mClaveCaches->ClearForAllKeys();
}

CGenClaveCaches& CGenGenerator::ClaveCaches()
{
    if (!mClaveCaches)
        mClaveCaches = std::make_unique<CGenClaveCaches>();
    return *mClaveCaches;
}

void CGenGenerator::PurgeStylesForWhichBlockReturnsYes(const TPurgeStyleBlock& block)
{
    if (!block)
        throw std::bad_function_call();
    for (CGenGenreLib& genre : mGenreLibs)
        for (CGenInstLib& lib : genre.mInstLibs)
            for (size_t ix = 0; ix < lib.mStyles.size(); ++ix) {
                const CGenStyle& style = lib.mStyles[ix];
                if (!style.StyleGraphs().HasEntries())
                    continue;
                if (block(genre.mGenre, lib.mInstType, ix, style.Name())) {
                    mLuaStateCache.erase(style.Identifier());
                    lib.mStyles.PurgeStyleAtIndex(ix);
                }
            }
}

namespace {
std::once_flag gTolvarInitOnce;
int gTolvarInitCount = 0;
} // namespace

void TolvarInit()
{
    std::call_once(gTolvarInitOnce, [] {
        // Create the shared log objects before any generator runs on another thread.
        ++gTolvarInitCount;
    });
}

int TolvarInitCount() { return gTolvarInitCount; }
