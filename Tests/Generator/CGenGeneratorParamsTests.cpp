#include "Generator/CGenGeneratorParams.h"
#include "Platform/ZKLog.h"

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/archive/text_iarchive.hpp>
#include <boost/archive/text_oarchive.hpp>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

CGenPatternCoordConv Conv(float minC, float maxC, float minI, float maxI)
{
    CGenPatternCoordConv c;
    c.mMinComplInt = minC;
    c.mMaxComplInt = maxC;
    c.mMinIntnInt = minI;
    c.mMaxIntnInt = maxI;
    return c;
}

CGenPatternCoordConv UndefConv()
{
    CGenPatternCoordConv c;
    c.SetToUndef();
    return c;
}

} // namespace

TEST(CGenGeneratorParams, DefaultsOfAllThreeParts)
{
    CGenGeneratorParams p(16.0f, 3);
    EXPECT_EQ(p.mGenerateLength, 16.0f);
    EXPECT_EQ(p.mStartIxPattern, 3);
    EXPECT_EQ(p.mGenre, "DefaultGenre");
    EXPECT_EQ(p.mInstType, TGenInstType_Drums);
    EXPECT_EQ(p.mConvertUidEvsTo, 2);
    EXPECT_EQ(p.mStyleIx, -1);
    EXPECT_EQ(p.StyleIxOrFirst(), 0);
    EXPECT_EQ(p.mTempoScale, 1.0);
    EXPECT_TRUE(p.mEraseUnplayableNotes);
    EXPECT_EQ(p.mEvsClavePatternsAccentDistHasToMatchLowerThanPercent, 1.0f);
    EXPECT_EQ(p.mEvsClavePatternsSystemDistHasToMatchLowerThanPercent, 0.0f);
    EXPECT_EQ(p.mSuperPatterns_Variation, 3);
    EXPECT_EQ(p.mSuperPatterns_LengthStrategy, 1);
    EXPECT_EQ(p.mSuperPattern_FixedBarLength, 4);
    EXPECT_EQ(p.mGrooveIx, -1);
    EXPECT_EQ(p.mGrooveApply.mSourceBeatGridLength, 0.25f);
    EXPECT_EQ(p.mGrooveApply.mBeatStrategy, 1);
    EXPECT_EQ(p.mGrooveApply.mVelocityStrategy, 4);
    EXPECT_EQ(p.mPatternCoordSyPercentOffsetCompl, 0.1f);
    EXPECT_EQ(p.mPatternCoordType, 1);
    EXPECT_EQ(p.mPatternCoordPatternsDistExtHasToMatchLowerThanPercent, 0.5f);
    EXPECT_EQ(p.mRelaxedDistPercentToFindMorePatterns, 1.4f);
    EXPECT_EQ(p.mClosenessAndVarianceStrat, 9);
    EXPECT_EQ(p.mDefaultParamsVersion, 9);
    EXPECT_TRUE(p.mPatternCoordStaticAcInt.IsUndef());
    EXPECT_EQ(p.mEvsBeatedRegionParameters.size(), 3u);
    // A region parameter that isn't in the map reads as 0.0.
    EXPECT_EQ(p.RegionParameterFloat(CGenGeneratorParamsRegion::kComplexity), 0.0);
    p.DisableAllRules();
    EXPECT_FALSE(p.mSuperPatterns_Active);
}

TEST(CGenGeneratorParams, RegionParameterKeysAreSpelledAsHostsExpect)
{
    EXPECT_STREQ(CGenGeneratorParamsRegion::kKitPieceFocus, "kitpieceFocus");
    EXPECT_STREQ(CGenGeneratorParamsRegion::kFillLockEnabled, "fillLockEnabled");
    EXPECT_STREQ(CGenGeneratorParamsRegion::kMasterComplexity, "masterComp");
    EXPECT_STREQ(CGenGeneratorParamsRegion::kMasterIntensity, "masterInt");
    EXPECT_STREQ(CGenGeneratorParamsRegion::kComplexityForFills, "complexityForFills");
}

