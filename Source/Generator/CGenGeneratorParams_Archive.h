#pragma once

// The archive of CGenGeneratorParams: one field list for reading and writing,
// with the class version at which each field exists. Fields named dummy... are
// read and dropped.

#include "Generator/CGenGeneratorParams.h"

template <class Archive>
void CGenGeneratorParams::SerializeFieldsAtVersion(Archive& ar, unsigned int v)
{
    using boost::serialization::make_nvp;
    ar& make_nvp("mDefaultParamsVersion", mDefaultParamsVersion);
    ar& make_nvp("mGenerateLength", mGenerateLength);
    ar& make_nvp("mGenre", mGenre);
    ar& make_nvp("mInstType", mInstType);
    if (v < 2) {
        Legacy_CGenInstRules dummyRules;
        ar& make_nvp("dummyRules", dummyRules);
    }
    ar& make_nvp("mStartIxPattern", mStartIxPattern);
    ar& make_nvp("mPatternCoordType", mPatternCoordType);
    ar& make_nvp("mPatternCoordStaticAcExt", mPatternCoordStaticAcExt);
    ar& make_nvp("mPatternCoordStaticSyExt", mPatternCoordStaticSyExt);
    ar& make_nvp("mPatternCoordSyPercentOffsetCompl", mPatternCoordSyPercentOffsetCompl);
    ar& make_nvp("mPatternCoordSyPercentOffsetIntn", mPatternCoordSyPercentOffsetIntn);
    ar& make_nvp("mPatternCoordStaticAcInt", mPatternCoordStaticAcInt);
    ar& make_nvp("mPatternCoordStaticSyInt", mPatternCoordStaticSyInt);
    ar& make_nvp("mPatternCoordStaticFillInt", mPatternCoordStaticFillInt);
    ar& make_nvp("mPatternCoordPatternsDistExtHasToMatchLowerThanPercent", mPatternCoordPatternsDistExtHasToMatchLowerThanPercent);
    ar& make_nvp("mSuperPatterns_Active", mSuperPatterns_Active);
    ar& make_nvp("mSuperPatterns_Variation", mSuperPatterns_Variation);
    ar& make_nvp("mSuperPatterns_LengthStrategy", mSuperPatterns_LengthStrategy);
    ar& make_nvp("mSuperPattern_FixedBarLength", mSuperPattern_FixedBarLength);
    ar& make_nvp("mEdgesAndHistory_Active", mEdgesAndHistory_Active);
    ar& make_nvp("mRelaxedDistPercentToFindMorePatterns", mRelaxedDistPercentToFindMorePatterns);
    ar& make_nvp("mClosenessAndVarianceStrat", mClosenessAndVarianceStrat);
    if (v < 13) {
        bool dummyProbSystemKitPiece_Active = false;
        Legacy_CGenProbSystemKitPiece dummyProbSystemKitPiece;
        ar& make_nvp("dummyProbSystemKitPiece_Active", dummyProbSystemKitPiece_Active);
        ar& make_nvp("dummyProbSystemKitPiece", dummyProbSystemKitPiece);
    }
    if (v < 7) {
        Legacy_CGenInstRules dummyFillCreateRules;
        ar& make_nvp("dummyFillCreateRules", dummyFillCreateRules);
    }
    ar& make_nvp("mEvsClave_PrototypeClaveTrackEnabled", mEvsClave_PrototypeClaveTrackEnabled);
    if (v >= 10)
        ar& make_nvp("mEvsClave_FollowTrackEnabled", mEvsClave_FollowTrackEnabled);
    ar& make_nvp("mEvsClavePatternsAccentDistHasToMatchLowerThanPercent", mEvsClavePatternsAccentDistHasToMatchLowerThanPercent);
    ar& make_nvp("mEvsClavePatternsSystemDistHasToMatchLowerThanPercent", mEvsClavePatternsSystemDistHasToMatchLowerThanPercent);
    ar& make_nvp("mEvsClaveFillsDistHasToMatchLowerThanPercent", mEvsClaveFillsDistHasToMatchLowerThanPercent);
    if (v < 3) {
        int dummy = 0;
        ar& make_nvp("dummy", dummy);
    } else {
        ar& make_nvp("mEvsClaveClosestIxPatternHistForName", mEvsClaveClosestIxPatternHistForName);
    }
    ar& make_nvp("mArrangeMarkersExt", mArrangeMarkersExt);
    ar& make_nvp("mArrangeMarkersIntAc", mArrangeMarkersIntAc);
    ar& make_nvp("mArrangeMarkersIntSy", mArrangeMarkersIntSy);
    ar& make_nvp("mArrangeMarkersIntFill", mArrangeMarkersIntFill);
    if (v < 12)
        ar& make_nvp("mEvsClave", mEvsClave);
    ar& make_nvp("mGrooveIx", mGrooveIx);
    ar& make_nvp("mGrooveApply", mGrooveApply);
    if (v < 8) {
        float dummyHiHatOpeningOffset = 0.0f;
        ar& make_nvp("dummyHiHatOpeningOffset", dummyHiHatOpeningOffset);
    }
    ar& make_nvp("mTraceOn", mTraceOn);
    ar& make_nvp("mTraceEventsOn", mTraceEventsOn);
    ar& make_nvp("mDbgLogDecisionsOn", mDbgLogDecisionsOn);
    ar& make_nvp("mDbgAddCoordExtToGenEvsNameds", mDbgAddCoordExtToGenEvsNameds);
    ar& make_nvp("mDbgAddPatternAndFillIxToGenEvsNameds", mDbgAddPatternAndFillIxToGenEvsNameds);
    ar& make_nvp("mDbgAddClaveNameToGenEvsNameds", mDbgAddClaveNameToGenEvsNameds);
    if (v >= 1)
        ar& make_nvp("mConvertUidEvsTo", mConvertUidEvsTo);
    if (v >= 4)
        ar& make_nvp("RegionParameters", mRegionParameters);
    if (v >= 5)
        ar& make_nvp("mStyleIx", mStyleIx);
    if (v >= 6)
        ar& make_nvp("mTempoScale", mTempoScale);
    if (v >= 9) {
        ar& make_nvp("mEvsSignTime", mEvsSignTime);
        ar& make_nvp("mEvsTempo", mEvsTempo);
        if (v >= 12)
            ar& make_nvp("mEvsClave", mEvsClave);
        if (v >= 16) {
            ar& make_nvp("mEvsClaveEvsAsBitsInBars8thOnBeat", mEvsClaveEvsAsBitsInBars8thOnBeat);
            ar& make_nvp("mEvsClaveEvsAsBitsInBars8thOffBeat", mEvsClaveEvsAsBitsInBars8thOffBeat);
        }
        ar& make_nvp("mEvsBeatedRegionParameters", mEvsBeatedRegionParameters);
        if (v >= 15) {
            ar& make_nvp("mEvsChord", mEvsChord);
            ar& make_nvp("mEvsSignKey", mEvsSignKey);
        }
        if (v >= 17)
            ar& make_nvp("mEvsHarmCenter", mEvsHarmCenter);
        if (v >= 16)
            ar& make_nvp("mParamsClave", mParamsClave);
        if (v >= 11) {
            ar& make_nvp("mGenerateStartPosAbs", mGenerateStartPosAbs);
            ar& make_nvp("mGenerateStartLeftBarPosAbs", mGenerateStartLeftBarPosAbs);
        }
        if (v >= 14) {
            ar& make_nvp("mSongName", mSongName);
            ar& make_nvp("mTrackName", mTrackName);
            ar& make_nvp("mRegionName", mRegionName);
        }
    }
}

template <class Archive>
void CGenGeneratorParams::save(Archive& ar, const unsigned int version) const
{
    const_cast<CGenGeneratorParams*>(this)->SerializeFieldsAtVersion(ar, version);
}

template <class Archive>
void CGenGeneratorParams::load(Archive& ar, const unsigned int version)
{
    SerializeFieldsAtVersion(ar, version);
}
