#include "Generator/library/CGenPatternsPool.h"

#include "Generator/CGenArchiveIO.h"

namespace zkgen {

TGenData TPatternsPoolCodec::Encode(const CGenPatterns& patterns)
{
    return SaveTextArchiveToData(patterns);
}

bool TPatternsPoolCodec::Decode(const TGenData& data, CGenPatterns& patterns)
{
    CGenPatterns read;
    if (!LoadTextArchiveFromData(read, data))
        return false;
    patterns = std::move(read);
    return true;
}

} // namespace zkgen
