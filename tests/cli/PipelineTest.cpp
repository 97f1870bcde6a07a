// End-to-end runs of the pipeline: detectors, regions files, thinning and batches.
#include <gtest/gtest.h>

#include <thread>

#include "support/DescriptorFiles.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{
int Status(const TempDir& dir, std::vector<std::string> args)
{
    return RunLumisk(args, dir.Path()).status;
}
} // namespace

TEST(PipelineDense, WritesTheStaggeredGridInBothFormatsAndShiftsByTheBorder)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 100, 80, 1);
    const std::vector<std::string> dense{"photo.jpg", "--detector", "densesampling", "--descriptor", "none"};
    auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), dense.begin(), dense.end());
        return Status(dir, more);
    };
    ASSERT_EQ(with({"--output", "o.txt"}), 0);
    std::vector<TextRow> points = ReadTextRows(dir.File("o.txt"));
    // Files are 1-based: the first grid row y = 6 is written as 7, x = 9 as 10; the
    // last row is y = 72, below 80 - 6.
    ASSERT_EQ(points.size(), 12u * 15);
    EXPECT_EQ(points[0].x, 10.0);
    EXPECT_EQ(points[0].y, 7.0);
    EXPECT_EQ(points[0].scale, 1.2);
    EXPECT_EQ(points[15].x, 7.0);
    EXPECT_EQ(points.back().y, 73.0);

    // The binary form holds the same points; the regions file takes the same format.
    ASSERT_EQ(with({"--output", "o.bin", "--outputFormat", "binary", "--saveRegions", "s.bin"}), 0);
    EXPECT_EQ(ReadTextFile(dir.File("o.bin")).compare(0, 8, "BINDESC1"), 0);
    EXPECT_EQ(ReadTextFile(dir.File("s.bin")), ReadTextFile(dir.File("o.bin")));
    ASSERT_EQ(Status(dir, {"photo.jpg", "--detector", "none", "--loadRegions", "o.bin", "--output", "t.txt"}), 0);
    EXPECT_EQ(ReadTextFile(dir.File("t.txt")), ReadTextFile(dir.File("o.txt")));

    // A cut border is added back: the same grid on the inner 90 x 70, moved by 5.
    ASSERT_EQ(with({"--borderWidth", "5", "--output", "b.txt"}), 0);
    std::vector<TextRow> shifted = ReadTextRows(dir.File("b.txt"));
    ASSERT_EQ(shifted.size(), 10u * 13);
    EXPECT_EQ(shifted[0].x, 10.0 + 5);
    EXPECT_EQ(shifted[0].y, 7.0 + 5);

    auto noOutput = RunLumisk({"photo.jpg", "--detector", "densesampling"}, dir.Path());
    EXPECT_EQ(noOutput.status, 0);
    EXPECT_EQ(CountOf(noOutput.out, "Warning: no output file to write to. Did you forget to specify --output?"), 1);

    auto unknown = RunLumisk({"photo.jpg", "--detector", "nosuch", "--output", "u.txt"}, dir.Path());
    EXPECT_EQ(unknown.status, 1);
    EXPECT_EQ(CountOf(unknown.out, "[ERROR] Unknown detector mode: nosuch"), 1);
    EXPECT_FALSE(PathExists(dir.File("u.txt")));
    EXPECT_EQ(Status(dir, {"photo.jpg", "--detector", "nosuch", "--exitOnErrorLogged"}), 42);

    // Refused also without points.
    auto bad = RunLumisk({"photo.jpg", "--detector", "none", "--descriptor", "nosuchdescriptor"}, dir.Path());
    EXPECT_EQ(bad.status, 1);
    EXPECT_TRUE(Has(bad.out, "[ERROR] Invalid descriptor name"));
    EXPECT_TRUE(Has(bad.err, "[ERROR] Invalid descriptor name: nosuchdescriptor"));
}

TEST(PipelineRegions, LoadedRegionsAreCopiedUnchanged)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 90, 70, 2);
    ASSERT_EQ(Status(dir, {"photo.jpg", "--detector", "densesampling", "--output", "o.txt"}), 0);
    ASSERT_EQ(Status(dir, {"photo.jpg", "--detector", "none", "--loadRegions", "o.txt", "--saveRegions", "s.txt"}), 0);
    EXPECT_EQ(ReadTextFile(dir.File("s.txt")), ReadTextFile(dir.File("o.txt")));
    // The border is taken off on loading and added back on writing.
    ASSERT_EQ(Status(dir, {"photo.jpg", "--detector", "none", "--loadRegions", "o.txt", "--borderWidth", "3",
                        "--descriptor", "none", "--output", "b.txt"}),
              0);
    EXPECT_EQ(ReadTextFile(dir.File("b.txt")), ReadTextFile(dir.File("o.txt")));

    ASSERT_EQ(Status(dir, {"photo.jpg", "--detector", "none", "--output", "e.txt"}), 0);
    EXPECT_TRUE(ReadTextRows(dir.File("e.txt")).empty());
    WriteTextFile(dir.File("garbage.txt"), "garbage\n");
    EXPECT_EQ(Status(dir, {"photo.jpg", "--detector", "none", "--loadRegions", "garbage.txt"}), 1);
}

