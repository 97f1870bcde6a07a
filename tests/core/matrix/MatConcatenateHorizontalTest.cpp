#include "core/matrix/MatConcatenateHorizontal.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/matrix/MatCreate.h"
#include "support/LogCapture.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Matrix::MatConcatenateHorizontal;
using Tavlin::Core::Matrix::MatCreate;

namespace
{

// Element (i, j) = base + 10 i + j.
std::unique_ptr<Array2dReal64> Matrix(int rows, int cols, double base)
{
    std::unique_ptr<Array2dReal64> m(MatCreate<Array2dReal64>(rows, cols));
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            m->mData[i * cols + j] = base + 10 * i + j;
    return m;
}

} // namespace

TEST(MatConcatenateHorizontal, JoinsColumnsInListOrder)
{
    TestSupport::LogCapture log("Core.Matrix.MatConcatenateHorizontal");
    auto a = Matrix(3, 2, 100);
    auto b = Matrix(3, 0, 0);
    auto c = Matrix(3, 3, 200);
    std::unique_ptr<Array2dReal64> r(MatConcatenateHorizontal(std::vector<Array2dReal64*>{a.get(), b.get(), c.get()}));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->Height(), 3);
    EXPECT_EQ(r->Width(), 5);
    const double row2[5] = {120, 121, 220, 221, 222};
    for (int j = 0; j < 5; ++j)
        EXPECT_EQ(r->mData[2 * 5 + j], row2[j]);
    EXPECT_EQ(log.Text(), "");
}

TEST(MatConcatenateHorizontal, DifferentHeightsAndEmptyListsAreReported)
{
    TestSupport::LogCapture log("Core.Matrix.MatConcatenateHorizontal");
    auto a = Matrix(3, 1, 100);
    auto b = Matrix(2, 2, 200);
    std::unique_ptr<Array2dReal64> r(MatConcatenateHorizontal(std::vector<Array2dReal64*>{a.get(), b.get()}));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(log.Text(), "nonconformant MatConcatenateHorizontal operands.\n");
    EXPECT_EQ(r->Width(), 3);
    EXPECT_EQ(r->mData[1 * 3 + 2], 211.0);
    EXPECT_EQ(r->mData[2 * 3 + 0], 120.0);
    EXPECT_EQ(r->mData[2 * 3 + 1], 0.0);

    EXPECT_EQ(MatConcatenateHorizontal(std::vector<Array2dReal64*>()), nullptr);
    EXPECT_NE(log.Text().find("empty list"), std::string::npos);
}
