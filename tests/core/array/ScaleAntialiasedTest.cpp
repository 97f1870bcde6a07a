#include "core/array/ScaleAntialiased.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakeColourImage;
using TestSupport::MakeColourImage8;

namespace
{

typedef std::unique_ptr<Array2dVec3Real64> Real3Ptr;
typedef std::unique_ptr<Array2dVec3UInt8> Byte3Ptr;

// Lanczos-3 kernel in plain double, written from its definition.
double Lanczos(double t)
{
    if (t == 0.0)
        return 1.0;
    if (t <= -3.0 || t >= 3.0)
        return 0.0;
    const double pi = std::acos(-1.0);
    return std::sin(pi * t) / (pi * t) * std::sin(pi * t / 3.0) / (pi * t / 3.0);
}

double Pixel(Array2dVec3Real64* a, long long x, long long y, int c)
{
    return a->PixelPtr(x, y)[c];
}

Array2dVec3Real64* Transposed(Array2dVec3Real64* a)
{
    Array2dVec3Real64* t = new Array2dVec3Real64(a->mHeight, a->mWidth, 0, 0);
    for (long long y = 0; y < a->mHeight; ++y)
        for (long long x = 0; x < a->mWidth; ++x)
            for (int c = 0; c < 3; ++c)
                t->PixelPtr(y, x)[c] = a->PixelPtr(x, y)[c];
    return t;
}

Real3Ptr Scaled(Array2dVec3UInt8* src, long long width, long long height)
{
    Array2dVec3Real64* out = nullptr;
    ScaleAntialiased(out, src, width, height);
    return Real3Ptr(out);
}

template <class Src>
Real3Ptr Horizontal(Src* src, long long width)
{
    Array2dVec3Real64* out = nullptr;
    ScaleAntialiasedHorizontal(out, src, width);
    return Real3Ptr(out);
}

template <class Src>
Real3Ptr Vertical(Src* src, long long height)
{
    Array2dVec3Real64* out = nullptr;
    ScaleAntialiasedVertical(out, src, height);
    return Real3Ptr(out);
}

bool SameBits(Array2dVec3Real64* a, Array2dVec3Real64* b)
{
    if (a->mWidth != b->mWidth || a->mHeight != b->mHeight)
        return false;
    for (long long y = 0; y < a->mHeight; ++y)
        if (std::memcmp(a->PixelPtr(0, y), b->PixelPtr(0, y), static_cast<size_t>(a->mWidth) * 3 * sizeof(double)))
            return false;
    return true;
}

} // namespace

