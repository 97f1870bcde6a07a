// The inverse of a square matrix by Crout's LU decomposition with implicit scaled
// partial pivoting, then one solve per unit vector. A zero pivot is replaced by 1e-12
// so that nearly singular matrices go through, with huge values in the result.
#ifndef TAVLIN_CORE_MATRIX_MATINVERSE_H
#define TAVLIN_CORE_MATRIX_MATINVERSE_H

#include "core/array/Array2dTem.h"

namespace Tavlin
{
namespace Core
{
namespace Matrix
{

// A new matrix owned by the caller, or null when m is not square or has a zero row;
// those two messages go to the standard error stream, not to the log.
template <class MatT>
MatT* MatInverse(MatT* m);

extern template Array::Array2dReal64* MatInverse<Array::Array2dReal64>(Array::Array2dReal64*);

} // namespace Matrix
} // namespace Core
} // namespace Tavlin

#endif
