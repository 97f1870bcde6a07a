#include "core/array/Laplacian.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;

namespace
{

template <class ArrayT>
std::unique_ptr<Array2dReal64> LaplacianOf(ArrayT* src, double sigma, int scalePower, bool recursive, double precision)
{
    Array2dReal64* dst = nullptr;
    testing::internal::CaptureStdout();
    Laplacian(dst, src, sigma, scalePower, recursive, precision);
    testing::internal::GetCapturedStdout();
    return std::unique_ptr<Array2dReal64>(dst);
}

} // namespace

TEST(Laplacian, QuadraticGivesScaledConstantAndColourSumsChannelsOnBothPaths)
{
    // x^2 + 2 y^2 has Laplacian 6 everywhere, and smoothing keeps a quadratic quadratic.
    // The recursive path's second differences are exact on it; the finite path runs at
    // precision 5, since cut at 3 sigma its kernel leaks 0.3% of the image value.
    std::unique_ptr<Array2dReal64> q(TestSupport::MakePlane(
        120, 110, 0, [](long long x, long long y) { return 1.0 * (x - 60) * (x - 60) + 2.0 * (y - 55) * (y - 55); }));
    auto f = [](long long x, long long y) { return 0.05 * (x - 10) * (x - 10) * (y % 7) + 3.0 * y; };
    std::unique_ptr<Array2dReal64> grey(TestSupport::MakePlane(24, 18, 0, f));
    std::unique_ptr<Array2dVec3Real64> colour(
        TestSupport::MakeColourImage(24, 18, [&](long long x, long long y, int c) { return (c + 1) * f(x, y); }));
    for (bool recursive : {false, true})
    {
        SCOPED_TRACE(recursive ? "recursive" : "finite");
        const double precision = recursive ? 3.0 : 5.0;
        std::unique_ptr<Array2dReal64> plain = LaplacianOf(q.get(), 2.0, 0, recursive, precision);
        std::unique_ptr<Array2dReal64> scaled = LaplacianOf(q.get(), 2.0, 2, recursive, precision);
        for (long long y = 45; y < 65; ++y)
            for (long long x = 50; x < 70; ++x)
            {
                ASSERT_NEAR(*plain->PixelPtr(x, y), 6.0, recursive ? 1e-6 : 0.01);
                ASSERT_EQ(*scaled->PixelPtr(x, y), *plain->PixelPtr(x, y) * 4.0); // sigma^2
            }
        // Channels 1, 2 and 3 times the grey image: six times its Laplacian.
        std::unique_ptr<Array2dReal64> a = LaplacianOf(grey.get(), 1.5, 2, recursive, 3.0);
        std::unique_ptr<Array2dReal64> b = LaplacianOf(colour.get(), 1.5, 2, recursive, 3.0);
        for (long long y = 0; y < 18; ++y)
            for (long long x = 0; x < 24; ++x)
                ASSERT_NEAR(*b->PixelPtr(x, y), 6.0 * *a->PixelPtr(x, y), 1e-9 * (1 + std::fabs(*a->PixelPtr(x, y))));
    }
}
