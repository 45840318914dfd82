#include "Generator/clave/CGenClaveLinks.h"

#include <algorithm>

namespace {

int8_t Offset8(int offset) { return static_cast<int8_t>(std::clamp(offset, -128, 127)); }
int8_t Percent8(int percent) { return static_cast<int8_t>(std::clamp(percent, 0, 100)); }

} // namespace

CGenClaveLinks::const_iterator CGenClaveLinks::FindLinkFor(int ix, int offset) const
{
    const int8_t o = Offset8(offset);
    return std::find_if(begin(), end(), [ix, o](const CGenClaveLink& l) {
        return l.mIxClavePattern == ix && l.mOffsetToClaveStartBeats == o;
    });
}

CGenClaveLinks::iterator CGenClaveLinks::FindLinkFor(int ix, int offset)
{
    const int8_t o = Offset8(offset);
    return std::find_if(begin(), end(), [ix, o](const CGenClaveLink& l) {
        return l.mIxClavePattern == ix && l.mOffsetToClaveStartBeats == o;
    });
}

CGenClaveLink& CGenClaveLinks::FindOrAddLinkFor(int ix, int offset)
{
    auto it = FindLinkFor(ix, offset);
    if (it != end())
        return *it;
    push_back(CGenClaveLink(ix, Offset8(offset), 0));
    return back();
}

bool CGenClaveLinks::AddLinkIfNew(int ix, int offset, int percent)
{
    if (FindLinkFor(ix, offset) != end())
        return false;
    push_back(CGenClaveLink(ix, Offset8(offset), Percent8(percent)));
    return true;
}

void CGenClaveLinks::ChangeLinkOrAddIfNew(int ix, int offset, int percent, bool onlyIfHigher)
{
    auto it = FindLinkFor(ix, offset);
    if (it == end()) {
        push_back(CGenClaveLink(ix, Offset8(offset), Percent8(percent)));
        return;
    }
    if (!onlyIfHigher || Percent8(percent) > it->mMatchToClavePercentInt8)
        it->mMatchToClavePercentInt8 = Percent8(percent);
}

int CGenClaveLinks::MatchToIxClavePatternPercent(int ix, int offset) const
{
    auto it = FindLinkFor(ix, offset);
    return it == end() ? 0 : int(it->mMatchToClavePercentInt8);
}

void CGenClaveLinks::EraseAllClaveLinksFor(int ix)
{
    erase(std::remove_if(begin(), end(), [ix](const CGenClaveLink& l) { return l.mIxClavePattern == ix; }), end());
}

void CGenClaveLinks::RemoveClavePattern(int ix)
{
    EraseAllClaveLinksFor(ix);
    for (CGenClaveLink& l : *this)
        if (l.mIxClavePattern > ix)
            --l.mIxClavePattern;
}

void CGenClaveLinks::TraceStream(std::ostream& os) const
{
    os << "CGenClaveLinks size " << size();
    for (const CGenClaveLink& l : *this)
        os << " (" << l.mIxClavePattern << ", " << int(l.mOffsetToClaveStartBeats) << ": " << int(l.mMatchToClavePercentInt8)
           << "%)";
}
