#pragma once

#include "Generator/CGenEvs.h"
#include "Generator/CGenRange.h"
#include "Generator/CGenTypes.h"
#include "Generator/clave/CGenEvsClave.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

namespace zkgen {

// The edit a signature transformation step makes on the time axis of one bar,
// positions relative to the bar start.
enum class TSTEditKind { Erase, InsertSilence, CopyInsert, Move };
struct TSTEdit {
    TSTEditKind mKind = TSTEditKind::Move;
    float mFrom = 0.0f;   // CopyInsert and Move: start of the stretch taken
    float mLength = 0.0f; // length of the stretch
    float mAt = 0.0f;     // Erase and InsertSilence: start; CopyInsert: insertion point; Move: destination
};

// The edit that undoes `e`: an erase is undone by silence at the same place,
// silence and a copy by erasing the inserted stretch. A move has no inverse
// (it edits nothing).
TSTEdit InverseSTEdit(const TSTEdit& e);

// Writable position of a positioned element.
template <class T>
inline float& ElBeatPosRef(T& el)
{
    if constexpr (requires { el.mBeatPos; })
        return el.mBeatPos;
    else
        return el.mBeatPosAbs;
}

template <class TEls>
auto LowerBoundBeatPos(TEls& els, float pos)
{
    using T = typename TEls::value_type;
    return std::lower_bound(els.begin(), els.end(), pos, [](const T& el, float p) { return GenElBeatPos(el) < p; });
}

// Applies one edit to a position-sorted list with bar start `barStart`;
// mLength is the list length E (undefined: open-ended). Elements that carry a
// length (mBeatLength) are shortened and prolonged as the edit requires; the
// others just move. The list stays in its order: removed and inserted
// stretches are contiguous and the tail moves as a whole.
//   Erase: events overlapping [a, a + len) from the left lose the overlap,
//     events starting there go, later ones move back by len; E shrinks by the
//     overlap of the stretch with [0, E) when E lies beyond a.
//   InsertSilence: events at or after a move by len; one that starts before a
//     and ends after a + len grows by len; E grows by len.
//   CopyInsert: copies of the events of [from, from + len) go to a, the rest
//     as under InsertSilence.
template <class TEls>
void ApplySTEdit(TEls& els, const TSTEdit& e, float barStart)
{
    using T = typename TEls::value_type;
    constexpr bool kHasLength = requires(T t) { t.mBeatLength; };
    const float len = e.mLength;
    if (!(len > 0.0f) || GenIsUndef(barStart) || e.mKind == TSTEditKind::Move)
        return;
    const float a = barStart + e.mAt;

    // An element that starts before a and ends after a + len grows by len.
    auto prolongBridging = [&]() {
        if constexpr (kHasLength) {
            const auto stop = LowerBoundBeatPos(els, a);
            for (auto it = els.begin(); it != stop; ++it) {
                const float end = GenAddRegardingUndef(it->mBeatPos, it->mBeatLength);
                if (GenIsDef(end) && end > a + len)
                    it->mBeatLength += len;
            }
        }
    };
    auto shiftFrom = [&](auto first, float delta) {
        for (auto it = first; it != els.end(); ++it)
            ElBeatPosRef(*it) += delta;
    };

    switch (e.mKind) {
    case TSTEditKind::Erase: {
        const float b = a + len;
        const auto firstIn = LowerBoundBeatPos(els, a);
        if constexpr (kHasLength) {
            for (auto it = els.begin(); it != firstIn; ++it) {
                const float end = GenAddRegardingUndef(it->mBeatPos, it->mBeatLength);
                if (GenIsDef(end) && end > a)
                    it->mBeatLength -= std::min(end, b) - std::max(it->mBeatPos, a);
            }
        }
        const auto firstAfter = LowerBoundBeatPos(els, b);
        const auto tail = els.erase(firstIn, firstAfter);
        shiftFrom(tail, -len);
        if (GenIsDef(els.mLength) && els.mLength > a) {
            const float overlap = std::min(b, els.mLength) - std::max(a, 0.0f);
            if (overlap > 0.0f)
                els.mLength -= overlap;
        }
        break;
    }
    case TSTEditKind::InsertSilence: {
        prolongBridging();
        shiftFrom(LowerBoundBeatPos(els, a), len);
        if (GenIsDef(els.mLength))
            els.mLength += len;
        break;
    }
    case TSTEditKind::CopyInsert: {
        const float from = barStart + e.mFrom;
        std::vector<T> copies(LowerBoundBeatPos(els, from), LowerBoundBeatPos(els, from + len));
        for (T& c : copies)
            ElBeatPosRef(c) += a - from;
        prolongBridging();
        const auto at = LowerBoundBeatPos(els, a);
        const auto atIx = at - els.begin();
        shiftFrom(at, len);
        els.insert(els.begin() + atIx, copies.begin(), copies.end());
        if (GenIsDef(els.mLength))
            els.mLength += len;
        break;
    }
    case TSTEditKind::Move: break;
    }
}

// Applies one edit to a range [s, e] (the form used to find where a stretch of
// the source ends up). The range (0, 0) without bounds is left alone.
void ApplySTEdit(CGenRange<float>& range, const TSTEdit& e, float barStart);

} // namespace zkgen

