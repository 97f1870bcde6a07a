#include "core/array/ColorMoments.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "core/array/RecGauss.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakeColourImage;
using TestSupport::MakePlane;

namespace
{

typedef std::unique_ptr<Array2dVec3Real64> Real3Ptr;
typedef std::unique_ptr<Array2dReal64> PlanePtr;

Array2dVec3Real64* MakeNoise(long long width, long long height, unsigned seed)
{
    return MakeColourImage(width, height, [seed](long long x, long long y, int c) {
        const unsigned h = static_cast<unsigned>((x * 73856093) ^ (y * 19349663) ^ (c * 83492791)) * 2654435761u + seed;
        return 20.0 + (h >> 8) % 200;
    });
}

bool Near(double expected, double actual, double relative)
{
    return std::fabs(expected - actual) <= relative * std::fabs(expected);
}

} // namespace

TEST(ColorMoments, ConstantImage)
{
    Real3Ptr image(MakeColourImage(5, 4, [](long long, long long, int c) { return 3.0 + 2 * c; }));
    ColorMoments moments;
    std::vector<double> invariants = {-1.0};
    moments.GetInvariants(invariants, image.get(), false, nullptr, false, 0.0);
    ASSERT_EQ(25u, invariants.size());
    EXPECT_EQ(-1.0, invariants[0]);

    EXPECT_EQ(1.0, moments.SB(0, 0, 'R', 0));
    EXPECT_EQ(3.0, moments.SB(0, 0, 'R', 1));
    EXPECT_EQ(25.0, moments.SB(0, 0, 'G', 2));
    EXPECT_DOUBLE_EQ(1.0, invariants[1]);
    EXPECT_DOUBLE_EQ(1.0, invariants[2]);
    EXPECT_DOUBLE_EQ(1.0, invariants[3]);
    for (const char* bands : {"RG", "RB", "GB"})
    {
        EXPECT_DOUBLE_EQ(1.0, moments.C02(bands)) << bands;
        EXPECT_DOUBLE_EQ(1.0, moments.C02tilde(bands)) << bands;
        EXPECT_NEAR(0.0, moments.C11(bands), 1e-12) << bands;
        EXPECT_NEAR(0.0, moments.C12_1(bands), 1e-12) << bands;
        EXPECT_NEAR(0.0, moments.C12_2(bands), 1e-12) << bands;
        EXPECT_NEAR(0.0, moments.C12_3(bands), 1e-12) << bands;
        EXPECT_NEAR(0.0, moments.C12_4(bands), 1e-12) << bands;
    }
    for (char band : {'R', 'G', 'B'})
        EXPECT_NEAR(0.0, moments.B12(band), 1e-12) << band;
    // Positions 4 to 9 are the C02 and C02tilde values, 10 to 24 determinants.
    for (int i = 4; i <= 9; ++i)
        EXPECT_DOUBLE_EQ(1.0, invariants[i]) << i;
    for (int i = 10; i <= 24; ++i)
        EXPECT_NEAR(0.0, invariants[i], 1e-12) << i;
}

TEST(ColorMoments, CacheOrderOfThirtyRecords)
{
    Real3Ptr image(MakeNoise(6, 3, 1));
    ColorMoments moments;
    moments.FillMomentCache(image.get(), 1, 2, false, nullptr, false, 0.0);
    const int spatial[3][2] = {{0, 0}, {0, 1}, {1, 0}};
    const int colour[10][3] = {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}, {1, 0, 0}, {0, 0, 2},
                               {0, 1, 1}, {0, 2, 0}, {1, 0, 1}, {1, 1, 0}, {2, 0, 0}};
    const auto& cache = moments.Cache();
    ASSERT_EQ(30u, cache.size());
    for (int s = 0; s < 3; ++s)
        for (int c = 0; c < 10; ++c)
        {
            const ColorMoments::ColorMoment& m = cache[s * 10 + c];
            EXPECT_EQ(spatial[s][0], m.mOrderX) << s << " " << c;
            EXPECT_EQ(spatial[s][1], m.mOrderY) << s << " " << c;
            EXPECT_EQ(colour[c][0], m.mPowerR) << s << " " << c;
            EXPECT_EQ(colour[c][1], m.mPowerG) << s << " " << c;
            EXPECT_EQ(colour[c][2], m.mPowerB) << s << " " << c;
        }
}

