// End-to-end runs of --drawRegions: the picture of the points, read back by the
// system's own PNG decoder.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <png.h>
#include <sys/stat.h>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"
#include "persistency/RepositoryInFileSystem.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"
#include "util/IOBuffer.h"

using namespace TestSupport;
using Tavlin::Core::Array::Array2dVec3UInt8;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::PointDescriptorTable;

namespace
{

PlainImage WritePngPhoto(const TempDir& dir, const std::string& name, int width, int height, unsigned seed)
{
    PlainImage picture = MakeTexturedImage(width, height, 3, seed);
    WriteTextFile(dir.File(name), EncodePng(picture.pixels, width, height, 8, PNG_COLOR_TYPE_RGB, false));
    return picture;
}

std::unique_ptr<Array2dVec3UInt8> ReadPicture(const std::string& path)
{
    return ReadPngGuarded(ReadTextFile(path));
}

// The points of a regions file in whole-image coordinates, 0-based.
std::unique_ptr<PointDescriptorTable> ReadPoints(const std::string& path)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer(
        Tavlin::Persistency::RepositoryGetFile(path, false, false).GetReadBuffer());
    if (!buffer)
        return nullptr;
    return std::unique_ptr<PointDescriptorTable>(PointDescriptorTable::ImportFromBuffer(FeatureDefinition(""),
                                                                                        buffer.get(), 0));
}

// Pixels where the picture differs from the input; each must lie within the reach of a
// point's circle (radius 3 x scale around its rounded centre).
int ChangedPixels(const Array2dVec3UInt8& picture, const PlainImage& input, const PointDescriptorTable* points)
{
    int changed = 0;
    for (int y = 0; y < input.height; ++y)
        for (int x = 0; x < input.width; ++x)
        {
            const unsigned char* a = picture.PixelPtr(x, y);
            const unsigned char* b = input.Pixel(x, y);
            if (a[0] == b[0] && a[1] == b[1] && a[2] == b[2])
                continue;
            ++changed;
            bool reached = false;
            for (int i = 0; points && !reached && i < points->Size(); ++i)
                reached = std::hypot(x - std::round(points->X()[i]), y - std::round(points->Y()[i])) <=
                          3.0 * points->Scale()[i] + 0.75;
            EXPECT_TRUE(reached) << x << ", " << y;
        }
    return changed;
}

} // namespace

TEST(RegionsPicture, DefaultRunDrawsOnlyWithinTheCirclesOfItsPoints)
{
    TempDir dir;
    const PlainImage input = WritePngPhoto(dir, "photo.png", 120, 90, 11);
    for (const std::string border : {"0", "6"})
    {
        SCOPED_TRACE("border " + border);
        auto run = RunLumisk({"photo.png", "--drawRegions", "pic/photo.png", "--output", "points.txt",
                              "--borderWidth", border},
                             dir.Path());
        ASSERT_EQ(run.status, 0) << run.out;
        std::unique_ptr<Array2dVec3UInt8> picture = ReadPicture(dir.File("pic/photo.png"));
        ASSERT_TRUE(picture);
        ASSERT_EQ(picture->mWidth, 120);
        ASSERT_EQ(picture->mHeight, 90);
        std::unique_ptr<PointDescriptorTable> points = ReadPoints(dir.File("points.txt"));
        ASSERT_TRUE(points);
        ASSERT_GT(points->Size(), 3);
        EXPECT_GT(ChangedPixels(*picture, input, points.get()), 3 * points->Size());
    }

    // Without points the picture is the input.
    ASSERT_EQ(RunLumisk({"photo.png", "--detector", "none", "--drawRegions", "none.png"}, dir.Path()).status, 0);
    std::unique_ptr<Array2dVec3UInt8> none = ReadPicture(dir.File("none.png"));
    ASSERT_TRUE(none);
    EXPECT_TRUE(SameRgb(none.get(), input));

    // Drawn before the descriptors and the thinning: all points show, also when SURF
    // replaces them by its own grid.
    const std::vector<std::string> dense{"photo.png", "--detector", "densesampling", "--noRandomizeSeed"};
    auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), dense.begin(), dense.end());
        return RunLumisk(more, dir.Path()).status;
    };
    ASSERT_EQ(with({"--drawRegions", "all.png"}), 0);
    ASSERT_EQ(with({"--descriptor", "sift", "--keepLimited", "1", "--drawRegions", "kept.png"}), 0);
    EXPECT_EQ(ReadTextFile(dir.File("kept.png")), ReadTextFile(dir.File("all.png")));
    ASSERT_EQ(with({"--descriptor", "surf", "--drawRegions", "surf.png"}), 0);
    EXPECT_EQ(ReadTextFile(dir.File("surf.png")), ReadTextFile(dir.File("all.png")));
    EXPECT_NE(ReadTextFile(dir.File("all.png")), ReadTextFile(dir.File("none.png")));
}

