#include "Generator/clave/CGenClaveLib.h"

#include "Platform/ZKLog.h"

#include <algorithm>
#include <cmath>

namespace {

// Entries one default fill appends at most; protects against absurd ends.
constexpr long kMaxDefaultEntries = 1L << 20;

bool IsMultipleOf(float pos, float grid)
{
    return std::fabs(pos - std::round(pos / grid) * grid) <= 1e-5f;
}

} // namespace

void CGenClaveLib::_SetInterestingPos8thOnOrOffBeat()
{
    mGridType = TGridType_None;
    if (mInterestingPos.empty())
        return;
    bool on8 = true, on16 = true, any8 = false;
    for (const CGenEv& ev : mInterestingPos) {
        const bool m8 = IsMultipleOf(ev.mBeatPos, 0.5f);
        on8 = on8 && m8;
        on16 = on16 && IsMultipleOf(ev.mBeatPos, 0.25f);
        any8 = any8 || m8;
        if (!on8 && !on16)
            break;
    }
    if (on8)
        mGridType = TGridType_8thOnBeat;
    else if (on16 && !any8)
        mGridType = TGridType_8thOffBeat;
}

void CGenClaveLib::SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable()
{
    mTable.clear();
    _SetInterestingPos8thOnOrOffBeat();
    if (mGridType == TGridType_None)
        return;
    mTable.assign(kTableSize, -1);
    CGenEvsClave bitsClave;
    for (int bits = 0; bits < kTableSize; ++bits) {
        if (mGridType == TGridType_8thOnBeat)
            ClaveEvsFromEvsAsBitsInBar8thOnBeat(uint64_t(bits), bitsClave, -1);
        else
            ClaveEvsFromEvsAsBitsInBar8thOffBeat(uint64_t(bits), bitsClave, -1);
        int bestIx = -1;
        float best = TPercent_Undef;
        for (size_t ix = 0; ix < size(); ++ix) {
            const CGenEvsClave& pattern = (*this)[ix].mEvs;
            if (GenIsUndef(pattern.mLength))
                continue;
            const float endPos = std::max(bitsClave.mLength, pattern.mLength);
            const float abortAt = GenIsDef(best) ? kTableAbortFactor * best : TPercent_Undef;
            const float match =
                GenEvsMatchByGrid(bitsClave, 0.0f, pattern, 0.0f, endPos, kTableGridStep, kTableTolerance, abortAt);
            if (GenIsDef(match) && (GenIsUndef(best) || match > best)) {
                best = match;
                bestIx = int(ix);
            }
        }
        mTable[size_t(bits)] = bestIx;
    }
}

std::pair<int, float> CGenClaveLib::FindBestMatchingClaveIxPattern(const CGenEvsClave& evs, float pos, float gridStep,
    float tolerance) const
{
    std::pair<int, float> best {-1, TPercent_Undef};
    if (GenIsUndef(pos))
        return best;
    for (size_t ix = 0; ix < size(); ++ix) {
        const CGenEvsClave& pattern = (*this)[ix].mEvs;
        const float match = GenEvsMatchByGrid(evs, pos, pattern, 0.0f, GenAddRegardingUndef(pos, pattern.mLength),
            gridStep, tolerance);
        if (GenIsDef(match) && (GenIsUndef(best.second) || match > best.second))
            best = {int(ix), match};
    }
    return best;
}

CGenClaveLib::const_iterator CGenClaveLib::FindBestMatchingClavePattern(const CGenEvsClave& evs, float pos, float gridStep,
    float tolerance) const
{
    const int ix = FindBestMatchingClaveIxPattern(evs, pos, gridStep, tolerance).first;
    return ix < 0 ? end() : begin() + ix;
}

std::pair<int, float> CGenClaveLib::FindBestMatchingClaveIxPattern(const CGenClaveRegions& regions, float pos,
    float gridStep, float tolerance) const
{
    std::pair<int, float> best {-1, TPercent_Undef};
    if (GenIsUndef(pos))
        return best;
    for (size_t ix = 0; ix < size(); ++ix) {
        const CGenEvsClave& pattern = (*this)[ix].mEvs;
        double sum = 0.0;
        int counted = 0;
        for (const CGenClaveRegion& region : regions) {
            const float match = GenEvsMatchByGrid(region.mEvs, pos, pattern, 0.0f,
                GenAddRegardingUndef(pos, pattern.mLength), gridStep, tolerance);
            if (GenIsDef(match)) {
                sum += match;
                ++counted;
            }
        }
        if (counted == 0)
            continue;
        const float mean = static_cast<float>(sum / counted);
        if (GenIsUndef(best.second) || mean > best.second)
            best = {int(ix), mean};
    }
    return best;
}

