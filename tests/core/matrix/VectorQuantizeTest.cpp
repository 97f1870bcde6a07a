#include "core/matrix/VectorQuantize.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/matrix/MatCreate.h"
#include "support/LogCapture.h"

using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Matrix::MatCreate;
using Tavlin::Core::Matrix::VectorQuantize;
using Tavlin::Core::Matrix::VectorQuantizeBlockRows;
using Tavlin::Core::Matrix::VectorQuantizeX;

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

TEST(VectorQuantize, NearestWordWithTiesToTheLowestIndex)
{
    // Rows 2 and 5 are both at distance 1 from the origin; row 4 at sqrt(8).
    auto codebook = Matrix(6, 2, {5, 5, 3, 0, 0, 1, 4, 4, 2, 2, 1, 0});
    auto data = Matrix(2, 2, {0, 0, 3.9, 4.2});
    std::unique_ptr<Array2dReal64> r(VectorQuantizeX(data.get(), codebook.get()));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->Width(), 2);
    EXPECT_EQ(r->Height(), 2);
    EXPECT_EQ(r->mData[0], 2.0);
    EXPECT_EQ(r->mData[1], 1.0);
    EXPECT_EQ(r->mData[2], 3.0);
    EXPECT_NEAR(r->mData[3], std::sqrt(0.01 + 0.04), 1e-12);

    std::unique_ptr<Array2dReal64> chunked(VectorQuantize(data.get(), codebook.get()));
    ASSERT_NE(chunked, nullptr);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(chunked->mData[i], r->mData[i]);
}

TEST(VectorQuantize, NaNNeverWinsAndTheCapHolds)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto codebook = Matrix(3, 1, {nan, 7, 5});
    auto data = Matrix(1, 1, {4});
    std::unique_ptr<Array2dReal64> r(VectorQuantizeX(data.get(), codebook.get()));
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->mData[0], 2.0);
    EXPECT_EQ(r->mData[1], 1.0);

    auto far = Matrix(2, 1, {0, 1});
    auto distant = Matrix(1, 1, {2e9});
    std::unique_ptr<Array2dReal64> capped(VectorQuantizeX(distant.get(), far.get()));
    ASSERT_NE(capped, nullptr);
    EXPECT_EQ(capped->mData[0], 0.0);
    EXPECT_EQ(capped->mData[1], 999999999.0);

    auto none = Matrix(0, 1, {});
    std::unique_ptr<Array2dReal64> empty(VectorQuantize(data.get(), none.get()));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->mData[0], 0.0);
    EXPECT_EQ(empty->mData[1], 999999999.0);
}

TEST(VectorQuantize, BlockRowsFollowTheCodebookSize)
{
    EXPECT_EQ(VectorQuantizeBlockRows(5000), 4000);
    EXPECT_EQ(VectorQuantizeBlockRows(100), 10000);
    EXPECT_EQ(VectorQuantizeBlockRows(2000), 10000);
    EXPECT_EQ(VectorQuantizeBlockRows(2001), 9995);
    // A quotient of 0 would never advance: at least one row a block.
    EXPECT_EQ(VectorQuantizeBlockRows(30000000), 1);
}

TEST(VectorQuantize, BlocksGiveTheSameNearestWordsAsAFullSearch)
{
    // 40000 words: blocks of 500 rows, so 1001 data rows take three blocks. Word j
    // holds the value (7919 j) mod 40000, each integer once; datum i lies 0.25 above
    // the integer (131 i) mod 40000.
    const int words = 40000;
    std::unique_ptr<Array2dReal64> codebook(MatCreate<Array2dReal64>(words, 1));
    std::vector<int> wordOf(words);
    for (int j = 0; j < words; ++j)
    {
        const int value = static_cast<int>((7919LL * j) % words);
        codebook->mData[j] = value;
        wordOf[value] = j;
    }
    const int rows = 1001;
    std::unique_ptr<Array2dReal64> data(MatCreate<Array2dReal64>(rows, 1));
    for (int i = 0; i < rows; ++i)
        data->mData[i] = (131 * i) % words + 0.25;
    ASSERT_EQ(VectorQuantizeBlockRows(words), 500);

    std::unique_ptr<Array2dReal64> r(VectorQuantize(data.get(), codebook.get()));
    ASSERT_NE(r, nullptr);
    ASSERT_EQ(r->Height(), rows);
    for (int i = 0; i < rows; ++i)
    {
        EXPECT_EQ(r->mData[2 * i], wordOf[(131 * i) % words]) << "row " << i;
        EXPECT_NEAR(r->mData[2 * i + 1], 0.25, 1e-4) << "row " << i;
    }
}

TEST(VectorQuantize, DimensionMismatchGivesNull)
{
    TestSupport::LogCapture log("Core.Matrix.MatNorm2DistTransposed");
    auto codebook = Matrix(2, 3, {0, 0, 0, 1, 1, 1});
    auto data = Matrix(2, 2, {0, 0, 1, 1});
    EXPECT_EQ(VectorQuantizeX(data.get(), codebook.get()), nullptr);
    EXPECT_EQ(VectorQuantize(data.get(), codebook.get()), nullptr);
    EXPECT_NE(log.Text().find("A and B should be of same dimensionality"), std::string::npos);
}
