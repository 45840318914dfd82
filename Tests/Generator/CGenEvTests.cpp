#include "Generator/CGenEv.h"
#include "Generator/CGenEvs.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

using namespace zkgtest;

namespace {

// True when the XML elements named in `tags` appear in this order.
bool TagsInOrder(const std::string& xml, std::initializer_list<const char*> tags)
{
    size_t at = 0;
    for (const char* t : tags) {
        const size_t p = xml.find(std::string("<") + t, at);
        if (p == std::string::npos)
            return false;
        at = p + 1;
    }
    return true;
}

CGenEv MelodicEv()
{
    CGenEv ev(1.5f, 0.5f, 0x91, 60, 100, 7, TTransposeEv_Abstract, 3, CAbstractNote("{pc5[+1d+2]}"), 4);
    ev.SetProbability(0.25f);
    ev.SetPriority(2);
    ev.SetPrefersPosRelInBeat(0.5f);
    return ev;
}

} // namespace

TEST(CGenEvConstruct, GeneralFormCreatesTheMelodyBlockOnlyOnNeed)
{
    const CGenEv plain(2.0f, 1.0f, 0x93, 38, 90);
    EXPECT_EQ(plain.mBeatPos, 2.0f);
    EXPECT_EQ(plain.mBeatLength, 1.0f);
    EXPECT_EQ(plain.Status(), 0x93);
    EXPECT_EQ(plain.Channel(), 3);
    EXPECT_EQ(plain.mMB1, 38);
    EXPECT_EQ(plain.mMB2, 90);
    EXPECT_EQ(plain.mMB3, -1);
    EXPECT_EQ(plain.mRelVel, -1);
    EXPECT_FALSE(plain.HasMelodyVariationInformation());
    // Run-time fields start at their defaults.
    EXPECT_EQ(plain.RuntimeTimeTrafoInvariantBeatPosOffset(), -FLT_MAX);
    EXPECT_EQ(plain.RuntimeTags(), 0u);
    EXPECT_EQ(plain.RuntimeLayerBitmask(), kGenLayerBitmask_None);
    EXPECT_EQ(plain.ArrangerClaveWeight(), 128);
    EXPECT_EQ(plain.ArrangerClavePitch(), 128);
    EXPECT_TRUE(plain.Concretize());
    EXPECT_EQ(plain.DictionaryConst(), nullptr);

    const CGenEv transposed(0.0f, 1.0f, 0x90, 36, 100, 5, TTransposeEv_RelToRootNote_Chromatic);
    ASSERT_TRUE(transposed.HasMelodyVariationInformation());
    EXPECT_EQ(transposed.TransposeEv(), TTransposeEv_RelToRootNote_Chromatic);
    EXPECT_EQ(transposed.mRelVel, 5);
    EXPECT_FALSE(transposed.BelongsToNoteGroup());

    const CGenEv grouped(0.0f, 1.0f, 0x90, 36, 100, -1, TTransposeEv_Dont, 9, CAbstractNote(), 7);
    ASSERT_TRUE(grouped.HasMelodyVariationInformation());
    EXPECT_EQ(grouped.TransposeEv(), TTransposeEv_Dont);
    EXPECT_EQ(grouped.NoteGroupID(), 7);
    EXPECT_EQ(grouped.mMB3, 9);
    EXPECT_TRUE(grouped.AbstractNoteConst().IsUndef());

    const CGenEv withNote(0.0f, 1.0f, 0x90, 36, 100, -1, TTransposeEv_Dont, -1, CAbstractNote("{1}"));
    ASSERT_TRUE(withNote.HasMelodyVariationInformation());
    EXPECT_EQ(withNote.AbstractNoteConst().ToString(), "{1}");
    EXPECT_EQ(withNote.NoteGroupID(), 255);
}

