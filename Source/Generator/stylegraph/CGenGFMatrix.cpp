#include "Generator/stylegraph/CGenGFMatrix.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <system_error>

namespace {

std::vector<std::string> Split(const std::string& s, char separator)
{
    std::vector<std::string> parts;
    size_t start = 0;
    while (true) {
        const size_t at = s.find(separator, start);
        if (at == std::string::npos) {
            parts.push_back(s.substr(start));
            return parts;
        }
        parts.push_back(s.substr(start, at - start));
        start = at + 1;
    }
}

// A cell's number the way the tables were always read: the leading number as
// a float (0 when there is none), kept as a double.
double CellNumber(const std::string& cell)
{
    const double d = zkgen::LeadingDouble(cell);
    if (std::isnan(d))
        return d;
    if (d > FLT_MAX)
        return HUGE_VAL;
    if (d < -FLT_MAX)
        return -HUGE_VAL;
    return static_cast<double>(static_cast<float>(d));
}

std::string FormatCell(double v)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.9g", v);
    return buffer;
}

std::optional<std::string> ReadText(const TGenUrl& path)
{
    const std::optional<TGenData> data = ZKFileRead(path);
    if (!data)
        return std::nullopt;
    return std::string(data->begin(), data->end());
}

// The entries of a folder, sorted by name so that imports are repeatable.
std::vector<std::filesystem::path> SortedEntries(const TGenUrl& folder, bool directories, bool* outOk)
{
    std::vector<std::filesystem::path> entries;
    std::error_code ec;
    std::filesystem::directory_iterator it(folder, ec);
    *outOk = !ec;
    if (ec)
        return entries;
    for (const auto& entry : it) {
        std::error_code typeError;
        const bool isDirectory = entry.is_directory(typeError);
        if (typeError)
            continue;
        if (directories ? isDirectory : entry.is_regular_file(typeError))
            entries.push_back(entry.path());
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

std::string Letter(const std::string& name, size_t i)
{
    return std::string(1, name[i]);
}

template <class TMap>
std::vector<std::string> SortedKeys(const TMap& map)
{
    std::vector<std::string> keys;
    for (const auto& [key, value] : map)
        keys.push_back(key);
    return keys; // std::map iterates in order
}

void Fail(std::string* outError, const std::string& message)
{
    if (outError)
        *outError = message;
}

} // namespace

std::string zkgen::LowercasedLabel(const std::string& s)
{
    std::string out = s;
    for (char& c : out)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return out;
}

// ----- CGenGFMatrix

std::string CGenGFMatrix::normalizedCSVStringFromString(const std::string& csv)
{
    std::string out;
    out.reserve(csv.size());
    for (char c : csv) {
        if (c == ' ' || c == '\t' || c == '\r')
            continue;
        out.push_back(c == ',' ? ';' : c);
    }
    return zkgen::LowercasedLabel(out);
}

bool CGenGFMatrix::parseCSVFileAtPath(const TGenUrl& path)
{
    const std::optional<std::string> text = ReadText(path);
    return text && parseCSVString(*text);
}

bool CGenGFMatrix::parseCSVString(const std::string& csv)
{
    const std::vector<std::string> lines = Split(normalizedCSVStringFromString(csv), '\n');
    if (lines.size() < 2)
        return false;
    const std::vector<std::string> header = Split(lines[0], ';');
    if (header.size() < 2)
        return false;
    mRowDict.clear();
    for (size_t l = 1; l < lines.size(); ++l) {
        const std::vector<std::string> cells = Split(lines[l], ';');
        if (cells.size() < 2)
            continue;
        if (cells[0].empty())
            return false;
        TRow row;
        const size_t n = std::min(cells.size(), header.size());
        for (size_t i = 1; i < n; ++i) {
            if (header[i].empty() || cells[i].empty())
                break;
            row[header[i]] = CellNumber(cells[i]);
        }
        mRowDict[cells[0]] = std::move(row);
    }
    return true;
}

bool CGenGFMatrix::valueForRowColOutValue(const std::string& row, const std::string& col, float& outValue) const
{
    const auto r = mRowDict.find(row);
    if (r == mRowDict.end())
        return false;
    const auto c = r->second.find(col);
    if (c == r->second.end())
        return false;
    outValue = static_cast<float>(c->second);
    return true;
}

std::vector<std::string> CGenGFMatrix::sortedRowDictKeys() const
{
    return SortedKeys(mRowDict);
}

std::string CGenGFMatrix::csvString() const
{
    std::vector<std::string> columns;
    for (const auto& [label, row] : mRowDict)
        for (const auto& [col, value] : row)
            columns.push_back(col);
    std::sort(columns.begin(), columns.end());
    columns.erase(std::unique(columns.begin(), columns.end()), columns.end());
    std::string out;
    for (const std::string& col : columns)
        out += ";" + col;
    out += "\n";
    for (const auto& [label, row] : mRowDict) {
        out += label;
        for (const std::string& col : columns) {
            out += ";";
            if (const auto it = row.find(col); it != row.end())
                out += FormatCell(it->second);
        }
        out += "\n";
    }
    return out;
}

void CGenGFMatrix::EncodeWithCoder(TGenDict& coder) const
{
    TGenDict rows;
    for (const auto& [label, row] : mRowDict) {
        TGenDict cells;
        for (const auto& [col, value] : row)
            cells.SetValueForKey(value, col);
        rows.SetValueForKey(std::move(cells), label);
    }
    coder.SetValueForKey(std::move(rows), "rowDict");
}

std::unique_ptr<ZKCoding> CGenGFMatrix::DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry&,
    std::string* outError)
{
    auto matrix = std::make_unique<CGenGFMatrix>();
    const TGenDictValue* stored = coder.ValueForKey("rowDict");
    if (!stored)
        return matrix;
    const TGenDict* rows = stored->AsDict();
    if (!rows) {
        Fail(outError, "\"rowDict\" of a CGenGFMatrix is no dictionary");
        return nullptr;
    }
    for (const auto& [label, row] : *rows) {
        const TGenDict* cells = row.AsDict();
        if (!cells) {
            Fail(outError, "row \"" + label.ToString() + "\" of a CGenGFMatrix is no dictionary");
            return nullptr;
        }
        TRow& out = matrix->mRowDict[label.ToString()];
        for (const auto& [col, value] : *cells) {
            if (!value.IsNumber()) {
                Fail(outError, "cell \"" + label.ToString() + "\"/\"" + col.ToString() + "\" of a CGenGFMatrix is no number");
                return nullptr;
            }
            out[col.ToString()] = value.AsDouble();
        }
    }
    return matrix;
}

