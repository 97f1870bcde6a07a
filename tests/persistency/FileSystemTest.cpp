#include "persistency/FileSystem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "basis/CmdOptions.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::CmdOptions;
using Tavlin::Persistency::FileSystem;
using TestSupport::LogCapture;
using TestSupport::PathExists;
using TestSupport::TempDir;
using TestSupport::WriteTextFile;

namespace
{

// The option `override` as an ini file or command line would leave it.
void SetOverride(const char* value)
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.AddOption(0, "override", "bool", value);
}

// A temporary tree with the directories a and b.
struct TwoEntries
{
    TwoEntries()
    {
        std::system(("mkdir -p '" + dir.File("a") + "' '" + dir.File("b") + "'").c_str());
        path = dir.File("a") + ";" + dir.File("b");
    }
    TempDir dir;
    std::string path;
};

} // namespace

TEST(FileSystemRead, TriesEntriesInOrderAndReportsWhatIsMissing)
{
    SetOverride("0");
    TwoEntries tree;
    FileSystem fs(tree.path, "");
    ASSERT_EQ(fs.GetPaths().size(), 2u);
    WriteTextFile(tree.dir.File("b/x.txt"), "b");
    EXPECT_EQ(fs.GetFilePath("", "x.txt", false, false), tree.dir.File("b/x.txt"));
    WriteTextFile(tree.dir.File("a/x.txt"), "a");
    EXPECT_EQ(fs.GetFilePath("", "x.txt", false, false), tree.dir.File("a/x.txt"));
    // dir and file are joined first.
    std::system(("mkdir -p '" + tree.dir.File("b/sub") + "'").c_str());
    WriteTextFile(tree.dir.File("b/sub/y.txt"), "y");
    EXPECT_EQ(fs.GetFilePath("sub", "y.txt", false, false), tree.dir.File("b/sub/y.txt"));

    {
        LogCapture log("Tavlin.Persistency.FileSystem", log4cpp::Priority::INFO);
        EXPECT_EQ(fs.GetFilePath("", "none.txt", false, true), "");
        EXPECT_EQ(log.Text(), "");
        EXPECT_EQ(fs.GetFilePath("", "none.txt", false, false), "");
        EXPECT_EQ(log.Text(), "Unable to find none.txt in path \n    " + tree.dir.File("a") + "\n    " +
                                  tree.dir.File("b") + "\n");
    }
    {
        LogCapture log("Tavlin.Util.IOBufferFile");
        FileSystem direct("", "");
        EXPECT_EQ(direct.GetFilePath("", "", false, true), "");
        EXPECT_EQ(log.Text(), "Cannot open file; path is empty\n");
    }

    // The empty search path: names mean what they say; absolute ones stay absolute.
    FileSystem direct("", "");
    ASSERT_EQ(direct.GetPaths().size(), 1u);
    EXPECT_EQ(direct.GetFilePath("", tree.dir.File("a/x.txt"), false, false), tree.dir.File("a/x.txt"));
    EXPECT_EQ(direct.GetFilePath("", tree.dir.File("a/x.txt"), true, true), tree.dir.File("a/x.txt"));
}

TEST(FileSystemWrite, GoesToTheFirstEntryAndHonoursOverride)
{
    SetOverride("0");
    TwoEntries tree;
    FileSystem fs(tree.path, "");
    EXPECT_FALSE(fs.GetOverride());
    EXPECT_EQ(fs.GetFilePath("", "new.bin", true, false), tree.dir.File("a/new.bin"));
    // A name that already starts with the first entry is not prefixed again for
    // writing; for reading it is.
    EXPECT_EQ(fs.GetFilePath("", tree.dir.File("a/new.bin"), true, false), tree.dir.File("a/new.bin"));
    EXPECT_EQ(fs.GetFilePath("", tree.dir.File("a/new.bin"), false, true), "");
    WriteTextFile(tree.dir.File("b/only-b.bin"), "b");
    EXPECT_EQ(fs.GetFilePath("", "only-b.bin", true, false), tree.dir.File("a/only-b.bin"));
    EXPECT_FALSE(PathExists(tree.dir.File("a/new.bin")));

    WriteTextFile(tree.dir.File("a/old.bin"), "old");
    {
        LogCapture log("Tavlin.Persistency.FileSystem", log4cpp::Priority::ERROR);
        EXPECT_EQ(fs.GetFilePath("", "old.bin", true, false), "");
        EXPECT_EQ(log.Text(), tree.dir.File("a/old.bin") + " already exists, will not override!\n");
    }
    {
        LogCapture log("Tavlin.Persistency.FileSystem", log4cpp::Priority::INFO);
        EXPECT_EQ(fs.GetFilePath("", "old.bin", true, true), tree.dir.File("a/old.bin"));
        EXPECT_EQ(log.Text(), "");
    }

    SetOverride("1");
    FileSystem overriding(tree.path, "");
    EXPECT_TRUE(overriding.GetOverride());
    EXPECT_EQ(overriding.GetFilePath("", "old.bin", true, false), tree.dir.File("a/old.bin"));

    {
        LogCapture log("Tavlin.Persistency.FileSystem", log4cpp::Priority::ERROR);
        EXPECT_EQ(overriding.GetWritableFileLocal({}, "x", false), "");
        EXPECT_EQ(log.Text(), "GetWritableFile: no search path\n");
    }
    CmdOptions::GetInstance().Reset();
}

