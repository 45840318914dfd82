// The library archive ("library.glib"): CGenGenerator::DeserializeFromPath
// on any bytes, which tries a text archive and then a binary one.

#include "FuzzSupport.h"

#include "Generator/CGenGenerator.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::filesystem::path path = zkfuzz::ScratchFolder::Path() / "library.glib";
    zkfuzz::WriteFile(path, data, size);
    CGenGenerator generator;
    generator.DeserializeFromPath(path.string());
    return 0;
}
