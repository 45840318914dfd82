#include "Generator/CGenCharContext.h"
#include "Generator/CGenContext.h"
#include "Generator/CGenGeneratorParams.h"
#include "Generator/CGenSignTimeDefault.h"
#include "Generator/harmony/CGenEvChord.h"
#include "Generator/stylegraph/CGenGFModule.h"
#include "Generator/stylegraph/CGenStyle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

// A song in 4/4 for two bars, then 7/8 from position 8 (bar 3): bars start at
// 0, 4, 8, 11.5, 15, ...
struct Song {
    CGenGeneratorParams params;
    CGenContext context {&params};
    CGenCharContext cc {&context};

    explicit Song(float start = 8.0f)
    {
        params.mEvsSignTime = CGenEvsSignTime {{0.0f, CGenSignTime(4, 2)}, {8.0f, CGenSignTime(7, 3)}};
        params.mGenerateStartPosAbs = start;
        params.mGenerateStartLeftBarPosAbs = params.CalcGenerateStartLeftBarPosAbs();
        params.mGenerateLength = 10.0f;
    }
};

} // namespace

TEST(CGenContext, PositionsAndStyleGraphLookup)
{
    CGenContext empty;
    empty.mGeneratePos = 1.0f;
    EXPECT_TRUE(GenIsUndef(empty.GeneratePosAbs()));
    Song song;
    EXPECT_TRUE(GenIsUndef(song.context.GeneratePosAbs()));
    song.context.SetGeneratePos(2.0f);
    EXPECT_EQ(song.context.GeneratePosAbs(), 10.0f);

    EXPECT_EQ(song.context.StyleGraphForStyleGraphKey(), nullptr);
    CGenStyle style("S");
    auto graph = std::make_unique<CGenGFModule>();
    CGenGFModule* raw = graph.get();
    style.StyleGraphs().SetStyleGraphForKey(std::move(graph), kStyleGraphKey_Global);
    song.context.mStyle = &style;
    song.context.mStyleGraphKey = kStyleGraphKey_Global;
    EXPECT_EQ(song.context.StyleGraphForStyleGraphKey(), raw);
    EXPECT_FALSE(song.cc.InStyleGraphGlobalMerged());
    song.context.mStyleGraphKey = kStyleGraphKey_GlobalToMerged;
    EXPECT_TRUE(song.cc.InStyleGraphGlobalMerged());
    EXPECT_EQ(song.context.StyleGraphForStyleGraphKey(), nullptr);
}

TEST(CGenCharContext, ValidityAndFirstBar)
{
    CGenCharContext none;
    EXPECT_FALSE(none.GeneratorParamsValid());
    EXPECT_EQ(none.GeneratorParams(), nullptr);
    EXPECT_FALSE(none.InstLibValid());
    EXPECT_EQ(none.SignTimeTrafosFromPatternGraphOrContext(), nullptr);
    float length = 0.0f;
    EXPECT_FALSE(none.GeneratorParams_GetFirstBarLengthSTTarget(length));
    EXPECT_TRUE(GenIsUndef(length));
    EXPECT_FALSE(none.GeneratorParams_PickupBarExists());

    Song onBar(8.0f);
    EXPECT_TRUE(onBar.cc.GeneratorParamsValid());
    EXPECT_FALSE(onBar.cc.GeneratorParams_PickupBarExists());
    EXPECT_TRUE(onBar.cc.GeneratorParams_GetFirstBarLengthSTTarget(length));
    EXPECT_EQ(length, 3.5f);

    Song pickup(10.0f);
    EXPECT_EQ(pickup.params.mGenerateStartLeftBarPosAbs, 8.0f);
    EXPECT_TRUE(pickup.cc.GeneratorParams_PickupBarExists());
    EXPECT_TRUE(pickup.cc.GeneratorParams_GetFirstBarLengthSTTarget(length));
    EXPECT_EQ(length, 1.5f);
    pickup.params.mGenerateLength = 1.0f;
    EXPECT_TRUE(pickup.cc.GeneratorParams_GetFirstBarLengthCroppedbyGenerateLengthSTTarget(length));
    EXPECT_EQ(length, 1.0f);
}

