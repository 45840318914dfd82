// Super-patterns: a phrase per song section, repeated with variations.
//
// The graph's generator, from seed 0, steps
// state = (state * 1103515245 + 12345) & 0x7fffffff through
//   s1 = 12345, s2 = 1406932606, s3 = 654583775, s4 = 1449466924,
//   s5 = 229283573, s6 = 1109335178.
// With three one-bar patterns A, B, C of weight 100 each (running sums 100,
// 200, 300) the bar loop takes r = s % 300:
//   s1 % 300 = 45 -> A, s2 % 300 = 106 -> B, s3 % 300 = 275 -> C,
//   s4 % 300 = 124 -> B.
#include "Generator/CGenContext.h"
#include "Generator/CGenGenerator.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreeUid.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/CGenPatternModAndProbs.h"
#include "Generator/patterns/CGenSuperPattern.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace {

using TIxs = std::vector<int>;
using TPositions = std::vector<float>;

constexpr uint32_t kS1 = 12345u;
constexpr uint32_t kS2 = 1406932606u;
constexpr uint32_t kS3 = 654583775u;
constexpr uint32_t kS4 = 1449466924u;
constexpr uint32_t kS6 = 1109335178u;

// A pattern of `length` beats with a note at each of `positions`.
CGenPattern Pattern(const char* name, float length, std::vector<float> positions = {0.0f},
    CGenPatternCoordInt coord = CGenPatternCoordInt())
{
    CGenEvs evs(length);
    for (float p : positions)
        evs.InsertAtBeatPos(CGenEv(p, 0.25f, st_NoteOn, 36, 100));
    return CGenPattern(name, evs, coord);
}

// A graph of its own with a params set, a context and no style: the bar loop
// then takes every pattern at weight 100 and no style graph judges.
struct SpRig {
    CGenPatternGraphBoost graph;
    CGenGeneratorParams params;
    CGenContext context;
    CGenGFContext gf;

    explicit SpRig(TPatternGraphType type = TPatternGraphType_AccentFamily) : graph(type), context(&params)
    {
        params.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
        params.mGenerateStartLeftBarPosAbs = 0.0f;
        params.mSuperPatterns_Active = true;
        params.mSuperPatterns_Variation = 0;
        params.mSuperPatterns_LengthStrategy = 1;
        params.mSuperPattern_FixedBarLength = 4;
        gf = CGenGFContext::contextWithGenContext(&context);
        graph.RandomSeed(0);
    }
    void AddABC()
    {
        graph.AddPattern(Pattern("A", 4.0f, {0.0f, 1.0f}));
        graph.AddPattern(Pattern("B", 4.0f, {0.0f, 1.5f}));
        graph.AddPattern(Pattern("C", 4.0f, {0.0f, 3.0f}));
    }
    static void AddMarker(CGenArrangeMarkersInt& markers, float pos)
    {
        markers.InsertAtCorrectBeatPos(CGenArrangeMarkerInt(pos, TGenArrangeMarkerType_Verse, CGenPatternCoordInt()));
    }
    void Marker(float pos) { AddMarker(params.mArrangeMarkersIntAc, pos); }
    CGenPatternModAndProbs Run(float endPos)
    {
        CGenPatternModAndProbs list;
        graph.Generate_PatternSeqUsingSuperPattern(params, nullptr, TGenInstType_Drums, nullptr, gf, 0.0f, endPos,
            &list);
        return list;
    }
    CGenSuperPatterns Variations(const CGenSuperPattern& sp, size_t ix)
    {
        CGenSuperPatterns out;
        graph._SuperPatternFindVariationsAtIx(params, nullptr, TGenInstType_Drums, nullptr, gf, 0.0f, &sp, ix, &out);
        return out;
    }
};

TIxs Ixs(const CGenPatternModAndProbs& list)
{
    TIxs ixs;
    for (const CGenPatternModAndProb& el : list)
        ixs.push_back(static_cast<int>(el.mItPattern));
    return ixs;
}

TPositions Positions(const CGenPatternModAndProbs& list)
{
    TPositions positions;
    for (const CGenPatternModAndProb& el : list)
        positions.push_back(el.mBeatPosAbs);
    return positions;
}

std::vector<TIxs> Phrases(const CGenSuperPatterns& sps)
{
    std::vector<TIxs> out;
    for (const CGenSuperPattern& sp : sps)
        out.emplace_back(sp.mPatternIxs.begin(), sp.mPatternIxs.end());
    return out;
}

CGenSuperPattern Phrase(std::initializer_list<int32_t> ixs) { return CGenSuperPattern(CGenPatternIxs(ixs)); }

} // namespace

// ---- Length of the phrase ----

