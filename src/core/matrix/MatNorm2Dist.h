// All pairwise Euclidean distances between two sets of vectors, through
// |x - y|^2 = |x|^2 + |y|^2 - 2 x.y: one matrix product and two cheap passes instead of
// a loop over pairs. This is where the quantizers spend their time.
#ifndef TAVLIN_CORE_MATRIX_MATNORM2DIST_H
#define TAVLIN_CORE_MATRIX_MATNORM2DIST_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

// a: n vectors of dimension d in its rows; b: d x m, its vectors in the columns.
// Returns the n x m distances, or null after a logged error when the widths and
// heights do not fit.
template <class MatT>
MatT* MatNorm2DistInternal(MatT* a, MatT* b);

// a: n x d and b: m x d, vectors in rows. Returns n x m, or null after a logged error.
template <class MatT>
MatT* MatNorm2DistTransposed(MatT* a, MatT* b);

extern template Array::Array2dReal64* MatNorm2DistInternal<Array::Array2dReal64>(Array::Array2dReal64*,
                                                                                 Array::Array2dReal64*);
extern template Array::Array2dReal64* MatNorm2DistTransposed<Array::Array2dReal64>(Array::Array2dReal64*,
                                                                                   Array::Array2dReal64*);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin

#endif
