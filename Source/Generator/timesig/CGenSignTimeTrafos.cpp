#include "Generator/timesig/CGenSignTimeTrafos.h"

#include "Generator/timesig/CGenSTTrafoCalcFallback.h"

#include <map>

namespace {

const CGenSignTime& Replaced(const CGenSignTime& s, const CGenSignTime& defaultMetre)
{
    return s.IsUndef() ? defaultMetre : s;
}

CGenBitmask LayerBitmaskForLayerIx(unsigned long layerIx)
{
    CGenBitmask mask;
    if (layerIx != kGenLayerIx_NoLayer)
        mask.SetBit(static_cast<unsigned>(std::min(layerIx, 64UL)));
    return mask;
}

bool MatchesLayerIx(const CGenSignTimeTrafo& t, unsigned long layerIx)
{
    if (layerIx == kGenLayerIx_NoLayer)
        return t.mLayerBitmask.IsEmpty();
    return layerIx < 64 && t.mLayerBitmask.IsBitSet(static_cast<unsigned>(layerIx));
}

// Adds each event's secondary offset to its position, once.
void FoldSecondaryOffsets(CGenEvs& evs)
{
    for (CGenEv& ev : evs) {
        if (GenIsDef(ev.mRuntimeTimeTrafoInvariantBeatPosOffset)) {
            ev.mBeatPos = GenAddRegardingUndef(ev.mBeatPos, ev.mRuntimeTimeTrafoInvariantBeatPosOffset);
            ev.mRuntimeTimeTrafoInvariantBeatPosOffset = TGenBeatPosRel_Undef;
        }
    }
    if (!evs.IsSortedByCompareEv())
        evs.SortStable();
}

bool IsUntouchableRange(const CGenRange<float>& r)
{
    return r.mMin == 0.0f && r.mMax == 0.0f && !r.mMinEnabled && !r.mMaxEnabled;
}

} // namespace

// CGenSignTimeTrafo

void CGenSignTimeTrafo::Transform(CGenEvs& evs) const
{
    TransformEls(evs);
    FoldSecondaryOffsets(evs);
}

void CGenSignTimeTrafo::Transform(CGenRange<float>& range) const
{
    // Without steps nothing moves; the bar walk below would cost a step per
    // bar of the song for nothing.
    if (IsUntouchableRange(range) || mSteps.empty())
        return;
    if (mSource.IsUndef()) {
        for (const auto& step : mSteps)
            step->Transform(range, 0.0f);
        return;
    }
    const float targetLength = mTarget.BarLength();
    if (GenIsUndef(targetLength) || !(targetLength >= zkgen::kMinTrafoBarLength))
        return;
    const long limit = zkgen::TrafoBarLimit(range.mMax, mSource.BarLength());
    float p = 0.0f;
    for (long bar = 0; bar < limit && GenIsDef(range.mMax) && range.mMax > p; ++bar, p += targetLength)
        for (const auto& step : mSteps)
            step->Transform(range, p);
}

void CGenSignTimeTrafo::InverseTransform(CGenRange<float>& range) const
{
    if (IsUntouchableRange(range) || mSteps.empty())
        return;
    if (mSource.IsUndef()) {
        for (auto it = mSteps.rbegin(); it != mSteps.rend(); ++it)
            (*it)->InverseTransform(range, 0.0f);
        return;
    }
    const float sourceLength = mSource.BarLength();
    if (GenIsUndef(sourceLength) || !(sourceLength >= zkgen::kMinTrafoBarLength))
        return;
    const long limit = zkgen::TrafoBarLimit(range.mMax, mTarget.BarLength());
    float p = 0.0f;
    for (long bar = 0; bar < limit && GenIsDef(range.mMax) && range.mMax > p; ++bar, p += sourceLength)
        for (auto it = mSteps.rbegin(); it != mSteps.rend(); ++it)
            (*it)->InverseTransform(range, p);
}

void CGenSignTimeTrafo::TraceStream(std::ostream& os) const
{
    os << "CGenSignTimeTrafo: Source " << mSource << " -> Target " << mTarget << ": ";
    mSteps.TraceStream(os);
}

std::ostream& operator<<(std::ostream& os, const CGenSignTimeTrafo& t)
{
    t.TraceStream(os);
    return os;
}

// CGenSignTimeTrafos

