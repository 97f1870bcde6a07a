// End-to-end runs of the pipeline: detectors, regions files, thinning and batches.
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

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
struct Point
{
    double x, y, scale;
};

// The points of a VESK1 file, in order.
std::vector<Point> ReadPoints(const std::string& text)
{
    std::istringstream in(text);
    std::string magic;
    int length = 0, count = 0;
    in >> magic >> length >> count;
    EXPECT_EQ(magic, "VESK1");
    std::vector<Point> points;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line))
    {
        if (line.empty())
            continue;
        std::istringstream fields(line.substr(line.find(' ') + 1));
        Point p{};
        fields >> p.x >> p.y >> p.scale;
        points.push_back(p);
    }
    EXPECT_EQ(static_cast<int>(points.size()), count);
    return points;
}

void WritePhoto(const TempDir& dir, const std::string& name, int width, int height, unsigned seed)
{
    TestSupport::PlainImage picture = TestSupport::MakeTexturedImage(width, height, 3, seed);
    WriteTextFile(dir.File(name), TestSupport::EncodeJpeg(picture, JCS_RGB, JCS_YCbCr, 90));
}
} // namespace

TEST(PipelineDense, WritesTheStaggeredGridInBothFormatsAndShiftsByTheBorder)
{
    TempDir dir;
    WritePhoto(dir, "photo.jpg", 100, 80, 1);
    auto text = RunLumisk({"photo.jpg", "--detector", "densesampling", "--descriptor", "none", "--output", "o.txt"},
                          dir.Path());
    ASSERT_EQ(text.status, 0) << text.out;
    std::vector<Point> points = ReadPoints(ReadTextFile(dir.File("o.txt")));
    ASSERT_FALSE(points.empty());
    // Files are 1-based: the first grid row y = 6 is written as 7, x = 9 as 10.
    EXPECT_EQ(points[0].x, 10.0);
    EXPECT_EQ(points[0].y, 7.0);
    EXPECT_EQ(points[0].scale, 1.2);
    EXPECT_EQ(points.back().y, 73.0);

    auto binary = RunLumisk({"photo.jpg", "--detector", "densesampling", "--descriptor", "none", "--output", "o.bin",
                             "--outputFormat", "binary", "--saveRegions", "s.txt"},
                            dir.Path());
    ASSERT_EQ(binary.status, 0);
    EXPECT_EQ(ReadTextFile(dir.File("o.bin")).compare(0, 8, "BINDESC1"), 0);
    // The regions file takes the same format option as the result.
    EXPECT_EQ(ReadTextFile(dir.File("s.txt")), ReadTextFile(dir.File("o.bin")));

    auto border = RunLumisk({"photo.jpg", "--detector", "densesampling", "--borderWidth", "5", "--output", "b.txt"},
                            dir.Path());
    ASSERT_EQ(border.status, 0);
    std::vector<Point> shifted = ReadPoints(ReadTextFile(dir.File("b.txt")));
    ASSERT_FALSE(shifted.empty());
    EXPECT_EQ(shifted[0].x, 10.0 + 5);
    EXPECT_EQ(shifted[0].y, 7.0 + 5);

    auto noOutput = RunLumisk({"photo.jpg", "--detector", "densesampling"}, dir.Path());
    EXPECT_EQ(noOutput.status, 0);
    EXPECT_EQ(CountOf(noOutput.out, "Warning: no output file to write to. Did you forget to specify --output?"), 1);

    auto unknown = RunLumisk({"photo.jpg", "--detector", "nosuch"}, dir.Path());
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.out.find("[ERROR] Unknown detector mode: nosuch"), std::string::npos);
    auto strict = RunLumisk({"photo.jpg", "--detector", "nosuch", "--exitOnErrorLogged"}, dir.Path());
    EXPECT_EQ(strict.status, 42);

    auto badDescriptor = RunLumisk({"photo.jpg", "--detector", "none", "--descriptor", "nosuchdescriptor"},
                                   dir.Path());
    EXPECT_EQ(badDescriptor.status, 1);
    EXPECT_NE(badDescriptor.out.find("[ERROR] Invalid descriptor name"), std::string::npos);
    EXPECT_NE(badDescriptor.err.find("[ERROR] Invalid descriptor name: nosuchdescriptor"), std::string::npos);
}

