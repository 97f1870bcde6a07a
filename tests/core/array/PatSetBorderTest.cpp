#include "core/array/PatSetBorder.h"

#include <gtest/gtest.h>

#include "core/array/ArrayFactories.h"
#include "core/array/FuncBorderPropagateNormalized2d.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Pattern;

namespace
{

const double kSentinel = -999.0;

// 3 x 2 image, border 2 x 2 of sentinels; pixel (x, y) = 1 + x + 10 y.
Array2dReal64* MakeImage()
{
    Array2dReal64* a = ArrayCreate<Array2dReal64>(3, 2, 2, 2);
    for (uint64_t i = 0; i < a->DataSize(); ++i)
        a->Data()[i] = kSentinel;
    for (long long y = 0; y < 2; ++y)
        for (long long x = 0; x < 3; ++x)
            *a->PixelPtr(x, y) = 1.0 + x + 10 * y;
    return a;
}

double At(Array2dReal64* a, long long x, long long y) { return *a->PixelPtr(x, y); }

} // namespace

TEST(PatSetBorder, ConstantFillsRequestedFrame)
{
    Array2dReal64* a = MakeImage();
    PatSetBorder(a, 1, 2, BorderConstant, 7.0, 0.0, 0.0, 0.0, 0.0);
    for (long long y = -2; y < 4; ++y)
        for (long long x = -2; x < 5; ++x)
        {
            const bool image = x >= 0 && x < 3 && y >= 0 && y < 2;
            const bool filled = !image && x >= -1 && x < 4;
            const double expected = image ? 1.0 + x + 10 * y : (filled ? 7.0 : kSentinel);
            EXPECT_EQ(At(a, x, y), expected) << x << "," << y;
        }
    delete a;

    // Types 1 and 2 leave the array untouched.
    Array2dReal64* b = MakeImage();
    PatSetBorder(b, 2, 2, BorderReserved1, 7.0, 1.0, 1.0, 1.0, 1.0);
    PatSetBorder(b, 2, 2, BorderReserved2, 7.0, 1.0, 1.0, 1.0, 1.0);
    for (uint64_t i = 0; i < b->DataSize(); ++i)
    {
        const double v = b->Data()[i];
        EXPECT_TRUE(v == kSentinel || (v >= 1.0 && v <= 13.0));
    }
    EXPECT_EQ(At(b, -1, 0), kSentinel);
    delete b;
}

TEST(PatSetBorder, PropagationScalesOnlyLeftAndTop)
{
    Array2dReal64* a = MakeImage();
    PatSetBorder(a, 2, 2, BorderPropagateNormalized, 0.0, -1.0, -1.0, -1.0, -1.0);
    // Rows of the image: left negated, right plain.
    for (long long y = 0; y < 2; ++y)
    {
        const double first = 1.0 + 10 * y;
        const double last = 3.0 + 10 * y;
        EXPECT_EQ(At(a, -1, y), -first);
        EXPECT_EQ(At(a, -2, y), -first);
        EXPECT_EQ(At(a, 3, y), last);
        EXPECT_EQ(At(a, 4, y), last);
    }
    // Rows above: row 0 negated, corners included; rows below: plain copies of row 1.
    for (long long x = -2; x < 5; ++x)
        for (long long k = 1; k <= 2; ++k)
        {
            EXPECT_EQ(At(a, x, -k), -At(a, x, 0)) << x;
            EXPECT_EQ(At(a, x, 1 + k), At(a, x, 1)) << x;
        }
    EXPECT_EQ(At(a, -2, -2), 1.0);  // negated twice
    EXPECT_EQ(At(a, 4, -1), -3.0);  // negated once
    EXPECT_EQ(At(a, -1, 3), -11.0); // left of the last row
    EXPECT_EQ(At(a, 4, 3), 13.0);
    delete a;

    // Integer norms multiply in double; rows only when numX is 0.
    Array2dReal64* b = MakeImage();
    FuncBorderPropagateNormalized2d(b, 0, 1, 3, 5, 2, 5);
    EXPECT_EQ(At(b, 0, -1), 2.0);
    EXPECT_EQ(At(b, 2, -1), 6.0);
    EXPECT_EQ(At(b, 2, 2), 13.0);
    EXPECT_EQ(At(b, -1, 0), kSentinel);
    EXPECT_EQ(At(b, -1, -1), kSentinel);
    EXPECT_EQ(At(b, 0, -2), kSentinel);
    delete b;
}
