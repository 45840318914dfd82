#include "Generator/CGenCharContext.h"
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/harmony/CAbstractScale.h"
#include "Generator/harmony/CChordHeavy.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/harmony/CHarmonicContext.h"
#include "Generator/timesig/CGenEvsSignKey.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const CChordNamePrefs kPrefs;

CChordHeavy Chord(const std::string& name)
{
    CChordHeavy chord;
    EXPECT_TRUE(SetFromString(name, chord, kPrefs)) << name;
    return chord;
}

// The steps type of abstract scale set n.
TStepsType ScaleSet(int n) { return static_cast<TStepsType>(TStepsType_AbstractScaleSet0 + n); }

std::string Name(const CChordHeavy& chord) { return chord.Name(kPrefs); }

// The three harmony lists of a song, read at a position.
struct Harmony {
    CGenEvsChord chords;
    CGenEvsHarmCenter centers;
    CGenEvsSignKey keys;

    void AddChord(float pos, const std::string& name) { chords.push_back(CGenEvChord(pos, Chord(name))); }

    CHarmonicContext At(float pos) const
    {
        CHarmonicContext ctx;
        ctx.FillFromEvsChordAndSignKeyAndSignTime(chords, centers, keys, nullptr, pos);
        return ctx;
    }
};

// C | Am7 | F | G7, one chord per four beats, written in C major, centred on A minor.
Harmony FourChords()
{
    Harmony h;
    h.AddChord(0.0f, "C");
    h.AddChord(4.0f, "Am7");
    h.AddChord(8.0f, "F");
    h.AddChord(12.0f, "G7");
    h.keys.push_back(CGenEvSignKey(0.0f, 0, false));
    h.centers.push_back(CGenEvHarmCenter(0.0f, 9, true));
    return h;
}

// Pattern roots from 60 to 71, the notes over the whole range.
TConcretizeRange MiddleRootRange()
{
    TConcretizeRange r;
    r.mMinNoteNr = 0;
    r.mMaxNoteNr = 127;
    r.mPatternRootMinNoteNr = 60;
    r.mPatternRootMaxNoteNr = 71;
    return r;
}

void ExpectScale(const CScaleHeavy& scale, int root, TScaleType type, const std::string& what)
{
    EXPECT_EQ(scale.RootKeyNr(), root) << what;
    EXPECT_EQ(scale.mScaleType, type) << what;
}

} // namespace

// ---------------------------------------------------------------- slots

TEST(HarmonicContextSlots, PrevCurrentNextAroundAChord)
{
    const CHarmonicContext ctx = FourChords().At(5.0f);
    EXPECT_EQ(ctx.mBeatPosAbs, 5.0f);
    EXPECT_EQ(Name(ctx.mChords[CHarmonicContext::kPrev].mChord), "C");
    EXPECT_EQ(Name(ctx.mChords[CHarmonicContext::kCurrent].mChord), "Am7");
    EXPECT_EQ(Name(ctx.mChords[CHarmonicContext::kNext].mChord), "F");
    // Each slot runs from its chord to the next chord.
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kPrev].mBeatPosAbs, 0.0f);
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kPrev].mEndBeatPosAbs, 4.0f);
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kCurrent].mBeatPosAbs, 4.0f);
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kCurrent].mEndBeatPosAbs, 8.0f);
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kNext].mBeatPosAbs, 8.0f);
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kNext].mEndBeatPosAbs, 12.0f);
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kCurrent].mSignKey, CSignKeyNoEnh(0, TSignKeyType_Major));
    // One key and one centre: only the current slots are defined.
    EXPECT_EQ(ctx.mSignKeys[CHarmonicContext::kCurrent].mSignKey, CSignKeyLite(0, TSignKeyType_Major));
    EXPECT_TRUE(ctx.mSignKeys[CHarmonicContext::kPrev].mSignKey.IsUndef());
    EXPECT_TRUE(ctx.mSignKeys[CHarmonicContext::kNext].mSignKey.IsUndef());
    EXPECT_EQ(ctx.mHarmCenters[CHarmonicContext::kCurrent].mSignKey, CSignKeyLite(9, TSignKeyType_Minor));
    EXPECT_TRUE(GenIsUndef(ctx.mHarmCenters[CHarmonicContext::kCurrent].mEndBeatPosAbs));

    // A chord is in force from its own position on.
    EXPECT_EQ(Name(FourChords().At(4.0f).mChords[CHarmonicContext::kCurrent].mChord), "Am7");
    EXPECT_EQ(Name(FourChords().At(3.99f).mChords[CHarmonicContext::kCurrent].mChord), "C");
    // The last chord has no end and no next chord.
    const CHarmonicContext last = FourChords().At(13.0f);
    EXPECT_EQ(Name(last.mChords[CHarmonicContext::kCurrent].mChord), "G7");
    EXPECT_TRUE(GenIsUndef(last.mChords[CHarmonicContext::kCurrent].mEndBeatPosAbs));
    EXPECT_TRUE(last.mChords[CHarmonicContext::kNext].mChord.IsUndef());
}