// One edit step of a signature transformation: positions in beats relative to
// the start of the bar it is applied to. The transforms of lists run the same
// rules on every element type: events keep their lengths in step, clave and
// chord elements just move.
class CGenSignTimeTrafoStep_Base {
public:
    virtual ~CGenSignTimeTrafoStep_Base() = default;

    // The edit of this step.
    virtual zkgen::TSTEdit Edit() const = 0;

    virtual void Transform(CGenEvs& evs, float barStartPos) const { zkgen::ApplySTEdit(evs, Edit(), barStartPos); }
    virtual void Transform(CGenEvsClave& evs, float barStartPos) const { zkgen::ApplySTEdit(evs, Edit(), barStartPos); }
    // Any other positioned list (chords and the like).
    template <class TEls>
    void TransformEls(TEls& els, float barStartPos) const
    {
        zkgen::ApplySTEdit(els, Edit(), barStartPos);
    }
    virtual void Transform(CGenRange<float>& range, float barStartPos) const { zkgen::ApplySTEdit(range, Edit(), barStartPos); }
    virtual void InverseTransform(CGenRange<float>& range, float barStartPos) const
    {
        zkgen::ApplySTEdit(range, zkgen::InverseSTEdit(Edit()), barStartPos);
    }
    virtual void InverseTransform(CGenEvsClave& evs, float barStartPos) const
    {
        zkgen::ApplySTEdit(evs, zkgen::InverseSTEdit(Edit()), barStartPos);
    }
    template <class TEls>
    void InverseTransformEls(TEls& els, float barStartPos) const
    {
        zkgen::ApplySTEdit(els, zkgen::InverseSTEdit(Edit()), barStartPos);
    }
    // Adds delta to all positions of the step.
    virtual void Offset(float delta) = 0;
    // Same dynamic type and fields.
    bool operator==(const CGenSignTimeTrafoStep_Base& o) const { return IsEqualTo(o); }
    virtual bool IsEqualTo(const CGenSignTimeTrafoStep_Base& o) const = 0;
    virtual std::unique_ptr<CGenSignTimeTrafoStep_Base> Clone() const = 0;

    virtual void TraceStream(std::ostream& os) const = 0;
    void Trace() const { std::cout << TraceString() << std::endl; }
    void TraceBrief() const { Trace(); }
    std::string TraceStr() const { return TraceString(); }
    std::string TraceString() const
    {
        std::ostringstream os;
        TraceStream(os);
        return os.str();
    }
    std::string TraceBriefString() const { return TraceString(); }
};

// Cloning and comparison for the concrete steps: equal when of the same type
// with the same edit.
template <class TDerived>
class CGenSignTimeTrafoStep_Impl : public CGenSignTimeTrafoStep_Base {
public:
    bool IsEqualTo(const CGenSignTimeTrafoStep_Base& o) const override
    {
        if (typeid(o) != typeid(TDerived))
            return false;
        const zkgen::TSTEdit a = Edit(), b = o.Edit();
        return a.mFrom == b.mFrom && a.mLength == b.mLength && a.mAt == b.mAt;
    }
    std::unique_ptr<CGenSignTimeTrafoStep_Base> Clone() const override
    {
        return std::make_unique<TDerived>(static_cast<const TDerived&>(*this));
    }
};

// Cuts [at, at + length) out of the bar.
class CGenSignTimeTrafoStep_Erase : public CGenSignTimeTrafoStep_Impl<CGenSignTimeTrafoStep_Erase> {
public:
    float mAt = 0.0f;
    float mLength = 0.0f;

    CGenSignTimeTrafoStep_Erase() = default;
    CGenSignTimeTrafoStep_Erase(float at, float length) : mAt(at), mLength(length) {}

    zkgen::TSTEdit Edit() const override { return {zkgen::TSTEditKind::Erase, 0.0f, mLength, mAt}; }
    void Offset(float delta) override { mAt += delta; }
    void TraceStream(std::ostream& os) const override
    {
        os << "CGenSignTimeTrafoStep_Erase: EraseAtBeatPos " << mAt << ", ForLength " << mLength;
    }
};

