#include "Generator/CGenEvsNameds.h"

#include "Generator/CGenAssert.h"
#include "Generator/patterns/GenFindEvAcrossEls.h"

#include <algorithm>

CGenEvsNameds::const_iterator CGenEvsNameds::FindElWithBeatPosAbs(float pos, TFindBeat mode, const_iterator start) const
{
    return GenFindElWithBeatPos(start, end(), pos, mode);
}

CGenEvsNameds::const_iterator CGenEvsNameds::FindElContainingBeatPosAbs(float pos, const_iterator start) const
{
    return std::find_if(start, end(), [pos](const CGenEvsNamed& el) { return el.ContainsBeatPosAbs(pos); });
}

CGenEvsNameds::const_iterator CGenEvsNameds::FindElOverlappingWithRange(float rangeStart, float length,
    const_iterator start, TInclusiveBorders borders) const
{
    const float rangeEnd = GenAddRegardingUndef(rangeStart, length);
    if (GenIsUndef(rangeStart) || GenIsUndef(rangeEnd))
        return end();
    const bool left = borders == TInclusiveBorders_Left || borders == TInclusiveBorders_Both;
    const bool right = borders == TInclusiveBorders_Right || borders == TInclusiveBorders_Both;
    for (auto it = start; it != end(); ++it) {
        const float s = it->mBeatPosAbs, e = it->EndBeatPosAbs();
        if (GenIsUndef(s) || GenIsUndef(e))
            continue;
        const bool overlaps = (s < rangeEnd && rangeStart < e) || (left && e == rangeStart) || (right && s == rangeEnd);
        if (overlaps)
            return it;
    }
    return end();
}

bool CGenEvsNameds::IterateToNextEvInNextEl(const_iterator& el, CGenEvs::const_iterator& ev) const
{
    return IterateToNextEvInNextElOfRenderingPatternGraphType(TPatternGraphType_Undef, el, ev);
}

bool CGenEvsNameds::IterateToNextEvInNextElOfRenderingPatternGraphType(TPatternGraphType type, const_iterator& el,
    CGenEvs::const_iterator& ev) const
{
    auto accepts = [type](const CGenEvsNamed& e) { return type == TPatternGraphType_Undef || e.mRenderingPatternGraphType == type; };
    if (el == end())
        return false;
    if (ev != el->mEvs.end())
        ++ev;
    while (ev == el->mEvs.end() || !accepts(*el)) {
        ++el;
        if (el == end())
            return false;
        ev = el->mEvs.begin();
    }
    return true;
}

namespace {

// The TFindBeat search over absolute event positions, across elements that may overlap.
template <class TAccept>
CGenEvsNameds::TEvRef FindEvAcrossEls(const CGenEvsNameds& els, CGenEvsNameds::const_iterator elStart, float pos,
    TFindBeat mode, TAccept accept)
{
    const auto found = zkgen::FindEvAcrossEls(elStart, els.end(), pos, mode,
        [](const CGenEvsNamed& el) { return el.mBeatPosAbs; }, [](const CGenEvsNamed& el) -> const CGenEvs& { return el.mEvs; },
        accept);
    if (!found.mFound)
        return {};
    return CGenEvsNameds::TEvRef {found.mEl, found.mEv, true};
}

bool IsMatchingNote(const CGenEv& ev, TInstTreeUid uid, int channel) { return zkgen::GenIsMatchingNote(ev, uid, channel); }

} // namespace

CGenEvsNameds::TEvRef CGenEvsNameds::FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(float pos, TFindBeat mode,
    const_iterator elStart) const
{
    return FindEvAcrossEls(*this, elStart, pos, mode, [](const CGenEv&) { return true; });
}

CGenEvsNameds::TEvRef CGenEvsNameds::FindNoteInAnyEl(float pos, TFindBeat mode, TInstTreeUid uid, int channel) const
{
    return FindEvAcrossEls(*this, begin(), pos, mode, [&](const CGenEv& ev) { return IsMatchingNote(ev, uid, channel); });
}

CGenEvsNameds::TEvRef CGenEvsNameds::FindPrevNoteInAnyEl(float pos, TInstTreeUid uid, int channel) const
{
    TEvRef best;
    float bestPos = 0.0f;
    for (auto el = begin(); el != end(); ++el) {
        if (GenIsUndef(el->mBeatPosAbs))
            continue;
        for (auto ev = el->mEvs.begin(); ev != el->mEvs.end(); ++ev) {
            if (GenIsUndef(ev->mBeatPos) || !IsMatchingNote(*ev, uid, channel))
                continue;
            const float p = el->mBeatPosAbs + ev->mBeatPos;
            if (p < pos && (!best.mFound || p >= bestPos)) {
                best = TEvRef {el, ev, true};
                bestPos = p;
            }
        }
    }
    return best;
}

