#include "core/array/ColorConversions.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Element;

namespace
{

void ExpectNear(const Vec3Real64& a, const Vec3Real64& b, double tolerance, const char* what)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << what << " component " << i;
}

const Vec3Real64 kColours[] = {Vec3Real64(200, 30, 40),   Vec3Real64(20, 180, 60), Vec3Real64(10, 40, 220),
                               Vec3Real64(250, 250, 10), Vec3Real64(5, 6, 7),      Vec3Real64(128, 64, 200),
                               Vec3Real64(90, 200, 200)};

} // namespace

TEST(ColorConversions, XyzAndCmyMatrices)
{
    // The Y row sums to 0.392156, a rounding of 100 / 255.
    ExpectNear(ColRGB2XYZ(Vec3Real64(255, 255, 255)), Vec3Real64(95.045385, 100.0, 108.87531), 3e-4, "white");
    for (const Vec3Real64& c : kColours)
    {
        // The two matrices are inverses only to about 0.2%.
        ExpectNear(ColXYZ2RGB(ColRGB2XYZ(c)), c, 0.005 * 255, "RGB round trip");
        const Vec3Real64 complement(255 - c[0], 255 - c[1], 255 - c[2]);
        ExpectNear(ColCMY2XYZ(c), ColRGB2XYZ(complement), 3e-4, "CMY as complement");
        const Vec3Real64 rgb = ColXYZ2RGB(c);
        ExpectNear(ColXYZ2CMY(c), Vec3Real64(255 - rgb[0], 255 - rgb[1], 255 - rgb[2]), 1e-9, "XYZ to CMY");
    }
}

TEST(ColorConversions, LabAndLuv)
{
    ExpectNear(ColXYZ2Lab(Vec3Real64(95.0, 100.0, 108.9)), Vec3Real64(100, 0, 0), 1e-9, "Lab white");
    ExpectNear(ColXYZ2Luv(Vec3Real64(95.0, 100.0, 108.9)), Vec3Real64(100, 0, 0), 1e-6, "Luv white");
    // Below the threshold the lightness is linear.
    EXPECT_NEAR(ColXYZ2Lab(Vec3Real64(0.5, 0.5, 0.5))[0], 903.3 * 0.005, 1e-12);
    EXPECT_NEAR(ColXYZ2Luv(Vec3Real64(0.5, 0.5, 0.5))[0], 903.3 * 0.005, 1e-12);
    // A grey of the Lab white has no chroma.
    const Vec3Real64 grey = ColXYZ2Lab(Vec3Real64(95.0 * 0.3, 30.0, 108.9 * 0.3));
    EXPECT_NEAR(grey[1], 0.0, 1e-12);
    EXPECT_NEAR(grey[2], 0.0, 1e-12);
    for (const Vec3Real64& c : kColours)
    {
        const Vec3Real64 xyz = ColRGB2XYZ(c);
        if (xyz[1] / 100 > 0.008856 && xyz[0] / 95 > 0.008856 && xyz[2] / 108.9 > 0.008856)
            ExpectNear(ColLab2XYZ(ColXYZ2Lab(xyz)), xyz, 1e-9, "Lab round trip");
        ExpectNear(ColLuv2XYZ(ColXYZ2Luv(xyz)), xyz, 1e-9, "Luv round trip");
    }
    // The dark branch, where one test on fy decides all three components; 903.3 / 116
    // is 7.787 only to five digits.
    const Vec3Real64 dark(0.2, 0.25, 0.3);
    ExpectNear(ColLab2XYZ(ColXYZ2Lab(dark)), dark, 1e-5, "dark Lab round trip");
    EXPECT_NEAR(ColLab2XYZ(ColXYZ2Lab(dark))[1], 0.25, 1e-12);
    const Vec3Real64 zero = ColLuv2XYZ(Vec3Real64(0, 0, 0));
    EXPECT_FALSE(std::isfinite(zero[0]) && std::isfinite(zero[2]));
}

TEST(ColorConversions, Hsi)
{
    ExpectNear(ColRGB2HSI(Vec3Real64(10, 10, 10)), Vec3Real64(0.0, 0.0, 10.0), 0.0, "grey");
    ExpectNear(ColRGB2HSI(Vec3Real64(0, 0, 0)), Vec3Real64(0.0, 1.0, 0.0), 0.0, "black");
    EXPECT_GT(ColRGB2HSI(Vec3Real64(10, 20, 200))[0], M_PI);
    EXPECT_LT(ColRGB2HSI(Vec3Real64(10, 200, 20))[0], M_PI);
    // Pure green and blue sit a third and two thirds round the circle.
    EXPECT_NEAR(ColRGB2HSI(Vec3Real64(0, 90, 0))[0], 2 * M_PI / 3, 1e-12);
    EXPECT_NEAR(ColRGB2HSI(Vec3Real64(0, 0, 90))[0], 4 * M_PI / 3, 1e-9);
    const Vec3Real64 hsi = ColRGB2HSI(Vec3Real64(200, 100, 60));
    EXPECT_NEAR(hsi[1], 1 - 60 / 120.0, 1e-12);
    EXPECT_NEAR(hsi[2], 120.0, 1e-12);
    for (const Vec3Real64& c : kColours)
        ExpectNear(ColHSI2RGB(ColRGB2HSI(c)), c, 1e-6, "HSI round trip");
    ExpectNear(ColHSI2RGB(Vec3Real64(0.0, 0.7, 42.0)), Vec3Real64(42, 42, 42), 0.0, "hue 0");
    ExpectNear(ColHSI2RGB(ColRGB2HSI(Vec3Real64(255, 0, 0))), Vec3Real64(255, 0, 0), 1e-6, "red");
}