TEST(CGenSuperPattern, FixedLengthOfFourBarsRepeatsThePhrase)
{
    SpRig s;
    s.AddABC();
    s.Marker(0.0f);
    const CGenPatternModAndProbs list = s.Run(32.0f);
    // 4 bars of 4 beats = 16: the phrase is A B C B (s1..s4), and 32 beats
    // take it twice; without variations no chunk draws.
    EXPECT_EQ(Ixs(list), (TIxs {0, 1, 2, 1, 0, 1, 2, 1}));
    EXPECT_EQ(Positions(list), (TPositions {0, 4, 8, 12, 16, 20, 24, 28}));
    EXPECT_EQ(s.graph.RandomSeedCurrent(), kS4);
    for (const CGenPatternModAndProb& el : list) {
        EXPECT_FALSE(GenIsDef(el.mProb));
        EXPECT_EQ(el.mPatternGraphType, TPatternGraphType_AccentFamily);
    }
}

TEST(CGenSuperPattern, FixedLengthOfZeroOrBelowGivesNoSequence)
{
    for (int bars : {0, -3}) {
        SpRig s;
        s.AddABC();
        s.Marker(0.0f);
        s.params.mSuperPattern_FixedBarLength = bars;
        EXPECT_TRUE(s.Run(32.0f).empty()) << bars;
        // Nothing was drawn: the walk stops before any phrase is made.
        EXPECT_EQ(s.graph.RandomSeedCurrent(), 0u) << bars;
    }
}

TEST(CGenSuperPattern, RandomLengthTakesOneTwoOrFourBars)
{
    {
        // Seed 0: 12345 % 3 = 0 (digit sum 15) -> 1 bar. The phrase is one
        // draw, s2 % 300 = 106 -> B, played twice in 8 beats.
        SpRig s;
        s.AddABC();
        s.Marker(0.0f);
        s.params.mSuperPatterns_LengthStrategy = 0;
        EXPECT_EQ(Ixs(s.Run(8.0f)), (TIxs {1, 1}));
        EXPECT_EQ(s.graph.RandomSeedCurrent(), kS2);
    }
    {
        // Seed 2: 2 * 1103515245 + 12345 = 2207042835, & 0x7fffffff =
        // 59559187, % 3 = 1 (digit sum 49) -> 2 bars. Then 1495354192 % 300 =
        // 292 -> C and 671064393 % 300 = 93 -> A; 16 beats take C A twice.
        SpRig s;
        s.AddABC();
        s.Marker(0.0f);
        s.params.mSuperPatterns_LengthStrategy = 2;
        s.graph.RandomSeed(2);
        EXPECT_EQ(Ixs(s.Run(16.0f)), (TIxs {2, 0, 2, 0}));
        EXPECT_EQ(s.graph.RandomSeedCurrent(), 671064393u);
    }
    {
        // Seed 4: 119106029 % 3 = 2 (digit sum 29) -> 4 bars. Then
        // 1583775778 % 300 = 178 -> B, 687545011 % 300 = 211 -> C,
        // 243210352 % 300 = 52 -> A, 1009760233 % 300 = 133 -> B.
        SpRig s;
        s.AddABC();
        s.Marker(0.0f);
        s.params.mSuperPatterns_LengthStrategy = 0;
        s.graph.RandomSeed(4);
        EXPECT_EQ(Ixs(s.Run(16.0f)), (TIxs {1, 2, 0, 1}));
        EXPECT_EQ(s.graph.RandomSeedCurrent(), 1009760233u);
    }
}

TEST(CGenSuperPattern, PhraseIsCutToTheRegionEnd)
{
    SpRig s;
    s.AddABC();
    s.Marker(0.0f);
    // 16 beats would run past 6: the phrase covers 6 beats, which the bar
    // loop fills with A (s1) at 0 and B (s2) at 4; one chunk of 6 takes A
    // (6 - 4 = 2 left) and B (2 - 4, done).
    const CGenPatternModAndProbs list = s.Run(6.0f);
    EXPECT_EQ(Ixs(list), (TIxs {0, 1}));
    EXPECT_EQ(Positions(list), (TPositions {0, 4}));
}

// ---- The marker walk ----

TEST(CGenSuperPattern, MarkerWalkEdges)
{
    {
        // No markers, fixed length: nothing, no draw.
        SpRig s;
        s.AddABC();
        EXPECT_TRUE(s.Run(32.0f).empty());
        EXPECT_EQ(s.graph.RandomSeedCurrent(), 0u);
    }
    {
        // No markers, random length: the length is drawn first all the same.
        SpRig s;
        s.AddABC();
        s.params.mSuperPatterns_LengthStrategy = 0;
        EXPECT_TRUE(s.Run(32.0f).empty());
        EXPECT_EQ(s.graph.RandomSeedCurrent(), kS1);
    }
    {
        // A null list: nothing at all happens.
        SpRig s;
        s.AddABC();
        s.Marker(0.0f);
        s.params.mSuperPatterns_LengthStrategy = 0;
        s.graph.Generate_PatternSeqUsingSuperPattern(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f,
            32.0f, nullptr);
        EXPECT_EQ(s.graph.RandomSeedCurrent(), 0u);
    }
    {
        // An undefined end: no section.
        SpRig s;
        s.AddABC();
        s.Marker(0.0f);
        EXPECT_TRUE(s.Run(TGenBeatPos_Undef).empty());
    }
}

