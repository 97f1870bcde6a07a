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
using namespace TestSupport;

namespace
{

// The option `override` as an ini file or command line would leave it.
void SetOverride(const char* value)
{
    CmdOptions::GetInstance().Reset();
    CmdOptions::GetInstance().AddOption(0, "override", "bool", value);
}

} // namespace

TEST(FileSystem, ReadsFromTheFirstEntryHoldingTheFileWritesToTheFirstEntry)
{
    SetOverride("0");
    TempDir dir;
    ASSERT_EQ(std::system(("mkdir -p '" + dir.File("a") + "' '" + dir.File("b/sub") + "'").c_str()), 0);
    const std::string path = dir.File("a") + ";" + dir.File("b");
    FileSystem fs(path, "");
    ASSERT_EQ(fs.GetPaths().size(), 2u);
    // Reading tries a, then b; writing goes to a only.
    WriteTextFile(dir.File("b/x.txt"), "b");
    WriteTextFile(dir.File("b/sub/y.txt"), "y");
    EXPECT_EQ(fs.GetFilePath("", "x.txt", false, false), dir.File("b/x.txt"));
    EXPECT_EQ(fs.GetFilePath("sub", "y.txt", false, false), dir.File("b/sub/y.txt"));
    EXPECT_EQ(fs.GetFilePath("", "x.txt", true, false), dir.File("a/x.txt"));
    WriteTextFile(dir.File("a/x.txt"), "a");
    EXPECT_EQ(fs.GetFilePath("", "x.txt", false, false), dir.File("a/x.txt"));
    // A name already under the first entry is not prefixed again for writing; for reading it is.
    EXPECT_EQ(fs.GetFilePath("", dir.File("a/new.bin"), true, false), dir.File("a/new.bin"));
    EXPECT_EQ(fs.GetFilePath("", dir.File("a/new.bin"), false, true), "");
    {
        LogCapture log("Tavlin.Persistency.FileSystem", log4cpp::Priority::INFO);
        EXPECT_EQ(fs.GetFilePath("", "none.txt", false, true), "");
        EXPECT_EQ(fs.GetFilePath("", "x.txt", true, true), dir.File("a/x.txt"));
        EXPECT_EQ(log.Text(), "");
        EXPECT_EQ(fs.GetFilePath("", "none.txt", false, false), "");
        EXPECT_EQ(fs.GetFilePath("", "x.txt", true, false), "");
        EXPECT_EQ(log.Text(), "Unable to find none.txt in path \n    " + dir.File("a") + "\n    " + dir.File("b") +
                                  "\n" + dir.File("a/x.txt") + " already exists, will not override!\n");
    }
    SetOverride("1");
    EXPECT_EQ(FileSystem(path, "").GetFilePath("", "x.txt", true, false), dir.File("a/x.txt"));

    // The empty search path: names mean what they say; absolute ones stay absolute.
    FileSystem direct("", "");
    EXPECT_EQ(direct.GetFilePath("", dir.File("a/x.txt"), false, false), dir.File("a/x.txt"));
    EXPECT_EQ(direct.GetFilePath("", dir.File("a/x.txt"), true, true), dir.File("a/x.txt"));
    {
        LogCapture log("Tavlin.Util.IOBufferFile");
        LogCapture fsLog("Tavlin.Persistency.FileSystem", log4cpp::Priority::ERROR);
        EXPECT_EQ(direct.GetFilePath("", "", false, true), "");
        EXPECT_EQ(direct.GetWritableFileLocal({}, "x", false), "");
        EXPECT_EQ(log.Text(), "Cannot open file; path is empty\n");
        EXPECT_EQ(fsLog.Text(), "GetWritableFile: no search path\n");
    }
    CmdOptions::GetInstance().Reset();
}

TEST(FileSystem, ExpandsEnvironmentVariablesInEntries)
{
    const char* home = std::getenv("HOME");
    ASSERT_NE(home, nullptr);
    ::unsetenv("LUMISK_NOSUCH");
    ::setenv("LUMISK_A", "one", 1);
    ::setenv("LUMISK_SELF", "${LUMISK_SELF}", 1);
    const std::pair<const char*, std::string> cases[] = {
        {"${HOME}/x", std::string(home) + "/x"},
        {"${LUMISK_NOSUCH}/x", "LUMISK_NOSUCH/x"},
        {"p/${LUMISK_A}/${LUMISK_A}${LUMISK_NOSUCH}", "p/one/oneLUMISK_NOSUCH"},
        {"p/${LUMISK_A", "p/one"},
        {"${LUMISK_SELF}", "${LUMISK_SELF}"},
        {"plain", "plain"}};
    for (const auto& c : cases)
        EXPECT_EQ(FileSystem::ExpandPathEntry(c.first), c.second) << c.first;

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

TEST(FileSystem, MakesDirectoriesAndOpensValidBuffersOnly)
{
    TempDir dir;
    EXPECT_EQ(FileSystem::DoMkDirPathLocal(dir.File("p\\q//./r")), dir.File("p/q/r"));
    EXPECT_TRUE(PathExists(dir.File("p/q/r")));
    FileSystem fs(dir.File("root") + ";" + dir.File("other"), "");
    EXPECT_EQ(fs.MakeDir("m/n"), dir.File("root/m/n"));
    EXPECT_TRUE(PathExists(dir.File("root/m/n")));
    EXPECT_FALSE(PathExists(dir.File("other")));

    // Buffers that are not valid are not handed out.
    FileSystem direct("", "");
    WriteTextFile(dir.File("f.txt"), "content\n");
    std::unique_ptr<Tavlin::Util::IOBuffer> in(direct.GetIOBuffer(dir.File("f.txt"), true, true, "", 0, false));
    ASSERT_TRUE(in);
    EXPECT_EQ(in->ReadLine(), "content");
    EXPECT_EQ(direct.GetIOBuffer(dir.File("missing.txt"), true, false, "", 0, true), nullptr);
    EXPECT_EQ(direct.GetIOBuffer(dir.File("f.txt"), false, true, "", 0, true), nullptr);

    // Without a channel to the server, nothing resolves and nothing opens.
    LogCapture log("Tavlin.Persistency.FileSystem");
    FileSystem remote("", "localhost:1");
    EXPECT_NE(log.Text().find("localhost:1"), std::string::npos);
    EXPECT_EQ(remote.GetFilePath("", dir.File("f.txt"), false, false), "");
    EXPECT_EQ(remote.GetIOBuffer(dir.File("f.txt"), true, false, "", 0, true), nullptr);
    EXPECT_EQ(remote.MakeDir(dir.File("never")), "");
    EXPECT_FALSE(PathExists(dir.File("never")));
}
