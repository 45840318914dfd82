#include "Generator/shaping/CGenArticPattern.h"

#include "Generator/CGenEvs.h"
#include "Generator/instruments/CGenDrumMap.h"

#include <algorithm>

namespace {

// The hi-hat notes of the General MIDI map that a hit of 1 to 3 selects:
// closed, pedal, open.
constexpr int kFirstHatNoteNr = 42;
constexpr int kHitCount = 3;

} // namespace

void CGenArticPattern::ApplyTo(CGenEvs& evs, const std::vector<int>& noteNrs, const CGenDrumMap& drumMap) const
{
    if (empty() || noteNrs.empty())
        return;
    int lastHit = 0;
    int lastStroke = 0;
    size_t next = 0;
    for (CGenEv& ev : evs) {
        if (!ev.IsSoundingNote() || std::find(noteNrs.begin(), noteNrs.end(), ev.mMB1) == noteNrs.end())
            continue;
        const CGenArticEl& el = (*this)[next];
        if (el.mHit != lastHit) {
            if (el.mHit >= 1 && el.mHit <= kHitCount)
                ev.mMB1 = (el.mHit - 1) * 2 + kFirstHatNoteNr;
            lastHit = el.mHit;
        }
        if (el.mStroke != lastStroke) {
            if (el.mStroke >= 1 && el.mStroke <= CGenDrumMap::kStrokeCount)
                ev.mMB0 = static_cast<uint8_t>(st_NoteOn | (drumMap.StrokeChannel(el.mStroke) & 0x0F));
            lastStroke = el.mStroke;
        }
        next = (next + 1) % size();
    }
}

void CGenArticPatterns::CreateDummy()
{
    clear();
    push_back(CGenArticPattern {CGenArticEl()});
}

bool CGenArticPatterns::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    bool good = true;
    for (size_t p = 0; p < size(); ++p)
        for (size_t i = 0; i < (*this)[p].size(); ++i) {
            const CGenArticEl& el = (*this)[p][i];
            if (el.mHit < 0 || el.mHit > 3 || el.mStroke < 0 || el.mStroke > 3) {
                report += prefix + "CGenArticPattern " + std::to_string(p) + " element " + std::to_string(i)
                    + ": hit and stroke must lie in 0..3\n";
                good = false;
            }
        }
    return good;
}
