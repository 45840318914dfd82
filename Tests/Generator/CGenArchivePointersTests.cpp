// Pointer members read from damaged archives: nothing shared, nothing leaked.
#include "Generator/CGenArchivePointers.h"
#include "Generator/CGenEv.h"
#include "Generator/instruments/CGenInstTree.h"
#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

// One block written twice through pointers: the second names the first.
struct TTwoPointers {
    CGenEv::CMelodyVariationInformation* mA = nullptr;
    CGenEv::CMelodyVariationInformation* mB = nullptr;
    zkgen::TArchivePointer mKind = zkgen::TArchivePointer::Owned;
    bool mCreatedA = false;
    bool mCreatedB = false;

    template <class Archive>
    void save(Archive& ar, const unsigned int) const
    {
        const CGenEv::CMelodyVariationInformation* a = mA;
        const CGenEv::CMelodyVariationInformation* b = mB;
        ar& boost::serialization::make_nvp("a", a);
        ar& boost::serialization::make_nvp("b", b);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int)
    {
        mA = zkgen::LoadArchivePointer<CGenEv::CMelodyVariationInformation>(ar, "a", mKind, mCreatedA);
        mB = zkgen::LoadArchivePointer<CGenEv::CMelodyVariationInformation>(ar, "b", mKind, mCreatedB);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

std::string SharedBlockArchive()
{
    CGenEv::CMelodyVariationInformation block;
    block.mPriority = 7;
    TTwoPointers two;
    two.mA = &block;
    two.mB = &block;
    return zkgtest::ToTextArchive(two);
}

} // namespace

TEST(CGenArchivePointers, AnOwnedPointerRefusesAnObjectReadBefore)
{
    const std::string text = SharedBlockArchive();
    // Owned: the second pointer names the first object, and the read fails;
    // the first object was taken by the member, so the struct frees it.
    TTwoPointers owned;
    EXPECT_FALSE(zkgtest::FromTextArchive(text, owned));
    ASSERT_NE(owned.mA, nullptr);
    EXPECT_TRUE(owned.mCreatedA);
    EXPECT_EQ(owned.mA->mPriority, 7);
    EXPECT_EQ(owned.mB, nullptr);
    delete owned.mA;
    EXPECT_EQ(zkgen::TArchiveCreatedScope::RecordedCount(), 0u);

    // MayBorrow: the second pointer shares the first object without owning it.
    TTwoPointers borrowing;
    borrowing.mKind = zkgen::TArchivePointer::MayBorrow;
    EXPECT_TRUE(zkgtest::FromTextArchive(text, borrowing));
    EXPECT_TRUE(borrowing.mCreatedA);
    EXPECT_FALSE(borrowing.mCreatedB);
    EXPECT_EQ(borrowing.mA, borrowing.mB);
    delete borrowing.mA;
}

TEST(CGenArchivePointers, TruncatedArchivesLeaveNothingBehind)
{
    // Every cut of an instrument tree's archive and of an event with a
    // melody block fails cleanly; a leak or a double free shows in the
    // sanitizer run of this test.
    const std::string tree = zkgtest::ToTextArchive(GenDrumInstTreeV1());
    for (size_t cut = tree.size() / 8; cut < tree.size(); cut += tree.size() / 8) {
        CGenInstTree loaded;
        EXPECT_FALSE(zkgtest::FromTextArchive(tree.substr(0, cut), loaded)) << cut;
        EXPECT_EQ(zkgen::TArchiveCreatedScope::RecordedCount(), 0u);
    }
    CGenEv ev(1.0f, 0.5f, CAbstractNote(), 3, 0.5f, 2);
    ASSERT_TRUE(ev.HasMelodyVariationInformation());
    const std::string text = zkgtest::ToTextArchive(ev);
    for (size_t cut = 1; cut < text.size(); cut += 3) {
        CGenEv loaded;
        zkgtest::FromTextArchive(text.substr(0, cut), loaded);
    }
    CGenEv whole;
    ASSERT_TRUE(zkgtest::FromTextArchive(text, whole));
    EXPECT_EQ(whole, ev);
}
