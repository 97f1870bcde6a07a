#include "core/array/ElementWise.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

template void Set<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*);
template void Add<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
template void Sub<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
template void Mul<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
template void Atan2<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, Array2dReal64*);
template void AddVal<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, double);
template void MulVal<Array2dReal64, Array2dReal64, double>(Array2dReal64*&, Array2dReal64*, const double&);
template void MulVal<Array2dVec3Real64, Array2dVec3Real64, Vec3Real64>(Array2dVec3Real64*&, Array2dVec3Real64*,
                                                                       const Vec3Real64&);
template void MulVal<Array2dVec3Real64, Array2dVec3UInt8, Vec3Int32>(Array2dVec3Real64*&, Array2dVec3UInt8*,
                                                                     const Vec3Int32&);
template void DivVal<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*, double);
template void Sqrt<Array2dReal64, Array2dReal64>(Array2dReal64*&, Array2dReal64*);
template void Pow<Array2dVec3Real64, Array2dVec3Real64>(Array2dVec3Real64*&, Array2dVec3Real64*, double);

} // namespace Array
} // namespace Core
} // namespace Tavlin
