#include "Generator/instruments/CKCtr.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

namespace {

CKCtr AtPosition(TKCtrMidiValuePosition position)
{
    return CKCtr(kCKCtrStatus_Any, kCKCtrChannel_Any, -1, -1, -1, position);
}

} // namespace

TEST(CKCtr, MatchingEvents)
{
    const CGenEv note(0, 1, 0x99, 38, 100);
    const CGenEv cc(0, 1, 0xB9, 4, 64);
    const CGenEv bend(0, 1, 0xE0, 2, 44);

    // Undefined matches nothing, all-any matches everything.
    for (const CGenEv* ev : { &note, &cc, &bend }) {
        EXPECT_FALSE(CKCtr_Undef.EvMatches(*ev));
        EXPECT_TRUE(AtPosition(TKCtrMidiValuePosition_MB2).EvMatches(*ev));
    }
    CKCtr invalid = CKCtr_Volume;
    invalid.mValid = 2;
    EXPECT_FALSE(invalid.EvMatches(CGenEv(0, 1, 0xB0, 7, 100)));

    EXPECT_TRUE(CKCtr_NoteNr.EvMatches(note));
    EXPECT_FALSE(CKCtr_NoteNr.EvMatches(cc));
    EXPECT_TRUE(CKCtr_FootController.EvMatches(cc));
    EXPECT_FALSE(CKCtr_Modulation.EvMatches(cc));
    EXPECT_TRUE(CKCtr_AnyCtrChange.EvMatches(cc));
    EXPECT_TRUE(CKCtr_PitchBend.EvMatches(bend));
    EXPECT_TRUE(CKCtr(st_NoteOn, 9, 38, -1, -1, TKCtrMidiValuePosition_MB2).EvMatches(note));
    EXPECT_FALSE(CKCtr(st_NoteOn, 0, 38, -1, -1, TKCtrMidiValuePosition_MB2).EvMatches(note));
    EXPECT_FALSE(CKCtr(st_NoteOn, 9, 38, 99, -1, TKCtrMidiValuePosition_MB2).EvMatches(note));
    EXPECT_FALSE(CKCtr(st_NoteOn, 9, 38, -1, 5, TKCtrMidiValuePosition_MB2).EvMatches(note));
    EXPECT_TRUE(CKCtr(st_NoteOn, 9, 38, -1, -1, TKCtrMidiValuePosition_MB2).EvMatches(CGenEv(0, 1, 0x99, 38, 1, -1, TTransposeEv_Dont, 7)));
}

TEST(CKCtr, ValuesByPosition)
{
    const CGenEv ev(0, 1, 0xB5, 2, 44, -1, TTransposeEv_Dont, 9);
    const int expected[] = { kCKCtrValue_Undef, 0xB0, 5, 2, 44, 300, 9, 0xB5, 5, 2, 44, 9, kCKCtrValue_Undef };
    for (int pos = 0; pos <= 12; ++pos)
        EXPECT_EQ(AtPosition(static_cast<TKCtrMidiValuePosition>(pos)).ExtractCtrValueFromEv(&ev), expected[pos]) << pos;
    EXPECT_EQ(CKCtr_Vel.ExtractCtrValueFromEv(nullptr), kCKCtrValue_Undef);

    CKCtrAndValue bend(CKCtr_PitchBend, 0);
    bend.SetValueFromEv(ev);
    EXPECT_EQ(bend.mValue, 300);
}

TEST(CKCtr, SetValueWritesOrAdds)
{
    CKCtr c = AtPosition(TKCtrMidiValuePosition_MB1MB2);
    c.SetValue(300);
    EXPECT_EQ(c.mMB1, 2);
    EXPECT_EQ(c.mMB2, 44);

    c = AtPosition(TKCtrMidiValuePosition_StatusHighNibble);
    c.SetValue(0xC0);
    EXPECT_EQ(c.mMidiStatus, 0xC0);
    c.mMidiValuePosition = TKCtrMidiValuePosition_AddToStatus;
    c.SetValue(0x10);
    EXPECT_EQ(c.mMidiStatus, 0xD0);

    c = AtPosition(TKCtrMidiValuePosition_Channel);
    c.SetValue(9);
    EXPECT_EQ(c.mMidiChannel, 9);
    c.mMidiValuePosition = TKCtrMidiValuePosition_AddToChannel;
    c.SetValue(2);
    EXPECT_EQ(c.mMidiChannel, 11);

    c = AtPosition(TKCtrMidiValuePosition_MB3);
    c.SetValue(17);
    EXPECT_EQ(c.mMB3, 17);
    c.mMidiValuePosition = TKCtrMidiValuePosition_AddToMB3;
    c.SetValue(3);
    EXPECT_EQ(c.mMB3, 20);
    // "Any" counts as 0 for the adders.
    c.mMidiValuePosition = TKCtrMidiValuePosition_AddToMB1;
    c.SetValue(5);
    EXPECT_EQ(c.mMB1, 5);
    c.mMidiValuePosition = TKCtrMidiValuePosition_AddToMB2;
    c.SetValue(-2);
    EXPECT_EQ(c.mMB2, -2);
    c.mMidiValuePosition = TKCtrMidiValuePosition_None;
    c.SetValue(99);
    EXPECT_EQ(c, (CKCtr(kCKCtrStatus_Any, kCKCtrChannel_Any, 5, -2, 20, TKCtrMidiValuePosition_None)));
}

