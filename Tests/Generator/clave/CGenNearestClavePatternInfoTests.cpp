#include "Generator/CGenGeneratorParams.h"
#include "Generator/clave/CGenClaveLib.h"
#include "Generator/clave/CGenClaveLinks.h"
#include "Generator/clave/CGenClaveMatchFactor.h"
#include "Generator/clave/CGenNearestClavePatternInfo.h"
#include "Generator/patterns/CGenPatternIxs.h"

#include "TestSupport/ClaveTestData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <sstream>

using zkgtest::Clave;

namespace {

// Patterns of 4, 2 and 4 beats, so that a layout by lengths is uneven.
CGenClaveLib FamilyLib()
{
    CGenClaveLib lib("Family");
    lib.push_back(CGenClavePattern("four", Clave({0.0f, 1.0f, 2.0f, 3.0f}, 4.0f)));
    lib.push_back(CGenClavePattern("half", Clave({0.0f}, 2.0f)));
    lib.push_back(CGenClavePattern("son", Clave({0.0f, 1.5f, 3.0f}, 4.0f)));
    return lib;
}

CGenClaveLibs Libs()
{
    CGenClaveLibs libs(FamilyLib());
    CGenClaveLib addOn("AddOn");
    addOn.push_back(CGenClavePattern("long", Clave({0.5f}, 8.0f)));
    libs.push_back(addOn);
    return libs;
}

// Entries at 4 (pattern 1, 2 beats), 6 (pattern 0, 4 beats), 10 (pattern 2, 4 beats).
const CGenBeatedPatternIxs kFamilyHist {{4.0f, 1}, {6.0f, 0}, {10.0f, 2}};

} // namespace

TEST(CGenNearestClavePatternInfo, SearchOfATimetable)
{
    const CGenClaveLib lib = FamilyLib();
    const CGenBeatedPatternIxs& hist = kFamilyHist;
    CGenNearestClavePatternInfo info;

    // Exact hit on the second entry.
    GenSearchClaveTimetable(hist, &lib, 6.0f, info);
    EXPECT_EQ(info.mIxClavePattern, 0);
    EXPECT_EQ(info.mRelPos, 0.0f);
    EXPECT_EQ(info.mBegin, hist.begin());
    EXPECT_EQ(info.mEnd, hist.begin() + 1);

    // Between entries: 7.5 - 6 = 1.5 into pattern 0.
    GenSearchClaveTimetable(hist, &lib, 7.5f, info);
    EXPECT_EQ(info.mIxClavePattern, 0);
    EXPECT_EQ(info.mRelPos, 1.5f);
    EXPECT_TRUE(info.Found());

    // Before the first entry: that entry, with the position as it stands
    // (3, more than pattern 1's 2 beats).
    GenSearchClaveTimetable(hist, &lib, 3.0f, info);
    EXPECT_EQ(info.mIxClavePattern, 1);
    EXPECT_EQ(info.mRelPos, 3.0f);
    EXPECT_EQ(info.mEnd, hist.begin());

    // Behind the last entry: pattern 2 (4 beats) reaches from 10 to 14.
    GenSearchClaveTimetable(hist, &lib, 13.5f, info);
    EXPECT_EQ(info.mIxClavePattern, 2);
    EXPECT_EQ(info.mRelPos, 3.5f);
    EXPECT_EQ(info.mEnd, hist.begin() + 2);
    GenSearchClaveTimetable(hist, &lib, 14.0f, info);
    EXPECT_EQ(info.mIxClavePattern, 2);
    EXPECT_EQ(info.mRelPos, 4.0f);
    GenSearchClaveTimetable(hist, &lib, 14.5f, info);
    EXPECT_EQ(info.mIxClavePattern, -1);
    EXPECT_TRUE(GenIsUndef(info.mRelPos));
    EXPECT_EQ(info.mEnd, hist.end());
    // Without a library the last entry has no length to reach with.
    GenSearchClaveTimetable(hist, nullptr, 10.5f, info);
    EXPECT_FALSE(info.Found());

    // Negative, undefined, empty: none.
    GenSearchClaveTimetable(hist, &lib, -0.5f, info);
    EXPECT_FALSE(info.Found());
    EXPECT_TRUE(GenIsUndef(info.mRelPos));
    GenSearchClaveTimetable(hist, &lib, TGenBeatPos_Undef, info);
    EXPECT_FALSE(info.Found());
    const CGenBeatedPatternIxs empty;
    GenSearchClaveTimetable(empty, &lib, 1.0f, info);
    EXPECT_FALSE(info.Found());
    EXPECT_EQ(info.mEnd, empty.end());

    CGenNearestClavePatternInfo three;
    three.mIxClavePattern = 3;
    three.mRelPos = 1.5f;
    std::ostringstream os;
    os << three;
    EXPECT_EQ(os.str(), "CGenNearestClavePatternInfo: PatternIx 3, RelPos 1.5");
}

