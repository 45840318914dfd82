#include "Generator/harmony/CAbstractNotesConcretizer.h"

#include "Generator/patterns/CGenPatternModAndProbs.h"

#include <algorithm>
#include <climits>
#include <map>
#include <tuple>

namespace {

constexpr int kEraseMarker = INT_MIN; // the note number of an event waiting in vain
constexpr int64_t kSkipped = -3;      // an event the run leaves as it is

bool IsFailure(int64_t n) { return n == -1 || n == kNoteNrLargeUndef; }

} // namespace

// The working state of one run.
struct CAbstractNotesConcretizer::TRun {
    const CGenEvsChord& mChords;
    const CGenEvsHarmCenter& mHarmCenters;
    const CGenEvsSignKey& mSignKeys;
    std::vector<CHarmonicContext> mContexts;
    std::map<std::tuple<long, long, long>, size_t> mContextIxForStretch;
    // One entry per (event list, note group); the notes of no group get one
    // entry each list, but are worked out one by one.
    struct TGroup {
        uint8_t mID = CGenEv::kNoteGroupID_None;
        CAlignEvPtrs mEvs;
        std::vector<int64_t> mResults;
        std::vector<int> mState; // 0 to do, 1 in work, 2 done
        int64_t mRootNoteNr = -1;
    };
    std::vector<TGroup> mGroups;

    size_t ContextIxAt(float pos)
    {
        auto ix = [pos](const auto& els) {
            const auto it = els.ElInForceAt(pos);
            return it == els.end() ? -1L : static_cast<long>(it - els.begin());
        };
        const auto key = std::make_tuple(ix(mChords), ix(mHarmCenters), ix(mSignKeys));
        auto found = mContextIxForStretch.find(key);
        if (found != mContextIxForStretch.end())
            return found->second;
        CHarmonicContext ctx;
        ctx.FillFromEvsChordAndSignKeyAndSignTime(mChords, mHarmCenters, mSignKeys, nullptr, pos);
        mContexts.push_back(ctx);
        mContextIxForStretch.emplace(key, mContexts.size() - 1);
        return mContexts.size() - 1;
    }
};

void CAbstractNotesConcretizer::Reset()
{
    InitDefaultAbstractScaleSets();
    mConcretizeRange = mDefaultConcretizeRange;
    mConcretizeRangeModPosseds.clear();
    mNoteGroupInfos.clear();
}

void CAbstractNotesConcretizer::InitDefaultAbstractScaleSets()
{
    mAbstractScaleSets.clear();
    auto must = [](int intvl) {
        CSemitonesMatch m;
        m.mMatch[intvl] = TSemiMatch_Must;
        return CSemitonesMatches {m};
    };
    for (int t = TStepsType_AbstractScaleSet0; t <= TStepsType_AbstractScaleSet9; ++t)
        mAbstractScaleSets[static_cast<TStepsType>(t)] = CAbstractScaleSet {
            CAbstractScaleWithConditions(CAbstractScaleDefs::Diatonic(TWhere_CurrentChord))};
    const auto set = [this](int n) -> CAbstractScaleSet& {
        return mAbstractScaleSets[static_cast<TStepsType>(TStepsType_AbstractScaleSet0 + n)];
    };
    set(1) = CAbstractScaleSet {
        CAbstractScaleWithConditions(CAbstractScaleDefs::PentatonicMajor(TWhere_CurrentChord), must(4)),
        CAbstractScaleWithConditions(CAbstractScaleDefs::PentatonicMinor(TWhere_CurrentChord), must(3)),
        CAbstractScaleWithConditions(CAbstractScaleDefs::PentatonicMajor(TWhere_CurrentChord))};
    set(2) = CAbstractScaleSet {CAbstractScaleWithConditions(CAbstractScaleDefs::CurrentHarmCenter_Diatonic())};
    set(3) = CAbstractScaleSet {CAbstractScaleWithConditions(CAbstractScaleDefs::CurrentHarmCenter_PentatonicMajor())};
    set(4) = CAbstractScaleSet {CAbstractScaleWithConditions(CAbstractScaleDefs::CurrentHarmCenter_PentatonicMinor())};
}

