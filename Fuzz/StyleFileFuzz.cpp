// A style file, read through the style list as a generation reads it. The
// bytes go in twice: as the file itself, which mostly tests the
// decompression, and compressed by us, so that the keyed archive and the
// graphs behind the compression see the fuzzer's bytes too.

#include "FuzzSupport.h"

#include "Generator/stylegraph/CGenStyle.h"
#include "Generator/stylegraph/CGenStyleGraphDump.h"
#include "Platform/ZKCompression.h"

namespace {

void LoadAndUse(CGenStyles& styles, const uint8_t* data, size_t size)
{
    CGenStyle style("Fuzz");
    style.SetUniqueID("0");
    zkfuzz::WriteFile(styles.StyleGraphsURLForStyle(style), data, size);
    if (!styles.LoadStyleGraphsIfNotCachedAlready(style))
        return;
    // What the authoring tools do with a loaded style: show it, copy it and
    // write it back; what was written must read again.
    const CGenStyleGraphs& graphs = style.StyleGraphs();
    CGenStyleGraphDump::TextForStyleGraphs(graphs);
    CGenStyleGraphDump::DotForStyleGraphs(graphs);
    const CGenStyleGraphs copy(graphs);
    if (const auto bytes = graphs.EncodeToFileData()) {
        CGenStyleGraphs again;
        if (!again.DecodeFromFileData(*bytes))
            zkfuzz::Fail("a style file written from loaded graphs doesn't read");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    CGenStyles styles;
    styles.SetStyleGraphsFolderURL(zkfuzz::ScratchFolder::Path() / "StyleGraphs");
    LoadAndUse(styles, data, size);
    if (const auto compressed = zkCompressedDataWithCompressionLevel(zkfuzz::Bytes(data, size), 1))
        LoadAndUse(styles, compressed->data(), compressed->size());
    return 0;
}
