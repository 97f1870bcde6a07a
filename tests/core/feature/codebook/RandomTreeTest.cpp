// Random forests: the stated examples, the two table forms and the round trip through
// Write and Read, and tables that end inside a tree or hold no forest at all.
#include "core/feature/codebook/RandomTree.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "core/feature/codebook/GetCodebookLength.h"
#include "support/CodebookFeatures.h"
#include "support/LogCapture.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Quid;
using Tavlin::Core::Vector::VectorTem;
using TestSupport::ForestTable;
using TestSupport::LogCapture;

namespace
{
using Row = std::tuple<int, int, double>;

std::vector<Row> RowsOf(const RandomTreeTable& table)
{
    std::vector<Row> rows;
    for (int i = 0; i < table.Size(); ++i)
        rows.emplace_back(table.mColumn1.mData[i], table.mColumn2.mData[i], table.mColumn3.mData[i]);
    return rows;
}

struct Forest
{
    explicit Forest(std::vector<RandomTree*> t) : trees(std::move(t)) {}
    ~Forest() { DeleteForest(trees); }
    std::vector<RandomTree*> trees;
};

VectorTem<double> Descriptor(std::vector<double>& values)
{
    return VectorTem<double>(static_cast<int>(values.size()), values.data(), true);
}
} // namespace

TEST(RandomTree, StatedExamples)
{
    // One row with code word 0: one tree of one leaf.
    auto single = ForestTable({Row(0, -1, -1.0)});
    Forest one(ReadRandomForest(single.get()));
    ASSERT_EQ(one.trees.size(), 1u);
    EXPECT_TRUE(one.trees[0]->IsLeaf());
    std::unique_ptr<FeatureTable> singleFeatures(MakeFeatureTable(single.get()));
    EXPECT_EQ(GetCodebookLength(singleFeatures.get()), 1);

    // An inner node on element 7 at 0.5 over the leaves 0 and 1.
    auto three = ForestTable({Row(-1, 7, 0.5), Row(0, -1, -1.0), Row(1, -1, -1.0)});
    Forest forest(ReadRandomForest(three.get()));
    ASSERT_EQ(forest.trees.size(), 1u);
    RandomTree* tree = forest.trees[0];
    EXPECT_EQ(tree->mCW, -1);
    EXPECT_EQ(tree->mKind, -2);
    EXPECT_EQ(tree->mD, 7);
    EXPECT_EQ(tree->mV, 0.5);
    std::vector<double> x(8, 0.0);
    x[7] = 0.4;
    EXPECT_EQ(tree->GetCodeWord(Descriptor(x)), 0);
    x[7] = 0.5;
    EXPECT_EQ(tree->GetCodeWord(Descriptor(x)), 1);
    // A descriptor without element 7 reaches no leaf.
    std::vector<double> shorter(7, 0.0);
    EXPECT_EQ(tree->GetCodeWord(Descriptor(shorter)), -1);

    // An inner node's code word is -1 whatever negative value its row holds.
    auto other = ForestTable({Row(-5, 0, 1.0), Row(2, 3, 4.0), Row(3, -1, -1.0)});
    Forest minus(ReadRandomForest(other.get()));
    ASSERT_EQ(minus.trees.size(), 1u);
    EXPECT_EQ(minus.trees[0]->mCW, -1);
    EXPECT_EQ(minus.trees[0]->mLeft->mD, -1);
    EXPECT_EQ(minus.trees[0]->mLeft->mV, -1.0);
}

