#include "core/feature/DrawRegions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/array/ArrayFactories.h"
#include "core/feature/PointDescriptorTable.h"
#include "persistency/RepositoryInFileSystem.h"
#include "support/ImageCodecs.h"
#include "support/TestSupport.h"

using namespace Tavlin::Core;
using Array::Array2dVec3UInt8;
using Feature::DrawRegions;
using Feature::PointDescriptorTable;

namespace
{

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
const unsigned char kGrey = 128;
const unsigned char kSentinel = 7;

struct Point
{
    double x, y, scale, orientation, cornerness;
};

std::unique_ptr<PointDescriptorTable> TableOf(const std::vector<Point>& points)
{
    std::unique_ptr<PointDescriptorTable> table(new PointDescriptorTable(Feature::FeatureDefinition("")));
    for (const Point& p : points)
        table->AddPoint(p.x, p.y, p.scale, p.orientation, p.cornerness);
    return table;
}

// A grey image inside a border of sentinel bytes: drawing there would show up.
struct Canvas
{
    Canvas(int width, int height)
        : image(Array::ArrayCreate<Array2dVec3UInt8>(width, height, 4, 4))
    {
        std::fill(image->mData, image->mData + image->DataSize(), kSentinel);
        for (int y = 0; y < height; ++y)
            std::fill(image->PixelPtr(0, y), image->PixelPtr(0, y) + 3 * width, kGrey);
    }

    void Draw(const std::vector<Point>& points, int offset = 0) { DrawRegions(image.get(), *TableOf(points), offset); }

    const unsigned char* At(long long x, long long y) const { return image->PixelPtr(x, y); }
    bool Drawn(long long x, long long y) const
    {
        if (x < 0 || y < 0 || x >= image->mWidth || y >= image->mHeight)
            return false;
        const unsigned char* p = At(x, y);
        return p[0] != kGrey || p[1] != kGrey || p[2] != kGrey;
    }

    std::vector<std::pair<long long, long long>> DrawnPixels() const
    {
        std::vector<std::pair<long long, long long>> drawn;
        for (long long y = 0; y < image->mHeight; ++y)
            for (long long x = 0; x < image->mWidth; ++x)
                if (Drawn(x, y))
                    drawn.emplace_back(x, y);
        return drawn;
    }

    ::testing::AssertionResult BorderUntouched() const
    {
        const long long bw = image->mBorderWidth, bh = image->mBorderHeight;
        for (long long y = -bh; y < image->mHeight + bh; ++y)
            for (long long x = -bw; x < image->mWidth + bw; ++x)
            {
                const bool inside = x >= 0 && y >= 0 && x < image->mWidth && y < image->mHeight;
                const unsigned char* p = At(x, y);
                if (!inside && (p[0] != kSentinel || p[1] != kSentinel || p[2] != kSentinel))
                    return ::testing::AssertionFailure() << "border pixel " << x << ", " << y << " written";
            }
        return ::testing::AssertionSuccess();
    }

    std::unique_ptr<Array2dVec3UInt8> image;
};

std::vector<unsigned char> Rgb(const unsigned char* p)
{
    return {p[0], p[1], p[2]};
}

} // namespace

TEST(DrawRegions, CircleIsAClosedOnePixelRingAtThreeTimesTheScale)
{
    for (double r = 0.5; r < 45.0; r += 0.37)
    {
        SCOPED_TRACE("radius " + std::to_string(r));
        Canvas canvas(101, 101);
        canvas.Draw({{50, 50, r / 3.0, 0.0, 1.0}});
        const std::vector<std::pair<long long, long long>> drawn = canvas.DrawnPixels();
        ASSERT_FALSE(drawn.empty());
        for (const auto& [x, y] : drawn)
        {
            // On the circle within rounding, closed (two neighbours at least), and no
            // 2 x 2 block anywhere: one pixel wide.
            ASSERT_LE(std::fabs(std::hypot(x - 50.0, y - 50.0) - r), 0.75) << x << ", " << y;
            int neighbours = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    neighbours += (dx || dy) && canvas.Drawn(x + dx, y + dy);
            ASSERT_GE(neighbours, 2) << x << ", " << y;
            ASSERT_FALSE(canvas.Drawn(x + 1, y) && canvas.Drawn(x, y + 1) && canvas.Drawn(x + 1, y + 1))
                << x << ", " << y;
        }
        const long long reach = std::lround(r);
        EXPECT_TRUE(canvas.Drawn(50 + reach, 50) && canvas.Drawn(50 - reach, 50) && canvas.Drawn(50, 50 + reach) &&
                    canvas.Drawn(50, 50 - reach));
        EXPECT_FALSE(canvas.Drawn(50, 50));
        EXPECT_TRUE(canvas.BorderUntouched());
    }
}

