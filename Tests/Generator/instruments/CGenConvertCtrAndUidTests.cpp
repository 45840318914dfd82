#include "Generator/instruments/CGenConvertCtrAndUid.h"
#include "Generator/instruments/CGenConvertMappingFactory.h"
#include "Generator/instruments/CGenDrumMap.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

const CGenInstTree& Tree() { return GenDrumInstTreeV1(); }

CGenEv UidNote(const char* path, float pos = 1.0f, int velocity = 100)
{
    const TInstTreeUid uid = Tree().FindUidWithPath(path);
    EXPECT_NE(uid, TInstTreeUid_Undef) << path;
    return CGenEv(pos, 0.5f, st_NoteOn, GenInstTreeUidToMB1(uid), velocity);
}

// Status, MB1, MB2, MB3 of each output event.
using TOut = std::vector<std::tuple<int, int, int, int>>;

TOut Convert(CGenConvertCtrAndUid& converter, const CGenEv& ev)
{
    CGenEvs out;
    converter.CreateEvsWithCtrForEvWithUid(ev, out);
    TOut r;
    for (const CGenEv& e : out)
        r.emplace_back(e.Status(), e.mMB1, e.mMB2, e.mMB3);
    return r;
}

TOut Convert(const std::string& key, const char* path, int velocity = 100)
{
    CGenConvertCtrAndUid converter(Tree(), CGenConvertMappingFactory::MappingForKey(key));
    return Convert(converter, UidNote(path, 1.0f, velocity));
}

} // namespace

TEST(CGenConvertMapping, BuiltInMappingsByKey)
{
    const CGenConvertMapping mb3 = CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_MB3);
    const CGenConvertMapping ctrl = CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_CtrlEvs);
    const CGenConvertMapping groups =
        CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_InstTreeToTolvarZamplerGroupName);
    EXPECT_STREQ(kConvertMappingKey_MB3, "ConvertMappingKey_MB3");
    EXPECT_STREQ(kConvertMappingKey_CtrlEvs, "ConvertMappingKey_CtrlEvs");
    EXPECT_STREQ(kConvertMappingKey_InstTreeToTolvarZamplerGroupName, "ConvertMappingKey_InstTreeToTolvarZamplerGroupName");
    EXPECT_EQ(mb3.PathCount(), 130u);
    EXPECT_EQ(ctrl.PathCount(), 126u);
    EXPECT_EQ(groups.PathCount(), 67u);
    EXPECT_EQ(mb3.mName, kConvertMappingKey_MB3);
    EXPECT_TRUE(CGenConvertMappingFactory::MappingForKey("ConvertMappingKey_Other").IsEmpty());
    EXPECT_TRUE(CGenConvertMappingFactory::MappingForKey("").IsEmpty());
    EXPECT_EQ(mb3, CGenConvertMappingFactory::MappingForKeyAndDrumMap(kConvertMappingKey_MB3, CGenDrumMap::GeneralMidi()));

    // Every row names a path of the tree.
    for (const CGenConvertMapping* m : { &mb3, &ctrl, &groups })
        for (const auto& [path, token] : m->mPathToToken)
            EXPECT_NE(Tree().FindEntryWithSinglePath(path), nullptr) << m->mName << " " << path;

    EXPECT_EQ(mb3.TokenForPath("Drums.Ki.note.s1"), "noteNrKi");
    EXPECT_EQ(mb3.TokenForPath("Drums.Ki[note.s1]"), "noteNrKi");
    EXPECT_EQ(mb3.TokenForPath("Drums.Hh.note.hit.move.static.open"), "");
    EXPECT_EQ(ctrl.TokenForPath("Drums.Hh.note.hit.move.static.open"), "ctrHhOpenness");
    EXPECT_EQ(groups.TokenForPath("Drums.Sn.note.rimClick.leaf"), "SnareRimClick");
    EXPECT_EQ(mb3.TCKCtrForPath("Drums.Ki").mCtr, CKCtr_NoteNr);
    EXPECT_EQ(mb3.TCKCtrForPath("Drums.Ki").mValue, 36);
    EXPECT_TRUE(mb3.TCKCtrForPath("Drums.Ki").mConvertToCtr);
    EXPECT_TRUE(mb3.TCKCtrForPath("Drums.Ki").mConvertToUid);
    EXPECT_EQ(mb3.TCKCtrForPath("Drums.Tm.pitch.4").mCtr, CKCtr_AddToMB1);
    EXPECT_EQ(mb3.TCKCtrForPath("Drums.Tm.pitch.4").mValue, -5);
    EXPECT_EQ(ctrl.TCKCtrForPath("Drums.Hh.note.hit.move.static.open").mCtr.mMB1, 4);
    EXPECT_EQ(mb3.TCKCtrForPath("Drums.Nope").mCtr, CKCtr_Undef);
    EXPECT_EQ(mb3.TCKCtrForPath("Drums.Nope").mValue, kCKCtrValue_Undef);
    EXPECT_EQ(groups.TCKCtrForPath("Drums.Ki").mCtr, CKCtr_Undef);
    EXPECT_EQ(mb3.TokenIteratorForPath("Drums[Xx;Ki;Sn]")->first, "Drums.Ki");
    EXPECT_TRUE(mb3.TokenIteratorForPath("Drums.Xx") == mb3.end());

    CGenConvertMappings list { mb3, ctrl };
    EXPECT_EQ(list.MappingWithName(kConvertMappingKey_CtrlEvs), &list[1]);
    EXPECT_EQ(list.MappingWithName("none"), nullptr);
}

