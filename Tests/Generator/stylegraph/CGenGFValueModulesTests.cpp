#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/patterns/CGenPattern.h"
#include "Generator/stylegraph/CGenGFModuleContextAcAddonSeq.h"
#include "Generator/stylegraph/CGenGFModuleContextAcFamSeq.h"
#include "Generator/stylegraph/CGenGFModuleContextComplIntn.h"
#include "Generator/stylegraph/CGenGFModuleContextCurrentArrangePartName.h"
#include "Generator/stylegraph/CGenGFModuleLog.h"
#include "Generator/stylegraph/CGenGFModuleRegionParameters.h"
#include "Generator/stylegraph/CGenGFNodeManager.h"
#include "Generator/stylegraph/CGenStyleGraphDump.h"
#include "Generator/stylegraph/CGenStyleGraphs.h"
#include "Platform/ZKFileOps.h"
#include "Platform/ZKLog.h"
#include "StyleGraphTestModules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

using namespace zkgtest;

namespace {

// A generation context with parameters whose region's left bar is at beat 8,
// so that generate position p stands at absolute beat p + 8.
struct Rig {
    CGenGeneratorParams params;
    CGenContext gen {&params};
    CGenGFContext context = CGenGFContext::contextWithGenContext(&gen);

    Rig() { params.mGenerateStartLeftBarPosAbs = 8.0f; }

    // A layer's sequence: pool patterns of the given names at the given
    // absolute positions.
    void SetSequence(TPatternGraphType type, std::initializer_list<std::pair<const char*, float>> entries)
    {
        auto pool = std::make_shared<CGenPatterns>();
        CGenPatternModAndProbs list;
        for (const auto& [name, pos] : entries) {
            list.emplace_back(pool, pool->size(), pos, type);
            pool->push_back(CGenPattern(name));
        }
        gen.mPatternMap[type] = list;
    }

    // One pull of a module at generate position `pos`.
    bool Pull(CGenGFModule& module, float pos)
    {
        gen.mGeneratePos = pos;
        return module._executeWithArguments(nullptr);
    }
};

struct FamNames {
    std::string current, previous, family;
    bool operator==(const FamNames&) const = default;
};

FamNames Names(const CGenGFModuleContextAcFamSeq& m)
{
    return {m.outputCurrentFamilyName->stringValue(), m.outputPreviousFamilyName->stringValue(),
        m.outputFamilyName->stringValue()};
}

void PrintTo(const FamNames& n, std::ostream* os)
{
    *os << "{\"" << n.current << "\", \"" << n.previous << "\", \"" << n.family << "\"}";
}

class TempDir {
public:
    TempDir()
    {
        std::string name("zkgen_valuemodules_");
        name.append(std::to_string(::getpid())).append("_").append(std::to_string(sCounter++));
        mPath = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directories(mPath);
    }
    ~TempDir() { std::filesystem::remove_all(mPath); }
    const std::filesystem::path& Path() const { return mPath; }

private:
    static inline int sCounter = 0;
    std::filesystem::path mPath;
};

// Arrangement markers of the given names at the given absolute positions.
CGenArrangeMarkersExt Markers(std::initializer_list<std::pair<const char*, float>> markers)
{
    CGenArrangeMarkersExt list;
    for (const auto& [name, pos] : markers)
        list.push_back(CGenArrangeMarkerExt(pos, TGenArrangeMarkerType_Verse, CGenPatternCoordExt(50.0f, 50.0f),
            CGenFillCoord(), name));
    return list;
}

// Every output as a number, Indexed ones included.
std::vector<double> RegionValues(const CGenGFModuleRegionParameters& m)
{
    std::vector<double> values;
    for (const auto& port : m.outputPorts())
        values.push_back(static_cast<const CGenGFPort&>(*port).value().DoubleValue().value_or(-1.0));
    return values;
}

} // namespace

// ----- the registry

TEST(CGenGFValueModules, RegisteredInTheirPlacesOfTheFixedOrder)
{
    std::vector<std::string> names;
    for (const ZKGFNodeClassDescription* d : CGenGFNodeManager::setupDefaultNodeManager().nodeClasses())
        names.push_back(d->Name());
    const std::vector<std::string> run {"CGenGFModuleValueSwitch", "CGenGFModuleContextAcFamSeq",
        "CGenGFModuleContextAcAddonSeq", "CGenGFModuleContextCurrentArrangePartName", "CGenGFModulePatternsMerger",
        "CGenGFModuleLog", "CGenGFModuleContextComplIntn", "CGenGFModuleRegionParameters",
        "CGenGFModulePatternsIterator"};
    const auto it = std::search(names.begin(), names.end(), run.begin(), run.end());
    EXPECT_NE(it, names.end());
}

