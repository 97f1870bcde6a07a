// End-to-end runs of the lumisk binary: command line, ini file, logging and statuses.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using TestSupport::CountOf;
using TestSupport::PathExists;
using TestSupport::ReadTextFile;
using TestSupport::RunLumisk;
using TestSupport::TempDir;
using TestSupport::WriteTextFile;

namespace
{
const std::string sBanner = "Lumisk v4.0\n======================\n\n";
}

TEST(DriverCommandLine, VersionHelpAndMissingArguments)
{
    TempDir dir;
    auto version = RunLumisk({"--version"}, dir.Path());
    EXPECT_EQ(version.status, 1);
    EXPECT_EQ(version.out.compare(0, sBanner.size(), sBanner), 0) << version.out;
    EXPECT_NE(version.out.find("\nTavlin version 12.02.00, svnversion 6818, build on "), std::string::npos);
    EXPECT_EQ(CountOf(version.out, "Usage : "), 0);

    auto bare = RunLumisk({}, dir.Path());
    EXPECT_EQ(bare.status, 1);
    EXPECT_NE(bare.out.find(std::string("\n") + LUMISK_BINARY + "\n"), std::string::npos);
    EXPECT_NE(bare.out.find("Need more arguments: 0 found, 1 expected"), std::string::npos);
    EXPECT_NE(bare.out.find("Usage : "), std::string::npos);

    auto help = RunLumisk({"img.jpg", "--help"}, dir.Path());
    EXPECT_EQ(help.status, 1);
    EXPECT_NE(help.out.find("ERROR [Tavlin.CmdOptions ] help"), std::string::npos) << help.out;
    // Hidden options stay out of the listing; the visible ones keep registration order.
    EXPECT_EQ(CountOf(help.out, "--surf-haar-size"), 0);
    EXPECT_EQ(CountOf(help.out, "--recGauss"), 0);
    size_t border = help.out.find("        --borderWidth size [default: 0]\n");
    size_t reduce = help.out.find("        --descriptorReduce filename\n");
    EXPECT_NE(border, std::string::npos);
    EXPECT_NE(reduce, std::string::npos);
    EXPECT_LT(border, reduce);
    EXPECT_NE(help.out.find("        --override  [default: 1]\n"), std::string::npos);

    // --version only counts as the very first argument.
    auto late = RunLumisk({"img.jpg", "--version"}, dir.Path());
    EXPECT_EQ(late.status, 1);
    EXPECT_NE(late.out.find("Unknown option --version"), std::string::npos);

    auto negative = RunLumisk({"--keepLimited", "-1", "x"}, dir.Path());
    EXPECT_EQ(negative.status, 1);
    EXPECT_NE(negative.out.find("Missing value for --keepLimited"), std::string::npos);
}

TEST(DriverCommandLine, ExitOnErrorLoggedAppliesOnlyOnceParsed)
{
    TempDir dir;
    auto early = RunLumisk({"--exitOnErrorLogged", "--nosuch", "x"}, dir.Path());
    EXPECT_EQ(early.status, 42);
    EXPECT_NE(early.out.find("Unknown option --nosuch"), std::string::npos);
    EXPECT_EQ(CountOf(early.out, "Usage : "), 0);

    auto late = RunLumisk({"--nosuch", "--exitOnErrorLogged", "x"}, dir.Path());
    EXPECT_EQ(late.status, 1);
    EXPECT_EQ(CountOf(late.out, "Usage : "), 1);
}

TEST(DriverRun, NilCompletesAndUnreadableInputFails)
{
    TempDir dir;
    auto nil = RunLumisk({"nil"}, dir.Path());
    EXPECT_EQ(nil.status, 0) << nil.out;
    EXPECT_NE(nil.out.find("INFO  [Sandbox.vesk.mainLumisk ] Completed in 0h0m"), std::string::npos) << nil.out;
    EXPECT_TRUE(PathExists(dir.File("errors.log")));
    EXPECT_EQ(ReadTextFile(dir.File("errors.log")), "");

    auto empty = RunLumisk({"empty", "--batch"}, dir.Path());
    EXPECT_EQ(empty.status, 0);
    EXPECT_NE(empty.out.find("Completed in "), std::string::npos);

    auto missing = RunLumisk({"no-such-image.jpg"}, dir.Path());
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("[ERROR] Could not read input file: is it really a valid image? no-such-image.jpg"),
              std::string::npos)
        << missing.out;
    EXPECT_EQ(CountOf(missing.out, "Completed in "), 0);
    EXPECT_NE(ReadTextFile(dir.File("errors.log")).find("Could not read input file"), std::string::npos);

    auto fatal = RunLumisk({"no-such-image.jpg", "--exitOnErrorLogged"}, dir.Path());
    EXPECT_EQ(fatal.status, 42);
}

