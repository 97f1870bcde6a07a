// A geometric transformation of a plane by a 3x3 matrix, with the output size either
// kept or adjusted to the transformed source. Instance: Array2dReal64 from an 8-bit
// plane, the step of Resample.
#ifndef TAVLIN_CORE_ARRAY_PATGEOMETRICOP_H
#define TAVLIN_CORE_ARRAY_PATGEOMETRICOP_H

#include "core/array/Array2dTem.h"
#include "core/geometry/GeoIntType.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{
namespace Pattern
{

// With isForward the matrix maps source to destination, otherwise destination to
// source. Without adjustSize the output keeps dst's size (src's when dst is null);
// with it, the output covers the transformed source and its corner becomes the
// offset. Only affine matrices are sized correctly.
template <class DstT, class SrcT>
void PatGeometricOp(DstT*& dst, SrcT* src, Array2dReal64* matrix, bool isForward,
                    Geometry::GeoIntType interpolation, bool adjustSize, typename DstT::ArithType background);

extern template void PatGeometricOp<Array2dReal64, const Array2dUInt8>(Array2dReal64*&, const Array2dUInt8*,
                                                                       Array2dReal64*, bool, Geometry::GeoIntType,
                                                                       bool, double);

} // namespace Pattern
} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
