#include "Platform/ZKFileOps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace {

TGenData Bytes(const std::string& s) { return TGenData(s.begin(), s.end()); }

class ZKFileOpsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string templ = (std::filesystem::temp_directory_path() / "zkfileops-XXXXXX").string();
        ASSERT_NE(mkdtemp(templ.data()), nullptr);
        mDir = templ;
    }
    void TearDown() override
    {
        std::error_code ec;
        std::filesystem::remove_all(mDir, ec);
    }
    // The names in the test directory, sorted.
    std::vector<std::string> Listing() const
    {
        std::vector<std::string> names;
        for (const auto& e : std::filesystem::directory_iterator(mDir))
            names.push_back(e.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    TGenUrl mDir;
};

} // namespace

TEST_F(ZKFileOpsTest, CreatesInspectsCopiesAndRemoves)
{
    const TGenUrl nested = mDir / "a" / "b" / "c";
    EXPECT_FALSE(ZKFileExists(nested));
    EXPECT_TRUE(ZKFileCreateDirectory(nested));
    EXPECT_TRUE(ZKFileCreateDirectory(nested)); // already there
    EXPECT_TRUE(ZKFileIsDirectory(nested));
    ASSERT_TRUE(ZKFileWriteAtomically(nested / "f.txt", Bytes("groove")));
    EXPECT_TRUE(ZKFileExists(nested / "f.txt"));
    EXPECT_FALSE(ZKFileIsDirectory(nested / "f.txt"));

    std::string error;
    EXPECT_FALSE(ZKFileCreateDirectory(nested / "f.txt" / "sub", &error));
    EXPECT_FALSE(error.empty());

    ASSERT_TRUE(ZKFileCopy(mDir / "a", mDir / "copy", &error)) << error;
    EXPECT_EQ(*ZKFileRead(mDir / "copy" / "b" / "c" / "f.txt"), Bytes("groove"));
    EXPECT_FALSE(ZKFileCopy(mDir / "a", mDir / "copy", &error));
    EXPECT_EQ(error, "cannot copy to " + (mDir / "copy").string() + ": the destination exists");
    EXPECT_FALSE(ZKFileCopy(mDir / "none", mDir / "x", &error));
    EXPECT_EQ(error, "cannot copy " + (mDir / "none").string() + ": no such file or directory");

    EXPECT_TRUE(ZKFileRemove(mDir / "copy" / "b" / "c" / "f.txt"));
    EXPECT_TRUE(ZKFileRemove(mDir / "a"));
    EXPECT_FALSE(ZKFileExists(mDir / "a"));
    EXPECT_FALSE(ZKFileRemove(mDir / "a", &error));
    EXPECT_EQ(error, "cannot remove " + (mDir / "a").string() + ": no such file or directory");
    EXPECT_EQ(Listing(), std::vector<std::string> {"copy"});
}

TEST_F(ZKFileOpsTest, ReadsWholeFilesAndReportsWhatIsWrong)
{
    TGenData big(300000);
    for (size_t i = 0; i < big.size(); ++i)
        big[i] = static_cast<uint8_t>(i * 7);
    ASSERT_TRUE(ZKFileWriteAtomically(mDir / "big", big));
    EXPECT_EQ(*ZKFileRead(mDir / "big"), big);
    ASSERT_TRUE(ZKFileWriteAtomically(mDir / "empty", {}));
    EXPECT_EQ(ZKFileRead(mDir / "empty")->size(), 0u);

    std::string error;
    EXPECT_FALSE(ZKFileRead(mDir / "missing", &error));
    EXPECT_EQ(error, "cannot read " + (mDir / "missing").string() + ": No such file or directory");
    EXPECT_FALSE(ZKFileRead(mDir, &error));
    EXPECT_EQ(error, "cannot read " + mDir.string() + ": is a directory");
}