TEST(ColorMoments, MatchesAPlainLoopWithOneBasedCoordinates)
{
    Real3Ptr image(MakeNoise(7, 5, 2));
    ColorMoments moments;
    moments.mOriginX = 3;
    moments.mOriginY = -2;
    moments.FillMomentCache(image.get(), 2, 3, false, nullptr, false, 0.0);
    ASSERT_EQ(6u * 20u, moments.Cache().size());
    for (const ColorMoments::ColorMoment& m : moments.Cache())
    {
        double sum = 0.0;
        for (long long y = 0; y < 5; ++y)
            for (long long x = 0; x < 7; ++x)
            {
                const double* px = image->PixelPtr(x, y);
                sum += std::pow(x + 4.0, m.mOrderX) * std::pow(y - 1.0, m.mOrderY) * std::pow(px[0], m.mPowerR) *
                       std::pow(px[1], m.mPowerG) * std::pow(px[2], m.mPowerB);
            }
        EXPECT_TRUE(Near(sum / 35.0, m.mValue, 1e-12))
            << m.mOrderX << m.mOrderY << m.mPowerR << m.mPowerG << m.mPowerB << ": " << m.mValue;
    }

    // A single pixel sits at (1, 1).
    Real3Ptr one(MakeColourImage(1, 1, [](long long, long long, int) { return 9.0; }));
    ColorMoments plain;
    plain.FillMomentCache(one.get(), 1, 1, false, nullptr, false, 0.0);
    EXPECT_EQ(1.0, plain.SB(1, 0, 'R', 0));
    EXPECT_EQ(1.0, plain.SB(0, 1, 'R', 0));
    EXPECT_EQ(9.0, plain.SB(1, 0, 'B', 1));
}

TEST(ColorMoments, SecondFillReplacesTheFirstAndUnknownQueriesGiveZero)
{
    Real3Ptr first(MakeColourImage(4, 4, [](long long, long long, int) { return 2.0; }));
    Real3Ptr second(MakeColourImage(3, 2, [](long long, long long, int) { return 5.0; }));
    ColorMoments moments;
    moments.FillMomentCache(first.get(), 1, 2, false, nullptr, false, 0.0);
    moments.FillMomentCache(second.get(), 0, 1, false, nullptr, false, 0.0);
    ASSERT_EQ(4u, moments.Cache().size());
    EXPECT_EQ(5.0, moments.SB(0, 0, 'G', 1));
    EXPECT_EQ(0.0, moments.SB(0, 0, 'G', 2));
    EXPECT_EQ(0.0, moments.SB(1, 0, 'G', 1));

    // Unknown queries give zero.
    Real3Ptr image(MakeColourImage(3, 3, [](long long, long long, int) { return 4.0; }));
    EXPECT_EQ(0.0, ColorMoments().SB(0, 0, 'R', 0));
    moments.FillMomentCache(image.get(), 1, 2, false, nullptr, false, 0.0);
    EXPECT_EQ(0.0, moments.SB(0, 0, 'R', 3));
    EXPECT_EQ(0.0, moments.SB(2, 0, 'R', 1));
    EXPECT_EQ(0.0, moments.SB(0, 0, 'r', 1));
    EXPECT_EQ(0.0, moments.DB(0, 0, "GR", 1, 1));
    EXPECT_EQ(0.0, moments.DB(0, 0, "RGB", 1, 1));
    EXPECT_EQ(0.0, moments.DB(0, 0, "RG", 2, 1));
    EXPECT_EQ(16.0, moments.DB(0, 0, "RB", 1, 1));
}

