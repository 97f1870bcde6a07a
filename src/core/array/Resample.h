// Resizing of a colour image by bilinear warping of each channel, followed by a
// recursive Gaussian of sigma 0.75. The last columns and rows of an enlargement lie
// outside the bilinear reach and start as 0 before the smoothing spreads into them.
#ifndef TAVLIN_CORE_ARRAY_RESAMPLE_H
#define TAVLIN_CORE_ARRAY_RESAMPLE_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// A null dst is created in the shape of the smoothed planes, their border included.
// Channels are truncated to integers and keep their low eight bits, unclamped.
void Resample(Array2dVec3UInt8*& dst, Array2dVec3UInt8* src, int newWidth, int newHeight);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
