#include "Generator/timesig/CGenEvsSignKey.h"
#include "Generator/timesig/CGenEvsTempo.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

using namespace zkgtest;

namespace {

constexpr float U = TGenBeatPos_Undef;

// 120 bpm from 0, 90 bpm from beat 8.
CGenEvsTempo Map120Then90()
{
    return CGenEvsTempo {{0.0f, 120.0}, {8.0f, 90.0}};
}

} // namespace

TEST(CGenEvsTempo, TempoLookupsAndTheirFallbacks)
{
    const CGenEvsTempo m {{4.0f, 100.0}, {8.0f, -1.0}};
    EXPECT_EQ(m.TempoAtOrBeforeBeat(4.0f), 100.0);
    EXPECT_EQ(m.TempoAtOrBeforeBeat(7.9f), 100.0);
    EXPECT_EQ(m.TempoAtOrBeforeBeat(2.0f), -1.0);
    EXPECT_EQ(m.TempoAtOrBeforeBeat(U), -1.0);
    EXPECT_EQ(m.TempoAtOrBeforeBeatUseFirstTempoLeftOfIt(2.0f), 100.0);
    EXPECT_EQ(m.TempoAtOrBeforeBeatUseFirstTempoLeftOfIt(9.0f), 100.0);
    EXPECT_EQ(m.TempoAtOrBeforeBeatOrDefault(2.0f), 120.0);
    EXPECT_EQ(m.TempoAtOrBeforeBeatOrDefault(9.0f), 120.0);
    EXPECT_EQ(CGenEvsTempo().TempoAtOrBeforeBeatUseFirstTempoLeftOfIt(1.0f), -1.0);

    EXPECT_EQ(m.FindTempoWithBeatPos(5.0f, 4), m.begin());
    EXPECT_EQ(m.FindTempoWithBeatPos(5.0f, 1), m.begin() + 1);
    EXPECT_EQ(m.FindTempoWithBeatPos(2.0f, 4), m.end());
    EXPECT_EQ(m.FindTempoWithBeatPos(U, 2), m.end());
    EXPECT_EQ(m.FindTempoWithBeatPosUseFirstTempoLeftOfIt(2.0f, 4), m.begin());
    EXPECT_EQ(m.FindTempoWithBeatPosOrDefault(2.0f, 4), CGenEvTempo(2.0f, 120.0));
    EXPECT_EQ(m.FindTempoWithBeatPosOrDefault(9.0f, 4), CGenEvTempo(8.0f, 120.0));
    EXPECT_EQ(m.FindTempoWithBeatPosOrDefault(5.0f, 4), CGenEvTempo(4.0f, 100.0));
}

TEST(CGenEvsTempo, NanoLengthAcrossATempoChange)
{
    const CGenEvsTempo m = Map120Then90();
    EXPECT_EQ(m.BeatPosAbsToNanoLength(1.0f), 500000000);
    EXPECT_EQ(m.BeatPosAbsToNanoLength(8.0f), 4000000000);
    // 8 beats at 120 plus 4 beats at 90, each stretch truncated on its own.
    EXPECT_EQ(m.BeatPosAbsToNanoLength(12.0f), 4000000000 + 2666666666);
    EXPECT_EQ(m.BeatPosDistToNanoLength(6.0f, 12.0f), 1000000000 + 2666666666);
    // The same span backwards: the same length with the other sign.
    EXPECT_EQ(m.BeatPosDistToNanoLength(12.0f, 6.0f), -(1000000000 + 2666666666));
    EXPECT_EQ(m.BeatPosAbsToNanoLength(-2.0f), -1000000000);
    EXPECT_EQ(m.BeatPosDistToNanoLength(3.0f, 3.0f), 0);
    EXPECT_EQ(m.BeatPosAbsToNanoLength(U), TGenNanoLength_Undef);
    EXPECT_EQ(CGenEvsTempo().BeatPosAbsToNanoLength(4.0f), TGenNanoLength_Undef);
    for (float a : {0.0f, 3.25f, 8.0f, 9.5f})
        for (float b : {1.0f, 7.75f, 8.0f, 20.0f})
            EXPECT_EQ(m.BeatPosDistToNanoLength(a, b), -m.BeatPosDistToNanoLength(b, a)) << a << " " << b;
}

