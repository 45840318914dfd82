#include "Generator/harmony/CHarmonicContext.h"

#include "Generator/CGenCharContext.h"

namespace {

// Fills prev/current/next from a position-sorted list; `fill` copies one
// element into a slot with the end of its stretch.
template <class TEls, class TSlot, class TFill>
void FillSlots(const TEls& els, float pos, TSlot (&slots)[3], TFill fill)
{
    for (TSlot& s : slots)
        s = TSlot();
    if (GenIsUndef(pos) || els.empty())
        return;
    const auto cur = els.ElInForceAt(pos);
    auto endOf = [&els](auto it) {
        auto next = std::next(it);
        return next == els.end() ? TGenBeatPosAbs_Undef : next->mBeatPosAbs;
    };
    if (cur == els.end()) {
        // Before the first element: only a next slot.
        fill(slots[CHarmonicContext::kNext], *els.begin(), endOf(els.begin()));
        return;
    }
    fill(slots[CHarmonicContext::kCurrent], *cur, endOf(cur));
    if (cur != els.begin())
        fill(slots[CHarmonicContext::kPrev], *std::prev(cur), cur->mBeatPosAbs);
    if (std::next(cur) != els.end())
        fill(slots[CHarmonicContext::kNext], *std::next(cur), endOf(std::next(cur)));
}

bool IsChordWhere(TWhere w) { return w >= TWhere_CurrentChord && w <= TWhere_NextChord; }
bool IsHarmCenterWhere(TWhere w) { return w >= TWhere_CurrentHarmCenter && w <= TWhere_NextHarmCenterAsMajor; }
bool IsSignKeyWhere(TWhere w) { return w >= TWhere_CurrentSignKey && w <= TWhere_NextSignKey; }

// prev, current, next of a where of any kind.
int SlotOfWhere(TWhere w)
{
    switch (w) {
    case TWhere_PrevChord:
    case TWhere_PrevHarmCenter:
    case TWhere_PrevHarmCenterAsMajor:
    case TWhere_PrevSignKey:
        return CHarmonicContext::kPrev;
    case TWhere_NextChord:
    case TWhere_NextHarmCenter:
    case TWhere_NextHarmCenterAsMajor:
    case TWhere_NextSignKey:
        return CHarmonicContext::kNext;
    default:
        return CHarmonicContext::kCurrent;
    }
}

} // namespace

void CHarmonicContext::FillFromEvsChordAndSignKeyAndSignTime(const CGenEvsChord& evsChord,
    const CGenEvsHarmCenter& evsHarmCenter, const CGenEvsSignKey& evsSignKey, const CGenEvsSignTime* /*evsSignTime*/,
    float pos)
{
    mBeatPosAbs = pos;
    FillSlots(evsChord, pos, mChords, [&evsSignKey](THarmonicContextChordSlot& slot, const CGenEvChord& ev, float end) {
        slot.mBeatPosAbs = ev.mBeatPosAbs;
        slot.mEndBeatPosAbs = end;
        slot.mChord = ev.mChord;
        const CSignKeyHeavy& key = evsSignKey.FindEvSignKeyValidAt(ev.mBeatPosAbs).mSignKey;
        slot.mSignKey = CSignKeyNoEnh(CSignKeyLite(key));
        slot.mScale = ev.ScaleInSignKey(key);
    });
    // Without a chord in force the current slot plays in the key's scale.
    if (mChords[kCurrent].mChord.IsUndef() && GenIsDef(pos)) {
        const CSignKeyHeavy& key = evsSignKey.FindEvSignKeyValidAt(pos).mSignKey;
        mChords[kCurrent].mSignKey = CSignKeyNoEnh(CSignKeyLite(key));
        mChords[kCurrent].mScale = key.IsUndef() ? CScaleHeavy() : key.Scale();
    }
    FillSlots(evsHarmCenter, pos, mHarmCenters, [](THarmonicContextKeySlot& slot, const CGenEvHarmCenter& ev, float end) {
        slot.mBeatPosAbs = ev.mBeatPosAbs;
        slot.mSignKey = ev.mSignKey;
        slot.mEndBeatPosAbs = end;
    });
    FillSlots(evsSignKey, pos, mSignKeys, [](THarmonicContextKeySlot& slot, const CGenEvSignKey& ev, float end) {
        slot.mBeatPosAbs = ev.mBeatPosAbs;
        slot.mSignKey = CSignKeyLite(ev.mSignKey);
        slot.mEndBeatPosAbs = end;
    });
}