CGenClaveLib::const_iterator CGenClaveLib::FindBestMatchingClavePattern(const CGenClaveRegions& regions, float pos,
    float gridStep, float tolerance) const
{
    const int ix = FindBestMatchingClaveIxPattern(regions, pos, gridStep, tolerance).first;
    return ix < 0 ? end() : begin() + ix;
}

int CGenClaveLib::LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(uint64_t bits) const
{
    if (bits >= mTable.size())
        return -1;
    const int ix = mTable[size_t(bits)];
    return (ix >= 0 && size_t(ix) < size()) ? ix : -1;
}

CGenClaveLib::const_iterator CGenClaveLib::LookupBestMatchingClavePatternFromEvsAsBitsInBar(uint64_t bits) const
{
    const int ix = LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(bits);
    return ix < 0 ? end() : begin() + ix;
}

void CGenClaveLib::CreateClosestIxPatternHistFromEvsAsBitsInBars(const TEvsAsBitsInBars& bits, float start, float end,
    CGenBeatedPatternIxs& out) const
{
    out.clear();
    if (GenIsUndef(start))
        return;
    auto it = std::lower_bound(bits.begin(), bits.end(), start,
        [](const TEvAsBitsInBar& r, float p) { return r.mBeatPosAbs < p; });
    for (; it != bits.end() && it->mBeatPosAbs < end; ++it) {
        const int ix = LookupBestMatchingClavePatternIxFromEvsAsBitsInBar(it->mBits);
        if (!empty() && ix != -1)
            out.push_back(CGenBeatedPatternIx(it->mBeatPosAbs, ix));
    }
    _AppendDefaultClavePatternUntilEndBeatPos(start, end, out);
}

int CGenClaveLib::DefaultDefaultPatternIxForName(const std::string& name)
{
    if (name == "AddOn")
        return 0;
    if (name == "Family")
        return 24;
    return -1;
}

int CGenClaveLib::DefaultPatternIxForEmptyBar() const
{
    return mDefaultPatternIxForEmptyBar != -1 ? mDefaultPatternIxForEmptyBar : DefaultDefaultPatternIxForName(mName);
}

void CGenClaveLib::_AppendDefaultClavePatternUntilEndBeatPos(float start, float end, CGenBeatedPatternIxs& out) const
{
    if (GenIsUndef(end))
        return;
    float pos = start;
    if (!out.empty()) {
        const int lastIx = out.back().mPatternIx;
        if (lastIx < 0 || size_t(lastIx) >= size()) {
            ZKLogf(ZKLogCategory_GeneratorStorage, ZKLogLevel_Warn,
                "Clave library '%{public}s': pattern index %d in the history lies beyond its %d patterns",
                {mName, lastIx, int(size())});
            return;
        }
        pos = GenAddRegardingUndef(out.back().mBeatPosAbs, (*this)[size_t(lastIx)].mEvs.mLength);
    }
    if (GenIsUndef(pos) || !(pos < end))
        return;
    const int ix = DefaultPatternIxForEmptyBar();
    if (ix == -1)
        return;
    if (ix < 0 || size_t(ix) >= size()) {
        ZKLogf(ZKLogCategory_GeneratorStorage, ZKLogLevel_Warn,
            "Clave library '%{public}s': default pattern index %d for empty bars lies beyond its %d patterns",
            {mName, ix, int(size())});
        return;
    }
    const float length = (*this)[size_t(ix)].mEvs.mLength;
    if (GenIsUndef(length) || !(length > 0.0f))
        return;
    for (long n = 0; n < kMaxDefaultEntries && pos < end; ++n, pos += length)
        out.push_back(CGenBeatedPatternIx(pos, ix));
}