TEST(CGenSuperPattern, MarkerAtOrBehindTheEndEndsTheWalk)
{
    SpRig s;
    s.AddABC();
    s.params.mSuperPattern_FixedBarLength = 1;
    for (float pos : {0.0f, 8.0f, 24.0f, 40.0f})
        s.Marker(pos);
    const CGenPatternModAndProbs list = s.Run(24.0f);
    // Marker 0: phrase A (s1), section 8 -> two chunks of 4.
    // Marker 8: phrase B (s2, a first decision again), section 16 (to 24),
    // the rest of the region 24 - 8 = 16 -> four chunks.
    // Marker 24 is not before the end: the walk stops there.
    EXPECT_EQ(Ixs(list), (TIxs {0, 0, 1, 1, 1, 1}));
    EXPECT_EQ(Positions(list), (TPositions {0, 4, 8, 12, 16, 20}));
    EXPECT_EQ(s.graph.RandomSeedCurrent(), kS2);
}

TEST(CGenSuperPattern, LastSectionEndsAtTheMarkerListLengthWhenDefined)
{
    SpRig s;
    s.AddABC();
    s.params.mSuperPattern_FixedBarLength = 1;
    s.Marker(0.0f);
    s.params.mArrangeMarkersIntAc.mLength = 8.0f;
    // Section 8 - 0 = 8 against 32 beats of region: two chunks of the phrase A.
    EXPECT_EQ(Ixs(s.Run(32.0f)), (TIxs {0, 0}));
    // Undefined, the region's rest counts: 32 / 4 = 8 chunks.
    s.params.mArrangeMarkersIntAc.mLength = TGenBeatLength_Undef;
    s.graph.RandomSeed(0);
    EXPECT_EQ(Ixs(s.Run(32.0f)), (TIxs(8, 0)));
}

TEST(CGenSuperPattern, EachLayerWalksItsOwnMarkers)
{
    struct Case {
        TPatternGraphType type;
        CGenArrangeMarkersInt CGenGeneratorParams::*markers;
    };
    const Case cases[] = {
        {TPatternGraphType_AccentFamily, &CGenGeneratorParams::mArrangeMarkersIntAc},
        {TPatternGraphType_AccentAddon, &CGenGeneratorParams::mArrangeMarkersIntAc},
        {TPatternGraphType_System, &CGenGeneratorParams::mArrangeMarkersIntSy},
        {TPatternGraphType_Percussion, &CGenGeneratorParams::mArrangeMarkersIntSy},
        {TPatternGraphType_Fill, &CGenGeneratorParams::mArrangeMarkersIntFill},
    };
    for (const Case& c : cases) {
        SpRig s(c.type);
        s.AddABC();
        s.params.mSuperPattern_FixedBarLength = 1;
        SpRig::AddMarker(s.params.*c.markers, 0.0f);
        EXPECT_EQ(Ixs(s.Run(8.0f)), (TIxs {0, 0})) << c.type;
        // The other lists stay empty: moving the marker away leaves nothing.
        (s.params.*c.markers).clear();
        for (CGenArrangeMarkersInt* other :
            {&s.params.mArrangeMarkersIntAc, &s.params.mArrangeMarkersIntSy, &s.params.mArrangeMarkersIntFill})
            if (other != &(s.params.*c.markers))
                SpRig::AddMarker(*other, 0.0f);
        EXPECT_TRUE(s.Run(8.0f).empty()) << c.type;
    }
}

// ---- Positions ----

TEST(CGenSuperPattern, AppendedElementsRunFromTheMarkerByPatternLength)
{
    SpRig s;
    s.graph.AddPattern(Pattern("A", 4.0f));
    s.graph.AddPattern(Pattern("D", 8.0f));
    s.params.mGenerateStartLeftBarPosAbs = 4.0f;
    s.params.mSuperPattern_FixedBarLength = 2;
    s.Marker(4.0f);  // relative 0
    s.Marker(20.0f); // relative 16
    const CGenPatternModAndProbs list = s.Run(28.0f);
    // Two candidates of 100, r = s % 200.
    // Marker 4: phrase over 8 beats: 12345 % 200 = 145 -> D (8 beats) fills
    // it. Section 16 -> chunks 8, 8: D at 4, D at 4 + 8 = 12.
    // Marker 20: phrase over 8 beats from 16: 1406932606 % 200 = 6 -> A,
    // then 654583775 % 200 = 175 -> D at 20 (it runs to 28). The last
    // section has the rest of the region, 28 - 16 = 12 beats: chunk 8 takes
    // A (8 - 4 = 4) and D (4 - 8, done) at 20 and 24; chunk 4 takes A,
    // which follows where D ends: 24 + 8 = 32.
    EXPECT_EQ(Ixs(list), (TIxs {1, 1, 0, 1, 0}));
    EXPECT_EQ(Positions(list), (TPositions {4, 12, 20, 24, 32}));
    EXPECT_EQ(s.graph.RandomSeedCurrent(), kS3);
}