TEST(CGenGeneratorParams, ExternalToInternalCoordinates)
{
    CGenGeneratorParams p;
    p.mPatternCoordStaticAcExt = CGenPatternCoordExt(50.0f, 20.0f);
    p.mPatternCoordStaticSyExt = CGenPatternCoordExt(10.0f, 90.0f);
    p.CalcPatternCoordStaticIntFromExt(Conv(10, 60, 0, 200), Conv(0, 10, 0, 10), UndefConv());
    EXPECT_FLOAT_EQ(p.mPatternCoordStaticAcInt.mComplInt, 35.0f);
    EXPECT_FLOAT_EQ(p.mPatternCoordStaticAcInt.mIntnInt, 40.0f);
    // Separate system coordinates are taken as set.
    EXPECT_FLOAT_EQ(p.mPatternCoordStaticSyInt.mComplInt, 1.0f);
    EXPECT_FLOAT_EQ(p.mPatternCoordStaticSyInt.mIntnInt, 9.0f);
    // An undefined conversion passes the external value through.
    EXPECT_EQ(p.mPatternCoordStaticFillInt, CGenPatternCoordInt(50.0f, 20.0f));

    // Derived system coordinates: accent plus 100 * offset, clamped.
    p.mPatternCoordType = 0;
    p.mPatternCoordSyPercentOffsetCompl = 0.1f;
    p.mPatternCoordSyPercentOffsetIntn = -0.3f;
    EXPECT_EQ(p.PatternCoordSystemExtAccordingToType(), CGenPatternCoordExt(60.0f, 0.0f));
    p.mPatternCoordStaticAcExt = CGenPatternCoordExt(95.0f, TComplInt_Undef);
    const CGenPatternCoordExt sy = p.PatternCoordSystemExtAccordingToType();
    EXPECT_FLOAT_EQ(sy.mCompl, 100.0f);
    // An undefined accent component gives the offset alone, unclamped.
    EXPECT_FLOAT_EQ(sy.mIntn, -30.0f);

    // Undefined stays undefined through a defined conversion.
    EXPECT_TRUE(GenIsUndef(CGenPatternCoordConv::ExtToIntComponent(TComplInt_Undef, 0, 100)));
}

TEST(CGenGeneratorParams, SettingTheSystemCoordinate)
{
    CGenGeneratorParams p;
    p.mPatternCoordStaticAcExt = CGenPatternCoordExt(40.0f, 40.0f);
    p.HandleSettingOfSystemCoordAccordingToType(CGenPatternCoordExt(70.0f, 5.0f));
    // Type Separate: the accent coordinate is left alone.
    EXPECT_EQ(p.mPatternCoordStaticSyExt, CGenPatternCoordExt(70.0f, 5.0f));
    EXPECT_EQ(p.mPatternCoordStaticAcExt, CGenPatternCoordExt(40.0f, 40.0f));

    p.mPatternCoordType = 0;
    p.mPatternCoordSyPercentOffsetCompl = 0.1f;
    p.mPatternCoordSyPercentOffsetIntn = 0.1f;
    p.HandleSettingOfSystemCoordAccordingToType(CGenPatternCoordExt(70.0f, 5.0f));
    EXPECT_FLOAT_EQ(p.mPatternCoordStaticAcExt.mCompl, 60.0f);
    EXPECT_FLOAT_EQ(p.mPatternCoordStaticAcExt.mIntn, 0.0f);
}

