#include "Generator/clave/CGenAvrgClave.h"

#include "Generator/clave/CGenAvrgClaveMatrix.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace {

// Upper bound of bars of one analysis; a longer range is cut there, so that a
// broken signature map can't make the matrix explode.
constexpr size_t kMaxBars = 1u << 14;

bool IsUndefOrZero(float v)
{
    return GenIsUndef(v) || v == 0.0f;
}

// Weighted velocity statistics of the events of one bar.
struct TBarVelStats {
    float mAvrg = 0.0f;
    float mMax = 0.0f;
    float mStdDev = 0.0f;
    int mCount = 0;
};

float WeightedVel(const CGenEvClave& ev, float barStart, const CGenAvrgClave::TSimilarBarssParams& p)
{
    const float w = CGenAvrgClave::WeightNear(p.mVelGridMatch_BeatPosAndWeightsAvrgVel, ev.mBeatPos - barStart,
        p.mVelGridMatch_MatchWithin, 1.0f);
    return float(ClaveWeightToVelocity(ev.mWeight)) * w;
}

TBarVelStats BarVelStats(const CGenEvsClave& evs, float start, float length, const CGenAvrgClave::TSimilarBarssParams& p)
{
    TBarVelStats s;
    const float end = start + length;
    double sum = 0.0;
    for (auto it = evs.EvAtOrAfter(start); it != evs.end() && it->mBeatPos < end; ++it) {
        const float v = WeightedVel(*it, start, p);
        sum += v;
        s.mMax = s.mCount == 0 ? v : std::max(s.mMax, v);
        ++s.mCount;
    }
    if (s.mCount == 0)
        return s;
    s.mAvrg = float(sum / s.mCount);
    double sq = 0.0;
    for (auto it = evs.EvAtOrAfter(start); it != evs.end() && it->mBeatPos < end; ++it) {
        const double d = double(WeightedVel(*it, start, p)) - s.mAvrg;
        sq += d * d;
    }
    s.mStdDev = float(std::sqrt(sq / s.mCount));
    return s;
}

// The level of the event present at grid point g (absolute) of a bar.
float LevelAt(const CGenEvsClave& evs, float g, float barStart, const TBarVelStats& s,
    const CGenAvrgClave::TSimilarBarssParams& p)
{
    const auto it = evs.EvAtOrAfter(std::max(g - p.mVelGridMatch_MatchWithin, 0.0f));
    if (it == evs.end())
        return 0.0f;
    return CGenAvrgClave::VelLevel(WeightedVel(*it, barStart, p), s.mAvrg, s.mMax);
}

// The smallest weight whose velocity reaches vel, so that the events made at
// chord changes sound at the asked velocity.
int8_t WeightForVelocity(int vel)
{
    for (int w = -127; w <= 127; ++w)
        if (ClaveWeightToVelocity(w) >= vel)
            return static_cast<int8_t>(w);
    return 127;
}

} // namespace

std::vector<zkgen::TAvrgClaveBeatPosAndWeight> zkgen::AvrgClaveDefaultGridWeights()
{
    std::vector<TAvrgClaveBeatPosAndWeight> out;
    for (int k = 0; k < 32; ++k)
        out.push_back({0.25f * float(k), 1.0f});
    return out;
}

// ----- bars

void TClusterableBars::FillFromRange(const CGenEvsSignTime& signTime, float start, float end)
{
    clear();
    if (GenIsUndef(start) || GenIsUndef(end) || !(start < end))
        return;
    float pos = signTime.FindBarStartPos(start, 4);
    while (GenIsDef(pos) && pos < end && size() < kMaxBars) {
        const float next = signTime.FindBarStartPos(pos, 1);
        if (GenIsUndef(next) || !(next > pos))
            break;
        push_back({signTime.BeatPosToInternBarNr(pos), pos, next - pos});
        pos = next;
    }
}

// ----- parameters

