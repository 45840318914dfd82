#include "Generator/CGenGeneratorParams.h"

#include "Generator/CGenArchiveIO.h"
#include "Generator/library/CGenGenreLibs.h"
#include "Platform/ZKLog.h"

#include <algorithm>

const char* const CGenGeneratorParamsRegion::kComplexity = "complexity";
const char* const CGenGeneratorParamsRegion::kComplexityForFills = "complexityForFills";
const char* const CGenGeneratorParamsRegion::kIntensity = "intensity";
const char* const CGenGeneratorParamsRegion::kAccentVariation = "accentVariation";
const char* const CGenGeneratorParamsRegion::kKitPieceFocus = "kitpieceFocus";
const char* const CGenGeneratorParamsRegion::kSystemVariation = "systemVariation";
const char* const CGenGeneratorParamsRegion::kPercInstrument = "percInstrument";
const char* const CGenGeneratorParamsRegion::kPercVariation = "percVariation";
const char* const CGenGeneratorParamsRegion::kFills = "fills";
const char* const CGenGeneratorParamsRegion::kSwing = "swing";
const char* const CGenGeneratorParamsRegion::kSwingType = "swingType";
const char* const CGenGeneratorParamsRegion::kGroove = "groove";
const char* const CGenGeneratorParamsRegion::kDynamics = "dynamics";
const char* const CGenGeneratorParamsRegion::kHiHat = "hiHat";
const char* const CGenGeneratorParamsRegion::kHiHatAutomatic = "hiHatAutomatic";
const char* const CGenGeneratorParamsRegion::kKickEnabled = "kickEnabled";
const char* const CGenGeneratorParamsRegion::kSnareEnabled = "snareEnabled";
const char* const CGenGeneratorParamsRegion::kSystemsEnabled = "systemsEnabled";
const char* const CGenGeneratorParamsRegion::kFillLockEnabled = "fillLockEnabled";
const char* const CGenGeneratorParamsRegion::kMasterComplexity = "masterComp";
const char* const CGenGeneratorParamsRegion::kMasterIntensity = "masterInt";

CGenGeneratorParamsRegion::CGenGeneratorParamsRegion(float length, int startIxPattern)
    : mGenre(kDefaultGenre), mGenerateLength(length), mStartIxPattern(startIxPattern)
{
}

CGenGeneratorParams::CGenGeneratorParams(float length, int startIxPattern)
    : CGenGeneratorParamsRegion(length, startIxPattern)
{
}

float CGenGeneratorParams::CalcGenerateStartLeftBarPosAbs() const
{
    if (GenIsUndef(mGenerateStartPosAbs) || mEvsSignTime.empty())
        return mGenerateStartPosAbs;
    const float bar = mEvsSignTime.FindBarStartPos(mGenerateStartPosAbs);
    return GenIsDef(bar) ? bar : mGenerateStartPosAbs;
}

namespace {

float Clamp100(float v) { return std::clamp(v, 0.0f, 100.0f); }

// acExt + 100 * offset, clamped; an undefined accent component gives the
// offset alone, unclamped.
float SystemFromAccent(float acExt, float offset)
{
    if (GenIsUndef(acExt))
        return 100.0f * offset;
    return Clamp100(acExt + 100.0f * offset);
}

float AccentFromSystem(float syExt, float offset)
{
    if (GenIsUndef(syExt))
        return syExt;
    return Clamp100(syExt - 100.0f * offset);
}

float AddMarkerComponent(float base, float marker)
{
    if (GenIsUndef(base))
        return marker;
    if (GenIsUndef(marker))
        return base;
    return Clamp100(base + marker);
}

} // namespace

CGenPatternCoordExt CGenGeneratorParams::PatternCoordSystemExtAccordingToType() const
{
    if (mPatternCoordType == kPatternCoordType_Separate)
        return mPatternCoordStaticSyExt;
    return CGenPatternCoordExt(SystemFromAccent(mPatternCoordStaticAcExt.mCompl, mPatternCoordSyPercentOffsetCompl),
        SystemFromAccent(mPatternCoordStaticAcExt.mIntn, mPatternCoordSyPercentOffsetIntn));
}

void CGenGeneratorParams::HandleSettingOfSystemCoordAccordingToType(const CGenPatternCoordExt& coordExt)
{
    if (mPatternCoordType == kPatternCoordType_Separate) {
        mPatternCoordStaticSyExt = coordExt;
        return;
    }
    mPatternCoordStaticAcExt = CGenPatternCoordExt(AccentFromSystem(coordExt.mCompl, mPatternCoordSyPercentOffsetCompl),
        AccentFromSystem(coordExt.mIntn, mPatternCoordSyPercentOffsetIntn));
}

void CGenGeneratorParams::CalcPatternCoordStaticIntFromExt(const CGenPatternCoordConv& convAccent,
    const CGenPatternCoordConv& convSystem, const CGenPatternCoordConv& convFill)
{
    mPatternCoordStaticAcInt = convAccent.ExtToInt(mPatternCoordStaticAcExt);
    mPatternCoordStaticSyInt = convSystem.ExtToInt(PatternCoordSystemExtAccordingToType());
    mPatternCoordStaticFillInt = convFill.ExtToInt(mPatternCoordStaticAcExt);
}

void CGenGeneratorParams::CalcPatternCoordStaticIntFromExt(const CGenInstLib* instLib)
{
    CalcPatternCoordStaticIntFromExt(CGenInstLib::PatternCoordConvForType(instLib, TPatternGraphType_AccentFamily),
        CGenInstLib::PatternCoordConvForType(instLib, TPatternGraphType_System),
        CGenInstLib::PatternCoordConvForType(instLib, TPatternGraphType_Fill));
}

