// The TOML source of a style, as the content compiler reads it: modules of
// any class set up by the file's values, and connections between their
// ports. Mistakes end as TContentError; anything else that leaves the
// reader is a fault. A style that reads is then treated as the compiler and
// the authoring tools treat it: shown, copied, and stored as a style file,
// which must read again.

#include "FuzzSupport.h"

#include "content/ContentError.h"
#include "content/StyleSource.h"

#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphDump.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);
    CGenStyle style;
    try {
        zkgen::cli::ParseStyleSource(text, "fuzz.toml", style);
    } catch (const zkgen::cli::TContentError&) {
        return 0;
    }
    const CGenStyleGraphs& graphs = style.StyleGraphs();
    CGenStyleGraphDump::TextForStyleGraphs(graphs);
    CGenStyleGraphDump::DotForStyleGraphs(graphs);
    const CGenStyleGraphs copy(graphs);
    CGenStyleGraphDump::TextForStyleGraphs(copy);
    // A style without graphs has nothing to store.
    if (!graphs.HasEntries())
        return 0;
    // Values no archive holds are refused by the encoder; that is no failure.
    if (const auto bytes = graphs.EncodeToFileData()) {
        CGenStyleGraphs again;
        std::string error;
        if (!again.DecodeFromFileData(*bytes, &error))
            zkfuzz::Fail("a style file written from a style source doesn't read");
    }
    return 0;
}