TEST(PipelineRegions, LoadedRegionsAreCopiedUnchanged)
{
    TempDir dir;
    WritePhoto(dir, "photo.jpg", 90, 70, 2);
    ASSERT_EQ(RunLumisk({"photo.jpg", "--detector", "densesampling", "--output", "o.txt"}, dir.Path()).status, 0);
    auto copy = RunLumisk({"photo.jpg", "--detector", "none", "--loadRegions", "o.txt", "--saveRegions", "s.txt"},
                          dir.Path());
    ASSERT_EQ(copy.status, 0) << copy.out;
    EXPECT_EQ(ReadTextFile(dir.File("s.txt")), ReadTextFile(dir.File("o.txt")));

    auto borders = RunLumisk({"photo.jpg", "--detector", "none", "--loadRegions", "o.txt", "--borderWidth", "3",
                              "--descriptor", "none", "--output", "b.txt"},
                             dir.Path());
    ASSERT_EQ(borders.status, 0);
    EXPECT_EQ(ReadTextFile(dir.File("b.txt")), ReadTextFile(dir.File("o.txt")));

    auto empty = RunLumisk({"photo.jpg", "--detector", "none", "--output", "e.txt"}, dir.Path());
    ASSERT_EQ(empty.status, 0);
    EXPECT_TRUE(ReadPoints(ReadTextFile(dir.File("e.txt"))).empty());

    WriteTextFile(dir.File("garbage.txt"), "garbage\n");
    auto garbage = RunLumisk({"photo.jpg", "--detector", "none", "--loadRegions", "garbage.txt"}, dir.Path());
    EXPECT_EQ(garbage.status, 1);
}

TEST(PipelineKeepLimited, FixedSeedRepeatsTheSubsetAndTheClockChangesIt)
{
    TempDir dir;
    WritePhoto(dir, "photo.jpg", 100, 100, 3);
    std::vector<std::string> args{"photo.jpg", "--detector", "densesampling", "--descriptor", "none",
                                  "--keepLimited", "10"};
    auto run = [&](const std::string& out, bool fixed) {
        std::vector<std::string> a = args;
        a.insert(a.end(), {"--output", out});
        if (fixed)
            a.push_back("--noRandomizeSeed");
        EXPECT_EQ(RunLumisk(a, dir.Path()).status, 0);
        return ReadTextFile(dir.File(out));
    };
    std::string first = run("a.txt", true);
    EXPECT_EQ(ReadPoints(first).size(), 10u);
    EXPECT_EQ(run("b.txt", true), first);
    // The kept rows stay in their grid order.
    std::vector<Point> kept = ReadPoints(first);
    for (size_t i = 1; i < kept.size(); ++i)
        EXPECT_TRUE(kept[i - 1].y < kept[i].y || (kept[i - 1].y == kept[i].y && kept[i - 1].x < kept[i].x));

    std::string clock1 = run("c.txt", false);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    std::string clock2 = run("d.txt", false);
    EXPECT_NE(clock1, clock2);

    // A limit not below the count changes nothing.
    std::vector<std::string> all{"photo.jpg", "--detector", "densesampling", "--descriptor", "none",
                                 "--keepLimited", "100000", "--output", "all.txt"};
    ASSERT_EQ(RunLumisk(all, dir.Path()).status, 0);
    std::vector<std::string> plain{"photo.jpg", "--detector", "densesampling", "--output", "plain.txt"};
    ASSERT_EQ(RunLumisk(plain, dir.Path()).status, 0);
    EXPECT_EQ(ReadTextFile(dir.File("all.txt")), ReadTextFile(dir.File("plain.txt")));
}