std::string CGenAvrgClave::TSimilarBarssParams::PositiveValuesCheck() const
{
    if (!(mVelGridMatch_MatchGridLength > 0.0f))
        return "VelGridMatch_MatchGridLength must be > 0";
    if (!(mVelGridMatch_MatchWithin > 0.0f))
        return "VelGridMatch_MatchWithin must be > 0";
    return {};
}

bool CGenAvrgClave::TSimilarBarssParams::ParamsAreSane() const
{
    return PositiveValuesCheck().empty()
        && (mCreateClaveInRange == TCreateClaveInRange_WholeSong
            || mCreateClaveInRange == TCreateClaveInRange_GenerateRegion)
        && (mStrategy == TStrategy_SimilarToFirstBar || mStrategy == TStrategy_SimilarityMatrix)
        && mEvClaveOnChordChangeVelocity >= 0 && mEvClaveOnChordChangeVelocity <= 127;
}

void CGenAvrgClave::TSimilarBarssParams::TraceStream(std::ostream& os) const
{
    auto list = [&os](const char* name, const TBeatPosAndWeights& l) {
        os << ", " << name << " {";
        for (size_t i = 0; i < l.size(); ++i)
            os << (i ? ", " : "") << l[i].mBeatPos << ":" << l[i].mWeight;
        os << "}";
    };
    os << "TSimilarBarssParams: Strategy " << mStrategy << ", Linkage " << mLinkage << ", EvClaveOnChordChangeVelocity "
       << mEvClaveOnChordChangeVelocity << ", CreateClaveInRange " << int(mCreateClaveInRange)
       << ", SimilarToFirstBar_SimilarIsAboveThresh " << mSimilarToFirstBar_SimilarIsAboveThresh
       << ", SimilarityMatrix_SimilarIsAboveThresh " << mSimilarityMatrix_SimilarIsAboveThresh
       << ", MatchWeightForVelGridMatch " << mMatchWeightForVelGridMatch << ", MatchWeightForAvrgVelDiff "
       << mMatchWeightForAvrgVelDiff << ", MatchWeightForStdDevRatio " << mMatchWeightForStdDevRatio
       << ", VelGridMatch_MatchGridLength " << mVelGridMatch_MatchGridLength << ", VelGridMatch_MatchWithin "
       << mVelGridMatch_MatchWithin;
    list("AvrgVel", mVelGridMatch_BeatPosAndWeightsAvrgVel);
    list("IfEvAbsentInBoth", mVelGridMatch_BeatPosAndWeightsIfEvAbsentInBoth);
    list("IfEvPresentInOnlyOne", mVelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne);
    list("IfEvPresentInBoth", mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth);
}

// ----- the match of two bars

float CGenAvrgClave::WeightNear(const TBeatPosAndWeights& list, float relPos, float tolerance, float none)
{
    float best = none, bestDist = 0.0f;
    bool found = false;
    for (const TBeatPosAndWeight& e : list) {
        const float d = std::fabs(e.mBeatPos - relPos);
        if (d <= tolerance && (!found || d < bestDist)) {
            best = e.mWeight, bestDist = d, found = true;
        }
    }
    return best;
}

bool CGenAvrgClave::WeightAt(const TBeatPosAndWeights& list, float pos, float& weight)
{
    for (const TBeatPosAndWeight& e : list)
        if (e.mBeatPos == pos) {
            weight = e.mWeight;
            return true;
        }
    return false;
}

float CGenAvrgClave::VelLevel(float v, float a, float m)
{
    if (m == a) {
        const long ia = std::lround(std::trunc(a));
        if (ia == 0)
            return v != 0.0f ? 1.0f : 0.0f;
        return float(long(std::trunc(v)) / ia);
    }
    if (v <= a)
        return a == 0.0f ? 0.5f : v / a * 0.5f;
    // 255 is the undefined velocity: no scale to place v on, count it as loudest.
    if (!(m < 255.0f))
        return 1.0f;
    return (v - a) / (m - a) * 0.5f + 0.5f;
}