TEST(PipelineKeepLimited, FixedSeedRepeatsTheSubsetAndTheClockChangesIt)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 100, 100, 3);
    auto run = [&](const std::string& out, const std::string& limit, bool fixed) {
        std::vector<std::string> a{"photo.jpg", "--detector", "densesampling", "--descriptor", "none",
                                   "--keepLimited", limit, "--output", out};
        if (fixed)
            a.push_back("--noRandomizeSeed");
        EXPECT_EQ(Status(dir, a), 0);
        return ReadTextFile(dir.File(out));
    };
    const std::string first = run("a.txt", "10", true);
    EXPECT_EQ(run("b.txt", "10", true), first);
    EXPECT_EQ(ReadTextRows(dir.File("a.txt")).size(), 10u);

    const std::string clock1 = run("c.txt", "10", false);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_NE(run("d.txt", "10", false), clock1);

    // A limit equal to the count changes nothing, and 0 means no limit.
    EXPECT_EQ(run("all.txt", "225", false), run("plain.txt", "0", false));
}

TEST(PipelineBatch, OneFilePerImageInTheOutputDirectory)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("one.jpg"), 60, 50, 4);
    WriteJpegPhoto(dir.File("two.jpg"), 70, 40, 5);
    WriteTextFile(dir.File("list.txt"), "one.jpg\n# skipped\ntwo.jpg\n");
    ASSERT_EQ(Status(dir, {"--batch", "list.txt", "--detector", "densesampling", "--output", "out"}), 0);
    EXPECT_EQ(ReadTextRows(dir.File("out/one.bin")).size(), 7u * 8);
    EXPECT_EQ(ReadTextRows(dir.File("out/two.bin")).size(), 5u * 10);

    auto silent = RunLumisk({"--batch", "list.txt", "--detector", "densesampling"}, dir.Path());
    EXPECT_EQ(silent.status, 0);
    EXPECT_EQ(CountOf(silent.out, "Did you forget to specify --output?"), 2);
    EXPECT_FALSE(PathExists(dir.File("one.bin")) || PathExists(dir.File("two.bin")));

    // Cluster input goes to one file in the output directory, and no per-image file.
    ASSERT_EQ(Status(dir, {"--batch", "list.txt", "--detector", "densesampling", "--descriptor", "none",
                        "--clusterInput", "--output", "cl"}),
              0);
    std::vector<TextRow> cluster = ReadTextRows(dir.File("cl/clusterinput.bin"));
    ASSERT_EQ(cluster.size(), 7u * 8 + 5u * 10);
    EXPECT_TRUE(cluster[0].x == 0 && cluster[0].y == 0 && cluster[0].scale == 0);
    EXPECT_FALSE(PathExists(dir.File("cl/one.bin")));
}

TEST(PipelineSift, DefaultDetectorAndSiftFamilyWriteWholeNumberRows)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 160, 120, 6);
    const std::pair<std::vector<std::string>, int> runs[] = {
        {{"--descriptor", "sift"}, 128},
        {{"--descriptor", "opponentsift"}, 384},
        {{"--descriptor", "rgbn1sift"}, 384},
        {{"--detector", "colorharrislaplace", "--descriptor", "sift"}, 128},
        {{"--detector", "laplacian", "--descriptor", "sift"}, 128},
        {{"--detector", "densesampling", "--descriptor", "csift"}, 384},
    };
    size_t harrisPoints = 0;
    for (const auto& r : runs)
    {
        std::vector<std::string> args{"photo.jpg", "--output", "o.txt"};
        args.insert(args.end(), r.first.begin(), r.first.end());
        ASSERT_EQ(Status(dir, args), 0) << r.first.back();
        int length = 0;
        std::vector<TextRow> rows = ReadTextRows(dir.File("o.txt"), &length);
        EXPECT_EQ(length, r.second) << r.first.back();
        ASSERT_GT(rows.size(), 5u);
        // The colour variants describe the same Harris-Laplace points, by falling cornerness.
        if (r.first.size() == 2)
        {
            harrisPoints = harrisPoints ? harrisPoints : rows.size();
            EXPECT_EQ(rows.size(), harrisPoints);
            for (size_t i = 1; i < rows.size(); ++i)
                EXPECT_GE(rows[i - 1].cornerness, rows[i].cornerness);
        }
        for (const TextRow& row : rows)
        {
            ASSERT_EQ(row.values.size(), static_cast<size_t>(r.second));
            double sum = 0;
            for (double v : row.values)
            {
                ASSERT_TRUE(v == static_cast<int>(v) && v >= 0.0 && v <= 512.0) << v;
                sum += v;
            }
            EXPECT_GT(sum, 0.0);
        }
        EXPECT_TRUE(r.first[1] != "densesampling" || rows[0].scale == 1.2);
    }
}
