#include "RatingTestTables.h"
#include "Generator/stylegraph/CGenGFStringBins.h"
#include "TestSupport/TempDir.h"

using namespace zkgtest;
using namespace zkgtest::rating;

// ----- CSV

TEST(CGenGFRatingMatrix, CSVNormalisationAndParse)
{
    // Spaces, tabs and carriage returns go, commas become semicolons, all is
    // lowered; the trailing line breaks give empty lines, which are skipped.
    const std::string csv = " ,Front,\tMid , Back\r\nA, 1 ,2,3\r\nB;4;\t5;6\r\n\n";
    EXPECT_EQ(CGenGFMatrix::normalizedCSVStringFromString(csv), ";front;mid;back\na;1;2;3\nb;4;5;6\n\n");
    const CGenGFMatrix m = Matrix(csv);
    const CGenGFMatrix::TRowDict want {{"a", {{"front", 1.0}, {"mid", 2.0}, {"back", 3.0}}},
        {"b", {{"front", 4.0}, {"mid", 5.0}, {"back", 6.0}}}};
    EXPECT_EQ(m.rowDict(), want);
    EXPECT_EQ(m.sortedRowDictKeys(), (std::vector<std::string> {"a", "b"}));

    // Commas and semicolons parse alike.
    EXPECT_EQ(Matrix(";front;mid;back\na;1;2;3\nb;4;5;6").rowDict(), want);
    EXPECT_EQ(Matrix(",front,mid,back\na,1,2,3\nb,4,5,6").rowDict(), want);

    // Labels are lowered: only the lower-case label is found.
    float v = -1.0f;
    EXPECT_FALSE(m.valueForRowColOutValue("A", "front", v));
    EXPECT_FALSE(m.valueForRowColOutValue("a", "Front", v));
    EXPECT_TRUE(m.valueForRowColOutValue("b", "mid", v));
    EXPECT_EQ(v, 5.0f);
    EXPECT_FALSE(m.valueForRowColOutValue("b", "side", v));
    EXPECT_FALSE(m.valueForRowColOutValue("c", "mid", v));
}

TEST(CGenGFRatingMatrix, CSVCellsRowsAndNumbers)
{
    // An empty value cell ends its row (c is lost); a row shorter than the
    // header stops early, a longer one is cut at the header; a line of one
    // cell is skipped.
    const CGenGFMatrix m = Matrix(";a;b;c\nr;1;;3\ns;7\nlonely\nt;1;2;3;4\n");
    const CGenGFMatrix::TRowDict want {{"r", {{"a", 1.0}}}, {"s", {{"a", 7.0}}},
        {"t", {{"a", 1.0}, {"b", 2.0}, {"c", 3.0}}}};
    EXPECT_EQ(m.rowDict(), want);
    // An empty header cell ends every row there.
    EXPECT_EQ(Matrix(";a;;c\nr;1;2;3\n").rowDict(), (CGenGFMatrix::TRowDict {{"r", {{"a", 1.0}}}}));

    // Numbers are read as floats: 0.1 keeps float precision; a leading number
    // is taken, no number reads 0.
    const CGenGFMatrix n = Matrix(";a;b;c;d\nr;0.1;2.5abc;x;-3e1\n");
    EXPECT_EQ(n.rowDict().at("r").at("a"), static_cast<double>(0.1f));
    EXPECT_NE(n.rowDict().at("r").at("a"), 0.1);
    EXPECT_EQ(n.rowDict().at("r").at("b"), 2.5);
    EXPECT_EQ(n.rowDict().at("r").at("c"), 0.0);
    EXPECT_EQ(n.rowDict().at("r").at("d"), -30.0);
}

TEST(CGenGFRatingMatrix, BadCSVIsRefused)
{
    CGenGFMatrix m = Matrix(";a\nr;1\n");
    // One line only, or none: false, and the table is left as it was.
    EXPECT_FALSE(m.parseCSVString(";a;b"));
    EXPECT_FALSE(m.parseCSVString(""));
    EXPECT_EQ(m.rowDict(), (CGenGFMatrix::TRowDict {{"r", {{"a", 1.0}}}}));
    // A header of one cell: false, table unchanged.
    EXPECT_FALSE(m.parseCSVString("x\nr;1\n"));
    EXPECT_EQ(m.rowDict().size(), 1u);
    // An empty row label ends the parse with what was read before it.
    EXPECT_FALSE(m.parseCSVString(";a\ns;2\n;3\nt;4\n"));
    EXPECT_EQ(m.rowDict(), (CGenGFMatrix::TRowDict {{"s", {{"a", 2.0}}}}));
    // A file that isn't there.
    EXPECT_FALSE(m.parseCSVFileAtPath("/nonexistent/zkgen/table.csv"));
}

