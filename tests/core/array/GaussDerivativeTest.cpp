#include "core/array/GaussDerivative.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakePlane;
using TestSupport::MakeRandomPlane;

namespace
{

// Sampled Gaussian over -h .. h normalised to sum 1, then the closed form of its
// derivative of the given order, signed for correlation (so that it is the negated
// derivative for odd orders).
std::vector<double> ReferenceKernel(double sigma, int order, long long h)
{
    std::vector<double> k(2 * h + 1);
    double sum = 0.0;
    for (long long x = -h; x <= h; ++x)
        sum += k[x + h] = std::exp(-0.5 * x * x / (sigma * sigma));
    const double s2 = sigma * sigma;
    for (long long x = -h; x <= h; ++x)
    {
        const double g = k[x + h] / sum;
        if (order == 0)
            k[x + h] = g;
        else if (order == 1)
            k[x + h] = x / s2 * g;
        else
            k[x + h] = (x * x / (s2 * s2) - 1.0 / s2) * g;
    }
    return k;
}

long long Reflect(long long i, long long n) { return i < 0 ? -1 - i : (i >= n ? 2 * n - 1 - i : i); }

long long HalfWidth(double sigma, double precision, long long extent)
{
    long long size = 2 * static_cast<int>(sigma * precision + 0.5) + 1;
    const long long limit = extent % 2 ? extent : extent - 1;
    return std::min(size, limit) / 2;
}

// Direct 2-D correlation of the mirrored image with the outer product of two kernels.
double DirectAt(Array2dReal64* src, const std::vector<double>& kx, const std::vector<double>& ky, long long x,
                long long y)
{
    const long long hx = kx.size() / 2;
    const long long hy = ky.size() / 2;
    double sum = 0.0;
    for (long long j = -hy; j <= hy; ++j)
        for (long long i = -hx; i <= hx; ++i)
            sum += kx[i + hx] * ky[j + hy] *
                   *src->PixelPtr(Reflect(x + i, src->Width()), Reflect(y + j, src->Height()));
    return sum;
}

} // namespace

TEST(GaussDerivative, KernelIsCutToTheImage)
{
    const long long widths[][2] = {{5, 5}, {4, 3}, {1, 1}, {200, 61}, {61, 61}, {60, 59}};
    for (const auto& w : widths)
    {
        std::unique_ptr<Array2dReal64> k(MakeGaussDerivativeKernel(10.0, 0, 3.0, w[0]));
        EXPECT_EQ(k->Width(), w[1]) << "image width " << w[0];
        EXPECT_EQ(k->Height(), 1);
        double sum = 0.0;
        for (long long i = 0; i < k->Width(); ++i)
            sum += k->PixelPtr(0, 0)[i];
        EXPECT_NEAR(sum, 1.0, 1e-15); // the cut kernel is normalised over what remains
    }
    std::unique_ptr<Array2dReal64> k1(MakeGaussDerivativeKernel(10.0, 1, 3.0, 1));
    EXPECT_EQ(k1->PixelPtr(0, 0)[0], 0.0);
    std::unique_ptr<Array2dReal64> k(MakeGaussDerivativeKernel(1.2, 0, 3.0, 100));
    EXPECT_EQ(k->Width(), 2 * 4 + 1);

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
    const Case cases[] = {{23, 17, 1.7}, {5, 4, 3.0}, {40, 9, 2.2}};
    const int orders[][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {0, 2}, {2, 1}};
    for (const Case& c : cases)
    {
        std::unique_ptr<Array2dReal64> src(MakeRandomPlane(c.width, c.height, 0, 7, 0.0, 255.0));
        for (const auto& o : orders)
        {
            Array2dReal64* dst = nullptr;
            GaussDerivative(dst, src.get(), c.sigma, o[0], o[1], 3.0);
            std::unique_ptr<Array2dReal64> owner(dst);
            ASSERT_EQ(dst->Width(), c.width);
            ASSERT_EQ(dst->Height(), c.height);
            const std::vector<double> kx = ReferenceKernel(c.sigma, o[0], HalfWidth(c.sigma, 3.0, c.width));
            const std::vector<double> ky = ReferenceKernel(c.sigma, o[1], HalfWidth(c.sigma, 3.0, c.height));
            for (long long y = 0; y < c.height; ++y)
                for (long long x = 0; x < c.width; ++x)
                    ASSERT_NEAR(*dst->PixelPtr(x, y), DirectAt(src.get(), kx, ky, x, y), 1e-9)
                        << c.width << "x" << c.height << " order " << o[0] << o[1] << " at " << x << "," << y;
        }
    }
}

