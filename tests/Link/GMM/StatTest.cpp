#include "Link/GMM/stat.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/Mixtures.h"

using TestSupport::RowPointers;

TEST(Stat, MeanAndUnbiasedVariance)
{
    std::vector<std::vector<double>> rows = {{1, 10}, {2, 10}, {3, 10}, {4, 10}};
    std::vector<double*> s = RowPointers(rows);
    double mean[2], var[2];
    sample_mean(s, mean, 2);
    EXPECT_EQ(mean[0], 2.5);
    EXPECT_EQ(mean[1], 10.0);
    sample_variance(s, var, 2);
    EXPECT_NEAR(var[0], 5.0 / 3.0, 1e-15);
    EXPECT_EQ(var[1], 0.0);

    std::vector<std::vector<float>> one = {{1.0f}};
    std::vector<float*> single = RowPointers(one);
    float fvar[1];
    EXPECT_DEATH(sample_variance(single, fvar, 1), "N>1");
    std::vector<float*> none;
    EXPECT_DEATH(sample_mean(none, fvar, 1), "N>0");
}

TEST(Stat, StandardizeAndBack)
{
    std::vector<std::vector<double>> rows = {{1, 7, -3}, {3, 7, 5}, {8, 7, 0}};
    const std::vector<std::vector<double>> original = rows;
    std::vector<double*> s = RowPointers(rows);
    double mean[3], var[3];
    standardize(s, mean, var, 3);
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(rows[i][1], 0.0); // constant dimension
    double m[3], v[3];
    sample_mean(s, m, 3);
    sample_variance(s, v, 3);
    EXPECT_NEAR(m[0], 0, 1e-15);
    EXPECT_NEAR(v[0], 1, 1e-15);
    EXPECT_NEAR(v[2], 1, 1e-15);

    var[1] = 0;
    destandardize(s, mean, var, 3);
    for (int i = 0; i < 3; i++)
        for (int k = 0; k < 3; k++)
            EXPECT_NEAR(rows[i][k], original[i][k], 1e-14);
    EXPECT_DEATH(destandardize(s, mean, static_cast<double*>(nullptr), 3), "mean && variance");
}
