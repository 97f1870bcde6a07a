// VLADQuantizer: residuals to the four nearest words weighted 1, 0.5, 0.25 and 0.125,
// signed square roots at unit length per cell.
#include "core/feature/codebook/VLADQuantizer.h"

#include <gtest/gtest.h>

#include <cmath>
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
using TestSupport::Norm;
using TestSupport::Row;
using TestSupport::Rows;

namespace
{
// Words (0,0), (4,0), (0,8), (10,10), (20,20).
Array2dReal64* Words()
{
    return MatrixOf(5, 2, {0, 0, 4, 0, 0, 8, 10, 10, 20, 20}).release();
}
} // namespace

TEST(VLADQuantizer, APointOnAWordAddsOnlyThroughItsSecondToFourthNearest)
{
    // The point (4,0) is word 1; then come word 0 (weight 0.5), word 2 (0.25) and word
    // 3 (0.125); word 4 is fifth and gets nothing.
    VLADQuantizer raw("", 0, false);
    raw.AdoptCodebook(Words());
    auto table = MakePointTable({{5, 5}}, 2, {4, 0});
    Rows rows(raw.Quantize(table.get(), 10, 10));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->Size(), 1);
    EXPECT_EQ(Row(rows, 0), (std::vector<double>{2, 0, 0, 0, 1, -2, -0.75, -1.25, 0, 0}));

    // Normalised: signed square roots scaled to unit length.
    VLADQuantizer unit("", 0, true);
    unit.AdoptCodebook(Words());
    Rows normalised(unit.Quantize(table.get(), 10, 10));
    ASSERT_TRUE(normalised);
    const std::vector<double> v = Row(normalised, 0);
    EXPECT_NEAR(Norm(v), 1.0, 1e-15);
    const double s = std::sqrt(7.0);
    const std::vector<double> expected{std::sqrt(2.0) / s, 0, 0, 0, 1 / s, -std::sqrt(2.0) / s,
                                       -std::sqrt(0.75) / s, -std::sqrt(1.25) / s, 0, 0};
    for (size_t k = 0; k < v.size(); ++k)
        EXPECT_NEAR(v[k], expected[k], 1e-15) << k;
}

TEST(VLADQuantizer, UnitRowsPerCellAndZeroRowsForEmptyCells)
{
    VLADQuantizer quantizer("pyramid-1x1-2x2", 0, true);
    quantizer.AdoptCodebook(Words());
    ASSERT_TRUE(quantizer.IsReady());
    auto table = MakePointTable({{10, 10}, {60, 20}, {70, 30}, {20, 80}}, 2, {1, 2, 3, 9, 15, 14, -3, 7});
    Rows rows(quantizer.Quantize(table.get(), 100, 100));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->Size(), 5);
    ASSERT_EQ(rows->GetVectorLength(), 10);
    for (int r = 0; r < 4; ++r)
        EXPECT_NEAR(Norm(Row(rows, r)), 1.0, 1e-14) << r;
    EXPECT_EQ(Row(rows, 4), std::vector<double>(10, 0.0));

    // No points at all: zero rows, one per cell.
    auto none = MakePointTable({}, 2, {});
    Rows empty(quantizer.Quantize(none.get(), 100, 100));
    ASSERT_TRUE(empty);
    ASSERT_EQ(empty->Size(), 5);
    for (int r = 0; r < 5; ++r)
        EXPECT_EQ(Norm(Row(empty, r)), 0.0);

    VLADQuantizer without("", 0, true);
    EXPECT_FALSE(without.IsReady());
    EXPECT_EQ(without.Quantize(table.get(), 100, 100), nullptr);
}

TEST(VLADQuantizer, AgreesWithTheSig2Projection)
{
    const TestSupport::PointSet points = TestSupport::RandomPoints(200, 8, 90, 60, 6);
    VLADQuantizer quantizer("pyramid-1x1-2x2", 0, true);
    quantizer.AdoptCodebook(TestSupport::RandomMatrix(12, 8, 5).release());
    Rows rows(quantizer.Quantize(points.Table().get(), 90, 60));
    ASSERT_TRUE(rows);

    TestSupport::CodebookFeature projection(TestSupport::RandomMatrix(12, 8, 5).release(), "pyramid-1x1-2x2");
    auto projected = projection.Project(points.Table(), "sig2", 90, 60);
    ASSERT_TRUE(projected);
    ASSERT_EQ(projected->Size(), rows->Size());
    for (int r = 0; r < rows->Size(); ++r)
    {
        const double* p = projected->GetDescriptor(r);
        EXPECT_EQ(Row(rows, r), std::vector<double>(p, p + 12 * 8)) << r;
    }
}
