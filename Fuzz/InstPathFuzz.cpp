// The instrument path language ("Drums.Tm[pitch.1;stroke.s1]"): the parser
// alone, kept and sorted, and the lookups in the drum tree that use it.

#include "FuzzSupport.h"

#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CGenInstTreePathParser.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);
    CGenInstTreePathParser kept(text, CGenInstTreePathParser::TSort_Keep);
    CGenInstTreePathParser sorted(text, CGenInstTreePathParser::TSort_Sorted);
    std::vector<std::string> paths = kept.results();
    std::sort(paths.begin(), paths.end());
    if (paths != sorted.results())
        zkfuzz::Fail("the sorted expansion isn't the kept one in order");
    const CGenInstTree& tree = GenDrumInstTreeV1();
    tree.FindUidWithPath(text);
    tree.FindEntryCollectionWithPath(text);
    return 0;
}
