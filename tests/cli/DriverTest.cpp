// End-to-end runs of the lumisk binary: command line, ini file, logging and statuses.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

TEST(DriverCommandLine, VersionHelpAndRefusedCommandLines)
{
    TempDir dir;
    auto version = RunLumisk({"--version"}, dir.Path());
    EXPECT_EQ(version.status, 1);
    EXPECT_EQ(version.out.rfind("Lumisk v4.0\n======================\n\n", 0), 0u) << version.out;
    EXPECT_TRUE(Has(version.out, "\nTavlin version 12.02.00, svnversion 6818, build on "));
    EXPECT_EQ(CountOf(version.out, "Usage : "), 0);

    auto bare = RunLumisk({}, dir.Path());
    EXPECT_EQ(bare.status, 1);
    EXPECT_TRUE(Has(bare.out, std::string("\n") + LUMISK_BINARY + "\n"));
    EXPECT_TRUE(Has(bare.out, "ERROR [Tavlin.CmdOptions ] Need more arguments: 0 found, 1 expected"));
    EXPECT_TRUE(Has(bare.out, "\nUsage : " LUMISK_BINARY " filename\n"));

    auto help = RunLumisk({"img.jpg", "--help"}, dir.Path());
    EXPECT_EQ(help.status, 1);
    EXPECT_TRUE(Has(help.out, "ERROR [Tavlin.CmdOptions ] help"));
    // Hidden options stay out of the listing; the visible ones keep registration order.
    EXPECT_EQ(CountOf(help.out, "--surf-haar-size"), 0);
    EXPECT_EQ(CountOf(help.out, "--recGauss"), 0);
    EXPECT_TRUE(Has(help.out, "        --borderWidth size [default: 0]\n"));
    EXPECT_TRUE(Has(help.out, "        --override  [default: 1]\n"
                              "        --batch  [default: 0]\n"
                              "        --descriptorReduce filename\n"));

    // Exit-on-error applies once parsed: before the bad option it ends the run with 42.
    auto early = RunLumisk({"--exitOnErrorLogged", "--nosuch", "x"}, dir.Path());
    EXPECT_EQ(early.status, 42);
    EXPECT_TRUE(Has(early.out, "Unknown option --nosuch"));
    EXPECT_EQ(CountOf(early.out, "Usage : "), 0);
    auto late = RunLumisk({"--nosuch", "--exitOnErrorLogged", "x"}, dir.Path());
    EXPECT_EQ(late.status, 1);
    EXPECT_EQ(CountOf(late.out, "Usage : "), 1);
}

TEST(DriverRun, NilCompletesAndUnreadableInputFails)
{
    TempDir dir;
    auto nil = RunLumisk({"nil"}, dir.Path());
    EXPECT_EQ(nil.status, 0);
    EXPECT_TRUE(Has(nil.out, "INFO  [Sandbox.vesk.mainLumisk ] Completed in 0h0m"));
    EXPECT_TRUE(PathExists(dir.File("errors.log")));
    EXPECT_EQ(ReadTextFile(dir.File("errors.log")), "");
    EXPECT_EQ(RunLumisk({"empty", "--batch"}, dir.Path()).status, 0);

    auto missing = RunLumisk({"no-such-image.jpg"}, dir.Path());
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.out, "[ERROR] Could not read input file: is it really a valid image? no-such-image.jpg"));
    EXPECT_EQ(CountOf(missing.out, "Completed in "), 0);
    EXPECT_TRUE(Has(ReadTextFile(dir.File("errors.log")), "Could not read input file"));
    EXPECT_EQ(RunLumisk({"no-such-image.jpg", "--exitOnErrorLogged"}, dir.Path()).status, 42);
}

TEST(DriverIni, DefaultIniFileAndExplicitIni)
{
    TempDir dir;
    WriteTextFile(dir.File("lumisk.ini"), "# the run's defaults\nlogLayout \"%p|%c|%m%n\"\nunknownKey 5\n");
    auto run = RunLumisk({"nil"}, dir.Path());
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(Has(run.out, "INFO|Sandbox.vesk.mainLumisk|Completed in "));

    auto missing = RunLumisk({"nil", "--ini", "missing.ini"}, dir.Path());
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.out, "Couldn't open ini file missing.ini"));

    WriteTextFile(dir.File("strict.ini"), "exitOnErrorLogged 1\n");
    EXPECT_EQ(RunLumisk({"x.jpg", "--ini", "strict.ini"}, dir.Path()).status, 42);
    // The command line wins over the ini file.
    auto flag = RunLumisk({"nil", "--ini", "strict.ini", "--logLayout", "[%m]%n"}, dir.Path());
    EXPECT_EQ(flag.status, 0);
    EXPECT_TRUE(Has(flag.out, "\n[Completed in "));
}

