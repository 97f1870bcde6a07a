// Direct projection of a point table onto a codebook: rows per cell, the division by
// the cell's count, hard word indices, the dimension checks, and the agreement of
// ProjectUNC and ProjectSig with the quantizers that share their code.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/feature/PointDescriptorTable.h"
#include "core/feature/codebook/SDCQuantizer.h"
#include "core/feature/codebook/UncertaintyQuantizer.h"
#include "support/CodebookFeatures.h"
#include "support/Matrices.h"
#include "support/PointTables.h"

using namespace Tavlin::Core::Feature;
using TestSupport::MakePointTable;
using TestSupport::MatrixOf;
using TestSupport::Row;

namespace
{
using Table = std::unique_ptr<PointDescriptorTable>;

// The shared codebook feature on a 100 x 100 image, the codebook given by its values.
struct Projection : TestSupport::CodebookFeature
{
    Projection(const std::vector<double>& codebook, int dimension, const std::string& pyramid)
        : CodebookFeature(MatrixOf(static_cast<int>(codebook.size()) / dimension, dimension, codebook).release(),
                          pyramid)
    {
    }

    Table Project(Table table, const std::string& mode)
    {
        return CodebookFeature::Project(std::move(table), mode, 100, 100);
    }
};
} // namespace

TEST(ProjectOntoCodebook, HardRowsAreWordFrequenciesPerCell)
{
    // Words 0, 10, 20, 30 on a line; descriptors equal to words, one near word 2.
    Projection p({0, 10, 20, 30}, 1, "pyramid-1x1-2x2");
    Table rows = p.Project(MakePointTable({{10, 10}, {20, 20}, {70, 10}, {90, 90}}, 1, {0, 10, 21, 30}), "hard");
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->Size(), 5);
    EXPECT_EQ(rows->GetDescriptorLength(), 4);
    EXPECT_EQ(Row(rows, 0), (std::vector<double>{0.25, 0.25, 0.25, 0.25}));
    EXPECT_EQ(Row(rows, 1), (std::vector<double>{0.5, 0.5, 0, 0}));
    EXPECT_EQ(Row(rows, 2), (std::vector<double>{0, 0, 1, 0}));
    EXPECT_EQ(Row(rows, 3), (std::vector<double>{0, 0, 0, 0}));
    EXPECT_EQ(Row(rows, 4), (std::vector<double>{0, 0, 0, 1}));
    // Rows are cells, not points: every point column is 0.
    for (int r = 0; r < 5; ++r)
        EXPECT_TRUE(rows->X()[r] == 0 && rows->Y()[r] == 0 && rows->Scale()[r] == 0 && rows->Cornerness()[r] == 0);

    // "hardmatrix" is the same; a point on the image's edge or beyond lies in no cell.
    Table same = p.Project(MakePointTable({{10, 10}, {100, 5}, {5, 100}}, 1, {0, 10, 10}), "hardmatrix");
    EXPECT_EQ(Row(same, 0), (std::vector<double>{1, 0, 0, 0}));

    // An unknown mode leaves the rows zero; a table without points gives no rows.
    Table unknown = p.Project(MakePointTable({{10, 10}}, 1, {0}), "nosuchmode");
    ASSERT_EQ(unknown->Size(), 5);
    EXPECT_EQ(Row(unknown, 0), (std::vector<double>{0, 0, 0, 0}));
    Table empty = p.Project(MakePointTable({}, 1, {}), "hard");
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->Size(), 0);
}

TEST(ProjectOntoCodebook, HardIndexKeepsThePointsWithTheirNearestWord)
{
    // 2-D words; the point (5, 0) is equally near to words 2 and 5 and takes word 2.
    Projection p({9, 9, 7, 7, 0, 0, -3, 3, 8, 8, 10, 0}, 2, "pyramid-1x1-2x2");
    Table points = p.Project(MakePointTable({{3.7, 4.2}, {50, 60}, {1, 1}}, 2, {5, 0, 8.5, 8.5, 7, 7}), "hardindex");
    ASSERT_TRUE(points);
    ASSERT_EQ(points->Size(), 3);
    EXPECT_EQ(points->GetDescriptorLength(), 1);
    EXPECT_EQ(points->X()[0], 3.7);
    EXPECT_EQ(points->Y()[1], 60.0);
    EXPECT_EQ(Row(points, 0), std::vector<double>{2});
    EXPECT_EQ(Row(points, 1), std::vector<double>{0});
    EXPECT_EQ(Row(points, 2), std::vector<double>{1});
}

