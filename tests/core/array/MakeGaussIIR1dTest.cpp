#include "core/array/MakeGaussIIR1d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

using namespace Tavlin::Core::Array;

TEST(MakeGaussIIR1d, GivesStatedKernels)
{
    std::unique_ptr<Array2dReal64> k1(MakeGaussIIR1d(1.0, 0, 3));
    ASSERT_EQ(k1->Width(), 7);
    EXPECT_EQ(k1->Height(), 1);
    const double expected[7] = {0.049191, -0.267283, 0.698815, 0.519278, 0.698815, -0.267283, 0.049191};
    for (int i = 0; i < 7; ++i)
        EXPECT_NEAR(k1->PixelPtr(0, 0)[i], expected[i], 5e-7) << i;

    std::unique_ptr<Array2dReal64> k2(MakeGaussIIR1d(2.0, 0, 3));
    EXPECT_NEAR(k2->PixelPtr(0, 0)[3], 0.18377, 5e-6);

    // The outermost weight is 1 / (product of the scaled poles), and scaling by q takes
    // each pole's modulus to the power 1 / q: so q follows from the start poles
    // 1.4165 +- 1.00829i and 1.86131 and that weight.
    const double logProduct = std::log(1.4165 * 1.4165 + 1.00829 * 1.00829) + std::log(1.86131);
    EXPECT_NEAR(logProduct / -std::log(k1->PixelPtr(0, 0)[0]), 0.57355, 5e-6);
    EXPECT_NEAR(logProduct / -std::log(k2->PixelPtr(0, 0)[0]), 0.99595, 5e-6);

    // Order 3 is refused with a line and taken for 2.
    testing::internal::CaptureStdout();
    std::unique_ptr<Array2dReal64> k3(MakeGaussIIR1d(2.0, 3, 3));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "MakeGaussIIR1d : derivative order too large\n");
    std::unique_ptr<Array2dReal64> k22(MakeGaussIIR1d(2.0, 2, 3));
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(k3->PixelPtr(0, 0)[i], k22->PixelPtr(0, 0)[i]);
    EXPECT_NE(k22->PixelPtr(0, 0)[3], k2->PixelPtr(0, 0)[3]);
}

TEST(MakeGaussIIR1d, SymmetricWithUnitGainAndTheWantedDeviation)
{
    // Gain 1 at zero frequency: B = 1 - sum of the feedback weights, for every set.
    for (int order = 0; order <= 2; ++order)
        for (int precision = 1; precision <= 5; ++precision)
        {
            std::unique_ptr<Array2dReal64> k(MakeGaussIIR1d(3.5, order, precision));
            ASSERT_EQ(k->Width(), 2 * precision + 1);
            const double* v = k->PixelPtr(0, 0);
            double feedback = 0.0;
            for (int j = 1; j <= precision; ++j)
            {
                EXPECT_EQ(v[precision - j], v[precision + j]);
                feedback += v[precision + j];
            }
            EXPECT_NEAR(v[precision] + feedback, 1.0, 1e-12) << order << " " << precision;
        }

    // The impulse response of the forward and backward passes on a long line sums to 1
    // and has standard deviation sigma, which the q search fits.
    for (double sigma : {1.0, 2.0, 5.0})
        for (int precision : {3, 5})
        {
            std::unique_ptr<Array2dReal64> kernel(MakeGaussIIR1d(sigma, 0, precision));
            const double* k = kernel->PixelPtr(0, 0);
            const int n = precision;
            const int length = 2001;
            std::vector<double> v(length, 0.0);
            v[length / 2] = 1.0;
            for (int x = 0; x < length; ++x)
            {
                v[x] *= k[n];
                for (int j = 1; j <= n && x - j >= 0; ++j)
                    v[x] += k[n - j] * v[x - j];
            }
            for (int x = length - 1; x >= 0; --x)
            {
                v[x] *= k[n];
                for (int j = 1; j <= n && x + j < length; ++j)
                    v[x] += k[n + j] * v[x + j];
            }
            double sum = 0.0;
            double second = 0.0;
            for (int x = 0; x < length; ++x)
            {
                sum += v[x];
                second += v[x] * (x - length / 2) * (x - length / 2);
            }
            EXPECT_NEAR(sum, 1.0, 1e-9);
            EXPECT_NEAR(std::sqrt(second / sum), sigma, 1e-5) << sigma << " " << precision;
        }
}

TEST(MakeGaussIIR1d, UnreachableDeviationsEndWithAKernel)
{
    // The fit of the poles never reaches these; the kernel must still come back.
    for (double sigma : {0.0, -2.0, -1e-3})
        for (int precision : {1, 3})
        {
            std::unique_ptr<Array2dReal64> k(MakeGaussIIR1d(sigma, 0, precision));
            ASSERT_NE(k, nullptr) << sigma;
            EXPECT_EQ(k->mWidth, 2 * precision + 1) << sigma;
        }
}
