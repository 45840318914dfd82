// Whole generations through Generate: determinism, the region, metres, the
// layers a new take touches, the names of rendered patterns, and the notes
// that come out.
#include "Generator/CGenGenerator.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

int Uid(const char* path)
{
    const TInstTreeUid uid = GenDrumInstTreeV1().FindUidWithPath(path);
    EXPECT_NE(uid, TInstTreeUid_Undef) << path;
    return GenInstTreeUidToMB1(uid);
}

// One bar of 4/4 in eighths of a kit piece, with an accent on each beat.
CGenPattern Eighths(const std::string& name, const char* path, float lengthInBars = 1.0f)
{
    CGenEvs evs(4.0f * lengthInBars);
    for (int i = 0; i < static_cast<int>(8 * lengthInBars); ++i)
        evs.InsertAtBeatPos(CGenEv(0.5f * i, 0.25f, st_NoteOn, Uid(path), i % 2 == 0 ? 100 : 70));
    return CGenPattern(name, evs);
}

// A drummer with three patterns on each of the accent family, system and
// percussion layers, chosen from all patterns.
struct Drummer {
    CGenGenerator generator;
    explicit Drummer()
    {
        generator.CreateDefaultGenre();
        CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
        for (int i = 0; i < 3; ++i) {
            lib.PatternGraph(TPatternGraphType_AccentFamily).AddPattern(Eighths("kick" + std::to_string(i), "Drums.Ki"));
            lib.PatternGraph(TPatternGraphType_System)
                .AddPattern(Eighths("hat" + std::to_string(i), "Drums.Hh.note.hit.move.static.stroke.s3r"));
            lib.PatternGraph(TPatternGraphType_Percussion).AddPattern(Eighths("tam" + std::to_string(i), "Percussion.Tambourine"));
        }
        // Different events per pattern, so that a different choice shows.
        for (TPatternGraphType t : {TPatternGraphType_AccentFamily, TPatternGraphType_System, TPatternGraphType_Percussion})
            for (int i = 0; i < 3; ++i)
                lib.PatternGraph(t).PatternRefAtIx(static_cast<size_t>(i)).mEvs[static_cast<size_t>(i)].mMB2 = 1 + i;
    }
    CGenEvsNameds Run(CGenGeneratorParams p, TGenDict* memento, TRandomSeedMode mode = TRandomSeedMode_Keep,
        TGenerateWhat what = TGenerateWhat_All)
    {
        CGenEvsNameds evs;
        generator.Generate(what, mode, p, memento, evs);
        return evs;
    }
};

CGenGeneratorParams Region(float start, float length, int nom = 4, int denomIx = 2)
{
    CGenGeneratorParams p(length, -1);
    p.mGenerateStartPosAbs = start;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(nom, denomIx)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    return p;
}

// The layer's patterns by name, in the order played.
std::vector<std::string> Played(const CGenEvsNameds& evs, TPatternGraphType type)
{
    std::vector<std::string> names;
    for (const CGenEvsNamed& el : evs)
        if (el.mRenderingPatternGraphType == type)
            names.push_back(el.mName);
    return names;
}

} // namespace

TEST(CGenGeneratorGenerate, MergedPerformanceIsSortedInsideTheRegionAndInGeneralMidi)
{
    Drummer d;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(Region(4.0f, 16.0f), &memento);
    ASSERT_EQ(evs.size(), 1u);
    const CGenEvs& out = evs[0].mEvs;
    // Three layers of eighths over four bars.
    EXPECT_EQ(out.size(), 3u * 8u * 4u);
    std::vector<int> notes;
    for (size_t i = 0; i < out.size(); ++i) {
        // Relative to the region start.
        EXPECT_GE(out[i].mBeatPos, 0.0f);
        EXPECT_LT(out[i].mBeatPos, 16.0f);
        if (i > 0) {
            EXPECT_LE(out[i - 1].mBeatPos, out[i].mBeatPos);
        }
        notes.push_back(out[i].mMB1);
        // Drums on the tenth channel.
        EXPECT_EQ(out[i].mMB0, 0x99) << i;
    }
    // Kick 36, closed hi-hat 42, tambourine 54, in layer order at each position.
    EXPECT_EQ(std::vector<int>(notes.begin(), notes.begin() + 3), (std::vector<int> {36, 42, 54}));
}

