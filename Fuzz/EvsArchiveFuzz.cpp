// An event list's file: CGenEvs::DeserializeFromPath on any bytes.

#include "FuzzSupport.h"

#include "Generator/CGenEvs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::filesystem::path path = zkfuzz::ScratchFolder::Path() / "evs.txt";
    zkfuzz::WriteFile(path, data, size);
    CGenEvs evs;
    evs.DeserializeFromPath(path.string());
    return 0;
}
