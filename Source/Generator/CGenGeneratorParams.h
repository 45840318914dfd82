#pragma once

#include "Generator/CGenArrangeMarker.h"
#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"
#include "Generator/CGenVariantMap.h"
#include "Generator/clave/CGenBeatedPatternIxs.h"
#include "Generator/clave/CGenEvsClave.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/harmony/CGenEvHarmCenter.h"
#include "Generator/patterns/CGenPatternCoord.h"
#include "Generator/shaping/CGenGrooveApply.h"
#include "Generator/timesig/CGenEvsSignKey.h"
#include "Generator/timesig/CGenEvsSignTime.h"
#include "Generator/timesig/CGenEvsTempo.h"

#include <string>
#include <vector>

class CGenInstLib;

// Clave analysis requests of the host.
struct TParamsClave {
    int mClaveRecalcOnGenerate = 0;
    bool mRequestClaveRecalcOnGenerate = false;

    bool operator==(const TParamsClave&) const = default;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mClaveRecalcOnGenerate", mClaveRecalcOnGenerate);
        ar& boost::serialization::make_nvp("mRequestClaveRecalcOnGenerate", mRequestClaveRecalcOnGenerate);
    }
};

// Fields of stored parameters that no longer mean anything: read and dropped.
struct Legacy_CGenInstRules {
    template <class Archive>
    void serialize(Archive&, const unsigned int)
    {
    }
};
struct Legacy_CGenProbSystemKitPiece {
    template <class Archive>
    void serialize(Archive&, const unsigned int)
    {
    }
};

// What belongs to the whole song; many regions can share it.
class CGenGeneratorParamsGlobal {
public:
    CGenEvsSignTime mEvsSignTime;
    CGenEvsSignKey mEvsSignKey;
    CGenEvsHarmCenter mEvsHarmCenter;
    CGenEvsTempo mEvsTempo;
    CGenEvsClave mEvsClave;
    TEvsAsBitsInBars mEvsClaveEvsAsBitsInBars8thOnBeat;
    TEvsAsBitsInBars mEvsClaveEvsAsBitsInBars8thOffBeat;
    CGenEvsChord mEvsChord;
    CGenArrangeMarkersExt mArrangeMarkersExt;
    CGenEvsBeatedVariantMaps mEvsBeatedRegionParameters {CGenBeatedVariantMap(), CGenBeatedVariantMap(), CGenBeatedVariantMap()};
    int mConvertUidEvsTo = 2;
    int mStyleIx = -1;
    double mTempoScale = 1.0;
    TParamsClave mParamsClave;
    CGenBeatedPatternIxsForName mEvsClaveClosestIxPatternHistForName;
    bool mTraceOn = false;
    bool mTraceEventsOn = false;
    bool mDbgLogDecisionsOn = false;
    bool mDbgAddCoordExtToGenEvsNameds = false;
    bool mDbgAddPatternAndFillIxToGenEvsNameds = false;
    bool mDbgAddClaveNameToGenEvsNameds = false;
    bool mDbgKeepEvsNamedsSeparate = false;
    bool mEraseUnplayableNotes = true;

    // A negative style index means the first style.
    int StyleIxOrFirst() const { return mStyleIx < 0 ? 0 : mStyleIx; }
};

// What belongs to the region: what the user edits.
class CGenGeneratorParamsRegion {
public:
    // Region parameter keys, spelled alike by hosts and content.
    static const char* const kComplexity;
    static const char* const kComplexityForFills;
    static const char* const kIntensity;
    static const char* const kAccentVariation;
    static const char* const kKitPieceFocus;
    static const char* const kSystemVariation;
    static const char* const kPercInstrument;
    static const char* const kPercVariation;
    static const char* const kFills;
    static const char* const kSwing;
    static const char* const kSwingType;
    static const char* const kGroove;
    static const char* const kDynamics;
    static const char* const kHiHat;
    static const char* const kHiHatAutomatic;
    static const char* const kKickEnabled;
    static const char* const kSnareEnabled;
    static const char* const kSystemsEnabled;
    static const char* const kFillLockEnabled;
    static const char* const kMasterComplexity;
    static const char* const kMasterIntensity;

    CGenVariantMap mRegionParameters;
    std::string mGenre;
    _TGenInstType mInstType = TGenInstType_Drums;
    float mGenerateStartPosAbs = 0.0f;
    float mGenerateStartLeftBarPosAbs = 0.0f;
    float mGenerateLength = TGenBeatLength_Undef;
    int mStartIxPattern = -1;
    bool mEvsClave_FollowTrackEnabled = false;
    bool mEvsClave_PrototypeClaveTrackEnabled = false;
    float mEvsClavePatternsAccentDistHasToMatchLowerThanPercent = 1.0f;
    float mEvsClavePatternsSystemDistHasToMatchLowerThanPercent = 0.0f;
    float mEvsClaveFillsDistHasToMatchLowerThanPercent = 0.0f;
    bool mSuperPatterns_Active = false;
    int mSuperPatterns_Variation = 3;
    int mSuperPatterns_LengthStrategy = 1;
    int mSuperPattern_FixedBarLength = 4;
    int mGrooveIx = -1;
    CGenGrooveApply mGrooveApply;
    bool mEdgesAndHistory_Active = false;
    std::string mSongName;
    std::string mTrackName;
    std::string mRegionName;