float CGenAvrgClave::VelGridMatch(const CGenEvsClave& a, float posA, const CGenEvsClave& b, float posB, float length,
    const TSimilarBarssParams& p, float abortThreshold, float* avrgA, float* avrgB)
{
    if (avrgA)
        *avrgA = 0.0f;
    if (avrgB)
        *avrgB = 0.0f;
    const float tol = p.mVelGridMatch_MatchWithin;
    if (p.mVelGridMatch_MatchGridLength < 0.0f || !(tol > 0.0f) || GenIsUndef(length) || !(length > 0.0f)
        || GenIsUndef(posA) || GenIsUndef(posB))
        return 0.0f;
    const bool aEmpty = !(a.mLength > 0.0f), bEmpty = !(b.mLength > 0.0f);
    if (aEmpty || bEmpty)
        return aEmpty && bEmpty ? 1.0f : 0.0f;
    const float step = p.mVelGridMatch_MatchGridLength == 0.0f ? 1.0f : p.mVelGridMatch_MatchGridLength;
    const TBarVelStats sA = BarVelStats(a, posA, length, p), sB = BarVelStats(b, posB, length, p);
    if (avrgA)
        *avrgA = sA.mAvrg;
    if (avrgB)
        *avrgB = sB.mAvrg;
    double sum = 0.0;
    long steps = 0;
    for (long k = 0; k < zkgen::kMaxGridMatchSteps; ++k) {
        const float g = step * float(k);
        if (!(g < length))
            break;
        const float gA = posA + g, gB = posB + g;
        const bool presentA = zkgen::GridPointHit(a, gA, tol), presentB = zkgen::GridPointHit(b, gB, tol);
        const TBeatPosAndWeights& list = presentA && presentB ? p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInBoth
            : presentA || presentB                            ? p.mVelGridMatch_BeatPosAndWeightsIfEvPresentInOnlyOne
                                                              : p.mVelGridMatch_BeatPosAndWeightsIfEvAbsentInBoth;
        float w = 0.0f, cost = 0.0f;
        if (WeightAt(list, g, w)) {
            if (presentA || presentB) {
                const float levelA = presentA ? LevelAt(a, gA, posA, sA, p) : 0.0f;
                const float levelB = presentB ? LevelAt(b, gB, posB, sB, p) : 0.0f;
                cost = std::fabs(levelA - levelB) * w;
            } else {
                cost = 1.0f - w;
            }
        }
        sum += std::clamp(1.0f - cost, 0.0f, 1.0f);
        ++steps;
        if (GenIsDef(abortThreshold) && float(sum / steps) < abortThreshold)
            return float(sum / steps);
    }
    return steps == 0 ? 0.0f : float(sum / steps);
}

float CGenAvrgClave::BarMatch(const CGenEvsClave& a, float posA, float lengthA, const CGenEvsClave& b, float posB,
    float lengthB, const TSimilarBarssParams& p)
{
    if (lengthA != lengthB)
        return 0.0f;
    float avrgA = 0.0f, avrgB = 0.0f;
    const float grid = VelGridMatch(a, posA, b, posB, lengthA, p, TPercent_Undef, &avrgA, &avrgB);
    const float wGrid = GenIsUndef(p.mMatchWeightForVelGridMatch) ? 1.0f : p.mMatchWeightForVelGridMatch;
    float match = grid * wGrid;
    if (!IsUndefOrZero(p.mMatchWeightForAvrgVelDiff))
        match += p.mMatchWeightForAvrgVelDiff * (1.0f - std::min(std::fabs(avrgA - avrgB) / 127.0f, 1.0f));
    if (!IsUndefOrZero(p.mMatchWeightForStdDevRatio)) {
        const float sA = BarVelStats(a, posA, lengthA, p).mStdDev, sB = BarVelStats(b, posB, lengthB, p).mStdDev;
        float q = 1.0f;
        if (sA == 0.0f || sB == 0.0f)
            q = sA == sB ? 1.0f : 0.0f;
        else {
            q = sA / sB;
            if (q > 1.0f)
                q = 1.0f / q;
        }
        match += q * p.mMatchWeightForStdDevRatio;
    }
    return match;
}

