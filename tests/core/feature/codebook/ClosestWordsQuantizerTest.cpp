// ClosestWordsQuantizer: per point its position and its n nearest words, nearest first
// and the lower index first at equal distance; a codebook of fewer words is refused.
#include "core/feature/codebook/ClosestWordsQuantizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "core/matrix/VectorQuantize.h"
#include "support/LogCapture.h"
#include "support/Matrices.h"
#include "support/PointTables.h"
#include "support/QuantizerRows.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Array::Array2dReal64;
using TestSupport::MakePointTable;
using TestSupport::MatrixOf;
using TestSupport::Row;
using TestSupport::Rows;

TEST(ClosestWordsQuantizer, PositionThenNearestWordsWithTiesByIndex)
{
    // From (0,0) words 1, 3, 4 and 5 lie at distance 1 and word 2 at 3; from (2,0)
    // words 2 and 5 at 1, words 1 and 4 at sqrt 5, words 0 and 3 at 3. Squares of small
    // integers: the ties are exact.
    ClosestWordsQuantizer quantizer(5);
    ASSERT_TRUE(quantizer.AdoptCodebook(MatrixOf(6, 2, {5, 0, 0, 1, 3, 0, -1, 0, 0, -1, 1, 0}).release()));
    auto table = MakePointTable({{12.75, 3.5}, {0, 99}}, 2, {0, 0, 2, 0});
    Rows rows(quantizer.Quantize(table.get(), 1, 1));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->Size(), 2);
    // Positions as stored, not truncated; width and height play no part.
    EXPECT_EQ(Row(rows, 0), (std::vector<double>{12.75, 3.5, 1, 3, 4, 5, 2}));
    EXPECT_EQ(Row(rows, 1), (std::vector<double>{0, 99, 2, 5, 1, 4, 0}));

    ClosestWordsQuantizer one(1);
    ASSERT_TRUE(one.AdoptCodebook(MatrixOf(6, 2, {5, 0, 0, 1, 3, 0, -1, 0, 0, -1, 1, 0}).release()));
    Rows single(one.Quantize(table.get(), 1, 1));
    ASSERT_TRUE(single);
    EXPECT_EQ(Row(single, 0), (std::vector<double>{12.75, 3.5, 1}));
    EXPECT_EQ(Row(single, 1), (std::vector<double>{0, 99, 2}));

    auto none = MakePointTable({}, 2, {});
    Rows empty(quantizer.Quantize(none.get(), 1, 1));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->Size(), 0);
}

TEST(ClosestWordsQuantizer, AgreesWithTheNearestNeighbourSearchAndADirectRanking)
{
    const int words = 40, points = 300, dimension = 16;
    auto codebook = TestSupport::RandomMatrix(words, dimension, 7);
    const TestSupport::PointSet data = TestSupport::RandomPoints(points, dimension, 17, 18, 8);
    auto table = data.Table();
    std::unique_ptr<Array2dReal64> descriptors(table->GetWrappedDescriptorMatrix());
    std::unique_ptr<Array2dReal64> nearest(Tavlin::Core::Matrix::VectorQuantize(descriptors.get(), codebook.get()));
    ClosestWordsQuantizer quantizer(5);
    ASSERT_TRUE(quantizer.AdoptCodebook(TestSupport::RandomMatrix(words, dimension, 7).release()));
    Rows rows(quantizer.Quantize(table.get(), 17, 18));
    ASSERT_TRUE(rows);
    for (int i = 0; i < points; ++i)
    {
        // Squared distances summed directly; random values leave no ties.
        std::vector<std::pair<double, int>> ranked;
        for (int j = 0; j < words; ++j)
        {
            double sum = 0;
            for (int k = 0; k < dimension; ++k)
            {
                const double d = data.descriptors[i * dimension + k] - codebook->mData[j * dimension + k];
                sum += d * d;
            }
            ranked.emplace_back(sum, j);
        }
        std::sort(ranked.begin(), ranked.end());
        const std::vector<double> row = Row(rows, i);
        EXPECT_EQ(row[2], nearest->mData[2 * i]) << i;
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(row[2 + k], ranked[k].second) << i << " " << k;
    }
}

TEST(ClosestWordsQuantizer, ACodebookOfFewerWordsIsRefused)
{
    TestSupport::LogCapture log("Tavlin.Core.Feature.ClosestWordsQuantizer", log4cpp::Priority::ERROR);
    ClosestWordsQuantizer quantizer(5);
    EXPECT_FALSE(quantizer.AdoptCodebook(MatrixOf(4, 2).release()));
    EXPECT_FALSE(quantizer.IsReady());
    EXPECT_NE(log.Text().find("A codebook of 4 words can not give the 5 closest words"), std::string::npos)
        << log.Text();
    auto table = MakePointTable({{1, 1}}, 2, {0, 0});
    EXPECT_EQ(quantizer.Quantize(table.get(), 10, 10), nullptr);
    EXPECT_TRUE(quantizer.AdoptCodebook(MatrixOf(5, 2).release()));
    // Descriptors of another length are refused too.
    auto wide = MakePointTable({{1, 1}}, 3, {0, 0, 0});
    EXPECT_EQ(quantizer.Quantize(wide.get(), 10, 10), nullptr);
}