int64_t CAbstractNotesConcretizer::ConcretizeAbstractNote(const CAbstractNote& note, const CHarmonicContext& ctx,
    const TConcretizeRange& rootRange, const TConcretizeRange& noteRange,
    const TMapWhereAndNoteGroupIDToRootNoteNr* rootMap, int64_t referencedBassNoteNr, uint8_t groupID,
    TObeyConcretizeRange obey, const char* /*name*/) const
{
    CAbstractNoteConcretizer one(*this, rootMap, groupID, obey, referencedBassNoteNr);
    return one.ConcretizeOneNote(note, rootRange, noteRange, ctx);
}

int64_t CAbstractNotesConcretizer::FindInitialRootNoteWithoutRegardingNoteGroups(const CHarmonicContext& ctx,
    TWhere where) const
{
    if (ctx.mChords[CHarmonicContext::kCurrent].mChord.IsUndef())
        return -1;
    const int64_t root = ConcretizeAbstractNote(CAbstractNote(where, TAbstractDegree_Root), ctx, mConcretizeRange,
        mConcretizeRange, nullptr, -1, CGenEv::kNoteGroupID_None, kObeyConcretizeRange, "FindInitialRootNote");
    return root < 0 ? root : RaiseLowerAndPreferInNoteRange(root, mConcretizeRange);
}

int64_t CAbstractNotesConcretizer::_ConcretizeNonGroupedAroundInitialRoot(const CAbstractNote& note,
    const CHarmonicContext& ctx, const char* name) const
{
    const int64_t root = FindInitialRootNoteWithoutRegardingNoteGroups(ctx, note.mWhere);
    if (root < 0)
        return -1;
    // The note around that root, free to go anywhere on the note scale.
    const TMapWhereAndNoteGroupIDToRootNoteNr rootMap {{note.mWhere, {{CGenEv::kNoteGroupID_None, root}}}};
    TConcretizeRange all;
    all.mMinNoteNr = all.mPatternRootMinNoteNr = 0;
    all.mMaxNoteNr = all.mPatternRootMaxNoteNr = 127;
    all.mNotePrefer = mConcretizeRange.mNotePrefer;
    return ConcretizeAbstractNote(note, ctx, all, all, &rootMap, -1, CGenEv::kNoteGroupID_None, kObeyConcretizeRange,
        name);
}

namespace {

bool Within(int64_t n, int64_t min, int64_t max) { return n >= 0 && n >= min && (max < 0 || n <= max); }

} // namespace

bool CAbstractNotesConcretizer::IsNonGroupedAbstractNoteInNoteRange(const CAbstractNote& note,
    const CHarmonicContext& ctx) const
{
    return Within(_ConcretizeNonGroupedAroundInitialRoot(note, ctx, "IsNonGroupedAbstractNoteInNoteRange"),
        mConcretizeRange.mMinNoteNr, mConcretizeRange.mMaxNoteNr);
}

bool CAbstractNotesConcretizer::IsNonGroupedAbstractNoteInNoteRange(float pos, const CAbstractNote& note,
    const CGenEvsChord& evsChord, const CGenEvsHarmCenter& evsHarmCenter, const CGenEvsSignKey& evsSignKey) const
{
    CHarmonicContext ctx;
    ctx.FillFromEvsChordAndSignKeyAndSignTime(evsChord, evsHarmCenter, evsSignKey, nullptr, pos);
    return IsNonGroupedAbstractNoteInNoteRange(note, ctx);
}

bool CAbstractNotesConcretizer::IsNonGroupedAbstractNoteInPatternRootNoteRange(const CAbstractNote& note,
    const CHarmonicContext& ctx) const
{
    return Within(_ConcretizeNonGroupedAroundInitialRoot(note, ctx, "IsNonGroupedAbstractNoteInPatternRootNoteRange"),
        mConcretizeRange.mPatternRootMinNoteNr, mConcretizeRange.mPatternRootMaxNoteNr);
}

