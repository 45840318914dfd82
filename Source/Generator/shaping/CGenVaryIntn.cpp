#include "Generator/shaping/CGenVaryIntn.h"

#include "Generator/instruments/CGenInstTreeEntry.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

// An empty collection, or one that holds just the tree's root: every
// instrument as a source, no change as a trafo.
bool IsEmptyOrRootOnly(const CGenInstTreeEntryCollection& c)
{
    return c.empty() || (c.size() == 1 && c.front() != nullptr && c.front()->mIsRootParent);
}

constexpr int kVelTypeAdd = 1;
constexpr int kVelTypeMultiply = 2;
constexpr int kVelTypeMap = 3;

} // namespace

void CGenVaryIntnEl::ApplyToUidEvs(CGenEvs& evs) const
{
    const CGenRange<unsigned char> velRange = _WildcardedSourceVelRange();
    const bool allInstruments = IsEmptyOrRootOnly(mSourceTreeEntryCollection);
    for (auto it = evs.begin(); it != evs.end(); ++it) {
        CGenEv& ev = *it;
        if (mSourceVelRange.mMinEnabled && ev.mMB2 < mSourceVelRange.mMin)
            continue;
        if (mSourceVelRange.mMaxEnabled && ev.mMB2 > mSourceVelRange.mMax)
            continue;
        if (!_IsInSourceBeatPosRanges(it, evs))
            continue;
        if (!allInstruments && !mSourceTreeEntryCollection.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(ev.Uid()))
            continue;
        _ApplyTrafoTreeEntryCollection(ev);
        // A velocity that isn't set, or a note-on of 0 (a note-off), is passed on.
        if (ev.IsNote() && ev.mMB2 >= 1)
            _ApplyTrafoVel(ev, velRange);
    }
}

void CGenVaryIntnEl::_ApplyTrafoTreeEntryCollection(CGenEv& ev) const
{
    if (IsEmptyOrRootOnly(mTrafoTreeEntryCollection))
        return;
    uint64_t uid = static_cast<uint32_t>(ev.mMB1);
    for (const CGenInstTreeEntry* entry : mTrafoTreeEntryCollection) {
        if (entry == nullptr)
            continue;
        const TInstTreeUid entryUid = entry->Uid();
        if (entryUid == TInstTreeUid_Undef)
            continue;
        for (unsigned shift = 0; shift < 64; shift += 4) {
            const uint64_t nibble = (static_cast<uint64_t>(entryUid) >> shift) & 0xF;
            if (nibble != 0)
                uid = (uid & ~(uint64_t(0xF) << shift)) | (nibble << shift);
        }
    }
    ev.mMB1 = GenInstTreeUidToMB1(static_cast<TInstTreeUid>(uid));
}

void CGenVaryIntnEl::_ApplyTrafoVel(CGenEv& ev, const CGenRange<unsigned char>& range) const
{
    const double v = ev.mMB2;
    const double a = mTrafoVelRange.mMin;
    const double b = mTrafoVelRange.mMax;
    double result = v;
    switch (mTrafoVelType) {
    case kVelTypeAdd: result = v + a; break;
    case kVelTypeMultiply: result = v * a; break;
    case kVelTypeMap: {
        const double lo = range.mMin;
        const double hi = range.mMax;
        const double t = hi == lo ? 0.0 : (v - lo) / (hi - lo);
        result = (b - a) * t + a;
        break;
    }
    default: break;
    }
    // A NaN operand leaves the velocity; the clamp comes before the conversion
    // so that no value lies outside int.
    if (std::isnan(result))
        return;
    ev.mMB2 = static_cast<int>(std::clamp(std::trunc(result), 1.0, 127.0));
}

CGenRange<unsigned char> CGenVaryIntnEl::_WildcardedSourceVelRange() const
{
    return CGenRange<unsigned char>(mSourceVelRange.mMinEnabled ? mSourceVelRange.mMin : 0,
        mSourceVelRange.mMaxEnabled ? mSourceVelRange.mMax : 127);
}

bool CGenVaryIntnEl::_IsInSourceBeatPosRanges(CGenEvs::const_iterator /*ev*/, const CGenEvs& /*evs*/) const
{
    return true;
}

void CGenVaryIntn::ApplyToUidEvs(CGenEvs& evs) const
{
    for (const CGenVaryIntnEl& el : *this)
        el.ApplyToUidEvs(evs);
}

bool CGenVaryIntns::CheckContentSanity(const std::string& prefix, std::string& report) const
{
    bool good = true;
    auto fault = [&](const std::string& where, const std::string& text) {
        report += where + ": " + text + "\n";
        good = false;
    };
    for (const CGenVaryIntn& variation : *this) {
        for (size_t i = 0; i < variation.size(); ++i) {
            const CGenVaryIntnEl& el = variation[i];
            const std::string where = prefix + "CGenVaryIntn " + variation.mName + " element " + std::to_string(i);
            if (el.mTrafoVelType < 0 || el.mTrafoVelType > kVelTypeMap)
                fault(where, "velocity type " + std::to_string(el.mTrafoVelType) + " is not 0 to 3");
            const CGenRange<unsigned char>& vel = el.mSourceVelRange;
            if ((vel.mMinEnabled && vel.mMin > 127) || (vel.mMaxEnabled && vel.mMax > 127))
                fault(where, "source velocity range " + std::to_string(vel.mMin) + " to " + std::to_string(vel.mMax)
                        + " goes beyond 127");
            if (vel.mMinEnabled && vel.mMaxEnabled && vel.mMin > vel.mMax)
                fault(where, "source velocity minimum " + std::to_string(vel.mMin) + " is above the maximum "
                        + std::to_string(vel.mMax));
            const auto isNull = [](const CGenInstTreeEntry* e) { return e == nullptr; };
            if (std::any_of(el.mSourceTreeEntryCollection.begin(), el.mSourceTreeEntryCollection.end(), isNull)
                || std::any_of(el.mTrafoTreeEntryCollection.begin(), el.mTrafoTreeEntryCollection.end(), isNull))
                fault(where, "an instrument entry is missing");
        }
    }
    return good;
}
