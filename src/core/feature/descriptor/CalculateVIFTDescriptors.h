// The frame of the multi-scale dense VIFT descriptor: the scale loop, the colour
// channels, the low-contrast rule and the joining of channels. Its per-channel kernel
// is not part of this build: DoCalculateVIFTDescriptors reports "VIFT not compiled
// in" and gives null, and the frame then stops cleanly with null all the way up. A
// kernel returns a table of points with a descriptor store and a contrast value in
// the cornerness column.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_CALCULATEVIFTDESCRIPTORS_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_CALCULATEVIFTDESCRIPTORS_H

#include <string>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// All levels' points in one new table, positions in the coordinates of `image`; each
// level shrinks the image by a further 0.70710678. Null after a reported failure, and
// for levels below 1.
PointDescriptorTable* CalculateVIFTDescriptors(Array::Array2dVec3UInt8* image, std::string name, int spacing,
                                               int levels);
// One scale. name is a colour model followed by "vift", "vift2", "vift3" (spacing 6)
// or "vift4" (spacing 4).
PointDescriptorTable* CalculateVIFTDescriptors(Array::Array2dVec3Real64* image, std::string name, int spacing);

// The kernel on a single-precision copy of the channel, timed; deletes `channel`.
PointDescriptorTable* DoCalculateVIFTDescriptorsAndEat(Array::Array2dReal64* channel, int spacing);
// The kernel.
PointDescriptorTable* DoCalculateVIFTDescriptors(Array::Array2dReal32* channel, int spacing);

// Sets the whole descriptor of every row whose contrast (cornerness) is below 0.005
// to zero; returns how many.
int NilLowContrastDescriptors(PointDescriptorTable* table);

// Appends all rows of `level`, point columns and descriptors, to `result`. False,
// with nothing appended, when the descriptor lengths differ or the table can not grow.
bool AppendScaleLevel(PointDescriptorTable* result, PointDescriptorTable* level);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
