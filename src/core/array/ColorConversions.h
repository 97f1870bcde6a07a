// Conversions of single colour values between RGB, CMY, CIE XYZ, Lab, Luv and HSI,
// the building blocks of Element::Color::Convert. RGB lies on a 0 to 255 scale here,
// and so does CMY in the two XYZ conversions; Y of XYZ goes up to 100.
#ifndef TAVLIN_CORE_ARRAY_COLORCONVERSIONS_H
#define TAVLIN_CORE_ARRAY_COLORCONVERSIONS_H

#include "core/array/Vec3Real64.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Element
{

Vec3Real64 ColRGB2XYZ(const Vec3Real64& rgb);
Vec3Real64 ColXYZ2RGB(const Vec3Real64& xyz);
Vec3Real64 ColCMY2XYZ(const Vec3Real64& cmy);
Vec3Real64 ColXYZ2CMY(const Vec3Real64& xyz);
// Lab and Luv use the white (95.0, 100.0, 108.9).
Vec3Real64 ColLab2XYZ(const Vec3Real64& lab);
Vec3Real64 ColXYZ2Lab(const Vec3Real64& xyz);
Vec3Real64 ColLuv2XYZ(const Vec3Real64& luv);
Vec3Real64 ColXYZ2Luv(const Vec3Real64& xyz);
// Hue in radians from 0 to 2 pi, saturation, intensity.
Vec3Real64 ColHSI2RGB(const Vec3Real64& hsi);
Vec3Real64 ColRGB2HSI(const Vec3Real64& rgb);

} // namespace Element
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