std::string CGenGFMatrix::Description() const
{
    std::vector<std::string> columns;
    for (const auto& [label, row] : mRowDict)
        for (const auto& [col, value] : row)
            columns.push_back(col);
    std::sort(columns.begin(), columns.end());
    columns.erase(std::unique(columns.begin(), columns.end()), columns.end());
    std::ostringstream os;
    os << "<CGenGFMatrix " << mRowDict.size() << "x" << columns.size();
    const char* separator = ": ";
    for (const auto& [label, row] : mRowDict) {
        os << separator << label << " {";
        const char* cellSeparator = "";
        for (const auto& [col, value] : row) {
            os << cellSeparator << col << "=" << FormatCell(value);
            cellSeparator = "; ";
        }
        os << "}";
        separator = "; ";
    }
    os << ">";
    return os.str();
}

TGenDictValue CGenGFMatrix::EncodedMatrix(const CGenGFMatrix& m)
{
    return TGenDictValue(ZKCodingEncodeObject(m));
}

bool CGenGFMatrix::DecodeMatrix(const TGenDictValue* stored, CGenGFMatrix& out, std::string* outError)
{
    const TGenDict* dict = stored ? stored->AsDict() : nullptr;
    if (!dict || dict->StringForKey(kZKCodingClassKey) != kClassName) {
        Fail(outError, "a CGenGFMatrix is expected");
        return false;
    }
    ZKCodingClassRegistry none;
    std::unique_ptr<ZKCoding> decoded = DecodeWithCoder(*dict, none, outError);
    if (!decoded)
        return false;
    out = static_cast<CGenGFMatrix&>(*decoded);
    return true;
}

