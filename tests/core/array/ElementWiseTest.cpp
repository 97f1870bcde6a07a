#include "core/array/ElementWise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "core/array/ArrayFactories.h"
#include "core/array/PixSum.h"
#include "core/array/ProjectRange.h"

using namespace Tavlin::Core::Array;

namespace
{

// Plane with a border whose stored values are a sentinel, image values v(x, y).
template <class F>
Array2dReal64* MakePlane(long long w, long long h, long long border, F v)
{
    Array2dReal64* a = ArrayCreate<Array2dReal64>(w, h, border, border);
    for (uint64_t i = 0; i < a->DataSize(); ++i)
        a->Data()[i] = -999.0;
    for (long long y = 0; y < h; ++y)
        for (long long x = 0; x < w; ++x)
            *a->PixelPtr(x, y) = v(x, y);
    return a;
}

const double kNaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(ElementWise, ComputesImagePixelsAndLeavesBorder)
{
    Array2dReal64* a = MakePlane(3, 2, 1, [](long long x, long long y) { return 1.0 + x + 3 * y; });
    Array2dReal64* b = MakePlane(3, 2, 2, [](long long x, long long y) { return 0.5 * (x - y); });

    Array2dReal64* sum = nullptr;
    Add(sum, a, b);
    ASSERT_NE(sum, nullptr);
    EXPECT_EQ(sum->BorderWidth(), 1); // shaped like the first source
    Array2dReal64* diff = nullptr;
    Sub(diff, a, b);
    Array2dReal64* prod = nullptr;
    Mul(prod, a, b);
    Array2dReal64* shifted = nullptr;
    AddVal(shifted, a, 2.5);
    Array2dReal64* scaled = nullptr;
    MulVal(scaled, a, -2.0);
    Array2dReal64* divided = nullptr;
    DivVal(divided, a, 4.0);
    Array2dReal64* root = nullptr;
    Sqrt(root, a);
    Array2dReal64* copy = nullptr;
    Set(copy, a);
    for (long long y = 0; y < 2; ++y)
        for (long long x = 0; x < 3; ++x)
        {
            const double u = 1.0 + x + 3 * y;
            const double v = 0.5 * (x - y);
            EXPECT_EQ(*sum->PixelPtr(x, y), u + v);
            EXPECT_EQ(*diff->PixelPtr(x, y), u - v);
            EXPECT_EQ(*prod->PixelPtr(x, y), u * v);
            EXPECT_EQ(*shifted->PixelPtr(x, y), u + 2.5);
            EXPECT_EQ(*scaled->PixelPtr(x, y), -2.0 * u);
            EXPECT_EQ(*divided->PixelPtr(x, y), u / 4.0);
            EXPECT_EQ(*root->PixelPtr(x, y), std::sqrt(u));
            EXPECT_EQ(*copy->PixelPtr(x, y), u);
        }

    // A given result drives the loops and its border is not written.
    Array2dReal64* given = MakePlane(2, 1, 1, [](long long, long long) { return 0.0; });
    Add(given, a, b);
    EXPECT_EQ(*given->PixelPtr(0, 0), 1.0);
    EXPECT_EQ(*given->PixelPtr(1, 0), 2.5);
    EXPECT_EQ(*given->PixelPtr(2, 0), -999.0);
    EXPECT_EQ(*given->PixelPtr(-1, 0), -999.0);
    EXPECT_EQ(*given->PixelPtr(0, -1), -999.0);

    for (Array2dReal64* p : {a, b, sum, diff, prod, shifted, scaled, divided, root, copy, given})
        delete p;
}

TEST(ElementWise, Atan2ReplacesNaNByZero)
{
    const double as[] = {0.0, 1.0, kNaN, 1.0, -1.0};
    const double bs[] = {0.0, 1.0, 1.0, kNaN, 0.0};
    Array2dReal64* a = MakePlane(5, 1, 0, [&](long long x, long long) { return as[x]; });
    Array2dReal64* b = MakePlane(5, 1, 0, [&](long long x, long long) { return bs[x]; });
    Array2dReal64* r = nullptr;
    Atan2(r, a, b);
    EXPECT_EQ(*r->PixelPtr(0, 0), 0.0);
    EXPECT_DOUBLE_EQ(*r->PixelPtr(1, 0), M_PI / 4);
    EXPECT_EQ(*r->PixelPtr(2, 0), 0.0);
    EXPECT_EQ(*r->PixelPtr(3, 0), 0.0);
    EXPECT_DOUBLE_EQ(*r->PixelPtr(4, 0), -M_PI / 2);
    delete a;
    delete b;
    delete r;
}

TEST(ElementWise, ColourScalingAndPower)
{
    Array2dVec3UInt8* img = ArrayCreate<Array2dVec3UInt8>(2, 1, 0, 0);
    const unsigned char values[6] = {10, 20, 30, 255, 0, 1};
    for (int i = 0; i < 6; ++i)
        img->Data()[i] = values[i];
    Array2dVec3Real64* scaled = nullptr;
    MulVal(scaled, img, Vec3Int32(3, -1, 100000000));
    ASSERT_NE(scaled, nullptr);
    EXPECT_EQ(scaled->PixelPtr(0, 0)[0], 30.0);
    EXPECT_EQ(scaled->PixelPtr(0, 0)[1], -20.0);
    // 30 x 1e8 does not fit 32 bits: the product wraps around as a 32-bit integer.
    EXPECT_EQ(scaled->PixelPtr(0, 0)[2], static_cast<double>(static_cast<int32_t>(30u * 100000000u)));
    EXPECT_EQ(scaled->PixelPtr(1, 0)[0], 765.0);

    Array2dVec3Real64* halved = nullptr;
    MulVal(halved, scaled, Vec3Real64(0.5, 2.0, 0.0));
    EXPECT_EQ(halved->PixelPtr(1, 0)[0], 382.5);
    EXPECT_EQ(halved->PixelPtr(0, 0)[1], -40.0);
    EXPECT_EQ(halved->PixelPtr(1, 0)[2], 0.0);

    Array2dVec3Real64* squared = nullptr;
    Pow(squared, halved, 2.0);
    EXPECT_EQ(squared->PixelPtr(1, 0)[0], 382.5 * 382.5);
    EXPECT_EQ(squared->PixelPtr(0, 0)[1], 1600.0);
    delete img;
    delete scaled;
    delete halved;
    delete squared;
}

TEST(ProjectRange, PicksChannelCountedFromOne)
{
    Array2dVec3UInt8* img = ArrayCreate<Array2dVec3UInt8>(1, 1, 1, 1);
    unsigned char* p = img->PixelPtr(0, 0);
    p[0] = 10;
    p[1] = 20;
    p[2] = 30;
    const double expected[] = {10.0, 10.0, 20.0, 30.0, 10.0}; // dimensions -1, 1, 2, 3, 4
    const int dims[] = {-1, 1, 2, 3, 4};
    for (int i = 0; i < 5; ++i)
    {
        Array2dReal64* plane = nullptr;
        ProjectRange(plane, img, dims[i]);
        ASSERT_NE(plane, nullptr);
        EXPECT_EQ(plane->BorderWidth(), 1);
        EXPECT_EQ(*plane->PixelPtr(0, 0), expected[i]) << "dimension " << dims[i];
        delete plane;
    }
    delete img;
}

TEST(PixSum, SumsImageOnly)
{
    Array2dReal64* a = MakePlane(4, 3, 2, [](long long x, long long y) { return x * 0.25 + y; });
    EXPECT_EQ(PixSum(a), 4 * (0 + 1 + 2) + 3 * (0.25 * (0 + 1 + 2 + 3)));
    Array2dReal64* empty = ArrayCreate<Array2dReal64>(0, 0, 0, 0);
    EXPECT_EQ(PixSum(empty), 0.0);
    Array2dReal64* r = nullptr;
    Sqrt(r, empty); // height 0: nothing to do
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->Height(), 0);
    delete a;
    delete empty;
    delete r;
}
