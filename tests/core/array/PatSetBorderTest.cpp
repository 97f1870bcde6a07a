#include "core/array/PatSetBorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "core/array/FuncBorderPropagateNormalized2d.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Pattern;
using TestSupport::kBorderSentinel;

namespace
{

// 3 x 2 image, border 2 x 2 of sentinels; pixel (x, y) = 1 + x + 10 y.
std::unique_ptr<Array2dReal64> MakeImage()
{
    return std::unique_ptr<Array2dReal64>(
        TestSupport::MakePlane(3, 2, 2, [](long long x, long long y) { return 1.0 + x + 10 * y; }));
}

} // namespace

TEST(PatSetBorder, ConstantFillsTheFrameAskedAndReservedTypesNothing)
{
    std::unique_ptr<Array2dReal64> a = MakeImage();
    PatSetBorder(a.get(), 1, 2, BorderConstant, 7.0, 0.0, 0.0, 0.0, 0.0);
    std::unique_ptr<Array2dReal64> b = MakeImage();
    PatSetBorder(b.get(), 2, 2, BorderReserved1, 7.0, 1.0, 1.0, 1.0, 1.0);
    PatSetBorder(b.get(), 2, 2, BorderReserved2, 7.0, 1.0, 1.0, 1.0, 1.0);
    for (long long y = -2; y < 4; ++y)
        for (long long x = -2; x < 5; ++x)
        {
            const bool image = x >= 0 && x < 3 && y >= 0 && y < 2;
            const double original = image ? 1.0 + x + 10 * y : kBorderSentinel;
            EXPECT_EQ(*a->PixelPtr(x, y), !image && x >= -1 && x < 4 ? 7.0 : original) << x << "," << y;
            EXPECT_EQ(*b->PixelPtr(x, y), original) << x << "," << y;
        }
}

TEST(PatSetBorder, PropagationWithNormMinusOneNegatesOnlyLeftAndTop)
{
    std::unique_ptr<Array2dReal64> a = MakeImage();
    PatSetBorder(a.get(), 2, 2, BorderPropagateNormalized, 0.0, -1.0, -1.0, -1.0, -1.0);
    // Image rows: left the negated first pixel, right the last. Rows above: row 0
    // negated, corners included (so negated twice); rows below: copies of row 1.
    const double rows[6][7] = {{1, 1, -1, -2, -3, -3, -3},       {1, 1, -1, -2, -3, -3, -3},
                               {-1, -1, 1, 2, 3, 3, 3},          {-11, -11, 11, 12, 13, 13, 13},
                               {-11, -11, 11, 12, 13, 13, 13},   {-11, -11, 11, 12, 13, 13, 13}};
    for (long long y = -2; y < 4; ++y)
        for (long long x = -2; x < 5; ++x)
            EXPECT_EQ(*a->PixelPtr(x, y), rows[y + 2][x + 2]) << x << "," << y;

    // Integer norms multiply in double; rows only when numX is 0.
    std::unique_ptr<Array2dReal64> b = MakeImage();
    FuncBorderPropagateNormalized2d(b.get(), 0, 1, 3, 5, 2, 5);
    EXPECT_EQ(*b->PixelPtr(2, -1), 6.0);
    EXPECT_EQ(*b->PixelPtr(2, 2), 13.0);
    for (const auto& p : {std::make_pair(-1, 0), std::make_pair(-1, -1), std::make_pair(0, -2)})
        EXPECT_EQ(*b->PixelPtr(p.first, p.second), kBorderSentinel);
}
