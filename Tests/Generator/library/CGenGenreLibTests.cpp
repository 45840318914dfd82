#include "Generator/library/CGenGenreLibs.h"
#include "Generator/patterns/CGenPatternGraphBoost.h"
#include "Platform/ZKLog.h"
#include "Platform/ZKNotificationCenter.h"
#include "TestSupport/ArchiveRoundTrip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace zkgtest;

namespace {

CGenEvs Evs(std::initializer_list<float> positions, int noteNr = 36)
{
    CGenEvs evs(4.0f);
    for (float p : positions)
        evs.push_back(CGenEv(p, 0.25f, st_NoteOn, noteNr, 100));
    return evs;
}

CGenClavePattern ClavePattern(const std::string& name, std::initializer_list<float> positions)
{
    CGenEvsClave evs(4.0f);
    for (float p : positions)
        evs.push_back(CGenEvClave(p, 100));
    return CGenClavePattern(name, evs);
}

CGenClaveLib FamilyLib()
{
    CGenClaveLib family("Family");
    family.push_back(ClavePattern("son", {0.0f, 1.5f, 3.0f}));
    family.push_back(ClavePattern("rumba", {0.0f, 1.75f, 3.0f}));
    family.push_back(ClavePattern("four", {0.0f, 1.0f, 2.0f, 3.0f}));
    family.mDefaultPatternIxForEmptyBar = 0;
    family.mInterestingPos = CGenEvs(4.0f);
    for (float p = 0.0f; p < 4.0f; p += 0.5f)
        family.mInterestingPos.push_back(CGenEv(p, 0.125f, st_NoteOn, -1, -1));
    family.SetSetInterestingPos8thOnOrOffBeat_and_CreateEvsAsBitsInBarToBestMatchingClaveIxTable();
    return family;
}

// A genre with something in every member: a clave library, patterns and an
// edge with clave links, a second instrument, a groove, an articulation
// pattern and a drum map of its own.
CGenGenreLib RichGenre()
{
    CGenGenreLib genre("Salsa");
    genre.mClaveLibs.push_back(FamilyLib());
    CGenInstLib& drums = genre.mInstLibs.front();
    drums.mStyles.push_back(CGenStyle("Default"));
    CGenPatternGraphBoost& accents = drums.PatternGraph(TPatternGraphType_AccentFamily);
    accents.AddPattern(CGenPattern("a", Evs({0.0f, 2.0f}), CGenPatternCoordInt(20.0f, 40.0f)));
    accents.AddPattern(CGenPattern("b", Evs({0.0f, 1.5f, 3.0f}), CGenPatternCoordInt(60.0f, 10.0f)));
    accents.PatternRefAtIx(0).mClaveLinks = {CGenClaveLink(0, 0, 50), CGenClaveLink(1, 0, 60), CGenClaveLink(2, 1, 70)};
    accents.PatternRefAtIx(1).mClaveLinks = {CGenClaveLink(1, -1, 90)};
    CGenProbHist entry(80.0f, 0);
    entry.mClaveLinks = {CGenClaveLink(2, 0, 40), CGenClaveLink(1, 2, 30)};
    accents.AddEdge(0, 1, CGenPatternEdge(entry));
    drums.PatternGraph(TPatternGraphType_System).AddPattern(CGenPattern("s", Evs({0.5f}, 42)));
    drums.PatternGraph(TPatternGraphType_System).PatternRefAtIx(0).mClaveLinks = {CGenClaveLink(2, 0, 100)};
    genre.mInstLibs.AddInstLib(CGenInstLib(TGenInstType_Percussion));

    CGenGroove groove("Shuffle");
    CGenGrooveTrack track;
    track.mType = CGenGrooveTrack::TType_Snare;
    track.mBeatLength = 2.0f;
    track.push_back(CGenGrooveEl(0.5f, 0.75f, 0.58f, 90));
    track.push_back(CGenGrooveEl(1.5f, 1.75f, 1.6f, 255));
    groove.push_back(track);
    genre.mGrooves.push_back(groove);
    CGenArticPattern artic {CGenArticEl {1, 2}, CGenArticEl {3, 0}};
    artic.mIntnIntRange = CGenRange<float>(10.0f, 60.0f);
    genre.mArticPatterns.push_back(artic);

    CGenDrumMap map;
    map.mName = "Studio";
    map.SetNoteNr(TGenDrumPiece_Kick, 35);
    map.SetStrokeChannel(2, 4);
    genre.SetDrumMap(map);
    return genre;
}

void ExpectSameGenre(const CGenGenreLib& loaded, const CGenGenreLib& source)
{
    EXPECT_EQ(loaded.mGenre, source.mGenre);
    EXPECT_EQ(loaded.mClaveLibs, source.mClaveLibs);
    ASSERT_EQ(loaded.mInstLibs.size(), source.mInstLibs.size());
    for (size_t i = 0; i < source.mInstLibs.size(); ++i) {
        EXPECT_EQ(loaded.mInstLibs[i].mInstType, source.mInstLibs[i].mInstType);
        EXPECT_EQ(loaded.mInstLibs[i].mStyles.size(), source.mInstLibs[i].mStyles.size());
        for (size_t g = 0; g < 5; ++g) {
            EXPECT_TRUE(loaded.mInstLibs[i].mPatternGraphs[g] == source.mInstLibs[i].mPatternGraphs[g]) << i << " " << g;
            EXPECT_EQ(loaded.mInstLibs[i].mPatternGraphs[g].WeakClaveLibs(), &loaded.mClaveLibs);
        }
    }
    EXPECT_EQ(loaded.mGrooves, source.mGrooves);
    EXPECT_EQ(loaded.mArticPatterns, source.mArticPatterns);
    EXPECT_EQ(*loaded.DrumMap(), *source.DrumMap());
    EXPECT_TRUE(loaded.AssertWeakClaveLibs());
}

// The layout of an instrument library of class version 1: no instrument tree.
struct InstLibV1 {
    int mInstType = TGenInstType_Drums;
    std::array<CGenPatternGraphBoost, 5> mGraphs {CGenPatternGraphBoost(TPatternGraphType_AccentFamily),
        CGenPatternGraphBoost(TPatternGraphType_AccentAddon), CGenPatternGraphBoost(TPatternGraphType_System),
        CGenPatternGraphBoost(TPatternGraphType_Fill), CGenPatternGraphBoost(TPatternGraphType_Percussion)};
    std::vector<CGenStyle> mStyles;
    bool mContainsUidEvents = false;
    bool mContainsAbstractNoteEvs = true;

