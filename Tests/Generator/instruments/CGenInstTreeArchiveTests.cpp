#include "Generator/instruments/CGenDrumMap.h"
#include "Generator/instruments/CGenInstTree.h"

#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <boost/serialization/base_object.hpp>

namespace {

void ExpectSameTree(const CGenInstTree& loaded, const CGenInstTree& source)
{
    EXPECT_TRUE(loaded == source);
    EXPECT_EQ(loaded.mName, source.mName);
    EXPECT_EQ(loaded.mInstTreeVersion, source.mInstTreeVersion);
    EXPECT_TRUE(loaded.mIsRootParent);
    EXPECT_EQ(loaded.mParent, nullptr);
    EXPECT_EQ(loaded.RecursiveEntriesSize(), source.RecursiveEntriesSize());
    loaded.VisitEntries([&](const CGenInstTreeEntry& e, int /*depth*/) {
        ASSERT_NE(e.mParent, nullptr);
        EXPECT_TRUE(loaded.ContainsEntryOrAncestor(&e));
        const CGenInstTreeEntry* twin = source.FindEntryWithSinglePath(e.Path());
        ASSERT_NE(twin, nullptr) << e.Path();
        EXPECT_EQ(e.Type(), twin->Type()) << e.Path();
        EXPECT_EQ(e.Uid(), twin->Uid()) << e.Path();
        EXPECT_EQ(e.EntriesAre(), twin->EntriesAre()) << e.Path();
    });
    EXPECT_EQ(loaded.FindUidWithPath("Drums.Hh.note.hit.move.static.open.o4"), 0x14101400);
}

// A tree and a collection of its entries in one archive: the collection's
// pointers resolve into the loaded tree.
struct TTreeAndSelection {
    CGenInstTree mTree;
    CGenInstTreeEntryCollection mSelection;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("mTree", mTree);
        ar& boost::serialization::make_nvp("mSelection", mSelection);
    }
};

// Writers of older class versions, field for field.
struct TOldEntryV0 {
    std::string mName;
    CGenRange<int> mValueRange;
    int mValueForCreate = 0;
    CGenRange<long long> mUidElRange;
    bool mIsRootParent = false;
    TOldEntryV0* mParent = nullptr;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mValueRange", mValueRange);
        ar& make_nvp("mValueForCreate", mValueForCreate);
        ar& make_nvp("mUidElRange", mUidElRange);
        ar& make_nvp("mIsRootParent", mIsRootParent);
        ar& make_nvp("mParent", mParent);
    }
};

struct TOldEntryV1 {
    std::string mName;
    CGenRange<long long> mUidElRange;
    bool mIsRootParent = false;
    TOldEntryV1* mParent = nullptr;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mUidElRange", mUidElRange);
        ar& make_nvp("mIsRootParent", mIsRootParent);
        ar& make_nvp("mParent", mParent);
    }
};

struct TOldLeafV1 : TOldEntryV1 {
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("CGenInstTreeEntry", boost::serialization::base_object<TOldEntryV1>(*this));
    }
};

struct TOldVertexV0 : TOldEntryV0 {
    CKCtr mEntriesCtr;
    int mDefaultCtrValue = -1;
    CGenInstTreeEntries mEntries;
    TEntriesAre mEntriesAre = TEntriesAre_Explicit;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("CGenInstTreeEntry", boost::serialization::base_object<TOldEntryV0>(*this));
        ar& make_nvp("mEntriesCtr", mEntriesCtr);
        ar& make_nvp("mDefaultCtrValue", mDefaultCtrValue);
        ar& make_nvp("mEntries", mEntries);
        ar& make_nvp("mEntriesAre", mEntriesAre);
    }
};

struct TOldTreeV0 : TOldVertexV0 {
    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        ar& boost::serialization::make_nvp("CGenInstTreeVertex", boost::serialization::base_object<TOldVertexV0>(*this));
    }
};

// A drum map of a sound set with fewer kit pieces than this version knows.
struct TShortDrumMap {
    std::string mName = "Short";
    std::vector<int> mNoteNrs { 35, 40 };
    std::array<uint8_t, 3> mStrokeChannels { 9, 10, 11 };

    template <class Archive>
    void serialize(Archive& ar, const unsigned int /*version*/)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mName", mName);
        ar& make_nvp("mNoteNrs", mNoteNrs);
        ar& make_nvp("mStrokeChannels", mStrokeChannels);
    }
};

} // namespace

BOOST_CLASS_VERSION(TOldEntryV0, 0)
BOOST_CLASS_VERSION(TOldEntryV1, 1)
BOOST_CLASS_VERSION(TOldLeafV1, 0)
BOOST_CLASS_VERSION(TOldVertexV0, 0)
BOOST_CLASS_VERSION(TOldTreeV0, 0)