TEST(HarmonicContextSlots, BeforeTheFirstChordOnlyTheNextIsDefined)
{
    Harmony h;
    h.AddChord(2.0f, "Dm");
    h.AddChord(6.0f, "G7");
    h.keys.push_back(CGenEvSignKey(0.0f, 0, false));
    const CHarmonicContext ctx = h.At(1.0f);
    EXPECT_TRUE(ctx.mChords[CHarmonicContext::kPrev].mChord.IsUndef());
    EXPECT_TRUE(ctx.mChords[CHarmonicContext::kCurrent].mChord.IsUndef());
    EXPECT_EQ(Name(ctx.mChords[CHarmonicContext::kNext].mChord), "Dm");
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kNext].mEndBeatPosAbs, 6.0f);
    // Without a chord the current slot plays in the key's scale.
    ExpectScale(ctx.mChords[CHarmonicContext::kCurrent].mScale, 0, TScaleType_Ionian, "no chord");
    EXPECT_EQ(ctx.mChords[CHarmonicContext::kCurrent].mSignKey, CSignKeyNoEnh(0, TSignKeyType_Major));
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_CurrentChord), -1);
    // Dm root D: 48 + 2.
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_NextChord), 50);
}

TEST(HarmonicContextSlots, EmptyListsGiveUndefinedSlots)
{
    const Harmony empty;
    const CHarmonicContext ctx = empty.At(3.0f);
    for (int slot = 0; slot < 3; ++slot) {
        EXPECT_TRUE(ctx.mChords[slot].mChord.IsUndef()) << slot;
        EXPECT_TRUE(ctx.mChords[slot].mScale.IsUndef()) << slot;
        EXPECT_TRUE(ctx.mHarmCenters[slot].mSignKey.IsUndef()) << slot;
        EXPECT_TRUE(ctx.mSignKeys[slot].mSignKey.IsUndef()) << slot;
    }
    for (int w = TWhere_Undef; w <= TWhere_GetFromAbstractNote; ++w) {
        EXPECT_EQ(ctx.RootNoteForTWhere(static_cast<TWhere>(w)), -1) << w;
        EXPECT_TRUE(GenIsUndef(ctx.BeatPosAbsFromWhere(static_cast<TWhere>(w)))) << w;
    }
    // An undefined position leaves even a full song undefined.
    EXPECT_TRUE(FourChords().At(TGenBeatPosAbs_Undef).mChords[CHarmonicContext::kCurrent].mChord.IsUndef());
}

TEST(HarmonicContextSlots, RootNoteAndPositionForEachWhere)
{
    const CHarmonicContext ctx = FourChords().At(5.0f);
    // Chord slots: 48 + root key. Am7 57, C 48, F 53.
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_CurrentChord), 57);
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_PrevChord), 48);
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_NextChord), 53);
    // Key slots give the key number: the centre A minor 9, its parallel
    // major keeps the root, the written key C 0.
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_CurrentHarmCenter), 9);
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_CurrentHarmCenterAsMajor), 9);
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_CurrentSignKey), 0);
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_PrevSignKey), -1);
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_NextHarmCenterAsMajor), -1);
    // Above 11 and Undef: none.
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_GetFromAbstractNote), -1);
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_Undef), -1);

    EXPECT_EQ(ctx.KeyForTWhere(TWhere_CurrentHarmCenter), CSignKeyLite(9, TSignKeyType_Minor));
    EXPECT_EQ(ctx.KeyForTWhere(TWhere_CurrentHarmCenterAsMajor), CSignKeyLite(9, TSignKeyType_Major));
    EXPECT_TRUE(ctx.KeyForTWhere(TWhere_CurrentChord).IsUndef());

    EXPECT_EQ(ctx.BeatPosAbsFromWhere(TWhere_PrevChord), 0.0f);
    EXPECT_EQ(ctx.BeatPosAbsFromWhere(TWhere_CurrentChord), 4.0f);
    EXPECT_EQ(ctx.BeatPosAbsFromWhere(TWhere_NextChord), 8.0f);
    EXPECT_EQ(ctx.BeatPosAbsFromWhere(TWhere_CurrentSignKey), 0.0f);
    EXPECT_EQ(ctx.BeatPosAbsFromWhere(TWhere_CurrentHarmCenterAsMajor), 0.0f);
    EXPECT_TRUE(GenIsUndef(ctx.BeatPosAbsFromWhere(TWhere_NextSignKey)));
    EXPECT_TRUE(GenIsUndef(ctx.BeatPosAbsFromWhere(TWhere_GetFromAbstractNote)));
}

