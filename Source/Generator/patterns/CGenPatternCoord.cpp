#include "Generator/patterns/CGenPatternCoord.h"

#include "Generator/CGenGeneratorParams.h"

#include <algorithm>
#include <cmath>
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
// |a - b|, or 0 when either side is undefined: an unknown value is no distance.
float AxisDist(float a, float b) { return (GenIsUndef(a) || GenIsUndef(b)) ? 0.0f : std::fabs(a - b); }

// The distance of two axis distances already on the 0..1 scale.
float PlaneDist(float dc, float di) { return std::min(1.0f, std::sqrt(0.5f * dc * dc + 0.5f * di * di)); }

float AddAndClampAxis(float v, float other)
{
    if (GenIsUndef(v))
        return other;
    if (GenIsUndef(other))
        return v;
    return std::clamp(v + other, 0.0f, 100.0f);
}

float AddScaledAndClampAxis(float v, float other, float scale)
{
    if (GenIsUndef(other))
        return v;
    if (GenIsUndef(v))
        return other * scale;
    return std::clamp(v + other * scale, 0.0f, 100.0f);
}

} // namespace

float CGenPatternCoordInt::IntEuclideanDistDisregardingUndefPercent(const CGenPatternCoordInt& other) const
{
    return PlaneDist(AxisDist(mComplInt, other.mComplInt) / 100.0f, AxisDist(mIntnInt, other.mIntnInt) / 100.0f);
}

float CGenPatternCoordInt::ExtEuclideanDistDisregardingUndefPercent(const CGenPatternCoordInt& other,
    const CGenPatternCoordConv& conv) const
{
    const float dc = AxisDist(mComplInt, other.mComplInt) / 100.0f / (conv.mMaxComplInt - conv.mMinComplInt) * 100.0f;
    const float di = AxisDist(mIntnInt, other.mIntnInt) / 100.0f / (conv.mMaxIntnInt - conv.mMinIntnInt) * 100.0f;
    return PlaneDist(dc, di);
}

void CGenPatternCoordInt::AddAndClampRegardingUndef(const CGenPatternCoordInt& other)
{
    mComplInt = AddAndClampAxis(mComplInt, other.mComplInt);
    mIntnInt = AddAndClampAxis(mIntnInt, other.mIntnInt);
}

void CGenPatternCoordInt::AddScaledAndClampRegardingUndef(const CGenPatternCoordInt& other, float scaleCompl,
    float scaleIntn)
{
    mComplInt = AddScaledAndClampAxis(mComplInt, other.mComplInt, scaleCompl);
    mIntnInt = AddScaledAndClampAxis(mIntnInt, other.mIntnInt, scaleIntn);
}

void CGenPatternCoordExt::AddScaledAndClampRegardingUndef(const CGenPatternCoordExt& other, float scaleCompl,
    float scaleIntn)
{
    mCompl = AddScaledAndClampAxis(mCompl, other.mCompl, scaleCompl);
    mIntn = AddScaledAndClampAxis(mIntn, other.mIntn, scaleIntn);
}

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

float CGenPatternCoordConv::IntToExtComponent(float intValue, float min, float max)
{
    if (GenIsUndef(intValue))
        return TComplInt_Undef;
    if (GenIsUndef(min) || GenIsUndef(max))
        return intValue;
    if (max == min)
        return 0.0f;
    return (intValue - min) / (max - min) * 100.0f;
}

CGenPatternCoordExt CGenPatternCoordConv::IntToExt(const CGenPatternCoordInt& coord) const
{
    return CGenPatternCoordExt(IntToExtComponent(coord.mComplInt, mMinComplInt, mMaxComplInt),
        IntToExtComponent(coord.mIntnInt, mMinIntnInt, mMaxIntnInt));
}

bool CGenPatternCoordConv::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    const std::string p = prefix + "CGenPatternCoordConv ";
    bool ok = true;
    if (mMinComplInt > mMaxComplInt) {
        report += p + ": MinComplInt() > MaxComplInt()\n";
        ok = false;
    }
    if (mMinIntnInt > mMaxIntnInt) {
        report += p + ": MinIntnInt() > MaxIntnInt()\n";
        ok = false;
    }
    return ok;
}

void CGenPatternCoordConv::TraceStream(std::ostream& os) const
{
    os << "CGenPatternCoordConv compl " << mMinComplInt << ".." << mMaxComplInt << " intn " << mMinIntnInt << ".."
       << mMaxIntnInt;
}

std::ostream& operator<<(std::ostream& os, const CGenPatternCoordInt& c) { return os << c.Name(); }
std::ostream& operator<<(std::ostream& os, const CGenPatternCoordExt& c) { return os << c.Name(); }

float ProbFactorForClosenessAndVariance(int s, float a, float b)
{
    if (s != 9 && s != 10 && s != 11 && (a >= 1.0f || b >= 1.0f))
        return 1.0f;
    if ((s == 1 || s == 3) && a < 1.0f && b <= 0.0f)
        return 0.0f;
    const float d = 1.0f - a;
    if (d > b)
        return 0.0f;
    double r = 1.0;
    switch (s) {
    case 0:
    case 1: r = std::sqrt(a * a + b * b); break;
    case 2:
    case 3: r = std::sqrt(0.8 * double(a) * double(a) + 0.8 * double(b) * double(b)); break;
    case 4: r = 1.0; break;
    case 5: r = a <= b ? 1.0 : 0.0; break;
    case 6: r = b - d; break;
    case 7: r = b - d * d; break;
    case 8: r = b - std::pow(d, 10.0f); break;
    case 9: r = std::pow(std::pow(a, 16.0f) + std::pow(b, 16.0f), 1.0f / 16.0f); break;
    case 10: r = std::pow(std::pow(a, 16.0f) + std::pow(b, 16.0f), 1.0f / 8.0f); break;
    case 11: r = std::pow(std::pow(a, 16.0f) + std::pow(b, 16.0f), 1.0f / 4.0f); break;
    default: r = 1.0; break;
    }
    return static_cast<float>(std::min(1.0, r));
}

float ProbFactorForPatternCoordIntAndArrangeMarkersInt(const CGenGeneratorParams* params, TPatternGraphType type,
    const CGenPatternCoordConv& conv, float threshold, float pos, const CGenPatternCoordInt& coord, float& closest)
{
    if (!params)
        return 1.0f;
    const CGenPatternCoordInt wanted = params->WantedPatternCoordIntAt(type, pos);
    if (GenIsUndef(threshold) || threshold == 0.0f || wanted.IsUndef())
        return 1.0f;
    auto axis = [](float w, float c, float min, float max) {
        if (GenIsUndef(w) || GenIsUndef(c))
            return 0.0f;
        return std::clamp(std::fabs(w - c) / 100.0f / (max - min) * 100.0f, 0.0f, 1.0f);
    };
    const float dist = PlaneDist(axis(wanted.mComplInt, coord.mComplInt, conv.mMinComplInt, conv.mMaxComplInt),
        axis(wanted.mIntnInt, coord.mIntnInt, conv.mMinIntnInt, conv.mMaxIntnInt));
    if (dist < closest)
        closest = dist;
    return ProbFactorForClosenessAndVariance(params->mClosenessAndVarianceStrat, 1.0f - dist, 1.0f - threshold);
}
