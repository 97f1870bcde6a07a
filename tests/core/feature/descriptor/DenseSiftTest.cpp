#include "core/feature/descriptor/DenseSift.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "core/array/GaussDerivative.h"
#include "core/feature/descriptor/GetColorChannels.h"
#include "core/feature/detector/MakeDenseInterpolator.h"
#include "core/matrix/MatMul.h"
#include "support/SyntheticImage.h"
#include "support/TestSupport.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Array::Array2dVec3UInt8;
using Tavlin::Core::Feature::PointDescriptorTable;
using namespace Tavlin::Core;
using namespace TestSupport;

namespace
{

typedef std::unique_ptr<Array2dReal64> PlanePtr;
typedef std::unique_ptr<PointDescriptorTable> TablePtr;
const double kClip = 0.20000000298023224;

// Eight planes that free themselves.
struct Planes
{
    Array2dReal64* p[8] = {};
    ~Planes()
    {
        for (Array2dReal64* plane : p)
            delete plane;
    }
};

double Textured(long long x, long long y)
{
    return 128.0 + 60.0 * std::sin(0.31 * x + 0.05 * y * y) + 40.0 * std::cos(0.17 * y - 0.023 * x * x);
}

// Largest and smallest value of image pixels at least `margin` from the edge.
std::pair<double, double> Range(Array2dReal64* plane, long long margin)
{
    double low = 1e300;
    double high = -1e300;
    for (long long y = margin; y < plane->mHeight - margin; ++y)
        for (long long x = margin; x < plane->mWidth - margin; ++x)
        {
            low = std::min(low, plane->PixelPtr(x, y)[0]);
            high = std::max(high, plane->PixelPtr(x, y)[0]);
        }
    return {low, high};
}

double Norm(const double* v, int n)
{
    double s = 0.0;
    for (int k = 0; k < n; ++k)
        s += v[k] * v[k];
    return std::sqrt(s);
}

::testing::AssertionResult SameBits(const PointDescriptorTable& a, const PointDescriptorTable& b)
{
    if (a.Size() != b.Size() || a.GetDescriptorLength() != b.GetDescriptorLength())
        return ::testing::AssertionFailure() << "shapes differ";
    for (int i = 0; i < a.Size(); ++i)
    {
        if (a.X()[i] != b.X()[i] || a.Y()[i] != b.Y()[i])
            return ::testing::AssertionFailure() << "point " << i << " differs";
        if (std::memcmp(a.GetDescriptor(i), b.GetDescriptor(i), sizeof(double) * a.GetDescriptorLength()) != 0)
            return ::testing::AssertionFailure() << "descriptor " << i << " differs";
    }
    return ::testing::AssertionSuccess();
}

} // namespace

TEST(DenseSiftGrid, HundredByEightyAtSpacingSixCellFourGivesFourteenByTenPoints)
{
    // 17 x 13 pooled cells give 14 x 10 windows of 4 x 4, the first at 7.5 (their
    // places are checked on the written file); the points carry nothing else.
    PlanePtr channel(MakePlane(100, 80, 0, Textured));
    TablePtr table(Feature::DoDenseSift(channel.get(), 6, 4, 1.0, 4, false));
    ASSERT_EQ(table->Size(), 14 * 10);
    EXPECT_EQ(table->X()[1], 13.5);
    for (int i = 0; i < table->Size(); ++i)
    {
        EXPECT_EQ(table->Scale()[i], 0.0);
        EXPECT_EQ(table->Orientation()[i], 0.0);
        EXPECT_EQ(table->Cornerness()[i], 0.0);
    }

    // Another cell size moves the first point by the cell size, not the spacing.
    TablePtr wide(Feature::DoDenseSift(channel.get(), 6, 8, 1.0, 4, false));
    ASSERT_GT(wide->Size(), 0);
    EXPECT_EQ(wide->X()[0], 15.5);

    // A grid that can not be made gives no rows, but keeps the length.
    PlanePtr narrow(MakePlane(7, 30, 0, Textured));
    TablePtr none(Feature::DoDenseSift(narrow.get(), 6, 4, 1.0, 4, false));
    EXPECT_EQ(none->Size(), 0);
    EXPECT_EQ(none->GetDescriptorLength(), 128);
}