    template <class Archive>
    void serialize(Archive& ar, const unsigned int)
    {
        using boost::serialization::make_nvp;
        ar& make_nvp("mInstType", mInstType);
        ar& make_nvp("mPatternGraphAccentFamily", mGraphs[0]);
        ar& make_nvp("mPatternGraphAccentAddon", mGraphs[1]);
        ar& make_nvp("mPatternGraphSystem", mGraphs[2]);
        ar& make_nvp("mPatternGraphFill", mGraphs[3]);
        ar& make_nvp("mPatternGraphPercussion", mGraphs[4]);
        ar& make_nvp("mStyles", mStyles);
        ar& make_nvp("mContainsUidEvents", mContainsUidEvents);
        ar& make_nvp("mContainsAbstractNoteEvs", mContainsAbstractNoteEvs);
    }
};

// Counts the two notifications of instrument library changes, and the
// number of libraries each one saw.
class InstLibsObserver {
public:
    explicit InstLibsObserver(const CGenInstLibs& libs)
    {
        mToken = ZKNotificationCenter::DefaultCenter().AddObserver("", [this, &libs](const std::string& name, const TGenDict&) {
            if (name == CGenInstLibs::kWillUpdateNotification || name == CGenInstLibs::kDidUpdateNotification)
                mSeen.push_back((name == CGenInstLibs::kWillUpdateNotification ? "Will " : "Did ")
                    + std::to_string(libs.size()));
        });
    }
    ~InstLibsObserver() { ZKNotificationCenter::DefaultCenter().RemoveObserver(mToken); }
    std::vector<std::string> mSeen;

private:
    ZKNotificationToken mToken = 0;
};

} // namespace

