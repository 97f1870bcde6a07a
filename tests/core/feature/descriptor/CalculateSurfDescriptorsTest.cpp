#include "core/feature/descriptor/CalculateSurfDescriptors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "support/LogCapture.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Array::Array2dVec3UInt8;
using Tavlin::Core::Feature::CalculateSurfDescriptors;
using Tavlin::Core::Feature::DSurf;
using Tavlin::Core::Feature::FeatureDefinition;
using Tavlin::Core::Feature::HaarResponse;
using Tavlin::Core::Feature::PointDescriptorTable;
using TestSupport::MakePlane;

namespace
{
std::unique_ptr<PointDescriptorTable> EmptyTable()
{
    return std::make_unique<PointDescriptorTable>(FeatureDefinition("none"));
}

std::unique_ptr<Array2dReal64> Surf(Array2dReal64* channel, PointDescriptorTable* table, int spaciality = 4)
{
    return std::unique_ptr<Array2dReal64>(DSurf(channel, table, 3, 2, spaciality));
}

double SumOfSquares(const double* row, int length)
{
    double sum = 0;
    for (int k = 0; k < length; ++k)
        sum += row[k] * row[k];
    return sum;
}
} // namespace

TEST(HaarResponse, EveryTwoByTwoBlockGivesRightMinusLeftAndBottomMinusTop)
{
    const double pixels[3][3] = {{5, 1, 4}, {2, 0, 3}, {7, 1, 1}};
    std::unique_ptr<Array2dReal64> image(MakePlane(3, 3, 0, [&](long long x, long long y) { return pixels[y][x]; }));
    TestSupport::Owned<Array2dReal64> responses(HaarResponse(image.get()));
    ASSERT_EQ(responses.p.size(), 4u);
    // Block (0, 0) is 5 1 / 2 0: dx = (1 + 0) - (5 + 2), dy = (2 + 0) - (5 + 1); and so on.
    const double dx[2][2] = {{-6, 6}, {-8, 3}};
    const double dy[2][2] = {{-4, -2}, {6, -1}};
    for (Array2dReal64* r : responses.p)
    {
        ASSERT_EQ(r->mWidth, 2);
        ASSERT_EQ(r->mHeight, 2);
    }
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x)
        {
            EXPECT_EQ(*responses.p[0]->PixelPtr(x, y), dx[y][x]) << x << "," << y;
            EXPECT_EQ(*responses.p[1]->PixelPtr(x, y), dy[y][x]) << x << "," << y;
            EXPECT_EQ(*responses.p[2]->PixelPtr(x, y), std::fabs(dx[y][x]));
            EXPECT_EQ(*responses.p[3]->PixelPtr(x, y), std::fabs(dy[y][x]));
        }

    // A single row or column has no blocks.
    std::unique_ptr<Array2dReal64> line(MakePlane(1, 5, 0, [](long long, long long y) { return y; }));
    TestSupport::Owned<Array2dReal64> none(HaarResponse(line.get()));
    EXPECT_EQ(none.p[0]->mWidth, 0);
    EXPECT_EQ(none.p[3]->mHeight, 4);
}

TEST(DSurf, GridOfAHundredSquareImageWithUnitRowsAndFlatZeros)
{
    // 100 x 100: sums 33 -> Haar 32 -> 16 x 16, windows 13 x 13; step 6, span 24. The
    // first point, its scale and its neighbour are checked on the written file.
    std::unique_ptr<Array2dReal64> random(TestSupport::MakeRandomPlane(100, 100, 0, 7, 0.0, 255.0));
    auto table = EmptyTable();
    std::unique_ptr<Array2dReal64> rows = Surf(random.get(), table.get());
    ASSERT_EQ(table->Size(), 169);
    ASSERT_EQ(rows->mWidth, 64);
    ASSERT_EQ(rows->mHeight, 169);
    EXPECT_EQ(table->Orientation()[0], 25.0);
    EXPECT_EQ(table->Cornerness()[0], 0.0);
    EXPECT_EQ(table->Y()[1], 12.0);
    EXPECT_EQ(table->X()[13], 12.0);
    EXPECT_EQ(table->Y()[13], 18.0);
    EXPECT_EQ(table->X()[168], 84.0);
    for (int i = 0; i < 169; ++i)
        EXPECT_NEAR(SumOfSquares(rows->mData + i * 64, 64), 1.0, 1e-12) << i;

    // A flat channel has no gradient: the same grid, all rows zero.
    std::unique_ptr<Array2dReal64> flat(MakePlane(100, 100, 0, [](long long, long long) { return 77.0; }));
    auto flatTable = EmptyTable();
    std::unique_ptr<Array2dReal64> zeros = Surf(flat.get(), flatTable.get());
    ASSERT_EQ(flatTable->Size(), 169);
    for (long long k = 0; k < 169 * 64; ++k)
        ASSERT_EQ(zeros->mData[k], 0.0);

    // Spaciality 2: 8 values, 15 x 15 windows, span 12.
    auto small = EmptyTable();
    std::unique_ptr<Array2dReal64> eight = Surf(random.get(), small.get(), 2);
    EXPECT_EQ(eight->mWidth, 16);
    EXPECT_EQ(small->Size(), 225);
    EXPECT_EQ(small->X()[0], 6.0);
    EXPECT_EQ(small->Scale()[0], 13.0);
}