TEST(CGenNearestClavePatternInfo, GatherInfosAndNeighbours)
{
    const CGenClaveLibs libs = Libs();
    CGenGeneratorParams params;
    params.mGenerateStartLeftBarPosAbs = 2.0f;
    params.mEvsClaveClosestIxPatternHistForName["Family"] = kFamilyHist;
    params.mEvsClaveClosestIxPatternHistForName["AddOn"] = {{0.0f, 0}};
    params.mEvsClaveClosestIxPatternHistForName["Ghost"] = {{0.0f, 5}};

    // Without either clave flag every library with a name answers "none".
    CGenNearestClavePatternInfos infos;
    infos.GatherInfosAtPos(&params, &libs, 5.5f);
    ASSERT_EQ(infos.Infos().size(), 2u);
    EXPECT_EQ(infos.GetClavePatternIx("Family"), -1);
    EXPECT_TRUE(GenIsUndef(infos.GetInfo("Family").mRelPos));
    EXPECT_EQ(infos.GetInfo("Family").mBegin, CGenBeatedPatternIxs::const_iterator {});
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", 1), -1);

    // 2 + 5.5 = 7.5: 1.5 into pattern 0 of "Family" (the entry at 6), and
    // 7.5 into "AddOn"'s single 8-beat pattern. "Ghost" has no library.
    params.mEvsClave_FollowTrackEnabled = true;
    infos.GatherInfosAtPos(&params, &libs, 5.5f);
    ASSERT_EQ(infos.Infos().size(), 2u);
    EXPECT_EQ(infos.Infos().count("Ghost"), 0u);
    EXPECT_EQ(infos.Histories().size(), 3u);
    EXPECT_EQ(infos.GetClavePatternIx("Family"), 0);
    EXPECT_EQ(infos.GetInfo("Family").mRelPos, 1.5f);
    EXPECT_EQ(infos.GetClavePatternIx("AddOn"), 0);
    EXPECT_EQ(infos.GetInfo("AddOn").mRelPos, 7.5f);
    EXPECT_EQ(infos.GetClavePatternIx("Ghost"), -1);
    EXPECT_TRUE(GenIsUndef(infos.GetInfo("Ghost").mRelPos));

    // The entry found is the second: the previous bar's is pattern 1, the next 2.
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", 0), 0);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", -1), 1);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", 1), 2);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", 2), -1);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", -2), -1);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("AddOn", 1), -1);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Ghost", 0), -1);

    // A copy answers the same after the original is gone: its iterators
    // point into its own timetables.
    auto original = std::make_unique<CGenNearestClavePatternInfos>(infos);
    const CGenNearestClavePatternInfos copy(*original);
    CGenNearestClavePatternInfos assignedTo;
    assignedTo = *original;
    const CGenNearestClavePatternInfos& assigned = assignedTo;
    original.reset();
    infos.clear();
    EXPECT_TRUE(infos.empty());
    for (const CGenNearestClavePatternInfos* c : {&copy, &assigned}) {
        EXPECT_EQ(c->GetInfo("Family").mBegin, c->Histories().at("Family").begin());
        EXPECT_EQ(c->GetInfo("Family").mEnd, c->Histories().at("Family").begin() + 1);
        EXPECT_EQ(c->GetClavePatternIxAtOffset("Family", -1), 1);
        EXPECT_EQ(c->GetClavePatternIxAtOffset("Family", 1), 2);
        EXPECT_EQ(c->GetInfo("Family").mRelPos, 1.5f);
    }

    // The prototype flag alone is enough; a position before the first entry
    // stands on that entry, so its next is the second.
    params.mEvsClave_FollowTrackEnabled = false;
    params.mEvsClave_PrototypeClaveTrackEnabled = true;
    infos.GatherInfosAtPos(&params, &libs, 0.5f);
    EXPECT_EQ(infos.GetClavePatternIx("Family"), 1);
    EXPECT_EQ(infos.GetInfo("Family").mRelPos, 2.5f);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", 1), 0);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", -1), -1);
    // Beyond the end of pattern 2 (at 14): none, and no neighbours.
    infos.GatherInfosAtPos(&params, &libs, 12.5f);
    EXPECT_EQ(infos.GetClavePatternIx("Family"), -1);
    EXPECT_EQ(infos.GetClavePatternIxAtOffset("Family", -1), -1);

    // Null params or libraries leave the infos as they were.
    infos.GatherInfosAtPos(&params, &libs, 5.5f);
    infos.GatherInfosAtPos(nullptr, &libs, 0.5f);
    infos.GatherInfosAtPos(&params, nullptr, 0.5f);
    EXPECT_EQ(infos.GetClavePatternIx("Family"), 0);
}

