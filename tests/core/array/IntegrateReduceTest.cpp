#include "core/array/IntegrateReduce.h"

#include <gtest/gtest.h>

#include <memory>

#include "core/array/ArrayFactories.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::kBorderSentinel;
using TestSupport::MakePlane;

namespace
{
std::unique_ptr<Array2dReal64> Reduce(Array2dReal64* src, int factor, bool weighted)
{
    Array2dReal64* dst = nullptr;
    if (weighted)
        IntegrateReduceWeighted(dst, src, factor);
    else
        IntegrateReduce(dst, src, factor);
    return std::unique_ptr<Array2dReal64>(dst);
}
} // namespace

TEST(IntegrateReduce, ConstantOneGivesFactorSquaredBothForms)
{
    for (int factor : {2, 3, 4, 5})
    {
        std::unique_ptr<Array2dReal64> ones(MakePlane(23, 17, 0, [](long long, long long) { return 1.0; }));
        std::unique_ptr<Array2dReal64> plain = Reduce(ones.get(), factor, false);
        std::unique_ptr<Array2dReal64> soft = Reduce(ones.get(), factor, true);
        ASSERT_EQ(plain->mWidth, 23 / factor);
        ASSERT_EQ(plain->mHeight, 17 / factor);
        ASSERT_EQ(soft->mWidth, 23 / factor);
        ASSERT_EQ(soft->mHeight, 17 / factor);
        EXPECT_EQ(plain->mBorderWidth, 0);
        for (long long y = 0; y < plain->mHeight; ++y)
            for (long long x = 0; x < plain->mWidth; ++x)
            {
                EXPECT_EQ(*plain->PixelPtr(x, y), factor * factor) << factor;
                EXPECT_NEAR(*soft->PixelPtr(x, y), factor * factor, 1e-12) << factor;
            }
    }
}

TEST(IntegrateReduce, BlockSumsIgnoreTheRemainderAndReuseTheResult)
{
    // 5 x 5 by 2: the last row and column, here huge, take no part.
    std::unique_ptr<Array2dReal64> src(
        MakePlane(5, 5, 1, [](long long x, long long y) { return x == 4 || y == 4 ? 1e9 : 1.0 + x + 10 * y; }));
    std::unique_ptr<Array2dReal64> dst = Reduce(src.get(), 2, false);
    ASSERT_EQ(dst->mWidth, 2);
    ASSERT_EQ(dst->mHeight, 2);
    // Block (i, j) holds 1 + x + 10 y over x = 2i, 2i + 1 and y = 2j, 2j + 1.
    EXPECT_EQ(*dst->PixelPtr(0, 0), 1 + 2 + 11 + 12);
    EXPECT_EQ(*dst->PixelPtr(1, 0), 3 + 4 + 13 + 14);
    EXPECT_EQ(*dst->PixelPtr(0, 1), 21 + 22 + 31 + 32);
    EXPECT_EQ(*dst->PixelPtr(1, 1), 23 + 24 + 33 + 34);

    // A result of the right size is kept and cleared first; one of another size is replaced.
    Array2dReal64* kept = dst.release();
    std::fill(kept->mData, kept->mData + 4, 99.0);
    Array2dReal64* same = kept;
    IntegrateReduce(kept, src.get(), 2);
    EXPECT_EQ(kept, same);
    EXPECT_EQ(*kept->PixelPtr(0, 0), 26.0);
    IntegrateReduce(kept, src.get(), 3);
    EXPECT_EQ(kept->mWidth, 1);
    EXPECT_EQ(*kept->PixelPtr(0, 0), 1 + 2 + 3 + 11 + 12 + 13 + 21 + 22 + 23);
    delete kept;

    // Smaller than one block: an empty result, nothing read.
    std::unique_ptr<Array2dReal64> tiny(MakePlane(1, 300, 0, [](long long, long long) { return 1.0; }));
    std::unique_ptr<Array2dReal64> none = Reduce(tiny.get(), 3, false);
    EXPECT_EQ(none->mWidth, 0);
    EXPECT_EQ(none->mHeight, 100);
}

TEST(IntegrateReduceWeighted, SoftWindowWeightsAndMirroredEdge)
{
    // An impulse inside the image lands in the blocks whose windows reach it, with the
    // product of its row and column weights. Factor 2: window -1 .. 2 of weights
    // 0.33, 0.67, 0.67, 0.33 around block 0, and 1 .. 4 around block 1.
    std::unique_ptr<Array2dReal64> impulse(
        MakePlane(4, 4, 0, [](long long x, long long y) { return x == 1 && y == 1 ? 1.0 : 0.0; }));
    std::unique_ptr<Array2dReal64> dst = Reduce(impulse.get(), 2, true);
    EXPECT_NEAR(*dst->PixelPtr(0, 0), 0.67 * 0.67, 1e-15);
    EXPECT_NEAR(*dst->PixelPtr(1, 0), 0.33 * 0.67, 1e-15);
    EXPECT_NEAR(*dst->PixelPtr(0, 1), 0.67 * 0.33, 1e-15);
    EXPECT_NEAR(*dst->PixelPtr(1, 1), 0.33 * 0.33, 1e-15);

    // At the edge the mirror repeats the edge pixel, so pixel (0, 0) counts with the
    // weights of both 0 and -1: 1.0 along each axis.
    std::unique_ptr<Array2dReal64> corner(
        MakePlane(4, 4, 0, [](long long x, long long y) { return x == 0 && y == 0 ? 1.0 : 0.0; }));
    dst = Reduce(corner.get(), 2, true);
    EXPECT_NEAR(*dst->PixelPtr(0, 0), 1.0, 1e-15);
    EXPECT_EQ(*dst->PixelPtr(1, 1), 0.0);

    // Factor 3: the middle row and column weigh 1.
    std::unique_ptr<Array2dReal64> middle(
        MakePlane(6, 6, 0, [](long long x, long long y) { return x == 4 && y == 4 ? 1.0 : 0.0; }));
    dst = Reduce(middle.get(), 3, true);
    EXPECT_NEAR(*dst->PixelPtr(1, 1), 1.0, 1e-15);
    EXPECT_EQ(*dst->PixelPtr(0, 0), 0.0);
}

TEST(IntegrateReduceWeighted, ClonesABorderlessSourceAndMirrorsIntoABorderedOne)
{
    auto f = [](long long x, long long y) { return 1.0 + x + 10 * y; };

    // Without border the source is left as it is.
    std::unique_ptr<Array2dReal64> bare(MakePlane(6, 4, 0, f));
    std::unique_ptr<Array2dReal64> fromBare = Reduce(bare.get(), 2, true);
    for (long long y = 0; y < 4; ++y)
        for (long long x = 0; x < 6; ++x)
            EXPECT_EQ(*bare->PixelPtr(x, y), f(x, y));

    // With a border of 2 the first ring becomes the mirror of the image, the second
    // keeps what it held; the result is the same as from the copy.
    std::unique_ptr<Array2dReal64> framed(MakePlane(6, 4, 2, f));
    std::unique_ptr<Array2dReal64> fromFramed = Reduce(framed.get(), 2, true);
    for (long long y = -2; y < 6; ++y)
        for (long long x = -2; x < 8; ++x)
        {
            const bool outer = x == -2 || x == 7 || y == -2 || y == 5;
            const double expected = outer ? kBorderSentinel : f(TestSupport::Reflect(x, 6), TestSupport::Reflect(y, 4));
            EXPECT_EQ(*framed->PixelPtr(x, y), expected) << x << "," << y;
        }
    EXPECT_TRUE(TestSupport::SameImage(fromBare.get(), fromFramed.get()));
}