TEST(CGenGFValueModules, ProvidersWithoutInputsAndLogIsAConsumer)
{
    const std::vector<const CGenGFClassDescription*> providers {&CGenGFModuleContextAcFamSeq::ClassDescription(),
        &CGenGFModuleContextAcAddonSeq::ClassDescription(), &CGenGFModuleContextComplIntn::ClassDescription(),
        &CGenGFModuleContextCurrentArrangePartName::ClassDescription(),
        &CGenGFModuleRegionParameters::ClassDescription()};
    for (const CGenGFClassDescription* d : providers) {
        SCOPED_TRACE(d->Name());
        EXPECT_EQ(d->executionMode(), TGenGFExecutionMode_Provider);
        EXPECT_FALSE(d->allowsSubpatches());
        EXPECT_TRUE(d->stateKeys().empty());
        EXPECT_TRUE(std::none_of(d->Ports().begin(), d->Ports().end(), [](const ZKGFPortSpec& p) { return p.mDirection < 0; }));
    }
    const CGenGFClassDescription& log = CGenGFModuleLog::ClassDescription();
    EXPECT_EQ(log.executionMode(), TGenGFExecutionMode_Consumer);
    EXPECT_TRUE(log.stateKeys().empty());
    ASSERT_EQ(log.Ports().size(), 3u);
    EXPECT_EQ(log.Ports()[0].mKey, "inputValue");
    EXPECT_EQ(log.Ports()[0].mClass, &CGenGFVirtualPort::Class());
    EXPECT_EQ(log.Ports()[1].mKey, "inputLogToConsole");
    EXPECT_EQ(log.Ports()[2].mKey, "inputLogToUI");
    EXPECT_EQ(log.Ports()[2].mClass, &CGenGFPortBoolean::Class());
}

// ----- accent family and add-on sequences

TEST(CGenGFValueModules, AcFamSeqNamesTheFamiliesAroundThePosition)
{
    Rig r;
    // Families at absolute beats 12, 20 and 28.
    r.SetSequence(TPatternGraphType_AccentFamily, {{"famA", 12.0f}, {"famB", 20.0f}, {"famC", 28.0f}});
    CGenGFModuleContextAcFamSeq m;
    ASSERT_TRUE(m._setup(r.context));

    // 0 + 8 = 8 lies before the first entry (12): nothing plays yet.
    EXPECT_TRUE(r.Pull(m, 0.0f));
    EXPECT_EQ(Names(m), (FamNames {"", "", ""}));
    // 4 + 8 = 12: the first entry starts right there; it has no predecessor.
    EXPECT_TRUE(r.Pull(m, 4.0f));
    EXPECT_EQ(Names(m), (FamNames {"famA", "", "famA"}));
    // 13.5 + 8 = 21.5: famB (20) is the last at or before it, famA before that.
    EXPECT_TRUE(r.Pull(m, 13.5f));
    EXPECT_EQ(Names(m), (FamNames {"famB", "famA", "famB"}));
    // 30 + 8 = 38: past the last entry, famC stays in force.
    EXPECT_TRUE(r.Pull(m, 30.0f));
    EXPECT_EQ(Names(m), (FamNames {"famC", "famB", "famC"}));
    // Back before the first entry: the earlier names are gone.
    EXPECT_TRUE(r.Pull(m, 1.0f));
    EXPECT_EQ(Names(m), (FamNames {"", "", ""}));

    // Clean-up empties the outputs.
    EXPECT_TRUE(r.Pull(m, 20.0f));
    EXPECT_EQ(m.outputFamilyName->stringValue(), "famC");
    m._cleanup();
    EXPECT_EQ(Names(m), (FamNames {"", "", ""}));
}

TEST(CGenGFValueModules, AcFamSeqReadsTheOriginalNames)
{
    Rig r;
    r.SetSequence(TPatternGraphType_AccentFamily, {{"famA", 8.0f}, {"famB", 16.0f}});
    // A private copy renamed on the way still reports its library name.
    r.gen.mPatternMap[TPatternGraphType_AccentFamily][1].PatternToBeModified().mName = "renamed";
    CGenGFModuleContextAcFamSeq m;
    ASSERT_TRUE(m._setup(r.context));
    // 9 + 8 = 17: famB at 16, famA before it.
    EXPECT_TRUE(r.Pull(m, 9.0f));
    EXPECT_EQ(Names(m), (FamNames {"famB", "famA", "famB"}));
    m._cleanup();
}