TEST(CGenNearestClavePatternInfo, FindNearestOverTimetablesAndPlainIndices)
{
    const CGenClaveLib lib = FamilyLib();
    CGenGeneratorParams params;
    params.mGenerateStartLeftBarPosAbs = 2.0f;
    CGenNearestClavePatternInfo info;
    info.mIxClavePattern = 7;

    // Null params or library: nothing is written.
    FindNearestClavePatternIxAndRelPos(kFamilyHist, nullptr, &lib, 5.5f, info);
    FindNearestClavePatternIxAndRelPos(kFamilyHist, &params, nullptr, 5.5f, info);
    EXPECT_EQ(info.mIxClavePattern, 7);
    // No clave flag: (-1, undefined).
    FindNearestClavePatternIxAndRelPos(kFamilyHist, &params, &lib, 5.5f, info);
    EXPECT_EQ(info.mIxClavePattern, -1);
    EXPECT_TRUE(GenIsUndef(info.mRelPos));
    // The position counts from the left bar: 2 + 5.5 = 7.5.
    params.mEvsClave_PrototypeClaveTrackEnabled = true;
    FindNearestClavePatternIxAndRelPos(kFamilyHist, &params, &lib, 5.5f, info);
    EXPECT_EQ(info.mIxClavePattern, 0);
    EXPECT_EQ(info.mRelPos, 1.5f);

    // Indices 1, 0, 2 laid out by their lengths 2, 4, 4 from beat 0:
    // (0, 1), (2, 0), (6, 2), the last reaching to 10.
    params.mGenerateStartLeftBarPosAbs = 0.0f;
    const CGenPatternIxs ixs {1, 0, 2};
    FindNearestClavePatternIxAndRelPos(ixs, &params, &lib, 3.0f, info);
    EXPECT_EQ(info.mIxClavePattern, 0);
    EXPECT_EQ(info.mRelPos, 1.0f);
    EXPECT_EQ(info.mEnd, CGenBeatedPatternIxs::const_iterator {});
    FindNearestClavePatternIxAndRelPos(ixs, &params, &lib, 6.0f, info);
    EXPECT_EQ(info.mIxClavePattern, 2);
    EXPECT_EQ(info.mRelPos, 0.0f);
    FindNearestClavePatternIxAndRelPos(ixs, &params, &lib, 10.0f, info);
    EXPECT_EQ(info.mIxClavePattern, 2);
    EXPECT_EQ(info.mRelPos, 4.0f);
    FindNearestClavePatternIxAndRelPos(ixs, &params, &lib, 10.5f, info);
    EXPECT_EQ(info.mIxClavePattern, -1);
    // Index 7 lies outside the library and ends the layout after (0, 1),
    // which reaches to 2.
    const CGenPatternIxs cut {1, 7, 0};
    FindNearestClavePatternIxAndRelPos(cut, &params, &lib, 2.0f, info);
    EXPECT_EQ(info.mIxClavePattern, 1);
    EXPECT_EQ(info.mRelPos, 2.0f);
    FindNearestClavePatternIxAndRelPos(cut, &params, &lib, 2.5f, info);
    EXPECT_EQ(info.mIxClavePattern, -1);
    FindNearestClavePatternIxAndRelPos(CGenPatternIxs {}, &params, &lib, 0.0f, info);
    EXPECT_EQ(info.mIxClavePattern, -1);
}

