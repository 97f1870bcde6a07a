#include "core/array/GaussDerivative.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakePlane;
using TestSupport::MakeRandomPlane;
using TestSupport::Reflect;

namespace
{

// Sampled Gaussian over -h .. h normalised to sum 1, then the closed form of its
// derivative of the given order, signed for correlation (the negated derivative for
// odd orders).
std::vector<double> ReferenceKernel(double sigma, int order, long long h)
{
    std::vector<double> k(2 * h + 1);
    double sum = 0.0;
    for (long long x = -h; x <= h; ++x)
        sum += k[x + h] = std::exp(-0.5 * x * x / (sigma * sigma));
    const double s2 = sigma * sigma;
    for (long long x = -h; x <= h; ++x)
        k[x + h] *= (order == 0 ? 1.0 : order == 1 ? x / s2 : x * x / (s2 * s2) - 1.0 / s2) / sum;
    return k;
}

} // namespace

TEST(GaussDerivative, KernelIsCutToTheImage)
{
    const long long widths[][2] = {{5, 5}, {4, 3}, {1, 1}, {200, 61}, {60, 59}};
    for (const auto& w : widths)
    {
        std::unique_ptr<Array2dReal64> k(MakeGaussDerivativeKernel(10.0, 0, 3.0, w[0]));
        EXPECT_EQ(k->Width(), w[1]) << "image width " << w[0];
        double sum = 0.0;
        for (long long i = 0; i < k->Width(); ++i)
            sum += k->PixelPtr(0, 0)[i];
        EXPECT_NEAR(sum, 1.0, 1e-15); // normalised over what remains
    }
    // A single column: the first derivative along x is 0 everywhere.
    std::unique_ptr<Array2dReal64> column(MakePlane(1, 9, 0, [](long long, long long y) { return 3.0 * y; }));
    Array2dReal64* dx = nullptr;
    GaussDerivative(dx, column.get(), 10.0, 1, 0, 3.0);
    std::unique_ptr<Array2dReal64> owner(dx);
    for (long long y = 0; y < 9; ++y)
        EXPECT_EQ(*dx->PixelPtr(0, y), 0.0);
}

TEST(GaussDerivative, MatchesDirectMirroredCorrelation)
{
    struct Case
    {
        long long width, height;
        double sigma;
    };
    // Kernels of 2 round(3 sigma) + 1 taps, cut to the image: 11 x 11, 5 x 3, 15 x 9.
    const Case cases[] = {{23, 17, 1.7}, {5, 4, 3.0}, {40, 9, 2.2}};
    const long long halves[][2] = {{5, 5}, {2, 1}, {7, 4}};
    const int orders[][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {0, 2}, {2, 1}};
    for (int n = 0; n < 3; ++n)
    {
        const Case& c = cases[n];
        std::unique_ptr<Array2dReal64> src(MakeRandomPlane(c.width, c.height, 0, 7, 0.0, 255.0));
        for (const auto& o : orders)
        {
            Array2dReal64* dst = nullptr;
            GaussDerivative(dst, src.get(), c.sigma, o[0], o[1], 3.0);
            std::unique_ptr<Array2dReal64> owner(dst);
            ASSERT_EQ(dst->Width(), c.width);
            ASSERT_EQ(dst->Height(), c.height);
            const std::vector<double> kx = ReferenceKernel(c.sigma, o[0], halves[n][0]);
            const std::vector<double> ky = ReferenceKernel(c.sigma, o[1], halves[n][1]);
            for (long long y = 0; y < c.height; ++y)
                for (long long x = 0; x < c.width; ++x)
                {
                    double direct = 0.0;
                    for (long long j = 0; j < static_cast<long long>(ky.size()); ++j)
                        for (long long i = 0; i < static_cast<long long>(kx.size()); ++i)
                            direct += kx[i] * ky[j] *
                                      *src->PixelPtr(Reflect(x + i - halves[n][0], c.width),
                                                     Reflect(y + j - halves[n][1], c.height));
                    ASSERT_NEAR(*dst->PixelPtr(x, y), direct, 1e-9)
                        << c.width << "x" << c.height << " order " << o[0] << o[1] << " at " << x << "," << y;
                }
        }
    }
}

TEST(GaussDerivative, MirrorsIntoAWideEnoughSourceBorderInPlace)
{
    std::unique_ptr<Array2dReal64> bare(MakeRandomPlane(16, 11, 0, 3, -1.0, 1.0));
    std::unique_ptr<Array2dReal64> framed(MakePlane(16, 11, 8, [&](long long x, long long y) {
        return *bare->PixelPtr(x, y);
    }));
    Array2dReal64* a = nullptr;
    Array2dReal64* b = nullptr;
    GaussDerivative(a, bare.get(), 1.5, 1, 0, 3.0);
    GaussDerivative(b, framed.get(), 1.5, 1, 0, 3.0);
    std::unique_ptr<Array2dReal64> ownA(a), ownB(b);
    EXPECT_TRUE(TestSupport::SameImage(a, b));
    EXPECT_TRUE(TestSupport::SameImage(framed.get(), bare.get()));
    // The horizontal kernel reaches 5 pixels: those border columns now hold the mirror.
    for (long long i = 0; i < 5; ++i)
    {
        EXPECT_EQ(*framed->PixelPtr(-1 - i, 4), *bare->PixelPtr(i, 4));
        EXPECT_EQ(*framed->PixelPtr(16 + i, 4), *bare->PixelPtr(15 - i, 4));
    }
}
