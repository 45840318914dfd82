#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveIxPatternHist.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/timesig/CGenEvsSignTime.h"

#include "TestSupport/ClaveTestData.h"

#include <gtest/gtest.h>

using zkgtest::Clave;
using zkgtest::Grid;

namespace {

// "Family" on the eighths on the beat, "AddOn" off the beat, "Slow" on both
// grids (no table, so it is compared pattern by pattern).
CGenClaveLibs Libs()
{
    CGenClaveLib family("Family");
    family.push_back(CGenClavePattern("silent", Clave({})));
    family.push_back(CGenClavePattern("son", Clave({0.0f, 1.5f, 3.0f})));
    family.push_back(CGenClavePattern("four", Clave({0.0f, 1.0f, 2.0f, 3.0f})));
    family.mInterestingPos = Grid(0.0f, 0.5f, 0.125f);
    // The built-in default of "Family" (24) lies beyond these three.
    family.mDefaultPatternIxForEmptyBar = 0;

    CGenClaveLib addOn("AddOn");
    addOn.push_back(CGenClavePattern("none", Clave({})));
    addOn.push_back(CGenClavePattern("offs", Clave({0.75f, 2.75f})));
    addOn.mInterestingPos = Grid(0.25f, 0.5f, 0.125f);

    CGenClaveLib slow("Slow");
    slow.push_back(CGenClavePattern("son", Clave({0.0f, 1.5f, 3.0f})));
    slow.push_back(CGenClavePattern("four", Clave({0.0f, 1.0f, 2.0f, 3.0f})));
    slow.mInterestingPos = Grid(0.0f, 0.25f, 0.1f);

    CGenClaveLibs libs;
    for (CGenClaveLib* lib : {&family, &addOn, &slow}) {
        lib->SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
        libs.push_back(*lib);
    }
    return libs;
}

// 4/4; bar 1 plays the son clave, bar 2 four on the floor with two accents
// off the beat (at 4.75 and 6.75); the track ends at 8.
CGenGeneratorParams Params()
{
    CGenGeneratorParams params;
    params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}};
    params.mEvsClave = Clave({0.0f, 1.5f, 3.0f, 4.0f, 4.75f, 5.0f, 6.0f, 6.75f, 7.0f}, 8.0f);
    params.mEvsClave_PrototypeClaveTrackEnabled = true;
    return params;
}

const CGenBeatedPatternIxs& Hist(const CGenGeneratorParams& params, const std::string& name)
{
    return params.mEvsClaveClosestIxPatternHistForName.at(name);
}

} // namespace

TEST(CGenClaveIxPatternHist, WithoutClaveEveryLibraryGetsAnEmptyTimetable)
{
    const CGenClaveLibs libs = Libs();
    CGenGeneratorParams params = Params();
    params.mEvsClave_PrototypeClaveTrackEnabled = false;
    params.mEvsClaveClosestIxPatternHistForName["Old"] = {{0.0f, 1}};
    params.mEvsClaveClosestIxPatternHistForName["Family"] = {{0.0f, 1}};
    params.mEvsClaveEvsAsBitsInBars8thOnBeat.push_back({0.0f, 73u});
    params.mEvsClaveEvsAsBitsInBars8thOffBeat.push_back({0.0f, 2u});

    CreateEvsClaveIxPatternHist(params, libs, 0.0f, 16.0f);
    ASSERT_EQ(params.mEvsClaveClosestIxPatternHistForName.size(), 3u);
    for (const char* name : {"Family", "AddOn", "Slow"})
        EXPECT_TRUE(Hist(params, name).empty()) << name;
    EXPECT_EQ(params.mEvsClaveClosestIxPatternHistForName.count("Old"), 0u);
    EXPECT_TRUE(params.mEvsClaveEvsAsBitsInBars8thOnBeat.empty());
    EXPECT_TRUE(params.mEvsClaveEvsAsBitsInBars8thOffBeat.empty());
}