TEST(CGenGeneratorParams, WantedCoordinateFollowsMarkers)
{
    CGenGeneratorParams p;
    p.mGenerateStartLeftBarPosAbs = 16.0f;
    p.mPatternCoordStaticAcInt = CGenPatternCoordInt(50.0f, TComplInt_Undef);
    p.mPatternCoordStaticSyInt = CGenPatternCoordInt(10.0f, 10.0f);
    p.mPatternCoordStaticFillInt = CGenPatternCoordInt(70.0f, 70.0f);
    p.mArrangeMarkersExt.push_back(CGenArrangeMarkerExt(8.0f, TGenArrangeMarkerType_Verse, CGenPatternCoordExt(10.0f, 20.0f)));
    p.mArrangeMarkersExt.push_back(CGenArrangeMarkerExt(32.0f, TGenArrangeMarkerType_Chorus, CGenPatternCoordExt(60.0f, -80.0f)));
    p.ConvertArrangeMarkersExtToInt(UndefConv(), UndefConv(), UndefConv());
    ASSERT_EQ(p.mArrangeMarkersIntAc.size(), 2u);
    EXPECT_EQ(p.mArrangeMarkersIntFill[1].mType, TGenArrangeMarkerType_Chorus);

    // A marker before the region's start still sets the first bars; an
    // undefined base component takes the marker's.
    EXPECT_EQ(p.WantedPatternCoordIntAt(TPatternGraphType_AccentFamily, 0.0f), CGenPatternCoordInt(60.0f, 20.0f));
    // Sums clamp to 0..100.
    EXPECT_EQ(p.WantedPatternCoordIntAt(TPatternGraphType_AccentAddon, 16.0f), CGenPatternCoordInt(100.0f, -80.0f));
    EXPECT_EQ(p.WantedPatternCoordIntAt(TPatternGraphType_System, 16.0f), CGenPatternCoordInt(70.0f, 0.0f));
    EXPECT_EQ(p.WantedPatternCoordIntAt(TPatternGraphType_Percussion, 0.0f), CGenPatternCoordInt(20.0f, 30.0f));
    EXPECT_EQ(p.WantedPatternCoordIntAt(TPatternGraphType_Fill, 16.0f), CGenPatternCoordInt(100.0f, 0.0f));
    // Before the first marker, or at an undefined position: the base.
    EXPECT_EQ(p.WantedPatternCoordIntAt(TPatternGraphType_System, -10.0f), CGenPatternCoordInt(10.0f, 10.0f));
    EXPECT_EQ(p.WantedPatternCoordIntAt(TPatternGraphType_System, TGenBeatPos_Undef), CGenPatternCoordInt(10.0f, 10.0f));
}

namespace {

CGenGeneratorParams SampleParams()
{
    CGenGeneratorParams p(32.0f, 2);
    p.mGenre = "Funk";
    p.mInstType = TGenInstType_Percussion;
    p.mStyleIx = 3;
    p.mTempoScale = 0.5;
    p.mGenerateStartPosAbs = 12.0f;
    p.mGenerateStartLeftBarPosAbs = 8.0f;
    p.mPatternCoordStaticAcExt = CGenPatternCoordExt(33.0f, 44.0f);
    p.mPatternCoordStaticAcInt = CGenPatternCoordInt(1.5f, TComplInt_Undef);
    p.SetRegionParameterFloat(CGenGeneratorParamsRegion::kSwing, 0.25);
    p.mRegionParameters.SetStringValueForKey("latin", "percInstrumentName");
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(0.0f, CGenSignTime(4, 2)));
    p.mEvsSignTime.InsertAtCorrectBeatPos(CGenEvSignTime(16.0f, CGenSignTime(7, 3)));
    p.mEvsTempo.InsertAtCorrectBeatPos(CGenEvTempo(0.0f, 96.0));
    p.mArrangeMarkersExt.push_back(CGenArrangeMarkerExt(4.0f, TGenArrangeMarkerType_Intro, CGenPatternCoordExt(1, 2), CGenFillCoord(0.5f), "A"));
    p.mEvsClaveClosestIxPatternHistForName["Family"].push_back(CGenBeatedPatternIx(0.0f, 24));
    p.mSongName = "Song";
    p.mRegionName = "Region 1";
    p.mParamsClave.mClaveRecalcOnGenerate = 2;
    return p;
}