CSignKeyLite CHarmonicContext::KeyForTWhere(TWhere where) const
{
    const int slot = SlotOfWhere(where);
    if (IsHarmCenterWhere(where)) {
        const CSignKeyLite& key = mHarmCenters[slot].mSignKey;
        const bool asMajor = where >= TWhere_CurrentHarmCenterAsMajor;
        return asMajor && !key.IsUndef() && key.mType != TSignKeyType_Major ? key.ParallelSignKey() : key;
    }
    if (IsSignKeyWhere(where))
        return mSignKeys[slot].mSignKey;
    return CSignKeyLite();
}

const THarmonicContextChordSlot* CHarmonicContext::ChordSlotForTWhere(TWhere where) const
{
    return IsChordWhere(where) ? &mChords[SlotOfWhere(where)] : nullptr;
}

THarmonicContextChosen CHarmonicContext::ChoseHarmonicContextAndRootNoteNrForAbstractNote(const CAbstractNote& note,
    const TMapWhereAndNoteGroupIDToRootNoteNr* rootMap, uint8_t groupID, const TConcretizeRange& range,
    TObeyConcretizeRange /*obey*/) const
{
    THarmonicContextChosen chosen;
    if (note.IsUndef())
        return chosen;
    const TWhere where = note.mWhere;
    int64_t root = -1;
    bool fromMap = false;
    if (rootMap) {
        auto w = rootMap->find(where);
        if (w != rootMap->end()) {
            auto g = w->second.find(groupID);
            if (g != w->second.end()) {
                root = g->second;
                fromMap = true;
            }
        }
    }
    if (const THarmonicContextChordSlot* slot = ChordSlotForTWhere(where)) {
        chosen.mChord = slot->mChord;
        chosen.mScale = slot->mScale;
        chosen.mSignKey1 = chosen.mSignKey2 = slot->mSignKey;
        if (!fromMap)
            root = slot->mChord.IsUndef() ? -1 : slot->mChord.RootNote().mNoteNr;
    } else if (IsHarmCenterWhere(where) || IsSignKeyWhere(where)) {
        const CSignKeyLite key = KeyForTWhere(where);
        chosen.mScale = key.Scale();
        chosen.mChord = chosen.mScale.ChordTriadForScale();
        chosen.mSignKey1 = chosen.mSignKey2 = CSignKeyNoEnh(key);
        if (!fromMap)
            root = key.IsUndef() ? -1 : key.mKeyNr;
    } else {
        return chosen;
    }
    if (root < 0)
        return chosen;
    if (!fromMap)
        root = RaiseLowerAndPreferInPatternRootRange(root, range);
    chosen.mRootNoteNr = root;
    return chosen;
}

int64_t CHarmonicContext::RootNoteForTWhere(TWhere where) const
{
    if (where < 0 || where > 11)
        return -1;
    if (const THarmonicContextChordSlot* slot = ChordSlotForTWhere(where))
        return slot->mChord.IsUndef() ? -1 : slot->mChord.RootNote().mNoteNr;
    const CSignKeyLite key = KeyForTWhere(where);
    return key.IsUndef() ? -1 : key.mKeyNr;
}

float CHarmonicContext::BeatPosAbsFromWhere(TWhere where) const
{
    if (where < 0 || where > 11)
        return TGenBeatPosAbs_Undef;
    const int slot = SlotOfWhere(where);
    if (IsChordWhere(where))
        return mChords[slot].mBeatPosAbs;
    if (IsHarmCenterWhere(where))
        return mHarmCenters[slot].mBeatPosAbs;
    return mSignKeys[slot].mBeatPosAbs;
}