TEST(CGenInstTreeArchive, RoundTripsThroughTextBinaryAndXml)
{
    const CGenInstTree& source = GenDrumInstTreeV1();
    ExpectSameTree(zkgtest::TextRoundTrip(source), source);
    ExpectSameTree(zkgtest::BinaryRoundTrip(source), source);
    ExpectSameTree(zkgtest::XmlRoundTrip(source), source);

    const std::string xml = zkgtest::ToXmlArchive(source);
    EXPECT_NE(xml.find("<ptrCtr>2</ptrCtr>"), std::string::npos);
    EXPECT_NE(xml.find("class_name=\"CGenInstTreeLeaf\""), std::string::npos);
    EXPECT_NE(xml.find("<mInstTreeVersion>0</mInstTreeVersion>"), std::string::npos);
}

TEST(CGenInstTreeArchive, SettingsBeyondTheLiteralTreeSurvive)
{
    CGenInstTree tree("Custom", TEntriesAre_Combinable, 4);
    CGenInstTreeVertex family("Fam", TEntriesAre_Explicit, CGenRange<long long>(0x100, 0x300, true, false));
    family.mCompareNibbleCount = 2;
    family.EntriesAdd(CGenInstTreeLeaf("RangeNumber(1-9)", 0x10));
    tree.EntriesAdd(family);
    tree.EntriesAdd(CGenInstTreeEntry("plain", 0x5000));

    for (const CGenInstTree& loaded : { zkgtest::TextRoundTrip(tree), zkgtest::BinaryRoundTrip(tree), zkgtest::XmlRoundTrip(tree) }) {
        EXPECT_TRUE(loaded == tree);
        EXPECT_EQ(loaded.mInstTreeVersion, 4);
        EXPECT_EQ(loaded.mEntriesAre, TEntriesAre_Combinable);
        const CGenInstTreeEntry* fam = loaded.FindEntryWithName("Fam");
        ASSERT_NE(fam, nullptr);
        EXPECT_EQ(fam->mCompareNibbleCount, 2u);
        EXPECT_FALSE(fam->mUidElRange.mMaxEnabled);
        EXPECT_EQ(fam->mUidElRange.mMax, 0x300);
        EXPECT_EQ(loaded.FindUidWithPath("Fam.7"), 0x110);
        EXPECT_EQ(loaded.FindEntryWithName("plain")->Type(), TInstTreeEntryType_Entry);
    }
}

TEST(CGenInstTreeArchive, CollectionsPointIntoTheirTree)
{
    TTreeAndSelection source;
    source.mTree = GenDrumInstTreeV1();
    source.mSelection = source.mTree.FindEntryCollectionWithPath("Drums[Hh.note.foot;Ki]");
    source.mSelection.push_back(&source.mTree);

    auto check = [](const TTreeAndSelection& loaded) {
        ASSERT_EQ(loaded.mSelection.size(), 3u);
        EXPECT_EQ(loaded.mSelection[0], loaded.mTree.FindEntryWithSinglePath("Drums.Hh.note.foot"));
        EXPECT_EQ(loaded.mSelection[1], loaded.mTree.FindEntryWithSinglePath("Drums.Ki"));
        EXPECT_EQ(loaded.mSelection[2], &loaded.mTree);
        EXPECT_EQ(loaded.mSelection[0]->Uid(), 0x14200000);
    };
    // The loaded objects are used where they were read: a copy would move the tree away from the pointers.
    check(zkgtest::TextRoundTrip(source));
    check(zkgtest::BinaryRoundTrip(source));
    check(zkgtest::XmlRoundTrip(source));
    EXPECT_NE(zkgtest::ToXmlArchive(source).find("<TCGenInstTreeEntryCollection"), std::string::npos);
}

TEST(CGenInstTreeArchive, ReadsOlderClassVersions)
{
    // Version 1 of an entry has no nibble count: it is 1.
    TOldLeafV1 oldLeaf;
    oldLeaf.mName = "o9";
    oldLeaf.mUidElRange = CGenRange<long long>(0x900, 0x900);
    CGenInstTreeLeaf leaf;
    leaf.mCompareNibbleCount = 5;
    ASSERT_TRUE(zkgtest::FromTextArchive(zkgtest::ToTextArchive(oldLeaf), leaf));
    EXPECT_EQ(leaf.mName, "o9");
    EXPECT_EQ(leaf.Uid(), 0x900);
    EXPECT_EQ(leaf.mCompareNibbleCount, 1u);
    EXPECT_EQ(leaf.mParent, nullptr);

    // Version 0 carried a value range, a create value and, on vertices, a
    // controller; a tree had no version of its own.
    TOldTreeV0 oldTree;
    oldTree.mName = "OldTree";
    oldTree.mValueRange = CGenRange<int>(2, 9);
    oldTree.mValueForCreate = 7;
    oldTree.mUidElRange = CGenRange<long long>(TInstTreeUidEl_Undef, TInstTreeUidEl_Undef);
    oldTree.mIsRootParent = true;
    oldTree.mEntriesCtr = CKCtr_Modulation;
    oldTree.mDefaultCtrValue = 64;
    oldTree.mEntriesAre = TEntriesAre_Combinable;
    CGenInstTree tree("x", TEntriesAre_Explicit, 9);
    ASSERT_TRUE(zkgtest::FromTextArchive(zkgtest::ToTextArchive(oldTree), tree));
    EXPECT_EQ(tree.mName, "OldTree");
    EXPECT_EQ(tree.mInstTreeVersion, 0);
    EXPECT_EQ(tree.mValueRange, CGenRange<int>(2, 9));
    EXPECT_EQ(tree.mValueForCreate, 7);
    EXPECT_EQ(tree.mEntriesCtr, CKCtr_Modulation);
    EXPECT_EQ(tree.mDefaultCtrValue, 64);
    EXPECT_EQ(tree.mEntriesAre, TEntriesAre_Combinable);
    EXPECT_EQ(tree.mCompareNibbleCount, 1u);
    EXPECT_TRUE(tree.mIsRootParent);
    EXPECT_EQ(tree.Uid(), TInstTreeUid_Undef);
    EXPECT_TRUE(tree.mEntries.empty());
}