void ExpectSameStoredFields(const CGenGeneratorParams& a, const CGenGeneratorParams& b)
{
    EXPECT_EQ(a.mGenre, b.mGenre);
    EXPECT_EQ(a.mInstType, b.mInstType);
    EXPECT_EQ(a.mGenerateLength, b.mGenerateLength);
    EXPECT_EQ(a.mStartIxPattern, b.mStartIxPattern);
    EXPECT_EQ(a.mStyleIx, b.mStyleIx);
    EXPECT_EQ(a.mTempoScale, b.mTempoScale);
    EXPECT_EQ(a.mGenerateStartPosAbs, b.mGenerateStartPosAbs);
    EXPECT_EQ(a.mGenerateStartLeftBarPosAbs, b.mGenerateStartLeftBarPosAbs);
    EXPECT_EQ(a.mPatternCoordStaticAcExt, b.mPatternCoordStaticAcExt);
    EXPECT_EQ(a.mPatternCoordStaticAcInt, b.mPatternCoordStaticAcInt);
    EXPECT_EQ(a.mRegionParameters, b.mRegionParameters);
    EXPECT_EQ(a.mEvsSignTime.size(), b.mEvsSignTime.size());
    EXPECT_EQ(a.mEvsTempo, b.mEvsTempo);
    EXPECT_EQ(a.mArrangeMarkersExt, b.mArrangeMarkersExt);
    EXPECT_EQ(a.mEvsClaveClosestIxPatternHistForName, b.mEvsClaveClosestIxPatternHistForName);
    EXPECT_EQ(a.mSongName, b.mSongName);
    EXPECT_EQ(a.mRegionName, b.mRegionName);
    EXPECT_EQ(a.mParamsClave, b.mParamsClave);
}

// Writes the field list as it stood at an older class version: the archive of
// a class at version `V` is what an older program wrote.
template <unsigned V>
struct ParamsAtVersion {
    CGenGeneratorParams* mParams;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        mParams->SerializeFieldsAtVersion(ar, V);
    }
};

} // namespace

namespace boost::serialization {
template <unsigned V>
struct version<ParamsAtVersion<V>> {
    typedef mpl::int_<V> type;
    typedef mpl::integral_c_tag tag;
    BOOST_STATIC_CONSTANT(int, value = V);
};
} // namespace boost::serialization

TEST(CGenGeneratorParams, ArchiveRoundTripsInTextAndBinary)
{
    const CGenGeneratorParams p = SampleParams();
    CGenGeneratorParams fromData;
    ASSERT_TRUE(fromData.DeserializeFromData(p.SerializeToData()));
    ExpectSameStoredFields(p, fromData);

    std::stringstream bin;
    {
        boost::archive::binary_oarchive oa(bin);
        oa << p;
    }
    CGenGeneratorParams fromBinary;
    {
        boost::archive::binary_iarchive ia(bin);
        ia >> fromBinary;
    }
    ExpectSameStoredFields(p, fromBinary);

    const auto path = std::filesystem::temp_directory_path() / "zkgen_params_roundtrip.txt";
    ASSERT_TRUE(p.SerializeToPath(path.string()));
    CGenGeneratorParams fromPath;
    ASSERT_TRUE(fromPath.DeserializeFromPath(path.string()));
    ExpectSameStoredFields(p, fromPath);
    std::filesystem::remove(path);
}