CGenSignTimeTrafos::CGenSignTimeTrafos(_TGenInstType instType, TPatternGraphType patternGraphType)
{
    if (patternGraphType == TPatternGraphType_Undef)
        return;
    const bool systemLike = patternGraphType == TPatternGraphType_System || patternGraphType == TPatternGraphType_Percussion;
    const bool drums = instType == TGenInstType_Drums;
    auto add = [this](const CGenSignTime& target) -> CGenSignTimeTrafoSteps& {
        emplace_back(CGenSignTime_Default44, target);
        return back().mSteps;
    };
    using Erase = CGenSignTimeTrafoStep_Erase;
    using Silence = CGenSignTimeTrafoStep_InsertSilence;
    using Copy = CGenSignTimeTrafoStep_CopyInsert;

    add(CGenSignTime(3, 2)).Add<Erase>(2.0f, 1.0f);
    add(CGenSignTime(5, 2)).Add<Copy>(1.0f, 1.0f, 2.0f);

    CGenSignTimeTrafoSteps& s68 = add(CGenSignTime(6, 3));
    if (!drums) {
        s68.Add<Erase>(3.0f, 0.5f);
        s68.Add<Erase>(1.0f, 0.5f);
    } else if (!systemLike) {
        s68.Add<Erase>(2.0f, 2.0f);
        s68.Add<Silence>(1.25f, 0.5f);
        s68.Add<Silence>(0.25f, 0.5f);
    } else {
        s68.Add<Erase>(2.0f, 2.0f);
        s68.Add<Copy>(1.25f, 0.5f, 1.75f);
        s68.Add<Copy>(0.25f, 0.5f, 0.75f);
    }

    add(CGenSignTime(7, 3)).Add<Erase>(3.5f, 0.5f);

    CGenSignTimeTrafoSteps& s128 = add(CGenSignTime(12, 3));
    for (float quarter : {3.0f, 2.0f, 1.0f, 0.0f}) {
        if (systemLike)
            s128.Add<Copy>(quarter + 0.25f, 0.5f, quarter + 0.75f);
        else
            s128.Add<Silence>(quarter + 0.25f, 0.5f);
    }
}

bool CGenSignTimeTrafos::PresetTypesForName(const std::string& presetName, _TGenInstType& instType,
    TPatternGraphType& patternGraphType)
{
    struct TPreset {
        const char* mName;
        _TGenInstType mInstType;
        TPatternGraphType mGraphType;
    };
    static const TPreset kPresets[] = {
        {"DrumsAccents", TGenInstType_Drums, TPatternGraphType_AccentFamily},
        {"DrumsSystems", TGenInstType_Drums, TPatternGraphType_System},
        {"DrumsBrushes", TGenInstType_Bass, TPatternGraphType_AccentFamily},
        {"Bass", TGenInstType_Bass, TPatternGraphType_AccentFamily},
    };
    for (const TPreset& p : kPresets) {
        if (presetName == p.mName) {
            instType = p.mInstType;
            patternGraphType = p.mGraphType;
            return true;
        }
    }
    return false;
}

bool CGenSignTimeTrafos::AppendPresetForLayerBitmask(CGenBitmask layerBitmask, const std::string& presetName)
{
    _TGenInstType instType = TGenInstType_Undef;
    TPatternGraphType graphType = TPatternGraphType_Undef;
    if (!PresetTypesForName(presetName, instType, graphType))
        return false;
    AppendForLayerBitmask(layerBitmask, CGenSignTimeTrafos(instType, graphType));
    return true;
}

void CGenSignTimeTrafos::AppendForLayerBitmask(CGenBitmask layerBitmask, const CGenSignTimeTrafos& trafos)
{
    for (const CGenSignTimeTrafo& t : trafos) {
        push_back(t);
        back().mLayerBitmask = layerBitmask;
    }
}

CGenSignTimeTrafos::const_iterator CGenSignTimeTrafos::FindTransformForLayerIxFromTo(unsigned long layerIx,
    const CGenSignTime& source, const CGenSignTime& target, const CGenSignTime& defaultMetre) const
{
    const CGenSignTime src = Replaced(source, defaultMetre).Simplified();
    const CGenSignTime tgt = Replaced(target, defaultMetre).Simplified();
    for (auto it = begin(); it != end(); ++it)
        if (MatchesLayerIx(*it, layerIx) && it->mSource == src && it->mTarget == tgt)
            return it;
    return end();
}

CGenSignTimeTrafos::const_iterator CGenSignTimeTrafos::FindTransformFromTo(const CGenSignTime& source,
    const CGenSignTime& target, const CGenSignTime& defaultMetre) const
{
    return FindTransformForLayerIxFromTo(kGenLayerIx_NoLayer, source, target, defaultMetre);
}

CGenSignTimeTrafo CGenSignTimeTrafos::FindTransformOrFallbackForLayerIxFromTo(unsigned long layerIx,
    const CGenSignTime& source, const CGenSignTime& target, const CGenSignTime& defaultMetre) const
{
    auto it = FindTransformForLayerIxFromTo(layerIx, source, target, defaultMetre);
    if (it != end())
        return *it;
    return CreateFallbackTransformFromTo(layerIx, source, target, defaultMetre);
}