TEST(CGenGFValueModules, AcFamSeqWithoutSequencePositionOrContextGivesEmptyNames)
{
    Rig r;
    CGenGFModuleContextAcFamSeq m;
    ASSERT_TRUE(m._setup(r.context));
    // No accent family list at all.
    EXPECT_TRUE(r.Pull(m, 0.0f));
    EXPECT_EQ(Names(m), (FamNames {"", "", ""}));
    // An empty list.
    r.gen.mPatternMap[TPatternGraphType_AccentFamily];
    EXPECT_TRUE(r.Pull(m, 1.0f));
    EXPECT_EQ(Names(m), (FamNames {"", "", ""}));
    // A list, but an undefined position.
    r.SetSequence(TPatternGraphType_AccentFamily, {{"famA", 0.0f}});
    EXPECT_TRUE(r.Pull(m, TGenBeatPos_Undef));
    EXPECT_EQ(Names(m), (FamNames {"", "", ""}));
    // Without parameters the absolute position is unknown.
    r.gen.mParams = nullptr;
    EXPECT_TRUE(r.Pull(m, 2.0f));
    EXPECT_EQ(Names(m), (FamNames {"", "", ""}));
    m._cleanup();

    // Without a generation the module still lets the pull go on.
    CGenGFModuleContextAcFamSeq alone;
    ASSERT_TRUE(alone._setup(CGenGFContext()));
    EXPECT_TRUE(alone._executeWithArguments(nullptr));
    EXPECT_EQ(Names(alone), (FamNames {"", "", ""}));
    alone._cleanup();
}

TEST(CGenGFValueModules, AcAddonSeqReadsTheAddonLayer)
{
    Rig r;
    r.SetSequence(TPatternGraphType_AccentFamily, {{"famA", 0.0f}});
    r.SetSequence(TPatternGraphType_AccentAddon, {{"addX", 8.0f}, {"addY", 16.0f}});
    CGenGFModuleContextAcAddonSeq m;
    ASSERT_TRUE(m._setup(r.context));
    // -4 + 8 = 4: before addX (8).
    EXPECT_TRUE(r.Pull(m, -4.0f));
    EXPECT_EQ(m.outputCurrentAddonName->stringValue(), "");
    EXPECT_EQ(m.outputPreviousAddonName->stringValue(), "");
    // 0 + 8 = 8: the first add-on, nothing before it.
    EXPECT_TRUE(r.Pull(m, 0.0f));
    EXPECT_EQ(m.outputCurrentAddonName->stringValue(), "addX");
    EXPECT_EQ(m.outputPreviousAddonName->stringValue(), "");
    // 9 + 8 = 17: addY (16), addX before it; the family layer plays no part.
    EXPECT_TRUE(r.Pull(m, 9.0f));
    EXPECT_EQ(m.outputCurrentAddonName->stringValue(), "addY");
    EXPECT_EQ(m.outputPreviousAddonName->stringValue(), "addX");
    m._cleanup();
    EXPECT_EQ(m.outputCurrentAddonName->stringValue(), "");
    EXPECT_EQ(m.outputPreviousAddonName->stringValue(), "");

    CGenGFModuleContextAcAddonSeq alone;
    ASSERT_TRUE(alone._setup(CGenGFContext()));
    EXPECT_TRUE(alone._executeWithArguments(nullptr));
    EXPECT_EQ(alone.outputCurrentAddonName->stringValue(), "");
    alone._cleanup();
}

// ----- complexity and intensity

TEST(CGenGFValueModules, ComplIntnSeparateSystemCoordinateIsClamped)
{
    Rig r;
    ASSERT_EQ(r.params.mPatternCoordType, CGenGeneratorParams::kPatternCoordType_Separate);
    r.params.mPatternCoordStaticAcExt = CGenPatternCoordExt(40.0f, 55.0f);
    r.params.mPatternCoordStaticSyExt = CGenPatternCoordExt(130.0f, 62.5f);
    CGenGFModuleContextComplIntn m;
    ASSERT_TRUE(m._setup(r.context));
    EXPECT_TRUE(r.Pull(m, 0.0f));
    EXPECT_EQ(m.outputAccCompl->doubleValue(), 40.0);
    EXPECT_EQ(m.outputAccIntn->doubleValue(), 55.0);
    // 130 is cut to 100; 62.5 lies inside.
    EXPECT_EQ(m.outputSysCompl->doubleValue(), 100.0);
    EXPECT_EQ(m.outputSysIntn->doubleValue(), 62.5);

    // -5 is raised to 0, 250 cut to 100.
    r.params.mPatternCoordStaticSyExt = CGenPatternCoordExt(-5.0f, 250.0f);
    EXPECT_TRUE(r.Pull(m, 1.0f));
    EXPECT_EQ(m.outputSysCompl->doubleValue(), 0.0);
    EXPECT_EQ(m.outputSysIntn->doubleValue(), 100.0);
    m._cleanup();
}