TEST(CGenClaveMatchFactor, OffsetOfARelativePosition)
{
    EXPECT_EQ(ClaveLinkOffsetForRelPos(1.5f), 2);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(-0.5f), -1);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(0.49f), 0);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(2.5f), 3);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(-2.5f), -3);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(300.0f), 127);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(-300.0f), -127);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(TGenBeatPos_Undef), -128);
    EXPECT_EQ(ClaveLinkOffsetForRelPos(std::numeric_limits<float>::quiet_NaN()), -128);
}

TEST(CGenClaveMatchFactor, FactorFromTheLinkOfTheClaveThatPlays)
{
    const CGenClaveLibs libs = Libs();
    CGenGeneratorParams params;
    EXPECT_EQ(params.mClosenessAndVarianceStrat, 9);
    CGenClaveLinks links;
    links.AddLinkIfNew(0, 2, 80);
    links.AddLinkIfNew(0, 1, 30);
    links.AddLinkIfNew(0, -1, 100);
    links.AddLinkIfNew(2, 1, 50);
    links.AddLinkIfNew(3, -128, 60);
    float factor = -5.0f, match = -5.0f;
    int ix = -5;

    // Null params: every output stays.
    ProbFactorAndIxPatternForEvsClave(nullptr, &libs, links, 0.5f, kFamilyHist, 5.5f, factor, ix, match, 4, 1.0f);
    EXPECT_EQ(factor, -5.0f);
    EXPECT_EQ(ix, -5);
    EXPECT_EQ(match, -5.0f);

    // Without the prototype flag, an undefined threshold or an empty
    // timetable: factor 1 and the given index back.
    params.mEvsClave_FollowTrackEnabled = true;
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 5.5f, factor, ix, match, 4, 1.0f);
    EXPECT_EQ(factor, 1.0f);
    EXPECT_EQ(ix, 4);
    EXPECT_EQ(match, 0.0f);
    params.mEvsClave_PrototypeClaveTrackEnabled = true;
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, CGenBeatedPatternIxs(), 5.5f, factor, ix, match,
        -1, TGenBeatPos_Undef);
    EXPECT_EQ(factor, 1.0f);
    EXPECT_EQ(ix, -1);
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, TPercent_Undef, kFamilyHist, 5.5f, factor, ix, match, 2,
        TGenBeatPos_Undef);
    EXPECT_EQ(factor, 1.0f);
    EXPECT_EQ(ix, 2);

    // Searched at 5.5 (left bar 0): pattern 0, 1.5 into it, offset 2, link
    // 80 %. With t = 0.5: a = 0.8, b = 0.5, 1 - a = 0.2 <= b, so
    // (0.8^16 + 0.5^16)^(1/16) = 0.8 * (1 + 0.625^16)^(1/16)
    //   = 0.8 * (1.000542101)^(1/16) = 0.80002710.
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 7.5f, factor, ix, match, -1,
        TGenBeatPos_Undef);
    EXPECT_EQ(ix, 0);
    EXPECT_FLOAT_EQ(match, 0.8f);
    EXPECT_NEAR(factor, 0.8000271f, 1e-6f);
    // The search counts from the left bar: 2 + 5.5 = 7.5 is the same place.
    params.mGenerateStartLeftBarPosAbs = 2.0f;
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 5.5f, factor, ix, match, -1,
        TGenBeatPos_Undef);
    EXPECT_FLOAT_EQ(match, 0.8f);
    // A given index without a relative position is searched over, too.
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 5.5f, factor, ix, match, 2,
        TGenBeatPos_Undef);
    EXPECT_EQ(ix, 0);
    EXPECT_FLOAT_EQ(match, 0.8f);
    params.mGenerateStartLeftBarPosAbs = 0.0f;

    // 6.2: 0.2 into pattern 0 rounds to offset 0, which has no link:
    // a = 0, 1 - a = 1 > b = 0.5, rejected.
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 6.2f, factor, ix, match, -1,
        TGenBeatPos_Undef);
    EXPECT_EQ(ix, 0);
    EXPECT_EQ(match, 0.0f);
    EXPECT_EQ(factor, 0.0f);
    // With t = 0 (b = 1) nothing is rejected: (0 + 1)^(1/16) = 1.
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.0f, kFamilyHist, 6.2f, factor, ix, match, -1,
        TGenBeatPos_Undef);
    EXPECT_EQ(factor, 1.0f);

    // Given index and relative position are used as they stand: -0.5 rounds
    // to -1, link 100 %, (1 + 0.5^16)^(1/16) capped at 1.
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 7.5f, factor, ix, match, 0, -0.5f);
    EXPECT_EQ(ix, 0);
    EXPECT_EQ(match, 1.0f);
    EXPECT_EQ(factor, 1.0f);
    // Index 2 at 1.4 (offset 1): 50 % against t = 0.5 just passes,
    // 1 - 0.5 is not above 0.5: (2 * 0.5^16)^(1/16) = 0.5 * 2^(1/16) = 0.52214.
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 7.5f, factor, ix, match, 2, 1.4f);
    EXPECT_EQ(ix, 2);
    EXPECT_FLOAT_EQ(match, 0.5f);
    EXPECT_NEAR(factor, 0.5221368f, 1e-6f);
    // Without libraries a given index stands with an undefined position,
    // whose offset is -128: link 60 %, (0.6^16 + 0.5^16)^(1/16) = 0.60197860.
    ProbFactorAndIxPatternForEvsClave(&params, nullptr, links, 0.5f, kFamilyHist, 7.5f, factor, ix, match, 3,
        TGenBeatPos_Undef);
    EXPECT_EQ(ix, 3);
    EXPECT_FLOAT_EQ(match, 0.6f);
    EXPECT_NEAR(factor, 0.6019786f, 1e-6f);
    // Nothing given and no libraries: index -1, no link, rejected.
    ProbFactorAndIxPatternForEvsClave(&params, nullptr, links, 0.5f, kFamilyHist, 7.5f, factor, ix, match, -1, 1.0f);
    EXPECT_EQ(ix, -1);
    EXPECT_EQ(factor, 0.0f);
    // Behind the timetable's end (pattern 2 ends at 14): no clave, no link.
    ProbFactorAndIxPatternForEvsClave(&params, &libs, links, 0.5f, kFamilyHist, 15.0f, factor, ix, match, -1,
        TGenBeatPos_Undef);
    EXPECT_EQ(ix, -1);
    EXPECT_EQ(factor, 0.0f);
}