BOOST_CLASS_VERSION(InstLibV1, 1)

TEST(CGenGenreLibs, SearchesAndNames)
{
    CGenGenreLibs genres;
    std::string text = "kept";
    EXPECT_TRUE(genres.CheckContentSanity("", text));
    EXPECT_EQ(text, "kept");
    EXPECT_FALSE(genres.FindGenreLibFor("Rock").second);
    EXPECT_EQ(genres.FindGenreLib("Rock"), nullptr);

    genres.push_back(RichGenre());
    CGenGenreLib& def = genres.CreateDefaultGenre();
    EXPECT_EQ(def.mGenre, "DefaultGenre");
    ASSERT_EQ(def.mInstLibs.size(), 1u);
    EXPECT_EQ(def.mInstLibs.front().mInstType, TGenInstType_Drums);
    ASSERT_EQ(def.mInstLibs.front().mStyles.size(), 1u);
    EXPECT_EQ(def.mInstLibs.front().mStyles.front().Name(), "Default");
    EXPECT_EQ(def.mInstLibs.front().PatternGraph(TPatternGraphType_AccentFamily).PatternCount(), 0u);
    EXPECT_TRUE(def.AssertWeakClaveLibs());

    const auto [salsa, found] = genres.FindGenreLibFor("Salsa");
    ASSERT_TRUE(found);
    EXPECT_EQ(salsa, genres.begin());
    EXPECT_FALSE(genres.FindGenreLibFor("salsa").second);
    EXPECT_EQ(genres.FindGenreLib("DefaultGenre"), &genres[1]);
    const auto perc = genres.FindInstLibFor("Salsa", TGenInstType_Percussion);
    EXPECT_TRUE(perc.second);
    EXPECT_EQ(perc.first, &genres[0].mInstLibs[1]);
    EXPECT_EQ(genres.FindInstLibFor("DefaultGenre", TGenInstType_Percussion).first, nullptr);
    EXPECT_FALSE(genres.FindInstLibFor("DefaultGenre", TGenInstType_Percussion).second);
    EXPECT_FALSE(genres.FindInstLibFor("Jazz", TGenInstType_Drums).second);
    EXPECT_EQ(genres.FindInstLib("Salsa", TGenInstType_KeysB), nullptr);

    EXPECT_EQ(genres.GenreNames(), (std::vector<std::string> {"Salsa", "DefaultGenre"}));
    EXPECT_EQ(genres.GenreAndInstNames(),
        (std::vector<std::string> {"Salsa Drums", "Salsa Percussion", "DefaultGenre Drums"}));
    EXPECT_EQ(genres[0].InstNames(), (std::vector<std::string> {"Drums", "Percussion"}));

    // Growing the list moves the genres; each keeps pointing at its own claves.
    for (int i = 0; i < 9; ++i)
        genres.CreateDefaultGenre();
    for (const CGenGenreLib& g : genres)
        EXPECT_TRUE(g.AssertWeakClaveLibs());
}

