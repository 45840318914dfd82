#pragma once

#include "Generator/CGenEvsNameds.h"
#include "Generator/CGenGeneratorKeys.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenNearestClavePatternInfo.h"
#include "Generator/CGenGeneratorStorage.h"
#include "Generator/library/CGenGenreLibs.h"
#include "Generator/library/CGenPatternsPool.h"
#include "Generator/library/CGeneratorLibraryBundleLocations.h"
#include "Generator/scripting/CGenGlobalLuaScriptsPool.h"
#include "Generator/scripting/CGenLuaStateCache.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenGFRatingTables.h"
#include "Platform/TGenDict.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CGenContext;
class CGenDrumMap;

// The front door of the engine and the owner of the loaded library. A host
// fills a CGenGeneratorParams, keeps one memento dictionary per region and
// calls Generate once per region. One generator serves one caller at a time;
// a host that generates in parallel uses one generator per thread.
class CGenGenerator {
public:
    // The state of one generation; valid from the end of a pre stage until the
    // next pre stage begins, so that the authoring side can look at it.
    class GenerateRuntimeData {
    public:
        GenerateRuntimeData();
        ~GenerateRuntimeData();
        // Deletes the context, releases the dictionaries, clears all else.
        void Reset();

        CGenGenreLib* mGenreLib = nullptr;
        CGenInstLib* mInstLib = nullptr;
        const CGenDrumMap* mDrumMap = nullptr;
        const CGenDrumMap* mDrumMapForScripts = nullptr;
        CGenGeneratorParams* mParams = nullptr;
        std::unique_ptr<CGenContext> mContext;
        // Made over mContext; what the style graphs of this generation run on.
        CGenGFContext mGFContext;
        float mGenerateStartPosAbs = 0.0f;
        float mGenerateStartLeftBarPosAbs = 0.0f;
        float mGenerateLength = 0.0f;
        float mGeneratePosInBar = 0.0f;
        std::shared_ptr<const TGenDict> mMementoIn;
        std::shared_ptr<TGenDict> mMemento;
        std::shared_ptr<TGenDict> mOutInfo;
        // The style's scripts failed at "runOnCharacterLoad": nothing is played.
        bool mScriptSetupStopped = false;
    };

    CGenGenerator();
    ~CGenGenerator();
    CGenGenerator(const CGenGenerator&) = delete;
    CGenGenerator& operator=(const CGenGenerator&) = delete;

    // Performs a region. `memento` is in-out and may be null; `evs` receives
    // the performance. Returns a copy of the out info, null when the pre stage
    // found no genre or instrument library.
    std::shared_ptr<TGenDict> Generate(TGenerateWhat what, TRandomSeedMode seedMode, CGenGeneratorParams& params,
        TGenDict* memento, CGenEvsNameds& evs);
    // The part of the pre stage that needs only the song-wide half.
    bool Generate_PreTasksThatOnlyNeedParamsGlobal(CGenGeneratorParams& params);
    void Generate_PerformIncrementalPreTasks(CGenGeneratorParams& params, float start, float end);
    // Steps 2 to 4 of Generate, for the authoring side.
    bool _Generate_Pre(CGenGeneratorParams& params, TGenerateWhat what, TGenDict* memento);

    // Clears `text` and fills it with the problems of the loaded content.
    bool CheckContentSanity(std::string& text) const;
    void RandomSeed(uint32_t seed) { mGenreLibs.RandomSeed(seed); }
    void RandomSeedWithSystemClock() { mGenreLibs.RandomSeedWithSystemClock(); }
    void CreateDefaultGenre();
    void ClearCaches();
    void ClearLuaStateCache();
    void ClearClaveCaches();
    // The caches of filtered clave lists, made on first use.
    CGenClaveCaches& ClaveCaches();
    // Frees memory at the host's request: asks `block` about every style whose
    // graphs are loaded (genre name, instrument type, style index, style
    // name) and purges those it answers true for, with their script state.
    // An empty function is a programming error (std::bad_function_call).
    using TPurgeStyleBlock =
        std::function<bool(const std::string& genre, _TGenInstType instType, size_t styleIx, const std::string& styleName)>;
    void PurgeStylesForWhichBlockReturnsYes(const TPurgeStyleBlock& block);

