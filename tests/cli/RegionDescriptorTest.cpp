// End-to-end runs of the region descriptors: colour histograms, hue joined to SIFT,
// and images too small for any patch.
#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "support/DescriptorFiles.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

// Runs a dense region descriptor on photo.jpg; the rows of o.txt.
std::vector<std::vector<double>> Dense(const TempDir& dir, const std::string& name, int* length,
                                       std::vector<std::string> more = {})
{
    std::vector<std::string> args{"photo.jpg", "--detector", "densesampling", "--descriptor", name, "--output", "o.txt"};
    args.insert(args.end(), more.begin(), more.end());
    RunResult run = RunLumisk(args, dir.Path());
    EXPECT_EQ(run.status, 0) << name << "\n" << run.out << run.err;
    std::vector<std::vector<double>> rows;
    for (const TextRow& row : ReadTextRows(dir.File("o.txt"), length))
        rows.push_back(row.values);
    return rows;
}

const char* const sRegionNames[] = {"rgbhistogram", "opponenthistogram",     "nrghistogram",
                                    "huehistogram", "transformedcolorhistogram", "huesift",
                                    "huefist",      "colormoments",          "colormomentinvariants"};

} // namespace

TEST(RegionDescriptorCli, HistogramsHaveTheirLengthsAndUnitPlanes)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 100, 80, 3);
    int length = 0;
    std::vector<std::vector<double>> rgb = Dense(dir, "rgbhistogram", &length);
    ASSERT_EQ(length, 45);
    ASSERT_EQ(rgb.size(), 12u * 15);
    // Each plane is normalised on its own (values printed to six digits).
    for (const auto& row : rgb)
        for (int p = 0; p < 3; ++p)
            ASSERT_NEAR(std::accumulate(row.begin() + 15 * p, row.begin() + 15 * (p + 1), 0.0), 1.0, 1e-4);

    std::vector<std::vector<double>> hue = Dense(dir, "huehistogram", &length);
    EXPECT_EQ(length, 37);
    EXPECT_NEAR(std::accumulate(hue[0].begin(), hue[0].end(), 0.0), 1.0, 1e-4);

    // SIFT first, then the hue histogram x 512 in whole numbers.
    std::vector<std::vector<double>> sift = Dense(dir, "sift", &length);
    std::vector<std::vector<double>> joined = Dense(dir, "huesift", &length);
    ASSERT_EQ(length, 128 + 37);
    ASSERT_EQ(joined.size(), sift.size());
    for (size_t i = 0; i < joined.size(); ++i)
    {
        ASSERT_TRUE(std::equal(sift[i].begin(), sift[i].end(), joined[i].begin())) << i;
        double total = 0;
        for (int k = 128; k < 128 + 37; ++k)
        {
            ASSERT_EQ(joined[i][k], std::floor(joined[i][k]));
            // The histogram went through six printed digits: truncation within that.
            ASSERT_LE(joined[i][k], 512.0 * hue[i][k - 128] + 1e-3) << i << " " << k;
            ASSERT_GT(joined[i][k], 512.0 * hue[i][k - 128] - 1.0 - 1e-3) << i << " " << k;
            total += joined[i][k];
        }
        ASSERT_LE(total, 512.0);
        ASSERT_GT(total, 512.0 - 37);
    }
}

TEST(RegionDescriptorCli, TinyImagesAndFarPointsEndWithAStatus)
{
    TempDir dir;
    // A regions file with a point on the image, one at a large scale and one that no
    // patch can reach.
    WriteTextFile(dir.File("points.txt"), "VESK1\n0\n3\n<CIRCLE 1 1 1.2 0 0>;;\n<CIRCLE 1 1 40 0 0>;;\n"
                                          "<CIRCLE -900 1 1.2 0 0>;;\n");
    const int sizes[][2] = {{1, 1}, {1, 300}, {700, 12}};
    for (const auto& size : sizes)
    {
        WriteJpegPhoto(dir.File("tiny.jpg"), size[0], size[1], 5);
        for (const char* name : sRegionNames)
        {
            const std::string where = std::to_string(size[0]) + "x" + std::to_string(size[1]) + " " + name;
            RunResult dense = RunLumisk({"tiny.jpg", "--detector", "densesampling", "--descriptor", name, "--output",
                                         "d.txt", "--descriptorPreSmoothing"},
                                        dir.Path());
            EXPECT_EQ(dense.status, 0) << where << "\n" << dense.out << dense.err;
            RunResult loaded = RunLumisk({"tiny.jpg", "--detector", "none", "--loadRegions", "points.txt",
                                          "--descriptor", name, "--output", "l.txt"},
                                         dir.Path());
            EXPECT_EQ(loaded.status, 0) << where << "\n" << loaded.out << loaded.err;
            // The far point is left out with a warning.
            EXPECT_EQ(ReadTextRows(dir.File("l.txt")).size(), 2u) << where;
            EXPECT_EQ(CountOf(loaded.out, "has no patch: left out"), 1) << where;
        }
    }
}

TEST(RegionDescriptorCli, OpponentOutliersLeaveTheirPatchBehind)
{
    TempDir dir;
    PlainImage yellow;
    yellow.width = 40;
    yellow.height = 40;
    yellow.components = 3;
    for (int i = 0; i < 40 * 40; ++i)
        yellow.pixels.insert(yellow.pixels.end(), {255, 255, 0});
    WriteTextFile(dir.File("yellow.png"), EncodePng(yellow.pixels, 40, 40, 8, 2, false));
    WriteTextFile(dir.File("one.txt"), "VESK1\n0\n1\n<CIRCLE 20 21 1.2 0 0>;;\n");
    RunResult run = RunLumisk({"yellow.png", "--detector", "none", "--loadRegions", "one.txt", "--descriptor",
                               "opponenthistogram", "--output", "o.txt"},
                              dir.Path());
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(CountOf(run.out, "[WARNING] Opponent color histogram 100% outliers: 19 20"), 1);
    // The patch of side 25 as a raw array: 200 bytes of header, 3 bytes a pixel.
    const std::string raw = ReadTextFile(dir.File("outlier.raw"));
    EXPECT_EQ(raw.rfind("version: 1, binary: 1, type: uint8, elemSize: 3, width: 25, height: 25", 0), 0u);
    EXPECT_EQ(raw.size(), 200u + 25 * 25 * 3);
}
