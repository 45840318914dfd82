#include "Generator/fills/CGenFills.h"

#include "Platform/ZKLog.h"

#include <algorithm>

namespace {

// The partial order of the sorted insert: b is passed when a lies at or
// above it on all three axes.
bool AtOrAbove(const CGenFillCoordInt& a, const CGenFillCoordInt& b)
{
    return a.mComplInt >= b.mComplInt && a.mIntnInt >= b.mIntnInt && a.mSpectacularity >= b.mSpectacularity;
}

void Widen(float& low, float& high, float v)
{
    if (GenIsUndef(v))
        return;
    if (GenIsUndef(low) || v < low)
        low = v;
    if (GenIsUndef(high) || v > high)
        high = v;
}

} // namespace

void CGenFill::ConvertToPattern(CGenPattern& pattern) const
{
    pattern.mName = mName;
    pattern.mCoord = mCoord;
    pattern.mEvs = mEvs;
    pattern.mClaveLinks = mClaveLinks;
}

// ----- CGenFillsWithSameLength

void CGenFillsWithSameLength::AddFillSortedByCoord(const CGenFill& fill)
{
    size_t low = 0;
    size_t high = size();
    while (low < high) {
        const size_t mid = low + (high - low) / 2;
        if (AtOrAbove(fill.mCoord, (*this)[mid].mCoord))
            low = mid + 1;
        else
            high = mid;
    }
    insert(begin() + static_cast<ptrdiff_t>(low), fill);
}

size_t CGenFillsWithSameLength::FindFillThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare) const
{
    for (size_t i = 0; i < size(); ++i)
        if (compare.Equal((*this)[i].mEvs, evs))
            return i;
    return size();
}

void CGenFillsWithSameLength::EraseAllClaveLinks()
{
    for (CGenFill& f : *this)
        f.mClaveLinks.clear();
}

void CGenFillsWithSameLength::EraseAllClaveLinksFor(int ixClavePattern)
{
    for (CGenFill& f : *this)
        f.mClaveLinks.EraseAllClaveLinksFor(ixClavePattern);
}

void CGenFillsWithSameLength::FindPatternCoordIntMinAndMax(CGenPatternCoordConv& bounds) const
{
    for (const CGenFill& f : *this) {
        Widen(bounds.mMinComplInt, bounds.mMaxComplInt, f.mCoord.mComplInt);
        Widen(bounds.mMinIntnInt, bounds.mMaxIntnInt, f.mCoord.mIntnInt);
    }
}

bool CGenFillsWithSameLength::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    bool ok = true;
    for (const CGenFill& f : *this)
        if (f.Length() != mLength) {
            report += ZKLogFormat("%@length %@ fill '%@' is %@ beats long\n", {prefix, mLength, f.mName, f.Length()});
            ok = false;
        }
    return ok;
}

// ----- CGenFills

CGenFills::CGenFills(const CGenFills& o)
    : std::vector<CGenFillsWithSameLength>(o), mPatternCoordConv(o.mPatternCoordConv), mWeakClaveLibs(o.mWeakClaveLibs),
      mOwnedClaveLibs(o.mOwnedClaveLibs)
{
}

CGenFills& CGenFills::operator=(const CGenFills& o)
{
    if (this != &o) {
        std::vector<CGenFillsWithSameLength>::operator=(o);
        mPatternCoordConv = o.mPatternCoordConv;
        mWeakClaveLibs = o.mWeakClaveLibs;
        mOwnedClaveLibs = o.mOwnedClaveLibs;
    }
    return *this;
}

void CGenFills::SetWeakClaveLibs(CGenClaveLibs* libs)
{
    mWeakClaveLibs = libs;
    if (!libs || libs != mOwnedClaveLibs.get())
        mOwnedClaveLibs.reset();
}

size_t CGenFills::CalcTotalFillCount() const
{
    size_t n = 0;
    for (const CGenFillsWithSameLength& g : *this)
        n += g.size();
    return n;
}