TEST(CGenEvConstruct, AbstractNoteForms)
{
    const CGenEv a(1.0f, 2.0f, CAbstractNote("{n3}"), 2, 0.5f, 3, 0.25f);
    EXPECT_EQ(a.Status(), 0x90);
    EXPECT_EQ(a.mMB1, -1);
    EXPECT_EQ(a.mMB2, -1);
    EXPECT_EQ(a.mMB3, -1);
    EXPECT_EQ(a.mRelVel, -1);
    EXPECT_EQ(a.AbstractNoteConst().ToString(), "{n3}");
    EXPECT_EQ(a.NoteGroupID(), 2);
    EXPECT_EQ(a.Probability(), 0.5f);
    EXPECT_EQ(a.Priority(), 3);
    EXPECT_EQ(a.PrefersPosRelInBeat(), 0.25f);

    EXPECT_EQ(CGenEv(1.0f, 2.0f, std::string("{n3}"), 2, 0.5f, 3, 0.25f), a);

    // The uid form keeps the low 32 bits of the uid in MB1.
    const TInstTreeUid uid = 0x1234567890ABCDEFll;
    const CGenEv u(0.0f, 1.0f, uid, CAbstractNote("{R}"));
    EXPECT_EQ(static_cast<uint32_t>(u.mMB1), 0x90ABCDEFu);
    EXPECT_EQ(u.Status(), 0x90);
    EXPECT_EQ(u.mMB2, -1);
    EXPECT_EQ(CGenEv(0.0f, 1.0f, uid, std::string("{R}")), u);

    // Defaults of the optional arguments leave no block behind an undefined note.
    EXPECT_FALSE(CGenEv(0.0f, 1.0f, CAbstractNote()).HasMelodyVariationInformation());
}

TEST(CGenEvConstruct, NonNoteForms)
{
    const CGenEv marker(std::string("ignored"), 2.0f, st_Marker, 5, 6);
    EXPECT_EQ(marker.mBeatPos, 2.0f);
    EXPECT_TRUE(GenIsUndef(marker.mBeatLength));
    EXPECT_EQ(marker.Status(), st_Marker);
    EXPECT_EQ(marker.mMB1, 5);
    EXPECT_EQ(marker.mMB2, 6);
    EXPECT_EQ(marker.mMB3, -1);
    EXPECT_EQ(marker.mRelVel, -1);

    const CGenEv ctr(0xB2, 7, 100);
    EXPECT_TRUE(GenIsUndef(ctr.mBeatPos));
    EXPECT_TRUE(GenIsUndef(ctr.mBeatLength));
    EXPECT_TRUE(ctr.IsCtr());
    EXPECT_EQ(ctr.Channel(), 2);

    const CGenEv layer(1.0f, 4.0f, CGenBitmask(0x6));
    EXPECT_EQ(layer.Status(), 255);
    EXPECT_EQ(layer.mMB1, -1);
    EXPECT_EQ(layer.mMB2, -1);
    EXPECT_EQ(layer.mMB3, -1);
    EXPECT_EQ(layer.mRelVel, -1);
    EXPECT_EQ(layer.RuntimeLayerBitmask().Bits(), 0x6u);
    EXPECT_FALSE(layer.HasMelodyVariationInformation());
}

TEST(CGenEvSentinel, UndefinedLengthOrPositionGivesUndefinedEnd)
{
    EXPECT_EQ(CGenEv(2.0f, 1.5f, 0x90, 36, 100).EndBeatPos(), 3.5f);
    EXPECT_EQ(CGenEv(2.0f, TGenBeatLength_Undef, 0x90, 36, 100).EndBeatPos(), TGenBeatPos_Undef);
    EXPECT_EQ(CGenEv(TGenBeatPos_Undef, 1.0f, 0x90, 36, 100).EndBeatPos(), TGenBeatPos_Undef);
    // Nothing adds the sentinel: a negative length on an undefined position
    // would otherwise give -inf.
    EXPECT_EQ(CGenEv(TGenBeatPos_Undef, -1e38f, 0x90, 36, 100).EndBeatPos(), TGenBeatPos_Undef);
    EXPECT_EQ(CGenEv(0xB0, 7, 1).EndBeatPos(), TGenBeatPos_Undef);
}

TEST(CGenEvMelodyBlock, DefaultSettersCreateNothingAndGettersGiveDefaults)
{
    CGenEv ev(0.0f, 1.0f, 0x90, 36, 100);
    ev.SetTransposeEv(TTransposeEv_Dont);
    ev.SetAbstractNote(CAbstractNote());
    ev.SetNoteGroupID(255);
    ev.SetProbability(-FLT_MAX);
    ev.SetPriority(0);
    ev.SetPrefersPosRelInBeat(-FLT_MAX);
    ev.SetNoteGroupIDUndef();
    EXPECT_FALSE(ev.HasMelodyVariationInformation());
    EXPECT_EQ(ev.TransposeEv(), TTransposeEv_Dont);
    EXPECT_TRUE(ev.AbstractNoteConst().IsUndef());
    EXPECT_EQ(ev.NoteGroupID(), 255);
    EXPECT_EQ(ev.Probability(), -FLT_MAX);
    EXPECT_EQ(ev.Priority(), 0);
    EXPECT_EQ(ev.PrefersPosRelInBeat(), -FLT_MAX);
    EXPECT_FALSE(ev.BelongsToNoteGroup());
}

