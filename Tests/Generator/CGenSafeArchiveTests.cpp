// The archives the library reads through, fed damaged bytes: each damage is
// refused with a reason, and nothing is leaked or shared.
#include "Generator/CGenArchiveIO.h"
#include "Generator/CGenArchivePointers.h"
#include "Generator/CGenEv.h"
#include "Generator/CGenSafeArchive.h"
#include "Generator/clave/CGenClavePattern.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/timesig/CGenSignTime.h"
#include "Platform/ZKLog.h"
#include "TestSupport/ArchiveRoundTrip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/vector.hpp>

#include <sstream>
#include <string>
#include <vector>

using ::testing::HasSubstr;

namespace {

struct TNamed {
    std::string mName;
    std::vector<int> mValues;
    bool mFlag = false;
    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("mName", mName);
        ar& boost::serialization::make_nvp("mValues", mValues);
        ar& boost::serialization::make_nvp("mFlag", mFlag);
    }
};

} // namespace

// A chain of owned links, as deep as the archive says.
struct TLink {
    int mValue = 0;
    TLink* mNext = nullptr;
    TLink() = default;
    TLink(const TLink&) = delete;
    TLink& operator=(const TLink&) = delete;
    ~TLink() { delete mNext; }
    template <class Archive>
    void save(Archive& ar, const unsigned int) const
    {
        ar& boost::serialization::make_nvp("mValue", mValue);
        const TLink* next = mNext;
        ar& boost::serialization::make_nvp("mNext", next);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("mValue", mValue);
        bool created = false;
        mNext = zkgen::LoadArchivePointer<TLink>(ar, "mNext", zkgen::TArchivePointer::Owned, created);
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

namespace {

// A leaf of the instrument tree, a melody block, and a pointer that borrows
// the block: the archive names the block by its number among tracked objects.
struct TBorrower {
    CGenInstTreeLeaf mLeaf;
    CGenEv::CMelodyVariationInformation mBlock;
    CGenEv::CMelodyVariationInformation* mBorrowed = nullptr;
    template <class Archive>
    void save(Archive& ar, const unsigned int) const
    {
        ar& boost::serialization::make_nvp("mLeaf", mLeaf);
        ar& boost::serialization::make_nvp("mBlock", mBlock);
        const CGenEv::CMelodyVariationInformation* p = mBorrowed;
        ar& boost::serialization::make_nvp("mBorrowed", p);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int)
    {
        ar& boost::serialization::make_nvp("mLeaf", mLeaf);
        ar& boost::serialization::make_nvp("mBlock", mBlock);
        bool created = false;
        mBorrowed = zkgen::LoadArchivePointer<CGenEv::CMelodyVariationInformation>(
            ar, "mBorrowed", zkgen::TArchivePointer::MayBorrow, created);
        if (created) {
            delete mBorrowed;
            mBorrowed = nullptr;
        }
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};

template <class T>
std::string ReasonForText(const std::string& text, T& object)
{
    std::string reason;
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    if (zkgen::LoadTextArchiveFromData(object, bytes, &reason))
        return "loaded";
    return reason;
}

template <class T>
std::string BinaryArchive(const T& object)
{
    std::ostringstream os;
    {
        boost::archive::binary_oarchive oa(os);
        oa << object;
    }
    return os.str();
}

template <class T>
std::string ReasonForBinary(const std::string& bytes, T& object)
{
    try {
        zkgen::TSafeBinaryIArchive ia(bytes.data(), bytes.size());
        ia >> object;
        return "loaded";
    } catch (const std::exception& e) {
        return e.what();
    }
}

std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to)
{
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos)
        text.replace(at, from.size(), to);
    return text;
}

} // namespace

ZKG_ARCHIVE_NOTE_CREATED(TLink)


namespace {
TNamed Named()
{
    TNamed n;
    n.mName = "hello";
    n.mValues = {7, 8, 9};
    n.mFlag = true;
    return n;
}

std::string Chain(int links)
{
    TLink head;
    TLink* last = &head;
    for (int i = 1; i < links; ++i) {
        last->mNext = new TLink;
        last = last->mNext;
        last->mValue = i;
    }
    return zkgtest::ToTextArchive(head);
}
} // namespace

TEST(CGenSafeArchive, LengthsCannotExceedTheBytesThatRemain)
{
    // The text form of Named(): class info "0 0", "5 hello", the vector as
    // count 3, item version 0 and its items, then the flag.
    const std::string text = zkgtest::ToTextArchive(Named());
    ASSERT_THAT(text, HasSubstr(" 0 0 5 hello 3 0 7 8 9 1\n"));
    TNamed loaded;
    EXPECT_EQ(ReasonForText(text, loaded), "loaded");
    EXPECT_EQ(loaded.mValues, (std::vector<int> {7, 8, 9}));

    // After "4000000000 " the text "hello 3 0 7 8 9 1\n" is left: 5 + 12 + 1 = 18 bytes.
    TNamed a;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, " 5 hello", " 4000000000 hello"), a),
        "the archive is damaged or of another kind: the archive gives a text of length 4000000000, more than its "
        "remaining 18 bytes can hold");
    // After the count, " 0 7 8 9 1\n" is left: 11 bytes, room for 5 elements of two characters.
    TNamed b;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, " 3 0 7", " 900000000 0 7"), b),
        "the archive is damaged or of another kind: the archive gives a collection of size 900000000, more than its "
        "remaining 11 bytes can hold");
    EXPECT_TRUE(b.mValues.empty());
}

