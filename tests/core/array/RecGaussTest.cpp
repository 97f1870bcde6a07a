#include "core/array/RecGauss.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "core/array/GaussDerivative.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using TestSupport::MakePlane;
using TestSupport::MaxAbsDiff;

namespace
{

// The recursive path (its "doing it" line swallowed) or the finite path.
std::unique_ptr<Array2dReal64> Filter(bool recursive, Array2dReal64* src, double sigma, int ox, int oy,
                                      double precision = 3.0)
{
    Array2dReal64* dst = nullptr;
    if (recursive)
    {
        testing::internal::CaptureStdout();
        RecGauss(dst, src, sigma, sigma, ox, oy, 3);
        testing::internal::GetCapturedStdout();
    }
    else
        GaussDerivative(dst, src, sigma, ox, oy, precision);
    return std::unique_ptr<Array2dReal64>(dst);
}

} // namespace

TEST(RecGauss, ConstantAndRampBehaveAlikeOnBothPaths)
{
    std::unique_ptr<Array2dReal64> flat(MakePlane(37, 22, 0, [](long long, long long) { return 77.0; }));
    std::unique_ptr<Array2dReal64> rampX(MakePlane(50, 14, 0, [](long long x, long long) { return 2.0 * x; }));
    std::unique_ptr<Array2dReal64> rampY(MakePlane(9, 40, 0, [](long long, long long y) { return 2.0 * y; }));
    const int orders[][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 0}, {0, 2}};
    for (bool recursive : {true, false})
    {
        SCOPED_TRACE(recursive ? "recursive" : "finite");
        for (double sigma : {1.0, 2.5})
            for (const auto& o : orders)
            {
                // The finite second-derivative kernel is cut at 3 sigma and not
                // renormalised: its response to a constant is only near 0 (0.1 to 0.4%).
                const bool second = o[0] == 2 || o[1] == 2;
                const double expected = (o[0] == 0 && o[1] == 0) ? 77.0 : 0.0;
                const double tolerance = recursive ? 1e-10 : (second ? 0.005 * 77.0 : 1e-11);
                std::unique_ptr<Array2dReal64> r = Filter(recursive, flat.get(), sigma, o[0], o[1]);
                for (long long y = 0; y < 22; ++y)
                    for (long long x = 0; x < 37; ++x)
                        ASSERT_NEAR(*r->PixelPtr(x, y), expected, tolerance) << sigma << " " << o[0] << o[1];
            }
        // Rising ramps: positive first derivative everywhere, the slope inside (the finite
        // kernel cut at 3 sigma loses about 1.2%).
        std::unique_ptr<Array2dReal64> dx = Filter(recursive, rampX.get(), 2.0, 1, 0);
        std::unique_ptr<Array2dReal64> dy = Filter(recursive, rampY.get(), 2.0, 0, 1);
        for (long long y = 0; y < 14; ++y)
            for (long long x = 0; x < 50; ++x)
                ASSERT_GT(*dx->PixelPtr(x, y), 0.0) << x;
        for (long long y = 0; y < 40; ++y)
            ASSERT_GT(*dy->PixelPtr(4, y), 0.0) << y;
        EXPECT_NEAR(*dx->PixelPtr(25, 7), 2.0, recursive ? 1e-4 : 0.03);
        EXPECT_NEAR(*dy->PixelPtr(4, 20), 2.0, recursive ? 1e-4 : 0.03);
    }
}

TEST(RecGauss, TreatsEveryRowAlikeAndKeepsABorderOf2N)
{
    // Rows of one profile stay alike whatever the height: rows are filtered in blocks
    // with a remainder, and a constant column keeps its value.
    std::unique_ptr<Array2dReal64> noise(TestSupport::MakeRandomPlane(11, 1, 0, 5, 0.0, 255.0));
    for (long long height : {1, 6, 7, 9})
    {
        std::unique_ptr<Array2dReal64> src(
            MakePlane(11, height, 0, [&](long long x, long long) { return *noise->PixelPtr(x, 0); }));
        std::unique_ptr<Array2dReal64> r = Filter(true, src.get(), 2.5, 1, 0);
        for (long long y = 1; y < height; ++y)
            for (long long x = 0; x < 11; ++x)
                ASSERT_NEAR(*r->PixelPtr(x, y), *r->PixelPtr(x, 0), 1e-9) << "height " << height << " row " << y;
    }

    // The result keeps a border of 2N; only both first orders print their line.
    std::unique_ptr<Array2dReal64> src(MakePlane(12, 9, 0, [](long long x, long long y) { return x * y; }));
    for (int oy : {0, 1})
    {
        Array2dReal64* d = nullptr;
        testing::internal::CaptureStdout();
        RecGauss(d, src.get(), 2.0, 2.0, 1, oy, 3);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), oy ? "doing it\n" : "");
        std::unique_ptr<Array2dReal64> owner(d);
        EXPECT_EQ(d->BorderWidth(), 6);
        EXPECT_EQ(d->BorderHeight(), 6);
    }
}

TEST(RecGauss, AgreesWithFinitePathOnSmoothImage)
{
    // On a smooth wave (sigma w <= 0.4) both filters are near the ideal: smoothing
    // differs only in higher moments (seen <= 0.03%, allowed 0.1% of the amplitude);
    // derivatives lose 1 to 1.5% to the 3-sigma cut, about 1% to the third-order
    // recursion (seen <= 1.4%, allowed 2.5%). A wrong sign, swapped axes or a one-pixel
    // shift would be off by 25% or more. Second derivatives use finite precision 5 (cut
    // at 3 sigma that kernel leaks 0.3% of the image). Borders differ by design.
    const double wx = 2 * M_PI / 64.0;
    const double wy = 2 * M_PI / 48.0;
    std::unique_ptr<Array2dReal64> src(MakePlane(256, 190, 0, [&](long long x, long long y) {
        return 128.0 + 50.0 * std::sin(wx * x + 0.3) + 50.0 * std::cos(wy * y - 0.2);
    }));
    struct Case
    {
        int ox, oy;
        double amplitude, tolerance, precision;
    };
    const Case cases[] = {{0, 0, 100.0, 0.001, 3.0},
                          {1, 0, 50.0 * wx, 0.025, 3.0},
                          {0, 1, 50.0 * wy, 0.025, 3.0},
                          {2, 0, 50.0 * wx * wx, 0.025, 5.0},
                          {0, 2, 50.0 * wy * wy, 0.025, 5.0}};
    for (double sigma : {1.0, 2.0, 3.0})
        for (const Case& c : cases)
        {
            std::unique_ptr<Array2dReal64> rec = Filter(true, src.get(), sigma, c.ox, c.oy);
            std::unique_ptr<Array2dReal64> fin = Filter(false, src.get(), sigma, c.ox, c.oy, c.precision);
            const long long margin = static_cast<long long>(6 * sigma) + 10;
            EXPECT_LT(MaxAbsDiff(rec.get(), fin.get(), margin), c.tolerance * c.amplitude)
                << "sigma " << sigma << " orders " << c.ox << c.oy;
        }
}