std::pair<size_t, size_t> CGenFills::_FillsAtTotalIndex(size_t index) const
{
    for (size_t g = 0; g < size(); ++g) {
        if (index < (*this)[g].size())
            return {g, index};
        index -= (*this)[g].size();
    }
    return {size(), 0};
}

const CGenFill* CGenFills::FillAtTotalIndex(size_t index) const
{
    const auto [g, i] = _FillsAtTotalIndex(index);
    return g < size() ? &(*this)[g][i] : nullptr;
}

void CGenFills::AddFill(const CGenFill& fill)
{
    for (CGenFillsWithSameLength& g : *this)
        if (g.mLength == fill.Length()) {
            g.AddFillSortedByCoord(fill);
            return;
        }
    push_back(CGenFillsWithSameLength(fill.Length()));
    back().AddFillSortedByCoord(fill);
}

bool CGenFills::HasUniqueEvsAndLength(const CGenFill& fill, const CGenEvsCompare& compare) const
{
    for (const CGenFillsWithSameLength& g : *this)
        if (g.mLength == fill.Length() && g.FindFillThatMatches(fill.mEvs, compare) < g.size())
            return false;
    return true;
}

bool CGenFills::AddIfUniqueEvsAndLength(const CGenFill& fill, const CGenEvsCompare& compare)
{
    if (!HasUniqueEvsAndLength(fill, compare))
        return false;
    AddFill(fill);
    return true;
}

int CGenFills::LinkToClave(size_t group, size_t index, const CGenClavePattern& clavePattern, float matchPercent,
    signed char offset)
{
    if (!mWeakClaveLibs || mWeakClaveLibs->empty() || group >= size() || index >= (*this)[group].size())
        return -1;
    const int claveIx = mWeakClaveLibs->front().AddIfUniqueEvs(clavePattern);
    (*this)[group][index].mClaveLinks.AddLinkIfNew(claveIx, offset, static_cast<int>(matchPercent));
    return claveIx;
}

bool CGenFills::AddIfUniqueEvsAndLengthAndLinkToClave(const CGenFill& fill, const CGenClavePattern& clavePattern,
    float matchPercent, signed char offset)
{
    if (!AddIfUniqueEvsAndLength(fill))
        return false;
    // The added fill is found again by its events in its group.
    for (size_t g = 0; g < size(); ++g)
        if ((*this)[g].mLength == fill.Length()) {
            LinkToClave(g, (*this)[g].FindFillThatMatches(fill.mEvs), clavePattern, matchPercent, offset);
            break;
        }
    return true;
}

bool CGenFills::EraseFill(size_t group, size_t index)
{
    if (group >= size() || index >= (*this)[group].size())
        return false;
    CGenFillsWithSameLength& g = (*this)[group];
    g.erase(g.begin() + static_cast<ptrdiff_t>(index));
    if (g.empty())
        erase(begin() + static_cast<ptrdiff_t>(group));
    return true;
}

bool CGenFills::EraseFillAtTotalIndex(size_t index)
{
    const auto [g, i] = _FillsAtTotalIndex(index);
    return EraseFill(g, i);
}

void CGenFills::EraseAllClaveLinks()
{
    for (CGenFillsWithSameLength& g : *this)
        g.EraseAllClaveLinks();
}

void CGenFills::EraseAllClaveLinksFor(int ixClavePattern)
{
    for (CGenFillsWithSameLength& g : *this)
        g.EraseAllClaveLinksFor(ixClavePattern);
}

CGenPatternCoordConv CGenFills::FindPatternCoordIntMinAndMax() const
{
    CGenPatternCoordConv c;
    c.SetToUndef();
    for (const CGenFillsWithSameLength& g : *this)
        g.FindPatternCoordIntMinAndMax(c);
    return c;
}

bool CGenFills::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    // Most libraries have no fills here; nothing is there to be wrong.
    if (empty())
        return true;
    bool ok = mPatternCoordConv.CheckContentSanity(prefix + "fills ", report);
    for (const CGenFillsWithSameLength& g : *this)
        ok = g.CheckContentSanity(prefix + "fills ", report) && ok;
    return ok;
}
