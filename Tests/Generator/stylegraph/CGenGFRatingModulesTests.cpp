#include "RatingTestTables.h"

using namespace zkgtest;
using namespace zkgtest::rating;

// ----- main pattern rating

// Ratings: aaa 1, aba 5, aca 6, baa 0, bba 4.5, bca 2; zzz none; "bb" too short.
// factor = (5 - r) * 0.25, 0.1 at r = 5:
//   aaa 40 * 1.0 = 40, aba 40 * 0.1 = 4, aca 6 -> -0.25: dropped,
//   baa 20 * 1.25 = 25, bba 16 * 0.125 = 2, bca 8 * 0.75 = 6.
// The "aaa" with probability 0 is skipped.
TEST(CGenGFRatingModules, MainPatternRatingFactors)
{
    Standard s;
    CGenGFModuleMainPatternRating m;
    EXPECT_TRUE(m.useStandardRatingTables());
    EXPECT_EQ(m.mainPatternRatingMatrix(), nullptr);
    m.inputFamilyName->setStringValue("fam");
    const CGenPatternModAndProbs list = Candidates({{"aaa", 40.0f}, {"aba", 40.0f}, {"aca", 40.0f}, {"baa", 20.0f},
        {"bba", 16.0f}, {"bca", 8.0f}, {"zzz", 10.0f}, {"bb", 10.0f}, {"aaa", 0.0f}});
    const TEntries want {{"aaa", 40.0f}, {"aba", 4.0f}, {"baa", 25.0f}, {"bba", 2.0f}, {"bca", 6.0f}};
    ExpectEntriesNear(RunOnce(m, s.context, list), want);
    // The input stays as it was.
    EXPECT_EQ(Entries(m.inputPatterns->ConstList()).size(), 9u);
    EXPECT_EQ(Entries(m.inputPatterns->ConstList())[1].second, 40.0f);

    // An empty family leaves the output as it is.
    m.inputFamilyName->setStringValue("");
    ExpectEntriesNear(RunOnce(m, s.context, Candidates({{"aaa", 1.0f}})), want);

    // No standard tables: nothing is rated, everything drops.
    m.inputFamilyName->setStringValue("fam");
    CGenContext bare;
    EXPECT_TRUE(RunOnce(m, CGenGFContext::contextWithGenContext(&bare), list).empty());
    EXPECT_TRUE(RunOnce(m, CGenGFContext(), list).empty());

    // An own table works without standard tables; switching back drops it.
    m.setMainPatternRatingMatrix(MainPatternTable());
    EXPECT_EQ(m.mainPatternRatingMatrix(), nullptr); // ignored while standard tables are on
    m.setUseStandardRatingTables(false);
    ASSERT_NE(m.mainPatternRatingMatrix(), nullptr);
    EXPECT_TRUE(m.mainPatternRatingMatrix()->familyNames().empty());
    m.setMainPatternRatingMatrix(MainPatternTable());
    ExpectEntriesNear(RunOnce(m, CGenGFContext(), list), want);
    m.setUseStandardRatingTables(true);
    EXPECT_EQ(m.mainPatternRatingMatrix(), nullptr);
}

TEST(CGenGFRatingModules, MainPatternRatingInAGraph)
{
    Standard s;
    CGenGFModule root;
    auto* provider = AddModule<CGenGFModulePatternProbProvider>(root, "provider");
    auto* rating = AddModule<CGenGFModuleMainPatternRating>(root, "rating");
    auto* consumer = AddModule<CGenGFModulePatternProbConsumer>(root, "consumer");
    ASSERT_NE(root.createConnectionFromPortToPortForKey(*provider->outputPatterns, *rating->inputPatterns), nullptr);
    ASSERT_NE(root.createConnectionFromPortToPortForKey(*rating->outputPatterns, *consumer->inputPatterns), nullptr);
    rating->inputFamilyName->setStringValue("fam");
    ASSERT_TRUE(root._setup(s.context));
    s.gen.mInputPatterns = Candidates({{"bba", 16.0f}, {"zzz", 5.0f}});
    s.gen.mGeneratePos = 0.0f;
    root.executeSubModulesWithArguments(nullptr);
    ExpectEntriesNear(Entries(&s.gen.mOutputPatterns), {{"bba", 2.0f}});
    root._cleanup();
}

