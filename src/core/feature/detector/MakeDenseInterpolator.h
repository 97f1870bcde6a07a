// The one-dimensional pooling operator of the dense descriptors: a matrix that maps an
// axis of pixels to its grid cells with triangle weights, edge cells with a clipped
// kernel. A plane multiplied by it on both sides is the whole spatial pooling.
#ifndef TAVLIN_CORE_FEATURE_DETECTOR_MAKEDENSEINTERPOLATOR_H
#define TAVLIN_CORE_FEATURE_DETECTOR_MAKEDENSEINTERPOLATOR_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// Width = grid positions, height = imageWidth (transposed on request). Null after a
// reported failure: an axis shorter than two cells, or an odd cell size.
template <class ArrayT>
ArrayT* MakeDenseInterpolator(int imageWidth, int spacing, int cellSize, bool transpose);

extern template Array::Array2dReal64* MakeDenseInterpolator<Array::Array2dReal64>(int, int, int, bool);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