TEST(CGenGFValueModules, ComplIntnDerivedSystemCoordinate)
{
    Rig r;
    r.params.mPatternCoordType = 0;
    r.params.mPatternCoordStaticAcExt = CGenPatternCoordExt(40.0f, 55.0f);
    r.params.mPatternCoordSyPercentOffsetCompl = 0.1f;
    r.params.mPatternCoordSyPercentOffsetIntn = 0.0f;
    // The stored system coordinate is not used in this mode.
    r.params.mPatternCoordStaticSyExt = CGenPatternCoordExt(1.0f, 2.0f);
    CGenGFModuleContextComplIntn m;
    ASSERT_TRUE(m._setup(r.context));
    EXPECT_TRUE(r.Pull(m, 0.0f));
    EXPECT_EQ(m.outputAccCompl->doubleValue(), 40.0);
    EXPECT_EQ(m.outputAccIntn->doubleValue(), 55.0);
    // 40 + 100 * 0.1 = 50; 55 + 100 * 0 = 55.
    EXPECT_EQ(m.outputSysCompl->doubleValue(), 50.0);
    EXPECT_EQ(m.outputSysIntn->doubleValue(), 55.0);

    // 95 + 100 * 0.1 = 105, cut to 100; 20 + 100 * -0.125 = 7.5.
    r.params.mPatternCoordStaticAcExt = CGenPatternCoordExt(95.0f, 20.0f);
    r.params.mPatternCoordSyPercentOffsetIntn = -0.125f;
    EXPECT_TRUE(r.Pull(m, 1.0f));
    EXPECT_EQ(m.outputSysCompl->doubleValue(), 100.0);
    EXPECT_EQ(m.outputSysIntn->doubleValue(), 7.5);

    // An undefined accent complexity: its port keeps what it had, and the
    // system complexity is the offset alone, 100 * 1.5 = 150, cut to 100.
    r.params.mPatternCoordStaticAcExt = CGenPatternCoordExt(TComplInt_Undef, 20.0f);
    r.params.mPatternCoordSyPercentOffsetCompl = 1.5f;
    m.outputAccCompl->setDoubleValue(7.0);
    EXPECT_TRUE(r.Pull(m, 2.0f));
    EXPECT_EQ(m.outputAccCompl->doubleValue(), 7.0);
    EXPECT_EQ(m.outputAccIntn->doubleValue(), 20.0);
    EXPECT_EQ(m.outputSysCompl->doubleValue(), 100.0);
    // 20 + 100 * -0.125 = 7.5.
    EXPECT_EQ(m.outputSysIntn->doubleValue(), 7.5);

    // An undefined offset leaves its system component alone.
    r.params.mPatternCoordStaticAcExt = CGenPatternCoordExt(30.0f, 20.0f);
    r.params.mPatternCoordSyPercentOffsetCompl = TGenBeatPos_Undef;
    m.outputSysCompl->setDoubleValue(3.0);
    EXPECT_TRUE(r.Pull(m, 3.0f));
    EXPECT_EQ(m.outputSysCompl->doubleValue(), 3.0);
    EXPECT_EQ(m.outputAccCompl->doubleValue(), 30.0);
    m._cleanup();
}

TEST(CGenGFValueModules, ComplIntnUndefinedComponentsLeaveThePortsAlone)
{
    Rig r;
    r.params.mPatternCoordStaticAcExt = CGenPatternCoordExt::Undef();
    r.params.mPatternCoordStaticSyExt = CGenPatternCoordExt::Undef();
    CGenGFModuleContextComplIntn m;
    ASSERT_TRUE(m._setup(r.context));
    // The start of the run set every output to 0.
    EXPECT_EQ(m.outputSysIntn->doubleValue(), 0.0);
    for (CGenGFPortNumeric* port : {m.outputAccCompl, m.outputAccIntn, m.outputSysCompl, m.outputSysIntn})
        port->setDoubleValue(11.0);
    EXPECT_TRUE(r.Pull(m, 0.0f));
    for (CGenGFPortNumeric* port : {m.outputAccCompl, m.outputAccIntn, m.outputSysCompl, m.outputSysIntn})
        EXPECT_EQ(port->doubleValue(), 11.0);
    m._cleanup();
}

