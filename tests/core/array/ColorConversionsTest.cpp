#include "core/array/ColorConversions.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Element;
using TestSupport::Near3;

namespace
{

const Vec3Real64 kColours[] = {Vec3Real64(200, 30, 40),   Vec3Real64(20, 180, 60), Vec3Real64(10, 40, 220),
                               Vec3Real64(250, 250, 10), Vec3Real64(5, 6, 7),      Vec3Real64(128, 64, 200),
                               Vec3Real64(90, 200, 200), Vec3Real64(255, 0, 0)};

Vec3Real64 Complement(const Vec3Real64& c) { return Vec3Real64(255 - c[0], 255 - c[1], 255 - c[2]); }

} // namespace

TEST(ColorConversions, StatedValuesAndRoundTrips)
{
    // White; the Y row sums to 0.392156, a rounding of 100 / 255.
    EXPECT_TRUE(Near3(ColRGB2XYZ(Vec3Real64(255, 255, 255)), Vec3Real64(95.045385, 100.0, 108.87531), 3e-4));
    EXPECT_TRUE(Near3(ColXYZ2Lab(Vec3Real64(95.0, 100.0, 108.9)), Vec3Real64(100, 0, 0), 1e-9));
    EXPECT_TRUE(Near3(ColXYZ2Luv(Vec3Real64(95.0, 100.0, 108.9)), Vec3Real64(100, 0, 0), 1e-6));
    // Below the threshold the lightness is linear; a grey of the Lab white has no chroma.
    EXPECT_NEAR(ColXYZ2Lab(Vec3Real64(0.5, 0.5, 0.5))[0], 903.3 * 0.005, 1e-12);
    EXPECT_NEAR(ColXYZ2Luv(Vec3Real64(0.5, 0.5, 0.5))[0], 903.3 * 0.005, 1e-12);
    const Vec3Real64 grey = ColXYZ2Lab(Vec3Real64(95.0 * 0.3, 30.0, 108.9 * 0.3));
    EXPECT_NEAR(std::hypot(grey[1], grey[2]), 0.0, 1e-12);
    // HSI: grey and black, hue by the larger of B and G, pure green and blue at a third
    // and two thirds of the circle.
    EXPECT_TRUE(Near3(ColRGB2HSI(Vec3Real64(10, 10, 10)), Vec3Real64(0.0, 0.0, 10.0), 0.0));
    EXPECT_TRUE(Near3(ColRGB2HSI(Vec3Real64(0, 0, 0)), Vec3Real64(0.0, 1.0, 0.0), 0.0));
    EXPECT_GT(ColRGB2HSI(Vec3Real64(10, 20, 200))[0], M_PI);
    EXPECT_LT(ColRGB2HSI(Vec3Real64(10, 200, 20))[0], M_PI);
    EXPECT_NEAR(ColRGB2HSI(Vec3Real64(0, 90, 0))[0], 2 * M_PI / 3, 1e-12);
    EXPECT_NEAR(ColRGB2HSI(Vec3Real64(0, 0, 90))[0], 4 * M_PI / 3, 1e-9);
    const Vec3Real64 hsi = ColRGB2HSI(Vec3Real64(200, 100, 60));
    EXPECT_NEAR(hsi[1], 1 - 60 / 120.0, 1e-12);
    EXPECT_NEAR(hsi[2], 120.0, 1e-12);
    EXPECT_TRUE(Near3(ColHSI2RGB(Vec3Real64(0.0, 0.7, 42.0)), Vec3Real64(42, 42, 42), 0.0));

    for (const Vec3Real64& c : kColours)
    {
        // The XYZ matrices are inverses only to about 0.2%.
        EXPECT_TRUE(Near3(ColXYZ2RGB(ColRGB2XYZ(c)), c, 0.005 * 255));
        EXPECT_TRUE(Near3(ColCMY2XYZ(c), ColRGB2XYZ(Complement(c)), 3e-4));
        EXPECT_TRUE(Near3(ColXYZ2CMY(c), Complement(ColXYZ2RGB(c)), 1e-9));
        const Vec3Real64 xyz = ColRGB2XYZ(c);
        const bool bright = xyz[1] / 100 > 0.008856 && xyz[0] / 95 > 0.008856 && xyz[2] / 108.9 > 0.008856;
        EXPECT_TRUE(!bright || Near3(ColLab2XYZ(ColXYZ2Lab(xyz)), xyz, 1e-9));
        EXPECT_TRUE(Near3(ColLuv2XYZ(ColXYZ2Luv(xyz)), xyz, 1e-9));
        EXPECT_TRUE(Near3(ColHSI2RGB(ColRGB2HSI(c)), c, 1e-6));
    }
    // The dark branch: 903.3 / 116 is 7.787 only to five digits.
    EXPECT_TRUE(Near3(ColLab2XYZ(ColXYZ2Lab(Vec3Real64(0.2, 0.25, 0.3))), Vec3Real64(0.2, 0.25, 0.3), 1e-5));
}