CGenSignTimeTrafo CGenSignTimeTrafos::FindTransformOrFallbackFromTo(const CGenSignTime& source,
    const CGenSignTime& target, const CGenSignTime& defaultMetre) const
{
    return FindTransformOrFallbackForLayerIxFromTo(kGenLayerIx_NoLayer, source, target, defaultMetre);
}

CGenSignTimeTrafo CGenSignTimeTrafos::CreateFallbackTransformFromTo(unsigned long layerIx, const CGenSignTime& source,
    const CGenSignTime& target, const CGenSignTime& defaultMetre)
{
    const CGenSignTime& src = Replaced(source, defaultMetre);
    const CGenSignTime& tgt = Replaced(target, defaultMetre);
    CGenSignTimeTrafo trafo(src, tgt, {}, LayerBitmaskForLayerIx(layerIx));
    if (src.IsUndef() || tgt.IsUndef() || src == tgt)
        return trafo;
    const float l1 = src.BarLength(), l2 = tgt.BarLength();
    if (!(l1 > 0.0f) || !(l2 > 0.0f) || l2 > zkgen::kMaxFallbackBarLength)
        return trafo;
    if (tgt.IsCompound() && src.Simplified() == CGenSignTime_Default44) {
        trafo.mSteps = CGenSTTrafoCalcFallback::CalcFallbackSTTrafoForSTTarget(tgt).mSteps;
        return trafo;
    }
    if (l2 <= l1) {
        trafo.mSteps.Add<CGenSignTimeTrafoStep_Erase>(l2, l1 - l2);
        return trafo;
    }
    // The source's compound parts give the places where a copied chunk may end.
    std::vector<float> partEnds;
    if (src.IsCompound()) {
        float end = 0.0f;
        for (uint8_t part : src.mCompoundNoms)
            partEnds.push_back(end += float(part) * src.DenomLength());
    }
    float rest = l2 - l1;
    float end = l1;
    for (int copies = 0; rest > 0.0f && copies < zkgen::kMaxFallbackCopies; ++copies) {
        float chunk = std::min(rest, l1);
        float aligned = 0.0f;
        for (float partEnd : partEnds)
            if (partEnd <= chunk)
                aligned = partEnd;
        if (aligned > 0.0f)
            chunk = aligned;
        trafo.mSteps.Add<CGenSignTimeTrafoStep_CopyInsert>(0.0f, chunk, end);
        end += chunk;
        rest -= chunk;
    }
    if (rest > 0.0f)
        trafo.mSteps.Add<CGenSignTimeTrafoStep_InsertSilence>(end, rest);
    return trafo;
}

void CGenSignTimeTrafos::TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenEvs& evs,
    TTransformEvsLength transformEvsLength, const CGenSignTime& defaultMetre) const
{
    const CGenSignTime& src = Replaced(source, defaultMetre);
    const CGenSignTime& tgt = Replaced(target, defaultMetre);
    if (src == tgt) {
        FoldSecondaryOffsets(evs);
        return;
    }
    const float oldLength = evs.mLength;
    if (evs.HasAtLeastOneEvWithLayerBitmask())
        _TransformWithLayerBitmaskFromTo(src, tgt, evs, defaultMetre);
    else
        _TransformWithoutLayerBitmaskFromTo(src, tgt, evs, defaultMetre);
    if (GenIsUndef(oldLength) || oldLength == 0.0f || transformEvsLength == TTransformEvsLength_Keep)
        evs.mLength = oldLength;
    else
        evs.mLength = _TransformEvsLength(src, tgt, oldLength, defaultMetre);
}

void CGenSignTimeTrafos::_TransformWithLayerBitmaskFromTo(const CGenSignTime& source, const CGenSignTime& target,
    CGenEvs& evs, const CGenSignTime& defaultMetre) const
{
    std::map<unsigned long, CGenEvs> byLayer;
    evs.SortIntoMapByLayerIx(byLayer);
    for (auto& [layerIx, layerEvs] : byLayer)
        FindTransformOrFallbackForLayerIxFromTo(layerIx, source, target, defaultMetre).Transform(layerEvs);
    // Each event is put in by binary search on CompareEv, exactly as
    // CGenEvs::InsertAtBeatPos would; the search runs on pointers so that the
    // insertions move pointers rather than events.
    std::vector<CGenEv*> order;
    for (auto& [layerIx, layerEvs] : byLayer) {
        for (CGenEv& ev : layerEvs) {
            size_t lo = 0, hi = order.size();
            while (lo < hi) {
                const size_t mid = lo + (hi - lo) / 2;
                if (CompareEv(*order[mid], ev) == 1)
                    lo = mid + 1;
                else
                    hi = mid;
            }
            order.insert(order.begin() + static_cast<ptrdiff_t>(lo), &ev);
        }
    }
    evs.clear();
    evs.reserve(order.size());
    for (CGenEv* ev : order)
        evs.push_back(std::move(*ev));
}