TEST(CGenEvMelodyBlock, EachSetterCreatesTheBlockForAnotherValue)
{
    const std::vector<std::pair<const char*, void (*)(CGenEv&)>> setters = {
        {"TransposeEv", [](CGenEv& e) { e.SetTransposeEv(TTransposeEv_PlayOnlyIfContains9); }},
        {"AbstractNote", [](CGenEv& e) { e.SetAbstractNote(CAbstractNote("{1}")); }},
        {"NoteGroupID", [](CGenEv& e) { e.SetNoteGroupID(0); }},
        {"Probability", [](CGenEv& e) { e.SetProbability(0.0f); }},
        {"Priority", [](CGenEv& e) { e.SetPriority(-1); }},
        {"PrefersPosRelInBeat", [](CGenEv& e) { e.SetPrefersPosRelInBeat(0.0f); }},
        {"MelodyVariationInformation", [](CGenEv& e) { e.MelodyVariationInformation(); }},
        {"AbstractNoteRef", [](CGenEv& e) { e.AbstractNoteRef(); }},
    };
    for (const auto& [name, set] : setters) {
        CGenEv ev(0.0f, 1.0f, 0x90, 36, 100);
        set(ev);
        EXPECT_TRUE(ev.HasMelodyVariationInformation()) << name;
    }
    CGenEv ev(0.0f, 1.0f, 0x90, 36, 100);
    ev.SetNoteGroupID(0);
    EXPECT_TRUE(ev.BelongsToNoteGroup());
    ev.SetPriority(4);
    // Back to the defaults: the block stays, holding the defaults.
    ev.SetPriority(0);
    ev.SetNoteGroupIDUndef();
    EXPECT_TRUE(ev.HasMelodyVariationInformation());
    EXPECT_EQ(ev.Priority(), 0);
    EXPECT_EQ(ev.NoteGroupID(), 255);
    EXPECT_FALSE(ev.BelongsToNoteGroup());
    // A block of defaults and no block compare equal.
    EXPECT_EQ(ev, CGenEv(0.0f, 1.0f, 0x90, 36, 100));
}

TEST(CGenEvCopy, CopiesOwnTheirBlockAndDictionary)
{
    CGenEvs evs;
    CGenEv src = MelodicEv();
    src.Dictionary().SetValueForKey(int64_t(1), "k");
    evs.InsertAtBeatPos(src);

    CGenEv copy = evs.front();
    EXPECT_EQ(copy, evs.front());
    copy.SetNoteGroupID(9);
    copy.AbstractNoteRef().mDegree = TAbstractDegree_Root;
    copy.Dictionary().SetValueForKey(int64_t(2), "k");
    copy.Dictionary().SetValueForKey(int64_t(3), "other");
    EXPECT_EQ(evs.front().NoteGroupID(), 4);
    EXPECT_EQ(evs.front().AbstractNoteConst().ToString(), "{pc5[+1d+2]}");
    ASSERT_NE(evs.front().DictionaryConst(), nullptr);
    EXPECT_EQ(evs.front().DictionaryConst()->IntegerForKey("k"), 1);
    EXPECT_FALSE(evs.front().DictionaryConst()->HasKey("other"));

    // Assignment copies too.
    CGenEv assigned(0xB0, 1, 2);
    assigned = evs.front();
    assigned.SetPriority(77);
    assigned.Dictionary().SetValueForKey(int64_t(5), "k");
    EXPECT_EQ(evs.front().Priority(), 2);
    EXPECT_EQ(evs.front().DictionaryConst()->IntegerForKey("k"), 1);
    EXPECT_EQ(assigned.mMB1, 60);

    // Self-assignment leaves the event as it was.
    CGenEv& alias = assigned;
    assigned = alias;
    EXPECT_EQ(assigned.Priority(), 77);
    EXPECT_EQ(assigned.DictionaryConst()->IntegerForKey("k"), 5);
}

TEST(CGenEvCopy, MovesTransferBothPointers)
{
    CGenEv src = MelodicEv();
    src.Dictionary().SetValueForKey(std::string("v"), "s");
    const auto* block = src.mpMelodyVariationInformation.get();
    const auto* dict = src.DictionaryConst();
    CGenEv moved(std::move(src));
    EXPECT_EQ(moved.mpMelodyVariationInformation.get(), block);
    EXPECT_EQ(moved.DictionaryConst(), dict);
    CGenEv target(0xB0, 1, 2);
    target = std::move(moved);
    EXPECT_EQ(target.mpMelodyVariationInformation.get(), block);
    EXPECT_EQ(target.DictionaryConst(), dict);
    EXPECT_EQ(target.DictionaryConst()->StringForKey("s"), "v");
}

