#include "basis/CmdOptions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "support/TestSupport.h"

using Tavlin::CmdOptions;

namespace
{

// The singleton with the rows the tool registers, plus a few of the pipeline's own.
CmdOptions& FreshOptions()
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.Initialise(false, false, false);
    options.AddOption(0, "keepLimited", "count", "-1");
    options.AddOption(0, "descriptor", "mode", "");
    options.AddOption(0, "batch", "", "0");
    options.AddOption(0, "surf-haar-size", "int", "3");
    options.AddOption(0, "recGauss", "", "0");
    return options;
}

std::string Parse(CmdOptions& options, std::vector<std::string> args, int minArgs = 1)
{
    args.insert(args.begin(), "/no/such/dir/lumisk");
    testing::internal::CaptureStdout();
    std::string message = options.DoParseArgs(args, minArgs);
    testing::internal::GetCapturedStdout();
    return message;
}

} // namespace

TEST(CmdOptionsParse, ReportsEveryMessageOfTheWordList)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(FreshOptions().DoParseArgs({"prog"}, 1), "Need more arguments: 0 found, 1 expected");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "prog\n");
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--batch"}, "Need more arguments"},
        {{"img", "--keepLimited", "-1"}, "Missing value for --keepLimited"},
        {{"img", "--keepLimited"}, "Missing value for --keepLimited"},
        {{"img", "--ini"}, "Missing value for --ini"},
        {{"img", "--ini", "-x"}, "Missing value for --ini"},
        {{"img", "--ini", "/no/such/missing.ini"}, "Couldn't open ini file /no/such/missing.ini"},
        {{"img", "--nosuch"}, "Unknown option --nosuch"},
        {{"img", "-"}, "Unknown option --"},
        {{"img", "--"}, "Unknown option --"},
        {{"img", "--version"}, "Unknown option --version"},
        {{"img", "--descriptor", "\"a", "b"}, "Quoted string not terminated"},
        {{"img", "--nosuch", "-h"}, "Unknown option --nosuch"},
        {{"-h", "--nosuch"}, "help"},
        {{"img", "--help"}, "help"}};
    for (const auto& [args, message] : cases)
        EXPECT_EQ(Parse(FreshOptions(), args), message);
}

TEST(CmdOptionsParse, StoresValuesFlagsQuotesAndPositionals)
{
    CmdOptions& options = FreshOptions();
    EXPECT_EQ(Parse(options, {"--keepLimited", "5", "img", "--batch", "file", "--keepLimited", "7", "-v", "3"}), "");
    EXPECT_EQ(options.GetString("keepLimited", "x"), "7");
    EXPECT_EQ(options.GetString("batch", "x"), "1");
    EXPECT_EQ(options.GetString("v", "x"), "3");
    // The flag does not take the next entry: it stays positional.
    ASSERT_EQ(options.GetArgCount(), 2u);
    EXPECT_EQ(options.GetArg(1), "file");
    testing::internal::CaptureStdout();
    EXPECT_EQ(options.GetArg(2), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "CmdOptions: no argument 2\n");
    EXPECT_EQ(options.GetAllArgs().size(), 9u);

    FreshOptions(); // the same singleton, emptied
    EXPECT_EQ(Parse(options, {"nil", "--v", "4", "--surf-haar-size", "5", "-a-recGauss", "\"my image.jpg\"",
                              "--descriptor", "\"rgb", "sift\"", "\"open", "--data::images", "/srv/img",
                              "--dataServer::b", "host:1"}),
              "");
    EXPECT_EQ(options.GetString("verb", ""), "4");
    EXPECT_EQ(options.GetString("surf-haar-size", ""), "5");
    EXPECT_EQ(options.GetString("recGauss", ""), "1");
    EXPECT_EQ(options.GetArgFile(0), "");
    EXPECT_EQ(options.GetArg(0), "nil");
    EXPECT_EQ(options.GetString("descriptor", ""), "rgb sift");
    EXPECT_EQ(options.GetArg(1), "my image.jpg");
    // A leading quote without a closing one loses its last character all the same.
    EXPECT_EQ(options.GetArg(2), "ope");
    EXPECT_EQ(options.GetString("data::images", ""), "/srv/img");
    EXPECT_EQ(options.GetString("dataServer::b", ""), "host:1");

    EXPECT_EQ(Parse(options, {"img", "--descriptor", "\"\"a\"\""}), "");
    EXPECT_EQ(options.GetString("descriptor", ""), "a");
    EXPECT_EQ(Parse(options, {"img", "--descriptor", "\""}), "");
    EXPECT_EQ(options.GetString("descriptor", "x"), "");
}