TEST(CGenGFValueModules, ComplIntnWithoutParametersStopsThePull)
{
    Rig r;
    r.gen.mParams = nullptr;
    CGenGFModuleContextComplIntn m;
    ASSERT_TRUE(m._setup(r.context));
    EXPECT_FALSE(r.Pull(m, 0.0f));
    m._cleanup();

    CGenGFModuleContextComplIntn alone;
    ASSERT_TRUE(alone._setup(CGenGFContext()));
    EXPECT_FALSE(alone._executeWithArguments(nullptr));
    alone._cleanup();
}

// ----- arrangement part

TEST(CGenGFValueModules, CurrentArrangePartNameFollowsTheMarkers)
{
    Rig r;
    r.params.mArrangeMarkersExt = Markers({{"Intro", 0.0f}, {"Verse", 16.0f}, {"Chorus", 48.0f}});
    CGenGFModuleContextCurrentArrangePartName m;
    ASSERT_TRUE(m._setup(r.context));
    // -10 + 8 = -2: before the first marker.
    EXPECT_TRUE(r.Pull(m, -10.0f));
    EXPECT_EQ(m.outputArrangePartName->stringValue(), "");
    // 0 + 8 = 8: Intro (0).
    EXPECT_TRUE(r.Pull(m, 0.0f));
    EXPECT_EQ(m.outputArrangePartName->stringValue(), "Intro");
    // 8 + 8 = 16: exactly on Verse.
    EXPECT_TRUE(r.Pull(m, 8.0f));
    EXPECT_EQ(m.outputArrangePartName->stringValue(), "Verse");
    // 39.5 + 8 = 47.5: still Verse, Chorus starts at 48.
    EXPECT_TRUE(r.Pull(m, 39.5f));
    EXPECT_EQ(m.outputArrangePartName->stringValue(), "Verse");
    // 100 + 8 = 108: Chorus.
    EXPECT_TRUE(r.Pull(m, 100.0f));
    EXPECT_EQ(m.outputArrangePartName->stringValue(), "Chorus");
    // An undefined position names nothing.
    EXPECT_TRUE(r.Pull(m, TGenBeatPos_Undef));
    EXPECT_EQ(m.outputArrangePartName->stringValue(), "");

    EXPECT_TRUE(r.Pull(m, 100.0f));
    m._cleanup();
    EXPECT_EQ(m.outputArrangePartName->stringValue(), "");
}

TEST(CGenGFValueModules, CurrentArrangePartNameWithoutContextStopsThePull)
{
    // No generation at all.
    CGenGFModuleContextCurrentArrangePartName alone;
    ASSERT_TRUE(alone._setup(CGenGFContext()));
    EXPECT_FALSE(alone._executeWithArguments(nullptr));
    alone._cleanup();

    // A generation without parameters.
    Rig r;
    r.gen.mParams = nullptr;
    CGenGFModuleContextCurrentArrangePartName m;
    ASSERT_TRUE(m._setup(r.context));
    EXPECT_FALSE(r.Pull(m, 0.0f));
    m._cleanup();

    // Parameters without markers: an empty name and the pull goes on.
    Rig withParams;
    CGenGFModuleContextCurrentArrangePartName empty;
    ASSERT_TRUE(empty._setup(withParams.context));
    EXPECT_TRUE(withParams.Pull(empty, 0.0f));
    EXPECT_EQ(empty.outputArrangePartName->stringValue(), "");
    empty._cleanup();
}

// ----- region parameters

TEST(CGenGFValueModules, RegionParameterKeysComeFromThePortKeys)
{
    EXPECT_EQ(CGenGFModuleRegionParameters::ParameterKeyForPortKey("outputKitpieceFocus"), "kitpieceFocus");
    EXPECT_EQ(CGenGFModuleRegionParameters::ParameterKeyForPortKey("outputHiHat"), "hiHat");
    EXPECT_EQ(CGenGFModuleRegionParameters::ParameterKeyForPortKey("outputSystemsEnabled"), "systemsEnabled");
    EXPECT_EQ(CGenGFModuleRegionParameters::ParameterKeyForPortKey("outputX"), "x");
    EXPECT_EQ(CGenGFModuleRegionParameters::ParameterKeyForPortKey("output"), "");

    // Every fixed port reads one of the region's key constants.
    CGenGFModuleRegionParameters m;
    std::vector<std::string> keys;
    for (const auto& port : m.outputPorts())
        keys.push_back(CGenGFModuleRegionParameters::ParameterKeyForPortKey(port->key()));
    using R = CGenGeneratorParamsRegion;
    EXPECT_EQ(keys, (std::vector<std::string> {R::kComplexity, R::kIntensity, R::kFills, R::kSwing, R::kSwingType,
                        R::kGroove, R::kDynamics, R::kHiHat, R::kAccentVariation, R::kKitPieceFocus,
                        R::kSystemVariation, R::kPercInstrument, R::kPercVariation, R::kHiHatAutomatic,
                        R::kKickEnabled, R::kSnareEnabled, R::kSystemsEnabled}));
}

