#include "core/array/PatGeometricOp.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/Matrices.h"

using namespace Tavlin::Core::Array;
using Tavlin::Core::Geometry::GeoIntLinear;
using Tavlin::Core::Geometry::GeoIntNearest;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

namespace
{

typedef std::unique_ptr<Array2dReal64> PlanePtr;

// 3 x 3 source: value 10 x + 100 y + 1.
Array2dUInt8* MakeSource()
{
    Array2dUInt8* src = new Array2dUInt8(3, 3, 1, 1);
    for (long long y = 0; y < 3; ++y)
        for (long long x = 0; x < 3; ++x)
            *src->PixelPtr(x, y) = static_cast<unsigned char>(10 * x + 100 * y + 1);
    return src;
}

PlanePtr Warp(const Array2dUInt8* src, const std::vector<double>& matrix, bool isForward,
              Tavlin::Core::Geometry::GeoIntType interpolation, bool adjustSize, double background = -1.0)
{
    MatrixPtr m = MatrixOf(matrix.size() == 9 ? 3 : 2, 3, matrix);
    Array2dReal64* dst = nullptr;
    Pattern::PatGeometricOp<Array2dReal64, const Array2dUInt8>(dst, src, m.get(), isForward, interpolation,
                                                               adjustSize, background);
    return PlanePtr(dst);
}

} // namespace

TEST(PatGeometricOp, DoublingByHandNearestAndBilinear)
{
    std::unique_ptr<Array2dUInt8> src(MakeSource());
    const std::vector<double> doubling = {2, 0, 0, 0, 2, 0, 0, 0, 1};

    // Destination x samples source x / 2. Nearest reaches up to x / 2 < 2.5, bilinear
    // only up to x / 2 < 2; beyond that the background -1.
    PlanePtr nearest(Warp(src.get(), doubling, true, GeoIntNearest, true));
    ASSERT_EQ(6, nearest->mWidth);
    ASSERT_EQ(6, nearest->mHeight);
    EXPECT_EQ(1, nearest->mBorderWidth);
    const int nearCol[6] = {0, 1, 1, 2, 2, -1};
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x)
        {
            const double expected = nearCol[x] < 0 || nearCol[y] < 0 ? -1.0 : 10.0 * nearCol[x] + 100.0 * nearCol[y] + 1;
            EXPECT_EQ(expected, *nearest->PixelPtr(x, y)) << x << "," << y;
        }

    PlanePtr linear(Warp(src.get(), doubling, true, GeoIntLinear, true));
    const double linCol[6] = {0.0, 0.5, 1.0, 1.5, -1, -1};
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x)
        {
            const double expected = linCol[x] < 0 || linCol[y] < 0 ? -1.0 : 10.0 * linCol[x] + 100.0 * linCol[y] + 1;
            EXPECT_EQ(expected, *linear->PixelPtr(x, y)) << x << "," << y;
        }
}

TEST(PatGeometricOp, BilinearMixesAllFourNeighbours)
{
    Array2dUInt8 src(2, 2, 0, 0);
    *src.PixelPtr(0, 0) = 0;
    *src.PixelPtr(1, 0) = 100;
    *src.PixelPtr(0, 1) = 40;
    *src.PixelPtr(1, 1) = 200;
    // Destination to source: x -> 0.25 x, y -> 0.5 y; pixel (1, 1) samples (0.25, 0.5).
    PlanePtr out(Warp(&src, {0.25, 0, 0, 0, 0.5, 0, 0, 0, 1}, false, GeoIntLinear, false));
    ASSERT_EQ(2, out->mWidth);
    const double top = 0 + 0.25 * 100, bottom = 40 + 0.25 * 160;
    EXPECT_DOUBLE_EQ(top + 0.5 * (bottom - top), *out->PixelPtr(1, 1));
    EXPECT_EQ(0.0, *out->PixelPtr(0, 0));
}

TEST(PatGeometricOp, InverseMatrixWithIsForwardFalseGivesTheSameResult)
{
    std::unique_ptr<Array2dUInt8> src(MakeSource());
    for (auto interpolation : {GeoIntNearest, GeoIntLinear})
    {
        PlanePtr one(Warp(src.get(), {2, 0, 0, 0, 4, 0, 0, 0, 1}, true, interpolation, true));
        PlanePtr two(Warp(src.get(), {0.5, 0, 0, 0, 0.25, 0, 0, 0, 1}, false, interpolation, true));
        ASSERT_EQ(6, one->mWidth);
        ASSERT_EQ(12, one->mHeight);
        ASSERT_EQ(6, two->mWidth);
        ASSERT_EQ(12, two->mHeight);
        for (long long y = 0; y < 12; ++y)
            for (long long x = 0; x < 6; ++x)
                EXPECT_EQ(*one->PixelPtr(x, y), *two->PixelPtr(x, y)) << x << "," << y;
    }
}

TEST(PatGeometricOp, KeepsTheSizeOfAGivenResultWithoutAdjustment)
{
    std::unique_ptr<Array2dUInt8> src(MakeSource());
    MatrixPtr m = MatrixOf(3, 3, {1, 0, 0, 0, 1, 0, 0, 0, 1});
    Array2dReal64* dst = new Array2dReal64(5, 4, 0, 0);
    Array2dReal64* given = dst;
    Pattern::PatGeometricOp<Array2dReal64, const Array2dUInt8>(dst, src.get(), m.get(), true, GeoIntNearest, false,
                                                               7.0);
    PlanePtr owned(dst);
    EXPECT_EQ(given, dst);
    EXPECT_EQ(121.0, *dst->PixelPtr(2, 1));
    EXPECT_EQ(7.0, *dst->PixelPtr(3, 1));
    EXPECT_EQ(7.0, *dst->PixelPtr(0, 3));
}

TEST(PatGeometricOp, RefusesAMatrixThatIsNot3x3)
{
    std::unique_ptr<Array2dUInt8> src(MakeSource());
    testing::internal::CaptureStdout();
    PlanePtr out(Warp(src.get(), {1, 0, 0, 0, 1, 0}, true, GeoIntLinear, true));
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ("PatGeometricOp: matrix needs to be 3x3\n", printed);
    EXPECT_FALSE(out);
}

TEST(PatGeometricOp, WidthSixToTwelveLeavesTheLastTwoColumnsAtBackground)
{
    Array2dUInt8 src(6, 4, 0, 0);
    for (long long y = 0; y < 4; ++y)
        for (long long x = 0; x < 6; ++x)
            *src.PixelPtr(x, y) = 200;
    PlanePtr out(Warp(&src, {2, 0, 0, 0, 1, 0, 0, 0, 1}, true, GeoIntLinear, true, 0.0));
    ASSERT_EQ(12, out->mWidth);
    ASSERT_EQ(4, out->mHeight);
    for (long long x = 0; x < 12; ++x)
    {
        EXPECT_EQ(x < 10 ? 200.0 : 0.0, *out->PixelPtr(x, 1)) << x;
        // The last row is reached only from below as well.
        EXPECT_EQ(0.0, *out->PixelPtr(x, 3)) << x;
    }
}
