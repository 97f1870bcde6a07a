// The rows of a quantizer's result as a point table, one point per row with its point
// columns 0 and the row as its descriptor (or, for per-point rows, the row's position):
// the form in which quantizer rows are written.
#ifndef TAVLIN_CORE_FEATURE_CODEBOOK_ROWSASPOINTTABLE_H
#define TAVLIN_CORE_FEATURE_CODEBOOK_ROWSASPOINTTABLE_H

#include "core/array/Array2dTem.h"
#include "core/feature/FeatureDefinition.h"
#include "core/vector/VectorSet.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

class PointDescriptorTable;

// A new table owned by the caller, under the given definition. With `withPositions`
// the first two values of each row are the point's x and y (scale, orientation and
// cornerness 0) and the rest its descriptor: the rows of the closest-word modes.
PointDescriptorTable* RowsAsPointTable(const Vector::VectorSet<Array::Array2dReal64>& rows,
                                       const FeatureDefinition& definition, bool withPositions = false);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
