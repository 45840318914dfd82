#include "Generator/CGenEvs.h"

#include "Generator/CGenArchiveIO.h"
#include "Generator/CGenRandom.h"
#include "Platform/ZKLog.h"


#include <algorithm>
#include <utility>

CGenEvs::iterator CGenEvs::InsertAtBeatPos(const CGenEv& ev)
{
    // Hand-written lower bound: CompareEv is not a strict weak ordering, so no
    // standard algorithm that may check it is used.
    size_t lo = 0, hi = size();
    while (lo < hi) {
        const size_t mid = lo + (hi - lo) / 2;
        if (CompareEv((*this)[mid], ev) == 1)
            lo = mid + 1;
        else
            hi = mid;
    }
    return insert(begin() + static_cast<ptrdiff_t>(lo), ev);
}

CGenEvs::iterator CGenEvs::InsertAtBeatPosAndAdjustLength(const CGenEv& ev)
{
    auto it = InsertAtBeatPos(ev);
    const float end = GenIsUndef(ev.mBeatLength) ? ev.mBeatPos : GenAddRegardingUndef(ev.mBeatPos, ev.mBeatLength);
    if (GenIsDef(ev.mBeatPos) && GenIsDef(end) && (GenIsUndef(mLength) || end > mLength))
        mLength = end;
    return it;
}

CGenEvs::iterator CGenEvs::InsertNoteRandomVel(CGenRandom& random, float pos, int channel, int noteNr, int velMin, int velMax,
    float length)
{
    int vel = velMin;
    if (velMax > velMin) {
        // The span is taken in unsigned arithmetic, so that extreme bounds can't overflow.
        const uint32_t span = static_cast<uint32_t>(velMax) - static_cast<uint32_t>(velMin);
        vel = static_cast<int>(static_cast<int64_t>(velMin) + random.Next() % span);
    }
    CGenEv ev(pos, length, st_NoteOn | (channel & 0x0F), noteNr, vel);
    return InsertAtBeatPos(ev);
}

CGenEvs::const_iterator CGenEvs::FindEvReverse(const_iterator start, float pos, int status, int channel, int mb1, int mb2) const
{
    if (empty())
        return end();
    auto it = start;
    if (it == end())
        --it;
    const bool posDefined = GenIsDef(pos);
    while (true) {
        const CGenEv& ev = *it;
        if (posDefined && ev.mBeatPos < pos)
            return end();
        const bool posOk = !posDefined || ev.mBeatPos == pos;
        const bool statusOk = status == st_Undefined || (ev.mMB0 & 0xF0) == (status & 0xF0);
        const bool channelOk = channel == 255 || (ev.mMB0 & 0x0F) == (channel & 0x0F);
        const bool mb1Ok = mb1 == -1 || ev.mMB1 == mb1;
        const bool mb2Ok = mb2 == -1 || ev.mMB2 == mb2;
        if (posOk && statusOk && channelOk && mb1Ok && mb2Ok)
            return it;
        if (it == begin())
            return end();
        --it;
    }
}

namespace {

// The events from max(pos - distance, 0) to pos + distance inclusive; none
// for an undefined position or distance.
std::pair<CGenEvs::const_iterator, CGenEvs::const_iterator> NearPosWindow(const CGenEvs& evs, float pos, float distance)
{
    if (GenIsUndef(pos) || GenIsUndef(distance))
        return {evs.end(), evs.end()};
    const float hi = pos + distance;
    auto first = evs.EvAtOrAfter(std::max(pos - distance, 0.0f));
    auto last = first;
    while (last != evs.end() && last->mBeatPos <= hi)
        ++last;
    return {first, last};
}

} // namespace

CGenEvs CGenEvs::FindEvsNearPos(float pos, float distance) const
{
    CGenEvs r;
    const auto [first, last] = NearPosWindow(*this, pos, distance);
    r.assign(first, last);
    return r;
}

std::vector<int> CGenEvs::FindNoteNrsNearPos(float pos, float distance) const
{
    std::vector<int> r;
    const auto [first, last] = NearPosWindow(*this, pos, distance);
    for (auto it = first; it != last; ++it)
        if (it->IsSoundingNote())
            r.push_back(it->mMB1);
    return r;
}

bool CGenEvs::HasAtLeastOneEvWithLayerBitmask() const
{
    for (const auto& ev : *this)
        if (!ev.mRuntimeLayerBitmask.IsEmpty())
            return true;
    return false;
}

