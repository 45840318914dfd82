#pragma once

// Candidate lists and small rating tables shared by the tests of the rating
// matrices and the rating modules.

#include "Generator/CGenContext.h"
#include "Generator/stylegraph/CGenGFAddOnComplexityRatingHelper.h"
#include "Generator/stylegraph/CGenGFMatrix.h"
#include "Generator/stylegraph/CGenGFModule2DMatrix.h"
#include "Generator/stylegraph/CGenGFModuleAddOnComplexityRating.h"
#include "Generator/stylegraph/CGenGFModuleAddOnComplexityRatingTable.h"
#include "Generator/stylegraph/CGenGFModuleBassPatternComplexityRating.h"
#include "Generator/stylegraph/CGenGFModuleBassPatternComplexityRatingTable.h"
#include "Generator/stylegraph/CGenGFModuleMainPatternRating.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"
#include "Generator/stylegraph/CGenGFNodeManager.h"
#include "Generator/stylegraph/CGenGFRatingTables.h"
#include "StyleGraphTestModules.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace zkgtest::rating {

using TEntries = std::vector<std::pair<std::string, float>>;

inline CGenPatternModAndProbs Candidates(std::initializer_list<std::pair<const char*, float>> items)
{
    CGenPatternModAndProbs list;
    for (const auto& [name, prob] : items)
        list.emplace_back(CGenPattern(name), prob);
    return list;
}

inline TEntries Entries(const CGenPatternModAndProbs* list)
{
    TEntries out;
    if (list)
        for (const CGenPatternModAndProb& el : *list)
            out.emplace_back(el.PatternToBeRead().mName, el.mProb);
    return out;
}

// Names equal and probabilities within float rounding.
inline void ExpectEntriesNear(const TEntries& got, const TEntries& want)
{
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].first, want[i].first) << "entry " << i;
        EXPECT_NEAR(got[i].second, want[i].second, 1e-5) << "entry " << i;
    }
}

inline CGenGFMatrix Matrix(const std::string& csv)
{
    CGenGFMatrix m;
    EXPECT_TRUE(m.parseCSVString(csv)) << csv;
    return m;
}

// Add-on family "fam": the rating of "<r>xx" is the "front" of row r, as
// row x is all 0. a=2, b=4, c=6, d=0, e=10, f=5.
inline constexpr const char* kAddOnCSV = ";front;mid;back\na;2;0;0\nb;4;0;0\nc;6;0;0\nd;0;0;0\ne;10;0;0\nf;5;0;0\nx;0;0;0\n";

// Main pattern family "fam": back is all 0, so the rating of "<p><q><r>" is
// front[p][q] when that is at least 0.
inline constexpr const char* kFrontCSV = ";a;b;c\na;1;5;6\nb;0;4.5;2\n";
inline constexpr const char* kBackCSV = ";a;b;c\na;0;0;0\nb;0;0;0\nc;0;0;0\n";

// Bass: family letters by position in matrix1, pattern letters in matrix2.
inline constexpr const char* kBass1CSV = ";0;1;2\na;1;2;4\nb;8;16;32\n";
inline constexpr const char* kBass2CSV = ";0;1;2;3\nx;1;1;1;1\ny;2;2;2;2\n";

inline CGenGFComplexityMatrix AddOnTable()
{
    CGenGFComplexityMatrix t;
    EXPECT_TRUE(t.importCSVForFamily(kAddOnCSV, "fam"));
    return t;
}

inline CGenGFMainPatternRatingMatrix MainPatternTable()
{
    CGenGFMainPatternRatingMatrix t;
    EXPECT_TRUE(t.importCSVFrontCSVBackForPatternFamily(kFrontCSV, kBackCSV, "fam"));
    return t;
}

inline CGenGFBassPatternComplexityMatrix BassTable()
{
    CGenGFBassPatternComplexityMatrix t;
    t.setMatrix1(Matrix(kBass1CSV));
    t.setMatrix2(Matrix(kBass2CSV));
    return t;
}

// Standard tables with all three parts, as a generator would own them.
struct Standard {
    CGenGFRatingTables tables;
    CGenContext gen;
    CGenGFContext context = CGenGFContext::contextWithGenContext(&gen);
    Standard()
    {
        tables.mutableComplexityMatrix().setCanBeMutated(true);
        EXPECT_TRUE(tables.mutableComplexityMatrix().importCSVForFamily(kAddOnCSV, "fam"));
        tables.mutableComplexityMatrix().setCanBeMutated(false);
        tables.mutableMainPatternRatingMatrix().setCanBeMutated(true);
        EXPECT_TRUE(tables.mutableMainPatternRatingMatrix().importCSVFrontCSVBackForPatternFamily(kFrontCSV, kBackCSV, "fam"));
        tables.mutableMainPatternRatingMatrix().setCanBeMutated(false);
        tables.mutableBassPatternComplexityMatrix() = BassTable();
        gen.mRatingTables = &tables;
    }
};

// Runs a pattern module once on `list`; the output list.
template <class M>
inline TEntries RunOnce(M& module, const CGenGFContext& context, const CGenPatternModAndProbs& list)
{
    module.inputPatterns->SetList(list);
    EXPECT_TRUE(module.executeArguments(context, nullptr));
    return Entries(module.outputPatterns->ConstList());
}

inline TGenDict RestoredState(CGenGFModule& into, const CGenGFModule& from)
{
    std::string error;
    EXPECT_TRUE(into.setState(from.state(), &error)) << error;
    return into.state();
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace zkgtest::rating