TEST(HarmonicContextSlots, MajorCentreAsMajorStaysItself)
{
    Harmony h = FourChords();
    h.centers.clear();
    h.centers.push_back(CGenEvHarmCenter(0.0f, 7, false));
    const CHarmonicContext ctx = h.At(1.0f);
    EXPECT_EQ(ctx.KeyForTWhere(TWhere_CurrentHarmCenterAsMajor), CSignKeyLite(7, TSignKeyType_Major));
    EXPECT_EQ(ctx.RootNoteForTWhere(TWhere_CurrentHarmCenterAsMajor), 7);
}

TEST(HarmonicContextSlots, ChordScalesInTheKey)
{
    const Harmony h = FourChords();
    // Diatonic chords take the key's mode on their degree: Am7 on the sixth
    // degree of C is aeolian, F on the fourth lydian, G7 on the fifth
    // mixolydian, C ionian.
    ExpectScale(h.At(5.0f).mChords[CHarmonicContext::kCurrent].mScale, 9, TScaleType_Aeolian, "Am7");
    ExpectScale(h.At(5.0f).mChords[CHarmonicContext::kPrev].mScale, 0, TScaleType_Ionian, "C");
    ExpectScale(h.At(5.0f).mChords[CHarmonicContext::kNext].mScale, 5, TScaleType_Lydian, "F");
    ExpectScale(h.At(13.0f).mChords[CHarmonicContext::kCurrent].mScale, 7, TScaleType_Mixolydian, "G7");

    Harmony dm;
    dm.AddChord(0.0f, "Dm");
    dm.keys.push_back(CGenEvSignKey(0.0f, 0, false));
    ExpectScale(dm.At(0.0f).mChords[CHarmonicContext::kCurrent].mScale, 2, TScaleType_Dorian, "Dm in C");

    // A scale stated on the chord event wins over the key's.
    Harmony own;
    own.chords.push_back(CGenEvChord(0.0f, Chord("G7"), CScaleHeavy(CKeyEnh(7, TEnh_Natural), TScaleType_PhrygianDominant)));
    own.keys.push_back(CGenEvSignKey(0.0f, 0, false));
    ExpectScale(own.At(0.0f).mChords[CHarmonicContext::kCurrent].mScale, 7, TScaleType_PhrygianDominant, "stated");
}

// ---------------------------------------------------------------- choice for a note

TEST(HarmonicContextChoice, ChordWhereGivesChordScaleKeysAndRoot)
{
    const CHarmonicContext ctx = FourChords().At(5.0f);
    const TConcretizeRange noLimits;
    const THarmonicContextChosen c =
        ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{1}"), nullptr, 255, noLimits, 0);
    EXPECT_EQ(Name(c.mChord), "Am7");
    ExpectScale(c.mScale, 9, TScaleType_Aeolian, "Am7");
    EXPECT_EQ(c.mSignKey1, CSignKeyNoEnh(0, TSignKeyType_Major));
    EXPECT_EQ(c.mSignKey2, CSignKeyNoEnh(0, TSignKeyType_Major));
    // Without limits the root stays 48 + 9.
    EXPECT_EQ(c.mRootNoteNr, 57);
    // Pattern roots 60..71: 57 is raised once to 69.
    EXPECT_EQ(ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{1}"), nullptr, 255,
                  MiddleRootRange(), 0).mRootNoteNr,
        69);
    // The next chord F: 53 -> 65.
    const THarmonicContextChosen next =
        ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{n1}"), nullptr, 255, MiddleRootRange(), 0);
    EXPECT_EQ(Name(next.mChord), "F");
    EXPECT_EQ(next.mRootNoteNr, 65);
}

TEST(HarmonicContextChoice, RootMapBeatsTheChordRoot)
{
    const CHarmonicContext ctx = FourChords().At(5.0f);
    TMapWhereAndNoteGroupIDToRootNoteNr map;
    // 80 lies outside the pattern-root range: a mapped root is taken as it is.
    map[TWhere_CurrentChord][3] = 80;
    map[TWhere_NextChord][255] = 30;
    const CAbstractNote root("{1}");
    EXPECT_EQ(ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(root, &map, 3, MiddleRootRange(), 0).mRootNoteNr, 80);
    // Another group, or another where in the map: the chord's root, 57 -> 69.
    EXPECT_EQ(ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(root, &map, 255, MiddleRootRange(), 0).mRootNoteNr, 69);
    EXPECT_EQ(ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{n1}"), &map, 255, MiddleRootRange(), 0)
                  .mRootNoteNr,
        30);
    // The chord stays the slot's even with a mapped root.
    EXPECT_EQ(Name(ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(root, &map, 3, MiddleRootRange(), 0).mChord), "Am7");
}

