#include "Generator/clave/CGenEvsClave.h"

#include "Generator/timesig/CGenEvsSignTime.h"

#include <climits>

namespace {

// Bars one conversion to bits may walk; protects against absurd lengths.
constexpr long kMaxBarsAsBits = 1L << 20;

} // namespace

int ClaveWeightToVelocity(int weight)
{
    if (weight == CGenEvClave::kWeight_Undef)
        return TVelocity_Default;
    const int w = std::clamp(weight, -127, 127);
    return static_cast<int>(std::lround(1.0 + 126.0 * double(w + 127) / 254.0));
}

CGenEv CGenEvClave::ConvertToGenEv() const
{
    const int noteNr = PitchIsUndef() ? TNoteNrLarge_Undef : int(mPitch);
    return CGenEv(mBeatPos, 0.25f, st_NoteOn, noteNr, ClaveWeightToVelocity(mWeight));
}

TEvsAsBitsInBars::const_iterator TEvsAsBitsInBars::FindIteratorForBeatPosAbs(float pos) const
{
    if (GenIsUndef(pos))
        return end();
    auto ub = std::upper_bound(begin(), end(), pos, [](float p, const TEvAsBitsInBar& r) { return p < r.mBeatPosAbs; });
    return ub == begin() ? end() : std::prev(ub);
}

bool TEvsAsBitsInBars::Match(const TEvsAsBitsInBars& a, const TEvsAsBitsInBars& b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i].mBits != b[i].mBits)
            return false;
    return true;
}

uint64_t CGenEvsClave::_EvsAsBitsInBar(float roundedStart, int bitCount, float tolerance) const
{
    if (empty() || bitCount <= 0 || GenIsUndef(roundedStart) || GenIsUndef(tolerance))
        return 0;
    const int n = std::min(bitCount, 64);
    uint64_t bits = 0;
    auto it = begin();
    for (int k = 0; k < n; ++k) {
        const float g = roundedStart + 0.5f * float(k);
        const float lo = std::max(g - tolerance, 0.0f);
        while (it != end() && it->mBeatPos < lo)
            ++it;
        if (it == end())
            break;
        if (it->mBeatPos <= g + tolerance && it->mBeatPos <= mLength)
            bits |= uint64_t(1) << k;
    }
    return bits;
}

uint64_t CGenEvsClave::EvsAsBitsInBar8thOnBeat(float startPos, int bitCount, float tolerance) const
{
    if (GenIsUndef(startPos))
        return 0;
    return _EvsAsBitsInBar(std::round(startPos / 0.5f) * 0.5f, bitCount, tolerance);
}

uint64_t CGenEvsClave::EvsAsBitsInBar8thOffBeat(float startPos, int bitCount, float tolerance) const
{
    if (GenIsUndef(startPos))
        return 0;
    float start = std::round(startPos / 0.25f) * 0.25f;
    if (std::fmod(start, 0.5f) == 0.0f)
        start += 0.25f;
    return _EvsAsBitsInBar(start, bitCount, tolerance);
}

void CGenEvsClave::_EvsAsBitsInBars(bool onBeat, const CGenEvsSignTime& signTime, int firstBar, int endBar,
    float tolerance, TEvsAsBitsInBars& out) const
{
    out.clear();
    if (!(mLength > 0.0f) || signTime.empty() || firstBar == TGenBarNr_Undef)
        return;
    float barStart = signTime.InternBarNrAndLengthInBarToBeatPos(firstBar, 0.0f);
    long nr = firstBar;
    for (long walked = 0; walked < kMaxBarsAsBits && GenIsDef(barStart) && barStart < mLength; ++walked) {
        if (endBar != TGenBarNr_Undef && nr >= endBar)
            break;
        const float len = signTime.BarBeatLengthAt(barStart);
        if (GenIsDef(len) && len > 0.0f) {
            const int n = static_cast<int>(std::min(2.0f * len, 64.0f));
            const uint64_t bits = onBeat ? EvsAsBitsInBar8thOnBeat(barStart, n, tolerance)
                                         : EvsAsBitsInBar8thOffBeat(barStart, n, tolerance);
            out.push_back(TEvAsBitsInBar {barStart, bits});
        }
        const float next = signTime.FindBarStartPos(barStart, 1);
        if (GenIsUndef(next) || !(next > barStart))
            break;
        barStart = next;
        ++nr;
    }
}