TEST(CGenGFRatingMatrix, CSVStringDescriptionAndArchive)
{
    CGenGFMatrix m = Matrix(";y;x\nb;4;3\na;2;0.5\n");
    EXPECT_EQ(m.csvString(), ";x;y\na;0.5;2\nb;3;4\n");
    EXPECT_EQ(Matrix(m.csvString()).rowDict(), m.rowDict());
    EXPECT_EQ(m.Description(), "<CGenGFMatrix 2x2: a {x=0.5; y=2}; b {x=3; y=4}>");
    // A missing cell is written empty.
    CGenGFMatrix sparse;
    sparse.setRowDict({{"a", {{"x", 1.0}}}, {"b", {{"y", 2.0}}}});
    EXPECT_EQ(sparse.csvString(), ";x;y\na;1;\nb;;2\n");

    TGenDict coder;
    m.EncodeWithCoder(coder);
    ASSERT_NE(coder.DictForKey("rowDict"), nullptr);
    EXPECT_EQ(coder.DictForKey("rowDict")->DictForKey("a")->DoubleForKey("x"), 0.5);
    ZKCodingClassRegistry none;
    std::unique_ptr<ZKCoding> decoded = CGenGFMatrix::DecodeWithCoder(coder, none, nullptr);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(static_cast<CGenGFMatrix&>(*decoded).rowDict(), m.rowDict());
    std::string error;
    EXPECT_EQ(CGenGFMatrix::DecodeWithCoder(TGenDict {{"rowDict", 3}}, none, &error), nullptr);
    EXPECT_FALSE(error.empty());
}

// ----- lookups

TEST(CGenGFRatingMatrix, AddOnComplexityLookup)
{
    CGenGFComplexityMatrix t;
    ASSERT_TRUE(t.importCSVForFamily(";front;mid;back\na;1;10;100\nb;2;20;200\nc;3;30;300\nd;4\n", "fam"));
    float v = -1.0f;
    // a.front + b.mid + c.back = 1 + 20 + 300
    ASSERT_TRUE(t.complexityForFamilyNameAddOnNameOutValue("fam", "abc", v));
    EXPECT_EQ(v, 321.0f);
    // c.front + b.mid + a.back = 3 + 20 + 100
    ASSERT_TRUE(t.complexityForFamilyNameAddOnNameOutValue("fam", "cba", v));
    EXPECT_EQ(v, 123.0f);
    // d.front + a.mid + b.back = 4 + 10 + 200
    ASSERT_TRUE(t.complexityForFamilyNameAddOnNameOutValue("fam", "dab", v));
    EXPECT_EQ(v, 214.0f);
    v = -1.0f;
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("fam", "adb", v)); // d has no "mid"
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("fam", "abz", v));
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("fam", "abca", v)); // 4 letters
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("fam", "ab", v));
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("fam", "ABC", v)); // names are not lowered
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("other", "abc", v));
    EXPECT_EQ(v, -1.0f);

    // Bad CSV leaves the family out.
    EXPECT_FALSE(t.importCSVForFamily("nothing", "bad"));
    EXPECT_EQ(t.familyNames(), (std::vector<std::string> {"fam"}));

    // The immutable kind imports only while allowed.
    CGenGFComplexityMatrixImmutable frozen;
    EXPECT_FALSE(frozen.importCSVForFamily(";front;mid;back\na;1;1;1\n", "fam"));
    EXPECT_TRUE(frozen.familyNames().empty());
    frozen.setCanBeMutated(true);
    EXPECT_TRUE(frozen.importCSVForFamily(";front;mid;back\na;1;1;1\n", "fam"));
    ASSERT_TRUE(frozen.complexityForFamilyNameAddOnNameOutValue("fam", "aaa", v));
    EXPECT_EQ(v, 3.0f);
}