TEST(RandomTree, TableFormsAndWriteReadRoundTrip)
{
    // Two trees; the leaves numbered 0 to 4 in table order.
    const std::vector<Row> rows{Row(-1, 0, 10.0), Row(0, -1, -1.0), Row(1, -1, -1.0),  Row(-1, 2, 5.0),
                                Row(-1, 1, -3.0), Row(2, -1, -1.0), Row(3, -1, -1.0), Row(4, -1, -1.0)};
    auto table = ForestTable(rows);
    std::unique_ptr<FeatureTable> features(MakeFeatureTable(table.get()));
    ASSERT_TRUE(features);
    EXPECT_EQ(features->GetFeatureDefinition().name, "ceci_nest_pas_un_feature_table_its_a_random-forest");
    ASSERT_EQ(features->Size(), 8);
    EXPECT_EQ(features->GetVectorLength(), 2);
    EXPECT_EQ(features->GetQuid(0).GetSecond(), 0x8000000000000000ULL);
    EXPECT_EQ(features->GetQuid(1).GetSecond(), 0u);
    EXPECT_EQ(features->GetVector(3)[0], 2.0);
    EXPECT_EQ(features->GetVector(3)[1], 5.0);
    EXPECT_EQ(GetCodebookLength(features.get()), 5);

    std::unique_ptr<RandomTreeTable> back(MakeRandomTreeTable(features.get()));
    ASSERT_TRUE(back);
    EXPECT_EQ(RowsOf(*back), rows);

    // Read from the feature table, written again: the same rows.
    Forest forest(ReadRandomForest(features.get()));
    ASSERT_EQ(forest.trees.size(), 2u);
    RandomTreeTable written;
    for (RandomTree* tree : forest.trees)
        Write(tree, &written);
    EXPECT_EQ(RowsOf(written), rows);

    // The second tree: element 2 below 5 goes left to the test of element 1.
    std::vector<double> x{0.0, -3.0, 4.0};
    EXPECT_EQ(forest.trees[0]->GetCodeWord(Descriptor(x)), 0);
    EXPECT_EQ(forest.trees[1]->GetCodeWord(Descriptor(x)), 3);
    x[1] = -3.5;
    EXPECT_EQ(forest.trees[1]->GetCodeWord(Descriptor(x)), 2);
    x[2] = 5.0;
    EXPECT_EQ(forest.trees[1]->GetCodeWord(Descriptor(x)), 4);

    // A tree as deep as its table is long: no call depth grows with it.
    const int depth = 200000;
    std::vector<Row> chain;
    for (int i = 0; i < depth; ++i)
    {
        chain.emplace_back(-1, 0, static_cast<double>(i));
        chain.emplace_back(i, -1, -1.0);
    }
    chain.emplace_back(depth, -1, -1.0);
    auto deep = ForestTable(chain);
    Forest tall(ReadRandomForest(deep.get()));
    ASSERT_EQ(tall.trees.size(), 1u);
    std::vector<double> far{1e9};
    EXPECT_EQ(tall.trees[0]->GetCodeWord(Descriptor(far)), depth);
    RandomTreeTable again;
    Write(tall.trees[0], &again);
    EXPECT_EQ(RowsOf(again), chain);
}

TEST(RandomTree, TablesThatHoldNoWholeForestAreReported)
{
    {
        // An inner node in the last row: the table ends inside the tree.
        LogCapture read("Tavlin.Core.Feature.RandomTree.Read", log4cpp::Priority::ERROR);
        LogCapture forest("Tavlin.Core.Feature.ReadRandomForest", log4cpp::Priority::ERROR);
        auto cut = ForestTable({Row(0, -1, -1.0), Row(-1, 3, 0.5), Row(1, -1, -1.0)});
        Forest none(ReadRandomForest(cut.get()));
        EXPECT_TRUE(none.trees.empty());
        EXPECT_EQ(read.Text(), "parse error in Read(RandomTreeTable*,int)\n");
        EXPECT_NE(forest.Text().find("ends inside tree 2"), std::string::npos) << forest.Text();

        int row = 1;
        EXPECT_EQ(Read(cut.get(), &row), nullptr);
        EXPECT_EQ(row, 3);
        row = 3;
        EXPECT_EQ(Read(cut.get(), &row), nullptr);
        EXPECT_EQ(row, 3);
    }
    {
        // An empty table is an empty forest.
        auto empty = ForestTable({});
        EXPECT_TRUE(Forest(ReadRandomForest(empty.get())).trees.empty());
    }
    {
        // A feature table of one value per row cannot hold dimension and threshold.
        LogCapture log("Tavlin.Core.Feature.ReadRandomForest", log4cpp::Priority::ERROR);
        FeatureTable narrow(FeatureDefinition(), 2, 1);
        double value = 1.0;
        narrow.Add(Quid(0, 0), VectorTem<double>(1, &value, true));
        EXPECT_EQ(MakeRandomTreeTable(&narrow), nullptr);
        EXPECT_TRUE(Forest(ReadRandomForest(&narrow)).trees.empty());
        EXPECT_EQ(MakeRandomTreeTable(nullptr), nullptr);
        EXPECT_NE(log.Text().find("vectors of 2 values, not 1"), std::string::npos) << log.Text();
    }
    {
        // Garbage dimensions (not a number, beyond any int) reach no leaf.
        FeatureTable garbage(FeatureDefinition(), 3, 2);
        double inner[2] = {1e300, 0.0};
        double leaf[2] = {-1.0, -1.0};
        garbage.Add(Quid(0, 0x8000000000000000ULL), VectorTem<double>(2, inner, true));
        garbage.Add(Quid(0, 0), VectorTem<double>(2, leaf, true));
        garbage.Add(Quid(0, 1), VectorTem<double>(2, leaf, true));
        Forest forest(ReadRandomForest(&garbage));
        ASSERT_EQ(forest.trees.size(), 1u);
        std::vector<double> x{0.0, 0.0};
        EXPECT_EQ(forest.trees[0]->GetCodeWord(Descriptor(x)), -1);
    }
}
