#include "Generator/shaping/CGenGroove.h"

#include <algorithm>

std::ostream& operator<<(std::ostream& os, const CGenGrooveEl& el)
{
    return os << "(" << el.mSourceBeatRange.mMin << " - " << el.mSourceBeatRange.mMax << " -> " << el.mTargetBeatPos
              << " v" << +el.mVelocity << ")";
}

const char* CGenGrooveTrack::TypeText(int type)
{
    static const char* const kTexts[] = {"", "All", "AccentAndFillFoot", "AccentAndFillHand", "SystemFoot",
        "SystemHand", "Kick", "Snare", "Toms", "System (all)", "System (cymbals)", "System (non-cymbals)",
        "Other events", "Bass", "Percussion", "Guitar", "Key (all)", "Key (LH)", "Key (RH)", "Percussion Track 1",
        "Percussion Track 2"};
    return type >= 1 && type <= 20 ? kTexts[type] : "";
}

CGenGroove::const_iterator CGenGroove::TrackForType(int type) const
{
    return std::find_if(begin(), end(), [type](const CGenGrooveTrack& t) { return t.mType == type; });
}

CGenGroove::iterator CGenGroove::TrackForType(int type)
{
    return std::find_if(begin(), end(), [type](const CGenGrooveTrack& t) { return t.mType == type; });
}

bool CGenGroove::HasSameEvs(const CGenGroove& o) const
{
    if (size() != o.size())
        return false;
    for (size_t i = 0; i < size(); ++i)
        if (static_cast<const CGenGrooveTrack::TBase&>((*this)[i]) != static_cast<const CGenGrooveTrack::TBase&>(o[i]))
            return false;
    return true;
}

bool CGenGroove::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    bool good = true;
    for (size_t t = 0; t < size(); ++t) {
        const CGenGrooveTrack& track = (*this)[t];
        const std::string where = prefix + mName + " track " + std::to_string(t);
        if (*CGenGrooveTrack::TypeText(track.mType) == '\0') {
            report += where + ": unknown track type " + std::to_string(track.mType) + "\n";
            good = false;
        }
        for (size_t i = 0; i < track.size(); ++i) {
            if (i > 0 && track[i].mSourceBeatRange.mMin < track[i - 1].mSourceBeatRange.mMin) {
                report += where + ": element " + std::to_string(i) + " is not sorted by source position\n";
                good = false;
            }
            if (track[i].mVelocity > 127 && track[i].mVelocity != 255) {
                report += where + ": element " + std::to_string(i) + " has velocity " + std::to_string(track[i].mVelocity)
                    + "\n";
                good = false;
            }
        }
    }
    return good;
}

void CGenGroove::TraceStream(std::ostream& os) const
{
    TraceStreamBrief(os);
    for (const CGenGrooveTrack& t : *this) {
        os << "\n  " << CGenGrooveTrack::TypeText(t.mType) << " length " << t.mBeatLength << ":";
        for (const CGenGrooveEl& el : t)
            os << " " << el;
    }
}

CGenGrooves::const_iterator CGenGrooves::FindGrooveThatMatchesEvsOf(const CGenGroove& groove) const
{
    return std::find_if(begin(), end(), [&groove](const CGenGroove& g) { return g.HasSameEvs(groove); });
}

size_t CGenGrooves::AddIfUniqueEvs(const CGenGroove& groove)
{
    const auto found = FindGrooveThatMatchesEvsOf(groove);
    if (found != end())
        return static_cast<size_t>(found - begin());
    push_back(groove);
    return size() - 1;
}

void CGenGrooves::CreateDummy()
{
    clear();
    CGenGroove groove("Straight");
    CGenGrooveTrack track;
    track.mType = CGenGrooveTrack::TType_All;
    track.mBeatLength = 1.0f;
    track.push_back(CGenGrooveEl(0.0f, 0.25f, 0.0f, 255));
    groove.push_back(track);
    push_back(groove);
}

bool CGenGrooves::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    bool good = true;
    for (const CGenGroove& g : *this)
        good = g.CheckContentSanity(prefix, report) && good;
    return good;
}

void CGenGrooves::TraceStream(std::ostream& os) const
{
    os << "CGenGrooves size " << size();
    for (const CGenGroove& g : *this)
        os << " '" << g.mName << "'";
}
