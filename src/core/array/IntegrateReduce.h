// Integer block reduction of a plane: each result pixel is the sum over a factor x
// factor block of the source, either plain (IntegrateReduce) or with a window two
// pixels wider whose outer rows and columns weigh 0.33 and 0.67, so that neighbouring
// blocks overlap softly (IntegrateReduceWeighted). A remainder of the source beyond
// the last whole block is ignored. factor must be at least 1, and at least 2 for the
// weighted form; nothing is checked.
#ifndef TAVLIN_CORE_ARRAY_INTEGRATEREDUCE_H
#define TAVLIN_CORE_ARRAY_INTEGRATEREDUCE_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Array
{

// dst becomes (or is made) width / factor x height / factor, without border when
// created here; an existing dst of another size is replaced. Its image is zeroed
// first, then every source row of the whole blocks is added in order.
void IntegrateReduce(Array2dReal64*& dst, Array2dReal64* src, int factor);

// Adds, for every result column i, the sum of the factor values of source row srcRow
// from column i x factor to dst(i, srcRow / factor).
void IntegrateReduceLine(Array2dReal64*& dst, Array2dReal64* src, int factor, int srcRow);

// The soft form. The source needs a frame of one pixel: a src with a border of at
// least 1 on both axes has its first border ring overwritten by the mirror of its
// image; otherwise a mirrored copy is used.
void IntegrateReduceWeighted(Array2dReal64*& dst, Array2dReal64* src, int factor);

// Adds row srcRow of src, weighted along the row by 0.33, 0.67, 1 .. 1, 0.67, 0.33
// around every block and as a whole by rowWeight, to result row dstRow. Reads one
// column on each side of the blocks.
void IntegrateReduceLineWeighted(Array2dReal64*& dst, Array2dReal64* src, int factor, int dstRow, int srcRow,
                                 double rowWeight);

} // namespace Array
} // namespace Core
} // namespace Tavlin

#endif