// ----- add-on complexity rating

// Ratings 2, 4, 6 (axx, bxx, cxx), normalized 0.5, variance 5:
//   min 2, max 6, target (6 - 2) * 0.5 + 2 = 4, window -1..9 (width 10),
//   t = (r + 1) / 10: 0.3, 0.5, 0.7 -> w 0.3, 0.5, 0.3 -> factor 2w 0.6, 1, 0.6.
// With normalized 1: target 6, window 1..11, t = (r - 1) / 10: 0.1, 0.3, 0.5
//   -> factors 0.2, 0.6, 1.
TEST(CGenGFRatingModules, AddOnComplexityRatingWindow)
{
    Standard s;
    CGenGFModuleAddOnComplexityRating m;
    EXPECT_EQ(m.inputNormalizedComplexity->doubleValue(), 1.0);
    EXPECT_EQ(m.inputNormalizedComplexity->minDoubleValue(), 0.0);
    EXPECT_EQ(m.inputNormalizedComplexity->maxDoubleValue(), 1.0);
    EXPECT_FALSE(m.useRatingVariance());
    EXPECT_FALSE(m.flipFamilyAndAddOnStrings());
    EXPECT_TRUE(m.useStandardRatingTables());
    EXPECT_EQ(m.inputRatingVariance(), nullptr);

    m.inputFamilyName->setStringValue("fam");
    const CGenPatternModAndProbs list = Candidates({{"axx", 10.0f}, {"zzz", 10.0f}, {"bxx", 10.0f}, {"cxx", 10.0f}});
    ExpectEntriesNear(RunOnce(m, s.context, list), {{"axx", 2.0f}, {"bxx", 6.0f}, {"cxx", 10.0f}});
    m.inputNormalizedComplexity->setDoubleValue(0.5);
    ExpectEntriesNear(RunOnce(m, s.context, list), {{"axx", 6.0f}, {"bxx", 10.0f}, {"cxx", 6.0f}});
    // The input keeps its probabilities.
    EXPECT_EQ(Entries(m.inputPatterns->ConstList())[0].second, 10.0f);

    // One candidate: min = max = target = 10, t = 0.5, factor exactly 1.
    EXPECT_EQ(RunOnce(m, s.context, Candidates({{"exx", 7.0f}})), (TEntries {{"exx", 7.0f}}));

    // Ratings 0, 5, 10 with normalized 0.5: target 5, window 0..10; the
    // edges get t = 0 and t = 1, so w = 0 and they drop; 5 gets factor 1.
    EXPECT_EQ(RunOnce(m, s.context, Candidates({{"dxx", 3.0f}, {"fxx", 3.0f}, {"exx", 3.0f}})), (TEntries {{"fxx", 3.0f}}));

    // An empty family leaves the output as it is.
    m.inputFamilyName->setStringValue("");
    EXPECT_EQ(RunOnce(m, s.context, Candidates({{"exx", 7.0f}})), (TEntries {{"fxx", 3.0f}}));
    // Probability 0 and unknown add-ons drop.
    m.inputFamilyName->setStringValue("fam");
    EXPECT_TRUE(RunOnce(m, s.context, Candidates({{"axx", 0.0f}, {"ABX", 1.0f}})).empty());

    // No standard tables: all drop.
    EXPECT_TRUE(RunOnce(m, CGenGFContext(), list).empty());

    // An own table.
    m.setUseStandardRatingTables(false);
    ASSERT_NE(m.complexityMatrix(), nullptr);
    EXPECT_TRUE(RunOnce(m, s.context, list).empty()); // empty at first
    m.setComplexityMatrix(AddOnTable());
    ExpectEntriesNear(RunOnce(m, CGenGFContext(), list), {{"axx", 6.0f}, {"bxx", 10.0f}, {"cxx", 6.0f}});
}

