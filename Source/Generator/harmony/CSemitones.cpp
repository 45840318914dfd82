#include "Generator/harmony/CSemitones.h"

CSemitones::CSemitones(bool s0, bool s1, bool s2, bool s3, bool s4, bool s5, bool s6, bool s7, bool s8, bool s9,
    bool s10, bool s11)
{
    const bool bits[12] = {s0, s1, s2, s3, s4, s5, s6, s7, s8, s9, s10, s11};
    for (int i = 0; i < 12; ++i)
        SetIntvl(i, bits[i]);
}

int CSemitones::Count() const
{
    int n = 0;
    for (int i = 0; i < 12; ++i)
        n += HasIntvl(i) ? 1 : 0;
    return n;
}

CSemitones CSemitones::RotatedDown(int by) const
{
    CSemitones out;
    for (int i = 0; i < 12; ++i)
        if (HasIntvl(i))
            out.SetIntvl(i - by);
    return out;
}

std::string CSemitones::ToString() const
{
    std::string s;
    for (int i = 0; i < 12; ++i)
        if (HasIntvl(i)) {
            if (!s.empty())
                s += ' ';
            s += std::to_string(i);
        }
    return s;
}

CSemitonesMatch::CSemitonesMatch(TSemiMatch s0, TSemiMatch s1, TSemiMatch s2, TSemiMatch s3, TSemiMatch s4,
    TSemiMatch s5, TSemiMatch s6, TSemiMatch s7, TSemiMatch s8, TSemiMatch s9, TSemiMatch s10, TSemiMatch s11)
    : mMatch {s0, s1, s2, s3, s4, s5, s6, s7, s8, s9, s10, s11}
{
}

bool CSemitonesMatch::Matches(const CSemitones& s) const
{
    for (int i = 0; i < 12; ++i) {
        if (mMatch[i] == TSemiMatch_Must && !s.HasIntvl(i))
            return false;
        if (mMatch[i] == TSemiMatch_MustNot && s.HasIntvl(i))
            return false;
    }
    return true;
}

bool CSemitonesMatches::Matches(const CSemitones& s) const
{
    for (const CSemitonesMatch& m : *this)
        if (m.Matches(s))
            return true;
    return false;
}
