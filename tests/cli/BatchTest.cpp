// End-to-end runs of large batches: workers give the files of the serial run, byte for
// byte, also after a failure; shards split a batch; the progress line.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

const int kImages = 52;

// Every file below root (relative name to bytes).
std::map<std::string, std::string> Snapshot(const std::string& root)
{
    std::map<std::string, std::string> files;
    if (!std::filesystem::exists(root))
        return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
        if (entry.is_regular_file())
            files[std::filesystem::relative(entry.path(), root).string()] = ReadTextFile(entry.path().string());
    return files;
}

// kImages small JPEGs listed in list.txt, with a comment and a blank line among them.
// Entries 10 and 40 share a base name, from two directories; `unreadable` (an index, or
// -1) is replaced by a file too short to be any image.
void WriteBatch(const TempDir& dir, int unreadable = -1)
{
    std::filesystem::create_directories(dir.File("a"));
    std::filesystem::create_directories(dir.File("b"));
    std::string list = "# tiny pictures\n\n";
    for (int i = 0; i < kImages; ++i)
    {
        std::string name = "img" + std::to_string(i) + ".jpg";
        if (i == 10)
            name = "a/same.jpg";
        if (i == 40)
            name = "b/same.jpg";
        WriteJpegPhoto(dir.File(name), 56 + i % 7, 44 + i % 5, 100 + i);
        if (i == unreadable)
            WriteTextFile(dir.File(name), ReadTextFile(dir.File(name)).substr(0, 13));
        list += name + "\n";
    }
    WriteTextFile(dir.File("list.txt"), list);
}

RunResult RunBatch(const TempDir& dir, const std::string& out, const std::string& threads,
              std::vector<std::string> extra = {})
{
    std::vector<std::string> args{"--batch", "list.txt", "--noErrorLog", "--output", out, "--threads", threads};
    args.insert(args.end(), extra.begin(), extra.end());
    return RunLumisk(args, dir.Path());
}

} // namespace

TEST(BatchThreads, FourWorkersWriteTheFilesOfTheSerialRun)
{
    TempDir dir;
    WriteBatch(dir);
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"sift", {"--descriptor", "sift", "--saveRegions", "regions", "--drawRegions", "pictures"}},
        // The dense grid gives every image far more points than are kept.
        {"limited",
         {"--detector", "densesampling", "--descriptor", "sift", "--keepLimited", "3", "--noRandomizeSeed",
          "--outputFormat", "binary"}},
        {"cluster",
         {"--detector", "densesampling", "--descriptor", "rgbhistogram", "--clusterInput", "--keepLimited", "2",
          "--noRandomizeSeed"}},
    };
    for (const auto& c : cases)
    {
        const std::string serial = c.first + "1", parallel = c.first + "4";
        std::vector<std::string> serialArgs = c.second, parallelArgs = c.second;
        for (const char* option : {"--saveRegions", "--drawRegions"})
            for (size_t i = 0; i + 1 < c.second.size(); ++i)
                if (c.second[i] == option)
                {
                    serialArgs[i + 1] = serial + "/" + c.second[i + 1];
                    parallelArgs[i + 1] = parallel + "/" + c.second[i + 1];
                }
        RunResult one = RunBatch(dir, serial, "1", serialArgs);
        RunResult four = RunBatch(dir, parallel, "4", parallelArgs);
        ASSERT_EQ(one.status, 0) << c.first << "\n" << one.out;
        ASSERT_EQ(four.status, 0) << c.first << "\n" << four.out;
        const auto expected = Snapshot(dir.File(serial));
        EXPECT_TRUE(expected == Snapshot(dir.File(parallel))) << c.first;
        if (c.first == "sift")
        {
            // One file per name (the two of one base name as one), regions and pictures.
            EXPECT_EQ(expected.size(), 3u * (kImages - 1));
            // The later of two inputs of one base name wins, as in the serial run.
            EXPECT_EQ(CountOf(four.out, "Loaded b/same.jpg"), 1);
        }
        if (c.first == "cluster")
        {
            ASSERT_EQ(expected.size(), 1u);
            EXPECT_EQ(expected.begin()->first, "clusterinput.bin");
        }
    }
}