TEST(HarmonicContextChoice, KeyWheresTakeTheTriadOfTheKeyScale)
{
    const CHarmonicContext ctx = FourChords().At(5.0f);
    const TConcretizeRange noLimits;
    auto choose = [&](const char* text) {
        return ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote(text), nullptr, 255, noLimits, 0);
    };
    const THarmonicContextChosen centre = choose("{c1}");
    EXPECT_EQ(Name(centre.mChord), "Am");
    ExpectScale(centre.mScale, 9, TScaleType_Aeolian, "centre");
    EXPECT_EQ(centre.mRootNoteNr, 9);
    EXPECT_EQ(centre.mSignKey1, CSignKeyNoEnh(9, TSignKeyType_Minor));
    // As major: the parallel A major, same root 9.
    const THarmonicContextChosen major = choose("{C1}");
    EXPECT_EQ(Name(major.mChord), "A");
    ExpectScale(major.mScale, 9, TScaleType_Ionian, "as major");
    EXPECT_EQ(major.mRootNoteNr, 9);
    const THarmonicContextChosen key = choose("{k1}");
    EXPECT_EQ(Name(key.mChord), "C");
    ExpectScale(key.mScale, 0, TScaleType_Ionian, "key");
    EXPECT_EQ(key.mRootNoteNr, 0);
    // Key number 0 into pattern roots 60..71: five octaves up.
    EXPECT_EQ(ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{k1}"), nullptr, 255,
                  MiddleRootRange(), 0).mRootNoteNr,
        60);
}

TEST(HarmonicContextChoice, UndefinedReferencesGiveNoRoot)
{
    const CHarmonicContext ctx = FourChords().At(13.0f);
    const TConcretizeRange noLimits;
    const THarmonicContextChosen next =
        ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{n1}"), nullptr, 255, noLimits, 0);
    EXPECT_EQ(next.mRootNoteNr, -1);
    EXPECT_TRUE(next.mChord.IsUndef());
    EXPECT_EQ(ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{pk1}"), nullptr, 255, noLimits, 0)
                  .mRootNoteNr,
        -1);
    const THarmonicContextChosen undefNote =
        ctx.ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote(), nullptr, 255, noLimits, 0);
    EXPECT_EQ(undefNote.mRootNoteNr, -1);
    EXPECT_TRUE(undefNote.mScale.IsUndef());
    EXPECT_TRUE(undefNote.mSignKey1.IsUndef());
    EXPECT_EQ(Harmony().At(0.0f).ChoseHarmonicContextAndRootNoteNrForAbstractNote(CAbstractNote("{1}"), nullptr, 255,
                  noLimits, 0).mRootNoteNr,
        -1);
}

TEST(HarmonicContextChoice, CopyWithCurrentChordLookingLikeOtherWhere)
{
    const CHarmonicContext ctx = FourChords().At(5.0f);
    auto current = [](const CHarmonicContext& c) { return c.mChords[CHarmonicContext::kCurrent]; };
    const CHarmonicContext next = ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_NextChord);
    EXPECT_EQ(Name(current(next).mChord), "F");
    ExpectScale(current(next).mScale, 5, TScaleType_Lydian, "next");
    EXPECT_EQ(current(next).mBeatPosAbs, 8.0f);
    // The other slots stay.
    EXPECT_EQ(Name(next.mChords[CHarmonicContext::kPrev].mChord), "C");
    EXPECT_EQ(Name(next.mChords[CHarmonicContext::kNext].mChord), "F");
    EXPECT_EQ(Name(current(ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_PrevChord)).mChord), "C");
    // Key wheres: the triad of the key's scale.
    const CHarmonicContext centre = ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_CurrentHarmCenter);
    EXPECT_EQ(Name(current(centre).mChord), "Am");
    ExpectScale(current(centre).mScale, 9, TScaleType_Aeolian, "centre");
    EXPECT_EQ(current(centre).mSignKey, CSignKeyNoEnh(9, TSignKeyType_Minor));
    EXPECT_EQ(Name(current(ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_CurrentHarmCenterAsMajor)).mChord),
        "A");
    EXPECT_EQ(Name(current(ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_CurrentSignKey)).mChord), "C");
    // The current chord and values outside the table leave the copy as it is.
    EXPECT_EQ(Name(current(ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_CurrentChord)).mChord), "Am7");
    EXPECT_EQ(Name(current(ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_GetFromAbstractNote)).mChord),
        "Am7");
    EXPECT_EQ(Name(current(ctx.ReturnCopyWithCurrentChordLookingLikeOtherWhere(TWhere_Undef)).mChord), "Am7");
}