bool CAbstractNotesConcretizer::_ShouldBeConcretized(const CGenEv& ev, const CHarmonicContext& ctx) const
{
    const CAbstractNote* note = ev.mpMelodyVariationInformation ? &ev.mpMelodyVariationInformation->mAbstractNote : nullptr;
    if (!note || note->IsUndef() || !ev.Concretize() || mBehaviorForAbstractNotes > 1)
        return false;
    return mBehaviorForChordUndef < 2 || ctx.RootNoteForTWhere(note->mWhere) != -1;
}

TConcretizeRange CAbstractNotesConcretizer::_ModifyRangeFromRangeModsAndEvDictionary(const TConcretizeRange& range,
    const CGenEv& ev, float pos) const
{
    TConcretizeRange r = mConcretizeRangeModPosseds.CalcModifiedRangeAt(range, pos);
    TConcretizeRangeMod fromEv;
    if (fromEv.ReadFromEvDictionary(ev))
        r = fromEv.CalcModifiedRange(r);
    return r;
}

void CAbstractNotesConcretizer::Concretize(const CGenEvsChord& evsChord, const CGenEvsHarmCenter& evsHarmCenter,
    const CGenEvsSignKey& evsSignKey, const CGenEvsSignTime* /*evsSignTime*/, float startPos, float endPos,
    CGenEvsNameds& evs, CGenEvsNameds* /*prevEvs*/)
{
    TRun run {evsChord, evsHarmCenter, evsSignKey, {}, {}, {}};
    std::vector<CGenEvs*> lists;
    for (CGenEvsNamed& el : evs) {
        const float offset = GenIsUndef(el.mBeatPosAbs) ? 0.0f : el.mBeatPosAbs;
        std::map<uint8_t, size_t> groupOf;
        for (CGenEv& ev : el.mEvs) {
            const float pos = GenIsUndef(ev.mBeatPos) ? offset : ev.mBeatPos + offset;
            if (GenIsDef(endPos) && pos > endPos)
                break;
            if (!ev.IsNote() || (GenIsDef(startPos) && pos < startPos) || !(ev.mMB2 == -1 || ev.mMB2 >= 1))
                continue;
            if (!ev.mpMelodyVariationInformation)
                continue;
            const uint8_t id = ev.mpMelodyVariationInformation->mNoteGroupID;
            auto g = groupOf.find(id);
            if (g == groupOf.end()) {
                run.mGroups.emplace_back();
                run.mGroups.back().mID = id;
                g = groupOf.emplace(id, run.mGroups.size() - 1).first;
            }
            run.mGroups[g->second].mEvs.push_back(CAlignEvPtr {pos, &ev, run.ContextIxAt(pos), false});
        }
        lists.push_back(&el.mEvs);
    }
    _Concretize(run);
    for (CGenEvs* list : lists)
        list->erase(std::remove_if(list->begin(), list->end(), [](const CGenEv& ev) { return ev.IsNote() && ev.mMB1 == kEraseMarker; }),
            list->end());
}

void CAbstractNotesConcretizer::Concretize(const CGenEvsChord& evsChord, const CGenEvsHarmCenter& evsHarmCenter,
    const CGenEvsSignKey& evsSignKey, const CGenEvsSignTime* evsSignTime, float startPos, float endPos,
    CGenPatternModAndProbs* patterns, CGenPatternModAndProbs* /*prevPatterns*/)
{
    if (!patterns)
        return;
    // Each chosen pattern as an event list at its position, written back.
    CGenEvsNameds lists;
    for (CGenPatternModAndProb& p : *patterns) {
        CGenEvsNamed el;
        el.mBeatPosAbs = p.mBeatPosAbs;
        el.mEvs = p.PatternToBeRead().mEvs;
        lists.push_back(std::move(el));
    }
    Concretize(evsChord, evsHarmCenter, evsSignKey, evsSignTime, startPos, endPos, lists, nullptr);
    size_t i = 0;
    for (CGenPatternModAndProb& p : *patterns)
        p.PatternToBeModified().mEvs = std::move(lists[i++].mEvs);
}