CGenEvsClave CGenAvrgClave::EvsOfBar(const CGenEvsClave& clave, float start, float length)
{
    CGenEvsClave out(length);
    if (GenIsUndef(start) || GenIsUndef(length))
        return out;
    for (auto it = clave.EvAtOrAfter(start); it != clave.end() && it->mBeatPos < start + length; ++it)
        out.push_back(CGenEvClave(it->mBeatPos - start, it->mWeight, it->mPitch));
    return out;
}

// ----- groups

void CGenAvrgClave::TSimilarBars::AddBar(const TClusterableBar& bar)
{
    auto pos = std::lower_bound(mBarNrs.begin(), mBarNrs.end(), bar.mBarNr);
    const auto ix = pos - mBarNrs.begin();
    mBarNrs.insert(pos, bar.mBarNr);
    mBarStartsAbs.insert(mBarStartsAbs.begin() + ix, bar.mBeatPosAbs);
    if (GenIsUndef(mLength))
        mLength = bar.mLength;
}

void CGenAvrgClave::TSimilarBars::CalcAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
    const TSimilarBarssParams& params)
{
    mAvrgEvs.clear();
    mAvrgEvs.mLength = mLength;
    if (mBarNrs.empty())
        return;
    const float tol = params.mVelGridMatch_MatchWithin;
    std::map<float, long> sums;
    for (size_t i = 0; i < mBarNrs.size(); ++i) {
        const float start = i < mBarStartsAbs.size() ? mBarStartsAbs[i]
                                                     : signTime.InternBarNrAndLengthInBarToBeatPos(mBarNrs[i], 0.0f);
        for (const CGenEvClave& ev : EvsOfBar(clave, start, mLength)) {
            const float x = ev.mBeatPos;
            const float q = std::floor(4.0f * x) / 4.0f;
            const float rest = std::fmod(x, 0.25f);
            const float pos = rest < tol ? q + rest : q;
            sums[pos] += ev.WeightIsUndef() ? 0 : ev.mWeight;
        }
    }
    for (const auto& [pos, sum] : sums) {
        const double avrg = double(sum) / double(mBarNrs.size());
        const long w = std::clamp(std::lround(avrg), -127L, 127L);
        if (w != 0)
            mAvrgEvs.push_back(CGenEvClave(pos, static_cast<int8_t>(w)));
    }
    mAvrgEvs.SortByBeatPos();
}

void CGenAvrgClave::TSimilarBars::TraceStream(std::ostream& os) const
{
    os << "TSimilarBars: BarNrs";
    for (int32_t nr : mBarNrs)
        os << " " << nr;
    os << ", Length " << mLength << ", AvrgEvs ";
    mAvrgEvs.TraceStreamBrief(os);
}

std::ostream& operator<<(std::ostream& os, const CGenAvrgClave::TSimilarBars& bars)
{
    bars.TraceStream(os);
    return os;
}

void CGenAvrgClave::TSimilarBarss::FindSimilarBarssAndCalcTheirAvrgEvsClave(const CGenEvsSignTime& signTime,
    const CGenEvsClave& clave, float start, float end, const TSimilarBarssParams& params)
{
    clear();
    if (!params.ParamsAreSane())
        return;
    _FindSimilarBarss(signTime, clave, start, end, params);
    _CalcAvrgEvsClave(signTime, clave, params);
}

void CGenAvrgClave::TSimilarBarss::_FindSimilarBarss(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
    float start, float end, const TSimilarBarssParams& params)
{
    if (params.mStrategy == TStrategy_SimilarToFirstBar)
        _FindSimilarBarss_Strategy_SimilarToFirstBar(signTime, clave, start, end, params);
    else
        _FindSimilarBarss_Strategy_SimilarityMatrix(signTime, clave, start, end, params);
    for (TSimilarBars& bars : *this)
        if (!bars.mBarStartsAbs.empty())
            bars.mFirstBarEvs = EvsOfBar(clave, bars.mBarStartsAbs.front(), bars.mLength);
}

