#include "core/array/Color.h"

#include <gtest/gtest.h>

#include "core/array/ColorConversions.h"
#include "support/SyntheticImage.h"

using namespace Tavlin::Core::Array;
using namespace Tavlin::Core::Array::Element;
using TestSupport::Near3;

TEST(Color, ConvertFollowsTheTable)
{
    const Color rgb(200, 100, 50, ColorModelRgb);
    EXPECT_TRUE(Near3(rgb.Convert(ColorModelRgb), rgb.Value(), 0.0));

    // RGB and CMY are complements on the unit scale: 8-bit values go far negative.
    const Color cmy = rgb.Convert(ColorModelCmy);
    EXPECT_EQ(cmy.Model(), ColorModelCmy);
    EXPECT_TRUE(Near3(cmy, Vec3Real64(-199, -99, -49), 0.0));
    EXPECT_TRUE(Near3(cmy.Convert(ColorModelRgb), rgb.Value(), 0.0));
    // ... but to XYZ, CMY counts on the 255 scale.
    EXPECT_TRUE(
        Near3(Color(0, 0, 0, ColorModelCmy).Convert(ColorModelXyz), Vec3Real64(95.045385, 100.0, 108.87531), 1e-9));
    EXPECT_TRUE(Near3(rgb.Convert(ColorModelOoo),
                      Vec3Real64(0.000233846 * 200 + 0.00261968 * 100 + 0.00127135 * 50,
                                 0.000726333 * 200 + 0.000718106 * 100 - 0.00121377 * 50,
                                 0.000846833 * 200 - 0.00173932 * 100 + 0.000221515 * 50),
                      1e-15));

    // The matrices invert each other only to about 0.2%: round trips through other
    // models come back to within a unit of the 255 scale.
    for (ColorModel via : {ColorModelXyz, ColorModelLab, ColorModelLuv, ColorModelHsi, ColorModelOoo})
        EXPECT_TRUE(Near3(rgb.Convert(via).Convert(ColorModelRgb), rgb.Value(), 1.0)) << via;
    EXPECT_TRUE(Near3(rgb.Convert(ColorModelHsi).Convert(ColorModelCmy), cmy, 1e-6));
}

TEST(Color, KeepsTheOpponentOddityAndRejectsInvalidModels)
{
    // From Lab or Luv the XYZ matrix is applied to the components as they stand.
    const Vec3Real64 v(50, 20, -30);
    const Color direct = Color(v, ColorModelXyz).Convert(ColorModelOoo);
    EXPECT_TRUE(Near3(Color(v, ColorModelLab).Convert(ColorModelOoo), direct, 0.0));
    EXPECT_TRUE(Near3(Color(v, ColorModelLuv).Convert(ColorModelOoo), direct, 0.0));

    for (const Color& bad : {Color(1, 2, 3, static_cast<ColorModel>(9)).Convert(ColorModelXyz),
                             Color(1, 2, 3, ColorModelRgb).Convert(static_cast<ColorModel>(7))})
    {
        EXPECT_EQ(bad.Model(), ColorModelRgb);
        EXPECT_TRUE(Near3(bad, Vec3Real64(0, 0, 0), 0.0));
    }
}
