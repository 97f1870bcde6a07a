// Dense SIFT: SIFT-like descriptors on a regular grid over the whole image. Each colour
// channel becomes eight orientation planes; every plane is pooled into a grid of cells by
// two matrix products with the dense interpolators, and each descriptor is read out of
// cellCount x cellCount neighbouring grid cells, eight orientations a cell, normalised to
// unit length with the SIFT clip. "dift" uses oriented-gradient planes, "dixt" planes of
// the quantized orientation. The system uses eight orientations only.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_DENSESIFT_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_DENSESIFT_H

#include <string>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// The points and descriptors of all channels of the colour model that stands before
// "dift" or "dixt" in `name`: a new table owned by the caller, channels side by side.
PointDescriptorTable* DenseSift(Array::Array2dVec3UInt8* image, std::string name, int spacing, int cellSize,
                                double sigma, int cellCount);

// The same for one channel. A grid that can not be made (axis shorter than two cells,
// odd cell size) has been reported and gives an empty table.
PointDescriptorTable* DoDenseSift(Array::Array2dReal64* channel, int spacing, int cellSize, double sigma,
                                  int cellCount, bool quantizeOrientation);

// Gradient magnitude and orientation atan2(dy, dx) (0 where undefined) of the input
// smoothed at sigma; new borderless planes of the input's size.
void DenseSiftGradient(Array::Array2dReal64*& magnitude, Array::Array2dReal64*& angle, Array::Array2dReal64* input,
                       double sigma);

// Each pixel's magnitude split linearly between the two orientation planes around its
// angle; plane o is centred on o turns / OrientationsT. New borderless planes.
template <int OrientationsT>
void DenseSiftQuantizeOrientation(Array::Array2dReal64* (&planes)[OrientationsT], Array::Array2dReal64* angle,
                                  Array::Array2dReal64* magnitude);

// The positive parts of the gradient projected on eight directions, in the order
// dy, p, dx, q, -dy, -p, -dx, -q with p = (dx + dy) / sqrt 2 and q = (dy - dx) / sqrt 2.
// New borderless planes of the input's size.
void DenseSiftOrientedGradients(Array::Array2dReal64* (&planes)[8], Array::Array2dReal64* input, double sigma);

// The table of descriptors read from the pooled grids: one point per position of a
// cellCount x cellCount window on the grid, row by row.
template <int OrientationsT>
PointDescriptorTable* MakeSpatial(Array::Array2dReal64* (&planes)[OrientationsT], int spacing, int cellSize,
                                  int cellCount);

// Writes the n x n x OrientationsT descriptor whose first cell is grid cell (x, y) to
// `out`, normalised, clipped at 0.2 and normalised again; a zero descriptor stays zero.
template <int OrientationsT>
void ExtractDescriptor(double* out, Array::Array2dReal64* (&planes)[OrientationsT], int x, int y, int n);

extern template void DenseSiftQuantizeOrientation<8>(Array::Array2dReal64* (&)[8], Array::Array2dReal64*,
                                                     Array::Array2dReal64*);
extern template PointDescriptorTable* MakeSpatial<8>(Array::Array2dReal64* (&)[8], int, int, int);
extern template void ExtractDescriptor<8>(double*, Array::Array2dReal64* (&)[8], int, int, int);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
