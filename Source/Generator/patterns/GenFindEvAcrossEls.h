#pragma once

#include "Generator/CGenEvs.h"
#include "Generator/CGenTypes.h"

#include <cstdint>

// Event search by absolute position across the elements of a list whose
// elements each hold events relative to their own start, and may overlap.
namespace zkgen {

// An event found across elements.
template <class TElIt>
struct TEvAcrossEls {
    TElIt mEl {};
    CGenEvs::const_iterator mEv {};
    bool mFound = false;
    float mBeatPosAbs = TGenBeatPosAbs_Undef;
};

// The TFindBeat modes over the absolute positions of the events `accept`
// lets through, from element `first` on: 0 the first event exactly at pos;
// 1 the nearest after; 2 the nearest at or after; 3 the nearest at or
// before, provided any event lies behind pos; 4 the first exactly at pos,
// else the nearest before. Of equally near events the first in list order.
// `startOf(el)` gives an element's start, `evsOf(el)` its events.
template <class TElIt, class TStartOf, class TEvsOf, class TAccept>
TEvAcrossEls<TElIt> FindEvAcrossEls(TElIt first, TElIt last, float pos, TFindBeat mode, TStartOf startOf, TEvsOf evsOf,
    TAccept accept)
{
    TEvAcrossEls<TElIt> best, firstEqual;
    bool anyBehind = false;
    if (GenIsUndef(pos))
        return best;
    for (TElIt el = first; el != last; ++el) {
        const float start = startOf(*el);
        if (GenIsUndef(start))
            continue;
        const CGenEvs& evs = evsOf(*el);
        for (auto ev = evs.begin(); ev != evs.end(); ++ev) {
            if (GenIsUndef(ev->mBeatPos) || !accept(*ev))
                continue;
            const float p = start + ev->mBeatPos;
            anyBehind = anyBehind || p > pos;
            if (p == pos && !firstEqual.mFound)
                firstEqual = TEvAcrossEls<TElIt> {el, ev, true, p};
            bool take = false;
            switch (mode) {
            case 1: take = p > pos && (!best.mFound || p < best.mBeatPosAbs); break;
            case 2: take = p >= pos && (!best.mFound || p < best.mBeatPosAbs); break;
            case 3: take = p <= pos && (!best.mFound || p > best.mBeatPosAbs); break;
            case 4: take = p < pos && (!best.mFound || p > best.mBeatPosAbs); break;
            default: break;
            }
            if (take)
                best = TEvAcrossEls<TElIt> {el, ev, true, p};
        }
    }
    switch (mode) {
    case 0: return firstEqual;
    case 2: return best;
    case 3: return anyBehind ? best : TEvAcrossEls<TElIt> {};
    case 4: return firstEqual.mFound ? firstEqual : best;
    default: return best;
    }
}

// A sounding note of the uid (any for TInstTreeUid_Undef or -1, compared in
// the low 32 bits events carry) on the channel (any for 255).
inline bool GenIsMatchingNote(const CGenEv& ev, TInstTreeUid uid, int channel)
{
    if (!ev.IsSoundingNote())
        return false;
    if (uid != TInstTreeUid_Undef && uid != -1 && ev.mMB1 != static_cast<int>(static_cast<uint32_t>(uid)))
        return false;
    return channel == 255 || ev.Channel() == (channel & 0x0F);
}

} // namespace zkgen