TEST(CGenGenreLibs, SanityTextNamesWhereTheFaultLies)
{
    CGenGenreLibs genres;
    genres.CreateDefaultGenre();
    std::string text;
    EXPECT_TRUE(genres.CheckContentSanity("", text));
    EXPECT_EQ(text, "");

    // "GenreLib " + ", ix0 " + "DefaultGenre " + "CGenInstLib " + "0 Drums "
    // (type number and name) + "0 " (the accent family layer) + the conversion's line.
    CGenPatternCoordConv bad;
    bad.mMinComplInt = 50.0f;
    bad.mMaxComplInt = 10.0f;
    genres[0].mInstLibs.front().PatternGraph(TPatternGraphType_AccentFamily).SetPatternCoordConv(bad);
    EXPECT_FALSE(genres.CheckContentSanity("", text));
    EXPECT_EQ(text, "GenreLib , ix0 DefaultGenre CGenInstLib 0 Drums 0 CGenPatternCoordConv : MinComplInt() > MaxComplInt()\n");

    // Every fault adds its line; the prefix goes in front.
    text.clear();
    bad.mMinIntnInt = 3.0f;
    bad.mMaxIntnInt = 2.0f;
    genres[0].mInstLibs.front().PatternGraph(TPatternGraphType_Fill).SetPatternCoordConv(bad);
    genres[0].mArticPatterns.push_back(CGenArticPattern {CGenArticEl {4, 0}});
    EXPECT_FALSE(genres.CheckContentSanity("Lib: ", text));
    EXPECT_EQ(text,
        "Lib: GenreLib , ix0 DefaultGenre CGenInstLib 0 Drums 0 CGenPatternCoordConv : MinComplInt() > MaxComplInt()\n"
        "Lib: GenreLib , ix0 DefaultGenre CGenInstLib 0 Drums 3 CGenPatternCoordConv : MinComplInt() > MaxComplInt()\n"
        "Lib: GenreLib , ix0 DefaultGenre CGenInstLib 0 Drums 3 CGenPatternCoordConv : MinIntnInt() > MaxIntnInt()\n"
        "Lib: GenreLib , ix0 DefaultGenre CGenArticPattern 0 element 0: hit and stroke must lie in 0..3\n");

    // A groove fault carries "CGenGroove " and the groove's name.
    CGenGenreLibs other;
    other.push_back(CGenGenreLib("Funk"));
    CGenGroove groove("Late");
    groove.push_back(CGenGrooveTrack());
    groove.back().mType = 21;
    other[0].mGrooves.push_back(groove);
    text.clear();
    EXPECT_FALSE(other.CheckContentSanity("", text));
    EXPECT_EQ(text, "GenreLib , ix0 Funk CGenGroove Late track 0: unknown track type 21\n");
}

TEST(CGenGenreLib, CopiesAndMovesPointAtTheirOwnClaves)
{
    const CGenGenreLib source = RichGenre();
    ASSERT_TRUE(source.AssertWeakClaveLibs());

    CGenGenreLib copy(source);
    ExpectSameGenre(copy, source);
    EXPECT_NE(copy.mInstLibs[1].PatternGraph(TPatternGraphType_Fill).WeakClaveLibs(), &source.mClaveLibs);
    EXPECT_NE(copy.DrumMap(), source.DrumMap());

    CGenGenreLib assigned("Other");
    assigned = source;
    ExpectSameGenre(assigned, source);

    CGenGenreLib moved(std::move(copy));
    ExpectSameGenre(moved, source);
    // The moved-from genre stays consistent and usable.
    EXPECT_TRUE(copy.AssertWeakClaveLibs());
    EXPECT_EQ(*copy.DrumMap(), CGenDrumMap());

    CGenGenreLib moveAssigned;
    moveAssigned = std::move(moved);
    ExpectSameGenre(moveAssigned, source);
    EXPECT_TRUE(moved.AssertWeakClaveLibs());
}

