#pragma once

#include "Generator/CGenEvs_Templ.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/timesig/CGenSignTime.h"

#include <atomic>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>

// One metre change of a song: the metre holds from mBeatPosAbs (the start of
// its first bar) on. The internal bar number of that first bar is derived by
// the owning map's Compile.
class CGenEvSignTime : public CGenTraceable<CGenEvSignTime> {
public:
    static constexpr const char* kTraceClassName = "CGenEvSignTime";

    float mBeatPosAbs = TGenBeatPosAbs_Undef;
    CGenSignTime mSignTime;
    // Derived; written by CGenEvsSignTime::Compile only.
    mutable int mCompiledBarNr = TGenBarNr_Undef;

    constexpr CGenEvSignTime() = default;
    constexpr CGenEvSignTime(float pos, const CGenSignTime& signTime, int compiledBarNr = TGenBarNr_Undef)
        : mBeatPosAbs(pos), mSignTime(signTime), mCompiledBarNr(compiledBarNr)
    {
    }

    int CompiledBarNr() const { return mCompiledBarNr; }
    const CGenSignTime& SignTime() const { return mSignTime; }

    // Position and metre; the derived bar number is not compared.
    bool operator==(const CGenEvSignTime& o) const { return mBeatPosAbs == o.mBeatPosAbs && mSignTime == o.mSignTime; }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }
    // "{8, {7, 3}}": the form that rebuilds this element in code.
    std::string TraceForInitializerList() const;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mBeatPosAbs", mBeatPosAbs);
        ar& boost::serialization::make_nvp("CGenSignTime", mSignTime);
    }
};

// Spelled out rather than read from CGenSignTime_Default44, which a constant
// initialiser may not read.
inline constinit const CGenEvSignTime CGenEvSignTime_Default44 {0.0f, CGenSignTime(4, 2), 1};

// Failure value of the beat-to-time conversions (nanoseconds).
using TGenNanoLength = int64_t;
inline constexpr TGenNanoLength TGenNanoLength_Undef = static_cast<TGenNanoLength>(0x8000000000000001ull);

// The map of metre changes of a song, ascending by position, and the bar grid
// it spans. Bar numbers are internal: the bar at position 0 is bar 1, and bars
// extend to the left of the first element in its metre.
//
// Compilation. Every change marks the map as needing compilation; all readers
// compile it first if so. The mutating members of the list (non-const
// begin/end/operator[]/front/back, insert, erase, push_back, ...) are
// overridden here to set the mark. Changing elements through a reference to
// the base list bypasses that: call SetNeedsCompile() afterwards.
//
// Threads. Compile is const and writes only the derived bar numbers. It is
// safe to call from several threads at once: the mark is an atomic flag read
// with acquire order, and the compilation itself runs under a mutex of the
// map, double-checked, so concurrent const readers of a shared map see
// either a finished compilation or wait for it. Readers need no lock once a
// map is compiled (the fast path is one atomic load), so a map that is shared
// should still be compiled once before it is handed out. Changing a map while
// another thread reads it is not safe, as for any container.
//
// Hints. Conversions that take a `const_iterator*` hint use and update it:
// pass the address of an iterator initialised to end() and keep it across a
// sequential scan. A hint whose element lies after the position is ignored
// and the element searched again; otherwise the search walks forward from it.
class CGenEvsSignTime : public CGenEvs_Templ<CGenEvSignTime>, public CGenTraceable<CGenEvsSignTime> {
public:
    static constexpr const char* kTraceClassName = "CGenEvsSignTime";
    using TBase = CGenEvs_Templ<CGenEvSignTime>;
    using iterator = TBase::iterator;
    using const_iterator = TBase::const_iterator;

    CGenEvsSignTime() = default;
    CGenEvsSignTime(std::initializer_list<CGenEvSignTime> els) : TBase(els) {}
    CGenEvsSignTime(const CGenEvsSignTime& o);
    CGenEvsSignTime(CGenEvsSignTime&& o) noexcept;
    CGenEvsSignTime& operator=(const CGenEvsSignTime& o);
    CGenEvsSignTime& operator=(CGenEvsSignTime&& o) noexcept;
    ~CGenEvsSignTime() = default;

    // Compilation state.
    void Compile() const;
    bool NeedsCompile() const { return mNeedsCompile.load(std::memory_order_acquire); }
    void SetNeedsCompile() { mNeedsCompile.store(true, std::memory_order_release); }
    void ClearAndSetNeedsCompile()
    {
        TBase::clear();
        SetNeedsCompile();
    }

    // Mutating access, each marking the map for compilation.
    iterator begin() { return SetNeedsCompile(), TBase::begin(); }
    iterator end() { return SetNeedsCompile(), TBase::end(); }
    const_iterator begin() const { return TBase::begin(); }
    const_iterator end() const { return TBase::end(); }
    CGenEvSignTime& operator[](size_t i) { return SetNeedsCompile(), TBase::operator[](i); }
    const CGenEvSignTime& operator[](size_t i) const { return TBase::operator[](i); }
    CGenEvSignTime& front() { return SetNeedsCompile(), TBase::front(); }
    const CGenEvSignTime& front() const { return TBase::front(); }
    CGenEvSignTime& back() { return SetNeedsCompile(), TBase::back(); }
    const CGenEvSignTime& back() const { return TBase::back(); }
    void push_back(const CGenEvSignTime& el) { SetNeedsCompile(), TBase::push_back(el); }
    template <class... A>
    CGenEvSignTime& emplace_back(A&&... a) { return SetNeedsCompile(), TBase::emplace_back(std::forward<A>(a)...); }
    template <class... A>
    iterator insert(A&&... a) { return SetNeedsCompile(), TBase::insert(std::forward<A>(a)...); }
    template <class... A>
    iterator erase(A&&... a) { return SetNeedsCompile(), TBase::erase(std::forward<A>(a)...); }
    void pop_back() { SetNeedsCompile(), TBase::pop_back(); }
    void clear() { ClearAndSetNeedsCompile(); }
    iterator InsertAtCorrectBeatPos(const CGenEvSignTime& el) { return SetNeedsCompile(), TBase::InsertAtCorrectBeatPos(el); }
    void SortByBeatPos() { SetNeedsCompile(), TBase::SortByBeatPos(); }