CGenEvsNameds::TEvRef CGenEvsNameds::FindNextNoteInAnyEl(float pos, TInstTreeUid uid, int channel) const
{
    return FindNoteInAnyEl(pos, 1, uid, channel);
}

CGenEvsNameds::iterator CGenEvsNameds::InsertAtCorrectBeatPos(const CGenEvsNamed& el)
{
    auto it = std::upper_bound(begin(), end(), el.mBeatPosAbs, Pred_GenEvsNameds_CmpBeatPosAbs_LessEqual);
    return insert(it, el);
}

void CGenEvsNameds::EraseAndOptionallyShortenEvsAndShortenMembersInRange(float start, float length,
    TShortenEvsLeftTouchingRange mode, TPatternGraphType type)
{
    if (GenIsUndef(start) || empty())
        return;
    const bool lengthDefined = GenIsDef(length);
    const float rangeEnd = lengthDefined ? start + length : TGenBeatPos_Max;
    // An undefined length makes the walk start at the last element.
    size_t i = lengthDefined ? 0 : size() - 1;
    while (i < size()) {
        CGenEvsNamed& el = (*this)[i];
        const float elStart = el.mBeatPosAbs, elLength = el.mEvs.mLength;
        const bool defined = GenIsDef(elStart) && GenIsDef(elLength);
        const bool overlaps = defined
            && ((lengthDefined && elStart >= start && elStart < rangeEnd) || (start >= elStart && start < elStart + elLength));
        if (!overlaps || (type != TPatternGraphType_Undef && el.mRenderingPatternGraphType == type)) {
            ++i;
            continue;
        }
        const float rel = start - elStart;
        const float relEnd = lengthDefined ? rel + length : TGenBeatPos_Max;
        CGenEvs& evs = el.mEvs;
        if (rel > 0.0f) {
            evs.EraseEvsInRange(rel, relEnd);
            if (mode == TShortenEvsLeftTouchingRange_Yes) {
                for (auto& ev : evs) {
                    if (GenIsUndef(ev.mBeatPos) || GenIsUndef(ev.mBeatLength) || ev.mBeatPos >= relEnd)
                        continue;
                    const float evEnd = ev.mBeatPos + ev.mBeatLength;
                    if (evEnd <= rel)
                        continue;
                    ev.mBeatLength -= std::min(relEnd, evEnd) - std::max(rel, ev.mBeatPos);
                }
            }
            if (elLength > rel && elLength <= relEnd)
                evs.mLength = rel;
            ++i;
        } else if (relEnd >= elLength) {
            erase(begin() + static_cast<ptrdiff_t>(i));
        } else {
            evs.EraseEvsInRange(rel, relEnd);
            const float shift = relEnd;
            el.mBeatPosAbs = start + length;
            evs.mLength -= shift;
            for (auto& ev : evs)
                if (GenIsDef(ev.mBeatPos))
                    ev.mBeatPos -= shift;
            ++i;
        }
    }
}

CGenEvsNameds::iterator CGenEvsNameds::CreateOverlayEvs(float start, float length, CGenEvs::const_iterator firstEv,
    CGenEvs::const_iterator lastEv, const std::string& name, TPatternGraphType type)
{
    EraseAndOptionallyShortenEvsAndShortenMembersInRange(start, length, TShortenEvsLeftTouchingRange_No, TPatternGraphType_Undef);
    CGenEvsNamed el(name, start, CGenEvs(length), type, -1);
    for (auto it = firstEv; it != lastEv; ++it)
        el.mEvs.push_back(*it);
    auto pos = std::lower_bound(begin(), end(), start, [](const CGenEvsNamed& e, float p) { return e.mBeatPosAbs < p; });
    return insert(pos, std::move(el));
}

CGenEvsNameds::iterator CGenEvsNameds::CreateOverlayEvsNamed(const CGenEvsNamed& el)
{
    return CreateOverlayEvs(el.mBeatPosAbs, el.mEvs.mLength, el.mEvs.begin(), el.mEvs.end(), el.mName,
        el.mRenderingPatternGraphType);
}

void CGenEvsNameds::CreateOverlayEvsForAll(const CGenEvsNameds& els)
{
    for (const auto& el : els)
        CreateOverlayEvsNamed(el);
}