TEST(BatchThreads, AnUnreadableImageStopsAtItsTurn)
{
    TempDir dir;
    WriteBatch(dir, 25);
    for (const char* exitOnError : {"", "--exitOnErrorLogged"})
    {
        std::vector<std::string> extra{"--descriptor", "sift", "--keepLimited", "4", "--noRandomizeSeed"};
        if (*exitOnError)
            extra.push_back(exitOnError);
        const std::string tag = *exitOnError ? "e" : "";
        RunResult one = RunBatch(dir, "one" + tag, "1", extra);
        RunResult four = RunBatch(dir, "four" + tag, "4", extra);
        const int status = *exitOnError ? 42 : 1;
        EXPECT_EQ(one.status, status) << one.out;
        EXPECT_EQ(four.status, status) << four.out;
        const auto expected = Snapshot(dir.File("one" + tag));
        EXPECT_EQ(expected.size(), 25u);
        EXPECT_EQ(expected.count("img24.bin"), 1u);
        EXPECT_TRUE(expected == Snapshot(dir.File("four" + tag)));
    }
}

TEST(BatchShards, ThreeShardsWriteTheFilesOfTheWholeBatch)
{
    TempDir dir;
    WriteBatch(dir);
    ASSERT_EQ(RunBatch(dir, "whole", "1", {"--descriptor", "sift"}).status, 0);
    for (const char* shard : {"0/3", "1/3", "2/3"})
    {
        RunResult part = RunBatch(dir, "parts", "2", {"--descriptor", "sift", "--shard", shard});
        ASSERT_EQ(part.status, 0) << part.out;
        // Shard 0 holds entries 0, 3, ..., 51; shards 1 and 2 one fewer.
        EXPECT_EQ(CountOf(part.out, "Loaded "), shard[0] == '0' ? 18 : 17) << shard;
    }
    EXPECT_TRUE(Snapshot(dir.File("whole")) == Snapshot(dir.File("parts")));
    // Entry 10 (a/same.jpg) is in shard 1, entry 40 (b/same.jpg) in shard 1 as well.
    EXPECT_EQ(ReadTextFile(dir.File("parts/same.bin")), ReadTextFile(dir.File("whole/same.bin")));

    for (const char* bad : {"3/3", "1", "a/3", "1/0", "-1/3"})
    {
        RunResult refused = RunBatch(dir, "refused", "1", {"--shard", bad});
        EXPECT_EQ(refused.status, 1) << bad;
        EXPECT_EQ(CountOf(refused.out, "--shard needs K/N with 0 <= K < N"), bad[0] == '-' ? 0 : 1) << bad;
    }
}

TEST(BatchProgress, PlainLinesOnStandardErrorReachTheTotal)
{
    TempDir dir;
    WriteBatch(dir);
    for (const char* threads : {"1", "3"})
    {
        RunResult run = RunBatch(dir, "out", threads, {"--detector", "densesampling"});
        ASSERT_EQ(run.status, 0);
        // Not a terminal: a plain line at the end (the run takes less than ten seconds).
        EXPECT_EQ(CountOf(run.err, "Progress: "), 1) << run.err;
        EXPECT_EQ(CountOf(run.err, "Progress: 52/52 images, "), 1) << run.err;
        EXPECT_EQ(CountOf(run.err, " images/s, 0h0m0.00s left\n"), 1) << run.err;
        EXPECT_EQ(CountOf(run.out, "Progress"), 0);
    }
    RunResult quiet = RunBatch(dir, "out", "2", {"--detector", "densesampling", "--showProgress", "0"});
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(CountOf(quiet.err, "Progress"), 0);
    // A single image is no batch: no progress.
    EXPECT_EQ(CountOf(RunLumisk({"img3.jpg", "--noErrorLog"}, dir.Path()).err, "Progress"), 0);
}

TEST(BatchShards, GnuParallelRecipeWritesTheWholeBatch)
{
    if (std::system("command -v parallel >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "GNU parallel is not installed";
    TempDir dir;
    WriteBatch(dir);
    ASSERT_EQ(RunBatch(dir, "whole", "1", {"--detector", "densesampling", "--descriptor", "sift"}).status, 0);
    // The README's recipe, with three shards: entries 10 and 40, of one base name, are
    // both in shard 1.
    const std::string command = "cd '" + dir.Path() +
                                "' && parallel --halt now,fail=1 " LUMISK_BINARY
                                " --batch list.txt --shard {}/3 --threads 2 --detector densesampling"
                                " --descriptor sift --output out --showProgress 0 --noErrorLog"
                                " ::: 0 1 2 >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_TRUE(Snapshot(dir.File("whole")) == Snapshot(dir.File("out")));
}