TEST(CGenGFRatingModules, AddOnComplexityRatingVarianceAndFlip)
{
    Standard s;
    CGenGFModuleAddOnComplexityRating m;
    m.inputFamilyName->setStringValue("fam");
    m.inputNormalizedComplexity->setDoubleValue(0.5);
    m.setUseRatingVariance(true);
    CGenGFPortNumeric* variance = m.inputRatingVariance();
    ASSERT_NE(variance, nullptr);
    EXPECT_EQ(variance->doubleValue(), 5.0);
    EXPECT_EQ(variance->minDoubleValue(), 0.0);
    EXPECT_EQ(variance->maxDoubleValue(), 50.0);
    variance->setDoubleValue(60.0);
    EXPECT_EQ(variance->doubleValue(), 50.0);

    // Variance 2 with ratings 2, 4, 6: target 4, window 2..6; the edges drop.
    variance->setDoubleValue(2.0);
    const CGenPatternModAndProbs list = Candidates({{"axx", 10.0f}, {"bxx", 10.0f}, {"cxx", 10.0f}});
    EXPECT_EQ(RunOnce(m, s.context, list), (TEntries {{"bxx", 10.0f}}));
    // Variance 0: the window has no width and everything drops, even the target.
    variance->setDoubleValue(0.0);
    EXPECT_TRUE(RunOnce(m, s.context, list).empty());
    EXPECT_TRUE(RunOnce(m, s.context, Candidates({{"exx", 7.0f}})).empty());
    // Off: the port goes and the variance is 5 again.
    m.setUseRatingVariance(false);
    EXPECT_EQ(m.inputRatingVariance(), nullptr);
    ExpectEntriesNear(RunOnce(m, s.context, list), {{"axx", 6.0f}, {"bxx", 10.0f}, {"cxx", 6.0f}});

    // Flipped, the pattern's name is the family and the port's string the
    // add-on "abc". Family p1: 1 + 1 + 1 = 3, p2: 3 + 3 + 3 = 9. Normalized 0:
    // target 3, window -2..8: p1 t = 0.5 (factor 1), p2 lies outside.
    CGenGFComplexityMatrix flipped;
    ASSERT_TRUE(flipped.importCSVForFamily(";front;mid;back\na;1;0;0\nb;0;1;0\nc;0;0;1\n", "p1"));
    ASSERT_TRUE(flipped.importCSVForFamily(";front;mid;back\na;3;0;0\nb;0;3;0\nc;0;0;3\n", "p2"));
    m.setUseStandardRatingTables(false);
    m.setComplexityMatrix(flipped);
    m.setFlipFamilyAndAddOnStrings(true);
    m.inputFamilyName->setStringValue("abc");
    m.inputNormalizedComplexity->setDoubleValue(0.0);
    EXPECT_EQ(RunOnce(m, s.context, Candidates({{"p1", 4.0f}, {"p2", 4.0f}, {"p3", 4.0f}})), (TEntries {{"p1", 4.0f}}));
    // Not flipped, "abc" is no family of this table.
    m.setFlipFamilyAndAddOnStrings(false);
    EXPECT_TRUE(RunOnce(m, s.context, Candidates({{"p1", 4.0f}})).empty());
}

