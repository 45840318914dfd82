#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenInstTree.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const CGenInstTree& Tree() { return GenDrumInstTreeV1(); }

TInstTreeUid UidOf(const char* path) { return Tree().FindUidWithPath(path); }

std::vector<std::string> Paths(const CGenInstTreeEntryCollection& c)
{
    std::vector<std::string> paths;
    for (const CGenInstTreeEntry* e : c)
        paths.push_back(e->Path());
    return paths;
}

} // namespace

TEST(CGenInstTree, UidsAtEveryDepth)
{
    EXPECT_EQ(UidOf("Drums"), 0x10000000);
    EXPECT_EQ(UidOf("Drums.Ki"), 0x11000000);
    EXPECT_EQ(UidOf("Drums.Ki.note"), 0x11000000);
    EXPECT_EQ(UidOf("Drums.Ki.note.s1"), 0x11100000);
    EXPECT_EQ(UidOf("Drums.Sn.note.nrm.eccentricity.offcenter"), 0x12120000);
    EXPECT_EQ(UidOf("Drums.Sn.note.nrm.stroke.s1"), 0x12101000);
    EXPECT_EQ(UidOf("Drums.Sn.note.nrm.stroke.s3l"), 0x12102000);
    EXPECT_EQ(UidOf("Drums.Sn.note.nrm.stroke.s3r"), 0x12103000);
    EXPECT_EQ(UidOf("Drums.Sn.note.rimClick"), 0x12200000);
    EXPECT_EQ(UidOf("Drums.Sn.note.rimClick.leaf"), 0x12200000);
    EXPECT_EQ(UidOf("Drums.Sn.note.rimShot.eccentricity.offcenter"), 0x12320000);
    EXPECT_EQ(UidOf("Drums.Tm.pitch.6"), 0x13600000);
    EXPECT_EQ(UidOf("Drums.Tm.stroke.s3r"), 0x13030000);
    EXPECT_EQ(UidOf("Drums.Hh.note.hit.pos.es"), 0x14130000);
    const TInstTreeUid openness[] = { 0x14101100, 0x14101200, 0x14101300, 0x14101400, 0x14101500, 0x14101600, 0x14101700 };
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(UidOf(("Drums.Hh.note.hit.move.static.open.o" + std::to_string(i + 1)).c_str()), openness[i]) << i;
    EXPECT_EQ(UidOf("Drums.Hh.note.hit.move.static.stroke.s3r"), 0x14101030);
    EXPECT_EQ(UidOf("Drums.Hh.note.hit.move.opening.leaf"), 0x14102000);
    EXPECT_EQ(UidOf("Drums.Hh.note.hit.move.closing fastsus1.open.o6"), 0x14103600);
    EXPECT_EQ(UidOf("Drums.Hh.note.hit.move.closing slowsus2.leaf"), 0x14105000);
    EXPECT_EQ(UidOf("Drums.Hh.note.foot"), 0x14200000);
    EXPECT_EQ(UidOf("Drums.Hh.note.foot.stop"), 0x14230000);
    EXPECT_EQ(UidOf("Drums.Rd.pos.edge"), 0x15100000);
    EXPECT_EQ(UidOf("Drums.Rd.pos.nrm"), 0x15200000);
    EXPECT_EQ(UidOf("Drums.Rd.pos.inner"), 0x15300000);
    EXPECT_EQ(UidOf("Drums.Rd.pos.bell"), 0x15400000);
    EXPECT_EQ(UidOf("Drums.Rd.stroke.s5"), 0x15030000);
    EXPECT_EQ(UidOf("Drums.Cr.pitch.1"), 0x16100000);
    EXPECT_EQ(UidOf("Drums.Cr.pitch.4"), 0x16400000);
    EXPECT_EQ(UidOf("Drums.Cr.pitch.splash"), 0x16B00000);
    EXPECT_EQ(UidOf("Drums.Cr.length.stop slow"), 0x16002000);
    EXPECT_EQ(UidOf("Drums.Sticks"), 0x1F000000);
    EXPECT_EQ(UidOf("Percussion"), 0x20000000);
    EXPECT_EQ(UidOf("Percussion.Cowbell.articulation.sidehit"), 0x21300000);
    EXPECT_EQ(UidOf("Percussion.Shaker.articulation.accentBackward"), 0x22040000);
    EXPECT_EQ(UidOf("Percussion.Shaker.tempo.20"), 0x22010000);
    EXPECT_EQ(UidOf("Percussion.Shaker.tempo.200"), 0x220A0000);
    EXPECT_EQ(UidOf("Percussion.Tambourine.articulation.hitRight"), 0x23400000);
    EXPECT_EQ(UidOf("Percussion.Tambourine.tempo.120"), 0x23060000);
    EXPECT_EQ(UidOf("Percussion.Claps.articulation.sloppy"), 0x24200000);
    EXPECT_EQ(UidOf("Percussion.Fingersnaps.articulation.tight"), 0x25100000);
    EXPECT_EQ(UidOf("Percussion.HandDrumPercussion.BongoHand.pitch.1"), 0x26210000);
    EXPECT_EQ(UidOf("Percussion.HandDrumPercussion.BongoHand.pitch.3"), 0x26230000);
    // The shaker's articulation and tempo share a nibble.
    EXPECT_EQ(UidOf("Percussion.Shaker.articulation.backward"), UidOf("Percussion.Shaker.tempo.40"));
}