TEST(DriverIni, DefaultIniFileAndExplicitIni)
{
    TempDir dir;
    WriteTextFile(dir.File("lumisk.ini"), "# the run's defaults\nlogLayout \"%p|%c|%m%n\"\nunknownKey 5\n");
    auto run = RunLumisk({"nil"}, dir.Path());
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("INFO|Sandbox.vesk.mainLumisk|Completed in "), std::string::npos) << run.out;

    auto missing = RunLumisk({"nil", "--ini", "missing.ini"}, dir.Path());
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("Couldn't open ini file missing.ini"), std::string::npos);

    WriteTextFile(dir.File("strict.ini"), "exitOnErrorLogged 1\n");
    auto strict = RunLumisk({"x.jpg", "--ini", "strict.ini"}, dir.Path());
    EXPECT_EQ(strict.status, 42);
    // The command line wins over the ini file, whose keys come first.
    auto flag = RunLumisk({"nil", "--ini", "strict.ini", "--logLayout", "[%m]%n"}, dir.Path());
    EXPECT_EQ(flag.status, 0);
    EXPECT_NE(flag.out.find("\n[Completed in "), std::string::npos) << flag.out;
}

TEST(DriverLogging, ErrorLogsLogFileDebugCategoriesAndPriority)
{
    TempDir dir;
    auto quiet = RunLumisk({"nil", "--noErrorLog"}, dir.Path());
    EXPECT_EQ(quiet.status, 0);
    EXPECT_FALSE(PathExists(dir.File("errors.log")));

    auto logged = RunLumisk({"x.jpg", "--logFile", "run.log", "--jobErrorLog", "job.log"}, dir.Path());
    EXPECT_EQ(logged.status, 1);
    EXPECT_NE(ReadTextFile(dir.File("run.log")).find("Could not read input file"), std::string::npos);
    std::string job = ReadTextFile(dir.File("job.log"));
    EXPECT_NE(job.find(" - [Sandbox.vesk.mainLumisk ] [ERROR] Could not read input file"), std::string::npos) << job;
    EXPECT_EQ(ReadTextFile(dir.File("errors.log")), job);

    auto cats = RunLumisk({"nil", "--debugCat", "a:b;c"}, dir.Path());
    EXPECT_EQ(CountOf(cats.out, "debug cat "), 3);
    EXPECT_NE(cats.out.find("debug cat b\n"), std::string::npos);

    auto errorsOnly = RunLumisk({"nil", "--logPriority", "ERROR", "--debug"}, dir.Path());
    EXPECT_EQ(errorsOnly.status, 0);
    EXPECT_EQ(CountOf(errorsOnly.out, "Completed in "), 0);

    auto flushed = RunLumisk({"nil", "--logFlushOutput", "1"}, dir.Path());
    EXPECT_EQ(flushed.status, 0);
    EXPECT_EQ(CountOf(flushed.out, "Completed in "), 1);

    // A properties file takes over the standard output appender.
    WriteTextFile(dir.File("log4cpp.properties"), "log4cpp.rootCategory=INFO, A\n"
                                                  "log4cpp.appender.A=org.apache.log4cpp.FileAppender\n"
                                                  "log4cpp.appender.A.fileName=props.log\n"
                                                  "log4cpp.appender.A.layout=org.apache.log4cpp.PatternLayout\n"
                                                  "log4cpp.appender.A.layout.ConversionPattern=<%m>%n\n");
    auto props = RunLumisk({"nil"}, dir.Path());
    EXPECT_EQ(props.status, 0);
    EXPECT_EQ(CountOf(props.out, "Completed in "), 0);
    EXPECT_NE(ReadTextFile(dir.File("props.log")).find("<Completed in "), std::string::npos);
}