    // The metre in force, without extension to the left: undefined for an
    // undefined pos, an empty map or a pos before the first element.
    float BarBeatLengthAt(float pos) const;
    float DenomBeatLengthAt(float pos) const;
    const CGenSignTime& SignTimeAt(float pos) const;

    // Element at or before pos; end() for pos before the first element or undefined.
    const_iterator FindSignTimeAtOrBefore(float pos) const;
    // As above, but the first element for any pos before it; end() for an undefined pos.
    const_iterator FindSignTimeAtOrBeforeExtendingFirstToLeft(float pos) const;
    // The last element whose bar number is at or below barNr, else the first;
    // end() for an empty map or an undefined bar number.
    const_iterator FindEvSignTimeAtOrBeforeInternBarNrExtendingFirstToLeft(int barNr) const;
    // Position of the first element; undefined for an empty map.
    float FirstSignTimeBeatPos() const;

    // False for a negative pos; needs an element at or before pos.
    bool IsAtBarStart(float pos) const;

    // Bar and beat grid search by TFindBeat mode:
    //   0 pos if it lies on the grid, else undefined; 1 the next grid point
    //   after pos; 2 pos if on the grid, else the next; 3 the grid point before
    //   pos; 4 the grid point at or before pos; 5 and 6 the nearest grid point
    //   (exactly half way goes down).
    // Undefined for an undefined pos, an empty map, a metre without length or
    // any other mode.
    float FindBarStartPos(float pos, TFindBeat findBeat = 4, const_iterator* hint = nullptr) const;
    float _FindBarStartPos(float pos, TFindBeat findBeat, const_iterator* hint, const_iterator* resultIter) const;
    float FindBeatStartPos(float pos, TFindBeat findBeat) const;
    // The bar start by findBeat, moved by barDist bars.
    float FindBarStartPosThenIterateBarDist(float pos, TFindBeat findBeat, int barDist) const;
    float FindBeatPosInBar(float pos) const;
    float FindBeatPosInBeat(float pos) const;

    // Position to bar. Every output pointer may be null; outputs are first set
    // to undefined values.
    int BeatPosToInternBarNr(float pos) const;
    void BeatPosToInternBarNrAndLengthInBar(float pos, int* barNr, float* lengthInBar, const_iterator* iter = nullptr) const;
    void BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(float pos, int* barNr, float* lengthInBar, float* barStart,
        const_iterator* iter = nullptr) const;
    // beatNr counts quarter-note beats in the bar from 1.
    void BeatPosToInternBarNrAndInternBeatNrAndBarStartBeatPos(float pos, int* barNr, int* beatNr, float* barStart,
        const_iterator* iter = nullptr) const;

    // Bar to position; lengthInBar is clamped to [0, numerator].
    float InternBarNrAndLengthInBarToBeatPos(int barNr, float lengthInBar) const;
    // beatNr counts from 1.
    float InternBarNrAndBeatNrToBeatPos(int barNr, int beatNr) const;

    // Bar number of b minus that of a; TGenBarNr_Undef if either is undefined.
    int DistanceInBars(float a, float b) const;

    // "b3.2.5": internal bar number, then the beat in the bar counted from 1,
    // with up to four decimals. "Undef" for a position without a bar.
    std::string BeatPosString(float pos) const;
    // Reads that form; undefined for anything else.
    float BeatPosStringToBeatPos(const std::string& text) const;
    // "2:1.5": whole bars counted from pos, then the remaining beats. "Undef"
    // for an undefined or negative length.
    std::string BeatLengthString(float pos, float length) const;
    // Reads that form with bars counted from pos.
    float BeatLengthStringToBeatLength(const std::string& text, float pos = 0.0f) const;

    bool operator==(const CGenEvsSignTime& o) const { return static_cast<const TBase&>(*this) == static_cast<const TBase&>(o); }

    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("TGenEvsSignTime", boost::serialization::base_object<TBase>(*this));
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("TGenEvsSignTime", boost::serialization::base_object<TBase>(*this));
        SetNeedsCompile();
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    // Where a position lies on the bar grid.
    struct TBarAt {
        const_iterator mIt;
        int mBarNr = TGenBarNr_Undef;
        float mBarStart = TGenBeatPosAbs_Undef;
        float mLengthInBar = TGenBeatLength_Undef;
        float mBarLength = TGenBeatLength_Undef;
    };
    // False (and `at` undefined) for an undefined pos or an empty map.
    bool _BarAt(float pos, const_iterator* hint, TBarAt& at) const;
    // Bar length of the element in force at pos, extending the first to the left.
    float _BarLengthAtExtending(float pos) const;

    mutable std::atomic<bool> mNeedsCompile {true};
    mutable std::mutex mCompileMutex;
};

std::ostream& operator<<(std::ostream& os, const CGenEvsSignTime& m);

// The constant 4/4 map from position 0, in which patterns are written. It is
// compiled on construction, so a shared instance is safe to read from any thread.
class CGenEvsSignTime_Default44 : public CGenEvsSignTime {
public:
    CGenEvsSignTime_Default44();
    // One instance for the whole process.
    static const CGenEvsSignTime& Shared();
};