// ---- Variations ----

TEST(CGenSuperPattern, VariationTableAndChunkDraws)
{
    // A B C, one marker, 4 bars, 32 beats: two chunks, each with one draw
    // over the variations while there are any. s5 % 3 = 2 (229283573: digit
    // sum 41), s6 % 3 = 2 (1109335178: digit sum 38); s5 % 6 = 5, s6 % 6 = 2;
    // s5 % 12 = 5, s6 % 12 = 2 (229283573 = 12 * 19106964 + 5,
    // 1109335178 = 12 * 92444598 + 2).
    struct Case {
        int variation;
        TIxs seq;
        uint32_t state;
    };
    const Case cases[] = {
        // Phrase: A (s1) repeated while 16 - 4 >= covered: covered 4, 8, 12,
        // 16 -> A A A A. Variations at index 3: A A A {A, B, C};
        // s2 % 3 = 1 (digit sum 37) -> A A A B, s3 % 3 = 2 (digit sum 50) -> A A A C.
        {1, {0, 0, 0, 1, 0, 0, 0, 2}, kS3},
        // Phrase A B C B; variations at index 3: A B C {A, B, C}; 2, 2 -> C, C.
        {2, {0, 1, 2, 2, 0, 1, 2, 2}, kS6},
        // Odd indices: index 1 {A, B, C} then index 3 {A, B, C}:
        // 5 -> A B C C, 2 -> A C C B.
        {3, {0, 1, 2, 2, 0, 2, 2, 1}, kS6},
        // Every index in turn, 12 variations (index k / 3, candidate k % 3):
        // 5 -> index 1 C: A C C B; 2 -> index 0 C: C B C B.
        {4, {0, 2, 2, 1, 2, 1, 2, 1}, kS6},
        {5, {0, 2, 2, 1, 2, 1, 2, 1}, kS6},
        // No variation: the phrase twice, no chunk draw.
        {0, {0, 1, 2, 1, 0, 1, 2, 1}, kS4},
        {6, {0, 1, 2, 1, 0, 1, 2, 1}, kS4},
        {-1, {0, 1, 2, 1, 0, 1, 2, 1}, kS4},
    };
    for (const Case& c : cases) {
        SpRig s;
        s.AddABC();
        s.Marker(0.0f);
        s.params.mSuperPatterns_Variation = c.variation;
        const CGenPatternModAndProbs list = s.Run(32.0f);
        EXPECT_EQ(Ixs(list), c.seq) << c.variation;
        EXPECT_EQ(Positions(list), (TPositions {0, 4, 8, 12, 16, 20, 24, 28})) << c.variation;
        EXPECT_EQ(s.graph.RandomSeedCurrent(), c.state) << c.variation;
    }
}

TEST(CGenSuperPattern, ShortLastChunkTakesTheStartOfTheChosenVariation)
{
    SpRig s;
    s.AddABC();
    s.params.mSuperPattern_FixedBarLength = 2;
    s.params.mSuperPatterns_Variation = 2;
    s.Marker(0.0f);
    s.Marker(12.0f);
    s.params.mArrangeMarkersIntAc.mLength = 12.0f;
    const CGenPatternModAndProbs list = s.Run(32.0f);
    // Marker 0: phrase A B (s1, s2), variations at index 1: A {A, B, C}.
    // Section 12: chunk 8 with s3 % 3 = 2 -> A C; chunk 4 with s4 % 3 = 1
    // (1449466924: digit sum 49) -> A B, of which A fills the 4 beats.
    // Marker 12: the list's length is 12, so its section is 0 beats; its
    // phrase is still made (s5, s6) but nothing of it is played.
    EXPECT_EQ(Ixs(list), (TIxs {0, 2, 0}));
    EXPECT_EQ(Positions(list), (TPositions {0, 4, 8}));
    EXPECT_EQ(s.graph.RandomSeedCurrent(), kS6);
}

