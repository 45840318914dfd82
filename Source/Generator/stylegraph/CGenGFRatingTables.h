#pragma once

#include "Generator/stylegraph/CGenGFMatrix.h"

#include <string>

// The standard rating tables of a content library: the add-on complexity
// tables, the main pattern rating tables and the bass pattern complexity
// table. Rating modules whose "useStandardRatingTables" is on read them
// through CGenContext::mRatingTables while a graph runs.
//
// The tables are kept per generator (with the library it loaded), never in a
// process-wide instance, so two generators with different bundles never share
// or overwrite each other's tables.
//
// Folder layout (ImportFromFolder reads it, WriteToFolder writes it):
//
//   <folder>/Complexity/<family>.csv                 one add-on complexity table per family
//   <folder>/MainPatternRating/<family>/front.csv    the front table of a family
//   <folder>/MainPatternRating/<family>/back.csv     the back table of the same family
//   <folder>/BassPatternComplexity/matrix1.csv       family letters by position "0".."2"
//   <folder>/BassPatternComplexity/matrix2.csv       bass pattern letters by position "0".."3"
//
// Written files are semicolon separated with rows and columns sorted, so the
// same tables always give the same bytes.
class CGenGFRatingTables {
public:
    static constexpr const char* kComplexityFolder = "Complexity";
    static constexpr const char* kMainPatternRatingFolder = "MainPatternRating";
    static constexpr const char* kBassPatternComplexityFolder = "BassPatternComplexity";
    static constexpr const char* kBassMatrix1FileName = "matrix1.csv";
    static constexpr const char* kBassMatrix2FileName = "matrix2.csv";

    const CGenGFComplexityMatrix& complexityMatrix() const { return mComplexity; }
    const CGenGFMainPatternRatingMatrix& mainPatternRatingMatrix() const { return mMainPatternRating; }
    const CGenGFBassPatternComplexityMatrix& bassPatternComplexityMatrix() const { return mBassPatternComplexity; }

    // For building tables in code (tests, tools); the tables stay read-only to
    // modules, which only see a const pointer.
    CGenGFComplexityMatrixImmutable& mutableComplexityMatrix() { return mComplexity; }
    CGenGFMainPatternRatingMatrixImmutable& mutableMainPatternRatingMatrix() { return mMainPatternRating; }
    CGenGFBassPatternComplexityMatrix& mutableBassPatternComplexityMatrix() { return mBassPatternComplexity; }

    // Replaces all tables with what the folder holds; a table that is missing
    // or does not parse stays empty. False when the folder does not exist.
    bool ImportFromFolder(const TGenUrl& folder, std::string* outError = nullptr);
    // Writes every table in the layout above, creating the folders; false
    // (with a message) at the first failure.
    bool WriteToFolder(const TGenUrl& folder, std::string* outError = nullptr) const;

    bool IsEmpty() const;

private:
    CGenGFComplexityMatrixImmutable mComplexity;
    CGenGFMainPatternRatingMatrixImmutable mMainPatternRating;
    CGenGFBassPatternComplexityMatrix mBassPatternComplexity;
};