TEST(CGenGFRatingModules, HelperKeepsMinMaxAndPairs)
{
    const CGenGFComplexityMatrix table = AddOnTable();
    const CGenPatternModAndProbs in = Candidates({{"cxx", 1.0f}, {"nope", 1.0f}, {"axx", 1.0f}, {"exx", 0.0f}});
    CGenPatternModAndProbs out;
    CGenGFAddOnComplexityRatingHelper helper(in, out, &table, "fam", CGenGFAddOnComplexityRatingHelper::TFamilyStringMode_Port);
    helper.findMinAndMaxComplexityRatingAndFillHelperStruct();
    EXPECT_EQ(helper.minRating(), 2.0f);
    EXPECT_EQ(helper.maxRating(), 6.0f);
    EXPECT_EQ(helper.ratedEntries(), (std::vector<std::pair<size_t, float>> {{0, 6.0f}, {2, 2.0f}}));
    std::string family;
    std::string addOn;
    helper.getFamilyAndAddOnName(in[0], family, addOn);
    EXPECT_EQ(family, "fam");
    EXPECT_EQ(addOn, "cxx");
    CGenGFAddOnComplexityRatingHelper flipped(in, out, &table, "fam", CGenGFAddOnComplexityRatingHelper::TFamilyStringMode_PatternName);
    flipped.getFamilyAndAddOnName(in[0], family, addOn);
    EXPECT_EQ(family, "cxx");
    EXPECT_EQ(addOn, "fam");
    // Nothing rated: min and max keep their starting values 100 and 0.
    CGenGFAddOnComplexityRatingHelper none(in, out, nullptr, "fam", CGenGFAddOnComplexityRatingHelper::TFamilyStringMode_Port);
    out = Candidates({{"stale", 1.0f}});
    none.doIt(0.5f, 5.0f);
    EXPECT_EQ(none.minRating(), 100.0f);
    EXPECT_EQ(none.maxRating(), 0.0f);
    EXPECT_TRUE(out.empty());
}

// Family "aba" gives 1 + 16 + 4 = 21; xxxx 4, xyxy 6, yyyy 8: ratings 25, 27, 29.
// Normalized 0.5, variance 5: target 27, window 22..32, t 0.3, 0.5, 0.7 ->
// factors 0.6, 1, 0.6. "xxx" has 3 letters and no rating.
TEST(CGenGFRatingModules, BassPatternComplexityRating)
{
    Standard s;
    CGenGFModuleBassPatternComplexityRating m;
    m.inputFamilyName->setStringValue("aba");
    m.inputNormalizedComplexity->setDoubleValue(0.5);
    const CGenPatternModAndProbs list = Candidates({{"xxxx", 5.0f}, {"xyxy", 5.0f}, {"yyyy", 5.0f}, {"xxx", 5.0f}});
    ExpectEntriesNear(RunOnce(m, s.context, list), {{"xxxx", 3.0f}, {"xyxy", 5.0f}, {"yyyy", 3.0f}});
    EXPECT_TRUE(RunOnce(m, CGenGFContext(), list).empty());
    // Flipped: the candidate "aba" is the family, the port's "xyxy" the pattern.
    m.setFlipFamilyAndAddOnStrings(true);
    m.inputFamilyName->setStringValue("xyxy");
    EXPECT_EQ(RunOnce(m, s.context, Candidates({{"aba", 2.0f}, {"abz", 2.0f}})), (TEntries {{"aba", 2.0f}}));
    m.setUseRatingVariance(true);
    EXPECT_NE(m.inputRatingVariance(), nullptr);
}

// ----- tables

TEST(CGenGFRatingModules, ComplexityTableModules)
{
    Standard s;
    CGenGFModuleAddOnComplexityRatingTable addOn;
    addOn.inputFamilyName->setStringValue("fam");
    addOn.inputAddOnName->setStringValue("bxx"); // 4 + 0 + 0
    EXPECT_TRUE(addOn.executeArguments(s.context, nullptr));
    EXPECT_EQ(addOn.outputValue->doubleValue(), 4.0);
    // No answer: the output stays as it was.
    addOn.inputAddOnName->setStringValue("bxxx");
    EXPECT_TRUE(addOn.executeArguments(s.context, nullptr));
    EXPECT_EQ(addOn.outputValue->doubleValue(), 4.0);
    addOn.inputAddOnName->setStringValue("cxx");
    EXPECT_TRUE(addOn.executeArguments(CGenGFContext(), nullptr));
    EXPECT_EQ(addOn.outputValue->doubleValue(), 4.0);
    // An own table: "cad" is 2 + 0 + 0 in a table whose rows start with c.
    addOn.setUseStandardRatingTables(false);
    CGenGFComplexityMatrix own;
    ASSERT_TRUE(own.importCSVForFamily(";front;mid;back\nc;2;9;9\na;9;0;9\nd;9;9;0\n", "fam"));
    addOn.setComplexityMatrix(own);
    addOn.inputAddOnName->setStringValue("cad");
    EXPECT_TRUE(addOn.executeArguments(s.context, nullptr));
    EXPECT_EQ(addOn.outputValue->doubleValue(), 2.0);

    CGenGFModuleBassPatternComplexityRatingTable bass;
    EXPECT_EQ(bass.complexityMatrix(), nullptr);
    bass.inputFamilyName->setStringValue("aba");
    bass.inputAddOnName->setStringValue("xyxy"); // 21 + 6
    EXPECT_TRUE(bass.executeArguments(s.context, nullptr));
    EXPECT_EQ(bass.outputValue->doubleValue(), 27.0);
    // An own table: matrix1 of the standard one with matrix2 all 10: 21 + 40.
    CGenGFBassPatternComplexityMatrix ownBass = BassTable();
    ownBass.setMatrix2(Matrix(";0;1;2;3\nx;10;10;10;10\ny;10;10;10;10\n"));
    bass.setComplexityMatrix(ownBass);
    EXPECT_TRUE(bass.executeArguments(CGenGFContext(), nullptr));
    EXPECT_EQ(bass.outputValue->doubleValue(), 61.0);
    bass.clearComplexityMatrix();
    EXPECT_TRUE(bass.executeArguments(s.context, nullptr));
    EXPECT_EQ(bass.outputValue->doubleValue(), 27.0);
}

