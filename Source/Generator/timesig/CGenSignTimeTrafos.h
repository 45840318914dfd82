#pragma once

#include "Generator/CGenBitmask.h"
#include "Generator/CGenEvs.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenEvsClave.h"
#include "Generator/timesig/CGenEvsSignTime.h"
#include "Generator/timesig/CGenSignTime.h"
#include "Generator/timesig/CGenSignTimeTrafoStep.h"

#include <cmath>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

// Which frame a position belongs to: the 4/4 frame the patterns are written
// in, or the song's own metre.
enum class TSTDefaultOrTarget : int {
    Default = 0,
    Target = 1,
};

// Whether TransformFromTo also transforms the length of the event list.
enum TTransformEvsLength : int {
    TTransformEvsLength_Transform = 0,
    TTransformEvsLength_Keep = 1,
};

// The layer index that stands for "events without layer" (a layer mask of 0).
inline constexpr unsigned long kGenLayerIx_NoLayer = ~0UL;

namespace zkgen {

// Shortest target bar a transformation walks by; a shorter (or undefined)
// bar length leaves the events as they are.
inline constexpr float kMinTrafoBarLength = TGenBeatPos_Unit;

// Bars one transformation walks at most: the source bars of the list and one
// more, and never more than this.
inline constexpr long kMaxTrafoBars = 1L << 20;

inline long TrafoBarLimit(float extent, float barLength)
{
    if (!(barLength > 0.0f) || GenIsUndef(extent) || !(extent > 0.0f))
        return 2;
    const double bars = std::ceil(double(extent) / double(barLength)) + 2.0;
    return bars > double(kMaxTrafoBars) ? kMaxTrafoBars : long(bars);
}

} // namespace zkgen

// Rewrites bars of one metre (source) into bars of another (target) by a
// short list of edit steps per bar. mLayerBitmask 0 means "for all layers".
class CGenSignTimeTrafo : public CGenTraceable<CGenSignTimeTrafo> {
public:
    static constexpr const char* kTraceClassName = "CGenSignTimeTrafo";

    CGenBitmask mLayerBitmask;
    CGenSignTime mSource;
    CGenSignTime mTarget;
    CGenSignTimeTrafoSteps mSteps;

    CGenSignTimeTrafo() = default;
    CGenSignTimeTrafo(const CGenSignTime& source, const CGenSignTime& target, CGenSignTimeTrafoSteps steps = {},
        CGenBitmask layerBitmask = kGenLayerBitmask_None)
        : mLayerBitmask(layerBitmask), mSource(source), mTarget(target), mSteps(std::move(steps))
    {
    }

    // The whole list, bar by bar: with an undefined source the steps run once
    // at 0; otherwise from p = 0, while the list length E lies beyond p, all
    // steps run with bar start p and p advances by the target bar length, so
    // each later bar is read where the earlier bars' edits moved it. With an
    // undefined E the bars up to the last event are walked and nothing is cut
    // off behind. Then events at or after a defined E are erased, and each
    // event's secondary offset (RuntimeTimeTrafoInvariantBeatPosOffset) is
    // added to its position.
    void Transform(CGenEvs& evs) const;
    void Transform(CGenEvsClave& evs) const { TransformEls(evs); }
    // Any positioned list with mLength (chords and the like).
    template <class TEls>
    void TransformEls(TEls& els) const;
    // The inverse, from target bars back to source bars.
    void InverseTransform(CGenEvsClave& evs) const { InverseTransformEls(evs); }
    template <class TEls>
    void InverseTransformEls(TEls& els) const;
    // Where a stretch of the source ends up, walking bars as for events with
    // the range's end as the length.
    void Transform(CGenRange<float>& range) const;
    void InverseTransform(CGenRange<float>& range) const;

    // All fields, steps by their type and values.
    bool operator==(const CGenSignTimeTrafo& o) const
    {
        return mLayerBitmask == o.mLayerBitmask && mSource == o.mSource && mTarget == o.mTarget && mSteps == o.mSteps;
    }