TEST(CGenEvTrace, LayerMaskAndNoteNames)
{
    CGenEv ev(0.0f, 1.0f, 0x90, 61, 100);
    EXPECT_EQ(ev.TraceString().find("RCGenLayerBitmask"), std::string::npos);
    ev.SetRuntimeLayerBitmask(CGenBitmask(5));
    EXPECT_NE(ev.TraceString().find("  RCGenLayerBitmask 0x5"), std::string::npos);

    EXPECT_EQ(ev.NoteName(TShowNoteAs_Number), "61");
    EXPECT_EQ(ev.NoteName(TShowNoteAs_NameC3), "c#3");
    EXPECT_EQ(ev.NoteName(TShowNoteAs_NameC4), "c#4");
    EXPECT_EQ(CGenEv::NoteNameForNoteNr(0, TShowNoteAs_NameC3), "c-2");
    EXPECT_EQ(CGenEv::NoteNameForNoteNr(127, TShowNoteAs_NameC3), "g8");
    EXPECT_EQ(CGenEv::NoteNameForNoteNr(70, TShowNoteAs_NameC3), "a#3");
    EXPECT_EQ(CGenEv::NoteNameForNoteNr(-1, TShowNoteAs_NameC3), "");
    for (TShowNoteAs as : {TShowNoteAs_Number, TShowNoteAs_NameC3, TShowNoteAs_NameC4})
        for (int nr = 0; nr < 128; ++nr)
            EXPECT_EQ(CGenEv::NoteNrFromNoteName(CGenEv::NoteNameForNoteNr(nr, as), as), nr);

    EXPECT_TRUE(ev.SetFromNoteName(TShowNoteAs_NameC3, "e2"));
    EXPECT_EQ(ev.mMB1, 52);
    for (const char* bad : {"", "h3", "c", "c#", "x#3", "c99", "300", "c3x"}) {
        EXPECT_FALSE(ev.SetFromNoteName(TShowNoteAs_NameC3, bad)) << bad;
        EXPECT_EQ(ev.mMB1, 52) << bad;
    }
}

// CompareEv at one position across the status kinds.
namespace {

struct TNamedEv {
    const char* name;
    CGenEv ev;
};

std::vector<TNamedEv> EventsOfAllKindsInOrder()
{
    return {
        {"marker 0x12", CGenEv(0.0f, TGenBeatLength_Undef, st_Marker, 0, 0)},
        {"sign time 0x30", CGenEv(0.0f, TGenBeatLength_Undef, st_SignTime, 0, 0)},
        {"bank MSB", CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 0, 1)},
        {"bank LSB", CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 32, 1)},
        {"program", CGenEv(0.0f, TGenBeatLength_Undef, 0xC0, 5, -1)},
        {"ctr 91", CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 91, 10)},
        {"ctr 64", CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 64, 127)},
        {"ctr 7", CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 7, 100)},
        {"ctr 10", CGenEv(0.0f, TGenBeatLength_Undef, 0xB0, 10, 64)},
        {"note off 36", CGenEv(0.0f, 1.0f, 0x80, 36, 0)},
        {"note 36", CGenEv(0.0f, 1.0f, 0x90, 36, 100)},
        {"note 38", CGenEv(0.0f, 1.0f, 0x90, 38, 100)},
        {"poly touch", CGenEv(0.0f, TGenBeatLength_Undef, 0xA0, 36, 5)},
        {"aftertouch", CGenEv(0.0f, TGenBeatLength_Undef, 0xD0, 20, -1)},
        {"pitch bend", CGenEv(0.0f, TGenBeatLength_Undef, 0xE0, 0, 64)},
        {"clock 0xF8", CGenEv(0.0f, TGenBeatLength_Undef, st_Clock, 0, 0)},
    };
}

} // namespace