TEST(CGenConvertCtrAndUid, GeneralMidiNotesThroughTheMB3Mapping)
{
    const std::string key = kConvertMappingKey_MB3;
    const struct {
        const char* mPath;
        TOut mOut;
    } cases[] = {
        { "Drums.Ki", { { 0x99, 36, 100, -1 } } },
        { "Drums.Ki.note.s1", { { 0x99, 36, 100, -1 } } },
        { "Drums.Sn", { { 0x99, 38, 100, -1 } } },
        { "Drums.Sn.note.nrm[eccentricity.center;stroke.s1]", { { 0x99, 38, 100, 1 } } },
        { "Drums.Sn.note.nrm[eccentricity.offcenter;stroke.s3r]", { { 0x99, 38, 100, 3 } } },
        { "Drums.Sn.note.rimClick.leaf", { { 0x99, 37, 100, -1 } } },
        { "Drums.Sn.note.rimShot.eccentricity.offcenter", { { 0x99, 40, 100, -1 } } },
        { "Drums.Tm[pitch.1;stroke.s1]", { { 0x99, 50, 100, 1 } } },
        { "Drums.Tm.pitch.2", { { 0x99, 48, 100, -1 } } },
        { "Drums.Tm[pitch.3;stroke.s3l]", { { 0x99, 47, 100, 2 } } },
        { "Drums.Tm.pitch.4", { { 0x99, 45, 100, -1 } } },
        { "Drums.Tm.pitch.5", { { 0x99, 43, 100, -1 } } },
        { "Drums.Tm.pitch.6", { { 0x99, 41, 100, -1 } } },
        { "Drums.Hh", { { 0x99, 42, 100, -1 } } },
        { "Drums.Hh.note.hit[pos.tt;move.static[open.o3;stroke.s1]]", { { 0x99, 42, 100, 1 } } },
        { "Drums.Hh.note.hit[pos.es;move.static.open.o4]", { { 0x99, 46, 100, -1 } } },
        { "Drums.Hh.note.hit.move.static.open.o7", { { 0x99, 46, 100, -1 } } },
        { "Drums.Hh.note.hit.move.opening.leaf", { { 0x99, 46, 100, -1 } } },
        { "Drums.Hh.note.hit.move.closing fastsus1.open.o5", { { 0x99, 46, 100, -1 } } },
        { "Drums.Hh.note.foot.close", { { 0x99, 44, 100, -1 } } },
        { "Drums.Hh.note.foot.splash", { { 0x99, 46, 100, -1 } } },
        { "Drums.Rd[pos.nrm;stroke.s3]", { { 0x99, 51, 100, 4 } } },
        { "Drums.Rd[pos.edge;stroke.s1]", { { 0x99, 59, 100, 1 } } },
        { "Drums.Rd[pos.bell;stroke.s5]", { { 0x99, 53, 100, 5 } } },
        { "Drums.Cr", { { 0x99, 49, 100, -1 } } },
        { "Drums.Cr.pitch.2", { { 0x99, 57, 100, -1 } } },
        { "Drums.Cr[pitch.3;length.sustain]", { { 0x99, 52, 100, 8 } } },
        { "Drums.Cr[pitch.splash;stroke.s3;length.stop fast]", { { 0x99, 55, 100, 28 } } },
        { "Drums.Sticks", { { 0x99, 31, 100, -1 } } },
        { "Percussion.Cowbell.articulation.muted", { { 0x99, 56, 100, 2 } } },
        { "Percussion.Shaker.articulation.forward", { { 0x99, 70, 100, 8 } } },
        { "Percussion.Shaker.articulation.accentBackward", { { 0x99, 82, 100, 32 } } },
        { "Percussion.Tambourine[articulation.hitLeft;tempo.120]", { { 0x99, 54, 100, 51 } } },
        { "Percussion.Tambourine.tempo.200", { { 0x99, 54, 100, 80 } } },
        { "Percussion.Claps.articulation.sloppy", { { 0x99, 39, 100, 2 } } },
        { "Percussion.Fingersnaps.articulation.tight", { { 0x99, 75, 100, 1 } } },
        { "Percussion.HandDrumPercussion.BongoHand.pitch.1", { { 0x99, 60, 100, -1 } } },
        { "Percussion.HandDrumPercussion.BongoHand.pitch.3", { { 0x99, 61, 100, -1 } } },
        // Families without a sound of their own give nothing.
        { "Drums", {} },
        { "Percussion.HandDrumPercussion", {} },
    };
    CGenConvertCtrAndUid converter(Tree(), CGenConvertMappingFactory::MappingForKey(key));
    for (const auto& c : cases)
        EXPECT_EQ(Convert(converter, UidNote(c.mPath)), c.mOut) << c.mPath;
}

