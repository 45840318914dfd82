#include "Generator/patterns/CGenPatternCoord.h"

#include <sstream>

namespace {
std::string CoordName(const char* label, float c, float i)
{
    std::ostringstream os;
    os << label;
    if (GenIsUndef(c))
        os << "_CUndef";
    else
        os << "_C" << c;
    if (GenIsUndef(i))
        os << "_IUndef";
    else
        os << "_I" << i;
    return os.str();
}
} // namespace

std::string CGenPatternCoordInt::Name() const { return CoordName(" Int", mComplInt, mIntnInt); }
std::string CGenPatternCoordExt::Name() const { return CoordName(" Ext", mCompl, mIntn); }

float CGenPatternCoordConv::ExtToIntComponent(float ext, float min, float max)
{
    if (GenIsUndef(ext))
        return TComplInt_Undef;
    if (GenIsUndef(min) || GenIsUndef(max))
        return ext;
    return (max - min) * (ext / 100.0f) + min;
}

CGenPatternCoordInt CGenPatternCoordConv::ExtToInt(const CGenPatternCoordExt& ext) const
{
    return CGenPatternCoordInt(ExtToIntComponent(ext.mCompl, mMinComplInt, mMaxComplInt),
        ExtToIntComponent(ext.mIntn, mMinIntnInt, mMaxIntnInt));
}

void CGenPatternCoordConv::TraceStream(std::ostream& os) const
{
    os << "CGenPatternCoordConv compl " << mMinComplInt << ".." << mMaxComplInt << " intn " << mMinIntnInt << ".."
       << mMaxIntnInt;
}

std::ostream& operator<<(std::ostream& os, const CGenPatternCoordInt& c) { return os << c.Name(); }
std::ostream& operator<<(std::ostream& os, const CGenPatternCoordExt& c) { return os << c.Name(); }