TEST(DriverLogging, ErrorLogsLogFileDebugCategoriesPriorityAndProperties)
{
    TempDir dir;
    EXPECT_EQ(RunLumisk({"nil", "--noErrorLog"}, dir.Path()).status, 0);
    EXPECT_FALSE(PathExists(dir.File("errors.log")));

    auto logged = RunLumisk({"x.jpg", "--logFile", "run.log", "--jobErrorLog", "job.log"}, dir.Path());
    EXPECT_EQ(logged.status, 1);
    EXPECT_TRUE(Has(ReadTextFile(dir.File("run.log")), "Could not read input file"));
    std::string job = ReadTextFile(dir.File("job.log"));
    EXPECT_TRUE(Has(job, " - [Sandbox.vesk.mainLumisk ] [ERROR] Could not read input file"));
    EXPECT_EQ(ReadTextFile(dir.File("errors.log")), job);

    auto cats = RunLumisk({"nil", "--debugCat", "a:b;c"}, dir.Path());
    EXPECT_TRUE(Has(cats.out, "debug cat a\ndebug cat b\ndebug cat c\n"));
    EXPECT_EQ(CountOf(RunLumisk({"nil", "--logPriority", "ERROR", "--debug"}, dir.Path()).out, "Completed in "), 0);

    // A properties file takes over the standard output appender.
    WriteTextFile(dir.File("log4cpp.properties"), "log4cpp.rootCategory=INFO, A\n"
                                                  "log4cpp.appender.A=org.apache.log4cpp.FileAppender\n"
                                                  "log4cpp.appender.A.fileName=props.log\n"
                                                  "log4cpp.appender.A.layout=org.apache.log4cpp.PatternLayout\n"
                                                  "log4cpp.appender.A.layout.ConversionPattern=<%m>%n\n");
    auto props = RunLumisk({"nil"}, dir.Path());
    EXPECT_EQ(props.status, 0);
    EXPECT_EQ(CountOf(props.out, "Completed in "), 0);
    EXPECT_TRUE(Has(ReadTextFile(dir.File("props.log")), "<Completed in "));
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
    EXPECT_TRUE(Has(RunLumisk({"--batch", "list.txt"}, dir.Path()).out, "Completed in "));
    EXPECT_EQ(RunLumisk({"--batch", "no-such-list.txt"}, dir.Path()).status, 0);

    WriteTextFile(dir.File("missing.txt"), "# first\nno-such.jpg\nnever-tried.jpg\n");
    auto missing = RunLumisk({"--batch", "missing.txt", "--output", "out"}, dir.Path());
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(Has(missing.out, "Could not read input file: is it really a valid image? no-such.jpg"));
    EXPECT_EQ(CountOf(missing.out, "never-tried.jpg"), 0);
    // In a batch --output names a directory; it exists before the image is read.
    EXPECT_TRUE(PathExists(dir.File("out")));

    auto single = RunLumisk({"x.jpg", "--output", "sub/dir/x.txt", "--saveRegions", "r/s.txt"}, dir.Path());
    EXPECT_EQ(single.status, 1);
    EXPECT_TRUE(PathExists(dir.File("sub/dir")));
    EXPECT_TRUE(PathExists(dir.File("r")));
    EXPECT_FALSE(PathExists(dir.File("sub/dir/x.txt")));
}

TEST(DriverImages, DecodesAJpegInput)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 64, 48, 5);
    auto loaded = RunLumisk({"photo.jpg", "--detector", "none"}, dir.Path());
    EXPECT_EQ(loaded.status, 0);
    EXPECT_TRUE(Has(loaded.out, "INFO  [Sandbox.vesk.mainLumisk ] Loaded photo.jpg at 0h0m"));
}
