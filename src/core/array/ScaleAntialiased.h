// Lanczos-3 scaling of colour images in two one-dimensional passes. Each pass cuts its
// window at the image edges and renormalises the weights over what remains, and
// clamps its result to the 8-bit range, also for a double source. Window and weight
// arithmetic is single precision on purpose: it is part of the exact result.
#ifndef TAVLIN_CORE_ARRAY_SCALEANTIALIASED_H
#define TAVLIN_CORE_ARRAY_SCALEANTIALIASED_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// The pass that shrinks more runs first, so that the intermediate array stays small.
void ScaleAntialiased(Array2dVec3Real64*& dst, Array2dVec3UInt8* src, long long newWidth, long long newHeight);

// dst is replaced by a new array without border: newWidth by the source's height, or
// the source's width by newHeight.
template <class SrcT>
void ScaleAntialiasedHorizontal(Array2dVec3Real64*& dst, SrcT* src, long long newWidth);
template <class SrcT>
void ScaleAntialiasedVertical(Array2dVec3Real64*& dst, SrcT* src, long long newHeight);

// factor in (0, 1) scales; factor > 1 is a largest size in pixels. A factor of 0 or
// below, exactly 1, or an image that fits already leaves dst untouched.
void ScaleDownAntialiased(Array2dVec3UInt8*& dst, Array2dVec3UInt8* src, double factor);

extern template void ScaleAntialiasedHorizontal<Array2dVec3UInt8>(Array2dVec3Real64*&, Array2dVec3UInt8*,
                                                                  long long);
extern template void ScaleAntialiasedHorizontal<Array2dVec3Real64>(Array2dVec3Real64*&, Array2dVec3Real64*,
                                                                   long long);
extern template void ScaleAntialiasedVertical<Array2dVec3UInt8>(Array2dVec3Real64*&, Array2dVec3UInt8*,
                                                                long long);
extern template void ScaleAntialiasedVertical<Array2dVec3Real64>(Array2dVec3Real64*&, Array2dVec3Real64*,
                                                                 long long);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