// ----- 2D matrix

TEST(CGenGFRatingModules, TwoDMatrixWeightsByPercent)
{
    CGenGFModule2DMatrix m;
    EXPECT_FALSE(m.useColumn());
    EXPECT_EQ(m.inputColumn(), nullptr);
    ASSERT_NE(m.matrix(), nullptr);
    m.setMatrix(Matrix(";ab;cd;zero\nrow1;50;200;0\n"));
    m.inputRow->setStringValue("ROW1"); // lowered before the lookup
    // AB: 10 * 50 / 100 = 5; cd: 10 * 200 / 100 = 20; ef: no cell, keeps 10;
    // zero: 10 * 0 -> dropped; a 0 without a cell drops too.
    const CGenPatternModAndProbs list =
        Candidates({{"AB", 10.0f}, {"cd", 10.0f}, {"ef", 10.0f}, {"zero", 10.0f}, {"gh", 0.0f}});
    EXPECT_EQ(RunOnce(m, CGenGFContext(), list), (TEntries {{"AB", 5.0f}, {"cd", 20.0f}, {"ef", 10.0f}}));
    // A row without cells keeps everything above 0.
    m.inputRow->setStringValue("row2");
    EXPECT_EQ(RunOnce(m, CGenGFContext(), list), (TEntries {{"AB", 10.0f}, {"cd", 10.0f}, {"ef", 10.0f}, {"zero", 10.0f}}));
    // An empty row leaves the output.
    m.inputRow->setStringValue("");
    EXPECT_EQ(RunOnce(m, CGenGFContext(), Candidates({{"x", 1.0f}})).size(), 4u);

    // The column port replaces the pattern's name for every candidate.
    m.setUseColumn(true);
    CGenGFPortString* column = m.inputColumn();
    ASSERT_NE(column, nullptr);
    EXPECT_EQ(column->key(), "inputColumn");
    EXPECT_EQ(column->attributes().StringForKey("name"), "Column");
    column->setStringValue("CD");
    m.inputRow->setStringValue("row1");
    EXPECT_EQ(RunOnce(m, CGenGFContext(), Candidates({{"AB", 10.0f}, {"ef", 3.0f}})), (TEntries {{"AB", 20.0f}, {"ef", 6.0f}}));
    column->setStringValue("zero");
    EXPECT_TRUE(RunOnce(m, CGenGFContext(), Candidates({{"AB", 10.0f}})).empty());
    m.setUseColumn(false);
    EXPECT_EQ(m.inputColumn(), nullptr);
    EXPECT_EQ(m.inputGFPortForKey("inputColumn"), nullptr);
}

// ----- state

