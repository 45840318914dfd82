#include "Generator/CGenBitmask.h"

#include <iomanip>

void CGenBitmask::TraceStream(std::ostream& os) const
{
    std::ios::fmtflags f(os.flags());
    os << "0x" << std::hex << mBitmask;
    os.flags(f);
}

std::ostream& operator<<(std::ostream& os, const CGenBitmask& m)
{
    m.TraceStream(os);
    return os;
}