void CGenSignTimeTrafos::_TransformWithoutLayerBitmaskFromTo(const CGenSignTime& source, const CGenSignTime& target,
    CGenEvs& evs, const CGenSignTime& defaultMetre) const
{
    FindTransformOrFallbackFromTo(source, target, defaultMetre).Transform(evs);
}

float CGenSignTimeTrafos::_TransformEvsLength(const CGenSignTime& source, const CGenSignTime& target, float length,
    const CGenSignTime& defaultMetre) const
{
    CGenRange<float> range(0.0f, length, true, true);
    FindTransformOrFallbackFromTo(source, target, defaultMetre).Transform(range);
    return range.mMax;
}

void CGenSignTimeTrafos::TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenRange<float>& range,
    const CGenSignTime& defaultMetre) const
{
    FindTransformOrFallbackFromTo(source, target, defaultMetre).Transform(range);
}

float CGenSignTimeTrafos::TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, float pos,
    float& length, const CGenSignTime& defaultMetre) const
{
    if (GenIsUndef(pos))
        return TGenBeatPos_Undef;
    CGenRange<float> range(pos, GenIsUndef(length) ? pos : pos + length, true, true);
    TransformFromTo(source, target, range, defaultMetre);
    if (GenIsDef(length))
        length = range.mMax - range.mMin;
    return range.mMin;
}

void CGenSignTimeTrafos::TransformFromTo(const CGenSignTime& source, const CGenSignTime& target, CGenEvsClave& evs,
    const CGenSignTime& defaultMetre) const
{
    FindTransformOrFallbackFromTo(source, target, defaultMetre).Transform(evs);
}

void CGenSignTimeTrafos::InverseTransformFromTo(const CGenSignTime& source, const CGenSignTime& target,
    CGenRange<float>& range, const CGenSignTime& defaultMetre) const
{
    FindTransformOrFallbackFromTo(source, target, defaultMetre).InverseTransform(range);
}

void CGenSignTimeTrafos::InverseTransformFromTo(const CGenSignTime& source, const CGenSignTime& target,
    CGenEvsClave& evs, const CGenSignTime& defaultMetre) const
{
    FindTransformOrFallbackFromTo(source, target, defaultMetre).InverseTransform(evs);
}

float CGenSignTimeTrafos::AbsPosFromSTTargetToSTDefault(const CGenEvsSignTime& evsSignTime, float pos,
    float patternPos) const
{
    if (GenIsUndef(pos) || GenIsUndef(patternPos) || evsSignTime.empty())
        return TGenBeatPos_Undef;
    int barPos = TGenBarNr_Undef, barPattern = TGenBarNr_Undef;
    float inBarPos = TGenBeatLength_Undef, inBarPattern = TGenBeatLength_Undef;
    evsSignTime.BeatPosToInternBarNrAndLengthInBar(pos, &barPos, &inBarPos);
    evsSignTime.BeatPosToInternBarNrAndLengthInBar(patternPos, &barPattern, &inBarPattern);
    if (barPos == TGenBarNr_Undef || barPattern == TGenBarNr_Undef || GenIsUndef(inBarPos) || GenIsUndef(inBarPattern))
        return TGenBeatPos_Undef;
    auto inDefault = [&](float at, float inBar) {
        const CGenSignTime& metre = evsSignTime.FindSignTimeAtOrBeforeExtendingFirstToLeft(at)->mSignTime;
        CGenRange<float> r(inBar, inBar, true, true);
        InverseTransformFromTo(CGenSignTime_Default44, metre, r);
        return r.mMin;
    };
    const float bars = float(int64_t(barPos) - int64_t(barPattern));
    return patternPos + 4.0f * bars + inDefault(pos, inBarPos) - inDefault(patternPos, inBarPattern);
}

void CGenSignTimeTrafos::TraceStream(std::ostream& os) const
{
    os << "CGenSignTimeTrafos size " << size();
    for (const CGenSignTimeTrafo& t : *this)
        os << "\n  " << t << " (LayerBitmask " << t.mLayerBitmask << ")";
}

std::ostream& operator<<(std::ostream& os, const CGenSignTimeTrafos& t)
{
    t.TraceStream(os);
    return os;
}