TEST(DriverLogging, UnwritableErrorLogEndsTheRun)
{
    // A directory in the way fails the append test even for root.
    TempDir dir;
    ASSERT_EQ(mkdir(dir.File("errors.log").c_str(), 0755), 0);
    auto run = RunLumisk({"nil"}, dir.Path());
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "WARNING [LogSystem] failed to open errors.log for writing. You can 1) use log properties to "
                       "write to another file; 2) run in another folder; 3) use option noErrorLog to not log to "
                       "errors.log.\nShutting down for now...\n");
    EXPECT_EQ(RunLumisk({"nil", "--noErrorLog"}, dir.Path()).status, 0);
}

TEST(DriverFiles, BatchFilesAndOutputDirectories)
{
    TempDir dir;
    WriteTextFile(dir.File("list.txt"), "# only comments\n\n# and blank lines\n");
    auto quiet = RunLumisk({"--batch", "list.txt"}, dir.Path());
    EXPECT_EQ(quiet.status, 0);
    EXPECT_NE(quiet.out.find("Completed in "), std::string::npos);

    WriteTextFile(dir.File("missing.txt"), "# first\nno-such.jpg\nnever-tried.jpg\n");
    auto missing = RunLumisk({"--batch", "missing.txt", "--output", "out"}, dir.Path());
    EXPECT_EQ(missing.status, 1);
    size_t unable = missing.out.find("Unable to find no-such.jpg");
    size_t driver = missing.out.find("Could not read input file: is it really a valid image? no-such.jpg");
    EXPECT_NE(unable, std::string::npos) << missing.out;
    EXPECT_NE(driver, std::string::npos);
    EXPECT_LT(unable, driver);
    EXPECT_EQ(CountOf(missing.out, "never-tried.jpg"), 0);
    // In a batch --output names a directory; it exists before the image is read.
    EXPECT_TRUE(PathExists(dir.File("out")));

    auto single = RunLumisk({"x.jpg", "--output", "sub/dir/x.txt", "--saveRegions", "r/s.txt"}, dir.Path());
    EXPECT_EQ(single.status, 1);
    EXPECT_TRUE(PathExists(dir.File("sub/dir")));
    EXPECT_TRUE(PathExists(dir.File("r")));
    EXPECT_FALSE(PathExists(dir.File("sub/dir/x.txt")));

    auto absentBatch = RunLumisk({"--batch", "no-such-list.txt"}, dir.Path());
    EXPECT_EQ(absentBatch.status, 0);
}

TEST(DriverImages, DecodesInputsAndStopsAtTheFirstUnreadableOne)
{
    TempDir dir;
    TestSupport::PlainImage picture = TestSupport::MakeTexturedImage(64, 48, 3, 5);
    std::string jpeg = TestSupport::EncodeJpeg(picture, JCS_RGB, JCS_YCbCr, 90);
    WriteTextFile(dir.File("photo.jpg"), jpeg);
    WriteTextFile(dir.File("short.jpg"), jpeg.substr(0, 13));
    auto loaded = RunLumisk({"photo.jpg", "--detector", "none"}, dir.Path());
    EXPECT_EQ(loaded.status, 0) << loaded.out;
    EXPECT_NE(loaded.out.find("INFO  [Sandbox.vesk.mainLumisk ] Loaded photo.jpg at 0h0m"), std::string::npos)
        << loaded.out;

    WriteTextFile(dir.File("list.txt"), "photo.jpg\nshort.jpg\nphoto.jpg\n");
    auto batch = RunLumisk({"--batch", "list.txt", "--detector", "none"}, dir.Path());
    EXPECT_EQ(batch.status, 1);
    EXPECT_EQ(CountOf(batch.out, "Loaded photo.jpg"), 1) << batch.out;
    EXPECT_NE(batch.out.find("Could not read input file: is it really a valid image? short.jpg"), std::string::npos);
}
