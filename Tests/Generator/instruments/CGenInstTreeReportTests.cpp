#include "Generator/instruments/CGenConvertMappingFactory.h"
#include "Generator/instruments/CGenInstTreeReport.h"

#include <gtest/gtest.h>

#include <algorithm>

TEST(CGenInstTreeReport, ResolveListsPathsAndTheCombinedUid)
{
    const CGenInstTreeReport report;
    std::string text;
    EXPECT_TRUE(report.Resolve("Drums.Sn.note.nrm[eccentricity.center;stroke.s1]", text));
    EXPECT_EQ(text,
        "Drums.Sn.note.nrm.eccentricity.center  0x12110000\n"
        "Drums.Sn.note.nrm.stroke.s1            0x12101000\n"
        "uid 0x12111000");

    EXPECT_TRUE(report.Resolve("Drums.Tm[pitch.2;pitch.9;]", text));
    EXPECT_EQ(text,
        "Drums.Tm.pitch.2  0x13200000\n"
        "Drums.Tm.pitch.9  unresolved: no \"9\" below \"Drums.Tm.pitch\"\n"
        "Drums.Tm.         unresolved: empty name after \"Drums.Tm\"\n"
        "uid 0x13200000");
}

TEST(CGenInstTreeReport, ResolveExplainsFailures)
{
    const CGenInstTreeReport report;
    std::string text;
    EXPECT_FALSE(report.Resolve("", text));
    EXPECT_EQ(text, "empty expression: no paths");
    EXPECT_FALSE(report.Resolve("Drums.Tm[pitch.1]]", text));
    EXPECT_EQ(text, "malformed brackets in \"Drums.Tm[pitch.1]]\": no paths");
    EXPECT_FALSE(report.Resolve("Drum.Ki", text));
    EXPECT_EQ(text, "Drum.Ki  unresolved: no \"Drum\" at the top\nnothing resolves");
}

TEST(CGenInstTreeReport, TreeOfABranch)
{
    const CGenInstTreeReport report;
    std::string text;
    EXPECT_TRUE(report.Tree("Drums.Ki", text));
    EXPECT_EQ(text,
        "Ki  0x11000000  explicit\n"
        "  note  0x11000000  combinable\n"
        "    s1  0x11100000  leaf");
    EXPECT_TRUE(report.Tree("", text));
    EXPECT_EQ(text.substr(0, text.find('\n')), "InstTree  version 0");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 146);
    EXPECT_NE(text.find("\n          closing fastsus1  0x14103000  explicit\n"), std::string::npos);
    EXPECT_FALSE(report.Tree("Drums.Kick", text));
    EXPECT_EQ(text, "no entry at \"Drums.Kick\": no \"Kick\" below \"Drums\"");
}

TEST(CGenInstTreeReport, ConvertShowsTheOutputEvents)
{
    const CGenInstTreeReport report;
    std::string text;
    EXPECT_TRUE(report.Convert("0x14101400", kConvertMappingKey_MB3, text));
    EXPECT_EQ(text, "uid 0x14101400 through ConvertMappingKey_MB3:\npos 0 ch 10 note 46 (HiHatOpen) vel 100");
    EXPECT_TRUE(report.Convert("336598016", kConvertMappingKey_CtrlEvs, text));
    EXPECT_EQ(text,
        "uid 0x14101400 through ConvertMappingKey_CtrlEvs:\n"
        "pos 0 ch 10 ctr 4 value 64\n"
        "pos 0 ch 10 note 42 (HiHatClosed) vel 100");
    EXPECT_TRUE(report.Convert("Drums.Tm[pitch.3;stroke.s3l]", kConvertMappingKey_MB3, text));
    EXPECT_EQ(text, "uid 0x13320000 through ConvertMappingKey_MB3:\npos 0 ch 10 note 47 (TomPitch3) vel 100 mb3 2");

    EXPECT_FALSE(report.Convert("Drums.Xx", kConvertMappingKey_MB3, text));
    EXPECT_EQ(text, "\"Drums.Xx\" is neither a uid nor a path that resolves");
    EXPECT_FALSE(report.Convert("0x77000000", kConvertMappingKey_MB3, text));
    EXPECT_EQ(text, "uid 0x77000000 through ConvertMappingKey_MB3: no entry of the tree matches, no events");
    EXPECT_FALSE(report.Convert("Drums", kConvertMappingKey_MB3, text));
    EXPECT_EQ(text, "uid 0x10000000 through ConvertMappingKey_MB3: the mapping makes no events of it");
    EXPECT_FALSE(report.Convert("0x14101400", "nope", text));
    EXPECT_EQ(text, "unknown mapping \"nope\"");
}

TEST(CGenInstTreeUid, TextForms)
{
    EXPECT_EQ(GenInstTreeUidHexString(0x14101400), "0x14101400");
    EXPECT_EQ(GenInstTreeUidHexString(0x5), "0x00000005");
    EXPECT_EQ(GenInstTreeUidHexString(0x123456789LL), "0x0000000123456789");
    EXPECT_EQ(GenInstTreeUidHexString(TInstTreeUid_Undef), "undefined");
    TInstTreeUid uid = 7;
    EXPECT_TRUE(GenInstTreeUidFromString("0X1a", uid));
    EXPECT_EQ(uid, 0x1A);
    EXPECT_TRUE(GenInstTreeUidFromString("42", uid));
    EXPECT_EQ(uid, 42);
    EXPECT_FALSE(GenInstTreeUidFromString("0x", uid));
    EXPECT_FALSE(GenInstTreeUidFromString("12ab", uid));
    EXPECT_FALSE(GenInstTreeUidFromString("", uid));
    EXPECT_FALSE(GenInstTreeUidFromString("0x1FFFFFFFFFFFFFFFF", uid));
    EXPECT_EQ(uid, 42);
    EXPECT_EQ(GenInstTreeUidToMB1(0x123456789LL), 0x23456789);
}
