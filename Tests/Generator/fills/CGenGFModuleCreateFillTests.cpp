// The style-graph module that places a fill at the end of every n-th bar.
//
// The random steps are worked out by hand: one step is
// state = (state * 1103515245 + 12345) & 0x7fffffff, the mask being mod 2^31.
#include "FillTestSupport.h"
#include "Generator/stylegraph/CGenGFModuleCreateFill.h"
#include "Generator/stylegraph/CGenGFModulePatternProbProvider.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

using namespace zkgtest;

namespace {

template <class T>
T* Add(CGenGFModule& parent, const char* key)
{
    return static_cast<T*>(parent.addSubpatch(std::make_unique<T>(), key));
}

// provider -> create fill -> consumer over a hand-built generation.
struct FillFlow {
    Song song {0.0f, 64.0f};
    CGenGFModule root;
    CGenGFModulePatternProbProvider* provider = Add<CGenGFModulePatternProbProvider>(root, "provider");
    CGenGFModuleCreateFill* fill = Add<CGenGFModuleCreateFill>(root, "fill");
    CGenGFModulePatternProbConsumer* consumer = Add<CGenGFModulePatternProbConsumer>(root, "consumer");
    CGenGFContext context = CGenGFContext::contextWithGenContext(&song.context);

    FillFlow()
    {
        EXPECT_NE(root.createConnectionFromPortToPortForKey(*provider->outputPatterns, *fill->inputPatterns), nullptr);
        EXPECT_NE(root.createConnectionFromPortToPortForKey(*fill->outputPatterns, *consumer->inputPatterns), nullptr);
    }
    ~FillFlow()
    {
        if (root.isRunning())
            root._cleanup();
    }
    CGenPatternModAndProbs Run(const CGenPatternModAndProbs& list, float pos)
    {
        if (!root.isRunning()) {
            EXPECT_TRUE(root._setup(context));
        }
        song.context.mInputPatterns = list;
        song.context.mGeneratePos = pos;
        root.executeSubModulesWithArguments(nullptr);
        return song.context.mOutputPatterns;
    }
};

} // namespace

TEST(CGenGFModuleCreateFill, PortsDefaultsAndRanges)
{
    CGenGFModuleCreateFill m;
    const double none = std::nan("");
    struct Port {
        CGenGFPortNumeric* port;
        double value, min, max;
    };
    const std::vector<Port> numeric {{m.inputProbability, 100.0, 0.0, 100.0}, {m.inputBarInterval, 4.0, 1.0, 256.0},
        {m.inputFillMinBeatLength, -1.0, -1.0, 99.0}, {m.inputFillMaxBeatLength, -1.0, -1.0, 99.0},
        {m.inputNonMatchingLengthProbFactor, -1.0, -200.0, 0.0}, {m.inputFillMinCompl, -1.0, -1.0, 99.0},
        {m.inputFillMaxCompl, -1.0, -1.0, 99.0}, {m.inputNonMatchingComplProbFactor, 0.0, -200.0, 0.0},
        {m.inputFillBelowSongTempoPercent, -1.0, -1.0, 400.0}, {m.inputFillAboveSongTempoPercent, -1.0, -1.0, 400.0},
        {m.inputNonMatchingTempoProbFactor, -1.0, -200.0, 0.0}, {m.inputTopProbFilterMinRequiredPatterns, 5.0, 0.0, none},
        {m.inputTopProbFilterStepCount, 5.0, 0.0, none}};
    for (const Port& p : numeric) {
        ASSERT_NE(p.port, nullptr);
        EXPECT_EQ(p.port->doubleValue(), p.value) << p.port->key();
        EXPECT_EQ(p.port->minDoubleValue(), p.min) << p.port->key();
        if (std::isnan(p.max)) {
            EXPECT_TRUE(std::isnan(p.port->maxDoubleValue())) << p.port->key();
        } else {
            EXPECT_EQ(p.port->maxDoubleValue(), p.max) << p.port->key();
        }
    }
    for (CGenGFPortBoolean* b : {m.inputRemainSilentIfNoFillWasMatching, m.inputKeepSystems, m.inputKeepPerc}) {
        ASSERT_NE(b, nullptr);
        EXPECT_FALSE(b->booleanValue()) << b->key();
    }
    // The ports clamp: a probability of 150 is 100, an interval of 0 is 1.
    m.inputProbability->setDoubleValue(150.0);
    EXPECT_EQ(m.inputProbability->doubleValue(), 100.0);
    m.inputBarInterval->setDoubleValue(0.0);
    EXPECT_EQ(m.inputBarInterval->doubleValue(), 1.0);

    // Seventeen inputs in the order of the table, one output.
    std::vector<std::string> keys;
    for (const auto& port : m.inputPorts())
        keys.push_back(port->key());
    EXPECT_EQ(keys,
        (std::vector<std::string> {"inputPatterns", "inputProbability", "inputBarInterval", "inputFillMinBeatLength",
            "inputFillMaxBeatLength", "inputNonMatchingLengthProbFactor", "inputFillMinCompl", "inputFillMaxCompl",
            "inputNonMatchingComplProbFactor", "inputFillBelowSongTempoPercent", "inputFillAboveSongTempoPercent",
            "inputNonMatchingTempoProbFactor", "inputTopProbFilterMinRequiredPatterns", "inputTopProbFilterStepCount",
            "inputRemainSilentIfNoFillWasMatching", "inputKeepSystems", "inputKeepPerc"}));
    ASSERT_EQ(m.outputPorts().size(), 1u);
    EXPECT_EQ(m.outputPorts().front()->key(), "outputPatterns");
}

