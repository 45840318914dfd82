#include "Generator/clave/CGenNearestClavePatternInfo.h"

#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/patterns/CGenPatternIxs.h"

#include <algorithm>

namespace {

bool ClaveInForce(const CGenGeneratorParams& params)
{
    return params.mEvsClave_FollowTrackEnabled || params.mEvsClave_PrototypeClaveTrackEnabled;
}

// Length of a clave pattern of the library; 0 for an index outside it.
float ClavePatternLength(const CGenClaveLib* lib, int ix)
{
    if (!lib || ix < 0 || static_cast<size_t>(ix) >= lib->size())
        return 0.0f;
    return (*lib)[static_cast<size_t>(ix)].Length();
}

} // namespace

void CGenNearestClavePatternInfo::TraceStream(std::ostream& os) const
{
    os << "CGenNearestClavePatternInfo: PatternIx " << mIxClavePattern << ", RelPos " << mRelPos;
}

std::ostream& operator<<(std::ostream& os, const CGenNearestClavePatternInfo& info)
{
    info.TraceStream(os);
    return os;
}

void GenSearchClaveTimetable(const CGenBeatedPatternIxs& hist, const CGenClaveLib* lib, float p,
    CGenNearestClavePatternInfo& info)
{
    info.mBegin = hist.begin();
    info.mEnd = hist.end();
    info.mIxClavePattern = -1;
    info.mRelPos = TGenBeatPos_Undef;
    if (GenIsUndef(p) || p < 0.0f || hist.empty())
        return;
    const auto beyond = std::upper_bound(hist.begin(), hist.end(), p,
        [](float q, const CGenBeatedPatternIx& e) { return q < e.mBeatPosAbs; });
    if (beyond == hist.begin()) {
        // Before the first entry the position is handed on as it stands.
        info.mEnd = beyond;
        info.mIxClavePattern = beyond->mPatternIx;
        info.mRelPos = p;
        return;
    }
    const auto found = std::prev(beyond);
    if (beyond == hist.end() && found->mBeatPosAbs + ClavePatternLength(lib, found->mPatternIx) < p)
        return;
    info.mEnd = found;
    info.mIxClavePattern = found->mPatternIx;
    info.mRelPos = p - found->mBeatPosAbs;
}

void FindNearestClavePatternIxAndRelPos(const CGenBeatedPatternIxs& hist, const CGenGeneratorParams* params,
    const CGenClaveLib* lib, float pos, CGenNearestClavePatternInfo& info)
{
    if (!params || !lib)
        return;
    if (!ClaveInForce(*params)) {
        info = CGenNearestClavePatternInfo();
        return;
    }
    GenSearchClaveTimetable(hist, lib, GenAddRegardingUndef(params->mGenerateStartLeftBarPosAbs, pos), info);
}

void FindNearestClavePatternIxAndRelPos(const CGenPatternIxs& ixs, const CGenGeneratorParams* params,
    const CGenClaveLib* lib, float pos, CGenNearestClavePatternInfo& info)
{
    if (!params || !lib)
        return;
    CGenBeatedPatternIxs laidOut;
    float at = 0.0f;
    for (int32_t ix : ixs) {
        if (ix < 0 || static_cast<size_t>(ix) >= lib->size())
            break;
        laidOut.push_back(CGenBeatedPatternIx(at, ix));
        at += ClavePatternLength(lib, ix);
    }
    FindNearestClavePatternIxAndRelPos(laidOut, params, lib, pos, info);
    // The iterators pointed into the local layout.
    info.mBegin = {};
    info.mEnd = {};
}

CGenNearestClavePatternInfos::CGenNearestClavePatternInfos(const CGenNearestClavePatternInfos& o)
    : mInfos(o.mInfos), mHistories(o.mHistories)
{
    _RebindIterators(o);
}

CGenNearestClavePatternInfos& CGenNearestClavePatternInfos::operator=(const CGenNearestClavePatternInfos& o)
{
    if (this != &o) {
        mInfos = o.mInfos;
        mHistories = o.mHistories;
        _RebindIterators(o);
    }
    return *this;
}

void CGenNearestClavePatternInfos::_RebindIterators(const CGenNearestClavePatternInfos& from)
{
    for (auto& [name, info] : mInfos) {
        const auto src = from.mHistories.find(name);
        const auto dst = mHistories.find(name);
        if (src == from.mHistories.end() || dst == mHistories.end()) {
            info.mBegin = {};
            info.mEnd = {};
            continue;
        }
        const CGenNearestClavePatternInfo& old = from.mInfos.at(name);
        if (old.mBegin == CGenBeatedPatternIxs::const_iterator {}) {
            info.mBegin = {};
            info.mEnd = {};
            continue;
        }
        info.mBegin = dst->second.begin();
        info.mEnd = dst->second.begin() + (old.mEnd - src->second.begin());
    }
}

void CGenNearestClavePatternInfos::clear()
{
    mInfos.clear();
    mHistories.clear();
}

void CGenNearestClavePatternInfos::GatherInfosAtPos(const CGenGeneratorParams* params, const CGenClaveLibs* libs,
    float pos)
{
    if (!params || !libs)
        return;
    clear();
    mHistories = params->mEvsClaveClosestIxPatternHistForName;
    const bool inForce = ClaveInForce(*params);
    const float p = GenAddRegardingUndef(params->mGenerateStartLeftBarPosAbs, pos);
    for (const auto& [name, hist] : mHistories) {
        const CGenClaveLib* lib = libs->FindClaveLibForName(name);
        if (!lib)
            continue;
        CGenNearestClavePatternInfo& info = mInfos[name];
        if (inForce)
            GenSearchClaveTimetable(hist, lib, p, info);
    }
}

CGenNearestClavePatternInfo CGenNearestClavePatternInfos::GetInfo(const std::string& name) const
{
    const auto it = mInfos.find(name);
    return it == mInfos.end() ? CGenNearestClavePatternInfo() : it->second;
}

int32_t CGenNearestClavePatternInfos::GetClavePatternIxAtOffset(const std::string& name, int offset) const
{
    const auto it = mInfos.find(name);
    const auto hist = mHistories.find(name);
    if (it == mInfos.end() || hist == mHistories.end() || !it->second.Found())
        return -1;
    const CGenNearestClavePatternInfo& info = it->second;
    if (info.mBegin == CGenBeatedPatternIxs::const_iterator {} || info.mEnd == hist->second.end())
        return -1;
    const long at = static_cast<long>(info.mEnd - hist->second.begin()) + offset;
    if (at < 0 || at >= static_cast<long>(hist->second.size()))
        return -1;
    return hist->second[static_cast<size_t>(at)].mPatternIx;
}

void CGenNearestClavePatternInfos::TraceStream(std::ostream& os) const
{
    os << "CGenNearestClavePatternInfos: " << mInfos.size() << " libraries";
    for (const auto& [name, info] : mInfos)
        os << "\n  " << name << ": " << info;
}

void CGenNearestClavePatternInfos::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenNearestClavePatternInfos: " << mInfos.size() << " libraries";
}

const CGenEvsClave* CGenClaveCaches::Find(const CGenClaveCacheKey& key) const
{
    const auto it = mCaches.find(key);
    return it == mCaches.end() ? nullptr : &it->second;
}
