#include "core/matrix/VectorQuantize.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/LogCapture.h"
#include "support/Matrices.h"

using namespace Tavlin::Core::Matrix;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

TEST(VectorQuantize, NearestWordTiesNaNAndTheCap)
{
    // Rows 2 and 5 are both at distance 1 from the origin; row 4 at sqrt(8).
    MatrixPtr codebook = MatrixOf(6, 2, {5, 5, 3, 0, 0, 1, 4, 4, 2, 2, 1, 0});
    MatrixPtr data = MatrixOf(2, 2, {0, 0, 3.9, 4.2});
    MatrixPtr r(VectorQuantizeX(data.get(), codebook.get()));
    MatrixPtr chunked(VectorQuantize(data.get(), codebook.get()));
    ASSERT_NE(r, nullptr);
    ASSERT_NE(chunked, nullptr);
    EXPECT_EQ(r->Width(), 2);
    EXPECT_EQ(r->Height(), 2);
    const double expected[4] = {2, 1, 3, std::sqrt(0.01 + 0.04)};
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_NEAR(r->mData[i], expected[i], 1e-12);
        EXPECT_EQ(chunked->mData[i], r->mData[i]);
    }

    // (data, codebook, expected index and distance)
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case
    {
        std::vector<double> data, codebook;
        double index, distance;
    } cases[] = {{{4}, {nan, 7, 5}, 2, 1}, {{2e9}, {0, 1}, 0, 999999999.0}, {{4}, {}, 0, 999999999.0}};
    for (const Case& c : cases)
    {
        MatrixPtr words = MatrixOf(static_cast<int>(c.codebook.size()), 1, c.codebook);
        MatrixPtr q(VectorQuantize(MatrixOf(1, 1, c.data).get(), words.get()));
        ASSERT_NE(q, nullptr);
        EXPECT_EQ(q->mData[0], c.index) << c.data[0];
        EXPECT_EQ(q->mData[1], c.distance) << c.data[0];
    }

    TestSupport::LogCapture log("Core.Matrix.MatNorm2DistTransposed");
    EXPECT_EQ(VectorQuantizeX(data.get(), MatrixOf(2, 3).get()), nullptr);
    EXPECT_EQ(VectorQuantize(data.get(), MatrixOf(2, 3).get()), nullptr);
    EXPECT_NE(log.Text().find("A and B should be of same dimensionality"), std::string::npos);
}

TEST(VectorQuantize, BlocksGiveTheSameNearestWordsAsAFullSearch)
{
    EXPECT_EQ(VectorQuantizeBlockRows(5000), 4000);
    EXPECT_EQ(VectorQuantizeBlockRows(100), 10000);
    // A quotient of 0 would never advance: at least one row a block.
    EXPECT_EQ(VectorQuantizeBlockRows(30000000), 1);

    // 40000 words give blocks of 500 rows, so 1001 data rows take three blocks. Word j
    // holds (7919 j) mod 40000, each integer once; datum i lies 0.25 above (131 i) mod 40000.
    const int words = 40000;
    MatrixPtr codebook = MatrixOf(words, 1);
    std::vector<int> wordOf(words);
    for (int j = 0; j < words; ++j)
    {
        codebook->mData[j] = (7919LL * j) % words;
        wordOf[(7919LL * j) % words] = j;
    }
    MatrixPtr data = MatrixOf(1001, 1);
    for (int i = 0; i < 1001; ++i)
        data->mData[i] = (131 * i) % words + 0.25;
    MatrixPtr r(VectorQuantize(data.get(), codebook.get()));
    ASSERT_NE(r, nullptr);
    for (int i = 0; i < 1001; ++i)
    {
        EXPECT_EQ(r->mData[2 * i], wordOf[(131 * i) % words]) << "row " << i;
        EXPECT_NEAR(r->mData[2 * i + 1], 0.25, 1e-4) << "row " << i;
    }
}

TEST(VectorQuantize, MatchesThePlainChunkedSearchBitForBit)
{
    // SIFT-like whole numbers give many near and exact ties; random reals give none.
    // The shapes leave partial blocks on both sides of the product.
    struct Shape
    {
        int rows, width, words;
        bool whole;
    } shapes[] = {{1000, 128, 4096, true}, {333, 17, 1500, true}, {257, 5, 9000, false}, {3, 2, 700000, true},
                  {50, 1, 3, true}};
    for (const Shape& s : shapes)
    {
        MatrixPtr data = TestSupport::RandomMatrix(s.rows, s.width, 11);
        MatrixPtr codebook = TestSupport::RandomMatrix(s.words, s.width, 12);
        if (s.whole)
        {
            for (MatrixPtr* m : {&data, &codebook})
                for (long long i = 0; i < (*m)->mWidth * (*m)->mHeight; ++i)
                    (*m)->mData[i] = std::floor(((*m)->mData[i] + 1.0) * 4.0);
        }
        MatrixPtr fast(VectorQuantize(data.get(), codebook.get()));
        MatrixPtr plain(VectorQuantizePlain(data.get(), codebook.get()));
        ASSERT_TRUE(fast && plain);
        for (int i = 0; i < 2 * s.rows; ++i)
            ASSERT_EQ(fast->mData[i], plain->mData[i]) << s.rows << "x" << s.width << " onto " << s.words << " at " << i;
    }
}