CGenEvs::const_iterator CGenClaveLib::FindInterestingPosForBeatPos(float pos) const
{
    const CGenEvs& ip = mInterestingPos;
    if (ip.empty() || GenIsUndef(pos))
        return ip.end();
    float r = pos;
    if (GenIsDef(ip.mLength) && ip.mLength > 0.0f) {
        r = std::fmod(pos, ip.mLength);
        if (r < 0.0f)
            r += ip.mLength;
    }
    auto after = std::upper_bound(ip.begin(), ip.end(), r, [](float p, const CGenEv& e) { return p < e.mBeatPos; });
    auto nearest = after;
    if (after == ip.end()) {
        nearest = std::prev(after);
    } else if (after != ip.begin()) {
        const auto before = std::prev(after);
        if (r - before->mBeatPos <= after->mBeatPos - r)
            nearest = before;
    }
    const float tolerance = GenIsDef(nearest->mBeatLength) ? nearest->mBeatLength : 0.0f;
    return std::fabs(nearest->mBeatPos - pos) <= tolerance ? nearest : ip.end();
}

void CGenClaveLib::FilterEvsOnInterestingPos(CGenEvs& evs) const
{
    evs.erase(std::remove_if(evs.begin(), evs.end(), [this](const CGenEv& ev) { return !IsInRangeAroundInterestingPos(ev.mBeatPos); }),
        evs.end());
}

void CGenClaveLib::QuantizeEvsOnInterestingPos(CGenEvs& evs) const
{
    for (CGenEv& ev : evs) {
        auto it = FindInterestingPosForBeatPos(ev.mBeatPos);
        if (it != mInterestingPos.end())
            ev.mBeatPos = it->mBeatPos;
    }
    if (!evs.IsSortedByCompareEv())
        evs.SortStable();
}

void CGenClaveLib::FilterAndQuantizeEvsOnInterestingPos(CGenEvs& evs) const
{
    FilterEvsOnInterestingPos(evs);
    QuantizeEvsOnInterestingPos(evs);
}

CGenClaveLib::const_iterator CGenClaveLib::FindWithEvsEqual(const CGenClavePattern& pattern) const
{
    return std::find_if(begin(), end(), [&pattern](const CGenClavePattern& p) { return p.mEvs == pattern.mEvs; });
}

int CGenClaveLib::AddIfUniqueEvs(const CGenClavePattern& pattern)
{
    auto it = FindWithEvsEqual(pattern);
    if (it != end())
        return int(it - begin());
    push_back(pattern);
    return int(size()) - 1;
}

bool CGenClaveLib::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    bool sane = true;
    auto fault = [&](const std::string& text) {
        report += prefix + "Clave library '" + mName + "': " + text + "\n";
        sane = false;
    };
    if (mName.empty())
        fault("has no name");
    for (size_t ix = 0; ix < size(); ++ix) {
        const CGenClavePattern& p = (*this)[ix];
        if (GenIsUndef(p.mEvs.mLength) || !(p.mEvs.mLength > 0.0f))
            fault("pattern " + std::to_string(ix) + " '" + p.mName + "' has no length");
        if (!p.mEvs.IsSortedByBeatPos())
            fault("pattern " + std::to_string(ix) + " '" + p.mName + "' has unsorted events");
    }
    const int defaultIx = DefaultPatternIxForEmptyBar();
    if (defaultIx != -1 && (defaultIx < 0 || size_t(defaultIx) >= size()))
        fault("default pattern index " + std::to_string(defaultIx) + " for empty bars lies beyond its "
            + std::to_string(size()) + " patterns");
    return sane;
}

void CGenClaveLib::TraceStream(std::ostream& os) const
{
    TraceStreamBrief(os);
    for (const CGenClavePattern& p : *this)
        os << "\n  ", p.TraceStream(os);
}

void CGenClaveLib::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenClaveLib '" << mName << "': " << size() << " patterns, grid type " << int(mGridType)
       << ", default pattern for empty bars " << mDefaultPatternIxForEmptyBar;
}

std::ostream& operator<<(std::ostream& os, const CGenClaveLib& lib)
{
    lib.TraceStream(os);
    return os;
}

const CGenClaveLib* CGenClaveLibs::FindClaveLibForName(const std::string& name) const
{
    for (const CGenClaveLib& lib : *this)
        if (lib.mName == name)
            return &lib;
    return nullptr;
}

CGenClaveLib* CGenClaveLibs::FindClaveLibForName(const std::string& name)
{
    for (CGenClaveLib& lib : *this)
        if (lib.mName == name)
            return &lib;
    return nullptr;
}

void CGenClaveLibs::TraceStream(std::ostream& os) const
{
    os << "CGenClaveLibs size " << size();
    for (const CGenClaveLib& lib : *this)
        os << "\n  ", lib.TraceStreamBrief(os);
}