TEST(DrawRegions, DotForScaleZeroRadiusAlongTheOrientationAndBorderOffset)
{
    Canvas dots(40, 40);
    dots.Draw({{10.4, 20.6, 0.0, 1.0, 1.0}, {-0.4, 39.4, 0.0, 0.0, 1.0}, {0.0, 0.0, 0.0, 0.0, 1.0}}, 5);
    const std::vector<std::pair<long long, long long>> drawn = dots.DrawnPixels();
    // The rounded centres plus the border offset; the second point lands at 5, 44: outside.
    EXPECT_EQ(drawn, (std::vector<std::pair<long long, long long>>{{5, 5}, {15, 26}}));

    // Orientation in radians from +x towards +y, rows counting downwards.
    Canvas lines(101, 101);
    lines.Draw({{50, 50, 4.0, M_PI / 2, 1.0}});
    for (int k = 0; k <= 12; ++k)
        EXPECT_TRUE(lines.Drawn(50, 50 + k)) << k;
    EXPECT_FALSE(lines.Drawn(50, 44));
    EXPECT_FALSE(lines.Drawn(56, 50));
    Canvas left(101, 101);
    left.Draw({{50, 50, 4.0, M_PI, 1.0}});
    for (int k = 0; k <= 12; ++k)
        EXPECT_TRUE(left.Drawn(50 - k, 50)) << k;
    EXPECT_FALSE(left.Drawn(50, 56));
    // Orientation 0 draws no radius.
    Canvas none(101, 101);
    none.Draw({{50, 50, 4.0, 0.0, 1.0}});
    EXPECT_FALSE(none.Drawn(56, 50));
    EXPECT_EQ(none.DrawnPixels().size() + 12, left.DrawnPixels().size());
}

TEST(DrawRegions, ColourRunsFromBlueForTheWeakestToRedForTheStrongest)
{
    Canvas three(20, 5);
    three.Draw({{2, 2, 0, 0, 3.0}, {6, 2, 0, 0, 1.0}, {10, 2, 0, 0, 2.0}});
    EXPECT_EQ(Rgb(three.At(2, 2)), (std::vector<unsigned char>{255, 0, 0}));
    EXPECT_EQ(Rgb(three.At(6, 2)), (std::vector<unsigned char>{0, 0, 255}));
    EXPECT_EQ(Rgb(three.At(10, 2)), (std::vector<unsigned char>{0, 255, 0}));

    // Equal cornerness, equal colour, whatever the rows' order; undefined is weakest.
    Canvas ties(20, 5);
    ties.Draw({{2, 2, 0, 0, 5.0}, {6, 2, 0, 0, kNaN}, {10, 2, 0, 0, 1.0}, {14, 2, 0, 0, 5.0}, {18, 2, 0, 0, kNaN}});
    EXPECT_EQ(Rgb(ties.At(2, 2)), Rgb(ties.At(14, 2)));
    EXPECT_EQ(Rgb(ties.At(6, 2)), Rgb(ties.At(18, 2)));
    EXPECT_EQ(ties.At(6, 2)[0], 0);
    EXPECT_EQ(ties.At(10, 2)[0], 0);
    EXPECT_GT(ties.At(2, 2)[0], 200);
    EXPECT_NE(Rgb(ties.At(6, 2)), Rgb(ties.At(10, 2)));
}

