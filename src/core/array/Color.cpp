#include "core/array/Color.h"

#include "core/array/ColorConversions.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Element
{

namespace
{

Vec3Real64 Apply(const double m[3][3], const Vec3Real64& c)
{
    return Vec3Real64(m[0][0] * c[0] + m[0][1] * c[1] + m[0][2] * c[2],
                      m[1][0] * c[0] + m[1][1] * c[1] + m[1][2] * c[2],
                      m[2][0] * c[0] + m[2][1] * c[1] + m[2][2] * c[2]);
}

const double kRgbToOoo[3][3] = {{0.000233846, 0.00261968, 0.00127135},
                                {0.000726333, 0.000718106, -0.00121377},
                                {0.000846833, -0.00173932, 0.000221515}};
const double kXyzToOoo[3][3] = {{-0.004362, 0.010954, 0.003408},
                                {0.004055, 0.00122, -0.00412},
                                {0.011328, -0.011755, -0.000664}};
const double kOooToRgb[3][3] = {{328.084, 469.182, 687.853},
                                {199.794, 172.242, -202.904},
                                {314.533, -441.212, 291.574}};
const double kOooToXyz[3][3] = {{103.337, 68.824, 103.435},
                                {92.297, 74.949, 8.714},
                                {129.034, -152.804, 104.383}};

Vec3Real64 Inv(const Vec3Real64& c) { return Vec3Real64(1 - c[0], 1 - c[1], 1 - c[2]); }

Vec3Real64 FromRgb(const Vec3Real64& c, ColorModel target)
{
    switch (target)
    {
    case ColorModelCmy: return Inv(c);
    case ColorModelXyz: return ColRGB2XYZ(c);
    case ColorModelLab: return ColXYZ2Lab(ColRGB2XYZ(c));
    case ColorModelLuv: return ColXYZ2Luv(ColRGB2XYZ(c));
    case ColorModelOoo: return Apply(kRgbToOoo, c);
    case ColorModelHsi: return ColRGB2HSI(c);
    default: return c;
    }
}

Vec3Real64 FromXyz(const Vec3Real64& c, ColorModel target)
{
    switch (target)
    {
    case ColorModelRgb: return ColXYZ2RGB(c);
    case ColorModelCmy: return ColXYZ2CMY(c);
    case ColorModelLab: return ColXYZ2Lab(c);
    case ColorModelLuv: return ColXYZ2Luv(c);
    case ColorModelOoo: return Apply(kXyzToOoo, c);
    case ColorModelHsi: return ColRGB2HSI(ColXYZ2RGB(c));
    default: return c;
    }
}

Vec3Real64 Convert(const Vec3Real64& c, ColorModel source, ColorModel target)
{
    switch (source)
    {
    case ColorModelRgb:
        return FromRgb(c, target);
    case ColorModelCmy:
        if (target == ColorModelRgb)
            return Inv(c);
        if (target == ColorModelOoo || target == ColorModelHsi)
            return FromRgb(Inv(c), target);
        return FromXyz(ColCMY2XYZ(c), target);
    case ColorModelXyz:
        return FromXyz(c, target);
    case ColorModelLab:
        if (target == ColorModelOoo)
        {
            ColLab2XYZ(c); // computed, and its result not taken
            return Apply(kXyzToOoo, c);
        }
        return FromXyz(ColLab2XYZ(c), target);
    case ColorModelLuv:
        if (target == ColorModelOoo)
        {
            ColLuv2XYZ(c); // computed, and its result not taken
            return Apply(kXyzToOoo, c);
        }
        return FromXyz(ColLuv2XYZ(c), target);
    case ColorModelOoo:
        if (target == ColorModelRgb || target == ColorModelCmy || target == ColorModelHsi)
            return FromRgb(Apply(kOooToRgb, c), target);
        return FromXyz(Apply(kOooToXyz, c), target);
    case ColorModelHsi:
        return FromRgb(ColHSI2RGB(c), target);
    }
    return c;
}

} // namespace

Color Color::Convert(ColorModel target) const
{
    if (target == mModel)
        return *this;
    if (static_cast<int>(mModel) < 0 || static_cast<int>(mModel) > 6 || static_cast<int>(target) < 0 ||
        static_cast<int>(target) > 6)
        return Color(0.0, 0.0, 0.0, ColorModelRgb);
    return Color(Element::Convert(mValue, mModel, target), target);
}

} // namespace Element
} // namespace Array
} // namespace Core
} // namespace Tavlin