TEST(CmdOptionsIni, IniFileSetsKnownAndUnknownKeysBeforeTheCommandLine)
{
    TestSupport::TempDir dir;
    std::string ini = dir.File("a.ini");
    TestSupport::WriteTextFile(ini, "# a comment\n"
                                    "keepLimited -1\n"
                                    "descriptor \"rgb sift\" trailing\n"
                                    "  extraKey value1 rest\n"
                                    "novalue\n"
                                    "extraKey value2\n"
                                    "surf-haar-size 9\n");
    auto map = Tavlin::ReadConfigFile(ini);
    EXPECT_EQ(map.size(), 4u);
    EXPECT_EQ(map["extraKey"], "value2");
    EXPECT_EQ(map["descriptor"], "rgb sift");
    EXPECT_EQ(map.count("novalue"), 0u);
    EXPECT_TRUE(Tavlin::ReadConfigFile(dir.File("missing.ini")).empty());

    CmdOptions& options = FreshOptions();
    std::string other = dir.File("b.ini");
    TestSupport::WriteTextFile(other, "keepLimited 99\n");
    EXPECT_EQ(Parse(options, {"img", "--ini", ini, "--surf-haar-size", "4", "--ini", other}), "");
    EXPECT_EQ(options.GetString("keepLimited", ""), "-1");
    EXPECT_EQ(options.GetInt("keepLimited", 0), -1);
    EXPECT_EQ(options.GetString("surf-haar-size", ""), "4");
    EXPECT_EQ(options.GetString("extraKey", ""), "value2");
    // Only the first --ini is read; the second is an ordinary option value.
    EXPECT_EQ(options.GetString("ini", ""), other);
    EXPECT_EQ(options.GetArgCount(), 1u);
}

TEST(CmdOptionsValues, BooleanAndNumberRulesEnvironmentAndHiddenRows)
{
    auto boolOf = [](const char* value) {
        FreshOptions().AddOption(0, "probe", "x", value);
        return CmdOptions::GetInstance().GetBool("probe");
    };
    for (const char* value : {"1", "yes", "true", "7", "2abc"})
        EXPECT_TRUE(boolOf(value)) << value;
    for (const char* value : {"0", "no", "false", "off", "", "abc"})
        EXPECT_FALSE(boolOf(value)) << value;
    CmdOptions& options = FreshOptions();
    EXPECT_FALSE(options.GetBool("no-such-option"));
    EXPECT_EQ(options.GetInt("no-such-option", 17), 17);
    EXPECT_EQ(options.GetString("no-such-option", "dflt"), "dflt");
    EXPECT_EQ(options.GetString("descriptor", "dflt"), "");
    options.AddOption(0, "number", "n", "12abc");
    EXPECT_EQ(options.GetInt("number", 5), 12);

    // The environment under the name, else in upper case; only for rows marked for it.
    setenv("LUMISKPROBE", "from-upper", 1);
    setenv("lumiskexact", "exact", 1);
    setenv("LUMISKEXACT", "upper", 1);
    options.AddOption(0, "lumiskprobe", "x", "dflt", nullptr, true);
    options.AddOption(0, "lumiskexact", "x", "dflt", nullptr, true);
    options.AddOption(0, "LUMISKPROBE", "x", "dflt", nullptr, false);
    EXPECT_EQ(options.GetString("lumiskprobe", ""), "from-upper");
    EXPECT_EQ(options.GetString("lumiskexact", ""), "exact");
    EXPECT_EQ(options.GetString("LUMISKPROBE", ""), "dflt");

    // A second row of a name stays inert; a hidden row stays usable.
    options.AddOption(0, "keepLimited", "count", "second-row");
    EXPECT_EQ(options.GetString("keepLimited", ""), "-1");
    options.HideOption("keepLimited");
    options.HideOption("nosuch");
    EXPECT_EQ(Parse(options, {"img", "--keepLimited", "3"}), "");
    EXPECT_EQ(options.GetString("keepLimited", ""), "3");
}