TEST(CGenGFRatingMatrix, BassComplexityLookup)
{
    const CGenGFBassPatternComplexityMatrix t = BassTable();
    float v = -1.0f;
    // family "aba": a@0 + b@1 + a@2 = 1 + 16 + 4 = 21; "xyxy": 1 + 2 + 1 + 2 = 6
    ASSERT_TRUE(t.complexityForFamilyNameAddOnNameOutValue("aba", "xyxy", v));
    EXPECT_EQ(v, 27.0f);
    // "bbb": 8 + 16 + 32 = 56; "yyyy": 8
    ASSERT_TRUE(t.complexityForFamilyNameAddOnNameOutValue("bbb", "yyyy", v));
    EXPECT_EQ(v, 64.0f);
    v = -1.0f;
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("ab", "xyxy", v));
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("aba", "xyx", v));
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("abz", "xyxy", v));
    EXPECT_FALSE(t.complexityForFamilyNameAddOnNameOutValue("aba", "xyxz", v));
    EXPECT_EQ(v, -1.0f);
}

TEST(CGenGFRatingMatrix, MainPatternRatingLookup)
{
    CGenGFMainPatternRatingMatrix t;
    ASSERT_TRUE(t.importCSVFrontCSVBackForPatternFamily(";a;b\na;1;2\nb;3;4\n", ";a;b\na;0.5;4.5\nb;2;1\n", "fam"));
    float v = -1.0f;
    // "abb": front[a][b] = 2, back[b][b] = 1 -> 2
    ASSERT_TRUE(t.mainPatternRatingForFamilyNameAddOnNameOutValue("fam", "abb", v));
    EXPECT_EQ(v, 2.0f);
    // "baa": front[b][a] = 3, back[a][a] = 0.5 -> 3
    ASSERT_TRUE(t.mainPatternRatingForFamilyNameAddOnNameOutValue("fam", "baa", v));
    EXPECT_EQ(v, 3.0f);
    // "bab": front[b][a] = 3, back[a][b] = 4.5 -> 4.5
    ASSERT_TRUE(t.mainPatternRatingForFamilyNameAddOnNameOutValue("fam", "bab", v));
    EXPECT_EQ(v, 4.5f);
    v = -1.0f;
    EXPECT_FALSE(t.mainPatternRatingForFamilyNameAddOnNameOutValue("fam", "abc", v)); // back[b][c] missing
    EXPECT_FALSE(t.mainPatternRatingForFamilyNameAddOnNameOutValue("fam", "ab", v));
    EXPECT_FALSE(t.mainPatternRatingForFamilyNameAddOnNameOutValue("other", "abb", v));
    EXPECT_EQ(v, -1.0f);
    // Both tables must parse, else the family stays out.
    EXPECT_FALSE(t.importCSVFrontCSVBackForPatternFamily(";a\na;1\n", "bad", "other"));
    EXPECT_EQ(t.familyNames(), (std::vector<std::string> {"fam"}));
}