CHarmonicContext CHarmonicContext::ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere where) const
{
    CHarmonicContext copy = *this;
    if (where == TWhere_CurrentChord || where < 0 || where > 11)
        return copy;
    if (const THarmonicContextChordSlot* slot = ChordSlotForTWhere(where)) {
        copy.mChords[kCurrent] = *slot;
        return copy;
    }
    const CSignKeyLite key = KeyForTWhere(where);
    THarmonicContextChordSlot& cur = copy.mChords[kCurrent];
    cur.mScale = key.Scale();
    cur.mChord = cur.mScale.ChordTriadForScale();
    cur.mSignKey = CSignKeyNoEnh(key);
    return copy;
}

// ---- frames of reference -------------------------------------------------

namespace {

const CChordHeavy* ChordAt(float pos, const CGenCharContext& cc)
{
    const CGenEvChord* ev = cc.FindEvChordValidAt(pos);
    return ev && !ev->IsUndef() ? &ev->mChord : nullptr;
}

CSignKeyHeavy SignKeyAt(float pos, const CGenCharContext& cc)
{
    const CGenEvSignKey* ev = cc.FindEvSignKeyValidAt(pos);
    return ev ? ev->mSignKey : CSignKeyHeavy();
}

// The scale of the chord in force; undefined without one.
CScaleHeavy ChordScaleAt(float pos, const CGenCharContext& cc)
{
    return ChordAt(pos, cc) ? cc.FindEvScaleValidAt(pos) : CScaleHeavy();
}

int Or15(int key) { return KeyNrIsDef(key) ? key : kKeyNrUndef15; }

} // namespace

int FindRootKeyNrForRootRelationSignKey(float pos, const CGenCharContext& cc)
{
    const CSignKeyHeavy key = SignKeyAt(pos, cc);
    return key.IsUndef() ? kKeyNrUndef15 : key.mRoot.mKeyNr;
}

int FindRootKeyNrForRootRelationHarmCenterToKeyNrC(float pos, const CGenCharContext& cc)
{
    const CGenEvHarmCenter* ev = cc.FindEvHarmCenterValidAt(pos);
    return ev && !ev->IsUndef() ? ev->mSignKey.mKeyNr : kKeyNrUndef15;
}

int FindRootKeyNrForRootRelationChordToKeyNrC(float pos, const CGenCharContext& cc)
{
    const CChordHeavy* chord = ChordAt(pos, cc);
    return chord ? Or15(chord->RootKeyEnh().mKeyNr) : kKeyNrUndef15;
}

int FindRootKeyNrForRootRelationChordBassToKeyNrC(float pos, const CGenCharContext& cc)
{
    const CChordHeavy* chord = ChordAt(pos, cc);
    return chord ? Or15(chord->BassKeyEnh().mKeyNr) : kKeyNrUndef15;
}

int FindRootKeyNrForRootRelationScaleToKeyNrC(float pos, const CGenCharContext& cc)
{
    const CScaleHeavy scale = ChordScaleAt(pos, cc);
    return scale.IsUndef() ? kKeyNrUndef15 : scale.RootKeyNr();
}

int FindRootKeyNrForRootRelation(TRootRelation relation, float pos, const CGenCharContext& cc)
{
    return FindRootKeyNrAndScaleForRootRelation(relation, pos, cc).first;
}

std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationSignKey(float pos, const CGenCharContext& cc)
{
    const CSignKeyHeavy key = SignKeyAt(pos, cc);
    return key.IsUndef() ? std::pair(kKeyNrUndef15, CScaleHeavy()) : std::pair(key.mRoot.mKeyNr, key.Scale());
}

std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationHarmCenterToKeyNrC(float pos,
    const CGenCharContext& cc)
{
    const CGenEvHarmCenter* ev = cc.FindEvHarmCenterValidAt(pos);
    if (!ev || ev->IsUndef())
        return {kKeyNrUndef15, CScaleHeavy()};
    return {ev->mSignKey.mKeyNr, ev->mSignKey.Scale()};
}

std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationChordToKeyNrC(float pos, const CGenCharContext& cc)
{
    return {FindRootKeyNrForRootRelationChordToKeyNrC(pos, cc), ChordScaleAt(pos, cc)};
}

std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationChordBassToKeyNrC(float pos,
    const CGenCharContext& cc)
{
    return {FindRootKeyNrForRootRelationChordBassToKeyNrC(pos, cc), ChordScaleAt(pos, cc)};
}