TEST(CGenGenreLib, ArchiveRoundTrips)
{
    const CGenGenreLib source = RichGenre();
    CGenGenreLib text("Empty");
    ASSERT_TRUE(FromTextArchive(ToTextArchive(source), text));
    ExpectSameGenre(text, source);
    EXPECT_EQ(text.mInstLibs.ClaveLibs(), &text.mClaveLibs);
    EXPECT_EQ(text.DrumMap()->NoteNr(TGenDrumPiece_Kick), 35);
    EXPECT_EQ(text.mClaveLibs.FindClaveLibForName("Family")->GridType(), CGenClaveLib::TGridType_8thOnBeat);
    EXPECT_EQ(text.mInstLibs[0].PatternGraph(TPatternGraphType_AccentFamily).EdgeAtIx(0).mProbHists[0].mClaveLinks,
        (CGenClaveLinks {CGenClaveLink(2, 0, 40), CGenClaveLink(1, 2, 30)}));

    const CGenGenreLib binary = BinaryRoundTrip(source);
    ExpectSameGenre(binary, source);

    // A whole list: each genre's graphs point at that genre's claves.
    CGenGenreLibs genres;
    genres.push_back(source);
    genres.CreateDefaultGenre();
    const CGenGenreLibs loaded = TextRoundTrip(genres);
    ASSERT_EQ(loaded.size(), 2u);
    ExpectSameGenre(loaded[0], source);
    EXPECT_TRUE(loaded[1].AssertWeakClaveLibs());

    // Grooves and articulation patterns alone.
    EXPECT_EQ(TextRoundTrip(source.mGrooves), source.mGrooves);
    EXPECT_EQ(BinaryRoundTrip(source.mGrooves), source.mGrooves);
    EXPECT_EQ(XmlRoundTrip(source.mGrooves), source.mGrooves);
    EXPECT_EQ(TextRoundTrip(source.mArticPatterns), source.mArticPatterns);
    EXPECT_EQ(BinaryRoundTrip(source.mArticPatterns), source.mArticPatterns);
    const CGenGroove groove = TextRoundTrip(source.mGrooves.front());
    EXPECT_EQ(groove.mName, "Shuffle");
    ASSERT_EQ(groove.size(), 1u);
    EXPECT_EQ(groove.front().mType, CGenGrooveTrack::TType_Snare);
    EXPECT_EQ(groove.front().mBeatLength, 2.0f);
    EXPECT_EQ(groove.front()[0].mVelocity, 90);
    EXPECT_FLOAT_EQ(groove.front()[0].TimeShift(), 0.08f);
}

TEST(CGenInstLib, InstrumentTreeInArchives)
{
    // A drum library starts with the built-in drum tree; other instruments have none.
    const CGenInstLib drums(TGenInstType_Drums);
    ASSERT_NE(drums.InstTree(), nullptr);
    EXPECT_EQ(drums.InstTree(), CGenInstLib::DefaultInstTreeForInstType(TGenInstType_Percussion).get());
    EXPECT_EQ(CGenInstLib(TGenInstType_Bass).InstTree(), nullptr);

    // The tree travels with the library; a library without one stays without.
    const CGenInstLib withTree = TextRoundTrip(drums);
    ASSERT_NE(withTree.InstTree(), nullptr);
    EXPECT_TRUE(*withTree.InstTree() == *drums.InstTree());
    CGenInstLib noTree(TGenInstType_Drums);
    noTree.SetInstTree(nullptr);
    EXPECT_EQ(TextRoundTrip(noTree).InstTree(), nullptr);
    EXPECT_EQ(BinaryRoundTrip(noTree).InstTree(), nullptr);

    // Class version 1 stored no tree: drums get the built-in one, bass none.
    InstLibV1 v1;
    v1.mGraphs[2].AddPattern(CGenPattern("s", Evs({0.5f})));
    v1.mStyles.push_back(CGenStyle("Old"));
    CGenInstLib loaded(TGenInstType_Bass);
    ASSERT_TRUE(FromTextArchive(ToTextArchive(v1), loaded));
    EXPECT_EQ(loaded.mInstType, TGenInstType_Drums);
    EXPECT_EQ(loaded.InstTree(), CGenInstLib::DefaultInstTreeForInstType(TGenInstType_Drums).get());
    EXPECT_EQ(loaded.PatternGraph(TPatternGraphType_System).PatternCount(), 1u);
    ASSERT_EQ(loaded.mStyles.size(), 1u);
    EXPECT_EQ(loaded.mStyles.front().Name(), "Old");
    EXPECT_FALSE(loaded.mContainsUidEvents);
    EXPECT_TRUE(loaded.mContainsAbstractNoteEvs);
    v1.mInstType = TGenInstType_Bass;
    CGenInstLib bass(TGenInstType_Drums);
    ASSERT_TRUE(FromTextArchive(ToTextArchive(v1), bass));
    EXPECT_EQ(bass.mInstType, TGenInstType_Bass);
    EXPECT_EQ(bass.InstTree(), nullptr);
}

