#include "Generator/harmony/CAbstractScale.h"

#include <algorithm>

bool CAbstractScale::Contains(const CAbstractNote& note) const { return std::find(begin(), end(), note) != end(); }

void CAbstractScale::InsertSorted(const CAbstractNote& note) { insert(std::upper_bound(begin(), end(), note), note); }

bool CAbstractScale::InsertIfNotContained(const CAbstractNote& note)
{
    if (Contains(note))
        return false;
    InsertSorted(note);
    return true;
}

CAbstractScale CAbstractScale::operator+(const CAbstractScale& o) const
{
    CAbstractScale out = *this;
    std::sort(out.begin(), out.end());
    for (const CAbstractNote& n : o)
        out.InsertIfNotContained(n);
    return out;
}

int CAbstractScale::OctaveOffsetIfStepsExceedOctaveRange(int steps) const
{
    if (empty() || steps == 0)
        return 0;
    return steps / static_cast<int>(size());
}

const CAbstractScale* CAbstractScaleSet::FindAbstractScaleFor(const CSemitones& semitones, int degree1, int degree2,
    int degree3, int degree4) const
{
    auto agrees = [](int a, int b) { return a == -1 || b == -1 || a == b; };
    for (const CAbstractScaleWithConditions& el : *this) {
        if (!semitones.IsEmpty() && !el.mSemitonesMatches.empty() && !el.mSemitonesMatches.Matches(semitones))
            continue;
        if (agrees(degree1, el.mDegreeNrInKey) && agrees(degree2, el.mRootKeyNr) && agrees(degree3, el.mBassKeyNr)
            && agrees(degree4, el.mChordType))
            return &el.mScale;
    }
    return nullptr;
}

const CAbstractScale* CAbstractScaleSet::FindAbstractScaleFor(const CChordHeavy& chord, const CSignKeyNoEnh& signKey,
    const CSignKeyLite& /*harmCenter*/) const
{
    const int root = chord.IsUndef() ? -1 : chord.RootKeyEnh().mKeyNr;
    const int bass = chord.IsUndef() ? -1 : chord.BassKeyEnh().mKeyNr;
    const int degree = root < 0 ? -1 : signKey.DistToSignKeyRoot(root);
    return FindAbstractScaleFor(chord.Semitones(), degree, root, bass, chord.IsUndef() ? -1 : chord.mType);
}

const CAbstractScale* CAbstractScaleSet::FindAbstractScaleFor(const CHarmAnlsChord& chord,
    const CSignKeyNoEnh& signKey, const CSignKeyLite& harmCenter) const
{
    CChordHeavy heavy;
    heavy.SetHarmChord(chord);
    return FindAbstractScaleFor(heavy, signKey, harmCenter);
}

const CAbstractScaleSet* CAbstractScaleSets::FindAbstractScaleSetFor(TStepsType type) const
{
    auto it = find(type);
    return it == end() ? nullptr : &it->second;
}

namespace {

CAbstractScale ScaleOfDegrees(TWhere where, std::initializer_list<TAbstractDegree> degrees)
{
    CAbstractScale s;
    for (TAbstractDegree d : degrees)
        s.push_back(CAbstractNote(where, d));
    return s;
}

} // namespace

CAbstractScale CAbstractScaleDefs::Diatonic(TWhere where)
{
    return ScaleOfDegrees(where, {TAbstractDegree_Root, TAbstractDegree__2, TAbstractDegree__3, TAbstractDegree__4,
                                     TAbstractDegree__5, TAbstractDegree__6, TAbstractDegree__7});
}

CAbstractScale CAbstractScaleDefs::PentatonicMajor(TWhere where)
{
    return ScaleOfDegrees(
        where, {TAbstractDegree_Root, TAbstractDegree__2, TAbstractDegree__3, TAbstractDegree__5, TAbstractDegree__6});
}

CAbstractScale CAbstractScaleDefs::PentatonicMinor(TWhere where)
{
    return ScaleOfDegrees(
        where, {TAbstractDegree_Root, TAbstractDegree__3, TAbstractDegree__4, TAbstractDegree__5, TAbstractDegree__7});
}

CAbstractNote AbstractNoteFrom(long noteNr, const CChordHeavy& chord, const CScaleHeavy& scale)
{
    if (noteNr < 0 || chord.IsUndef())
        return CAbstractNote();
    const int root = chord.RootKeyEnh().mKeyNr;
    const int intvl = AbsKeyIntvlFromTo(root, KeyNrWrapped(noteNr));
    if (intvl == 0)
        return CAbstractNote(TWhere_CurrentChord, TAbstractDegree_Root);
    // The scale seen from the chord root; without one, the chord's own.
    const CScaleHeavy s = scale.IsUndef() ? chord.OwnScale() : CScaleHeavy(chord.RootKeyEnh(), scale.ToSemitones().RotatedDown(AbsKeyIntvlFromTo(scale.RootKeyNr(), root)));
    if (s.DegreesPerOctave() == 7) {
        const int degree = s.KeyNrToDegreeNr(KeyNrWrapped(noteNr));
        if (degree >= 0)
            return CAbstractNote(TWhere_CurrentChord, static_cast<TAbstractDegree>(TAbstractDegree_Root + degree));
        // The degree below with a chromatic step up.
        const int below = s.KeyNrToDegreeNr(KeyNrWrapped(noteNr - 1));
        CAbstractNote note(TWhere_CurrentChord, static_cast<TAbstractDegree>(TAbstractDegree_Root + std::max(below, 0)));
        CAbstractOffset offset;
        offset.mOctaves = CAbstractOffset::kOctavesUndef;
        offset.mSteps = 1;
        offset.mStepsType = TStepsType_Chromatic;
        note.mOffsets.push_back(offset);
        return note;
    }
    // A scale that has no seven degrees: the root with chromatic steps.
    CAbstractNote note(TWhere_CurrentChord, TAbstractDegree_Root);
    CAbstractOffset offset;
    offset.mOctaves = CAbstractOffset::kOctavesUndef;
    offset.mSteps = static_cast<int8_t>(intvl);
    offset.mStepsType = TStepsType_Chromatic;
    note.mOffsets.push_back(offset);
    return note;
}

CAbstractNote AbstractNoteFrom(long noteNr, const CChordHeavy& chord, const CSignKeyHeavy& signKey)
{
    return AbstractNoteFrom(noteNr, chord, chord.ConstructScaleInSignKey(signKey));
}

CAbstractNote AbstractNoteFrom(long noteNr, const CChordHeavy& chord, TScaleType scaleType)
{
    return AbstractNoteFrom(noteNr, chord, CScaleHeavy(chord.RootKeyEnh(), scaleType));
}
