#include "Generator/instruments/CGenConvertCtrAndUid.h"

namespace {

constexpr int kChannel_None = 255;

bool IsValueOnly(const CGenEv& ev) { return ev.Status() < 0x10; }

// Whether `out` already holds an event like `ev`: same status high nibble and
// channel and, where `ev` defines them, the same position and MB1.
bool HoldsLike(const CGenEvs& out, const CGenEv& ev)
{
    for (const CGenEv& o : out) {
        if (o.StatusHighNibble() != ev.StatusHighNibble() || o.Channel() != ev.Channel())
            continue;
        if (GenIsDef(ev.mBeatPos) && o.mBeatPos != ev.mBeatPos)
            continue;
        if (ev.mMB1 != -1 && o.mMB1 != ev.mMB1)
            continue;
        return true;
    }
    return false;
}

} // namespace

// ---- CGenFindCKCtrValue

CGenFindCKCtrValue::CGenFindCKCtrValue(const CGenInstTree& tree, const CGenConvertMapping& mapping)
    : mTree(tree), mMapping(mapping)
{
}

int CGenFindCKCtrValue::_FromInstTreeEntry(const CGenInstTreeEntry* entry, const CKCtr& ctr)
{
    int found = kCKCtrValue_Undef;
    for (const CGenInstTreeEntry* cur = entry; cur != nullptr && !cur->mIsRootParent; cur = cur->mParent) {
        const TCKCtr& t = mMapping.TCKCtrForPlainPath(cur->Path());
        if (!t.mCtr.IsValid() || t.mValue == kCKCtrValue_Undef)
            continue;
        if (t.mCtr.mMidiValuePosition == TKCtrMidiValuePosition_AddToMB1)
            mSumMB1 += t.mValue;
        else if (t.mCtr.mMidiValuePosition == TKCtrMidiValuePosition_AddToMB2)
            mSumMB2 += t.mValue;
        if (found == kCKCtrValue_Undef && t.mCtr == ctr)
            found = t.mValue;
    }
    return found;
}

int CGenFindCKCtrValue::FromInstTreeEntry(const CGenInstTreeEntry* entry, const CKCtr& ctr)
{
    mSumMB1 = 0;
    mSumMB2 = 0;
    return _FromInstTreeEntry(entry, ctr);
}

int CGenFindCKCtrValue::FromInstTreeEntryCollection(const CGenInstTreeEntryCollection& collection, const CKCtr& ctr)
{
    mSumMB1 = 0;
    mSumMB2 = 0;
    int found = kCKCtrValue_Undef;
    for (const CGenInstTreeEntry* e : collection) {
        const int v = _FromInstTreeEntry(e, ctr);
        if (found == kCKCtrValue_Undef)
            found = v;
    }
    return found;
}

// ---- CGenConvertCtrAndUid

CGenConvertCtrAndUid::CGenConvertCtrAndUid(const CGenInstTree& tree, const CGenConvertMapping& mapping)
    : mTree(tree), mMapping(mapping)
{
    // The walk reads the row of an entry many times; look each up once.
    mTree.VisitEntries([this](const CGenInstTreeEntry& e, int /*depth*/) {
        auto it = mMapping.mPathToToken.find(e.Path());
        if (it == mMapping.mPathToToken.end())
            return;
        auto ct = mMapping.mTokenToTCKCtr.find(it->second);
        if (ct == mMapping.mTokenToTCKCtr.end())
            return;
        mEntryCtrs[&e] = &ct->second;
        mRelevantCtrs.AddCtrIfUniqueAndNotUndef(ct->second.mCtr);
    });
}

const TCKCtr* CGenConvertCtrAndUid::_TCKCtrForEntry(const CGenInstTreeEntry* entry) const
{
    auto it = mEntryCtrs.find(entry);
    return it == mEntryCtrs.end() ? nullptr : it->second;
}

