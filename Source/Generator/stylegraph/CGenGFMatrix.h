#pragma once

#include "Generator/stylegraph/foundation/ZKGFValue.h"
#include "Platform/ZKFileOps.h"

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

// Tables of numbers that content authors keep as spreadsheets and export as
// CSV (comma or semicolon separated). Each is a value object, so that a
// module can keep a table of its own in its state.

// A two-level table: row label -> (column label -> number). Labels are lower
// case after a CSV import, so lookups must use lower-case labels.
// Keyed archive: "rowDict".
class CGenGFMatrix : public ZKGFObject {
public:
    static constexpr const char* kClassName = "CGenGFMatrix";
    using TRow = std::map<std::string, double>;
    using TRowDict = std::map<std::string, TRow>;

    const TRowDict& rowDict() const { return mRowDict; }
    void setRowDict(TRowDict rowDict) { mRowDict = std::move(rowDict); }

    // Reads the file and parses it; false when it can't be read or parsed.
    bool parseCSVFileAtPath(const TGenUrl& path);
    // Replaces the table. The first line holds the column labels (its first
    // cell is ignored), each later line a row label and its values. An empty
    // header or value cell ends its row; lines of fewer than 2 cells are
    // skipped. False for fewer than 2 lines, a header of fewer than 2 cells or
    // an empty row label; the table then holds what was read up to there.
    bool parseCSVString(const std::string& csv);
    // True when both labels exist; the number as a float.
    bool valueForRowColOutValue(const std::string& row, const std::string& col, float& outValue) const;
    // Spaces and tabs removed, carriage returns removed, "," made ";", all
    // lower case: comma and semicolon exports parse alike, labels compare
    // without case.
    static std::string normalizedCSVStringFromString(const std::string& csv);
    std::vector<std::string> sortedRowDictKeys() const;
    // Semicolon separated, rows and columns sorted, the union of all columns
    // as header; a missing cell is written empty (and so ends its row when
    // read again, as any empty cell does).
    std::string csvString() const;

    std::string CodingClassName() const override { return kClassName; }
    void EncodeWithCoder(TGenDict& coder) const override;
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry&, std::string* outError);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFMatrix>(*this); }
    // "<CGenGFMatrix 2x3: a {x=1; y=2}; b {...}>"
    std::string Description() const override;

    // The families below keep their matrices nested: the matrix's archive
    // dictionary, and back (false, with a message, for anything else).
    static TGenDictValue EncodedMatrix(const CGenGFMatrix& m);
    static bool DecodeMatrix(const TGenDictValue* stored, CGenGFMatrix& out, std::string* outError);

private:
    TRowDict mRowDict;
};

// What the add-on rating modules ask of a table: the complexity of an add-on
// (or bass pattern) within a family; false when the table has no answer.
class CGenGFComplexityTable : public ZKGFObject {
public:
    virtual bool complexityForFamilyNameAddOnNameOutValue(const std::string& familyName, const std::string& addOnName,
        float& outValue) const = 0;
};

// One matrix per pattern family, rows the letters of add-on names, columns
// "front", "mid" and "back". Keyed archive: "matrices".
class CGenGFComplexityMatrix : public CGenGFComplexityTable {
public:
    static constexpr const char* kClassName = "CGenGFComplexityMatrix";

    // Every "*.csv" of the folder, the file name without extension as family
    // name; files that don't parse are left out. False when the folder can't
    // be read or the table can't be changed.
    virtual bool importFromFolder(const TGenUrl& folder);
    // False (the family left as it was) when the text doesn't parse or the
    // table can't be changed.
    virtual bool importCSVForFamily(const std::string& csv, const std::string& familyName);
    // The add-on name must have exactly 3 letters a, b, c: the sum of
    // [a]["front"], [b]["mid"] and [c]["back"]; any missing cell gives false.
    bool complexityForFamilyNameAddOnNameOutValue(const std::string& familyName, const std::string& addOnName,
        float& outValue) const override;
    // Sorted.
    std::vector<std::string> familyNames() const;
    const std::map<std::string, CGenGFMatrix>& matrices() const { return mMatrices; }

    std::string CodingClassName() const override { return kClassName; }
    void EncodeWithCoder(TGenDict& coder) const override;
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry& registry, std::string* outError);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFComplexityMatrix>(*this); }
    std::string Description() const override;

protected:
    bool _decodeMatrices(const TGenDict& coder, std::string* outError);

    std::map<std::string, CGenGFMatrix> mMatrices;
};

// A complexity table that imports only while canBeMutated is set: the
// standard tables are filled once and read only afterwards.
class CGenGFComplexityMatrixImmutable : public CGenGFComplexityMatrix {
public:
    static constexpr const char* kClassName = "CGenGFComplexityMatrixImmutable";