    // "CGenSignTimeTrafo: Source 4/4 -> Target 7/8: CGenSignTimeTrafoSteps: ..."
    void TraceStream(std::ostream& os) const;

private:
    template <class TEls, class TStepRun>
    void _WalkBars(TEls& els, float barLength, float sourceBarLength, TStepRun runSteps) const;
};

// The transformations of one pattern graph or of a context, in order.
class CGenSignTimeTrafos : public std::vector<CGenSignTimeTrafo>, public CGenTraceable<CGenSignTimeTrafos> {
public:
    static constexpr const char* kTraceClassName = "CGenSignTimeTrafos";
    using TBase = std::vector<CGenSignTimeTrafo>;

    CGenSignTimeTrafos() = default;
    // The stored presets for an instrument and a graph type: 4/4 into 3/4,
    // 5/4, 6/8, 7/8 and 12/8, each with layer mask 0. Empty for an undefined
    // graph type.
    CGenSignTimeTrafos(_TGenInstType instType, TPatternGraphType patternGraphType);

    // The instrument and graph type whose presets a preset name stands for:
    // "DrumsAccents", "DrumsSystems", "DrumsBrushes", "Bass". False for any
    // other name.
    static bool PresetTypesForName(const std::string& presetName, _TGenInstType& instType,
        TPatternGraphType& patternGraphType);
    // Appends the presets of a name with the given layer mask; false (and no
    // change) for an unknown name.
    bool AppendPresetForLayerBitmask(CGenBitmask layerBitmask, const std::string& presetName);
    // Appends copies of trafos with the given layer mask.
    void AppendForLayerBitmask(CGenBitmask layerBitmask, const CGenSignTimeTrafos& trafos);

