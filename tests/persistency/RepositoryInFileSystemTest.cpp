#include "persistency/RepositoryInFileSystem.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "basis/CmdOptions.h"
#include "support/LogCapture.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using Tavlin::CmdOptions;
using Tavlin::Persistency::File;
using Tavlin::Persistency::FileLocator;
using Tavlin::Persistency::FileSystem;
using Tavlin::Persistency::Locator;
using Tavlin::Persistency::RepositoryGetFile;
using Tavlin::Persistency::RepositoryInFileSystem;
using TestSupport::LogCapture;
using TestSupport::PathExists;
using TestSupport::TempDir;
using TestSupport::WriteTextFile;

namespace
{

// Runs the test inside a fresh directory, as the tool runs inside the user's.
class InTempDir
{
public:
    InTempDir()
    {
        char* old = getcwd(nullptr, 0);
        mOld = old;
        std::free(old);
        EXPECT_EQ(chdir(mDir.Path().c_str()), 0);
    }
    ~InTempDir() { EXPECT_EQ(chdir(mOld.c_str()), 0); }
    const TempDir& Dir() const { return mDir; }

private:
    TempDir mDir;
    std::string mOld;
};

} // namespace

TEST(RepositoryGetFS, PicksTheSearchPathByDatabase)
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.AddOption(0, "data", "path", "/d1:/d2");
    options.AddOption(0, "config", "path", "/etc/cfg");
    options.AddOption(0, "data::special", "path", "/pre");

    RepositoryInFileSystem& repository = RepositoryInFileSystem::GetInstance();
    FileSystem* direct = repository.GetFS(Locator("file:", "direct"));
    EXPECT_EQ(direct->GetSearchPath(), "");
    EXPECT_EQ(repository.GetFS(FileLocator("some/name")), direct);
    EXPECT_EQ(repository.GetFS(FileLocator(Locator("file:", "direct"), "other")), direct);
    for (const char* database : {"dot", ".", "abs"})
        EXPECT_EQ(repository.GetFS(Locator("file:", database))->GetSearchPath(), "");

    LogCapture log("Tavlin.Persistency.RepositoryInFileSystem", log4cpp::Priority::INFO);
    EXPECT_EQ(repository.GetFS(Locator("file:", "config"))->GetSearchPath(), "/etc/cfg");
    FileSystem* named = repository.GetFS(Locator("file:", "sets/images.db"));
    EXPECT_EQ(named->GetSearchPath(), "../images;/d1;/d2");
    ASSERT_EQ(named->GetPaths().size(), 3u);
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
    InTempDir here;

    File written = RepositoryGetFile("sub/dir/x.bin", true, false);
    EXPECT_TRUE(written.Valid());
    EXPECT_TRUE(written.IsWritable());
    EXPECT_EQ(written.GetPath(), "sub/dir/x.bin");
    EXPECT_TRUE(PathExists("sub/dir"));
    EXPECT_FALSE(PathExists("sub/dir/x.bin"));

    std::unique_ptr<Tavlin::Util::IOBuffer> out(written.GetWriteBuffer());
    ASSERT_TRUE(out);
    out->Puts("payload");
    out.reset();

    File read = RepositoryGetFile("sub/dir/x.bin", false, false);
    EXPECT_TRUE(read.Valid());
    EXPECT_FALSE(read.IsWritable());
    std::unique_ptr<Tavlin::Util::IOBuffer> in(read.GetReadBuffer());
    ASSERT_TRUE(in);
    EXPECT_EQ(in->ReadLine(), "payload");

    // Silent: no directories, no complaint about an existing file.
    {
        LogCapture log("Tavlin.Persistency.FileSystem", log4cpp::Priority::INFO);
        File silent = RepositoryGetFile("quiet/y.bin", true, true);
        EXPECT_EQ(silent.GetPath(), "quiet/y.bin");
        EXPECT_FALSE(PathExists("quiet"));
        EXPECT_EQ(RepositoryGetFile("sub/dir/x.bin", true, true).GetPath(), "sub/dir/x.bin");
        EXPECT_EQ(RepositoryGetFile("none.bin", false, true).GetPath(), "");
        EXPECT_EQ(log.Text(), "");
    }

    // No directory part: harmless.
    EXPECT_EQ(RepositoryGetFile("top.bin", true, false).GetPath(), "top.bin");
}

TEST(RepositoryGetFile, ExistingOutputWithoutOverrideFailsTwice)
{
    CmdOptions::GetInstance().Reset();
    InTempDir here;
    WriteTextFile("exists.bin", "old");
    // Made with override off: the repository's file system for "direct" may already
    // exist, so ask a file system of the same kind directly too.
    FileSystem fs("", "");
    ASSERT_FALSE(fs.GetOverride());
    LogCapture fsLog("Tavlin.Persistency.FileSystem", log4cpp::Priority::ERROR);
    LogCapture fileLog("Tavlin.Persistency.File", log4cpp::Priority::ERROR);
    File file(fs.GetFilePath("", "exists.bin", true, false), &fs, true);
    EXPECT_FALSE(file.Valid());
    EXPECT_EQ(file.GetWriteBuffer(), nullptr);
    EXPECT_EQ(fsLog.Text(), "exists.bin already exists, will not override!\n");
    EXPECT_EQ(fileLog.Text(), "Can't get write buffer for invalid file\n");
    EXPECT_EQ(TestSupport::ReadTextFile("exists.bin"), "old");
}