TEST(CGenGFValueModules, RegionParametersReadTheFloatSection)
{
    Rig r;
    CGenVariantMap& region = r.params.mRegionParameters;
    region.SetFloatValueForKey(62.5, "complexity");
    region.SetFloatValueForKey(0.25, "fills");
    region.SetFloatValueForKey(12.75, "swing");
    region.SetFloatValueForKey(2.0, "swingType");
    region.SetFloatValueForKey(3.0, "groove");
    region.SetFloatValueForKey(90.0, "dynamics");
    region.SetFloatValueForKey(45.5, "hiHat");
    region.SetFloatValueForKey(2.9, "accentVariation");
    region.SetFloatValueForKey(4.0, "kitpieceFocus");
    region.SetFloatValueForKey(-3.0, "systemVariation");
    region.SetFloatValueForKey(7.0, "percInstrument");
    region.SetFloatValueForKey(1.0, "percVariation");
    region.SetFloatValueForKey(1.0, "hiHatAutomatic");
    region.SetFloatValueForKey(1.0, "kickEnabled");
    region.SetFloatValueForKey(0.0, "snareEnabled");
    region.SetFloatValueForKey(1.0, "systemsEnabled");
    // Intensity stored in the other sections is not seen.
    region.SetIntValueForKey(99, "intensity");
    region.SetStringValueForKey("77", "intensity");
    region.SetFloatValueForKey(33.0, "masterComp");

    CGenGFModuleRegionParameters m;
    // A port added by name reads its parameter as well.
    ASSERT_NE(m.createOutputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "outputMasterComp",
                  TGenDict {{"name", "Master Complexity"}}),
        nullptr);
    ASSERT_TRUE(m._setup(r.context));
    EXPECT_TRUE(r.Pull(m, 0.0f));
    // The numbers as they are; the indices cut (2.9 -> 2) and raised to 0
    // (-3 -> 0); intensity absent from the float section -> 0.
    EXPECT_EQ(RegionValues(m), (std::vector<double> {62.5, 0.0, 0.25, 12.75, 2.0, 3.0, 90.0, 45.5, 2.0, 4.0, 0.0, 7.0,
                                   1.0, 1.0, 1.0, 0.0, 1.0, 33.0}));
    EXPECT_EQ(m.outputAccentVariation->indexValue(), 2u);
    EXPECT_EQ(m.outputSystemVariation->indexValue(), 0u);

    // An empty region gives 0 on every port.
    region.Clear();
    EXPECT_TRUE(r.Pull(m, 1.0f));
    EXPECT_EQ(RegionValues(m), std::vector<double>(18, 0.0));
    m._cleanup();
}

TEST(CGenGFValueModules, RegionParametersWithoutContextStopThePull)
{
    CGenGFModuleRegionParameters alone;
    ASSERT_TRUE(alone._setup(CGenGFContext()));
    EXPECT_FALSE(alone._executeWithArguments(nullptr));
    alone._cleanup();

    Rig r;
    r.gen.mParams = nullptr;
    CGenGFModuleRegionParameters m;
    ASSERT_TRUE(m._setup(r.context));
    EXPECT_FALSE(r.Pull(m, 0.0f));
    m._cleanup();
}

// ----- log

namespace {

// source.outputArrangePartName -> log.inputValue, with one marker "value"
// in force from beat 0.
struct LogRig {
    Rig r;
    CGenGFModule root;
    CGenGFModuleContextCurrentArrangePartName* source =
        AddModule<CGenGFModuleContextCurrentArrangePartName>(root, "source");
    CGenGFModuleLog* log = AddModule<CGenGFModuleLog>(root, "log");

    LogRig()
    {
        r.params.mArrangeMarkersExt = Markers({{"value", 0.0f}});
        EXPECT_NE(root.createConnectionFromPortToPortForKey(*source->outputArrangePartName, *log->inputValue), nullptr);
    }
    ~LogRig()
    {
        if (root.isRunning())
            root._cleanup();
    }
    void Run(float pos)
    {
        if (!root.isRunning()) {
            EXPECT_TRUE(root._setup(r.context));
        }
        r.gen.mGeneratePos = pos;
        EXPECT_TRUE(root.executeSubModulesWithArguments(nullptr));
    }
};

} // namespace