TEST(DrawRegions, NoValueWritesOutsideTheImageOrTakesLong)
{
    Canvas canvas(40, 30);
    canvas.Draw({});
    EXPECT_TRUE(canvas.DrawnPixels().empty());

    const double huge = 1e300;
    canvas.Draw({{0, 0, 2.0, 0.7, 1.0},       {39, 29, 2.0, 3.9, 2.0},    {0, 29, 5.0, -2.0, 3.0},
                 {20, 15, 1e6, 0.0, 4.0},     {20, 15, huge, 1.0, 5.0},   {20, 15, kInf, 1.0, 6.0},
                 {kNaN, 15, 1.0, 0.0, 7.0},   {20, kInf, 1.0, 0.0, 8.0},  {huge, 15, huge, 2.0, 9.0},
                 {-huge, -huge, 1.0, 1.0, 1}, {5, 5, kNaN, 1.0, 1.0},     {30, 20, -3.0, 1.0, 1.0},
                 {10, 10, 1.0, kNaN, 1.0},    {25, 8, 2.0, 3.75e255, 1.0}, {20, 15, 1e100, kInf, 1.0}});
    EXPECT_TRUE(canvas.BorderUntouched());
    // Circles of radius 3e6 and 3e300 around 20, 15 miss the image, but the second one's
    // radius along 1.0 crosses it; the rest is near the points.
    for (const auto& [x, y] : canvas.DrawnPixels())
    {
        const bool nearCorner = std::hypot(x, y) <= 7 || std::hypot(39.0 - x, 29.0 - y) <= 7 ||
                                std::hypot(x, 29.0 - y) <= 16;
        const bool nearOther = std::hypot(x - 5.0, y - 5.0) < 0.5 || std::hypot(x - 30.0, y - 20.0) < 0.5 ||
                               std::hypot(x - 10.0, y - 10.0) <= 3.75 || std::hypot(x - 25.0, y - 8.0) <= 6.75;
        const bool onRadius = std::fabs((x - 20.0) * std::sin(1.0) - (y - 15.0) * std::cos(1.0)) <= 0.75;
        EXPECT_TRUE(nearCorner || nearOther || onRadius) << x << ", " << y;
    }

    // Circles far larger than the image that cross it: only their arc inside is drawn,
    // in time bounded by the image, not by the circle.
    Canvas big(40, 30);
    const auto start = std::chrono::steady_clock::now();
    std::vector<Point> arcs;
    for (int i = 0; i < 200; ++i)
        arcs.push_back({-1e12 + 20.0, 15.0, 1e12 / 3.0, 0.5, 1.0});
    big.Draw(arcs);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);
    const std::vector<std::pair<long long, long long>> drawn = big.DrawnPixels();
    EXPECT_GE(drawn.size(), 30u);
    for (const auto& [x, y] : drawn)
        EXPECT_LE(std::fabs(x - 20.0), 1.0) << x << ", " << y;
    EXPECT_TRUE(big.BorderUntouched());
}

TEST(DrawRegionsToFile, WritesADrawnCopyAndLeavesTheImageAlone)
{
    // Where the drawing lands, border offset included, and a file that can not be
    // written are checked end to end.
    TestSupport::TempDir dir;
    const TestSupport::PlainImage plain = TestSupport::MakeTexturedImage(33, 21, 3, 5);
    std::unique_ptr<Array2dVec3UInt8> image(Array::ArrayCreate<Array2dVec3UInt8>(33, 21, 0, 0));
    std::copy(plain.pixels.begin(), plain.pixels.end(), image->mData);
    ASSERT_TRUE(Feature::DrawRegionsToFile(image.get(), *TableOf({{10, 10, 1.0, 0.5, 1.0}}), 2,
                                           Tavlin::Persistency::RepositoryGetFile(dir.File("one.png"), true, false)));
    std::unique_ptr<Array2dVec3UInt8> one = TestSupport::ReadPngGuarded(TestSupport::ReadTextFile(dir.File("one.png")));
    ASSERT_TRUE(one);
    EXPECT_TRUE(TestSupport::SameRgb(image.get(), plain));
    EXPECT_FALSE(TestSupport::SameRgb(one.get(), plain));
}