TEST(CGenInstLibs, ChangesAreBracketedByNotifications)
{
    CGenGenreLib genre;
    CGenInstLibs& libs = genre.mInstLibs;
    InstLibsObserver observer(libs);

    libs.AddInstLib(CGenInstLib(TGenInstType_Bass));
    EXPECT_EQ(observer.mSeen, (std::vector<std::string> {"Will 1", "Did 2"}));
    EXPECT_TRUE(genre.AssertWeakClaveLibs());

    observer.mSeen.clear();
    libs.EraseInstLib(libs.begin());
    EXPECT_EQ(observer.mSeen, (std::vector<std::string> {"Will 2", "Did 1"}));
    EXPECT_EQ(libs.front().mInstType, TGenInstType_Bass);

    observer.mSeen.clear();
    libs.EraseAll();
    EXPECT_EQ(observer.mSeen, (std::vector<std::string> {"Will 1", "Did 0"}));

    observer.mSeen.clear();
    libs.EraseAllAndCreateDummy();
    EXPECT_EQ(observer.mSeen, (std::vector<std::string> {"Will 0", "Did 1"}));
    ASSERT_EQ(libs.size(), 1u);
    EXPECT_EQ(libs.front().mInstType, TGenInstType_Undef);
    EXPECT_EQ(libs.front().InstName(), "Undefined");
    for (const CGenPatternGraphBoost& g : libs.front().mPatternGraphs) {
        ASSERT_EQ(g.VaryIntns().size(), 1u);
        EXPECT_EQ(g.VaryIntns().front().mName, "Dummy");
        EXPECT_EQ(g.WeakClaveLibs(), &genre.mClaveLibs);
    }

    // A genre's dummy content goes through the same path.
    observer.mSeen.clear();
    genre.CreateDummy();
    EXPECT_EQ(observer.mSeen.size(), 2u);
    EXPECT_EQ(genre.mGrooves.size(), 1u);
    EXPECT_EQ(genre.mArticPatterns.size(), 1u);
}

TEST(CGenGenreLib, RemovingAClavePatternKeepsLinkIndicesRight)
{
    CGenGenreLib genre = RichGenre();
    genre.RemoveClavePattern(1);
    const CGenClaveLib& family = *genre.mClaveLibs.FindClaveLibForName("Family");
    ASSERT_EQ(family.size(), 2u);
    EXPECT_EQ(family[1].mName, "four");
    // The default clave library of the genre is left alone.
    EXPECT_TRUE(genre.mClaveLibs.front().empty());

    const CGenInstLib& drums = genre.mInstLibs.front();
    const CGenPatternGraphBoost& accents = drums.PatternGraph(TPatternGraphType_AccentFamily);
    // (0,0,50) stays, (1,0,60) goes, (2,1,70) becomes (1,1,70).
    EXPECT_EQ(accents.PatternAtIx(0).mClaveLinks, (CGenClaveLinks {CGenClaveLink(0, 0, 50), CGenClaveLink(1, 1, 70)}));
    EXPECT_TRUE(accents.PatternAtIx(1).mClaveLinks.empty());
    EXPECT_EQ(drums.PatternGraph(TPatternGraphType_System).PatternAtIx(0).mClaveLinks,
        (CGenClaveLinks {CGenClaveLink(1, 0, 100)}));
    // The links of the edge's entries follow the same rule.
    EXPECT_EQ(accents.EdgeAtIx(0).mProbHists[0].mClaveLinks, (CGenClaveLinks {CGenClaveLink(1, 0, 40)}));

    // Out of range, or without a "Family" library: nothing changes.
    genre.RemoveClavePattern(2);
    genre.RemoveClavePattern(-1);
    EXPECT_EQ(genre.mClaveLibs.FindClaveLibForName("Family")->size(), 2u);
    CGenGenreLib plain = RichGenre();
    plain.mClaveLibs.pop_back();
    plain.RemoveClavePattern(0);
    EXPECT_EQ(plain.mInstLibs.front().PatternGraph(TPatternGraphType_AccentFamily).PatternAtIx(0).mClaveLinks.size(), 3u);

    genre.EraseAllClavePatternsAndAllClaveLinks();
    EXPECT_TRUE(genre.mClaveLibs.FindClaveLibForName("Family")->empty());
    EXPECT_TRUE(accents.PatternAtIx(0).mClaveLinks.empty());
    EXPECT_TRUE(accents.EdgeAtIx(0).mProbHists[0].mClaveLinks.empty());
}

