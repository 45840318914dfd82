// A file of the pattern pool. The same bytes go into a bundle's pool folder
// as a plain list ("a.pp") and as a compressed one ("b.ppz"), so that one
// input reaches both readers.

#include "FuzzSupport.h"

#include "Generator/library/CGenPatternsPool.h"
#include "Generator/library/CGeneratorLibraryBundleLocations.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const CGeneratorLibraryBundleLocations places(zkfuzz::ScratchFolder::Path() / "Pool.glibb");
    const std::filesystem::path folder = places.PatternPoolFolderURL();
    zkfuzz::WriteFile(folder / "a.pp", data, size);
    zkfuzz::WriteFile(folder / "b.ppz", data, size);
    CGenPatternsPool pool(&places);
    pool.patternsForIdentifier("a");
    pool.patternsForIdentifier("b");
    return 0;
}