void CGenEvsNameds::EraseEvsAndShortenMembersToLeaveSpaceForAll(const CGenEvsNameds& els, TPatternGraphType type)
{
    for (const auto& el : els)
        EraseEvsAndShortenMembersInRange(el.mBeatPosAbs, el.mEvs.mLength, type);
}

void CGenEvsNameds::EraseEvsAndShortenMembersToLeaveSpaceForAllButExcludeNoteNrsAtEnd(const CGenEvsNameds& els,
    const std::vector<int>& noteNrs, TPatternGraphType type)
{
    for (const auto& space : els) {
        const float start = space.mBeatPosAbs, length = space.mEvs.mLength;
        if (GenIsUndef(start) || GenIsUndef(length))
            continue;
        const float spaceEnd = start + length;
        // Keep the listed notes of the range's last beat: take them out, clear, put them back.
        std::vector<std::pair<size_t, CGenEv>> kept;
        std::vector<std::pair<std::string, CGenEvsNamed>> keptEls;
        for (auto& el : *this) {
            if (GenIsUndef(el.mBeatPosAbs))
                continue;
            CGenEvs keep;
            for (const auto& ev : el.mEvs) {
                const float p = el.mBeatPosAbs + ev.mBeatPos;
                if (p >= spaceEnd - 1.0f && p < spaceEnd && std::find(noteNrs.begin(), noteNrs.end(), ev.mMB1) != noteNrs.end())
                    keep.push_back(ev);
            }
            if (!keep.empty()) {
                CGenEvsNamed copy(el.mName, el.mBeatPosAbs, keep, el.mRenderingPatternGraphType, el.mPatternIx);
                keptEls.emplace_back(el.mName, std::move(copy));
            }
        }
        EraseEvsAndShortenMembersInRange(start, length, type);
        for (auto& kept : keptEls) {
            // Named references: a lambda may not capture structured bindings everywhere.
            const std::string& name = kept.first;
            CGenEvsNamed& keptEl = kept.second;
            // Back into the element that now covers the kept events' place, or as an element of its own.
            for (const auto& ev : keptEl.mEvs) {
                const float p = keptEl.mBeatPosAbs + ev.mBeatPos;
                auto it = std::find_if(begin(), end(), [&](const CGenEvsNamed& e) {
                    return e.mName == name && e.mRenderingPatternGraphType == keptEl.mRenderingPatternGraphType
                        && e.ContainsBeatPosAbs(p);
                });
                if (it != end()) {
                    CGenEv moved = ev;
                    moved.mBeatPos = p - it->mBeatPosAbs;
                    it->mEvs.InsertAtBeatPos(moved);
                } else {
                    CGenEvsNamed own(name, p, CGenEvs(spaceEnd - p), keptEl.mRenderingPatternGraphType, keptEl.mPatternIx);
                    CGenEv moved = ev;
                    moved.mBeatPos = 0.0f;
                    own.mEvs.push_back(moved);
                    InsertAtCorrectBeatPos(own);
                }
            }
        }
    }
}

void CGenEvsNameds::EraseEvsAndShortenMembersThatOverlay(const CGenEvsNamed& el)
{
    EraseEvsAndShortenMembersInRange(el.mBeatPosAbs, el.mEvs.mLength, TPatternGraphType_Undef);
}

void CGenEvsNameds::EraseEvsAndShortenMembersThatOverlay(const CGenEvsNameds& els)
{
    for (const auto& el : els)
        EraseEvsAndShortenMembersThatOverlay(el);
}

bool CGenEvsNameds::AssertEvBeatLengthLargerThanZero(bool assertOnFailure) const
{
    for (const auto& el : *this)
        for (const auto& ev : el.mEvs)
            if (GenIsDef(ev.mBeatLength) && !(ev.mBeatLength > 0.0f)) {
                if (assertOnFailure)
                    ZKG_ASSERT(ev.mBeatLength > 0.0f);
                return false;
            }
    return true;
}

bool CGenEvsNameds::IsSortedByBeatPosAbs() const
{
    return std::is_sorted(begin(), end(), [](const CGenEvsNamed& a, const CGenEvsNamed& b) { return a.mBeatPosAbs < b.mBeatPosAbs; });
}

size_t CGenEvsNameds::EvCount() const
{
    size_t n = 0;
    for (const auto& el : *this)
        n += el.mEvs.size();
    return n;
}

void CGenEvsNameds::TraceStream(std::ostream& os) const
{
    os << "CGenEvsNameds size " << size();
    for (const auto& el : *this)
        os << "\n" << el;
}

std::ostream& operator<<(std::ostream& os, const CGenEvsNameds& els)
{
    els.TraceStream(os);
    return os;
}
