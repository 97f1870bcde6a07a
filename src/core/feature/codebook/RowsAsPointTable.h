// The rows of a quantizer's result as a point table, one point per row with its point
// columns 0 and the row as its descriptor: the form in which projected rows are written.
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

// A new table owned by the caller, under the given definition.
PointDescriptorTable* RowsAsPointTable(const Vector::VectorSet<Array::Array2dReal64>& rows,
                                       const FeatureDefinition& definition);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
