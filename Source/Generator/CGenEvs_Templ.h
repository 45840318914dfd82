#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

// Position of a positioned element: events carry mBeatPos, song-level elements
// (chords, keys, harmonic centres) carry mBeatPosAbs.
template <class T>
inline float GenElBeatPos(const T& el)
{
    if constexpr (requires { el.mBeatPos; })
        return el.mBeatPos;
    else
        return el.mBeatPosAbs;
}

// Search of a position-sorted range [start, end) by TFindBeat mode:
// 0 equal (the first equal one); 1 first greater; 2 first greater or equal;
// 3 last at or before, provided an element lies behind the position;
// 4 equal, else the last before (the last element if all lie before).
// Not found gives `end`.
template <class It>
It GenFindElWithBeatPos(It start, It end, float pos, TFindBeat mode)
{
    using T = typename std::iterator_traits<It>::value_type;
    auto lb = std::lower_bound(start, end, pos, [](const T& el, float p) { return GenElBeatPos(el) < p; });
    switch (mode) {
    case 0: return (lb != end && GenElBeatPos(*lb) == pos) ? lb : end;
    case 1: return std::upper_bound(lb, end, pos, [](float p, const T& el) { return p < GenElBeatPos(el); });
    case 2: return lb;
    case 3: {
        auto ub = std::upper_bound(lb, end, pos, [](float p, const T& el) { return p < GenElBeatPos(el); });
        if (ub == end || ub == start)
            return end;
        return std::prev(ub);
    }
    case 4:
        if (lb != end && GenElBeatPos(*lb) == pos)
            return lb;
        return lb == start ? end : std::prev(lb);
    default: return end;
    }
}

// A beat-sorted sequence of positioned elements with a length. Every
// position-sorted list of the engine is one of these.
template <class T>
class CGenEvs_Templ : public std::vector<T> {
public:
    using TVec = std::vector<T>;
    using iterator = typename TVec::iterator;
    using const_iterator = typename TVec::const_iterator;

    float mLength = TGenBeatLength_Undef;

    CGenEvs_Templ() = default;
    explicit CGenEvs_Templ(float length) : mLength(length) {}
    CGenEvs_Templ(std::initializer_list<T> els) : TVec(els) {}

    float Length() const { return mLength; }
    void SetLength(float l) { mLength = l; }
    bool HasLength() const { return GenIsDef(mLength); }
    // Raises mLength to `length` if that is larger; never lowers it.
    void AssureMinLength(float length)
    {
        if (GenIsDef(length) && (GenIsUndef(mLength) || length > mLength))
            mLength = length;
    }

    // Position-sorted search from `start`; see GenFindElWithBeatPos.
    const_iterator FindElWithBeatPos(float pos, TFindBeat mode, const_iterator start) const
    {
        return GenFindElWithBeatPos(start, this->end(), pos, mode);
    }
    const_iterator FindElWithBeatPos(float pos, TFindBeat mode) const { return FindElWithBeatPos(pos, mode, this->begin()); }
    iterator FindElWithBeatPos(float pos, TFindBeat mode, iterator start)
    {
        return GenFindElWithBeatPos(start, this->end(), pos, mode);
    }
    iterator FindElWithBeatPos(float pos, TFindBeat mode) { return FindElWithBeatPos(pos, mode, this->begin()); }

    // The element in force at `pos`: the last one at or before it, else end().
    const_iterator ElInForceAt(float pos) const
    {
        auto ub = std::upper_bound(this->begin(), this->end(), pos, [](float p, const T& el) { return p < GenElBeatPos(el); });
        return ub == this->begin() ? this->end() : std::prev(ub);
    }

    // First element at or after `pos`, else end().
    const_iterator EvAtOrAfter(float pos) const { return FindElWithBeatPos(pos, 2); }
    iterator EvAtOrAfter(float pos) { return FindElWithBeatPos(pos, 2); }
    // First element after `pos`, else end(); a negative pos gives end().
    const_iterator EvAfter(float pos) const { return pos < 0.0f ? this->end() : FindElWithBeatPos(pos, 1); }
    iterator EvAfter(float pos) { return pos < 0.0f ? this->end() : FindElWithBeatPos(pos, 1); }

    // Inserts behind all elements at or before the element's position, so that
    // equal positions keep their arrival order.
    iterator InsertAtCorrectBeatPos(const T& el)
    {
        const float p = GenElBeatPos(el);
        auto ub = std::upper_bound(this->begin(), this->end(), p, [](float q, const T& e) { return q < GenElBeatPos(e); });
        return this->insert(ub, el);
    }

    bool IsSortedByBeatPos() const
    {
        return std::is_sorted(this->begin(), this->end(), [](const T& a, const T& b) { return GenElBeatPos(a) < GenElBeatPos(b); });
    }
    // Stable sort by position only.
    void SortByBeatPos()
    {
        std::stable_sort(this->begin(), this->end(), [](const T& a, const T& b) { return GenElBeatPos(a) < GenElBeatPos(b); });
    }

    bool operator==(const CGenEvs_Templ& o) const
    {
        return mLength == o.mLength && static_cast<const TVec&>(*this) == static_cast<const TVec&>(o);
    }

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mLength", mLength);
        ar& boost::serialization::make_nvp("mEvs", static_cast<TVec&>(*this));
    }
};
