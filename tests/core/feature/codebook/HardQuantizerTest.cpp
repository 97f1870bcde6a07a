// HardQuantizer: a histogram of nearest words per cell, divided by the cell's points.
#include "core/feature/codebook/HardQuantizer.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/CodebookFeatures.h"
#include "support/Matrices.h"
#include "support/PointTables.h"
#include "support/QuantizerRows.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Array::Array2dReal64;
using TestSupport::MakePointTable;
using TestSupport::MatrixOf;
using TestSupport::Row;
using TestSupport::Rows;

TEST(HardQuantizer, RowsAreNearestWordHistogramsPerCellSummingToOne)
{
    // Words (0,0), (10,0), (0,10) on a 100 x 100 image cut into the 2 x 2 cells.
    HardQuantizer quantizer("pyramid-1x1-2x2", 0);
    quantizer.AdoptCodebook(MatrixOf(3, 2, {0, 0, 10, 0, 0, 10}).release());
    ASSERT_TRUE(quantizer.IsReady());
    // Top left: word 0. Top right: words 1 and 2. Bottom left: word 0 at a truncated
    // 49.9. Bottom right: none. The point beyond the width is in no cell at all.
    auto table = MakePointTable({{10, 10}, {60, 10}, {99.5, 30}, {49.9, 60}, {150, 150}}, 2,
                                {1, 1, 9, 1, 1, 8, 0, 0, 9, 9});
    Rows rows(quantizer.Quantize(table.get(), 100, 100));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->Size(), 5);
    ASSERT_EQ(rows->GetVectorLength(), 3);
    EXPECT_EQ(Row(rows, 0), (std::vector<double>{0.5, 0.25, 0.25}));
    EXPECT_EQ(Row(rows, 1), (std::vector<double>{1, 0, 0}));
    EXPECT_EQ(Row(rows, 2), (std::vector<double>{0, 0.5, 0.5}));
    EXPECT_EQ(Row(rows, 3), (std::vector<double>{1, 0, 0}));
    EXPECT_EQ(Row(rows, 4), (std::vector<double>{0, 0, 0}));
    // The table is read, not changed.
    EXPECT_EQ(table->Size(), 5);
    EXPECT_EQ(table->GetDescriptor(4)[1], 9.0);

    // No points: one zero row per cell.
    auto none = MakePointTable({}, 2, {});
    Rows empty(quantizer.Quantize(none.get(), 100, 100));
    ASSERT_TRUE(empty);
    ASSERT_EQ(empty->Size(), 5);
    for (int r = 0; r < 5; ++r)
        EXPECT_EQ(Row(empty, r), (std::vector<double>{0, 0, 0}));
}

TEST(HardQuantizer, RefusesWithoutCodebookOrWithAnotherDimension)
{
    HardQuantizer quantizer("", 0);
    auto table = MakePointTable({{1, 1}}, 2, {0, 0});
    EXPECT_FALSE(quantizer.IsReady());
    EXPECT_EQ(quantizer.Quantize(table.get(), 10, 10), nullptr);
    quantizer.AdoptCodebook(MatrixOf(2, 3).release());
    EXPECT_EQ(quantizer.Quantize(table.get(), 10, 10), nullptr);
    quantizer.AdoptCodebook(MatrixOf(0, 2).release());
    EXPECT_EQ(quantizer.Quantize(table.get(), 10, 10), nullptr);
}

TEST(HardQuantizer, AgreesWithTheHardProjection)
{
    // 300 random points of 16 values onto 40 words, on a 90 x 60 image.
    const TestSupport::PointSet points = TestSupport::RandomPoints(300, 16, 90, 60, 4);
    HardQuantizer quantizer("pyramid-1x1-2x2-3x1", 0);
    quantizer.AdoptCodebook(TestSupport::RandomMatrix(40, 16, 3).release());
    Rows rows(quantizer.Quantize(points.Table().get(), 90, 60));
    ASSERT_TRUE(rows);

    TestSupport::CodebookFeature projection(TestSupport::RandomMatrix(40, 16, 3).release(), "pyramid-1x1-2x2-3x1");
    auto projected = projection.Project(points.Table(), "hard", 90, 60);
    ASSERT_TRUE(projected);
    ASSERT_EQ(projected->Size(), rows->Size());
    for (int r = 0; r < rows->Size(); ++r)
    {
        const double* p = projected->GetDescriptor(r);
        EXPECT_EQ(Row(rows, r), std::vector<double>(p, p + 40)) << r;
    }
}