TEST(CGenGFValueModules, LogAppendsTheValueToTheLogString)
{
    LogRig f;
    EXPECT_EQ(f.root.executionMode(), TGenGFExecutionMode_Consumer);
    int notices = 0;
    f.log->setLogStringObserver([&notices](const CGenGFModuleLog&) { ++notices; });
    f.log->inputLogToUI->setBooleanValue(true);
    ZKLogCapture capture;
    f.Run(0.0f);
    EXPECT_EQ(f.log->logString(), "value\n");
    EXPECT_EQ(notices, 1);
    // One line for each pull.
    f.Run(4.0f);
    EXPECT_EQ(f.log->logString(), "value\nvalue\n");
    EXPECT_EQ(notices, 2);
    // Only the text for the editor: nothing in the log.
    EXPECT_TRUE(capture.Texts(ZKLogCategory_GeneratorStyles).empty());

    // A new run starts with an empty text.
    f.root._cleanup();
    f.Run(0.0f);
    EXPECT_EQ(f.log->logString(), "value\n");
    EXPECT_EQ(notices, 4);
}

TEST(CGenGFValueModules, LogWritesNothingWhenBothSwitchesAreOff)
{
    LogRig f;
    ZKLogCapture capture;
    f.Run(0.0f);
    f.Run(1.0f);
    EXPECT_EQ(f.log->logString(), "");
    EXPECT_TRUE(capture.Texts(ZKLogCategory_GeneratorStyles).empty());
}

TEST(CGenGFValueModules, LogToConsoleGoesToTheGraphLog)
{
    LogRig f;
    f.log->inputLogToConsole->setBooleanValue(true);
    ZKLogCapture capture;
    f.Run(0.0f);
    EXPECT_EQ(f.log->logString(), "");
    EXPECT_EQ(capture.Texts(ZKLogCategory_GeneratorStyles),
        (std::vector<std::string> {"CGenGFModuleLog \"log\": value"}));
}

TEST(CGenGFValueModules, LogNeedsAConnection)
{
    CGenGFModule root;
    auto* log = AddModule<CGenGFModuleLog>(root, "log");
    log->inputLogToUI->setBooleanValue(true);
    log->inputLogToConsole->setBooleanValue(true);
    Rig r;
    ZKLogCapture capture;
    ASSERT_TRUE(root._setup(r.context));
    r.gen.mGeneratePos = 0.0f;
    EXPECT_TRUE(root.executeSubModulesWithArguments(nullptr));
    EXPECT_EQ(log->logString(), "");
    EXPECT_TRUE(capture.Texts(ZKLogCategory_GeneratorStyles).empty());
    root._cleanup();
}

TEST(CGenGFValueModules, LogWritesNumbersPlainly)
{
    CGenGFModule root;
    auto* source = AddModule<TestSource>(root, "source");
    auto* log = AddModule<CGenGFModuleLog>(root, "log");
    ASSERT_NE(root.createConnectionFromPortToPortForKey(*source->outputValue, *log->inputValue), nullptr);
    log->inputLogToUI->setBooleanValue(true);
    Rig r;
    ASSERT_TRUE(root._setup(r.context));
    r.gen.mGeneratePos = 0.0f;
    EXPECT_TRUE(root.executeSubModulesWithArguments(nullptr));
    // TestSource gives 1.5.
    EXPECT_EQ(log->logString(), "1.5\n");
    root._cleanup();

    EXPECT_EQ(CGenGFModuleLog::LogTextForValue(ZKGFValue()), "(null)");
    EXPECT_EQ(CGenGFModuleLog::LogTextForValue(ZKGFValue::Bool(true)), "1");
    EXPECT_EQ(CGenGFModuleLog::LogTextForValue(ZKGFValue::Integer(-3)), "-3");
    EXPECT_EQ(CGenGFModuleLog::LogTextForValue(ZKGFValue::Double(0.25)), "0.25");
    EXPECT_EQ(CGenGFModuleLog::LogTextForValue(ZKGFValue::String("a b")), "a b");
}

// ----- style files

