#include "core/matrix/MatMul.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/matrix/MatCreate.h"
#include "support/LogCapture.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Matrix::MatCreate;
using Tavlin::Core::Matrix::MatMul;

namespace
{

std::unique_ptr<Array2dReal64> Matrix(int rows, int cols, const std::vector<double>& values)
{
    std::unique_ptr<Array2dReal64> m(MatCreate<Array2dReal64>(rows, cols));
    for (size_t i = 0; i < values.size(); ++i)
        m->mData[i] = values[i];
    return m;
}

} // namespace

TEST(MatCreate, GivesABorderlessMatrixOfRowsByColumns)
{
    std::unique_ptr<Array2dReal64> m(MatCreate<Array2dReal64>(2, 3));
    EXPECT_EQ(m->Height(), 2);
    EXPECT_EQ(m->Width(), 3);
    EXPECT_EQ(m->BorderWidth(), 0);
    EXPECT_EQ(m->BorderHeight(), 0);
    double data[2] = {1.0, 2.0};
    std::unique_ptr<Array2dReal64> wrapper(MatCreate<Array2dReal64>(1, 2, data, true));
    EXPECT_TRUE(wrapper->IsWrapper());
    EXPECT_EQ(wrapper->mData, data);
}

TEST(MatMul, MultipliesRowsByColumns)
{
    // [1 2 3; 4 5 6] x [7 8; 9 10; 11 12] = [58 64; 139 154]
    auto a = Matrix(2, 3, {1, 2, 3, 4, 5, 6});
    auto b = Matrix(3, 2, {7, 8, 9, 10, 11, 12});
    std::unique_ptr<Array2dReal64> c(MatMul(a.get(), b.get()));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Height(), 2);
    EXPECT_EQ(c->Width(), 2);
    EXPECT_EQ(c->mData[0], 58.0);
    EXPECT_EQ(c->mData[1], 64.0);
    EXPECT_EQ(c->mData[2], 139.0);
    EXPECT_EQ(c->mData[3], 154.0);

    // A row times a column, and an empty inner dimension, which gives zeros.
    auto row = Matrix(1, 3, {1, -1, 0.5});
    auto column = Matrix(3, 1, {2, 4, 8});
    std::unique_ptr<Array2dReal64> dot(MatMul(row.get(), column.get()));
    ASSERT_NE(dot, nullptr);
    EXPECT_EQ(dot->mData[0], 2.0);
    auto left = Matrix(2, 0, {});
    auto right = Matrix(0, 3, {});
    std::unique_ptr<Array2dReal64> zeros(MatMul(left.get(), right.get()));
    ASSERT_NE(zeros, nullptr);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(zeros->mData[i], 0.0);
}

TEST(MatMul, NonconformantOperandsAreReportedWithTheirSizes)
{
    TestSupport::LogCapture log("Core.Matrix.MatMul");
    auto a = Matrix(2, 3, {1, 2, 3, 4, 5, 6});
    auto b = Matrix(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(MatMul(a.get(), b.get()), nullptr);
    EXPECT_EQ(log.Text(), "nonconformant MatMul operands: 2,3 x 2,3\n");
}