TEST(CGenEvsTempo, StretchesBeforeTheFirstElementAndNonPositiveTempos)
{
    // Before the first element the first tempo counts.
    const CGenEvsTempo late {{4.0f, 60.0}};
    EXPECT_EQ(late.BeatPosAbsToNanoLength(2.0f), 2000000000);
    EXPECT_EQ(late.BeatPosAbsToNanoLength(6.0f), 6000000000);

    const CGenEvsTempo undefTempo {{0.0f, -1.0}};
    EXPECT_EQ(undefTempo.BeatPosAbsToNanoLength(4.0f), TGenNanoLength_Undef);
    EXPECT_EQ(undefTempo.NanoPosToBeatPos(1000), U);
    EXPECT_EQ(undefTempo.BeatPosAbsPlusNanoLength(1.0f, 1000), U);

    const CGenEvsTempo stops {{0.0f, 120.0}, {4.0f, 0.0}};
    EXPECT_EQ(stops.BeatPosAbsToNanoLength(4.0f), 2000000000);
    EXPECT_EQ(stops.BeatPosAbsToNanoLength(6.0f), TGenNanoLength_Undef);
}

TEST(CGenEvsTempo, NanoToBeatInterpolatesAndExtrapolates)
{
    const CGenEvsTempo m = Map120Then90();
    EXPECT_EQ(m.NanoPosToBeatPos(0), 0.0f);
    EXPECT_EQ(m.NanoPosToBeatPos(500000000), 1.0f);
    EXPECT_EQ(m.NanoPosToBeatPos(4000000000), 8.0f);
    EXPECT_NEAR(m.NanoPosToBeatPos(4000000000 + 2666666666), 12.0f, 1e-5f);
    EXPECT_NEAR(m.NanoPosToBeatPos(-1000000000), -2.0f, 1e-5f);
    EXPECT_EQ(m.NanoPosToBeatPos(TGenNanoLength_Undef), U);
    EXPECT_EQ(CGenEvsTempo().NanoPosToBeatPos(0), U);
    for (float p : {0.5f, 7.0f, 8.25f, 30.0f})
        EXPECT_NEAR(m.NanoPosToBeatPos(m.BeatPosAbsToNanoLength(p)), p, 1e-5f) << p;

    // Only the tempo at the start counts, no change is crossed.
    EXPECT_EQ(m.BeatPosAbsPlusNanoLength(8.0f, 1000000000), 9.5f);
    EXPECT_EQ(m.BeatPosAbsPlusNanoLength(7.0f, 2000000000), 11.0f);
    EXPECT_EQ(m.BeatPosAbsPlusNanoLength(-1.0f, 1000), U);
    EXPECT_EQ(m.BeatPosAbsPlusNanoLength(U, 1000), U);
}

TEST(CGenEvsTempoArchive, RoundTrips)
{
    const CGenEvsTempo m = Map120Then90();
    EXPECT_EQ(TextRoundTrip(m), m);
    EXPECT_EQ(BinaryRoundTrip(m), m);
    EXPECT_EQ(XmlRoundTrip(m), m);
    const std::string xml = ToXmlArchive(m);
    EXPECT_NE(xml.find("<TCGenEvsTempo"), std::string::npos);
    EXPECT_NE(xml.find("<mTempo>"), std::string::npos);
}

TEST(CGenEvsSignKey, KeyInForceAndArchive)
{
    const CGenEvsSignKey keys {{0.0f, 2, false}, {16.0f, 9, true}};
    EXPECT_TRUE(keys.AtSignKeyBegin(16.0f));
    EXPECT_FALSE(keys.AtSignKeyBegin(15.0f));
    EXPECT_EQ(keys.FindEvSignKeyValidAt(15.0f).KeyNr(), 2);
    EXPECT_TRUE(keys.FindEvSignKeyValidAt(16.0f).IsMinor());
    EXPECT_EQ(keys.FindEvSignKeyValidAt(16.0f).mSignKey.Name(CChordNamePrefs()), "A minor");
    EXPECT_TRUE(keys.FindEvSignKeyValidAt(-1.0f).IsUndef());
    EXPECT_TRUE(CGenEvsSignKey().FindEvSignKeyValidAt(1.0f).IsUndef());
    EXPECT_TRUE(keys.FindEvSignKeyValidAt(U).IsUndef());
    EXPECT_EQ(TextRoundTrip(keys), keys);
    EXPECT_EQ(BinaryRoundTrip(keys), keys);
    EXPECT_EQ(XmlRoundTrip(keys), keys);
    EXPECT_NE(ToXmlArchive(keys).find("<TCGenEvsSignKey"), std::string::npos);
}
