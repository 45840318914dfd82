#include "Generator/patterns/CGenPatternModAndProbs.h"

#include "Generator/CGenRandom.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <iostream>
#include <sstream>
#include <utility>

float zkgen::DrawBelowTotal(CGenRandom& random, float total)
{
    const float positive = total > 0.0f ? total : 0.0f;
    if (positive == 0.0f)
        return 0.0f;
    const uint32_t state = random.Next();
    const double ceiling = std::ceil(double(positive));
    const int divisor = ceiling >= double(INT_MAX) ? INT_MAX : static_cast<int>(ceiling);
    return static_cast<float>(static_cast<int>(state % static_cast<uint32_t>(divisor)));
}

bool zkgen::UidMatchesAnyNonZeroNibbles(TInstTreeUid uid, const TInstTreeUids& uids)
{
    for (TInstTreeUid u : uids)
        if (u != TInstTreeUid_Undef && GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(uid, u))
            return true;
    return false;
}

float CGenPatternModAndProbs::_ConvertProbToConsecutiveProb()
{
    float sum = 0.0f;
    for (CGenPatternModAndProb& el : *this) {
        if (GenIsUndef(el.mProb))
            continue;
        sum += el.mProb;
        el.mConsecProb = sum;
    }
    return sum;
}

std::pair<CGenPatternModAndProbs::iterator, float> CGenPatternModAndProbs::_ChooseRandomlyAndReturnChosenProb(
    CGenRandom& random)
{
    if (size() <= 1)
        return {begin(), 0.0f};
    const float total = _ConvertProbToConsecutiveProb();
    const float r = zkgen::DrawBelowTotal(random, total);
    const size_t ix = zkgen::UpperBoundByConsecProb(size(), r, [this](size_t i) { return (*this)[i].mConsecProb; });
    return {begin() + static_cast<std::ptrdiff_t>(ix), r};
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbs::ChooseRandomly(CGenRandom& random)
{
    return _ChooseRandomlyAndReturnChosenProb(random).first;
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbs::ChooseRandomlyAndReport(CGenRandom& random, std::string& report)
{
    auto [it, r] = _ChooseRandomlyAndReturnChosenProb(random);
    report = _CreateReport(it, r);
    return it;
}

std::string CGenPatternModAndProbs::_CreateReport(const_iterator chosen, float r) const
{
    std::ostringstream os;
    for (const CGenPatternModAndProb& el : *this)
        os << "ConsecProb " << el.mConsecProb << ": " << el.PatternToBeRead().mName << " (Prob " << el.mProb << ")\n";
    if (chosen == end())
        os << "end() was chosen\n";
    else
        os << "consecutiveProbOfChosen: " << r << ", ChosenPatternIx: " << (chosen - begin())
           << ", Name: " << chosen->PatternToBeRead().mName << "\n";
    return os.str();
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbs::iteratorNULL()
{
    static CGenPatternModAndProbs sEmpty;
    return sEmpty.end();
}

namespace {

// The range of an element that a range search tests; false when the kind
// of range is unknown.
bool ElRange(const CGenPatternModAndProb& el, TOverlapping overlapping, float& start, float& length)
{
    const CGenRange<float>* r = nullptr;
    switch (overlapping) {
    case TOverlapping_Pattern:
        start = el.mBeatPosAbs;
        length = el.Length();
        return true;
    case TOverlapping_OverlayRangeAc: r = &el.mOverlayRangeAc; break;
    case TOverlapping_OverlayRangeSy: r = &el.mOverlayRangeSy; break;
    case TOverlapping_OverlayRangePerc: r = &el.mOverlayRangePerc; break;
    default: return false;
    }
    start = GenAddRegardingUndef(el.mBeatPosAbs, r->mMin);
    length = GenSubRegardingUndef(r->mMax, r->mMin);
    return true;
}

bool ElOverlaps(const CGenPatternModAndProb& el, float rangeStart, float rangeEnd, TOverlapping overlapping,
    TInclusiveBorders borders)
{
    float s = 0.0f, length = 0.0f;
    if (!ElRange(el, overlapping, s, length))
        return false;
    const float e = GenAddRegardingUndef(s, length);
    if (GenIsUndef(s) || GenIsUndef(e))
        return false;
    const bool left = borders == TInclusiveBorders_Left || borders == TInclusiveBorders_Both;
    const bool right = borders == TInclusiveBorders_Right || borders == TInclusiveBorders_Both;
    return (s < rangeEnd && rangeStart < e) || (left && e == rangeStart) || (right && s == rangeEnd);
}

template <class TAccept>
bool ContainsNoteWithinRange(const CGenPatternModAndProbs& list, float start, float length, TOverlapping overlapping,
    TInclusiveBorders borders, TAccept accept)
{
    for (auto it = list.FindElOverlappingWithRange(start, length, overlapping, borders, list.begin()); it != list.end();
         it = list.FindElOverlappingWithRange(start, length, overlapping, borders, it + 1)) {
        const float rel = std::max(0.0f, start - it->mBeatPosAbs);
        const float relEnd = GenAddRegardingUndef(rel, length);
        for (const CGenEv& ev : it->PatternToBeRead().mEvs)
            if (ev.StatusHighNibble() == st_NoteOn && ev.mBeatPos >= rel && (GenIsUndef(relEnd) || ev.mBeatPos <= relEnd)
                && accept(ev))
                return true;
    }
    return false;
}

} // namespace

CGenPatternModAndProbs::const_iterator CGenPatternModAndProbs::FindElOverlappingWithRange(float start, float length,
    TOverlapping overlapping, TInclusiveBorders borders, const_iterator startIt) const
{
    const float rangeEnd = GenAddRegardingUndef(start, length);
    if (GenIsUndef(start) || GenIsUndef(rangeEnd))
        return end();
    for (auto it = startIt; it != end(); ++it)
        if (ElOverlaps(*it, start, rangeEnd, overlapping, borders))
            return it;
    return end();
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbs::FindElOverlappingWithRange(float start, float length,
    TOverlapping overlapping, TInclusiveBorders borders, iterator startIt)
{
    const_iterator found = std::as_const(*this).FindElOverlappingWithRange(start, length, overlapping, borders, startIt);
    return begin() + (found - cbegin());
}

CGenPatternModAndProbs::const_iterator CGenPatternModAndProbs::FindElOverlappingBorderWithRange(float start,
    float length, TOverlapping overlapping, TOverlapBorder border, const_iterator startIt) const
{
    const float rangeEnd = GenAddRegardingUndef(start, length);
    if (GenIsUndef(start) || GenIsUndef(rangeEnd))
        return end();
    for (auto it = startIt; it != end(); ++it) {
        float s = 0.0f, len = 0.0f;
        if (!ElRange(*it, overlapping, s, len))
            continue;
        const float b = border == TOverlapBorder_Start ? s : GenAddRegardingUndef(s, len);
        if (GenIsDef(b) && start <= b && b < rangeEnd)
            return it;
    }
    return end();
}

bool CGenPatternModAndProbs::ContainsAnyNoteWithinRange(float start, float length, TOverlapping overlapping,
    TInclusiveBorders borders) const
{
    return ContainsNoteWithinRange(*this, start, length, overlapping, borders, [](const CGenEv&) { return true; });
}

bool CGenPatternModAndProbs::ContainsAnyNotesMatchingUidsNonZeroNibblesWithinRange(const TInstTreeUids& uids,
    float start, float length, TOverlapping overlapping, TInclusiveBorders borders) const
{
    return ContainsNoteWithinRange(*this, start, length, overlapping, borders,
        [&uids](const CGenEv& ev) { return zkgen::UidMatchesAnyNonZeroNibbles(ev.Uid(), uids); });
}

bool CGenPatternModAndProbs::ContainsAnyNotesNotMatchingUidsNonZeroNibblesWithinRange(const TInstTreeUids& uids,
    float start, float length, TOverlapping overlapping, TInclusiveBorders borders) const
{
    return ContainsNoteWithinRange(*this, start, length, overlapping, borders,
        [&uids](const CGenEv& ev) { return !zkgen::UidMatchesAnyNonZeroNibbles(ev.Uid(), uids); });
}

namespace {
float ElStart(const CGenPatternModAndProb& el) { return el.mBeatPosAbs; }
const CGenEvs& ElEvs(const CGenPatternModAndProb& el) { return el.PatternToBeRead().mEvs; }
} // namespace

CGenPatternModAndProbs::TEvRef CGenPatternModAndProbs::FindEvInAnyElWithBeatPosAbsStartSearchAtIterator(float pos,
    TFindBeat mode, const_iterator startIt) const
{
    return zkgen::FindEvAcrossEls(startIt, end(), pos, mode, ElStart, ElEvs, [](const CGenEv&) { return true; });
}

CGenPatternModAndProbs::TEvRef CGenPatternModAndProbs::FindNoteInAnyEl(float pos, TFindBeat mode, TInstTreeUid uid,
    int channel) const
{
    return zkgen::FindEvAcrossEls(begin(), end(), pos, mode, ElStart, ElEvs,
        [uid, channel](const CGenEv& ev) { return zkgen::GenIsMatchingNote(ev, uid, channel); });
}

CGenPatternModAndProbs::TEvRef CGenPatternModAndProbs::FindPrevNoteInAnyEl(float pos, TInstTreeUid uid, int channel) const
{
    // Of equal positions the last in list order.
    TEvRef best;
    if (GenIsUndef(pos))
        return best;
    for (auto el = begin(); el != end(); ++el) {
        if (GenIsUndef(el->mBeatPosAbs))
            continue;
        const CGenEvs& evs = ElEvs(*el);
        for (auto ev = evs.begin(); ev != evs.end(); ++ev) {
            if (GenIsUndef(ev->mBeatPos) || !zkgen::GenIsMatchingNote(*ev, uid, channel))
                continue;
            const float p = el->mBeatPosAbs + ev->mBeatPos;
            if (p < pos && (!best.mFound || p >= best.mBeatPosAbs))
                best = TEvRef {el, ev, true, p};
        }
    }
    return best;
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbs::_InsertAtBeatPos(const CGenEv& ev, bool adjustLength)
{
    if (GenIsUndef(ev.mBeatPos))
        return end();
    auto it = begin();
    while (it != end() && !it->ContainsBeatPosAbs(ev.mBeatPos))
        ++it;
    if (it == end()) {
        // A new element of the list's graph, if it has one, empty until the event goes in.
        CGenPatternGraphBoost* graph = empty() ? nullptr : front().mPatternGraph;
        it = insert(end(), CGenPatternModAndProb(graph, ev.mBeatPos, CGenEvs(0.0f)));
    }
    CGenEv rel(ev);
    rel.mBeatPos = ev.mBeatPos - it->mBeatPosAbs;
    CGenEvs& evs = it->PatternToBeModified().mEvs;
    if (adjustLength)
        evs.InsertAtBeatPosAndAdjustLength(rel);
    else
        evs.InsertAtBeatPos(rel);
    return it;
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbs::InsertAtBeatPos(const CGenEv& ev)
{
    return _InsertAtBeatPos(ev, false);
}

CGenPatternModAndProbs::iterator CGenPatternModAndProbs::InsertAtBeatPosAndAdjustLength(const CGenEv& ev)
{
    return _InsertAtBeatPos(ev, true);
}

void CGenPatternModAndProbs::ResetMatchedLastFilter()
{
    for (CGenPatternModAndProb& el : *this)
        el.mMatchedLastFilter = false;
}

void CGenPatternModAndProbs::EraseAllPatternsThatNotMatchedLastFilter()
{
    erase(std::remove_if(begin(), end(), [](const CGenPatternModAndProb& el) { return !el.mMatchedLastFilter; }), end());
}

bool CGenPatternModAndProbs::Dbg_CheckForDoubleEvents(TPatternGraphType type, bool trace) const
{
    bool found = false;
    for (const CGenPatternModAndProb& el : *this) {
        if (type != TPatternGraphType_Undef && el.mPatternGraphType != type)
            continue;
        const CGenEvs& evs = el.PatternToBeRead().mEvs;
        for (size_t i = 1; i < evs.size(); ++i) {
            for (size_t j = i; j-- > 0 && evs[j].mBeatPos == evs[i].mBeatPos;) {
                if (!(evs[j] == evs[i]))
                    continue;
                found = true;
                if (trace)
                    std::cout << "Dbg_CheckForDoubleEvents " << type << ": " << el.PatternToBeRead().mName << " at "
                              << GenAddRegardingUndef(el.mBeatPosAbs, evs[i].mBeatPos) << ": " << evs[i] << std::endl;
                break;
            }
        }
    }
    return found;
}

void CGenPatternModAndProbs::TraceStream(std::ostream& os) const
{
    TraceStreamBrief(os);
    for (const CGenPatternModAndProb& el : *this)
        os << "\n  " << el;
}

void CGenPatternModAndProbs::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenPatternModAndProbs size " << size() << ", ChosenProb " << mChosenProb << ", Complete " << mComplete
       << ", STDefaultOrTarget " << static_cast<int>(mSTDefaultOrTarget);
}

std::ostream& operator<<(std::ostream& os, const CGenPatternModAndProbs& list)
{
    list.TraceStream(os);
    return os;
}
