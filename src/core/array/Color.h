// A colour value tagged with its model, convertible between the seven models. The
// conversion table keeps two inconsistencies of the system on purpose: CMY lies on a
// 255 scale in the XYZ conversions but is 1 - c against RGB, and from Lab or Luv to
// the opponent model the XYZ matrix is applied to the unconverted components.
#ifndef TAVLIN_CORE_ARRAY_COLOR_H
#define TAVLIN_CORE_ARRAY_COLOR_H

#include "core/array/Vec3Real64.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Element
{

enum ColorModel : int
{
    ColorModelRgb = 0,
    ColorModelCmy = 1,
    ColorModelXyz = 2,
    ColorModelLab = 3,
    ColorModelLuv = 4,
    ColorModelOoo = 5, // opponent, linear in RGB
    ColorModelHsi = 6
};

class Color
{
public:
    Color(double c0, double c1, double c2, ColorModel model) : mValue(c0, c1, c2), mModel(model) {}
    Color(const Vec3Real64& value, ColorModel model) : mValue(value), mModel(model) {}

    const Vec3Real64& Value() const { return mValue; }
    double operator[](int i) const { return mValue[i]; }
    ColorModel Model() const { return mModel; }

    // The same colour in the target model; an invalid source or target model gives
    // (0, 0, 0) in RGB.
    Color Convert(ColorModel target) const;

private:
    Vec3Real64 mValue;
    ColorModel mModel;
};

} // namespace Element
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
