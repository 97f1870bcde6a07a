// Pictures of interest points, for looking at what a detector found. Each point of a
// table is drawn on an 8-bit RGB image as a one-pixel circle of radius 3 x scale (one
// pixel for a radius below one half) and, when its orientation is not 0, a radius
// along it: radians as stored, from +x towards +y with rows counting downwards.
// Colour by cornerness rank: blue for the weakest through cyan, green and yellow to
// red for the strongest; equal cornerness gives equal colour, and an undefined one
// counts as the weakest. A point's centre is rounded to the nearest pixel.
//
// Every pixel is clipped to the image: no value, however large or undefined, writes
// outside it, and one point costs at most about width + height pixel steps however
// large its circle. A point whose position is not finite, or whose radius is infinite,
// is left out; an undefined or negative scale gives one pixel.
#ifndef TAVLIN_CORE_FEATURE_DRAWREGIONS_H
#define TAVLIN_CORE_FEATURE_DRAWREGIONS_H

#include "core/array/Array2dTem.h"
#include "persistency/File.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class PointDescriptorTable;

// Draws the points onto image; offset is added to x and y (the border that was cut
// before detection, as in the files).
void DrawRegions(Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset);

// Draws the points on a copy of image and writes the copy as PNG. False after a
// reported failure; image is not changed.
bool DrawRegionsToFile(Array::Array2dVec3UInt8* image, const PointDescriptorTable& table, int offset,
                       Persistency::File file);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
