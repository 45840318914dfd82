// Pattern choice through super-patterns: a phrase per song section, repeated
// with variations, instead of a free walk from bar to bar.
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenNearestClavePatternInfo.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/patterns/CGenSuperPattern.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenStyleGraphRun.h"

#include <algorithm>

namespace {

// A phrase length drawn at random: r % 3 picks one of these bar counts.
constexpr int kRandomBarCounts[3] = {1, 2, 4};
// A phrase never gets shorter than this many beats.
constexpr float kMinSuperLength = 0.25f;
// Growth of the covered length for a repeated pattern without a length.
constexpr float kRepeatLengthWithoutLength = 2.0f;

float BarLengthOr4(const CGenEvsSignTime& signs, float pos)
{
    const float length = signs.BarBeatLengthAt(pos);
    return GenIsDef(length) ? length : 4.0f;
}

// A length that counts: undefined and negative ones count nothing.
float CountedLength(float length) { return length > 0.0f ? length : 0.0f; }

const CGenArrangeMarkersInt& MarkersForType(const CGenGeneratorParams& params, TPatternGraphType type)
{
    switch (type) {
    case TPatternGraphType_System:
    case TPatternGraphType_Percussion: return params.mArrangeMarkersIntSy;
    case TPatternGraphType_Fill: return params.mArrangeMarkersIntFill;
    default: return params.mArrangeMarkersIntAc;
    }
}

} // namespace

void CGenPatternGraphBoost::Generate_PatternSeqUsingSuperPattern(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
    float /*startPos*/, float endPos, CGenPatternModAndProbs* list) const
{
    if (!list)
        return;
    int bars = 0;
    if (params.mSuperPatterns_LengthStrategy == 1)
        bars = std::max(0, params.mSuperPattern_FixedBarLength);
    else
        bars = kRandomBarCounts[mRandom.Next() % 3u];

    const CGenArrangeMarkersInt& markers = MarkersForType(params, mType);
    const float leftBar = params.mGenerateStartLeftBarPosAbs;
    if (GenIsUndef(endPos) || GenIsUndef(leftBar))
        return;
    for (size_t i = 0; i < markers.size(); ++i) {
        const float markerAbs = markers[i].mBeatPos;
        // Marker positions are the song's; the walk compares them in the
        // frame of the region, relative to its left bar.
        const float markerPos = GenSubRegardingUndef(markerAbs, leftBar);
        if (GenIsUndef(markerPos) || !(markerPos < endPos))
            return;
        // A section that ends before the region starts has nothing to play
        // in it (a host hands every region the song's whole marker list).
        if (i + 1 < markers.size()) {
            const float nextPos = GenSubRegardingUndef(markers[i + 1].mBeatPos, leftBar);
            if (GenIsDef(nextPos) && nextPos <= 0.0f)
                continue;
        }
        float superLength = BarLengthOr4(params.mEvsSignTime, markerAbs) * static_cast<float>(bars);
        if (markerPos + superLength > endPos)
            superLength = endPos - markerPos;
        if (!(superLength > 0.0f))
            return;
        Generate_PatternSeqAddPatternsForArrangeMarkerUsingSuperPattern(params, drumMap, instType, style, gfContext,
            markers, i, superLength, endPos - markerPos, list);
    }
}

