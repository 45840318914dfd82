// A rating table as authors export it from a spreadsheet: any text. A table
// that parses is written out again, and that text must parse to the same
// table.

#include "FuzzSupport.h"

#include "Generator/stylegraph/CGenGFMatrix.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);
    CGenGFMatrix matrix;
    if (!matrix.parseCSVString(text))
        return 0;
    const std::string written = matrix.csvString();
    CGenGFMatrix again;
    // A table without rows writes a header only, which is no table.
    if (!again.parseCSVString(written)) {
        if (!matrix.sortedRowDictKeys().empty())
            zkfuzz::Fail("a rating table written out does not parse");
        return 0;
    }
    if (again.csvString() != written)
        zkfuzz::Fail("a rating table written out reads as another table");
    return 0;
}
