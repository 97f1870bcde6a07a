#include "core/array/ColorConversions.h"

#include <algorithm>
#include <cmath>

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

const double kLinearOffset = 0.13793103448275862; // 16 / 116
const double kWhiteU = 0.19774158297340896;
const double kWhiteV = 0.46833532809491596;

// L of Lab and Luv from the relative luminance y.
double Lightness(double y)
{
    return y > 0.008856 ? 116 * std::pow(y, 1.0 / 3.0) - 16 : 903.3 * y;
}

double LabF(double t)
{
    return t > 0.008856 ? std::pow(t, 1.0 / 3.0) : 7.787 * t + kLinearOffset;
}

// Y of XYZ from L of Lab and Luv.
double LuminanceOfLightness(double l)
{
    if (l > 7.999625)
    {
        const double f = (l + 16) / 116;
        return 100 * (f * f * f);
    }
    return 100 * l / 903.3;
}

} // namespace

Vec3Real64 ColRGB2XYZ(const Vec3Real64& c)
{
    return Vec3Real64(0.161746 * c[0] + 0.140227 * c[1] + 0.070754 * c[2],
                      0.0834 * c[0] + 0.280455 * c[1] + 0.028301 * c[2],
                      0.007582 * c[0] + 0.046742 * c[1] + 0.372638 * c[2]);
}

Vec3Real64 ColXYZ2RGB(const Vec3Real64& c)
{
    return Vec3Real64(8.25322145 * c[0] - 3.9197325 * c[1] - 1.27126425 * c[2],
                      -2.4716028 * c[0] + 4.7837796 * c[1] + 0.1059678 * c[2],
                      0.1419024 * c[0] - 0.52030965 * c[1] + 2.69614305 * c[2]);
}

Vec3Real64 ColCMY2XYZ(const Vec3Real64& c)
{
    return Vec3Real64(-0.161746 * c[0] - 0.140227 * c[1] - 0.070754 * c[2] + 95.045385,
                      -0.0834 * c[0] - 0.280455 * c[1] - 0.028301 * c[2] + 100.0,
                      -0.007582 * c[0] - 0.046742 * c[1] - 0.372638 * c[2] + 108.87531);
}

Vec3Real64 ColXYZ2CMY(const Vec3Real64& c)
{
    return Vec3Real64(255 - 8.25322145 * c[0] + 3.9197325 * c[1] + 1.27126425 * c[2],
                      255 + 2.4716028 * c[0] - 4.7837796 * c[1] - 0.1059678 * c[2],
                      255 - 0.1419024 * c[0] + 0.52030965 * c[1] - 2.69614305 * c[2]);
}

Vec3Real64 ColXYZ2Lab(const Vec3Real64& c)
{
    const double x = c[0] / 95.0;
    const double y = c[1] / 100.0;
    const double z = c[2] / 108.9;
    return Vec3Real64(Lightness(y), 500 * (LabF(x) - LabF(y)), 200 * (LabF(y) - LabF(z)));
}

Vec3Real64 ColLab2XYZ(const Vec3Real64& c)
{
    const double y = LuminanceOfLightness(c[0]);
    const double fy = (c[0] + 16) / 116;
    const double fx = c[1] / 500 + fy;
    const double fz = c[2] / -200.0 + fy;
    // One test on fy decides for all three components.
    if (fy > 0.206893)
        return Vec3Real64(95 * (fx * fx * fx), y, 108.9 * (fz * fz * fz));
    return Vec3Real64(95 * (fx - kLinearOffset) / 7.787, y, 108.9 * (fz - kLinearOffset) / 7.787);
}

Vec3Real64 ColXYZ2Luv(const Vec3Real64& c)
{
    const double l = Lightness(c[1] / 100);
    const double d = 15 * c[1] + c[0] + 3 * c[2];
    const double u = 4 * c[0] / d;
    const double v = 9 * c[1] / d;
    return Vec3Real64(l, 13 * l * (u - kWhiteU), 13 * l * (v - kWhiteV));
}

Vec3Real64 ColLuv2XYZ(const Vec3Real64& c)
{
    const double y = LuminanceOfLightness(c[0]);
    const double u = c[1] / (13 * c[0]) + kWhiteU;
    const double v = c[2] / (13 * c[0]) + kWhiteV;
    const double k = 3 * y * (5 * v - 3);
    const double z = ((u - 4) * k - 15 * u * v * y) / (12 * v);
    const double x = -(k / v + 3 * z);
    return Vec3Real64(x, y, z);
}

Vec3Real64 ColRGB2HSI(const Vec3Real64& c)
{
    const double r = c[0];
    const double g = c[1];
    const double b = c[2];
    const double i = (r + g + b) / 3;
    const double s = i != 0 ? 1 - std::min(r, std::min(g, b)) / i : 1.0;
    if (r == g && g == b)
        return Vec3Real64(0.0, s, i);
    double h = std::acos(((r - g) + (r - b)) * 0.5 / std::sqrt((r - g) * (r - g) + (r - b) * (g - b)));
    if (!(g > b))
        h = 6.2831853072 - h;
    return Vec3Real64(h, s, i);
}

Vec3Real64 ColHSI2RGB(const Vec3Real64& c)
{
    const double h = c[0];
    const double s = c[1];
    const double i = c[2];
    if (h == 0)
        return Vec3Real64(i, i, i);
    const double factor = 0.5773502691896258;
    const double m = (1 - s) * i;
    // The sector angles are kept at ten decimals.
    double centre = 5.235987756;
    if (h > 0 && h < 2.0943951024)
        centre = 1.0471975512;
    else if (h >= 2.0943951024 && h < 4.1887902048)
        centre = 3.1415926536;
    const double t = 1.5 * factor * std::tan(h - centre);
    const double p = (t + 1.5) * i - (t + 0.5) * m;
    const double q = 3 * i - p - m;
    if (centre == 1.0471975512)
        return Vec3Real64(q, p, m);
    if (centre == 3.1415926536)
        return Vec3Real64(m, q, p);
    return Vec3Real64(p, m, q);
}

} // namespace Element
} // namespace Array
} // namespace Core
} // namespace Tavlin