// ---------------------------------------------------------------- abstract scales

TEST(HarmonicAbstractScale, DefsAndOctaveOffset)
{
    const CAbstractScale diatonic = CAbstractScaleDefs::Diatonic(TWhere_NextChord);
    ASSERT_EQ(diatonic.size(), 7u);
    const TAbstractDegree seven[] = {TAbstractDegree_Root, TAbstractDegree__2, TAbstractDegree__3, TAbstractDegree__4,
        TAbstractDegree__5, TAbstractDegree__6, TAbstractDegree__7};
    for (size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(diatonic[i].mDegree, seven[i]) << i;
        EXPECT_EQ(diatonic[i].mWhere, TWhere_NextChord) << i;
        EXPECT_TRUE(diatonic[i].mOffsets.empty()) << i;
    }
    const CAbstractScale major = CAbstractScaleDefs::PentatonicMajor(TWhere_CurrentChord);
    const CAbstractScale minor = CAbstractScaleDefs::PentatonicMinor(TWhere_CurrentChord);
    ASSERT_EQ(major.size(), 5u);
    ASSERT_EQ(minor.size(), 5u);
    EXPECT_EQ(major[1].mDegree, TAbstractDegree__2);
    EXPECT_EQ(major[4].mDegree, TAbstractDegree__6);
    EXPECT_EQ(minor[2].mDegree, TAbstractDegree__4);
    EXPECT_EQ(minor[4].mDegree, TAbstractDegree__7);
    EXPECT_EQ(CAbstractScaleDefs::CurrentHarmCenter_Diatonic()[3].mWhere, TWhere_CurrentHarmCenter);
    EXPECT_EQ(CAbstractScaleDefs::CurrentHarmCenter_PentatonicMinor().size(), 5u);

    // Truncation toward 0: -8 / 7 = -1, 15 / 7 = 2, -6 / 7 = 0.
    EXPECT_EQ(diatonic.OctaveOffsetIfStepsExceedOctaveRange(-8), -1);
    EXPECT_EQ(diatonic.OctaveOffsetIfStepsExceedOctaveRange(15), 2);
    EXPECT_EQ(diatonic.OctaveOffsetIfStepsExceedOctaveRange(-6), 0);
    EXPECT_EQ(diatonic.OctaveOffsetIfStepsExceedOctaveRange(7), 1);
    EXPECT_EQ(diatonic.OctaveOffsetIfStepsExceedOctaveRange(0), 0);
    EXPECT_EQ(CAbstractScale().OctaveOffsetIfStepsExceedOctaveRange(5), 0);
}

TEST(HarmonicAbstractScale, UnionAndInsert)
{
    // {1 2 3 5 6} + {1 3 4 5 7}: the union is the whole diatonic set, sorted.
    const CAbstractScale u = CAbstractScaleDefs::PentatonicMajor(TWhere_CurrentChord)
        + CAbstractScaleDefs::PentatonicMinor(TWhere_CurrentChord);
    EXPECT_EQ(u, CAbstractScaleDefs::Diatonic(TWhere_CurrentChord));

    CAbstractScale s;
    EXPECT_TRUE(s.InsertIfNotContained(CAbstractNote("{5}")));
    EXPECT_TRUE(s.InsertIfNotContained(CAbstractNote("{1}")));
    EXPECT_FALSE(s.InsertIfNotContained(CAbstractNote("{5}")));
    ASSERT_EQ(s.size(), 2u);
    EXPECT_EQ(s[0].mDegree, TAbstractDegree_Root);
    EXPECT_EQ(s[1].mDegree, TAbstractDegree__5);
    EXPECT_TRUE(s.Contains(CAbstractNote("{1}")));
    // The where is part of the element.
    EXPECT_FALSE(s.Contains(CAbstractNote("{n1}")));
    EXPECT_EQ((s + CAbstractScale()).size(), 2u);
}

