#include "Generator/timesig/CGenEvsTempo.h"

#include <cmath>

namespace {

// Nanoseconds beyond this don't fit the 64-bit result.
constexpr double kMaxNano = 9.2e18;

// trunc(beats / tempo / minutes-per-nano), or false when it doesn't fit.
bool StretchNano(double beats, double tempo, double& out)
{
    const double ns = std::trunc(beats / tempo / kGenMinutesPerNano);
    if (!std::isfinite(ns) || std::fabs(ns) > kMaxNano)
        return false;
    out = ns;
    return true;
}

} // namespace

CGenEvsTempo::const_iterator CGenEvsTempo::FindTempoWithBeatPos(float pos, TFindBeat findBeat) const
{
    if (GenIsUndef(pos))
        return end();
    return FindElWithBeatPos(pos, findBeat);
}

CGenEvsTempo::const_iterator CGenEvsTempo::FindTempoWithBeatPosUseFirstTempoLeftOfIt(float pos, TFindBeat findBeat) const
{
    auto it = FindTempoWithBeatPos(pos, findBeat);
    return it == end() ? begin() : it;
}

CGenEvTempo CGenEvsTempo::FindTempoWithBeatPosOrDefault(float pos, TFindBeat findBeat) const
{
    auto it = FindTempoWithBeatPos(pos, findBeat);
    if (it == end())
        return CGenEvTempo(pos, kGenTempo_Default);
    CGenEvTempo r = *it;
    if (r.mTempo == kGenTempo_Undef)
        r.mTempo = kGenTempo_Default;
    return r;
}

double CGenEvsTempo::TempoAtOrBeforeBeat(float pos) const
{
    if (GenIsUndef(pos))
        return kGenTempo_Undef;
    auto it = ElInForceAt(pos);
    return it == end() ? kGenTempo_Undef : it->mTempo;
}

double CGenEvsTempo::TempoAtOrBeforeBeatUseFirstTempoLeftOfIt(float pos) const
{
    const double t = TempoAtOrBeforeBeat(pos);
    if (t != kGenTempo_Undef || empty())
        return t;
    return front().mTempo;
}

double CGenEvsTempo::TempoAtOrBeforeBeatOrDefault(float pos) const
{
    const double t = TempoAtOrBeforeBeat(pos);
    return t == kGenTempo_Undef ? kGenTempo_Default : t;
}

TGenNanoLength CGenEvsTempo::BeatPosAbsToNanoLength(float pos) const
{
    return BeatPosDistToNanoLength(0.0f, pos);
}

TGenNanoLength CGenEvsTempo::BeatPosDistToNanoLength(float a, float b) const
{
    if (empty() || GenIsUndef(a) || GenIsUndef(b) || !std::isfinite(a) || !std::isfinite(b))
        return TGenNanoLength_Undef;
    if (a == b)
        return 0;
    const double sign = b > a ? 1.0 : -1.0;
    const float lo = std::min(a, b), hi = std::max(a, b);

    auto it = ElInForceAt(lo);
    if (it == end())
        it = begin();
    float cur = lo;
    double sum = 0.0;
    while (true) {
        const auto next = std::next(it);
        float segEnd = (next != end() && next->mBeatPosAbs < hi) ? next->mBeatPosAbs : hi;
        segEnd = std::max(segEnd, cur);
        const double beats = double(segEnd) - double(cur);
        if (beats > 0.0) {
            if (!(it->mTempo > 0.0))
                return TGenNanoLength_Undef;
            double ns = 0.0;
            if (!StretchNano(beats, it->mTempo, ns) || sum + ns > kMaxNano)
                return TGenNanoLength_Undef;
            sum += ns;
        }
        if (segEnd >= hi || next == end())
            break;
        cur = segEnd;
        it = next;
    }
    return static_cast<TGenNanoLength>(sign * sum);
}

float CGenEvsTempo::NanoPosToBeatPos(TGenNanoLength nano) const
{
    if (empty() || nano == TGenNanoLength_Undef)
        return TGenBeatPos_Undef;
    // Nanosecond 0 is beat 0: the walk starts at the first element's own time.
    const TGenNanoLength firstNano = BeatPosAbsToNanoLength(front().mBeatPosAbs);
    if (firstNano == TGenNanoLength_Undef)
        return TGenBeatPos_Undef;
    const double n = double(nano);
    double sum = double(firstNano);
    if (n < sum)
        return static_cast<float>(front().mBeatPosAbs + (n - sum) * front().mTempo * kGenMinutesPerNano);
    for (auto it = begin(); it != end(); ++it) {
        if (!(it->mTempo > 0.0))
            return TGenBeatPos_Undef;
        const auto next = std::next(it);
        if (next != end()) {
            double len = 0.0;
            if (!StretchNano(double(next->mBeatPosAbs) - double(it->mBeatPosAbs), it->mTempo, len))
                return TGenBeatPos_Undef;
            if (sum + len <= n) {
                sum += len;
                continue;
            }
        }
        return static_cast<float>(it->mBeatPosAbs + (n - sum) * it->mTempo * kGenMinutesPerNano);
    }
    return TGenBeatPos_Undef;
}

float CGenEvsTempo::BeatPosAbsPlusNanoLength(float pos, TGenNanoLength nano) const
{
    if (GenIsUndef(pos) || nano == TGenNanoLength_Undef)
        return TGenBeatPos_Undef;
    const double t = TempoAtOrBeforeBeat(pos);
    if (t == kGenTempo_Undef)
        return TGenBeatPos_Undef;
    return static_cast<float>(pos + t * double(nano) * kGenMinutesPerNano);
}

void CGenEvsTempo::TraceStream(std::ostream& os) const
{
    os << "CGenEvsTempo size " << size();
    for (const auto& el : *this)
        os << "\n  ", el.TraceStream(os);
}

void CGenEvsTempo::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenEvsTempo";
    for (const auto& el : *this)
        os << " " << el.mBeatPosAbs << ":" << el.mTempo;
}

std::ostream& operator<<(std::ostream& os, const CGenEvsTempo& m)
{
    m.TraceStream(os);
    return os;
}