const std::vector<const TCKCtr*>& CGenConvertCtrAndUid::_CtrChainForEntry(const CGenInstTreeEntry* entry)
{
    auto it = mCtrChains.find(entry);
    if (it != mCtrChains.end())
        return it->second;
    std::vector<const TCKCtr*> chain;
    for (const CGenInstTreeEntry* cur = entry; cur != nullptr && !cur->mIsRootParent; cur = cur->mParent) {
        const TCKCtr* t = _TCKCtrForEntry(cur);
        // A path without a token, or a token without a value, adds nothing.
        if (t == nullptr || !t->mCtr.IsValid() || t->mValue == kCKCtrValue_Undef || !t->mConvertToCtr)
            continue;
        chain.push_back(t);
    }
    return mCtrChains.emplace(entry, std::move(chain)).first->second;
}

const CGenInstTreeEntryCollection& CGenConvertCtrAndUid::_EntriesForUid(TInstTreeUid uid)
{
    auto it = mEntriesForUid.find(uid);
    if (it != mEntriesForUid.end())
        return it->second;
    CGenInstTreeEntryCollection collection;
    mTree.FindEntriesForUid(uid, collection);
    return mEntriesForUid.emplace(uid, std::move(collection)).first->second;
}

void CGenConvertCtrAndUid::ConvertEvsWithUidToEvsWithCtr(const CGenEvs& in, CGenEvs& out)
{
    out.clear();
    out.mLength = in.mLength;
    CGenEvs evs;
    for (const CGenEv& ev : in) {
        CreateEvsWithCtrForEvWithUid(ev, evs);
        for (CGenEv& e : evs)
            out.push_back(std::move(e));
    }
}

namespace {

// Everything of an event but its position; events with a dictionary never
// compare equal here, so they are never answered from the memo.
bool SameEventExceptPosition(const CGenEv& a, const CGenEv& b)
{
    if (a.mpDictionary || b.mpDictionary)
        return false;
    const bool melodyA = a.mpMelodyVariationInformation != nullptr;
    const bool melodyB = b.mpMelodyVariationInformation != nullptr;
    if (melodyA != melodyB || (melodyA && !(*a.mpMelodyVariationInformation == *b.mpMelodyVariationInformation)))
        return false;
    return a.mBeatLength == b.mBeatLength
        && a.mRuntimeTimeTrafoInvariantBeatPosOffset == b.mRuntimeTimeTrafoInvariantBeatPosOffset
        && a.mMB0 == b.mMB0 && a.mMB1 == b.mMB1 && a.mMB2 == b.mMB2 && a.mMB3 == b.mMB3 && a.mRelVel == b.mRelVel
        && a.mRuntimeTags == b.mRuntimeTags && a.mRuntimeLayerBitmask == b.mRuntimeLayerBitmask
        && a.mArrangerClaveWeight == b.mArrangerClaveWeight && a.mArrangerClavePitch == b.mArrangerClavePitch
        && a.mConcretize == b.mConcretize;
}

// The memo stays small: a performance strikes few distinct kit pieces and
// velocities, and a bounded memo never grows with the song.
constexpr size_t kMemoBucketLimit = 32;
constexpr size_t kMemoLimit = 4096;

} // namespace

void CGenConvertCtrAndUid::CreateEvsWithCtrForEvWithUid(const CGenEv& ev, CGenEvs& out)
{
    // The events made of a uid event depend on everything of it but its
    // position, which they all share: an event like one converted before is
    // answered with that one's events, moved to its own position.
    const bool memoable = GenIsDef(ev.mBeatPos) && !ev.mpDictionary;
    const TMemoKey key {ev.mMB0, ev.mMB1, ev.mMB2, ev.mMB3};
    if (memoable) {
        const auto bucket = mMemo.find(key);
        if (bucket != mMemo.end())
            for (const TMemoEntry& entry : bucket->second)
                if (SameEventExceptPosition(entry.mSource, ev)) {
                    out = entry.mEvs;
                    for (CGenEv& e : out)
                        e.mBeatPos = ev.mBeatPos;
                    return;
                }
    }
    _CreateEvsWithCtr(_EntriesForUid(ev.Uid()), ev, out);
    if (!memoable || mMemoSize >= kMemoLimit)
        return;
    for (const CGenEv& e : out)
        if (e.mBeatPos != ev.mBeatPos)
            return;
    std::vector<TMemoEntry>& bucket = mMemo[key];
    if (bucket.size() >= kMemoBucketLimit)
        return;
    bucket.push_back(TMemoEntry {ev, out});
    ++mMemoSize;
}

