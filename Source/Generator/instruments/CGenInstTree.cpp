#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/archive/text_iarchive.hpp>
#include <boost/archive/text_oarchive.hpp>
#include <boost/archive/xml_iarchive.hpp>
#include <boost/archive/xml_oarchive.hpp>

#include "Generator/CGenSafeArchive.h"

#include "Generator/instruments/CGenInstTree.h"

#include "Generator/instruments/CGenDrumMap.h"

BOOST_CLASS_EXPORT_IMPLEMENT(CGenInstTree)

CGenInstTree::CGenInstTree() : CGenInstTree("InstTree", TEntriesAre_Explicit, 0) {}

CGenInstTree::CGenInstTree(const std::string& name, TEntriesAre entriesAre, int instTreeVersion)
    : CGenInstTreeVertex(name, entriesAre, TInstTreeUidEl_Undef), mInstTreeVersion(instTreeVersion)
{
    mIsRootParent = true;
}

CGenInstTree::~CGenInstTree() = default;

void CGenInstTree::_AppendUidForPath(const char* path, TInstTreeUids& uids) const { uids.push_back(FindUidWithPath(path)); }

void CGenInstTree::CreateDrumsKickUids(TInstTreeUids& uids) const
{
    uids.clear();
    _AppendUidForPath("Drums.Ki", uids);
}

void CGenInstTree::CreateDrumsSnareUids(TInstTreeUids& uids) const
{
    uids.clear();
    _AppendUidForPath("Drums.Sn", uids);
}

void CGenInstTree::CreateDrumsTomUids(TInstTreeUids& uids) const
{
    uids.clear();
    _AppendUidForPath("Drums.Tm", uids);
}

void CGenInstTree::CreateDrumsSystemCymbalUids(TInstTreeUids& uids) const
{
    uids.clear();
    _AppendUidForPath("Drums.Hh", uids);
    _AppendUidForPath("Drums.Cr", uids);
    _AppendUidForPath("Drums.Rd", uids);
}

void CGenInstTree::CreateDrumsSystemAllUids(TInstTreeUids& uids) const { CreateDrumsSystemCymbalUids(uids); }

void CGenInstTree::CreateDrumsFootUids(TInstTreeUids& uids) const
{
    uids.clear();
    _AppendUidForPath("Drums.Ki", uids);
    _AppendUidForPath("Drums.Hh.note.foot", uids);
}

void CGenInstTree::TraceStream(std::ostream& os) const
{
    os << "CGenInstTree " << mName << " version " << mInstTreeVersion << " entries " << RecursiveEntriesSize() << " leafs "
       << CountLeafs();
    VisitEntries([&](const CGenInstTreeEntry& e, int depth) {
        os << "\n" << std::string(2 * (depth + 1), ' ') << e.mName << " " << GenInstTreeUidHexString(e.Uid());
    });
}

