#include "Generator/timesig/CGenSTTrafoCalcFallback.h"

#include <algorithm>
#include <cmath>
#include <numeric>

std::vector<int> CGenSTTrafoCalcFallback::_RecursivelySplitNomInto321(int nom)
{
    if (nom <= 0)
        return {};
    if (nom <= 3)
        return {nom};
    std::vector<int> parts;
    auto append = [&parts](int n) {
        const std::vector<int> sub = _RecursivelySplitNomInto321(n);
        parts.insert(parts.end(), sub.begin(), sub.end());
    };
    if (nom % 2 == 0) {
        append(nom / 2);
        append(nom / 2);
    } else if (nom % 3 == 0) {
        append(nom / 3);
        append(nom / 3);
        append(nom / 3);
    } else {
        append(nom / 2);
        append(nom - nom / 2);
    }
    return parts;
}

std::vector<float> CGenSTTrafoCalcFallback::_CombineNomsIntoQuarterOrDottedQuarterSegments(const std::vector<int>& noms,
    float denomLength)
{
    std::vector<float> segments;
    float current = 0.0f;
    for (int n : noms) {
        current += float(n) * denomLength;
        if (current >= 1.0f) {
            segments.push_back(current);
            current = 0.0f;
        }
    }
    if (current > 0.0f)
        segments.push_back(current);
    return segments;
}

std::vector<float> CGenSTTrafoCalcFallback::_SplitNomsIntoQuarterSegments(const std::vector<int>& noms, float denomLength)
{
    std::vector<float> segments;
    for (int n : noms) {
        float rest = float(n) * denomLength;
        while (rest >= 1.0f) {
            segments.push_back(1.0f);
            rest -= 1.0f;
        }
        if (rest > 0.0f)
            segments.push_back(rest);
    }
    return segments;
}

CGenSignTimeTrafoSteps CGenSTTrafoCalcFallback::_CreateSTTrafoByMatchingSegmentsToSTDefault44(
    const std::vector<float>& segments)
{
    CGenSignTimeTrafoSteps steps;
    const size_t k = segments.size();
    const size_t m = std::min<size_t>(k, 4);
    if (m < 4)
        steps.Add<CGenSignTimeTrafoStep_Erase>(float(m), 4.0f - float(m));
    for (size_t i = m; i-- > 0;) {
        const float t = segments[i];
        const float quarter = float(i);
        if (t < 1.0f) {
            steps.Add<CGenSignTimeTrafoStep_Erase>(quarter + t, 1.0f - t);
        } else if (t > 1.0f) {
            const float extra = std::min(t - 1.0f, 0.75f);
            steps.Add<CGenSignTimeTrafoStep_CopyInsert>(quarter + 0.75f - extra, extra, quarter + 0.75f);
            if (t - 1.0f > extra)
                steps.Add<CGenSignTimeTrafoStep_InsertSilence>(quarter + 0.75f + extra, t - 1.0f - extra);
        }
    }
    // Segments beyond the fourth, appended at the end of the bar built so far.
    for (size_t i = 4; i < k; ++i) {
        const size_t src = i % 4;
        const float srcStart = std::accumulate(segments.begin(), segments.begin() + long(src), 0.0f);
        const float end = std::accumulate(segments.begin(), segments.begin() + long(i), 0.0f);
        const float copyLength = std::min(segments[i], segments[src]);
        steps.Add<CGenSignTimeTrafoStep_CopyInsert>(srcStart, copyLength, end);
        if (segments[i] > copyLength)
            steps.Add<CGenSignTimeTrafoStep_InsertSilence>(end + copyLength, segments[i] - copyLength);
    }
    return steps;
}

CGenSignTimeTrafo CGenSTTrafoCalcFallback::CalcFallbackSTTrafoForSTTarget(const CGenSignTime& target)
{
    CGenSignTimeTrafo trafo(CGenSignTime_Default44, target);
    const CGenSignTime simple = target.Simplified();
    const float length = simple.BarLength();
    const float denom = simple.DenomLength();
    if (simple.IsUndef() || !(length > 0.0f) || length > zkgen::kMaxFallbackBarLength || !(denom > 0.0f))
        return trafo;

    std::vector<int> groups;
    if (simple.IsCompound()) {
        for (uint8_t part : simple.mCompoundNoms) {
            const std::vector<int> sub = _RecursivelySplitNomInto321(part);
            groups.insert(groups.end(), sub.begin(), sub.end());
        }
    } else {
        groups = _RecursivelySplitNomInto321(simple.mNom);
    }
    const std::vector<float> segments = simple.mDenom >= 3 ? _CombineNomsIntoQuarterOrDottedQuarterSegments(groups, denom)
                                                           : _SplitNomsIntoQuarterSegments(groups, denom);
    trafo.mSteps = _CreateSTTrafoByMatchingSegmentsToSTDefault44(segments);
    return trafo;
}