TEST(CGenInstTree, ShapeOfTheVersionOneTree)
{
    const CGenInstTree& tree = Tree();
    EXPECT_EQ(tree.mName, "InstTree");
    EXPECT_EQ(tree.mInstTreeVersion, 0);
    EXPECT_TRUE(tree.mIsRootParent);
    EXPECT_EQ(tree.mParent, nullptr);
    EXPECT_EQ(tree.Uid(), TInstTreeUid_Undef);
    EXPECT_EQ(tree.Path(), "");
    EXPECT_EQ(tree.RecursiveEntriesSize(), 146u);
    EXPECT_EQ(tree.CountLeafs(), 95u);
    ASSERT_EQ(tree.mEntries.size(), 2u);
    EXPECT_EQ(tree.EntryAt(0)->mName, "Drums");
    EXPECT_EQ(tree.EntryAt(1)->mName, "Percussion");
    EXPECT_EQ(tree.EntryAt(2), nullptr);

    const CGenInstTreeEntry* hit = tree.FindEntryWithSinglePath("Drums.Hh.note.hit");
    ASSERT_NE(hit, nullptr);
    EXPECT_EQ(hit->Type(), TInstTreeEntryType_Vertex);
    EXPECT_EQ(hit->EntriesAre(), TEntriesAre_Explicit);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums.Hh.note")->EntriesAre(), TEntriesAre_Combinable);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums.Sn.note.rimShot.eccentricity")->EntriesAre(), TEntriesAre_Explicit);
    const CGenInstTreeEntry* o4 = tree.FindEntryWithSinglePath("Drums.Hh.note.hit.move.static.open.o4");
    ASSERT_NE(o4, nullptr);
    EXPECT_EQ(o4->Type(), TInstTreeEntryType_Leaf);
    EXPECT_EQ(o4->Path(), "Drums.Hh.note.hit.move.static.open.o4");
    EXPECT_EQ(o4->Uid(), 0x14101400);
    EXPECT_EQ(o4->UidEl(), 0x400);
    EXPECT_EQ(o4->mParent->mName, "open");
    EXPECT_EQ(o4->mParent->UidEl(), TInstTreeUidEl_Undef);
    // Fast closing offers only o5 to o7; the bongo has pitches 1 and 3 only.
    const auto* fastOpen = tree.FindEntryWithSinglePath("Drums.Hh.note.hit.move.closing fastsus1.open");
    ASSERT_NE(fastOpen, nullptr);
    EXPECT_EQ(fastOpen->Entries()->size(), 3u);
    EXPECT_EQ(fastOpen->Entries()->front()->mName, "o5");
    EXPECT_EQ(tree.FindEntryWithSinglePath("Percussion.HandDrumPercussion.BongoHand.pitch.2"), nullptr);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums.Sn.note.rimShot.stroke"), nullptr);
}