void CAbstractNotesConcretizer::_Concretize(TRun& run)
{
    for (auto& g : run.mGroups) {
        std::stable_sort(g.mEvs.begin(), g.mEvs.end(), [](const CAlignEvPtr& a, const CAlignEvPtr& b) { return a.mBeatPos < b.mBeatPos; });
        g.mResults.assign(g.mEvs.size(), -1);
        g.mState.assign(g.mEvs.size(), 0);
    }
    _ConcretizePass1(run);
    _ConcretizePass2ObeyingRange(run);
    for (auto& g : run.mGroups)
        for (size_t i = 0; i < g.mEvs.size(); ++i) {
            CGenEv& ev = *g.mEvs[i].mEv;
            const int64_t r = g.mResults[i];
            if (r != kSkipped)
                ev.mMB1 = r == kNoteNrLargeUndef ? kEraseMarker : static_cast<int>(r);
            ev.mConcretize = false;
        }
}

void CAbstractNotesConcretizer::_ConcretizePass1(TRun& run)
{
    for (size_t gi = 0; gi < run.mGroups.size(); ++gi) {
        auto& g = run.mGroups[gi];
        if (g.mEvs.empty())
            continue;
        if (g.mID != CGenEv::kNoteGroupID_None) {
            // The group's pattern root: in the context of its first note of
            // the current chord (else its first note), in the pattern-root range.
            auto first = std::find_if(g.mEvs.begin(), g.mEvs.end(), [](const CAlignEvPtr& p) {
                return p.mEv->mpMelodyVariationInformation->mAbstractNote.mWhere == TWhere_CurrentChord;
            });
            if (first == g.mEvs.end())
                first = g.mEvs.begin();
            const CAbstractNote rootNote(first->mEv->mpMelodyVariationInformation->mAbstractNote.mWhere, TAbstractDegree_Root);
            const TConcretizeRange rootRange = mConcretizeRange.PatternRootRangeAsNoteRange();
            g.mRootNoteNr = ConcretizeAbstractNote(rootNote, run.mContexts[first->mContextIx], rootRange, rootRange, nullptr,
                -1, g.mID, 1, "pass1 group root");
        }
        for (size_t i = 0; i < g.mEvs.size(); ++i)
            _ConcretizePass1EvPtr(run, gi, i, 0);
    }
}

int64_t CAbstractNotesConcretizer::_ConcretizePass1EvPtr(TRun& run, size_t gi, size_t ix, int depth)
{
    auto& g = run.mGroups[gi];
    if (g.mState[ix] == 2)
        return g.mResults[ix];
    if (g.mState[ix] == 1 || depth > 64)
        return kNoteNrLargeUndef; // a cycle of references
    const CAlignEvPtr& p = g.mEvs[ix];
    const CHarmonicContext& ctx = run.mContexts[p.mContextIx];
    if (!_ShouldBeConcretized(*p.mEv, ctx)) {
        g.mState[ix] = 2;
        g.mResults[ix] = kSkipped;
        return kSkipped;
    }
    g.mState[ix] = 1;
    const CAbstractNote& note = p.mEv->mpMelodyVariationInformation->mAbstractNote;
    int64_t referenced = -1;
    int64_t result = 0;
    if (IsReferencingDegree(note.mDegree)) {
        const int j = note.mDegree == TAbstractDegree_RefPrev ? CReferencedNotes::FindPrevNote(p.mBeatPos, ix, g.mEvs)
                                                               : CReferencedNotes::FindNextNote(p.mBeatPos, ix, g.mEvs);
        if (j < 0) {
            result = kNoteNrLargeUndef;
        } else {
            referenced = _ConcretizePass1EvPtr(run, gi, static_cast<size_t>(j), depth + 1);
            if (referenced == kSkipped)
                referenced = g.mEvs[j].mEv->mMB1;
            if (referenced < 0)
                result = kNoteNrLargeUndef;
        }
    }
    if (result == 0) {
        if (g.mID != CGenEv::kNoteGroupID_None) {
            const TConcretizeRange range =
                _ModifyRangeFromRangeModsAndEvDictionary(mConcretizeRange.PatternRootRangeAsNoteRange(), *p.mEv, p.mBeatPos);
            result = ConcretizeAbstractNote(note, ctx, range, range, nullptr, referenced, g.mID, 1,
                "pass1 belongs to noteGroup");
        } else {
            const TConcretizeRange range = _ModifyRangeFromRangeModsAndEvDictionary(mConcretizeRange, *p.mEv, p.mBeatPos);
            result = ConcretizeAbstractNote(note, ctx, range, range, nullptr, referenced, g.mID, mObeyConcretizeRange,
                "pass1 does not belong to noteGroup");
        }
    }
    g.mState[ix] = 2;
    g.mResults[ix] = result;
    return result;
}