void CGenConvertCtrAndUid::_CreateEvsWithCtr(const CGenInstTreeEntryCollection& collection, const CGenEv& ev, CGenEvs& out)
{
    mSums[0] = mSums[1] = mSums[2] = 0;
    out.clear();
    int channel = kChannel_None;

    std::vector<CGenEv>& evs = mScratchEvs;
    for (const CGenInstTreeEntry* entry : collection) {
        evs.clear();
        __CreateEvsWithCtr(entry, ev, evs, channel);
        for (CGenEv& e : evs)
            if (!HoldsLike(out, e))
                out.push_back(std::move(e));
    }

    if (channel != kChannel_None)
        for (CGenEv& e : out)
            if (e.IsSoundingNote())
                e.mMB0 = static_cast<uint8_t>(st_NoteOn | (channel & 0x0F));

    // Value-only events hand their bytes to the nearest real event before them.
    for (std::size_t i = 0; i < out.size();) {
        if (!IsValueOnly(out[i])) {
            ++i;
            continue;
        }
        std::size_t target = i;
        while (target > 0 && IsValueOnly(out[target - 1]))
            --target;
        if (target == 0) {
            ++i;
            continue;
        }
        CGenEv& real = out[target - 1];
        const CGenEv& values = out[i];
        if (values.mMB1 != -1)
            real.mMB1 = values.mMB1;
        if (values.mMB2 != -1)
            real.mMB2 = values.mMB2;
        if (values.mMB3 != -1)
            real.mMB3 = values.mMB3;
        out.erase(out.begin() + static_cast<std::ptrdiff_t>(i));
    }

    GenStableSortEvs(out);

    for (CGenEv& e : out) {
        if (!e.IsSoundingNote())
            continue;
        e.mMB1 += mSums[0];
        e.mMB2 += mSums[1];
        if (mSums[2] != 0) {
            if (e.mMB3 == -1)
                e.mMB3 = 0;
            e.mMB3 += mSums[2];
        }
    }
}

void CGenConvertCtrAndUid::__CreateEvsWithCtr(const CGenInstTreeEntry* entry, const CGenEv& ev, std::vector<CGenEv>& evs,
    int& channel)
{
    const int sourceChannel = ev.Status() == 255 ? kChannel_None : ev.Channel();
    for (const TCKCtr* t : _CtrChainForEntry(entry)) {
        CKCtr ctr = t->mCtr;
        switch (ctr.mMidiValuePosition) {
        case TKCtrMidiValuePosition_StatusHighNibble:
        case TKCtrMidiValuePosition_MB1:
        case TKCtrMidiValuePosition_MB2:
        case TKCtrMidiValuePosition_MB1MB2:
        case TKCtrMidiValuePosition_MB3: ctr.SetValue(t->mValue); break;
        case TKCtrMidiValuePosition_Channel: channel = t->mValue; continue;
        case TKCtrMidiValuePosition_AddToMB1: mSums[0] += t->mValue; continue;
        case TKCtrMidiValuePosition_AddToMB2: mSums[1] += t->mValue; continue;
        case TKCtrMidiValuePosition_AddToMB3: mSums[2] += t->mValue; continue;
        default: continue;
        }
        CGenEv built = ctr.ConvertToEv(ev.mBeatPos, sourceChannel);
        if (built.StatusHighNibble() == st_NoteOn) {
            // The note keeps what the source carries: length, velocity, melody block, dictionary.
            CGenEv note(ev);
            if (built.Status() < 255)
                note.mMB0 = built.mMB0;
            note.mMB1 = built.mMB1;
            if (built.mMB2 != -1)
                note.mMB2 = built.mMB2;
            if (built.mMB3 != -1)
                note.mMB3 = built.mMB3;
            built = std::move(note);
        }
        // Vertices near the root come first.
        evs.insert(evs.begin(), std::move(built));
    }
}

// ---- The way back