TEST(HarmonicAbstractScale, FindAbstractScaleForConditions)
{
    auto must = [](int intvl) {
        CSemitonesMatch m;
        m.mMatch[intvl] = TSemiMatch_Must;
        return CSemitonesMatches {m};
    };
    CAbstractScaleSet set;
    set.push_back(CAbstractScaleWithConditions(CAbstractScaleDefs::PentatonicMinor(TWhere_CurrentChord), must(3)));
    set.push_back(CAbstractScaleWithConditions(CAbstractScaleDefs::Diatonic(TWhere_NextChord)));
    set.back().mRootKeyNr = 7;
    set.push_back(CAbstractScaleWithConditions(CAbstractScaleDefs::PentatonicMajor(TWhere_CurrentChord)));
    const CAbstractScale* minorPenta = &set[0].mScale;
    const CAbstractScale* onG = &set[1].mScale;
    const CAbstractScale* any = &set[2].mScale;

    const CSemitones majorTriad = Chord("C").Semitones();
    const CSemitones minorTriad = Chord("Cm").Semitones();
    // A major triad fails the minor third, root 0 fails root 7: the last.
    EXPECT_EQ(set.FindAbstractScaleFor(majorTriad, -1, 0, 0, -1), any);
    EXPECT_EQ(set.FindAbstractScaleFor(minorTriad, -1, 0, 0, -1), minorPenta);
    EXPECT_EQ(set.FindAbstractScaleFor(majorTriad, -1, 7, 7, -1), onG);
    // -1 passes any test of its integer.
    EXPECT_EQ(set.FindAbstractScaleFor(majorTriad, -1, -1, -1, -1), onG);
    // No semitones: the match test is skipped.
    EXPECT_EQ(set.FindAbstractScaleFor(CSemitones(), 3, 0, 0, 0), minorPenta);
    EXPECT_EQ(CAbstractScaleSet().FindAbstractScaleFor(majorTriad, -1, -1, -1, -1), nullptr);

    // The chord form: Am in C is degree distance 9, root 9, bass 9, type minor.
    CAbstractScaleSet byDegree;
    byDegree.push_back(CAbstractScaleWithConditions(CAbstractScaleDefs::Diatonic(TWhere_CurrentChord)));
    byDegree.back().mDegreeNrInKey = 9;
    byDegree.back().mChordType = TChordType_Minor;
    const CSignKeyNoEnh cMajor(0, TSignKeyType_Major);
    EXPECT_EQ(byDegree.FindAbstractScaleFor(Chord("Am"), cMajor, CSignKeyLite()), &byDegree[0].mScale);
    EXPECT_EQ(byDegree.FindAbstractScaleFor(Chord("A"), cMajor, CSignKeyLite()), nullptr);
    EXPECT_EQ(byDegree.FindAbstractScaleFor(Chord("Dm"), cMajor, CSignKeyLite()), nullptr);
    // An undefined chord asks nothing.
    EXPECT_EQ(byDegree.FindAbstractScaleFor(CChordHeavy(), cMajor, CSignKeyLite()), &byDegree[0].mScale);

    CAbstractScaleSets sets;
    sets[ScaleSet(3)] = set;
    EXPECT_EQ(sets.FindAbstractScaleSetFor(ScaleSet(3)), &sets[ScaleSet(3)]);
    EXPECT_EQ(sets.FindAbstractScaleSetFor(ScaleSet(4)), nullptr);
}

TEST(HarmonicAbstractScale, AbstractNoteFromConcreteNotes)
{
    const CSignKeyHeavy cMajor(CKeyEnh(0, TEnh_Natural), TSignKeyType_Major);
    // E over C in C: the third.
    EXPECT_EQ(AbstractNoteFrom(64, Chord("C"), cMajor).ToString(), "{3}");
    // Octaves don't matter: C over C is the root.
    EXPECT_EQ(AbstractNoteFrom(36, Chord("C"), cMajor).ToString(), "{1}");
    // C# isn't in C major: the root with a chromatic step up.
    EXPECT_EQ(AbstractNoteFrom(61, Chord("C"), cMajor).ToString(), "{1[c+1]}");
    // C over Am (A aeolian): three semitones up, degree 3.
    EXPECT_EQ(AbstractNoteFrom(72, Chord("Am"), cMajor).ToString(), "{3}");
    // Five degrees only: chromatic steps from the root, D is 2 above C.
    EXPECT_EQ(AbstractNoteFrom(62, Chord("C"), TScaleType_PentatonicMajor).ToString(), "{1[c+2]}");
    EXPECT_TRUE(AbstractNoteFrom(-1, Chord("C"), cMajor).IsUndef());
    EXPECT_TRUE(AbstractNoteFrom(60, CChordHeavy(), cMajor).IsUndef());
}

// ---------------------------------------------------------------- frames of reference

namespace {

// A song in G major centred on E minor: G/B from 0, Am7 from 4 (no chord before 0).
struct RootRelationSong {
    CGenGeneratorParams params;
    CGenContext context {&params};
    CGenCharContext cc {&context};

    RootRelationSong()
    {
        params.mEvsChord.push_back(CGenEvChord(0.0f, Chord("G/B")));
        params.mEvsChord.push_back(CGenEvChord(4.0f, Chord("Am7")));
        params.mEvsSignKey.push_back(CGenEvSignKey(0.0f, 7, false));
        params.mEvsHarmCenter.push_back(CGenEvHarmCenter(0.0f, 4, true));
    }
};

} // namespace