TEST(CGenGeneratorGenerate, SameMementoGivesTheSameEventsInAnotherGenerator)
{
    Drummer a;
    Drummer b;
    TGenDict memento;
    a.Run(Region(0.0f, 32.0f), &memento, TRandomSeedMode_Increment);
    TGenDict mementoB = memento;
    const CGenEvsNameds first = a.Run(Region(0.0f, 32.0f), &memento);
    const CGenEvsNameds second = b.Run(Region(0.0f, 32.0f), &mementoB);
    EXPECT_EQ(first, second);
    // And the same generator again.
    EXPECT_EQ(a.Run(Region(0.0f, 32.0f), &memento), first);
}

TEST(CGenGeneratorGenerate, NewTakeOfOneLayerLeavesTheOthers)
{
    Drummer d;
    CGenGeneratorParams p = Region(0.0f, 64.0f);
    p.mDbgKeepEvsNamedsSeparate = true;
    TGenDict memento;
    const CGenEvsNameds before = d.Run(p, &memento);
    const CGenEvsNameds after = d.Run(p, &memento, TRandomSeedMode_Increment, TGenerateWhat_Systems);
    EXPECT_EQ(Played(after, TPatternGraphType_AccentFamily), Played(before, TPatternGraphType_AccentFamily));
    EXPECT_EQ(Played(after, TPatternGraphType_Percussion), Played(before, TPatternGraphType_Percussion));
    // Sixteen bars of three equally weighted patterns: another seed plays
    // another sequence.
    EXPECT_NE(Played(after, TPatternGraphType_System), Played(before, TPatternGraphType_System));
    EXPECT_EQ(memento.DictForKey(kMemento_Seeds)->IntegerForKey(TPatternGraphType_System, -1), 1);
    EXPECT_EQ(memento.DictForKey(kMemento_Seeds)->IntegerForKey(TPatternGraphType_AccentFamily, -1), 0);
}

TEST(CGenGeneratorGenerate, OddAndCompoundMetresPlayWholeBars)
{
    struct Case {
        int nom;
        int denomIx;
        float bar;
    };
    // 7/8: 7 eighths = 3.5 beats; 12/8: 12 eighths = 6 beats.
    for (const Case c : {Case {7, 3, 3.5f}, Case {12, 3, 6.0f}}) {
        Drummer d;
        CGenGeneratorParams p = Region(0.0f, 4 * c.bar, c.nom, c.denomIx);
        p.mDbgKeepEvsNamedsSeparate = true;
        TGenDict memento;
        const CGenEvsNameds evs = d.Run(p, &memento);
        std::vector<float> starts;
        for (const CGenEvsNamed& el : evs)
            if (el.mRenderingPatternGraphType == TPatternGraphType_AccentFamily) {
                starts.push_back(el.mBeatPosAbs);
                EXPECT_EQ(el.mEvs.mLength, c.bar) << c.nom;
                for (const CGenEv& ev : el.mEvs) {
                    EXPECT_GE(ev.mBeatPos, 0.0f);
                    EXPECT_LT(ev.mBeatPos, c.bar) << c.nom;
                }
            }
        EXPECT_EQ(starts, (std::vector<float> {0.0f, c.bar, 2 * c.bar, 3 * c.bar})) << c.nom;
    }
}

TEST(CGenGeneratorGenerate, RegionStartingMidBarDropsWhatLiesBefore)
{
    Drummer d;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(Region(6.0f, 6.0f), &memento);
    ASSERT_EQ(evs.size(), 1u);
    // From beat 6 to 12: the second half of bar 2 and bar 3, 12 eighths per layer.
    EXPECT_EQ(evs[0].mEvs.size(), 3u * 12u);
    for (const CGenEv& ev : evs[0].mEvs) {
        EXPECT_GE(ev.mBeatPos, 0.0f);
        EXPECT_LT(ev.mBeatPos, 6.0f);
    }
}

TEST(CGenGeneratorGenerate, RegionEndingMidBarIsCutThere)
{
    Drummer d;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(Region(0.0f, 6.0f), &memento);
    ASSERT_EQ(evs.size(), 1u);
    EXPECT_EQ(evs[0].mEvs.size(), 3u * 12u);
    for (const CGenEv& ev : evs[0].mEvs)
        EXPECT_LE(ev.mBeatPos + ev.mBeatLength, 6.0f);
}