TEST(CGenClaveCaches, KeysOrderByNameThenNumberThenKind)
{
    const CGenClaveCacheKey a1("AddOn", 2.0, 5);
    const CGenClaveCacheKey f0("Family", 0.0, 0);
    EXPECT_TRUE(a1 < f0);
    EXPECT_FALSE(f0 < a1);
    EXPECT_TRUE(CGenClaveCacheKey("Family", 0.25, 9) < CGenClaveCacheKey("Family", 0.5, 0));
    EXPECT_TRUE(CGenClaveCacheKey("Family", 0.5, 0) < CGenClaveCacheKey("Family", 0.5, 1));
    EXPECT_FALSE(CGenClaveCacheKey("Family", 0.5, 1) < CGenClaveCacheKey("Family", 0.5, 1));
    EXPECT_EQ(CGenClaveCacheKey("Family", 0.5), CGenClaveCacheKey("Family", 0.5, 0));
    EXPECT_FALSE(CGenClaveCacheKey("Family", 0.5) == CGenClaveCacheKey("family", 0.5));

    CGenClaveCaches caches;
    EXPECT_EQ(caches.Find(f0), nullptr);
    caches.Store(f0, Clave({0.0f, 1.5f}, 4.0f));
    caches.Store(a1, Clave({0.5f}, 4.0f));
    caches.Store(CGenClaveCacheKey("AddOn", 2.0, 6), Clave({}, 8.0f));
    EXPECT_EQ(caches.size(), 3u);
    ASSERT_NE(caches.Find(f0), nullptr);
    EXPECT_EQ(caches.Find(f0)->size(), 2u);
    EXPECT_EQ(caches.Find(CGenClaveCacheKey("AddOn", 2.0, 6))->mLength, 8.0f);
    // Storing again replaces.
    caches.Store(f0, Clave({3.0f}, 4.0f));
    EXPECT_EQ(caches.size(), 3u);
    EXPECT_EQ(caches.Find(f0)->front().mBeatPos, 3.0f);
    caches.ClearForKey(a1);
    EXPECT_EQ(caches.Find(a1), nullptr);
    EXPECT_NE(caches.Find(CGenClaveCacheKey("AddOn", 2.0, 6)), nullptr);
    caches.ClearForKey(CGenClaveCacheKey("Nothing", 1.0));
    EXPECT_EQ(caches.size(), 2u);
    caches.ClearForAllKeys();
    EXPECT_EQ(caches.size(), 0u);
    EXPECT_EQ(caches.Find(f0), nullptr);
}