void CGenAvrgClave::TSimilarBarss::_FindSimilarBarss_Strategy_SimilarToFirstBar(const CGenEvsSignTime& signTime,
    const CGenEvsClave& clave, float start, float end, const TSimilarBarssParams& params)
{
    TClusterableBars bars;
    bars.FillFromRange(signTime, start, end);
    for (const TClusterableBar& bar : bars)
        _StrategySimilarToFirstBar_AddBar(bar, clave, params);
}

void CGenAvrgClave::TSimilarBarss::_FindSimilarBarss_Strategy_SimilarityMatrix(const CGenEvsSignTime& signTime,
    const CGenEvsClave& clave, float start, float end, const TSimilarBarssParams& params)
{
    TSimilarityMatrix matrix;
    matrix.DoHierarchicalClustering(signTime, clave, start, end, params);
    matrix.Clusters().RecursivelyGroupIntoSimilarBarss(params.mSimilarityMatrix_SimilarIsAboveThresh, *this);
}

void CGenAvrgClave::TSimilarBarss::_StrategySimilarToFirstBar_AddBar(const TClusterableBar& bar,
    const CGenEvsClave& clave, const TSimilarBarssParams& params)
{
    const CGenEvsClave evs = EvsOfBar(clave, bar.mBeatPosAbs, bar.mLength);
    for (TSimilarBars& group : *this) {
        if (group.mLength == bar.mLength
            && BarMatch(group.mFirstBarEvs, 0.0f, group.mLength, evs, 0.0f, bar.mLength, params)
            >= params.mSimilarToFirstBar_SimilarIsAboveThresh) {
            group.AddBar(bar);
            return;
        }
    }
    if (evs.empty()) {
        for (TSimilarBars& group : *this)
            if (group.mFirstBarEvs.empty() && group.mLength == bar.mLength) {
                group.AddBar(bar);
                return;
            }
    }
    TSimilarBars group;
    group.AddBar(bar);
    group.mFirstBarEvs = evs;
    push_back(std::move(group));
}

void CGenAvrgClave::TSimilarBarss::_CalcAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsClave& clave,
    const TSimilarBarssParams& params)
{
    for (TSimilarBars& bars : *this)
        bars.CalcAvrgEvsClave(signTime, clave, params);
}

void CGenAvrgClave::TChronologicalSimilarBar::TraceStream(std::ostream& os) const
{
    os << "TChronologicalSimilarBar: BarNr " << mBarNr << ", BeatPosAbs " << mBeatPosAbs
       << ", IsFirstBarOfSimilarBarGroup " << (mIsFirstBarOfSimilarBarGroup ? 1 : 0) << ", SimilarBarsIx "
       << mSimilarBarsIx;
}

std::ostream& operator<<(std::ostream& os, const CGenAvrgClave::TChronologicalSimilarBar& bar)
{
    bar.TraceStream(os);
    return os;
}

void CGenAvrgClave::TChronologicalSimilarBars::FillFromSimilarBarss(const TSimilarBarss& barss)
{
    clear();
    for (size_t g = 0; g < barss.size(); ++g) {
        const TSimilarBars& bars = barss[g];
        for (size_t i = 0; i < bars.mBarNrs.size(); ++i) {
            TChronologicalSimilarBar el;
            el.mBarNr = bars.mBarNrs[i];
            el.mBeatPosAbs = i < bars.mBarStartsAbs.size() ? bars.mBarStartsAbs[i] : TGenBeatPosAbs_Undef;
            el.mIsFirstBarOfSimilarBarGroup = i == 0;
            el.mSimilarBarsIx = static_cast<int>(g);
            push_back(el);
        }
    }
    std::stable_sort(begin(), end(),
        [](const TChronologicalSimilarBar& x, const TChronologicalSimilarBar& y) { return x.mBarNr < y.mBarNr; });
}

// ----- the whole analysis