TEST(CGenGFRatingModules, MainPatternRatingState)
{
    CGenGFModuleMainPatternRating standard;
    const TGenDict plain = standard.state();
    EXPECT_EQ(plain.IntegerForKey("stateVersion"), 1);
    EXPECT_TRUE(plain.BoolForKey("useStandardRatingTables"));
    EXPECT_FALSE(plain.HasKey("mainPatternRatingMatrix"));

    CGenGFModuleMainPatternRating own;
    own.setUseStandardRatingTables(false);
    own.setMainPatternRatingMatrix(MainPatternTable());
    const TGenDict stored = own.state();
    EXPECT_FALSE(stored.BoolForKey("useStandardRatingTables", true));
    ASSERT_NE(stored.DictForKey("mainPatternRatingMatrix"), nullptr);
    EXPECT_EQ(stored.DictForKey("mainPatternRatingMatrix")->StringForKey(kZKCodingClassKey), "CGenGFMainPatternRatingMatrix");
    CGenGFModuleMainPatternRating restored;
    EXPECT_EQ(RestoredState(restored, own), stored);
    EXPECT_FALSE(restored.useStandardRatingTables());
    ASSERT_NE(restored.mainPatternRatingMatrix(), nullptr);
    float v = 0.0f;
    ASSERT_TRUE(restored.mainPatternRatingMatrix()->mainPatternRatingForFamilyNameAddOnNameOutValue("fam", "bba", v));
    EXPECT_EQ(v, 4.5f);

    // A state from before own tables (no "stateVersion") uses the standard ones.
    TGenDict old = stored;
    old.RemoveValueForKey("stateVersion");
    CGenGFModuleMainPatternRating fromOld;
    std::string error;
    EXPECT_TRUE(fromOld.setState(old, &error)) << error;
    EXPECT_TRUE(fromOld.useStandardRatingTables());
    EXPECT_EQ(fromOld.mainPatternRatingMatrix(), nullptr);

    // A table of the wrong class is refused and leaves the module as it was.
    TGenDict wrong = stored;
    wrong.SetValueForKey(ZKCodingEncodeObject(BassTable()), "mainPatternRatingMatrix");
    CGenGFModuleMainPatternRating fromWrong;
    fromWrong.setState(wrong);
    ASSERT_NE(fromWrong.mainPatternRatingMatrix(), nullptr);
    EXPECT_TRUE(fromWrong.mainPatternRatingMatrix()->familyNames().empty());
}

TEST(CGenGFRatingModules, AddOnAndBassRatingState)
{
    // Port values are kept in a state only for modules that stand in a graph.
    CGenGFModule graph;
    auto& m = *AddModule<CGenGFModuleAddOnComplexityRating>(graph, "m");
    m.setUseRatingVariance(true);
    m.inputRatingVariance()->setDoubleValue(12.0);
    m.setFlipFamilyAndAddOnStrings(true);
    m.setUseStandardRatingTables(false);
    m.setComplexityMatrix(AddOnTable());
    m.inputNormalizedComplexity->setDoubleValue(0.25);
    const TGenDict stored = m.state();
    EXPECT_EQ(stored.IntegerForKey("stateVersion"), 1);
    EXPECT_TRUE(stored.BoolForKey("useRatingVariance"));
    EXPECT_TRUE(stored.BoolForKey("flipFamilyAndAddOnStrings"));
    EXPECT_FALSE(stored.BoolForKey("useStandardRatingTables", true));
    ASSERT_NE(stored.DictForKey("complexityMatrix"), nullptr);

    auto& restored = *AddModule<CGenGFModuleAddOnComplexityRating>(graph, "restored");
    EXPECT_EQ(RestoredState(restored, m), stored);
    EXPECT_TRUE(restored.useRatingVariance());
    ASSERT_NE(restored.inputRatingVariance(), nullptr);
    EXPECT_EQ(restored.inputRatingVariance()->doubleValue(), 12.0);
    EXPECT_EQ(restored.inputRatingVariance()->maxDoubleValue(), 50.0);
    EXPECT_EQ(restored.inputNormalizedComplexity->doubleValue(), 0.25);
    EXPECT_TRUE(restored.flipFamilyAndAddOnStrings());
    ASSERT_NE(restored.complexityMatrix(), nullptr);
    EXPECT_EQ(restored.complexityMatrix()->familyNames(), (std::vector<std::string> {"fam"}));
    float v = 0.0f;
    ASSERT_TRUE(restored.complexityMatrix()->complexityForFamilyNameAddOnNameOutValue("fam", "exx", v));
    EXPECT_EQ(v, 10.0f);

    // The default module stores no table.
    CGenGFModuleAddOnComplexityRating plain;
    EXPECT_FALSE(plain.state().HasKey("complexityMatrix"));
    EXPECT_TRUE(plain.state().BoolForKey("useStandardRatingTables"));
    EXPECT_FALSE(plain.state().BoolForKey("useRatingVariance", true));

    auto& bass = *AddModule<CGenGFModuleBassPatternComplexityRating>(graph, "bass");
    bass.setUseRatingVariance(true);
    bass.inputRatingVariance()->setDoubleValue(7.5);
    bass.setFlipFamilyAndAddOnStrings(true);
    const TGenDict bassStored = bass.state();
    EXPECT_FALSE(bassStored.HasKey("useStandardRatingTables"));
    EXPECT_FALSE(bassStored.HasKey("complexityMatrix"));
    auto& bassRestored = *AddModule<CGenGFModuleBassPatternComplexityRating>(graph, "bassRestored");
    EXPECT_EQ(RestoredState(bassRestored, bass), bassStored);
    ASSERT_NE(bassRestored.inputRatingVariance(), nullptr);
    EXPECT_EQ(bassRestored.inputRatingVariance()->doubleValue(), 7.5);
    EXPECT_TRUE(bassRestored.flipFamilyAndAddOnStrings());
}