TEST(CGenCharContext, HarmonyLookupsAndTrafos)
{
    Song song;
    song.params.mEvsChord.push_back(CGenEvChord());
    song.params.mEvsChord.back().mBeatPosAbs = 4.0f;
    EXPECT_EQ(song.cc.FindEvChordValidAt(3.0f), nullptr);
    EXPECT_EQ(song.cc.FindEvChordValidAt(4.0f), &song.params.mEvsChord.back());
    EXPECT_EQ(song.cc.FindEvChordValidAt(100.0f), &song.params.mEvsChord.back());
    EXPECT_EQ(song.cc.FindEvSignKeyValidAt(0.0f), nullptr);

    EXPECT_EQ(song.cc.SignTimeTrafosFromPatternGraphOrContext(), &song.context.mSignTimeTrafos);
    EXPECT_FALSE(song.cc.SetSignTimeTrafosPresetForLayerBitmask(CGenBitmask(1), "Guitar"));
    EXPECT_TRUE(song.context.mSignTimeTrafos.empty());
    ASSERT_TRUE(song.cc.SetSignTimeTrafosPresetForLayerBitmask(CGenBitmask(1), "Bass"));
    const size_t bass = song.context.mSignTimeTrafos.size();
    EXPECT_GT(bass, 0u);
    // Setting the same mask again appends behind; the first set keeps
    // winning the look-up of its layer. Another mask appends too.
    const size_t accents = CGenSignTimeTrafos(TGenInstType_Drums, TPatternGraphType_AccentFamily).size();
    ASSERT_TRUE(song.cc.SetSignTimeTrafosPresetForLayerBitmask(CGenBitmask(1), "DrumsAccents"));
    EXPECT_EQ(song.context.mSignTimeTrafos.size(), bass + accents);
    // Every look-up of layer 0 that the accents' set could answer still
    // finds an element of the bass set first, when the bass set has the pair.
    const CGenSignTimeTrafos& own = song.context.mSignTimeTrafos;
    for (size_t i = bass; i < own.size(); ++i) {
        const auto found = own.FindTransformForLayerIxFromTo(0, own[i].mSource, own[i].mTarget);
        ASSERT_NE(found, own.end());
        const size_t at = static_cast<size_t>(found - own.begin());
        const bool bassHasPair = std::any_of(own.begin(), own.begin() + static_cast<std::ptrdiff_t>(bass),
            [&](const CGenSignTimeTrafo& t) { return t.mSource == own[i].mSource && t.mTarget == own[i].mTarget; });
        EXPECT_EQ(at < bass, bassHasPair) << i;
        EXPECT_LE(at, i);
    }
    ASSERT_TRUE(song.cc.SetSignTimeTrafosPresetForLayerBitmask(CGenBitmask(2), "Bass"));
    EXPECT_EQ(song.context.mSignTimeTrafos.size(), bass + accents + bass);
    for (const CGenSignTimeTrafo& t : song.context.mSignTimeTrafos)
        EXPECT_TRUE(t.mLayerBitmask == CGenBitmask(1) || t.mLayerBitmask == CGenBitmask(2));
}

TEST(CGenCharContext, GlobalOriginalEvsAndNameFilter)
{
    Song song(8.0f);
    song.params.mGenerateLength = 4.0f;
    for (float pos : {7.0f, 8.0f, 11.5f, 12.0f})
        song.context.mGlobalOriginalEvs.push_back(CGenEv(pos, 0.25f, st_NoteOn, 36, 100));
    CGenPatternModAndProbs mods;
    ASSERT_TRUE(song.cc.GlobalOriginalEvsInGenerateRangeAsPatterns(mods));
    ASSERT_EQ(mods.size(), 1u);
    EXPECT_EQ(mods.front().mBeatPosAbs, 8.0f);
    EXPECT_EQ(mods.mSTDefaultOrTarget, TSTDefaultOrTarget::Target);
    const CGenEvs& evs = mods.front().PatternToBeRead().mEvs;
    ASSERT_EQ(evs.size(), 2u);
    EXPECT_EQ(evs[0].mBeatPos, 0.0f);
    EXPECT_EQ(evs[1].mBeatPos, 3.5f);
    EXPECT_EQ(evs.mLength, 4.0f);

    CGenPatternModAndProbs in;
    in.emplace_back(CGenPattern("Ac_Rock1"), 40.0f);
    in.emplace_back(CGenPattern("Sy_Funk"), 40.0f);
    CGenPatternModAndProbs out;
    song.cc.FilterPatternsByName(in, out, "^Ac_", 2.0, 0.0);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out.front().mProb, 80.0f);
    EXPECT_EQ(in.back().mProb, 0.0f);
}