TEST(CGenGFRatingMatrix, RegisteredInTheFixedOrderWithTheirTables)
{
    const CGenGFNodeManager& manager = CGenGFNodeManager::setupDefaultNodeManager();
    std::vector<std::string> names;
    for (const ZKGFNodeClassDescription* d : manager.nodeClasses())
        names.push_back(d->Name());
    const std::vector<std::string> want {"CGenGFModule", "CGenGFModuleFilterPatternName",
        "CGenGFModulePatternProbConsumer", "CGenGFModulePatternProbProvider", "CGenGFModuleSplitter",
        "CGenGFModuleDemultiplexer", "CGenGFModuleMultiplexer", "CGenGFModuleMainPatternRating",
        "CGenGFModuleStringSwitch", "CGenGFModuleValueSwitch", "CGenGFModuleContextAcFamSeq",
        "CGenGFModuleContextAcAddonSeq", "CGenGFModuleContextCurrentArrangePartName", "CGenGFModulePatternsMerger",
        "CGenGFModuleLog", "CGenGFModuleContextComplIntn", "CGenGFModuleRegionParameters",
        "CGenGFModulePatternsIterator", "CGenGFModulePatternsIteratorProvider", "CGenGFModulePatternsIteratorConsumer",
        "CGenGFModuleAddOnComplexityRating", "CGenGFModuleAddOnComplexityRatingTable",
        "CGenGFModuleBassPatternComplexityRating", "CGenGFModuleBassPatternComplexityRatingTable",
        "CGenGFModuleRandomPatternPicker", "CGenGFModuleTopProbFilter", "CGenGFModuleCreateFill", "CGenGFModuleLua",
        "CGenGFModule2DMatrix"};
    EXPECT_EQ(names, want);
    for (const char* c : {"CGenGFMatrix", "CGenGFComplexityMatrix", "CGenGFComplexityMatrixImmutable",
             "CGenGFMainPatternRatingMatrix", "CGenGFMainPatternRatingMatrixImmutable", "CGenGFBassPatternComplexityMatrix"})
        EXPECT_TRUE(manager.objectClasses().IsClassAllowed(c)) << c;

    // A table with nested matrices comes back through the registry.
    CGenGFComplexityMatrixImmutable frozen;
    frozen.setCanBeMutated(true);
    ASSERT_TRUE(frozen.importCSVForFamily(kAddOnCSV, "fam"));
    std::string error;
    std::unique_ptr<CGenGFComplexityMatrixImmutable> back =
        manager.objectClasses().DecodeObjectOfClass<CGenGFComplexityMatrixImmutable>(ZKCodingEncodeObject(frozen), &error);
    ASSERT_NE(back, nullptr) << error;
    EXPECT_FALSE(back->canBeMutated());
    EXPECT_TRUE(back->IsEqualToObject(frozen));
    // A nested matrix that is no matrix fails the decode.
    TGenDict broken = ZKCodingEncodeObject(frozen);
    broken.DictForKey("matrices")->SetValueForKey(TGenDict {{kZKCodingClassKey, "CGenGFRegex"}}, "fam");
    EXPECT_EQ(manager.objectClasses().DecodeObject(broken, &error), nullptr);
}

// ----- standard tables on disk