TEST(HarmonicContextRootRelation, RootsOfTheFrames)
{
    const RootRelationSong song;
    const CGenCharContext& cc = song.cc;
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_KeyNrC, 0.0f, cc), 0);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_SignKey, 0.0f, cc), 7);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_HarmCenter, 0.0f, cc), 4);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_Chord, 0.0f, cc), 7);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_ChordBass, 0.0f, cc), 11);
    // G/B in G: G ionian; Am7 in G: A dorian.
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_Scale, 0.0f, cc), 7);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_Chord, 5.0f, cc), 9);
    const auto [root, scale] = FindRootKeyNrAndScaleForRootRelation(TRootRelation_Scale, 5.0f, cc);
    EXPECT_EQ(root, 9);
    ExpectScale(scale, 9, TScaleType_Dorian, "Am7 in G");
    EXPECT_EQ(FindRootKeyNrAndScaleForRootRelation(TRootRelation_KeyNrC, 5.0f, cc).first, 0);
    EXPECT_EQ(FindRootKeyNrForRootRelationSignKey(5.0f, cc), 7);
    EXPECT_EQ(FindRootKeyNrForRootRelationChordBassToKeyNrC(5.0f, cc), 9);
}

TEST(HarmonicContextRootRelation, UndefinedFramesGive15AndMinusOne)
{
    RootRelationSong song;
    song.params.mEvsChord.front().mBeatPosAbs = 2.0f;
    const CGenCharContext& cc = song.cc;
    // Before the first chord the chord frames are undefined.
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_Chord, 1.0f, cc), 15);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_ChordBass, 1.0f, cc), 15);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_Scale, 1.0f, cc), 15);
    EXPECT_TRUE(FindRootKeyNrAndScaleForRootRelation(TRootRelation_Chord, 1.0f, cc).second.IsUndef());
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(0, TRootRelation_Chord, TRootRelation_KeyNrC, 1.0f, cc), -1);
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(0, TRootRelation_KeyNrC, TRootRelation_Chord, 1.0f, cc), -1);
    EXPECT_EQ(ConvertDegreeNrToKeyNr(0, TRootRelation_Chord, 1.0f, cc), -1);
    EXPECT_EQ(ConvertDegreeNrToKeyNr(0, TRootRelation_ChordBass, 1.0f, cc), -1);
    EXPECT_EQ(ConvertKeyNrToDegreeNr(0, TRootRelation_ChordBass, 1.0f, cc), -1);
    // The key is there from 0.
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_SignKey, 1.0f, cc), 7);

    // A view without a context knows nothing but C.
    const CGenCharContext none;
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_SignKey, 0.0f, none), 15);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_HarmCenter, 0.0f, none), 15);
    EXPECT_EQ(FindRootKeyNrForRootRelation(TRootRelation_KeyNrC, 0.0f, none), 0);
    EXPECT_EQ(FindRootKeyNrForRootRelation(static_cast<TRootRelation>(9), 0.0f, none), 15);
}

TEST(HarmonicContextRootRelation, KeyNrConversions)
{
    const RootRelationSong song;
    const CGenCharContext& cc = song.cc;
    // Equal frames only wrap: 14 -> 2, whatever the frame; undefined stays so.
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(14, TRootRelation_Chord, TRootRelation_Chord, 0.0f, cc), 2);
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(14, TRootRelation_Chord, TRootRelation_Chord, 0.0f, CGenCharContext()), 2);
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(-1, TRootRelation_SignKey, TRootRelation_SignKey, 0.0f, cc), -1);
    // Chord G: its 4 (the third B) is 7 + 4 = 11 in C.
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(4, TRootRelation_Chord, TRootRelation_KeyNrC, 0.0f, cc), 11);
    EXPECT_EQ(ConvertKeyNrFromRootRelationToKeyNrC(4, TRootRelation_Chord, 0.0f, cc), 11);
    // And back: 11 - 7 = 4.
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(11, TRootRelation_KeyNrC, TRootRelation_Chord, 0.0f, cc), 4);
    EXPECT_EQ(ConvertKeyNrFromKeyNrCToRootRelation(11, TRootRelation_Chord, 0.0f, cc), 4);
    // Am7's root in G: 9 - 7 = 2.
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(0, TRootRelation_Chord, TRootRelation_SignKey, 5.0f, cc), 2);
    // The bass B of G/B seen from G: 11 - 7 = 4.
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(0, TRootRelation_ChordBass, TRootRelation_Chord, 0.0f, cc), 4);
    // From the centre E (4) into the key G (7): 4 + 0 - 7 -> 9.
    EXPECT_EQ(ConvertKeyNrBetweenRootRelations(0, TRootRelation_HarmCenter, TRootRelation_SignKey, 0.0f, cc), 9);
}