TEST(CGenSignTimeDefault, FramesWithoutPickup)
{
    Song song(8.0f);
    const CGenCharContext& cc = song.cc;
    using F = TSTDefaultOrTarget;
    // Target bar 4 (11.5) is the second bar from the left bar 3: default 4..8.
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(12.5f, F::Target, cc), 5.0f);
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(8.0f, F::Target, cc), 0.0f);
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(12.5f, F::Default, cc), 12.5f);
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(5.0f, F::Default, cc), 12.5f);
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(0.5f, F::Default, cc), 8.5f);
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(5.0f, F::Target, cc), 5.0f);
    // Before the left bar.
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(5.0f, F::Target, cc), -3.0f);

    EXPECT_EQ(CGenSignTimeDefault::ConvertBarNrInternFromSTTargetToSTDefault(cc, 4), 2);
    EXPECT_EQ(CGenSignTimeDefault::ConvertBarNrInternFromSTDefaultToSTTarget(cc, 2), 4);
    EXPECT_EQ(CGenSignTimeDefault::ConvertBarNrInternFromSTDefaultToSTTarget(cc, TGenBarNr_Undef), TGenBarNr_Undef);
    EXPECT_EQ(CGenSignTimeDefault::BarStartPosAbsSTDefault(3, cc), 8.0f);
    EXPECT_EQ(CGenSignTimeDefault::BarStartPosAbsSTTarget(1, cc), 8.0f);
    EXPECT_EQ(CGenSignTimeDefault::BarStartPosAbsSTTarget(2, cc), 11.5f);
    EXPECT_EQ(CGenSignTimeDefault::BarStartPosAbsSTTarget(3, cc), 15.0f);

    EXPECT_EQ(CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(2, 1.0f, F::Target, cc), 12.5f);
    EXPECT_EQ(CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(2, 1.0f, F::Default, cc), 12.5f);
    EXPECT_TRUE(GenIsUndef(
        CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTTarget(2, 4.0f, F::Default, cc)));
    EXPECT_EQ(CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTDefault(2, 1.0f, F::Default, cc), 5.0f);
    EXPECT_EQ(CGenSignTimeDefault::ConvertGenerateBarRelSTDefaultOrTargetToBeatPosAbsSTDefault(2, 1.0f, F::Target, cc), 5.0f);

    EXPECT_EQ(CGenSignTimeDefault::FirstCompleteBarBPAbs(9.0f, song.params.mEvsSignTime), 11.5f);
    EXPECT_EQ(CGenSignTimeDefault::FirstCompleteBarBPAbs(8.0f, song.params.mEvsSignTime), 8.0f);
}

TEST(CGenSignTimeDefault, PickupShiftsByOneBar)
{
    Song song(10.0f);
    using F = TSTDefaultOrTarget;
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(12.5f, F::Target, song.cc), 1.0f);
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(10.0f, F::Target, song.cc), -2.0f);
    EXPECT_EQ(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(1.0f, F::Default, song.cc), 12.5f);
    EXPECT_EQ(CGenSignTimeDefault::ConvertBarNrInternFromSTTargetToSTDefault(song.cc, 4), 1);
}

TEST(CGenSignTimeDefault, InBarConversions)
{
    const CGenEvsSignTime map {{0.0f, CGenSignTime(4, 2)}, {8.0f, CGenSignTime(7, 3)}};
    const CGenSignTimeTrafos trafos;
    using F = TSTDefaultOrTarget;
    EXPECT_EQ(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(2.5f, F::Target, 9.0f, nullptr, nullptr), 2.5f);
    EXPECT_EQ(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(2.5f, F::Default, 9.0f, &map, &trafos), 2.5f);
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(4.0f, F::Default, 9.0f, &map, &trafos)));
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(-0.5f, F::Default, 9.0f, &map, &trafos)));
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(1.0f, F::Default, 9.0f, nullptr, &trafos)));
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(1.0f, F::Default, TGenBeatPos_Undef, &map, &trafos)));
    // A position before the first element uses the first.
    EXPECT_EQ(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTTarget(1.0f, F::Default, -20.0f, &map, &trafos), 1.0f);

    EXPECT_EQ(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(1.5f, F::Default, 9.0f, nullptr, nullptr), 1.5f);
    EXPECT_EQ(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(1.0f, F::Target, 9.0f, &map, &trafos), 1.0f);
    // 4.5 in 7/8 is 1.0 in the next bar: one default bar on.
    EXPECT_EQ(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(4.5f, F::Target, 9.0f, &map, &trafos), 5.0f);
    EXPECT_EQ(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(-2.5f, F::Target, 9.0f, &map, &trafos), -3.0f);
    EXPECT_TRUE(GenIsUndef(
        CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(TGenBeatPos_Undef, F::Target, 9.0f, &map, &trafos)));
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::RelPosInBarFromSTDefaultOrTargetToSTDefault(1.0f, F::Target, 9.0f, &map, nullptr)));

    // Without params every char-context conversion is undefined.
    CGenCharContext none;
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTDefault(1.0f, F::Target, none)));
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::BeatPosAbsFromSTDefaultOrTargetToSTTarget(1.0f, F::Default, none)));
    EXPECT_EQ(CGenSignTimeDefault::ConvertBarNrInternFromSTTargetToSTDefault(none, 3), TGenBarNr_Undef);
    EXPECT_TRUE(GenIsUndef(CGenSignTimeDefault::BarStartPosAbsSTTarget(1, none)));
}