TEST(DSurf, RampsFillTheirOwnQuartersWithTheirSign)
{
    // A ramp along x has dx constant and dy zero: the dx and |dx| quarters hold equal
    // values of 1 / sqrt(32) (with the ramp's sign for dx), the others zero. Along y the
    // same for dy and |dy|: bottom minus top is positive for a ramp going down.
    const double unit = 1.0 / std::sqrt(32.0);
    struct Case
    {
        std::function<double(long long, long long)> f;
        double quarter[4];
    } cases[] = {
        {[](long long x, long long) { return 2.0 * x; }, {unit, 0, unit, 0}},
        {[](long long x, long long) { return 200.0 - x; }, {-unit, 0, unit, 0}},
        {[](long long, long long y) { return 3.0 * y; }, {0, unit, 0, unit}},
    };
    for (const Case& c : cases)
    {
        std::unique_ptr<Array2dReal64> ramp(MakePlane(60, 48, 0, c.f));
        auto table = EmptyTable();
        std::unique_ptr<Array2dReal64> rows = Surf(ramp.get(), table.get());
        ASSERT_GT(table->Size(), 0);
        for (int i = 0; i < table->Size(); ++i)
            for (int k = 0; k < 64; ++k)
                ASSERT_NEAR(rows->mData[i * 64 + k], c.quarter[k / 16], 1e-12) << i << " " << k;
    }

    // Within a quarter the window goes row by row: with dx growing along y, the four
    // values of a window row are equal and each row's exceed the one above.
    std::unique_ptr<Array2dReal64> product(MakePlane(60, 48, 0, [](long long x, long long y) { return 1.0 * x * y; }));
    auto table = EmptyTable();
    std::unique_ptr<Array2dReal64> rows = Surf(product.get(), table.get());
    const double* row = rows->mData + 64 * 2;
    for (int yy = 0; yy < 4; ++yy)
    {
        for (int xx = 1; xx < 4; ++xx)
            EXPECT_EQ(row[yy * 4 + xx], row[yy * 4]);
        if (yy > 0)
        {
            EXPECT_GT(row[yy * 4], row[yy * 4 - 4]);
        }
    }
}

TEST(DSurf, RowsArePairedByNumberAndNeverWrittenBeyondTheTable)
{
    std::unique_ptr<Array2dReal64> random(TestSupport::MakeRandomPlane(100, 100, 0, 3, 0.0, 255.0));
    auto grid = EmptyTable();
    std::unique_ptr<Array2dReal64> full = Surf(random.get(), grid.get());

    // Fewer rows than the grid: the first rows of the grid, no more.
    auto fewer = EmptyTable();
    for (int i = 0; i < 10; ++i)
        fewer->AddPoint(i, i, 1, 0, 0);
    std::unique_ptr<Array2dReal64> part = Surf(random.get(), fewer.get());
    ASSERT_EQ(part->mHeight, 10);
    EXPECT_EQ(fewer->Size(), 10);
    for (int k = 0; k < 10 * 64; ++k)
        ASSERT_EQ(part->mData[k], full->mData[k]);

    // More rows than the grid: those beyond it stay zero.
    auto more = EmptyTable();
    for (int i = 0; i < 200; ++i)
        more->AddPoint(i, i, 1, 0, 0);
    std::unique_ptr<Array2dReal64> padded = Surf(random.get(), more.get());
    ASSERT_EQ(padded->mHeight, 200);
    for (int k = 0; k < 169 * 64; ++k)
        ASSERT_EQ(padded->mData[k], full->mData[k]);
    for (int k = 169 * 64; k < 200 * 64; ++k)
        ASSERT_EQ(padded->mData[k], 0.0);

    // Images too small for one window give no rows at all.
    for (auto size : {std::make_pair(1, 1), std::make_pair(1, 300), std::make_pair(700, 12), std::make_pair(26, 26)})
    {
        std::unique_ptr<Array2dReal64> tiny(MakePlane(size.first, size.second, 0, [](long long x, long long) { return x; }));
        auto table = EmptyTable();
        std::unique_ptr<Array2dReal64> none = Surf(tiny.get(), table.get());
        EXPECT_EQ(table->Size(), 0) << size.first << "x" << size.second;
        EXPECT_EQ(none->mHeight, 0);
        EXPECT_EQ(none->mWidth, 64);
    }
    // 27 x 27 is the smallest with a window: sums 9 -> Haar 8 -> 4 x 4.
    std::unique_ptr<Array2dReal64> least(MakePlane(27, 27, 0, [](long long x, long long) { return x; }));
    auto one = EmptyTable();
    Surf(least.get(), one.get());
    EXPECT_EQ(one->Size(), 1);
}