TEST(CGenInstTree, SinglePathsThatFindNothing)
{
    const CGenInstTree& tree = Tree();
    EXPECT_EQ(tree.FindEntryWithSinglePath(""), nullptr);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums.Hh."), nullptr);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums..Hh"), nullptr);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums.Xx"), nullptr);
    EXPECT_EQ(tree.FindEntryWithSinglePath("drums"), nullptr);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums.Sticks.more"), nullptr);
    EXPECT_EQ(tree.FindEntryWithSinglePath("Drums.Hh.note.hit.move.closing"), nullptr);
    EXPECT_EQ(tree.FindUidWithPath(""), TInstTreeUid_Undef);
    EXPECT_EQ(tree.FindUidWithPath("Drums.Xx"), TInstTreeUid_Undef);
    EXPECT_EQ(tree.FindUidWithPath("Drums.Xx[a;b]"), TInstTreeUid_Undef);
    EXPECT_EQ(tree.FindUidWithPath("Drums.Hh[note.foot"), TInstTreeUid_Undef);
    EXPECT_TRUE(tree.FindEntryCollectionWithPath("").empty());
    EXPECT_EQ(tree.FindEntryWithName("Drums")->mName, "Drums");
    EXPECT_EQ(tree.FindEntryWithName("Drums.Ki"), nullptr);
}

TEST(CGenInstTree, ExpressionsResolveToOrOfTheirPaths)
{
    const CGenInstTree& tree = Tree();
    EXPECT_EQ(tree.FindUidWithPath("Drums.Sn.note.nrm[eccentricity.center;stroke.s1]"), 0x12111000);
    // Unknown pieces are skipped, the rest still count.
    EXPECT_EQ(tree.FindUidWithPath("Drums.Sn.note.nrm[eccentricity.center;bogus;stroke.s1]"), 0x12111000);
    EXPECT_EQ(tree.FindUidWithPath("Drums.Hh.note.hit[pos.tt;move.static[open.o5;stroke.s3l]]"), 0x14111520);

    const CGenInstTreeEntryCollection c = tree.FindEntryCollectionWithPath("Drums.Tm[pitch.2;;stroke.s1;pitch.2]");
    EXPECT_EQ(Paths(c), (std::vector<std::string> { "Drums.Tm.pitch.2", "Drums.Tm.stroke.s1", "Drums.Tm.pitch.2" }));
    EXPECT_EQ(c.Uid(), 0x13210000);
}

TEST(CGenInstTree, RangeNumberChildren)
{
    CGenInstTreeVertex v("v", TEntriesAre_Explicit, 0x100);
    v.EntriesAdd(CGenInstTreeLeaf("RangeNumber(3-7)", 0x10));
    v.EntriesAdd(CGenInstTreeLeaf("5", 0x20));
    v.EntriesAdd(CGenInstTreeLeaf("RangeNumber(8-12)", 0x30));
    const CGenInstTreeEntry* low = v.EntryAt(0);
    EXPECT_EQ(v.FindEntryWithName("3"), low);
    EXPECT_EQ(v.FindEntryWithName("7"), low);
    // The first match wins over the exact name further on.
    EXPECT_EQ(v.FindEntryWithName("5"), low);
    EXPECT_EQ(v.FindEntryWithName("8"), v.EntryAt(2));
    EXPECT_EQ(v.FindEntryWithName("12"), v.EntryAt(2));
    EXPECT_EQ(v.FindEntryWithName("2"), nullptr);
    EXPECT_EQ(v.FindEntryWithName("13"), nullptr);
    // An unreadable name reads as -1; the range child's own name is no number.
    EXPECT_EQ(v.FindEntryWithName("x"), nullptr);
    EXPECT_EQ(v.FindEntryWithName("RangeNumber(3-7)"), nullptr);
    EXPECT_EQ(v.FindEntryWithSinglePath("4")->Uid(), 0x110);
}

TEST(CGenInstTree, NibbleMatchOfFamilies)
{
    const TInstTreeUid hh = UidOf("Drums.Hh");
    const TInstTreeUid o4 = UidOf("Drums.Hh.note.hit.move.static.open.o4");
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(o4, hh));
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(o4, UidOf("Drums")));
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(o4, o4));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(UidOf("Drums.Sn.note.rimClick"), hh));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(hh, o4));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(UidOf("Drums.Hh.note.hit.move.static.open.o3"), o4));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(UidOf("Percussion.Shaker"), UidOf("Drums")));
    // A zero pattern matches everything; the undefined pattern nothing real.
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(o4, 0));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(o4, TInstTreeUid_Undef));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x14101401, TInstTreeUid_Undef));
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(TInstTreeUid_Undef, TInstTreeUid_Undef));
    // Two nibbles as one unit: 0x10 in the top byte asks for 0x10 exactly.
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x14101400, 0x14000000, 2));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x14101400, 0x10000000, 2));
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x15101400, 0x14000000, 2));
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x14101400, 0x10000000, 1));
    // Eight nibbles compare the whole value; none compares nothing.
    EXPECT_FALSE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x14101400, 0x14000000, 8));
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x14000000, 0x14000000, 8));
    EXPECT_TRUE(GenInstTreeUidMatchForRhsNonZeroNibblesToLhsUid(0x99999999, 0x14000000, 0));
}