TEST_F(ZKFileOpsTest, AtomicWriteReplacesAndKeepsPermissions)
{
    const TGenUrl file = mDir / "style.style";
    ASSERT_TRUE(ZKFileWriteAtomically(file, Bytes("old")));
    ASSERT_EQ(chmod(file.c_str(), 0640), 0);
    ASSERT_TRUE(ZKFileWriteAtomically(file, Bytes("new content")));
    EXPECT_EQ(*ZKFileRead(file), Bytes("new content"));
    struct stat st {};
    ASSERT_EQ(stat(file.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0640u);
    EXPECT_EQ(Listing(), std::vector<std::string> {"style.style"}); // no temporary left behind
}

TEST_F(ZKFileOpsTest, AtomicWriteFailureLeavesTheOriginal)
{
    std::string error;
    EXPECT_FALSE(ZKFileWriteAtomically(mDir / "nodir" / "f", Bytes("x"), &error));
    EXPECT_EQ(error, "cannot write " + (mDir / "nodir" / "f").string() + ": No such file or directory");

    // A directory in the way: the rename fails after the temporary was written.
    ASSERT_TRUE(ZKFileCreateDirectory(mDir / "taken"));
    ASSERT_TRUE(ZKFileWriteAtomically(mDir / "taken" / "inside", Bytes("keep")));
    EXPECT_FALSE(ZKFileWriteAtomically(mDir / "taken", Bytes("x"), &error));
    EXPECT_EQ(*ZKFileRead(mDir / "taken" / "inside"), Bytes("keep"));
    EXPECT_EQ(Listing(), std::vector<std::string> {"taken"});

    // A write that runs out of room (a file size limit, which binds root too).
    const TGenUrl file = mDir / "lib.glib";
    ASSERT_TRUE(ZKFileWriteAtomically(file, Bytes("original")));
    rlimit old {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = old;
    small.rlim_cur = 16;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = ZKFileWriteAtomically(file, TGenData(4096, 'z'), &error);
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previousHandler);
    EXPECT_FALSE(written);
    EXPECT_EQ(error, "cannot write " + file.string() + ": File too large");
    EXPECT_EQ(*ZKFileRead(file), Bytes("original"));
    EXPECT_EQ(Listing(), (std::vector<std::string> {"lib.glib", "taken"}));

    EXPECT_FALSE(ZKFileWriteAtomically(TGenUrl("/"), Bytes("x"), &error));
    EXPECT_EQ(error, "cannot write /: not a file name");
}

TEST_F(ZKFileOpsTest, ResolvesLinks)
{
    ASSERT_TRUE(ZKFileCreateDirectory(mDir / "real"));
    ASSERT_TRUE(ZKFileWriteAtomically(mDir / "real" / "f", Bytes("x")));
    std::filesystem::create_symlink(mDir / "real", mDir / "link");
    std::filesystem::create_symlink("link/f", mDir / "link2");
    const TGenUrl canonical = std::filesystem::canonical(mDir);
    EXPECT_EQ(*ZKFileResolveLinks(mDir / "link2"), canonical / "real" / "f");
    EXPECT_EQ(*ZKFileResolveLinks(mDir / "link" / ".." / "real" / "." / "f"), canonical / "real" / "f");

    std::filesystem::create_symlink(mDir / "gone", mDir / "dangling");
    std::string error;
    EXPECT_FALSE(ZKFileResolveLinks(mDir / "dangling", &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(ZKFileExists(mDir / "dangling"));
    // Removing a link leaves its target.
    EXPECT_TRUE(ZKFileRemove(mDir / "link"));
    EXPECT_TRUE(ZKFileExists(mDir / "real" / "f"));
}

TEST(ZKFileOpsPaths, ComponentsAndExtensions)
{
    EXPECT_EQ(ZKUrlByAppendingPathComponent("/lib", "Drums.glibb"), TGenUrl("/lib/Drums.glibb"));
    EXPECT_EQ(ZKUrlByAppendingPathComponent("/lib/", "/x/y"), TGenUrl("/lib/x/y"));
    EXPECT_EQ(ZKUrlByAppendingPathComponent("", "x"), TGenUrl("x"));
    EXPECT_EQ(ZKUrlByAppendingPathComponent("/lib", ""), TGenUrl("/lib"));
    EXPECT_EQ(ZKUrlByAppendingPathExtension("/lib/Rock", "style"), TGenUrl("/lib/Rock.style"));
    EXPECT_EQ(ZKUrlByAppendingPathExtension("/lib/Rock/", "glibb"), TGenUrl("/lib/Rock.glibb"));

    const std::vector<std::tuple<std::string, std::string, std::string, std::string, std::string>> cases = {
        // path, extension, without extension, last component, without last component
        {"/lib/Drums.glibb", "glibb", "/lib/Drums", "Drums.glibb", "/lib"},
        {"/lib/Drums.glibb/", "glibb", "/lib/Drums", "Drums.glibb", "/lib"},
        {"a/b.tar.gz", "gz", "a/b.tar", "b.tar.gz", "a"},
        {"a/.profile", "", "a/.profile", ".profile", "a"},
        {"a/b", "", "a/b", "b", "a"},
        {"a/b.", "", "a/b", "b.", "a"},
        {"name.gls", "gls", "name", "name.gls", ""},
        {"/x", "", "/x", "x", "/"},
        {"/", "", "/", "/", "/"},
        {"", "", "", "", ""},
    };
    for (const auto& [path, ext, noExt, last, noLast] : cases) {
        EXPECT_EQ(ZKUrlPathExtension(path), ext) << path;
        EXPECT_EQ(ZKUrlByDeletingPathExtension(path), TGenUrl(noExt)) << path;
        EXPECT_EQ(ZKUrlLastPathComponent(path), last) << path;
        EXPECT_EQ(ZKUrlByDeletingLastPathComponent(path), TGenUrl(noLast)) << path;
    }
}
