#include "core/array/FuncBorderMirror2d.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "core/array/ArrayFactories.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Pattern;
using TestSupport::kBorderSentinel;
using TestSupport::Reflect;

TEST(FuncBorderMirror2d, ReflectsWithEdgeRepeatedAlongTheAxesAsked)
{
    // Both axes: corners are mirrors of mirrors. One axis: only its sides, image lines only.
    const long long axes[][2] = {{2, 2}, {2, 0}, {0, 2}};
    for (const auto& n : axes)
    {
        std::unique_ptr<Array2dReal64> a(
            TestSupport::MakePlane(4, 3, 2, [](long long x, long long y) { return 1.0 + x + 10 * y; }));
        FuncBorderMirror2d(a.get(), n[0], n[1]);
        for (long long y = -2; y < 5; ++y)
            for (long long x = -2; x < 6; ++x)
            {
                const bool untouched = (n[0] == 0 && (x < 0 || x >= 4)) || (n[1] == 0 && (y < 0 || y >= 3));
                EXPECT_EQ(*a->PixelPtr(x, y), untouched ? kBorderSentinel : 1.0 + Reflect(x, 4) + 10 * Reflect(y, 3))
                    << n[0] << n[1] << " at " << x << "," << y;
            }
    }
}

TEST(FuncBorderMirror2d, WiderThanImageFollowsTheCopySequence)
{
    // One pixel p between s1 .. s4 at -2, -1, 1, 2. The left sweep copies p to -1 and
    // the stale value at 1 to -2; the right sweep then copies p to 1 and the fresh value
    // at -1 (p) to 2. Rows the same way, here for three channels.
    std::unique_ptr<Array2dReal64> a(ArrayCreate<Array2dReal64>(1, 1, 2, 0));
    const double row[5] = {-1.0, -2.0, 5.0, -3.0, -4.0};
    std::copy(row, row + 5, a->Data());
    FuncBorderMirror2d(a.get(), 2, 0);
    const double expected[5] = {-3.0, 5.0, 5.0, 5.0, 5.0};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(a->Data()[i], expected[i]) << i;

    std::unique_ptr<Array2dVec3UInt8> c(ArrayCreate<Array2dVec3UInt8>(1, 1, 0, 2));
    const unsigned char column[5] = {11, 22, 50, 33, 44};
    for (int i = 0; i < 15; ++i)
        c->Data()[i] = static_cast<unsigned char>(column[i / 3] + i % 3);
    FuncBorderMirror2d(c.get(), 0, 2);
    const unsigned char after[5] = {33, 50, 50, 50, 50};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(c->Data()[i], after[i / 3] + i % 3) << i;
}