TEST(CmdOptionsUsage, ListsVisibleRowsInTheExactFormat)
{
    CmdOptions& options = CmdOptions::GetInstance();
    options.Reset();
    options.AddOption('s', "src", "type", "", "dx|avi");
    options.AddOption(0, "fromIni", "read from ini file", "x");
    for (const char* name : {"debugCat", "logProperties", "logLayout", "showProgress", "debug", "logPriority",
                             "logFile", "noErrorLog", "jobErrorLog", "exitOnErrorLogged", "logFlushOutput"})
        options.HideOption(name);
    testing::internal::CaptureStdout();
    options.ShowUsage("prog", "file");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n"
                                                       "Usage : prog file\n"
                                                       "\n"
                                                       "  Options:\n"
                                                       "    -h  --help\n"
                                                       "        --version\n"
                                                       "    -v  --verb level [default: 0]\n"
                                                       "        --ini filename\n"
                                                       "    -s  --src type [type in dx|avi]\n");
}

TEST(CmdOptionsScope, EachThreadWithAScopeParsesIntoATableOfItsOwn)
{
    CmdOptions& global = FreshOptions();
    ASSERT_EQ(Parse(global, {"img", "--keepLimited", "5"}), "");

    // Threads parse different values at the same time, each in its own table, while the
    // process-wide one keeps its value.
    const int threads = 4;
    std::vector<std::string> seen(threads), seenAfter(threads);
    std::vector<char> fresh(threads, 0);
    std::vector<std::thread> workers;
    std::atomic<int> ready{0};
    for (int t = 0; t < threads; ++t)
        workers.emplace_back([&, t] {
            {
                Tavlin::CmdOptionsScope scope;
                CmdOptions& own = CmdOptions::GetInstance();
                fresh[t] = &own != &global && own.GetString("keepLimited", "absent") == "absent";
                own.AddOption(0, "keepLimited", "count", "-1");
                ++ready;
                while (ready < threads)
                    std::this_thread::yield();
                for (int round = 0; round < 200; ++round)
                {
                    own.DoParseArgs({"lumisk", "--keepLimited", std::to_string(100 * t + round)}, 0);
                    seen[t] = CmdOptions::GetInstance().GetString("keepLimited", "");
                    if (seen[t] != std::to_string(100 * t + round))
                        break;
                }
            }
            seenAfter[t] = CmdOptions::GetInstance().GetString("keepLimited", "");
        });
    for (std::thread& worker : workers)
        worker.join();
    for (int t = 0; t < threads; ++t)
    {
        EXPECT_TRUE(fresh[t]) << t;
        EXPECT_EQ(seen[t], std::to_string(100 * t + 199)) << t;
        EXPECT_EQ(seenAfter[t], "5") << t;
    }
    EXPECT_EQ(&CmdOptions::GetInstance(), &global);
    EXPECT_EQ(global.GetString("keepLimited", ""), "5");

    // Scopes nest: the inner one ends back in the outer one's table.
    {
        Tavlin::CmdOptionsScope outer;
        CmdOptions* outerTable = &CmdOptions::GetInstance();
        {
            Tavlin::CmdOptionsScope inner;
            EXPECT_NE(&CmdOptions::GetInstance(), outerTable);
        }
        EXPECT_EQ(&CmdOptions::GetInstance(), outerTable);
    }
    EXPECT_EQ(&CmdOptions::GetInstance(), &global);
}
