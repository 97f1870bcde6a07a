#include "core/matrix/MatConcatenateHorizontal.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/LogCapture.h"
#include "support/Matrices.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Matrix::MatConcatenateHorizontal;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

TEST(MatConcatenateHorizontal, JoinsColumnsInListOrderAndReportsBadOperands)
{
    TestSupport::LogCapture log("Core.Matrix.MatConcatenateHorizontal");
    MatrixPtr a = MatrixOf(3, 2, {100, 101, 110, 111, 120, 121});
    MatrixPtr empty = MatrixOf(3, 0);
    MatrixPtr c = MatrixOf(3, 3, {200, 201, 202, 210, 211, 212, 220, 221, 222});
    MatrixPtr r(MatConcatenateHorizontal(std::vector<Array2dReal64*>{a.get(), empty.get(), c.get()}));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->Width(), 5);
    const double row2[5] = {120, 121, 220, 221, 222};
    for (int j = 0; j < 5; ++j)
        EXPECT_EQ(r->mData[2 * 5 + j], row2[j]);
    EXPECT_EQ(log.Text(), "");

    // A shorter operand is reported; its rows go in, the missing ones stay zero.
    MatrixPtr b = MatrixOf(2, 1, {7, 8});
    MatrixPtr mixed(MatConcatenateHorizontal(std::vector<Array2dReal64*>{a.get(), b.get()}));
    ASSERT_NE(mixed, nullptr);
    EXPECT_EQ(log.Text(), "nonconformant MatConcatenateHorizontal operands.\n");
    EXPECT_EQ(mixed->Width(), 3);
    const double column2[3] = {7, 8, 0};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(mixed->mData[i * 3 + 2], column2[i]);
}