TEST(ProjectOntoCodebook, DescriptorsMustFitTheCodebookOrItsReduction)
{
    Projection p({0, 0, 1, 1}, 2, "");
    try
    {
        p.Project(MakePointTable({{1, 1}}, 3, {0, 0, 0}), "hard");
        ADD_FAILURE() << "no throw";
    }
    catch (const char* text)
    {
        EXPECT_STREQ(text, "Dimensionality mismatch!");
    }

    // Descriptors of 4 reduced to 2 by a 4 x 2 matrix that keeps the last two values.
    p.feature->SetCodebook(MatrixOf(2, 2, {0, 0, 10, 10}).release(),
                           MatrixOf(4, 2, {0, 0, 0, 0, 1, 0, 0, 1}).release());
    Table reduced = p.Project(MakePointTable({{1, 1}, {2, 2}, {3, 3}}, 4, {10, 10, 0, 0, 0, 0, 9, 9, 0, 0, 8, 8}),
                              "hard");
    ASSERT_TRUE(reduced);
    EXPECT_EQ(Row(reduced, 0), (std::vector<double>{1.0 / 3, 2.0 / 3}));
    Table index = p.Project(MakePointTable({{1, 1}}, 4, {0, 0, 9, 9}), "hardindex");
    EXPECT_EQ(Row(index, 0), std::vector<double>{1});

    // Descriptors that do not fit the reduction, whatever their length against the codebook.
    for (int length : {3, 2})
    {
        try
        {
            p.Project(MakePointTable({{1, 1}}, length, std::vector<double>(length, 0.0)), "hard");
            ADD_FAILURE() << "no throw for " << length;
        }
        catch (const char* text)
        {
            EXPECT_STREQ(text, "bye");
        }
    }
}

TEST(ProjectOntoCodebook, SoftModesAgreeWithTheirQuantizers)
{
    const std::vector<double> codebook{0, 0, 10, 0, 0, 10, 10, 10, 5, 5};
    const std::vector<std::pair<double, double>> at{{1, 1}, {2, 2}, {60, 60}, {70, 20}};
    const std::vector<double> points{1, 2, 9, -3, 4, 4, 12, 11};

    Projection p(codebook, 2, "pyramid-1x1-2x2");
    p.properties.Add("codebookSigma", "4.5");
    Table unc = p.Project(MakePointTable(at, 2, points), "unc");
    UncertaintyQuantizer uncertainty("pyramid-1x1-2x2", 0, 4.5);
    uncertainty.AdoptCodebook(MatrixOf(5, 2, codebook).release());
    auto table = MakePointTable(at, 2, points);
    std::unique_ptr<Tavlin::Core::Vector::VectorSet<Tavlin::Core::Array::Array2dReal64>> expected(
        uncertainty.Quantize(table.get(), 100, 100));
    ASSERT_TRUE(unc && expected);
    ASSERT_EQ(unc->Size(), 5);
    for (int r = 0; r < 5; ++r)
        EXPECT_EQ(0, std::memcmp(unc->GetDescriptor(r), expected->GetVectorData(r), 5 * sizeof(double))) << r;

    // The residual modes keep their own normalisation: no division by the counts.
    for (const std::string mode : {"sig", "sig0", "sig2"})
    {
        Table sig = p.Project(MakePointTable(at, 2, points), mode);
        SDCQuantizer quantizer("pyramid-1x1-2x2", 0, mode);
        quantizer.AdoptCodebook(MatrixOf(5, 2, codebook).release(), nullptr);
        expected.reset(quantizer.Quantize(table.get(), 100, 100));
        ASSERT_TRUE(sig && expected) << mode;
        ASSERT_EQ(sig->GetDescriptorLength(), 10);
        for (int r = 0; r < 5; ++r)
            EXPECT_EQ(0, std::memcmp(sig->GetDescriptor(r), expected->GetVectorData(r), 10 * sizeof(double)))
                << mode << " " << r;
    }
}

TEST(ProjectOntoCodebook, ModesAreCheckedBeforeAnyImage)
{
    Projection p({0, 0, 1, 1}, 2, "");
    auto prepared = [&](const std::string& mode) {
        p.properties.Add("codebookMode", mode);
        return p.feature->PrepareCodebookMode();
    };
    for (const std::string mode : {"hard", "hardmatrix", "hardindex", "unc", "sig", "sig0", "sig2", "anything"})
        EXPECT_TRUE(prepared(mode)) << mode;
    // Modes that need what this codebook lacks, or what this build lacks.
    for (const std::string mode : {"sdc", "mdc3", "mdc0", "forest", "fisher", "kdhard", "closestword", "closestword5"})
        EXPECT_FALSE(prepared(mode)) << mode;

    auto* diffStat = new Tavlin::Core::Matrix::MatList();
    for (int i = 0; i < 3; ++i)
        diffStat->push_back(MatrixOf(2, 2, {1, 1, 1, 1}).release());
    p.feature->SetCodebookDiffStat(diffStat);
    EXPECT_TRUE(prepared("sdc"));
    EXPECT_TRUE(prepared("mdc3"));
    EXPECT_FALSE(prepared("mdc0"));
}