// Opens a gap of length at `at`.
class CGenSignTimeTrafoStep_InsertSilence : public CGenSignTimeTrafoStep_Impl<CGenSignTimeTrafoStep_InsertSilence> {
public:
    float mAt = 0.0f;
    float mLength = 0.0f;

    CGenSignTimeTrafoStep_InsertSilence() = default;
    CGenSignTimeTrafoStep_InsertSilence(float at, float length) : mAt(at), mLength(length) {}

    zkgen::TSTEdit Edit() const override { return {zkgen::TSTEditKind::InsertSilence, 0.0f, mLength, mAt}; }
    void Offset(float delta) override { mAt += delta; }
    void TraceStream(std::ostream& os) const override
    {
        os << "CGenSignTimeTrafoStep_InsertSilence: InsertAtBeatPos " << mAt << ", ForLength " << mLength;
    }
};

// Repeats [from, from + length) at `at`, moving what follows.
class CGenSignTimeTrafoStep_CopyInsert : public CGenSignTimeTrafoStep_Impl<CGenSignTimeTrafoStep_CopyInsert> {
public:
    float mFrom = 0.0f;
    float mLength = 0.0f;
    float mAt = 0.0f;

    CGenSignTimeTrafoStep_CopyInsert() = default;
    CGenSignTimeTrafoStep_CopyInsert(float from, float length, float at) : mFrom(from), mLength(length), mAt(at) {}

    zkgen::TSTEdit Edit() const override { return {zkgen::TSTEditKind::CopyInsert, mFrom, mLength, mAt}; }
    void Offset(float delta) override
    {
        mFrom += delta;
        mAt += delta;
    }
    void TraceStream(std::ostream& os) const override
    {
        os << "CGenSignTimeTrafoStep_CopyInsert: CopyFromBeatPos " << mFrom << ", ForLength " << mLength
           << ", InsertAtBeatPos  " << mAt;
    }
};

// A move of a stretch. No preset or fallback makes one; it exists so that a
// transformation can name it, and its transforms leave everything as it is.
class CGenSignTimeTrafoStep_Move : public CGenSignTimeTrafoStep_Impl<CGenSignTimeTrafoStep_Move> {
public:
    float mFrom = 0.0f;
    float mLength = 0.0f;
    float mTo = 0.0f;

    CGenSignTimeTrafoStep_Move() = default;
    CGenSignTimeTrafoStep_Move(float from, float length, float to) : mFrom(from), mLength(length), mTo(to) {}

    zkgen::TSTEdit Edit() const override { return {zkgen::TSTEditKind::Move, mFrom, mLength, mTo}; }
    void Offset(float delta) override
    {
        mFrom += delta;
        mTo += delta;
    }
    void TraceStream(std::ostream& os) const override
    {
        os << "CGenSignTimeTrafoStep_Move: MoveFromBeatPos " << mFrom << ", ForLength " << mLength << ", MoveToBeatPos  "
           << mTo;
    }
};

// The ordered steps of one transformation, owned; a copy clones each step.
class CGenSignTimeTrafoSteps : public CGenTraceable<CGenSignTimeTrafoSteps> {
public:
    static constexpr const char* kTraceClassName = "CGenSignTimeTrafoSteps";
    using TStepPtr = std::unique_ptr<CGenSignTimeTrafoStep_Base>;

    CGenSignTimeTrafoSteps() = default;
    CGenSignTimeTrafoSteps(const CGenSignTimeTrafoSteps& o);
    CGenSignTimeTrafoSteps(CGenSignTimeTrafoSteps&&) noexcept = default;
    CGenSignTimeTrafoSteps& operator=(const CGenSignTimeTrafoSteps& o);
    CGenSignTimeTrafoSteps& operator=(CGenSignTimeTrafoSteps&&) noexcept = default;

    size_t size() const { return mSteps.size(); }
    bool empty() const { return mSteps.empty(); }
    const CGenSignTimeTrafoStep_Base& operator[](size_t i) const { return *mSteps[i]; }
    auto begin() const { return mSteps.begin(); }
    auto end() const { return mSteps.end(); }
    auto rbegin() const { return mSteps.rbegin(); }
    auto rend() const { return mSteps.rend(); }
    void clear() { mSteps.clear(); }
    void push_back(TStepPtr step)
    {
        if (step)
            mSteps.push_back(std::move(step));
    }
    template <class TStep, class... A>
    void Add(A... args)
    {
        mSteps.push_back(std::make_unique<TStep>(args...));
    }
    void Offset(float delta)
    {
        for (auto& s : mSteps)
            s->Offset(delta);
    }

    bool operator==(const CGenSignTimeTrafoSteps& o) const;

    // "CGenSignTimeTrafoSteps: " and the steps, separated by "; ".
    void TraceStream(std::ostream& os) const;

private:
    std::vector<TStepPtr> mSteps;
};