TEST(CompareEv, PairwiseResultsAtOnePosition)
{
    auto ev = [](int status, int mb1) { return CGenEv(0.0f, TGenBeatLength_Undef, status, mb1, 1); };
    struct Row {
        const char* why;
        CGenEv a, b;
        int expected;
    };
    const Row rows[] = {
        {"earlier position first", CGenEv(0.0f, 1.0f, 0x90, 60, 1), CGenEv(0.5f, 1.0f, 0x90, 36, 1), 1},
        {"later position after", CGenEv(0.5f, 1.0f, 0xB0, 0, 1), CGenEv(0.0f, 1.0f, 0x90, 36, 1), -1},
        {"undefined position first", CGenEv(0xB0, 7, 1), ev(0x90, 36), 1},
        {"own kind before note", ev(st_Marker, 9), ev(0x90, 36), 1},
        {"note after own kind", ev(0x90, 36), ev(st_Marker, 9), -1},
        {"smaller own kind first", ev(st_Marker, 9), ev(st_SignTime, 0), 1},
        {"larger own kind after", ev(st_LaunchAudio, 0), ev(st_LaunchMidi, 0), -1},
        {"own kind before bank select", ev(st_Meta, 0), ev(0xB0, 0), 1},
        {"bank select after own kind", ev(0xB0, 0), ev(st_Meta, 0), -1},
        {"bank MSB before program", ev(0xB0, 0), ev(0xC0, 1), 1},
        {"program after bank MSB", ev(0xC0, 1), ev(0xB0, 0), -1},
        {"bank MSB before LSB", ev(0xB0, 0), ev(0xB0, 32), 1},
        {"bank LSB after MSB", ev(0xB0, 32), ev(0xB0, 0), -1},
        {"two bank MSBs each go first", ev(0xB0, 0), ev(0xB0, 0), 1},
        {"bank MSB of a later channel first", ev(0xB5, 0), ev(0xB0, 7), 1},
        {"bank LSB before program", ev(0xB0, 32), ev(0xC0, 1), 1},
        {"bank LSB before note", ev(0xB0, 32), ev(0x90, 36), 1},
        {"program before controller", ev(0xC0, 1), ev(0xB0, 7), 1},
        {"controller after program", ev(0xB0, 7), ev(0xC0, 1), -1},
        {"program before note", ev(0xC0, 1), ev(0x90, 36), 1},
        {"note after program", ev(0x90, 36), ev(0xC0, 1), -1},
        {"controller before note", ev(0xB0, 7), ev(0x90, 36), 1},
        {"note after controller", ev(0x90, 36), ev(0xB0, 7), -1},
        {"controller before note off", ev(0xB0, 7), ev(0x80, 36), 1},
        {"aftertouch after controller", ev(0xD0, 1), ev(0xB0, 7), -1},
        {"aftertouch after program", ev(0xD0, 1), ev(0xC0, 7), -1},
        {"system after controller", ev(0xF8, 0), ev(0xB0, 7), -1},
        {"note off before note on", ev(0x80, 36), ev(0x90, 36), 1},
        {"note before poly touch", ev(0x90, 36), ev(0xA0, 36), 1},
        {"lower channel first", ev(0x90, 60), ev(0x91, 36), 1},
        {"controller of lower channel first", ev(0xB0, 91), ev(0xB1, 7), 1},
        {"program of higher channel after", ev(0xC1, 1), ev(0xC0, 1), -1},
        {"controllers below 64: smaller first", ev(0xB0, 7), ev(0xB0, 10), 1},
        {"controllers below 64: larger after", ev(0xB0, 10), ev(0xB0, 7), -1},
        {"controllers from 64: larger first", ev(0xB0, 91), ev(0xB0, 64), 1},
        {"controller 64 after 91", ev(0xB0, 64), ev(0xB0, 91), -1},
        {"mixed controllers: larger first", ev(0xB0, 64), ev(0xB0, 7), 1},
        {"mixed controllers: smaller after", ev(0xB0, 10), ev(0xB0, 91), -1},
        {"equal controllers", ev(0xB0, 7), ev(0xB0, 7), 0},
        {"notes: smaller number first", ev(0x90, 36), ev(0x90, 38), 1},
        {"notes: larger number after", ev(0x90, 38), ev(0x90, 36), -1},
        {"equal notes", ev(0x90, 36), ev(0x90, 36), 0},
        {"own kinds: smaller MB1 first", ev(st_Marker, 1), ev(st_Marker, 2), 1},
        {"own kinds 0x20: always equal", ev(st_LaunchMidi, 1), ev(st_LaunchMidi, 0), 0},
        {"same system status: equal", ev(st_Clock, 1), ev(st_Clock, 0), 0},
        {"different system statuses: smaller first", ev(st_Clock, 5), ev(st_Reset, 0), 1},
    };
    for (const auto& r : rows)
        EXPECT_EQ(CompareEv(r.a, r.b), r.expected) << r.why;
    EXPECT_TRUE(Pred_CmpEv(rows[0].a, rows[0].b));
    EXPECT_FALSE(Pred_CmpEv(rows[0].b, rows[0].a));
}

