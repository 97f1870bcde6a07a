#include "core/feature/DenseDetectors.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/feature/MakeDenseInterpolator.h"

using namespace Tavlin::Core;
using Array::Array2dReal64;
using Feature::PointDescriptorTable;

namespace
{
typedef std::unique_ptr<PointDescriptorTable> TablePtr;

// x, y and scale of row i.
std::vector<double> Row(const TablePtr& table, int i) { return {table->X()[i], table->Y()[i], table->Scale()[i]}; }
} // namespace

TEST(DenseDetectors, GridsOfTheStatedExamples)
{
    Array::Array2dVec3UInt8 image(100, 100, 0, 0);
    TablePtr table(Feature::DenseSamplingDetector(&image, 6, {1.2, 2.0}));
    // First row y = 6 with x = 9..93 (15 positions), second y = 12 with x = 6..90 (15);
    // rows stop below 94, so the last is y = 90: 15 rows in all, each point at both scales.
    ASSERT_EQ(table->Size(), 15 * 15 * 2);
    const std::pair<int, std::vector<double>> rows[] = {{0, {9, 6, 1.2}},  {1, {9, 6, 2.0}},   {29, {93, 6, 2.0}},
                                                        {30, {6, 12, 1.2}}, {59, {90, 12, 2.0}}, {449, {93, 90, 2.0}}};
    for (const auto& r : rows)
        EXPECT_EQ(Row(table, r.first), r.second) << r.first;
    for (int i = 0; i < table->Size(); ++i)
        ASSERT_TRUE(table->Orientation()[i] == 0.0 && table->Cornerness()[i] == 0.0);
    EXPECT_EQ(TablePtr(Feature::DenseSamplingDetector(&image, 50, {1.0}))->Size(), 0);
    EXPECT_EQ(TablePtr(Feature::DenseSamplingDetector(&image, 6, {}))->Size(), 0);

    // The plain grid: x = 0, 4, 8, 12 (W - 1 is on the grid), y = 0, 4.
    Array::Array2dVec3UInt8 small(13, 7, 0, 0);
    TablePtr plain(Feature::DenseDetector(&small, 4, {1.0}));
    ASSERT_EQ(plain->Size(), 8);
    EXPECT_EQ(Row(plain, 3), (std::vector<double>{12, 0, 1}));
    EXPECT_EQ(Row(plain, 4), (std::vector<double>{0, 4, 1}));
    // Every pixel at every scale.
    TablePtr all(Feature::DenseAllDetector(&small, {1.0, 2.0}));
    ASSERT_EQ(all->Size(), 13 * 7 * 2);
    EXPECT_EQ(all->Capacity(), 13 * 7 * 2);
    EXPECT_EQ(Row(all, 2), (std::vector<double>{1, 0, 1}));
    EXPECT_EQ(Row(all, 27), (std::vector<double>{0, 1, 2}));
    Array::Array2dVec3UInt8 empty(5, 0, 0, 0);
    EXPECT_EQ(TablePtr(Feature::DenseDetector(&empty, 4, {1.0}))->Size(), 0);
}

TEST(DenseInterpolator, ColumnsFollowTheEdgeAndInteriorRules)
{
    std::unique_ptr<Array2dReal64> m(Feature::MakeDenseInterpolator<Array2dReal64>(16, 4, 8, false));
    ASSERT_TRUE(m);
    ASSERT_EQ(m->mWidth, 3);
    ASSERT_EQ(m->mHeight, 16);
    auto at = [&](int row, int col) { return m->mData[row * 3 + col]; };
    // Column 0 (t = 0) fails the strict interior test and takes the mirrored edge
    // kernel at rows 0..11; column 1 at rows 4..15; column 2 stays empty.
    double sums[3] = {0, 0, 0};
    for (int row = 0; row < 16; ++row)
        for (int col = 0; col < 3; ++col)
            sums[col] += at(row, col);
    EXPECT_NEAR(sums[0], 1.0, 1e-12);
    EXPECT_NEAR(sums[1], 1.0, 1e-12);
    EXPECT_EQ(sums[2], 0.0);
    EXPECT_EQ(at(12, 0), 0.0);
    EXPECT_GT(at(0, 0), 0.0);
    EXPECT_LT(at(0, 0), at(11, 0)); // mirrored: rising, then flat
    EXPECT_EQ(at(3, 1), 0.0);
    EXPECT_EQ(at(15, 1), at(11, 0));

    // The transposed form holds the same values.
    std::unique_ptr<Array2dReal64> transposed(Feature::MakeDenseInterpolator<Array2dReal64>(16, 4, 8, true));
    ASSERT_TRUE(transposed);
    ASSERT_EQ(transposed->mWidth, 16);
    ASSERT_EQ(transposed->mHeight, 3);
    for (int row = 0; row < 16; ++row)
        for (int col = 0; col < 3; ++col)
            EXPECT_EQ(transposed->mData[col * 16 + row], at(row, col));

    // On a longer axis, interior column 2 is a full triangle from row 4 - 8 + 16: its
    // halves mirror each other.
    std::unique_ptr<Array2dReal64> big(Feature::MakeDenseInterpolator<Array2dReal64>(64, 8, 8, false));
    ASSERT_TRUE(big);
    for (int k = 0; k < 8; ++k)
        EXPECT_EQ(big->mData[(12 + k) * big->mWidth + 2], big->mData[(27 - k) * big->mWidth + 2]);

    EXPECT_EQ(Feature::MakeDenseInterpolator<Array2dReal64>(15, 4, 8, false), nullptr);
    EXPECT_EQ(Feature::MakeDenseInterpolator<Array2dReal64>(64, 4, 7, false), nullptr);
}