void CAbstractNotesConcretizer::_ConcretizePass2ObeyingRange(TRun& run)
{
    const int64_t min = mConcretizeRange.mMinNoteNr < 0 ? 0 : mConcretizeRange.mMinNoteNr;
    const int64_t max = mConcretizeRange.mMaxNoteNr < 0 ? 127 : mConcretizeRange.mMaxNoteNr;
    const int64_t rootMin = mConcretizeRange.mPatternRootMinNoteNr, rootMax = mConcretizeRange.mPatternRootMaxNoteNr;
    for (auto& g : run.mGroups) {
        const bool grouped = g.mID != CGenEv::kNoteGroupID_None;
        int64_t shift = 0;
        if (grouped) {
            int64_t L = 127, H = 0;
            bool any = false;
            for (size_t i = 0; i < g.mEvs.size(); ++i) {
                const int64_t r = g.mResults[i];
                if (r == kSkipped || IsFailure(r))
                    continue;
                any = true;
                L = std::min(L, r);
                H = std::max(H, r);
            }
            int64_t R = g.mRootNoteNr;
            if (any && R >= 0) {
                const int64_t below = std::max<int64_t>(min - L, 0), above = std::max<int64_t>(H - max, 0);
                if (below > 0 && above <= below) {
                    while (L < min && R <= max - 12 && (rootMax < 0 || R <= rootMax - 12) && R <= 115 && L < 116) {
                        R += 12, L += 12, H += 12;
                    }
                } else if (above > 0 && below < above && H >= 12 && H > max) {
                    while (H > max && H >= 24 && R >= min + 12 && L >= min + 12 && R >= rootMin + 12 && R >= 12) {
                        R -= 12, L -= 12, H -= 12;
                    }
                }
                if (mConcretizeRange.mNotePrefer == 4) {
                    while (R <= rootMax - 12 && R + 12 <= max - 12 && H <= min && R < 104) {
                        R += 12, H += 12;
                    }
                } else if (mConcretizeRange.mNotePrefer == 2) {
                    while (R >= rootMin + 12 && R - 12 >= min + 12 && L - 12 >= min + 12 && R >= 24) {
                        R -= 12, L -= 12;
                    }
                }
                shift = R - g.mRootNoteNr;
            }
        }
        for (size_t i = 0; i < g.mEvs.size(); ++i) {
            int64_t& r = g.mResults[i];
            if (r == kSkipped || IsFailure(r))
                continue;
            r = std::clamp<int64_t>(r + shift, 0, 127);
        }
    }
}

int CReferencedNotes::FindPrevNote(float pos, size_t noteIx, const CAbstractNotesConcretizer::CAlignEvPtrs& notes)
{
    for (size_t i = noteIx; i-- > 0;)
        if (notes[i].mBeatPos <= pos && i != noteIx)
            return static_cast<int>(i);
    return -1;
}

int CReferencedNotes::FindNextNote(float pos, size_t noteIx, const CAbstractNotesConcretizer::CAlignEvPtrs& notes)
{
    for (size_t i = noteIx + 1; i < notes.size(); ++i)
        if (notes[i].mBeatPos >= pos)
            return static_cast<int>(i);
    return -1;
}