void CGenConvertCtrAndUid::_BuildInverse()
{
    mInverseBuilt = true;
    // Every entry's own output tells which note, MB3 and controller values
    // stand for it; the first entry in tree order wins among equals.
    std::vector<const CGenInstTreeEntry*> entries;
    mTree.VisitEntries([&](const CGenInstTreeEntry& e, int /*depth*/) { entries.push_back(&e); });
    CGenEvs out;
    for (const CGenInstTreeEntry* e : entries) {
        const TInstTreeUid uid = e->Uid();
        if (uid == TInstTreeUid_Undef || uid == 0)
            continue;
        const CGenEv probe(0.0f, 1.0f, st_NoteOn, GenInstTreeUidToMB1(uid), 100);
        _CreateEvsWithCtr(_EntriesForUid(uid), probe, out);
        TInverseCandidate candidate;
        candidate.mUid = uid;
        int noteNr = -1;
        int mb3 = -1;
        int notes = 0;
        for (const CGenEv& o : out) {
            if (o.IsSoundingNote()) {
                noteNr = o.mMB1;
                mb3 = o.mMB3;
                ++notes;
                continue;
            }
            for (const CKCtrAndValue& rel : mRelevantCtrs)
                if (rel.mCtr.mMidiStatus != kCKCtrStatus_Any && rel.mCtr.EvMatches(o))
                    candidate.mCtrValues.UpdateFromCtrAndValue(CKCtrAndValue(rel.mCtr, rel.mCtr.ExtractCtrValueFromEv(&o)));
        }
        if (notes != 1)
            continue;
        auto& list = mInverse[TInverseKey(noteNr, mb3)];
        bool known = false;
        for (const TInverseCandidate& c : list)
            known = known || c.mCtrValues == candidate.mCtrValues;
        if (!known)
            list.push_back(std::move(candidate));
    }
}

std::optional<CGenEv> CGenConvertCtrAndUid::CreateEvWithUidForEvAndCtrValues(const CGenEv& ev, const CKCtrAndValues& ctrAndValues)
{
    if (!ev.IsSoundingNote())
        return std::nullopt;
    if (!mInverseBuilt)
        _BuildInverse();
    auto it = mInverse.find(TInverseKey(ev.mMB1, ev.mMB3));
    if (it == mInverse.end())
        return std::nullopt;
    // The candidate whose controller values all hold and that needs the most of them.
    const TInverseCandidate* best = nullptr;
    for (const TInverseCandidate& c : it->second) {
        bool holds = true;
        for (const CKCtrAndValue& v : c.mCtrValues)
            holds = holds && ctrAndValues.ValueForCtr(v.mCtr) == v.mValue;
        if (holds && (best == nullptr || c.mCtrValues.size() > best->mCtrValues.size()))
            best = &c;
    }
    if (best == nullptr)
        best = &it->second.front();
    CGenEv out(ev);
    out.mMB0 = static_cast<uint8_t>(st_NoteOn | ev.Channel());
    out.mMB1 = GenInstTreeUidToMB1(best->mUid);
    out.mMB3 = -1;
    return out;
}

void CGenConvertCtrAndUid::ConvertEvsWithCtrToEvsWithUid(const CGenEvs& in, CGenEvs& out, CGenEvs& rest)
{
    out.clear();
    rest.clear();
    out.mLength = in.mLength;
    rest.mLength = in.mLength;
    CKCtrAndValues values;
    for (const CGenEv& ev : in) {
        bool consumed = false;
        if (!ev.IsNote()) {
            for (const CKCtrAndValue& rel : mRelevantCtrs) {
                if (rel.mCtr.mMidiStatus != kCKCtrStatus_Any && rel.mCtr.EvMatches(ev)) {
                    values.UpdateFromCtrAndValue(CKCtrAndValue(rel.mCtr, rel.mCtr.ExtractCtrValueFromEv(&ev)));
                    consumed = true;
                }
            }
        } else if (auto uidEv = CreateEvWithUidForEvAndCtrValues(ev, values)) {
            out.push_back(std::move(*uidEv));
            consumed = true;
        }
        if (!consumed)
            rest.push_back(ev);
    }
}