TEST(HarmonicContextRootRelation, DegreeNrConversions)
{
    const RootRelationSong song;
    const CGenCharContext& cc = song.cc;
    // G major, degree 2 (0-based): B, 11.
    EXPECT_EQ(ConvertDegreeNrToKeyNr(2, TRootRelation_SignKey, 0.0f, cc), 11);
    // A dorian, degree 5: 9 + 9 = 18 -> 6, the raised sixth F#.
    EXPECT_EQ(ConvertDegreeNrToKeyNr(5, TRootRelation_Chord, 5.0f, cc), 6);
    EXPECT_EQ(ConvertKeyNrToDegreeNr(6, TRootRelation_Chord, 5.0f, cc), 5);
    EXPECT_EQ(ConvertKeyNrToDegreeNr(6, TRootRelation_SignKey, 5.0f, cc), 6);
    // C# is no degree of G major.
    EXPECT_EQ(ConvertKeyNrToDegreeNr(1, TRootRelation_SignKey, 5.0f, cc), -1);
    // Degree 2 of G (B) is degree 1 of A dorian.
    EXPECT_EQ(ConvertDegreeNrBetweenRootRelations(2, TRootRelation_SignKey, TRootRelation_Chord, 5.0f, cc), 1);
    // The bass frame of G/B counts from B: 0 is B, 1 is C.
    EXPECT_EQ(ConvertDegreeNrToKeyNr(0, TRootRelation_ChordBass, 0.0f, cc), 11);
    EXPECT_EQ(ConvertDegreeNrToKeyNr(1, TRootRelation_ChordBass, 0.0f, cc), 0);
    EXPECT_EQ(ConvertKeyNrToDegreeNr(0, TRootRelation_ChordBass, 0.0f, cc), 1);
    EXPECT_EQ(ConvertDegreeNrToKeyNr(-1, TRootRelation_SignKey, 0.0f, cc), -1);
}

TEST(HarmonicContextRootRelation, BassDegreesOfASlashChord)
{
    const CChordHeavy gOverB = Chord("G/B");
    // G/B's scale is G ionian; B is its degree 2, C degree 3: C is one above the bass.
    EXPECT_EQ(BassDegreeNrsFromChordAndChordKeyNr(gOverB, 0), std::vector<int>({1}));
    EXPECT_EQ(ChordKeyNrFromChordAndBassDegreeNr(gOverB, 1), 0);
    // D: 4 - 2 = 2 above the bass, and back.
    EXPECT_EQ(BassDegreeNrsFromChordAndChordKeyNr(gOverB, 2), std::vector<int>({2}));
    EXPECT_EQ(ChordKeyNrFromChordAndBassDegreeNr(gOverB, 2), 2);
    // Every degree below 7 maps back to its key.
    for (int d = 0; d < 7; ++d) {
        const int key = ChordKeyNrFromChordAndBassDegreeNr(gOverB, d);
        EXPECT_EQ(BassDegreeNrsFromChordAndChordKeyNr(gOverB, key), std::vector<int>({d})) << d;
    }
    // A wider range repeats a key an octave of degrees higher.
    EXPECT_EQ(BassDegreeNrsFromChordAndChordKeyNr(gOverB, 11, 15), std::vector<int>({0, 7, 14}));
    EXPECT_EQ(ChordKeyNrFromChordAndBassDegreeNr(gOverB, 7), -1);
    EXPECT_EQ(ChordKeyNrFromChordAndBassDegreeNr(gOverB, 7, 8), 11);
    EXPECT_EQ(ChordKeyNrFromChordAndBassDegreeNr(gOverB, -1), -1);
    // C# is no degree of G ionian; an undefined chord has none.
    EXPECT_TRUE(BassDegreeNrsFromChordAndChordKeyNr(gOverB, 1).empty());
    EXPECT_TRUE(BassDegreeNrsFromChordAndChordKeyNr(CChordHeavy(), 0).empty());
    EXPECT_EQ(ChordKeyNrFromChordAndBassDegreeNr(CChordHeavy(), 0), -1);
    // D/C: C is not in D ionian, the count starts on B below it.
    EXPECT_EQ(ChordKeyNrFromChordAndBassDegreeNr(Chord("D/C"), 0), 11);

    EXPECT_EQ(AbstractDegreeForBassDegreeNr(0), TAbstractDegree_B1);
    EXPECT_EQ(AbstractDegreeForBassDegreeNr(1), TAbstractDegree_B2);
    EXPECT_EQ(AbstractDegreeForBassDegreeNr(6), TAbstractDegree_B7);
    EXPECT_EQ(AbstractDegreeForBassDegreeNr(7), TAbstractDegree_Undef);
    EXPECT_EQ(AbstractDegreeForBassDegreeNr(-1), TAbstractDegree_Undef);
}