TEST(CGenSuperPattern, VariationsKeepTheLengthOfTheReplacedPattern)
{
    SpRig s;
    s.AddABC();
    s.graph.AddPattern(Pattern("D", 8.0f));
    const CGenSuperPattern phrase = Phrase({0, 1, 2, 1});
    // D has 8 beats and never replaces a 4-beat pattern.
    EXPECT_EQ(Phrases(s.Variations(phrase, 1)), (std::vector<TIxs> {{0, 0, 2, 1}, {0, 1, 2, 1}, {0, 2, 2, 1}}));
    // An index beyond the phrase is its last one.
    EXPECT_EQ(Phrases(s.Variations(phrase, 9)), (std::vector<TIxs> {{0, 1, 2, 0}, {0, 1, 2, 1}, {0, 1, 2, 2}}));
    // In place of D only D fits.
    EXPECT_EQ(Phrases(s.Variations(Phrase({0, 3, 1}), 1)), (std::vector<TIxs> {{0, 3, 1}}));
    // A step without a pattern has no length: no candidate has none either.
    EXPECT_TRUE(s.Variations(Phrase({0, -1}), 1).empty());
    // Finding variations draws nothing.
    EXPECT_EQ(s.graph.RandomSeedCurrent(), 0u);
}

TEST(CGenSuperPattern, VariationFamilyOverItsIndices)
{
    SpRig s;
    s.AddABC();
    const CGenSuperPattern phrase = Phrase({0, 1, 2, 1, 0});
    const std::vector<TIxs> at1 {{0, 0, 2, 1, 0}, {0, 1, 2, 1, 0}, {0, 2, 2, 1, 0}};
    const std::vector<TIxs> at3 {{0, 1, 2, 0, 0}, {0, 1, 2, 1, 0}, {0, 1, 2, 2, 0}};
    const std::vector<TIxs> at4 {{0, 1, 2, 1, 0}, {0, 1, 2, 1, 1}, {0, 1, 2, 1, 2}};
    {
        CGenSuperPatterns out;
        s.graph._SuperPatternFindVariationsAtOddIxs(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f,
            &phrase, &out);
        std::vector<TIxs> want = at1;
        want.insert(want.end(), at3.begin(), at3.end());
        EXPECT_EQ(Phrases(out), want);
    }
    {
        CGenSuperPatterns out;
        s.graph._SuperPatternFindVariationsAtAllIxs(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f,
            &phrase, &out);
        ASSERT_EQ(out.size(), 15u);
        EXPECT_EQ(Phrases(out)[0], (TIxs {0, 1, 2, 1, 0}));
        EXPECT_EQ(Phrases(out)[2], (TIxs {2, 1, 2, 1, 0}));
        EXPECT_EQ(Phrases(out)[14], (TIxs {0, 1, 2, 1, 2}));
    }
    {
        CGenSuperPatterns out;
        s.graph._SuperPatternFindVariationsAtLastIx(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f,
            &phrase, &out);
        EXPECT_EQ(Phrases(out), at4);
    }
    {
        // The shared step over a list, in the list's order; out is added to.
        CGenSuperPatterns out {Phrase({7})};
        s.graph._SuperPatternFindVariationsAtIxs(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, &phrase,
            {3, 1}, &out);
        std::vector<TIxs> want {{7}};
        want.insert(want.end(), at3.begin(), at3.end());
        want.insert(want.end(), at1.begin(), at1.end());
        EXPECT_EQ(Phrases(out), want);
    }
    {
        CGenSuperPatterns out;
        s.graph._SuperPatternFindVariationsByVaryingOnePattern(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf,
            0.0f, &phrase, 1, &out);
        EXPECT_EQ(Phrases(out), at1);
    }
}

TEST(CGenSuperPattern, VariationsNeedContextListAndPhrase)
{
    SpRig s;
    s.AddABC();
    const CGenSuperPattern phrase = Phrase({0, 1});
    CGenSuperPatterns out;
    const CGenGFContext noContext;
    s.graph._SuperPatternFindVariationsAtIx(s.params, nullptr, TGenInstType_Drums, nullptr, noContext, 0.0f, &phrase,
        1, &out);
    EXPECT_TRUE(out.empty());
    s.graph._SuperPatternFindVariationsAtIx(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, nullptr, 1,
        &out);
    EXPECT_TRUE(out.empty());
    const CGenSuperPattern empty;
    s.graph._SuperPatternFindVariationsAtAllIxs(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, &empty,
        &out);
    s.graph._SuperPatternFindVariationsAtLastIx(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, &empty,
        &out);
    EXPECT_TRUE(out.empty());
    // A null list is left alone without a fault.
    s.graph._SuperPatternFindVariationsAtIx(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, &phrase, 1,
        nullptr);
}

TEST(CGenSuperPattern, VariationsFollowTheEdgesOfThePhrasesLastPattern)
{
    SpRig s;
    s.AddABC();
    s.params.mEdgesAndHistory_Active = true;
    s.graph.AddEdge(2, 0, CGenPatternEdge(CGenProbHist(100.0f)));
    s.graph.AddEdge(1, 2, CGenPatternEdge(CGenProbHist(100.0f)));
    // Varying index 1 of A B C starts from C, the last pattern, whose one
    // edge leads to A; from A (the entry before index 1) there is no edge.
    EXPECT_EQ(Phrases(s.Variations(Phrase({0, 1, 2}), 1)), (std::vector<TIxs> {{0, 0, 2}}));
}