TEST(DenseSiftOrientedGradients, PlanesFollowTheTabledDirections)
{
    const double r = 0.7071067811865476;
    struct Case
    {
        const char* what;
        double (*f)(long long, long long);
        int positive[3];
    };
    // Rising along +x: dx > 0 gives planes 2 (dx), 1 (p) and 7 (-q) and, as q = -r dx,
    // not 3. Rising along +y: planes 0 (dy), 1 (p) and 3 (q). Falling along x: 6, 5, 3.
    // The derivative across a ramp is zero up to rounding.
    const Case cases[] = {
        {"+x", [](long long x, long long) { return 2.0 * x; }, {2, 1, 7}},
        {"+y", [](long long, long long y) { return 3.0 * y; }, {0, 1, 3}},
        {"-x", [](long long x, long long) { return 300.0 - 2.0 * x; }, {6, 5, 3}},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        PlanePtr input(MakePlane(40, 30, 0, c.f));
        Planes planes;
        Feature::DenseSiftOrientedGradients(planes.p, input.get(), 1.0);
        for (int o = 0; o < 8; ++o)
        {
            ASSERT_TRUE(planes.p[o]);
            EXPECT_EQ(planes.p[o]->mWidth, 40);
            EXPECT_EQ(planes.p[o]->mHeight, 30);
            EXPECT_EQ(planes.p[o]->mBorderWidth, 0);
            const bool positive = o == c.positive[0] || o == c.positive[1] || o == c.positive[2];
            const std::pair<double, double> range = Range(planes.p[o], 4);
            if (positive)
                EXPECT_GT(range.first, 0.0) << "plane " << o;
            else
                EXPECT_LT(range.second, 1e-12) << "plane " << o;
            EXPECT_GE(Range(planes.p[o], 0).first, 0.0) << "plane " << o;
        }
    }

    // A diagonal: on +x the diagonal plane holds r times the axis plane.
    PlanePtr input(MakePlane(40, 30, 0, cases[0].f));
    Planes planes;
    Feature::DenseSiftOrientedGradients(planes.p, input.get(), 1.0);
    EXPECT_EQ(planes.p[1]->PixelPtr(20, 15)[0], r * planes.p[2]->PixelPtr(20, 15)[0]);
    // The sampled derivative kernel, cut at three sigma, gives the slope to within 1 %.
    EXPECT_NEAR(planes.p[2]->PixelPtr(20, 15)[0], 2.0, 0.02);
}

