// Removal of the display gamma from an 8-bit colour image: each value v becomes
// (v / 255)^2.2 x 255 in double precision, still on a 0 to 255 scale. The plain power
// law is used, not the piecewise sRGB curve.
#ifndef TAVLIN_CORE_ARRAY_SRGB2RGB_H
#define TAVLIN_CORE_ARRAY_SRGB2RGB_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// A null dst is created shaped like src.
void sRGB2RGB(Array2dVec3Real64*& dst, Array2dVec3UInt8* src);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
