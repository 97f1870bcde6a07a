#include "core/array/Color.h"

#include <gtest/gtest.h>

#include "core/array/ColorConversions.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Element;

namespace
{

void ExpectNear(const Color& a, const Vec3Real64& b, double tolerance, const char* what)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], tolerance) << what << " component " << i;
}

} // namespace

TEST(Color, ConvertFollowsTheTable)
{
    const Color rgb(200, 100, 50, ColorModelRgb);
    const Color same = rgb.Convert(ColorModelRgb);
    EXPECT_EQ(same.Model(), ColorModelRgb);
    ExpectNear(same, rgb.Value(), 0.0, "copy");

    // RGB and CMY are complements on the unit scale: 8-bit values go far negative.
    const Color cmy = rgb.Convert(ColorModelCmy);
    EXPECT_EQ(cmy.Model(), ColorModelCmy);
    ExpectNear(cmy, Vec3Real64(-199, -99, -49), 0.0, "RGB to CMY");
    ExpectNear(cmy.Convert(ColorModelRgb), rgb.Value(), 0.0, "CMY to RGB");
    // ... but to XYZ, CMY counts on the 255 scale.
    ExpectNear(Color(0, 0, 0, ColorModelCmy).Convert(ColorModelXyz), Vec3Real64(95.045385, 100.0, 108.87531), 1e-9,
               "CMY 0 is white");

    ExpectNear(rgb.Convert(ColorModelLab), ColXYZ2Lab(ColRGB2XYZ(rgb.Value())), 0.0, "RGB to Lab");
    ExpectNear(rgb.Convert(ColorModelHsi), ColRGB2HSI(rgb.Value()), 0.0, "RGB to HSI");
    ExpectNear(rgb.Convert(ColorModelOoo),
               Vec3Real64(0.000233846 * 200 + 0.00261968 * 100 + 0.00127135 * 50,
                          0.000726333 * 200 + 0.000718106 * 100 - 0.00121377 * 50,
                          0.000846833 * 200 - 0.00173932 * 100 + 0.000221515 * 50),
               1e-15, "RGB to opponent");

    // The matrices invert each other only to about 0.2%, so round trips through other
    // models come back to within a unit of the 255 scale.
    const Color ooo = rgb.Convert(ColorModelOoo);
    ExpectNear(ooo.Convert(ColorModelRgb), rgb.Value(), 1.0, "opponent to RGB");
    ExpectNear(ooo.Convert(ColorModelXyz), ColRGB2XYZ(rgb.Value()), 1.0, "opponent to XYZ");
    const Color xyz = rgb.Convert(ColorModelXyz);
    ExpectNear(xyz.Convert(ColorModelOoo), ooo.Value(), 1e-4, "XYZ to opponent");
    for (ColorModel via : {ColorModelXyz, ColorModelLab, ColorModelLuv, ColorModelHsi})
        ExpectNear(rgb.Convert(via).Convert(ColorModelRgb), rgb.Value(), 1.0, "round trip");
    const Color hsi = rgb.Convert(ColorModelHsi);
    ExpectNear(hsi.Convert(ColorModelLab), rgb.Convert(ColorModelLab).Value(), 1e-6, "HSI to Lab");
    ExpectNear(hsi.Convert(ColorModelCmy), cmy.Value(), 1e-6, "HSI to CMY");
    ExpectNear(Color(0, 0, 0, ColorModelCmy).Convert(ColorModelHsi), ColRGB2HSI(Vec3Real64(1, 1, 1)), 0.0,
               "CMY to HSI through the complement");
}

TEST(Color, KeepsTheOpponentOddityAndRejectsInvalidModels)
{
    // From Lab or Luv the XYZ matrix is applied to the components as they stand.
    const Vec3Real64 v(50, 20, -30);
    const Vec3Real64 direct = Color(v, ColorModelXyz).Convert(ColorModelOoo).Value();
    ExpectNear(Color(v, ColorModelLab).Convert(ColorModelOoo), direct, 0.0, "Lab to opponent");
    ExpectNear(Color(v, ColorModelLuv).Convert(ColorModelOoo), direct, 0.0, "Luv to opponent");

    const Color bad(1, 2, 3, static_cast<ColorModel>(9));
    const Color fromBad = bad.Convert(ColorModelXyz);
    EXPECT_EQ(fromBad.Model(), ColorModelRgb);
    ExpectNear(fromBad, Vec3Real64(0, 0, 0), 0.0, "invalid source");
    const Color toBad = Color(1, 2, 3, ColorModelRgb).Convert(static_cast<ColorModel>(7));
    EXPECT_EQ(toBad.Model(), ColorModelRgb);
    ExpectNear(toBad, Vec3Real64(0, 0, 0), 0.0, "invalid target");
}