namespace {

std::unique_ptr<CGenGFModule> MakeValueGraph()
{
    auto graph = std::make_unique<CGenGFModule>();
    AddModule<CGenGFModuleContextAcFamSeq>(*graph, "family");
    AddModule<CGenGFModuleContextAcAddonSeq>(*graph, "addon");
    AddModule<CGenGFModuleContextComplIntn>(*graph, "complIntn");
    auto* part = AddModule<CGenGFModuleContextCurrentArrangePartName>(*graph, "part");
    auto* region = AddModule<CGenGFModuleRegionParameters>(*graph, "region");
    region->createOutputWithPortClassForKeyAttributes(CGenGFPortNumeric::Class(), "outputMasterComp",
        TGenDict {{"name", "Master Complexity"}, {"description", "The song's complexity"}});
    region->setCustomizedName("Controls");
    auto* log = AddModule<CGenGFModuleLog>(*graph, "log");
    log->inputLogToUI->setBooleanValue(true);
    graph->createConnectionFromPortToPortForKey(*part->outputArrangePartName, *log->inputValue);
    return graph;
}

} // namespace

TEST(CGenGFValueModules, StyleFileRoundTripIsByteExactAndRuns)
{
    TempDir dir;
    CGenStyleGraphs graphs;
    graphs.SetStyleGraphForKey(MakeValueGraph(), kStyleGraphKey_AccentFam);
    const TGenUrl url = dir.Path() / "Values.style";
    ASSERT_TRUE(graphs.SaveToURL(url));

    CGenStyleGraphs loaded;
    ASSERT_TRUE(loaded.LoadFromURL(url));
    const TGenUrl again = dir.Path() / "again.style";
    ASSERT_TRUE(loaded.SaveToURL(again));
    EXPECT_EQ(*ZKFileRead(url), *ZKFileRead(again));
    const std::string dump = CGenStyleGraphDump::TextForStyleGraphs(loaded);
    EXPECT_EQ(dump, CGenStyleGraphDump::TextForStyleGraphs(graphs));
    for (const char* line : {"module \"family\": CGenGFModuleContextAcFamSeq [provider]",
             "module \"addon\": CGenGFModuleContextAcAddonSeq [provider]",
             "module \"complIntn\": CGenGFModuleContextComplIntn [provider]",
             "module \"part\": CGenGFModuleContextCurrentArrangePartName [provider]",
             "module \"region\": CGenGFModuleRegionParameters [provider] \"Controls\"",
             "module \"log\": CGenGFModuleLog [consumer]", "in  inputLogToUI (CGenGFPortBoolean) \"Log to UI\" = true",
             "in  inputValue (CGenGFVirtualPort) \"Value\" <- part.outputArrangePartName",
             "out outputMasterComp (CGenGFPortNumeric) \"Master Complexity\""})
        EXPECT_NE(dump.find(line), std::string::npos) << line;

    // What came back is of the right classes and runs.
    CGenGFModule* g = loaded.StyleGraphForKey(kStyleGraphKey_AccentFam);
    ASSERT_NE(g, nullptr);
    EXPECT_NE(dynamic_cast<CGenGFModuleContextAcFamSeq*>(g->subpatchForKey("family")), nullptr);
    EXPECT_NE(dynamic_cast<CGenGFModuleContextAcAddonSeq*>(g->subpatchForKey("addon")), nullptr);
    EXPECT_NE(dynamic_cast<CGenGFModuleContextComplIntn*>(g->subpatchForKey("complIntn")), nullptr);
    auto* region = dynamic_cast<CGenGFModuleRegionParameters*>(g->subpatchForKey("region"));
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(region->outputPorts().size(), 18u);
    auto* log = dynamic_cast<CGenGFModuleLog*>(g->subpatchForKey("log"));
    ASSERT_NE(log, nullptr);
    EXPECT_TRUE(log->inputLogToUI->booleanValue());
    EXPECT_FALSE(log->inputLogToConsole->booleanValue());
    EXPECT_EQ(g->executionMode(), TGenGFExecutionMode_Consumer);

    Rig r;
    r.params.mArrangeMarkersExt = Markers({{"Verse", 16.0f}});
    r.params.mRegionParameters.SetFloatValueForKey(33.0, "masterComp");
    ASSERT_TRUE(g->_setup(r.context));
    // 8 + 8 = 16: the marker "Verse".
    r.gen.mGeneratePos = 8.0f;
    EXPECT_TRUE(g->executeSubModulesWithArguments(nullptr));
    EXPECT_EQ(log->logString(), "Verse\n");
    // The region module is not pulled by any consumer; pulled by hand it
    // reads the port added by name.
    EXPECT_TRUE(region->_executeWithArguments(nullptr));
    EXPECT_EQ(region->outputGFPortForKey("outputMasterComp")->doubleValue(), 33.0);
    g->_cleanup();
}
