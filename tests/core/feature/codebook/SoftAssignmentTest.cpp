// The uncertainty and residual quantizers on small hand-made codebooks whose answers
// follow from the kernel, the four-nearest-words scan and the normalisations.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "core/feature/codebook/SDCQuantizer.h"
#include "core/feature/codebook/SoftAssignment.h"
#include "core/feature/codebook/UncertaintyQuantizer.h"
#include "support/Matrices.h"
#include "support/PointTables.h"
#include "support/QuantizerRows.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Array::Array2dReal64;
using Tavlin::Core::Matrix::MatList;
using TestSupport::MakePointTable;
using TestSupport::MatrixOf;
using TestSupport::Norm;
using TestSupport::Row;
using TestSupport::Rows;

namespace
{
// Three statistics matrices of one shape, each filled with one value.
MatList* DiffStat(int words, int dimension, double lower, double upper, double deviation)
{
    auto* list = new MatList();
    for (double value : {lower, upper, deviation})
        list->push_back(MatrixOf(words, dimension, std::vector<double>(words * dimension, value)).release());
    return list;
}

Rows Signature(const std::string& mode, const std::vector<double>& codebook, int dimension,
               const std::vector<std::pair<double, double>>& positions, const std::vector<double>& descriptors,
               MatList* diffStat = nullptr, const std::string& pyramid = "")
{
    SDCQuantizer quantizer(pyramid, 0, mode);
    const int words = static_cast<int>(codebook.size()) / dimension;
    quantizer.AdoptCodebook(MatrixOf(words, dimension, codebook).release(), diffStat);
    auto table = MakePointTable(positions, dimension, descriptors);
    return Rows(quantizer.Quantize(table.get(), 100, 100));
}
} // namespace

TEST(UncertaintyQuantizer, SpreadsAWeightOfOnePerPointAndAveragesPerCell)
{
    // Words at (0,0), (10,0), (0,10). A point on word 1 with a narrow kernel puts its
    // whole weight there.
    UncertaintyQuantizer quantizer("pyramid-1x1-2x2", 0, 0.1);
    quantizer.AdoptCodebook(MatrixOf(3, 2, {0, 0, 10, 0, 0, 10}).release());
    auto onWord = MakePointTable({{10, 10}}, 2, {10, 0});
    Rows narrow(quantizer.Quantize(onWord.get(), 100, 100));
    ASSERT_TRUE(narrow);
    ASSERT_EQ(narrow->Size(), 5);
    EXPECT_EQ(Row(narrow, 0), (std::vector<double>{0, 1, 0}));
    EXPECT_EQ(Row(narrow, 1), (std::vector<double>{0, 1, 0}));
    // Cells without points stay zero.
    EXPECT_EQ(Row(narrow, 4), (std::vector<double>{0, 0, 0}));

    // Sigma 5 on the point (0,0): distances 0, 10, 10 give kernels 1, e^-2, e^-2.
    quantizer.mSigma = 5.0;
    auto twoPoints = MakePointTable({{10, 10}, {60, 10}, {60, 60}}, 2, {0, 0, 10, 0, 10, 0});
    Rows wide(quantizer.Quantize(twoPoints.get(), 100, 100));
    ASSERT_TRUE(wide);
    const double e = std::exp(-2.0);
    const std::vector<double> atOrigin = Row(wide, 1);
    EXPECT_NEAR(atOrigin[0], 1.0 / (1.0 + 2 * e), 1e-15);
    EXPECT_NEAR(atOrigin[1], e / (1.0 + 2 * e), 1e-15);
    EXPECT_DOUBLE_EQ(atOrigin[1], atOrigin[2]);
    // Every non-empty cell's row sums to 1; the whole-image cell is the mean of three points.
    for (int r : {0, 1, 2, 4})
    {
        const std::vector<double> row = Row(wide, r);
        EXPECT_NEAR(row[0] + row[1] + row[2], 1.0, 1e-15) << r;
    }
    EXPECT_NEAR(Row(wide, 0)[0], (atOrigin[0] + 2 * Row(wide, 2)[0]) / 3.0, 1e-15);
    EXPECT_EQ(Row(wide, 3), (std::vector<double>{0, 0, 0}));
}

