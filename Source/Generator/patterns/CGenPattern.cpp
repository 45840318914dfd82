#include "Generator/patterns/CGenPattern.h"

#include "Platform/ZKKeyedArchive.h"
#include "Platform/ZKLog.h"

const char* const kGenPatternProp_Fill_TargetEndBeatPos = "FlTarget";
const char* const kGenPatternProp_Fill_OverlayRangeAcStart = "FlOvAcSt";
const char* const kGenPatternProp_Fill_OverlayRangeAcLength = "FlOvAcLn";
const char* const kGenPatternProp_Fill_OverlayRangeSyStart = "FlOvSySt";
const char* const kGenPatternProp_Fill_OverlayRangeSyLength = "FlOvSyLn";
const char* const kGenPatternProp_Fill_OverlayRangePercStart = "FlOvPeSt";
const char* const kGenPatternProp_Fill_OverlayRangePercLength = "FlOvPeLn";

namespace zkgen {

std::vector<uint8_t> EncodePatternDictionary(const TGenDict* dict, const std::string& patternName)
{
    if (!dict)
        return {};
    std::string error;
    std::optional<TGenData> bytes = ZKKeyedArchiveEncode(*dict, ZKKeyedArchiveFormat_Binary, &error);
    if (!bytes) {
        ZKLog(ZKLogCategory_GeneratorStorage,
            "CGenPattern '" + patternName + "': dictionary not archived: " + error);
        return {};
    }
    return *bytes;
}

std::unique_ptr<TGenDict> DecodePatternDictionary(const std::vector<uint8_t>& bytes, const std::string& patternName)
{
    if (bytes.empty())
        return nullptr;
    std::string error;
    std::optional<TGenDict> dict = ZKKeyedArchiveDecode(bytes, &error);
    if (!dict) {
        ZKLog(ZKLogCategory_GeneratorStorage, "CGenPattern '" + patternName + "': dictionary not read: " + error);
        return nullptr;
    }
    return std::make_unique<TGenDict>(std::move(*dict));
}

} // namespace zkgen

CGenPattern::CGenPattern(const CGenPattern& o)
    : mName(o.mName), mCoord(o.mCoord), mMainPatternRating(o.mMainPatternRating), mEvs(o.mEvs), mStartPos(o.mStartPos),
      mStartPosRepeatIntvl(o.mStartPosRepeatIntvl), mSignTime(o.mSignTime), mClaveLinks(o.mClaveLinks),
      mTempoBPMRange(o.mTempoBPMRange), mProperties(o.mProperties),
      mOverlayLayerBitmaskAndBPRanges(o.mOverlayLayerBitmaskAndBPRanges), mInfo(o.mInfo),
      mpDictionary(o.mpDictionary ? std::make_unique<TGenDict>(*o.mpDictionary) : nullptr)
{
}

CGenPattern& CGenPattern::operator=(const CGenPattern& o)
{
    if (this != &o) {
        CGenPattern copy(o);
        *this = std::move(copy);
    }
    return *this;
}

TGenDict& CGenPattern::Dictionary()
{
    if (!mpDictionary)
        mpDictionary = std::make_unique<TGenDict>();
    return *mpDictionary;
}

void CGenPattern::OverlayLayerBitmaskAndBPRanges_Consolidate()
{
    auto& recs = mOverlayLayerBitmaskAndBPRanges;
    for (size_t i = 0; i < recs.size(); ++i) {
        size_t j = i + 1;
        while (j < recs.size()) {
            if (recs[j].mBeatPosRelRange == recs[i].mBeatPosRelRange) {
                recs[i].mLayerBitmask = recs[i].mLayerBitmask | recs[j].mLayerBitmask;
                recs.erase(recs.begin() + static_cast<std::ptrdiff_t>(j));
            } else {
                ++j;
            }
        }
    }
}

float CGenPattern::BarLengthOrDefault() const
{
    const float barLength = mSignTime.BarLength();
    return (GenIsUndef(barLength) || !(barLength > 0.0f)) ? 4.0f : barLength;
}

float CGenPattern::PropertyFloatOrUndef(const std::string& key) const
{
    if (mProperties.HasFloatValueForKey(key))
        return static_cast<float>(mProperties.FloatValueForKey(key, 0.0));
    if (mProperties.HasIntValueForKey(key))
        return static_cast<float>(mProperties.IntValueForKey(key, 0));
    return TGenBeatPos_Undef;
}

float CGenPattern::Properties_Fill_TargetBeatPos_ReadAndCorrect() const
{
    const float read = PropertyFloatOrUndef(kGenPatternProp_Fill_TargetEndBeatPos);
    const float t = GenIsUndef(read) ? 0.0f : read;
    return t > BarLengthOrDefault() ? 0.0f : t;
}

float CGenPattern::Properties_Fill_CalcEvsStartAtBeatPosInBarInSourceSignTime() const
{
    return GenSubRegardingUndef(Properties_Fill_TargetBeatPos_ReadAndCorrect() + BarLengthOrDefault(), mEvs.mLength);
}

bool CGenPattern::operator==(const CGenPattern& o) const
{
    const bool dictsEqual = (!mpDictionary && !o.mpDictionary)
        || (mpDictionary && o.mpDictionary && *mpDictionary == *o.mpDictionary);
    return dictsEqual && mName == o.mName && mCoord == o.mCoord && mMainPatternRating == o.mMainPatternRating
        && mEvs == o.mEvs && mStartPos == o.mStartPos && mStartPosRepeatIntvl == o.mStartPosRepeatIntvl
        && mSignTime == o.mSignTime && mClaveLinks == o.mClaveLinks && mTempoBPMRange == o.mTempoBPMRange
        && mProperties == o.mProperties && mOverlayLayerBitmaskAndBPRanges == o.mOverlayLayerBitmaskAndBPRanges
        && mInfo == o.mInfo;
}

void CGenPattern::TraceStream(std::ostream& os) const
{
    TraceStreamBrief(os);
    os << ", SignTime " << mSignTime << ", TempoBPMRange " << mTempoBPMRange << ", " << mClaveLinks.TraceString();
    if (!mProperties.empty())
        os << ", " << mProperties.TraceString();
    os << "\n" << mEvs.TraceString();
}

void CGenPattern::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenPattern \"" << mName << "\"" << mCoord.Name() << ", Length " << mEvs.mLength << ", Evs " << mEvs.size();
}

std::ostream& operator<<(std::ostream& os, const CGenPattern& p)
{
    p.TraceStream(os);
    return os;
}

size_t CGenPatterns::FindPatternThatMatches(const CGenEvs& evs, const CGenEvsCompare& compare) const
{
    for (size_t i = 0; i < size(); ++i)
        if (compare.Equal((*this)[i].mEvs, evs))
            return i;
    return size();
}

void CGenPatterns::TraceStream(std::ostream& os) const
{
    os << "CGenPatterns size " << size();
    for (const CGenPattern& p : *this) {
        os << "\n  ";
        p.TraceStreamBrief(os);
    }
}