TEST(ColorMoments, MaskOfOnesEqualsNoMaskAndZerosCutTheRegion)
{
    Real3Ptr image(MakeNoise(8, 6, 3));
    PlanePtr ones(MakePlane(8, 6, 0, [](long long, long long) { return 1.0; }));
    ColorMoments plain, masked;
    plain.FillMomentCache(image.get(), 1, 2, false, nullptr, false, 0.0);
    masked.FillMomentCache(image.get(), 1, 2, true, ones.get(), false, 0.0);
    ASSERT_EQ(plain.Cache().size(), masked.Cache().size());
    for (size_t i = 0; i < plain.Cache().size(); ++i)
        EXPECT_EQ(plain.Cache()[i].mValue, masked.Cache()[i].mValue) << i;

    // A mask over the left five columns gives the moments of those columns alone.
    PlanePtr left(MakePlane(8, 6, 0, [](long long x, long long) { return x < 5 ? 1.0 : 0.0; }));
    Real3Ptr part(MakeColourImage(5, 6, [&](long long x, long long y, int c) { return image->PixelPtr(x, y)[c]; }));
    ColorMoments cut, alone;
    cut.FillMomentCache(image.get(), 1, 2, true, left.get(), false, 0.0);
    alone.FillMomentCache(part.get(), 1, 2, false, nullptr, false, 0.0);
    for (size_t i = 0; i < alone.Cache().size(); ++i)
        EXPECT_TRUE(Near(alone.Cache()[i].mValue, cut.Cache()[i].mValue, 1e-13)) << i;
}

TEST(ColorMoments, InvariantsIgnoreAScalingOfEachChannel)
{
    Real3Ptr image(MakeNoise(9, 7, 4));
    const double gain[3] = {2.0, 0.5, 3.0};
    Real3Ptr lit(MakeColourImage(9, 7, [&](long long x, long long y, int c) { return gain[c] * image->PixelPtr(x, y)[c]; }));
    ColorMoments moments;
    std::vector<double> a, b;
    moments.GetInvariants(a, image.get(), false, nullptr, false, 0.0);
    moments.GetInvariants(b, lit.get(), false, nullptr, false, 0.0);
    ASSERT_EQ(24u, a.size());
    ASSERT_EQ(24u, b.size());
    for (size_t i = 0; i < 24; ++i)
    {
        EXPECT_TRUE(std::isfinite(a[i])) << i;
        EXPECT_NEAR(a[i], b[i], 1e-9 * (1.0 + std::fabs(a[i]))) << i;
    }
    // Noise is not constant: the determinants are not all zero.
    int nonzero = 0;
    for (size_t i = 9; i < 24; ++i)
        nonzero += std::fabs(a[i]) > 1e-6;
    EXPECT_GT(nonzero, 10);
}

TEST(ColorMoments, BandsThatAreMultiplesOfEachOtherHaveNoDeterminant)
{
    // G = 2 R everywhere: the columns of R and G powers are proportional in C11 "RG".
    Real3Ptr image(MakeColourImage(6, 6, [](long long x, long long y, int c) {
        const double r = 10.0 + (x * 7 + y * 3) % 11;
        return c == 0 ? r : (c == 1 ? 2 * r : 50.0 + (x * x + 3 * y) % 7);
    }));
    ColorMoments moments;
    moments.FillMomentCache(image.get(), 1, 2, false, nullptr, false, 0.0);
    EXPECT_NEAR(0.0, moments.C11("RG"), 1e-9);
    EXPECT_GT(std::fabs(moments.C11("RB")), 1e-6);
}

TEST(ColorMoments, SmoothingUsesTheFirstOrderRecursiveGaussianOnEachChannel)
{
    Real3Ptr image(MakeNoise(10, 8, 5));
    Array2dReal64* planes[3] = {nullptr, nullptr, nullptr};
    for (int c = 0; c < 3; ++c)
    {
        PlanePtr channel(MakePlane(10, 8, 0, [&](long long x, long long y) { return image->PixelPtr(x, y)[c]; }));
        RecGauss(planes[c], channel.get(), 1.5, 1.5, 0, 0, 1);
    }
    Real3Ptr smoothed(MakeColourImage(10, 8, [&](long long x, long long y, int c) { return *planes[c]->PixelPtr(x, y); }));
    for (Array2dReal64* p : planes)
        delete p;

    ColorMoments inside, outside;
    inside.FillMomentCache(image.get(), 1, 2, false, nullptr, true, 1.5);
    outside.FillMomentCache(smoothed.get(), 1, 2, false, nullptr, false, 0.0);
    ColorMoments raw;
    raw.FillMomentCache(image.get(), 1, 2, false, nullptr, false, 0.0);
    ASSERT_EQ(30u, inside.Cache().size());
    for (size_t i = 0; i < 30; ++i)
        EXPECT_EQ(outside.Cache()[i].mValue, inside.Cache()[i].mValue) << i;
    EXPECT_NE(raw.SB(0, 0, 'R', 2), inside.SB(0, 0, 'R', 2));
}