TEST(CGenInstTree, EntriesForAUidDepthFirst)
{
    const CGenInstTree& tree = Tree();
    CGenInstTreeEntryCollection c;
    tree.FindEntriesForUid(0x12200000, c);
    EXPECT_EQ(Paths(c), (std::vector<std::string> { "Drums", "Drums.Sn", "Drums.Sn.note", "Drums.Sn.note.rimClick",
                            "Drums.Sn.note.rimClick.leaf" }));
    c.clear();
    tree.FindEntriesForUid(0x14101400, c);
    EXPECT_EQ(Paths(c),
        (std::vector<std::string> { "Drums", "Drums.Hh", "Drums.Hh.note", "Drums.Hh.note.hit", "Drums.Hh.note.hit.pos",
            "Drums.Hh.note.hit.move", "Drums.Hh.note.hit.move.static", "Drums.Hh.note.hit.move.static.open",
            "Drums.Hh.note.hit.move.static.open.o4", "Drums.Hh.note.hit.move.static.stroke" }));
    // Appends; shaker articulation and tempo both answer the shared nibble.
    tree.FindEntriesForUid(0x22020000, c);
    EXPECT_EQ(c.size(), 16u);
    EXPECT_EQ(c[13]->Path(), "Percussion.Shaker.articulation.backward");
    EXPECT_EQ(c[15]->Path(), "Percussion.Shaker.tempo.40");

    c.clear();
    tree.FindEntriesForUid(0, c);
    EXPECT_TRUE(c.empty());
    tree.FindEntriesForUid(0x77000000, c);
    EXPECT_TRUE(c.empty());
    EXPECT_TRUE(tree.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(0x14101400));
    EXPECT_FALSE(tree.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(0x77000000));

    // From a branch, the branch itself comes first.
    const auto* ride = dynamic_cast<const CGenInstTreeVertex*>(tree.FindEntryWithSinglePath("Drums.Rd"));
    ASSERT_NE(ride, nullptr);
    c.clear();
    ride->FindEntriesForUid(0x15430000, c);
    EXPECT_EQ(Paths(c), (std::vector<std::string> { "Drums.Rd", "Drums.Rd.pos", "Drums.Rd.pos.bell", "Drums.Rd.stroke",
                            "Drums.Rd.stroke.s5" }));
    EXPECT_TRUE(ride->ContainsEntryOrAncestor(c[2]));
    EXPECT_TRUE(ride->ContainsEntryOrAncestor(ride));
    EXPECT_FALSE(ride->ContainsEntryOrAncestor(tree.FindEntryWithSinglePath("Drums.Cr.pitch.1")));
    EXPECT_FALSE(ride->ContainsEntryOrAncestor(nullptr));
}

TEST(CGenInstTree, EntryWalksTowardsTheRoot)
{
    const CGenInstTree& tree = Tree();
    const CGenInstTreeEntry* o4 = tree.FindEntryWithSinglePath("Drums.Hh.note.hit.move.static.open.o4");
    EXPECT_TRUE(o4->ThisOrAncestorUidEquals(TInstTreeUid_Undef));
    EXPECT_TRUE(o4->ThisOrAncestorUidEquals(0x14101400));
    EXPECT_TRUE(o4->ThisOrAncestorUidEquals(0x14100000));
    EXPECT_TRUE(o4->ThisOrAncestorUidEquals(0x10000000));
    EXPECT_FALSE(o4->ThisOrAncestorUidEquals(0x14101000 | 0x10));
    EXPECT_FALSE(o4->ThisOrAncestorUidEquals(0x12000000));
    EXPECT_TRUE(o4->ThisOrAncestorUidMatchForRhsNonZeroNibblesToLhsUid(0x04000000));
    EXPECT_TRUE(o4->ThisOrAncestorUidMatchForRhsNonZeroNibblesToLhsUid(0x400));
    EXPECT_FALSE(o4->ThisOrAncestorUidMatchForRhsNonZeroNibblesToLhsUid(0x500));

    const CGenEv ev(1.5f, 0.25f, st_NoteOn, 7, 90);
    const CGenEv withUid = o4->CreateEvWithUidFromEv(ev);
    EXPECT_EQ(withUid.mMB1, 0x14101400);
    EXPECT_EQ(withUid.mMB2, 90);
    EXPECT_EQ(withUid.mBeatPos, 1.5f);
    EXPECT_EQ(o4->CreateEvWithUidFromUidEv(ev).mMB1, 0x14101400);

    // Without a parent an entry is its own element; an undefined one is undefined.
    const CGenInstTreeLeaf alone("alone", 0x30);
    EXPECT_EQ(alone.Uid(), 0x30);
    EXPECT_EQ(alone.Path(), "alone");
    EXPECT_EQ(CGenInstTreeLeaf("x", TInstTreeUidEl_Undef).Uid(), TInstTreeUid_Undef);
    EXPECT_TRUE(CGenInstTreeEntry().IsUndef());
    EXPECT_FALSE(CGenInstTreeLeaf("leaf", TInstTreeUidEl_Undef).IsUndef());
}