TEST(FileSystemPath, ExpandsEnvironmentVariables)
{
    const char* home = std::getenv("HOME");
    ASSERT_NE(home, nullptr);
    EXPECT_EQ(FileSystem::ExpandPathEntry("${HOME}/x"), std::string(home) + "/x");
    ::unsetenv("LUMISK_NOSUCH");
    EXPECT_EQ(FileSystem::ExpandPathEntry("${LUMISK_NOSUCH}/x"), "LUMISK_NOSUCH/x");
    ::setenv("LUMISK_A", "one", 1);
    ::setenv("LUMISK_SELF", "${LUMISK_SELF}", 1);
    EXPECT_EQ(FileSystem::ExpandPathEntry("p/${LUMISK_A}/${LUMISK_A}${LUMISK_NOSUCH}"), "p/one/oneLUMISK_NOSUCH");
    EXPECT_EQ(FileSystem::ExpandPathEntry("p/${LUMISK_A"), "p/one");
    EXPECT_EQ(FileSystem::ExpandPathEntry("${LUMISK_SELF}"), "${LUMISK_SELF}");
    EXPECT_EQ(FileSystem::ExpandPathEntry("plain"), "plain");

    // Resolution uses the expanded entry.
    SetOverride("0");
    TempDir dir;
    ::setenv("LUMISK_TESTROOT", dir.Path().c_str(), 1);
    WriteTextFile(dir.File("r.txt"), "r");
    FileSystem fs("${LUMISK_TESTROOT}", "");
    EXPECT_EQ(fs.GetFilePath("", "r.txt", false, false), dir.File("r.txt"));
    EXPECT_EQ(fs.GetFilePath("", "w.txt", true, false), dir.File("w.txt"));
    CmdOptions::GetInstance().Reset();
}

TEST(FileSystemMakeDir, CreatesEveryLevelBelowTheFirstEntry)
{
    TempDir dir;
    EXPECT_EQ(FileSystem::DoMkDirPathLocal(dir.File("p\\q//./r")), dir.File("p/q/r"));
    EXPECT_TRUE(PathExists(dir.File("p/q/r")));
    // Existing levels pass.
    EXPECT_EQ(FileSystem::DoMkDirPathLocal(dir.File("p/q/s/")), dir.File("p/q/s"));
    EXPECT_TRUE(PathExists(dir.File("p/q/s")));

    FileSystem fs(dir.File("root") + ";" + dir.File("other"), "");
    EXPECT_EQ(fs.MakeDir("m/n"), dir.File("root/m/n"));
    EXPECT_TRUE(PathExists(dir.File("root/m/n")));
    EXPECT_FALSE(PathExists(dir.File("other")));

    FileSystem direct("", "");
    EXPECT_EQ(direct.MakeDir(""), "");
}

TEST(FileSystemBuffers, OpensValidBuffersOnly)
{
    TempDir dir;
    FileSystem fs("", "");
    std::unique_ptr<Tavlin::Util::IOBuffer> out(fs.GetIOBuffer(dir.File("f.txt"), false, false, "tmp", 0, true));
    ASSERT_TRUE(out);
    EXPECT_TRUE(out->Puts("content"));
    out.reset();
    std::unique_ptr<Tavlin::Util::IOBuffer> in(fs.GetIOBuffer(dir.File("f.txt"), true, true, "", 0, false));
    ASSERT_TRUE(in);
    EXPECT_EQ(in->ReadLine(), "content");
    EXPECT_EQ(fs.GetIOBuffer(dir.File("missing.txt"), true, false, "", 0, true), nullptr);
    EXPECT_EQ(fs.GetIOBuffer(dir.File("f.txt"), false, true, "", 0, true), nullptr);

    // Without a channel to the server, nothing resolves and nothing opens.
    LogCapture log("Tavlin.Persistency.FileSystem");
    FileSystem remote("", "localhost:1");
    EXPECT_NE(log.Text().find("localhost:1"), std::string::npos);
    EXPECT_EQ(remote.GetFilePath("", dir.File("f.txt"), false, false), "");
    EXPECT_EQ(remote.GetIOBuffer(dir.File("f.txt"), true, false, "", 0, true), nullptr);
    EXPECT_EQ(remote.MakeDir(dir.File("never")), "");
    EXPECT_FALSE(PathExists(dir.File("never")));
}