    bool canBeMutated() const { return mCanBeMutated; }
    void setCanBeMutated(bool on) { mCanBeMutated = on; }
    bool importFromFolder(const TGenUrl& folder) override;
    bool importCSVForFamily(const std::string& csv, const std::string& familyName) override;

    std::string CodingClassName() const override { return kClassName; }
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry& registry, std::string* outError);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFComplexityMatrixImmutable>(*this); }

private:
    bool mCanBeMutated = false;
};

// Two matrices per pattern family, front and back, rows and columns the
// letters of add-on names. Keyed archive: "matrices" (family -> [front, back]).
class CGenGFMainPatternRatingMatrix : public ZKGFObject {
public:
    static constexpr const char* kClassName = "CGenGFMainPatternRatingMatrix";
    static constexpr const char* kFrontFileName = "front.csv";
    static constexpr const char* kBackFileName = "back.csv";

    // Each sub-folder holding both "front.csv" and "back.csv" gives the
    // family of its name. False when the folder can't be read or the table
    // can't be changed.
    virtual bool importFromFolder(const TGenUrl& folder);
    virtual bool importFromSubFolder(const TGenUrl& subFolder);
    // Both must parse, else the family stays as it was.
    virtual bool importCSVFrontCSVBackForPatternFamily(const std::string& front, const std::string& back,
        const std::string& familyName);
    // The add-on name must have exactly 3 letters a, b, c: the greater of
    // front[a][b] and back[b][c]; false when either cell is missing.
    bool mainPatternRatingForFamilyNameAddOnNameOutValue(const std::string& familyName, const std::string& addOnName,
        float& outValue) const;
    std::vector<std::string> familyNames() const;
    const std::map<std::string, std::array<CGenGFMatrix, 2>>& matrices() const { return mMatrices; }

    std::string CodingClassName() const override { return kClassName; }
    void EncodeWithCoder(TGenDict& coder) const override;
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry& registry, std::string* outError);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFMainPatternRatingMatrix>(*this); }
    std::string Description() const override;

protected:
    bool _decodeMatrices(const TGenDict& coder, std::string* outError);

    std::map<std::string, std::array<CGenGFMatrix, 2>> mMatrices;
};

class CGenGFMainPatternRatingMatrixImmutable : public CGenGFMainPatternRatingMatrix {
public:
    static constexpr const char* kClassName = "CGenGFMainPatternRatingMatrixImmutable";

    bool canBeMutated() const { return mCanBeMutated; }
    void setCanBeMutated(bool on) { mCanBeMutated = on; }
    bool importFromFolder(const TGenUrl& folder) override;
    bool importFromSubFolder(const TGenUrl& subFolder) override;
    bool importCSVFrontCSVBackForPatternFamily(const std::string& front, const std::string& back,
        const std::string& familyName) override;

    std::string CodingClassName() const override { return kClassName; }
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry& registry, std::string* outError);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFMainPatternRatingMatrixImmutable>(*this); }

private:
    bool mCanBeMutated = false;
};

// Bass patterns: the family string has 3 letters, each looked up in
// matrix1 under its position ("0", "1", "2"); the bass pattern name has 4,
// each looked up in matrix2 under its position ("0" to "3"). The complexity
// is the sum of the seven cells. Keyed archive: "matrix1", "matrix2".
class CGenGFBassPatternComplexityMatrix : public CGenGFComplexityTable {
public:
    static constexpr const char* kClassName = "CGenGFBassPatternComplexityMatrix";

    bool complexityForFamilyNameAddOnNameOutValue(const std::string& familyName, const std::string& addOnName,
        float& outValue) const override;
    const CGenGFMatrix& matrix1() const { return mMatrix1; }
    void setMatrix1(const CGenGFMatrix& m) { mMatrix1 = m; }
    const CGenGFMatrix& matrix2() const { return mMatrix2; }
    void setMatrix2(const CGenGFMatrix& m) { mMatrix2 = m; }

    std::string CodingClassName() const override { return kClassName; }
    void EncodeWithCoder(TGenDict& coder) const override;
    static std::unique_ptr<ZKCoding> DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry& registry, std::string* outError);
    std::shared_ptr<ZKGFObject> CopyObject() const override { return std::make_shared<CGenGFBassPatternComplexityMatrix>(*this); }
    std::string Description() const override;

private:
    CGenGFMatrix mMatrix1;
    CGenGFMatrix mMatrix2;
};

namespace zkgen {
// ASCII lower case, as the tables keep their labels.
std::string LowercasedLabel(const std::string& s);
} // namespace zkgen
