// End-to-end runs of the dense Haar descriptor (surf) and the VIFT names.
#include <gtest/gtest.h>

#include "support/DescriptorFiles.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{
void WritePng(const TempDir& dir, const std::string& name, int width, int height)
{
    std::vector<unsigned char> rows(static_cast<size_t>(width) * height * 3);
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = static_cast<unsigned char>(i * 37 % 251);
    WriteTextFile(dir.File(name), EncodePng(rows, width, height, 8, 2, false));
}
} // namespace

TEST(CliSurf, WritesUnitRowsOnItsOwnGrid)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 100, 100, 4);
    auto run = RunLumisk({"photo.jpg", "--detector", "none", "--descriptor", "surf", "--outputFormat", "binary",
                          "--output", "o.bin"},
                         dir.Path());
    ASSERT_EQ(run.status, 0) << run.out;
    DescriptorFile o = ReadDescriptorFile(dir.File("o.bin"));
    ASSERT_TRUE(o.points && o.vectors);
    ASSERT_EQ(o.points->mHeight, 169);
    ASSERT_EQ(o.vectors->mWidth, 64);
    // The grid starts at 12, 12 in memory, written 1-based; step 6, scale 25.
    const double* first = o.points->PixelPtr(0, 0);
    EXPECT_EQ(first[0], 13.0);
    EXPECT_EQ(first[1], 13.0);
    EXPECT_EQ(first[2], 25.0);
    EXPECT_EQ(o.points->PixelPtr(0, 1)[0], 19.0);
    EXPECT_EQ(o.points->PixelPtr(0, 168)[1], 85.0);
    for (long long i = 0; i < 169; ++i)
    {
        const double* row = o.vectors->PixelPtr(0, i);
        double sum = 0;
        for (int k = 0; k < 64; ++k)
            sum += row[k] * row[k];
        EXPECT_NEAR(sum, 1.0, 1e-9) << i;
    }

    // Three channels; detector points give way to the grid with a warning; the sizes
    // come from the options.
    auto rgb = RunLumisk({"photo.jpg", "--descriptor", "rgbsurf", "--outputFormat", "binary", "--output", "rgb.bin"},
                         dir.Path());
    ASSERT_EQ(rgb.status, 0) << rgb.out;
    EXPECT_EQ(CountOf(rgb.out, "detector points: SURF places its own grid"), 1) << rgb.out;
    DescriptorFile c = ReadDescriptorFile(dir.File("rgb.bin"));
    ASSERT_TRUE(c.points && c.vectors);
    EXPECT_EQ(c.points->mHeight, 169);
    EXPECT_EQ(c.vectors->mWidth, 192);

    ASSERT_EQ(RunLumisk({"photo.jpg", "--detector", "none", "--descriptor", "surf", "--surf-spaciality", "2",
                         "--surf-haar-size", "2", "--outputFormat", "binary", "--output", "s2.bin"},
                        dir.Path())
                  .status,
              0);
    DescriptorFile s2 = ReadDescriptorFile(dir.File("s2.bin"));
    ASSERT_TRUE(s2.points && s2.vectors);
    // 100 / 2 = 50 -> Haar 49 -> 24 sums, windows of 2: 23 x 23; step 4, span 8.
    EXPECT_EQ(s2.vectors->mWidth, 16);
    EXPECT_EQ(s2.points->mHeight, 23 * 23);
    EXPECT_EQ(s2.points->PixelPtr(0, 0)[0], 5.0);
    EXPECT_EQ(s2.points->PixelPtr(0, 0)[2], 9.0);

    auto zero = RunLumisk({"photo.jpg", "--detector", "none", "--descriptor", "surf", "--surf-subregion-size", "0",
                           "--output", "z.txt"},
                          dir.Path());
    EXPECT_EQ(zero.status, 1);
    EXPECT_EQ(CountOf(zero.out, "SURF sizes must be at least 1"), 1);
    EXPECT_FALSE(PathExists(dir.File("z.txt")));
}

TEST(CliVift, EndsWithTheMissingKernel)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 64, 48, 4);
    for (std::string name : {"vift", "vift2", "opponentvift3", "rgbvift4", "vift_ds_4"})
    {
        auto run = RunLumisk({"photo.jpg", "--descriptor", name, "--output", "o.txt"}, dir.Path());
        EXPECT_EQ(run.status, 1) << name;
        EXPECT_EQ(CountOf(run.out, "VIFT not compiled in"), 1) << name << run.out;
        EXPECT_FALSE(PathExists(dir.File("o.txt"))) << name;
    }
    auto strict = RunLumisk({"photo.jpg", "--descriptor", "vift", "--exitOnErrorLogged"}, dir.Path());
    EXPECT_EQ(strict.status, 42);
    EXPECT_EQ(CountOf(strict.out, "VIFT not compiled in"), 1);
}

TEST(CliSurfVift, TinyImagesEndWithAStatus)
{
    TempDir dir;
    const std::pair<int, int> sizes[] = {{1, 1}, {1, 300}, {700, 12}};
    for (const auto& size : sizes)
    {
        const std::string name = std::to_string(size.first) + "x" + std::to_string(size.second) + ".png";
        WritePng(dir, name, size.first, size.second);
        for (std::string descriptor : {"surf", "rgbsurf"})
        {
            auto run = RunLumisk({name, "--detector", "none", "--descriptor", descriptor, "--output", "o.txt"},
                                 dir.Path());
            EXPECT_EQ(run.status, 0) << name << " " << descriptor;
            EXPECT_EQ(ReadTextFile(dir.File("o.txt")).substr(0, 6), "VESK1\n") << name;
        }
        EXPECT_EQ(RunLumisk({name, "--descriptor", "surf"}, dir.Path()).status, 0) << name;
    }
}