    // ---- The library on disk (a "glibb" bundle, or a single "glib" archive)
    // Loads a bundle (a folder holding a "StyleGraphs" folder) or else a raw
    // library; false when nothing is there or the load failed. A failed load
    // leaves the content that was there, usable.
    bool LoadFromURL(const TGenUrl& url);
    bool LoadBundleFromURL(const TGenUrl& url);
    bool LoadRawLibraryFromURL(const TGenUrl& url);
    // Saves the library as a bundle at `url` (a new name copies the old
    // bundle first); `error`, when given, describes a failure.
    bool SaveToURL(const TGenUrl& url, TGenStorageError* error = nullptr);
    bool SaveToURLWithoutChangingLibraryBundleLocation(const TGenUrl& url, TGenStorageError* error = nullptr);
    // The folder and its sub-folders of a bundle, each made only if missing.
    static bool CreateBundleStructureAtURL(const TGenUrl& url, std::string* error = nullptr);
    // The archive itself: written atomically as a text archive; read as text,
    // then as binary, into a tree of its own that replaces the content only
    // when the whole archive was read.
    bool SerializeToPath(const std::string& path) const;
    bool DeserializeFromPath(const std::string& path);
    // Hands the bundle's style folder to every instrument library's styles.
    void UpdateLibraryBundleLocationsWeakPointers();
    const IGeneratorLibraryBundleLocations& LibraryBundleLocations() const;
    CGenPatternsPool& PatternsPool() { return mPatternsPool; }
    // The library's rating tables (the standard tables of the rating
    // modules), kept per generator and stored in the bundle's
    // "Contents/RatingTables" folder.
    const CGenGFRatingTables& RatingTables() const { return mRatingTables; }
    CGenGFRatingTables& RatingTables() { return mRatingTables; }
    // The global scripts that styles include ("kCGenStyleGraphsProperty_IncludeScript").
    CGenGlobalLuaScriptsPool& GlobalLuaScriptsPool() { return mGlobalLuaScriptsPool; }
    // What the scripts of this generator may do. Off unless a host asks: a
    // host that runs content it did not write turns it on. A change closes
    // the script states, which the next generation makes anew.
    void SetScriptSandbox(const zkgen::lua::TScriptSandbox& sandbox);
    const zkgen::lua::TScriptSandbox& ScriptSandbox() const { return mScriptSandbox; }
    // The script state of a style, or null (tests and tools).
    const CGenLuaCacheEntry* LuaCacheEntryForStyle(const CGenStyle& style) const;
    // Values of the library, saved as "values.bin": an empty key is refused,
    // a null value removes the key, and the last key gone leaves no
    // dictionary (null, not empty).
    bool SetValueForKey(const std::optional<TGenDictValue>& value, const std::string& key);
    std::optional<TGenDictValue> ValueForKey(const std::string& key) const;
    const TGenDict* ValuesForKeys() const { return mValuesForKeys.get(); }

    CGenGenreLibs& GenreLibs() { return mGenreLibs; }
    const CGenGenreLibs& GenreLibs() const { return mGenreLibs; }
    const GenerateRuntimeData& RuntimeData() const { return *mRuntimeData; }
    TGenerateWhat CurrentGenerateWhat() const { return mGenerateWhat; }
    uint32_t ClockSeed() const { return mClockSeed; }
    bool GlibbWasLoaded() const { return mLoadTime1 != mLoadTime2; }

    // The longest region a call performs: 100,000 bars of 4/4. A longer (or
    // negative, or not-a-number) length is refused by the pre stage, so that
    // an absurd request ends at once with an empty performance.
    static constexpr float kMaxGenerateLength = 400000.0f;

private:
    // Tests reach the stages through this.
    friend struct CGenGeneratorTestAccess;