CGenEvsClave CGenAvrgClave::_CreateEvClaveOnEachChordChange(const CGenEvsChord& chords, float start, float end) const
{
    CGenEvsClave out(end);
    if (GenIsUndef(start) || GenIsUndef(end))
        return out;
    const int8_t weight = WeightForVelocity(mSimilarBarssParams.mEvClaveOnChordChangeVelocity);
    const CGenEvChord* prev = nullptr;
    for (const CGenEvChord& chord : chords) {
        const bool change = !chord.IsUndef() && (!prev || prev->IsUndef() || !(prev->mChord == chord.mChord));
        prev = &chord;
        if (change && chord.mBeatPosAbs >= start && chord.mBeatPosAbs < end)
            out.push_back(CGenEvClave(chord.mBeatPosAbs, weight));
    }
    return out;
}

bool CGenAvrgClave::FindSimilarBarssAndAvrgEvsClave(const CGenEvsSignTime& signTime, const CGenEvsChord& chords,
    const CGenEvsClave& clave, float start, float end)
{
    mSimilarBarss.clear();
    mChronologicalSimilarBars.clear();
    mAvrgEvsClave.clear();
    mAvrgEvsClave.mLength = TGenBeatLength_Undef;
    const TSimilarBarssParams& p = mSimilarBarssParams;
    if (!p.ParamsAreSane())
        return false;
    // The range comes first, so that a clave made from chords covers all of it.
    if (p.mCreateClaveInRange == TCreateClaveInRange_WholeSong) {
        start = 0.0f;
        if (clave.mLength > 0.0f)
            end = clave.mLength;
    }
    CGenEvsClave work = clave.empty() ? _CreateEvClaveOnEachChordChange(chords, start, end) : clave;
    // A track without a length would make every bar "empty" to the grid match.
    if (!(work.mLength > 0.0f) && GenIsDef(end))
        work.mLength = std::max(end, work.empty() ? 0.0f : work.back().mBeatPos);
    mSimilarBarss.FindSimilarBarssAndCalcTheirAvrgEvsClave(signTime, work, start, end, p);
    mChronologicalSimilarBars.FillFromSimilarBarss(mSimilarBarss);
    float last = TGenBeatPosAbs_Undef;
    for (const TChronologicalSimilarBar& bar : mChronologicalSimilarBars) {
        const TSimilarBars& group = mSimilarBarss[static_cast<size_t>(bar.mSimilarBarsIx)];
        for (const CGenEvClave& ev : group.mAvrgEvs)
            mAvrgEvsClave.push_back(CGenEvClave(bar.mBeatPosAbs + ev.mBeatPos, ev.mWeight, ev.mPitch));
        last = bar.mBeatPosAbs + group.mLength;
    }
    mAvrgEvsClave.mLength = last;
    mAvrgEvsClave.SortByBeatPos();
    return true;
}

bool CGenAvrgClave::FindSongPartsAndAvrgEvsClave(const CGenEvsSignTime&, const CGenEvsClave&, float, float)
{
    mSongParts.clear();
    return false;
}

CGenAvrgClave::TSongParts CGenAvrgClave::_FindSongPartsStart(const CGenEvsSignTime&, const CGenEvsClave&, float,
    float) const
{
    return {};
}

float CGenAvrgClave::_FindAveragingLoopLengthForSongPart(const CGenEvsClave&, float, float) const
{
    return TGenBeatLength_Undef;
}

CGenEvsClave CGenAvrgClave::_FindAvrgEvsClave(const CGenEvsSignTime&, const CGenEvsClave&, float) const
{
    return {};
}

CGenEvsClave CGenAvrgClave::_FindAvrgEvsClaveForSongPart(const CGenEvsClave&, float, float, float) const
{
    return {};
}

float CGenAvrgClave::_SongPartEndBeatPosAbs(size_t ixSongPart, float end) const
{
    return ixSongPart + 1 < mSongParts.size() ? mSongParts[ixSongPart + 1].mStartBeatPosAbs : end;
}

void CGenAvrgClave::TraceStream(std::ostream& os) const
{
    os << "CGenAvrgClave: SongParts " << mSongParts.size() << ", AvrgEvsClave ";
    mAvrgEvsClave.TraceStreamBrief(os);
}