TEST(DenseSiftGradient, PlanesComeFromTheGaussDerivativesOfTheInput)
{
    // Down to images narrower than the kernel, where the filter cuts it.
    const long long sizes[][2] = {{37, 23}, {5, 3}, {1, 1}};
    for (const auto& size : sizes)
    {
        SCOPED_TRACE(size[0]);
        PlanePtr input(MakePlane(size[0], size[1], 0, Textured));
        Array2dReal64* dxRaw = nullptr;
        Array2dReal64* dyRaw = nullptr;
        Array::GaussDerivative(dxRaw, input.get(), 1.0, 1, 0, 3.0);
        Array::GaussDerivative(dyRaw, input.get(), 1.0, 0, 1, 3.0);
        PlanePtr dx(dxRaw);
        PlanePtr dy(dyRaw);

        Planes planes;
        Feature::DenseSiftOrientedGradients(planes.p, input.get(), 1.0);
        Array2dReal64* magnitudeRaw = nullptr;
        Array2dReal64* angleRaw = nullptr;
        Feature::DenseSiftGradient(magnitudeRaw, angleRaw, input.get(), 1.0);
        PlanePtr magnitude(magnitudeRaw);
        PlanePtr angle(angleRaw);
        for (long long y = 0; y < size[1]; ++y)
            for (long long x = 0; x < size[0]; ++x)
            {
                const double gx = dx->PixelPtr(x, y)[0];
                const double gy = dy->PixelPtr(x, y)[0];
                ASSERT_EQ(planes.p[2]->PixelPtr(x, y)[0], std::max(gx, 0.0)) << x << ", " << y;
                ASSERT_EQ(planes.p[6]->PixelPtr(x, y)[0], std::max(-gx, 0.0)) << x << ", " << y;
                ASSERT_EQ(planes.p[0]->PixelPtr(x, y)[0], std::max(gy, 0.0)) << x << ", " << y;
                ASSERT_EQ(planes.p[4]->PixelPtr(x, y)[0], std::max(-gy, 0.0)) << x << ", " << y;
                ASSERT_EQ(magnitude->PixelPtr(x, y)[0], std::sqrt(gx * gx + gy * gy));
                ASSERT_EQ(angle->PixelPtr(x, y)[0], std::atan2(gy, gx));
            }
    }
}

TEST(DenseSiftQuantizeOrientation, SplitsTheMagnitudeBetweenTheTwoNearestPlanes)
{
    const double pi = std::acos(-1.0);
    // Angle 0 lies on plane 0; 90 degrees on plane 2 (a hair below it, since the
    // divisor is the single-precision pi); -45 degrees on plane 7; 22.5 degrees halfway
    // between planes 0 and 1.
    const double angles[] = {0.0, pi / 2, -pi / 4, pi / 8};
    const int bins[] = {0, 2, 7, 0};
    const double fractions[] = {0.0, 0.0, 0.0, 0.5};
    for (int c = 0; c < 4; ++c)
    {
        SCOPED_TRACE(c);
        PlanePtr angle(MakePlane(3, 2, 0, [&](long long, long long) { return angles[c]; }));
        PlanePtr magnitude(MakePlane(3, 2, 0, [](long long x, long long) { return 1.0 + x; }));
        Planes planes;
        Feature::DenseSiftQuantizeOrientation<8>(planes.p, angle.get(), magnitude.get());
        for (int o = 0; o < 8; ++o)
        {
            const double m = 3.0;
            const double v = planes.p[o]->PixelPtr(2, 1)[0];
            double expected = 0.0;
            if (o == bins[c])
                expected = (1.0 - fractions[c]) * m;
            else if (o == (bins[c] + 1) % 8)
                expected = fractions[c] * m;
            EXPECT_NEAR(v, expected, 1e-6) << "plane " << o;
        }
    }
}

TEST(DenseSiftExtractDescriptor, LaysOutCellsRowByRowWithOrientationsInnermost)
{
    // Values between 1 and 2: after normalisation none exceeds 2 / sqrt(128) < 0.2, so
    // nothing is clipped and value x norm gives the grid back.
    Planes grids;
    for (int o = 0; o < 8; ++o)
        grids.p[o] = MakePlane(6, 5, 0, [o](long long x, long long y) { return 1.0 + (o * 30 + y * 6 + x) / 240.0; });
    std::vector<double> out(128);
    Feature::ExtractDescriptor<8>(out.data(), grids.p, 1, 1, 4);
    double s = 0.0;
    for (int o = 0; o < 8; ++o)
        for (int cy = 0; cy < 4; ++cy)
            for (int cx = 0; cx < 4; ++cx)
            {
                const double v = grids.p[o]->PixelPtr(1 + cx, 1 + cy)[0];
                s += v * v;
            }
    for (int cy = 0; cy < 4; ++cy)
        for (int cx = 0; cx < 4; ++cx)
            for (int o = 0; o < 8; ++o)
                EXPECT_NEAR(out[(cy * 4 + cx) * 8 + o] * std::sqrt(s), grids.p[o]->PixelPtr(1 + cx, 1 + cy)[0], 1e-12);
    EXPECT_NEAR(Norm(out.data(), 128), 1.0, 1e-14);
}