TEST(CompareEv, ListOrderAcrossAllKinds)
{
    const auto expected = EventsOfAllKindsInOrder();
    std::vector<std::string> want;
    for (const auto& e : expected)
        want.push_back(e.name);

    // Every pair of the expected order compares as "before".
    for (size_t i = 0; i < expected.size(); ++i)
        for (size_t j = i + 1; j < expected.size(); ++j)
            EXPECT_EQ(CompareEv(expected[i].ev, expected[j].ev), 1) << expected[i].name << " vs " << expected[j].name;

    // A fixed shuffle, through both the sorted insertion and the stable sort.
    const size_t shuffle[] = {11, 3, 15, 0, 7, 13, 5, 9, 1, 14, 2, 10, 6, 12, 4, 8};
    CGenEvs inserted;
    CGenEvs sorted;
    for (size_t k : shuffle) {
        CGenEv ev = expected[k].ev;
        ev.mMB3 = static_cast<int>(k); // carries the name's index through
        inserted.InsertAtBeatPos(ev);
        sorted.push_back(ev);
    }
    sorted.SortStable();
    std::vector<std::string> gotInserted, gotSorted;
    for (const auto& ev : inserted)
        gotInserted.push_back(expected[static_cast<size_t>(ev.mMB3)].name);
    for (const auto& ev : sorted)
        gotSorted.push_back(expected[static_cast<size_t>(ev.mMB3)].name);
    EXPECT_EQ(gotInserted, want);
    EXPECT_EQ(gotSorted, want);
    EXPECT_TRUE(inserted.IsSortedByCompareEv());
}

TEST(CGenEvCompare, Modes)
{
    const CGenEv a(1.0f, 0.5f, 0x90, 36, 100);
    auto with = [&a](auto change) {
        CGenEv b = a;
        change(b);
        return b;
    };

    const CGenEvCompare m0(0);
    EXPECT_TRUE(m0.Equal(a, a));
    EXPECT_FALSE(m0.Equal(a, with([](CGenEv& b) { b.mRelVel = 3; })));
    EXPECT_FALSE(m0.Equal(a, with([](CGenEv& b) { b.mMB3 = 3; })));
    EXPECT_FALSE(m0.Equal(a, with([](CGenEv& b) { b.mBeatLength = 1.0f; })));
    EXPECT_FALSE(m0.Equal(a, with([](CGenEv& b) { b.SetAbstractNote(CAbstractNote("{1}")); })));
    EXPECT_FALSE(m0.Equal(a, with([](CGenEv& b) { b.SetProbability(0.5f); })));
    EXPECT_TRUE(m0.Equal(a, with([](CGenEv& b) { b.mRuntimeTags = 7; })));

    const CGenEvCompare m1(1);
    EXPECT_TRUE(m1.Equal(a, CGenEv(1.0f, TGenBeatLength_Undef, 0xB0, 7, 1)));
    EXPECT_FALSE(m1.Equal(a, with([](CGenEv& b) { b.mBeatPos = 2.0f; })));

    const CGenEvCompare m2(2);
    EXPECT_TRUE(m2.Equal(a, CGenEv(1.0f, 3.0f, 0x93, 36, 1)));
    EXPECT_FALSE(m2.Equal(a, CGenEv(1.0f, 0.5f, 0x90, 38, 100)));
    EXPECT_FALSE(m2.Equal(a, CGenEv(1.0f, 0.5f, 0xB0, 36, 100)));
    EXPECT_FALSE(m2.Equal(a, CGenEv(2.0f, 0.5f, 0x90, 36, 100)));

    const CGenEvCompare m3(3);
    EXPECT_TRUE(m3.Equal(a, CGenEv(7.0f, 0.1f, 0x92, 36, 1)));
    EXPECT_FALSE(m3.Equal(a, CGenEv(1.0f, 0.5f, 0x90, 37, 100)));

    const CGenEvCompare m4(4, 10);
    EXPECT_TRUE(m4.Equal(a, CGenEv(9.0f, 0.5f, 0x90, 36, 110)));
    EXPECT_TRUE(m4.Equal(a, CGenEv(9.0f, 0.5f, 0x90, 36, 90)));
    EXPECT_FALSE(m4.Equal(a, CGenEv(9.0f, 0.5f, 0x90, 36, 111)));
    EXPECT_FALSE(m4.Equal(a, CGenEv(9.0f, 0.5f, 0x90, 36, 89)));
    EXPECT_FALSE(m4.Equal(a, CGenEv(1.0f, 0.5f, 0x90, 38, 100)));

    const CGenEvCompare m5(5, 0, st_NoteOn, {36, 42});
    const CGenEv note38(1.0f, 0.5f, 0x90, 38, 100);
    EXPECT_FALSE(m5.Equal(a, note38)) << "listed note: kind must agree";
    EXPECT_TRUE(m5.Equal(note38, a)) << "the first event decides: 38 is not listed";
    EXPECT_TRUE(m5.Equal(a, CGenEv(1.0f, 2.0f, 0x91, 36, 1)));
    EXPECT_TRUE(m5.Equal(CGenEv(1.0f, 0.5f, 0xB0, 36, 1), note38)) << "not the rule's status";
    EXPECT_FALSE(m5.Equal(note38, CGenEv(2.0f, 0.5f, 0x90, 38, 100))) << "positions always count";

    for (int mode : {-1, 6, 100})
        EXPECT_FALSE(CGenEvCompare(mode).Equal(a, a)) << mode;
}