void CGenEvs::SortIntoMapByLayerIx(std::map<unsigned long, CGenEvs>& map) const
{
    map.clear();
    for (const auto& ev : *this) {
        const int ix = ev.mRuntimeLayerBitmask.LowestSetBitIx();
        const unsigned long key = ix < 0 ? ~0ul : static_cast<unsigned long>(ix);
        auto [it, inserted] = map.try_emplace(key);
        if (inserted)
            it->second.mLength = mLength;
        it->second.push_back(ev);
    }
}

void CGenEvs::EraseEvsInRange(float start, float endPos)
{
    erase(std::remove_if(begin(), end(), [&](const CGenEv& ev) { return ev.mBeatPos >= start && ev.mBeatPos < endPos; }),
        end());
}

void GenStableSortEvs(std::vector<CGenEv>& evs)
{
    const size_t n = evs.size();
    if (n < 2)
        return;
    // Bottom-up merge sort; the right element goes first only when the left
    // one sorts after it, which keeps equal (and mutually "first") events in
    // their order.
    std::vector<CGenEv> buf(n);
    std::vector<CGenEv>* src = &evs;
    std::vector<CGenEv>* dst = &buf;
    for (size_t width = 1; width < n; width *= 2) {
        for (size_t lo = 0; lo < n; lo += 2 * width) {
            const size_t mid = std::min(lo + width, n), hi = std::min(lo + 2 * width, n);
            size_t i = lo, j = mid, k = lo;
            while (i < mid && j < hi) {
                if (CompareEv((*src)[i], (*src)[j]) == -1)
                    (*dst)[k++] = std::move((*src)[j++]);
                else
                    (*dst)[k++] = std::move((*src)[i++]);
            }
            while (i < mid)
                (*dst)[k++] = std::move((*src)[i++]);
            while (j < hi)
                (*dst)[k++] = std::move((*src)[j++]);
        }
        std::swap(src, dst);
    }
    if (src != &evs)
        evs = std::move(*src);
}

void CGenEvs::SortStable() { GenStableSortEvs(*this); }

bool CGenEvs::IsSortedByCompareEv() const
{
    for (size_t i = 1; i < size(); ++i)
        if (CompareEv((*this)[i - 1], (*this)[i]) == -1)
            return false;
    return true;
}

bool CGenEvs::SerializeToPath(const std::string& path) const
{
    std::string reason;
    if (zkgen::SaveTextArchiveToPath(*this, path, &reason))
        return true;
    ZKLogf(ZKLogCategory_GeneratorStorage, "CGenEvs SerializeToPath '%{public}s' failed with reason: %{public}s",
        {path, reason});
    return false;
}

bool CGenEvs::DeserializeFromPath(const std::string& path)
{
    // Loaded aside, so that a failure leaves the list as it was.
    CGenEvs loaded;
    std::string reason;
    if (zkgen::LoadTextArchiveFromPath(loaded, path, &reason)) {
        *this = std::move(loaded);
        return true;
    }
    ZKLogf(ZKLogCategory_GeneratorStorage, "CGenEvs DeserializeFromPath '%{public}s' failed with reason: %{public}s",
        {path, reason});
    return false;
}

void CGenEvs::TraceStream(std::ostream& os) const
{
    os << "CGenEvs size " << size() << " length ";
    if (GenIsUndef(mLength))
        os << "Undef";
    else
        os << mLength;
    for (const auto& ev : *this)
        os << "\n  " << ev;
}

void CGenEvs::TraceStreamBrief(std::ostream& os) const { os << "CGenEvs size " << size(); }

std::ostream& operator<<(std::ostream& os, const CGenEvs& evs)
{
    evs.TraceStream(os);
    return os;
}

bool CGenEvsCompare::Equal(const CGenEvs& a, const CGenEvs& b) const
{
    auto keep = [this](const CGenEv& ev) {
        switch (mMode) {
        case 1: return ev.IsSoundingNote();
        case 2: return ev.IsCtr();
        default: return true;
        }
    };
    auto ia = a.begin(), ib = b.begin();
    while (true) {
        while (ia != a.end() && !keep(*ia))
            ++ia;
        while (ib != b.end() && !keep(*ib))
            ++ib;
        if (ia == a.end() || ib == b.end())
            return ia == a.end() && ib == b.end();
        if (!mEvCompare.Equal(*ia, *ib))
            return false;
        ++ia;
        ++ib;
    }
}