TEST(CGenSuperPattern, VariationsTakeTheCoordinateOfTheirPatterns)
{
    SpRig s;
    s.graph.AddPattern(Pattern("A", 4.0f, {0.0f}, CGenPatternCoordInt(10.0f, 20.0f)));
    s.graph.AddPattern(Pattern("B", 4.0f, {0.0f}, CGenPatternCoordInt(30.0f, 40.0f)));
    CGenSuperPattern phrase = Phrase({0, 0});
    phrase.CalcCoord(&s.graph);
    const CGenSuperPatterns out = s.Variations(phrase, 1);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[0].mCoord, CGenPatternCoordInt(10.0f, 20.0f));
    // A B: (10 + 30) / 2 = 20, (20 + 40) / 2 = 30.
    EXPECT_EQ(out[1].mCoord, CGenPatternCoordInt(20.0f, 30.0f));
}

// ---- The phrase ----

TEST(CGenSuperPattern, StylePhraseWithRepeatedFirstPattern)
{
    SpRig s;
    s.graph.AddPattern(Pattern("A", 4.0f, {0.0f}, CGenPatternCoordInt(10.0f, 50.0f)));
    s.graph.AddPattern(Pattern("B", 4.0f));
    s.graph.AddPattern(Pattern("C", 4.0f));
    s.params.mSuperPatterns_Variation = 1;
    CGenSuperPattern phrase;
    s.graph.Generate_StyleSuperPattern(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, 16.0f, &phrase);
    // One bar by the loop (s1 -> A), then A again while 16 - 4 >= covered
    // (4, 8, 12): four A. Only one draw.
    EXPECT_EQ(TIxs(phrase.mPatternIxs.begin(), phrase.mPatternIxs.end()), (TIxs {0, 0, 0, 0}));
    EXPECT_EQ(phrase.mCoord, CGenPatternCoordInt(10.0f, 50.0f));
    EXPECT_EQ(s.graph.RandomSeedCurrent(), kS1);

    // One bar long: 4 - 4 = 0 is below the covered 4, no repeat.
    s.graph.RandomSeed(0);
    s.graph.Generate_StyleSuperPattern(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, 4.0f, &phrase);
    EXPECT_EQ(TIxs(phrase.mPatternIxs.begin(), phrase.mPatternIxs.end()), (TIxs {0}));

    // Other variations run the loop over the whole length: A B C B.
    s.params.mSuperPatterns_Variation = 3;
    s.graph.RandomSeed(0);
    s.graph.Generate_StyleSuperPattern(s.params, nullptr, TGenInstType_Drums, nullptr, s.gf, 0.0f, 16.0f, &phrase);
    EXPECT_EQ(TIxs(phrase.mPatternIxs.begin(), phrase.mPatternIxs.end()), (TIxs {0, 1, 2, 1}));
    // Coordinate: A's 10 / 4 = 2.5 and 50 / 4 = 12.5; B and C have none.
    EXPECT_EQ(phrase.mCoord, CGenPatternCoordInt(2.5f, 12.5f));

    // Without any pattern the phrase is empty and its coordinate undefined.
    SpRig empty;
    empty.graph.Generate_StyleSuperPattern(empty.params, nullptr, TGenInstType_Drums, nullptr, empty.gf, 0.0f, 16.0f,
        &phrase);
    EXPECT_TRUE(phrase.empty());
    EXPECT_TRUE(phrase.mCoord.IsUndef());
}

// ---- Appending a phrase ----

TEST(CGenSuperPattern, AddToPatternSeqUsesUpTheLength)
{
    SpRig s(TPatternGraphType_System);
    s.graph.AddPattern(Pattern("A", 4.0f));
    s.graph.AddPattern(Pattern("B", 4.0f));
    // -1 and 7 have no pattern: they are skipped and use up nothing.
    const CGenSuperPattern phrase = Phrase({0, -1, 1, 7});
    struct Case {
        float length;
        TIxs ixs;
    };
    // 6: A (6 - 4 = 2), B (2 - 4, done). 4: A (0, done). 100: every pattern.
    const Case cases[] = {{6.0f, {0, 1}}, {4.0f, {0}}, {4.5f, {0, 1}}, {100.0f, {0, 1}}, {0.0f, {}}, {-4.0f, {}},
        {TGenBeatLength_Undef, {}}};
    for (const Case& c : cases) {
        CGenPatternModAndProbs list;
        s.graph._SuperPatternAddToPatternSeq(&phrase, c.length, &list);
        EXPECT_EQ(Ixs(list), c.ixs) << c.length;
        for (const CGenPatternModAndProb& el : list) {
            EXPECT_FALSE(GenIsDef(el.mBeatPosAbs));
            EXPECT_FALSE(GenIsDef(el.mProb));
            EXPECT_EQ(el.mPatternGraphType, TPatternGraphType_System);
            EXPECT_EQ(el.mPatternGraph, &s.graph);
        }
    }
    CGenPatternModAndProbs list;
    s.graph._SuperPatternAddToPatternSeq(nullptr, 8.0f, &list);
    EXPECT_TRUE(list.empty());
    // Appends behind what is there.
    list.emplace_back(&s.graph, 1, 50.0f, 0.0f);
    s.graph._SuperPatternAddToPatternSeq(&phrase, 8.0f, &list);
    EXPECT_EQ(Ixs(list), (TIxs {1, 0, 1}));
}

