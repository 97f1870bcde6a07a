// End-to-end runs of the dense SIFT descriptors ("dift", "dixt" and their colour forms)
// and of sparse SIFT on loaded regions with absurd orientations.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/DescriptorFiles.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace TestSupport;

namespace
{

// A binary result file; its size must be that of its points and descriptors alone.
DescriptorFile Read(const TempDir& dir, const std::string& name)
{
    DescriptorFile file = ReadDescriptorFile(dir.File(name));
    if (file.points && file.vectors)
    {
        EXPECT_EQ(ReadTextFile(dir.File(name)).size(),
                  32 + 8 * static_cast<size_t>(file.points->mHeight * (5 + file.vectors->mWidth)))
            << name;
    }
    return file;
}

// The number of points in the file, -1 when it cannot be read.
long long Count(const TempDir& dir, const std::string& name)
{
    DescriptorFile file = Read(dir, name);
    return file.points && file.vectors ? file.points->mHeight : -1;
}

// Values of `rows` rows from the first, all by default.
std::vector<double> Values(const MatrixPtr& m, long long rows = -1)
{
    return std::vector<double>(m->mData, m->mData + (rows < 0 ? m->mHeight : rows) * m->mWidth);
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
    WriteJpegPhoto(dir.File("photo.jpg"), 100, 80, 5);
    ASSERT_EQ(Dense(dir, "photo.jpg", "dift", "6-4", {"--output", "d.bin"}).status, 0);
    const DescriptorFile d = Read(dir, "d.bin");
    ASSERT_TRUE(d.points && d.vectors);
    // 17 x 13 pooled cells, 14 x 10 windows of 4 x 4; the first at 7.5, written 1-based.
    ASSERT_EQ(d.points->mHeight, 14 * 10);
    ASSERT_EQ(d.vectors->mWidth, 128);
    const double* p = d.points->mData;
    EXPECT_EQ(p[0], 8.5);
    EXPECT_EQ(p[1], 8.5);
    EXPECT_EQ(p[5 * 13], 8.5 + 13 * 6);
    EXPECT_EQ(p[5 * 14 + 1], 14.5);
    EXPECT_EQ(p[5 * 139 + 1], 8.5 + 9 * 6);
    for (int i = 0; i < 140; ++i)
    {
        EXPECT_EQ(p[5 * i + 2], 0.0);
        EXPECT_NEAR(RowNorm(*d.vectors, i), 1.0, 1e-12) << i;
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
    const DescriptorFile rgb = Read(dir, "rgb.bin");
    ASSERT_TRUE(rgb.points && rgb.vectors);
    EXPECT_EQ(rgb.vectors->mWidth, 384);
    EXPECT_EQ(Values(rgb.points), Values(d.points));

    // Two grids follow one another; the second, spacing 8: 13 x 10 cells, 10 x 7 windows.
    ASSERT_EQ(Dense(dir, "photo.jpg", "dift", "6-4+8-4", {"--output", "two.bin"}).status, 0);
    const DescriptorFile two = Read(dir, "two.bin");
    ASSERT_TRUE(two.points && two.vectors);
    ASSERT_EQ(two.points->mHeight, 140 + 70);
    EXPECT_EQ(Values(two.vectors, 140), Values(d.vectors));
    EXPECT_EQ(two.points->mData[5 * 140], 8.5);
    EXPECT_EQ(two.points->mData[5 * 141], 16.5);

    // Quantized orientations: same points, other values, also of unit length.
    ASSERT_EQ(Dense(dir, "photo.jpg", "dixt", "6-4", {"--output", "x.bin"}).status, 0);
    const DescriptorFile x = Read(dir, "x.bin");
    ASSERT_TRUE(x.points && x.vectors);
    EXPECT_EQ(Values(x.points), Values(d.points));
    EXPECT_NE(Values(x.vectors), Values(d.vectors));
    EXPECT_NEAR(RowNorm(*x.vectors, 0), 1.0, 1e-12);
}

TEST(DenseSiftRun, NoScalesWarnsAndWritesNoPoints)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 40, 30, 5);
    RunResult run = Dense(dir, "photo.jpg", "dift", "", {"--output", "o.bin"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(CountOf(run.out, "--ds_scales not set!"), 1);
    EXPECT_EQ(Count(dir, "o.bin"), 0);
}

TEST(DenseSiftRun, ImagesTooSmallForTheGridEndWithAStatus)
{
    TempDir dir;
    const int sizes[][2] = {{1, 1}, {1, 300}, {300, 1}, {700, 12}};
    for (const auto& size : sizes)
    {
        const std::string name = std::to_string(size[0]) + "x" + std::to_string(size[1]) + ".jpg";
        WriteJpegPhoto(dir.File(name), size[0], size[1], 5);
        for (const char* descriptor : {"dift", "rgbdift", "dixt"})
        {
            SCOPED_TRACE(name + " " + descriptor);
            RunResult run = Dense(dir, name, descriptor, "6-4", {"--output", "o.bin"});
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(Count(dir, "o.bin"), 0);
            // Each axis shorter than two cells of 4 is reported, per channel. 700 x 12
            // fits two cells down, too few for a window of four.
            const int channels = std::string(descriptor) == "rgbdift" ? 3 : 1;
            EXPECT_EQ(CountOf(run.out, "Image too small"), channels * ((size[0] < 8) + (size[1] < 8)));
        }
    }
    EXPECT_EQ(Dense(dir, "1x1.jpg", "dift", "6-4", {"--exitOnErrorLogged"}).status, 42);
    // An odd cell size is refused on both axes of each channel; that grid gives no
    // points, the next one (10 x 8 cells, 7 x 5 windows) does.
    WriteJpegPhoto(dir.File("photo.jpg"), 60, 50, 5);
    RunResult odd = Dense(dir, "photo.jpg", "rgbdift", "6-3+6-4", {"--output", "o.bin"});
    EXPECT_EQ(odd.status, 0);
    EXPECT_EQ(CountOf(odd.out, "not implemented"), 6);
    EXPECT_EQ(Count(dir, "o.bin"), 7 * 5);
}

TEST(SparseSiftRun, AbsurdOrientationsInRegionsAreRefusedPromptly)
{
    TempDir dir;
    WriteJpegPhoto(dir.File("photo.jpg"), 80, 60, 5);
    const double inf = std::numeric_limits<double>::infinity();
    WriteDescriptorFile(dir.File("r.bin"),
                        MatrixOf(5, 5,
                                 {40, 30, 2, 3.75e255, 0, 40, 30, 2, 0.25, 0, 40, 30, 2, std::nan(""), 0,
                                  40, 30, 2, -inf, 0, 40, 30, 2, -1e12, 0}),
                        nullptr, true);
    RunResult run = RunLumisk({"photo.jpg", "--loadRegions", "r.bin", "--detector", "none", "--descriptor", "sift",
                               "--outputFormat", "binary", "--output", "o.bin"},
                              dir.Path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(CountOf(run.out, "refused: orientation"), 4);
    EXPECT_EQ(CountOf(run.out, "orientation 3.75e+255 is out of range"), 1);
    const DescriptorFile o = Read(dir, "o.bin");
    ASSERT_TRUE(o.points && o.vectors);
    ASSERT_EQ(o.points->mHeight, 5);
    EXPECT_EQ(o.points->mData[3], 3.75e255) << "orientation written as read";
    EXPECT_GT(RowNorm(*o.vectors, 1), 0.0);
    for (int i : {0, 2, 3, 4})
        EXPECT_EQ(RowNorm(*o.vectors, i), 0.0) << i;
}
