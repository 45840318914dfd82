#include "Generator/stylegraph/CGenGFRatingTables.h"

namespace {

bool WriteText(const TGenUrl& path, const std::string& text, std::string* outError)
{
    return ZKFileWriteAtomically(path, TGenData(text.begin(), text.end()), outError);
}

} // namespace

bool CGenGFRatingTables::ImportFromFolder(const TGenUrl& folder, std::string* outError)
{
    *this = CGenGFRatingTables();
    if (!ZKFileIsDirectory(folder)) {
        if (outError)
            *outError = "rating tables: no folder at \"" + folder.string() + "\"";
        return false;
    }
    mComplexity.setCanBeMutated(true);
    mComplexity.importFromFolder(ZKUrlByAppendingPathComponent(folder, kComplexityFolder));
    mComplexity.setCanBeMutated(false);
    mMainPatternRating.setCanBeMutated(true);
    mMainPatternRating.importFromFolder(ZKUrlByAppendingPathComponent(folder, kMainPatternRatingFolder));
    mMainPatternRating.setCanBeMutated(false);
    const TGenUrl bass = ZKUrlByAppendingPathComponent(folder, kBassPatternComplexityFolder);
    CGenGFMatrix m1;
    CGenGFMatrix m2;
    if (m1.parseCSVFileAtPath(ZKUrlByAppendingPathComponent(bass, kBassMatrix1FileName)))
        mBassPatternComplexity.setMatrix1(m1);
    if (m2.parseCSVFileAtPath(ZKUrlByAppendingPathComponent(bass, kBassMatrix2FileName)))
        mBassPatternComplexity.setMatrix2(m2);
    return true;
}

bool CGenGFRatingTables::WriteToFolder(const TGenUrl& folder, std::string* outError) const
{
    const TGenUrl complexity = ZKUrlByAppendingPathComponent(folder, kComplexityFolder);
    const TGenUrl mainPattern = ZKUrlByAppendingPathComponent(folder, kMainPatternRatingFolder);
    const TGenUrl bass = ZKUrlByAppendingPathComponent(folder, kBassPatternComplexityFolder);
    if (!ZKFileCreateDirectory(complexity, outError) || !ZKFileCreateDirectory(mainPattern, outError)
        || !ZKFileCreateDirectory(bass, outError))
        return false;
    for (const auto& [family, matrix] : mComplexity.matrices())
        if (!WriteText(ZKUrlByAppendingPathComponent(complexity, family + ".csv"), matrix.csvString(), outError))
            return false;
    for (const auto& [family, pair] : mMainPatternRating.matrices()) {
        const TGenUrl sub = ZKUrlByAppendingPathComponent(mainPattern, family);
        if (!ZKFileCreateDirectory(sub, outError)
            || !WriteText(ZKUrlByAppendingPathComponent(sub, CGenGFMainPatternRatingMatrix::kFrontFileName),
                pair[0].csvString(), outError)
            || !WriteText(ZKUrlByAppendingPathComponent(sub, CGenGFMainPatternRatingMatrix::kBackFileName),
                pair[1].csvString(), outError))
            return false;
    }
    // An empty bass table writes no file, so reading the folder back gives it empty again.
    for (const auto& [name, matrix] : {std::pair {kBassMatrix1FileName, &mBassPatternComplexity.matrix1()},
             std::pair {kBassMatrix2FileName, &mBassPatternComplexity.matrix2()}})
        if (!matrix->rowDict().empty()
            && !WriteText(ZKUrlByAppendingPathComponent(bass, name), matrix->csvString(), outError))
            return false;
    return true;
}

bool CGenGFRatingTables::IsEmpty() const
{
    return mComplexity.matrices().empty() && mMainPatternRating.matrices().empty()
        && mBassPatternComplexity.matrix1().rowDict().empty() && mBassPatternComplexity.matrix2().rowDict().empty();
}
