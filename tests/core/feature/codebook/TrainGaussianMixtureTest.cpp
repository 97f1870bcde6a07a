#include "core/feature/codebook/TrainGaussianMixture.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/Matrices.h"
#include "support/Mixtures.h"

using namespace Tavlin::Core::Feature;
using Tavlin::Core::Array::Array2dReal64;
using TestSupport::MatrixOf;
using TestSupport::MatrixPtr;

TEST(TrainGaussianMixture, RecoversTwoGaussiansStartedFromKMeans)
{
    TestSupport::MixtureData truth;
    // Variances stay above the floor EM keeps, a hundredth of the overall variance.
    truth.coef = {0.3, 0.7};
    truth.mean = {{-6.0, 1.0}, {6.0, -2.0}};
    truth.var = {{1.0, 4.0}, {0.5, 1.0}};
    std::vector<std::vector<double>> samples = TestSupport::DrawSamples(truth, 4000, 17);
    MatrixPtr data = MatrixOf(4000, 2);
    for (int i = 0; i < 4000; ++i)
        for (int k = 0; k < 2; ++k)
            data->mData[2 * i + k] = samples[i][k];

    GaussianMixtureParam param;
    param.kmeans.words = 2;
    Tavlin::Core::Matrix::MatList model;
    testing::internal::CaptureStdout();
    ASSERT_TRUE(TrainGaussianMixture(data.get(), param, model, log4cpp::Category::getInstance("test")));
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(model.size(), 3u);
    std::unique_ptr<Array2dReal64> means(model[0]), vars(model[1]), weights(model[2]);
    ASSERT_EQ(weights->mWidth, 1);
    const int first = means->mData[0] < 0 ? 0 : 1;
    for (int j = 0; j < 2; ++j)
    {
        const int g = j == 0 ? first : 1 - first;
        EXPECT_NEAR(weights->mData[g], truth.coef[j], 0.03);
        for (int k = 0; k < 2; ++k)
        {
            EXPECT_NEAR(means->mData[2 * g + k], truth.mean[j][k], 0.15);
            EXPECT_NEAR(vars->mData[2 * g + k], truth.var[j][k], 0.15 * truth.var[j][k]);
        }
    }
}