TEST(CGenGFRatingTablesTests, ImportAndWriteTheFolderLayout)
{
    TempDir dir("ratingtables");
    const std::filesystem::path in = dir.Path() / "in";
    // Spreadsheet exports: commas, capitals, carriage returns.
    WriteFile(in / "Complexity" / "fam.csv", ",Front,Mid,Back\r\nA,2,0,0\r\nX,0,1,3\r\n");
    WriteFile(in / "Complexity" / "notes.txt", "not a table");
    WriteFile(in / "Complexity" / "bad.csv", "nothing");
    WriteFile(in / "MainPatternRating" / "fam" / "front.csv", kFrontCSV);
    WriteFile(in / "MainPatternRating" / "fam" / "back.csv", kBackCSV);
    WriteFile(in / "MainPatternRating" / "half" / "front.csv", kFrontCSV);
    WriteFile(in / "BassPatternComplexity" / "matrix1.csv", kBass1CSV);
    WriteFile(in / "BassPatternComplexity" / "matrix2.csv", kBass2CSV);

    CGenGFRatingTables tables;
    ASSERT_TRUE(tables.ImportFromFolder(in));
    EXPECT_EQ(tables.complexityMatrix().familyNames(), (std::vector<std::string> {"fam"}));
    EXPECT_EQ(tables.mainPatternRatingMatrix().familyNames(), (std::vector<std::string> {"fam"}));
    float v = 0.0f;
    // "axx": a.front 2 + x.mid 1 + x.back 3
    ASSERT_TRUE(tables.complexityMatrix().complexityForFamilyNameAddOnNameOutValue("fam", "axx", v));
    EXPECT_EQ(v, 6.0f);
    ASSERT_TRUE(tables.mainPatternRatingMatrix().mainPatternRatingForFamilyNameAddOnNameOutValue("fam", "bba", v));
    EXPECT_EQ(v, 4.5f);
    ASSERT_TRUE(tables.bassPatternComplexityMatrix().complexityForFamilyNameAddOnNameOutValue("aba", "xyxy", v));
    EXPECT_EQ(v, 27.0f);
    // The loaded tables can't be changed by an import any more.
    EXPECT_FALSE(tables.mutableComplexityMatrix().importCSVForFamily(kAddOnCSV, "more"));

    const std::filesystem::path out = dir.Path() / "out";
    std::string error;
    ASSERT_TRUE(tables.WriteToFolder(out, &error)) << error;
    EXPECT_EQ(ReadFile(out / "Complexity" / "fam.csv"), ";back;front;mid\na;0;2;0\nx;3;0;1\n");
    EXPECT_EQ(ReadFile(out / "MainPatternRating" / "fam" / "front.csv"), ";a;b;c\na;1;5;6\nb;0;4.5;2\n");
    EXPECT_EQ(ReadFile(out / "BassPatternComplexity" / "matrix2.csv"), ";0;1;2;3\nx;1;1;1;1\ny;2;2;2;2\n");
    EXPECT_FALSE(std::filesystem::exists(out / "MainPatternRating" / "half"));

    // Reading the written folder gives the same tables, and writing them
    // again the same bytes.
    CGenGFRatingTables again;
    ASSERT_TRUE(again.ImportFromFolder(out));
    EXPECT_TRUE(again.complexityMatrix().IsEqualToObject(tables.complexityMatrix()));
    EXPECT_TRUE(again.mainPatternRatingMatrix().IsEqualToObject(tables.mainPatternRatingMatrix()));
    EXPECT_TRUE(again.bassPatternComplexityMatrix().IsEqualToObject(tables.bassPatternComplexityMatrix()));
    const std::filesystem::path out2 = dir.Path() / "out2";
    ASSERT_TRUE(again.WriteToFolder(out2));
    for (const char* file : {"Complexity/fam.csv", "MainPatternRating/fam/front.csv", "MainPatternRating/fam/back.csv",
             "BassPatternComplexity/matrix1.csv", "BassPatternComplexity/matrix2.csv"})
        EXPECT_EQ(ReadFile(out2 / file), ReadFile(out / file)) << file;

    // A missing folder: false and empty tables.
    EXPECT_FALSE(again.ImportFromFolder(dir.Path() / "missing", &error));
    EXPECT_TRUE(again.IsEmpty());
    // Empty tables write the folders and no bass files.
    const std::filesystem::path empty = dir.Path() / "empty";
    ASSERT_TRUE(again.WriteToFolder(empty));
    EXPECT_TRUE(std::filesystem::is_directory(empty / "Complexity"));
    EXPECT_FALSE(std::filesystem::exists(empty / "BassPatternComplexity" / "matrix1.csv"));
}

// ----- string bins

TEST(CGenGFStringBinsNames, DecodeKeepsNamesInStepWithBins)
{
    ZKCodingClassRegistry none;
    // Three bins, one stored name: the others get their default names.
    const TGenDict stored {{"stringBins", TGenArray {TGenArray {"a"}, TGenArray {}, TGenArray {"c"}}},
        {"stringToBinMap", TGenDict {{"a", 0}, {"c", 2}}}, {"binNames", TGenArray {"Calm"}},
        {"stringsAreRegularExpression", false}};
    std::unique_ptr<ZKCoding> decoded = CGenGFStringBins::DecodeWithCoder(stored, none, nullptr);
    ASSERT_NE(decoded, nullptr);
    auto& bins = static_cast<CGenGFStringBins&>(*decoded);
    EXPECT_EQ(bins.nameForBinAtIndex(0), "Calm");
    EXPECT_EQ(bins.nameForBinAtIndex(1), "Bin 2");
    EXPECT_EQ(bins.nameForBinAtIndex(2), "Bin 3");
    EXPECT_EQ(bins.indexOfBinForString("c"), 2);
    // More names than bins: the extra ones go.
    TGenDict more = stored;
    more.SetValueForKey(TGenArray {"x", "y", "z", "w"}, "binNames");
    decoded = CGenGFStringBins::DecodeWithCoder(more, none, nullptr);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(static_cast<CGenGFStringBins&>(*decoded).nameForBinAtIndex(2), "z");
    EXPECT_EQ(static_cast<CGenGFStringBins&>(*decoded).nameForBinAtIndex(3), "");
    static_cast<CGenGFStringBins&>(*decoded).appendBin();
    EXPECT_EQ(static_cast<CGenGFStringBins&>(*decoded).nameForBinAtIndex(3), "Bin 4");
}
