// End-to-end runs of the dense SIFT descriptors ("dift", "dixt" and their colour forms)
// and of sparse SIFT on loaded regions with absurd orientations.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

// A BINDESC1 file as its layout reads: header, then all points, then all descriptors.
struct BinDesc
{
    int length = -1;
    int count = -1;
    std::vector<double> points;
    std::vector<double> values;

    double X(int i) const { return points[5 * i]; }
    double Y(int i) const { return points[5 * i + 1]; }
    const double* Row(int i) const { return values.data() + static_cast<size_t>(i) * length; }
    double Norm(int i) const
    {
        double s = 0.0;
        for (int k = 0; k < length; ++k)
            s += Row(i)[k] * Row(i)[k];
        return std::sqrt(s);
    }
};

BinDesc ReadBinDesc(const std::string& path)
{
    const std::string bytes = ReadTextFile(path);
    BinDesc file;
    if (bytes.size() < 32 || bytes.compare(0, 8, "BINDESC1") != 0)
    {
        ADD_FAILURE() << path << " is no BINDESC1 file";
        return file;
    }
    int32_t header[4];
    std::memcpy(header, bytes.data() + 16, sizeof header);
    file.length = header[1];
    file.count = header[2];
    const size_t points = static_cast<size_t>(file.count) * 5;
    const size_t values = static_cast<size_t>(file.count) * file.length;
    if (bytes.size() != 32 + 8 * (points + values))
    {
        ADD_FAILURE() << path << " has " << bytes.size() << " bytes";
        return file;
    }
    file.points.resize(points);
    file.values.resize(values);
    if (points > 0)
        std::memcpy(file.points.data(), bytes.data() + 32, 8 * points);
    if (values > 0)
        std::memcpy(file.values.data(), bytes.data() + 32 + 8 * points, 8 * values);
    return file;
}

std::string BinDescBytes(const std::vector<std::vector<double>>& points)
{
    std::string bytes = "BINDESC1CIRCLE  ";
    const int32_t header[4] = {5, 0, static_cast<int32_t>(points.size()), 8};
    bytes.append(reinterpret_cast<const char*>(header), sizeof header);
    for (const auto& p : points)
        bytes.append(reinterpret_cast<const char*>(p.data()), 5 * sizeof(double));
    return bytes;
}

void WritePhoto(const TempDir& dir, const std::string& name, int width, int height)
{
    WriteTextFile(dir.File(name), EncodeJpeg(MakeTexturedImage(width, height, 3, 5), JCS_RGB, JCS_YCbCr, 90));
}

RunResult Dense(const TempDir& dir, const std::string& photo, const std::string& descriptor, const std::string& scales,
                std::vector<std::string> more = {})
{
    std::vector<std::string> args{photo, "--detector", "none", "--descriptor", descriptor, "--outputFormat", "binary"};
    if (!scales.empty())
        args.insert(args.end(), {"--ds_scales", scales});
    args.insert(args.end(), more.begin(), more.end());
    return RunLumisk(args, dir.Path());
}

} // namespace

TEST(DenseSiftRun, DiftWritesUnitVectorsOnTheGridOfSpacingAndCellSize)
{
    TempDir dir;
    WritePhoto(dir, "photo.jpg", 100, 80);
    ASSERT_EQ(Dense(dir, "photo.jpg", "dift", "6-4", {"--output", "d.bin"}).status, 0);
    const BinDesc d = ReadBinDesc(dir.File("d.bin"));
    // 17 x 13 pooled cells, 14 x 10 windows of 4 x 4; the first at 7.5, written 1-based.
    ASSERT_EQ(d.count, 14 * 10);
    ASSERT_EQ(d.length, 128);
    EXPECT_EQ(d.X(0), 8.5);
    EXPECT_EQ(d.Y(0), 8.5);
    EXPECT_EQ(d.X(13), 8.5 + 13 * 6);
    EXPECT_EQ(d.Y(14), 14.5);
    EXPECT_EQ(d.Y(139), 8.5 + 9 * 6);
    for (int i = 0; i < d.count; ++i)
    {
        EXPECT_EQ(d.points[5 * i + 2], 0.0);
        EXPECT_NEAR(d.Norm(i), 1.0, 1e-12) << i;
    }

    // A detector's points are dropped: the same file comes out.
    ASSERT_EQ(RunLumisk({"photo.jpg", "--detector", "densesampling", "--descriptor", "dift", "--ds_scales", "6-4",
                         "--outputFormat", "binary", "--output", "s.bin"},
                        dir.Path())
                  .status,
              0);
    EXPECT_EQ(ReadTextFile(dir.File("s.bin")), ReadTextFile(dir.File("d.bin")));

    // Colour: three channels side by side, grey first channel unchanged.
    ASSERT_EQ(Dense(dir, "photo.jpg", "rgbdift", "6-4", {"--output", "rgb.bin"}).status, 0);
    const BinDesc rgb = ReadBinDesc(dir.File("rgb.bin"));
    EXPECT_EQ(rgb.length, 384);
    EXPECT_EQ(rgb.points, d.points);

    // Two grids follow one another; the second, spacing 8: 13 x 10 cells, 10 x 7 windows.
    ASSERT_EQ(Dense(dir, "photo.jpg", "dift", "6-4+8-4", {"--output", "two.bin"}).status, 0);
    const BinDesc two = ReadBinDesc(dir.File("two.bin"));
    ASSERT_EQ(two.count, 140 + 70);
    EXPECT_EQ(std::vector<double>(two.values.begin(), two.values.begin() + 140 * 128), d.values);
    EXPECT_EQ(two.X(140), 8.5);
    EXPECT_EQ(two.X(141), 16.5);

    // Quantized orientations: same points, other values, also of unit length.
    ASSERT_EQ(Dense(dir, "photo.jpg", "dixt", "6-4", {"--output", "x.bin"}).status, 0);
    const BinDesc x = ReadBinDesc(dir.File("x.bin"));
    EXPECT_EQ(x.points, d.points);
    EXPECT_NE(x.values, d.values);
    EXPECT_NEAR(x.Norm(0), 1.0, 1e-12);
}