    // Stages, in the order Generate runs them. They rely on each other's
    // state, so only Generate and the public entry points above run them.
    bool _Generate_Pre_WithoutActnAndMemento(CGenGeneratorParams& params);
    void _Generate_TempoScalePre(CGenGeneratorParams& params);
    bool _Generate_LuaScript_Setup();
    void _Generate_ConvertPatternCoordExtToInt(CGenGeneratorParams& params, const CGenInstLib* instLib);
    void _Generate_CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, CGenGenreLib* genreLib, float leftBarPos, float endPos);
    void _Generate_CreateEvsClaveIxPatternHist(CGenGeneratorParams& params, CGenGenreLib* genreLib);
    // Stands ready; no stage calls it.
    void _Generate_FillMissingPartsOfAllEvsClaveClosestIxPatternHist(CGenGeneratorParams& params, CGenGenreLib* genreLib);
    void _Generate_Memento_Setup(TGenDict* memento);
    void _Generate_Memento_InitAllSeeds(int seed);
    void _Generate_AllPatternGraphs(TGenerateWhat what, TRandomSeedMode seedMode);
    void _Generate_PatternGraph(TPatternGraphType type, TRandomSeedMode seedMode);
    void _Generate_RandomSeedReadStoreAndSetForPatternGraphType(TRandomSeedMode seedMode, TPatternGraphType type);
    void _Generate_RandomSeedReadStoreAndSetForGlobalStyleGraphToMerged(TRandomSeedMode seedMode);
    void _Generate_Memento_Update(TRandomSeedMode seedMode);
    void _Generate_Memento_RegionLeftCornerEditOffset_OutInfo_FillLock_Update(TRandomSeedMode seedMode);
    void _Generate_Memento_RegionLeftCornerEditOffset_Reset();
    void _Generate_Post(CGenEvsNameds& evs, TRandomSeedMode seedMode);
    void _Generate_ApplySignTimeTrafos();
    void _Generate_OverlayFillsFromPatternGraphFill();
    // Erases the range (relative to the fill's position) from the layers of
    // `types`; nothing for an undefined lower bound.
    static void _OverlayFillInAllPatternsMatchingTypes(const CGenPatternModAndProb& fill, const CGenRange<float>& range,
        const std::vector<TPatternGraphType>& types, std::map<TPatternGraphType, CGenPatternModAndProbs>& map);
    void _Generate_ShortenIncompleteFirstBar();
    void _Generate_ApplyGlobalStyleGraphToSinglePatternModAndProbs();
    void _Generate_EraseUnplayableNotes();
    void _Generate_ShortenPickupBarOnTheLeft();
    void _Generate_CutRenderedEvsAtRegionEnd(CGenEvsNameds& evs);
    void _Generate_ApplyEvsChordToAbstractNotes(CGenEvsNameds& evs, int behaviorForChordUndef, int behaviorSibling);
    void _Generate_ConvertEvsNamedFromUid(CGenEvsNameds& evs);
    void _Generate_MergeAllEvsNameds(CGenEvsNameds& evs, float generateStartPosAbs);
    void _Generate_ApplyGlobalStyleGraphToMerged(CGenEvsNameds& evs, TRandomSeedMode seedMode);
    void _Generate_TempoScalePost(CGenGeneratorParams& params, CGenEvsNameds& evs);
    void _Generate_ApplyGroove(CGenGeneratorParams& params, CGenGenreLib* genreLib, CGenEvsNameds& evs);
    void _Generate_Pre_ReplaceSlashChordsWithEquivalents(CGenGeneratorParams& params);
    void _Generate_Post_StoreGeneratorTestData() {}
    void _Generate_CopyBackUserEditedEvents() {}

    CGenGenreLibs mGenreLibs;
    TGenerateWhat mGenerateWhat = TGenerateWhat_PatternsOnly;
    uint32_t mClockSeed = 0;
    std::unique_ptr<GenerateRuntimeData> mRuntimeData;
    // Filtered clave lists that scripts asked for; made on first use.
    std::unique_ptr<CGenClaveCaches> mClaveCaches;
    // No root at first; the pool reads through them.
    std::unique_ptr<IGeneratorLibraryBundleLocationsInternal> mLibraryBundleLocations;
    CGenPatternsPool mPatternsPool;
    std::unique_ptr<TGenDict> mValuesForKeys;
    // The global script of an old archive, until a load moves it into the pool.
    TGenLegacyGlobalLuaScript mLegacyGlobalLuaScript;
    void _AdoptLegacyGlobalLuaScript();
    CGenGlobalLuaScriptsPool mGlobalLuaScriptsPool;
    CGenGFRatingTables mRatingTables;
    CGenLuaStateCache mLuaStateCache;
    zkgen::lua::TScriptSandbox mScriptSandbox;
    double mLoadTime1 = 1.0;
    double mLoadTime2 = 1.0;

    TGenDict* _Seeds();
    CGenStyle* _CurrentStyle();
    // The current style's graph under a global key, its graphs loaded first;
    // null when the generation lacks a genre, library, context, params or style.
    CGenGFModule* _GlobalStyleGraph(const char* key);
};

// One-time initialisation of the engine; safe to call from many places.
void TolvarInit();
// How many times TolvarInit did its work (0 or 1).
int TolvarInitCount();