TEST(PipelineBatch, OneFilePerImageInTheOutputDirectory)
{
    TempDir dir;
    WritePhoto(dir, "one.jpg", 60, 50, 4);
    WritePhoto(dir, "two.jpg", 70, 40, 5);
    WriteTextFile(dir.File("list.txt"), "one.jpg\n# skipped\ntwo.jpg\n");
    auto batch = RunLumisk({"--batch", "list.txt", "--detector", "densesampling", "--output", "out"}, dir.Path());
    ASSERT_EQ(batch.status, 0) << batch.out;
    EXPECT_EQ(ReadTextFile(dir.File("out/one.bin")).compare(0, 5, "VESK1"), 0);
    EXPECT_TRUE(PathExists(dir.File("out/two.bin")));

    auto silent = RunLumisk({"--batch", "list.txt", "--detector", "densesampling"}, dir.Path());
    EXPECT_EQ(silent.status, 0);
    EXPECT_EQ(CountOf(silent.out, "Did you forget to specify --output?"), 2);

    auto cluster = RunLumisk({"--batch", "list.txt", "--detector", "densesampling", "--descriptor", "none",
                              "--clusterInput", "--output", "cl"},
                             dir.Path());
    EXPECT_EQ(cluster.status, 0);
    EXPECT_TRUE(PathExists(dir.File("cl/clusterinput.bin")));
    EXPECT_FALSE(PathExists(dir.File("cl/one.bin")));
}

namespace
{
struct Row
{
    double x, y, scale, cornerness;
    std::vector<double> values;
};

// Points and descriptors of a VESK1 file.
std::vector<Row> ReadRows(const std::string& text, int& length)
{
    std::istringstream in(text);
    std::string magic;
    int count = 0;
    in >> magic >> length >> count;
    std::vector<Row> rows;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line))
    {
        if (line.empty())
            continue;
        Row row{};
        size_t close = line.find('>');
        std::istringstream point(line.substr(line.find(' ') + 1, close));
        double orientation;
        point >> row.x >> row.y >> row.scale >> orientation >> row.cornerness;
        std::istringstream values(line.substr(line.find(';') + 1));
        double v;
        while (values >> v)
            row.values.push_back(v);
        rows.push_back(row);
    }
    EXPECT_EQ(static_cast<int>(rows.size()), count);
    return rows;
}
} // namespace

TEST(PipelineSift, DefaultDetectorAndSiftFamilyWriteWholeNumberRows)
{
    TempDir dir;
    WritePhoto(dir, "photo.jpg", 160, 120, 6);
    auto sift = RunLumisk({"photo.jpg", "--descriptor", "sift", "--output", "o.txt"}, dir.Path());
    ASSERT_EQ(sift.status, 0) << sift.out;
    int length = 0;
    std::vector<Row> rows = ReadRows(ReadTextFile(dir.File("o.txt")), length);
    EXPECT_EQ(length, 128);
    ASSERT_GT(rows.size(), 5u);
    for (size_t i = 0; i < rows.size(); ++i)
    {
        ASSERT_EQ(rows[i].values.size(), 128u);
        if (i > 0)
        {
            EXPECT_GE(rows[i - 1].cornerness, rows[i].cornerness);
        }
        double sum = 0;
        for (double v : rows[i].values)
        {
            ASSERT_EQ(v, static_cast<int>(v));
            ASSERT_GE(v, 0.0);
            ASSERT_LE(v, 512.0);
            sum += v;
        }
        EXPECT_GT(sum, 0.0);
    }

    for (const char* descriptor : {"opponentsift", "rgbn1sift"})
    {
        auto colour = RunLumisk({"photo.jpg", "--descriptor", descriptor, "--output", "c.txt"}, dir.Path());
        ASSERT_EQ(colour.status, 0) << descriptor;
        std::vector<Row> colourRows = ReadRows(ReadTextFile(dir.File("c.txt")), length);
        EXPECT_EQ(length, 384) << descriptor;
        EXPECT_EQ(colourRows.size(), rows.size());
    }

    for (const char* detector : {"colorharrislaplace", "laplacian"})
    {
        auto run = RunLumisk({"photo.jpg", "--detector", detector, "--descriptor", "sift", "--output", "d.txt"},
                             dir.Path());
        EXPECT_EQ(run.status, 0) << detector;
        ReadRows(ReadTextFile(dir.File("d.txt")), length);
        EXPECT_EQ(length, 128);
    }

    auto dense = RunLumisk({"photo.jpg", "--detector", "densesampling", "--descriptor", "csift", "--output", "e.txt"},
                           dir.Path());
    ASSERT_EQ(dense.status, 0);
    std::vector<Row> denseRows = ReadRows(ReadTextFile(dir.File("e.txt")), length);
    EXPECT_EQ(length, 384);
    ASSERT_FALSE(denseRows.empty());
    EXPECT_EQ(denseRows[0].scale, 1.2);
}