    CGenGeneratorParamsRegion(float length = TGenBeatLength_Undef, int startIxPattern = -1);

    // A key that isn't in the map reads as 0.0; the generator supplies no defaults.
    double RegionParameterFloat(const std::string& key) const { return mRegionParameters.FloatValueForKey(key, 0.0); }
    void SetRegionParameterFloat(const std::string& key, double v) { mRegionParameters.SetFloatValueForKey(v, key); }
    bool HasRegionParameter(const std::string& key) const { return mRegionParameters.HasFloatValueForKey(key); }
};

inline constexpr const char* kDefaultGenre = "DefaultGenre";

// Everything one call of the generator gets from the host. The generator
// changes it while it runs (tempo scale, filled-in defaults): a caller that
// wants to keep what it passed hands in a copy.
class CGenGeneratorParams : public CGenGeneratorParamsGlobal,
                            public CGenGeneratorParamsRegion,
                            public CGenTraceable<CGenGeneratorParams> {
public:
    static constexpr const char* kTraceClassName = "CGenGeneratorParams";
    // Stored parameters with another value are replaced by fresh defaults.
    static constexpr int kDefaultParamsVersion = 9;
    static constexpr int kPatternCoordType_Separate = 1;

    float mPatternCoordSyPercentOffsetCompl = 0.1f;
    float mPatternCoordSyPercentOffsetIntn = 0.0f;
    CGenPatternCoordExt mPatternCoordStaticSyExt;
    int mPatternCoordType = kPatternCoordType_Separate;
    CGenPatternCoordExt mPatternCoordStaticAcExt;
    CGenPatternCoordInt mPatternCoordStaticAcInt;
    CGenPatternCoordInt mPatternCoordStaticSyInt;
    CGenPatternCoordInt mPatternCoordStaticFillInt;
    float mPatternCoordPatternsDistExtHasToMatchLowerThanPercent = 0.5f;
    float mRelaxedDistPercentToFindMorePatterns = 1.4f;
    int mClosenessAndVarianceStrat = 9;
    CGenArrangeMarkersInt mArrangeMarkersIntAc;
    CGenArrangeMarkersInt mArrangeMarkersIntSy;
    CGenArrangeMarkersInt mArrangeMarkersIntFill;
    int mDefaultParamsVersion = kDefaultParamsVersion;

    CGenGeneratorParams(float length = TGenBeatLength_Undef, int startIxPattern = -1);

    // The start of the bar that holds mGenerateStartPosAbs (the start itself
    // without signatures or for an undefined start).
    float CalcGenerateStartLeftBarPosAbs() const;

    // The system coordinate on the external scale: as set for type Separate,
    // else the accent coordinate plus 100 * offset per component, clamped.
    CGenPatternCoordExt PatternCoordSystemExtAccordingToType() const;
    void HandleSettingOfSystemCoordAccordingToType(const CGenPatternCoordExt& coordExt);

    // The three internal coordinates from the external ones, through the
    // conversions of the accent family, system and fill graphs.
    void CalcPatternCoordStaticIntFromExt(const CGenPatternCoordConv& convAccent, const CGenPatternCoordConv& convSystem,
        const CGenPatternCoordConv& convFill);
    void CalcPatternCoordStaticIntFromExt(const CGenInstLib* instLib);
    // The internal marker lists from the external ones.
    void ConvertArrangeMarkersExtToInt(const CGenPatternCoordConv& convAccent, const CGenPatternCoordConv& convSystem,
        const CGenPatternCoordConv& convFill);

    // The coordinate a layer wants at a position relative to the left bar.
    CGenPatternCoordInt WantedPatternCoordIntAt(TPatternGraphType type, float posRelToLeftBar) const;

    void DisableAllRules() { mSuperPatterns_Active = false; }

    // What pattern choice had to bridge (a content gap, a relaxed condition),
    // one line per event, appended whether or not tracing is on. Not stored:
    // it describes one generation, and each pre stage clears it. Changed
    // through const params, like the seed words of the graphs.
    const std::vector<std::string>& DecisionLog() const { return mDecisionLog; }
    void AppendToDecisionLog(const std::string& line) const { mDecisionLog.push_back(line); }
    void ClearDecisionLog() const { mDecisionLog.clear(); }

    std::vector<uint8_t> SerializeToData() const;
    bool DeserializeFromData(const std::vector<uint8_t>& data);
    bool SerializeToPath(const std::string& path) const;
    bool DeserializeFromPath(const std::string& path);

    void TraceStream(std::ostream& os) const;

    // The field list as it stands at class version `version`, for reading and
    // writing alike; what an older program wrote is read through it.
    template <class Archive>
    void SerializeFieldsAtVersion(Archive& ar, unsigned int version);

    template <class Archive>
    void save(Archive& ar, const unsigned int version) const;
    template <class Archive>
    void load(Archive& ar, const unsigned int version);
    BOOST_SERIALIZATION_SPLIT_MEMBER()

private:
    mutable std::vector<std::string> mDecisionLog;
};
BOOST_CLASS_VERSION(CGenGeneratorParams, 17)

#include "Generator/CGenGeneratorParams_Archive.h"