TEST(DenseSiftRun, NoScalesWarnsAndWritesNoPoints)
{
    TempDir dir;
    WritePhoto(dir, "photo.jpg", 40, 30);
    RunResult run = Dense(dir, "photo.jpg", "dift", "", {"--output", "o.bin"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(CountOf(run.out, "--ds_scales not set!"), 1);
    EXPECT_EQ(ReadBinDesc(dir.File("o.bin")).count, 0);
}

TEST(DenseSiftRun, ImagesTooSmallForTheGridEndWithAStatus)
{
    TempDir dir;
    const int sizes[][2] = {{1, 1}, {1, 300}, {300, 1}, {700, 12}};
    for (const auto& size : sizes)
    {
        const std::string name = std::to_string(size[0]) + "x" + std::to_string(size[1]) + ".jpg";
        WritePhoto(dir, name, size[0], size[1]);
        for (const char* descriptor : {"dift", "rgbdift", "dixt"})
        {
            SCOPED_TRACE(name + " " + descriptor);
            RunResult run = Dense(dir, name, descriptor, "6-4", {"--output", "o.bin"});
            EXPECT_EQ(run.status, 0);
            const BinDesc o = ReadBinDesc(dir.File("o.bin"));
            EXPECT_EQ(o.count, 0);
            // Each axis shorter than two cells of 4 is reported, per channel. 700 x 12
            // fits two cells down, too few for a window of four.
            const int channels = std::string(descriptor) == "rgbdift" ? 3 : 1;
            EXPECT_EQ(CountOf(run.out, "Image too small"), channels * ((size[0] < 8) + (size[1] < 8)));
        }
    }
    EXPECT_EQ(Dense(dir, "1x1.jpg", "dift", "6-4", {"--exitOnErrorLogged"}).status, 42);
    // An odd cell size is refused on both axes of each channel; that grid gives no
    // points, the next one (10 x 8 cells, 7 x 5 windows) does.
    WritePhoto(dir, "photo.jpg", 60, 50);
    RunResult odd = Dense(dir, "photo.jpg", "rgbdift", "6-3+6-4", {"--output", "o.bin"});
    EXPECT_EQ(odd.status, 0);
    EXPECT_EQ(CountOf(odd.out, "not implemented"), 6);
    EXPECT_EQ(ReadBinDesc(dir.File("o.bin")).count, 7 * 5);
}

TEST(SparseSiftRun, AbsurdOrientationsInRegionsAreRefusedPromptly)
{
    TempDir dir;
    WritePhoto(dir, "photo.jpg", 80, 60);
    const double inf = std::numeric_limits<double>::infinity();
    WriteTextFile(dir.File("r.bin"), BinDescBytes({{40, 30, 2, 3.75e255, 0},
                                                   {40, 30, 2, 0.25, 0},
                                                   {40, 30, 2, std::nan(""), 0},
                                                   {40, 30, 2, -inf, 0},
                                                   {40, 30, 2, -1e12, 0}}));
    RunResult run = RunLumisk({"photo.jpg", "--loadRegions", "r.bin", "--detector", "none", "--descriptor", "sift",
                               "--outputFormat", "binary", "--output", "o.bin"},
                              dir.Path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(CountOf(run.out, "refused: orientation"), 4);
    EXPECT_EQ(CountOf(run.out, "orientation 3.75e+255 is out of range"), 1);
    const BinDesc o = ReadBinDesc(dir.File("o.bin"));
    ASSERT_EQ(o.count, 5);
    EXPECT_EQ(o.points[3], 3.75e255) << "orientation written as read";
    EXPECT_GT(o.Norm(1), 0.0);
    for (int i : {0, 2, 3, 4})
        EXPECT_EQ(o.Norm(i), 0.0) << i;
}