TEST(CGenGeneratorParams, ReadsOlderClassVersions)
{
    CGenGeneratorParams written = SampleParams();
    // Version 8: no signatures, tempo, positions or names yet, clave track in
    // its old place, the hi-hat offset still stored.
    std::stringstream s;
    {
        boost::archive::text_oarchive oa(s);
        const ParamsAtVersion<8> old {&written};
        oa << old;
    }
    CGenGeneratorParams read;
    {
        boost::archive::text_iarchive ia(s);
        ia >> read;
    }
    EXPECT_EQ(read.mGenre, "Funk");
    EXPECT_EQ(read.mTempoScale, 0.5);
    EXPECT_EQ(read.mStyleIx, 3);
    EXPECT_EQ(read.mRegionParameters, written.mRegionParameters);
    EXPECT_TRUE(read.mEvsSignTime.empty());
    EXPECT_EQ(read.mGenerateStartPosAbs, 0.0f);
    EXPECT_TRUE(read.mSongName.empty());

    // Version 1: the oldest layout with every dummy field.
    std::stringstream s1;
    {
        boost::archive::text_oarchive oa(s1);
        const ParamsAtVersion<1> old {&written};
        oa << old;
    }
    CGenGeneratorParams read1;
    {
        boost::archive::text_iarchive ia(s1);
        ia >> read1;
    }
    EXPECT_EQ(read1.mGenre, "Funk");
    EXPECT_EQ(read1.mConvertUidEvsTo, 2);
    EXPECT_TRUE(read1.mRegionParameters.empty());
    EXPECT_EQ(read1.mStyleIx, -1);
    EXPECT_TRUE(read1.mEvsClaveClosestIxPatternHistForName.empty());
}

TEST(CGenGeneratorParams, OutdatedDefaultsVersionIsReplacedByFreshDefaults)
{
    CGenGeneratorParams p = SampleParams();
    p.mDefaultParamsVersion = 8;
    CGenGeneratorParams read;
    ASSERT_TRUE(read.DeserializeFromData(p.SerializeToData()));
    EXPECT_EQ(read.mGenre, "DefaultGenre");
    EXPECT_TRUE(GenIsUndef(read.mGenerateLength));
    EXPECT_EQ(read.mStartIxPattern, -1);
    EXPECT_EQ(read.mDefaultParamsVersion, 9);
}

TEST(CGenGeneratorParams, DamagedArchiveIsRefused)
{
    CGenGeneratorParams p;
    std::vector<uint8_t> data = SampleParams().SerializeToData();
    data.resize(data.size() / 2);
    EXPECT_FALSE(p.DeserializeFromData(data));
    EXPECT_FALSE(p.DeserializeFromData({'x', 'y'}));
    EXPECT_FALSE(p.DeserializeFromPath("/nonexistent/zkgen/params.txt"));

    // A damaged file leaves the params as they were and says why.
    const auto path = std::filesystem::temp_directory_path() / ("zkgen_params_bad_" + std::to_string(::getpid()));
    {
        std::ofstream os(path);
        os << "22 serialization::archive 18 0 17 garbage";
    }
    CGenGeneratorParams kept = SampleParams();
    ZKLogCapture log;
    EXPECT_FALSE(kept.DeserializeFromPath(path.string()));
    EXPECT_EQ(kept.SerializeToData(), SampleParams().SerializeToData());
    EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStorage),
        std::vector<std::string> {"CGenGeneratorParams DeserializeFromPath '" + path.string()
            + "' failed with reason: the archive is damaged or of another kind: input stream error"});
    std::filesystem::remove(path);
}

TEST(CGenGeneratorParams, TraceNamesItsParts)
{
    const std::string t = SampleParams().TraceString();
    EXPECT_EQ(t.rfind("CGenGeneratorParams", 0), 0u);
    for (const char* s : {"Genre Funk", "  GenerateStartPos 12", ",  GenerateLength 32", "PatternCoordType 1", "Separate",
             "  PatternCoordStaticAcExt  Ext_C33_I44", "  PatternCoordStaticAcInt  Int_C1.5_IUndef",
             "  PatternCoordSyPercentOffset Compl ", " PatternCoordSystemExtAccordingToType ",
             " distHasToMatchLowerThanPercent ", "EvsClaveDistHasToMatchLowerThanPercent: PatternsAccent 1",
             "  PatternsSystem 0", "  Fills 0"})
        EXPECT_NE(t.find(s), std::string::npos) << s;
}
