#include "core/array/LaplacianAtPoints.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "core/array/Laplacian.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;

namespace
{

// Every pixel, borders and corners included, equals the whole-image filter exactly.
template <class ArrayT>
void ExpectSameBits(ArrayT* image, double sigma, int scalePower, double precision)
{
    Array2dReal64* whole = nullptr;
    Laplacian(whole, image, sigma, scalePower, false, precision);
    std::unique_ptr<Array2dReal64> owner(whole);
    LaplacianAtPoints<ArrayT> at(image, sigma, scalePower, precision);
    for (long long y = 0; y < image->mHeight; ++y)
        for (long long x = 0; x < image->mWidth; ++x)
            ASSERT_EQ(std::fabs(*whole->PixelPtr(x, y)), at.At(x, y))
                << "sigma " << sigma << " at " << x << "," << y;
}

} // namespace

TEST(LaplacianAtPoints, EqualsWholeImageFilterBitForBit)
{
    std::unique_ptr<Array2dReal64> plane(TestSupport::MakeRandomPlane(37, 24, 0, 7u, 0.0, 1.0));
    ExpectSameBits(plane.get(), 0.75, 2, 5.0);
    ExpectSameBits(plane.get(), 2.1, 2, 5.0);
    // Kernels cut to the image on both axes.
    ExpectSameBits(plane.get(), 9.0, 2, 5.0);
    ExpectSameBits(plane.get(), 3.0, 1, 3.0);

    std::unique_ptr<Array2dReal64> thin(TestSupport::MakeRandomPlane(1, 12, 2, 9u, 0.0, 1.0));
    ExpectSameBits(thin.get(), 1.5, 2, 5.0);

    std::unique_ptr<Array2dVec3Real64> colour(TestSupport::MakeColourImage(
        19, 16, [](long long x, long long y, int c) { return std::sin(0.7 * x + c) * std::cos(0.3 * y - c) * 80.0; }));
    ExpectSameBits(colour.get(), 1.26, 2, 5.0);
    ExpectSameBits(colour.get(), 6.0, 2, 5.0);
}