TEST(CGenGeneratorGenerate, EmptyOrAbsurdRegionsGiveNothing)
{
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float length : {0.0f, -8.0f, nan, 1e30f, TGenBeatLength_Undef}) {
        Drummer d;
        TGenDict memento;
        const CGenEvsNameds evs = d.Run(Region(0.0f, length), &memento);
        EXPECT_TRUE(evs.empty() || evs[0].mEvs.empty()) << length;
    }
    for (const float start : {nan, 1e30f, -1e30f}) {
        Drummer d;
        TGenDict memento;
        const CGenEvsNameds evs = d.Run(Region(start, 16.0f), &memento);
        EXPECT_TRUE(evs.empty() || evs[0].mEvs.empty()) << start;
    }
    // An infinite length plays 32 beats.
    Drummer d;
    TGenDict memento;
    const CGenEvsNameds evs = d.Run(Region(0.0f, inf), &memento);
    ASSERT_EQ(evs.size(), 1u);
    EXPECT_EQ(evs[0].mEvs.size(), 3u * 8u * 8u);
}

TEST(CGenGeneratorGenerate, EmptyLibraryAndRenderOnlyGiveNoNotes)
{
    CGenGenerator generator;
    generator.CreateDefaultGenre();
    CGenEvsNameds evs;
    TGenDict memento;
    CGenGeneratorParams p = Region(0.0f, 16.0f);
    ASSERT_NE(generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, &memento, evs), nullptr);
    EXPECT_TRUE(evs.empty());

    // Patterns only: chosen, but the events are left alone.
    Drummer d;
    CGenEvsNameds kept;
    kept.push_back(CGenEvsNamed("kept", 0.0f, CGenEvs(4.0f)));
    CGenGeneratorParams q = Region(0.0f, 16.0f);
    d.generator.Generate(TGenerateWhat_PatternsOnly, TRandomSeedMode_Keep, q, &memento, kept);
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0].mName, "kept");
}

TEST(CGenGeneratorGenerate, RenderNameCarriesTheDebugAdditions)
{
    Drummer d;
    CGenInstLib& lib = *d.generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
    CGenPatternGraphBoost& g = lib.PatternGraph(TPatternGraphType_AccentFamily);
    g.EraseAllPatterns();
    CGenPattern a = Eighths("A", "Drums.Ki");
    a.mCoord = CGenPatternCoordInt(50.0f, 5.0f);
    a.mTempoBPMRange = CGenRange<float>(80.0f, 120.0f);
    g.AddPattern(a);
    CGenPatternCoordConv conv;
    conv.mMinComplInt = 0.0f;
    conv.mMaxComplInt = 200.0f;
    conv.mMinIntnInt = 0.0f;
    conv.mMaxIntnInt = 10.0f;
    g.SetPatternCoordConv(conv);

    auto nameWith = [&](bool ix, bool coord, bool clave) {
        CGenGeneratorParams p = Region(0.0f, 4.0f);
        p.mDbgKeepEvsNamedsSeparate = true;
        p.mDbgAddPatternAndFillIxToGenEvsNameds = ix;
        p.mDbgAddCoordExtToGenEvsNameds = coord;
        p.mDbgAddClaveNameToGenEvsNameds = clave;
        TGenDict memento;
        const CGenEvsNameds evs = d.Run(p, &memento);
        const auto names = Played(evs, TPatternGraphType_AccentFamily);
        return names.empty() ? std::string("(none)") : names.front();
    };
    EXPECT_EQ(nameWith(false, false, false), "A");
    EXPECT_EQ(nameWith(true, false, false), "#0 A");
    // 50 of 0..200 is 25 %, 5 of 0..10 is 50 %.
    EXPECT_EQ(nameWith(false, true, false), "A  Ext_C25_I50");
    // No clave track: no clave pattern, no match.
    EXPECT_EQ(nameWith(false, false, true), "A _t80-120 ClaveUndef 0");
    EXPECT_EQ(nameWith(true, true, true), "#0 A  Ext_C25_I50 _t80-120 ClaveUndef 0");

    g.PatternRefAtIx(0).mTempoBPMRange = CGenRange<float>(-1.0f, -1.0f);
    EXPECT_EQ(nameWith(false, false, true), "A _tUndef ClaveUndef 0");
}