std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelationScaleToKeyNrC(float pos, const CGenCharContext& cc)
{
    const CScaleHeavy scale = ChordScaleAt(pos, cc);
    return {scale.IsUndef() ? kKeyNrUndef15 : scale.RootKeyNr(), scale};
}

std::pair<int, CScaleHeavy> FindRootKeyNrAndScaleForRootRelation(TRootRelation relation, float pos,
    const CGenCharContext& cc)
{
    switch (relation) {
    case TRootRelation_KeyNrC:
        return {0, CScaleHeavy(CKeyEnh(0, TEnh_Natural), TScaleType_Chromatic)};
    case TRootRelation_SignKey:
        return FindRootKeyNrAndScaleForRootRelationSignKey(pos, cc);
    case TRootRelation_HarmCenter:
        return FindRootKeyNrAndScaleForRootRelationHarmCenterToKeyNrC(pos, cc);
    case TRootRelation_Scale:
        return FindRootKeyNrAndScaleForRootRelationScaleToKeyNrC(pos, cc);
    case TRootRelation_Chord:
        return FindRootKeyNrAndScaleForRootRelationChordToKeyNrC(pos, cc);
    case TRootRelation_ChordBass:
        return FindRootKeyNrAndScaleForRootRelationChordBassToKeyNrC(pos, cc);
    }
    return {kKeyNrUndef15, CScaleHeavy()};
}

int ConvertKeyNrFromRootRelationToKeyNrC(int keyNr, TRootRelation from, float pos, const CGenCharContext& cc)
{
    const int root = FindRootKeyNrForRootRelation(from, pos, cc);
    return root == kKeyNrUndef15 || keyNr < 0 ? -1 : KeyNrWrapped(static_cast<int64_t>(keyNr) + root);
}

int ConvertKeyNrFromKeyNrCToRootRelation(int keyNr, TRootRelation to, float pos, const CGenCharContext& cc)
{
    const int root = FindRootKeyNrForRootRelation(to, pos, cc);
    return root == kKeyNrUndef15 || keyNr < 0 ? -1 : KeyNrWrapped(static_cast<int64_t>(keyNr) - root);
}

int ConvertKeyNrBetweenRootRelations(int keyNr, TRootRelation from, TRootRelation to, float pos,
    const CGenCharContext& cc)
{
    if (from == to)
        return keyNr < 0 ? -1 : KeyNrWrapped(keyNr);
    return ConvertKeyNrFromKeyNrCToRootRelation(ConvertKeyNrFromRootRelationToKeyNrC(keyNr, from, pos, cc), to, pos, cc);
}

int ConvertDegreeFromRootRelationToKeyNrC_NormalRootRelation(int degreeNr, TRootRelation from, float pos,
    const CGenCharContext& cc)
{
    const auto [root, scale] = FindRootKeyNrAndScaleForRootRelation(from, pos, cc);
    if (root == kKeyNrUndef15 || scale.IsUndef() || degreeNr < 0)
        return -1;
    // The frame's scale may start elsewhere than its root (a chord's scale
    // starts on the chord root; the frame of its bass does not).
    return scale.DegreeNrToKeyNr(degreeNr + std::max(scale.KeyNrToDegreeNr(root), 0));
}

int ConvertDegreeNrFromKeyNrCToRootRelation_NormalRootRelation(int keyNr, TRootRelation to, float pos,
    const CGenCharContext& cc)
{
    const auto [root, scale] = FindRootKeyNrAndScaleForRootRelation(to, pos, cc);
    if (root == kKeyNrUndef15 || scale.IsUndef() || keyNr < 0)
        return -1;
    const int degree = scale.KeyNrToDegreeNr(KeyNrWrapped(keyNr));
    if (degree < 0)
        return -1;
    const int n = scale.DegreesPerOctave();
    return ((degree - std::max(scale.KeyNrToDegreeNr(root), 0)) % n + n) % n;
}

int ConvertDegreeFromRootRelationToKeyNrC_RootRelationChordBass(int degreeNr, float pos, const CGenCharContext& cc)
{
    const CChordHeavy* chord = ChordAt(pos, cc);
    return chord ? ChordKeyNrFromChordAndBassDegreeNr(*chord, degreeNr) : -1;
}

