// A dense Haar-wavelet descriptor in the manner of SURF, on its own fixed grid. Each
// colour channel is summed over haarSize blocks, the 2 x 2 Haar pair (dx, dy) and its
// magnitudes are taken on that reduced image, and these four are summed again over
// soft subregionSize blocks. A descriptor is the spaciality x spaciality window of
// the four sums, 4 x spaciality^2 values of unit length; one pass serves all the
// overlapping windows of the grid. No integral image, no detector, no scale.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_CALCULATESURFDESCRIPTORS_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_CALCULATESURFDESCRIPTORS_H

#include <string>
#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"
#include "util/PropertySet.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// name is a colour model followed by "surf". Points the table holds are dropped with a
// warning and replaced by the grid; the channels' descriptors are joined side by
// side into the table's store. False, with the table untouched, after reporting sizes
// below 1 or a descriptor length beyond an int.
bool CalculateSurfDescriptors(Array::Array2dVec3UInt8* image, PointDescriptorTable* table, std::string name,
                              int haarSize, int subregionSize, int spaciality);

// The descriptors of one channel, a new matrix with one row per table row. An empty
// table first receives the grid points. Rows are paired with grid positions by
// number: grid positions beyond the table get no row, table rows beyond the grid stay
// zero. Null for unusable sizes.
Array::Array2dReal64* DSurf(Array::Array2dReal64* channel, PointDescriptorTable* table, int haarSize,
                            int subregionSize, int spaciality);

// dx, dy, |dx| and |dy| of every 2 x 2 block of a plane: new arrays of one less in
// each direction, owned by the caller.
std::vector<Array::Array2dReal64*> HaarResponse(Array::Array2dReal64* image);
// Row y as the upper row of its blocks: dx(x, y) = b - a, dy(x, y) = -(b + a).
void HaarFirstLine(std::vector<Array::Array2dReal64*>& responses, Array::Array2dReal64* image, int y);
// Row y as the lower row of the blocks of row y - 1: adds b - a to dx and b + a to dy.
void HaarSecondLine(std::vector<Array::Array2dReal64*>& responses, Array::Array2dReal64* image, int y);

void GetDSurfOptions(Util::PropertySet& options, int& haarSize, int& subregionSize, int& spaciality);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