TEST(DenseSiftExtractDescriptor, ClipsAtTwoTenthsAndRenormalises)
{
    // One cell of plane 0 at 10, all else 1: normalised 10 / sqrt(227) > 0.2 is clipped,
    // the rest 1 / sqrt(227); the final step brings the whole to unit length.
    Planes grids;
    for (int o = 0; o < 8; ++o)
        grids.p[o] = MakePlane(4, 4, 0, [o](long long x, long long y) { return o == 0 && x == 2 && y == 1 ? 10.0 : 1.0; });
    std::vector<double> out(128);
    Feature::ExtractDescriptor<8>(out.data(), grids.p, 0, 0, 4);
    const double small = 1.0 / std::sqrt(227.0);
    const double norm = std::sqrt(kClip * kClip + 127 * small * small);
    EXPECT_NEAR(out[(1 * 4 + 2) * 8], kClip / norm, 1e-12);
    EXPECT_NEAR(out[1], small / norm, 1e-12);
    EXPECT_NEAR(Norm(out.data(), 128), 1.0, 1e-14);
}

TEST(DenseSiftMakeSpatial, ReadsEveryWindowAsExtractDescriptorDoes)
{
    // 21 positions a row: runs of several neighbours and a remainder.
    Planes grids;
    for (int o = 0; o < 8; ++o)
        grids.p[o] = MakeRandomPlane(24, 7, 0, 11 + o, -0.5, 3.0);
    TablePtr table(Feature::MakeSpatial<8>(grids.p, 5, 2, 4));
    ASSERT_EQ(table->Size(), 21 * 4);
    std::vector<double> one(128);
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 21; ++i)
        {
            const int row = j * 21 + i;
            EXPECT_EQ(table->X()[row], i * 5 + 3.5);
            EXPECT_EQ(table->Y()[row], j * 5 + 3.5);
            Feature::ExtractDescriptor<8>(one.data(), grids.p, i, j, 4);
            ASSERT_EQ(std::memcmp(one.data(), table->GetDescriptor(row), sizeof(double) * 128), 0) << i << ", " << j;
        }

    // A grid narrower than the window gives no points but keeps the length.
    Planes narrow;
    for (int o = 0; o < 8; ++o)
        narrow.p[o] = MakePlane(3, 9, 0, [](long long, long long) { return 1.0; });
    TablePtr none(Feature::MakeSpatial<8>(narrow.p, 6, 4, 4));
    EXPECT_EQ(none->Size(), 0);
    EXPECT_EQ(none->GetDescriptorLength(), 128);
}

TEST(DoDenseSift, EqualsPlanesPooledByTwoProductsBitForBit)
{
    PlanePtr channel(MakePlane(53, 41, 0, Textured));
    for (bool quantize : {false, true})
    {
        SCOPED_TRACE(quantize);
        Planes planes;
        if (quantize)
        {
            Array2dReal64* magnitude = nullptr;
            Array2dReal64* angle = nullptr;
            Feature::DenseSiftGradient(magnitude, angle, channel.get(), 1.0);
            Feature::DenseSiftQuantizeOrientation<8>(planes.p, angle, magnitude);
            delete magnitude;
            delete angle;
        }
        else
        {
            Feature::DenseSiftOrientedGradients(planes.p, channel.get(), 1.0);
        }
        PlanePtr vertical(Feature::MakeDenseInterpolator<Array2dReal64>(41, 4, 6, true));
        PlanePtr horizontal(Feature::MakeDenseInterpolator<Array2dReal64>(53, 4, 6, false));
        Planes grids;
        for (int o = 0; o < 8; ++o)
        {
            PlanePtr rows(Matrix::MatMul(vertical.get(), planes.p[o]));
            grids.p[o] = Matrix::MatMul(rows.get(), horizontal.get());
        }
        TablePtr expected(Feature::MakeSpatial<8>(grids.p, 4, 6, 4));
        TablePtr table(Feature::DoDenseSift(channel.get(), 4, 6, 1.0, 4, quantize));
        ASSERT_GT(table->Size(), 0);
        EXPECT_TRUE(SameBits(*table, *expected));
        for (int i = 0; i < table->Size(); ++i)
            ASSERT_NEAR(Norm(table->GetDescriptor(i), 128), 1.0, 1e-12) << i;
    }
}

