#pragma once

#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenBeatedPatternIxs.h"
#include "Generator/clave/CGenEvsClave.h"

#include <map>
#include <ostream>
#include <string>
#include <tuple>

class CGenGeneratorParams;
class CGenClaveLib;
class CGenClaveLibs;
class CGenPatternIxs;
class CGenPatternGraphBoost;

// What the clave of one library does at a position: the clave pattern that
// plays there and how far into it the position lies. mBegin is the start of
// the library's timetable, mEnd the entry found (the timetable's end when
// none was found), so that neighbours can be looked up; both are
// default-constructed when no clave is in force.
class CGenNearestClavePatternInfo : public CGenTraceable<CGenNearestClavePatternInfo> {
public:
    static constexpr const char* kTraceClassName = "CGenNearestClavePatternInfo";

    int32_t mIxClavePattern = -1;
    float mRelPos = TGenBeatPos_Undef;
    CGenBeatedPatternIxs::const_iterator mBegin {};
    CGenBeatedPatternIxs::const_iterator mEnd {};

    bool Found() const { return mIxClavePattern >= 0; }
    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }
};
std::ostream& operator<<(std::ostream& os, const CGenNearestClavePatternInfo& info);

// The clave of every library at one position of pattern choice. It keeps its
// own copy of the timetables so that the iterators of its answers stay valid
// however long it lives; copies point into their own copy.
class CGenNearestClavePatternInfos : public CGenTraceable<CGenNearestClavePatternInfos> {
public:
    static constexpr const char* kTraceClassName = "CGenNearestClavePatternInfos";

    CGenNearestClavePatternInfos() = default;
    CGenNearestClavePatternInfos(const CGenNearestClavePatternInfos& o);
    CGenNearestClavePatternInfos& operator=(const CGenNearestClavePatternInfos& o);
    CGenNearestClavePatternInfos(CGenNearestClavePatternInfos&& o) noexcept = default;
    CGenNearestClavePatternInfos& operator=(CGenNearestClavePatternInfos&& o) noexcept = default;

    // Answers for each library of the params' timetables at pos, which counts
    // from mGenerateStartLeftBarPosAbs. A timetable without a library of its
    // name is skipped; without either clave flag each answer is "none".
    // Null params or libraries leave the infos empty.
    void GatherInfosAtPos(const CGenGeneratorParams* params, const CGenClaveLibs* libs, float pos);

    // The answer for a library, or the "none" answer (-1, undefined).
    CGenNearestClavePatternInfo GetInfo(const std::string& name) const;
    int32_t GetClavePatternIx(const std::string& name) const { return GetInfo(name).mIxClavePattern; }
    // The clave pattern `offset` entries away from the one found (-1 the
    // previous bar's, 1 the next); -1 outside the timetable or without an answer.
    int32_t GetClavePatternIxAtOffset(const std::string& name, int offset) const;

    const std::map<std::string, CGenNearestClavePatternInfo>& Infos() const { return mInfos; }
    const CGenBeatedPatternIxsForName& Histories() const { return mHistories; }
    bool empty() const { return mInfos.empty(); }
    void clear();

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

private:
    void _RebindIterators(const CGenNearestClavePatternInfos& from);

    std::map<std::string, CGenNearestClavePatternInfo> mInfos;
    CGenBeatedPatternIxsForName mHistories;
};

// The search of a timetable at an absolute position p:
// - p below 0, or an empty timetable: none;
// - an entry at or before p whose successor lies beyond p: that entry, p
//   minus its position (0 for an exact hit);
// - p before the first entry: the first entry, with p itself as the
//   relative position (intended: the position is not made relative);
// - p behind every entry: the last entry when its pattern (of `lib`) still
//   reaches p, else none.
// Fills index, relative position and the found entry; none is (-1, undefined, end).
void GenSearchClaveTimetable(const CGenBeatedPatternIxs& hist, const CGenClaveLib* lib, float p,
    CGenNearestClavePatternInfo& info);

// The same search over one timetable at pos (counting from the left bar of
// the region start, like every position of pattern choice). Returns at once
// with null params or library; (-1, undefined) when neither clave flag is set.
void FindNearestClavePatternIxAndRelPos(const CGenBeatedPatternIxs& hist, const CGenGeneratorParams* params,
    const CGenClaveLib* lib, float pos, CGenNearestClavePatternInfo& info);
// The same over plain indices, laid out one after the other by the lengths of
// their clave patterns from beat 0; an index outside the library ends the layout.
void FindNearestClavePatternIxAndRelPos(const CGenPatternIxs& ixs, const CGenGeneratorParams* params,
    const CGenClaveLib* lib, float pos, CGenNearestClavePatternInfo& info);

// Key of a cached, filtered clave list: the library, the filter's number (a
// threshold or a grid) and the filter's kind. Ordered by name, then number,
// then kind.
class CGenClaveCacheKey {
public:
    std::string mName;
    double mValue = 0.0;
    int mKind = 0;

    CGenClaveCacheKey() = default;
    CGenClaveCacheKey(std::string name, double value, int kind = 0) : mName(std::move(name)), mValue(value), mKind(kind) {}
    bool operator<(const CGenClaveCacheKey& o) const
    {
        return std::tie(mName, mValue, mKind) < std::tie(o.mName, o.mValue, o.mKind);
    }
    bool operator==(const CGenClaveCacheKey& o) const = default;
};

// Filtered clave lists that scripts asked for, so that repeated requests of
// the same library and filter cost one look-up. Cleared when the clave changes.
class CGenClaveCaches {
public:
    // The cached list, or null.
    const CGenEvsClave* Find(const CGenClaveCacheKey& key) const;
    void Store(const CGenClaveCacheKey& key, CGenEvsClave evs) { mCaches[key] = std::move(evs); }
    void ClearForKey(const CGenClaveCacheKey& key) { mCaches.erase(key); }
    void ClearForAllKeys() { mCaches.clear(); }
    size_t size() const { return mCaches.size(); }

private:
    std::map<CGenClaveCacheKey, CGenEvsClave> mCaches;
};