TEST(CGenGFRatingModules, TableModulesAnd2DMatrixState)
{
    CGenGFModuleAddOnComplexityRatingTable addOn;
    addOn.setUseStandardRatingTables(false);
    addOn.setComplexityMatrix(AddOnTable());
    CGenGFModuleAddOnComplexityRatingTable addOnRestored;
    EXPECT_EQ(RestoredState(addOnRestored, addOn), addOn.state());
    EXPECT_FALSE(addOnRestored.useStandardRatingTables());
    ASSERT_NE(addOnRestored.complexityMatrix(), nullptr);
    EXPECT_EQ(addOnRestored.complexityMatrix()->familyNames(), (std::vector<std::string> {"fam"}));

    CGenGFModuleBassPatternComplexityRatingTable bass;
    EXPECT_FALSE(bass.state().HasKey("complexityMatrix"));
    bass.setComplexityMatrix(BassTable());
    CGenGFModuleBassPatternComplexityRatingTable bassRestored;
    EXPECT_EQ(RestoredState(bassRestored, bass), bass.state());
    ASSERT_NE(bassRestored.complexityMatrix(), nullptr);
    EXPECT_EQ(bassRestored.complexityMatrix()->matrix2().rowDict(), Matrix(kBass2CSV).rowDict());

    CGenGFModule graph;
    auto& matrix = *AddModule<CGenGFModule2DMatrix>(graph, "matrix");
    matrix.setMatrix(Matrix(";ab\nrow1;50\n"));
    matrix.setUseColumn(true);
    matrix.inputColumn()->setStringValue("ab");
    const TGenDict stored = matrix.state();
    ASSERT_NE(stored.DictForKey("matrix"), nullptr);
    EXPECT_TRUE(stored.BoolForKey("useColumn"));
    auto& restored = *AddModule<CGenGFModule2DMatrix>(graph, "restored");
    EXPECT_EQ(RestoredState(restored, matrix), stored);
    ASSERT_NE(restored.inputColumn(), nullptr);
    EXPECT_EQ(restored.inputColumn()->stringValue(), "ab");
    EXPECT_EQ(restored.matrix()->rowDict(), matrix.matrix()->rowDict());
    restored.inputRow->setStringValue("row1");
    EXPECT_EQ(RunOnce(restored, CGenGFContext(), Candidates({{"x", 4.0f}})), (TEntries {{"x", 2.0f}}));
}

