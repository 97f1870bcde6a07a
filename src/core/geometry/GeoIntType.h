// The interpolation of the geometric operation. Any value other than GeoIntLinear
// samples the nearest pixel.
#ifndef TAVLIN_CORE_GEOMETRY_GEOINTTYPE_H
#define TAVLIN_CORE_GEOMETRY_GEOINTTYPE_H

namespace Tavlin
{
namespace Core
{
namespace Geometry
{

enum GeoIntType
{
    GeoIntNearest = 0,
    GeoIntLinear = 1
};

} // namespace Geometry
} // namespace Core
} // namespace Tavlin

#endif
