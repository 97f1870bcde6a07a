#include "core/feature/codebook/TrainDiffStat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "support/Matrices.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Array::Array2dReal64;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

TEST(TrainDiffStat, LowerUpperAndDeviationPerWordWithPooledFallbacks)
{
    // Word 0 gets three descriptors, word 1 one (deviation 0), word 2 none.
    MatrixPtr codebook = MatrixOf(3, 2, {0, 0, 10, 10, 100, -100});
    MatrixPtr data = MatrixOf(4, 2, {1, 2, 11, 10, -1, 0, 3, -2});
    Tavlin::Core::Matrix::MatList stats;
    TrainDiffStat(data.get(), codebook.get(), stats);
    ASSERT_EQ(stats.size(), 3u);
    std::unique_ptr<Array2dReal64> lower(stats[0]), upper(stats[1]), deviation(stats[2]);
    for (Array2dReal64* m : stats)
        ASSERT_TRUE(m->mHeight == 3 && m->mWidth == 2);

    // Word 0: residuals (1, 2), (-1, 0), (3, -2); means (1, 0).
    EXPECT_EQ(lower->mData[0], -1.0);
    EXPECT_EQ(upper->mData[0], 3.0);
    EXPECT_EQ(lower->mData[1], -2.0);
    EXPECT_EQ(upper->mData[1], 2.0);
    EXPECT_DOUBLE_EQ(deviation->mData[0], std::sqrt(8.0 / 3.0));
    EXPECT_DOUBLE_EQ(deviation->mData[1], std::sqrt(8.0 / 3.0));
    // Word 1: the one residual (1, 0); its deviation is that of all four residuals,
    // (1, -1, 3, 1) and (2, 0, -2, 0): sqrt(2) in both dimensions.
    EXPECT_EQ(lower->mData[2], 1.0);
    EXPECT_EQ(upper->mData[2], 1.0);
    EXPECT_EQ(lower->mData[3], 0.0);
    EXPECT_EQ(upper->mData[3], 0.0);
    EXPECT_DOUBLE_EQ(deviation->mData[2], std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(deviation->mData[3], std::sqrt(2.0));
    // Word 2: all residuals.
    EXPECT_EQ(lower->mData[4], -1.0);
    EXPECT_EQ(upper->mData[4], 3.0);
    EXPECT_EQ(lower->mData[5], -2.0);
    EXPECT_EQ(upper->mData[5], 2.0);
    EXPECT_DOUBLE_EQ(deviation->mData[4], std::sqrt(2.0));

    // All descriptors on their words: no spread anywhere, deviation 1.
    MatrixPtr exact = MatrixOf(2, 2, {0, 0, 10, 10});
    Tavlin::Core::Matrix::MatList flat;
    TrainDiffStat(exact.get(), codebook.get(), flat);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(flat[2]->mData[i], 1.0);
    for (Array2dReal64* m : flat)
        delete m;
}