TEST(CalculateSurfDescriptors, ChannelsShareTheGridAndDetectorPointsGiveWay)
{
    std::unique_ptr<Array2dVec3UInt8> image(TestSupport::MakeColourImage8(
        100, 100, [](long long x, long long y, int c) { return static_cast<int>((x * (c + 3) + y * y * (5 - c)) % 256); }));

    // rgbsurf: R, G and B side by side, each as its plane alone would give.
    TestSupport::LogCapture warnings("Core.Feature.CalculateSurfDescriptors", log4cpp::Priority::WARN);
    auto rgb = EmptyTable();
    rgb->AddPoint(50, 50, 3, 0, 1);
    rgb->AddPoint(60, 50, 3, 0, 1);
    ASSERT_TRUE(CalculateSurfDescriptors(image.get(), rgb.get(), "rgbsurf", 3, 2, 4));
    EXPECT_EQ(TestSupport::CountOf(warnings.Text(), "dropping the 2 detector points"), 1);
    ASSERT_EQ(rgb->Size(), 169);
    ASSERT_EQ(rgb->GetDescriptorLength(), 192);
    for (int c = 0; c < 3; ++c)
    {
        std::unique_ptr<Array2dReal64> plane(MakePlane(100, 100, 0, [&](long long x, long long y) {
            return static_cast<double>(image->PixelPtr(x, y)[c]);
        }));
        auto alone = EmptyTable();
        std::unique_ptr<Array2dReal64> rows = Surf(plane.get(), alone.get());
        for (int i = 0; i < 169; ++i)
            for (int k = 0; k < 64; ++k)
                ASSERT_EQ(rgb->GetDescriptor(i)[c * 64 + k], rows->mData[i * 64 + k]) << c << " " << i;
    }
    EXPECT_EQ(TestSupport::CountOf(warnings.Text(), "dropping"), 1);

    // Sizes that would divide by zero or read outside are refused, the table untouched.
    TestSupport::LogCapture errors("Core.Feature.CalculateSurfDescriptors", log4cpp::Priority::ERROR);
    auto refused = EmptyTable();
    refused->AddPoint(1, 1, 1, 0, 0);
    EXPECT_FALSE(CalculateSurfDescriptors(image.get(), refused.get(), "surf", 0, 2, 4));
    EXPECT_FALSE(CalculateSurfDescriptors(image.get(), refused.get(), "surf", 3, -1, 4));
    EXPECT_FALSE(CalculateSurfDescriptors(image.get(), refused.get(), "surf", 3, 2, 0));
    EXPECT_FALSE(CalculateSurfDescriptors(image.get(), refused.get(), "surf", 3, 2, 40000));
    EXPECT_EQ(refused->Size(), 1);
    EXPECT_EQ(TestSupport::CountOf(errors.Text(), "SURF sizes must be at least 1"), 4);
    std::unique_ptr<Array2dReal64> plane(MakePlane(30, 30, 0, [](long long x, long long) { return x; }));
    EXPECT_EQ(DSurf(plane.get(), refused.get(), 3, 0, 4), nullptr);
}

TEST(GetDSurfOptions, ReadsTheThreeSizesWithTheirDefaults)
{
    Tavlin::Util::PropertySet options;
    int h = 0, r = 0, s = 0;
    Tavlin::Core::Feature::GetDSurfOptions(options, h, r, s);
    EXPECT_EQ(h, 3);
    EXPECT_EQ(r, 2);
    EXPECT_EQ(s, 4);
    options.Add("surf-haar-size", "5");
    options.Add("surf-subregion-size", "3");
    options.Add("surf-spaciality", "2");
    Tavlin::Core::Feature::GetDSurfOptions(options, h, r, s);
    EXPECT_EQ(h, 5);
    EXPECT_EQ(r, 3);
    EXPECT_EQ(s, 2);
}