    // Events. Undefined metres are replaced by defaultMetre. Equal metres only
    // fold the secondary offsets into the positions. Events with layer masks
    // are transformed per layer (lowest set bit; mask 0 as the no-layer
    // index) and merged back in CompareEv order. The list length is then
    // transformed, or kept, as transformEvsLength says; an undefined or zero
    // length is left.
    void TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenEvs& evs,
        TTransformEvsLength transformEvsLength, const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    void TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenRange<float>& range,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    // A position and a length: returns the new position, and the new length in `length`.
    float TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, float pos, float& length,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    void TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenEvsClave& evs,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    // Chords and any other positioned list with mLength.
    template <class TEls>
    void TransformElsFromTo(const CGenSignTime& source, const CGenSignTime& target, TEls& els,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const
    {
        FindTransformOrFallbackFromTo(source, target, defaultMetre).TransformEls(els);
    }
    void InverseTransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenRange<float>& range,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    void InverseTransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenEvsClave& evs,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    template <class TEls>
    void InverseTransformElsFromTo(const CGenSignTime& source, const CGenSignTime& target, TEls& els,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const
    {
        FindTransformOrFallbackFromTo(source, target, defaultMetre).InverseTransformEls(els);
    }

    // The first transformation with layer mask 0 whose source equals the
    // simplified source and whose target equals the simplified target; end().
    const_iterator FindTransformFromTo(const CGenSignTime& source, const CGenSignTime& target,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    // The same among those whose mask has bit layerIx set; kGenLayerIx_NoLayer
    // looks among those with mask 0.
    const_iterator FindTransformForLayerIxFromTo(unsigned long layerIx, const CGenSignTime& source,
        const CGenSignTime& target, const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    CGenSignTimeTrafo FindTransformOrFallbackFromTo(const CGenSignTime& source, const CGenSignTime& target,
        const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    CGenSignTimeTrafo FindTransformOrFallbackForLayerIxFromTo(unsigned long layerIx, const CGenSignTime& source,
        const CGenSignTime& target, const CGenSignTime& defaultMetre = CGenSignTime_Default44) const;
    // A transformation for any pair of metres: none for equal or undefined
    // metres; a shorter target cuts the rest of the bar; a longer one repeats
    // the bar's beginning at its end. A compound target (with parts) from 4/4
    // is built by CGenSTTrafoCalcFallback.
    static CGenSignTimeTrafo CreateFallbackTransformFromTo(unsigned long layerIx, const CGenSignTime& source,
        const CGenSignTime& target, const CGenSignTime& defaultMetre = CGenSignTime_Default44);

    // A position of the song's metre mapped back into the 4/4 frame of a
    // pattern that starts at patternPos: each bar of the map between the two
    // counts 4 beats, and the position in its bar goes back through the
    // inverse transformation into 4/4. patternPos maps onto itself. Undefined
    // for undefined positions or an empty map.
    float AbsPosFromSTTargetToSTDefault(const CGenEvsSignTime& evsSignTime, float pos, float patternPos) const;

    void _TransformWithLayerBitmaskFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenEvs& evs,
        const CGenSignTime& defaultMetre) const;
    void _TransformWithoutLayerBitmaskFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenEvs& evs,
        const CGenSignTime& defaultMetre) const;
    // The length E transformed as the range (0, E).
    float _TransformEvsLength(const CGenSignTime& source, const CGenSignTime& target, float length,
        const CGenSignTime& defaultMetre) const;

    void TraceStream(std::ostream& os) const;
};

std::ostream& operator<<(std::ostream& os, const CGenSignTimeTrafo& t);
std::ostream& operator<<(std::ostream& os, const CGenSignTimeTrafos& t);

template <class TEls, class TStepRun>
void CGenSignTimeTrafo::_WalkBars(TEls& els, float barLength, float sourceBarLength, TStepRun runSteps) const
{
    const float startExtent = GenIsDef(els.mLength) ? els.mLength
                                                    : (els.empty() ? 0.0f : GenElBeatPos(els.back()));
    const long limit = zkgen::TrafoBarLimit(startExtent, sourceBarLength);
    float p = 0.0f;
    for (long bar = 0; bar < limit; ++bar) {
        if (GenIsDef(els.mLength)) {
            if (!(els.mLength > p))
                break;
        } else if (els.empty() || !(GenElBeatPos(els.back()) >= p)) {
            break;
        }
        runSteps(p);
        p += barLength;
    }
}

template <class TEls>
void CGenSignTimeTrafo::TransformEls(TEls& els) const
{
    // The lists the steps know by type go through their virtual transforms.
    auto run = [&els](const CGenSignTimeTrafoStep_Base& step, float barStart) {
        if constexpr (std::is_same_v<TEls, CGenEvs> || std::is_same_v<TEls, CGenEvsClave>)
            step.Transform(els, barStart);
        else
            step.TransformEls(els, barStart);
    };
    if (mSource.IsUndef()) {
        for (const auto& step : mSteps)
            run(*step, 0.0f);
    } else {
        const float targetLength = mTarget.BarLength();
        if (GenIsUndef(targetLength) || !(targetLength >= zkgen::kMinTrafoBarLength))
            return;
        _WalkBars(els, targetLength, mSource.BarLength(), [&](float barStart) {
            for (const auto& step : mSteps)
                run(*step, barStart);
        });
    }
    if (GenIsDef(els.mLength))
        els.erase(zkgen::LowerBoundBeatPos(els, els.mLength), els.end());
}

template <class TEls>
void CGenSignTimeTrafo::InverseTransformEls(TEls& els) const
{
    auto run = [&els](const CGenSignTimeTrafoStep_Base& step, float barStart) {
        if constexpr (std::is_same_v<TEls, CGenEvsClave>)
            step.InverseTransform(els, barStart);
        else
            step.InverseTransformEls(els, barStart);
    };
    if (mSource.IsUndef()) {
        for (auto it = mSteps.rbegin(); it != mSteps.rend(); ++it)
            run(**it, 0.0f);
        return;
    }
    const float sourceLength = mSource.BarLength();
    if (GenIsUndef(sourceLength) || !(sourceLength >= zkgen::kMinTrafoBarLength))
        return;
    _WalkBars(els, sourceLength, mTarget.BarLength(), [&](float barStart) {
        for (auto it = mSteps.rbegin(); it != mSteps.rend(); ++it)
            run(**it, barStart);
    });
    if (GenIsDef(els.mLength))
        els.erase(zkgen::LowerBoundBeatPos(els, els.mLength), els.end());
}