TEST(DoDenseSift, FlatAreasGiveZeroDescriptorsAndNeverNaN)
{
    PlanePtr flat(MakePlane(40, 40, 0, [](long long, long long) { return 0.0; }));
    // Flat on the left: the first window (pixels 0 to 21, gradients reaching 3 further)
    // stays zero.
    PlanePtr half(MakePlane(40, 40, 0, [](long long x, long long y) { return x < 30 ? 0.0 : Textured(x, y); }));
    for (bool quantize : {false, true})
    {
        SCOPED_TRACE(quantize);
        TablePtr table(Feature::DoDenseSift(flat.get(), 6, 4, 1.0, 4, quantize));
        ASSERT_EQ(table->Size(), 4 * 4); // (40 - 4) / 6 + 1 = 7 grid cells, 4 windows
        for (int i = 0; i < table->Size(); ++i)
            for (int k = 0; k < 128; ++k)
                ASSERT_EQ(table->GetDescriptor(i)[k], 0.0) << i << " " << k;

        TablePtr mixed(Feature::DoDenseSift(half.get(), 6, 4, 1.0, 4, quantize));
        ASSERT_EQ(mixed->Size(), 4 * 4);
        EXPECT_EQ(Norm(mixed->GetDescriptor(0), 128), 0.0);
        EXPECT_NEAR(Norm(mixed->GetDescriptor(3), 128), 1.0, 1e-12);
        for (int i = 0; i < mixed->Size(); ++i)
            for (int k = 0; k < 128; ++k)
                ASSERT_FALSE(std::isnan(mixed->GetDescriptor(i)[k]));
    }
}

TEST(DenseSift, ChannelsSideBySideOnOneListOfPoints)
{
    std::unique_ptr<Array2dVec3UInt8> image(MakeColourImage8(
        50, 38, [](long long x, long long y, int c) { return static_cast<int>(Textured(x + 7 * c, y + 3 * c)); }));
    TablePtr rgb(Feature::DenseSift(image.get(), "rgbdift", 6, 4, 1.0, 4));
    ASSERT_GT(rgb->Size(), 0);
    ASSERT_EQ(rgb->GetDescriptorLength(), 384);
    Owned<Array2dReal64> channels(Feature::GetColorChannels(image.get(), "rgb"));
    ASSERT_EQ(channels.p.size(), 3u);
    for (int c = 0; c < 3; ++c)
    {
        TablePtr part(Feature::DoDenseSift(channels.p[c], 6, 4, 1.0, 4, false));
        ASSERT_EQ(part->Size(), rgb->Size());
        for (int i = 0; i < rgb->Size(); ++i)
            ASSERT_EQ(std::memcmp(rgb->GetDescriptor(i) + 128 * c, part->GetDescriptor(i), 128 * sizeof(double)), 0)
                << "channel " << c << " point " << i;
    }

    // "dixt" takes the quantized planes of the luminance.
    TablePtr quantized(Feature::DenseSift(image.get(), "dixt", 6, 4, 1.0, 4));
    Owned<Array2dReal64> luminance(Feature::GetColorChannels(image.get(), ""));
    TablePtr direct(Feature::DoDenseSift(luminance.p[0], 6, 4, 1.0, 4, true));
    EXPECT_TRUE(SameBits(*quantized, *direct));
}