// ---- Coordinate and grid match ----

TEST(CGenSuperPattern, CalcCoordAveragesClampsAndSkipsUndefined)
{
    CGenPatternGraphBoost g;
    g.AddPattern(Pattern("A", 4.0f, {0.0f}, CGenPatternCoordInt(10.0f, 20.0f)));
    g.AddPattern(Pattern("B", 4.0f, {0.0f}, CGenPatternCoordInt(30.0f, TComplInt_Undef)));
    g.AddPattern(Pattern("C", 4.0f, {0.0f}, CGenPatternCoordInt(TComplInt_Undef, 60.0f)));
    g.AddPattern(Pattern("Hi", 4.0f, {0.0f}, CGenPatternCoordInt(150.0f, 250.0f)));
    g.AddPattern(Pattern("Lo", 4.0f, {0.0f}, CGenPatternCoordInt(-30.0f, -1.0f)));

    CGenSuperPattern sp = Phrase({0, 1, 2});
    sp.CalcCoord(&g);
    // Each value weighs 1/3, the undefined ones add nothing:
    // (10 + 30) / 3 = 13.33..., (20 + 60) / 3 = 26.66...
    EXPECT_FLOAT_EQ(sp.mCoord.mComplInt, 40.0f / 3.0f);
    EXPECT_FLOAT_EQ(sp.mCoord.mIntnInt, 80.0f / 3.0f);

    // A step without a pattern still counts in the weight: 10 / 2, 20 / 2.
    sp = Phrase({0, -1});
    sp.CalcCoord(&g);
    EXPECT_EQ(sp.mCoord, CGenPatternCoordInt(5.0f, 10.0f));

    // Clamped to 0..100: (150 + 150) / 2 and (-30 - 30) / 2.
    sp = Phrase({3, 3});
    sp.CalcCoord(&g);
    EXPECT_EQ(sp.mCoord, CGenPatternCoordInt(100.0f, 100.0f));
    sp = Phrase({4, 4});
    sp.CalcCoord(&g);
    EXPECT_EQ(sp.mCoord, CGenPatternCoordInt(0.0f, 0.0f));

    // Only undefined values: both axes stay at the start value 0.
    sp = Phrase({-1});
    sp.CalcCoord(&g);
    EXPECT_EQ(sp.mCoord, CGenPatternCoordInt(0.0f, 0.0f));

    // Empty phrase, or no graph: undefined.
    sp = CGenSuperPattern();
    sp.CalcCoord(&g);
    EXPECT_TRUE(sp.mCoord.IsUndef());
    sp = Phrase({0});
    sp.CalcCoord(nullptr);
    EXPECT_TRUE(sp.mCoord.IsUndef());
}

TEST(CGenSuperPattern, GridMatch)
{
    CGenPatternGraphBoost g;
    g.AddPattern(Pattern("A", 4.0f, {0.0f, 1.0f, 2.0f}));
    g.AddPattern(Pattern("B", 4.0f, {0.0f, 1.5f, 2.0f}));
    g.AddPattern(Pattern("Z", 0.0f));
    const CGenSuperPattern a = Phrase({0});
    const CGenSuperPattern b = Phrase({1});
    const CGenSuperPattern ab = Phrase({0, 1});

    // Identical phrases.
    EXPECT_EQ(ab.GridMatch(&g, ab, 0.5f, 0.1f), 1.0f);
    // Grid 0, 0.5, ..., 4 (9 points): A hits 0, 1, 2; B hits 0, 1.5, 2.
    // Both at 0 and 2, neither at 0.5, 2.5, 3, 3.5, 4: 7 of 9.
    EXPECT_FLOAT_EQ(a.GridMatch(&g, b, 0.5f, 0.1f), 7.0f / 9.0f);
    // Step 0 counts as 1: points 0..4, A alone at 1: 4 of 5.
    EXPECT_FLOAT_EQ(a.GridMatch(&g, b, 0.0f, 0.1f), 4.0f / 5.0f);
    // Weighted by the longer count: pair A-A is 1, over 2 patterns.
    EXPECT_FLOAT_EQ(ab.GridMatch(&g, a, 0.5f, 0.1f), 0.5f);
    EXPECT_FLOAT_EQ(a.GridMatch(&g, ab, 0.5f, 0.1f), 0.5f);
    // A-B 7/9 and B-B 1, over 2: 8/9.
    EXPECT_FLOAT_EQ(ab.GridMatch(&g, Phrase({1, 1}), 0.5f, 0.1f), 8.0f / 9.0f);

    // Lengths of 0: both 0 adds 1, one of them 0 adds 0. A missing pattern
    // reads as empty.
    EXPECT_EQ(Phrase({2}).GridMatch(&g, Phrase({2}), 0.5f, 0.1f), 1.0f);
    EXPECT_EQ(Phrase({2}).GridMatch(&g, a, 0.5f, 0.1f), 0.0f);
    EXPECT_EQ(a.GridMatch(&g, Phrase({2}), 0.5f, 0.1f), 0.0f);
    EXPECT_EQ(Phrase({-1, 0}).GridMatch(&g, Phrase({2, 0}), 0.5f, 0.1f), 1.0f);

    // Empty phrases give 0, no graph undefined.
    EXPECT_EQ(CGenSuperPattern().GridMatch(&g, a, 0.5f, 0.1f), 0.0f);
    EXPECT_EQ(a.GridMatch(&g, CGenSuperPattern(), 0.5f, 0.1f), 0.0f);
    EXPECT_EQ(a.GridMatch(nullptr, a, 0.5f, 0.1f), TPercent_Undef);
}

