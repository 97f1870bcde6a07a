#include "core/matrix/MatInverse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/matrix/MatCreate.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Matrix::MatCreate;
using Tavlin::Core::Matrix::MatInverse;

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

TEST(MatInverse, InvertsSmallMatricesWithKnownInverses)
{
    auto one = Matrix(1, 1, {4.0});
    std::unique_ptr<Array2dReal64> quarter(MatInverse(one.get()));
    ASSERT_NE(quarter, nullptr);
    EXPECT_EQ(quarter->mData[0], 0.25);

    // [4 7; 2 6]^-1 = [0.6 -0.7; -0.2 0.4]
    auto m = Matrix(2, 2, {4, 7, 2, 6});
    std::unique_ptr<Array2dReal64> inv(MatInverse(m.get()));
    ASSERT_NE(inv, nullptr);
    const double expected[4] = {0.6, -0.7, -0.2, 0.4};
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(inv->mData[i], expected[i], 1e-15);

    // A zero on the diagonal needs a row exchange; the permutation is its own inverse.
    auto swap = Matrix(3, 3, {0, 1, 0, 1, 0, 0, 0, 0, 2});
    std::unique_ptr<Array2dReal64> swapped(MatInverse(swap.get()));
    ASSERT_NE(swapped, nullptr);
    const double swapInverse[9] = {0, 1, 0, 1, 0, 0, 0, 0, 0.5};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(swapped->mData[i], swapInverse[i]);
    // The operand is left as it was.
    EXPECT_EQ(swap->mData[0], 0.0);
}

TEST(MatInverse, ProductWithTheInverseIsTheIdentity)
{
    const int n = 6;
    std::unique_ptr<Array2dReal64> m(MatCreate<Array2dReal64>(n, n));
    unsigned state = 11;
    for (int i = 0; i < n * n; ++i)
    {
        state = state * 1103515245u + 12345u;
        m->mData[i] = ((state >> 8) & 0xffff) / 65536.0 - 0.5 + (i % (n + 1) == 0 ? 2.0 : 0.0);
    }
    std::unique_ptr<Array2dReal64> inv(MatInverse(m.get()));
    ASSERT_NE(inv, nullptr);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
        {
            double sum = 0.0;
            for (int k = 0; k < n; ++k)
                sum += m->mData[i * n + k] * inv->mData[k * n + j];
            EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-12) << i << "," << j;
        }
}

TEST(MatInverse, RefusesNonSquareAndZeroRowMatricesOnStandardError)
{
    auto wide = Matrix(2, 3, {1, 2, 3, 4, 5, 6});
    testing::internal::CaptureStderr();
    EXPECT_EQ(MatInverse(wide.get()), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MatInverse: matrix is not square!\n");

    auto zeroRow = Matrix(2, 2, {1, 2, 0, 0});
    testing::internal::CaptureStderr();
    EXPECT_EQ(MatInverse(zeroRow.get()), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MatInverse: singular matrix can't be inverted.\n");
}

TEST(MatInverse, SingularMatrixWithoutZeroRowGivesHugeValues)
{
    auto singular = Matrix(2, 2, {1, 2, 2, 4});
    std::unique_ptr<Array2dReal64> inv(MatInverse(singular.get()));
    ASSERT_NE(inv, nullptr);
    double largest = 0.0;
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_TRUE(std::isfinite(inv->mData[i]));
        largest = std::max(largest, std::fabs(inv->mData[i]));
    }
    EXPECT_GT(largest, 1e11);
}
