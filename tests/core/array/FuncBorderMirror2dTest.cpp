#include "core/array/FuncBorderMirror2d.h"

#include <gtest/gtest.h>

#include "core/array/ArrayFactories.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Pattern;

namespace
{

const double kSentinel = -999.0;

Array2dReal64* MakeImage(long long w, long long h, long long bw, long long bh)
{
    Array2dReal64* a = ArrayCreate<Array2dReal64>(w, h, bw, bh);
    for (uint64_t i = 0; i < a->DataSize(); ++i)
        a->Data()[i] = kSentinel;
    for (long long y = 0; y < h; ++y)
        for (long long x = 0; x < w; ++x)
            *a->PixelPtr(x, y) = 1.0 + x + 10 * y;
    return a;
}

double At(Array2dReal64* a, long long x, long long y) { return *a->PixelPtr(x, y); }

// Reflection that repeats the edge pixel: -1 -> 0, -2 -> 1, n -> n - 1, n + 1 -> n - 2.
long long Reflect(long long i, long long n) { return i < 0 ? -1 - i : (i >= n ? 2 * n - 1 - i : i); }

} // namespace

TEST(FuncBorderMirror2d, ReflectsWithEdgeRepeatedAndCornersMirrored)
{
    Array2dReal64* a = MakeImage(4, 3, 2, 2);
    FuncBorderMirror2d(a, 2, 2);
    for (long long y = -2; y < 5; ++y)
        for (long long x = -2; x < 6; ++x)
            EXPECT_EQ(At(a, x, y), 1.0 + Reflect(x, 4) + 10 * Reflect(y, 3)) << x << "," << y;
    delete a;
}

TEST(FuncBorderMirror2d, OneAxisTouchesOnlyItsSides)
{
    Array2dReal64* a = MakeImage(4, 3, 2, 2);
    FuncBorderMirror2d(a, 2, 0);
    for (long long y = -2; y < 5; ++y)
        for (long long x = -2; x < 6; ++x)
        {
            const bool rowOfImage = y >= 0 && y < 3;
            const double expected = rowOfImage ? 1.0 + Reflect(x, 4) + 10 * y : kSentinel;
            EXPECT_EQ(At(a, x, y), expected) << x << "," << y;
        }
    delete a;

    Array2dReal64* b = MakeImage(4, 3, 2, 2);
    FuncBorderMirror2d(b, 0, 2);
    for (long long y = -2; y < 5; ++y)
        for (long long x = -2; x < 6; ++x)
        {
            const bool columnOfImage = x >= 0 && x < 4;
            const double expected = columnOfImage ? 1.0 + x + 10 * Reflect(y, 3) : kSentinel;
            EXPECT_EQ(At(b, x, y), expected) << x << "," << y;
        }
    delete b;
}

TEST(FuncBorderMirror2d, WiderThanImageFollowsTheCopySequence)
{
    // One pixel p between sentinels s1 .. s4 at -2, -1, 1, 2. The left sweep copies
    // p to -1 and the stale value at 1 to -2; the right sweep then copies p to 1 and
    // the fresh value at -1 (p) to 2.
    Array2dReal64* a = ArrayCreate<Array2dReal64>(1, 1, 2, 0);
    const double row[5] = {-1.0, -2.0, 5.0, -3.0, -4.0};
    for (int i = 0; i < 5; ++i)
        a->Data()[i] = row[i];
    FuncBorderMirror2d(a, 2, 0);
    EXPECT_EQ(At(a, -2, 0), -3.0);
    EXPECT_EQ(At(a, -1, 0), 5.0);
    EXPECT_EQ(At(a, 0, 0), 5.0);
    EXPECT_EQ(At(a, 1, 0), 5.0);
    EXPECT_EQ(At(a, 2, 0), 5.0);
    delete a;

    // Rows: height 1 with numY 2. Row -1 <- row 0, row -2 <- row 1 (stale), then
    // row 1 <- row 0, row 2 <- row -1.
    Array2dVec3UInt8* c = ArrayCreate<Array2dVec3UInt8>(1, 1, 0, 2);
    const unsigned char col[5] = {11, 22, 50, 33, 44};
    for (int i = 0; i < 5; ++i)
        for (int k = 0; k < 3; ++k)
            c->Data()[3 * i + k] = static_cast<unsigned char>(col[i] + k);
    FuncBorderMirror2d(c, 0, 2);
    const unsigned char expected[5] = {33, 50, 50, 50, 50};
    for (int i = 0; i < 5; ++i)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(c->PixelPtr(0, i - 2)[k], expected[i] + k) << i;
    delete c;
}
