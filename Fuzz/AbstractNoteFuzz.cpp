// The text form of abstract notes ("{n5[cM3+0,cn64+3]}"). Whatever reads
// must print to a text that reads as the same note and prints the same.

#include "FuzzSupport.h"

#include "Generator/harmony/CAbstractNote.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    zkfuzz::SilenceLog();
    const std::string text(reinterpret_cast<const char*>(data), size);

    CAbstractOffsets offsets;
    size_t used = 0;
    if (offsets.SetFromString(text, &used)) {
        if (used > text.size())
            zkfuzz::Fail("an offset list read more than its text");
        CAbstractOffsets back;
        const std::string printed = offsets.ToString();
        // An empty list prints as nothing, which is no list.
        if (!offsets.empty() && (!back.SetFromString(printed) || back != offsets || back.ToString() != printed))
            zkfuzz::Fail("an offset list doesn't read back as printed");
    }

    // An empty text reads as "no change", not as a note.
    if (text.empty())
        return 0;
    CAbstractNote note;
    if (!note.SetFromString(text))
        return 0;
    const std::string printed = note.ToString();
    CAbstractNote back;
    if (!back.SetFromString(printed))
        zkfuzz::Fail("a note's printed text doesn't read");
    if (!(back == note))
        zkfuzz::Fail("a note's printed text reads as another note");
    if (back.ToString() != printed)
        zkfuzz::Fail("a note prints differently after a round trip");
    return 0;
}