TEST(CGenInstTreeArchive, BadInputLeavesAFalseResult)
{
    CGenInstTree tree;
    EXPECT_FALSE(zkgtest::FromTextArchive("22 serialization::archive 18 0 0 1 garbage", tree));
    EXPECT_FALSE(zkgtest::FromTextArchive("", tree));
    std::string text = zkgtest::ToTextArchive(GenDrumInstTreeV1());
    text.resize(text.size() / 2);
    EXPECT_FALSE(zkgtest::FromTextArchive(text, tree));
}

TEST(CGenDrumMap, GeneralMidiDefaults)
{
    const CGenDrumMap& gm = CGenDrumMap::GeneralMidi();
    EXPECT_EQ(gm.mName, "General MIDI");
    EXPECT_EQ(gm.mNoteNrs.size(), static_cast<std::size_t>(TGenDrumPiece_Count));
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_Kick), 36);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_SnareCenter), 38);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_SnareRimClick), 37);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_HiHatClosed), 42);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_HiHatPedal), 44);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_HiHatOpen), 46);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_CrashPitch1), 49);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_RideBow), 51);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_RideBell), 53);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_Tambourine), 54);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_Cowbell), 56);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_ShakerForward), 70);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_ShakerBackward), 82);
    const int toms[] = { 50, 48, 47, 45, 43, 41 };
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(gm.NoteNr(static_cast<TGenDrumPiece>(TGenDrumPiece_TomPitch1 + i)), toms[i]);
    EXPECT_EQ(gm.NoteNr(TGenDrumPiece_Count), -1);
    for (int stroke = 1; stroke <= 3; ++stroke)
        EXPECT_EQ(gm.StrokeChannel(stroke), 9);
    EXPECT_EQ(gm.StrokeChannel(0), 255);
    EXPECT_EQ(gm.StrokeChannel(4), 255);
    EXPECT_EQ(gm.PieceForNoteNr(46), TGenDrumPiece_HiHatOpen);
    EXPECT_EQ(gm.PieceForNoteNr(99), TGenDrumPiece_Count);
    EXPECT_STREQ(TGenDrumPieceName(TGenDrumPiece_BongoPitch3), "BongoPitch3");
    EXPECT_STREQ(TGenDrumPieceName(TGenDrumPiece_Count), "?");
}

TEST(CGenDrumMap, ArchivesAndCompletesShortLists)
{
    CGenDrumMap map;
    map.mName = "Studio";
    map.SetNoteNr(TGenDrumPiece_Kick, 35);
    map.SetStrokeChannel(2, 3);
    map.SetStrokeChannel(7, 4);
    EXPECT_EQ(zkgtest::TextRoundTrip(map), map);
    EXPECT_EQ(zkgtest::BinaryRoundTrip(map), map);
    EXPECT_EQ(zkgtest::XmlRoundTrip(map), map);
    EXPECT_EQ(zkgtest::XmlRoundTrip(map).StrokeChannel(2), 3);
    EXPECT_FALSE(map == CGenDrumMap::GeneralMidi());

    CGenDrumMap loaded;
    ASSERT_TRUE(zkgtest::FromTextArchive(zkgtest::ToTextArchive(TShortDrumMap()), loaded));
    EXPECT_EQ(loaded.mName, "Short");
    ASSERT_EQ(loaded.mNoteNrs.size(), static_cast<std::size_t>(TGenDrumPiece_Count));
    EXPECT_EQ(loaded.NoteNr(TGenDrumPiece_Kick), 35);
    EXPECT_EQ(loaded.NoteNr(TGenDrumPiece_SnareCenter), 40);
    EXPECT_EQ(loaded.NoteNr(TGenDrumPiece_SnareOffcenter), 38);
    EXPECT_EQ(loaded.NoteNr(TGenDrumPiece_BongoPitch3), 61);
    EXPECT_EQ(loaded.StrokeChannel(3), 11);
}