// ----- CGenGFComplexityMatrix

bool CGenGFComplexityMatrix::importFromFolder(const TGenUrl& folder)
{
    bool ok = false;
    for (const std::filesystem::path& file : SortedEntries(folder, false, &ok)) {
        if (ZKUrlPathExtension(file) != "csv")
            continue;
        if (const std::optional<std::string> text = ReadText(file))
            importCSVForFamily(*text, ZKUrlLastPathComponent(ZKUrlByDeletingPathExtension(file)));
    }
    return ok;
}

bool CGenGFComplexityMatrix::importCSVForFamily(const std::string& csv, const std::string& familyName)
{
    CGenGFMatrix matrix;
    if (!matrix.parseCSVString(csv))
        return false;
    mMatrices[familyName] = std::move(matrix);
    return true;
}

bool CGenGFComplexityMatrix::complexityForFamilyNameAddOnNameOutValue(const std::string& familyName,
    const std::string& addOnName, float& outValue) const
{
    const auto it = mMatrices.find(familyName);
    if (it == mMatrices.end() || addOnName.size() != 3)
        return false;
    float front = 0.0f;
    float mid = 0.0f;
    float back = 0.0f;
    if (!it->second.valueForRowColOutValue(Letter(addOnName, 0), "front", front)
        || !it->second.valueForRowColOutValue(Letter(addOnName, 1), "mid", mid)
        || !it->second.valueForRowColOutValue(Letter(addOnName, 2), "back", back))
        return false;
    outValue = front + mid + back;
    return true;
}

std::vector<std::string> CGenGFComplexityMatrix::familyNames() const
{
    return SortedKeys(mMatrices);
}

void CGenGFComplexityMatrix::EncodeWithCoder(TGenDict& coder) const
{
    TGenDict matrices;
    for (const auto& [family, matrix] : mMatrices)
        matrices.SetValueForKey(CGenGFMatrix::EncodedMatrix(matrix), family);
    coder.SetValueForKey(std::move(matrices), "matrices");
}

bool CGenGFComplexityMatrix::_decodeMatrices(const TGenDict& coder, std::string* outError)
{
    const TGenDictValue* stored = coder.ValueForKey("matrices");
    if (!stored)
        return true;
    const TGenDict* matrices = stored->AsDict();
    if (!matrices) {
        Fail(outError, "\"matrices\" of a complexity table is no dictionary");
        return false;
    }
    for (const auto& [family, value] : *matrices)
        if (!CGenGFMatrix::DecodeMatrix(&value, mMatrices[family.ToString()], outError))
            return false;
    return true;
}

std::unique_ptr<ZKCoding> CGenGFComplexityMatrix::DecodeWithCoder(const TGenDict& coder, const ZKCodingClassRegistry&,
    std::string* outError)
{
    auto table = std::make_unique<CGenGFComplexityMatrix>();
    return table->_decodeMatrices(coder, outError) ? std::move(table) : nullptr;
}

std::string CGenGFComplexityMatrix::Description() const
{
    std::string out = "<" + CodingClassName() + ":";
    for (const auto& [family, matrix] : mMatrices)
        out += " " + family + " " + matrix.Description();
    return out + ">";
}

bool CGenGFComplexityMatrixImmutable::importFromFolder(const TGenUrl& folder)
{
    return mCanBeMutated && CGenGFComplexityMatrix::importFromFolder(folder);
}

bool CGenGFComplexityMatrixImmutable::importCSVForFamily(const std::string& csv, const std::string& familyName)
{
    return mCanBeMutated && CGenGFComplexityMatrix::importCSVForFamily(csv, familyName);
}