namespace {

constexpr long long U = TInstTreeUidEl_Undef;
constexpr TEntriesAre E = TEntriesAre_Explicit;
constexpr TEntriesAre C = TEntriesAre_Combinable;

CGenInstTreeLeaf Lf(const char* name, long long el) { return CGenInstTreeLeaf(name, el); }

// A vertex with up to ten children; the undefined entry is left out.
template <class... TChildren>
CGenInstTreeVertex Vx(const char* name, TEntriesAre kind, long long el, const TChildren&... children)
{
    static_assert(sizeof...(TChildren) <= 10, "a vertex of the literal tree has at most ten children");
    CGenInstTreeVertex v(name, kind, el);
    auto add = [&v](const CGenInstTreeEntry& child) {
        if (!child.IsUndef())
            v.EntriesAdd(child);
    };
    (add(children), ...);
    return v;
}

CGenInstTreeVertex Tempi()
{
    return Vx("tempo", C, U, Lf("20", 0x10000), Lf("40", 0x20000), Lf("60", 0x30000), Lf("80", 0x40000),
        Lf("100", 0x50000), Lf("120", 0x60000), Lf("140", 0x70000), Lf("160", 0x80000), Lf("180", 0x90000),
        Lf("200", 0xA0000));
}

CGenInstTreeVertex Drums()
{
    const auto kick = Vx("Ki", E, 0x1000000, Vx("note", C, U, Lf("s1", 0x100000)));

    const auto snare = Vx("Sn", E, 0x2000000,
        Vx("note", C, U,
            Vx("nrm", E, 0x100000, Vx("eccentricity", C, U, Lf("center", 0x10000), Lf("offcenter", 0x20000)),
                Vx("stroke", C, U, Lf("s1", 0x1000), Lf("s3l", 0x2000), Lf("s3r", 0x3000))),
            Vx("rimClick", E, 0x200000, Lf("leaf", U)),
            Vx("rimShot", E, 0x300000, Vx("eccentricity", E, U, Lf("center", 0x10000), Lf("offcenter", 0x20000)))));

    const auto toms = Vx("Tm", E, 0x3000000,
        Vx("pitch", C, U, Lf("1", 0x100000), Lf("2", 0x200000), Lf("3", 0x300000), Lf("4", 0x400000), Lf("5", 0x500000),
            Lf("6", 0x600000)),
        Vx("stroke", C, U, Lf("s1", 0x10000), Lf("s3l", 0x20000), Lf("s3r", 0x30000)));

    const auto staticMove = Vx("static", E, 0x1000,
        Vx("open", C, U, Lf("o1", 0x100), Lf("o2", 0x200), Lf("o3", 0x300), Lf("o4", 0x400), Lf("o5", 0x500),
            Lf("o6", 0x600), Lf("o7", 0x700)),
        Vx("stroke", C, U, Lf("s1", 0x10), Lf("s3l", 0x20), Lf("s3r", 0x30)));
    // "closing fastsus1" and its siblings are single names with a space, and
    // the fast closing offers only the openness steps o5 to o7.
    const auto move = Vx("move", C, U, staticMove, Vx("opening", E, 0x2000, Lf("leaf", U)),
        Vx("closing fastsus1", E, 0x3000, Vx("open", E, U, Lf("o5", 0x500), Lf("o6", 0x600), Lf("o7", 0x700))),
        Vx("closing slowsus1", E, 0x4000, Lf("leaf", U)), Vx("closing slowsus2", E, 0x5000, Lf("leaf", U)));
    const auto hiHat = Vx("Hh", E, 0x4000000,
        Vx("note", C, U,
            Vx("hit", E, 0x100000, Vx("pos", C, U, Lf("tt", 0x10000), Lf("ts", 0x20000), Lf("es", 0x30000)), move),
            Vx("foot", E, 0x200000, Lf("close", 0x10000), Lf("splash", 0x20000), Lf("stop", 0x30000))));

    const auto ride = Vx("Rd", E, 0x5000000,
        Vx("pos", C, U, Lf("edge", 0x100000), Lf("nrm", 0x200000), Lf("inner", 0x300000), Lf("bell", 0x400000)),
        Vx("stroke", C, U, Lf("s1", 0x10000), Lf("s3", 0x20000), Lf("s5", 0x30000)));

    const auto crash = Vx("Cr", E, 0x6000000,
        Vx("pitch", C, U, Lf("1", 0x100000), Lf("2", 0x200000), Lf("3", 0x300000), Lf("4", 0x400000),
            Lf("splash", 0xB00000)),
        Vx("stroke", C, U, Lf("s1", 0x10000), Lf("s3", 0x20000)),
        Vx("length", C, U, Lf("sustain", 0x1000), Lf("stop slow", 0x2000), Lf("stop fast", 0x3000)));

    return Vx("Drums", E, 0x10000000, kick, snare, toms, hiHat, ride, crash, Lf("Sticks", 0xF000000));
}

CGenInstTreeVertex Percussion()
{
    const auto cowbell = Vx("Cowbell", E, 0x1000000,
        Vx("articulation", C, U, Lf("open", 0x100000), Lf("muted", 0x200000), Lf("sidehit", 0x300000)));
    // The shaker's articulation and tempo share a nibble, so an OR of both
    // can't be taken apart.
    const auto shaker = Vx("Shaker", E, 0x2000000,
        Vx("articulation", C, U, Lf("forward", 0x10000), Lf("backward", 0x20000), Lf("accentForward", 0x30000),
            Lf("accentBackward", 0x40000)),
        Tempi());
    const auto tambourine = Vx("Tambourine", E, 0x3000000,
        Vx("articulation", C, U, Lf("left", 0x100000), Lf("right", 0x200000), Lf("hitLeft", 0x300000),
            Lf("hitRight", 0x400000)),
        Tempi());
    const auto claps =
        Vx("Claps", E, 0x4000000, Vx("articulation", C, U, Lf("tight", 0x100000), Lf("sloppy", 0x200000)));
    const auto fingersnaps =
        Vx("Fingersnaps", E, 0x5000000, Vx("articulation", C, U, Lf("tight", 0x100000), Lf("sloppy", 0x200000)));
    const auto handDrums = Vx("HandDrumPercussion", E, 0x6000000,
        Vx("BongoHand", E, 0x200000, Vx("pitch", C, U, Lf("1", 0x10000), Lf("3", 0x30000))));

    return Vx("Percussion", E, 0x20000000, cowbell, shaker, tambourine, claps, fingersnaps, handDrums);
}

} // namespace

void BuildDrumInstTreeV1(CGenInstTree& tree, const CGenDrumMap& /*drumMap*/)
{
    const CGenInstTreeVertex root = Vx("InstTree", E, U, Drums(), Percussion());
    tree.mName = root.mName;
    tree.mValueRange = CGenRange<int>(0, 0);
    tree.mValueForCreate = 0;
    tree.mUidElRange = CGenRange<long long>(U, U);
    tree.mCompareNibbleCount = 1;
    tree.mEntriesCtr = CKCtr_Undef;
    tree.mDefaultCtrValue = -1;
    tree.mEntriesAre = root.mEntriesAre;
    tree.mInstTreeVersion = 0;
    tree.mParent = nullptr;
    tree.mIsRootParent = true;
    tree.mEntries.AssignWithNewParent(root.mEntries, &tree);
}

const CGenInstTree& GenDrumInstTreeV1()
{
    static const CGenInstTree kTree = [] {
        CGenInstTree tree;
        BuildDrumInstTreeV1(tree, CGenDrumMap::GeneralMidi());
        return tree;
    }();
    return kTree;
}
