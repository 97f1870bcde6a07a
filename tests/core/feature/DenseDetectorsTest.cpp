#include "core/feature/DenseDetectors.h"

#include <gtest/gtest.h>

#include <memory>

#include "core/feature/MakeDenseInterpolator.h"

using namespace Tavlin::Core;
using Feature::PointDescriptorTable;

namespace
{
std::unique_ptr<Array::Array2dVec3UInt8> Image(int width, int height)
{
    return std::make_unique<Array::Array2dVec3UInt8>(width, height, 0, 0);
}
} // namespace

TEST(DenseSamplingGrid, StaggeredRowsKeepClearOfTheBorder)
{
    auto image = Image(100, 100);
    std::unique_ptr<PointDescriptorTable> table(Feature::DenseSamplingDetector(image.get(), 6, {1.2, 2.0}));
    // First row y = 6 with x = 9..93 (15 positions), second y = 12 with x = 6..90 (15);
    // rows stop below 94, so the last is y = 90: 15 rows in all.
    ASSERT_EQ(table->Size(), 15 * 15 * 2);
    EXPECT_EQ(table->X()[0], 9.0);
    EXPECT_EQ(table->Y()[0], 6.0);
    EXPECT_EQ(table->Scale()[0], 1.2);
    EXPECT_EQ(table->X()[1], 9.0);
    EXPECT_EQ(table->Scale()[1], 2.0);
    EXPECT_EQ(table->X()[29], 93.0);
    EXPECT_EQ(table->Y()[30], 12.0);
    EXPECT_EQ(table->X()[30], 6.0);
    EXPECT_EQ(table->X()[59], 90.0);
    EXPECT_EQ(table->Y()[table->Size() - 1], 90.0);
    for (int i = 0; i < table->Size(); ++i)
        ASSERT_EQ(table->Orientation()[i] + table->Cornerness()[i], 0.0);

    std::unique_ptr<PointDescriptorTable> wide(Feature::DenseSamplingDetector(image.get(), 50, {1.0}));
    EXPECT_EQ(wide->Size(), 0);
    std::unique_ptr<PointDescriptorTable> noScales(Feature::DenseSamplingDetector(image.get(), 6, {}));
    EXPECT_EQ(noScales->Size(), 0);
}

TEST(DenseGrids, PlainGridAndEveryPixel)
{
    auto image = Image(13, 7);
    std::unique_ptr<PointDescriptorTable> plain(Feature::DenseDetector(image.get(), 4, {1.0}));
    // x = 0, 4, 8, 12 (W - 1 is on the grid), y = 0, 4.
    ASSERT_EQ(plain->Size(), 8);
    EXPECT_EQ(plain->X()[0], 0.0);
    EXPECT_EQ(plain->Y()[0], 0.0);
    EXPECT_EQ(plain->X()[3], 12.0);
    EXPECT_EQ(plain->Y()[4], 4.0);

    std::unique_ptr<PointDescriptorTable> all(Feature::DenseAllDetector(image.get(), {1.0, 2.0}));
    ASSERT_EQ(all->Size(), 13 * 7 * 2);
    EXPECT_EQ(all->Capacity(), 13 * 7 * 2);
    EXPECT_EQ(all->X()[2], 1.0);
    EXPECT_EQ(all->Y()[26], 1.0);

    auto empty = Image(5, 0);
    std::unique_ptr<PointDescriptorTable> none(Feature::DenseDetector(empty.get(), 4, {1.0}));
    EXPECT_EQ(none->Size(), 0);
}

TEST(DenseInterpolator, ColumnsFollowTheEdgeAndInteriorRules)
{
    std::unique_ptr<Array::Array2dReal64> m(Feature::MakeDenseInterpolator<Array::Array2dReal64>(16, 4, 8, false));
    ASSERT_TRUE(m);
    ASSERT_EQ(m->mWidth, 3);
    ASSERT_EQ(m->mHeight, 16);
    auto at = [&](int row, int col) { return m->mData[row * 3 + col]; };
    // Column 0 (t = 0) fails the strict interior test and takes the mirrored edge
    // kernel at rows 0..11; column 1 at rows 4..15; column 2 stays empty.
    double sum0 = 0, sum1 = 0, sum2 = 0;
    for (int row = 0; row < 16; ++row)
    {
        sum0 += at(row, 0);
        sum1 += at(row, 1);
        sum2 += at(row, 2);
    }
    EXPECT_NEAR(sum0, 1.0, 1e-12);
    EXPECT_NEAR(sum1, 1.0, 1e-12);
    EXPECT_EQ(sum2, 0.0);
    EXPECT_EQ(at(12, 0), 0.0);
    EXPECT_GT(at(0, 0), 0.0);
    EXPECT_LT(at(0, 0), at(11, 0)); // mirrored: rising, then flat
    EXPECT_EQ(at(3, 1), 0.0);
    EXPECT_EQ(at(15, 1), at(11, 0));

    // A large axis: the left edge kernel starts at row 0; interior columns are full
    // triangles whose halves are equal.
    std::unique_ptr<Array::Array2dReal64> big(Feature::MakeDenseInterpolator<Array::Array2dReal64>(64, 8, 8, false));
    ASSERT_TRUE(big);
    const int64_t b = big->mWidth;
    double edgeSum = 0;
    for (int row = 0; row < 64; ++row)
        edgeSum += big->mData[row * b + 0];
    EXPECT_NEAR(edgeSum, 1.0, 1e-12); // t = -4: left edge
    EXPECT_EQ(big->mData[0 * b + 0], big->mData[1 * b + 0]); // flat head
    const int t = 8 / 2 - 8 + 2 * 8;                          // column 2
    for (int k = 0; k < 8; ++k)
        EXPECT_EQ(big->mData[(t + k) * b + 2], big->mData[(t + 15 - k) * b + 2]);

    std::unique_ptr<Array::Array2dReal64> transposed(
        Feature::MakeDenseInterpolator<Array::Array2dReal64>(16, 4, 8, true));
    ASSERT_TRUE(transposed);
    EXPECT_EQ(transposed->mWidth, 16);
    EXPECT_EQ(transposed->mHeight, 3);
    EXPECT_EQ(transposed->mData[1 * 16 + 15], at(15, 1));

    EXPECT_EQ(Feature::MakeDenseInterpolator<Array::Array2dReal64>(15, 4, 8, false), nullptr);
    EXPECT_EQ(Feature::MakeDenseInterpolator<Array::Array2dReal64>(64, 4, 7, false), nullptr);
}