std::unique_ptr<ZKCoding> CGenGFComplexityMatrixImmutable::DecodeWithCoder(const TGenDict& coder,
    const ZKCodingClassRegistry&, std::string* outError)
{
    auto table = std::make_unique<CGenGFComplexityMatrixImmutable>();
    return table->_decodeMatrices(coder, outError) ? std::move(table) : nullptr;
}

// ----- CGenGFMainPatternRatingMatrix

bool CGenGFMainPatternRatingMatrix::importFromFolder(const TGenUrl& folder)
{
    bool ok = false;
    for (const std::filesystem::path& sub : SortedEntries(folder, true, &ok))
        importFromSubFolder(sub);
    return ok;
}

bool CGenGFMainPatternRatingMatrix::importFromSubFolder(const TGenUrl& subFolder)
{
    const TGenUrl frontPath = ZKUrlByAppendingPathComponent(subFolder, kFrontFileName);
    const TGenUrl backPath = ZKUrlByAppendingPathComponent(subFolder, kBackFileName);
    if (!ZKFileExists(frontPath) || !ZKFileExists(backPath))
        return false;
    const std::optional<std::string> front = ReadText(frontPath);
    const std::optional<std::string> back = ReadText(backPath);
    return front && back && importCSVFrontCSVBackForPatternFamily(*front, *back, ZKUrlLastPathComponent(subFolder));
}

bool CGenGFMainPatternRatingMatrix::importCSVFrontCSVBackForPatternFamily(const std::string& front,
    const std::string& back, const std::string& familyName)
{
    std::array<CGenGFMatrix, 2> pair;
    if (!pair[0].parseCSVString(front) || !pair[1].parseCSVString(back))
        return false;
    mMatrices[familyName] = std::move(pair);
    return true;
}

bool CGenGFMainPatternRatingMatrix::mainPatternRatingForFamilyNameAddOnNameOutValue(const std::string& familyName,
    const std::string& addOnName, float& outValue) const
{
    const auto it = mMatrices.find(familyName);
    if (it == mMatrices.end() || addOnName.size() != 3)
        return false;
    float front = 0.0f;
    float back = 0.0f;
    if (!it->second[0].valueForRowColOutValue(Letter(addOnName, 0), Letter(addOnName, 1), front)
        || !it->second[1].valueForRowColOutValue(Letter(addOnName, 1), Letter(addOnName, 2), back))
        return false;
    outValue = std::max(front, back);
    return true;
}

std::vector<std::string> CGenGFMainPatternRatingMatrix::familyNames() const
{
    return SortedKeys(mMatrices);
}

void CGenGFMainPatternRatingMatrix::EncodeWithCoder(TGenDict& coder) const
{
    TGenDict matrices;
    for (const auto& [family, pair] : mMatrices)
        matrices.SetValueForKey(TGenArray {CGenGFMatrix::EncodedMatrix(pair[0]), CGenGFMatrix::EncodedMatrix(pair[1])}, family);
    coder.SetValueForKey(std::move(matrices), "matrices");
}

bool CGenGFMainPatternRatingMatrix::_decodeMatrices(const TGenDict& coder, std::string* outError)
{
    const TGenDictValue* stored = coder.ValueForKey("matrices");
    if (!stored)
        return true;
    const TGenDict* matrices = stored->AsDict();
    if (!matrices) {
        Fail(outError, "\"matrices\" of a main pattern rating table is no dictionary");
        return false;
    }
    for (const auto& [family, value] : *matrices) {
        const TGenArray* pair = value.AsArray();
        if (!pair || pair->size() != 2) {
            Fail(outError, "family \"" + family.ToString() + "\" of a main pattern rating table needs two matrices");
            return false;
        }
        std::array<CGenGFMatrix, 2>& out = mMatrices[family.ToString()];
        if (!CGenGFMatrix::DecodeMatrix(&(*pair)[0], out[0], outError)
            || !CGenGFMatrix::DecodeMatrix(&(*pair)[1], out[1], outError))
            return false;
    }
    return true;
}