TEST(CGenGFModuleCreateFill, PlaceSeedRoundsPositionAndRegionStart)
{
    // lroundf(14.5 - 4) = 11, + 7, + lroundf(6.4) = 6: 24.
    EXPECT_EQ(CGenGFModuleCreateFill::PlaceSeed(14.5f, 4.0f, 7, 6.4f), 24u);
    EXPECT_EQ(CGenGFModuleCreateFill::PlaceSeed(12.0f, 0.0f, 7, 0.0f), 19u);
    // Wrapping 32-bit arithmetic: 4294967295 + 2 = 1.
    EXPECT_EQ(CGenGFModuleCreateFill::PlaceSeed(2.0f, 0.0f, 4294967295u, 0.0f), 1u);
}

TEST(CGenGFModuleCreateFill, FillEndsOnTheNextBarLineOfAnIntervalBar)
{
    FillFlow f;
    f.song.context.SetFillSeed(7);
    const CGenPatternModAndProbs candidates = Candidates({Fill("one", 1.0f), Fill("two", 2.0f), Fill("four", 4.0f)});
    // Positions 0, 4, 8 lie in bars 1, 2, 3 of the region: barsSince 0, 1, 2.
    for (const float pos : {0.0f, 4.0f, 8.0f})
        EXPECT_TRUE(f.Run(candidates, pos).empty()) << pos;

    // 12 lies in bar 4, barsSince 3. Seed 12 + 7 + 0 = 19: 19 * 1103515245 +
    // 12345 = 20966802000; mod 2^31 = 1639449168; % 100 = 68, not above 100.
    // Next step: 1639449168 * 1103515245 + 12345 = 1809157150290578505;
    // mod 2^31 = 1173195849; % 300 (three weights of 100) = 249: the third,
    // "four", ending on 16: 12 + (0 + 4) - 4 = 12.
    const CGenPatternModAndProbs out = f.Run(candidates, 12.0f);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].PatternToBeRead().mName, "four");
    EXPECT_EQ(out[0].mBeatPosAbs, 12.0f);
    EXPECT_EQ(out[0].mBeatPosAbsSTTarget, 12.0f);
    EXPECT_EQ(out.mSTDefaultOrTarget, TSTDefaultOrTarget::Target);
    EXPECT_EQ(f.fill->mLastExecuteBeatPosAbs, 12.0f);

    // Later pulls at or after the stored start hand the same fill out again.
    const CGenPatternModAndProbs again = f.Run(candidates, 13.0f);
    ASSERT_EQ(again.size(), 1u);
    EXPECT_EQ(again[0].PatternToBeRead().mName, "four");
    EXPECT_EQ(again[0].mBeatPosAbs, 12.0f);

    // A new run starts afresh; bar 5 (barsSince 4) gets nothing.
    f.root._cleanup();
    EXPECT_TRUE(f.Run(candidates, 16.0f).empty());
    EXPECT_TRUE(GenIsUndef(f.fill->mLastExecuteBeatPosAbs));
}

