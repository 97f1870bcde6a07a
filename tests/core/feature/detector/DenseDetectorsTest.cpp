#include "core/feature/detector/DenseDetectors.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/feature/detector/MakeDenseInterpolator.h"

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

    // The plain grid includes (0, 0) and x = W - 1 = 12: x = 0, 4, 8, 12 at y = 0, 4.
    Array::Array2dVec3UInt8 small(13, 7, 0, 0), empty(5, 0, 0, 0);
    TablePtr plain(Feature::DenseDetector(&small, 4, {1.0}));
    ASSERT_EQ(plain->Size(), 8);
    EXPECT_TRUE(Row(plain, 0) == (std::vector<double>{0, 0, 1}) && Row(plain, 3) == (std::vector<double>{12, 0, 1}));
    EXPECT_EQ(Row(plain, 4), (std::vector<double>{0, 4, 1}));
    EXPECT_EQ(TablePtr(Feature::DenseDetector(&empty, 4, {1.0}))->Size(), 0);
    // Every pixel at every scale, reserved in one go.
    TablePtr all(Feature::DenseAllDetector(&small, {1.0, 2.0}));
    ASSERT_TRUE(all->Size() == 13 * 7 * 2 && all->Capacity() == 13 * 7 * 2);
    EXPECT_EQ(Row(all, 2), (std::vector<double>{1, 0, 1}));
    EXPECT_EQ(Row(all, 27), (std::vector<double>{0, 1, 2}));
}

TEST(DenseInterpolator, ColumnsFollowTheEdgeAndInteriorRules)
{
    // n = 16, s = 4, c = 8: b = 3 columns with t = 0, 4, 8. The edge kernel is four
    // ones and then 7.5/8 .. 0.5/8, summing to 8. Column 0 fails the strict interior
    // test (16 > 16) and takes it mirrored at rows 0..11, column 1 at rows 4..15, and
    // column 2 stays empty (16 >= 20 fails).
    std::unique_ptr<Array2dReal64> m(Feature::MakeDenseInterpolator<Array2dReal64>(16, 4, 8, false));
    std::unique_ptr<Array2dReal64> mt(Feature::MakeDenseInterpolator<Array2dReal64>(16, 4, 8, true));
    ASSERT_TRUE(m && mt);
    ASSERT_TRUE(m->mWidth == 3 && m->mHeight == 16 && mt->mWidth == 16 && mt->mHeight == 3);
    double sums[3] = {0, 0, 0};
    for (int row = 0; row < 16; ++row)
        for (int col = 0; col < 3; ++col)
        {
            const int k = row - 4 * col;
            const double expected = col == 2 || k < 0 || k > 11 ? 0.0 : k < 8 ? (k + 0.5) / 64 : 0.125;
            EXPECT_EQ(m->mData[row * 3 + col], expected) << row << " " << col;
            EXPECT_EQ(mt->mData[col * 16 + row], expected);
            sums[col] += expected;
        }
    EXPECT_TRUE(sums[0] == 1.0 && sums[1] == 1.0);

    // On a longer axis, column 0 (t = -4) takes the left-edge kernel from row 0, and
    // column 2 (t = 12) is interior: the full triangle (i + 0.5) / 64 and its mirror.
    std::unique_ptr<Array2dReal64> big(Feature::MakeDenseInterpolator<Array2dReal64>(64, 8, 8, false));
    ASSERT_TRUE(big);
    const int64_t b = big->mWidth;
    EXPECT_EQ(big->mData[0], 0.125);
    EXPECT_EQ(big->mData[11 * b], 0.5 / 64);
    for (int k = 0; k < 8; ++k)
        EXPECT_TRUE(big->mData[(12 + k) * b + 2] == (k + 0.5) / 64 && big->mData[(27 - k) * b + 2] == (k + 0.5) / 64);

    // Too small an axis, and an odd cell size on a large one, are refused.
    EXPECT_EQ(Feature::MakeDenseInterpolator<Array2dReal64>(15, 4, 8, false), nullptr);
    EXPECT_EQ(Feature::MakeDenseInterpolator<Array2dReal64>(64, 4, 7, false), nullptr);
}