TEST(CGenEvArchive, RoundTripsWithAndWithoutMelodyBlock)
{
    const CGenEv plain(0.25f, TGenBeatLength_Undef, 0xB3, 7, 100, 12, TTransposeEv_Dont, 5);
    const CGenEv melodic = MelodicEv();
    for (const CGenEv& ev : {plain, melodic}) {
        const CGenEv t = TextRoundTrip(ev), b = BinaryRoundTrip(ev), x = XmlRoundTrip(ev);
        for (const CGenEv* back : {&t, &b, &x}) {
            EXPECT_EQ(*back, ev);
            EXPECT_EQ(back->HasMelodyVariationInformation(), ev.HasMelodyVariationInformation());
            EXPECT_EQ(back->Status(), ev.Status());
        }
    }
    const CGenEv back = TextRoundTrip(melodic);
    EXPECT_EQ(back.AbstractNoteConst().ToString(), "{pc5[+1d+2]}");
    EXPECT_EQ(back.AbstractNoteConst().mOffsets.at(0).mOctaves, 1);
    EXPECT_EQ(back.PrefersPosRelInBeat(), 0.5f);
}

TEST(CGenEvArchive, RunTimeFieldsAreNotArchived)
{
    CGenEv ev(1.0f, 1.0f, 0x90, 36, 100);
    ev.mRuntimeTags = 0xF0F0;
    ev.mRuntimeTimeTrafoInvariantBeatPosOffset = 2.0f;
    ev.mArrangerClaveWeight = 3;
    ev.mArrangerClavePitch = 4;
    ev.Dictionary().SetValueForKey(int64_t(1), "k");
    const CGenEv back = TextRoundTrip(ev);
    EXPECT_EQ(back.RuntimeTags(), 0u);
    EXPECT_EQ(back.RuntimeTimeTrafoInvariantBeatPosOffset(), -FLT_MAX);
    EXPECT_EQ(back.ArrangerClaveWeight(), 128);
    EXPECT_EQ(back.ArrangerClavePitch(), 128);
    EXPECT_EQ(back.DictionaryConst(), nullptr);
}