TEST(CKCtr, ConvertToEvChoosesTheChannel)
{
    CKCtr note = CKCtr_NoteNr;
    note.SetValue(42);
    const CGenEv a = note.ConvertToEv(2.5f, 9);
    EXPECT_EQ(a.Status(), 0x99);
    EXPECT_EQ(a.mMB1, 42);
    EXPECT_EQ(a.mMB2, -1);
    EXPECT_EQ(a.mBeatPos, 2.5f);
    EXPECT_TRUE(GenIsUndef(a.mBeatLength));
    EXPECT_EQ(note.ConvertToEv(0, 255).Status(), 0x90);

    // The controller's own channel wins over the one asked for.
    CKCtr foot(st_CtrChange, 9, 4, -1, -1, TKCtrMidiValuePosition_MB2);
    foot.SetValue(64);
    const CGenEv cc = foot.ConvertToEv(0, 3);
    EXPECT_EQ(cc.Status(), 0xB9);
    EXPECT_EQ(cc.mMB1, 4);
    EXPECT_EQ(cc.mMB2, 64);

    // A status of "any" makes a value-only event.
    CKCtr values = AtPosition(TKCtrMidiValuePosition_MB3);
    values.SetValue(5);
    const CGenEv v = values.ConvertToEv(0, 9);
    EXPECT_EQ(v.Status(), 0x09);
    EXPECT_EQ(v.mMB3, 5);
    EXPECT_EQ(CKCtr(0xF8, kCKCtrChannel_Any, -1, -1, -1, TKCtrMidiValuePosition_None).ConvertToEv(0, 9).Status(), 0xF8);
}

TEST(CKCtrAndValues, UniqueControllersInOrder)
{
    CKCtrAndValues values(st_CtrChange, 9);
    EXPECT_EQ(values.mMidiStatus, st_CtrChange);
    EXPECT_EQ(values.mMidiChannel, 9);
    values.AddCtrIfUniqueAndNotUndef(CKCtr_FootController);
    values.AddCtrIfUniqueAndNotUndef(CKCtr_Undef);
    values.AddCtrIfUniqueAndNotUndef(CKCtr_Volume);
    values.AddCtrIfUniqueAndNotUndef(CKCtr_FootController);
    ASSERT_EQ(values.size(), 2u);
    EXPECT_EQ(values[0].mCtr, CKCtr_FootController);
    EXPECT_EQ(values[0].mValue, kCKCtrValue_Undef);
    EXPECT_EQ(values.ValueForCtr(CKCtr_Volume), kCKCtrValue_Undef);

    values.UpdateFromCtrAndValue(CKCtrAndValue(CKCtr_Volume, 100));
    values.UpdateFromCtrAndValue(CKCtrAndValue(CKCtr_Sustain, 127));
    EXPECT_EQ(values.size(), 3u);
    EXPECT_EQ(values.ValueForCtr(CKCtr_Volume), 100);
    EXPECT_EQ(values.ValueForCtr(CKCtr_Sustain), 127);
    EXPECT_TRUE(values.ContainsCtr(CKCtr_Sustain));
    EXPECT_FALSE(values.ContainsCtr(CKCtr_Expression));
}

TEST(CKCtr, ConstantsAndArchive)
{
    EXPECT_FALSE(CKCtr_Undef.IsValid());
    EXPECT_EQ(CKCtr_Modulation.mMB1, 1);
    EXPECT_EQ(CKCtr_Volume.mMB1, 7);
    EXPECT_EQ(CKCtr_Expression.mMB1, 11);
    EXPECT_EQ(CKCtr_Sustain.mMB1, 64);
    EXPECT_EQ(CKCtr_FootController.mMB1, 4);
    EXPECT_EQ(CKCtr_AddToMB1.mMidiValuePosition, TKCtrMidiValuePosition_AddToMB1);
    EXPECT_EQ(CKCtr_AddToMB3.mMidiValuePosition, TKCtrMidiValuePosition_AddToMB3);
    EXPECT_EQ(CKCtr_Channel.mMidiValuePosition, TKCtrMidiValuePosition_Channel);
    EXPECT_EQ(CKCtr_MB3.mMidiValuePosition, TKCtrMidiValuePosition_MB3);

    const CKCtr c(st_CtrChange, 9, 16, -1, 3, TKCtrMidiValuePosition_MB2);
    EXPECT_EQ(zkgtest::TextRoundTrip(c), c);
    EXPECT_EQ(zkgtest::BinaryRoundTrip(c), c);
    EXPECT_EQ(zkgtest::XmlRoundTrip(c), c);
    EXPECT_EQ(zkgtest::TextRoundTrip(CKCtr_Undef), CKCtr_Undef);
    EXPECT_EQ(c.TraceString(), "CKCtr status " + TStatusName(st_CtrChange) + " channel 9 mb1 16 mb2 -1 mb3 3 valuePos 4");
    EXPECT_EQ(CKCtr_Undef.TraceString(), "CKCtr undef");
}
