#include "Generator/timesig/CGenSignTime.h"

#include <cmath>
#include <numeric>
#include <sstream>

CGenSignTime::CGenSignTime(const std::vector<uint8_t>& compoundNoms, int denom)
{
    SetCompoundNoms(compoundNoms);
    SetDenom(denom);
}

void CGenSignTime::SetCompoundNoms(const std::vector<uint8_t>& noms)
{
    if (noms.size() == 1) {
        SetNom(noms.front());
        return;
    }
    mCompoundNoms = noms;
    mNom = std::accumulate(noms.begin(), noms.end(), 0);
}

float CGenSignTime::DenomLength() const
{
    if (DenomIsUndef())
        return TGenBeatLength_Undef;
    return static_cast<float>(GenBarLengthInBeats(1, mDenom));
}

float CGenSignTime::BarLength() const
{
    if (DenomIsUndef())
        return TGenBeatLength_Undef;
    return static_cast<float>(GenBarLengthInBeats(mNom, mDenom));
}

void CGenSignTime::SetFromSignTime(const CGenSignTime& other)
{
    if (other.mCompoundNoms.empty())
        SetNom(other.mNom);
    else
        SetCompoundNoms(other.mCompoundNoms);
    SetDenom(other.mDenom);
}

void CGenSignTime::SimplifyByReducingOrExpanding()
{
    if (mNom == 0 || DenomIsUndef())
        return;
    if (mCompoundNoms.empty() && mNom % 6 == 0)
        return;

    auto allEven = [this] {
        if (mCompoundNoms.empty())
            return mNom % 2 == 0;
        for (uint8_t n : mCompoundNoms)
            if (n % 2 != 0)
                return false;
        return true;
    };
    auto afterPartsChanged = [this] {
        if (mCompoundNoms.empty())
            return;
        if (mCompoundNoms.size() == 1) {
            mNom = mCompoundNoms.front();
            mCompoundNoms.clear();
            return;
        }
        mNom = std::accumulate(mCompoundNoms.begin(), mCompoundNoms.end(), 0);
    };

    while (allEven() && mDenom >= 3) {
        if (mCompoundNoms.empty())
            mNom /= 2;
        for (uint8_t& n : mCompoundNoms)
            n = static_cast<uint8_t>(n / 2);
        afterPartsChanged();
        --mDenom;
    }
    while (mDenom < 2) {
        // A numerator that would overflow its width becomes 0.
        if (mCompoundNoms.empty())
            mNom = (mNom & (1 << 30)) ? 0 : mNom * 2;
        for (uint8_t& n : mCompoundNoms)
            n = (n & 0x80) ? 0 : static_cast<uint8_t>(n * 2);
        afterPartsChanged();
        ++mDenom;
    }
}

float CGenSignTime::MultiplesOfBarLengthToGetIntoBarRange(float pos) const
{
    if (mNom < 1 || DenomIsUndef() || GenIsUndef(pos) || !std::isfinite(pos))
        return TGenBeatPos_Undef;
    const float len = BarLength();
    if (!(len > 0.0f))
        return TGenBeatPos_Undef;
    // Closed form first, then the stepwise rule settles rounding at the edges.
    float p = pos - len * std::floor(pos / len);
    while (p < 0.0f)
        p += len;
    while (p >= len)
        p -= len;
    return p - pos;
}

void CGenSignTime::TraceStream(std::ostream& os) const
{
    if (mCompoundNoms.empty()) {
        os << mNom;
    } else {
        for (size_t i = 0; i < mCompoundNoms.size(); ++i)
            os << (i ? "+" : "") << int(mCompoundNoms[i]);
    }
    os << "/";
    if (DenomIsUndef())
        os << "?";
    else if (mDenom < 31)
        os << (1u << mDenom);
    else
        os << "2^" << mDenom;
}

std::string CGenSignTime::TraceForInitializerList() const
{
    std::ostringstream os;
    os << "{";
    if (mCompoundNoms.empty()) {
        os << mNom;
    } else {
        os << "{";
        for (size_t i = 0; i < mCompoundNoms.size(); ++i)
            os << (i ? ", " : "") << int(mCompoundNoms[i]);
        os << "}";
    }
    os << ", " << mDenom << "}";
    return os.str();
}

std::ostream& operator<<(std::ostream& os, const CGenSignTime& s)
{
    s.TraceStream(os);
    return os;
}