std::unique_ptr<ZKCoding> CGenGFMainPatternRatingMatrix::DecodeWithCoder(const TGenDict& coder,
    const ZKCodingClassRegistry&, std::string* outError)
{
    auto table = std::make_unique<CGenGFMainPatternRatingMatrix>();
    return table->_decodeMatrices(coder, outError) ? std::move(table) : nullptr;
}

std::string CGenGFMainPatternRatingMatrix::Description() const
{
    std::string out = "<" + CodingClassName() + ":";
    for (const auto& [family, pair] : mMatrices)
        out += " " + family + " front " + pair[0].Description() + " back " + pair[1].Description();
    return out + ">";
}

bool CGenGFMainPatternRatingMatrixImmutable::importFromFolder(const TGenUrl& folder)
{
    return mCanBeMutated && CGenGFMainPatternRatingMatrix::importFromFolder(folder);
}

bool CGenGFMainPatternRatingMatrixImmutable::importFromSubFolder(const TGenUrl& subFolder)
{
    return mCanBeMutated && CGenGFMainPatternRatingMatrix::importFromSubFolder(subFolder);
}

bool CGenGFMainPatternRatingMatrixImmutable::importCSVFrontCSVBackForPatternFamily(const std::string& front,
    const std::string& back, const std::string& familyName)
{
    return mCanBeMutated && CGenGFMainPatternRatingMatrix::importCSVFrontCSVBackForPatternFamily(front, back, familyName);
}

std::unique_ptr<ZKCoding> CGenGFMainPatternRatingMatrixImmutable::DecodeWithCoder(const TGenDict& coder,
    const ZKCodingClassRegistry&, std::string* outError)
{
    auto table = std::make_unique<CGenGFMainPatternRatingMatrixImmutable>();
    return table->_decodeMatrices(coder, outError) ? std::move(table) : nullptr;
}

// ----- CGenGFBassPatternComplexityMatrix

bool CGenGFBassPatternComplexityMatrix::complexityForFamilyNameAddOnNameOutValue(const std::string& familyName,
    const std::string& addOnName, float& outValue) const
{
    if (familyName.size() != 3 || addOnName.size() != 4)
        return false;
    float sum = 0.0f;
    for (size_t i = 0; i < 3; ++i) {
        float v = 0.0f;
        if (!mMatrix1.valueForRowColOutValue(Letter(familyName, i), std::to_string(i), v))
            return false;
        sum += v;
    }
    for (size_t i = 0; i < 4; ++i) {
        float v = 0.0f;
        if (!mMatrix2.valueForRowColOutValue(Letter(addOnName, i), std::to_string(i), v))
            return false;
        sum += v;
    }
    outValue = sum;
    return true;
}

void CGenGFBassPatternComplexityMatrix::EncodeWithCoder(TGenDict& coder) const
{
    coder.SetValueForKey(CGenGFMatrix::EncodedMatrix(mMatrix1), "matrix1");
    coder.SetValueForKey(CGenGFMatrix::EncodedMatrix(mMatrix2), "matrix2");
}

std::unique_ptr<ZKCoding> CGenGFBassPatternComplexityMatrix::DecodeWithCoder(const TGenDict& coder,
    const ZKCodingClassRegistry&, std::string* outError)
{
    auto table = std::make_unique<CGenGFBassPatternComplexityMatrix>();
    for (const auto& [key, matrix] : {std::pair {"matrix1", &table->mMatrix1}, std::pair {"matrix2", &table->mMatrix2}})
        if (const TGenDictValue* stored = coder.ValueForKey(key); stored && !CGenGFMatrix::DecodeMatrix(stored, *matrix, outError))
            return nullptr;
    return table;
}

std::string CGenGFBassPatternComplexityMatrix::Description() const
{
    return "<CGenGFBassPatternComplexityMatrix: matrix1 " + mMatrix1.Description() + " matrix2 " + mMatrix2.Description() + ">";
}