TEST(CGenInstTree, CollectionsContainUidsAndFamilies)
{
    const CGenInstTree& tree = Tree();
    const CGenInstTreeEntryCollection empty;
    EXPECT_EQ(empty.Uid(), TInstTreeUid_Undef);
    EXPECT_TRUE(empty.Contains(TInstTreeUid_Undef));
    EXPECT_FALSE(empty.Contains(0x14101400));
    EXPECT_FALSE(empty.Contains(nullptr));

    const CGenInstTreeEntryCollection hits = tree.FindEntryCollectionWithPath("Drums.Hh.note[foot;hit]");
    EXPECT_EQ(hits.Uid(), 0x14300000);
    EXPECT_TRUE(hits.Contains(hits[0]));
    EXPECT_FALSE(hits.Contains(tree.FindEntryWithSinglePath("Drums.Hh")));
    EXPECT_TRUE(hits.Contains(0x14200000));
    EXPECT_TRUE(hits.Contains(0x14000000)); // an ancestor's uid
    EXPECT_FALSE(hits.Contains(0x14101400)); // a descendant's uid isn't theirs
    EXPECT_TRUE(hits.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(0x14101400));
    EXPECT_FALSE(hits.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(0x14000000));
    EXPECT_FALSE(hits.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(0x12200000));

    // The root, or an entry that belongs to no tree, stands for everything.
    const CGenInstTreeEntryCollection all { &tree };
    EXPECT_TRUE(all.Contains(0x12200000));
    EXPECT_TRUE(all.ContainsEntryOrAncestorUidMatchForRhsNonZeroNibbles(0x12200000));
    const CGenInstTreeLeaf unplaced("u", TInstTreeUidEl_Undef);
    EXPECT_TRUE(CGenInstTreeEntryCollection { &unplaced }.Contains(0x25100000));
    EXPECT_EQ(hits.TraceBriefString(), "CGenInstTreeEntryCollection size 2 uid 0x14300000");
}

TEST(CGenInstTree, UidListsOfTheStages)
{
    const CGenInstTree& tree = Tree();
    TInstTreeUids uids { 1, 2, 3 };
    tree.CreateDrumsKickUids(uids);
    EXPECT_EQ(uids, (TInstTreeUids { 0x11000000 }));
    tree.CreateDrumsSnareUids(uids);
    EXPECT_EQ(uids, (TInstTreeUids { 0x12000000 }));
    tree.CreateDrumsTomUids(uids);
    EXPECT_EQ(uids, (TInstTreeUids { 0x13000000 }));
    tree.CreateDrumsSystemCymbalUids(uids);
    EXPECT_EQ(uids, (TInstTreeUids { 0x14000000, 0x16000000, 0x15000000 }));
    tree.CreateDrumsSystemAllUids(uids);
    EXPECT_EQ(uids, (TInstTreeUids { 0x14000000, 0x16000000, 0x15000000 }));
    tree.CreateDrumsFootUids(uids);
    EXPECT_EQ(uids, (TInstTreeUids { 0x11000000, 0x14200000 }));
    // A tree without those entries answers the undefined uid in their place.
    const CGenInstTree bare("bare", TEntriesAre_Explicit, 3);
    bare.CreateDrumsFootUids(uids);
    EXPECT_EQ(uids, (TInstTreeUids { TInstTreeUid_Undef, TInstTreeUid_Undef }));
}

