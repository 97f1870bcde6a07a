#include "core/matrix/MatInverse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/Matrices.h"

using Tavlin::Core::Matrix::MatInverse;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

TEST(MatInverse, KnownInversesAndProductWithTheInverse)
{
    MatrixPtr quarter(MatInverse(MatrixOf(1, 1, {4.0}).get()));
    ASSERT_NE(quarter, nullptr);
    EXPECT_EQ(quarter->mData[0], 0.25);

    // [4 7; 2 6]^-1 = [0.6 -0.7; -0.2 0.4]
    MatrixPtr inv(MatInverse(MatrixOf(2, 2, {4, 7, 2, 6}).get()));
    ASSERT_NE(inv, nullptr);
    const double expected[4] = {0.6, -0.7, -0.2, 0.4};
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(inv->mData[i], expected[i], 1e-15);

    // A zero on the diagonal needs a row exchange; the operand is left as it was.
    MatrixPtr swap = MatrixOf(3, 3, {0, 1, 0, 1, 0, 0, 0, 0, 2});
    MatrixPtr swapped(MatInverse(swap.get()));
    ASSERT_NE(swapped, nullptr);
    const double swapInverse[9] = {0, 1, 0, 1, 0, 0, 0, 0, 0.5};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(swapped->mData[i], swapInverse[i]);
    EXPECT_EQ(swap->mData[0], 0.0);
}

TEST(MatInverse, NonSquareZeroRowAndSingularMatrices)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(MatInverse(MatrixOf(2, 3).get()), nullptr);
    EXPECT_EQ(MatInverse(MatrixOf(2, 2, {1, 2, 0, 0}).get()), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MatInverse: matrix is not square!\nMatInverse: singular matrix can't be inverted.\n");

    // Singular without a zero row: finite but huge values.
    MatrixPtr inv(MatInverse(MatrixOf(2, 2, {1, 2, 2, 4}).get()));
    ASSERT_NE(inv, nullptr);
    double largest = 0.0;
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_TRUE(std::isfinite(inv->mData[i]));
        largest = std::max(largest, std::fabs(inv->mData[i]));
    }
    EXPECT_GT(largest, 1e11);
}