TEST(RegionsPicture, LoadedRegionsAtCornersWithHugeAndUndefinedValues)
{
    TempDir dir;
    const PlainImage input = WritePngPhoto(dir, "photo.png", 50, 40, 12);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    PointDescriptorTable table{FeatureDefinition("")};
    table.AddPoint(0, 0, 2.0, 0.0, 1.0);
    table.AddPoint(49, 39, 2.0, 2.5, 2.0);
    table.AddPoint(49, 0, 1.0, nan, 3.0);
    table.AddPoint(25, 20, 1e300, 0.0, 4.0);
    table.AddPoint(0, 39, 1e9, 0.0, nan);
    ASSERT_TRUE(table.ExportToFile(Tavlin::Persistency::RepositoryGetFile(dir.File("regions.bin"), true, false), 0,
                                   "binary"));

    auto run = RunLumisk({"photo.png", "--detector", "none", "--loadRegions", "regions.bin", "--drawRegions",
                          "pic.png", "--exitOnErrorLogged"},
                         dir.Path());
    ASSERT_EQ(run.status, 0) << run.out;
    std::unique_ptr<Array2dVec3UInt8> picture = ReadPicture(dir.File("pic.png"));
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->mWidth, 50);
    ASSERT_EQ(picture->mHeight, 40);
    // Only the three small circles show; the huge ones lie outside the image.
    PointDescriptorTable small{FeatureDefinition("")};
    for (int i = 0; i < 3; ++i)
        small.AddPoint(table.X()[i], table.Y()[i], table.Scale()[i], 0, 0);
    EXPECT_GT(ChangedPixels(*picture, input, &small), 10);
}

TEST(RegionsPicture, BatchWritesBaseNameDotPngAndFailuresAreReported)
{
    TempDir dir;
    const PlainImage one = WritePngPhoto(dir, "one.png", 40, 30, 13);
    WriteJpegPhoto(dir.File("two.x.jpg"), 36, 28, 14);
    WriteTextFile(dir.File("list.txt"), "one.png\ntwo.x.jpg\n");
    ASSERT_EQ(RunLumisk({"--batch", "list.txt", "--detector", "none", "--drawRegions", "pics"}, dir.Path()).status, 0);
    std::unique_ptr<Array2dVec3UInt8> first = ReadPicture(dir.File("pics/one.png"));
    std::unique_ptr<Array2dVec3UInt8> second = ReadPicture(dir.File("pics/two.x.png"));
    ASSERT_TRUE(first && second);
    EXPECT_TRUE(SameRgb(first.get(), one));
    EXPECT_EQ(second->mWidth, 36);
    EXPECT_EQ(second->mHeight, 28);

    // A picture that can not be written: a clear error, the rest of the run goes on.
    ASSERT_EQ(mkdir(dir.File("pics/dir.png").c_str(), 0755), 0);
    auto failed = RunLumisk({"one.png", "--detector", "densesampling", "--drawRegions", "pics/dir.png", "--output",
                             "o.txt"},
                            dir.Path());
    EXPECT_EQ(failed.status, 0);
    EXPECT_EQ(CountOf(failed.out, "[ERROR] Could not write the regions picture pics/dir.png"), 1) << failed.out;
    EXPECT_TRUE(PathExists(dir.File("o.txt")));
    EXPECT_EQ(RunLumisk({"one.png", "--drawRegions", "pics/dir.png", "--exitOnErrorLogged"}, dir.Path()).status, 42);
}