TEST(UncertaintyQuantizer, RefusesToRunWithoutAFittingCodebook)
{
    UncertaintyQuantizer quantizer("", 0, 1.0);
    auto table = MakePointTable({{1, 1}}, 2, {0, 0});
    EXPECT_FALSE(quantizer.IsReady());
    EXPECT_EQ(quantizer.Quantize(table.get(), 10, 10), nullptr);
    quantizer.AdoptCodebook(MatrixOf(2, 3).release());
    EXPECT_EQ(quantizer.Quantize(table.get(), 10, 10), nullptr);
}

TEST(SDCQuantizer, FourNearestWordsWeighHalfAsMuchEachAndTiesGoToTheLowerWord)
{
    // One word: the scan finds it four times, with a total weight of 1.875.
    Rows single = Signature("sig0", {1, 2}, 2, {{5, 5}}, {4, 0});
    ASSERT_TRUE(single);
    ASSERT_EQ(single->GetVectorLength(), 2);
    EXPECT_EQ(Row(single, 0), (std::vector<double>{3 * 1.875, -2 * 1.875}));

    // Two words at equal distance 5: the lower index first (weight 1), then the other
    // (0.5), then the lower again (0.25), then the other (0.125).
    Rows tie = Signature("sig0", {0, 10}, 1, {{5, 5}}, {5});
    ASSERT_TRUE(tie);
    EXPECT_EQ(Row(tie, 0), (std::vector<double>{5 * 1.25, -5 * 0.625}));

    // "sig" takes signed square roots; "sig0" keeps the raw signs and sizes.
    Rows rooted = Signature("sig", {0, 10}, 1, {{5, 5}}, {5});
    EXPECT_EQ(Row(rooted, 0), (std::vector<double>{std::sqrt(6.25), -std::sqrt(3.125)}));

    // Four words and more: a descriptor equal to its nearest word adds nothing there,
    // the next three words get the residual with weights 0.5, 0.25, 0.125; the fifth
    // word is never visited.
    Rows five = Signature("sig0", {0, 1, 3, 7, 15}, 1, {{5, 5}}, {0});
    EXPECT_EQ(Row(five, 0), (std::vector<double>{0, -0.5, -0.75, -0.875, 0}));

    // Points outside every cell add nothing.
    Rows outside = Signature("sig0", {0, 10}, 1, {{100, 5}, {5, 100}}, {5, 5});
    EXPECT_EQ(Row(outside, 0), (std::vector<double>{0, 0}));
}

TEST(SDCQuantizer, NormalisesByMode)
{
    const std::vector<double> codebook{0, 0, 10, 0, 0, 10, 10, 10, 5, 5};
    const std::vector<std::pair<double, double>> at{{1, 1}, {2, 2}, {60, 60}};
    const std::vector<double> points{1, 2, 9, -3, 4, 4};
    // "sig2": one unit-norm row per non-empty cell, length V x D, in word-major layout.
    Rows sig2 = Signature("sig2", codebook, 2, at, points, nullptr, "pyramid-1x1-2x2");
    ASSERT_TRUE(sig2);
    EXPECT_EQ(sig2->GetVectorLength(), 10);
    for (int r : {0, 1, 4})
        EXPECT_NEAR(Norm(Row(sig2, r)), 1.0, 1e-14) << r;
    EXPECT_EQ(Norm(Row(sig2, 2)), 0.0);
    // The other "sig" modes keep the square roots unnormalised.
    Rows sig = Signature("sig", codebook, 2, at, points, nullptr, "pyramid-1x1-2x2");
    const std::vector<double> raw = Row(sig, 0), unit = Row(sig2, 0);
    for (size_t k = 0; k < raw.size(); ++k)
        EXPECT_NEAR(unit[k], raw[k] / Norm(raw), 1e-14) << k;

    // "sdc": (r / s, r^2 / s^2 - 1) per dimension. One word, residual (2, 0), s = 2:
    // 1.875 x (1, 0, 0, -1) before the square roots and the unit norm.
    Rows sdc = Signature("sdc", {0, 0}, 2, {{5, 5}}, {2, 0}, DiffStat(1, 2, -1, 1, 2));
    ASSERT_TRUE(sdc);
    ASSERT_EQ(sdc->GetVectorLength(), 4);
    const double h = 1.0 / std::sqrt(2.0);
    const std::vector<double> moments = Row(sdc, 0);
    EXPECT_NEAR(moments[0], h, 1e-15);
    EXPECT_EQ(moments[1], 0.0);
    EXPECT_EQ(moments[2], 0.0);
    EXPECT_NEAR(moments[3], -h, 1e-15);
}

