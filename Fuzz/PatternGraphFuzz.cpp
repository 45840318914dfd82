// A layer's pattern graph read alone from a text archive, as the library
// and the content tools read it.

#include "FuzzSupport.h"

#include "Generator/CGenArchiveIO.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    CGenPatternGraphBoost graph;
    zkgen::LoadTextArchiveFromData(graph, zkfuzz::Bytes(data, size));
    return 0;
}
