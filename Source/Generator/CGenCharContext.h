#pragma once

#include "Generator/CGenBitmask.h"
#include "Generator/CGenEvs.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <string>

class CGenContext;
class CGenGeneratorParams;
class CGenInstLib;
class CGenEvSignKey;
class CGenEvHarmCenter;
class CGenEvChord;
class CAbstractNotesConcretizer;
class CScaleHeavy;
class TModNoteNr;
class CGenSignTimeTrafos;
class CGenNearestClavePatternInfos;
struct TCreateFillParams;

// A thin view on the generation's CGenContext, made for what a player's
// behaviour asks: every operation reads through the pointer, and a view
// without a context (or a context without the member asked for) answers
// "not valid", null or undefined.
class CGenCharContext {
public:
    explicit CGenCharContext(CGenContext* context = nullptr) : mContext(context) {}

    // Not owned; the first member, by design.
    CGenContext* mContext = nullptr;

    bool GeneratorParamsValid() const;
    CGenGeneratorParams* GeneratorParams() const;
    bool InstLibValid() const;
    CGenInstLib* InstLib() const;

    // The instrument library's note concretizer, or null.
    bool AbstractNoteConcretizerValid() const;
    CAbstractNotesConcretizer* AbstractNoteConcretizer() const;

    // The harmonic element in force at a position, or null.
    const CGenEvSignKey* FindEvSignKeyValidAt(float pos) const;
    const CGenEvHarmCenter* FindEvHarmCenterValidAt(float pos) const;
    const CGenEvChord* FindEvChordValidAt(float pos) const;
    // The scale of the chord in force (the chord's own or its scale in the
    // key there), else the key's scale; undefined when there is neither.
    CScaleHeavy FindEvScaleValidAt(float pos) const;

    // Note range modifications of the concretizer at a position; false (and
    // `error` set) without a concretizer or for a bad id.
    bool GetModNoteNrPropIDAt(int id, float pos, TModNoteNr& mod, std::string* error = nullptr) const;
    bool SetModNoteNrPropIDAt(int id, float pos, const TModNoteNr& mod, std::string* error = nullptr) const;

    // The first bar of the generate range in the song's metre: from the
    // generate start to the end of its bar. False (length undefined) without
    // params or signatures.
    bool GeneratorParams_GetFirstBarLengthSTTarget(float& length) const;
    // The same, but not beyond the generate length.
    bool GeneratorParams_GetFirstBarLengthCroppedbyGenerateLengthSTTarget(float& length) const;
    // The generate start lies inside a bar, after the bar's start.
    bool GeneratorParams_PickupBarExists() const;

    // Empty patterns that cover a range, for a script to fill; they make the
    // graph's result the whole sequence (the graph made the choice), so the
    // caller takes them as they are instead of drawing one. A pickup of
    // `pickupBeatLength` (none for 0) at the generate start, then
    // `patternCount` patterns of `lengthInBars` 4/4 bars from the first bar
    // line at or after it, then one of `lastPatternBeatLength` (none for 0).
    // The lengths are in the 4/4 authoring frame, the positions the song's;
    // each pattern belongs to the current pattern graph's layer. Returns an
    // empty text, or the failed condition (and leaves `mods` alone).
    std::string CreatePlaceholderPatternsFromParams(CGenPatternModAndProbs& mods, int patternCount, int lengthInBars,
        float pickupBeatLength, float lastPatternBeatLength) const;
    // The same over the generate range: the pickup up to the first bar line,
    // one pattern per whole bar, and the rest of a bar cut by the region's
    // end. With `markGraphMadeTheChoice` false the patterns are only made.
    std::string CreatePlaceholderPatternsFromGenerateRange(CGenPatternModAndProbs& mods, bool markGraphMadeTheChoice) const;

    // What the clave is doing at the generate position, for each clave
    // library; null without a context.
    const CGenNearestClavePatternInfos* NearestClavePatternInfos() const;

    // The running graph is the one over the merged events.
    bool InStyleGraphGlobalMerged() const;

    // The transformations of the current pattern graph, or, when it has none,
    // those set on the context; null without a context.
    const CGenSignTimeTrafos* SignTimeTrafosFromPatternGraphOrContext() const;
    // Appends copies of `trafos` for `layerBitmask` at the end of the
    // context's transformations; earlier ones stay and win on look-up.
    void SetSignTimeTrafosForLayerBitmask(CGenBitmask layerBitmask, const CGenSignTimeTrafos& trafos);
    // The same with a preset ("DrumsAccents", "DrumsSystems", "DrumsBrushes",
    // "Bass"); false and no change for any other name.
    bool SetSignTimeTrafosPresetForLayerBitmask(CGenBitmask layerBitmask, const std::string& presetName);

    // The events the global stage started from.
    const CGenEvs* GlobalOriginalEvs() const;
    // Those of them inside the generate range as one pattern that starts at
    // the generate start (positions in the song's metre); false without
    // params or a defined range.
    bool GlobalOriginalEvsInGenerateRangeAsPatterns(CGenPatternModAndProbs& mods) const;

    // Copies the entries of `in` whose pattern names match `regex` scaled by
    // `matchFactor`, the others by `nonMatchFactor`, dropping those that end
    // at or below 0: the rule of the name filter module.
    void FilterPatternsByName(CGenPatternModAndProbs& in, CGenPatternModAndProbs& out, const std::string& regex,
        double matchFactor, double nonMatchFactor) const;

    // A fill from `candidates` (copied with their trailing fields) appended
    // to `out`, see CGenCharCreateFill::CreateFill.
    CGenPatternModAndProbs::iterator CreateFill(const CGenPatternModAndProbs& candidates, CGenPatternModAndProbs& out,
        const TCreateFillParams& params, CGenPatternModAndProb* chosen) const;
};