TEST(SDCQuantizer, MdcBinsClampAtBothEnds)
{
    // Residual range [-3, 3] in three bins of width 2. Dimension 0: residual 5 lies
    // beyond the upper end, bin 2; dimension 1: -10 below the lower end, bin 0.
    Rows beyond = Signature("mdc3", {0, 0}, 2, {{5, 5}}, {5, -10}, DiffStat(1, 2, -3, 3, 1));
    ASSERT_TRUE(beyond);
    ASSERT_EQ(beyond->GetVectorLength(), 6);
    const double h = 1.0 / std::sqrt(2.0);
    std::vector<double> row = Row(beyond, 0);
    const std::vector<double> expected{0, 0, h, h, 0, 0};
    for (size_t k = 0; k < row.size(); ++k)
        EXPECT_NEAR(row[k], expected[k], 1e-15) << k;

    // Exactly at the upper end: still the last bin; 0 in the middle bin; the lower end in bin 0.
    Rows edges = Signature("mdc3", {0, 0, 0}, 3, {{5, 5}}, {3, 0, -3}, DiffStat(1, 3, -3, 3, 1));
    row = Row(edges, 0);
    const double t = 1.0 / std::sqrt(3.0);
    const std::vector<double> bins{0, 0, t, 0, t, 0, t, 0, 0};
    for (size_t k = 0; k < row.size(); ++k)
        EXPECT_NEAR(row[k], bins[k], 1e-15) << k;

    // Each group of n is normalised before the whole row: two points in different
    // bins of dimension 0 give that group the same weight as the single bin of dimension 1.
    Rows groups = Signature("mdc2", {0, 0}, 2, {{5, 5}, {6, 6}}, {-1, 1, 1, 1}, DiffStat(1, 2, -2, 2, 1));
    row = Row(groups, 0);
    EXPECT_NEAR(row[0] * row[0] + row[1] * row[1], 0.5, 1e-15);
    EXPECT_NEAR(row[3], h, 1e-15);
}

TEST(SDCQuantizer, NeedsItsStatisticsAndAUsableMode)
{
    // Without "diffstat" only the sig modes can run.
    SDCQuantizer sdc("", 0, "sdc");
    sdc.AdoptCodebook(MatrixOf(2, 2).release(), nullptr);
    EXPECT_FALSE(sdc.IsReady());
    SDCQuantizer sig("", 0, "sig");
    sig.AdoptCodebook(MatrixOf(2, 2).release(), nullptr);
    EXPECT_TRUE(sig.IsReady());
    // Statistics of another shape, and a histogram of no bins, are refused.
    SDCQuantizer shape("", 0, "mdc4");
    shape.AdoptCodebook(MatrixOf(2, 2).release(), DiffStat(2, 3, 0, 1, 1));
    EXPECT_FALSE(shape.IsReady());
    SDCQuantizer noBins("", 0, "mdc0");
    noBins.AdoptCodebook(MatrixOf(2, 2).release(), DiffStat(2, 2, 0, 1, 1));
    EXPECT_FALSE(noBins.IsReady());
    auto table = MakePointTable({{1, 1}}, 2, {0, 0});
    EXPECT_EQ(noBins.Quantize(table.get(), 10, 10), nullptr);
    EXPECT_EQ(sdc.Quantize(table.get(), 10, 10), nullptr);

    SignatureMode mode;
    EXPECT_TRUE(ParseSignatureMode("mdc12", mode));
    EXPECT_EQ(mode.RowLength(3, 4), 12 * 3 * 4);
    EXPECT_TRUE(ParseSignatureMode("sdcx", mode));
    EXPECT_EQ(mode.RowLength(3, 4), 2 * 3 * 4);
    EXPECT_FALSE(ParseSignatureMode("unc", mode));
}