void CGenGeneratorParams::ConvertArrangeMarkersExtToInt(const CGenPatternCoordConv& convAccent,
    const CGenPatternCoordConv& convSystem, const CGenPatternCoordConv& convFill)
{
    struct Target {
        CGenArrangeMarkersInt* list;
        const CGenPatternCoordConv* conv;
    };
    const Target targets[] = {{&mArrangeMarkersIntAc, &convAccent}, {&mArrangeMarkersIntSy, &convSystem},
        {&mArrangeMarkersIntFill, &convFill}};
    for (const auto& t : targets) {
        t.list->clear();
        t.list->mLength = mArrangeMarkersExt.mLength;
    }
    for (const auto& m : mArrangeMarkersExt)
        for (const auto& t : targets)
            t.list->push_back(CGenArrangeMarkerInt(m.mBeatPos, m.mType, t.conv->ExtToInt(m.mCoord), m.mFillCoord, m.mName));
}

CGenPatternCoordInt CGenGeneratorParams::WantedPatternCoordIntAt(TPatternGraphType type, float posRelToLeftBar) const
{
    const CGenPatternCoordInt* base = &mPatternCoordStaticAcInt;
    const CGenArrangeMarkersInt* markers = &mArrangeMarkersIntAc;
    if (type == TPatternGraphType_System || type == TPatternGraphType_Percussion) {
        base = &mPatternCoordStaticSyInt;
        markers = &mArrangeMarkersIntSy;
    } else if (type == TPatternGraphType_Fill) {
        base = &mPatternCoordStaticFillInt;
        markers = &mArrangeMarkersIntFill;
    }
    const float pos = GenAddRegardingUndef(posRelToLeftBar, mGenerateStartLeftBarPosAbs);
    if (GenIsUndef(pos) || markers->empty() || pos < markers->front().mBeatPos)
        return *base;
    auto it = markers->ElInForceAt(pos);
    if (it == markers->end())
        return *base;
    return CGenPatternCoordInt(AddMarkerComponent(base->mComplInt, it->mCoord.mComplInt),
        AddMarkerComponent(base->mIntnInt, it->mCoord.mIntnInt));
}

std::vector<uint8_t> CGenGeneratorParams::SerializeToData() const { return zkgen::SaveTextArchiveToData(*this); }

namespace {
// Stored parameters of another defaults version aren't used: they are
// replaced, whole, by fresh defaults.
void ReplaceIfOutdated(CGenGeneratorParams& p)
{
    if (p.mDefaultParamsVersion != CGenGeneratorParams::kDefaultParamsVersion)
        p = CGenGeneratorParams(TGenBeatLength_Undef, -1);
}
} // namespace

bool CGenGeneratorParams::DeserializeFromData(const std::vector<uint8_t>& data)
{
    if (!zkgen::LoadTextArchiveFromData(*this, data))
        return false;
    ReplaceIfOutdated(*this);
    return true;
}

bool CGenGeneratorParams::SerializeToPath(const std::string& path) const
{
    std::string reason;
    if (zkgen::SaveTextArchiveToPath(*this, path, &reason))
        return true;
    ZKLogf(ZKLogCategory_GeneratorStorage, "CGenGeneratorParams SerializeToPath '%{public}s' failed with reason: %{public}s",
        {path, reason});
    return false;
}

bool CGenGeneratorParams::DeserializeFromPath(const std::string& path)
{
    // Loaded aside, so that a failure leaves the params as they were.
    CGenGeneratorParams loaded;
    std::string reason;
    if (!zkgen::LoadTextArchiveFromPath(loaded, path, &reason)) {
        ZKLogf(ZKLogCategory_GeneratorStorage,
            "CGenGeneratorParams DeserializeFromPath '%{public}s' failed with reason: %{public}s", {path, reason});
        return false;
    }
    ReplaceIfOutdated(loaded);
    *this = std::move(loaded);
    return true;
}

void CGenGeneratorParams::TraceStream(std::ostream& os) const
{
    os << "CGenGeneratorParams\n";
    os << "Genre " << mGenre << "  GenerateStartPos " << mGenerateStartPosAbs << ",  GenerateLength " << mGenerateLength
       << "\n";
    os << "PatternCoordType " << mPatternCoordType << (mPatternCoordType == kPatternCoordType_Separate ? " Separate" : "")
       << "\n";
    os << "  PatternCoordStaticAcExt " << mPatternCoordStaticAcExt.Name() << "\n";
    os << "  PatternCoordStaticAcInt " << mPatternCoordStaticAcInt.Name() << "\n";
    os << "  PatternCoordStaticSyExt " << mPatternCoordStaticSyExt.Name() << "\n";
    os << "  PatternCoordStaticSyInt " << mPatternCoordStaticSyInt.Name() << "\n";
    os << "  PatternCoordSyPercentOffset Compl " << mPatternCoordSyPercentOffsetCompl << "  Intn "
       << mPatternCoordSyPercentOffsetIntn << " PatternCoordSystemExtAccordingToType "
       << PatternCoordSystemExtAccordingToType().Name() << "\n";
    os << " distHasToMatchLowerThanPercent " << mPatternCoordPatternsDistExtHasToMatchLowerThanPercent << "\n";
    os << "EvsClaveDistHasToMatchLowerThanPercent: PatternsAccent " << mEvsClavePatternsAccentDistHasToMatchLowerThanPercent
       << "  PatternsSystem " << mEvsClavePatternsSystemDistHasToMatchLowerThanPercent << "  Fills "
       << mEvsClaveFillsDistHasToMatchLowerThanPercent;
}
