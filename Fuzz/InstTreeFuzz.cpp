// An instrument tree read from a text archive.

#include "FuzzSupport.h"

#include "Generator/CGenArchiveIO.h"
#include "Generator/instruments/CGenInstTree.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    CGenInstTree tree;
    if (zkgen::LoadTextArchiveFromData(tree, zkfuzz::Bytes(data, size))) {
        // What a library does with a tree it read: copy it and look paths up.
        const CGenInstTree copy(tree);
        copy.FindUidWithPath("Drums.Hh[note.hit;note.foot]");
        copy.FindEntryCollectionWithPath("Drums.Sn");
    }
    return 0;
}
