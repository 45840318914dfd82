#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Generator/patterns/GenPatternModAndProbs.h"

#include "Platform/ZKCoding.h"
#include "TestSupport/EvsFields.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

CGenPatternGraphBoost Graph()
{
    CGenPatternGraphBoost g(TPatternGraphType_System);
    CGenEvs evs(4.0f);
    evs.push_back(CGenEv(1.0f, 0.25f, st_NoteOn, 42, 90));
    g.AddPattern(CGenPattern("hats", evs));
    return g;
}

} // namespace

TEST(GenPatternModAndProbs, CopiesItsListOnTheWayInAndOut)
{
    CGenPatternGraphBoost g = Graph();
    CGenPatternModAndProbs list;
    list.push_back(CGenPatternModAndProb(&g, 0, 70.0f, 4.0f));
    GenPatternModAndProbs holder(list);
    list.clear();
    ASSERT_EQ(holder.data().size(), 1u);

    auto copy = holder.copy();
    copy->data()[0].PatternToBeModified().mName = "changed";
    EXPECT_EQ(holder.data()[0].PatternToBeRead().mName, "hats");
    EXPECT_EQ(g.PatternAtIx(0).mName, "hats");
    holder.setData(CGenPatternModAndProbs());
    EXPECT_TRUE(holder.data().empty());
    EXPECT_EQ(copy->description(), copy->data().TraceString());
    EXPECT_EQ(copy->CodingClassName(), "GenPatternModAndProbs");
}

TEST(GenPatternModAndProbs, KeyedArchiveCarriesThePatternsItReads)
{
    CGenPatternGraphBoost g = Graph();
    CGenPatternModAndProbs list;
    list.push_back(CGenPatternModAndProb(&g, 0, 70.0f, 4.0f));
    list.back().mBeatPosAbsSTTarget = 3.5f;
    list.back().mOverlayRangeSy = CGenRange<float>(1.0f, 2.0f);
    list.push_back(CGenPatternModAndProb(&g, 0, 20.0f, 8.0f));
    list.back().PatternToBeModified().mEvs[0].mBeatPos = 2.0f;
    list.mChosenProb = 70.0f;
    list.mComplete = true;
    list.mSTDefaultOrTarget = TSTDefaultOrTarget::Target;

    ZKCodingClassRegistry registry;
    GenPatternModAndProbs::RegisterCodingClass(registry);
    std::string error;
    auto clone = ZKCodingCloneObject(GenPatternModAndProbs(list), registry, &error);
    ASSERT_NE(clone, nullptr) << error;
    auto* back = dynamic_cast<GenPatternModAndProbs*>(clone.get());
    ASSERT_NE(back, nullptr);
    const CGenPatternModAndProbs& r = back->data();
    ASSERT_EQ(r.size(), 2u);
    EXPECT_FLOAT_EQ(r.mChosenProb, 70.0f);
    EXPECT_TRUE(r.mComplete);
    EXPECT_EQ(r.mSTDefaultOrTarget, TSTDefaultOrTarget::Target);
    EXPECT_FLOAT_EQ(r[0].mProb, 70.0f);
    EXPECT_FLOAT_EQ(r[0].mBeatPosAbs, 4.0f);
    EXPECT_FLOAT_EQ(r[0].mBeatPosAbsSTTarget, 3.5f);
    EXPECT_EQ(r[0].mOverlayRangeSy, CGenRange<float>(1.0f, 2.0f));
    EXPECT_EQ(r[0].PatternGraphType(), TPatternGraphType_System);
    EXPECT_EQ(r[0].ItPattern(), 0u);
    // Self-contained: modified copies of what each element read, no graph.
    EXPECT_TRUE(r[0].PatternIsModified());
    EXPECT_EQ(r[0].mPatternGraph, nullptr);
    EXPECT_EQ(r[0].PatternToBeRead(), g.PatternAtIx(0));
    EXPECT_EQ(EvPositions(r[1].PatternToBeRead().mEvs), (std::vector<float> {2.0f}));

    // A dictionary without a readable list is refused with a message.
    TGenDict bad;
    bad.SetValueForKey(TGenDictValue(std::string(GenPatternModAndProbs::kCodingClassName)), kZKCodingClassKey);
    bad.SetValueForKey(TGenDictValue(TGenData {1, 2, 3}), GenPatternModAndProbs::kKey_ModAndProbs);
    EXPECT_EQ(registry.DecodeObject(bad, &error), nullptr);
    EXPECT_NE(error.find("GenPatternModAndProbs: no readable candidate list"), std::string::npos);
}
