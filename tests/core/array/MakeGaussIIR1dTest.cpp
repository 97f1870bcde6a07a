#include "core/array/MakeGaussIIR1d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

using namespace Tavlin::Core::Array;

namespace
{

// Impulse response of the forward-backward filter on a long line, as RecGauss applies
// it: y[x] = k[N] in[x] + sum_j k[N - j] y[x - j], then backwards with k[N + j].
std::vector<double> ImpulseResponse(const Array2dReal64* kernel, int length)
{
    const int n = static_cast<int>(kernel->Width() / 2);
    const double* k = kernel->PixelPtr(0, 0);
    std::vector<double> v(length, 0.0);
    v[length / 2] = 1.0;
    for (int x = 0; x < length; ++x)
    {
        double s = k[n] * v[x];
        for (int j = 1; j <= n && x - j >= 0; ++j)
            s += k[n - j] * v[x - j];
        v[x] = s;
    }
    for (int x = length - 1; x >= 0; --x)
    {
        double s = k[n] * v[x];
        for (int j = 1; j <= n && x + j < length; ++j)
            s += k[n + j] * v[x + j];
        v[x] = s;
    }
    return v;
}

} // namespace

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
}

TEST(MakeGaussIIR1d, ImpulseResponseHasTheWantedDeviation)
{
    // The q search fits the filter's standard deviation to sigma; the response of the
    // two passes must show it and sum to 1.
    for (double sigma : {1.0, 2.0, 5.0})
        for (int precision : {3, 4, 5})
        {
            std::unique_ptr<Array2dReal64> k(MakeGaussIIR1d(sigma, 0, precision));
            const int length = 2001;
            const std::vector<double> r = ImpulseResponse(k.get(), length);
            double sum = 0.0;
            double second = 0.0;
            for (int x = 0; x < length; ++x)
            {
                sum += r[x];
                second += r[x] * (x - length / 2) * (x - length / 2);
            }
            EXPECT_NEAR(sum, 1.0, 1e-9);
            EXPECT_NEAR(std::sqrt(second / sum), sigma, 1e-5) << sigma << " " << precision;
        }
}

TEST(MakeGaussIIR1d, OrderAboveTwoWarnsAndUsesTwo)
{
    testing::internal::CaptureStdout();
    std::unique_ptr<Array2dReal64> k3(MakeGaussIIR1d(2.0, 3, 3));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "MakeGaussIIR1d : derivative order too large\n");
    std::unique_ptr<Array2dReal64> k2(MakeGaussIIR1d(2.0, 2, 3));
    std::unique_ptr<Array2dReal64> k0(MakeGaussIIR1d(2.0, 0, 3));
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(k3->PixelPtr(0, 0)[i], k2->PixelPtr(0, 0)[i]);
    EXPECT_NE(k2->PixelPtr(0, 0)[3], k0->PixelPtr(0, 0)[3]);
}

TEST(YvVfilterCoef, IsSymmetricWithUnitGain)
{
    for (double sigma : {1.0, 3.0, 3.556, 8.0})
    {
        double c[7];
        YvVfilterCoef(sigma, c);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(c[i], c[6 - i]);
        EXPECT_NEAR(c[3] + c[4] + c[5] + c[6], 1.0, 1e-6) << sigma;
    }
}
