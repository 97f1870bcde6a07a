#include "core/array/Laplacian.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakeColourImage;
using TestSupport::MakePlane;

TEST(Laplacian, OfAQuadraticIsScaledConstantInBothPaths)
{
    // x^2 + 2 y^2 has Laplacian 6 everywhere; smoothing keeps a quadratic quadratic.
    // The recursive path differentiates by second differences, exact on a quadratic.
    // The finite path runs at precision 5: cut at 3 sigma its second-derivative kernel
    // would leak about 0.3% of the image value into the result.
    std::unique_ptr<Array2dReal64> q(
        MakePlane(120, 110, 0, [](long long x, long long y) { return 1.0 * (x - 60) * (x - 60) + 2.0 * (y - 55) * (y - 55); }));
    const double sigma = 2.0;
    for (bool recursive : {false, true})
    {
        Array2dReal64* plain = nullptr;
        Array2dReal64* normalised = nullptr;
        testing::internal::CaptureStdout();
        const double precision = recursive ? 3.0 : 5.0;
        Laplacian(plain, q.get(), sigma, 0, recursive, precision);
        Laplacian(normalised, q.get(), sigma, 2, recursive, precision);
        testing::internal::GetCapturedStdout();
        std::unique_ptr<Array2dReal64> a(plain);
        std::unique_ptr<Array2dReal64> b(normalised);
        const double tolerance = recursive ? 1e-6 : 0.01;
        for (long long y = 45; y < 65; ++y)
            for (long long x = 50; x < 70; ++x)
            {
                ASSERT_NEAR(*a->PixelPtr(x, y), 6.0, tolerance) << recursive;
                ASSERT_EQ(*b->PixelPtr(x, y), *a->PixelPtr(x, y) * 4.0);
            }
    }
}

TEST(Laplacian, ColourFormSumsTheChannels)
{
    auto f = [](long long x, long long y) { return 0.05 * (x - 10) * (x - 10) * (y % 7) + 3.0 * y; };
    std::unique_ptr<Array2dVec3Real64> img(
        MakeColourImage(24, 18, [&](long long x, long long y, int c) { return (c + 1) * f(x, y); }));
    for (bool recursive : {false, true})
    {
        std::unique_ptr<Array2dReal64> grey(MakePlane(24, 18, 0, f));
        Array2dReal64* single = nullptr;
        Array2dReal64* colour = nullptr;
        testing::internal::CaptureStdout();
        Laplacian(single, grey.get(), 1.5, 2, recursive, 3.0);
        Laplacian(colour, img.get(), 1.5, 2, recursive, 3.0);
        testing::internal::GetCapturedStdout();
        std::unique_ptr<Array2dReal64> a(single);
        std::unique_ptr<Array2dReal64> b(colour);
        for (long long y = 0; y < 18; ++y)
            for (long long x = 0; x < 24; ++x)
                ASSERT_NEAR(*b->PixelPtr(x, y), 6.0 * *a->PixelPtr(x, y), 1e-9 * (1 + std::fabs(*a->PixelPtr(x, y))));
    }
}