void CGenPatternGraphBoost::Generate_PatternSeqAddPatternsForArrangeMarkerUsingSuperPattern(
    const CGenGeneratorParams& params, const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style,
    const CGenGFContext& gfContext, const CGenArrangeMarkersInt& markers, size_t markerIx, float superLength,
    float length, CGenPatternModAndProbs* list) const
{
    if (!list || markerIx >= markers.size())
        return;
    const float baseLength = std::max(kMinSuperLength, superLength);
    const float sectionLength = markers.LengthOfMarker(markers.begin() + static_cast<std::ptrdiff_t>(markerIx));
    const float markerAbs = markers[markerIx].mBeatPos;
    const float pos = GenSubRegardingUndef(markerAbs, params.mGenerateStartLeftBarPosAbs);
    if (GenIsUndef(pos))
        return;

    CGenSuperPattern base;
    Generate_StyleSuperPattern(params, drumMap, instType, style, gfContext, pos, baseLength, &base);

    CGenSuperPatterns variations;
    switch (params.mSuperPatterns_Variation) {
    case 1:
    case 2:
        if (!base.empty())
            _SuperPatternFindVariationsAtIx(params, drumMap, instType, style, gfContext, pos, &base, base.size() - 1,
                &variations);
        break;
    case 3:
        _SuperPatternFindVariationsAtOddIxs(params, drumMap, instType, style, gfContext, pos, &base, &variations);
        break;
    case 4:
        for (size_t ix = 0; ix < base.size(); ++ix)
            _SuperPatternFindVariationsAtIx(params, drumMap, instType, style, gfContext, pos, &base, ix, &variations);
        break;
    case 5:
        _SuperPatternFindVariationsAtAllIxs(params, drumMap, instType, style, gfContext, pos, &base, &variations);
        break;
    default: break;
    }

    float remaining = GenIsDef(sectionLength) ? std::min(sectionLength, length) : length;
    // The phrases follow each other from the marker on; see the header.
    float cursorAbs = markerAbs;
    while (remaining > 0.0f) {
        const float chunk = std::min(remaining, superLength);
        const CGenSuperPattern* chosen = &base;
        if (!variations.empty())
            chosen = &variations[mRandom.Next() % static_cast<uint32_t>(variations.size())];
        const size_t before = list->size();
        _SuperPatternAddToPatternSeq(chosen, chunk, list);
        for (size_t k = before; k < list->size(); ++k) {
            CGenPatternModAndProb& el = (*list)[k];
            el.mBeatPosAbs = cursorAbs;
            cursorAbs += CountedLength(el.Length());
        }
        remaining -= chunk;
    }
}

void CGenPatternGraphBoost::Generate_StyleSuperPattern(const CGenGeneratorParams& params, const CGenDrumMap* drumMap,
    _TGenInstType /*instType*/, const CGenStyle* style, const CGenGFContext& gfContext, float pos, float length,
    CGenSuperPattern* superPattern) const
{
    if (!superPattern)
        return;
    const float leftBar = params.mGenerateStartLeftBarPosAbs;
    // Variation 1 plays one pattern over all but the last bar: the loop only
    // has to find that one.
    const bool repeatFirst = params.mSuperPatterns_Variation == 1;
    const float barLength = BarLengthOr4(params.mEvsSignTime, GenAddRegardingUndef(leftBar, pos));
    const float runLength = repeatFirst ? barLength : length;

    CGenPatternModAndProbs local;
    _Generate_PatternSeqPlain(params, drumMap, style, gfContext, pos, pos + runLength, local);

    if (repeatFirst && !local.empty()) {
        float covered = 0.0f;
        for (const CGenPatternModAndProb& el : local)
            covered += el.Length() > 0.0f ? el.Length() : kRepeatLengthWithoutLength;
        const CGenPatternModAndProb first = local.front();
        const float firstLength = first.Length() > 0.0f ? first.Length() : kRepeatLengthWithoutLength;
        while (length - barLength >= covered) {
            local.push_back(first);
            covered += firstLength;
        }
    }

    ConvertToPatternIxs(local, superPattern->mPatternIxs, local.size());
    for (int32_t& ix : superPattern->mPatternIxs)
        if (ix >= 0 && static_cast<size_t>(ix) >= PatternCount())
            ix = -1;
    superPattern->CalcCoord(this);
}

void CGenPatternGraphBoost::_SuperPatternFindVariationsByVaryingOnePattern(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, _TGenInstType /*instType*/, const CGenStyle* style, const CGenGFContext& gfContext,
    float pos, const CGenSuperPattern* superPattern, size_t ix, CGenSuperPatterns* out) const
{
    CGenContext* context = gfContext.genContext();
    if (!context || !out || !superPattern || superPattern->empty())
        return;
    const CGenPatternIxs& phrase = superPattern->mPatternIxs;
    ix = std::min(ix, phrase.size() - 1);
    const CGenPatternIxs history(phrase.begin(), phrase.begin() + static_cast<std::ptrdiff_t>(ix));
    const int32_t last = phrase.back();
    const size_t current = last >= 0 && static_cast<size_t>(last) < PatternCount() ? static_cast<size_t>(last)
                                                                                  : PatternCount();

    // The candidates are judged at the varied element's own place, so that
    // modules and scripts that ask for the bar (a crash only on a phrase's
    // first bar) see the bar the variation will play in.
    float ixPos = pos;
    for (size_t i = 0; i < ix && GenIsDef(ixPos); ++i)
        if (phrase[i] >= 0 && static_cast<size_t>(phrase[i]) < PatternCount())
            ixPos += PatternAtIx(static_cast<size_t>(phrase[i])).Length();

    // The layer's style graph judges the candidates, as in any decision.
    CGenStyleGraphRun run(*context, style, mType);
    CGenNearestClavePatternInfos infos;
    infos.GatherInfosAtPos(&params, mWeakClaveLibs, ixPos);
    CGenPatternModAndProbs candidates;
    float closeness = 1.0f;
    _CreatePatternModAndProbsWithRelaxingObeyHistForCurrentPattern(params, drumMap, &run, gfContext, current, history,
        ixPos, candidates, closeness, infos);

    // Only a pattern of the same length keeps the phrase's timing.
    const int32_t replaced = phrase[ix];
    const float wantedLength = PatternAtIx(replaced < 0 ? PatternCount() : static_cast<size_t>(replaced)).Length();
    for (const CGenPatternModAndProb& candidate : candidates) {
        if (candidate.Length() != wantedLength)
            continue;
        CGenSuperPattern variation(*superPattern);
        variation.mPatternIxs[ix] =
            candidate.mItPattern < PatternCount() ? static_cast<int32_t>(candidate.mItPattern) : -1;
        variation.CalcCoord(this);
        out->push_back(std::move(variation));
    }
}

