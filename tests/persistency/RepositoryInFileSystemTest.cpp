#include "persistency/RepositoryInFileSystem.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "basis/CmdOptions.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using namespace Tavlin::Persistency;
using Tavlin::CmdOptions;
using TestSupport::LogCapture;
using TestSupport::PathExists;

TEST(RepositoryGetFS, PicksTheSearchPathByDatabase)
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.AddOption(0, "data", "path", "/d1:/d2");
    options.AddOption(0, "config", "path", "/etc/cfg");
    options.AddOption(0, "data::special", "path", "/pre");

    RepositoryInFileSystem& repository = RepositoryInFileSystem::GetInstance();
    FileSystem* direct = repository.GetFS(Locator("file:", "direct"));
    EXPECT_EQ(repository.GetFS(FileLocator("some/name")), direct);
    for (const char* database : {"direct", "dot", ".", "abs"})
        EXPECT_EQ(repository.GetFS(Locator("file:", database))->GetSearchPath(), "") << database;

    LogCapture log("Tavlin.Persistency.RepositoryInFileSystem", log4cpp::Priority::INFO);
    EXPECT_EQ(repository.GetFS(Locator("file:", "config"))->GetSearchPath(), "/etc/cfg");
    FileSystem* named = repository.GetFS(Locator("file:", "sets/images.db"));
    EXPECT_EQ(named->GetSearchPath(), "../images;/d1;/d2");
    EXPECT_EQ(repository.GetFS(Locator("file:", "special"))->GetSearchPath(), "/pre;/d1;/d2");
    EXPECT_EQ(repository.GetFS(Locator("file:", ""))->GetSearchPath(), "/d1;/d2");
    EXPECT_EQ(log.Text(), "'data' for config is /etc/cfg\n'data' for sets/images.db is ../images;/d1;/d2\n"
                          "'data' for special is /pre;/d1;/d2\n");

    // Made once: a later change of the options does not reach a known locator.
    options.Reset();
    EXPECT_EQ(repository.GetFS(Locator("file:", "sets/images.db")), named);
    EXPECT_EQ(named->GetSearchPath(), "../images;/d1;/d2");
}

TEST(RepositoryGetFile, ResolvesRelativeToTheCurrentDirectory)
{
    CmdOptions::GetInstance().Reset();
    CmdOptions::GetInstance().AddOption(0, "data", "path", "/elsewhere");
    // Run inside a fresh directory, as the tool runs inside the user's.
    TestSupport::TempDir dir;
    char* old = getcwd(nullptr, 0);
    const std::string oldDir = old;
    std::free(old);
    ASSERT_EQ(chdir(dir.Path().c_str()), 0);

    // Writing makes the directories, not the file.
    File written = RepositoryGetFile("sub/dir/x.bin", true, false);
    EXPECT_TRUE(written.IsWritable());
    EXPECT_EQ(written.GetPath(), "sub/dir/x.bin");
    EXPECT_TRUE(PathExists("sub/dir"));
    EXPECT_FALSE(PathExists("sub/dir/x.bin"));
    std::unique_ptr<Tavlin::Util::IOBuffer> out(written.GetWriteBuffer());
    ASSERT_TRUE(out);
    out->Puts("payload");
    out.reset();

    File read = RepositoryGetFile("sub/dir/x.bin", false, false);
    EXPECT_FALSE(read.IsWritable());
    std::unique_ptr<Tavlin::Util::IOBuffer> in(read.GetReadBuffer());
    ASSERT_TRUE(in);
    EXPECT_EQ(in->ReadLine(), "payload");
    EXPECT_EQ(RepositoryGetFile("top.bin", true, false).GetPath(), "top.bin");

    // Silent: no directories, no complaint about an existing file.
    {
        LogCapture log("Tavlin.Persistency.FileSystem", log4cpp::Priority::INFO);
        EXPECT_EQ(RepositoryGetFile("quiet/y.bin", true, true).GetPath(), "quiet/y.bin");
        EXPECT_FALSE(PathExists("quiet"));
        EXPECT_EQ(RepositoryGetFile("sub/dir/x.bin", true, true).GetPath(), "sub/dir/x.bin");
        EXPECT_EQ(RepositoryGetFile("none.bin", false, true).GetPath(), "");
        EXPECT_EQ(log.Text(), "");
    }

    // An existing output without override: the file system refuses, then the file.
    // (The repository's "direct" file system may predate this test's options.)
    FileSystem fs("", "");
    ASSERT_FALSE(fs.GetOverride());
    LogCapture fsLog("Tavlin.Persistency.FileSystem", log4cpp::Priority::ERROR);
    LogCapture fileLog("Tavlin.Persistency.File", log4cpp::Priority::ERROR);
    File again(fs.GetFilePath("", "sub/dir/x.bin", true, false), &fs, true);
    EXPECT_FALSE(again.Valid());
    EXPECT_EQ(again.GetWriteBuffer(), nullptr);
    EXPECT_EQ(fsLog.Text(), "sub/dir/x.bin already exists, will not override!\n");
    EXPECT_EQ(fileLog.Text(), "Can't get write buffer for invalid file\n");
    EXPECT_EQ(TestSupport::ReadTextFile("sub/dir/x.bin"), "payload\n");
    EXPECT_EQ(chdir(oldDir.c_str()), 0);
}