TEST(CGenInstTree, CopiesAreEqualAndOwnTheirChildren)
{
    const CGenInstTree& source = Tree();
    const CGenInstTree copy = source;
    EXPECT_TRUE(copy == source);
    EXPECT_TRUE(copy.mIsRootParent);
    std::size_t checked = 0;
    copy.VisitEntries([&](const CGenInstTreeEntry& e, int /*depth*/) {
        ++checked;
        ASSERT_NE(e.mParent, nullptr);
        EXPECT_TRUE(copy.ContainsEntryOrAncestor(e.mParent)) << e.Path();
        EXPECT_FALSE(source.ContainsEntryOrAncestor(&e)) << e.Path();
        EXPECT_FALSE(e.mIsRootParent);
        EXPECT_EQ(e.Uid(), source.FindEntryWithSinglePath(e.Path())->Uid()) << e.Path();
    });
    EXPECT_EQ(checked, 146u);

    // A clone of a branch has no parent: its uid loses the ancestors' elements.
    const std::unique_ptr<CGenInstTreeEntry> hh = source.FindEntryWithSinglePath("Drums.Hh")->Clone();
    EXPECT_EQ(hh->mParent, nullptr);
    EXPECT_EQ(hh->Uid(), 0x4000000);
    EXPECT_EQ(hh->FindUidWithPath("note.foot.close"), 0x4210000);
    EXPECT_EQ(hh->FindEntryWithSinglePath("note")->mParent, hh.get());

    CGenInstTree changed = source;
    changed.FindEntryWithSinglePath("Drums.Rd.pos.bell")->mName = "cup";
    EXPECT_FALSE(changed == source);
    CGenInstTree nibbles = source;
    nibbles.FindEntryWithSinglePath("Drums.Ki")->mCompareNibbleCount = 2;
    EXPECT_FALSE(nibbles == source);

    // Entry lists compare pairwise up to the shorter one.
    CGenInstTreeVertex a("v", TEntriesAre_Combinable, 0x1);
    a.EntriesAdd(CGenInstTreeLeaf("x", 0x10));
    CGenInstTreeVertex b = a;
    b.EntriesAdd(CGenInstTreeLeaf("y", 0x20));
    EXPECT_TRUE(a == b);
    b.SetEntriesAre(TEntriesAre_Explicit);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(static_cast<const CGenInstTreeEntry&>(a) == CGenInstTreeLeaf("v", 0x1));

    // Moving keeps the children pointing at their new owner.
    CGenInstTree temp = source;
    CGenInstTree moved = std::move(temp);
    EXPECT_EQ(moved.FindEntryWithSinglePath("Drums")->mParent, &moved);
    EXPECT_EQ(moved.FindUidWithPath("Drums.Hh.note.foot.splash"), 0x14220000);
}

TEST(CGenInstTree, EntryListOperations)
{
    CGenInstTreeVertex v("v", TEntriesAre_Explicit, 0x1);
    CGenInstTreeEntries& list = v.mEntries;
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.front(), nullptr);
    v.EntriesAdd(CGenInstTreeLeaf("a", 0x10));
    v.EntriesAdd(CGenInstTreeLeaf("c", 0x30));
    auto it = list.insert(++list.begin(), std::make_unique<CGenInstTreeLeaf>("b", 0x20));
    EXPECT_EQ((*it)->mName, "b");
    EXPECT_EQ(list.size(), 3u);
    EXPECT_EQ(list.at(2)->mName, "c");
    EXPECT_THROW(list.at(3), std::out_of_range);
    EXPECT_EQ(list.back()->mName, "c");
    CGenInstTreeEntries::const_iterator cit = list.begin();
    EXPECT_TRUE(cit == list.begin());
    --(it = list.end());
    EXPECT_EQ(it->mName, "c");

    CGenInstTreeVertex w("w", TEntriesAre_Explicit, 0x2);
    w.mEntries.AssignWithNewParent(list, &w);
    ASSERT_EQ(w.mEntries.size(), 3u);
    for (const CGenInstTreeEntry* e : w.mEntries)
        EXPECT_EQ(e->mParent, &w);
    EXPECT_EQ(w.FindUidWithPath("b"), 0x22);
    w.EntriesClear();
    EXPECT_TRUE(w.mEntries.empty());
    EXPECT_EQ(v.CountLeafs(), 3u);
    EXPECT_EQ(w.CountLeafs(), 0u);
}