void CGenEvsClave::EvsAsBitsInBars8thOnBeat(const CGenEvsSignTime& signTime, int firstBar, int endBar, float tolerance,
    TEvsAsBitsInBars& out) const
{
    _EvsAsBitsInBars(true, signTime, firstBar, endBar, tolerance, out);
}

void CGenEvsClave::EvsAsBitsInBars8thOffBeat(const CGenEvsSignTime& signTime, int firstBar, int endBar, float tolerance,
    TEvsAsBitsInBars& out) const
{
    _EvsAsBitsInBars(false, signTime, firstBar, endBar, tolerance, out);
}

double CGenEvsClave::CalcWeightAutoCorrelationAtLag(int lag, const_iterator from, const_iterator to) const
{
    double sum = 0.0;
    const ptrdiff_t n = to - from;
    for (ptrdiff_t i = 0; i < n; ++i) {
        const ptrdiff_t j = i + lag;
        if (j < 0 || j >= n)
            continue;
        const CGenEvClave& a = from[i];
        const CGenEvClave& b = from[j];
        if (a.WeightIsUndef() || b.WeightIsUndef())
            continue;
        sum += double(a.mWeight) * double(b.mWeight);
    }
    return sum;
}

double CGenEvsClave::CalcWeightAutoCorrelationAtLagBeatLength(float lag, float tolerance, const_iterator from,
    const_iterator to) const
{
    double sum = 0.0;
    if (from == to || GenIsUndef(lag) || GenIsUndef(tolerance))
        return sum;
    for (auto it = from; it != to; ++it) {
        const float target = GenAddRegardingUndef(it->mBeatPos, lag);
        if (GenIsUndef(target) || it->WeightIsUndef())
            continue;
        auto after = std::lower_bound(from, to, target, [](const CGenEvClave& e, float p) { return e.mBeatPos < p; });
        const_iterator nearest = after;
        if (after == to) {
            nearest = std::prev(after);
        } else if (after != from) {
            const auto before = std::prev(after);
            // The earlier one wins a tie.
            if (target - before->mBeatPos <= after->mBeatPos - target)
                nearest = before;
        }
        if (std::fabs(nearest->mBeatPos - target) < tolerance && !nearest->WeightIsUndef())
            sum += double(it->mWeight) * double(nearest->mWeight);
    }
    return sum;
}

void CGenEvsClave::TraceStream(std::ostream& os) const
{
    os << "CGenEvsClave length " << mLength << ", size " << size();
    for (const auto& ev : *this)
        os << "\n  ", ev.TraceStream(os);
}

void CGenEvsClave::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenEvsClave length " << mLength << ":";
    for (const auto& ev : *this)
        os << " " << ev.mBeatPos << "/" << int(ev.mWeight);
}

std::ostream& operator<<(std::ostream& os, const CGenEvsClave& evs)
{
    evs.TraceStream(os);
    return os;
}

namespace {

void ClaveEvsFromBits(uint64_t bits, CGenEvsClave& out, int8_t weight, float firstPos)
{
    out.clear();
    out.mLength = 4.0f;
    for (int k = 0; k < 8; ++k)
        if (bits & (uint64_t(1) << k))
            out.push_back(CGenEvClave(firstPos + 0.5f * float(k), weight, CGenEvClave::kPitch_Undef));
}

} // namespace

void ClaveEvsFromEvsAsBitsInBar8thOnBeat(uint64_t bits, CGenEvsClave& out, int8_t weight)
{
    ClaveEvsFromBits(bits, out, weight, 0.0f);
}

void ClaveEvsFromEvsAsBitsInBar8thOffBeat(uint64_t bits, CGenEvsClave& out, int8_t weight)
{
    ClaveEvsFromBits(bits, out, weight, 0.25f);
}
