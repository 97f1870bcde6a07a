#include "core/feature/codebook/TrainKMeans.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <vector>

#include "support/Matrices.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Array::Array2dReal64;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

namespace
{

// `perCluster` points around each of `centres` rows (spread 1 per dimension), in an
// interleaved order so that no cluster lies in one block of rows.
MatrixPtr Clustered(const std::vector<std::vector<double>>& centres, int perCluster, unsigned seed)
{
    const int k = static_cast<int>(centres.size());
    const int d = static_cast<int>(centres[0].size());
    MatrixPtr data = MatrixOf(k * perCluster, d);
    std::mt19937 generator(seed);
    std::normal_distribution<double> noise(0.0, 1.0);
    for (int i = 0; i < k * perCluster; ++i)
        for (int j = 0; j < d; ++j)
            data->mData[i * d + j] = centres[i % k][j] + noise(generator);
    return data;
}

double Distance(const double* a, const std::vector<double>& b)
{
    double sum = 0;
    for (size_t j = 0; j < b.size(); ++j)
        sum += (a[j] - b[j]) * (a[j] - b[j]);
    return std::sqrt(sum);
}

} // namespace

TEST(TrainKMeans, FindsWellSeparatedClustersAndRepeatsItselfForOneSeed)
{
    std::vector<std::vector<double>> centres;
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> where(-100.0, 100.0);
    for (int c = 0; c < 6; ++c)
    {
        centres.emplace_back();
        for (int j = 0; j < 10; ++j)
            centres.back().push_back(where(generator));
    }
    MatrixPtr data = Clustered(centres, 300, 3);
    KMeansParam param;
    param.words = 6;
    std::ostringstream progress;
    param.progress = &progress;
    std::unique_ptr<Array2dReal64> words(TrainKMeans(data.get(), param));
    ASSERT_EQ(words->mHeight, 6);
    ASSERT_EQ(words->mWidth, 10);

    // Each true centre has exactly one word near it: the mean of 300 points of unit
    // spread lies within a few tenths.
    std::vector<int> taken(6, 0);
    for (const auto& centre : centres)
    {
        int near = 0;
        for (int w = 0; w < 6; ++w)
            if (Distance(words->mData + w * 10, centre) < 0.5)
                ++near, ++taken[w];
        EXPECT_EQ(near, 1);
    }
    EXPECT_EQ(taken, std::vector<int>(6, 1));
    // Converged assignments stop the iterations before the limit of 20.
    EXPECT_NE(progress.str().find("kmeans iteration 1: objective "), std::string::npos);
    EXPECT_EQ(progress.str().find("kmeans iteration 20:"), std::string::npos);

    std::unique_ptr<Array2dReal64> again(TrainKMeans(data.get(), param));
    EXPECT_EQ(std::memcmp(words->mData, again->mData, 60 * sizeof(double)), 0);
}

TEST(TrainKMeans, SeedsAreDistinctDataRowsAndDuplicatesDoNotBreakTraining)
{
    // Five distinct rows, each twice: five seeds are the five rows.
    MatrixPtr data = MatrixOf(10, 2, {0, 0, 5, 0, 0, 5, 5, 5, 9, 9, 0, 0, 5, 0, 0, 5, 5, 5, 9, 9});
    std::unique_ptr<Array2dReal64> seeds(SeedKMeansPlusPlus(data.get(), 5, 11));
    std::vector<int> hits(5, 0);
    for (int w = 0; w < 5; ++w)
        for (int r = 0; r < 5; ++r)
            if (seeds->mData[2 * w] == data->mData[2 * r] && seeds->mData[2 * w + 1] == data->mData[2 * r + 1])
                ++hits[r];
    EXPECT_EQ(hits, std::vector<int>(5, 1));

    // More words than distinct rows: some words start alike, one of them is left
    // empty and re-seeded; the result is still made of data rows, and finite.
    KMeansParam param;
    param.words = 7;
    std::unique_ptr<Array2dReal64> words(TrainKMeans(data.get(), param));
    ASSERT_EQ(words->mHeight, 7);
    for (int i = 0; i < 14; ++i)
        EXPECT_TRUE(std::isfinite(words->mData[i]));
    std::vector<double> squared;
    AssignToWords(data.get(), words.get(), &squared);
    for (double s : squared)
        EXPECT_EQ(s, 0.0);
}