TEST(GaussDerivative, ConstantAndRampResponses)
{
    std::unique_ptr<Array2dReal64> flat(MakePlane(31, 20, 0, [](long long, long long) { return 77.0; }));
    const int orders[][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {0, 2}};
    for (const auto& o : orders)
    {
        Array2dReal64* dst = nullptr;
        GaussDerivative(dst, flat.get(), 2.5, o[0], o[1], 3.0);
        std::unique_ptr<Array2dReal64> owner(dst);
        // Odd kernels are antisymmetric and cancel exactly on the mirrored constant. A
        // second-derivative kernel is cut at 3 sigma and not renormalised, so its sum,
        // and with it the response to a constant, is only near 0 (about 0.1%).
        const bool second = o[0] == 2 || o[1] == 2;
        const double expected = (o[0] == 0 && o[1] == 0) ? 77.0 : 0.0;
        const double tolerance = second ? 0.003 * 77.0 : 1e-11;
        for (long long y = 0; y < 20; ++y)
            for (long long x = 0; x < 31; ++x)
                ASSERT_NEAR(*dst->PixelPtr(x, y), expected, tolerance) << o[0] << o[1];
    }

    std::unique_ptr<Array2dReal64> ramp(MakePlane(40, 12, 0, [](long long x, long long) { return 2.0 * x; }));
    Array2dReal64* dx = nullptr;
    GaussDerivative(dx, ramp.get(), 2.0, 1, 0, 3.0);
    std::unique_ptr<Array2dReal64> owner(dx);
    for (long long y = 0; y < 12; ++y)
        for (long long x = 0; x < 40; ++x)
            EXPECT_GT(*dx->PixelPtr(x, y), 0.0) << x;
    EXPECT_NEAR(*dx->PixelPtr(20, 6), 2.0, 0.03); // the kernel cut at 3 sigma loses about 1.2%
}

TEST(GaussDerivative, UsesAWideEnoughSourceBorderInPlace)
{
    std::unique_ptr<Array2dReal64> bare(MakeRandomPlane(16, 11, 0, 3, -1.0, 1.0));
    std::unique_ptr<Array2dReal64> framed(MakePlane(16, 11, 8, [&](long long x, long long y) {
        return *bare->PixelPtr(x, y);
    }));
    Array2dReal64* a = nullptr;
    Array2dReal64* b = nullptr;
    GaussDerivative(a, bare.get(), 1.5, 1, 0, 3.0);
    GaussDerivative(b, framed.get(), 1.5, 1, 0, 3.0);
    std::unique_ptr<Array2dReal64> ownA(a);
    std::unique_ptr<Array2dReal64> ownB(b);
    EXPECT_EQ(b->BorderWidth(), 8);
    for (long long y = 0; y < 11; ++y)
        for (long long x = 0; x < 16; ++x)
        {
            EXPECT_EQ(*a->PixelPtr(x, y), *b->PixelPtr(x, y));
            EXPECT_EQ(*framed->PixelPtr(x, y), *bare->PixelPtr(x, y));
        }
    // The horizontal kernel reaches 5 pixels: those border columns now hold the mirror.
    for (long long i = 0; i < 5; ++i)
    {
        EXPECT_EQ(*framed->PixelPtr(-1 - i, 4), *bare->PixelPtr(i, 4));
        EXPECT_EQ(*framed->PixelPtr(16 + i, 4), *bare->PixelPtr(15 - i, 4));
    }
}