int ConvertDegreeNrFromKeyNrCToRootRelation_RootRelationChordBass(int keyNr, float pos, const CGenCharContext& cc)
{
    const CChordHeavy* chord = ChordAt(pos, cc);
    if (!chord)
        return -1;
    const std::vector<int> degrees = BassDegreeNrsFromChordAndChordKeyNr(*chord, keyNr);
    return degrees.empty() ? -1 : degrees.front();
}

int ConvertDegreeNrFromRootRelationToKeyNrC(int degreeNr, TRootRelation from, float pos, const CGenCharContext& cc)
{
    return from == TRootRelation_ChordBass ? ConvertDegreeFromRootRelationToKeyNrC_RootRelationChordBass(degreeNr, pos, cc)
                                           : ConvertDegreeFromRootRelationToKeyNrC_NormalRootRelation(degreeNr, from, pos, cc);
}

int ConvertDegreeNrFromKeyNrCToRootRelation(int keyNr, TRootRelation to, float pos, const CGenCharContext& cc)
{
    return to == TRootRelation_ChordBass ? ConvertDegreeNrFromKeyNrCToRootRelation_RootRelationChordBass(keyNr, pos, cc)
                                         : ConvertDegreeNrFromKeyNrCToRootRelation_NormalRootRelation(keyNr, to, pos, cc);
}

int ConvertDegreeNrBetweenRootRelations(int degreeNr, TRootRelation from, TRootRelation to, float pos,
    const CGenCharContext& cc)
{
    return ConvertDegreeNrFromKeyNrCToRootRelation(ConvertDegreeNrFromRootRelationToKeyNrC(degreeNr, from, pos, cc), to,
        pos, cc);
}

int ConvertDegreeNrToKeyNr(int degreeNr, TRootRelation relation, float pos, const CGenCharContext& cc)
{
    return ConvertDegreeNrFromRootRelationToKeyNrC(degreeNr, relation, pos, cc);
}

int ConvertKeyNrToDegreeNr(int keyNr, TRootRelation relation, float pos, const CGenCharContext& cc)
{
    return ConvertDegreeNrFromKeyNrCToRootRelation(keyNr, relation, pos, cc);
}

std::vector<int> BassDegreeNrsFromChordAndChordKeyNr(const CChordHeavy& chord, int keyNr, int range)
{
    std::vector<int> out;
    if (chord.IsUndef() || keyNr < 0)
        return out;
    const CScaleHeavy scale = chord.OwnScale();
    const int n = scale.DegreesPerOctave();
    const int bassDegree = scale.KeyNrToDegreeNr(chord.BassKeyEnh().mKeyNr);
    const int degree = scale.KeyNrToDegreeNr(KeyNrWrapped(keyNr));
    if (n == 0 || degree < 0)
        return out;
    // A bass outside the scale counts from the scale note below it.
    const int from = bassDegree >= 0 ? bassDegree : scale.NoteNrToDegreeNr(scale.NoteQuantizeToScaleNote(
                                                        CNote(48 + chord.BassKeyEnh().mKeyNr, TEnh_Undef), TQuantizeDirection_Down).mNoteNr);
    for (int d = ((degree - from) % n + n) % n; d < range; d += n)
        out.push_back(d);
    return out;
}

int ChordKeyNrFromChordAndBassDegreeNr(const CChordHeavy& chord, int degreeNr, int range)
{
    if (chord.IsUndef() || degreeNr < 0 || degreeNr >= range)
        return -1;
    const CScaleHeavy scale = chord.OwnScale();
    const int bass = chord.BassKeyEnh().mKeyNr;
    const int from = scale.NoteNrToDegreeNr(scale.NoteQuantizeToScaleNote(CNote(48 + bass, TEnh_Undef), TQuantizeDirection_Down).mNoteNr);
    return from < 0 ? -1 : scale.DegreeNrToKeyNr(from + degreeNr);
}

TAbstractDegree AbstractDegreeForBassDegreeNr(int degreeNr)
{
    if (degreeNr == 0)
        return TAbstractDegree_B1;
    if (degreeNr >= 1 && degreeNr <= 6)
        return static_cast<TAbstractDegree>(TAbstractDegree_B2 + degreeNr - 1);
    return TAbstractDegree_Undef;
}