// ---- A whole generation ----

namespace {

int Uid(const char* path)
{
    const TInstTreeUid uid = GenDrumInstTreeV1().FindUidWithPath(path);
    EXPECT_NE(uid, TInstTreeUid_Undef) << path;
    return GenInstTreeUidToMB1(uid);
}

CGenPattern DrumBar(const char* name, float mark)
{
    CGenEvs evs(4.0f);
    evs.InsertAtBeatPos(CGenEv(0.0f, 0.25f, st_NoteOn, Uid("Drums.Ki"), 100));
    evs.InsertAtBeatPos(CGenEv(2.0f, 0.25f, st_NoteOn, Uid("Drums.Sn"), 90));
    evs.InsertAtBeatPos(CGenEv(mark, 0.25f, st_NoteOn, Uid("Drums.Ki"), 70));
    return CGenPattern(name, evs);
}

} // namespace

TEST(CGenSuperPattern, WholeGenerateRepeatsThePhraseWithItsVariations)
{
    CGenGenerator generator;
    generator.CreateDefaultGenre();
    CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
    CGenPatternGraphBoost& graph = lib.PatternGraph(TPatternGraphType_AccentFamily);
    graph.AddPattern(DrumBar("A", 1.0f));
    graph.AddPattern(DrumBar("B", 1.5f));
    graph.AddPattern(DrumBar("C", 3.0f));

    CGenGeneratorParams p(32.0f, -1);
    p.mGenerateStartPosAbs = 0.0f;
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    p.mDbgKeepEvsNamedsSeparate = true;
    p.mArrangeMarkersExt.InsertAtCorrectBeatPos(
        CGenArrangeMarkerExt(0.0f, TGenArrangeMarkerType_Verse, CGenPatternCoordExt()));
    p.mSuperPatterns_Active = true;
    p.mSuperPatterns_LengthStrategy = 1;
    p.mSuperPattern_FixedBarLength = 4;
    p.mSuperPatterns_Variation = 3;

    TGenDict memento;
    CGenEvsNameds evs;
    generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, &memento, evs);

    // Phrase A B C B (s1..s4); odd-index variations A {A,B,C} C B then
    // A B C {A,B,C}; chunk draws s5 % 6 = 5 -> A B C C, s6 % 6 = 2 -> A C C B.
    std::vector<std::string> names;
    TPositions positions;
    for (const CGenEvsNamed& el : evs) {
        names.push_back(el.mName);
        positions.push_back(el.mBeatPosAbs);
        EXPECT_EQ(el.mEvs.mLength, 4.0f);
        EXPECT_EQ(el.mEvs.size(), 3u);
    }
    EXPECT_EQ(names, (std::vector<std::string> {"A", "B", "C", "C", "A", "C", "C", "B"}));
    EXPECT_EQ(positions, (TPositions {0, 4, 8, 12, 16, 20, 24, 28}));
    EXPECT_EQ(graph.RandomSeedCurrent(), kS6);
}

TEST(CGenSuperPattern, WholeGenerateWithoutMarkersIsSilent)
{
    CGenGenerator generator;
    generator.CreateDefaultGenre();
    CGenInstLib& lib = *generator.GenreLibs().FindInstLib(kDefaultGenre, TGenInstType_Drums);
    lib.PatternGraph(TPatternGraphType_AccentFamily).AddPattern(DrumBar("A", 1.0f));
    CGenGeneratorParams p(16.0f, -1);
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 120.0));
    p.mSuperPatterns_Active = true;
    TGenDict memento;
    CGenEvsNameds evs;
    generator.Generate(TGenerateWhat_All, TRandomSeedMode_Keep, p, &memento, evs);
    EXPECT_TRUE(evs.empty());
}