TEST(CGenEvArchive, FieldOrderAndVersion)
{
    const std::string xml = ToXmlArchive(MelodicEv());
    EXPECT_TRUE(TagsInOrder(xml, {"mBeatPos", "mBeatLength", "mMB0", "mMB1", "mMB2", "mMB3", "mRelVel",
                                     "mpMelodyVariationInformation", "mTransposeEv", "mAbstractNote", "mNoteGroupID",
                                     "mProbability", "mPriority", "mPrefersPosRelInBeat"}))
        << xml;
    EXPECT_NE(xml.find("<value class_id=\"0\" tracking_level=\"0\" version=\"6\">"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<mMB0>145</mMB0>"), std::string::npos);
    // A missing block is a null pointer.
    EXPECT_EQ(ToTextArchive(CGenEv(1.0f, 0.5f, 0x91, 60, 100, 7, TTransposeEv_Dont, 3)),
        TextArchivePreamble() + " 0 6 1.000000000e+00 5.000000000e-01 145 60 100 3 7 -1\n");
}

// Old class versions, written by hand in the layout the current text archive
// uses: class header "tracking version", then the fields. The abstract note
// below is "{pc5[+1d+2]}": header 0 1, degree 7, note number -1, offsets
// (headers 0 0 and 0 0, count 1, item version 0, header 0 0, mWhere 0,
// mStepsType 0, mOctaves 1, mSteps 2, mStepsDirection 0, number -1), mWhere 4.
namespace {
const std::string kOldNote = "0 1 7 -1 0 0 0 0 1 0 0 0 0 0 1 2 0 -1 4";
const std::string kOldUndefNote = "0 1 -1 -1 0 0 0 0 0 0 0";
} // namespace

TEST(CGenEvArchive, ReadsVersion0)
{
    // mBeatPos mBeatLength mMB0 mMB1 mMB2 mRelVel transposeEv; no mMB3 yet.
    CGenEv ev(9.0f, 9.0f, 0x80, 1, 1, 1, TTransposeEv_Abstract, 42);
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 0 1.5 0.5 145 60 100 7 0", ev));
    EXPECT_EQ(ev.mBeatPos, 1.5f);
    EXPECT_EQ(ev.mBeatLength, 0.5f);
    EXPECT_EQ(ev.Status(), 145);
    EXPECT_EQ(ev.mMB1, 60);
    EXPECT_EQ(ev.mMB2, 100);
    EXPECT_EQ(ev.mMB3, -1);
    EXPECT_EQ(ev.mRelVel, 7);
    EXPECT_FALSE(ev.HasMelodyVariationInformation());

    CGenEv transposed;
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 0 1.5 0.5 145 60 100 7 3", transposed));
    ASSERT_TRUE(transposed.HasMelodyVariationInformation());
    EXPECT_EQ(transposed.TransposeEv(), TTransposeEv_RelToRootNote_Diatonic);
}

TEST(CGenEvArchive, ReadsVersion2WithFlatAbstractNote)
{
    CGenEv ev;
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 2 1.5 0.5 145 60 100 3 7 0 " + kOldNote, ev));
    EXPECT_EQ(ev.mMB3, 3);
    EXPECT_EQ(ev.mRelVel, 7);
    ASSERT_TRUE(ev.HasMelodyVariationInformation());
    EXPECT_EQ(ev.TransposeEv(), TTransposeEv_Dont);
    EXPECT_EQ(ev.AbstractNoteConst().ToString(), "{pc5[+1d+2]}");
    EXPECT_EQ(ev.NoteGroupID(), 255);

    // Defaults only: the presence rule makes no block.
    CGenEv plain;
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 2 1.5 0.5 145 60 100 3 7 0 " + kOldUndefNote, plain));
    EXPECT_FALSE(plain.HasMelodyVariationInformation());
}

TEST(CGenEvArchive, ReadsVersions4And5)
{
    CGenEv v4;
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 4 1.5 0.5 145 60 100 3 7 1 " + kOldUndefNote + " 6", v4));
    ASSERT_TRUE(v4.HasMelodyVariationInformation());
    EXPECT_EQ(v4.TransposeEv(), TTransposeEv_Abstract);
    EXPECT_TRUE(v4.AbstractNoteConst().IsUndef());
    EXPECT_EQ(v4.NoteGroupID(), 6);
    EXPECT_EQ(v4.Probability(), -FLT_MAX);

    CGenEv v5;
    ASSERT_TRUE(FromTextArchive(
        TextArchivePreamble() + " 0 5 1.5 0.5 145 60 100 3 7 1 " + kOldNote + " 4 0.25 2 0.5", v5));
    EXPECT_EQ(v5, MelodicEv());

    CGenEv v5plain;
    ASSERT_TRUE(FromTextArchive(TextArchivePreamble() + " 0 5 1.5 0.5 145 60 100 3 7 0 " + kOldUndefNote
            + " 255 -3.402823466e+38 0 -3.402823466e+38",
        v5plain));
    EXPECT_FALSE(v5plain.HasMelodyVariationInformation());
    EXPECT_EQ(v5plain.mMB1, 60);
}

TEST(CGenEvArchive, BrokenArchivesFailWithoutCrash)
{
    CGenEv ev;
    EXPECT_FALSE(FromTextArchive(TextArchivePreamble() + " 0 6 1.5 0.5 145", ev));
    EXPECT_FALSE(FromTextArchive(TextArchivePreamble() + " 0 6 1.5 0.5 145 60 100 3 7 1 1 0", ev));
    EXPECT_FALSE(FromTextArchive("", ev));
}