TEST(CGenCharContext, PlaceholderPatternsCoverTheRangeAndMarkTheChoice)
{
    // 7/8 bars from 8: 8, 11.5, 15, 18.5.
    Song song(9.0f);
    CGenPatternModAndProbs mods;
    const auto starts = [&mods] {
        std::vector<std::pair<float, float>> r;
        for (const CGenPatternModAndProb& el : mods)
            r.emplace_back(el.mBeatPosAbs, el.Length());
        return r;
    };
    // A pickup of 2.5 at the start (9), two one-bar patterns from the next
    // bar line (11.5, then 15), and a last one of 1 beat at 18.5; lengths are
    // in the 4/4 frame.
    EXPECT_EQ(song.cc.CreatePlaceholderPatternsFromParams(mods, 2, 1, 2.5f, 1.0f), "");
    EXPECT_EQ(starts(), (std::vector<std::pair<float, float>> {{9.0f, 2.5f}, {11.5f, 4.0f}, {15.0f, 4.0f}, {18.5f, 1.0f}}));
    EXPECT_TRUE(song.context.mGraphMadeTheChoice);
    EXPECT_EQ(mods.STDefaultOrTarget(), TSTDefaultOrTarget::Default);
    // Empty new patterns of the layer, for a script to fill.
    EXPECT_TRUE(mods.front().PatternIsModified());
    EXPECT_TRUE(mods.front().PatternToBeRead().mEvs.empty());

    // Each refusal names its condition and leaves the list alone.
    const size_t count = mods.size();
    EXPECT_EQ(song.cc.CreatePlaceholderPatternsFromParams(mods, 1, 1, 0.0f, -1.0f), "lastPatternBeatLength should be >= 0");
    EXPECT_EQ(song.cc.CreatePlaceholderPatternsFromParams(mods, 1, 1, -1.0f, 0.0f), "pickupBeatLength should be >= 0");
    EXPECT_EQ(song.cc.CreatePlaceholderPatternsFromParams(mods, -1, 1, 0.0f, 0.0f), "numberOfPatternsExceptPickup should be >= 0");
    EXPECT_EQ(song.cc.CreatePlaceholderPatternsFromParams(mods, 1, 0, 0.0f, 0.0f), "createdPatternLengthInBars should be > 0");
    EXPECT_EQ(mods.size(), count);

    // Over the generate range from 8, 10 beats: bars at 8 and 11.5 are
    // whole, 15 is cut by the end at 18 to 3 beats.
    Song range(8.0f);
    CGenPatternModAndProbs made;
    EXPECT_EQ(range.cc.CreatePlaceholderPatternsFromGenerateRange(made, false), "");
    mods = made;
    EXPECT_EQ(starts(), (std::vector<std::pair<float, float>> {{8.0f, 4.0f}, {11.5f, 4.0f}, {15.0f, 3.0f}}));
    EXPECT_FALSE(range.context.mGraphMadeTheChoice);
    range.params.mGenerateLength = TGenBeatLength_Undef;
    EXPECT_EQ(range.cc.CreatePlaceholderPatternsFromGenerateRange(made, true),
        "GenerateLength should be >= 0, information is needed if PatternsCreatePlaceholders is called with 0 params");
    CGenCharContext none;
    EXPECT_EQ(none.CreatePlaceholderPatternsFromParams(made, 1, 1, 0.0f, 0.0f),
        "GenerateStartPosAbs should be >= 0, information is needed if PatternsCreatePlaceholders is called with 0 params");
    EXPECT_EQ(none.NearestClavePatternInfos(), nullptr);
    EXPECT_EQ(range.cc.NearestClavePatternInfos(), &range.context.mNearestClavePatternInfos);
}