TEST(ScaleAntialiased, ConstantImageStaysConstantInBothPassOrders)
{
    Byte3Ptr src(MakeColourImage8(30, 17, [](long long, long long, int c) { return 40 + 90 * c; }));
    // Shrinking and enlarging, with either axis changing more.
    const long long sizes[][2] = {{10, 16}, {29, 5}, {75, 20}, {33, 60}, {30, 17}, {1, 1}, {90, 3}};
    for (const auto& s : sizes)
    {
        SCOPED_TRACE(testing::Message() << s[0] << "x" << s[1]);
        Real3Ptr dst = Scaled(src.get(), s[0], s[1]);
        ASSERT_EQ(s[0], dst->mWidth);
        ASSERT_EQ(s[1], dst->mHeight);
        EXPECT_EQ(0, dst->mBorderWidth);
        for (long long y = 0; y < dst->mHeight; ++y)
            for (long long x = 0; x < dst->mWidth; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_NEAR(40 + 90 * c, Pixel(dst.get(), x, y, c), 1e-4) << x << "," << y;
    }

    // Odd shapes, to nothing or a few pixels: no crash.
    for (const auto& shape : {std::make_pair(1LL, 1LL), std::make_pair(1LL, 300LL), std::make_pair(700LL, 12LL)})
    {
        Byte3Ptr odd(
            MakeColourImage8(shape.first, shape.second, [](long long x, long long y, int) { return (x + y) % 256; }));
        for (long long n : {0LL, 1LL, 5LL})
        {
            Real3Ptr dst = Scaled(odd.get(), n, n + 1);
            ASSERT_TRUE(dst);
            EXPECT_EQ(n, dst->mWidth);
            EXPECT_EQ(n + 1, dst->mHeight);
        }
    }
}

TEST(ScaleAntialiased, RunsTheMoreShrinkingPassFirst)
{
    Byte3Ptr src(MakeColourImage8(23, 19, [](long long x, long long y, int c) {
        return static_cast<int>((x * 37 + y * 91 + c * 53 + x * y * 7) % 256);
    }));
    const long long sizes[][2] = {{7, 15}, {20, 4}, {46, 21}, {25, 50}};
    for (const auto& s : sizes)
    {
        SCOPED_TRACE(testing::Message() << s[0] << "x" << s[1]);
        Real3Ptr horizontalFirst = Vertical(Horizontal(src.get(), s[0]).get(), s[1]);
        Real3Ptr verticalFirst = Horizontal(Vertical(src.get(), s[1]).get(), s[0]);
        ASSERT_FALSE(SameBits(horizontalFirst.get(), verticalFirst.get()));
        Real3Ptr dst = Scaled(src.get(), s[0], s[1]);
        const bool horizontalShrinksMore = s[1] * src->mWidth >= s[0] * src->mHeight;
        EXPECT_TRUE(SameBits(dst.get(), horizontalShrinksMore ? horizontalFirst.get() : verticalFirst.get()));
    }
}

TEST(ScaleAntialiased, ReplacesAGivenResult)
{
    Byte3Ptr src(MakeColourImage8(8, 8, [](long long, long long, int) { return 9; }));
    Array2dVec3Real64* dst = new Array2dVec3Real64(2, 2, 1, 1);
    ScaleAntialiasedHorizontal(dst, src.get(), 5);
    Real3Ptr owned(dst);
    EXPECT_EQ(5, dst->mWidth);
    EXPECT_EQ(8, dst->mHeight);
    EXPECT_EQ(0, dst->mBorderWidth);
    EXPECT_EQ(0, dst->mBorderHeight);
}

TEST(ScaleAntialiasedHorizontal, WeightsFollowTheLanczosCurveInSmallCases)
{
    const double row[4] = {10.0, 50.0, 90.0, 200.0};
    Real3Ptr src(MakeColourImage(4, 1, [&](long long x, long long, int c) { return row[x] + c; }));

    // Halving: scale 2, support 6, every source column in each window; t = (j - centre + 0.5) / 2.
    Real3Ptr halved = Horizontal(src.get(), 2);
    for (int x = 0; x < 2; ++x)
    {
        const double centre = (x + 0.5) * 2.0;
        double num = 0.0, den = 0.0;
        for (int j = 0; j < 4; ++j)
        {
            const double w = Lanczos((j - centre + 0.5) / 2.0);
            num += row[j] * w;
            den += w;
        }
        EXPECT_NEAR(num / den, Pixel(halved.get(), x, 0, 0), 1e-4) << x;
        EXPECT_NEAR(num / den + 2.0, Pixel(halved.get(), x, 0, 2), 1e-4) << x;
    }

    // Doubling 2 -> 4: support 0.5, so the outer columns copy their source pixel and
    // column 1 mixes source 0 and 1 with the weights at -0.25 and 0.75.
    Real3Ptr two(MakeColourImage(2, 1, [](long long x, long long, int) { return x == 0 ? 100.0 : 20.0; }));
    Real3Ptr doubled = Horizontal(two.get(), 4);
    const double w0 = Lanczos(-0.25), w1 = Lanczos(0.75);
    EXPECT_NEAR(100.0, Pixel(doubled.get(), 0, 0, 1), 1e-4);
    EXPECT_NEAR((100.0 * w0 + 20.0 * w1) / (w0 + w1), Pixel(doubled.get(), 1, 0, 1), 1e-4);
    EXPECT_NEAR(20.0, Pixel(doubled.get(), 3, 0, 1), 1e-4);
}

TEST(ScaleAntialiasedHorizontal, ClampsToTheByteRange)
{
    // A hard edge rings on both sides at scale 1; a double source beyond the range is cut.
    Byte3Ptr edge(MakeColourImage8(12, 2, [](long long x, long long, int) { return x < 6 ? 0 : 255; }));
    Real3Ptr same = Horizontal(edge.get(), 12);
    int zeros = 0, full = 0;
    for (long long x = 0; x < 12; ++x)
    {
        const double v = Pixel(same.get(), x, 1, 0);
        EXPECT_GE(v, 0.0);
        EXPECT_LE(v, 255.0);
        zeros += v == 0.0;
        full += v == 255.0;
    }
    EXPECT_GT(zeros, 0);
    EXPECT_GT(full, 0);

    Real3Ptr wild(MakeColourImage(6, 3, [](long long, long long, int c) { return c == 0 ? 1000.0 : (c == 1 ? -5.0 : 17.5); }));
    Real3Ptr cut = Vertical(wild.get(), 2);
    for (long long x = 0; x < 6; ++x)
    {
        EXPECT_EQ(255.0, Pixel(cut.get(), x, 1, 0));
        EXPECT_EQ(0.0, Pixel(cut.get(), x, 1, 1));
        EXPECT_NEAR(17.5, Pixel(cut.get(), x, 1, 2), 1e-4);
    }
}

TEST(ScaleAntialiasedVertical, IsTheHorizontalPassOnTheTransposedImage)
{
    Real3Ptr src(MakeColourImage(9, 26, [](long long x, long long y, int c) {
        return std::fmod(x * 13.7 + y * y * 1.9 + c * 40.0, 256.0);
    }));
    Real3Ptr transposed(Transposed(src.get()));
    for (long long n : {7, 26, 61})
    {
        Real3Ptr back(Transposed(Horizontal(transposed.get(), n).get()));
        EXPECT_TRUE(SameBits(Vertical(src.get(), n).get(), back.get())) << n;
    }
}

TEST(ScaleDownAntialiased, LargestSizeAndNoOpFactors)
{
    Byte3Ptr wide(MakeColourImage8(1000, 250, [](long long, long long, int c) { return 60 + c; }));
    Array2dVec3UInt8* dst = nullptr;
    ScaleDownAntialiased(dst, wide.get(), 500.0);
    Byte3Ptr owned(dst);
    ASSERT_TRUE(dst);
    EXPECT_EQ(500, dst->mWidth);
    EXPECT_EQ(125, dst->mHeight);
    for (long long y = 0; y < dst->mHeight; y += 31)
        for (long long x = 0; x < dst->mWidth; x += 37)
            for (int c = 0; c < 3; ++c)
                EXPECT_NEAR(60 + c, dst->PixelPtr(x, y)[c], 1) << x << "," << y;

    Byte3Ptr fits(MakeColourImage8(400, 300, [](long long, long long, int) { return 1; }));
    for (double factor : {500.0, 1.0, 0.0, -3.0})
    {
        Array2dVec3UInt8* none = nullptr;
        ScaleDownAntialiased(none, fits.get(), factor);
        EXPECT_EQ(nullptr, none) << factor;
        Byte3Ptr given(MakeColourImage8(3, 2, [](long long, long long, int) { return 77; }));
        Array2dVec3UInt8* kept = given.get();
        ScaleDownAntialiased(kept, fits.get(), factor);
        EXPECT_EQ(given.get(), kept) << factor;
        EXPECT_EQ(3, kept->mWidth);
        EXPECT_EQ(77, kept->PixelPtr(2, 1)[2]);
    }
}

TEST(ScaleDownAntialiased, FactorBelowOneScalesAndTruncates)
{
    Byte3Ptr src(MakeColourImage8(40, 21, [](long long x, long long, int) { return x < 20 ? 10 : 250; }));
    Array2dVec3UInt8* dst = nullptr;
    ScaleDownAntialiased(dst, src.get(), 0.5);
    Byte3Ptr owned(dst);
    ASSERT_TRUE(dst);
    EXPECT_EQ(20, dst->mWidth);
    EXPECT_EQ(10, dst->mHeight);

    // The same values as the double result, truncated.
    Real3Ptr reference = Scaled(src.get(), 20, 10);
    for (long long y = 0; y < 10; ++y)
        for (long long x = 0; x < 20; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(static_cast<int>(Pixel(reference.get(), x, y, c)), dst->PixelPtr(x, y)[c]);
}