TEST(CGenSafeArchive, BoolsAreZeroOrOne)
{
    const std::string text = zkgtest::ToTextArchive(Named());
    TNamed a;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, " 9 1\n", " 9 2\n"), a),
        "the archive is damaged or of another kind: the archive gives 2 for a value that is true or false");

    // In the binary form the flag is the last byte.
    std::string bytes = BinaryArchive(Named());
    ASSERT_EQ(bytes.back(), '\1');
    TNamed whole;
    EXPECT_EQ(ReasonForBinary(bytes, whole), "loaded");
    EXPECT_TRUE(whole.mFlag);
    bytes.back() = static_cast<char>(191);
    TNamed b;
    EXPECT_EQ(ReasonForBinary(bytes, b), "the archive gives 191 for a value that is true or false");
}

TEST(CGenSafeArchive, NestingIsBounded)
{
    // Each link is one level: 200 links are the deepest archive read.
    TLink deep;
    EXPECT_EQ(ReasonForText(Chain(200), deep), "loaded");
    int count = 0;
    for (const TLink* l = &deep; l; l = l->mNext)
        ++count;
    EXPECT_EQ(count, 200);
    TLink tooDeep;
    EXPECT_EQ(ReasonForText(Chain(201), tooDeep),
        "the archive is damaged or of another kind: the archive nests objects deeper than 200 levels");
    EXPECT_EQ(zkgen::TArchiveCreatedScope::RecordedCount(), 0u);
}

TEST(CGenSafeArchive, PointerClassIdsAreChecked)
{
    // Two links: "1 0" class info, then object 0 with value 0 and a pointer
    // of class id 0 (the link) to object 1 with value 1 and a null pointer (-1).
    const std::string text = Chain(2);
    ASSERT_THAT(text, HasSubstr(" 1 0\n0 0 0\n1 1 -1\n"));
    TLink a;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, "0 0 0\n", "0 0 7\n"), a),
        "the archive is damaged or of another kind: the archive gives class id 7 where 1 classes are known");
    TLink b;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, "0 0 0\n", "0 0 -5\n"), b),
        "the archive is damaged or of another kind: the archive gives class id -5 where 1 classes are known");
    // Id 1 would be a new class, but a link pointer can only hold a link.
    TLink c;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, "0 0 0\n", "0 0 1\n"), c),
        "the archive is damaged or of another kind: the archive gives a new class id 1 for a pointer to the known "
        "class TLink");
}

