// The forest mode of the direct projection: every tree of mForest votes once per point
// into each cell that accepts it, rows divided by the votes; a forest that cannot be
// read, or whose leaves lie beyond its length, is refused before any image.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "core/feature/codebook/RandomTree.h"
#include "support/CodebookFeatures.h"
#include "support/Matrices.h"
#include "support/PointTables.h"

using namespace Tavlin::Core::Feature;
using TestSupport::CodebookFeature;
using TestSupport::MakePointTable;
using TestSupport::Row;

namespace
{
using Table = std::unique_ptr<PointDescriptorTable>;

// (code word, element, threshold) rows as the feature table of a forest.
FeatureTable* ForestOf(const std::vector<std::tuple<int, int, double>>& rows)
{
    return MakeFeatureTable(TestSupport::ForestTable(rows).get());
}

// Element 7 of a descriptor of 8, the rest 0.
std::vector<double> Descriptors(const std::vector<double>& seventh)
{
    std::vector<double> values;
    for (double v : seventh)
    {
        values.insert(values.end(), 7, 0.0);
        values.push_back(v);
    }
    return values;
}
} // namespace

TEST(ProjectForest, EachTreeVotesOncePerPointAndRowsSumToOne)
{
    // The tree on element 7 at 0.5: 0.4 goes to word 0, 0.5 to word 1. A second tree
    // of the single leaf 2 takes every point.
    CodebookFeature f(TestSupport::MatrixOf(1, 2).release(), "pyramid-1x1-2x2", "forest");
    f.feature->SetForest(ForestOf({{-1, 7, 0.5}, {0, -1, -1.0}, {1, -1, -1.0}, {2, -1, -1.0}}));
    ASSERT_TRUE(f.feature->PrepareCodebookMode());
    Table rows = f.Project(
        MakePointTable({{10, 10}, {20, 20}, {60, 10}, {150, 10}}, 8, Descriptors({0.4, 0.5, 0.5, 0.4})), "forest",
        100, 100);
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->Size(), 5);
    ASSERT_EQ(rows->GetDescriptorLength(), 3);
    // Whole image: three points (the fourth lies beyond the width), six votes.
    EXPECT_EQ(Row(rows, 0), (std::vector<double>{1.0 / 6, 2.0 / 6, 3.0 / 6}));
    EXPECT_EQ(Row(rows, 1), (std::vector<double>{0.25, 0.25, 0.5}));
    EXPECT_EQ(Row(rows, 2), (std::vector<double>{0, 0.5, 0.5}));
    EXPECT_EQ(Row(rows, 3), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ(Row(rows, 4), (std::vector<double>{0, 0, 0}));

    // Descriptors too short for element 7 end the projection with an error.
    EXPECT_FALSE(f.Project(MakePointTable({{10, 10}}, 4, {0, 0, 0, 0}), "forest", 100, 100));
    // No points: a result without rows.
    Table none = f.Project(MakePointTable({}, 8, {}), "forest", 100, 100);
    ASSERT_TRUE(none);
    EXPECT_EQ(none->Size(), 0);
}

TEST(ProjectForest, UnreadableForestsAreRefusedBeforeAnyImage)
{
    CodebookFeature f(TestSupport::MatrixOf(1, 2).release(), "", "forest");
    EXPECT_FALSE(f.feature->PrepareCodebookMode());
    // An inner node in the last row.
    f.feature->SetForest(ForestOf({{0, -1, -1.0}, {-1, 7, 0.5}}));
    EXPECT_FALSE(f.feature->PrepareCodebookMode());
    // Leaf 3 beyond the length that the last leaf, 1, gives.
    f.feature->SetForest(ForestOf({{-1, 7, 0.5}, {3, -1, -1.0}, {1, -1, -1.0}}));
    EXPECT_FALSE(f.feature->PrepareCodebookMode());
    f.feature->SetForest(ForestOf({{-1, 7, 0.5}, {0, -1, -1.0}, {1, -1, -1.0}}));
    EXPECT_TRUE(f.feature->PrepareCodebookMode());
}