TEST(CGenGFModuleCreateFill, PortsReachTheDeductionsAndTheProbability)
{
    FillFlow f;
    f.song.context.SetFillSeed(7);
    // Tempo percentages are divided by 100: 25 % below 120 is 90 BPM, and a
    // fill up to 80 BPM is 10 below: 100 - 10 * 1.5 = 85.
    f.fill->inputFillBelowSongTempoPercent->setDoubleValue(25.0);
    f.fill->inputNonMatchingTempoProbFactor->setDoubleValue(-1.5);
    // Length 2 to 3 at -10 a beat: the 1-beat fill loses 10 more: 75.
    f.fill->inputFillMinBeatLength->setDoubleValue(2.0);
    f.fill->inputFillMaxBeatLength->setDoubleValue(3.0);
    f.fill->inputNonMatchingLengthProbFactor->setDoubleValue(-10.0);
    CGenPattern slow = Fill("slow", 1.0f);
    slow.mTempoBPMRange = CGenRange<float>(60.0f, 80.0f);
    // One candidate: no draw, its weight is what the deductions left.
    const CGenPatternModAndProbs out = f.Run(Candidates({slow}), 12.0f);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].mProb, 75.0f);
    // 1 beat ending on 16.
    EXPECT_EQ(out[0].mBeatPosAbs, 15.0f);

    // A new run, with the limits off again (-1): a pattern without a tempo
    // range would otherwise count as far below the song's tempo.
    f.root._cleanup();
    f.fill->inputFillBelowSongTempoPercent->setDoubleValue(-1.0);
    f.fill->inputFillMinBeatLength->setDoubleValue(-1.0);
    f.fill->inputFillMaxBeatLength->setDoubleValue(-1.0);
    // Bar 8 (barsSince 7), seed 28 + 7 + 0 = 35: 35 * 1103515245 + 12345 =
    // 38623045920; mod 2^31 (38623045920 - 17 * 2147483648) = 2115823904;
    // % 100 = 4. A probability of 3 stops it, 4 lets it through.
    f.fill->inputProbability->setDoubleValue(3.0);
    EXPECT_TRUE(f.Run(Candidates({Fill("f", 2.0f)}), 28.0f).empty());
    f.root._cleanup();
    f.fill->inputProbability->setDoubleValue(4.0);
    ASSERT_EQ(f.Run(Candidates({Fill("f", 2.0f)}), 28.0f).size(), 1u);
}

TEST(CGenGFModuleCreateFill, FillWithoutRoomBeforeTheRegionEndIsDropped)
{
    FillFlow f;
    // Position 62 in bar 16 (barsSince 15): 2 beats are left to 64, so the
    // 4-beat fill gets weight 0 and no fill results; the 2-beat one fits.
    EXPECT_TRUE(f.Run(Candidates({Fill("four", 4.0f)}), 62.0f).empty());
    f.root._cleanup();
    // Seed 62: 68417957535, mod 2^31 = 1845964447, % 100 = 47: a fill.
    const CGenPatternModAndProbs out = f.Run(Candidates({Fill("two", 2.0f)}), 62.0f);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].mBeatPosAbs, 62.0f);
}
