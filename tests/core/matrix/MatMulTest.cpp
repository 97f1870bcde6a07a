#include "core/matrix/MatMul.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "support/Matrices.h"

using Tavlin::Core::Matrix::MatMul;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

TEST(MatMul, MultipliesRowsByColumnsAndReportsNonconformantOperands)
{
    // [1 2 3; 4 5 6] x [7 8; 9 10; 11 12] = [58 64; 139 154]
    MatrixPtr a = MatrixOf(2, 3, {1, 2, 3, 4, 5, 6});
    MatrixPtr c(MatMul(a.get(), MatrixOf(3, 2, {7, 8, 9, 10, 11, 12}).get()));
    ASSERT_NE(c, nullptr);
    const double expected[4] = {58, 64, 139, 154};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(c->mData[i], expected[i]);

    // A matrix times a column: height from the left, width from the right.
    MatrixPtr column(MatMul(a.get(), MatrixOf(3, 1, {1, 0, -1}).get()));
    ASSERT_NE(column, nullptr);
    EXPECT_EQ(column->Height(), 2);
    EXPECT_EQ(column->Width(), 1);
    EXPECT_EQ(column->mData[1], -2.0);

    // An empty inner dimension gives zeros, not the fresh storage.
    MatrixPtr zeros(MatMul(MatrixOf(2, 0).get(), MatrixOf(0, 3).get()));
    ASSERT_NE(zeros, nullptr);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(zeros->mData[i], 0.0);

    TestSupport::LogCapture log("Core.Matrix.MatMul");
    EXPECT_EQ(MatMul(a.get(), a.get()), nullptr);
    EXPECT_EQ(log.Text(), "nonconformant MatMul operands: 2,3 x 2,3\n");
}