void CGenPatternGraphBoost::_SuperPatternFindVariationsAtIxs(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
    float pos, const CGenSuperPattern* superPattern, const std::vector<size_t>& ixs, CGenSuperPatterns* out) const
{
    for (size_t ix : ixs)
        _SuperPatternFindVariationsByVaryingOnePattern(params, drumMap, instType, style, gfContext, pos, superPattern,
            ix, out);
}

void CGenPatternGraphBoost::_SuperPatternFindVariationsAtIx(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
    float pos, const CGenSuperPattern* superPattern, size_t ix, CGenSuperPatterns* out) const
{
    _SuperPatternFindVariationsAtIxs(params, drumMap, instType, style, gfContext, pos, superPattern, {ix}, out);
}

void CGenPatternGraphBoost::_SuperPatternFindVariationsAtOddIxs(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
    float pos, const CGenSuperPattern* superPattern, CGenSuperPatterns* out) const
{
    std::vector<size_t> ixs;
    for (size_t ix = 1; superPattern && ix < superPattern->size(); ix += 2)
        ixs.push_back(ix);
    _SuperPatternFindVariationsAtIxs(params, drumMap, instType, style, gfContext, pos, superPattern, ixs, out);
}

void CGenPatternGraphBoost::_SuperPatternFindVariationsAtAllIxs(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
    float pos, const CGenSuperPattern* superPattern, CGenSuperPatterns* out) const
{
    std::vector<size_t> ixs;
    for (size_t ix = 0; superPattern && ix < superPattern->size(); ++ix)
        ixs.push_back(ix);
    _SuperPatternFindVariationsAtIxs(params, drumMap, instType, style, gfContext, pos, superPattern, ixs, out);
}

void CGenPatternGraphBoost::_SuperPatternFindVariationsAtLastIx(const CGenGeneratorParams& params,
    const CGenDrumMap* drumMap, _TGenInstType instType, const CGenStyle* style, const CGenGFContext& gfContext,
    float pos, const CGenSuperPattern* superPattern, CGenSuperPatterns* out) const
{
    if (!superPattern || superPattern->empty())
        return;
    _SuperPatternFindVariationsAtIxs(params, drumMap, instType, style, gfContext, pos, superPattern,
        {superPattern->size() - 1}, out);
}

void CGenPatternGraphBoost::_SuperPatternAddToPatternSeq(const CGenSuperPattern* superPattern, float length,
    CGenPatternModAndProbs* list) const
{
    if (!superPattern || !list || !(length > 0.0f))
        return;
    auto* self = const_cast<CGenPatternGraphBoost*>(this);
    for (int32_t ix : superPattern->mPatternIxs) {
        const bool valid = ix >= 0 && static_cast<size_t>(ix) < PatternCount();
        if (valid) {
            list->emplace_back(self, static_cast<uint64_t>(ix), TGenBeatPos_Undef, TGenBeatPos_Undef);
            length -= CountedLength(PatternAtIx(static_cast<size_t>(ix)).Length());
        } else {
            // Such a step has no pattern: it counts what the shared empty
            // pattern counts, which is nothing.
            length -= CountedLength(PatternAtIx(PatternCount()).Length());
        }
        if (!(length > 0.0f))
            return;
    }
}