TEST(CGenConvertCtrAndUid, ControllersThroughTheCtrlEvsMapping)
{
    const std::string key = kConvertMappingKey_CtrlEvs;
    // Hi-hat openness as the pedal controller ahead of the closed note.
    EXPECT_EQ(Convert(key, "Drums.Hh.note.hit.move.static.open.o4"), (TOut { { 0xB9, 4, 64, -1 }, { 0x99, 42, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Hh.note.hit.move.static.open.o1"), (TOut { { 0xB9, 4, 127, -1 }, { 0x99, 42, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Hh.note.hit.move.static.open.o7"), (TOut { { 0xB9, 4, 0, -1 }, { 0x99, 42, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Hh.note.hit.move.static"), (TOut { { 0xB9, 4, 127, -1 }, { 0x99, 42, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Hh.note.hit.move.closing fastsus1.open.o6"),
        (TOut { { 0xB9, 4, 21, -1 }, { 0x99, 46, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Hh.note.hit.pos.tt"), (TOut { { 0x99, 42, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Hh.note.foot.close"), (TOut { { 0x99, 44, 100, -1 } }));
    // Snare eccentricity as controller 16, at "center" when the hit names none.
    EXPECT_EQ(Convert(key, "Drums.Sn.note.nrm.eccentricity.offcenter"), (TOut { { 0xB9, 16, 64, -1 }, { 0x99, 38, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Sn.note.nrm.stroke.s1"), (TOut { { 0xB9, 16, 0, -1 }, { 0x99, 38, 100, 1 } }));
    EXPECT_EQ(Convert(key, "Drums.Sn.note.rimShot.eccentricity.offcenter"),
        (TOut { { 0xB9, 16, 64, -1 }, { 0x99, 40, 100, -1 } }));
    EXPECT_EQ(Convert(key, "Drums.Sn.note.rimClick"), (TOut { { 0x99, 37, 100, -1 } }));
    // Strokes and percussion articulation stay on MB3, tom pitches shift the note.
    EXPECT_EQ(Convert(key, "Percussion.Cowbell.articulation.sidehit"), (TOut { { 0x99, 56, 100, 3 } }));
    EXPECT_EQ(Convert(key, "Drums.Tm[pitch.6;stroke.s3r]"), (TOut { { 0x99, 41, 100, 3 } }));
}

TEST(CGenConvertCtrAndUid, ADrumMapGivesNotesAndTheChannel)
{
    CGenDrumMap map;
    map.mName = "Studio";
    map.SetStrokeChannel(1, 3);
    map.SetStrokeChannel(2, 10);
    map.SetStrokeChannel(3, 11);
    map.SetNoteNr(TGenDrumPiece_Kick, 35);
    map.SetNoteNr(TGenDrumPiece_TomPitch1, 60);
    map.SetNoteNr(TGenDrumPiece_TomPitch2, 58);
    map.SetNoteNr(TGenDrumPiece_HiHatOpen, 26);
    CGenConvertCtrAndUid ctrl(Tree(), CGenConvertMappingFactory::MappingForKeyAndDrumMap(kConvertMappingKey_CtrlEvs, map));
    EXPECT_EQ(Convert(ctrl, UidNote("Drums.Sn.note.nrm[eccentricity.center;stroke.s3l]")),
        (TOut { { 0xB3, 16, 0, -1 }, { 0x93, 38, 100, 2 } }));
    EXPECT_EQ(Convert(ctrl, UidNote("Drums.Hh.note.hit.move.static.stroke.s3r")),
        (TOut { { 0xB3, 4, 127, -1 }, { 0x93, 42, 100, 3 } }));
    EXPECT_EQ(Convert(ctrl, UidNote("Drums.Rd.stroke.s5")), (TOut { { 0x93, 51, 100, 5 } }));
    EXPECT_EQ(Convert(ctrl, UidNote("Drums.Tm[pitch.2;stroke.s1]")), (TOut { { 0x93, 58, 100, 1 } }));
    EXPECT_EQ(Convert(ctrl, UidNote("Drums.Ki")), (TOut { { 0x93, 35, 100, -1 } }));
    CGenConvertCtrAndUid mb3(Tree(), CGenConvertMappingFactory::MappingForKeyAndDrumMap(kConvertMappingKey_MB3, map));
    EXPECT_EQ(Convert(mb3, UidNote("Drums.Tm[pitch.2;stroke.s3r]")), (TOut { { 0x93, 58, 100, 3 } }));
    EXPECT_EQ(Convert(mb3, UidNote("Drums.Hh.note.hit.move.static.open.o6")), (TOut { { 0x93, 26, 100, -1 } }));
}

TEST(CGenConvertCtrAndUid, TheNoteKeepsTheSourceAndSilentNotesKeepTheirBytes)
{
    CGenConvertCtrAndUid converter(Tree(), CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_MB3));
    CGenEv source = UidNote("Drums.Tm[pitch.3;stroke.s3l]", 2.25f, 77);
    source.mMB0 = 0x93;
    source.mRelVel = 12;
    source.Dictionary().SetValueForKey(int64_t(5), "accent");
    CGenEvs out;
    converter.CreateEvsWithCtrForEvWithUid(source, out);
    ASSERT_EQ(out.size(), 1u);
    const CGenEv& note = out[0];
    EXPECT_EQ(note.Status(), 0x99);
    EXPECT_EQ(note.mMB1, 47);
    EXPECT_EQ(note.mMB2, 77);
    EXPECT_EQ(note.mMB3, 2);
    EXPECT_EQ(note.mBeatPos, 2.25f);
    EXPECT_EQ(note.mBeatLength, 0.5f);
    EXPECT_EQ(note.mRelVel, 12);
    ASSERT_NE(note.DictionaryConst(), nullptr);
    EXPECT_EQ(note.DictionaryConst()->IntegerForKey("accent"), 5);

    // Velocity 0 is no sounding note: no channel, no sums.
    EXPECT_EQ(Convert(converter, UidNote("Drums.Tm[pitch.3;stroke.s3l]", 1.0f, 0)), (TOut { { 0x90, 50, 0, -1 } }));
}

TEST(CGenConvertCtrAndUid, HandMadeMappingsShowTheWalk)
{
    const CGenInstTree& tree = Tree();
    const CKCtr setNote(kCKCtrStatus_Any, 1, -1, -1, -1, TKCtrMidiValuePosition_MB1);

    // Only the snare has a token: every snare uid walks up to it.
    CGenConvertMapping snareOnly("snare");
    snareOnly.AddTokenForPath("Drums.Sn", "snare");
    snareOnly.AddCKCtrForToken("snare", CKCtr_NoteNr, 38);
    CGenConvertCtrAndUid a(tree, snareOnly);
    EXPECT_EQ(Convert(a, UidNote("Drums.Sn.note.rimClick.leaf")), (TOut { { 0x90, 38, 100, -1 } }));
    EXPECT_EQ(Convert(a, UidNote("Drums.Ki")), TOut {});
    EXPECT_EQ(Convert(a, CGenEv(0, 1, st_NoteOn, 0x77000000, 100)), TOut {});

    // A value-only event hands its byte to the note before it and goes.
    CGenConvertMapping rim = snareOnly;
    rim.AddTokenForPath("Drums.Sn.note.rimClick", "rim");
    rim.AddCKCtrForToken("rim", setNote, 37);
    CGenConvertCtrAndUid b(tree, rim);
    EXPECT_EQ(Convert(b, UidNote("Drums.Sn.note.rimClick")), (TOut { { 0x90, 37, 100, -1 } }));

    // With nothing real before it, it stays.
    CGenConvertMapping alone("alone");
    alone.AddTokenForPath("Drums.Sn.note.rimClick", "rim");
    alone.AddCKCtrForToken("rim", setNote, 37);
    CGenConvertCtrAndUid c(tree, alone);
    EXPECT_EQ(Convert(c, UidNote("Drums.Sn.note.rimClick")), (TOut { { 0x01, 37, -1, -1 } }));

    // Two entries making the same note give it once; a token without a value adds nothing.
    CGenConvertMapping twice = snareOnly;
    twice.AddTokenForPath("Drums.Sn.note[rimClick;rimClick.leaf]", "snare");
    twice.AddTokenForPath("Drums.Sn.note", "marker");
    twice.AddCKCtrForToken("marker", CKCtr_NoteNr, kCKCtrValue_Undef);
    CGenConvertCtrAndUid d(tree, twice);
    EXPECT_EQ(Convert(d, UidNote("Drums.Sn.note.rimClick.leaf")), (TOut { { 0x90, 38, 100, -1 } }));

    // A 14-bit controller and a channel token.
    CGenConvertMapping bend("bend");
    bend.AddTokenForPath("Drums", "channel");
    bend.AddCKCtrForToken("channel", CKCtr_Channel, 3);
    bend.AddTokenForPath("Drums.Ki", "bend");
    bend.AddCKCtrForToken("bend", CKCtr_PitchBend, 300);
    bend.AddTokenForPath("Drums.Ki.note.s1", "kick");
    bend.AddCKCtrForToken("kick", CKCtr_NoteNr, 36);
    CGenConvertCtrAndUid e(tree, bend);
    EXPECT_EQ(Convert(e, UidNote("Drums.Ki.note.s1")), (TOut { { 0x93, 36, 100, -1 }, { 0xE0, 2, 44, -1 } }));
    EXPECT_EQ(e.RelevantCtrs().size(), 3u);
}

TEST(CGenConvertCtrAndUid, ListsAreConvertedEventByEvent)
{
    CGenConvertCtrAndUid converter(Tree(), CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_CtrlEvs));
    CGenEvs in;
    in.mLength = 4.0f;
    in.push_back(UidNote("Drums.Ki", 0.0f));
    in.push_back(UidNote("Drums.Hh.note.hit.move.static.open.o5", 0.0f));
    in.push_back(CGenEv(0.5f, 0.5f, st_NoteOn, -1, 90)); // no uid: dropped
    in.push_back(UidNote("Drums.Sn.note.nrm.eccentricity.offcenter", 1.0f));
    CGenEvs out;
    out.push_back(CGenEv(9.0f, 1.0f, st_NoteOn, 1, 1));
    converter.ConvertEvsWithUidToEvsWithCtr(in, out);
    EXPECT_EQ(out.mLength, 4.0f);
    TOut got;
    std::vector<float> positions;
    for (const CGenEv& e : out) {
        got.emplace_back(e.Status(), e.mMB1, e.mMB2, e.mMB3);
        positions.push_back(e.mBeatPos);
    }
    // Appended per source event: the kick stays ahead of the hi-hat's controller.
    EXPECT_EQ(got, (TOut { { 0x99, 36, 100, -1 }, { 0xB9, 4, 42, -1 }, { 0x99, 42, 100, -1 }, { 0xB9, 16, 64, -1 },
                       { 0x99, 38, 100, -1 } }));
    EXPECT_EQ(positions, (std::vector<float> { 0.0f, 0.0f, 0.0f, 1.0f, 1.0f }));
}

TEST(CGenConvertCtrAndUid, TheWayBackRestoresEquivalentUids)
{
    for (const char* key : { kConvertMappingKey_MB3, kConvertMappingKey_CtrlEvs }) {
        CGenConvertCtrAndUid converter(Tree(), CGenConvertMappingFactory::MappingForKey(key));
        std::size_t checked = 0;
        Tree().VisitEntries([&](const CGenInstTreeEntry& entry, int /*depth*/) {
            CGenEvs in;
            in.push_back(CGenEv(0.0f, 1.0f, st_NoteOn, GenInstTreeUidToMB1(entry.Uid()), 90));
            CGenEvs withCtr;
            converter.ConvertEvsWithUidToEvsWithCtr(in, withCtr);
            if (withCtr.empty())
                return;
            CGenEvs withUid, rest;
            converter.ConvertEvsWithCtrToEvsWithUid(withCtr, withUid, rest);
            EXPECT_TRUE(rest.empty()) << key << " " << entry.Path();
            ASSERT_EQ(withUid.size(), 1u) << key << " " << entry.Path();
            CGenEvs again;
            converter.ConvertEvsWithUidToEvsWithCtr(withUid, again);
            EXPECT_TRUE(again == withCtr) << key << " " << entry.Path();
            ++checked;
        });
        EXPECT_GT(checked, 140u) << key;
    }

    CGenConvertCtrAndUid converter(Tree(), CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_CtrlEvs));
    CGenEvs in;
    in.push_back(CGenEv(0.0f, 0.0f, 0xB9, 4, 64));
    in.push_back(CGenEv(0.0f, 1.0f, 0x99, 42, 90));
    in.push_back(CGenEv(0.0f, 1.0f, 0x99, 99, 90));
    in.push_back(CGenEv(0.0f, 0.0f, 0xB9, 7, 100));
    CGenEvs withUid, rest;
    converter.ConvertEvsWithCtrToEvsWithUid(in, withUid, rest);
    ASSERT_EQ(withUid.size(), 1u);
    EXPECT_EQ(withUid[0].mMB1, 0x14101400);
    EXPECT_EQ(withUid[0].mMB2, 90);
    ASSERT_EQ(rest.size(), 2u);
    EXPECT_EQ(rest[0].mMB1, 99);
    EXPECT_EQ(rest[1].mMB1, 7);
    EXPECT_FALSE(converter.CreateEvWithUidForEvAndCtrValues(CGenEv(0, 1, 0xB9, 4, 0), CKCtrAndValues()).has_value());
}

TEST(CGenFindCKCtrValue, ValuesAndSumsAlongTheWalk)
{
    const CGenConvertMapping mapping = CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_MB3);
    CGenFindCKCtrValue find(Tree(), mapping);
    const CGenInstTreeEntry* pitch4 = Tree().FindEntryWithSinglePath("Drums.Tm.pitch.4");
    EXPECT_EQ(find.FromInstTreeEntry(pitch4, CKCtr_NoteNr), 50);
    EXPECT_EQ(find.mSumMB1, -5);
    EXPECT_EQ(find.FromInstTreeEntry(pitch4, CKCtr_Volume), kCKCtrValue_Undef);
    EXPECT_EQ(find.mSumMB1, -5);

    const CGenInstTreeEntryCollection both = Tree().FindEntryCollectionWithPath("Drums.Tm[pitch.2;pitch.6]");
    EXPECT_EQ(find.FromInstTreeEntryCollection(both, CKCtr_NoteNr), 50);
    EXPECT_EQ(find.mSumMB1, -2 - 9);
    EXPECT_EQ(find.FromInstTreeEntryCollection(CGenInstTreeEntryCollection(), CKCtr_NoteNr), kCKCtrValue_Undef);
    EXPECT_EQ(find.mSumMB1, 0);
}

TEST(CGenConvertCtrAndUid, AnEventLikeOneConvertedBeforeIsAnsweredAtItsOwnPosition)
{
    // One converter remembers what it made; the answers are those of the
    // first conversion (worked out in the test above), moved to each
    // event's position, and anything that differs is converted anew.
    CGenConvertCtrAndUid converter(Tree(), CGenConvertMappingFactory::MappingForKey(kConvertMappingKey_CtrlEvs));
    const char* hat = "Drums.Hh.note.hit.move.static.open.o4";
    for (float pos : {1.0f, 7.25f, 1.0f}) {
        CGenEvs out;
        converter.CreateEvsWithCtrForEvWithUid(UidNote(hat, pos, 100), out);
        ASSERT_EQ(out.size(), 2u);
        EXPECT_EQ(out[0].mBeatPos, pos);
        EXPECT_EQ(out[1].mBeatPos, pos);
        EXPECT_EQ(out[1].mBeatLength, 0.5f);
        EXPECT_EQ(Convert(converter, UidNote(hat, pos, 100)), (TOut {{0xB9, 4, 64, -1}, {0x99, 42, 100, -1}}));
    }
    // Another velocity, another length, another kit piece.
    EXPECT_EQ(Convert(converter, UidNote(hat, 2.0f, 90)), (TOut {{0xB9, 4, 64, -1}, {0x99, 42, 90, -1}}));
    CGenEv longer = UidNote(hat, 3.0f, 100);
    longer.mBeatLength = 2.0f;
    CGenEvs out;
    converter.CreateEvsWithCtrForEvWithUid(longer, out);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_EQ(out[1].mBeatLength, 2.0f);
    EXPECT_EQ(Convert(converter, UidNote("Drums.Sn.note.rimClick", 2.0f)), (TOut {{0x99, 37, 100, -1}}));
    // An event with a dictionary is converted every time and keeps it.
    CGenEv tagged = UidNote(hat, 4.0f, 100);
    tagged.mpDictionary = std::make_unique<TGenDict>();
    tagged.mpDictionary->SetValueForKey(std::string("x"), "tag");
    converter.CreateEvsWithCtrForEvWithUid(tagged, out);
    ASSERT_EQ(out.size(), 2u);
    ASSERT_NE(out[1].mpDictionary, nullptr);
    EXPECT_EQ(out[1].mpDictionary->StringForKey("tag"), "x");
}