TEST(CGenSafeArchive, OwnedPointersRefuseCyclesAndBorrowedOnesTheWrongClass)
{
    // The second link's pointer names object 0, the head: a cycle.
    TLink cyclic;
    EXPECT_EQ(ReasonForText(ReplaceOnce(Chain(2), "1 1 -1\n", "1 1 0\n0\n"), cyclic),
        "the archive is damaged or of another kind: the owned pointer mNext refers to an object read before");
    EXPECT_EQ(cyclic.mNext, nullptr);

    // The borrowed pointer ends with class id 4 (the block's) and object 2 (the block).
    TBorrower original;
    original.mBorrowed = &original.mBlock;
    const std::string text = zkgtest::ToTextArchive(original);
    ASSERT_EQ(text.substr(text.size() - 5), " 4 2\n");
    TBorrower good;
    EXPECT_EQ(ReasonForText(text, good), "loaded");
    EXPECT_EQ(good.mBorrowed, &good.mBlock);
    // Object 0 is the leaf: a melody block pointer cannot borrow it.
    TBorrower bad;
    EXPECT_EQ(ReasonForText(text.substr(0, text.size() - 5) + " 4 0\n", bad),
        "the archive is damaged or of another kind: the pointer mBorrowed refers to an object of another class");
}

TEST(CGenSafeArchive, ClassVersionsAndMetreValuesAreChecked)
{
    // CGenSignTime(3, 2): class info "0 2" (untracked, version 2), numerator
    // 3, no parts (count 0, item version 0), denominator 2.
    const std::string text = zkgtest::ToTextArchive(CGenSignTime(3, 2));
    ASSERT_THAT(text, HasSubstr(" 0 2 3 0 0 2\n"));
    CGenSignTime newer;
    ZKLogCapture log;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, " 0 2 3 0 0 2\n", " 0 3 3 0 0 2\n"), newer),
        "the archive is damaged or of another kind: the archive of CGenSignTime has a newer class version");
    EXPECT_EQ(log.Texts(ZKLogCategory_GeneratorStorage),
        std::vector<std::string> {"Archive of CGenSignTime has class version 3; this engine reads up to 2"});

    CGenSignTime a;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, " 0 2 3 0 0 2\n", " 0 2 3 0 0 2000000000\n"), a),
        "the archive is damaged or of another kind: the archive gives a time signature's denominator 2000000000, "
        "outside -1 to 16");
    CGenSignTime b;
    EXPECT_EQ(ReasonForText(ReplaceOnce(text, " 0 2 3 0 0 2\n", " 0 2 5000 0 0 2\n"), b),
        "the archive is damaged or of another kind: the archive gives a time signature's numerator 5000, outside 0 "
        "to 1024");
    // A denominator given through the setter still costs no time: 2^2000000000
    // is infinite, so the bar has no length.
    EXPECT_EQ(CGenSignTime(3, 2000000000).BarLength(), 0.0f);
}

// Loading a clave library compares each clave with 256 one-bar figures on a
// sixteenth grid; a clave of millions of beats stalled the load, so lengths
// beyond 256 beats are damage. 256 itself and an undefined length load.
TEST(CGenSafeArchive, ClaveLengthsAreBounded)
{
    CGenEvsClave evs;
    evs.mLength = 300.0f;
    CGenClavePattern tooLong("long", evs);
    CGenClavePattern readBack;
    EXPECT_EQ(ReasonForText(zkgtest::ToTextArchive(tooLong), readBack),
        "the archive is damaged or of another kind: the archive gives a clave pattern's length 300.000000, outside 0 "
        "to 256.000000");
    for (const float length : {256.0f, TGenBeatLength_Undef}) {
        evs.mLength = length;
        CGenClavePattern fits("fits", evs);
        CGenClavePattern loaded;
        EXPECT_EQ(ReasonForText(zkgtest::ToTextArchive(fits), loaded), "loaded");
        EXPECT_EQ(loaded.mEvs.mLength, length);
    }
}