TEST(CGenPatternGraphBoost, TruncatedArchiveForgetsTheClaveLibrariesItMade)
{
    CGenClaveLibs libs(FamilyLib());
    libs.push_back(FamilyLib());
    libs.back().mName = "AddOn";
    CGenPatternGraphBoost graph(TPatternGraphType_System);
    graph.AddPattern(CGenPattern("a", Evs({0.0f})));
    graph.SetWeakClaveLibs(&libs);
    const std::string text = ToTextArchive(graph);

    // Alone, the graph's archive holds the libraries; reading it makes a copy
    // that the graph owns.
    CGenPatternGraphBoost whole;
    ASSERT_TRUE(FromTextArchive(text, whole));
    ASSERT_NE(whole.WeakClaveLibs(), nullptr);
    EXPECT_NE(whole.WeakClaveLibs(), &libs);
    EXPECT_EQ(*whole.WeakClaveLibs(), libs);
    EXPECT_EQ(zkgen::TArchiveCreatedScope::RecordedCount(), 0u);

    // Cut anywhere, most of it inside the libraries: the load fails, and no
    // address of what the archive made is left behind.
    const size_t libsFrom = text.find("Family");
    const size_t libsTo = text.rfind("AddOn");
    ASSERT_NE(libsTo, std::string::npos);
    int cutsInLibs = 0;
    for (int eighth = 1; eighth < 8; ++eighth) {
        const size_t at = text.size() * eighth / 8;
        cutsInLibs += at > libsFrom && at < libsTo;
        CGenPatternGraphBoost cut;
        EXPECT_FALSE(FromTextArchive(text.substr(0, at), cut)) << eighth;
        EXPECT_EQ(zkgen::TArchiveCreatedScope::RecordedCount(), 0u) << eighth;
        // The graph stays usable.
        cut = graph;
        EXPECT_EQ(cut.PatternCount(), 1u);
    }
    EXPECT_GE(cutsInLibs, 3);
}

TEST(CGenGenreLib, AnArchiveOfANewerClassVersionIsRefusedByName)
{
    // Boost would read a newer archive as if it were the current one; the
    // genre refuses it and says which class it was.
    const std::string text = ToTextArchive(RichGenre());
    // The header is "<n> serialization::archive <boost version> 0 5 ".
    std::string newer = text;
    const size_t at = newer.find("serialization::archive ");
    ASSERT_NE(at, std::string::npos);
    const size_t versionAt = newer.find(' ', at + 23) + 3;
    ASSERT_EQ(newer.compare(versionAt - 3, 5, " 0 5 "), 0);
    newer[versionAt] = '6';
    ASSERT_NE(newer, text);
    ZKLogCapture log;
    CGenGenreLib loaded;
    EXPECT_FALSE(FromTextArchive(newer, loaded));
    const auto lines = log.Texts(ZKLogCategory_GeneratorStorage);
    EXPECT_NE(std::find(lines.begin(), lines.end(), "Archive of CGenGenreLib has class version 6; this engine reads up to 5"),
        lines.end());
    // The current version still reads.
    CGenGenreLib same;
    EXPECT_TRUE(FromTextArchive(text, same));
}