TEST(CGenClaveIxPatternHist, BarByBarThenTheDefaultPattern)
{
    const CGenClaveLibs libs = Libs();
    CGenGeneratorParams params = Params();
    CreateEvsClaveIxPatternHist(params, libs, 0.0f, 16.0f);

    // Bits of bar 1: 0, 1.5, 3 on the beat = 1 + 8 + 64 = 73; bar 2: 4, 5,
    // 6, 7 = 1 + 4 + 16 + 64 = 85, off the beat 4.75 and 6.75 = 2 + 32 = 34.
    ASSERT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat.size(), 2u);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat[0], (TEvAsBitsInBar {0.0f, 73u}));
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat[1], (TEvAsBitsInBar {4.0f, 85u}));
    ASSERT_EQ(params.mEvsClaveEvsAsBitsInBars8thOffBeat.size(), 2u);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOffBeat[0].mBits, 0u);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOffBeat[1].mBits, 34u);

    // Son, four, then the track has ended: the default pattern (0) fills 8..16.
    EXPECT_EQ(Hist(params, "Family"), (CGenBeatedPatternIxs {{0.0f, 1}, {4.0f, 2}, {8.0f, 0}, {12.0f, 0}}));
    // Off the beat: nothing, then "offs"; "AddOn" defaults to its pattern 0.
    EXPECT_EQ(Hist(params, "AddOn"), (CGenBeatedPatternIxs {{0.0f, 0}, {4.0f, 1}, {8.0f, 0}, {12.0f, 0}}));
    // Compared pattern by pattern up to the last accent (7 + 0.25), no tail.
    EXPECT_EQ(Hist(params, "Slow"), (CGenBeatedPatternIxs {{0.0f, 0}, {4.0f, 1}}));

    // An end exactly 1 beat into bar 2 leaves that bar out ...
    CreateEvsClaveIxPatternHist(params, libs, 0.0f, 5.0f);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat.size(), 1u);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOffBeat.size(), 1u);
    EXPECT_EQ(Hist(params, "Family"), (CGenBeatedPatternIxs {{0.0f, 1}, {4.0f, 0}}));
    // ... 1.01 beats take it in.
    CreateEvsClaveIxPatternHist(params, libs, 0.0f, 5.01f);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat.size(), 2u);
    EXPECT_EQ(Hist(params, "Family"), (CGenBeatedPatternIxs {{0.0f, 1}, {4.0f, 2}}));

    // The region's form: from the left bar (4) to start + length (5 + 7 = 12),
    // which lies 0 beats into bar 4: bars 2 and 3, and the track has only bar 2.
    params.mGenerateStartLeftBarPosAbs = 4.0f;
    params.mGenerateStartPosAbs = 5.0f;
    params.mGenerateLength = 7.0f;
    CreateEvsClaveIxPatternHist(params, libs);
    ASSERT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat.size(), 1u);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat[0].mBeatPosAbs, 4.0f);
    EXPECT_EQ(Hist(params, "Family"), (CGenBeatedPatternIxs {{4.0f, 2}, {8.0f, 0}}));

    // The follow flag alone works the same.
    CGenGeneratorParams follow = Params();
    follow.mEvsClave_PrototypeClaveTrackEnabled = false;
    follow.mEvsClave_FollowTrackEnabled = true;
    CreateEvsClaveIxPatternHist(follow, libs, 0.0f, 16.0f);
    EXPECT_EQ(Hist(follow, "Family").size(), 4u);
}

TEST(CGenClaveIxPatternHist, RecalcModes)
{
    const CGenClaveLibs libs = Libs();
    const CGenBeatedPatternIxs stored {{0.0f, 2}, {4.0f, 2}};

    // Mode 1 keeps a stored timetable as it stands, bits included.
    CGenGeneratorParams params = Params();
    params.mParamsClave.mClaveRecalcOnGenerate = kClaveRecalcOnGenerate_UseStored;
    params.mEvsClaveClosestIxPatternHistForName["Family"] = stored;
    CreateEvsClaveIxPatternHist(params, libs, 0.0f, 16.0f);
    ASSERT_EQ(params.mEvsClaveClosestIxPatternHistForName.size(), 1u);
    EXPECT_EQ(Hist(params, "Family"), stored);
    EXPECT_TRUE(params.mEvsClaveEvsAsBitsInBars8thOnBeat.empty());
    // A request works it out once and is cleared.
    params.mParamsClave.mRequestClaveRecalcOnGenerate = true;
    CreateEvsClaveIxPatternHist(params, libs, 0.0f, 16.0f);
    EXPECT_FALSE(params.mParamsClave.mRequestClaveRecalcOnGenerate);
    EXPECT_EQ(params.mEvsClaveClosestIxPatternHistForName.size(), 3u);
    EXPECT_EQ(Hist(params, "Family").size(), 4u);
    EXPECT_EQ(params.mEvsClaveEvsAsBitsInBars8thOnBeat.size(), 2u);
    // With nothing stored, mode 1 works it out.
    CGenGeneratorParams fresh = Params();
    fresh.mParamsClave.mClaveRecalcOnGenerate = kClaveRecalcOnGenerate_UseStored;
    CreateEvsClaveIxPatternHist(fresh, libs, 0.0f, 16.0f);
    EXPECT_EQ(Hist(fresh, "AddOn").size(), 4u);

    // Mode 2: no analysis; every library empty, the stored one gone.
    CGenGeneratorParams never = Params();
    never.mParamsClave.mClaveRecalcOnGenerate = kClaveRecalcOnGenerate_Never;
    never.mParamsClave.mRequestClaveRecalcOnGenerate = true;
    never.mEvsClaveClosestIxPatternHistForName["Family"] = stored;
    CreateEvsClaveIxPatternHist(never, libs, 0.0f, 16.0f);
    ASSERT_EQ(never.mEvsClaveClosestIxPatternHistForName.size(), 3u);
    for (const char* name : {"Family", "AddOn", "Slow"})
        EXPECT_TRUE(Hist(never, name).empty()) << name;
    EXPECT_FALSE(never.mParamsClave.mRequestClaveRecalcOnGenerate);
}

TEST(CGenClaveIxPatternHist, MissingTimetablesPlayTheFirstPattern)
{
    CGenClaveLibs libs = Libs();
    libs.push_back(CGenClaveLib("Empty"));
    CGenGeneratorParams params = Params();
    params.mGenerateStartPosAbs = 2.0f;
    params.mGenerateLength = 10.0f;
    params.mEvsClaveClosestIxPatternHistForName["AddOn"] = {{0.0f, 1}};

    // ceil(10 / 4) = 3 entries of pattern 0 from 2, 4 beats apart.
    FillMissingPartsOfAllEvsClaveClosestIxPatternHist(params, libs);
    EXPECT_EQ(Hist(params, "Family"), (CGenBeatedPatternIxs {{2.0f, 0}, {6.0f, 0}, {10.0f, 0}}));
    EXPECT_EQ(Hist(params, "Slow"), (CGenBeatedPatternIxs {{2.0f, 0}, {6.0f, 0}, {10.0f, 0}}));
    // A timetable with content stays; a library without patterns gets none.
    EXPECT_EQ(Hist(params, "AddOn"), (CGenBeatedPatternIxs {{0.0f, 1}}));
    EXPECT_TRUE(params.mEvsClaveClosestIxPatternHistForName.count("Empty") == 0
        || Hist(params, "Empty").empty());

    // A length of whole patterns: 8 / 4 = 2 entries.
    CGenGeneratorParams even = Params();
    even.mGenerateStartPosAbs = 0.0f;
    even.mGenerateLength = 8.0f;
    FillMissingPartsOfAllEvsClaveClosestIxPatternHist(even, libs);
    EXPECT_EQ(Hist(even, "Family"), (CGenBeatedPatternIxs {{0.0f, 0}, {4.0f, 0}}));

    // Without a length nothing is filled.
    CGenGeneratorParams open = Params();
    FillMissingPartsOfAllEvsClaveClosestIxPatternHist(open, libs);
    EXPECT_TRUE(open.mEvsClaveClosestIxPatternHistForName.empty());
}
